// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_LINKEDSERVER_H
#define QVUTIL_LINKEDSERVER_H

#include "messaging/MessageServer_p.h"
#include "support/MessagingSupport.h"

#include <QLocalSocket>
#include <QSignalSpy>
#include <QString>

namespace MessagingSupport {

/// A message server, spies on all its signals, and a plain Qt socket as its client. Prepare the server
/// between the constructor and Open().
struct LinkedServer
{
    /// Starts the server and connects the client, which may write at once. The server announces the
    /// connection later. \return false if the client is not connected within a minute
    [[nodiscard]] bool Open()
    {
        Server.Start(Name);
        return Connect(Client, Name);
    }

    /// Like Open(), but waits until the server has announced the connection and can send messages.
    [[nodiscard]] bool OpenAndWait()
    {
        return Open() && WaitUntil([this] { return Connected.count() == 1; });
    }

    const QString Name = UniqueName();
    Quorvin::Util::MessageServer Server;
    QSignalSpy Connected{&Server, &Quorvin::Util::MessageServer::Connected};
    QSignalSpy Disconnected{&Server, &Quorvin::Util::MessageServer::Disconnected};
    QSignalSpy Received{&Server, &Quorvin::Util::MessageServer::MessageReceived};
    QLocalSocket Client;
};

} // namespace MessagingSupport

#endif // QVUTIL_LINKEDSERVER_H
