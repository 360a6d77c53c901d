// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPCManager.h"
#include "support/MessagingSupport.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace MessagingSupport;

namespace {

constexpr QIODeviceBase::OpenMode kReadWrite = QIODeviceBase::ReadWrite;

class Responder final : public IMessageResponder
{
public:
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override
    {
        ++Calls;
        if (Then)
            Then();
        responseParams = params;
        responseParams.insert(u"id"_s, messageId);
        return true;
    }
    int Calls = 0;
    std::function<void()> Then;
};

QString SocketPath(const QString& name)
{
    return QDir::temp().filePath(name);
}

// A manager with a server, and another one connected to it.
struct Pair
{
    explicit Pair(QIODeviceBase::OpenMode serverMode = kReadWrite,
                  QIODeviceBase::OpenMode clientMode = kReadWrite)
        : Name(UniqueName())
        , Client(std::make_unique<IPCManager>())
        , AtServer(&Server, &IPCManager::MessageReceived)
        , AtClient(Client.get(), &IPCManager::MessageReceived)
        , ClientCame(&Server, &IPCManager::ConnectedToClient)
        , ClientLeft(&Server, &IPCManager::DisconnectedFromClient)
        , ServerFound(Client.get(), &IPCManager::ConnectedToServer)
        , ServerLost(Client.get(), &IPCManager::DisconnectedFromServer)
    {
        Ok = Server.StartServer(Name, serverMode) && Client->ConnectToServer(Name, clientMode)
            && Client->WaitForConnectionToServer(Name, 60000)
            && WaitUntil([this] { return Server.IsConnectedToAnyClient() && ServerFound.count() == 1; });
    }

    QString Name;
    IPCManager Server;
    std::unique_ptr<IPCManager> Client;
    QSignalSpy AtServer;
    QSignalSpy AtClient;
    QSignalSpy ClientCame;
    QSignalSpy ClientLeft;
    QSignalSpy ServerFound;
    QSignalSpy ServerLost;
    bool Ok = false;
};

using Operation = std::function<bool(IPCManager&)>; // the result must be false

} // namespace

class tst_IPCManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void MetaObject();
    void WrongThread_data();
    void WrongThread();
    void WaitForConnectionToServer_withoutClient();
    void Untouched();
    void StartServer();
    void StartServer_twice();
    void StartServer_signals_data();
    void StartServer_signals();
    void StartServer_afterStopDoublesSignals();
    void StartServer_modeOfLastStart();
    void StartServer_unusableName();
    void IsServerListening();
    void IsServerListening_unusableName();
    void IsServerListening_socketDeleted();
    void IsServerListening_folderMovedAway();
    void IsServerListening_socketReplaced_data();
    void IsServerListening_socketReplaced();
    void IsServerListening_nameTakenOver();
    void ConnectToServer();
    void ConnectToServer_twice();
    void ConnectToServer_modes_data();
    void ConnectToServer_modes();
    void DisconnectFromServer();
    void WaitForConnectionToServer_time();
    void Reconnect();

    void SendMessage_toBoth();
    void SendMessage_serverMode_data();
    void SendMessage_serverMode();
    void SendMessage_waitForSent();
    void SendMessage_notConnected();
    void Request_answered();
    void Request_large();
    void Request_withoutClient();

    void Responders_beforeServer();
    void Responders_registration();
    void DeleteAllConnections_withoutGrid();

    void Slot_deletesClient();
    void Slot_deletesManager();
    void Slot_deletesClientInRequest();
    void Responder_stopsServer();
};

void tst_IPCManager::MetaObject()
{
    QCOMPARE(MethodsOf(IPCManager::staticMetaObject),
             (QStringList{u"signal MessageReceived(QString,QVariantMap) id,paramMap"_s,
                          u"signal ConnectedToClient(QLocalSocket*) socket"_s,
                          u"signal DisconnectedFromClient(QLocalSocket*) socket"_s,
                          u"signal ConnectedToServer(QString) name"_s,
                          u"signal DisconnectedFromServer(QString) name"_s}));
}

// Each operation only logs a line and returns.
void tst_IPCManager::WrongThread_data()
{
    QTest::addColumn<Operation>("operation");

    const auto row = [](const char* name, const Operation& operation) { QTest::newRow(name) << operation; };
    row("StartServer", [](IPCManager& m) { return m.StartServer(UniqueName(), kReadWrite); });
    row("StopServer", [](IPCManager& m) { return m.StopServer(); });
    row("IsServerRunning", [](IPCManager& m) { return m.IsServerRunning(); });
    row("IsServerListening", [](IPCManager& m) { return m.IsServerListening(); });
    row("IsConnectedToAnyClient", [](IPCManager& m) { return m.IsConnectedToAnyClient(); });
    row("ConnectToServer", [](IPCManager& m) { return m.ConnectToServer(UniqueName(), kReadWrite); });
    row("WaitForConnectionToServer", [](IPCManager& m) { return m.WaitForConnectionToServer({}, -1); });
    row("DisconnectFromServer", [](IPCManager& m) { return m.DisconnectFromServer({}); });
    row("IsConnectedToServer", [](IPCManager& m) { return m.IsConnectedToServer({}); });
    row("SendMessage", [](IPCManager& m) { return m.SendMessage(u"m"_s, {}); });
    row("SendMessage and wait", [](IPCManager& m) { return m.SendMessage(u"m"_s, {}, true); });
    row("SendMessageAndGetResponse", [](IPCManager& m) {
        QVariantMap answer;
        return m.SendMessageAndGetResponse({}, u"m"_s, {}, answer, -1);
    });
    row("AddMessageResponder", [](IPCManager& m) {
        m.AddMessageResponder(nullptr);
        return false;
    });
    row("RemoveMessageResponder", [](IPCManager& m) {
        m.RemoveMessageResponder(nullptr);
        return false;
    });
    row("CreateGridConnection",
        [](IPCManager& m) { return m.CreateGridConnection(UniqueName(), kReadWrite); });
    row("DeleteAllConnections", [](IPCManager& m) { return m.DeleteAllConnections(); });
    row("CreateSharedMemory", [](IPCManager& m) { return m.CreateSharedMemory(); });
    row("AttachToSharedMemory", [](IPCManager& m) { return m.AttachToSharedMemory(); });
    row("ReadFromSharedMemory", [](IPCManager& m) { return !m.ReadFromSharedMemory().isEmpty(); });
    row("WriteToSharedMemory", [](IPCManager& m) { return m.WriteToSharedMemory({}); });
}

void tst_IPCManager::WrongThread()
{
    QFETCH(const Operation, operation);

    const TestSupport::LogGuard log;
    const QString name = UniqueName();
    IPCManager manager;
    manager.StartServer(name, kReadWrite);
    manager.ConnectToServer(name, kReadWrite);
    QVERIFY(manager.WaitForConnectionToServer(name, TestSupport::kEventTimeoutMs));
    QSignalSpy disconnected(&manager, &IPCManager::DisconnectedFromServer);
    std::atomic<bool> result = true;
    const std::unique_ptr<QThread> other(QThread::create([&] { result = operation(manager); }));
    other->start();
    QVERIFY(other->wait(TestSupport::kEventTimeoutMs));
    QCOMPARE(result, false);
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    const QString called = QString::fromLatin1(QTest::currentDataTag()).section(u' ', 0, 0);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().startsWith(u"IPCManager::%1: "_s.arg(called)));

    QVERIFY(manager.IsServerRunning()); // nothing has changed
    QVERIFY(manager.IsConnectedToServer(name));
    QCOMPARE(disconnected.count(), 0);
}

void tst_IPCManager::WaitForConnectionToServer_withoutClient()
{
    const TestSupport::LogGuard log;
    IPCManager manager;
    QCOMPARE(manager.WaitForConnectionToServer(u"any"_s, -1), false);
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"ConnectToServer first"_s));
}

void tst_IPCManager::Untouched()
{
    IPCManager manager;
    QVariantMap answer{{u"old"_s, 1}};
    QCOMPARE(manager.IsServerRunning(), false);
    QCOMPARE(manager.IsServerListening(), false);
    QCOMPARE(manager.IsConnectedToAnyClient(), false);
    QCOMPARE(manager.IsConnectedToServer(u"any"_s), false);
    QCOMPARE(manager.StopServer(), true);
    QCOMPARE(manager.DisconnectFromServer(u"any"_s), false);
    QCOMPARE(manager.SendMessage(u"m"_s, {}), true);
    QCOMPARE(manager.SendMessage(u"m"_s, {}, true), true);
    QCOMPARE(manager.SendMessageAndGetResponse(u"any"_s, u"m"_s, {}, answer, 1000), false);
    QCOMPARE(answer, (QVariantMap{{u"old"_s, 1}}));
    manager.AddMessageResponder(nullptr);
    manager.RemoveMessageResponder(nullptr);
    QCOMPARE(manager.DeleteAllConnections(), true);
    QCOMPARE(manager.CreateSharedMemory(), false); // without a grid there is no key
    QCOMPARE(manager.AttachToSharedMemory(), false);
    QCOMPARE(manager.ReadFromSharedMemory().size(), 0);
    QCOMPARE(manager.WriteToSharedMemory({}), false);
}

void tst_IPCManager::StartServer()
{
    const QString name = UniqueName();
    IPCManager manager;
    QCOMPARE(manager.StartServer(name, kReadWrite), true);
    QCOMPARE(manager.IsServerRunning(), true);
    QCOMPARE(manager.IsConnectedToAnyClient(), false);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    EVENTUALLY(manager.IsConnectedToAnyClient());
    QCOMPARE(manager.StopServer(), true);
    QCOMPARE(manager.IsServerRunning(), false);
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
    QCOMPARE(manager.IsConnectedToAnyClient(), true); // the disconnection has not been announced
}

void tst_IPCManager::StartServer_twice()
{
    Pair pair;
    QVERIFY(pair.Ok);
    QCOMPARE(pair.Server.StartServer(UniqueName(), QIODeviceBase::NotOpen), true);
    // The first call's name and mode are used.
    pair.Server.SendMessage(u"to the client"_s, {});
    EVENTUALLY_EQUAL(pair.AtClient.count(), 1);
    pair.Client->SendMessage(u"to the server"_s, {});
    EVENTUALLY_EQUAL(pair.AtServer.count(), 1);
}

void tst_IPCManager::StartServer_signals_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("announced");

    QTest::newRow("read and write") << static_cast<int>(QIODeviceBase::ReadWrite) << 1;
    QTest::newRow("read only") << static_cast<int>(QIODeviceBase::ReadOnly) << 1;
    QTest::newRow("write only") << static_cast<int>(QIODeviceBase::WriteOnly) << 0;
    QTest::newRow("not open") << static_cast<int>(QIODeviceBase::NotOpen) << 0;
}

void tst_IPCManager::StartServer_signals()
{
    QFETCH(const int, mode);
    QFETCH(const int, announced);

    Pair pair(static_cast<QIODeviceBase::OpenMode>(mode));
    QVERIFY(pair.Ok);
    Responder responder;
    pair.Server.AddMessageResponder(&responder);
    pair.Client->SendMessage(u"m"_s, {{u"a"_s, 1}});
    QVariantMap answer; // requests are answered in every mode
    QVERIFY(pair.Client->SendMessageAndGetResponse(pair.Name, u"ask"_s, {}, answer, 60000));
    pair.Client->DisconnectFromServer(pair.Name);
    EVENTUALLY(!pair.Server.IsConnectedToAnyClient());
    QCOMPARE(pair.AtServer.count(), announced);
    QCOMPARE(pair.ClientCame.count(), announced);
    QCOMPARE(pair.ClientLeft.count(), announced);
    if (announced != 0) {
        QCOMPARE(pair.AtServer.at(0).at(0).toString(), u"m"_s);
        QCOMPARE(pair.AtServer.at(0).at(1).toMap(), (QVariantMap{{u"a"_s, 1}}));
    }
}

void tst_IPCManager::StartServer_afterStopDoublesSignals()
{
    const QString name = UniqueName();
    IPCManager manager;
    QSignalSpy received(&manager, &IPCManager::MessageReceived);
    QSignalSpy came(&manager, &IPCManager::ConnectedToClient);
    QSignalSpy left(&manager, &IPCManager::DisconnectedFromClient);
    for (int starts = 1; starts <= 3; ++starts) {
        QCOMPARE(manager.StartServer(name, kReadWrite), true);
        {
            QLocalSocket client;
            QVERIFY(Connect(client, name));
            Write(client, Document(u"m"_s));
            EVENTUALLY_EQUAL(received.count(), starts);
        }
        EVENTUALLY_EQUAL(left.count(), starts);
        QCOMPARE(came.count(), starts);
        manager.StopServer();
        received.clear();
        came.clear();
        left.clear();
    }
}

void tst_IPCManager::StartServer_modeOfLastStart()
{
    const QString name = UniqueName();
    IPCManager manager;
    QSignalSpy received(&manager, &IPCManager::MessageReceived);
    // In this mode, the server sends messages but announces none.
    manager.StartServer(name, QIODeviceBase::WriteOnly);
    QLocalSocket first;
    QVERIFY(Connect(first, name));
    EVENTUALLY(manager.IsConnectedToAnyClient());
    manager.SendMessage(u"m"_s, {});
    QCOMPARE(ReadMessages(first, 1).size(), 1);
    manager.StopServer();
    // In this mode, it announces messages, each only once, but sends none.
    manager.StartServer(name, QIODeviceBase::ReadOnly);
    QLocalSocket second;
    QVERIFY(Connect(second, name));
    Write(second, Document(u"m"_s));
    EVENTUALLY_EQUAL(received.count(), 1);
    manager.SendMessage(u"not sent"_s, {});
    Write(second, Document(u"ask"_s, {}, QUuid::createUuid()));
    const QList<MessageInfo> messages = ReadMessages(second, 1); // the answer follows what was sent before it
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().Id, u"Response"_s);
    QCOMPARE(received.count(), 1);
}

void tst_IPCManager::StartServer_unusableName()
{
    const TestSupport::LogGuard log;
    IPCManager manager;
    QCOMPARE(manager.StartServer(QString(300, u'x'), kReadWrite), true);
    QCOMPARE(manager.IsServerRunning(), true);
    manager.StopServer();
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
}

void tst_IPCManager::IsServerListening()
{
    const QString name = UniqueName();
    IPCManager manager;
    QVERIFY(manager.StartServer(name, kReadWrite));
    EVENTUALLY(manager.IsServerListening());
    QLocalSocket client; // connects without retrying
    client.connectToServer(name);
    QCOMPARE(client.state(), QLocalSocket::ConnectedState);
    EVENTUALLY(manager.IsConnectedToAnyClient());
    QCOMPARE(manager.IsServerListening(), true); // also while it has a client
    manager.StopServer();
    QCOMPARE(manager.IsServerListening(), false);
    QVERIFY(manager.StartServer(UniqueName(), kReadWrite));
    EVENTUALLY(manager.IsServerListening());
    manager.DeleteAllConnections();
    QCOMPARE(manager.IsServerListening(), false);
}

void tst_IPCManager::IsServerListening_unusableName()
{
    const TestSupport::LogGuard log;
    IPCManager manager;
    QVERIFY(manager.StartServer(QString(300, u'x'), kReadWrite));
    EVENTUALLY_EQUAL(TestSupport::LogGuard::Messages().size(), 1); // after the first attempt
    QCOMPARE(manager.IsServerListening(), false);
    QCOMPARE(manager.IsServerRunning(), true);
}

void tst_IPCManager::IsServerListening_socketDeleted()
{
    const TestSupport::LogGuard log;
    Pair pair;
    QVERIFY(pair.Ok);
    QVERIFY(QFile::remove(SocketPath(pair.Name)));
    EVENTUALLY_EQUAL(TestSupport::LogGuard::Messages().size(), 1); // the server listens on a new socket
    EVENTUALLY(pair.Server.IsServerListening());
    QCOMPARE(pair.Server.IsConnectedToAnyClient(), true);
    QCOMPARE(pair.ClientLeft.count(), 0);
}

// The server cannot listen again in a folder that does not exist.
void tst_IPCManager::IsServerListening_folderMovedAway()
{
    const TestSupport::LogGuard log;
    const QString folder = SocketPath(UniqueName());
    const QString away = folder + u'x';
    QVERIFY(QDir().mkpath(folder));
    IPCManager manager;
    QVERIFY(manager.StartServer(folder + u"/s"_s, kReadWrite));
    EVENTUALLY(manager.IsServerListening());
    QVERIFY(QDir().rename(folder, away));
    QCOMPARE(manager.IsServerListening(), false);
    QVERIFY(QDir().rename(away, folder));
    QCOMPARE(manager.IsServerListening(), true);
    manager.StopServer();
    QVERIFY(QDir().rmdir(folder));
}

void tst_IPCManager::IsServerListening_socketReplaced_data()
{
    QTest::addColumn<bool>("isSocket");

    QTest::newRow("by a file") << false;
    QTest::newRow("by another socket") << true;
}

void tst_IPCManager::IsServerListening_socketReplaced()
{
    QFETCH(const bool, isSocket);

    const TestSupport::LogGuard log;
    const QString name = UniqueName();
    const QString otherName = UniqueName();
    IPCManager manager;
    QVERIFY(manager.StartServer(name, kReadWrite));
    EVENTUALLY(manager.IsServerListening());
    QLocalServer other;
    QFile file(SocketPath(otherName));
    QVERIFY(isSocket ? other.listen(otherName) : file.open(QIODevice::WriteOnly));
    QCOMPARE(std::rename(qPrintable(SocketPath(otherName)), qPrintable(SocketPath(name))), 0);
    QCOMPARE(manager.IsServerListening(), false);
    EVENTUALLY_EQUAL(TestSupport::LogGuard::Messages().size(), 1); // the server has given up the name
    QCOMPARE(manager.IsServerListening(), false);
    QCOMPARE(manager.IsServerRunning(), true);
    manager.StopServer();
    QVERIFY(QFile::remove(SocketPath(name)));
}

void tst_IPCManager::IsServerListening_nameTakenOver()
{
    const TestSupport::LogGuard log;
    const QString name = UniqueName();
    IPCManager first;
    IPCManager second;
    QVERIFY(first.StartServer(name, kReadWrite));
    EVENTUALLY(first.IsServerListening());
    QVERIFY(second.StartServer(name, kReadWrite));
    EVENTUALLY(second.IsServerListening());
    QCOMPARE(first.IsServerListening(), false);
    first.StopServer();
    QCOMPARE(second.IsServerListening(), true);
}

void tst_IPCManager::ConnectToServer()
{
    Pair pair(QIODeviceBase::WriteOnly);
    QVERIFY(pair.Ok);
    QCOMPARE(pair.ServerFound.at(0).at(0).toString(), pair.Name);
    QCOMPARE(pair.Client->IsConnectedToServer(u"any other"_s), true);
    QCOMPARE(pair.Client->WaitForConnectionToServer(u"any other"_s, 0), true);
    pair.Server.SendMessage(u"m"_s, {{u"a"_s, 1}});
    EVENTUALLY_EQUAL(pair.AtClient.count(), 1);
    QCOMPARE(pair.AtClient.at(0).at(0).toString(), u"m"_s);
    QCOMPARE(pair.AtClient.at(0).at(1).toMap(), (QVariantMap{{u"a"_s, 1}}));
    pair.Server.StopServer();
    EVENTUALLY_EQUAL(pair.ServerLost.count(), 1);
    QCOMPARE(pair.ServerLost.at(0).at(0).toString(), pair.Name);
    QCOMPARE(pair.Client->IsConnectedToServer(pair.Name), false);
}

void tst_IPCManager::ConnectToServer_twice()
{
    Pair pair;
    QVERIFY(pair.Ok);
    QLocalServer other;
    const QString otherName = UniqueName();
    QVERIFY(other.listen(otherName));
    QCOMPARE(pair.Client->ConnectToServer(otherName, QIODeviceBase::NotOpen), true);
    pair.Client->SendMessage(u"m"_s, {});
    EVENTUALLY_EQUAL(pair.AtServer.count(), 1);
    QVERIFY(!other.hasPendingConnections());
}

void tst_IPCManager::ConnectToServer_modes_data()
{
    AddModes();
}

void tst_IPCManager::ConnectToServer_modes()
{
    QFETCH(const int, mode);
    QFETCH(const bool, reads);
    QFETCH(const bool, writes);
    const int sent = writes ? 1 : 0;
    const int received = reads ? 1 : 0;

    Pair pair(kReadWrite, static_cast<QIODeviceBase::OpenMode>(mode));
    QVERIFY(pair.Ok); // the connection is announced in every mode
    QCOMPARE(pair.Client->SendMessage(u"m"_s, {}), true);
    EVENTUALLY_EQUAL(pair.AtServer.count(), sent);
    pair.Server.SendMessage(u"m"_s, {});
    EVENTUALLY_EQUAL(pair.AtClient.count(), received);
    pair.Server.StopServer();
    EVENTUALLY_EQUAL(pair.ServerLost.count(), 1); // and so is its end
    QCOMPARE(pair.AtServer.count(), sent);
    QCOMPARE(pair.AtClient.count(), received);
}

void tst_IPCManager::DisconnectFromServer()
{
    Pair pair;
    QVERIFY(pair.Ok);
    QCOMPARE(pair.Client->DisconnectFromServer(u"any other"_s), true);
    QCOMPARE(pair.Client->IsConnectedToServer(pair.Name), false);
    QCOMPARE(pair.Client->DisconnectFromServer(pair.Name), false);
    EVENTUALLY(!pair.Server.IsConnectedToAnyClient());
    QCOMPARE(pair.ServerLost.count(), 0);
    pair.Client->ConnectToServer(pair.Name, kReadWrite);
    QCOMPARE(pair.Client->WaitForConnectionToServer(pair.Name, 60000), true);
}

void tst_IPCManager::WaitForConnectionToServer_time()
{
    IPCManager manager;
    manager.ConnectToServer(UniqueName(), kReadWrite);
    QElapsedTimer time;
    time.start();
    QCOMPARE(manager.WaitForConnectionToServer(QString(), 100), false);
    QVERIFY(time.elapsed() >= 90);
}

void tst_IPCManager::Reconnect()
{
    Pair pair;
    QVERIFY(pair.Ok);
    pair.Server.StopServer();
    EVENTUALLY_EQUAL(pair.ServerLost.count(), 1);
    pair.Server.StartServer(pair.Name, kReadWrite);
    EVENTUALLY_EQUAL(pair.ServerFound.count(), 2);
}

void tst_IPCManager::SendMessage_toBoth()
{
    // A manager in the middle: its server has a client, and its client is connected to a server.
    Pair below;
    QVERIFY(below.Ok);
    const QString name = UniqueName();
    IPCManager above;
    QSignalSpy atAbove(&above, &IPCManager::MessageReceived);
    above.StartServer(name, kReadWrite);
    below.Server.ConnectToServer(name, kReadWrite);
    QVERIFY(below.Server.WaitForConnectionToServer(name, 60000));
    QCOMPARE(below.Server.SendMessage(u"m"_s, {}), true);
    EVENTUALLY_EQUAL(atAbove.count(), 1);
    EVENTUALLY_EQUAL(below.AtClient.count(), 1);
    // Messages are not forwarded.
    above.SendMessage(u"down"_s, {});
    EVENTUALLY_EQUAL(below.AtServer.count(), 1);
    below.Server.SendMessage(u"last"_s, {});
    EVENTUALLY_EQUAL(below.AtClient.count(), 2);
    QCOMPARE(below.AtClient.at(1).at(0).toString(), u"last"_s);
}

void tst_IPCManager::SendMessage_serverMode_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("expected");

    QTest::newRow("read and write") << static_cast<int>(QIODeviceBase::ReadWrite) << 2;
    QTest::newRow("write only") << static_cast<int>(QIODeviceBase::WriteOnly) << 2;
    QTest::newRow("read only") << static_cast<int>(QIODeviceBase::ReadOnly) << 0;
}

void tst_IPCManager::SendMessage_serverMode()
{
    QFETCH(const int, mode);
    QFETCH(const int, expected);

    Pair pair(static_cast<QIODeviceBase::OpenMode>(mode));
    QVERIFY(pair.Ok);
    QCOMPARE(pair.Server.SendMessage(u"m"_s, {}), true);
    QCOMPARE(pair.Server.SendMessage(u"m"_s, {}, true), true);
    Responder responder;
    pair.Server.AddMessageResponder(&responder);
    QVariantMap answer; // the answer follows the messages
    QVERIFY(pair.Client->SendMessageAndGetResponse(pair.Name, u"ask"_s, {}, answer, 60000));
    QCOMPARE(pair.AtClient.count(), expected);
}

void tst_IPCManager::SendMessage_waitForSent()
{
    Pair pair;
    QVERIFY(pair.Ok);
    bool ran = false;
    const auto run = [&] { ran = true; };
    QMetaObject::invokeMethod(this, run, Qt::QueuedConnection);
    QCOMPARE(pair.Client->SendMessage(u"m"_s, {}, false), true);
    QCOMPARE(pair.Client->SendMessage(u"m"_s, {}), true);
    QCOMPARE(ran, false); // these calls do not wait
    QCOMPARE(pair.Client->SendMessage(u"m"_s, {}, true), true);
    QCOMPARE(ran, true); // this call does
    EVENTUALLY_EQUAL(pair.AtServer.count(), 3);
}

void tst_IPCManager::SendMessage_notConnected()
{
    IPCManager manager;
    manager.ConnectToServer(UniqueName(), kReadWrite);
    QCOMPARE(manager.SendMessage(u"m"_s, {}), true);
    QCOMPARE(manager.SendMessage(u"m"_s, {}, true), true);
    QVariantMap answer{{u"old"_s, 1}};
    QCOMPARE(manager.SendMessageAndGetResponse(QString(), u"m"_s, {}, answer, 60000), false);
    QCOMPARE(answer, QVariantMap());
}

void tst_IPCManager::Request_answered()
{
    Pair pair;
    QVERIFY(pair.Ok);
    Responder responder;
    pair.Server.AddMessageResponder(&responder);
    QVariantMap answer{{u"old"_s, 1}};
    QCOMPARE(pair.Client->SendMessageAndGetResponse(u"any"_s, u"ask"_s, {{u"a"_s, 1.5}}, answer, -1), true);
    QCOMPARE(answer, (QVariantMap{{u"a"_s, 1.5}, {u"id"_s, u"ask"_s}}));
    QCOMPARE(pair.AtServer.count(), 0);
    QCOMPARE(pair.AtClient.count(), 0);
}

void tst_IPCManager::Request_large()
{
    Pair pair;
    QVERIFY(pair.Ok);
    Responder responder;
    pair.Server.AddMessageResponder(&responder);
    for (int round = 0; round < 20; ++round) {
        const QByteArray bytes(150000 + round, static_cast<char>(round)); // 200,000 as base64
        QVariantMap answer;
        QVERIFY(
            pair.Client->SendMessageAndGetResponse(QString(), u"ask"_s, {{u"a"_s, bytes}}, answer, 60000));
        QVERIFY(answer.value(u"a"_s).toByteArray() == bytes);
    }
}

void tst_IPCManager::Request_withoutClient()
{
    Pair pair;
    QVERIFY(pair.Ok);
    QVariantMap answer;
    QCOMPARE(pair.Server.SendMessageAndGetResponse(pair.Name, u"ask"_s, {}, answer, 60000), false);
}

void tst_IPCManager::Responders_beforeServer()
{
    Responder responder;
    IPCManager manager;
    manager.AddMessageResponder(&responder);
    QCOMPARE(manager.IsServerRunning(), false);
    const QString name = UniqueName();
    QCOMPARE(manager.StartServer(name, kReadWrite), true);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    Write(client, Document(u"ask"_s, {}, QUuid::createUuid()));
    const QList<MessageInfo> messages = ReadMessages(client, 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().Params, (QVariantMap{{u"id"_s, u"ask"_s}}));
}

void tst_IPCManager::Responders_registration()
{
    Pair pair;
    QVERIFY(pair.Ok);
    Responder responder;
    Responder unknown;
    const auto ask = [&] {
        QVariantMap answer;
        return pair.Client->SendMessageAndGetResponse(pair.Name, u"ask"_s, {}, answer, 60000);
    };
    pair.Server.RemoveMessageResponder(&unknown);
    pair.Server.AddMessageResponder(&responder);
    pair.Server.AddMessageResponder(&responder);
    QVERIFY(ask());
    QCOMPARE(responder.Calls, 1);
    pair.Server.RemoveMessageResponder(&responder);
    QVERIFY(ask());
    QCOMPARE(responder.Calls, 1);
}

void tst_IPCManager::DeleteAllConnections_withoutGrid()
{
    Pair pair;
    QVERIFY(pair.Ok);
    Responder responder;
    pair.Server.AddMessageResponder(&responder);
    QCOMPARE(pair.Client->DeleteAllConnections(), true);
    QCOMPARE(pair.Client->IsConnectedToServer(pair.Name), false);
    QCOMPARE(pair.Client->DisconnectFromServer(pair.Name), false); // the client is deleted
    QCOMPARE(pair.Server.DeleteAllConnections(), true);
    QCOMPARE(pair.Server.IsServerRunning(), false);
    // The server is stopped but not deleted, and keeps its responders.
    QCOMPARE(pair.Server.StartServer(pair.Name, kReadWrite), true);
    QLocalSocket client;
    QVERIFY(Connect(client, pair.Name));
    Write(client, Document(u"ask"_s, {}, QUuid::createUuid()));
    QCOMPARE(ReadMessages(client, 1).size(), 1);
    QCOMPARE(responder.Calls, 1);
}

void tst_IPCManager::Slot_deletesClient()
{
    for (int round = 0; round < 10; ++round) {
        Pair pair;
        QVERIFY(pair.Ok);
        connect(pair.Client.get(), &IPCManager::MessageReceived, this,
                [&] { pair.Client->DisconnectFromServer(pair.Name); });
        pair.Server.SendMessage(u"a"_s, {});
        pair.Server.SendMessage(u"b"_s, {});
        EVENTUALLY(!pair.Server.IsConnectedToAnyClient());
        QCOMPARE(pair.AtClient.count(), 1);
    }
}

void tst_IPCManager::Slot_deletesManager()
{
    for (int round = 0; round < 10; ++round) {
        Pair pair;
        QVERIFY(pair.Ok);
        connect(pair.Client.get(), &IPCManager::MessageReceived, this, [&] { pair.Client.reset(); });
        pair.Server.SendMessage(u"a"_s, {});
        pair.Server.SendMessage(u"b"_s, {});
        EVENTUALLY(pair.Client == nullptr);
    }
}

void tst_IPCManager::Slot_deletesClientInRequest()
{
    Pair pair;
    QVERIFY(pair.Ok);
    Responder responder;
    responder.Then = [&] { pair.Client->DisconnectFromServer(pair.Name); };
    pair.Server.AddMessageResponder(&responder);
    QVariantMap answer;
    QCOMPARE(pair.Client->SendMessageAndGetResponse(pair.Name, u"ask"_s, {}, answer, 60000), false);
    QCOMPARE(pair.Client->IsConnectedToServer(pair.Name), false);

    Pair second;
    QVERIFY(second.Ok);
    responder.Then = [&] { second.Client.reset(); };
    second.Server.AddMessageResponder(&responder);
    IPCManager* const waiting = second.Client.get();
    QCOMPARE(waiting->SendMessageAndGetResponse(second.Name, u"ask"_s, {}, answer, 60000), false);
    QVERIFY(second.Client == nullptr);
}

void tst_IPCManager::Responder_stopsServer()
{
    Pair pair;
    QVERIFY(pair.Ok);
    Responder responder;
    responder.Then = [&] { pair.Server.StopServer(); };
    pair.Server.AddMessageResponder(&responder);
    QVariantMap answer; // the server that would send it is stopped
    QCOMPARE(pair.Client->SendMessageAndGetResponse(pair.Name, u"ask"_s, {}, answer, 1500), false);
    // On a busy machine, the time-out may come before the request.
    EVENTUALLY_EQUAL(responder.Calls, 1);
    QCOMPARE(pair.Server.IsServerRunning(), false);
}

QTEST_GUILESS_MAIN(tst_IPCManager)

#include "tst_IPCManager.moc"
