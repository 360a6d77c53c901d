// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_VARIANTMAPENCODER_P_H
#define QVUTIL_VARIANTMAPENCODER_P_H

// Internal, not API: may change in any version.

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <QVariant>

namespace Quorvin::Util {

class XmlFiler;

/// Converts a map of typed values to XML elements and back.
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
/// The value of a type that cannot be sent is omitted, and reads back as an invalid QVariant.
///
/// \par Threads
/// Thread-safe: it has no state.
class VariantMapEncoder final
{
public:
    /// Returns a document: a root "Data" with an element for each entry.
    [[nodiscard]] QString Encode(const QVariantMap& map) const;
    /// Reads the result of Encode into \p map, without removing other entries. Any other document is ignored.
    void Decode(const QString& xml, QVariantMap& map) const;
    /// Same as WriteVariantMap.
    void Encode(const QVariantMap& map, XmlFiler& filer) const;
    /// Same as ReadVariantMap.
    void Decode(XmlFiler& filer, QVariantMap& map) const;

    /// Writes one element per entry under the filer's current node.
    void WriteVariantMap(const QVariantMap& map, XmlFiler& filer) const;
    /// Reads the elements under the filer's current node into \p map. Elements without a name are skipped,
    /// malformed values become invalid QVariants, and the last of several elements with the same name is
    /// used.
    void ReadVariantMap(XmlFiler& filer, QVariantMap& map) const;
    /// Writes a value, but not its type, into the filer's current element.
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

    /// \return the name of a type in frames; empty if it has none
    [[nodiscard]] QString TypeToString(QMetaType::Type type) const;
    /// \return the type with the name \p name, compared case-insensitively; UnknownType if there is none
    [[nodiscard]] QMetaType::Type StringToType(const QString& name) const;
    /// \return whether the type is one of those from Bool to QByteArray; ULongLong and QChar count, although
    ///         their values are not written
    [[nodiscard]] bool IsSupportedType(QMetaType::Type type) const;
};

} // namespace Quorvin::Util

#endif // QVUTIL_VARIANTMAPENCODER_P_H
