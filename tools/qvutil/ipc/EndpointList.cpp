// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/EndpointList.h"

#include "cli/Console.h"
#include "cli/Failure.h"

#include <qvutil/base/QtCompat_p.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::QDirCleanPath;

namespace Quorvin::Tool {
namespace {

// The library creates a socket in a private folder next to its final path, and moves it there afterwards.
bool IsBoundAsByLibrary(const QByteArray& path)
{
    static const QRegularExpression pattern(u"/[A-Za-z0-9]{6}/s$"_s);
    const qsizetype end = path.indexOf('\0');
    return pattern.match(QString::fromLocal8Bit(end < 0 ? path : path.first(end))).hasMatch();
}

EndpointEntry::Origin FindOrigin(const EndpointEntry& entry)
{
    const std::optional<EndpointProcesses>& processes = entry.Processes;
    if (!processes)
        return EndpointEntry::Unknown;
    if (!processes->IsListening)
        return processes->IsOtherSocket ? EndpointEntry::Other : EndpointEntry::Unknown;
    if (!IsBoundAsByLibrary(processes->BoundPath))
        return EndpointEntry::Other;
    const bool isLoaded
        = std::any_of(processes->Servers.begin(), processes->Servers.end(),
                      [](const ProcessName& server) { return HasLibraryLoaded(server.Id).value_or(false); });
    return isLoaded ? EndpointEntry::Library : EndpointEntry::Unknown;
}

EndpointEntry InspectEntry(const Endpoint& endpoint, const SocketSnapshot& sockets)
{
    EndpointEntry entry;
    entry.Name = endpoint.Name;
    entry.Path = endpoint.Path;
    entry.User = endpoint.Owner;
    entry.Listening = endpoint.Listening;
    entry.Processes = sockets.Find(endpoint.Path);
    entry.From = FindOrigin(entry);
    if (!entry.Processes)
        return entry;
    if (entry.Processes->IsListening)
        entry.Listening = Endpoint::Yes;
    else if (entry.Listening == Endpoint::Yes) // the server has just ended, or runs in another container
        entry.Listening = InspectEndpoint(endpoint.Path).Listening;
    if (!entry.Processes->IsListening && entry.Listening == Endpoint::Yes)
        entry.Processes.reset();
    if (entry.Processes && !entry.Processes->Servers.isEmpty()) {
        if (const std::optional<quint32> user = FindProcessUser(entry.Processes->Servers.first().Id))
            entry.User = UserName(*user);
    }
    return entry;
}

QList<Endpoint> FindEndpoints()
{
    QList<Endpoint> endpoints;
    const QStringList folders = EndpointFolders();
    for (const QString& folder : folders) {
        if (folder.isEmpty()) // Qt returns an empty canonical path for a missing folder
            throw Failure(qEnvironmentVariable("TMPDIR"), u"there is no such folder"_s);
        if (!QFileInfo(folder).isReadable())
            throw Failure(folder, u"the folder cannot be read"_s);
        const QStringList files = QDir(folder).entryList(QDir::System | QDir::Hidden, QDir::Name);
        for (const QString& file : files) {
            Endpoint endpoint = InspectEndpoint(folder + u'/' + file);
            if (endpoint.Kind != Endpoint::Socket)
                continue;
            if (folder == folders.first())
                endpoint.Name = file;
            endpoints.append(std::move(endpoint));
        }
    }
    return endpoints;
}

QString ProcessText(const EndpointEntry& entry)
{
    if (!entry.Processes || (entry.Processes->IsListening && entry.Processes->Servers.isEmpty()))
        return entry.IsStale() ? u"-"_s : u"?"_s;
    return entry.Processes->Servers.isEmpty() ? u"-"_s : ToText(entry.Processes->Servers);
}

QString ClientText(const EndpointEntry& entry)
{
    if (!entry.Processes)
        return entry.IsStale() ? u"-"_s : u"?"_s;
    if (!entry.Processes->Clients.isEmpty())
        return ToText(entry.Processes->Clients);
    return entry.Processes->Connections > 0 ? u"?"_s : u"-"_s;
}

QString StateText(const EndpointEntry& entry)
{
    if (entry.Listening == Endpoint::No)
        return entry.IsStale() ? u"stale"_s : u"does not listen"_s;
    if (entry.HasWaiting())
        return u"does not accept %1"_s.arg(entry.Processes->Waiting);
    return entry.Accepts() ? u"accepts"_s : u"?"_s;
}

QString OriginText(const EndpointEntry& entry)
{
    switch (entry.From) {
    case EndpointEntry::Library:
        return u"QvUtil"_s;
    case EndpointEntry::Unknown:
        return u"unknown"_s;
    case EndpointEntry::Other:
        break;
    }
    return u"other"_s;
}

QJsonArray ToJson(const QList<ProcessName>& processes)
{
    QJsonArray array;
    for (const ProcessName& process : processes)
        array.append(QJsonObject{{u"id"_s, process.Id}, {u"name"_s, process.Name}});
    return array;
}

} // namespace

std::optional<bool> EndpointEntry::Accepts() const
{
    if (Listening == Endpoint::No)
        return false;
    if (!Processes)
        return std::nullopt;
    return Processes->Waiting == 0;
}

QStringList EndpointFolders()
{
    QStringList folders = {QDir::tempPath()};
    const QString session = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool isOther
        = QFileInfo(session).canonicalFilePath() != QFileInfo(folders.first()).canonicalFilePath();
    if (QDir::isAbsolutePath(session) && QFileInfo(session).isDir() && isOther)
        folders.append(QDirCleanPath(session));
    return folders;
}

QList<EndpointEntry> ListEndpoints(bool withOthers)
{
    const QList<Endpoint> endpoints = FindEndpoints();
    // Take the snapshot after finding the endpoints, so that it contains servers that have just started.
    const SocketSnapshot sockets;
    QList<EndpointEntry> entries;
    for (const Endpoint& endpoint : endpoints) {
        EndpointEntry entry = InspectEntry(endpoint, sockets);
        if (withOthers || entry.From != EndpointEntry::Other)
            entries.append(std::move(entry));
    }
    return entries;
}

QList<QStringList> EndpointsToRows(const QList<EndpointEntry>& entries)
{
    QList<QStringList> rows = {{u"name"_s, u"process"_s, u"user"_s, u"client"_s, u"state"_s, u"library"_s}};
    for (const EndpointEntry& entry : entries) {
        rows.append({Console::Visible(entry.Name), Console::Visible(ProcessText(entry)),
                     Console::Visible(entry.User), Console::Visible(ClientText(entry)), StateText(entry),
                     OriginText(entry)});
    }
    return rows;
}

QJsonObject ToJson(const EndpointEntry& entry)
{
    const std::optional<bool> accepts = entry.Accepts();
    const bool isKnown = entry.Processes.has_value();
    return {{u"name"_s, entry.Name},
            {u"path"_s, entry.Path},
            {u"user"_s, entry.User},
            {u"listening"_s,
             entry.Listening == Endpoint::Forbidden ? QJsonValue()
                                                    : QJsonValue(entry.Listening == Endpoint::Yes)},
            {u"stale"_s, entry.IsStale()},
            {u"accepts"_s, accepts ? QJsonValue(*accepts) : QJsonValue()},
            {u"servers"_s, isKnown ? QJsonValue(ToJson(entry.Processes->Servers)) : QJsonValue()},
            {u"clients"_s, isKnown ? QJsonValue(ToJson(entry.Processes->Clients)) : QJsonValue()},
            {u"connections"_s, isKnown ? QJsonValue(entry.Processes->Connections) : QJsonValue()},
            {u"waiting"_s, isKnown ? QJsonValue(entry.Processes->Waiting) : QJsonValue()},
            {u"library"_s, OriginText(entry)}};
}

} // namespace Quorvin::Tool
