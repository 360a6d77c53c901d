// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/MessageLines.h"

#include "cli/Console.h"
#include "cli/JsonStyle.h"
#include "ipc/ParameterText.h"
#include "messages/MessageText.h"

#include <QDateTime>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kMaxValueLength = 200;

QString KindOf(const MessageInfo& message)
{
    return message.IsResponse ? u"answer"_s : message.NeedResponse ? u"request"_s : u"message"_s;
}

// Returns the time of day, for people. Programs get the date and the time zone too, from JsonTime.
QString TimeText()
{
    return QDateTime::currentDateTime().toString(u"HH:mm:ss.zzz"_s);
}

QString JsonTime()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

QString LineStart(const QString& direction)
{
    return direction.isEmpty() ? TimeText() : TimeText() + "  "_L1 + direction;
}

void PrintJsonLine(QJsonObject object, const QString& direction, const QJsonObject& notes)
{
    object.insert(u"time"_s, JsonTime());
    if (!direction.isEmpty())
        object.insert(u"direction"_s, direction);
    for (auto it = notes.begin(); it != notes.end(); ++it)
        object.insert(it.key(), it.value());
    Console::Print(ToText(QJsonDocument(object), StreamFormat()));
    Console::Flush();
}

} // namespace

void MessageLines::Print(const MessageInfo& message, const QString& direction, const QJsonObject& notes) const
{
    if (mJson) {
        PrintJsonLine({{u"message"_s, MessageToJson(message)}}, direction, notes);
        return;
    }
    QString line = LineStart(direction) + "  "_L1 + KindOf(message) + "  "_L1 + Console::Visible(message.Id);
    const QUuid& identity = message.IsResponse ? message.OriginalMessageUniqueId : message.UniqueId;
    if (!identity.isNull())
        line += "  "_L1 + identity.toString();
    for (const QJsonValue& note : notes) {
        if (note.isString())
            line += "  ("_L1 + note.toString() + u')';
    }
    Console::PrintLine(line);
    PrintParameters(message.Params, u"    "_s, kMaxValueLength);
    Console::Flush();
}

void MessageLines::PrintEvent(const QString& event, const QString& text, const QString& direction,
                              QJsonObject notes) const
{
    if (mJson) {
        notes.insert(u"event"_s, event);
        PrintJsonLine({}, direction, notes);
        return;
    }
    Console::PrintLine(LineStart(direction) + "  "_L1 + Console::Visible(text));
    Console::Flush();
}

void PrintParameters(const QVariantMap& parameters, const QString& indent, qsizetype maxLength)
{
    for (auto it = parameters.begin(); it != parameters.end(); ++it)
        Console::PrintLine(indent + ParameterToText(it.key(), it.value(), maxLength));
}

} // namespace Quorvin::Tool
