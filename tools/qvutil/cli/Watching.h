// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_WATCHING_H
#define QVUTIL_TOOL_WATCHING_H

#include "cli/Command.h"

#include <functional>

namespace Quorvin::Tool {

/// The options of commands that check something at intervals and report changes.
struct WatchSchedule
{
    int IntervalMs = 1000; ///< between checks
    int Count = 0; ///< number of events after which the command ends; 0 for no limit
};

/// Adds --count and --interval. The current interval of \p schedule is the default.
void AddWatchSchedule(CLI::App& command, WatchSchedule& schedule);

/// Calls a function at intervals, until it returns true or a signal interrupts the command.
void RepeatUntilInterrupted(int intervalMs, const std::function<bool()>& isDone);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_WATCHING_H
