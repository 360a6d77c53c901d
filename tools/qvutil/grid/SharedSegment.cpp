// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/SharedSegment.h"

#include "cli/Failure.h"
#include <qvutil/base/QtCompat_p.h>
#include <qvutil/platform/Platform_p.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

namespace Platform = Util::Platform;

// The project id from which QSharedMemory makes the keys of a segment and of its semaphore, together with the
// names of their files.
constexpr int kProject = 'Q';

constexpr int kReadWrite = S_IRUSR | S_IWUSR;

key_t KeyOf(const QByteArray& keyFile)
{
    return ::ftok(keyFile.constData(), kProject);
}

// \return the segment; -1, with errno set, if there is none
int FindSegment(const QByteArray& keyFile, int permissions)
{
    const key_t key = KeyOf(keyFile);
    return key == -1 ? -1 : ::shmget(key, 0, permissions);
}

/// Attaches a segment to this process for the lifetime of the object.
class Attachment
{
public:
    explicit Attachment(int segment)
        : mMemory(::shmat(segment, nullptr, SHM_RDONLY))
    { }
    ~Attachment()
    {
        if (IsValid())
            ::shmdt(mMemory);
    }
    Q_DISABLE_COPY_MOVE(Attachment)

    [[nodiscard]] bool IsValid() const { return mMemory != reinterpret_cast<void*>(-1); }
    [[nodiscard]] QByteArray Copy(size_t size) const
    {
        return {static_cast<const char*>(mMemory), static_cast<qsizetype>(size)};
    }

private:
    void* mMemory;
};

bool IsMissing(int error)
{
    return error == ENOENT || error == EIDRM || error == EINVAL; // the last two if it was just removed
}

[[noreturn]] void ReportDenied(const QString& name, int error)
{
    throw Failure(name,
                  error == EACCES ? u"belongs to another user"_s : u"the shared memory cannot be read"_s);
}

// A key contains only 16 bits of the file's inode number, so different files can have the same key.
bool HasSameKeyAsOther(const QString& keyFile)
{
    const QFileInfo own(keyFile);
    const key_t key = KeyOf(QFile::encodeName(keyFile));
    const QFileInfoList files
        = own.dir().entryInfoList({u"qipc_systemsem_*"_s}, QDir::Files | QDir::System | QDir::Hidden);
    return std::any_of(files.cbegin(), files.cend(), [&own, key](const QFileInfo& file) {
        return file.fileName() != own.fileName() && KeyOf(QFile::encodeName(file.filePath())) == key;
    });
}

} // namespace

// Does not use QSharedMemory: since Qt 6.6, it creates the file and a semaphore before it looks for the
// memory, and the last process to detach destroys the memory.
std::optional<QByteArray> ReadSharedSegment(const QString& nativeKey, const QString& name)
{
    const int segment = FindSegment(QFile::encodeName(nativeKey), S_IRUSR);
    shmid_ds status = {};
    if (segment != -1 && ::shmctl(segment, IPC_STAT, &status) == 0) {
        const Attachment memory(segment);
        if (memory.IsValid())
            return memory.Copy(status.shm_segsz);
    }
    const int error = errno;
    if (IsMissing(error))
        return std::nullopt;
    ReportDenied(name, error);
}

LockedSegment::LockedSegment(const SegmentKeys& keys, QDeadlineTimer deadline)
    : mKeyFile(QFile::encodeName(keys.Memory))
    , mSegment(FindSegment(mKeyFile, kReadWrite))
{
    if (mSegment == -1) {
        if (const int error = errno; !IsMissing(error))
            ReportDenied(keys.Name, error);
        return;
    }
    // Without a semaphore, the segment cannot be locked: the semaphore's creator removed it when leaving.
    mSemaphore = Platform::TakeSemaphore(keys.Semaphore, deadline);
    if (mSemaphore == Platform::kLockTimedOut) {
        const qint64 user = Platform::FindSemaphoreUser(keys.Semaphore);
        throw Failure(keys.Name,
                      (user > 0 ? u"process %1"_s.arg(user) : u"another process"_s)
                          + u" keeps its shared memory locked"_s);
    }
    Attach(keys.Name);
}

LockedSegment::~LockedSegment()
{
    if (mMemory != nullptr)
        ::shmdt(mMemory);
    Platform::ReleaseSemaphore(mSemaphore);
}

void LockedSegment::Attach(const QString& name)
{
    shmid_ds status = {};
    void* const memory = ::shmctl(mSegment, IPC_STAT, &status) == 0 ? ::shmat(mSegment, nullptr, 0) : nullptr;
    if (memory != nullptr && memory != reinterpret_cast<void*>(-1)) {
        mMemory = memory;
        mSize = status.shm_segsz;
        return;
    }
    const int error = errno;
    if (IsMissing(error))
        return;
    // The destructor does not run if the constructor throws.
    Platform::ReleaseSemaphore(std::exchange(mSemaphore, -1));
    ReportDenied(name, error);
}

QByteArray LockedSegment::Bytes() const
{
    return {static_cast<const char*>(mMemory), static_cast<qsizetype>(mSize)};
}

void LockedSegment::Write(const QByteArray& bytes)
{
    std::memcpy(mMemory, bytes.constData(), std::min(mSize, static_cast<size_t>(bytes.size())));
}

bool LockedSegment::Leave()
{
    ::shmdt(std::exchange(mMemory, nullptr));
    shmid_ds status = {};
    if (::shmctl(mSegment, IPC_STAT, &status) == -1)
        return IsMissing(errno);
    if (status.shm_nattch > 0 || ::shmctl(mSegment, IPC_RMID, nullptr) == -1)
        return false;
    ::unlink(mKeyFile.constData());
    return true;
}

void RemoveSemaphore(const QString& key)
{
    const QString keyFile = Util::Internal::NativeSemaphoreKey(key);
    if (!QFile::exists(keyFile))
        return;
    if (HasSameKeyAsOther(keyFile))
        QFile::remove(keyFile);
    else
        Util::Internal::RemoveSharedMemorySemaphore(key);
}

} // namespace Quorvin::Tool
