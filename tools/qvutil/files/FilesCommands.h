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

/// The options of a command that works on the files of a folder.
struct FilesOptions
{
    QString Folder;
    QStringList Patterns;
    bool Recursive = false;
    bool Hidden = false;
    bool DryRun = false;
    bool Json = false;

    /// Always contains NoSymLinks, because the target of a link does not belong to the folder.
    [[nodiscard]] QDir::Filters Filters() const
    {
        const QDir::Filters filters = QDir::Files | QDir::NoSymLinks;
        return Hidden ? filters | QDir::Hidden : filters;
    }
    [[nodiscard]] QString Filter() const { return Patterns.join(u'|'); }
};
/// Adds a command that works on the files of a folder.
CLI::App& AddFilesCommand(CommandLine& line, CLI::App& group, const std::string& name,
                          const std::string& description, const std::string& examples,
                          const std::shared_ptr<FilesOptions>& options, ExitCode (*run)(const FilesOptions&));
/// Throws UsageFailure if a pattern is invalid or empty. For the library, an empty pattern means all files,
/// but an empty shell variable must not select everything.
void CheckPatterns(const QStringList& patterns);
/// Throws UsageFailure if a pattern is invalid.
void CheckPattern(const QString& pattern);
/// Prints paths, one per line or as a JSON array.
void PrintPaths(const QStringList& paths, bool json);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_FILES_FILESCOMMANDS_H
