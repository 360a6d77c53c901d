// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_STATPAGE_H
#define QVUTIL_TOOL_XLIFF_STATPAGE_H

#include <QJsonArray>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// Returns an HTML page that shows the translation progress of each file and document.
/// \param files     the array that `xliff stat --json` prints
/// \param unusable  names of files that could not be read
[[nodiscard]] QString StatPage(const QJsonArray& files, const QStringList& unusable);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_STATPAGE_H
