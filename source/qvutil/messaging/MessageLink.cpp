// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageLink_p.h"

#include "base/Logging_p.h"
#include "base/QtCompat_p.h"
#include "messaging/MessageCodec_p.h"
#include "platform/Platform_p.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <limits>
#include <utility>

namespace Quorvin::Util {
namespace {

// A receiver that never finds the socket empty reads on until so many bytes are there, before it looks at
// them.
constexpr qsizetype kEnoughBytes = qsizetype(4) * 1024 * 1024;

// Nor does it wait any longer for the end of a document then.
constexpr qsizetype kMostBytes = qsizetype(64) * 1024 * 1024;

// How long the next piece of a large document may take once its beginning is there. The writer is in the
// middle of one system call then, and at the worst waits for a processor. The time is taken in steps: a
// machine that stalls as a whole uses up one of them, and not the writer's chance.
constexpr int kRestTimeoutMs = 500;
constexpr int kRestStepMs = 50;

// How many reads may pass before they have brought as much as one piece. Whoever writes in so small ones is
// not in the middle of one write.
constexpr int kMostReadsPerPiece = 64;

// A receiver that waits for its next message empties the socket within microseconds; one that does not is
// asked less and less often.
constexpr qint64 kImpatientNs = 300'000;
constexpr qint64 kLongestPauseMs = 20;

std::atomic<int> gSendBufferLimit{std::numeric_limits<int>::max()};

// Looks at bytes as they become more.
class DocumentWatch
{
public:
    // Whether the end of a large document is missing that the kernel hands over in several pieces. Smaller
    // ones come whole, so that nothing is to be waited for where they are cut off.
    [[nodiscard]] bool IsInMidDocument(const QByteArray& bytes)
    {
        constexpr QByteArrayView kEnd = "</Message>";
        if (bytes.size() < kWholePiece)
            return false;
        if (QByteArrayView(bytes).last(kEnd.size() + 2).trimmed().endsWith(kEnd))
            return false;
        const qsizetype from = std::max<qsizetype>(mSeen - kDocumentStartBytes.size() + 1, 0);
        const qsizetype start = QByteArrayView(bytes).sliced(from).lastIndexOf(kDocumentStartBytes);
        if (start >= 0)
            mStart = from + start;
        mSeen = bytes.size();
        return mStart >= 0 && bytes.size() - mStart >= kWholePiece;
    }

private:
    qsizetype mSeen = 0;
    qsizetype mStart = -1; // of the last document
};

// Past QLocalSocket, whose buffer is empty then: its own way of reading on would emit signals.
class SocketBytes final : public ByteSource
{
public:
    explicit SocketBytes(qintptr descriptor)
        : mDescriptor(descriptor)
    { }
    bool Read(QByteArray& bytes) override { return Platform::ReadAvailable(mDescriptor, bytes); }
    bool Wait(int timeoutMs) override { return Platform::WaitForBytes(mDescriptor, timeoutMs); }
    [[nodiscard]] bool IsToEnd() const override
    {
        return QThread::currentThread()->isInterruptionRequested();
    }

private:
    qintptr mDescriptor;
};

bool WaitForRest(ByteSource& source)
{
    for (int waitedMs = 0; waitedMs < kRestTimeoutMs && !source.IsToEnd(); waitedMs += kRestStepMs) {
        if (source.Wait(kRestStepMs))
            return true;
    }
    return false;
}

} // namespace

void LimitSendBuffer(int bytes)
{
    gSendBufferLimit = bytes > 0 ? bytes : std::numeric_limits<int>::max();
}

QString GetSocketPath(const QString& name)
{
    return name.startsWith(u'/') ? name : Internal::QDirCleanPath(QDir::tempPath()) + u'/' + name;
}

bool IsSocketNameTooLong(const QString& name)
{
    return QFile::encodeName(GetSocketPath(name)).size() > Platform::GetLongestSocketPath();
}

bool CanWriteWhole(const QLocalSocket& socket, qsizetype size)
{
    return size <= kWholePiece
        || (socket.bytesToWrite() == 0 && Platform::GetUnreadBytes(socket.socketDescriptor()) <= 0);
}

void ReadOn(ByteSource& source, QByteArray& bytes)
{
    DocumentWatch watch;
    qsizetype sizeAtPiece = bytes.size();
    int reads = 0;
    while (reads < kMostReadsPerPiece && !source.IsToEnd()) {
        const bool inMidDocument = watch.IsInMidDocument(bytes);
        if (bytes.size() >= (inMidDocument ? kMostBytes : kEnoughBytes))
            break;
        if (!source.Read(bytes) && !(inMidDocument && WaitForRest(source) && source.Read(bytes)))
            break;
        ++reads;
        if (bytes.size() - sizeAtPiece >= kWholePiece) {
            sizeAtPiece = bytes.size();
            reads = 0;
        }
    }
}

QByteArray TakeBytes(QLocalSocket& socket)
{
    QByteArray bytes = socket.readAll();
    const qintptr descriptor = socket.socketDescriptor();
    if (bytes.isEmpty() || descriptor == -1)
        return bytes;
    SocketBytes source(descriptor);
    ReadOn(source, bytes);
    return bytes;
}

QList<MessageInfo> TakeMessages(QLocalSocket& socket)
{
    QList<MessageInfo> messages;
    const QByteArray bytes = TakeBytes(socket);
    if (!bytes.isEmpty())
        DecodeMessage(bytes, messages);
    return messages;
}

MessageWriter::MessageWriter(QLocalSocket* socket)
    : QObject(socket)
    , mSocket(socket)
    , mLargestWhole(Platform::EnlargeSendBuffer(socket->socketDescriptor(),
                                                std::min(kWantedSendBuffer, gSendBufferLimit.load())))
{
    mTimer.setSingleShot(true);
    mTimer.setTimerType(Qt::PreciseTimer);
    connect(&mTimer, &QTimer::timeout, this, &MessageWriter::WriteWaiting);
}

void MessageWriter::Write(const MessageInfo& message)
{
    if (mWaiting.isEmpty()) {
        const QByteArray document = MakeDocument(message);
        if (CanWriteWhole(*mSocket, document.size())) {
            WriteNow(message, document);
            return;
        }
        mNextDocument = document;
        mWaitingSince.start();
        mTimer.start(0);
    }
    mWaiting.enqueue(message);
}

void MessageWriter::WriteNow(const MessageInfo& message, const QByteArray& document)
{
    mSocket->write(document);
    mSocket->flush();
    Q_EMIT Written(message);
}

void MessageWriter::WriteWaiting()
{
    while (!mWaiting.isEmpty() && mSocket->state() == QLocalSocket::ConnectedState) {
        if (mNextDocument.isEmpty())
            mNextDocument = MakeDocument(mWaiting.head());
        if (!CanWriteWhole(*mSocket, mNextDocument.size())) {
            const qint64 waitedNs = mWaitingSince.nsecsElapsed();
            const qint64 pauseMs
                = waitedNs < kImpatientNs ? 0 : std::clamp(waitedNs / 8'000'000, qint64(1), kLongestPauseMs);
            mTimer.start(static_cast<int>(pauseMs));
            return;
        }
        WriteNow(mWaiting.dequeue(), std::exchange(mNextDocument, {}));
        mWaitingSince.start();
    }
}

QByteArray MessageWriter::MakeDocument(const MessageInfo& message) const
{
    const QByteArray document = EncodeMessageAsBytes(message);
    if (mLargestWhole > 0 && document.size() > mLargestWhole) {
        qCWarning(
            Internal::lcQvUtil,
            "message \"%ls\" has a document of %lld bytes: one of up to %lld bytes travels in one piece, a "
            "larger one may be lost",
            qUtf16Printable(message.Id), static_cast<long long>(document.size()),
            static_cast<long long>(mLargestWhole));
    }
    return document;
}

} // namespace Quorvin::Util
