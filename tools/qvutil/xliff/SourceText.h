// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_SOURCETEXT_H
#define QVUTIL_TOOL_XLIFF_SOURCETEXT_H

#include <QString>
#include <QStringList>
#include <QStringView>

namespace Quorvin::Tool {

/// Finds the placeholders of a text that a program fills in: %1 to %99, %L1, %n, %Ln and $(name).
/// \return each one once, in ascending order
[[nodiscard]] QStringList FindPlaceholders(QStringView text);

/// Makes a text that reads like \p text in a foreign language, so that a program can be tried before it is
/// translated: letters get accents, it grows by about a third and stands in brackets, so that cut and
/// forgotten texts are seen. Placeholders, tags such as `<b>` and references such as `&nbsp;` stay.
[[nodiscard]] QString PseudoTranslate(QStringView text);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_SOURCETEXT_H
