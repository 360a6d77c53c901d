// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_GRIDCOMMANDS_H
#define QVUTIL_TOOL_GRID_GRIDCOMMANDS_H

#include "cli/Command.h"
#include "grid/GridSnapshot.h"

#include <QString>

#include <string>

namespace Quorvin::Tool {

// The commands of `qvutil grid`, in the order of its help.
void AddGridListCommand(CommandLine& line, CLI::App& group);
void AddGridShowCommand(CommandLine& line, CLI::App& group);
void AddGridWatchCommand(CommandLine& line, CLI::App& group);
void AddGridCleanCommand(CommandLine& line, CLI::App& group);

struct GridOptions
{
    QString Grid; ///< null if no name is given
    bool Json = false;
};

/// Adds a command with the argument GRID and the flag --json.
CLI::App& AddGridCommand(CommandLine& line, CLI::App& group, const std::string& name,
                         const std::string& description, const std::string& examples, GridOptions& options);
/// Throws UsageFailure if the name is empty.
void RequireGridName(const QString& grid);
/// Reports that there is no such grid. \return the command's exit code
ExitCode ReportMissingGrid(const GridSnapshot& snapshot);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_GRIDCOMMANDS_H
