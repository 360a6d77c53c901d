// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/EventLog.h"
#include "cli/Table.h"
#include "cli/Watching.h"
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
    WatchSchedule Schedule = {.IntervalMs = 250, .Count = 0};
};

/// Reports how the members change from one check to the next.
class Watcher
{
public:
    explicit Watcher(const WatchOptions& options)
        : mOptions(options)
        , mLog(options.Json, options.Schedule.Count)
    { }

    void Update()
    {
        if (mLog.IsLive()) {
            const GridSnapshot snapshot = InspectGrid(mOptions.Grid);
            Compare(snapshot.Registry.Members);
            Draw(snapshot);
        } else {
            Compare(ReadGridRegistry(mOptions.Grid).Members); // events need no connections
        }
        Console::Flush();
    }

    [[nodiscard]] bool IsDone() const { return mLog.IsDone(); }

private:
    void Compare(const QList<GridMember>& members)
    {
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
    }

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

    void Draw(const GridSnapshot& snapshot)
    {
        QStringList lines(TitleOf(snapshot));
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
    Watcher watcher(options);
    RepeatUntilInterrupted(options.Schedule.IntervalMs, [&watcher] {
        watcher.Update();
        return watcher.IsDone();
    });
    return ExitCode::Yes;
}

} // namespace

void AddGridWatchCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App& watch
        = AddGridCommand(line, group, "watch", "Show members as they join, leave or die, until interrupted",
                         "qvutil grid watch desk\n"
                         "qvutil grid watch desk --json | jq --unbuffered -r .event",
                         *options);
    AddExplanation(
        watch,
        "Updates the table of qvutil grid list on a terminal, with the latest events below it. Otherwise,\n"
        "prints one line per event. The first events are the existing members. \"left\" means that\n"
        "a process removed its entry, \"died\" that it ended without doing so, and \"pruned\" that\n"
        "another process removed the entry of a dead process.");
    watch.get_option("GRID")->required();
    AddWatchSchedule(watch, options->Schedule);
    line.SetAction(watch, [options] { return Watch(*options); });
}

} // namespace Quorvin::Tool
