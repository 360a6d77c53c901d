// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Failure.h"
#include "xliff/XmlSource.h"

#include <QRandomGenerator>
#include <QStringConverter>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Quorvin::Tool;

namespace {

struct ExpectedAttribute
{
    QString Name;
    qsizetype Begin = 0;
    qsizetype ValueBegin = 0;
    qsizetype ValueEnd = 0;
};

struct ExpectedElement
{
    QString Name;
    int Parent = -1;
    qsizetype Begin = 0;
    qsizetype TagEnd = 0;
    qsizetype ContentEnd = 0;
    qsizetype End = 0;
    QList<ExpectedAttribute> Attributes;
};

/// Generates random documents, and records the places of their elements.
class DocumentMaker
{
public:
    explicit DocumentMaker(quint32 seed)
        : mRandom(seed)
    {
        Text = AnyOf(
            {u""_s, u"<?xml version='1.0'?>"_s, u"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n"_s});
        AddMisc();
        if (mRandom.bounded(2) == 0) {
            Text += AnyOf(
                {u"<!DOCTYPE r>"_s,
                 u"<!DOCTYPE r [<!ENTITY e 'text > \" <'>]>"_s.replace(u'<' + u"'"_s, u"'"_s),
                 u"<!DOCTYPE r [ <!-- ]> ' --> <?p ]> ' ?> <!ENTITY f \"]>\"> <!ATTLIST r d CDATA 'x'> ] >"_s});
            AddMisc();
        }
        AddElement(-1, 0);
        AddMisc();
    }

    QString Text;
    QList<ExpectedElement> Elements;

private:
    QString AnyOf(const QStringList& texts) { return texts.at(mRandom.bounded(int(texts.size()))); }
    QString Space(bool required)
    {
        return AnyOf({required ? u" "_s : QString(), u" "_s, u"\n"_s, u"\r\n"_s, u"\t  "_s, u"\r"_s});
    }

    // Adds text that is also allowed outside the root element.
    void AddMisc()
    {
        while (mRandom.bounded(2) == 0)
            Text += AnyOf({u"\n"_s, u"\r\n"_s, u"<!-- <a b='> -->"_s, u"<?p <a> ?>"_s, u"<!---->"_s});
    }

    void AddContent()
    {
        while (mRandom.bounded(2) == 0) {
            Text += AnyOf({u"text"_s, u"\r\n"_s, u"]]&gt;"_s, u"&#60;b&#62;"_s, u"<![CDATA[<a></b>]]>"_s,
                           u"\U0001F600\u00E4"_s, u">"_s, u"/>"_s, u"&lt;&amp;"_s});
            AddMisc();
        }
    }

    void AddAttributes(ExpectedElement& element)
    {
        for (int i = mRandom.bounded(4); i > 0; --i) {
            Text += Space(true);
            ExpectedAttribute attribute;
            attribute.Name = AnyOf({u"a"_s, u"x:b"_s, u"xmlns"_s, u"größe"_s}) + QString::number(i);
            attribute.Begin = Text.size();
            const QString quote = AnyOf({u"\""_s, u"'"_s});
            Text += attribute.Name + Space(false) + u'=' + Space(false) + quote;
            attribute.ValueBegin = Text.size();
            Text += AnyOf({u""_s, u"value"_s, u"a1='/>"_s.remove(quote), u"\"x\""_s.remove(quote),
                           u"&lt;&#10;&quot;"_s, u"\U0001F600\r\n"_s, u"a=b > c"_s});
            attribute.ValueEnd = Text.size();
            Text += quote;
            element.Attributes.append(attribute);
        }
    }

    void AddElement(int parent, int depth)
    {
        const qsizetype number = Elements.size();
        ExpectedElement element;
        element.Parent = parent;
        element.Name = depth == 0 ? u"r"_s : AnyOf({u"a"_s, u"ab"_s, u"x:a"_s, u"größe"_s, u"r"_s});
        element.Begin = Text.size();
        Text += u'<' + element.Name;
        AddAttributes(element);
        Text += Space(false);
        const bool isEmpty = mRandom.bounded(4) == 0;
        Text += isEmpty ? u"/>"_s : u">"_s;
        element.TagEnd = element.ContentEnd = element.End = Text.size();
        Elements.append(element);
        if (isEmpty)
            return;
        AddContent();
        for (int i = depth < 5 ? mRandom.bounded(4) : 0; i > 0; --i) {
            AddElement(int(number), depth + 1);
            AddContent();
        }
        Elements[number].ContentEnd = Text.size();
        Text += u"</"_s + element.Name + Space(false) + u'>';
        Elements[number].End = Text.size();
    }

    QRandomGenerator mRandom;
};

QString ToText(qsizetype begin, qsizetype tagEnd, qsizetype contentEnd, qsizetype end, int parent)
{
    return u" %1-%2 %3-%4 in %5"_s.arg(begin).arg(tagEnd).arg(contentEnd).arg(end).arg(parent);
}

QStringList ToText(const XmlSource& source)
{
    QStringList lines;
    for (int i = 0; i < source.GetElements().size(); ++i) {
        const XmlSource::Element& element = source.GetElements().at(i);
        lines += element.Name.toString()
            + ToText(element.Begin, element.TagEnd, element.ContentEnd, element.End, element.Parent);
        const QList<XmlSource::Attribute> attributes = source.GetAttributes(i);
        for (const XmlSource::Attribute& attribute : attributes)
            lines += u"  %1 %2 %3-%4"_s.arg(attribute.Name)
                         .arg(attribute.Begin)
                         .arg(attribute.ValueBegin)
                         .arg(attribute.ValueEnd);
    }
    return lines;
}

QStringList ToText(const QList<ExpectedElement>& elements)
{
    QStringList lines;
    for (const ExpectedElement& element : elements) {
        lines += element.Name
            + ToText(element.Begin, element.TagEnd, element.ContentEnd, element.End, element.Parent);
        for (const ExpectedAttribute& attribute : element.Attributes)
            lines += u"  %1 %2 %3-%4"_s.arg(attribute.Name)
                         .arg(attribute.Begin)
                         .arg(attribute.ValueBegin)
                         .arg(attribute.ValueEnd);
    }
    return lines;
}

} // namespace

/// Tests where the tool finds elements and attributes in the text of a document.
class tst_ToolXmlSource : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void Places_data();
    void Places();
    void Places_ofRandomDocuments();
    void Places_markupInEntities_data();
    void Places_markupInEntities();
    void Load_encodings_data();
    void Load_encodings();
    void Load_wrongEncoding();
};

void tst_ToolXmlSource::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_ToolXmlSource::Places_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("empty element") << u"<a/>"_s << QStringList{u"a 0-4 4-4 in -1"_s};
    QTest::newRow("element without content") << u"<a></a>"_s << QStringList{u"a 0-3 3-7 in -1"_s};
    QTest::newRow("children") << u"<a>x<b/>y<b>z</b></a >"_s
                              << QStringList{u"a 0-3 17-22 in -1"_s, u"b 4-8 8-8 in 0"_s,
                                             u"b 9-12 13-17 in 0"_s};
    QTest::newRow("attributes") << u"<a b='1'\n c = \"2'\" />"_s
                                << QStringList{u"a 0-21 21-21 in -1"_s, u"  b 3 6-7"_s, u"  c 10 15-17"_s};
    QTest::newRow("name of an attribute in the value before")
        << u"<a b='c' c='d'/>"_s << QStringList{u"a 0-16 16-16 in -1"_s, u"  b 3 6-7"_s, u"  c 9 12-13"_s};
    QTest::newRow("after declaration and white space")
        << u"<?xml version='1.0'?>\n\n <a/>\n"_s << QStringList{u"a 24-28 28-28 in -1"_s};
    QTest::newRow("default of an attribute") << u"<!DOCTYPE a [<!ATTLIST a b CDATA 'c'>]><a d='e'/>"_s
                                             << QStringList{u"a 39-49 49-49 in -1"_s, u"  d 42 45-46"_s};
    QTest::newRow("entity with text")
        << u"<!DOCTYPE a [<!ENTITY e 'text'>]><a>&e;<b c='&e;'/>&e;</a>"_s
        << QStringList{u"a 33-36 54-58 in -1"_s, u"b 39-51 51-51 in 0"_s, u"  c 42 45-48"_s};
    QTest::newRow("markup in an entity that is not used")
        << u"<!DOCTYPE a [<!ENTITY e '<b/>'>]><a/>"_s << QStringList{u"a 33-37 37-37 in -1"_s};
    QTest::newRow("markup in a CDATA section")
        << u"<a><![CDATA[<b/>]]></a>"_s << QStringList{u"a 0-3 19-23 in -1"_s};
    QTest::newRow("characters beyond the basic plane")
        << u"<a>\U0001F600<b/></a>"_s << QStringList{u"a 0-3 9-13 in -1"_s, u"b 5-9 9-9 in 0"_s};
}

void tst_ToolXmlSource::Places()
{
    QFETCH(const QString, text);
    QFETCH(const QStringList, expected);

    XmlSource source;
    QVERIFY(source.LoadText(text));
    QCOMPARE(ToText(source), expected);
}

void tst_ToolXmlSource::Places_ofRandomDocuments()
{
    for (quint32 seed = 0; seed < 2000; ++seed) {
        const DocumentMaker made(seed);
        XmlSource source;
        QVERIFY2(source.LoadText(made.Text), qPrintable(made.Text));
        if (ToText(source) != ToText(made.Elements))
            qInfo("seed %u:\n%s", seed, qPrintable(made.Text));
        QCOMPARE(ToText(source), ToText(made.Elements));
        int count = 0;
        source.ForEachElement([&](int number) {
            QCOMPARE(source.GetFiler().GetCurrentNode().nodeName(), made.Elements.at(number).Name);
            ++count;
        });
        QCOMPARE(count, made.Elements.size());
    }
}

void tst_ToolXmlSource::Places_markupInEntities_data()
{
    QTest::addColumn<QString>("entity");
    QTest::addColumn<QString>("content");

    const QStringList contents{u"&e;"_s,         u"&e;<b/>"_s,    u"<b/>&e;"_s,         u" &e; <b/>"_s,
                               u"text&e;<b/>"_s, u"<b></b>&e;"_s, u"<c>&e;</c><b/>"_s,  u"<b/>text&e;"_s,
                               u"<b/>1234&e;"_s, u"<b/>12&e;"_s,  u"<b c='&lt;'/>&e;"_s};
    for (const QString& entity : {u"<b/>"_s, u"x<b/>"_s, u"<b/>x"_s, u" <b/> "_s, u"<b>x</b><b/>"_s,
                                  u"<b></b>"_s, u"longer text<b/>"_s, u"<b          />"_s}) {
        for (const QString& content : contents)
            QTest::addRow("%s in %s", qPrintable(entity), qPrintable(content)) << entity << content;
    }
}

// Some elements come from entities and are not in the text, so no element gets a place.
void tst_ToolXmlSource::Places_markupInEntities()
{
    QFETCH(const QString, entity);
    QFETCH(const QString, content);

    XmlSource source;
    QVERIFY(source.LoadText(u"<!DOCTYPE a [<!ENTITY e '"_s + entity + u"'>]><a>"_s + content + u"</a>"_s));
    QVERIFY(!source.HasPlaces());
}

void tst_ToolXmlSource::Load_encodings_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");

    const QString text = u"<a b='\u00E4'/>"_s;
    QTest::newRow("UTF-8") << text.toUtf8() << text;
    QTest::newRow("UTF-8 with a mark") << "\xEF\xBB\xBF" + text.toUtf8() << text;
    const QString latin = u"<?xml version='1.0' encoding='ISO-8859-1'?>"_s + text;
    QTest::newRow("Latin-1") << latin.toLatin1() << latin;
    QTest::newRow("UTF-16") << QStringEncoder(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom)
                                   .encode(text)
                                   .
                                   operator QByteArray()
                            << text;
}

void tst_ToolXmlSource::Load_encodings()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, text);

    const QTemporaryDir folder;
    QFile file(folder.filePath(u"a.xml"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
    file.close();
    XmlSource source;
    source.Load(InputFile(file.fileName()));
    QCOMPARE(source.GetText(), text);
    QCOMPARE(source.GetFiler().ReadString(u"b"_s, QString()), u"\u00E4"_s);
    QCOMPARE(source.GetElements().size(), 1);
    QCOMPARE(source.Encode(text), content);
}

// The bytes are not in the declared encoding, which the parser trusts.
void tst_ToolXmlSource::Load_wrongEncoding()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"a.xml"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<?xml version='1.0' encoding='UTF-16'?><a/>");
    file.close();
    XmlSource source;
    QVERIFY_THROWS_EXCEPTION(Failure, source.Load(InputFile(file.fileName())));
}

QTEST_GUILESS_MAIN(tst_ToolXmlSource)
#include "tst_ToolXmlSource.moc"
