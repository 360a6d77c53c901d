// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests that the commands which print SVG and HTML write well-formed, complete and harmless documents, and
// that no text is outside its picture. The appearance of the pictures is not tested.

#include "GeneralUtil.h"
#include "support/GridSupport.h"
#include "support/MessagingSupport.h"
#include "support/RunningTool.h"
#include "support/ToolTest.h"

#include <QCoreApplication>
#include <QDomDocument>
#include <QRegularExpression>
#include <QSystemSemaphore>

#include <optional>

using namespace Qt::StringLiterals;
using namespace GridSupport;
using namespace MessagingSupport;
using TestSupport::StartListener;
using TestSupport::ToolResult;

namespace {

const QString kGrid = u"desk"_s;
// A text that must appear unchanged, and never as markup.
const QString kHostile = u"<script>alert('1')</script>\"&amp;]]>"_s;

QList<QDomElement> Find(const QDomDocument& document, const QString& name)
{
    QList<QDomElement> elements;
    const QDomNodeList nodes = document.elementsByTagName(name);
    for (int i = 0; i < nodes.size(); ++i)
        elements.append(nodes.at(i).toElement());
    return elements;
}

// Returns the texts of all elements with a name, and with a class if one is given.
QStringList Texts(const QDomDocument& document, const QString& name, const QString& styleClass = {})
{
    QStringList texts;
    for (const QDomElement& element : Find(document, name)) {
        if (styleClass.isEmpty() || element.attribute(u"class"_s).split(u' ').contains(styleClass))
            texts.append(element.text());
    }
    return texts;
}

// Returns the document; a null one if it is not well-formed, or could load or run anything.
QDomDocument Parse(const QByteArray& bytes)
{
    QDomDocument document;
    const QRegularExpression loads(u"\\b(src|href|on\\w+)=|url\\(|@import|javascript:"_s);
    if (!document.setContent(bytes) || !document.elementsByTagName(u"script"_s).isEmpty()
        || QString::fromUtf8(bytes).contains(loads))
        return {};
    return document;
}

// Returns what is wrong with a picture; empty if nothing is.
QString WhyBadPicture(const QDomDocument& document)
{
    const QDomElement root = document.documentElement();
    if (root.tagName() != "svg"_L1 || root.attribute(u"role"_s) != "img"_L1)
        return u"no picture"_s;
    if (root.firstChildElement(u"title"_s).text().isEmpty()
        || root.firstChildElement(u"desc"_s).text().isEmpty())
        return u"no title or description"_s;
    const QStringList view = root.attribute(u"viewBox"_s).split(u' ');
    const double width = view.value(2).toDouble();
    const double height = view.value(3).toDouble();
    for (const QDomElement& text : Find(document, u"text"_s)) {
        constexpr double kLetterWidth = 0.6; // as a fraction of the height, for fixed-width fonts
        const double length = static_cast<double>(text.text().size())
            * text.attribute(u"font-size"_s).toDouble() * kLetterWidth;
        const QString anchor = text.attribute(u"text-anchor"_s);
        double left = text.attribute(u"x"_s).toDouble();
        left -= anchor == "end"_L1 ? length : anchor == "middle"_L1 ? length / 2 : 0;
        const double y = text.attribute(u"y"_s).toDouble();
        if (left < 0 || left + length > width || y < 0 || y > height)
            return u"outside: "_s + text.text();
    }
    return {};
}

// Returns what is wrong with a page; empty if nothing is.
QString WhyBadPage(const QByteArray& bytes)
{
    const QString text = QString::fromUtf8(bytes);
    if (!text.startsWith("<!DOCTYPE html>"_L1))
        return u"no page"_s;
    // HTML parsers treat <div/> as a start tag.
    static const QRegularExpression emptyElement(u"<(?!meta )[^>]*/>"_s);
    return emptyElement.match(text).captured();
}

QByteArray Unit(const QString& source, const QByteArray& target)
{
    return "<trans-unit id=\"" + Quorvin::Util::GeneralUtil::GetHash(source) + "\"><source>" + source.toUtf8()
        + "</source>" + target + "</trans-unit>\n";
}

QByteArray File(const QString& original, const QByteArray& units)
{
    return "<file original=\"" + original.toHtmlEscaped().toUtf8()
        + "\" source-language=\"en\" target-language=\"de\" datatype=\"xml\"><body>\n" + units
        + "</body></file>\n";
}

QByteArray Xliff(const QByteArray& files)
{
    return "<?xml version=\"1.0\"?>\n<xliff version=\"1.2\" "
           "xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
        + files + "</xliff>\n";
}

} // namespace

class tst_ToolPictures : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Grid_links();
    void Grid_dead();
    void Grid_names_data();
    void Grid_names();
    void Grid_many();
    void Grid_none();
    void Latency();
    void Latency_noServer();
    void TruthTable();
    void TruthTable_names();
    void TruthTable_malformed();
    void Progress();
    void Progress_names();
    void Progress_unusableFile();
    void Usage_data();
    void Usage();

private:
    void SetUp() override;
    void TearDown() override;
    [[nodiscard]] ToolResult Show() const { return mTool->Run({u"grid"_s, u"show"_s, kGrid, u"--svg"_s}); }

    std::optional<QTemporaryDir> mTemporary;
    std::optional<TestSupport::EnvironmentGuard> mFolderGuard;
};

void tst_ToolPictures::SetUp()
{
    mTemporary.emplace();
    mFolderGuard.emplace("TMPDIR", QFile::encodeName(mTemporary->path()));
}

void tst_ToolPictures::TearDown()
{
    // Removes the segment and the semaphore that killed processes have left.
    QSharedMemory(kGrid).attach();
    QSystemSemaphore(kGrid, 1, QSystemSemaphore::Create);
    mFolderGuard.reset();
    mTemporary.reset();
}

// --- grid show --svg

void tst_ToolPictures::Grid_links()
{
    Peer first({u"grid"_s, kGrid});
    QVERIFY(!first.WaitForLine(u"joined"_s).isEmpty());
    Peer second({u"grid"_s, kGrid});
    QVERIFY(!second.WaitForLine(u"linked"_s).isEmpty());
    const QString process1 = u"process %1"_s.arg(first.Id());
    const QString process2 = u"process %1"_s.arg(second.Id());
#ifdef Q_OS_LINUX
    const QString arrow = process2 + u" is connected to "_s + process1;
    EVENTUALLY_EQUAL(Texts(Parse(Show().Output), u"title"_s).contains(arrow), true);
#endif
    EVENTUALLY_EQUAL(Show().ExitCode, 0);
    const ToolResult result = Show();
    QCOMPARE(result.Errors, QByteArray());
    const QDomDocument picture = Parse(result.Output);
    QCOMPARE(WhyBadPicture(picture), QString());
    const QStringList texts = Texts(picture, u"text"_s);
    QCOMPARE(texts.value(0), u"grid desk"_s);
    QCOMPARE(texts.value(1), u"2 alive, 0 dead; oldest first"_s);
    QVERIFY(texts.contains(process1));
    QVERIFY(texts.contains(u"desk.MessagePeer.%1"_s.arg(second.Id())));
    // The description is for people who cannot see the picture.
    const QString description = picture.documentElement().firstChildElement(u"desc"_s).text();
    QVERIFY(description.contains(process1));
    QVERIFY(description.contains(process2));
}

void tst_ToolPictures::Grid_dead()
{
    Peer peer({u"grid"_s, kGrid});
    QVERIFY(!peer.WaitForLine(u"joined"_s).isEmpty());
    QVERIFY(WaitUntil(
        [&] { return QFile::exists(mTemporary->filePath(u"desk.MessagePeer.%1"_s.arg(peer.Id()))); }));
    // Without this attachment, the segment would disappear with the killed process.
    Registry registry(kGrid);
    QVERIFY(registry.Attach());
    peer.Kill();
    const ToolResult result = Show();
    QCOMPARE(result.ExitCode, 1);
    const QDomDocument picture = Parse(result.Output);
    QCOMPARE(WhyBadPicture(picture), QString());
    const QStringList texts = Texts(picture, u"text"_s);
    QVERIFY(texts.contains(u"0 alive, 1 dead; oldest first"_s));
    QVERIFY(texts.contains(u"dead"_s));
    QVERIFY(texts.contains(u"Left behind by crashed processes"_s));
    QVERIFY(texts.join(u' ').contains(u"the entry of process %1"_s.arg(peer.Id())));
}

void tst_ToolPictures::Grid_names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");

    QTest::newRow("markup") << kHostile << kHostile;
    QTest::newRow("control characters") << u"a\u0001b\nc\u202ed"_s << u"a\\u0001b\\nc\\u202ed"_s;
    QTest::newRow("half a character") << u"a"_s + QChar(0xD83D) + u"b"_s << u"a?b"_s;
    QTest::newRow("wide characters") << u"机"_s.repeated(10) << u"机"_s.repeated(10);
    QTest::newRow("too long") << u"a"_s.repeated(100) + u"b"_s.repeated(100)
                              << u"a"_s.repeated(23) + u"…"_s + u"b"_s.repeated(22);
}

void tst_ToolPictures::Grid_names()
{
    QFETCH(const QString, name);
    QFETCH(const QString, shown);

    Registry registry(kGrid);
    QVERIFY(registry.Create());
    registry.SetBytes(Number32(1) + Entry(kNobody, name));
    const ToolResult result = Show();
    QCOMPARE(result.ExitCode, 1);
    const QDomDocument picture = Parse(result.Output);
    QCOMPARE(WhyBadPicture(picture), QString());
    const QStringList texts = Texts(picture, u"text"_s);
    QVERIFY2(texts.contains(shown), qPrintable(texts.join(u'\n')));
}

void tst_ToolPictures::Grid_many()
{
    constexpr int kCount = 150;
    Registry registry(kGrid);
    QVERIFY(registry.Create());
    QByteArray bytes = Number32(kCount);
    for (int i = 0; i < kCount; ++i)
        bytes += Entry(kNobody - i, u"m%1"_s.arg(i));
    registry.SetBytes(bytes);
    const QDomDocument picture = Parse(Show().Output);
    QCOMPARE(WhyBadPicture(picture), QString());
    QCOMPARE(Texts(picture, u"text"_s).count(u"dead"_s), kCount);
}

void tst_ToolPictures::Grid_none()
{
    QCOMPARE(Show().ToText(),
             u"! qvutil: grid desk: there is no such grid in %1\n=> 1\n"_s.arg(mTemporary->path()));
}

// --- ipc bench --svg

void tst_ToolPictures::Latency()
{
    const auto listener = StartListener(*mTool, u"echo"_s, {u"--echo"_s, u"--quiet"_s});
    QVERIFY(listener);
    const ToolResult result
        = TestSupport::RunIpc(*mTool, {u"bench"_s, u"echo"_s, u"--count"_s, u"100"_s, u"--svg"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    const QDomDocument picture = Parse(result.Output);
    QCOMPARE(WhyBadPicture(picture), QString());
    const QStringList texts = Texts(picture, u"text"_s);
    QCOMPARE(texts.value(0), u"Latency of echo"_s);
    QVERIFY(texts.value(1).startsWith("100 requests of 64 bytes in "_L1));
    for (const QString& mark : {u"median"_s, u"90 %"_s, u"99 %"_s, u"max"_s})
        QVERIFY2(texts.contains(mark), qPrintable(mark));
    // Every request is in one of the bars.
    static const QRegularExpression barPattern(u"^.* to .* [µm]?s: (\\d+) requests?$"_s);
    int requests = 0;
    for (const QString& title : Texts(picture, u"title"_s))
        requests += barPattern.match(title).captured(1).toInt();
    QCOMPARE(requests, 100);
}

void tst_ToolPictures::Latency_noServer()
{
    const ToolResult result = TestSupport::RunIpc(*mTool, {u"bench"_s, u"nobody"_s, u"--svg"_s});
    QCOMPARE(result.ExitCode, 1);
    QCOMPARE(result.Output, QByteArray());
}

// --- expr table --html

void tst_ToolPictures::TruthTable()
{
    const ToolResult result = mTool->Run({u"expr"_s, u"table"_s, u"(a) & b"_s, u"--html"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    QCOMPARE(WhyBadPage(result.Output), QString());
    const QDomDocument page = Parse(result.Output);
    QCOMPARE(Texts(page, u"code"_s), QStringList{u"(a) & b"_s});
    QCOMPARE(Texts(page, u"th"_s), (QStringList{u"a"_s, u"b"_s, u"result"_s}));
    QCOMPARE(Texts(page, u"td"_s).join(u' '),
             u"false false false false true false true false false true true true"_s);
    QCOMPARE(Texts(page, u"p"_s).last(), u"True in 1 of 4 cases."_s);
}

void tst_ToolPictures::TruthTable_names()
{
    const QString odd = u"<b onclick='x'>\"q\""_s;
    const ToolResult result = mTool->Run({u"expr"_s, u"table"_s, odd + u" | </td>"_s, u"--html"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(WhyBadPage(result.Output), QString());
    QDomDocument page;
    QVERIFY(page.setContent(result.Output));
    QCOMPARE(Texts(page, u"th"_s), (QStringList{odd, u"</td>"_s, u"result"_s}));
    QCOMPARE(Texts(page, u"b"_s), QStringList());
    QCOMPARE(Texts(page, u"td"_s).size(), 12);
}

void tst_ToolPictures::TruthTable_malformed()
{
    const ToolResult result = mTool->Run({u"expr"_s, u"table"_s, u"a &"_s, u"--html"_s});
    QCOMPARE(result.ExitCode, 2);
    QCOMPARE(result.Output, QByteArray());
}

// --- xliff stat --html

void tst_ToolPictures::Progress()
{
    const QByteArray half = Unit(u"A"_s, "<target>a</target>")
        + Unit(u"B"_s, "<target state=\"new\">b</target>") + Unit(u"C"_s, "<target/>")
        + Unit(u"D"_s, "<target>d</target>");
    QVERIFY(mTool->Write(
        u"de.xlf"_s,
        Xliff(File(u"Main.xml"_s, half) + File(u"Help.xml"_s, Unit(u"A"_s, "<target>a</target>")))));
    QVERIFY(
        mTool->Write(u"ja.xlf"_s, Xliff(File(u"Main.xml"_s, Unit(u"A"_s, "<target/>")).replace("de", "ja"))));
    const ToolResult result = mTool->Run({u"xliff"_s, u"stat"_s, u"de.xlf"_s, u"ja.xlf"_s, u"--html"_s});
    QCOMPARE(result.ToText().section(u'\n', -2), u"=> 0\n"_s);
    QCOMPARE(WhyBadPage(result.Output), QString());
    const QDomDocument page = Parse(result.Output);
    QCOMPARE(Texts(page, u"h2"_s), (QStringList{u"de.xlf"_s, u"ja.xlf"_s}));
    QCOMPARE(Texts(page, u"span"_s, u"share"_s),
             (QStringList{u"60 %"_s, u"50 %"_s, u"100 %"_s, u"0 %"_s, u"0 %"_s}));
    const QStringList counts = {u"en to de"_s,
                                u"3 of 5 finished, 1 unfinished, 1 empty"_s,
                                u"2 of 4 finished, 1 unfinished, 1 empty"_s,
                                u"1 of 1 finished"_s,
                                u"en to ja"_s,
                                u"0 of 1 finished, 1 empty"_s,
                                u"0 of 1 finished, 1 empty"_s};
    QCOMPARE(Texts(page, u"p"_s, u"counts"_s), counts);
    // The parts of each bar fill it.
    for (const QDomElement& bar : Find(page, u"div"_s)) {
        if (bar.attribute(u"class"_s) != "bar"_L1)
            continue;
        QVERIFY(counts.contains(bar.attribute(u"aria-label"_s)));
        double percent = 0;
        for (QDomElement part = bar.firstChildElement(); !part.isNull(); part = part.nextSiblingElement())
            percent += part.attribute(u"style"_s).remove(u"width: "_s).remove(u'%').toDouble();
        QVERIFY2(qAbs(percent - 100) < 0.1, qPrintable(QString::number(percent)));
    }
}

void tst_ToolPictures::Progress_names()
{
    const QString name = u"a<b>&\"c\".xlf"_s;
    QVERIFY(mTool->Write(name, Xliff(File(kHostile, Unit(u"A"_s, "<target>a</target>")))));
    const ToolResult result = mTool->Run({u"xliff"_s, u"stat"_s, name, u"--html"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(WhyBadPage(result.Output), QString());
    const QDomDocument page = Parse(result.Output);
    QCOMPARE(Texts(page, u"h2"_s), QStringList{name});
    QVERIFY(Texts(page, u"span"_s).contains(kHostile));
}

void tst_ToolPictures::Progress_unusableFile()
{
    QVERIFY(mTool->Write(u"de.xlf"_s, Xliff(File(u"Main.xml"_s, {}))));
    const ToolResult result = mTool->Run({u"xliff"_s, u"stat"_s, u"none.xlf"_s, u"de.xlf"_s, u"--html"_s});
    QCOMPARE(result.ExitCode, 2);
    QVERIFY(result.Errors.startsWith("qvutil: none.xlf: "));
    QCOMPARE(WhyBadPage(result.Output), QString());
    const QDomDocument page = Parse(result.Output);
    QCOMPARE(Texts(page, u"h2"_s), QStringList{u"de.xlf"_s});
    QCOMPARE(Texts(page, u"p"_s, u"bad"_s), QStringList{u"none.xlf could not be read."_s});
    // A document without texts counts as finished, and its bar is empty.
    QCOMPARE(Texts(page, u"span"_s, u"share"_s), (QStringList{u"100 %"_s, u"100 %"_s}));
}

// --- all

void tst_ToolPictures::Usage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");

    const auto row = [](const char* name, const QStringList& arguments, const QString& complaint) {
        QTest::newRow(name) << arguments << complaint;
    };
    row("grid as JSON too", {u"grid"_s, u"show"_s, u"desk"_s, u"--svg"_s, u"--json"_s},
        u"--json and --svg cannot be combined"_s);
    row("latency as JSON too", {u"ipc"_s, u"bench"_s, u"x"_s, u"--svg"_s, u"--json"_s},
        u"--json and --svg cannot be combined"_s);
    row("latency without answers", {u"ipc"_s, u"bench"_s, u"x"_s, u"--svg"_s, u"--one-way"_s},
        u"--svg shows how long answers take, and --one-way waits for none"_s);
    row("table as JSON too", {u"expr"_s, u"table"_s, u"a"_s, u"--html"_s, u"--json"_s},
        u"--json and --html cannot be combined"_s);
    row("progress as JSON too", {u"xliff"_s, u"stat"_s, u"none.xlf"_s, u"--html"_s, u"--json"_s},
        u"--json and --html cannot be combined"_s);
    row("flag with a file", {u"grid"_s, u"show"_s, u"desk"_s, u"--svg=desk.svg"_s},
        u"--svg takes no value"_s);
}

void tst_ToolPictures::Usage()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, complaint);

    const ToolResult result = mTool->Run(arguments);
    QCOMPARE(result.ExitCode, 2);
    QCOMPARE(result.Output, QByteArray());
    QCOMPARE(QString::fromUtf8(result.Errors).section(u'\n', 0, 0), u"qvutil: "_s + complaint);
}

QTEST_GUILESS_MAIN(tst_ToolPictures)

#include "tst_ToolPictures.moc"
