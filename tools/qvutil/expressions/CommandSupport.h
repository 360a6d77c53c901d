// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_EXPRESSIONS_COMMANDSUPPORT_H
#define QVUTIL_TOOL_EXPRESSIONS_COMMANDSUPPORT_H

#include "cli/Command.h"
#include "expressions/ExpressionOutline.h"

#include <QString>
#include <QStringList>

#include <string>

// What the commands of `qvutil expr` have in common.
namespace Quorvin::Tool {

/// The entries of options that take lists, "a,b".
[[nodiscard]] QStringList SplitNames(const QStringList& values);
/// "true" or "false".
[[nodiscard]] QString Word(bool value);

/// Prints the expression with a mark under the place, and ends the command.
[[noreturn]] void FailAt(const ExpressionOutline& outline, ExpressionOutline::Range where,
                         const QString& reason);
/// Ends the command if the expression is not well formed.
void RequireWellFormed(const ExpressionOutline& outline);

/// What a command needs that takes an expression and nothing else.
struct TextOptions
{
    QString Expression;
    bool Json = false;
};
/// Adds such a command.
void AddTextCommand(CommandLine& line, CLI::App& group, const std::string& name,
                    const std::string& description, const std::string& examples,
                    ExitCode (*run)(const TextOptions&));

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_EXPRESSIONS_COMMANDSUPPORT_H
