// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/ToolTest.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

using namespace Qt::StringLiterals;
using TestSupport::ToolResult;

class tst_ToolPaths : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Path_data();
    void Path();
    void Path_json_data();
    void Path_json();
    void Files_data();
    void Files();
    void Delete_data();
    void Delete();
    void Delete_dryRunChangesNothing();
    void Delete_dryRunMatchesDeletion_data();
    void Delete_dryRunMatchesDeletion();
    void Delete_folderIsALink();
    void Delete_protectedFolder_data();
    void Delete_protectedFolder();
    void Delete_otherFileSystem();
    void Delete_missingRights();
    void Delete_json();
    void Unique_data();
    void Unique();

private:
    [[nodiscard]] bool MakeTree() const;
    [[nodiscard]] QStringList Tree() const;
    [[nodiscard]] QString Run(const QStringList& arguments) const;
};

// Creates the folder "tree": files of all types, links to a file and to a folder outside, and an empty
// folder.
bool tst_ToolPaths::MakeTree() const
{
    const QDir folder(mTool->Path(QString()));
    bool isMade = true;
    for (const QString& path : {u"tree/sub/deep"_s, u"tree/empty"_s, u"tree/.dot"_s, u"outside"_s})
        isMade = isMade && folder.mkpath(path);
    for (const QString& file : {u"tree/a.txt"_s, u"tree/b.log"_s, u"tree/.hidden"_s, u"tree/.dot/e.txt"_s,
                                u"tree/sub/c.txt"_s, u"tree/sub/deep/d.log"_s, u"outside/kept.txt"_s})
        isMade = isMade && mTool->Write(file, "content");
    return isMade && QFile::setPermissions(mTool->Path(u"tree/a.txt"_s), QFileDevice::ReadOwner)
        && QFile::link(mTool->Path(u"outside"_s), mTool->Path(u"tree/sub/link"_s))
        && QFile::link(mTool->Path(u"outside/kept.txt"_s), mTool->Path(u"tree/link.txt"_s));
}

// Returns all entries of the folder, sorted, without following links.
QStringList tst_ToolPaths::Tree() const
{
    const QDir folder(mTool->Path(QString()));
    QStringList found;
    QStringList pending{QString()};
    while (!pending.isEmpty()) {
        const QString parent = pending.takeFirst();
        const QFileInfoList entries
            = QDir(folder.filePath(parent))
                  .entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo& entry : entries) {
            const QString path = parent + entry.fileName();
            found.append(path);
            if (entry.isDir() && !entry.isSymLink())
                pending.append(path + u'/');
        }
    }
    found.sort();
    return found;
}

// Runs the tool. Returns its output, with the folder replaced by "~".
QString tst_ToolPaths::Run(const QStringList& arguments) const
{
    const QString folder = QFileInfo(mTool->Path(QString())).canonicalFilePath();
    return mTool->Run(arguments).ToText().replace(folder, u"~"_s);
}

void tst_ToolPaths::Path_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* circumstance, const QStringList& arguments, const QString& expected) {
        QTest::newRow(circumstance) << arguments << expected;
    };
    row("clean", {u"clean"_s, u"/Users/a/b/"_s}, u"Users/a/b\n=> 0\n"_s);
    row("clean several", {u"clean"_s, u" /a//b/ "_s, u"/"_s, u"ftp:\\\\a\\b"_s},
        u"a/b\n/\nftp://a/b\n=> 0\n"_s);
    row("clean empty path", {u"clean"_s, QString()}, u"\n=> 0\n"_s);
    row("relative with drive", {u"relative"_s, u"x/../y"_s, u"--base"_s, u"C:/a"_s}, u"y\n=> 0\n"_s);
    row("relative without drive is unchanged", {u"relative"_s, u"/b/x"_s, u"-b"_s, u"/b"_s},
        u"/b/x\n=> 0\n"_s);
    row("relative UNC path", {u"relative"_s, u"//s/share/x/y"_s, u"--base"_s, u"//s/share"_s},
        u"x/y\n=> 0\n"_s);
    row("relative UNC path to a file",
        {u"relative"_s, u"//s/share/x"_s, u"--base"_s, u"//s/share/f"_s, u"--base-is-file"_s},
        u"x\n=> 0\n"_s);
    row("absolute", {u"absolute"_s, u"x/y"_s, u"--base"_s, u"/b/f.txt"_s}, u"/b/f.txt/x/y\n=> 0\n"_s);
    row("absolute from a file", {u"absolute"_s, u"x/y"_s, u"--base"_s, u"/b/f.txt"_s, u"--base-is-file"_s},
        u"/b/x/y\n=> 0\n"_s);
    row("absolute with drive is unchanged", {u"absolute"_s, u"C:/x"_s, u"--base"_s, u"/b"_s},
        u"C:/x\n=> 0\n"_s);
    row("absolute with slash", {u"absolute"_s, u"/x"_s, u"--base"_s, u"/b"_s}, u"/b/x\n=> 0\n"_s);
    row("common", {u"common"_s, u"/Users/a/x"_s, u"/users/A/y"_s}, u"Users/a\n=> 0\n"_s);
    row("nothing in common", {u"common"_s, u"C:/a"_s, u"D:/a"_s}, u"=> 1\n"_s);
    row("sub", {u"sub"_s, u"a/b"_s, u"A/B/c/d"_s}, u"c/d\n=> 0\n"_s);
    row("sub of itself", {u"sub"_s, u"a/b"_s, u"A/B"_s}, u"\n=> 0\n"_s);
    row("sub of an unrelated path", {u"sub"_s, u"a/b"_s, u"/x/y"_s}, u"x/y\n=> 1\n"_s);
    row("without paths", {u"clean"_s},
        u"! qvutil: PATH is required\n! Try 'qvutil path clean --help'.\n=> 2\n"_s);
    row("relative without base", {u"relative"_s, u"a"_s},
        u"! qvutil: --base is required\n! Try 'qvutil path relative --help'.\n=> 2\n"_s);
    row("one path to compare", {u"common"_s, u"a"_s},
        u"! qvutil: PATH2 is required\n! Try 'qvutil path common --help'.\n=> 2\n"_s);
}

void tst_ToolPaths::Path()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(Run(QStringList{u"path"_s} + arguments), expected);
}

void tst_ToolPaths::Path_json_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QJsonDocument>("expected");
    QTest::addColumn<int>("code");

    QTest::newRow("conversion") << QStringList{u"clean"_s, u"C:\\a\\"_s, u"\\\\s/a"_s}
                                << QJsonDocument(QJsonArray{QJsonObject{{u"path"_s, u"C:\\a\\"_s},
                                                                        {u"result"_s, u"C:/a"_s},
                                                                        {u"drive"_s, u"C:"_s},
                                                                        {u"unc"_s, false}},
                                                            QJsonObject{{u"path"_s, u"\\\\s/a"_s},
                                                                        {u"result"_s, u"\\\\s/a"_s},
                                                                        {u"drive"_s, u""_s},
                                                                        {u"unc"_s, true}}})
                                << 0;
    QTest::newRow("common") << QStringList{u"common"_s, u"a/b"_s, u"a/c"_s}
                            << QJsonDocument(QJsonObject{{u"result"_s, u"a"_s}, {u"found"_s, true}}) << 0;
    QTest::newRow("sub of an unrelated path")
        << QStringList{u"sub"_s, u"a"_s, u"b"_s}
        << QJsonDocument(QJsonObject{{u"result"_s, u"b"_s}, {u"found"_s, false}}) << 1;
}

void tst_ToolPaths::Path_json()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QJsonDocument, expected);
    QFETCH(const int, code);

    const ToolResult result = mTool->Run(QStringList{u"path"_s} + arguments + QStringList{u"--json"_s});
    QCOMPARE(QJsonDocument::fromJson(result.Output), expected);
    QCOMPARE(result.ExitCode, code);
}

void tst_ToolPaths::Files_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* circumstance, const QStringList& arguments, const QString& expected) {
        QTest::newRow(circumstance) << arguments << expected;
    };
    row("list without links and hidden files", {u"list"_s, u"tree"_s},
        u"~/tree/a.txt\n~/tree/b.log\n=> 0\n"_s);
    row("list recursively", {u"list"_s, u"tree"_s, u"-r"_s},
        u"~/tree/a.txt\n~/tree/b.log\n~/tree/sub/c.txt\n~/tree/sub/deep/d.log\n=> 0\n"_s);
    row("list hidden files", {u"list"_s, u"tree"_s, u"--hidden"_s, u"-r"_s, u"-n"_s, u"*.txt"_s},
        u"~/tree/.dot/e.txt\n~/tree/a.txt\n~/tree/sub/c.txt\n=> 0\n"_s);
    row("list by two patterns", {u"list"_s, u"tree"_s, u"--name"_s, u"a*"_s, u"--name"_s, u"*.log"_s},
        u"~/tree/a.txt\n~/tree/b.log\n=> 0\n"_s);
    row("list one file", {u"list"_s, u"tree/a.txt"_s}, u"~/tree/a.txt\n=> 0\n"_s);
    row("list as JSON", {u"list"_s, u"tree"_s, u"-n"_s, u"a*"_s, u"--json"_s},
        u"[\"~/tree/a.txt\"]\n=> 0\n"_s);
    row("list nothing", {u"list"_s, u"tree"_s, u"--name"_s, u"*.none"_s}, u"=> 1\n"_s);
    row("list nothing as JSON", {u"list"_s, u"tree/empty"_s, u"--json"_s}, u"[]\n=> 1\n"_s);
    row("list missing folder", {u"list"_s, u"none"_s}, u"! qvutil: none: there is no such folder\n=> 2\n"_s);
    row("list patterns in a file", {u"list"_s, u"tree/a.txt"_s, u"-n"_s, u"*"_s},
        u"! qvutil: tree/a.txt: is not a folder\n=> 2\n"_s);
    row("list by empty pattern", {u"list"_s, u"tree"_s, u"-n"_s, QString()},
        u"! qvutil: the pattern '' of --name is empty\n! Try 'qvutil files list --help'.\n=> 2\n"_s);
    row("list by an unterminated pattern", {u"list"_s, u"tree"_s, u"-n"_s, u"*.log|a[b"_s},
        u"! qvutil: 'a[b' is not a valid pattern for file names\n! Try 'qvutil files list --help'.\n=> 2\n"_s);
    row("delete by an unterminated pattern", {u"delete"_s, u"tree"_s, u"-n"_s, u"["_s},
        u"! qvutil: '[' is not a valid pattern for file names\n! Try 'qvutil files delete --help'.\n=> 2\n"_s);
    row("delete by empty pattern", {u"delete"_s, u"tree"_s, u"--name"_s, QString()},
        u"! qvutil: the pattern '' of --name is empty\n! Try 'qvutil files delete --help'.\n=> 2\n"_s);
    row("delete by a pattern of only separators", {u"delete"_s, u"tree"_s, u"--name"_s, u"|"_s},
        u"! qvutil: the pattern '|' of --name is empty\n! Try 'qvutil files delete --help'.\n=> 2\n"_s);
    row("delete missing folder", {u"delete"_s, u"none"_s},
        u"! qvutil: none: there is no such folder\n=> 2\n"_s);
    row("delete unnamed folder", {u"delete"_s, QString()}, u"! qvutil: there is no such folder\n=> 2\n"_s);
    row("delete a file", {u"delete"_s, u"tree/a.txt"_s}, u"! qvutil: tree/a.txt: is not a folder\n=> 2\n"_s);
    row("unnamed file", {u"unique"_s, QString()},
        u"! qvutil: FILE is empty\n! Try 'qvutil files unique --help'.\n=> 2\n"_s);
}

// None of these commands changes anything.
void tst_ToolPaths::Files()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QVERIFY(MakeTree());
    const QStringList before = Tree();
    QCOMPARE(Run(QStringList{u"files"_s} + arguments), expected);
    QCOMPARE(Tree(), before);
}

void tst_ToolPaths::Delete_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QStringList>("left");

    QTest::newRow("one level, including a read-only file, folders are kept")
        << QStringList{u"tree"_s} << u"~/tree/a.txt\n~/tree/b.log\n=> 0\n"_s
        << QStringList{u"tree"_s,          u"tree/.dot"_s,     u"tree/.dot/e.txt"_s,    u"tree/.hidden"_s,
                       u"tree/empty"_s,    u"tree/link.txt"_s, u"tree/sub"_s,           u"tree/sub/c.txt"_s,
                       u"tree/sub/deep"_s, u"tree/sub/link"_s, u"tree/sub/deep/d.log"_s};
    QTest::newRow("all levels, links are kept")
        << QStringList{u"tree"_s, u"--recursive"_s, u"--hidden"_s}
        << u"~/tree/.dot/e.txt\n~/tree/.hidden\n~/tree/a.txt\n~/tree/b.log\n~/tree/sub/c.txt\n"
           "~/tree/sub/deep/d.log\n~/tree/sub/deep\n~/tree/empty\n~/tree/.dot\n=> 0\n"_s
        << QStringList{u"tree"_s, u"tree/link.txt"_s, u"tree/sub"_s, u"tree/sub/link"_s};
    QTest::newRow("by pattern, the empty folder is kept")
        << QStringList{u"tree/sub/deep"_s, u"--name"_s, u"*.log"_s} << u"~/tree/sub/deep/d.log\n=> 0\n"_s
        << QStringList{u"tree"_s,       u"tree/.dot"_s,      u"tree/.dot/e.txt"_s, u"tree/.hidden"_s,
                       u"tree/a.txt"_s, u"tree/b.log"_s,     u"tree/empty"_s,      u"tree/link.txt"_s,
                       u"tree/sub"_s,   u"tree/sub/c.txt"_s, u"tree/sub/deep"_s,   u"tree/sub/link"_s};
    QTest::newRow("all levels, the folder itself is kept")
        << QStringList{u"tree/sub/deep"_s, u"--recursive"_s} << u"~/tree/sub/deep/d.log\n=> 0\n"_s
        << QStringList{u"tree"_s,       u"tree/.dot"_s,      u"tree/.dot/e.txt"_s, u"tree/.hidden"_s,
                       u"tree/a.txt"_s, u"tree/b.log"_s,     u"tree/empty"_s,      u"tree/link.txt"_s,
                       u"tree/sub"_s,   u"tree/sub/c.txt"_s, u"tree/sub/deep"_s,   u"tree/sub/link"_s};
    QTest::newRow("doubled separator after two dots")
        << QStringList{u"tree/empty/..//sub/deep"_s, u"--recursive"_s} << u"~/tree/sub/deep/d.log\n=> 0\n"_s
        << QStringList{u"tree"_s,       u"tree/.dot"_s,      u"tree/.dot/e.txt"_s, u"tree/.hidden"_s,
                       u"tree/a.txt"_s, u"tree/b.log"_s,     u"tree/empty"_s,      u"tree/link.txt"_s,
                       u"tree/sub"_s,   u"tree/sub/c.txt"_s, u"tree/sub/deep"_s,   u"tree/sub/link"_s};
    QTest::newRow("no match, folders are kept")
        << QStringList{u"tree"_s, u"--name"_s, u"*.none"_s} << u"=> 0\n"_s
        << QStringList{u"tree"_s,         u"tree/.dot"_s,      u"tree/.dot/e.txt"_s, u"tree/.hidden"_s,
                       u"tree/a.txt"_s,   u"tree/b.log"_s,     u"tree/empty"_s,      u"tree/link.txt"_s,
                       u"tree/sub"_s,     u"tree/sub/c.txt"_s, u"tree/sub/deep"_s,   u"tree/sub/deep/d.log"_s,
                       u"tree/sub/link"_s};
    QTest::newRow("nothing to delete")
        << QStringList{u"tree/sub"_s, u"--name"_s, u"*.none"_s} << u"=> 0\n"_s
        << QStringList{u"tree"_s,         u"tree/.dot"_s,      u"tree/.dot/e.txt"_s, u"tree/.hidden"_s,
                       u"tree/a.txt"_s,   u"tree/b.log"_s,     u"tree/empty"_s,      u"tree/link.txt"_s,
                       u"tree/sub"_s,     u"tree/sub/c.txt"_s, u"tree/sub/deep"_s,   u"tree/sub/deep/d.log"_s,
                       u"tree/sub/link"_s};
}

void tst_ToolPaths::Delete()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);
    QFETCH(QStringList, left);

    QVERIFY(MakeTree());
    // Folders are in the file system's order, each after its contents.
    QStringList said = Run(QStringList{u"files"_s, u"delete"_s} + arguments).split(u'\n');
    QStringList expectedLines = expected.split(u'\n');
    said.sort();
    expectedLines.sort();
    QCOMPARE(said, expectedLines);
    left += {u"outside"_s, u"outside/kept.txt"_s};
    left.sort();
    QCOMPARE(Tree(), left);
}

void tst_ToolPaths::Delete_dryRunChangesNothing()
{
    QVERIFY(MakeTree());
    const QStringList before = Tree();
    QCOMPARE(Run({u"files"_s, u"delete"_s, u"tree/sub"_s, u"--recursive"_s, u"--dry-run"_s}),
             u"~/tree/sub/c.txt\n~/tree/sub/deep/d.log\n~/tree/sub/deep\n=> 0\n"_s);
    QCOMPARE(Tree(), before);
}

void tst_ToolPaths::Delete_dryRunMatchesDeletion_data()
{
    QTest::addColumn<QStringList>("options");

    QTest::newRow("one level") << QStringList();
    QTest::newRow("all levels") << QStringList{u"--recursive"_s};
    QTest::newRow("hidden files too") << QStringList{u"--recursive"_s, u"--hidden"_s};
    QTest::newRow("hidden files of one level") << QStringList{u"--hidden"_s};
    QTest::newRow("by pattern") << QStringList{u"--recursive"_s, u"--name"_s, u"*.log"_s};
}

// Exactly what the dry run announced is deleted.
void tst_ToolPaths::Delete_dryRunMatchesDeletion()
{
    QFETCH(const QStringList, options);

    QVERIFY(MakeTree());
    const QStringList command = QStringList{u"files"_s, u"delete"_s, u"tree"_s} + options;
    QString announced = Run(command + QStringList{u"--dry-run"_s});
    const QStringList before = Tree();
    QCOMPARE(Run(command), announced);

    QStringList gone = before;
    gone.removeIf([after = Tree()](const QString& path) { return after.contains(path); });
    QStringList expected = announced.remove(u"~/"_s).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(expected.takeLast(), u"=> 0"_s);
    expected.sort();
    QCOMPARE(gone, expected);
}

void tst_ToolPaths::Delete_folderIsALink()
{
    QVERIFY(MakeTree());
    for (const QString& link : {u"tree/sub/link"_s, u"tree/sub/link/"_s, u"tree/sub/link/."_s}) {
        QCOMPARE(Run({u"files"_s, u"delete"_s, link}),
                 u"! qvutil: %1: is a link: name the folder itself\n=> 2\n"_s.arg(link));
    }
    QVERIFY(QFileInfo::exists(mTool->Path(u"outside/kept.txt"_s)));
}

void tst_ToolPaths::Delete_protectedFolder_data()
{
    QTest::addColumn<QString>("home");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const auto row
        = [](const char* name, const QString& home, const QStringList& arguments, const QString& reason) {
              QTest::newRow(name) << home << arguments
                                  << u"! qvutil: %1: %2: name a folder below it\n=> 2\n"_s.arg(
                                         arguments.front(), reason);
          };
    row("root", u"$PWD/tree"_s, {u"/"_s, u"--name"_s, u"*.none"_s}, u"is the root folder"_s);
    row("root by another name", u"$PWD/tree"_s, {u"/usr/.."_s, u"--name"_s, u"*.none"_s},
        u"is the root folder"_s);
    row("home", u"$PWD/tree"_s, {u"tree"_s, u"--recursive"_s}, u"is the home folder"_s);
    row("home, one level", u"$PWD/tree"_s, {u"tree/"_s}, u"is the home folder"_s);
    row("link to home", u"$PWD/home"_s, {u"tree"_s}, u"is the home folder"_s);
    row("folder that contains home", u"$PWD/tree/sub/deep"_s, {u"tree"_s, u"--recursive"_s},
        u"contains the home folder"_s);
}

// Only dry runs, because a failing test must do no harm.
void tst_ToolPaths::Delete_protectedFolder()
{
    QFETCH(const QString, home);
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QVERIFY(MakeTree());
    QVERIFY(QFile::link(mTool->Path(u"tree"_s), mTool->Path(u"home"_s)));
    const QString line = uR"(HOME="%1" "$TOOL" files delete --dry-run '%2')"_s;
    QCOMPARE(mTool->RunShell(line.arg(home, arguments.join("' '"_L1))).ToText(), expected);
}

// Mounts a file system in a namespace that ends with the shell.
void tst_ToolPaths::Delete_otherFileSystem()
{
    const QString inNameSpace = u"unshare --user --map-root-user --mount sh -c "_s;
    if (mTool->RunShell(inNameSpace + u"'mount -t tmpfs none .'"_s).ExitCode != 0)
        QSKIP("no file system can be mounted here");
    QVERIFY(MakeTree());
    const QString result = mTool
                               ->RunShell(inNameSpace + uR"('mount -t tmpfs none tree/empty
                                                              touch tree/empty/mounted.txt
                                                              "$TOOL" files delete tree --recursive
                                                              echo $?; ls tree/empty')"_s)
                               .ToText();
    QCOMPARE(QString(result).replace(mTool->Path(QString()), u"~"_s),
             u"~/tree/a.txt\n~/tree/b.log\n~/tree/sub/c.txt\n~/tree/sub/deep/d.log\n~/tree/sub/deep\n"
             "0\nmounted.txt\n=> 0\n"_s);
}

void tst_ToolPaths::Delete_missingRights()
{
    const auto open
        = QFileDevice::ReadOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther | QFileDevice::ExeOther;
    QVERIFY(MakeTree());
    QVERIFY(QFile::setPermissions(mTool->Path(u"tree/sub/deep"_s), open));
    QVERIFY(QFile::setPermissions(mTool->Path(QString()), open | QFileDevice::WriteOwner));
    const QString result
        = mTool->RunUnprivileged({u"files"_s, u"delete"_s, mTool->Path(u"tree/sub/deep"_s)}).ToText();
    QVERIFY(QFileInfo::exists(mTool->Path(u"tree/sub/deep/d.log"_s)));
    QVERIFY(QFile::setPermissions(mTool->Path(u"tree/sub/deep"_s), open | QFileDevice::WriteOwner));
    QCOMPARE(result,
             u"! qvutil: %1: could not be deleted\n=> 2\n"_s.arg(mTool->Path(u"tree/sub/deep/d.log"_s)));
}

void tst_ToolPaths::Delete_json()
{
    QVERIFY(MakeTree());
    QCOMPARE(Run({u"files"_s, u"delete"_s, u"tree"_s, u"--name"_s, u"a*"_s, u"--json"_s}),
             u"[\"~/tree/a.txt\"]\n=> 0\n"_s);
}

void tst_ToolPaths::Unique_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* circumstance, const QStringList& arguments, const QString& expected) {
        QTest::newRow(circumstance) << arguments << expected;
    };
    row("unused", {u"tree/new.txt"_s}, u"tree/new.txt\n=> 0\n"_s);
    row("in use", {u"tree/a.txt"_s}, u"~/tree/a2.txt\n=> 0\n"_s);
    row("with a format", {u"tree/a.txt"_s, u"--format"_s, u"(%1)"_s}, u"~/tree/a(2).txt\n=> 0\n"_s);
    row("with a first tag", {u"tree/a.txt"_s, u"--first"_s, u"-backup"_s}, u"~/tree/a-backup.txt\n=> 0\n"_s);
    row("tag in front", {u"tree/a.txt"_s, u"--prefix"_s, u"--format"_s, u"%1_"_s},
        u"~/tree/2_a.txt\n=> 0\n"_s);
    row("with another first number", {u"tree/a.txt"_s, u"--start"_s, u"7"_s}, u"~/tree/a7.txt\n=> 0\n"_s);
    row("all in use", {u"tree/a.txt"_s, u"--start"_s, u"2147483647"_s},
        u"! qvutil: tree/a.txt: all names are in use\n=> 1\n"_s);
}

void tst_ToolPaths::Unique()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QVERIFY(MakeTree());
    QCOMPARE(Run(QStringList{u"files"_s, u"unique"_s} + arguments), expected);
}

QTEST_GUILESS_MAIN(tst_ToolPaths)

#include "tst_ToolPaths.moc"
