// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/DocumentEntries.h"

#include "cli/Console.h"
#include "documents/ElementPath.h"
#include "documents/TypedValue.h"

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
        entries.append({.Kind = Entry::Attribute, .Path = path, .Name = it.key(), .Value = it.value()});
    if (const QString text = TextOf(element); !text.isEmpty())
        entries.append({.Kind = Entry::Text, .Path = path, .Name = {}, .Value = text});
    QHash<QString, int> counts;
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        AppendEntries(child, path + u'/' + StepOf(child, counts), entries);
    if (entries.size() == before)
        entries.append({.Kind = Entry::Element, .Path = path, .Name = {}, .Value = {}});
}

} // namespace

QString Entry::Key() const
{
    return Kind == Attribute ? Path + u' ' + Name : Path;
}

QString Entry::ToText() const
{
    switch (Kind) {
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
    if (Kind == Attribute)
        object.insert(u"name"_s, Name);
    if (Kind != Element)
        object.insert(Kind == Attribute ? u"value"_s : u"text"_s, Value);
    return object;
}

QJsonObject Entry::ToTypedJson() const
{
    QJsonObject object = ToJson();
    if (Kind == Element)
        return object;
    const ValueType type = Kind == Text ? ValueType::Text : TypeOfText(Value);
    object.insert(u"type"_s, ValueTypeName(type));
    if (Kind == Attribute && type != ValueType::String)
        object.insert(u"value"_s, NormalizedValue(type, Value.toUtf8()).Json);
    return object;
}

QList<Entry> ListEntries(const QDomElement& element)
{
    QList<Entry> entries;
    AppendEntries(element, ElementPath::Of(element), entries);
    return entries;
}

QStringList EntryDifference::ToLines() const
{
    QStringList lines;
    if (Left)
        lines += "- "_L1 + Left->ToText();
    if (Right)
        lines += "+ "_L1 + Right->ToText();
    return lines;
}

QJsonObject EntryDifference::ToJson() const
{
    QJsonObject object = (Left ? Left : Right)->ToJson();
    object.remove(u"value"_s);
    object.remove(u"text"_s);
    object.insert(u"left"_s, Left ? QJsonValue(Left->Value) : QJsonValue::Null);
    object.insert(u"right"_s, Right ? QJsonValue(Right->Value) : QJsonValue::Null);
    return object;
}

QList<EntryDifference> CompareEntries(const QList<Entry>& left, const QList<Entry>& right)
{
    QHash<QString, const Entry*> rightByKey;
    for (const Entry& entry : right)
        rightByKey.insert(entry.Key(), &entry);
    QList<EntryDifference> differences;
    for (const Entry& entry : left) {
        const Entry* partner = rightByKey.take(entry.Key());
        if (!partner || partner->Value != entry.Value || partner->Kind != entry.Kind)
            differences.append(EntryDifference{.Left = &entry, .Right = partner});
    }
    for (const Entry& entry : right) {
        if (rightByKey.contains(entry.Key()))
            differences.append(EntryDifference{.Left = nullptr, .Right = &entry});
    }
    return differences;
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
