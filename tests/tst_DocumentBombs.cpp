// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Small documents that would take far more memory or time than their size suggests.

#include "support/LittleMemory.h"
#include "support/TestSupport.h"

#include <IPC.h>
#include <XmlFiler.h>

#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using TestSupport::LogGuard;
using TestSupport::Outcome;
using TestSupport::RunWithLittleMemory;
using TestSupport::WriteFile;

namespace {

QByteArray Attributes(int count)
{
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += " a" + QByteArray::number(i) + "='" + QByteArray::number(i) + '\'';
    return text;
}

QByteArray AttributeDeclarations(int count)
{
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += "<!ATTLIST b a" + QByteArray::number(i) + " CDATA 'x'>";
    return text;
}

} // namespace

class tst_DocumentBombs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Refused_data();
    void Refused();
    void Loads_data();
    void Loads();
    void ReadError();

private:
    [[nodiscard]] QString Path(const QString& name) const { return mDir->filePath(name); }

    std::unique_ptr<QTemporaryDir> mDir;
};

void tst_DocumentBombs::init()
{
    TestSupport::FailOnAnyMessage();
    mDir = std::make_unique<QTemporaryDir>();
    QVERIFY(mDir->isValid());
}

void tst_DocumentBombs::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

void tst_DocumentBombs::Refused_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("content");

    const QByteArray none;
    QTest::newRow("one long default of many elements")
        << "<!ATTLIST b c CDATA '" + QByteArray(200'000, 'x') + "'>" << QByteArray("<b/>").repeated(20'000);
    QTest::newRow("many defaults of many elements")
        << AttributeDeclarations(2'000) << QByteArray("<b/>").repeated(20'000);
    QTest::newRow("many defaults in one declaration")
        << "<!ATTLIST b" + QByteArray(Attributes(2'000)).replace('=', " CDATA ") + '>'
        << QByteArray("<b/>").repeated(20'000);
    QTest::newRow("defaults of elements in entities")
        << "<!ENTITY e '" + QByteArray("<b/>").repeated(1'000) + "'><!ATTLIST b c CDATA 'xxxxxxxxxxxxxxxx'>"
        << QByteArray("&e;").repeated(500);
    QTest::newRow("declarations without a default, checked for each element")
        << QByteArray(AttributeDeclarations(9'000)).replace("'x'", "#IMPLIED")
        << QByteArray("<d/>").repeated(100'000);
    QTest::newRow("more declarations than are checked") << AttributeDeclarations(40'000) << none;
    QTest::newRow("declarations by parameter entities")
        << "<!ENTITY % p \"" + AttributeDeclarations(100) + "\">" + QByteArray("%p;").repeated(5'000) << none;
    QTest::newRow("declarations by hidden parameter entities") << "<!ENTITY % p \""
            + AttributeDeclarations(100).replace("<!ATT", "&#60;!&#65;TT") + "\">"
            + QByteArray("%p;").repeated(5'000) << none;
    QTest::newRow("elements in entities")
        << "<!ENTITY e '" + QByteArray("<b/>").repeated(1'000) + "'>" << QByteArray("&e;").repeated(3'900);
    QTest::newRow("text in entities")
        << "<!ENTITY e '" + QByteArray(4'000, 'x') + "'>" << QByteArray("&e;").repeated(100'000);
    QTest::newRow("entities in an attribute") << "<!ENTITY e '" + QByteArray(4'000, 'x') + "'>"
                                              << "<b c='" + QByteArray("&e;").repeated(100'000) + "'/>";
    QTest::newRow("entities in a default") << "<!ENTITY e '" + QByteArray(4'000, 'x')
            + "'><!ATTLIST b c CDATA '" + QByteArray("&e;").repeated(100'000)
            + "'>" << QByteArray("<b/>");
    QTest::newRow("attributes of one element") << none << "<b" + Attributes(10'001) + "/>";
    QTest::newRow("attributes of one element, a hundred thousand")
        << none << "<b" + Attributes(100'000) + "/>";
    QTest::newRow("attributes of a tag without end") << none << "<b" + Attributes(100'000);
    QTest::newRow("attributes with brackets in their values")
        << none << "<b" + Attributes(100'000).replace("='", " = \n\"/>").replace('\'', '"') + "/>";
    QTest::newRow("attributes by defaults")
        << AttributeDeclarations(6'000) << "<b" + Attributes(10'000).replace(" a", " b") + "/>";
}

void tst_DocumentBombs::Refused()
{
    QFETCH(const QByteArray, type);
    QFETCH(const QByteArray, content);
    const QByteArray start = type.isEmpty() ? QByteArray() : "<!DOCTYPE Message [" + type + "]>";
    const QString file = Path(u"bomb.xml"_s);

    // As a document, as a file of translations, and as a message.
    QVERIFY(WriteFile(file, start + "<Message>" + content + "</Message>"));
    QCOMPARE(RunWithLittleMemory([&] { return XmlFiler().LoadFromXmlFile(file); }), Outcome::Refused);

    const QString text = QString::fromLatin1(start + "<Message>" + content + "</Message>");
    QCOMPARE(RunWithLittleMemory([&] { return XmlFiler().LoadFromXmlString(text); }), Outcome::Refused);

    QVERIFY(WriteFile(file,
                      start + "<Message original='a'><file original='x.xml'><body><unit id='"
                          + GeneralUtil::GetHash(u"A"_s) + "'><target>B</target></unit></body></file>"
                          + content + "</Message>"));
    QCOMPARE(RunWithLittleMemory([&] { return XlfTranslator(file).Translate(u"A"_s, u"x.xml"_s) == u"B"_s; }),
             Outcome::Refused);

    QString message = PackMessage(u"A"_s, {{u"P"_s, 1}});
    QCOMPARE(ExtractMessage(message).first, u"A"_s);
    const qsizetype declarationEnd = message.indexOf(u"?>"_s) + 2;
    message.insert(message.lastIndexOf(u"</"_s), QString::fromLatin1(content));
    message.insert(declarationEnd, QString::fromLatin1(start));
    QCOMPARE(RunWithLittleMemory([&] { return !ExtractMessage(message).first.isEmpty(); }), Outcome::Refused);

    // The same document in UTF-16, in which a search for ASCII markup finds nothing.
    QStringEncoder encoder(QStringConverter::Utf16LE);
    const QByteArray encoded = encoder(u'\uFEFF' + text);
    QVERIFY(WriteFile(file, encoded));
    QCOMPARE(RunWithLittleMemory([&] { return XmlFiler().LoadFromXmlFile(file); }), Outcome::Refused);
}

void tst_DocumentBombs::Loads_data()
{
    QTest::addColumn<QByteArray>("xml");

    QTest::newRow("10,000 attributes") << "<r" + Attributes(10'000) + "/>";
    QTest::newRow("10,000 attributes, twice")
        << "<r><b" + Attributes(10'000) + "/><c" + Attributes(10'000) + "/></r>";
    QTest::newRow("what looks like attributes in text") << "<r><b/>" + Attributes(20'000) + "</r>";
    QTest::newRow("what looks like attributes in a section")
        << "<r><![CDATA[" + Attributes(20'000) + "]]></r>";
    QTest::newRow("many quotes in a value") << "<r a='" + QByteArray("b=\"c\" ").repeated(20'000) + "'/>";
    QTest::newRow("defaults of a few elements") << "<!DOCTYPE r [" + AttributeDeclarations(100) + "]><r>"
            + QByteArray("<b/>").repeated(1'000) + "</r>";
    QTest::newRow("defaults of other elements") << "<!DOCTYPE r [" + AttributeDeclarations(100) + "]><r>"
            + QByteArray("<c/>").repeated(100'000) + "</r>";
    QTest::newRow("a short entity used often")
        << "<!DOCTYPE r [<!ENTITY n '&#160;'>]><r>" + QByteArray("&n; ").repeated(1'000'000) + "</r>";
    QTest::newRow("15 MiB of text in entities") << "<!DOCTYPE r [<!ENTITY e '" + QByteArray(4'096, 'x')
            + "'>]><r>" + QByteArray("&e;").repeated(3'840) + "</r>";
    QTest::newRow("many entities") << QByteArray(
        "<!DOCTYPE r [" + AttributeDeclarations(4'000).replace("ATTLIST b", "ENTITY").replace("CDATA", "")
        + "]><r>&a1;</r>");
    QTest::newRow("a document type without a subset")
        << "<!DOCTYPE r SYSTEM 'r.dtd'><r>" + QByteArray("<b c='d'/>").repeated(10'000) + "</r>";
}

void tst_DocumentBombs::Loads()
{
    QFETCH(const QByteArray, xml);
    QVERIFY(QDomDocument().setContent(xml));
    QVERIFY(WriteFile(Path(u"s.xml"_s), xml));

    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlFile(Path(u"s.xml"_s)));
    QVERIFY(filer.LoadFromXmlString(QString::fromUtf8(xml)));
}

void tst_DocumentBombs::ReadError()
{
    // This file can be opened, but not read.
    const QString file = u"/proc/self/mem"_s;
    if (!QFile::exists(file))
        QSKIP("this system has no such file");
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r/>"_s));
    const LogGuard log;

    QVERIFY(!filer.LoadFromXmlFile(file));

    QCOMPARE(log.Messages().size(), 1);
    QVERIFY2(log.Messages().constFirst().startsWith(file + u" does not load: "_s),
             qPrintable(log.Messages().constFirst()));
    QVERIFY(!log.Messages().constFirst().contains(u"line"_s));
}

QTEST_GUILESS_MAIN(tst_DocumentBombs)
#include "tst_DocumentBombs.moc"
