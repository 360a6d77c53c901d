// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Atomic writes on all Unix systems.

#include "platform/Platform_p.h"
#include "platform/UnixFile_p.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// QSaveFile is not used, because it leaves another temporary file after every killed save, replaces a loop of
// links with a file, changes the owner, and cannot save a file whose name has the maximum length.

namespace Quorvin::Util::Platform {
namespace {

constexpr int kMaxLinks = 40; // the kernel's limit
constexpr int kMaxSaves = 1000;
constexpr int kMaxStaleGap = 32; // the search for stale files ends after this many unused numbers
constexpr qsizetype kMaxNameLength = 255;
constexpr mode_t kModeBits = 07777;

// Returns the error of the last system call, or \p otherwise if none failed.
int LastError(int otherwise)
{
    return errno != 0 ? errno : otherwise;
}

// Returns 0 or the system's error number.
int WriteDirectly(const QString& path, const QByteArray& content)
{
    QFile file(path);
    errno = 0;
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return LastError(EACCES); // a Qt resource, for example
    if (file.write(content) != content.size() || !file.flush())
        return LastError(EIO);
    file.close(); // some systems report an error of the last write only now
    return file.error() == QFileDevice::NoError ? 0 : LastError(EIO);
}

// Follows the links at the end of a path, even if the last one is dangling.
std::optional<QByteArray> FollowLinks(QByteArray path)
{
    for (int i = 0; i < kMaxLinks; ++i) {
        QByteArray target(4096, '\0');
        const ssize_t size = readlink(path.constData(), target.data(), static_cast<size_t>(target.size()));
        if (size < 0) // not a link, or missing
            return path;
        if (size == 0 || size == target.size())
            return std::nullopt;
        target.truncate(size);
        path = target.startsWith('/') ? target : path.left(path.lastIndexOf('/') + 1) + target;
    }
    return std::nullopt;
}

// Every save of a file uses the same few names, so that the next save finds the temporary file of a killed
// one.
QByteArray TemporaryName(const QByteArray& path, int number)
{
    const qsizetype folderSize = path.lastIndexOf('/') + 1;
    const QByteArray suffix = number == 0 ? ".saving" : ".saving" + QByteArray::number(number);
    QByteArray name = path.sliced(folderSize);
    if (name.size() + suffix.size() + 1 > kMaxNameLength)
        name = QCryptographicHash::hash(name, QCryptographicHash::Md5).toHex();
    return path.left(folderSize) + '.' + name + suffix;
}

// A save holds the lock on its temporary file from creation to renaming or removal. Holding the lock while
// the name still leads to the same inode means sole ownership. On file systems without locks, which report
// this in different ways, no temporary file counts as stale.
bool Lock(const FileDescriptor& file, const QByteArray& path)
{
    const bool taken = flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    return !taken && IsFileAt(path, file.Get());
}

// Opens and locks a stale temporary file. The result is not open if there is none, or if the file is in use.
FileDescriptor OpenStaleFile(const QByteArray& path)
{
    FileDescriptor file(open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const bool isOurs
        = file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) == 0 && IsFileAt(path, file.Get());
    return isOurs ? std::move(file) : FileDescriptor();
}

// \return false if there is no stale file, or if it is in use
bool RemoveStaleFile(const QByteArray& path)
{
    const FileDescriptor file = OpenStaleFile(path);
    return file.IsOpen() && unlink(path.constData()) == 0;
}

// Removes the stale files of saves that were killed while they saved the same file in parallel.
void RemoveStaleFiles(const QByteArray& target)
{
    for (int number = 0, gap = 0; number < kMaxSaves && gap < kMaxStaleGap; ++number)
        gap = RemoveStaleFile(TemporaryName(target, number)) ? 0 : gap + 1;
}

// Returns the permissions for a file that replaces another: the old ones, without those that would allow a
// user something that the old file did not.
mode_t ModeOfReplacement(const struct stat& old, const struct stat& replacement, AccessListCopy list)
{
    mode_t mode = old.st_mode & kModeBits;
    const bool isGroupKept = old.st_gid == replacement.st_gid;
    // A program must not run as a user or group that did not choose its content.
    if (!isGroupKept || old.st_uid != replacement.st_uid)
        mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
    // With an access control list, the group bits are a mask, and an entry may deny access.
    if (list == AccessListCopy::Failed)
        return mode & ~static_cast<mode_t>(S_IRWXG | S_IRWXO);
    // Members of the new group counted as others before, and members of the old group do now.
    if (!isGroupKept) {
        const mode_t both = (mode >> 3) & mode & S_IRWXO;
        mode = (mode & ~static_cast<mode_t>(S_IRWXG | S_IRWXO)) | both << 3 | both;
    }
    return mode;
}

// A locked temporary file beside the target. The operations return 0 or the system's error number.
class TemporaryFile
{
public:
    TemporaryFile() = default;
    ~TemporaryFile()
    {
        if (mFile.IsOpen() && !mIsCommitted)
            unlink(mName.constData());
    }
    Q_DISABLE_COPY_MOVE(TemporaryFile)

    int Open(const QByteArray& target, mode_t mode)
    {
        int error = EEXIST;
        for (int number = 0; number < kMaxSaves && error == EEXIST; ++number) {
            mName = TemporaryName(target, number);
            error = Create(mode);
            if (error == EEXIST && RemoveStaleFile(mName))
                error = Create(mode);
        }
        return error;
    }

    int Write(const QByteArray& content)
    {
        const char* at = content.constData();
        for (qsizetype left = content.size(); left > 0;) {
            const ssize_t written
                = RepeatWhenInterrupted([&] { return write(mFile.Get(), at, static_cast<size_t>(left)); });
            if (written <= 0)
                return written < 0 ? errno : ENOSPC;
            at += written;
            left -= written;
        }
        // A file system without fsync reports EINVAL or ENOTSUP; one that lost data reports EIO or ENOSPC.
        return fsync(mFile.Get()) == 0 || errno == EINVAL || errno == ENOTSUP ? 0 : errno;
    }

    // Copies the permissions, and owner and group as far as this user may change them.
    int CopyRightsOf(const FileDescriptor& oldFile)
    {
        struct stat old;
        struct stat status;
        if (fstat(oldFile.Get(), &old) != 0 || fstat(mFile.Get(), &status) != 0)
            return errno;
        constexpr auto kSameOwner = static_cast<uid_t>(-1);
        const bool given = (status.st_uid != old.st_uid || status.st_gid != old.st_gid)
            && (fchown(mFile.Get(), old.st_uid, old.st_gid) == 0
                || fchown(mFile.Get(), kSameOwner, old.st_gid) == 0);
        if (fstat(mFile.Get(), &status) != 0)
            return errno;
        const AccessListCopy list
            = CopyFileAttributes(oldFile.Get(), mFile.Get(), status.st_gid == old.st_gid);
        if (fstat(mFile.Get(), &status) != 0) // the list may have changed the mode
            return errno;
        const mode_t mode = ModeOfReplacement(old, status, list);
        if (!given && (status.st_mode & kModeBits) == mode)
            return 0; // some file systems have no permissions to set
        return fchmod(mFile.Get(), mode) == 0 ? 0 : errno;
    }

    int Commit(const QByteArray& target)
    {
        mIsCommitted = std::rename(mName.constData(), target.constData()) == 0;
        return mIsCommitted ? 0 : errno;
    }

private:
    int Create(mode_t mode)
    {
        FileDescriptor file(
            open(mName.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (!file.IsOpen())
            return errno;
        if (!Lock(file, mName))
            return EEXIST; // another save took the file for a stale one and removed it
        mFile = std::move(file);
        return 0;
    }

    QByteArray mName;
    FileDescriptor mFile;
    bool mIsCommitted = false;
};

// Returns whether the file may be writable although nothing can be created or renamed beside it: the folder
// is not writable, the file belongs to another user in a sticky folder, or it is a mount point.
bool MayBeWrittenDirectly(int error)
{
    return error == EACCES || error == EPERM || error == EROFS || error == EBUSY || error == EXDEV
        || error == ENAMETOOLONG || error == EEXIST;
}

// Sets errno. \return whether there was no error
bool SetError(int error)
{
    errno = error;
    return error == 0;
}

// Returns 0 or the system's error number.
int ReplaceRegularFile(const QByteArray& target, const FileDescriptor& old, const QByteArray& content)
{
    TemporaryFile file;
    // Nobody else may read the new file before it has the permissions of the old one.
    int error = file.Open(target, old.IsOpen() ? 0600 : 0666);
    if (error == 0)
        error = file.Write(content);
    if (error == 0 && old.IsOpen())
        error = file.CopyRightsOf(old);
    if (error == 0)
        error = file.Commit(target);
    if (error == 0)
        RemoveStaleFiles(target);
    return error;
}

} // namespace

bool ReplaceFile(const QString& path, const QByteArray& content)
{
    // A file that was loaded through one of Qt's search paths ("prefix:name") is saved where it was found.
    const QByteArray encoded = QFile::encodeName(QFileInfo(path).filePath());
    if (encoded.isEmpty() || encoded.contains('\0') || encoded.endsWith('/'))
        return false;
    struct stat old;
    const bool exists = stat(encoded.constData(), &old) == 0;
    if (!exists && errno != ENOENT)
        return false;
    // A name that begins with ':' is a Qt resource.
    if (encoded.startsWith(':') || (exists && !S_ISREG(old.st_mode)))
        return SetError(WriteDirectly(path, content));
    // A read-only file must not be replaced either.
    const FileDescriptor oldFile(exists ? open(encoded.constData(), O_WRONLY | O_CLOEXEC) : -1);
    if (exists && !oldFile.IsOpen())
        return false;
    const std::optional<QByteArray> target = FollowLinks(encoded);
    if (!target)
        return false;
    const int error = ReplaceRegularFile(*target, oldFile, content);
    return SetError(MayBeWrittenDirectly(error) ? WriteDirectly(path, content) : error);
}

QStringList FindStaleFiles(const QString& path)
{
    QStringList found;
    const std::optional<QByteArray> target = FollowLinks(QFile::encodeName(path));
    for (int number = 0; target && number < kMaxSaves; ++number) {
        const QByteArray name = TemporaryName(*target, number);
        if (OpenStaleFile(name).IsOpen())
            found.append(QFile::decodeName(name));
    }
    return found;
}

} // namespace Quorvin::Util::Platform
