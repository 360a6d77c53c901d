// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/IpcCommands.h"

#include "cli/Command.h"
#include "cli/Groups.h"

namespace Quorvin::Tool {

void AddIpcCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("ipc", "Talk to the servers of applications, and look at what they say");
    AddEndpointListCommand(line, group);
    AddCallCommand(line, group);
    AddSendCommand(line, group);
    AddListenCommand(line, group);
    AddProxyCommand(line, group);
    AddBenchCommand(line, group);
    AddDoctorCommand(line, group);
}

} // namespace Quorvin::Tool
