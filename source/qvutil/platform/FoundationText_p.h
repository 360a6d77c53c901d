// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_FOUNDATIONTEXT_P_H
#define QVUTIL_FOUNDATIONTEXT_P_H

#include <QString>

Q_FORWARD_DECLARE_OBJC_CLASS(NSString);

// Internal, not API: may change in any version.

namespace Quorvin::Util::Platform {

/// Converts a Foundation string. Only available on macOS.
/// \param string  the string; not retained
/// \return its text; empty if \p string is null
[[nodiscard]] QString FromFoundation(NSString* string);

} // namespace Quorvin::Util::Platform

#endif // QVUTIL_FOUNDATIONTEXT_P_H
