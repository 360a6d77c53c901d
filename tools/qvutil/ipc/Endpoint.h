// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_ENDPOINT_H
#define QVUTIL_TOOL_IPC_ENDPOINT_H

#include "ipc/EndpointProcesses.h"

#include <QList>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// What the system tells of the place at which a server of some name listens. Nothing is connected, since a
/// connection would replace the client that the server has.
struct Endpoint
{
    enum File { Missing, FolderMissing, Socket, OtherFile };
    enum Answer { No, Yes, Forbidden };

    QString Name;
    QString Path;
    qsizetype PathSize = 0; ///< bytes
    qsizetype LongestPath = 0; ///< bytes
    File Kind = Missing;
    quint32 OwnerId = 0; ///< this and the next two: of the file, if there is one
    QString Owner;
    quint32 Mode = 0; ///< rwx bits
    Answer Listening = No; ///< whether a process has the socket; Forbidden if this one may not ask

    [[nodiscard]] bool IsTooLong() const { return PathSize > LongestPath; }
};

[[nodiscard]] Endpoint InspectEndpoint(const QString& name);

/// Something that keeps a client from talking to a server, or should not be as it is.
struct EndpointProblem
{
    QString Code; ///< for programs: "stale"
    QString Text;
    QString Advice;
    bool IsInTheWay = true; ///< whether no client can talk to the server because of it
};

/// What is wrong, the worst first; empty if nothing is.
[[nodiscard]] QList<EndpointProblem> FindProblems(const Endpoint& endpoint);

/// Throws Failure unless a server of our own can listen there.
/// \param mayReplace  whether it may take the name from a server that listens
void RequireFreeEndpoint(const QString& name, bool mayReplace);

/// "4711 (viewer)"
[[nodiscard]] QString ToText(const ProcessName& process);
/// "4711 (viewer), 4712 (editor)"
[[nodiscard]] QString ToText(const QList<ProcessName>& processes);
/// The name of a user; the id if there is none.
[[nodiscard]] QString UserName(quint32 userId);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_ENDPOINT_H
