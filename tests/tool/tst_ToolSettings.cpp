// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"
#include "support/ToolRunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QtTest>

#include <optional>

using namespace Qt::StringLiterals;
using TestSupport::ToolResult;
using TestSupport::ToolRunner;

namespace {

constexpr const char* kSettings = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<Settings version="3">
    <Panel>
        <Main Width="640" Title="Main"/>
        <Side/>
    </Panel>
    <Notes>one
two</Notes>
    <List><Item a="1"/><Item a="2"/></List>
</Settings>
)xml";

} // namespace

class tst_ToolSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void Set_newFile();
    void Set_existingFile();
    void Delete_data();
    void Delete();
    void Delete_badFileIsKept();
    void List_data();
    void List();
    void List_json();
    void Diff_data();
    void Diff();
    void Diff_json();
    void Diff_badFile();
    void Check_data();
    void Check();
    void Check_severalFiles();
    void Check_json();
    void Check_leftovers();
    void Check_leftoverBehindLink();

private:
    [[nodiscard]] QString Run(const QStringList& arguments, const QByteArray& input = {}) const
    {
        return mTool->Run(QStringList(u"settings"_s) + arguments, input).ToText();
    }
    [[nodiscard]] QJsonArray RunJson(const QStringList& arguments) const
    {
        return QJsonDocument::fromJson(mTool->Run(QStringList(u"settings"_s) + arguments).Output).array();
    }

    std::optional<ToolRunner> mTool;
};

void tst_ToolSettings::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    mTool.emplace();
    QVERIFY(mTool->Write(u"app.xml"_s, kSettings));
}

void tst_ToolSettings::cleanup()
{
    if (QTest::currentTestFailed())
        mTool->KeepFolder();
    mTool.reset();
}

void tst_ToolSettings::Set_newFile()
{
    QCOMPARE(Run({u"set"_s, u"new.xml"_s, u"Panel"_s, u"Width"_s, u"5"_s, u"-t"_s, u"int"_s}), u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"new.xml"_s),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings>\n    <Panel Width=\"5\"/>\n"
                        "</Settings>\n"));
    QCOMPARE(Run({u"get"_s, u"new.xml"_s, u"Panel"_s, u"Width"_s, u"-t"_s, u"int"_s}), u"5\n=> 0\n"_s);
    QCOMPARE(Run({u"set"_s, u"other.xml"_s, u"Panel"_s, u"text"_s, u"--root"_s, u"Options"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"list"_s, u"other.xml"_s}), u"/Options/Panel \"text\"\n=> 0\n"_s);
}

void tst_ToolSettings::Set_existingFile()
{
    QCOMPARE(Run({u"set"_s, u"app.xml"_s, u"Panel/Main"_s, u"Width"_s, u"-1"_s, u"--root"_s, u"Other"_s}),
             u"=> 0\n"_s);
    QCOMPARE(Run({u"list"_s, u"app.xml"_s, u"Panel/Main"_s}),
             u"/Settings/Panel/Main Title=\"Main\"\n/Settings/Panel/Main Width=\"-1\"\n=> 0\n"_s);
}

void tst_ToolSettings::Delete_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("difference");

    QTest::newRow("value") << QStringList{u"Panel/Main"_s, u"Width"_s} << u"=> 0\n"_s
                           << u"- /Settings/Panel/Main Width=\"640\"\n=> 1\n"_s;
    QTest::newRow("element") << QStringList{u"Panel/Main"_s} << u"=> 0\n"_s
                             << u"- /Settings/Panel/Main Title=\"Main\"\n"
                                "- /Settings/Panel/Main Width=\"640\"\n=> 1\n"_s;
    QTest::newRow("first of equal names") << QStringList{u"List/Item"_s} << u"=> 0\n"_s
                                          << u"- /Settings/List/Item a=\"1\"\n+ /Settings/List/Item a=\"2\"\n"
                                             "- /Settings/List/Item[2] a=\"2\"\n=> 1\n"_s;
    QTest::newRow("value of the root")
        << QStringList{u"/"_s, u"version"_s} << u"=> 0\n"_s << u"- /Settings version=\"3\"\n=> 1\n"_s;
    QTest::newRow("missing value")
        << QStringList{u"Panel/Main"_s, u"None"_s}
        << u"! qvutil: app.xml: /Settings/Panel/Main has no attribute None\n=> 1\n"_s << u"=> 0\n"_s;
    QTest::newRow("missing element") << QStringList{u"Panel/None"_s}
                                     << u"! qvutil: app.xml: there is no element Panel/None\n=> 1\n"_s
                                     << u"=> 0\n"_s;
    QTest::newRow("root") << QStringList{u"/Settings"_s}
                          << u"! qvutil: the root element cannot be deleted\n"
                             "! Try 'qvutil settings delete --help'.\n=> 2\n"_s
                          << u"=> 0\n"_s;
}

void tst_ToolSettings::Delete()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);
    QFETCH(const QString, difference);

    QVERIFY(mTool->Write(u"before.xml"_s, kSettings));
    QCOMPARE(Run(QStringList{u"delete"_s, u"app.xml"_s} + arguments), expected);
    QCOMPARE(Run({u"diff"_s, u"before.xml"_s, u"app.xml"_s}), difference);
    // An unchanged file was not written either.
    QCOMPARE(mTool->Read(u"app.xml"_s) == QByteArray(kSettings), difference == u"=> 0\n"_s);
}

void tst_ToolSettings::Delete_badFileIsKept()
{
    QVERIFY(mTool->Write(u"bad.xml"_s, "<a><b/>"));
    QCOMPARE(Run({u"delete"_s, u"bad.xml"_s, u"b"_s}),
             u"! qvutil: bad.xml:1:7: the file ends in the middle of the document\n=> 2\n"_s);
    QCOMPARE(mTool->Read(u"bad.xml"_s), QByteArray("<a><b/>"));
    QCOMPARE(Run({u"delete"_s, u"none.xml"_s, u"b"_s}),
             u"! qvutil: none.xml: No such file or directory\n=> 2\n"_s);
    QVERIFY(!QFile::exists(mTool->Path(u"none.xml"_s)));
}

void tst_ToolSettings::List_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    QTest::newRow("whole") << QStringList{}
                           << u"/Settings version=\"3\"\n"
                              "/Settings/Panel/Main Title=\"Main\"\n"
                              "/Settings/Panel/Main Width=\"640\"\n"
                              "/Settings/Panel/Side\n"
                              "/Settings/Notes \"one\\ntwo\"\n"
                              "/Settings/List/Item a=\"1\"\n"
                              "/Settings/List/Item[2] a=\"2\"\n=> 0\n"_s;
    QTest::newRow("part") << QStringList{u"Panel/Side"_s} << u"/Settings/Panel/Side\n=> 0\n"_s;
    QTest::newRow("missing") << QStringList{u"None"_s}
                             << u"! qvutil: app.xml: there is no element None\n=> 1\n"_s;
}

void tst_ToolSettings::List()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(Run(QStringList{u"list"_s, u"app.xml"_s} + arguments), expected);
    QCOMPARE(Run(QStringList{u"list"_s, u"-"_s} + arguments, kSettings),
             QString(expected).replace(u"app.xml"_s, u"standard input"_s));
}

void tst_ToolSettings::List_json()
{
    QCOMPARE(RunJson({u"list"_s, u"app.xml"_s, u"--json"_s}),
             QJsonDocument::fromJson(R"json([
                 {"path": "/Settings", "name": "version", "value": "3"},
                 {"path": "/Settings/Panel/Main", "name": "Title", "value": "Main"},
                 {"path": "/Settings/Panel/Main", "name": "Width", "value": "640"},
                 {"path": "/Settings/Panel/Side"},
                 {"path": "/Settings/Notes", "text": "one\ntwo"},
                 {"path": "/Settings/List/Item", "name": "a", "value": "1"},
                 {"path": "/Settings/List/Item[2]", "name": "a", "value": "2"}])json")
                 .array());
}

void tst_ToolSettings::Diff_data()
{
    QTest::addColumn<QByteArray>("left");
    QTest::addColumn<QByteArray>("right");
    QTest::addColumn<QString>("expected");

    const auto row
        = [](const char* name, const char* left, const char* right, const char* expected = "=> 0\n") {
              QTest::newRow(name) << QByteArray(left) << QByteArray(right) << QString::fromUtf8(expected);
          };
    row("equal", "<a b='1'/>", "<a b='1'/>");
    row("order of attributes", "<a b='1' c='2'/>", "<a c=\"2\" b=\"1\"/>");
    row("white space between elements", "<a><b/><c/></a>", "<a>\n  <b/>\n\n  <c/>\n</a>");
    row("order of elements of different names", "<a><b x='1'/><c/></a>", "<a><c/><b x='1'/></a>");
    row("comments and declaration", "<a><b/></a>", "<?xml version='1.0'?><!-- x --><a><!-- y --><b/></a>");
    row("way of writing text", "<a>x&amp;y</a>", "<a><![CDATA[x&y]]></a>");
    row("changed value", "<a b='1'/>", "<a b='2'/>", "- /a b=\"1\"\n+ /a b=\"2\"\n=> 1\n");
    row("added value", "<a/>", "<a b='2'/>", "- /a\n+ /a b=\"2\"\n=> 1\n");
    row("empty value is a value", "<a b=''/>", "<a c='1' b=''/>", "+ /a c=\"1\"\n=> 1\n");
    row("changed text", "<a>x</a>", "<a>x </a>", "- /a \"x\"\n+ /a \"x \"\n=> 1\n");
    row("removed element", "<a><b/><c/></a>", "<a><c/></a>", "- /a/b\n=> 1\n");
    row("order of elements of one name", "<a><b x='1'/><b x='2'/></a>", "<a><b x='2'/><b x='1'/></a>",
        "- /a/b x=\"1\"\n+ /a/b x=\"2\"\n- /a/b[2] x=\"2\"\n+ /a/b[2] x=\"1\"\n=> 1\n");
    row("case of a name", "<a B='1'/>", "<a b='1'/>", "- /a B=\"1\"\n+ /a b=\"1\"\n=> 1\n");
    row("another root", "<a x='1'/>", "<b x='1'/>", "- /a x=\"1\"\n+ /b x=\"1\"\n=> 1\n");
    row("text and element", "<a><b>x</b></a>", "<a><b><x/></b></a>", "- /a/b \"x\"\n+ /a/b/x\n=> 1\n");
}

void tst_ToolSettings::Diff()
{
    QFETCH(const QByteArray, left);
    QFETCH(const QByteArray, right);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"left.xml"_s, left));
    QVERIFY(mTool->Write(u"right.xml"_s, right));
    QCOMPARE(Run({u"diff"_s, u"left.xml"_s, u"right.xml"_s}), expected);
    QCOMPARE(Run({u"diff"_s, u"-"_s, u"right.xml"_s}, left), expected);
    QCOMPARE(mTool->Run({u"settings"_s, u"diff"_s, u"right.xml"_s, u"left.xml"_s}).ExitCode,
             expected == u"=> 0\n"_s ? 0 : 1);
}

void tst_ToolSettings::Diff_json()
{
    QVERIFY(mTool->Write(u"left.xml"_s, "<a b='1' c='2'><d>x</d></a>"));
    QVERIFY(mTool->Write(u"right.xml"_s, "<a b='1' c='3'><e/></a>"));
    QCOMPARE(RunJson({u"diff"_s, u"left.xml"_s, u"right.xml"_s, u"--json"_s}),
             QJsonDocument::fromJson(R"json([
                 {"path": "/a", "name": "c", "left": "2", "right": "3"},
                 {"path": "/a/d", "left": "x", "right": null},
                 {"path": "/a/e", "left": null, "right": ""}])json")
                 .array());
    QCOMPARE(Run({u"diff"_s, u"left.xml"_s, u"left.xml"_s, u"--json"_s}), u"[\n]\n=> 0\n"_s);
}

void tst_ToolSettings::Diff_badFile()
{
    QVERIFY(mTool->Write(u"torn.xml"_s, "<a>"));
    QCOMPARE(Run({u"diff"_s, u"app.xml"_s, u"torn.xml"_s}),
             u"! qvutil: torn.xml:1:3: the file ends in the middle of the document\n=> 2\n"_s);
    QCOMPARE(Run({u"diff"_s, u"app.xml"_s, u"none.xml"_s}),
             u"! qvutil: none.xml: No such file or directory\n=> 2\n"_s);
    QCOMPARE(Run({u"diff"_s, u"-"_s, u"-"_s}),
             u"! qvutil: only one of the files can be standard input\n"
             "! Try 'qvutil settings diff --help'.\n=> 2\n"_s);
    QCOMPARE(Run({u"diff"_s, u"app.xml"_s}),
             u"! qvutil: OTHER is required\n! Try 'qvutil settings diff --help'.\n=> 2\n"_s);
}

void tst_ToolSettings::Check_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* name, const QByteArray& content, const char* expected) {
        QTest::newRow(name) << content << QString::fromUtf8(expected);
    };
    const QString character = u"a.xml:%1: the character U+%2 cannot be read back\n"_s;
    row("good", kSettings, "a.xml: good\n=> 0\n");
    row("good with a byte order mark", "\xef\xbb\xbf<a/>", "a.xml: good\n=> 0\n");
    row("good in another encoding", "<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xe4'/>",
        "a.xml: good\n=> 0\n");
    row("good in UTF-16", QByteArray("\xff\xfe<\0a\0/\0>\0", 10), "a.xml: good\n=> 0\n");
    row("as deep as possible", QByteArray("<a>").repeated(1000) + QByteArray("</a>").repeated(1000),
        "a.xml: good\n=> 0\n");
    row("white space in values", "<a b='&#13;&#10;&#9;'>&#13;x</a>", "a.xml: good\n=> 0\n");
    row("empty", "", "a.xml:1:1: the file is empty\n=> 1\n");
    row("truncated in a tag", "<a>\n<b c='1",
        "a.xml:2:7: the file ends in the middle of the document\n=> 1\n");
    row("truncated between elements", "<a>\n<b/>\n",
        "a.xml:3:1: the file ends in the middle of the document\n=> 1\n");
    row("zero bytes at the end", QByteArray("<a/>\n\0\0\0", 8),
        "a.xml:2:1: the file ends in 3 zero bytes\n=> 1\n");
    row("zero bytes only", QByteArray(4096, '\0'), "a.xml:1:1: the file ends in 4096 zero bytes\n=> 1\n");
    row("control characters", "<a b='x\x01'>\n<c>\x1f</c></a>",
        "a.xml:1:8: the character U+0001 cannot be read back\n"
        "a.xml:2:4: the character U+001F cannot be read back\n=> 1\n");
    row("not UTF-8", "<a b='\xe4'/>", "a.xml:1:7: a byte that is not valid UTF-8\n=> 1\n");
    row("an error before a control character", "<a></b>\n\x01",
        "a.xml:2:1: the character U+0001 cannot be read back\na.xml:1:7: \n=> 1\n");
    row("malformed", "<a>\n  </b>\n</a>", "a.xml:2:6: \n=> 1\n");
    row("reference to a control character", "<a b='&#1;'/>", "a.xml:1:10: \n=> 1\n");
    row("too deep", QByteArray("<a>").repeated(1001) + QByteArray("</a>").repeated(1001),
        "a.xml: nested deeper, or with more text in its entities, than the library takes\n=> 1\n");
}

void tst_ToolSettings::Check()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"a.xml"_s, content));
    // The parser's messages differ between versions of Qt.
    QString result = Run({u"check"_s, u"a.xml"_s});
    result.replace(QRegularExpression(u"(:\\d+:\\d+: )(?!the |a byte)[^\\n]+"_s), u"\\1"_s);
    QCOMPARE(result, expected);
    QCOMPARE(mTool->Read(u"a.xml"_s), content);
}

void tst_ToolSettings::Check_severalFiles()
{
    QVERIFY(mTool->Write(u"torn.xml"_s, "<a>"));
    QVERIFY(mTool->Write(u"binary"_s, QByteArray("\x02", 1).repeated(100)));
    QCOMPARE(Run({u"check"_s, u"torn.xml"_s, u"none.xml"_s, u"."_s, u"app.xml"_s}),
             u"torn.xml:1:3: the file ends in the middle of the document\napp.xml: good\n"
             "! qvutil: none.xml: No such file or directory\n! qvutil: .: is a folder\n=> 2\n"_s);
    QCOMPARE(mTool->Run({u"settings"_s, u"check"_s, u"app.xml"_s, u"torn.xml"_s, u"app.xml"_s}).ExitCode, 1);
    // A binary file does not flood the terminal.
    QCOMPARE(mTool->Run({u"settings"_s, u"check"_s, u"binary"_s}).Output.count('\n'), 10);
    QCOMPARE(Run({u"check"_s, u"-"_s}, kSettings), u"standard input: good\n=> 0\n"_s);
}

void tst_ToolSettings::Check_json()
{
    QVERIFY(mTool->Write(u"torn.xml"_s, "<a>\n<b"));
    QVERIFY(mTool->Write(u"control.xml"_s, "<a>\x01</a>"));
    QVERIFY(mTool->Write(u".torn.xml.saving"_s, "<a>"));
    QCOMPARE(RunJson({u"check"_s, u"app.xml"_s, u"torn.xml"_s, u"control.xml"_s, u"--json"_s}),
             QJsonDocument::fromJson(R"json([
                 {"file": "app.xml", "ok": true, "problems": []},
                 {"file": "torn.xml", "ok": false, "problems": [
                     {"kind": "torn", "line": 2, "column": 2,
                      "reason": "the file ends in the middle of the document"},
                     {"kind": "leftover",
                      "reason": "an interrupted save left .torn.xml.saving behind, 3 bytes"}]},
                 {"file": "control.xml", "ok": false, "problems": [
                     {"kind": "character", "line": 1, "column": 4,
                      "reason": "the character U+0001 cannot be read back"}]}])json")
                 .array());
}

void tst_ToolSettings::Check_leftovers()
{
    QVERIFY(mTool->Write(u".app.xml.saving"_s, QByteArray(2048, 'x')));
    QVERIFY(mTool->Write(u".app.xml.saving7"_s, "a later one"));
    QVERIFY(mTool->Write(u"app.xml.saving"_s, "not hidden"));
    QVERIFY(mTool->Write(u".app.xml.savings"_s, "another word"));
    QVERIFY(mTool->Write(u".other.xml.saving"_s, "of another file"));
    QCOMPARE(Run({u"check"_s, u"app.xml"_s}),
             u"app.xml: an interrupted save left .app.xml.saving behind, 2.0 KB\n"
             "app.xml: an interrupted save left .app.xml.saving7 behind, 11 bytes\n=> 1\n"_s);

    // The next save removes the stale temporary files of this file, and no others.
    QCOMPARE(mTool->Run({u"settings"_s, u"set"_s, u"app.xml"_s, u"/"_s, u"n"_s, u"1"_s}).ExitCode, 0);
    QCOMPARE(Run({u"check"_s, u"app.xml"_s}), u"app.xml: good\n=> 0\n"_s);
    for (const QString& other : {u"app.xml.saving"_s, u".app.xml.savings"_s, u".other.xml.saving"_s})
        QVERIFY(QFile::exists(mTool->Path(other)));
}

void tst_ToolSettings::Check_leftoverBehindLink()
{
    QVERIFY(QDir(mTool->Path(u"."_s)).mkdir(u"real"_s));
    QVERIFY(mTool->Write(u"real/file.xml"_s, "<a/>"));
    QVERIFY(mTool->Write(u"real/.file.xml.saving"_s, "<a/>"));
    QVERIFY(QFile::link(u"real/file.xml"_s, mTool->Path(u"link.xml"_s)));
    QCOMPARE(Run({u"check"_s, u"link.xml"_s}),
             u"link.xml: an interrupted save left .file.xml.saving behind, 4 bytes\n=> 1\n"_s);
}

QTEST_GUILESS_MAIN(tst_ToolSettings)
#include "tst_ToolSettings.moc"
