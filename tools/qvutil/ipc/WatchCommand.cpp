// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/EventLog.h"
#include "cli/Table.h"
#include "cli/Watching.h"
#include "ipc/EndpointList.h"
#include "ipc/IpcCommands.h"

#include <algorithm>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct WatchOptions
{
    WatchSchedule Schedule;
    bool All = false;
    bool Json = false;
};

QList<ProcessName> ServersOf(const EndpointEntry& entry)
{
    return entry.Processes ? entry.Processes->Servers : QList<ProcessName>();
}

QList<ProcessName> ClientsOf(const EndpointEntry& entry)
{
    return entry.Processes ? entry.Processes->Clients : QList<ProcessName>();
}

bool Contains(const QList<ProcessName>& processes, const ProcessName& wanted)
{
    return std::any_of(processes.begin(), processes.end(),
                       [&wanted](const ProcessName& process) { return process.Id == wanted.Id; });
}

bool HaveSameServer(const EndpointEntry& a, const EndpointEntry& b)
{
    const QList<ProcessName> serversOfA = ServersOf(a);
    const QList<ProcessName> serversOfB = ServersOf(b);
    return serversOfA.isEmpty() || serversOfB.isEmpty() || Contains(serversOfB, serversOfA.first());
}

/// Reports how the servers change from one check to the next.
class Watcher
{
public:
    explicit Watcher(const WatchOptions& options)
        : mWithOthers(options.All)
        , mLog(options.Json, options.Schedule.Count)
    { }

    void Update()
    {
        const QList<EndpointEntry> entries = ListEndpoints(mWithOthers);
        for (const EndpointEntry& old : std::as_const(mEntries)) {
            if (!Find(entries, old))
                Add(u"ended"_s, old, ServersOf(old));
        }
        for (const EndpointEntry& entry : entries)
            Compare(Find(mEntries, entry), entry);
        mEntries = entries;
        mIsFirst = false;
        if (mLog.IsLive())
            Draw();
        Console::Flush();
    }

    [[nodiscard]] bool IsDone() const { return mLog.IsDone(); }

private:
    static const EndpointEntry* Find(const QList<EndpointEntry>& entries, const EndpointEntry& wanted)
    {
        const auto entry
            = std::find_if(entries.begin(), entries.end(), [&wanted](const EndpointEntry& candidate) {
                  return candidate.Path == wanted.Path;
              });
        return entry != entries.end() ? &*entry : nullptr;
    }

    void Compare(const EndpointEntry* old, const EndpointEntry& entry)
    {
        const bool isNew = !old || old->IsStale();
        if (entry.IsStale()) {
            if (!old)
                Add(u"stale"_s, entry, {});
            else if (!old->IsStale())
                Add(u"died"_s, entry, ServersOf(*old));
            return;
        }
        if (isNew)
            Add(mIsFirst ? u"server"_s : u"started"_s, entry, ServersOf(entry));
        else if (!HaveSameServer(*old, entry))
            Add(u"replaced"_s, entry, ServersOf(entry));
        const QList<ProcessName> before = isNew ? QList<ProcessName>() : ClientsOf(*old);
        const QList<ProcessName> now = ClientsOf(entry);
        for (const ProcessName& client : before) {
            if (!Contains(now, client))
                Add(u"disconnected"_s, entry, {client});
        }
        for (const ProcessName& client : now) {
            if (!Contains(before, client))
                Add(u"connected"_s, entry, {client});
        }
    }

    void Add(const QString& event, const EndpointEntry& entry, const QList<ProcessName>& processes)
    {
        QString text = entry.Name;
        QJsonValue process;
        if (!processes.isEmpty()) {
            text += "  "_L1 + ToText(processes);
            process = QJsonObject{{u"id"_s, processes.first().Id}, {u"name"_s, processes.first().Name}};
        }
        mLog.Add(event, text, {{u"name"_s, entry.Name}, {u"path"_s, entry.Path}, {u"process"_s, process}});
    }

    void Draw()
    {
        mLog.Draw(mEntries.isEmpty() ? QStringList(u"no servers in %1"_s.arg(EndpointFolders().join(u", "_s)))
                                     : FormatTable(EndpointsToRows(mEntries)));
    }

    bool mWithOthers;
    EventLog mLog;
    QList<EndpointEntry> mEntries;
    bool mIsFirst = true;
};

ExitCode Watch(const WatchOptions& options)
{
    Watcher watcher(options);
    RepeatUntilInterrupted(options.Schedule.IntervalMs, [&watcher] {
        watcher.Update();
        return watcher.IsDone();
    });
    return ExitCode::Yes;
}

} // namespace

void AddEndpointWatchCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App& watch = line.AddCommand(
        group, "watch", "Show servers and clients as they appear and disappear, until interrupted",
        "qvutil ipc watch\n"
        "qvutil ipc watch --json | jq --unbuffered -r 'select(.event == \"died\").name'",
        [options] { return Watch(*options); });
    AddExplanation(
        watch,
        "Updates the table of qvutil ipc list on a terminal, with the latest events below it. Otherwise,\n"
        "prints one line per event: \"ended\" if a server has removed its socket file, \"died\" if its\n"
        "process has left the file behind. Connects to no server.");
    watch.add_flag("--all", options->All, "Watch the sockets of other programs too");
    AddWatchSchedule(watch, options->Schedule);
    AddJsonFlag(watch, options->Json);
}

} // namespace Quorvin::Tool
