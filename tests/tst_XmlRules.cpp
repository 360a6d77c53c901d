// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/XmlLimits_p.h"
#include "xml/XmlRules_p.h"

#include <QDomDocument>
#include <QRandomGenerator>
#include <QXmlStreamReader>
#include <QtTest>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util::Internal;
using Kind = XmlProblemKind;

class tst_XmlRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void IsXmlCharacter_sameAsTheParser();
    void FindNonXmlCharacter_data();
    void FindNonXmlCharacter();
    void IsXmlName_data();
    void IsXmlName();
    void FindXmlProblem_data();
    void FindXmlProblem();
    void FindXmlProblem_sameVerdictAsTheParser();
    void CountAttributeComparisons_data();
    void CountAttributeComparisons();
    void IsSafeToParse_data();
    void IsSafeToParse();
    void IsSafeToParse_neverBeyondALimit();
    void FindXmlProblem_endOfRoot_data();
    void FindXmlProblem_endOfRoot();
};

void tst_XmlRules::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_XmlRules::IsXmlCharacter_sameAsTheParser()
{
    for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x3000 || c >= 0xD700 ? (c < 0x11000 ? 1 : 0xFF) : 0xFF) {
        QXmlStreamReader reader(u"<a>&#"_s + QString::number(c) + u";</a>"_s);
        while (!reader.atEnd())
            reader.readNext();
        QVERIFY2(IsXmlCharacter(c) == !reader.hasError(), qPrintable(QString::number(c, 16)));
    }
}

void tst_XmlRules::FindNonXmlCharacter_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("expected");

    QTest::newRow("empty") << QString() << qsizetype(-1);
    QTest::newRow("plain") << u"a\t\r\n\u20AC\uFFFD"_s << qsizetype(-1);
    QTest::newRow("pair") << u"\U0001F600"_s << qsizetype(-1);
    QTest::newRow("NUL") << u"a"_s + QChar(0) << qsizetype(1);
    QTest::newRow("control character") << u"ab\u0001"_s << qsizetype(2);
    QTest::newRow("high surrogate") << u"a"_s + QChar(0xD800) + u"b"_s << qsizetype(1);
    QTest::newRow("low surrogate") << QString(QChar(0xDC00)) << qsizetype(0);
    QTest::newRow("surrogates in the wrong order") << QString(QChar(0xDC00)) + QChar(0xD800) << qsizetype(0);
    QTest::newRow("noncharacter") << u"a"_s + QChar(0xFFFE) << qsizetype(1);
}

void tst_XmlRules::FindNonXmlCharacter()
{
    QFETCH(const QString, text);
    QFETCH(const qsizetype, expected);

    QCOMPARE(Quorvin::Util::Internal::FindNonXmlCharacter(text), expected);
}

void tst_XmlRules::IsXmlName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");

    QTest::newRow("letters") << u"Panel"_s << true;
    QTest::newRow("letters beyond ASCII") << u"Größe"_s << true;
    QTest::newRow("prefix") << u"ui:Panel"_s << true;
    QTest::newRow("digit, point and hyphen after a letter") << u"a1.2-3"_s << true;
    QTest::newRow("underscore first") << u"_a"_s << true;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("digit first") << u"1a"_s << false;
    QTest::newRow("space") << u"a b"_s << false;
    QTest::newRow("space at the end") << u"a "_s << false;
    QTest::newRow("attribute") << u"a b='c'"_s << false;
    QTest::newRow("slash") << u"a/"_s << false;
    QTest::newRow("markup") << u"a/><b"_s << false;
    QTest::newRow("control character") << u"a\x01"_s << false;
}

void tst_XmlRules::IsXmlName()
{
    QFETCH(const QString, text);
    QFETCH(const bool, expected);

    QCOMPARE(Quorvin::Util::Internal::IsXmlName(text), expected);
}

void tst_XmlRules::FindXmlProblem_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<int>("kind"); // -1 if the document loads
    QTest::addColumn<qint64>("line");
    QTest::addColumn<qint64>("column");
    QTest::addColumn<QString>("reason"); // part of it

    const auto row
        = [](const char* name, const QByteArray& xml, int kind, qint64 line, qint64 column,
             const QString& reason) { QTest::newRow(name) << xml << kind << line << column << reason; };
    row("no problem", "<?xml version='1.0'?>\n<r a='b'>&lt;<!-- c --></r>\n", -1, 0, 0, {});
    row("unknown prefix", "<x:r y:a='b'/>", -1, 0, 0, {});
    row("empty", "", int(Kind::Truncated), 1, 1, u"empty"_s);
    row("truncated", "<r>\n  <a>\n te", int(Kind::Truncated), 3, 4, u"ends in the middle"_s);
    row("truncated after two-byte characters", "<r>\n\xC3\xA4\xC3\xA4", int(Kind::Truncated), 2, 3,
        u"ends in the middle"_s);
    row("wrong end tag", "<r>\n<a></b></r>", int(Kind::Malformed), 2, 6, u"tag mismatch"_s);
    row("not UTF-8", "<r>\n \xC3\xA4 \xFF</r>", int(Kind::BadEncoding), 2, 4, u"not valid UTF-8"_s);
    row("not UTF-8 from the first byte of a sequence", "<r>\n \xC3\xA4 \xE4</r>", int(Kind::BadEncoding), 2,
        4, u"not valid UTF-8"_s);
    row("unknown encoding", "<?xml version='1.0' encoding='none'?><r/>", int(Kind::Malformed), 1, 37,
        u"unsupported"_s);
    row("unknown entity", "<r>&none;</r>", int(Kind::Malformed), 1, 9, u"none"_s);
    row("zero bytes", QByteArray(16, '\0'), int(Kind::Malformed), 1, 1, {});
    row("control character after a reference", "<!DOCTYPE r>\n<r>&lt;\x01</r>", int(Kind::Malformed), 2, 9,
        {});
    row("entity that refers to itself", "<!DOCTYPE r [<!ENTITY e '&e;'>]>\n<r>&e;</r>", int(Kind::Malformed),
        2, 6, {});
    row("entity that is too long", "<!DOCTYPE r [<!ENTITY e '" + QByteArray(5000, 'x') + "'>]>\n<r>&e;</r>",
        int(Kind::LimitExceeded), 2, 6, u"4,096 characters"_s);
    row("too deep", QByteArray("<a>\n").repeated(1001), int(Kind::LimitExceeded), 1001, 3, u"1,000 deep"_s);
    row(
        "too many attributes",
        "<r>\n <b" +
            [] {
                QByteArray attributes;
                for (int i = 0; i < 10'001; ++i)
                    attributes += " a" + QByteArray::number(i) + "=''";
                return attributes;
            }()
            + "/></r>",
        int(Kind::LimitExceeded), 2, 2, u"10,000 attributes"_s);
}

void tst_XmlRules::FindXmlProblem()
{
    QFETCH(const QByteArray, xml);
    QFETCH(const int, kind);
    QFETCH(const qint64, line);
    QFETCH(const qint64, column);
    QFETCH(const QString, reason);

    const std::optional<XmlProblem> problem = Quorvin::Util::Internal::FindXmlProblem(xml);
    QCOMPARE(problem ? int(problem->Kind) : -1, kind);
    if (!problem)
        return;
    QVERIFY2(problem->Reason.contains(reason), qPrintable(problem->Reason));
    QVERIFY(!problem->Reason.endsWith(u'.'));
    QCOMPARE(problem->Line, line);
    // The columns that Qt reports differ between versions.
    const bool isOfQt = problem->Kind == Kind::Malformed || reason.contains("4,096"_L1);
    QVERIFY2(qAbs(problem->Column - column) <= (isOfQt ? 2 : 0),
             qPrintable(QString::number(problem->Column)));
    // The offset refers to the same position.
    const QByteArray before = xml.first(problem->Offset);
    QCOMPARE(before.count('\n') + 1, line);
    QVERIFY(qAbs(QString::fromUtf8(before.sliced(before.lastIndexOf('\n') + 1)).size() + 1 - problem->Column)
            <= 2);

    if (problem->Kind == Kind::BadEncoding || reason == "unsupported"_L1)
        return; // a text cannot have these problems
    const std::optional<XmlProblem> inText = Quorvin::Util::Internal::FindXmlProblem(QString::fromUtf8(xml));
    QVERIFY(inText);
    QCOMPARE(inText->Kind, problem->Kind);
    QCOMPARE(inText->Line, problem->Line);
    QCOMPARE(inText->Column, problem->Column);
    QCOMPARE(inText->Reason, problem->Reason);
}

void tst_XmlRules::FindXmlProblem_sameVerdictAsTheParser()
{
    const QByteArray whole
        = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          "<!DOCTYPE s [<!ENTITY e \"<f/>\"><!ENTITY % p \"<!-- p -->\"><!ATTLIST b c CDATA 'd&e;'>%p;]>\n"
          "<s a='1'><!-- c --><b c=\"&e;\">t\xC3\xA4&e;</b><![CDATA[d]]><?p i?></s>\n";
    const QByteArray bytes("<>&\"'[]/%#;!?- ab\xC3\xFF\0", 20);
    QRandomGenerator random(7);
    int loaded = 0;
    for (int i = 0; i < 20'000; ++i) {
        QByteArray changed = whole;
        for (quint32 changes = random.bounded(4U); changes > 0; --changes) {
            const auto at = random.bounded(changed.size());
            const auto size = random.bounded(3);
            changed.replace(at, size, QByteArray(random.bounded(3), bytes[random.bounded(bytes.size())]));
        }
        const bool isFine = !Quorvin::Util::Internal::FindXmlProblem(changed);
        QVERIFY2(isFine == static_cast<bool>(QDomDocument().setContent(changed)), changed.constData());
        const QString text = QString::fromUtf8(changed);
        QVERIFY2(!Quorvin::Util::Internal::FindXmlProblem(text)
                     == static_cast<bool>(QDomDocument().setContent(text)),
                 changed.constData());
        loaded += isFine ? 1 : 0;
    }
    QVERIFY(loaded > 1'000);
}

void tst_XmlRules::CountAttributeComparisons_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<qint64>("expected");

    const auto tag = [](int attributes) {
        QString text = u"<a"_s;
        for (int i = 0; i < attributes; ++i)
            text += u" b%1=\"\""_s.arg(i);
        return text + u"/>"_s;
    };
    QTest::newRow("empty") << QString() << qint64(0);
    QTest::newRow("one attribute") << tag(1) << qint64(0);
    QTest::newRow("two attributes") << tag(2) << qint64(1);
    QTest::newRow("a hundred") << tag(100) << qint64(4950);
    QTest::newRow("two tags") << tag(100) + tag(3) << qint64(4953);
    QTest::newRow("brackets in values") << u"<a b='>' c=\"/>\" d='x'/>"_s << qint64(3);
    QTest::newRow("a tag without an end") << u"<a b='' c='' d='"_s << qint64(1);
    QTest::newRow("attributes in text") << u"<a/> b='' c=''"_s << qint64(0);
    QTest::newRow("a quote in an instruction") << u"<?x '?>"_s + tag(3) << qint64(3);
    QTest::newRow("a comment in a declaration") << u"<!ENTITY e '<!--'>"_s + tag(3) << qint64(3);
}

void tst_XmlRules::CountAttributeComparisons()
{
    QFETCH(const QString, document);
    QFETCH(const qint64, expected);

    QCOMPARE(Quorvin::Util::Internal::CountAttributeComparisons(document), expected);
}

void tst_XmlRules::IsSafeToParse_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<bool>("expected");

    const QByteArray open = QByteArray("<a>").repeated(1000);
    const QByteArray close = QByteArray("</a>").repeated(1000);
    QTest::newRow("plain") << QByteArray("<?xml version='1.0'?><r a='1'/>") << true;
    QTest::newRow("empty") << QByteArray() << true; // malformed, but harmless
    QTest::newRow("maximum depth") << open + close << true;
    QTest::newRow("too deep") << "<a>" + open + close + "</a>" << false;
    QTest::newRow("too deep by an empty element") << open + "<b/>" + close << false;
    QTest::newRow("many siblings of limited depth")
        << "<r>" + QByteArray("<b><b/>t</b>").repeated(5000) + "</r>" << true;
    QTest::newRow("empty elements do not nest") << "<r>" + QByteArray("<b/>").repeated(5000) + "</r>" << true;
    QTest::newRow("end tag in a comment") << open + "<!--</a>--><a></a>" + close << false;
    QTest::newRow("end tag in CDATA") << open + "<![CDATA[</a>]]><a></a>" + close << false;
    QTest::newRow("end tag in an instruction") << open + "<?p </a>?><a></a>" + close << false;
    QTest::newRow("end of an empty element in an attribute")
        << open.first(2997) + "<a b=\"/>\"><a></a></a>" + close.first(3996) << false;
    QTest::newRow("quotes in quotes")
        << open.first(2997) + "<a b=\"'/>'\"><a></a></a>" + close.first(3996) << false;
    QTest::newRow("start tags in a comment") << open + "<!--<a><a>-->" + close << true;
    QTest::newRow("start tags in an attribute's value are malformed")
        << QByteArray("<r a='<a><a>'/>") << true;
    QTest::newRow("document type") << QByteArray("<!DOCTYPE r><r/>") << false;
    QTest::newRow("document type in a comment") << QByteArray("<r><!--<!DOCTYPE r>--></r>") << true;
    QTest::newRow("another encoding") << QByteArray("<?xml version='1.0' encoding='UTF-16'?><r/>") << false;
    QByteArray attributes;
    for (int i = 0; i < 10'000; ++i)
        attributes += " a" + QByteArray::number(i) + "=''";
    QTest::newRow("maximum number of attributes") << "<r" + attributes + "/>" << true;
    QTest::newRow("too many attributes") << "<r" + attributes + " b=''/>" << false;
    QTest::newRow("too many attributes, in the middle of a tag") << "<r" + attributes + " b='' " << false;
}

void tst_XmlRules::IsSafeToParse()
{
    QFETCH(const QByteArray, xml);
    QFETCH(const bool, expected);

    QCOMPARE(Quorvin::Util::Internal::IsSafeToParse(xml), expected);
    if (!xml.contains("UTF-16"))
        QCOMPARE(Quorvin::Util::Internal::IsSafeToParse(QString::fromUtf8(xml)), expected);
    if (expected) {
        const std::optional<XmlProblem> problem = Quorvin::Util::Internal::FindXmlProblem(xml);
        QVERIFY(!problem || problem->Kind != Kind::LimitExceeded);
    }
}

// A document at the limits, changed at random, exceeds none of them if it passes the check.
void tst_XmlRules::IsSafeToParse_neverBeyondALimit()
{
    const QByteArray open = QByteArray("<a>").repeated(996);
    const QByteArray close = QByteArray("</a>").repeated(996);
    const QByteArray whole
        = "<b c=\"/>\" d='\"'><c/><!-- </b> --><d><![CDATA[</d>]]><?p <e>?><e><f g='1'><h/></f></e></d></b>";
    const QByteArrayList parts
        = {"<",   ">",  "/>",   "</", "<a>",       "</a>", "<a/>",      "'",           "\"", "<!--",
           "-->", "--", "<?p ", "?>", "<![CDATA[", "]]>",  "<a b='>'>", "<a b=\"'\">", "=",  " "};
    QRandomGenerator random(11);
    int safe = 0;
    int exceeding = 0;
    for (int i = 0; i < 2'000; ++i) {
        QByteArray changed = whole;
        for (quint32 changes = random.bounded(8U); changes > 0; --changes)
            changed.insert(random.bounded(changed.size() + 1), parts.at(random.bounded(parts.size())));
        changed = open + changed + close;
        const std::optional<XmlProblem> problem = Quorvin::Util::Internal::FindXmlProblem(changed);
        const bool exceeds = problem && problem->Kind == Kind::LimitExceeded;
        const bool isSafe = Quorvin::Util::Internal::IsSafeToParse(changed);
        QVERIFY2(!isSafe || !exceeds, changed.sliced(open.size()).constData());
        QCOMPARE(Quorvin::Util::Internal::IsSafeToParse(QString::fromUtf8(changed)), isSafe);
        safe += isSafe ? 1 : 0;
        exceeding += exceeds ? 1 : 0;
    }
    QVERIFY(safe > 300);
    QVERIFY(exceeding > 30);
}

void tst_XmlRules::FindXmlProblem_endOfRoot_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<qint64>("inBytes");
    QTest::addColumn<qint64>("inText");

    QTest::newRow("inside") << QByteArray("<r><a></r>") << qint64{-1} << qint64{-1};
    QTest::newRow("truncated") << QByteArray("<r>") << qint64{-1} << qint64{-1};
    QTest::newRow("text after the root") << QByteArray("<r/>noise") << qint64{4} << qint64{4};
    QTest::newRow("second root") << QByteArray("<r>\n</r>\n<r/>") << qint64{8} << qint64{8};
    QTest::newRow("root after characters of several bytes")
        << QByteArray("<r a='\xC3\xA4'>\xF0\x9F\x98\x80</r>noise") << qint64{18} << qint64{15};
}

// RootEnd is where the root element ends, even if the problem comes after that.
void tst_XmlRules::FindXmlProblem_endOfRoot()
{
    QFETCH(const QByteArray, xml);
    QFETCH(const qint64, inBytes);
    QFETCH(const qint64, inText);

    QCOMPARE(Quorvin::Util::Internal::FindXmlProblem(xml).value().RootEnd, inBytes);
    QCOMPARE(Quorvin::Util::Internal::FindXmlProblem(QString::fromUtf8(xml)).value().RootEnd, inText);
}

QTEST_GUILESS_MAIN(tst_XmlRules)
#include "tst_XmlRules.moc"
