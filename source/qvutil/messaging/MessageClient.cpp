// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageClient_p.h"

#include "base/Logging_p.h"
#include "messaging/IPC_p.h"
#include "messaging/MessageSocket_p.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMutexLocker>

#include <utility>
#include <vector>

namespace Quorvin::Util {
namespace {

constexpr int kReconnectIntervalMs = 1000;
constexpr int kSendTimeoutMs = 15000;
constexpr int kResponseTimeoutMs = 30000;

// The event that makes the client's thread object announce sent messages. The mailbox of the thread object
// uses a different event type for arrivals.
constexpr auto kSentEvent = static_cast<QEvent::Type>(Internal::Mailbox<Internal::Arrival>::kEvent + 1);

constexpr int kExitSuccess = 0;
constexpr int kExitTimeout = 1;

// Pauses the notifications about sent messages while it exists, so that they do not wake the owner thread.
// The thread object may be deleted in the meantime.
class SentNotificationsPause
{
public:
    explicit SentNotificationsPause(MessageClientThread* thread)
        : mThread(thread)
    {
        if (!mThread.isNull()) // null after DisconnectFromServer
            mThread->PauseSentNotifications();
    }
    ~SentNotificationsPause()
    {
        if (!mThread.isNull())
            mThread->ResumeSentNotifications();
    }
    Q_DISABLE_COPY_MOVE(SentNotificationsPause)

private:
    QPointer<MessageClientThread> mThread;
};

} // namespace

// MessageClient

MessageClient::MessageClient()
{
    RegisterMessageInfo();
    mWait.Timer.setSingleShot(true);
    mWait.Timer.setTimerType(Qt::PreciseTimer); // a coarse timer may end a wait 5 % too early
    connect(&mWait.Timer, &QTimer::timeout, this, &MessageClient::EventLoopTimeout);
}

MessageClient::~MessageClient()
{
    DisconnectFromServer();
    mWait.Loop->exit(kExitTimeout); // a slot called by the loop may have deleted the client
}

bool MessageClient::ConnectToServer(const QString& name)
{
    return ConnectToServer(name, QIODeviceBase::ReadOnly);
}

bool MessageClient::ConnectToServer(const QString& name, QIODeviceBase::OpenMode mode)
{
    mServerName = name;
    if (mThread == nullptr) {
        auto* const thread = new MessageClientThread(name, mode, this);
        connect(thread, &MessageClientThread::Connected, this, &MessageClient::ConnectedSlot);
        connect(thread, &MessageClientThread::Disconnected, this, &MessageClient::DisconnectedSlot);
        connect(thread, &MessageClientThread::MessageReceived, this, &MessageClient::MessageReceivedSlot);
        connect(thread, &MessageClientThread::MessageSent, this, &MessageClient::MessageSentSlot);
        const QMutexLocker locker(&mThreadLock);
        mThread = thread;
    }
    mThread->start(QThread::InheritPriority);
    return true;
}

bool MessageClient::IsConnected() const
{
    return mConnected || IsSocketConnected();
}

bool MessageClient::IsSocketConnected() const
{
    const QMutexLocker locker(&mThreadLock);
    return mThread != nullptr && mThread->IsConnected();
}

bool MessageClient::WaitForConnection(int timeoutMs)
{
    if (!IsConnected())
        return !IsWaiting() && WaitFor(Wait::Goal::Connection, timeoutMs);
    // Announce the connection now if it is still queued: announced later, it would end the wait for the
    // answer to the first request.
    if (!mConnected)
        mThread->AnnounceArrivals();
    return true;
}

void MessageClient::DisconnectFromServer()
{
    if (mThread == nullptr)
        return;
    mThread->Stop();
    const QMutexLocker locker(&mThreadLock);
    // Qt allows this even in a slot called by a signal of this thread object.
    delete std::exchange(mThread, nullptr);
}

bool MessageClient::SendMessage(const QString& id, const QVariantMap& params)
{
    return SendMessage(id, params, false);
}

bool MessageClient::SendMessage(const QString& id, const QVariantMap& params, bool waitForSent)
{
    MessageInfo message;
    message.Id = id;
    message.Params = params;
    return SendMessage(message, waitForSent);
}

bool MessageClient::SendMessage(const MessageInfo& message, bool waitForSent)
{
    if (!IsConnected())
        return false;
    if (!waitForSent) {
        Q_EMIT NewOutgoingMessage(message);
        return true;
    }
    const QPointer<MessageClient> self(this);
    if (mThread != nullptr)
        mThread->ResumeSentNotifications(); // a slot may send a message during a request
    Q_EMIT NewOutgoingMessage(message);
    return !self.isNull() && !IsWaiting() && WaitFor(Wait::Goal::Sent, kSendTimeoutMs);
}

bool MessageClient::SendMessageAndGetResponse(const QString& id, const QVariantMap& params,
                                              QVariantMap& response, int timeoutMs)
{
    // Copy the parameters first: they may be the same map as response.
    MessageInfo request;
    request.Id = id;
    request.Params = params;
    response.clear();
    if (!IsConnected() || mWait.For == Wait::Goal::Answer)
        return false;
    request.UniqueId = QUuid::createUuid();
    request.NeedResponse = true;

    const QPointer<MessageClient> self(this);
    const SentNotificationsPause pause(mThread); // nothing waits for these notifications
    if (!SendMessage(request, false) || self.isNull() || IsWaiting())
        return false;
    mWait.Request = request.UniqueId;
    const bool answered = WaitFor(Wait::Goal::Answer, timeoutMs < 0 ? kResponseTimeoutMs : timeoutMs);
    if (!self.isNull())
        response = std::exchange(mWait.Answer, {});
    return answered && !self.isNull();
}

QString MessageClient::GetName() const
{
    return mServerName;
}

// Returns after the event loop's next exit. The client may be deleted by then.
bool MessageClient::WaitFor(Wait::Goal goal, int timeoutMs)
{
    const QPointer<MessageClient> self(this);
    const std::shared_ptr<QEventLoop> loop = mWait.Loop;
    if (timeoutMs < 0)
        mWait.Timer.stop();
    else
        mWait.Timer.start(timeoutMs);
    mWait.For = goal;
    const int result = loop->exec(QEventLoop::ExcludeUserInputEvents);
    if (!self.isNull())
        mWait.For = Wait::Goal::None;
    return result == kExitSuccess;
}

void MessageClient::ConnectedSlot()
{
    mConnected = true;
    mWait.Loop->exit(kExitSuccess);
    Q_EMIT Connected(mServerName);
}

void MessageClient::DisconnectedSlot()
{
    mConnected = false;
    Q_EMIT Disconnected(mServerName);
}

void MessageClient::MessageReceivedSlot(const MessageInfo& msg)
{
    if (!msg.IsResponse) {
        Q_EMIT MessageReceived(msg.Id, msg.Params);
        return;
    }
    if (mWait.For == Wait::Goal::Answer && msg.OriginalMessageUniqueId == mWait.Request) {
        mWait.Timer.stop();
        mWait.Answer = msg.Params;
        mWait.Loop->exit(kExitSuccess);
    }
}

void MessageClient::MessageSentSlot(const MessageInfo& /*msg*/)
{
    if (mWait.For == Wait::Goal::Sent)
        mWait.Loop->exit(kExitSuccess);
}

void MessageClient::EventLoopTimeout()
{
    mWait.Loop->exit(kExitTimeout);
}

// MessageClientThread

MessageClientThread::MessageClientThread(const QString& serverName, QIODeviceBase::OpenMode mode,
                                         MessageClient* client)
    : mClient(client)
    , mServerName(serverName)
    , mMode(mode)
{
    // Until the worker has opened the mailbox, messages are dropped, as they are without a connection.
    connect(
        mClient, &MessageClient::NewOutgoingMessage, this,
        [this](const MessageInfo& message) { Outgoing().Add(message); }, Qt::DirectConnection);
}

bool MessageClientThread::IsConnected() const
{
    return mSocketConnected.load(std::memory_order_acquire);
}

void MessageClientThread::PauseSentNotifications()
{
    const QMutexLocker locker(&mSentLock);
    mIsSentPaused = true;
}

void MessageClientThread::ResumeSentNotifications()
{
    {
        const QMutexLocker locker(&mSentLock);
        mIsSentPaused = false;
    }
    FlushSentNotifications();
}

void MessageClientThread::QueueSentNotification(const MessageInfo& message)
{
    {
        const QMutexLocker locker(&mSentLock);
        mSent.append(message);
        if (mIsSentPaused || mIsFlushPosted)
            return;
        mIsFlushPosted = true;
    }
    // The event wakes the owner thread, which locks mSentLock at once.
    QCoreApplication::postEvent(this, new QEvent(kSentEvent));
}

void MessageClientThread::customEvent(QEvent* event)
{
    if (event->type() == kSentEvent)
        FlushSentNotifications();
    else
        WorkerThread::customEvent(event);
}

void MessageClientThread::Announce(const Internal::Arrival& arrival)
{
    switch (arrival.Kind) {
    case Internal::ArrivalKind::Connected:
        Q_EMIT Connected();
        break;
    case Internal::ArrivalKind::Disconnected:
        Q_EMIT Disconnected();
        break;
    case Internal::ArrivalKind::Message:
        FlushSentNotifications();
        Q_EMIT MessageReceived(arrival.Message);
        break;
    }
}

void MessageClientThread::FlushSentNotifications()
{
    QList<MessageInfo> sent;
    {
        const QMutexLocker locker(&mSentLock);
        sent.swap(mSent);
        mIsFlushPosted = false;
    }
    for (const MessageInfo& message : std::as_const(sent))
        Q_EMIT MessageSent(message);
}

void MessageClientThread::RunWorker()
{
    MessageClientWorker worker(mServerName, mMode, mClient);
    using Kind = Internal::ArrivalKind;
    // Set the flag after filling the mailbox: WaitForConnection announces what is in the mailbox when it sees
    // the flag.
    connect(&worker, &MessageClientWorker::Connected, &worker, [this] {
        Deliver({Kind::Connected});
        mSocketConnected.store(true, std::memory_order_release);
    });
    connect(&worker, &MessageClientWorker::Disconnected, &worker, [this] {
        Deliver({Kind::Disconnected});
        mSocketConnected.store(false, std::memory_order_release);
    });
    connect(&worker, &MessageClientWorker::MessageReceived, &worker, [this](const MessageInfo& message) {
        Deliver({Kind::Message, nullptr, message});
    });
    connect(&worker, &MessageClientWorker::MessageSent, &worker,
            [this](const MessageInfo& message) { QueueSentNotification(message); });
    worker.UseMailbox(Outgoing());
    worker.SetWindow(&Window());
    SetReader(&worker, [&worker] { worker.ResumeReading(); });
    worker.ConnectAndListen();
    exec();
    mSocketConnected.store(false, std::memory_order_release);
}

// MessageClientWorker

MessageClientWorker::MessageClientWorker(const QString& serverName, QIODeviceBase::OpenMode mode,
                                         MessageClient* client)
    : mClient(client)
    , mServerName(serverName)
    , mMode(mode)
{
    connect(mClient, &MessageClient::NewOutgoingMessage, this, &MessageClientWorker::NewOutgoingMessage);
}

MessageClientWorker::~MessageClientWorker()
{
    if (mOutgoing != nullptr)
        mOutgoing->Close();
    mConnectTimer.reset();
    mKeepConnecting = false;
    if (mSocket != nullptr)
        std::exchange(mSocket, nullptr)->deleteLater();
}

void MessageClientWorker::ConnectAndListen()
{
    if (!mConnectTimer) {
        mConnectTimer = std::make_unique<QTimer>();
        mConnectTimer->setInterval(kReconnectIntervalMs);
        connect(mConnectTimer.get(), &QTimer::timeout, this, &MessageClientWorker::ConnectTimerTimeout);
    }
    mKeepConnecting = true;
    if (Internal::IsSocketNameTooLong(mServerName)) {
        qCWarning(Internal::lcQvUtil, "no server can be reached at \"%ls\": the name is too long",
                  qUtf16Printable(mServerName));
    }
    ConnectToServer();
    if (!IsConnected())
        mConnectTimer->start();
}

bool MessageClientWorker::ConnectToServer()
{
    if (mSocket == nullptr) {
        mSocket = new QLocalSocket;
        mSocket->setSocketOptions(QLocalSocket::NoOptions);
        connect(mSocket, &QLocalSocket::connected, this, &MessageClientWorker::ConnectedSlot);
        connect(mSocket, &QLocalSocket::errorOccurred, this, &MessageClientWorker::Error);
    }
    if (mSocket->state() == QLocalSocket::UnconnectedState)
        mSocket->connectToServer(mServerName, mMode);
    return true;
}

void MessageClientWorker::DisconnectFromServer()
{
    mKeepConnecting = false;
    if (IsConnected())
        mSocket->disconnectFromServer();
}

bool MessageClientWorker::IsConnected() const
{
    return mSocket != nullptr && mSocket->state() == QLocalSocket::ConnectedState;
}

void MessageClientWorker::ConnectedSlot()
{
    if (!Internal::IsTrustedPeer(*mSocket)) {
        if (!std::exchange(mHasRefused, true)) {
            qCWarning(Internal::lcQvUtil, "the server \"%ls\" belongs to another user and was refused",
                      qUtf16Printable(mServerName));
        }
        mSocket->abort(); // the timer keeps trying
        return;
    }
    if (mConnectTimer)
        mConnectTimer->stop();
    mWasConnected = true;
    mHasRefused = false;
    mWriter = new Internal::MessageWriter(mSocket);
    connect(mWriter, &Internal::MessageWriter::Written, this, &MessageClientWorker::MessageSent);
    connect(mSocket, &QLocalSocket::readyRead, this, &MessageClientWorker::ReadMessage);
    connect(mSocket, &QLocalSocket::disconnected, this, &MessageClientWorker::DisconnectedSlot);
    Q_EMIT Connected();
}

void MessageClientWorker::DisconnectedSlot()
{
    if (mWasConnected && mSocket != nullptr)
        std::exchange(mSocket, nullptr)->deleteLater();
    if (mKeepConnecting) {
        if (!mConnectTimer)
            return;
        mConnectTimer->start();
    }
    Q_EMIT Disconnected();
}

void MessageClientWorker::ConnectTimerTimeout()
{
    ConnectToServer();
}

void MessageClientWorker::NewOutgoingMessage(const MessageInfo& msg)
{
    if (CanSend())
        mWriter->Write({&msg, 1});
}

void MessageClientWorker::UseMailbox(Internal::Mailbox<MessageInfo>& outgoing)
{
    disconnect(mClient, &MessageClient::NewOutgoingMessage, this, &MessageClientWorker::NewOutgoingMessage);
    mOutgoing = &outgoing;
    mOutgoing->Open(this);
}

void MessageClientWorker::customEvent(QEvent* /*event*/)
{
    std::vector<MessageInfo> messages;
    mOutgoing->TakeAll(messages);
    if (CanSend())
        mWriter->Write(messages);
}

bool MessageClientWorker::CanSend() const
{
    return mMode.testFlag(QIODeviceBase::WriteOnly) && IsConnected() && mWriter;
}

void MessageClientWorker::ReadMessage()
{
    if (mSocket == nullptr)
        return;
    const QList<MessageInfo> messages = Internal::ReadMessages(*mSocket, mWindow);
    for (const MessageInfo& message : messages)
        Q_EMIT MessageReceived(message);
}

void MessageClientWorker::ResumeReading()
{
    ReadMessage();
}

void MessageClientWorker::Error(QLocalSocket::LocalSocketError /*e*/)
{
    const bool usable = mSocket != nullptr
        && (mSocket->state() == QLocalSocket::ConnectedState
            || mSocket->state() == QLocalSocket::ConnectingState);
    if (!usable && mConnectTimer)
        mConnectTimer->start();
}

} // namespace Quorvin::Util
