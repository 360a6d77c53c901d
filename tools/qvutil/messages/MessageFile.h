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

/// The argument, or "-" for standard input if there is none, as after a pipe.
[[nodiscard]] QString OrStandardInput(const QString& argument);

/// Cuts captured bytes into pieces like ForEachMessagePiece. Documents that are no messages are skipped as
/// well, like those that do not load.
void ForEachCapturedPiece(QByteArrayView bytes, const std::function<void(const MessagePiece&)>& visit);

/// Reads messages in JSON: one object, several of them, or a list, see MessageText.h.
/// \param name  what to call the text in messages
/// \return at least one; throws Failure if there is none, or something else
[[nodiscard]] QList<Util::MessageInfo> ReadMessages(const QByteArray& text, const QString& name);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_MESSAGEFILE_H
