// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests the commands `qvutil xliff`: each test runs the real tool on real files, and compares everything that
// it prints and writes. Lines that begin with "! " are from standard error; "=> " is the exit code.

#include "support/ToolTest.h"
#include "support/XliffSupport.h"

#include <qvutil/XmlFiler.h>

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using Quorvin::Util::XlfTranslator;
using TestSupport::Id;
using TestSupport::ToolResult;
using TestSupport::ToolRunner;
using TestSupport::Translated;
using TestSupport::Unit;
using TestSupport::Xliff;

namespace {

constexpr const char* kDocument = R"xml(<?xml version="1.0"?>
<Window Title="tr(Main)">
    <Button Text="tr(Save %1)" Hint="plain"
            Tip="tr(Save it)"/>
    <Label>tr(Main)</Label>
    <Data><![CDATA[tr(data)]]></Data>
    <Label><Icon/>tr(not first)</Label>
    <Label> TR ( Spaced ) </Label>
    <Empty Text="tr()" Blank="tr( )"/>
</Window>
)xml";

ToolResult RunOther(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    ToolResult result;
    if (process.waitForStarted() && process.waitForFinished(ToolRunner::kTimeoutMs)) {
        result.ExitCode = process.exitCode();
        result.Output = process.readAllStandardOutput();
        result.Errors = process.readAllStandardError();
    }
    return result;
}

} // namespace

class tst_ToolXliff : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    // extract
    void Extract_newFile();
    void Extract_twiceChangesNothing();
    void Extract_findsMarks_data();
    void Extract_findsMarks();
    void Extract_update_data();
    void Extract_update();
    void Extract_keepsEverythingElse();
    void Extract_prune();
    void Extract_pruneNeedsAllDocuments();
    void Extract_missingDocument();
    void Extract_reuse();
    void Extract_severalLanguages();
    void Extract_dryRun();
    void Extract_folders();
    void Extract_sameFileName();
    void Extract_malformedDocument();
    void Extract_refusals_data();
    void Extract_refusals();
    void Extract_json();
    void Extract_encodings_data();
    void Extract_encodings();
    void Extract_failedWriteKeepsFile();
    void Extract_unreachableUnits();
    void Extract_thousandDocuments();
    void Extract_progressBar();

    // check
    void Check_clean();
    void Check_findings_data();
    void Check_findings();
    void Check_documents();
    void Check_allow_data();
    void Check_allow();
    void Check_duplicateFiles();
    void Check_sameFindings();
    void Check_inlineElements_data();
    void Check_inlineElements();
    void Check_json();
    void Check_unusable_data();
    void Check_unusable();

    // fill, stat, show
    void Fill_source();
    void Fill_pseudo_data();
    void Fill_pseudo();
    void Fill_skipsMarkup();
    void Fill_output();
    void Fill_dryRun();
    void Fill_removesApproval();
    void Fill_all();
    void Fill_allKeepsTranslations();
    void Fill_usage();
    void List_texts_data();
    void List_texts();
    void List_unreachable();
    void List_json();
    void Stat_table();
    void Stat_json();
    void Show_visibleTexts();
    void Show_json();
    void Show_likeTheLibrary();

    // all commands
    void Help_data();
    void Help();
    void Rules_data();
    void Rules();
    void Linguist_roundTrip();
    void Samples();
};

void tst_ToolXliff::Extract_newFile()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, kDocument));
    const ToolResult result
        = mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s});
    QCOMPARE(result.ToText(), u"de.xlf: 4 texts in 1 document: 0 kept, 4 new; written\n=> 0\n"_s);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(Xliff(Unit(u"Main"_s, "<target/>", 2) + Unit(u"Save %1"_s, "<target/>", 3)
                                     + Unit(u"Save it"_s, "<target/>", 4)
                                     + Unit(u" Spaced "_s, "<target/>", 8, " xml:space=\"preserve\""))));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"Main"_s), QString::fromLatin1(Id(u"Main"_s)));
}

void tst_ToolXliff::Extract_twiceChangesNothing()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, kDocument));
    const QStringList arguments{u"xliff"_s, u"extract"_s, u"."_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s};
    QCOMPARE(mTool->Run(arguments).ExitCode, 0);
    const QByteArray first = mTool->Read(u"de.xlf"_s);
    // The file now contains the language. An unchanged file is not written.
    QVERIFY(QFile::setPermissions(mTool->Path(u"de.xlf"_s), QFile::ReadOwner));
    const QDateTime time = QFileInfo(mTool->Path(u"de.xlf"_s)).lastModified();
    QCOMPARE(mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-o"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: 4 texts in 1 document: 4 kept, 0 new; unchanged\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), first);
    QCOMPARE(QFileInfo(mTool->Path(u"de.xlf"_s)).lastModified(), time);
}

void tst_ToolXliff::Extract_findsMarks_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QStringList>("texts");

    QTest::newRow("attribute") << QByteArray("<a b='tr(x)'/>") << QStringList{u"x"_s};
    QTest::newRow("first text") << QByteArray("<a>tr(x)<b/></a>") << QStringList{u"x"_s};
    QTest::newRow("text after white space and an element")
        << QByteArray("<a> <b/>tr(x)</a>") << QStringList();
    QTest::newRow("text after a comment") << QByteArray("<a><!-- c -->tr(x)</a>") << QStringList();
    QTest::newRow("CDATA section") << QByteArray("<a><![CDATA[tr(x)]]></a>") << QStringList();
    QTest::newRow("text split by a comment") << QByteArray("<a>tr(x<!-- c -->)</a>") << QStringList();
    QTest::newRow("comment that looks like an element")
        << QByteArray("<a><!-- <b c='tr(x)'/> --></a>") << QStringList();
    QTest::newRow("different case and white space")
        << QByteArray("<a b=' TR ( x ) '/>") << QStringList{u" x "_s};
    QTest::newRow("no closing parenthesis") << QByteArray("<a b='tr(x'/>") << QStringList();
    QTest::newRow("text before the mark") << QByteArray("<a b='a tr(x)'/>") << QStringList();
    QTest::newRow("mark in a mark") << QByteArray("<a b='tr(tr(x))'/>") << QStringList{u"tr(x)"_s};
    QTest::newRow("quotes are kept") << QByteArray("<a b='tr(\"x\")'/>") << QStringList{u"\"x\""_s};
    QTest::newRow("references") << QByteArray("<a b='tr(&lt;&#65;&amp;)'/>") << QStringList{u"<A&"_s};
    QTest::newRow("line break in an attribute becomes a space")
        << QByteArray("<a b='tr(x\ny)'/>") << QStringList{u"x y"_s};
    QTest::newRow("line break in content") << QByteArray("<a>tr(x\r\ny)</a>") << QStringList{u"x\ny"_s};
    QTest::newRow("entity declared in the document")
        << QByteArray("<!DOCTYPE a [<!ENTITY p 'Waypost'>]><a b='tr(&p;)'/>") << QStringList{u"Waypost"_s};
    QTest::newRow("entity that contains markup")
        << QByteArray("<!DOCTYPE a [<!ENTITY p '<q r=\"tr(y)\"/>'>]><a z='tr(2)' b='tr(1)'>&p;</a>")
        << QStringList{u"1"_s, u"2"_s, u"y"_s};
    QTest::newRow("order of the document")
        << QByteArray("<a z='tr(1)' b='tr(2)' m='tr(3)'>tr(4)<b>tr(5)</b></a>")
        << QStringList{u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s};
    QTest::newRow("each text once") << QByteArray("<a z='tr(1)' b='tr(1)'>tr(1)</a>") << QStringList{u"1"_s};
    QTest::newRow("only white space") << QByteArray("<a b='tr()' c='tr( )'/>") << QStringList();
}

void tst_ToolXliff::Extract_findsMarks()
{
    QFETCH(const QByteArray, document);
    QFETCH(const QStringList, texts);

    QVERIFY(mTool->Write(u"ui.xml"_s, document));
    const ToolResult result = mTool->Run(
        {u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s, u"--json"_s});
    QCOMPARE(result.Errors, QByteArray());
    const QJsonArray documents
        = QJsonDocument::fromJson(result.Output).array().at(0).toObject().value(u"documents"_s).toArray();
    QStringList found;
    for (const QJsonValue text : documents.at(0).toObject().value(u"new"_s).toArray())
        found.append(text.toString());
    QCOMPARE(found, texts);
    // Without any text, no file is created.
    QCOMPARE(QFile::exists(mTool->Path(u"de.xlf"_s)), !texts.isEmpty());
}

void tst_ToolXliff::Extract_update_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("report");

    const QByteArray a = Unit(u"A"_s, "<target>a</target>", 1);
    const QByteArray b = Unit(u"B"_s, "<target>b</target>", 1);
    const QByteArray newB = Unit(u"B"_s, "<target/>", 1);
    const QByteArray two = "<x a='tr(A)' b='tr(B)'/>";

    QTest::newRow("new text at the end") << two << Xliff(a) << Xliff(a + newB) << u"1 kept, 1 new; written"_s;
    QTest::newRow("new text at the beginning") << QByteArray("<x b='tr(B)' a='tr(A)'/>") << Xliff(a)
                                               << Xliff(newB + a) << u"1 kept, 1 new; written"_s;
    QTest::newRow("new text in the middle")
        << QByteArray("<x a='tr(A)' b='tr(B)' c='tr(C)'/>")
        << Xliff(a + Unit(u"C"_s, "<target>c</target>", 1))
        << Xliff(a + newB + Unit(u"C"_s, "<target>c</target>", 1)) << u"2 kept, 1 new; written"_s;
    QTest::newRow("body without a unit")
        << QByteArray("<x b='tr(B)'/>") << Xliff({}) << Xliff(newB) << u"0 kept, 1 new; written"_s;
    QTest::newRow("self-closing body")
        << QByteArray("<x b='tr(B)'/>") << Xliff({}).replace("<body>\n        </body>", "<body />")
        << Xliff(newB) << u"0 kept, 1 new; written"_s;
    QTest::newRow("file without a body")
        << QByteArray("<x b='tr(B)'/>") << Xliff({}).replace("        <body>\n        </body>\n", "")
        << Xliff(newB) << u"0 kept, 1 new; written"_s;
    QTest::newRow("different order of units is kept")
        << two << Xliff(b + a) << Xliff(b + a) << u"2 kept, 0 new; unchanged"_s;
    QTest::newRow("line has moved") << QByteArray("\n<x a='tr(A)'/>") << Xliff(a)
                                    << Xliff(Unit(u"A"_s, "<target>a</target>", 2))
                                    << u"1 kept, 0 new; written"_s;
    QTest::newRow("line was not recorded")
        << QByteArray("<x a='tr(A)'/>") << Xliff(Unit(u"A"_s, "<target>a</target>")) << Xliff(a)
        << u"1 kept, 0 new; written"_s;
    QTest::newRow("wrong id is corrected")
        << QByteArray("<x a='tr(A)'/>") << Xliff(a).replace(Id(u"A"_s), "7") << Xliff(a)
        << u"1 kept, 0 new, 1 id corrected; written"_s;
    QTest::newRow("missing id is added")
        << QByteArray("<x a='tr(A)'/>")
        << Xliff(a).replace("<trans-unit id=\"" + Id(u"A"_s) + "\"", "<trans-unit") << Xliff(a)
        << u"1 kept, 0 new, 1 id corrected; written"_s;
    QTest::newRow("text is gone") << QByteArray("<x a='tr(A)'/>") << Xliff(a + b) << Xliff(a + b)
                                  << u"1 kept, 0 new, 1 obsolete (kept; remove with --prune); unchanged"_s;
    QTest::newRow("language was not given")
        << QByteArray("<x a='tr(A)'/>")
        << Xliff(a).replace(" source-language=\"en\" target-language=\"de\" datatype=\"xml\"",
                            " source-language=\"en\" datatype=\"xml\"")
        << Xliff(a).replace(" target-language=\"de\" datatype=\"xml\"",
                            " datatype=\"xml\" target-language=\"de\"")
        << u"1 kept, 0 new; written"_s;
}

void tst_ToolXliff::Extract_update()
{
    QFETCH(const QByteArray, document);
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    QFETCH(const QString, report);

    QVERIFY(mTool->Write(u"ui.xml"_s, document));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const QStringList arguments{u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s,
                                u"de"_s,    u"-o"_s,      u"de.xlf"_s};
    const ToolResult result = mTool->Run(arguments);
    QVERIFY2(result.ToText().endsWith(report + u"\n=> 0\n"_s), result.Output.constData());
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)), QString::fromUtf8(after));
    // A second run changes nothing.
    QVERIFY(mTool->Run(arguments).Output.contains("; unchanged\n"));
}

void tst_ToolXliff::Extract_keepsEverythingElse()
{
    // This file intentionally has unusual line endings, quotation marks and indentation, and contains
    // declarations, comments, notes and other languages.
    const QByteArray before
        = "<?xml version='1.0' encoding='UTF-8' standalone=\"yes\"?>\r\n"
          "<!DOCTYPE xliff [<!-- > ] --><!ELEMENT x ANY>]>\r\n"
          "<!-- <file original='ui.xml'/> -->\r\n"
          "<xliff version='1.2' xmlns='urn:oasis:names:tc:xliff:document:1.2' xmlns:t=\"urn:t\" >\r\n"
          "\t<file original='Other.xml' source-language='en' target-language='fr' "
          "datatype='xml'><body/></file>\r\n"
          "\t<file t:z='1' datatype='xml'  target-language='de' original='ui.xml' source-language='en'>\r\n"
          "\t\t<body>\r\n"
          "\t\t\t<!-- Anna: please check -->\r\n"
          "\t\t\t<trans-unit t:k='v' id='"
        + Id(u"A"_s)
        + "' approved=\"yes\" >\r\n"
          "\t\t\t\t<source>A</source>\r\n"
          "\t\t\t\t<target state=\"final\"  xml:lang='de'>a <g id='1'>b</g>  <x id='2'/>c</target>\r\n"
          "\t\t\t\t<context-group purpose=\"location\"><context "
          "context-type=\"linenumber\">1</context></context-group>\r\n"
          "\t\t\t\t<note from='Anna'>as in &quot;A&#x42;&quot;</note>\r\n"
          "\t\t\t\t<alt-trans><source>A</source><target>aa</target></alt-trans>\r\n"
          "\t\t\t\t<t:more/>\r\n"
          "\t\t\t</trans-unit>\r\n"
          "\t\t</body>\r\n"
          "\t</file>\r\n"
          "</xliff>\r\n<!-- end -->";
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)' b='tr(B &amp; C)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s, u"DE"_s, u"-o"_s, u"de.xlf"_s}).ToText(),
        u"de.xlf: 2 texts in 1 document: 1 kept, 1 new; written\n=> 0\n"_s);
    const QByteArray added = "\r\n\t\t\t<trans-unit id=\"" + Id(u"B & C"_s)
        + "\">\r\n"
          "\t\t\t\t<source>B &amp; C</source>\r\n"
          "\t\t\t\t<target/>\r\n"
          "\t\t\t\t<context-group purpose=\"location\"><context "
          "context-type=\"linenumber\">1</context></context-group>\r\n"
          "\t\t\t</trans-unit>";
    QByteArray after = before;
    after.insert(after.indexOf("</trans-unit>") + 13, added);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)), QString::fromUtf8(after));
}

void tst_ToolXliff::Extract_prune()
{
    const QByteArray a = Unit(u"A"_s, "<target>a</target>", 1);
    const QByteArray b = Unit(u"B"_s, "<target>b</target>\n                <note>n</note>", 1);
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x n='tr(N)' a='tr(A)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(b + a)));
    QCOMPARE(mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-o"_s, u"de.xlf"_s, u"--prune"_s}).ToText(),
             u"de.xlf:5:13: \"B\" is no longer in ui.xml\n"
             "de.xlf: 2 texts in 1 document: 1 kept, 1 new, 1 obsolete (removed); written\n=> 0\n"_s);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(Xliff(Unit(u"N"_s, "<target/>", 1) + a)));
}

void tst_ToolXliff::Extract_pruneNeedsAllDocuments()
{
    const QByteArray before = Xliff(Unit(u"B"_s, "<target>b</target>", 1));
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x/>"));
    QVERIFY(mTool->Write(u"z.xml"_s, "<x>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"extract"_s, u"."_s, u"-o"_s, u"de.xlf"_s, u"--prune"_s}).ToText(),
        u"de.xlf:5:13: \"B\" is no longer in ui.xml\n"
        "de.xlf: 0 texts in 1 document: 0 kept, 0 new, 1 obsolete (kept; remove with --prune); unchanged\n"
        "! qvutil: z.xml:1:3: the file ends in the middle of the document\n"
        "! qvutil: de.xlf: nothing is removed, because some documents could not be read\n=> 2\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
}

void tst_ToolXliff::Extract_missingDocument()
{
    QVERIFY(QDir(mTool->Path({})).mkpath(u"ui"_s));
    QVERIFY(mTool->Write(u"ui/a.xml"_s, "<x a='tr(A)'/>"));
    QVERIFY(mTool->Write(u"ui/b.xml"_s, "<x a='tr(B)'/>"));
    const QStringList arguments{u"xliff"_s, u"extract"_s, u"ui"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s};
    QCOMPARE(mTool->Run(arguments).ExitCode, 0);
    QVERIFY(QFile::remove(mTool->Path(u"ui/b.xml"_s)));
    // Units of a document that was not passed are kept as they are.
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"extract"_s, u"ui/a.xml"_s, u"-o"_s, u"de.xlf"_s, u"--prune"_s}).ToText(),
        u"de.xlf: 1 text in 1 document: 1 kept, 0 new; unchanged\n=> 0\n"_s);
    QCOMPARE(
        mTool->Run(arguments).ToText(),
        u"de.xlf:14:13: \"B\" is no longer in ui/b.xml\n"
        "de.xlf: 1 text in 1 document: 1 kept, 0 new, 1 obsolete (kept; remove with --prune); unchanged\n"
        "=> 0\n"_s);
    QCOMPARE(mTool->Run(arguments + QStringList{u"--prune"_s}).ToText(),
             u"de.xlf:14:13: \"B\" is no longer in ui/b.xml\n"
             "de.xlf: 1 text in 1 document: 1 kept, 0 new, 1 obsolete (removed); written\n=> 0\n"_s);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(Xliff(Unit(u"A"_s, "<target/>", 1)).replace("\"ui.xml\"", "\"ui/a.xml\"")));
}

void tst_ToolXliff::Extract_reuse()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'/>"));
    QVERIFY(mTool->Write(u"z.xml"_s, "<x a='tr(A)' b='tr(B)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target>&lt;a&gt;</target>", 1))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"extract"_s, u"."_s, u"-o"_s, u"de.xlf"_s, u"--reuse"_s}).ToText(),
             u"de.xlf: 3 texts in 2 documents: 1 kept, 2 new (1 with a translation from another document); "
             "written\n=> 0\n"_s);
    QVERIFY(mTool->Read(u"de.xlf"_s)
                .contains(Unit(u"A"_s, "<target state=\"needs-review-translation\">&lt;a&gt;</target>", 1)
                          + Unit(u"B"_s, "<target/>", 1)));
}

void tst_ToolXliff::Extract_severalLanguages()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'/>"));
    QCOMPARE(
        mTool
            ->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s, u"de"_s, u"-l"_s, u"pt_BR"_s,
                   u"--source-language"_s, u"en-GB"_s, u"-o"_s, u"a.{language}.xlf"_s, u"--no-locations"_s})
            .ToText(),
        u"a.de.xlf: 1 text in 1 document: 0 kept, 1 new; written\n"
        "a.pt_BR.xlf: 1 text in 1 document: 0 kept, 1 new; written\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"a.pt_BR.xlf"_s),
             Xliff(Unit(u"A"_s, "<target/>")).replace("\"de\"", "\"pt-BR\"").replace("\"en\"", "\"en-GB\""));
}

void tst_ToolXliff::Extract_dryRun()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'/>"));
    const QStringList arguments{u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s,
                                u"de"_s,    u"-o"_s,      u"de.xlf"_s};
    const QStringList dry = arguments + QStringList{u"--dry-run"_s};
    const QString tried = mTool->Run(dry).ToText();
    QVERIFY(!QFile::exists(mTool->Path(u"de.xlf"_s)));
    QCOMPARE(mTool->Run(arguments).ExitCode, 0);
    QByteArray written = mTool->Read(u"de.xlf"_s);
    const qsizetype lines = written.count('\n');
    written.chop(1);
    QCOMPARE(tried,
             u"--- /dev/null\n+++ de.xlf\n@@ -0,0 +1,%1 @@\n+%2\n"
             "de.xlf: 1 text in 1 document: 0 kept, 1 new; would change\n=> 1\n"_s.arg(lines)
                 .arg(QString::fromUtf8(written.replace("\n", "\n+"))));
    QCOMPARE(mTool->Run(dry).ToText(), u"de.xlf: 1 text in 1 document: 1 kept, 0 new; unchanged\n=> 0\n"_s);
}

void tst_ToolXliff::Extract_folders()
{
    QVERIFY(QDir(mTool->Path({})).mkpath(u"ui/a"_s));
    QVERIFY(QDir(mTool->Path({})).mkpath(u"ui/a-b"_s));
    for (const QString& name :
         {u"ui/z.xml"_s, u"ui/Y.XML"_s, u"ui/a/1.xml"_s, u"ui/a-b/2.xml"_s, u"ui/n.txt"_s, u"ui/p.ui.xml"_s})
        QVERIFY(mTool->Write(name, "<x a='tr(" + name.toUtf8() + ")'/>"));
    const auto originals = [this](const QStringList& arguments) {
        const ToolResult result = mTool->Run(QStringList{u"xliff"_s, u"extract"_s, u"-l"_s, u"de"_s, u"-o"_s,
                                                         u"ui/out.xml"_s, u"--dry-run"_s, u"--json"_s}
                                             + arguments);
        QStringList names;
        const QJsonArray files = QJsonDocument::fromJson(result.Output).array();
        for (const QJsonValue document : files.at(0).toObject().value(u"documents"_s).toArray())
            names.append(document.toObject().value(u"document"_s).toString());
        return names.join(u' ');
    };
    // The output file is not read as a document, even if its name matches.
    QVERIFY(mTool->Write(u"ui/out.xml"_s, Xliff({})));
    QCOMPARE(originals({u"ui"_s}), u"ui/Y.XML ui/p.ui.xml ui/z.xml"_s);
    QCOMPARE(originals({u"./ui//"_s, u"-r"_s}), u"ui/Y.XML ui/a/1.xml ui/a-b/2.xml ui/p.ui.xml ui/z.xml"_s);
    QCOMPARE(originals({u"ui"_s, u"--pattern"_s, u"*.ui.xml"_s, u"--pattern"_s, u"*.txt"_s}),
             u"ui/n.txt ui/p.ui.xml"_s);
    QCOMPARE(originals({u"ui/z.xml"_s, u"ui/n.txt"_s, u"ui"_s}), u"ui/z.xml ui/n.txt ui/Y.XML ui/p.ui.xml"_s);
    QCOMPARE(mTool
                 ->Run({u"xliff"_s, u"extract"_s, u"ui"_s, u"--pattern"_s, u"*.none"_s, u"-l"_s, u"de"_s,
                        u"-o"_s, u"x.xlf"_s})
                 .ToText(),
             u"! qvutil: no document was found (see --recursive and --pattern)\n=> 2\n"_s);
    for (const QString& path : {u"ui"_s, u"ui/z.xml"_s}) { // even if no folder is searched
        QCOMPARE(mTool
                     ->Run({u"xliff"_s, u"extract"_s, path, u"--pattern"_s, u"a["_s, u"-l"_s, u"de"_s,
                            u"-o"_s, u"new.xlf"_s})
                     .ToText(),
                 u"! qvutil: 'a[' is not a valid pattern for file names\n"
                 "! Try 'qvutil xliff extract --help'.\n=> 2\n"_s);
    }
}

void tst_ToolXliff::Extract_sameFileName()
{
    QVERIFY(QDir(mTool->Path({})).mkpath(u"a"_s));
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'/>"));
    QVERIFY(mTool->Write(u"a/UI.xml"_s, "<x a='tr(A)' b='tr(B)'/>"));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"a"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s})
            .ToText(),
        u"de.xlf: 2 texts in 2 documents: 0 kept, 2 new; written\n"
        "! qvutil: a/UI.xml: has the same file name as ui.xml: the two documents share their translations, "
        "which are found by file name\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), Xliff(Unit(u"A"_s, "<target/>", 1) + Unit(u"B"_s, "<target/>", 1)));
}

void tst_ToolXliff::Extract_malformedDocument()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<x>\n  <y>\n</x>"));
    QVERIFY(mTool->Write(u"b.xml"_s, ""));
    QVERIFY(mTool->Write(u"c.xml"_s, QByteArray("\0\1\2", 3)));
    QVERIFY(mTool->Write(u"d.xml"_s, "<x a='tr(A)'/>"));
    QVERIFY(mTool->Write(u"e.xml"_s, QByteArray("<x>").repeated(2000) + QByteArray("</x>").repeated(2000)));
    const ToolResult result = mTool->Run(
        {u"xliff"_s, u"extract"_s, u"."_s, u"none.xml"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s});
    QCOMPARE(result.ToText(),
             u"de.xlf: 1 text in 1 document: 0 kept, 1 new; written\n"
             "! qvutil: a.xml:3:4: Opening and ending tag mismatch\n"
             "! qvutil: b.xml:1:1: the file is empty\n"
             "! qvutil: c.xml:1:3: the file ends in the middle of the document\n"
             "! qvutil: e.xml: elements are nested more than 1,000 deep\n"
             "! qvutil: none.xml: No such file or directory\n=> 2\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), Xliff(Unit(u"A"_s, "<target/>", 1)).replace("ui.xml", "d.xml"));
}

void tst_ToolXliff::Extract_refusals_data()
{
    QTest::addColumn<QByteArray>("xliff");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("errors");

    const QString hint = u"! Try 'qvutil xliff extract --help'.\n"_s;
    QTest::newRow("another format")
        << QByteArray("<Window/>") << QStringList()
        << u"! qvutil: de.xlf: is not an XLIFF file: its root element is Window\n"_s;
    QTest::newRow("another version") << QByteArray("<xliff version='2.0'/>") << QStringList()
                                     << u"! qvutil: de.xlf: is XLIFF 2.0; the library reads XLIFF 1.2\n"_s;
    QTest::newRow("a prefix")
        << QByteArray("<x:xliff xmlns:x='u' version='1.2'/>") << QStringList()
        << u"! qvutil: de.xlf: its elements have a namespace prefix, which the library does not support\n"_s;
    QTest::newRow("entities with markup")
        << QByteArray("<!DOCTYPE xliff [<!ENTITY e '<file/>'>]><xliff version='1.2'>&e;</xliff>")
        << QStringList()
        << u"! qvutil: de.xlf: contains entities with markup; replace them with the markup\n"_s;
    QTest::newRow("truncated") << QByteArray("<xliff version='1.2'>") << QStringList()
                               << u"! qvutil: de.xlf:1:21: the file ends in the middle of the document\n"_s;
    QTest::newRow("empty") << QByteArray("") << QStringList()
                           << u"! qvutil: de.xlf:1:1: the file is empty\n"_s;
    QTest::newRow("another target language")
        << Xliff({}).replace("\"de\"", "\"fr\"") << QStringList{u"-l"_s, u"de"_s}
        << u"! qvutil: de.xlf: translates into fr, not into de\n"_s;
    QTest::newRow("another source language") << Xliff({}) << QStringList{u"--source-language"_s, u"sv"_s}
                                             << u"! qvutil: de.xlf: translates from en, not from sv\n"_s;
    QTest::newRow("no language")
        << QByteArray("<xliff version='1.2'/>") << QStringList()
        << u"! qvutil: --language is required, because the file does not name a language yet\n"_s + hint;
    QTest::newRow("invalid language")
        << Xliff({}) << QStringList{u"-l"_s, u"d/e"_s}
        << u"! qvutil: 'd/e' is not a language code such as de or pt-BR\n"_s + hint;
    QTest::newRow("several languages, one file")
        << Xliff({}) << QStringList{u"-l"_s, u"de"_s, u"-l"_s, u"ja"_s}
        << u"! qvutil: with several languages, --output must contain {language}\n"_s + hint;
}

void tst_ToolXliff::Extract_refusals()
{
    QFETCH(const QByteArray, xliff);
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, errors);

    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, xliff));
    const ToolResult result
        = mTool->Run(QStringList{u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-o"_s, u"de.xlf"_s} + arguments);
    QCOMPARE(result.ToText(), errors + u"=> 2\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), xliff);
}

void tst_ToolXliff::Extract_json()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)' b='tr(B)'/>"));
    QVERIFY(mTool->Write(
        u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target>a</target>", 1) + Unit(u"C"_s, "<target>c</target>", 1))));
    const ToolResult result
        = mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-o"_s, u"de.xlf"_s, u"--json"_s});
    const QByteArray expected = R"([{"changed": true, "file": "de.xlf", "written": true, "documents": [
        {"document": "ui.xml", "gone": false, "kept": 1, "corrected": 0, "unreachable": 0, "new": ["B"],
         "reused": 0, "vanished": [{"source": "C", "target": "c", "line": 10, "column": 13}]}]}])";
    QCOMPARE(QJsonDocument::fromJson(result.Output), QJsonDocument::fromJson(expected));
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolXliff::Extract_encodings_data()
{
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<bool>("byteOrderMark");

    QTest::newRow("UTF-8 with a byte order mark") << QByteArray("UTF-8") << true;
    QTest::newRow("UTF-16, little endian") << QByteArray("UTF-16LE") << true;
    QTest::newRow("UTF-16, big endian") << QByteArray("UTF-16BE") << true;
    QTest::newRow("ISO-8859-1") << QByteArray("ISO-8859-1") << false;
}

void tst_ToolXliff::Extract_encodings()
{
    QFETCH(const QByteArray, encoding);
    QFETCH(const bool, byteOrderMark);

    const QByteArray named = encoding.startsWith("UTF-16") ? QByteArray("UTF-16") : encoding;
    QString text = QString::fromUtf8(Xliff(Unit(u"A"_s, "<target>Größe</target>", 1)))
                       .replace(u"UTF-8"_s, QString::fromLatin1(named));
    if (byteOrderMark)
        text.prepend(QChar::ByteOrderMark);
    QStringEncoder encoder(encoding.constData());
    const QByteArray before = encoder.encode(text);
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)' b='tr(\xe2\x82\xac\xf0\x9f\x98\x80)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const ToolResult result = mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-o"_s, u"de.xlf"_s});
    QCOMPARE(result.ToText(), u"de.xlf: 2 texts in 1 document: 1 kept, 1 new; written\n=> 0\n"_s);
    const QByteArray after = mTool->Read(u"de.xlf"_s);
    const qsizetype same = before.indexOf(QByteArray(encoder.encode(u"</trans-unit>"_s)));
    QVERIFY(same > 0);
    QCOMPARE(after.left(same), before.left(same));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"Größe"_s);
    // Characters that are not in the encoding are written as references; the library finds the text in both
    // cases.
    QCOMPARE(after.contains("&#8364;&#128512;"), encoding == "ISO-8859-1");
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s, u"-d"_s, u"ui.xml"_s, u"--allow-untranslated"_s})
            .ToText(),
        u"de.xlf: 2 units, no findings, 1 allowed\n=> 0\n"_s);
}

void tst_ToolXliff::Extract_failedWriteKeepsFile()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'/>"));
    QCOMPARE(mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s, u"de"_s, u"-o"_s, u"no/de.xlf"_s})
                 .ToText(),
             u"! qvutil: no/de.xlf: there is no folder no\n=> 2\n"_s);
    // A limit on the file size has the effect of a full disk.
    const QByteArray before = Xliff(Unit(u"Z"_s, "<target>" + QByteArray(5000, 'z') + "</target>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const ToolResult result
        = mTool->RunShell(u"trap '' XFSZ; ulimit -f 1; exec \"$TOOL\" xliff extract ui.xml -o de.xlf"_s);
    QCOMPARE(result.Errors,
             QByteArray("qvutil: de.xlf: could not be written in full; the old content is kept\n"));
    QCOMPARE(result.ExitCode, 2);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
}

void tst_ToolXliff::Extract_unreachableUnits()
{
    const QByteArray grouped = Xliff("<group>" + Unit(u"A"_s, "<target>a</target>", 1) + "</group>\n");
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)' b='tr(B)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, grouped));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-o"_s, u"de.xlf"_s}).ToText(),
        u"de.xlf: 2 texts in 1 document: 1 kept, 1 new; written\n"
        "! qvutil: de.xlf: the library does not find 1 unit of ui.xml; run qvutil xliff check\n=> 0\n"_s);
    // The new unit was inserted where the library finds it.
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"B"_s), QString::fromLatin1(Id(u"B"_s)));
    QVERIFY(mTool->Read(u"de.xlf"_s).contains("<target>a</target>"));
}

void tst_ToolXliff::Extract_thousandDocuments()
{
    QByteArray texts;
    for (int i = 0; i < 20; ++i)
        texts += "<Item Name='n' Text='tr(Text " + QByteArray::number(i) + ")'>plain text</Item>\n";
    QVERIFY(QDir(mTool->Path({})).mkpath(u"ui"_s));
    for (int i = 0; i < 1000; ++i)
        QVERIFY(mTool->Write(u"ui/%1.xml"_s.arg(i), "<Window>" + texts + "</Window>"));
    QElapsedTimer timer;
    timer.start();
    const QStringList arguments{u"xliff"_s, u"extract"_s, u"ui"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s};
    QCOMPARE(mTool->Run(arguments).ToText(),
             u"de.xlf: 20000 texts in 1000 documents: 0 kept, 20000 new; written\n=> 0\n"_s);
    const qint64 first = timer.restart();
    QCOMPARE(mTool->Run(arguments).ToText(),
             u"de.xlf: 20000 texts in 1000 documents: 20000 kept, 0 new; unchanged\n=> 0\n"_s);
    qInfo("%lld ms to write, %lld ms to look again", first, timer.elapsed());
}

void tst_ToolXliff::Extract_progressBar()
{
    QVERIFY(QDir(mTool->Path({})).mkpath(u"ui"_s));
    const QByteArray slow = "<x>" + QByteArray("<y a='tr(A)'/>").repeated(20000) + "</x>";
    for (int i = 0; i < 25; ++i)
        QVERIFY(mTool->Write(u"ui/%1.xml"_s.arg(i), slow));
    const QStringList arguments{u"xliff"_s, u"extract"_s, u"ui"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s};
    qputenv("QVUTIL_PROGRESS_DELAY", "0");
    const QByteArray terminal = mTool->RunOnTerminal(arguments).Output;
    qunsetenv("QVUTIL_PROGRESS_DELAY");
    QVERIFY2(terminal.contains("%  ui/"), terminal.constData());
    QVERIFY(terminal.endsWith("\x1b[Kde.xlf: 25 texts in 25 documents: 0 kept, 25 new; written\r\n"));
    QCOMPARE(mTool->Run(arguments).Errors, QByteArray());
}

void tst_ToolXliff::Check_clean()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A %1"_s, "<target>a %1</target>", 1))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: 1 unit, no findings\n=> 0\n"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"-"_s}, Xliff({})).ToText(),
             u"standard input: 0 units, no findings\n=> 0\n"_s);
}

void tst_ToolXliff::Check_findings_data()
{
    QTest::addColumn<QByteArray>("xliff");
    QTest::addColumn<QString>("finding");
    QTest::addColumn<QString>("seen"); // what the library returns for A

    const QString id = QString::fromLatin1(Id(u"A"_s));
    const QByteArray good = Unit(u"A"_s, "<target>a</target>");

    QTest::newRow("empty target") << Xliff(Unit(
        u"A"_s, "<target/>")) << u"5:13: \"A\" has an empty target: the user sees %1 [untranslated]"_s.arg(id)
                                  << id;
    QTest::newRow("blank target")
        << Xliff(Unit(u"A"_s, "<target> \n </target>"))
        << u"5:13: \"A\" has an empty target: the user sees %1 [untranslated]"_s.arg(id) << id;
    QTest::newRow("no target") << Xliff(Unit(u"A"_s, "<note>n</note>"))
                               << u"5:13: \"A\" has no target: the user sees %1 [untranslated]"_s.arg(id)
                               << id;
    QTest::newRow("target of an alternative only")
        << Xliff(Unit(u"A"_s, "<alt-trans><target>a</target></alt-trans>"))
        << u"5:13: \"A\" has no target: the user sees %1 [untranslated]"_s.arg(id) << id;
    QTest::newRow("target that begins with markup")
        << Xliff(Unit(u"A"_s, "<target><g id='1'>a</g> b</target>"))
        << u"5:13: \"A\" has a target that begins with markup: the user sees %1 [untranslated]"_s.arg(id)
        << id;
    QTest::newRow("target that continues with markup")
        << Xliff(Unit(u"A"_s, "<target>a <g id='1'>b</g></target>"))
        << u"5:13: \"A\" has markup in its target: the user sees only \"a \" [cut-target]"_s << u"a "_s;
    QTest::newRow("target split by a comment")
        << Xliff(Unit(u"A"_s, "<target>a<!-- c -->b</target>"))
        << u"5:13: \"A\" has markup in its target: the user sees only \"a\" [cut-target]"_s << u"a"_s;
    QTest::newRow("target that is a mark")
        << Xliff(Unit(u"A"_s, "<target>tr(tr)</target>"))
        << u"5:13: the target of \"A\" is a tr(...) mark: the user sees \"tr\" [unwrapped]"_s << u"tr"_s;
    QTest::newRow("target that is a mark in a CDATA section")
        << Xliff(Unit(u"A"_s, "<target><![CDATA[tr(x)]]></target>")) << QString() << u"tr(x)"_s;
    QTest::newRow("wrong id") << Xliff(good).replace(
        Id(u"A"_s), "7") << u"5:13: \"A\" has the id \"7\", but the library looks for %1 [wrong-id]"_s.arg(id)
                              << u"A"_s;
    QTest::newRow("id in upper case")
        << Xliff(good).replace(Id(u"A"_s), Id(u"A"_s).toUpper())
        << u"5:13: \"A\" has the id \"%2\", but the library looks for %1 [wrong-id]"_s.arg(id, id.toUpper())
        << u"A"_s;
    QTest::newRow("header before the body")
        << Xliff(good).replace("        <body>", "        <header/><body>")
        << u"5:13: \"A\" is out of reach: another element, such as a header, is before the body "
           "[unreachable]"_s
        << u"A"_s;
    QTest::newRow("group")
        << Xliff("<group>" + good + "</group>\n")
        << u"5:20: \"A\" is out of reach: it is not directly in a body, but for example in "
           "a group [unreachable]"_s
        << u"A"_s;
    QTest::newRow("no original")
        << Xliff(good).replace("original=\"ui.xml\"", "original=\"\"")
        << u"5:13: \"A\" is out of reach: the \"original\" of its file element does not name a "
           "file [unreachable]"_s
        << u"A"_s;
    QTest::newRow("original is a folder")
        << Xliff(good).replace("ui.xml", "ui.xml/")
        << u"5:13: \"A\" is out of reach: the \"original\" of its file element does not name a "
           "file [unreachable]"_s
        << u"A"_s;
    QTest::newRow("same id, different target")
        << Xliff(good + Unit(u"A"_s, "<target>b</target>"))
        << u"9:13: \"A\" has the same id as the unit on line 5, but a different target: the library uses "
           "the last one [duplicate-unit]"_s
        << u"b"_s;
    QTest::newRow("same id, same target") << Xliff(good + good) << QString() << u"a"_s;
    QTest::newRow("original in different case and folder")
        << Xliff(good).replace("ui.xml", "C:/x/UI.xml") << QString() << u"a"_s;
    QTest::newRow("original that is a mark")
        << Xliff(good).replace("ui.xml", "tr(ui.xml)") << QString() << u"a"_s;
}

void tst_ToolXliff::Check_findings()
{
    QFETCH(const QByteArray, xliff);
    QFETCH(const QString, finding);
    QFETCH(const QString, seen);

    QVERIFY(mTool->Write(u"de.xlf"_s, xliff));
    const QString units = xliff.count("<trans-unit") == 1 ? u"1 unit"_s : u"2 units"_s;
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).ToText(),
             finding.isEmpty() ? u"de.xlf: %1, no findings\n=> 0\n"_s.arg(units)
                               : u"de.xlf:%1\nde.xlf: %2, 1 finding\n=> 1\n"_s.arg(finding, units));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), seen);
}

void tst_ToolXliff::Check_documents()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'\n   b='tr(B)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>a</target>") + Unit(u"C"_s, "<target>c</target>"))
                             .replace("</xliff>",
                                      "<file original='old.xml' source-language='en' datatype='xml'><body>\n"
                                          + Unit(u"D"_s, "<target>d</target>") + "</body></file></xliff>")));
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s, u"--documents"_s, u"."_s}).ToText(),
             u"de.xlf:9:13: \"C\" is no longer in \"ui.xml\" [obsolete]\n"
             "de.xlf:16:13: \"D\" belongs to \"old.xml\", which is not among the documents [obsolete]\n"
             "ui.xml:2:4: \"B\" at /x@b has no unit in de.xlf: the user sees it untranslated [missing]\n"
             "de.xlf: 3 units, 3 findings\n=> 1\n"_s);
    QVERIFY(mTool->Write(u"bad.xml"_s, "<x"));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s, u"-d"_s, u"bad.xml"_s, u"--allow"_s, u"obsolete"_s})
            .ToText(),
        u"de.xlf: 3 units, no findings, 3 allowed\n"
        "! qvutil: bad.xml:1:2: the file ends in the middle of the document\n=> 2\n"_s);
}

void tst_ToolXliff::Check_allow_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const QString untranslated
        = u"de.xlf:5:13: \"A\" has an empty target: the user sees %1 [untranslated]\n"_s.arg(
            QString::fromLatin1(Id(u"A"_s)));
    const QString unfinished = u"de.xlf:9:13: \"B\" has the state needs-translation [unfinished]\n"_s;
    const QString placeholders
        = u"de.xlf:13:13: \"%1 of %2\" and its target \"%L1 %1\" differ in placeholders: the "
          "target lacks %2 and has %L1, which the source lacks [placeholders]\n"_s;

    QTest::newRow("nothing") << QStringList()
                             << untranslated + placeholders
            + u"de.xlf: 3 units, 2 findings, 1 allowed\n=> 1\n"_s;
    QTest::newRow("untranslated") << QStringList{u"--allow-untranslated"_s}
                                  << placeholders + u"de.xlf: 3 units, 1 finding, 2 allowed\n=> 1\n"_s;
    QTest::newRow("two kinds by name")
        << QStringList{u"--allow"_s, u"untranslated"_s, u"--allow"_s, u"placeholders"_s}
        << u"de.xlf: 3 units, no findings, 3 allowed\n=> 0\n"_s;
    QTest::newRow("finished targets are required")
        << QStringList{u"--require-finished"_s}
        << untranslated + unfinished + placeholders + u"de.xlf: 3 units, 3 findings\n=> 1\n"_s;
    QTest::newRow("unknown kind")
        << QStringList{u"--allow"_s, u"typos"_s}
        << u"! qvutil: there is no kind of finding 'typos'; kinds are untranslated, unfinished, "
           "unreachable, wrong-id, duplicate-file, duplicate-unit, placeholders, cut-target, "
           "unwrapped, obsolete, missing\n! Try 'qvutil xliff check --help'.\n=> 2\n"_s;
}

void tst_ToolXliff::Check_allow()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target/>")
                               + Unit(u"B"_s, "<target state=\"needs-translation\">b</target>")
                               + Unit(u"%1 of %2"_s, "<target>%L1 %1</target>"))));
    QCOMPARE(mTool->Run(QStringList{u"xliff"_s, u"check"_s, u"de.xlf"_s} + arguments).ToText(), expected);
}

void tst_ToolXliff::Check_duplicateFiles()
{
    QByteArray xliff = Xliff(Unit(u"A"_s, "<target>a</target>"));
    const QByteArray again = "<file original='x/UI.XML' source-language='en' datatype='xml'><body>"
        + Unit(u"A"_s, "<target>b</target>") + "</body></file>\n</xliff>";
    xliff.replace("</xliff>", again);
    QVERIFY(mTool->Write(u"de.xlf"_s, xliff));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).ToText(),
        u"de.xlf:5:13: \"A\" is out of reach: a later file element has the same file name "
        "[unreachable]\n"
        "de.xlf:11:1: \"x/UI.XML\" has the same file name as the file element on line 3: the library uses "
        "only the last one [duplicate-file]\n"
        "de.xlf: 2 units, 2 findings\n=> 1\n"_s);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"b"_s);
    // The library ignores a file element without units, so it does not hide the earlier one.
    xliff.replace("<body>            <trans", "<body/><note>            <trans")
        .replace("</body></file>\n</xliff>", "</note></file>\n</xliff>");
    QVERIFY(mTool->Write(u"de.xlf"_s, xliff));
    QVERIFY(!mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).Output.contains("de.xlf:5:13"));
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"a"_s);
}

void tst_ToolXliff::Check_sameFindings()
{
    QByteArray units;
    for (const char* source : {"A", "B", "C"})
        units += Unit(QString::fromLatin1(source), "<target>x</target>");
    const auto hidden = [](const QByteArray& body) {
        return Xliff(body).replace("        <body>", "        <header/><body>");
    };
    // Up to three findings are listed separately.
    QVERIFY(mTool->Write(u"de.xlf"_s, hidden(units)));
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).Output.count(" is out of reach: "), 3);
    for (int i = 0; i < 23; ++i)
        units += Unit(u"D%1"_s.arg(i), "<target>x</target>");
    QVERIFY(mTool->Write(u"de.xlf"_s, hidden(units + Unit(u"Z"_s, "<target/>"))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf:5:13: 27 units are out of reach: another element, such as a header, is before the "
             "body (5:13 \"A\", 9:13 \"B\", 13:13 \"C\" and "
             "24 more) [unreachable]\n"
             "de.xlf:109:13: \"Z\" has an empty target: the user sees %1 [untranslated]\n"
             "de.xlf: 27 units, 28 findings\n=> 1\n"_s.arg(QString::fromLatin1(Id(u"Z"_s))));
    const QByteArray json = mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s, u"--json"_s}).Output;
    const QJsonArray findings
        = QJsonDocument::fromJson(json).array().at(0).toObject().value(u"findings"_s).toArray();
    QCOMPARE(findings.size(), 28);
    QCOMPARE(findings.at(26).toObject().value(u"line"_s).toInt(), 109);
}

void tst_ToolXliff::Check_inlineElements_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("text"); // the id is the digest of this text
    QTest::addColumn<int>("exitCode");

    QTest::newRow("white space between elements")
        << QByteArray("a <g id='1'>b</g> <g id='2'>c</g>") << u"a b c"_s << 0;
    QTest::newRow("native code") << QByteArray("a <ph id='1'>%1</ph>") << u"a %1"_s << 0;
    QTest::newRow("equivalent text") << QByteArray("a <x id='1' equiv-text='%1'/>") << u"a %1"_s << 0;
    QTest::newRow("unknown text, id may be right") << QByteArray("a <x id='1'/>") << u"a %1"_s << 0;
    QTest::newRow("another text") << QByteArray("a <g id='1'>b</g>") << u"a b c"_s << 1;
}

void tst_ToolXliff::Check_inlineElements()
{
    QFETCH(const QByteArray, source);
    QFETCH(const QString, text);
    QFETCH(const int, exitCode);

    const QByteArray unit
        = Unit(text, "<target>x</target>").replace("<source>" + text.toUtf8(), "<source>" + source);
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(unit)));
    const ToolResult result
        = mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s, u"--allow"_s, u"placeholders"_s});
    QVERIFY2(result.ExitCode == exitCode, result.Output.constData());
    QCOMPARE(result.Output.contains("[wrong-id]"), exitCode == 1);
}

void tst_ToolXliff::Check_json()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>"))));
    const ToolResult result = mTool->Run({u"xliff"_s, u"check"_s, u"--json"_s, u"de.xlf"_s});
    const QByteArray id = Id(u"A"_s);
    const QByteArray expected
        = "[{\"file\": \"de.xlf\", \"units\": 1, \"allowed\": 0, \"findings\": [{\"kind\": "
          "\"untranslated\", \"file\": \"de.xlf\", \"line\": 5, \"column\": 13, \"original\": "
          "\"ui.xml\", \"id\": \""
        + id + "\", \"text\": \"\\\"A\\\" has an empty target: the user sees " + id + "\"}]}]";
    QCOMPARE(QJsonDocument::fromJson(result.Output), QJsonDocument::fromJson(expected));
    QCOMPARE(result.ExitCode, 1);
}

void tst_ToolXliff::Check_unusable_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error");

    QTest::newRow("binary") << QByteArray("\xff\xfe\0\0\1", 5) << QString();
    QTest::newRow("an element without an end") << QByteArray("<xliff><file") << QString();
    QTest::newRow("another root") << QByteArray("<a/>")
                                  << u"! qvutil: bad.xlf: is not an XLIFF file: its root element is a\n"_s;
    QTest::newRow("unknown encoding")
        << QByteArray("<?xml version='1.0' encoding='X-NONE'?><xliff version='1.2'/>") << QString();
    QTest::newRow("deeply nested") << "<xliff>" + QByteArray("<file>").repeated(5000) << QString();
}

void tst_ToolXliff::Check_unusable()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, error);

    QVERIFY(mTool->Write(u"bad.xlf"_s, content));
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff({})));
    for (const QString& command : {u"check"_s, u"stat"_s, u"fill"_s}) {
        const ToolResult result = mTool->Run({u"xliff"_s, command, u"bad.xlf"_s, u"de.xlf"_s});
        QCOMPARE(result.ExitCode, 2);
        QVERIFY2(result.Errors.startsWith("qvutil: bad.xlf:"), result.Errors.constData());
        QCOMPARE(result.Errors.count('\n'), 1);
        if (!error.isEmpty())
            QCOMPARE(u"! "_s + QString::fromUtf8(result.Errors), error);
        QVERIFY(result.Output.startsWith("de.xlf")); // the other file is still processed
        QCOMPARE(mTool->Read(u"bad.xlf"_s), content);
    }
    QCOMPARE(mTool->Run({u"xliff"_s, u"show"_s, u"bad.xlf"_s, u"de.xlf"_s}).ExitCode, 2);
}

void tst_ToolXliff::Fill_source()
{
    const QByteArray full = Unit(u"F"_s, "<target>f</target>", 1);
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(full + Unit(u"A & <b>"_s, "<target />", 1)
                               + Unit(u"B"_s, "<target state='new' xml:lang='de'> </target>")
                               + Unit(u"C"_s, "<note>n</note>") + Unit(u"tr(x)"_s, "<target/>"))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: 4 of 5 targets filled\n=> 0\n"_s);
    const QByteArray state = "<target state=\"needs-translation\">";
    QCOMPARE(
        QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
        QString::fromUtf8(Xliff(full + Unit(u"A & <b>"_s, state + "A &amp; &lt;b&gt;</target>", 1)
                                + Unit(u"B"_s, "<target state='needs-translation' xml:lang='de'>B</target>")
                                + Unit(u"C"_s, state + "C</target>\n                <note>n</note>")
                                + Unit(u"tr(x)"_s, state + "<![CDATA[tr(x)]]></target>"))));
    for (const QString& source : {u"A & <b>"_s, u"B"_s, u"C"_s, u"tr(x)"_s})
        QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), source), source);
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: 0 of 5 targets filled\n=> 0\n"_s);
}

void tst_ToolXliff::Fill_pseudo_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("expected");

    QTest::newRow("letters") << u"Save"_s << u"[Šáṽé~~]"_s;
    QTest::newRow("all letters") << u"abcdefghijklmnopqrstuvwxyz"_s
                                 << u"[áƀçđéƒğĥíĵķļɱñöþɋŕšţüṽŵẋýž~~~~~~~~~]"_s;
    QTest::newRow("placeholders") << u"%1 of %L2, %n in %Ln on %99 and $(App)"_s
                                  << u"[%1 öƒ %L2, %n íñ %Ln öñ %99 áñđ $(App)~~~~~~~]"_s;
    QTest::newRow("percent signs that are not placeholders") << u"5 % of %x%"_s << u"[5 % öƒ %ẋ%~~~~]"_s;
    QTest::newRow("number with three digits") << u"%123"_s << u"[%123~]"_s;
    QTest::newRow("tags and references")
        << u"<b>a</b>&nbsp;<i x=\"y\">&#65;"_s << u"[<b>á</b>&nbsp;<i x=\"y\">&#65;~]"_s;
    QTest::newRow("characters that do not begin tags or references") << u"a < b & c"_s << u"[á < ƀ & ç~~~]"_s;
    QTest::newRow("accelerator") << u"&File"_s << u"[&Ƒíļé~~]"_s;
    QTest::newRow("other scripts") << u"日本\n語"_s << u"[日本\n語~~]"_s;
}

void tst_ToolXliff::Fill_pseudo()
{
    QFETCH(const QString, source);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(source, "<target/>"))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"--pseudo"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: 1 of 1 target filled\n=> 0\n"_s);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), source), expected);
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"de.xlf"_s}).ExitCode, 0);
}

void tst_ToolXliff::Fill_skipsMarkup()
{
    const QByteArray before
        = Xliff(Unit(u"A"_s, "<target><x id=\"1\"/>a</target>")
                + Unit(u"B"_s, "<target><!-- later --></target>") + "            <trans-unit id=\"7\"/>\n");
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s}).ToText(),
             u"de.xlf: 0 of 3 targets filled, 3 skipped (no source, or markup in the target)\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
}

void tst_ToolXliff::Fill_output()
{
    const QByteArray before = Xliff(Unit(u"A"_s, "<target/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s, u"-o"_s, u"out.xlf"_s}).ToText(),
             u"out.xlf: 1 of 1 target filled\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    QCOMPARE(Translated(mTool->Path(u"out.xlf"_s), u"A"_s), u"A"_s);
    // With nothing to fill in, the output file is still written.
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"out.xlf"_s, u"-o"_s, u"again.xlf"_s}).ExitCode, 0);
    QCOMPARE(mTool->Read(u"again.xlf"_s), mTool->Read(u"out.xlf"_s));
}

void tst_ToolXliff::Fill_dryRun()
{
    const QByteArray before = Xliff(Unit(u"A"_s, "<target/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const ToolResult tried = mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s, u"--dry-run"_s});
    QCOMPARE(tried.ExitCode, 1);
    QVERIFY(tried.Output.startsWith("--- de.xlf\n+++ de.xlf\n@@ -"));
    QCOMPARE(tried.Output.count("\n-"), 1);
    QCOMPARE(tried.Output.count("\n+ "), 1);
    QVERIFY(tried.Output.contains("<target state=\"needs-translation\">A</target>"));
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);

    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s, u"--dry-run"_s}).ToText(), u"=> 0\n"_s);
}

void tst_ToolXliff::Fill_removesApproval()
{
    // An approved unit would count as finished.
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>", 0, " approved=\"yes\""))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"de.xlf"_s}).ExitCode, 0);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(Xliff(
                 Unit(u"A"_s, "<target state=\"needs-translation\">A</target>", 0, " approved=\"no\""))));
    QVERIFY(mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s}).Output.contains("0 of 1    0 %  1 unfinished"));
}

void tst_ToolXliff::Fill_all()
{
    const QByteArray before
        = Xliff(Unit(u"A"_s, "<target state=\"final\">a</target>", 0, " approved=\"yes\"")
                + Unit(u"B"_s, "<target>b <g id=\"1\">c</g></target>") + Unit(u"C"_s, "<target/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    const QStringList arguments{u"xliff"_s,  u"fill"_s, u"--pseudo"_s, u"--all"_s,
                                u"de.xlf"_s, u"-o"_s,   u"x.xlf"_s};
    QCOMPARE(mTool->Run(arguments).ToText(), u"x.xlf: 3 of 3 targets filled\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    QCOMPARE(Translated(mTool->Path(u"x.xlf"_s), u"A"_s), u"[Á~]"_s);
    QCOMPARE(Translated(mTool->Path(u"x.xlf"_s), u"B"_s), u"[Ɓ~]"_s);
    QCOMPARE(Translated(mTool->Path(u"x.xlf"_s), u"C"_s), u"[Ç~]"_s);
    QVERIFY(mTool->Run({u"xliff"_s, u"stat"_s, u"x.xlf"_s}).Output.contains("0 of 3    0 %  3 unfinished"));
    // The command may replace its own output.
    const QByteArray pseudo = mTool->Read(u"x.xlf"_s);
    QCOMPARE(mTool->Run(arguments).ExitCode, 0);
    QCOMPARE(mTool->Read(u"x.xlf"_s), pseudo);
}

void tst_ToolXliff::Fill_allKeepsTranslations()
{
    const QByteArray before = Xliff(Unit(u"A"_s, "<target>a</target>"));
    const QByteArray japanese
        = Xliff(Unit(u"A"_s, "<target state=\"needs-review-translation\">\u3042</target>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(mTool->Write(u"ja.xlf"_s, japanese));
    QVERIFY(QFile::link(u"de.xlf"_s, mTool->Path(u"link.xlf"_s)));
    const QStringList arguments{u"xliff"_s, u"fill"_s, u"--pseudo"_s, u"--all"_s, u"de.xlf"_s, u"-o"_s};
    const QString itself = u"! qvutil: --all needs an --output that is not the input file\n=> 2\n"_s;
    for (const QString& name : {u"de.xlf"_s, u"./de.xlf"_s, u"link.xlf"_s}) {
        const QString text = mTool->Run(arguments + QStringList{name}).ToText();
        QVERIFY2(text.startsWith(itself.section(u'\n', 0, 0)) && text.endsWith("=> 2\n"_L1),
                 qPrintable(text));
    }
    QCOMPARE(
        mTool->Run(arguments + QStringList{u"ja.xlf"_s}).ToText(),
        u"! qvutil: ja.xlf: contains translations that --all would replace; delete the file first\n=> 2\n"_s);
    // The library finds no text in these targets.
    for (const char* target : {"<target><g id='1'>a</g></target>", "<target><x id='1'/></target>"}) {
        const QByteArray markup = Xliff(Unit(u"A"_s, target));
        QVERIFY(mTool->Write(u"markup.xlf"_s, markup));
        QCOMPARE(
            mTool->Run(arguments + QStringList{u"markup.xlf"_s}).ToText(),
            u"! qvutil: markup.xlf: contains translations that --all would replace; delete the file first\n"
            "=> 2\n"_s);
        QCOMPARE(mTool->Read(u"markup.xlf"_s), markup);
    }
    QVERIFY(mTool->Write(u"notes.txt"_s, "notes"));
    QCOMPARE(mTool->Run(arguments + QStringList{u"notes.txt"_s}).ExitCode, 2);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    QCOMPARE(mTool->Read(u"ja.xlf"_s), japanese);
    QCOMPARE(mTool->Read(u"notes.txt"_s), QByteArray("notes"));
}

void tst_ToolXliff::Fill_usage()
{
    for (const QStringList& arguments :
         {QStringList{u"--all"_s, u"-o"_s, u"c"_s}, QStringList{u"--all"_s, u"--pseudo"_s}}) {
        QCOMPARE(mTool->Run(QStringList{u"xliff"_s, u"fill"_s, u"a"_s} + arguments).ToText(),
                 u"! qvutil: --all needs --pseudo and --output\n! Try 'qvutil xliff fill --help'.\n=> 2\n"_s);
    }
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"a"_s, u"b"_s, u"-o"_s, u"c"_s}).ToText(),
             u"! qvutil: --output takes one XLIFF file\n! Try 'qvutil xliff fill --help'.\n=> 2\n"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"-"_s}).ToText(),
             u"! qvutil: standard input needs --output\n! Try 'qvutil xliff fill --help'.\n=> 2\n"_s);
}

void tst_ToolXliff::List_texts_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    QTest::newRow("all") << QStringList()
                         << u"done\nempty\nfilled\nTwo\\nlines\nTwo\\\\nlines\nreview\nmarkup\n=> 0\n"_s;
    QTest::newRow("untranslated") << QStringList{u"--untranslated"_s}
                                  << u"empty\nfilled\nTwo\\nlines\nTwo\\\\nlines\n=> 0\n"_s;
    QTest::newRow("unfinished") << QStringList{u"--unfinished"_s}
                                << u"empty\nfilled\nTwo\\nlines\nTwo\\\\nlines\nreview\nmarkup\n=> 0\n"_s;
}

void tst_ToolXliff::List_texts()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    const QByteArray done = Unit(u"done"_s, "<target>x</target>");
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(done + Unit(u"empty"_s, "<target/>")
                               + Unit(u"filled"_s, "<target state='needs-translation'>x</target>")
                               + Unit(u"Two\nlines"_s, "<target state='new'>x</target>")
                               + Unit(u"Two\\nlines"_s, "<target state='new'>x</target>")
                               + Unit(u"review"_s, "<target state='needs-review-translation'>x</target>")
                               + Unit(u"markup"_s, "<target><g id='1'>x</g></target>"))));
    QCOMPARE(mTool->Run(QStringList{u"xliff"_s, u"list"_s, u"de.xlf"_s} + arguments).ToText(), expected);
    QVERIFY(mTool->Write(u"done.xlf"_s, Xliff(done)));
    QCOMPARE(mTool->Run(QStringList{u"xliff"_s, u"list"_s, u"done.xlf"_s} + arguments).ToText(),
             arguments.isEmpty() ? u"done\n=> 0\n"_s : u"=> 1\n"_s);
}

void tst_ToolXliff::List_unreachable()
{
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff("<group>" + Unit(u"grouped"_s, "<target>x</target>") + "</group>"
                               + "<trans-unit id='7'><source>numbered</source><target>x</target></trans-unit>"
                               + Unit(u"done"_s, "<target>x</target>"))));
    QVERIFY(
        mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s}).Output.contains("1 of 3   33 %  2 out of reach"));
    QCOMPARE(mTool->Run({u"xliff"_s, u"list"_s, u"de.xlf"_s, u"--unfinished"_s}).ToText(),
             u"grouped\nnumbered\n=> 0\n"_s);
    // The units have translations, although the library does not find them.
    QCOMPARE(mTool->Run({u"xliff"_s, u"list"_s, u"de.xlf"_s, u"--untranslated"_s}).ToText(), u"=> 1\n"_s);
    const QByteArray json
        = mTool->Run({u"xliff"_s, u"list"_s, u"de.xlf"_s, u"--unfinished"_s, u"--json"_s}).Output;
    QCOMPARE(QJsonDocument::fromJson(json).array().at(0).toObject().value(u"progress"_s).toString(),
             u"unreachable"_s);
}

void tst_ToolXliff::List_json()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target state='new'>x</target>"))));
    const ToolResult result
        = mTool->Run({u"xliff"_s, u"list"_s, u"--json"_s, u"--untranslated"_s, u"de.xlf"_s});
    QCOMPARE(QJsonDocument::fromJson(result.Output),
             QJsonDocument::fromJson(
                 "[{\"file\": \"de.xlf\", \"line\": 5, \"column\": 13, \"original\": \"ui.xml\", "
                 "\"source\": \"A\", \"target\": \"x\", \"state\": \"new\", \"progress\": \"unfinished\", "
                 "\"id\": \""
                 + Id(u"A"_s) + "\"}]"));
}

void tst_ToolXliff::Stat_table()
{
    const QByteArray second
        = "<file original='other/long-name.xml' source-language='en' target-language='de' "
          "datatype='xml'><header/><body>\n"
        + Unit(u"Z"_s, "<target>z</target>") + "</body></file>\n</xliff>";
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>a</target>")
                               + Unit(u"B"_s, "<target state='needs-l10n'>b</target>")
                               + Unit(u"C"_s, "<target state='new'>c</target>", 0, " approved=\"yes\"")
                               + Unit(u"D"_s, "<target/>"))
                             .replace("</xliff>", second)));
    QVERIFY(mTool->Write(u"one.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>a</target>")).replace(" target-language=\"de\"", "")));
    QVERIFY(mTool->Write(u"none.xlf"_s, "<xliff version='1.2'/>"));
    QCOMPARE(mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s, u"one.xlf"_s, u"none.xlf"_s}).ToText(),
             u"de.xlf: en to de\n"
             "  ui.xml               [##########..........]  2 of 4   50 %  1 unfinished, 1 empty\n"
             "  other/long-name.xml  [....................]  0 of 1    0 %  1 out of reach\n"
             "  all                  [########............]  2 of 5   40 %  1 unfinished, 1 empty, 1 out of "
             "reach\n"
             "one.xlf: en to ?\n"
             "  ui.xml  [####################]  1 of 1  100 %\n"
             "none.xlf\n"
             "  all  [####################]  0 of 0  100 %\n=> 0\n"_s);
}

void tst_ToolXliff::Stat_json()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target>a</target>") + Unit(u"B"_s, "<target/>"))));
    const ToolResult result = mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s, u"--json"_s});
    const QByteArray counts
        = "\"units\": 2, \"finished\": 1, \"unfinished\": 0, \"empty\": 1, \"unreachable\": 0";
    QCOMPARE(
        QJsonDocument::fromJson(result.Output),
        QJsonDocument::fromJson("[{\"file\": \"de.xlf\", \"all\": {" + counts
                                + "}, \"documents\": [{\"original\": \"ui.xml\", \"sourceLanguage\": \"en\", "
                                  "\"targetLanguage\": \"de\", "
                                + counts + "}]}]"));
}

void tst_ToolXliff::Show_visibleTexts()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)' b='tr(B)'>tr(C)\n<y same='tr(OK)' none='tr()'/></x>"));
    QVERIFY(mTool->Write(u"ui2.xml"_s, "<x>tr(C\nD)</x>"));
    const QByteArray id = Id(u"B"_s);
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>a \"1\"</target>") + Unit(u"B"_s, "<target/>")
                               + Unit(u"OK"_s, "<target>OK</target>"))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"show"_s, u"de.xlf"_s, u"./ui.xml"_s}).ToText(),
             u"./ui.xml:1:4: \"A\" -> \"a \\\"1\\\"\"\n"
             "./ui.xml:1:14: \"B\" -> \"%1\"  ID SHOWN: no target\n"
             "./ui.xml:1:1: \"C\"  UNTRANSLATED: no unit\n"
             "./ui.xml:2:4: \"OK\" -> \"OK\"\n"
             "./ui.xml with de.xlf: 2 translated, 1 untranslated, 1 shown as an id\n=> 0\n"_s.arg(
                 QString::fromLatin1(id)));
    QCOMPARE(mTool->Run({u"xliff"_s, u"show"_s, u"de.xlf"_s, u"ui2.xml"_s}).ToText(),
             u"ui2.xml:1:1: \"C\\nD\"  UNTRANSLATED: no unit\n"
             "ui2.xml with de.xlf: 0 translated, 1 untranslated, 0 shown as an id\n=> 0\n"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"show"_s, u"de.xlf"_s, u"none.xml"_s}).ToText(),
             u"! qvutil: none.xml: No such file or directory\n=> 2\n"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"show"_s, u"de.xlf"_s, u"-"_s}).ToText(),
             u"! qvutil: the document needs a file name, because translations are found by it\n"
             "! Try 'qvutil xliff show --help'.\n=> 2\n"_s);
}

void tst_ToolXliff::Show_json()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, "<x a='tr(A)'/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target>a</target>"))));
    const ToolResult result = mTool->Run({u"xliff"_s, u"show"_s, u"de.xlf"_s, u"ui.xml"_s, u"--json"_s});
    QCOMPARE(QJsonDocument::fromJson(result.Output),
             QJsonDocument::fromJson(
                 "[{\"path\": \"/x@a\", \"line\": 1, \"column\": 4, \"source\": \"A\", \"shown\": "
                 "\"a\", \"result\": \"translated\", \"id\": \""
                 + Id(u"A"_s) + "\"}]"));
}

void tst_ToolXliff::Show_likeTheLibrary()
{
    const QString folder = QStringLiteral(QVUTIL_SOURCE_DIR "/examples/data/");
    const QString document = folder + u"Preferences.xml"_s;
    XlfTranslator translator(folder + u"Waypost.de.xlf"_s);
    Quorvin::Util::XmlFiler filer;
    filer.Translator = &translator;
    QVERIFY(filer.LoadFromXmlFile(document));
    const ToolResult result
        = mTool->Run({u"xliff"_s, u"show"_s, folder + u"Waypost.de.xlf"_s, document, u"--json"_s});
    int compared = 0;
    for (const QJsonValue value : QJsonDocument::fromJson(result.Output).array()) {
        const QStringList path = value.toObject().value(u"path"_s).toString().split(u'@');
        if (path.at(0) != "/Dialog"_L1 || path.size() != 2)
            continue;
        QCOMPARE(value.toObject().value(u"shown"_s).toString(), filer.ReadString(path.at(1), {}));
        ++compared;
    }
    QCOMPARE(compared, 1);
    QVERIFY(result.Output.contains("\"Einstellungen\""));
}

void tst_ToolXliff::Help_data()
{
    QTest::addColumn<QString>("command");
    for (const char* command : {"extract", "check", "repair", "fill", "merge", "list", "stat", "show"})
        QTest::newRow(command) << QString::fromLatin1(command);
}

void tst_ToolXliff::Help()
{
    QFETCH(const QString, command);

    const ToolResult help = mTool->Run({u"xliff"_s, command, u"--help"_s});
    QCOMPARE(help.ExitCode, 0);
    QVERIFY(help.Output.contains("Examples:\n  qvutil xliff " + command.toLatin1()));
    const ToolResult bare = mTool->Run({u"xliff"_s, command});
    QCOMPARE(bare.ExitCode, 2);
    QVERIFY(bare.Errors.contains("required"));
}

void tst_ToolXliff::Rules_data()
{
    QTest::addColumn<QByteArray>("before"); // an XLIFF file to update; empty to create one
    QTest::addColumn<bool>("isValid");

    QTest::newRow("new file") << QByteArray() << true;
    QTest::newRow("update") << Xliff(
        Unit(u"Main"_s, "<seg-source>Main</seg-source>\n                <note>n</note>"))
                            << true;
    // This row shows that the rules reject invalid files.
    QTest::newRow("invalid file") << Xliff(Unit(u"Main"_s, "<note>n</note><target/>")) << false;
}

void tst_ToolXliff::Rules()
{
    QFETCH(const QByteArray, before);
    QFETCH(const bool, isValid);

    QVERIFY(mTool->Write(u"ui.xml"_s, kDocument));
    if (!before.isEmpty())
        QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"extract"_s, u"ui.xml"_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s}).ExitCode,
        0);
    const QString rules = QStringLiteral(QVUTIL_SOURCE_DIR "/tests/data/xliff-1.2.rng");
    for (const QStringList& fill :
         {QStringList(), QStringList{u"xliff"_s, u"fill"_s, u"--pseudo"_s, u"de.xlf"_s}}) {
        if (!fill.isEmpty())
            QCOMPARE(mTool->Run(fill).ExitCode, 0);
        const ToolResult result
            = RunOther(u"xmllint"_s, {u"--noout"_s, u"--relaxng"_s, rules, mTool->Path(u"de.xlf"_s)});
        QVERIFY2(result.ExitCode >= 0, "xmllint is needed: Debian's package libxml2-utils");
        QVERIFY2((result.ExitCode == 0) == isValid, result.Errors.constData());
    }
}

void tst_ToolXliff::Linguist_roundTrip()
{
    QVERIFY(mTool->Write(u"ui.xml"_s, kDocument));
    QVERIFY(mTool->Write(u"z.xml"_s, "<x a='tr(Z)'>tr(Main)</x>"));
    QCOMPARE(mTool->Run({u"xliff"_s, u"extract"_s, u"."_s, u"-l"_s, u"de"_s, u"-o"_s, u"de.xlf"_s}).ExitCode,
             0);
    QCOMPARE(mTool->Run({u"xliff"_s, u"fill"_s, u"--pseudo"_s, u"de.xlf"_s}).ExitCode, 0);
    QString program = QStringLiteral(QVUTIL_LCONVERT);
    const ToolResult result
        = RunOther(program, {mTool->Path(u"de.xlf"_s), u"-o"_s, mTool->Path(u"back.xlf"_s)});
    QVERIFY2(result.ExitCode == 0, "lconvert is needed: Debian's package qt6-l10n-tools");

    // The library reads Linguist's file as before, with each text in its document.
    const QString back = mTool->Path(u"back.xlf"_s);
    QCOMPARE(Translated(back, u"Main"_s), u"[Ṁáíñ~~]"_s);
    QCOMPARE(Translated(back, u"Save %1"_s), u"[Šáṽé %1~~]"_s);
    QCOMPARE(Translated(back, u" Spaced "_s), u"[ Šþáçéđ ~~~]"_s);
    QCOMPARE(XlfTranslator(back).Translate(u"Z"_s, u"z.xml"_s), u"[Ž~]"_s);
    // Linguist keeps only one unit for each id: it drops the text in the second document, and `extract` adds
    // it again.
    QCOMPARE(mTool->Run({u"xliff"_s, u"extract"_s, u"."_s, u"-o"_s, u"back.xlf"_s, u"--reuse"_s}).ToText(),
             u"back.xlf: 6 texts in 2 documents: 5 kept, 1 new (1 with a translation from another document); "
             "written\n=> 0\n"_s);
    QCOMPARE(XlfTranslator(back).Translate(u"Main"_s, u"z.xml"_s), u"[Ṁáíñ~~]"_s);
    QCOMPARE(mTool->Run({u"xliff"_s, u"check"_s, u"back.xlf"_s, u"-d"_s, u"."_s}).ExitCode, 0);
}

void tst_ToolXliff::Samples()
{
    const QString folder = QStringLiteral(QVUTIL_SOURCE_DIR);
    const ToolResult result = mTool->RunShell(
        u"cd '%1' && \"$TOOL\" xliff check examples/data/Waypost.de.xlf examples/data/Waypost.ja.xlf "
        "--documents examples/data --require-finished && for l in de ja; do \"$TOOL\" xliff extract "
        "examples/data "
        "-o examples/data/Waypost.$l.xlf --dry-run; done"_s.arg(folder));
    QCOMPARE(result.ToText(),
             u"examples/data/Waypost.de.xlf: 129 units, no findings\n"
             "examples/data/Waypost.ja.xlf: 129 units, no findings\n"
             "examples/data/Waypost.de.xlf: 129 texts in 2 documents: 129 kept, 0 new; unchanged\n"
             "examples/data/Waypost.ja.xlf: 129 texts in 2 documents: 129 kept, 0 new; unchanged\n=> 0\n"_s);
}

QTEST_GUILESS_MAIN(tst_ToolXliff)
#include "tst_ToolXliff.moc"
