// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "base/QtCompat_p.h"
#include "messaging/GridRegistry_p.h"
#include "support/GridSupport.h"
#include "support/MessagingSupport.h"
#include "support/TerminalTool.h"
#include "support/ToolTest.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSystemSemaphore>

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace GridSupport;
using namespace MessagingSupport;
using Quorvin::Util::ProcessInfo;
using Quorvin::Util::Internal::GridLockFilePath;
using Quorvin::Util::Internal::NativeSemaphoreKey;
using Quorvin::Util::Internal::NativeSharedMemoryKey;
using Quorvin::Util::Internal::ParseRegistry;
using TestSupport::TerminalTool;
using TestSupport::ToolResult;

namespace {

namespace Platform = Quorvin::Util::Platform;

const QString kGrid = u"desk"_s;

// Returns the result with single spaces between columns, because the width of a column depends on its texts.
QString Text(const ToolResult& result)
{
    QString text;
    const QStringList lines = result.ToText().split(u'\n');
    for (const QString& line : lines)
        text += line.simplified() + u'\n';
    return text.chopped(1);
}

// Replaces placeholder words with process ids.
class Words
{
public:
    void Add(const QString& word, const Peer& peer) { mWords.append({word, QString::number(peer.Id())}); }
    [[nodiscard]] QString In(QString text) const
    {
        for (const auto& [word, id] : mWords)
            text.replace(word, id);
        return text;
    }

private:
    QList<std::pair<QString, QString>> mWords;
};

// Creates a socket file like one that a killed process leaves behind.
[[nodiscard]] bool LeaveSocket(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.size() >= static_cast<qsizetype>(sizeof(address.sun_path)))
        return false;
    std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const bool isBound = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    ::close(socket);
    return isBound;
}

// Runs `grid watch` in the background.
class Watch
{
public:
    explicit Watch(const QStringList& arguments)
    {
        mProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mProcess.start(QString::fromLatin1(QVUTIL_TOOL),
                       QStringList{u"grid"_s, u"watch"_s, kGrid, u"--interval"_s, u"2"_s} + arguments);
    }
    ~Watch()
    {
        if (mProcess.state() == QProcess::NotRunning)
            return;
        mProcess.kill();
        mProcess.waitForFinished(60000);
    }
    Q_DISABLE_COPY_MOVE(Watch)

    /// Waits for a line. \return null if none arrives within a minute
    [[nodiscard]] QString Line()
    {
        if (!WaitUntil([&] { return mProcess.canReadLine() || mProcess.state() == QProcess::NotRunning; }))
            return {};
        return mProcess.canReadLine() ? QString::fromUtf8(mProcess.readLine()).trimmed() : QString();
    }
    /// Returns a line without its time.
    [[nodiscard]] QString Event() { return Line().mid(12).simplified(); }
    void Interrupt(int signal) { ::kill(static_cast<pid_t>(mProcess.processId()), signal); }
    /// Waits for the tool to end. \return its exit code
    [[nodiscard]] int Wait()
    {
        const bool isOver = mProcess.state() == QProcess::NotRunning || mProcess.waitForFinished(60000);
        return isOver && mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    }
    [[nodiscard]] QByteArray Rest() { return mProcess.readAllStandardOutput(); }

private:
    QProcess mProcess;
};

} // namespace

class tst_ToolGrid : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void NoGrid_data();
    void NoGrid();
    void NoGrid_noSemaphore();
    void LiveMembers();
    void LiveMembers_replacedClient();
    void LiveMembers_json();
    void DeadMember();
    void DeadMember_json();
    void DeadMembersOnly();
    void NotListening();
    void ChangesNothing();
    void ChangesNothing_whenNobodyIsLeft();
    void ListGrids();
    void Completion();
    void Damaged_data();
    void Damaged();
    void OtherSize();
    void FullRegistry();
    void OddNames_data();
    void OddNames();
    void Locked();
    void OtherUser();
    void Watch_events();
    void Watch_json();
    void Watch_deadFromTheBeginning();
    void Watch_signals_data();
    void Watch_signals();
    void Watch_lastMemberLeavesNothing();
    void Watch_terminal();
    void Watch_narrowTerminal();
    void Clean_nothing();
    void Clean_semaphore();
    void Clean_semaphoreOfOtherGrid();
    void Clean_memoryLocked();
    void Clean_lockLeftByKilledProcess_data();
    void Clean_lockLeftByKilledProcess();
    void Clean_deadAmongLiving();
    void Clean_damagedAmongLiving();
    void Clean_whatOnlyLooksStale();
    void Clean_withoutRegistry();
    void Clean_json();
    void Clean_notAllowed();
    void Clean_whileMembersComeAndGo();
    void Arguments_data();
    void Arguments();

private:
    void SetUp() override;
    void TearDown() override;
    [[nodiscard]] ToolResult Run(const QString& command, const QStringList& arguments = {}) const
    {
        return mTool->Run(QStringList{u"grid"_s, command} + arguments);
    }
    [[nodiscard]] QString ServerName(const Peer& peer, const QString& grid = kGrid) const
    {
        return u"%1.MessagePeer.%2"_s.arg(grid).arg(peer.Id());
    }
    /// Waits until a member has joined and its server, which starts in the background, listens. With the sign
    /// "linked", the member is connected, but its peer may not have accepted the connection yet.
    [[nodiscard]] bool IsIn(Peer& peer, const QString& sign = u"joined"_s, const QString& grid = kGrid) const
    {
        return !peer.WaitForLine(sign).isEmpty()
            && WaitUntil([&] { return QFile::exists(Temporary(ServerName(peer, grid))); });
    }
    /// Returns the contents of the folder for temporary files, including sockets and lock files. Omits Qt's
    /// semaphore files, because they are never removed, and the hidden folders in which sockets are created,
    /// because they disappear some time after the socket has its name.
    [[nodiscard]] QStringList Files() const
    {
        QStringList files
            = QDir(mTemporary->path())
                  .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
        files.removeIf([](const QString& file) {
            return file.startsWith(u"qipc_systemsem_"_s) || file.startsWith(u'.');
        });
        return files;
    }
    [[nodiscard]] QString Temporary(const QString& file) const { return mTemporary->filePath(file); }

    std::optional<QTemporaryDir> mTemporary;
    std::optional<TestSupport::EnvironmentGuard> mFolderGuard;
};

void tst_ToolGrid::SetUp()
{
    mTemporary.emplace();
    mFolderGuard.emplace("TMPDIR", QFile::encodeName(mTemporary->path()));
}

void tst_ToolGrid::TearDown()
{
    // Killed processes also leave a segment and a semaphore behind, which are not in the folder. The last
    // process to detach removes the segment, and the creator of a semaphore removes the semaphore.
    QSystemSemaphore(kGrid, 1, QSystemSemaphore::Create); // first, because it may be locked
    QSharedMemory(kGrid).attach();
    mFolderGuard.reset();
    mTemporary.reset();
}

// --- show

void tst_ToolGrid::NoGrid_data()
{
    QTest::addColumn<QString>("command");

    QTest::newRow("list") << u"list"_s;
    QTest::newRow("show") << u"show"_s;
    QTest::newRow("clean") << u"clean"_s;
}

void tst_ToolGrid::NoGrid()
{
    QFETCH(const QString, command);

    QCOMPARE(Run(command, {u"desk"_s}).ToText(),
             u"! qvutil: grid desk: there is no such grid in %1\n=> 1\n"_s.arg(mTemporary->path()));
    QCOMPARE(QDir(mTemporary->path())
                 .isEmpty(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot),
             true);
}

// Counts semaphores in a namespace where nobody else creates any. `grid show` must not create one, even if
// the key file of a segment is left over.
void tst_ToolGrid::NoGrid_noSemaphore()
{
    const QString inNameSpace
        = u"unshare --user --map-root-user --ipc sh -c '%1 wc -l < /proc/sysvipc/sem'"_s;
    const QString none = u"1\n=> 0\n"_s; // the heading
    if (mTool->RunShell(inNameSpace.arg(QString())).ToText() != none)
        QSKIP("semaphores cannot be counted here");
    QFile file(NativeSharedMemoryKey(kGrid));
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (const QString& command : {u"list desk"_s, u"list other"_s, u"show desk"_s, u"clean other"_s}) {
        QCOMPARE(mTool->RunShell(inNameSpace.arg(u"\"$TOOL\" grid %1 2> /dev/null;"_s.arg(command))).ToText(),
                 none);
    }
    QCOMPARE(Files(), QStringList(QFileInfo(file).fileName()));
}

void tst_ToolGrid::LiveMembers()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Words words;
    words.Add(u"FIRST"_s, first);
    QCOMPARE(
        Text(Run(u"list"_s, {kGrid})),
        words.In(
            u"process state connected to client server\nFIRST alive - - desk.MessagePeer.FIRST\n=> 0\n"_s));

    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second, u"linked"_s));
    words.Add(u"SECOND"_s, second);
    const QString table = words.In(u"process state connected to client server\n"
                                   "FIRST alive - SECOND desk.MessagePeer.FIRST\n"
                                   "SECOND alive FIRST - desk.MessagePeer.SECOND\n"_s);
    EVENTUALLY_EQUAL(Text(Run(u"list"_s, {kGrid})), table + u"=> 0\n"_s);
    const qsizetype used = 4 + 2 * 12 + 2 * (ServerName(first).size() + ServerName(second).size());
    QCOMPARE(Text(Run(u"show"_s, {kGrid})),
             u"grid desk: 2 alive, 0 dead; %1 of 8192 bytes used\n\n"_s.arg(used) + table + u"=> 0\n"_s);
}

// A displaced client is no longer shown; it is stopped here, because it would reconnect within a second.
void tst_ToolGrid::LiveMembers_replacedClient()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second, u"linked"_s));
    QVERIFY(second.Freeze());
    Peer third({u"grid"_s, kGrid});
    QVERIFY(IsIn(third, u"linked"_s));
    Words words;
    words.Add(u"FIRST"_s, first);
    words.Add(u"SECOND"_s, second);
    words.Add(u"THIRD"_s, third);
    EVENTUALLY_EQUAL(Text(Run(u"list"_s, {kGrid})),
                     words.In(u"process state connected to client server\n"
                              "FIRST alive - THIRD desk.MessagePeer.FIRST\n"
                              "SECOND alive - - desk.MessagePeer.SECOND\n"
                              "THIRD alive FIRST - desk.MessagePeer.THIRD\n=> 0\n"_s));
}

void tst_ToolGrid::LiveMembers_json()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second, u"linked"_s));
    const QJsonArray members{QJsonObject{{u"processId"_s, first.Id()},
                                         {u"serverName"_s, ServerName(first)},
                                         {u"alive"_s, true},
                                         {u"listening"_s, true},
                                         {u"connectedTo"_s, QJsonArray()},
                                         {u"clients"_s, QJsonArray{second.Id()}}},
                             QJsonObject{{u"processId"_s, second.Id()},
                                         {u"serverName"_s, ServerName(second)},
                                         {u"alive"_s, true},
                                         {u"listening"_s, true},
                                         {u"connectedTo"_s, QJsonArray{first.Id()}},
                                         {u"clients"_s, QJsonArray()}}};
    EVENTUALLY_EQUAL(QJsonDocument::fromJson(Run(u"list"_s, {kGrid, u"--json"_s}).Output).array(), members);
    QCOMPARE(Run(u"list"_s, {kGrid, u"--json"_s}).ExitCode, 0);
    const ToolResult show = Run(u"show"_s, {kGrid, u"--json"_s});
    QCOMPARE(show.ExitCode, 0);
    const qsizetype used = 4 + 2 * 12 + 2 * (ServerName(first).size() + ServerName(second).size());
    const QJsonObject expected{
        {u"grid"_s, kGrid},      {u"exists"_s, true},           {u"healthy"_s, true},
        {u"locked"_s, false},    {u"usedBytes"_s, used},        {u"size"_s, 8192},
        {u"members"_s, members}, {u"problems"_s, QJsonArray()}, {u"leftovers"_s, QJsonArray()}};
    QCOMPARE(QJsonDocument::fromJson(show.Output).object(), expected);
}

void tst_ToolGrid::DeadMember()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second, u"linked"_s));
    Words words;
    words.Add(u"FIRST"_s, first);
    words.Add(u"SECOND"_s, second);
    second.Kill();
    const QString table = words.In(u"process state connected to client server\n"
                                   "FIRST alive - - desk.MessagePeer.FIRST\n"
                                   "SECOND dead - - desk.MessagePeer.SECOND\n"_s);
    EVENTUALLY_EQUAL(Text(Run(u"list"_s, {kGrid})), table + u"=> 0\n"_s);
    const QString shown = Text(Run(u"show"_s, {kGrid}));
    QVERIFY(shown.startsWith(u"grid desk: 1 alive, 1 dead; "_s));
    QVERIFY(shown.endsWith(table
                           + words
                                 .In(u"\nleft behind by crashed processes; `qvutil grid clean` removes it:\n"
                                     "the entry of process SECOND, desk.MessagePeer.SECOND\n"
                                     "the socket %1/desk.MessagePeer.SECOND\n=> 1\n"_s)
                                 .arg(mTemporary->path())));
    // The next process to join prunes the entry; the socket stays.
    Peer third({u"grid"_s, kGrid});
    QVERIFY(IsIn(third, u"linked"_s));
    words.Add(u"THIRD"_s, third);
    EVENTUALLY_EQUAL(Text(Run(u"list"_s, {kGrid})),
                     words.In(u"process state connected to client server\n"
                              "FIRST alive - THIRD desk.MessagePeer.FIRST\n"
                              "THIRD alive FIRST - desk.MessagePeer.THIRD\n=> 0\n"_s));
    QVERIFY(Text(Run(u"show"_s, {kGrid}))
                .endsWith(words.In(u"removes it:\nthe socket %1/desk.MessagePeer.SECOND\n=> 1\n"_s)
                              .arg(mTemporary->path())));
}

void tst_ToolGrid::DeadMember_json()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second));
    first.Kill();
    const QJsonObject shown = QJsonDocument::fromJson(Run(u"show"_s, {kGrid, u"--json"_s}).Output).object();
    QCOMPARE(shown.value("healthy"_L1), false);
    QCOMPARE(shown.value("members"_L1).toArray().at(0).toObject().value("alive"_L1), false);
    QCOMPARE(shown.value("members"_L1).toArray().at(0).toObject().value("listening"_L1), false);
    QCOMPARE(shown.value("leftovers"_L1).toArray(),
             (QJsonArray{QJsonObject{{u"kind"_s, u"entry"_s},
                                     {u"processId"_s, first.Id()},
                                     {u"serverName"_s, ServerName(first)}},
                         QJsonObject{{u"kind"_s, u"socket"_s},
                                     {u"processId"_s, first.Id()},
                                     {u"path"_s, Temporary(ServerName(first))}}}));
}

void tst_ToolGrid::DeadMembersOnly()
{
    Peer only({u"grid"_s, kGrid});
    QVERIFY(IsIn(only));
    only.Kill();
    Words words;
    words.Add(u"ONLY"_s, only);
    QVERIFY(Text(Run(u"show"_s, {kGrid}))
                .endsWith(
                    words
                        .In(u"removes it:\nthe entry of process ONLY, desk.MessagePeer.ONLY\n"
                            "the socket %1/desk.MessagePeer.ONLY\nthe registry, which has no living member\n"
                            "the lock file %2\n=> 1\n"_s)
                        .arg(mTemporary->path(), GridLockFilePath(kGrid))));
    QCOMPARE(
        Text(Run(u"list"_s, {kGrid})),
        words.In(u"process state connected to client server\nONLY dead - - desk.MessagePeer.ONLY\n=> 0\n"_s));
}

void tst_ToolGrid::NotListening()
{
    Registry registry(kGrid);
    QVERIFY(registry.Create());
    const qint64 own = QCoreApplication::applicationPid();
    registry.SetBytes(Number32(1) + Entry(own, u"desk.tst.%1"_s.arg(own)));
    const auto line = [own](const QString& state) {
        return u"process state connected to client server\n%1 %2 - - desk.tst.%1\n=> 0\n"_s.arg(own).arg(
            state);
    };
    QCOMPARE(Text(Run(u"list"_s, {kGrid})), line(u"alive, not listening"_s));
    QCOMPARE(Run(u"show"_s, {kGrid}).ExitCode, 1);
    const QJsonArray members = QJsonDocument::fromJson(Run(u"list"_s, {kGrid, u"--json"_s}).Output).array();
    QCOMPARE(members.at(0).toObject().value("alive"_L1), true);
    QCOMPARE(members.at(0).toObject().value("listening"_L1), false);

    // Another file in place of the socket.
    QVERIFY(TestSupport::WriteFile(Temporary(u"desk.tst.%1"_s.arg(own)), "x"));
    QCOMPARE(Text(Run(u"list"_s, {kGrid})), line(u"alive, not listening"_s));
    // Another server in its place.
    QVERIFY(QFile::remove(Temporary(u"desk.tst.%1"_s.arg(own))));
    const RawServer server(u"desk.tst.%1"_s.arg(own));
    QVERIFY(server.IsListening());
    QCOMPARE(Text(Run(u"list"_s, {kGrid})), line(u"alive"_s));
}

void tst_ToolGrid::ChangesNothing()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second, u"linked"_s));
    Peer third({u"grid"_s, kGrid});
    QVERIFY(IsIn(third));
    third.Kill();
    Registry registry(kGrid);
    QVERIFY(registry.Attach());
    const QByteArray bytes = registry.Bytes();
    const QStringList files = Files();
    for (const QStringList& arguments : QList<QStringList>{{u"list"_s},
                                                           {u"list"_s, kGrid},
                                                           {u"list"_s, kGrid, u"--json"_s},
                                                           {u"show"_s, kGrid},
                                                           {u"show"_s, kGrid, u"--json"_s},
                                                           {u"watch"_s, kGrid, u"--count"_s, u"3"_s},
                                                           {u"clean"_s, kGrid, u"--dry-run"_s}}) {
        const ToolResult result = mTool->Run(QStringList{u"grid"_s} + arguments);
        QVERIFY2(result.ExitCode == 0 || result.ExitCode == 1, qPrintable(arguments.join(u' ')));
        QCOMPARE(result.Errors, QByteArray());
        QCOMPARE(registry.Bytes(), bytes);
        QCOMPARE(Files(), files);
    }
}

// `show` must not destroy the segment, as the last process to detach from it normally does.
void tst_ToolGrid::ChangesNothing_whenNobodyIsLeft()
{
    Peer only({u"grid"_s, kGrid});
    QVERIFY(IsIn(only));
    only.Kill();
    const QStringList files = Files();
    for (const QStringList& arguments : QList<QStringList>{{u"list"_s},
                                                           {u"list"_s, kGrid},
                                                           {u"show"_s, kGrid},
                                                           {u"watch"_s, kGrid, u"--count"_s, u"1"_s},
                                                           {u"clean"_s, kGrid, u"--dry-run"_s}}) {
        const ToolResult result = mTool->Run(QStringList{u"grid"_s} + arguments);
        QVERIFY2(result.ExitCode == 0 || result.ExitCode == 1, qPrintable(arguments.join(u' ')));
        QCOMPARE(Files(), files);
    }
    Registry registry(kGrid);
    QVERIFY(registry.Attach());
    QCOMPARE(registry.Bytes().first(kRegistrySize), Image(Number32(1) + Entry(only.Id(), ServerName(only))));
}

void tst_ToolGrid::ListGrids()
{
    QCOMPARE(Run(u"list"_s).ToText(), u"no grids in %1\n=> 1\n"_s.arg(mTemporary->path()));
    QCOMPARE(Run(u"list"_s, {u"--json"_s}).ToText(), u"[]\n=> 1\n"_s);

    Peer a({u"grid"_s, u"a.b"_s});
    QVERIFY(IsIn(a, u"joined"_s, u"a.b"_s));
    Peer b1({u"grid"_s, u"b"_s});
    QVERIFY(IsIn(b1, u"joined"_s, u"b"_s));
    Peer b2({u"grid"_s, u"b"_s});
    QVERIFY(IsIn(b2, u"joined"_s, u"b"_s));
    b2.Kill();
    // Files with names similar to those of a grid.
    QVERIFY(LeaveSocket(Temporary(u"no.grid.2147483632"_s)));
    QSharedMemory other(u"c"_s);
    QVERIFY(other.create(100));
    QCOMPARE(Text(Run(u"list"_s)), u"grid alive dead leftovers\na.b 1 0 0\nb 1 1 2\n=> 0\n"_s);
    QCOMPARE(
        QJsonDocument::fromJson(Run(u"list"_s, {u"--json"_s}).Output).array(),
        (QJsonArray{QJsonObject{{u"grid"_s, u"a.b"_s}, {u"alive"_s, 1}, {u"dead"_s, 0}, {u"leftovers"_s, 0}},
                    QJsonObject{{u"grid"_s, u"b"_s}, {u"alive"_s, 1}, {u"dead"_s, 1}, {u"leftovers"_s, 2}}}));
}

// Completion offers the grids that the list shows.
void tst_ToolGrid::Completion()
{
    const auto complete = [this] { return mTool->Run({u"completion"_s, u"--list"_s, u"grids"_s}).ToText(); };
    QCOMPARE(complete(), u"=> 1\n"_s);
    Peer member({u"grid"_s, kGrid});
    QVERIFY(IsIn(member));
    Peer other({u"grid"_s, u"two words"_s});
    QVERIFY(IsIn(other, u"joined"_s, u"two words"_s));
    QCOMPARE(complete(), u"desk\ntwo words\n=> 0\n"_s);
}

// --- damaged registries

void tst_ToolGrid::Damaged_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("members");
    QTest::addColumn<QString>("problem");

    const QByteArray entry = Entry(kNobody, u"desk.x.2147483632"_s);
    const auto claims = [](const QString& count, int members) {
        return u"the registry should have %1 members, but %2 can be read"_s.arg(count).arg(members);
    };
    const QString behind = u"there is data after the last member"_s;
    QTest::newRow("good") << Number32(2) + entry + entry << 2 << QString();
    QTest::newRow("empty") << QByteArray() << 0 << QString();
    QTest::newRow("noise") << QByteArray(kRegistrySize, 'x') << 0
                           << claims(u"2021161080"_s, 0) + u'\n' + behind;
    QTest::newRow("all ones") << QByteArray(kRegistrySize, '\xff') << 0
                              << claims(u"-1"_s, 0) + u'\n' + behind;
    QTest::newRow("negative count") << Number32(0x80000000) + entry << 0
                                    << claims(u"-2147483648"_s, 0) + u'\n' + behind;
    QTest::newRow("count 0") << Number32(0) + entry << 0 << behind;
    QTest::newRow("count too small") << Number32(1) + entry + entry << 1 << behind;
    QTest::newRow("count too large") << Number32(3) + entry + entry << 2 << claims(u"3"_s, 2);
    QTest::newRow("count far too large") << Number32(0x7FFFFFFF) + entry << 1 << claims(u"2147483647"_s, 1);
    QTest::newRow("length beyond the end") << Number32(2) + entry + entry.first(8) + Number32(0x7FFFFFF0) << 1
                                           << claims(u"2"_s, 1) + u'\n' + behind;
    QTest::newRow("odd length") << Number32(2) + entry + entry.first(8) + Number32(3) << 1
                                << claims(u"2"_s, 1) + u'\n' + behind;
    QTest::newRow("null name") << Number32(1) + Entry(kNobody, QString()).first(8) + Number32(0) << 1
                               << QString();
    QTest::newRow("invalid process ids")
        << Number32(2) + Entry(-5, u"a"_s) + Entry(0, u"b"_s) << 2 << QString();
    QTest::newRow("data at the end") << Image(Number32(1) + entry).first(kRegistrySize - 1) + 'x' << 1
                                     << behind;
}

void tst_ToolGrid::Damaged()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const int, members);
    QFETCH(const QString, problem);

    // None of them has a live member, so only this test is attached after cleaning.
    Registry registry(kGrid);
    QVERIFY(registry.Create());
    registry.SetBytes(bytes);
    const QStringList problems = problem.split(u'\n', Qt::SkipEmptyParts);

    const ToolResult list = Run(u"list"_s, {kGrid, u"--json"_s});
    QCOMPARE(list.ExitCode, 0);
    QCOMPARE(QJsonDocument::fromJson(list.Output).array().size(), members);
    const ToolResult show = Run(u"show"_s, {kGrid, u"--json"_s});
    QCOMPARE(show.ExitCode, 1); // no live members
    QCOMPARE(QJsonDocument::fromJson(show.Output).object().value("problems"_L1).toArray(),
             QJsonArray::fromStringList(problems));
    const QString text = Run(u"show"_s, {kGrid}).ToText();
    QCOMPARE(text.contains(u"\nproblems:\n"_s), !problems.isEmpty());
    for (const QString& line : problems)
        QVERIFY(text.contains(u"\n  %1\n"_s.arg(line)));
    const QByteArray before = Image(bytes.first(qMin(bytes.size(), qsizetype(kRegistrySize))));
    QCOMPARE(registry.Bytes().first(kRegistrySize), before);

    const QString cleaned = Run(u"clean"_s, {kGrid}).ToText();
    QVERIFY(cleaned.endsWith(u"=> 0\n"_s));
    QCOMPARE(cleaned.count(u"removed the entry"_s), members);
    QCOMPARE(cleaned.contains(u"repaired the damaged registry"_s), members == 0 && !problems.isEmpty());
    QCOMPARE(registry.Bytes().first(kRegistrySize), QByteArray(kRegistrySize, '\0'));
}

// A segment that another program created under the same name.
void tst_ToolGrid::OtherSize()
{
    QSharedMemory memory(kGrid);
    QVERIFY(memory.create(100));
    std::memcpy(memory.data(), (Number32(1) + Entry(kNobody, u"x"_s)).constData(), 18);
    const QByteArray bytes(static_cast<const char*>(memory.constData()), 100);
    const ToolResult show = Run(u"show"_s, {kGrid});
    QCOMPARE(show.ExitCode, 1);
    QVERIFY(show.Output.contains("the memory has 100 bytes instead of 8192"));
    QVERIFY(Run(u"clean"_s, {kGrid}).ExitCode == 0);
    QCOMPARE(QByteArray(static_cast<const char*>(memory.constData()), 100), bytes);

    // A segment that is too small even for the number of members.
    const QString grid = u"tiny"_s;
    QSharedMemory tiny(grid);
    QVERIFY(tiny.create(1));
    QCOMPARE(Run(u"list"_s, {grid}).ToText(), u"process  state  connected to  client  server\n=> 0\n"_s);
    QCOMPARE(Run(u"show"_s, {grid}).ExitCode, 1);
}

void tst_ToolGrid::FullRegistry()
{
    Registry registry(kGrid);
    QVERIFY(registry.Create());
    // As many entries of 12 + 2 * 17 bytes as fit.
    const QByteArray entry = Entry(kNobody, u"desk.x.2147483632"_s);
    const int count = static_cast<int>((kRegistrySize - 4) / entry.size());
    registry.SetBytes(Number32(static_cast<quint32>(count)) + entry.repeated(count));
    const ToolResult list = Run(u"list"_s, {kGrid});
    QCOMPARE(list.ExitCode, 0);
    QCOMPARE(list.Output.count('\n'), count + 1);
    QVERIFY(Run(u"show"_s, {kGrid})
                .Output.startsWith(QByteArray("grid desk: 0 alive, ") + QByteArray::number(count) + " dead; "
                                   + QByteArray::number(4 + count * entry.size()) + " of 8192 bytes used\n"));
}

void tst_ToolGrid::OddNames_data()
{
    QTest::addColumn<QString>("grid");
    QTest::addColumn<bool>("listens");

    QTest::newRow("dots") << u"a.b.c"_s << true;
    QTest::newRow("blank") << u"my grid"_s << true;
    QTest::newRow("wildcards") << u"a[b]*?"_s << true;
    QTest::newRow("beyond ASCII") << u"größe語"_s << true;
    QTest::newRow("begins like an option") << u"-v"_s << true;
    QTest::newRow("begins like a list") << u"[a,b]"_s << true;
    QTest::newRow("longer than a socket's path") << QString(150, u'x') << false;
}

void tst_ToolGrid::OddNames()
{
    QFETCH(const QString, grid);
    QFETCH(const bool, listens);

    Peer peer({u"grid"_s, grid});
    QVERIFY(!peer.WaitForLine(u"joined"_s).isEmpty());
    const QStringList arguments = {u"--"_s, grid};
    const auto state = [&] {
        const ToolResult result = mTool->Run(QStringList{u"grid"_s, u"list"_s, u"--json"_s} + arguments);
        const QJsonObject member = QJsonDocument::fromJson(result.Output).array().at(0).toObject();
        return member.value("serverName"_L1).toString()
            + (member.value("listening"_L1).toBool() ? u"+"_s : u"-"_s);
    };
    // The peer starts to listen some time after it has joined.
    EVENTUALLY_EQUAL(state(), ServerName(peer, grid) + (listens ? u"+"_s : u"-"_s));
    peer.Kill();
    QCOMPARE(mTool->Run(QStringList{u"grid"_s, u"clean"_s} + arguments).ExitCode, 0);
    QCOMPARE(Files(), QStringList());
}

// --- failures

void tst_ToolGrid::Locked()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    const int lock = Platform::LockFile(GridLockFilePath(kGrid));
    QVERIFY(lock != -1);
    const ToolResult show = Run(u"show"_s, {kGrid});
    const ToolResult clean = Run(u"clean"_s, {kGrid});
    Platform::UnlockFile(lock);
    QCOMPARE(show.ExitCode, 1);
    QVERIFY(show.Output.startsWith("grid desk: 1 alive, 0 dead;"));
    QVERIFY(show.Output.contains(
        "\nproblems:\n  a process keeps the registry locked: nobody can join or leave\n"));
    QCOMPARE(clean.ToText(),
             u"! qvutil: %1: another process keeps it locked\n=> 2\n"_s.arg(GridLockFilePath(kGrid)));
    EVENTUALLY_EQUAL(Run(u"show"_s, {kGrid}).ExitCode, 0);
}

void tst_ToolGrid::OtherUser()
{
    if (::geteuid() != 0)
        QSKIP("needs root to inspect root's grid as another user");
    QFile::setPermissions(mTemporary->path(), QFile::Permissions(0x7777));
    QFile::setPermissions(mTool->Path(u"."_s), QFile::Permissions(0x7777));
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    const QString refusal = u"! qvutil: grid desk: belongs to another user\n=> 2\n"_s;
    for (const QString& command : {u"list"_s, u"show"_s, u"watch"_s, u"clean"_s})
        QCOMPARE(mTool->RunUnprivileged({u"grid"_s, command, kGrid}).ToText(), refusal);
}

// --- watch

void tst_ToolGrid::Watch_events()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Watch watch({});
    const auto event = [this](const QString& what, const Peer& peer) {
        return u"%1 %2 %3"_s.arg(what).arg(peer.Id()).arg(ServerName(peer));
    };
    QCOMPARE(watch.Event(), event(u"member"_s, first));
    auto second = std::make_unique<Peer>(QStringList{u"grid"_s, kGrid});
    QCOMPARE(watch.Event(), event(u"joined"_s, *second));
    Peer third({u"grid"_s, kGrid});
    QCOMPARE(watch.Event(), event(u"joined"_s, third));
    const QString left = event(u"left"_s, *second);
    second.reset();
    QCOMPARE(watch.Event(), left);
    third.Kill();
    QCOMPARE(watch.Event(), event(u"died"_s, third));
    QCOMPARE(Run(u"clean"_s, {kGrid}).ExitCode, 0);
    QCOMPARE(watch.Event(), event(u"pruned"_s, third));
    first.EndInput();
    QCOMPARE(watch.Event(), event(u"left"_s, first));
    // The grid is gone, and can be created again.
    Peer fourth({u"grid"_s, kGrid});
    QCOMPARE(watch.Event(), event(u"joined"_s, fourth));
    watch.Interrupt(SIGINT);
    QCOMPARE(watch.Wait(), 0);
    QCOMPARE(watch.Rest(), QByteArray());
}

void tst_ToolGrid::Watch_json()
{
    Watch watch({u"--json"_s, u"--count"_s, u"2"_s});
    Peer peer({u"grid"_s, kGrid});
    QJsonObject joined = QJsonDocument::fromJson(watch.Line().toUtf8()).object();
    const QDateTime time = QDateTime::fromString(joined.take("time"_L1).toString(), Qt::ISODateWithMs);
    QVERIFY(time.isValid());
    QCOMPARE(time.timeSpec(), Qt::UTC);
    const QString event = joined.take("event"_L1).toString();
    QVERIFY(event == u"joined"_s || event == u"member"_s); // whichever was first
    QCOMPARE(joined, (QJsonObject{{u"processId"_s, peer.Id()}, {u"serverName"_s, ServerName(peer)}}));
    peer.Kill();
    QCOMPARE(QJsonDocument::fromJson(watch.Line().toUtf8()).object().value("event"_L1).toString(), u"died"_s);
    QCOMPARE(watch.Wait(), 0);
}

void tst_ToolGrid::Watch_deadFromTheBeginning()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    peer.Kill();
    Watch watch({u"--count"_s, u"2"_s});
    QCOMPARE(watch.Event(), u"member %1 %2"_s.arg(peer.Id()).arg(ServerName(peer)));
    QCOMPARE(watch.Event(), u"died %1 %2"_s.arg(peer.Id()).arg(ServerName(peer)));
    QCOMPARE(watch.Wait(), 0);
}

void tst_ToolGrid::Watch_signals_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void tst_ToolGrid::Watch_signals()
{
    QFETCH(const int, signal);

    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    Watch watch({});
    QVERIFY(watch.Line().contains(u"member"_s));
    watch.Interrupt(signal);
    QCOMPARE(watch.Wait(), 0);
}

// A watcher that stayed attached to the segment would keep the last member from destroying it.
void tst_ToolGrid::Watch_lastMemberLeavesNothing()
{
    for (int round = 0; round < 10; ++round) {
        Watch watch({});
        {
            Peer peer({u"grid"_s, kGrid});
            QVERIFY(watch.Line().contains(u"MessagePeer"_s));
        }
        QVERIFY(watch.Line().contains(u"left"_s));
        QCOMPARE(Files(), QStringList());
    }
}

void tst_ToolGrid::Watch_terminal()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    TerminalTool watch(*mTool, {u"grid"_s, u"watch"_s, kGrid, u"--interval"_s, u"20"_s});
    const QByteArray modes = watch.Modes();
    QVERIFY(watch.WaitForLine(u"grid desk: 1 alive, 0 dead"_s));
    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second, u"linked"_s));
    QVERIFY(watch.WaitForLine(u"grid desk: 2 alive, 0 dead"_s));
    second.Kill();
    QVERIFY(watch.WaitForLine(u"  died    %1  "_s.arg(second.Id())));
    // The first process may notice the end of the second later than the tool.
    EVENTUALLY_EQUAL(watch.Screen().value(2).simplified(),
                     u"%1 alive - - %2"_s.arg(QString::number(first.Id()), ServerName(first)));
    // One table, drawn in place, with the events below it.
    const QStringList screen = watch.Screen();
    QCOMPARE(screen.value(0), u"grid desk: 1 alive, 1 dead"_s);
    QCOMPARE(screen.value(1).simplified(), u"process state connected to client server"_s);
    QVERIFY(screen.value(2).simplified().startsWith(u"%1 alive "_s.arg(first.Id())));
    QVERIFY(screen.value(3).simplified().startsWith(u"%1 dead "_s.arg(second.Id())));
    QCOMPARE(screen.value(4), QString());
    QCOMPARE(screen.value(5).mid(14), u"member  %1  %2"_s.arg(first.Id()).arg(ServerName(first)));
    QCOMPARE(screen.value(6).mid(14), u"joined  %1  %2"_s.arg(second.Id()).arg(ServerName(second)));
    QCOMPARE(screen.size(), 8);

    watch.Type("\x03");
    QCOMPARE(watch.WaitForEnd(), 0);
    QCOMPARE(watch.Screen(), screen); // without ^C
    QCOMPARE(watch.Modes(), modes);
    QVERIFY(watch.Output().endsWith("\r\x1b[K"));
    QCOMPARE(watch.Output().count("\x1b[?7l"), watch.Output().count("\x1b[?7h"));
}

void tst_ToolGrid::Watch_narrowTerminal()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    TerminalTool watch(*mTool, {u"grid"_s, u"watch"_s, kGrid, u"--count"_s, u"1"_s}, 20);
    QCOMPARE(watch.WaitForEnd(), 0);
    const QStringList screen = watch.Screen();
    QCOMPARE(screen.size(), 5);
    for (const QString& line : screen)
        QVERIFY2(line.size() <= 20, qPrintable(line));
}

// --- clean

void tst_ToolGrid::Clean_nothing()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    Registry registry(kGrid);
    QVERIFY(registry.Attach());
    const QByteArray bytes = registry.Bytes();
    const QStringList files = Files();
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(), u"nothing to remove\n=> 0\n"_s);
    QCOMPARE(Run(u"clean"_s, {kGrid, u"--dry-run"_s}).ToText(), u"nothing to remove\n=> 0\n"_s);
    QCOMPARE(registry.Bytes(), bytes);
    QCOMPARE(Files(), files);
}

// A stale semaphore counts towards the system's limit for ever.
void tst_ToolGrid::Clean_semaphore()
{
    const auto semaphores = [this] {
        return QDir(mTemporary->path())
            .entryList({u"qipc_systemsem_*"_s}, QDir::AllEntries | QDir::System | QDir::Hidden)
            .size();
    };
    Peer first({u"grid"_s, kGrid});
    QVERIFY(IsIn(first));
    Peer second({u"grid"_s, kGrid});
    QVERIFY(IsIn(second, u"linked"_s));
    first.Kill();
    QVERIFY(Run(u"clean"_s, {kGrid}).ExitCode == 0);
    QCOMPARE(semaphores(), 1); // the semaphore is in use
    second.Kill();
    QVERIFY(Run(u"clean"_s, {kGrid}).ExitCode == 0);
    QCOMPARE(semaphores(), 0);
}

// The key of a semaphore contains only a part of its file's inode number, so two grids can have the same key.
// A hard link has the same inode number.
void tst_ToolGrid::Clean_semaphoreOfOtherGrid()
{
    const QString other = u"other"_s;
    Peer peer({u"grid"_s, other});
    QVERIFY(IsIn(peer, u"joined"_s, other));
    const int semaphore = FindSemaphore(other);
    QVERIFY(semaphore != -1);
    const QString keyFile = NativeSemaphoreKey(kGrid);
    QCOMPARE(::link(QFile::encodeName(NativeSemaphoreKey(other)).constData(),
                    QFile::encodeName(keyFile).constData()),
             0);
    QVERIFY(LeaveSocket(Temporary(u"desk.x.2147483632"_s)));
    QCOMPARE(Run(u"clean"_s, {kGrid}).ExitCode, 0);
    QCOMPARE(QFile::exists(keyFile), false);
    QCOMPARE(FindSemaphore(other), semaphore);
}

// A program that does not use the library, and hangs.
void tst_ToolGrid::Clean_memoryLocked()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    Peer holder({u"hold-memory"_s, kGrid});
    QVERIFY(!holder.WaitForLine(u"holds"_s).isEmpty());
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(),
             u"! qvutil: grid desk: process %1 keeps its shared memory locked\n=> 2\n"_s.arg(holder.Id()));
    QVERIFY(holder.End());
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(), u"nothing to remove\n=> 0\n"_s);
}

void tst_ToolGrid::Clean_lockLeftByKilledProcess_data()
{
    QTest::addColumn<int>("killed");

    QTest::newRow("creator") << int(KilledProcess::Creator);
    QTest::newRow("holder") << int(KilledProcess::Holder);
}

void tst_ToolGrid::Clean_lockLeftByKilledProcess()
{
    QFETCH(const int, killed);

    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    peer.Kill();
    QVERIFY(LeaveSemaphoreTaken(kGrid, static_cast<KilledProcess>(killed)));
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(),
             u"removed the entry of process %1, %2\nremoved the registry, which has no living member\n"
             "removed the socket %3/%2\nremoved the lock file %4\n=> 0\n"_s.arg(peer.Id())
                 .arg(ServerName(peer), mTemporary->path(), GridLockFilePath(kGrid)));
    QCOMPARE(FindSemaphore(kGrid), -1);
    QCOMPARE(Files(), QStringList());
}

void tst_ToolGrid::Clean_deadAmongLiving()
{
    std::vector<std::unique_ptr<Peer>> peers;
    for (int i = 0; i < 4; ++i) {
        peers.push_back(std::make_unique<Peer>(QStringList{u"grid"_s, kGrid}));
        QVERIFY(IsIn(*peers.back(), i == 0 ? u"joined"_s : u"linked"_s));
    }
    peers.at(0)->Kill();
    peers.at(2)->Kill();
    const QString removed = u"%1 the entry of process %2, %3\n%1 the entry of process %4, %5\n"
                            "%1 the socket %6/%7\n%1 the socket %6/%8\n=> 0\n"_s;
    QStringList sockets = {ServerName(*peers.at(0)), ServerName(*peers.at(2))};
    sockets.sort();
    const auto expected = [&](const QString& verb) {
        return removed.arg(verb)
            .arg(peers.at(0)->Id())
            .arg(ServerName(*peers.at(0)))
            .arg(peers.at(2)->Id())
            .arg(ServerName(*peers.at(2)), mTemporary->path(), sockets.at(0), sockets.at(1));
    };
    QCOMPARE(Run(u"clean"_s, {kGrid, u"--dry-run"_s}).ToText(), expected(u"would remove"_s));
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(), expected(u"removed"_s));
    Registry registry(kGrid);
    QVERIFY(registry.Attach());
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             Image(Number32(2) + Entry(peers.at(1)->Id(), ServerName(*peers.at(1)))
                   + Entry(peers.at(3)->Id(), ServerName(*peers.at(3)))));
    QCOMPARE(QFile::exists(Temporary(sockets.at(0))), false);
    QCOMPARE(QFile::exists(Temporary(sockets.at(1))), false);
    QCOMPARE(QFile::exists(Temporary(ServerName(*peers.at(1)))), true);
    QCOMPARE(QFile::exists(Temporary(ServerName(*peers.at(3)))), true);
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(), u"nothing to remove\n=> 0\n"_s);
    // The members continue undisturbed.
    Peer newcomer({u"grid"_s, kGrid});
    QCOMPARE(newcomer.WaitForLine(u"linked"_s), u"linked "_s + ServerName(*peers.at(1)));
}

void tst_ToolGrid::Clean_damagedAmongLiving()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    Registry registry(kGrid);
    QVERIFY(registry.Attach());
    const QByteArray good = registry.Bytes().first(kRegistrySize);
    const QByteArray damaged = Image(Number32(3) + Entry(peer.Id(), ServerName(peer)));
    registry.SetBytes(damaged);
    const QString text = u" the damaged registry, which keeps the members that can be read\n=> 0\n"_s;
    QCOMPARE(Run(u"clean"_s, {kGrid, u"--dry-run"_s}).ToText(), u"would repair"_s + text);
    const ToolResult json = Run(u"clean"_s, {kGrid, u"--dry-run"_s, u"--json"_s});
    QCOMPARE(QJsonDocument::fromJson(json.Output).object().value("repaired"_L1), QJsonValue(true));
    QCOMPARE(registry.Bytes().first(kRegistrySize), damaged);
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(), u"repaired"_s + text);
    QCOMPARE(registry.Bytes().first(kRegistrySize), good);
    QCOMPARE(Run(u"clean"_s, {kGrid, u"--dry-run"_s}).ToText(), u"nothing to remove\n=> 0\n"_s);
}

void tst_ToolGrid::Clean_whatOnlyLooksStale()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    // In turn: the socket of another grid, the socket of a live process, a file that is not a socket, four
    // sockets whose names are not those of members, and the socket of a server that listens although no
    // process has the id in its name.
    QVERIFY(LeaveSocket(Temporary(u"desk.two.x.2147483632"_s)));
    QVERIFY(LeaveSocket(Temporary(u"desk.x.%1"_s.arg(QCoreApplication::applicationPid()))));
    QVERIFY(TestSupport::WriteFile(Temporary(u"desk.y.2147483632"_s), "x"));
    QVERIFY(LeaveSocket(Temporary(u"desk.x"_s)));
    QVERIFY(LeaveSocket(Temporary(u"desk.x.y"_s)));
    QVERIFY(LeaveSocket(Temporary(u"desk.x.-5"_s)));
    QVERIFY(LeaveSocket(Temporary(u"desk"_s)));
    const RawServer server(u"desk.z.2147483632"_s);
    QVERIFY(server.IsListening());
    const QStringList files = Files();
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(), u"nothing to remove\n=> 0\n"_s);
    QCOMPARE(Files(), files);
    QLocalSocket client;
    QVERIFY(Connect(client, u"desk.z.2147483632"_s));
}

// Files remain but the segment is gone, as after a reboot.
void tst_ToolGrid::Clean_withoutRegistry()
{
    QVERIFY(LeaveSocket(Temporary(u"desk.x.2147483632"_s)));
    QVERIFY(TestSupport::WriteFile(GridLockFilePath(kGrid), {}));
    QCOMPARE(Run(u"list"_s, {kGrid}).ToText(),
             u"! qvutil: grid desk: there is no such grid in %1, but one has left stale files behind: see "
             "qvutil grid show\n=> 1\n"_s.arg(mTemporary->path()));
    const QString files = u"the socket %1/desk.x.2147483632\n%3the lock file %2\n"_s.arg(
        mTemporary->path(), GridLockFilePath(kGrid));
    QCOMPARE(Text(Run(u"show"_s, {kGrid})),
             u"grid desk: no members\n\nleft behind by crashed processes; `qvutil grid clean` removes it:\n"_s
                 + files.arg(QString()) + u"=> 1\n"_s);
    QCOMPARE(Text(Run(u"list"_s)), u"grid alive dead leftovers\ndesk 0 0 2\n=> 0\n"_s);
    QCOMPARE(Run(u"clean"_s, {kGrid}).ToText(), u"removed "_s + files.arg(u"removed "_s) + u"=> 0\n"_s);
    QCOMPARE(Files(), QStringList());
    QCOMPARE(Run(u"show"_s, {kGrid}).ExitCode, 1);
}

void tst_ToolGrid::Clean_json()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(IsIn(peer));
    peer.Kill();
    const ToolResult result = Run(u"clean"_s, {kGrid, u"--json"_s});
    QCOMPARE(result.ExitCode, 0);
    const QJsonObject expected{
        {u"grid"_s, kGrid},
        {u"dryRun"_s, false},
        {u"repaired"_s, false},
        {u"kept"_s, QJsonArray()},
        {u"removed"_s,
         QJsonArray{QJsonObject{{u"kind"_s, u"entry"_s},
                                {u"processId"_s, peer.Id()},
                                {u"serverName"_s, ServerName(peer)}},
                    QJsonObject{{u"kind"_s, u"registry"_s}},
                    QJsonObject{{u"kind"_s, u"socket"_s},
                                {u"processId"_s, peer.Id()},
                                {u"path"_s, Temporary(ServerName(peer))}},
                    QJsonObject{{u"kind"_s, u"lockFile"_s}, {u"path"_s, GridLockFilePath(kGrid)}}}}};
    QCOMPARE(QJsonDocument::fromJson(result.Output).object(), expected);
    QCOMPARE(Files(), QStringList());
    Registry registry(kGrid);
    QVERIFY(!registry.Attach());
}

void tst_ToolGrid::Clean_notAllowed()
{
    QFile::setPermissions(mTemporary->path(), QFile::Permissions(0x7777));
    QFile::setPermissions(mTool->Path(u"."_s), QFile::Permissions(0x7777));
    {
        const TestSupport::UnprivilegedGuard guard;
        QVERIFY(TestSupport::WriteFile(GridLockFilePath(kGrid), {}));
        QVERIFY(LeaveSocket(Temporary(u"desk.x.2147483632"_s)));
    }
    const auto clean = [this] { return mTool->RunUnprivileged({u"grid"_s, u"clean"_s, kGrid}).ToText(); };
    QFile::setPermissions(mTemporary->path(), QFile::Permissions(0x5555));
    const QString result = clean();
    QFile::setPermissions(mTemporary->path(), QFile::Permissions(0x7777));
    QCOMPARE(result,
             u"nothing to remove\n! qvutil: %1/desk.x.2147483632: cannot be removed\n"
             "! qvutil: %2: cannot be removed\n=> 2\n"_s.arg(mTemporary->path(), GridLockFilePath(kGrid)));
    QVERIFY(QFile::exists(Temporary(u"desk.x.2147483632"_s)));
    // A lock file that cannot be opened.
    QFile::setPermissions(GridLockFilePath(kGrid), {});
    QCOMPARE(clean(),
             u"! qvutil: %1: it cannot be opened, or is not a regular file of this user\n=> 2\n"_s.arg(
                 GridLockFilePath(kGrid)));
}

void tst_ToolGrid::Clean_whileMembersComeAndGo()
{
    Peer observer({u"grid"_s, kGrid});
    QVERIFY(IsIn(observer));
    Registry registry(kGrid);
    QVERIFY(registry.Attach());
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<Peer>> peers;
        for (int i = 0; i < 6; ++i)
            peers.push_back(std::make_unique<Peer>(QStringList{u"grid"_s, kGrid}));
        QList<qint64> killed;
        for (size_t i = 0; i < peers.size(); ++i) {
            QCOMPARE(Run(u"clean"_s, {kGrid}).ExitCode, 0);
            QVERIFY(!peers.at(i)->WaitForLine(u"joined"_s).isEmpty());
            if (i % 2 == 0) {
                killed.append(peers.at(i)->Id());
                peers.at(i)->Kill();
            }
        }
        QCOMPARE(Run(u"clean"_s, {kGrid}).ExitCode, 0);
        QList<qint64> expected = {observer.Id()};
        for (const auto& peer : peers)
            expected.append(peer->Id());
        expected.removeIf([&](qint64 id) { return killed.contains(id); });
        QList<qint64> ids;
        for (const ProcessInfo& process : ParseRegistry(registry.Bytes()))
            ids.append(process.ProcessId);
        std::sort(ids.begin() + 1, ids.end());
        std::sort(expected.begin() + 1, expected.end());
        QCOMPARE(ids, expected);
        peers.clear();
        QCOMPARE(ParseRegistry(registry.Bytes()).size(), 1);
    }
}

void tst_ToolGrid::Arguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");

    QTest::newRow("command missing") << QStringList{} << QString();
    QTest::newRow("unknown command") << QStringList{
        u"join"_s,
        u"desk"_s} << u"qvutil: there is no command or option 'join'\nTry 'qvutil grid --help'.\n"_s;
    QTest::newRow("show without a name")
        << QStringList{u"show"_s} << u"qvutil: GRID is required\nTry 'qvutil grid show --help'.\n"_s;
    QTest::newRow("watch without a name")
        << QStringList{u"watch"_s} << u"qvutil: GRID is required\nTry 'qvutil grid watch --help'.\n"_s;
    QTest::newRow("clean without a name")
        << QStringList{u"clean"_s} << u"qvutil: GRID is required\nTry 'qvutil grid clean --help'.\n"_s;
    QTest::newRow("empty name") << QStringList{
        u"show"_s, QString()} << u"qvutil: the name of the grid is empty\nTry 'qvutil grid show --help'.\n"_s;
    QTest::newRow("empty name in list")
        << QStringList{u"list"_s, QString()}
        << u"qvutil: the name of the grid is empty\nTry 'qvutil grid list --help'.\n"_s;
    QTest::newRow("two names") << QStringList{u"list"_s, u"a"_s, u"b"_s}
                               << u"qvutil: unexpected argument 'b'\nTry 'qvutil grid list --help'.\n"_s;
    QTest::newRow("count 0") << QStringList{u"watch"_s, u"desk"_s, u"--count"_s, u"0"_s} << QString();
    QTest::newRow("count that is not a number")
        << QStringList{u"watch"_s, u"desk"_s, u"--count"_s, u"x"_s} << QString();
    QTest::newRow("interval 0") << QStringList{u"watch"_s, u"desk"_s, u"--interval"_s, u"0"_s} << QString();
    QTest::newRow("dry run of another command")
        << QStringList{u"show"_s, u"desk"_s, u"--dry-run"_s} << QString();
}

void tst_ToolGrid::Arguments()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, error);

    const ToolResult result = mTool->Run(QStringList{u"grid"_s} + arguments);
    QCOMPARE(result.ExitCode, 2);
    QCOMPARE(result.Output, QByteArray());
    if (!error.isEmpty())
        QCOMPARE(QString::fromUtf8(result.Errors), error);
    QVERIFY(!result.Errors.isEmpty());
}

QTEST_GUILESS_MAIN(tst_ToolGrid)

#include "tst_ToolGrid.moc"
