// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_WAITING_H
#define QVUTIL_TOOL_WAITING_H

#include "cli/Console.h"

#include <QString>

#include <functional>

namespace Quorvin::Tool {

/// Calls a function that cannot report its progress. On a terminal, the function runs in another thread,
/// while a progress bar shows how long it has been running.
/// \param done  amount of work done before the call
void ShowWhile(Console::ProgressBar& bar, qint64 done, const QString& label,
               const std::function<void()>& work);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_WAITING_H
