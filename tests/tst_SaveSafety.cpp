// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/SaveSafetySupport.h"

#include <XmlFiler.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <chrono>
#include <csignal>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace SaveSafety;
using TestSupport::ReadFile;
using TestSupport::WriteFile;

namespace {
constexpr int kKills = 300;
constexpr int kTimeoutMs = 120000; // disks may be slow, and each save waits for them
constexpr uid_t kNobody = 65534;
// The only object that is constructed before main().
const QByteArray kOld = "<Old><!-- not yet replaced --></Old>"; // clazy:exclude=non-pod-global-static

/// Limits the size of files for the lifetime of the guard, as a full disk would.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        mOldHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &mOld);
        const rlimit limit{bytes, mOld.rlim_max};
        mSet = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &mOld);
        std::signal(SIGXFSZ, mOldHandler);
    }
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

    [[nodiscard]] bool IsSet() const { return mSet; }

private:
    rlimit mOld{};
    void (*mOldHandler)(int) = nullptr;
    bool mSet = false;
};

class UmaskGuard
{
public:
    explicit UmaskGuard(mode_t mask)
        : mOld(umask(mask))
    { }
    ~UmaskGuard() { umask(mOld); }
    Q_DISABLE_COPY_MOVE(UmaskGuard)

private:
    mode_t mOld;
};

/// Saves the document with this number in this process.
bool SaveDocument(const QString& path, size_t number)
{
    XmlFiler filer;
    SaveLoopDocuments::Fill(filer, number);
    return filer.SaveAsXmlFile(path);
}

bool ChangeMode(const QString& path, mode_t mode)
{
    return chmod(QFile::encodeName(path).constData(), mode) == 0;
}

bool MakeLink(const QString& target, const QString& path)
{
    return symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0;
}

QString LinkTarget(const QString& path)
{
    QByteArray target(4096, '\0');
    const ssize_t size = readlink(QFile::encodeName(path).constData(), target.data(), size_t(target.size()));
    return QFile::decodeName(target.left(qMax<ssize_t>(size, 0)));
}

} // namespace

class tst_SaveSafety : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void Kill_leavesACompleteFile_data();
    void Kill_leavesACompleteFile();
    void StaleFile_isRemoved_data();
    void StaleFile_isRemoved();
    void StaleFiles_ofSeveralSaves();
    void StaleFile_inUseIsKept();
    void StaleFile_notARegularFile_data();
    void StaleFile_notARegularFile();
    void ParallelSavers();

    void Success_leavesNothingElse_data();
    void Success_leavesNothingElse();
    void Success_replacesLongerContent();

    void FullDisk_existingFile_data();
    void FullDisk_existingFile();
    void FullDisk_newFile();
    void FullDisk_throughALink();
    void FullDisk_exactlyEnough();
    void FullDisk_settingsStayDirty();

    void Permissions_data();
    void Permissions();
    void Permissions_unreadableSettings();
    void Permissions_openedSettings_data();
    void Permissions_openedSettings();

    void Link_data();
    void Link();
    void Link_dangling();
    void Link_danglingIntoMissingFolder();
    void Link_loop();
    void Link_folderIsALink();

    void Mode_isKept_data();
    void Mode_isKept();
    void Mode_ofANewFile_data();
    void Mode_ofANewFile();
    void Mode_throughALink();
    void Owner_isKept();
    void Owner_changes_data();
    void Owner_changes();

    void Target_thatCannotBeWritten_data();
    void Target_thatCannotBeWritten();
    void Target_pipe();
    void Target_longestName();
    void Target_relativePath();
    void Target_searchPath();
    void Target_strangeNames_data();
    void Target_strangeNames();

private:
    [[nodiscard]] QString Path(const QString& name) const { return mDir->filePath(name); }
    /// Runs SaveLoop until it ends. \return its exit code; -1 if it was killed or hangs
    int RunSaver(const QStringList& arguments, QByteArray* output = nullptr) const;
    /// Runs SaveLoop without root privileges.
    int RunSaverWithoutRights(const QStringList& arguments, QByteArray* output = nullptr) const;
    /// Kills a save at a random moment; the first time, only after SaveLoop has saved a second document.
    /// \param seen  receives the numbers of the documents that the file contained; -1 for anything else
    void KillOneSaver(const QString& command, const QString& file, QRandomGenerator& random,
                      QSet<qsizetype>& seen);

    QList<QByteArray> mDocuments;
    std::unique_ptr<QTemporaryDir> mDir;
};

void tst_SaveSafety::initTestCase()
{
    mDocuments = AllDocumentBytes();
    for (const QByteArray& document : std::as_const(mDocuments))
        QVERIFY(!document.isEmpty());
    QVERIFY(mDocuments.constLast().size() > 100'000); // worth interrupting
}

void tst_SaveSafety::init()
{
    TestSupport::FailOnAnyMessage();
    mDir = std::make_unique<QTemporaryDir>();
    QVERIFY(mDir->isValid());
}

void tst_SaveSafety::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

int tst_SaveSafety::RunSaver(const QStringList& arguments, QByteArray* output) const
{
    QProcess saver;
    saver.start(QStringLiteral(SAVE_LOOP), arguments);
    if (!saver.waitForFinished(kTimeoutMs) || saver.exitStatus() != QProcess::NormalExit)
        return -1;
    if (output != nullptr)
        *output = saver.readAllStandardOutput();
    return saver.exitCode();
}

int tst_SaveSafety::RunSaverWithoutRights(const QStringList& arguments, QByteArray* output) const
{
    if (geteuid() != 0)
        return RunSaver(arguments, output);
    return RunSaver(QStringList({u"--user"_s, QString::number(kNobody)}) + arguments, output);
}

// Killed saves

void tst_SaveSafety::KillOneSaver(const QString& command, const QString& file, QRandomGenerator& random,
                                  QSet<qsizetype>& seen)
{
    QProcess saver;
    saver.start(QStringLiteral(SAVE_LOOP), {command, file});
    QVERIFY(saver.waitForStarted(kTimeoutMs));
    QVERIFY(saver.waitForReadyRead(kTimeoutMs));

    // Until a random moment, every read of the file must yield a complete document.
    const bool isFirst = seen.isEmpty();
    const QDeadlineTimer latest(kTimeoutMs);
    const QDeadlineTimer end(std::chrono::microseconds(random.bounded(8'000)), Qt::PreciseTimer);
    do {
        seen.insert(mDocuments.indexOf(ReadFile(file)));
    } while (!end.hasExpired() || (isFirst && seen.size() < 2 && !latest.hasExpired()));
    saver.kill();
    QVERIFY(saver.waitForFinished(kTimeoutMs));
    QCOMPARE(saver.exitStatus(), QProcess::CrashExit);
}

void tst_SaveSafety::Kill_leavesACompleteFile_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("kills");

    QTest::newRow("XmlFiler") << u"loop"_s << kKills * 2 / 3;
    QTest::newRow("Settings") << u"settings"_s << kKills / 3;
}

void tst_SaveSafety::Kill_leavesACompleteFile()
{
    QFETCH(const QString, command);
    QFETCH(const int, kills);
    const QString file = Path(u"s.xml"_s);
    QRandomGenerator random(20261121);
    QSet<qsizetype> seen;

    for (int i = 0; i < kills; ++i) {
        QFile::remove(file); // each process starts without a file
        KillOneSaver(command, file, random, seen);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(!seen.contains(-1));
        // The next save removes what this one may have left, so nothing accumulates.
        QVERIFY2(FolderContent(mDir->path()).size() <= 2, qPrintable(FolderContent(mDir->path()).join(u' ')));
        const qsizetype number = mDocuments.indexOf(ReadFile(file));
        QVERIFY2(number >= 0, qPrintable(u"damaged after kill %1"_s.arg(i)));
        seen.insert(number);
    }
    QVERIFY(SaveDocument(file, 0));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
    QVERIFY(seen.size() > 1); // the process did replace one document with another
}

void tst_SaveSafety::StaleFile_isRemoved_data()
{
    QTest::addColumn<int>("mode");

    QTest::newRow("of an existing file") << 0600;
    QTest::newRow("of a new file") << 0644;
    QTest::newRow("of a new file, private") << 0400;
}

void tst_SaveSafety::StaleFile_isRemoved()
{
    QFETCH(const int, mode);
    QVERIFY(WriteFile(Path(u"s.xml"_s), kOld));
    QVERIFY(ChangeMode(Path(u"s.xml"_s), 0640));
    QVERIFY(WriteFile(Path(u".s.xml.saving"_s), mDocuments.at(3).left(1000)));
    QVERIFY(ChangeMode(Path(u".s.xml.saving"_s), mode_t(mode)));

    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));

    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(1));
    QCOMPARE(Mode(Path(u"s.xml"_s)), 0640);
}

void tst_SaveSafety::StaleFiles_ofSeveralSaves()
{
    for (const int number : {0, 1, 2, 7, 31, 63})
        QVERIFY(
            WriteFile(Path(u".s.xml.saving"_s + (number == 0 ? QString() : QString::number(number))), kOld));
    const QStringList others = {u".s.xml.savings"_s, u".t.xml.saving1"_s};
    for (const QString& other : others)
        QVERIFY(WriteFile(Path(other), kOld));

    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));

    QCOMPARE(FolderContent(mDir->path()), others + QStringList{u"s.xml"_s});
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(1));
}

void tst_SaveSafety::StaleFile_inUseIsKept()
{
    const QString other = Path(u".s.xml.saving"_s);
    QVERIFY(WriteFile(other, "of another saver"));
    const int file = open(QFile::encodeName(other).constData(), O_RDONLY);
    const auto closeFile = qScopeGuard([file] { close(file); });
    QCOMPARE(flock(file, LOCK_EX | LOCK_NB), 0);

    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(1));
    QCOMPARE(ReadFile(other), QByteArray("of another saver"));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u".s.xml.saving"_s, u"s.xml"_s}));

    QCOMPARE(flock(file, LOCK_UN), 0); // the other save was killed
    QVERIFY(SaveDocument(Path(u"s.xml"_s), 2));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
}

void tst_SaveSafety::StaleFile_notARegularFile_data()
{
    QTest::addColumn<QString>("kind");

    QTest::newRow("link") << u"link"_s;
    QTest::newRow("dangling link") << u"dangling"_s;
    QTest::newRow("folder with content") << u"folder"_s;
    QTest::newRow("pipe") << u"pipe"_s;
}

void tst_SaveSafety::StaleFile_notARegularFile()
{
    QFETCH(const QString, kind);
    const QString place = Path(u".s.xml.saving"_s);
    QVERIFY(WriteFile(Path(u"victim"_s), kOld));
    if (kind == u"folder"_s) {
        QVERIFY(QDir().mkdir(place));
        QVERIFY(WriteFile(place + u"/file"_s, kOld));
    } else if (kind == u"pipe"_s) {
        QCOMPARE(mkfifo(QFile::encodeName(place).constData(), 0600), 0);
    } else {
        QVERIFY(MakeLink(kind == u"link"_s ? u"victim"_s : u"none"_s, place));
    }

    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(1));
    QCOMPARE(Kind(Path(u"s.xml"_s)), mode_t(S_IFREG));
    QCOMPARE(ReadFile(Path(u"victim"_s)), kOld);
    QVERIFY(!QFile::exists(Path(u"none"_s)));
    if (kind == u"folder"_s)
        QCOMPARE(ReadFile(place + u"/file"_s), kOld);
}

void tst_SaveSafety::ParallelSavers()
{
    const QString file = Path(u"s.xml"_s);
    QVERIFY(SaveDocument(file, 0));
    std::vector<std::unique_ptr<QProcess>> savers;
    for (int i = 0; i < 3; ++i) {
        savers.push_back(std::make_unique<QProcess>());
        savers.back()->start(QStringLiteral(SAVE_LOOP), {u"count"_s, file, u"60"_s});
    }
    for (const auto& saver : savers)
        QVERIFY(saver->waitForReadyRead(kTimeoutMs));
    for (int looks = 0; looks < 100; ++looks)
        QVERIFY(mDocuments.contains(ReadFile(file)));
    for (const auto& saver : savers) {
        QVERIFY(saver->waitForFinished(kTimeoutMs));
        QCOMPARE(saver->exitStatus(), QProcess::NormalExit);
        QCOMPARE(saver->exitCode(), 0);
    }
    QVERIFY(mDocuments.contains(ReadFile(file)));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
}

// Successful saves

void tst_SaveSafety::Success_leavesNothingElse_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<int>("number");

    for (int i = 0; i < int(SaveLoopDocuments::kSizes.size()); ++i) {
        QTest::addRow("new file, document %d", i) << false << i;
        QTest::addRow("existing file, document %d", i) << true << i;
    }
}

void tst_SaveSafety::Success_leavesNothingElse()
{
    QFETCH(const bool, exists);
    QFETCH(const int, number);
    if (exists)
        QVERIFY(WriteFile(Path(u"s.xml"_s), kOld));

    QVERIFY(SaveDocument(Path(u"s.xml"_s), size_t(number)));

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(number));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
}

void tst_SaveSafety::Success_replacesLongerContent()
{
    QVERIFY(SaveDocument(Path(u"s.xml"_s), 3));
    QVERIFY(SaveDocument(Path(u"s.xml"_s), 0));

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(0));
}

// Full disk

void tst_SaveSafety::FullDisk_existingFile_data()
{
    QTest::addColumn<qint64>("room");

    const qint64 size = mDocuments.constLast().size();
    QTest::newRow("none") << qint64(0);
    QTest::newRow("one byte") << qint64(1);
    QTest::newRow("a page") << qint64(4096);
    QTest::newRow("16 KiB, one buffer") << qint64(16384);
    QTest::newRow("half") << size / 2;
    QTest::newRow("all but one byte") << size - 1;
}

void tst_SaveSafety::FullDisk_existingFile()
{
    QFETCH(const qint64, room);
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    bool limited = false;
    bool saved = false;
    {
        const FileSizeLimit limit{rlim_t(room)};
        limited = limit.IsSet();
        saved = SaveDocument(file, static_cast<std::size_t>(mDocuments.size()) - 1);
    }
    QVERIFY(limited);
    QCOMPARE(saved, false);
    QCOMPARE(ReadFile(file), kOld);
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));

    QVERIFY(SaveDocument(file, 3)); // there is space again
    QCOMPARE(ReadFile(file), mDocuments.at(3));
}

void tst_SaveSafety::FullDisk_newFile()
{
    bool saved = true;
    {
        const FileSizeLimit limit(1000);
        saved = SaveDocument(Path(u"s.xml"_s), 3);
    }
    QCOMPARE(saved, false);
    QCOMPARE(FolderContent(mDir->path()), QStringList());
}

void tst_SaveSafety::FullDisk_throughALink()
{
    QVERIFY(QDir(mDir->path()).mkdir(u"real"_s));
    QVERIFY(WriteFile(Path(u"real/s.xml"_s), kOld));
    QVERIFY(MakeLink(u"real/s.xml"_s, Path(u"link.xml"_s)));
    bool saved = true;
    {
        const FileSizeLimit limit(1000);
        saved = SaveDocument(Path(u"link.xml"_s), 3);
    }
    QCOMPARE(saved, false);
    QCOMPARE(ReadFile(Path(u"real/s.xml"_s)), kOld);
    QCOMPARE(FolderContent(Path(u"real"_s)), QStringList({u"s.xml"_s}));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"link.xml"_s, u"real"_s}));
}

void tst_SaveSafety::FullDisk_exactlyEnough()
{
    bool saved = false;
    {
        const FileSizeLimit limit{rlim_t(mDocuments.constLast().size())};
        saved = SaveDocument(Path(u"s.xml"_s), 3);
    }
    QCOMPARE(saved, true);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.constLast());
}

void tst_SaveSafety::FullDisk_settingsStayDirty()
{
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, "<Settings><P V=\"0\"/></Settings>"));
    const QByteArray old = ReadFile(file);
    {
        Settings settings(file, QString());
        {
            const FileSizeLimit limit(10);
            settings.WriteInt(u"P"_s, u"V"_s, 1);
            settings.Save();
            settings.SaveInternal();
        }
        QCOMPARE(ReadFile(file), old);
        QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
        settings.WriteInt(u"P"_s, u"V"_s, 2); // tries again, because no save has succeeded yet
        QCOMPARE(Settings(file, QString()).ReadInt(u"P"_s, u"V"_s, 0), 2);
        {
            const FileSizeLimit limit(10);
            settings.WriteInt(u"P"_s, u"V"_s, 3);
            settings.Save();
        }
        QCOMPARE(Settings(file, QString()).ReadInt(u"P"_s, u"V"_s, 0), 2);
    }
    QCOMPARE(Settings(file, QString()).ReadInt(u"P"_s, u"V"_s, 0), 3); // saved by the destructor
}

// Missing permissions

void tst_SaveSafety::Permissions_data()
{
    QTest::addColumn<int>("folderMode");
    QTest::addColumn<int>("fileMode"); // -1: there is no file
    QTest::addColumn<bool>("saved");

    QTest::newRow("all permissions") << 0755 << 0644 << true;
    QTest::newRow("all permissions, no file yet") << 0755 << -1 << true;
    QTest::newRow("read-only folder, writable file") << 0555 << 0644 << true;
    QTest::newRow("read-only folder, private file") << 0555 << 0600 << true;
    QTest::newRow("read-only folder, no file yet") << 0555 << -1 << false;
    QTest::newRow("read-only folder and file") << 0555 << 0444 << false;
    QTest::newRow("read-only file") << 0755 << 0444 << false;
    QTest::newRow("file without permissions") << 0755 << 0000 << false;
    QTest::newRow("write-only file") << 0755 << 0200 << true;
    QTest::newRow("folder that cannot be listed") << 0333 << 0644 << true;
    QTest::newRow("folder that cannot be entered") << 0600 << 0644 << false;
    QTest::newRow("sticky folder") << 01777 << 0644 << true;
}

void tst_SaveSafety::Permissions()
{
    QFETCH(const int, folderMode);
    QFETCH(const int, fileMode);
    QFETCH(const bool, saved);
    const QString folder = Path(u"folder"_s);
    const QString file = folder + u"/s.xml"_s;
    QVERIFY(QDir().mkdir(folder));
    if (fileMode >= 0) {
        QVERIFY(WriteFile(file, kOld));
        QVERIFY(ChangeMode(file, mode_t(fileMode)));
    }
    if (geteuid() == 0) {
        QVERIFY(ChangeMode(mDir->path(), 0755));
        QCOMPARE(chown(QFile::encodeName(folder).constData(), kNobody, kNobody), 0);
        if (fileMode >= 0)
            QCOMPARE(chown(QFile::encodeName(file).constData(), kNobody, kNobody), 0);
    }
    QVERIFY(ChangeMode(folder, mode_t(folderMode)));

    const int result = RunSaverWithoutRights({u"save"_s, file, u"2"_s});

    QVERIFY(ChangeMode(folder, 0755));
    QCOMPARE(result, saved ? 0 : 1);
    QCOMPARE(FolderContent(folder), saved || fileMode >= 0 ? QStringList({u"s.xml"_s}) : QStringList());
    if (fileMode >= 0) {
        QCOMPARE(Mode(file), fileMode);
        QVERIFY(ChangeMode(file, 0600));
    }
    if (saved || fileMode >= 0)
        QCOMPARE(ReadFile(file), saved ? mDocuments.at(2) : kOld);
}

void tst_SaveSafety::Permissions_unreadableSettings()
{
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, "<Settings/>"));
    if (geteuid() == 0) {
        QCOMPARE(chown(QFile::encodeName(mDir->path()).constData(), kNobody, kNobody), 0);
        QCOMPARE(chown(QFile::encodeName(file).constData(), kNobody, kNobody), 0);
    }
    QVERIFY(ChangeMode(file, 0200)); // writable, but not readable

    QByteArray output;
    QCOMPARE(RunSaverWithoutRights({u"overwrite"_s, file}, &output), 0);

    QCOMPARE(output, QByteArray("empty\n"));
    QVERIFY(ChangeMode(file, 0600));
    QCOMPARE(ReadFile(file), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<New V=\"1\"/>\n"));
}

void tst_SaveSafety::Permissions_openedSettings_data()
{
    QTest::addColumn<int>("folderMode");
    QTest::addColumn<int>("fileMode");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("state");

    const QByteArray good = "<Settings/>";
    const QByteArray truncated = "<Settings";
    QTest::newRow("writable, not readable") << 0755 << 0200 << good << QByteArray("unreadable\n");
    QTest::newRow("neither writable nor readable") << 0755 << 0000 << good << QByteArray("unreadable\n");
    QTest::newRow("truncated, not readable") << 0755 << 0200 << truncated << QByteArray("unreadable\n");
    QTest::newRow("folder that cannot be entered") << 0600 << 0644 << good << QByteArray("unreadable\n");
    QTest::newRow("truncated, cannot be renamed") << 0555 << 0644 << truncated << QByteArray("unreadable\n");
}

void tst_SaveSafety::Permissions_openedSettings()
{
    QFETCH(const int, folderMode);
    QFETCH(const int, fileMode);
    QFETCH(const QByteArray, content);
    QFETCH(const QByteArray, state);
    const QString folder = Path(u"folder"_s);
    const QString file = folder + u"/s.xml"_s;
    QVERIFY(QDir().mkdir(folder));
    QVERIFY(WriteFile(file, content));
    if (geteuid() == 0) {
        QVERIFY(ChangeMode(mDir->path(), 0755));
        QCOMPARE(chown(QFile::encodeName(folder).constData(), kNobody, kNobody), 0);
        QCOMPARE(chown(QFile::encodeName(file).constData(), kNobody, kNobody), 0);
    }
    QVERIFY(ChangeMode(file, mode_t(fileMode)));
    QVERIFY(ChangeMode(folder, mode_t(folderMode)));

    QByteArray output;
    const int result = RunSaverWithoutRights({u"open"_s, file}, &output);

    QVERIFY(ChangeMode(folder, 0755));
    QCOMPARE(result, 0);
    QCOMPARE(output, state);
    QCOMPARE(FolderContent(folder), QStringList({u"s.xml"_s}));
    QVERIFY(ChangeMode(file, 0600));
    QCOMPARE(ReadFile(file), content);
}

// Links

void tst_SaveSafety::Link_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("links"); // place, target, place, ...; the last place is saved to

    QTest::newRow("in the same folder") << u"real.xml"_s << QStringList({u"l.xml"_s, u"real.xml"_s});
    QTest::newRow("into another folder") << u"sub/real.xml"_s << QStringList({u"l.xml"_s, u"sub/real.xml"_s});
    QTest::newRow("out of a folder") << u"real.xml"_s << QStringList({u"sub/l.xml"_s, u"../real.xml"_s});
    QTest::newRow("absolute") << u"real.xml"_s << QStringList({u"sub/l.xml"_s, u"/real.xml"_s});
    QTest::newRow("chain of two") << u"real.xml"_s
                                  << QStringList({u"a.xml"_s, u"real.xml"_s, u"b.xml"_s, u"a.xml"_s});
    QTest::newRow("chain of four across folders")
        << u"sub/real.xml"_s
        << QStringList({u"a.xml"_s, u"sub/real.xml"_s, u"sub/b.xml"_s, u"../a.xml"_s, u"c.xml"_s,
                        u"sub/b.xml"_s, u"sub/d.xml"_s, u"../c.xml"_s});
}

void tst_SaveSafety::Link()
{
    QFETCH(const QString, file);
    QFETCH(const QStringList, links);
    QVERIFY(QDir(mDir->path()).mkdir(u"sub"_s));
    QVERIFY(WriteFile(Path(file), kOld));
    for (int i = 0; i < links.size(); i += 2) {
        const QString& target = links.at(i + 1);
        QVERIFY(MakeLink(target.startsWith(u'/') ? mDir->path() + target : target, Path(links.at(i))));
    }
    const QString last = Path(links.at(links.size() - 2));
    QCOMPARE(ReadFile(last), kOld);

    QVERIFY(SaveDocument(last, 1));

    QCOMPARE(Kind(Path(file)), mode_t(S_IFREG));
    QCOMPARE(ReadFile(Path(file)), mDocuments.at(1));
    for (int i = 0; i < links.size(); i += 2) {
        QCOMPARE(Kind(Path(links.at(i))), mode_t(S_IFLNK));
        QVERIFY(LinkTarget(Path(links.at(i))).endsWith(links.at(i + 1)));
    }
    const qsizetype entries = FolderContent(mDir->path()).size() + FolderContent(Path(u"sub"_s)).size();
    QCOMPARE(entries, links.size() / 2 + 2); // the links, the file and the folder
}

void tst_SaveSafety::Link_dangling()
{
    QVERIFY(QDir(mDir->path()).mkdir(u"sub"_s));
    QVERIFY(MakeLink(u"sub/new.xml"_s, Path(u"a.xml"_s)));
    QVERIFY(MakeLink(u"a.xml"_s, Path(u"b.xml"_s)));

    QVERIFY(SaveDocument(Path(u"b.xml"_s), 1));

    QCOMPARE(LinkTarget(Path(u"a.xml"_s)), u"sub/new.xml"_s);
    QCOMPARE(LinkTarget(Path(u"b.xml"_s)), u"a.xml"_s);
    QCOMPARE(ReadFile(Path(u"sub/new.xml"_s)), mDocuments.at(1));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"a.xml"_s, u"b.xml"_s, u"sub"_s}));
    QCOMPARE(FolderContent(Path(u"sub"_s)), QStringList({u"new.xml"_s}));
}

void tst_SaveSafety::Link_danglingIntoMissingFolder()
{
    QVERIFY(MakeLink(u"none/new.xml"_s, Path(u"a.xml"_s)));

    QCOMPARE(SaveDocument(Path(u"a.xml"_s), 1), false);

    QCOMPARE(LinkTarget(Path(u"a.xml"_s)), u"none/new.xml"_s);
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"a.xml"_s}));
}

void tst_SaveSafety::Link_loop()
{
    QVERIFY(MakeLink(u"b.xml"_s, Path(u"a.xml"_s)));
    QVERIFY(MakeLink(u"a.xml"_s, Path(u"b.xml"_s)));
    QVERIFY(MakeLink(u"self.xml"_s, Path(u"self.xml"_s)));

    QCOMPARE(SaveDocument(Path(u"a.xml"_s), 1), false);
    QCOMPARE(SaveDocument(Path(u"self.xml"_s), 1), false);

    QCOMPARE(LinkTarget(Path(u"a.xml"_s)), u"b.xml"_s);
    QCOMPARE(LinkTarget(Path(u"b.xml"_s)), u"a.xml"_s);
    QCOMPARE(LinkTarget(Path(u"self.xml"_s)), u"self.xml"_s);
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"a.xml"_s, u"b.xml"_s, u"self.xml"_s}));
}

void tst_SaveSafety::Link_folderIsALink()
{
    QVERIFY(QDir(mDir->path()).mkdir(u"sub"_s));
    QVERIFY(MakeLink(u"sub"_s, Path(u"alias"_s)));

    QVERIFY(SaveDocument(Path(u"alias/s.xml"_s), 1));
    QVERIFY(SaveDocument(Path(u"alias/s.xml"_s), 2));

    QCOMPARE(ReadFile(Path(u"sub/s.xml"_s)), mDocuments.at(2));
    QCOMPARE(FolderContent(Path(u"sub"_s)), QStringList({u"s.xml"_s}));
    QCOMPARE(Kind(Path(u"alias"_s)), mode_t(S_IFLNK));
}

// Permissions

void tst_SaveSafety::Mode_isKept_data()
{
    QTest::addColumn<int>("mode");

    for (const int mode : {0600, 0640, 0644, 0660, 0664, 0666, 0755, 0777, 04755, 02640, 01644})
        QTest::addRow("%o", unsigned(mode)) << mode;
}

void tst_SaveSafety::Mode_isKept()
{
    QFETCH(const int, mode);
    const UmaskGuard mask(027); // must not matter
    QVERIFY(WriteFile(Path(u"s.xml"_s), kOld));
    QVERIFY(ChangeMode(Path(u"s.xml"_s), mode_t(mode)));

    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));

    QCOMPARE(Mode(Path(u"s.xml"_s)), mode);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(1));
}

void tst_SaveSafety::Mode_ofANewFile_data()
{
    QTest::addColumn<int>("mask");

    for (const int mask : {0, 02, 022, 027, 077})
        QTest::addRow("mask %o", unsigned(mask)) << mask;
}

void tst_SaveSafety::Mode_ofANewFile()
{
    QFETCH(const int, mask);
    {
        const UmaskGuard guard{mode_t(mask)};
        QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));
    }
    QCOMPARE(Mode(Path(u"s.xml"_s)), 0666 & ~mask);
}

void tst_SaveSafety::Mode_throughALink()
{
    QVERIFY(WriteFile(Path(u"s.xml"_s), kOld));
    QVERIFY(ChangeMode(Path(u"s.xml"_s), 0600));
    QVERIFY(MakeLink(u"s.xml"_s, Path(u"link.xml"_s)));

    QVERIFY(SaveDocument(Path(u"link.xml"_s), 1));

    QCOMPARE(Mode(Path(u"s.xml"_s)), 0600);
}

void tst_SaveSafety::Owner_isKept()
{
    if (geteuid() != 0)
        QSKIP("needs root to create a file of another user");
    const QByteArray path = QFile::encodeName(Path(u"s.xml"_s));
    QVERIFY(WriteFile(Path(u"s.xml"_s), kOld));
    QCOMPARE(chown(path.constData(), kNobody, 12345), 0);
    QVERIFY(ChangeMode(Path(u"s.xml"_s), 0640));

    QVERIFY(SaveDocument(Path(u"s.xml"_s), 1));

    struct stat status;
    QCOMPARE(stat(path.constData(), &status), 0);
    QCOMPARE(status.st_uid, kNobody);
    QCOMPARE(status.st_gid, gid_t(12345));
    QCOMPARE(Mode(Path(u"s.xml"_s)), 0640);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(1));
}

void tst_SaveSafety::Owner_changes_data()
{
    QTest::addColumn<uid_t>("owner");
    QTest::addColumn<gid_t>("group");
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");

    constexpr gid_t kOtherGroup = 12345;
    QTest::newRow("set-user-id of another owner") << uid_t(0) << gid_t(kNobody) << 04666 << 0666;
    QTest::newRow("set-group-id of another owner") << uid_t(0) << gid_t(kNobody) << 02676 << 0676;
    QTest::newRow("both, another group") << kNobody << kOtherGroup << 06777 << 0777;
    QTest::newRow("both, the same owner") << kNobody << gid_t(kNobody) << 06775 << 06775;
    QTest::newRow("the new group had no permissions") << kNobody << kOtherGroup << 0640 << 0600;
    QTest::newRow("the new group had permission to read") << kNobody << kOtherGroup << 0664 << 0644;
    QTest::newRow("the old group had no permissions") << kNobody << kOtherGroup << 0606 << 0600;
}

void tst_SaveSafety::Owner_changes()
{
    QFETCH(const uid_t, owner);
    QFETCH(const gid_t, group);
    QFETCH(const int, before);
    QFETCH(const int, after);
    if (geteuid() != 0)
        QSKIP("needs root to create a file of another user");
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, kOld));
    QCOMPARE(chown(QFile::encodeName(file).constData(), owner, group), 0);
    QVERIFY(ChangeMode(file, mode_t(before)));
    QVERIFY(ChangeMode(mDir->path(), 0777));

    QCOMPARE(RunSaverWithoutRights({u"save"_s, file, u"1"_s}), 0);

    struct stat status;
    QCOMPARE(stat(QFile::encodeName(file).constData(), &status), 0);
    QCOMPARE(status.st_uid, kNobody);
    QCOMPARE(status.st_gid, gid_t(kNobody));
    QCOMPARE(Mode(file), after);
    QCOMPARE(ReadFile(file), mDocuments.at(1));
}

// Targets that are not regular files

void tst_SaveSafety::Target_thatCannotBeWritten_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("no name") << QString();
    QTest::newRow("directory") << u"folder"_s;
    QTest::newRow("directory with a slash") << u"folder/"_s;
    QTest::newRow("link to a directory") << u"link"_s;
    QTest::newRow("missing folder") << u"none/s.xml"_s;
    QTest::newRow("a file as the folder") << u"file/s.xml"_s;
    QTest::newRow("name too long") << QString(256, u'x');
    QTest::newRow("path too long") << QString(5'000, u'x');
    QTest::newRow("NUL in the name") << u"a"_s + QChar(0) + u"b"_s;
    QTest::newRow("link to a file within a file") << u"broken"_s;
}

void tst_SaveSafety::Target_thatCannotBeWritten()
{
    QFETCH(const QString, name);
    QVERIFY(QDir(mDir->path()).mkdir(u"folder"_s));
    QVERIFY(WriteFile(Path(u"file"_s), kOld));
    QVERIFY(MakeLink(u"folder"_s, Path(u"link"_s)));
    QVERIFY(MakeLink(u"file/s.xml"_s, Path(u"broken"_s)));
    const QStringList before = FolderContent(mDir->path());

    QCOMPARE(SaveDocument(name.isEmpty() ? QString() : Path(name), 1), false);

    QCOMPARE(FolderContent(mDir->path()), before);
    QCOMPARE(FolderContent(Path(u"folder"_s)), QStringList());
    QCOMPARE(ReadFile(Path(u"file"_s)), kOld);
}

void tst_SaveSafety::Target_pipe()
{
    const QByteArray path = QFile::encodeName(Path(u"pipe"_s));
    QCOMPARE(mkfifo(path.constData(), 0600), 0);
    const int reader = open(path.constData(), O_RDONLY | O_NONBLOCK);
    QVERIFY(reader >= 0);
    const auto closeReader = qScopeGuard([reader] { close(reader); });

    QVERIFY(SaveDocument(Path(u"pipe"_s), 1)); // fits into a pipe's buffer

    QByteArray content(65536, '\0');
    content.resize(qMax<ssize_t>(0, read(reader, content.data(), size_t(content.size()))));
    QCOMPARE(content, mDocuments.at(1));
    QCOMPARE(Kind(Path(u"pipe"_s)), mode_t(S_IFIFO));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"pipe"_s}));
}

void tst_SaveSafety::Target_longestName()
{
    const QString file = Path(QString(255, u'x'));

    QVERIFY(SaveDocument(file, 1));
    QVERIFY(SaveDocument(file, 2));

    QCOMPARE(ReadFile(file), mDocuments.at(2));
    QCOMPARE(FolderContent(mDir->path()), QStringList({QString(255, u'x')}));

    // Saving is atomic nevertheless, although a temporary file beside it would have too long a name.
    bool saved = true;
    {
        const FileSizeLimit limit(1000);
        saved = SaveDocument(file, 3);
    }
    QCOMPARE(saved, false);
    QCOMPARE(ReadFile(file), mDocuments.at(2));
}

void tst_SaveSafety::Target_relativePath()
{
    const QString startFolder = QDir::currentPath();
    QVERIFY(QDir::setCurrent(mDir->path()));
    const auto restore = qScopeGuard([&] { QDir::setCurrent(startFolder); });

    QVERIFY(SaveDocument(u"s.xml"_s, 1));
    QVERIFY(SaveDocument(u"./s.xml"_s, 2));

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), mDocuments.at(2));
    QCOMPARE(FolderContent(mDir->path()), QStringList({u"s.xml"_s}));
}

void tst_SaveSafety::Target_searchPath()
{
    const QString startFolder = QDir::currentPath();
    const QString folder = Path(u"found"_s);
    const QString elsewhere = Path(u"elsewhere"_s);
    QVERIFY(QDir().mkpath(folder) && QDir().mkpath(elsewhere) && QDir::setCurrent(elsewhere));
    QDir::setSearchPaths(u"saves"_s, {folder});
    const auto restore = qScopeGuard([&] {
        QDir::setCurrent(startFolder);
        QDir::setSearchPaths(u"saves"_s, {});
    });
    QVERIFY(WriteFile(folder + u"/s.xml"_s, kOld));

    QVERIFY(SaveDocument(u"saves:s.xml"_s, 1)); // where a load finds the file
    QVERIFY(SaveDocument(u"saves:new.xml"_s, 2)); // a new file has exactly this name

    QCOMPARE(ReadFile(folder + u"/s.xml"_s), mDocuments.at(1));
    QCOMPARE(FolderContent(folder), QStringList({u"s.xml"_s}));
    QCOMPARE(FolderContent(elsewhere), QStringList({u"saves:new.xml"_s}));
}

void tst_SaveSafety::Target_strangeNames_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("beyond ASCII") << u"Größe \U0001F600.xml"_s;
    QTest::newRow("pattern of a temporary file") << u"XXXXXX"_s;
    QTest::newRow("pattern in the middle") << u"aXXXXXXXXb.xml"_s;
    QTest::newRow("percent signs") << u"%1%s%n.xml"_s;
    QTest::newRow("blanks and a line break") << u" a\nb "_s;
    QTest::newRow("hidden") << u".s"_s;
    QTest::newRow("backslash") << u"a\\b"_s;
}

void tst_SaveSafety::Target_strangeNames()
{
    QFETCH(const QString, name);

    QVERIFY(SaveDocument(Path(name), 1));
    QVERIFY(SaveDocument(Path(name), 2));

    QCOMPARE(ReadFile(Path(name)), mDocuments.at(2));
    QCOMPARE(FolderContent(mDir->path()), QStringList({name}));
}

QTEST_GUILESS_MAIN(tst_SaveSafety)
#include "tst_SaveSafety.moc"
