// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messages/MessageCommands.h"

#include "cli/Command.h"
#include "cli/Groups.h"

namespace Quorvin::Tool {

void AddMessageCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("message", "Inspect messages that were captured between processes");
    AddMessageDecodeCommand(line, group);
    AddMessageEncodeCommand(line, group);
    AddMessageSplitCommand(line, group);
}

} // namespace Quorvin::Tool
