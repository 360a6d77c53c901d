// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/XliffDocument.h"

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct ListOptions
{
    QStringList Files;
    bool Untranslated = false;
    bool Unfinished = false;
    bool Json = false;
};

bool IsWanted(const XliffDocument& xliff, const XliffUnit& unit, const ListOptions& options)
{
    if (!options.Untranslated && !options.Unfinished)
        return true;
    const bool isTranslated = xliff.HasTarget(unit) && !unit.IsFilledIn();
    const bool isFinished = unit.GetProgress() == UnitProgress::Finished && unit.IsReachable();
    return (options.Untranslated && !isTranslated) || (options.Unfinished && !isFinished);
}

/// Returns a text on one line, escaped reversibly.
QString OneLine(QString text)
{
    return Console::Visible(text.replace(u'\\', "\\\\"_L1));
}

/// Returns the name of the field in which `stat --json` counts a unit.
QString ProgressName(const XliffUnit& unit)
{
    if (!unit.IsReachable())
        return u"unreachable"_s;
    switch (unit.GetProgress()) {
    case UnitProgress::Empty:
        return u"empty"_s;
    case UnitProgress::Unfinished:
        return u"unfinished"_s;
    case UnitProgress::Finished:
        break;
    }
    return u"finished"_s;
}

QJsonObject ToJson(const XliffDocument& xliff, const XliffUnit& unit)
{
    QJsonObject object = PlaceJson(xliff.GetPlace(unit.Element));
    object.insert(u"file"_s, xliff.GetName());
    object.insert(u"original"_s, unit.File < 0 ? QString() : xliff.GetFiles().at(unit.File).Original);
    object.insert(u"id"_s, unit.Id);
    object.insert(u"source"_s, unit.Source);
    object.insert(u"target"_s, unit.WholeTarget);
    object.insert(u"state"_s, unit.State);
    object.insert(u"progress"_s, ProgressName(unit));
    return object;
}

ExitCode List(const ListOptions& options)
{
    Report report(options.Json);
    bool isAny = false;
    const ExitCode code = ForEachFile(options.Files, [&](const QString& file) {
        const XliffDocument xliff{InputFile(file)};
        for (const XliffUnit& unit : xliff.GetUnits()) {
            if (!IsWanted(xliff, unit, options))
                continue;
            isAny = true;
            report.AddItem([&] { return ToJson(xliff, unit); },
                           [&] { Console::PrintLine(OneLine(unit.Source)); });
        }
    });
    report.Finish();
    return code == ExitCode::Yes && !isAny ? ExitCode::No : code;
}

} // namespace

void AddXliffListCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& command = line.AddCommand(
        group, "list", "List texts, one per line",
        "qvutil xliff list de.xlf --untranslated            # for the translator\n"
        "qvutil xliff list de.xlf --untranslated | wc -l    # how many?\n"
        "qvutil xliff list de.xlf --unfinished --json       # with their places and targets",
        [options] { return List(*options); });
    AddExplanation(
        command,
        "Line breaks in a text are shown as \\n, and \\ as \\\\. The exit code is 1 if no text is listed.");
    AddTexts(command, "XLIFF", options->Files, "XLIFF files")->required();
    command.add_flag("--untranslated", options->Untranslated,
                     "List only texts without a target, or with a target that was only filled in");
    command.add_flag(
        "--unfinished", options->Unfinished,
        "List only texts that stat does not count as finished: untranslated, to be reviewed, or in units "
        "out of reach");
    AddJsonFlag(command, options->Json);
}

} // namespace Quorvin::Tool
