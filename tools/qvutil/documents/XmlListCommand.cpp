// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "cli/Console.h"
#include "cli/Report.h"
#include "documents/DocumentEntries.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QJsonArray>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;
using Quorvin::Util::Internal::kMaxElementDepth;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kShownCharacters = 100;

struct ListOptions : PartOptions
{
    int Depth = kMaxElementDepth; // documents that are deeper are not loaded
};

// A tree is looked at by people: a long value, such as a picture, is shown by its beginning.
QString Shortened(const QString& value)
{
    if (value.size() <= kShownCharacters)
        return Console::Quoted(value);
    return u"%1... (%2 characters)"_s.arg(Console::Quoted(value.left(kShownCharacters))).arg(value.size());
}

void PrintTree(const QDomElement& element, int level, int depth)
{
    QString line = QString(qsizetype{2} * level, u' ') + element.tagName();
    const QMap<QString, QString> attributes = AttributesOf(element);
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
        line += u' ' + it.key() + u'=' + Shortened(it.value());
    if (const QString text = TextOf(element); !text.isEmpty())
        line += u": "_s + Shortened(text);
    const QDomElement firstChild = element.firstChildElement();
    if (level == depth && !firstChild.isNull())
        line += u" ..."_s;
    Console::PrintLine(line);
    if (level == depth)
        return;
    for (QDomElement child = firstChild; !child.isNull(); child = child.nextSiblingElement())
        PrintTree(child, level + 1, depth);
}

QJsonObject TreeToJson(const QDomElement& element, int depth)
{
    QJsonObject attributes;
    const QMap<QString, QString> values = AttributesOf(element);
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        attributes.insert(it.key(), it.value());
    QJsonObject object{{u"name"_s, element.tagName()}, {u"attributes"_s, attributes}};
    if (const QString text = TextOf(element); !text.isEmpty())
        object.insert(u"text"_s, text);
    if (depth > 0) {
        QJsonArray children;
        for (QDomElement child = element.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement())
            children.append(TreeToJson(child, depth - 1));
        object.insert(u"children"_s, children);
    }
    return object;
}

ExitCode List(const ListOptions& options)
{
    XmlFiler filer;
    if (!OpenPart(filer, options))
        return ExitCode::No;
    const QDomElement element = filer.GetCurrentNode().toElement();
    Report(options.Json)
        .Answer([&] { return TreeToJson(element, options.Depth); },
                [&] { PrintTree(element, 0, options.Depth); });
    return ExitCode::Yes;
}

} // namespace

void AddXmlListCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& list = line.AddCommand(group, "list", "Print the tree of elements with their attributes",
                                     "qvutil xml list app.xml\n"
                                     "qvutil xml list app.xml Panel/Main --depth 2\n"
                                     "qvutil xml list app.xml --json | jq .children[].name",
                                     [options] { return List(*options); });
    AddPartArguments(list, *options);
    AddNumber(list, "--depth", options->Depth, {.Min = 0, .Max = kMaxElementDepth},
              "Levels to go down below the element; all if not given")
        ->type_name("LEVELS");
}

} // namespace Quorvin::Tool
