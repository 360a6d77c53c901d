// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/SharedSegment.h"

#include "cli/Failure.h"

#include <QFile>

#include <cerrno>

#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// The project id from which QSharedMemory makes the key of a segment, together with the name of its file.
constexpr int kProject = 'Q';

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

} // namespace

// Does not use QSharedMemory: since Qt 6.6, it creates the file and a semaphore before it looks for the
// memory, and the last process to detach destroys the memory.
std::optional<QByteArray> ReadSharedSegment(const QString& nativeKey, const QString& name)
{
    const key_t key = ::ftok(QFile::encodeName(nativeKey).constData(), kProject);
    const int segment = key == -1 ? -1 : ::shmget(key, 0, S_IRUSR);
    shmid_ds status = {};
    if (segment != -1 && ::shmctl(segment, IPC_STAT, &status) == 0) {
        const Attachment memory(segment);
        if (memory.IsValid())
            return memory.Copy(status.shm_segsz);
    }
    const int error = errno;
    if (IsMissing(error))
        return std::nullopt;
    throw Failure(name,
                  error == EACCES ? u"belongs to another user"_s : u"the shared memory cannot be read"_s);
}

} // namespace Quorvin::Tool
