// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "cli/Console.h"
#include "cli/Difference.h"
#include "cli/InputFile.h"
#include "documents/DocumentChange.h"

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct FormatOptions
{
    QStringList Files;
    bool DryRun = false;
};

ExitCode Format(const FormatOptions& options)
{
    RequireOneStandardInput(options.Files);
    auto code = ExitCode::Yes;
    for (const QString& file : options.Files) {
        try {
            const ChangeOptions change{.File = file, .DryRun = options.DryRun};
            code = std::max(code, DocumentChange(change).Finish());
        } catch (const Failure& failure) { // continue with the other files
            Console::ReportError(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
    }
    return code;
}

} // namespace

void AddXmlFormatCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<FormatOptions>();
    CLI::App& command = line.AddCommand(group, "format", "Rewrite documents in the library's format",
                                        "qvutil xml format ui/*.xml\n"
                                        "qvutil xml format ui/*.xml --dry-run   # in a build: fails if a "
                                        "file is not formatted",
                                        [options] { return Format(*options); });
    AddExplanation(command,
                   "The result is UTF-8, indented by four spaces per level, with attributes sorted by name.\n"
                   "Comments, processing instructions and CDATA sections are kept.");
    AddTexts(command, "FILE", options->Files,
             "Documents to format; - reads standard input and prints the result")
        ->required();
    AddDryRunFlag(command, options->DryRun);
}

} // namespace Quorvin::Tool
