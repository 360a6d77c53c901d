// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGECODEC_P_H
#define QVUTIL_MESSAGECODEC_P_H

#include "IPC.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringView>

#include <optional>
#include <string_view>

namespace Quorvin::Util {

// The wire format. A message is one XML document in UTF-8. Nothing separates two documents: one begins where
// the next "<?xml " stands, which no attribute can hold, since '<' is escaped there, and no byte array, since
// it travels as base64.
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

/// What every document begins with, and none holds further on.
inline constexpr QStringView kDocumentStart = u"<?xml ";
inline constexpr QByteArrayView kDocumentStartBytes = "<?xml ";

/// \return where a document begins in \p all, from \p from on; -1 if none does
[[nodiscard]] inline qsizetype FindDocument(QStringView all, QStringView documentStart, qsizetype from)
{
    return all.indexOf(documentStart, from);
}
[[nodiscard]] inline qsizetype FindDocument(QByteArrayView all, QByteArrayView documentStart, qsizetype from)
{
    // Several times as fast as indexOf, where '<' is as rare as in a large byte array.
    const auto view = [](QByteArrayView bytes) {
        return std::string_view(bytes.data(), static_cast<size_t>(bytes.size()));
    };
    const size_t at = view(all).find(view(documentStart), static_cast<size_t>(from));
    return at == std::string_view::npos ? -1 : static_cast<qsizetype>(at);
}

/// Cuts text, or bytes, into the pieces that are looked at one by one: what stands before the first document,
/// unless that is nothing, and each document with all that follows it up to the next one.
/// \param all            what one read has brought
/// \param documentStart  kDocumentStart or kDocumentStartBytes
/// \param visit          called with each piece
template <typename View, typename Visit> void ForEachPiece(View all, View documentStart, Visit visit)
{
    qsizetype start = FindDocument(all, documentStart, 0);
    if (start != 0 && !all.isEmpty())
        visit(start < 0 ? all : all.first(start));
    while (start >= 0) {
        const qsizetype next = FindDocument(all, documentStart, start + documentStart.size());
        visit(all.sliced(start, (next < 0 ? all.size() : next) - start));
        start = next;
    }
}

/// Writes the document of one message.
[[nodiscard]] QString EncodeMessage(const MessageInfo& message);
/// The same as it travels, in UTF-8.
[[nodiscard]] QByteArray EncodeMessageAsBytes(const MessageInfo& message);

/// Reads the messages in the text of one or more documents, complete or not; what does not parse is skipped.
/// \param text      what one read has brought
/// \param messages  list to append to
/// \return whether \p messages, with what it held before, is not empty
bool DecodeMessage(const QString& text, QList<MessageInfo>& messages);
/// The same for bytes as they arrive.
bool DecodeMessage(const QByteArray& bytes, QList<MessageInfo>& messages);

// Both ways of each. The direct one writes or reads a document of exactly the shape above without building a
// tree of it, and without turning it into UTF-16: an order of magnitude faster. It gives up on anything else,
// be it correct, so that the other one, by way of XmlFiler, decides; where both have a result, it is the
// same.

/// \return the document in UTF-8; nothing if a text holds a character that XML may not be able to hold
[[nodiscard]] std::optional<QByteArray> WriteMessageDirectly(const MessageInfo& message);
/// Takes one document off the front of \p bytes, at whose end, or at another document, it must end.
/// \return false if the document is not exactly of the shape that the library itself writes; \p message holds
///         a part of it then, and \p bytes are unchanged
[[nodiscard]] bool TakeMessageDirectly(QByteArrayView& bytes, MessageInfo& message);
/// \return the message; nothing if the document is not exactly of the shape that the library itself writes
[[nodiscard]] std::optional<MessageInfo> ReadMessageDirectly(QByteArrayView document);
[[nodiscard]] std::optional<MessageInfo> ReadMessageDirectly(QStringView document);
/// \return the document
[[nodiscard]] QString WriteMessageByFiler(const MessageInfo& message);
/// \return false if the text is no readable document; \p message is unchanged then
[[nodiscard]] bool ReadMessageByFiler(const QString& document, MessageInfo& message);

} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGECODEC_P_H
