// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGESOCKET_P_H
#define QVUTIL_MESSAGESOCKET_P_H

// Internal, not API: may change in any version.

#include "IPC.h"
#include "messaging/DeliveryWindow_p.h"
#include "messaging/FrameQueue_p.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QQueue>
#include <QtNetwork/QLocalSocket>

#include <span>

// Reads and writes messages at both ends of a connection, in the thread that owns the socket. FrameQueue_p.h
// explains how frames are kept whole.
namespace Quorvin::Util::Internal {

/// A source of bytes, such as a socket.
class ByteSource
{
public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    Q_DISABLE_COPY_MOVE(ByteSource)
    /// Reads the available bytes without waiting.
    /// \return false if there were none, or if the connection is closed
    virtual bool Read(QByteArray& bytes) = 0;
    /// Waits until there is something to read or the connection is closed.
    /// \return how long that took, in nanoseconds; -1 after the time-out
    virtual qint64 Wait(int timeoutMs) = 0;
    /// Returns whether the reading thread should end.
    [[nodiscard]] virtual bool ShouldStop() const = 0;
};

/// Reads until the source is empty and no large frame is incomplete. Stops earlier after 4 MiB, if many
/// reads return little, if waiting for the remainder of frames has taken half a second in total, or if the
/// thread should end.
/// \param bytes  what was already read; more is appended
void Drain(ByteSource& source, QByteArray& bytes);

/// Reads all bytes that are available on a socket, and waits for the remainder of a large frame.
[[nodiscard]] QByteArray ReadAvailableBytes(QLocalSocket& socket);

/// Reads the messages in all bytes that are available on a socket.
/// \param window  counts them; may be null. While it is full, nothing is read, so the socket fills up and the
///                peer has to wait.
[[nodiscard]] QList<MessageInfo> ReadMessages(QLocalSocket& socket, DeliveryWindow* window = nullptr);

/// \return path of the socket of a server with that name
[[nodiscard]] QString GetSocketPath(const QString& name);

/// Returns whether the path of the socket of a server with that name would be too long for the system.
[[nodiscard]] bool IsSocketNameTooLong(const QString& name);

/// Returns whether a process of user \p own may talk to a process of user \p user. Only the same user and
/// root are trusted.
[[nodiscard]] constexpr bool IsTrustedUser(quint32 user, quint32 own)
{
    return user == own || user == 0;
}

/// Returns whether the peer belongs to the same user or to root; also true if its user is unknown.
[[nodiscard]] bool IsTrustedPeer(const QLocalSocket& socket);

/// Writes messages to a socket, whole and in order.
class MessageWriter final : public QObject
{
    Q_OBJECT
public:
    /// \param socket  a connected socket; becomes the parent
    explicit MessageWriter(QLocalSocket* socket);

    /// Writes messages at once, or queues each until a single write can take it. Several small messages are
    /// written together, because each write is expensive.
    void Write(std::span<const MessageInfo> messages);

Q_SIGNALS:
    /// A message was written to the socket.
    void Written(const MessageInfo& msg);

private:
    [[nodiscard]] QByteArray Encode(const MessageInfo& message) const;
    void WritePiece(const QByteArray& frames, std::span<const MessageInfo> messages);
    void WarnOfLongQueue();

    QLocalSocket* mSocket;
    FrameQueue* mFrames;
    QQueue<QList<MessageInfo>> mQueued; // messages whose pieces are queued
    bool mHasWarned = false;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_MESSAGESOCKET_P_H
