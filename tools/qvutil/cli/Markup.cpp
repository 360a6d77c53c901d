// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Markup.h"

#include "cli/Console.h"
#include "cli/TextWidth.h"

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
    // Force an end tag: HTML reads <p/> as the start tag <p>.
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

QString Elide(const QString& text, qsizetype columns)
{
    const QString shown = Storable(text);
    if (ColumnsOf(shown) <= columns)
        return shown;
    const qsizetype room = std::max<qsizetype>(columns - 2, 0); // "…" may be as wide as two letters
    return FirstColumns(shown, room - room / 2) + u'…' + LastColumns(shown, room / 2);
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
            const QString head = FirstColumns(word, columns);
            if (head.isEmpty())
                break; // not even one character fits
            lines.append(head);
            word.remove(0, head.size());
        }
        line += (line.isEmpty() ? QString() : u" "_s) + word;
    }
    if (!line.isEmpty())
        lines.append(line);
    return lines;
}

} // namespace Quorvin::Tool
