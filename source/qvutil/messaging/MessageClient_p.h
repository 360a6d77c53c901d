// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGECLIENT_P_H
#define QVUTIL_MESSAGECLIENT_P_H

// This file is not part of the interface. It may change from one version to the next.

#include "IPC.h"
#include "messaging/WorkerThread_p.h"

#include <QEventLoop>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QRecursiveMutex>
#include <QTimer>
#include <QtNetwork/QLocalSocket>

#include <atomic>
#include <memory>

namespace Quorvin::Util {

namespace Internal {
class MessageWriter;
}

class MessageClientThread;

/// The connecting end of a link. Connects by itself, again and again until it succeeds, and after each
/// disconnection.
///
/// \par Threads
/// Lives in its owner's thread, which needs an event loop; all work with sockets is done in a thread of its
/// own. The operations that wait run an event loop, so that slots of the host are called meanwhile; they may
/// delete the client, and the wait is over then. One wait at a time: a second one fails at once.
class MessageClient final : public QObject
{
    Q_OBJECT
public:
    MessageClient();
    ~MessageClient() override;
    Q_DISABLE_COPY_MOVE(MessageClient)

    /// Connects to receive only: what is sent on such a client is dropped. \return true
    bool ConnectToServer(const QString& name);
    /// Starts to connect and does not wait for it. Once called, another name changes what GetName answers and
    /// nothing else, until DisconnectFromServer.
    /// \param mode  must hold WriteOnly for messages to be sent, and ReadOnly for them to be received
    /// \return true
    bool ConnectToServer(const QString& name, QIODeviceBase::OpenMode mode);
    /// Any thread. \return whether there is a connection; after DisconnectFromServer, whether there was one
    [[nodiscard]] bool IsConnected() const;
    /// Waits for the connection. The signal Connected has been emitted when it returns true.
    /// \param timeoutMs  milliseconds; negative waits without limit
    /// \return false if the time is over, or another wait is running
    bool WaitForConnection(int timeoutMs);
    /// Ends the thread, and with it the connection, and waits for its end. Messages that still wait to be
    /// written are dropped.
    void DisconnectFromServer();

    /// Sends a message. \return false if there is no connection
    bool SendMessage(const QString& id, const QVariantMap& params);
    /// Sends a message.
    /// \param waitForSent  whether to wait up to 15 seconds until it is written
    /// \return false if there is no connection, or if it was not written in time
    bool SendMessage(const QString& id, const QVariantMap& params, bool waitForSent);
    /// \overload
    bool SendMessage(const MessageInfo& message, bool waitForSent);
    /// Sends a request and waits for its answer.
    /// \param response   set to the answer's parameters; empty if there is none
    /// \param timeoutMs  milliseconds; negative waits for 30 seconds
    /// \return false if there is no connection, no answer in time, or another wait is running
    bool SendMessageAndGetResponse(const QString& id, const QVariantMap& params, QVariantMap& response,
                                   int timeoutMs);
    /// \return the name last given to ConnectToServer
    [[nodiscard]] QString GetName() const;

Q_SIGNALS:
    /// A message came that is no answer.
    void MessageReceived(const QString& id, const QVariantMap& paramMap);
    /// A message is to be sent.
    void NewOutgoingMessage(const MessageInfo& msg);
    void Connected(QString name);
    void Disconnected(QString name);

public Q_SLOTS:
    void ConnectedSlot();
    void DisconnectedSlot();
    void MessageReceivedSlot(const MessageInfo& msg);
    void MessageSentSlot(const MessageInfo& msg);
    void EventLoopTimeout();

private:
    // The one wait that may be running: what for, and what ends it.
    struct Wait
    {
        enum class Goal { None, Connection, Sent, Answer };

        Goal For = Goal::None; // from the beginning of the wait until it returns
        QUuid Request; // whose answer is awaited
        QVariantMap Answer;
        QTimer Timer;
        // Shared with the function that runs it, which may outlive the client.
        std::shared_ptr<QEventLoop> Loop = std::make_shared<QEventLoop>();
    };

    [[nodiscard]] bool IsSocketConnected() const;
    [[nodiscard]] bool IsWaiting() const { return mWait.For != Wait::Goal::None; }
    bool WaitFor(Wait::Goal goal, int timeoutMs);

    QString mServerName;
    MessageClientThread* mThread = nullptr;
    std::atomic<bool> mConnected = false; // written by the owner's thread only
    Wait mWait;
    mutable QRecursiveMutex mThreadLock; // guards mThread where another thread looks for it in IsConnected
};

/// The thread of a client.
class MessageClientThread final : public Internal::WorkerThread
{
    Q_OBJECT
public:
    MessageClientThread(const QString& serverName, QIODeviceBase::OpenMode mode, MessageClient* client);
    Q_DISABLE_COPY_MOVE(MessageClientThread)

    /// Any thread. \return whether the worker's socket is connected
    [[nodiscard]] bool IsConnected() const;
    /// The owner's thread. While paused, what was sent is announced before the next message that arrives, or
    /// when the pause ends.
    void PauseSentNotifications();
    void ResumeSentNotifications();

Q_SIGNALS:
    void Connected();
    void Disconnected();
    void MessageReceived(const MessageInfo& msg);
    void MessageSent(const MessageInfo& msg);

protected:
    /// Announces what was sent.
    void customEvent(QEvent* event) override;

private:
    void RunWorker() override;
    void QueueSentNotification(const MessageInfo& message);
    void FlushSentNotifications();

    // What was sent and is not yet announced. Many messages are announced at once, if the owner's thread does
    // not look at them meanwhile: to wake it up for each costs more than to send one.
    QMutex mSentLock; // guards the next three
    QList<MessageInfo> mSent;
    bool mIsFlushPosted = false; // an event for the owner's thread is under way
    bool mIsSentPaused = false;
    MessageClient* mClient;
    QString mServerName;
    QIODeviceBase::OpenMode mMode;
    // What the worker lets other threads know of its socket, set once the signal that tells the same is
    // queued.
    std::atomic<bool> mSocketConnected = false;
};

/// Owns the socket and the timer that reconnects it. Made, used and destroyed in the client's thread.
class MessageClientWorker final : public QObject
{
    Q_OBJECT
public:
    MessageClientWorker(const QString& serverName, QIODeviceBase::OpenMode mode, MessageClient* client);
    ~MessageClientWorker() override;
    Q_DISABLE_COPY_MOVE(MessageClientWorker)

    /// Counts in \p window what is read. To be called first.
    void SetWindow(Internal::DeliveryWindow* window) { mWindow = window; }
    /// Reads on after \p window was full.
    void ResumeReading();
    /// Connects, now and every second until it has succeeded.
    void ConnectAndListen();
    /// Tries to connect, unless connected or about to be. \return true
    bool ConnectToServer();
    /// Disconnects, and stays so.
    void DisconnectFromServer();
    [[nodiscard]] bool IsConnected() const;

Q_SIGNALS:
    void Connected();
    void Disconnected();
    void MessageReceived(const MessageInfo& msg);
    void MessageSent(const MessageInfo& msg);

public Q_SLOTS:
    void ConnectedSlot();
    void DisconnectedSlot();
    void ConnectTimerTimeout();
    void NewOutgoingMessage(const MessageInfo& msg);
    void ReadMessage();
    void Error(QLocalSocket::LocalSocketError e);

private:
    MessageClient* mClient;
    QString mServerName;
    QLocalSocket* mSocket = nullptr;
    Internal::DeliveryWindow* mWindow = nullptr;
    QPointer<Internal::MessageWriter> mWriter; // belongs to mSocket
    std::unique_ptr<QTimer> mConnectTimer;
    bool mKeepConnecting = false;
    bool mWasConnected = false;
    QIODeviceBase::OpenMode mMode;
};

} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGECLIENT_P_H
