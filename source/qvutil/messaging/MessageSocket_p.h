// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGESOCKET_P_H
#define QVUTIL_MESSAGESOCKET_P_H

// This file is not part of the interface. It may change from one version to the next.

#include "IPC.h"
#include "messaging/DeliveryWindow_p.h"
#include "messaging/FrameQueue_p.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QQueue>
#include <QtNetwork/QLocalSocket>

// What both ends of a link do with their socket, in the thread that owns it. How frames are kept whole:
// FrameQueue_p.h.
namespace Quorvin::Util::Internal {

/// Where more bytes come from: a socket.
class ByteSource
{
public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    Q_DISABLE_COPY_MOVE(ByteSource)
    /// Reads what is there, without waiting.
    /// \return false if there was nothing, or if the connection has ended
    virtual bool Read(QByteArray& bytes) = 0;
    /// Waits until there is something to read, or the connection has ended.
    /// \return how long that took, in nanoseconds; -1 if the time is over
    virtual qint64 Wait(int timeoutMs) = 0;
    /// Whether the thread that reads is to end.
    [[nodiscard]] virtual bool ShouldStop() const = 0;
};

/// Reads until the source is empty and no large frame is cut off. Stops earlier when there is enough, when
/// little comes in many reads, when waiting for the rest of frames has taken half a second in all, or when
/// the thread is to end. \param bytes  what was read already; is appended to
void Drain(ByteSource& source, QByteArray& bytes);

/// Reads all bytes that a socket has to give at the moment, and the rest of a large frame in them.
[[nodiscard]] QByteArray ReadAvailableBytes(QLocalSocket& socket);

/// Reads the messages in all bytes that a socket has to give at the moment.
/// \param window  counts them, unless it is null; while it is full, nothing is read, and the socket is left
/// to
///                fill up, so that its peer has to wait
[[nodiscard]] QList<MessageInfo> ReadMessages(QLocalSocket& socket, DeliveryWindow* window = nullptr);

/// \return path of the socket of a server with that name
[[nodiscard]] QString GetSocketPath(const QString& name);

/// Whether the socket of a server with that name would have a path that is too long for the system.
[[nodiscard]] bool IsSocketNameTooLong(const QString& name);

/// Whether a process of the user \p own may talk to one of the user \p user: the same user, or root.
[[nodiscard]] constexpr bool IsTrustedUser(quint32 user, quint32 own)
{
    return user == own || user == 0;
}

/// Whether the process at the other end may be talked to: one of the same user or of root. Where the system
/// does not tell, it may.
[[nodiscard]] bool IsTrustedPeer(const QLocalSocket& socket);

/// Writes messages to a socket, whole and in order.
class MessageWriter final : public QObject
{
    Q_OBJECT
public:
    /// \param socket  a connected socket; becomes the parent
    explicit MessageWriter(QLocalSocket* socket);

    /// Writes a message at once, or as soon as it can be written in one piece.
    void Write(const MessageInfo& message);

Q_SIGNALS:
    /// A message was written to the socket.
    void Written(const MessageInfo& msg);

private:
    [[nodiscard]] QByteArray Encode(const MessageInfo& message) const;
    void WarnOfLongQueue();

    FrameQueue* mFrames;
    QQueue<MessageInfo> mQueued; // whose frames are queued
    bool mHasWarned = false;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_MESSAGESOCKET_P_H
