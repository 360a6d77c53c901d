// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "files/FilesCommands.h"

#include <qvutil/GeneralUtil.h>

#include <QFileInfo>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

QStringList ListFiles(const FilesOptions& options)
{
    // Sort the files, because their order in the file system differs between machines.
    QStringList files
        = GeneralUtil::GetFiles(options.Folder, options.Filter(), options.Filters(), options.Recursive);
    files.sort();
    return files;
}

ExitCode List(const FilesOptions& options)
{
    CheckPatterns(options.Patterns);
    const QFileInfo info(options.Folder);
    if (!info.exists())
        throw Failure(options.Folder, u"there is no such folder"_s);
    if (!info.isDir() && !options.Patterns.isEmpty())
        throw Failure(options.Folder, u"is not a folder"_s);
    if (!info.isDir())
        CheckPattern(info.fileName()); // the library uses the name of a file as a pattern
    if (info.isDir() && !info.isReadable())
        throw Failure(options.Folder, u"cannot be read"_s);

    const QStringList files = ListFiles(options);
    PrintPaths(files, options.Json);
    return files.isEmpty() ? ExitCode::No : ExitCode::Yes;
}

} // namespace

void AddFilesListCommand(CommandLine& line, CLI::App& group)
{
    AddFilesCommand(line, group, "list", "List files; the exit code is 1 if there are none",
                    "qvutil files list logs --name '*.log' --name '*.txt' --recursive",
                    std::make_shared<FilesOptions>(), &List);
}

} // namespace Quorvin::Tool
