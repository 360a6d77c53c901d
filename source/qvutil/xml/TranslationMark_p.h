// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TRANSLATIONMARK_P_H
#define QVUTIL_TRANSLATIONMARK_P_H

#include <QStringView>

#include <optional>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Finds the content of a translation mark: the part of \p text between a match of `^\s*tr\s*\(`, in any
/// case, and a match of `\)\s*$`. Every attribute and text that is read is tested, so the test looks at
/// characters instead of using a pattern.
/// \return the content as a view of \p text; nullopt if \p text is not a mark
[[nodiscard]] std::optional<QStringView> FindTranslationMark(QStringView text);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_TRANSLATIONMARK_P_H
