// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_MESSAGEFILE_H
#define QVUTIL_TOOL_MESSAGEFILE_H

#include "cli/InputFile.h"
#include <qvutil/IPC.h>

#include <QByteArray>
#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// Reads all bytes of a file. Throws Failure.
[[nodiscard]] QByteArray ReadAll(const InputFile& input);

/// Reads messages in JSON: one object, several of them, or a list, see MessageText.h.
/// \param name  what to call the text in messages
/// \return at least one; throws Failure if there is none, or something else
[[nodiscard]] QList<Util::MessageInfo> ReadMessages(const QByteArray& text, const QString& name);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_MESSAGEFILE_H
