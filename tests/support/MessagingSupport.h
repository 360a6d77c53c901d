// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGINGSUPPORT_H
#define QVUTIL_MESSAGINGSUPPORT_H

#include "IPC.h"
#include "messaging/GridRegistry_p.h"
#include "messaging/MessageCodec_p.h"
#include "platform/Platform_p.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QMetaMethod>
#include <QProcess>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>
#include <QtTest>

#include <csignal>

#include <sys/types.h>
#include <sys/wait.h>

/// Helpers for tests of messaging.
namespace MessagingSupport {

/// Names for servers and grids. They do not contain the process id, because the system reuses the id of a
/// killed process, whose socket and lock file remain. When the program ends, these stale files are removed.
/// (Key files of Qt's semaphores are kept: without its key file, a semaphore cannot be found again.)
class UniqueNames
{
public:
    ~UniqueNames()
    {
        const QDir folder = QDir::temp();
        const QStringList sockets
            = folder.entryList({mPrefix + u'*'}, QDir::Files | QDir::System | QDir::Hidden);
        for (const QString& socket : sockets)
            QFile::remove(folder.filePath(socket));
        for (int number = 1; number <= mCount; ++number)
            QFile::remove(Quorvin::Util::Internal::GridLockFilePath(Name(number)));
    }
    UniqueNames() = default;
    Q_DISABLE_COPY_MOVE(UniqueNames)
    [[nodiscard]] QString Next() { return Name(++mCount); }

private:
    [[nodiscard]] QString Name(int number) const { return mPrefix + QString::number(number); }

    const QString mPrefix
        = QStringLiteral("qv%1-").arg(QRandomGenerator::system()->generate(), 8, 16, QLatin1Char('0'));
    int mCount = 0;
};

/// Returns a server or grid name that has never been used and is short enough for every system.
[[nodiscard]] inline QString UniqueName()
{
    static UniqueNames names;
    return names.Next();
}

/// Runs the event loop until a condition holds. \return false if it does not hold within a minute
template <typename Condition> [[nodiscard]] bool WaitUntil(Condition condition)
{
    return QTest::qWaitFor(condition, TestSupport::kEventTimeoutMs);
}

/// Connects a plain Qt socket as soon as a server listens.
[[nodiscard]] inline bool Connect(QLocalSocket& socket, const QString& name)
{
    return WaitUntil([&] {
        if (socket.state() == QLocalSocket::UnconnectedState)
            socket.connectToServer(name);
        return socket.state() == QLocalSocket::ConnectedState;
    });
}

/// Writes bytes in one call.
inline void Write(QLocalSocket& socket, const QByteArray& bytes)
{
    socket.write(bytes);
    socket.flush();
}

/// Waits until the peer has read everything that was written.
[[nodiscard]] inline bool WaitUntilRead(QLocalSocket& socket)
{
    return WaitUntil([&] {
        return socket.bytesToWrite() == 0
            && Quorvin::Util::Platform::GetUnreadBytes(socket.socketDescriptor()) == 0;
    });
}

/// Returns a request or message as another program might send it.
[[nodiscard]] inline QByteArray Document(const QString& id, const QVariantMap& params = {},
                                         const QUuid& request = {}, const QUuid& answered = {})
{
    Quorvin::Util::MessageInfo message;
    message.Id = id;
    message.Params = params;
    message.UniqueId = request;
    message.NeedResponse = !request.isNull();
    message.OriginalMessageUniqueId = answered;
    message.IsResponse = !answered.isNull();
    return Quorvin::Util::Internal::EncodeMessageByDom(message).toUtf8();
}

/// Reads \p count messages from a plain Qt socket. Each frame is decoded once: starting over after each read
/// would be too slow on a busy machine.
/// \return the messages that arrived within a minute
[[nodiscard]] inline QList<Quorvin::Util::MessageInfo> ReadMessages(QLocalSocket& socket, int count)
{
    const QByteArray kEnd = "</Message>";
    QByteArray bytes;
    QList<Quorvin::Util::MessageInfo> messages;
    static_cast<void>(WaitUntil([&] {
        const QByteArray read = socket.readAll();
        bytes += read;
        const qsizetype end = read.isEmpty() ? -1 : bytes.lastIndexOf(kEnd);
        if (end >= 0) {
            QList<Quorvin::Util::MessageInfo> whole;
            Quorvin::Util::DecodeMessage(QString::fromUtf8(bytes.first(end + kEnd.size())).trimmed(), whole);
            messages += whole;
            bytes.remove(0, end + kEnd.size());
        }
        return messages.size() >= count;
    }));
    return messages;
}

/// Calls a function with each message that arrives on a plain Qt socket, including those that have already
/// arrived.
template <typename Function> void ForEachMessage(QLocalSocket& socket, Function function)
{
    const auto read = [&socket, function] {
        QList<Quorvin::Util::MessageInfo> messages;
        Quorvin::Util::DecodeMessage(QString::fromUtf8(socket.readAll()), messages);
        for (const Quorvin::Util::MessageInfo& message : messages)
            function(message);
    };
    QObject::connect(&socket, &QLocalSocket::readyRead, &socket, read);
    read();
}

/// Connects a message client and waits until it has announced the connection. The announcement would end any
/// other wait that had already started.
template <typename Client>
[[nodiscard]] bool ConnectClient(Client& client, const QString& name, QIODeviceBase::OpenMode mode)
{
    const QSignalSpy connected(&client, &Client::Connected);
    client.ConnectToServer(name, mode);
    return WaitUntil([&] { return connected.count() > 0; });
}

/// Waits until the message server or client at the other end of a plain Qt socket has processed everything
/// that was written: only then does the next message arrive from there. Drops unread bytes of the socket.
template <typename Library> [[nodiscard]] bool WaitUntilProcessed(QLocalSocket& socket, Library& library)
{
    if (!WaitUntilRead(socket))
        return false;
    library.SendMessage(QStringLiteral("tick"), {});
    return ReadMessages(socket, 1).size() == 1;
}

/// Adds a row for each mode in which a connection can be opened.
inline void AddModes()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("reads");
    QTest::addColumn<bool>("writes");

    QTest::newRow("read and write") << static_cast<int>(QIODeviceBase::ReadWrite) << true << true;
    QTest::newRow("read only") << static_cast<int>(QIODeviceBase::ReadOnly) << true << false;
    QTest::newRow("write only") << static_cast<int>(QIODeviceBase::WriteOnly) << false << true;
}

/// Returns the signals and slots that a class itself declares, in order, with parameter names.
[[nodiscard]] inline QStringList MethodsOf(const QMetaObject& metaObject)
{
    QStringList result;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        const QString kind = method.methodType() == QMetaMethod::Signal ? QStringLiteral("signal ")
                                                                        : QStringLiteral("slot ");
        result.append(kind + QString::fromLatin1(method.methodSignature()) + u' '
                      + QString::fromLatin1(method.parameterNames().join(',')));
    }
    return result;
}

/// A plain Qt server as the peer.
class RawServer
{
public:
    explicit RawServer(const QString& name)
        : mName(name)
    {
        QLocalServer::removeServer(name);
        mListening = mServer.listen(name);
    }
    [[nodiscard]] bool IsListening() const { return mListening; }
    [[nodiscard]] const QString& Name() const { return mName; }
    /// Returns the client's socket once a client has connected.
    [[nodiscard]] QLocalSocket* Client()
    {
        if (mClient == nullptr && WaitUntil([&] { return mServer.hasPendingConnections(); }))
            mClient = mServer.nextPendingConnection();
        return mClient;
    }

private:
    QString mName;
    QLocalServer mServer;
    QLocalSocket* mClient = nullptr;
    bool mListening = false;
};

/// A helper process that prints lines. It ends when the object is destroyed.
class Peer
{
public:
    explicit Peer(const QStringList& arguments, const QString& program = QString::fromLatin1(MESSAGE_PEER))
    {
        mProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mProcess.start(program, arguments);
        mId = mProcess.processId();
    }
    ~Peer()
    {
        if (mFrozen && mProcess.state() != QProcess::NotRunning)
            ::kill(static_cast<pid_t>(Id()), SIGCONT);
        mProcess.closeWriteChannel(); // makes the process end
        if (!mProcess.waitForFinished(60000))
            Kill();
    }
    Q_DISABLE_COPY_MOVE(Peer)

    /// Waits for a line that begins with \p start, and discards all lines up to it.
    /// \return the line; a null text if none arrives within a minute
    [[nodiscard]] QString WaitForLine(const QString& start)
    {
        QString line;
        static_cast<void>(WaitUntil([&] {
            while (mProcess.canReadLine()) {
                line = QString::fromUtf8(mProcess.readLine()).trimmed();
                if (line.startsWith(start))
                    return true;
            }
            line.clear();
            return mProcess.state() == QProcess::NotRunning;
        }));
        return line;
    }

    /// Makes the process end, without waiting for it.
    void EndInput() { mProcess.closeWriteChannel(); }

    /// Makes the process end, and waits for it. \return false if it does not end within a minute
    [[nodiscard]] bool End()
    {
        EndInput();
        return WaitUntil([&] { return mProcess.state() == QProcess::NotRunning; });
    }

    void Kill()
    {
        mProcess.kill();
        mProcess.waitForFinished(60000);
    }

    /// Stops the process until the object is destroyed. \return false if it has ended
    [[nodiscard]] bool Freeze()
    {
        siginfo_t info = {};
        const auto id = static_cast<id_t>(Id());
        mFrozen = ::kill(static_cast<pid_t>(Id()), SIGSTOP) == 0
            && ::waitid(P_PID, id, &info, WSTOPPED | WNOWAIT) == 0;
        return mFrozen;
    }

    /// Returns the process id, even after the process has ended.
    [[nodiscard]] qint64 Id() const { return mId; }

private:
    QProcess mProcess;
    qint64 mId = 0;
    bool mFrozen = false;
};

} // namespace MessagingSupport

#endif // QVUTIL_MESSAGINGSUPPORT_H
