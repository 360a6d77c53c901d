// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "xliff/DocumentWalk.h"
#include "xliff/SourceText.h"
#include "xliff/XliffChecks.h"
#include "xliff/XliffDocument.h"
#include "xliff/XliffExtractor.h"

#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr QLatin1StringView kLanguageField = "{language}"_L1;
constexpr int kBarWidth = 20;

/// "1 text", "2 texts".
QString Count(qsizetype number, const QString& noun)
{
    return QString::number(number) + u' ' + noun + (number == 1 ? QString() : u"s"_s);
}

QString PlaceText(const QString& file, Place place)
{
    QString text = file;
    if (place.Line > 0)
        text += u':' + QString::number(place.Line);
    if (place.Column > 0)
        text += u':' + QString::number(place.Column);
    return text;
}

QJsonObject PlaceJson(Place place)
{
    QJsonObject object{{u"line"_s, place.Line}};
    if (place.Column > 0)
        object.insert(u"column"_s, place.Column);
    return object;
}

/// Does the same for each file; one that cannot be read or written is complained of, and the others are still
/// of interest.
/// \return Error if there was such a file
template <typename Action> ExitCode ForEachFile(const QStringList& files, Action action)
{
    auto code = ExitCode::Yes;
    for (const QString& file : files) {
        try {
            action(file);
        } catch (const Failure& failure) {
            Console::Complain(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
    }
    return code;
}

void AddDocumentOptions(CLI::App& command, DocumentSelection& selection)
{
    command.add_flag("--recursive,-r", selection.IsRecursive, "Look into folders in folders too");
    AddTexts(command, "--pattern", selection.Patterns,
             "Which files of a folder are documents, such as *.ui.xml; default: *.xml")
        ->type_name("PATTERN");
}

// extract

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
        if (mOptions.Json)
            Console::PrintJson(QJsonDocument(mJson));
        if (!walk.IsComplete)
            return ExitCode::Error;
        return mOptions.DryRun && mAnyChanged ? ExitCode::No : ExitCode::Yes;
    }

private:
    void CheckUsage() const
    {
        if (mOptions.Languages.size() > 1 && !mOptions.Output.contains(kLanguageField))
            throw UsageFailure(u"with several languages, --output must contain {language}"_s);
        if (mOptions.Languages.isEmpty() && mOptions.Output.contains(kLanguageField))
            throw UsageFailure(u"--language is required with {language} in --output"_s);
        for (const QString& language : mOptions.Languages + QStringList(mOptions.Extraction.SourceLanguage)) {
            const bool isTag = std::all_of(language.begin(), language.end(), [](QChar c) {
                return c == u'-' || c == u'_' || (c.unicode() < 0x80 && c.isLetterOrNumber());
            });
            if (!isTag)
                throw UsageFailure(u"'%1' is no language: write de, or pt-BR"_s.arg(language));
        }
    }

    static ExitCode NoDocument(const WalkResult& walk)
    {
        if (walk.IsComplete)
            Console::Complain({}, u"no document was found (see --recursive and --pattern)"_s);
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
            Console::Complain(file, u"nothing is removed, since not all documents could be read"_s);
            extraction.Prune = false;
        }
        XliffDocument xliff = QFileInfo::exists(file) ? XliffDocument(InputFile(file)) : XliffDocument();
        const QList<DocumentReport> reports = UpdateXliff(xliff, mWalk->Documents, extraction);
        if (xliff.IsChanged() && !mOptions.DryRun)
            xliff.Save(file);
        mAnyChanged = mAnyChanged || xliff.IsChanged();
        if (mOptions.Json)
            mJson.append(ToJson(file, xliff.IsChanged(), reports));
        else
            Print(file, xliff.IsChanged(), extraction.Prune, reports);
        for (const DocumentReport& report : reports) {
            if (report.Unreachable > 0) {
                Console::Complain(file,
                                  u"the reader does not find %1 of %2: see qvutil xliff check"_s.arg(
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
                Console::PrintLine(u"%1: %2 is gone from %3"_s.arg(
                    PlaceText(file, unit.Where), Console::Quoted(unit.Source), report.Document));
            }
        }
        QStringList parts{u"%1 kept"_s.arg(kept), u"%1 new"_s.arg(added)};
        if (reused > 0)
            parts.last() += u" (%1 with a translation from elsewhere)"_s.arg(reused);
        if (corrected > 0)
            parts.append(Count(corrected, u"id"_s) + u" put right"_s);
        if (vanished > 0)
            parts.append(
                u"%1 gone (%2)"_s.arg(vanished).arg(isPruned ? u"removed"_s : u"kept: --prune removes"_s));
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
    QJsonArray mJson;
};

void AddExtract(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ExtractOptions>();
    CLI::App& command = line.AddCommand(
        group, "extract",
        "Write the texts marked tr(...) in documents to an XLIFF file, or bring it up to date",
        "qvutil xliff extract ui --recursive --language de --output de.xlf\n"
        "qvutil xliff extract ui -r -o de.xlf           # later: new texts are added, translations kept\n"
        "qvutil xliff extract ui -r -o de.xlf --prune   # texts that are gone are removed\n"
        "qvutil xliff extract ui -l de -l ja -o 'app.{language}.xlf'\n"
        "qvutil xliff extract ui -r -o de.xlf --dry-run # in a build: fails if de.xlf is out of date",
        [options] { return ExtractCommand(*options).Run(); });
    AddTexts(command, "DOCUMENT", options->Documents.Paths, "XML files, and folders to look for them in")
        ->required();
    AddText(command, "--output,-o", options->Output,
            "XLIFF file to write or update (required); {language} stands for each --language")
        ->type_name("FILE")
        ->required();
    AddTexts(command, "--language,-l", options->Languages,
             "Language to translate into, such as de or pt-BR; default: the one in the file")
        ->type_name("LANG");
    AddText(command, "--source-language", options->Extraction.SourceLanguage,
            "Language of the documents; default: the one in the file, or en")
        ->type_name("LANG");
    AddDocumentOptions(command, options->Documents);
    command.add_flag("--prune", options->Extraction.Prune, "Remove units whose text or document is gone");
    command.add_flag(
        "--reuse", options->Extraction.Reuse,
        "Begin a new unit with the translation its text has in another document, to be reviewed");
    command.add_flag("--no-locations", options->NoLocations, "Do not note the line of each text");
    command.add_flag("--dry-run", options->DryRun, "Write nothing; exit with 1 if the file would change");
    AddJsonFlag(command, options->Json);
}

// check

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
                u"there is no kind of finding '%1', only: %2"_s.arg(kind, known.join(", "_L1)));
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
    for (const Finding& finding : findings) {
        Console::PrintLine(u"%1: %2 [%3]"_s.arg(PlaceText(finding.File, finding.Where), finding.Text,
                                                GetKindName(finding.Kind)));
    }
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
    QJsonArray json;
    const ExitCode code = ForEachFile(options.Files, [&](const QString& file) {
        const XliffDocument xliff{InputFile(file)};
        QList<Finding> findings = CheckXliff(xliff, hasDocuments ? &walk.Documents : nullptr);
        const qsizetype allowed = findings.removeIf(
            [&](const Finding& finding) { return allowedKinds.contains(GetKindName(finding.Kind)); });
        isClean = isClean && findings.isEmpty();
        if (options.Json)
            json.append(ToJson(xliff, findings, allowed));
        else
            PrintFindings(xliff, findings, allowed);
    });
    if (options.Json)
        Console::PrintJson(QJsonDocument(json));
    if (code == ExitCode::Error || !walk.IsComplete)
        return ExitCode::Error;
    return isClean ? ExitCode::Yes : ExitCode::No;
}

void AddCheck(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<CheckOptions>();
    const QStringList kinds = KindNames();
    CLI::App& command = line.AddCommand(
        group, "check", "Find what a user would see untranslated, cut or not at all",
        "qvutil xliff check de.xlf ja.xlf\n"
        "qvutil xliff check de.xlf --documents ui --recursive  # also texts that are missing or gone\n"
        "qvutil xliff check *.xlf --allow-untranslated         # in a build while translation goes on\n"
        "qvutil xliff check *.xlf --require-finished           # in a build for release",
        [options] { return Check(*options); });
    AddTexts(command, "XLIFF", options->Files, "XLIFF files")->required();
    AddTexts(command, "--documents,-d", options->Documents.Paths,
             "XML file, or folder to look for them in, whose texts the XLIFF files translate")
        ->type_name("PATH");
    AddDocumentOptions(command, options->Documents);
    command.add_flag("--allow-untranslated", options->AllowUntranslated,
                     "Do not mind missing and empty targets");
    command.add_flag("--require-finished", options->RequireFinished,
                     "Mind targets whose state is new or needs-...");
    AddTexts(command, "--allow", options->Allowed,
             "Do not mind this kind of finding: " + kinds.join(", "_L1).toStdString())
        ->type_name("KIND");
    AddJsonFlag(command, options->Json);
}

// fill

struct FillOptions
{
    QStringList Files;
    QString Output;
    bool Pseudo = false;
};

void FillFile(const QString& name, const FillOptions& options)
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
    if (xliff.IsChanged() || !options.Output.isEmpty())
        xliff.Save(output);
    QString summary = u"%1: %2 of %3 filled"_s.arg(output, QString::number(filled),
                                                   Count(xliff.GetUnits().size(), u"target"_s));
    if (left > 0)
        summary += u", %1 left for a person (no source, or markup in the target)"_s.arg(left);
    Console::PrintLine(summary);
}

ExitCode Fill(const FillOptions& options)
{
    if (options.Files.size() > 1 && !options.Output.isEmpty())
        throw UsageFailure(u"--output takes one XLIFF file"_s);
    if (options.Files.contains("-"_L1) && options.Output.isEmpty())
        throw UsageFailure(u"standard input needs --output"_s);
    return ForEachFile(options.Files, [&](const QString& file) { FillFile(file, options); });
}

void AddFill(CommandLine& line, CLI::App& group)
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
}

// stat

struct StatOptions
{
    QStringList Files;
    bool Json = false;
};

struct Progress
{
    int Units = 0;
    int Finished = 0;
    int Unfinished = 0;
    int Empty = 0;
    int Unreachable = 0;

    void Add(const XliffUnit& unit)
    {
        ++Units;
        if (unit.Reach != UnitReach::Found)
            ++Unreachable;
        else if (unit.GetProgress() == UnitProgress::Finished)
            ++Finished;
        else
            ++(unit.GetProgress() == UnitProgress::Empty ? Empty : Unfinished);
    }

    /// Full only when nothing is left to do.
    [[nodiscard]] int Share(int full) const { return Units == 0 ? full : Finished * full / Units; }

    [[nodiscard]] QString Rest() const
    {
        QStringList parts;
        if (Unfinished > 0)
            parts.append(u"%1 unfinished"_s.arg(Unfinished));
        if (Empty > 0)
            parts.append(u"%1 empty"_s.arg(Empty));
        if (Unreachable > 0)
            parts.append(u"%1 out of reach"_s.arg(Unreachable));
        return parts.join(", "_L1);
    }

    [[nodiscard]] QJsonObject ToJson() const
    {
        return {{u"units"_s, Units},
                {u"finished"_s, Finished},
                {u"unfinished"_s, Unfinished},
                {u"empty"_s, Empty},
                {u"unreachable"_s, Unreachable}};
    }
};

struct Statistics
{
    QList<std::pair<QString, Progress>> Files; ///< by the "original"
    Progress All;
};

Statistics CountProgress(const XliffDocument& xliff)
{
    Statistics result;
    for (const XliffFile& file : xliff.GetFiles())
        result.Files.append({file.Original.isEmpty() ? u"(no name)"_s : file.Original, {}});
    for (const XliffUnit& unit : xliff.GetUnits()) {
        if (unit.File >= 0)
            result.Files[unit.File].second.Add(unit);
        result.All.Add(unit);
    }
    return result;
}

void PrintProgress(const QString& name, qsizetype nameWidth, const Progress& progress, int countWidth)
{
    const int filled = progress.Share(kBarWidth);
    const QString bar = QString(filled, u'#') + QString(kBarWidth - filled, u'.');
    const auto number = [countWidth](int count) { return QString::number(count).rightJustified(countWidth); };
    QString line = u"  %1  [%2]  %3 of %4  %5 %"_s.arg(
        name.leftJustified(nameWidth), bar, number(progress.Finished), number(progress.Units),
        QString::number(progress.Share(100)).rightJustified(3));
    if (const QString rest = progress.Rest(); !rest.isEmpty())
        line += "  "_L1 + rest;
    Console::PrintLine(line);
}

void PrintStatistics(const XliffDocument& xliff, const QString& languages, const Statistics& statistics)
{
    Console::PrintLine(xliff.GetName() + (languages.isEmpty() ? QString() : ": "_L1 + languages));
    const bool hasSum = statistics.Files.size() != 1;
    qsizetype nameWidth = hasSum ? 3 : 0;
    for (const auto& [name, progress] : statistics.Files)
        nameWidth = std::max(nameWidth, name.size());
    const int countWidth = static_cast<int>(QString::number(statistics.All.Units).size());
    for (const auto& [name, progress] : statistics.Files)
        PrintProgress(name, nameWidth, progress, countWidth);
    if (hasSum)
        PrintProgress(u"all"_s, nameWidth, statistics.All, countWidth);
}

/// "en to de" for each pair of languages in the file.
QStringList LanguagesOf(const XliffDocument& xliff)
{
    QStringList result;
    for (const XliffFile& file : xliff.GetFiles()) {
        const auto known = [](const QString& language) { return language.isEmpty() ? u"?"_s : language; };
        result.append(known(file.SourceLanguage) + " to "_L1 + known(file.TargetLanguage));
    }
    result.removeDuplicates();
    return result;
}

QJsonObject ToJson(const XliffDocument& xliff, const Statistics& statistics)
{
    QJsonArray files;
    for (qsizetype i = 0; i < statistics.Files.size(); ++i) {
        const XliffFile& file = xliff.GetFiles().at(i);
        QJsonObject object = statistics.Files.at(i).second.ToJson();
        object.insert(u"original"_s, file.Original);
        object.insert(u"sourceLanguage"_s, file.SourceLanguage);
        object.insert(u"targetLanguage"_s, file.TargetLanguage);
        files.append(object);
    }
    return {{u"file"_s, xliff.GetName()}, {u"documents"_s, files}, {u"all"_s, statistics.All.ToJson()}};
}

ExitCode Stat(const StatOptions& options)
{
    QJsonArray json;
    const ExitCode code = ForEachFile(options.Files, [&](const QString& file) {
        const XliffDocument xliff{InputFile(file)};
        const Statistics statistics = CountProgress(xliff);
        if (options.Json)
            json.append(ToJson(xliff, statistics));
        else
            PrintStatistics(xliff, LanguagesOf(xliff).join(", "_L1), statistics);
    });
    if (options.Json)
        Console::PrintJson(QJsonDocument(json));
    return code;
}

void AddStat(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<StatOptions>();
    CLI::App& command = line.AddCommand(group, "stat", "Show how far translation is, for each document",
                                        "qvutil xliff stat de.xlf ja.xlf\nqvutil xliff stat --json de.xlf",
                                        [options] { return Stat(*options); });
    AddTexts(command, "XLIFF", options->Files, "XLIFF files")->required();
    AddJsonFlag(command, options->Json);
}

// show

struct ShowOptions
{
    QString File;
    QString Document;
    bool Json = false;
};

enum class Sight {
    Translated,
    Untranslated,
    Id,
};

/// Prints what the library gives for each mark of a document.
class ShowCommand
{
public:
    explicit ShowCommand(const ShowOptions& options)
        : mOptions(options)
        , mFile(options.File)
        , mXliff(mFile)
    {
        const QString key = DocumentKey(options.Document);
        for (const XliffUnit& unit : mXliff.GetUnits()) {
            if (unit.Reach == UnitReach::Found && mXliff.GetFiles().at(unit.File).Key == key)
                mUnits.insert(unit.Id, &unit);
        }
    }

    ExitCode Run()
    {
        if (mOptions.Document == "-"_L1)
            throw UsageFailure(u"the document needs a file name: translations are found by it"_s);
        Util::XlfTranslator translator(mFile.Path());
        XmlSource document;
        document.GetFiler().Translator = &translator;
        document.Load(InputFile(mOptions.Document));
        int translated = 0, untranslated = 0, ids = 0;
        for (const TranslationMark& mark : FindTranslationMarks(document)) {
            if (mark.Source.trimmed().isEmpty() && mark.Shown == mark.Source)
                continue; // nothing to translate
            const QString id = QString::fromLatin1(Util::GeneralUtil::GetHash(mark.Source));
            const Sight sight = Classify(mark, id);
            ++(sight == Sight::Translated ? translated : sight == Sight::Id ? ids : untranslated);
            if (mOptions.Json)
                mJson.append(ToJson(mark, sight, id));
            else
                Print(mark, sight);
        }
        if (mOptions.Json) {
            Console::PrintJson(QJsonDocument(mJson));
        } else {
            Console::PrintLine(u"%1 with %2: %3 translated, %4 untranslated, %5 shown as an id"_s.arg(
                mOptions.Document, mXliff.GetName(), QString::number(translated),
                QString::number(untranslated), QString::number(ids)));
        }
        return ExitCode::Yes;
    }

private:
    [[nodiscard]] Sight Classify(const TranslationMark& mark, const QString& id) const
    {
        const XliffUnit* unit = mUnits.value(id);
        if (!unit)
            return Sight::Untranslated;
        return mark.Shown == id && unit->Target != id ? Sight::Id : Sight::Translated;
    }

    void Print(const TranslationMark& mark, Sight sight) const
    {
        QString text = PlaceText(mOptions.Document, mark.Where) + ": "_L1 + Console::Quoted(mark.Source);
        if (sight == Sight::Untranslated && mark.Shown == mark.Source)
            text += u"  UNTRANSLATED: no unit"_s;
        else
            text += " -> "_L1 + Console::Quoted(mark.Shown);
        if (sight == Sight::Id)
            text += u"  ID SHOWN: no target"_s;
        Console::PrintLine(text);
    }

    static QJsonObject ToJson(const TranslationMark& mark, Sight sight, const QString& id)
    {
        QJsonObject object = PlaceJson(mark.Where);
        object.insert(u"source"_s, mark.Source);
        object.insert(u"shown"_s, mark.Shown);
        object.insert(u"path"_s, mark.Path);
        object.insert(u"id"_s, id);
        object.insert(u"result"_s,
                      sight == Sight::Translated ? u"translated"_s
                          : sight == Sight::Id   ? u"id"_s
                                                 : u"untranslated"_s);
        return object;
    }

    const ShowOptions& mOptions;
    InputFile mFile;
    XliffDocument mXliff;
    QHash<QString, const XliffUnit*> mUnits;
    QJsonArray mJson;
};

void AddShow(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ShowOptions>();
    CLI::App& command
        = line.AddCommand(group, "show", "Show what a user of a document sees, read through the library",
                          "qvutil xliff show de.xlf ui/MainWindow.xml\n"
                          "qvutil xliff show de.xlf ui/MainWindow.xml | grep -e UNTRANSLATED -e 'ID SHOWN'",
                          [options] { return ShowCommand(*options).Run(); });
    AddText(command, "XLIFF", options->File, "XLIFF file")->required();
    AddText(command, "DOCUMENT", options->Document, "XML document that is read with it")->required();
    AddJsonFlag(command, options->Json);
}

} // namespace

void AddXliffCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("xliff", "Translate documents: make, check, fill and try XLIFF files");
    AddExtract(line, group);
    AddCheck(line, group);
    AddFill(line, group);
    AddStat(line, group);
    AddShow(line, group);
}

} // namespace Quorvin::Tool
