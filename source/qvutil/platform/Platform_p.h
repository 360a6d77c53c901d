// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PLATFORM_P_H
#define QVUTIL_PLATFORM_P_H

#include <QByteArray>
#include <QByteArrayView>
#include <QDeadlineTimer>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

// Internal, not API: may change in any version.

/// The functions that a port of the library to another system has to implement. Each system has a source file
/// beside this header; no other code of the library depends on the system.
///
/// Results are returned as the system reports them. The callers, which are the same on all systems, clean
/// paths, look up table rows and choose fallbacks. All functions are thread-safe; none throws or keeps state.
namespace Quorvin::Util::Platform {

// User

/// Returns the user's locale. The system is queried on each call.
/// \return language and region joined by '_' (en_GB), in UTF-8, without codeset and modifier, but with any
///         further parts that the system reports; empty if the user has set no locale
[[nodiscard]] QByteArray GetUserLocaleIdentifier();

// Folders. They need not exist.

/// \return absolute path of the folder for the current user's application data
[[nodiscard]] QString GetUserApplicationSupportFolder();

/// \return absolute path of the folder for the application data of all users
[[nodiscard]] QString GetMachineApplicationSupportFolder();

/// \return absolute path of the folder of the system's libraries
[[nodiscard]] QString GetSystemLibraryFolder();

// Files

/// Resolves symbolic links in \p path as far as the system can.
/// \param path  absolute or relative; an empty path is returned unchanged
/// \return the resolved path, which need not be clean. From the first part that cannot be resolved (missing,
///         a dangling link, a loop of links) \p path is kept unchanged. A relative result is relative to the
///         folder that contains \p path.
[[nodiscard]] QString ResolveSymbolicLinks(const QString& path);

// Saving

/// Replaces a file's content atomically: the file holds either the old or the new content, even if the
/// process is killed or the disk is full. Follows symbolic links and keeps permissions, access control list
/// and extended attributes, and owner and group as far as the user may change them. The new file is never
/// accessible to more users than the old one. If the folder is not writable, or \p path is not a regular
/// file, the content is written directly.
///
/// The new content goes to the hidden temporary file ".NAME.saving" beside the target (".NAME.saving1" and so
/// on while that is in use), which is locked. The next save of the same file removes stale ones.
/// \return false, with errno set, if the file cannot be opened for writing or not every byte could be written
bool ReplaceFile(const QString& path, const QByteArray& content);

/// The result of copying an access control list.
enum class AccessListCopy {
    Complete, ///< both files have the same list, or none
    Failed, ///< the new file lacks the old file's list, or has a different one
};

/// Copies the access control list and the extended attributes of a file as far as the user may set them.
/// Owner, group and permissions do not change, except that a list changes the group bits of the mode.
/// \param from         descriptor of the file to copy from
/// \param to           descriptor of a new file; a list that it inherited from its folder is replaced
/// \param isSameGroup  whether both files belong to the same group; if not, a list with permissions of the
///                     group is not copied
[[nodiscard]] AccessListCopy CopyFileAttributes(int from, int to, bool isSameGroup);

/// Finds the stale temporary files that killed saves have left beside a file. The next save removes them.
/// \return their paths; temporary files of saves in progress are not included
[[nodiscard]] QStringList FindStaleFiles(const QString& path);

// Processes

/// \param processId  any number
/// \return whether a process of any user is running under this id; false for a zombie, and for an invalid id
[[nodiscard]] bool IsProcessRunning(qint64 processId);

// Loaded libraries

/// Returns the dynamic libraries loaded into this process in the loader's order, except the program itself
/// and images that are not files.
/// \return their paths as the loader spells them; a relative path is relative to the current folder
[[nodiscard]] QStringList GetLoadedLibraries();

/// \return the suffix of library file names, including '.'
[[nodiscard]] QLatin1StringView GetLibrarySuffix();

/// \param fileName  file name of a loaded library, without a folder
/// \return \p fileName without the version that follows the suffix; unchanged if there is none, or if the
///         system has no such convention
[[nodiscard]] QStringView RemoveLibraryVersion(QStringView fileName);

// Local sockets, by the descriptor of a QLocalSocket

/// Enlarges the send buffer; never shrinks it.
/// \param bytes  the requested size
/// \return maximum size of a frame that a single write can take while nothing else is queued; 0 if unknown
[[nodiscard]] qsizetype EnlargeSendBuffer(qintptr socket, int bytes);

/// \return bytes that were sent but not yet read by the receiver, as the system counts them; 0 if there are
///         none, or if unknown
[[nodiscard]] qint64 GetUnreadBytes(qintptr socket);

/// Writes as many bytes as the system takes, without waiting.
/// \return number of bytes; 0 if the system takes none, or if the connection is closed
[[nodiscard]] qsizetype WriteAvailable(qintptr socket, QByteArrayView bytes);

/// Reads the available bytes without waiting.
/// \param bytes  receives the bytes at its end
/// \return false if there were none, or if the connection is closed
bool ReadAvailable(qintptr socket, QByteArray& bytes);

/// Waits until there is something to read or the connection is closed.
/// \return false after the time-out
bool WaitForBytes(qintptr socket, int timeoutMs);

/// \return the user id of the peer; nullopt if unknown
[[nodiscard]] std::optional<quint32> GetPeerUserId(qintptr socket);

/// \return the user id of this process
[[nodiscard]] quint32 GetUserId();

/// Identifies a file independently of its name.
struct FileIdentity
{
    quint64 Device = 0;
    quint64 Inode = 0;

    [[nodiscard]] bool operator==(const FileIdentity&) const = default;
};

/// \return the identity of the file at \p path, without following a link; nullopt if there is none
[[nodiscard]] std::optional<FileIdentity> GetFileIdentity(const QString& path);

/// Tells ListenAt how to treat an existing socket at the path.
enum class ExistingSocket {
    Replace,
    Keep,
};

/// A listening socket and its file.
struct ListeningSocket
{
    int Descriptor = -1; ///< -1 after a failure; owned by the caller
    FileIdentity File;
    QString Error; ///< the reason for a failure
};

/// Creates a listening socket that only this user can access. Its file appears at \p path atomically, when
/// clients can already connect. A file that is not a socket is never replaced.
[[nodiscard]] ListeningSocket ListenAt(const QString& path, ExistingSocket existing);

/// \return maximum length in bytes of the path of a local server
[[nodiscard]] qsizetype GetMaxSocketPathLength();

// Locks between processes

/// Tells LockFile how to treat a missing file.
enum class LockFileMode {
    CreateIfMissing,
    OpenExisting,
};

/// Failure results of LockFile and TakeSemaphore.
inline constexpr int kLockFailed = -1; ///< no file, or not a regular file of this user; no semaphore
inline constexpr int kLockTimedOut = -2; ///< another process keeps it locked

/// Locks a file for this process, and waits while others hold the lock. The system releases the lock when the
/// process ends. The file must be a regular file of this user; symbolic links are not followed.
/// \param timeoutMs  how long to wait for one holder, in milliseconds; if negative, there is no time-out
/// \param deadline   end of the whole wait, even if many holders take turns
/// \return a lock for UnlockFile; kLockFailed or kLockTimedOut, which are negative
[[nodiscard]] int LockFile(const QString& path, LockFileMode mode = LockFileMode::CreateIfMissing,
                           int timeoutMs = -1,
                           QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));

/// Releases a lock. The file is kept.
/// \param lock  the result of LockFile; does nothing if it is negative
void UnlockFile(int lock);

/// Takes the semaphore that QSharedMemory uses as the lock of a segment. QSharedMemory waits for it without a
/// time-out. When the process ends, the semaphore is released.
///
/// A semaphore that no living process can release is reset. For example, a new semaphore is taken until its
/// creator has set its value, so that it stays taken if the creator is killed before that.
/// \param keyFile  the file from which the key of the semaphore is derived
/// \return a semaphore for ReleaseSemaphore; kLockFailed if there is none, or if it belongs to another user;
///         kLockTimedOut if another process holds it
[[nodiscard]] int TakeSemaphore(const QString& keyFile, QDeadlineTimer deadline);

/// \param semaphore  the result of TakeSemaphore; does nothing if it is negative
void ReleaseSemaphore(int semaphore);

/// \return the process that was the last to take or release the semaphore; 0 if unknown
[[nodiscard]] qint64 FindSemaphoreUser(const QString& keyFile);

// Debug output

/// Writes a message for developers to the system's debug output, if there is one. The text is only read if
/// the output is enabled.
/// \param text  one message; terminated by 0 in the second overload, where null does nothing
void WriteDebugOutput(const QString& text);
void WriteDebugOutput(const wchar_t* text);

} // namespace Quorvin::Util::Platform

#endif // QVUTIL_PLATFORM_P_H
