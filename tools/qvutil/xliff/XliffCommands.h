// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFCOMMANDS_H
#define QVUTIL_TOOL_XLIFF_XLIFFCOMMANDS_H

namespace CLI {
class App;
} // namespace CLI

namespace Quorvin::Tool {

class CommandLine;

// The commands of `qvutil xliff`, in the order of its help.
void AddXliffExtractCommand(CommandLine& line, CLI::App& group);
void AddXliffCheckCommand(CommandLine& line, CLI::App& group);
void AddXliffRepairCommand(CommandLine& line, CLI::App& group);
void AddXliffFillCommand(CommandLine& line, CLI::App& group);
void AddXliffMergeCommand(CommandLine& line, CLI::App& group);
void AddXliffListCommand(CommandLine& line, CLI::App& group);
void AddXliffStatCommand(CommandLine& line, CLI::App& group);
void AddXliffShowCommand(CommandLine& line, CLI::App& group);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFCOMMANDS_H
