// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLLIMITS_P_H
#define QVUTIL_XMLLIMITS_P_H

#include <QByteArray>
#include <QStringView>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Tells whether a document keeps to both limits. It need not be well formed: what a parser would read before
/// it met the error counts.
[[nodiscard]] bool KeepsXmlLimits(const QByteArray& document);
/// \overload
[[nodiscard]] bool KeepsXmlLimits(QStringView document);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_XMLLIMITS_P_H
