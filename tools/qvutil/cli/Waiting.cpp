// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Waiting.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QThread>

#include <chrono>
#include <future>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// Documents may be nested deeply, and the default stack size of some systems is less than a megabyte.
constexpr unsigned int kStackSize = 8 * 1024 * 1024;

} // namespace

void ShowWhile(Console::ProgressBar& bar, qint64 done, const QString& label,
               const std::function<void()>& work)
{
    if (!Console::IsErrorTerminal())
        return work();
    std::packaged_task<void()> task(work);
    std::future<void> result = task.get_future();
    const std::unique_ptr<QThread> thread(QThread::create([&task] { task(); }));
    thread->setStackSize(kStackSize);
    thread->start();
    if (!thread->isRunning() && !thread->isFinished()) // the thread could not start
        return work();
    const auto wait = qScopeGuard([&thread] { thread->wait(); });
    QElapsedTimer timer;
    timer.start();
    do {
        bar.Show(done, label + u", %1 s"_s.arg(timer.elapsed() / 1000));
    } while (result.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready);
    result.get();
}

} // namespace Quorvin::Tool
