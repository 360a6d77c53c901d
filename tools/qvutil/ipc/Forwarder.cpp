// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/Forwarder.h"

#include <qvutil/messaging/MessageCodec_p.h>
#include <qvutil/messaging/MessageSocket_p.h>

#include <QTimer>

#include <utility>

namespace Quorvin::Tool {
namespace {

// While this many bytes are queued, the sender has to wait, as it would without the proxy.
constexpr qsizetype kMaxQueued = qsizetype(8) * 1024 * 1024;
constexpr qint64 kReadBuffer = 1024 * 1024;

} // namespace

Forwarder::Forwarder(QLocalSocket& from, QLocalSocket& to, std::function<void(const QByteArray&)> onBytes)
    : mFrom(from)
    , mTo(to)
    , mOnBytes(std::move(onBytes))
{
    mFrom.setReadBufferSize(kReadBuffer);
}

Forwarder::~Forwarder()
{
    delete mFrames.data();
}

void Forwarder::Start()
{
    mFrames = new Util::Internal::FrameQueue(&mTo);
    QObject::connect(mFrames, &Util::Internal::FrameQueue::QueuedPieceWritten, &mContext,
                     [this] { OnWritten(); });
    QObject::connect(&mTo, &QLocalSocket::bytesWritten, &mContext, [this] { OnWritten(); });
    QObject::connect(&mFrom, &QLocalSocket::readyRead, &mContext, [this] { Take(); });
    QObject::connect(&mFrom, &QLocalSocket::disconnected, &mContext, [this] { Take(); });
    Take();
}

void Forwarder::Take()
{
    if (mFrames->GetQueuedBytes() < kMaxQueued) {
        if (const QByteArray bytes = Util::Internal::ReadAvailableBytes(mFrom); !bytes.isEmpty()) {
            Util::Internal::ForEachPiece(
                QByteArrayView(bytes), Util::Internal::kFrameStartBytes,
                [this](QByteArrayView piece) { mFrames->Write(piece.toByteArray()); });
            mOnBytes(bytes);
        }
    }
    FinishIfDone();
}

void Forwarder::OnWritten()
{
    if (mFrom.bytesAvailable() > 0) // bytes that were left unread while too many were queued
        QTimer::singleShot(0, &mContext, [this] { Take(); });
    else
        FinishIfDone();
}

void Forwarder::FinishIfDone()
{
    if (mFrom.state() == QLocalSocket::UnconnectedState && mFrom.bytesAvailable() == 0 && mFrames->IsEmpty())
        mTo.disconnectFromServer(); // writes the queued bytes first
}

} // namespace Quorvin::Tool
