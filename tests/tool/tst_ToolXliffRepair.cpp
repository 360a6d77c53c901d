// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests `qvutil xliff repair`: each test runs the real tool on real files, and reads the translations with
// the library.

#include "support/ToolTest.h"
#include "support/XliffSupport.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <functional>

using namespace Qt::StringLiterals;
using Quorvin::Util::XlfTranslator;
using TestSupport::Id;
using TestSupport::ToolResult;
using TestSupport::ToolRunner;
using TestSupport::Translated;
using TestSupport::Unit;
using TestSupport::Xliff;

namespace {

// Returns the kinds of findings that a repair removes.
const QStringList& RepairedKinds()
{
    static const QStringList kinds{u"unreachable"_s, u"wrong-id"_s, u"duplicate-file"_s, u"duplicate-unit"_s,
                                   u"cut-target"_s};
    return kinds;
}

QStringList SplitPairs(const QString& text)
{
    return text.split(u';', Qt::SkipEmptyParts);
}

/// Returns a file element for a document.
QByteArray File(const QByteArray& original, const QByteArray& content)
{
    return "    <file original=\"" + original
        + "\" source-language=\"en\" target-language=\"de\" datatype=\"xml\">\n" + content + "    </file>\n";
}

} // namespace

class tst_ToolXliffRepair : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Repair_shapes_data();
    void Repair_shapes();
    void Repair_exactText();
    void Repair_indentation_data();
    void Repair_indentation();
    void Repair_misplaced_data();
    void Repair_misplaced();
    void Repair_anyNesting();
    void Repair_leaves_data();
    void Repair_leaves();
    void Repair_leavesAll();
    void Repair_alternatives();
    void Repair_sameIds_data();
    void Repair_sameIds();
    void Repair_joinedContent_data();
    void Repair_joinedContent();
    void Repair_keepsRightIds_data();
    void Repair_keepsRightIds();
    void Repair_keepsMarkupTargets();
    void Repair_keepsFoundUnit();
    void Repair_attributesOnOneLine();
    void Repair_joinedFileHasSourceLanguage();
    void Repair_cleanFile();
    void Repair_dryRun();
    void Repair_json();
    void Repair_usage();
    void Repair_encodings();
    void Repair_anyFile();
    void Repair_largeFile();
    void Repair_rules();
    void Approve_progress();
    void Approve_agreesWithStat_data();
    void Approve_agreesWithStat();
    void Approve_leaves_data();
    void Approve_leaves();
    void Approve_linguist();

private:
    /// Returns the lines of `xliff check` with findings that a repair removes.
    [[nodiscard]] QStringList Findings(const QString& file) const;
};

QStringList tst_ToolXliffRepair::Findings(const QString& file) const
{
    const QByteArray output = mTool->Run({u"xliff"_s, u"check"_s, u"--json"_s, file}).Output;
    QStringList result;
    for (const QJsonValue finding :
         QJsonDocument::fromJson(output).array().at(0).toObject().value(u"findings"_s).toArray()) {
        const QString kind = finding.toObject().value(u"kind"_s).toString();
        const QString text = finding.toObject().value(u"text"_s).toString();
        if (RepairedKinds().contains(kind) || text.contains("begins with markup"_L1))
            result += kind + ": "_L1 + text;
    }
    return result;
}

void tst_ToolXliffRepair::Repair_shapes_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("hidden"); // texts that the library does not translate before the repair
    QTest::addColumn<QString>("texts"); // source=target of ui.xml after the repair
    QTest::addColumn<QString>("note"); // the first line of the output

    const QByteArray a = Unit(u"A"_s, "<target>a</target>");
    const QByteArray b = Unit(u"B"_s, "<target>b</target>");
    const QString first = u"the library reads only the first child of a file element [header]"_s;
    const QString direct = u"the library finds only units directly in the body [group]"_s;
    const QString whole = u"the library reads a target only up to the first element or comment [target]"_s;
    const QString once
        = u"the library uses only the last file element with the same file name [duplicate-file]"_s;
    const QString digest = u"the library finds a text by its digest [id]"_s;

    QTest::newRow("header") << Xliff(a).replace("        <body>",
                                                "        <header><note>n</note></header>\n        <body>")
                            << u"A"_s << u"A=a"_s << u"4:9: <header> moved after the body: "_s + first;
    QTest::newRow("header on the line of the body")
        << Xliff(a).replace("<body>", "<header/><body>") << u"A"_s << u"A=a"_s
        << u"4:9: <header> moved after the body: "_s + first;
    QTest::newRow("comment and header")
        << Xliff(a).replace("<body>", "<!-- c --><header/><!-- d --><body>") << u"A"_s << u"A=a"_s
        << u"4:19: <header> moved after the body: "_s + first;
    QTest::newRow("two bodies") << Xliff(a).replace("</body>", "</body><body>" + b + "</body>") << u"B"_s
                                << u"A=a;B=b"_s
                                << u"9:16: the content of another body moved into the first: "_s + first;
    QTest::newRow("empty body first")
        << Xliff(a).replace("<body>", "<body/><body>") << u"A"_s << u"A=a"_s
        << u"4:16: the content of another body moved into the first: "_s + first;
    QTest::newRow("no body") << Xliff(a).replace("        <body>\n", "").replace("        </body>\n", "")
                             << u"A"_s << u"A=a"_s << u"4:13: \"A\" moved into the body: "_s + direct;
    QTest::newRow("header, no body")
        << Xliff(a).replace("        <body>\n", "<header/>").replace("        </body>\n", "") << u"A"_s
        << u"A=a"_s << u"4:1: <header> moved after the body: "_s + first;
    QTest::newRow("unit after the body") << Xliff(a).replace("</body>\n", "</body>\n" + b) << u"B"_s
                                         << u"A=a;B=b"_s << u"10:13: \"B\" moved into the body: "_s + direct;
    QTest::newRow("group") << Xliff("<group restype=\"x-menu\" id='7'>\n" + a + "</group>\n" + b) << u"A"_s
                           << u"A=a;B=b"_s
                           << u"5:1: <group restype=\"x-menu\" id='7'> removed, its content kept: "_s
            + direct;
    QTest::newRow("group with a note")
        << Xliff("<group id='7'><note>n</note>\n" + a + "</group>\n") << u"A"_s << u"A=a"_s
        << u"5:1: the units in <group id='7'> moved after it: "_s + direct;
    QTest::newRow("groups in groups")
        << Xliff("<group>" + a + "<group><group>" + b + "</group></group></group>\n") << u"A;B"_s
        << u"A=a;B=b"_s << u"5:1: <group> removed, its content kept: "_s + direct;
    QTest::newRow("unit in a unit") << Xliff(QByteArray(a).replace("</target>\n", "</target>\n" + b))
                                    << u"B"_s << u"A=a;B=b"_s
                                    << u"8:13: \"B\" moved into the body: "_s + direct;
    QTest::newRow("wrong id") << Xliff(a).replace(Id(u"A"_s), "7") << u"A"_s << u"A=a"_s
                              << u"5:13: the id of \"A\" changed from \"7\" to %1: %2"_s.arg(
                                     QString::fromLatin1(Id(u"A"_s)), digest);
    QTest::newRow("no id") << Xliff(a).replace(" id=\"" + Id(u"A"_s) + '"', "") << u"A"_s << u"A=a"_s
                           << u"5:13: the id of \"A\" changed from \"\" to %1: %2"_s.arg(
                                  QString::fromLatin1(Id(u"A"_s)), digest);
    QTest::newRow("wrong id, markup in the source")
        << Xliff(Unit(u"A %1 B"_s, "<target>a</target>"))
               .replace(Id(u"A %1 B"_s), "7")
               .replace("A %1 B", "A <ph id='1'>%1</ph> <g id='2'>B</g>")
        << u"A %1 B"_s << u"A %1 B=a"_s
        << u"5:13: the id of \"A %1 B\" changed from \"7\" to %2: %3"_s
               .replace("%2"_L1, QLatin1StringView(Id(u"A %1 B"_s)))
               .replace("%3"_L1, digest);
    QTest::newRow("markup in the target")
        << Xliff(Unit(u"A"_s, "<target state='final'>a <g id='1'>b</g> <g id='2'>c</g></target>")) << u"A"_s
        << u"A=a b c"_s
        << u"7:17: the target of \"A\" is now plain text: \"a b c\", without <g id=\"1\"> <g id=\"2\">: "_s
            + whole;
    QTest::newRow("target begins with markup")
        << Xliff(Unit(u"A"_s, "<target><ph id='1'>&lt;b></ph>a</target>")) << u"A"_s << u"A=<b>a"_s
        << u"7:17: the target of \"A\" is now plain text: \"<b>a\", without <ph id=\"1\">: "_s + whole;
    QTest::newRow("equivalent text and line break")
        << Xliff(Unit(u"A"_s, "<target>a <x id='1' equiv-text='%1'/><x id='2' ctype='lb'/>b</target>"))
        << u"A"_s << u"A=a %1\nb"_s
        << u"7:17: the target of \"A\" is now plain text: \"a %1\\nb\", without <x id=\"1\" "
           u"equiv-text=\"%1\"> "
           u"<x "
           "id=\"2\" ctype=\"lb\">: "_s
            + whole;
    QTest::newRow("comment in the target")
        << Xliff(Unit(u"A"_s, "<target>a<!-- c -->b</target>")) << u"A"_s << u"A=ab"_s
        << u"7:17: the target of \"A\" is now plain text: \"ab\": "_s + whole;
    QTest::newRow("CDATA after text")
        << Xliff(Unit(u"A"_s, "<target>a<![CDATA[<b>]]></target>")) << u"A"_s << u"A=a<b>"_s
        << u"7:17: the target of \"A\" is now plain text: \"a<b>\": "_s + whole;
    QTest::newRow("markup around a mark")
        << Xliff(Unit(u"A"_s, "<target><g id='1'>tr(</g>a)</target>")) << u"A"_s << u"A=tr(a)"_s
        << u"7:17: the target of \"A\" is now plain text: \"tr(a)\", without <g id=\"1\">: "_s + whole;
    QTest::newRow("two files with one name")
        << Xliff(a).replace("</xliff>", File("x/UI.xml", "<body>" + b + "</body>") + "</xliff>") << u"A"_s
        << u"A=a;B=b"_s << u"11:5: \"x/UI.xml\" joined to the file element on line 3: "_s + once;
    QTest::newRow("second file without units")
        << Xliff(a).replace("</xliff>", File("ui.xml", "<body/>") + "</xliff>") << QString() << u"A=a"_s
        << u"11:5: \"ui.xml\" joined to the file element on line 3: "_s + once;
    QTest::newRow("first file without content")
        << Xliff(a).replace("    <file",
                            "    <file original='ui.xml' source-language='en' datatype='xml'/>\n    <file")
        << QString() << u"A=a"_s << u"4:5: \"ui.xml\" joined to the file element on line 3: "_s + once;
    QTest::newRow("all problems at once")
        << Xliff("<group>" + a + "</group>")
               .replace("<body>", "<header/><body>")
               .replace(Id(u"A"_s), "1")
               .replace("</xliff>",
                        File("ui.xml",
                             "<header/><body><group>" + QByteArray(b).replace(">b<", "><g id='1'>b</g><")
                                 + "</group></body>")
                            + "</xliff>")
        << u"A;B"_s << u"A=a;B=b"_s << u"4:9: <header> moved after the body: "_s + first;
}

void tst_ToolXliffRepair::Repair_shapes()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QString, hidden);
    QFETCH(const QString, texts);
    QFETCH(const QString, note);

    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const QString path = mTool->Path(u"de.xlf"_s);
    const auto expected = [&texts](const QString& source) {
        for (const QString& pair : SplitPairs(texts)) {
            if (pair.section(u'=', 0, 0) == source)
                return pair.section(u'=', 1);
        }
        return QString();
    };
    for (const QString& source : SplitPairs(hidden))
        QVERIFY2(Translated(path, source) != expected(source), qPrintable(source));
    QVERIFY(!Findings(u"de.xlf"_s).isEmpty());

    const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
    QCOMPARE(QString::fromUtf8(result.Output).section(u'\n', 0, 0), u"de.xlf:"_s + note);
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    for (const QString& pair : SplitPairs(texts))
        QCOMPARE(Translated(path, pair.section(u'=', 0, 0)), pair.section(u'=', 1));
    QCOMPARE(Findings(u"de.xlf"_s), QStringList());

    // A second repair changes nothing.
    const QByteArray repaired = mTool->Read(u"de.xlf"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: nothing to repair\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), repaired);
    // Comments and notes are kept.
    for (const char* kept : {"<!-- c -->", "<!-- d -->", "<note>n</note>", "state='final'"})
        QCOMPARE(repaired.count(kept), before.count(kept));
}

void tst_ToolXliffRepair::Repair_exactText()
{
    const QByteArray a = Unit(u"A"_s, "<target>a</target>");
    const QByteArray b = Unit(u"B"_s, "<target>b</target>");
    QVERIFY(mTool->Write(
        u"de.xlf"_s,
        Xliff("            <!-- Anna -->\n            <group id=\"g\" xml:space=\"preserve\">\n"
              "                <note>n</note>\n"
              + a + "            </group>\n" + b)
            .replace("        <body>",
                     "        <header>\n            <note>h</note>\n        </header>\n        <body>")));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf:4:9: <header> moved after the body: the library reads only the first child of a file "
             "element [header]\n"
             "de.xlf:9:13: the units in <group id=\"g\" xml:space=\"preserve\"> moved after it: the library "
             "finds only units directly in the body [group]\n"
             "de.xlf: 2 changes; written\n=> 0\n"_s);
    QCOMPARE(
        QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
        QString::fromUtf8(
            Xliff("            <!-- Anna -->\n            <group id=\"g\" xml:space=\"preserve\">\n"
                  "                <note>n</note>\n            </group>\n"
                  + QByteArray(a).replace("\">\n", "\" xml:space=\"preserve\">\n") + b)
                .replace(
                    "        </body>\n",
                    "        </body>\n        <header>\n            <note>h</note>\n        </header>\n")));
}

void tst_ToolXliffRepair::Repair_indentation_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QString>("expected");

    QTest::newRow("around the only element") << QByteArray("\n    <g id='1'>a</g>\n  ") << u"a"_s;
    QTest::newRow("between Windows line endings") << QByteArray("\r\n    <g id='1'>a</g>\r\n  ") << u"a"_s;
    QTest::newRow("in nested elements")
        << QByteArray("\n  <g id='1'>\n    <g id='2'>a</g>\n  </g>\n") << u"a"_s;
    QTest::newRow("between two elements")
        << QByteArray("\n  <g id='1'>a</g>\n  <g id='2'>b</g>\n") << u"a b"_s;
    QTest::newRow("before a space") << QByteArray("<g id='1'>a</g>\n  <g id='2'> b</g>") << u"a b"_s;
    QTest::newRow("after a space") << QByteArray("<g id='1'>a </g>\n  <g id='2'>b</g>") << u"a b"_s;
    QTest::newRow("between two spaces") << QByteArray("<g id='1'>a </g>\n  <g id='2'> b</g>") << u"a  b"_s;
    QTest::newRow("before an equivalent text")
        << QByteArray("<g id='1'>a</g>\n  <x id='2' equiv-text='%1'/>\n") << u"a %1"_s;
    QTest::newRow("around a line break")
        << QByteArray("<g id='1'>a</g>\n  <x id='2' ctype='lb'/>\n  <g id='3'>b</g>") << u"a\nb"_s;
    QTest::newRow("around a comment") << QByteArray("\n  <!-- c -->\n  <g id='1'>a</g>\n") << u"a"_s;
    QTest::newRow("a single space is text") << QByteArray(" <g id='1'>a</g> <g id='2'>b</g> ") << u" a b "_s;
    QTest::newRow("a reference is text") << QByteArray("&#10;<g id='1'>a</g>") << u"\na"_s;
    QTest::newRow("a CDATA section is text") << QByteArray("<![CDATA[\n]]><g id='1'>a</g>") << u"\na"_s;
    QTest::newRow("the whole content of an element is text") << QByteArray("<ph id='1'>\n</ph>a") << u"\na"_s;
    QTest::newRow("white space beside text is text")
        << QByteArray("\n  a <g id='1'>b</g>\n  c") << u"\n  a b\n  c"_s;
}

void tst_ToolXliffRepair::Repair_indentation()
{
    QFETCH(const QByteArray, target);
    QFETCH(const QString, expected);

    const QByteArray file = Xliff(Unit(u"A"_s, "<target>" + target + "</target>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, file));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), expected);
    // With xml:space="preserve", all white space is text.
    QVERIFY(mTool->Write(u"de.xlf"_s, QByteArray(file).replace("<body", "<body xml:space='preserve'")));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    QByteArray text = target;
    text.replace("\r\n", "\n").replace("<![CDATA[\n]]>", "\n").replace("&#10;", "\n");
    text.replace("<x id='2' equiv-text='%1'/>", "%1").replace("<x id='2' ctype='lb'/>", "\n");
    static const QRegularExpression markup(u"<[^>]*>"_s);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), QString::fromUtf8(text).remove(markup));
}

void tst_ToolXliffRepair::Repair_misplaced_data()
{
    QTest::addColumn<QByteArray>("content"); // of the body
    QTest::addColumn<QString>("error");

    const QByteArray inner = "<trans-unit id='2'><source>B</source><target>b</target></trans-unit>";
    const auto unit
        = [](const QByteArray& text) { return "<trans-unit id='1'>\n" + text + "\n</trans-unit>\n"; };
    QTest::newRow("unit in a target")
        << unit("<source>A</source><target>a " + inner + "</target>")
        << u"de.xlf:6:29: the unit is inside the target of the unit on line 5; move it out by hand first"_s;
    QTest::newRow("unit in an element of a target")
        << unit("<source>A</source><target><g id='1'>" + inner + "</g>a</target>")
        << u"de.xlf:6:37: the unit is inside the target of the unit on line 5; move it out by hand first"_s;
    QTest::newRow("unit in a source")
        << unit("<source>A" + inner + "</source><target>a</target>")
        << u"de.xlf:6:10: the unit is inside the source of the unit on line 5; move it out by hand first"_s;
    QTest::newRow("file in a body")
        << "<file original='z.xml'><body>\n" + inner + "</body></file>\n"
        << u"de.xlf:5:1: the file element is inside another element, but must be a child of the root; move "
           "it by hand first"_s;
}

void tst_ToolXliffRepair::Repair_misplaced()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, error);

    const QByteArray before = Xliff(content);
    const QByteArray other = Xliff(Unit(u"A"_s, "<target>x</target>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(mTool->Write(u"other.xlf"_s, QByteArray(other).replace("<body>", "<header/><body>")));
    QCOMPARE(Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s, u"other.xlf"_s}).section(u'\n', -3),
             u"! qvutil: %1\n=> 2\n"_s.arg(error));
    // The other file is repaired.
    QCOMPARE(Translated(mTool->Path(u"other.xlf"_s), u"A"_s), u"x"_s);
    QCOMPARE(Run({u"xliff"_s, u"repair"_s, u"other.xlf"_s}), u"other.xlf: nothing to repair\n=> 0\n"_s);
    const QByteArray repaired = mTool->Read(u"other.xlf"_s);
    // All commands that change files refuse de.xlf.
    const QList<QStringList> commands{{u"fill"_s, u"de.xlf"_s},
                                      {u"merge"_s, u"de.xlf"_s, u"other.xlf"_s},
                                      {u"merge"_s, u"other.xlf"_s, u"de.xlf"_s}};
    for (const QStringList& command : commands)
        QCOMPARE(Run(QStringList{u"xliff"_s} + command), u"! qvutil: %1\n=> 2\n"_s.arg(error));
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    QCOMPARE(mTool->Read(u"other.xlf"_s), repaired);
}

/// Repairs files with elements in random places. Either the repaired file has lost no text, or the file is
/// unchanged and the reason names a line.
void tst_ToolXliffRepair::Repair_anyNesting()
{
    QRandomGenerator random(20260102); // the same files each time
    static const QList<QByteArray> names{"file",   "body",   "group",  "trans-unit",
                                         "source", "target", "header", "alt-trans",
                                         "note",   "g",      "x",      "trans-unit"};
    int refused = 0;
    for (int round = 0; round < 150; ++round) {
        QStringList words;
        const std::function<QByteArray(int)> element = [&](int depth) -> QByteArray {
            const QByteArray name = names.at(random.bounded(names.size()));
            QByteArray text = '<' + name + " id='" + QByteArray::number(random.bounded(5))
                + (name == "file" ? "' original='ui.xml'>" : "'>");
            for (int i = static_cast<int>(random.bounded(depth > 5 ? 1 : 4)); i > 0; --i) {
                words += u"w%1w"_s.arg(words.size());
                text += random.bounded(2) == 0 ? "\n" + element(depth + 1)
                                               : "<source>" + words.constLast().toLatin1() + "</source>";
                words += u"w%1w"_s.arg(words.size());
                text += words.constLast().toLatin1();
            }
            return text + "</" + name + '>';
        };
        QByteArray content;
        for (int i = 0; i < 4; ++i)
            content += element(0) + '\n';
        const QByteArray before = Xliff(content);
        QVERIFY(mTool->Write(u"de.xlf"_s, before));
        const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"--approve"_s, u"de.xlf"_s});
        const QByteArray after = mTool->Read(u"de.xlf"_s);
        if (result.ExitCode == 2) {
            ++refused;
            static const QRegularExpression place(u"^qvutil: de\\.xlf:\\d+:\\d+: the "_s);
            QVERIFY2(place.match(QString::fromUtf8(result.Errors)).hasMatch(),
                     (result.Errors + before).constData());
            QCOMPARE(after, before);
            continue;
        }
        QVERIFY2(result.ExitCode == 0 || result.ExitCode == 1, (result.Errors + before).constData());
        QCOMPARE(result.Errors, QByteArray());
        for (const QString& word : std::as_const(words)) {
            QVERIFY2(after.count(word.toLatin1()) == before.count(word.toLatin1()),
                     (word.toUtf8() + result.Output + before + after).constData());
        }
        QVERIFY2(mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).ExitCode < 2, after.constData());
    }
    QVERIFY(refused > 10 && refused < 140);
}

void tst_ToolXliffRepair::Repair_leaves_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("note");

    const QByteArray a = Unit(u"A"_s, "<target>a</target>");
    QTest::newRow("no file name") << Xliff(a).replace("ui.xml", "ui/")
                                  << u"5:13: left: \"A\" is in a file element whose \"original\" does not "
                                     "name a file: its document is unknown [unreachable]"_s;
    QTest::newRow("unit without a file")
        << Xliff({}).replace("</xliff>", a + "</xliff>")
        << u"7:13: left: \"A\" is not in a file element: its document is unknown [unreachable]"_s;
    QTest::newRow("two languages")
        << Xliff(a).replace("</xliff>",
                            File("ui.xml", "<body>" + a + "</body>").replace("\"de\"", "\"fr\"") + "</xliff>")
        << u"3:5: left: \"ui.xml\" has the same file name as the file element on line 11, but translates en "
           "to de, not en to fr: each language needs its own XLIFF file [duplicate-file]"_s;
    QTest::newRow("unknown text in the target") << Xliff(Unit(u"A"_s, "<target>a <x id='1'/> b</target>"))
                                                << u"7:17: left: the target of \"A\" keeps its markup: the "
                                                   "text for <x> is not in the file [target]"_s;
    QTest::newRow("unknown text in the source")
        << Xliff(a).replace(Id(u"A"_s), "7").replace("<source>A", "<source>A <x id='1'/>")
        << u"5:13: left: \"A \" keeps the id \"7\": its source contains markup for text that is not in the "
           "file [id]"_s;
    QTest::newRow("no source") << Xliff("<trans-unit id='7'><target>a</target></trans-unit>\n")
                               << u"5:1: left: \"\" keeps the id \"7\": it has no source to compute the id "
                                  "from [id]"_s;
}

void tst_ToolXliffRepair::Repair_leaves()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QString, note);

    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(!Findings(u"de.xlf"_s).isEmpty());
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf:%1\nde.xlf: 0 changes, 1 left to fix by hand\n=> 1\n"_s.arg(note));
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
}

void tst_ToolXliffRepair::Repair_leavesAll()
{
    QByteArray units;
    for (const char16_t c : {u'A', u'B', u'C', u'D'})
        units += Unit(QString(QChar(c)), "<target>x</target>");
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(units).replace("ui.xml", "ui/")));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf:5:13: left: 4 units are in a file element whose \"original\" does not name a file: "
             "their document is unknown (5:13 \"A\", 9:13 \"B\", 13:13 \"C\" and 1 more) [unreachable]\n"
             "de.xlf: 0 changes, 4 left to fix by hand\n=> 1\n"_s);
}

void tst_ToolXliffRepair::Repair_sameIds_data()
{
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("other"); // source of a second unit with this id
    QTest::addColumn<QString>("notes");

    const QString unknown = u"its source contains markup for text that is not in the file [id]\n"_s;
    QTest::newRow("id that is not a digest")
        << QByteArray("7") << QByteArray("A <x id='1'/>") << QByteArray("B <x id='1'/>")
        << u"de.xlf:5:1: left: \"A \" keeps the id \"7\": "_s + unknown
            + u"de.xlf:6:1: left: \"B \" keeps the id \"7\": "_s + unknown;
    QTest::newRow("different elements")
        << QByteArray("7") << QByteArray("A <x id='1'/>") << QByteArray("A <x id='2'/>")
        << u"de.xlf:5:1: left: \"A \" keeps the id \"7\": "_s + unknown
            + u"de.xlf:6:1: left: \"A \" keeps the id \"7\": "_s + unknown;
    QTest::newRow("id that is a digest")
        << QByteArray(32, 'a') << QByteArray("A <x id='1'/>") << QByteArray("B <x id='1'/>")
        << u"de.xlf:5:1: left: \"A \" has the same id as the unit on line 6, but a "
           "different source: the library finds only one unit for each id [duplicate-unit]\n"_s;
}

void tst_ToolXliffRepair::Repair_sameIds()
{
    QFETCH(const QByteArray, id);
    QFETCH(const QByteArray, source);
    QFETCH(const QByteArray, other);
    QFETCH(const QString, notes);

    const auto unit = [&id](const QByteArray& text, const QByteArray& target) {
        return "<trans-unit id='" + id + "'><source>" + text + "</source><target>" + target
            + "</target></trans-unit>\n";
    };
    const QByteArray before = Xliff(unit(source, "a") + unit(other, "b"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
             notes + u"de.xlf: 0 changes, %1 left to fix by hand\n=> 1\n"_s.arg(notes.count(u'\n')));
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
}

void tst_ToolXliffRepair::Repair_joinedContent_data()
{
    QTest::addColumn<QByteArray>("dropped"); // content of a unit that is joined to another
    QTest::addColumn<QByteArray>("kept"); // content of the other unit after its target
    QTest::addColumn<QStringList>("words"); // each must be in the result once

    const QByteArray b = Unit(u"B"_s, "<target>b</target>");
    const QByteArray a = "<source>A</source><target>x</target>";
    QTest::newRow("comments between elements")
        << QByteArray("<!-- 1 --><source>A</source><!-- 2 --><target>x</target><?p 3 ?>") << QByteArray()
        << QStringList{u"<!-- 1 -->"_s, u"<!-- 2 -->"_s, u"<?p 3 ?>"_s, u"<target>x</target>"_s};
    QTest::newRow("comments in elements")
        << QByteArray("<source><!-- 1 -->A</source><target>x<!-- 2 --></target><note>n<!-- 3 --></note>")
        << QByteArray() << QStringList{u"<!-- 1 -->"_s, u"<!-- 2 -->"_s, u"<!-- 3 -->"_s, u"<note>n"_s};
    QTest::newRow("comment in an empty target") << QByteArray("<source>A</source><target><!-- 1 --></target>")
                                                << QByteArray() << QStringList{u"<!-- 1 -->"_s};
    QTest::newRow("CDATA that looks like a comment")
        << QByteArray("<source>A</source><target><![CDATA[<!-- 1 -->]]></target>") << QByteArray()
        << QStringList{u"<!-- 1 -->"_s};
    QTest::newRow("note beside a unit")
        << a + "<t:more><note>n</note>" + b + "</t:more>" << QByteArray()
        << QStringList{u"<note>n</note>"_s, u"<target>b</target>"_s, u"<t:more>"_s};
    QTest::newRow("note of a unit in the unit")
        << a + QByteArray(b).replace("</trans-unit>", "<note>n</note></trans-unit>") << QByteArray()
        << QStringList{u"<note>n</note>"_s, u"<target>b</target>"_s};
    QTest::newRow("note, and a unit in the unit that is kept")
        << a + "<note>n</note>" << b.trimmed()
        << QStringList{u"<note>n</note>"_s, u"<target>b</target>"_s, u"<target>x</target>"_s};
    QTest::newRow("comment in the target that is kept, before a unit")
        << a << b.trimmed() << QStringList{u"<!-- k -->"_s, u"<target>b</target>"_s, u"<target>x</target>"_s};
}

void tst_ToolXliffRepair::Repair_joinedContent()
{
    QFETCH(const QByteArray, dropped);
    QFETCH(const QByteArray, kept);
    QFETCH(const QStringList, words);

    const auto unit = [](const QByteArray& content) {
        return "<trans-unit id='" + Id(u"A"_s) + "'>" + content + "</trans-unit>\n";
    };
    const QByteArray target = "<source>A</source><target>a<!-- k -->b</target>";
    QVERIFY(mTool->Write(
        u"de.xlf"_s,
        Xliff(unit(dropped) + unit(target + kept)).replace("<xliff", "<xliff xmlns:t=\"urn:t\"")));
    const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
    QCOMPARE(result.ExitCode, 0);
    const QByteArray after = mTool->Read(u"de.xlf"_s);
    for (const QString& word : words)
        QVERIFY2(after.count(word.toUtf8()) == 1, (word.toUtf8() + " in\n" + after).constData());
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"ab"_s);
    QCOMPARE(Findings(u"de.xlf"_s), QStringList());
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: nothing to repair\n=> 0\n"_s);
}

void tst_ToolXliffRepair::Repair_alternatives()
{
    const QByteArray kept = Unit(u"A"_s, "<target state='final'>a</target>");
    const QByteArray other
        = Unit(u"A"_s, "<target>b <g id='1'>c</g></target>\n                <note>n</note>", 0,
               " resname=\"first\"");
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>") + other + kept)));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
        u"de.xlf:5:13: \"A\" joined to the unit on line 14: the library finds only one unit for each id "
        "[duplicate-unit]\n"
        "de.xlf:9:13: \"A\" joined to the unit on line 14, with \"b c\" as an alternative to \"a\", without "
        "resname=\"first\": the library finds only one unit for each id [duplicate-unit]\n"
        "de.xlf: 2 changes; written\n=> 0\n"_s);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(
                 Xliff(Unit(u"A"_s,
                            "<target state='final'>a</target>\n"
                            "                <alt-trans><target>b <g id='1'>c</g></target></alt-trans>\n"
                            "                <note>n</note>"))));
    // Units without a source are joined too, although their id stays as it is.
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff("<trans-unit id='7'><target>a</target></trans-unit>\n"
                               "<trans-unit id='7'>\n  <target>b</target>\n</trans-unit>\n")));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 1);
    QCOMPARE(mTool->Read(u"de.xlf"_s),
             Xliff("<trans-unit id='7'>\n  <target>b</target>\n"
                   "  <alt-trans><target>a</target></alt-trans>\n</trans-unit>\n"));
    // A unit with a translation is kept, even if the library finds the unit without a target.
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(kept + Unit(u"A"_s, "<target/>"))));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), QString::fromLatin1(Id(u"A"_s)));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"a"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), Xliff(kept));
}

// The library finds these units, so their ids are right although they are not the digests of the sources.
void tst_ToolXliffRepair::Repair_keepsRightIds_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("text"); // the id is the digest of this text
    QTest::addColumn<bool>("isLeft");

    QTest::newRow("reindented") << QByteArray("\n    Save it\n  ") << u"Save it"_s << false;
    QTest::newRow("split into lines") << QByteArray("\n    Save\n    it\n  ") << u"Save it"_s << false;
    QTest::newRow("markup") << QByteArray("Click <g id='1'>here</g>") << u"Click <b>here</b>"_s << true;
    QTest::newRow("codes") << QByteArray("Click <bpt id='1'/>here<ept id='1'/>") << u"Click <b>here</b>"_s
                           << true;
}

void tst_ToolXliffRepair::Repair_keepsRightIds()
{
    QFETCH(const QByteArray, source);
    QFETCH(const QString, text);
    QFETCH(const bool, isLeft);

    const QByteArray file = Xliff("<trans-unit id='" + Id(text) + "'><source>" + source
                                  + "</source><target>a</target></trans-unit>\n");
    QVERIFY(mTool->Write(u"de.xlf"_s, file));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), text), u"a"_s);
    const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
    QCOMPARE(result.ExitCode, isLeft ? 1 : 0);
    QCOMPARE(result.Output.contains("its source contains markup"), isLeft);
    QCOMPARE(mTool->Read(u"de.xlf"_s), file);
}

// A target without text, or with other markup, is kept too.
void tst_ToolXliffRepair::Repair_keepsMarkupTargets()
{
    const QByteArray first = Unit(u"A"_s, "<target>a</target>");
    for (const QByteArray other : {"<target><x id='9'/></target>", "<target><![CDATA[ ]]></target>"}) {
        QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(first + Unit(u"A"_s, other))));
        (void)mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
        QVERIFY2(mTool->Read(u"de.xlf"_s).contains("<alt-trans>" + other + "</alt-trans>"),
                 mTool->Read(u"de.xlf"_s).constData());
    }
    const QByteArray marked = "<target>b<x id='9'/></target>";
    QVERIFY(
        mTool->Write(u"de.xlf"_s, Xliff(first + Unit(u"A"_s, "<target>b</target>") + Unit(u"A"_s, marked))));
    (void)mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
    QVERIFY2(mTool->Read(u"de.xlf"_s).contains(marked), mTool->Read(u"de.xlf"_s).constData());
}

// Of two units with one source, the unit that the library finds is kept.
void tst_ToolXliffRepair::Repair_keepsFoundUnit()
{
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target state='final'>a</target>")
                               + Unit(u"A"_s, "<target state='needs-review-translation'>b</target>"))));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"b"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"b"_s);
}

// Line breaks in attributes must not look like the start of another finding.
void tst_ToolXliffRepair::Repair_attributesOnOneLine()
{
    QVERIFY(mTool->Write(
        u"de.xlf"_s,
        Xliff("<group restype='a\nde.xlf:1:1: b'>" + Unit(u"A"_s, "<target>a</target>") + "</group>\n")));
    const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
    QVERIFY2(!result.Output.contains("\nde.xlf:1:1"), result.Output.constData());
}

void tst_ToolXliffRepair::Repair_joinedFileHasSourceLanguage()
{
    const QByteArray units = "<body>" + Unit(u"A"_s, "<target>a</target>") + "</body>";
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         "<xliff version='1.2'><file original='a.xml'>" + units
                             + "</file><file original='a.xml' source-language='en'>" + units
                             + "</file></xliff>"));
    (void)mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
    QVERIFY2(mTool->Read(u"de.xlf"_s).contains("source-language=\"en\""),
             mTool->Read(u"de.xlf"_s).constData());
}

void tst_ToolXliffRepair::Repair_cleanFile()
{
    const QByteArray clean = Xliff(Unit(u"A"_s, "<target>a</target>") + Unit(u"B"_s, "<target/>"))
                                 .replace("</body>\n", "</body>\n        <header/>\n")
        + "\n<!-- end -->\n";
    QVERIFY(mTool->Write(u"de.xlf"_s, clean));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: nothing to repair\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), clean);
    // An output file is written even if nothing changes.
    const QStringList output{u"xliff"_s, u"repair"_s, u"de.xlf"_s, u"-o"_s, u"out.xlf"_s};
    const QStringList tried = output + QStringList{u"--dry-run"_s};
    for (const QStringList& arguments : {tried, tried + QStringList{u"--json"_s}})
        QCOMPARE(mTool->Run(arguments).ExitCode, 1);
    QVERIFY(mTool->Run(tried).Output.endsWith("\nout.xlf: nothing to repair; would change\n"));
    QVERIFY(!QFile::exists(mTool->Path(u"out.xlf"_s)));
    QCOMPARE(mTool->Run(output).ToText(), u"out.xlf: nothing to repair; written\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"out.xlf"_s), clean);
    for (const QStringList& arguments : {tried, tried + QStringList{u"--json"_s}})
        QCOMPARE(mTool->Run(arguments).ExitCode, 0);
    QCOMPARE(mTool->Run(tried).ToText(), u"out.xlf: nothing to repair\n=> 0\n"_s);
    // A header that hides no units stays in the place that XLIFF requires.
    const QByteArray empty = Xliff({}).replace("<body>", "<header/><body>");
    QVERIFY(mTool->Write(u"de.xlf"_s, empty));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(mTool->Read(u"de.xlf"_s), empty);
}

void tst_ToolXliffRepair::Repair_dryRun()
{
    const QByteArray before
        = Xliff(Unit(u"A"_s, "<target>a</target>")).replace("<body>", "<header/>\n        <body>");
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const ToolResult tried = mTool->Run({u"xliff"_s, u"repair"_s, u"--dry-run"_s, u"de.xlf"_s});
    QCOMPARE(tried.ExitCode, 1);
    QVERIFY(tried.Output.startsWith("--- de.xlf\n+++ de.xlf\n@@ -"));
    QVERIFY(tried.Output.endsWith("[header]\nde.xlf: 1 change; would change\n"));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"--dry-run"_s, u"--json"_s, u"de.xlf"_s}).ExitCode, 1);
    // An output file that is already up to date does not differ.
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s, u"-o"_s, u"out.xlf"_s}).ExitCode, 0);
    const QStringList again{u"xliff"_s, u"repair"_s, u"--dry-run"_s, u"de.xlf"_s, u"-o"_s, u"out.xlf"_s};
    QCOMPARE(mTool->Run(again).ExitCode, 0);
    QCOMPARE(mTool->Run(again + QStringList{u"--json"_s}).ExitCode, 0);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    // Applying the printed difference has the same effect as the repair.
    QCOMPARE(mTool
                 ->RunShell(u"\"$TOOL\" xliff repair --dry-run de.xlf > de.patch; "
                            "patch -s -o patched.xlf de.xlf de.patch"_s)
                 .ToText(),
             u"=> 0\n"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(mTool->Read(u"patched.xlf"_s), mTool->Read(u"de.xlf"_s));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"--dry-run"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: nothing to repair\n=> 0\n"_s);
}

void tst_ToolXliffRepair::Repair_json()
{
    QVERIFY(mTool->Write(
        u"de.xlf"_s,
        Xliff(Unit(u"A"_s, "<target>a</target>") + "<trans-unit id='7'/>\n").replace(Id(u"A"_s), "1")));
    const ToolResult result
        = mTool->Run({u"xliff"_s, u"repair"_s, u"--json"_s, u"de.xlf"_s, u"-o"_s, u"out.xlf"_s});
    QCOMPARE(result.ExitCode, 1);
    const QByteArray expected
        = "[{\"file\": \"de.xlf\", \"output\": \"out.xlf\", \"changed\": true, \"written\": true, "
          "\"changes\": "
          "[{\"line\": 5, \"column\": 13, \"kind\": \"id\", \"what\": \"the id of \\\"A\\\" changed "
          "from \\\"1\\\" to "
        + Id(u"A"_s)
        + "\", \"why\": \"the library finds a text by its digest\"}], \"left\": [{\"line\": 9, "
          "\"column\": 1, \"kind\": \"id\", \"what\": \"\\\"\\\" keeps the id \\\"7\\\"\", \"why\": \"it has "
          "no source to compute the id from\"}]}]";
    QCOMPARE(QJsonDocument::fromJson(result.Output), QJsonDocument::fromJson(expected));
}

void tst_ToolXliffRepair::Repair_usage()
{
    QCOMPARE(Run({u"xliff"_s, u"repair"_s, u"a"_s, u"b"_s, u"-o"_s, u"c"_s}),
             u"! qvutil: --output takes one XLIFF file\n! Try 'qvutil xliff repair --help'.\n=> 2\n"_s);
    QCOMPARE(Run({u"xliff"_s, u"repair"_s, u"-"_s}),
             u"! qvutil: standard input needs --output\n! Try 'qvutil xliff repair --help'.\n=> 2\n"_s);
    QVERIFY(mTool->Write(u"bad.xlf"_s, "<xliff"));
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>")).replace("<body>", "<header/><body>")));
    const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"bad.xlf"_s, u"de.xlf"_s});
    QCOMPARE(result.ExitCode, 2);
    QVERIFY(result.Output.endsWith("de.xlf: 1 change; written\n")); // the other file is still repaired
    QCOMPARE(mTool->Read(u"bad.xlf"_s), QByteArray("<xliff"));
}

void tst_ToolXliffRepair::Repair_encodings()
{
    // Byte order marks, line endings, and characters that the encoding lacks.
    const QByteArray bom = "\xef\xbb\xbf"
        + Xliff("<group>\n" + Unit(u"Ä"_s, "<target>a <g id='1'>\xe3\x81\x82</g></target>") + "</group>\n")
              .replace("\n", "\r\n");
    QVERIFY(mTool->Write(u"de.xlf"_s, bom));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    const QByteArray repaired = mTool->Read(u"de.xlf"_s);
    QVERIFY(repaired.startsWith("\xef\xbb\xbf<?xml"));
    QCOMPARE(repaired.count('\n'), repaired.count("\r\n"));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"Ä"_s), u"a あ"_s);

    const QByteArray latin
        = Xliff(Unit(u"A"_s, "<target><g id='1'>&#x3042;\xe4</g></target>")).replace("UTF-8", "ISO-8859-1");
    QVERIFY(mTool->Write(u"de.xlf"_s, latin));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"あä"_s);
}

/// Repairs files with random combinations of problems. No target, note or comment may be lost.
void tst_ToolXliffRepair::Repair_anyFile()
{
    QRandomGenerator random(20260101); // the same files each time
    const auto chance = [&random](int percent) { return static_cast<int>(random.bounded(100)) < percent; };
    for (int round = 0; round < 60; ++round) {
        QStringList sources;
        QStringList words; // each is in one target, note or comment
        const auto newWord = [&words] {
            words += u"w%1w"_s.arg(words.size());
            return words.constLast().toLatin1();
        };
        const std::function<QByteArray()> unit = [&]() -> QByteArray {
            const QString source = QString(QChar(u'A' + random.bounded(12)));
            sources += source;
            QByteArray target = "<target>" + newWord() + "</target>";
            if (chance(20))
                target.replace("<target>", "<target>t <g id='1'>").replace("</target>", "</g></target>");
            if (chance(10))
                target.replace("<target>", "<target><!-- " + newWord() + " -->");
            if (chance(10))
                target += "<!-- " + newWord() + " -->";
            if (chance(20))
                target += "<note>" + newWord() + "</note>";
            if (chance(10))
                target += "<t:more><note>" + newWord() + "</note>" + unit() + "</t:more>";
            if (chance(10))
                target += unit().trimmed();
            QByteArray text = Unit(source, target);
            if (chance(20))
                text.replace("\n            </trans-unit>", "</trans-unit>");
            if (chance(30))
                text.replace(Id(source), QByteArray::number(words.size()));
            return text;
        };
        QByteArray files;
        for (int file = 1 + static_cast<int>(random.bounded(3)); file > 0; --file) {
            QByteArray body;
            int depth = 0;
            for (int i = static_cast<int>(random.bounded(6)); i > 0; --i) {
                if (chance(30)) {
                    body += chance(50) ? "<group>\n" : "<group><note>n</note><!-- c -->";
                    ++depth;
                }
                body += unit();
                if (depth > 0 && chance(30)) {
                    body += "</group>\n";
                    --depth;
                }
            }
            body += QByteArray("</group>").repeated(depth);
            QByteArray content = "<body>" + body + "</body>";
            if (chance(40))
                content.prepend("<header><note>h</note></header>\n");
            if (chance(15))
                content += "\n<body>" + unit() + "</body>";
            if (chance(15))
                content += unit();
            files += File(chance(50) ? "ui.xml" : "x/UI.xml", content);
        }
        const QByteArray before = "<xliff version=\"1.2\" xmlns:t=\"urn:t\">\n" + files + "</xliff>\n";
        QVERIFY(mTool->Write(u"de.xlf"_s, before));
        const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
        QVERIFY2(result.ExitCode == 0, (result.Output + result.Errors + before).constData());
        const QByteArray after = mTool->Read(u"de.xlf"_s);
        QVERIFY2(Findings(u"de.xlf"_s).isEmpty(),
                 (Findings(u"de.xlf"_s).join(u'\n').toUtf8() + before + after).constData());
        for (const QString& word : std::as_const(words))
            QVERIFY2(after.count(word.toLatin1()) == 1, (word.toUtf8() + before + after).constData());
        QCOMPARE(after.count("<!-- c -->"), before.count("<!-- c -->"));
        QCOMPARE(after.count("<note>"), before.count("<note>"));
        const XlfTranslator translator(mTool->Path(u"de.xlf"_s));
        for (const QString& source : std::as_const(sources)) {
            const QString target = translator.Translate(source, u"ui.xml"_s);
            QVERIFY2(target.endsWith(u'w'), (source.toUtf8() + before + after).constData());
        }
        QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s}).ToText(),
                 u"de.xlf: nothing to repair\n=> 0\n"_s);
    }
}

void tst_ToolXliffRepair::Repair_largeFile()
{
    QByteArray files;
    constexpr int kFiles = 100;
    constexpr int kUnits = 200;
    for (int file = 0; file < kFiles; ++file) {
        QByteArray units;
        for (int i = 0; i < kUnits; ++i) {
            units += Unit(u"Text %1"_s.arg(i),
                          "<target>t <g id='1'>" + QByteArray::number(file) + "</g></target>")
                         .replace(Id(u"Text %1"_s.arg(i)), QByteArray::number(i));
        }
        files += File("f" + QByteArray::number(file) + ".xml",
                      "<header/><body><group>\n" + units + "</group></body>\n");
    }
    QVERIFY(mTool->Write(u"de.xlf"_s, "<xliff version=\"1.2\">\n" + files + "</xliff>\n"));
    QElapsedTimer timer;
    timer.start();
    const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"de.xlf"_s});
    qInfo("%d units in %lld ms", kFiles * kUnits, timer.elapsed());
    QCOMPARE(result.ExitCode, 0);
    // The changed ids share one line; each target has its own line.
    QCOMPARE(result.Output.count('\n'), kFiles * kUnits + kFiles * 2 + 1 + 1);
    const XlfTranslator translator(mTool->Path(u"de.xlf"_s));
    QCOMPARE(translator.Translate(u"Text 199"_s, u"f99.xml"_s), u"t 99"_s);
    QCOMPARE(Findings(u"de.xlf"_s), QStringList());
}

/// Except for the place of headers, a repaired file is valid XLIFF.
void tst_ToolXliffRepair::Repair_rules()
{
    const QByteArray a = Unit(u"A"_s, "<target>a</target>");
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff("<group id='1' restype='x'><note>n</note>\n" + a
                               + Unit(u"B"_s, "<target><g id='1'>b</g></target>") + "</group>\n"
                               + Unit(u"A"_s, "<target>b</target>\n<note>n</note>"))
                             .replace("</xliff>", File("UI.xml", "<body>" + a + "</body>") + "</xliff>")));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"--approve"_s, u"de.xlf"_s}).ExitCode, 0);
    const ToolResult result = mTool->RunShell(u"xmllint --noout --relaxng '%1' de.xlf"_s.arg(
        QStringLiteral(QVUTIL_SOURCE_DIR "/tests/data/xliff-1.2.rng")));
    QVERIFY2(result.ExitCode == 0, result.Errors.constData());
}

void tst_ToolXliffRepair::Approve_progress()
{
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>a</target>")
                               + Unit(u"B"_s, "<target state=\"final\">b</target>")
                               + Unit(u"C"_s, "<target state=\"needs-review-translation\">c</target>")
                               + Unit(u"D"_s, "<target/>", 0, " approved=\"yes\"")
                               + Unit(u"E"_s, "<target>e</target>", 0, " approved=\"no\"")
                               + Unit(u"F"_s, "<target state=\"new\">f</target>", 0, " approved=\"yes\""))));
    const ToolResult before = mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s});
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"--approve"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf:5:13: \"A\" set to approved=\"yes\": its target is finished [approved]\n"
             "de.xlf:9:13: \"B\" set to approved=\"yes\": its target is finished [approved]\n"
             "de.xlf:17:13: \"D\" set to approved=\"no\": it has no target [approved]\n"
             "de.xlf:21:13: \"E\" set to approved=\"yes\": its target is finished [approved]\n"
             "de.xlf: 4 changes; written\n=> 0\n"_s);
    const QByteArray yes = " approved=\"yes\"";
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(Xliff(Unit(u"A"_s, "<target state=\"translated\">a</target>", 0, yes)
                                     + Unit(u"B"_s, "<target state=\"final\">b</target>", 0, yes)
                                     + Unit(u"C"_s, "<target state=\"needs-review-translation\">c</target>")
                                     + Unit(u"D"_s, "<target/>", 0, " approved=\"no\"")
                                     + Unit(u"E"_s, "<target state=\"translated\">e</target>", 0, yes)
                                     + Unit(u"F"_s, "<target state=\"new\">f</target>", 0, yes))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s}).ToText(), before.ToText());
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"--approve"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: nothing to repair\n=> 0\n"_s);
}

void tst_ToolXliffRepair::Approve_agreesWithStat_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<bool>("isFinished");

    QTest::newRow("text") << QByteArray("<target>a</target>") << true;
    QTest::newRow("blank CDATA section") << QByteArray("<target><![CDATA[ ]]></target>") << true;
    QTest::newRow("mark") << QByteArray("<target>tr(a)</target>") << true;
    QTest::newRow("mark around a space") << QByteArray("<target>tr( )</target>") << true;
    QTest::newRow("mark without a text") << QByteArray("<target>tr()</target>") << false;
    QTest::newRow("mark in a CDATA section") << QByteArray("<target><![CDATA[tr()]]></target>") << true;
    QTest::newRow("element around a space") << QByteArray("<target><g id='1'> </g></target>") << false;
    QTest::newRow("indentation") << QByteArray("<target>\n  </target>") << false;
    QTest::newRow("comment") << QByteArray("<target><!-- a --></target>") << false;
}

void tst_ToolXliffRepair::Approve_agreesWithStat()
{
    QFETCH(const QByteArray, target);
    QFETCH(const bool, isFinished);

    for (const bool wasApproved : {false, true}) {
        const QByteArray approved = " approved=\"yes\"";
        QVERIFY(
            mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, target, 0, wasApproved ? approved : QByteArray()))));
        const QStringList stat{u"xliff"_s, u"stat"_s, u"de.xlf"_s};
        const QString before = Run(stat);
        QVERIFY2(before.contains(isFinished ? u"1 of 1"_s : u"0 of 1"_s), qPrintable(before));
        QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"--approve"_s, u"de.xlf"_s}).ExitCode, 0);
        const QByteArray after = mTool->Read(u"de.xlf"_s);
        QVERIFY2(after.contains(approved) == isFinished, after.constData());
        QCOMPARE(Run(stat), before);
    }
}

void tst_ToolXliffRepair::Approve_leaves_data()
{
    QTest::addColumn<QByteArray>("before");

    const QByteArray a = Unit(u"A"_s, "<target>a</target>");
    const QByteArray approved = Unit(u"A"_s, "<target>a <x id='1'/></target>", 0, " approved=\"yes\"");
    QTest::newRow("no source") << Xliff("<trans-unit id='7'><target>a</target></trans-unit>\n");
    QTest::newRow("unknown text in the target") << Xliff(Unit(u"A"_s, "<target>a <x id='1'/></target>"));
    QTest::newRow("target begins with unknown text") << Xliff(Unit(u"A"_s, "<target><x id='1'/>a</target>"));
    QTest::newRow("only unknown text, approved")
        << Xliff(QByteArray(approved).replace("<target>a ", "<target>"));
    QTest::newRow("unknown text in an approved target") << Xliff(approved);
    QTest::newRow("no file name") << Xliff(a).replace("ui.xml", "ui/");
    QTest::newRow("no file") << Xliff({}).replace("</xliff>", a + "</xliff>");
}

void tst_ToolXliffRepair::Approve_leaves()
{
    QFETCH(const QByteArray, before);

    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const ToolResult result = mTool->Run({u"xliff"_s, u"repair"_s, u"--approve"_s, u"de.xlf"_s});
    QVERIFY2(result.Output.endsWith("\nde.xlf: 0 changes, 1 left to fix by hand\n"),
             result.Output.constData());
    QCOMPARE(result.ExitCode, 1);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
}

void tst_ToolXliffRepair::Approve_linguist()
{
    // Linguist keeps the name of a document only for units with a line.
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>a</target>", 1) + Unit(u"B"_s, "<target>b</target>", 2)
                               + Unit(u"C"_s, "<target state=\"needs-review-translation\">c</target>", 3)
                               + Unit(u"D"_s, "<target/>", 4))));
    const QString convert = u"'%1' de.xlf -o de.ts && grep -c 'type=\"unfinished\"' de.ts"_s.arg(
        QStringLiteral(QVUTIL_LCONVERT));
    const ToolResult before = mTool->RunShell(convert);
    QVERIFY2(before.ExitCode == 0, "lconvert is needed: Debian's package qt6-l10n-tools");
    QCOMPARE(before.Output, QByteArray("4\n"));
    QCOMPARE(mTool->Run({u"xliff"_s, u"repair"_s, u"--approve"_s, u"de.xlf"_s}).ExitCode, 0);
    // Linguist now shows the same progress, and writes it to XLIFF.
    QCOMPARE(mTool->RunShell(convert).Output, QByteArray("2\n"));
    QVERIFY(mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s})
                .Output.contains("2 of 4   50 %  1 unfinished, 1 empty"));
    QCOMPARE(mTool->RunShell(u"'%1' de.xlf -o back.xlf"_s.arg(QStringLiteral(QVUTIL_LCONVERT))).ExitCode, 0);
    QVERIFY(mTool->Run({u"xliff"_s, u"stat"_s, u"back.xlf"_s})
                .Output.contains("2 of 4   50 %  1 unfinished, 1 empty"));
}

QTEST_GUILESS_MAIN(tst_ToolXliffRepair)
#include "tst_ToolXliffRepair.moc"
