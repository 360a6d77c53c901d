// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using TestSupport::ToolResult;

namespace {

constexpr const char* kDocument = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<!-- kept by hand -->
<App version="3">
    <Panel>
        <Main Width="640" Height="-48" Ratio="0.1" Visible="TRUE" Odd="abc" Empty="" Title="tr(Main)"/>
    </Panel>
    <Notes>Call back&#10;tomorrow</Notes>
    <Icon><![CDATA[AAEC/w==]]></Icon>
    <List><Item a="1"/><Item a="2"/></List>
</App>
)xml";

// Removes the parser's message, which differs between versions of Qt: if \a complaint ends in a space, the
// rest of its line is removed.
QString WithoutParsersWords(const QString& result, const QString& complaint)
{
    const qsizetype at = result.indexOf(complaint);
    if (!complaint.endsWith(u' ') || at < 0)
        return result;
    return result.left(at + complaint.size()) + result.sliced(result.indexOf(u'\n', at));
}

} // namespace

class tst_ToolXml : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Get_data();
    void Get();
    void Get_type_data();
    void Get_type();
    void Get_bytes();
    void Get_json();
    void Get_translated();
    void Get_badFile_data();
    void Get_badFile();
    void Get_percentInName();
    void Get_fromInput();
    void Set_type_data();
    void Set_type();
    void Set_refused_data();
    void Set_refused();
    void Set_badFileIsKept_data();
    void Set_badFileIsKept();
    void Set_keepsTheRest();
    void Set_createsPath();
    void Set_newElement();
    void Set_severalValues();
    void Set_severalValues_refused_data();
    void Set_severalValues_refused();
    void Position_data();
    void Position();
    void Position_created();
    void Position_json();
    void Change_data();
    void Change();
    void Change_throughPipe();
    void Change_followsLink();
    void Change_badFileIsKept();
    void Format();
    void Format_severalFiles();
    void DryRun_data();
    void DryRun();
    void DryRun_isReadByPatch();
    void DryRun_manyChanges();
    void Set_fromFile();
    void Set_throughPipe();
    void Set_valueLikeAnOption();
    void Set_newFile();
    void Set_followsLink();
    void Set_readOnlyFolder();
    void Set_diskFull();
    void Set_diskFullReadOnlyFolder();
    void List_data();
    void List();
    void List_json();
    void List_jsonBytes_data();
    void List_jsonBytes();
    void List_deepest();
    void Cat_data();
    void Cat();
    void Cat_json();

private:
    void SetUp() override;
    [[nodiscard]] QJsonObject RunJson(const QStringList& arguments) const
    {
        return QJsonDocument::fromJson(mTool->Run(arguments).Output).object();
    }
};

void tst_ToolXml::SetUp()
{
    QVERIFY(mTool->Write(u"app.xml"_s, kDocument));
}

void tst_ToolXml::Get_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    QTest::newRow("attribute") << QStringList{u"Panel/Main"_s, u"Width"_s} << u"640\n=> 0\n"_s;
    QTest::newRow("from the root") << QStringList{u"/App/Panel/Main"_s, u"Width"_s} << u"640\n=> 0\n"_s;
    QTest::newRow("of the root") << QStringList{u"/"_s, u"version"_s} << u"3\n=> 0\n"_s;
    QTest::newRow("blank path") << QStringList{u""_s, u"version"_s} << u"3\n=> 0\n"_s;
    QTest::newRow("first of equal names") << QStringList{u"List/Item"_s, u"a"_s} << u"1\n=> 0\n"_s;
    QTest::newRow("text without a name") << QStringList{u"Notes"_s} << u"Call back\ntomorrow\n=> 0\n"_s;
    QTest::newRow("mark is kept") << QStringList{u"Panel/Main"_s, u"Title"_s} << u"tr(Main)\n=> 0\n"_s;
    QTest::newRow("no element") << QStringList{u"Panel/None"_s, u"Width"_s}
                                << u"! qvutil: app.xml: there is no element Panel/None\n=> 1\n"_s;
    QTest::newRow("no attribute") << QStringList{u"Panel/Main"_s, u"None"_s}
                                  << u"! qvutil: app.xml: /App/Panel/Main has no attribute None\n=> 1\n"_s;
    QTest::newRow("empty attribute") << QStringList{u"Panel/Main"_s, u"Empty"_s}
                                     << u"! qvutil: app.xml: /App/Panel/Main Empty is empty\n=> 1\n"_s;
    QTest::newRow("no text") << QStringList{u"List"_s}
                             << u"! qvutil: app.xml: /App/List has no text\n=> 1\n"_s;
    QTest::newRow("no bytes") << QStringList{u"List"_s, u"-t"_s, u"buffer"_s}
                              << u"! qvutil: app.xml: /App/List has no bytes\n=> 1\n"_s;
    QTest::newRow("default not needed")
        << QStringList{u"Panel/Main"_s, u"Width"_s, u"-d"_s, u"5"_s} << u"640\n=> 0\n"_s;
    QTest::newRow("default") << QStringList{u"Panel/Main"_s, u"None"_s, u"--default"_s, u"5"_s}
                             << u"5\n=> 0\n"_s;
    QTest::newRow("empty default") << QStringList{u"Panel/Main"_s, u"None"_s, u"-d"_s, u""_s}
                                   << u"\n=> 0\n"_s;
    QTest::newRow("default in the type's form")
        << QStringList{u"Panel/Main"_s, u"None"_s, u"-t"_s, u"bool"_s, u"-d"_s, u"true"_s}
        << u"True\n=> 0\n"_s;
    QTest::newRow("default of another type")
        << QStringList{u"Panel/Main"_s, u"None"_s, u"-t"_s, u"int"_s, u"-d"_s, u"x"_s}
        << u"! qvutil: \"x\" is not a value of type int\n! Try 'qvutil xml get --help'.\n=> 2\n"_s;
    QTest::newRow("unknown type")
        << QStringList{u"Panel/Main"_s, u"Width"_s, u"-t"_s, u"number"_s}
        << u"! qvutil: there is no type 'number'; types are string, int, uint, long, ulong, int64, double, "
           "bool, date, rect, size, text, buffer\n! Try 'qvutil xml get --help'.\n=> 2\n"_s;
    QTest::newRow("number without a name")
        << QStringList{u"Panel/Main"_s, u"-t"_s, u"int"_s}
        << u"! qvutil: NAME is required for a value of type int\n! Try 'qvutil xml get --help'.\n=> 2\n"_s;
    QTest::newRow("text with a name")
        << QStringList{u"Notes"_s, u"a"_s, u"-t"_s, u"text"_s}
        << u"! qvutil: a value of type text is the content of an element and has no NAME\n"
           "! Try 'qvutil xml get --help'.\n=> 2\n"_s;
    QTest::newRow("path that is a command's name")
        << QStringList{u"get"_s, u"list"_s} << u"! qvutil: app.xml: there is no element get\n=> 1\n"_s;
    QTest::newRow("misspelt element")
        << QStringList{u"Panl/Main"_s, u"Width"_s}
        << u"! qvutil: app.xml: there is no element Panl/Main; did you mean 'Panel'?\n=> 1\n"_s;
    QTest::newRow("name of an element elsewhere")
        << QStringList{u"Main"_s, u"Width"_s} << u"! qvutil: app.xml: there is no element Main\n=> 1\n"_s;
    QTest::newRow("misspelt attribute")
        << QStringList{u"Panel/Main"_s, u"width"_s}
        << u"! qvutil: app.xml: /App/Panel/Main has no attribute width; did you mean 'Width'?\n=> 1\n"_s;
    QTest::newRow("path missing") << QStringList{}
                                  << u"! qvutil: PATH is required\n! Try 'qvutil xml get --help'.\n=> 2\n"_s;
    QTest::newRow("too many arguments")
        << QStringList{u"a"_s, u"b"_s, u"c"_s}
        << u"! qvutil: unexpected argument 'c'\n! Try 'qvutil xml get --help'.\n=> 2\n"_s;
}

void tst_ToolXml::Get()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(Run(QStringList{u"xml"_s, u"get"_s, u"app.xml"_s} + arguments), expected);
}

void tst_ToolXml::Get_type_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("plain"); // null if it is not a value of the type
    QTest::addColumn<QString>("json");

    const auto row = [](const char* name, const char* type, const char* stored, const char* plain,
                        const char* json = "null") {
        QTest::newRow(name) << QString::fromUtf8(type) << QString::fromUtf8(stored)
                            << QString::fromUtf8(plain) << QString::fromUtf8(json);
    };
    row("int", "int", "-48", "-48", "-48");
    row("int 0, a default that the tool tries", "int", "0", "0", "0");
    row("int 1, the other default that the tool tries", "int", "1", "1", "1");
    row("int, smallest", "int", "-2147483648", "-2147483648", "-2147483648");
    row("int out of range", "int", "2147483648", nullptr);
    row("int followed by letters", "int", "12abc", nullptr);
    row("uint, largest", "uint", "4294967295", "4294967295", "4294967295");
    row("uint below zero", "uint", "-1", nullptr);
    row("long, largest", "long", "9223372036854775807", "9223372036854775807", "9223372036854775807");
    row("ulong, largest", "ulong", "18446744073709551615", "18446744073709551615",
        "\"18446744073709551615\"");
    row("int64, smallest", "int64", "-9223372036854775808", "-9223372036854775808", "-9223372036854775808");
    row("int64 out of range", "int64", "9223372036854775808", nullptr);
    row("double", "double", "0.10000000000000001", "0.1", "0.1");
    row("double, not a number", "double", "nan", "nan", "\"nan\"");
    row("double followed by a letter", "double", "1.5x", nullptr);
    row("bool in upper case", "bool", "TRUE", "True", "true");
    row("bool as a number", "bool", "7", "True", "true");
    row("bool as zero", "bool", "0", "False", "false");
    row("bool as another word", "bool", "yes", nullptr);
    row("date", "date", "2026-11-21T04:30:00Z", "2026-11-21T04:30:00Z", "\"2026-11-21T04:30:00Z\"");
    row("date, offset ignored", "date", "2026-11-21T04:30:00+02:00", "2026-11-21T04:30:00Z",
        "\"2026-11-21T04:30:00Z\"");
    row("date as a word", "date", "today", nullptr);
    row("rect", "rect", "1,2,30,40", "1,2,30,40", R"({"x":1,"y":2,"width":30,"height":40})");
    row("rect with a letter", "rect", "a,2,30,40", "0,2,30,40", R"({"x":0,"y":2,"width":30,"height":40})");
    row("rect with three numbers", "rect", "1,2,3", nullptr);
    row("size", "size", "30,-1", "30,-1", R"({"width":30,"height":-1})");
    row("size with three numbers", "size", "1,2,3", nullptr);
    row("string", "string", "ä, \"ö\" <ü>", "ä, \"ö\" <ü>", R"("ä, \"ö\" <ü>")");
}

void tst_ToolXml::Get_type()
{
    QFETCH(const QString, type);
    QFETCH(const QString, stored);
    QFETCH(const QString, plain);
    QFETCH(const QString, json);

    QVERIFY(mTool->Write(u"v.xml"_s, u"<R a=\"%1\"/>"_s.arg(stored.toHtmlEscaped()).toUtf8()));
    const QStringList arguments{u"xml"_s, u"get"_s, u"v.xml"_s, u"/"_s, u"a"_s, u"--type"_s, type};
    const QString expected = plain.isNull()
        ? u"! qvutil: v.xml: /R a=\"%1\" is not a value of type %2\n=> 1\n"_s.arg(stored, type)
        : plain + u"\n=> 0\n"_s;
    QCOMPARE(Run(arguments), expected);

    const QJsonObject object = RunJson(arguments + QStringList(u"--json"_s));
    QCOMPARE(object.value("value"_L1), QJsonDocument::fromJson("[" + json.toUtf8() + "]").array().first());
    QCOMPARE(object.value("type"_L1).toString(), type);
}

void tst_ToolXml::Get_bytes()
{
    const ToolResult result = mTool->Run({u"xml"_s, u"get"_s, u"app.xml"_s, u"Icon"_s, u"-t"_s, u"buffer"_s});
    QCOMPARE(result.Output, QByteArray("\x00\x01\x02\xff", 4));
    QCOMPARE(result.Errors, QByteArray());
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolXml::Get_json()
{
    QCOMPARE(RunJson({u"xml"_s, u"get"_s, u"app.xml"_s, u"Notes"_s, u"--json"_s}),
             (QJsonObject{{u"path"_s, u"/App/Notes"_s},
                          {u"type"_s, u"text"_s},
                          {u"value"_s, u"Call back\ntomorrow"_s}}));
    QCOMPARE(
        RunJson({u"xml"_s, u"get"_s, u"app.xml"_s, u"Icon"_s, u"-t"_s, u"buffer"_s, u"--json"_s}),
        (QJsonObject{{u"path"_s, u"/App/Icon"_s}, {u"type"_s, u"buffer"_s}, {u"value"_s, u"AAEC/w=="_s}}));
    QCOMPARE(RunJson({u"xml"_s, u"get"_s, u"app.xml"_s, u"Panel"_s, u"x"_s, u"--json"_s}),
             (QJsonObject{{u"path"_s, u"/App/Panel"_s},
                          {u"name"_s, u"x"_s},
                          {u"type"_s, u"string"_s},
                          {u"value"_s, QJsonValue::Null}}));
}

void tst_ToolXml::Get_translated()
{
    const QString id = QString::fromLatin1(mTool->Run({u"hash"_s, u"--text"_s, u"Main"_s}).Output.left(32));
    QVERIFY(mTool->Write(
        u"de.xlf"_s,
        u"<xliff version=\"1.2\"><file original=\"app.xml\"><body><trans-unit id=\"%1\">"
        "<source>Main</source><target>Haupt</target></trans-unit></body></file></xliff>"_s.arg(id)
            .toUtf8()));
    const QStringList arguments{u"xml"_s,        u"get"_s,   u"app.xml"_s,
                                u"Panel/Main"_s, u"Title"_s, u"--translations"_s};
    QCOMPARE(Run(arguments + QStringList(u"de.xlf"_s)), u"Haupt\n=> 0\n"_s);
    QCOMPARE(Run(arguments + QStringList(u"none.xlf"_s)),
             u"! qvutil: none.xlf: No such file or directory\n=> 2\n"_s);
}

void tst_ToolXml::Get_badFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("empty") << QByteArray() << u":1:1: the file is empty"_s;
    QTest::newRow("truncated") << QByteArray("<a>\n  <b x=\"1\"/>\n  <c")
                               << u":3:4: the file ends in the middle of the document"_s;
    QTest::newRow("wrong end tag") << QByteArray("<a>\n<b></a>") << u":2:7: "_s;
    QTest::newRow("two roots") << QByteArray("<a/>\n<b/>") << u":2:4: "_s;
    QTest::newRow("not markup") << QByteArray("hello") << u":1:1: "_s;
    QTest::newRow("not UTF-8") << QByteArray("<a>\n<b c=\"\xc3\xa4\xff\"/></a>")
                               << u":2:9: a byte that is not valid UTF-8"_s;
    QTest::newRow("binary") << QByteArray("\x7f"
                                          "ELF\x02\x01\x01\x00\x00\xf0\xf1\xf2",
                                          12)
                            << u":1:10: a byte that is not valid UTF-8"_s;
    QTest::newRow("too deep") << QByteArray("<a>").repeated(1001) + QByteArray("</a>").repeated(1001)
                              << u": elements are nested more than 1,000 deep"_s;
    QTest::newRow("entity that refers to itself")
        << QByteArray("<!DOCTYPE a [<!ENTITY e \"&e;\">]><a>&e;</a>") << u":1:38: "_s;
}

void tst_ToolXml::Get_badFile()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, complaint);

    QVERIFY(mTool->Write(u"bad.xml"_s, content));
    QCOMPARE(WithoutParsersWords(Run({u"xml"_s, u"get"_s, u"bad.xml"_s, u"a"_s, u"b"_s}), complaint),
             u"! qvutil: bad.xml"_s + complaint + u"\n=> 2\n"_s);
    QCOMPARE(WithoutParsersWords(Run({u"xml"_s, u"list"_s, u"-"_s}, content), complaint),
             u"! qvutil: standard input"_s + complaint + u"\n=> 2\n"_s);
}

// Names and texts may contain what looks like a placeholder.
void tst_ToolXml::Get_percentInName()
{
    const QString name = u"100%2 %1.xml"_s;
    QVERIFY(mTool->Write(name, "<a>\n<b c=\"1\" c=\"2\"/></a>"));
    for (const QStringList& command :
         {QStringList{u"xml"_s, u"list"_s}, QStringList{u"settings"_s, u"check"_s},
          QStringList{u"xml"_s, u"format"_s}}) {
        const QString text = Run(command + QStringList{name});
        QVERIFY2(text.contains(name + u":2:"_s), qPrintable(text));
    }
    QVERIFY(mTool->Write(name, "<a b=\"" + QByteArray("%2").repeated(200) + "\"/>"));
    const QString text = Run({u"xml"_s, u"list"_s, name});
    QVERIFY2(text.contains(u"%2%2"_s) && text.contains(u"(400 characters)"_s), qPrintable(text));
}

void tst_ToolXml::Get_fromInput()
{
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"-"_s, u"Panel/Main"_s, u"Width"_s}, kDocument), u"640\n=> 0\n"_s);
    QCOMPARE(mTool->RunShell(u"mkfifo pipe; cat app.xml > pipe & \"$TOOL\" xml get pipe Panel/Main Width"_s)
                 .ToText(),
             u"640\n=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"."_s, u"a"_s}), u"! qvutil: .: is a folder\n=> 2\n"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u""_s, u"a"_s}), u"! qvutil: \"\": the file name is empty\n=> 2\n"_s);
}

void tst_ToolXml::Set_type_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("stored");

    const auto row = [](const char* name, const char* type, const char* given, const char* stored) {
        QTest::newRow(name) << QString::fromUtf8(type) << QString::fromUtf8(given)
                            << QString::fromUtf8(stored);
    };
    row("int", "int", "-5", "-5");
    row("uint", "uint", "4294967295", "4294967295");
    row("long", "long", "-9223372036854775808", "-9223372036854775808");
    row("ulong", "ulong", "18446744073709551615", "18446744073709551615");
    row("int64", "int64", "9223372036854775807", "9223372036854775807");
    row("double", "double", "0.1", "0.10000000000000001");
    row("bool", "bool", "true", "True");
    row("bool as a number", "bool", "0", "False");
    row("date in UTC", "date", "2026-11-21T04:30:00Z", "2026-11-21T04:30:00Z");
    row("date with an offset", "date", "2026-11-21T04:30:00+05:30", "2026-11-20T23:00:00Z");
    row("date in local time, which is UTC here", "date", "2026-11-21T04:30:00", "2026-11-21T04:30:00Z");
    row("rect", "rect", "-1,2,30,40", "-1,2,30,40");
    row("size", "size", "30,40", "30,40");
    row("string", "string", "a \"b\" <c> & 'd'", "a \"b\" <c> & 'd'");
    row("string of white space", "string", " a\n\tb\r ", " a\n\tb\r ");
    row("string that is empty", "string", "", "");
    row("string in brackets", "string", "[a,b]", "[a,b]");
    row("string outside the basic plane", "string", "\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80");
}

void tst_ToolXml::Set_type()
{
    QFETCH(const QString, type);
    QFETCH(const QString, given);
    QFETCH(const QString, stored);

    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"New/Value"_s, u"a"_s, given, u"--type"_s, type}),
             u"=> 0\n"_s);
    QDomDocument document;
    QVERIFY(document.setContent(mTool->Read(u"app.xml"_s)));
    const QDomElement element
        = document.documentElement().firstChildElement(u"New"_s).firstChildElement(u"Value"_s);
    QVERIFY(element.hasAttribute(u"a"_s));
    QCOMPARE(element.attribute(u"a"_s), stored);
}

void tst_ToolXml::Set_refused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");

    const auto row = [](const char* name, const QStringList& arguments, const char* complaint) {
        QTest::newRow(name) << arguments << QString::fromUtf8(complaint);
    };
    row("no value", {u"Panel"_s}, "VALUE is required");
    row("name without a value", {u"Panel"_s, u"a"_s, u"b"_s, u"c"_s}, "VALUE is required after the name 'c'");
    row("not an int", {u"P"_s, u"a"_s, u"1.5"_s, u"-t"_s, u"int"_s}, "\"1.5\" is not a value of type int");
    row("not a bool", {u"P"_s, u"a"_s, u"yes"_s, u"-t"_s, u"bool"_s}, "\"yes\" is not a value of type bool");
    row("not a date", {u"P"_s, u"a"_s, u"today"_s, u"-t"_s, u"date"_s},
        "\"today\" is not a value of type date");
    row("letter in a rect", {u"P"_s, u"a"_s, u"1,2,x,4"_s, u"-t"_s, u"rect"_s},
        "\"1,2,x,4\" is not a value of type rect");
    row("size with one number", {u"P"_s, u"a"_s, u"1"_s, u"-t"_s, u"size"_s},
        "\"1\" is not a value of type size");
    row("name with a blank", {u"P"_s, u"a b"_s, u"1"_s},
        "\"a b\" is not a valid name of an element or attribute");
    row("empty name", {u"P"_s, u""_s, u"1"_s}, "\"\" is not a valid name of an element or attribute");
    row("markup as a step", {u"P/<x>"_s, u"a"_s, u"1"_s},
        "\"<x>\" is not a step of a path: the library cannot address elements by wildcards, conditions or "
        "'..'; a step is the name of an element, or a name with a position counted from 1, such as Item[2]");
    row("path that searches", {u"//P"_s, u"a"_s, u"1"_s, u"--dry-run"_s},
        "\"//P\" contains an empty step: the library cannot search at any depth and reads '//' as '/'; name "
        "each element on the way from the root, as in Panel/Main");
    row("new element with a position", {u"P[2]"_s, u"a"_s, u"1"_s, u"--new"_s},
        "--new appends an element, so PATH must end in a name without a position");
    row("control character", {u"P"_s, u"a"_s, u"x\u0001"_s},
        "the value contains the character U+0001, which XML does not allow");
    row("noncharacter", {u"P"_s, u"a"_s, u"\uffff"_s},
        "the value contains the character U+FFFF, which XML does not allow");
    row("name for text", {u"P"_s, u"a"_s, u"x"_s, u"-t"_s, u"text"_s},
        "a value of type text is the content of an element and has no NAME");
    row("no name for a number", {u"P"_s, u"1"_s, u"-t"_s, u"int"_s},
        "NAME is required for a value of type int");
}

void tst_ToolXml::Set_refused()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, complaint);

    QCOMPARE(Run(QStringList{u"xml"_s, u"set"_s, u"app.xml"_s} + arguments),
             u"! qvutil: %1\n! Try 'qvutil xml set --help'.\n=> 2\n"_s.arg(complaint));
    QCOMPARE(mTool->Read(u"app.xml"_s), QByteArray(kDocument));
}

void tst_ToolXml::Set_badFileIsKept_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("empty") << QByteArray("") << u"1:1: the file is empty"_s;
    QTest::newRow("truncated") << QByteArray("<a><b>")
                               << u"1:6: the file ends in the middle of the document"_s;
    QTest::newRow("malformed") << QByteArray("<a></b>") << u"1:7: "_s;
    QTest::newRow("text") << QByteArray("my notes") << u"1:1: "_s;
}

void tst_ToolXml::Set_badFileIsKept()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, complaint);

    QVERIFY(mTool->Write(u"bad.xml"_s, content));
    const QString result = Run({u"xml"_s, u"set"_s, u"bad.xml"_s, u"a"_s, u"b"_s, u"c"_s, u"--create"_s});
    QCOMPARE(WithoutParsersWords(result, complaint), u"! qvutil: bad.xml:%1\n=> 2\n"_s.arg(complaint));
    QCOMPARE(mTool->Read(u"bad.xml"_s), content);
}

void tst_ToolXml::Set_keepsTheRest()
{
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"Panel/Main"_s, u"Width"_s, u"800"_s}), u"=> 0\n"_s);
    QByteArray expected = kDocument;
    expected.replace("640", "800");
    QDomDocument before;
    QDomDocument after;
    QVERIFY(before.setContent(expected));
    QVERIFY(after.setContent(mTool->Read(u"app.xml"_s)));
    QString beforeText;
    QString afterText;
    TestSupport::AppendMeaning(before.documentElement(), {}, beforeText);
    TestSupport::AppendMeaning(after.documentElement(), {}, afterText);
    QCOMPARE(afterText, beforeText);
    QVERIFY(mTool->Read(u"app.xml"_s).contains("<!-- kept by hand -->"));
}

void tst_ToolXml::Set_createsPath()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<A/>"));
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"a.xml"_s, u"B\\C"_s, u"d"_s, u"1"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"a.xml"_s, u"/A/B/C"_s, u"text & more"_s}), u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"a.xml"_s),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<A>\n    <B>\n        <C d=\"1\">text "
                        "&amp; more</C>\n    </B>\n</A>\n"));
}

void tst_ToolXml::Set_newElement()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<A><I n=\"1\"/></A>"));
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"a.xml"_s, u"I"_s, u"n"_s, u"2"_s, u"--new"_s}), u"=> 0\n"_s);
    QCOMPARE(
        mTool->Read(u"a.xml"_s),
        QByteArray(
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<A>\n    <I n=\"1\"/>\n    <I n=\"2\"/>\n</A>\n"));
}

void tst_ToolXml::Set_severalValues()
{
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"Size"_s, u"Width"_s, u"1"_s, u"Height"_s, u"2"_s,
                  u"-t"_s, u"int"_s}),
             u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"app.xml"_s, u"Size"_s}), u"Size Height=\"2\" Width=\"1\"\n=> 0\n"_s);
}

void tst_ToolXml::Set_severalValues_refused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("second value invalid")
        << QStringList{u"Width"_s, u"1"_s, u"Height"_s, u"tall"_s, u"-t"_s, u"int"_s}
        << u"\"tall\" is not a value of type int"_s;
    QTest::newRow("second name invalid") << QStringList{u"Width"_s, u"1"_s, u"a b"_s, u"2"_s}
                                         << u"\"a b\" is not a valid name of an element or attribute"_s;
    QTest::newRow("one name twice") << QStringList{u"Width"_s, u"1"_s, u"Width"_s, u"2"_s}
                                    << u"the name 'Width' is given twice"_s;
    QTest::newRow("second value from a file")
        << QStringList{u"Width"_s, u"1"_s, u"--from"_s, u"app.xml"_s} << u"unexpected argument '1'"_s;
}

void tst_ToolXml::Set_severalValues_refused()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, complaint);

    QCOMPARE(Run(QStringList{u"xml"_s, u"set"_s, u"app.xml"_s, u"Size"_s} + arguments),
             u"! qvutil: %1\n! Try 'qvutil xml set --help'.\n=> 2\n"_s.arg(complaint));
    QCOMPARE(mTool->Read(u"app.xml"_s), QByteArray(kDocument));
}

void tst_ToolXml::Position_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    const QString refused
        = u"! qvutil: \"%1\" is not a step of a path: the library cannot address elements by wildcards, "
          "conditions or '..'; a step is the name of an element, or a name with a position counted from 1, "
          "such as Item[2]\n! Try 'qvutil xml get --help'.\n=> 2\n"_s;
    const QString empty
        = u"! qvutil: \"%1\" contains an empty step: the library cannot search at any depth "
          "and reads '//' as '/'; name each element on the way from the root, as in Panel/Main\n"
          "! Try 'qvutil xml get --help'.\n=> 2\n"_s;
    const QString missing = u"! qvutil: app.xml: there is no element %1\n=> 1\n"_s;
    const auto row = [](const char* name, const QString& path, const QString& expected) {
        QTest::newRow(name) << path << expected;
    };
    row("first", u"List/Item[1]"_s, u"1\n=> 0\n"_s);
    row("second", u"List/Item[2]"_s, u"2\n=> 0\n"_s);
    row("second, from the root", u"/App/List/Item[2]"_s, u"2\n=> 0\n"_s);
    row("position in the middle", u"List[1]/Item[2]"_s, u"2\n=> 0\n"_s);
    row("beyond the last", u"List/Item[3]"_s,
        missing.arg(u"List/Item[3]; /App/List has only 2 of that name"_s));
    row("beyond the last, in the middle", u"List[2]/Item[2]"_s,
        missing.arg(u"List[2]/Item[2]; /App has only 1 of that name"_s));
    row("misspelt name below a position", u"List[1]/Itm[2]"_s,
        missing.arg(u"List[1]/Itm[2]; did you mean 'Item'?"_s));
    row("misspelt root", u"/Ap/List/Item[2]"_s, missing.arg(u"/Ap/List/Item[2]; did you mean 'App'?"_s));
    row("misspelt root, without '/'", u"Ap/List"_s, missing.arg(u"Ap/List"_s));
    row("second root", u"/App[2]"_s, missing.arg(u"/App[2]"_s));
    row("zero", u"List/Item[0]"_s, refused.arg(u"Item[0]"_s));
    row("negative", u"List/Item[-1]"_s, refused.arg(u"Item[-1]"_s));
    row("too large for a number", u"List/Item[99999999999]"_s, refused.arg(u"Item[99999999999]"_s));
    row("empty brackets", u"List/Item[]"_s, refused.arg(u"Item[]"_s));
    row("condition", u"List/Item[@a]"_s, refused.arg(u"Item[@a]"_s));
    row("bracket that is not closed", u"List/Item[2"_s, refused.arg(u"Item[2"_s));
    row("position alone", u"List/[2]"_s, refused.arg(u"[2]"_s));
    row("wildcard", u"List/*"_s, refused.arg(u"*"_s));
    row("parent", u"List/.."_s, refused.arg(u".."_s));
    row("number", u"List/2"_s, refused.arg(u"2"_s));
    row("empty step at the start", u"//Item"_s, empty.arg(u"//Item"_s));
    row("empty step below the root", u"/App//Item"_s, empty.arg(u"/App//Item"_s));
    row("empty step on the way", u"List//Item[2]"_s, empty.arg(u"List//Item[2]"_s));
    row("empty step at the end", u"List/Item[2]//"_s, empty.arg(u"List/Item[2]//"_s));
    row("empty step alone", u"//"_s, empty.arg(u"//"_s));
    row("empty step, backslashes", u"List\\\\Item[2]"_s, empty.arg(u"List\\\\\\\\Item[2]"_s));
    row("separator at both ends", u"/List/Item[2]/"_s, u"2\n=> 0\n"_s);
    row("backslashes", u"\\List\\Item[2]\\"_s, u"2\n=> 0\n"_s);
}

void tst_ToolXml::Position()
{
    QFETCH(const QString, path);
    QFETCH(const QString, expected);

    QCOMPARE(Run({u"xml"_s, u"get"_s, u"app.xml"_s, path, u"a"_s}), expected);
}

void tst_ToolXml::Position_created()
{
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"List/Item[2]"_s, u"a"_s, u"two"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"List/Item[3]/Deep[1]"_s, u"a"_s, u"3"_s}), u"=> 0\n"_s);
    const QString list = u"List\n  Item a=\"1\"\n  Item a=\"two\"\n  Item\n    Deep a=\"3\"\n=> 0\n"_s;
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"app.xml"_s, u"List"_s}), list);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"List/Item[5]"_s, u"a"_s, u"5"_s}),
             u"! qvutil: Item[5] cannot be created: /App/List has only 3 of that name\n=> 2\n"_s);
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"app.xml"_s, u"List"_s}), list);
}

void tst_ToolXml::Position_json()
{
    QCOMPARE(RunJson({u"xml"_s, u"get"_s, u"app.xml"_s, u"List/Item[2]"_s, u"a"_s, u"--json"_s})
                 .value("path"_L1)
                 .toString(),
             u"/App/List/Item[2]"_s);
    QCOMPARE(RunJson({u"xml"_s, u"cat"_s, u"app.xml"_s, u"List/Item[2]"_s, u"--json"_s})
                 .value("path"_L1)
                 .toString(),
             u"/App/List/Item[2]"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"app.xml"_s, u"List/Item[2]"_s, u"b"_s}),
             u"! qvutil: app.xml: /App/List/Item[2] has no attribute b\n=> 1\n"_s);
}

void tst_ToolXml::Change_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QByteArray>("after"); // without declaration and white space; empty if nothing changes

    const QString yes = u"=> 0\n"_s;
    const auto refused = [](const char* command, const char* reason) {
        return u"! qvutil: %1\n! Try 'qvutil xml %2 --help'.\n=> 2\n"_s.arg(QString::fromUtf8(reason),
                                                                            QString::fromUtf8(command));
    };
    const auto row
        = [](const char* name, const QStringList& arguments, const QString& expected,
             const char* after = "") { QTest::newRow(name) << arguments << expected << QByteArray(after); };

    row("delete an element", {u"delete"_s, u"A/B"_s}, yes, R"(<R x="1"><A m="7"><B n="2"/></A><C/></R>)");
    row("delete the second", {u"delete"_s, u"A/B[2]"_s}, yes,
        R"(<R x="1"><A m="7"><B n="1"><D/></B></A><C/></R>)");
    row("delete an attribute", {u"delete"_s, u"A/B[2]"_s, u"n"_s}, yes,
        R"(<R x="1"><A m="7"><B n="1"><D/></B><B/></A><C/></R>)");
    row("delete an attribute of the root", {u"delete"_s, u"/"_s, u"x"_s}, yes,
        R"(<R><A m="7"><B n="1"><D/></B><B n="2"/></A><C/></R>)");
    row("delete a missing element", {u"delete"_s, u"A/E"_s},
        u"! qvutil: a.xml: there is no element A/E\n=> 1\n"_s);
    row("delete a missing attribute", {u"delete"_s, u"A"_s, u"n"_s},
        u"! qvutil: a.xml: /R/A has no attribute n\n=> 1\n"_s);
    row("delete the root", {u"delete"_s, u"/"_s}, refused("delete", "the root element cannot be deleted"));

    row("rename an element", {u"rename"_s, u"A/B[2]"_s, u"E"_s}, yes,
        R"(<R x="1"><A m="7"><B n="1"><D/></B><E n="2"/></A><C/></R>)");
    row("rename the root", {u"rename"_s, u"/"_s, u"S"_s}, yes,
        R"(<S x="1"><A m="7"><B n="1"><D/></B><B n="2"/></A><C/></S>)");
    row("rename an attribute", {u"rename"_s, u"A"_s, u"m"_s, u"k"_s}, yes,
        R"(<R x="1"><A k="7"><B n="1"><D/></B><B n="2"/></A><C/></R>)");
    row("rename a missing element", {u"rename"_s, u"E"_s, u"F"_s},
        u"! qvutil: a.xml: there is no element E\n=> 1\n"_s);
    row("rename a missing attribute", {u"rename"_s, u"A"_s, u"n"_s, u"k"_s},
        u"! qvutil: a.xml: /R/A has no attribute n\n=> 1\n"_s);
    row("rename to an invalid name", {u"rename"_s, u"A"_s, u"a b"_s},
        refused("rename", "\"a b\" is not a valid name of an element or attribute"));
    row("rename without a new name", {u"rename"_s, u"A"_s}, refused("rename", "NEWNAME is required"));
    row("rename with too many arguments", {u"rename"_s, u"A"_s, u"m"_s, u"k"_s, u"l"_s},
        refused("rename", "unexpected argument 'l'"));

    row("move an element", {u"move"_s, u"A/B"_s, u"C"_s}, yes,
        R"(<R x="1"><A m="7"><B n="2"/></A><C><B n="1"><D/></B></C></R>)");
    row("move before a sibling", {u"move"_s, u"A/B[2]"_s, u"A/B"_s, u"--before"_s}, yes,
        R"(<R x="1"><A m="7"><B n="2"/><B n="1"><D/></B></A><C/></R>)");
    row("move after another element", {u"move"_s, u"A/B/D"_s, u"A"_s, u"--after"_s}, yes,
        R"(<R x="1"><A m="7"><B n="1"/><B n="2"/></A><D/><C/></R>)");
    row("move to the end of its parent", {u"move"_s, u"A/B"_s, u"A"_s}, yes,
        R"(<R x="1"><A m="7"><B n="2"/><B n="1"><D/></B></A><C/></R>)");
    row("move an attribute", {u"move"_s, u"A"_s, u"m"_s, u"C"_s}, yes,
        R"(<R x="1"><A><B n="1"><D/></B><B n="2"/></A><C m="7"/></R>)");
    row("move onto an attribute", {u"move"_s, u"A/B"_s, u"n"_s, u"A/B[2]"_s},
        u"! qvutil: a.xml: /R/A/B[2] already has an attribute n\n=> 2\n"_s);
    row("move a missing element", {u"move"_s, u"E"_s, u"C"_s},
        u"! qvutil: a.xml: there is no element E\n=> 1\n"_s);
    row("move to a missing element", {u"move"_s, u"C"_s, u"A/E"_s},
        u"! qvutil: a.xml: there is no element A/E\n=> 1\n"_s);
    row("move the root", {u"move"_s, u"/"_s, u"C"_s}, refused("move", "the root element cannot be moved"));
    row("move into itself", {u"move"_s, u"A"_s, u"A"_s},
        refused("move", "/R/A cannot be moved into or beside itself"));
    row("move into its child", {u"move"_s, u"A"_s, u"A/B"_s},
        refused("move", "/R/A cannot be moved into or beside itself"));
    row("move beside the root", {u"move"_s, u"A"_s, u"/"_s, u"--after"_s},
        refused("move", "a document has only one root element: nothing can be moved before or after it"));
    row("move before and after", {u"move"_s, u"A"_s, u"C"_s, u"--after"_s, u"--before"_s},
        refused("move", "--before and --after cannot be combined"));
    row("move an attribute before an element", {u"move"_s, u"A"_s, u"m"_s, u"C"_s, u"--before"_s},
        refused("move", "attributes have no order: --before and --after are only for elements"));
}

void tst_ToolXml::Change()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);
    QFETCH(const QByteArray, after);

    const QByteArray before = R"(<R x="1"><A m="7"><B n="1"><D/></B><B n="2"/></A><C/></R>)";
    QVERIFY(mTool->Write(u"a.xml"_s, before));
    QStringList line{u"xml"_s, arguments.front(), u"a.xml"_s};
    line += arguments.mid(1);

    // With --dry-run, the command writes nothing; its exit code shows whether it would.
    const int tried = mTool->Run(line + QStringList(u"--dry-run"_s)).ExitCode;
    QCOMPARE(tried, after.isEmpty() ? mTool->Run(line).ExitCode : 1);
    QCOMPARE(mTool->Read(u"a.xml"_s), before);

    QCOMPARE(Run(line), expected);
    QByteArray content = mTool->Read(u"a.xml"_s);
    if (!after.isEmpty()) {
        QVERIFY(content.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<"));
        content.remove(0, content.indexOf('\n'));
        content.replace('\n', "").replace("    ", "");
    }
    QCOMPARE(content, after.isEmpty() ? before : after);
}

void tst_ToolXml::Change_throughPipe()
{
    QCOMPARE(Run({u"xml"_s, u"rename"_s, u"-"_s, u"/"_s, u"S"_s}, "<R><A/></R>"),
             u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<S>\n    <A/>\n</S>\n=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"delete"_s, u"-"_s, u"A"_s}, "<R><A/></R>"),
             u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<R/>\n=> 0\n"_s);
    QVERIFY(!QFile::exists(mTool->Path(u"-"_s)));
}

void tst_ToolXml::Change_followsLink()
{
    QVERIFY(QFile::link(u"app.xml"_s, mTool->Path(u"link.xml"_s)));
    QCOMPARE(Run({u"xml"_s, u"delete"_s, u"link.xml"_s, u"List"_s}), u"=> 0\n"_s);
    QVERIFY(QFileInfo(mTool->Path(u"link.xml"_s)).isSymLink());
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"app.xml"_s, u"List"_s}),
             u"! qvutil: app.xml: there is no element List\n=> 1\n"_s);
}

void tst_ToolXml::Change_badFileIsKept()
{
    QVERIFY(mTool->Write(u"bad.xml"_s, "<a><b>"));
    for (const QStringList& arguments :
         {QStringList{u"delete"_s, u"bad.xml"_s, u"b"_s},
          QStringList{u"rename"_s, u"bad.xml"_s, u"b"_s, u"c"_s},
          QStringList{u"move"_s, u"bad.xml"_s, u"b"_s, u"c"_s}, QStringList{u"format"_s, u"bad.xml"_s}}) {
        QCOMPARE(Run(QStringList(u"xml"_s) + arguments),
                 u"! qvutil: bad.xml:1:6: the file ends in the middle of the document\n=> 2\n"_s);
        QCOMPARE(mTool->Read(u"bad.xml"_s), QByteArray("<a><b>"));
    }
}

void tst_ToolXml::Format()
{
    const QByteArray formatted
        = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- c -->\n<a b=\"2\" z=\"1\">\n"
          "    <d/>\n    <e><![CDATA[<&>]]></e>\n</a>\n";
    QVERIFY(mTool->Write(u"a.xml"_s, "<!-- c --><a z='1' b='2'><d></d>\n<e><![CDATA[<&>]]></e></a>"));
    QCOMPARE(mTool->Run({u"xml"_s, u"format"_s, u"a.xml"_s, u"--dry-run"_s}).ExitCode, 1);
    QCOMPARE(Run({u"xml"_s, u"format"_s, u"a.xml"_s}), u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"a.xml"_s), formatted);
    // A formatted file is not written again.
    const QDateTime old = QDateTime::fromSecsSinceEpoch(1000000000);
    QFile file(mTool->Path(u"a.xml"_s));
    QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(old, QFileDevice::FileModificationTime));
    file.close();
    QCOMPARE(Run({u"xml"_s, u"format"_s, u"a.xml"_s, u"--dry-run"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"format"_s, u"a.xml"_s}), u"=> 0\n"_s);
    QCOMPARE(QFileInfo(file.fileName()).lastModified(), old);
}

void tst_ToolXml::Format_severalFiles()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<a/>"));
    QVERIFY(mTool->Write(u"b.xml"_s, "<b/>"));
    QCOMPARE(Run({u"xml"_s, u"format"_s, u"a.xml"_s, u"none.xml"_s, u"b.xml"_s}),
             u"! qvutil: none.xml: No such file or directory\n=> 2\n"_s);
    QCOMPARE(mTool->Read(u"a.xml"_s), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a/>\n"));
    QCOMPARE(mTool->Read(u"b.xml"_s), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<b/>\n"));
}

void tst_ToolXml::DryRun_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    QTest::newRow("changed line")
        << QStringList{u"set"_s, u"a.xml"_s, u"F"_s, u"v"_s, u"two"_s}
        << u"--- a.xml\n+++ a.xml\n@@ -5,7 +5,7 @@\n     <C/>\n     <D/>\n     <E/>\n"
           "-    <F v=\"1\"/>\n+    <F v=\"two\"/>\n     <G/>\n     <H/>\n"
           "     <I/>\n=> 1\n"_s;
    QTest::newRow("removed and renamed, far apart")
        << QStringList{u"delete"_s, u"a.xml"_s, u"A"_s}
        << u"--- a.xml\n+++ a.xml\n@@ -1,6 +1,5 @@\n <?xml version=\"1.0\" encoding=\"UTF-8\"?>\n <R>\n"
           "-    <A/>\n     <B/>\n     <C/>\n     <D/>\n=> 1\n"_s;
    QTest::newRow("at the end")
        << QStringList{u"set"_s, u"a.xml"_s, u"L"_s, u"v"_s, u"1"_s}
        << u"--- a.xml\n+++ a.xml\n@@ -11,4 +11,5 @@\n     <I/>\n     <J/>\n     <K/>\n"
           "+    <L v=\"1\"/>\n </R>\n=> 1\n"_s;
    QTest::newRow("no change") << QStringList{u"set"_s, u"a.xml"_s, u"F"_s, u"v"_s, u"1"_s} << u"=> 0\n"_s;
    QTest::newRow("new file") << QStringList{u"set"_s, u"new.xml"_s, u"/"_s, u"v"_s, u"1"_s, u"--create"_s}
                              << u"--- /dev/null\n+++ new.xml\n@@ -0,0 +1,2 @@\n+<?xml version=\"1.0\" "
                                 "encoding=\"UTF-8\"?>\n+<Root v=\"1\"/>\n=> 1\n"_s;
    QTest::newRow("no line break at the end")
        << QStringList{u"format"_s, u"bare.xml"_s}
        << u"--- bare.xml\n+++ bare.xml\n@@ -1 +1,2 @@\n-<R/>\n\\ No newline at end of file\n"
           "+<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n+<R/>\n=> 1\n"_s;
    QTest::newRow("missing element") << QStringList{u"delete"_s, u"a.xml"_s, u"X"_s}
                                     << u"! qvutil: a.xml: there is no element X\n=> 1\n"_s;
}

void tst_ToolXml::DryRun()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    const QByteArray content
        = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<R>\n    <A/>\n    <B/>\n    <C/>\n"
          "    <D/>\n    <E/>\n    <F v=\"1\"/>\n    <G/>\n    <H/>\n    <I/>\n    <J/>\n"
          "    <K/>\n</R>\n";
    QVERIFY(mTool->Write(u"a.xml"_s, content));
    QVERIFY(mTool->Write(u"bare.xml"_s, "<R/>"));
    const QStringList before = QDir(mTool->Path(u"."_s)).entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(Run(QStringList(u"xml"_s) + arguments + QStringList(u"--dry-run"_s)), expected);
    QCOMPARE(mTool->Read(u"a.xml"_s), content);
    QCOMPARE(mTool->Read(u"bare.xml"_s), QByteArray("<R/>"));
    QCOMPARE(QDir(mTool->Path(u"."_s)).entryList(QDir::Files | QDir::Hidden), before);
}

// The printed difference turns the old file into the file that would have been written.
void tst_ToolXml::DryRun_isReadByPatch()
{
    QCOMPARE(
        mTool
            ->RunShell(u"cp app.xml trial.xml; \"$TOOL\" xml set trial.xml List/Item[2] a 5 b 6 --dry-run "
                       "> change.patch; patch --silent trial.xml change.patch && \"$TOOL\" xml set app.xml "
                       "List/Item[2] a 5 b 6 && cmp app.xml trial.xml"_s)
            .ToText(),
        u"=> 0\n"_s);
}

// A long document in which most lines change, and one in which only a few do.
void tst_ToolXml::DryRun_manyChanges()
{
    QByteArray content = "<R>";
    for (int i = 0; i < 3000; ++i)
        content += "\n<A n='" + QByteArray::number(i) + "'/>";
    QVERIFY(mTool->Write(u"many.xml"_s, content + "\n</R>\n"));
    const ToolResult all = mTool->Run({u"xml"_s, u"format"_s, u"many.xml"_s, u"--dry-run"_s});
    QCOMPARE(all.ExitCode, 1);
    QCOMPARE(all.Output.count("\n+    <A "), 3000);
    QCOMPARE(all.Output.count("\n-<A "), 3000);

    QCOMPARE(Run({u"xml"_s, u"format"_s, u"many.xml"_s}), u"=> 0\n"_s);
    QByteArray edited = mTool->Read(u"many.xml"_s);
    for (int i = 0; i < 3000; i += 10)
        edited.replace("    <A n=\"" + QByteArray::number(i) + "\"/>\n",
                       "    <A  n=\"" + QByteArray::number(i) + "\"/>\n");
    QVERIFY(mTool->Write(u"many.xml"_s, edited));
    const ToolResult some = mTool->Run({u"xml"_s, u"format"_s, u"many.xml"_s, u"--dry-run"_s});
    QCOMPARE(some.ExitCode, 1);
    QCOMPARE(some.Output.count("\n+    <A n"), 300);
    QCOMPARE(some.Output.count("\n-    <A  n"), 300);
    QCOMPARE(some.Output.count("\n@@ "), 300);
}

void tst_ToolXml::Set_fromFile()
{
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    QVERIFY(mTool->Write(u"bytes"_s, bytes));
    QCOMPARE(
        Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"Icon"_s, u"-t"_s, u"buffer"_s, u"--from"_s, u"bytes"_s}),
        u"=> 0\n"_s);
    QCOMPARE(mTool->Run({u"xml"_s, u"get"_s, u"app.xml"_s, u"Icon"_s, u"-t"_s, u"buffer"_s}).Output, bytes);

    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"N"_s, u"a"_s, u"-f"_s, u"-"_s}, "from input"),
             u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"app.xml"_s, u"N"_s, u"a"_s}), u"from input\n=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"app.xml"_s, u"N"_s, u"a"_s, u"-f"_s, u"none"_s}),
             u"! qvutil: none: No such file or directory\n=> 2\n"_s);
}

void tst_ToolXml::Set_throughPipe()
{
    QCOMPARE(
        Run({u"xml"_s, u"set"_s, u"-"_s, u"B"_s, u"c"_s, u"\u00e4"_s},
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><A x=\"\xe4\"/>"),
        u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<A x=\"\u00e4\">\n    <B c=\"\u00e4\"/>\n</A>\n=> 0\n"_s);
}

// Values that begin with '-' follow "--".
void tst_ToolXml::Set_valueLikeAnOption()
{
    QVERIFY(mTool->Write(u"w.xml"_s, "<A/>"));
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"w.xml"_s, u"Panel"_s, u"Option"_s, u"--"_s, u"-v"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"w.xml"_s, u"Panel"_s, u"Option"_s}), u"-v\n=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"w.xml"_s, u"Panel"_s, u"Option"_s, u"--"_s, u"v"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"w.xml"_s, u"Panel"_s, u"Option"_s}), u"v\n=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"w.xml"_s, u"Text"_s, u"--"_s, u"--create"_s}), u"=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"w.xml"_s, u"Text"_s}), u"--create\n=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"w.xml"_s, u"Panel"_s, u"Width"_s, u"--default"_s, u"-1"_s}),
             u"-1\n=> 0\n"_s);
}

void tst_ToolXml::Set_newFile()
{
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"new.xml"_s, u"B"_s, u"c"_s, u"1"_s}),
             u"! qvutil: new.xml: No such file or directory; use --create to create it\n=> 2\n"_s);
    QVERIFY(!QFile::exists(mTool->Path(u"new.xml"_s)));
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"new.xml"_s, u"B"_s, u"c"_s, u"1"_s, u"--create"_s}), u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"new.xml"_s),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Root>\n    <B c=\"1\"/>\n</Root>\n"));
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"other.xml"_s, u"/"_s, u"c"_s, u"1"_s, u"--create"_s, u"--root"_s,
                  u"Top"_s}),
             u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"other.xml"_s),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Top c=\"1\"/>\n"));
    QCOMPARE(
        Run({u"xml"_s, u"set"_s, u"third.xml"_s, u"/"_s, u"c"_s, u"1"_s, u"--create"_s, u"--root"_s,
             u"a b"_s}),
        u"! qvutil: \"a b\" is not a valid name of an element or attribute\n! Try 'qvutil xml set --help'.\n=> 2\n"_s);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"none/new.xml"_s, u"/"_s, u"c"_s, u"1"_s, u"--create"_s}),
             u"! qvutil: none/new.xml: there is no folder none\n=> 2\n"_s);
}

void tst_ToolXml::Set_followsLink()
{
    QVERIFY(QFile::link(u"app.xml"_s, mTool->Path(u"link.xml"_s)));
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"link.xml"_s, u"/"_s, u"version"_s, u"4"_s}), u"=> 0\n"_s);
    QVERIFY(QFileInfo(mTool->Path(u"link.xml"_s)).isSymLink());
    QCOMPARE(Run({u"xml"_s, u"get"_s, u"app.xml"_s, u"/"_s, u"version"_s}), u"4\n=> 0\n"_s);
    QCOMPARE(Run({u"xml"_s, u"set"_s, u"/dev/null"_s, u"/"_s, u"version"_s, u"4"_s}),
             u"! qvutil: /dev/null: is not a regular file\n=> 2\n"_s);
}

void tst_ToolXml::Set_readOnlyFolder()
{
    constexpr auto kReadOnly = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    QVERIFY(QFile::setPermissions(mTool->Path(u"."_s), kReadOnly));
    const ToolResult result
        = mTool->RunUnprivileged({u"xml"_s, u"set"_s, u"new.xml"_s, u"/"_s, u"c"_s, u"1"_s, u"--create"_s});
    QVERIFY(QFile::setPermissions(mTool->Path(u"."_s), kReadOnly | QFile::WriteOwner));
    QCOMPARE(result.ToText(), u"! qvutil: new.xml: Permission denied\n=> 2\n"_s);
}

void tst_ToolXml::Set_diskFull()
{
    QCOMPARE(mTool->RunShell(u"trap '' XFSZ; ulimit -f 0; \"$TOOL\" xml set app.xml / version 4"_s).ToText(),
             u"! qvutil: app.xml: could not be written in full; the old content is kept\n=> 2\n"_s);
    QCOMPARE(mTool->Read(u"app.xml"_s), QByteArray(kDocument));
}

// Nothing can be created beside the file, so it is written directly. A limit on the file size has the effect
// of a full disk.
void tst_ToolXml::Set_diskFullReadOnlyFolder()
{
    constexpr auto kReadOnly = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    const QStringList set{u"xml"_s, u"set"_s, u"app.xml"_s, u"/"_s, u"version"_s, u"4"_s};
    QVERIFY(
        QFile::setPermissions(mTool->Path(u"app.xml"_s),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther | QFile::WriteOther));
    QVERIFY(QFile::setPermissions(mTool->Path(u"."_s), kReadOnly));
    QCOMPARE(mTool->RunUnprivileged({u"--version"_s}).ExitCode, 0); // copies the tool
    rlimit before = {};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit none{0, before.rlim_max};
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &none), 0); // the tool inherits the limit
    const ToolResult result = mTool->RunUnprivileged(set);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);
    QVERIFY(QFile::setPermissions(mTool->Path(u"."_s), kReadOnly | QFile::WriteOwner));
    QCOMPARE(
        result.ToText(),
        u"! qvutil: app.xml: could not be written in full; it now holds part of the new content\n=> 2\n"_s);
    QCOMPARE(mTool->Read(u"app.xml"_s), QByteArray(""));
}

void tst_ToolXml::List_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const QString main = u"Main Empty=\"\" Height=\"-48\" Odd=\"abc\" Ratio=\"0.1\" Title=\"tr(Main)\" "
                         "Visible=\"TRUE\" Width=\"640\"\n"_s;
    QTest::newRow("whole") << QStringList{}
                           << u"App version=\"3\"\n  Panel\n    "_s + main
            + u"  Notes: \"Call back\\ntomorrow\"\n  Icon: \"AAEC/w==\"\n  List\n    Item a=\"1\"\n"
              "    Item a=\"2\"\n=> 0\n"_s;
    QTest::newRow("part") << QStringList{u"Panel"_s} << u"Panel\n  "_s + main + u"=> 0\n"_s;
    QTest::newRow("one level") << QStringList{u"/"_s, u"--depth"_s, u"1"_s}
                               << u"App version=\"3\"\n  Panel ...\n  Notes: \"Call back\\ntomorrow\"\n"
                                  "  Icon: \"AAEC/w==\"\n  List ...\n=> 0\n"_s;
    QTest::newRow("no levels") << QStringList{u"List"_s, u"--depth"_s, u"0"_s} << u"List ...\n=> 0\n"_s;
    QTest::newRow("missing") << QStringList{u"None"_s}
                             << u"! qvutil: app.xml: there is no element None\n=> 1\n"_s;
    QTest::newRow("negative depth")
        << QStringList{u"--depth"_s, u"-1"_s}
        << u"! qvutil: --depth: '-1' is not a whole number from 0 to 1000\n! Try 'qvutil xml list --help'.\n=> 2\n"_s;
}

void tst_ToolXml::List()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(Run(QStringList{u"xml"_s, u"list"_s, u"app.xml"_s} + arguments), expected);
}

void tst_ToolXml::List_json()
{
    QCOMPARE(RunJson({u"xml"_s, u"list"_s, u"app.xml"_s, u"List"_s, u"--json"_s}),
             QJsonDocument::fromJson(R"({"name": "List", "attributes": {}, "children": [
                 {"name": "Item", "attributes": {"a": "1"}, "children": []},
                 {"name": "Item", "attributes": {"a": "2"}, "children": []}]})")
                 .object());
    QCOMPARE(RunJson({u"xml"_s, u"list"_s, u"app.xml"_s, u"Notes"_s, u"--json"_s, u"--depth"_s, u"0"_s}),
             QJsonDocument::fromJson(R"({"name": "Notes", "attributes": {}, "text": "Call back\ntomorrow"})")
                 .object());
}

void tst_ToolXml::List_jsonBytes_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QStringList>("options");

    const QByteArray nested = "<a z='1' b='2'>t<b><c/></b><b>x<d/>y</b></a>";
    QTest::newRow("root alone") << QByteArray("<a/>") << QStringList();
    QTest::newRow("nested") << nested << QStringList();
    QTest::newRow("no levels") << nested << QStringList{u"--depth"_s, u"0"_s};
    QTest::newRow("one level") << nested << QStringList{u"--depth"_s, u"1"_s};
    QTest::newRow("characters that JSON escapes")
        << QByteArray("<a b='&quot;\\&#10;&#9;/&#x7f;'>&lt;&#13;\xf0\x9f\x98\x80</a>") << QStringList();
    QTest::newRow("first and last characters that JSON does not escape")
        << QByteArray("<a b=' ~!#[]/\xc2\x80'>~</a>") << QStringList();
    // The library has to load this one.
    QTest::newRow("document type") << "<!DOCTYPE a [<!ENTITY e 'text'>]><a b='&e;'><c>&e;</c><c/></a>"_ba
                                   << QStringList();
}

// The JSON is printed piece by piece, but in the form that Qt gives to a whole document.
void tst_ToolXml::List_jsonBytes()
{
    QFETCH(const QByteArray, document);
    QFETCH(const QStringList, options);

    QVERIFY(mTool->Write(u"a.xml"_s, document));
    const QStringList arguments = QStringList{u"xml"_s, u"list"_s, u"a.xml"_s} + options;
    const ToolResult lines = mTool->Run(arguments + QStringList(u"--json=lines"_s));
    const ToolResult pretty = mTool->Run(arguments + QStringList(u"--json=pretty"_s));
    QCOMPARE(lines.ExitCode, 0);
    const QJsonDocument json = QJsonDocument::fromJson(lines.Output);
    QVERIFY(json.isObject());
    QCOMPARE(lines.Output, json.toJson(QJsonDocument::Compact) + '\n');
    QCOMPARE(pretty.Output, json.toJson(QJsonDocument::Indented));
}

void tst_ToolXml::List_deepest()
{
    QVERIFY(
        mTool->Write(u"deep.xml"_s, QByteArray("<a>").repeated(1000) + QByteArray("</a>").repeated(1000)));
    const ToolResult result = mTool->Run({u"xml"_s, u"list"_s, u"deep.xml"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Output.count('\n'), 1000);
    QCOMPARE(mTool->Run({u"xml"_s, u"list"_s, u"deep.xml"_s, u"--json"_s}).ExitCode, 0);

    QVERIFY(mTool->Write(u"long.xml"_s, "<a b=\"" + QByteArray(101, 'x') + "\"/>"));
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"long.xml"_s}),
             u"a b=\"%1\"... (101 characters)\n=> 0\n"_s.arg(QString(100, u'x')));
    // Surrogate pairs are not split, and "%2" in a value is not a placeholder.
    QVERIFY(mTool->Write(u"long.xml"_s, "<a b=\"%2" + QByteArray(97, 'x') + "\xf0\x9f\x98\x80\"/>"));
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"long.xml"_s}),
             u"a b=\"%2%1\"... (101 characters)\n=> 0\n"_s.replace(u"%1"_s, QString(97, u'x')));
    // Combining marks take no column, so this value is printed in full.
    const QByteArray marked = QByteArray("a\xcc\x88").repeated(60);
    QVERIFY(mTool->Write(u"long.xml"_s, "<a b=\"" + marked + "\"/>"));
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"long.xml"_s}),
             u"a b=\"%1\"\n=> 0\n"_s.arg(QString::fromUtf8(marked)));
}

void tst_ToolXml::Cat_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    QTest::newRow("element") << QStringList{
        u"List"_s} << u"    <List>\n        <Item a=\"1\"/>\n        <Item a=\"2\"/>\n    </List>\n=> 0\n"_s;
    QTest::newRow("content") << QStringList{u"List"_s, u"--inner"_s}
                             << u"    <Item a=\"1\"/>\n    <Item a=\"2\"/>\n=> 0\n"_s;
    QTest::newRow("text") << QStringList{u"Notes"_s, u"--inner"_s} << u"Call back\ntomorrow\n=> 0\n"_s;
    QTest::newRow("section") << QStringList{u"Icon"_s, u"--inner"_s} << u"<![CDATA[AAEC/w==]]>\n=> 0\n"_s;
    QTest::newRow("no content") << QStringList{u"List/Item"_s, u"--inner"_s} << u"=> 0\n"_s;
    QTest::newRow("missing") << QStringList{u"None"_s}
                             << u"! qvutil: app.xml: there is no element None\n=> 1\n"_s;
}

void tst_ToolXml::Cat()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(Run(QStringList{u"xml"_s, u"cat"_s, u"app.xml"_s} + arguments), expected);
}

void tst_ToolXml::Cat_json()
{
    QCOMPARE(RunJson({u"xml"_s, u"cat"_s, u"app.xml"_s, u"Notes"_s, u"--inner"_s, u"--json"_s}),
             (QJsonObject{{u"path"_s, u"/App/Notes"_s}, {u"xml"_s, u"Call back\ntomorrow"_s}}));
}

QTEST_GUILESS_MAIN(tst_ToolXml)
#include "tst_ToolXml.moc"
