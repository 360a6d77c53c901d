// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"

#include "cli/CommandTree.h"
#include "cli/Console.h"

#include <QStringDecoder>

#include <algorithm>
#include <new>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr const char* kFooter = R"(Exit status:
  0  yes: done, found, equal, no problems
  1  no: not found, different, problems found
  2  wrong usage, or a file that cannot be read or written

A FILE that is given as - is standard input. An argument that begins with '-'
and is no option comes after --, as in: qvutil settings set FILE PATH NAME -- -v

Help on a command: qvutil COMMAND --help, such as: qvutil xml get --help)";

/// CLI11's help, without its remark REQUIRED: the usage line tells.
class HelpFormatter final : public CLI::Formatter
{
public:
    HelpFormatter()
    {
        column_width(28);
        label("REQUIRED", "");
        label("Positionals", "Arguments");
        label("OPTIONS", "options");
        label("SUBCOMMAND", "COMMAND");
        label("SUBCOMMANDS", "COMMANDS");
    }

    [[nodiscard]] std::string make_option_opts(const CLI::Option* option) const override
    {
        if (IsList(option))
            return {};
        std::string text;
        if (option->get_type_size() != 0 && !option->get_positional() && !option->get_type_name().empty())
            text = " " + option->get_type_name();
        if (option->get_expected_max() >= CLI::detail::expected_max_vector_size)
            text += " ...";
        return text;
    }

    [[nodiscard]] std::string make_option_name(const CLI::Option* option, bool isPositional) const override
    {
        return IsList(option) ? ShownName(*option) : Formatter::make_option_name(option, isPositional);
    }

    [[nodiscard]] std::string make_option_usage(const CLI::Option* option) const override
    {
        return IsList(option) ? ShownName(*option) : Formatter::make_option_usage(option);
    }

private:
    // Arguments such as "[NAME] VALUE", which are one list for CLI11.
    static bool IsList(const CLI::Option* option)
    {
        return option->get_positional() && ShownName(*option).find(' ') != std::string::npos;
    }
};

// Qt's file names and texts are UTF-16: other bytes would name another file than the one that was meant.
QString FindArgumentThatIsNoText(int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder(QByteArrayView(argv[i]));
        if (decoder.hasError())
            return text;
    }
    return {};
}

// CLI11 takes "[a,b]" apart, and arguments that begin with '-' for options. This mark in front keeps an
// argument whole.
constexpr char kWholeMark = '\x1f';

QString FromArgument(std::string_view argument)
{
    if (argument.starts_with(kWholeMark))
        argument.remove_prefix(1);
    return QString::fromUtf8(argument.data(), static_cast<qsizetype>(argument.size()));
}

bool NeedsValue(const CLI::Option* option)
{
    return option != nullptr && option->get_items_expected_min() > 0;
}

// Whether the next argument is this one's value: "--type int", "-t int".
bool NeedsNextArgument(const CLI::App& command, std::string_view argument)
{
    if (argument.starts_with("--"))
        return NeedsValue(command.get_option_no_throw(std::string(argument)));
    if (!argument.starts_with('-'))
        return false;
    for (std::size_t i = 1; i < argument.size(); ++i) {
        if (NeedsValue(command.get_option_no_throw({'-', argument[i]})))
            return i + 1 == argument.size(); // else its value is what follows in this argument
    }
    return false;
}

// The index of the "--" that ends the options; argc if there is none. A "--" behind an option that needs a
// value is that value.
int FindEndOfOptions(const CLI::App* command, int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--")
            return i;
        const auto commands = command->get_subcommands(
            [argument](const CLI::App* child) { return child->get_name() == argument; });
        if (!commands.empty())
            command = commands.front();
        else if (NeedsNextArgument(*command, argument))
            ++i;
    }
    return argc;
}

// CLI11 itself hands what follows "--" to the group if the command has all that it requires.
std::vector<std::string> ToArguments(const CLI::App& root, int argc, const char* const* argv)
{
    const int end = FindEndOfOptions(&root, argc, argv);
    std::vector<std::string> arguments;
    for (int i = argc - 1; i >= 1; --i) { // CLI11 takes them from the end
        if (i == end)
            continue;
        arguments.emplace_back(argv[i]);
        if (i > end || arguments.back().starts_with('[') || arguments.back().starts_with(kWholeMark))
            arguments.back().insert(0, 1, kWholeMark);
    }
    return arguments;
}

// Why an option that CLI11 complains about is wrong. Its own words change from version to version.
QString ReasonOf(const CLI::Option& option)
{
    const QString name = QString::fromStdString(option.get_name());
    if (!NeedsValue(&option))
        return name + u" takes no value"_s;
    return name + (option.count() > 1 ? u" is given more than once"_s : u" needs a value"_s);
}

QString ToReason(const CLI::ParseError& error, const CLI::App& command)
{
    const bool isMismatch = dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr
        || dynamic_cast<const CLI::ConversionError*>(&error) != nullptr;
    QString reason = QString::fromUtf8(error.what()).remove(QLatin1Char(kWholeMark));
    if (isMismatch) {
        const auto isMeant = [&reason](const CLI::Option* option) {
            return !option->get_positional() && reason.contains(QString::fromStdString(option->get_name()));
        };
        const auto options = command.get_options(isMeant);
        const auto longest = std::max_element(options.begin(), options.end(),
                                              [](const CLI::Option* left, const CLI::Option* right) {
                                                  return left->get_name().size() < right->get_name().size();
                                              });
        if (longest != options.end())
            return ReasonOf(**longest);
    }
    // CLI11's sentences begin with a capital; the tool's follow "qvutil: ".
    if (reason.size() > 1 && reason.at(1).isLower())
        reason[0] = reason.at(0).toLower();
    return reason;
}

} // namespace

CommandLine::CommandLine()
    : mApp("Look into, change and check the files of applications that use QvUtil", "qvutil")
{
    mApp.formatter(std::make_shared<HelpFormatter>());
    mApp.footer(kFooter);
    mApp.set_help_flag("--help,-h", "Show this help and exit");
    mApp.set_version_flag("--version", "qvutil " QVUTIL_TOOL_VERSION, "Show the version and exit");
    mApp.require_subcommand(1);
    mApp.get_formatter()->column_width(28);
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
    QStringList names;
    for (const CLI::App* command = &SelectedCommand(); command; command = command->get_parent())
        names.prepend(QString::fromStdString(command->get_name()));
    Console::ReportError({}, reason);
    Console::PrintError(u"Try '%1 --help'.\n"_s.arg(names.join(u' ')));
    return ExitCode::Error;
}

ExitCode CommandLine::RejectArguments(const CLI::ParseError& error)
{
    CLI::App& command = SelectedCommand();
    const bool isGroup = !command.get_subcommands({}).empty();
    const std::vector<std::string> rest = command.remaining();
    if (isGroup && rest.empty()) {
        Console::PrintError(QString::fromStdString(mApp.help()));
        return ExitCode::Error;
    }
    if (isGroup)
        return RejectArguments(u"there is no command or option '%1'"_s.arg(FromArgument(rest.front())));
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr && !rest.empty())
        return RejectArguments(u"unexpected argument '%1'"_s.arg(FromArgument(rest.front())));
    return RejectArguments(ToReason(error, command));
}

ExitCode CommandLine::Parse(int argc, const char* const* argv)
{
    try {
        mApp.parse(ToArguments(mApp, argc, argv));
    } catch (const CLI::CallForHelp&) {
        Console::Print(QString::fromStdString(mApp.help()));
    } catch (const CLI::CallForVersion&) {
        Console::PrintLine(QString::fromStdString(mApp.version()));
    } catch (const CLI::ParseError& error) {
        return RejectArguments(error);
    }
    return ExitCode::Yes;
}

ExitCode CommandLine::Run(int argc, const char* const* argv)
{
    ExitCode code = ExitCode::Error;
    try {
        if (const QString argument = FindArgumentThatIsNoText(argc, argv); !argument.isNull()) {
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
    // An option takes one text each time that it is given; else it would swallow the arguments behind it.
    if (!option->get_positional())
        option->allow_extra_args(false);
    return option;
}

CLI::Option* AddNumber(CLI::App& command, const std::string& name, int& target, NumberRange range,
                       const std::string& description)
{
    const auto check = [range](const std::string& text) {
        bool isNumber = false;
        const int number = FromArgument(text).toInt(&isNumber);
        if (isNumber && number >= range.Min && number <= range.Max)
            return std::string();
        return u"'%1' is not a whole number from %2 to %3"_s
            .arg(FromArgument(text), QString::number(range.Min), QString::number(range.Max))
            .toStdString();
    };
    return command
        .add_option_function<std::string>(
            name, [&target](const std::string& text) { target = FromArgument(text).toInt(); }, description)
        ->check(check)
        ->type_name("INT");
}

CLI::Option* AddJsonFlag(CLI::App& command, bool& target)
{
    return command.add_flag("--json", target, "Print JSON, for programs to read");
}

} // namespace Quorvin::Tool
