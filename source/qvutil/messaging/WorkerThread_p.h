// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_WORKERTHREAD_P_H
#define QVUTIL_WORKERTHREAD_P_H

// This file is not part of the interface. It may change from one version to the next.

#include "messaging/DeliveryWindow_p.h"

#include <QThread>

#include <atomic>
#include <functional>

namespace Quorvin::Util::Internal {

/// The thread in which a server or client serves its sockets. The object itself belongs to the owner's
/// thread, so that what the worker signals to it is queued there. The worker lives in RunWorker, which nobody
/// else can look into.
class WorkerThread : public QThread
{
public:
    Q_DISABLE_COPY_MOVE(WorkerThread)

    /// Ends the event loop and waits for the end of the thread; what the thread has done happened before this
    /// returns. Reading is interrupted, because a peer may be writing on and on.
    void Stop();

protected:
    WorkerThread();
    void run() final;
    /// Makes the worker, runs the event loop and destroys the worker.
    virtual void RunWorker() = 0;

    /// What waits for the owner's thread.
    [[nodiscard]] DeliveryWindow& Window() { return mWindow; }
    /// The worker's thread. Names the worker before it reads.
    /// \param read  called in the worker's thread once there is room to read again
    void SetReader(QObject* worker, const std::function<void()>& read);
    /// The owner's thread. To be called for each message that the worker has sent.
    void CountTaken();

private:
    DeliveryWindow mWindow;
    std::function<void()> mRead; // set before mWorker
    std::atomic<QObject*> mWorker = nullptr; // set before it reads; lives until Stop
    // Set when the worker is gone. wait() alone would do; a race detector does not see into it.
    std::atomic<bool> mDone = false;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_WORKERTHREAD_P_H
