// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_ENTRIES_H
#define QVUTIL_TOOL_ENTRIES_H

#include "documents/ElementVisit.h"

#include <QDomElement>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// An entry of a document: an attribute, an element's text, or an element that has neither.
struct Entry
{
    enum EntryKind {
        Attribute,
        Text,
        Element,
    };
    EntryKind Kind;
    QString Path; ///< from the root; "Item[2]" is the second element of that name in its parent
    QString Name; ///< of the attribute; empty for other kinds
    QString Value;
    bool IsSection = false; ///< whether the text is a CDATA section and the only content of the element

    [[nodiscard]] bool operator==(const Entry&) const = default;
    /// Returns path and name, which identify the entry in a comparison.
    [[nodiscard]] QString Key() const;
    /// Returns one line such as: /Settings/Panel Width="640"
    [[nodiscard]] QString ToText() const;
    [[nodiscard]] QJsonObject ToJson() const;
    /// Like ToJson, but adds the name of the value's type, and stores the value as JSON of that type, such as
    /// a number.
    [[nodiscard]] QJsonObject ToTypedJson() const;
};

/// Lists the entries of one element: attributes by name, then its text. Comments, processing instructions and
/// white space between elements are not entries.
[[nodiscard]] QList<Entry> EntriesOf(const VisitedElement& element);
/// Lists the entries of an element and of all elements in it, in the order of the document.
[[nodiscard]] QList<Entry> ListEntries(const QDomElement& element);

/// An entry that only one of two documents has, or that differs between them.
struct EntryDifference
{
    const Entry* Left; ///< null if only the right document has it
    const Entry* Right; ///< null if only the left document has it

    /// Returns one or two lines: "- " and the left entry, "+ " and the right entry.
    [[nodiscard]] QStringList ToLines() const;
    /// Returns the entry with the members "left" and "right", one of which may be null.
    [[nodiscard]] QJsonObject ToJson() const;
};
/// Compares the entries of two documents by path and name.
/// \return the differences, which point into the lists
[[nodiscard]] QList<EntryDifference> CompareEntries(const QList<Entry>& left, const QList<Entry>& right);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_ENTRIES_H
