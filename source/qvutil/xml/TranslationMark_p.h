// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TRANSLATIONMARK_P_H
#define QVUTIL_TRANSLATIONMARK_P_H

#include <QStringView>

#include <optional>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Finds what a translation mark wraps: the part of \p text between a match of `^\s*tr\s*\(`, in any case,
/// and a match of `\)\s*$`. Each attribute and text that is read passes here, so plain texts are told by a
/// look at their characters.
/// \return the wrapped part as a view into \p text; nothing if it is no mark
[[nodiscard]] std::optional<QStringView> FindTranslationMark(QStringView text);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_TRANSLATIONMARK_P_H
