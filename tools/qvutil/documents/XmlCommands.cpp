// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "cli/Groups.h"
#include "cli/OfferedValues.h"
#include "documents/DocumentPart.h"
#include "documents/ElementPath.h"
#include "documents/TypedValue.h"
#include "documents/ValueCommands.h"

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {

void AddPartArguments(CLI::App& command, PartOptions& options)
{
    AddText(command, "FILE", options.File, "Document to read; - for standard input")->required();
    AddText(command, "PATH", options.Path,
            "Path of the element: names below the root, joined by '/'; Item[2] is the second Item; default: "
            "the root");
    AddJsonFlag(command, options.Json);
}

bool OpenPart(XmlFiler& filer, const PartOptions& options)
{
    const ElementPath path(options.Path);
    filer.TranslateEnabled = false;
    const InputFile file(options.File);
    LoadPart(filer, file, path, PartContent::Everything);
    if (path.MoveTo(filer))
        return true;
    path.Complain(file);
    return false;
}

void AddXmlCommands(CommandLine& line)
{
    OfferValues(u"types"_s, [] { return QString::fromStdString(ValueTypeNames()).split(u", "_s); });
    CLI::App& group = line.AddGroup("xml", "Read and change XML documents");
    AddGetCommand(line, group);
    AddSetCommand(line, group, MissingFile::IsError, "Root");
    AddDeleteCommand(line, group);
    AddXmlRenameCommand(line, group);
    AddXmlMoveCommand(line, group);
    AddXmlFormatCommand(line, group);
    AddXmlListCommand(line, group);
    AddXmlCatCommand(line, group);
}

} // namespace Quorvin::Tool
