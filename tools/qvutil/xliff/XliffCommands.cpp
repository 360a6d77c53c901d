// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Groups.h"

namespace Quorvin::Tool {

void AddXliffCommands(CommandLine& line)
{
    CLI::App& group
        = line.AddGroup("xliff", "Translate documents: create, check, repair, fill and merge XLIFF files");
    AddXliffExtractCommand(line, group);
    AddXliffCheckCommand(line, group);
    AddXliffRepairCommand(line, group);
    AddXliffFillCommand(line, group);
    AddXliffMergeCommand(line, group);
    AddXliffListCommand(line, group);
    AddXliffStatCommand(line, group);
    AddXliffShowCommand(line, group);
}

} // namespace Quorvin::Tool
