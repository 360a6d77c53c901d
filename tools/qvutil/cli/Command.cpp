// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"

#include "cli/Arguments.h"
#include "cli/CommandTree.h"
#include "cli/Console.h"
#include "cli/HelpText.h"

#include <QStringDecoder>

#include <new>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr const char* kFooter = R"(Exit status:
  0  yes: done, found, equal, no problems
  1  no: not found, different, problems found
  2  wrong usage, or a file that cannot be read or written

If FILE is -, the tool reads standard input. Put arguments that begin with '-'
but are not options after --, as in: qvutil settings set FILE PATH NAME -- -v

Help on a command: qvutil GROUP COMMAND --help, for example: qvutil xml get --help)";

// Rejects invalid UTF-8: Qt converts arguments to UTF-16, so invalid bytes would name a different file.
QString FindInvalidArgument(int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder(QByteArrayView(argv[i]));
        if (decoder.hasError())
            return text;
    }
    return {};
}

ExitCode Reject(const CLI::App& command, const QString& reason)
{
    Console::ReportError({}, reason);
    Console::PrintError(u"Try '%1 --help'.\n"_s.arg(DescribeCommand(command).FullName()));
    return ExitCode::Error;
}

QString HelpOf(const CLI::App& command)
{
    return HelpText(DescribeCommand(command), HelpWidth());
}

} // namespace

CommandLine::CommandLine()
    : mApp("Inspect, change and check the files of applications that use QvUtil", "qvutil")
{
    mApp.footer(kFooter);
    mApp.set_help_flag("--help,-h", "Show this help and exit");
    mApp.set_version_flag("--version", "qvutil " QVUTIL_TOOL_VERSION, "Show the version and exit");
    mApp.require_subcommand(1);
}

CLI::App& CommandLine::AddGroup(const std::string& name, const std::string& description)
{
    CLI::App& group = *mApp.add_subcommand(name, description);
    group.footer("Help on a command: qvutil " + name + " COMMAND --help");
    group.group("Commands");
    group.require_subcommand(1);
    return group;
}

CLI::App& CommandLine::AddCommand(CLI::App& group, const std::string& name, const std::string& description,
                                  const std::string& examples, Action action)
{
    CLI::App& command = *group.add_subcommand(name, description);
    command.group("Commands");
    command.footer("Examples:\n  " + CLI::detail::find_and_replace(examples, "\n", "\n  "));
    if (action)
        SetAction(command, std::move(action));
    return command;
}

void CommandLine::SetAction(CLI::App& command, Action action)
{
    command.callback([this, action = std::move(action)] { mAction = action; });
}

CLI::App& CommandLine::SelectedCommand()
{
    CLI::App* command = &mApp;
    while (!command->get_subcommands().empty())
        command = command->get_subcommands().front();
    return *command;
}

ExitCode CommandLine::RejectArguments(const QString& reason)
{
    return Reject(SelectedCommand(), reason);
}

// ScanArguments reports all known errors; this is a fallback for any others.
ExitCode CommandLine::RejectArguments(const CLI::ParseError& /*error*/)
{
    return RejectArguments(u"these arguments cannot be combined"_s);
}

ExitCode CommandLine::Parse(int argc, const char* const* argv)
{
    ArgumentScan scan = ScanArguments(mApp, argc, argv);
    if (scan.Wanted == ArgumentScan::Help) {
        Console::Print(HelpOf(*scan.Command));
    } else if (scan.Wanted == ArgumentScan::Version) {
        Console::PrintLine(QStringLiteral("qvutil " QVUTIL_TOOL_VERSION));
    } else if (!scan.Problem.isEmpty()) {
        return Reject(*scan.Command, scan.Problem);
    } else if (scan.IsIncomplete) {
        Console::PrintError(HelpOf(*scan.Command));
        return ExitCode::Error;
    } else {
        SetJsonStyle(scan.Json);
        try {
            mApp.parse(std::move(scan.Arguments));
        } catch (const CLI::ParseError& error) {
            return RejectArguments(error);
        }
    }
    return ExitCode::Yes;
}

ExitCode CommandLine::Run(int argc, const char* const* argv)
{
    ExitCode code = ExitCode::Error;
    try {
        if (const QString argument = FindInvalidArgument(argc, argv); !argument.isNull()) {
            Console::ReportError(argument, u"the argument is not valid UTF-8"_s);
            return code;
        }
        code = Parse(argc, argv);
        if (mAction)
            code = mAction();
        Console::Flush();
    } catch (const UsageFailure& failure) {
        code = RejectArguments(failure.Reason);
    } catch (const Failure& failure) {
        Console::ReportError(failure.Subject, failure.Reason);
        code = ExitCode::Error;
    } catch (const OutputClosed&) {
        code = ExitCode::Error;
    } catch (const std::bad_alloc&) {
        Console::ReportError({}, u"not enough memory"_s);
        code = ExitCode::Error;
    }
    return code;
}

void AddExplanation(CLI::App& command, const std::string& text)
{
    command.footer(text + "\n\n" + command.get_footer());
}

CLI::Option* AddText(CLI::App& command, const std::string& name, QString& target,
                     const std::string& description)
{
    return command.add_option_function<std::string>(
        name, [&target](const std::string& text) { target = FromArgument(text); }, description);
}

CLI::Option* AddTexts(CLI::App& command, const std::string& name, QStringList& target,
                      const std::string& description)
{
    CLI::Option* option = command.add_option_function<std::vector<std::string>>(
        name,
        [&target](const std::vector<std::string>& texts) {
            for (const std::string& text : texts)
                target += FromArgument(text);
        },
        description);
    // Limit an option to one value each time it is given; otherwise it would consume the arguments after the
    // value.
    if (!option->get_positional())
        option->allow_extra_args(false);
    return option;
}

CLI::Option* AddNumber(CLI::App& command, const std::string& name, int& target, NumberRange range,
                       const std::string& description)
{
    const auto read = [&target, range, name](const std::string& text) {
        bool isNumber = false;
        const int number = FromArgument(text).toInt(&isNumber);
        if (!isNumber || number < range.Min || number > range.Max) {
            throw UsageFailure(u"%1: '%2' is not a whole number from %3 to %4"_s.arg(
                QString::fromStdString(name).section(u',', 0, 0), FromArgument(text),
                QString::number(range.Min), QString::number(range.Max)));
        }
        target = number;
    };
    return command.add_option_function<std::string>(name, read, description)->type_name("INT");
}

CLI::Option* AddJsonFlag(CLI::App& command, bool& target)
{
    return command.add_flag("--json", target,
                            "Print JSON: indented on a terminal, otherwise on one line; --json=pretty and "
                            "--json=lines set the format");
}

} // namespace Quorvin::Tool
