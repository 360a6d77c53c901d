// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "cli/Console.h"
#include "cli/Groups.h"
#include "documents/DocumentFile.h"
#include "documents/ValueCommands.h"

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {

void AddPartArguments(CLI::App& command, PartOptions& options)
{
    AddText(command, "FILE", options.File, "Document to read; - for standard input")->required();
    AddText(command, "PATH", options.Path,
            "Element, as names from the root joined by '/'; the root if not given");
    AddJsonFlag(command, options.Json);
}

bool OpenPart(XmlFiler& filer, const PartOptions& options)
{
    filer.TranslateEnabled = false;
    const InputFile file(options.File);
    LoadDocument(filer, file);
    if (filer.MoveToNode(options.Path))
        return true;
    Console::Complain(file.Name(), u"there is no element %1"_s.arg(options.Path));
    return false;
}

void AddXmlCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("xml", "Read and write values in XML documents");
    AddGetCommand(line, group);
    AddSetCommand(line, group, MissingFile::IsError, "Root");
    AddXmlListCommand(line, group);
    AddXmlCatCommand(line, group);
}

} // namespace Quorvin::Tool
