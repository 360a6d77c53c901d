// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_GRIDREGISTRY_P_H
#define QVUTIL_GRIDREGISTRY_P_H

// Internal, not API: may change in any version.

#include <QByteArray>
#include <QList>
#include <QString>

namespace Quorvin::Util {
struct ProcessInfo;
}

namespace Quorvin::Util::Internal {

// The registry of a grid: shared memory whose key is the grid's name, in QDataStream's default format
// (big-endian):
//
//     offset 0   number of members, 32-bit signed
//     offset 4   the members in sequence, oldest first:
//                    process id      64-bit signed
//                    server name     length in bytes, 32-bit (0xFFFFFFFF: null), then UTF-16 units
//     then       zero bytes up to the end

/// Size of the shared memory, in bytes.
inline constexpr int kRegistrySize = 8192;

/// Reads the members from the bytes of a registry. If the count, or the length of a name, exceeds the data,
/// returns the members up to that point.
[[nodiscard]] QList<ProcessInfo> ParseRegistry(const QByteArray& image);
/// Returns the bytes of a registry with these members; longer than kRegistrySize if they do not fit.
[[nodiscard]] QByteArray FormatRegistry(const QList<ProcessInfo>& processes);

/// Time-out for the lock of a grid, in milliseconds. A member that hangs while it holds the lock must not
/// block the others for ever.
inline constexpr int kGridLockTimeoutMs = 5000;

/// Maximum wait for the lock of a grid, in milliseconds, if each of many members holds it for less time than
/// the time-out.
inline constexpr int kMaxGridLockWaitMs = 30'000;

/// Returns the path of the lock file of a grid. Every process that reads or changes the registry, or creates
/// or destroys its segment, locks this file with Platform::LockFile.
///
/// The segment's own lock protects its content, but not the creation and destruction of segment and lock.
/// Qt has race conditions there: two processes may hold the lock, or two segments may exist.
[[nodiscard]] QString GridLockFilePath(const QString& gridName);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_GRIDREGISTRY_P_H
