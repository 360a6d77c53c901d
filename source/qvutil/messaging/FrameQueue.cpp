// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/FrameQueue_p.h"

#include "platform/Platform_p.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace Quorvin::Util::Internal {
namespace {

// A receiver that waits for its next message drains the socket within microseconds. For others, the queue
// checks less and less often.
constexpr qint64 kMaxEagerNs = 300'000;
constexpr qint64 kMaxPauseMs = 20;

std::atomic<int> gMaxSendBuffer{std::numeric_limits<int>::max()};

} // namespace

void LimitSendBuffer(int bytes)
{
    gMaxSendBuffer = bytes > 0 ? bytes : std::numeric_limits<int>::max();
}

FrameQueue::FrameQueue(QLocalSocket* socket)
    : QObject(socket)
    , mSocket(socket)
    , mMaxWholeFrame(Platform::EnlargeSendBuffer(socket->socketDescriptor(),
                                                 std::min(kRequestedSendBuffer, gMaxSendBuffer.load())))
{
    mTimer.setSingleShot(true);
    mTimer.setTimerType(Qt::PreciseTimer);
    connect(&mTimer, &QTimer::timeout, this, &FrameQueue::WriteQueued);
}

bool FrameQueue::Write(const QByteArray& frame)
{
    if (mFrames.isEmpty()) {
        if (CanWriteWhole(frame.size())) {
            WriteNow(frame);
            return true;
        }
        mQueuedSince.start();
        mTimer.start(0);
    }
    mFrames.enqueue(frame);
    mQueuedBytes += frame.size();
    return false;
}

bool FrameQueue::CanWriteWhole(qsizetype size) const
{
    return size <= kMaxPiece
        || (mSocket->bytesToWrite() == 0 && Platform::GetUnreadBytes(mSocket->socketDescriptor()) <= 0);
}

void FrameQueue::WriteNow(const QByteArray& frame)
{
    mSocket->write(frame);
    mSocket->flush();
}

void FrameQueue::WriteQueued()
{
    while (!mFrames.isEmpty() && mSocket->state() == QLocalSocket::ConnectedState) {
        if (!CanWriteWhole(mFrames.head().size())) {
            const qint64 waitedNs = mQueuedSince.nsecsElapsed();
            const qint64 pauseMs
                = waitedNs < kMaxEagerNs ? 0 : std::clamp(waitedNs / 8'000'000, qint64(1), kMaxPauseMs);
            mTimer.start(static_cast<int>(pauseMs));
            return;
        }
        const QByteArray frame = mFrames.dequeue();
        mQueuedBytes -= frame.size();
        WriteNow(frame);
        mQueuedSince.start();
        Q_EMIT QueuedFrameWritten();
    }
}

} // namespace Quorvin::Util::Internal
