// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_WORKERTHREAD_P_H
#define QVUTIL_WORKERTHREAD_P_H

// Internal, not API: may change in any version.

#include "IPC.h"
#include "messaging/DeliveryWindow_p.h"
#include "messaging/Mailbox_p.h"

#include <QThread>
#include <QtNetwork/QLocalSocket>

#include <atomic>
#include <deque>
#include <functional>

namespace Quorvin::Util::Internal {

enum class ArrivalKind { Connected, Disconnected, Message };

/// An event that a worker hands to the owner thread.
struct Arrival
{
    ArrivalKind Kind = ArrivalKind::Message;
    QLocalSocket* Socket = nullptr; // of a server's connection
    MessageInfo Message = {};
};

/// The thread in which a server or client serves its sockets. The object itself lives in the owner thread,
/// where it announces what the worker hands over. The worker is local to RunWorker.
class WorkerThread : public QThread
{
public:
    Q_DISABLE_COPY_MOVE(WorkerThread)

    /// Ends the event loop and waits until the thread has ended; everything that the thread did happens
    /// before this returns. Interrupts reading, because a peer may never stop writing.
    void Stop();

    /// Announces what the worker has handed over so far; the event loop announces the rest. Slots may delete
    /// this object. Owner thread only.
    void AnnounceArrivals();

protected:
    WorkerThread();
    void run() final;
    void customEvent(QEvent* event) override;
    /// Emits the signal of an arrival. Slots may delete this object. Owner thread only.
    virtual void Announce(const Arrival& arrival) = 0;
    /// Hands an arrival to the owner thread, which announces arrivals in order. Worker thread only. (A
    /// queued signal instead of a mailbox would wake the owner thread for each message.)
    void Deliver(Arrival arrival) { mMailbox.Add(std::move(arrival)); }
    /// Creates the worker, runs the event loop and destroys the worker.
    virtual void RunWorker() = 0;

    /// Counts what is queued for the owner thread.
    [[nodiscard]] DeliveryWindow& Window() { return mWindow; }
    /// Sets the worker. Worker thread only; call this before the worker reads.
    /// \param read  called in the worker thread when it should resume reading
    void SetReader(QObject* worker, const std::function<void()>& read);
    /// The mailbox for messages to be sent. The worker opens it.
    [[nodiscard]] Mailbox<MessageInfo>& Outgoing() { return mOutgoing; }

private:
    void CountTaken();

    Mailbox<Arrival> mMailbox; // for this object
    Mailbox<MessageInfo> mOutgoing; // for the worker
    std::deque<Arrival> mArrivals; // taken out of the mailbox, not yet announced; owner thread only
    DeliveryWindow mWindow;
    std::function<void()> mRead; // set before mWorker
    std::atomic<QObject*> mWorker = nullptr; // set before the worker reads; valid until Stop
    // Set when the worker is destroyed. wait() alone would suffice, but race detectors cannot see inside it.
    std::atomic<bool> mDone = false;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_WORKERTHREAD_P_H
