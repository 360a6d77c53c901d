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

struct RenameOptions : ChangeOptions
{
    QString Path;
    QStringList Names; ///< the old name, if an attribute is renamed, and the new name
};

void RenameAttribute(QDomElement element, const QString& name, const QString& newName, const QString& file)
{
    if (name == newName)
        return;
    if (element.hasAttribute(newName)) {
        throw Failure(file, u"%1 already has an attribute %2"_s.arg(ElementPath::Of(element), newName));
    }
    const QString value = element.attribute(name);
    element.removeAttribute(name);
    element.setAttribute(newName, value);
}

ExitCode Rename(const RenameOptions& options)
{
    if (options.Names.size() > 2)
        throw UsageFailure(u"unexpected argument '%1'"_s.arg(options.Names.at(2)));
    const ElementPath path(options.Path);
    CheckXmlName(options.Names.back());
    DocumentChange change(options);
    if (!path.MoveToOrComplain(change.Filer(), change.Name()))
        return ExitCode::No;
    QDomElement element = change.Filer().GetCurrentNode().toElement();
    if (options.Names.size() == 1) {
        element.setTagName(options.Names.back());
    } else {
        if (!HasAttributeOrComplain(element, options.Names.front(), change.Name()))
            return ExitCode::No;
        RenameAttribute(element, options.Names.front(), options.Names.back(), change.Name());
    }
    return change.Finish();
}

} // namespace

void AddXmlRenameCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<RenameOptions>();
    CLI::App& command
        = line.AddCommand(group, "rename", "Rename an element or an attribute",
                          "qvutil xml rename app.xml Panel/Main Centre        # the element\n"
                          "qvutil xml rename app.xml Panel/Main Width Breadth # its attribute Width",
                          [options] { return Rename(*options); });
    AddChangeArguments(command, *options);
    AddText(command, "PATH", options->Path, kPathDescription)->required();
    AddTexts(command, "NEWNAME", options->Names, "Name of the attribute, if one is renamed, and the new name")
        ->required()
        ->type_name("[NAME] NEWNAME");
}

} // namespace Quorvin::Tool
