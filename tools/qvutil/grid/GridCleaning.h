// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_GRIDCLEANING_H
#define QVUTIL_TOOL_GRID_GRIDCLEANING_H

#include "grid/GridSnapshot.h"

#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// What cleaning has done, or would do.
struct GridCleaning
{
    QList<GridLeftover> Removed;
    QList<GridLeftover> Kept; ///< what could not be removed
    bool IsRepaired = false; ///< a damaged registry was written anew, with the members that can be read
};

/// Removes what crashed processes have left of a grid, under the locks that its members use; and registry and
/// lock file too if nobody is left, as the last member does who leaves.
/// Throws Failure if another process keeps the grid locked, or it is not allowed.
[[nodiscard]] GridCleaning CleanGrid(const QString& grid);

/// Tells what CleanGrid would do, and changes nothing. Throws Failure if the registry must not be read.
[[nodiscard]] GridCleaning PreviewCleaning(const GridSnapshot& snapshot);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_GRIDCLEANING_H
