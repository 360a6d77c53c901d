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
//     KEY=TEXT          text
//     KEY:TYPE=VALUE    a value of a type that can be sent: bool, int, uint, longlong, double, string,
//                       stringlist, bytearray (as base64), map, list
//     KEY:=JSON         a JSON value
//     KEY=@FILE         the bytes of a file; - is standard input
//     KEY=@@TEXT        text that begins with @

/// Reads parameters from the command line. Throws UsageFailure if one is invalid, and Failure if a file
/// cannot be read.
[[nodiscard]] QVariantMap ReadParameters(const QStringList& texts);

/// Makes a message from the command line. Throws like ReadParameters, and also if the message cannot be sent
/// unchanged.
/// \param file        JSON file with a message, whose parameters \p parameters override; may be empty
[[nodiscard]] Util::MessageInfo ReadMessage(const QString& id, const QString& file,
                                            const QStringList& parameters);

/// Formats one parameter as on the command line, but always on one line, and with its type unless the value
/// is a string.
/// \param maxLength  maximum number of characters of the value; 0 for no limit
[[nodiscard]] QString ParameterToText(const QString& key, const QVariant& value, qsizetype maxLength);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_PARAMETERTEXT_H
