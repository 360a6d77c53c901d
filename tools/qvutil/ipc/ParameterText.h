// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_PARAMETERTEXT_H
#define QVUTIL_TOOL_IPC_PARAMETERTEXT_H

#include <qvutil/IPC.h>

#include <QString>
#include <QStringList>
#include <QVariant>

namespace Quorvin::Tool {

// Parameters of a message on the command line:
//
//     KEY=TEXT          a text
//     KEY:TYPE=VALUE    a value of a type that can be sent: bool, int, uint, longlong, double, string,
//                       stringlist, bytearray (as base64), map, list
//     KEY:=JSON         a JSON value
//     KEY=@FILE         the bytes of a file; - is standard input
//     KEY=@@TEXT        a text that begins with @

/// Reads parameters from the command line. Throws UsageFailure, or Failure for a file.
[[nodiscard]] QVariantMap ReadParameters(const QStringList& texts);

/// Makes a message from the command line. Throws like ReadParameters, and if the message cannot be sent
/// unchanged.
/// \param file        file with the message as JSON, whose parameters come first; may be empty
[[nodiscard]] Util::MessageInfo ReadMessage(const QString& id, const QString& file,
                                            const QStringList& parameters);

/// Formats one parameter as on the command line, but always as one line, and with the type unless it is a
/// text.
/// \param longest  maximum number of characters of the value; 0 for no limit
[[nodiscard]] QString ParameterToText(const QString& key, const QVariant& value, qsizetype longest);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_PARAMETERTEXT_H
