// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_EXPRESSIONS_EXPRCOMMANDS_H
#define QVUTIL_TOOL_EXPRESSIONS_EXPRCOMMANDS_H

namespace CLI {
class App;
} // namespace CLI

namespace Quorvin::Tool {

class CommandLine;

// The commands of `qvutil expr`, in the order of its help.
void AddExprEvalCommand(CommandLine& line, CLI::App& group);
void AddExprLintCommand(CommandLine& line, CLI::App& group);
void AddExprTableCommand(CommandLine& line, CLI::App& group);
void AddExprOperandsCommand(CommandLine& line, CLI::App& group);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_EXPRESSIONS_EXPRCOMMANDS_H
