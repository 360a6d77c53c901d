// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCommands.h"

#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/OfferedValues.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

CLI::App& AddGridCommand(CommandLine& line, CLI::App& group, const std::string& name,
                         const std::string& description, const std::string& examples, GridOptions& options)
{
    CLI::App& command = line.AddCommand(group, name, description, examples, {});
    AddText(command, "GRID", options.Grid, "Name of the grid");
    AddJsonFlag(command, options.Json);
    return command;
}

void RequireGridName(const QString& grid)
{
    if (grid.isEmpty())
        throw UsageFailure(u"the name of the grid is empty"_s);
}

ExitCode ReportMissingGrid(const GridSnapshot& snapshot)
{
    QString reason = u"there is no such grid in %1"_s.arg(QDir::tempPath());
    if (snapshot.Exists())
        reason += u", but one has left stale files behind: see qvutil grid show"_s;
    Console::ReportError(u"grid %1"_s.arg(snapshot.Name), reason);
    return ExitCode::No;
}

void AddGridCommands(CommandLine& line)
{
    OfferValues(u"grids"_s, &FindGrids);
    CLI::App& group = line.AddGroup("grid", "Inspect grids of processes that find each other");
    AddGridListCommand(line, group);
    AddGridShowCommand(line, group);
    AddGridWatchCommand(line, group);
    AddGridCleanCommand(line, group);
}

} // namespace Quorvin::Tool
