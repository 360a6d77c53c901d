// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/ParameterText.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "cli/InputFile.h"
#include "messages/MessageFile.h"
#include "messages/MessageText.h"
#include <qvutil/messaging/VariantMapEncoder_p.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

QByteArray ReadBytes(const QString& argument)
{
    const QByteArray bytes = InputFile(argument).ReadAll();
    return bytes.isNull() ? QByteArray("") : bytes;
}

// Reads a JSON value of any type; QJsonDocument itself accepts only objects and arrays.
QVariant ReadJson(const QString& text, const QString& key)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(u'[' + text.toUtf8() + ']', &error);
    if (error.error != QJsonParseError::NoError)
        throw UsageFailure(u"%1: malformed JSON: %2"_s.arg(key, error.errorString()));
    if (document.array().size() != 1)
        throw UsageFailure(u"%1: malformed JSON: exactly one value is required"_s.arg(key));
    return ValueFromJson({.Value = document.array().first(), .Types = {}}, key);
}

QVariant ReadText(const QString& text)
{
    if (text.startsWith("@@"_L1))
        return text.sliced(1);
    if (text.startsWith(u'@'))
        return ReadBytes(text.sliced(1));
    return text;
}

/// Returns the names of the files that parameters refer to.
QStringList FilesOf(const QStringList& parameters)
{
    QStringList files;
    for (const QString& parameter : parameters) {
        const bool isTyped = parameter.section(u'=', 0, 0).contains(u':');
        const QString value = parameter.section(u'=', 1);
        if (!isTyped && value.startsWith(u'@') && !value.startsWith("@@"_L1))
            files += value.sliced(1);
    }
    return files;
}

} // namespace

QVariantMap ReadParameters(const QStringList& texts)
{
    QVariantMap parameters;
    for (const QString& text : texts) {
        const qsizetype equals = text.indexOf(u'=');
        if (equals <= 0)
            throw UsageFailure(
                u"%1 is not a parameter; parameters are KEY=TEXT, KEY:TYPE=VALUE, KEY:=JSON or "
                "KEY=@FILE"_s.arg(Console::Quoted(text)));
        const QString left = text.first(equals);
        const QString value = text.sliced(equals + 1);
        const qsizetype colon = left.lastIndexOf(u':');
        const QString key = colon < 0 ? left : left.first(colon);
        if (key.isEmpty())
            throw UsageFailure(u"%1 has no key"_s.arg(Console::Quoted(text)));
        if (parameters.contains(key))
            throw UsageFailure(u"%1 is given twice"_s.arg(Console::Quoted(key)));
        if (colon < 0)
            parameters.insert(key, ReadText(value));
        else if (const QString type = left.sliced(colon + 1); type.isEmpty())
            parameters.insert(key, ReadJson(value, key));
        else
            parameters.insert(key, ValueFromText(type, value, key));
    }
    return parameters;
}

MessageInfo ReadMessage(const QString& id, const QString& file, const QStringList& parameters)
{
    RequireOneStandardInput(FilesOf(parameters) + QStringList{file});
    MessageInfo message;
    if (!file.isEmpty()) {
        const InputFile input(file);
        const QList<MessageInfo> messages = ReadMessages(input.ReadAll(), input.Name());
        if (messages.size() > 1)
            throw Failure(input.Name(),
                          u"there are %1 messages, but exactly one is required"_s.arg(messages.size()));
        message.Params = messages.first().Params;
    }
    message.Id = id;
    message.Params.insert(ReadParameters(parameters));
    // The conversion to JSON and back rejects strings that no receiver could read.
    (void)MessageFromJson(MessageToJson(message), id);
    return message;
}

QString ParameterToText(const QString& key, const QVariant& value, qsizetype maxLength)
{
    const auto type = static_cast<QMetaType::Type>(value.typeId());
    const JsonValue json = ValueToJson(value);
    const QJsonValue shown = json.Value;
    const QString name = Console::Visible(key);
    QString left = name + u':' + Util::VariantMapEncoder().TypeToString(type).toLower() + u'=';
    QString text;
    if (type == QMetaType::QString) {
        left = name + u'=';
        text = (shown.toString().startsWith(u'@') ? u"@"_s : QString()) + Console::Visible(shown.toString());
    } else if (shown.isObject() || shown.isArray()) {
        const QJsonDocument document
            = shown.isObject() ? QJsonDocument(shown.toObject()) : QJsonDocument(shown.toArray());
        text = Console::Visible(QString::fromUtf8(document.toJson(QJsonDocument::Compact)));
    } else if (shown.isNull()) {
        return name + u" (a value of a type that cannot be sent)"_s;
    } else {
        text = Console::Visible(shown.toVariant().toString());
    }
    if (maxLength > 0 && text.size() > maxLength)
        text = text.first(maxLength) + u"… (%1 characters)"_s.arg(text.size());
    return left + text;
}

} // namespace Quorvin::Tool
