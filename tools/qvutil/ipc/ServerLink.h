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

/// Why a server cannot be talked to. Commands print it and answer no.
class LinkFailure : public std::exception
{
public:
    explicit LinkFailure(const QString& reason)
        : Reason(reason)
    { }
    [[nodiscard]] const char* what() const noexcept override { return "a server cannot be talked to"; }

    QString Reason;
};

/// A client of a server, as the library's own is, but in this thread, and such that it can tell what went
/// wrong. Its operations throw LinkFailure.
class ServerLink
{
public:
    ServerLink(Session& session, const QString& name);
    Q_DISABLE_COPY_MOVE(ServerLink)

    /// Connects.
    /// \param waitForServer  whether to wait until there is a server
    void Connect(bool waitForServer, QDeadlineTimer deadline);
    /// Writes a message, and waits until it is written.
    void Send(const Util::MessageInfo& message, QDeadlineTimer deadline);
    /// Sends a request; its identity is made here. \return the answer
    [[nodiscard]] Util::MessageInfo Ask(Util::MessageInfo request, QDeadlineTimer deadline);
    /// Disconnects after all that is written has gone.
    void Close(QDeadlineTimer deadline);

    [[nodiscard]] const QLocalSocket& Socket() const { return mSocket; }

private:
    [[nodiscard]] bool TryToConnect(QDeadlineTimer deadline);
    [[nodiscard]] QString WhyNotConnected() const;
    [[nodiscard]] bool IsConnected() const { return mSocket.state() == QLocalSocket::ConnectedState; }

    Session& mSession;
    QString mName;
    QLocalSocket mSocket;
    QPointer<Util::Internal::MessageWriter> mWriter; // belongs to mSocket
    QList<Util::MessageInfo> mReceived;
    int mWritten = 0;
};

/// Throws LinkFailure if no client can talk to a server of that name, as far as the system tells.
void RequireServer(const QString& name);
/// Throws LinkFailure if the process at the other end runs as a user whose servers clients do not talk to.
void RequireTrustedServer(const QLocalSocket& socket);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_SERVERLINK_H
