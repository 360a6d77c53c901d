// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/IpcCommands.h"

#include "cli/Command.h"
#include "cli/Groups.h"
#include "cli/OfferedValues.h"
#include "ipc/EndpointList.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

QStringList ServerNames()
{
    QStringList names;
    const QList<EndpointEntry> entries = ListEndpoints(false);
    for (const EndpointEntry& entry : entries) {
        if (!entry.IsStale())
            names.append(entry.Name);
    }
    return names;
}

} // namespace

void AddIpcCommands(CommandLine& line)
{
    OfferValues(u"servers"_s, &ServerNames);
    CLI::App& group
        = line.AddGroup("ipc", "Exchange messages with the servers of applications, and watch them");
    AddEndpointListCommand(line, group);
    AddEndpointWatchCommand(line, group);
    AddCallCommand(line, group);
    AddSendCommand(line, group);
    AddListenCommand(line, group);
    AddProxyCommand(line, group);
    AddBenchCommand(line, group);
    AddDoctorCommand(line, group);
}

} // namespace Quorvin::Tool
