// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_SUGGESTION_H
#define QVUTIL_TOOL_SUGGESTION_H

#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// Returns up to three candidates that the user probably meant with a mistyped word: those with the fewest
/// wrong, missing, additional or swapped characters. Case is ignored, and '_' is equal to '-'.
[[nodiscard]] QStringList FindClosest(const QString& word, const QStringList& candidates);

/// Returns the end of a message, "; did you mean 'get' or 'set'?"; empty if no candidate is close.
[[nodiscard]] QString DidYouMean(const QString& word, const QStringList& candidates);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_SUGGESTION_H
