// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"
#include "platform/Platform_p.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>
#include <cstring>
#include <optional>
#include <type_traits>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace TestSupport;

namespace {

// Changes the current folder for the lifetime of the guard.
class CurrentFolderGuard
{
public:
    explicit CurrentFolderGuard(const QString& folder)
        : mSaved(QDir::currentPath())
    {
        QDir::setCurrent(folder);
    }
    ~CurrentFolderGuard() { QDir::setCurrent(mSaved); }
    Q_DISABLE_COPY_MOVE(CurrentFolderGuard)

private:
    QString mSaved;
};

// Foundation removes "/private" from a path that also exists without it: /private/var/x becomes /var/x.
QString WithoutPrivate(const QString& path)
{
    constexpr QLatin1StringView kPrivate("/private");
    return path.startsWith(kPrivate + "/"_L1) ? path.sliced(kPrivate.size()) : path;
}

QString SymbolicLinkTarget(const QString& path)
{
    return WithoutPrivate(GeneralUtil::GetSymbolicLinkTarget(path));
}

} // namespace

class tst_GeneralUtilEnvironment : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void AppPaths();
    void AppDataPaths();
    void FixedResults();
    void RegistryKeyExists_data();
    void RegistryKeyExists();
    void GetSystemDirectory();

    void GetModulePath_data();
    void GetModulePath();
    void GetModulePath_onlyWhileLoaded();
    void GetModulePath_firstOfTwoInLoadOrder();
    void GetModulePath_nameThatEndsLikeAnother();
    void GetModulePath_programIsNotALibrary();

    void IsProcessRunning();

    void GetSymbolicLinkTarget_data();
    void GetSymbolicLinkTarget();
    void GetSymbolicLinkTarget_relativePath();
    void GetSymbolicLinkTarget_emptyPath();

    void FindLocaleFile_data();
    void FindLocaleFile();
    void FindLocaleFile_folderOrder();
    void FindLocaleFile_applicationFolder();
    void FindLocaleFile_listedFolderBeforeApplicationFolder();
    void FindLocaleFile_emptyLocaleIsTheSystems();
    void FindLocaleFile_relativeFolder();
    void FindLocaleFile_foundWithoutApplication();

    void OutputDebugString_silentByDefault();
    void OutputDebugString_text();
    void OutputDebugString_wideText();

private:
    [[nodiscard]] QString MakeFile(const QString& path);

    std::optional<QTemporaryDir> mDir;
    QString mRoot; ///< the test's folder, without links
};

void tst_GeneralUtilEnvironment::init()
{
    FailOnAnyMessage();
    mDir.emplace();
    QVERIFY(mDir->isValid());
    mRoot = QFileInfo(mDir->path()).canonicalFilePath();
}

void tst_GeneralUtilEnvironment::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

// Creates a file and the folders above it, at \a path in the test's folder. \return its full path
QString tst_GeneralUtilEnvironment::MakeFile(const QString& path)
{
    const QFileInfo info(mRoot + u'/' + path);
    const bool made = QDir().mkpath(info.absolutePath()) && WriteFile(info.filePath(), "content");
    return made ? info.filePath() : u"(not made)"_s;
}

void tst_GeneralUtilEnvironment::AppPaths()
{
    const QFileInfo program(QCoreApplication::applicationFilePath());
    QVERIFY(program.isAbsolute());

    QCOMPARE(GeneralUtil::GetAppFilePath(), QDir::cleanPath(program.filePath()));
    QCOMPARE(GeneralUtil::GetAppDirPath(), QDir::cleanPath(program.path()));
    QCOMPARE(QFileInfo(GeneralUtil::GetAppFilePath()).fileName(), u"tst_GeneralUtilEnvironment"_s);
}

void tst_GeneralUtilEnvironment::AppDataPaths()
{
    const QString user = GeneralUtil::GetAppDataPath();
    const QString machine = GeneralUtil::GetCommonAppDataPath();

    QVERIFY(QDir::isAbsolutePath(user));
    QVERIFY(QDir::isAbsolutePath(machine));
    QVERIFY(user != machine);
    QCOMPARE(user, QDir::cleanPath(Platform::GetUserApplicationSupportFolder()));
    QCOMPARE(machine, QDir::cleanPath(Platform::GetMachineApplicationSupportFolder()));
    QCOMPARE(GeneralUtil::GetLocalAppDataPath(), user);
    QCOMPARE(GeneralUtil::GetProgramDataPath(), machine);
}

void tst_GeneralUtilEnvironment::FixedResults()
{
    QCOMPARE(GeneralUtil::GetFavoritesPath(), QString());
    QCOMPARE(GeneralUtil::GetBuild(), u"x64/Release"_s);
    QCOMPARE(GeneralUtil::Is64BitOS(), true);
    QCOMPARE(GeneralUtil::Is64BitApp(), true);
}

void tst_GeneralUtilEnvironment::RegistryKeyExists_data()
{
    QTest::addColumn<QString>("key");

    QTest::newRow("empty") << QString();
    QTest::newRow("a key that every Windows has") << u"HKEY_LOCAL_MACHINE\\SOFTWARE"_s;
    QTest::newRow("an existing path") << u"/"_s;
}

void tst_GeneralUtilEnvironment::RegistryKeyExists()
{
    QFETCH(const QString, key);

    static_assert(std::is_same_v<decltype(&GeneralUtil::RegistryKeyExists), bool (*)(QString)>);
    QCOMPARE(GeneralUtil::RegistryKeyExists(key), false);
}

void tst_GeneralUtilEnvironment::GetSystemDirectory()
{
    QCOMPARE(GeneralUtil::GetSystemDirectory(), Platform::GetSystemLibraryFolder());
    QVERIFY(QFileInfo(GeneralUtil::GetSystemDirectory()).isDir());
}

void tst_GeneralUtilEnvironment::GetModulePath_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");

    const QString suffix = Platform::GetLibrarySuffix();
    const QString file = "libModule"_L1 + suffix;
    QTest::newRow("without suffix") << file << u"libModule"_s << true;
    QTest::newRow("with suffix") << file << file << true;
    QTest::newRow("empty") << file << QString() << false;
    QTest::newRow("suffix only") << file << suffix << false;
    QTest::newRow("different case") << file << "LibModule"_L1 + suffix << false;
    QTest::newRow("different case, without suffix") << file << u"libmodule"_s << false;
    QTest::newRow("without the prefix \"lib\"") << file << u"Module"_s << false;
    QTest::newRow("with its folder") << file << "./"_L1 + file << false;
    QTest::newRow("any dot means no suffix is added") << file << u"libModule."_s << false;
    QTest::newRow("another library") << file << u"libModul"_s << false;
    QTest::newRow("dot in the name") << "libDotted.1"_L1 + suffix << "libDotted.1"_L1 + suffix << true;
    QTest::newRow("dot in the name, without suffix")
        << "libDotted.2"_L1 + suffix << u"libDotted.2"_s << false;
    QTest::newRow("no suffix in the file") << u"libBare"_s << u"libBare"_s << false;
    QTest::newRow("foreign suffix") << u"libForeign.plugin"_s << u"libForeign.plugin"_s << true;
    QTest::newRow("beyond ASCII") << u"libGr\u00f6\u00dfe"_s + suffix << u"libGr\u00f6\u00dfe"_s << true;
}

void tst_GeneralUtilEnvironment::GetModulePath()
{
    QFETCH(const QString, file);
    QFETCH(const QString, name);
    QFETCH(const bool, found);

    const QString folder = mRoot + "/loaded"_L1;
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(QFile::copy(QFile::decodeName(PROBE_LIBRARY), folder + u'/' + file));
    QLibrary library(folder + u'/' + file);
    QVERIFY2(library.load(), qPrintable(library.errorString()));

    QCOMPARE(GeneralUtil::GetModulePath(name), found ? folder : QString());
    QVERIFY(library.unload());
}

void tst_GeneralUtilEnvironment::GetModulePath_onlyWhileLoaded()
{
    const QString path = mRoot + "/libPassing"_L1 + Platform::GetLibrarySuffix();
    QVERIFY(QFile::copy(QFile::decodeName(PROBE_LIBRARY), path));
    QCOMPARE(GeneralUtil::GetModulePath(u"libPassing"_s), QString());

    QLibrary library(path);
    QVERIFY(library.load());
    QCOMPARE(GeneralUtil::GetModulePath(u"libPassing"_s), mRoot);

    QVERIFY(library.unload());
    QCOMPARE(GeneralUtil::GetModulePath(u"libPassing"_s), QString());
}

void tst_GeneralUtilEnvironment::GetModulePath_firstOfTwoInLoadOrder()
{
    const QString file = "/libTwice"_L1 + Platform::GetLibrarySuffix();
    QVERIFY(QDir().mkpath(mRoot + "/z-first"_L1));
    QVERIFY(QDir().mkpath(mRoot + "/a-second"_L1));
    QVERIFY(QFile::copy(QFile::decodeName(PROBE_LIBRARY), mRoot + "/z-first"_L1 + file));
    QVERIFY(QFile::copy(QFile::decodeName(PROBE_LIBRARY), mRoot + "/a-second"_L1 + file));

    QLibrary first(mRoot + "/z-first"_L1 + file);
    QLibrary second(mRoot + "/a-second"_L1 + file);
    QVERIFY(first.load());
    QVERIFY(second.load());
    QCOMPARE(GeneralUtil::GetModulePath(u"libTwice"_s), mRoot + "/z-first"_L1);

    QVERIFY(first.unload());
    QCOMPARE(GeneralUtil::GetModulePath(u"libTwice"_s), mRoot + "/a-second"_L1);
    QVERIFY(second.unload());
}

void tst_GeneralUtilEnvironment::GetModulePath_nameThatEndsLikeAnother()
{
    const QString path = mRoot + "/xlibTail"_L1 + Platform::GetLibrarySuffix();
    QVERIFY(QFile::copy(QFile::decodeName(PROBE_LIBRARY), path));
    QLibrary library(path);
    QVERIFY(library.load());

    QCOMPARE(GeneralUtil::GetModulePath(u"libTail"_s), QString());
    QCOMPARE(GeneralUtil::GetModulePath(u"xlibTail"_s), mRoot);
    QVERIFY(library.unload());
}

void tst_GeneralUtilEnvironment::GetModulePath_programIsNotALibrary()
{
    // A copy of this program, with a file name that would match, looks for a library of that name.
    const QString copy = mRoot + "/tst_copy"_L1 + Platform::GetLibrarySuffix();
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
    QProcess process;
    process.start(copy, {u"--module-path"_s, u"tst_copy"_s});
    QVERIFY(process.waitForFinished());

    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardOutput(), QByteArray("[]\n"));
}

void tst_GeneralUtilEnvironment::IsProcessRunning()
{
    QCOMPARE(GeneralUtil::IsProcessRunning(0), false);
    QCOMPARE(GeneralUtil::IsProcessRunning(-1), false);
    // The platform's tests cover what counts as a process and how it ends.
    for (const qint64 id : {QCoreApplication::applicationPid(), qint64(1), qint64(1) << 40})
        QCOMPARE(GeneralUtil::IsProcessRunning(id), Platform::IsProcessRunning(id));
}

void tst_GeneralUtilEnvironment::GetSymbolicLinkTarget_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("file") << u"folder/file"_s << u"folder/file"_s;
    QTest::newRow("folder with a trailing slash") << u"folder/"_s << u"folder"_s;
    QTest::newRow("doubled slashes and dots") << u"folder//./file"_s << u"folder/file"_s;
    QTest::newRow("link to a file, absolute") << u"toFile"_s << u"folder/file"_s;
    QTest::newRow("link to a file, relative") << u"folder/near"_s << u"folder/file"_s;
    QTest::newRow("link upwards, relative") << u"folder/inner/up"_s << u"folder/file"_s;
    QTest::newRow("chain of links") << u"chain3"_s << u"folder/file"_s;
    QTest::newRow("link to a folder") << u"toFolder"_s << u"folder"_s;
    QTest::newRow("link to a folder, trailing slash") << u"toFolder/"_s << u"folder"_s;
    QTest::newRow("file below a link to a folder") << u"toFolder/file"_s << u"folder/file"_s;
    QTest::newRow("two links in one path") << u"toFolder/near"_s << u"folder/file"_s;
    QTest::newRow("missing") << u"missing"_s << u"missing"_s;
    QTest::newRow("missing in a missing folder") << u"missing/deeper/file"_s << u"missing/deeper/file"_s;
    QTest::newRow("missing below a link") << u"toFolder/missing/file"_s << u"folder/missing/file"_s;
    QTest::newRow("link to nothing") << u"dangling"_s << u"dangling"_s;
    QTest::newRow("below a link to nothing") << u"toFolder/dangling/x"_s << u"folder/dangling/x"_s;
    QTest::newRow("link to nothing through a link") << u"danglingViaLink"_s << u"danglingViaLink"_s;
    QTest::newRow("link to itself") << u"loop"_s << u"loop"_s;
    QTest::newRow("two links to each other") << u"loopA/x"_s << u"loopA/x"_s;
    QTest::newRow("loop below a link") << u"toFolder/loop/x"_s << u"folder/loop/x"_s;
    QTest::newRow("below a file") << u"toFile/x"_s << u"folder/file/x"_s;
    QTest::newRow("up from the target of a link") << u"toInner/../file"_s << u"folder/file"_s;
    QTest::newRow("beyond ASCII") << u"\u00fcber/\u65e5\u672c"_s << u"folder/file"_s;
}

void tst_GeneralUtilEnvironment::GetSymbolicLinkTarget()
{
    QFETCH(const QString, path);
    QFETCH(const QString, expected);

    const QString file = MakeFile(u"folder/file"_s);
    QVERIFY(QDir(mRoot).mkpath(u"folder/inner"_s));
    QVERIFY(QDir(mRoot).mkpath(u"\u00fcber"_s));
    const auto link = [this](const QString& target, const QString& name) {
        return QFile::link(target, mRoot + u'/' + name);
    };
    QVERIFY(link(file, u"toFile"_s));
    QVERIFY(link(u"file"_s, u"folder/near"_s));
    QVERIFY(link(u"../file"_s, u"folder/inner/up"_s));
    QVERIFY(link(file, u"chain1"_s));
    QVERIFY(link(u"chain1"_s, u"chain2"_s));
    QVERIFY(link(u"./chain2"_s, u"chain3"_s));
    QVERIFY(link(mRoot + "/folder"_L1, u"toFolder"_s));
    QVERIFY(link(u"folder/inner"_s, u"toInner"_s));
    QVERIFY(link(u"nowhere"_s, u"dangling"_s));
    QVERIFY(link(u"nowhere"_s, u"folder/dangling"_s));
    QVERIFY(link(u"toFolder/nowhere"_s, u"danglingViaLink"_s));
    QVERIFY(link(u"loop"_s, u"loop"_s));
    QVERIFY(link(u"loop"_s, u"folder/loop"_s));
    QVERIFY(link(u"loopB"_s, u"loopA"_s));
    QVERIFY(link(u"loopA"_s, u"loopB"_s));
    QVERIFY(link(u"../folder/file"_s, u"\u00fcber/\u65e5\u672c"_s));

    QCOMPARE(SymbolicLinkTarget(mRoot + u'/' + path), WithoutPrivate(mRoot + u'/' + expected));
}

void tst_GeneralUtilEnvironment::GetSymbolicLinkTarget_relativePath()
{
    const QString file = MakeFile(u"folder/file"_s);
    QVERIFY(QFile::link(file, mRoot + "/folder/link"_L1));
    const CurrentFolderGuard guard(mRoot + "/folder"_L1);

    QCOMPARE(SymbolicLinkTarget(u"link"_s), WithoutPrivate(file));
    QCOMPARE(SymbolicLinkTarget(u"./link"_s), WithoutPrivate(file));
    QCOMPARE(SymbolicLinkTarget(u"../folder/link"_s), WithoutPrivate(file));
    QCOMPARE(SymbolicLinkTarget(u"missing"_s), WithoutPrivate(mRoot + "/folder/missing"_L1));
}

void tst_GeneralUtilEnvironment::GetSymbolicLinkTarget_emptyPath()
{
    QVERIFY(QDir(mRoot).mkpath(u"a/b"_s));
    const CurrentFolderGuard guard(mRoot + "/a/b"_L1);

    QCOMPARE(SymbolicLinkTarget(QString()), WithoutPrivate(mRoot + "/a"_L1));
}

void tst_GeneralUtilEnvironment::FindLocaleFile_data()
{
    QTest::addColumn<QString>("existing");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<bool>("found");

    QTest::newRow("suffix is added") << u"fr-FR/strings.xlf"_s << u"strings"_s << u"fr-FR"_s << true;
    QTest::newRow("name without a suffix is not tried as given")
        << u"fr-FR/strings"_s << u"strings"_s << u"fr-FR"_s << false;
    QTest::newRow("suffix as given") << u"fr-FR/strings.txt"_s << u"strings.txt"_s << u"fr-FR"_s << true;
    QTest::newRow("given suffix is not replaced")
        << u"fr-FR/strings.xlf"_s << u"strings.txt"_s << u"fr-FR"_s << false;
    QTest::newRow("two suffixes") << u"fr-FR/strings.tar.gz"_s << u"strings.tar.gz"_s << u"fr-FR"_s << true;
    QTest::newRow("name that is only a suffix") << u"fr-FR/.hidden"_s << u".hidden"_s << u"fr-FR"_s << true;
    QTest::newRow("dot at the end is not a suffix")
        << u"fr-FR/strings..xlf"_s << u"strings."_s << u"fr-FR"_s << true;
    QTest::newRow("suffix and a dot at the end")
        << u"fr-FR/strings.txt."_s << u"strings.txt."_s << u"fr-FR"_s << true;
    QTest::newRow("folders of the file are dropped")
        << u"fr-FR/strings.xlf"_s << u"/else/where.d/strings"_s << u"fr-FR"_s << true;
    QTest::newRow("empty file") << u"fr-FR/.xlf"_s << QString() << u"fr-FR"_s << false;
    QTest::newRow("folder as file") << u"fr-FR/.xlf"_s << u"folder/"_s << u"fr-FR"_s << true;
    QTest::newRow("no fallback to the language")
        << u"fr/strings.xlf"_s << u"strings"_s << u"fr-CA"_s << false;
    QTest::newRow("no fallback to another region")
        << u"fr-FR/strings.xlf"_s << u"strings"_s << u"fr-CA"_s << false;
    QTest::newRow("no three-letter name") << u"fra/strings.xlf"_s << u"strings"_s << u"fr-FR"_s << false;
    QTest::newRow("not in the folder itself") << u"strings.xlf"_s << u"strings"_s << u"fr-FR"_s << false;
    QTest::newRow("underscore of a given locale is kept")
        << u"fr-FR/strings.xlf"_s << u"strings"_s << u"fr_FR"_s << false;
    QTest::newRow("spelling of a given locale is kept")
        << u"zz_Any thing/strings.xlf"_s << u"strings"_s << u"zz_Any thing"_s << true;
    QTest::newRow("missing") << u"fr-FR/other.xlf"_s << u"strings"_s << u"fr-FR"_s << false;
    QTest::newRow("folder of that name exists")
        << u"fr-FR/strings.xlf/inner"_s << u"strings"_s << u"fr-FR"_s << true;
}

void tst_GeneralUtilEnvironment::FindLocaleFile()
{
    QFETCH(const QString, existing);
    QFETCH(const QString, file);
    QFETCH(const QString, locale);
    QFETCH(const bool, found);

    QString expected = MakeFile(existing);
    if (expected.endsWith("/inner"_L1))
        expected.chop(6);

    QCOMPARE(GeneralUtil::FindLocaleFile(file, locale, mRoot), found ? expected : QString());
}

void tst_GeneralUtilEnvironment::FindLocaleFile_folderOrder()
{
    const QString inB = MakeFile(u"b/fr-FR/strings.xlf"_s);
    const QString folders = mRoot + "/a;;"_L1 + mRoot + "/b;"_L1;
    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, u"fr-FR"_s, folders), inB);

    const QString inA = MakeFile(u"a/fr-FR/strings.xlf"_s);
    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, u"fr-FR"_s, folders), inA);

    // An empty entry is not a folder, in particular not the root.
    const QString fromRoot = mRoot.mid(1) + "/a/fr-FR"_L1;
    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, fromRoot, u";"_s + mRoot + u";;"_s), QString());

    // Blanks are part of a folder's name.
    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, u"fr-FR"_s, u' ' + mRoot + "/a"_L1), QString());
}

void tst_GeneralUtilEnvironment::FindLocaleFile_applicationFolder()
{
    // A new folder beside the program serves as a locale's folder. The locale is named after the folder.
    const QTemporaryDir localeFolder(GeneralUtil::GetAppDirPath() + "/locale-XXXXXX"_L1);
    QVERIFY(localeFolder.isValid());
    const QString locale = QFileInfo(localeFolder.path()).fileName();
    const QString expected = localeFolder.filePath(u"strings.xlf"_s);
    QVERIFY(WriteFile(expected, "content"));

    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, locale, QString()), expected);
    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, locale, u";"_s), expected);
    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, locale, mRoot + u';' + mRoot), expected);
    QCOMPARE(GeneralUtil::FindLocaleFile(u"others"_s, locale, QString()), QString());
}

void tst_GeneralUtilEnvironment::FindLocaleFile_listedFolderBeforeApplicationFolder()
{
    const QTemporaryDir localeFolder(GeneralUtil::GetAppDirPath() + "/locale-XXXXXX"_L1);
    QVERIFY(localeFolder.isValid());
    const QString locale = QFileInfo(localeFolder.path()).fileName();
    QVERIFY(WriteFile(localeFolder.filePath(u"strings.xlf"_s), "content"));
    const QString listed = MakeFile(locale + "/strings.xlf"_L1);

    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, locale, mRoot), listed);
}

void tst_GeneralUtilEnvironment::FindLocaleFile_emptyLocaleIsTheSystems()
{
    const QString expected = MakeFile(u"de-DE/strings.xlf"_s); // main() has set de_DE

    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, QString(), mRoot), expected);
}

void tst_GeneralUtilEnvironment::FindLocaleFile_relativeFolder()
{
    const QString expected = MakeFile(u"sub/fr-FR/strings.xlf"_s);
    const CurrentFolderGuard guard(mRoot);

    QCOMPARE(GeneralUtil::FindLocaleFile(u"strings"_s, u"fr-FR"_s, u"sub"_s), expected);
}

// The application's folder is only looked up after the listed ones; without a QCoreApplication, that would
// make Qt warn.
void tst_GeneralUtilEnvironment::FindLocaleFile_foundWithoutApplication()
{
    const QString expected = MakeFile(u"fr-FR/strings.xlf"_s);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(), {u"--locale-file"_s, mRoot});
    QVERIFY(process.waitForFinished());

    QCOMPARE(process.readAllStandardOutput(), QByteArray('[' + expected.toUtf8() + "]\n"));
}

void tst_GeneralUtilEnvironment::OutputDebugString_silentByDefault()
{
    // FailOnAnyMessage() sees only warnings, so check every message of the library.
    static int messages = 0;
    const QtMessageHandler previous
        = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++messages; });
    GeneralUtil::OutputDebugString(u"text"_s);
    GeneralUtil::OutputDebugString(L"text");
    qInstallMessageHandler(previous);

    QCOMPARE(messages, 0);
}

void tst_GeneralUtilEnvironment::OutputDebugString_text()
{
    const LogGuard guard;
    GeneralUtil::OutputDebugString(u"first \"quoted\" \u00e4\u20ac"_s);
    GeneralUtil::OutputDebugString(QString());

#ifdef Q_OS_MACOS
    QCOMPARE(LogGuard::Messages(), QStringList());
#else
    QCOMPARE(LogGuard::Messages(), QStringList({u"first \"quoted\" \u00e4\u20ac"_s, QString()}));
#endif
}

void tst_GeneralUtilEnvironment::OutputDebugString_wideText()
{
    const LogGuard guard;
    const wchar_t* const none = nullptr;
    GeneralUtil::OutputDebugString(none);
    GeneralUtil::OutputDebugString(L"");
    GeneralUtil::OutputDebugString(L"wide \u20ac \U0001F600");

#ifdef Q_OS_MACOS
    QCOMPARE(LogGuard::Messages(), QStringList());
#else
    QCOMPARE(LogGuard::Messages(), QStringList({QString(), u"wide \u20ac \U0001F600"_s}));
#endif
}

int main(int argc, char* argv[])
{
    qputenv("LC_ALL", "de_DE.UTF-8"); // before Qt reads the variable
    if (argc == 3 && std::strcmp(argv[1], "--locale-file") == 0) {
        const QString folders = QFile::decodeName(argv[2]);
        const QString path = GeneralUtil::FindLocaleFile(u"strings"_s, u"fr-FR"_s, folders);
        std::printf("[%s]\n", qUtf8Printable(path));
        return 0;
    }
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--module-path"_L1) {
        std::printf("[%s]\n", qUtf8Printable(GeneralUtil::GetModulePath(arguments.value(2))));
        return 0;
    }
    tst_GeneralUtilEnvironment test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_GeneralUtilEnvironment.moc"
