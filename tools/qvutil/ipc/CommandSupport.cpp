// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/CommandSupport.h"

#include "cli/Console.h"
#include "ipc/ParameterText.h"

using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

constexpr const char* kExplanation = R"(Parameters:
  KEY=TEXT          text
  KEY:TYPE=VALUE    bool, int, uint, longlong, double, string, stringlist, map, list (in JSON),
                    bytearray (in base64)
  KEY:=JSON         a JSON value, such as 1.5, true, [1,2] or {"x": 1}
  KEY=@FILE         the bytes of a file; - is standard input
  KEY=@@TEXT        text that begins with @

A server has only one client: the tool displaces the current one. If the displaced client uses
the library, it reconnects within a second, and displaces the tool.)";

} // namespace

CLI::App& AddMessageCommand(CommandLine& line, CLI::App& group, const std::string& name,
                            const std::string& description, const std::string& examples,
                            const std::shared_ptr<MessageOptions>& options,
                            ExitCode (*run)(const MessageOptions&))
{
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    AddExplanation(command, kExplanation);
    AddText(command, "NAME", options->Name, "The server's name")->required();
    AddText(command, "MESSAGE", options->Message, "The message's name")->required();
    AddTexts(command, "PARAMETER", options->Parameters, "A parameter, as described below");
    AddText(command, "--params", options->File,
            "JSON file with a message, as printed by message decode; PARAMETER overrides its parameters")
        ->type_name("FILE");
    AddNumber(command, "--timeout", options->TimeoutMs, {.Min = 0},
              "Time-out for the whole command, in milliseconds; default: 5000")
        ->type_name("MS");
    command.add_flag("--wait", options->Wait, "Wait until the server is running");
    return command;
}

ExitCode Talk(const MessageOptions& options, const Conversation& converse)
{
    const MessageInfo message = ReadMessage(options.Message, options.File, options.Parameters);
    const QDeadlineTimer deadline(options.TimeoutMs, Qt::PreciseTimer);
    Session session(Session::DiesOfSignals);
    ServerLink link(session, options.Name);
    try {
        link.Connect(options.Wait, deadline);
        converse(link, message, deadline);
    } catch (const LinkFailure& failure) {
        Console::ReportError(options.Name, failure.Reason);
        return ExitCode::No;
    }
    return ExitCode::Yes;
}

} // namespace Quorvin::Tool
