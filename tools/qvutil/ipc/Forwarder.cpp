// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/Forwarder.h"

#include <qvutil/messaging/MessageCodec_p.h>
#include <qvutil/messaging/MessageLink_p.h>
#include <qvutil/platform/Platform_p.h>

#include <utility>

namespace Quorvin::Tool {
namespace {

// With so much under way the sender has to wait, as it would have to without us.
constexpr qsizetype kMostWaiting = qsizetype(8) * 1024 * 1024;
constexpr qint64 kReadBuffer = 1024 * 1024;
constexpr int kPauseMs = 1;

} // namespace

Forwarder::Forwarder(QLocalSocket& from, QLocalSocket& to, std::function<void(const QByteArray&)> onBytes)
    : mFrom(from)
    , mTo(to)
    , mOnBytes(std::move(onBytes))
{
    mFrom.setReadBufferSize(kReadBuffer);
    mTimer.setSingleShot(true);
    mTimer.setTimerType(Qt::PreciseTimer);
}

void Forwarder::Start()
{
    (void)Util::Platform::EnlargeSendBuffer(mTo.socketDescriptor(), Util::kWantedSendBuffer);
    QObject::connect(&mTimer, &QTimer::timeout, &mContext, [this] { WriteWaiting(); });
    QObject::connect(&mTo, &QLocalSocket::bytesWritten, &mContext, [this] { WriteWaiting(); });
    QObject::connect(&mFrom, &QLocalSocket::readyRead, &mContext, [this] { Take(); });
    QObject::connect(&mFrom, &QLocalSocket::disconnected, &mContext, [this] { Take(); });
    Take();
}

void Forwarder::Take()
{
    if (mWaitingBytes + mTo.bytesToWrite() < kMostWaiting) {
        if (const QByteArray bytes = Util::TakeBytes(mFrom); !bytes.isEmpty()) {
            Util::ForEachPiece(QByteArrayView(bytes), Util::kDocumentStartBytes,
                               [this](QByteArrayView piece) {
                                   mWaiting.enqueue(piece.toByteArray());
                                   mWaitingBytes += piece.size();
                               });
            WriteWaiting();
            mOnBytes(bytes);
        }
    }
    FinishIfDone();
}

void Forwarder::WriteWaiting()
{
    while (!mWaiting.isEmpty() && mTo.state() == QLocalSocket::ConnectedState) {
        if (!Util::CanWriteWhole(mTo, mWaiting.head().size())) {
            mTimer.start(kPauseMs);
            return;
        }
        const QByteArray piece = mWaiting.dequeue();
        mWaitingBytes -= piece.size();
        mTo.write(piece);
        mTo.flush();
    }
    if (mFrom.bytesAvailable() > 0) // left there while too much was waiting
        QTimer::singleShot(0, &mContext, [this] { Take(); });
    else
        FinishIfDone();
}

void Forwarder::FinishIfDone()
{
    if (mFrom.state() == QLocalSocket::UnconnectedState && mFrom.bytesAvailable() == 0 && mWaiting.isEmpty())
        mTo.disconnectFromServer(); // writes what is left
}

} // namespace Quorvin::Tool
