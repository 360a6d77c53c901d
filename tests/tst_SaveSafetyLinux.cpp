// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests of saving with means that only Linux has: /dev/full, a small file system in memory, and a process
// that is stopped at each of its system calls.

#include "support/SaveSafetySupport.h"

#include <XmlFiler.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace SaveSafety;
using TestSupport::ReadFile;
using TestSupport::WriteFile;

namespace {
int gLockError = 0;
int gAttributeError = 0; ///< if not 0, the error for all operations on extended attributes
/// A file that is removed before it can be locked, as if another save took it for a stale one.
const char* gTakenFile = nullptr;
// The only object that is constructed before main().
const QByteArray kOld = "<Old><!-- not yet replaced --></Old>"; // clazy:exclude=non-pod-global-static

/// Traces a process from just before its save to just after it.
class TracedSaver
{
public:
    TracedSaver(const QString& file, const QString& document)
    {
        const QByteArray path = QFile::encodeName(file);
        const QByteArray number = document.toLatin1();
        mProcess = fork();
        if (mProcess == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            execl(SAVE_LOOP, SAVE_LOOP, "once", path.constData(), number.constData(), nullptr);
            _exit(127);
        }
        mUsable = mProcess > 0 && Wait() && WIFSTOPPED(mStatus) && WSTOPSIG(mStatus) == SIGTRAP
            && ptrace(PTRACE_SETOPTIONS, mProcess, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0
            && ptrace(PTRACE_CONT, mProcess, nullptr, nullptr) == 0 && Wait() && IsStoppedByItself();
    }
    ~TracedSaver() { Kill(); }
    Q_DISABLE_COPY_MOVE(TracedSaver)

    /// Returns whether the system allows tracing and the process is about to save.
    [[nodiscard]] bool IsUsable() const { return mUsable; }

    /// Continues to the start of the next system call. \return false if the save is complete
    bool Step()
    {
        // Each call stops the process twice, at its start and at its end.
        do {
            if (ptrace(PTRACE_SYSCALL, mProcess, nullptr, nullptr) != 0 || !Wait() || !IsAtSystemCall())
                return false;
        } while (!ReadCall());
        return true;
    }

    [[nodiscard]] long Call() const { return mCall; }
    [[nodiscard]] bool IsStoppedByItself() const
    {
        return WIFSTOPPED(mStatus) && WSTOPSIG(mStatus) == SIGSTOP;
    }

    void Kill()
    {
        if (mProcess <= 0)
            return;
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
        mProcess = -1;
    }

private:
    bool Wait() { return waitpid(mProcess, &mStatus, 0) == mProcess; }
    [[nodiscard]] bool IsAtSystemCall() const
    {
        return WIFSTOPPED(mStatus) && WSTOPSIG(mStatus) == (SIGTRAP | 0x80);
    }
    bool ReadCall()
    {
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, mProcess, sizeof info, &info) <= 0
            || info.op != PTRACE_SYSCALL_INFO_ENTRY)
            return false;
        mCall = long(info.entry.nr);
        return true;
    }

    pid_t mProcess = -1;
    int mStatus = 0;
    long mCall = -1;
    bool mUsable = false;
};

/// A file system of 64 KiB in memory, for the lifetime of the guard.
class SmallFileSystem
{
public:
    explicit SmallFileSystem(const QString& folder)
        : mFolder(QFile::encodeName(folder))
        , mMounted(mount("none", mFolder.constData(), "tmpfs", 0, "size=64k") == 0)
    { }
    ~SmallFileSystem()
    {
        if (mMounted)
            umount2(mFolder.constData(), MNT_DETACH);
    }
    Q_DISABLE_COPY_MOVE(SmallFileSystem)

    [[nodiscard]] bool IsMounted() const { return mMounted; }

private:
    QByteArray mFolder;
    bool mMounted;
};

bool IsSync(long call)
{
    return call == SYS_fsync || call == SYS_fdatasync;
}

bool IsRename(long call)
{
#ifdef SYS_rename // newer architectures have only the others
    if (call == SYS_rename)
        return true;
#endif
    return call == SYS_renameat || call == SYS_renameat2;
}

constexpr uid_t kNamedUser = 65534;
constexpr const char* kAccessList = "system.posix_acl_access";

/// Returns an access control list in the kernel's format, with one entry of each kind. Permissions are 4 to
/// read, 2 to write and 1 to execute.
QByteArray AccessList(quint16 owner, quint16 namedUser, quint16 group, quint16 namedGroup, quint16 mask,
                      quint16 others)
{
    const posix_acl_xattr_header header = {qToLittleEndian<quint32>(POSIX_ACL_XATTR_VERSION)};
    QByteArray list(reinterpret_cast<const char*>(&header), sizeof header);
    const auto add = [&list](quint16 tag, quint16 rights, quint32 id) {
        const posix_acl_xattr_entry entry
            = {qToLittleEndian(tag), qToLittleEndian(rights), qToLittleEndian(id)};
        list.append(reinterpret_cast<const char*>(&entry), sizeof entry);
    };
    constexpr quint32 kNamedGroup = 12345;
    add(ACL_USER_OBJ, owner, static_cast<quint32>(ACL_UNDEFINED_ID));
    add(ACL_USER, namedUser, kNamedUser);
    add(ACL_GROUP_OBJ, group, static_cast<quint32>(ACL_UNDEFINED_ID));
    add(ACL_GROUP, namedGroup, kNamedGroup);
    add(ACL_MASK, mask, static_cast<quint32>(ACL_UNDEFINED_ID));
    add(ACL_OTHER, others, static_cast<quint32>(ACL_UNDEFINED_ID));
    return list;
}

/// \return false, with errno set, after a failure
bool SetFileAttribute(const QString& path, const char* name, const QByteArray& value)
{
    return setxattr(QFile::encodeName(path).constData(), name, value.constData(), size_t(value.size()), 0)
        == 0;
}

std::optional<QByteArray> FileAttribute(const QString& path, const char* name)
{
    QByteArray value(4096, Qt::Uninitialized);
    const ssize_t size
        = getxattr(QFile::encodeName(path).constData(), name, value.data(), size_t(value.size()));
    return size < 0 ? std::nullopt : std::optional(value.left(size));
}

bool SaveDocument(const QString& path, size_t number)
{
    XmlFiler filer;
    SaveLoopDocuments::Fill(filer, number);
    return filer.SaveAsXmlFile(path);
}

} // namespace

// Replaces the system's flock(), so that saving finds a file system without locks.
extern "C" Q_DECL_EXPORT int LockFile(int descriptor, int operation) __asm__("flock");

int LockFile(int descriptor, int operation)
{
    const int error = gLockError;
    if (gTakenFile != nullptr) {
        unlink(gTakenFile);
        gTakenFile = nullptr;
        gLockError = 0;
    }
    if (error == 0)
        return static_cast<int>(syscall(SYS_flock, descriptor, operation));
    errno = error;
    return -1;
}

// Replaces the functions for extended attributes and access control lists.
extern "C" Q_DECL_EXPORT int SetAttribute(int descriptor, const char* name, const void* value, size_t size,
                                          int flags) __asm__("fsetxattr");

int SetAttribute(int descriptor, const char* name, const void* value, size_t size, int flags)
{
    if (gAttributeError == 0)
        return static_cast<int>(syscall(SYS_fsetxattr, descriptor, name, value, size, flags));
    errno = gAttributeError;
    return -1;
}

class tst_SaveSafetyLinux : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Kill_atEachSystemCall_data();
    void Kill_atEachSystemCall();
    void Save_reachesTheDiskBeforeItReplaces();
    void Save_neverShowsAPrivateFileToOthers();

    void Device_data();
    void Device();
    void FullFileSystem_existingFile();
    void FullFileSystem_newFile();
    void FullFileSystem_spaceAgain();
    void FullFileSystem_writtenDirectly();
    void FullFileSystem_settingsStayDirty();
    void MountedFile_isWrittenDirectly();
    void ReadError_settings();
    void AccessList_isKept_data();
    void AccessList_isKept();
    void AccessList_ofTheFolder();
    void AccessList_thatCannotBeSet_data();
    void AccessList_thatCannotBeSet();
    void AccessList_ofAnotherOwner();
    void Attributes_areKept_data();
    void Attributes_areKept();
    void Attributes_thatCannotBeSet();
    void NoLocks_data();
    void NoLocks();
    void TemporaryFile_takenForStale_data();
    void TemporaryFile_takenForStale();

private:
    [[nodiscard]] QString Path(const QString& name) const { return mDir->filePath(name); }
    /// Moves the test's folder to a file system that supports an extended attribute. \return false if there
    /// is none
    [[nodiscard]] bool FindFileSystemWith(const char* attribute, const QByteArray& value);

    std::unique_ptr<QTemporaryDir> mDir;
};

void tst_SaveSafetyLinux::init()
{
    TestSupport::FailOnAnyMessage();
    mDir = std::make_unique<QTemporaryDir>();
    QVERIFY(mDir->isValid());
}

void tst_SaveSafetyLinux::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

void tst_SaveSafetyLinux::Kill_atEachSystemCall_data()
{
    QTest::addColumn<bool>("exists");

    QTest::newRow("existing file") << true;
    QTest::newRow("new file") << false;
}

void tst_SaveSafetyLinux::Kill_atEachSystemCall()
{
    QFETCH(const bool, exists);
    const QString file = Path(u"s.xml"_s);
    const QByteArray document = DocumentBytes(2);
    const QByteArray before = exists ? kOld : QByteArray();

    bool replaced = false;
    for (int steps = 1;; ++steps) {
        QVERIFY2(steps < 500, "a save needs fewer system calls than this");
        QFile::remove(file);
        if (exists)
            QVERIFY(WriteFile(file, kOld));
        TracedSaver saver(file, u"2"_s);
        if (!saver.IsUsable())
            QSKIP("this system does not allow tracing of processes");
        int done = 0;
        while (done < steps && saver.Step())
            ++done;
        const bool over = done < steps;
        if (over)
            QVERIFY(saver.IsStoppedByItself());
        saver.Kill();

        const QByteArray content = ReadFile(file);
        const bool untouched = content == before && content.isNull() == before.isNull();
        QVERIFY2(untouched || content == document, qPrintable(u"truncated after %1 calls"_s.arg(done)));
        QVERIFY(!replaced || content == document); // once replaced, the old content never returns
        replaced = content == document;
        QVERIFY(FolderContent(mDir->path()).size() <= 2); // the file, and what a killed save leaves
        if (over) {
            QVERIFY(replaced);
            QVERIFY(steps > 5); // the process was indeed traced
            QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
            return;
        }
    }
}

void tst_SaveSafetyLinux::Save_reachesTheDiskBeforeItReplaces()
{
    TracedSaver saver(Path(u"s.xml"_s), u"2"_s);
    if (!saver.IsUsable())
        QSKIP("this system does not allow tracing of processes");
    std::vector<long> calls;
    while (saver.Step())
        calls.push_back(saver.Call());
    QVERIFY(saver.IsStoppedByItself());

    const auto isWrite
        = [](long call) { return call == SYS_write || call == SYS_pwrite64 || call == SYS_writev; };
    const auto lastWrite = std::find_if(calls.rbegin(), calls.rend(), isWrite).base();
    const auto sync = std::find_if(lastWrite, calls.end(), IsSync);
    const auto rename = std::find_if(calls.begin(), calls.end(), IsRename);
    QVERIFY(lastWrite != calls.begin());
    QVERIFY(sync != calls.end());
    QVERIFY(rename != calls.end());
    QVERIFY(sync < rename);
}

void tst_SaveSafetyLinux::Save_neverShowsAPrivateFileToOthers()
{
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QCOMPARE(chmod(QFile::encodeName(file).constData(), 0600), 0);
    const mode_t mask = umask(0); // removes no permissions
    TracedSaver saver(file, u"2"_s);
    umask(mask);
    if (!saver.IsUsable())
        QSKIP("this system does not allow tracing of processes");

    bool sawBoth = false;
    while (saver.Step()) {
        const QStringList names = FolderContent(mDir->path());
        sawBoth = sawBoth || names.size() == 2;
        for (const QString& name : names) {
            struct stat status = {};
            QCOMPARE(stat(QFile::encodeName(Path(name)).constData(), &status), 0);
            QCOMPARE(status.st_mode & 0777U, 0600U);
        }
    }
    QVERIFY(saver.IsStoppedByItself());
    QVERIFY(sawBoth); // the old file, and the temporary one that replaced it
    QCOMPARE(ReadFile(file), DocumentBytes(2));
}

void tst_SaveSafetyLinux::Device_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<unsigned>("minor");
    QTest::addColumn<bool>("linked");
    QTest::addColumn<bool>("saved");

    QTest::newRow("full") << u"full"_s << 7U << false << false;
    QTest::newRow("full, through a link") << u"full"_s << 7U << true << false;
    QTest::newRow("null") << u"null"_s << 3U << false << true;
    QTest::newRow("null, through a link") << u"null"_s << 3U << true << true;
}

void tst_SaveSafetyLinux::Device()
{
    QFETCH(const QString, name);
    QFETCH(const unsigned, minor);
    QFETCH(const bool, linked);
    QFETCH(const bool, saved);
    // If saving were faulty, root would replace the system's device, so use a new device.
    QString device = u"/dev/"_s + name;
    if (geteuid() == 0) {
        device = Path(name);
        const QByteArray path = QFile::encodeName(device);
        if (mknod(path.constData(), S_IFCHR | 0666, makedev(1, minor)) != 0
            || !QFile(device).open(QIODevice::ReadWrite))
            QSKIP("this file system has no devices");
    }
    const QString link = Path(u"link"_s);
    QCOMPARE(symlink(QFile::encodeName(device).constData(), QFile::encodeName(link).constData()), 0);
    const QStringList before = FolderContent(mDir->path());

    for (size_t number = 0; number < SaveLoopDocuments::kSizes.size(); ++number)
        QCOMPARE(SaveDocument(linked ? link : device, number), saved);

    QCOMPARE(Kind(device), mode_t(S_IFCHR));
    QCOMPARE(Kind(link), mode_t(S_IFLNK));
    QCOMPARE(FolderContent(mDir->path()), before);
}

#define MOUNT_OR_SKIP(name)                                                                                  \
    const SmallFileSystem name(mDir->path());                                                                \
    if (!name.IsMounted())                                                                                   \
    QSKIP("needs root to mount a small file system")

void tst_SaveSafetyLinux::FullFileSystem_existingFile()
{
    MOUNT_OR_SKIP(fileSystem);
    QVERIFY(WriteFile(Path(u"s.xml"_s), kOld));

    QCOMPARE(SaveDocument(Path(u"s.xml"_s), 3), false); // larger than the whole file system

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), kOld);
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
}

void tst_SaveSafetyLinux::FullFileSystem_newFile()
{
    MOUNT_OR_SKIP(fileSystem);
    QCOMPARE(SaveDocument(Path(u"s.xml"_s), 3), false);
    QCOMPARE(FolderContent(mDir->path()), QStringList());

    QVERIFY(WriteFile(Path(u"filler"_s), QByteArray(65536, 'x')));
    QCOMPARE(SaveDocument(Path(u"s.xml"_s), 0), false); // no space at all
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"filler"_s}));
}

void tst_SaveSafetyLinux::FullFileSystem_spaceAgain()
{
    MOUNT_OR_SKIP(fileSystem);
    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));
    QVERIFY(WriteFile(Path(u"filler"_s), QByteArray(61440, 'x')));
    QCOMPARE(SaveDocument(Path(u"s.xml"_s), 2), false);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), DocumentBytes(1));

    QVERIFY(QFile::remove(Path(u"filler"_s)));
    QCOMPARE(SaveDocument(Path(u"s.xml"_s), 2), true);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), DocumentBytes(2));
}

// The logged reason is why the direct write failed, not why no file can be created in the folder.
void tst_SaveSafetyLinux::FullFileSystem_writtenDirectly()
{
    MOUNT_OR_SKIP(fileSystem);
    const QByteArray folder = QFile::encodeName(mDir->path());
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QCOMPARE(chmod(QFile::encodeName(file).constData(), 0666), 0);
    QCOMPARE(chmod(folder.constData(), 0555), 0);
    {
        const TestSupport::UnprivilegedGuard unprivileged;
        const TestSupport::LogGuard log;
        QCOMPARE(SaveDocument(file, 3), false); // larger than the whole file system
        QCOMPARE(TestSupport::LogGuard::Messages(),
                 QStringList{u"%1 is not saved: %2"_s.arg(file, qt_error_string(ENOSPC))});
    }
}

void tst_SaveSafetyLinux::FullFileSystem_settingsStayDirty()
{
    MOUNT_OR_SKIP(fileSystem);
    QVERIFY(WriteFile(Path(u"s.xml"_s), "<Settings/>"));
    QVERIFY(WriteFile(Path(u"filler"_s), QByteArray(61440, 'x')));
    {
        Settings settings(Path(u"s.xml"_s), QString());
        settings.WriteString(u"P"_s, u"V"_s, QString(10'000, u'y'));
        settings.Save();
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), QByteArray("<Settings/>"));
        QVERIFY(QFile::remove(Path(u"filler"_s)));
        settings.Save();
        QVERIFY(ReadFile(Path(u"s.xml"_s)).size() > 10'000);
    }
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
}

void tst_SaveSafetyLinux::MountedFile_isWrittenDirectly()
{
    // Containers often mount a single configuration file. Renaming cannot replace a mounted file.
    QVERIFY(WriteFile(Path(u"real.xml"_s), kOld));
    QVERIFY(WriteFile(Path(u"s.xml"_s), QByteArray()));
    const QByteArray mounted = QFile::encodeName(Path(u"s.xml"_s));
    if (mount(QFile::encodeName(Path(u"real.xml"_s)).constData(), mounted.constData(), nullptr, MS_BIND,
              nullptr)
        != 0)
        QSKIP("needs root to mount a file");
    const auto unmount = qScopeGuard([&] { umount2(mounted.constData(), MNT_DETACH); });

    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));

    QCOMPARE(ReadFile(Path(u"real.xml"_s)), DocumentBytes(1));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"real.xml"_s, u"s.xml"_s}));
}

bool tst_SaveSafetyLinux::FindFileSystemWith(const char* attribute, const QByteArray& value)
{
    for (const QString& folder : {QDir::tempPath(), u"/dev/shm"_s, QCoreApplication::applicationDirPath()}) {
        auto dir = std::make_unique<QTemporaryDir>(folder + u"/saving-XXXXXX"_s);
        const QString probe = dir->filePath(u"probe"_s);
        if (!WriteFile(probe, kOld))
            continue;
        const bool isSet = SetFileAttribute(probe, attribute, value);
        const int error = errno;
        QFile::remove(probe);
        if (isSet) {
            mDir = std::move(dir);
            return true;
        }
        if (error != ENOTSUP)
            QTest::qFail(strerror(error), __FILE__, __LINE__);
    }
    return false;
}

#define FIND_FILE_SYSTEM_OR_SKIP(attribute, value)                                                           \
    if (!FindFileSystemWith(attribute, value)) {                                                             \
        QVERIFY(!QTest::currentTestFailed());                                                                \
        QSKIP("no file system here has the attribute " #attribute " (ENOTSUP)");                             \
    }

// The file can be opened, but its first byte cannot be read.
void tst_SaveSafetyLinux::ReadError_settings()
{
    const QString file = Path(u"s.xml"_s);
    QCOMPARE(symlink("/proc/self/mem", QFile::encodeName(file).constData()), 0);
    {
        Settings settings;
        QCOMPARE(settings.OpenFile(file, u"Settings"_s), Settings::FileState::Unreadable);
        QCOMPARE(settings.GetLoadError().Text, qt_error_string(EIO));
        QCOMPARE(settings.GetSetAsideFile(), QString());
        settings.WriteInt(u"Panel"_s, u"Width"_s, 7); // works, but is not saved
        settings.SaveInternal();
        QCOMPARE(settings.ReadInt(u"Panel"_s, u"Width"_s, 0), 7);
    }
    QCOMPARE(FolderContent(mDir->path()), QStringList{u"s.xml"_s});
    QCOMPARE(Kind(file), mode_t(S_IFLNK));
}

void tst_SaveSafetyLinux::AccessList_isKept_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<int>("mode");

    // user, a named user, group, a named group, mask, others
    QTest::newRow("mask that gives more than the group has") << AccessList(6, 4, 0, 0, 4, 0) << 0640;
    QTest::newRow("mask that gives less than the group has") << AccessList(6, 6, 6, 6, 4, 0) << 0640;
    QTest::newRow("entries that deny") << AccessList(6, 0, 4, 0, 4, 4) << 0644;
    QTest::newRow("all permissions") << AccessList(7, 7, 7, 7, 7, 7) << 0777;
}

void tst_SaveSafetyLinux::AccessList_isKept()
{
    QFETCH(const QByteArray, list);
    QFETCH(const int, mode);
    FIND_FILE_SYSTEM_OR_SKIP(kAccessList, list)
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QVERIFY(SetFileAttribute(file, kAccessList, list));
    QCOMPARE(Mode(file), mode);

    QVERIFY(SaveDocument(file, 1));

    QCOMPARE(ReadFile(file), DocumentBytes(1));
    QCOMPARE(FileAttribute(file, kAccessList), std::optional(list));
    QCOMPARE(Mode(file), mode);
}

// A list that new files inherit from their folder does not apply to a replaced file.
void tst_SaveSafetyLinux::AccessList_ofTheFolder()
{
    const QByteArray list = AccessList(6, 6, 4, 4, 6, 0);
    FIND_FILE_SYSTEM_OR_SKIP(kAccessList, list)
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QCOMPARE(chmod(QFile::encodeName(file).constData(), 0660), 0);
    QVERIFY(SetFileAttribute(mDir->path(), "system.posix_acl_default", list));

    QVERIFY(SaveDocument(file, 1));
    QVERIFY(SaveDocument(Path(u"new.xml"_s), 1));

    QCOMPARE(FileAttribute(file, kAccessList), std::nullopt);
    QCOMPARE(Mode(file), 0660);
    QVERIFY(FileAttribute(Path(u"new.xml"_s), kAccessList).has_value());
    QCOMPARE(Mode(Path(u"new.xml"_s)), 0660); // from the folder's list, whatever the umask
}

void tst_SaveSafetyLinux::AccessList_thatCannotBeSet_data()
{
    QTest::addColumn<bool>("folderHasList");

    QTest::newRow("plain folder") << false;
    QTest::newRow("folder with a list for new files") << true;
}

void tst_SaveSafetyLinux::AccessList_thatCannotBeSet()
{
    QFETCH(const bool, folderHasList);
    const QByteArray list = AccessList(6, 4, 0, 0, 6, 4);
    FIND_FILE_SYSTEM_OR_SKIP(kAccessList, list)
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QVERIFY(SetFileAttribute(file, kAccessList, list));
    QCOMPARE(Mode(file), 0664);
    if (folderHasList)
        QVERIFY(SetFileAttribute(mDir->path(), "system.posix_acl_default", list));
    gAttributeError = ENOSPC;
    const auto restore = qScopeGuard([] { gAttributeError = 0; });

    QVERIFY(SaveDocument(file, 1));

    QCOMPARE(ReadFile(file), DocumentBytes(1));
    QCOMPARE(FileAttribute(file, kAccessList), std::nullopt);
    QCOMPARE(Mode(file), 0600); // no permission that the list might have denied
}

void tst_SaveSafetyLinux::AccessList_ofAnotherOwner()
{
    if (geteuid() != 0)
        QSKIP("needs root to create a file of another user");
    const QByteArray list = AccessList(6, 6, 4, 4, 6, 0); // the named user performs the save
    FIND_FILE_SYSTEM_OR_SKIP(kAccessList, list)
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QVERIFY(SetFileAttribute(file, kAccessList, list));
    QCOMPARE(chmod(QFile::encodeName(mDir->path()).constData(), 0777), 0);

    QProcess saver;
    saver.start(QStringLiteral(SAVE_LOOP),
                {u"--user"_s, QString::number(kNamedUser), u"save"_s, file, u"1"_s});
    QVERIFY(saver.waitForFinished(TestSupport::kEventTimeoutMs));
    QCOMPARE(saver.exitCode(), 0);

    QCOMPARE(ReadFile(file), DocumentBytes(1));
    struct stat status = {};
    QCOMPARE(stat(QFile::encodeName(file).constData(), &status), 0);
    QCOMPARE(status.st_uid, kNamedUser);
    // The group of the new owner had no access to the old file.
    QCOMPARE(FileAttribute(file, kAccessList), std::nullopt);
    QCOMPARE(Mode(file), 0600);
}

void tst_SaveSafetyLinux::Attributes_areKept_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("value");

    QTest::newRow("text") << QByteArray("user.comment") << QByteArray("from the plan");
    QTest::newRow("empty") << QByteArray("user.empty") << QByteArray("");
    QTest::newRow("bytes") << QByteArray("user.bytes") << QByteArray("\0a\0\xff", 4);
    QTest::newRow("1,000 bytes") << QByteArray("user.long") << QByteArray(1000, 'x');
}

void tst_SaveSafetyLinux::Attributes_areKept()
{
    QFETCH(const QByteArray, name);
    QFETCH(const QByteArray, value);
    FIND_FILE_SYSTEM_OR_SKIP("user.probe", "1")
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QVERIFY(SetFileAttribute(file, name.constData(), value));
    QVERIFY(SetFileAttribute(file, "user.other", "2"));
    QCOMPARE(chmod(QFile::encodeName(file).constData(), 0640), 0);

    QVERIFY(SaveDocument(file, 1));
    QVERIFY(SaveDocument(file, 2));

    QCOMPARE(ReadFile(file), DocumentBytes(2));
    QCOMPARE(FileAttribute(file, name.constData()), std::optional(value));
    QCOMPARE(FileAttribute(file, "user.other"), std::optional<QByteArray>("2"));
    QCOMPARE(Mode(file), 0640);
}

void tst_SaveSafetyLinux::Attributes_thatCannotBeSet()
{
    FIND_FILE_SYSTEM_OR_SKIP("user.probe", "1")
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QVERIFY(SetFileAttribute(file, "user.comment", "1"));
    QCOMPARE(chmod(QFile::encodeName(file).constData(), 0640), 0);
    gAttributeError = EPERM;
    const auto restore = qScopeGuard([] { gAttributeError = 0; });

    QVERIFY(SaveDocument(file, 1));

    QCOMPARE(ReadFile(file), DocumentBytes(1));
    QCOMPARE(FileAttribute(file, "user.comment"), std::nullopt);
    QCOMPARE(Mode(file), 0640); // without a list, the mode is complete
}

void tst_SaveSafetyLinux::NoLocks_data()
{
    QTest::addColumn<int>("error");

    QTest::newRow("not supported") << EOPNOTSUPP;
    QTest::newRow("no locks left") << ENOLCK;
    QTest::newRow("not for this file") << EINVAL;
    QTest::newRow("not implemented") << ENOSYS;
    QTest::newRow("not allowed") << EACCES;
}

void tst_SaveSafetyLinux::NoLocks()
{
    QFETCH(const int, error);
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QFile old(file);
    QVERIFY(old.open(QIODevice::ReadOnly));
    gLockError = error;
    const auto restore = qScopeGuard([] { gLockError = 0; });

    QVERIFY(SaveDocument(file, 1));

    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
    QCOMPARE(ReadFile(file), AllDocumentBytes().at(1));
    QCOMPARE(old.readAll(), kOld); // replaced, not overwritten
}

void tst_SaveSafetyLinux::TemporaryFile_takenForStale_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<int>("error");

    QTest::newRow("removed, existing file") << true << 0;
    QTest::newRow("removed, new file") << false << 0;
    QTest::newRow("locked, existing file") << true << EWOULDBLOCK;
    QTest::newRow("locked, new file") << false << EWOULDBLOCK;
}

// Another save may take the temporary file for a stale one, and remove it, before it is locked.
void tst_SaveSafetyLinux::TemporaryFile_takenForStale()
{
    QFETCH(const bool, exists);
    QFETCH(const int, error);
    const QString file = Path(u"s.xml"_s);
    if (exists)
        QVERIFY(WriteFile(file, kOld));
    const QByteArray taken = QFile::encodeName(Path(u".s.xml.saving"_s));
    gTakenFile = taken.constData();
    gLockError = error;
    const auto restore = qScopeGuard([] {
        gTakenFile = nullptr;
        gLockError = 0;
    });

    QVERIFY(SaveDocument(file, 1));

    QVERIFY(gTakenFile == nullptr); // the file was removed
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
    QCOMPARE(ReadFile(file), AllDocumentBytes().at(1));
}

QTEST_GUILESS_MAIN(tst_SaveSafetyLinux)
#include "tst_SaveSafetyLinux.moc"
