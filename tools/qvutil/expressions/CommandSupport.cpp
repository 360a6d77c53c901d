// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/CommandSupport.h"

#include "cli/Console.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

QStringList SplitNames(const QStringList& values)
{
    QStringList names;
    for (const QString& value : values) {
        for (const QString& name : value.split(u',', Qt::SkipEmptyParts))
            names.append(name.trimmed());
    }
    return names;
}

QString Word(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

void FailAt(const ExpressionOutline& outline, ExpressionOutline::Range where, const QString& reason)
{
    Console::PrintError(outline.Marked(where) + u'\n');
    throw Failure(u"expression, column %1"_s.arg(where.Begin + 1), reason);
}

void RequireWellFormed(const ExpressionOutline& outline)
{
    if (const ExpressionProblem* mistake = outline.Mistake())
        FailAt(outline, mistake->Where, mistake->Reason);
}

void AddTextCommand(CommandLine& line, CLI::App& group, const std::string& name,
                    const std::string& description, const std::string& examples,
                    ExitCode (*run)(const TextOptions&))
{
    auto options = std::make_shared<TextOptions>();
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    AddText(command, "EXPRESSION", options->Expression, "Expression, such as \"a & (b | c)\"")->required();
    AddJsonFlag(command, options->Json);
}

} // namespace Quorvin::Tool
