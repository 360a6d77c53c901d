// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "documents/DocumentChange.h"
#include "documents/ElementPath.h"
#include "documents/ValueCommands.h"

#include <QDomElement>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct MoveOptions : ChangeOptions
{
    QString Path;
    QStringList NameAndTarget; ///< the name, if an attribute is moved, and the path of the target
    bool Before = false;
    bool After = false;
};

void MoveAttribute(QDomElement element, const QString& name, QDomElement target, const QString& file)
{
    if (element == target)
        return;
    if (target.hasAttribute(name))
        throw Failure(file, u"%1 already has an attribute %2"_s.arg(ElementPath::Of(target), name));
    target.setAttribute(name, element.attribute(name));
    element.removeAttribute(name);
}

void MoveElement(const QDomElement& element, QDomElement target, const MoveOptions& options)
{
    if (element.parentNode().isDocument())
        throw UsageFailure(u"the root element cannot be moved"_s);
    for (QDomNode node = target; !node.isNull(); node = node.parentNode()) {
        if (node == element)
            throw UsageFailure(u"%1 cannot be moved into or beside itself"_s.arg(ElementPath::Of(element)));
    }
    if (!options.Before && !options.After) {
        target.appendChild(element);
        return;
    }
    QDomNode parent = target.parentNode();
    if (parent.isDocument())
        throw UsageFailure(
            u"a document has only one root element: nothing can be moved before or after it"_s);
    if (options.Before)
        parent.insertBefore(element, target);
    else
        parent.insertAfter(element, target);
}

ExitCode Move(const MoveOptions& options)
{
    const bool hasName = options.NameAndTarget.size() > 1;
    if (options.NameAndTarget.size() > 2)
        throw UsageFailure(u"unexpected argument '%1'"_s.arg(options.NameAndTarget.at(2)));
    if (options.Before && options.After)
        throw UsageFailure(u"--before and --after cannot be combined"_s);
    if (hasName && (options.Before || options.After))
        throw UsageFailure(u"attributes have no order: --before and --after are only for elements"_s);
    const ElementPath path(options.Path);
    const ElementPath targetPath(options.NameAndTarget.back());

    DocumentChange change(options);
    if (!targetPath.MoveToOrComplain(change.Filer(), change.Name()))
        return ExitCode::No;
    const QDomElement target = change.Filer().GetCurrentNode().toElement();
    if (!path.MoveToOrComplain(change.Filer(), change.Name()))
        return ExitCode::No;
    const QDomElement element = change.Filer().GetCurrentNode().toElement();
    if (!hasName) {
        MoveElement(element, target, options);
    } else {
        if (!HasAttributeOrComplain(element, options.NameAndTarget.front(), change.Name()))
            return ExitCode::No;
        MoveAttribute(element, options.NameAndTarget.front(), target, change.Name());
    }
    return change.Finish();
}

} // namespace

void AddXmlMoveCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<MoveOptions>();
    CLI::App& command = line.AddCommand(
        group, "move", "Move an element and everything in it, or an attribute, to another element",
        "qvutil xml move app.xml Panel/Main Window          # becomes the last element in Window\n"
        "qvutil xml move app.xml List/Item[3] List/Item --before\n"
        "qvutil xml move app.xml Panel/Main Width Window    # moves the attribute Width",
        [options] { return Move(*options); });
    AddExplanation(command, "Both paths are resolved before anything changes. TARGET must exist.");
    AddChangeArguments(command, *options);
    AddText(command, "PATH", options->Path, kPathDescription)->required();
    AddTexts(command, "TARGET", options->NameAndTarget,
             "Name of the attribute, if one is moved, and path of the element to move into")
        ->required()
        ->type_name("[NAME] TARGET");
    command.add_flag("--before", options->Before, "Move the element before TARGET, not into it");
    command.add_flag("--after", options->After, "Move the element after TARGET, not into it");
}

} // namespace Quorvin::Tool
