// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGESERVER_P_H
#define QVUTIL_MESSAGESERVER_P_H

// This file is not part of the interface. It may change from one version to the next.

#include "IPC.h"
#include "messaging/WorkerThread_p.h"
#include "platform/Platform_p.h"

#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

#include <functional>
#include <memory>
#include <optional>

namespace Quorvin::Util {

namespace Internal {
class MessageWriter;
}

class MessageServerThread;

/// The listening end of a link: one named endpoint, one client at a time.
///
/// \par Threads
/// Lives in its owner's thread, which needs an event loop; all work with sockets is done in a thread of its
/// own. The sockets that the signals carry belong to that thread: they tell clients apart, and must not be
/// used, since they may be gone at any time.
class MessageServer final : public QObject
{
    Q_OBJECT
public:
    MessageServer();
    /// Stops the server.
    ~MessageServer() override;
    Q_DISABLE_COPY_MOVE(MessageServer)

    /// Starts the thread, which then listens; does not wait for that. With the server started, nothing
    /// happens. A name that cannot be listened on leaves a started server that no client reaches, and one
    /// warning. \return true
    bool Start(const QString& name);
    /// Ends the thread, and with it the connection, and waits for its end. What has arrived but was not yet
    /// announced is lost, the client's disconnection included. \return true
    bool Stop();
    [[nodiscard]] bool IsStarted() const;
    /// Looks at the file of the socket. \return whether clients that connect to the name reach this server
    [[nodiscard]] bool IsListening() const;
    /// Sends a message to the client, if there is one. \return true
    bool SendMessage(const QString& id, const QVariantMap& params);
    /// \overload
    bool SendMessage(const MessageInfo& message);
    /// Registers a responder, unless it is null or registered. Not owned.
    void AddMessageResponder(IMessageResponder* responder);
    /// Removes a responder, if it is registered.
    void RemoveMessageResponder(IMessageResponder* responder);
    /// \return connections announced less disconnections announced
    [[nodiscard]] int GetConnectionCount() const;

Q_SIGNALS:
    /// A message came that wants no answer.
    void MessageReceived(const QString& id, const QVariantMap& paramMap);
    /// A message is to be sent.
    void NewOutgoingMessage(const MessageInfo& msg);
    /// A client has connected. It replaces the one before.
    void Connected(QLocalSocket* socket);
    /// A client is gone.
    void Disconnected(QLocalSocket* socket);

public Q_SLOTS:
    /// Announces a message, or has the responders answer it.
    void MessageReceivedSlot(const MessageInfo& msg);
    void ConnectedSlot(QLocalSocket* socket);
    void DisconnectedSlot(QLocalSocket* socket);

private:
    QString mServerName;
    MessageServerThread* mThread = nullptr;
    QList<IMessageResponder*> mResponders;
    int mConnectionCount = 0;
};

/// The thread of a server.
class MessageServerThread final : public Internal::WorkerThread
{
    Q_OBJECT
public:
    MessageServerThread(const QString& serverName, MessageServer* server);
    Q_DISABLE_COPY_MOVE(MessageServerThread)

    /// The file of the socket that the worker listens on; nothing if it does not listen. Any thread.
    [[nodiscard]] std::optional<Platform::FileIdentity> Endpoint() const;

Q_SIGNALS:
    void MessageReceived(const MessageInfo& msg);
    void Connected(QLocalSocket* socket);
    void Disconnected(QLocalSocket* socket);

private:
    void RunWorker() override;

    MessageServer* mServer;
    QString mServerName;
    mutable QMutex mEndpointMutex;
    std::optional<Platform::FileIdentity> mEndpoint; // guarded by mEndpointMutex
};

/// Owns the endpoint and the client's socket. Made, used and destroyed in the server's thread.
class MessageServerWorker final : public QObject
{
    Q_OBJECT
public:
    explicit MessageServerWorker(MessageServer* server);
    ~MessageServerWorker() override;
    Q_DISABLE_COPY_MOVE(MessageServerWorker)

    /// Counts in \p window what is read. To be called first.
    void SetWindow(Internal::DeliveryWindow* window) { mWindow = window; }
    /// \param announce  called in the worker's thread with the file of each socket that the worker listens on
    void SetEndpointObserver(std::function<void(const Platform::FileIdentity&)> announce);
    /// Reads on after \p window was full.
    void ResumeReading();
    /// Listens. \return false, after one warning, if the name cannot be listened on
    bool Start(const QString& name);
    bool Stop();
    /// \return false if there is no client; the message is dropped then
    bool SendMessage(const MessageInfo& message);

Q_SIGNALS:
    void MessageReceived(const MessageInfo& msg);
    void Connected(QLocalSocket* socket);
    void Disconnected(QLocalSocket* socket);

public Q_SLOTS:
    void ConnectedSlot();
    void DisconnectedSlot();
    void ReadMessage();
    void NewOutgoingMessage(const MessageInfo& msg);

private:
    bool Listen(Platform::ExistingSocket existing);
    void CheckEndpoint();
    void RemoveEndpoint();
    void ReadFrom(QLocalSocket& socket);

    MessageServer* mServer;
    QString mName;
    std::unique_ptr<QLocalServer> mLocalServer;
    Platform::FileIdentity mEndpoint; // the file of mLocalServer
    std::function<void(const Platform::FileIdentity&)> mAnnounceEndpoint;
    QTimer mEndpointTimer; // looks whether the file is still there
    QLocalSocket* mSocket = nullptr; // the current client's
    Internal::DeliveryWindow* mWindow = nullptr;
    QPointer<Internal::MessageWriter> mWriter; // belongs to mSocket
};

} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGESERVER_P_H
