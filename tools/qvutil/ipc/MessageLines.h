// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_MESSAGELINES_H
#define QVUTIL_TOOL_IPC_MESSAGELINES_H

#include <qvutil/IPC.h>

#include <QJsonObject>
#include <QString>

namespace Quorvin::Tool {

/// Prints messages as they arrive, without buffering. As text, a message is one line with the time and one
/// line for each parameter; as JSON, it is one line.
class MessageLines
{
public:
    explicit MessageLines(bool json)
        : mJson(json)
    { }

    /// Prints a message.
    /// \param direction  for example "to server"; empty if there is only one direction
    /// \param notes      further members of the JSON object; the text contains only those that are strings
    void Print(const Util::MessageInfo& message, const QString& direction = {},
               const QJsonObject& notes = {}) const;
    /// Prints another event.
    /// \param event  name for programs, for example "connected"
    /// \param text   description for people
    void PrintEvent(const QString& event, const QString& text, const QString& direction,
                    QJsonObject notes = {}) const;

private:
    bool mJson;
};

/// Prints the parameters of a message, one per line.
/// \param indent     prefix of each line
/// \param maxLength  as for ParameterToText
void PrintParameters(const QVariantMap& parameters, const QString& indent, qsizetype maxLength);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_MESSAGELINES_H
