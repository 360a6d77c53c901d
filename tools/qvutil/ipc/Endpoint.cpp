// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/Endpoint.h"

#include "cli/Failure.h"
#include <qvutil/messaging/MessageSocket_p.h>
#include <qvutil/platform/Platform_p.h>
#include <qvutil/platform/UnixFile_p.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// Tries to connect a datagram socket. The system refuses, because servers have stream sockets, but its error
// shows whether a process listens. The server notices nothing.
Endpoint::Answer AskWhetherListening(const QByteArray& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= static_cast<qsizetype>(sizeof(address.sun_path)))
        return Endpoint::No;
    std::copy(path.begin(), path.end(), address.sun_path);
    const Util::Platform::FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM, 0));
    if (!socket.IsOpen())
        return Endpoint::Forbidden;
    const int result = ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    const int error = errno;
    if (result == -1 && (error == EACCES || error == EPERM))
        return Endpoint::Forbidden;
    return result == -1 && error == EPROTOTYPE ? Endpoint::Yes : Endpoint::No;
}

bool IsReachable(const Endpoint& endpoint)
{
    return endpoint.Kind == Endpoint::Socket && endpoint.Listening == Endpoint::Yes;
}

QString Folder(const Endpoint& endpoint)
{
    return QFileInfo(endpoint.Path).path();
}

// Returns why no server can be found; nullopt if one may exist.
std::optional<EndpointProblem> FindWhyMissing(const Endpoint& endpoint)
{
    if (endpoint.Name.isEmpty())
        return EndpointProblem{
            .Code = u"empty-name"_s, .Text = u"the name is empty"_s, .Advice = u"give the server a name"_s};
    if (endpoint.IsTooLong())
        return EndpointProblem{
            .Code = u"name-too-long"_s,
            .Text = u"the path has %1 bytes, but the system allows only %2"_s.arg(endpoint.PathSize)
                        .arg(endpoint.MaxPathSize),
            .Advice = u"choose a shorter name, or a shorter folder for temporary files (TMPDIR)"_s};
    switch (endpoint.Kind) {
    case Endpoint::FolderMissing:
        return EndpointProblem{.Code = u"no-folder"_s,
                               .Text = u"the folder %1 does not exist"_s.arg(Folder(endpoint)),
                               .Advice = u"create the folder, or choose another name"_s};
    case Endpoint::Missing:
        return EndpointProblem{
            .Code = u"missing"_s,
            .Text = u"no server has this name: there is no %1"_s.arg(endpoint.Path),
            .Advice = u"start the server; if it is running, compare its name, and its folder for temporary "
                      "files (TMPDIR), with %1"_s.arg(Folder(endpoint))};
    case Endpoint::OtherFile:
        return EndpointProblem{.Code = u"not-a-socket"_s,
                               .Text = u"%1 is not a socket"_s.arg(endpoint.Path),
                               .Advice = u"choose another name, or remove the file"_s};
    case Endpoint::Socket:
        break;
    }
    return std::nullopt;
}

} // namespace

Endpoint InspectEndpoint(const QString& name)
{
    Endpoint endpoint;
    endpoint.Name = name;
    endpoint.Path = Util::Internal::GetSocketPath(name);
    endpoint.MaxPathSize = Util::Platform::GetMaxSocketPathLength();
    const QByteArray path = QFile::encodeName(endpoint.Path);
    endpoint.PathSize = path.size();
    struct stat file = {};
    if (::stat(path.constData(), &file) != 0) {
        if (!QFileInfo::exists(Folder(endpoint)))
            endpoint.Kind = Endpoint::FolderMissing;
        return endpoint;
    }
    endpoint.Kind = S_ISSOCK(file.st_mode) ? Endpoint::Socket : Endpoint::OtherFile;
    endpoint.OwnerId = file.st_uid;
    endpoint.Owner = UserName(file.st_uid);
    endpoint.Mode = file.st_mode & 0777U;
    if (endpoint.Kind == Endpoint::Socket)
        endpoint.Listening = AskWhetherListening(path);
    return endpoint;
}

QList<EndpointProblem> FindProblems(const Endpoint& endpoint)
{
    if (const std::optional<EndpointProblem> missing = FindWhyMissing(endpoint))
        return {*missing};
    QList<EndpointProblem> problems;
    if (endpoint.Listening == Endpoint::No) {
        problems.append(
            {.Code = u"stale"_s,
             .Text = u"no process listens: a process that has ended left %1 behind"_s.arg(endpoint.Path),
             .Advice = u"start the server, which replaces the file"_s});
    }
    if (endpoint.Listening == Endpoint::Forbidden) {
        problems.append({.Code = u"no-permission"_s,
                         .Text = u"this user may not connect to %1"_s.arg(endpoint.Path),
                         .Advice = u"run as the user %1"_s.arg(endpoint.Owner)});
    } else if (!Util::Internal::IsTrustedUser(endpoint.OwnerId, Util::Platform::GetUserId())) {
        problems.append(
            {.Code = u"other-user"_s,
             .Text = u"the socket belongs to the user %1; clients accept only servers of the same "
                     "user or of root"_s.arg(endpoint.Owner),
             .Advice = u"run as the user %1"_s.arg(endpoint.Owner)});
    }
    if ((endpoint.Mode & 0022U) != 0) {
        problems.append({.Code = u"open-to-others"_s,
                         .Text = u"other users may connect too"_s,
                         .Advice = u"chmod 700 %1"_s.arg(endpoint.Path),
                         .IsInTheWay = false});
    }
    return problems;
}

void RequireFreeEndpoint(const QString& name, bool mayReplace)
{
    const Endpoint endpoint = InspectEndpoint(name);
    if (IsReachable(endpoint) && !mayReplace) {
        const std::optional<EndpointProcesses> processes = FindEndpointProcesses(endpoint.Path);
        const QString who = processes && !processes->Servers.isEmpty()
            ? u"process %1"_s.arg(ToText(processes->Servers))
            : u"another server"_s;
        throw Failure(name, u"%1 listens there; use --replace to take over its name"_s.arg(who));
    }
    const std::optional<EndpointProblem> problem = FindWhyMissing(endpoint);
    if (problem && problem->Code != "missing"_L1)
        throw Failure(name, problem->Text);
}

QString ToText(const ProcessName& process)
{
    const QString id = QString::number(process.Id);
    return process.Name.isEmpty() ? id : u"%1 (%2)"_s.arg(id, process.Name);
}

QString ToText(const QList<ProcessName>& processes)
{
    QStringList texts;
    for (const ProcessName& process : processes)
        texts += ToText(process);
    return texts.join(", "_L1);
}

QString UserName(quint32 userId)
{
    const passwd* user = ::getpwuid(userId);
    return user != nullptr ? QString::fromLocal8Bit(user->pw_name) : QString::number(userId);
}

} // namespace Quorvin::Tool
