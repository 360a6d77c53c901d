// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using TestSupport::ToolResult;

class tst_ToolExpr : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Run_data();
    void Run();
    void Eval_json();
    void Eval_deeplyNested();
    void Lint_json();
    void Lint_file();
    void Lint_percentInName();
    void Lint_standardInput();
    void Lint_xml();
    void Lint_xml_prefixWithoutNamespace();
    void Lint_xml_entityTooLong();
    void Lint_noExpressions_data();
    void Lint_noExpressions();
    void Lint_missingAttribute();
    void Lint_badFiles_data();
    void Lint_badFiles();
    void Lint_manyOperands();
    void Lint_longExpression();
    void Lint_wideCharacters();
    void Table_json();
    void Table_tooLong();
    void Operands_json();
};

void tst_ToolExpr::Run_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* circumstance, const QStringList& arguments, const QString& expected) {
        QTest::newRow(circumstance) << arguments << expected;
    };
    const auto lint = [](const QString& expression) { return QStringList{u"lint"_s, expression}; };

    row("eval, true", {u"eval"_s, u"a & b"_s, u"--true"_s, u"a, b"_s}, u"true\n=> 0\n"_s);
    row("eval, false", {u"eval"_s, u"a & b"_s, u"--true"_s, u"a"_s, u"--false"_s, u"b"_s},
        u"false\n=> 1\n"_s);
    row("eval, option twice", {u"eval"_s, u"a & b"_s, u"--true"_s, u"a"_s, u"--true"_s, u"b"_s},
        u"true\n=> 0\n"_s);
    row("eval, skipped operand may be unknown", {u"eval"_s, u"a | b"_s, u"--true"_s, u"a"_s},
        u"true\n=> 0\n"_s);
    row("eval, skipped mistake is ignored", {u"eval"_s, u"a | (b & & c)"_s, u"--true"_s, u"a"_s},
        u"true\n=> 0\n"_s);
    row("eval, unknown operand", {u"eval"_s, u"a & bb"_s, u"--true"_s, u"a"_s},
        u"!   a & bb\n!       ^~\n! qvutil: expression, column 5: operand \"bb\" is neither in --true nor in "
        "--false\n=> 2\n"_s);
    row("eval, true and false", {u"eval"_s, u"a"_s, u"--true"_s, u"a"_s, u"--false"_s, u"a"_s},
        u"! qvutil: \"a\" is both true and false\n! Try 'qvutil expr eval --help'.\n=> 2\n"_s);
    row("eval, empty", {u"eval"_s, QString()},
        u"!   \n!   ^\n! qvutil: expression, column 1: an operand is missing here\n=> 2\n"_s);
    row("eval, not closed", {u"eval"_s, u"a & (b"_s},
        u"!   a & (b\n!       ^\n! qvutil: expression, column 5: this '(' is not closed\n=> 2\n"_s);
    row("eval, evaluated mistake", {u"eval"_s, u"a & (b & & c)"_s, u"--true"_s, u"a,b,c"_s},
        u"!   a & (b & & c)\n!            ^\n! qvutil: expression, column 10: an operand is missing next to "
        "this operator\n=> 2\n"_s);
    row("eval, explain",
        {u"eval"_s, u"a & (b | c) | d"_s, u"--true"_s, u"a,c"_s, u"--false"_s, u"b"_s, u"--explain"_s},
        u"  a & (b | c) | d\n    a   1. true\n    &\n    b | c\n      b   2. false\n      |\n      c   3. "
        u"true\n"
        "    |\n    d   skipped\n"
        "  note, column 1: '&' and '|' are applied from left to right here, because a group precedes them\n"
        "true\n=> 0\n"_s);
    row("eval, explain an operand that occurs twice",
        {u"eval"_s, u"(x | a) & a"_s, u"--true"_s, u"x,a"_s, u"--explain"_s},
        u"  (x | a) & a\n    x | a\n      x   1. true\n      |\n      a   skipped\n    &\n    a   2. true\n"
        "true\n=> 0\n"_s);
    row("eval, explain dropped text", {u"eval"_s, u"a & b (c)"_s, u"--true"_s, u"c"_s, u"--explain"_s},
        u"  c   1. true\n  note, column 1: text before '(' is ignored unless '&' joins them\ntrue\n=> 0\n"_s);

    row("lint, nothing wrong", lint(u"a & (b | c)"_s), u"no problems; expressions checked: 1\n=> 0\n"_s);
    row("lint, dropped text", lint(u"a & b (c)"_s),
        u"expression 1, column 1: text before '(' is ignored unless '&' joins them\n"
        "  a & b (c)\n  ^~~~~\n=> 1\n"_s);
    row("lint, dropped text in a group", lint(u"a & (x (b))"_s),
        u"expression 1, column 6: text before '(' is ignored unless '&' joins them\n"
        "  a & (x (b))\n       ^\n=> 1\n"_s);
    row("lint, mixed", lint(u"(a) & b | c"_s),
        u"expression 1, column 1: '&' and '|' are applied from left to right here, because a group "
        u"precedes them\n"
        "  (a) & b | c\n  ^~~~~~~~~~~\n=> 1\n"_s);
    row("lint, not mixed", lint(u"a & b | c & d"_s), u"no problems; expressions checked: 1\n=> 0\n"_s);
    row("lint, never evaluated", lint(u"a & (a | b)"_s),
        u"expression 1, column 10: this operand is never consulted, whatever the values of the others\n"
        "  a & (a | b)\n           ^\n=> 1\n"_s);
    row("lint, evaluated in one case only", lint(u"a | b & (a | c)"_s),
        u"expression 1, column 1: '&' and '|' are applied from left to right here, because a group "
        u"precedes them\n"
        "  a | b & (a | c)\n  ^~~~~~~~~~~~~~~\n=> 1\n"_s);
    row("lint, empty operand of a chain", lint(u"a & & b"_s),
        u"expression 1, column 5: an operand is missing next to this operator\n  a & & b\n      ^\n=> 1\n"_s);
    row("lint, and at the end", lint(u"a &"_s),
        u"expression 1, column 3: an operand is missing next to this operator\n  a &\n    ^\n=> 1\n"_s);
    row("lint, and at the front", lint(u"& a"_s),
        u"expression 1, column 1: an operand is missing next to this operator\n  & a\n  ^\n=> 1\n"_s);
    row("lint, or doubled", lint(u"a | | b"_s),
        u"expression 1, column 5: an operand is missing next to this operator\n  a | | b\n      ^\n=> 1\n"_s);
    row("lint, blank group", lint(u"a & ( )"_s),
        u"expression 1, column 6: an operand is missing here\n  a & ( )\n       ^\n=> 1\n"_s);
    row("lint, operator missing", lint(u"(a) b"_s),
        u"expression 1, column 5: an operator is missing before this operand\n  (a) b\n      ^\n=> 1\n"_s);
    row("lint, not closed", lint(u"a & (b"_s),
        u"expression 1, column 5: this '(' is not closed\n  a & (b\n      ^\n=> 1\n"_s);
    row("lint, not opened", lint(u"a) & b"_s),
        u"expression 1, column 2: this ')' has no matching '('\n  a) & b\n   ^\n=> 1\n"_s);
    row("lint, known operands", {u"lint"_s, u"a & b"_s, u"--known"_s, u"a, b"_s},
        u"no problems; expressions checked: 1\n=> 0\n"_s);
    row("lint, unknown operand", {u"lint"_s, u"a & big cat"_s, u"--known"_s, u"a,b"_s},
        u"expression 1, column 5: this operand is unknown\n  a & big cat\n      ^~~~~~~\n=> 1\n"_s);
    row("lint, no operand is known", {u"lint"_s, u"a"_s, u"--known"_s, u","_s},
        u"expression 1, column 1: this operand is unknown\n  a\n  ^\n=> 1\n"_s);
    row("lint, no operand is known, by an empty text", {u"lint"_s, u"a"_s, u"--known"_s, QString()},
        u"expression 1, column 1: this operand is unknown\n  a\n  ^\n=> 1\n"_s);
    const QString notSign
        = u"expression 1, column %1: '%2' is part of this operand's name: there is no \"not\" in "
          "expressions\n  %3\n%4\n=> 1\n"_s;
    row("lint, exclamation mark", lint(u"a & !b"_s), notSign.arg(u"5"_s, u"!"_s, u"a & !b"_s, u"      ^~"_s));
    row("lint, tilde", lint(u"~b"_s), notSign.arg(u"1"_s, u"~"_s, u"~b"_s, u"  ^~"_s));
    row("lint, not", lint(u"not b"_s), notSign.arg(u"1"_s, u"not"_s, u"not b"_s, u"  ^~~~~"_s));
    row("lint, NOT", lint(u"a | (NOT  b)"_s),
        notSign.arg(u"6"_s, u"NOT"_s, u"a | (NOT  b)"_s, u"       ^~~~~~"_s));
    row("lint, not as a part of a word", lint(u"nothing open & knot"_s),
        u"no problems; expressions checked: 1\n=> 0\n"_s);
    row("lint, not alone", lint(u"not"_s), u"no problems; expressions checked: 1\n=> 0\n"_s);
    row("lint, AND", lint(u"a AND b"_s),
        u"expression 1, column 1: 'AND' is part of this operand's name: write '&'\n  a AND b\n  ^~~~~~~\n=> 1\n"_s);
    row("lint, OR", lint(u"a OR b"_s),
        u"expression 1, column 1: 'OR' is part of this operand's name: write '|'\n  a OR b\n  ^~~~~~\n=> 1\n"_s);
    row("lint, and in a name", lint(u"cut and paste"_s), u"no problems; expressions checked: 1\n=> 0\n"_s);
    row("lint, names that look odd and are known",
        lint(u"!a & not b"_s) + QStringList{u"--known"_s, u"!a,not b"_s},
        u"no problems; expressions checked: 1\n=> 0\n"_s);
    row("lint, &&", lint(u"a && b"_s),
        u"expression 1, column 4: '&&' is not an operator: write '&'\n  a && b\n     ^\n=> 1\n"_s);
    row("lint, ||", lint(u"a || b"_s),
        u"expression 1, column 4: '||' is not an operator: write '|'\n  a || b\n     ^\n=> 1\n"_s);
    row("lint, second of two", {u"lint"_s, u"a"_s, u"("_s},
        u"expression 2, column 1: this '(' is not closed\n  (\n  ^\n=> 1\n"_s);
    row("lint, line break", lint(u"a\n& (b"_s),
        u"expression 1, column 5: this '(' is not closed\n  a & (b\n      ^\n=> 1\n"_s);
    row("lint, nothing given", {u"lint"_s},
        u"! qvutil: EXPRESSION, --file or --xml is required\n! Try 'qvutil expr lint --help'.\n=> 2\n"_s);
    row("lint, XML without attribute", {u"lint"_s, u"--xml"_s, u"x.xml"_s},
        u"! qvutil: --xml and --attribute must be used together\n! Try 'qvutil expr lint --help'.\n=> 2\n"_s);
    row("lint, attribute without XML", {u"lint"_s, u"a"_s, u"--attribute"_s, u"x"_s},
        u"! qvutil: --xml and --attribute must be used together\n! Try 'qvutil expr lint --help'.\n=> 2\n"_s);

    row("table", {u"table"_s, u"(a) & b | c"_s},
        u"a\tb\tc\tresult\n"
        "false\tfalse\tfalse\tfalse\nfalse\tfalse\ttrue\tfalse\nfalse\ttrue\tfalse\tfalse\n"
        "false\ttrue\ttrue\tfalse\ntrue\tfalse\tfalse\tfalse\ntrue\tfalse\ttrue\ttrue\n"
        "true\ttrue\tfalse\ttrue\ntrue\ttrue\ttrue\ttrue\n=> 0\n"_s);
    row("table, line break in an operand", {u"table"_s, u"a\nb"_s},
        u"a\\nb\tresult\nfalse\tfalse\ntrue\ttrue\n=> 0\n"_s);
    row("table, mistake", {u"table"_s, u"a |"_s},
        u"!   a |\n!     ^\n! qvutil: expression, column 3: an operand is missing next to this operator\n=> 2\n"_s);
    row("operands", {u"operands"_s, u"x & (big cat | y) & x"_s}, u"x\nbig cat\ny\n=> 0\n"_s);
    row("operands, mistake", {u"operands"_s, u"(a"_s},
        u"!   (a\n!   ^\n! qvutil: expression, column 1: this '(' is not closed\n=> 2\n"_s);
}

void tst_ToolExpr::Run()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(mTool->Run(QStringList{u"expr"_s} + arguments).ToText(), expected);
}

void tst_ToolExpr::Eval_json()
{
    const ToolResult result
        = mTool->Run({u"expr"_s, u"eval"_s, u"x (a) & b"_s, u"--false"_s, u"a"_s, u"--json"_s});
    const QJsonObject expected{
        {u"value"_s, false},
        {u"consulted"_s,
         QJsonArray{QJsonObject{{u"operand"_s, u"a"_s}, {u"column"_s, 4}, {u"value"_s, false}}}},
        {u"skipped"_s, QJsonArray{QJsonObject{{u"operand"_s, u"b"_s}, {u"column"_s, 9}}}},
        {u"notes"_s,
         QJsonArray{QJsonObject{{u"kind"_s, u"dropped"_s},
                                {u"column"_s, 1},
                                {u"length"_s, 1},
                                {u"reason"_s, u"text before '(' is ignored unless '&' joins them"_s}}}}};
    QCOMPARE(QJsonDocument::fromJson(result.Output).object(), expected);
    QCOMPARE(result.ExitCode, 1);
}

void tst_ToolExpr::Eval_deeplyNested()
{
    constexpr int kDepth = 5'000;
    const QString expression = u"t&("_s.repeated(kDepth) + u't' + u")"_s.repeated(kDepth);
    const ToolResult result
        = mTool->Run({u"expr"_s, u"eval"_s, expression, u"--true"_s, u"t"_s, u"--explain"_s});
    QCOMPARE(result.ExitCode, 0);
    QVERIFY(result.Output.endsWith(" 5001. true\ntrue\n"));
    QVERIFY(result.Output.size() < 5'000'000);
}

void tst_ToolExpr::Lint_json()
{
    const ToolResult result = mTool->Run({u"expr"_s, u"lint"_s, u"(a"_s, u"--json"_s});
    const QJsonArray expected{QJsonObject{{u"place"_s, u"expression 1"_s},
                                          {u"expression"_s, u"(a"_s},
                                          {u"kind"_s, u"unbalanced"_s},
                                          {u"column"_s, 1},
                                          {u"length"_s, 1},
                                          {u"reason"_s, u"this '(' is not closed"_s}}};
    QCOMPARE(QJsonDocument::fromJson(result.Output).array(), expected);
    QCOMPARE(result.ExitCode, 1);

    const ToolResult fine = mTool->Run({u"expr"_s, u"lint"_s, u"a"_s, u"--json"_s});
    QCOMPARE(fine.Output, QByteArray("[]\n"));
    QCOMPARE(fine.ExitCode, 0);
}

void tst_ToolExpr::Lint_file()
{
    QVERIFY(mTool->Write(u"list.txt"_s, "a & b\n\n  (a\r\nc |"));
    QCOMPARE(mTool->Run({u"expr"_s, u"lint"_s, u"--file"_s, u"list.txt"_s}).ToText(),
             u"list.txt:3, column 1: this '(' is not closed\n  (a\n  ^\n"
             "list.txt:4, column 3: an operand is missing next to this operator\n  c |\n    ^\n=> 1\n"_s);
}

void tst_ToolExpr::Lint_percentInName()
{
    QVERIFY(mTool->Write(u"%2 %3.txt"_s, "a |"));
    QCOMPARE(mTool->Run({u"expr"_s, u"lint"_s, u"--file"_s, u"%2 %3.txt"_s}).ToText(),
             u"%2 %3.txt:1, column 3: an operand is missing next to this operator\n  a |\n    ^\n=> 1\n"_s);
    QVERIFY(mTool->Write(u"%2 %3.xml"_s, "<w e=\"a |\"/>"));
    const QString text
        = mTool->Run({u"expr"_s, u"lint"_s, u"--xml"_s, u"%2 %3.xml"_s, u"--attribute"_s, u"e"_s}).ToText();
    QVERIFY2(text.startsWith(u"%2 %3.xml:1, e, column 3: "_s), qPrintable(text));
}

void tst_ToolExpr::Lint_standardInput()
{
    QCOMPARE(mTool->Run({u"expr"_s, u"lint"_s, u"--file"_s, u"-"_s}, "a & b\na | c\n").ToText(),
             u"no problems; expressions checked: 2\n=> 0\n"_s);
}

void tst_ToolExpr::Lint_xml()
{
    QVERIFY(mTool->Write(u"ui.xml"_s,
                         "<window>\n"
                         " <button enabled=\"a &amp; b\" visible=\"(\" tip=\"(\"/>\n"
                         " <group enabled=\"  \"><button enabled=\"x (b)\"/></group>\n"
                         " enabled=\"(\"\n"
                         "</window>\n"));
    QCOMPARE(mTool
                 ->Run({u"expr"_s, u"lint"_s, u"--xml"_s, u"ui.xml"_s, u"--attribute"_s, u"enabled"_s,
                        u"--attribute"_s, u"visible"_s})
                 .ToText(),
             u"ui.xml:2, visible, column 1: this '(' is not closed\n  (\n  ^\n"
             "ui.xml:3, enabled, column 1: text before '(' is ignored unless '&' joins them\n"
             "  x (b)\n  ^\n=> 1\n"_s);
}

// The library loads documents with undeclared prefixes, so the part after the prefix must be checked.
void tst_ToolExpr::Lint_xml_prefixWithoutNamespace()
{
    QVERIFY(
        mTool->Write(u"ui.xml"_s, "<ui:window ui:enabled=\"x (a)\">\n<b enabled=\"x (b)\"/></ui:window>\n"));
    QCOMPARE(mTool
                 ->Run({u"expr"_s, u"lint"_s, u"--xml"_s, u"ui.xml"_s, u"--attribute"_s, u"enabled"_s,
                        u"--attribute"_s, u"ui:enabled"_s})
                 .ToText(),
             u"ui.xml:1, ui:enabled, column 1: text before '(' is ignored unless '&' joins them\n"
             "  x (a)\n  ^\n"
             "ui.xml:2, enabled, column 1: text before '(' is ignored unless '&' joins them\n"
             "  x (b)\n  ^\n=> 1\n"_s);
}

// The tool cannot read past an entity that is too long for the library, so it must not report "no problems".
void tst_ToolExpr::Lint_xml_entityTooLong()
{
    QVERIFY(mTool->Write(u"ui.xml"_s,
                         "<!DOCTYPE r [<!ENTITY e \"" + QByteArray(5000, 'x')
                             + "\">]><r><a tip=\"&e;\"/><b enabled=\"x (b)\"/></r>"));
    QCOMPARE(
        mTool->Run({u"expr"_s, u"lint"_s, u"--xml"_s, u"ui.xml"_s, u"--attribute"_s, u"enabled"_s}).ToText(),
        u"! qvutil: ui.xml: an entity expands to more than 4,096 characters\n=> 2\n"_s);
}

void tst_ToolExpr::Lint_noExpressions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");

    const QString none = u"there is no expression to check"_s;
    QTest::newRow("no such attribute") << QStringList{u"--xml"_s, u"ui.xml"_s, u"--attribute"_s, u"enable"_s}
                                       << u"no element has the attribute 'enable'"_s;
    QTest::newRow("attribute in different case")
        << QStringList{u"--xml"_s, u"ui.xml"_s, u"--attribute"_s, u"Enabled"_s}
        << u"no element has the attribute 'Enabled'"_s;
    QTest::newRow("attribute is blank everywhere")
        << QStringList{u"--xml"_s, u"ui.xml"_s, u"--attribute"_s, u"visible"_s} << none;
    QTest::newRow("list of blank lines") << QStringList{u"--file"_s, u"blank.txt"_s} << none;
    QTest::newRow("as JSON") << QStringList{u"--xml"_s, u"ui.xml"_s, u"--attribute"_s, u"visible"_s,
                                            u"--json"_s}
                             << none;
}

// A misspelt attribute name must not be reported as "no problems".
void tst_ToolExpr::Lint_noExpressions()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, complaint);

    QVERIFY(mTool->Write(u"ui.xml"_s, "<window enabled=\"a\" visible=\" \"/>"));
    QVERIFY(mTool->Write(u"blank.txt"_s, "\n  \n"));
    QCOMPARE(mTool->Run(QStringList{u"expr"_s, u"lint"_s} + arguments).ToText(),
             u"! qvutil: "_s + complaint + u"\n=> 2\n"_s);
}

// Other expressions do not hide a misspelt attribute name.
void tst_ToolExpr::Lint_missingAttribute()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<window enabled=\"a\" visible=\" \"/>"));
    const QStringList arguments{u"expr"_s, u"lint"_s, u"a"_s, u"--xml"_s, u"ui.xml"_s, u"--attribute"_s};
    QCOMPARE(mTool->Run(arguments + QStringList{u"enable"_s}).ToText(),
             u"! qvutil: no element has the attribute 'enable'\n=> 2\n"_s);
    QCOMPARE(mTool->Run(arguments + QStringList{u"visible"_s}).ToText(),
             u"no problems; expressions checked: 1\n=> 0\n"_s);
    QCOMPARE(mTool->Run(arguments + QStringList{u"enabled"_s, u"--attribute"_s, u"hidden"_s}).ToText(),
             u"! qvutil: no element has the attribute 'hidden'\n=> 2\n"_s);
}

void tst_ToolExpr::Lint_badFiles_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("missing list") << QStringList{u"--file"_s, u"missing.txt"_s} << u"qvutil: missing.txt: "_s;
    QTest::newRow("folder as list") << QStringList{u"--file"_s, u"."_s} << u"qvutil: .: "_s;
    QTest::newRow("missing document")
        << QStringList{u"--xml"_s, u"missing.xml"_s, u"--attribute"_s, u"x"_s} << u"qvutil: missing.xml: "_s;
    QTest::newRow("truncated document")
        << QStringList{u"--xml"_s, u"torn.xml"_s, u"--attribute"_s, u"x"_s} << u"qvutil: torn.xml:1:"_s;
}

void tst_ToolExpr::Lint_badFiles()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, complaint);

    QVERIFY(mTool->Write(u"torn.xml"_s, "<a x=\"("));
    const ToolResult result = mTool->Run(QStringList{u"expr"_s, u"lint"_s} + arguments);
    QCOMPARE(result.ExitCode, 2);
    QCOMPARE(result.Output, QByteArray());
    QVERIFY2(result.Errors.startsWith(complaint.toUtf8()), result.Errors.constData());
}

void tst_ToolExpr::Lint_manyOperands()
{
    // Too many combinations to try, and one operand that is never consulted.
    QStringList groups;
    for (int i = 0; i < 40; ++i)
        groups.append(u"(a%1 | b%1)"_s.arg(i));
    const QString expression = u"x & "_s + groups.join(" & "_L1) + u" & (x | y)"_s;
    const ToolResult result = mTool->Run({u"expr"_s, u"lint"_s, expression});
    QCOMPARE(result.ToText(),
             u"no problems; expressions checked: 1\n"
             "! qvutil: expression 1: too many operands to determine whether each is consulted\n=> 0\n"_s);
}

// This takes seconds if the search limits what it reads, but minutes, which is beyond the time-out, if it
// only limits the number of evaluations.
void tst_ToolExpr::Lint_longExpression()
{
    QByteArray expression = "x & ";
    for (int i = 0; i < 50'000; ++i)
        expression += "(a" + QByteArray::number(i) + " | b) & ";
    QVERIFY(mTool->Write(u"list.txt"_s, expression + "(x | y)\n"));
    QCOMPARE(mTool->Run({u"expr"_s, u"lint"_s, u"--file"_s, u"list.txt"_s}).ToText(),
             u"no problems; expressions checked: 1\n"
             "! qvutil: list.txt:1: too many operands to determine whether each is consulted\n=> 0\n"_s);
}

void tst_ToolExpr::Lint_wideCharacters()
{
    const QString result = mTool->Run({u"expr"_s, u"lint"_s, u"中文 && b"_s}).ToText();
    QVERIFY2(result.contains(u"\n  中文 && b\n        ^\n"_s), qPrintable(result));
}

void tst_ToolExpr::Table_json()
{
    const ToolResult result = mTool->Run({u"expr"_s, u"table"_s, u"a"_s, u"--json"_s});
    const QJsonArray expected{
        QJsonObject{{u"operands"_s, QJsonObject{{u"a"_s, false}}}, {u"result"_s, false}},
        QJsonObject{{u"operands"_s, QJsonObject{{u"a"_s, true}}}, {u"result"_s, true}}};
    QCOMPARE(QJsonDocument::fromJson(result.Output).array(), expected);
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolExpr::Table_tooLong()
{
    QStringList names;
    for (int i = 0; i < 16; ++i)
        names.append(u"o%1"_s.arg(i));
    const ToolResult longest = mTool->Run({u"expr"_s, u"table"_s, names.join(u'&')});
    QCOMPARE(longest.ExitCode, 0);
    QCOMPARE(longest.Output.count('\n'), 65'537);

    names.append(u"o16"_s);
    QCOMPARE(mTool->Run({u"expr"_s, u"table"_s, names.join(u'&')}).ToText(),
             u"! qvutil: a table of 17 operands is too long; at most 16 are shown\n=> 2\n"_s);
}

void tst_ToolExpr::Operands_json()
{
    const ToolResult result = mTool->Run({u"expr"_s, u"operands"_s, u"b & a & b"_s, u"--json"_s});
    QCOMPARE(QJsonDocument::fromJson(result.Output).array(), QJsonArray({u"b"_s, u"a"_s}));
    QCOMPARE(result.ExitCode, 0);
}

QTEST_GUILESS_MAIN(tst_ToolExpr)

#include "tst_ToolExpr.moc"
