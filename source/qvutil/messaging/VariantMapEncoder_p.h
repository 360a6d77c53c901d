// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_VARIANTMAPENCODER_P_H
#define QVUTIL_VARIANTMAPENCODER_P_H

// This file is not part of the interface. It may change from one version to the next.

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <QVariant>

namespace Quorvin::Util {

class XmlFiler;

/// Turns a map of typed values into XML elements and back.
///
/// Each entry is an element under the filer's current node:
///
///     <Param Name="count" Type="Int" Value="5"/>
///     <Param Name="image" Type="ByteArray"><![CDATA[iVBORw0=]]></Param>
///     <Param Name="names" Type="StringList">
///      <Param Value="first"/>
///     </Param>
///     <Param Name="point" Type="Map">
///      <Param Name="x" Type="Double" Value="0.5"/>
///     </Param>
///     <Param Name="mixed" Type="List">
///      <Param Type="Bool" Value="True"/>
///     </Param>
///
/// Types that cannot travel keep their entry without its value; it reads back as an invalid QVariant.
///
/// \par Threads
/// Has no state: any thread.
class VariantMapEncoder final
{
public:
    /// Writes a document of its own: a root "Data" with the entries below it.
    [[nodiscard]] QString Encode(const QVariantMap& map) const;
    /// Reads what Encode has written, into \p map, whose other entries stay. Anything else is ignored.
    void Decode(const QString& xml, QVariantMap& map) const;
    /// The same as WriteVariantMap.
    void Encode(const QVariantMap& map, XmlFiler& filer) const;
    /// The same as ReadVariantMap.
    void Decode(XmlFiler& filer, QVariantMap& map) const;

    /// Writes one element per entry under the filer's current node.
    void WriteVariantMap(const QVariantMap& map, XmlFiler& filer) const;
    /// Reads the elements under the filer's current node into \p map. Those without a name are skipped,
    /// values that cannot be read are invalid, and of equal names the last one wins.
    void ReadVariantMap(XmlFiler& filer, QVariantMap& map) const;
    /// Writes a value, though not its type, into the filer's current element.
    void WriteVariant(const QVariant& value, XmlFiler& filer) const;
    /// Reads the value of the filer's current element; invalid if there is none.
    void ReadVariant(XmlFiler& filer, QVariant& value) const;
    /// Writes one element per item under the filer's current node.
    void WriteVariantList(const QVariantList& list, XmlFiler& filer) const;
    /// Appends the elements under the filer's current node to \p list.
    void ReadVariantList(XmlFiler& filer, QVariantList& list) const;
    /// Writes one element per text under the filer's current node.
    void WriteStringList(const QStringList& list, XmlFiler& filer) const;
    /// Appends the elements under the filer's current node to \p list.
    void ReadStringList(XmlFiler& filer, QStringList& list) const;

    /// \return the name that stands for a type in documents; empty for types that have none
    [[nodiscard]] QString TypeToString(QMetaType::Type type) const;
    /// \return the type that has the name \p name, in any case; UnknownType if there is none
    [[nodiscard]] QMetaType::Type StringToType(const QString& name) const;
    /// \return whether \p type is one of those that are written by type, Bool to QByteArray
    [[nodiscard]] bool IsSupportedType(QMetaType::Type type) const;
};

} // namespace Quorvin::Util

#endif // QVUTIL_VARIANTMAPENCODER_P_H
