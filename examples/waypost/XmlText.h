// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_XMLTEXT_H
#define WAYPOST_XMLTEXT_H

#include <QString>

/// Removes the characters that XML does not allow, such as most control characters. A document that contains
/// one can be saved, but not loaded again.
[[nodiscard]] QString XmlText(const QString& text);

#endif // WAYPOST_XMLTEXT_H
