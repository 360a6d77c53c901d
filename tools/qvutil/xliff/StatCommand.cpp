// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/OutputFormat.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/StatPage.h"
#include "xliff/XliffProgress.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>

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

/// Returns the share of finished units, from 0 to \p full. Rounds down, so that only a finished file reaches
/// \p full.
int ShareOf(const ProgressCounts& counts, int full)
{
    return counts.Units == 0 ? full : counts.Finished * full / counts.Units;
}

QString RestOf(const ProgressCounts& counts)
{
    QStringList parts;
    if (counts.Unfinished > 0)
        parts.append(u"%1 unfinished"_s.arg(counts.Unfinished));
    if (counts.Empty > 0)
        parts.append(u"%1 empty"_s.arg(counts.Empty));
    if (counts.Unreachable > 0)
        parts.append(u"%1 out of reach"_s.arg(counts.Unreachable));
    return parts.join(", "_L1);
}

QJsonObject ToJson(const ProgressCounts& counts)
{
    return {{u"units"_s, counts.Units},
            {u"finished"_s, counts.Finished},
            {u"unfinished"_s, counts.Unfinished},
            {u"empty"_s, counts.Empty},
            {u"unreachable"_s, counts.Unreachable}};
}

QString NameOf(const FileProgress& file)
{
    return file.Original.isEmpty() ? u"(no name)"_s : file.Original;
}

void PrintCounts(const QString& name, qsizetype nameWidth, const ProgressCounts& counts, int countWidth)
{
    const int filled = ShareOf(counts, kBarWidth);
    const QString bar = QString(filled, u'#') + QString(kBarWidth - filled, u'.');
    const auto number = [countWidth](int count) { return QString::number(count).rightJustified(countWidth); };
    QString line = u"  %1  [%2]  %3 of %4  %5 %"_s.arg(
        name.leftJustified(nameWidth), bar, number(counts.Finished), number(counts.Units),
        QString::number(ShareOf(counts, 100)).rightJustified(3));
    if (const QString rest = RestOf(counts); !rest.isEmpty())
        line += "  "_L1 + rest;
    Console::PrintLine(line);
}

/// Returns "en to de" for each pair of languages in the file.
QString LanguagesOf(const XliffProgress& progress)
{
    QStringList result;
    for (const FileProgress& file : progress.Files) {
        const auto known = [](const QString& language) { return language.isEmpty() ? u"?"_s : language; };
        result.append(known(file.SourceLanguage) + " to "_L1 + known(file.TargetLanguage));
    }
    result.removeDuplicates();
    return result.join(", "_L1);
}

void PrintProgress(const QString& fileName, const XliffProgress& progress)
{
    const QString languages = LanguagesOf(progress);
    Console::PrintLine(fileName + (languages.isEmpty() ? QString() : ": "_L1 + languages));
    const bool hasSum = progress.Files.size() != 1;
    qsizetype nameWidth = hasSum ? 3 : 0;
    for (const FileProgress& file : progress.Files)
        nameWidth = std::max(nameWidth, NameOf(file).size());
    const int countWidth = static_cast<int>(QString::number(progress.All.Units).size());
    for (const FileProgress& file : progress.Files)
        PrintCounts(NameOf(file), nameWidth, file.Counts, countWidth);
    if (hasSum)
        PrintCounts(u"all"_s, nameWidth, progress.All, countWidth);
}

QJsonObject ToJson(const QString& fileName, const XliffProgress& progress)
{
    QJsonArray files;
    for (const FileProgress& file : progress.Files) {
        QJsonObject object = ToJson(file.Counts);
        object.insert(u"original"_s, file.Original);
        object.insert(u"sourceLanguage"_s, file.SourceLanguage);
        object.insert(u"targetLanguage"_s, file.TargetLanguage);
        files.append(object);
    }
    return {{u"file"_s, fileName}, {u"documents"_s, files}, {u"all"_s, ToJson(progress.All)}};
}

ExitCode PrintPage(const StatOptions& options)
{
    QJsonArray files;
    QStringList unusable = options.Files;
    const ExitCode code = ForEachFile(options.Files, [&](const QString& file) {
        const InputFile input(file);
        files.append(ToJson(input.Name(), ReadProgress(input)));
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
        const InputFile input(file);
        const XliffProgress progress = ReadProgress(input);
        report.AddItem([&] { return ToJson(input.Name(), progress); },
                       [&] { PrintProgress(input.Name(), progress); });
    });
    report.Finish();
    return code;
}

} // namespace

void AddXliffStatCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<StatOptions>();
    CLI::App& command = line.AddCommand(group, "stat", "Show the translation progress of each document",
                                        "qvutil xliff stat de.xlf ja.xlf\nqvutil xliff stat --json de.xlf\n"
                                        "qvutil xliff stat --html *.xlf > progress.html",
                                        [options] { return Stat(*options); });
    AddTexts(command, "XLIFF", options->Files, "XLIFF files")->required();
    AddJsonFlag(command, options->Json);
    command.add_flag("--html", options->Html, "Print an HTML page, which also fits a phone");
}

} // namespace Quorvin::Tool
