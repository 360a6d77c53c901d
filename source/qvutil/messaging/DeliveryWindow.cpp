// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/DeliveryWindow_p.h"

namespace Quorvin::Util::Internal {

void DeliveryWindow::Add(qsizetype messages, qsizetype bytes)
{
    if (messages == 0)
        return;
    mAdded += messages;
    mBytes += bytes;
    mBatches.push_back({mAdded, bytes});
}

bool DeliveryWindow::IsFull()
{
    DropTaken();
    while (mBytes > kMaxUndelivered) {
        const qint64 resumeAt = FindResumePoint();
        mResumeAt.store(resumeAt);
        if (mTaken.load() < resumeAt)
            return true;
        mResumeAt.store(kNever);
        DropTaken();
    }
    return false;
}

bool DeliveryWindow::Take()
{
    const qint64 taken = mTaken.fetch_add(1) + 1;
    return taken >= mResumeAt.load() && mResumeAt.exchange(kNever) != kNever;
}

void DeliveryWindow::DropTaken()
{
    for (const qint64 taken = mTaken.load(); !mBatches.empty() && mBatches.front().End <= taken;) {
        mBytes -= mBatches.front().Bytes;
        mBatches.pop_front();
    }
}

// Returns the number of the message after which at most half of the bytes are still queued. Resuming earlier
// is not worthwhile.
qint64 DeliveryWindow::FindResumePoint() const
{
    qsizetype bytes = mBytes;
    for (const Batch& batch : mBatches) {
        bytes -= batch.Bytes;
        if (bytes <= kMaxUndelivered / 2)
            return batch.End;
    }
    return mAdded;
}

} // namespace Quorvin::Util::Internal
