// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/ValueCommands.h"

#include "cli/Console.h"
#include "documents/DocumentChange.h"
#include "documents/ElementPath.h"

#include <QDomElement>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct DeleteOptions : ChangeOptions
{
    QString Path;
    QString Name;
};

ExitCode Delete(const DeleteOptions& options)
{
    const ElementPath path(options.Path);
    DocumentChange change(options);
    if (!path.MoveToOrComplain(change.Filer(), change.Name()))
        return ExitCode::No;
    QDomElement element = change.Filer().GetCurrentNode().toElement();
    if (!options.Name.isEmpty()) {
        if (!HasAttributeOrComplain(element, options.Name, change.Name()))
            return ExitCode::No;
        element.removeAttribute(options.Name);
    } else if (element.parentNode().isDocument()) {
        throw UsageFailure(u"the root element cannot be deleted"_s);
    } else {
        change.Filer().DeleteNode();
    }
    return change.Finish();
}

} // namespace

bool HasAttributeOrComplain(const QDomElement& element, const QString& name, const QString& file)
{
    if (element.hasAttribute(name))
        return true;
    Console::ReportError(file, u"%1 has no attribute %2"_s.arg(ElementPath::Of(element), name));
    return false;
}

void AddDeleteCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DeleteOptions>();
    const std::string name = "qvutil " + group.get_name() + " delete ";
    CLI::App& remove = line.AddCommand(
        group, "delete", "Delete one value, or an element and everything in it",
        name + "app.xml Panel/Main Width\n" + name + "app.xml List/Item[2]        # the second Item in List\n"
            + name + "app.xml Panel --dry-run     # show what would change",
        [options] { return Delete(*options); });
    AddChangeArguments(remove, *options);
    AddText(remove, "PATH", options->Path, kPathDescription)->required();
    AddText(remove, "NAME", options->Name, "Name of one value; default: the whole element");
}

} // namespace Quorvin::Tool
