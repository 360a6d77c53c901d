// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GROUPS_H
#define QVUTIL_TOOL_GROUPS_H

namespace Quorvin::Tool {

class CommandLine;

// One function for each group of commands. main calls them in the order in which help shows the groups.
void AddXmlCommands(CommandLine& line);
void AddSettingsCommands(CommandLine& line);
void AddXliffCommands(CommandLine& line);
void AddExprCommands(CommandLine& line);
void AddIpcCommands(CommandLine& line);
void AddMessageCommands(CommandLine& line);
void AddGridCommands(CommandLine& line);
void AddLocaleCommands(CommandLine& line);
void AddPathCommands(CommandLine& line);
void AddFilesCommands(CommandLine& line);
void AddHashCommand(CommandLine& line);
void AddHelpCommand(CommandLine& line);

// The build runs these commands to create the completion scripts and the manual page, which are installed
// with the tool. Both commands describe the tool's own commands and options, so the files are always up to
// date.
void AddCompletionCommand(CommandLine& line);
void AddManualCommand(CommandLine& line);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GROUPS_H
