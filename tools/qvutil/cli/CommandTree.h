// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_COMMANDTREE_H
#define QVUTIL_TOOL_COMMANDTREE_H

#include <QList>
#include <QString>
#include <QStringList>

#include <CLI/CLI.hpp>

#include <string>

namespace Quorvin::Tool {

/// The number of values of an argument or option that takes any number of them.
inline constexpr int kManyTexts = 1 << 20;

/// Returns the name of an argument as help shows it: "FILE", or "[NAME] VALUE" for a list of texts with
/// different meanings. CLI11 does not allow a space in a name, so the latter is the argument's type name.
[[nodiscard]] std::string ShownName(const CLI::Option& option);

/// An argument or option, as help shows it.
struct OptionInfo
{
    QStringList Names; ///< for example "--type" and "-t"; for an argument, only its name
    QString Value; ///< placeholder for the option's value, such as "TYPE"; empty for flags and arguments
    QString Description;
    bool IsRepeatable = false;
};

/// A command or a group of commands, as help shows it.
struct CommandInfo
{
    QStringList Path; ///< "xml", "get"; empty for the tool itself
    QString Description;
    QString Usage; ///< "qvutil xml get [options] FILE PATH [NAME]"
    QString Footer; ///< the text at the end of the help
    QList<OptionInfo> Arguments;
    QList<OptionInfo> Options;
    QList<QStringList> Commands; ///< name and description of each command below it

    /// Returns the path as a string: "xml get".
    [[nodiscard]] QString Name() const { return Path.join(u' '); }
    /// Returns the path with the name of the program: "qvutil xml get".
    [[nodiscard]] QString FullName() const
    {
        return (QStringList(QStringLiteral("qvutil")) + Path).join(u' ');
    }
};

/// Describes a command or group, or the tool itself.
[[nodiscard]] CommandInfo DescribeCommand(const CLI::App& command);

/// Lists the tool itself, then each group and command that help shows, groups before their commands.
[[nodiscard]] QList<CommandInfo> ListCommands(const CLI::App& root);

/// Return the scripts that complete the tool's commands and options in a shell.
[[nodiscard]] QString BashCompletion(const QList<CommandInfo>& commands);
[[nodiscard]] QString FishCompletion(const QList<CommandInfo>& commands);
[[nodiscard]] QString ZshCompletion(const QList<CommandInfo>& commands);

/// Returns the manual page's sections about the commands, as roff.
[[nodiscard]] QString ManualSections(const QList<CommandInfo>& commands);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_COMMANDTREE_H
