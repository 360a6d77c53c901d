// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/OutputFormat.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/StatPage.h"
#include "xliff/XliffDocument.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr int kBarWidth = 20;

struct StatOptions
{
    QStringList Files;
    bool Json = false;
    bool Html = false;
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
        if (unit.Reachability != UnitReachability::Found)
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

ExitCode PrintPage(const StatOptions& options)
{
    QJsonArray files;
    QStringList unusable = options.Files;
    const ExitCode code = ForEachFile(options.Files, [&](const QString& file) {
        const XliffDocument xliff{InputFile(file)};
        files.append(ToJson(xliff, CountProgress(xliff)));
        unusable.removeOne(file);
    });
    Console::Print(StatPage(files, unusable));
    return code;
}

ExitCode Stat(const StatOptions& options)
{
    RequireOneFormat(options.Json, options.Html, u"--html"_s);
    if (options.Html)
        return PrintPage(options);
    Report report(options.Json);
    const ExitCode code = ForEachFile(options.Files, [&](const QString& file) {
        const XliffDocument xliff{InputFile(file)};
        const Statistics statistics = CountProgress(xliff);
        report.AddItem([&] { return ToJson(xliff, statistics); },
                       [&] { PrintStatistics(xliff, LanguagesOf(xliff).join(", "_L1), statistics); });
    });
    report.Finish();
    return code;
}

} // namespace

void AddXliffStatCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<StatOptions>();
    CLI::App& command = line.AddCommand(group, "stat", "Show how far translation is, for each document",
                                        "qvutil xliff stat de.xlf ja.xlf\nqvutil xliff stat --json de.xlf\n"
                                        "qvutil xliff stat --html *.xlf > progress.html",
                                        [options] { return Stat(*options); });
    AddTexts(command, "XLIFF", options->Files, "XLIFF files")->required();
    AddJsonFlag(command, options->Json);
    command.add_flag("--html", options->Html, "Print a page in HTML, which also fits a phone");
}

} // namespace Quorvin::Tool
