// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "VariantMapEncoder_p.h"

#include "IPC_p.h"
#include "XmlFiler.h"

#include <algorithm>
#include <array>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

struct TypeRow
{
    int Id;
    QStringView Name;
};

// Written into documents, so the numbers are spelled out: they must not follow Qt's. In the order of ids,
// in which those up to 17 are their own index.
constexpr std::array<TypeRow, 52> kTypes = {{
    {0, u"Invalid"},       {1, u"Bool"},           {2, u"Int"},
    {3, u"UInt"},          {4, u"LongLong"},       {5, u"ULongLong"},
    {6, u"Double"},        {7, u"Char"},           {8, u"Map"},
    {9, u"List"},          {10, u"String"},        {11, u"StringList"},
    {12, u"ByteArray"},    {13, u"BitArray"},      {14, u"Date"},
    {15, u"Time"},         {16, u"DateTime"},      {17, u"Url"},
    {18, u"Locale"},       {19, u"Rect"},          {20, u"RectF"},
    {21, u"Size"},         {22, u"SizeF"},         {23, u"Line"},
    {24, u"LineF"},        {25, u"Point"},         {26, u"PointF"},
    {28, u"Hash"},         {29, u"EasingCurve"},   {4096, u"Font"},
    {4097, u"Pixmap"},     {4098, u"Brush"},       {4099, u"Color"},
    {4100, u"Palette"},    {4101, u"Icon"},        {4102, u"Image"},
    {4103, u"Polygon"},    {4104, u"Region"},      {4105, u"Bitmap"},
    {4106, u"Cursor"},     {4107, u"KeySequence"}, {4108, u"Pen"},
    {4109, u"TextLength"}, {4110, u"TextFormat"},  {4112, u"Transform"},
    {4113, u"Matrix4x4"},  {4114, u"Vector2D"},    {4115, u"Vector3D"},
    {4116, u"Vector4D"},   {4117, u"Quaternion"},  {8192, u"SizePolicy"},
    {65536, u"UserType"},
}};

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

} // namespace

QStringView TypeName(int typeId)
{
    const auto row = std::ranges::lower_bound(kTypes, typeId, {}, &TypeRow::Id);
    return row != kTypes.cend() && row->Id == typeId ? row->Name : QStringView();
}

int TypeIdOf(QStringView name)
{
    // Nearly every name is spelled as here, and comparing exactly is much faster.
    auto row = std::ranges::find(kTypes, name, &TypeRow::Name);
    if (row == kTypes.cend()) {
        row = std::ranges::find_if(kTypes, [name](const TypeRow& type) {
            return type.Name.compare(name, Qt::CaseInsensitive) == 0;
        });
    }
    return row != kTypes.cend() ? row->Id : 0;
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
