// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_UNIXFILE_P_H
#define QVUTIL_UNIXFILE_P_H

// This file is not part of the interface. It may change from one version to the next.

#include <QByteArray>
#include <QtGlobal>

#include <cerrno>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

// What Unix code needs around file descriptors, for the library and its tool.
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
    /// Gives the descriptor away.
    [[nodiscard]] int Release() { return std::exchange(mDescriptor, -1); }
    void Close()
    {
        if (IsOpen())
            ::close(Release());
    }

private:
    int mDescriptor;
};

/// Repeats a system call that returns -1 for as long as a signal interrupts it. \return its result
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

/// Tells whether \p path still leads to an open file: another process may have removed or replaced the file.
/// A symbolic link at \p path is not followed.
[[nodiscard]] inline bool IsFileAt(const QByteArray& path, int descriptor)
{
    struct stat opened = {};
    struct stat there = {};
    return ::fstat(descriptor, &opened) == 0 && ::lstat(path.constData(), &there) == 0
        && IsSameFile(opened, there);
}

} // namespace Quorvin::Util::Platform

#endif // QVUTIL_UNIXFILE_P_H
