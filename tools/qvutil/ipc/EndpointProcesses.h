// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_ENDPOINTPROCESSES_H
#define QVUTIL_TOOL_IPC_ENDPOINTPROCESSES_H

#include <QList>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// A process, as its users know it.
struct ProcessName
{
    qint64 Id = 0;
    QString Name; ///< empty if the system does not tell
};

/// Who is at the two ends of a socket in the file system.
struct EndpointProcesses
{
    QList<ProcessName> Servers; ///< those that have the listening socket
    QList<ProcessName> Clients; ///< those that are connected to it
    int Connections = 0; ///< to the server; the processes of some may be unknown
    int Waiting = 0; ///< further connections that the server has not yet accepted
};

// Each system answers these in a file of its own.

/// Finds the processes at a socket without connecting to it.
/// \return nothing if the system does not tell; processes of other users are left out mostly
[[nodiscard]] std::optional<EndpointProcesses> FindEndpointProcesses(const QString& path);
/// \return the process at the other end of a connected socket; nothing if the system does not tell
[[nodiscard]] std::optional<ProcessName> FindPeerProcess(qintptr socket);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_ENDPOINTPROCESSES_H
