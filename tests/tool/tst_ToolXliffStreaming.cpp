// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Failure.h"
#include "support/XliffSupport.h"
#include "xliff/XliffDocument.h"
#include "xliff/XliffProgress.h"

#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Quorvin::Tool;
using TestSupport::Unit;
using TestSupport::Xliff;

namespace {

QString ToText(const ProgressCounts& counts)
{
    return u"%1 = %2 + %3 + %4 + %5; "_s.arg(counts.Units)
        .arg(counts.Finished)
        .arg(counts.Unfinished)
        .arg(counts.Empty)
        .arg(counts.Unreachable);
}

QString ToText(const XliffProgress& progress)
{
    QString text;
    for (const FileProgress& file : progress.Files) {
        text += u"[%1] [%2] [%3] "_s.arg(file.Original, file.SourceLanguage, file.TargetLanguage)
            + ToText(file.Counts);
    }
    return text + ToText(progress.All);
}

/// Generates random XLIFF files, most of them invalid.
class XliffMaker
{
public:
    explicit XliffMaker(QRandomGenerator& random)
        : mRandom(random)
    { }

    QByteArray MakeFile()
    {
        QByteArray content;
        for (int i = mRandom.bounded(4); i > 0; --i)
            content += MakeFileElement();
        if (IsOneOf(10))
            content += MakeUnit(0);
        return "<xliff version='1.2'>\n" + content + "</xliff>\n";
    }

private:
    bool IsOneOf(int number) { return mRandom.bounded(number) == 0; }
    QByteArray AnyOf(const QList<QByteArray>& texts) { return texts.at(mRandom.bounded(int(texts.size()))); }

    QByteArray MakeFileElement()
    {
        const QByteArray name = IsOneOf(6) ? "other" : "file";
        QByteArray content;
        if (IsOneOf(4))
            content += AnyOf({"<header/>", "<header><note/></header>", "<!-- c -->", "text", "<?p?>"});
        for (int i = IsOneOf(3) ? mRandom.bounded(3) : 1; i > 0; --i)
            content += "<body>" + MakeParts(0) + "</body>\n";
        if (IsOneOf(8))
            content += MakeUnit(0);
        return "<" + name
            + AnyOf({" original='ui.xml'", " original='x/UI.xml'", " original='b.xml'", " original='b/'",
                     " original='tr(ui.xml)'", " original=''", ""})
            + AnyOf({" source-language='en'", " source-language='tr(en)'", ""})
            + AnyOf({" target-language='de'", " target-language='fr'", ""}) + ">\n" + content + "</" + name
            + ">\n";
    }

    QByteArray MakeParts(int depth)
    {
        QByteArray parts;
        for (int i = mRandom.bounded(4); i > 0; --i) {
            if (depth < 3 && IsOneOf(6))
                parts += "<group>" + AnyOf({"", "<note>n</note>"}) + MakeParts(depth + 1) + "</group>";
            else
                parts += MakeUnit(depth) + AnyOf({"\n", "", "<!-- c -->"});
        }
        return parts;
    }

    QByteArray MakeTarget()
    {
        return AnyOf({"<target", "<target", "<target", "<x:target", "<Target"})
            + AnyOf({"", "", " state='new'", " state='needs-translation'", " state='final'", " state=''"})
            + ">"
            + AnyOf({"", "t", "t", " t ", "  ", "\n", "tr(t)", "tr()", "TR( )", "<![CDATA[t]]>",
                     "<![CDATA[tr(t)]]>", "<!-- c -->t", "<?p?>t", "<g>t</g>", "t<g>u</g>", "t<!-- c -->u",
                     "&#65;", "&lt;", "<target>t</target>"});
    }

    QByteArray MakeUnit(int depth)
    {
        const QByteArray name = IsOneOf(8) ? "x:trans-unit" : "trans-unit";
        QByteArray content = AnyOf({"<source>S</source>", ""});
        for (int i = IsOneOf(4) ? mRandom.bounded(3) : 1; i > 0; --i) {
            QByteArray target = MakeTarget();
            target += target.startsWith("<x:") ? "</x:target>"
                : target.startsWith("<T")      ? "</Target>"
                                               : "</target>";
            content += IsOneOf(8) ? "<alt-trans>" + target + "</alt-trans>" : target;
        }
        if (depth < 3 && IsOneOf(8))
            content += MakeUnit(depth + 1);
        static const QByteArray digest = TestSupport::Id(u"S"_s);
        return "<" + name + AnyOf({"", "", " approved='yes'", " approved='no'"})
            + AnyOf({" id='" + digest + "'", " id='" + digest + "'", " id='" + digest + "'",
                     " id='tr(" + digest + ")'", " id='" + digest.toUpper() + "'", " id='1'", " id=''", ""})
            + ">" + content + "</" + name + ">";
    }

    QRandomGenerator& mRandom;
};

/// Changes a file at random, which usually makes it malformed.
QByteArray Mutated(QByteArray content, QRandomGenerator& random)
{
    static const QList<QByteArray> pieces{
        "<target>",      "</target>", "<target/>", "<body>",    "</body>",       "<trans-unit>",
        "</trans-unit>", "<file>",    "</file>",   "<group/>",  "&amp;",         "&#32;",
        "<!-- c -->",    "<?p?>",     "x",         "<",         "<![CDATA[ ]]>", "\xC2\xA0",
        "\xE4",          "\x01",      "'",         " a='1'",    "<!DOCTYPE a>",  " state='new'",
        "tr(",           ")",         "]]>",       "<![CDATA[", "\xEF\xBB\xBF",  "&e;"};
    for (int i = 1 + random.bounded(3); i > 0; --i) {
        const auto at = random.bounded(int(content.size()) + 1);
        if (random.bounded(3) == 0)
            content.remove(at, random.bounded(12));
        else
            content.insert(at, pieces.at(random.bounded(int(pieces.size()))));
    }
    return content;
}

} // namespace

/// Files that are streamed give the same numbers as files that are loaded.
class tst_ToolXliffStreaming : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void Files_data();
    void Files();
    void RandomFiles();
    void Mutations();
    void Samples();

private:
    /// Compares both ways to read a file. \return what differs; empty if nothing does
    [[nodiscard]] QString FindDifference(const QByteArray& content) const;
    [[nodiscard]] static bool CanStream(const QByteArray& content)
    {
        return StreamProgress({}, content).has_value();
    }

    const QTemporaryDir mFolder;
};

void tst_ToolXliffStreaming::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

QString tst_ToolXliffStreaming::FindDifference(const QByteArray& content) const
{
    QFile file(mFolder.filePath(u"a.xlf"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return u"cannot write the file"_s;
    file.close();
    const auto resultOf = [](const auto& read) {
        try {
            return ToText(read());
        } catch (const Failure& failure) {
            return u"failure: %1: %2"_s.arg(failure.Subject, failure.Reason);
        }
    };
    const QString streamed = resultOf([&] { return ReadProgress(InputFile(file.fileName())); });
    const QString loaded = resultOf([&] { return CountProgress(XliffDocument(InputFile(file.fileName()))); });
    return streamed == loaded ? QString() : u"streamed: %1\nloaded:   %2"_s.arg(streamed, loaded);
}

void tst_ToolXliffStreaming::Files_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("canStream");

    const QByteArray a = Unit(u"A"_s, "<target>a</target>");
    const auto file = [](const QByteArray& original, const QByteArray& content) {
        return "<file original='" + original + "'>" + content + "</file>";
    };
    const auto xliff
        = [](const QByteArray& content) { return "<xliff version='1.2'>" + content + "</xliff>"; };
    QTest::newRow("no content") << xliff({}) << true;
    QTest::newRow("one unit") << Xliff(a) << true;
    QTest::newRow("all steps") << Xliff(
        a + Unit(u"B"_s, "<target/>") + Unit(u"C"_s, "") + Unit(u"D"_s, "<target state='new'>d</target>")
        + Unit(u"E"_s, "<target state='new'>e</target>", 0, " approved='yes'"))
                               << true;
    QTest::newRow("header before the body") << Xliff(a).replace("<body>", "<header/><body>") << true;
    QTest::newRow("header after the body") << Xliff(a).replace("</body>", "</body><header/>") << true;
    QTest::newRow("comment before the body") << Xliff(a).replace("<body>", "<!-- c --><body>") << true;
    QTest::newRow("group") << Xliff("<group>" + a + "</group>" + a) << true;
    for (const char* id : {"7", "", "tr(%1)", "%1 ", "0%1"}) {
        const QByteArray digest = TestSupport::Id(u"A"_s);
        QTest::addRow("id '%s'", id) << Xliff(
            a + QByteArray(a).replace(digest, QByteArray(id).replace("%1", digest)))
                                     << true;
    }
    QTest::newRow("no id") << Xliff(QByteArray(a).replace(" id=\"" + TestSupport::Id(u"A"_s) + '"', ""))
                           << true;
    QTest::newRow("unit in a unit") << Xliff(QByteArray(a).replace("</target>", "</target>" + a)) << true;
    QTest::newRow("unit beside the body") << Xliff(a).replace("</body>", "</body>" + a) << true;
    QTest::newRow("unit without a file") << xliff(a) << true;
    QTest::newRow("unit in a unit without a file") << xliff(a + "<trans-unit>" + a + "</trans-unit>") << true;
    QTest::newRow("second body") << Xliff(a).replace("</body>", "</body><body>" + a + "</body>") << true;
    QTest::newRow("second file of the same name")
        << xliff(file("x/A.xml", "<body>" + a + a + "</body>") + file("a.xml", "<body>" + a + "</body>"))
        << true;
    QTest::newRow("second file without units")
        << xliff(file("a.xml", "<body>" + a + "</body>") + file("a.xml", "<body/>") + file("a.xml", {}))
        << true;
    QTest::newRow("second file with other elements")
        << xliff(file("a.xml", "<body>" + a + "</body>") + file("a.xml", "<header><note/></header>")) << true;
    QTest::newRow("no file name") << xliff(file("a/", "<body>" + a + "</body>")) << true;
    QTest::newRow("two targets") << Xliff(Unit(u"A"_s, "<target/><target>a</target>")) << true;
    QTest::newRow("target that is not the unit's")
        << Xliff(Unit(u"A"_s, "<alt-trans><target>a</target></alt-trans><target state='new'>b</target>"))
        << true;
    QTest::newRow("target in a target") << Xliff(Unit(u"A"_s, "<target><target>a</target></target>")) << true;
    QTest::newRow("target begins with markup") << Xliff(Unit(u"A"_s, "<target><g>a</g>b</target>")) << true;
    QTest::newRow("target begins with a comment")
        << Xliff(Unit(u"A"_s, "<target><!-- c -->b</target>")) << true;
    QTest::newRow("target is a mark") << Xliff(Unit(u"A"_s, "<target>tr(b)</target>")) << true;
    QTest::newRow("target is an empty mark") << Xliff(Unit(u"A"_s, "<target>tr()</target>")) << true;
    QTest::newRow("target is a CDATA section")
        << Xliff(Unit(u"A"_s, "<target><![CDATA[tr()]]></target>")) << true;
    QTest::newRow("target is a CDATA section of white space")
        << Xliff(Unit(u"A"_s, "<target><![CDATA[ ]]></target>")) << false;
    QTest::newRow("byte order mark") << "\xEF\xBB\xBF" + Xliff(a) << true;
    QTest::newRow("no declaration") << Xliff(a).mid(Xliff(a).indexOf('\n') + 1) << true;
    QTest::newRow("different case of the encoding") << Xliff(a).replace("UTF-8", "utf-8") << true;
    QTest::newRow("Latin-1") << Xliff(Unit(u"A"_s, "<target>\xE4</target>")).replace("UTF-8", "ISO-8859-1")
                             << false;
    QTest::newRow("Latin-1, declared late")
        << Xliff(Unit(u"A"_s, "<target>\xE4</target>"))
               .replace("encoding=\"UTF-8\"", QByteArray(500, ' ') + "encoding=\"ISO-8859-1\"")
        << false;
    QTest::newRow("document type") << "<!DOCTYPE xliff>" + xliff(file("a.xml", "<body>" + a + "</body>"))
                                   << false;
    QTest::newRow("no version") << Xliff(a).replace(" version=\"1.2\"", "") << true;
    QTest::newRow("version 1.1") << Xliff(a).replace(" version=\"1.2\"", " version=\"1.1\"") << true;
    QTest::newRow("version 2") << Xliff(a).replace(" version=\"1.2\"", " version=\"2.0\"") << false;
    QTest::newRow("empty version") << Xliff(a).replace(" version=\"1.2\"", " version=\"\"") << false;
    QTest::newRow("another root") << QByteArray("<TS/>") << false;
    QTest::newRow("prefix") << Xliff(a).replace("xliff", "x:xliff") << false;
    QTest::newRow("malformed") << Xliff(a).replace("</xliff>", "") << false;
    QTest::newRow("empty") << QByteArray() << false;
}

void tst_ToolXliffStreaming::Files()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, canStream);

    QCOMPARE(FindDifference(content), QString());
    QCOMPARE(CanStream(content), canStream);
}

void tst_ToolXliffStreaming::RandomFiles()
{
    constexpr int kFiles = 1000;
    QRandomGenerator random(1);
    XliffMaker maker(random);
    for (int i = 0; i < kFiles; ++i) {
        const QByteArray content = maker.MakeFile();
        QVERIFY2(CanStream(content), content.constData());
        const QString difference = FindDifference(content);
        QVERIFY2(difference.isEmpty(), (difference.toUtf8() + '\n' + content).constData());
    }
}

void tst_ToolXliffStreaming::Mutations()
{
    constexpr int kFiles = 2000;
    QRandomGenerator random(2);
    XliffMaker maker(random);
    int streamed = 0;
    for (int i = 0; i < kFiles; ++i) {
        const QByteArray content = Mutated(maker.MakeFile(), random);
        streamed += CanStream(content) ? 1 : 0;
        const QString difference = FindDifference(content);
        QVERIFY2(difference.isEmpty(), (difference.toUtf8() + '\n' + content).constData());
    }
    QVERIFY2(streamed > kFiles / 40 && streamed < kFiles, qPrintable(QString::number(streamed)));
}

void tst_ToolXliffStreaming::Samples()
{
    for (const char* name : {"Waypost.de.xlf", "Waypost.ja.xlf"}) {
        QFile file(QStringLiteral(QVUTIL_SOURCE_DIR "/examples/data/") + QString::fromLatin1(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        QVERIFY(CanStream(content));
        QCOMPARE(FindDifference(content), QString());
    }
}

QTEST_GUILESS_MAIN(tst_ToolXliffStreaming)
#include "tst_ToolXliffStreaming.moc"
