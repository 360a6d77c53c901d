// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "documents/DocumentFile.h"

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct DeleteOptions
{
    QString File;
    QString Path;
    QString Name;
};

ExitCode Delete(const DeleteOptions& options)
{
    XmlFiler filer;
    LoadDocument(filer, InputFile(options.File));
    if (!filer.MoveToNode(options.Path)) {
        Console::ReportError(options.File, u"there is no element %1"_s.arg(options.Path));
        return ExitCode::No;
    }
    QDomElement element = filer.GetCurrentNode().toElement();
    if (!options.Name.isEmpty()) {
        if (!element.hasAttribute(options.Name)) {
            Console::ReportError(options.File,
                                 u"%1 has no attribute %2"_s.arg(filer.GetCurrentNodePath(), options.Name));
            return ExitCode::No;
        }
        element.removeAttribute(options.Name);
    } else if (element.parentNode().isDocument()) {
        throw UsageFailure(u"the root element cannot be deleted"_s);
    } else {
        filer.DeleteNode();
    }
    SaveDocument(filer, options.File);
    return ExitCode::Yes;
}

} // namespace

void AddSettingsDeleteCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DeleteOptions>();
    CLI::App& remove = line.AddCommand(group, "delete", "Delete a setting, or an element with all below it",
                                       "qvutil settings delete app.xml Panel/Main Width\n"
                                       "qvutil settings delete app.xml Panel",
                                       [options] { return Delete(*options); });
    AddText(remove, "FILE", options->File, "Settings file to change")->required();
    AddText(remove, "PATH", options->Path, "Element, as names from the root joined by '/'")->required();
    AddText(remove, "NAME", options->Name, "Name of one value; the whole element if not given");
}

} // namespace Quorvin::Tool
