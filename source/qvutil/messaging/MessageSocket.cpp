// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageSocket_p.h"

#include "base/Logging_p.h"
#include "base/QtCompat_p.h"
#include "messaging/MessageCodec_p.h"
#include "platform/Platform_p.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <optional>
#include <utility>

namespace Quorvin::Util::Internal {
namespace {

// Stop draining after this many bytes, even if more arrive.
constexpr qsizetype kMaxBytes = qsizetype(4) * 1024 * 1024;

// Drop an unfinished frame that is larger than this: no system delivers it whole.
constexpr qsizetype kMaxFrameBytes = 2 * qsizetype(kRequestedSendBuffer);

// Time-out for the remainders of all large frames in one call, however often a few bytes arrive. It is short,
// because the writer is in the middle of a system call and needs only processor time. The time is counted in
// steps, so that a stalled machine uses up only one of them.
constexpr int kRestTimeoutMs = 500;
constexpr int kRestStepMs = 50;
constexpr qint64 kNsPerMs = 1'000'000;

// A queue longer than this, in bytes, is logged.
constexpr qint64 kMaxQuietQueue = qint64(16) * 1024 * 1024;

// Maximum number of reads for kMaxPiece bytes. A peer that writes in smaller parts is not in the middle of
// one write.
constexpr int kMaxReadsPerPiece = 64;

bool IsThreadToStop()
{
    return QThread::currentThread()->isInterruptionRequested();
}

// Detects an unfinished frame at the end of the bytes read so far.
class PartialFrameDetector
{
public:
    // Returns whether the bytes end inside a large frame, which the kernel may deliver in several parts.
    // Smaller frames arrive whole or not at all, so waiting for the remainder of one is useless.
    [[nodiscard]] bool IsInMidFrame(const QByteArray& bytes)
    {
        constexpr QByteArrayView kEnd = "</Message>";
        if (bytes.size() < kMaxPiece)
            return false;
        if (QByteArrayView(bytes).last(kEnd.size() + 2).trimmed().endsWith(kEnd))
            return false;
        const qsizetype from = std::max<qsizetype>(mSeen - kFrameStartBytes.size() + 1, 0);
        const qsizetype start = QByteArrayView(bytes).sliced(from).lastIndexOf(kFrameStartBytes);
        if (start >= 0)
            mStart = from + start;
        mSeen = bytes.size();
        return mStart >= 0 && bytes.size() - mStart >= kMaxPiece;
    }

private:
    qsizetype mSeen = 0;
    qsizetype mStart = -1; // start of the last frame
};

// Bypasses QLocalSocket, whose buffer is empty at this point: reading through it would emit signals.
class SocketBytes final : public ByteSource
{
public:
    explicit SocketBytes(qintptr descriptor)
        : mDescriptor(descriptor)
    { }
    bool Read(QByteArray& bytes) override { return Platform::ReadAvailable(mDescriptor, bytes); }
    qint64 Wait(int timeoutMs) override
    {
        QElapsedTimer timer;
        timer.start();
        return Platform::WaitForBytes(mDescriptor, timeoutMs) ? timer.nsecsElapsed() : -1;
    }
    [[nodiscard]] bool ShouldStop() const override { return IsThreadToStop(); }

private:
    qintptr mDescriptor;
};

// The remaining time for waits.
class RestTime
{
public:
    // Waits for the next bytes. \return false after the time-out
    bool Wait(ByteSource& source)
    {
        while (mLeftNs > 0 && !source.ShouldStop()) {
            const qint64 waitedNs = source.Wait(kRestStepMs);
            mLeftNs -= waitedNs >= 0 ? std::min(waitedNs, kStepNs) : kStepNs;
            if (waitedNs >= 0)
                return true;
        }
        return false;
    }

private:
    static constexpr qint64 kStepNs = kRestStepMs * kNsPerMs;

    qint64 mLeftNs = kRestTimeoutMs * kNsPerMs;
};

} // namespace

QString GetSocketPath(const QString& name)
{
    return name.startsWith(u'/') ? name : QDirCleanPath(QDir::tempPath()) + u'/' + name;
}

bool IsSocketNameTooLong(const QString& name)
{
    return QFile::encodeName(GetSocketPath(name)).size() > Platform::GetMaxSocketPathLength();
}

bool IsTrustedPeer(const QLocalSocket& socket)
{
    const std::optional<quint32> user = Platform::GetPeerUserId(socket.socketDescriptor());
    return !user || IsTrustedUser(*user, Platform::GetUserId());
}

void Drain(ByteSource& source, QByteArray& bytes)
{
    PartialFrameDetector detector;
    RestTime restTime;
    qsizetype sizeAtPiece = bytes.size();
    int reads = 0;
    while (reads < kMaxReadsPerPiece && !source.ShouldStop()) {
        const bool inMidFrame = detector.IsInMidFrame(bytes);
        if (bytes.size() >= (inMidFrame ? kMaxFrameBytes : kMaxBytes))
            break;
        if (!source.Read(bytes) && !(inMidFrame && restTime.Wait(source) && source.Read(bytes)))
            break;
        ++reads;
        if (bytes.size() - sizeAtPiece >= kMaxPiece) {
            sizeAtPiece = bytes.size();
            reads = 0;
        }
    }
}

QByteArray ReadAvailableBytes(QLocalSocket& socket)
{
    QByteArray bytes = socket.readAll();
    const qintptr descriptor = socket.socketDescriptor();
    if (bytes.isEmpty() || descriptor == -1)
        return bytes;
    SocketBytes source(descriptor);
    Drain(source, bytes);
    return bytes;
}

QList<MessageInfo> ReadMessages(QLocalSocket& socket, DeliveryWindow* window)
{
    // With a read buffer of one byte, QLocalSocket stops reading by itself until that byte is read.
    const auto isPaused = [&socket, window] {
        const bool isFull = window->IsFull();
        socket.setReadBufferSize(isFull ? 1 : 0);
        return isFull;
    };
    if (window != nullptr && isPaused())
        return {};
    QList<MessageInfo> messages;
    const QByteArray bytes = ReadAvailableBytes(socket);
    if (!bytes.isEmpty())
        DecodeMessage(bytes, messages, &IsThreadToStop);
    if (window != nullptr) {
        window->Add(messages.size(), bytes.size());
        static_cast<void>(isPaused());
    }
    return messages;
}

MessageWriter::MessageWriter(QLocalSocket* socket)
    : QObject(socket)
    , mSocket(socket)
    , mFrames(new FrameQueue(socket))
{
    connect(mFrames, &FrameQueue::QueuedPieceWritten, this, [this] {
        const QList<MessageInfo> written = mQueued.dequeue();
        for (const MessageInfo& message : written)
            Q_EMIT Written(message);
    });
}

void MessageWriter::Write(std::span<const MessageInfo> messages)
{
    size_t first = 0; // index of the first message in the piece
    QByteArray piece;
    for (size_t i = 0; i < messages.size(); ++i) {
        const QByteArray frame = Encode(messages[i]);
        if (i > first && piece.size() + frame.size() > kMaxPiece) {
            WritePiece(std::exchange(piece, {}), messages.subspan(first, i - first));
            first = i;
        }
        if (mSocket->state() != QLocalSocket::ConnectedState)
            return;
        if (i == first)
            piece = frame;
        else
            piece.append(frame);
    }
    if (first < messages.size())
        WritePiece(piece, messages.subspan(first));
}

void MessageWriter::WritePiece(const QByteArray& frames, std::span<const MessageInfo> messages)
{
    if (mFrames->Write(frames)) {
        // If the connection turned out to be closed, the first message counts as written, as if each had been
        // written separately, and the others are dropped.
        if (mSocket->state() != QLocalSocket::ConnectedState)
            messages = messages.first(1);
        for (const MessageInfo& message : messages)
            Q_EMIT Written(message);
    } else {
        mQueued.enqueue(QList<MessageInfo>(messages.begin(), messages.end()));
    }
    if (!mHasWarned && mFrames->GetQueuedBytes() > kMaxQuietQueue)
        WarnOfLongQueue();
}

void MessageWriter::WarnOfLongQueue()
{
    mHasWarned = true;
    qCWarning(lcQvUtil, "%lld bytes are queued: the receiver reads too slowly, or not at all",
              static_cast<long long>(mFrames->GetQueuedBytes()));
}

QByteArray MessageWriter::Encode(const MessageInfo& message) const
{
    const QByteArray frame = EncodeMessageAsBytes(message);
    const qsizetype maxSize = mFrames->GetMaxWholeFrame();
    if (maxSize > 0 && frame.size() > maxSize) {
        qCWarning(lcQvUtil,
                  "message \"%ls\" has a frame of %lld bytes: frames of up to %lld bytes arrive whole, a "
                  "larger one may be lost",
                  qUtf16Printable(message.Id), static_cast<long long>(frame.size()),
                  static_cast<long long>(maxSize));
    }
    return frame;
}

} // namespace Quorvin::Util::Internal
