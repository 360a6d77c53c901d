// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "cli/Report.h"
#include "documents/DocumentEntries.h"
#include "documents/ElementVisit.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct DiffOptions
{
    QString Left;
    QString Right;
    bool Json = false;
};

QList<Entry> LoadEntries(const QString& argument)
{
    QList<Entry> entries;
    (void)VisitElements(InputFile(argument), ElementPath(), // every document has a root element
                        [&entries](const VisitedElement& element) { entries += EntriesOf(element); });
    return entries;
}

ExitCode Diff(const DiffOptions& options)
{
    RequireOneStandardInput({options.Left, options.Right});
    const QList<Entry> left = LoadEntries(options.Left);
    const QList<Entry> right = LoadEntries(options.Right);
    const QList<EntryDifference> differences = CompareEntries(left, right);
    Report report(options.Json);
    for (const EntryDifference& difference : differences) {
        report.AddItem([&] { return difference.ToJson(); },
                       [&] { Console::PrintLine(difference.ToLines().join(u'\n')); });
    }
    report.Finish();
    return differences.isEmpty() ? ExitCode::Yes : ExitCode::No;
}

} // namespace

void AddSettingsDiffCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DiffOptions>();
    CLI::App& diff = line.AddCommand(group, "diff", "Compare the contents of two settings files",
                                     "qvutil settings diff app.xml backup/app.xml\n"
                                     "qvutil settings diff app.xml backup/app.xml --json | jq length",
                                     [options] { return Diff(*options); });
    AddExplanation(diff,
                   "Ignores comments, white space between elements, and the order of attributes and of\n"
                   "elements with different names. Siblings with the same name are compared in order.");
    AddText(diff, "FILE", options->Left, "First settings file; - for standard input")->required();
    AddText(diff, "OTHER", options->Right, "Second settings file; - for standard input")->required();
    AddJsonFlag(diff, options->Json);
}

} // namespace Quorvin::Tool
