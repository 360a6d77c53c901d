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
//     KEY:TYPE=VALUE    a value of a type that travels: bool, int, uint, longlong, double, string,
//     stringlist,
//                       bytearray (as base64), map, list
//     KEY:=JSON         a value of JSON
//     KEY=@FILE         the bytes of a file; - is standard input
//     KEY=@@TEXT        a text that begins with @

/// Reads parameters as they are given on the command line. Throws UsageFailure, or Failure for a file.
[[nodiscard]] QVariantMap ReadParameters(const QStringList& texts);

/// Makes a message of what is given on the command line.
/// \param file        file with the message as JSON, whose parameters come first; empty for none
/// Throws like ReadParameters, and if the message cannot be sent as it is.
[[nodiscard]] Util::MessageInfo ReadMessage(const QString& id, const QString& file,
                                            const QStringList& parameters);

/// Writes one parameter as it would be given, but on one line, and with the type of everything that is no
/// text. \param longest  characters of the value that are shown at the most; 0 for all
[[nodiscard]] QString ParameterToText(const QString& key, const QVariant& value, qsizetype longest);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_PARAMETERTEXT_H
