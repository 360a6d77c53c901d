// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_COMMAND_H
#define QVUTIL_TOOL_COMMAND_H

#include "cli/Failure.h"

#include <QString>
#include <QStringList>

#include <CLI/CLI.hpp>

#include <functional>
#include <limits>
#include <string>

namespace Quorvin::Tool {

/// The tool's command line: groups of commands, their options and their actions.
///
/// Each group has a function Add…Commands, which is declared in Groups.h and called by main:
/// \code
/// struct ShowOptions
/// {
///     QString File;
///     bool Json = false;
/// };
///
/// void AddGridCommands(CommandLine& line)
/// {
///     CLI::App& group = line.AddGroup("grid", "Look at a grid of processes");
///     auto options = std::make_shared<ShowOptions>();
///     CLI::App& show = line.AddCommand(group, "show", "Show one member",
///                                      "qvutil grid show desk 4711", [options] { return Show(*options); });
///     AddText(show, "FILE", options->File, "The file")->required();
///     AddJsonFlag(show, options->Json);
/// }
/// \endcode
///
/// The action runs after the whole command line has been read. It prints through Console and returns the exit
/// code. To report an error, it throws Failure, or UsageFailure if the arguments are wrong.
class CommandLine
{
public:
    using Action = std::function<ExitCode()>;

    CommandLine();

    /// Adds a group, such as `qvutil xml`.
    CLI::App& AddGroup(const std::string& name, const std::string& description);
    /// Adds a command to a group, such as `qvutil xml get`.
    /// \param examples  command lines for the command's help, one per line
    CLI::App& AddCommand(CLI::App& group, const std::string& name, const std::string& description,
                         const std::string& examples, Action action);
    /// Sets the action of a command that was added without one, because the action needs the command's
    /// options.
    void SetAction(CLI::App& command, Action action);
    /// Returns the root, for commands without a group.
    [[nodiscard]] CLI::App& Root() { return mApp; }

    /// Reads the arguments, runs the command, writes all of its output, and returns its exit code.
    [[nodiscard]] ExitCode Run(int argc, const char* const* argv);

private:
    [[nodiscard]] ExitCode Parse(int argc, const char* const* argv);
    [[nodiscard]] ExitCode RejectArguments(const QString& reason);
    [[nodiscard]] ExitCode RejectArguments(const CLI::ParseError& error);
    [[nodiscard]] CLI::App& SelectedCommand();

    CLI::App mApp;
    Action mAction;
};

/// Adds an explanation to a command's help, before the examples. Lines are joined and wrapped, except
/// indented lines.
void AddExplanation(CLI::App& command, const std::string& text);
/// Adds an argument ("FILE") or an option ("--name,-n") whose value is a string. Always use this function for
/// strings: it ensures that the value arrives as the user typed it.
CLI::Option* AddText(CLI::App& command, const std::string& name, QString& target,
                     const std::string& description);
/// Adds an argument ("FILE") or an option ("--name") that can be repeated. Help shows the type_name() of an
/// argument if it contains a space: "[NAME] VALUE" for one or two values.
CLI::Option* AddTexts(CLI::App& command, const std::string& name, QStringList& target,
                      const std::string& description);
/// The range of an option's value.
struct NumberRange
{
    int Min = std::numeric_limits<int>::min();
    int Max = std::numeric_limits<int>::max();
};
/// Adds an option ("--count") whose value is a whole number.
CLI::Option* AddNumber(CLI::App& command, const std::string& name, int& target, NumberRange range,
                       const std::string& description);
CLI::Option* AddJsonFlag(CLI::App& command, bool& target);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_COMMAND_H
