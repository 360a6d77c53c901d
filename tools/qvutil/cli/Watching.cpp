// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Watching.h"

#include "cli/Session.h"

#include <string>

namespace Quorvin::Tool {

void AddWatchSchedule(CLI::App& command, WatchSchedule& schedule)
{
    AddNumber(command, "--count", schedule.Count, {.Min = 1, .Max = 1000000000},
              "Stop after this number of events")
        ->type_name("N");
    AddNumber(command, "--interval", schedule.IntervalMs, {.Min = 1, .Max = 3600000},
              "Milliseconds between checks; default: " + std::to_string(schedule.IntervalMs))
        ->type_name("MS");
}

void RepeatUntilInterrupted(int intervalMs, const std::function<bool()>& isDone)
{
    Session session(Session::EndsOnSignals);
    while (!isDone() && !session.IsInterrupted())
        session.Pause(QDeadlineTimer(intervalMs));
}

} // namespace Quorvin::Tool
