// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/FrameQueue_p.h"
#include "messaging/Mailbox_p.h"
#include "messaging/MessageClient_p.h"
#include "messaging/MessageServer_p.h"
#include "support/MessagingSupport.h"
#include "support/TestSupport.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;
using namespace MessagingSupport;

// Messages are sent in batches and passed between threads in batches. Neither side may notice: the results
// must be the same as if messages were sent and received one by one.

namespace {

constexpr QIODeviceBase::OpenMode kReadWrite = QIODeviceBase::ReadWrite;

QStringList NumbersBelow(int end)
{
    QStringList numbers;
    for (int i = 0; i < end; ++i)
        numbers.append(QString::number(i));
    return numbers;
}

// Returns the frames 0 to end - 1. Keep \a end small, so that the frames arrive in a single read.
QByteArray DocumentsBelow(int end)
{
    QByteArray documents;
    for (int i = 0; i < end; ++i)
        documents += Document(QString::number(i));
    return documents;
}

// Writes the frames 0 to end - 1, each with a separate write.
void WriteDocumentsBelow(QLocalSocket& socket, int end)
{
    for (int i = 0; i < end; ++i)
        Write(socket, Document(QString::number(i)));
}

MessageInfo MessageOf(const QString& id, const QVariantMap& params = {})
{
    MessageInfo message;
    message.Id = id;
    message.Params = params;
    return message;
}

// Waits without an event loop, so that objects in this thread handle no events meanwhile.
[[nodiscard]] bool SpinUntil(const std::function<bool()>& condition)
{
    for (const QDeadlineTimer deadline(TestSupport::kEventTimeoutMs); !deadline.hasExpired();) {
        if (condition())
            return true;
        QThread::yieldCurrentThread();
    }
    return false;
}

// Takes integers from a mailbox, and counts the events that announced them.
class IntReceiver final : public QObject
{
public:
    IntReceiver() { Box.Open(this); }

    Mailbox<int> Box;
    std::vector<int> Taken;
    int Events = 0;

protected:
    void customEvent(QEvent* event) override
    {
        QCOMPARE(event->type(), Mailbox<int>::kEvent);
        ++Events;
        Box.TakeAll(Taken);
    }
};

// Takes all items out of a mailbox, in another thread, while an event is being posted that announces them.
class TakingDispatcher final : public QAbstractEventDispatcher
{
public:
    explicit TakingDispatcher(Mailbox<int>& box)
        : mBox(box)
    { }
    ~TakingDispatcher() override
    {
        if (mOther)
            mOther->wait();
    }

    std::atomic<bool> HasTaken = false; // set after Taken
    std::vector<int> Taken;

    void wakeUp() override
    {
        mOther.reset(QThread::create([this] {
            mBox.TakeAll(Taken);
            HasTaken = true;
        }));
        mOther->start();
        mOther->wait(TestSupport::kEventTimeoutMs);
    }

    bool processEvents(QEventLoop::ProcessEventsFlags /*flags*/) override { return false; }
    void registerSocketNotifier(QSocketNotifier* /*notifier*/) override { }
    void unregisterSocketNotifier(QSocketNotifier* /*notifier*/) override { }
    void registerTimer(int /*id*/, qint64 /*interval*/, Qt::TimerType /*type*/, QObject* /*object*/) override
    { }
    bool unregisterTimer(int /*id*/) override { return false; }
    bool unregisterTimers(QObject* /*object*/) override { return false; }
    QList<TimerInfo> registeredTimers(QObject* /*object*/) const override { return {}; }
    int remainingTime(int /*id*/) override { return -1; }
    void interrupt() override { }

private:
    Mailbox<int>& mBox;
    std::unique_ptr<QThread> mOther;
};

// A server whose signals are recorded in order.
struct RecordingServer
{
    RecordingServer()
    {
        QObject::connect(&Server, &MessageServer::Connected, &Server,
                         [this] { Notes.append(u"connected"_s); });
        QObject::connect(&Server, &MessageServer::Disconnected, &Server,
                         [this] { Notes.append(u"disconnected"_s); });
        QObject::connect(&Server, &MessageServer::MessageReceived, &Server,
                         [this](const QString& id) { Notes.append(id); });
        Server.Start(Name);
    }
    Q_DISABLE_COPY_MOVE(RecordingServer)

    const QString Name = UniqueName();
    QStringList Notes;
    MessageServer Server;
};

} // namespace

class tst_MessageBatches : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void Mailbox_oneEvent();
    void Mailbox_closed();
    void Mailbox_openedAgain();
    void Mailbox_twoThreads();
    void Mailbox_unlockedWhilePosting();

    void Send_wire();
    void Send_sizes_data();
    void Send_sizes();
    void Send_confirmations();
    void Send_stopInBatch();
    void Send_peerLeavesInBatch();
    void Send_peerNeverReads();

    void Receive_order();
    void Receive_orderWithConnections();
    void Receive_busyOwner();
    void Receive_otherEventsBetweenBatches();
    void Slot_eachWaitsForLastMessage();
    void Slot_sendsInBatch();
    void Slot_stopsInBatch();
    void Slot_deletesServerInBatch_data();
    void Slot_deletesServerInBatch();
    void Slot_deletesClientInBatch();
    void Wait_deliversBatchInOrder();
};

void tst_MessageBatches::Mailbox_oneEvent()
{
    IntReceiver receiver;
    for (int i = 0; i < 3; ++i)
        receiver.Box.Add(i);
    QCOMPARE(receiver.Events, 0);
    QCoreApplication::sendPostedEvents(&receiver);
    QCOMPARE(receiver.Events, 1);
    QCOMPARE(receiver.Taken, (std::vector<int>{0, 1, 2}));

    receiver.Box.Add(3); // announced again
    QCoreApplication::sendPostedEvents(&receiver);
    QCOMPARE(receiver.Events, 2);
    QCOMPARE(receiver.Taken.back(), 3);

    receiver.Box.CallAgain(); // posts an event although the mailbox is empty
    receiver.Box.Add(4); // already announced
    QCoreApplication::sendPostedEvents(&receiver);
    QCOMPARE(receiver.Events, 3);
    QCOMPARE(receiver.Taken.size(), size_t(5));
}

void tst_MessageBatches::Mailbox_closed()
{
    IntReceiver receiver;
    Mailbox<int> other; // closed until Open is called
    other.Add(0);
    other.Open(&receiver);
    other.TakeAll(receiver.Taken);
    QVERIFY(receiver.Taken.empty());
    receiver.Box.Add(1);
    receiver.Box.Close();
    receiver.Box.Add(2);
    QCoreApplication::sendPostedEvents(&receiver);
    QCOMPARE(receiver.Events, 1); // the event that was posted before Close
    QVERIFY(receiver.Taken.empty());
}

// An event that was posted before Close, and never arrives, must not suppress the next one.
void tst_MessageBatches::Mailbox_openedAgain()
{
    IntReceiver receiver;
    receiver.Box.Add(1);
    receiver.Box.Close();
    QCoreApplication::removePostedEvents(&receiver);
    receiver.Box.Open(&receiver);
    receiver.Box.Add(2);
    QCoreApplication::sendPostedEvents(&receiver);
    QCOMPARE(receiver.Events, 1);
    QCOMPARE(receiver.Taken, std::vector<int>{2});
}

void tst_MessageBatches::Mailbox_twoThreads()
{
    constexpr int kCount = 100'000;
    IntReceiver receiver;
    const std::unique_ptr<QThread> other(QThread::create([&receiver] {
        for (int i = 0; i < kCount; ++i)
            receiver.Box.Add(i);
    }));
    other->start();
    EVENTUALLY(receiver.Taken.size() == kCount);
    other->wait();
    for (int i = 0; i < kCount; ++i)
        QCOMPARE(receiver.Taken[static_cast<size_t>(i)], i);
}

// The event wakes the receiver's thread, which must be able to take the items without waiting for the sender.
void tst_MessageBatches::Mailbox_unlockedWhilePosting()
{
    Mailbox<int> box;
    TakingDispatcher dispatcher(box);
    QThread thread; // never started: it does not own the dispatcher, which postEvent only wakes
    thread.setEventDispatcher(&dispatcher);
    QObject receiver;
    receiver.moveToThread(&thread);
    box.Open(&receiver);
    box.Add(1);
    QVERIFY(dispatcher.HasTaken);
    QCOMPARE(dispatcher.Taken, std::vector<int>{1});
    box.Close();
}

// The bytes on the wire are the frames of the messages, one after another.
void tst_MessageBatches::Send_wire()
{
    constexpr int kCount = 3000;
    RawServer server(UniqueName());
    MessageClient client;
    QVERIFY(ConnectClient(client, server.Name(), kReadWrite));
    QVERIFY(server.Client() != nullptr);
    QByteArray expected;
    for (int i = 0; i < kCount; ++i) {
        const MessageInfo message = MessageOf(QString::number(i), {{u"n"_s, i}});
        expected += EncodeMessageAsBytes(message);
        QVERIFY(client.SendMessage(message, false));
    }
    QByteArray bytes;
    EVENTUALLY((bytes += server.Client()->readAll()).size() >= expected.size());
    QCOMPARE(bytes, expected);
}

void tst_MessageBatches::Send_sizes_data()
{
    QTest::addColumn<QList<int>>("sizes");

    constexpr int kPiece = int(kMaxPiece);
    QTest::newRow("small") << QList<int>{10, 100, 1000};
    QTest::newRow("two fit into a single read") << QList<int>{kPiece / 2 - 400};
    QTest::newRow("two just exceed a single read") << QList<int>{kPiece / 2};
    QTest::newRow("about as large as a single read")
        << QList<int>{kPiece - 700, kPiece - 300, kPiece, kPiece + 300};
    QTest::newRow("small and large alternating") << QList<int>{10, 100'000, 20, 30'000, 200'000, 30};
}

// All messages arrive, whole and in order, although the receiver drops frames that arrive in several reads.
void tst_MessageBatches::Send_sizes()
{
    QFETCH(const QList<int>, sizes);

    constexpr int kCount = 120;
    MessageServer server;
    QList<qsizetype> received;
    connect(&server, &MessageServer::MessageReceived, &server,
            [&](const QString& id, const QVariantMap& params) {
                QCOMPARE(id, QString::number(received.size()));
                received.append(params.value(u"text"_s).toString().size());
            });
    const QString name = UniqueName();
    server.Start(name);
    MessageClient client;
    QVERIFY(ConnectClient(client, name, kReadWrite));
    QList<qsizetype> expected;
    for (int i = 0; i < kCount; ++i) {
        expected.append(sizes.at(i % sizes.size()));
        client.SendMessage(QString::number(i), {{u"text"_s, QString(expected.constLast(), u'x')}});
    }
    EVENTUALLY_EQUAL(received.size(), expected.size());
    QCOMPARE(received, expected);
}

// Each message is confirmed once, in order.
void tst_MessageBatches::Send_confirmations()
{
    constexpr int kCount = 2000;
    RawServer server(UniqueName());
    MessageClient client; // only emits NewOutgoingMessage
    MessageClientThread thread(server.Name(), kReadWrite, &client);
    const auto stop = qScopeGuard([&thread] { thread.Stop(); });
    QStringList sent;
    connect(&thread, &MessageClientThread::MessageSent, &thread,
            [&sent](const MessageInfo& message) { sent.append(message.Id); });
    thread.start();
    EVENTUALLY(thread.IsConnected());
    QVERIFY(server.Client() != nullptr);
    for (int i = 0; i < kCount; ++i)
        Q_EMIT client.NewOutgoingMessage(MessageOf(QString::number(i)));
    QCOMPARE(ReadMessages(*server.Client(), kCount).size(), kCount);
    EVENTUALLY_EQUAL(sent.size(), kCount);
    QCOMPARE(sent, NumbersBelow(kCount));
}

// If the client stops in the middle of a batch, it has written the first messages of the batch, all of them
// whole.
void tst_MessageBatches::Send_stopInBatch()
{
    constexpr int kCount = 5000;
    for (int round = 0; round < 10; ++round) {
        RawServer server(UniqueName());
        MessageClient client;
        QVERIFY(ConnectClient(client, server.Name(), kReadWrite));
        QLocalSocket* const other = server.Client();
        QVERIFY(other != nullptr);
        for (int i = 0; i < kCount; ++i)
            client.SendMessage(QString::number(i), {});
        client.DisconnectFromServer();
        QByteArray bytes;
        EVENTUALLY((bytes += other->readAll(), other->state() == QLocalSocket::UnconnectedState));
        bytes += other->readAll();
        QList<MessageInfo> messages;
        DecodeMessage(bytes, messages);
        QVERIFY(messages.size() <= kCount);
        for (qsizetype i = 0; i < messages.size(); ++i)
            QCOMPARE(messages.at(i).Id, QString::number(i));
        QVERIFY(bytes.isEmpty() || bytes.endsWith("</Message>\n"));
    }
}

// If the server goes away in the middle of a batch, the client reconnects and continues to send.
void tst_MessageBatches::Send_peerLeavesInBatch()
{
    const QString name = UniqueName();
    QLocalServer::removeServer(name);
    QLocalServer server;
    QVERIFY(server.listen(name));
    MessageClient client;
    const QSignalSpy disconnected(&client, &MessageClient::Disconnected);
    QVERIFY(ConnectClient(client, name, kReadWrite));
    for (int round = 0; round < 3; ++round) {
        EVENTUALLY(server.hasPendingConnections());
        QLocalSocket* const other = server.nextPendingConnection();
        EVENTUALLY(client.IsConnected());
        for (int i = 0; i < 20'000; ++i) {
            client.SendMessage(QString::number(i), {});
            if (i == 5000)
                delete other;
        }
        EVENTUALLY_EQUAL(disconnected.count(), round + 1);
    }
}

// A long queue of small messages is logged, just as one of large messages is, and no message is lost.
void tst_MessageBatches::Send_peerNeverReads()
{
    const TestSupport::LogGuard log;
    constexpr int kCount = 40'000;
    MessageServer server;
    const QString name = UniqueName();
    server.Start(name);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    EVENTUALLY_EQUAL(server.GetConnectionCount(), 1);
    client.setReadBufferSize(1);
    const QVariantMap filling{{u"filling"_s, QByteArray(600, 'x')}};
    for (int i = 0; i < kCount; ++i) // about 40 MB
        server.SendMessage(QString::number(i), filling);
    EVENTUALLY(!TestSupport::LogGuard::Messages().isEmpty());
    client.setReadBufferSize(0);
    const QList<MessageInfo> messages = ReadMessages(client, kCount);
    QCOMPARE(messages.size(), kCount);
    for (int i = 0; i < kCount; ++i)
        QCOMPARE(messages.at(i).Id, QString::number(i));
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"are queued"_s));
}

void tst_MessageBatches::Receive_order()
{
    constexpr int kCount = 5000;
    RecordingServer server;
    QLocalSocket client;
    QVERIFY(Connect(client, server.Name));
    WriteDocumentsBelow(client, kCount);
    const QStringList expected = QStringList{u"connected"_s} + NumbersBelow(kCount);
    EVENTUALLY_EQUAL(server.Notes.size(), expected.size());
    QCOMPARE(server.Notes, expected);
}

// Connections, messages and disconnections are announced in the order in which they occurred, even if the
// owner thread is late.
void tst_MessageBatches::Receive_orderWithConnections()
{
    RecordingServer server;
    for (int round = 0; round < 3; ++round) {
        QLocalSocket client;
        QVERIFY(SpinUntil([&] {
            client.connectToServer(server.Name);
            return client.waitForConnected(1000);
        }));
        Write(client, DocumentsBelow(5));
        QVERIFY(SpinUntil([&] { // the worker has read the messages
            return client.bytesToWrite() == 0 && Platform::GetUnreadBytes(client.socketDescriptor()) == 0;
        }));
        client.disconnectFromServer();
    }
    QCOMPARE(server.Notes, QStringList());
    // The server may accept the next client, which displaces the previous one, before it notices that the
    // previous one has disconnected.
    const QRegularExpression expected(
        u"^connected 0 1 2 3 4 "
        "((connected disconnected|disconnected connected|connected) 0 1 2 3 4 ){2}"
        "disconnected$"_s);
    static_cast<void>(WaitUntil([&] { return server.Notes.count(u"4"_s) == 3; }));
    EVENTUALLY_EQUAL(server.Notes.last(), u"disconnected"_s);
    QVERIFY2(expected.match(server.Notes.join(u' ')).hasMatch(), qPrintable(server.Notes.join(u' ')));
}

// While the owner thread is busy, the worker stops reading after a limited number of bytes, even if the
// messages are small.
void tst_MessageBatches::Receive_busyOwner()
{
    constexpr int kCount = 100'000; // about 30 MB
    RecordingServer server;
    QLocalSocket client;
    QVERIFY(Connect(client, server.Name));
    EVENTUALLY_EQUAL(server.Notes, QStringList{u"connected"_s});
    for (int i = 0; i < kCount; ++i)
        client.write(Document(QString::number(i)));
    const qint64 all = client.bytesToWrite();
    while (client.waitForBytesWritten(2000)) { } // without the event loop that the server needs
    QVERIFY(all - client.bytesToWrite() < 3 * 4 * 1024 * 1024 + 2 * kRequestedSendBuffer);
    EVENTUALLY(server.Notes.size() > kCount);
    QCOMPARE(server.Notes.mid(1), NumbersBelow(kCount));
}

// Other events are handled between batches, even while messages keep arriving.
void tst_MessageBatches::Receive_otherEventsBetweenBatches()
{
    RecordingServer server;
    QLocalSocket client;
    QVERIFY(Connect(client, server.Name));
    const auto send = [&client](const QString& id) {
        Write(client, Document(id));
        QVERIFY(SpinUntil([&] { return Platform::GetUnreadBytes(client.socketDescriptor()) == 0; }));
    };
    connect(&server.Server, &MessageServer::MessageReceived, &server.Server, [&](const QString& id) {
        if (id == u"1"_s) {
            QMetaObject::invokeMethod(
                &server.Server, [&] { server.Notes.append(u"queued"_s); }, Qt::QueuedConnection);
            send(u"soon"_s);
        } else if (id == u"soon"_s) {
            send(u"later"_s);
        }
    });
    Write(client, DocumentsBelow(3));
    EVENTUALLY(server.Notes.contains(u"later"_s));
    QCOMPARE(server.Notes.first(4), QStringList{u"connected"_s} + NumbersBelow(3));
    QVERIFY(server.Notes.indexOf(u"queued"_s) > 0);
    QVERIFY(server.Notes.indexOf(u"queued"_s) < server.Notes.indexOf(u"later"_s));
}

// Every slot waits in a nested event loop until the last message has arrived.
void tst_MessageBatches::Slot_eachWaitsForLastMessage()
{
    constexpr int kCount = 40;
    RecordingServer server;
    connect(&server.Server, &MessageServer::MessageReceived, &server.Server, [&](const QString& id) {
        QVERIFY(WaitUntil([&] { return server.Notes.contains(QString::number(kCount - 1)); }));
        server.Notes.append(u"end of "_s + id);
    });
    QLocalSocket client;
    QVERIFY(Connect(client, server.Name));
    Write(client, DocumentsBelow(kCount));
    QStringList expected = QStringList{u"connected"_s} + NumbersBelow(kCount);
    for (int i = kCount - 1; i >= 0; --i)
        expected.append(u"end of %1"_s.arg(i));
    EVENTUALLY_EQUAL(server.Notes.size(), expected.size());
    QCOMPARE(server.Notes, expected);
}

// Answers sent from slots keep the order of the messages.
void tst_MessageBatches::Slot_sendsInBatch()
{
    constexpr int kCount = 2000;
    MessageServer server;
    connect(&server, &MessageServer::MessageReceived, &server,
            [&](const QString& id) { server.SendMessage(id, {}); });
    const QString name = UniqueName();
    server.Start(name);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    WriteDocumentsBelow(client, kCount);
    const QList<MessageInfo> messages = ReadMessages(client, kCount);
    QCOMPARE(messages.size(), kCount);
    for (int i = 0; i < kCount; ++i)
        QCOMPARE(messages.at(i).Id, QString::number(i));
}

// If a slot stops the server, the messages after the one that it announces are lost.
void tst_MessageBatches::Slot_stopsInBatch()
{
    for (int round = 0; round < 10; ++round) {
        RecordingServer server;
        connect(&server.Server, &MessageServer::MessageReceived, &server.Server, [&](const QString& id) {
            if (id == u"50"_s)
                server.Server.Stop();
        });
        QLocalSocket client;
        QVERIFY(Connect(client, server.Name));
        Write(client, DocumentsBelow(100));
        EVENTUALLY(!server.Server.IsStarted());
        server.Server.Start(server.Name); // in a new thread
        QLocalSocket next;
        QVERIFY(Connect(next, server.Name));
        Write(next, Document(u"next"_s));
        EVENTUALLY(server.Notes.contains(u"next"_s));
        QCOMPARE(server.Notes,
                 QStringList{u"connected"_s} + NumbersBelow(51) + QStringList({u"connected"_s, u"next"_s}));
    }
}

void tst_MessageBatches::Slot_deletesServerInBatch_data()
{
    QTest::addColumn<int>("last"); // message whose slot deletes the server
    QTest::addColumn<bool>("inLoops"); // whether every fifth slot runs an event loop until then

    QTest::newRow("no event loop") << 50 << false;
    QTest::newRow("within event loops of other slots") << 20 << true;
}

void tst_MessageBatches::Slot_deletesServerInBatch()
{
    QFETCH(const int, last);
    QFETCH(const bool, inLoops);

    for (int round = 0; round < 10; ++round) {
        auto server = std::make_unique<MessageServer>();
        const QString name = UniqueName();
        QStringList received;
        connect(server.get(), &MessageServer::MessageReceived, this, [&](const QString& id) {
            received.append(id);
            if (id.toInt() == last)
                server.reset();
            else if (inLoops && id.toInt() % 5 == 0)
                QVERIFY(WaitUntil([&] { return server == nullptr; }));
        });
        server->Start(name);
        QLocalSocket client;
        QVERIFY(Connect(client, name));
        Write(client, DocumentsBelow(100));
        EVENTUALLY(server == nullptr);
        EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(received, NumbersBelow(last + 1));
    }
}

void tst_MessageBatches::Slot_deletesClientInBatch()
{
    for (int round = 0; round < 10; ++round) {
        RawServer server(UniqueName());
        auto client = std::make_unique<MessageClient>();
        QStringList received;
        connect(client.get(), &MessageClient::MessageReceived, this, [&](const QString& id) {
            received.append(id);
            client->SendMessage(id, {});
            if (id == u"50"_s)
                client.reset();
        });
        client->ConnectToServer(server.Name(), kReadWrite);
        QVERIFY(server.Client() != nullptr);
        Write(*server.Client(), DocumentsBelow(100));
        EVENTUALLY(client == nullptr);
        EVENTUALLY_EQUAL(server.Client()->state(), QLocalSocket::UnconnectedState);
        QCOMPARE(received, NumbersBelow(51));
    }
}

// Messages that came before an answer are announced before the wait ends, and the others after.
void tst_MessageBatches::Wait_deliversBatchInOrder()
{
    RawServer server(UniqueName());
    MessageClient client;
    QStringList received;
    connect(&client, &MessageClient::MessageReceived, &client,
            [&](const QString& id) { received.append(id); });
    QVERIFY(ConnectClient(client, server.Name(), kReadWrite));
    QVERIFY(server.Client() != nullptr);
    QLocalSocket& other = *server.Client();
    ForEachMessage(other, [&other](const MessageInfo& request) {
        Write(other,
              DocumentsBelow(3) + Document(u"Response"_s, {{u"a"_s, 1}}, {}, request.UniqueId)
                  + Document(u"behind"_s));
    });
    QVariantMap answer;
    QVERIFY(client.SendMessageAndGetResponse(u"ask"_s, {}, answer, TestSupport::kEventTimeoutMs));
    QCOMPARE(answer, (QVariantMap{{u"a"_s, 1}}));
    QCOMPARE(received.first(3), NumbersBelow(3));
    EVENTUALLY_EQUAL(received, NumbersBelow(3) + QStringList{u"behind"_s});
}

QTEST_GUILESS_MAIN(tst_MessageBatches)
#include "tst_MessageBatches.moc"
