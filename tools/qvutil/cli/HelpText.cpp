// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/HelpText.h"

#include <QRegularExpression>

#include <algorithm>
#include <iterator>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr int kDefaultWidth = 80;
constexpr int kMinWidth = 20;
// Longer lines are hard to read.
constexpr int kMaxWidth = 100;
constexpr int kColumn = 28; // of the descriptions
constexpr int kTwoColumnsWidth = 60; // minimum width for descriptions next to the names

QString Spaces(int count)
{
    return QString(count, u' ');
}

// Breaks text into lines at spaces, and breaks words that are longer than a line.
// \param first  width already used in the first line
// \param rest   indentation of the other lines
QStringList Wrap(const QString& text, int width, int first, int rest)
{
    QStringList lines;
    QString line;
    int room = std::max(width - first, 1);
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    for (QString word : words) {
        if (!line.isEmpty() && line.size() + 1 + word.size() > room) {
            lines.append(line);
            line.clear();
            room = std::max(width - rest, 1);
        }
        while (line.isEmpty() && word.size() > room) {
            lines.append(word.first(room));
            word.remove(0, room);
            room = std::max(width - rest, 1);
        }
        line += (line.isEmpty() ? QString() : u" "_s) + word;
    }
    lines.append(line);
    for (qsizetype i = 1; i < lines.size(); ++i)
        lines[i].prepend(Spaces(rest));
    return lines;
}

QString Joined(const QStringList& lines)
{
    return lines.join(u'\n') + u'\n';
}

QString Entry(const QString& name, const QString& description, int width)
{
    const bool isWide = width >= kTwoColumnsWidth;
    const int indentation = isWide ? kColumn : 6;
    QString text = "  "_L1 + Joined(Wrap(name, width, 2, 4));
    if (description.isEmpty())
        return text;
    const QString wrapped = Joined(Wrap(description, width, indentation, indentation));
    if (!isWide || text.size() > kColumn - 1) // including the line feed
        return text + Spaces(indentation) + wrapped;
    text.chop(1);
    return text.leftJustified(kColumn) + wrapped;
}

// Returns an option as help shows it, with its short names first: `-t,--type TYPE`.
QString OptionText(const OptionInfo& option)
{
    QStringList names = option.Names;
    std::stable_sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
        return !a.startsWith("--"_L1) && b.startsWith("--"_L1);
    });
    QString text = names.join(u',');
    if (!option.Value.isEmpty())
        text += u' ' + option.Value;
    return option.IsRepeatable ? text + " ..."_L1 : text;
}

QString Section(const QString& title, const QList<OptionInfo>& options, int width)
{
    if (options.isEmpty())
        return {};
    QString text = u"\n%1:\n"_s.arg(title);
    for (const OptionInfo& option : options)
        text += Entry(OptionText(option), option.Description, width);
    return text;
}

// Returns the words of a command line. Spaces inside quotes do not separate words.
QStringList ShellWords(const QString& line)
{
    QStringList words(1);
    QChar quote;
    for (const QChar c : line) {
        if (quote.isNull() && c == u' ') {
            words.append(QString());
            continue;
        }
        if (quote.isNull() && (c == u'\'' || c == u'"'))
            quote = c;
        else if (c == quote)
            quote = QChar();
        words.last() += c;
    }
    words.removeAll(QString());
    return words;
}

// Continues a long command line after a backslash, as in a shell, and moves its comment to a separate line.
QString WrapExample(const QString& line, int width)
{
    if (line.size() <= width)
        return line + u'\n';
    static const QRegularExpression commentPattern(u"^(.*\\S) +(# .*)$"_s);
    if (const auto match = commentPattern.match(line); match.hasMatch())
        return WrapExample(match.captured(1), width) + Spaces(6)
            + Joined(Wrap(match.captured(2), width, 6, 6));
    QStringList lines = {u" "_s};
    const QStringList words = ShellWords(line);
    for (const QString& word : words) {
        if (lines.last().size() + 1 + word.size() + 2 > width && lines.last() != " "_L1)
            lines.append(u"     "_s);
        lines.last() += u' ' + word;
    }
    QStringList pieces;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const bool isLast = i + 1 == lines.size();
        QString piece = isLast ? lines.at(i) : lines.at(i) + " \\"_L1;
        while (piece.size() > width) { // one word that cannot be broken
            pieces.append(piece.first(width));
            piece.remove(0, width);
        }
        pieces.append(piece);
    }
    return Joined(pieces);
}

// Continues a long row of a table below its second column.
QString WrapTableLine(const QString& line, int width)
{
    static const QRegularExpression columnPattern(u"^( *\\S.*?) {2,}(?=\\S)"_s);
    if (line.size() <= width)
        return line + u'\n';
    const auto match = columnPattern.match(line);
    const auto start = static_cast<int>(std::distance(
        line.begin(), std::find_if(line.begin(), line.end(), [](QChar c) { return c != u' '; })));
    if (match.hasMatch() && match.capturedLength() <= width / 2) {
        const auto column = static_cast<int>(match.capturedLength());
        return match.captured() + Joined(Wrap(line.sliced(column), width, column, column));
    }
    if (start > width / 2)
        return Spaces(4) + Joined(Wrap(line, width, 4, 4));
    return Spaces(start) + Joined(Wrap(line, width, start, start + 2));
}

// Wraps lines without indentation as prose, and wraps indented lines one by one.
QString WrapFooter(const QString& footer, int width)
{
    QString text;
    QString prose;
    bool isExample = false;
    const auto flush = [&] {
        if (!prose.isEmpty())
            text += Joined(Wrap(prose, width, 0, 0));
        prose.clear();
    };
    const QStringList lines = footer.split(u'\n');
    for (const QString& line : lines) {
        if (!line.isEmpty() && !line.startsWith(u' ') && !line.endsWith(u':')) {
            prose += (prose.isEmpty() ? QString() : u" "_s) + line;
            continue;
        }
        if (line.endsWith(u':') && !line.startsWith(u' ') && !prose.isEmpty()) {
            prose += u' ' + line; // a sentence that ends with a colon, not a title
            flush();
            continue;
        }
        flush();
        if (!line.startsWith(u' '))
            isExample = line == "Examples:"_L1;
        if (line.isEmpty() || !line.startsWith(u' '))
            text += line.isEmpty() ? u"\n"_s : Joined(Wrap(line, width, 0, 0));
        else
            text += isExample ? WrapExample(line, width) : WrapTableLine(line, width);
    }
    flush();
    return text;
}

} // namespace

int HelpWidth()
{
    bool isNumber = false;
    int width = qEnvironmentVariableIntValue("COLUMNS", &isNumber);
    winsize size = {};
    if (!isNumber || width <= 0) {
        const bool isTerminal = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
        width = isTerminal ? size.ws_col : kDefaultWidth;
    }
    return std::clamp(width, kMinWidth, kMaxWidth);
}

QString HelpText(const CommandInfo& command, int width)
{
    QString text = Joined(Wrap(command.Description, width, 0, 0));
    text += Joined(Wrap("Usage: "_L1 + command.Usage, width, 0, 7));
    text += Section(u"Arguments"_s, command.Arguments, width);
    text += Section(u"Options"_s, command.Options, width);
    if (!command.Commands.isEmpty())
        text += "\nCommands:\n"_L1;
    for (const QStringList& child : command.Commands)
        text += Entry(child.front(), child.back(), width);
    if (!command.Footer.isEmpty())
        text += u'\n' + WrapFooter(command.Footer, width);
    return text;
}

} // namespace Quorvin::Tool
