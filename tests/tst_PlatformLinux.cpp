// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"
#include "IPCManager.h"
#include "platform/Platform_p.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QTemporaryDir>
#include <QUuid>
#include <QtTest>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <latch>
#include <limits>
#include <optional>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace TestSupport;

namespace {

// Sets a variable, or removes it if there is no value, for the lifetime of the guard.
class VariableGuard
{
public:
    VariableGuard(const char* name, const std::optional<QByteArray>& value)
        : mGuard(name)
    {
        if (value)
            qputenv(name, *value);
        else
            qunsetenv(name);
    }
    Q_DISABLE_COPY_MOVE(VariableGuard)

private:
    EnvironmentGuard mGuard;
};

using Variable = std::optional<QByteArray>;

// How many more times shared memory appears to be missing.
std::atomic<int> gMissing = 0;

// When another user attacks a private folder.
enum class Attack {
    None,
    AfterMakingTheFolder,
    BeforeBinding,
};
Attack gAttack = Attack::None;
QByteArray gVictim; // the folder that a link leads to
QByteArray gPrivateFolder;

// Replaces the private folder with a link to the victim.
void ReplaceWithLink()
{
    QCOMPARE(std::rename(gPrivateFolder.constData(), (gPrivateFolder + ".moved").constData()), 0);
    QCOMPARE(::symlink(gVictim.constData(), gPrivateFolder.constData()), 0);
}

} // namespace

// Replaces the system's function, for Qt too.
extern "C" Q_DECL_EXPORT int shmget(key_t key, size_t size, int flags) noexcept
{
    if ((flags & IPC_CREAT) == 0 && gMissing > 0) {
        --gMissing;
        errno = ENOENT;
        return -1;
    }
    using Function = int (*)(key_t, size_t, int);
    static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "shmget"));
    return next(key, size, flags);
}

extern "C" Q_DECL_EXPORT char* mkdtemp(char* name) noexcept
{
    using Function = char* (*)(char*);
    static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "mkdtemp"));
    char* const made = next(name);
    gPrivateFolder = made;
    if (gAttack == Attack::AfterMakingTheFolder)
        ReplaceWithLink();
    return made;
}

extern "C" Q_DECL_EXPORT int bind(int socket, const sockaddr* address, socklen_t length) noexcept
{
    using Function = int (*)(int, const sockaddr*, socklen_t);
    static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "bind"));
    if (gAttack == Attack::BeforeBinding)
        ReplaceWithLink();
    return next(socket, address, length);
}

Q_DECLARE_METATYPE(Attack)
Q_DECLARE_METATYPE(Variable)

class tst_PlatformLinux : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void GetUserLocaleIdentifier_data();
    void GetUserLocaleIdentifier();
    void GetUserLocaleIdentifier_readAfresh();

    void GetUserApplicationSupportFolder_data();
    void GetUserApplicationSupportFolder();
    void GetMachineApplicationSupportFolder_data();
    void GetMachineApplicationSupportFolder();
    void GetSystemLibraryFolder();

    void IsProcessRunning_data();
    void IsProcessRunning();
    void IsProcessRunning_zombie();
    void IsProcessRunning_otherUser();
    void IsProcessRunning_thread();
    void IsProcessRunning_mainThreadEnded();

    void Grid_createdMeanwhile();

    void ListenAt_leavesOnlyTheSocket_data();
    void ListenAt_leavesOnlyTheSocket();
    void ListenAt_longFolder();
    void ListenAt_followsNoLink_data();
    void ListenAt_followsNoLink();

    void GetLoadedLibraries();
    void RemoveLibraryVersion_data();
    void RemoveLibraryVersion();
    void GetModulePath_version();
    void ResolveSymbolicLinks_nameWithZero();
};

void tst_PlatformLinux::init()
{
    FailOnAnyMessage();
}

void tst_PlatformLinux::GetUserLocaleIdentifier_data()
{
    QTest::addColumn<Variable>("all");
    QTest::addColumn<Variable>("messages");
    QTest::addColumn<Variable>("lang");
    QTest::addColumn<QByteArray>("expected");

    const Variable unset;
    const Variable empty(QByteArray(""));
    const auto row = [](const char* name, const Variable& all, const Variable& messages, const Variable& lang,
                        const char* expected) {
        QTest::newRow(name) << all << messages << lang << QByteArray(expected);
    };
    row("none set", unset, unset, unset, "");
    row("all empty", empty, empty, empty, "");
    row("LC_ALL alone", "en_GB", unset, unset, "en_GB");
    row("LC_MESSAGES alone", unset, "en_GB", unset, "en_GB");
    row("LANG alone", unset, unset, "en_GB", "en_GB");
    row("LC_ALL before the others", "en_GB", "de_DE", "fr_FR", "en_GB");
    row("LC_MESSAGES before LANG", unset, "de_DE", "fr_FR", "de_DE");
    row("empty LC_ALL is unset", empty, "de_DE", "fr_FR", "de_DE");
    row("empty LC_MESSAGES is unset", empty, empty, "fr_FR", "fr_FR");
    row("codeset", "en_GB.UTF-8", unset, unset, "en_GB");
    row("modifier", "de_DE@euro", unset, unset, "de_DE");
    row("codeset and modifier", "en_GB.UTF-8@euro", unset, unset, "en_GB");
    row("modifier before the codeset", "en_GB@euro.UTF-8", unset, unset, "en_GB");
    row("C", "C", unset, "de_DE", "C");
    row("C with a codeset", "C.UTF-8", unset, unset, "C");
    row("POSIX", unset, unset, "POSIX", "POSIX");
    row("codeset alone still counts as set", ".UTF-8", unset, "de_DE", "");
    row("blanks are kept", " en_GB ", unset, unset, " en_GB ");
    row("script is kept", "zh-Hans_CN.UTF-8", unset, unset, "zh-Hans_CN");
}

void tst_PlatformLinux::GetUserLocaleIdentifier()
{
    QFETCH(const Variable, all);
    QFETCH(const Variable, messages);
    QFETCH(const Variable, lang);
    QFETCH(const QByteArray, expected);

    const VariableGuard allGuard("LC_ALL", all);
    const VariableGuard messagesGuard("LC_MESSAGES", messages);
    const VariableGuard langGuard("LANG", lang);

    QCOMPARE(Platform::GetUserLocaleIdentifier(), expected);
}

void tst_PlatformLinux::GetUserLocaleIdentifier_readAfresh()
{
    const EnvironmentGuard guard("LC_ALL", "en_GB");
    QCOMPARE(Platform::GetUserLocaleIdentifier(), QByteArray("en_GB"));
    qputenv("LC_ALL", "de_DE");
    QCOMPARE(Platform::GetUserLocaleIdentifier(), QByteArray("de_DE"));
}

void tst_PlatformLinux::GetUserApplicationSupportFolder_data()
{
    QTest::addColumn<Variable>("variable");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("clean");

    const QString home = u"/home/some one"_s;
    QTest::newRow("unset") << Variable() << home + "/.local/share"_L1 << home + "/.local/share"_L1;
    QTest::newRow("empty") << Variable("") << home + "/.local/share"_L1 << home + "/.local/share"_L1;
    QTest::newRow("relative") << Variable("data") << home + "/.local/share"_L1 << home + "/.local/share"_L1;
    QTest::newRow("tilde") << Variable("~/data") << home + "/.local/share"_L1 << home + "/.local/share"_L1;
    QTest::newRow("absolute") << Variable("/data") << u"/data"_s << u"/data"_s;
    QTest::newRow("not clean") << Variable("/x/../data//") << u"/x/../data//"_s << u"/data"_s;
    QTest::newRow("colon is not a separator") << Variable("/a:/b") << u"/a:/b"_s << u"/a:/b"_s;
    QTest::newRow("beyond ASCII") << Variable("/donn\xc3\xa9"
                                              "es")
                                  << u"/donn\u00e9es"_s << u"/donn\u00e9es"_s;
}

void tst_PlatformLinux::GetUserApplicationSupportFolder()
{
    QFETCH(const Variable, variable);
    QFETCH(const QString, expected);
    QFETCH(const QString, clean);

    const EnvironmentGuard home("HOME", "/home/some one");
    const VariableGuard guard("XDG_DATA_HOME", variable);

    QCOMPARE(Platform::GetUserApplicationSupportFolder(), expected);
    QCOMPARE(GeneralUtil::GetAppDataPath(), clean);
    QCOMPARE(GeneralUtil::GetLocalAppDataPath(), clean);
}

void tst_PlatformLinux::GetMachineApplicationSupportFolder_data()
{
    QTest::addColumn<Variable>("variable");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("clean");

    QTest::newRow("unset") << Variable() << u"/usr/local/share"_s << u"/usr/local/share"_s;
    QTest::newRow("empty") << Variable("") << u"/usr/local/share"_s << u"/usr/local/share"_s;
    QTest::newRow("relative") << Variable("data") << u"/usr/local/share"_s << u"/usr/local/share"_s;
    QTest::newRow("one folder") << Variable("/opt/share") << u"/opt/share"_s << u"/opt/share"_s;
    QTest::newRow("first of two") << Variable("/opt/share:/usr/share") << u"/opt/share"_s << u"/opt/share"_s;
    QTest::newRow("empty first") << Variable("::/usr/share") << u"/usr/share"_s << u"/usr/share"_s;
    QTest::newRow("relative first") << Variable("a:/usr/share") << u"/usr/share"_s << u"/usr/share"_s;
    QTest::newRow("not clean") << Variable("/opt//share/:/b") << u"/opt//share/"_s << u"/opt/share"_s;
}

void tst_PlatformLinux::GetMachineApplicationSupportFolder()
{
    QFETCH(const Variable, variable);
    QFETCH(const QString, expected);
    QFETCH(const QString, clean);

    const VariableGuard guard("XDG_DATA_DIRS", variable);

    QCOMPARE(Platform::GetMachineApplicationSupportFolder(), expected);
    QCOMPARE(GeneralUtil::GetCommonAppDataPath(), clean);
    QCOMPARE(GeneralUtil::GetProgramDataPath(), clean);
}

void tst_PlatformLinux::GetSystemLibraryFolder()
{
    QCOMPARE(Platform::GetSystemLibraryFolder(), u"/usr/lib"_s);
}

void tst_PlatformLinux::IsProcessRunning_data()
{
    QTest::addColumn<qint64>("processId");
    QTest::addColumn<bool>("expected");

    const qint64 own = QCoreApplication::applicationPid();
    QTest::newRow("this process") << own << true;
    QTest::newRow("first process of the system") << qint64(1) << true;
    QTest::newRow("0, which stands for this process group") << qint64(0) << false;
    QTest::newRow("-1, which stands for all processes") << qint64(-1) << false;
    QTest::newRow("this process, negated") << -own << false;
    QTest::newRow("this process in the lower 32 bits") << own + (qint64(1) << 32) << false;
    QTest::newRow("largest number") << std::numeric_limits<qint64>::max() << false;
    QTest::newRow("smallest number") << std::numeric_limits<qint64>::min() << false;
    QTest::newRow("largest process id") << qint64(std::numeric_limits<pid_t>::max()) << false;
}

void tst_PlatformLinux::IsProcessRunning()
{
    QFETCH(const qint64, processId);
    QFETCH(const bool, expected);

    QCOMPARE(GeneralUtil::IsProcessRunning(processId), expected);
}

void tst_PlatformLinux::IsProcessRunning_zombie()
{
    std::array<int, 2> pipe{};
    QCOMPARE(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        char ignored = 0;
        ::close(pipe[1]);
        ::_exit(::read(pipe[0], &ignored, 1) == 0 ? 0 : 1); // until the parent closes its end
    }
    QCOMPARE(GeneralUtil::IsProcessRunning(child), true);

    ::close(pipe[0]);
    ::close(pipe[1]);
    siginfo_t info{};
    QCOMPARE(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0); // ended, but not reaped
    QCOMPARE(::kill(child, 0), 0); // the system still knows the process
    QCOMPARE(GeneralUtil::IsProcessRunning(child), false);

    QCOMPARE(::waitpid(child, nullptr, 0), child);
    QCOMPARE(GeneralUtil::IsProcessRunning(child), false);
}

void tst_PlatformLinux::IsProcessRunning_otherUser()
{
    constexpr uid_t kNobody = 65534;
    if (::geteuid() != 0) { // the first process belongs to root
        if (::kill(1, 0) == 0)
            QSKIP("no process of another user is running");
        QCOMPARE(GeneralUtil::IsProcessRunning(1), true);
        return;
    }
    const qint64 own = QCoreApplication::applicationPid();
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        if (::setresuid(kNobody, kNobody, kNobody) != 0 || ::kill(static_cast<pid_t>(own), 0) == 0)
            ::_exit(2);
        ::_exit(GeneralUtil::IsProcessRunning(own) ? 0 : 1);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
}

void tst_PlatformLinux::IsProcessRunning_thread()
{
    std::latch started(1);
    std::latch finish(1);
    pid_t threadId = 0;
    std::thread thread([&] {
        threadId = ::gettid();
        started.count_down();
        finish.wait();
    });
    started.wait();
    const bool known = ::kill(threadId, 0) == 0;
    const bool running = GeneralUtil::IsProcessRunning(threadId);
    finish.count_down();
    thread.join();

    QVERIFY(known); // the system accepts the id as that of a process
    QCOMPARE(running, false);
}

void tst_PlatformLinux::IsProcessRunning_mainThreadEnded()
{
    QProcess process;
    process.start(QFile::decodeName(THREAD_OUTLIVES_MAIN), QStringList());
    EVENTUALLY(process.canReadLine());
    const QString page = u"/proc/%1/status"_s.arg(process.processId());
    EVENTUALLY(ReadFile(page).contains("State:\tZ"));
    const bool running = GeneralUtil::IsProcessRunning(process.processId());
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished());

    QCOMPARE(running, true);
}

// Another program creates the registry between attach() and create().
void tst_PlatformLinux::Grid_createdMeanwhile()
{
    const QString grid = QUuid::createUuid().toString(QUuid::Id128);
    IPCManager first;
    first.CreateGridConnection(grid, QIODeviceBase::ReadWrite);
    IPCManager second;
    gMissing = 1;
    QCOMPARE(second.CreateGridConnection(grid, QIODeviceBase::ReadWrite), true);
    gMissing = 0;
    // Both managers are in the same grid.
    QCOMPARE(second.ReadFromSharedMemory().size(), 2);
    QCOMPARE(first.ReadFromSharedMemory().size(), 2);
}

void tst_PlatformLinux::ListenAt_leavesOnlyTheSocket_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("replaces");
    QTest::addColumn<bool>("listens");

    QTest::newRow("new name") << false << true << true;
    QTest::newRow("new name, when an existing socket would be kept") << false << false << true;
    QTest::newRow("replaced") << true << true << true;
    QTest::newRow("kept") << true << false << false;
}

void tst_PlatformLinux::ListenAt_leavesOnlyTheSocket()
{
    QFETCH(const bool, exists);
    QFETCH(const bool, replaces);
    QFETCH(const bool, listens);

    const QTemporaryDir folder;
    const QString path = folder.filePath(u"s"_s);
    Platform::ListeningSocket old;
    if (exists)
        old = Platform::ListenAt(path, Platform::ExistingSocket::Keep);
    const std::optional<Platform::FileIdentity> before = Platform::GetFileIdentity(path);
    const Platform::ListeningSocket socket = Platform::ListenAt(
        path, replaces ? Platform::ExistingSocket::Replace : Platform::ExistingSocket::Keep);
    QCOMPARE(socket.Descriptor != -1, listens);
    QCOMPARE(socket.Error.isEmpty(), listens);
    const std::optional<Platform::FileIdentity> now = Platform::GetFileIdentity(path);
    QVERIFY(now == (listens ? socket.File : before));
    QCOMPARE(QFileInfo(path).permissions() & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser),
             QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QCOMPARE(
        QDir(folder.path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList({u"s"_s}));
    ::close(socket.Descriptor);
    ::close(old.Descriptor);
}

// The socket is first created in a private folder, whose path is only eight bytes longer.
void tst_PlatformLinux::ListenAt_longFolder()
{
    constexpr qsizetype kFolderSize = 99; // with the slash
    const QTemporaryDir dir;
    const QString folder = dir.path() + u'/' + QString(kFolderSize - dir.path().size() - 2, u'f') + u'/';
    QVERIFY(QDir().mkdir(folder));
    const Platform::ListeningSocket socket
        = Platform::ListenAt(folder + u"viewer"_s, Platform::ExistingSocket::Replace);
    QVERIFY2(socket.Descriptor != -1, qPrintable(socket.Error));
    ::close(socket.Descriptor);
}

void tst_PlatformLinux::ListenAt_followsNoLink_data()
{
    QTest::addColumn<Attack>("attack");
    QTest::addColumn<QString>("file");

    QTest::newRow("before the folder is opened") << Attack::AfterMakingTheFolder << u"s"_s;
    QTest::newRow("before the folder is opened, link to other files")
        << Attack::AfterMakingTheFolder << u"notes"_s;
    QTest::newRow("before the socket is bound") << Attack::BeforeBinding << u"s"_s;
    QTest::newRow("before the socket is bound, link to other files") << Attack::BeforeBinding << u"notes"_s;
}

// In a shared folder that is not sticky, another user can replace the private folder with a link.
void tst_PlatformLinux::ListenAt_followsNoLink()
{
    QFETCH(const Attack, attack);
    QFETCH(const QString, file);

    const QTemporaryDir shared;
    const QTemporaryDir victim;
    QVERIFY(WriteFile(victim.filePath(file), "precious"));
    QVERIFY(QFile::setPermissions(victim.filePath(file), QFile::ReadOwner));
    const QFileDevice::Permissions before = QFileInfo(victim.filePath(file)).permissions();
    gVictim = QFile::encodeName(victim.path());
    gAttack = attack;
    const Platform::ListeningSocket socket
        = Platform::ListenAt(shared.filePath(u"name"_s), Platform::ExistingSocket::Replace);
    gAttack = Attack::None;
    QCOMPARE(socket.Descriptor, -1);
    QVERIFY(!socket.Error.isEmpty());
    QCOMPARE(ReadFile(victim.filePath(file)), QByteArray("precious"));
    QCOMPARE(QFileInfo(victim.filePath(file)).permissions(), before);
    QVERIFY(!Platform::GetFileIdentity(shared.filePath(u"name"_s)).has_value());
}

void tst_PlatformLinux::GetLoadedLibraries()
{
    const QStringList paths = Platform::GetLoadedLibraries();

    QVERIFY(!paths.isEmpty());
    for (const QString& path : paths)
        QVERIFY2(QFileInfo(path).isFile(), qPrintable(path));
    QVERIFY(!paths.contains(QCoreApplication::applicationFilePath()));
    QCOMPARE(paths.filter(u"libQt6Core.so"_s).size(), 1);
}

void tst_PlatformLinux::RemoveLibraryVersion_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("no version") << u"libFoo.so"_s << u"libFoo.so"_s;
    QTest::newRow("one number") << u"libFoo.so.6"_s << u"libFoo.so"_s;
    QTest::newRow("two numbers") << u"libFoo.so.6.4"_s << u"libFoo.so"_s;
    QTest::newRow("four numbers") << u"libFoo.so.6.4.0.12"_s << u"libFoo.so"_s;
    QTest::newRow("number and letter") << u"libFoo.so.1.0.2k"_s << u"libFoo.so"_s;
    QTest::newRow("numbers before the suffix") << u"libFoo-5.3.so"_s << u"libFoo-5.3.so"_s;
    QTest::newRow("numbers on both sides") << u"libFoo-5.3.so.1"_s << u"libFoo-5.3.so"_s;
    QTest::newRow("word after the suffix") << u"libFoo.so.bak"_s << u"libFoo.so.bak"_s;
    QTest::newRow("word before the number") << u"libFoo.so.bak.1"_s << u"libFoo.so.bak.1"_s;
    QTest::newRow("dot after the suffix") << u"libFoo.so."_s << u"libFoo.so."_s;
    QTest::newRow("empty part") << u"libFoo.so..1"_s << u"libFoo.so..1"_s;
    QTest::newRow("suffix twice") << u"libFoo.so.so.1"_s << u"libFoo.so.so"_s;
    QTest::newRow("no suffix") << u"libFoo.1.2"_s << u"libFoo.1.2"_s;
    QTest::newRow("no dot") << u"libFoo"_s << u"libFoo"_s;
    QTest::newRow("suffix in different case") << u"libFoo.SO.1"_s << u"libFoo.SO.1"_s;
    QTest::newRow("suffix without a dot") << u"libFooso.1"_s << u"libFooso.1"_s;
    QTest::newRow("foreign digits") << u"libFoo.so.\u0661"_s << u"libFoo.so.\u0661"_s;
}

void tst_PlatformLinux::RemoveLibraryVersion()
{
    QFETCH(const QString, fileName);
    QFETCH(const QString, expected);

    QCOMPARE(Platform::RemoveLibraryVersion(fileName).toString(), expected);
}

void tst_PlatformLinux::GetModulePath_version()
{
    const QString folder = QFileInfo(QFile::decodeName(PROBE_LIBRARY)).canonicalPath();
    QLibrary library(folder + "/libProbeLibrary.so.6.4"_L1);
    QVERIFY2(library.load(), qPrintable(library.errorString()));

    QCOMPARE(GeneralUtil::GetModulePath(u"libProbeLibrary"_s), folder);
    QCOMPARE(GeneralUtil::GetModulePath(u"libProbeLibrary.so"_s), folder);
    QCOMPARE(GeneralUtil::GetModulePath(u"libProbeLibrary.so.6.4"_s), folder);
    QCOMPARE(GeneralUtil::GetModulePath(u"libProbeLibrary.so.6"_s), QString());
    QCOMPARE(GeneralUtil::GetModulePath(u"libProbeLibrary.so.6.4.1"_s), QString());
    QVERIFY(library.unload());

    // The program links this library, whose file name contains a version.
    QVERIFY(!GeneralUtil::GetModulePath(u"libQt6Core"_s).isEmpty());
    QCOMPARE(GeneralUtil::GetModulePath(u"linux-vdso.so.1"_s), QString()); // the vDSO has no file
}

void tst_PlatformLinux::ResolveSymbolicLinks_nameWithZero()
{
    const QTemporaryDir dir;
    const QString root = QFileInfo(dir.path()).canonicalFilePath();
    QVERIFY(QFile::link(u"/"_s, root + "/link"_L1));
    const QString path = root + "/link"_L1 + QChar(u'\0') + u'x';

    QCOMPARE(Platform::ResolveSymbolicLinks(path), path);
}

QTEST_GUILESS_MAIN(tst_PlatformLinux)

#include "tst_PlatformLinux.moc"
