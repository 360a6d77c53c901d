// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPCManager.h"

#include "GeneralUtil.h"
#include "messaging/GridRegistry_p.h"
#include "messaging/MessageClient_p.h"
#include "messaging/MessageServer_p.h"
#include "platform/Platform_p.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSharedMemory>

#include <algorithm>
#include <cstring>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {

// Holds the registry's lock as long as it lives; further ones within it do nothing.
class IPCManager::RegistryLock
{
public:
    explicit RegistryLock(IPCManager& manager)
        : mManager(manager)
    {
        mManager.LockSharedMemory();
    }
    ~RegistryLock() { mManager.UnlockSharedMemory(); }
    Q_DISABLE_COPY_MOVE(RegistryLock)

private:
    IPCManager& mManager;
};

IPCManager::IPCManager()
    : mSharedMemory(std::make_unique<QSharedMemory>())
{ }

IPCManager::~IPCManager()
{
    DeleteAllConnections();
    LeaveRegistry();
}

// Server

bool IPCManager::StartServer(const QString& serverName, QIODeviceBase::OpenMode mode)
{
    if (IsServerRunning())
        return true;
    if (!mServer)
        mServer = std::make_unique<MessageServer>();
    mServerMode = mode;
    if (!mServer->Start(serverName))
        return false;
    if (!mode.testFlag(QIODeviceBase::ReadOnly))
        return true;
    connect(mServer.get(), &MessageServer::MessageReceived, this, &IPCManager::MessageReceived);
    connect(mServer.get(), &MessageServer::Connected, this, &IPCManager::ConnectedToClient);
    return static_cast<bool>(
        connect(mServer.get(), &MessageServer::Disconnected, this, &IPCManager::DisconnectedFromClient));
}

bool IPCManager::StopServer()
{
    if (mServer)
        mServer->Stop();
    return true;
}

bool IPCManager::IsServerRunning() const
{
    return mServer && mServer->IsStarted();
}

bool IPCManager::IsConnectedToAnyClient() const
{
    return mServer && mServer->GetConnectionCount() > 0;
}

// Client

bool IPCManager::ConnectToServer(const QString& serverName, QIODeviceBase::OpenMode mode)
{
    if (mClient)
        return true;
    mClient = std::make_unique<MessageClient>();
    connect(mClient.get(), &MessageClient::MessageReceived, this, &IPCManager::MessageReceived);
    connect(mClient.get(), &MessageClient::Connected, this, &IPCManager::ConnectedToServer);
    connect(mClient.get(), &MessageClient::Disconnected, this, &IPCManager::DisconnectedFromServer);
    return mClient->ConnectToServer(serverName, mode);
}

bool IPCManager::WaitForConnectionToServer(const QString& /*serverName*/, int timeoutMs)
{
    return mClient->WaitForConnection(timeoutMs); // true at once if it is connected
}

bool IPCManager::DisconnectFromServer(const QString& /*serverName*/)
{
    const bool hadClient = mClient != nullptr;
    mClient.reset();
    return hadClient;
}

bool IPCManager::IsConnectedToServer(const QString& /*serverName*/) const
{
    return mClient && mClient->IsConnected();
}

// Messages

bool IPCManager::SendMessage(const QString& id, const QVariantMap& params)
{
    return SendMessage(id, params, false);
}

bool IPCManager::SendMessage(const QString& id, const QVariantMap& params, bool waitForSent)
{
    if (mServer && mServerMode.testFlag(QIODeviceBase::WriteOnly))
        mServer->SendMessage(id, params);
    if (mClient)
        mClient->SendMessage(id, params, waitForSent); // a slot may delete client and manager meanwhile
    return true;
}

bool IPCManager::SendMessageAndGetResponse(const QString& /*serverName*/, const QString& id,
                                           const QVariantMap& params, QVariantMap& response, int timeoutMs)
{
    return mClient && mClient->SendMessageAndGetResponse(id, params, response, timeoutMs);
}

void IPCManager::AddMessageResponder(IMessageResponder* responder)
{
    if (responder == nullptr)
        return;
    if (!mResponders.contains(responder))
        mResponders.append(responder);
    if (!mServer)
        mServer = std::make_unique<MessageServer>();
    mServer->AddMessageResponder(responder);
}

void IPCManager::RemoveMessageResponder(IMessageResponder* responder)
{
    mResponders.removeOne(responder);
    if (mServer)
        mServer->RemoveMessageResponder(responder);
}

// Grid

bool IPCManager::CreateGridConnection(const QString& gridName, QIODeviceBase::OpenMode mode)
{
    if (mRegistered)
        return true;
    mRegistered = true;
    if (mSharedMemory->key() != gridName)
        LeaveRegistry();
    mSharedMemory->setKey(gridName);

    const RegistryLock lock(*this);
    const qint64 processId = QCoreApplication::applicationPid();
    const QString program = QFileInfo(QCoreApplication::applicationFilePath()).baseName();
    const QString serverName = gridName + u'.' + program + u'.' + QString::number(processId);
    StartServer(serverName, mode);

    QList<ProcessInfo> processes = ReadFromSharedMemory();
    processes.removeIf([&](const ProcessInfo& process) {
        if (process.ProcessId == processId)
            return false;
        if (!GeneralUtil::IsProcessRunning(process.ProcessId))
            return true;
        ConnectToServer(process.ServerName, mode); // only the first call has an effect
        return false;
    });
    processes.append({processId, serverName});
    WriteToSharedMemory(processes);
    return true;
}

bool IPCManager::DeleteAllConnections()
{
    if (mRegistered) {
        const RegistryLock lock(*this);
        const qint64 processId = QCoreApplication::applicationPid();
        QList<ProcessInfo> processes = ReadFromSharedMemory();
        const auto own = std::find_if(processes.cbegin(), processes.cend(), [=](const ProcessInfo& process) {
            return process.ProcessId == processId;
        });
        if (own != processes.cend())
            processes.erase(own);
        WriteToSharedMemory(processes);
        mRegistered = false;
    }
    StopServer();
    mClient.reset();
    return true;
}

// The registry

bool IPCManager::CreateSharedMemory()
{
    return AttachToSharedMemory() || mSharedMemory->create(Internal::kRegistrySize, QSharedMemory::ReadWrite);
}

bool IPCManager::AttachToSharedMemory()
{
    return mSharedMemory->isAttached() || mSharedMemory->attach(QSharedMemory::ReadWrite);
}

QList<ProcessInfo> IPCManager::ReadFromSharedMemory()
{
    if (!AttachToSharedMemory())
        return {};
    const RegistryLock lock(*this);
    // Some systems round a segment up to whole pages.
    const qsizetype size = std::min<qsizetype>(mSharedMemory->size(), Internal::kRegistrySize);
    return Internal::ParseRegistry(QByteArray(static_cast<const char*>(mSharedMemory->constData()), size));
}

bool IPCManager::WriteToSharedMemory(const QList<ProcessInfo>& processes)
{
    if (!AttachToSharedMemory())
        return false;
    const QByteArray image = Internal::FormatRegistry(processes);
    if (image.size() > Internal::kRegistrySize || image.size() > mSharedMemory->size())
        return false;
    const RegistryLock lock(*this);
    std::memcpy(mSharedMemory->data(), image.constData(), static_cast<size_t>(image.size()));
    return true;
}

// Detaches from the registry. The last process to do so destroys segment and lock, which must not happen
// while another process makes or attaches them.
void IPCManager::LeaveRegistry()
{
    const QString gridName = mSharedMemory->key();
    if (gridName.isEmpty())
        return;
    const QString lockFile = Internal::GridLockFilePath(gridName);
    const int lock = Platform::LockFile(lockFile);
    mSharedMemory = std::make_unique<QSharedMemory>();
    if (!QSharedMemory(gridName).attach(QSharedMemory::ReadOnly))
        QFile::remove(lockFile); // while it is locked: whoever waits for it then makes a new one
    Platform::UnlockFile(lock);
}

void IPCManager::LockSharedMemory()
{
    if (mLockDepth++ > 0)
        return;
    const QString gridName = mSharedMemory->key();
    if (gridName.isEmpty())
        return; // there is no segment either
    mFileLock = Platform::LockFile(Internal::GridLockFilePath(gridName));
    // Somebody else may make it between the look for it and its making. Under its lock it could not be
    // attached.
    if (!CreateSharedMemory())
        AttachToSharedMemory();
    mSharedMemory->lock();
}

void IPCManager::UnlockSharedMemory()
{
    if (--mLockDepth > 0 || mSharedMemory->key().isEmpty())
        return;
    mSharedMemory->unlock();
    Platform::UnlockFile(std::exchange(mFileLock, -1));
}

} // namespace Quorvin::Util
