// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_GRIDSUPPORT_H
#define QVUTIL_GRIDSUPPORT_H

#include "IPCManager.h"
#include "base/QtCompat_p.h"
#include "messaging/GridRegistry_p.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QSharedMemory>
#include <QString>
#include <QtEndian>

#include <cstring>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

/// Helpers for tests of grids.
namespace GridSupport {

using Quorvin::Util::Internal::kRegistrySize;
static_assert(kRegistrySize == 8192);

// Accesses the registry as another program would.
class Registry
{
public:
    explicit Registry(const QString& gridName)
        : mMemory(gridName)
    { }
    [[nodiscard]] bool Attach() { return mMemory.isAttached() || mMemory.attach(); }
    [[nodiscard]] bool Create() { return mMemory.create(kRegistrySize); }
    [[nodiscard]] qsizetype Size() const { return mMemory.size(); }
    [[nodiscard]] QByteArray Bytes()
    {
        mMemory.lock();
        const QByteArray bytes(static_cast<const char*>(mMemory.constData()), mMemory.size());
        mMemory.unlock();
        return bytes;
    }
    void SetBytes(const QByteArray& bytes)
    {
        mMemory.lock();
        Replace(bytes);
        mMemory.unlock();
    }
    // Reads, changes and writes the members under one lock. Returns the changed members.
    template <typename Change> QList<Quorvin::Util::ProcessInfo> Update(Change change)
    {
        mMemory.lock();
        QList<Quorvin::Util::ProcessInfo> processes = Quorvin::Util::Internal::ParseRegistry(
            QByteArray::fromRawData(static_cast<const char*>(mMemory.constData()), kRegistrySize));
        change(processes);
        Replace(Quorvin::Util::Internal::FormatRegistry(processes));
        mMemory.unlock();
        return processes;
    }

private:
    void Replace(const QByteArray& bytes)
    {
        std::memset(mMemory.data(), 0, static_cast<size_t>(mMemory.size()));
        std::memcpy(mMemory.data(), bytes.constData(), static_cast<size_t>(bytes.size()));
    }

    QSharedMemory mMemory;
};

// Functions that build the bytes of a registry.
[[nodiscard]] inline QByteArray Number32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

[[nodiscard]] inline QByteArray Entry(qint64 processId, const QString& name)
{
    QByteArray bytes(8, '\0');
    qToBigEndian(processId, bytes.data());
    if (name.isNull())
        return bytes + Number32(0xFFFFFFFF);
    bytes += Number32(static_cast<quint32>(name.size() * 2));
    for (const QChar c : name) {
        bytes += static_cast<char>(c.row());
        bytes += static_cast<char>(c.cell());
    }
    return bytes;
}

[[nodiscard]] inline QByteArray Image(const QByteArray& content)
{
    return content + QByteArray(kRegistrySize - content.size(), '\0');
}

/// Returns the semaphore of a grid's registry; -1 if there is none.
[[nodiscard]] inline int FindSemaphore(const QString& gridName)
{
    const QByteArray keyFile = QFile::encodeName(Quorvin::Util::Internal::NativeSemaphoreKey(gridName));
    const key_t key = ::ftok(keyFile.constData(), 'Q');
    return key == -1 ? -1 : ::semget(key, 1, 0600);
}

/// The process that left a semaphore locked: its creator, killed before it could set the initial value, or a
/// holder, killed while it held a semaphore that the system does not release.
enum class KilledProcess { Creator, Holder };

/// Replaces the semaphore of a grid's registry with one that nobody can release.
[[nodiscard]] inline bool LeaveSemaphoreTaken(const QString& gridName, KilledProcess killed)
{
    if (const int old = FindSemaphore(gridName); old != -1)
        ::semctl(old, 0, IPC_RMID);
    QFile keyFile(Quorvin::Util::Internal::NativeSemaphoreKey(gridName));
    if (!keyFile.open(QIODevice::ReadWrite))
        return false;
    const int semaphore
        = ::semget(::ftok(QFile::encodeName(keyFile.fileName()).constData(), 'Q'), 1, IPC_CREAT | 0600);
    if (semaphore == -1 || killed == KilledProcess::Creator)
        return semaphore != -1;
    const pid_t holder = ::fork();
    if (holder == 0) {
        sembuf operations[2] = {{0, 1, 0}, {0, -1, 0}}; // without SEM_UNDO
        ::_exit(::semop(semaphore, operations, 2) == 0 ? 0 : 1);
    }
    int status = 0;
    return holder > 0 && ::waitpid(holder, &status, 0) == holder && status == 0;
}

/// A process id that no process has.
inline constexpr qint64 kNobody = 0x7FFFFFF0;

} // namespace GridSupport

#endif // QVUTIL_GRIDSUPPORT_H
