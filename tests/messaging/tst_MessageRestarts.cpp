// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageClient_p.h"
#include "support/MessagingSupport.h"
#include "support/TestSupport.h"

#include <QRandomGenerator>
#include <QTimer>
#include <QtTest>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace MessagingSupport;

// Loses dozens of connections. Takes minutes, because a client retries only once a second.
class tst_MessageRestarts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void ServerRestarts();
    void ServerKilled();
    void ClientKilled();
};

void tst_MessageRestarts::ServerRestarts()
{
    // Restart the server 100 times while a client keeps sending requests.
    const QString name = UniqueName();
    Peer client({u"client"_s, name});
    for (int round = 0; round < 100; ++round) {
        int firstAsked = 0;
        RawServer server(name);
        QVERIFY(server.IsListening());
        QLocalSocket* const socket = server.Client();
        QVERIFY(socket != nullptr);
        ForEachMessage(*socket, [&](const MessageInfo& message) {
            if (firstAsked == 0)
                firstAsked = message.Params.value(u"n"_s).toInt();
            Write(*socket, Document(u"Response"_s, message.Params, {}, message.UniqueId));
        });
        int answered = 0;
        int asked = 0;
        while (answered == 0 || firstAsked == 0 || asked < firstAsked) { // until this server answers
            const QString line = client.WaitForLine(u"answer "_s);
            QVERIFY(!line.isEmpty());
            answered = line.section(u' ', 1, 1).toInt();
            asked = line.section(u' ', 2, 2).toInt();
            // An answer must belong to this request. Reconnecting also ends a wait, with an empty answer.
            QVERIFY2(answered == asked || answered == 0, qPrintable(line));
        }
    }
}

void tst_MessageRestarts::ServerKilled()
{
    const QString name = UniqueName();
    MessageClient client;
    client.ConnectToServer(name, QIODeviceBase::ReadWrite);
    QRandomGenerator random(7);
    for (int round = 0; round < 50; ++round) {
        Peer server({u"serve"_s, name});
        const QObject thisRound;
        QVERIFY(!server.WaitForLine(u"ready"_s).isEmpty());
        // A connection soon exists, but possibly to the previous server, whose end has gone unnoticed so far.
        QVERIFY(WaitUntil([&] {
            QVariantMap answer;
            return client.SendMessageAndGetResponse(u"ask"_s, {{u"n"_s, round}}, answer, 1000)
                && answer.value(u"n"_s).toInt() == round;
        }));
        for (int i = random.bounded(5); i > 0; --i)
            client.SendMessage(u"m"_s, {{u"text"_s, QString(random.bounded(100000), u'x')}});
        if (random.bounded(2) == 0)
            QTimer::singleShot(random.bounded(5), &thisRound, [&] { server.Kill(); });
        QVariantMap answer;
        client.SendMessageAndGetResponse(u"ask"_s, {}, answer, random.bounded(20));
        server.Kill();
    }
}

void tst_MessageRestarts::ClientKilled()
{
    const QString name = UniqueName();
    Peer server({u"serve"_s, name});
    QVERIFY(!server.WaitForLine(u"ready"_s).isEmpty());
    for (int round = 0; round < 50; ++round) {
        Peer client({round % 2 == 0 ? u"client"_s : u"flood"_s, name, u"50000"_s, u"1000"_s});
        if (round % 2 == 0)
            QVERIFY(!client.WaitForLine(u"answer"_s).isEmpty());
        else
            QVERIFY(!server.WaitForLine(u"message"_s).isEmpty());
        client.Kill();
    }
    MessageClient client;
    QVERIFY(ConnectClient(client, name, QIODeviceBase::ReadWrite));
    QVariantMap answer;
    QVERIFY(client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 60000));
    QCOMPARE(answer.value(u"pid"_s).toLongLong(), server.Id());
}

QTEST_GUILESS_MAIN(tst_MessageRestarts)

#include "tst_MessageRestarts.moc"
