// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Difference.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/DocumentWalk.h"
#include "xliff/XliffDocument.h"
#include "xliff/XliffExtractor.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr QLatin1StringView kLanguageField = "{language}"_L1;

struct ExtractOptions
{
    DocumentSelection Documents;
    ExtractionOptions Extraction;
    QStringList Languages;
    QString Output;
    bool NoLocations = false;
    bool DryRun = false;
    bool Json = false;
};

class ExtractCommand
{
public:
    explicit ExtractCommand(const ExtractOptions& options)
        : mOptions(options)
        , mReport(options.Json)
    { }

    ExitCode Run()
    {
        CheckUsage();
        DocumentSelection documents = mOptions.Documents;
        documents.Except = mOptions.Output;
        const WalkResult walk = CollectTexts(documents);
        if (walk.DocumentCount == 0)
            return NoDocument(walk);
        mWalk = &walk;
        if (mOptions.Languages.isEmpty())
            Update(mOptions.Output, {});
        for (const QString& language : mOptions.Languages)
            Update(QString(mOptions.Output).replace(kLanguageField, language), language);
        mReport.Finish();
        if (!walk.IsComplete)
            return ExitCode::Error;
        return mOptions.DryRun && mAnyChanged ? ExitCode::No : ExitCode::Yes;
    }

private:
    void CheckUsage() const
    {
        RequireOutputFile(mOptions.Output);
        if (mOptions.Languages.size() > 1 && !mOptions.Output.contains(kLanguageField))
            throw UsageFailure(u"with several languages, --output must contain {language}"_s);
        if (mOptions.Languages.isEmpty() && mOptions.Output.contains(kLanguageField))
            throw UsageFailure(u"--language is required with {language} in --output"_s);
        for (const QString& language : mOptions.Languages + QStringList(mOptions.Extraction.SourceLanguage)) {
            const bool isTag = std::all_of(language.begin(), language.end(), [](QChar c) {
                return c == u'-' || c == u'_' || (c.unicode() < 0x80 && c.isLetterOrNumber());
            });
            if (!isTag)
                throw UsageFailure(u"'%1' is not a language code such as de or pt-BR"_s.arg(language));
        }
    }

    static ExitCode NoDocument(const WalkResult& walk)
    {
        if (walk.IsComplete)
            Console::ReportError({}, u"no document was found (see --recursive and --pattern)"_s);
        return ExitCode::Error;
    }

    void Update(const QString& file, const QString& language)
    {
        ExtractionOptions extraction = mOptions.Extraction;
        extraction.TargetLanguage = QString(language).replace(u'_', u'-');
        extraction.SourceLanguage.replace(u'_', u'-');
        extraction.Folders = mOptions.Documents.Paths;
        extraction.Locations = !mOptions.NoLocations;
        if (extraction.Prune && !mWalk->IsComplete) {
            Console::ReportError(file, u"nothing is removed, because some documents could not be read"_s);
            extraction.Prune = false;
        }
        XliffDocument xliff = QFileInfo::exists(file) ? XliffDocument(InputFile(file)) : XliffDocument();
        xliff.RequireChangeable();
        const QList<DocumentReport> reports = UpdateXliff(xliff, mWalk->Documents, extraction);
        if (xliff.IsChanged() && !mOptions.DryRun)
            xliff.Save(file);
        if (xliff.IsChanged() && mOptions.DryRun && !mOptions.Json)
            (void)PrintDifference(file, ReadIfExists(file), xliff.GetContent(file));
        mAnyChanged = mAnyChanged || xliff.IsChanged();
        mReport.AddItem([&] { return ToJson(file, xliff.IsChanged(), reports); },
                        [&] { Print(file, xliff.IsChanged(), extraction.Prune, reports); });
        for (const DocumentReport& report : reports) {
            if (report.Unreachable > 0) {
                Console::ReportError(file,
                                     u"the library does not find %1 of %2; run qvutil xliff check"_s.arg(
                                         Count(report.Unreachable, u"unit"_s), report.Document));
            }
        }
    }

    void Print(const QString& file, bool isChanged, bool isPruned, const QList<DocumentReport>& reports) const
    {
        int kept = 0, corrected = 0, added = 0, reused = 0, vanished = 0;
        for (const DocumentReport& report : reports) {
            kept += report.Kept;
            corrected += report.Corrected;
            added += static_cast<int>(report.New.size());
            reused += report.Reused;
            vanished += static_cast<int>(report.Vanished.size());
            for (const VanishedUnit& unit : report.Vanished) {
                Console::PrintLine(u"%1: %2 is no longer in %3"_s.arg(
                    PlaceText(file, unit.Where), Console::Quoted(unit.Source), report.Document));
            }
        }
        QStringList parts{u"%1 kept"_s.arg(kept), u"%1 new"_s.arg(added)};
        if (reused > 0)
            parts.last() += u" (%1 with a translation from another document)"_s.arg(reused);
        if (corrected > 0)
            parts.append(Count(corrected, u"id"_s) + u" corrected"_s);
        if (vanished > 0)
            parts.append(u"%1 obsolete (%2)"_s.arg(vanished).arg(isPruned ? u"removed"_s
                                                                          : u"kept; remove with --prune"_s));
        const QStringView outcome = !isChanged ? u"unchanged"
            : mOptions.DryRun                  ? u"would change"
                                               : u"written";
        Console::PrintLine(u"%1: %2 in %3: %4; %5"_s.arg(file, Count(kept + added, u"text"_s),
                                                         Count(mWalk->DocumentCount, u"document"_s),
                                                         parts.join(", "_L1), outcome));
    }

    QJsonObject ToJson(const QString& file, bool isChanged, const QList<DocumentReport>& reports) const
    {
        QJsonArray documents;
        for (const DocumentReport& report : reports) {
            QJsonArray vanished;
            for (const VanishedUnit& unit : report.Vanished) {
                QJsonObject object = PlaceJson(unit.Where);
                object.insert(u"source"_s, unit.Source);
                object.insert(u"target"_s, unit.Target);
                vanished.append(object);
            }
            documents.append(QJsonObject{{u"document"_s, report.Document},
                                         {u"gone"_s, report.IsGone},
                                         {u"kept"_s, report.Kept},
                                         {u"corrected"_s, report.Corrected},
                                         {u"unreachable"_s, report.Unreachable},
                                         {u"new"_s, QJsonArray::fromStringList(report.New)},
                                         {u"reused"_s, report.Reused},
                                         {u"vanished"_s, vanished}});
        }
        return {{u"file"_s, file},
                {u"changed"_s, isChanged},
                {u"written"_s, isChanged && !mOptions.DryRun},
                {u"documents"_s, documents}};
    }

    const ExtractOptions& mOptions;
    const WalkResult* mWalk = nullptr;
    bool mAnyChanged = false;
    Report mReport;
};

} // namespace

void AddXliffExtractCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ExtractOptions>();
    CLI::App& command = line.AddCommand(
        group, "extract", "Write the texts marked tr(...) in documents to an XLIFF file, or update the file",
        "qvutil xliff extract ui --recursive --language de --output de.xlf\n"
        "qvutil xliff extract ui -r -o de.xlf           # later: adds new texts, keeps translations\n"
        "qvutil xliff extract ui -r -o de.xlf --prune   # also removes obsolete texts\n"
        "qvutil xliff extract ui -l de -l ja -o 'app.{language}.xlf'\n"
        "qvutil xliff extract ui -r -o de.xlf --dry-run # in a build: fails if de.xlf is out of date",
        [options] { return ExtractCommand(*options).Run(); });
    AddTexts(command, "DOCUMENT", options->Documents.Paths, "XML documents, or folders of documents")
        ->required();
    AddText(command, "--output,-o", options->Output,
            "XLIFF file to write or update (required); {language} is replaced with each --language")
        ->type_name("FILE")
        ->required();
    AddTexts(command, "--language,-l", options->Languages,
             "Language to translate into, such as de or pt-BR; default: the language in the file")
        ->type_name("LANG");
    AddText(command, "--source-language", options->Extraction.SourceLanguage,
            "Language of the documents; default: the language in the file, or en")
        ->type_name("LANG");
    AddDocumentOptions(command, options->Documents);
    command.add_flag("--prune", options->Extraction.Prune,
                     "Remove units whose text or document no longer exists");
    command.add_flag(
        "--reuse", options->Extraction.Reuse,
        "Give new units the translation of the same text in another document, marked for review");
    command.add_flag("--no-locations", options->NoLocations, "Do not record the line of each text");
    AddDryRunFlag(command, options->DryRun);
    AddJsonFlag(command, options->Json);
}

} // namespace Quorvin::Tool
