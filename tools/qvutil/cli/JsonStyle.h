// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_JSONSTYLE_H
#define QVUTIL_TOOL_JSONSTYLE_H

#include <QJsonDocument>

namespace Quorvin::Tool {

/// How JSON is laid out: what --json asks for.
enum class JsonStyle {
    Automatic, ///< indented on a terminal, on one line elsewhere
    Pretty, ///< indented
    Lines, ///< on one line
};

void SetJsonStyle(JsonStyle style);
/// Returns the format of a command's answer.
[[nodiscard]] QJsonDocument::JsonFormat AnswerFormat();
/// Returns the format of each object of a command that prints one after the other: one line, unless
/// JsonStyle::Pretty is set.
[[nodiscard]] QJsonDocument::JsonFormat StreamFormat();
/// Returns JSON in such a format, with a line break at its end.
[[nodiscard]] QString ToText(const QJsonDocument& document, QJsonDocument::JsonFormat format);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_JSONSTYLE_H
