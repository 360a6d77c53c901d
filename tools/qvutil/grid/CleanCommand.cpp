// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "grid/GridCleaning.h"
#include "grid/GridReport.h"
#include "grid/GridSnapshot.h"

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct CleanOptions : GridOptions
{
    bool DryRun = false;
};

void PrintCleaning(const GridCleaning& cleaning, bool isDryRun)
{
    for (const StaleItem& item : cleaning.Removed) {
        Console::PrintLine((isDryRun ? u"would remove "_s : u"removed "_s) + Console::Visible(item.ToText()));
    }
    if (cleaning.IsRepaired) {
        Console::PrintLine((isDryRun ? u"would repair"_s : u"repaired"_s)
                           + u" the damaged registry, which keeps the members that can be read"_s);
    }
    if (cleaning.Removed.isEmpty() && !cleaning.IsRepaired)
        Console::PrintLine(u"nothing to remove"_s);
}

QJsonObject ToJson(const CleanOptions& options, const GridCleaning& cleaning)
{
    return {{u"grid"_s, options.Grid},
            {u"dryRun"_s, options.DryRun},
            {u"removed"_s, StaleItemsToJson(cleaning.Removed)},
            {u"kept"_s, StaleItemsToJson(cleaning.Kept)},
            {u"repaired"_s, cleaning.IsRepaired}};
}

ExitCode Clean(const CleanOptions& options)
{
    RequireGridName(options.Grid);
    const GridSnapshot snapshot = InspectGrid(options.Grid);
    if (!snapshot.Exists())
        return ReportMissingGrid(snapshot);
    const GridCleaning cleaning = options.DryRun ? PreviewCleaning(snapshot) : CleanGrid(options.Grid);
    Report(options.Json)
        .Answer([&] { return ToJson(options, cleaning); }, [&] { PrintCleaning(cleaning, options.DryRun); });
    for (const StaleItem& item : cleaning.Kept)
        Console::ReportError(item.Path, u"cannot be removed"_s);
    return cleaning.Kept.isEmpty() ? ExitCode::Yes : ExitCode::Error;
}

} // namespace

void AddGridCleanCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<CleanOptions>();
    CLI::App& clean
        = AddGridCommand(line, group, "clean", "Remove what crashed processes have left behind in a grid",
                         "qvutil grid clean desk --dry-run\n"
                         "qvutil grid clean desk",
                         *options);
    AddExplanation(
        clean,
        "Removes the entries of processes that have ended, socket files on which no process listens,\n"
        "and, if no member is left, the registry and its lock file. Members may join and leave\n"
        "meanwhile, because the command uses their locks.");
    clean.get_option("GRID")->required();
    clean.add_flag("--dry-run", options->DryRun, "Remove nothing, but list what would be removed");
    line.SetAction(clean, [options] { return Clean(*options); });
}

} // namespace Quorvin::Tool
