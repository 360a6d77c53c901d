// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Difference.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/PlaceList.h"
#include "xliff/XliffRepair.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct RepairOptions
{
    QStringList Files;
    QString Output;
    bool Approve = false;
    bool DryRun = false;
    bool Json = false;
};

class RepairCommand
{
public:
    explicit RepairCommand(const RepairOptions& options)
        : mOptions(options)
        , mReport(options.Json)
    { }

    ExitCode Run()
    {
        RequireOutputFile(mOptions.Output);
        if (mOptions.Files.size() > 1 && !mOptions.Output.isEmpty())
            throw UsageFailure(u"--output takes one XLIFF file"_s);
        if (mOptions.Files.contains("-"_L1) && mOptions.Output.isEmpty())
            throw UsageFailure(u"standard input needs --output"_s);
        const ExitCode code = ForEachFile(mOptions.Files, [this](const QString& file) { RepairFile(file); });
        mReport.Finish();
        return std::max(code, mAnswer);
    }

private:
    void RepairFile(const QString& name)
    {
        XliffDocument xliff{InputFile(name)};
        xliff.RequireChangeable();
        const QList<RepairNote> notes = RepairXliff(xliff, mOptions.Approve);
        const QString output = mOptions.Output.isEmpty() ? name : mOptions.Output;
        const bool isWanted = xliff.IsChanged() || !mOptions.Output.isEmpty();
        const bool isWritten = isWanted && !mOptions.DryRun;
        if (isWritten)
            xliff.Save(output);
        const bool differs = isWanted && mOptions.DryRun && ShowDifference(xliff, output, !mOptions.Json);
        const bool isAnyLeft
            = std::any_of(notes.cbegin(), notes.cend(), [](const RepairNote& note) { return note.IsLeft; });
        if (isAnyLeft || differs)
            mAnswer = ExitCode::No;
        mReport.AddItem([&] { return ToJson(xliff, output, isWritten, notes); },
                        [&] {
                            const QString outcome = isWritten ? u"; written"_s
                                : differs                     ? u"; would change"_s
                                                              : QString();
                            Print(xliff, output, notes, outcome);
                        });
    }

    static void Print(const XliffDocument& xliff, const QString& output, const QList<RepairNote>& notes,
                      const QString& outcome)
    {
        QList<PlaceLine> lines;
        qsizetype left = 0;
        for (const RepairNote& note : notes) {
            lines.append({xliff.GetName(), note.Where, note.What + ": "_L1 + note.Why, note.Shared, u"unit"_s,
                          note.Source, note.Kind.toString(), note.IsLeft ? u"left: "_s : QString()});
            left += note.IsLeft ? 1 : 0;
        }
        PrintPlaceLines(lines);
        QString summary = output + ": "_L1;
        summary += notes.isEmpty() ? u"nothing to repair"_s : Count(notes.size() - left, u"change"_s);
        if (left > 0)
            summary += u", %1 left to fix by hand"_s.arg(left);
        Console::PrintLine(summary + outcome);
    }

    static QJsonArray ToJson(const QList<RepairNote>& notes, bool isLeft)
    {
        QJsonArray array;
        for (const RepairNote& note : notes) {
            if (note.IsLeft != isLeft)
                continue;
            QJsonObject object = PlaceJson(note.Where);
            object.insert(u"kind"_s, note.Kind.toString());
            object.insert(u"what"_s, note.What);
            object.insert(u"why"_s, note.Why);
            array.append(object);
        }
        return array;
    }

    static QJsonObject ToJson(const XliffDocument& xliff, const QString& output, bool isWritten,
                              const QList<RepairNote>& notes)
    {
        return {{u"file"_s, xliff.GetName()},         {u"output"_s, output},
                {u"changed"_s, xliff.IsChanged()},    {u"written"_s, isWritten},
                {u"changes"_s, ToJson(notes, false)}, {u"left"_s, ToJson(notes, true)}};
    }

    const RepairOptions& mOptions;
    Report mReport;
    ExitCode mAnswer = ExitCode::Yes;
};

} // namespace

void AddXliffRepairCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<RepairOptions>();
    CLI::App& command = line.AddCommand(
        group, "repair", "Fix units that the library does not find, and list the changes",
        "qvutil xliff repair de.xlf                     # from a translation agency, with a header and "
        "groups\n"
        "qvutil xliff repair de.xlf --dry-run           # see the changes first\n"
        "qvutil xliff repair de.xlf --output ready.xlf  # leave de.xlf as it is\n"
        "qvutil xliff repair de.xlf --approve           # Qt Linguist shows the same progress as stat",
        [options] { return RepairCommand(*options).Run(); });
    AddExplanation(
        command,
        "Moves headers and other elements after the body, and units in groups into the body. Joins file\n"
        "elements with the same file name. Replaces ids with the digests of the sources. Converts targets\n"
        "with inline elements to plain text. The exit code is 1 if something is left to fix by hand.");
    AddTexts(command, "XLIFF", options->Files, "XLIFF files; changed in place")->required();
    AddText(command, "--output,-o", options->Output, "Write to this file instead")->type_name("FILE");
    command.add_flag(
        "--approve", options->Approve,
        "Also set approved=\"yes\" for finished targets, which other programs use to show progress");
    AddDryRunFlag(command, options->DryRun);
    AddJsonFlag(command, options->Json);
}

} // namespace Quorvin::Tool
