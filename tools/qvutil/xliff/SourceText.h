// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_SOURCETEXT_H
#define QVUTIL_TOOL_XLIFF_SOURCETEXT_H

#include <QString>
#include <QStringList>
#include <QStringView>

namespace Quorvin::Tool {

/// Returns the placeholders in a text: %1 to %99, %L1, %n, %Ln and $(name), each once, in ascending order.
[[nodiscard]] QStringList FindPlaceholders(QStringView text);

/// Returns a pseudo-translation, with which a program can be tested before it is translated. Letters get
/// accents, the text becomes about a third longer, and brackets around it show whether it is truncated.
/// Placeholders, tags such as `<b>` and references such as `&nbsp;` are kept.
[[nodiscard]] QString PseudoTranslate(QStringView text);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_SOURCETEXT_H
