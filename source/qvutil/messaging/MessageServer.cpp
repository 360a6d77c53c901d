// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageServer_p.h"

#include "base/Logging_p.h"
#include "messaging/IPC_p.h"
#include "messaging/MessageSocket_p.h"

#include <QFile>

#include <optional>
#include <utility>
#include <vector>

namespace Quorvin::Util {
namespace {

constexpr int kEndpointCheckMs = 2000;

} // namespace

// MessageServer

MessageServer::MessageServer()
{
    RegisterMessageInfo();
}

MessageServer::~MessageServer()
{
    Stop();
}

bool MessageServer::Start(const QString& name)
{
    if (mThread == nullptr) {
        mServerName = name;
        mThread = new MessageServerThread(name, this);
        connect(mThread, &MessageServerThread::Connected, this, &MessageServer::ConnectedSlot);
        connect(mThread, &MessageServerThread::Disconnected, this, &MessageServer::DisconnectedSlot);
        connect(mThread, &MessageServerThread::MessageReceived, this, &MessageServer::MessageReceivedSlot);
    }
    mThread->start(QThread::InheritPriority);
    return true;
}

bool MessageServer::Stop()
{
    if (mThread != nullptr) {
        mThread->Stop();
        // Qt allows this even in a slot called by a signal of this thread object.
        delete std::exchange(mThread, nullptr);
    }
    return true;
}

bool MessageServer::IsStarted() const
{
    return mThread != nullptr && mThread->isRunning();
}

bool MessageServer::IsListening() const
{
    if (mThread == nullptr)
        return false;
    const std::optional<Platform::FileIdentity> endpoint = mThread->Endpoint();
    return endpoint && Platform::GetFileIdentity(Internal::GetSocketPath(mServerName)) == endpoint;
}

bool MessageServer::SendMessage(const QString& id, const QVariantMap& params)
{
    MessageInfo message;
    message.Id = id;
    message.Params = params;
    return SendMessage(message);
}

bool MessageServer::SendMessage(const MessageInfo& message)
{
    Q_EMIT NewOutgoingMessage(message);
    return true;
}

void MessageServer::AddMessageResponder(IMessageResponder* responder)
{
    if (responder != nullptr && !mResponders.contains(responder))
        mResponders.append(responder);
}

void MessageServer::RemoveMessageResponder(IMessageResponder* responder)
{
    mResponders.removeOne(responder);
}

int MessageServer::GetConnectionCount() const
{
    return mConnectionCount;
}

void MessageServer::MessageReceivedSlot(const MessageInfo& msg)
{
    if (!msg.NeedResponse) {
        Q_EMIT MessageReceived(msg.Id, msg.Params);
        return;
    }
    const QPointer<MessageServer> self(this); // a responder may delete the server
    MessageInfo response;
    const QList<IMessageResponder*> responders = mResponders;
    for (IMessageResponder* const responder : responders) {
        const bool handled = responder->HandleMessage(msg.Id, msg.Params, response.Params);
        if (self.isNull())
            return;
        if (handled)
            break;
    }
    response.Id = kMsgResponse;
    response.IsResponse = true;
    response.OriginalMessageUniqueId = msg.UniqueId;
    SendMessage(response);
}

void MessageServer::ConnectedSlot(QLocalSocket* socket)
{
    ++mConnectionCount;
    Q_EMIT Connected(socket);
}

void MessageServer::DisconnectedSlot(QLocalSocket* socket)
{
    --mConnectionCount;
    Q_EMIT Disconnected(socket);
}

// MessageServerThread

MessageServerThread::MessageServerThread(const QString& serverName, MessageServer* server)
    : mServer(server)
    , mServerName(serverName)
{
    // Until the worker has opened the mailbox, messages are dropped, as they are without a client.
    connect(
        mServer, &MessageServer::NewOutgoingMessage, this,
        [this](const MessageInfo& message) { Outgoing().Add(message); }, Qt::DirectConnection);
}

std::optional<Platform::FileIdentity> MessageServerThread::Endpoint() const
{
    const QMutexLocker locker(&mEndpointMutex);
    return mEndpoint;
}

void MessageServerThread::SetEndpoint(const std::optional<Platform::FileIdentity>& endpoint)
{
    const QMutexLocker locker(&mEndpointMutex);
    mEndpoint = endpoint;
}

void MessageServerThread::RunWorker()
{
    MessageServerWorker worker(mServer);
    worker.SetEndpointObserver([this](const auto& endpoint) { SetEndpoint(endpoint); });
    using Kind = Internal::ArrivalKind;
    connect(&worker, &MessageServerWorker::MessageReceived, &worker, [this](const MessageInfo& message) {
        Deliver({Kind::Message, nullptr, message});
    });
    connect(&worker, &MessageServerWorker::Connected, &worker, [this](QLocalSocket* socket) {
        Deliver({Kind::Connected, socket});
    });
    connect(&worker, &MessageServerWorker::Disconnected, &worker, [this](QLocalSocket* socket) {
        Deliver({Kind::Disconnected, socket});
    });
    worker.UseMailbox(Outgoing());
    worker.SetWindow(&Window());
    SetReader(&worker, [&worker] { worker.ResumeReading(); });
    worker.Start(mServerName);
    exec();
}

void MessageServerThread::Announce(const Internal::Arrival& arrival)
{
    switch (arrival.Kind) {
    case Internal::ArrivalKind::Connected:
        Q_EMIT Connected(arrival.Socket);
        break;
    case Internal::ArrivalKind::Disconnected:
        Q_EMIT Disconnected(arrival.Socket);
        break;
    case Internal::ArrivalKind::Message:
        Q_EMIT MessageReceived(arrival.Message);
        break;
    }
}

// MessageServerWorker

MessageServerWorker::MessageServerWorker(MessageServer* server)
    : mServer(server)
{
    connect(mServer, &MessageServer::NewOutgoingMessage, this, &MessageServerWorker::NewOutgoingMessage);
    mEndpointTimer.setTimerType(Qt::VeryCoarseTimer);
    connect(&mEndpointTimer, &QTimer::timeout, this, &MessageServerWorker::CheckEndpoint);
}

MessageServerWorker::~MessageServerWorker()
{
    if (mOutgoing != nullptr)
        mOutgoing->Close();
    Stop();
}

void MessageServerWorker::SetEndpointObserver(EndpointObserver announce)
{
    mAnnounceEndpoint = std::move(announce);
}

bool MessageServerWorker::Start(const QString& name)
{
    Stop(); // the previous server, if there is one
    mName = name;
    if (!Listen(Platform::ExistingSocket::Replace)) // replaces a stale socket, and displaces another server
        return false;
    mEndpointTimer.start(kEndpointCheckMs);
    return true;
}

// Not QLocalServer::listen(name): closing such a server would remove whatever file has the name by then, even
// the socket of a successor.
bool MessageServerWorker::Listen(Platform::ExistingSocket existing)
{
    const Platform::ListeningSocket socket = Platform::ListenAt(Internal::GetSocketPath(mName), existing);
    auto server = std::make_unique<QLocalServer>();
    server->setSocketOptions(QLocalServer::UserAccessOption);
    if (socket.Descriptor == -1 || !server->listen(socket.Descriptor)) {
        if (!std::exchange(mIsFailureLogged, true)) {
            qCWarning(Internal::lcQvUtil, "cannot listen on \"%ls\": %ls%s", qUtf16Printable(mName),
                      qUtf16Printable(socket.Descriptor == -1 ? socket.Error : server->errorString()),
                      Internal::IsSocketNameTooLong(mName) ? " (the name is too long)" : "");
        }
        return false;
    }
    mLocalServer = std::move(server);
    connect(mLocalServer.get(), &QLocalServer::newConnection, this, &MessageServerWorker::ConnectedSlot);
    SetEndpoint(socket.File);
    return true;
}

void MessageServerWorker::SetEndpoint(const std::optional<Platform::FileIdentity>& endpoint)
{
    mEndpoint = endpoint;
    if (mAnnounceEndpoint)
        mAnnounceEndpoint(endpoint);
}

// Without its socket file, a server keeps running, but nobody can connect. QLocalServer stops listening when
// it cannot accept a client, for example because the process has run out of file descriptors.
void MessageServerWorker::CheckEndpoint()
{
    const bool isOpen = mLocalServer->socketDescriptor() != -1;
    const std::optional<Platform::FileIdentity> file
        = Platform::GetFileIdentity(Internal::GetSocketPath(mName));
    if (isOpen && file == mEndpoint) {
        mIsFailureLogged = false;
        return;
    }
    const bool isTakenOver = file && file != mEndpoint;
    if (!isOpen) {
        RemoveEndpoint();
        SetEndpoint(std::nullopt); // the inode number may be reused
    }
    if (isTakenOver) {
        qCWarning(Internal::lcQvUtil,
                  "another server has taken over the name \"%ls\": clients connect to that server",
                  qUtf16Printable(mName));
        mEndpointTimer.stop(); // log only one line
        return;
    }
    // If listening fails, the next check tries again. While descriptors are scarce, the server may stop
    // listening whenever a client connects: log only the first time.
    if (Listen(Platform::ExistingSocket::Keep) && (isOpen || !std::exchange(mIsReopeningLogged, true))) {
        qCWarning(Internal::lcQvUtil, "the socket of \"%ls\" %s: listening again", qUtf16Printable(mName),
                  isOpen ? "was removed" : "was closed because a client could not be accepted");
    }
}

// Removes the socket file, unless a successor has taken the name. Comparing inode numbers is reliable: while
// the socket is open, no other file gets the same number.
void MessageServerWorker::RemoveEndpoint()
{
    const QString path = Internal::GetSocketPath(mName);
    if (mEndpoint && Platform::GetFileIdentity(path) == mEndpoint)
        QFile::remove(path);
}

bool MessageServerWorker::Stop()
{
    mEndpointTimer.stop();
    RemoveEndpoint();
    if (mLocalServer)
        mLocalServer->close();
    delete std::exchange(mSocket, nullptr);
    mLocalServer.reset();
    mEndpoint.reset();
    mIsFailureLogged = false;
    mIsReopeningLogged = false;
    return true;
}

void MessageServerWorker::ConnectedSlot()
{
    QLocalSocket* const socket = mLocalServer->nextPendingConnection();
    if (socket == nullptr)
        return; // disconnected before it was accepted
    if (!Internal::IsTrustedPeer(*socket)) {
        qCWarning(Internal::lcQvUtil, "a process of another user has connected to \"%ls\" and was rejected",
                  qUtf16Printable(mName));
        socket->abort();
        socket->deleteLater();
        return;
    }
    mIsFailureLogged = false;
    mIsReopeningLogged = false;
    socket->setParent(this); // so that the client stays connected when the server listens again
    if (mSocket != nullptr)
        mSocket->deleteLater();
    mSocket = socket;
    mWriter = new Internal::MessageWriter(socket);
    connect(socket, &QLocalSocket::disconnected, this, &MessageServerWorker::DisconnectedSlot);
    connect(socket, &QLocalSocket::readyRead, this, &MessageServerWorker::ReadMessage);
    Q_EMIT Connected(socket);
}

void MessageServerWorker::DisconnectedSlot()
{
    auto* const socket = qobject_cast<QLocalSocket*>(sender());
    if (socket == nullptr)
        return;
    if (socket == mSocket) {
        mSocket->deleteLater();
        mSocket = nullptr;
    }
    Q_EMIT Disconnected(socket);
}

void MessageServerWorker::ReadMessage()
{
    auto* const socket = qobject_cast<QLocalSocket*>(sender());
    if (socket != nullptr)
        ReadFrom(*socket);
}

void MessageServerWorker::ResumeReading()
{
    if (mSocket != nullptr)
        ReadFrom(*mSocket);
}

void MessageServerWorker::ReadFrom(QLocalSocket& socket)
{
    const QList<MessageInfo> messages = Internal::ReadMessages(socket, mWindow);
    for (const MessageInfo& message : messages)
        Q_EMIT MessageReceived(message);
}

void MessageServerWorker::NewOutgoingMessage(const MessageInfo& msg)
{
    SendMessage(msg);
}

bool MessageServerWorker::SendMessage(const MessageInfo& message)
{
    if (mSocket == nullptr)
        return false;
    mWriter->Write({&message, 1});
    return true;
}

void MessageServerWorker::UseMailbox(Internal::Mailbox<MessageInfo>& outgoing)
{
    disconnect(mServer, &MessageServer::NewOutgoingMessage, this, &MessageServerWorker::NewOutgoingMessage);
    mOutgoing = &outgoing;
    mOutgoing->Open(this);
}

void MessageServerWorker::customEvent(QEvent* /*event*/)
{
    std::vector<MessageInfo> messages;
    mOutgoing->TakeAll(messages);
    if (mSocket != nullptr)
        mWriter->Write(messages);
}

} // namespace Quorvin::Util
