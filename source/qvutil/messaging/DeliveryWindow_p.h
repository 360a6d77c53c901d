// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_DELIVERYWINDOW_P_H
#define QVUTIL_DELIVERYWINDOW_P_H

// Internal, not API: may change in any version.

#include <QtGlobal>

#include <atomic>
#include <deque>
#include <limits>

namespace Quorvin::Util::Internal {

/// A worker stops reading while frames of more than this many bytes are queued for the owner thread.
inline constexpr qsizetype kMaxUndelivered = qsizetype(4) * 1024 * 1024;

/// Counts the messages that a worker has passed to the owner thread and that are not yet processed there.
class DeliveryWindow
{
public:
    DeliveryWindow() = default;
    Q_DISABLE_COPY_MOVE(DeliveryWindow)

    /// Counts the result of one read. Worker thread only.
    void Add(qsizetype messages, qsizetype bytes);
    /// Returns whether the worker should stop reading because more than kMaxUndelivered bytes are queued. If
    /// so, a later Take returns true. Worker thread only.
    [[nodiscard]] bool IsFull();
    /// Counts one message as processed. \return whether the worker should resume reading. Owner thread only.
    [[nodiscard]] bool Take();

private:
    // The result of one read.
    struct Batch
    {
        qint64 End; // number of its last message, counted from 1
        qsizetype Bytes;
    };

    void DropTaken();
    [[nodiscard]] qint64 FindResumePoint() const;

    static constexpr qint64 kNever = std::numeric_limits<qint64>::max();

    // Worker thread only.
    std::deque<Batch> mBatches;
    qsizetype mBytes = 0; // of all batches
    qint64 mAdded = 0;
    // Used in both threads. The worker writes mResumeAt before it reads mTaken. The owner thread writes
    // mTaken before it reads mResumeAt. So at least one of them sees that there is space again.
    std::atomic<qint64> mTaken = 0;
    std::atomic<qint64> mResumeAt = kNever;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_DELIVERYWINDOW_P_H
