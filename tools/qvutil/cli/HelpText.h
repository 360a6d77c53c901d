// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_HELPTEXT_H
#define QVUTIL_TOOL_HELPTEXT_H

#include "cli/CommandTree.h"

#include <QString>

namespace Quorvin::Tool {

/// Returns the width for help, in columns: the value of COLUMNS, or else the width of the terminal, or else
/// 80.
[[nodiscard]] int HelpWidth();

/// Returns the help of a command or group. No line is wider than \p width.
[[nodiscard]] QString HelpText(const CommandInfo& command, int width);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_HELPTEXT_H
