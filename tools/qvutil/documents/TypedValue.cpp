// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/TypedValue.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "cli/Suggestion.h"
#include "documents/ElementPath.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QDomElement>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct TypeName
{
    ValueType Type;
    const char* Name;
};

constexpr TypeName gTypeNames[] = {
    {ValueType::String, "string"}, {ValueType::Int, "int"},     {ValueType::UInt, "uint"},
    {ValueType::Long, "long"},     {ValueType::ULong, "ulong"}, {ValueType::Int64, "int64"},
    {ValueType::Double, "double"}, {ValueType::Bool, "bool"},   {ValueType::Date, "date"},
    {ValueType::Rect, "rect"},     {ValueType::Size, "size"},   {ValueType::Text, "text"},
    {ValueType::Buffer, "buffer"},
};

template <typename Number> Value NumberValue(Number value)
{
    QJsonValue json;
    // QJsonValue supports whole numbers up to the maximum of qint64.
    if constexpr (std::is_same_v<Number, unsigned long>) {
        json = value <= static_cast<unsigned long>(std::numeric_limits<qint64>::max())
            ? QJsonValue(static_cast<qint64>(value))
            : QJsonValue(QString::number(value));
    } else {
        json = QJsonValue(static_cast<qint64>(value));
    }
    return {.Plain = QByteArray::number(value), .Json = json};
}

Value DoubleValue(double value)
{
    const QByteArray text = QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
    // JSON does not support infinity or NaN.
    return {.Plain = text,
            .Json = qIsFinite(value) ? QJsonValue(value) : QJsonValue(QString::fromLatin1(text))};
}

Value BoolValue(bool value)
{
    return {.Plain = value ? "True" : "False", .Json = value};
}

Value TextValue(const QString& value)
{
    return {.Plain = value.toUtf8(), .Json = value};
}

Value DateValue(const QDateTime& value)
{
    return TextValue(value.toUTC().toString(Qt::ISODate));
}

Value RectValue(const QRect& value)
{
    return {.Plain
            = u"%1,%2,%3,%4"_s.arg(value.x()).arg(value.y()).arg(value.width()).arg(value.height()).toUtf8(),
            .Json = QJsonObject{{u"x"_s, value.x()},
                                {u"y"_s, value.y()},
                                {u"width"_s, value.width()},
                                {u"height"_s, value.height()}}};
}

Value SizeValue(const QSize& value)
{
    return {.Plain = u"%1,%2"_s.arg(value.width()).arg(value.height()).toUtf8(),
            .Json = QJsonObject{{u"width"_s, value.width()}, {u"height"_s, value.height()}}};
}

// If a read returns the same value for two different defaults, the value exists.
template <typename Type, typename Read> std::optional<Type> Found(Read read, const Type& a, const Type& b)
{
    const Type first = read(a);
    const Type second = read(b);
    const bool isNumber = first == first; // NaN is not equal to itself
    if (isNumber ? first == second : second != second)
        return first;
    return std::nullopt;
}

template <typename Type, typename ToValue>
std::optional<Value> FoundValue(const std::optional<Type>& found, ToValue toValue)
{
    return found ? std::optional<Value>(toValue(*found)) : std::nullopt;
}

// Returns the library's read operation for a type.
template <typename Type> auto Reader(XmlFiler& filer, const QString& name)
{
    return [&filer, &name](const Type& defaultValue) -> Type {
        const QString path; // empty: the element under the cursor
        if constexpr (std::is_same_v<Type, int>)
            return filer.ReadInt(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, unsigned int>)
            return filer.ReadUInt(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, long>)
            return filer.ReadLong(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, unsigned long>)
            return filer.ReadULong(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, long long>)
            return filer.ReadInt64(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, double>)
            return filer.ReadDouble(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, bool>)
            return filer.ReadBoolean(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, QDateTime>)
            return filer.ReadDate(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, QRect>)
            return filer.ReadRect(path, name, defaultValue);
        else if constexpr (std::is_same_v<Type, QSize>)
            return filer.ReadSize(path, name, defaultValue);
        else
            return filer.ReadString(path, name, defaultValue);
    };
}

template <typename Type>
std::optional<Type> Find(XmlFiler& filer, const QString& name, const Type& a, const Type& b)
{
    return Found<Type>(Reader<Type>(filer, name), a, b);
}

template <typename Number> std::optional<Number> FindNumber(XmlFiler& filer, const QString& name)
{
    return Find<Number>(filer, name, Number{0}, Number{1});
}

std::optional<QDateTime> FindDate(XmlFiler& filer, const QString& name)
{
    const auto date = Find<QDateTime>(filer, name, QDateTime::fromMSecsSinceEpoch(0),
                                      QDateTime::fromMSecsSinceEpoch(1000));
    return date && date->isValid() ? date : std::nullopt;
}

std::optional<QRect> FindRect(XmlFiler& filer, const QString& name)
{
    return Find<QRect>(filer, name, QRect(0, 0, 0, 0), QRect(1, 1, 1, 1));
}

std::optional<QSize> FindSize(XmlFiler& filer, const QString& name)
{
    return Find<QSize>(filer, name, QSize(0, 0), QSize(1, 1));
}

std::optional<QString> FindContent(const QString& text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

// No number, date or rectangle is longer.
constexpr qsizetype kMaxTypedText = 64;

// The name of the attribute in a document that contains only one value.
constexpr QStringView kName = u"Value";

// A value from the command line, parsed by the library's own rules.
struct GivenValue
{
    explicit GivenValue(ValueType type, const QByteArray& value)
        : Type(type)
        , Text(QString::fromUtf8(value))
    {
        Filer.TranslateEnabled = false;
        Filer.CreateRoot({});
        Filer.WriteString({}, kName.toString(), Text);
    }

    // The library reads a part that is not a number as 0. The tool rejects it.
    [[nodiscard]] bool HasNumbersOnly() const
    {
        const QStringList parts = Text.split(u',');
        return std::all_of(parts.begin(), parts.end(), [](const QString& part) {
            bool isNumber = false;
            (void)part.toInt(&isNumber);
            return isNumber;
        });
    }

    template <typename Found> Found Checked(const std::optional<Found>& found) const
    {
        if (!found)
            throw UsageFailure(
                u"%1 is not a value of type %2"_s.arg(Console::Quoted(Text), ValueTypeName(Type)));
        return *found;
    }

    template <typename Number> Number ToNumber()
    {
        return Checked(FindNumber<Number>(Filer, kName.toString()));
    }
    bool ToBool() { return Checked(Find<bool>(Filer, kName.toString(), false, true)); }
    QRect ToRect() { return Checked(HasNumbersOnly() ? FindRect(Filer, kName.toString()) : std::nullopt); }
    QSize ToSize() { return Checked(HasNumbersOnly() ? FindSize(Filer, kName.toString()) : std::nullopt); }
    // Respects an offset from UTC, which the library ignores in documents.
    QDateTime ToDate()
    {
        const QDateTime date = QDateTime::fromString(Text, Qt::ISODate);
        return Checked(date.isValid() ? std::optional(date.toUTC()) : std::nullopt);
    }

    ValueType Type;
    QString Text;
    XmlFiler Filer;
};

} // namespace

ValueType ValueTypeByName(const QString& name)
{
    for (const TypeName& row : gTypeNames) {
        if (name == QLatin1StringView(row.Name))
            return row.Type;
    }
    throw UsageFailure(
        u"there is no type '%1'; types are %2"_s.arg(name, QString::fromStdString(ValueTypeNames())));
}

QString ValueTypeName(ValueType type)
{
    const auto* row = std::find_if(std::begin(gTypeNames), std::end(gTypeNames),
                                   [type](const TypeName& candidate) { return candidate.Type == type; });
    return QString::fromLatin1(row->Name);
}

std::string ValueTypeNames()
{
    std::string names;
    for (const TypeName& row : gTypeNames)
        names += (names.empty() ? "" : ", ") + std::string(row.Name);
    return names;
}

bool IsContent(ValueType type)
{
    return type == ValueType::Text || type == ValueType::Buffer;
}

std::optional<Value> ReadValue(XmlFiler& filer, ValueType type, const QString& name)
{
    switch (type) {
    case ValueType::Int:
        return FoundValue(FindNumber<int>(filer, name), &NumberValue<int>);
    case ValueType::UInt:
        return FoundValue(FindNumber<unsigned int>(filer, name), &NumberValue<unsigned int>);
    case ValueType::Long:
        return FoundValue(FindNumber<long>(filer, name), &NumberValue<long>);
    case ValueType::ULong:
        return FoundValue(FindNumber<unsigned long>(filer, name), &NumberValue<unsigned long>);
    case ValueType::Int64:
        return FoundValue(FindNumber<long long>(filer, name), &NumberValue<long long>);
    case ValueType::Double:
        return FoundValue(FindNumber<double>(filer, name), &DoubleValue);
    case ValueType::Bool:
        return FoundValue(Find<bool>(filer, name, false, true), &BoolValue);
    case ValueType::Date:
        return FoundValue(FindDate(filer, name), &DateValue);
    case ValueType::Rect:
        return FoundValue(FindRect(filer, name), &RectValue);
    case ValueType::Size:
        return FoundValue(FindSize(filer, name), &SizeValue);
    case ValueType::String:
        return FoundValue(Find<QString>(filer, name, u"a"_s, u"b"_s), &TextValue);
    case ValueType::Text:
        return FoundValue(FindContent(filer.ReadNodeText()), &TextValue);
    case ValueType::Buffer:
        break;
    }
    const QByteArray bytes = filer.ReadBuffer();
    if (bytes.isEmpty())
        return std::nullopt;
    return Value{.Plain = bytes, .Json = QString::fromLatin1(bytes.toBase64())};
}

void WriteValue(XmlFiler& filer, ValueType type, const QString& name, const QByteArray& value)
{
    GivenValue given(type, value);
    const QString path; // empty: the element under the cursor
    switch (type) {
    case ValueType::Int:
        return filer.WriteInt(path, name, given.ToNumber<int>());
    case ValueType::UInt:
        return filer.WriteUInt(path, name, given.ToNumber<unsigned int>());
    case ValueType::Long:
        return filer.WriteLong(path, name, given.ToNumber<long>());
    case ValueType::ULong:
        return filer.WriteULong(path, name, given.ToNumber<unsigned long>());
    case ValueType::Int64:
        return filer.WriteInt64(path, name, given.ToNumber<long long>());
    case ValueType::Double:
        return filer.WriteDouble(path, name, given.ToNumber<double>());
    case ValueType::Bool:
        return filer.WriteBoolean(path, name, given.ToBool());
    case ValueType::Date:
        return filer.WriteDate(path, name, given.ToDate());
    case ValueType::Rect:
        return filer.WriteRect(path, name, given.ToRect());
    case ValueType::Size:
        return filer.WriteSize(path, name, given.ToSize());
    case ValueType::String:
        return filer.WriteString(path, name, given.Text);
    case ValueType::Text:
        return filer.WriteNodeText(path, given.Text);
    case ValueType::Buffer:
        return filer.WriteBuffer(path, value);
    }
}

Value NormalizedValue(ValueType type, const QByteArray& value)
{
    XmlFiler filer;
    filer.TranslateEnabled = false;
    filer.CreateRoot({});
    WriteValue(filer, type, kName.toString(), value);
    // ReadValue returns nullopt for an empty string, as for a missing value.
    return ReadValue(filer, type, kName.toString()).value_or(Value{.Plain = {}, .Json = QString()});
}

namespace {

QString SuggestAttribute(const QDomElement& element, const QString& name)
{
    QStringList names;
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.count(); ++i)
        names.append(attributes.item(i).nodeName());
    names.sort();
    return DidYouMean(name, names);
}

} // namespace

QString WhyMissing(const XmlFiler& filer, ValueType type, const QString& name)
{
    const QDomElement element = filer.GetCurrentNode().toElement();
    const QString where = ElementPath::Of(element);
    if (IsContent(type))
        return u"%1 has no %2"_s.arg(where, type == ValueType::Text ? u"text"_s : u"bytes"_s);
    if (!element.hasAttribute(name))
        return u"%1 has no attribute %2"_s.arg(where, name) + SuggestAttribute(element, name);
    const QString text = element.attribute(name);
    if (text.isEmpty())
        return u"%1 %2 is empty"_s.arg(where, name);
    return u"%1 %2=%3 is not a value of type %4"_s.arg(where, name, Console::Quoted(text),
                                                       ValueTypeName(type));
}

ValueType TypeOfText(const QString& text)
{
    if (text == "True"_L1 || text == "False"_L1)
        return ValueType::Bool;
    if (text.isEmpty() || text.size() > kMaxTypedText || !QStringView(u"-0123456789").contains(text.front()))
        return ValueType::String;
    bool isNumber = false;
    const qint64 whole = text.toLongLong(&isNumber);
    if (isNumber && QString::number(whole) == text) {
        const bool isInt
            = whole >= std::numeric_limits<int>::min() && whole <= std::numeric_limits<int>::max();
        return isInt ? ValueType::Int : ValueType::Int64;
    }
    const double real = text.toDouble(&isNumber);
    if (isNumber && qIsFinite(real) && std::trunc(real) != real && DoubleText(real) == text)
        return ValueType::Double;
    const QDateTime date = QDateTime::fromString(text, Qt::ISODate);
    if (date.isValid() && date.toUTC().toString(Qt::ISODate) == text)
        return ValueType::Date;
    const QStringList parts = text.split(u',');
    const bool areInts = std::all_of(parts.begin(), parts.end(), [](const QString& part) {
        bool isInt = false;
        return QString::number(part.toInt(&isInt)) == part && isInt;
    });
    if (areInts && parts.size() == 4)
        return ValueType::Rect;
    return areInts && parts.size() == 2 ? ValueType::Size : ValueType::String;
}

std::optional<QByteArray> BytesOfSection(const QString& section)
{
    const QByteArray encoded = section.toLatin1();
    const QByteArray bytes = QByteArray::fromBase64(encoded);
    const bool isSame = !bytes.isEmpty() && QString::fromLatin1(bytes.toBase64()) == section;
    return isSame ? std::optional(bytes) : std::nullopt;
}

QString DoubleText(double value)
{
    XmlFiler filer;
    filer.TranslateEnabled = false;
    filer.CreateRoot({});
    filer.WriteDouble(kName.toString(), value);
    return filer.ReadString(kName.toString(), QString());
}

void CheckCharacters(const QString& text)
{
    const qsizetype at = Util::Internal::FindNonXmlCharacter(text);
    if (at >= 0) {
        throw UsageFailure(u"the value contains the character %1, which XML does not allow"_s.arg(
            Console::CodePoint(text.at(at).unicode())));
    }
}

} // namespace Quorvin::Tool
