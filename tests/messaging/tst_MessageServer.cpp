// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageServer_p.h"
#include "messaging/MessageSocket_p.h"
#include "support/BareSocket.h"
#include "support/LinkedServer.h"
#include "support/MessagingSupport.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QMetaType>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include <atomic>
#include <functional>
#include <memory>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;
using namespace MessagingSupport;

namespace {

class Responder final : public IMessageResponder
{
public:
    using Function = std::function<bool(const QString&, const QVariantMap&, QVariantMap&)>;
    explicit Responder(Function function)
        : mFunction(std::move(function))
    { }
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override
    {
        ++mCalls;
        return mFunction(messageId, params, responseParams);
    }
    [[nodiscard]] int Calls() const { return mCalls; }

private:
    Function mFunction;
    int mCalls = 0;
};

bool Decline(const QString& /*id*/, const QVariantMap& /*params*/, QVariantMap& /*response*/)
{
    return false;
}

QString SocketPath(const QString& name)
{
    return QDir::tempPath() + u'/' + name;
}

QStringList Names(const QSignalSpy& received)
{
    QStringList names;
    for (const QVariantList& arguments : received)
        names.append(arguments.at(0).toString());
    return names;
}

// Prevents the process from opening file descriptors for the lifetime of the guard.
class DescriptorGuard
{
public:
    DescriptorGuard()
    {
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        rlimit limit = {};
        mIsActive = next != -1 && ::getrlimit(RLIMIT_NOFILE, &mBefore) == 0;
        limit = mBefore;
        limit.rlim_cur = static_cast<rlim_t>(next);
        mIsActive = mIsActive && ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
    }
    ~DescriptorGuard()
    {
        if (mIsActive)
            ::setrlimit(RLIMIT_NOFILE, &mBefore);
    }
    Q_DISABLE_COPY_MOVE(DescriptorGuard)
    [[nodiscard]] bool IsActive() const { return mIsActive; }

private:
    rlimit mBefore = {};
    bool mIsActive = false;
};

// A client whose socket exists before the process runs out of descriptors.
class RawClient
{
public:
    explicit RawClient(const QString& serverName)
        : mSocket(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        const QByteArray path = QFile::encodeName(SocketPath(serverName));
        mAddress.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), mAddress.sun_path);
    }
    ~RawClient() { ::close(mSocket); }
    Q_DISABLE_COPY_MOVE(RawClient)

    [[nodiscard]] bool Connect() const
    {
        return ::connect(mSocket, reinterpret_cast<const sockaddr*>(&mAddress), sizeof(mAddress)) == 0;
    }
    /// \return false if the server has not closed the connection after a minute
    [[nodiscard]] bool WaitForEnd() const
    {
        pollfd end = {mSocket, POLLIN, 0};
        return ::poll(&end, 1, TestSupport::kEventTimeoutMs) == 1 && (end.revents & POLLHUP);
    }

private:
    int mSocket;
    sockaddr_un mAddress = {};
};

} // namespace

class tst_MessageServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void MetaObjects();
    void Constructor_registersMetaType();

    void Start();
    void Start_twice();
    void Start_afterStop();
    void Start_nameInUse();
    void Start_unusableName_data();
    void Start_unusableName();
    void Start_staleEndpoint();
    void Start_otherFile_data();
    void Start_otherFile();
    void Stop_leavesSuccessorAlone();
    void Endpoint_removed();
    void Endpoint_takenOver();
    void Endpoint_withoutDescriptors();
    void Endpoint_removedWithoutDescriptors();
    void Client_ofOtherUser();
    void Receive_busyOwner();
    void Send_peerNeverReads();
    void Start_longestName();
    void Endpoint_forUserOnly();
    void Stop_whenStopped();
    void Destructor_stops();

    void SendMessage_withoutClient();
    void SendMessage_wire();
    void SendMessage_messageInfo();

    void Receive_messages();
    void Receive_joined_data();
    void Receive_joined();
    void Receive_split();
    void Receive_splitLarge();
    void Receive_endless_data();
    void Receive_endless();
    void Receive_truncatedAtClose();
    void Receive_response();
    void Receive_deepNesting();
    void Receive_wholeLargeMessages_data();
    void Receive_wholeLargeMessages();
    void Send_wholeLargeMessages_data();
    void Send_wholeLargeMessages();
    void Send_receiverThatDoesNotRead();
    void Send_tooLarge();

    void Client_connectsAndDisconnects();
    void Client_replaced();
    void Client_connectedAtStop();

    void Responders_none();
    void Responders_order();
    void Responders_allDecline();
    void Responders_registration();
    void Responders_changedDuringRequest();

    void Worker();
    void Worker_slotsWithoutSender();
    void Worker_startsAgain();

    void Slot_opensEventLoop();
    void Slot_opensEventLoopUntilDeleted();
    void Slot_stopsServer();
    void Slot_deletesServer();
    void Responder_stopsServer();
    void Responder_deletesServer();
};

void tst_MessageServer::MetaObjects()
{
    QCOMPARE(MethodsOf(MessageServer::staticMetaObject),
             (QStringList{u"signal MessageReceived(QString,QVariantMap) id,paramMap"_s,
                          u"signal NewOutgoingMessage(MessageInfo) msg"_s,
                          u"signal Connected(QLocalSocket*) socket"_s,
                          u"signal Disconnected(QLocalSocket*) socket"_s,
                          u"slot MessageReceivedSlot(MessageInfo) msg"_s,
                          u"slot ConnectedSlot(QLocalSocket*) socket"_s,
                          u"slot DisconnectedSlot(QLocalSocket*) socket"_s}));
    QCOMPARE(MethodsOf(MessageServerThread::staticMetaObject),
             (QStringList{u"signal MessageReceived(MessageInfo) msg"_s,
                          u"signal Connected(QLocalSocket*) socket"_s,
                          u"signal Disconnected(QLocalSocket*) socket"_s}));
    QCOMPARE(MethodsOf(MessageServerWorker::staticMetaObject),
             (QStringList{u"signal MessageReceived(MessageInfo) msg"_s,
                          u"signal Connected(QLocalSocket*) socket"_s,
                          u"signal Disconnected(QLocalSocket*) socket"_s, u"slot ConnectedSlot() "_s,
                          u"slot DisconnectedSlot() "_s, u"slot ReadMessage() "_s,
                          u"slot NewOutgoingMessage(MessageInfo) msg"_s}));
}

void tst_MessageServer::Constructor_registersMetaType()
{
    const MessageServer server;
    QCOMPARE(QMetaType::fromName("MessageInfo"), QMetaType::fromType<MessageInfo>());
    QCOMPARE(server.IsStarted(), false);
    QCOMPARE(server.GetConnectionCount(), 0);
}

void tst_MessageServer::Start()
{
    MessageServer server;
    const QString name = UniqueName();
    QCOMPARE(server.Start(name), true);
    QCOMPARE(server.IsStarted(), true);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    QCOMPARE(server.Stop(), true);
    QCOMPARE(server.IsStarted(), false);
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
    QVERIFY(!QFile::exists(SocketPath(name)));
}

void tst_MessageServer::Start_twice()
{
    MessageServer server;
    const QString name = UniqueName();
    const QString other = UniqueName();
    server.Start(name);
    QCOMPARE(server.Start(other), true);
    QCOMPARE(server.IsStarted(), true);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    QVERIFY(!QFile::exists(SocketPath(other)));
}

void tst_MessageServer::Start_afterStop()
{
    MessageServer server;
    const QString name = UniqueName();
    for (int i = 0; i < 3; ++i) {
        server.Start(name + QString::number(i));
        QLocalSocket client;
        QVERIFY(Connect(client, name + QString::number(i)));
        server.Stop();
    }
}

void tst_MessageServer::Start_nameInUse()
{
    MessageServer first;
    MessageServer second;
    QSignalSpy toFirst(&first, &MessageServer::Connected);
    QSignalSpy toSecond(&second, &MessageServer::Connected);
    const QString name = UniqueName();
    first.Start(name);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    EVENTUALLY_EQUAL(toFirst.count(), 1);

    QCOMPARE(second.Start(name), true);
    EVENTUALLY([&] {
        QLocalSocket next;
        return Connect(next, name) && QTest::qWaitFor([&] { return toSecond.count() > 0; }, 50);
    }());
    QVERIFY(first.IsStarted());
}

void tst_MessageServer::Start_unusableName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("warning");

    QTest::newRow("too long") << QString(200, u'x') << u"the name is too long"_s;
    QTest::newRow("folder missing") << u"/nowhere/at/all"_s << u"cannot listen"_s;
    QTest::newRow("empty") << QString() << u"cannot listen"_s;
}

void tst_MessageServer::Start_unusableName()
{
    QFETCH(const QString, name);
    QFETCH(const QString, warning);

    const TestSupport::LogGuard log;
    MessageServer server;
    QCOMPARE(server.Start(name), true);
    QCOMPARE(server.IsStarted(), true);
    QCOMPARE(server.SendMessage(u"x"_s, {}), true);
    QCOMPARE(server.Stop(), true); // by then, the thread has tried to listen
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(warning));
}

void tst_MessageServer::Start_staleEndpoint()
{
    LinkedServer link;
    const TestSupport::BareSocket stale(SocketPath(link.Name), false);
    QVERIFY(stale.IsGood());
    QVERIFY(link.Open());
}

// The server replaces only sockets.
void tst_MessageServer::Start_otherFile_data()
{
    QTest::addColumn<int>("kind");

    QTest::newRow("regular file") << int(S_IFREG);
    QTest::newRow("folder") << int(S_IFDIR);
    QTest::newRow("pipe") << int(S_IFIFO);
    QTest::newRow("symbolic link") << int(S_IFLNK);
}

void tst_MessageServer::Start_otherFile()
{
    QFETCH(const int, kind);

    const QString name = UniqueName();
    const QByteArray path = QFile::encodeName(SocketPath(name));
    const auto remove = qScopeGuard([&path] { std::remove(path.constData()); });
    switch (kind) {
    case S_IFREG:
        QVERIFY(TestSupport::WriteFile(SocketPath(name), "my notes"));
        break;
    case S_IFDIR:
        QCOMPARE(::mkdir(path.constData(), 0700), 0);
        break;
    case S_IFIFO:
        QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        break;
    default:
        QCOMPARE(::symlink("/nowhere/at/all", path.constData()), 0);
        break;
    }
    const std::optional<Platform::FileIdentity> before = Platform::GetFileIdentity(SocketPath(name));
    const TestSupport::LogGuard log;
    MessageServer server;
    QCOMPARE(server.Start(name), true);
    QCOMPARE(server.Stop(), true); // by then, the thread has tried to listen
    QVERIFY(before.has_value());
    QVERIFY(Platform::GetFileIdentity(SocketPath(name)) == before);
    if (kind == S_IFREG)
        QCOMPARE(TestSupport::ReadFile(SocketPath(name)), QByteArray("my notes"));
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"cannot listen"_s));
}

void tst_MessageServer::Stop_leavesSuccessorAlone()
{
    const QString name = UniqueName();
    MessageServer first;
    first.Start(name);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    const std::optional<Platform::FileIdentity> old = Platform::GetFileIdentity(SocketPath(name));
    LinkedServer second;
    second.Server.Start(name);
    EVENTUALLY(Platform::GetFileIdentity(SocketPath(name)) != old && QFile::exists(SocketPath(name)));
    const std::optional<Platform::FileIdentity> taken = Platform::GetFileIdentity(SocketPath(name));

    first.Stop();
    QVERIFY(Platform::GetFileIdentity(SocketPath(name)) == taken);
    QVERIFY(Connect(second.Client, name));
    EVENTUALLY_EQUAL(second.Connected.count(), 1);
    second.Server.Stop();
    QVERIFY(!QFile::exists(SocketPath(name)));
}

void tst_MessageServer::Endpoint_removed()
{
    const TestSupport::LogGuard log;
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    QVERIFY(QFile::remove(SocketPath(link.Name)));
    // The server checks every two seconds. It logs once the file exists.
    EVENTUALLY(TestSupport::LogGuard::Messages().join(u' ').contains(u"listening again"_s));
    QVERIFY(QFile::exists(SocketPath(link.Name)));

    Write(link.Client, Document(u"still there"_s));
    EVENTUALLY_EQUAL(Names(link.Received), QStringList{u"still there"_s});
    QLocalSocket next;
    QVERIFY(Connect(next, link.Name));
    EVENTUALLY_EQUAL(link.Connected.count(), 2);
    Write(next, Document(u"new one"_s));
    EVENTUALLY_EQUAL(Names(link.Received), (QStringList{u"still there"_s, u"new one"_s}));
    link.Server.Stop();
    QVERIFY(!QFile::exists(SocketPath(link.Name)));
}

void tst_MessageServer::Endpoint_takenOver()
{
    const TestSupport::LogGuard log;
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    QVERIFY(QFile::remove(SocketPath(link.Name)));
    const TestSupport::BareSocket other(SocketPath(link.Name), true);
    QVERIFY(other.IsGood());
    const std::optional<Platform::FileIdentity> file = Platform::GetFileIdentity(SocketPath(link.Name));
    EVENTUALLY_EQUAL(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"another server has taken over"_s));
    link.Server.Stop();
    QVERIFY(Platform::GetFileIdentity(SocketPath(link.Name)) == file);
}

// QLocalServer closes its socket when it cannot accept a client.
void tst_MessageServer::Endpoint_withoutDescriptors()
{
    const TestSupport::LogGuard log;
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    const std::array clients = {RawClient(link.Name), RawClient(link.Name), RawClient(link.Name)};
    {
        const DescriptorGuard none;
        QVERIFY(none.IsActive());
        for (const RawClient& client : clients) {
            EVENTUALLY(client.Connect()); // the server checks every two seconds
            QVERIFY(client.WaitForEnd());
        }
    }
    QLocalSocket next;
    QVERIFY(Connect(next, link.Name));
    EVENTUALLY(link.Server.IsListening());
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1); // the server has listened again three times
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"could not be accepted"_s));
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"listening again"_s));
    EVENTUALLY_EQUAL(link.Connected.count(), 2);
    Write(next, Document(u"new one"_s));
    EVENTUALLY_EQUAL(Names(link.Received), QStringList{u"new one"_s});
    link.Server.Stop();
    QVERIFY(!QFile::exists(SocketPath(link.Name)));
}

// The server tries to listen again until it succeeds.
void tst_MessageServer::Endpoint_removedWithoutDescriptors()
{
    const TestSupport::LogGuard log;
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    {
        const DescriptorGuard none;
        QVERIFY(none.IsActive());
        QVERIFY(QFile::remove(SocketPath(link.Name)));
        EVENTUALLY_EQUAL(TestSupport::LogGuard::Messages().size(), 1);
        QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"cannot listen"_s));
        QVERIFY(!link.Server.IsListening());
    }
    QLocalSocket next;
    QVERIFY(Connect(next, link.Name));
    EVENTUALLY_EQUAL(TestSupport::LogGuard::Messages().size(), 2);
    QVERIFY(TestSupport::LogGuard::Messages().constLast().contains(u"listening again"_s));
}

// The socket file keeps other users out. The server checks too, because the permissions may have been
// changed.
void tst_MessageServer::Client_ofOtherUser()
{
    if (::geteuid() != 0)
        QSKIP("needs root to run as another user");
    const TestSupport::LogGuard log;
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    const QByteArray path = QFile::encodeName(SocketPath(link.Name));
    QCOMPARE(::chmod(path.constData(), 0777), 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    // Use another process, because setuid() affects all threads of this one.
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        char byte = 0;
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (::setuid(kNobody) != 0 || ::getuid() != kNobody)
            ::_exit(2);
        if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
            ::_exit(3);
        ::_exit(::recv(socket, &byte, 1, 0) <= 0 ? 0 : 1); // until the server disconnects
    }
    int status = 0;
    EVENTUALLY(::waitpid(child, &status, WNOHANG) == child);
    QCOMPARE(WEXITSTATUS(status), 0);
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"another user"_s));

    QCOMPARE(link.Connected.count(), 1); // the previous client is still the current one
    Write(link.Client, Document(u"still there"_s));
    EVENTUALLY_EQUAL(Names(link.Received), QStringList{u"still there"_s});
}

// While the owner thread is busy, the peer has to wait. Nothing is lost.
void tst_MessageServer::Receive_busyOwner()
{
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    const QByteArray filling(30'000, 'x');
    constexpr int kCount = 2000; // about 80 MB
    for (int i = 0; i < kCount; ++i)
        link.Client.write(Document(QString::number(i), {{u"filling"_s, filling}}));
    const qint64 all = link.Client.bytesToWrite();
    while (link.Client.waitForBytesWritten(2000)) { } // without the event loop that the server needs
    QVERIFY(all - link.Client.bytesToWrite() < 3 * 4 * 1024 * 1024 + 2 * kRequestedSendBuffer);

    EVENTUALLY_EQUAL(link.Received.count(), kCount);
    for (int i = 0; i < kCount; ++i)
        QCOMPARE(link.Received.at(i).at(0).toString(), QString::number(i));
}

void tst_MessageServer::Send_peerNeverReads()
{
    const TestSupport::LogGuard log;
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    link.Client.setReadBufferSize(1);
    const QVariantMap filling{{u"filling"_s, QByteArray(20'000, 'x')}};
    for (int i = 0; i < 1500; ++i) // about 40 MB
        link.Server.SendMessage(u"m"_s, filling);
    EVENTUALLY(!TestSupport::LogGuard::Messages().isEmpty());
    link.Client.setReadBufferSize(0);
    QCOMPARE(ReadMessages(link.Client, 1500).size(), 1500); // all messages were written by then
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"are queued"_s));
}

void tst_MessageServer::Start_longestName()
{
    const qsizetype rest = Platform::GetMaxSocketPathLength() - SocketPath(UniqueName()).size();
    const QString name = UniqueName().leftJustified(UniqueName().size() + rest, u'x');
    const QString longest = name.left(Platform::GetMaxSocketPathLength() - SocketPath(QString()).size());
    MessageServer server;
    server.Start(longest);
    QLocalSocket client;
    QVERIFY(Connect(client, longest));
    QVERIFY(!IsSocketNameTooLong(longest));
    QVERIFY(IsSocketNameTooLong(longest + u'x'));
    QLocalServer other;
    QVERIFY(!other.listen(longest + u'x'));
    QVERIFY(IsSocketNameTooLong(u'/' + QString(Platform::GetMaxSocketPathLength(), u'x')));
}

void tst_MessageServer::Endpoint_forUserOnly()
{
    LinkedServer link;
    QVERIFY(link.Open());
    const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup
        | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    QCOMPARE(QFileInfo(SocketPath(link.Name)).permissions() & others, QFile::Permissions());
}

void tst_MessageServer::Stop_whenStopped()
{
    MessageServer server;
    QCOMPARE(server.Stop(), true);
    QCOMPARE(server.IsStarted(), false);
}

void tst_MessageServer::Destructor_stops()
{
    const QString name = UniqueName();
    QLocalSocket client;
    {
        MessageServer server;
        server.Start(name);
        QVERIFY(Connect(client, name));
    }
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
}

void tst_MessageServer::SendMessage_withoutClient()
{
    LinkedServer link;
    QCOMPARE(link.Server.SendMessage(u"stopped"_s, {}), true);
    link.Server.Start(link.Name);
    QCOMPARE(link.Server.SendMessage(u"early"_s, {}), true);
    QVERIFY(Connect(link.Client, link.Name));
    EVENTUALLY_EQUAL(link.Connected.count(), 1);
    link.Server.SendMessage(u"late"_s, {});
    const QList<MessageInfo> messages = ReadMessages(link.Client, 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().Id, u"late"_s);
}

void tst_MessageServer::SendMessage_wire()
{
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    QCOMPARE(link.Server.SendMessage(u"Grüße"_s, {{u"a"_s, 1}}), true);

    QByteArray bytes;
    EVENTUALLY((bytes += link.Client.readAll()).endsWith("</Message>\n"));
    QVERIFY2(bytes.startsWith("<?xml version=\"1.0\"?>\n<Message "), bytes.constData());
    QCOMPARE(TestSupport::XmlMeaning(bytes),
             TestSupport::XmlMeaning(
                 u"<?xml version='1.0'?><Message Id='Grüße' UniqueId='{00000000-0000-0000-0000-000000000000}'"
                 " OriginalMessageUniqueId='{00000000-0000-0000-0000-000000000000}' NeedResponse='False'"
                 " IsResponse='False'><Params><Param Name='a' Type='Int' Value='1'/></Params></Message>"_s));
}

void tst_MessageServer::SendMessage_messageInfo()
{
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    const MessageInfo message{u"N"_s, QUuid::createUuid(), true, true, QUuid::createUuid(), {{u"a"_s, 1}}};
    QCOMPARE(link.Server.SendMessage(message), true);
    const QList<MessageInfo> messages = ReadMessages(link.Client, 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(EncodeMessage(messages.constFirst()), EncodeMessage(message));
}

void tst_MessageServer::Receive_messages()
{
    LinkedServer link;
    QVERIFY(link.Open());
    QByteArray bytes;
    QStringList expected;
    for (int i = 0; i < 200; ++i) {
        expected.append(u"m%1"_s.arg(i));
        Write(link.Client, Document(expected.constLast(), {{u"i"_s, i}}));
    }
    EVENTUALLY_EQUAL(link.Received.count(), 200);
    QCOMPARE(Names(link.Received), expected);
    QCOMPARE(link.Received.at(7).at(1).toMap(), (QVariantMap{{u"i"_s, 7}}));
}

void tst_MessageServer::Receive_joined_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("expected");

    const QByteArray a = Document(u"a"_s);
    const QByteArray b = Document(u"b"_s);
    QTest::newRow("two frames") << a + b << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("noise before") << "noise" + a << QStringList{u"a"_s};
    QTest::newRow("noise between") << a + "noise" + b << QStringList{u"b"_s};
    QTest::newRow("tail missing") << a + b.chopped(10) << QStringList{u"a"_s};
    QTest::newRow("invalid UTF-8") << "\xff\xfe\0" + a << QStringList{u"a"_s};
    QTest::newRow("only noise") << QByteArray("noise") << QStringList();
}

void tst_MessageServer::Receive_joined()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(QStringList, expected);

    LinkedServer link;
    QVERIFY(link.Open());
    Write(link.Client, bytes);
    QVERIFY(WaitUntilProcessed(link.Client, link.Server));
    Write(link.Client, Document(u"last"_s));
    expected.append(u"last"_s);
    EVENTUALLY_EQUAL(Names(link.Received), expected);
}

void tst_MessageServer::Receive_split()
{
    LinkedServer link;
    QVERIFY(link.Open());
    const QByteArray document = Document(u"split"_s, {{u"text"_s, u"some text"_s}});
    for (const int at : {3, 30, 200}) {
        Write(link.Client, document.first(at));
        QVERIFY(WaitUntilProcessed(link.Client, link.Server));
        Write(link.Client, document.sliced(at));
        QVERIFY(WaitUntilProcessed(link.Client, link.Server));
        // The end of one frame does not affect the next one.
        Write(link.Client, document.first(at));
        QVERIFY(WaitUntilProcessed(link.Client, link.Server));
        Write(link.Client, document.sliced(at) + Document(u"next"_s));
        QVERIFY(WaitUntilProcessed(link.Client, link.Server));
    }
    EVENTUALLY_EQUAL(link.Received.count(), 3);
    QCOMPARE(Names(link.Received), (QStringList{u"next"_s, u"next"_s, u"next"_s}));
}

void tst_MessageServer::Receive_splitLarge()
{
    LinkedServer link;
    QVERIFY(link.Open());
    // Send only the beginning of a frame: after half a second, the server drops it.
    const QByteArray document = Document(u"split"_s, {{u"text"_s, QString(100000, u'x')}});
    Write(link.Client, document.first(60000));
    QVERIFY(WaitUntilProcessed(link.Client, link.Server));
    Write(link.Client, Document(u"next"_s));
    EVENTUALLY_EQUAL(Names(link.Received), QStringList{u"next"_s});
    Write(link.Client, document.sliced(60000) + Document(u"last"_s));
    EVENTUALLY_EQUAL(Names(link.Received), (QStringList{u"next"_s, u"last"_s}));
}

void tst_MessageServer::Receive_endless_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("messages");

    QTest::newRow("byte by byte") << 1 << 10;
    // Send no message here: the server sends only after the read, which takes very long under a race
    // detector.
    QTest::newRow("block by block") << 40000 << 0;
}

void tst_MessageServer::Receive_endless()
{
    QFETCH(const int, size);
    QFETCH(const int, messages);

    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    // A large frame that never ends.
    const QByteArray begin
        = Document(u"endless"_s, {{u"text"_s, QString(100000, u'x')}}).first(60000) + QByteArray(size, 'x');
    std::atomic<int> written = 0;
    std::atomic<bool> stop = false;
    const auto write = [&, socket = static_cast<int>(link.Client.socketDescriptor())] {
        while (!stop
               && ::send(socket, begin.constData(), static_cast<size_t>(begin.size()), MSG_DONTWAIT) < 0) { }
        while (!stop) {
            static_cast<void>(
                ::send(socket, begin.constData() + 60000, static_cast<size_t>(size), MSG_DONTWAIT));
            ++written;
        }
    };
    for (const bool last : {false, true}) {
        const std::unique_ptr<QThread> writer(QThread::create(write));
        const auto end = qScopeGuard([&] {
            stop = true;
            writer->wait();
            stop = false;
        });
        writer->start();
        EVENTUALLY(written > 100);
        written = 0;
        // The server can still send messages and stop.
        if (last) {
            link.Server.Stop();
            QVERIFY(!link.Server.IsStarted());
            break;
        }
        for (int i = 0; i < messages; ++i) {
            link.Server.SendMessage(u"m"_s, {});
            QCOMPARE(ReadMessages(link.Client, 1).size(), 1);
        }
    }
}

void tst_MessageServer::Receive_truncatedAtClose()
{
    LinkedServer link;
    link.Server.Start(link.Name);
    {
        QLocalSocket client;
        QVERIFY(Connect(client, link.Name));
        Write(client, Document(u"whole"_s) + Document(u"cut"_s).chopped(20));
    }
    EVENTUALLY_EQUAL(link.Disconnected.count(), 1);
    QCOMPARE(Names(link.Received), QStringList{u"whole"_s}); // announced before the disconnection
}

void tst_MessageServer::Receive_response()
{
    LinkedServer link;
    QVERIFY(link.Open());
    Write(link.Client, Document(u"answer"_s, {}, {}, QUuid::createUuid()));
    EVENTUALLY_EQUAL(Names(link.Received), QStringList{u"answer"_s}); // a server never waits for an answer
}

void tst_MessageServer::Receive_deepNesting()
{
    LinkedServer link;
    QVERIFY(link.Open());
    const auto document = [](int depth) {
        return QByteArray("<?xml version='1.0'?><Message Id='deep'><Params>")
            + QByteArray("<Param Name='k' Type='Map'>").repeated(depth)
            + QByteArray("</Param>").repeated(depth) + "</Params></Message>";
    };
    Write(link.Client, document(990) + document(100000) + Document(u"next"_s));
    EVENTUALLY_EQUAL(Names(link.Received), (QStringList{u"deep"_s, u"next"_s}));
}

void tst_MessageServer::Receive_wholeLargeMessages_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("count");

    for (const char* const mode : {"flood", "paced"}) {
        for (const int size : {100, 30000, 40000, 70000, 130000, 262144 - 500}) {
            QTest::addRow("%s, %d bytes", mode, size)
                << QString::fromLatin1(mode) << size << (size < 1000 ? 5000 : 200);
        }
    }
}

void tst_MessageServer::Receive_wholeLargeMessages()
{
    QFETCH(const QString, mode);
    QFETCH(const int, size);
    QFETCH(const int, count);

    LinkedServer link;
    link.Server.Start(link.Name);
    // The send buffer is as large as on most systems.
    Peer peer({mode, link.Name, QString::number(size), QString::number(count), u"212992"_s});
    EVENTUALLY(!link.Received.isEmpty() && link.Received.constLast().at(0).toString() == u"End"_s);
    QCOMPARE(link.Received.count(), count + 1);
    for (int i = 0; i < count; ++i) {
        const QVariantMap params = link.Received.at(i).at(1).toMap();
        QCOMPARE(params.value(u"n"_s).toInt(), i);
        QCOMPARE(params.value(u"text"_s).toString().size(), size);
    }
}

void tst_MessageServer::Send_wholeLargeMessages_data()
{
    QTest::addColumn<int>("size");

    QTest::newRow("within a single read") << 30000;
    QTest::newRow("as large as two reads") << 60000;
    QTest::newRow("as large as many reads") << 250000;
}

void tst_MessageServer::Send_wholeLargeMessages()
{
    QFETCH(const int, size);

    // Here the receiver is a plain socket, which reads all available bytes at each readyRead in blocks of a
    // size that it chooses.
    LimitSendBuffer(212992);
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    LimitSendBuffer(0);
    for (int i = 0; i < 20; ++i) {
        link.Server.SendMessage(u"large"_s, {{u"n"_s, i}, {u"text"_s, QString(size, u'x')}});
        link.Server.SendMessage(u"small"_s, {{u"n"_s, i}});
    }
    const QList<MessageInfo> messages = ReadMessages(link.Client, 40);
    QCOMPARE(messages.size(), 40);
    for (int i = 0; i < 40; ++i) {
        QCOMPARE(messages.at(i).Id, i % 2 == 0 ? u"large"_s : u"small"_s);
        QCOMPARE(messages.at(i).Params.value(u"n"_s).toInt(), i / 2);
    }
}

void tst_MessageServer::Send_receiverThatDoesNotRead()
{
    LinkedServer link;
    link.Client.setReadBufferSize(1);
    QVERIFY(link.OpenAndWait());
    for (int i = 0; i < 100; ++i)
        link.Server.SendMessage(u"large"_s, {{u"text"_s, QString(200000, u'x')}});
    // The server still accepts a new client, and can stop.
    QLocalSocket next;
    QVERIFY(Connect(next, link.Name));
    EVENTUALLY_EQUAL(link.Connected.count(), 2);
    link.Server.SendMessage(u"next"_s, {});
    const QList<MessageInfo> messages = ReadMessages(next, 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().Id, u"next"_s);
    link.Server.SendMessage(u"large"_s, {{u"text"_s, QString(200000, u'x')}});
    link.Server.SendMessage(u"large"_s, {{u"text"_s, QString(200000, u'x')}});
    link.Server.Stop();
    QVERIFY(!link.Server.IsStarted());
}

void tst_MessageServer::Send_tooLarge()
{
    const TestSupport::LogGuard log;
    LimitSendBuffer(212992);
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    LimitSendBuffer(0);
    link.Server.SendMessage(u"fits"_s, {{u"text"_s, QString(262144, u'x')}});
    link.Server.SendMessage(u"large"_s, {{u"text"_s, QString(1000000, u'x')}});
    QCOMPARE(ReadMessages(link.Client, 2).size(), 2); // unlike the library, this receiver joins split frames
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"\"large\""_s));
}

void tst_MessageServer::Client_connectsAndDisconnects()
{
    LinkedServer link;
    link.Server.Start(link.Name);
    for (int i = 1; i <= 3; ++i) {
        QLocalSocket client;
        QVERIFY(Connect(client, link.Name));
        EVENTUALLY_EQUAL(link.Connected.count(), i);
        QCOMPARE(link.Server.GetConnectionCount(), 1);
        client.disconnectFromServer();
        EVENTUALLY_EQUAL(link.Disconnected.count(), i);
        QCOMPARE(link.Server.GetConnectionCount(), 0);
        QCOMPARE(link.Disconnected.last().at(0).value<QLocalSocket*>(),
                 link.Connected.last().at(0).value<QLocalSocket*>());
    }
}

void tst_MessageServer::Client_replaced()
{
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    QLocalSocket second;
    QVERIFY(Connect(second, link.Name));
    EVENTUALLY_EQUAL(link.Connected.count(), 2);
    EVENTUALLY_EQUAL(link.Client.state(), QLocalSocket::UnconnectedState);
    EVENTUALLY_EQUAL(link.Server.GetConnectionCount(), 1); // Qt reports the disconnection of the first client

    link.Server.SendMessage(u"to the second"_s, {});
    QCOMPARE(ReadMessages(second, 1).size(), 1);
    QCOMPARE(link.Client.bytesAvailable(), 0);
    Write(second, Document(u"from the second"_s));
    EVENTUALLY_EQUAL(Names(link.Received), QStringList{u"from the second"_s});
}

void tst_MessageServer::Client_connectedAtStop()
{
    LinkedServer link;
    QVERIFY(link.OpenAndWait());
    link.Server.Stop();
    EVENTUALLY_EQUAL(link.Client.state(), QLocalSocket::UnconnectedState);
    // The count changes with the signals, and the thread that would emit them has ended.
    QCOMPARE(link.Disconnected.count(), 0);
    QCOMPARE(link.Server.GetConnectionCount(), 1);
}

void tst_MessageServer::Responders_none()
{
    LinkedServer link;
    QVERIFY(link.Open());
    const QUuid request = QUuid::createUuid();
    Write(link.Client, Document(u"ask"_s, {{u"a"_s, 1}}, request));
    QByteArray bytes;
    EVENTUALLY((bytes += link.Client.readAll()).endsWith("</Message>\n"));
    QCOMPARE(
        TestSupport::XmlMeaning(bytes),
        TestSupport::XmlMeaning(
            u"<?xml version='1.0'?><Message Id='Response' UniqueId='{00000000-0000-0000-0000-000000000000}'"
            " OriginalMessageUniqueId='%1' NeedResponse='False' IsResponse='True'><Params/></Message>"_s.arg(
                request.toString())));
    QCOMPARE(link.Received.count(), 0);
}

void tst_MessageServer::Responders_order()
{
    LinkedServer link;
    QString askedId;
    QVariantMap askedParams;
    Responder first([&](const QString& id, const QVariantMap& params, QVariantMap& response) {
        askedId = id;
        askedParams = params;
        response.insert(u"first"_s, true);
        response.insert(u"both"_s, 1);
        return false;
    });
    Responder second([](const QString& /*id*/, const QVariantMap& /*params*/, QVariantMap& response) {
        response.insert(u"second"_s, response.contains(u"first"_s));
        response.insert(u"both"_s, 2);
        return true;
    });
    Responder third(&Decline);
    for (Responder* const responder : {&first, &second, &third})
        link.Server.AddMessageResponder(responder);
    QVERIFY(link.Open());
    Write(link.Client, Document(u"ask"_s, {{u"a"_s, 1}}, QUuid::createUuid()));
    const QList<MessageInfo> messages = ReadMessages(link.Client, 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().Params,
             (QVariantMap{{u"first"_s, true}, {u"second"_s, true}, {u"both"_s, 2}}));
    QCOMPARE(askedId, u"ask"_s);
    QCOMPARE(askedParams, (QVariantMap{{u"a"_s, 1}}));
    QCOMPARE(first.Calls(), 1);
    QCOMPARE(second.Calls(), 1);
    QCOMPARE(third.Calls(), 0);
}

void tst_MessageServer::Responders_allDecline()
{
    LinkedServer link;
    Responder first([](const QString& /*id*/, const QVariantMap& /*params*/, QVariantMap& response) {
        response.insert(u"written"_s, 1);
        return false;
    });
    Responder second(&Decline);
    link.Server.AddMessageResponder(&first);
    link.Server.AddMessageResponder(&second);
    QVERIFY(link.Open());
    // The request is itself an answer, which makes no difference.
    MessageInfo request;
    request.UniqueId = QUuid::createUuid();
    request.NeedResponse = true;
    request.IsResponse = true;
    Write(link.Client, EncodeMessage(request).toUtf8());
    const QList<MessageInfo> messages = ReadMessages(link.Client, 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().Params, (QVariantMap{{u"written"_s, 1}}));
    QCOMPARE(messages.constFirst().OriginalMessageUniqueId, request.UniqueId);
    QCOMPARE(second.Calls(), 1);
}

void tst_MessageServer::Responders_registration()
{
    LinkedServer link;
    Responder twice(&Decline);
    Responder removed(&Decline);
    Responder unknown(&Decline);
    link.Server.AddMessageResponder(nullptr);
    link.Server.AddMessageResponder(&twice);
    link.Server.AddMessageResponder(&removed);
    link.Server.AddMessageResponder(&twice);
    link.Server.RemoveMessageResponder(&removed);
    link.Server.RemoveMessageResponder(&removed);
    link.Server.RemoveMessageResponder(&unknown);
    link.Server.RemoveMessageResponder(nullptr);
    QVERIFY(link.Open());
    Write(link.Client, Document(u"ask"_s, {}, QUuid::createUuid()));
    QCOMPARE(ReadMessages(link.Client, 1).size(), 1);
    QCOMPARE(twice.Calls(), 1);
    QCOMPARE(removed.Calls(), 0);
    QCOMPARE(unknown.Calls(), 0);

    link.Server.RemoveMessageResponder(&twice);
    Write(link.Client, Document(u"ask"_s, {}, QUuid::createUuid()));
    QCOMPARE(ReadMessages(link.Client, 1).size(), 1);
    QCOMPARE(twice.Calls(), 1);
}

void tst_MessageServer::Responders_changedDuringRequest()
{
    LinkedServer link;
    Responder added(&Decline);
    Responder second(&Decline);
    Responder first([&](const QString& /*id*/, const QVariantMap& /*params*/, QVariantMap& /*response*/) {
        link.Server.AddMessageResponder(&added);
        link.Server.RemoveMessageResponder(&second);
        return false;
    });
    link.Server.AddMessageResponder(&first);
    link.Server.AddMessageResponder(&second);
    QVERIFY(link.Open());
    Write(link.Client, Document(u"ask"_s, {}, QUuid::createUuid()));
    QCOMPARE(ReadMessages(link.Client, 1).size(), 1);
    // A request is passed to the responders that are registered when it arrives.
    QCOMPARE(added.Calls(), 0);
    QCOMPARE(second.Calls(), 1);
    Write(link.Client, Document(u"ask"_s, {}, QUuid::createUuid()));
    QCOMPARE(ReadMessages(link.Client, 1).size(), 1);
    QCOMPARE(added.Calls(), 1);
    QCOMPARE(second.Calls(), 1);
}

void tst_MessageServer::Worker()
{
    MessageServer server; // only emits NewOutgoingMessage
    MessageServerWorker worker(&server);
    QSignalSpy connected(&worker, &MessageServerWorker::Connected);
    QSignalSpy disconnected(&worker, &MessageServerWorker::Disconnected);
    QSignalSpy received(&worker, &MessageServerWorker::MessageReceived);
    const MessageInfo message{u"N"_s, QUuid::createUuid(), true, true, QUuid::createUuid(), {{u"a"_s, 1}}};
    const QString name = UniqueName();

    QCOMPARE(worker.SendMessage(message), false);
    QCOMPARE(worker.Stop(), true);
    QCOMPARE(worker.Start(name), true);
    QCOMPARE(worker.SendMessage(message), false);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    EVENTUALLY_EQUAL(connected.count(), 1);
    QCOMPARE(worker.SendMessage(message), true);
    Q_EMIT server.NewOutgoingMessage(message);
    const QList<MessageInfo> messages = ReadMessages(client, 2);
    QCOMPARE(messages.size(), 2);
    QCOMPARE(EncodeMessage(messages.constLast()), EncodeMessage(message));

    Write(client, EncodeMessage(message).toUtf8());
    EVENTUALLY_EQUAL(received.count(), 1);
    QCOMPARE(EncodeMessage(received.at(0).at(0).value<MessageInfo>()), EncodeMessage(message));

    client.disconnectFromServer();
    EVENTUALLY_EQUAL(disconnected.count(), 1);
    QCOMPARE(worker.SendMessage(message), false);
    QCOMPARE(worker.Stop(), true);
    QVERIFY(!QFile::exists(SocketPath(name)));
}

void tst_MessageServer::Worker_slotsWithoutSender()
{
    MessageServer server;
    MessageServerWorker worker(&server);
    QSignalSpy connected(&worker, &MessageServerWorker::Connected);
    QSignalSpy disconnected(&worker, &MessageServerWorker::Disconnected);
    const QString name = UniqueName();
    worker.Start(name);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    EVENTUALLY_EQUAL(connected.count(), 1);
    worker.DisconnectedSlot();
    worker.ReadMessage();
    QObject stranger;
    connect(&stranger, &QObject::objectNameChanged, &worker, &MessageServerWorker::DisconnectedSlot);
    connect(&stranger, &QObject::objectNameChanged, &worker, &MessageServerWorker::ReadMessage);
    stranger.setObjectName(u"x"_s);
    QCOMPARE(disconnected.count(), 0);
    QCOMPARE(worker.SendMessage(MessageInfo()), true);
    QCOMPARE(ReadMessages(client, 1).size(), 1);
}

void tst_MessageServer::Worker_startsAgain()
{
    MessageServer server;
    MessageServerWorker worker(&server);
    const QString name = UniqueName();
    const QString other = UniqueName();
    QCOMPARE(worker.Start(name), true);
    QCOMPARE(worker.Start(other), true); // replaces the first server
    QVERIFY(!QFile::exists(SocketPath(name)));
    QLocalSocket client;
    QVERIFY(Connect(client, other));
    const TestSupport::LogGuard log;
    QCOMPARE(worker.Start(QString(200, u'x')), false);
    QVERIFY(!QFile::exists(SocketPath(other)));
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
}

void tst_MessageServer::Slot_opensEventLoop()
{
    LinkedServer link;
    QStringList order;
    connect(&link.Server, &MessageServer::MessageReceived, &link.Server, [&](const QString& id) {
        order.append(id);
        if (id == u"m0"_s)
            QVERIFY(WaitUntil([&] { return order.size() == 3; })); // the others arrive meanwhile
        order.append(u"end of "_s + id);
    });
    QVERIFY(link.Open());
    Write(link.Client, Document(u"m0"_s));
    Write(link.Client, Document(u"m1"_s));
    EVENTUALLY_EQUAL(order, (QStringList{u"m0"_s, u"m1"_s, u"end of m1"_s, u"end of m0"_s}));
}

void tst_MessageServer::Slot_opensEventLoopUntilDeleted()
{
    auto server = std::make_unique<MessageServer>();
    const QString name = UniqueName();
    QStringList order;
    connect(server.get(), &MessageServer::MessageReceived, this, [&](const QString& id) {
        if (id == u"b"_s)
            server.reset();
        else
            QVERIFY(WaitUntil([&] { return server == nullptr; }));
        order.append(id);
    });
    server->Start(name);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    Write(client, Document(u"a"_s) + Document(u"b"_s) + Document(u"c"_s));
    EVENTUALLY_EQUAL(order, (QStringList{u"b"_s, u"a"_s}));
}

void tst_MessageServer::Slot_stopsServer()
{
    MessageServer server;
    const QString name = UniqueName();
    int received = 0;
    connect(&server, &MessageServer::MessageReceived, &server, [&] {
        ++received;
        server.Stop();
    });
    for (int round = 1; round <= 20; ++round) {
        server.Start(name);
        QLocalSocket client;
        QVERIFY(Connect(client, name));
        Write(client, Document(u"m"_s) + Document(u"m"_s));
        EVENTUALLY_EQUAL(received, round);
        QVERIFY(!server.IsStarted());
        QCOMPARE(received, round); // the second message is dropped
    }
}

void tst_MessageServer::Slot_deletesServer()
{
    for (int round = 0; round < 20; ++round) {
        auto server = std::make_unique<MessageServer>();
        const QString name = UniqueName();
        connect(server.get(), &MessageServer::MessageReceived, this, [&] { server.reset(); });
        server->Start(name);
        QLocalSocket client;
        QVERIFY(Connect(client, name));
        Write(client, Document(u"m"_s) + Document(u"m"_s));
        EVENTUALLY(server == nullptr);
    }
}

void tst_MessageServer::Responder_stopsServer()
{
    LinkedServer link;
    Responder responder([&](const QString& /*id*/, const QVariantMap& /*params*/, QVariantMap& /*response*/) {
        link.Server.Stop();
        return true;
    });
    link.Server.AddMessageResponder(&responder);
    QVERIFY(link.Open());
    Write(link.Client, Document(u"m"_s, {}, QUuid::createUuid()));
    EVENTUALLY_EQUAL(responder.Calls(), 1);
    EVENTUALLY_EQUAL(link.Client.state(), QLocalSocket::UnconnectedState);
}

void tst_MessageServer::Responder_deletesServer()
{
    auto server = std::make_unique<MessageServer>();
    const QString name = UniqueName();
    Responder first([&](const QString& /*id*/, const QVariantMap& /*params*/, QVariantMap& /*response*/) {
        server.reset();
        return false;
    });
    Responder second(&Decline);
    server->AddMessageResponder(&first);
    server->AddMessageResponder(&second);
    server->Start(name);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    Write(client, Document(u"m"_s, {}, QUuid::createUuid()));
    EVENTUALLY_EQUAL(first.Calls(), 1);
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
    QCOMPARE(second.Calls(), 0);
}

QTEST_GUILESS_MAIN(tst_MessageServer)

#include "tst_MessageServer.moc"
