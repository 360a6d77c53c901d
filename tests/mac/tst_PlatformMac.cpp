// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Doubles.h"

#include <qvutil/GeneralUtil.h>
#include <qvutil/LocaleUtil.h>
#include <qvutil/XmlFiler.h>
#include <qvutil/platform/Platform_p.h>

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>

#include <copyfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

// Tests the macOS backend, compiled from the file that macOS compiles. Foundation and AppKit are real; the
// locale functions and the loader's image list are test doubles.
class tst_PlatformMac : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void GetUserLocaleIdentifier_data();
    void GetUserLocaleIdentifier();
    void GetUserLocaleIdentifier_isReadAfresh();
    void GetUserLocaleIdentifier_survivesTheLocale();
    void LocaleUtil_usesTheIdentifier_data();
    void LocaleUtil_usesTheIdentifier();

    void NSStringToQString_data();
    void NSStringToQString();
    void NSStringToQString_nil();

    void Folders_areTheFirstOfFoundation();
    void Folders_releaseTheirPool();
    void Folders_workOnAThreadWithoutPool();

    void ResolveSymbolicLinks_data();
    void ResolveSymbolicLinks();
    void ResolveSymbolicLinks_releasesItsPool();
    void GetSymbolicLinkTarget_relativeResult();

    void Save_copiesFileAttributes_data();
    void Save_copiesFileAttributes();

    void IsProcessRunning_data();
    void IsProcessRunning();
    void IsProcessRunning_releasesTheAnswer();
    void IsProcessRunning_asksAppKit();

    void GetLoadedLibraries_data();
    void GetLoadedLibraries();
    void GetModulePath_data();
    void GetModulePath();
    void GetModulePath_withoutImages();

    void LocalSockets();
    void LocalSockets_closed();

    void GetLibrarySuffix();
    void RemoveLibraryVersion_data();
    void RemoveLibraryVersion();
    void OutputDebugString_isSilent();
    void FailedOpenIsLogged();
};

namespace {

constexpr std::uint32_t kMacRoman = 0;
constexpr std::uint32_t kIsoLatin1 = 0x0201;
constexpr std::uint32_t kUtf8 = 0x08000100;

constexpr std::uint32_t kExecutable = 2;
constexpr std::uint32_t kDynamicLibrary = 6;
constexpr std::uint32_t kBundle = 8;
constexpr std::uint32_t kLibraryStub = 9;

using Encodings = QList<std::uint32_t>;

// Foundation removes "/private" from a path that also exists without it: /private/var/x becomes /var/x.
QString WithoutPrivate(const QString& path)
{
    constexpr QLatin1StringView kPrivate("/private");
    return path.startsWith(kPrivate + "/"_L1) ? path.sliced(kPrivate.size()) : path;
}

} // namespace

void tst_PlatformMac::initTestCase()
{
    Doubles::WatchPools();
}

void tst_PlatformMac::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    Doubles::SetLocale({});
    Doubles::SetImages({});
    Doubles::SetAccessListCopyResult(0);
    Doubles::AppendFolderToSearches({});
}

// The user's locale

void tst_PlatformMac::GetUserLocaleIdentifier_data()
{
    QTest::addColumn<QByteArray>("identifier");
    QTest::addColumn<bool>("systemPointer");
    QTest::addColumn<bool>("utf8Pointer");
    QTest::addColumn<bool>("convertsWithoutTerminator");
    QTest::addColumn<quint32>("systemEncoding");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<Encodings>("pointerEncodings");
    QTest::addColumn<QList<long>>("bufferSizes");

    const QByteArray plain = "en_GB";
    QTest::newRow("pointer in the system encoding")
        << plain << true << true << false << kMacRoman << plain << Encodings{kMacRoman} << QList<long>{};
    QTest::newRow("another system encoding")
        << plain << true << true << false << kIsoLatin1 << plain << Encodings{kIsoLatin1} << QList<long>{};
    QTest::newRow("pointer only in UTF-8") << plain << false << true << false << kMacRoman << plain
                                           << Encodings{kMacRoman, kUtf8} << QList<long>{};
    QTest::newRow("conversion, first with a buffer one too small")
        << plain << false << false << false << kMacRoman << plain << Encodings{kMacRoman, kUtf8}
        << QList<long>{5, 16};
    QTest::newRow("conversion that omits the terminator")
        << plain << false << false << true << kMacRoman << plain << Encodings{kMacRoman, kUtf8}
        << QList<long>{5};
    QTest::newRow("size of the conversion counts UTF-16 units")
        << QByteArray("x_Ä𝄞") << false << false << false << kMacRoman << QByteArray("x_Ä𝄞")
        << Encodings{kMacRoman, kUtf8} << QList<long>{5, 16};
    QTest::newRow("three bytes for each UTF-16 unit")
        << QByteArray("日本語") << false << false << false << kMacRoman << QByteArray("日本語")
        << Encodings{kMacRoman, kUtf8} << QList<long>{3, 10};
    QTest::newRow("empty identifier") << QByteArray("") << true << true << false << kMacRoman << QByteArray()
                                      << Encodings{kMacRoman} << QList<long>{};
    QTest::newRow("empty identifier, converted")
        << QByteArray("") << false << false << true << kMacRoman << QByteArray()
        << Encodings{kMacRoman, kUtf8} << QList<long>{0};
    QTest::newRow("empty identifier, converted with its terminator")
        << QByteArray("") << false << false << false << kMacRoman << QByteArray()
        << Encodings{kMacRoman, kUtf8} << QList<long>{0, 1};
}

void tst_PlatformMac::GetUserLocaleIdentifier()
{
    QFETCH(const QByteArray, identifier);
    QFETCH(const bool, systemPointer);
    QFETCH(const bool, utf8Pointer);
    QFETCH(const bool, convertsWithoutTerminator);
    QFETCH(const quint32, systemEncoding);
    QFETCH(const QByteArray, expected);
    QFETCH(const Encodings, pointerEncodings);
    QFETCH(const QList<long>, bufferSizes);

    Doubles::SetLocale({identifier, systemPointer, utf8Pointer, convertsWithoutTerminator, systemEncoding});
    QCOMPARE(Platform::GetUserLocaleIdentifier(), expected);

    const Doubles::LocaleCalls calls = Doubles::GetLocaleCalls();
    QCOMPARE(calls.PointerEncodings, pointerEncodings);
    QCOMPARE(calls.BufferSizes, bufferSizes);
    QCOMPARE(calls.ConversionEncodings, Encodings(bufferSizes.size(), kUtf8));
    QCOMPARE(calls.Copies, 1);
    QCOMPARE(calls.Releases, 1); // only the locale, which owns its identifier
    QCOMPARE(calls.Misuses, 0);
}

void tst_PlatformMac::GetUserLocaleIdentifier_isReadAfresh()
{
    Doubles::SetLocale({"de_DE"});
    QCOMPARE(Platform::GetUserLocaleIdentifier(), "de_DE"_ba);
    Doubles::SetLocale({"fr_CA"});
    QCOMPARE(Platform::GetUserLocaleIdentifier(), "fr_CA"_ba);
}

void tst_PlatformMac::GetUserLocaleIdentifier_survivesTheLocale()
{
    Doubles::SetLocale({"pt_BR"});
    const QByteArray identifier = Platform::GetUserLocaleIdentifier();
    QCOMPARE(Doubles::GetLocaleCalls().Releases, 1); // the string's memory has different content by now
    QCOMPARE(identifier, "pt_BR"_ba);
}

void tst_PlatformMac::LocaleUtil_usesTheIdentifier_data()
{
    QTest::addColumn<QByteArray>("identifier");
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint32>("lcid");

    QTest::newRow("in the table") << "en_GB"_ba << u"en-GB"_s << 0x0809u;
    QTest::newRow("language alone") << "de"_ba << u"de"_s << 0x0007u;
    QTest::newRow("with a script that the table lacks") << "zh-Hans_CN"_ba << u"en-US"_s << 0x0409u;
    QTest::newRow("with a keyword") << "de_DE@currency=EUR"_ba << u"en-US"_s << 0x0409u;
    QTest::newRow("empty") << ""_ba << u"en-US"_s << 0x0409u;
    QTest::newRow("the system's own spelling") << "EN_gb"_ba << u"EN-gb"_s << 0x0809u;
}

void tst_PlatformMac::LocaleUtil_usesTheIdentifier()
{
    QFETCH(const QByteArray, identifier);
    QFETCH(const QString, name);
    QFETCH(const quint32, lcid);

    Doubles::SetLocale({identifier});
    QCOMPARE(LocaleUtil::GetCurrentUserLocale(), name);
    Doubles::SetLocale({identifier});
    QCOMPARE(LocaleUtil::GetUserDefaultLCIDForMac(), lcid);
    Doubles::SetLocale({identifier});
    QCOMPARE(QByteArray(LocaleUtil::GetUserDefaultLocaleForMac()), identifier);
    QCOMPARE(Doubles::GetLocaleCalls().Misuses, 0);
}

// Strings

void tst_PlatformMac::NSStringToQString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << u""_s << u""_s;
    QTest::newRow("ASCII") << u"Library"_s << u"Library"_s;
    QTest::newRow("Latin-1") << u"Größe"_s << u"Größe"_s;
    QTest::newRow("beyond Latin-1") << u"日本語 ελληνικά"_s << u"日本語 ελληνικά"_s;
    QTest::newRow("surrogate pairs") << u"a𝄞b😀"_s << u"a𝄞b😀"_s;
    QTest::newRow("decomposed") << u"Gro\u0308\u00dfe"_s << u"Gro\u0308\u00dfe"_s;
    QTest::newRow("NUL inside") << QString(u"a\0b"_s) << QString(u"a\0b"_s);
    QTest::newRow("leading byte-order mark is dropped") << u"\ufeffx"_s << u"x"_s;
    QTest::newRow("long") << QString(100'000, u'ä') << QString(100'000, u'ä');
}

void tst_PlatformMac::NSStringToQString()
{
    QFETCH(const QString, text);
    QFETCH(const QString, expected);

    QCOMPARE(Doubles::ConvertThroughNSString(text), expected);
}

void tst_PlatformMac::NSStringToQString_nil()
{
    QCOMPARE(Doubles::ConvertNil(), QString());
}

// Folders

void tst_PlatformMac::Folders_areTheFirstOfFoundation()
{
    using Doubles::Folder;
    Doubles::AppendFolderToSearches(u"/another/folder"_s);
    QVERIFY(Doubles::ListFolders(Folder::SystemLibrary).size() > 1);
    const auto first = [](Folder folder) { return Doubles::ListFolders(folder).value(0); };
    const QString user = first(Folder::UserApplicationSupport);
    const QString machine = first(Folder::LocalApplicationSupport);
    const QString system = first(Folder::SystemLibrary);
    QVERIFY(QDir::isAbsolutePath(user)); // the tilde is expanded
    QVERIFY(QDir::isAbsolutePath(machine));
    QVERIFY(QDir::isAbsolutePath(system));
    QVERIFY(user != machine);

    QCOMPARE(Platform::GetUserApplicationSupportFolder(), user);
    QCOMPARE(Platform::GetMachineApplicationSupportFolder(), machine);
    QCOMPARE(Platform::GetSystemLibraryFolder(), system);
    QCOMPARE(GeneralUtil::GetAppDataPath(), QDir::cleanPath(user));
    QCOMPARE(GeneralUtil::GetLocalAppDataPath(), QDir::cleanPath(user));
    QCOMPARE(GeneralUtil::GetCommonAppDataPath(), QDir::cleanPath(machine));
    QCOMPARE(GeneralUtil::GetProgramDataPath(), QDir::cleanPath(machine));
    QCOMPARE(GeneralUtil::GetSystemDirectory(), system);
}

void tst_PlatformMac::Folders_releaseTheirPool()
{
    const int made = Doubles::GetPoolsMade();
    const int open = Doubles::GetOpenPools();
    QCOMPARE(Doubles::CountObjectsLeftBehind([] {
                 QVERIFY(!Platform::GetUserApplicationSupportFolder().isEmpty());
                 QVERIFY(!Platform::GetMachineApplicationSupportFolder().isEmpty());
                 QVERIFY(!Platform::GetSystemLibraryFolder().isEmpty());
             }),
             0);
    QVERIFY(Doubles::GetPoolsMade() >= made + 4);
    QCOMPARE(Doubles::GetOpenPools(), open);
}

void tst_PlatformMac::Folders_workOnAThreadWithoutPool()
{
    const QString expected = Platform::GetUserApplicationSupportFolder();
    QString folder;
    int open = -1;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        folder = Platform::GetUserApplicationSupportFolder();
        open = Doubles::GetOpenPools();
    }));
    thread->start();
    QVERIFY(thread->wait());
    QCOMPARE(folder, expected);
    QCOMPARE(open, 0);
}

// Symbolic links

void tst_PlatformMac::ResolveSymbolicLinks_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    // The test's folder contains the file folder/file and four links: "link" to the folder, "file-link" to
    // the file, "chain" to "link", and "dangling" to a missing file.
    QTest::newRow("not a link") << u"folder/file"_s << u"folder/file"_s;
    QTest::newRow("link to a file") << u"file-link"_s << u"folder/file"_s;
    QTest::newRow("link to a folder") << u"link"_s << u"folder"_s;
    QTest::newRow("below a link") << u"link/file"_s << u"folder/file"_s;
    QTest::newRow("link to a link") << u"chain/file"_s << u"folder/file"_s;
    QTest::newRow("name beyond ASCII") << u"größe"_s << u"folder/日本"_s;
}

void tst_PlatformMac::ResolveSymbolicLinks()
{
    QFETCH(const QString, path);
    QFETCH(const QString, expected);

    QTemporaryDir dir;
    const QDir root(QFileInfo(dir.path()).canonicalFilePath());
    QVERIFY(root.mkdir(u"folder"_s));
    for (const QString& name : {u"folder/file"_s, u"folder/日本"_s}) {
        QFile file(root.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(QFile::link(root.filePath(u"folder"_s), root.filePath(u"link"_s)));
    QVERIFY(QFile::link(root.filePath(u"link"_s), root.filePath(u"chain"_s)));
    QVERIFY(QFile::link(root.filePath(u"folder/file"_s), root.filePath(u"file-link"_s)));
    QVERIFY(QFile::link(root.filePath(u"folder/日本"_s), root.filePath(u"größe"_s)));

    const QString target = WithoutPrivate(root.filePath(expected));
    QCOMPARE(WithoutPrivate(Platform::ResolveSymbolicLinks(root.filePath(path))), target);
    QCOMPARE(WithoutPrivate(GeneralUtil::GetSymbolicLinkTarget(root.filePath(path))), target);
}

void tst_PlatformMac::ResolveSymbolicLinks_releasesItsPool()
{
    const int open = Doubles::GetOpenPools();
    QCOMPARE(Doubles::CountObjectsLeftBehind(
                 [] { QCOMPARE(Platform::ResolveSymbolicLinks(u"/usr/../tmp"_s), u"/tmp"_s); }),
             0);
    QCOMPARE(Doubles::GetOpenPools(), open);
}

void tst_PlatformMac::GetSymbolicLinkTarget_relativeResult()
{
    QTemporaryDir dir;
    const QDir root(QFileInfo(dir.path()).canonicalFilePath());
    QVERIFY(root.mkdir(u"folder"_s));
    // Foundation does not change a relative path to a missing file. The result is then relative to the folder
    // that would contain the file.
    const QString result = Platform::ResolveSymbolicLinks(u"folder/missing"_s);
    QVERIFY(QDir::isRelativePath(result));
    QDir base(u"folder/missing"_s);
    base.cdUp();
    QCOMPARE(GeneralUtil::GetSymbolicLinkTarget(u"folder/missing"_s),
             QDir::cleanPath(base.absoluteFilePath(QDir::cleanPath(result))));
}

// Saving

void tst_PlatformMac::Save_copiesFileAttributes_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<mode_t>("mode");

    QTest::newRow("list copied") << 0 << mode_t(0644);
    QTest::newRow("list not copied") << -1 << mode_t(0600); // the list may have denied access
}

void tst_PlatformMac::Save_copiesFileAttributes()
{
    QFETCH(const int, result);
    QFETCH(const mode_t, mode);

    QTemporaryDir dir;
    const QString path = dir.filePath(u"s.xml"_s);
    const QByteArray encoded = QFile::encodeName(path);
    XmlFiler filer;
    filer.CreateRoot(u"Root"_s);
    QVERIFY(filer.SaveAsXmlFile(path));
    QCOMPARE(chmod(encoded.constData(), 0644), 0);

    Doubles::SetAccessListCopyResult(result);
    QVERIFY(filer.SaveAsXmlFile(path));

    QCOMPARE(Doubles::GetFileCopies(), QList<std::uint32_t>({COPYFILE_XATTR, COPYFILE_ACL}));
    struct stat status = {};
    QCOMPARE(stat(encoded.constData(), &status), 0);
    QCOMPARE(status.st_mode & mode_t(07777), mode);
}

// Processes

void tst_PlatformMac::IsProcessRunning_data()
{
    QTest::addColumn<qint64>("processId");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QList<qint64>>("asked");

    constexpr qint64 kTooLarge = (qint64(1) << 32) + 4711;
    QTest::newRow("an application") << qint64(4711) << true << QList<qint64>{4711};
    QTest::newRow("not an application") << qint64(4712) << false << QList<qint64>{4712};
    QTest::newRow("0") << qint64(0) << false << QList<qint64>{0};
    QTest::newRow("-1") << qint64(-1) << false << QList<qint64>{-1};
    QTest::newRow("an application's id if truncated to 32 bits") << kTooLarge << false << QList<qint64>{};
    QTest::newRow("negative, an application's id if truncated")
        << -(qint64(1) << 32) + 4711 << false << QList<qint64>{};
}

void tst_PlatformMac::IsProcessRunning()
{
    QFETCH(const qint64, processId);
    QFETCH(const bool, expected);
    QFETCH(const QList<qint64>, asked);

    Doubles::WatchRunningApplications({4711});
    QCOMPARE(Platform::IsProcessRunning(processId), expected);
    QCOMPARE(Doubles::GetApplicationCalls().ProcessIds, asked);
}

void tst_PlatformMac::IsProcessRunning_releasesTheAnswer()
{
    Doubles::WatchRunningApplications({4711});
    const int open = Doubles::GetOpenPools();
    QVERIFY(Platform::IsProcessRunning(4711));
    QCOMPARE(Doubles::GetApplicationCalls().ObjectsAlive, 0);
    QCOMPARE(Doubles::GetOpenPools(), open);
}

void tst_PlatformMac::IsProcessRunning_asksAppKit()
{
    Doubles::WatchRunningApplications({4711});
    QVERIFY(GeneralUtil::IsProcessRunning(4711));
    // AppKit does not know command-line programs.
    QVERIFY(!GeneralUtil::IsProcessRunning(QCoreApplication::applicationPid()));
}

// Loaded libraries

void tst_PlatformMac::GetLoadedLibraries_data()
{
    QTest::addColumn<QList<Doubles::Image>>("images");
    QTest::addColumn<QStringList>("expected");

    using Images = QList<Doubles::Image>;
    QTest::newRow("no images") << Images{} << QStringList{};
    QTest::newRow("program before the libraries")
        << Images{{kExecutable, "/App/program"}, {kDynamicLibrary, "/App/libA.dylib"}}
        << QStringList{u"/App/libA.dylib"_s};
    QTest::newRow("bundles and stubs are skipped") << Images{{kBundle, "/App/b.bundle"},
                                                             {kLibraryStub, "/App/s.dylib"},
                                                             {kDynamicLibrary, "/App/x.dylib"}}
                                                   << QStringList{u"/App/x.dylib"_s};
    QTest::newRow("null name") << Images{{kDynamicLibrary, {}}, {kDynamicLibrary, "/b.dylib"}}
                               << QStringList{u"/b.dylib"_s};
    QTest::newRow("image unloaded meanwhile")
        << Images{{kDynamicLibrary, "/a.dylib", false}, {kDynamicLibrary, "/b"}} << QStringList{u"/b"_s};
    QTest::newRow("in the loader's order")
        << Images{{kDynamicLibrary, "/2"}, {kDynamicLibrary, "/1"}, {kDynamicLibrary, "/3"}}
        << QStringList{u"/2"_s, u"/1"_s, u"/3"_s};
    QTest::newRow("name beyond ASCII")
        << Images{{kDynamicLibrary, "/Größe/libä.dylib"}} << QStringList{u"/Größe/libä.dylib"_s};
}

void tst_PlatformMac::GetLoadedLibraries()
{
    QFETCH(const QList<Doubles::Image>, images);
    QFETCH(const QStringList, expected);

    Doubles::SetImages(images);
    QCOMPARE(Platform::GetLoadedLibraries(), expected);
    QCOMPARE(Doubles::GetGreatestImageIndex(), static_cast<int>(images.size()) - 1);
}

void tst_PlatformMac::GetModulePath_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");

    QTest::newRow("whole file name") << u"libFoo.dylib"_s << u"/Applications/One/Frameworks"_s;
    QTest::newRow("without a dot gets the suffix") << u"libFoo"_s << u"/Applications/One/Frameworks"_s;
    QTest::newRow("first of equal names") << u"libSame.dylib"_s << u"/first"_s;
    QTest::newRow("different case") << u"libfoo.dylib"_s << QString();
    QTest::newRow("any dot counts") << u"libFoo.1"_s << QString();
    QTest::newRow("version before the suffix") << u"libBar.1.dylib"_s << u"/usr/local/lib"_s;
    QTest::newRow("version omitted") << u"libBar.dylib"_s << QString();
    QTest::newRow("the program") << u"program.x"_s << QString();
    QTest::newRow("framework without suffix") << u"QtCore"_s << QString();
    QTest::newRow("part of a name") << u"Foo.dylib"_s << QString();
    QTest::newRow("path") << u"/first/libSame.dylib"_s << QString();
    QTest::newRow("not loaded") << u"libOther"_s << QString();
    QTest::newRow("empty") << QString() << QString();
}

void tst_PlatformMac::GetModulePath()
{
    QFETCH(const QString, name);
    QFETCH(const QString, expected);

    Doubles::SetImages({{kExecutable, "/Applications/One/program.x"},
                        {kExecutable, "/wrong/libFoo.dylib"},
                        {kDynamicLibrary, {}},
                        {kDynamicLibrary, "/Applications/One/Frameworks/libFoo.dylib"},
                        {kDynamicLibrary, "/first/libSame.dylib"},
                        {kDynamicLibrary, "/second/libSame.dylib"},
                        {kDynamicLibrary, "/Library/QtCore.framework/Versions/A/QtCore"},
                        {kDynamicLibrary, "/usr/local/lib/libBar.1.dylib"}});
    QCOMPARE(GeneralUtil::GetModulePath(name), expected);
}

void tst_PlatformMac::GetModulePath_withoutImages()
{
    QCOMPARE(GeneralUtil::GetModulePath(u"libFoo"_s), QString());
}

// Local sockets

void tst_PlatformMac::LocalSockets()
{
    int ends[2];
    QCOMPARE(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    QCOMPARE(Platform::GetPeerUserId(ends[0]), std::optional<quint32>(getuid()));
    QCOMPARE(Platform::GetUserId(), static_cast<quint32>(geteuid()));
    QCOMPARE(Platform::GetUnreadBytes(ends[0]), 0);
    QCOMPARE(write(ends[0], "12345", 5), 5);
    QVERIFY(Platform::GetUnreadBytes(ends[0]) >= 5);

    QByteArray bytes = "0"_ba;
    QVERIFY(Platform::WaitForBytes(ends[1], 0));
    QVERIFY(Platform::ReadAvailable(ends[1], bytes));
    QCOMPARE(bytes, "012345"_ba);
    QCOMPARE(Platform::GetUnreadBytes(ends[0]), 0);

    const auto bufferSize = [&] {
        int size = 0;
        socklen_t length = sizeof(size);
        return getsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &size, &length) == 0 ? size : -1;
    };
    const int size = bufferSize();
    QCOMPARE(Platform::EnlargeSendBuffer(ends[0], 1), size); // never shrinks
    QCOMPARE(bufferSize(), size);
    const qsizetype larger = Platform::EnlargeSendBuffer(ends[0], 1 << 30);
    QVERIFY(larger >= size);
    QCOMPARE(larger, bufferSize());
    close(ends[0]);
    close(ends[1]);
}

void tst_PlatformMac::LocalSockets_closed()
{
    QByteArray bytes;
    QCOMPARE(Platform::GetPeerUserId(-1), std::optional<quint32>());
    QCOMPARE(Platform::GetUnreadBytes(-1), 0);
    QCOMPARE(Platform::EnlargeSendBuffer(-1, 4096), 0);
    QVERIFY(!Platform::ReadAvailable(-1, bytes));
    QCOMPARE(Platform::GetMaxSocketPathLength(), static_cast<qsizetype>(sizeof(sockaddr_un::sun_path)) - 1);
}

void tst_PlatformMac::GetLibrarySuffix()
{
    QCOMPARE(Platform::GetLibrarySuffix(), ".dylib"_L1);
}

void tst_PlatformMac::RemoveLibraryVersion_data()
{
    QTest::addColumn<QString>("fileName");

    QTest::newRow("no version") << u"libFoo.dylib"_s;
    QTest::newRow("version before the suffix") << u"libFoo.1.2.dylib"_s;
    QTest::newRow("version in the Linux style") << u"libFoo.so.6"_s;
    QTest::newRow("version after the suffix") << u"libFoo.dylib.6"_s;
}

void tst_PlatformMac::RemoveLibraryVersion()
{
    QFETCH(const QString, fileName);

    QCOMPARE(Platform::RemoveLibraryVersion(fileName).toString(), fileName);
}

// Counts messages of every level, with logging enabled, because failOnWarning sees only warnings.
void tst_PlatformMac::OutputDebugString_isSilent()
{
    static int messages = 0;
    messages = 0;
    QLoggingCategory::setFilterRules(u"qvutil=true"_s);
    const QtMessageHandler old
        = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++messages; });
    GeneralUtil::OutputDebugString(u"text"_s);
    GeneralUtil::OutputDebugString(QString());
    GeneralUtil::OutputDebugString(L"text");
    GeneralUtil::OutputDebugString(static_cast<const wchar_t*>(nullptr));
    qInstallMessageHandler(old);
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(messages, 0);
}

// The debug output is silent, but a failed load still logs a line, as on other systems.
void tst_PlatformMac::FailedOpenIsLogged()
{
    static QStringList messages;
    messages.clear();
    const QTemporaryDir folder; // cannot be opened as a file, not even by root
    QLoggingCategory::setFilterRules(u"qvutil=true"_s);
    const QtMessageHandler old = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { messages.append(text); });
    XmlFiler filer;
    const bool isLoaded = filer.LoadFromXmlFile(folder.path());
    qInstallMessageHandler(old);
    QLoggingCategory::setFilterRules(QString());
    QVERIFY(!isLoaded);
    QCOMPARE(messages, QStringList(u"%1 does not load: %2"_s.arg(folder.path(), filer.GetLoadError().Text)));
}

QTEST_GUILESS_MAIN(tst_PlatformMac)

#include "tst_PlatformMac.moc"
