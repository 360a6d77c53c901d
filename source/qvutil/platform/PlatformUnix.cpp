// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// The parts of the platform layer that all Unix systems share.

#include "platform/Platform_p.h"
#include "platform/UnixFile_p.h"

#include <QDeadlineTimer>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Quorvin::Util::Platform {
namespace {

timespec GetModificationTime(const struct stat& file)
{
#ifdef Q_OS_MACOS
    return file.st_mtimespec;
#else
    return file.st_mtim;
#endif
}

bool IsModified(const struct stat& before, const struct stat& now)
{
    const timespec a = GetModificationTime(before);
    const timespec b = GetModificationTime(now);
    return a.tv_sec != b.tv_sec || a.tv_nsec != b.tv_nsec;
}

constexpr int kPollPauseMs = 2;

// Waits for the lock on a file. No system has a time-out for flock, so this polls. Each holder updates the
// file's modification time, which restarts the time-out. So a single process that hangs causes a time-out,
// but several processes that take turns do not.
// \return 0, or what LockFile returns
int WaitForLock(int file, int timeoutMs, QDeadlineTimer deadline)
{
    QDeadlineTimer timeout(timeoutMs);
    struct stat before = {};
    ::fstat(file, &before);
    while (::flock(file, LOCK_EX | LOCK_NB) == -1) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return kLockFailed;
        struct stat now = {};
        if (::fstat(file, &now) == 0 && IsModified(before, now)) {
            before = now;
            timeout.setRemainingTime(timeoutMs);
        }
        if (timeout.hasExpired() || deadline.hasExpired())
            return kLockTimedOut;
        ::poll(nullptr, 0, kPollPauseMs);
    }
    ::futimens(file, nullptr);
    return 0;
}

// Rejects a file of another user, who could keep it locked, and might create it first in a shared folder.
bool IsOwnRegularFile(int descriptor)
{
    struct stat file = {};
    return ::fstat(descriptor, &file) == 0 && S_ISREG(file.st_mode) && file.st_uid == ::geteuid();
}

// \return the semaphore; -1 if there is none
int FindSemaphore(const QByteArray& keyFile)
{
    constexpr int kProject = 'Q'; // as in QSystemSemaphore
    const key_t key = ::ftok(keyFile.constData(), kProject);
    return key == -1 ? -1 : ::semget(key, 1, S_IRUSR | S_IWUSR);
}

bool ChangeSemaphore(int semaphore, short change)
{
    sembuf operation = {};
    operation.sem_op = change;
    operation.sem_flg = SEM_UNDO | IPC_NOWAIT;
    return RepeatWhenInterrupted([&] { return ::semop(semaphore, &operation, 1); }) == 0;
}

// The fourth argument of semctl, which only some systems define.
union SemaphoreArgument {
    int Value;
    semid_ds* Status;
};

// Returns whether a semaphore has existed for some seconds without being used.
bool HasNeverBeenUsed(int semaphore)
{
    constexpr time_t kMinAgeS = 3; // time for a slow creator to set the value
    semid_ds status = {};
    SemaphoreArgument argument = {};
    argument.Status = &status;
    return ::semctl(semaphore, 0, IPC_STAT, argument) == 0 && status.sem_otime == 0
        && ::time(nullptr) - status.sem_ctime >= kMinAgeS;
}

// Not IsProcessRunning: on macOS, that only finds applications.
bool HasEnded(pid_t process)
{
    return ::kill(process, 0) == -1 && errno == ESRCH;
}

// Returns whether a semaphore is taken although the last process that used it has ended. The value is read
// before and after looking up that process: if both values are 0 and the process is the same, nobody has used
// the semaphore in between.
bool IsLeftByDeadProcess(int semaphore)
{
    const auto isTaken = [semaphore] { return ::semctl(semaphore, 0, GETVAL) == 0; };
    const auto lastUser = [semaphore] { return ::semctl(semaphore, 0, GETPID); };
    if (!isTaken())
        return false;
    const int user = lastUser(); // 0 if there is none, or if this process cannot see it
    return user > 0 && HasEnded(user) && isTaken() && lastUser() == user;
}

// A new semaphore is taken until its creator has set its value. Only a process that was killed or stopped in
// between leaves it in this state.
bool IsLeftByCreator(int semaphore)
{
    return ::semctl(semaphore, 0, GETVAL) == 0 && ::semctl(semaphore, 0, GETPID) == 0
        && HasNeverBeenUsed(semaphore);
}

void ResetSemaphore(int semaphore)
{
    SemaphoreArgument argument = {};
    argument.Value = 1;
    ::semctl(semaphore, 0, SETVAL, argument);
}

FileIdentity IdentityOf(const struct stat& file)
{
    return {static_cast<quint64>(file.st_dev), static_cast<quint64>(file.st_ino)};
}

// A folder beside a path, for one socket. Only this user can access it. Destroying the object removes folder
// and socket.
//
// If the folder around it is shared and not sticky, another user can replace this folder with a link, which
// would lead to other files of this user. So each step checks that the path still leads to this folder, and
// only a file that this object has created is changed or removed. (A descriptor of the folder would be safer,
// but a server must be able to listen again when the process has only one descriptor left.)
class PrivateFolder
{
public:
    explicit PrivateFolder(const QByteArray& beside)
        : mPath(beside.left(beside.lastIndexOf('/') + 1) + "XXXXXX")
        , mIsMade(::mkdtemp(mPath.data()) != nullptr)
    {
        struct stat made = {};
        if (mIsMade && ::lstat(mPath.constData(), &made) == 0 && S_ISDIR(made.st_mode)
            && made.st_uid == ::geteuid())
            mFolder = IdentityOf(made);
        else if (mIsMade)
            errno = ELOOP;
    }
    ~PrivateFolder()
    {
        if (mHasSocket && IsHere())
            ::unlink(SocketPath().constData());
        if (mIsMade)
            ::rmdir(mPath.constData()); // does not follow a link either
    }
    Q_DISABLE_COPY_MOVE(PrivateFolder)

    /// Returns whether the folder was created. If not, errno is set.
    [[nodiscard]] bool Exists() const { return mFolder.has_value(); }
    /// Binds a socket to a file in the folder. \return false, with errno set, if that failed
    [[nodiscard]] bool Bind(int socket)
    {
        const QByteArray path = SocketPath();
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        if (path.size() >= static_cast<qsizetype>(sizeof(address.sun_path))) {
            errno = ENAMETOOLONG;
            return false;
        }
        std::copy(path.begin(), path.end(), address.sun_path);
        if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == -1)
            return false;
        struct stat made = {};
        mHasSocket = IsHere() && ::lstat(path.constData(), &made) == 0 && S_ISSOCK(made.st_mode);
        mSocket = IdentityOf(made);
        return mHasSocket && ::chmod(path.constData(), S_IRWXU) == 0;
    }
    [[nodiscard]] FileIdentity Socket() const { return mSocket; }

    /// Moves the socket to its final name. \return false, with errno set, if that failed
    [[nodiscard]] bool MoveSocket(const QByteArray& to, ExistingSocket existing)
    {
        if (!IsHere())
            return false;
        const QByteArray from = SocketPath();
        if (existing == ExistingSocket::Keep)
            return ::link(from.constData(), to.constData()) == 0; // fails if the name exists
        // No system call renames only if the target has a certain type. A file that is not a socket is
        // replaced if it appears between these two calls.
        struct stat there = {};
        if (::lstat(to.constData(), &there) == 0 && !S_ISSOCK(there.st_mode)) {
            errno = EEXIST;
            return false;
        }
        return std::rename(from.constData(), to.constData()) == 0;
    }

private:
    [[nodiscard]] QByteArray SocketPath() const { return mPath + "/s"; } // short: the length is limited
    // Returns whether the path still leads to this folder. If not, errno is set.
    [[nodiscard]] bool IsHere() const
    {
        struct stat now = {};
        if (::lstat(mPath.constData(), &now) == -1)
            return false;
        errno = ELOOP;
        return S_ISDIR(now.st_mode) && now.st_uid == ::geteuid() && mFolder == IdentityOf(now);
    }

    QByteArray mPath;
    std::optional<FileIdentity> mFolder;
    FileIdentity mSocket;
    bool mIsMade;
    bool mHasSocket = false;
};

// Creates a socket that listens in the folder. The result is not open, and errno is set, if that failed.
FileDescriptor ListenIn(PrivateFolder& folder)
{
    constexpr int kMaxWaitingClients = 50; // as in QLocalServer
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (!socket.IsOpen() || ::fcntl(socket.Get(), F_SETFD, FD_CLOEXEC) == -1 || !folder.Bind(socket.Get())
        || ::listen(socket.Get(), kMaxWaitingClients) == -1)
        return FileDescriptor();
    return socket;
}

} // namespace

std::optional<FileIdentity> GetFileIdentity(const QString& path)
{
    struct stat file = {};
    if (::lstat(QFile::encodeName(path).constData(), &file) == -1)
        return std::nullopt;
    return IdentityOf(file);
}

ListeningSocket ListenAt(const QString& path, ExistingSocket existing)
{
    const QByteArray target = QFile::encodeName(path);
    const auto failed
        = [] { return ListeningSocket{.Descriptor = -1, .File = {}, .Error = qt_error_string(errno)}; };
    if (target.isEmpty() || target.endsWith('/') || target.size() > GetMaxSocketPathLength()) {
        errno = target.size() > GetMaxSocketPathLength() ? ENAMETOOLONG : EINVAL;
        return failed();
    }
    PrivateFolder folder(target);
    if (!folder.Exists())
        return failed();
    FileDescriptor socket = ListenIn(folder);
    if (!socket.IsOpen() || !folder.MoveSocket(target, existing))
        return failed();
    return {.Descriptor = socket.Release(), .File = folder.Socket(), .Error = {}};
}

qsizetype WriteAvailable(qintptr socket, QByteArrayView bytes)
{
    const int descriptor = static_cast<int>(socket);
    int flags = MSG_DONTWAIT;
#ifdef SO_NOSIGPIPE // macOS has no MSG_NOSIGNAL
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof(on));
#else
    flags |= MSG_NOSIGNAL;
#endif
    const ssize_t count = RepeatWhenInterrupted(
        [&] { return ::send(descriptor, bytes.data(), static_cast<size_t>(bytes.size()), flags); });
    return qMax(count, ssize_t(0));
}

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

int LockFile(const QString& path, LockFileMode mode, int timeoutMs, QDeadlineTimer deadline)
{
    const QByteArray name = QFile::encodeName(path);
    const int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK
        | (mode == LockFileMode::CreateIfMissing ? O_CREAT : 0);
    for (;;) {
        FileDescriptor file(RepeatWhenInterrupted([&] { return ::open(name.constData(), flags, 0600); }));
        if (!file.IsOpen() || !IsOwnRegularFile(file.Get()))
            return kLockFailed;
        if (const int failure = WaitForLock(file.Get(), timeoutMs, deadline); failure != 0)
            return failure;
        if (IsFileAt(name, file.Get()))
            return file.Release();
        if (deadline.hasExpired())
            return kLockTimedOut;
    }
}

void UnlockFile(int lock)
{
    if (lock >= 0)
        ::close(lock);
}

int TakeSemaphore(const QString& keyFile, QDeadlineTimer deadline)
{
    const QByteArray name = QFile::encodeName(keyFile);
    for (;;) {
        const int semaphore = FindSemaphore(name); // each time: its creator may have removed it
        if (semaphore == -1)
            return kLockFailed;
        if (ChangeSemaphore(semaphore, -1))
            return semaphore;
        const bool isTaken = errno == EAGAIN;
        const bool isGone = errno == EINVAL || errno == EIDRM;
        if (!isTaken && !isGone)
            return kLockFailed;
        const bool isOver = deadline.hasExpired();
        if (isTaken && (IsLeftByDeadProcess(semaphore) || (isOver && IsLeftByCreator(semaphore)))) {
            ResetSemaphore(semaphore);
            if (ChangeSemaphore(semaphore, -1))
                return semaphore;
        }
        if (isOver)
            return kLockTimedOut;
        ::poll(nullptr, 0, kPollPauseMs);
    }
}

void ReleaseSemaphore(int semaphore)
{
    if (semaphore >= 0)
        ChangeSemaphore(semaphore, 1); // fails only if the semaphore was removed
}

qint64 FindSemaphoreUser(const QString& keyFile)
{
    const int semaphore = FindSemaphore(QFile::encodeName(keyFile));
    return semaphore == -1 ? 0 : std::max(::semctl(semaphore, 0, GETPID), 0);
}

} // namespace Quorvin::Util::Platform
