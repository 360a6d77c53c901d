// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_FILEPATTERN_H
#define QVUTIL_TOOL_FILEPATTERN_H

#include "cli/Failure.h"

#include <QRegularExpression>

namespace Quorvin::Tool {

/// Throws UsageFailure if a pattern for file names, such as *.log, is not valid. Qt would print a warning for
/// each file, without escaping the control characters in the pattern.
inline void CheckFilePattern(const QString& pattern)
{
    if (!QRegularExpression::fromWildcard(pattern).isValid())
        throw UsageFailure(QStringLiteral("'%1' is not a valid pattern for file names").arg(pattern));
}

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_FILEPATTERN_H
