// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_QTCOMPAT_P_H
#define QVUTIL_QTCOMPAT_P_H

#include <QDateTime>
#include <QTimeZone>

// The one place that tells Qt versions apart.
namespace Quorvin::Util::Internal {

/// Takes a date's clock reading as UTC, whatever offset it came with.
[[nodiscard]] inline QDateTime ReinterpretAsUtc(QDateTime date)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    date.setTimeZone(QTimeZone::UTC);
#else
    date.setTimeSpec(Qt::UTC); // deprecated from Qt 6.9 on; QTimeZone::UTC came with 6.5
#endif
    return date;
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_QTCOMPAT_P_H
