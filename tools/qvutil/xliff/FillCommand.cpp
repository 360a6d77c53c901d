// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Difference.h"
#include "xliff/CommandSupport.h"
#include "xliff/SourceText.h"
#include "xliff/XliffDocument.h"

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
    bool DryRun = false;
};

ExitCode FillFile(const QString& name, const FillOptions& options)
{
    const InputFile file(name);
    XliffDocument xliff(file);
    int filled = 0;
    int left = 0;
    for (const XliffUnit& unit : xliff.GetUnits()) {
        if (unit.GetProgress() != UnitProgress::Empty)
            continue;
        if (unit.Source.isEmpty() || !xliff.IsTargetBlank(unit)) {
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
        summary += u", %1 left for a person (no source, or markup in the target)"_s.arg(left);
    Console::PrintLine(summary);
    return ExitCode::Yes;
}

ExitCode Fill(const FillOptions& options)
{
    if (options.Files.size() > 1 && !options.Output.isEmpty())
        throw UsageFailure(u"--output takes one XLIFF file"_s);
    if (options.Files.contains("-"_L1) && options.Output.isEmpty())
        throw UsageFailure(u"standard input needs --output"_s);
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
        group, "fill", "Put the source, or a pseudo-translation, into empty targets",
        "qvutil xliff fill de.xlf                          # nobody sees ids while translation goes on\n"
        "qvutil xliff fill --pseudo de.xlf -o pseudo.xlf   # try the program before it is translated",
        [options] { return Fill(*options); });
    AddTexts(command, "XLIFF", options->Files, "XLIFF files; changed in place")->required();
    command.add_flag("--pseudo", options->Pseudo, "Fill in the source with accents, longer and in brackets");
    AddText(command, "--output,-o", options->Output, "Write to this file instead")->type_name("FILE");
    AddDryRunFlag(command, options->DryRun);
}

} // namespace Quorvin::Tool
