// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_GRIDCLEANING_H
#define QVUTIL_TOOL_GRID_GRIDCLEANING_H

#include "grid/GridSnapshot.h"

#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// The result of cleaning, or of a preview.
struct GridCleaning
{
    QList<StaleItem> Removed;
    QList<StaleItem> Kept; ///< items that could not be removed
    bool IsRepaired = false; ///< a damaged registry was rewritten with the members that can be read
};

/// Removes what crashed processes have left behind in a grid, under the locks that its members use. If no
/// member is left, also removes the registry and its lock file, as the last member does when it leaves.
/// Throws Failure if another process keeps the grid locked, or if access is denied.
[[nodiscard]] GridCleaning CleanGrid(const QString& grid);

/// Returns what CleanGrid would do, without changing anything. Throws Failure if the registry cannot be read.
[[nodiscard]] GridCleaning PreviewCleaning(const GridSnapshot& snapshot);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_GRIDCLEANING_H
