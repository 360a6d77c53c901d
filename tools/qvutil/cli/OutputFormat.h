// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_OUTPUTFORMAT_H
#define QVUTIL_TOOL_OUTPUTFORMAT_H

#include "cli/Failure.h"

#include <QString>

namespace Quorvin::Tool {

/// Throws UsageFailure if both --json and another output format are requested.
/// \param option  the option for the other format, such as "--svg"
inline void RequireOneFormat(bool isJson, bool isOther, const QString& option)
{
    if (isJson && isOther)
        throw UsageFailure(QStringLiteral("--json and %1 cannot be combined").arg(option));
}

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_OUTPUTFORMAT_H
