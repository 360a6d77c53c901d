// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_WORKERTHREAD_P_H
#define QVUTIL_WORKERTHREAD_P_H

// Internal, not API: may change in any version.

#include "messaging/DeliveryWindow_p.h"

#include <QThread>

#include <atomic>
#include <functional>

namespace Quorvin::Util::Internal {

/// The thread in which a server or client serves its sockets. The object itself lives in the owner thread, so
/// that the worker's signals to it are queued there. The worker is local to RunWorker.
class WorkerThread : public QThread
{
public:
    Q_DISABLE_COPY_MOVE(WorkerThread)

    /// Ends the event loop and waits until the thread has ended; everything that the thread did happens
    /// before this returns. Interrupts reading, because a peer may never stop writing.
    void Stop();

protected:
    WorkerThread();
    void run() final;
    /// Creates the worker, runs the event loop and destroys the worker.
    virtual void RunWorker() = 0;

    /// Counts what is queued for the owner thread.
    [[nodiscard]] DeliveryWindow& Window() { return mWindow; }
    /// Sets the worker before it reads. Worker thread only.
    /// \param read  called in the worker thread when there is space to read again
    void SetReader(QObject* worker, const std::function<void()>& read);
    /// Must be called for each message from the worker. Owner thread only.
    void CountTaken();

private:
    DeliveryWindow mWindow;
    std::function<void()> mRead; // set before mWorker
    std::atomic<QObject*> mWorker = nullptr; // set before it reads; lives until Stop
    // Set when the worker is destroyed. wait() alone would suffice, but a race detector does not see into it.
    std::atomic<bool> mDone = false;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_WORKERTHREAD_P_H
