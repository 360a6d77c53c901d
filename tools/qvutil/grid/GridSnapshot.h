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

// What there is to see of a grid from outside. Nothing here changes anything, joins a grid or connects to a
// server, whose client that would replace.

/// One entry of a grid's registry.
struct GridMember
{
    qint64 ProcessId = 0;
    QString ServerName;
    bool IsAlive = false; ///< as the library sees it, which prunes the entries of all others
};

/// A grid's registry as it was at one moment.
struct GridRegistry
{
    bool Exists = false;
    bool IsLocked = false; ///< another process kept it locked; what was read may be in the making
    QList<GridMember> Members; ///< the oldest first
    qsizetype UsedBytes = 0; ///< of kRegistrySize
    QStringList Problems; ///< what is wrong with it
};

/// Reads the memory of a grid's registry, without its locks.
/// \return its bytes; nothing if there is none. Throws Failure if it must not be read.
[[nodiscard]] std::optional<QByteArray> ReadGridSegment(const QString& grid);

/// Reads the registry of a grid. Throws Failure if it is not allowed to.
[[nodiscard]] GridRegistry ReadGridRegistry(const QString& grid);

/// The links of a member.
struct GridLinks
{
    bool IsListening = false;
    QList<qint64> Clients; ///< processes that are connected to its server
    QList<qint64> Servers; ///< members to whose servers it is connected
};

/// What a crashed process has left, or a crash of all of them.
struct GridLeftover
{
    enum LeftoverKind {
        Entry, ///< of a dead process in the registry
        Socket, ///< a socket file that nobody listens at
        Registry, ///< without a member that lives
        LockFile, ///< without a registry
    };
    LeftoverKind Kind = Entry;
    qint64 ProcessId = 0; ///< of an entry or socket
    QString Path; ///< of a file; of an entry, the server's name

    /// Such as "the socket /tmp/desk.viewer.4711".
    [[nodiscard]] QString ToText() const;
};

/// All that there is to see.
struct GridSnapshot
{
    QString Name;
    GridRegistry Registry;
    std::optional<QList<GridLinks>> Links; ///< one for each member; nothing if the system does not tell
    QList<GridLeftover> Leftovers;

    /// Whether there is any trace of the grid.
    [[nodiscard]] bool Exists() const { return Registry.Exists || !Leftovers.isEmpty(); }
    [[nodiscard]] qsizetype DeadCount() const;
    /// Whether the grid is as it should be.
    [[nodiscard]] bool IsHealthy() const;
};

/// Looks at a grid. Throws Failure like ReadGridRegistry.
[[nodiscard]] GridSnapshot InspectGrid(const QString& grid);

/// Finds the socket files of a grid that nobody listens at, of processes that have ended.
[[nodiscard]] QList<GridLeftover> FindStaleSockets(const QString& grid);

/// Finds the names of the grids in the folder for temporary files.
[[nodiscard]] QStringList FindGrids();

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_GRIDSNAPSHOT_H
