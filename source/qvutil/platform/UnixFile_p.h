// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_UNIXFILE_P_H
#define QVUTIL_UNIXFILE_P_H

// Internal, not API: may change in any version.

#include <QByteArray>
#include <QtGlobal>

#include <cerrno>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

// Helpers for file descriptors on Unix, for the library and its tool.
namespace Quorvin::Util::Platform {

/// Owns a file descriptor.
class FileDescriptor
{
public:
    explicit FileDescriptor(int descriptor = -1)
        : mDescriptor(descriptor)
    { }
    FileDescriptor(FileDescriptor&& other) noexcept
        : mDescriptor(other.Release())
    { }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(mDescriptor, other.mDescriptor);
        return *this;
    }
    ~FileDescriptor() { Close(); }
    Q_DISABLE_COPY(FileDescriptor)

    [[nodiscard]] bool IsOpen() const { return mDescriptor >= 0; }
    [[nodiscard]] int Get() const { return mDescriptor; }
    /// Returns the descriptor and releases ownership of it.
    [[nodiscard]] int Release() { return std::exchange(mDescriptor, -1); }
    void Close()
    {
        if (IsOpen())
            ::close(Release());
    }

private:
    int mDescriptor;
};

/// Repeats a system call as long as a signal interrupts it. \return the result of the last call
template <typename Call> auto RepeatWhenInterrupted(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

[[nodiscard]] inline bool IsSameFile(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Returns whether \p path still leads to an open file, which another process may have removed or replaced. A
/// symbolic link at \p path is not followed.
[[nodiscard]] inline bool IsFileAt(const QByteArray& path, int descriptor)
{
    struct stat opened = {};
    struct stat there = {};
    return ::fstat(descriptor, &opened) == 0 && ::lstat(path.constData(), &there) == 0
        && IsSameFile(opened, there);
}

} // namespace Quorvin::Util::Platform

#endif // QVUTIL_UNIXFILE_P_H
