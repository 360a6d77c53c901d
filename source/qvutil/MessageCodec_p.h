// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGECODEC_P_H
#define QVUTIL_MESSAGECODEC_P_H

#include "IPC.h"

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

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

/// Writes the document of one message.
[[nodiscard]] QString EncodeMessage(const MessageInfo& message);

/// Reads the messages in the text of one or more documents, complete or not; what does not parse is skipped.
/// \param text      what one read has brought
/// \param messages  list to append to
/// \return whether \p messages, with what it held before, is not empty
bool DecodeMessage(const QString& text, QList<MessageInfo>& messages);

// Both ways of each. The direct one writes or reads a document of exactly the shape above without building a
// tree of it, an order of magnitude faster. It gives up on anything else, be it correct, so that the other
// one, by way of XmlFiler, decides; where both have a result, it is the same.

/// \return the document; nothing if a text holds a character that XML may not be able to hold
[[nodiscard]] std::optional<QString> WriteMessageDirectly(const MessageInfo& message);
/// \return the message; nothing if the document is not exactly of the shape that the library itself writes
[[nodiscard]] std::optional<MessageInfo> ReadMessageDirectly(QStringView document);
/// \return the document
[[nodiscard]] QString WriteMessageByFiler(const MessageInfo& message);
/// \return false if the text is no readable document; \p message is unchanged then
[[nodiscard]] bool ReadMessageByFiler(const QString& document, MessageInfo& message);

} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGECODEC_P_H
