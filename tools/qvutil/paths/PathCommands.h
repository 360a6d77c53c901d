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

/// Said in the help of each command that it decides, because it is not what a Unix shell leads to expect.
constexpr const char* kAbsoluteRules = " (absolute is what has a ':' or begins with two slashes)";

/// What a command needs that converts paths.
struct PathOptions
{
    QStringList Paths;
    QString Base;
    bool BaseIsFile = false;
    bool Json = false;
};
using PathConversion = QString (*)(const QString& path, const PathOptions& options);
/// Adds such a command; with the option --base if that has a description.
void AddPathConversion(CommandLine& line, CLI::App& group, const std::string& name,
                       const std::string& description, const std::string& examples, PathConversion convert,
                       const std::string& baseDescription = {});

/// What a command needs that compares two paths.
struct PairOptions
{
    QString First;
    QString Second;
    bool Json = false;
};
/// Adds such a command.
void AddPathComparison(CommandLine& line, CLI::App& group, const std::string& name,
                       const std::string& description, const std::string& examples, const std::string& first,
                       const std::string& second, ExitCode (*run)(const PairOptions&));
/// Prints the answer of such a command. \return what the command answers
[[nodiscard]] ExitCode PrintPathAnswer(const QString& result, bool isYes, bool json);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_PATHS_PATHCOMMANDS_H
