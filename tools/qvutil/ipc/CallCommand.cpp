// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/IpcCommands.h"

#include "cli/Report.h"
#include "ipc/CommandSupport.h"
#include "ipc/MessageLines.h"
#include "messages/MessageText.h"

#include <memory>

using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

ExitCode Call(const MessageOptions& options)
{
    return Talk(options, [&options](ServerLink& link, const MessageInfo& message, QDeadlineTimer deadline) {
        const MessageInfo answer = link.Ask(message, deadline);
        Report(options.Json)
            .Answer([&] { return MessageToJson(answer); }, [&] { PrintParameters(answer.Params, {}, 0); });
    });
}

} // namespace

void AddCallCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<MessageOptions>();
    CLI::App& call = AddMessageCommand(
        line, group, "call", "Send a request to a server, and print the answer",
        "qvutil ipc call viewer Open file=/tmp/a.txt line:int=12\n"
        "qvutil ipc call viewer Draw points:=[[0,0],[1,2]] icon=@icon.png --json --timeout 1000",
        options, &Call);
    AddJsonFlag(call, options->Json);
}

} // namespace Quorvin::Tool
