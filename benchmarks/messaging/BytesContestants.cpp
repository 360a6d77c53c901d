// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Sends opaque bytes, of the same size as the library's frames, to measure the cost of sockets and threads
// alone.

#include "Contestant.h"
#include "messaging/MessageCodec_p.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>

#include <cstring>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

enum Kind : char { kAsk = 'a', kTell = 't', kCount = 'c' };

// Returns a message as it is on the wire: its size, its kind and its bytes.
QByteArray Frame(Kind kind, const QByteArray& bytes)
{
    const quint32 size = static_cast<quint32>(bytes.size()) + 1;
    QByteArray frame(sizeof(size), Qt::Uninitialized);
    std::memcpy(frame.data(), &size, sizeof(size));
    return frame.append(kind).append(bytes);
}

Kind KindOf(const QByteArray& frame)
{
    return static_cast<Kind>(frame.at(sizeof(quint32)));
}

QByteArray BytesOf(const QByteArray& frame)
{
    return frame.sliced(sizeof(quint32) + 1);
}

// Calls a function with each complete message in the received bytes.
class FrameReader
{
public:
    template <typename Use> void Read(QLocalSocket& socket, Use use)
    {
        mBytes += socket.readAll();
        qsizetype start = 0;
        quint32 size = 0;
        while (mBytes.size() - start >= qsizetype(sizeof(size))) {
            std::memcpy(&size, mBytes.constData() + start, sizeof(size));
            const qsizetype length = qsizetype(sizeof(size)) + size;
            if (mBytes.size() - start < length)
                break;
            use(mBytes.sliced(start, length));
            start += length;
        }
        mBytes.remove(0, start);
    }

private:
    QByteArray mBytes;
};

// Computes the server's answer to a message; empty if there is none.
class Answerer
{
public:
    QByteArray Answer(const QByteArray& frame)
    {
        switch (KindOf(frame)) {
        case kAsk:
            return frame;
        case kTell:
            ++mCount;
            return {};
        case kCount:
            return Frame(kCount, QByteArray::number(std::exchange(mCount, 0)));
        }
        return {};
    }

private:
    int mCount = 0;
};

void Write(QLocalSocket& socket, const QByteArray& frame)
{
    socket.write(frame);
    socket.flush();
}

// Returns the library's frame of a request.
QByteArray LibraryFrame(const QVariantMap& params)
{
    MessageInfo message;
    message.Id = u"Ask"_s;
    message.UniqueId = QUuid::createUuid();
    message.Params = params;
    return EncodeMessageAsBytes(message);
}

class BytesContestant : public Contestant
{
public:
    void SetParameters(const QVariantMap& params) override
    {
        const QByteArray bytes = LibraryFrame(params);
        mAsk = Frame(kAsk, bytes);
        mTell = Frame(kTell, bytes);
    }

    bool Ask() override
    {
        mAnswer = Exchange(mAsk);
        return !mAnswer.isEmpty();
    }

    bool IsAnswered() const override { return mAnswer == mAsk; }

    int TakeCount() override
    {
        const QByteArray answer = Exchange(Frame(kCount, {}));
        return answer.isEmpty() ? -1 : BytesOf(answer).toInt();
    }

protected:
    // Sends a request. \return the answer; empty if none arrived
    virtual QByteArray Exchange(const QByteArray& frame) = 0;

    QByteArray mTell;

private:
    QByteArray mAsk;
    QByteArray mAnswer;
};

// A socket in a separate thread, as in the library at both ends.
class Worker : public QObject
{
    Q_OBJECT
public Q_SLOTS:
    void Connect(const QString& name)
    {
        mSocket = new QLocalSocket(this);
        mSocket->connectToServer(name);
        Use();
    }
    void Listen(const QString& name)
    {
        mServer = new QLocalServer(this);
        connect(mServer, &QLocalServer::newConnection, this, [this] {
            mSocket = mServer->nextPendingConnection();
            Use();
        });
        mServer->listen(name);
    }
    void WriteFrame(const QByteArray& frame) { Write(*mSocket, frame); }

Q_SIGNALS:
    void Received(const QByteArray& frame);

private:
    void Use()
    {
        connect(mSocket, &QLocalSocket::readyRead, this, [this] {
            mReader.Read(*mSocket, [this](const QByteArray& frame) { Q_EMIT Received(frame); });
        });
    }

    QLocalServer* mServer = nullptr;
    QLocalSocket* mSocket = nullptr;
    FrameReader mReader;
};

// The caller's end of a worker thread.
class Hops : public QObject
{
    Q_OBJECT
public:
    Hops(void (Worker::*start)(const QString&), const QString& name)
    {
        auto* const worker = new Worker;
        worker->moveToThread(&mThread);
        connect(&mThread, &QThread::finished, worker, &QObject::deleteLater);
        connect(this, &Hops::Write, worker, &Worker::WriteFrame);
        connect(worker, &Worker::Received, this, &Hops::Received);
        mThread.start();
        QMetaObject::invokeMethod(
            worker, [worker, start, name] { (worker->*start)(name); }, Qt::BlockingQueuedConnection);
    }
    Q_DISABLE_COPY_MOVE(Hops)
    ~Hops() override
    {
        mThread.quit();
        mThread.wait();
    }

Q_SIGNALS:
    void Write(const QByteArray& frame);
    void Received(const QByteArray& frame);

private:
    QThread mThread;
};

class HopsContestant final : public BytesContestant
{
public:
    explicit HopsContestant(const QString& address)
        : mHops(&Worker::Connect, address)
    {
        QObject::connect(&mHops, &Hops::Received, &mHops, [this](const QByteArray& frame) {
            mReceived = frame;
            mLoop.exit(0);
        });
        mTimer.setSingleShot(true);
        QObject::connect(&mTimer, &QTimer::timeout, &mLoop, [this] { mLoop.exit(1); });
    }

    bool Tell() override
    {
        Q_EMIT mHops.Write(mTell);
        return true;
    }

private:
    QByteArray Exchange(const QByteArray& frame) override
    {
        mReceived.clear();
        Q_EMIT mHops.Write(frame);
        mTimer.start(kAnswerTimeoutMs);
        mLoop.exec(QEventLoop::ExcludeUserInputEvents);
        mTimer.stop();
        return mReceived;
    }

    Hops mHops;
    QEventLoop mLoop;
    QTimer mTimer;
    QByteArray mReceived;
};

std::unique_ptr<Contestant> ConnectHops(const QString& address)
{
    return std::make_unique<HopsContestant>(address);
}

int ServeHops(const QString& address)
{
    Answerer answerer;
    Hops hops(&Worker::Listen, address);
    QObject::connect(&hops, &Hops::Received, &hops, [&](const QByteArray& frame) {
        const QByteArray answer = answerer.Answer(frame);
        if (!answer.isEmpty())
            Q_EMIT hops.Write(answer);
    });
    AnnounceReady();
    return QCoreApplication::exec();
}

// The socket is in the caller's thread, at both ends.
class SocketContestant final : public BytesContestant
{
public:
    explicit SocketContestant(const QString& address) { mSocket.connectToServer(address); }

    [[nodiscard]] bool WaitForConnection() { return mSocket.waitForConnected(kAnswerTimeoutMs); }

    bool Tell() override
    {
        Write(mSocket, mTell);
        return true;
    }

private:
    QByteArray Exchange(const QByteArray& frame) override
    {
        QByteArray answer;
        Write(mSocket, frame);
        while (answer.isEmpty() && mSocket.waitForReadyRead(kAnswerTimeoutMs))
            mReader.Read(mSocket, [&](const QByteArray& received) { answer = received; });
        return answer;
    }

    QLocalSocket mSocket;
    FrameReader mReader;
};

std::unique_ptr<Contestant> ConnectSocket(const QString& address)
{
    auto contestant = std::make_unique<SocketContestant>(address);
    if (!contestant->WaitForConnection())
        return nullptr;
    return contestant;
}

int ServeSocket(const QString& address)
{
    Answerer answerer;
    FrameReader reader;
    QLocalServer server;
    QObject::connect(&server, &QLocalServer::newConnection, &server, [&] {
        QLocalSocket* const socket = server.nextPendingConnection();
        QObject::connect(socket, &QLocalSocket::readyRead, socket, [&, socket] {
            reader.Read(*socket, [&](const QByteArray& frame) {
                const QByteArray answer = answerer.Answer(frame);
                if (!answer.isEmpty())
                    Write(*socket, answer);
            });
        });
    });
    if (!server.listen(address))
        return 1;
    AnnounceReady();
    return QCoreApplication::exec();
}

} // namespace

std::vector<ContestantKind> GetBytesKinds()
{
    return {{"raw bytes, same hops", ConnectHops, ServeHops},
            {"QLocalSocket without threads", ConnectSocket, ServeSocket}};
}

#include "BytesContestants.moc"
