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

/// The name of an argument as help shows it: "FILE", or "[NAME] VALUE" for a list that stands for both. CLI11
/// takes no space in a name, so the latter is the argument's type name.
[[nodiscard]] std::string ShownName(const CLI::Option& option);

/// An argument or option, as help shows it.
struct OptionInfo
{
    QStringList Names; ///< "--type", "-t"; of an argument its name alone
    QString Value; ///< what stands for the option's value, "TYPE"; empty for flags and arguments
    QString Description;
    bool IsRepeatable = false; ///< whether it can be given several times
};

/// A command or group of commands, as help shows it.
struct CommandInfo
{
    QStringList Path; ///< "xml", "get"; empty for the tool itself
    QString Description;
    QString Usage; ///< "qvutil xml get [options] FILE PATH [NAME]"
    QString Footer; ///< the text at the end of its help
    QList<OptionInfo> Arguments;
    QList<OptionInfo> Options;
    QList<QStringList> Commands; ///< name and description of each command below it

    /// The path in one word: "xml get".
    [[nodiscard]] QString Name() const { return Path.join(u' '); }
    /// The path from the shell: "qvutil xml get".
    [[nodiscard]] QString FullName() const
    {
        return (QStringList(QStringLiteral("qvutil")) + Path).join(u' ');
    }
};

/// Describes a command or group, or the tool itself.
[[nodiscard]] CommandInfo DescribeCommand(const CLI::App& command);

/// Lists the tool itself, then each group and command that help shows, groups before their commands.
[[nodiscard]] QList<CommandInfo> ListCommands(const CLI::App& root);

/// Scripts that let a shell complete the tool's commands and options.
[[nodiscard]] QString BashCompletion(const QList<CommandInfo>& commands);
[[nodiscard]] QString FishCompletion(const QList<CommandInfo>& commands);
[[nodiscard]] QString ZshCompletion(const QList<CommandInfo>& commands);

/// The manual's sections for the commands, in the manual pages' language.
[[nodiscard]] QString ManualSections(const QList<CommandInfo>& commands);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_COMMANDTREE_H
