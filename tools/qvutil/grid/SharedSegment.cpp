// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/SharedSegment.h"

#include "cli/Failure.h"

#include <QSharedMemory>

#include <cerrno>
#include <new>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// How the reader ends.
enum Result : int {
    IsRead,
    IsMissing,
    IsForbidden,
    IsBroken,
};

// Writes the memory to a pipe.
int CopySegment(const QString& nativeKey, int pipe)
{
    // Never destroyed: that would destroy the memory too if nobody else is attached to it just now. The end
    // of the process only detaches.
    auto* memory = new (std::nothrow) QSharedMemory;
    if (memory == nullptr)
        return IsBroken;
    memory->setNativeKey(nativeKey);
    if (!memory->attach(QSharedMemory::ReadOnly)) {
        switch (memory->error()) {
        case QSharedMemory::NotFound:
            return IsMissing;
        case QSharedMemory::PermissionDenied:
            return IsForbidden;
        default:
            return IsBroken;
        }
    }
    const char* bytes = static_cast<const char*>(memory->constData());
    qsizetype left = memory->size();
    while (left > 0) {
        const ssize_t count = ::write(pipe, bytes, static_cast<size_t>(left));
        if (count == -1 && errno == EINTR)
            continue;
        if (count <= 0)
            return IsBroken;
        bytes += count;
        left -= count;
    }
    return IsRead;
}

QByteArray ReadToEnd(int pipe)
{
    QByteArray bytes;
    char buffer[16384];
    for (;;) {
        const ssize_t count = ::read(pipe, buffer, sizeof(buffer));
        if (count > 0)
            bytes.append(buffer, count);
        else if (count == 0 || errno != EINTR)
            return bytes;
    }
}

int WaitForEnd(pid_t process)
{
    int status = 0;
    while (::waitpid(process, &status, 0) == -1) {
        if (errno != EINTR)
            return IsBroken;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : IsBroken;
}

} // namespace

std::optional<QByteArray> ReadSharedSegment(const QString& nativeKey, const QString& name)
{
    int pipe[2] = {};
    if (::pipe(pipe) != 0)
        throw Failure(name, qt_error_string(errno));
    // A process of its own, whose end detaches from the memory.
    const pid_t process = ::fork();
    if (process == -1) {
        const int error = errno;
        ::close(pipe[0]);
        ::close(pipe[1]);
        throw Failure(name, qt_error_string(error));
    }
    if (process == 0) {
        ::close(pipe[0]);
        ::_exit(CopySegment(nativeKey, pipe[1]));
    }
    ::close(pipe[1]);
    const QByteArray bytes = ReadToEnd(pipe[0]);
    ::close(pipe[0]);
    switch (WaitForEnd(process)) {
    case IsRead:
        return bytes;
    case IsMissing:
        return std::nullopt;
    case IsForbidden:
        throw Failure(name, u"belongs to another user"_s);
    default:
        throw Failure(name, u"the shared memory cannot be read"_s);
    }
}

} // namespace Quorvin::Tool
