// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "cli/Report.h"
#include "documents/FileCheck.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct CheckOptions
{
    QStringList Files;
    bool Json = false;
};

QJsonObject ToJson(const QString& file, const QList<FileProblem>& problems)
{
    QJsonArray array;
    for (const FileProblem& problem : problems)
        array.append(problem.ToJson());
    return {{u"file"_s, file}, {u"ok"_s, problems.isEmpty()}, {u"problems"_s, array}};
}

void Print(const QString& file, const QList<FileProblem>& problems)
{
    if (problems.isEmpty())
        Console::PrintLine(Console::Visible(file) + ": good"_L1);
    for (const FileProblem& problem : problems)
        Console::PrintLine(Console::Visible(problem.ToText(file)));
}

ExitCode Check(const CheckOptions& options)
{
    RequireOneStandardInput(options.Files);
    auto code = ExitCode::Yes;
    Report report(options.Json);
    for (const QString& argument : options.Files) {
        try {
            const InputFile file(argument);
            const QList<FileProblem> problems = CheckFile(file);
            if (!problems.isEmpty())
                code = std::max(code, ExitCode::No);
            report.AddItem([&] { return ToJson(file.Name(), problems); },
                           [&] { Print(file.Name(), problems); });
        } catch (const Failure& failure) { // continue with the other files
            Console::ReportError(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
    }
    report.Finish();
    return code;
}

} // namespace

void AddSettingsCheckCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<CheckOptions>();
    CLI::App& check = line.AddCommand(group, "check", "Check that settings files are complete and readable",
                                      "qvutil settings check app.xml\n"
                                      "qvutil settings check ~/.config/*/*.xml --json",
                                      [options] { return Check(*options); });
    AddExplanation(
        check,
        "Reports files that do not parse (with line and column), truncated files, characters that\n"
        "cannot be read back, and temporary files that interrupted saves left behind.");
    AddTexts(check, "FILE", options->Files, "Settings file to check; - for standard input")->required();
    AddJsonFlag(check, options->Json);
}

} // namespace Quorvin::Tool
