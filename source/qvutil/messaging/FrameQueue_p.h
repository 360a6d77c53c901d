// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_FRAMEQUEUE_P_H
#define QVUTIL_FRAMEQUEUE_P_H

// This file is not part of the interface. It may change from one version to the next.

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QQueue>
#include <QTimer>
#include <QtNetwork/QLocalSocket>

namespace Quorvin::Util::Internal {

// A receiver keeps nothing from one read to the next, so that a frame arrives whole or not at all. The kernel
// hands over a write in pieces of about 36 KiB. A frame of up to kMaxPiece is one piece. Larger ones stay
// together because
//   - the send buffer is as large as the system lets it be, so that one write can take all of the frame;
//   - such a frame is written only when nothing is under way, so that all of the buffer is free for it;
//   - the receiver drains the socket, and waits for the rest of a large frame where the writer was evidently
//     interrupted in the middle of its write.

/// Frames of up to this size, in bytes, always arrive in a single read, whatever else is under way.
inline constexpr qsizetype kMaxPiece = qsizetype(32) * 1024;

/// The send buffer that is asked of the system, in bytes. Not all systems grant it.
inline constexpr int kRequestedSendBuffer = 4 * 1024 * 1024;

/// Limits the send buffers of queues made from now on. Tests lower it to what other systems would grant.
/// \param bytes  0 for no limit
void LimitSendBuffer(int bytes);

/// Writes frames to a socket, each in one piece as far as its size allows, and in order.
///
/// \par Threads
/// The thread of the socket.
class FrameQueue final : public QObject
{
    Q_OBJECT
public:
    /// \param socket  a connected socket; becomes the parent, so that what still waits goes with it
    explicit FrameQueue(QLocalSocket* socket);

    /// Writes a frame at once, or queues it until it can be written in one piece.
    /// \return whether it was written at once
    bool Write(const QByteArray& frame);
    /// \return size, in bytes, of the largest frame that can be written in one piece; 0 if that is not known
    [[nodiscard]] qsizetype GetMaxWholeFrame() const { return mMaxWholeFrame; }
    /// \return bytes that the system has not yet taken
    [[nodiscard]] qint64 GetQueuedBytes() const { return mQueuedBytes + mSocket->bytesToWrite(); }
    [[nodiscard]] bool IsEmpty() const { return mFrames.isEmpty(); }

Q_SIGNALS:
    /// The first of the queued frames was written.
    void QueuedFrameWritten();

private:
    [[nodiscard]] bool CanWriteWhole(qsizetype size) const;
    void WriteNow(const QByteArray& frame);
    void WriteQueued();

    QLocalSocket* mSocket;
    qsizetype mMaxWholeFrame;
    QQueue<QByteArray> mFrames;
    qint64 mQueuedBytes = 0;
    QElapsedTimer mQueuedSince; // the first frame has been the first since then
    // Runs only while something is queued: no system tells when the receiver has taken the last byte.
    QTimer mTimer;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_FRAMEQUEUE_P_H
