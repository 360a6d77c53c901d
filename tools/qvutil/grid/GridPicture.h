// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_GRIDPICTURE_H
#define QVUTIL_TOOL_GRID_GRIDPICTURE_H

#include "grid/GridSnapshot.h"

#include <QString>

namespace Quorvin::Tool {

/// Draws a grid as SVG: its members, oldest first, with an arrow from each client to its server, and the
/// grid's problems below them.
[[nodiscard]] QString GridPicture(const GridSnapshot& snapshot);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_GRIDPICTURE_H
