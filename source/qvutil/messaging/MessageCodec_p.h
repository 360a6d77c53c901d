// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGECODEC_P_H
#define QVUTIL_MESSAGECODEC_P_H

// Internal, not API: may change in any version.

#include "IPC.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringView>

#include <string_view>

namespace Quorvin::Util {

// The wire format. A frame is one message as an XML document in UTF-8. There is no separator: each "<?xml "
// begins a new frame. That text cannot occur in an attribute, where '<' is escaped, or in a byte array, which
// is encoded as base64.
//
//     <?xml version="1.0"?>
//     <Message Id="Greet" UniqueId="{b7…}" OriginalMessageUniqueId="{00…}" NeedResponse="True"
//              IsResponse="False">
//      <Params>
//       <Param Name="who" Type="String" Value="you"/>      (one per parameter: see VariantMapEncoder)
//      </Params>
//     </Message>
//
// Neither the order of attributes nor white space matters. (The second line is split here.)

/// Returns the frame of one message.
[[nodiscard]] QString EncodeMessage(const MessageInfo& message);
/// Returns the frame of one message in UTF-8, the form in which it is sent.
[[nodiscard]] QByteArray EncodeMessageAsBytes(const MessageInfo& message);

/// Decodes the messages in one or more frames, complete or not. Malformed ones are skipped.
/// \param text      the result of one read
/// \param messages  the messages are appended to it
/// \return false if \p messages is empty afterwards
bool DecodeMessage(const QString& text, QList<MessageInfo>& messages);
/// Decodes the bytes of one read in the same way.
/// \param shouldStop  called before each frame that takes the DOM path; if it returns true, the remaining
///                    frames are skipped; may be null
bool DecodeMessage(const QByteArray& bytes, QList<MessageInfo>& messages, bool (*shouldStop)() = nullptr);

namespace Internal {

/// The beginning of every frame, which does not occur anywhere else.
inline constexpr QStringView kFrameStart = u"<?xml ";
inline constexpr QByteArrayView kFrameStartBytes = "<?xml ";

/// \return index of the next frame in \p all, searching from \p from; -1 if there is none
[[nodiscard]] inline qsizetype FindFrame(QStringView all, QStringView frameStart, qsizetype from)
{
    return all.indexOf(frameStart, from);
}
[[nodiscard]] inline qsizetype FindFrame(QByteArrayView all, QByteArrayView frameStart, qsizetype from)
{
    // Several times as fast as indexOf, because '<' is rare in large byte arrays.
    const auto view = [](QByteArrayView bytes) {
        return std::string_view(bytes.data(), static_cast<size_t>(bytes.size()));
    };
    const size_t at = view(all).find(view(frameStart), static_cast<size_t>(from));
    return at == std::string_view::npos ? -1 : static_cast<qsizetype>(at);
}

/// Splits text or bytes into pieces: each frame with everything up to the next one, and what precedes the
/// first frame, if anything.
/// \param all         the result of one read
/// \param frameStart  kFrameStart or kFrameStartBytes
/// \param visit       called with each piece
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

/// Encodes on the DOM path, with XmlFiler. \return the frame
[[nodiscard]] QString EncodeMessageByDom(const MessageInfo& message);
/// Decodes on the DOM path. \return false, with \p message unchanged, if the frame is malformed
[[nodiscard]] bool DecodeMessageByDom(const QString& frame, MessageInfo& message);

} // namespace Internal
} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGECODEC_P_H
