// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_TEXTWIDTH_H
#define QVUTIL_TOOL_TEXTWIDTH_H

#include <QString>

namespace Quorvin::Tool {

/// Returns the number of columns that text takes on a terminal: two for each wide character, such as a
/// Chinese character or most emoji, none for a combining mark, and one for any other character.
[[nodiscard]] qsizetype ColumnsOf(QStringView text);
/// Return the longest beginning, or end, of a text that fits into a number of columns. A character is never
/// separated from its combining marks.
[[nodiscard]] QString FirstColumns(const QString& text, qsizetype columns);
[[nodiscard]] QString LastColumns(const QString& text, qsizetype columns);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_TEXTWIDTH_H
