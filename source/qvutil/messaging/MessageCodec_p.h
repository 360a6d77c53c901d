// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGECODEC_P_H
#define QVUTIL_MESSAGECODEC_P_H

// This file is not part of the interface. It may change from one version to the next.

#include "IPC.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringView>

#include <string_view>

namespace Quorvin::Util {

// The wire format. A frame is one message as an XML document in UTF-8. Nothing separates two frames: one
// begins where the next "<?xml " stands, which no attribute can hold, since '<' is escaped there, and no byte
// array, since it travels as base64.
//
//     <?xml version="1.0"?>
//     <Message Id="Greet" UniqueId="{b7…}" OriginalMessageUniqueId="{00…}" NeedResponse="True"
//              IsResponse="False">
//      <Params>
//       <Param Name="who" Type="String" Value="you"/>      (one per parameter: see VariantMapEncoder)
//      </Params>
//     </Message>
//
// The order of attributes, and the white space, carry no meaning. (Here one line is broken in two.)

/// Writes the frame of one message.
[[nodiscard]] QString EncodeMessage(const MessageInfo& message);
/// The same as it travels, in UTF-8.
[[nodiscard]] QByteArray EncodeMessageAsBytes(const MessageInfo& message);

/// Reads the messages in the text of one or more frames, complete or not; what does not parse is skipped.
/// \param text      what one read has brought
/// \param messages  list to append to
/// \return whether \p messages, with what it held before, is not empty
bool DecodeMessage(const QString& text, QList<MessageInfo>& messages);
/// The same for bytes as they arrive.
/// \param shouldStop  asked before each frame that takes the DOM path: true leaves the rest unread; may be
/// null
bool DecodeMessage(const QByteArray& bytes, QList<MessageInfo>& messages, bool (*shouldStop)() = nullptr);

namespace Internal {

/// What every frame begins with, and none holds further on.
inline constexpr QStringView kFrameStart = u"<?xml ";
inline constexpr QByteArrayView kFrameStartBytes = "<?xml ";

/// \return where a frame begins in \p all, from \p from on; -1 if none does
[[nodiscard]] inline qsizetype FindFrame(QStringView all, QStringView frameStart, qsizetype from)
{
    return all.indexOf(frameStart, from);
}
[[nodiscard]] inline qsizetype FindFrame(QByteArrayView all, QByteArrayView frameStart, qsizetype from)
{
    // Several times as fast as indexOf, where '<' is as rare as in a large byte array.
    const auto view = [](QByteArrayView bytes) {
        return std::string_view(bytes.data(), static_cast<size_t>(bytes.size()));
    };
    const size_t at = view(all).find(view(frameStart), static_cast<size_t>(from));
    return at == std::string_view::npos ? -1 : static_cast<qsizetype>(at);
}

/// Cuts text, or bytes, into the pieces that are looked at one by one: what stands before the first frame,
/// unless that is nothing, and each frame with all that follows it up to the next one.
/// \param all            what one read has brought
/// \param frameStart  kFrameStart or kFrameStartBytes
/// \param visit          called with each piece
template <typename View, typename Visit> void ForEachPiece(View all, View frameStart, Visit visit)
{
    qsizetype start = FindFrame(all, frameStart, 0);
    if (start != 0 && !all.isEmpty())
        visit(start < 0 ? all : all.first(start));
    while (start >= 0) {
        const qsizetype next = FindFrame(all, frameStart, start + frameStart.size());
        visit(all.sliced(start, (next < 0 ? all.size() : next) - start));
        start = next;
    }
}

/// The DOM path: encodes and decodes by way of XmlFiler. \return the frame
[[nodiscard]] QString EncodeMessageByDom(const MessageInfo& message);
/// \return false if the text is no readable frame; \p message is unchanged then
[[nodiscard]] bool DecodeMessageByDom(const QString& frame, MessageInfo& message);

} // namespace Internal
} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGECODEC_P_H
