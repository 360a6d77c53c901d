// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/VariantMapEncoder_p.h"

#include "XmlFiler.h"
#include "messaging/IPC_p.h"

#include <algorithm>
#include <array>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

struct TypeRow
{
    int Id;
    QLatin1StringView Name;
};

// Written into documents, so the numbers are spelled out: they must not follow Qt's. In the order of ids.
constexpr std::array<TypeRow, 52> kTypes = {{
    {0, "Invalid"_L1},       {1, "Bool"_L1},           {2, "Int"_L1},
    {3, "UInt"_L1},          {4, "LongLong"_L1},       {5, "ULongLong"_L1},
    {6, "Double"_L1},        {7, "Char"_L1},           {8, "Map"_L1},
    {9, "List"_L1},          {10, "String"_L1},        {11, "StringList"_L1},
    {12, "ByteArray"_L1},    {13, "BitArray"_L1},      {14, "Date"_L1},
    {15, "Time"_L1},         {16, "DateTime"_L1},      {17, "Url"_L1},
    {18, "Locale"_L1},       {19, "Rect"_L1},          {20, "RectF"_L1},
    {21, "Size"_L1},         {22, "SizeF"_L1},         {23, "Line"_L1},
    {24, "LineF"_L1},        {25, "Point"_L1},         {26, "PointF"_L1},
    {28, "Hash"_L1},         {29, "EasingCurve"_L1},   {4096, "Font"_L1},
    {4097, "Pixmap"_L1},     {4098, "Brush"_L1},       {4099, "Color"_L1},
    {4100, "Palette"_L1},    {4101, "Icon"_L1},        {4102, "Image"_L1},
    {4103, "Polygon"_L1},    {4104, "Region"_L1},      {4105, "Bitmap"_L1},
    {4106, "Cursor"_L1},     {4107, "KeySequence"_L1}, {4108, "Pen"_L1},
    {4109, "TextLength"_L1}, {4110, "TextFormat"_L1},  {4112, "Transform"_L1},
    {4113, "Matrix4x4"_L1},  {4114, "Vector2D"_L1},    {4115, "Vector3D"_L1},
    {4116, "Vector4D"_L1},   {4117, "Quaternion"_L1},  {8192, "SizePolicy"_L1},
    {65536, "UserType"_L1},
}};

// Up to here a type's row is its id.
constexpr int kLastPlainId = 26;
static_assert(kTypes[kLastPlainId].Id == kLastPlainId && std::ranges::is_sorted(kTypes, {}, &TypeRow::Id));

// Calls visit with the filer on each child element in turn; the filer ends where it began.
template <typename Visit> void ForEachChild(XmlFiler& filer, Visit visit)
{
    filer.PushCurrentNode();
    for (bool found = filer.MoveToFirstChild(); found; found = filer.MoveToNextSibling())
        visit();
    filer.PopCurrentNode();
}

// Appends an element and calls fill with the filer on it; the filer ends where it began.
template <typename Fill> void WriteElement(XmlFiler& filer, Fill fill)
{
    filer.PushCurrentNode();
    filer.CreateNode(kPropertyNode, false);
    fill();
    filer.PopCurrentNode();
}

template <typename View> int FindTypeId(View name)
{
    const auto isExact = [name](const TypeRow& type) { return type.Name == name; };
    const auto isSame
        = [name](const TypeRow& type) { return type.Name.compare(name, Qt::CaseInsensitive) == 0; };
    // Nearly every name is spelled as here, and comparing exactly is much faster.
    auto row = std::ranges::find_if(kTypes, isExact);
    if (row == kTypes.cend())
        row = std::ranges::find_if(kTypes, isSame);
    return row != kTypes.cend() ? row->Id : 0;
}

} // namespace

QLatin1StringView TypeName(int typeId)
{
    // The types that travel are among the first rows, where the id is the row.
    if (typeId >= 0 && typeId <= kLastPlainId)
        return kTypes[static_cast<size_t>(typeId)].Name;
    const auto row = std::ranges::lower_bound(kTypes, typeId, {}, &TypeRow::Id);
    return row != kTypes.cend() && row->Id == typeId ? row->Name : QLatin1StringView();
}

int TypeIdOf(QStringView name)
{
    return FindTypeId(name);
}

int TypeIdOf(QLatin1StringView name)
{
    return FindTypeId(name);
}

QString VariantMapEncoder::Encode(const QVariantMap& map) const
{
    XmlFiler filer;
    filer.CreateRoot(u"Data"_s);
    filer.WriteString(u"Encoder"_s, u"XmlEncoder"_s);
    filer.WriteString(u"Version"_s, u"1.0"_s);
    WriteVariantMap(map, filer);
    return filer.SaveAsXmlString();
}

void VariantMapEncoder::Decode(const QString& xml, QVariantMap& map) const
{
    XmlFiler filer;
    if (!filer.LoadFromXmlString(xml) || filer.ReadString(u"Encoder"_s, QString()) != "XmlEncoder"_L1)
        return;
    ReadVariantMap(filer, map);
}

void VariantMapEncoder::Encode(const QVariantMap& map, XmlFiler& filer) const
{
    WriteVariantMap(map, filer);
}

void VariantMapEncoder::Decode(XmlFiler& filer, QVariantMap& map) const
{
    ReadVariantMap(filer, map);
}

void VariantMapEncoder::WriteVariantMap(const QVariantMap& map, XmlFiler& filer) const
{
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        WriteElement(filer, [&] {
            filer.WriteString(kNameAttribute, entry.key());
            filer.WriteString(kTypeAttribute, TypeName(entry.value().typeId()).toString());
            WriteVariant(entry.value(), filer);
        });
    }
}

void VariantMapEncoder::ReadVariantMap(XmlFiler& filer, QVariantMap& map) const
{
    ForEachChild(filer, [&] {
        const QString name = filer.ReadString(kNameAttribute, QString());
        if (name.isEmpty())
            return;
        QVariant value;
        ReadVariant(filer, value);
        map.insert(name, value);
    });
}

void VariantMapEncoder::WriteVariant(const QVariant& value, XmlFiler& filer) const
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        filer.WriteBoolean(kValueAttribute, value.toBool());
        break;
    case QMetaType::Int:
        filer.WriteInt(kValueAttribute, value.toInt());
        break;
    case QMetaType::UInt:
        filer.WriteUInt(kValueAttribute, value.toUInt());
        break;
    case QMetaType::LongLong:
        filer.WriteInt64(kValueAttribute, value.toLongLong());
        break;
    case QMetaType::ULongLong:
    case QMetaType::QChar:
        break; // accepted, and yet without a written form: peers rely on the element's having no value
    case QMetaType::Double:
        filer.WriteDouble(kValueAttribute, value.toDouble());
        break;
    case QMetaType::QVariantMap:
        WriteVariantMap(value.toMap(), filer);
        break;
    case QMetaType::QVariantList:
        WriteVariantList(value.toList(), filer);
        break;
    case QMetaType::QString:
        filer.WriteString(kValueAttribute, value.toString());
        break;
    case QMetaType::QStringList:
        WriteStringList(value.toStringList(), filer);
        break;
    case QMetaType::QByteArray:
        filer.WriteBuffer(value.toByteArray());
        break;
    default:
        filer.WriteString(kValueAttribute, kUnsupportedTypeText.toString());
        break;
    }
}

void VariantMapEncoder::ReadVariant(XmlFiler& filer, QVariant& value) const
{
    value.clear();
    switch (TypeIdOf(filer.ReadString(kTypeAttribute, QString()))) {
    case QMetaType::Bool:
        value = filer.ReadBoolean(kValueAttribute, false);
        break;
    case QMetaType::Int:
        value = filer.ReadInt(kValueAttribute, 0);
        break;
    case QMetaType::UInt:
        value = filer.ReadUInt(kValueAttribute, 0U);
        break;
    case QMetaType::LongLong:
        value = filer.ReadInt64(kValueAttribute, 0LL);
        break;
    case QMetaType::Double:
        value = filer.ReadDouble(kValueAttribute, 0.0);
        break;
    case QMetaType::QVariantMap: {
        QVariantMap map;
        ReadVariantMap(filer, map);
        value = map;
        break;
    }
    case QMetaType::QVariantList: {
        QVariantList list;
        ReadVariantList(filer, list);
        value = list;
        break;
    }
    case QMetaType::QString:
        value = filer.ReadString(kValueAttribute, QString());
        break;
    case QMetaType::QStringList: {
        QStringList list;
        ReadStringList(filer, list);
        value = list;
        break;
    }
    case QMetaType::QByteArray:
        value = filer.ReadBuffer();
        break;
    default:
        break; // ULongLong and QChar too: they are not written either
    }
}

void VariantMapEncoder::WriteVariantList(const QVariantList& list, XmlFiler& filer) const
{
    for (const QVariant& item : list) {
        WriteElement(filer, [&] {
            filer.WriteString(kTypeAttribute, TypeName(item.typeId()).toString());
            WriteVariant(item, filer);
        });
    }
}

void VariantMapEncoder::ReadVariantList(XmlFiler& filer, QVariantList& list) const
{
    ForEachChild(filer, [&] {
        QVariant item;
        ReadVariant(filer, item);
        list.append(item);
    });
}

void VariantMapEncoder::WriteStringList(const QStringList& list, XmlFiler& filer) const
{
    for (const QString& text : list)
        WriteElement(filer, [&] { filer.WriteString(kValueAttribute, text); });
}

void VariantMapEncoder::ReadStringList(XmlFiler& filer, QStringList& list) const
{
    ForEachChild(filer, [&] { list.append(filer.ReadString(kValueAttribute, QString())); });
}

QString VariantMapEncoder::TypeToString(QMetaType::Type type) const
{
    return TypeName(type).toString();
}

QMetaType::Type VariantMapEncoder::StringToType(const QString& name) const
{
    return static_cast<QMetaType::Type>(TypeIdOf(name));
}

bool VariantMapEncoder::IsSupportedType(QMetaType::Type type) const
{
    return IsSupportedTypeId(type);
}

} // namespace Quorvin::Util
