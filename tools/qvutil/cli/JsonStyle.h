// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_JSONSTYLE_H
#define QVUTIL_TOOL_JSONSTYLE_H

#include <QJsonDocument>

namespace Quorvin::Tool {

/// The format of JSON that the user requests with --json.
enum class JsonStyle {
    Automatic, ///< indented on a terminal, on one line elsewhere
    Pretty, ///< indented
    Lines, ///< on one line
};

void SetJsonStyle(JsonStyle style);
/// Returns the format of a command's result.
[[nodiscard]] QJsonDocument::JsonFormat AnswerFormat();
/// Returns the format of each object of a command that prints several: one line, unless JsonStyle::Pretty is
/// set.
[[nodiscard]] QJsonDocument::JsonFormat StreamFormat();
/// Returns JSON in this format, followed by a line feed.
[[nodiscard]] QString ToText(const QJsonDocument& document, QJsonDocument::JsonFormat format);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_JSONSTYLE_H
