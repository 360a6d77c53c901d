// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/CommandTree.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/HelpText.h"
#include "cli/Suggestion.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

const CLI::App& FindChild(const CLI::App& parent, const QString& name)
{
    const std::string wanted = name.toStdString();
    const auto found
        = parent.get_subcommands([&wanted](const CLI::App* child) { return child->get_name() == wanted; });
    if (!found.empty())
        return *found.front();
    const CommandInfo info = DescribeCommand(parent);
    QStringList names;
    for (const QStringList& command : info.Commands)
        names += command.front();
    throw UsageFailure(u"there is no command '%1'"_s.arg((info.Path + QStringList(name)).join(u' '))
                       + DidYouMean(name, names));
}

ExitCode PrintHelp(const QStringList& path, const CLI::App& root)
{
    const CLI::App* command = &root;
    for (const QString& name : path)
        command = &FindChild(*command, name);
    Console::Print(HelpText(DescribeCommand(*command), HelpWidth()));
    return ExitCode::Yes;
}

} // namespace

void AddHelpCommand(CommandLine& line)
{
    const CLI::App& root = line.Root();
    auto path = std::make_shared<QStringList>();
    CLI::App& help = line.AddCommand(line.Root(), "help", "Print the help of the tool or of a command",
                                     "qvutil help xml get       # the same as qvutil xml get --help",
                                     [path, &root] { return PrintHelp(*path, root); });
    AddTexts(help, "COMMAND", *path, "Group or command, such as xml get; default: the tool itself");
}

} // namespace Quorvin::Tool
