// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/InputFile.h"
#include "cli/Report.h"
#include "cli/Waiting.h"

#include <qvutil/GeneralUtil.h>

#include <QFileInfo>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

struct HashOptions
{
    QStringList Files;
    QStringList Texts;
    bool Json = false;
};

void AddDigest(Report& report, const QString& kind, const QString& name, const QString& digest)
{
    report.AddItem(
        [&] {
            return QJsonObject{{kind, name}, {u"md5"_s, digest}};
        },
        [&] { Console::PrintLine(digest + "  "_L1 + Console::Visible(name)); });
}

QString HashFile(const QString& argument, Console::ProgressBar& bar, qint64 done)
{
    const InputFile file(argument, InputFile::AnySize);
    const QString label
        = file.Name() + u", "_s + GeneralUtil::BytesToString(QFileInfo(file.Path()).size(), 1);
    QString result;
    ShowWhile(bar, done, label, [&] { result = GeneralUtil::GenerateCheckSumMD5(file.Path()); });
    if (result.isEmpty())
        throw Failure(file.Name(), u"could not be read"_s);
    return result;
}

ExitCode Hash(const HashOptions& options)
{
    if (options.Files.isEmpty() && options.Texts.isEmpty())
        throw UsageFailure(u"FILE or --text is required"_s);
    RequireOneStandardInput(options.Files);

    Report report(options.Json);
    for (const QString& text : options.Texts)
        AddDigest(report, u"text"_s, text, QString::fromLatin1(GeneralUtil::GetHash(text)));

    qint64 total = 0;
    for (const QString& file : options.Files)
        total += QFileInfo(file).size();
    Console::ProgressBar bar(total);
    qint64 done = 0;
    auto code = ExitCode::Yes;
    for (const QString& file : options.Files) {
        try {
            AddDigest(report, u"file"_s, file, HashFile(file, bar, done));
        } catch (const Failure& failure) { // continue with the other files
            Console::ReportError(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
        done += QFileInfo(file).size();
    }
    report.Finish();
    return code;
}

} // namespace

void AddHashCommand(CommandLine& line)
{
    auto options = std::make_shared<HashOptions>();
    CLI::App& hash = line.AddCommand(line.Root(), "hash", "Print the MD5 digests of files or texts",
                                     "qvutil hash settings.xml *.xlf\n"
                                     "qvutil hash --text \"Save as...\"   # the id of a text to translate",
                                     [options] { return Hash(*options); });
    AddTexts(hash, "FILE", options->Files, "File to read; - for standard input");
    AddTexts(hash, "--text", options->Texts, "Text to hash, encoded as UTF-8");
    AddJsonFlag(hash, options->Json);
}

} // namespace Quorvin::Tool
