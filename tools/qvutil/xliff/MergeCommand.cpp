// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Difference.h"
#include "cli/InputFile.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/XliffMerge.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct MergeCommandOptions
{
    QString File;
    QStringList Others;
    QString Output;
    QString Prefer;
    bool Reuse = false;
    bool DryRun = false;
    bool Json = false;
};

void Print(const MergeNote& note, const QString& file)
{
    if (!note.IsConflict && !note.IsPartial)
        return;
    const QString other = PlaceText(note.OtherFile, note.OtherPlace);
    const QString before = Console::Quoted(note.Before);
    const QString offered = Console::Quoted(note.Other);
    const QString text = note.IsPartial
        ? u"not taken from %1: its target contains markup for text that is not in the file"_s.arg(other)
        : note.IsTaken ? u"%1 from %2 replaces %3"_s.arg(offered, other, before)
                       : u"%1 is kept; %2 has %3"_s.arg(before, other, offered);
    Console::PrintLine(u"%1: %2: %3 [%4]"_s.arg(PlaceText(file, note.Where), Console::Quoted(note.Source),
                                                text, note.IsPartial ? u"left"_s : u"conflict"_s));
}

QJsonObject ToJson(const MergeNote& note)
{
    QJsonObject object = PlaceJson(note.Where);
    object.insert(u"source"_s, note.Source);
    object.insert(u"before"_s, note.Before);
    object.insert(u"other"_s, note.Other);
    object.insert(u"otherFile"_s, note.OtherFile);
    object.insert(u"otherLine"_s, note.OtherPlace.Line);
    object.insert(u"conflict"_s, note.IsConflict);
    object.insert(u"taken"_s, note.IsTaken);
    object.insert(u"partial"_s, note.IsPartial);
    return object;
}

/// Throws UsageFailure if the output would replace one of the other files.
void CheckOutput(const MergeCommandOptions& options)
{
    const QString output = QFileInfo(options.Output).canonicalFilePath();
    for (const QString& other : options.Others) {
        if (!output.isEmpty() && QFileInfo(other).canonicalFilePath() == output)
            throw UsageFailure(u"--output must not be %1, from which translations are taken"_s.arg(other));
    }
}

ExitCode Merge(const MergeCommandOptions& options)
{
    if (!options.Prefer.isEmpty() && options.Prefer != "mine"_L1 && options.Prefer != "other"_L1)
        throw UsageFailure(u"--prefer must be mine or other, not '%1'"_s.arg(options.Prefer));
    if (options.File == "-"_L1 && options.Output.isEmpty())
        throw UsageFailure(u"standard input needs --output"_s);
    RequireOneStandardInput(options.Others + QStringList{options.File});
    RequireOutputFile(options.Output);
    CheckOutput(options);
    XliffDocument xliff{InputFile(options.File)};
    xliff.RequireChangeable();
    std::vector<std::unique_ptr<XliffDocument>> documents;
    QList<const XliffDocument*> others;
    for (const QString& file : options.Others) {
        documents.push_back(std::make_unique<XliffDocument>(InputFile(file)));
        documents.back()->RequireChangeable();
        others.append(documents.back().get());
    }
    const MergeResult result = MergeXliff(xliff, others, {options.Prefer == "other"_L1, options.Reuse});

    const QString output = options.Output.isEmpty() ? options.File : options.Output;
    const bool isWanted = xliff.IsChanged() || !options.Output.isEmpty();
    const bool isWritten = isWanted && !options.DryRun;
    if (isWritten)
        xliff.Save(output);
    const bool differs = isWanted && options.DryRun && ShowDifference(xliff, output, !options.Json);

    const auto number = [&](const auto& condition) {
        return std::count_if(result.Notes.cbegin(), result.Notes.cend(), condition);
    };
    const qsizetype left = number([](const MergeNote& note) { return note.IsPartial; });
    const qsizetype conflicts
        = number([](const MergeNote& note) { return note.IsConflict && !note.IsPartial; });
    Report(options.Json)
        .Answer(
            [&] {
                QJsonArray notes;
                for (const MergeNote& note : result.Notes)
                    notes.append(ToJson(note));
                return QJsonObject{
                    {u"file"_s, xliff.GetName()}, {u"output"_s, output},
                    {u"written"_s, isWritten},    {u"taken"_s, result.Taken},
                    {u"conflicts"_s, conflicts},  {u"left"_s, left},
                    {u"units"_s, notes},          {u"unknown"_s, QJsonArray::fromStringList(result.Unknown)}};
            },
            [&] {
                for (const MergeNote& note : result.Notes)
                    Print(note, xliff.GetName());
                QString summary = u"%1: %2 taken, %3"_s.arg(output, Count(result.Taken, u"translation"_s),
                                                            Count(conflicts, u"conflict"_s));
                if (left > 0)
                    summary += u", %1 left to merge by hand"_s.arg(left);
                if (!result.Unknown.isEmpty())
                    summary += u", %1 only in other files"_s.arg(Count(result.Unknown.size(), u"text"_s));
                summary += isWritten ? "; written"_L1 : differs ? "; would change"_L1 : "; unchanged"_L1;
                Console::PrintLine(summary);
            });
    const bool isUndecided = (conflicts > 0 && options.Prefer.isEmpty()) || left > 0;
    return isUndecided || differs ? ExitCode::No : ExitCode::Yes;
}

} // namespace

void AddXliffMergeCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<MergeCommandOptions>();
    CLI::App& command = line.AddCommand(
        group, "merge", "Add translations from other XLIFF files",
        "qvutil xliff merge de.xlf de-old.xlf                  # keeps the translations in de.xlf\n"
        "qvutil xliff merge de.xlf anna.xlf --prefer other     # Anna's translations replace those in "
        "de.xlf\n"
        "qvutil xliff merge de.xlf de-old.xlf -o merged.xlf\n"
        "qvutil xliff merge de.xlf de-old.xlf --dry-run        # see the changes first",
        [options] { return Merge(*options); });
    AddExplanation(
        command,
        "A text without a translation gets the translation of the same text, in the same document and\n"
        "language, of the first OTHER that has one. If the files have different translations, the conflict "
        "is listed and\n"
        "XLIFF keeps its translation. The exit code is 1 if there are conflicts without --prefer, or if\n"
        "a translation contains markup for text that is not in the file.");
    AddText(command, "XLIFF", options->File, "XLIFF file to update; changed in place")->required();
    AddTexts(command, "OTHER", options->Others, "XLIFF files to take translations from")->required();
    AddText(command, "--prefer", options->Prefer,
            "Resolve conflicts: keep the translation in XLIFF (mine), or take the one in OTHER (other)")
        ->type_name("mine|other");
    command.add_flag("--reuse", options->Reuse,
                     "Also take translations of the same text in other documents, marked for review");
    AddText(command, "--output,-o", options->Output, "Write to this file instead")->type_name("FILE");
    AddDryRunFlag(command, options->DryRun);
    AddJsonFlag(command, options->Json);
}

} // namespace Quorvin::Tool
