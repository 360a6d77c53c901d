// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "grid/GridCleaning.h"
#include "grid/GridSnapshot.h"
#include "ipc/Session.h"
#include <qvutil/messaging/GridRegistry_p.h>

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct GridOptions
{
    QString Grid; ///< null if it is not given
    bool Json = false;
};

struct WatchOptions : GridOptions
{
    int Count = 0;
    int IntervalMs = 250;
};

struct CleanOptions : GridOptions
{
    bool DryRun = false;
};

void RequireName(const QString& grid)
{
    if (grid.isEmpty())
        throw UsageFailure(u"a grid has a name"_s);
}

ExitCode ComplainOfMissing(const GridSnapshot& snapshot)
{
    QString reason = u"there is no such grid in %1"_s.arg(QDir::tempPath());
    if (snapshot.Exists())
        reason += u", but something is left of one: see qvutil grid show"_s;
    Console::Complain(u"grid %1"_s.arg(snapshot.Name), reason);
    return ExitCode::No;
}

// --- tables

/// Prints columns side by side, each as wide as its longest text.
void PrintTable(const QList<QStringList>& rows)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths.at(i), row.at(i).size());
    }
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i)
            line += i + 1 < row.size() ? row.at(i).leftJustified(widths.at(i) + 2) : row.at(i);
        Console::PrintLine(line);
    }
}

QString JoinIds(const QList<qint64>& ids)
{
    QStringList texts;
    for (const qint64 id : ids)
        texts.append(QString::number(id));
    return texts.isEmpty() ? u"-"_s : texts.join(u',');
}

QString StateOf(const GridMember& member, const GridLinks* links)
{
    if (!member.IsAlive)
        return u"dead"_s;
    return links && !links->IsListening ? u"alive, not listening"_s : u"alive"_s;
}

const GridLinks* LinksOf(const GridSnapshot& snapshot, qsizetype member)
{
    return snapshot.Links ? &snapshot.Links->at(member) : nullptr;
}

void PrintMembers(const GridSnapshot& snapshot)
{
    QList<QStringList> rows = {{u"process"_s, u"state"_s, u"connected to"_s, u"client"_s, u"server"_s}};
    for (qsizetype i = 0; i < snapshot.Registry.Members.size(); ++i) {
        const GridMember& member = snapshot.Registry.Members.at(i);
        const GridLinks* links = LinksOf(snapshot, i);
        rows.append({QString::number(member.ProcessId), StateOf(member, links),
                     links ? JoinIds(links->Servers) : u"?"_s, links ? JoinIds(links->Clients) : u"?"_s,
                     Console::Visible(member.ServerName)});
    }
    PrintTable(rows);
}

// --- JSON

QJsonArray ToJson(const QList<qint64>& ids)
{
    QJsonArray array;
    for (const qint64 id : ids)
        array.append(id);
    return array;
}

QJsonArray MembersToJson(const GridSnapshot& snapshot)
{
    QJsonArray array;
    for (qsizetype i = 0; i < snapshot.Registry.Members.size(); ++i) {
        const GridMember& member = snapshot.Registry.Members.at(i);
        const GridLinks* links = LinksOf(snapshot, i);
        array.append(QJsonObject{
            {u"processId"_s, member.ProcessId},
            {u"serverName"_s, member.ServerName},
            {u"alive"_s, member.IsAlive},
            {u"listening"_s, links ? QJsonValue(links->IsListening) : QJsonValue::Null},
            {u"connectedTo"_s, links ? QJsonValue(ToJson(links->Servers)) : QJsonValue::Null},
            {u"clients"_s, links ? QJsonValue(ToJson(links->Clients)) : QJsonValue::Null},
        });
    }
    return array;
}

QJsonObject ToJson(const GridLeftover& leftover)
{
    switch (leftover.What) {
    case GridLeftover::Entry:
        return {
            {u"kind"_s, u"entry"_s}, {u"processId"_s, leftover.ProcessId}, {u"serverName"_s, leftover.Path}};
    case GridLeftover::Socket:
        return {{u"kind"_s, u"socket"_s}, {u"processId"_s, leftover.ProcessId}, {u"path"_s, leftover.Path}};
    case GridLeftover::Registry:
        return {{u"kind"_s, u"registry"_s}};
    case GridLeftover::LockFile:
        break;
    }
    return {{u"kind"_s, u"lockFile"_s}, {u"path"_s, leftover.Path}};
}

QJsonArray ToJson(const QList<GridLeftover>& leftovers)
{
    QJsonArray array;
    for (const GridLeftover& leftover : leftovers)
        array.append(ToJson(leftover));
    return array;
}

QJsonObject ToJson(const GridSnapshot& snapshot)
{
    return {{u"grid"_s, snapshot.Name},
            {u"exists"_s, snapshot.Registry.Exists},
            {u"healthy"_s, snapshot.IsHealthy()},
            {u"locked"_s, snapshot.Registry.IsLocked},
            {u"usedBytes"_s, snapshot.Registry.UsedBytes},
            {u"size"_s, Util::Internal::kRegistrySize},
            {u"members"_s, MembersToJson(snapshot)},
            {u"problems"_s, QJsonArray::fromStringList(snapshot.Registry.Problems)},
            {u"leftovers"_s, ToJson(snapshot.Leftovers)}};
}

// --- list

ExitCode ListGrids(bool json)
{
    QJsonArray array;
    QList<QStringList> rows = {{u"grid"_s, u"alive"_s, u"dead"_s, u"leftovers"_s}};
    for (const QString& grid : FindGrids()) {
        const GridSnapshot snapshot = LookAtGrid(grid);
        const qsizetype dead = snapshot.DeadCount();
        const qsizetype alive = snapshot.Registry.Members.size() - dead;
        array.append(QJsonObject{{u"grid"_s, grid},
                                 {u"alive"_s, alive},
                                 {u"dead"_s, dead},
                                 {u"leftovers"_s, snapshot.Leftovers.size()}});
        rows.append({Console::Visible(grid), QString::number(alive), QString::number(dead),
                     QString::number(snapshot.Leftovers.size())});
    }
    if (json)
        Console::PrintJson(QJsonDocument(array));
    else if (array.isEmpty())
        Console::PrintLine(u"no grids in %1"_s.arg(QDir::tempPath()));
    else
        PrintTable(rows);
    return array.isEmpty() ? ExitCode::No : ExitCode::Yes;
}

ExitCode List(const GridOptions& options)
{
    if (options.Grid.isNull())
        return ListGrids(options.Json);
    RequireName(options.Grid);
    const GridSnapshot snapshot = LookAtGrid(options.Grid);
    if (!snapshot.Registry.Exists)
        return ComplainOfMissing(snapshot);
    if (options.Json)
        Console::PrintJson(QJsonDocument(MembersToJson(snapshot)));
    else
        PrintMembers(snapshot);
    return ExitCode::Yes;
}

// --- show

QString Summary(const GridSnapshot& snapshot)
{
    const qsizetype dead = snapshot.DeadCount();
    return u"grid %1: %2 alive, %3 dead; %4 of %5 bytes used"_s.arg(Console::Visible(snapshot.Name))
        .arg(snapshot.Registry.Members.size() - dead)
        .arg(dead)
        .arg(snapshot.Registry.UsedBytes)
        .arg(Util::Internal::kRegistrySize);
}

void PrintIndented(const QStringList& lines)
{
    for (const QString& line : lines)
        Console::PrintLine(u"  "_s + Console::Visible(line));
}

void PrintSnapshot(const GridSnapshot& snapshot)
{
    if (snapshot.Registry.Exists) {
        Console::PrintLine(Summary(snapshot));
        if (!snapshot.Registry.Members.isEmpty()) {
            Console::PrintLine({});
            PrintMembers(snapshot);
        }
    } else {
        Console::PrintLine(u"grid %1: nobody has joined"_s.arg(Console::Visible(snapshot.Name)));
    }
    QStringList problems = snapshot.Registry.Problems;
    if (snapshot.Registry.IsLocked)
        problems.append(u"a process keeps the registry locked: nobody can join or leave"_s);
    if (!problems.isEmpty()) {
        Console::PrintLine(u"\nproblems:"_s);
        PrintIndented(problems);
    }
    if (!snapshot.Leftovers.isEmpty()) {
        Console::PrintLine(u"\nleft by processes that have crashed; `qvutil grid clean` removes it:"_s);
        for (const GridLeftover& leftover : snapshot.Leftovers)
            PrintIndented({leftover.ToText()});
    }
}

ExitCode Show(const GridOptions& options)
{
    RequireName(options.Grid);
    const GridSnapshot snapshot = LookAtGrid(options.Grid);
    if (!snapshot.Exists())
        return ComplainOfMissing(snapshot);
    if (options.Json)
        Console::PrintJson(QJsonDocument(ToJson(snapshot)));
    else
        PrintSnapshot(snapshot);
    return snapshot.IsHealthy() ? ExitCode::Yes : ExitCode::No;
}

// --- watch

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
    RequireName(options.Grid);
    Session session(Session::EndsOnSignals);
    Watcher watcher(options);
    const auto isDone = [&watcher] {
        watcher.Look();
        return watcher.IsDone();
    };
    while (!isDone() && !session.IsInterrupted())
        session.WaitFor([] { return false; }, QDeadlineTimer(options.IntervalMs));
    return ExitCode::Yes;
}

// --- clean

void PrintCleaning(const GridCleaning& cleaning, bool isDryRun)
{
    for (const GridLeftover& leftover : cleaning.Removed) {
        Console::PrintLine((isDryRun ? u"would remove "_s : u"removed "_s)
                           + Console::Visible(leftover.ToText()));
    }
    if (cleaning.IsRepaired) {
        Console::PrintLine((isDryRun ? u"would write"_s : u"wrote"_s)
                           + u" the damaged registry anew, with the members that can be read"_s);
    }
    if (cleaning.Removed.isEmpty() && !cleaning.IsRepaired)
        Console::PrintLine(u"nothing to remove"_s);
}

void PrintCleaningJson(const CleanOptions& options, const GridCleaning& cleaning)
{
    Console::PrintJson(QJsonDocument(QJsonObject{{u"grid"_s, options.Grid},
                                                 {u"dryRun"_s, options.DryRun},
                                                 {u"removed"_s, ToJson(cleaning.Removed)},
                                                 {u"kept"_s, ToJson(cleaning.Kept)},
                                                 {u"repaired"_s, cleaning.IsRepaired}}));
}

ExitCode Clean(const CleanOptions& options)
{
    RequireName(options.Grid);
    const GridSnapshot snapshot = LookAtGrid(options.Grid);
    if (!snapshot.Exists())
        return ComplainOfMissing(snapshot);
    const GridCleaning cleaning = options.DryRun ? PreviewCleaning(snapshot) : CleanGrid(options.Grid);
    if (options.Json)
        PrintCleaningJson(options, cleaning);
    else
        PrintCleaning(cleaning, options.DryRun);
    for (const GridLeftover& leftover : cleaning.Kept)
        Console::Complain(leftover.Path, u"cannot be removed"_s);
    return cleaning.Kept.isEmpty() ? ExitCode::Yes : ExitCode::Error;
}

CLI::App& AddGridCommand(CommandLine& line, CLI::App& group, const std::string& name,
                         const std::string& description, const std::string& examples, GridOptions& options)
{
    CLI::App& command = line.AddCommand(group, name, description, examples, {});
    AddText(command, "GRID", options.Grid, "Name of the grid");
    AddJsonFlag(command, options.Json);
    return command;
}

void AddList(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<GridOptions>();
    CLI::App& list = AddGridCommand(line, group, "list", "List the members of a grid, or all grids",
                                    "qvutil grid list\n"
                                    "qvutil grid list desk\n"
                                    "qvutil grid list desk --json | jq '.[] | select(.alive).processId'",
                                    *options);
    list.get_option("GRID")->description("Name of the grid; all grids if not given");
    line.SetAction(list, [options] { return List(*options); });
}

void AddShow(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<GridOptions>();
    CLI::App& show = AddGridCommand(line, group, "show", "Show a grid, its links and what is wrong with it",
                                    "qvutil grid show desk\n"
                                    "qvutil grid show desk --json | jq .leftovers",
                                    *options);
    show.footer("The exit code is 0 if all is well with the grid, and 1 if members have died or do not\n"
                "listen, something is left of them, or the registry is damaged.\n\n"
                + show.get_footer());
    show.get_option("GRID")->required();
    line.SetAction(show, [options] { return Show(*options); });
}

void AddWatch(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App& watch
        = AddGridCommand(line, group, "watch", "Print who joins, leaves and dies, until interrupted",
                         "qvutil grid watch desk\n"
                         "qvutil grid watch desk --json | jq --unbuffered -r .event",
                         *options);
    watch.footer("Begins with the members that there are. \"left\" is said of a process that took its entry\n"
                 "with it, \"died\" of one that did not, and \"pruned\" when another removes that entry.\n\n"
                 + watch.get_footer());
    watch.get_option("GRID")->required();
    AddNumber(watch, "--count", options->Count, {.Min = 1, .Max = 1000000000}, "End after so many lines")
        ->type_name("N");
    AddNumber(watch, "--interval", options->IntervalMs, {.Min = 1, .Max = 3600000},
              "Time between two looks, 250 if not given")
        ->type_name("MS");
    line.SetAction(watch, [options] { return Watch(*options); });
}

void AddClean(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<CleanOptions>();
    CLI::App& clean
        = AddGridCommand(line, group, "clean", "Remove what crashed processes have left of a grid",
                         "qvutil grid clean desk --dry-run\n"
                         "qvutil grid clean desk",
                         *options);
    clean.footer("Removes the entries of processes that have ended, and socket files at which nobody\n"
                 "listens; and the registry and its lock file if no member is left. It takes the locks that\n"
                 "members take, so that they may come and go meanwhile.\n\n"
                 + clean.get_footer());
    clean.get_option("GRID")->required();
    clean.add_flag("--dry-run", options->DryRun, "Remove nothing: tell what would go");
    line.SetAction(clean, [options] { return Clean(*options); });
}

} // namespace

void AddGridCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("grid", "Look at grids of processes that find one another");
    AddList(line, group);
    AddShow(line, group);
    AddWatch(line, group);
    AddClean(line, group);
}

} // namespace Quorvin::Tool
