// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_MESSAGEFILE_H
#define QVUTIL_TOOL_MESSAGEFILE_H

#include "messages/MessageText.h"

#include <qvutil/IPC.h>

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <functional>

namespace Quorvin::Tool {

/// Returns the argument; "-" for standard input if it is empty.
[[nodiscard]] QString OrStandardInput(const QString& argument);

/// Splits captured bytes into pieces like ForEachMessagePiece. Also skips documents that load but are not
/// messages.
void ForEachCapturedPiece(QByteArrayView bytes, const std::function<void(const MessagePiece&)>& visit);

/// Reads messages in JSON: one object, several objects, or an array of objects. See MessageText.h.
/// \param name  name of the text in error messages
/// \return at least one message; throws Failure if there is none, or if the text contains anything else
[[nodiscard]] QList<Util::MessageInfo> ReadMessages(const QByteArray& text, const QString& name);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_MESSAGEFILE_H
