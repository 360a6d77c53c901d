// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_SERVERLINK_H
#define QVUTIL_TOOL_IPC_SERVERLINK_H

#include "cli/Session.h"
#include <qvutil/IPC.h>
#include <qvutil/messaging/MessageSocket_p.h>

#include <QDeadlineTimer>
#include <QList>
#include <QPointer>
#include <QString>
#include <QtNetwork/QLocalSocket>

#include <exception>

namespace Quorvin::Tool {

/// The reason why a server cannot be reached. Commands print it and exit with 1.
class LinkFailure : public std::exception
{
public:
    explicit LinkFailure(const QString& reason)
        : Reason(reason)
    { }
    [[nodiscard]] const char* what() const noexcept override { return "the server cannot be reached"; }

    QString Reason;
};

/// A client that behaves like the library's own, but has no thread. Its operations throw LinkFailure with the
/// reason if they fail.
class ServerLink
{
public:
    ServerLink(Session& session, const QString& name);
    Q_DISABLE_COPY_MOVE(ServerLink)

    /// Connects to the server.
    /// \param waitForServer  whether to wait until the server is running
    void Connect(bool waitForServer, QDeadlineTimer deadline);
    /// Writes a message, and waits until all bytes have been written.
    void Send(const Util::MessageInfo& message, QDeadlineTimer deadline);
    /// Sends a request with a new unique id. \return the answer
    [[nodiscard]] Util::MessageInfo Ask(Util::MessageInfo request, QDeadlineTimer deadline);
    /// Disconnects once all bytes have been written, and waits for that until the deadline.
    void Close(QDeadlineTimer deadline);

    [[nodiscard]] const QLocalSocket& Socket() const { return mSocket; }

private:
    [[nodiscard]] bool TryToConnect(QDeadlineTimer deadline);
    [[nodiscard]] QString WhyNotConnected() const;
    [[nodiscard]] bool IsConnected() const { return mSocket.state() == QLocalSocket::ConnectedState; }

    Session& mSession;
    QString mName;
    QLocalSocket mSocket;
    QPointer<Util::Internal::MessageWriter> mWriter; // owned by mSocket
    QList<Util::MessageInfo> mReceived;
    int mWritten = 0;
};

/// Throws LinkFailure if no client can connect to a server of that name, as far as the system reports.
void RequireServer(const QString& name);
/// Throws LinkFailure if the process at the other end runs as a user whose servers clients do not accept.
void RequireTrustedServer(const QLocalSocket& socket);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_SERVERLINK_H
