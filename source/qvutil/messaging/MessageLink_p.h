// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGELINK_P_H
#define QVUTIL_MESSAGELINK_P_H

#include "IPC.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QQueue>
#include <QTimer>
#include <QtNetwork/QLocalSocket>

namespace Quorvin::Util {

// What both ends of a link do with their socket, in the thread that owns it.
//
// A receiver keeps nothing from one read to the next, so that a document arrives whole or not at all. The
// kernel hands over a write in pieces of about 36 KiB. A document of up to kWholePiece is one piece. Larger
// ones stay together because
//   - the send buffer is as large as the system lets it be, so that one write can take all of the document;
//   - such a document is written only when nothing is under way, so that all of the buffer is free for it;
//   - the receiver takes all that is there, and waits a moment where the writer was evidently interrupted
//     in the middle of its write.

/// A document of up to so many bytes is handed over in one piece, whatever else is under way.
inline constexpr qsizetype kWholePiece = qsizetype(32) * 1024;

/// The send buffer that is asked of the system, in bytes. Not all systems grant it.
inline constexpr int kWantedSendBuffer = 4 * 1024 * 1024;

/// Tests lower it to what other systems would grant; 0 is no limit.
void LimitSendBuffer(int bytes);

/// Where more bytes come from: a socket.
class ByteSource
{
public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    Q_DISABLE_COPY_MOVE(ByteSource)
    /// Takes what is there, without waiting.
    /// \return false if there was nothing, or if the connection has ended
    virtual bool Read(QByteArray& bytes) = 0;
    /// Waits until there is something to read, or the connection has ended.
    /// \return false if the time is over
    virtual bool Wait(int timeoutMs) = 0;
    /// Whether the thread that reads is to end.
    [[nodiscard]] virtual bool IsToEnd() const = 0;
};

/// Reads on until there is no more at the moment, and no large document is cut off; or there is enough, or
/// little comes in many reads, or the thread is to end.
/// \param bytes  what was read already; is appended to
void ReadOn(ByteSource& source, QByteArray& bytes);

/// Takes all bytes that a socket has to give at the moment, and the rest of a large document in them.
[[nodiscard]] QByteArray TakeBytes(QLocalSocket& socket);

/// Takes bytes, and reads the messages in them.
[[nodiscard]] QList<MessageInfo> TakeMessages(QLocalSocket& socket);

/// \return path of the socket of a server with that name
[[nodiscard]] QString GetSocketPath(const QString& name);

/// Whether the socket of a server with that name would have a path that is too long for the system.
[[nodiscard]] bool IsSocketNameTooLong(const QString& name);

/// Whether a document of so many bytes that is written now is handed over in one piece, as far as a document
/// of its size can be.
[[nodiscard]] bool CanWriteWhole(const QLocalSocket& socket, qsizetype size);

/// Writes messages to a socket, whole and in order.
class MessageWriter final : public QObject
{
    Q_OBJECT
public:
    /// \param socket  a connected socket; becomes the parent, so that what still waits goes with it
    explicit MessageWriter(QLocalSocket* socket);

    /// Writes a message at once, or as soon as it can be written in one piece.
    void Write(const MessageInfo& message);

Q_SIGNALS:
    /// A message was written to the socket.
    void Written(const MessageInfo& msg);

private:
    [[nodiscard]] QByteArray MakeDocument(const MessageInfo& message) const;
    void WriteNow(const MessageInfo& message, const QByteArray& document);
    void WriteWaiting();

    QLocalSocket* mSocket;
    qsizetype mLargestWhole;
    QQueue<MessageInfo> mWaiting;
    QByteArray mNextDocument; // of the first that waits; the others have none yet
    QElapsedTimer mWaitingSince;
    // Runs only while something waits: no system tells when the receiver has taken the last byte.
    QTimer mTimer;
};

} // namespace Quorvin::Util

#endif // QVUTIL_MESSAGELINK_P_H
