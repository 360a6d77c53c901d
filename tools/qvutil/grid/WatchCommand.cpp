// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/EventLog.h"
#include "cli/Session.h"
#include "cli/Table.h"
#include "grid/GridReport.h"
#include "grid/GridSnapshot.h"

#include <algorithm>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct WatchOptions : GridOptions
{
    int Count = 0;
    int IntervalMs = 250;
};

/// Reports how the members change from one check to the next.
class Watcher
{
public:
    explicit Watcher(const WatchOptions& options)
        : mOptions(options)
        , mLog(options.Json, options.Count)
    { }

    void Look()
    {
        const QList<GridMember> members = ReadGridRegistry(mOptions.Grid).Members;
        for (const GridMember& old : std::as_const(mMembers)) {
            const GridMember* member = Find(members, old);
            if (!member)
                Report(old.IsAlive ? u"left"_s : u"pruned"_s, old);
            else if (old.IsAlive && !member->IsAlive)
                Report(u"died"_s, old);
        }
        for (const GridMember& member : members) {
            if (Find(mMembers, member))
                continue;
            Report(mIsFirst ? u"member"_s : u"joined"_s, member);
            if (!member.IsAlive)
                Report(u"died"_s, member);
        }
        mMembers = members;
        mIsFirst = false;
        if (mLog.IsLive())
            Draw();
        Console::Flush();
    }

    [[nodiscard]] bool IsDone() const { return mLog.IsDone(); }

private:
    static const GridMember* Find(const QList<GridMember>& members, const GridMember& wanted)
    {
        const auto member
            = std::find_if(members.begin(), members.end(), [&wanted](const GridMember& candidate) {
                  return candidate.ProcessId == wanted.ProcessId && candidate.ServerName == wanted.ServerName;
              });
        return member != members.end() ? &*member : nullptr;
    }

    void Report(const QString& event, const GridMember& member)
    {
        mLog.Add(event, u"%1  %2"_s.arg(member.ProcessId).arg(member.ServerName),
                 {{u"processId"_s, member.ProcessId}, {u"serverName"_s, member.ServerName}});
    }

    void Draw()
    {
        const GridSnapshot snapshot = InspectGrid(mOptions.Grid);
        const qsizetype dead = snapshot.DeadCount();
        QStringList lines = {u"grid %1: %2 alive, %3 dead"_s.arg(snapshot.Name)
                                 .arg(snapshot.Registry.Members.size() - dead)
                                 .arg(dead)};
        if (!snapshot.Registry.Members.isEmpty())
            lines += FormatTable(MembersToRows(snapshot));
        mLog.Draw(lines);
    }

    const WatchOptions& mOptions;
    EventLog mLog;
    QList<GridMember> mMembers;
    bool mIsFirst = true;
};

ExitCode Watch(const WatchOptions& options)
{
    RequireGridName(options.Grid);
    Session session(Session::EndsOnSignals);
    Watcher watcher(options);
    const auto isDone = [&watcher] {
        watcher.Look();
        return watcher.IsDone();
    };
    while (!isDone() && !session.IsInterrupted())
        session.Pause(QDeadlineTimer(options.IntervalMs));
    return ExitCode::Yes;
}

} // namespace

void AddGridWatchCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App& watch
        = AddGridCommand(line, group, "watch", "Show members that join, leave or die, until interrupted",
                         "qvutil grid watch desk\n"
                         "qvutil grid watch desk --json | jq --unbuffered -r .event",
                         *options);
    AddExplanation(
        watch,
        "Updates the table of qvutil grid list on a terminal, with the latest events below it. Otherwise,\n"
        "each event is a line. The first events are the existing members. \"left\" means that\n"
        "a process removed its entry, \"died\" that it ended without doing so, and \"pruned\" that\n"
        "another process removed the entry of a dead one.");
    watch.get_option("GRID")->required();
    AddNumber(watch, "--count", options->Count, {.Min = 1, .Max = 1000000000},
              "Stop after this number of events")
        ->type_name("N");
    AddNumber(watch, "--interval", options->IntervalMs, {.Min = 1, .Max = 3600000},
              "Milliseconds between two checks (default 250)")
        ->type_name("MS");
    line.SetAction(watch, [options] { return Watch(*options); });
}

} // namespace Quorvin::Tool
