// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_ENDPOINTPROCESSES_H
#define QVUTIL_TOOL_IPC_ENDPOINTPROCESSES_H

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace Quorvin::Tool {

/// A process, and the name by which users know it.
struct ProcessName
{
    qint64 Id = 0;
    QString Name; ///< empty if the system does not report it
};

/// The processes at both ends of a socket file.
struct EndpointProcesses
{
    QList<ProcessName> Servers; ///< processes that own the listening socket
    QList<ProcessName> Clients; ///< processes that are connected to it
    int Connections = 0; ///< number of connections, including those of unknown processes
    int Waiting = 0; ///< further connections that the server has not yet accepted
    QByteArray BoundPath; ///< path at which the listening socket was created, before any renaming
    bool IsListening = false; ///< whether a socket listens, even if its process is unknown
    bool IsOtherSocket = false; ///< whether the file belongs to a socket that cannot be a server's
};

// Each system implements these functions in a separate file.

/// The sockets of the system at one point in time, and the processes that own them.
class SocketSnapshot
{
public:
    SocketSnapshot();
    ~SocketSnapshot();
    Q_DISABLE_COPY_MOVE(SocketSnapshot)

    /// Finds the processes at a socket without connecting to it.
    /// \return nullopt if the system does not report them; processes of other users are usually missing
    [[nodiscard]] std::optional<EndpointProcesses> Find(const QString& path) const;

private:
    struct Data;
    std::unique_ptr<Data> mData;
};

/// Finds the processes at a single socket. See SocketSnapshot::Find.
[[nodiscard]] inline std::optional<EndpointProcesses> FindEndpointProcesses(const QString& path)
{
    return SocketSnapshot().Find(path);
}
/// \return whether a process has loaded QvUtil as a shared library; nullopt if unknown
[[nodiscard]] std::optional<bool> HasLibraryLoaded(qint64 processId);
/// \return the effective user of a process; nullopt if unknown
[[nodiscard]] std::optional<quint32> FindProcessUser(qint64 processId);
/// \return the process at the other end of a connected socket; nullopt if unknown
[[nodiscard]] std::optional<ProcessName> FindPeerProcess(qintptr socket);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_ENDPOINTPROCESSES_H
