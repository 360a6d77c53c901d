// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_COMMANDSUPPORT_H
#define QVUTIL_TOOL_IPC_COMMANDSUPPORT_H

#include "cli/Command.h"
#include "ipc/ServerLink.h"

#include <QDeadlineTimer>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <string>

// Helpers for `qvutil ipc call` and `qvutil ipc send`.
namespace Quorvin::Tool {

struct MessageOptions
{
    QString Name;
    QString Message;
    QStringList Parameters;
    QString File;
    int TimeoutMs = 5000;
    bool Wait = false;
    bool Json = false;
};
/// Adds `call` or `send`.
CLI::App& AddMessageCommand(CommandLine& line, CLI::App& group, const std::string& name,
                            const std::string& description, const std::string& examples,
                            const std::shared_ptr<MessageOptions>& options,
                            ExitCode (*run)(const MessageOptions&));

using Conversation
    = std::function<void(ServerLink& link, const Util::MessageInfo& message, QDeadlineTimer deadline)>;
/// Connects, calls a function, and disconnects, all within the time-out.
/// \return the command's exit code
[[nodiscard]] ExitCode Talk(const MessageOptions& options, const Conversation& converse);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_COMMANDSUPPORT_H
