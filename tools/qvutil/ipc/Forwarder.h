// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_FORWARDER_H
#define QVUTIL_TOOL_IPC_FORWARDER_H

#include <qvutil/messaging/FrameQueue_p.h>

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QtNetwork/QLocalSocket>

#include <functional>

namespace Quorvin::Tool {

/// Hands on what comes from one socket to another: every byte, in order, and nothing else. A document that
/// came in one piece goes on in one piece, as far as the system allows. When the sender has gone, the
/// receiver is disconnected after its last byte.
class Forwarder
{
public:
    /// \param onBytes  told what one read has brought, after it has gone on
    Forwarder(QLocalSocket& from, QLocalSocket& to, std::function<void(const QByteArray&)> onBytes);
    ~Forwarder();
    Q_DISABLE_COPY_MOVE(Forwarder)

    /// To be called as soon as \p to is connected: nothing is read before.
    void Start();

private:
    void Take();
    void OnWritten();
    void FinishIfDone();

    QLocalSocket& mFrom;
    QLocalSocket& mTo;
    std::function<void(const QByteArray&)> mOnBytes;
    QPointer<Util::Internal::FrameQueue> mFrames; // belongs to mTo
    QObject mContext; // ends the connections first
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_FORWARDER_H
