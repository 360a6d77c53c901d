// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "documents/DocumentEntries.h"
#include "documents/DocumentFile.h"

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

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
    const InputFile file(options.File);
    XmlFiler filer;
    LoadDocument(filer, file);
    if (!filer.MoveToNode(options.Path)) {
        Console::Complain(file.Name(), u"there is no element %1"_s.arg(options.Path));
        return ExitCode::No;
    }
    Report report(options.Json);
    const QList<Entry> entries = ListEntries(filer.GetCurrentNode().toElement());
    for (const Entry& entry : entries)
        report.AddItem([&] { return entry.ToJson(); }, [&] { Console::PrintLine(entry.ToText()); });
    report.Finish();
    return ExitCode::Yes;
}

} // namespace

void AddSettingsListCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& list = line.AddCommand(group, "list", "Print all settings, one a line",
                                     "qvutil settings list app.xml\n"
                                     "qvutil settings list app.xml Panel/Main --json",
                                     [options] { return List(*options); });
    AddText(list, "FILE", options->File, "Settings file to read; - for standard input")->required();
    AddText(list, "PATH", options->Path,
            "Element, as names from the root joined by '/'; the root if not given");
    AddJsonFlag(list, options->Json);
}

} // namespace Quorvin::Tool
