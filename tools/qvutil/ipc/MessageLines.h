// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_MESSAGELINES_H
#define QVUTIL_TOOL_IPC_MESSAGELINES_H

#include <qvutil/IPC.h>

#include <QJsonObject>
#include <QString>

namespace Quorvin::Tool {

/// Prints messages as they come: in text a line with the time, and one for each parameter; in JSON one line
/// in all. What is printed is seen at once.
class MessageLines
{
public:
    explicit MessageLines(bool json)
        : mJson(json)
    { }

    /// Prints a message.
    /// \param direction  "client > server", or empty where there is only one
    /// \param notes      further members of the JSON object; in text the strings of them follow the message
    void Print(const Util::MessageInfo& message, const QString& direction = {},
               const QJsonObject& notes = {}) const;
    /// Prints that something else has happened.
    /// \param event  for programs: "connected"
    /// \param text   for people
    void PrintEvent(const QString& event, const QString& text, const QString& direction,
                    QJsonObject notes = {}) const;

private:
    bool mJson;
};

/// Prints the parameters of a message, one on a line.
/// \param indent   what each line begins with
/// \param longest  as for ParameterToText
void PrintParameters(const QVariantMap& parameters, const QString& indent, qsizetype longest);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_MESSAGELINES_H
