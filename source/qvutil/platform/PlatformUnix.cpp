// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// What all Unix systems answer alike.

#include "platform/Platform_p.h"
#include "platform/UnixFile_p.h"

#include <QDeadlineTimer>
#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quorvin::Util::Platform {
namespace {

// No system waits for such a lock for a limited time: it is asked now and then.
bool WaitForLock(int file, const QDeadlineTimer& deadline)
{
    constexpr int kPauseMs = 2;
    if (deadline.isForever())
        return RepeatWhenInterrupted([&] { return ::flock(file, LOCK_EX); }) == 0;
    while (::flock(file, LOCK_EX | LOCK_NB) == -1) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired())
            return false;
        ::poll(nullptr, 0, kPauseMs);
    }
    return true;
}

} // namespace

bool ReadAvailable(qintptr socket, QByteArray& bytes)
{
    int available = 0;
    if (::ioctl(static_cast<int>(socket), FIONREAD, &available) == -1 || available <= 0)
        return false;
    const qsizetype before = bytes.size();
    bytes.resize(before + available);
    const ssize_t count = RepeatWhenInterrupted([&] {
        return ::recv(static_cast<int>(socket), bytes.data() + before, static_cast<size_t>(available),
                      MSG_DONTWAIT);
    });
    bytes.resize(before + qMax(count, ssize_t(0)));
    return count > 0;
}

bool WaitForBytes(qintptr socket, int timeoutMs)
{
    pollfd request = {static_cast<int>(socket), POLLIN, 0};
    return RepeatWhenInterrupted([&] { return ::poll(&request, 1, timeoutMs); }) > 0;
}

quint32 GetUserId()
{
    return ::geteuid();
}

int LockFile(const QString& path, MissingLockFile missing, int timeoutMs)
{
    const QByteArray name = QFile::encodeName(path);
    const int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | (missing == MissingLockFile::IsMade ? O_CREAT : 0);
    const QDeadlineTimer deadline(timeoutMs); // one for all files that stood there meanwhile
    for (;;) {
        FileDescriptor file(RepeatWhenInterrupted([&] { return ::open(name.constData(), flags, 0600); }));
        if (!file.IsOpen() || !WaitForLock(file.Get(), deadline))
            return -1;
        if (IsFileAt(name, file.Get()))
            return file.Release();
    }
}

void UnlockFile(int lock)
{
    if (lock != -1)
        ::close(lock);
}

} // namespace Quorvin::Util::Platform
