// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PLATFORM_P_H
#define QVUTIL_PLATFORM_P_H

#include <QByteArray>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

// Internal, not API: may change in any version.

/// Everything that a port of the library to another system has to answer. Each system has one source file
/// beside this header that defines all of these functions; the rest of the library knows no system.
///
/// The answers are the system's own, as it gives them: cleaning a path, choosing a row of a table or a
/// fallback is the business of the callers, which are the same everywhere. No function throws, none keeps
/// state, and all may be called from any thread.
namespace Quorvin::Util::Platform {

// The user

/// Tells which locale the user has chosen, read afresh on each call.
/// \return language and region joined by '_' (en_GB), in UTF-8, without codeset and modifier; whatever
///         further parts the system has are kept; empty when the user has chosen none
[[nodiscard]] QByteArray GetUserLocaleIdentifier();

// Folders. They need not exist.

/// \return absolute path of the folder under which applications keep data for the current user
[[nodiscard]] QString GetUserApplicationSupportFolder();

/// \return absolute path of the folder under which applications keep data for all users of the machine
[[nodiscard]] QString GetMachineApplicationSupportFolder();

/// \return absolute path of the folder of the system's own libraries
[[nodiscard]] QString GetSystemLibraryFolder();

// Files

/// Replaces the symbolic links in \p path by what they point to, as far as the system follows them.
/// \param path  absolute or relative; an empty one is returned as it is
/// \return the resolved path, not necessarily a clean one; from the first part that cannot be followed on (it
///         is missing, a link to nothing, a loop) \p path is kept as it stands. A relative result is relative
///         to the folder that contains \p path.
[[nodiscard]] QString ResolveSymbolicLinks(const QString& path);

// Saving

/// Replaces a file's content in one step: afterwards the file holds the old content or the new one, whatever
/// happens in between (a killed process, a full disk). Symbolic links are followed, permissions kept, and
/// owner and group as far as the user may give files away. Where that cannot be had, because the folder is
/// not writable or \p path is no regular file, the content is written directly.
///
/// The new content goes to the hidden file ".NAME.saving" beside the target (".NAME.saving1" and so on while
/// that is in use), under a lock. One that a killed process left is removed by the next save of the same
/// file.
/// \return false if the file cannot be opened for writing or not every byte could be written; errno is the
///         reason then
bool ReplaceFile(const QString& path, const QByteArray& content);

/// Finds the temporary files that killed saves of a file have left beside it. The next save removes them.
/// \return their paths; not those of saves that are under way
[[nodiscard]] QStringList FindAbandonedFiles(const QString& path);

// Processes

/// \param processId  any number; those that are no process id of this system give false
/// \return whether that process runs, whoever its user is. One that has ended, but whose parent has not yet
///         asked for its result, does not run.
[[nodiscard]] bool IsProcessRunning(qint64 processId);

// Loaded libraries

/// Lists the dynamic libraries that are loaded into this process, in the loader's order, without the program
/// itself and without what is no file.
/// \return their paths as the loader spells them; a relative one is relative to the current folder
[[nodiscard]] QStringList GetLoadedLibraries();

/// \return the ending of a library's file name, with its dot
[[nodiscard]] QLatin1StringView GetLibrarySuffix();

/// \param fileName  file name of a loaded library, without folder
/// \return \p fileName without the version that the system's habit writes behind the suffix;
///         \p fileName itself where there is no such habit, or no version
[[nodiscard]] QStringView RemoveLibraryVersion(QStringView fileName);

// Local sockets, by the descriptor that QLocalSocket gives

/// Makes the send buffer larger; it never gets smaller.
/// \param bytes  the size that is wished for
/// \return size of the largest document that one write hands over completely while nothing else is under way;
///         0 if the system does not tell
[[nodiscard]] qsizetype EnlargeSendBuffer(qintptr socket, int bytes);

/// \return bytes that were sent and that the receiver has not yet taken, in the system's way of counting;
///         0 if there are none, or if the system does not tell
[[nodiscard]] qint64 GetUnreadBytes(qintptr socket);

/// Takes what is there, without waiting.
/// \param bytes  array to append to
/// \return false if there was nothing, or if the connection has ended
bool ReadAvailable(qintptr socket, QByteArray& bytes);

/// Waits until there is something to read, or the connection has ended.
/// \return false if the time is over
bool WaitForBytes(qintptr socket, int timeoutMs);

/// \return the user as whom the process at the other end runs; nothing if the system does not tell
[[nodiscard]] std::optional<quint32> GetPeerUserId(qintptr socket);

/// \return the user as whom this process runs
[[nodiscard]] quint32 GetUserId();

/// What makes a file the one that it is, wherever it is moved.
struct FileIdentity
{
    quint64 Device = 0;
    quint64 Inode = 0;

    [[nodiscard]] bool operator==(const FileIdentity&) const = default;
};

/// \return what is at \p path, without following a link; nothing if nothing is there
[[nodiscard]] std::optional<FileIdentity> GetFileIdentity(const QString& path);

/// What ListenAt does with a socket that is at the path already.
enum class ExistingSocket {
    Replace,
    Keep,
};

/// A socket that listens, and its file.
struct ListeningSocket
{
    int Descriptor = -1; ///< -1 if it could not be made; the caller closes it
    FileIdentity File;
    QString Error; ///< the reason if it could not be made
};

/// Makes a socket that only this user can reach and that listens at \p path. Its file appears there in one
/// step, under which clients can connect at once. A file that is no socket is never replaced.
[[nodiscard]] ListeningSocket ListenAt(const QString& path, ExistingSocket existing);

/// \return size of the longest path, in bytes, at which a local server can listen
[[nodiscard]] qsizetype GetLongestSocketPath();

// Locks between processes

/// What LockFile does where there is no file yet.
enum class LockFileMode {
    CreateIfMissing,
    OpenExisting,
};

/// What LockFile returns instead of a lock.
inline constexpr int kLockFailed = -1; ///< the file cannot be made or opened, or is no file of this user
inline constexpr int kLockTimedOut = -2; ///< another process keeps it locked

/// Locks a file for this process, waiting for others to unlock it. The lock ends with the process at the
/// latest. The file must be a regular one that belongs to this user; a symbolic link is not followed.
/// \param timeoutMs  how long to wait for one holder; negative for as long as it takes
/// \return what UnlockFile takes; kLockFailed or kLockTimedOut, which are negative
[[nodiscard]] int LockFile(const QString& path, LockFileMode mode = LockFileMode::CreateIfMissing,
                           int timeoutMs = -1);

/// Ends a lock. The file stays.
/// \param lock  what LockFile has returned; a negative one does nothing
void UnlockFile(int lock);

// Debug output

/// Hands a text for developers to the system's place for such texts, if it has one. The text is not looked at
/// unless somebody will see it.
/// \param text  one message; in the second form zero-terminated, and null is no message
void WriteDebugOutput(const QString& text);
void WriteDebugOutput(const wchar_t* text);

} // namespace Quorvin::Util::Platform

#endif // QVUTIL_PLATFORM_P_H
