// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_CLOCK_P_H
#define QVUTIL_CLOCK_P_H

#include <QtGlobal>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Returns milliseconds since 1970 in UTC. Thread-safe.
[[nodiscard]] qint64 CurrentMSecsSinceEpoch();

/// Replaces the clock in tests; null restores the real one. Thread-safe.
void SetClockForTesting(qint64 (*clock)());

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_CLOCK_P_H
