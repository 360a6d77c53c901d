// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/CommandTree.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

QString UsageOf(const CLI::App& command, const QStringList& path)
{
    const QString help = QString::fromStdString(
        command.help((QStringList(u"qvutil"_s) + path.first(std::max<qsizetype>(path.size() - 1, 0)))
                         .join(u' ')
                         .toStdString()));
    constexpr QStringView kStart = u"Usage: ";
    const qsizetype at = help.indexOf(kStart);
    const qsizetype end = help.indexOf(u'\n', at);
    return help.sliced(at + kStart.size(), end - at - kStart.size()).trimmed();
}

OptionInfo InfoOf(const CLI::Option& option)
{
    OptionInfo info;
    info.Description = QString::fromStdString(option.get_description());
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

void Append(const CLI::App& command, const QStringList& path, QList<CommandInfo>& commands)
{
    CommandInfo info{.Path = path,
                     .Description = QString::fromStdString(command.get_description()),
                     .Usage = UsageOf(command, path),
                     .Footer = QString::fromStdString(command.get_footer()),
                     .Arguments = {},
                     .Options = {},
                     .Commands = {}};
    const auto isShown = [](const CLI::Option* option) { return !option->get_group().empty(); };
    for (const CLI::Option* option : command.get_options(isShown))
        (option->get_positional() ? info.Arguments : info.Options).append(InfoOf(*option));
    const auto shown
        = command.get_subcommands([](const CLI::App* child) { return !child->get_group().empty(); });
    for (const CLI::App* child : shown) {
        info.Commands.append(
            {QString::fromStdString(child->get_name()), QString::fromStdString(child->get_description())});
    }
    commands.append(info);
    for (const CLI::App* child : shown)
        Append(*child, path + QStringList(QString::fromStdString(child->get_name())), commands);
}

} // namespace

std::string ShownName(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    return type.find(' ') != std::string::npos ? type : option.get_name(true);
}

QList<CommandInfo> ListCommands(const CLI::App& root)
{
    QList<CommandInfo> commands;
    Append(root, {}, commands);
    return commands;
}

} // namespace Quorvin::Tool
