// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_ENDPOINT_H
#define QVUTIL_TOOL_IPC_ENDPOINT_H

#include "ipc/EndpointProcesses.h"

#include <QList>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// The state of a server's endpoint, inspected without a connection, which would displace the server's
/// client.
struct Endpoint
{
    enum File { Missing, FolderMissing, Socket, OtherFile };
    enum Answer { No, Yes, Forbidden };

    QString Name;
    QString Path;
    qsizetype PathSize = 0; ///< in bytes
    qsizetype MaxPathSize = 0; ///< in bytes
    File Kind = Missing;
    quint32 OwnerId = 0; ///< OwnerId, Owner and Mode are those of the file, if there is one
    QString Owner;
    quint32 Mode = 0; ///< permission bits
    Answer Listening = No; ///< whether a process listens; Forbidden if this process may not find out

    [[nodiscard]] bool IsTooLong() const { return PathSize > MaxPathSize; }
};

[[nodiscard]] Endpoint InspectEndpoint(const QString& name);

/// A problem with a server's endpoint, and how to fix it.
struct EndpointProblem
{
    QString Code; ///< identifies the problem for programs, for example "stale"
    QString Text;
    QString Advice;
    bool IsInTheWay = true; ///< whether it keeps clients from connecting; otherwise it is only a warning
};

/// Returns the problems, the worst first.
[[nodiscard]] QList<EndpointProblem> FindProblems(const Endpoint& endpoint);

/// Throws Failure unless the tool's own server can listen under the name.
/// \param mayReplace  whether the tool may take over the name of a running server
void RequireFreeEndpoint(const QString& name, bool mayReplace);

/// Returns the id and the name: "4711 (viewer)".
[[nodiscard]] QString ToText(const ProcessName& process);
/// Returns the ids and names: "4711 (viewer), 4712 (editor)".
[[nodiscard]] QString ToText(const QList<ProcessName>& processes);
/// Returns the name of a user; the id if the user has no name.
[[nodiscard]] QString UserName(quint32 userId);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_ENDPOINT_H
