// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "documents/DocumentEntries.h"
#include "documents/ElementPath.h"
#include "documents/ElementVisit.h"

#include <memory>

namespace Quorvin::Tool {
namespace {

struct ListOptions
{
    QString File;
    QString Path;
    bool Json = false;
};

ExitCode List(const ListOptions& options)
{
    const ElementPath path(options.Path);
    const InputFile file(options.File);
    Report report(options.Json, Report::Streamed);
    const bool isThere = VisitElements(file, path, [&report](const VisitedElement& element) {
        for (const Entry& entry : EntriesOf(element))
            report.AddItem([&] { return entry.ToTypedJson(); }, [&] { Console::PrintLine(entry.ToText()); });
    });
    if (!isThere) {
        path.Complain(file);
        return ExitCode::No;
    }
    report.Finish();
    return ExitCode::Yes;
}

} // namespace

void AddSettingsListCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& list = line.AddCommand(group, "list", "Print all settings, one per line",
                                     "qvutil settings list app.xml\n"
                                     "qvutil settings list app.xml Panel/Main --json",
                                     [options] { return List(*options); });
    AddText(list, "FILE", options->File, "Settings file to read; - for standard input")->required();
    AddText(list, "PATH", options->Path,
            "Path of the element: names below the root, joined by '/'; Item[2] is the second Item; default: "
            "the root");
    AddJsonFlag(list, options->Json);
}

} // namespace Quorvin::Tool
