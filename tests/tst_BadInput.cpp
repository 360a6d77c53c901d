// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"

#include <XmlFiler.h>

#include <QDir>
#include <QDomDocument>
#include <QRandomGenerator>
#include <QStringConverter>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using TestSupport::LogGuard;
using TestSupport::ReadFile;
using TestSupport::WriteFile;

namespace {
constexpr int kDeepest = 1'000;
constexpr qsizetype kMebibyte = 1024 * 1024;

/// Returns \p depth nested elements, with \p inside in the innermost.
QByteArray Nested(int depth, const QByteArray& inside = {})
{
    return QByteArray("<a>").repeated(depth) + inside + QByteArray("</a>").repeated(depth);
}

/// Returns a document in which each entity refers \p width times to the one before it.
QByteArray EntityBomb(int levels, int width, const QByteArray& use)
{
    QByteArray xml = "<!DOCTYPE r [<!ENTITY e0 \"ha\">";
    for (int i = 1; i < levels; ++i) {
        const QByteArray reference = "&e" + QByteArray::number(i - 1) + ';';
        xml += "<!ENTITY e" + QByteArray::number(i) + " \"" + reference.repeated(width) + "\">";
    }
    xml += "]>" + use;
    return xml.replace("&last;", "&e" + QByteArray::number(levels - 1) + ';');
}

/// Returns entities that each wrap another element around the previous one. The elements in the text itself
/// are not deeply nested.
QByteArray NestedByEntities(int levels, const QByteArray& root = "<r>&last;</r>")
{
    QByteArray xml = "<!DOCTYPE r [<!ENTITY e0 \"x\">";
    for (int i = 1; i < levels; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "<!ENTITY e" + number + " \"<a>&e" + QByteArray::number(i - 1) + ";</a>\">";
    }
    return xml + "]>" + QByteArray(root).replace("&last;", "&e" + QByteArray::number(levels - 1) + ';');
}

QByteArray Utf16(const QString& text)
{
    QStringEncoder encoder(QStringConverter::Utf16LE);
    return encoder(text);
}

QByteArray RandomBytes(quint32 seed, int size)
{
    QRandomGenerator random(seed);
    QByteArray bytes(size, '\0');
    for (char& byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

} // namespace

class tst_BadInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Malformed_data();
    void Malformed();
    void Odd_data();
    void Odd();
    void RandomBytes_data();
    void RandomBytes();
    void TruncatedAtEachByte();
    void EachByteReplaced();

    void Depth_data();
    void Depth();
    void Entities_data();
    void Entities();
    void Entities_outsideFilesAreNotRead();
    void Huge_data();
    void Huge();

    void Text_data();
    void Text();
    void InnerXml_data();
    void InnerXml();

    void FailedLoad_leavesNothing_data();
    void FailedLoad_leavesNothing();
    void FailedLoad_keepsTheTranslationContext();
    void FilerIsUsableAfterAFailedLoad();
    void FileNames_data();
    void FileNames();

private:
    [[nodiscard]] QString Path(const QString& name) const { return mDir->filePath(name); }
    void CheckRefused(const QByteArray& xml);
    void CheckUsable(const QByteArray& xml);

    std::unique_ptr<QTemporaryDir> mDir;
};

void tst_BadInput::init()
{
    TestSupport::FailOnAnyMessage();
    mDir = std::make_unique<QTemporaryDir>();
    QVERIFY(mDir->isValid());
}

void tst_BadInput::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

/// Every reader of the file must return its failure result, log one line and leave the file unchanged.
void tst_BadInput::CheckRefused(const QByteArray& xml)
{
    const QString path = Path(u"bad.xml"_s);
    QVERIFY(WriteFile(path, xml));
    LogGuard log;

    XmlFiler filer;
    QCOMPARE(filer.LoadFromXmlFile(path), false);
    QVERIFY(filer.IsEmpty());
    QVERIFY(filer.GetCurrentNode().isNull());
    QCOMPARE(filer.SaveAsXmlString(), QString());

    {
        Settings settings(path, u"Settings"_s);
        QVERIFY(settings.IsEmpty());
        QCOMPARE(settings.ReadInt(u"/P"_s, u"V"_s, 7), 7);
    }
    QCOMPARE(ReadFile(path), xml);

    const XlfTranslator translator(path);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    QCOMPARE(translator.Translate(u"Save"_s, QString()), u"Save"_s);
    // Each of the three loads logs why it failed, and nothing else is logged.
    QCOMPARE(LogGuard::Messages().size(), 3);
    QCOMPARE(LogGuard::Messages().filter(path + u" does not load: "_s).size(), 3);
}

/// Every reader of the file must end up with a usable document.
void tst_BadInput::CheckUsable(const QByteArray& xml)
{
    const QString path = Path(u"odd.xml"_s);
    QVERIFY(WriteFile(path, xml));

    XmlFiler filer;
    QCOMPARE(filer.LoadFromXmlFile(path), true);
    QVERIFY(!filer.IsEmpty());
    QVERIFY(!filer.GetCurrentNode().isNull());
    filer.WriteInt(u"New"_s, u"V"_s, 1);
    QVERIFY(filer.SaveAsXmlFile(Path(u"copy.xml"_s)));
    QVERIFY(!filer.ReadOuterXml().isEmpty());
    const XlfTranslator translator(path);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
}

void tst_BadInput::Malformed_data()
{
    QTest::addColumn<QByteArray>("xml");

    QTest::newRow("empty file") << QByteArray("");
    QTest::newRow("blanks") << QByteArray(" \n\t ");
    QTest::newRow("byte order mark alone") << QByteArray("\xEF\xBB\xBF");
    QTest::newRow("16-bit byte order mark alone") << QByteArray("\xFF\xFE");
    QTest::newRow("32-bit byte order mark alone") << QByteArray("\xFF\xFE\0\0", 4);
    QTest::newRow("text") << QByteArray("Width=1");
    QTest::newRow("declaration alone") << QByteArray("<?xml version=\"1.0\"?>");
    QTest::newRow("comment alone") << QByteArray("<!-- c -->");
    QTest::newRow("document type alone") << QByteArray("<!DOCTYPE a>");
    QTest::newRow("left bracket") << QByteArray("<");
    QTest::newRow("truncated in a name") << QByteArray("<abc");
    QTest::newRow("truncated in an attribute's name") << QByteArray("<a b");
    QTest::newRow("truncated before an attribute's value") << QByteArray("<a b=");
    QTest::newRow("truncated in an attribute's value") << QByteArray("<a b='1");
    QTest::newRow("truncated in an empty tag") << QByteArray("<a/");
    QTest::newRow("truncated after a tag") << QByteArray("<a>");
    QTest::newRow("truncated in text") << QByteArray("<a>text");
    QTest::newRow("truncated in an end tag") << QByteArray("<a></a");
    QTest::newRow("truncated in a comment") << QByteArray("<a><!-- c");
    QTest::newRow("truncated in a section") << QByteArray("<a><![CDATA[ c ]]");
    QTest::newRow("truncated in an instruction") << QByteArray("<a><?pi x");
    QTest::newRow("truncated in the declaration") << QByteArray("<?xml version=\"1.0\"");
    QTest::newRow("truncated in the document type") << QByteArray("<!DOCTYPE a [<!ENTITY b \"");
    QTest::newRow("truncated in a reference") << QByteArray("<a>&lt");
    QTest::newRow("wrong end tag") << QByteArray("<a></b>");
    QTest::newRow("end tag in different case") << QByteArray("<a></A>");
    QTest::newRow("crossed tags") << QByteArray("<a><b></a></b>");
    QTest::newRow("end tag alone") << QByteArray("</a>");
    QTest::newRow("two roots") << QByteArray("<a/><b/>");
    QTest::newRow("text before the root") << QByteArray("text<a/>");
    QTest::newRow("text after the root") << QByteArray("<a/>text");
    QTest::newRow("attribute without a value") << QByteArray("<a b/>");
    QTest::newRow("attribute without quotes") << QByteArray("<a b=1/>");
    QTest::newRow("attribute twice") << QByteArray("<a b='1' b='2'/>");
    QTest::newRow("left bracket in an attribute") << QByteArray("<a b='<'/>");
    QTest::newRow("no blank between attributes") << QByteArray("<a b='1'c='2'/>");
    QTest::newRow("blank before a name") << QByteArray("< a/>");
    QTest::newRow("digit before a name") << QByteArray("<1/>");
    QTest::newRow("ampersand") << QByteArray("<a>&</a>");
    QTest::newRow("unknown entity") << QByteArray("<a>&unknown;</a>");
    QTest::newRow("unknown entity in an attribute") << QByteArray("<a b='&unknown;'/>");
    QTest::newRow("end of a section in text") << QByteArray("<a>]]></a>");
    QTest::newRow("dashes in a comment") << QByteArray("<a><!-- a -- b --></a>");
    QTest::newRow("declaration not at the start") << QByteArray("\n<?xml version=\"1.0\"?><a/>");
    QTest::newRow("declaration within the root") << QByteArray("<a><?xml version=\"1.0\"?></a>");
    QTest::newRow("unknown encoding") << QByteArray("<?xml version=\"1.0\" encoding=\"none\"?><a/>");
    QTest::newRow("NUL alone") << QByteArray(1, '\0');
    QTest::newRow("NUL in text") << QByteArray("<a>x\0y</a>", 10);
    QTest::newRow("NUL in a name") << QByteArray("<a\0b/>", 6);
    QTest::newRow("NUL in an attribute") << QByteArray("<a b='\0'/>", 10);
    QTest::newRow("control character") << QByteArray("<a>\x01</a>");
    QTest::newRow("reference to NUL") << QByteArray("<a>&#0;</a>");
    QTest::newRow("reference to a control character") << QByteArray("<a>&#1;</a>");
    QTest::newRow("reference to a surrogate") << QByteArray("<a>&#xD800;</a>");
    QTest::newRow("reference beyond Unicode") << QByteArray("<a>&#x110000;</a>");
    QTest::newRow("reference beyond 64 bits") << QByteArray("<a>&#99999999999999999999999;</a>");
    QTest::newRow("negative reference") << QByteArray("<a>&#-1;</a>");
    QTest::newRow("byte that UTF-8 never contains") << QByteArray("<a>\xFF</a>");
    QTest::newRow("overlong UTF-8") << QByteArray("<a>\xC0\x80</a>");
    QTest::newRow("surrogate encoded in UTF-8") << QByteArray("<a>\xED\xA0\x80</a>");
    QTest::newRow("UTF-8 truncated") << QByteArray("<a>\xE2\x82</a>");
    QTest::newRow("UTF-8 beyond Unicode") << QByteArray("<a>\xF4\x90\x80\x80</a>");
    QTest::newRow("program file") << QByteArray("\x7F"
                                                "ELF\x02\x01\x01\0\0\0\0\0",
                                                12);
    QTest::newRow("compressed file") << QByteArray("\x1F\x8B\x08\0\0\0\0\0", 8);
    QTest::newRow("zeros") << QByteArray(4096, '\0');
    QTest::newRow("JSON") << QByteArray("{\"a\": 1}");
    QTest::newRow("HTML") << QByteArray("<!DOCTYPE html><html><br><p>text</html>");
}

void tst_BadInput::Malformed()
{
    QFETCH(const QByteArray, xml);

    QVERIFY(!QDomDocument().setContent(xml));
    CheckRefused(xml);
}

void tst_BadInput::Odd_data()
{
    QTest::addColumn<QByteArray>("xml");

    QTest::newRow("bare root") << QByteArray("<a/>");
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF<a/>");
    QTest::newRow("UTF-16") << Utf16(u"\uFEFF<a>\u20AC</a>"_s);
    QTest::newRow("Latin 1") << QByteArray("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE4</a>");
    QTest::newRow("undeclared prefix") << QByteArray("<x:a y:b='1'/>");
    QTest::newRow("blanks at the end") << QByteArray("<a/>\n\n\n");
    QTest::newRow("comments around") << QByteArray("<!-- a --><a/><!-- b -->");
    QTest::newRow("right bracket in an attribute") << QByteArray("<a b='>'><c d=\"/>\"/></a>");
    QTest::newRow("quotes in text") << QByteArray("<a>\"'<b/>'\"</a>");
    QTest::newRow("tags in a comment") << QByteArray("<a><!-- <b> ' \" --></a>");
    QTest::newRow("tags in a section") << QByteArray("<a><![CDATA[ <b> ' \" ]]></a>");
    QTest::newRow("tags in an instruction") << QByteArray("<a><?pi <b> ' \" ?></a>");
    QTest::newRow("unused entity") << QByteArray("<!DOCTYPE a [<!ENTITY b \"<c>\">]><a/>");
    QTest::newRow("entity used") << QByteArray("<!DOCTYPE a [<!ENTITY b \"<c/>\">]><a>&b;</a>");
    QTest::newRow("document type with brackets in quotes")
        << QByteArray("<!DOCTYPE a [<!ENTITY b ']>'><!-- ' --><?pi \" ?>]><a>&b;</a>");
    QTest::newRow("the last character") << QByteArray("<a>&#x10FFFD;</a>");
}

void tst_BadInput::Odd()
{
    QFETCH(const QByteArray, xml);

    QVERIFY(QDomDocument().setContent(xml));
    CheckUsable(xml);
}

void tst_BadInput::RandomBytes_data()
{
    QTest::addColumn<quint32>("seed");

    for (quint32 seed = 0; seed < 20; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void tst_BadInput::RandomBytes()
{
    QFETCH(const quint32, seed);

    CheckRefused(::RandomBytes(seed, 4096));
    CheckRefused("<a>" + ::RandomBytes(seed, 4096) + "</a>");
    CheckRefused("\xFF\xFE" + ::RandomBytes(seed, 4095));
}

void tst_BadInput::TruncatedAtEachByte()
{
    const QByteArray whole = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE s [<!ENTITY e \"x\">]>\n"
                             "<s a=\"1\"><!-- c --><b c='&e;'>text \xE2\x82\xAC</b><![CDATA[d]]><?p i?></s>";
    QVERIFY(QDomDocument().setContent(whole));
    for (qsizetype size = 0; size < whole.size(); ++size) {
        CheckRefused(whole.left(size));
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(u"truncated after %1 bytes"_s.arg(size)));
    }
    CheckUsable(whole);
}

void tst_BadInput::EachByteReplaced()
{
    // The parser decides whether the document loads; the library must neither crash nor log anything else.
    const QByteArray whole = "<?xml version=\"1.0\"?><!DOCTYPE s [<!ENTITY e \"<f/>\">]>"
                             "<s a='1'><!-- c --><b c=\"2\">t&e;</b><![CDATA[d]]><?p i?></s>";
    const QString path = Path(u"s.xml"_s);
    for (qsizetype i = 0; i < whole.size(); ++i) {
        for (const char byte : {'<', '>', '&', '"', '\'', '[', ']', '/', '\0', '\xFF'}) {
            QByteArray changed = whole;
            changed[i] = byte;
            QVERIFY(WriteFile(path, changed));
            XmlFiler filer;
            QCOMPARE(filer.LoadFromXmlFile(path), bool(QDomDocument().setContent(changed)));
        }
    }
}

// Limits

void tst_BadInput::Depth_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<bool>("loads");

    QTest::newRow("999") << Nested(kDeepest - 1) << true;
    QTest::newRow("1,000") << Nested(kDeepest) << true;
    QTest::newRow("1,000, the last an empty tag") << Nested(kDeepest - 1, "<b/>") << true;
    QTest::newRow("1,001") << Nested(kDeepest + 1) << false;
    QTest::newRow("1,001, the last an empty tag") << Nested(kDeepest, "<b/>") << false;
    QTest::newRow("1,001, the last with attributes") << Nested(kDeepest, "<b c='/>' d=\">\"/>") << false;
    QTest::newRow("a million") << Nested(1'000'000) << false;
    QTest::newRow("a million, never closed") << QByteArray("<a>").repeated(1'000'000) << false;
    QTest::newRow("a million, wrongly closed")
        << QByteArray("<a>").repeated(1'000'000) + QByteArray("</b>").repeated(1'000'000) << false;
    QTest::newRow("a million end tags") << QByteArray("</a>").repeated(1'000'000) << false;
    QTest::newRow("end tags first") << QByteArray("</a>").repeated(10'000) + Nested(100'000) << false;
    QTest::newRow("100,000 siblings") << "<a>" + QByteArray("<b/>").repeated(100'000) + "</a>" << true;
    QTest::newRow("1,000 twice") << "<a>" + Nested(kDeepest - 1) + Nested(kDeepest - 1) + "</a>" << true;
    QTest::newRow("tags in a comment do not count")
        << "<a><!--" + QByteArray("<a>").repeated(2'000) + "--></a>" << true;
    QTest::newRow("tags in a section do not count")
        << "<a><![CDATA[" + QByteArray("<a>").repeated(2'000) + "]]></a>" << true;
    QTest::newRow("tags in an instruction do not count")
        << "<a><?pi " + QByteArray("<a>").repeated(2'000) + "?></a>" << true;
    QTest::newRow("tags in an unused entity do not count")
        << "<!DOCTYPE a [<!ENTITY b \"" + QByteArray("<a>").repeated(2'000) + "\">]><a/>" << true;
    QTest::newRow("comments do not hide tags")
        << QByteArray("<a><!-- ' --><b c=\"'\"/>").repeated(100'000) << false;
    QTest::newRow("quotes in text do not hide tags") << QByteArray("<a>'").repeated(100'000) << false;
    QTest::newRow("quotes in sections do not hide tags")
        << QByteArray("<a><![CDATA[\"]]>").repeated(100'000) << false;
    QTest::newRow("quotes in the document type do not hide tags")
        << "<!DOCTYPE a [<!-- \" --><?pi ' ?>]>" + Nested(100'000) << false;
    QTest::newRow("500 by entities") << NestedByEntities(500) << true;
    QTest::newRow("600, and 500 more by entities") << NestedByEntities(500, Nested(600, "&last;")) << false;
    QTest::newRow("600, and 500 more by entities, prefixed")
        << NestedByEntities(500, "<x:r>" + Nested(600, "&last;") + "</x:r>") << false;
    QTest::newRow("by entities, 2,000") << NestedByEntities(2'000) << false;
    QTest::newRow("by entities, 20,000") << NestedByEntities(20'000) << false;
    QTest::newRow("UTF-16") << Utf16(u'\uFEFF' + QString::fromLatin1(Nested(100'000))) << false;
    QTest::newRow("UTF-16 without a mark") << Utf16(QString::fromLatin1(Nested(100'000))) << false;
    QTest::newRow("UTF-16 after a declaration in single bytes")
        << "<?xml version=\"1.0\" encoding=\"UTF-16LE\"?>"
            + Utf16(u"<!-- \" -->"_s + QString::fromLatin1(Nested(100'000)))
        << false;
    QTest::newRow("declared UTF-16, byte order mark of UTF-8")
        << "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-16LE\"?>"
            + Utf16(u"<!-- \" -->"_s + QString::fromLatin1(Nested(100'000)))
        << false;
    QTest::newRow("declared UTF-32") << "<?xml version=\"1.0\" encoding=\"UTF-32LE\"?><!-- \" -->"
            + Nested(100'000) << false;
}

void tst_BadInput::Depth()
{
    QFETCH(const QByteArray, xml);
    QFETCH(const bool, loads);

    if (!loads) {
        CheckRefused(xml);
        return;
    }
    XmlFiler filer;
    QVERIFY(WriteFile(Path(u"s.xml"_s), xml));
    QVERIFY(filer.LoadFromXmlFile(Path(u"s.xml"_s)));
    QVERIFY(!filer.ReadOuterXml().isEmpty());
    QVERIFY(filer.SaveAsXmlFile(Path(u"copy.xml"_s)));
    QVERIFY(filer.LoadFromXmlFile(Path(u"copy.xml"_s)));
    QCOMPARE(filer.LoadFromXmlString(QString::fromLatin1(xml)), true);
}

void tst_BadInput::Entities_data()
{
    QTest::addColumn<QByteArray>("xml");

    QTest::newRow("a thousand million laughs") << EntityBomb(10, 10, "<r>&last;</r>");
    QTest::newRow("billion laughs in an attribute") << EntityBomb(10, 10, "<r a='&last;'/>");
    QTest::newRow("billion laughs, a thousand deep") << EntityBomb(1'000, 2, "<r>&last;</r>");
    QTest::newRow("billion laughs, 50,000 deep") << EntityBomb(50'000, 2, "<r>&last;</r>");
    QTest::newRow("billion laughs, declared backwards")
        << QByteArray("<!DOCTYPE r [<!ENTITY c \"" + QByteArray("&b;").repeated(5'000) + "\"><!ENTITY b \""
                      + QByteArray("&a;").repeated(5'000) + "\"><!ENTITY a \"haha\">]><r>&c;</r>");
    QTest::newRow("one long entity used often") << "<!DOCTYPE r [<!ENTITY a \"" + QByteArray(100'000, 'x')
            + "\">]><r>" + QByteArray("&a;").repeated(100'000) + "</r>";
    QTest::newRow("parameter entities") << QByteArray(
        "<!DOCTYPE r [<!ENTITY % a \"haha\"><!ENTITY % b \"" + QByteArray("%a;").repeated(5'000)
        + "\"><!ENTITY % c \"" + QByteArray("%b;").repeated(5'000) + "\"><!ENTITY d \"%c;\">%c;]><r>&d;</r>");
    QTest::newRow("entity that refers to itself")
        << QByteArray("<!DOCTYPE r [<!ENTITY a \"&a;\">]><r>&a;</r>");
    QTest::newRow("entities that refer to each other")
        << QByteArray("<!DOCTYPE r [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]><r>&a;</r>");
    QTest::newRow("entity that refers to itself, in an attribute")
        << QByteArray("<!DOCTYPE r [<!ENTITY a \"&a;\">]><r b='&a;'/>");
    QTest::newRow("an element that never ends") << QByteArray("<!DOCTYPE r [<!ENTITY a \"<b>\">]><r>&a;</r>");
    QTest::newRow("many declarations before many blanks") << "<!DOCTYPE r ["
            + QByteArray("<!ENTITY a \"b\">").repeated(20'000) + "]><r>" + QByteArray(4 * kMebibyte, ' ');
    QTest::newRow("many blank declarations before many blanks")
        << "<!DOCTYPE r [" + QByteArray("<!ENTITY ").repeated(100'000) + QByteArray(4 * kMebibyte, ' ');
    QTest::newRow("many unfinished declarations")
        << "<!DOCTYPE r [" + QByteArray("<!ENTITY a '").repeated(100'000);
    QTest::newRow("many declarations of different names")
        << QByteArray("<!DOCTYPE r [<!ENTITY a \"") + QByteArray("<!ENTITY b '").repeated(100'000);
    QTest::newRow("a name without end") << "<!DOCTYPE r [<!ENTITY " + QByteArray(kMebibyte, 'n');
    QTest::newRow("many ampersands") << "<!DOCTYPE r [<!ENTITY a \"b\">]><r>" + QByteArray(kMebibyte, '&')
            + "</r>";
    QTest::newRow("many references to an unknown entity")
        << "<!DOCTYPE r [<!ENTITY a \"b\">]><r>" + QByteArray("&none;").repeated(200'000) + "</r>";
}

void tst_BadInput::Entities()
{
    QFETCH(const QByteArray, xml);

    CheckRefused(xml);
    XmlFiler filer;
    QCOMPARE(filer.LoadFromXmlString(QString::fromLatin1(xml)), false);
}

void tst_BadInput::Entities_outsideFilesAreNotRead()
{
    QVERIFY(WriteFile(Path(u"secret.txt"_s), "secret"));
    const QByteArray url = QUrl::fromLocalFile(Path(u"secret.txt"_s)).toEncoded();
    const QByteArray declaration = "<!DOCTYPE r [<!ENTITY a SYSTEM \"" + url + "\"><!ENTITY % p SYSTEM \""
        + url + "\">%p;<!ENTITY b PUBLIC \"x\" \"" + url + "\">]>";
    for (const QByteArray& root :
         {QByteArray("<r>&a;&b;</r>"), QByteArray("<r a='&a;'/>"), QByteArray("<r/>")}) {
        QVERIFY(WriteFile(Path(u"s.xml"_s), declaration + root));
        XmlFiler filer;
        filer.LoadFromXmlFile(Path(u"s.xml"_s));
        QVERIFY(!filer.ReadNodeText().contains(u"secret"_s));
        QVERIFY(!filer.ReadString(u"a"_s, QString()).contains(u"secret"_s));
    }
}

void tst_BadInput::Huge_data()
{
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("repeated");
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<bool>("loads");

    const auto row
        = [](const char* name, const char* start, const char* repeated, const char* end, bool loads) {
              QTest::newRow(name) << QByteArray(start) << QByteArray(repeated) << QByteArray(end) << loads;
          };
    row("blanks", "", " ", "", false);
    row("blanks before the root", "<!-- c -->", " ", "<a/>", true);
    row("blanks in a tag", "<a", " ", "/>", true);
    row("an attribute", "<a b='", "x", "'/>", true);
    row("an attribute without end", "<a b='", "x", "", false);
    row("text", "<a>", "x", "</a>", true);
    row("a comment", "<a><!--", " ", "--></a>", true);
    row("a comment without end", "<a><!--", " ", "", false);
    row("left brackets", "", "<", "", false);
    row("comments that begin", "<a>", "<!--", "", false);
    row("sections that begin", "<a>", "<![CDATA[", "", false);
    row("instructions that begin", "<a>", "<?", "", false);
    row("document types that begin", "", "<!DOCTYPE", "", false);
    row("document types that begin with a bracket", "", "<!DOCTYPE[", "", false);
    row("quotes", "<a ", "'\"", ">", false);
    row("empty comments", "<a>", "<!---->", "</a>", true);
}

void tst_BadInput::Huge()
{
    QFETCH(const QByteArray, start);
    QFETCH(const QByteArray, repeated);
    QFETCH(const QByteArray, end);
    QFETCH(const bool, loads);
    // Only the simplest document has 64 MiB, because the parser is slow with the others.
    const qsizetype size = start.isEmpty() && repeated == " " ? 64 * kMebibyte : 2 * kMebibyte;
    QVERIFY(WriteFile(Path(u"s.xml"_s), start + repeated.repeated(size / repeated.size()) + end));

    XmlFiler filer;
    QCOMPARE(filer.LoadFromXmlFile(Path(u"s.xml"_s)), loads);
    QCOMPARE(filer.IsEmpty(), !loads);
}

// Text

void tst_BadInput::Text_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<bool>("loads");

    QTest::newRow("empty file") << QString() << false;
    QTest::newRow("malformed") << u"<a>"_s << false;
    QTest::newRow("NUL") << u"<a>"_s + QChar(0) + u"</a>"_s << false;
    QTest::newRow("NUL after the root") << u"<a/>"_s + QChar(0) << false;
    QTest::newRow("high surrogate alone")
        << u"<a>"_s + QChar(0xD800) + u"</a>"_s << true; // the parser accepts it
    QTest::newRow("low surrogate alone") << u"<a>"_s + QChar(0xDC00) + u"</a>"_s << true;
    QTest::newRow("unpaired surrogate at the end") << u"<a/>"_s + QChar(0xD800) << false;
    QTest::newRow("unpaired surrogate in a name") << u"<a"_s + QChar(0xD800) + u"/>"_s << false;
    QTest::newRow("character that XML does not allow") << u"<a>"_s + QChar(0xFFFE) + u"</a>"_s << false;
    QTest::newRow("an encoding that is not used") << u"<?xml version='1.0' encoding='UTF-16'?><a/>"_s << true;
    QTest::newRow("an encoding that does not exist")
        << u"<?xml version='1.0' encoding='none'?><a/>"_s << true;
    QTest::newRow("1,000 deep") << QString::fromLatin1(Nested(1'000)) << true;
    QTest::newRow("1,001 deep") << QString::fromLatin1(Nested(1'001)) << false;
    QTest::newRow("a million deep") << QString::fromLatin1(Nested(1'000'000)) << false;
    QTest::newRow("nested by entities") << QString::fromLatin1(NestedByEntities(2'000)) << false;
}

void tst_BadInput::Text()
{
    QFETCH(const QString, xml);
    QFETCH(const bool, loads);

    XmlFiler filer;
    QCOMPARE(filer.LoadFromXmlString(xml), loads);
    QCOMPARE(filer.IsEmpty(), !loads);
    QCOMPARE(filer.GetCurrentNode().isNull(), !loads);
}

void tst_BadInput::InnerXml_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<bool>("written");

    QTest::newRow("empty file") << QString() << false;
    QTest::newRow("text") << u"text"_s << true;
    QTest::newRow("text and elements") << u"a<b/>c<d e='1'/>"_s << true;
    QTest::newRow("comment alone") << u"<!-- c -->"_s << true;
    QTest::newRow("never closed") << u"<b>"_s << false;
    QTest::newRow("closed too often") << u"</b>"_s << false;
    QTest::newRow("closes the wrapper and opens it again") << u"</Root><Root>"_s << false;
    QTest::newRow("declaration") << u"<?xml version='1.0'?><b/>"_s << false;
    QTest::newRow("document type") << u"<!DOCTYPE b [<!ENTITY c 'd'>]><b/>"_s << false;
    QTest::newRow("unknown entity") << u"&c;"_s << false;
    QTest::newRow("NUL") << QString(QChar(0)) << false;
    QTest::newRow("unpaired surrogate") << QString(QChar(0xD800)) << true; // the parser accepts it
    QTest::newRow("900 deep") << QString::fromLatin1(Nested(900)) << true;
    QTest::newRow("1,100 deep") << QString::fromLatin1(Nested(1'100)) << false;
    QTest::newRow("a million deep") << QString::fromLatin1(Nested(1'000'000)) << false;
    QTest::newRow("a million never closed") << u"<a>"_s.repeated(1'000'000) << false;
}

void tst_BadInput::InnerXml()
{
    QFETCH(const QString, xml);
    QFETCH(const bool, written);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><Kept V='1'/></Old>"_s));
    const QString before = filer.SaveAsXmlString();

    QCOMPARE(filer.WriteInnerXml(xml), written);
    QCOMPARE(filer.SaveAsXmlString() == before, !written);
    QCOMPARE(filer.GetCurrentNodePath(), u"/Old"_s);
    QCOMPARE(filer.ReadInt(u"Kept"_s, u"V"_s, 0), 1);

    XmlFiler empty;
    QCOMPARE(empty.WriteInnerXml(xml), written);
    QCOMPARE(empty.IsEmpty(), !written);
}

// After a failure

void tst_BadInput::FailedLoad_leavesNothing_data()
{
    QTest::addColumn<QByteArray>("xml");

    QTest::newRow("malformed at the end") << QByteArray("<Old><Kept V='2'/><More/></Old><");
    QTest::newRow("too deep at the end") << "<Old><Kept V='2'/>" + Nested(2'000) + "</Old>";
    QTest::newRow("empty") << QByteArray("");
}

void tst_BadInput::FailedLoad_leavesNothing()
{
    QFETCH(const QByteArray, xml);
    QVERIFY(WriteFile(Path(u"bad.xml"_s), xml));
    for (const bool fromFile : {true, false}) {
        XmlFiler filer;
        QVERIFY(filer.LoadFromXmlString(u"<Old><Kept V='1'/></Old>"_s));

        QCOMPARE(fromFile ? filer.LoadFromXmlFile(Path(u"bad.xml"_s))
                          : filer.LoadFromXmlString(QString::fromLatin1(xml)),
                 false);

        QVERIFY(filer.IsEmpty());
        QCOMPARE(filer.SaveAsXmlString(), QString());
        QCOMPARE(filer.SaveAsXmlFile(Path(u"copy.xml"_s)), false);
        QVERIFY(!QFile::exists(Path(u"copy.xml"_s)));
        QCOMPARE(filer.ReadInt(u"/Kept"_s, u"V"_s, 7), 7);
        filer.MoveToRoot();
        QVERIFY(filer.GetCurrentNode().isNull());
    }
}

void tst_BadInput::FailedLoad_keepsTheTranslationContext()
{
    const QByteArray id = GeneralUtil::GetHash(u"Save"_s);
    QVERIFY(WriteFile(Path(u"t.xlf"_s),
                      "<x><f original='main.xml'><b><u id='" + id
                          + "'><target>Sichern</target></u></b></f></x>"));
    XlfTranslator translator(Path(u"t.xlf"_s));
    QVERIFY(WriteFile(Path(u"main.xml"_s), "<a/>"));
    QVERIFY(WriteFile(Path(u"other.xml"_s), "<a>"));
    XmlFiler filer;
    filer.Translator = &translator;
    QVERIFY(filer.LoadFromXmlFile(Path(u"main.xml"_s)));
    QVERIFY(!filer.LoadFromXmlFile(Path(u"other.xml"_s)));

    QCOMPARE(filer.Translate(u"tr(Save)"_s), u"Sichern"_s);
}

void tst_BadInput::FilerIsUsableAfterAFailedLoad()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><A/><B/></Old>"_s));
    QVERIFY(filer.MoveToNode(u"A"_s));
    filer.PushCurrentNode();
    QVERIFY(!filer.LoadFromXmlString(u"<broken"_s));

    // The cursor is on a node that belongs to no document: using it must not access freed memory.
    filer.MoveToNextSibling();
    filer.WriteInt(u"V"_s, 1);
    filer.CreateNode(u"C/D"_s, true);
    filer.DeleteNode();
    filer.DeleteChildNodes();
    filer.MoveToParent();
    filer.WriteInnerXml(u"<x/>"_s);
    filer.PopCurrentNode();
    filer.MoveToFirstChild();
    filer.DeleteNode();

    filer.Reset();
    filer.CreateRoot(u"New"_s);
    filer.WriteInt(u"V"_s, 1);
    QCOMPARE(filer.SaveAsXmlString(), u"<?xml version=\"1.0\"?>\n<New V=\"1\"/>\n"_s);
}

void tst_BadInput::FileNames_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("missing") << u"none.xml"_s;
    QTest::newRow("missing folder") << u"none/s.xml"_s;
    QTest::newRow("file as a folder") << u"file.xml/s.xml"_s;
    QTest::newRow("too long") << QString(300, u'x');
    QTest::newRow("far too long") << QString(100'000, u'x');
    QTest::newRow("unpaired surrogate") << QString(QChar(0xD800));
    QTest::newRow("line break") << u"a\nb"_s;
}

void tst_BadInput::FileNames()
{
    QFETCH(const QString, name);
    QVERIFY(WriteFile(Path(u"file.xml"_s), "<a/>"));
    LogGuard log;

    XmlFiler filer;
    QCOMPARE(filer.LoadFromXmlFile(QString()), false);
    QCOMPARE(filer.LoadFromXmlFile(Path(name)), false);
    const Settings settings(Path(name), u"Settings"_s);
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s); // a new store, because the file does not exist
    QCOMPARE(LogGuard::Messages().size(), 2); // from the two loads
}

QTEST_GUILESS_MAIN(tst_BadInput)
#include "tst_BadInput.moc"
