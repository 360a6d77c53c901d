// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGECLIENT_P_H
#define QVUTIL_MESSAGECLIENT_P_H

// Internal, not API: may change in any version.

#include "IPC.h"
#include "messaging/Mailbox_p.h"
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

/// The client end of a connection. Tries to connect until it succeeds, and reconnects after each
/// disconnection.
///
/// \par Threads
/// Lives in its owner thread, which needs an event loop; a worker thread serves the socket. Operations that
/// wait run an event loop, in which other slots are called. These may delete the client, which ends the wait.
/// A second wait at the same time fails at once.
class MessageClient final : public QObject
{
    Q_OBJECT
public:
    MessageClient();
    ~MessageClient() override;
    Q_DISABLE_COPY_MOVE(MessageClient)

    /// Connects for receiving only: messages sent by this client are dropped. \return true
    bool ConnectToServer(const QString& name);
    /// Starts to connect, without waiting. After the first call, and until DisconnectFromServer, another name
    /// only changes the result of GetName.
    /// \param mode  must contain WriteOnly to send messages, and ReadOnly to receive them
    /// \return true
    bool ConnectToServer(const QString& name, QIODeviceBase::OpenMode mode);
    /// Thread-safe. \return whether there is a connection; after DisconnectFromServer, whether there was one
    [[nodiscard]] bool IsConnected() const;
    /// Waits for the connection. If this returns true, the signal Connected has been emitted.
    /// \param timeoutMs  in milliseconds; if negative, there is no time-out
    /// \return false after the time-out, or if another wait is running
    bool WaitForConnection(int timeoutMs);
    /// Ends the worker thread, and with it the connection. Returns when the thread has ended. Queued messages
    /// are dropped.
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
    /// \param timeoutMs  in milliseconds; if negative, 30 seconds
    /// \return false if there is no connection, no answer in time, or another wait is running
    bool SendMessageAndGetResponse(const QString& id, const QVariantMap& params, QVariantMap& response,
                                   int timeoutMs);
    /// \return the name that was last passed to ConnectToServer
    [[nodiscard]] QString GetName() const;

Q_SIGNALS:
    /// A message arrived that is not an answer.
    void MessageReceived(const QString& id, const QVariantMap& paramMap);
    /// Passes a message to the worker thread, which sends it.
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
    // The current wait: its goal, and what ends it.
    struct Wait
    {
        enum class Goal { None, Connection, Sent, Answer };

        Goal For = Goal::None; // from the start of the wait until it returns
        QUuid Request; // the request whose answer is awaited
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
    std::atomic<bool> mConnected = false; // written by the owner thread only
    Wait mWait;
    mutable QRecursiveMutex mThreadLock; // guards mThread against IsConnected in other threads
};

/// The thread of a client.
class MessageClientThread final : public Internal::WorkerThread
{
    Q_OBJECT
public:
    MessageClientThread(const QString& serverName, QIODeviceBase::OpenMode mode, MessageClient* client);
    Q_DISABLE_COPY_MOVE(MessageClientThread)

    /// Thread-safe. \return whether the worker's socket is connected
    [[nodiscard]] bool IsConnected() const;
    /// Pauses the notifications about sent messages. They are emitted before the next message that arrives,
    /// or when the pause ends. Owner thread only.
    void PauseSentNotifications();
    void ResumeSentNotifications();

Q_SIGNALS:
    void Connected();
    void Disconnected();
    void MessageReceived(const MessageInfo& msg);
    void MessageSent(const MessageInfo& msg);

protected:
    /// Announces sent messages, or what has arrived.
    void customEvent(QEvent* event) override;
    void Announce(const Internal::Arrival& arrival) override;

private:
    void RunWorker() override;
    void QueueSentNotification(const MessageInfo& message);
    void FlushSentNotifications();

    // Sent messages that are not yet announced. They are announced in batches, because waking the owner
    // thread for each message costs more than sending it.
    QMutex mSentLock; // guards the next three
    QList<MessageInfo> mSent;
    bool mIsFlushPosted = false; // whether an event for the owner thread is posted
    bool mIsSentPaused = false;
    MessageClient* mClient;
    QString mServerName;
    QIODeviceBase::OpenMode mMode;
    // The state of the worker's socket for other threads; set after the change is in the mailbox.
    std::atomic<bool> mSocketConnected = false;
};

/// Owns the socket and the timer that reconnects it. Created, used and destroyed in the worker thread.
class MessageClientWorker final : public QObject
{
    Q_OBJECT
public:
    MessageClientWorker(const QString& serverName, QIODeviceBase::OpenMode mode, MessageClient* client);
    ~MessageClientWorker() override;
    Q_DISABLE_COPY_MOVE(MessageClientWorker)

    /// Counts received messages in \p window. Call this first.
    void SetWindow(Internal::DeliveryWindow* window) { mWindow = window; }
    /// Takes the messages to be sent from \p outgoing. A queued signal for each would cost more.
    void UseMailbox(Internal::Mailbox<MessageInfo>& outgoing);
    /// Resumes reading after \p window was full.
    void ResumeReading();
    /// Tries to connect now and every second until it succeeds.
    void ConnectAndListen();
    /// Tries to connect, unless it is connected or connecting. \return true
    bool ConnectToServer();
    /// Disconnects and does not reconnect.
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

protected:
    /// Sends the messages that other threads have handed over.
    void customEvent(QEvent* event) override;

private:
    [[nodiscard]] bool CanSend() const;

    MessageClient* mClient;
    QString mServerName;
    QLocalSocket* mSocket = nullptr;
    Internal::DeliveryWindow* mWindow = nullptr;
    QPointer<Internal::MessageWriter> mWriter; // owned by mSocket
    std::unique_ptr<QTimer> mConnectTimer;
    bool mKeepConnecting = false;
    bool mWasConnected = false;
    bool mHasRefused = false; // a server of another user; only the first refusal is logged
    QIODeviceBase::OpenMode mMode;
    Internal::Mailbox<MessageInfo>* mOutgoing = nullptr; // messages to be sent
};

} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGECLIENT_P_H
