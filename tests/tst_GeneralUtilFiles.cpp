// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"

#include <GeneralUtil.h>

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>

#include <limits>
#include <optional>

#include <unistd.h>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;
using TestSupport::ReadFile;
using TestSupport::WriteFile;

namespace {

constexpr QDir::Filters kFilesOnly = QDir::Files | QDir::NoSymLinks;
constexpr int kLastCounter = std::numeric_limits<int>::max() - 1;

// Permissions do not restrict root. For the lifetime of the guard, the process runs as another user, who owns
// the tree.
class OrdinaryUserGuard
{
public:
    explicit OrdinaryUserGuard(const QStringList& tree)
    {
        if (geteuid() != 0)
            return;
        for (const QString& path : tree)
            mReady = mReady && lchown(QFile::encodeName(path).constData(), kNobody, kNobody) == 0;
        // Change both the real user id, which access() checks, and the effective one; the saved one allows
        // changing back.
        mReady = mReady && setreuid(kNobody, 0) == 0 && seteuid(kNobody) == 0;
        mSwitched = mReady;
    }
    ~OrdinaryUserGuard()
    {
        if (mSwitched && (seteuid(0) != 0 || setreuid(0, 0) != 0))
            qFatal("cannot become root again");
    }
    Q_DISABLE_COPY_MOVE(OrdinaryUserGuard)

    [[nodiscard]] bool IsReady() const { return mReady; }

private:
    static constexpr uid_t kNobody = 65534;

    bool mReady = true;
    bool mSwitched = false;
};

// Changes the current folder for the lifetime of the guard.
class CurrentFolderGuard
{
public:
    explicit CurrentFolderGuard(const QString& folder) { QDir::setCurrent(folder); }
    ~CurrentFolderGuard() { QDir::setCurrent(mSaved); }
    Q_DISABLE_COPY_MOVE(CurrentFolderGuard)

private:
    QString mSaved = QDir::currentPath();
};

QStringList Sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

class tst_GeneralUtilFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void GetFiles_data();
    void GetFiles();
    void GetFiles_order();
    void GetFiles_orderOfEntriesIsQts();
    void GetFiles_dotFolders();
    void GetFiles_fileAsFolder_data();
    void GetFiles_fileAsFolder();
    void GetFiles_noFolder();
    void GetFiles_currentFolder();
    void GetFiles_unusualNames();
    void GetFiles_links();
    void GetFiles_linkToItself();

    void DeleteFiles_data();
    void DeleteFiles();
    void DeleteFiles_emptyFolderText();
    void DeleteFiles_noFolder();
    void DeleteFiles_continuesAfterFailure();
    void DeleteFiles_readOnlyFile();
    void DeleteFiles_readOnlyFileIsMadeWritableFirst();
    void DeleteFiles_links();
    void DeleteFiles_fileAsFolder();

    void DeleteEmptyDirectories_data();
    void DeleteEmptyDirectories();
    void DeleteEmptyDirectories_noFolder();
    void DeleteEmptyDirectories_relativePath();
    void DeleteEmptyDirectories_links();

    void GetUniqueFile_data();
    void GetUniqueFile();
    void GetUniqueFile_unusedPathIsUnchanged();
    void GetUniqueFile_emptyPath();
    void GetUniqueFile_relativePath();
    void GetUniqueFile_folderCountsAsInUse();
    void GetUniqueFile_placeholderInTheFolder();
    void GetUniqueFile_shortForm();
    void GetUniqueFile_inFolder_data();
    void GetUniqueFile_inFolder();
    void GetUniqueFile_inTemporaryFolder();

    void FixInvalidCharsInFileName_data();
    void FixInvalidCharsInFileName();

    void ReadAllLines_data();
    void ReadAllLines();
    void ReadAllLines_keepsEntries();
    void ReadAllLines_cannotBeOpened();
    void WriteAllLines_data();
    void WriteAllLines();
    void WriteAllLines_replacesContent();
    void WriteAllLines_cannotBeOpened();
    void WriteAllLines_roundTrip();

private:
    [[nodiscard]] QString Path(const QString& relative) const;
    [[nodiscard]] QStringList Paths(const QStringList& relative) const;
    [[nodiscard]] bool Make(const QStringList& entries) const;
    [[nodiscard]] QStringList Tree() const;

    std::optional<QTemporaryDir> mDir;
    QString mRoot; // clean, without links
};

void tst_GeneralUtilFiles::init()
{
    TestSupport::FailOnAnyMessage();
    mDir.emplace();
    QVERIFY(mDir->isValid());
    mRoot = QFileInfo(mDir->path()).canonicalFilePath();
}

void tst_GeneralUtilFiles::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

QString tst_GeneralUtilFiles::Path(const QString& relative) const
{
    return relative.isEmpty() ? mRoot : mRoot + u'/' + relative;
}

QStringList tst_GeneralUtilFiles::Paths(const QStringList& relative) const
{
    QStringList paths;
    for (const QString& path : relative)
        paths.append(Path(path));
    return paths;
}

// Creates files, folders ("sub/") and links ("link>target", with the target unchanged), and the folders above
// them.
bool tst_GeneralUtilFiles::Make(const QStringList& entries) const
{
    for (const QString& entry : entries) {
        const QString name = entry.section(u'>', 0, 0);
        const QString path = Path(name);
        if (!QDir().mkpath(name.endsWith(u'/') ? path : QFileInfo(path).path()))
            return false;
        if (entry.contains(u'>') && !QFile::link(entry.section(u'>', 1), path))
            return false;
        if (!entry.contains(u'>') && !name.endsWith(u'/') && !WriteFile(path, entry.toUtf8()))
            return false;
    }
    return true;
}

// Returns everything that is left, sorted, in the form that Make takes; links are not followed.
QStringList tst_GeneralUtilFiles::Tree() const
{
    QStringList tree;
    QDirIterator it(mRoot, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString name = info.filePath().mid(mRoot.size() + 1);
        if (info.isSymLink())
            tree.append(name + u'>');
        else
            tree.append(info.isDir() ? name + u'/' : name);
    }
    return Sorted(tree);
}

void tst_GeneralUtilFiles::GetFiles_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QDir::Filters>("filters");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<QStringList>("expected");

    const auto row = [](const char* name, const QString& filter, QDir::Filters filters, bool recursive,
                        const QStringList& expected) {
        QTest::newRow(name) << filter << filters << recursive << expected;
    };
    const QDir::Filters files = QDir::Files;
    const QDir::Filters folders = QDir::Dirs | QDir::NoDotAndDotDot;
    row("no filter", u""_s, files, false, {u"a.txt"_s, u"b.log"_s, u"c.dat"_s});
    row("star", u"*"_s, files, false, {u"a.txt"_s, u"b.log"_s, u"c.dat"_s});
    row("one pattern", u"*.txt"_s, files, false, {u"a.txt"_s});
    row("two patterns", u"*.txt|*.log"_s, files, false, {u"a.txt"_s, u"b.log"_s});
    row("empty parts", u"||*.txt|"_s, files, false, {u"a.txt"_s});
    row("empty parts alone", u"|"_s, files, false, {u"a.txt"_s, u"b.log"_s, u"c.dat"_s});
    row("parts are not trimmed", u"*.txt| *.log"_s, files, false, {u"a.txt"_s});
    row("question mark and set", u"?.[tl]*"_s, files, false, {u"a.txt"_s, u"b.log"_s});
    row("a name", u"c.dat"_s, files, false, {u"c.dat"_s});
    row("no match", u"*.xml"_s, files, false, {});
    row("different case", u"*.TXT"_s, files, false, {u"a.txt"_s});
    row("different case, case counts", u"*.TXT"_s, files | QDir::CaseSensitive, false, {});
    row("hidden files", u"*.txt"_s, files | QDir::Hidden, false, {u".h.txt"_s, u"a.txt"_s});
    row("folders", u""_s, folders, false, {u"empty"_s, u"sub"_s, u"txt"_s});
    row("folders by pattern", u"*t*"_s, folders, false, {u"empty"_s, u"txt"_s});
    row("files and folders by pattern", u"*t*"_s, files | folders, false,
        {u"a.txt"_s, u"c.dat"_s, u"empty"_s, u"txt"_s});
    row("all folders, despite the pattern", u"*.log"_s, files | QDir::AllDirs | QDir::NoDotAndDotDot, false,
        {u"b.log"_s, u"empty"_s, u"sub"_s, u"txt"_s});

    row("recursive", u""_s, files, true,
        {u"a.txt"_s, u"b.log"_s, u"c.dat"_s, u"sub/d.txt"_s, u"sub/deep/f.txt"_s, u"sub/e.log"_s,
         u"txt/g.dat"_s});
    row("recursive, two patterns", u"*.txt|*.log"_s, files, true,
        {u"a.txt"_s, u"b.log"_s, u"sub/d.txt"_s, u"sub/deep/f.txt"_s, u"sub/e.log"_s});
    row("recursive, hidden", u"*.txt"_s, files | QDir::Hidden, true,
        {u".h.txt"_s, u".hidden/i.txt"_s, u"a.txt"_s, u"sub/d.txt"_s, u"sub/deep/f.txt"_s});
    row("recursive, patterns are not for folders", u"*.log"_s, files | QDir::Dirs, true,
        {u"b.log"_s, u"empty"_s, u"sub"_s, u"sub/deep"_s, u"sub/e.log"_s, u"txt"_s});
    row("recursive, all folders", u"*.log"_s, files | QDir::AllDirs, true,
        {u"b.log"_s, u"empty"_s, u"sub"_s, u"sub/deep"_s, u"sub/e.log"_s, u"txt"_s});
    row("recursive, folders alone", u""_s, QDir::Dirs, true, {u"empty"_s, u"sub"_s, u"sub/deep"_s, u"txt"_s});
    row("recursive, pattern of a folder", u"txt"_s, files, true, {});
    row("recursive, no match", u"*.xml"_s, files, true, {});
}

void tst_GeneralUtilFiles::GetFiles()
{
    QFETCH(const QString, filter);
    QFETCH(const QDir::Filters, filters);
    QFETCH(const bool, recursive);
    QFETCH(const QStringList, expected);

    QVERIFY(Make({u"a.txt"_s, u"b.log"_s, u"c.dat"_s, u".h.txt"_s, u".hidden/i.txt"_s, u"empty/"_s,
                  u"sub/d.txt"_s, u"sub/e.log"_s, u"sub/deep/f.txt"_s, u"txt/g.dat"_s}));
    const QStringList expectedPaths = Paths(expected);
    QCOMPARE(Sorted(GeneralUtil::GetFiles(mRoot, filter, filters, recursive)), expectedPaths);

    // The paths are clean, however the folder is spelled.
    const QString detour = mRoot + u"/sub/..//sub//deep/.//..//../"_s;
    QCOMPARE(Sorted(GeneralUtil::GetFiles(detour, filter, filters, recursive)), expectedPaths);
    const CurrentFolderGuard guard(Path(u"sub"_s));
    QCOMPARE(Sorted(GeneralUtil::GetFiles(u".."_s, filter, filters, recursive)), expectedPaths);
}

void tst_GeneralUtilFiles::GetFiles_order()
{
    QVERIFY(Make({u"z.txt"_s, u"a/y.txt"_s, u"a/b/x.txt"_s, u"a/b/c/w.txt"_s}));

    QCOMPARE(GeneralUtil::GetFiles(mRoot, u"*.txt"_s, QDir::Files, true),
             Paths({u"z.txt"_s, u"a/y.txt"_s, u"a/b/x.txt"_s, u"a/b/c/w.txt"_s}));
    QCOMPARE(
        GeneralUtil::GetFiles(mRoot, u"*.txt"_s, QDir::Files | QDir::Dirs, true),
        Paths({u"z.txt"_s, u"a"_s, u"a/y.txt"_s, u"a/b"_s, u"a/b/x.txt"_s, u"a/b/c"_s, u"a/b/c/w.txt"_s}));
}

void tst_GeneralUtilFiles::GetFiles_orderOfEntriesIsQts()
{
    QVERIFY(Make({u"b"_s, u"C"_s, u"a"_s, u"D/d"_s, u"e/e"_s, u"B2/b"_s}));

    QStringList expected = QDir(mRoot).entryList(QDir::Files, QDir::NoSort);
    QCOMPARE(GeneralUtil::GetFiles(mRoot, u""_s, QDir::Files, false), Paths(expected));
    const QStringList folders = QDir(mRoot).entryList(QDir::AllDirs | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QString& folder : folders)
        expected.append(folder + u'/' + folder.left(1).toLower());
    QCOMPARE(GeneralUtil::GetFiles(mRoot, u""_s, QDir::Files, true), Paths(expected));
}

void tst_GeneralUtilFiles::GetFiles_dotFolders()
{
    QVERIFY(Make({u"d/a"_s, u"d/sub/"_s}));

    // Cleaned, "." is the folder itself, and ".." its parent.
    QCOMPARE(Sorted(GeneralUtil::GetFiles(Path(u"d"_s), u""_s, QDir::Dirs, false)),
             (QStringList{mRoot, Path(u"d"_s), Path(u"d/sub"_s)}));
    QCOMPARE(GeneralUtil::GetFiles(Path(u"d"_s), u""_s, QDir::Dirs, true), QStringList{Path(u"d/sub"_s)});
}

void tst_GeneralUtilFiles::GetFiles_fileAsFolder_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("file") << u"a.txt"_s << u""_s << false << QStringList{u"a.txt"_s};
    QTest::newRow("file in a sub-folder") << u"sub/b.txt"_s << u""_s << false << QStringList{u"sub/b.txt"_s};
    QTest::newRow("file, also found in the sub-folders")
        << u"a.txt"_s << u""_s << true << QStringList{u"a.txt"_s, u"sub/a.txt"_s};
    QTest::newRow("name as a pattern") << u"a.*"_s << u""_s << false << QStringList{u"a.log"_s, u"a.txt"_s};
    QTest::newRow("missing") << u"c.txt"_s << u""_s << false << QStringList();
    QTest::newRow("missing folder") << u"nope/c.txt"_s << u""_s << true << QStringList();
    QTest::newRow("missing, with a slash") << u"nope/"_s << u""_s << false << QStringList();
    QTest::newRow("file with a filter") << u"a.txt"_s << u"*"_s << false << QStringList();
}

void tst_GeneralUtilFiles::GetFiles_fileAsFolder()
{
    QFETCH(const QString, file);
    QFETCH(const QString, filter);
    QFETCH(const bool, recursive);
    QFETCH(const QStringList, expected);

    QVERIFY(Make({u"a.txt"_s, u"a.log"_s, u"b.txt"_s, u"sub/a.txt"_s, u"sub/b.txt"_s}));
    QCOMPARE(Sorted(GeneralUtil::GetFiles(Path(file), filter, QDir::Files, recursive)), Paths(expected));
    const CurrentFolderGuard guard(mRoot);
    QCOMPARE(Sorted(GeneralUtil::GetFiles(file, filter, QDir::Files, recursive)), Paths(expected));
}

void tst_GeneralUtilFiles::GetFiles_noFolder()
{
    for (const bool recursive : {false, true}) {
        QCOMPARE(GeneralUtil::GetFiles(Path(u"nope"_s), u"*"_s, QDir::Files, recursive), QStringList());
        QCOMPARE(GeneralUtil::GetFiles(Path(u"nope"_s), u""_s, QDir::Files | QDir::Dirs, recursive),
                 QStringList());
    }
}

// As in QDir, a folder without a name is the current one.
void tst_GeneralUtilFiles::GetFiles_currentFolder()
{
    QVERIFY(Make({u"a.txt"_s, u"sub/b.txt"_s}));
    const CurrentFolderGuard guard(mRoot);

    QCOMPARE(GeneralUtil::GetFiles(u""_s, u"*.txt"_s, QDir::Files, false), Paths({u"a.txt"_s}));
    QCOMPARE(GeneralUtil::GetFiles(u""_s, u""_s, QDir::Files, true), Paths({u"a.txt"_s, u"sub/b.txt"_s}));
    QCOMPARE(GeneralUtil::GetFiles(u"."_s, u""_s, QDir::Files, true), Paths({u"a.txt"_s, u"sub/b.txt"_s}));
}

void tst_GeneralUtilFiles::GetFiles_unusualNames()
{
    const QStringList names{u" padded "_s, u"%1"_s, u":colon"_s, u"back\\slash"_s, u"sub/:a/:b"_s, u"ä€😀"_s};
    QVERIFY(Make(names));

    QCOMPARE(Sorted(GeneralUtil::GetFiles(mRoot, u""_s, QDir::Files, true)), Paths(Sorted(names)));
}

void tst_GeneralUtilFiles::GetFiles_links()
{
    QVERIFY(Make({u"outside/o.txt"_s, u"outside/sub/p.txt"_s, u"d/a.txt"_s, u"d/folder>../outside"_s,
                  u"d/file>a.txt"_s, u"d/nothing>nope"_s}));
    const QString folder = Path(u"d"_s);

    QCOMPARE(Sorted(GeneralUtil::GetFiles(folder, u""_s, QDir::Files, false)),
             Paths({u"d/a.txt"_s, u"d/file"_s}));
    QCOMPARE(Sorted(GeneralUtil::GetFiles(folder, u""_s, QDir::Files, true)),
             Paths({u"d/a.txt"_s, u"d/file"_s, u"d/folder/o.txt"_s, u"d/folder/sub/p.txt"_s}));
    QCOMPARE(Sorted(GeneralUtil::GetFiles(folder, u""_s, QDir::Files | QDir::Dirs, true)),
             Paths({u"d/a.txt"_s, u"d/file"_s, u"d/folder"_s, u"d/folder/o.txt"_s, u"d/folder/sub"_s,
                    u"d/folder/sub/p.txt"_s}));
    QCOMPARE(
        Sorted(GeneralUtil::GetFiles(folder, u""_s, QDir::Files | QDir::System, true)),
        Paths({u"d/a.txt"_s, u"d/file"_s, u"d/folder/o.txt"_s, u"d/folder/sub/p.txt"_s, u"d/nothing"_s}));
    QCOMPARE(GeneralUtil::GetFiles(folder, u""_s, QDir::Files | QDir::Dirs | QDir::NoSymLinks, true),
             Paths({u"d/a.txt"_s}));
    // A dangling link is not a sub-folder.
    QCOMPARE(GeneralUtil::GetFiles(folder, u"*.txt"_s, QDir::Dirs | QDir::System | QDir::NoSymLinks, true),
             QStringList());
    // For Qt, a dangling link is a system file.
    QCOMPARE(
        Sorted(GeneralUtil::GetFiles(folder, u""_s, QDir::Files | QDir::System | QDir::NoSymLinks, true)),
        Paths({u"d/a.txt"_s, u"d/nothing"_s}));
}

// The system follows a link to itself only a limited number of times.
void tst_GeneralUtilFiles::GetFiles_linkToItself()
{
    QVERIFY(Make({u"a.txt"_s, u"loop>."_s}));

    const QStringList files = GeneralUtil::GetFiles(mRoot, u""_s, QDir::Files, true);
    QVERIFY(files.size() > 1);
    QCOMPARE(files.at(0), Path(u"a.txt"_s));
    QCOMPARE(files.at(1), Path(u"loop/a.txt"_s));
    QCOMPARE(GeneralUtil::GetFiles(mRoot, u""_s, kFilesOnly, true), Paths({u"a.txt"_s}));
}

void tst_GeneralUtilFiles::DeleteFiles_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QDir::Filters>("filters");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QStringList>("after");

    const auto row
        = [](const char* name, const QStringList& before, const QString& filter, QDir::Filters filters,
             bool recursive, const QStringList& after, bool expected = true) {
              QTest::newRow(name) << before << filter << filters << recursive << expected << after;
          };
    const QStringList tree{u"d/a.tmp"_s, u"d/b.txt"_s, u"d/sub/c.tmp"_s, u"d/sub/e.txt"_s};
    row("not recursive", tree, u"*.tmp"_s, kFilesOnly, false,
        {u"d/"_s, u"d/b.txt"_s, u"d/sub/"_s, u"d/sub/c.tmp"_s, u"d/sub/e.txt"_s});
    row("recursive", tree, u"*.tmp"_s, kFilesOnly, true,
        {u"d/"_s, u"d/b.txt"_s, u"d/sub/"_s, u"d/sub/e.txt"_s});
    row("two patterns", tree, u"*.tmp|b*"_s, kFilesOnly, false,
        {u"d/"_s, u"d/sub/"_s, u"d/sub/c.tmp"_s, u"d/sub/e.txt"_s});
    row("everything", tree, u""_s, kFilesOnly, true, {});
    row("everything, not recursive", tree, u""_s, kFilesOnly, false,
        {u"d/"_s, u"d/sub/"_s, u"d/sub/c.tmp"_s, u"d/sub/e.txt"_s});
    row("no match", tree, u"*.xml"_s, kFilesOnly, true,
        {u"d/"_s, u"d/a.tmp"_s, u"d/b.txt"_s, u"d/sub/"_s, u"d/sub/c.tmp"_s, u"d/sub/e.txt"_s});
    row("empty folder", {u"d/"_s}, u""_s, kFilesOnly, false, {});

    row("empty folders are removed, not recursive", {u"d/a.tmp"_s, u"d/b.txt"_s, u"d/e/f/"_s, u"d/g/"_s},
        u"*.tmp"_s, kFilesOnly, false, {u"d/"_s, u"d/b.txt"_s});
    row("empty folders are removed, no match", {u"d/b.txt"_s, u"d/e/f/"_s}, u"*.tmp"_s, kFilesOnly, false,
        {u"d/"_s, u"d/b.txt"_s});
    row("folder is removed if it ends up empty", {u"d/a.tmp"_s, u"d/e/f/"_s}, u"*.tmp"_s, kFilesOnly, false,
        {});
    row("parent folder is kept", {u"d/a.tmp"_s, u"x"_s}, u""_s, kFilesOnly, true, {u"x"_s});

    row("hidden files are kept", {u"d/.h"_s, u"d/a"_s}, u""_s, kFilesOnly, true, {u"d/"_s, u"d/.h"_s});
    row("hidden files and folders", {u"d/.h"_s, u"d/.s/a"_s}, u""_s, kFilesOnly | QDir::Hidden, true, {});
    row("hidden folders are kept, even if empty", {u"d/.s/"_s, u"d/a"_s}, u""_s, kFilesOnly, true,
        {u"d/"_s, u"d/.s/"_s});
    // Folders that are listed as files cannot be deleted as files; removing empty folders uses its own list.
    row("folders are listed too, which fails", {u"d/a"_s, u"d/sub/b"_s}, u""_s, kFilesOnly | QDir::Dirs, true,
        {}, false);
    row("folders are listed too, not recursive", {u"d/a"_s, u"d/sub/b"_s}, u""_s,
        kFilesOnly | QDir::Dirs | QDir::NoDotAndDotDot, false, {u"d/"_s, u"d/sub/"_s, u"d/sub/b"_s}, false);
}

void tst_GeneralUtilFiles::DeleteFiles()
{
    QFETCH(const QStringList, before);
    QFETCH(const QString, filter);
    QFETCH(const QDir::Filters, filters);
    QFETCH(const bool, recursive);
    QFETCH(const bool, expected);
    QFETCH(const QStringList, after);

    QVERIFY(Make(before));
    QCOMPARE(GeneralUtil::DeleteFiles(Path(u"d"_s), filter, filters, recursive), expected);
    QCOMPARE(Tree(), after);
}

void tst_GeneralUtilFiles::DeleteFiles_emptyFolderText()
{
    QVERIFY(Make({u"a"_s, u"empty/"_s}));
    const CurrentFolderGuard guard(mRoot); // where an empty text would lead

    QVERIFY(!GeneralUtil::DeleteFiles(u""_s, u"*"_s, kFilesOnly, true));
    QVERIFY(!GeneralUtil::DeleteFiles(QString(), u""_s, kFilesOnly, false));
    QCOMPARE(Tree(), (QStringList{u"a"_s, u"empty/"_s}));
}

void tst_GeneralUtilFiles::DeleteFiles_noFolder()
{
    QVERIFY(Make({u"a"_s}));

    QVERIFY(GeneralUtil::DeleteFiles(Path(u"nope"_s), u""_s, kFilesOnly, true)); // nothing to delete
    QCOMPARE(Tree(), QStringList{u"a"_s});
}

void tst_GeneralUtilFiles::DeleteFiles_continuesAfterFailure()
{
    // "b" is listed between the two files, and cannot be deleted as a file.
    QVERIFY(Make({u"d/a"_s, u"d/b/x"_s, u"d/c"_s}));
    const QDir::Filters filters = kFilesOnly | QDir::AllDirs | QDir::NoDotAndDotDot;
    QCOMPARE(GeneralUtil::GetFiles(Path(u"d"_s), u"*"_s, filters, false).size(), 3);

    QVERIFY(!GeneralUtil::DeleteFiles(Path(u"d"_s), u"*"_s, filters, false));
    QCOMPARE(Tree(), (QStringList{u"d/"_s, u"d/b/"_s, u"d/b/x"_s}));
}

void tst_GeneralUtilFiles::DeleteFiles_readOnlyFile()
{
    QVERIFY(Make({u"d/a"_s, u"d/b"_s}));
    QVERIFY(QFile::setPermissions(Path(u"d/a"_s), QFileDevice::ReadOwner));
    QVERIFY(QFile::setPermissions(Path(u"d/b"_s), QFileDevice::Permissions()));
    const OrdinaryUserGuard guard({mRoot, Path(u"d"_s), Path(u"d/a"_s), Path(u"d/b"_s)});
    QVERIFY(guard.IsReady());
    QVERIFY(!QFileInfo(Path(u"d/a"_s)).isWritable());

    QVERIFY(GeneralUtil::DeleteFiles(Path(u"d"_s), u""_s, kFilesOnly, false));
    QCOMPARE(Tree(), QStringList());
}

// In a folder that is not writable, the file cannot be deleted, so its changed permissions can be checked.
void tst_GeneralUtilFiles::DeleteFiles_readOnlyFileIsMadeWritableFirst()
{
    QVERIFY(Make({u"d/a"_s, u"d/sub/b"_s}));
    const QFileDevice::Permissions readOnly
        = QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ExeOther;
    QVERIFY(QFile::setPermissions(Path(u"d/a"_s), readOnly));
    const OrdinaryUserGuard guard(
        {mRoot, Path(u"d"_s), Path(u"d/a"_s), Path(u"d/sub"_s), Path(u"d/sub/b"_s)});
    QVERIFY(guard.IsReady());
    QVERIFY(QFile::setPermissions(Path(u"d"_s), QFileDevice::ReadOwner | QFileDevice::ExeOwner));

    const bool deleted = GeneralUtil::DeleteFiles(Path(u"d"_s), u""_s, kFilesOnly, true);
    const QStringList left = Tree();
    const QFileDevice::Permissions permissions = QFile::permissions(Path(u"d/a"_s));
    QVERIFY(QFile::setPermissions(Path(u"d"_s),
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));

    QVERIFY(!deleted);
    QCOMPARE(left, (QStringList{u"d/"_s, u"d/a"_s, u"d/sub/"_s})); // the file elsewhere is deleted
    for (const auto bit :
         {QFileDevice::WriteOwner, QFileDevice::ReadOwner, QFileDevice::ReadGroup, QFileDevice::ExeOther})
        QVERIFY(permissions & bit);
    QVERIFY(!(permissions & (QFileDevice::WriteGroup | QFileDevice::WriteOther)));
}

void tst_GeneralUtilFiles::DeleteFiles_links()
{
    const QStringList before{u"d/file>../outside/o"_s, u"d/folder>../outside"_s, u"d/nothing>nope"_s,
                             u"outside/empty/"_s, u"outside/o"_s};
    QVERIFY(Make(before));

    // Links are either skipped ...
    QVERIFY(GeneralUtil::DeleteFiles(Path(u"d"_s), u""_s, kFilesOnly, true));
    QCOMPARE(Tree(),
             (QStringList{u"d/"_s, u"d/file>"_s, u"d/folder>"_s, u"d/nothing>"_s, u"outside/"_s,
                          u"outside/empty/"_s, u"outside/o"_s}));
    // ... or, if they lead to a file, deleted; if they lead to a folder, followed.
    QVERIFY(GeneralUtil::DeleteFiles(Path(u"d"_s), u""_s, QDir::Files, false));
    QCOMPARE(Tree(), (QStringList{u"d/"_s, u"d/folder>"_s, u"d/nothing>"_s, u"outside/"_s, u"outside/o"_s}));
    QVERIFY(GeneralUtil::DeleteFiles(Path(u"d"_s), u""_s, QDir::Files, true));
    QCOMPARE(Tree(), (QStringList{u"d/"_s, u"d/folder>"_s, u"d/nothing>"_s, u"outside/"_s}));
}

void tst_GeneralUtilFiles::DeleteFiles_fileAsFolder()
{
    QVERIFY(Make({u"d/a"_s, u"d/empty/"_s}));

    QVERIFY(GeneralUtil::DeleteFiles(Path(u"d/a"_s), u""_s, kFilesOnly, false));
    QCOMPARE(Tree(), (QStringList{u"d/"_s, u"d/empty/"_s})); // there is no folder of that name to remove
}

void tst_GeneralUtilFiles::DeleteEmptyDirectories_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QDir::Filters>("filters");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QStringList>("after");

    const auto row
        = [](const char* name, const QStringList& before, QDir::Filters filters, bool expected,
             const QStringList& after) { QTest::newRow(name) << before << filters << expected << after; };
    const QDir::Filters folders = QDir::Dirs | QDir::NoSymLinks;
    row("empty", {u"d/"_s}, folders, true, {});
    row("empty folders within", {u"d/a/b/c/"_s, u"d/e/"_s}, folders, true, {});
    row("any flags will do", {u"d/a/b/c/"_s, u"d/e/"_s}, kFilesOnly, true, {});
    row("a file", {u"d/f"_s}, folders, false, {u"d/"_s, u"d/f"_s});
    row("a file further down", {u"d/a/f"_s, u"d/a/b/"_s, u"d/e/"_s}, folders, false,
        {u"d/"_s, u"d/a/"_s, u"d/a/f"_s});
    row("a hidden file", {u"d/.f"_s, u"d/e/"_s}, folders, false, {u"d/"_s, u"d/.f"_s});
    row("a hidden folder", {u"d/.s/"_s, u"d/e/"_s}, folders, false, {u"d/"_s, u"d/.s/"_s});
    row("a hidden folder, with hidden entries listed", {u"d/.s/t/"_s}, folders | QDir::Hidden, true, {});
    row("nothing beside the folder is touched", {u"d/"_s, u"e/"_s, u"d2/"_s}, folders, true,
        {u"d2/"_s, u"e/"_s});
}

void tst_GeneralUtilFiles::DeleteEmptyDirectories()
{
    QFETCH(const QStringList, before);
    QFETCH(const QDir::Filters, filters);
    QFETCH(const bool, expected);
    QFETCH(const QStringList, after);

    QVERIFY(Make(before));
    QCOMPARE(GeneralUtil::DeleteEmptyDirectories(Path(u"d"_s), filters), expected);
    QCOMPARE(Tree(), after);
}

void tst_GeneralUtilFiles::DeleteEmptyDirectories_noFolder()
{
    QVERIFY(Make({u"f"_s, u"empty/"_s}));
    const CurrentFolderGuard guard(Path(u"empty"_s)); // where an empty text would lead

    for (const QString& folder : {u""_s, QString(), Path(u"nope"_s), Path(u"f"_s)})
        QVERIFY(!GeneralUtil::DeleteEmptyDirectories(folder, QDir::Dirs | QDir::NoSymLinks));
    QCOMPARE(Tree(), (QStringList{u"empty/"_s, u"f"_s}));
}

void tst_GeneralUtilFiles::DeleteEmptyDirectories_relativePath()
{
    QVERIFY(Make({u"d/e/f/"_s, u"x/"_s}));
    const CurrentFolderGuard guard(Path(u"x"_s));

    QVERIFY(GeneralUtil::DeleteEmptyDirectories(u"../d/e/../e/"_s, QDir::Dirs | QDir::NoSymLinks));
    QCOMPARE(Tree(), (QStringList{u"d/"_s, u"x/"_s}));
}

void tst_GeneralUtilFiles::DeleteEmptyDirectories_links()
{
    QVERIFY(Make({u"d/link>../outside"_s, u"d/e/"_s, u"outside/empty/"_s}));

    QVERIFY(!GeneralUtil::DeleteEmptyDirectories(Path(u"d"_s), QDir::Dirs | QDir::NoSymLinks));
    QCOMPARE(Tree(), (QStringList{u"d/"_s, u"d/link>"_s, u"outside/"_s, u"outside/empty/"_s}));
    // The link is followed, but neither the link nor its target can be removed through it.
    QVERIFY(!GeneralUtil::DeleteEmptyDirectories(Path(u"d"_s), QDir::Dirs));
    QCOMPARE(Tree(), (QStringList{u"d/"_s, u"d/link>"_s, u"outside/"_s}));
}

void tst_GeneralUtilFiles::GetUniqueFile_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("firstTry");
    QTest::addColumn<bool>("append");
    QTest::addColumn<int>("start");
    QTest::addColumn<QString>("expected"); // empty: no result

    // "before" lists the existing files; the first of them is the path that is passed.
    const auto row = [](const char* name, const QStringList& before, const QString& format,
                        const QString& firstTry, bool append, int start, const QString& expected) {
        QTest::newRow(name) << before << format << firstTry << append << start << expected;
    };
    row("first number is unused", {u"a.txt"_s}, u"(%1)"_s, u""_s, true, 2, u"a(2).txt"_s);
    row("second number is unused", {u"a.txt"_s, u"a(2).txt"_s}, u"(%1)"_s, u""_s, true, 2, u"a(3).txt"_s);
    row("a gap", {u"a.txt"_s, u"a(2).txt"_s, u"a(4).txt"_s}, u"(%1)"_s, u""_s, true, 2, u"a(3).txt"_s);
    row("another first number", {u"a.txt"_s, u"a(2).txt"_s}, u"(%1)"_s, u""_s, true, 10, u"a(10).txt"_s);
    row("through 0", {u"a.txt"_s, u"a-1.txt"_s, u"a0.txt"_s}, u"%1"_s, u""_s, true, -1, u"a1.txt"_s);
    row("no format", {u"a.txt"_s, u"a2.txt"_s}, u""_s, u""_s, true, 2, u"a3.txt"_s);
    row("tag in front", {u"a.txt"_s, u"1_a.txt"_s}, u"%1_"_s, u""_s, false, 1, u"2_a.txt"_s);
    row("number twice", {u"a.txt"_s}, u"-%1-%1"_s, u""_s, true, 7, u"a-7-7.txt"_s);
    row("another placeholder", {u"a.txt"_s}, u"-%5"_s, u""_s, true, 7, u"a-7.txt"_s);
    row("only the lowest placeholder", {u"a.txt"_s}, u"-%2-%1"_s, u""_s, true, 7, u"a-%2-7.txt"_s);
    row("placeholder of two digits", {u"a.txt"_s}, u"-%99"_s, u""_s, true, 7, u"a-7.txt"_s);
    row("large number is not grouped", {u"a.txt"_s}, u"%1"_s, u""_s, true, 1234567, u"a1234567.txt"_s);

    row("first try is unused", {u"a.txt"_s}, u"(%1)"_s, u" copy"_s, true, 2, u"a copy.txt"_s);
    row("first try is in use", {u"a.txt"_s, u"a copy.txt"_s}, u"(%1)"_s, u" copy"_s, true, 2, u"a(2).txt"_s);
    row("first try in front", {u"a.txt"_s}, u"(%1)"_s, u"copy of "_s, false, 2, u"copy of a.txt"_s);
    row("first try is not a format", {u"a.txt"_s}, u"(%1)"_s, u"%1"_s, true, 2, u"a%1.txt"_s);

    row("no suffix", {u"a"_s}, u"-%1"_s, u""_s, true, 2, u"a-2"_s);
    row("two suffixes", {u"a.tar.gz"_s}, u"-%1"_s, u""_s, true, 2, u"a.tar-2.gz"_s);
    row("only a suffix", {u".profile"_s}, u"-%1"_s, u""_s, true, 2, u"-2.profile"_s);
    row("trailing dot is dropped", {u"a."_s}, u"-%1"_s, u""_s, true, 2, u"a-2"_s);
    row("placeholder in the name takes the tag", {u"a%1.txt"_s}, u"(%1)"_s, u""_s, true, 2, u"a(2)%3.txt"_s);
    // In "%3%2" the first digit of the name completes the placeholder "%31", which the tag replaces.
    row("name begins with a digit, tag after it", {u"1a.txt"_s}, u"(%1)"_s, u""_s, true, 2, u"1a(2).txt"_s);
    row("name begins with a digit, tag before it", {u"1a.txt"_s}, u"%1_"_s, u""_s, false, 2, u"2_a.txt"_s);
    row("placeholder in the suffix is kept", {u"a.%1"_s}, u"(%1)"_s, u""_s, true, 2, u"a(2).%1"_s);

    row("no placeholder", {u"a.txt"_s}, u"_"_s, u""_s, true, 2, u"a_.txt"_s);
    row("no placeholder, in use", {u"a.txt"_s, u"a_.txt"_s}, u"_"_s, u""_s, true, 2, u""_s);
    row("no placeholder, first try in use", {u"a.txt"_s, u"ab.txt"_s, u"a_.txt"_s}, u"_"_s, u"b"_s, true, 2,
        u""_s);
    row("percent sign is not a placeholder", {u"a.txt"_s, u"a%.txt"_s}, u"%"_s, u""_s, true, 2, u""_s);
    row("percent sign in front of a letter", {u"a.txt"_s, u"a%L.txt"_s}, u"%L"_s, u""_s, true, 2, u""_s);

    const QString last = QString::number(kLastCounter);
    row("last number is unused", {u"a.txt"_s}, u"%1"_s, u""_s, true, kLastCounter, u"a%1.txt"_s.arg(last));
    row("last number is in use", {u"a.txt"_s, u"a%1.txt"_s.arg(last)}, u"%1"_s, u""_s, true, kLastCounter,
        u""_s);
    row("last number but one is in use", {u"a.txt"_s, u"a2147483645.txt"_s}, u"%1"_s, u""_s, true,
        kLastCounter - 1, u"a%1.txt"_s.arg(last));
    row("starts at the end", {u"a.txt"_s}, u"%1"_s, u""_s, true, kLastCounter + 1, u""_s);
    row("starts at the end, first try is unused", {u"a.txt"_s}, u"%1"_s, u"b"_s, true, kLastCounter + 1,
        u"ab.txt"_s);
    row("starts at the end, first try is in use", {u"a.txt"_s, u"ab.txt"_s}, u"%1"_s, u"b"_s, true,
        kLastCounter + 1, u""_s);
}

void tst_GeneralUtilFiles::GetUniqueFile()
{
    QFETCH(const QStringList, before);
    QFETCH(const QString, format);
    QFETCH(const QString, firstTry);
    QFETCH(const bool, append);
    QFETCH(const int, start);
    QFETCH(const QString, expected);

    QVERIFY(Make(before));
    const QString expectedPath = expected.isEmpty() ? QString() : Path(expected);
    QCOMPARE(GeneralUtil::GetUniqueFile(Path(before.at(0)), format, firstTry, append, start), expectedPath);
    const QString detour = mRoot + u"/x/..//./"_s + before.at(0);
    QCOMPARE(GeneralUtil::GetUniqueFile(detour, format, firstTry, append, start), expectedPath);
    QCOMPARE(Tree(), Sorted(before)); // nothing is created
}

void tst_GeneralUtilFiles::GetUniqueFile_unusedPathIsUnchanged()
{
    const CurrentFolderGuard guard(mRoot);
    for (const QString& path :
         {Path(u"a.txt"_s), mRoot + u"//x/../a.txt"_s, u"a.txt"_s, u"nope/a%1.txt"_s, u" a "_s})
        QCOMPARE(GeneralUtil::GetUniqueFile(path, u"(%1)"_s, u"first"_s, true, 2), path);
}

void tst_GeneralUtilFiles::GetUniqueFile_emptyPath()
{
    QCOMPARE(GeneralUtil::GetUniqueFile(u""_s, u"(%1)"_s, u""_s, true, 2), u""_s);
    QCOMPARE(GeneralUtil::GetUniqueFile(u""_s, u"(%1)"_s), u""_s);
}

void tst_GeneralUtilFiles::GetUniqueFile_relativePath()
{
    QVERIFY(Make({u"a.txt"_s, u"sub/a.txt"_s}));
    const CurrentFolderGuard guard(mRoot);

    QCOMPARE(GeneralUtil::GetUniqueFile(u"a.txt"_s, u"(%1)"_s, u""_s, true, 2), Path(u"a(2).txt"_s));
    QCOMPARE(GeneralUtil::GetUniqueFile(u"sub/a.txt"_s, u"(%1)"_s, u""_s, true, 2), Path(u"sub/a(2).txt"_s));
}

void tst_GeneralUtilFiles::GetUniqueFile_folderCountsAsInUse()
{
    QVERIFY(Make({u"a/"_s, u"a(2)/"_s}));

    QCOMPARE(GeneralUtil::GetUniqueFile(Path(u"a"_s), u"(%1)"_s, u""_s, true, 2), Path(u"a(3)"_s));
    QCOMPARE(GeneralUtil::GetUniqueFile(Path(u"a/"_s), u"(%1)"_s, u""_s, true, 2), Path(u"a(3)"_s));
}

// Folder, name and tag are filled in one after the other, so the name replaces the placeholder in the folder.
void tst_GeneralUtilFiles::GetUniqueFile_placeholderInTheFolder()
{
    QVERIFY(Make({u"x%1y/a.txt"_s}));

    QCOMPARE(GeneralUtil::GetUniqueFile(Path(u"x%1y/a.txt"_s), u"(%1)"_s, u""_s, true, 2),
             Path(u"xay/(2)%3.txt"_s));
}

void tst_GeneralUtilFiles::GetUniqueFile_shortForm()
{
    QVERIFY(Make({u"a.txt"_s, u"b.txt"_s, u"b-2.txt"_s}));

    QCOMPARE(GeneralUtil::GetUniqueFile(Path(u"a.txt"_s), u"-%1"_s), Path(u"a-2.txt"_s));
    QCOMPARE(GeneralUtil::GetUniqueFile(Path(u"b.txt"_s), u"-%1"_s), Path(u"b-3.txt"_s));
    QCOMPARE(GeneralUtil::GetUniqueFile(Path(u"a.txt"_s), u""_s), Path(u"a2.txt"_s));
    QCOMPARE(GeneralUtil::GetUniqueFile(Path(u"c.txt"_s), u"-%1"_s), Path(u"c.txt"_s));
}

void tst_GeneralUtilFiles::GetUniqueFile_inFolder_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QString>("expected"); // empty: no result

    const auto row = [](const char* test, const QStringList& before, const QString& name,
                        const QString& extension, const QString& separator, const QString& expected) {
        QTest::newRow(test) << before << name << extension << separator << expected;
    };
    row("unused", {}, u"a"_s, u"txt"_s, u"_%1"_s, u"a.txt"_s);
    row("extension with its dot", {}, u"a"_s, u".txt"_s, u"_%1"_s, u"a.txt"_s);
    row("extension of two parts", {}, u"a"_s, u"tar.gz"_s, u"_%1"_s, u"a.tar.gz"_s);
    row("no name", {}, u""_s, u"txt"_s, u"_%1"_s, u"Temp.txt"_s);
    row("no name, no extension", {}, u""_s, u""_s, u"_%1"_s, u"Temp"_s);
    row("extension in the name", {}, u"a.txt"_s, u""_s, u"_%1"_s, u"a.txt"_s);
    row("name with several dots", {}, u"a.b.c"_s, u""_s, u"_%1"_s, u"a.c"_s);
    row("name with dots and an extension", {}, u"a.b"_s, u"txt"_s, u"_%1"_s, u"a.b.txt"_s);
    row("no extension at all", {}, u"a"_s, u""_s, u"_%1"_s, u"a"_s);
    row("folder in the name is dropped with the extension", {}, u"sub/a.txt"_s, u""_s, u"_%1"_s, u"a.txt"_s);
    row("folder in the name is kept", {}, u"sub/a"_s, u"txt"_s, u"_%1"_s, u"sub/a.txt"_s);
    row("in use, the separator is added twice", {u"a.txt"_s}, u"a"_s, u"txt"_s, u"_%1"_s, u"a_1%_1.txt"_s);
    row("in use twice", {u"a.txt"_s, u"a_1%_1.txt"_s}, u"a"_s, u"txt"_s, u"_%1"_s, u"a_2%_2.txt"_s);
    row("separator without a placeholder", {u"a.txt"_s}, u"a"_s, u"txt"_s, u"_"_s, u"a_%_.txt"_s);
    row("separator without a placeholder, in use", {u"a.txt"_s, u"a_%_.txt"_s}, u"a"_s, u"txt"_s, u"_"_s,
        u""_s);
    row("no separator", {u"a.txt"_s}, u"a"_s, u"txt"_s, u""_s, u"a%.txt"_s);
    row("no separator, in use", {u"a.txt"_s, u"a%.txt"_s}, u"a"_s, u"txt"_s, u""_s, u""_s);
    // The '%' in the middle and the digit after it form a placeholder.
    row("separator begins with a digit", {u"a.txt"_s}, u"a"_s, u"txt"_s, u"5"_s, u"a51.txt"_s);
}

void tst_GeneralUtilFiles::GetUniqueFile_inFolder()
{
    QFETCH(const QStringList, before);
    QFETCH(const QString, name);
    QFETCH(const QString, extension);
    QFETCH(const QString, separator);
    QFETCH(const QString, expected);

    QVERIFY(Make(before));
    const QString expectedPath = expected.isEmpty() ? QString() : Path(expected);
    QCOMPARE(GeneralUtil::GetUniqueFile(mRoot, name, extension, separator), expectedPath);
}

void tst_GeneralUtilFiles::GetUniqueFile_inTemporaryFolder()
{
    // Use the test's folder for temporary files, because the system's folder contains other files.
    const TestSupport::EnvironmentGuard guard("TMPDIR", QFile::encodeName(mRoot));
    QCOMPARE(QDir::tempPath(), mRoot);

    QCOMPARE(GeneralUtil::GetUniqueFile(u""_s, u""_s, u"xml"_s, u"%1"_s), Path(u"Temp.xml"_s));
    QCOMPARE(GeneralUtil::GetUniqueFile(u""_s, u""_s, u""_s, u"%1"_s), Path(u"Temp"_s));
    QVERIFY(Make({u"Temp.xml"_s}));
    QCOMPARE(GeneralUtil::GetUniqueFile(u""_s, u""_s, u"xml"_s, u"-%1"_s), Path(u"Temp-1%-1.xml"_s));
}

void tst_GeneralUtilFiles::FixInvalidCharsInFileName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("replacement");
    QTest::addColumn<QString>("expected");

    QTest::newRow("some") << u"a:b?c\\d"_s << u"_"_s << u"a_b_c_d"_s;
    QTest::newRow("all nine") << u"\\/:*?\"<>|"_s << u"_"_s << u"_________"_s;
    QTest::newRow("none") << u"a b.c-d_e%f'g(h)[i]{j};,ä€😀"_s << u"_"_s << u"a b.c-d_e%f'g(h)[i]{j};,ä€😀"_s;
    QTest::newRow("one after the other") << u"a::b"_s << u"_"_s << u"a__b"_s;
    QTest::newRow("longer replacement") << u"a/b\\"_s << u"<>"_s << u"a<>b<>"_s;
    QTest::newRow("removed") << u"/a:b\\"_s << u""_s << u"ab"_s;
    QTest::newRow("backslash by itself") << u"a\\b"_s << u"\\"_s << u"a\\b"_s;
    QTest::newRow("backslashes of the replacement are replaced once")
        << u"a:b\\c"_s << u"x\\"_s << u"axx\\bx\\c"_s;
    QTest::newRow("backslash and digit are not a reference") << u"a:b"_s << u"1"_s << u"a1b"_s;
    QTest::newRow("backslash and 0 are not a reference") << u"a:b"_s << u"\\0"_s << u"a\\00b"_s;
    QTest::newRow("line breaks are kept") << u"a\nb:"_s << u"_"_s << u"a\nb_"_s;
    QTest::newRow("similar characters are kept") << u"a\uFF1Ab\u2215c"_s << u"_"_s << u"a\uFF1Ab\u2215c"_s;
    QTest::newRow("empty") << u""_s << u"_"_s << u""_s;
    QTest::newRow("null") << QString() << u"_"_s << u""_s;
}

void tst_GeneralUtilFiles::FixInvalidCharsInFileName()
{
    QFETCH(const QString, name);
    QFETCH(const QString, replacement);
    QFETCH(const QString, expected);

    QCOMPARE(GeneralUtil::FixInvalidCharsInFileName(name, replacement), expected);
    // The two steps of which the operation consists must give the same result.
    static const QRegularExpression invalid(u"[\\/:*?\"<>|]"_s);
    QCOMPARE(QString(name).replace(invalid, replacement).replace(u"\\"_s, replacement), expected);
}

void tst_GeneralUtilFiles::ReadAllLines_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("empty") << ""_ba << QStringList();
    QTest::newRow("one line") << "a"_ba << QStringList{u"a"_s};
    QTest::newRow("one line with its line ending") << "a\n"_ba << QStringList{u"a"_s};
    QTest::newRow("no line ending after the last line") << "a\nb"_ba << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("line ending after the last line") << "a\nb\n"_ba << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("line endings of two characters") << "a\r\nb\r\n"_ba << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("both kinds of line endings") << "a\r\nb\nc"_ba << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("blank lines") << "\n\na\n\n"_ba << QStringList{u""_s, u""_s, u"a"_s, u""_s};
    QTest::newRow("only a line ending") << "\n"_ba << QStringList{u""_s};
    QTest::newRow("white space is kept") << " a \t\n"_ba << QStringList{u" a \t"_s};
    QTest::newRow("UTF-8") << "Gr\xC3\xB6\xC3\x9F"
                              "e\n\xE2\x82\xAC \xF0\x9F\x98\x80"_ba
                           << QStringList{u"Größe"_s, u"€ 😀"_s};
    QTest::newRow("byte order mark") << "\xEF\xBB\xBF"
                                        "a\nb"_ba
                                     << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("invalid UTF-16") << "a\xFF"
                                       "b"_ba
                                    << QStringList{u"a\uFFFDb"_s};
    QTest::newRow("NUL inside") << "a\0b\n"_ba << QStringList{u"a\0b"_s};
    QTest::newRow("longer than any buffer")
        << QByteArray(100000, 'x') + "\ny" << QStringList{QString(100000, u'x'), u"y"_s};
}

void tst_GeneralUtilFiles::ReadAllLines()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QStringList, expected);

    QVERIFY(WriteFile(Path(u"f"_s), content));
    QStringList lines;
    QVERIFY(GeneralUtil::ReadAllLines(Path(u"f"_s), lines));
    QCOMPARE(lines, expected);
    QCOMPARE(ReadFile(Path(u"f"_s)), content);
}

void tst_GeneralUtilFiles::ReadAllLines_keepsEntries()
{
    QVERIFY(WriteFile(Path(u"f"_s), "a\nb\n"));
    QStringList lines{Path(u"f"_s)};

    QVERIFY(GeneralUtil::ReadAllLines(lines.at(0), lines));
    QCOMPARE(lines, (QStringList{Path(u"f"_s), u"a"_s, u"b"_s}));
}

void tst_GeneralUtilFiles::ReadAllLines_cannotBeOpened()
{
    QVERIFY(WriteFile(Path(u"secret"_s), "a"));
    QVERIFY(QFile::setPermissions(Path(u"secret"_s), QFileDevice::Permissions()));
    const OrdinaryUserGuard guard({mRoot, Path(u"secret"_s)});
    QVERIFY(guard.IsReady());

    QStringList lines{u"old"_s};
    for (const QString& path : {Path(u"missing"_s), Path(u"secret"_s), mRoot, u""_s, QString()})
        QVERIFY(!GeneralUtil::ReadAllLines(path, lines));
    QCOMPARE(lines, QStringList{u"old"_s});
    QCOMPARE(Tree(), QStringList{u"secret"_s});
}

void tst_GeneralUtilFiles::WriteAllLines_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("no lines") << QStringList() << ""_ba;
    QTest::newRow("one line") << QStringList{u"a"_s} << "a\n"_ba;
    QTest::newRow("two lines") << QStringList{u"a"_s, u"b"_s} << "a\nb\n"_ba;
    QTest::newRow("empty and null lines") << QStringList{u""_s, QString(), u"a"_s, u""_s} << "\n\na\n\n"_ba;
    QTest::newRow("white space is kept") << QStringList{u" a\t"_s} << " a\t\n"_ba;
    QTest::newRow("line breaks inside") << QStringList{u"a\nb"_s, u"c\r"_s} << "a\nb\nc\r\n"_ba;
    QTest::newRow("UTF-8, no byte order mark") << QStringList{u"Größe"_s, u"€ 😀"_s}
                                               << "Gr\xC3\xB6\xC3\x9F"
                                                  "e\n\xE2\x82\xAC \xF0\x9F\x98\x80\n"_ba;
    QTest::newRow("NUL inside") << QStringList{u"a\0b"_s} << "a\0b\n"_ba;
    QTest::newRow("placeholders and marks") << QStringList{u"%1 \"&<>"_s} << "%1 \"&<>\n"_ba;
    QTest::newRow("longer than any buffer")
        << QStringList{QString(100000, u'x'), u"y"_s} << QByteArray(100000, 'x') + "\ny\n";
}

void tst_GeneralUtilFiles::WriteAllLines()
{
    QFETCH(const QStringList, lines);
    QFETCH(const QByteArray, expected);

    QVERIFY(GeneralUtil::WriteAllLines(Path(u"f"_s), lines));
    QCOMPARE(ReadFile(Path(u"f"_s)), expected);
}

void tst_GeneralUtilFiles::WriteAllLines_replacesContent()
{
    QVERIFY(WriteFile(Path(u"f"_s), "a much longer content\nof two lines\n"));
    QVERIFY(GeneralUtil::WriteAllLines(Path(u"f"_s), {u"a"_s}));
    QCOMPARE(ReadFile(Path(u"f"_s)), "a\n"_ba);
    QVERIFY(GeneralUtil::WriteAllLines(Path(u"f"_s), {}));
    QCOMPARE(ReadFile(Path(u"f"_s)), ""_ba);
}

void tst_GeneralUtilFiles::WriteAllLines_cannotBeOpened()
{
    QVERIFY(WriteFile(Path(u"readonly"_s), "old"));
    QVERIFY(QFile::setPermissions(Path(u"readonly"_s), QFileDevice::ReadOwner));
    const OrdinaryUserGuard guard({mRoot, Path(u"readonly"_s)});
    QVERIFY(guard.IsReady());

    for (const QString& path : {Path(u"nope/f"_s), Path(u"readonly"_s), mRoot, u""_s, QString()})
        QVERIFY(!GeneralUtil::WriteAllLines(path, {u"a"_s}));
    QCOMPARE(Tree(), QStringList{u"readonly"_s});
    QCOMPARE(ReadFile(Path(u"readonly"_s)), "old"_ba);
}

void tst_GeneralUtilFiles::WriteAllLines_roundTrip()
{
    const QStringList lines{u"first"_s, u""_s, u" Größe: 10 €\t"_s, u"😀"_s, u""_s};
    QVERIFY(GeneralUtil::WriteAllLines(Path(u"f"_s), lines));

    QStringList actual;
    QVERIFY(GeneralUtil::ReadAllLines(Path(u"f"_s), actual));
    QCOMPARE(actual, lines);
}

QTEST_GUILESS_MAIN(tst_GeneralUtilFiles)

#include "tst_GeneralUtilFiles.moc"
