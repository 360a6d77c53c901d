// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Session.h"
#include "grid/GridSnapshot.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

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

/// Prints what becomes of the members from one look to the next.
class Watcher
{
public:
    explicit Watcher(const WatchOptions& options)
        : mOptions(options)
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
        Console::Flush();
    }

    [[nodiscard]] bool IsDone() const { return mOptions.Count > 0 && mReported >= mOptions.Count; }

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
        if (IsDone())
            return;
        ++mReported;
        const QDateTime now = QDateTime::currentDateTime();
        if (mOptions.Json) {
            Console::Print(QString::fromUtf8(
                QJsonDocument(QJsonObject{{u"time"_s, now.toUTC().toString(Qt::ISODateWithMs)},
                                          {u"event"_s, event},
                                          {u"processId"_s, member.ProcessId},
                                          {u"serverName"_s, member.ServerName}})
                    .toJson(QJsonDocument::Compact)
                + '\n'));
            return;
        }
        Console::PrintLine(u"%1  %2  %3  %4"_s.arg(now.toString(u"HH:mm:ss.zzz"_s), event.leftJustified(6))
                               .arg(member.ProcessId)
                               .arg(Console::Visible(member.ServerName)));
    }

    const WatchOptions& mOptions;
    QList<GridMember> mMembers;
    int mReported = 0;
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
        = AddGridCommand(line, group, "watch", "Print who joins, leaves and dies, until interrupted",
                         "qvutil grid watch desk\n"
                         "qvutil grid watch desk --json | jq --unbuffered -r .event",
                         *options);
    AddExplanation(
        watch,
        "Begins with the members that there are. \"left\" is said of a process that took its entry\n"
        "with it, \"died\" of one that did not, and \"pruned\" when another removes that entry.");
    watch.get_option("GRID")->required();
    AddNumber(watch, "--count", options->Count, {.Min = 1, .Max = 1000000000}, "End after so many lines")
        ->type_name("N");
    AddNumber(watch, "--interval", options->IntervalMs, {.Min = 1, .Max = 3600000},
              "Time between two looks, 250 if not given")
        ->type_name("MS");
    line.SetAction(watch, [options] { return Watch(*options); });
}

} // namespace Quorvin::Tool
