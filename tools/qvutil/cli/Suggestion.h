// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_SUGGESTION_H
#define QVUTIL_TOOL_SUGGESTION_H

#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// Returns up to three candidates that the user may have meant by a mistyped word: those with the fewest
/// wrong, missing, additional or swapped characters. Ignores case, and the difference between '_' and '-'.
[[nodiscard]] QStringList FindClosest(const QString& word, const QStringList& candidates);

/// Returns the end of a message, "; did you mean 'get' or 'set'?"; empty if no candidate is close.
[[nodiscard]] QString DidYouMean(const QString& word, const QStringList& candidates);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_SUGGESTION_H
