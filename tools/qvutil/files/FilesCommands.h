// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_FILES_FILESCOMMANDS_H
#define QVUTIL_TOOL_FILES_FILESCOMMANDS_H

#include "cli/Command.h"

#include <QDir>
#include <QString>
#include <QStringList>

#include <memory>
#include <string>

namespace Quorvin::Tool {

// The commands of `qvutil files`, in the order of its help.
void AddFilesListCommand(CommandLine& line, CLI::App& group);
void AddFilesDeleteCommand(CommandLine& line, CLI::App& group);
void AddFilesUniqueCommand(CommandLine& line, CLI::App& group);

/// What a command needs that takes the files of a folder.
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
/// Adds such a command.
CLI::App& AddFilesCommand(CommandLine& line, CLI::App& group, const std::string& name,
                          const std::string& description, const std::string& examples,
                          const std::shared_ptr<FilesOptions>& options, ExitCode (*run)(const FilesOptions&));
/// Throws UsageFailure if one of the patterns is empty. For the library no pattern means all files: a
/// variable of the shell that happens to be empty must not.
void RejectEmptyPatterns(const QStringList& patterns);
/// Prints paths, one a line or as a JSON array.
void PrintPaths(const QStringList& paths, bool json);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_FILES_FILESCOMMANDS_H
