// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_GRIDSNAPSHOT_H
#define QVUTIL_TOOL_GRID_GRIDSNAPSHOT_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace Quorvin::Tool {

// Inspects a grid from outside. The code here changes nothing, joins no grid, and connects to no server,
// because a connection would displace the server's client.

/// One entry of a grid's registry.
struct GridMember
{
    qint64 ProcessId = 0;
    QString ServerName;
    bool IsAlive = false; ///< false if the library would prune the entry
};

/// The content of a grid's registry at one point in time.
struct GridRegistry
{
    bool Exists = false;
    bool IsLocked = false; ///< another process kept it locked, so the content may be incomplete
    QList<GridMember> Members; ///< oldest first
    qsizetype UsedBytes = 0; ///< out of kRegistrySize
    QStringList Problems; ///< signs of damage
};

/// Reads the memory of a grid's registry without taking its locks.
/// \return its bytes; nullopt if there is none. Throws Failure if access is denied.
[[nodiscard]] std::optional<QByteArray> ReadGridSegment(const QString& grid);

/// Reads the registry of a grid. Throws Failure if access is denied.
[[nodiscard]] GridRegistry ReadGridRegistry(const QString& grid);

/// The connections of a member.
struct GridLinks
{
    bool IsListening = false;
    QList<qint64> Clients; ///< processes that are connected to its server
    QList<qint64> Servers; ///< members to whose servers it is connected
};

/// An item that a crashed process has left behind.
struct StaleItem
{
    enum StaleKind {
        Entry, ///< the entry of a dead process in the registry
        Socket, ///< a socket file on which no process listens
        Registry, ///< a registry without a living member
        LockFile, ///< a lock file without a registry
    };
    StaleKind Kind = Entry;
    qint64 ProcessId = 0; ///< process of an entry or socket
    QString Path; ///< path of a file; server name of an entry

    /// Returns a description, such as "the socket /tmp/desk.viewer.4711".
    [[nodiscard]] QString ToText() const;
};

/// Everything that can be seen of a grid from outside.
struct GridSnapshot
{
    QString Name;
    GridRegistry Registry;
    std::optional<QList<GridLinks>>
        Links; ///< one for each member; nullopt if the system does not report them
    QList<StaleItem> StaleItems;

    /// Returns whether there is any trace of the grid.
    [[nodiscard]] bool Exists() const { return Registry.Exists || !StaleItems.isEmpty(); }
    [[nodiscard]] qsizetype DeadCount() const;
    /// Returns whether the grid is in order.
    [[nodiscard]] bool IsHealthy() const;
};

/// Inspects a grid. Throws Failure like ReadGridRegistry.
[[nodiscard]] GridSnapshot InspectGrid(const QString& grid);

/// Finds the stale socket files of a grid: those of processes that have ended.
[[nodiscard]] QList<StaleItem> FindStaleSockets(const QString& grid);

/// Finds the names of the grids in the folder for temporary files.
[[nodiscard]] QStringList FindGrids();

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_GRIDSNAPSHOT_H
