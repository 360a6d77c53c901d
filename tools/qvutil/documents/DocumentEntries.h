// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_ENTRIES_H
#define QVUTIL_TOOL_ENTRIES_H

#include <QDomElement>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>

namespace Quorvin::Tool {

/// One thing that a document says: an attribute, an element's text, or that there is an element with neither.
struct Entry
{
    enum Kind {
        Attribute,
        Text,
        Element,
    };
    Kind What;
    QString Path; ///< from the root; "Item[2]" is the second element of that name in its parent
    QString Name; ///< of an attribute
    QString Value;

    /// Path and name, by which entries of two documents belong together.
    [[nodiscard]] QString Key() const;
    /// One line such as: /Settings/Panel Width="640"
    [[nodiscard]] QString ToText() const;
    [[nodiscard]] QJsonObject ToJson() const;
};

/// Lists what the subtree of \p element says, in the order of the document, attributes by name.
/// Comments, processing instructions and white space between elements say nothing.
[[nodiscard]] QList<Entry> ListEntries(const QDomElement& element);

/// The attributes of an element by name.
[[nodiscard]] QMap<QString, QString> AttributesOf(const QDomElement& element);
/// The text of an element, its CDATA sections included; without white space around it if there are elements
/// too.
[[nodiscard]] QString TextOf(const QDomElement& element);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_ENTRIES_H
