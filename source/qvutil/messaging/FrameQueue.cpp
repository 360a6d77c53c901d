// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/FrameQueue_p.h"

#include "platform/Platform_p.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace Quorvin::Util::Internal {
namespace {

// A receiver that is waiting for messages drains the socket within microseconds, so the queue checks for free
// space eagerly at first. After that, it checks less and less often.
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

bool FrameQueue::Write(const QByteArray& piece)
{
    if (mPieces.isEmpty()) {
        if (CanWriteWhole(piece.size())) {
            WriteNow(piece);
            return true;
        }
        mQueuedSince.start();
        mTimer.start(0);
    }
    mPieces.enqueue(piece);
    mQueuedBytes += piece.size();
    return false;
}

bool FrameQueue::CanWriteWhole(qsizetype size) const
{
    return size <= kMaxPiece
        || (mSocket->bytesToWrite() == 0 && Platform::GetUnreadBytes(mSocket->socketDescriptor()) <= 0);
}

void FrameQueue::WriteNow(const QByteArray& piece)
{
    // Bypass QLocalSocket while its own buffer is empty: its write() copies the bytes, and wakes the thread
    // again later just to find that they have been written. QLocalSocket still detects errors.
    const qsizetype written
        = mSocket->bytesToWrite() == 0 ? Platform::WriteAvailable(mSocket->socketDescriptor(), piece) : 0;
    if (written == piece.size())
        return;
    mSocket->write(piece.constData() + written, piece.size() - written);
    mSocket->flush();
}

void FrameQueue::WriteQueued()
{
    while (!mPieces.isEmpty() && mSocket->state() == QLocalSocket::ConnectedState) {
        if (!CanWriteWhole(mPieces.head().size())) {
            const qint64 waitedNs = mQueuedSince.nsecsElapsed();
            const qint64 pauseMs
                = waitedNs < kMaxEagerNs ? 0 : std::clamp(waitedNs / 8'000'000, qint64(1), kMaxPauseMs);
            mTimer.start(static_cast<int>(pauseMs));
            return;
        }
        const QByteArray piece = mPieces.dequeue();
        mQueuedBytes -= piece.size();
        WriteNow(piece);
        mQueuedSince.start();
        Q_EMIT QueuedPieceWritten();
    }
}

} // namespace Quorvin::Util::Internal
