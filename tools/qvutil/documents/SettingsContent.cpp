// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsContent.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "documents/DocumentEntries.h"
#include "documents/ElementPath.h"
#include "documents/TypedValue.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QDomDocument>
#include <QHash>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;
using Quorvin::Util::Internal::IsXmlName;

namespace Quorvin::Tool {
namespace {

class ContentReader
{
public:
    explicit ContentReader(SettingsContent& content)
        : mContent(content)
    { }

    void Read(const QDomElement& element, const QString& path)
    {
        const qsizetype before = mContent.Settings.size();
        const QMap<QString, QString> attributes = AttributesOf(element);
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
            Add(Setting::Attribute, path, it.key(), it.value());
        const QString text = TextOf(element);
        if (IsSection(element))
            Add(Setting::Section, path, {}, text);
        else if (!text.isEmpty())
            Add(Setting::Text, path, {}, text);
        NoteProblems(element, !text.isEmpty());
        QHash<QString, int> counts;
        for (QDomElement child = element.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const QString step
                = ElementPath::Step{.Name = child.tagName(), .Position = ++counts[child.tagName()]}.ToText();
            Read(child, path.isEmpty() ? step : path + u'/' + step);
        }
        if (mContent.Settings.size() == before)
            Add(Setting::Text, path, {}, {});
    }

private:
    void Add(Setting::SettingKind kind, const QString& path, const QString& name, const QString& value)
    {
        mContent.Settings.append({.Kind = kind, .Path = path, .Name = name, .Value = value});
    }

    void NoteProblems(const QDomElement& element, bool hasText)
    {
        const QString where = ElementPath::Of(element);
        if (hasText && !element.firstChildElement().isNull())
            mContent.Problems.append(where + u": the positions of text between elements are not kept"_s);
        int comments = 0;
        int instructions = 0;
        for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
            comments += child.isComment() ? 1 : 0;
            instructions += child.isProcessingInstruction() ? 1 : 0;
        }
        if (comments > 0)
            mContent.Problems.append(where + u": comments are left out: %1"_s.arg(comments));
        if (instructions > 0)
            mContent.Problems.append(where
                                     + u": processing instructions are left out: %1"_s.arg(instructions));
    }

    SettingsContent& mContent;
};

// Replaces the text of an element, but keeps its child elements.
void SetText(QDomElement element, const QString& text, bool isSection)
{
    for (QDomNode child = element.firstChild(); !child.isNull();) {
        const QDomNode next = child.nextSibling();
        if (child.isText())
            element.removeChild(child);
        child = next;
    }
    QDomDocument document = element.ownerDocument();
    if (isSection)
        element.insertBefore(document.createCDATASection(text), element.firstChild());
    else if (!text.isEmpty())
        element.insertBefore(document.createTextNode(text), element.firstChild());
}

} // namespace

SettingsContent ReadContent(const QDomElement& root)
{
    SettingsContent content{.Root = root.tagName(), .Settings = {}, .Problems = {}};
    int comments = 0;
    for (QDomNode node = root.ownerDocument().firstChild(); !node.isNull(); node = node.nextSibling())
        comments += node.isComment() ? 1 : 0;
    if (comments > 0)
        content.Problems.append(u"comments outside the root element are left out: %1"_s.arg(comments));
    ContentReader(content).Read(root, {});
    return content;
}

void WriteContent(XmlFiler& filer, const SettingsContent& content)
{
    for (const Setting& setting : content.Settings) {
        ElementPath(setting.Path).Create(filer);
        QDomElement element = filer.GetCurrentNode().toElement();
        if (setting.Kind == Setting::Attribute)
            element.setAttribute(setting.Name, setting.Value);
        else
            SetText(element, setting.Value, setting.Kind == Setting::Section);
    }
    filer.MoveToRoot();
}

void AddSetting(SettingsContent& content, const Setting& setting, const QString& where)
{
    const QString line = Console::Visible(where) + u": "_s;
    if (setting.Kind == Setting::Attribute && !IsXmlName(setting.Name)) {
        content.Problems.append(
            line + u"%1 is not a valid name of an element or attribute"_s.arg(Console::Quoted(setting.Name)));
        return;
    }
    try {
        (void)ElementPath(setting.Path);
        CheckCharacters(setting.Value);
    } catch (const UsageFailure& failure) {
        content.Problems.append(line + failure.Reason);
        return;
    }
    if (setting.Kind == Setting::Section && setting.Value.contains("]]>"_L1)) {
        content.Problems.append(line + u"a CDATA section cannot contain \"]]>\""_s);
        return;
    }
    content.Settings.append(setting);
}

} // namespace Quorvin::Tool
