// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_GRIDREGISTRY_P_H
#define QVUTIL_GRIDREGISTRY_P_H

// This file is not part of the interface. It may change from one version to the next.

#include <QByteArray>
#include <QList>
#include <QString>

namespace Quorvin::Util {
struct ProcessInfo;
}

namespace Quorvin::Util::Internal {

// The registry of a grid, in shared memory whose key is the grid's name, in QDataStream's default form
// (big-endian):
//
//     offset 0   number of members, 32-bit signed
//     offset 4   the members, one after another, the oldest first:
//                    process id      64-bit signed
//                    server name     its length in bytes, 32-bit (0xFFFFFFFF: null), then UTF-16 units
//     then       zero bytes up to the end

/// Size of the shared memory, in bytes.
inline constexpr int kRegistrySize = 8192;

/// Reads the members in an image of the memory, as many as there are: a count that is not true, or a name
/// that is longer than what is left, ends with the data.
[[nodiscard]] QList<ProcessInfo> ParseRegistry(const QByteArray& image);
/// Writes the image of some members; longer than kRegistrySize if they do not fit.
[[nodiscard]] QByteArray FormatRegistry(const QList<ProcessInfo>& processes);

/// How long a process waits for the lock of a grid, in milliseconds. A member that is stopped while it holds
/// the lock must not stop the others for ever.
inline constexpr int kGridLockTimeoutMs = 5000;

/// The file that is locked, with Platform::LockFile, by whoever reads or changes the registry, or makes or
/// destroys the memory.
///
/// Beside the lock of the memory itself, which guards its content but neither the making of memory and lock
/// nor their end: there Qt has windows in which two processes hold the lock, or two memories exist.
[[nodiscard]] QString GridLockFilePath(const QString& gridName);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_GRIDREGISTRY_P_H
