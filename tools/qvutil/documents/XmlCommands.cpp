// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/Report.h"
#include "documents/DocumentEntries.h"
#include "documents/DocumentFile.h"
#include "documents/ValueCommands.h"

#include <QJsonArray>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

// Documents that are deeper are not loaded.
constexpr int kMaxDepth = 1000;
constexpr qsizetype kShownCharacters = 100;

struct PartOptions
{
    QString File;
    QString Path;
    int Depth = kMaxDepth;
    bool Inner = false;
    bool Json = false;
};

/// Loads a document and moves to the element at the path.
/// \return false, after a complaint, if there is none
bool Open(XmlFiler& filer, const PartOptions& options)
{
    filer.TranslateEnabled = false;
    const InputFile file(options.File);
    LoadDocument(filer, file);
    if (filer.MoveToNode(options.Path))
        return true;
    Console::Complain(file.Name(), u"there is no element %1"_s.arg(options.Path));
    return false;
}

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

ExitCode List(const PartOptions& options)
{
    XmlFiler filer;
    if (!Open(filer, options))
        return ExitCode::No;
    const QDomElement element = filer.GetCurrentNode().toElement();
    Report(options.Json)
        .Answer([&] { return TreeToJson(element, options.Depth); },
                [&] { PrintTree(element, 0, options.Depth); });
    return ExitCode::Yes;
}

ExitCode Cat(const PartOptions& options)
{
    XmlFiler filer;
    if (!Open(filer, options))
        return ExitCode::No;
    const QString markup = options.Inner ? filer.ReadInnerXml() : filer.ReadOuterXml();
    Report(options.Json)
        .Answer(
            [&] {
                return QJsonObject{{u"path"_s, filer.GetCurrentNodePath()}, {u"xml"_s, markup}};
            },
            [&] { Console::Print(markup.isEmpty() || markup.endsWith(u'\n') ? markup : markup + u'\n'); });
    return ExitCode::Yes;
}

void AddPartArguments(CLI::App& command, PartOptions& options)
{
    AddText(command, "FILE", options.File, "Document to read; - for standard input")->required();
    AddText(command, "PATH", options.Path,
            "Element, as names from the root joined by '/'; the root if not given");
    AddJsonFlag(command, options.Json);
}

} // namespace

void AddXmlCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("xml", "Read and write values in XML documents");
    AddGetCommand(line, group);
    AddSetCommand(line, group, MissingFile::IsError, "Root");

    auto listOptions = std::make_shared<PartOptions>();
    CLI::App& list = line.AddCommand(group, "list", "Print the tree of elements with their attributes",
                                     "qvutil xml list app.xml\n"
                                     "qvutil xml list app.xml Panel/Main --depth 2\n"
                                     "qvutil xml list app.xml --json | jq .children[].name",
                                     [listOptions] { return List(*listOptions); });
    AddPartArguments(list, *listOptions);
    AddNumber(list, "--depth", listOptions->Depth, {.Min = 0, .Max = kMaxDepth},
              "Levels to go down below the element; all if not given")
        ->type_name("LEVELS");

    auto catOptions = std::make_shared<PartOptions>();
    CLI::App& cat = line.AddCommand(group, "cat", "Print an element as XML",
                                    "qvutil xml cat app.xml Panel/Main\n"
                                    "qvutil xml cat app.xml Panel/Main --inner   # without its own tags",
                                    [catOptions] { return Cat(*catOptions); });
    AddPartArguments(cat, *catOptions);
    cat.add_flag("--inner", catOptions->Inner, "Print the content only, without the element's own tags");
}

} // namespace Quorvin::Tool
