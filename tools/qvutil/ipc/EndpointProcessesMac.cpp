// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/EndpointProcesses.h"

#include <libproc.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace Quorvin::Tool {

struct SocketSnapshot::Data
{ };

SocketSnapshot::SocketSnapshot() = default;
SocketSnapshot::~SocketSnapshot() = default;

std::optional<EndpointProcesses> SocketSnapshot::Find(const QString& /*path*/) const
{
    return std::nullopt;
}

std::optional<bool> HasLibraryLoaded(qint64 /*processId*/)
{
    return std::nullopt;
}

std::optional<quint32> FindProcessUser(qint64 /*processId*/)
{
    return std::nullopt;
}

std::optional<ProcessName> FindPeerProcess(qintptr socket)
{
    pid_t processId = 0;
    socklen_t length = sizeof(processId);
    if (::getsockopt(static_cast<int>(socket), SOL_LOCAL, LOCAL_PEERPID, &processId, &length) == -1)
        return std::nullopt;
    char name[2 * MAXCOMLEN + 1] = {};
    const int size = ::proc_name(processId, name, sizeof(name));
    return ProcessName{.Id = processId, .Name = QString::fromUtf8(name, qMax(size, 0))};
}

} // namespace Quorvin::Tool
