// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests qvutil ipc proxy as a process between plain sockets: every byte must get through.

#include "messaging/MessageSocket_p.h"
#include "support/BareSocket.h"
#include "support/MessagingSupport.h"
#include "support/RunningTool.h"
#include "support/ToolTest.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <memory>
#include <optional>
#include <span>
#include <utility>

using namespace Qt::StringLiterals;
using namespace MessagingSupport;
using Quorvin::Util::MessageInfo;
using TestSupport::BareSocket;
using TestSupport::PathOf;
using TestSupport::RunningTool;
using TestSupport::ToolResult;
using TestSupport::ToolRunner;

class tst_ToolIpcProxy : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:

    void Bytes_data();
    void Bytes();
    void Bytes_beforeDisconnection();
    void Bytes_readerThatPauses();
    void Frames_stayWhole();
    void Text();
    void Json();
    void SplitFrame();
    void Unreadable();
    void RequestAndAnswer();
    void ServerGone();
    void ClientGone();
    void ServerMissing();
    void ServerOfOtherUser();
    void NextClient();
    void Ends_data();
    void Ends();
    void SameName();
    void NameInUse();

private:
    void SetUp() override;
    void TearDown() override;
    // Starts a proxy between the two names and waits until it listens.
    [[nodiscard]] bool Start(const QStringList& options = {});

    QString mServerName;
    QString mProxyName;
    std::optional<RawServer> mServer;
    std::optional<RunningTool> mProxy;
};

void tst_ToolIpcProxy::SetUp()
{
    mServerName = UniqueName();
    mProxyName = UniqueName();
    mServer.emplace(mServerName);
    QVERIFY(mServer->IsListening());
}

void tst_ToolIpcProxy::TearDown()
{
    mProxy.reset();
    QFile::remove(PathOf(mProxyName)); // left by a killed proxy
    mServer.reset();
}

bool tst_ToolIpcProxy::Start(const QStringList& options)
{
    mProxy.emplace(*mTool, QStringList{u"ipc"_s, u"proxy"_s, mServerName, u"--as"_s, mProxyName} + options);
    return mProxy->WaitForError("qvutil: listening at ");
}

namespace {

QByteArray RandomBytes(qsizetype size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(generator.bounded(256));
    return bytes;
}

} // namespace

void tst_ToolIpcProxy::Bytes_data()
{
    QTest::addColumn<QByteArray>("toServer");
    QTest::addColumn<QByteArray>("toClient");

    QTest::newRow("one byte") << QByteArray("x") << QByteArray("y");
    QTest::newRow("zeros") << QByteArray(5, '\0') << QByteArray(1, '\0');
    QTest::newRow("invalid UTF-8") << QByteArray("\xff\xc3<?xml \xc3") << QByteArray("\x80");
    QTest::newRow("documents") << Document(u"a"_s) + Document(u"b"_s)
                               << Document(u"c"_s) + "\n\n" + Document(u"d"_s);
    QTest::newRow("starts of documents")
        << QByteArray("<?xml ").repeated(3000) << QByteArray("<?xm<?xml<?xml  ");
    QTest::newRow("many of any kind") << RandomBytes(300'000, 1) << RandomBytes(200'000, 2);
    QTest::newRow("more than fits any buffer") << RandomBytes(20'000'000, 3) << RandomBytes(15'000'000, 4);
}

void tst_ToolIpcProxy::Bytes()
{
    QFETCH(const QByteArray, toServer);
    QFETCH(const QByteArray, toClient);

    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
    // Blocks of irregular sizes, in both directions at once.
    QRandomGenerator generator(7);
    qsizetype sentToServer = 0;
    qsizetype sentToClient = 0;
    QByteArray atServer;
    QByteArray atClient;
    const auto send = [&generator](QLocalSocket& socket, const QByteArray& bytes, qsizetype& sent) {
        if (sent < bytes.size() && socket.bytesToWrite() < 1'000'000) {
            const qsizetype size = std::min<qsizetype>(generator.bounded(1, 100'000), bytes.size() - sent);
            Write(socket, bytes.mid(sent, size));
            sent += size;
        }
    };
    QVERIFY(QTest::qWaitFor(
        [&] {
            send(client, toServer, sentToServer);
            send(*mServer->Client(), toClient, sentToClient);
            QCoreApplication::processEvents();
            atServer += mServer->Client()->readAll();
            atClient += client.readAll();
            return atServer.size() >= toServer.size() && atClient.size() >= toClient.size();
        },
        ToolRunner::kTimeoutMs));
    QVERIFY(atServer == toServer);
    QVERIFY(atClient == toClient);
}

// Bytes written before a disconnection still arrive.
void tst_ToolIpcProxy::Bytes_beforeDisconnection()
{
    QVERIFY(Start());
    const QByteArray bytes = RandomBytes(3'000'000, 5);
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    client.write(bytes);
    client.disconnectFromServer();
    QVERIFY(mServer->Client());
    QByteArray received;
    EVENTUALLY((received += mServer->Client()->readAll(),
                mServer->Client()->state() == QLocalSocket::UnconnectedState));
    received += mServer->Client()->readAll();
    QCOMPARE(received.size(), bytes.size());
    QVERIFY(received == bytes);
}

// The proxy does not buffer everything, so the sender has to wait.
void tst_ToolIpcProxy::Bytes_readerThatPauses()
{
    mServer.reset();
    const BareSocket server(PathOf(mServerName), true);
    QVERIFY(server.IsGood());
    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    const qint64 size = 40 * 1024 * 1024;
    client.write(QByteArray(size, 'x'));
    // Writing succeeds until the buffers are full, and then stops.
    qint64 left = size;
    int unchanged = 0;
    QVERIFY(QTest::qWaitFor(
        [&] {
            unchanged = client.bytesToWrite() == left ? unchanged + 1 : 0;
            left = client.bytesToWrite();
            return unchanged > 50 || left == 0;
        },
        ToolRunner::kTimeoutMs));
    QVERIFY2(left > size / 2, qPrintable(QString::number(left)));
    client.abort();
}

// The peer uses the library, which loses a frame that arrives in two reads.
void tst_ToolIpcProxy::Frames_stayWhole()
{
    constexpr int kCount = 100;
    QVERIFY(Start({u"--json"_s}));
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
    QList<MessageInfo> received;
    connect(mServer->Client(), &QLocalSocket::readyRead, mServer->Client(),
            [&] { received += Quorvin::Util::Internal::ReadMessages(*mServer->Client()); });
    auto* const writer = new Quorvin::Util::Internal::MessageWriter(&client);
    for (int i = 0; i < kCount; ++i) {
        MessageInfo message;
        message.Id = QString::number(i);
        message.Params.insert(u"data"_s, QByteArray(i % 2 == 0 ? 90'000 : 200, 'x'));
        writer->Write(std::span(&std::as_const(message), 1));
    }
    EVENTUALLY_EQUAL(received.size(), kCount);
    for (int i = 0; i < kCount; ++i)
        QCOMPARE(received.at(i).Id, QString::number(i));
    QVERIFY(mProxy->WaitForOutput("\"id\":\"99\""));
    QVERIFY(!mProxy->Output().contains("\"split\""));
}

void tst_ToolIpcProxy::Text()
{
    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
    const QUuid identity = QUuid::createUuid();
    Write(client, Document(u"Ask"_s, {{u"n"_s, 5}}, identity));
    QVERIFY(mProxy->WaitForOutput("n:int=5\n"));
    Write(*mServer->Client(), Document(u"Response"_s, {{u"t"_s, u"a\nb"_s}}, {}, identity));
    QVERIFY(mProxy->WaitForOutput("t=a\\nb\n"));
    Write(*mServer->Client(), Document(u"News"_s));
    QVERIFY(mProxy->WaitForOutput("News\n"));
    static const QRegularExpression time(u"\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d"_s);
    QCOMPARE(QString::fromUtf8(mProxy->End().Output).replace(time, u"TIME"_s),
             u"TIME  to server  request  Ask  %1\n    n:int=5\nTIME  to client  answer  Response  %1\n    "
             u"t=a\\nb\n"
             "TIME  to client  message  News\n"_s.arg(identity.toString()));
}

void tst_ToolIpcProxy::Json()
{
    QVERIFY(Start({u"--json"_s}));
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    const QByteArray document = Document(u"News"_s, {{u"n"_s, 5U}});
    Write(client, document);
    QVERIFY(mProxy->WaitForOutput("}\n"));
    const ToolResult result = mProxy->End();
    QCOMPARE(result.Output.count('\n'), 1);
    const QJsonObject line = QJsonDocument::fromJson(result.Output).object();
    QCOMPARE(line.keys(), QStringList({u"bytes"_s, u"direction"_s, u"message"_s, u"time"_s}));
    QCOMPARE(line.value("bytes"_L1).toInteger(), document.size());
    QCOMPARE(line.value("direction"_L1), QJsonValue(u"to server"_s));
    QVERIFY(QDateTime::fromString(line.value("time"_L1).toString(), Qt::ISODateWithMs).isValid());
    QCOMPARE(line.value("message"_L1).toObject().value("types"_L1),
             QJsonValue(QJsonObject{{u"n"_s, u"UInt"_s}}));
}

// The frame is forwarded in two parts, as it arrived, and reported as split.
void tst_ToolIpcProxy::SplitFrame()
{
    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
    const QByteArray document = Document(u"News"_s, {{u"n"_s, 5}});
    QByteArray atServer;
    Write(client, document.first(40));
    EVENTUALLY((atServer += mServer->Client()->readAll(), atServer.size() == 40));
    Write(client, document.sliced(40, 10));
    EVENTUALLY((atServer += mServer->Client()->readAll(), atServer.size() == 50));
    Write(client, document.sliced(50) + Document(u"Whole"_s));
    QVERIFY(mProxy->WaitForOutput("message  Whole\n"));
    EVENTUALLY((atServer += mServer->Client()->readAll(), atServer == document + Document(u"Whole"_s)));
    const QByteArray output = mProxy->End().Output;
    QVERIFY2(output.contains("message  News  (arrived in 3 reads: the library loses it)\n    n:int=5\n"),
             output.constData());
    QCOMPARE(output.count("reads"), 1);
}

void tst_ToolIpcProxy::Unreadable()
{
    QVERIFY(Start({u"--json"_s}));
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    Write(client,
          "noise" + Document(u"First"_s) + "<?xml version=\"1.0\"?><Message" + Document(u"Second"_s)
              + "<?xml cut");
    QVERIFY(mProxy->WaitForOutput("Second"));
    client.disconnectFromServer();
    QVERIFY(mProxy->WaitForError("has disconnected", 2));
    const QList<QByteArray> lines = mProxy->End().Output.trimmed().split('\n');
    QCOMPARE(lines.size(), 5);
    const QJsonObject noise = QJsonDocument::fromJson(lines[0]).object();
    QCOMPARE(noise.value("event"_L1), QJsonValue(u"unreadable"_s));
    QCOMPARE(noise.value("bytes"_L1), QJsonValue(5));
    QCOMPARE(noise.value("problem"_L1), QJsonValue(u"no frame begins here"_s));
    QVERIFY(lines[1].contains("\"First\""));
    QCOMPARE(QJsonDocument::fromJson(lines[2]).object().value("problem"_L1),
             QJsonValue(u"the frame is truncated"_s));
    QVERIFY(lines[3].contains("\"Second\""));
    QCOMPARE(QJsonDocument::fromJson(lines[4]).object().value("bytes"_L1), QJsonValue(9));
}

void tst_ToolIpcProxy::RequestAndAnswer()
{
    mServer.reset();
    RunningTool listener(*mTool, {u"ipc"_s, u"listen"_s, mServerName, u"--echo"_s});
    QVERIFY(listener.WaitForError("qvutil: listening at "));
    QVERIFY(Start());
    QCOMPARE(TestSupport::RunIpc(*mTool, {u"call"_s, mProxyName, u"Ask"_s, u"a=b"_s}).ToText(),
             u"a=b\n=> 0\n"_s);
    QVERIFY(mProxy->WaitForError("the client has disconnected"));
    QVERIFY(mProxy->WaitForError("the server has disconnected"));
    QVERIFY(listener.WaitForError("a client has disconnected"));
    QCOMPARE(listener.End().ExitCode, 0);
}

void tst_ToolIpcProxy::ServerGone()
{
    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
    mServer->Client()->disconnectFromServer();
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
    QVERIFY(
        mProxy->WaitForError("qvutil: the server has disconnected\nqvutil: the client has disconnected\n"));
}

void tst_ToolIpcProxy::ClientGone()
{
    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
    client.disconnectFromServer();
    EVENTUALLY_EQUAL(mServer->Client()->state(), QLocalSocket::UnconnectedState);
    QVERIFY(
        mProxy->WaitForError("qvutil: the client has disconnected\nqvutil: the server has disconnected\n"));
}

// The proxy disconnects the client, which may try again, as it would without the proxy.
void tst_ToolIpcProxy::ServerMissing()
{
    mServer.reset();
    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
    QVERIFY(mProxy->WaitForError("qvutil: " + mServerName.toUtf8() + ": no server has this name: there is no "
                                 + PathOf(mServerName).toUtf8()));
    QVERIFY(mProxy->WaitForError("qvutil: the client has been disconnected: the server cannot be reached\n"));
    mServer.emplace(mServerName);
    QVERIFY(Connect(client, mProxyName));
    Write(client, Document(u"News"_s));
    QVERIFY(mServer->Client());
    QCOMPARE(ReadMessages(*mServer->Client(), 1).size(), 1);
}

void tst_ToolIpcProxy::ServerOfOtherUser()
{
    if (::geteuid() != 0)
        QSKIP("needs root to run a server as another user");
    mServer.reset();
    Peer peer({u"foreign"_s, mServerName});
    QCOMPARE(peer.WaitForLine(u"ready"_s), u"ready"_s);
    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
    QVERIFY(mProxy->WaitForError("clients accept only servers of the same user or of root"));
}

void tst_ToolIpcProxy::NextClient()
{
    QVERIFY(Start());
    QLocalSocket first;
    QVERIFY(Connect(first, mProxyName));
    QLocalSocket* const firstAtServer = mServer->Client();
    QVERIFY(firstAtServer);
    QLocalSocket second;
    QVERIFY(Connect(second, mProxyName));
    EVENTUALLY_EQUAL(first.state(), QLocalSocket::UnconnectedState);
    EVENTUALLY_EQUAL(firstAtServer->state(), QLocalSocket::UnconnectedState);
    QVERIFY(mProxy->WaitForError("qvutil: the client has been disconnected: a new client "
                                 "displaces it\nqvutil: the server has been disconnected\n"));
    QCOMPARE(mProxy->End().ExitCode, 0);
    EVENTUALLY_EQUAL(second.state(), QLocalSocket::UnconnectedState);
}

void tst_ToolIpcProxy::Ends_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void tst_ToolIpcProxy::Ends()
{
    QFETCH(const int, signal);

    QVERIFY(Start());
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
    QCOMPARE(mProxy->End(signal).ExitCode, 0);
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
    EVENTUALLY_EQUAL(mServer->Client()->state(), QLocalSocket::UnconnectedState);
    QVERIFY(!QFile::exists(PathOf(mProxyName)));
}

void tst_ToolIpcProxy::SameName()
{
    for (const QString& name : {mServerName, PathOf(mServerName)}) {
        RunningTool proxy(*mTool, {u"ipc"_s, u"proxy"_s, mServerName, u"--as"_s, name, u"--replace"_s});
        QCOMPARE(proxy.WaitForEnd().ToText(),
                 u"! qvutil: NAME and --as are the same; clients must connect to the name given by --as\n"
                 "! Try 'qvutil ipc proxy --help'.\n=> 2\n"_s);
    }
    RunningTool proxy(*mTool, QStringList{u"ipc"_s, u"proxy"_s, mServerName});
    QCOMPARE(proxy.WaitForEnd().ToText(),
             u"! qvutil: --as is required\n! Try 'qvutil ipc proxy --help'.\n=> 2\n"_s);
}

void tst_ToolIpcProxy::NameInUse()
{
    const RawServer other(mProxyName);
    QVERIFY(other.IsListening());
    RunningTool proxy(*mTool, {u"ipc"_s, u"proxy"_s, mServerName, u"--as"_s, mProxyName});
    const ToolResult result = proxy.WaitForEnd();
    QCOMPARE(result.ExitCode, 2);
    QVERIFY2(result.Errors.contains("use --replace to take over its name"), result.Errors.constData());
    QVERIFY(Start({u"--replace"_s}));
    QLocalSocket client;
    QVERIFY(Connect(client, mProxyName));
    QVERIFY(mServer->Client());
}

QTEST_GUILESS_MAIN(tst_ToolIpcProxy)
#include "tst_ToolIpcProxy.moc"
