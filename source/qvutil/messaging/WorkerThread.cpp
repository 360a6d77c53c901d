// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/WorkerThread_p.h"

namespace Quorvin::Util::Internal {
namespace {

// Enough for documents of the maximum depth.
constexpr unsigned int kStackSize = 8 * 1024 * 1024;

} // namespace

WorkerThread::WorkerThread()
{
    setStackSize(kStackSize);
}

void WorkerThread::Stop()
{
    if (!isRunning())
        return;
    requestInterruption();
    exit(0);
    wait();
    static_cast<void>(mDone.load(std::memory_order_acquire));
}

void WorkerThread::SetReader(QObject* worker, const std::function<void()>& read)
{
    mRead = read;
    mWorker.store(worker, std::memory_order_release);
}

void WorkerThread::CountTaken()
{
    if (mWindow.Take()) {
#ifndef __clang_analyzer__ // mistakes the slot object that Qt owns for a leak
        QMetaObject::invokeMethod(mWorker.load(std::memory_order_acquire), mRead, Qt::QueuedConnection);
#endif
    }
}

void WorkerThread::run()
{
    RunWorker();
    mDone.store(true, std::memory_order_release);
}

} // namespace Quorvin::Util::Internal
