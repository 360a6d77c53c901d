// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLLIMITS_P_H
#define QVUTIL_XMLLIMITS_P_H

#include <QByteArray>
#include <QStringView>

namespace Quorvin::Util::Internal {

/// Elements inside one another in a document from outside. The parser and the document tree call themselves
/// once a level, so that a deeper document could exhaust the stack.
inline constexpr int kMaxElementDepth = 1000;

/// Characters that the entity references of a document from outside may stand for in all.
inline constexpr qint64 kMaxEntityExpansion = qint64(16) * 1024 * 1024;

/// Tells whether a document keeps to both limits. It need not be well formed: what a parser would read before
/// it met the error counts.
[[nodiscard]] bool KeepsXmlLimits(const QByteArray& document);
/// \overload
[[nodiscard]] bool KeepsXmlLimits(QStringView document);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_XMLLIMITS_P_H
