// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsContent.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "documents/DocumentEntries.h"
#include "documents/ElementPath.h"
#include "documents/TypedValue.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QDomElement>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::IsXmlName;

namespace Quorvin::Tool {
namespace {

// Keys that cannot be names of elements.
constexpr QChar kAttributeMark = u'@';
constexpr QLatin1StringView kTextKey = "#text"_L1;
constexpr QLatin1StringView kSectionKey = "#cdata"_L1;

// All programs that read JSON support whole numbers up to this one.
constexpr qint64 kMaxJsonInteger = qint64{1} << 53;

// Returns a number or boolean only if FromJson converts it back to the same text.
QJsonValue ToScalar(const QString& text)
{
    const ValueType type = TypeOfText(text);
    const bool isWhole = type == ValueType::Int
        || (type == ValueType::Int64 && std::abs(text.toLongLong()) <= kMaxJsonInteger);
    if (isWhole || type == ValueType::Double || type == ValueType::Bool)
        return NormalizedValue(type, text.toUtf8()).Json;
    return text;
}

QJsonValue ToJsonValue(const QDomElement& element)
{
    QJsonObject object;
    const QMap<QString, QString> attributes = AttributesOf(element);
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
        object.insert(kAttributeMark + it.key(), ToScalar(it.value()));
    for (QDomElement child = element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        const QString name = child.tagName();
        if (object.contains(name))
            continue;
        QJsonArray siblings;
        for (QDomElement sibling = child; !sibling.isNull(); sibling = sibling.nextSiblingElement(name))
            siblings.append(ToJsonValue(sibling));
        object.insert(name, siblings.size() == 1 ? siblings.first() : QJsonValue(siblings));
    }
    const QString text = TextOf(element);
    if (IsSection(element))
        object.insert(kSectionKey, text);
    else if (!text.isEmpty() && object.isEmpty())
        return text;
    else if (!text.isEmpty())
        object.insert(kTextKey, text);
    return object;
}

std::optional<QString> FromScalar(const QJsonValue& value)
{
    if (value.isString())
        return value.toString();
    if (value.isBool())
        return value.toBool() ? u"True"_s : u"False"_s;
    if (!value.isDouble())
        return std::nullopt;
    const QVariant number = value.toVariant();
    if (number.typeId() == QMetaType::LongLong)
        return QString::number(number.toLongLong());
    const double real = value.toDouble();
    if (std::trunc(real) == real && std::abs(real) <= static_cast<double>(kMaxJsonInteger))
        return QString::number(static_cast<qint64>(real));
    return DoubleText(real);
}

class JsonReader
{
public:
    explicit JsonReader(SettingsContent& content)
        : mContent(content)
    { }

    void ReadElement(const QJsonValue& value, const QString& path)
    {
        if (const auto text = FromScalar(value)) {
            Add(Setting::Text, path, {}, *text, path);
            return;
        }
        if (!value.isObject()) {
            mContent.Problems.append(Console::Visible(path)
                                     + (value.isNull()
                                            ? u": null cannot be stored in a document"_s
                                            : u": an array in an array cannot be stored in a document"_s));
            return;
        }
        const QJsonObject object = value.toObject();
        if (object.isEmpty())
            Add(Setting::Text, path, {}, {}, path);
        for (auto it = object.constBegin(); it != object.constEnd(); ++it)
            ReadMember(it.key(), it.value(), path);
    }

private:
    void ReadMember(const QString& key, const QJsonValue& value, const QString& path)
    {
        const QString where = path.isEmpty() ? key : path + u'/' + key;
        const bool isText = key == kTextKey || key == kSectionKey;
        if (isText || key.startsWith(kAttributeMark)) {
            const auto text = FromScalar(value);
            if (!text) {
                mContent.Problems.append(Console::Visible(where)
                                         + u": is not a string, a number, true or false"_s);
                return;
            }
            Add(!isText               ? Setting::Attribute
                    : key == kTextKey ? Setting::Text
                                      : Setting::Section,
                path, isText ? QString() : key.sliced(1), *text, where);
            return;
        }
        if (!IsXmlName(key)) {
            mContent.Problems.append(
                Console::Visible(where)
                + u": %1 is not a valid name of an element or attribute"_s.arg(Console::Quoted(key)));
            return;
        }
        if (!value.isArray()) {
            ReadElement(value, where);
            return;
        }
        const QJsonArray siblings = value.toArray();
        for (int i = 0; i < siblings.size(); ++i) {
            const QString step = ElementPath::Step{.Name = key, .Position = i + 1}.ToText();
            ReadElement(siblings.at(i), path.isEmpty() ? step : path + u'/' + step);
        }
    }

    void Add(Setting::SettingKind kind, const QString& path, const QString& name, const QString& value,
             const QString& where)
    {
        AddSetting(mContent, {.Kind = kind, .Path = path, .Name = name, .Value = value}, where);
    }

    SettingsContent& mContent;
};

} // namespace

QByteArray ToJson(const QDomElement& root)
{
    return QJsonDocument(QJsonObject{{root.tagName(), ToJsonValue(root)}}).toJson();
}

SettingsContent FromJson(const QByteArray& text, const QString& file)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        throw Failure(file, u"byte %1: %2"_s.arg(error.offset).arg(error.errorString()));
    const QJsonObject object = document.object();
    if (object.size() != 1 || object.begin().value().isArray() || !IsXmlName(object.begin().key()))
        throw Failure(file, u"is not an object with a single member, the root element"_s);
    SettingsContent content{.Root = object.begin().key(), .Settings = {}, .Problems = {}};
    JsonReader(content).ReadElement(object.begin().value(), {});
    return content;
}

} // namespace Quorvin::Tool
