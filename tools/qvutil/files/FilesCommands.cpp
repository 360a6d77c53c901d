// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "files/FilesCommands.h"

#include "cli/Console.h"
#include "cli/FilePattern.h"
#include "cli/Groups.h"
#include "cli/Report.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

CLI::App& AddFilesCommand(CommandLine& line, CLI::App& group, const std::string& name,
                          const std::string& description, const std::string& examples,
                          const std::shared_ptr<FilesOptions>& options, ExitCode (*run)(const FilesOptions&))
{
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    AddText(command, "FOLDER", options->Folder, "Folder that contains the files")->required();
    AddTexts(command, "--name,-n", options->Patterns,
             "Pattern for file names, such as *.log; default: all files")
        ->type_name("PATTERN");
    command.add_flag("--recursive,-r", options->Recursive, "Include sub-folders");
    command.add_flag("--hidden", options->Hidden, "Include hidden files and folders");
    AddJsonFlag(command, options->Json);
    return command;
}

void CheckPattern(const QString& pattern)
{
    const QStringList parts = pattern.split(u'|', Qt::SkipEmptyParts);
    for (const QString& part : parts)
        CheckFilePattern(part);
}

void CheckPatterns(const QStringList& patterns)
{
    for (const QString& pattern : patterns) {
        if (pattern.split(u'|', Qt::SkipEmptyParts).isEmpty())
            throw UsageFailure(u"the pattern '%1' of --name is empty"_s.arg(pattern));
        CheckPattern(pattern);
    }
}

void PrintPaths(const QStringList& paths, bool json)
{
    Report report(json);
    for (const QString& path : paths)
        report.AddItem([&] { return path; }, [&] { Console::PrintLine(path); });
    report.Finish();
}

void AddFilesCommands(CommandLine& line)
{
    CLI::App& group
        = line.AddGroup("files", "List and delete files, and find unused names; links are ignored");
    AddFilesListCommand(line, group);
    AddFilesDeleteCommand(line, group);
    AddFilesUniqueCommand(line, group);
}

} // namespace Quorvin::Tool
