// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/DocumentWalk.h"
#include "xliff/PlaceList.h"
#include "xliff/XliffChecks.h"
#include "xliff/XliffDocument.h"

#include <QJsonArray>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct CheckOptions
{
    QStringList Files;
    DocumentSelection Documents;
    QStringList Allowed;
    bool AllowUntranslated = false;
    bool RequireFinished = false;
    bool Json = false;
};

QStringList KindNames()
{
    QStringList names;
    for (const FindingKind kind : GetFindingKinds())
        names.append(GetKindName(kind));
    return names;
}

QStringList AllowedKinds(const CheckOptions& options)
{
    const QStringList known = KindNames();
    for (const QString& kind : options.Allowed) {
        if (!known.contains(kind))
            throw UsageFailure(
                u"there is no kind of finding '%1'; kinds are %2"_s.arg(kind, known.join(", "_L1)));
    }
    QStringList allowed = options.Allowed;
    if (options.AllowUntranslated)
        allowed.append(GetKindName(FindingKind::Untranslated));
    if (!options.RequireFinished)
        allowed.append(GetKindName(FindingKind::Unfinished));
    return allowed;
}

QJsonObject ToJson(const Finding& finding)
{
    QJsonObject object = PlaceJson(finding.Where);
    object.insert(u"kind"_s, GetKindName(finding.Kind));
    object.insert(u"file"_s, finding.File);
    object.insert(u"original"_s, finding.Original);
    object.insert(u"id"_s, finding.Id);
    object.insert(u"text"_s, finding.Text);
    return object;
}

void PrintFindings(const XliffDocument& xliff, const QList<Finding>& findings, qsizetype allowed)
{
    QList<PlaceLine> lines;
    for (const Finding& finding : findings) {
        const QString noun = finding.Kind == FindingKind::Missing ? u"text"_s : u"unit"_s;
        lines.append({finding.File, finding.Where, finding.Text, finding.Shared, noun, finding.Source,
                      GetKindName(finding.Kind)});
    }
    PrintPlaceLines(lines);
    QString summary = u"%1: %2, "_s.arg(xliff.GetName(), Count(xliff.GetUnits().size(), u"unit"_s));
    summary += findings.isEmpty() ? u"no findings"_s : Count(findings.size(), u"finding"_s);
    if (allowed > 0)
        summary += u", %1 allowed"_s.arg(allowed);
    Console::PrintLine(summary);
}

QJsonObject ToJson(const XliffDocument& xliff, const QList<Finding>& findings, qsizetype allowed)
{
    QJsonArray array;
    for (const Finding& finding : findings)
        array.append(ToJson(finding));
    return {{u"file"_s, xliff.GetName()},
            {u"units"_s, xliff.GetUnits().size()},
            {u"findings"_s, array},
            {u"allowed"_s, allowed}};
}

ExitCode Check(const CheckOptions& options)
{
    const QStringList allowedKinds = AllowedKinds(options);
    const bool hasDocuments = !options.Documents.Paths.isEmpty();
    WalkResult walk;
    if (hasDocuments)
        walk = CollectTexts(options.Documents);
    bool isClean = true;
    Report report(options.Json);
    const ExitCode code = ForEachFile(options.Files, [&](const QString& file) {
        const XliffDocument xliff{InputFile(file)};
        QList<Finding> findings = CheckXliff(xliff, hasDocuments ? &walk.Documents : nullptr);
        const qsizetype allowed = findings.removeIf(
            [&](const Finding& finding) { return allowedKinds.contains(GetKindName(finding.Kind)); });
        isClean = isClean && findings.isEmpty();
        report.AddItem([&] { return ToJson(xliff, findings, allowed); },
                       [&] { PrintFindings(xliff, findings, allowed); });
    });
    report.Finish();
    if (code == ExitCode::Error || !walk.IsComplete)
        return ExitCode::Error;
    return isClean ? ExitCode::Yes : ExitCode::No;
}

} // namespace

void AddXliffCheckCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<CheckOptions>();
    const QStringList kinds = KindNames();
    CLI::App& command = line.AddCommand(
        group, "check", "Find texts that a user would see untranslated, truncated or as an id",
        "qvutil xliff check de.xlf ja.xlf\n"
        "qvutil xliff check de.xlf --documents ui --recursive  # also missing and obsolete texts\n"
        "qvutil xliff check *.xlf --allow-untranslated         # in a build during translation\n"
        "qvutil xliff check *.xlf --require-finished           # in a release build",
        [options] { return Check(*options); });
    AddTexts(command, "XLIFF", options->Files, "XLIFF files")->required();
    AddTexts(command, "--documents,-d", options->Documents.Paths,
             "XML document that the XLIFF files translate, or a folder of documents")
        ->type_name("PATH");
    AddDocumentOptions(command, options->Documents);
    command.add_flag("--allow-untranslated", options->AllowUntranslated, "Allow missing and empty targets");
    command.add_flag("--require-finished", options->RequireFinished,
                     "Also report targets whose state is new or needs-...");
    AddTexts(command, "--allow", options->Allowed,
             "Allow this kind of finding: " + kinds.join(", "_L1).toStdString())
        ->type_name("KIND");
    AddJsonFlag(command, options->Json);
}

} // namespace Quorvin::Tool
