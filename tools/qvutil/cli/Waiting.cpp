// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Waiting.h"

#include <QElapsedTimer>

#include <chrono>
#include <future>
#include <system_error>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

void ShowWhile(Console::ProgressBar& bar, qint64 done, const QString& label,
               const std::function<void()>& work)
{
    if (!Console::IsErrorTerminal())
        return work();
    std::future<void> result;
    try {
        result = std::async(std::launch::async, work);
    } catch (const std::system_error&) { // no thread can start
        return work();
    }
    QElapsedTimer timer;
    timer.start();
    do {
        bar.Show(done, label + u", %1 s"_s.arg(timer.elapsed() / 1000));
    } while (result.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready);
    result.get();
}

} // namespace Quorvin::Tool
