// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/CommandTree.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

bool IsRepeatable(const CLI::Option& option)
{
    return option.get_items_expected_max() >= kManyTexts;
}

// Returns an argument as the usage line shows it: "[FILE...]".
QString UsageOf(const CLI::Option& argument)
{
    const QString name = QString::fromStdString(ShownName(argument));
    if (name.contains(u' '))
        return name;
    const QString text = IsRepeatable(argument) ? name + "..."_L1 : name;
    return argument.get_required() ? text : u'[' + text + u']';
}

QString UsageOf(const CLI::App& command, const CommandInfo& info)
{
    QStringList words = {info.FullName(), u"[options]"_s};
    const auto arguments
        = command.get_options([](const CLI::Option* option) { return option->get_positional(); });
    for (const CLI::Option* argument : arguments)
        words.append(UsageOf(*argument));
    if (!info.Commands.isEmpty())
        words.append(u"COMMAND"_s);
    return words.join(u' ');
}

OptionInfo InfoOf(const CLI::Option& option)
{
    OptionInfo info;
    info.Description = QString::fromStdString(option.get_description());
    info.IsRepeatable = IsRepeatable(option) && ShownName(option).find(' ') == std::string::npos;
    if (option.get_positional()) {
        info.Names += QString::fromStdString(ShownName(option));
        return info;
    }
    for (const std::string& name : option.get_lnames())
        info.Names += "--"_L1 + QString::fromStdString(name);
    for (const std::string& name : option.get_snames())
        info.Names += u'-' + QString::fromStdString(name);
    if (option.get_type_size() != 0)
        info.Value = QString::fromStdString(option.get_type_name());
    return info;
}

void Append(const CLI::App& command, QList<CommandInfo>& commands)
{
    commands.append(DescribeCommand(command));
    const auto shown
        = command.get_subcommands([](const CLI::App* child) { return !child->get_group().empty(); });
    for (const CLI::App* child : shown)
        Append(*child, commands);
}

} // namespace

std::string ShownName(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    return type.find(' ') != std::string::npos ? type : option.get_name(true);
}

CommandInfo DescribeCommand(const CLI::App& command)
{
    CommandInfo info;
    for (const CLI::App* app = &command; app->get_parent(); app = app->get_parent())
        info.Path.prepend(QString::fromStdString(app->get_name()));
    info.Description = QString::fromStdString(command.get_description());
    info.Footer = QString::fromStdString(command.get_footer());
    const auto isShown = [](const CLI::Option* option) { return !option->get_group().empty(); };
    for (const CLI::Option* option : command.get_options(isShown))
        (option->get_positional() ? info.Arguments : info.Options).append(InfoOf(*option));
    const auto shown
        = command.get_subcommands([](const CLI::App* child) { return !child->get_group().empty(); });
    for (const CLI::App* child : shown) {
        info.Commands.append(
            {QString::fromStdString(child->get_name()), QString::fromStdString(child->get_description())});
    }
    info.Usage = UsageOf(command, info);
    return info;
}

QList<CommandInfo> ListCommands(const CLI::App& root)
{
    QList<CommandInfo> commands;
    Append(root, commands);
    return commands;
}

} // namespace Quorvin::Tool
