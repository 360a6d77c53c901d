// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/WorkerThread_p.h"

#include <QPointer>

namespace Quorvin::Util::Internal {
namespace {

// Enough for documents of the maximum depth.
constexpr unsigned int kStackSize = 8 * 1024 * 1024;

} // namespace

WorkerThread::WorkerThread()
{
    mMailbox.Open(this);
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

void WorkerThread::customEvent(QEvent* /*event*/)
{
    AnnounceArrivals();
}

void WorkerThread::AnnounceArrivals()
{
    const QPointer<WorkerThread> self(this);
    mMailbox.TakeAll(mArrivals);
    qsizetype count = static_cast<qsizetype>(mArrivals.size()); // handle other events before later arrivals
    // Post an event for the rest: a slot may run an event loop before this loop gets to it.
    if (count > 1)
        mMailbox.CallAgain();
    for (; count > 0 && !mArrivals.empty(); --count) {
        const Arrival arrival = std::move(mArrivals.front());
        mArrivals.pop_front();
        if (arrival.Kind == ArrivalKind::Message)
            CountTaken();
        Announce(arrival);
        if (self.isNull())
            return;
    }
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
