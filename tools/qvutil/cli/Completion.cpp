// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/CommandTree.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr const char16_t* kBash = uR"(# Completion of qvutil's commands and options for bash.

_qvutil()
{
    local current=${COMP_WORDS[COMP_CWORD]} command= words= word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case "$command $word" in
@STEPS@            command="${command:+$command }$word" ;;
        esac
    done
    case "$command" in
@WORDS@    esac
    # Options come up only when one has been begun; where no command fits, bash goes on with file names.
    COMPREPLY=($(compgen -W "$words" -- "$current"))
    [[ $current == -* ]] || COMPREPLY=($(compgen -X '-*' -W "$words" -- "$current"))
}
complete -o bashdefault -o default -F _qvutil qvutil
)";

constexpr const char16_t* kZsh = uR"(#compdef qvutil
# Completion of qvutil's commands and options for zsh.

_qvutil()
{
    local command= word
    local -a candidates
    for word in "${(@)words[2,CURRENT-1]}"; do
        case "$command $word" in
@STEPS@            command="${command:+$command }$word" ;;
        esac
    done
    case "$command" in
@WORDS@    esac
    if [[ $words[CURRENT] != -* ]]; then
        candidates=("${(@)candidates:#-*}")
        (( $#candidates )) || { _files; return }
    fi
    _describe 'qvutil' candidates
}

# Found by name in a folder of functions, or read by source.
if [[ $funcstack[1] == _qvutil ]]; then
    _qvutil "$@"
else
    compdef _qvutil qvutil
fi
)";

constexpr const char16_t* kFish = uR"(# Completion of qvutil's commands and options for fish.

function __qvutil_at --description 'Whether the command so far is this one'
    set -l command
    for word in (commandline -opc)[2..-1]
        switch "$command $word"
            case @STEPS@
                set command (string trim -- "$command $word")
        end
    end
    test "$command" = "$argv"
end
)";

// What a case statement of all shells takes for "this word leads from one command to the next".
QStringList Steps(const QList<CommandInfo>& commands, QChar quote)
{
    QStringList steps;
    for (const CommandInfo& command : commands) {
        if (command.Path.isEmpty())
            continue;
        const QString parent = command.Path.first(command.Path.size() - 1).join(u' ');
        steps += quote + parent + u' ' + command.Path.back() + quote;
    }
    return steps;
}

QString Quoted(const QString& text)
{
    return u'\'' + QString(text).replace(u'\'', "'\\''"_L1) + u'\'';
}

QString BashWords(const CommandInfo& command)
{
    QStringList words;
    for (const QStringList& child : command.Commands)
        words += child.front();
    for (const OptionInfo& option : command.Options)
        words += option.Names;
    return u"    \"%1\") words=\"%2\" ;;\n"_s.arg(command.Name(), words.join(u' '));
}

QString ZshWords(const CommandInfo& command)
{
    QStringList words;
    for (const QStringList& child : command.Commands)
        words += Quoted(child.front() + u':' + child.back());
    for (const OptionInfo& option : command.Options) {
        for (const QString& name : option.Names)
            words += Quoted(name + u':' + option.Description);
    }
    return u"    \"%1\") candidates=(\n        "_s.arg(command.Name()) + words.join("\n        "_L1)
        + " ) ;;\n"_L1;
}

QString FishLines(const CommandInfo& command)
{
    const QString start = "complete -c qvutil -n "_L1 + Quoted("__qvutil_at "_L1 + command.Name()) + u' ';
    QString lines;
    for (const QStringList& child : command.Commands)
        lines += start + u"-f -a %1 -d %2\n"_s.arg(child.front(), Quoted(child.back()));
    for (const OptionInfo& option : command.Options) {
        lines += start;
        for (const QString& name : option.Names) {
            const bool isLong = name.startsWith("--"_L1);
            lines += (isLong ? "-l "_L1 : "-s "_L1) + name.sliced(isLong ? 2 : 1) + u' ';
        }
        lines += (option.Value.isEmpty() ? QString() : u"-r "_s) + "-d "_L1 + Quoted(option.Description)
            + u'\n';
    }
    return lines;
}

QString Joined(const QList<CommandInfo>& commands, QString (*toText)(const CommandInfo&))
{
    QString text;
    for (const CommandInfo& command : commands)
        text += toText(command);
    return text;
}

QString FillIn(const char16_t* script, const QList<CommandInfo>& commands,
               QString (*toWords)(const CommandInfo&))
{
    const QString steps = "        "_L1 + Steps(commands, u'"').join("|\\\n        "_L1) + ")\n"_L1;
    return QString::fromUtf16(script)
        .replace("@STEPS@"_L1, steps)
        .replace("@WORDS@"_L1, Joined(commands, toWords));
}

} // namespace

QString BashCompletion(const QList<CommandInfo>& commands)
{
    return FillIn(kBash, commands, &BashWords);
}

QString ZshCompletion(const QList<CommandInfo>& commands)
{
    return FillIn(kZsh, commands, &ZshWords);
}

QString FishCompletion(const QList<CommandInfo>& commands)
{
    return QString::fromUtf16(kFish).replace("@STEPS@"_L1, Steps(commands, u'\'').join(u' '))
        + Joined(commands, &FishLines);
}

} // namespace Quorvin::Tool
