// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_DELIVERYWINDOW_P_H
#define QVUTIL_DELIVERYWINDOW_P_H

// This file is not part of the interface. It may change from one version to the next.

#include <QtGlobal>

#include <atomic>
#include <deque>
#include <limits>

namespace Quorvin::Util::Internal {

/// A worker stops reading while frames of more than this many bytes wait for the owner's thread.
inline constexpr qsizetype kMaxUndelivered = qsizetype(4) * 1024 * 1024;

/// Counts what a worker has handed to the owner's thread and that thread has not yet taken.
class DeliveryWindow
{
public:
    DeliveryWindow() = default;
    Q_DISABLE_COPY_MOVE(DeliveryWindow)

    /// The worker's thread. Counts what one read has brought.
    void Add(qsizetype messages, qsizetype bytes);
    /// The worker's thread. \return whether so much waits that the worker should stop reading. A later Take
    ///         returns true then.
    [[nodiscard]] bool IsFull();
    /// The owner's thread. Counts one message as taken. \return whether the worker is to read again
    [[nodiscard]] bool Take();

private:
    // What one read has brought.
    struct Batch
    {
        qint64 End; // number of its last message, counted from 1
        qsizetype Bytes;
    };

    void DropTaken();
    [[nodiscard]] qint64 FindResumePoint() const;

    static constexpr qint64 kNever = std::numeric_limits<qint64>::max();

    // The worker's thread.
    std::deque<Batch> mBatches;
    qsizetype mBytes = 0; // of all batches
    qint64 mAdded = 0;
    // Both threads. The worker writes mResumeAt before it reads mTaken, and the owner's thread the other way
    // round, so that one of the two sees that there is room again.
    std::atomic<qint64> mTaken = 0;
    std::atomic<qint64> mResumeAt = kNever;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_DELIVERYWINDOW_P_H
