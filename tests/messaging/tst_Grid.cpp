// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"
#include "IPCManager.h"
#include "support/GridSupport.h"
#include "support/MessagingSupport.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSharedMemory>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <vector>

#include <cstdio>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;
using namespace GridSupport;
using namespace MessagingSupport;

namespace {

constexpr QIODeviceBase::OpenMode kReadWrite = QIODeviceBase::ReadWrite;

QList<qint64> ProcessIds(const QList<ProcessInfo>& processes)
{
    QList<qint64> ids;
    for (const ProcessInfo& process : processes)
        ids.append(process.ProcessId);
    return ids;
}

QString OwnServerName(const QString& grid)
{
    return u"%1.tst_Grid.%2"_s.arg(grid).arg(QCoreApplication::applicationPid());
}

} // namespace

class tst_Grid : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void FirstMember();
    void FirstMember_rawBytes();
    void FirstMember_programName();
    void SecondMember();
    void SecondMember_modes_data();
    void SecondMember_modes();
    void JoinTwice();
    void JoinOtherGrid();
    void Leave();
    void Leave_removesFirstOwnEntry();
    void Leave_withoutOwnEntry();
    void Destructor_leaves();
    void OwnEntryFromEarlier();
    void DeadMembersPruned();
    void OldestLiveMember();
    void UnusableGridName();

    void Read_damaged_data();
    void Read_damaged();
    void Read_largerSegment();
    void SmallerSegment();
    void Write_rawBytes();
    void Write_fits_data();
    void Write_fits();
    void Write_tooLargeWhenJoining();
    void SharedMemory_createAndAttach();
    void Locking_nested();
    void Locking_otherProgram();
    void LockFile_keepsOthersOut();
    void LockFile_heldTooLong();
    void LockFile_changesHands();
    void LockFile_changesHandsTooLong();
    void LockFile_heldWhileLeaving();
    void Locks_heldWhileJoining_data();
    void Locks_heldWhileJoining();
    void Locks_heldWhileReading();
    void Locks_heldWhileRejoining();
    void Locks_heldWhileLeaving_data();
    void Locks_heldWhileLeaving();
    void MemoryLock_leftByKilledProcess_data();
    void MemoryLock_leftByKilledProcess();
    void LockFile_unusable_data();
    void LockFile_unusable();
    void LockFile_removedWithLastMember();

    void Messages_oneHop();
    void ManyProcesses();
    void ManyProcessesAtOnce();
};

void tst_Grid::FirstMember()
{
    const QString grid = UniqueName();
    IPCManager manager;
    QCOMPARE(manager.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(manager.IsServerRunning(), true);
    QCOMPARE(manager.DisconnectFromServer(QString()), false); // there is no client
    const QList<ProcessInfo> processes = manager.ReadFromSharedMemory();
    QCOMPARE(processes.size(), 1);
    QCOMPARE(processes.at(0).ProcessId, QCoreApplication::applicationPid());
    QCOMPARE(processes.at(0).ServerName, OwnServerName(grid));
    QLocalSocket client;
    QVERIFY(Connect(client, OwnServerName(grid)));
}

void tst_Grid::FirstMember_rawBytes()
{
    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    Registry registry(grid);
    QVERIFY(registry.Attach());
    QVERIFY(registry.Size() >= kRegistrySize); // some systems round it up to whole pages
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             Image(Number32(1) + Entry(QCoreApplication::applicationPid(), OwnServerName(grid))));
}

void tst_Grid::FirstMember_programName()
{
    // The base name is the file name without any of its suffixes.
    const QTemporaryDir dir;
    const QString program = dir.filePath(u"viewer.one.bin"_s);
    QVERIFY(QFile::copy(QString::fromLatin1(MESSAGE_PEER), program));
    const QString grid = UniqueName();
    Peer peer({u"grid"_s, grid}, program);
    QVERIFY(!peer.WaitForLine(u"joined"_s).isEmpty());
    Registry registry(grid);
    QVERIFY(registry.Attach());
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             Image(Number32(1) + Entry(peer.Id(), u"%1.viewer.%2"_s.arg(grid).arg(peer.Id()))));
}

void tst_Grid::SecondMember()
{
    const QString grid = UniqueName();
    Peer first({u"grid"_s, grid});
    QVERIFY(!first.WaitForLine(u"joined"_s).isEmpty());
    IPCManager manager;
    QSignalSpy connected(&manager, &IPCManager::ConnectedToServer);
    manager.CreateGridConnection(grid, kReadWrite);
    QVERIFY(manager.WaitForConnectionToServer(QString(), 60000));
    EVENTUALLY_EQUAL(connected.count(), 1);
    QCOMPARE(connected.at(0).at(0).toString(), u"%1.MessagePeer.%2"_s.arg(grid).arg(first.Id()));
    QCOMPARE(ProcessIds(manager.ReadFromSharedMemory()),
             (QList<qint64>{first.Id(), QCoreApplication::applicationPid()}));
}

void tst_Grid::SecondMember_modes_data()
{
    AddModes();
}

void tst_Grid::SecondMember_modes()
{
    QFETCH(const int, mode);
    QFETCH(const bool, reads);
    QFETCH(const bool, writes);

    const QString grid = UniqueName();
    Peer first({u"grid"_s, grid});
    QVERIFY(!first.WaitForLine(u"joined"_s).isEmpty());
    IPCManager manager;
    QSignalSpy connected(&manager, &IPCManager::ConnectedToServer);
    QSignalSpy received(&manager, &IPCManager::MessageReceived);
    manager.CreateGridConnection(grid, static_cast<QIODeviceBase::OpenMode>(mode));
    EVENTUALLY_EQUAL(connected.count(), 1);
    // The server sends messages and answers in the order in which they were queued.
    QLocalSocket client;
    QVERIFY(Connect(client, OwnServerName(grid)));
    EVENTUALLY(manager.IsConnectedToAnyClient());
    Write(client, Document(u"m"_s));
    manager.SendMessage(u"to both"_s, {});
    Write(client, Document(u"ask"_s, {}, QUuid::createUuid()));
    const QList<MessageInfo> messages = ReadMessages(client, writes ? 2 : 1);
    QCOMPARE(messages.size(), writes ? 2 : 1);
    QCOMPARE(messages.constLast().Id, u"Response"_s);
    QCOMPARE(received.count(), reads ? 1 : 0);
    // A request is written, and its answer read, only if the mode allows both.
    QVariantMap answer;
    const bool both = reads && writes;
    QCOMPARE(manager.SendMessageAndGetResponse(QString(), u"who"_s, {}, answer, both ? 60000 : 100), both);
    QCOMPARE(answer.contains(u"pid"_s), both);
}

void tst_Grid::JoinTwice()
{
    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    QCOMPARE(manager.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(manager.CreateGridConnection(UniqueName(), kReadWrite), true);
    QCOMPARE(manager.ReadFromSharedMemory().size(), 1);
    QCOMPARE(manager.ReadFromSharedMemory().at(0).ServerName, OwnServerName(grid));
}

void tst_Grid::JoinOtherGrid()
{
    const QString first = UniqueName();
    const QString second = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(first, kReadWrite);
    manager.DeleteAllConnections();
    QCOMPARE(manager.CreateGridConnection(second, kReadWrite), true);
    QCOMPARE(manager.ReadFromSharedMemory().at(0).ServerName, OwnServerName(second));
    QVERIFY(!Registry(first).Attach()); // the first grid has no members left
    QLocalSocket client;
    QVERIFY(Connect(client, OwnServerName(second)));
}

void tst_Grid::Leave()
{
    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    Registry registry(grid);
    QVERIFY(registry.Attach());
    QCOMPARE(manager.DeleteAllConnections(), true);
    QCOMPARE(manager.IsServerRunning(), false);
    QCOMPARE(registry.Bytes().first(kRegistrySize), QByteArray(kRegistrySize, '\0'));
    // A second call changes nothing, not even an entry that another program has added.
    const QByteArray other = Image(Number32(1) + Entry(QCoreApplication::applicationPid(), u"other"_s));
    registry.SetBytes(other);
    QCOMPARE(manager.DeleteAllConnections(), true);
    QCOMPARE(registry.Bytes().first(kRegistrySize), other);
    // The grid can be joined again.
    manager.CreateGridConnection(grid, kReadWrite);
    QCOMPARE(manager.ReadFromSharedMemory().size(), 2);
}

void tst_Grid::Leave_removesFirstOwnEntry()
{
    const QString grid = UniqueName();
    const qint64 own = QCoreApplication::applicationPid();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    Registry registry(grid);
    QVERIFY(registry.Attach());
    QVERIFY(manager.WriteToSharedMemory({{1, u"a"_s}, {own, u"b"_s}, {own, u"c"_s}}));
    manager.DeleteAllConnections();
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             Image(Number32(2) + Entry(1, u"a"_s) + Entry(own, u"c"_s)));
}

void tst_Grid::Leave_withoutOwnEntry()
{
    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    Registry registry(grid);
    QVERIFY(registry.Attach());
    const QByteArray other = Number32(1) + Entry(1, u"a"_s);
    registry.SetBytes(other + "rest");
    manager.DeleteAllConnections();
    QCOMPARE(registry.Bytes().first(kRegistrySize), Image(other)); // rewritten even without a change
}

void tst_Grid::Destructor_leaves()
{
    const QString grid = UniqueName();
    Registry registry(grid);
    {
        IPCManager manager;
        manager.CreateGridConnection(grid, kReadWrite);
        QVERIFY(registry.Attach());
    }
    QCOMPARE(registry.Bytes().first(kRegistrySize), QByteArray(kRegistrySize, '\0'));
}

void tst_Grid::OwnEntryFromEarlier()
{
    const QString grid = UniqueName();
    const qint64 own = QCoreApplication::applicationPid();
    Registry registry(grid);
    QVERIFY(registry.Create());
    registry.SetBytes(Number32(1) + Entry(own, u"left over"_s));
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    QCOMPARE(manager.DisconnectFromServer(QString()), false); // a member does not connect to itself
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             Image(Number32(2) + Entry(own, u"left over"_s) + Entry(own, OwnServerName(grid))));
}

void tst_Grid::DeadMembersPruned()
{
    const QString grid = UniqueName();
    const qint64 own = QCoreApplication::applicationPid();
    Registry registry(grid);
    QVERIFY(registry.Create());
    registry.SetBytes(Number32(5) + Entry(kNobody, u"a"_s) + Entry(kNobody, u"b"_s) + Entry(1, u"init"_s)
                      + Entry(0, QString()) + Entry(-5, u"c"_s));
    QVERIFY(GeneralUtil::IsProcessRunning(1));
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             Image(Number32(2) + Entry(1, u"init"_s) + Entry(own, OwnServerName(grid))));
    QCOMPARE(manager.DisconnectFromServer(QString()), true); // there is a client, which tries to reach "init"
}

void tst_Grid::OldestLiveMember()
{
    const QString grid = UniqueName();
    auto first = std::make_unique<Peer>(QStringList{u"grid"_s, grid});
    QVERIFY(!first->WaitForLine(u"joined"_s).isEmpty());
    Peer second({u"grid"_s, grid});
    QVERIFY(!second.WaitForLine(u"linked"_s).isEmpty());
    Peer third({u"grid"_s, grid});
    QVERIFY(!third.WaitForLine(u"linked"_s).isEmpty());
    const qint64 dead = first->Id();
    first->Kill();
    IPCManager manager;
    QSignalSpy connected(&manager, &IPCManager::ConnectedToServer);
    manager.CreateGridConnection(grid, kReadWrite);
    EVENTUALLY_EQUAL(connected.count(), 1);
    QCOMPARE(connected.at(0).at(0).toString(), u"%1.MessagePeer.%2"_s.arg(grid).arg(second.Id()));
    const QList<qint64> ids = ProcessIds(manager.ReadFromSharedMemory());
    QCOMPARE(ids, (QList<qint64>{second.Id(), third.Id(), QCoreApplication::applicationPid()}));
    QVERIFY(!ids.contains(dead));
}

void tst_Grid::UnusableGridName()
{
    IPCManager manager;
    QCOMPARE(manager.CreateGridConnection(QString(), kReadWrite), true);
    QCOMPARE(manager.IsServerRunning(), true);
    QCOMPARE(manager.ReadFromSharedMemory().size(), 0);
    QLocalSocket client;
    QVERIFY(Connect(client, OwnServerName(QString())));
    QCOMPARE(manager.DeleteAllConnections(), true);
}

void tst_Grid::Read_damaged_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QList<qint64>>("expected");

    const QByteArray entry = Entry(7, u"name"_s);
    QTest::newRow("empty") << QByteArray() << QList<qint64>();
    QTest::newRow("count 0") << Number32(0) + entry << QList<qint64>();
    QTest::newRow("negative count") << Number32(0x80000000) + entry << QList<qint64>();
    QTest::newRow("count smaller than content") << Number32(1) + entry + entry << QList<qint64>{7};
    QTest::newRow("length beyond the end")
        << Number32(2) + entry + Entry(8, QString()).first(8) + Number32(0x7FFFFFF0) << QList<qint64>{7};
    QTest::newRow("odd length") << Number32(2) + entry + Entry(8, QString()).first(8) + Number32(3)
                                << QList<qint64>{7};
    QTest::newRow("null name") << Number32(1) + Entry(7, QString()) << QList<qint64>{7};
}

void tst_Grid::Read_damaged()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QList<qint64>, expected);

    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    Registry registry(grid);
    QVERIFY(registry.Attach());
    registry.SetBytes(bytes);
    QCOMPARE(ProcessIds(manager.ReadFromSharedMemory()), expected);

    // If the count exceeds the data, reading stops at the end of the data, which consists of zeros here.
    registry.SetBytes(Number32(0x7FFFFFFF) + Entry(7, u"name"_s));
    const QList<ProcessInfo> processes = manager.ReadFromSharedMemory();
    QVERIFY(processes.size() <= registry.Size() / 12);
    QCOMPARE(processes.at(0).ServerName, u"name"_s);
}

// Some systems round a segment up to whole pages. The registry is always its first 8,192 bytes.
void tst_Grid::Read_largerSegment()
{
    const QString grid = UniqueName();
    QSharedMemory memory(grid);
    QVERIFY(memory.create(2 * kRegistrySize));
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    const QByteArray entry = Entry(7, u"name"_s);
    const QByteArray content = Number32(1000000) + entry;
    std::memset(memory.data(), 0, 2 * kRegistrySize);
    std::memcpy(memory.data(), content.constData(), static_cast<size_t>(content.size()));
    QCOMPARE(manager.ReadFromSharedMemory().size(), 1 + (kRegistrySize - content.size()) / 12);
    QVERIFY(manager.WriteToSharedMemory({{7, u"x"_s}}));
    QCOMPARE(ProcessIds(manager.ReadFromSharedMemory()), QList<qint64>{7});
}

// A segment that another program created under the same name.
void tst_Grid::SmallerSegment()
{
    const QString grid = UniqueName();
    QSharedMemory memory(grid);
    QVERIFY(memory.create(100));
    if (memory.size() >= kRegistrySize)
        QSKIP("the system's pages are as large as the registry");
    std::memset(memory.data(), 'x', static_cast<size_t>(memory.size()));
    const QByteArray before(static_cast<const char*>(memory.constData()), memory.size());
    IPCManager manager;
    QCOMPARE(manager.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(manager.WriteToSharedMemory({}), false);
    QCOMPARE(manager.ReadFromSharedMemory().size(), 0);
    QCOMPARE(QByteArray(static_cast<const char*>(memory.constData()), memory.size()), before);
}

void tst_Grid::Write_rawBytes()
{
    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    Registry registry(grid);
    QVERIFY(registry.Attach());
    registry.SetBytes(QByteArray(kRegistrySize, 'x'));
    QVERIFY(
        manager.WriteToSharedMemory({{-2, u"Größe"_s}, {Q_INT64_C(0x123456789AB), QString()}, {0, u""_s}}));
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             Image(Number32(3) + Entry(-2, u"Größe"_s) + Entry(Q_INT64_C(0x123456789AB), QString())
                   + Entry(0, u""_s)));
    QVERIFY(manager.WriteToSharedMemory({}));
    QCOMPARE(registry.Bytes().first(kRegistrySize), QByteArray(kRegistrySize, '\0'));
}

void tst_Grid::Write_fits_data()
{
    QTest::addColumn<int>("nameSize");
    QTest::addColumn<bool>("expected");

    const int largest = (kRegistrySize - 4 - 8 - 4) / 2;
    QTest::newRow("fits exactly") << largest << true;
    QTest::newRow("one byte too long") << largest + 1 << false;
}

void tst_Grid::Write_fits()
{
    QFETCH(const int, nameSize);
    QFETCH(const bool, expected);

    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    Registry registry(grid);
    QVERIFY(registry.Attach());
    const QByteArray before = registry.Bytes();
    const QString name(nameSize, u'x');
    QCOMPARE(manager.WriteToSharedMemory({{7, name}}), expected);
    QCOMPARE(registry.Bytes().first(kRegistrySize),
             expected ? Number32(1) + Entry(7, name) : before.first(kRegistrySize));
}

void tst_Grid::Write_tooLargeWhenJoining()
{
    const QString grid = UniqueName();
    Registry registry(grid);
    QVERIFY(registry.Create());
    const QByteArray full = Number32(1) + Entry(1, QString((kRegistrySize - 16) / 2, u'x'));
    registry.SetBytes(full);
    const TestSupport::LogGuard log;
    IPCManager manager;
    QCOMPARE(manager.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(registry.Bytes().first(kRegistrySize), full); // not registered, and the old content is kept
    QCOMPARE(TestSupport::LogGuard::Messages().filter(u"registered"_s),
             QStringList(u"grid \"%1\": this process could not be registered"_s.arg(grid)));
    manager.DisconnectFromServer(QString());
    QCOMPARE(manager.DeleteAllConnections(), true);
    QCOMPARE(registry.Bytes().first(kRegistrySize), full);
}

void tst_Grid::SharedMemory_createAndAttach()
{
    const QString grid = UniqueName();
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    QCOMPARE(manager.AttachToSharedMemory(), true);
    QCOMPARE(manager.CreateSharedMemory(), true);
    manager.DeleteAllConnections();
    // The segment stays attached, so the grid can still be read.
    QCOMPARE(manager.AttachToSharedMemory(), true);
    QVERIFY(manager.WriteToSharedMemory({{7, u"x"_s}}));
    QCOMPARE(ProcessIds(manager.ReadFromSharedMemory()), QList<qint64>{7});
}

void tst_Grid::Locking_nested()
{
    const QString grid = UniqueName();
    IPCManager manager;
    // Nested locking would make QSharedMemory warn, which would fail the test.
    manager.CreateGridConnection(grid, kReadWrite);
    QCOMPARE(manager.ReadFromSharedMemory().size(), 1);
    manager.DeleteAllConnections();
    // The segment is unlocked now: another program can lock it.
    QSharedMemory other(grid);
    QVERIFY(other.attach());
    QVERIFY(other.lock());
    QVERIFY(other.unlock());
}

// Another program, which takes only the segment's lock, changes the registry while members join and
// leave. No change is lost.
void tst_Grid::Locking_otherProgram()
{
    const QString grid = UniqueName();
    const qint64 own = QCoreApplication::applicationPid();
    Registry registry(grid);
    QVERIFY(registry.Create());
    QRandomGenerator random(3);
    int ownEntries = 0;
    const auto update = [&] {
        const bool append = ownEntries < 100 && random.bounded(2) == 0;
        const bool remove = !append && ownEntries > 0;
        ownEntries += append ? 1 : remove ? -1 : 0;
        return registry.Update([&](QList<ProcessInfo>& processes) {
            if (append)
                processes.append({own, u"x"_s});
            const auto last
                = std::find_if(processes.cbegin(), processes.cend(),
                               [own](const ProcessInfo& process) { return process.ProcessId == own; });
            if (remove && last != processes.cend())
                processes.erase(last);
        });
    };
    // Repeats the update until the registry contains this number of other entries.
    const auto updateUntil = [&](qsizetype others) {
        const QDeadlineTimer deadline(TestSupport::kEventTimeoutMs);
        for (;;) {
            const qsizetype all = update().size(); // changes ownEntries
            if (all == ownEntries + others || deadline.hasExpired())
                return;
        }
    };
    for (int round = 0; round < 5; ++round) {
        std::vector<std::unique_ptr<Peer>> peers;
        for (int i = 0; i < 4; ++i)
            peers.push_back(std::make_unique<Peer>(QStringList{u"grid"_s, grid}));
        updateUntil(4);
        QCOMPARE(registry.Update([](QList<ProcessInfo>&) {}).size(), ownEntries + 4);
        for (const auto& peer : peers)
            peer->EndInput();
        updateUntil(0);
        QCOMPARE(registry.Update([](QList<ProcessInfo>&) {}).size(), ownEntries);
    }
}

// Processes create, change and leave a registry only while they hold the lock on the library's lock file.
void tst_Grid::LockFile_keepsOthersOut()
{
    if (!QFile::exists(u"/proc/self/fd"_s))
        QSKIP("this system does not list the open files of a process");
    const QString grid = UniqueName();
    const QString path = GridLockFilePath(grid);
    const auto opened = [&path] {
        const QString real = QFileInfo(path).canonicalFilePath(); // as the system reports it
        const QFileInfoList files = QDir(u"/proc/self/fd"_s).entryInfoList(QDir::Files | QDir::System);
        return std::count_if(files.cbegin(), files.cend(),
                             [&real](const QFileInfo& file) { return file.symLinkTarget() == real; });
    };
    std::atomic<bool> unlocked = false;
    bool waited = false;
    const std::unique_ptr<QThread> member(QThread::create([&] {
        IPCManager manager;
        manager.CreateGridConnection(grid, kReadWrite);
        waited = unlocked;
    }));
    const int lock = Platform::LockFile(path);
    QVERIFY(lock >= 0);
    member->start();
    const bool came = WaitUntil([&] { return opened() == 2 || member->isFinished(); });
    unlocked = true;
    Platform::UnlockFile(lock);
    QVERIFY(member->wait(60000));
    QVERIFY(came);
    QVERIFY(waited);
}

// A member that is stopped while it holds the lock does not block the others for ever.
void tst_Grid::LockFile_heldTooLong()
{
    const TestSupport::LogGuard log;
    const QString grid = UniqueName();
    const QString path = GridLockFilePath(grid);
    IPCManager member;
    const int lock = Platform::LockFile(path);
    QVERIFY(lock >= 0);
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    QVERIFY(member.IsServerRunning());
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"keeps "_s));
    Platform::UnlockFile(lock);
    QVERIFY(!Registry(grid).Attach());

    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true); // registers the process after all
    QCOMPARE(ProcessIds(member.ReadFromSharedMemory()), QList<qint64>{QCoreApplication::applicationPid()});
}

// The time-out applies to each holder: while holders take turns, the wait may be longer.
void tst_Grid::LockFile_changesHands()
{
    const QString path = GridLockFilePath(UniqueName());
    std::atomic<int> turns = 0;
    std::atomic<bool> isOver = false;
    const int first = Platform::LockFile(path);
    QVERIFY(first >= 0);
    // For longer than the time-out, the holder acts like a series of holders that take the lock in turn.
    const std::unique_ptr<QThread> holder(QThread::create([&] {
        for (turns = 0; turns < 30 && !isOver; ++turns) {
            const timespec time = {.tv_sec = 1000, .tv_nsec = (turns + 1) * 1'000'000L};
            const timespec times[2] = {time, time};
            ::futimens(first, times);
            QThread::msleep(250);
        }
        Platform::UnlockFile(first);
    }));
    holder->start();
    const int second = Platform::LockFile(path, Platform::LockFileMode::OpenExisting, 5000);
    QCOMPARE(turns, 30);
    isOver = true;
    QVERIFY(holder->wait(TestSupport::kEventTimeoutMs));
    QVERIFY(second >= 0);
    Platform::UnlockFile(second);
}

// Even if holders take turns for ever, the wait ends.
void tst_Grid::LockFile_changesHandsTooLong()
{
    const QString path = GridLockFilePath(UniqueName());
    const auto remove = qScopeGuard([&path] { QFile::remove(path); });
    std::atomic<bool> isOver = false;
    const int first = Platform::LockFile(path);
    QVERIFY(first >= 0);
    const std::unique_ptr<QThread> holder(QThread::create([&] {
        const QDeadlineTimer deadline(TestSupport::kEventTimeoutMs);
        for (int turn = 0; !isOver && !deadline.hasExpired(); ++turn) {
            const timespec time = {.tv_sec = 1000 + turn, .tv_nsec = 0};
            const timespec times[2] = {time, time};
            ::futimens(first, times);
            QThread::msleep(1);
        }
        Platform::UnlockFile(first);
    }));
    holder->start();
    const int second
        = Platform::LockFile(path, Platform::LockFileMode::OpenExisting, 5000, QDeadlineTimer(6000));
    const bool hadHolder = !holder->isFinished();
    isOver = true;
    QVERIFY(holder->wait(TestSupport::kEventTimeoutMs));
    QVERIFY(hadHolder);
    QCOMPARE(second, Platform::kLockTimedOut);
}

void tst_Grid::LockFile_heldWhileLeaving()
{
    const TestSupport::LogGuard log;
    const QString grid = UniqueName();
    const QString path = GridLockFilePath(grid);
    auto member = std::make_unique<IPCManager>();
    member->CreateGridConnection(grid, kReadWrite);
    const int lock = Platform::LockFile(path);
    QVERIFY(lock >= 0);
    const std::optional<Platform::FileIdentity> file = Platform::GetFileIdentity(path);
    member.reset();
    QVERIFY(Platform::GetFileIdentity(path) == file); // a waiting process would not notice a new file
    Platform::UnlockFile(lock);
    // One line from CloseAll and one from LeaveRegistry: nothing else waited for the lock.
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 2);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"keeps "_s));
    QVERIFY(TestSupport::LogGuard::Messages().constLast().contains(u"stays attached"_s));
    QVERIFY(Registry(grid).Attach());

    std::make_unique<IPCManager>()->CreateGridConnection(grid, kReadWrite);
    QVERIFY(!Registry(grid).Attach()); // the segment has been detached after all
}

// A member that is stopped while it joins holds the lock on the file and the segment's lock. A program that
// does not use the library holds only the segment's lock, which has no time-out: QSharedMemory would wait for
// ever.
void tst_Grid::Locks_heldWhileJoining_data()
{
    QTest::addColumn<QString>("holds");
    QTest::addColumn<QString>("message");

    QTest::newRow("both locks") << u"hold"_s << u"another process keeps "_s;
    QTest::newRow("only the segment's lock")
        << u"hold-memory"_s << u"process PID keeps the shared memory locked; "_s;
}

void tst_Grid::Locks_heldWhileJoining()
{
    QFETCH(const QString, holds);
    QFETCH(QString, message);

    const TestSupport::LogGuard log;
    const QString grid = UniqueName();
    Peer holder({holds, grid});
    QVERIFY(!holder.WaitForLine(u"holds"_s).isEmpty());
    IPCManager member;
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(member.IsServerRunning(), true);
    QCOMPARE(member.ReadFromSharedMemory().size(), 0);
    QCOMPARE(member.WriteToSharedMemory({}), false);
    QCOMPARE(member.AttachToSharedMemory(), false);
    QCOMPARE(member.CreateSharedMemory(), false);
    const QStringList messages = TestSupport::LogGuard::Messages();
    QCOMPARE(messages.size(), 5);
    QCOMPARE(messages.filter(message.replace(u"PID"_s, QString::number(holder.Id()))).size(), 5);

    QVERIFY(holder.End());
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(ProcessIds(member.ReadFromSharedMemory()), QList<qint64>{QCoreApplication::applicationPid()});
}

// After a time-out, the next operations wait only for a short time. On a busy machine, one of them may take
// longer, but not all of them.
void tst_Grid::Locks_heldWhileReading()
{
    const TestSupport::LogGuard log;
    const QString grid = UniqueName();
    IPCManager member;
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    Peer holder({u"hold"_s, grid});
    QVERIFY(!holder.WaitForLine(u"holds"_s).isEmpty());
    QCOMPARE(member.ReadFromSharedMemory().size(), 0);
    qint64 fastest = std::numeric_limits<qint64>::max();
    for (int i = 0; i < 3; ++i) {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(member.ReadFromSharedMemory().size(), 0);
        fastest = std::min(fastest, timer.elapsed());
    }
    QVERIFY(fastest < Internal::kGridLockTimeoutMs);
    QCOMPARE(TestSupport::LogGuard::Messages().filter(u"keeps "_s).size(), 4);

    QVERIFY(holder.End());
    QCOMPARE(ProcessIds(member.ReadFromSharedMemory()), QList<qint64>{QCoreApplication::applicationPid()});
}

// A process that has left the grid is still attached to the segment. Joining again must not detach it first,
// because detaching would wait for the segment's lock.
void tst_Grid::Locks_heldWhileRejoining()
{
    const TestSupport::LogGuard log;
    const QString grid = UniqueName();
    IPCManager member;
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(member.DeleteAllConnections(), true);
    Peer holder({u"hold"_s, grid});
    QVERIFY(!holder.WaitForLine(u"holds"_s).isEmpty());
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(member.ReadFromSharedMemory().size(), 0);
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 2);

    QVERIFY(holder.End());
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(ProcessIds(member.ReadFromSharedMemory()), QList<qint64>{QCoreApplication::applicationPid()});
}

void tst_Grid::Locks_heldWhileLeaving_data()
{
    QTest::addColumn<QString>("holds");
    QTest::addColumn<bool>("hasOtherMember");

    QTest::newRow("both locks") << u"hold"_s << true;
    QTest::newRow("only the segment's lock") << u"hold-memory"_s << true;
    QTest::newRow("only the segment's lock, and no other member") << u"hold-memory"_s << false;
}

void tst_Grid::Locks_heldWhileLeaving()
{
    QFETCH(const QString, holds);
    QFETCH(const bool, hasOtherMember);

    const TestSupport::LogGuard log;
    const QString grid = UniqueName();
    auto member = std::make_unique<IPCManager>();
    QCOMPARE(member->CreateGridConnection(grid, kReadWrite), true);
    std::unique_ptr<Peer> other;
    if (hasOtherMember) {
        other = std::make_unique<Peer>(QStringList{u"grid"_s, grid});
        QVERIFY(!other->WaitForLine(u"linked"_s).isEmpty());
    }
    Peer holder({holds, grid});
    QVERIFY(!holder.WaitForLine(u"holds"_s).isEmpty());
    if (other)
        QVERIFY(other->End());
    member.reset();
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 2);
    QVERIFY(TestSupport::LogGuard::Messages().constLast().contains(u"stays attached"_s));

    QVERIFY(holder.End());
    QVERIFY(Registry(grid).Attach()); // this process is still attached
    std::make_unique<IPCManager>()->CreateGridConnection(grid, kReadWrite);
    QVERIFY(!Registry(grid).Attach());
}

void tst_Grid::MemoryLock_leftByKilledProcess_data()
{
    QTest::addColumn<int>("killed");

    QTest::newRow("creator") << int(KilledProcess::Creator);
    QTest::newRow("holder") << int(KilledProcess::Holder);
}

void tst_Grid::MemoryLock_leftByKilledProcess()
{
    QFETCH(const int, killed);

    const QString grid = UniqueName();
    QVERIFY(LeaveSemaphoreTaken(grid, static_cast<KilledProcess>(killed)));
    const auto remove = qScopeGuard([&grid] { RemoveSharedMemorySemaphore(grid); });
    IPCManager member;
    QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
    QCOMPARE(ProcessIds(member.ReadFromSharedMemory()), QList<qint64>{QCoreApplication::applicationPid()});
    Peer second({u"grid"_s, grid});
    QVERIFY(!second.WaitForLine(u"linked"_s).isEmpty());
}

// Another user could keep the lock file locked for ever, or replace it with a link to a file of this user.
// The library does not use that file, and relies on the segment's lock alone.
void tst_Grid::LockFile_unusable_data()
{
    QTest::addColumn<int>("kind");

    QTest::newRow("symbolic link") << int(S_IFLNK);
    QTest::newRow("pipe") << int(S_IFIFO);
    QTest::newRow("folder") << int(S_IFDIR);
    QTest::newRow("file of another user") << int(S_IFREG);
}

void tst_Grid::LockFile_unusable()
{
    QFETCH(const int, kind);

    const TestSupport::LogGuard log;
    const QString grid = UniqueName();
    const QByteArray path = QFile::encodeName(GridLockFilePath(grid));
    const auto remove = qScopeGuard([&path] { std::remove(path.constData()); });
    QTemporaryFile target;
    QVERIFY(target.open());
    switch (kind) {
    case S_IFLNK:
        QCOMPARE(::symlink(QFile::encodeName(target.fileName()).constData(), path.constData()), 0);
        break;
    case S_IFIFO:
        QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        break;
    case S_IFDIR:
        QCOMPARE(::mkdir(path.constData(), 0700), 0);
        break;
    default:
        if (::geteuid() != 0)
            QSKIP("needs root to change the owner of a file");
        QVERIFY(TestSupport::WriteFile(QFile::decodeName(path), ""));
        QCOMPARE(::chown(path.constData(), 65534, 65534), 0);
        break;
    }
    const std::optional<Platform::FileIdentity> before = Platform::GetFileIdentity(GridLockFilePath(grid));
    {
        IPCManager member;
        QCOMPARE(member.CreateGridConnection(grid, kReadWrite), true);
        QCOMPARE(member.ReadFromSharedMemory().size(), 1);
    }
    QVERIFY(Platform::GetFileIdentity(GridLockFilePath(grid)) == before);
    QVERIFY(!TestSupport::LogGuard::Messages().isEmpty());
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"cannot be locked"_s));
}

void tst_Grid::LockFile_removedWithLastMember()
{
    const QString grid = UniqueName();
    const QString path = GridLockFilePath(grid);
    auto first = std::make_unique<IPCManager>();
    first->CreateGridConnection(grid, kReadWrite);
    auto second = std::make_unique<IPCManager>();
    second->CreateGridConnection(grid, kReadWrite);
    QVERIFY(QFile::exists(path));
    first.reset();
    QVERIFY(QFile::exists(path));
    second.reset();
    QVERIFY(!QFile::exists(path));
    QVERIFY(!Registry(grid).Attach());
    // Without a grid name there is neither a lock file nor a registry.
    QFile::remove(GridLockFilePath(QString())); // another version may have left it
    IPCManager unnamed;
    unnamed.CreateGridConnection(QString(), kReadWrite);
    QVERIFY(!QFile::exists(GridLockFilePath(QString())));
}

void tst_Grid::Messages_oneHop()
{
    const QString grid = UniqueName();
    Peer first({u"grid"_s, grid});
    QVERIFY(!first.WaitForLine(u"joined"_s).isEmpty());
    Peer second({u"grid"_s, grid});
    QVERIFY(!second.WaitForLine(u"linked"_s).isEmpty());
    // The manager displaces the second member as the client of the first. Stop the second member, so that it
    // does not reconnect.
    QVERIFY(second.Freeze());
    IPCManager manager;
    manager.CreateGridConnection(grid, kReadWrite);
    QVERIFY(manager.WaitForConnectionToServer(QString(), 60000));
    QVariantMap answer;
    QVERIFY(manager.SendMessageAndGetResponse(QString(), u"who"_s, {}, answer, 60000));
    QCOMPARE(answer.value(u"pid"_s).toLongLong(), first.Id());
}

void tst_Grid::ManyProcesses()
{
    const QString grid = UniqueName();
    IPCManager observer;
    observer.CreateGridConnection(grid, kReadWrite);
    QRandomGenerator random(11);
    std::vector<std::unique_ptr<Peer>> alive;
    QList<qint64> expected{QCoreApplication::applicationPid()};
    QList<qint64> dead;
    for (int step = 0; step < 40; ++step) {
        if (alive.size() < 8 && (alive.size() < 2 || random.bounded(3) != 0)) {
            alive.push_back(std::make_unique<Peer>(QStringList{u"grid"_s, grid}));
            QVERIFY(!alive.back()->WaitForLine(u"joined"_s).isEmpty());
            expected.removeIf([&](qint64 id) { return dead.contains(id); });
            expected.append(alive.back()->Id());
        } else {
            const auto which = alive.begin() + random.bounded(static_cast<int>(alive.size()));
            if (random.bounded(2) == 0) {
                dead.append((*which)->Id());
                (*which)->Kill(); // the entry stays until a process joins
            } else {
                expected.removeOne((*which)->Id());
            }
            alive.erase(which);
        }
        QCOMPARE(ProcessIds(observer.ReadFromSharedMemory()), expected);
    }
}

void tst_Grid::ManyProcessesAtOnce()
{
    for (int round = 0; round < 5; ++round) {
        const QString grid = UniqueName();
        std::vector<std::unique_ptr<Peer>> peers;
        QList<qint64> expected;
        for (int i = 0; i < 8; ++i)
            peers.push_back(std::make_unique<Peer>(QStringList{u"grid"_s, grid}));
        for (const auto& peer : peers) {
            QVERIFY(!peer->WaitForLine(u"joined"_s).isEmpty());
            expected.append(peer->Id());
        }
        Registry registry(grid);
        QVERIFY(registry.Attach());
        IPCManager manager;
        manager.CreateGridConnection(grid, kReadWrite);
        QList<qint64> ids = ProcessIds(manager.ReadFromSharedMemory());
        QCOMPARE(ids.takeLast(), QCoreApplication::applicationPid());
        std::sort(ids.begin(), ids.end());
        std::sort(expected.begin(), expected.end());
        QCOMPARE(ids, expected);
        for (const auto& peer : peers)
            peer->EndInput();
        peers.clear(); // all leave at the same time
        QCOMPARE(ProcessIds(manager.ReadFromSharedMemory()),
                 QList<qint64>{QCoreApplication::applicationPid()});
    }
}

QTEST_GUILESS_MAIN(tst_Grid)

#include "tst_Grid.moc"
