// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_FRAMEQUEUE_P_H
#define QVUTIL_FRAMEQUEUE_P_H

// Internal, not API: may change in any version.

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QQueue>
#include <QTimer>
#include <QtNetwork/QLocalSocket>

namespace Quorvin::Util::Internal {

// A receiver keeps nothing from one read to the next, so a frame arrives whole or not at all. The kernel
// delivers a write in chunks of about 36 KiB. A frame of up to kMaxPiece bytes fits into one chunk. Larger
// frames stay whole because
//   - the send buffer is as large as the system allows, so that one write can take the whole frame;
//   - a large frame is written only when nothing else is queued, so that the whole buffer is free for it;
//   - the receiver drains the socket, and waits for the remainder of a large frame if the writer was
//     evidently interrupted in the middle of a write.

/// Frames up to this size (in bytes) always arrive in a single read.
inline constexpr qsizetype kMaxPiece = qsizetype(32) * 1024;

/// The requested size of the send buffer, in bytes. Not all systems grant it.
inline constexpr int kRequestedSendBuffer = 4 * 1024 * 1024;

/// Limits the send buffers of queues created from now on. Tests use it to simulate other systems.
/// \param bytes  0 for no limit
void LimitSendBuffer(int bytes);

/// Writes pieces to a socket in order, each with a single write if its size allows that. A piece is one
/// frame, or several that are together no larger than kMaxPiece.
///
/// \par Threads
/// Lives in the thread of the socket.
class FrameQueue final : public QObject
{
    Q_OBJECT
public:
    /// \param socket  a connected socket; becomes the parent, so that its destruction drops the queue
    explicit FrameQueue(QLocalSocket* socket);

    /// Writes a piece at once, or queues it until a single write can take it.
    /// \return false if it was queued
    bool Write(const QByteArray& piece);
    /// \return maximum size in bytes of a piece that a single write can take; 0 if unknown
    [[nodiscard]] qsizetype GetMaxWholeFrame() const { return mMaxWholeFrame; }
    /// \return bytes that have not been passed to the system
    [[nodiscard]] qint64 GetQueuedBytes() const { return mQueuedBytes + mSocket->bytesToWrite(); }
    [[nodiscard]] bool IsEmpty() const { return mPieces.isEmpty(); }

Q_SIGNALS:
    /// The first of the queued pieces was written.
    void QueuedPieceWritten();

private:
    [[nodiscard]] bool CanWriteWhole(qsizetype size) const;
    void WriteNow(const QByteArray& piece);
    void WriteQueued();

    QLocalSocket* mSocket;
    qsizetype mMaxWholeFrame;
    QQueue<QByteArray> mPieces;
    qint64 mQueuedBytes = 0;
    QElapsedTimer mQueuedSince; // when the current first piece moved to the front
    // Only active while pieces are queued: no system reports when the receiver has read the last byte.
    QTimer mTimer;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_FRAMEQUEUE_P_H
