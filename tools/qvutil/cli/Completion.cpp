// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/CommandTree.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr const char16_t* kBash = uR"sh(# Completion of qvutil's commands and options for bash.

_qvutil()
{
    local current=${COMP_WORDS[COMP_CWORD]} command= words= word before= option= prefix= joined= place=0 values=
    # Bash splits --option=value into three words, unless COMP_WORDBREAKS is without '='.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word == = && $before == --* ]]; then
            option=$before joined=yes
            continue
        fi
        before=$word
        if [[ $option ]]; then
            option= joined=
            continue
        fi
        case "$command $word" in
        " help") ;; # a command follows
@STEPS@            command="${command:+$command }$word" ;;
@VALUED@            option=$word ;;
        "$command -"*) ;;
        *) place=$((place + 1)) ;;
        esac
    done
    if [[ $current == = && $before == --* ]]; then
        option=$before joined=yes
        current=
    elif [[ ! $option && $current == --*=* ]]; then
        option=${current%%=*} joined=yes
        current=${current#*=}
        prefix=$option=
    fi
    if [[ ! $option ]]; then
        case "$command" in
@WORDS@        esac
    fi
    case "$command ${option:-$place}" in
@VALUES@    esac
    if [[ $values && ( $option || $current != -* ) ]]; then
        # The command as the user typed it; only a tilde prefix of plain characters is evaluated.
        local tool=${COMP_WORDS[0]//\\/}
        if [[ $tool =~ ^(~[A-Za-z0-9._-]*)(/.*)$ ]]; then
            eval "tool=${BASH_REMATCH[1]}"
            tool+=${BASH_REMATCH[2]}
        fi
        # compgen -W would run commands in the values, which contain file names of other users. Bash inserts the
        # replies as they are, so quote them, unless a quotation has been begun: then offer what needs nothing more.
        local quote= special=
        case "$current" in
        \'*) quote=\' special=\' ;;
        \"*) quote=\" special='["$`\\!]' ;;
        esac
        if [[ $quote ]]; then
            current=${current#?}
        else
            current=${current//\\/}
        fi
        COMPREPLY=()
        while IFS= read -r word; do
            [[ $word == "$current"* ]] || continue
            if [[ ! $quote ]]; then
                COMPREPLY+=("$prefix$(printf %q "$word")")
            elif [[ $word != *$special* ]]; then
                COMPREPLY+=("$prefix$word")
            fi
        done < <("$tool" completion --list "$values" 2>/dev/null)
        return
    fi
    # Bash expands no tilde after '=', so the path must be complete.
    if [[ $joined && $current == '~/'* ]]; then
        current=${current//\\/}
        compopt -o filenames 2>/dev/null
        COMPREPLY=()
        while IFS= read -r word; do
            COMPREPLY+=("$prefix$word")
        done < <(compgen -f -- "$HOME/${current:2}")
        return
    fi
    # Options come up only when one has been begun; where no command fits, bash goes on with file names.
    COMPREPLY=($(compgen -W "$words" -- "$current"))
    [[ $current == -* ]] || COMPREPLY=($(compgen -X '-*' -W "$words" -- "$current"))
}
complete -o bashdefault -o default -F _qvutil qvutil
)sh";

constexpr const char16_t* kZsh = uR"sh(#compdef qvutil
# Completion of qvutil's commands and options for zsh.

_qvutil()
{
    local command= word option= place=0 values=
    local -a candidates
    for word in "${(@)words[2,CURRENT-1]}"; do
        if [[ -n $option ]]; then
            option=
            continue
        fi
        case "$command $word" in
        " help") ;; # a command follows
@STEPS@            command="${command:+$command }$word" ;;
@VALUED@            option=$word ;;
        "$command -"*) ;;
        *) place=$((place + 1)) ;;
        esac
    done
    if [[ -z $option ]] && compset -P 1 '--*='; then
        option=${IPREFIX%=}
    fi
    if [[ -z $option ]]; then
        case "$command" in
@WORDS@        esac
    fi
    case "$command ${option:-$place}" in
@VALUES@    esac
    if [[ -n $values && ( -n $option || $PREFIX != -* ) ]]; then
        local tool=${(Q)words[1]} # as the user typed it
        [[ $tool != '~'* ]] || tool=${~tool}
        candidates=("${(@f)$("$tool" completion --list "$values" 2>/dev/null)}")
        [[ -z $candidates[1] ]] || compadd -- "${(@)candidates}"
        return
    fi
    if [[ -n $option || $PREFIX != -* ]]; then
        # Zsh expands no tilde after '=', so the path must be complete.
        [[ $IPREFIX != --*= || $PREFIX != '~/'* ]] || PREFIX=$HOME/${PREFIX#'~/'}
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
)sh";

constexpr const char16_t* kFish = uR"sh(# Completion of qvutil's commands and options for fish.

function __qvutil_at --description 'Whether the command so far is this one, and the number of its arguments this one'
    set -l command
    set -l option
    set -l place 0
    for word in (commandline -opc)[2..-1]
        if test -n "$option"
            set option
            continue
        end
        switch "$command $word"
            case ' help' # a command follows
            case @STEPS@
                set command (string trim -- "$command $word")
            case @VALUED@
                set option $word
            case "$command -*"
            case '*'
                set place (math $place + 1)
        end
    end
    test "$command" = "$argv[1]"; and contains -- "$argv[2]" '' $place
end

function __qvutil_values --description 'Values of one kind'
    set -l words (commandline -opc)
    # A variable is not expanded any further.
    if string match -q '~/*' -- $words[1]
        set words[1] $HOME(string sub -s 2 -- $words[1])
    end
    command $words[1] completion --list $argv 2>/dev/null
end
)sh";

// Returns the patterns "GROUP COMMAND" of a case statement, in a syntax that every shell accepts. They match
// a group followed by the name of one of its commands.
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

// Returns the kind of values that completion offers for an argument or option (see OfferValues); empty if
// there are none.
QString OfferedValues(const CommandInfo& command, const OptionInfo& option)
{
    const QString place = option.Value.isEmpty() ? option.Names.value(0) : option.Value;
    if (place == "TYPE"_L1)
        return u"types"_s;
    if (place == "LOCALE"_L1 || place == "LANG"_L1)
        return u"locales"_s;
    if (place == "GRID"_L1)
        return u"grids"_s;
    if (place == "FORMAT"_L1)
        return u"formats"_s;
    if (place == "SHELL"_L1)
        return u"shells"_s;
    if (place == "--json"_L1)
        return u"json-styles"_s;
    if (place == "NAME"_L1 && option.Value.isEmpty() && command.Path.value(0) == "ipc"_L1)
        return u"servers"_s;
    return {};
}

// Returns the patterns of a case statement that match the options that take a value.
QStringList ValuedOptions(const QList<CommandInfo>& commands, QChar quote)
{
    QStringList cases;
    for (const CommandInfo& command : commands) {
        for (const OptionInfo& option : command.Options) {
            for (const QString& name : option.Names) {
                if (!option.Value.isEmpty())
                    cases += quote + command.Name() + u' ' + name + quote;
            }
        }
    }
    return cases;
}

// Joins the patterns of a case statement for bash and zsh.
QString JoinPatterns(const QStringList& patterns)
{
    return "        "_L1 + patterns.join("|\\\n        "_L1) + ")\n"_L1;
}

// Returns the cases that set the kind of values of an option, or of the argument at a position.
QString ValueKinds(const QList<CommandInfo>& commands)
{
    QString text;
    const auto add = [&text](const CommandInfo& command, const QString& where, const QString& kind) {
        if (!kind.isEmpty())
            text += u"    \"%1 \"%2) values=%3 ;;\n"_s.arg(command.Name(), where, kind);
    };
    for (const CommandInfo& command : commands) {
        for (const OptionInfo& option : command.Options) {
            for (const QString& name : option.Names)
                add(command, name, OfferedValues(command, option));
        }
        for (qsizetype i = 0; i < command.Arguments.size(); ++i) {
            const OptionInfo& argument = command.Arguments.at(i);
            const QString kind = OfferedValues(command, argument);
            add(command, argument.IsRepeatable && i == 0 ? u"[0-9]*"_s : QString::number(i), kind);
        }
    }
    return text;
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

QString FishValues(const QString& kind)
{
    return kind.isEmpty() ? QString() : u" -f -a '(__qvutil_values %1)'"_s.arg(kind);
}

QString FishLines(const CommandInfo& command)
{
    const auto condition = [&command](const QString& place) {
        return "complete -c qvutil -n "_L1 + Quoted("__qvutil_at \""_L1 + command.Name() + u'"' + place)
            + u' ';
    };
    const QString start = condition({});
    QString lines;
    for (const QStringList& child : command.Commands)
        lines += start + u"-f -a %1 -d %2\n"_s.arg(child.front(), Quoted(child.back()));
    for (const OptionInfo& option : command.Options) {
        lines += start;
        for (const QString& name : option.Names) {
            const bool isLong = name.startsWith("--"_L1);
            lines += (isLong ? "-l "_L1 : "-s "_L1) + name.sliced(isLong ? 2 : 1) + u' ';
        }
        lines += (option.Value.isEmpty() ? QString() : u"-r "_s) + "-d "_L1 + Quoted(option.Description);
        lines += FishValues(OfferedValues(command, option)) + u'\n';
    }
    for (qsizetype i = 0; i < command.Arguments.size(); ++i) {
        const OptionInfo& argument = command.Arguments.at(i);
        const QString place = argument.IsRepeatable && i == 0 ? QString() : u' ' + QString::number(i);
        if (const QString values = FishValues(OfferedValues(command, argument)); !values.isEmpty())
            lines += condition(place).trimmed() + values + u'\n';
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
    return QString::fromUtf16(script)
        .replace("@STEPS@"_L1, JoinPatterns(Steps(commands, u'"')))
        .replace("@VALUED@"_L1, JoinPatterns(ValuedOptions(commands, u'"')))
        .replace("@VALUES@"_L1, ValueKinds(commands))
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
    return QString::fromUtf16(kFish)
               .replace("@STEPS@"_L1, Steps(commands, u'\'').join(u' '))
               .replace("@VALUED@"_L1, ValuedOptions(commands, u'\'').join(u' '))
        + Joined(commands, &FishLines);
}

} // namespace Quorvin::Tool
