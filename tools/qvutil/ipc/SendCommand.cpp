// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/IpcCommands.h"

#include "ipc/CommandSupport.h"

#include <memory>

using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

ExitCode Send(const MessageOptions& options)
{
    return Talk(options, [](ServerLink& link, const MessageInfo& message, QDeadlineTimer deadline) {
        link.Send(message, deadline);
        link.Close(deadline);
    });
}

} // namespace

void AddSendCommand(CommandLine& line, CLI::App& group)
{
    AddMessageCommand(line, group, "send", "Send a message to a server, and wait until it is written",
                      "qvutil ipc send viewer Close force:bool=true\n"
                      "qvutil ipc send viewer Refresh --wait --timeout 60000",
                      std::make_shared<MessageOptions>(), &Send);
}

} // namespace Quorvin::Tool
