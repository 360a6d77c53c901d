// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_CLOCK_P_H
#define QVUTIL_CLOCK_P_H

#include <QtGlobal>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Milliseconds since 1970 in UTC. Any thread.
[[nodiscard]] qint64 CurrentMSecsSinceEpoch();

/// Replaces the clock, so that a test need not wait; null brings the real one back. Any thread.
void SetClockForTesting(qint64 (*clock)());

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_CLOCK_P_H
