// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Groups.h"

int main(int argc, char* argv[])
{
    using namespace Quorvin::Tool;

    CommandLine line;
    AddXmlCommands(line);
    AddSettingsCommands(line);
    AddXliffCommands(line);
    AddExprCommands(line);
    AddIpcCommands(line);
    AddMessageCommands(line);
    AddGridCommands(line);
    AddLocaleCommands(line);
    AddPathCommands(line);
    AddFilesCommands(line);
    AddHashCommand(line);
    AddHelpCommand(line);
    AddCompletionCommand(line);
    AddManualCommand(line);
    return static_cast<int>(line.Run(argc, argv));
}
