// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExprCommands.h"

#include "cli/Command.h"
#include "cli/Groups.h"

namespace Quorvin::Tool {

void AddExprCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("expr", "Evaluate and check boolean expressions");
    AddExprEvalCommand(line, group);
    AddExprLintCommand(line, group);
    AddExprTableCommand(line, group);
    AddExprOperandsCommand(line, group);
}

} // namespace Quorvin::Tool
