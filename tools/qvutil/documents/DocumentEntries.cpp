// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/DocumentEntries.h"

#include "cli/Console.h"
#include "documents/TypedValue.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

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
    const bool isBuffer = IsSection && BytesOfSection(Value);
    const ValueType type = isBuffer ? ValueType::Buffer : Kind == Text ? ValueType::Text : TypeOfText(Value);
    object.insert(u"type"_s, ValueTypeName(type));
    if (Kind == Attribute && type != ValueType::String)
        object.insert(u"value"_s, NormalizedValue(type, Value.toUtf8()).Json);
    return object;
}

QList<Entry> EntriesOf(const VisitedElement& element)
{
    QList<Entry> entries;
    for (auto it = element.Attributes.cbegin(); it != element.Attributes.cend(); ++it)
        entries.append(
            {.Kind = Entry::Attribute, .Path = element.Path, .Name = it.key(), .Value = it.value()});
    if (!element.Text.isEmpty())
        entries.append({.Kind = Entry::Text,
                        .Path = element.Path,
                        .Name = {},
                        .Value = element.Text,
                        .IsSection = element.IsSection});
    if (entries.isEmpty() && !element.HasElements)
        entries.append({.Kind = Entry::Element, .Path = element.Path, .Name = {}, .Value = {}});
    return entries;
}

QList<Entry> ListEntries(const QDomElement& element)
{
    QList<Entry> entries;
    VisitTree(element, [&entries](const VisitedElement& visited) { entries += EntriesOf(visited); });
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

} // namespace Quorvin::Tool
