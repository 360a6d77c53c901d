// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGESERVER_P_H
#define QVUTIL_MESSAGESERVER_P_H

// Internal, not API: may change in any version.

#include "IPC.h"
#include "messaging/Mailbox_p.h"
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

/// The server end of a connection: one endpoint with a name, and one client at a time.
///
/// \par Threads
/// Lives in its owner thread, which needs an event loop; a worker thread serves the sockets. The sockets in
/// the signals belong to the worker thread and may already be deleted: use the pointers only to distinguish
/// clients.
class MessageServer final : public QObject
{
    Q_OBJECT
public:
    MessageServer();
    /// Stops the server.
    ~MessageServer() override;
    Q_DISABLE_COPY_MOVE(MessageServer)

    /// Starts the worker thread, which then listens; does not wait for that. Does nothing if the server is
    /// already started. If the worker cannot listen on the name, it logs one warning; the server still
    /// counts as started, but no client can connect. \return true
    bool Start(const QString& name);
    /// Ends the worker thread, and with it the connection. Returns when the thread has ended. Messages that
    /// have arrived but are not yet announced are dropped. The client's disconnection is not announced.
    /// \return true
    bool Stop();
    [[nodiscard]] bool IsStarted() const;
    /// Returns whether clients can connect under the name, which requires that the socket file is the
    /// server's own.
    [[nodiscard]] bool IsListening() const;
    /// Sends a message to the client, if there is one. \return true
    bool SendMessage(const QString& id, const QVariantMap& params);
    /// \overload
    bool SendMessage(const MessageInfo& message);
    /// Registers a responder, unless it is null or registered. Not owned.
    void AddMessageResponder(IMessageResponder* responder);
    /// Removes a responder, if it is registered.
    void RemoveMessageResponder(IMessageResponder* responder);
    /// \return connections announced minus disconnections announced
    [[nodiscard]] int GetConnectionCount() const;

Q_SIGNALS:
    /// A message arrived that needs no answer.
    void MessageReceived(const QString& id, const QVariantMap& paramMap);
    /// Passes a message to the worker thread, which sends it.
    void NewOutgoingMessage(const MessageInfo& msg);
    /// A client connected, and displaced the previous client, if there was one.
    void Connected(QLocalSocket* socket);
    /// A client disconnected.
    void Disconnected(QLocalSocket* socket);

public Q_SLOTS:
    /// Announces a message, or passes it to the responders.
    void MessageReceivedSlot(const MessageInfo& msg);
    void ConnectedSlot(QLocalSocket* socket);
    void DisconnectedSlot(QLocalSocket* socket);

private:
    QString mServerName;
    MessageServerThread* mThread = nullptr;
    QList<IMessageResponder*> mResponders;
    int mConnectionCount = 0;
};

/// The worker thread of a server.
class MessageServerThread final : public Internal::WorkerThread
{
    Q_OBJECT
public:
    MessageServerThread(const QString& serverName, MessageServer* server);
    Q_DISABLE_COPY_MOVE(MessageServerThread)

    /// Thread-safe. \return the socket file that the worker listens on; nullopt if it does not listen
    [[nodiscard]] std::optional<Platform::FileIdentity> Endpoint() const;

Q_SIGNALS:
    void MessageReceived(const MessageInfo& msg);
    void Connected(QLocalSocket* socket);
    void Disconnected(QLocalSocket* socket);

protected:
    void Announce(const Internal::Arrival& arrival) override;

private:
    void SetEndpoint(const std::optional<Platform::FileIdentity>& endpoint);

    void RunWorker() override;

    MessageServer* mServer;
    QString mServerName;
    mutable QMutex mEndpointMutex;
    std::optional<Platform::FileIdentity> mEndpoint; // guarded by mEndpointMutex
};

/// Owns the endpoint and the client's socket. Created, used and destroyed in the worker thread.
class MessageServerWorker final : public QObject
{
    Q_OBJECT
public:
    explicit MessageServerWorker(MessageServer* server);
    ~MessageServerWorker() override;
    Q_DISABLE_COPY_MOVE(MessageServerWorker)

    /// Counts received messages in \p window. Call this first.
    void SetWindow(Internal::DeliveryWindow* window) { mWindow = window; }
    /// Takes the messages to be sent from \p outgoing. A queued signal for each would cost more.
    void UseMailbox(Internal::Mailbox<MessageInfo>& outgoing);
    using EndpointObserver = std::function<void(const std::optional<Platform::FileIdentity>&)>;
    /// \param announce  called in the worker thread with the file of each socket that the worker listens on,
    ///                  and with nullopt when the worker stops listening because of an error
    void SetEndpointObserver(EndpointObserver announce);
    /// Resumes reading after \p window was full.
    void ResumeReading();
    /// Starts to listen. \return false, after one warning, if it cannot listen on the name
    bool Start(const QString& name);
    bool Stop();
    /// \return false if there is no client; the message is then dropped
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

protected:
    /// Sends the messages that other threads have handed over.
    void customEvent(QEvent* event) override;

private:
    bool Listen(Platform::ExistingSocket existing);
    void SetEndpoint(const std::optional<Platform::FileIdentity>& endpoint);
    void CheckEndpoint();
    void RemoveEndpoint();
    void ReadFrom(QLocalSocket& socket);

    MessageServer* mServer;
    QString mName;
    std::unique_ptr<QLocalServer> mLocalServer;
    std::optional<Platform::FileIdentity> mEndpoint; // the file of mLocalServer
    EndpointObserver mAnnounceEndpoint;
    QTimer mEndpointTimer; // checks whether the server still listens under its name
    bool mIsFailureLogged = false; // by Listen, since the last good check or the last client
    bool mIsReopeningLogged = false; // since the last client
    QLocalSocket* mSocket = nullptr; // the current client's
    Internal::DeliveryWindow* mWindow = nullptr;
    QPointer<Internal::MessageWriter> mWriter; // owned by mSocket
    Internal::Mailbox<MessageInfo>* mOutgoing = nullptr; // messages to be sent
};

} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGESERVER_P_H
