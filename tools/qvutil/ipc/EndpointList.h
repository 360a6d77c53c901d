// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_ENDPOINTLIST_H
#define QVUTIL_TOOL_IPC_ENDPOINTLIST_H

#include "ipc/Endpoint.h"
#include "ipc/EndpointProcesses.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace Quorvin::Tool {

/// A socket file, as found in a folder.
struct EndpointEntry
{
    enum Origin {
        Library, ///< its process uses QvUtil
        Unknown, ///< may be a server of QvUtil: its process is not visible, links it statically, or has ended
        Other, ///< cannot be a server of QvUtil, which creates its sockets differently
    };

    QString Name; ///< to pass to other commands; the path if the folder is not the default one
    QString Path;
    QString User; ///< user of the process; owner of the file if the process is unknown
    Endpoint::Answer Listening = Endpoint::No;
    std::optional<EndpointProcesses> Processes; ///< nullopt if the system does not report them
    Origin From = Unknown;

    /// Returns whether a process that has ended left the file behind.
    [[nodiscard]] bool IsStale() const { return Listening == Endpoint::No && From != Other; }
    /// Returns whether the server accepts connections; nullopt if unknown.
    [[nodiscard]] std::optional<bool> Accepts() const;
    /// Returns whether a connection is waiting to be accepted.
    [[nodiscard]] bool HasWaiting() const { return Processes && Processes->Waiting > 0; }
};

/// Returns the folders with sockets: the folder for temporary files, and that of the user's session.
[[nodiscard]] QStringList EndpointFolders();
/// Finds the sockets in these folders, sorted by name. Neither connects to them nor creates files. Throws
/// Failure if the folder for temporary files cannot be read.
[[nodiscard]] QList<EndpointEntry> ListEndpoints(bool withOthers);

/// Returns a table with a heading.
[[nodiscard]] QList<QStringList> EndpointsToRows(const QList<EndpointEntry>& entries);
[[nodiscard]] QJsonObject ToJson(const EndpointEntry& entry);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_ENDPOINTLIST_H
