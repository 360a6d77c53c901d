// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPCManager.h"

#include "GeneralUtil.h"
#include "base/Logging_p.h"
#include "base/QtCompat_p.h"
#include "messaging/GridRegistry_p.h"
#include "messaging/MessageClient_p.h"
#include "messaging/MessageServer_p.h"
#include "platform/Platform_p.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QSharedMemory>
#include <QThread>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Members hold the lock of a grid for a few milliseconds, unless they hang. After a time-out, the next waits
// are short for a while, so that a process that reads the registry regularly is not blocked each time.
constexpr int kShortTimeoutMs = 100;
constexpr int kShortTimeoutLastsMs = 10'000;

// Segments that stay attached because the lock of their grid was not available. Detaching takes the segment's
// semaphore, which has no time-out, so they are not detached when the process ends either.
class AbandonedSegments
{
public:
    AbandonedSegments() = default;
    Q_DISABLE_COPY_MOVE(AbandonedSegments)

    static AbandonedSegments& Instance()
    {
        static auto* const instance = new AbandonedSegments; // never destroyed
        return *instance;
    }

    void Add(std::unique_ptr<QSharedMemory> segment)
    {
        const std::lock_guard lock(mMutex);
        mSegments.push_back(std::move(segment));
    }
    /// Call this while the lock of the grid is held.
    void Detach(const QString& gridName)
    {
        const std::lock_guard lock(mMutex);
        std::erase_if(mSegments, [&](const auto& segment) { return segment->key() == gridName; });
    }

private:
    std::mutex mMutex; // guards mSegments
    std::vector<std::unique_ptr<QSharedMemory>> mSegments;
};

// The result of locking a grid.
struct GridLock
{
    int File = Platform::kLockFailed; // kLockFailed: the lock file cannot be used, but the registry can
    QString Obstacle; // the process that keeps the grid locked; empty if this process has locked it
};

// Waits until the semaphore of a grid's segment is free, because QSharedMemory, which takes it afterwards,
// has no time-out. Members take the semaphore only while they hold the lock on the file, so no other member
// can take it in between.
// \return the process that holds it after the deadline; empty if it is free
QString WaitForSemaphore(const QString& gridName, QDeadlineTimer deadline)
{
    const QString keyFile = Internal::NativeSemaphoreKey(gridName);
    const int semaphore = Platform::TakeSemaphore(keyFile, deadline);
    Platform::ReleaseSemaphore(semaphore);
    if (semaphore != Platform::kLockTimedOut)
        return {};
    const qint64 user = Platform::FindSemaphoreUser(keyFile);
    return (user > 0 ? u"process %1"_s.arg(user) : u"another process"_s)
        + u" keeps the shared memory locked"_s;
}

} // namespace

class Q_DECL_HIDDEN IPCManager::Private // else it would be exported with IPCManager
{
public:
    class RegistryLock;

    explicit Private(const IPCManager& manager)
        : Manager(manager)
    { }

    [[nodiscard]] bool IsCalledWrongly(const char* operation) const;

    bool Create();
    bool Attach();
    [[nodiscard]] QList<ProcessInfo> Read();
    bool Write(const QList<ProcessInfo>& processes);
    void LeaveRegistry();
    void CloseAll();
    bool LockRegistry();
    void UnlockRegistry();
    bool LockFile();
    [[nodiscard]] GridLock LockGrid(const QString& gridName);
    void UnlockFile();
    template <typename Operation> bool WithFileLock(Operation operation);

    const IPCManager& Manager;
    std::unique_ptr<MessageServer> Server;
    QIODeviceBase::OpenMode ServerMode = QIODeviceBase::NotOpen;
    bool IsRegistered = false;
    // Never null; has no key until a grid is joined.
    std::unique_ptr<QSharedMemory> SharedMemory = std::make_unique<QSharedMemory>();
    int LockDepth = 0;
    int FileLock = Platform::kLockFailed;
    QDeadlineTimer UseShortTimeout; // not expired: locking the grid has recently timed out
    std::unique_ptr<MessageClient> Client;
    QList<IMessageResponder*> Responders;
};

// Holds the registry's lock for its lifetime. Nested locks do nothing.
class Q_DECL_HIDDEN IPCManager::Private::RegistryLock
{
public:
    explicit RegistryLock(Private& manager)
        : mManager(manager)
        , mIsLocked(manager.LockRegistry())
    { }
    ~RegistryLock()
    {
        if (mIsLocked)
            mManager.UnlockRegistry();
    }
    Q_DISABLE_COPY_MOVE(RegistryLock)

    /// False if another process keeps the registry locked.
    [[nodiscard]] bool IsLocked() const { return mIsLocked; }

private:
    Private& mManager;
    bool mIsLocked;
};

IPCManager::IPCManager()
    : IPCManager(nullptr)
{ }

IPCManager::IPCManager(QObject* parent)
    : QObject(parent)
    , mPrivate(std::make_unique<Private>(*this))
{ }

IPCManager::~IPCManager()
{
    mPrivate->CloseAll();
    mPrivate->LeaveRegistry();
}

// Server

bool IPCManager::StartServer(const QString& serverName, QIODeviceBase::OpenMode mode)
{
    if (mPrivate->IsCalledWrongly("StartServer"))
        return false;
    if (IsServerRunning())
        return true;
    if (!mPrivate->Server)
        mPrivate->Server = std::make_unique<MessageServer>();
    mPrivate->ServerMode = mode;
    if (!mPrivate->Server->Start(serverName))
        return false;
    if (!mode.testFlag(QIODeviceBase::ReadOnly))
        return true;
    connect(mPrivate->Server.get(), &MessageServer::MessageReceived, this, &IPCManager::MessageReceived);
    connect(mPrivate->Server.get(), &MessageServer::Connected, this, &IPCManager::ConnectedToClient);
    return static_cast<bool>(connect(mPrivate->Server.get(), &MessageServer::Disconnected, this,
                                     &IPCManager::DisconnectedFromClient));
}

bool IPCManager::StopServer()
{
    if (mPrivate->IsCalledWrongly("StopServer"))
        return false;
    if (mPrivate->Server)
        mPrivate->Server->Stop();
    return true;
}

bool IPCManager::IsServerRunning() const
{
    if (mPrivate->IsCalledWrongly("IsServerRunning"))
        return false;
    return mPrivate->Server && mPrivate->Server->IsStarted();
}

bool IPCManager::IsServerListening() const
{
    if (mPrivate->IsCalledWrongly("IsServerListening"))
        return false;
    return mPrivate->Server && mPrivate->Server->IsListening();
}

bool IPCManager::IsConnectedToAnyClient() const
{
    if (mPrivate->IsCalledWrongly("IsConnectedToAnyClient"))
        return false;
    return mPrivate->Server && mPrivate->Server->GetConnectionCount() > 0;
}

// Client

bool IPCManager::ConnectToServer(const QString& serverName, QIODeviceBase::OpenMode mode)
{
    if (mPrivate->IsCalledWrongly("ConnectToServer"))
        return false;
    if (mPrivate->Client)
        return true;
    mPrivate->Client = std::make_unique<MessageClient>();
    connect(mPrivate->Client.get(), &MessageClient::MessageReceived, this, &IPCManager::MessageReceived);
    connect(mPrivate->Client.get(), &MessageClient::Connected, this, &IPCManager::ConnectedToServer);
    connect(mPrivate->Client.get(), &MessageClient::Disconnected, this, &IPCManager::DisconnectedFromServer);
    return mPrivate->Client->ConnectToServer(serverName, mode);
}

bool IPCManager::WaitForConnectionToServer(const QString& /*serverName*/, int timeoutMs)
{
    if (mPrivate->IsCalledWrongly("WaitForConnectionToServer"))
        return false;
    if (!mPrivate->Client) {
        qCWarning(Internal::lcQvUtil, "IPCManager::WaitForConnectionToServer: call ConnectToServer first");
        return false;
    }
    return mPrivate->Client->WaitForConnection(timeoutMs); // true at once if it is connected
}

bool IPCManager::DisconnectFromServer(const QString& /*serverName*/)
{
    if (mPrivate->IsCalledWrongly("DisconnectFromServer"))
        return false;
    const bool hadClient = mPrivate->Client != nullptr;
    mPrivate->Client.reset();
    return hadClient;
}

bool IPCManager::IsConnectedToServer(const QString& /*serverName*/) const
{
    if (mPrivate->IsCalledWrongly("IsConnectedToServer"))
        return false;
    return mPrivate->Client && mPrivate->Client->IsConnected();
}

// Messages

bool IPCManager::SendMessage(const QString& id, const QVariantMap& params)
{
    return SendMessage(id, params, false);
}

bool IPCManager::SendMessage(const QString& id, const QVariantMap& params, bool waitForSent)
{
    if (mPrivate->IsCalledWrongly("SendMessage"))
        return false;
    if (mPrivate->Server && mPrivate->ServerMode.testFlag(QIODeviceBase::WriteOnly))
        mPrivate->Server->SendMessage(id, params);
    if (mPrivate->Client)
        mPrivate->Client->SendMessage(id, params,
                                      waitForSent); // a slot may delete client and manager during the wait
    return true;
}

bool IPCManager::SendMessageAndGetResponse(const QString& /*serverName*/, const QString& id,
                                           const QVariantMap& params, QVariantMap& response, int timeoutMs)
{
    if (mPrivate->IsCalledWrongly("SendMessageAndGetResponse"))
        return false;
    return mPrivate->Client && mPrivate->Client->SendMessageAndGetResponse(id, params, response, timeoutMs);
}

void IPCManager::AddMessageResponder(IMessageResponder* responder)
{
    if (mPrivate->IsCalledWrongly("AddMessageResponder"))
        return;
    if (responder == nullptr)
        return;
    if (!mPrivate->Responders.contains(responder))
        mPrivate->Responders.append(responder);
    if (!mPrivate->Server)
        mPrivate->Server = std::make_unique<MessageServer>();
    mPrivate->Server->AddMessageResponder(responder);
}

void IPCManager::RemoveMessageResponder(IMessageResponder* responder)
{
    if (mPrivate->IsCalledWrongly("RemoveMessageResponder"))
        return;
    mPrivate->Responders.removeOne(responder);
    if (mPrivate->Server)
        mPrivate->Server->RemoveMessageResponder(responder);
}

// Grid

bool IPCManager::CreateGridConnection(const QString& gridName, QIODeviceBase::OpenMode mode)
{
    if (mPrivate->IsCalledWrongly("CreateGridConnection"))
        return false;
    if (mPrivate->IsRegistered)
        return true;
    // From Qt 6.6 on, setKey detaches even if the key stays the same.
    if (mPrivate->SharedMemory->key() != gridName) {
        mPrivate->LeaveRegistry();
        mPrivate->SharedMemory->setKey(gridName);
    }

    const Private::RegistryLock lock(*mPrivate);
    const qint64 processId = QCoreApplication::applicationPid();
    const QString program = QFileInfo(QCoreApplication::applicationFilePath()).baseName();
    const QString serverName = gridName + u'.' + program + u'.' + QString::number(processId);
    StartServer(serverName, mode);
    if (!lock.IsLocked())
        return true; // the next call tries to register again
    mPrivate->IsRegistered = true;

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
    if (!WriteToSharedMemory(processes)) {
        qCWarning(Internal::lcQvUtil, "grid \"%ls\": this process could not be registered",
                  qUtf16Printable(gridName));
    }
    return true;
}

bool IPCManager::DeleteAllConnections()
{
    if (mPrivate->IsCalledWrongly("DeleteAllConnections"))
        return false;
    mPrivate->CloseAll();
    return true;
}

// The registry

bool IPCManager::CreateSharedMemory()
{
    if (mPrivate->IsCalledWrongly("CreateSharedMemory"))
        return false;
    return mPrivate->Create();
}

bool IPCManager::AttachToSharedMemory()
{
    if (mPrivate->IsCalledWrongly("AttachToSharedMemory"))
        return false;
    return mPrivate->Attach();
}

QList<ProcessInfo> IPCManager::ReadFromSharedMemory()
{
    if (mPrivate->IsCalledWrongly("ReadFromSharedMemory"))
        return {};
    return mPrivate->Read();
}

bool IPCManager::WriteToSharedMemory(const QList<ProcessInfo>& processes)
{
    return !mPrivate->IsCalledWrongly("WriteToSharedMemory") && mPrivate->Write(processes);
}

// A call from another thread would wait for events that never arrive there, or race with the owner thread.
bool IPCManager::Private::IsCalledWrongly(const char* operation) const
{
    if (Manager.thread() == QThread::currentThread())
        return false;
    qCWarning(Internal::lcQvUtil, "IPCManager::%s: called from a thread that the manager does not live in",
              operation);
    return true;
}

bool IPCManager::Private::Create()
{
    return SharedMemory->isAttached() || WithFileLock([this] {
               return SharedMemory->attach(QSharedMemory::ReadWrite)
                   || SharedMemory->create(Internal::kRegistrySize, QSharedMemory::ReadWrite);
           });
}

bool IPCManager::Private::Attach()
{
    return SharedMemory->isAttached()
        || WithFileLock([this] { return SharedMemory->attach(QSharedMemory::ReadWrite); });
}

QList<ProcessInfo> IPCManager::Private::Read()
{
    if (!Attach())
        return {};
    const RegistryLock lock(*this);
    if (!lock.IsLocked())
        return {};
    // Some systems round a segment up to whole pages.
    const qsizetype size = std::min<qsizetype>(SharedMemory->size(), Internal::kRegistrySize);
    return Internal::ParseRegistry(QByteArray(static_cast<const char*>(SharedMemory->constData()), size));
}

bool IPCManager::Private::Write(const QList<ProcessInfo>& processes)
{
    if (!Attach())
        return false;
    const QByteArray image = Internal::FormatRegistry(processes);
    if (image.size() > Internal::kRegistrySize || image.size() > SharedMemory->size())
        return false;
    const RegistryLock lock(*this);
    if (!lock.IsLocked())
        return false;
    std::memcpy(SharedMemory->data(), image.constData(), static_cast<size_t>(image.size()));
    return true;
}

void IPCManager::Private::CloseAll()
{
    if (std::exchange(IsRegistered, false)) {
        const RegistryLock lock(*this);
        if (lock.IsLocked()) { // else the next process to join prunes the entry
            const qint64 processId = QCoreApplication::applicationPid();
            QList<ProcessInfo> processes = Read();
            const auto own
                = std::find_if(processes.cbegin(), processes.cend(),
                               [=](const ProcessInfo& process) { return process.ProcessId == processId; });
            if (own != processes.cend())
                processes.erase(own);
            Write(processes);
        }
    }
    if (Server)
        Server->Stop();
    Client.reset();
}

// Detaches from the registry. The last process to detach destroys the segment and its lock, which must not
// happen while another process creates them or attaches to them.
void IPCManager::Private::LeaveRegistry()
{
    const QString gridName = SharedMemory->key();
    if (gridName.isEmpty())
        return;
    const GridLock lock = LockGrid(gridName);
    UseShortTimeout = {}; // the next grid has a different lock
    std::unique_ptr<QSharedMemory> segment = std::exchange(SharedMemory, std::make_unique<QSharedMemory>());
    if (!lock.Obstacle.isEmpty()) {
        if (!segment->isAttached())
            return;
        qCWarning(Internal::lcQvUtil, "grid \"%ls\": %ls; the registry stays attached",
                  qUtf16Printable(gridName), qUtf16Printable(lock.Obstacle));
        AbandonedSegments::Instance().Add(std::move(segment));
        return;
    }
    segment.reset();
    AbandonedSegments::Instance().Detach(gridName);
    // Remove the file only while it is locked: a process that waits for the lock notices this and creates a
    // new file.
    if (lock.File >= 0 && !QSharedMemory(gridName).attach(QSharedMemory::ReadOnly))
        QFile::remove(Internal::GridLockFilePath(gridName));
    Platform::UnlockFile(lock.File);
}

// \return false if another process keeps it locked
bool IPCManager::Private::LockRegistry()
{
    if (SharedMemory->key().isEmpty() || LockDepth > 0) { // no registry, or already locked
        ++LockDepth;
        return true;
    }
    if (!LockFile())
        return false;
    ++LockDepth;
    // Another process may create the segment between attach() and create(). Attach before lock(): attach()
    // takes the same semaphore.
    if (!Create())
        Attach();
    SharedMemory->lock();
    return true;
}

void IPCManager::Private::UnlockRegistry()
{
    if (--LockDepth > 0 || SharedMemory->key().isEmpty())
        return;
    SharedMemory->unlock();
    UnlockFile();
}

// Without the lock on its file, do not access the registry: a member that hangs may also hold the segment's
// semaphore, which has no time-out.
// \return false if another process keeps the grid locked
bool IPCManager::Private::LockFile()
{
    const QString gridName = SharedMemory->key();
    const GridLock lock = LockGrid(gridName);
    if (!lock.Obstacle.isEmpty()) {
        qCWarning(Internal::lcQvUtil, "grid \"%ls\": %ls; the registry was not accessed",
                  qUtf16Printable(gridName), qUtf16Printable(lock.Obstacle));
        return false;
    }
    FileLock = lock.File;
    if (FileLock == Platform::kLockFailed) {
        qCWarning(
            Internal::lcQvUtil,
            "grid \"%ls\": %ls cannot be locked: it cannot be opened, or is not a regular file of this user",
            qUtf16Printable(gridName), qUtf16Printable(Internal::GridLockFilePath(gridName)));
    }
    return true;
}

GridLock IPCManager::Private::LockGrid(const QString& gridName)
{
    const int timeoutMs = UseShortTimeout.hasExpired() ? Internal::kGridLockTimeoutMs : kShortTimeoutMs;
    const QString lockFile = Internal::GridLockFilePath(gridName);
    GridLock lock;
    const QDeadlineTimer deadline(timeoutMs);
    lock.File = Platform::LockFile(lockFile, Platform::LockFileMode::CreateIfMissing, timeoutMs,
                                   QDeadlineTimer(Internal::kMaxGridLockWaitMs));
    if (lock.File == Platform::kLockTimedOut)
        lock.Obstacle = u"another process keeps %1 locked"_s.arg(lockFile);
    else
        lock.Obstacle = WaitForSemaphore(
            gridName, QDeadlineTimer(std::max<qint64>(deadline.remainingTime(), kShortTimeoutMs)));
    if (!lock.Obstacle.isEmpty())
        Platform::UnlockFile(std::exchange(lock.File, Platform::kLockFailed));
    UseShortTimeout = QDeadlineTimer(lock.Obstacle.isEmpty() ? 0 : kShortTimeoutLastsMs);
    return lock;
}

void IPCManager::Private::UnlockFile()
{
    Platform::UnlockFile(std::exchange(FileLock, Platform::kLockFailed));
}

// Creating and attaching the segment take its semaphore as well.
// \return false if another process keeps the file locked, or if the operation fails
template <typename Operation> bool IPCManager::Private::WithFileLock(Operation operation)
{
    if (LockDepth > 0)
        return operation();
    if (SharedMemory->key().isEmpty() || !LockFile())
        return false;
    const bool result = operation();
    UnlockFile();
    return result;
}

} // namespace Quorvin::Util
