// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Markup.h"

#include "cli/Console.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// Replaces control characters and unpaired surrogates, which XML does not allow.
QString Storable(const QString& text)
{
    return QString::fromUtf8(Console::Visible(text).toUtf8());
}

// The first characters that fit.
QString Head(const QString& text, qsizetype columns)
{
    QString head;
    for (const char32_t c : text.toUcs4()) {
        const QString next = QString::fromUcs4(&c, 1);
        columns -= ColumnsOf(next);
        if (columns < 0)
            break;
        head += next;
    }
    return head;
}

QString Tail(const QString& text, qsizetype columns)
{
    const QList<uint> characters = text.toUcs4();
    QString tail;
    for (auto it = characters.rbegin(); it != characters.rend(); ++it) {
        const char32_t c = *it;
        const QString next = QString::fromUcs4(&c, 1);
        columns -= ColumnsOf(next);
        if (columns < 0)
            break;
        tail.prepend(next);
    }
    return tail;
}

} // namespace

MarkupWriter::MarkupWriter()
    : mWriter(&mText)
{
    mWriter.setAutoFormatting(true);
    mWriter.setAutoFormattingIndent(1);
}

void MarkupWriter::Start(const QString& name, Attributes attributes)
{
    mWriter.writeStartElement(name);
    AddAttributes(attributes);
    mIsEmpty = true;
}

void MarkupWriter::End()
{
    // HTML takes <p/> for <p>.
    if (mIsEmpty)
        mWriter.writeCharacters(QString());
    mWriter.writeEndElement();
    mIsEmpty = false;
}

void MarkupWriter::AddText(const QString& text)
{
    mWriter.writeCharacters(Storable(text));
    mIsEmpty = false;
}

void MarkupWriter::AddElement(const QString& name, Attributes attributes, const QString& text)
{
    Start(name, attributes);
    AddText(text);
    End();
}

void MarkupWriter::AddEmpty(const QString& name, Attributes attributes)
{
    mWriter.writeEmptyElement(name);
    AddAttributes(attributes);
    mIsEmpty = false;
}

void MarkupWriter::AddStyle(const QString& rules)
{
    Start(u"style"_s);
    mWriter.writeCharacters(rules);
    End();
}

void MarkupWriter::AddAttributes(Attributes attributes)
{
    for (const Attribute& attribute : attributes)
        mWriter.writeAttribute(attribute.Name, Storable(attribute.Value));
}

QString MarkupWriter::Finish()
{
    mWriter.writeEndDocument(); // ends all elements
    return mText.trimmed() + u'\n';
}

QString NumberText(double value)
{
    const double rounded = std::round(value * 10) / 10;
    return QString::number(rounded == 0 ? 0 : rounded);
}

qsizetype ColumnsOf(const QString& text)
{
    qsizetype columns = 0;
    for (const char32_t c : text.toUcs4())
        columns += c >= 0x1100 ? 2 : 1;
    return columns;
}

QString Elide(const QString& text, qsizetype columns)
{
    const QString shown = Storable(text);
    if (ColumnsOf(shown) <= columns)
        return shown;
    const qsizetype room = std::max<qsizetype>(columns - 2, 0);
    return Head(shown, room - room / 2) + u'…' + Tail(shown, room / 2);
}

QStringList BreakLines(const QString& text, qsizetype columns)
{
    QStringList lines;
    QString line;
    const QStringList words = Storable(text).split(u' ', Qt::SkipEmptyParts);
    for (QString word : words) {
        if (!line.isEmpty() && ColumnsOf(line) + 1 + ColumnsOf(word) > columns) {
            lines.append(line);
            line.clear();
        }
        while (line.isEmpty() && ColumnsOf(word) > columns) {
            lines.append(Head(word, columns));
            word.remove(0, lines.last().size());
        }
        line += (line.isEmpty() ? QString() : u" "_s) + word;
    }
    if (!line.isEmpty())
        lines.append(line);
    return lines;
}

} // namespace Quorvin::Tool
