// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests qvutil ipc list and watch, as processes beside real servers.

#include "support/BareSocket.h"
#include "support/LinkedServer.h"
#include "support/MessagingSupport.h"
#include "support/RunningTool.h"
#include "support/TerminalTool.h"
#include "support/ToolTest.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <algorithm>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace MessagingSupport;
using TestSupport::BareSocket;
using TestSupport::EnvironmentGuard;
using TestSupport::PathOf;
using TestSupport::RunningTool;
using TestSupport::StartListener;
using TestSupport::TerminalTool;
using TestSupport::ToolResult;

class tst_ToolIpcList : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:

    void Nothing();
    void Server();
    void Server_text();
    void Server_client();
    void Server_notAccepting();
    void Server_notDisturbed();
    void Server_ofThisProcess();
    void StaleFile();
    void OtherPrograms();
    void SessionFolder();
    void SessionFolder_ignored_data();
    void SessionFolder_ignored();
    void OtherUser();
    void NoFolder();
    void Usage();
    void Completion();

    void Watch_events();
    void Watch_json();
    void Watch_terminal();
    void Watch_lowTerminal();
    void Watch_wideCharacters();

private:
    void SetUp() override;
    void TearDown() override;
    [[nodiscard]] ToolResult Run(const QStringList& options = {}) const
    {
        return TestSupport::RunIpc(*mTool, QStringList(u"list"_s) + options);
    }
    [[nodiscard]] ToolResult Watch(const QStringList& options) const
    {
        return TestSupport::RunIpc(*mTool, QStringList{u"watch"_s, u"--interval"_s, u"20"_s} + options);
    }
    // Returns the list as JSON; an empty array if the exit code does not match it.
    [[nodiscard]] QJsonArray List(const QStringList& options = {}) const
    {
        const ToolResult result = Run(QStringList(u"--json"_s) + options);
        const QJsonArray entries = QJsonDocument::fromJson(result.Output).array();
        const bool isGood = result.Errors.isEmpty() && result.ExitCode == (entries.isEmpty() ? 1 : 0);
        return isGood ? entries : QJsonArray{u"wrong exit code"_s};
    }
    [[nodiscard]] static QStringList Names(const QJsonArray& entries)
    {
        QStringList names;
        for (const QJsonValue& entry : entries)
            names += entry.toObject().value("name"_L1).toString();
        return names;
    }
    [[nodiscard]] QStringList Files() const
    {
        return QDir(mTemporary->path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden);
    }

    std::optional<QTemporaryDir> mTemporary;
    std::optional<EnvironmentGuard> mTemporaryGuard;
    std::optional<EnvironmentGuard> mSessionGuard;
};

namespace {
// The library that the list shows for the tool and for MessagePeer.
const char* const kThisLibrary = QVUTIL_IS_SHARED ? "QvUtil" : "unknown";

QJsonObject Process(qint64 id, const QString& name)
{
    return {{u"id"_s, id}, {u"name"_s, name}};
}
} // namespace

void tst_ToolIpcList::SetUp()
{
    mTemporary.emplace();
    mTemporaryGuard.emplace("TMPDIR", QFile::encodeName(mTemporary->path()));
    mSessionGuard.emplace("XDG_RUNTIME_DIR", QByteArray());
}

void tst_ToolIpcList::TearDown()
{
    mSessionGuard.reset();
    mTemporaryGuard.reset();
    mTemporary.reset();
}

void tst_ToolIpcList::Nothing()
{
    QCOMPARE(Run().ToText(), u"no servers in %1\n=> 1\n"_s.arg(mTemporary->path()));
    QCOMPARE(List(), QJsonArray());
    // Files and folders are not servers.
    QVERIFY(TestSupport::WriteFile(mTemporary->filePath(u"file"_s), "x"));
    QVERIFY(QDir(mTemporary->path()).mkdir(u"folder"_s));
    QCOMPARE(List(), QJsonArray());
}

void tst_ToolIpcList::Server()
{
    const auto listener = StartListener(*mTool, u"viewer"_s);
    QVERIFY(listener);
    const QJsonArray entries = List();
    QCOMPARE(entries.size(), 1);
    QJsonObject entry = entries.first().toObject();
    QCOMPARE(entry.take("name"_L1), QJsonValue(u"viewer"_s));
    QCOMPARE(entry.take("path"_L1), QJsonValue(PathOf(u"viewer"_s)));
    QCOMPARE(entry.take("user"_L1), QJsonValue(QFileInfo(PathOf(u"viewer"_s)).owner()));
    QCOMPARE(entry.take("listening"_L1), QJsonValue(true));
    QCOMPARE(entry.take("stale"_L1), QJsonValue(false));
#ifdef Q_OS_LINUX
    QCOMPARE(entry,
             (QJsonObject{{u"accepts"_s, true},
                          {u"servers"_s, QJsonArray{Process(listener->Id(), u"qvutil"_s)}},
                          {u"clients"_s, QJsonArray()},
                          {u"connections"_s, 0},
                          {u"waiting"_s, 0},
                          {u"library"_s, QLatin1StringView(kThisLibrary)}}));
#endif
}

void tst_ToolIpcList::Server_text()
{
    const auto listener = StartListener(*mTool, u"viewer"_s);
    QVERIFY(listener);
    const ToolResult result = Run();
    QCOMPARE(result.ExitCode, 0);
    QStringList lines = QString::fromUtf8(result.Output).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.first().simplified(), u"name process user client state library"_s);
    const QString owner = QFileInfo(PathOf(u"viewer"_s)).owner();
#ifdef Q_OS_LINUX
    QCOMPARE(lines.last().simplified(),
             u"viewer %1 (qvutil) %2 - accepts %3"_s.arg(listener->Id())
                 .arg(owner, QLatin1StringView(kThisLibrary)));
    // The columns are aligned with their headings.
    QCOMPARE(lines.last().indexOf(u"accepts"_s), lines.first().indexOf(u"state"_s));
#else
    QCOMPARE(lines.last().simplified(), u"viewer ? %1 ? ? unknown"_s.arg(owner));
#endif
}

void tst_ToolIpcList::Server_client()
{
#ifdef Q_OS_LINUX
    const auto listener = StartListener(*mTool, u"viewer"_s);
    QVERIFY(listener);
    QLocalSocket client;
    QVERIFY(Connect(client, u"viewer"_s));
    QVERIFY(listener->WaitForError("a client has connected"));
    const QJsonObject entry = List().first().toObject();
    const qint64 own = QCoreApplication::applicationPid();
    QCOMPARE(entry.value("connections"_L1), QJsonValue(1));
    QCOMPARE(entry.value("clients"_L1), QJsonValue(QJsonArray{Process(own, u"tst_ToolIpcList"_s)}));
    const QString text = QString::fromUtf8(Run().Output);
    QVERIFY2(text.contains(u"  %1 (tst_ToolIpcList)  accepts  "_s.arg(own)), qPrintable(text));
#else
    QSKIP("only Linux reports which processes are connected");
#endif
}

void tst_ToolIpcList::Server_notAccepting()
{
#ifdef Q_OS_LINUX
    const auto listener = StartListener(*mTool, u"viewer"_s);
    QVERIFY(listener);
    QVERIFY(listener->Freeze());
    QLocalSocket client;
    client.connectToServer(u"viewer"_s);
    const QJsonObject entry = List().first().toObject();
    QCOMPARE(entry.value("accepts"_L1), QJsonValue(false));
    QCOMPARE(entry.value("waiting"_L1), QJsonValue(1));
    QVERIFY(Run().Output.contains("  does not accept 1  "));
    listener->Signal(SIGCONT);
    QVERIFY(listener->WaitForError("a client has connected"));
    QCOMPARE(List().first().toObject().value("accepts"_L1), QJsonValue(true));
#else
    QSKIP("only Linux reports which connections wait");
#endif
}

void tst_ToolIpcList::Server_notDisturbed()
{
    const auto listener = StartListener(*mTool, u"viewer"_s);
    QVERIFY(listener);
    QLocalSocket client;
    QVERIFY(Connect(client, u"viewer"_s));
    QVERIFY(listener->WaitForError("a client has connected"));
    const QStringList files = Files();
    QCOMPARE(Names(List()), QStringList(u"viewer"_s));
    QCOMPARE(Files(), files);
    // The next thing the server receives is the disconnection.
    client.disconnectFromServer();
    QVERIFY(listener->WaitForError("a client has disconnected"));
    const ToolResult result = listener->End();
    QCOMPARE(result.Errors.count("a client has connected"), 1);
    QCOMPARE(result.Output, QByteArray());
}

// A server of the library in a program that links it statically.
void tst_ToolIpcList::Server_ofThisProcess()
{
    LinkedServer linked;
    QVERIFY(linked.OpenAndWait());
    const QJsonArray entries = List();
    QCOMPARE(Names(entries), QStringList(linked.Name));
    QCOMPARE(entries.first().toObject().value("library"_L1), QJsonValue(u"unknown"_s));
}

void tst_ToolIpcList::StaleFile()
{
    const auto listener = StartListener(*mTool, u"viewer"_s);
    QVERIFY(listener);
    (void)listener->End(SIGKILL);
    const QJsonArray entries = List();
    QCOMPARE(entries.size(), 1);
    const QJsonObject entry = entries.first().toObject();
    QCOMPARE(entry.value("stale"_L1), QJsonValue(true));
    QCOMPARE(entry.value("listening"_L1), QJsonValue(false));
    QCOMPARE(entry.value("accepts"_L1), QJsonValue(false));
    QCOMPARE(entry.value("library"_L1), QJsonValue(u"unknown"_s));
    const ToolResult result = Run();
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(QString::fromUtf8(result.Output).section(u'\n', 1, 1).simplified(),
             u"viewer - %1 - stale unknown"_s.arg(QFileInfo(PathOf(u"viewer"_s)).owner()));
    QVERIFY(QFile::exists(PathOf(u"viewer"_s)));
}

// The library never creates a socket under its final name.
void tst_ToolIpcList::OtherPrograms()
{
#ifdef Q_OS_LINUX
    const BareSocket stream(PathOf(u"stream"_s), true);
    QVERIFY(stream.IsGood());
    const int datagram = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(PathOf(u"datagram"_s));
    std::copy(path.begin(), path.end(), address.sun_path);
    QCOMPARE(::bind(datagram, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);

    const QJsonArray own = List();
    const QJsonArray all = List({u"--all"_s});
    ::close(datagram);
    QCOMPARE(own, QJsonArray());
    QCOMPARE(Names(all), (QStringList{u"datagram"_s, u"stream"_s}));
    for (const QJsonValue& entry : all)
        QCOMPARE(entry.toObject().value("library"_L1), QJsonValue(u"other"_s));
    QCOMPARE(all.first().toObject().value("listening"_L1), QJsonValue(false));
    QCOMPARE(all.first().toObject().value("stale"_L1), QJsonValue(false));
    QCOMPARE(all.last().toObject().value("listening"_L1), QJsonValue(true));
#else
    QSKIP("only Linux reports how a socket was created");
#endif
}

void tst_ToolIpcList::SessionFolder()
{
    const QTemporaryDir session;
    const EnvironmentGuard guard("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
    const QString place = session.filePath(u"editor"_s);
    const auto viewer = StartListener(*mTool, u"viewer"_s);
    QVERIFY(viewer);
    const auto editor = StartListener(*mTool, place);
    QVERIFY(editor);
    const QJsonArray entries = List();
    QCOMPARE(Names(entries), (QStringList{u"viewer"_s, place}));
    QCOMPARE(entries.last().toObject().value("path"_L1), QJsonValue(place));
    QCOMPARE(viewer->End().ExitCode, 0);
    QCOMPARE(editor->End().ExitCode, 0);
    QCOMPARE(Run().ToText(), u"no servers in %1, %2\n=> 1\n"_s.arg(mTemporary->path(), session.path()));
}

void tst_ToolIpcList::SessionFolder_ignored_data()
{
    QTest::addColumn<QString>("folder"); // %1 is the folder for temporary files

    QTest::newRow("same folder") << u"%1"_s;
    QTest::newRow("same folder, through a link") << u"%1/link"_s;
    QTest::newRow("relative") << u"."_s;
    QTest::newRow("missing") << u"%1/none"_s;
}

void tst_ToolIpcList::SessionFolder_ignored()
{
    QFETCH(const QString, folder);

    QVERIFY(QFile::link(mTemporary->path(), mTemporary->filePath(u"link"_s)));
    const EnvironmentGuard guard(
        "XDG_RUNTIME_DIR",
        QFile::encodeName(folder.contains(u'%') ? folder.arg(mTemporary->path()) : folder));
    const auto viewer = StartListener(*mTool, u"viewer"_s);
    QVERIFY(viewer);
    QCOMPARE(Names(List()), QStringList(u"viewer"_s));
}

// The socket of another user is listed, although its process cannot be seen.
void tst_ToolIpcList::OtherUser()
{
#ifdef Q_OS_LINUX
    if (::geteuid() != 0)
        QSKIP("needs root to list root's server as another user");
    QFile::setPermissions(mTemporary->path(), QFile::Permissions(0x7755));
    QFile::setPermissions(mTool->Path(u"."_s), QFile::Permissions(0x7755));
    const auto viewer = StartListener(*mTool, u"viewer"_s);
    QVERIFY(viewer);
    const ToolResult result = mTool->RunUnprivileged({u"ipc"_s, u"list"_s, u"--json"_s});
    QCOMPARE(result.ExitCode, 0);
    const QJsonObject entry = QJsonDocument::fromJson(result.Output).array().first().toObject();
    QCOMPARE(entry.value("user"_L1), QJsonValue(u"root"_s));
    QCOMPARE(entry.value("listening"_L1), QJsonValue(true));
    QCOMPARE(entry.value("accepts"_L1), QJsonValue(true));
    QCOMPARE(entry.value("servers"_L1), QJsonValue(QJsonArray()));
    QCOMPARE(entry.value("library"_L1), QJsonValue(u"unknown"_s));
    QVERIFY(mTool->RunUnprivileged({u"ipc"_s, u"list"_s}).Output.contains("\nviewer  ?  "));
#else
    QSKIP("only Linux reports the processes of a server");
#endif
}

void tst_ToolIpcList::NoFolder()
{
    const QString missing = mTemporary->filePath(u"none"_s);
    const EnvironmentGuard guard("TMPDIR", QFile::encodeName(missing));
    QCOMPARE(Run().ToText(), u"! qvutil: %1: there is no such folder\n=> 2\n"_s.arg(missing));
}

void tst_ToolIpcList::Usage()
{
    QCOMPARE(Run({u"viewer"_s}).ToText(),
             u"! qvutil: unexpected argument 'viewer'\n! Try 'qvutil ipc list --help'.\n=> 2\n"_s);
}

// Completion offers the servers that listen, as the list names them.
void tst_ToolIpcList::Completion()
{
    const auto complete = [this] {
        return mTool->Run({u"completion"_s, u"--list"_s, u"servers"_s}).ToText();
    };
    QCOMPARE(complete(), u"=> 1\n"_s);
    const QTemporaryDir session;
    const EnvironmentGuard guard("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
    const QString place = session.filePath(u"editor"_s);
    const auto viewer = StartListener(*mTool, u"viewer 1"_s);
    QVERIFY(viewer);
    const auto editor = StartListener(*mTool, place);
    QVERIFY(editor);
    QCOMPARE(complete(), u"viewer 1\n%1\n=> 0\n"_s.arg(place));
    // A stale socket file is not a server.
    (void)viewer->End(SIGKILL);
    QVERIFY(QFile::exists(PathOf(u"viewer 1"_s)));
    QCOMPARE(complete(), place + u"\n=> 0\n"_s);
}

// watch

void tst_ToolIpcList::Watch_events()
{
#ifdef Q_OS_LINUX
    auto viewer = StartListener(*mTool, u"viewer"_s);
    QVERIFY(viewer);
    RunningTool watch(*mTool, {u"ipc"_s, u"watch"_s, u"--interval"_s, u"20"_s});
    QVERIFY(watch.WaitForOutput("  server  viewer  " + QByteArray::number(viewer->Id()) + " (qvutil)\n"));
    const QByteArray own = QByteArray::number(QCoreApplication::applicationPid());
    {
        QLocalSocket client;
        QVERIFY(Connect(client, u"viewer"_s));
        QVERIFY(watch.WaitForOutput("  connected  viewer  " + own + " (tst_ToolIpcList)\n"));
    }
    QVERIFY(watch.WaitForOutput("  disconnected  viewer  " + own + " (tst_ToolIpcList)\n"));
    (void)viewer->End(SIGKILL);
    QVERIFY(watch.WaitForOutput("  died    viewer  "));
    viewer = StartListener(*mTool, u"viewer"_s);
    QVERIFY(viewer);
    QVERIFY(watch.WaitForOutput("  started  viewer  " + QByteArray::number(viewer->Id()) + " (qvutil)\n"));
    QCOMPARE(viewer->End().ExitCode, 0);
    QVERIFY(watch.WaitForOutput("  ended   viewer  "));
    const ToolResult result = watch.End(SIGINT);
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    QCOMPARE(result.Output.count('\n'), 6);
#else
    QSKIP("only Linux reports which processes are connected");
#endif
}

void tst_ToolIpcList::Watch_json()
{
    const auto viewer = StartListener(*mTool, u"viewer"_s);
    QVERIFY(viewer);
    const ToolResult result = Watch({u"--json"_s, u"--count"_s, u"1"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Output.count('\n'), 1);
    QJsonObject event = QJsonDocument::fromJson(result.Output).object();
    QVERIFY(QDateTime::fromString(event.take("time"_L1).toString(), Qt::ISODateWithMs).isValid());
#ifdef Q_OS_LINUX
    QCOMPARE(event.take("process"_L1), QJsonValue(Process(viewer->Id(), u"qvutil"_s)));
#else
    QVERIFY(event.take("process"_L1).isNull());
#endif
    QCOMPARE(
        event,
        (QJsonObject{{u"event"_s, u"server"_s}, {u"name"_s, u"viewer"_s}, {u"path"_s, PathOf(u"viewer"_s)}}));
}

void tst_ToolIpcList::Watch_terminal()
{
    TerminalTool watch(*mTool, {u"ipc"_s, u"watch"_s, u"--interval"_s, u"20"_s}, 120);
    const QByteArray modes = watch.Modes();
    QVERIFY(watch.WaitForLine(u"no servers in "_s));
    const auto viewer = StartListener(*mTool, u"viewer"_s);
    QVERIFY(viewer);
    QVERIFY(watch.WaitForLine(u"  started  viewer  "_s));
    const QStringList screen = watch.Screen();
    QCOMPARE(screen.size(), 4);
    QCOMPARE(screen.value(0).simplified(), u"name process user client state library"_s);
    QVERIFY(screen.value(1).startsWith(u"viewer  "_s));
    watch.Type("\x03");
    QCOMPARE(watch.WaitForEnd(), 0);
    QCOMPARE(watch.Screen(), screen);
    QCOMPARE(watch.Modes(), modes);
}

void tst_ToolIpcList::Watch_lowTerminal()
{
    const auto first = StartListener(*mTool, u"first"_s);
    QVERIFY(first);
    TerminalTool watch(*mTool, {u"ipc"_s, u"watch"_s, u"--interval"_s, u"20"_s}, 120, 6);
    QVERIFY(watch.WaitForLine(u"first  "_s));
    const auto second = StartListener(*mTool, u"second"_s);
    QVERIFY(second);
    QVERIFY(watch.WaitForLine(u"  started  second  "_s));
    QCOMPARE(watch.Screen().value(1), u"and 2 more"_s);
    watch.Type("\x03");
    QCOMPARE(watch.WaitForEnd(), 0);
}

void tst_ToolIpcList::Watch_wideCharacters()
{
    const auto server = StartListener(*mTool, u"中文中文\U0001F600\U0001F600"_s);
    QVERIFY(server);
    // The fifth column has room for only half a character. Truncating the text after five UTF-16 units would
    // also split a surrogate pair.
    TerminalTool watch(*mTool, {u"ipc"_s, u"watch"_s, u"--count"_s, u"1"_s}, 5);
    QCOMPARE(watch.WaitForEnd(), 0);
    const QString output = QString::fromUtf8(watch.Output());
    QVERIFY2(output.contains(u"\n中文\x1b[K"_s), qPrintable(output));
}

QTEST_GUILESS_MAIN(tst_ToolIpcList)

#include "tst_ToolIpcList.moc"
