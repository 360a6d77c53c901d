// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messages/MessageText.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "documents/DocumentFile.h"
#include <qvutil/XmlFiler.h>
#include <qvutil/messaging/IPC_p.h>
#include <qvutil/messaging/MessageCodec_p.h>
#include <qvutil/messaging/ParameterTypes_p.h>
#include <qvutil/xml/XmlRules_p.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;
using Quorvin::Util::XmlFiler;
using Quorvin::Util::Internal::TypeIdOf;
using Quorvin::Util::Internal::TypeName;
using Quorvin::Util::Internal::XmlProblem;
using Quorvin::Util::Internal::XmlProblemKind;

namespace Quorvin::Tool {

/// A value that was not sent: only the name of its type is known.
struct LostValue
{
    QString Type;
};

} // namespace Quorvin::Tool

Q_DECLARE_METATYPE(Quorvin::Tool::LostValue)

namespace Quorvin::Tool {
namespace {

// Many programs store JSON numbers as doubles, which represent all whole numbers up to this one.
constexpr qint64 kMaxExact = qint64{1} << 53;

[[noreturn]] void FailAt(const QString& place, const QString& reason)
{
    throw Failure(place, reason);
}

QString Describe(const QJsonValue& json)
{
    const QByteArray text = QJsonDocument(QJsonArray{json}).toJson(QJsonDocument::Compact);
    const QString value = QString::fromUtf8(text.mid(1, text.size() - 2));
    return value.size() <= 60 ? value : value.left(60) + u"..."_s;
}

[[noreturn]] void FailForType(const QString& place, const QJsonValue& json, const QString& type)
{
    FailAt(place, u"%1 is not a value of type %2"_s.arg(Describe(json), type));
}

std::optional<qint64> WholeNumber(const QJsonValue& json)
{
    if (json.isString()) {
        bool ok = false;
        const qint64 number = json.toString().toLongLong(&ok);
        return ok ? std::optional(number) : std::nullopt;
    }
    const qint64 number = json.toInteger(0);
    return json.isDouble() && number == json.toInteger(1) ? std::optional(number) : std::nullopt;
}

template <typename Number> std::optional<QVariant> NumberIn(const QJsonValue& json)
{
    const std::optional<qint64> number = WholeNumber(json);
    if (!number || *number < std::numeric_limits<Number>::min()
        || *number > static_cast<qint64>(std::numeric_limits<Number>::max()))
        return std::nullopt;
    return QVariant::fromValue(static_cast<Number>(*number));
}

std::optional<QVariant> DoubleFrom(const QJsonValue& json)
{
    bool ok = json.isDouble();
    const double number = ok ? json.toDouble() : json.toString().toDouble(&ok);
    return ok ? std::optional<QVariant>(number) : std::nullopt;
}

std::optional<QVariant> BytesFrom(const QJsonValue& json)
{
    if (!json.isString())
        return std::nullopt;
    const auto result
        = QByteArray::fromBase64Encoding(json.toString().toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
    return result ? std::optional<QVariant>(*result) : std::nullopt;
}

// Rejects characters that XML does not allow: a frame that contains one cannot be read.
void RequireCharacters(const QString& text, const QString& place)
{
    const qsizetype at = Util::Internal::FindNonXmlCharacter(text);
    if (at >= 0) {
        FailAt(place,
               u"contains the character %1, which XML does not allow"_s.arg(
                   Console::CodePoint(text.at(at).unicode())));
    }
}

QString TextFrom(const QJsonValue& json, const QString& place)
{
    const QString text = json.toString();
    RequireCharacters(text, place);
    // An empty string that is read from a document is null.
    return text.isEmpty() ? QString() : text;
}

QVariantList ListFrom(const QJsonArray& array, const QJsonArray& types, const QString& place)
{
    if (types.size() > array.size())
        FailAt(place, u"there are more types than values"_s);
    QVariantList list;
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QJsonValue type = i < types.size() ? types.at(i) : QJsonValue::Null;
        list.append(ValueFromJson({array.at(i), type}, u"%1[%2]"_s.arg(place, QString::number(i))));
    }
    return list;
}

QVariantMap MapFrom(const QJsonObject& object, const QJsonObject& types, const QString& place)
{
    for (auto type = types.begin(); type != types.end(); ++type) {
        if (!object.contains(type.key()))
            FailAt(place, u"there is a type for %1, but no value"_s.arg(Console::Quoted(type.key())));
    }
    QVariantMap map;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (entry.key().isEmpty())
            FailAt(place, u"a value without a name would be lost"_s);
        const QString entryPlace = place.isEmpty() ? entry.key() : place + u'.' + entry.key();
        RequireCharacters(entry.key(), entryPlace);
        map.insert(entry.key(), ValueFromJson({entry.value(), types.value(entry.key())}, entryPlace));
    }
    return map;
}

QStringList TextsFrom(const QJsonValue& json, const QString& place)
{
    QStringList texts;
    const QJsonArray array = json.toArray();
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QString itemPlace = u"%1[%2]"_s.arg(place, QString::number(i));
        if (!array.at(i).isString())
            FailForType(itemPlace, array.at(i), u"String"_s);
        texts.append(TextFrom(array.at(i), itemPlace));
    }
    return texts;
}

// Returns a value for which only the type is known.
QVariant LostFrom(const QString& type, const QString& place)
{
    const int id = TypeIdOf(type);
    if (type.isEmpty())
        return QVariant::fromValue(LostValue());
    if (id == 0)
        return {};
    if (id > QMetaType::LastCoreType) // for example pictures, and types that programs add
        FailAt(place, u"values of type %1 are not supported here"_s.arg(type));
    return QVariant(QMetaType(id));
}

bool IsTypeName(const QString& name)
{
    return TypeIdOf(name) != 0 || name.isEmpty() || name.compare(TypeName(0), Qt::CaseInsensitive) == 0;
}

std::optional<QVariant> FromNamedType(const QString& type, const QJsonValue& json, const QString& place)
{
    switch (TypeIdOf(type)) {
    case QMetaType::Bool:
        return json.isBool() ? std::optional<QVariant>(json.toBool()) : std::nullopt;
    case QMetaType::Int:
        return NumberIn<int>(json);
    case QMetaType::UInt:
        return NumberIn<uint>(json);
    case QMetaType::LongLong:
        return NumberIn<qlonglong>(json);
    case QMetaType::Double:
        return DoubleFrom(json);
    case QMetaType::QVariantMap:
        return json.isObject() ? std::optional<QVariant>(MapFrom(json.toObject(), {}, place)) : std::nullopt;
    case QMetaType::QVariantList:
        return json.isArray() ? std::optional<QVariant>(ListFrom(json.toArray(), {}, place)) : std::nullopt;
    case QMetaType::QString:
        return json.isString() ? std::optional<QVariant>(TextFrom(json, place)) : std::nullopt;
    case QMetaType::QStringList:
        return json.isArray() ? std::optional<QVariant>(TextsFrom(json, place)) : std::nullopt;
    case QMetaType::QByteArray:
        return BytesFrom(json);
    default:
        return json.isNull() ? std::optional<QVariant>(LostFrom(type, place)) : std::nullopt;
    }
}

QVariant FromPlainNumber(const QJsonValue& json)
{
    if (std::optional<QVariant> number = NumberIn<int>(json))
        return *number;
    return NumberIn<qlonglong>(json).value_or(json.toDouble());
}

JsonValue NumberToJson(qint64 number, QLatin1StringView type)
{
    const bool isExact = number <= kMaxExact && number >= -kMaxExact;
    return {isExact ? QJsonValue(number) : QJsonValue(QString::number(number)), type.toString()};
}

JsonValue DoubleToJson(double number)
{
    return {qIsFinite(number) ? QJsonValue(number) : QJsonValue(QString::number(number)),
            TypeName(QMetaType::Double).toString()};
}

JsonValue MapToJson(const QVariantMap& map)
{
    QJsonObject values;
    QJsonObject types;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const JsonValue json = ValueToJson(entry.value());
        values.insert(entry.key(), json.Value);
        if (!json.Types.isNull())
            types.insert(entry.key(), json.Types);
    }
    return {values, types.isEmpty() ? QJsonValue::Null : QJsonValue(types)};
}

JsonValue ListToJson(const QVariantList& list)
{
    QJsonArray values;
    QJsonArray types;
    bool hasTypes = false;
    for (const QVariant& item : list) {
        const JsonValue json = ValueToJson(item);
        values.append(json.Value);
        types.append(json.Types);
        hasTypes = hasTypes || !json.Types.isNull();
    }
    return {values, hasTypes ? QJsonValue(types) : QJsonValue::Null};
}

JsonValue LostToJson(const QVariant& value)
{
    if (!value.isValid())
        return {};
    if (value.canConvert<LostValue>())
        return {QJsonValue::Null, value.value<LostValue>().Type};
    return {QJsonValue::Null, TypeName(value.typeId()).toString()};
}

// --- messages

QJsonValue IdentityToJson(const QUuid& identity)
{
    return identity.isNull() ? QJsonValue::Null : QJsonValue(identity.toString());
}

QUuid IdentityFromJson(const QJsonValue& json, const QString& field)
{
    if (json.isNull() || json.isUndefined())
        return {};
    const QUuid identity(json.toString());
    if (identity.isNull() && json.toString() != QUuid().toString())
        FailAt(
            field,
            u"%1 is not an identifier such as {01234567-89ab-cdef-0123-456789abcdef}"_s.arg(Describe(json)));
    return identity;
}

bool FlagFromJson(const QJsonValue& json, const QString& field)
{
    if (!json.isBool() && !json.isUndefined())
        FailAt(field, u"%1 is neither true nor false"_s.arg(Describe(json)));
    return json.toBool();
}

QJsonObject ObjectFromJson(const QJsonValue& json, const QString& field)
{
    if (!json.isObject() && !json.isUndefined())
        FailAt(field, u"%1 is not an object"_s.arg(Describe(json)));
    return json.toObject();
}

MessageInfo ReadMessageFields(const QJsonObject& object)
{
    static const QStringList known
        = {u"id"_s,     u"uniqueId"_s, u"originalMessageUniqueId"_s, u"needResponse"_s, u"isResponse"_s,
           u"params"_s, u"types"_s};
    for (const QString& field : object.keys()) {
        if (!known.contains(field))
            FailAt(field, u"a message has no such field; fields are %1"_s.arg(known.join(u", ")));
    }
    if (!object.value("id"_L1).isString())
        FailAt(u"id"_s, u"a message must have a name, which is a string"_s);
    MessageInfo message;
    message.Id = TextFrom(object.value("id"_L1), u"id"_s);
    message.UniqueId = IdentityFromJson(object.value("uniqueId"_L1), u"uniqueId"_s);
    message.OriginalMessageUniqueId
        = IdentityFromJson(object.value("originalMessageUniqueId"_L1), u"originalMessageUniqueId"_s);
    message.NeedResponse = FlagFromJson(object.value("needResponse"_L1), u"needResponse"_s);
    message.IsResponse = FlagFromJson(object.value("isResponse"_L1), u"isResponse"_s);
    message.Params = MapFrom(ObjectFromJson(object.value("params"_L1), u"params"_s),
                             ObjectFromJson(object.value("types"_L1), u"types"_s), u"params"_s);
    QList<MessageInfo> read;
    if (!Util::DecodeMessage(Util::EncodeMessage(message), read))
        FailAt(u"params"_s, u"nested deeper than a receiver accepts"_s);
    return message;
}

// --- pieces

bool HasLost(const QVariant& value)
{
    const auto hasLost = [](const QVariant& item) { return HasLost(item); };
    if (value.typeId() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        return std::any_of(map.begin(), map.end(), hasLost);
    }
    if (value.typeId() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        return std::any_of(list.begin(), list.end(), hasLost);
    }
    return !value.isValid();
}

void NameLostEntries(XmlFiler& filer, QVariantMap& map);
void NameLostItems(XmlFiler& filer, QVariantList& list);

// The filer's cursor must be on the element that the value was read from.
void NameLost(XmlFiler& filer, QVariant& value)
{
    const QString type = filer.ReadString(Util::kTypeAttribute, QString());
    if (!value.isValid() || value.canConvert<LostValue>()) {
        value = QVariant::fromValue(LostValue{type});
    } else if (value.typeId() != TypeIdOf(type)) {
        return; // a later element with the same name has replaced the value
    } else if (value.typeId() == QMetaType::QVariantMap) {
        QVariantMap map = value.toMap();
        NameLostEntries(filer, map);
        value = map;
    } else if (value.typeId() == QMetaType::QVariantList) {
        QVariantList list = value.toList();
        NameLostItems(filer, list);
        value = list;
    }
}

void NameLostEntries(XmlFiler& filer, QVariantMap& map)
{
    filer.PushCurrentNode();
    for (bool found = filer.MoveToFirstChild(); found; found = filer.MoveToNextSibling()) {
        const auto entry = map.find(filer.ReadString(Util::kNameAttribute, QString()));
        if (entry != map.end())
            NameLost(filer, *entry);
    }
    filer.PopCurrentNode();
}

void NameLostItems(XmlFiler& filer, QVariantList& list)
{
    filer.PushCurrentNode();
    auto item = list.begin();
    for (bool found = filer.MoveToFirstChild(); found && item != list.end();
         found = filer.MoveToNextSibling())
        NameLost(filer, *item++);
    filer.PopCurrentNode();
}

void NameLostParameters(const QString& document, MessageInfo& message)
{
    XmlFiler filer;
    if (HasLost(message.Params) && filer.LoadFromXmlString(document) && filer.MoveToNode(u"Params"_s))
        NameLostEntries(filer, message.Params);
}

QString WhySkipped(const MessagePiece& piece, const QString& document)
{
    if (!piece.Bytes.startsWith(Util::Internal::kFrameStartBytes))
        return u"no frame begins here"_s;
    const auto byteAt = [&](qint64 offset) {
        return QString::number(piece.Offset + QStringView(document).first(offset).toUtf8().size());
    };
    // A frame that loads but is dropped exceeds a limit that only messages have.
    const XmlProblem problem = Util::Internal::FindXmlProblem(document).value_or(
        XmlProblem{.Kind = XmlProblemKind::LimitExceeded, .Reason = {}});
    if (problem.RootEnd >= 0)
        return u"the frame ends at byte %1, and the bytes after it make it malformed"_s.arg(
            byteAt(problem.RootEnd));
    if (problem.Kind == XmlProblemKind::Truncated)
        return u"the frame is truncated"_s;
    if (problem.Kind == XmlProblemKind::LimitExceeded)
        return ReasonText(problem);
    return u"byte %1: %2"_s.arg(byteAt(problem.Offset), problem.Reason);
}

} // namespace

JsonValue ValueToJson(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return {value.toBool(), {}};
    case QMetaType::Int:
        return {value.toInt(), {}};
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return NumberToJson(value.toLongLong(), TypeName(value.typeId()));
    case QMetaType::Double:
        return DoubleToJson(value.toDouble());
    case QMetaType::QVariantMap:
        return MapToJson(value.toMap());
    case QMetaType::QVariantList:
        return ListToJson(value.toList());
    case QMetaType::QString:
        return {value.toString(), {}};
    case QMetaType::QStringList:
        return {QJsonArray::fromStringList(value.toStringList()), TypeName(value.typeId()).toString()};
    case QMetaType::QByteArray:
        return {QString::fromLatin1(value.toByteArray().toBase64()), TypeName(value.typeId()).toString()};
    default:
        return LostToJson(value);
    }
}

QVariant ValueFromJson(const JsonValue& json, const QString& place)
{
    const QJsonValue& value = json.Value;
    const QJsonValue& types = json.Types;
    if (types.isString()) {
        const QString type = types.toString();
        if (!IsTypeName(type))
            FailAt(place, u"there is no type %1"_s.arg(Console::Quoted(type)));
        const std::optional<QVariant> read = FromNamedType(type, value, place);
        if (!read)
            FailForType(place, value, type);
        return *read;
    }
    const bool isPlain = types.isNull() || types.isUndefined();
    if (value.isObject() && (isPlain || types.isObject()))
        return MapFrom(value.toObject(), types.toObject(), place);
    if (value.isArray() && (isPlain || types.isArray()))
        return ListFrom(value.toArray(), types.toArray(), place);
    if (!isPlain)
        FailAt(place, u"%1 is not a type for %2"_s.arg(Describe(types), Describe(value)));
    if (value.isDouble())
        return FromPlainNumber(value);
    if (value.isString())
        return TextFrom(value, place);
    return value.isBool() ? QVariant(value.toBool()) : QVariant();
}

QVariant ValueFromText(const QString& type, const QString& text, const QString& place)
{
    if (type.isEmpty() || !IsTypeName(type))
        FailAt(place, u"there is no type %1"_s.arg(Console::Quoted(type)));
    QJsonValue json = text;
    switch (TypeIdOf(type)) {
    case QMetaType::Bool:
        if (text.compare("true"_L1, Qt::CaseInsensitive) == 0
            || text.compare("false"_L1, Qt::CaseInsensitive) == 0)
            json = text.compare("true"_L1, Qt::CaseInsensitive) == 0;
        break;
    case QMetaType::QVariantMap:
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
        if (document.isObject())
            json = document.object();
        else if (document.isArray())
            json = document.array();
        break;
    }
    default:
        break;
    }
    return ValueFromJson({json, type}, place);
}

QJsonObject MessageToJson(const MessageInfo& message)
{
    const JsonValue params = MapToJson(message.Params);
    QJsonObject object{{u"id"_s, message.Id},
                       {u"uniqueId"_s, IdentityToJson(message.UniqueId)},
                       {u"originalMessageUniqueId"_s, IdentityToJson(message.OriginalMessageUniqueId)},
                       {u"needResponse"_s, message.NeedResponse},
                       {u"isResponse"_s, message.IsResponse},
                       {u"params"_s, params.Value}};
    if (!params.Types.isNull())
        object.insert(u"types"_s, params.Types);
    return object;
}

MessageInfo MessageFromJson(const QJsonValue& json, const QString& subject)
{
    try {
        if (!json.isObject())
            FailAt({}, u"%1 is not a message"_s.arg(Describe(json)));
        return ReadMessageFields(json.toObject());
    } catch (const Failure& failure) {
        throw Failure(
            subject, failure.Subject.isEmpty() ? failure.Reason : failure.Subject + ": "_L1 + failure.Reason);
    }
}

QString JsonLine(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + u'\n';
}

void ForEachMessagePiece(QByteArrayView bytes, const std::function<void(const MessagePiece&)>& visit)
{
    Util::Internal::ForEachPiece(bytes, Util::Internal::kFrameStartBytes, [&](QByteArrayView pieceBytes) {
        MessagePiece piece{
            .Offset = pieceBytes.data() - bytes.data(), .Bytes = pieceBytes, .Message = {}, .Problem = {}};
        const QString document = QString::fromUtf8(pieceBytes);
        QList<MessageInfo> messages;
        if (Util::DecodeMessage(document, messages)) {
            piece.Message = messages.first();
            NameLostParameters(document, *piece.Message);
        } else {
            piece.Problem = WhySkipped(piece, document);
        }
        visit(piece);
    });
}

} // namespace Quorvin::Tool
