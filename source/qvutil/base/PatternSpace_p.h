// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PATTERNSPACE_P_H
#define QVUTIL_PATTERNSPACE_P_H

#include <QChar>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Returns whether a character is ASCII white space, as "\s" in a QRegularExpression without Unicode
/// properties.
[[nodiscard]] constexpr bool IsPatternSpace(QChar c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_PATTERNSPACE_P_H
