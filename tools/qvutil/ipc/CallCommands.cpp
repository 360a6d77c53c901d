// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "ipc/IpcCommands.h"
#include "ipc/MessageLines.h"
#include "ipc/ParameterText.h"
#include "ipc/ServerLink.h"
#include "messages/MessageText.h"

#include <QJsonDocument>

#include <limits>
#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

constexpr int kDefaultTimeoutMs = 5000;

constexpr const char* kExplanation = R"(Parameters:
  KEY=TEXT          a text
  KEY:TYPE=VALUE    bool, int, uint, longlong, double, string, stringlist, map, list (in JSON),
                    bytearray (in base64)
  KEY:=JSON         a value of JSON, such as 1.5, true, [1,2] or {"x": 1}
  KEY=@FILE         the bytes of a file; - is standard input
  KEY=@@TEXT        a text that begins with @

A server has one client: this one takes the place of the one that is there. If that is a
client of the library, it connects again within a second, and takes its place back.)";

struct MessageOptions
{
    QString Name;
    QString Message;
    QStringList Parameters;
    QString File;
    int TimeoutMs = kDefaultTimeoutMs;
    bool Wait = false;
    bool Json = false;
};

// Connects, does something, and disconnects, all within the time that is given.
template <typename Action> ExitCode Talk(const MessageOptions& options, Action action)
{
    const MessageInfo message = ReadMessage(options.Message, options.File, options.Parameters);
    const QDeadlineTimer deadline(options.TimeoutMs, Qt::PreciseTimer);
    Session session(Session::DiesOfSignals);
    ServerLink link(session, options.Name);
    try {
        link.Connect(options.Wait, deadline);
        action(link, message, deadline);
    } catch (const LinkFailure& failure) {
        Console::Complain(options.Name, failure.Reason);
        return ExitCode::No;
    }
    return ExitCode::Yes;
}

ExitCode Call(const MessageOptions& options)
{
    return Talk(options, [&options](ServerLink& link, const MessageInfo& message, QDeadlineTimer deadline) {
        const MessageInfo answer = link.Ask(message, deadline);
        Report(options.Json)
            .Answer([&] { return MessageToJson(answer); }, [&] { PrintParameters(answer.Params, {}, 0); });
    });
}

ExitCode Send(const MessageOptions& options)
{
    return Talk(options, [](ServerLink& link, const MessageInfo& message, QDeadlineTimer deadline) {
        link.Send(message, deadline);
        link.Close(deadline);
    });
}

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
    AddTexts(command, "PARAMETER", options->Parameters, "A parameter, as below");
    AddText(command, "--params", options->File,
            "JSON file with the message, as qvutil message writes it; its parameters come first")
        ->type_name("FILE");
    AddNumber(command, "--timeout", options->TimeoutMs, {.Min = 0},
              "Milliseconds for all of it (default 5000)")
        ->type_name("MS");
    command.add_flag("--wait", options->Wait, "Wait for the server to be started");
    return command;
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

void AddSendCommand(CommandLine& line, CLI::App& group)
{
    AddMessageCommand(line, group, "send", "Send a message to a server, and wait until it is written",
                      "qvutil ipc send viewer Close force:bool=true\n"
                      "qvutil ipc send viewer Refresh --wait --timeout 60000",
                      std::make_shared<MessageOptions>(), &Send);
}

} // namespace Quorvin::Tool
