// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "cli/Table.h"
#include "grid/GridReport.h"
#include "grid/GridSnapshot.h"

#include <QDir>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

ExitCode ListGrids(bool json)
{
    QJsonArray array;
    QList<QStringList> rows = {{u"grid"_s, u"alive"_s, u"dead"_s, u"leftovers"_s}};
    for (const QString& grid : FindGrids()) {
        const GridSnapshot snapshot = InspectGrid(grid);
        const qsizetype dead = snapshot.DeadCount();
        const qsizetype alive = snapshot.Registry.Members.size() - dead;
        array.append(QJsonObject{{u"grid"_s, grid},
                                 {u"alive"_s, alive},
                                 {u"dead"_s, dead},
                                 {u"leftovers"_s, snapshot.StaleItems.size()}});
        rows.append({Console::Visible(grid), QString::number(alive), QString::number(dead),
                     QString::number(snapshot.StaleItems.size())});
    }
    Report(json).Answer([&] { return array; },
                        [&] {
                            if (array.isEmpty())
                                Console::PrintLine(u"no grids in %1"_s.arg(QDir::tempPath()));
                            else
                                PrintTable(rows);
                        });
    return array.isEmpty() ? ExitCode::No : ExitCode::Yes;
}

ExitCode List(const GridOptions& options)
{
    if (options.Grid.isNull())
        return ListGrids(options.Json);
    RequireGridName(options.Grid);
    const GridSnapshot snapshot = InspectGrid(options.Grid);
    if (!snapshot.Registry.Exists)
        return ReportMissingGrid(snapshot);
    Report(options.Json).Answer([&] { return MembersToJson(snapshot); }, [&] { PrintMembers(snapshot); });
    return ExitCode::Yes;
}

} // namespace

void AddGridListCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<GridOptions>();
    CLI::App& list = AddGridCommand(line, group, "list", "List the members of a grid, or all grids",
                                    "qvutil grid list\n"
                                    "qvutil grid list desk\n"
                                    "qvutil grid list desk --json | jq '.[] | select(.alive).processId'",
                                    *options);
    list.get_option("GRID")->description("Name of the grid; default: all grids");
    line.SetAction(list, [options] { return List(*options); });
}

} // namespace Quorvin::Tool
