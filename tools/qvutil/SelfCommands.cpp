// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "Groups.h"

namespace Quorvin::Tool {

void AddSelfCommands(CommandLine& line)
{
    (void)line;
}

} // namespace Quorvin::Tool
