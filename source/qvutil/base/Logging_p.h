// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_LOGGING_P_H
#define QVUTIL_LOGGING_P_H

#include <QLoggingCategory>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// The library's logging category "qvutil". It is silent until logging rules enable it, for example
/// QT_LOGGING_RULES="qvutil=true".
Q_DECLARE_LOGGING_CATEGORY(lcQvUtil)

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_LOGGING_P_H
