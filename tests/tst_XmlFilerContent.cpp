// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"
#include "support/TestSupport.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTextStream>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

QByteArray AllBytes()
{
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes.append(char(i));
    return bytes;
}

/// Removes a translation mark by means of the two patterns that define it.
bool StripByPatterns(QString& text)
{
    static const QRegularExpression opening(u"^\\s*tr\\s*\\("_s, QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression closing(u"\\)\\s*$"_s);
    if (!text.contains(opening) || !text.contains(closing))
        return false;
    text.remove(opening);
    text.remove(closing);
    return true;
}

/// Returns a random text that consists of parts of translation marks and of similar texts.
QString RandomText(QRandomGenerator& random)
{
    static const QStringList pieces = {
        u"tr"_s,  u"TR"_s,     u"tR"_s,     u"("_s,      u"("_s,      u")"_s,  u")"_s,        u" "_s,
        u"\t"_s,  u"\n"_s,     u"\r"_s,     u"\v"_s,     u"\f"_s,     u"x"_s,  u"\""_s,       u"t"_s,
        u"r"_s,   u"tr("_s,    u")\n"_s,    u")\r\n"_s,  u"\u00A0"_s, u"😀"_s,  QChar(0xD83D), QChar(0xDE00),
        QChar(0), u"\u0085"_s, u"\u2028"_s, u"\u2003"_s, u"ſ"_s,      u"Ｔ"_s, u"\u001C"_s,   u"\u200B"_s};
    QString text = random.bounded(2) == 0 ? u"tr("_s : QString();
    const int count = int(random.bounded(7));
    for (int i = 0; i < count; ++i)
        text += pieces[random.bounded(int(pieces.size()))];
    if (random.bounded(2) == 0)
        text += u')';
    if (random.bounded(3) == 0)
        text += pieces[random.bounded(int(pieces.size()))];
    return text;
}

/// True if a text of this type can be written to an element at a node path.
template <typename Filer, typename Text>
concept TakesNodeText = requires(Filer& filer, const QString& path, Text text)
{
    filer.WriteNodeText(path, text);
};
template <typename Filer> constexpr bool TakesTextsOnly()
{
    // A type that does not convert to QString would convert to the flag of the overload without a path.
    return TakesNodeText<
               Filer, QString> && TakesNodeText<Filer, QLatin1StringView> && TakesNodeText<Filer, bool> && !TakesNodeText<Filer, const char*> && !TakesNodeText<Filer, const char16_t*> && !TakesNodeText<Filer, const wchar_t*> && !TakesNodeText<Filer, const char8_t*> && !TakesNodeText<Filer, std::nullptr_t>;
}
static_assert(TakesTextsOnly<XmlFiler>());
static_assert(TakesTextsOnly<Settings>());

QString Saved(const QDomNode& node)
{
    QString text;
    QTextStream stream(&text);
    node.save(stream, 4, QDomNode::EncodingFromTextStream);
    return text;
}

} // namespace

class tst_XmlFilerContent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void WriteBuffer_data();
    void WriteBuffer();
    void WriteBuffer_replacesContent();
    void ReadBuffer_data();
    void ReadBuffer();
    void WriteNodeText_data();
    void WriteNodeText();
    void WriteText_charactersThatXmlForbids_data();
    void WriteText_charactersThatXmlForbids();
    void ReadNodeText_data();
    void ReadNodeText();
    void ReadNodeText_translator();
    void Content_noElement();
    void Content_paths();

    void ReadInnerXml_data();
    void ReadInnerXml();
    void WriteInnerXml_data();
    void WriteInnerXml();
    void WriteInnerXml_fails_data();
    void WriteInnerXml_fails();
    void WriteInnerXml_withoutRoot();
    void WriteInnerXml_withoutCursor();
    void WriteInnerXml_path();
    void WriteComment();
    void WriteComment_withoutCursor();

    void StripTr_data();
    void StripTr();
    void StripTr_likeItsPatterns();
    void Translate();
    void Translate_context();
};

void tst_XmlFilerContent::init()
{
    TestSupport::FailOnAnyMessage();
}

// Bytes

void tst_XmlFilerContent::WriteBuffer_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("two padding characters") << QByteArray("a") << u"YQ=="_s;
    QTest::newRow("one padding character") << QByteArray("ab") << u"YWI="_s;
    QTest::newRow("no padding") << QByteArray("abc") << u"YWJj"_s;
    QTest::newRow("standard alphabet") << QByteArray("\xFB\xFF\xBF") << u"+/+/"_s;
    QTest::newRow("zero bytes") << QByteArray(3, '\0') << u"AAAA"_s;
    QTest::newRow("all bytes, one line") << AllBytes() << QString::fromLatin1(AllBytes().toBase64());
    QTest::newRow("large") << AllBytes().repeated(500)
                           << QString::fromLatin1(AllBytes().repeated(500).toBase64());
}

void tst_XmlFilerContent::WriteBuffer()
{
    QFETCH(const QByteArray, value);
    QFETCH(const QString, text);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);

    filer.WriteBuffer(value);
    filer.WriteBuffer(u"A/B"_s, value);

    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QCOMPARE(filer.ReadBuffer(), value);
    QCOMPARE(filer.ReadBuffer(u"A/B"_s), value);
    QVERIFY(filer.MoveToNode(u"A/B"_s));
    QCOMPARE(filer.GetCurrentNode().childNodes().count(), 1);
    QVERIFY(filer.GetCurrentNode().firstChild().isCDATASection());
    QCOMPARE(filer.GetCurrentNode().firstChild().nodeValue(), text);

    XmlFiler again;
    QVERIFY(again.LoadFromXmlString(filer.SaveAsXmlString()));
    QCOMPARE(again.ReadBuffer(u"A/B"_s), value);
}

void tst_XmlFilerContent::WriteBuffer_replacesContent()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r a=\"1\">t<A/><!--c--></r>"_s));
    filer.WriteBuffer("abc");
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r a=\"1\"><![CDATA[YWJj]]></r>"_s));
    filer.WriteBuffer(QString(), "ab");
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r a=\"1\"><![CDATA[YWI=]]></r>"_s));
}

void tst_XmlFilerContent::ReadBuffer_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("CDATA") << u"<r><![CDATA[YWJj]]></r>"_s << QByteArray("abc");
    QTest::newRow("text") << u"<r>YWJj</r>"_s << QByteArray("abc");
    QTest::newRow("text on lines") << u"<r>\n  YW\n  Jj\n</r>"_s << QByteArray("abc");
    QTest::newRow("without padding") << u"<r>YWI</r>"_s << QByteArray("ab");
    QTest::newRow("first child only") << u"<r>YWJj<A/>YWJj</r>"_s << QByteArray("abc");
    QTest::newRow("comment first") << u"<r><!--c-->YWJj</r>"_s << QByteArray();
    QTest::newRow("element first") << u"<r><A/>YWJj</r>"_s << QByteArray();
    QTest::newRow("instruction first") << u"<r><?p YWJj?>YWJj</r>"_s << QByteArray();
    QTest::newRow("no content") << u"<r/>"_s << QByteArray();
    QTest::newRow("not base64") << u"<r>!!!!</r>"_s << QByteArray();
    QTest::newRow("a mark is not unwrapped") << u"<r>tr(YWJj)</r>"_s << QByteArray::fromBase64("tr(YWJj)");
}

void tst_XmlFilerContent::ReadBuffer()
{
    QFETCH(const QString, xml);
    QFETCH(const QByteArray, expected);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(xml));

    QCOMPARE(filer.ReadBuffer(), expected);
    QCOMPARE(filer.ReadBuffer(u"/r"_s), expected);
    QCOMPARE(filer.ReadBuffer(u"None"_s), QByteArray());
}

// Text

void tst_XmlFilerContent::WriteNodeText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("asText");

    QTest::newRow("plain") << u"text"_s << u"text"_s;
    QTest::newRow("markup characters") << u"<a> & \"b\""_s << u"&lt;a> &amp; \"b\""_s;
    QTest::newRow("lines") << u"one\n two"_s << u"one\n two"_s;
    QTest::newRow("beyond Latin-1") << u"日本 😀"_s << u"日本 😀"_s;
}

void tst_XmlFilerContent::WriteNodeText()
{
    QFETCH(const QString, text);
    QFETCH(const QString, asText);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r a=\"1\">old<A/><!--c--></r>"_s));

    filer.WriteNodeText(text);
    QCOMPARE(filer.ReadOuterXml(), u"    <r a=\"1\">"_s + asText + u"</r>\n"_s);
    QCOMPARE(filer.ReadNodeText(), text);
    filer.WriteNodeText(text, true);
    QCOMPARE(filer.GetCurrentNode().childNodes().count(), 1);
    QVERIFY(filer.GetCurrentNode().firstChild().isCDATASection());
    QCOMPARE(filer.ReadNodeText(), text);
    filer.WriteNodeText(text, false);
    QVERIFY(filer.GetCurrentNode().firstChild().nodeType() == QDomNode::TextNode);

    filer.WriteNodeText(u"A/B"_s, text);
    QCOMPARE(filer.ReadNodeText(u"A/B"_s), text);
    QVERIFY(filer.GetCurrentNode().lastChild().firstChild().firstChild().nodeType() == QDomNode::TextNode);
    filer.WriteNodeText(u"A/B"_s, text, true);
    QVERIFY(filer.GetCurrentNode().lastChild().firstChild().firstChild().isCDATASection());
    filer.WriteNodeText(u"A/B"_s, text, false);
    QVERIFY(filer.GetCurrentNode().lastChild().firstChild().firstChild().nodeType() == QDomNode::TextNode);
    QCOMPARE(filer.GetCurrentNode().lastChild().firstChild().childNodes().count(), 1);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
}

void tst_XmlFilerContent::WriteText_charactersThatXmlForbids_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("character"); // the character in the message; empty if there is no message

    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("tab and line endings") << u"\t\n\r"_s << QString();
    QTest::newRow("NUL") << QString(QChar(0)) << u"U+0000"_s;
    QTest::newRow("first of two") << u"a\u0008\u0001"_s << u"U+0008"_s;
    QTest::newRow("before the tab") << u"\t\u0008"_s << u"U+0008"_s;
    QTest::newRow("after the line feed") << u"\n\u000B"_s << u"U+000B"_s;
    QTest::newRow("before the carriage return") << u"\u000C"_s << u"U+000C"_s;
    QTest::newRow("after the carriage return") << u"\u000E"_s << u"U+000E"_s;
    QTest::newRow("last control character") << u"\u001F"_s << u"U+001F"_s;
    QTest::newRow("space and above") << u" \u007F\u0085\uD7FF\uE000\uFFFD"_s << QString();
    QTest::newRow("pair") << u"😀\U0010FFFF"_s << QString();
    QTest::newRow("high surrogate at the end") << u"a"_s + QChar(0xD83D) << u"U+D83D"_s;
    QTest::newRow("high surrogate alone") << QString(QChar(0xD83D)) + u'a' << u"U+D83D"_s;
    QTest::newRow("low surrogate alone") << QString(QChar(0xDE00)) + u'a' << u"U+DE00"_s;
    QTest::newRow("two high surrogates") << QString(2, QChar(0xD83D)) + QChar(0xDE00) << u"U+D83D"_s;
    QTest::newRow("last but one") << QString(QChar(0xFFFE)) << u"U+FFFE"_s;
    QTest::newRow("last") << QString(QChar(0xFFFF)) << u"U+FFFF"_s;
}

void tst_XmlFilerContent::WriteText_charactersThatXmlForbids()
{
    QFETCH(const QString, text);
    QFETCH(const QString, character);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    const TestSupport::LogGuard log;

    filer.WriteString(u"n"_s, text);
    filer.WriteString(u"A"_s, u"n"_s, text);
    filer.WriteNodeText(text);
    filer.WriteNodeText(u"A"_s, text);

    const QString warning
        = u"a text contains %1, which XML does not allow: it cannot be read back"_s.arg(character);
    QCOMPARE(log.Messages(), character.isNull() ? QStringList() : QStringList(4, warning));
    QCOMPARE(filer.ReadString(u"n"_s, QString()), text);
}

void tst_XmlFilerContent::ReadNodeText_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("expected");

    QTest::newRow("text") << u"<r>text</r>"_s << u"text"_s;
    QTest::newRow("CDATA") << u"<r><![CDATA[<text>]]></r>"_s << u"<text>"_s;
    QTest::newRow("mark in text") << u"<r>tr(Save)</r>"_s << u"Save"_s;
    QTest::newRow("mark in CDATA") << u"<r><![CDATA[tr(Save)]]></r>"_s << u"tr(Save)"_s;
    QTest::newRow("double mark is unwrapped once") << u"<r>tr(tr(Save))</r>"_s << u"tr(Save)"_s;
    QTest::newRow("text before an element") << u"<r>one<A/>two</r>"_s << u"one"_s;
    QTest::newRow("element first") << u"<r><A/>two</r>"_s << QString();
    QTest::newRow("comment first") << u"<r><!--c-->two</r>"_s << QString();
    QTest::newRow("instruction first") << u"<r><?p q?>two</r>"_s << QString();
    QTest::newRow("no content") << u"<r/>"_s << QString();
}

void tst_XmlFilerContent::ReadNodeText()
{
    QFETCH(const QString, xml);
    QFETCH(const QString, expected);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(xml));

    QCOMPARE(filer.ReadNodeText(), expected);
    QCOMPARE(filer.ReadNodeText(u"/r"_s), expected);
    QCOMPARE(filer.ReadNodeText(u"None"_s), QString());
    if (xml.contains(u"tr("_s)) {
        filer.TranslateEnabled = false;
        QVERIFY(filer.ReadNodeText().startsWith(u"tr("_s));
    }
}

void tst_XmlFilerContent::ReadNodeText_translator()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"texts.xlf"_s);
    QVERIFY(TestSupport::WriteFile(path,
                                   "<x><file original=\"a\"><body><u id=\"" + GeneralUtil::GetHash(u"Save"_s)
                                       + "\"><target>Speichern</target></u></body></file></x>"));
    XlfTranslator translator(path);
    XmlFiler filer;
    filer.Translator = &translator;
    QVERIFY(
        filer.LoadFromXmlString(u"<r n=\"tr(Save)\">tr(Save)<A>Save</A><B><![CDATA[tr(Save)]]></B></r>"_s));

    QCOMPARE(filer.ReadNodeText(), u"Speichern"_s);
    QCOMPARE(filer.ReadNodeText(u"A"_s), u"Save"_s);
    QCOMPARE(filer.ReadNodeText(u"B"_s), u"tr(Save)"_s);
    QCOMPARE(filer.ReadString(u"n"_s, QString()), u"Speichern"_s);
    QCOMPARE(filer.ReadString(u"/"_s, u"n"_s, QString()), u"Speichern"_s);
    QCOMPARE(filer.ReadString(u"/"_s, u"none"_s, u"tr(Save)"_s), u"Speichern"_s);
    QCOMPARE(filer.ReadString(u"none"_s, u"tr(Save)"_s), u"tr(Save)"_s);
}

// Where there is no element

void tst_XmlFilerContent::Content_noElement()
{
    XmlFiler filer;
    for (int i = 0; i < 2; ++i) {
        const QString before = filer.SaveAsXmlString();
        QCOMPARE(filer.ReadBuffer(), QByteArray());
        QCOMPARE(filer.ReadBuffer(QString()), QByteArray());
        QCOMPARE(filer.ReadNodeText(), QString());
        QCOMPARE(filer.ReadNodeText(QString()), QString());
        QCOMPARE(filer.ReadInnerXml(), QString());
        QCOMPARE(filer.ReadInnerXml(QString()), QString());
        QCOMPARE(filer.ReadOuterXml(), QString());
        QCOMPARE(filer.ReadOuterXml(QString()), QString());
        filer.WriteBuffer("abc");
        filer.WriteBuffer(QString(), "abc");
        filer.WriteNodeText(u"text"_s);
        filer.WriteNodeText(u"text"_s, true);
        filer.WriteNodeText(QString(), u"text"_s);
        filer.WriteNodeText(QString(), u"text"_s, true);
        QCOMPARE(filer.SaveAsXmlString(), before);
        QCOMPARE(filer.GetCurrentNode().isNull(), i == 0);

        // The document itself is not an element either.
        QVERIFY(filer.LoadFromXmlString(u"<r>text</r>"_s));
        QVERIFY(filer.MoveToParent());
    }
}

void tst_XmlFilerContent::Content_paths()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A>t</A></r>"_s));
    const QString before = filer.SaveAsXmlString();
    QVERIFY(filer.MoveToNode(u"A"_s));
    QCOMPARE(filer.ReadBuffer(u"X/Y"_s), QByteArray());
    QCOMPARE(filer.ReadNodeText(u"/X"_s), QString());
    QCOMPARE(filer.ReadInnerXml(u"X"_s), QString());
    QCOMPARE(filer.ReadOuterXml(u"X"_s), QString());
    QCOMPARE(filer.ReadInnerXml(u"/A"_s), u"t"_s);
    QCOMPARE(filer.ReadOuterXml(u"/r/A"_s), u"    <A>t</A>\n"_s);
    QCOMPARE(filer.SaveAsXmlString(), before);

    filer.WriteComment(u"/B/C"_s, u"c"_s);
    filer.WriteBuffer(u"/D"_s, "abc");
    filer.WriteNodeText(u"/E"_s, u"t"_s);
    QVERIFY(filer.WriteInnerXml(u"/F"_s, u"<G/>"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(
                 u"<r><A>t</A><B><C><!--c--></C></B><D><![CDATA[YWJj]]></D><E>t</E><F><G/></F></r>"_s));
}

// Markup

void tst_XmlFilerContent::ReadInnerXml_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("inner");

    QTest::newRow("no content") << u"<r/>"_s << u""_s;
    QTest::newRow("text") << u"<r>a &lt; b</r>"_s << u"a &lt; b"_s;
    QTest::newRow("element") << u"<r><A x=\"1\"/></r>"_s << u"<A x=\"1\"/>\n"_s;
    QTest::newRow("elements, indented by four")
        << u"<r><A><B><C/></B></A><D/></r>"_s
        << u"    <A>\n        <B>\n            <C/>\n        </B>\n    </A>\n    <D/>\n"_s;
    QTest::newRow("all kinds") << u"<r>t<A/><!--c--><![CDATA[d]]><?p q?></r>"_s
                               << u"t<A/> <!--c--><![CDATA[d]]><?p q?>"_s;
}

void tst_XmlFilerContent::ReadInnerXml()
{
    QFETCH(const QString, xml);
    QFETCH(const QString, inner);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(xml));
    QDomDocument raw;
    QVERIFY(raw.setContent(xml));
    QString expected;
    for (QDomNode child = raw.documentElement().firstChild(); !child.isNull(); child = child.nextSibling())
        expected += Saved(child);

    QCOMPARE(filer.ReadInnerXml(), expected);
    QCOMPARE(filer.ReadInnerXml(u"/r"_s), expected);
    QCOMPARE(filer.ReadInnerXml(u"None"_s), QString());
    QCOMPARE(filer.ReadOuterXml(), Saved(raw.documentElement()));
    QCOMPARE(filer.ReadOuterXml(u"/r"_s), Saved(raw.documentElement()));
    QCOMPARE(filer.ReadOuterXml(u"None"_s), QString());
    QCOMPARE(expected.simplified(), inner.simplified());
    if (inner.contains(u"    "_s))
        QCOMPARE(expected, inner);
}

void tst_XmlFilerContent::WriteInnerXml_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("expected");

    QTest::newRow("text and element") << u"a<b/>"_s << u"<r><Old/>a<b/></r>"_s;
    QTest::newRow("text") << u"a &amp; b"_s << u"<r><Old/>a &amp; b</r>"_s;
    QTest::newRow("order") << u"<a/><b x=\"1\"><c>t</c></b><a/>"_s
                           << u"<r><Old/><a/><b x=\"1\"><c>t</c></b><a/></r>"_s;
    QTest::newRow("comment") << u"<!--c-->"_s << u"<r><Old/><!--c--></r>"_s;
    QTest::newRow("CDATA and instruction")
        << u"<![CDATA[<]]><?p q?>"_s << u"<r><Old/><![CDATA[<]]><?p q?></r>"_s;
    QTest::newRow("an element of the wrapper's name") << u"<Root/>"_s << u"<r><Old/><Root/></r>"_s;
}

void tst_XmlFilerContent::WriteInnerXml()
{
    QFETCH(const QString, xml);
    QFETCH(const QString, expected);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><Old/></r>"_s));

    QVERIFY(filer.WriteInnerXml(xml));

    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(expected));
    QVERIFY(filer.WriteInnerXml(QString(), xml));
    QVERIFY(filer.GetCurrentNode().childNodes().count() > 2);
}

void tst_XmlFilerContent::WriteInnerXml_fails_data()
{
    QTest::addColumn<QString>("xml");

    QTest::newRow("null") << QString();
    QTest::newRow("empty") << u""_s;
    QTest::newRow("blank") << u" \n"_s;
    QTest::newRow("not closed") << u"<b>"_s;
    QTest::newRow("closed only") << u"</b>"_s;
    QTest::newRow("wrapper closed") << u"</Root><Root>"_s;
    QTest::newRow("bare ampersand") << u"a & b"_s;
    QTest::newRow("declaration") << u"<?xml version=\"1.0\"?><b/>"_s;
    QTest::newRow("good, then bad") << u"<a/><b>"_s;
}

void tst_XmlFilerContent::WriteInnerXml_fails()
{
    QFETCH(const QString, xml);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r>t<Old/></r>"_s));

    QVERIFY(!filer.WriteInnerXml(xml));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r>t<Old/></r>"_s));
    QVERIFY(!filer.WriteInnerXml(u"Old"_s, xml));
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r>t<Old/></r>"_s));
    // The path is created before the markup is parsed.
    QVERIFY(!filer.WriteInnerXml(u"New"_s, xml));
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r>t<Old/><New/></r>"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);

    filer.Reset();
    QVERIFY(!filer.WriteInnerXml(xml));
    QVERIFY(filer.IsEmpty());
    QVERIFY(filer.GetCurrentNode().isNull());
}

void tst_XmlFilerContent::WriteInnerXml_withoutRoot()
{
    XmlFiler filer;
    QVERIFY(filer.WriteInnerXml(u"a<b/>"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/Root"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<Root>a<b/></Root>"_s));

    // If the cursor is on a detached node, the new root is created below it.
    QVERIFY(filer.LoadFromXmlString(u"<Old/>"_s));
    QVERIFY(!filer.LoadFromXmlString(u"<"_s));
    QVERIFY(filer.WriteInnerXml(u"<b/>"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/Old/Root"_s);
    QVERIFY(filer.IsEmpty());
}

void tst_XmlFilerContent::WriteInnerXml_withoutCursor()
{
    XmlFiler filer;
    filer.PushCurrentNode();
    QVERIFY(filer.LoadFromXmlString(u"<r/>"_s));
    filer.PopCurrentNode();

    QVERIFY(!filer.WriteInnerXml(u"<b/>"_s));
    QVERIFY(filer.GetCurrentNode().isNull());
    filer.MoveToRoot();
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(u"<r/>"_s));

    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.WriteInnerXml(u"<!--c-->"_s));
    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(filer.GetCurrentNode().lastChild().isComment());
}

void tst_XmlFilerContent::WriteInnerXml_path()
{
    XmlFiler filer;
    QVERIFY(filer.WriteInnerXml(u"A/B"_s, u"<c/>"_s));
    QVERIFY(filer.GetCurrentNode().isNull());
    filer.MoveToRoot();
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<A><B><c/></B></A>"_s));
}

void tst_XmlFilerContent::WriteComment()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r>t<A/></r>"_s));

    filer.WriteComment(u"one & <two>"_s);
    filer.WriteComment(u"A/B"_s, u"three"_s);

    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r>t<A><B><!--three--></B></A><!--one & <two>--></r>"_s));

    QVERIFY(filer.MoveToParent());
    filer.WriteComment(u"tail"_s);
    QCOMPARE(filer.GetCurrentNode().lastChild().nodeValue(), u"tail"_s);
    QVERIFY(filer.GetCurrentNode().firstChild().isElement());
}

void tst_XmlFilerContent::WriteComment_withoutCursor()
{
    XmlFiler filer;
    filer.WriteComment(u"one"_s);
    filer.WriteComment(QString(), u"two"_s);
    QVERIFY(filer.GetCurrentNode().isNull());
    QVERIFY(filer.IsEmpty());
    filer.CreateRoot(u"r"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()).count(u"version"_s), 1);
    QCOMPARE(TestSupport::XmlMeaning(filer.SaveAsXmlString()),
             TestSupport::XmlMeaning(u"<?xml version=\"1.0\"?><!--one--><!--two--><r/>"_s));

    filer.Reset();
    filer.WriteComment(u"A/B"_s, u"c"_s);
    QVERIFY(filer.GetCurrentNode().isNull());
    filer.MoveToRoot();
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<A><B><!--c--></B></A>"_s));
}

// Translation marks

void tst_XmlFilerContent::StripTr_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("stripped");

    QTest::newRow("plain") << u"tr(abc)"_s << true << u"abc"_s;
    QTest::newRow("quotes are kept") << u"tr(\"Save\")"_s << true << u"\"Save\""_s;
    QTest::newRow("blanks and upper case") << u" TR ( Save ) "_s << true << u" Save "_s;
    QTest::newRow("line endings around") << u"\n\ttr\n(\nSave\n)\r\n"_s << true << u"\nSave\n"_s;
    QTest::newRow("nothing inside") << u"tr()"_s << true << u""_s;
    QTest::newRow("one level only") << u"tr(tr(a))"_s << true << u"tr(a)"_s;
    QTest::newRow("parentheses inside") << u"tr(a (b) c)"_s << true << u"a (b) c"_s;
    QTest::newRow("unbalanced inside") << u"tr(a)b)"_s << true << u"a)b"_s;
    QTest::newRow("several lines inside") << u"tr(a\nb)"_s << true << u"a\nb"_s;
    QTest::newRow("not closed") << u"tr(abc"_s << false << u"tr(abc"_s;
    QTest::newRow("not opened") << u"abc)"_s << false << u"abc)"_s;
    QTest::newRow("letter before") << u"xtr(abc)"_s << false << u"xtr(abc)"_s;
    QTest::newRow("letter between") << u"trx(abc)"_s << false << u"trx(abc)"_s;
    QTest::newRow("text after") << u"tr(abc)x"_s << false << u"tr(abc)x"_s;
    QTest::newRow("no parentheses") << u"tr"_s << false << u"tr"_s;
    QTest::newRow("empty") << u""_s << false << u""_s;
    QTest::newRow("second line") << u"x\ntr(abc)"_s << false << u"x\ntr(abc)"_s;
}

void tst_XmlFilerContent::StripTr()
{
    QFETCH(QString, text);
    QFETCH(const bool, expected);
    QFETCH(const QString, stripped);
    const XmlFiler filer;
    const QString original = text;

    QCOMPARE(filer.StripTr(text), expected);
    QCOMPARE(text, stripped);
    QCOMPARE(filer.Translate(original), stripped);
}

void tst_XmlFilerContent::StripTr_likeItsPatterns()
{
    const XmlFiler filer;
    QRandomGenerator random(1);
    int marks = 0;
    for (int i = 0; i < 100000; ++i) {
        const QString text = RandomText(random);
        QString expected = text;
        const bool isMark = StripByPatterns(expected);
        QString actual = text;
        const QByteArray shown = QByteArray::fromRawData(reinterpret_cast<const char*>(text.utf16()),
                                                         text.size() * qsizetype(sizeof(char16_t)))
                                     .toHex(' ');
        QVERIFY2(filer.StripTr(actual) == isMark, shown.constData());
        QVERIFY2(actual == expected, shown.constData());
        QVERIFY2(filer.Translate(text) == expected, shown.constData());
        marks += isMark ? 1 : 0;
    }
    QVERIFY(marks > 1000 && marks < 99000);

    // Every character by itself, in every place where white space is allowed.
    for (int code = 0; code <= 0xFFFF; ++code) {
        const QChar c(static_cast<char16_t>(code));
        for (const QString& text :
             {c + u"tr(x)"_s, u"tr"_s + c + u"(x)"_s, u"tr(x)"_s + c, u"t"_s + c + u"(x)"_s, c + u"r(x)"_s}) {
            QString expected = text;
            const bool isMark = StripByPatterns(expected);
            QString actual = text;
            QVERIFY2(filer.StripTr(actual) == isMark && actual == expected,
                     QByteArray::number(code, 16).constData());
        }
    }
}

void tst_XmlFilerContent::Translate()
{
    XmlFiler filer;
    QCOMPARE(filer.Translate(u"tr(Save)"_s), u"Save"_s);
    QCOMPARE(filer.Translate(u"tr(tr(Save))"_s), u"tr(Save)"_s);
    QCOMPARE(filer.Translate(u" plain "_s), u" plain "_s);
    QCOMPARE(filer.Translate(QString()), QString());
    filer.TranslateEnabled = false;
    QCOMPARE(filer.Translate(u"tr(Save)"_s), u"tr(Save)"_s);
    // StripTr does not depend on TranslateEnabled.
    QString text = u"tr(Save)"_s;
    QVERIFY(filer.StripTr(text));
    QCOMPARE(text, u"Save"_s);
}

void tst_XmlFilerContent::Translate_context()
{
    const QTemporaryDir dir;
    const QByteArray unit = "<u id=\"" + GeneralUtil::GetHash(u"Save"_s) + "\"><target>";
    const QString path = dir.filePath(u"texts.xlf"_s);
    QVERIFY(TestSupport::WriteFile(path,
                                   "<x><file original=\"ui/Main.XML\"><body>" + unit
                                       + "Sichern</target></u></body></file><file original=\"z\"><body>"
                                       + unit + "Letzte</target></u></body></file></x>"));
    QVERIFY(TestSupport::WriteFile(dir.filePath(u"main.xml"_s), "<r n=\"tr(Save)\">tr(Save)</r>"));
    XlfTranslator translator(path);
    XmlFiler filer;
    filer.Translator = &translator;

    // Without a file, the texts of the document that sorts last are used.
    QCOMPARE(filer.Translate(u"tr(Save)"_s), u"Letzte"_s);
    QCOMPARE(filer.Translate(u"Save"_s), u"Save"_s);
    QVERIFY(filer.LoadFromXmlFile(dir.filePath(u"main.xml"_s)));
    QCOMPARE(filer.Translate(u"tr(Save)"_s), u"Sichern"_s);
    QCOMPARE(filer.ReadString(u"n"_s, QString()), u"Sichern"_s);
    QCOMPARE(filer.ReadNodeText(), u"Sichern"_s);
    QCOMPARE(filer.Translate(u"tr(Other)"_s), u"Other"_s);
    filer.TranslateEnabled = false;
    QCOMPARE(filer.ReadNodeText(), u"tr(Save)"_s);
}

QTEST_GUILESS_MAIN(tst_XmlFilerContent)
#include "tst_XmlFilerContent.moc"
