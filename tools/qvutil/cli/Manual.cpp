// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/CommandTree.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// Escapes text for roff, so that no line begins with a request.
QString Plain(const QString& text)
{
    QStringList lines = text.split(u'\n');
    for (QString& line : lines) {
        line.replace(u'\\', "\\e"_L1).replace(u'-', "\\-"_L1);
        if (line.startsWith(u'.') || line.startsWith(u'\''))
            line.prepend("\\&"_L1);
    }
    return lines.join(u'\n');
}

QString Options(const QList<OptionInfo>& options)
{
    QString text;
    for (const OptionInfo& option : options) {
        QStringList names;
        for (const QString& name : option.Names)
            names += "\\fB"_L1 + Plain(name) + "\\fR"_L1;
        text += ".TP\n"_L1 + names.join(", "_L1);
        if (!option.Value.isEmpty())
            text += " \\fI"_L1 + Plain(option.Value) + "\\fR"_L1;
        text += u'\n' + Plain(option.Description) + u'\n';
    }
    return text;
}

QString Section(const CommandInfo& command)
{
    QString text = u".SS "_s + Plain(command.Usage) + u'\n' + Plain(command.Description) + ".\n"_L1;
    text += Options(command.Arguments);
    text += Options(command.Options);
    if (!command.Footer.isEmpty())
        text += ".PP\n.nf\n"_L1 + Plain(command.Footer) + "\n.fi\n"_L1;
    return text;
}

} // namespace

QString ManualSections(const QList<CommandInfo>& commands)
{
    QString text;
    for (const CommandInfo& command : commands) {
        if (command.Commands.isEmpty()) // groups have no action
            text += Section(command);
    }
    return text;
}

} // namespace Quorvin::Tool
