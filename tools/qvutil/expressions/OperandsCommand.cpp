// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExprCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "expressions/CommandSupport.h"
#include "expressions/ExpressionOutline.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

ExitCode Operands(const TextOptions& options)
{
    const ExpressionOutline outline(options.Expression);
    RequireWellFormed(outline);
    if (options.Json) {
        Console::PrintJson(QJsonDocument(QJsonArray::fromStringList(outline.Operands())));
        return ExitCode::Yes;
    }
    for (const QString& name : outline.Operands())
        Console::PrintLine(Console::Visible(name));
    return ExitCode::Yes;
}

} // namespace

void AddExprOperandsCommand(CommandLine& line, CLI::App& group)
{
    AddTextCommand(line, group, "operands", "List the operands of an expression",
                   "qvutil expr operands \"admin & (licensed | trial)\"", &Operands);
}

} // namespace Quorvin::Tool
