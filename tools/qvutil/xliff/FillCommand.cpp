// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Difference.h"
#include "xliff/CommandSupport.h"
#include "xliff/SourceText.h"
#include "xliff/XliffDocument.h"

#include <QFileInfo>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct FillOptions
{
    QStringList Files;
    QString Output;
    bool Pseudo = false;
    bool All = false;
    bool DryRun = false;
};

/// Throws Failure if the output is the input or contains translations, which would be lost.
void CheckReplaced(const QString& input, const QString& output)
{
    const QFileInfo file(output);
    if (!file.exists())
        return;
    if (file.canonicalFilePath() == QFileInfo(input).canonicalFilePath())
        throw UsageFailure(u"--all needs an --output that is not the input file"_s);
    const XliffDocument xliff{InputFile(output)};
    const QList<XliffUnit>& units = xliff.GetUnits();
    const auto isTranslated
        = [&xliff](const XliffUnit& unit) { return xliff.HasTarget(unit) && !unit.IsFilledIn(); };
    if (std::any_of(units.cbegin(), units.cend(), isTranslated))
        throw Failure(output, u"contains translations that --all would replace; delete the file first"_s);
}

ExitCode FillFile(const QString& name, const FillOptions& options)
{
    if (options.All)
        CheckReplaced(name, options.Output);
    const InputFile file(name);
    XliffDocument xliff(file);
    xliff.RequireChangeable();
    int filled = 0;
    int left = 0;
    for (const XliffUnit& unit : xliff.GetUnits()) {
        if (!options.All && unit.GetProgress() != UnitProgress::Empty)
            continue;
        if (unit.Source.isEmpty() || !(options.All || xliff.IsTargetBlank(unit))) {
            ++left;
            continue;
        }
        xliff.SetTarget(unit, options.Pseudo ? PseudoTranslate(unit.Source) : unit.Source,
                        u"needs-translation"_s);
        ++filled;
    }
    const QString output = options.Output.isEmpty() ? name : options.Output;
    if (options.DryRun)
        return PrintDifference(output, ReadIfExists(output), xliff.GetContent(output));
    if (xliff.IsChanged() || !options.Output.isEmpty())
        xliff.Save(output);
    QString summary = u"%1: %2 of %3 filled"_s.arg(output, QString::number(filled),
                                                   Count(xliff.GetUnits().size(), u"target"_s));
    if (left > 0)
        summary += u", %1 skipped (no source, or markup in the target)"_s.arg(left);
    Console::PrintLine(summary);
    return ExitCode::Yes;
}

ExitCode Fill(const FillOptions& options)
{
    RequireOutputFile(options.Output);
    if (options.Files.size() > 1 && !options.Output.isEmpty())
        throw UsageFailure(u"--output takes one XLIFF file"_s);
    if (options.Files.contains("-"_L1) && options.Output.isEmpty())
        throw UsageFailure(u"standard input needs --output"_s);
    if (options.All && (!options.Pseudo || options.Output.isEmpty()))
        throw UsageFailure(u"--all needs --pseudo and --output"_s);
    auto filled = ExitCode::Yes;
    const ExitCode code = ForEachFile(
        options.Files, [&](const QString& file) { filled = std::max(filled, FillFile(file, options)); });
    return std::max(code, filled);
}

} // namespace

void AddXliffFillCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<FillOptions>();
    CLI::App& command = line.AddCommand(
        group, "fill", "Fill empty targets with the source text or a pseudo-translation",
        "qvutil xliff fill de.xlf                          # show source texts instead of ids\n"
        "qvutil xliff fill --pseudo de.xlf -o pseudo.xlf   # try the program before it is translated\n"
        "qvutil xliff fill --pseudo --all de.xlf -o x.xlf  # the same if it is already translated",
        [options] { return Fill(*options); });
    AddTexts(command, "XLIFF", options->Files, "XLIFF files; changed in place")->required();
    command.add_flag("--pseudo", options->Pseudo,
                     "Fill in a pseudo-translation: the source text with accents, lengthened, in brackets");
    command.add_flag("--all", options->All, "With --pseudo and --output: also replace translations");
    AddText(command, "--output,-o", options->Output, "Write to this file instead")->type_name("FILE");
    AddDryRunFlag(command, options->DryRun);
}

} // namespace Quorvin::Tool
