// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/JsonStream.h"

#include "cli/Console.h"
#include "cli/JsonStyle.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kIndentation = 4;

// Printing each bracket by itself would take longer than reading the document.
constexpr qsizetype kMaxHeldCharacters = 1 << 16;

// Returns whether a string needs no escaping in JSON.
bool IsPlain(const QString& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return c >= u' ' && c <= u'~' && c != u'"' && c != u'\\'; });
}

// Returns the text of a value, without a line feed at its end.
QString TextOf(const QJsonValue& value, QJsonDocument::JsonFormat format)
{
    // Names of elements and attributes are nearly always plain, and creating a QJsonDocument for each one
    // takes much longer.
    if (const QString text = value.toString(); value.isString() && IsPlain(text))
        return u'"' + text + u'"';
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(format)).trimmed();
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(format)).trimmed();
    const QByteArray inArray = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(inArray.sliced(1).chopped(1));
}

} // namespace

JsonStream::JsonStream()
    : mIsIndented(AnswerFormat() == QJsonDocument::Indented)
{ }

void JsonStream::AddName(const QString& name)
{
    BeginItem();
    Write(TextOf(name, QJsonDocument::Compact) + (mIsIndented ? ": "_L1 : ":"_L1));
    mIsNamed = true;
}

void JsonStream::AddValue(const QJsonValue& value)
{
    BeginItem();
    QString text = TextOf(value, mIsIndented ? QJsonDocument::Indented : QJsonDocument::Compact);
    if (mIsIndented) // line feeds in strings are escaped
        text.replace(u'\n', u'\n' + Indentation());
    Write(text);
}

void JsonStream::Finish()
{
    Write(u"\n"_s);
    Console::Print(std::exchange(mText, {}));
}

void JsonStream::Begin(QChar bracket)
{
    BeginItem();
    Write(mIsIndented ? bracket + u"\n"_s : QString(bracket));
    mHasItems.append(false);
}

void JsonStream::End(QChar bracket)
{
    const bool hasItems = mHasItems.takeLast();
    if (mIsIndented)
        Write((hasItems ? u"\n"_s : QString()) + Indentation());
    Write(QString(bracket));
}

void JsonStream::BeginItem()
{
    if (mIsNamed) {
        mIsNamed = false;
        return;
    }
    if (mHasItems.isEmpty())
        return;
    if (mHasItems.last())
        Write(mIsIndented ? u",\n"_s : u","_s);
    mHasItems.last() = true;
    if (mIsIndented)
        Write(Indentation());
}

void JsonStream::Write(const QString& text)
{
    mText += text;
    if (mText.size() >= kMaxHeldCharacters)
        Console::Print(std::exchange(mText, {}));
}

QString JsonStream::Indentation() const
{
    return QString(mHasItems.size() * kIndentation, u' ');
}

} // namespace Quorvin::Tool
