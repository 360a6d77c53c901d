// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messages/MessageFile.h"

#include "cli/Failure.h"
#include "messages/MessageText.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

// Where the last of some bytes stands; the parser of JSON tells how far it has read.
QString PlaceOf(const QString& name, QByteArrayView before)
{
    const QByteArrayView line = before.sliced(before.lastIndexOf('\n') + 1);
    return u"%1:%2:%3"_s.arg(name)
        .arg(before.count('\n') + 1)
        .arg(std::max<qsizetype>(QString::fromUtf8(line).size(), 1));
}

/// The JSON values of a text, one after another, whatever white space there is between them.
class JsonValues
{
public:
    JsonValues(const QByteArray& text, const QString& name)
        : mText(text)
        , mName(name)
    {
        SkipSpace();
    }

    [[nodiscard]] bool AtEnd() const { return mStart == mText.size(); }
    /// What to call the next one in messages.
    [[nodiscard]] QString Place() const { return u"%1:%2"_s.arg(mName).arg(mLine); }

    [[nodiscard]] QJsonDocument Next()
    {
        const QByteArray rest = QByteArray::fromRawData(mText.constData() + mStart, mText.size() - mStart);
        QJsonParseError error = {};
        QJsonDocument document = QJsonDocument::fromJson(rest, &error);
        qsizetype size = rest.size();
        if (error.error == QJsonParseError::GarbageAtEnd) { // the next value, mostly
            size = error.offset;
            document = QJsonDocument::fromJson(rest.first(size), &error);
        }
        if (error.error != QJsonParseError::NoError)
            throw Failure(PlaceOf(mName, QByteArrayView(mText).first(mStart + error.offset)),
                          error.errorString());
        MoveTo(mStart + size);
        SkipSpace();
        return document;
    }

private:
    // Counts the lines on the way: to count them anew for each value would take long.
    void MoveTo(qsizetype position)
    {
        mLine += QByteArrayView(mText).sliced(mStart, position - mStart).count('\n');
        mStart = position;
    }

    void SkipSpace()
    {
        qsizetype end = mStart;
        while (end < mText.size() && QByteArrayView(" \t\r\n").contains(mText.at(end)))
            ++end;
        MoveTo(end);
    }

    QByteArray mText;
    QString mName;
    qsizetype mStart = 0;
    qsizetype mLine = 1; // of mStart
};

} // namespace

QByteArray ReadAll(const InputFile& input)
{
    QFile file(input.Path());
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(input.Name(), file.errorString());
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw Failure(input.Name(), file.errorString());
    return bytes;
}

QList<MessageInfo> ReadMessages(const QByteArray& text, const QString& name)
{
    QList<MessageInfo> messages;
    JsonValues values(text, name);
    while (!values.AtEnd()) {
        const QString place = values.Place();
        const QJsonDocument document = values.Next();
        if (document.isObject())
            messages.append(MessageFromJson(document.object(), place));
        int number = 0;
        const QJsonArray array = document.array();
        for (const QJsonValue& json : array)
            messages.append(MessageFromJson(json, u"%1: message %2"_s.arg(place).arg(++number)));
    }
    if (messages.isEmpty())
        throw Failure(name, u"there is no message"_s);
    return messages;
}

} // namespace Quorvin::Tool
