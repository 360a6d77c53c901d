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

/// One thing that a document says: an attribute, an element's text, or that there is an element with neither.
struct Entry
{
    enum EntryKind {
        Attribute,
        Text,
        Element,
    };
    EntryKind Kind;
    QString Path; ///< from the root; "Item[2]" is the second element of that name in its parent
    QString Name; ///< of an attribute
    QString Value;

    [[nodiscard]] bool operator==(const Entry&) const = default;
    /// Path and name, by which entries of two documents belong together.
    [[nodiscard]] QString Key() const;
    /// One line such as: /Settings/Panel Width="640"
    [[nodiscard]] QString ToText() const;
    [[nodiscard]] QJsonObject ToJson() const;
    /// As ToJson, with the value as a number, true, false and so on, and the name of its type.
    [[nodiscard]] QJsonObject ToTypedJson() const;
};

/// Lists what one element says: attributes by name, then its text. Comments, processing instructions and
/// white space between elements say nothing.
[[nodiscard]] QList<Entry> EntriesOf(const VisitedElement& element);
/// Lists what an element and the elements in it say, in the order of the document.
[[nodiscard]] QList<Entry> ListEntries(const QDomElement& element);

/// An entry that one of two documents has and the other does not, or that differs between them.
struct EntryDifference
{
    const Entry* Left; ///< null if only the right document has it
    const Entry* Right; ///< null if only the left document has it

    /// One or two lines: "- " and the left entry, "+ " and the right entry.
    [[nodiscard]] QStringList ToLines() const;
    /// The entry with the values "left" and "right", of which one may be null.
    [[nodiscard]] QJsonObject ToJson() const;
};
/// Compares what two documents say: entries of the same path and name belong together.
/// \return differences that point into the lists
[[nodiscard]] QList<EntryDifference> CompareEntries(const QList<Entry>& left, const QList<Entry>& right);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_ENTRIES_H
