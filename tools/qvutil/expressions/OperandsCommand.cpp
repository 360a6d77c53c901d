// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExprCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "expressions/CommandSupport.h"
#include "expressions/ExpressionOutline.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

ExitCode Operands(const TextOptions& options)
{
    const ExpressionOutline outline(options.Expression);
    RequireWellFormed(outline);
    Report report(options.Json);
    for (const QString& name : outline.Operands())
        report.AddItem([&] { return name; }, [&] { Console::PrintLine(Console::Visible(name)); });
    report.Finish();
    return ExitCode::Yes;
}

} // namespace

void AddExprOperandsCommand(CommandLine& line, CLI::App& group)
{
    AddTextCommand(line, group, "operands", "List the operands of an expression",
                   "qvutil expr operands \"admin & (licensed | trial)\"", &Operands);
}

} // namespace Quorvin::Tool
