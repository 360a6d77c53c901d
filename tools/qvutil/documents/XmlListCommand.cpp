// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "cli/Console.h"
#include "cli/Report.h"
#include "documents/ElementPath.h"
#include "documents/ElementVisit.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QJsonArray>
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
    if (value.size() <= kShownCharacters)
        return Console::Quoted(value);
    return u"%1... (%2 characters)"_s.arg(Console::Quoted(value.left(kShownCharacters)),
                                          QString::number(value.size()));
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

/// Makes one JSON object of an element and the elements in it, which are added in the order of the document.
class TreeObject
{
public:
    explicit TreeObject(int depth)
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
        QJsonObject object{{u"name"_s, element.Name}, {u"attributes"_s, attributes}};
        if (!element.Text.isEmpty())
            object.insert(u"text"_s, element.Text);
        mOpen.append({object, {}});
    }

    [[nodiscard]] QJsonObject Close()
    {
        CloseDownTo(1);
        return Closed(mOpen.takeLast());
    }

private:
    struct OpenObject
    {
        QJsonObject Object;
        QJsonArray Children;
    };

    void CloseDownTo(int level)
    {
        while (mOpen.size() > level) {
            const QJsonObject object = Closed(mOpen.takeLast());
            mOpen.last().Children.append(object);
        }
    }

    [[nodiscard]] QJsonObject Closed(OpenObject open) const
    {
        if (mOpen.size() < mDepth) // the level of the object
            open.Object.insert(u"children"_s, open.Children);
        return open.Object;
    }

    int mDepth;
    QList<OpenObject> mOpen;
};

ExitCode List(const ListOptions& options)
{
    const ElementPath path(options.Path);
    const InputFile file(options.File);
    TreeObject tree(options.Depth);
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
    Report(options.Json).Answer([&] { return tree.Close(); }, [] {});
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
