// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_PATHS_PATHCOMMANDS_H
#define QVUTIL_TOOL_PATHS_PATHCOMMANDS_H

#include "cli/Command.h"

#include <QString>
#include <QStringList>

#include <string>

namespace Quorvin::Tool {

// The commands of `qvutil path`, in the order of its help.
void AddPathCleanCommand(CommandLine& line, CLI::App& group);
void AddPathRelativeCommand(CommandLine& line, CLI::App& group);
void AddPathAbsoluteCommand(CommandLine& line, CLI::App& group);
void AddPathCommonCommand(CommandLine& line, CLI::App& group);
void AddPathSubCommand(CommandLine& line, CLI::App& group);

/// Part of the help of each command that this rule affects, because users of a Unix shell would not expect
/// it.
constexpr const char* kAbsoluteRules
    = " (a path is absolute if it contains a ':' or begins with two slashes)";

/// The options of a command that converts paths.
struct PathOptions
{
    QStringList Paths;
    QString Base;
    bool BaseIsFile = false;
    bool Json = false;
};
using PathConversion = QString (*)(const QString& path, const PathOptions& options);
/// Adds a command that converts paths, with the option --base if a description of it is passed.
void AddPathConversion(CommandLine& line, CLI::App& group, const std::string& name,
                       const std::string& description, const std::string& examples, PathConversion convert,
                       const std::string& baseDescription = {});

/// The options of a command that compares two paths.
struct PairOptions
{
    QString First;
    QString Second;
    bool Json = false;
};
/// Adds a command that compares two paths.
void AddPathComparison(CommandLine& line, CLI::App& group, const std::string& name,
                       const std::string& description, const std::string& examples, const std::string& first,
                       const std::string& second, ExitCode (*run)(const PairOptions&));
/// Prints the result of a comparison. \return the command's exit code
[[nodiscard]] ExitCode PrintPathAnswer(const QString& result, bool isYes, bool json);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_PATHS_PATHCOMMANDS_H
