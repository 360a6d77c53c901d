// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/RunningTool.h"
#include "support/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>

#include <csignal>

using namespace Qt::StringLiterals;
using TestSupport::RunningTool;
using TestSupport::ToolResult;

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

class tst_ToolSettings : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Set_newFile();
    void Set_existingFile();
    void Delete_data();
    void Delete();
    void Delete_badFileIsKept();
    void List_data();
    void List();
    void List_json();
    void List_jsonBytes();
    void Diff_data();
    void Diff();
    void Diff_json();
    void Diff_badFile();
    void Check_data();
    void Check();
    void Check_severalFiles();
    void Check_json();
    void Check_staleFiles();
    void Check_staleFileOfLinkTarget();
    void List_types_data();
    void List_types();
    void List_typesOfContent_data();
    void List_typesOfContent();
    void Export_json();
    void Export_ini();
    void Export_problems();
    void Export_usage();
    void Import_json_data();
    void Import_json();
    void Import_jsonRefused_data();
    void Import_jsonRefused();
    void Import_ini();
    void Import_iniOfQSettings();
    void Import_merges();
    void Import_replaces();
    void Import_usage();
    void RoundTrip_data();
    void RoundTrip();
    void Watch_replacedFile();
    void Watch_writtenInPlace();
    void Watch_createdAndRemoved();
    void Watch_malformed();
    void Watch_link();
    void Watch_element();
    void Watch_elementToCome();
    void Watch_json();
    void Watch_signal_data();
    void Watch_signal();
    void Watch_usage();

private:
    void SetUp() override;
    [[nodiscard]] QString Run(const QStringList& arguments, const QByteArray& input = {}) const
    {
        return mTool->Run(QStringList(u"settings"_s) + arguments, input).ToText();
    }
    [[nodiscard]] QJsonArray RunJson(const QStringList& arguments) const
    {
        return QJsonDocument::fromJson(mTool->Run(QStringList(u"settings"_s) + arguments).Output).array();
    }
};

void tst_ToolSettings::SetUp()
{
    QVERIFY(mTool->Write(u"app.xml"_s, kSettings));
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
    // A file with equal content must be unchanged byte for byte.
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

// The JSON is printed piece by piece, but in the form that Qt gives to a whole array.
void tst_ToolSettings::List_jsonBytes()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<a b='1' c='x&quot;y&#10;'><d>t</d><e r='1,2,3,4'/><f/></a>"));
    const QStringList arguments{u"settings"_s, u"list"_s, u"a.xml"_s};
    const ToolResult lines = mTool->Run(arguments + QStringList(u"--json=lines"_s));
    const ToolResult pretty = mTool->Run(arguments + QStringList(u"--json=pretty"_s));
    const QJsonDocument json = QJsonDocument::fromJson(lines.Output);
    QCOMPARE(json.array().size(), 5);
    QCOMPARE(lines.Output, json.toJson(QJsonDocument::Compact) + '\n');
    QCOMPARE(pretty.Output, json.toJson(QJsonDocument::Indented));
}

void tst_ToolSettings::List_json()
{
    QCOMPARE(RunJson({u"list"_s, u"app.xml"_s, u"--json"_s}),
             QJsonDocument::fromJson(R"json([
                 {"path": "/Settings", "name": "version", "type": "int", "value": 3},
                 {"path": "/Settings/Panel/Main", "name": "Title", "type": "string", "value": "Main"},
                 {"path": "/Settings/Panel/Main", "name": "Width", "type": "int", "value": 640},
                 {"path": "/Settings/Panel/Side"},
                 {"path": "/Settings/Notes", "type": "text", "text": "one\ntwo"},
                 {"path": "/Settings/List/Item", "name": "a", "type": "int", "value": 1},
                 {"path": "/Settings/List/Item[2]", "name": "a", "type": "int", "value": 2}])json")
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
    row("text and CDATA section", "<a>x&amp;y</a>", "<a><![CDATA[x&y]]></a>");
    row("changed value", "<a b='1'/>", "<a b='2'/>", "- /a b=\"1\"\n+ /a b=\"2\"\n=> 1\n");
    row("added value", "<a/>", "<a b='2'/>", "- /a\n+ /a b=\"2\"\n=> 1\n");
    row("empty value is a value", "<a b=''/>", "<a c='1' b=''/>", "+ /a c=\"1\"\n=> 1\n");
    row("changed text", "<a>x</a>", "<a>x </a>", "- /a \"x\"\n+ /a \"x \"\n=> 1\n");
    row("removed element", "<a><b/><c/></a>", "<a><c/></a>", "- /a/b\n=> 1\n");
    row("order of elements of the same name", "<a><b x='1'/><b x='2'/></a>", "<a><b x='2'/><b x='1'/></a>",
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
    QCOMPARE(Run({u"diff"_s, u"left.xml"_s, u"left.xml"_s, u"--json"_s}), u"[]\n=> 0\n"_s);
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
        "a.xml: elements are nested more than 1,000 deep\n=> 1\n");
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
                     {"kind": "stale",
                      "reason": "an interrupted save left .torn.xml.saving behind, 3 bytes"}]},
                 {"file": "control.xml", "ok": false, "problems": [
                     {"kind": "character", "line": 1, "column": 4,
                      "reason": "the character U+0001 cannot be read back"}]}])json")
                 .array());
}

void tst_ToolSettings::Check_staleFiles()
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

void tst_ToolSettings::Check_staleFileOfLinkTarget()
{
    QVERIFY(QDir(mTool->Path(u"."_s)).mkdir(u"real"_s));
    QVERIFY(mTool->Write(u"real/file.xml"_s, "<a/>"));
    QVERIFY(mTool->Write(u"real/.file.xml.saving"_s, "<a/>"));
    QVERIFY(QFile::link(u"real/file.xml"_s, mTool->Path(u"link.xml"_s)));
    QCOMPARE(Run({u"check"_s, u"link.xml"_s}),
             u"link.xml: an interrupted save left .file.xml.saving behind, 4 bytes\n=> 1\n"_s);
}

void tst_ToolSettings::List_types_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("json");

    const auto row = [](const char* name, const char* stored, const char* type, const char* json) {
        QTest::newRow(name) << QString::fromUtf8(stored) << QString::fromUtf8(type)
                            << QString::fromUtf8(json);
    };
    row("int", "-48", "int", "-48");
    row("int, largest", "2147483647", "int", "2147483647");
    row("int64", "2147483648", "int64", "2147483648");
    row("beyond int64", "9223372036854775808", "string", "\"9223372036854775808\"");
    row("leading zero", "0640", "string", "\"0640\"");
    row("redundant sign", "+1", "string", "\"+1\"");
    row("negative zero", "-0", "string", "\"-0\"");
    row("double", "0.10000000000000001", "double", "0.1");
    row("double that the library writes with more digits", "0.1", "string", "\"0.1\"");
    row("double, exact", "0.5", "double", "0.5");
    row("bool", "True", "bool", "true");
    row("bool in another form", "true", "string", "\"true\"");
    row("date", "2026-11-21T04:30:00Z", "date", "\"2026-11-21T04:30:00Z\"");
    row("date in another time zone", "2026-11-21T04:30:00+02:00", "string", "\"2026-11-21T04:30:00+02:00\"");
    row("rect", "1,-2,30,40", "rect", R"({"x":1,"y":-2,"width":30,"height":40})");
    row("size", "30,40", "size", R"({"width":30,"height":40})");
    row("three numbers", "1,2,3", "string", "\"1,2,3\"");
    row("numbers with spaces", "1, 2", "string", "\"1, 2\"");
    row("empty", "", "string", "\"\"");
    row("words", "Main window", "string", "\"Main window\"");
}

void tst_ToolSettings::List_types()
{
    QFETCH(const QString, stored);
    QFETCH(const QString, type);
    QFETCH(const QString, json);

    QVERIFY(mTool->Write(u"v.xml"_s, u"<R a=\"%1\"/>"_s.arg(stored).toUtf8()));
    const QJsonObject entry = RunJson({u"list"_s, u"v.xml"_s, u"--json"_s}).first().toObject();
    QCOMPARE(entry.value("type"_L1).toString(), type);
    QCOMPARE(entry.value("value"_L1), QJsonDocument::fromJson("[" + json.toUtf8() + "]").array().first());
}

void tst_ToolSettings::List_typesOfContent_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("text");

    QTest::newRow("text") << QByteArray("AAEC/w==") << u"text"_s << u"AAEC/w=="_s;
    QTest::newRow("bytes") << QByteArray("<![CDATA[AAEC/w==]]>") << u"buffer"_s << u"AAEC/w=="_s;
    QTest::newRow("bytes, indented") << QByteArray("\n  <![CDATA[AAEC/w==]]>\n") << u"buffer"_s
                                     << u"AAEC/w=="_s;
    QTest::newRow("section that is not Base64") << QByteArray("<![CDATA[a < b]]>") << u"text"_s << u"a < b"_s;
    QTest::newRow("section without padding") << QByteArray("<![CDATA[AAEC/w]]>") << u"text"_s << u"AAEC/w"_s;
    QTest::newRow("text before the section")
        << QByteArray("AAEC<![CDATA[/w==]]>") << u"text"_s << u"AAEC/w=="_s;
    QTest::newRow("two sections") << QByteArray("<![CDATA[AAEC]]><![CDATA[/w==]]>") << u"text"_s
                                  << u"AAEC/w=="_s;
}

void tst_ToolSettings::List_typesOfContent()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, type);
    QFETCH(const QString, text);

    const QByteArray document = "<R><I>" + content + "</I></R>";
    // The tool streams the first document, and loads the second one because of its document type.
    for (const QByteArray& start : {QByteArray(), QByteArray("<!DOCTYPE R>")}) {
        QVERIFY(mTool->Write(u"v.xml"_s, start + document));
        QCOMPARE(RunJson({u"list"_s, u"v.xml"_s, u"--json"_s}),
                 (QJsonArray{QJsonObject{{u"path"_s, u"/R/I"_s}, {u"text"_s, text}, {u"type"_s, type}}}));
    }
}

void tst_ToolSettings::Export_json()
{
    const ToolResult result = mTool->Run({u"settings"_s, u"export"_s, u"app.xml"_s});
    QCOMPARE(QJsonDocument::fromJson(result.Output).object(),
             QJsonDocument::fromJson(R"json({"Settings": {
        "@version": 3,
        "Panel": {"Main": {"@Width": 640, "@Title": "Main"}, "Side": {}},
        "Notes": "one\ntwo",
        "List": {"Item": [{"@a": 1}, {"@a": 2}]}}})json")
                 .object());
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
}

void tst_ToolSettings::Export_ini()
{
    QCOMPARE(Run({u"export"_s, u"app.xml"_s, u"--format"_s, u"ini"_s}),
             u"[General]\nversion=3\n\n[List]\nItem\\a=1\nItem%5B2%5D\\a=2\n\n[Notes]\n%23text=one\\ntwo\n\n"
             "[Panel]\nMain\\Title=Main\nMain\\Width=640\nSide\\%23text=\n=> 0\n"_s);
}

void tst_ToolSettings::Export_problems()
{
    QVERIFY(mTool->Write(u"odd.xml"_s, "<!-- top --><App><!-- a --><B>x<C/>y</B><?p i?></App>"));
    for (const QString& format : {u"json"_s, u"ini"_s}) {
        const ToolResult result = mTool->Run({u"settings"_s, u"export"_s, u"odd.xml"_s, u"-f"_s, format});
        QCOMPARE(result.ExitCode, 1);
        QCOMPARE(
            result.Errors,
            QByteArray("qvutil: odd.xml: comments outside the root element are left out: 1\n"
                       "qvutil: odd.xml: /App: comments are left out: 1\n"
                       "qvutil: odd.xml: /App: processing instructions are left out: 1\n"
                       "qvutil: odd.xml: /App/B: the positions of text between elements are not kept\n"));
        QVERIFY(result.Output.contains("xy"));
    }

    // QSettings does not distinguish these two groups.
    QVERIFY(mTool->Write(u"case.xml"_s, "<Settings><General a='1'/><general b='2'/></Settings>"));
    QCOMPARE(mTool->Run({u"settings"_s, u"export"_s, u"case.xml"_s, u"-f"_s, u"json"_s}).ExitCode, 0);
    const ToolResult result = mTool->Run({u"settings"_s, u"export"_s, u"case.xml"_s, u"-f"_s, u"ini"_s});
    QCOMPARE(result.Errors,
             QByteArray("qvutil: case.xml: general b: cannot be read back from this format\n"));
    QCOMPARE(result.ExitCode, 1);
}

void tst_ToolSettings::Export_usage()
{
    QCOMPARE(Run({u"export"_s, u"app.xml"_s, u"-f"_s, u"yaml"_s}),
             u"! qvutil: there is no format 'yaml'; formats are json and ini\n"
             "! Try 'qvutil settings export --help'.\n=> 2\n"_s);
    QCOMPARE(Run({u"export"_s, u"none.xml"_s}), u"! qvutil: none.xml: No such file or directory\n=> 2\n"_s);
}

void tst_ToolSettings::Import_json_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* name, const char* json, const char* expected) {
        QTest::newRow(name) << QByteArray(json) << QString::fromUtf8(expected);
    };
    row("attribute", R"({"S": {"@a": "x"}})", "/S a=\"x\"\n");
    row("whole number", R"({"S": {"@a": 12}})", "/S a=\"12\"\n");
    row("whole number with a decimal point", R"({"S": {"@a": 12.0}})", "/S a=\"12\"\n");
    row("large whole number", R"({"S": {"@a": 9007199254740993}})", "/S a=\"9007199254740993\"\n");
    row("fraction", R"({"S": {"@a": 0.1}})", "/S a=\"0.10000000000000001\"\n");
    row("booleans", R"({"S": {"@a": true, "@b": false}})", "/S a=\"True\"\n/S b=\"False\"\n");
    row("element's text", R"({"S": {"A": "x", "B": 5, "C": {"#text": "y", "@c": 1}}})",
        "/S/A \"x\"\n/S/B \"5\"\n/S/C c=\"1\"\n/S/C \"y\"\n");
    row("siblings", R"({"S": {"A": [{"@n": 1}, "two", {}]}})", "/S/A n=\"1\"\n/S/A[2] \"two\"\n/S/A[3]\n");
    row("more than nine siblings", R"({"S": {"A": [0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10]}})",
        "/S/A \"0\"\n/S/A[2] \"1\"\n/S/A[3] \"2\"\n/S/A[4] \"3\"\n/S/A[5] \"4\"\n/S/A[6] \"5\"\n/S/A[7] "
        "\"6\"\n"
        "/S/A[8] \"7\"\n/S/A[9] \"8\"\n/S/A[10] \"9\"\n/S/A[11] \"10\"\n");
    row("text of the root", R"({"S": "x"})", "/S \"x\"\n");
    row("nothing", R"({"S": {}})", "/S\n");
}

void tst_ToolSettings::Import_json()
{
    QFETCH(const QByteArray, json);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"in.json"_s, json));
    QCOMPARE(Run({u"import"_s, u"new.xml"_s, u"in.json"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"list"_s, u"new.xml"_s}), expected + u"=> 0\n"_s);
    QCOMPARE(Run({u"import"_s, u"piped.xml"_s, u"-"_s, u"--format"_s, u"json"_s}, json), u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"piped.xml"_s), mTool->Read(u"new.xml"_s));
}

void tst_ToolSettings::Import_jsonRefused_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");

    const auto problem = [](const char* name, const char* json, const char* reason) {
        QTest::newRow(name)
            << QByteArray(json)
            << u"! qvutil: in.json: %1\n! qvutil: app.xml: nothing was changed; use --skip to "
               "import the rest\n=> 1\n"_s.arg(QString::fromUtf8(reason));
    };
    problem("null", R"({"Settings": {"A": null, "@new": 1}})", "A: null cannot be stored in a document");
    problem("array in an array", R"({"Settings": {"A": [[1]], "@new": 1}})",
            "A: an array in an array cannot be stored in a document");
    problem("array as an attribute", R"({"Settings": {"@a": [1], "@new": 1}})",
            "@a: is not a string, a number, true or false");
    problem("blank in a name", R"({"Settings": {"a b": 1, "@new": 1}})",
            "a b: \"a b\" is not a valid name of an element or attribute");
    problem("name that begins with a digit", R"({"Settings": {"B": {"@1": 1}, "@new": 1}})",
            "B/@1: \"1\" is not a valid name of an element or attribute");
    problem("character that XML does not allow", R"({"Settings": {"@a": "\u0001", "@new": 1}})",
            "@a: the value contains the character U+0001, which XML does not allow");
    QTest::newRow("malformed JSON") << QByteArray("{")
                                    << u"! qvutil: in.json: byte 1: unterminated object\n=> 2\n"_s;
    QTest::newRow("list") << QByteArray(
        "[1]") << u"! qvutil: in.json: is not an object with a single member, the root element\n=> 2\n"_s;
    QTest::newRow("two roots")
        << QByteArray(R"({"A": {}, "B": {}})")
        << u"! qvutil: in.json: is not an object with a single member, the root element\n=> 2\n"_s;
    QTest::newRow("another root") << QByteArray(R"({"App": {"@new": 1}})")
                                  << u"! qvutil: app.xml: the root element is Settings, not App; use "
                                     "--replace to replace the whole content\n=> 2\n"_s;
}

void tst_ToolSettings::Import_jsonRefused()
{
    QFETCH(const QByteArray, json);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"in.json"_s, json));
    QCOMPARE(Run({u"import"_s, u"app.xml"_s, u"in.json"_s}), expected);
    QCOMPARE(mTool->Read(u"app.xml"_s), QByteArray(kSettings));
    // With --skip, the rest is imported, and the problem is still reported.
    if (expected.contains("--skip"_L1)) {
        QCOMPARE(mTool->Run({u"settings"_s, u"import"_s, u"app.xml"_s, u"in.json"_s, u"--skip"_s}).ExitCode,
                 1);
        QCOMPARE(Run({u"get"_s, u"app.xml"_s, u"/"_s, u"new"_s}), u"1\n=> 0\n"_s);
    }
}

void tst_ToolSettings::Import_ini()
{
    QVERIFY(
        mTool->Write(u"in.ini"_s,
                     "top=1\n[Panel]\nMain\\Width=640\nTitle=\"a, b\"\nFlags=x, y\nPlace=@Rect(1 2 30 40)\n"
                     "Extent=@Size(30 40)\nIcon=@ByteArray(\\0\\x1\\x2\\xff)\nOn=true\n"));
    QCOMPARE(Run({u"import"_s, u"new.xml"_s, u"in.ini"_s}), u"=> 0\n"_s);
    QCOMPARE(
        Run({u"list"_s, u"new.xml"_s}),
        u"/Settings top=\"1\"\n/Settings/Panel Extent=\"30,40\"\n/Settings/Panel Flags=\"x,y\"\n"
        "/Settings/Panel On=\"true\"\n/Settings/Panel Place=\"1,2,30,40\"\n/Settings/Panel Title=\"a, b\"\n"
        "/Settings/Panel/Icon \"AAEC/w==\"\n/Settings/Panel/Main Width=\"640\"\n=> 0\n"_s);
    QCOMPARE(
        mTool->Run({u"settings"_s, u"get"_s, u"new.xml"_s, u"Panel/Icon"_s, u"-t"_s, u"buffer"_s}).Output,
        QByteArray("\x00\x01\x02\xff", 4));

    QVERIFY(mTool->Write(u"in.ini"_s, "point=@Point(1 2)\n[List]\nsize=1\n1\\a=x\n"));
    QCOMPARE(
        Run({u"import"_s, u"other.xml"_s, u"in.ini"_s}),
        u"! qvutil: in.ini: List/1/a: \"1\" is not a step of a path: the library cannot address elements by "
        "wildcards, conditions or '..'; a step is the name of an element, or a name with a position counted "
        "from 1, such as Item[2]\n"
        "! qvutil: in.ini: point: a value of type QPoint cannot be stored in a document\n"
        "! qvutil: other.xml: nothing was changed; use --skip to import the rest\n=> 1\n"_s);
    QVERIFY(!QFile::exists(mTool->Path(u"other.xml"_s)));

    QVERIFY(mTool->Write(u"in.ini"_s, "no key\n"));
    QCOMPARE(Run({u"import"_s, u"other.xml"_s, u"in.ini"_s}),
             u"! qvutil: in.ini: is not in the INI format of QSettings\n=> 2\n"_s);
}

// Imports a file that a program has written with QSettings. The program reads the file again after an export.
void tst_ToolSettings::Import_iniOfQSettings()
{
    {
        QSettings ini(mTool->Path(u"program.ini"_s), QSettings::IniFormat);
        ini.setValue(u"Window/Geometry"_s, QByteArray("\x01\x00z", 3));
        ini.setValue(u"Window/Width"_s, 640);
        ini.setValue(u"Window/Open"_s, true);
        ini.setValue(u"Window/Scale"_s, 1.5);
        ini.setValue(u"Window/Title"_s, u"a; \"b\" = ä @c"_s);
        ini.setValue(u"Window/Seen"_s, QDateTime(QDate(2026, 11, 21), QTime(4, 30), Qt::UTC));
        ini.setValue(u"General/Name"_s, u"@x"_s);
    }
    QCOMPARE(Run({u"import"_s, u"new.xml"_s, u"program.ini"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"list"_s, u"new.xml"_s, u"Window"_s}),
             u"/Settings/Window Open=\"true\"\n/Settings/Window Scale=\"1.5\"\n"
             "/Settings/Window Seen=\"2026-11-21T04:30:00Z\"\n"
             "/Settings/Window Title=\"a; \\\"b\\\" = ä @c\"\n/Settings/Window Width=\"640\"\n"
             "/Settings/Window/Geometry \"AQB6\"\n=> 0\n"_s);

    QVERIFY(mTool->Write(u"back.ini"_s,
                         mTool->Run({u"settings"_s, u"export"_s, u"new.xml"_s, u"-f"_s, u"ini"_s}).Output));
    const QSettings back(mTool->Path(u"back.ini"_s), QSettings::IniFormat);
    QCOMPARE(back.value(u"Window/Geometry"_s).toByteArray(), QByteArray("\x01\x00z", 3));
    QCOMPARE(back.value(u"Window/Width"_s).toInt(), 640);
    QCOMPARE(back.value(u"Window/Open"_s).toBool(), true);
    QCOMPARE(back.value(u"Window/Scale"_s).toDouble(), 1.5);
    QCOMPARE(back.value(u"Window/Title"_s).toString(), u"a; \"b\" = ä @c"_s);
    QCOMPARE(back.value(u"General/Name"_s).toString(), u"@x"_s);
}

void tst_ToolSettings::Import_merges()
{
    QVERIFY(mTool->Write(u"in.json"_s, R"({"Settings": {"Panel": {"Main": {"@Width": 800}}, "Notes": "three",
                                           "List": {"Item": [{}, {"@a": "two"}, {"@a": 3}]}}})"));
    const ToolResult tried
        = mTool->Run({u"settings"_s, u"import"_s, u"app.xml"_s, u"in.json"_s, u"--dry-run"_s});
    QCOMPARE(tried.ExitCode, 1);
    QVERIFY(tried.Output.startsWith("--- app.xml\n+++ app.xml\n"));
    QCOMPARE(mTool->Read(u"app.xml"_s), QByteArray(kSettings));
    QCOMPARE(Run({u"import"_s, u"app.xml"_s, u"in.json"_s}), u"=> 0\n"_s);
    QCOMPARE(
        Run({u"list"_s, u"app.xml"_s}),
        u"/Settings version=\"3\"\n/Settings/Panel/Main Title=\"Main\"\n/Settings/Panel/Main Width=\"800\"\n"
        "/Settings/Panel/Side\n/Settings/Notes \"three\"\n/Settings/List/Item a=\"1\"\n"
        "/Settings/List/Item[2] a=\"two\"\n/Settings/List/Item[3] a=\"3\"\n=> 0\n"_s);
}

void tst_ToolSettings::Import_replaces()
{
    QVERIFY(mTool->Write(u"in.json"_s, R"({"App": {"@a": 1}})"));
    QCOMPARE(Run({u"import"_s, u"app.xml"_s, u"in.json"_s, u"--replace"_s}), u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"app.xml"_s),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<App a=\"1\"/>\n"));
    QVERIFY(mTool->Write(u"in.ini"_s, "a=2\n"));
    QCOMPARE(Run({u"import"_s, u"app.xml"_s, u"in.ini"_s, u"--replace"_s, u"--root"_s, u"Top"_s}),
             u"=> 0\n"_s);
    QCOMPARE(Run({u"list"_s, u"app.xml"_s}), u"/Top a=\"2\"\n=> 0\n"_s);
}

void tst_ToolSettings::Import_usage()
{
    const QString hint = u"! Try 'qvutil settings import --help'.\n=> 2\n"_s;
    QCOMPARE(Run({u"import"_s, u"app.xml"_s, u"in.txt"_s}),
             u"! qvutil: --format is required: the name of SOURCE does not end in .json, .ini or .conf\n"_s
                 + hint);
    QCOMPARE(Run({u"import"_s, u"app.xml"_s, u"in.json"_s, u"--format"_s, u"toml"_s}),
             u"! qvutil: there is no format 'toml'; formats are json and ini\n"_s + hint);
    QVERIFY(mTool->Write(u"bad.xml"_s, "<a>"));
    QVERIFY(mTool->Write(u"in.ini"_s, "a=2\n"));
    QCOMPARE(Run({u"import"_s, u"bad.xml"_s, u"in.ini"_s, u"--replace"_s}),
             u"! qvutil: bad.xml:1:3: the file ends in the middle of the document\n=> 2\n"_s);
    QCOMPARE(mTool->Read(u"bad.xml"_s), QByteArray("<a>"));
}

void tst_ToolSettings::RoundTrip_data()
{
    QTest::addColumn<QByteArray>("document");

    QTest::newRow("settings") << QByteArray(kSettings);
    QTest::newRow("another root") << QByteArray("<App a='1'/>");
    QTest::newRow("nothing") << QByteArray("<Settings/>");
    QTest::newRow("text of the root") << QByteArray("<Settings a='1'>text<B/></Settings>");
    QTest::newRow("numbers and similar texts")
        << QByteArray("<S a='1' b='01' c='-0' d='1e5' e='0.5' f='0.10000000000000001' g='9007199254740993' "
                      "h='9223372036854775808' i='nan' j='1E5' k=' 1' l='1.0' m='1.2345678901234568e+20'/>");
    QTest::newRow("booleans and similar texts") << QByteArray("<S a='True' b='true' c='False' d='FALSE'/>");
    QTest::newRow("lists, rectangles and similar texts")
        << QByteArray("<S a='1,2,3,4' b='1, 2' c='@Rect(1 2 3 4)' d='@@' e='@Invalid()' f=',' g='\\'/>");
    QTest::newRow("white space and quotes") << QByteArray(
        "<S a=' x ' b='&#10;' c='&#9;&#13;' d='&quot;' e=\"'\" f=';#=' g=''> <T>  two  </T></S>");
    QTest::newRow("other scripts") << QByteArray("<Ö ä='日本' b='\xf0\x9f\x98\x80'><Ж-1.x:y z='é'/></Ö>");
    QTest::newRow("bytes") << QByteArray("<S><Icon><![CDATA[AAEC/w==]]></Icon></S>");
    QTest::newRow("bytes, and an attribute of the same name")
        << QByteArray("<S Icon='1'><Icon><![CDATA[AAEC/w==]]></Icon></S>");
    QTest::newRow("sections that are not bytes") << QByteArray("<S><![CDATA[<&>]]><A><![CDATA[x]]></A></S>");
    QTest::newRow("names with a special meaning in INI")
        << QByteArray("<S><General a='1'/><size a='3'/><B><General b='4'/><general b='5'/></B></S>");
    QTest::newRow("many siblings") << "<S>" + QByteArray("<A/><A x='1'><B/><B y='2'/></A>").repeated(12)
            + "</S>";
    QTest::newRow("element and attribute of the same name")
        << QByteArray("<S A='1'><A>2</A><B><A B='3'/></B></S>");
    QTest::newRow("order of different siblings") << QByteArray("<S><Z/><A/><M/></S>");
}

void tst_ToolSettings::RoundTrip()
{
    QFETCH(const QByteArray, document);

    QVERIFY(mTool->Write(u"a.xml"_s, document));
    for (const QString& format : {u"json"_s, u"ini"_s}) {
        const QString file = u"out."_s + format;
        const ToolResult exported = mTool->Run({u"settings"_s, u"export"_s, u"a.xml"_s, u"-f"_s, format});
        QVERIFY(mTool->Write(file, exported.Output));
        QCOMPARE(Run({u"import"_s, u"b.xml"_s, file, u"--replace"_s}), u"=> 0\n"_s);
        QCOMPARE(Run({u"diff"_s, u"a.xml"_s, u"b.xml"_s}), u"=> 0\n"_s);
        const ToolResult again = mTool->Run({u"settings"_s, u"export"_s, u"b.xml"_s, u"-f"_s, format});
        QCOMPARE(again.Output, exported.Output);
        QCOMPARE(mTool->Read(u"b.xml"_s).contains("CDATA"), document.contains("CDATA"));
    }
}

void tst_ToolSettings::Watch_replacedFile()
{
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"app.xml"_s, u"--count"_s, u"6"_s});
    QVERIFY(watch.WaitForError("watching app.xml"));
    // Each save replaces the file. The command must ignore changes to other files in the folder.
    for (int width = 1; width <= 5; ++width) {
        QVERIFY(mTool->Write(u"other.xml"_s, "<a n='" + QByteArray::number(width) + "'/>"));
        QCOMPARE(Run({u"set"_s, u"app.xml"_s, u"Panel/Main"_s, u"Width"_s, QString::number(width)}),
                 u"=> 0\n"_s);
        QVERIFY(watch.WaitForOutput("+ /Settings/Panel/Main Width=\"" + QByteArray::number(width) + "\"\n"));
    }
    QCOMPARE(Run({u"delete"_s, u"app.xml"_s, u"Notes"_s}), u"=> 0\n"_s);
    const ToolResult result = watch.WaitForEnd();
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray("qvutil: watching app.xml\n"));
    QString output = QString::fromUtf8(result.Output);
    output.replace(QRegularExpression(u"(^|\n)\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d  "_s), u"\\1"_s);
    QVERIFY(
        output.startsWith("- /Settings/Panel/Main Width=\"640\"\n+ /Settings/Panel/Main Width=\"1\"\n"_L1));
    QVERIFY(output.endsWith("- /Settings/Notes \"one\\ntwo\"\n"_L1));
    QCOMPARE(output.count(u'\n'), 11);
}

void tst_ToolSettings::Watch_writtenInPlace()
{
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"app.xml"_s});
    QVERIFY(watch.WaitForError("watching app.xml"));
    QVERIFY(mTool->Write(u"app.xml"_s, "<Settings version='4'/>"));
    QVERIFY(watch.WaitForOutput("+ /Settings version=\"4\"\n"));
    QVERIFY(mTool->Write(u"app.xml"_s, "<Settings version='5'/>"));
    QVERIFY(watch.WaitForOutput("+ /Settings version=\"5\"\n"));
    QCOMPARE(watch.End().ExitCode, 0);
}

void tst_ToolSettings::Watch_createdAndRemoved()
{
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"new.xml"_s});
    QVERIFY(watch.WaitForError("qvutil: new.xml: does not exist yet\nqvutil: watching new.xml\n"));
    QVERIFY(mTool->Write(u"made.xml"_s, "<S a='1'/>"));
    QVERIFY(QFile::rename(mTool->Path(u"made.xml"_s), mTool->Path(u"new.xml"_s)));
    QVERIFY(watch.WaitForOutput("+ /S a=\"1\"\n"));
    QVERIFY(QFile::remove(mTool->Path(u"new.xml"_s)));
    QVERIFY(watch.WaitForError("qvutil: new.xml: was removed\n"));
    QVERIFY(mTool->Write(u"made.xml"_s, "<S a='2'/>"));
    QVERIFY(QFile::rename(mTool->Path(u"made.xml"_s), mTool->Path(u"new.xml"_s)));
    QVERIFY(watch.WaitForOutput("- /S a=\"1\"\n"));
    QVERIFY(watch.WaitForOutput("+ /S a=\"2\"\n"));
    QCOMPARE(watch.End().ExitCode, 0);
}

void tst_ToolSettings::Watch_malformed()
{
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"app.xml"_s});
    QVERIFY(watch.WaitForError("watching app.xml"));
    QVERIFY(mTool->Write(u"app.xml"_s, "<Settings"));
    QVERIFY(watch.WaitForError("qvutil: app.xml:1:9: the file ends in the middle of the document\n"));
    QVERIFY(mTool->Write(u"app.xml"_s, QByteArray(kSettings).replace("640", "641")));
    QVERIFY(watch.WaitForOutput("+ /Settings/Panel/Main Width=\"641\"\n"));
    const ToolResult result = watch.End();
    QCOMPARE(result.Output.count('\n'), 2);
    QCOMPARE(result.Errors.count('\n'), 2);
}

void tst_ToolSettings::Watch_link()
{
    QVERIFY(QDir(mTool->Path(u"."_s)).mkdir(u"real"_s));
    QVERIFY(mTool->Write(u"real/file.xml"_s, "<a b='1'/>"));
    QVERIFY(QFile::link(u"real/file.xml"_s, mTool->Path(u"link.xml"_s)));
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"link.xml"_s});
    QVERIFY(watch.WaitForError("watching link.xml"));
    for (const QByteArray& value : {QByteArray("2"), QByteArray("3")}) {
        QCOMPARE(Run({u"set"_s, u"real/file.xml"_s, u"/"_s, u"b"_s, QString::fromUtf8(value)}), u"=> 0\n"_s);
        QVERIFY(watch.WaitForOutput("+ /a b=\"" + value + "\"\n"));
    }
    QCOMPARE(watch.End().ExitCode, 0);
}

void tst_ToolSettings::Watch_element()
{
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"app.xml"_s, u"Panel/Main"_s});
    QVERIFY(watch.WaitForError("qvutil: watching Panel/Main in app.xml\n"));
    for (const QString& path : {u"Notes"_s, u"Panel/Side"_s, u"Panel/Main/Deep"_s, u"Panel/Main"_s})
        QCOMPARE(Run({u"set"_s, u"app.xml"_s, path, u"New"_s, u"1"_s}), u"=> 0\n"_s);
    QVERIFY(watch.WaitForOutput("  + /Settings/Panel/Main New=\"1\"\n"));
    QCOMPARE(Run({u"delete"_s, u"app.xml"_s, u"Panel"_s}), u"=> 0\n"_s);
    QVERIFY(watch.WaitForOutput("  - /Settings/Panel/Main/Deep New=\"1\"\n"));
    const ToolResult result = watch.End();
    QCOMPARE(result.ExitCode, 0);
    QVERIFY2(!result.Output.contains("Notes") && !result.Output.contains("Side"), result.Output.constData());
}

void tst_ToolSettings::Watch_elementToCome()
{
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"app.xml"_s, u"Panel/Mian"_s});
    QVERIFY(watch.WaitForError("qvutil: app.xml: there is no element Panel/Mian; did you mean 'Main'?\n"
                               "qvutil: watching Panel/Mian in app.xml\n"));
    QCOMPARE(Run({u"set"_s, u"app.xml"_s, u"Panel/Mian"_s, u"Width"_s, u"5"_s}), u"=> 0\n"_s);
    QVERIFY(watch.WaitForOutput("  + /Settings/Panel/Mian Width=\"5\"\n"));
    QCOMPARE(watch.End().ExitCode, 0);
}

void tst_ToolSettings::Watch_json()
{
    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"app.xml"_s, u"--json"_s, u"--count"_s, u"1"_s});
    QVERIFY(watch.WaitForError("watching app.xml"));
    QCOMPARE(Run({u"set"_s, u"app.xml"_s, u"List/Item[2]"_s, u"a"_s, u"3"_s}), u"=> 0\n"_s);
    const ToolResult result = watch.WaitForEnd();
    QCOMPARE(result.Output.count('\n'), 1);
    QJsonObject object = QJsonDocument::fromJson(result.Output).object();
    QVERIFY(QDateTime::fromString(object.take("time"_L1).toString(), Qt::ISODateWithMs).isValid());
    QCOMPARE(object,
             (QJsonObject{{u"path"_s, u"/Settings/List/Item[2]"_s},
                          {u"name"_s, u"a"_s},
                          {u"left"_s, u"2"_s},
                          {u"right"_s, u"3"_s}}));
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolSettings::Watch_signal_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_ToolSettings::Watch_signal()
{
    QFETCH(const int, signal);

    RunningTool watch(*mTool, {u"settings"_s, u"watch"_s, u"app.xml"_s});
    QVERIFY(watch.WaitForError("watching app.xml"));
    QCOMPARE(watch.End(signal).ExitCode, 0);
}

void tst_ToolSettings::Watch_usage()
{
    QCOMPARE(
        Run({u"watch"_s, u"-"_s}),
        u"! qvutil: standard input cannot be watched; FILE must be a file\n! Try 'qvutil settings watch --help'.\n=> 2\n"_s);
    QCOMPARE(Run({u"watch"_s, u"app.xml"_s, u"//Main"_s}).section(u'\n', 1),
             u"! Try 'qvutil settings watch --help'.\n=> 2\n"_s);
    QCOMPARE(Run({u"watch"_s, u"none/app.xml"_s}),
             u"! qvutil: none/app.xml: there is no folder none\n=> 2\n"_s);
    QCOMPARE(Run({u"watch"_s, u"."_s}), u"! qvutil: .: is a folder\n=> 2\n"_s);
}

QTEST_GUILESS_MAIN(tst_ToolSettings)
#include "tst_ToolSettings.moc"
