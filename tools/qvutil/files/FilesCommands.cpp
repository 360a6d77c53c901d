// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"

#include <qvutil/GeneralUtil.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QSet>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

struct FilesOptions
{
    QString Folder;
    QStringList Patterns;
    bool Recursive = false;
    bool Hidden = false;
    bool DryRun = false;
    bool Json = false;

    /// Never without NoSymLinks: what lies behind a link is somebody else's.
    [[nodiscard]] QDir::Filters Filters() const
    {
        const QDir::Filters filters = QDir::Files | QDir::NoSymLinks;
        return Hidden ? filters | QDir::Hidden : filters;
    }
    [[nodiscard]] QString Filter() const { return Patterns.join(u'|'); }
};

struct UniqueOptions
{
    QString File;
    QString Format;
    QString FirstTry;
    bool Prefix = false;
    int Start = 2;
};

QStringList ListFiles(const FilesOptions& options)
{
    // Sorted, because the file system's order differs from one machine to the next.
    QStringList files
        = GeneralUtil::GetFiles(options.Folder, options.Filter(), options.Filters(), options.Recursive);
    files.sort();
    return files;
}

// For the library no pattern means all files: a variable of the shell that happens to be empty must not.
void RejectEmptyPatterns(const QStringList& patterns)
{
    for (const QString& pattern : patterns) {
        if (pattern.split(u'|', Qt::SkipEmptyParts).isEmpty())
            throw UsageFailure(u"the pattern '%1' of --name is empty"_s.arg(pattern));
    }
}

void PrintPaths(const QStringList& paths, bool json)
{
    if (json) {
        Console::PrintJson(QJsonDocument(QJsonArray::fromStringList(paths)));
        return;
    }
    for (const QString& path : paths)
        Console::PrintLine(path);
}

ExitCode List(const FilesOptions& options)
{
    RejectEmptyPatterns(options.Patterns);
    const QFileInfo info(options.Folder);
    if (!info.exists())
        throw Failure(options.Folder, u"there is no such folder"_s);
    if (!info.isDir() && !options.Patterns.isEmpty())
        throw Failure(options.Folder, u"is not a folder"_s);
    if (info.isDir() && !info.isReadable())
        throw Failure(options.Folder, u"cannot be read"_s);

    const QStringList files = ListFiles(options);
    PrintPaths(files, options.Json);
    return files.isEmpty() ? ExitCode::No : ExitCode::Yes;
}

// Everything that lies in a folder, hidden files and dangling links included.
QStringList EverythingIn(const QString& folder)
{
    constexpr QDir::Filters kEverything
        = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QStringList paths;
    const QFileInfoList entries = QDir(folder).entryInfoList(kEverything);
    for (const QFileInfo& entry : entries)
        paths.append(QDir::cleanPath(entry.absoluteFilePath()));
    return paths;
}

// What DeleteFiles removes if nothing prevents it: the files, then the folders that are empty by then.
QStringList PlanDeletion(const FilesOptions& options)
{
    QStringList plan = ListFiles(options);
    QSet<QString> going(plan.cbegin(), plan.cend());

    const QDir::Filters folderFilters = (options.Filters() & ~QDir::Filters(QDir::Files)) | QDir::Dirs;
    QStringList folders = GeneralUtil::GetFiles(options.Folder, {}, folderFilters, true);
    folders.prepend(QDir::cleanPath(QFileInfo(options.Folder).absoluteFilePath()));
    std::reverse(folders.begin(), folders.end()); // each folder comes before those below it
    for (const QString& folder : std::as_const(folders)) {
        const QStringList content = EverythingIn(folder);
        const bool becomesEmpty = std::all_of(content.cbegin(), content.cend(),
                                              [&](const QString& path) { return going.contains(path); });
        if (becomesEmpty && QFileInfo(folder).isReadable()) {
            going.insert(folder);
            plan.append(folder);
        }
    }
    return plan;
}

ExitCode CarryOut(const FilesOptions& options, const QStringList& plan)
{
    const bool isDone
        = GeneralUtil::DeleteFiles(options.Folder, options.Filter(), options.Filters(), options.Recursive);
    auto code = isDone ? ExitCode::Yes : ExitCode::Error;
    QStringList gone;
    for (const QString& path : plan) {
        if (!QFileInfo::exists(path)) {
            gone.append(path);
        } else if (EverythingIn(path).isEmpty()) { // a folder that is not empty is not the cause
            Console::Complain(path, u"could not be deleted"_s);
            code = ExitCode::Error;
        }
    }
    PrintPaths(gone, options.Json);
    return code;
}

ExitCode Delete(const FilesOptions& options)
{
    RejectEmptyPatterns(options.Patterns);
    const QFileInfo info(QDir::cleanPath(options.Folder)); // a slash at the end would hide a link
    if (options.Folder.isEmpty() || (!info.exists() && !info.isSymLink()))
        throw Failure(options.Folder, u"there is no such folder"_s);
    if (info.isSymLink())
        throw Failure(options.Folder, u"is a link: name the folder itself"_s);
    if (!info.isDir())
        throw Failure(options.Folder, u"is not a folder"_s);
    if (!info.isReadable())
        throw Failure(options.Folder, u"cannot be read"_s);

    const QStringList plan = PlanDeletion(options);
    if (!options.DryRun)
        return CarryOut(options, plan);
    PrintPaths(plan, options.Json);
    return ExitCode::Yes;
}

ExitCode Unique(const UniqueOptions& options)
{
    if (options.File.isEmpty())
        throw UsageFailure(u"FILE is empty"_s);
    const QString file = GeneralUtil::GetUniqueFile(options.File, options.Format, options.FirstTry,
                                                    !options.Prefix, options.Start);
    if (file.isEmpty()) {
        Console::Complain(options.File, u"all names are taken"_s);
        return ExitCode::No;
    }
    Console::PrintLine(file);
    return ExitCode::Yes;
}

CLI::App& AddFilesCommand(CommandLine& line, CLI::App& group, const std::string& name,
                          const std::string& description, const std::string& examples,
                          const std::shared_ptr<FilesOptions>& options, ExitCode (*run)(const FilesOptions&))
{
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    AddText(command, "FOLDER", options->Folder, "The folder")->required();
    AddTexts(command, "--name,-n", options->Patterns,
             "Pattern of the names, such as *.log; default: all files")
        ->type_name("PATTERN");
    command.add_flag("--recursive,-r", options->Recursive, "Look into folders in folders too");
    command.add_flag("--hidden", options->Hidden, "Take hidden files and folders too");
    AddJsonFlag(command, options->Json);
    return command;
}

void AddUnique(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<UniqueOptions>();
    CLI::App& unique
        = line.AddCommand(group, "unique", "Print a file name that is not taken, with a tag if it must be",
                          "qvutil files unique report.txt --format \"(%1)\"   # report(2).txt\n"
                          "cp report.txt \"$(qvutil files unique report.txt --first -backup)\"",
                          [options] { return Unique(*options); });
    AddText(unique, "FILE", options->File, "The name wanted; printed as it is if it is free")->required();
    AddText(unique, "--format", options->Format, "Tag, with %1 where the counter goes; default: %1");
    AddText(unique, "--first", options->FirstTry, "Tag to try before the counted ones");
    unique.add_flag("--prefix", options->Prefix, "Put the tag before the name, not behind it");
    AddNumber(unique, "--start", options->Start, {}, "First value of the counter; default: 2");
}

} // namespace

void AddFilesCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("files", "List and delete files, find free names; links are left alone");
    AddFilesCommand(line, group, "list", "List files; the exit code is 1 if there are none",
                    "qvutil files list logs --name '*.log' --name '*.txt' --recursive",
                    std::make_shared<FilesOptions>(), &List);

    auto options = std::make_shared<FilesOptions>();
    CLI::App& remove = AddFilesCommand(
        line, group, "delete",
        "Delete files without asking, read-only ones too, and then the folders that are empty; list them",
        "qvutil files delete cache --name '*.tmp' --recursive --dry-run\n"
        "qvutil files delete cache --recursive   # and the folder itself, if nothing hidden is in it",
        options, &Delete);
    remove.add_flag("--dry-run", options->DryRun, "Delete nothing: list what would go");
    AddUnique(line, group);
}

} // namespace Quorvin::Tool
