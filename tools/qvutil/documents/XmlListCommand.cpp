// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "cli/Console.h"
#include "cli/JsonStream.h"
#include "cli/TextWidth.h"
#include "documents/ElementPath.h"
#include "documents/ElementVisit.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::kMaxElementDepth;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kShownCharacters = 100;

struct ListOptions : PartOptions
{
    int Depth = kMaxElementDepth; // deeper documents do not load
};

// People read the tree, so long values, such as pictures, are truncated.
QString Shortened(const QString& value)
{
    const QString start = FirstColumns(value, kShownCharacters);
    return start.size() == value.size() ? Console::Quoted(value)
                                        : Console::Quoted(start) + u"... (%1 characters)"_s.arg(value.size());
}

void PrintElement(const VisitedElement& element, int depth)
{
    if (element.Level > depth)
        return;
    QString line = QString(qsizetype{2} * element.Level, u' ') + element.Name;
    for (auto it = element.Attributes.cbegin(); it != element.Attributes.cend(); ++it)
        line += u' ' + it.key() + u'=' + Shortened(it.value());
    if (!element.Text.isEmpty())
        line += u": "_s + Shortened(element.Text);
    if (element.Level == depth && element.HasElements)
        line += u" ..."_s;
    Console::PrintLine(line);
}

/// Prints an element and the elements in it as one JSON object, in the order of the document.
class JsonTree
{
public:
    explicit JsonTree(int depth)
        : mDepth(depth)
    { }

    void Add(const VisitedElement& element)
    {
        if (element.Level > mDepth)
            return;
        CloseDownTo(element.Level);
        QJsonObject attributes;
        for (auto it = element.Attributes.cbegin(); it != element.Attributes.cend(); ++it)
            attributes.insert(it.key(), it.value());
        mStream.BeginObject();
        mStream.AddName(u"attributes"_s);
        mStream.AddValue(attributes);
        if (element.Level < mDepth) {
            mStream.AddName(u"children"_s);
            mStream.BeginArray();
        }
        mOpen.append({.Name = element.Name, .Text = element.Text});
    }

    void Close()
    {
        CloseDownTo(0);
        mStream.Finish();
    }

private:
    struct OpenElement
    {
        QString Name;
        QString Text;
    };

    void CloseDownTo(int level)
    {
        while (mOpen.size() > level) {
            const OpenElement element = mOpen.takeLast();
            if (mOpen.size() < mDepth) // then it has the member "children"
                mStream.EndArray();
            mStream.AddName(u"name"_s);
            mStream.AddValue(element.Name);
            if (!element.Text.isEmpty()) {
                mStream.AddName(u"text"_s);
                mStream.AddValue(element.Text);
            }
            mStream.EndObject();
        }
    }

    int mDepth;
    QList<OpenElement> mOpen;
    JsonStream mStream;
};

ExitCode List(const ListOptions& options)
{
    const ElementPath path(options.Path);
    const InputFile file(options.File);
    JsonTree tree(options.Depth);
    const bool isThere = VisitElements(file, path, [&](const VisitedElement& element) {
        if (options.Json)
            tree.Add(element);
        else
            PrintElement(element, options.Depth);
    });
    if (!isThere) {
        path.Complain(file);
        return ExitCode::No;
    }
    if (options.Json)
        tree.Close();
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
              "Maximum number of levels below the element; default: all")
        ->type_name("LEVELS");
}

} // namespace Quorvin::Tool
