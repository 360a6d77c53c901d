// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageClient_p.h"
#include "messaging/MessageServer_p.h"
#include "messaging/MessageSocket_p.h"
#include "support/MessagingSupport.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <memory>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;
using namespace MessagingSupport;

namespace {

constexpr QIODeviceBase::OpenMode kReadWrite = QIODeviceBase::ReadWrite;

// A client connected to a plain Qt server.
struct Link
{
    explicit Link(QIODeviceBase::OpenMode mode = kReadWrite)
        : Name(UniqueName())
        , Server(Name)
    {
        Ok = Server.IsListening() && ConnectClient(Client, Name, mode) && Server.Client() != nullptr;
    }
    [[nodiscard]] QLocalSocket& Other() { return *Server.Client(); }

    QString Name;
    RawServer Server;
    MessageClient Client;
    bool Ok = false;
};

// Calls a function as soon as the event loop runs.
template <typename Function> void Later(QObject* context, Function function)
{
    QMetaObject::invokeMethod(context, function, Qt::QueuedConnection);
}

} // namespace

class tst_MessageClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void MetaObjects();
    void Untouched();

    void ConnectToServer();
    void ConnectToServer_noServer();
    void ConnectToServer_serverStartsLater();
    void ConnectToServer_otherName();
    void ConnectToServer_unusableName_data();
    void ConnectToServer_unusableName();
    void ConnectToServer_again();
    void ConnectToServer_modes_data();
    void ConnectToServer_modes();
    void IsConnected_beforeAnnounced();
    void WaitForConnection_connected();
    void WaitForConnection_announcementStillQueued();
    void WaitForConnection_time();
    void WaitForConnection_withoutLimit();
    void WaitForConnection_waitsInSlot();
    void DisconnectFromServer();
    void Reconnect();
    void Reconnect_afterSecond();

    void SendMessage_notConnected();
    void SendMessage_wire();
    void SendMessage_messageInfo();
    void SendMessage_order();
    void SendMessage_waitForSent();
    void SendMessage_readOnly();
    void SendMessage_largeWaitsForReceiver();
    void SendMessage_timeOut();
    void SendMessage_connectionEndsWait();
    void SendMessage_anyConfirmationEndsWait();

    void Request_answered();
    void Request_wire();
    void Request_responseIsParams();
    void Request_notConnected();
    void Request_timeOut_data();
    void Request_timeOut();
    void Request_negativeTimeout();
    void Request_nested();
    void Request_waitsWithinWaits();
    void Request_sendsAndWaitsInSlot();
    void Request_otherAnswers();
    void Request_lateAnswer();
    void Request_connectionEndsWait();

    void Receive_messages();
    void Receive_split();
    void Receive_joinedAndNoise();

    void Slot_deletesClient();
    void Slot_deletesClientInWait_data();
    void Slot_deletesClientInWait();
    void Slot_disconnects();
    void Slot_opensEventLoop();
    void Slot_opensEventLoopUntilDeleted();

    void IsConnected_fromOtherThread();
    void Thread_pausesSentNotifications();
    void Worker();
    void Worker_withoutTimer();
    void Worker_staysDisconnected();

    void TrustedUsers();
    void ForeignServer();
};

void tst_MessageClient::MetaObjects()
{
    QCOMPARE(
        MethodsOf(MessageClient::staticMetaObject),
        (QStringList{u"signal MessageReceived(QString,QVariantMap) id,paramMap"_s,
                     u"signal NewOutgoingMessage(MessageInfo) msg"_s, u"signal Connected(QString) name"_s,
                     u"signal Disconnected(QString) name"_s, u"slot ConnectedSlot() "_s,
                     u"slot DisconnectedSlot() "_s, u"slot MessageReceivedSlot(MessageInfo) msg"_s,
                     u"slot MessageSentSlot(MessageInfo) msg"_s, u"slot EventLoopTimeout() "_s}));
    const QStringList relayed{u"signal Connected() "_s, u"signal Disconnected() "_s,
                              u"signal MessageReceived(MessageInfo) msg"_s,
                              u"signal MessageSent(MessageInfo) msg"_s};
    QCOMPARE(MethodsOf(MessageClientThread::staticMetaObject), relayed);
    QCOMPARE(
        MethodsOf(MessageClientWorker::staticMetaObject),
        relayed
            + (QStringList{u"slot ConnectedSlot() "_s, u"slot DisconnectedSlot() "_s,
                           u"slot ConnectTimerTimeout() "_s, u"slot NewOutgoingMessage(MessageInfo) msg"_s,
                           u"slot ReadMessage() "_s, u"slot Error(QLocalSocket::LocalSocketError) e"_s}));
}

void tst_MessageClient::Untouched()
{
    MessageClient client;
    QCOMPARE(QMetaType::fromName("MessageInfo"), QMetaType::fromType<MessageInfo>());
    QCOMPARE(client.IsConnected(), false);
    QCOMPARE(client.GetName(), QString());
    QCOMPARE(client.WaitForConnection(0), false);
    client.DisconnectFromServer();
    QCOMPARE(client.SendMessage(u"m"_s, {}), false);
}

void tst_MessageClient::ConnectToServer()
{
    const QString name = UniqueName();
    RawServer server(name);
    MessageClient client;
    QSignalSpy connected(&client, &MessageClient::Connected);
    QCOMPARE(client.ConnectToServer(name, kReadWrite), true);
    QCOMPARE(client.GetName(), name);
    EVENTUALLY_EQUAL(connected.count(), 1);
    QCOMPARE(connected.at(0).at(0).toString(), name);
    QCOMPARE(client.IsConnected(), true);
}

void tst_MessageClient::ConnectToServer_noServer()
{
    MessageClient client;
    QSignalSpy disconnected(&client, &MessageClient::Disconnected);
    QCOMPARE(client.ConnectToServer(UniqueName(), kReadWrite), true);
    QCOMPARE(client.WaitForConnection(100), false);
    QCOMPARE(client.IsConnected(), false);
    QCOMPARE(client.SendMessage(u"m"_s, {}), false);
    QCOMPARE(disconnected.count(), 0);
}

void tst_MessageClient::ConnectToServer_serverStartsLater()
{
    const QString name = UniqueName();
    MessageClient client;
    client.ConnectToServer(name, kReadWrite);
    QCOMPARE(client.WaitForConnection(10), false);
    RawServer server(name);
    QCOMPARE(client.WaitForConnection(60000), true);
}

void tst_MessageClient::ConnectToServer_otherName()
{
    Link link;
    QVERIFY(link.Ok);
    const QString other = UniqueName();
    QCOMPARE(link.Client.ConnectToServer(other, QIODeviceBase::ReadOnly), true);
    QCOMPARE(link.Client.GetName(), other);
    // The thread keeps its name and mode.
    QCOMPARE(link.Client.SendMessage(u"m"_s, {}), true);
    QCOMPARE(ReadMessages(link.Other(), 1).size(), 1);
}

void tst_MessageClient::ConnectToServer_unusableName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("warnings");

    QTest::newRow("too long") << QString(200, u'x') << 1;
    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("folder missing") << u"/nowhere/at/all"_s << 0; // the folder may be created later
}

void tst_MessageClient::ConnectToServer_unusableName()
{
    QFETCH(const QString, name);
    QFETCH(const int, warnings);

    const TestSupport::LogGuard log;
    MessageClient client;
    QCOMPARE(client.ConnectToServer(name, kReadWrite), true);
    QCOMPARE(client.WaitForConnection(1200), false); // long enough for a second attempt
    client.DisconnectFromServer();
    QCOMPARE(TestSupport::LogGuard::Messages().size(), warnings);
}

void tst_MessageClient::ConnectToServer_again()
{
    Link link;
    QVERIFY(link.Ok);
    link.Client.DisconnectFromServer();
    const QString name = UniqueName();
    RawServer server(name);
    QSignalSpy connected(&link.Client, &MessageClient::Connected);
    link.Client.ConnectToServer(name, kReadWrite);
    EVENTUALLY_EQUAL(connected.count(), 1);
    link.Client.SendMessage(u"m"_s, {});
    QVERIFY(server.Client() != nullptr);
    QCOMPARE(ReadMessages(*server.Client(), 1).size(), 1);
}

void tst_MessageClient::ConnectToServer_modes_data()
{
    AddModes();
}

void tst_MessageClient::ConnectToServer_modes()
{
    QFETCH(const int, mode);
    QFETCH(const bool, reads);
    QFETCH(const bool, writes);

    Link link(static_cast<QIODeviceBase::OpenMode>(mode));
    QVERIFY(link.Ok);
    QSignalSpy received(&link.Client, &MessageClient::MessageReceived);
    QSignalSpy disconnected(&link.Client, &MessageClient::Disconnected);
    QCOMPARE(link.Client.SendMessage(u"to the server"_s, {}), true);
    if (writes)
        QCOMPARE(ReadMessages(link.Other(), 1).size(), 1);
    Write(link.Other(), Document(u"to the client"_s));
    if (reads) {
        EVENTUALLY_EQUAL(received.count(), 1);
        // Everything that was sent before is written when the connection ends.
        link.Client.DisconnectFromServer();
        EVENTUALLY_EQUAL(link.Other().state(), QLocalSocket::UnconnectedState);
        QCOMPARE(link.Other().readAll(), QByteArray());
    } else {
        link.Other().disconnectFromServer();
        EVENTUALLY_EQUAL(disconnected.count(), 1);
        QCOMPARE(received.count(), 0);
    }
}

// IsConnected returns the state of the socket, even before the connection is announced.
void tst_MessageClient::IsConnected_beforeAnnounced()
{
    const QString name = UniqueName();
    RawServer server(name);
    MessageClient client;
    QSignalSpy connected(&client, &MessageClient::Connected);
    client.ConnectToServer(name, kReadWrite);
    const QDeadlineTimer deadline(60000);
    while (!client.IsConnected() && !deadline.hasExpired()) // without an event loop
        QThread::yieldCurrentThread();
    QCOMPARE(client.IsConnected(), true);
    QCOMPARE(client.SendMessage(u"m"_s, {}), true);
    QCOMPARE(connected.count(), 0);
    QVERIFY(server.Client() != nullptr);
    QCOMPARE(ReadMessages(*server.Client(), 1).size(), 1);
    EVENTUALLY_EQUAL(connected.count(), 1);
}

void tst_MessageClient::WaitForConnection_connected()
{
    Link link;
    QVERIFY(link.Ok);
    bool ran = false;
    Later(this, [&] { ran = true; });
    QCOMPARE(link.Client.WaitForConnection(60000), true);
    QCOMPARE(ran, false); // no event loop has run
    EVENTUALLY(ran);
}

void tst_MessageClient::WaitForConnection_announcementStillQueued()
{
    RawServer server(UniqueName());
    QVERIFY(server.IsListening());
    MessageClient client;
    QSignalSpy connected(&client, &MessageClient::Connected);
    client.ConnectToServer(server.Name(), kReadWrite);
    const QDeadlineTimer limit(60000);
    while (!client.IsConnected() && !limit.hasExpired())
        QThread::yieldCurrentThread(); // events must not be processed meanwhile
    QCOMPARE(connected.count(), 0);
    QCOMPARE(client.WaitForConnection(0), true);
    QCOMPARE(connected.count(), 1);
    // The request therefore waits for an answer, which nobody sends here.
    QVariantMap answer;
    QCOMPARE(client.SendMessageAndGetResponse(u"request"_s, {}, answer, 200), false);
}

void tst_MessageClient::WaitForConnection_time()
{
    MessageClient client;
    client.ConnectToServer(UniqueName(), kReadWrite);
    QElapsedTimer time;
    time.start();
    QCOMPARE(client.WaitForConnection(200), false);
    QVERIFY(time.elapsed() >= 190);
    QVERIFY(time.elapsed() < 30000);
}

void tst_MessageClient::WaitForConnection_withoutLimit()
{
    const QString name = UniqueName();
    MessageClient client;
    client.ConnectToServer(name, kReadWrite);
    std::unique_ptr<RawServer> server;
    Later(&client, [&] { server = std::make_unique<RawServer>(name); });
    QCOMPARE(client.WaitForConnection(-1), true);
}

void tst_MessageClient::WaitForConnection_waitsInSlot()
{
    const QString name = UniqueName();
    RawServer server(name);
    MessageClient client;
    bool answered = true;
    bool sent = true;
    connect(&client, &MessageClient::Connected, &client, [&] {
        // The outer wait has ended, but has not returned yet.
        QVariantMap answer;
        answered = client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 60000);
        sent = client.SendMessage(u"m"_s, {}, true);
    });
    Later(&client, [&] { client.ConnectToServer(name, kReadWrite); });
    QCOMPARE(client.WaitForConnection(60000), true);
    QCOMPARE(answered, false);
    QCOMPARE(sent, false);
    QVERIFY(server.Client() != nullptr);
    QCOMPARE(ReadMessages(*server.Client(), 2).size(), 2);
    QCOMPARE(client.SendMessage(u"later"_s, {}, true), true);
}

void tst_MessageClient::DisconnectFromServer()
{
    Link link;
    QVERIFY(link.Ok);
    QSignalSpy disconnected(&link.Client, &MessageClient::Disconnected);
    link.Client.DisconnectFromServer();
    EVENTUALLY_EQUAL(link.Other().state(), QLocalSocket::UnconnectedState);
    // The flag changes with the signals, and the thread that would emit them has ended.
    QCOMPARE(disconnected.count(), 0);
    QCOMPARE(link.Client.IsConnected(), true);
    QCOMPARE(link.Client.SendMessage(u"to nobody"_s, {}), true);
    link.Client.DisconnectFromServer();
    QCOMPARE(link.Client.GetName(), link.Name);
}

void tst_MessageClient::Reconnect()
{
    Link link;
    QVERIFY(link.Ok);
    QSignalSpy connected(&link.Client, &MessageClient::Connected);
    QSignalSpy disconnected(&link.Client, &MessageClient::Disconnected);
    link.Other().disconnectFromServer();
    EVENTUALLY_EQUAL(disconnected.count(), 1);
    QCOMPARE(disconnected.at(0).at(0).toString(), link.Name);
    EVENTUALLY_EQUAL(connected.count(), 1);
    QCOMPARE(link.Client.IsConnected(), true);
}

void tst_MessageClient::Reconnect_afterSecond()
{
    Link link;
    QVERIFY(link.Ok);
    QSignalSpy connected(&link.Client, &MessageClient::Connected);
    QElapsedTimer time;
    time.start();
    link.Other().disconnectFromServer();
    EVENTUALLY_EQUAL(connected.count(), 1);
    QVERIFY2(time.elapsed() >= 940,
             qPrintable(QString::number(time.elapsed()))); // a timer may fire 5 % early
    QVERIFY2(time.elapsed() < 20000, qPrintable(QString::number(time.elapsed())));
}

void tst_MessageClient::SendMessage_notConnected()
{
    MessageClient client;
    QSignalSpy outgoing(&client, &MessageClient::NewOutgoingMessage);
    client.ConnectToServer(UniqueName(), kReadWrite);
    QCOMPARE(client.SendMessage(u"m"_s, {}), false);
    QCOMPARE(client.SendMessage(u"m"_s, {}, true), false);
    QCOMPARE(client.SendMessage(MessageInfo(), true), false);
    QCOMPARE(outgoing.count(), 0);
}

void tst_MessageClient::SendMessage_wire()
{
    Link link;
    QVERIFY(link.Ok);
    QCOMPARE(link.Client.SendMessage(u"Grüße"_s, {{u"a"_s, 1}}), true);
    QByteArray bytes;
    EVENTUALLY((bytes += link.Other().readAll()).endsWith("</Message>\n"));
    QVERIFY2(bytes.startsWith("<?xml version=\"1.0\"?>\n<Message "), bytes.constData());
    QCOMPARE(TestSupport::XmlMeaning(bytes),
             TestSupport::XmlMeaning(
                 u"<?xml version='1.0'?><Message Id='Grüße' UniqueId='{00000000-0000-0000-0000-000000000000}'"
                 " OriginalMessageUniqueId='{00000000-0000-0000-0000-000000000000}' NeedResponse='False'"
                 " IsResponse='False'><Params><Param Name='a' Type='Int' Value='1'/></Params></Message>"_s));
}

void tst_MessageClient::SendMessage_messageInfo()
{
    Link link;
    QVERIFY(link.Ok);
    const MessageInfo message{u"N"_s, QUuid::createUuid(), true, true, QUuid::createUuid(), {{u"a"_s, 1}}};
    QCOMPARE(link.Client.SendMessage(message, false), true);
    const QList<MessageInfo> messages = ReadMessages(link.Other(), 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(EncodeMessage(messages.constFirst()), EncodeMessage(message));
}

void tst_MessageClient::SendMessage_order()
{
    Link link;
    QVERIFY(link.Ok);
    // Small messages after a large one wait for it.
    for (int i = 0; i < 60; ++i)
        link.Client.SendMessage(u"m"_s, {{u"n"_s, i}, {u"text"_s, QString(i % 3 == 0 ? 100000 : 10, u'x')}});
    const QList<MessageInfo> messages = ReadMessages(link.Other(), 60);
    QCOMPARE(messages.size(), 60);
    for (int i = 0; i < 60; ++i)
        QCOMPARE(messages.at(i).Params.value(u"n"_s).toInt(), i);
}

void tst_MessageClient::SendMessage_waitForSent()
{
    Link link;
    QVERIFY(link.Ok);
    QCOMPARE(link.Client.SendMessage(u"m"_s, {}, true), true);
    // The message was written, so it arrives although this thread runs no event loop of the client.
    QVERIFY(link.Other().bytesAvailable() > 0 || link.Other().waitForReadyRead(60000));
    QVERIFY(link.Other().readAll().endsWith("</Message>\n"));
}

void tst_MessageClient::SendMessage_readOnly()
{
    const QString name = UniqueName();
    RawServer server(name);
    MessageClient client;
    QSignalSpy received(&client, &MessageClient::MessageReceived);
    QSignalSpy connected(&client, &MessageClient::Connected);
    client.ConnectToServer(name); // receives, but does not send
    EVENTUALLY_EQUAL(connected.count(), 1);
    QVERIFY(server.Client() != nullptr);
    QCOMPARE(client.SendMessage(u"m"_s, {}), true);
    QVariantMap answer;
    QCOMPARE(client.SendMessageAndGetResponse(u"m"_s, {}, answer, 50), false);
    Write(*server.Client(), Document(u"to the client"_s));
    EVENTUALLY_EQUAL(received.count(), 1);
    QCOMPARE(server.Client()->bytesAvailable(), 0);
}

void tst_MessageClient::SendMessage_largeWaitsForReceiver()
{
    Link link;
    QVERIFY(link.Ok);
    QLocalSocket& other = link.Other();
    const QVariantMap params{{u"text"_s, QString(100000, u'x')}};
    other.setReadBufferSize(1);
    QVERIFY(link.Client.SendMessage(u"first"_s, params, true)); // no other message is queued
    bool reading = false;
    QTimer::singleShot(100, &link.Client, [&] {
        reading = true;
        other.setReadBufferSize(0);
    });
    QVERIFY(link.Client.SendMessage(u"second"_s, params, true));
    QVERIFY(reading); // the wait ended only after the message was written
    QCOMPARE(ReadMessages(other, 2).size(), 2);
}

void tst_MessageClient::SendMessage_timeOut()
{
    Link link(QIODeviceBase::ReadOnly); // nothing is written, so nothing is confirmed
    QVERIFY(link.Ok);
    QElapsedTimer time;
    time.start();
    QCOMPARE(link.Client.SendMessage(u"m"_s, {}, true), false);
    QVERIFY2(time.elapsed() >= 15000, qPrintable(QString::number(time.elapsed())));
    QVERIFY2(time.elapsed() < 29000, qPrintable(QString::number(time.elapsed())));
}

void tst_MessageClient::SendMessage_connectionEndsWait()
{
    // All waits share one event loop, and a new connection ends it with success.
    Link link(QIODeviceBase::ReadOnly); // never confirmed
    QVERIFY(link.Ok);
    Later(&link.Client, [&] { link.Other().disconnectFromServer(); });
    QElapsedTimer time;
    time.start();
    QCOMPARE(link.Client.SendMessage(u"m"_s, {}, true), true); // because the client reconnects
    QVERIFY(time.elapsed() < 14000);
}

void tst_MessageClient::SendMessage_anyConfirmationEndsWait()
{
    Link link(QIODeviceBase::ReadOnly);
    QVERIFY(link.Ok);
    QStringList order;
    Later(&link.Client, [&] {
        MessageInfo answer; // answers no request, so the wait goes on
        answer.IsResponse = true;
        link.Client.MessageReceivedSlot(answer);
        Later(&link.Client, [&] {
            order.append(u"answer"_s);
            MessageInfo other; // a confirmation of any message ends the wait
            other.Id = u"other"_s;
            link.Client.MessageSentSlot(other);
        });
    });
    QCOMPARE(link.Client.SendMessage(u"m"_s, {}, true), true);
    order.append(u"sent"_s);
    QCOMPARE(order, (QStringList{u"answer"_s, u"sent"_s}));
}

void tst_MessageClient::Request_answered()
{
    Link link;
    QVERIFY(link.Ok);
    QLocalSocket& other = link.Other();
    ForEachMessage(other, [&other](const MessageInfo& message) {
        Write(other, Document(u"any name"_s, {{u"asked"_s, message.Params}}, {}, message.UniqueId));
    });
    QSignalSpy received(&link.Client, &MessageClient::MessageReceived);
    for (int i = 0; i < 20; ++i) {
        QVariantMap answer{{u"old"_s, true}};
        QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {{u"i"_s, i}}, answer, 60000), true);
        QCOMPARE(answer, (QVariantMap{{u"asked"_s, QVariantMap{{u"i"_s, i}}}}));
    }
    QCOMPARE(received.count(), 0);
}

void tst_MessageClient::Request_wire()
{
    Link link;
    QVERIFY(link.Ok);
    QVariantMap answer;
    link.Client.SendMessageAndGetResponse(u"ask"_s, {{u"a"_s, 1}}, answer, 0);
    link.Client.SendMessageAndGetResponse(u"ask"_s, {{u"a"_s, 1}}, answer, 0);
    const QList<MessageInfo> messages = ReadMessages(link.Other(), 2);
    QCOMPARE(messages.size(), 2);
    for (const MessageInfo& message : messages) {
        QCOMPARE(message.Id, u"ask"_s);
        QCOMPARE(message.NeedResponse, true);
        QCOMPARE(message.IsResponse, false);
        QVERIFY(!message.UniqueId.isNull());
        QVERIFY(message.OriginalMessageUniqueId.isNull());
        QCOMPARE(message.Params, (QVariantMap{{u"a"_s, 1}}));
    }
    QVERIFY(messages.at(0).UniqueId != messages.at(1).UniqueId);
}

void tst_MessageClient::Request_responseIsParams()
{
    Link link;
    QVERIFY(link.Ok);
    QVariantMap map{{u"a"_s, 1}};
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, map, map, 0), false);
    QCOMPARE(map, QVariantMap());
    const QList<MessageInfo> messages = ReadMessages(link.Other(), 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().Params, (QVariantMap{{u"a"_s, 1}}));
}

void tst_MessageClient::Request_notConnected()
{
    MessageClient client;
    client.ConnectToServer(UniqueName(), kReadWrite);
    QVariantMap answer{{u"old"_s, true}};
    QElapsedTimer time;
    time.start();
    QCOMPARE(client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 60000), false);
    QVERIFY(time.elapsed() < 30000);
    QCOMPARE(answer, QVariantMap());
}

void tst_MessageClient::Request_timeOut_data()
{
    QTest::addColumn<int>("timeoutMs");

    QTest::newRow("at once") << 0;
    QTest::newRow("short") << 150;
}

void tst_MessageClient::Request_timeOut()
{
    QFETCH(const int, timeoutMs);

    Link link;
    QVERIFY(link.Ok);
    QVariantMap answer{{u"old"_s, true}};
    QElapsedTimer time;
    time.start();
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, timeoutMs), false);
    QVERIFY(time.elapsed() >= timeoutMs - 10);
    QVERIFY(time.elapsed() < 20000);
    QCOMPARE(answer, QVariantMap());
}

void tst_MessageClient::Request_negativeTimeout()
{
    Link link;
    QVERIFY(link.Ok);
    QVariantMap answer;
    QElapsedTimer time;
    time.start();
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, -1), false);
    QVERIFY2(time.elapsed() >= 29900, qPrintable(QString::number(time.elapsed())));
    QVERIFY(time.elapsed() < 60000);
}

void tst_MessageClient::Request_nested()
{
    Link link;
    QVERIFY(link.Ok);
    QLocalSocket& other = link.Other();
    bool nested = true;
    QVariantMap nestedAnswer{{u"old"_s, true}};
    connect(&link.Client, &MessageClient::MessageReceived, &link.Client,
            [&] { nested = link.Client.SendMessageAndGetResponse(u"nested"_s, {}, nestedAnswer, 60000); });
    connect(&other, &QLocalSocket::readyRead, &other, [&] {
        const QList<MessageInfo> messages = ReadMessages(other, 1);
        Write(other, Document(u"go"_s) + Document(u"r"_s, {{u"a"_s, 1}}, {}, messages.constFirst().UniqueId));
    });
    QVariantMap answer;
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 60000), true);
    QCOMPARE(answer, (QVariantMap{{u"a"_s, 1}}));
    QCOMPARE(nested, false);
    QCOMPARE(nestedAnswer, QVariantMap());
}

void tst_MessageClient::Request_waitsWithinWaits()
{
    Link link;
    QVERIFY(link.Ok);
    bool sent = true;
    bool connected = false;
    Later(&link.Client, [&] {
        sent = link.Client.SendMessage(u"nested"_s, {}, true);
        connected = link.Client.WaitForConnection(60000);
    });
    QVariantMap answer;
    QElapsedTimer time;
    time.start();
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 300), false);
    QVERIFY(time.elapsed() < 14000); // the inner wait has not postponed the outer deadline
    QCOMPARE(sent, false); // the slot did not wait
    QCOMPARE(connected, true); // no wait was necessary
    QCOMPARE(ReadMessages(link.Other(), 2).size(), 2); // sent nevertheless
}

// Slots of NewOutgoingMessage are called before the wait for the answer begins, and may wait themselves.
void tst_MessageClient::Request_sendsAndWaitsInSlot()
{
    Link link;
    QVERIFY(link.Ok);
    bool sent = false;
    QElapsedTimer time;
    time.start();
    connect(&link.Client, &MessageClient::NewOutgoingMessage, &link.Client, [&](const MessageInfo& message) {
        if (message.Id == "ask"_L1)
            sent = link.Client.SendMessage(u"beside it"_s, {}, true);
    });
    QVariantMap answer;
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 0), false); // nobody answers
    QCOMPARE(sent, true);
    QVERIFY2(time.elapsed() < 14000, qPrintable(QString::number(time.elapsed())));
}

void tst_MessageClient::Request_otherAnswers()
{
    Link link;
    QVERIFY(link.Ok);
    QLocalSocket& other = link.Other();
    QSignalSpy received(&link.Client, &MessageClient::MessageReceived);
    QUuid asked;
    ForEachMessage(other, [&](const MessageInfo& message) {
        asked = message.UniqueId;
        MessageInfo withoutQuestion;
        withoutQuestion.Id = u"Response"_s;
        withoutQuestion.IsResponse = true;
        Write(other,
              Document(u"Response"_s, {{u"wrong"_s, 1}}, {}, QUuid::createUuid())
                  + EncodeMessage(withoutQuestion).toUtf8() + Document(u"message"_s));
    });
    // Send the right answer once the client has processed the others.
    connect(&link.Client, &MessageClient::MessageReceived, &other, [&] {
        Write(other, Document(u"Response"_s, {{u"right"_s, 1}}, {}, asked));
    });
    QVariantMap answer;
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 60000), true);
    QCOMPARE(answer, (QVariantMap{{u"right"_s, 1}}));
    QCOMPARE(received.count(), 1);
    QCOMPARE(received.at(0).at(0).toString(), u"message"_s);
}

void tst_MessageClient::Request_lateAnswer()
{
    Link link;
    QVERIFY(link.Ok);
    QSignalSpy received(&link.Client, &MessageClient::MessageReceived);
    QVariantMap answer;
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 0), false);
    const QList<MessageInfo> messages = ReadMessages(link.Other(), 1);
    QCOMPARE(messages.size(), 1);
    Write(link.Other(), Document(u"Response"_s, {{u"late"_s, 1}}, {}, messages.constFirst().UniqueId));
    Write(link.Other(), Document(u"behind it"_s));
    EVENTUALLY_EQUAL(received.count(), 1);
    QCOMPARE(received.at(0).at(0).toString(), u"behind it"_s);
    QCOMPARE(answer, QVariantMap());
}

void tst_MessageClient::Request_connectionEndsWait()
{
    // Reconnecting ends this wait with success too, but without an answer.
    Link link;
    QVERIFY(link.Ok);
    Later(&link.Client, [&] { link.Other().disconnectFromServer(); });
    QVariantMap answer{{u"old"_s, true}};
    QCOMPARE(link.Client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 60000), true);
    QCOMPARE(answer, QVariantMap());
}

void tst_MessageClient::Receive_messages()
{
    Link link;
    QVERIFY(link.Ok);
    QSignalSpy received(&link.Client, &MessageClient::MessageReceived);
    // A request is announced like any other message, because a client has no responders.
    Write(link.Other(), Document(u"a"_s, {{u"k"_s, 1}}, QUuid::createUuid()));
    EVENTUALLY_EQUAL(received.count(), 1);
    QCOMPARE(received.at(0).at(0).toString(), u"a"_s);
    QCOMPARE(received.at(0).at(1).toMap(), (QVariantMap{{u"k"_s, 1}}));
}

void tst_MessageClient::Receive_split()
{
    Link link;
    QVERIFY(link.Ok);
    QSignalSpy received(&link.Client, &MessageClient::MessageReceived);
    const QByteArray document = Document(u"split"_s);
    Write(link.Other(), document.first(100));
    QVERIFY(WaitUntilProcessed(link.Other(), link.Client));
    Write(link.Other(), document.sliced(100));
    QVERIFY(WaitUntilProcessed(link.Other(), link.Client));
    Write(link.Other(), Document(u"next"_s));
    EVENTUALLY_EQUAL(received.count(), 1);
    QCOMPARE(received.at(0).at(0).toString(), u"next"_s);
}

void tst_MessageClient::Receive_joinedAndNoise()
{
    Link link;
    QVERIFY(link.Ok);
    QSignalSpy received(&link.Client, &MessageClient::MessageReceived);
    Write(link.Other(), "noise" + Document(u"a"_s) + Document(u"b"_s) + Document(u"cut"_s).chopped(5));
    QVERIFY(WaitUntilProcessed(link.Other(), link.Client));
    Write(link.Other(), Document(u"last"_s));
    EVENTUALLY_EQUAL(received.count(), 3);
    QCOMPARE(received.at(0).at(0).toString(), u"a"_s);
    QCOMPARE(received.at(1).at(0).toString(), u"b"_s);
    QCOMPARE(received.at(2).at(0).toString(), u"last"_s);
}

void tst_MessageClient::Slot_deletesClient()
{
    for (int round = 0; round < 20; ++round) {
        const QString name = UniqueName();
        RawServer server(name);
        auto client = std::make_unique<MessageClient>();
        connect(client.get(), &MessageClient::MessageReceived, this, [&] { client.reset(); });
        client->ConnectToServer(name, kReadWrite);
        QVERIFY(server.Client() != nullptr);
        Write(*server.Client(), Document(u"a"_s) + Document(u"b"_s));
        EVENTUALLY(client == nullptr);
    }
}

void tst_MessageClient::Slot_deletesClientInWait_data()
{
    QTest::addColumn<int>("wait");

    QTest::newRow("request") << 0;
    QTest::newRow("sending") << 1;
    QTest::newRow("connecting") << 2;
}

void tst_MessageClient::Slot_deletesClientInWait()
{
    QFETCH(const int, wait);

    for (int round = 0; round < 10; ++round) {
        const QString name = UniqueName();
        RawServer server(name);
        auto client = std::make_unique<MessageClient>();
        if (wait == 2)
            client->ConnectToServer(UniqueName(), QIODeviceBase::ReadOnly);
        else
            QVERIFY(ConnectClient(*client, name, QIODeviceBase::ReadOnly));
        Later(this, [&] { client.reset(); });
        QVariantMap answer{{u"old"_s, true}};
        MessageClient* const waiting = client.get();
        switch (wait) {
        case 0:
            QCOMPARE(waiting->SendMessageAndGetResponse(u"ask"_s, {}, answer, 60000), false);
            QCOMPARE(answer, QVariantMap());
            break;
        case 1:
            QCOMPARE(waiting->SendMessage(u"m"_s, {}, true), false);
            break;
        default:
            QCOMPARE(waiting->WaitForConnection(60000), false);
            break;
        }
        QVERIFY(client == nullptr);
    }
}

void tst_MessageClient::Slot_disconnects()
{
    for (int round = 0; round < 20; ++round) {
        Link link;
        QVERIFY(link.Ok);
        int received = 0;
        connect(&link.Client, &MessageClient::MessageReceived, &link.Client, [&] {
            ++received;
            link.Client.DisconnectFromServer();
        });
        Write(link.Other(), Document(u"a"_s) + Document(u"b"_s));
        EVENTUALLY_EQUAL(received, 1);
        EVENTUALLY_EQUAL(link.Other().state(), QLocalSocket::UnconnectedState);
        QCOMPARE(received, 1);
    }
}

void tst_MessageClient::Slot_opensEventLoop()
{
    Link link;
    QVERIFY(link.Ok);
    QStringList order;
    connect(&link.Client, &MessageClient::MessageReceived, &link.Client, [&](const QString& id) {
        order.append(id);
        if (id == u"a"_s)
            QVERIFY(WaitUntil([&] { return order.size() == 3; }));
        order.append(u"end of "_s + id);
    });
    Write(link.Other(), Document(u"a"_s) + Document(u"b"_s));
    EVENTUALLY_EQUAL(order, (QStringList{u"a"_s, u"b"_s, u"end of b"_s, u"end of a"_s}));
}

void tst_MessageClient::Slot_opensEventLoopUntilDeleted()
{
    const QString name = UniqueName();
    RawServer server(name);
    auto client = std::make_unique<MessageClient>();
    QStringList order;
    connect(client.get(), &MessageClient::MessageReceived, this, [&](const QString& id) {
        if (id == u"b"_s)
            client.reset();
        else
            QVERIFY(WaitUntil([&] { return client == nullptr; }));
        order.append(id);
    });
    client->ConnectToServer(name, kReadWrite);
    QVERIFY(server.Client() != nullptr);
    Write(*server.Client(), Document(u"a"_s) + Document(u"b"_s) + Document(u"c"_s));
    EVENTUALLY_EQUAL(order, (QStringList{u"b"_s, u"a"_s}));
}

void tst_MessageClient::IsConnected_fromOtherThread()
{
    MessageServer server;
    const QString name = UniqueName();
    server.Start(name);
    MessageClient client;
    std::atomic<bool> isOver = false;
    std::atomic<int> seen = 0;
    const std::unique_ptr<QThread> other(QThread::create([&] {
        while (!isOver)
            seen += client.IsConnected() ? 1 : 0;
    }));
    other->start();
    const auto end = qScopeGuard([&] {
        isOver = true;
        other->wait();
    });
    for (int i = 0; i < 20; ++i) {
        client.ConnectToServer(name, kReadWrite);
        QVERIFY(client.WaitForConnection(TestSupport::kEventTimeoutMs));
        const int before = seen;
        EVENTUALLY(seen > before);
        client.DisconnectFromServer();
    }
}

// Sent messages are announced once each, in order, and before messages that have arrived since.
void tst_MessageClient::Thread_pausesSentNotifications()
{
    RawServer server(UniqueName());
    QVERIFY(server.IsListening());
    MessageClient client; // only emits NewOutgoingMessage
    MessageClientThread thread(server.Name(), kReadWrite, &client);
    const auto stop = qScopeGuard([&thread] { thread.Stop(); });
    QStringList order;
    connect(&thread, &MessageClientThread::MessageSent, &thread,
            [&order](const MessageInfo& message) { order.append(u"sent "_s + message.Id); });
    connect(&thread, &MessageClientThread::MessageReceived, &thread,
            [&order](const MessageInfo& message) { order.append(u"received "_s + message.Id); });
    const auto send = [&](const QString& id) {
        MessageInfo message;
        message.Id = id;
        Q_EMIT client.NewOutgoingMessage(message);
    };
    thread.start();
    EVENTUALLY(thread.IsConnected());
    QVERIFY(server.Client() != nullptr);
    QLocalSocket& other = *server.Client();

    thread.PauseSentNotifications();
    send(u"1"_s);
    send(u"2"_s);
    QCOMPARE(ReadMessages(other, 2).size(), 2);
    QCOMPARE(order, QStringList());
    Write(other, Document(u"a"_s));
    QStringList expected{u"sent 1"_s, u"sent 2"_s, u"received a"_s};
    EVENTUALLY_EQUAL(order, expected);

    send(u"3"_s); // still paused
    QCOMPARE(ReadMessages(other, 1).size(), 1);
    QCOMPARE(order, expected);
    thread.ResumeSentNotifications();
    expected.append(u"sent 3"_s);
    EVENTUALLY_EQUAL(order, expected);

    send(u"4"_s); // nothing arrives, and nobody waits
    expected.append(u"sent 4"_s);
    EVENTUALLY_EQUAL(order, expected);
}

void tst_MessageClient::Worker()
{
    const QString name = UniqueName();
    RawServer server(name);
    MessageClient client; // only emits NewOutgoingMessage
    MessageClientWorker worker(name, kReadWrite, &client);
    QSignalSpy connected(&worker, &MessageClientWorker::Connected);
    QSignalSpy disconnected(&worker, &MessageClientWorker::Disconnected);
    QSignalSpy sent(&worker, &MessageClientWorker::MessageSent);
    QSignalSpy received(&worker, &MessageClientWorker::MessageReceived);
    const MessageInfo message{u"N"_s, QUuid::createUuid(), true, true, QUuid::createUuid(), {{u"a"_s, 1}}};

    QCOMPARE(worker.IsConnected(), false);
    worker.ReadMessage();
    worker.DisconnectFromServer();
    Q_EMIT client.NewOutgoingMessage(message); // dropped
    worker.ConnectAndListen();
    EVENTUALLY(worker.IsConnected());
    QCOMPARE(worker.ConnectToServer(), true);
    QCOMPARE(connected.count(), 1);
    QVERIFY(server.Client() != nullptr);

    Q_EMIT client.NewOutgoingMessage(message);
    QCOMPARE(sent.count(), 1);
    QCOMPARE(EncodeMessage(sent.at(0).at(0).value<MessageInfo>()), EncodeMessage(message));
    QCOMPARE(ReadMessages(*server.Client(), 1).size(), 1);

    worker.ReadMessage(); // nothing to read
    QCOMPARE(received.count(), 0);
    Write(*server.Client(), EncodeMessage(message).toUtf8());
    EVENTUALLY_EQUAL(received.count(), 1);
    QCOMPARE(EncodeMessage(received.at(0).at(0).value<MessageInfo>()), EncodeMessage(message));
    QCOMPARE(disconnected.count(), 0);
}

void tst_MessageClient::Worker_withoutTimer()
{
    // ConnectToServer makes one attempt. Only ConnectAndListen starts the timer for more.
    const QString name = UniqueName();
    MessageClient client;
    MessageClientWorker worker(name, kReadWrite, &client);
    QSignalSpy disconnected(&worker, &MessageClientWorker::Disconnected);
    QCOMPARE(worker.ConnectToServer(), true); // no server
    QCOMPARE(worker.IsConnected(), false);
    RawServer server(name);
    QCOMPARE(worker.ConnectToServer(), true);
    EVENTUALLY(worker.IsConnected());
    QVERIFY(server.Client() != nullptr);
    server.Client()->disconnectFromServer();
    EVENTUALLY_EQUAL(disconnected.count(), 1);
    QCOMPARE(worker.IsConnected(), false);
}

void tst_MessageClient::Worker_staysDisconnected()
{
    const QString name = UniqueName();
    QLocalServer server;
    QVERIFY(server.listen(name));
    MessageClient client;
    MessageClientWorker worker(name, kReadWrite, &client);
    MessageClientWorker other(name, kReadWrite, &client);
    QSignalSpy connected(&worker, &MessageClientWorker::Connected);
    QSignalSpy disconnected(&worker, &MessageClientWorker::Disconnected);
    QSignalSpy otherConnected(&other, &MessageClientWorker::Connected);
    worker.ConnectAndListen();
    EVENTUALLY_EQUAL(connected.count(), 1);
    worker.DisconnectFromServer();
    EVENTUALLY_EQUAL(disconnected.count(), 1);
    // Another worker starts later and reconnects twice. By then, this one would have reconnected too.
    connect(&server, &QLocalServer::newConnection, &server, [&] {
        while (server.hasPendingConnections())
            server.nextPendingConnection()->disconnectFromServer();
    });
    other.ConnectAndListen();
    EVENTUALLY(otherConnected.count() >= 3);
    QCOMPARE(connected.count(), 1);
    // An error restarts the attempts after a disconnection too.
    worker.Error(QLocalSocket::PeerClosedError);
    EVENTUALLY_EQUAL(connected.count(), 2);
}

void tst_MessageClient::TrustedUsers()
{
    QCOMPARE(IsTrustedUser(1000, 1000), true);
    QCOMPARE(IsTrustedUser(0, 1000), true);
    QCOMPARE(IsTrustedUser(1001, 1000), false);
    QCOMPARE(IsTrustedUser(1000, 0), false);
    QCOMPARE(Platform::GetUserId(), quint32(::geteuid()));
    Link link;
    QVERIFY(link.Ok);
    QCOMPARE(Platform::GetPeerUserId(link.Other().socketDescriptor()), std::optional(Platform::GetUserId()));
}

// Only root can start a server of another user.
void tst_MessageClient::ForeignServer()
{
    if (::geteuid() != 0)
        QSKIP("needs root to run a server as another user");
    const QString name = UniqueName();
    Peer peer({u"foreign"_s, name});
    QCOMPARE(peer.WaitForLine(u"ready"_s), u"ready"_s);
    const TestSupport::LogGuard log;
    MessageClient client;
    QSignalSpy connected(&client, &MessageClient::Connected);
    QSignalSpy disconnected(&client, &MessageClient::Disconnected);
    client.ConnectToServer(name, kReadWrite);
    // The client tries again a second later, gives up each time, and logs only the first time.
    QCOMPARE(peer.WaitForLine(u"came"_s), u"came"_s);
    QCOMPARE(peer.WaitForLine(u"came"_s), u"came"_s);
    QCOMPARE(client.IsConnected(), false);
    QCOMPARE(client.SendMessage(u"secret"_s, {}), false);
    QCOMPARE(connected.count(), 0);
    QCOMPARE(disconnected.count(), 0);
    QCOMPARE(TestSupport::LogGuard::Messages(),
             QStringList(u"the server \"%1\" belongs to another user and was refused"_s.arg(name)));
}

QTEST_GUILESS_MAIN(tst_MessageClient)

#include "tst_MessageClient.moc"
