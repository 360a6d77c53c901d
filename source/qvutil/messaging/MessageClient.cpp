// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageClient_p.h"

#include "base/Logging_p.h"
#include "messaging/IPC_p.h"
#include "messaging/MessageLink_p.h"
#include "platform/Platform_p.h"

#include <QCoreApplication>
#include <QMutexLocker>

#include <optional>
#include <utility>

namespace Quorvin::Util {
namespace {

constexpr int kReconnectIntervalMs = 1000;
constexpr int kSendTimeoutMs = 15000;
constexpr int kResponseTimeoutMs = 30000;

constexpr int kExitSuccess = 0;
constexpr int kExitTimeout = 1;

} // namespace

// MessageClient

MessageClient::MessageClient()
{
    RegisterMessageInfo();
    mWaitTimer.setSingleShot(true);
    mWaitTimer.setTimerType(Qt::PreciseTimer); // a coarse one may end a wait 5 % too early
    connect(&mWaitTimer, &QTimer::timeout, this, &MessageClient::EventLoopTimeout);
}

MessageClient::~MessageClient()
{
    DisconnectFromServer();
    mEventLoop->exit(kExitTimeout); // a slot that the loop runs may have deleted the client
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
        return !mWaiting && Wait(timeoutMs);
    // The news of the connection may still be queued, and would end the wait for the answer to a first
    // request.
    if (!mConnected)
        QCoreApplication::sendPostedEvents(mThread, QEvent::MetaCall);
    return true;
}

void MessageClient::DisconnectFromServer()
{
    if (mThread == nullptr)
        return;
    mThread->Stop();
    const QMutexLocker locker(&mThreadLock);
    // Also from within a slot that a signal of this thread object has called: Qt provides for that.
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
    HoldSent(false); // a slot may send beside a request
    Q_EMIT NewOutgoingMessage(message);
    if (self.isNull() || mWaiting)
        return false;
    mAwaitingSend = true;
    const bool sent = Wait(kSendTimeoutMs);
    if (!self.isNull())
        mAwaitingSend = false;
    return sent;
}

bool MessageClient::SendMessageAndGetResponse(const QString& id, const QVariantMap& params,
                                              QVariantMap& response, int timeoutMs)
{
    // The parameters first: they may be the map that the answer goes to.
    MessageInfo request;
    request.Id = id;
    request.Params = params;
    response.clear();
    if (!IsConnected() || mAwaitingResponse)
        return false;
    request.UniqueId = QUuid::createUuid();
    request.NeedResponse = true;
    mAwaitingResponse = true;
    mResponse.clear();
    mPendingRequest = request;

    const QPointer<MessageClient> self(this);
    HoldSent(true); // nobody waits for that now
    const bool answered = SendMessage(request, false) && !self.isNull() && !mWaiting
        && Wait(timeoutMs < 0 ? kResponseTimeoutMs : timeoutMs);
    if (self.isNull())
        return false;
    HoldSent(false);
    mAwaitingResponse = false;
    mPendingRequest.Clear();
    response = std::exchange(mResponse, {});
    return answered;
}

QString MessageClient::GetName() const
{
    return mServerName;
}

void MessageClient::HoldSent(bool held)
{
    if (mThread != nullptr)
        mThread->HoldSent(held);
}

// Ends with the next exit of the event loop; the client may be gone then.
bool MessageClient::Wait(int timeoutMs)
{
    const QPointer<MessageClient> self(this);
    const std::shared_ptr<QEventLoop> loop = mEventLoop;
    if (timeoutMs < 0)
        mWaitTimer.stop();
    else
        mWaitTimer.start(timeoutMs);
    mWaiting = true;
    const int result = loop->exec(QEventLoop::ExcludeUserInputEvents);
    if (!self.isNull())
        mWaiting = false;
    return result == kExitSuccess;
}

void MessageClient::ConnectedSlot()
{
    mConnected = true;
    mEventLoop->exit(kExitSuccess);
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
    if (mAwaitingResponse && msg.OriginalMessageUniqueId == mPendingRequest.UniqueId) {
        mWaitTimer.stop();
        mResponse = msg.Params;
        mEventLoop->exit(kExitSuccess);
    }
}

void MessageClient::MessageSentSlot(const MessageInfo& /*msg*/)
{
    if (mAwaitingSend) {
        mAwaitingSend = false;
        mEventLoop->exit(kExitSuccess);
    }
}

void MessageClient::EventLoopTimeout()
{
    mEventLoop->exit(kExitTimeout);
}

// MessageClientThread

MessageClientThread::MessageClientThread(const QString& serverName, QIODeviceBase::OpenMode mode,
                                         MessageClient* client)
    : mClient(client)
    , mServerName(serverName)
    , mMode(mode)
{ }

bool MessageClientThread::IsConnected() const
{
    return mSocketConnected.load(std::memory_order_acquire);
}

void MessageClientThread::HoldSent(bool held)
{
    {
        const QMutexLocker locker(&mSentLock);
        mSentIsHeld = held;
    }
    if (!held)
        AnnounceSent();
}

void MessageClientThread::AddSent(const MessageInfo& message)
{
    const QMutexLocker locker(&mSentLock);
    mSent.append(message);
    if (mSentIsHeld || mSentIsQueued)
        return;
    mSentIsQueued = true;
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void MessageClientThread::customEvent(QEvent* /*event*/)
{
    AnnounceSent();
}

void MessageClientThread::AnnounceSent()
{
    QList<MessageInfo> sent;
    {
        const QMutexLocker locker(&mSentLock);
        sent.swap(mSent);
        mSentIsQueued = false;
    }
    for (const MessageInfo& message : std::as_const(sent))
        Q_EMIT MessageSent(message);
}

void MessageClientThread::RunWorker()
{
    MessageClientWorker worker(mServerName, mMode, mClient);
    connect(&worker, &MessageClientWorker::Connected, this, &MessageClientThread::Connected);
    connect(&worker, &MessageClientWorker::Disconnected, this, &MessageClientThread::Disconnected);
    // After the signals above: whoever sees the connection finds the news of it in the queue.
    connect(&worker, &MessageClientWorker::Connected, &worker,
            [this] { mSocketConnected.store(true, std::memory_order_release); });
    connect(&worker, &MessageClientWorker::Disconnected, &worker,
            [this] { mSocketConnected.store(false, std::memory_order_release); });
    connect(&worker, &MessageClientWorker::MessageReceived, this, [this](const MessageInfo& message) {
        AnnounceSent();
        Q_EMIT MessageReceived(message);
    });
    connect(&worker, &MessageClientWorker::MessageSent, &worker,
            [this](const MessageInfo& message) { AddSent(message); });
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
    if (IsSocketNameTooLong(mServerName)) {
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

bool MessageClientWorker::IsTrustedServer() const
{
    const std::optional<quint32> user = Platform::GetPeerUserId(mSocket->socketDescriptor());
    return !user || IsTrustedUser(*user, Platform::GetUserId());
}

void MessageClientWorker::ConnectedSlot()
{
    if (!IsTrustedServer()) {
        mSocket->abort(); // not a server to talk to; the timer goes on trying
        return;
    }
    if (mConnectTimer)
        mConnectTimer->stop();
    mWasConnected = true;
    mWriter = new MessageWriter(mSocket);
    connect(mWriter, &MessageWriter::Written, this, &MessageClientWorker::MessageSent);
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
    if (mMode.testFlag(QIODeviceBase::WriteOnly) && IsConnected() && mWriter)
        mWriter->Write(msg);
}

void MessageClientWorker::ReadMessage()
{
    if (mSocket == nullptr)
        return;
    const QList<MessageInfo> messages = TakeMessages(*mSocket);
    for (const MessageInfo& message : messages)
        Q_EMIT MessageReceived(message);
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
