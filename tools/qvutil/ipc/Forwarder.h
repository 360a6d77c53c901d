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

/// Forwards the bytes from one socket to another, unchanged and in order. A frame that arrived in a single
/// read is forwarded in a single write, as far as the system allows. When the sender disconnects, the
/// receiver is disconnected after the last byte.
class Forwarder
{
public:
    /// \param onBytes  called with the bytes of each read after they have been forwarded
    Forwarder(QLocalSocket& from, QLocalSocket& to, std::function<void(const QByteArray&)> onBytes);
    ~Forwarder();
    Q_DISABLE_COPY_MOVE(Forwarder)

    /// Starts reading. Call this as soon as \p to is connected.
    void Start();

private:
    void Take();
    void OnWritten();
    void FinishIfDone();

    QLocalSocket& mFrom;
    QLocalSocket& mTo;
    std::function<void(const QByteArray&)> mOnBytes;
    QPointer<Util::Internal::FrameQueue> mFrames; // owned by mTo
    QObject mContext; // declared last, so that it is destroyed first and ends the signal connections
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_FORWARDER_H
