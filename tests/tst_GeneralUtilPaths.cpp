// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"

#include <GeneralUtil.h>

#include <QDir>
#include <QRandomGenerator>

#include <algorithm>
#include <filesystem>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace {

// Returns the standard library's normal form of a path, without a trailing slash.
std::filesystem::path Normal(const QString& path)
{
    const std::filesystem::path normal = std::filesystem::path(path.toStdU16String()).lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
}

QString ToQt(const std::filesystem::path& path)
{
    return QString::fromStdU16String(path.generic_u16string());
}

QString Relative(const QString& path, const QString& base)
{
    return ToQt(Normal(path).lexically_relative(Normal(base)));
}

// Returns a relative path, clean or not, made of only a few names, so that paths often have a common parent.
QString RandomPath(QRandomGenerator& random, const QStringList& steps)
{
    QString path = u"a"_s;
    for (quint32 length = random.bounded(6U); length > 0; --length)
        path += u'/' + steps.at(random.bounded(steps.size()));
    return path;
}

} // namespace

class tst_GeneralUtilPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void CleanPath_data();
    void CleanPath();
    void CleanPath_sameAsStandardLibrary();
    void CleanPath_isStable();
    void GetDrive_data();
    void GetDrive();
    void IsUNCPath_data();
    void IsUNCPath();
    void RelativeToAbsolutePath_data();
    void RelativeToAbsolutePath();
    void RelativeToAbsolutePath_relativeBase();
    void AbsoluteToRelativePath_data();
    void AbsoluteToRelativePath();
    void AbsoluteToRelativePath_driveOrServer();
    void IsParentPath_data();
    void IsParentPath();
    void IsParentPath_sameAsStandardLibrary();
    void GetCommonParentPath_data();
    void GetCommonParentPath();
    void GetCommonParentPath_sameAsStandardLibrary();
    void GetSubPath_data();
    void GetSubPath();
    void GetSubPath_sameAsStandardLibrary();
};

void tst_GeneralUtilPaths::init()
{
    TestSupport::FailOnAnyMessage();
}

void tst_GeneralUtilPaths::CleanPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << u""_s << u""_s;
    QTest::newRow("null") << QString() << u""_s;
    QTest::newRow("root") << u"/"_s << u"/"_s;
    QTest::newRow("padded root") << u" / "_s << u"/"_s;
    QTest::newRow("root through \"..\"") << u"/a/.."_s << u"/"_s;
    QTest::newRow("white space alone") << u" \t\n"_s << u""_s;
    QTest::newRow("leading and trailing slashes") << u"/Users/a/b/"_s << u"Users/a/b"_s;
    QTest::newRow("padded, doubled separator") << u" /a//b/ "_s << u"a/b"_s;
    QTest::newRow("padded dots") << u" ./a/b/.. "_s << u"a"_s;
    QTest::newRow("clean already") << u"a/b"_s << u"a/b"_s;
    QTest::newRow("one name") << u"a"_s << u"a"_s;
    QTest::newRow("dots") << u"/a/./b/../c"_s << u"a/c"_s;
    QTest::newRow("dot alone") << u"."_s << u"."_s;
    QTest::newRow("above the start") << u"../../a"_s << u"../../a"_s;
    QTest::newRow("white space inside is kept") << u"/a b/ c"_s << u"a b/ c"_s;
    QTest::newRow("case is kept") << u"/A/b"_s << u"A/b"_s;

    QTest::newRow("doubled separator after a dot") << u"/.//a"_s << u"a"_s;
    QTest::newRow("doubled separator after two dots") << u"/a/..//b"_s << u"b"_s;
    QTest::newRow("doubled separator after two dots, relative") << u"..//a"_s << u"../a"_s;
    QTest::newRow("doubled separator above the root") << u"/..//a"_s << u"../a"_s;
    QTest::newRow("doubled separator after going above the root") << u"/a/../..//b"_s << u"../b"_s;
    QTest::newRow("tripled separator after going above the root") << u"/x/../..///a"_s << u"../a"_s;

    QTest::newRow("drive, backslashes") << u"C:\\x\\..\\y"_s << u"C:/y"_s;
    QTest::newRow("drive, slashes") << u"C:/x/../y/"_s << u"C:/y"_s;
    QTest::newRow("drive, both kinds") << u"c:\\x/y\\"_s << u"c:/x/y"_s;
    QTest::newRow("drive, white space after it") << u"C:\\x "_s << u"C:/x"_s;
    QTest::newRow("drive, relative") << u"C:x\\y"_s << u"C:x/y"_s;
    QTest::newRow("leading colon") << u":a//b/"_s << u":a/b"_s;

    // Two leading slashes are kept if Qt keeps them, which depends on the system.
    const bool qtKeepsTwoSlashes = QDir::cleanPath(u"//server/share"_s).startsWith("//"_L1);
    QTest::newRow("server, slashes") << u"//server/share/"_s
                                     << (qtKeepsTwoSlashes ? u"//server/share"_s : u"server/share"_s);
    QTest::newRow("server, backslashes") << u"\\\\server\\share\\"_s << u"\\\\server\\share\\"_s;
    QTest::newRow("server, backslashes and slashes at the end")
        << u" \\\\server\\share// "_s << u"\\\\server\\share"_s;
    QTest::newRow("server, both kinds in front") << u"\\/server//share/"_s << u"\\/server/share"_s;
    QTest::newRow("server, slash and backslash in front") << u"/\\server/share/"_s << u"/\\server/share"_s;
    QTest::newRow("backslash in front is not a slash") << u"\\a/"_s << u"\\a"_s;

    QTest::newRow("scheme") << u"ftp:\\\\a\\b"_s << u"ftp://a/b"_s;
    QTest::newRow("scheme, nothing else changes") << u" ftp:\\a/../b//c/. "_s << u" ftp:/a/../b//c/. "_s;
    QTest::newRow("scheme of two letters") << u"ab:\\c\\"_s << u"ab:/c/"_s;
    QTest::newRow("drive after white space reads as a scheme") << u" C:\\x\\..\\y"_s << u" C:/x/../y"_s;
    QTest::newRow("colon further on reads as a scheme") << u"/a//b:c/"_s << u"/a//b:c/"_s;
}

void tst_GeneralUtilPaths::CleanPath()
{
    QFETCH(const QString, path);
    QFETCH(const QString, expected);

    QCOMPARE(GeneralUtil::CleanPath(path), expected);
}

// Compares only paths that both libraries understand: without drives and surrounding white space.
void tst_GeneralUtilPaths::CleanPath_sameAsStandardLibrary()
{
    QRandomGenerator random(52);
    const QStringList steps{u"b"_s, u"c d"_s, u"."_s, u".."_s, u""_s, u"ä"_s, u"..."_s};
    for (int i = 0; i < 5000; ++i) {
        const QString path = RandomPath(random, steps);
        const QString expected = ToQt(Normal(path));
        QCOMPARE(GeneralUtil::CleanPath(path), expected);
        // ".." in the root is the root for the standard library, but not for Qt.
        if (!expected.startsWith(u".."_s))
            QCOMPARE(GeneralUtil::CleanPath(u'/' + path), expected == u"."_s ? u"/"_s : expected);
    }
}

// Other operations clean paths that may be clean already. (White space after a leading slash is an exception:
// only a second cleaning removes it.)
void tst_GeneralUtilPaths::CleanPath_isStable()
{
    QRandomGenerator random(53);
    const QStringList steps{u"b"_s, u"C:"_s, u"."_s, u".."_s, u""_s, u"c d"_s, u"\\d"_s};
    for (int i = 0; i < 5000; ++i) {
        const QString clean = GeneralUtil::CleanPath(u'/' + RandomPath(random, steps));
        QCOMPARE(GeneralUtil::CleanPath(clean), clean);
    }
}

void tst_GeneralUtilPaths::GetDrive_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("drive") << u"C:/x"_s << u"C:"_s;
    QTest::newRow("drive, backslash") << u"C:\\x"_s << u"C:"_s;
    QTest::newRow("drive, padded path") << u"C:/x "_s << u"C:"_s;
    QTest::newRow("drive alone") << u"c:"_s << u"c:"_s;
    QTest::newRow("drive and slash alone") << u"c:/"_s << u"c:"_s;
    QTest::newRow("drive, relative") << u"c:x"_s << u"c:"_s;
    QTest::newRow("drive that cleaning removes")
        << u"C:/../x"_s << (QDir::cleanPath(u"C:/../x"_s).left(2) == u"C:"_s ? u"C:"_s : u""_s);
    QTest::newRow("scheme") << u"http://host/x"_s << u"http:"_s;
    QTest::newRow("two colons") << u"http://host:80"_s << u"http:"_s;
    QTest::newRow("leading colon") << u":x"_s << u":"_s;
    QTest::newRow("colon further on") << u"/a/b:c"_s << u"/a/b:"_s;
    QTest::newRow("none") << u"/a/b"_s << u""_s;
    QTest::newRow("server") << u"\\\\srv\\share"_s << u""_s;
    QTest::newRow("root") << u"/"_s << u""_s;
    QTest::newRow("empty") << u""_s << u""_s;
}

void tst_GeneralUtilPaths::GetDrive()
{
    QFETCH(const QString, path);
    QFETCH(const QString, expected);

    QCOMPARE(GeneralUtil::GetDrive(path), expected);
}

void tst_GeneralUtilPaths::IsUNCPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("expected");

    QTest::newRow("backslashes") << u"\\\\srv\\share"_s << true;
    QTest::newRow("slashes") << u"//srv/share"_s << true;
    QTest::newRow("slash and backslash") << u"/\\srv"_s << true;
    QTest::newRow("backslash and slash") << u"\\/srv"_s << true;
    QTest::newRow("nothing else") << u"//"_s << true;
    QTest::newRow("three") << u"///"_s << true;
    QTest::newRow("one slash") << u"/srv"_s << false;
    QTest::newRow("one slash alone") << u"/"_s << false;
    QTest::newRow("one backslash alone") << u"\\"_s << false;
    QTest::newRow("not at the start") << u"a//b"_s << false;
    QTest::newRow("white space in front") << u" //srv"_s << false;
    QTest::newRow("other slashes") << u"\uFF0F\uFF0Fsrv"_s << false;
    QTest::newRow("empty") << u""_s << false;
    QTest::newRow("null") << QString() << false;
}

void tst_GeneralUtilPaths::IsUNCPath()
{
    QFETCH(const QString, path);
    QFETCH(const bool, expected);

    QCOMPARE(GeneralUtil::IsUNCPath(path), expected);
}

void tst_GeneralUtilPaths::RelativeToAbsolutePath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("base");
    QTest::addColumn<bool>("baseIsFile");
    QTest::addColumn<QString>("expected");

    const auto row
        = [](const char* name, const QString& path, const QString& base, bool baseIsFile,
             const QString& expected) { QTest::newRow(name) << path << base << baseIsFile << expected; };
    row("base is a file", u"x/y"_s, u"/b/file.txt"_s, true, u"/b/x/y"_s);
    row("base is a folder", u"x/y"_s, u"/b/file.txt"_s, false, u"/b/file.txt/x/y"_s);
    row("folder with a slash", u"x"_s, u"/b/"_s, false, u"/b/x"_s);
    row("folder with a slash, as a file", u"x"_s, u"/b/"_s, true, u"/b/x"_s);
    row("leading slash", u"/x"_s, u"/b"_s, false, u"/b/x"_s);
    row("dots", u"../x/./y/.."_s, u"/b/c"_s, false, u"/b/x"_s);
    row("above the root", u"../../x"_s, u"/b"_s, false, QDir::cleanPath(u"/b/../../x"_s));
    row("base not clean", u"x"_s, u"/a/../b//c"_s, false, u"/b/c/x"_s);
    row("doubled separator after two dots", u"x/..//y"_s, u"/b"_s, false, u"/b/y"_s);
    row("base with a doubled separator after two dots", u"x"_s, u"/a/..//b"_s, false, u"/b/x"_s);
    row("base with a doubled separator, as a file", u"x"_s, u"/a/..//b/f"_s, true, u"/b/x"_s);
    row("colon, doubled separator after two dots", u"/a/..//b:c"_s, u"/b"_s, false, u"/b:c"_s);
    row("root as the base", u"x"_s, u"/"_s, false, u"/x"_s);
    row("file in the root", u"x"_s, u"/f"_s, true, u"/x"_s);
    row("relative base", u"x"_s, u"b"_s, false, u"b/x"_s);
    row("empty base", u"x"_s, u""_s, false, u"/x"_s);
    row("empty path", u""_s, u"/b"_s, false, u"/b"_s);
    row("not trimmed", u" x"_s, u"/b"_s, false, u"/b/ x"_s);
    row("drive", u"C:/x"_s, u"/b"_s, false, u"C:/x"_s);
    row("drive, base is a file", u"C:/x"_s, u"/b/f"_s, true, u"C:/x"_s);
    row("drive, not clean", u"C:/x/../y/"_s, u"/b"_s, false, u"C:/y"_s);
    row("colon anywhere", u"a/b:c"_s, u"/b"_s, false, u"a/b:c"_s);
    row("scheme, as Qt cleans it", u"http://h/x"_s, u"/b"_s, false, QDir::cleanPath(u"http://h/x"_s));
    row("server, slashes, as Qt cleans it", u"//srv/x/"_s, u"/b"_s, false, QDir::cleanPath(u"//srv/x/"_s));
    row("server, backslashes", u"\\\\srv\\x"_s, u"/b"_s, false, QDir::cleanPath(u"\\\\srv\\x"_s));
    row("base on a drive", u"x"_s, u"C:/b"_s, false, u"C:/b/x"_s);
    // The folder is filled in first, so the path replaces a placeholder in it.
    row("placeholder in the base", u"x"_s, u"/b/%1/c"_s, false, u"/b/x/c/%2"_s);
    row("placeholder in the path", u"%1/%2"_s, u"/b"_s, false, u"/b/%1/%2"_s);
}

void tst_GeneralUtilPaths::RelativeToAbsolutePath()
{
    QFETCH(const QString, path);
    QFETCH(const QString, base);
    QFETCH(const bool, baseIsFile);
    QFETCH(const QString, expected);

    QCOMPARE(GeneralUtil::RelativeToAbsolutePath(path, base, baseIsFile), expected);
}

// The folder of a file is made absolute; a folder is not.
void tst_GeneralUtilPaths::RelativeToAbsolutePath_relativeBase()
{
    QCOMPARE(GeneralUtil::RelativeToAbsolutePath(u"x"_s, u"b/f.txt"_s, true),
             QDir::currentPath() + u"/b/x"_s);
    QCOMPARE(GeneralUtil::RelativeToAbsolutePath(u"x"_s, u"b/f.txt"_s, false), u"b/f.txt/x"_s);
}

void tst_GeneralUtilPaths::AbsoluteToRelativePath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("base");
    QTest::addColumn<bool>("baseIsFile");
    QTest::addColumn<QString>("expected");

    const auto row
        = [](const char* name, const QString& path, const QString& base, bool baseIsFile,
             const QString& expected) { QTest::newRow(name) << path << base << baseIsFile << expected; };
    row("no colon, below the base", u"/b/x"_s, u"/b"_s, false, u"/b/x"_s);
    row("no colon, base is a file", u"/b/x"_s, u"/b/f"_s, true, u"/b/x"_s);
    row("no colon, elsewhere", u"/c/x"_s, u"/b"_s, false, u"/c/x"_s);
    row("no colon, not clean", u"/b//x/./y/../"_s, u"/b"_s, false, u"/b/x"_s);
    row("relative", u"x/../y"_s, u"/b"_s, false, u"y"_s);
    row("empty", u""_s, u"/b"_s, false, u""_s);
    row("not trimmed", u" x "_s, u"/b"_s, false, u" x "_s);
    row("another drive", u"D:/b/x"_s, u"C:/b"_s, false, u"D:/b/x"_s);
    row("colon further on, below the base", u"/b/x:y/z"_s, u"/b"_s, false, u"x:y/z"_s);
    row("colon further on, beside the base", u"/c/x:y"_s, u"/b/d"_s, false, u"../../c/x:y"_s);
    row("colon further on, base is a file", u"/b/x:y"_s, u"/b/f.txt"_s, true, u"x:y"_s);
    row("colon further on, base not clean", u"/b/x:y"_s, u"/a/../b/"_s, false, u"x:y"_s);
    row("colon further on, doubled separator after two dots", u"/a/..//b/x:y"_s, u"/b"_s, false, u"x:y"_s);
    row("colon further on, doubled separator in the base", u"/b/x:y"_s, u"/a/..//b"_s, false, u"x:y"_s);
    row("colon further on, the base itself", u"/b/x:y"_s, u"/b/x:y"_s, false, u"."_s);
}

void tst_GeneralUtilPaths::AbsoluteToRelativePath()
{
    QFETCH(const QString, path);
    QFETCH(const QString, base);
    QFETCH(const bool, baseIsFile);
    QFETCH(const QString, expected);

    QCOMPARE(GeneralUtil::AbsoluteToRelativePath(path, base, baseIsFile), expected);
}

// For drives and servers the result is Qt's, which depends on the system.
void tst_GeneralUtilPaths::AbsoluteToRelativePath_driveOrServer()
{
    const QList<std::pair<QString, QString>> places{{u"C:/b/x"_s, u"C:/b"_s},
                                                    {u"C:/b/x/../y"_s, u"C:/c"_s},
                                                    {u"//srv/b/x"_s, u"//srv/b"_s},
                                                    {u"\\\\srv\\x"_s, u"/b"_s},
                                                    {u"http://h/x"_s, u"http://h"_s}};
    for (const auto& [path, base] : places) {
        const QString expected = QDir::cleanPath(QDir(QDir::cleanPath(base)).relativeFilePath(path));
        QCOMPARE(GeneralUtil::AbsoluteToRelativePath(path, base, false), expected);
        QCOMPARE(
            GeneralUtil::AbsoluteToRelativePath(path, base + u"/file"_s, true),
            QDir::cleanPath(
                QDir(QDir::cleanPath(QFileInfo(base + u"/file"_s).absolutePath())).relativeFilePath(path)));
    }
}

void tst_GeneralUtilPaths::IsParentPath_data()
{
    QTest::addColumn<QString>("parent");
    QTest::addColumn<QString>("child");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<bool>("expectedOrSame");

    const auto row
        = [](const char* name, const QString& parent, const QString& child, bool expected,
             bool expectedOrSame) { QTest::newRow(name) << parent << child << expected << expectedOrSame; };
    row("below, different case", u"A/B"_s, u"a/b/c"_s, true, true);
    row("far below", u"a"_s, u"a/b/c/d"_s, true, true);
    row("same", u"a/b"_s, u"a/b"_s, false, true);
    row("same, different case", u"a/b"_s, u"A/B"_s, false, true);
    row("same after cleaning", u"/a/x/../b/"_s, u"a//b"_s, false, true);
    row("same beginning of a segment", u"a/b"_s, u"a/bc"_s, false, false);
    row("above", u"a/b/c"_s, u"a/b"_s, false, false);
    row("elsewhere", u"a/b"_s, u"a/c/b"_s, false, false);
    row("below after cleaning", u"/a/b/"_s, u" a/./b/c/ "_s, true, true);
    row("leaves the parent", u"a/b"_s, u"a/b/../c"_s, false, false);
    row("with and without a leading slash", u"/a"_s, u"a/b"_s, true, true);
    row("beyond ASCII, different case", u"Ä"_s, u"ä/b"_s, true, true);
    row("simple case folding only", u"ss"_s, u"ß/b"_s, false, false);
    row("drive", u"C:/a"_s, u"c:\\A\\b"_s, true, true);
    row("drive alone", u"C:"_s, u"C:/a"_s, true, true);
    row("another drive", u"C:/a"_s, u"D:/a/b"_s, false, false);
    row("scheme", u"http://h/a"_s, u"HTTP://h/a/b"_s, true, true);
    row("root and a path", u"/"_s, u"/a"_s, false, false);
    // Cleaning removes the leading slash of every path except "/". So only "/" counts as below the root, and
    // as below an empty path.
    row("root and itself", u"/"_s, u"/"_s, true, true);
    row("empty and root", u""_s, u"/"_s, true, true);
    row("empty and a path", u""_s, u"a"_s, false, false);
    row("empty and itself", u""_s, u""_s, false, true);
    row("a path and empty", u"a"_s, u""_s, false, false);
}

void tst_GeneralUtilPaths::IsParentPath()
{
    QFETCH(const QString, parent);
    QFETCH(const QString, child);
    QFETCH(const bool, expected);
    QFETCH(const bool, expectedOrSame);

    QCOMPARE(GeneralUtil::IsParentPath(parent, child), expected);
    QCOMPARE(GeneralUtil::IsParentOrSamePath(parent, child), expectedOrSame);
}

void tst_GeneralUtilPaths::IsParentPath_sameAsStandardLibrary()
{
    QRandomGenerator random(54);
    const QStringList steps{u"b"_s, u"c"_s, u"."_s, u"b/.."_s};
    int parents = 0;
    for (int i = 0; i < 5000; ++i) {
        const QString parent = RandomPath(random, steps);
        const QString child = RandomPath(random, steps);
        const QString relative = Relative(child, parent);
        const bool isSame = relative == u"."_s;
        const bool isParent = !isSame && !relative.startsWith(u".."_s);

        QCOMPARE(GeneralUtil::IsParentPath(parent, child), isParent);
        QCOMPARE(GeneralUtil::IsParentOrSamePath(parent, child), isParent || isSame);
        parents += isParent ? 1 : 0;
    }
    QVERIFY(parents > 500);
}

void tst_GeneralUtilPaths::GetCommonParentPath_data()
{
    QTest::addColumn<QString>("path1");
    QTest::addColumn<QString>("path2");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* name, const QString& path1, const QString& path2,
                        const QString& expected) { QTest::newRow(name) << path1 << path2 << expected; };
    row("different case, spelled like the first", u"/Users/a/x"_s, u"/users/A/y"_s, u"Users/a"_s);
    row("same number of segments, spelled like the first", u"/users/A/y"_s, u"/Users/a/x"_s, u"users/A"_s);
    row("second is shorter, spelled like the second", u"/users/A/y/z"_s, u"/Users/a/x"_s, u"Users/a"_s);
    row("first is shorter, spelled like the first", u"/Users/a"_s, u"/users/A/y/z"_s, u"Users/a"_s);
    row("same", u"a/b"_s, u"a/b"_s, u"a/b"_s);
    row("one below the other", u"a/b"_s, u"a/b/c"_s, u"a/b"_s);
    row("segments count, not letters", u"a/bc"_s, u"a/bd"_s, u"a"_s);
    row("equal segments after the first difference", u"a/b/c"_s, u"a/x/c"_s, u"a"_s);
    row("nothing in common", u"/a/b"_s, u"/c/b"_s, u""_s);
    row("cleaned first", u" /a/./b//c "_s, u"a/x/../b/d/"_s, u"a/b"_s);
    row("drives differ", u"C:/a/b"_s, u"D:/a/b"_s, u""_s);
    row("drive and none", u"C:/a/b"_s, u"/a/b"_s, u""_s);
    row("none and drive", u"/a/b"_s, u"C:/a/b"_s, u""_s);
    row("same drive", u"C:/a/b"_s, u"C:/A/c"_s, u"c:/a"_s);
    row("same drive, different case, backslashes", u"C:\\a\\b"_s, u"c:/a/c"_s, u"c:/a"_s);
    row("same drive, characters that URLs do not allow", u"C:/a %b|/x"_s, u"C:/a %b|/y"_s, u"c:/a %b|"_s);
    row("same drive alone", u"C:/a"_s, u"C:/b"_s, GeneralUtil::CleanPath(u"c:"_s));
    row("drive, relative", u"C:a/b"_s, u"C:/a/c"_s, u"c:/a"_s);
    row("first has a scheme", u"http://h/a"_s, u"http://h/b"_s, u""_s);
    row("second has a scheme", u"/h/a"_s, u"http://h/b"_s, u""_s);
    row("drive and scheme", u"C:/a"_s, u"cc:/a"_s, u""_s);
    row("colon further on in the first", u"/a/b:c"_s, u"/a/b:c"_s, u""_s);
    row("colon further on in the second", u"/a/b"_s, u"/a/b:c"_s, u""_s);
    row("digit and colon is not a drive", u"1:/a"_s, u"1:/b"_s, u"/1:"_s);
    row("roots", u"/"_s, u"/"_s, u"/"_s);
    row("root and a path", u"/"_s, u"/a"_s, u""_s);
    row("empty and a path", u""_s, u"/a"_s, u""_s);
    row("empty twice", u""_s, u""_s, u"/"_s);
    row("servers", u"//srv/share/a"_s, u"//srv/share/b"_s, GeneralUtil::CleanPath(u"//srv/share"_s));
}

void tst_GeneralUtilPaths::GetCommonParentPath()
{
    QFETCH(const QString, path1);
    QFETCH(const QString, path2);
    QFETCH(const QString, expected);

    QCOMPARE(GeneralUtil::GetCommonParentPath(path1, path2), expected);
    QCOMPARE(GeneralUtil::HasCommonParentPath(path1, path2), !expected.isEmpty());
}

void tst_GeneralUtilPaths::GetCommonParentPath_sameAsStandardLibrary()
{
    QRandomGenerator random(55);
    const QStringList steps{u"b"_s, u"c"_s, u"b/c"_s, u"."_s, u"c/.."_s};
    for (int i = 0; i < 5000; ++i) {
        const QString path1 = RandomPath(random, steps);
        const QString path2 = RandomPath(random, steps);
        const std::filesystem::path normal1 = Normal(path1);
        const std::filesystem::path normal2 = Normal(path2);
        const auto ends = std::mismatch(normal1.begin(), normal1.end(), normal2.begin(), normal2.end());
        std::filesystem::path common;
        for (auto it = normal1.begin(); it != ends.first; ++it)
            common /= *it;

        QCOMPARE(GeneralUtil::GetCommonParentPath(path1, path2), ToQt(common));
    }
}

void tst_GeneralUtilPaths::GetSubPath_data()
{
    QTest::addColumn<QString>("parent");
    QTest::addColumn<QString>("child");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* name, const QString& parent, const QString& child,
                        const QString& expected) { QTest::newRow(name) << parent << child << expected; };
    row("below", u"a/b"_s, u"a/b/c/d"_s, u"c/d"_s);
    row("below, different case", u"A/B"_s, u"a/b/C"_s, u"C"_s);
    row("below after cleaning", u"/a/b/"_s, u" /a//b/x/../c/ "_s, u"c"_s);
    row("elsewhere", u"a/b"_s, u"x/y"_s, u"x/y"_s);
    row("elsewhere, cleaned", u"a/b"_s, u"/x//y/"_s, u"x/y"_s);
    row("same beginning of a segment", u"a/b"_s, u"a/bc"_s, u"a/bc"_s);
    row("same", u"a/b"_s, u"a/b"_s, u""_s);
    row("same, different case", u"a/b"_s, u"A/B"_s, u""_s);
    row("above", u"a/b/c"_s, u"a/b"_s, u"a/b"_s);
    row("drive", u"C:/a"_s, u"c:\\a\\b"_s, u"b"_s);
    row("drive alone", u"C:"_s, u"C:/a/b"_s, u"a/b"_s);
    row("scheme", u"http://h"_s, u"http://h/a"_s, u"a"_s);
    row("scheme, leading slashes are dropped", u"http:"_s, u"http://h/a/"_s, u"h/a"_s);
    row("root and itself", u"/"_s, u"/"_s, u""_s);
    row("root and a path", u"/"_s, u"/a"_s, u"a"_s);
    row("empty and root", u""_s, u"/"_s, u""_s);
    row("empty and a path", u""_s, u"/a/"_s, u"a"_s);
    row("empty twice", u""_s, u""_s, u""_s);
    row("a path and empty", u"a"_s, u""_s, u""_s);
}

void tst_GeneralUtilPaths::GetSubPath()
{
    QFETCH(const QString, parent);
    QFETCH(const QString, child);
    QFETCH(const QString, expected);

    QCOMPARE(GeneralUtil::GetSubPath(parent, child), expected);
}

void tst_GeneralUtilPaths::GetSubPath_sameAsStandardLibrary()
{
    QRandomGenerator random(56);
    const QStringList steps{u"b"_s, u"c"_s, u"."_s, u"b/.."_s};
    for (int i = 0; i < 5000; ++i) {
        const QString parent = RandomPath(random, steps);
        const QString child = RandomPath(random, steps);
        const QString relative = Relative(child, parent);
        const QString expected = relative == u"."_s ? QString()
            : relative.startsWith(u".."_s)          ? GeneralUtil::CleanPath(child)
                                                    : GeneralUtil::CleanPath(relative);

        QCOMPARE(GeneralUtil::GetSubPath(parent, child), expected);
    }
}

QTEST_GUILESS_MAIN(tst_GeneralUtilPaths)

#include "tst_GeneralUtilPaths.moc"
