// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridReport.h"

#include "cli/Console.h"
#include "cli/Table.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

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

QJsonArray ToJson(const QList<qint64>& ids)
{
    QJsonArray array;
    for (const qint64 id : ids)
        array.append(id);
    return array;
}

QJsonObject ToJson(const StaleItem& item)
{
    switch (item.Kind) {
    case StaleItem::Entry:
        return {{u"kind"_s, u"entry"_s}, {u"processId"_s, item.ProcessId}, {u"serverName"_s, item.Path}};
    case StaleItem::Socket:
        return {{u"kind"_s, u"socket"_s}, {u"processId"_s, item.ProcessId}, {u"path"_s, item.Path}};
    case StaleItem::Registry:
        return {{u"kind"_s, u"registry"_s}};
    case StaleItem::LockFile:
        break;
    }
    return {{u"kind"_s, u"lockFile"_s}, {u"path"_s, item.Path}};
}

} // namespace

QString JoinIds(const QList<qint64>& ids)
{
    QStringList texts;
    for (const qint64 id : ids)
        texts.append(QString::number(id));
    return texts.isEmpty() ? u"-"_s : texts.join(u',');
}

QString TitleOf(const GridSnapshot& snapshot)
{
    const qsizetype dead = snapshot.DeadCount();
    return "grid "_L1 + Console::Visible(snapshot.Name)
        + u": %1 alive, %2 dead"_s.arg(snapshot.Registry.Members.size() - dead).arg(dead);
}

QStringList ProblemsOf(const GridSnapshot& snapshot)
{
    QStringList problems = snapshot.Registry.Problems;
    if (snapshot.Registry.IsLocked)
        problems.append(u"a process keeps the registry locked: nobody can join or leave"_s);
    return problems;
}

QList<QStringList> MembersToRows(const GridSnapshot& snapshot)
{
    QList<QStringList> rows = {{u"process"_s, u"state"_s, u"connected to"_s, u"client"_s, u"server"_s}};
    for (qsizetype i = 0; i < snapshot.Registry.Members.size(); ++i) {
        const GridMember& member = snapshot.Registry.Members.at(i);
        const GridLinks* links = LinksOf(snapshot, i);
        rows.append({QString::number(member.ProcessId), StateOf(member, links),
                     links ? JoinIds(links->Servers) : u"?"_s, links ? JoinIds(links->Clients) : u"?"_s,
                     Console::Visible(member.ServerName)});
    }
    return rows;
}

void PrintMembers(const GridSnapshot& snapshot)
{
    PrintTable(MembersToRows(snapshot));
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

QJsonArray StaleItemsToJson(const QList<StaleItem>& items)
{
    QJsonArray array;
    for (const StaleItem& item : items)
        array.append(ToJson(item));
    return array;
}

} // namespace Quorvin::Tool
