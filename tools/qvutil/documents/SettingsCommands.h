// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_DOCUMENTS_SETTINGSCOMMANDS_H
#define QVUTIL_TOOL_DOCUMENTS_SETTINGSCOMMANDS_H

namespace CLI {
class App;
} // namespace CLI

namespace Quorvin::Tool {

class CommandLine;

// The commands of `qvutil settings`, in the order of its help, after those of ValueCommands.h.
void AddSettingsListCommand(CommandLine& line, CLI::App& group);
void AddSettingsDiffCommand(CommandLine& line, CLI::App& group);
void AddSettingsCheckCommand(CommandLine& line, CLI::App& group);
void AddSettingsWatchCommand(CommandLine& line, CLI::App& group);
void AddSettingsExportCommand(CommandLine& line, CLI::App& group);
void AddSettingsImportCommand(CommandLine& line, CLI::App& group);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DOCUMENTS_SETTINGSCOMMANDS_H
