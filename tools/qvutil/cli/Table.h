// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_TABLE_H
#define QVUTIL_TOOL_TABLE_H

#include <QList>
#include <QStringList>

namespace Quorvin::Tool {

/// Arranges cells in columns, each as wide as its widest cell.
/// \return one line for each row
[[nodiscard]] QStringList FormatTable(const QList<QStringList>& rows);
void PrintTable(const QList<QStringList>& rows);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_TABLE_H
