// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messages/MessageFile.h"

#include "cli/Failure.h"
#include <qvutil/XmlFiler.h>
#include <qvutil/messaging/MessageCodec_p.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

// Returns the line and column of the last byte of \p before. The JSON parser only reports how far it has
// read.
QString PlaceOf(const QString& name, QByteArrayView before)
{
    const QByteArrayView line = before.sliced(before.lastIndexOf('\n') + 1);
    return u"%1:%2:%3"_s.arg(name, QString::number(before.count('\n') + 1),
                             QString::number(std::max<qsizetype>(QString::fromUtf8(line).size(), 1)));
}

/// Reads the JSON values in a text. White space between them is allowed.
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
    /// Returns the place of the next value, for error messages.
    [[nodiscard]] QString Place() const { return u"%1:%2"_s.arg(mName, QString::number(mLine)); }

    [[nodiscard]] QJsonDocument Next()
    {
        const QByteArray rest = QByteArray::fromRawData(mText.constData() + mStart, mText.size() - mStart);
        QJsonParseError error = {};
        QJsonDocument document = QJsonDocument::fromJson(rest, &error);
        qsizetype size = rest.size();
        if (error.error == QJsonParseError::GarbageAtEnd) { // usually the next value
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
    // Counts lines incrementally: counting from the beginning for each value would take too long.
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

// Returns why a document is not a message; empty if it is one. A receiver accepts any document as a message,
// possibly without a name. In a capture, however, a document with another root element is not a message.
QString WhyNotAMessage(const MessagePiece& piece)
{
    if (!piece.Message || !piece.Message->Id.isEmpty())
        return {};
    QString document = QString::fromUtf8(piece.Bytes);
    if (!document.startsWith(Util::Internal::kFrameStart)) // a receiver adds a missing start
        document.prepend(Util::Internal::kFrameStart);
    XmlFiler filer;
    if (!filer.LoadFromXmlString(document))
        return {};
    const QString root = filer.GetCurrentNode().nodeName();
    return root == "Message"_L1 ? QString() : u"the root element is %1: this is not a message"_s.arg(root);
}

} // namespace

QString OrStandardInput(const QString& argument)
{
    return argument.isEmpty() ? u"-"_s : argument;
}

void ForEachCapturedPiece(QByteArrayView bytes, const std::function<void(const MessagePiece&)>& visit)
{
    ForEachMessagePiece(bytes, [&visit](const MessagePiece& piece) {
        const QString problem = WhyNotAMessage(piece);
        if (problem.isEmpty())
            visit(piece);
        else
            visit({.Offset = piece.Offset, .Bytes = piece.Bytes, .Message = {}, .Problem = problem});
    });
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
            messages.append(MessageFromJson(json, u"%1: message %2"_s.arg(place, QString::number(++number))));
    }
    if (messages.isEmpty())
        throw Failure(name, u"there is no message"_s);
    return messages;
}

} // namespace Quorvin::Tool
