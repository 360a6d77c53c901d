// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_GRIDREPORT_H
#define QVUTIL_TOOL_GRID_GRIDREPORT_H

#include "grid/GridSnapshot.h"

#include <QJsonArray>
#include <QList>
#include <QStringList>

// Output of the commands of `qvutil grid`.
namespace Quorvin::Tool {

/// Returns process ids as a string, such as "4711,4712"; "-" if there are none.
[[nodiscard]] QString JoinIds(const QList<qint64>& ids);
/// Returns the name of a grid and the number of its members: "grid desk: 2 alive, 1 dead".
[[nodiscard]] QString TitleOf(const GridSnapshot& snapshot);
/// Returns the problems of a grid's registry as text.
[[nodiscard]] QStringList ProblemsOf(const GridSnapshot& snapshot);
/// Returns a table of the members and their links, with a heading.
[[nodiscard]] QList<QStringList> MembersToRows(const GridSnapshot& snapshot);
/// Prints a table of the members and their links.
void PrintMembers(const GridSnapshot& snapshot);

[[nodiscard]] QJsonArray MembersToJson(const GridSnapshot& snapshot);
[[nodiscard]] QJsonArray StaleItemsToJson(const QList<StaleItem>& items);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_GRIDREPORT_H
