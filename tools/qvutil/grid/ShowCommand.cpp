// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/OutputFormat.h"
#include "cli/Report.h"
#include "grid/GridPicture.h"
#include "grid/GridReport.h"
#include "grid/GridSnapshot.h"
#include <qvutil/messaging/GridRegistry_p.h>

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

QJsonObject ToJson(const GridSnapshot& snapshot)
{
    return {{u"grid"_s, snapshot.Name},
            {u"exists"_s, snapshot.Registry.Exists},
            {u"healthy"_s, snapshot.IsHealthy()},
            {u"locked"_s, snapshot.Registry.IsLocked},
            {u"usedBytes"_s, snapshot.Registry.UsedBytes},
            {u"size"_s, Util::Internal::kRegistrySize},
            {u"members"_s, MembersToJson(snapshot)},
            {u"problems"_s, QJsonArray::fromStringList(snapshot.Registry.Problems)},
            {u"leftovers"_s, StaleItemsToJson(snapshot.StaleItems)}};
}

QString Summary(const GridSnapshot& snapshot)
{
    return TitleOf(snapshot)
        + u"; %1 of %2 bytes used"_s.arg(snapshot.Registry.UsedBytes).arg(Util::Internal::kRegistrySize);
}

void PrintIndented(const QStringList& lines)
{
    for (const QString& line : lines)
        Console::PrintLine(u"  "_s + Console::Visible(line));
}

void PrintSnapshot(const GridSnapshot& snapshot)
{
    if (snapshot.Registry.Exists) {
        Console::PrintLine(Summary(snapshot));
        if (!snapshot.Registry.Members.isEmpty()) {
            Console::PrintLine({});
            PrintMembers(snapshot);
        }
    } else {
        Console::PrintLine(u"grid %1: no members"_s.arg(Console::Visible(snapshot.Name)));
    }
    const QStringList problems = ProblemsOf(snapshot);
    if (!problems.isEmpty()) {
        Console::PrintLine(u"\nproblems:"_s);
        PrintIndented(problems);
    }
    if (!snapshot.StaleItems.isEmpty()) {
        Console::PrintLine(u"\nleft behind by crashed processes; `qvutil grid clean` removes it:"_s);
        for (const StaleItem& item : snapshot.StaleItems)
            PrintIndented({item.ToText()});
    }
}

struct ShowOptions : GridOptions
{
    bool Svg = false;
};

ExitCode Show(const ShowOptions& options)
{
    RequireOneFormat(options.Json, options.Svg, u"--svg"_s);
    RequireGridName(options.Grid);
    const GridSnapshot snapshot = InspectGrid(options.Grid);
    if (!snapshot.Exists())
        return ReportMissingGrid(snapshot);
    if (options.Svg)
        Console::Print(GridPicture(snapshot));
    else
        Report(options.Json).Answer([&] { return ToJson(snapshot); }, [&] { PrintSnapshot(snapshot); });
    return snapshot.IsHealthy() ? ExitCode::Yes : ExitCode::No;
}

} // namespace

void AddGridShowCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ShowOptions>();
    CLI::App& show = AddGridCommand(line, group, "show", "Show a grid, its connections and its problems",
                                    "qvutil grid show desk\n"
                                    "qvutil grid show desk --json | jq .leftovers\n"
                                    "qvutil grid show desk --svg > desk.svg",
                                    *options);
    AddExplanation(
        show,
        "The exit code is 0 if the grid is in order, and 1 if members have died or do not listen,\n"
        "crashed processes have left something behind, or the registry is damaged.");
    show.get_option("GRID")->required();
    show.add_flag("--svg", options->Svg, "Print the members and their connections as an SVG picture");
    line.SetAction(show, [options] { return Show(*options); });
}

} // namespace Quorvin::Tool
