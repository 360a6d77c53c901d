// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/VariantMapEncoder_p.h"

#include "XmlFiler.h"
#include "messaging/IPC_p.h"
#include "messaging/ParameterTypes_p.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Calls visit with the cursor on each child element in turn, and restores the cursor.
template <typename Visit> void ForEachChild(XmlFiler& filer, Visit visit)
{
    filer.PushCurrentNode();
    for (bool found = filer.MoveToFirstChild(); found; found = filer.MoveToNextSibling())
        visit();
    filer.PopCurrentNode();
}

// Appends an element, calls fill with the cursor on it, and restores the cursor.
template <typename Fill> void WriteElement(XmlFiler& filer, Fill fill)
{
    filer.PushCurrentNode();
    filer.CreateNode(kPropertyNode, false);
    fill();
    filer.PopCurrentNode();
}

} // namespace

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
            filer.WriteString(kTypeAttribute, Internal::TypeName(entry.value().typeId()).toString());
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
        break; // accepted, but not written: peers rely on an element without a value
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
    switch (Internal::TypeIdOf(filer.ReadString(kTypeAttribute, QString()))) {
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
        break; // as with ULongLong and QChar, whose values are not written
    }
}

void VariantMapEncoder::WriteVariantList(const QVariantList& list, XmlFiler& filer) const
{
    for (const QVariant& item : list) {
        WriteElement(filer, [&] {
            filer.WriteString(kTypeAttribute, Internal::TypeName(item.typeId()).toString());
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
    return Internal::TypeName(type).toString();
}

QMetaType::Type VariantMapEncoder::StringToType(const QString& name) const
{
    return static_cast<QMetaType::Type>(Internal::TypeIdOf(name));
}

bool VariantMapEncoder::IsSupportedType(QMetaType::Type type) const
{
    return Internal::IsSupportedTypeId(type);
}

} // namespace Quorvin::Util
