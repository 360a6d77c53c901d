// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/DocumentEntries.h"

#include "cli/Console.h"
#include "documents/ElementPath.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

QString StepOf(const QDomElement& element, QHash<QString, int>& counts)
{
    return ElementPath::Step{.Name = element.tagName(), .Position = ++counts[element.tagName()]}.ToText();
}

void AppendEntries(const QDomElement& element, const QString& path, QList<Entry>& entries)
{
    const qsizetype before = entries.size();
    const QMap<QString, QString> attributes = AttributesOf(element);
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
        entries.append({.What = Entry::Attribute, .Path = path, .Name = it.key(), .Value = it.value()});
    if (const QString text = TextOf(element); !text.isEmpty())
        entries.append({.What = Entry::Text, .Path = path, .Name = {}, .Value = text});
    QHash<QString, int> counts;
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        AppendEntries(child, path + u'/' + StepOf(child, counts), entries);
    if (entries.size() == before)
        entries.append({.What = Entry::Element, .Path = path, .Name = {}, .Value = {}});
}

} // namespace

QString Entry::Key() const
{
    return What == Attribute ? Path + u' ' + Name : Path;
}

QString Entry::ToText() const
{
    switch (What) {
    case Attribute:
        return Console::Visible(Path) + u' ' + Console::Visible(Name) + u'=' + Console::Quoted(Value);
    case Text:
        return Console::Visible(Path) + u' ' + Console::Quoted(Value);
    case Element:
        break;
    }
    return Console::Visible(Path);
}

QJsonObject Entry::ToJson() const
{
    QJsonObject object{{u"path"_s, Path}};
    if (What == Attribute)
        object.insert(u"name"_s, Name);
    if (What != Element)
        object.insert(What == Attribute ? u"value"_s : u"text"_s, Value);
    return object;
}

QList<Entry> ListEntries(const QDomElement& element)
{
    QList<Entry> entries;
    AppendEntries(element, ElementPath::Of(element), entries);
    return entries;
}

QMap<QString, QString> AttributesOf(const QDomElement& element)
{
    QMap<QString, QString> attributes;
    const QDomNamedNodeMap nodes = element.attributes();
    for (int i = 0; i < nodes.count(); ++i)
        attributes.insert(nodes.item(i).nodeName(), nodes.item(i).nodeValue());
    return attributes;
}

QString TextOf(const QDomElement& element)
{
    QString text;
    bool hasElements = false;
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.isText()) // a CDATA section is one too
            text += child.nodeValue();
        hasElements = hasElements || child.isElement();
    }
    return hasElements ? text.trimmed() : text;
}

} // namespace Quorvin::Tool
