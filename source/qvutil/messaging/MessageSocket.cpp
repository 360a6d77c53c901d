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

namespace Quorvin::Util::Internal {
namespace {

// Stop draining after this many bytes even if more keep coming.
constexpr qsizetype kMaxBytes = qsizetype(4) * 1024 * 1024;

// Give up on an unfinished frame beyond this size: no system keeps a larger one in one piece.
constexpr qsizetype kMaxFrameBytes = 2 * qsizetype(kRequestedSendBuffer);

// How long one call may wait for the rest of large frames, however often something trickles in. The writer is
// in the middle of one system call then, and at most waits for a processor. The time is taken in steps: a
// machine that stalls as a whole uses up one of them only.
constexpr int kRestTimeoutMs = 500;
constexpr int kRestStepMs = 50;
constexpr qint64 kNsPerMs = 1'000'000;

// A queue that is longer than this, in bytes, is logged.
constexpr qint64 kMaxQuietQueue = qint64(16) * 1024 * 1024;

// How many reads may pass before they have brought as much as one piece. A peer that writes in smaller parts
// is not in the middle of one write.
constexpr int kMaxReadsPerPiece = 64;

bool IsThreadToStop()
{
    return QThread::currentThread()->isInterruptionRequested();
}

// Looks at bytes as they become more.
class PartialFrameDetector
{
public:
    // Whether the end of a large frame is missing, which the kernel hands over in several pieces. Smaller
    // ones always come whole: there is nothing to wait for where they are cut off.
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
    qsizetype mStart = -1; // of the last frame
};

// Past QLocalSocket, whose buffer is empty then: its own way of reading on would emit signals.
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

// What is left of the time that may be spent waiting.
class RestTime
{
public:
    // Waits for the next piece. \return false if there is no time left
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
    return QFile::encodeName(GetSocketPath(name)).size() > Platform::GetLongestSocketPath();
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
    // QLocalSocket reads by itself as much as it may. With one byte it waits until that is taken.
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
    , mFrames(new FrameQueue(socket))
{
    connect(mFrames, &FrameQueue::QueuedFrameWritten, this, [this] { Q_EMIT Written(mQueued.dequeue()); });
}

void MessageWriter::Write(const MessageInfo& message)
{
    if (mFrames->Write(Encode(message))) {
        Q_EMIT Written(message);
    } else {
        mQueued.enqueue(message);
    }
    if (!mHasWarned && mFrames->GetQueuedBytes() > kMaxQuietQueue)
        WarnOfLongQueue();
}

void MessageWriter::WarnOfLongQueue()
{
    mHasWarned = true;
    qCWarning(lcQvUtil, "%lld bytes wait to be sent: the receiver does not read, or too slowly",
              static_cast<long long>(mFrames->GetQueuedBytes()));
}

QByteArray MessageWriter::Encode(const MessageInfo& message) const
{
    const QByteArray frame = EncodeMessageAsBytes(message);
    const qsizetype maxSize = mFrames->GetMaxWholeFrame();
    if (maxSize > 0 && frame.size() > maxSize) {
        qCWarning(
            lcQvUtil,
            "message \"%ls\" has a document of %lld bytes: one of up to %lld bytes travels in one piece, a "
            "larger one may be lost",
            qUtf16Printable(message.Id), static_cast<long long>(frame.size()),
            static_cast<long long>(maxSize));
    }
    return frame;
}

} // namespace Quorvin::Util::Internal
