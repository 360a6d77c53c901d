// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_DEBUGOUTPUT_P_H
#define QVUTIL_DEBUGOUTPUT_P_H

// Internal, not API: may change in any version.

namespace Quorvin::Util::Platform {

/// \return whether Platform::WriteDebugOutput writes messages on this system; the log then need not repeat
/// them
[[nodiscard]] bool HasDebugOutput();

} // namespace Quorvin::Util::Platform

#endif // QVUTIL_DEBUGOUTPUT_P_H
