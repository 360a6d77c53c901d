// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests `qvutil xliff merge`: each test runs the real tool on real files.

#include "support/ToolTest.h"
#include "support/XliffSupport.h"

#include <QJsonDocument>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using TestSupport::Id;
using TestSupport::ToolResult;
using TestSupport::Translated;
using TestSupport::Unit;
using TestSupport::Xliff;

class tst_ToolXliffMerge : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void MergeUnits_data();
    void MergeUnits();
    void MatchUnits_data();
    void MatchUnits();
    void Languages_data();
    void Languages();
    void SeveralFiles();
    void SeveralFiles_firstWins_data();
    void SeveralFiles_firstWins();
    void Markup_data();
    void Markup();
    void Comments();
    void States();
    void Encodings_data();
    void Encodings();
    void Reuse();
    void MarksAroundTargets();
    void ElementsInSources();
    void Output();
    void DryRun();
    void Json();
    void Refusals_data();
    void Refusals();
};

void tst_ToolXliffMerge::MergeUnits_data()
{
    QTest::addColumn<QByteArray>("mine"); // target
    QTest::addColumn<QByteArray>("other"); // target
    QTest::addColumn<QString>("prefer");
    QTest::addColumn<QByteArray>("merged"); // target; empty if mine is kept
    QTest::addColumn<int>("conflicts");

    const QByteArray none = "<target/>";
    const QByteArray a = "<target>a</target>";
    const QByteArray b = "<target>b</target>";
    const QByteArray filled = "<target state=\"needs-translation\">A</target>";
    const QByteArray review = "<target state=\"needs-review-translation\">r</target>";
    const QByteArray takenB = "<target state=\"translated\">b</target>";

    QTest::newRow("nothing to take") << none << none << QString() << QByteArray() << 0;
    QTest::newRow("only a text that was filled in") << none << filled << QString() << QByteArray() << 0;
    QTest::newRow("empty target") << none << b << QString() << takenB << 0;
    QTest::newRow("empty target, to be reviewed") << none << review << QString() << review << 0;
    QTest::newRow("state of the other")
        << none << QByteArray("<target state=\"signed-off\">b</target>") << QString()
        << QByteArray("<target state=\"signed-off\">b</target>") << 0;
    QTest::newRow("markup in the other")
        << none << QByteArray("<target>b <g id='1'>c</g></target>") << QString()
        << QByteArray("<target state=\"translated\">b c</target>") << 0;
    QTest::newRow("text that was filled in") << filled << b << QString() << takenB << 0;
    QTest::newRow("equal") << a << a << QString() << QByteArray() << 0;
    QTest::newRow("equal, other is finished")
        << QByteArray("<target state=\"needs-review-translation\">b</target>") << b << QString() << takenB
        << 0;
    QTest::newRow("equal, other is to be reviewed")
        << b << QByteArray("<target state=\"needs-review-translation\">b</target>") << QString()
        << QByteArray() << 0;
    QTest::newRow("finished, other is to be reviewed") << a << review << u"other"_s << QByteArray() << 0;
    QTest::newRow("to be reviewed, other is finished") << review << b << QString() << QByteArray() << 1;
    QTest::newRow("both finished") << a << b << QString() << QByteArray() << 1;
    QTest::newRow("both finished, mine preferred") << a << b << u"mine"_s << QByteArray() << 1;
    QTest::newRow("both finished, other preferred") << a << b << u"other"_s << takenB << 1;
    QTest::newRow("only white space")
        << QByteArray("<target><![CDATA[ ]]></target>") << b << QString() << QByteArray() << 1;
    QTest::newRow("mark without a text")
        << QByteArray("<target>tr()</target>") << b << QString() << takenB << 0;
    QTest::newRow("mark without a text in the other")
        << none << QByteArray("<target>tr()</target>") << QString() << QByteArray() << 0;
    QTest::newRow("indentation around the only element")
        << none << QByteArray("<target>\n    <g id='1'>b</g>\n</target>") << QString() << takenB << 0;
}

void tst_ToolXliffMerge::MergeUnits()
{
    QFETCH(const QByteArray, mine);
    QFETCH(const QByteArray, other);
    QFETCH(const QString, prefer);
    QFETCH(const QByteArray, merged);
    QFETCH(const int, conflicts);

    const QByteArray before = Xliff(Unit(u"A"_s, mine));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(mTool->Write(u"old.xlf"_s, Xliff(Unit(u"A"_s, other))));
    QStringList arguments{u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s};
    if (!prefer.isEmpty())
        arguments += {u"--prefer"_s, prefer};
    const ToolResult result = mTool->Run(arguments);
    QCOMPARE(result.ExitCode, conflicts > 0 && prefer.isEmpty() ? 1 : 0);
    const QString summary = u"de.xlf: %1, %2; %3\n"_s.arg(merged.isEmpty() ? u"0 translations taken"_s
                                                                           : u"1 translation taken"_s,
                                                          conflicts == 1 ? u"1 conflict"_s : u"0 conflicts"_s,
                                                          merged.isEmpty() ? u"unchanged"_s : u"written"_s);
    QVERIFY2(QString::fromUtf8(result.Output).endsWith(summary), result.Output.constData());
    QCOMPARE(result.Output.count("[conflict]"), conflicts);
    const bool isFinished = !merged.contains("needs-");
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(merged.isEmpty()
                                   ? before
                                   : Xliff(Unit(u"A"_s, merged, 0, isFinished ? " approved=\"yes\"" : ""))));
    QCOMPARE(mTool->Run(arguments).ToText().contains("; unchanged\n"_L1),
             true); // a second merge takes nothing
}

void tst_ToolXliffMerge::MatchUnits_data()
{
    QTest::addColumn<QByteArray>("other");
    QTest::addColumn<QString>("result");

    const QByteArray a = Unit(u"A"_s, "<target>a</target>");
    QTest::newRow("the same document")
        << Xliff(a) << u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s;
    QTest::newRow("another folder") << Xliff(a).replace("ui.xml", "C:/x/UI.xml")
                                    << u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s;
    QTest::newRow("out of reach")
        << Xliff("<group>" + a + "</group>").replace("<body>", "<header/><body>").replace(Id(u"A"_s), "7")
        << u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s;
    QTest::newRow("another document") << Xliff(a).replace("ui.xml", "z.xml")
                                      << u"de.xlf: 0 translations taken, 0 conflicts; unchanged\n=> 0\n"_s;
    QTest::newRow("another text")
        << Xliff(Unit(u"B"_s, "<target>b</target>"))
        << u"de.xlf: 0 translations taken, 0 conflicts, 1 text only in other files; unchanged\n=> 0\n"_s;
    QTest::newRow("unknown text in the target")
        << Xliff(Unit(u"A"_s, "<target>a <x id='1'/></target>"))
        << u"de.xlf:5:13: \"A\": not taken from old.xlf:5:13: its target contains markup for text that is "
           "not in the file [left]\n"
           "de.xlf: 0 translations taken, 0 conflicts, 1 left to merge by hand; unchanged\n=> 1\n"_s;
    QTest::newRow("only unknown text in the target")
        << Xliff(Unit(u"A"_s, "<target><x id='1'/></target>"))
        << u"de.xlf:5:13: \"A\": not taken from old.xlf:5:13: its target contains markup for text that is "
           "not in the file [left]\n"
           "de.xlf: 0 translations taken, 0 conflicts, 1 left to merge by hand; unchanged\n=> 1\n"_s;
    QTest::newRow("source language with a region")
        << Xliff(a).replace("\"en\"", "\"en-US\"")
        << u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s;
    QTest::newRow("no source language") << Xliff(a).replace(" source-language=\"en\"", "")
                                        << u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s;
}

void tst_ToolXliffMerge::MatchUnits()
{
    QFETCH(const QByteArray, other);
    QFETCH(const QString, result);

    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>"))));
    QVERIFY(mTool->Write(u"old.xlf"_s, other));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s}), result);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s),
             result.contains(u"1 translation taken"_s) ? u"a"_s : QString::fromLatin1(Id(u"A"_s)));
    QCOMPARE(mTool->Read(u"old.xlf"_s), other);
}

void tst_ToolXliffMerge::Languages_data()
{
    // The file elements for ui.xml: "de" contains the text A in German, "de=B" the text B, "de=" no text.
    QTest::addColumn<QStringList>("mine");
    QTest::addColumn<QList<QStringList>>("others");
    QTest::addColumn<QStringList>("targets"); // in mine after the merge
    QTest::addColumn<QString>("result");

    const QString taken = u"mine.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s;
    const QString both = u"mine.xlf: 2 translations taken, 0 conflicts; written\n=> 0\n"_s;
    const QStringList german{u"de"_s};
    const QStringList unnamed{QString()};
    const QStringList deFr{u"de"_s, u"fr"_s};
    const QStringList frDe{u"fr"_s, u"de"_s};

    QTest::newRow("two languages in the other file")
        << german << QList<QStringList>{deFr} << QStringList{u"0 de"_s} << taken;
    QTest::newRow("two languages in the other file, mine last")
        << german << QList<QStringList>{frDe} << QStringList{u"0 de"_s} << taken;
    QTest::newRow("two languages in both files")
        << deFr << QList<QStringList>{frDe} << QStringList{u"0 de"_s, u"0 fr"_s} << both;
    QTest::newRow("one language in each of the other files")
        << deFr << QList<QStringList>{{u"fr"_s}, german} << QStringList{u"1 de"_s, u"0 fr"_s} << both;
    QTest::newRow("different spelling")
        << german << QList<QStringList>{{u"DE"_s}} << QStringList{u"0 DE"_s} << taken;
    QTest::newRow("only mine names a language")
        << german << QList<QStringList>{unnamed} << QStringList{u"0 "_s} << taken;
    QTest::newRow("only one file names a language")
        << unnamed << QList<QStringList>{german, unnamed} << QStringList{u"0 de"_s}
        << u"mine.xlf:4:1: \"A\": \"0 de\" is kept; 1.xlf:4:1 has \"1 \" [conflict]\n"
           "mine.xlf: 1 translation taken, 1 conflict; written\n=> 1\n"_s;
    QTest::newRow("no file names a language")
        << unnamed << QList<QStringList>{unnamed} << QStringList{u"0 "_s} << taken;
    QTest::newRow("the other names its language once")
        << german << QList<QStringList>{{u"fr"_s, QString()}} << QStringList{QString()}
        << u"! qvutil: 0.xlf: translates en to fr, not en to de\n=> 2\n"_s;
    QTest::newRow("mine may be in either language")
        << unnamed << QList<QStringList>{deFr} << QStringList{QString()}
        << u"! qvutil: mine.xlf:3:1: the file element has no target-language, which could be de or fr\n"
           "=> 2\n"_s;
    QTest::newRow("mine may be in the language of either file")
        << unnamed << QList<QStringList>{german, {u"fr"_s}} << QStringList{QString()}
        << u"! qvutil: mine.xlf:3:1: the file element has no target-language, which could be de or fr\n"
           "=> 2\n"_s;
    QTest::newRow("mine may be in either language, with regions")
        << unnamed << QList<QStringList>{{u"de-AT"_s, u"pt_BR"_s}} << QStringList{QString()}
        << u"! qvutil: mine.xlf:3:1: the file element has no target-language, which could be de-AT or pt_BR\n"
           "=> 2\n"_s;
    QTest::newRow("other languages, with regions")
        << QStringList{u"de-DE"_s} << QList<QStringList>{{u"fr-FR"_s, u"pt_BR"_s}} << QStringList{QString()}
        << u"! qvutil: 0.xlf: translates en to fr-FR, en to pt_BR, not en to de-DE\n=> 2\n"_s;
    QTest::newRow("mine has the text in another language")
        << QStringList{u"de"_s, u"fr=B"_s} << QList<QStringList>{{u"fr"_s, u"fr=Z"_s}}
        << QStringList{QString(), QString()}
        << u"mine.xlf: 0 translations taken, 0 conflicts, 2 texts only in other files; unchanged\n=> 0\n"_s;
    const QString nothing = u"mine.xlf: 0 translations taken, 0 conflicts; unchanged\n=> 0\n"_s;
    QTest::newRow("no text in one language of the other")
        << unnamed << QList<QStringList>{{u"de"_s, u"fr="_s}} << QStringList{u"0 de"_s} << taken;
    QTest::newRow("no text where the other names its language")
        << unnamed << QList<QStringList>{{QString(), u"fr="_s}} << QStringList{u"0 "_s} << taken;
    QTest::newRow("no text in the other, which names no language")
        << deFr << QList<QStringList>{{u"="_s}} << QStringList{QString(), QString()} << nothing;
    QTest::newRow("no text in the other, in another language")
        << german << QList<QStringList>{{u"fr="_s}} << QStringList{QString()} << nothing;
    QTest::newRow("no text in mine") << QStringList{u"de="_s} << QList<QStringList>{{u"fr"_s}}
                                     << QStringList{}
                                     << u"! qvutil: 0.xlf: translates en to fr, not en to de\n=> 2\n"_s;
    QTest::newRow("the other may be in either language")
        << deFr << QList<QStringList>{unnamed} << QStringList{QString(), QString()}
        << u"! qvutil: 0.xlf:3:1: the file element has no target-language, which could be de or fr\n"
           "=> 2\n"_s;
}

// Each translation names the file that it comes from and its language.
void tst_ToolXliffMerge::Languages()
{
    QFETCH(const QStringList, mine);
    QFETCH(const QList<QStringList>, others);
    QFETCH(const QStringList, targets);
    QFETCH(const QString, result);

    const auto write = [this](const QString& name, const QStringList& elements, const QString& target) {
        QString text = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\">\n"_s;
        for (const QString& element : elements) {
            const QString language = element.section(u'=', 0, 0);
            const QString source = element.contains(u'=') ? element.section(u'=', 1) : u"A"_s;
            const QString attribute
                = language.isEmpty() ? QString() : u" target-language=\"%1\""_s.arg(language);
            const QString content
                = target.isEmpty() ? u"<target/>"_s : u"<target>%1 %2</target>"_s.arg(target, language);
            const QString unit = u"<trans-unit id=\"%1\"><source>%2</source>%3</trans-unit>\n"_s.arg(
                QString::fromLatin1(Id(source)), source, content);
            text += u"<file original=\"ui.xml\" source-language=\"en\"%1 datatype=\"xml\"><body>\n"
                    "%2</body></file>\n"_s.arg(attribute, source.isEmpty() ? QString() : unit);
        }
        return mTool->Write(name, (text + u"</xliff>\n"_s).toUtf8());
    };
    QVERIFY(write(u"mine.xlf"_s, mine, {}));
    const QByteArray before = mTool->Read(u"mine.xlf"_s);
    QStringList arguments{u"xliff"_s, u"merge"_s, u"mine.xlf"_s};
    for (qsizetype i = 0; i < others.size(); ++i) {
        arguments += u"%1.xlf"_s.arg(i);
        QVERIFY(write(arguments.constLast(), others.at(i), QString::number(i)));
    }
    QCOMPARE(Run(arguments), result);
    static const QRegularExpression target(u"<target[^>]*?(?:/>|>([^<]*)<)"_s);
    QStringList found;
    QRegularExpressionMatchIterator matches
        = target.globalMatch(QString::fromUtf8(mTool->Read(u"mine.xlf"_s)));
    while (matches.hasNext())
        found += matches.next().captured(1);
    QCOMPARE(found, targets);
    if (result.endsWith("=> 2\n"_L1))
        QCOMPARE(mTool->Read(u"mine.xlf"_s), before);
}

void tst_ToolXliffMerge::SeveralFiles()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>") + Unit(u"B"_s, "<target/>"))));
    QVERIFY(mTool->Write(u"1.xlf"_s, Xliff(Unit(u"A"_s, "<target>1</target>"))));
    QVERIFY(mTool->Write(u"2.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>2</target>") + Unit(u"B"_s, "<target>2</target>"))));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"1.xlf"_s, u"2.xlf"_s}),
             u"de.xlf:5:13: \"A\": \"1\" is kept; 2.xlf:5:13 has \"2\" [conflict]\n"
             "de.xlf: 2 translations taken, 1 conflict; written\n=> 1\n"_s);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"1"_s);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"B"_s), u"2"_s);
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"2.xlf"_s, u"--prefer"_s, u"other"_s}),
             u"de.xlf:5:13: \"A\": \"2\" from 2.xlf:5:13 replaces \"1\" [conflict]\n"
             "de.xlf: 1 translation taken, 1 conflict; written\n=> 0\n"_s);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), u"2"_s);
}

void tst_ToolXliffMerge::SeveralFiles_firstWins_data()
{
    QTest::addColumn<QByteArray>("mine"); // target
    QTest::addColumn<QByteArray>("first"); // target
    QTest::addColumn<QByteArray>("second"); // target
    QTest::addColumn<QString>("prefer");
    QTest::addColumn<QString>("merged");
    QTest::addColumn<QString>("summary");

    const QByteArray none = "<target/>";
    const QByteArray a = "<target>a</target>";
    const QByteArray b = "<target>b</target>";
    const QByteArray c = "<target>c</target>";
    const QByteArray review = "<target state='needs-review-translation'>c</target>";
    const QByteArray partial = "<target>c <x id='1'/></target>";
    QTest::newRow("three translations")
        << a << b << c << u"other"_s << u"b"_s << u"1 translation taken, 2 conflicts; written\n=> 0\n"_s;
    QTest::newRow("first is equal") << a << a << c << u"other"_s << u"a"_s
                                    << u"0 translations taken, 1 conflict; unchanged\n=> 0\n"_s;
    QTest::newRow("first is to be reviewed")
        << a << review << b << u"other"_s << u"b"_s << u"1 translation taken, 1 conflict; written\n=> 0\n"_s;
    QTest::newRow("second confirms the first") << none << review << c << u"mine"_s << u"c"_s
                                               << u"1 translation taken, 0 conflicts; written\n=> 0\n"_s;
    QTest::newRow("first contains unknown text") << none << partial << c << u"mine"_s << u"c"_s
                                                 << u"1 translation taken, 0 conflicts; written\n=> 0\n"_s;
    QTest::newRow("first contains unknown text, and so does mine")
        << partial << partial << c << u"other"_s << u"c "_s
        << u"0 translations taken, 1 conflict; unchanged\n=> 0\n"_s;
    QTest::newRow("unknown text in a conflict")
        << a << partial << partial << u"other"_s << u"a"_s
        << u"0 translations taken, 0 conflicts, 2 left to merge by hand; unchanged\n=> 1\n"_s;
    QTest::newRow("unknown text in a conflict, mine preferred")
        << a << partial << partial << u"mine"_s << u"a"_s
        << u"0 translations taken, 2 conflicts; unchanged\n=> 0\n"_s;
}

void tst_ToolXliffMerge::SeveralFiles_firstWins()
{
    QFETCH(const QByteArray, mine);
    QFETCH(const QByteArray, first);
    QFETCH(const QByteArray, second);
    QFETCH(const QString, prefer);
    QFETCH(const QString, merged);
    QFETCH(const QString, summary);

    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, mine))));
    QVERIFY(mTool->Write(u"1.xlf"_s, Xliff(Unit(u"A"_s, first))));
    QVERIFY(mTool->Write(u"2.xlf"_s, Xliff(Unit(u"A"_s, second))));
    const ToolResult result
        = mTool->Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"1.xlf"_s, u"2.xlf"_s, u"--prefer"_s, prefer});
    QCOMPARE(result.ToText().section(u"de.xlf: "_s, -1), summary);
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), merged);
}

void tst_ToolXliffMerge::Markup_data()
{
    QTest::addColumn<QByteArray>("mine"); // target
    QTest::addColumn<QString>("output");

    const QString conflict = u" is kept; old.xlf:5:13 has \"b\" [conflict]\n"
                             "de.xlf: 0 translations taken, 1 conflict; unchanged\n=> 1\n"_s;
    QTest::newRow("only an element with text")
        << QByteArray("<target><g id='1'>a</g></target>") << u"\"a\""_s + conflict;
    QTest::newRow("only an element for unknown text")
        << QByteArray("<target> <x id='1'/></target>") << u"\"<x id='1'/>\""_s + conflict;
    QTest::newRow("only an element without text")
        << QByteArray("<target><g id='1'/></target>") << u"\"<g id='1'/>\""_s + conflict;
}

void tst_ToolXliffMerge::Markup()
{
    QFETCH(const QByteArray, mine);
    QFETCH(const QString, output);

    const QByteArray before = Xliff(Unit(u"A"_s, mine));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(mTool->Write(u"old.xlf"_s, Xliff(Unit(u"A"_s, "<target>b</target>"))));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s}), u"de.xlf:5:13: \"A\": "_s + output);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    // Merging a file with itself changes nothing.
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"de.xlf"_s}),
             u"de.xlf: 0 translations taken, 0 conflicts; unchanged\n=> 0\n"_s);
    // A translation that is only confirmed keeps its markup.
    const QByteArray review = " state=\"needs-review-translation\"";
    QVERIFY(mTool->Write(u"de.xlf"_s, QByteArray(before).replace("<target>", "<target" + review + ">")));
    QVERIFY(mTool->Write(u"old.xlf"_s, before));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s}),
             u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(QByteArray(before)
                                   .replace("<target>", "<target state=\"translated\">")
                                   .replace("\">\n                <source>",
                                            "\" approved=\"yes\">\n                <source>")));
}

void tst_ToolXliffMerge::Comments()
{
    QVERIFY(mTool->Write(u"de.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target><!-- Anna --><![CDATA[<!-- b -->]]></target>")
                               + Unit(u"B"_s, "<target><!-- todo --></target>"))));
    QVERIFY(mTool->Write(u"old.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>a</target>") + Unit(u"B"_s, "<target>b</target>"))));
    QCOMPARE(
        mTool->Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s, u"--prefer"_s, u"other"_s}).ExitCode,
        0);
    const QByteArray yes = " approved=\"yes\"";
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(
                 Xliff(Unit(u"A"_s, "<target state=\"translated\">a</target><!-- Anna -->", 0, yes)
                       + Unit(u"B"_s, "<target state=\"translated\">b</target><!-- todo -->", 0, yes))));
}

void tst_ToolXliffMerge::States()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff("<trans-unit id='1'><source>A</source></trans-unit>\n")));
    QVERIFY(mTool->Write(u"old.xlf"_s, Xliff(Unit(u"A"_s, "<target state='x-\"&lt;&amp;'>a</target>"))));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s}),
             u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s);
    QVERIFY(mTool->Read(u"de.xlf"_s).contains("<target state=\"x-&quot;&lt;&amp;\">a</target>"));
}

void tst_ToolXliffMerge::Encodings_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("written");

    QTest::newRow("character that the encoding lacks") << u"aあ"_s << QByteArray("a&#12354;");
    QTest::newRow("mark") << u"tr(\u00e4)"_s << QByteArray("<![CDATA[tr(\xe4)]]>");
    QTest::newRow("mark with a character that the encoding lacks")
        << u"tr(あ)"_s << QByteArray("tr(tr(&#12354;))");
    QTest::newRow("mark with the end of a CDATA section") << u"tr(a]]>b)"_s << QByteArray("tr(tr(a]]&gt;b))");
}

void tst_ToolXliffMerge::Encodings()
{
    QFETCH(const QString, text);
    QFETCH(const QByteArray, written);

    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>")).replace("UTF-8", "ISO-8859-1")));
    // The markup in this file prevents the library from removing the mark.
    const QByteArray target = text.toUtf8().replace("]]>", "]]&gt;").replace("tr(", "<g id='1'>tr</g>(");
    QVERIFY(mTool->Write(u"old.xlf"_s, Xliff(Unit(u"A"_s, "<target>" + target + "</target>"))));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s}),
             u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s);
    const QByteArray after = mTool->Read(u"de.xlf"_s);
    QVERIFY2(after.contains("<target state=\"translated\">" + written + "</target>"), after.constData());
    QCOMPARE(Translated(mTool->Path(u"de.xlf"_s), u"A"_s), text);
}

void tst_ToolXliffMerge::Reuse()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target/>") + Unit(u"B"_s, "<target>b</target>"))));
    const QByteArray elsewhere
        = Xliff(Unit(u"A"_s, "<target>a</target>") + Unit(u"B"_s, "<target>x</target>"))
              .replace("ui.xml", "z.xml");
    QVERIFY(mTool->Write(u"old.xlf"_s, elsewhere));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s, u"--reuse"_s}),
             u"de.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s);
    QCOMPARE(QString::fromUtf8(mTool->Read(u"de.xlf"_s)),
             QString::fromUtf8(Xliff(Unit(u"A"_s, "<target state=\"needs-review-translation\">a</target>")
                                     + Unit(u"B"_s, "<target>b</target>"))));
}

// The library removes the mark around a target. The merged target is the text that the library returns.
void tst_ToolXliffMerge::MarksAroundTargets()
{
    QVERIFY(mTool->Write(u"mine.xlf"_s, Xliff(Unit(u"A"_s, "<target/>") + Unit(u"B"_s, "<target/>"))));
    QVERIFY(mTool->Write(
        u"other.xlf"_s,
        Xliff(Unit(u"A"_s, "<target>tr(a)</target>") + Unit(u"B"_s, "<target>tr(tr(b))</target>"))));
    QCOMPARE(mTool->Run({u"xliff"_s, u"merge"_s, u"mine.xlf"_s, u"other.xlf"_s}).ExitCode, 0);
    QCOMPARE(Translated(mTool->Path(u"mine.xlf"_s), u"A"_s), u"a"_s);
    QCOMPARE(Translated(mTool->Path(u"mine.xlf"_s), u"B"_s), Translated(mTool->Path(u"other.xlf"_s), u"B"_s));
}

// Two sources that differ only in an element that stands for unknown text.
void tst_ToolXliffMerge::ElementsInSources()
{
    const auto unit = [](const QByteArray& what, const QByteArray& target) {
        return Unit(QString::fromLatin1(what), target)
            .replace("<source>" + what, "<source>Delete <x id='" + what + "'/>?");
    };
    QVERIFY(mTool->Write(u"mine.xlf"_s, Xliff(unit("file", "<target/>") + unit("folder", "<target/>"))));
    QVERIFY(mTool->Write(
        u"other.xlf"_s,
        Xliff(unit("file", "<target>Datei weg?</target>") + unit("folder", "<target>Mappe weg?</target>"))));
    for (const QString& option : {u"--prefer=mine"_s, u"--reuse"_s}) {
        (void)mTool->Run({u"xliff"_s, u"merge"_s, u"mine.xlf"_s, u"other.xlf"_s, option});
        QCOMPARE(Translated(mTool->Path(u"mine.xlf"_s), u"file"_s), u"Datei weg?"_s);
        QCOMPARE(Translated(mTool->Path(u"mine.xlf"_s), u"folder"_s), u"Mappe weg?"_s);
    }
}

void tst_ToolXliffMerge::Output()
{
    const QByteArray before = Xliff(Unit(u"A"_s, "<target/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(mTool->Write(u"old.xlf"_s, Xliff(Unit(u"A"_s, "<target>a</target>"))));
    QCOMPARE(Run({u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s, u"-o"_s, u"out.xlf"_s}),
             u"out.xlf: 1 translation taken, 0 conflicts; written\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    QCOMPARE(Translated(mTool->Path(u"out.xlf"_s), u"A"_s), u"a"_s);
}

void tst_ToolXliffMerge::DryRun()
{
    const QByteArray before = Xliff(Unit(u"A"_s, "<target/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(mTool->Write(u"old.xlf"_s, Xliff(Unit(u"A"_s, "<target>a</target>"))));
    const QStringList arguments{u"xliff"_s, u"merge"_s, u"de.xlf"_s, u"old.xlf"_s, u"--dry-run"_s};
    const ToolResult tried = mTool->Run(arguments);
    QCOMPARE(tried.ExitCode, 1);
    QVERIFY(tried.Output.startsWith("--- de.xlf\n+++ de.xlf\n@@ -"));
    QVERIFY(tried.Output.endsWith("\nde.xlf: 1 translation taken, 0 conflicts; would change\n"));
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    // With --json, the exit code is the same.
    QCOMPARE(mTool->Run(arguments + QStringList{u"--json"_s}).ExitCode, 1);
    // An output file that does not exist differs, even if nothing is taken.
    QVERIFY(mTool->Write(u"none.xlf"_s, Xliff({})));
    const QStringList other{u"xliff"_s,     u"merge"_s, u"de.xlf"_s, u"none.xlf"_s,
                            u"--dry-run"_s, u"-o"_s,    u"out.xlf"_s};
    const ToolResult text = mTool->Run(other);
    QCOMPARE(text.ExitCode, 1);
    QVERIFY2(text.Output.endsWith("\nout.xlf: 0 translations taken, 0 conflicts; would change\n"),
             text.Output.constData());
    QCOMPARE(mTool->Run(other + QStringList{u"--json"_s}).ExitCode, 1);
    QVERIFY(!QFile::exists(mTool->Path(u"out.xlf"_s)));
    QCOMPARE(mTool->Run(arguments.first(4)).ExitCode, 0);
    QCOMPARE(mTool->Run(arguments).ToText(),
             u"de.xlf: 0 translations taken, 0 conflicts; unchanged\n=> 0\n"_s);
}

void tst_ToolXliffMerge::Json()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(Unit(u"A"_s, "<target>a</target>"))));
    QVERIFY(mTool->Write(u"old.xlf"_s,
                         Xliff(Unit(u"A"_s, "<target>x</target>") + Unit(u"B"_s, "<target>b</target>"))));
    const ToolResult result = mTool->Run({u"xliff"_s, u"merge"_s, u"--json"_s, u"de.xlf"_s, u"old.xlf"_s});
    QCOMPARE(result.ExitCode, 1);
    QCOMPARE(
        QJsonDocument::fromJson(result.Output),
        QJsonDocument::fromJson(
            "{\"file\": \"de.xlf\", \"output\": \"de.xlf\", \"written\": false, \"taken\": 0, \"conflicts\": "
            "1, \"left\": 0, "
            "\"unknown\": [\"B\"], \"units\": [{\"line\": 5, \"column\": 13, \"source\": \"A\", \"before\": "
            "\"a\", \"other\": \"x\", \"otherFile\": \"old.xlf\", \"otherLine\": 5, \"conflict\": true, "
            "\"taken\": false, \"partial\": false}]}"));
}

void tst_ToolXliffMerge::Refusals_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");

    const QString hint = u"! Try 'qvutil xliff merge --help'.\n"_s;
    QTest::newRow("another language") << QStringList{u"de.xlf"_s, u"fr.xlf"_s}
                                      << u"! qvutil: fr.xlf: translates en to fr, not en to de\n"_s;
    QTest::newRow("another source language") << QStringList{u"de.xlf"_s, u"it.xlf"_s}
                                             << u"! qvutil: it.xlf: translates it to de, not en to de\n"_s;
    QTest::newRow("another file as output")
        << QStringList{u"de.xlf"_s, u"old.xlf"_s, u"-o"_s, u"./old.xlf"_s}
        << u"! qvutil: --output must not be old.xlf, from which translations are taken\n"_s + hint;
    QTest::newRow("unknown preference")
        << QStringList{u"de.xlf"_s, u"fr.xlf"_s, u"--prefer"_s, u"newer"_s}
        << u"! qvutil: --prefer must be mine or other, not 'newer'\n"_s + hint;
    QTest::newRow("standard input") << QStringList{u"-"_s, u"de.xlf"_s}
                                    << u"! qvutil: standard input needs --output\n"_s + hint;
    QTest::newRow("missing file") << QStringList{u"de.xlf"_s, u"none.xlf"_s}
                                  << u"! qvutil: none.xlf: No such file or directory\n"_s;
}

void tst_ToolXliffMerge::Refusals()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, error);

    const QByteArray before = Xliff(Unit(u"A"_s, "<target/>"));
    QVERIFY(mTool->Write(u"de.xlf"_s, before));
    QVERIFY(mTool->Write(u"fr.xlf"_s, Xliff(Unit(u"A"_s, "<target>a</target>")).replace("\"de\"", "\"fr\"")));
    const QByteArray old = Xliff(Unit(u"A"_s, "<target>a</target>") + Unit(u"B"_s, "<target>b</target>"));
    QVERIFY(mTool->Write(u"old.xlf"_s, old));
    QVERIFY(mTool->Write(u"it.xlf"_s, QByteArray(old).replace("\"en\"", "\"it\"")));
    QCOMPARE(Run(QStringList{u"xliff"_s, u"merge"_s} + arguments), error + u"=> 2\n"_s);
    QCOMPARE(mTool->Read(u"de.xlf"_s), before);
    QCOMPARE(mTool->Read(u"old.xlf"_s), old);
}

QTEST_GUILESS_MAIN(tst_ToolXliffMerge)
#include "tst_ToolXliffMerge.moc"
