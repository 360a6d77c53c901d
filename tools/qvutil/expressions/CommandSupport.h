// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_EXPRESSIONS_COMMANDSUPPORT_H
#define QVUTIL_TOOL_EXPRESSIONS_COMMANDSUPPORT_H

#include "cli/Command.h"
#include "expressions/ExpressionOutline.h"

#include <QString>
#include <QStringList>

#include <string>

// Helpers for the commands of `qvutil expr`.
namespace Quorvin::Tool {

/// Splits the value of an option that takes a list: "a,b".
[[nodiscard]] QStringList SplitNames(const QStringList& values);
/// Returns "true" or "false".
[[nodiscard]] QString Word(bool value);

/// Prints the expression with a mark under a place, and throws Failure with the reason.
[[noreturn]] void FailAt(const ExpressionOutline& outline, ExpressionOutline::Range where,
                         const QString& reason);
/// Throws Failure if the expression is not well formed.
void RequireWellFormed(const ExpressionOutline& outline);

/// The options of a command that takes only an expression.
struct TextOptions
{
    QString Expression;
    bool Json = false;
};
/// Adds a command that takes only an expression.
void AddTextCommand(CommandLine& line, CLI::App& group, const std::string& name,
                    const std::string& description, const std::string& examples,
                    ExitCode (*run)(const TextOptions&));

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_EXPRESSIONS_COMMANDSUPPORT_H
