// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "cli/Table.h"
#include "ipc/EndpointList.h"
#include "ipc/IpcCommands.h"

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// A healthy server accepts a connection at once, but a busy one needs some time.
constexpr int kAcceptMs = 500;
constexpr int kLookAgainMs = 50;

struct ListOptions
{
    bool All = false;
    bool Json = false;
};

QList<EndpointEntry> FindEndpoints(bool withOthers)
{
    QList<EndpointEntry> entries = ListEndpoints(withOthers);
    const auto isAnyWaiting = [&entries] {
        return std::any_of(entries.begin(), entries.end(),
                           [](const EndpointEntry& entry) { return entry.HasWaiting(); });
    };
    if (!isAnyWaiting())
        return entries;
    Session session(Session::DiesOfSignals);
    const QDeadlineTimer deadline(kAcceptMs);
    while (isAnyWaiting() && !deadline.hasExpired()) {
        session.Pause(QDeadlineTimer(kLookAgainMs));
        entries = ListEndpoints(withOthers);
    }
    return entries;
}

ExitCode List(const ListOptions& options)
{
    const QList<EndpointEntry> entries = FindEndpoints(options.All);
    const auto toJson = [&entries] {
        QJsonArray array;
        for (const EndpointEntry& entry : entries)
            array.append(ToJson(entry));
        return array;
    };
    Report(options.Json).Answer(toJson, [&entries] {
        if (entries.isEmpty())
            Console::PrintLine(u"no servers in %1"_s.arg(EndpointFolders().join(u", "_s)));
        else
            PrintTable(EndpointsToRows(entries));
    });
    return entries.isEmpty() ? ExitCode::No : ExitCode::Yes;
}

} // namespace

void AddEndpointListCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& list = line.AddCommand(group, "list", "List the servers that listen",
                                     "qvutil ipc list\n"
                                     "qvutil ipc list --json | jq -r '.[] | select(.stale).path'",
                                     [options] { return List(*options); });
    AddExplanation(list,
                   "Looks in the folder for temporary files and in $XDG_RUNTIME_DIR, and connects to no\n"
                   "server. A server is \"stale\" if its process has ended and left the socket file behind.\n"
                   "The library is \"unknown\" if the process belongs to another user, has ended, or links\n"
                   "QvUtil statically. The exit code is 1 if there is nothing to list.");
    list.add_flag("--all", options->All, "List the sockets of other programs too");
    AddJsonFlag(list, options->Json);
}

} // namespace Quorvin::Tool
