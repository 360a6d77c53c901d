// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"

#include <XmlFiler.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using TestSupport::LogGuard;
using TestSupport::WriteFile;

namespace {
/// Returns the id of the unit for a source text.
QString Digest(const QString& text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
}

/// Returns a unit with a valid id; \p target is markup.
QString Unit(const QString& source, const QString& target)
{
    return u"<trans-unit id=\"%1\"><source>%2</source><target>%3</target></trans-unit>"_s.arg(
        Digest(source), source.toHtmlEscaped(), target);
}

/// Returns a `file` element that contains only a body; \p units is markup.
QString File(const QString& original, const QString& units)
{
    return u"<file original=\"%1\" source-language=\"en\" target-language=\"de\" datatype=\"plaintext\">"
           "<body>%2</body></file>"_s.arg(original.toHtmlEscaped(), units);
}

/// Returns a complete XLIFF document; \p files is markup.
QString Xliff(const QString& files)
{
    return u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\">%1</xliff>\n"_s.arg(files);
}

} // namespace

class tst_XlfTranslator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Translate_untouchedObject();
    void Translate_context_data();
    void Translate_context();
    void Translate_contextWithoutFileName_data();
    void Translate_contextWithoutFileName();
    void Translate_text_data();
    void Translate_text();
    void Translate_unit_data();
    void Translate_unit();
    void Translate_structure_data();
    void Translate_structure();
    void Translate_laterFileReplacesEarlier_data();
    void Translate_laterFileReplacesEarlier();

    void Translate_readsTheFileOnce();
    void Translate_failedReadIsNotRepeated_data();
    void Translate_failedReadIsNotRepeated();
    void Translate_logsAFileWithoutTranslations();
    void Translate_directoryAsFile();

    void SetXlfFile_beforeTheFirstTranslation();
    void SetXlfFile_afterTheFirstTranslation();
    void SetXlfFile_backToTheFirstFile();
    void SetXlfFile_sameFile_data();
    void SetXlfFile_sameFile();
    void SetXlfFile_toNothing();

    void ParseXlfFile_beforeTheFirstTranslation();
    void ParseXlfFile_again();
    void ParseXlfFile_failureKeepsTheTable();
    void ParseXlfFile_afterSetXlfFile();
    void ParseXlfFile_untouchedObject();

    void Contexts_areIndependent();
    void Contexts_afterReading();
    void Contexts_againstModel();
    void Cache_manyTextsAndContexts();
    void Cache_afterTheTextIsGone();
    void Cache_emptyText();
    void Copies_areIndependent();
    void Filer_translatesThroughTranslator();

private:
    [[nodiscard]] QString Path(const QString& name) const { return mDir->filePath(name); }
    /// Writes an XLIFF file and returns its path.
    [[nodiscard]] QString Write(const QString& xml, const QString& name = u"texts.xlf"_s) const;

    std::unique_ptr<QTemporaryDir> mDir;
};

void tst_XlfTranslator::init()
{
    TestSupport::FailOnAnyMessage();
    mDir = std::make_unique<QTemporaryDir>();
    QVERIFY(mDir->isValid());
}

void tst_XlfTranslator::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

QString tst_XlfTranslator::Write(const QString& xml, const QString& name) const
{
    return WriteFile(Path(name), xml.toUtf8()) ? Path(name) : QString();
}

void tst_XlfTranslator::Translate_untouchedObject()
{
    const XlfTranslator translator;

    QCOMPARE(translator.Translate(u"Save"_s, u"/ui/main.xml"_s), u"Save"_s);
    QCOMPARE(translator.Translate(u"Save"_s, QString()), u"Save"_s);
    QCOMPARE(translator.Translate(QString(), QString()), QString());
}

// Contexts and documents

void tst_XlfTranslator::Translate_context_data()
{
    QTest::addColumn<QString>("original");
    QTest::addColumn<QString>("context");
    QTest::addColumn<bool>("found");

    QTest::newRow("same path") << u"/ui/main.xml"_s << u"/ui/main.xml"_s << true;
    QTest::newRow("different folder and case") << u"C:/ui/Main.XML"_s << u"/other/dir/main.xml"_s << true;
    QTest::newRow("upper case in the context") << u"main.xml"_s << u"MAIN.XML"_s << true;
    QTest::newRow("file name alone") << u"main.xml"_s << u"main.xml"_s << true;
    QTest::newRow("another name") << u"main.xml"_s << u"main2.xml"_s << false;
    QTest::newRow("another suffix") << u"main.xml"_s << u"main.xm"_s << false;
    QTest::newRow("no suffix") << u"main.xml"_s << u"/ui/main"_s << false;
    QTest::newRow("the folder's name") << u"/ui/main.xml"_s << u"/ui"_s << false;
    QTest::newRow("blank before the name") << u" main.xml"_s << u"main.xml"_s << false;
    QTest::newRow("letters beyond ASCII") << u"ÄÖÜ.xml"_s << u"/x/äöü.xml"_s << true;
    QTest::newRow("lower case of a sharp s") << u"MA\u1E9E.xml"_s << u"ma\u00DF.xml"_s << true;
    QTest::newRow("lower case, not folded case") << u"Stra\u00DFe.xml"_s << u"strasse.xml"_s << false;
    QTest::newRow("final sigma is kept") << u"\u039F\u03A3.xml"_s << u"\u03BF\u03C2.xml"_s << false;
    QTest::newRow("final sigma on both sides") << u"\u03BF\u03C2.xml"_s << u"/x/\u03BF\u03C2.xml"_s << true;
    QTest::newRow("final sigma, capital in the context")
        << u"\u03BF\u03C2.xml"_s << u"\u039F\u03A3.xml"_s << false;
    QTest::newRow("sigma") << u"\u039F\u03A3.xml"_s << u"\u03BF\u03C3.xml"_s << true;
    QTest::newRow("Kelvin sign") << u"\u212A.xml"_s << u"k.xml"_s << true;
    QTest::newRow("letter beyond U+FFFF") << u"\U00010400.xml"_s << u"\U00010428.xml"_s << true;
    QTest::newRow("backslash is not a separator") << u"C:\\ui\\main.xml"_s << u"main.xml"_s << false;
    QTest::newRow("backslashes in both") << u"C:\\ui\\Main.xml"_s << u"/x/c:\\UI\\main.xml"_s << true;
    QTest::newRow("original is a mark") << u"tr(/ui/main.xml)"_s << u"main.xml"_s << true;
    QTest::newRow("original is a mark, in full") << u"tr(main.xml)"_s << u"tr(main.xml)"_s << false;
    QTest::newRow("original is a mark with blanks") << u" TR ( main.xml ) "_s << u" main.xml "_s << true;
    QTest::newRow("original ends in a slash") << u"/ui/main.xml/"_s << u"main.xml"_s << false;
    QTest::newRow("dots") << u".."_s << u"/ui/.."_s << true;
    QTest::newRow("resource path") << u":/ui/main.xml"_s << u"qrc:/ui/main.xml"_s << true;
}

void tst_XlfTranslator::Translate_context()
{
    QFETCH(const QString, original);
    QFETCH(const QString, context);
    QFETCH(const bool, found);
    const XlfTranslator translator(Write(Xliff(File(original, Unit(u"Save"_s, u"Sichern"_s)))));

    QCOMPARE(translator.Translate(u"Save"_s, context), found ? u"Sichern"_s : u"Save"_s);
}

void tst_XlfTranslator::Translate_contextWithoutFileName_data()
{
    QTest::addColumn<QString>("files");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    const QString aSave = File(u"a.xml"_s, Unit(u"Save"_s, u"A-Save"_s));
    const QString bOpen = File(u"b.xml"_s, Unit(u"Open"_s, u"B-Open"_s));
    const QString bSave = File(u"B.xml"_s, Unit(u"Save"_s, u"B-Save"_s));

    QTest::newRow("only file") << aSave << u"Save"_s << u"A-Save"_s;
    QTest::newRow("last by name has the unit") << aSave + bSave << u"Save"_s << u"B-Save"_s;
    QTest::newRow("last by name, first in the file") << bSave + aSave << u"Save"_s << u"B-Save"_s;
    QTest::newRow("last by name lacks the unit") << aSave + bOpen << u"Save"_s << u"Save"_s;
    QTest::newRow("last by name lacks the unit, first in the file")
        << bOpen + aSave << u"Save"_s << u"Save"_s;
    QTest::newRow("lower case counts for the order")
        << File(u"Zebra.xml"_s, Unit(u"Save"_s, u"Zebra"_s)) + aSave << u"Save"_s << u"Zebra"_s;
    QTest::newRow("the folder does not count") << File(u"/z/a.xml"_s, Unit(u"Save"_s, u"A-Save"_s))
            + File(u"/a/b.xml"_s, Unit(u"Save"_s, u"B-Save"_s))
                                               << u"Save"_s << u"B-Save"_s;
    QTest::newRow("files without a unit for the text") << QString() << u"Save"_s << u"Save"_s;
    QTest::newRow("last by name has an empty target")
        << aSave + File(u"b.xml"_s, Unit(u"Save"_s, QString())) << u"Save"_s << Digest(u"Save"_s);
    QTest::newRow("a file without units is not in the table")
        << aSave + File(u"z.xml"_s, QString()) << u"Save"_s << u"A-Save"_s;
    QTest::newRow("a longer name is later")
        << File(u"a.xml2"_s, Unit(u"Save"_s, u"Longer"_s)) + aSave << u"Save"_s << u"Longer"_s;
    QTest::newRow("letters beyond ASCII are later")
        << File(u"Ä.xml"_s, Unit(u"Save"_s, u"Umlaut"_s)) + File(u"z.xml"_s, Unit(u"Save"_s, u"Z"_s))
        << u"Save"_s << u"Umlaut"_s;
}

void tst_XlfTranslator::Translate_contextWithoutFileName()
{
    QFETCH(const QString, files);
    QFETCH(const QString, text);
    QFETCH(const QString, expected);
    const XlfTranslator translator(Write(Xliff(files)));

    QCOMPARE(translator.Translate(text, QString()), expected);
    QCOMPARE(translator.Translate(text, u""_s), expected);
    QCOMPARE(translator.Translate(text, u"/ui/"_s), expected);
    QCOMPARE(translator.Translate(text, u"a.xml/"_s), expected);
    QCOMPARE(translator.Translate(text, u"/"_s), expected);
}

// Look-ups of texts

void tst_XlfTranslator::Translate_text_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("plain") << u"Save"_s;
    QTest::newRow("empty") << QString();
    QTest::newRow("surrounding blanks") << u" Save "_s;
    QTest::newRow("quotes") << u"\"Save\""_s;
    QTest::newRow("beyond ASCII") << u"Größe €"_s;
    QTest::newRow("beyond U+FFFF") << u"\U0001F600"_s;
    QTest::newRow("a mark itself") << u"tr(Save)"_s;
    QTest::newRow("long") << QString(100'000, u'x');
    QTest::newRow("line breaks") << u"a\nb"_s;
}

void tst_XlfTranslator::Translate_text()
{
    QFETCH(const QString, text);
    const QString unit = u"<trans-unit id='%1'><target>found</target></trans-unit>"_s.arg(Digest(text));
    const XlfTranslator translator(Write(Xliff(File(u"main.xml"_s, unit))));

    QCOMPARE(translator.Translate(text, u"main.xml"_s), u"found"_s);
    QCOMPARE(translator.Translate(text, QString()), u"found"_s);
    QCOMPARE(translator.Translate(text + u"!"_s, u"main.xml"_s), text + u"!"_s);
    QCOMPARE(translator.Translate(text.toUpper() + u"?"_s, u"main.xml"_s), text.toUpper() + u"?"_s);
    QCOMPARE(translator.Translate(text, u"other.xml"_s), text);
}

// Units

void tst_XlfTranslator::Translate_unit_data()
{
    QTest::addColumn<QString>("units");
    QTest::addColumn<QString>("expected");

    const QString id = Digest(u"Save"_s);
    const auto unit = [&](const QString& content) {
        return u"<trans-unit id='%1'><source>Save</source>%2</trans-unit>"_s.arg(id, content);
    };

    QTest::newRow("plain target") << unit(u"<target>Sichern</target>"_s) << u"Sichern"_s;
    QTest::newRow("escaped target") << unit(u"<target>&lt;&amp;&#x20AC;</target>"_s) << u"<&€"_s;
    QTest::newRow("CDATA target") << unit(u"<target><![CDATA[a<b]]></target>"_s) << u"a<b"_s;
    QTest::newRow("empty target") << unit(u"<target/>"_s) << id;
    QTest::newRow("empty target, two tags") << unit(u"<target></target>"_s) << id;
    QTest::newRow("empty CDATA target") << unit(u"<target><![CDATA[]]></target>"_s) << id;
    QTest::newRow("no target") << unit(QString()) << id;
    QTest::newRow("target is a mark") << unit(u"<target>tr(Sichern)</target>"_s) << u"Sichern"_s;
    QTest::newRow("target is a mark with blanks")
        << unit(u"<target> TR ( Sichern ) </target>"_s) << u" Sichern "_s;
    QTest::newRow("target is an empty mark") << unit(u"<target>tr()</target>"_s) << id;
    QTest::newRow("target is a mark within a mark") << unit(u"<target>tr(tr(x))</target>"_s) << u"tr(x)"_s;
    QTest::newRow("CDATA target is a mark")
        << unit(u"<target><![CDATA[tr(Sichern)]]></target>"_s) << u"tr(Sichern)"_s;
    QTest::newRow("blanks in a target are kept")
        << unit(u"<target>  Sichern \n </target>"_s) << u"  Sichern \n "_s;
    QTest::newRow("text, then an element") << unit(u"<target>Sich<g id='1'>ern</g></target>"_s) << u"Sich"_s;
    QTest::newRow("an element first") << unit(u"<target><g id='1'>Sich</g>ern</target>"_s) << id;
    QTest::newRow("a comment first") << unit(u"<target><!-- c -->Sichern</target>"_s) << id;
    QTest::newRow("text, then CDATA") << unit(u"<target>Si<![CDATA[chern]]></target>"_s) << u"Si"_s;
    QTest::newRow("two targets") << unit(u"<target>first</target><target>second</target>"_s) << u"first"_s;
    QTest::newRow("empty target, then a full one") << unit(u"<target/><target>second</target>"_s) << id;
    QTest::newRow("target in different case") << unit(u"<Target>Sichern</Target>"_s) << id;
    QTest::newRow("target with prefix") << unit(u"<x:target>Sichern</x:target>"_s) << id;
    QTest::newRow("target deeper down") << unit(u"<alt-trans><target>Sichern</target></alt-trans>"_s) << id;
    QTest::newRow("sources are not read")
        << u"<trans-unit id='%1'><source>Other</source><target>Sichern</target></trans-unit>"_s.arg(id)
        << u"Sichern"_s;
    QTest::newRow("a unit by another name")
        << u"<anything id='%1'><target>Sichern</target></anything>"_s.arg(id) << u"Sichern"_s;
    QTest::newRow("target before source")
        << u"<trans-unit id='%1'><target>Sichern</target><source>Save</source></trans-unit>"_s.arg(id)
        << u"Sichern"_s;
    QTest::newRow("the same id twice")
        << unit(u"<target>first</target>"_s) + unit(u"<target>second</target>"_s) << u"second"_s;
    QTest::newRow("the same id twice, then empty")
        << unit(u"<target>first</target>"_s) + unit(u"<target/>"_s) << id;
    QTest::newRow("second unit") << Unit(u"Open"_s, u"x"_s) + unit(u"<target>Sichern</target>"_s)
                                 << u"Sichern"_s;
    QTest::newRow("after a comment and text")
        << u"<!-- c -->text"_s + unit(u"<target>Sichern</target>"_s) << u"Sichern"_s;
    QTest::newRow("comments between units")
        << Unit(u"Open"_s, u"x"_s) + u"<!-- c --><?pi x?>text"_s + unit(u"<target>Sichern</target>"_s)
        << u"Sichern"_s;
    QTest::newRow("id in upper case")
        << u"<trans-unit id='%1'><target>Sichern</target></trans-unit>"_s.arg(id.toUpper()) << u"Save"_s;
    for (const QString& other : {id + u'0', id.chopped(1), u'+' + id.mid(1), u"0x"_s + id.mid(2), u' ' + id,
                                 QString(id).replace(31, 1, u"g"_s), id.left(31) + QChar(0xff10)}) {
        QTest::addRow("id '%s'", qPrintable(other))
            << u"<trans-unit id='%1'><target>Sichern</target></trans-unit>"_s.arg(other) << u"Save"_s;
    }
    QTest::newRow("id is a mark") << u"<trans-unit id='tr(%1)'><target>Sichern</target></trans-unit>"_s.arg(
        id) << u"Sichern"_s;
    QTest::newRow("id is a mark, empty target")
        << u"<trans-unit id='tr(%1)'><target/></trans-unit>"_s.arg(id) << id;
    QTest::newRow("id is the source")
        << u"<trans-unit id='Save'><target>Sichern</target></trans-unit>"_s << u"Save"_s;
    QTest::newRow("no id") << u"<trans-unit><target>Sichern</target></trans-unit>"_s << u"Save"_s;
    QTest::newRow("no id and no target") << u"<trans-unit/>"_s << u"Save"_s;
    QTest::newRow("a unit without id before")
        << u"<trans-unit><target>x</target></trans-unit>"_s + unit(u"<target>Sichern</target>"_s)
        << u"Sichern"_s;
    QTest::newRow("units in a group are not found")
        << u"<group id='g'>"_s + unit(u"<target>Sichern</target>"_s) + u"</group>"_s << u"Save"_s;
    QTest::newRow("a unit after a group")
        << u"<group id='g'>"_s + Unit(u"Open"_s, u"x"_s) + u"</group>"_s + unit(u"<target>Sichern</target>"_s)
        << u"Sichern"_s;
}

void tst_XlfTranslator::Translate_unit()
{
    QFETCH(const QString, units);
    QFETCH(const QString, expected);
    const XlfTranslator translator(Write(Xliff(File(u"main.xml"_s, units))));

    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), expected);
    QCOMPARE(translator.Translate(u"Save"_s, QString()), expected);
}

void tst_XlfTranslator::Translate_structure_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("expected");

    const QString unit = Unit(u"Save"_s, u"Sichern"_s);
    const QString file = File(u"main.xml"_s, unit);

    QTest::newRow("plain") << Xliff(file) << u"Sichern"_s;
    QTest::newRow("empty root") << u"<xliff/>"_s << u"Save"_s;
    QTest::newRow("root with text only") << u"<xliff>text</xliff>"_s << u"Save"_s;
    QTest::newRow("any names") << u"<a><b original='main.xml'><c>"_s + unit + u"</c></b></a>"_s
                               << u"Sichern"_s;
    QTest::newRow("a file as the root") << file << u"Save"_s;
    QTest::newRow("header before the body") << u"<xliff><file original='main.xml'><header/><body>"_s + unit
            + u"</body></file></xliff>"_s << u"Save"_s;
    QTest::newRow("header with notes before the body")
        << u"<xliff><file original='main.xml'><header><note>n</note></header><body>"_s + unit
            + u"</body></file></xliff>"_s
        << u"Save"_s;
    QTest::newRow("content of a header counts as units") << u"<xliff><file original='main.xml'><header>"_s
            + unit + u"</header><body/></file></xliff>"_s << u"Sichern"_s;
    QTest::newRow("header after the body")
        << u"<xliff><file original='main.xml'><body>"_s + unit + u"</body><header/></file></xliff>"_s
        << u"Sichern"_s;
    QTest::newRow("comment before the body") << u"<xliff><file original='main.xml'><!-- c -->x<body>"_s + unit
            + u"</body></file></xliff>"_s << u"Sichern"_s;
    QTest::newRow("file without a body") << u"<xliff><file original='main.xml'/></xliff>"_s << u"Save"_s;
    QTest::newRow("file without a body, then another")
        << u"<xliff><file original='main.xml'/>"_s + file + u"</xliff>"_s << u"Sichern"_s;
    QTest::newRow("body without units, then another")
        << u"<xliff><file original='x.xml'><body/></file>"_s + file + u"</xliff>"_s << u"Sichern"_s;
    QTest::newRow("no original") << u"<xliff><file><body>"_s + unit + u"</body></file></xliff>"_s
                                 << u"Save"_s;
    QTest::newRow("empty original") << u"<xliff><file original=''><body>"_s + unit
            + u"</body></file></xliff>"_s
                                    << u"Save"_s;
    QTest::newRow("original without a file name")
        << u"<xliff><file original='/ui/'><body>"_s + unit + u"</body></file></xliff>"_s << u"Save"_s;
    QTest::newRow("original is an empty mark")
        << u"<xliff><file original='tr()'><body>"_s + unit + u"</body></file></xliff>"_s << u"Save"_s;
    QTest::newRow("no original, then another")
        << u"<xliff><file><body>"_s + Unit(u"Save"_s, u"x"_s) + u"</body></file>"_s + file + u"</xliff>"_s
        << u"Sichern"_s;
    QTest::newRow("second file") << Xliff(File(u"a.xml"_s, Unit(u"Save"_s, u"x"_s)) + file) << u"Sichern"_s;
    QTest::newRow("comments and text between files") << Xliff(
        u"<!-- c -->"_s + File(u"a.xml"_s, Unit(u"Save"_s, u"x"_s)) + u"text<!-- c --><?pi x?>"_s + file)
                                                     << u"Sichern"_s;
    QTest::newRow("file within a file")
        << u"<xliff><file original='a.xml'>"_s + file + u"</file></xliff>"_s << u"Save"_s;
    QTest::newRow("original in different case")
        << u"<xliff><file Original='main.xml'><body>"_s + unit + u"</body></file></xliff>"_s << u"Save"_s;
    QTest::newRow("document type and name space")
        << u"<!DOCTYPE xliff><xliff xmlns='urn:oasis:names:tc:xliff:document:1.2'>"_s + file + u"</xliff>"_s
        << u"Sichern"_s;
    QTest::newRow("entity") << u"<!DOCTYPE xliff [<!ENTITY s 'Sichern'>]><xliff>"_s
            + File(u"main.xml"_s, Unit(u"Save"_s, u"&s;"_s))
            + u"</xliff>"_s << u"Sichern"_s;
    QTest::newRow("malformed") << u"<xliff>"_s + file << u"Save"_s;
    QTest::newRow("malformed at the end") << u"<xliff>"_s + file + u"</xliff><"_s << u"Save"_s;
    QTest::newRow("empty document") << QString() << u"Save"_s;
}

void tst_XlfTranslator::Translate_structure()
{
    QFETCH(const QString, xml);
    QFETCH(const QString, expected);
    const XlfTranslator translator(Write(xml));

    QCOMPARE(translator.Translate(u"Save"_s, u"/ui/main.xml"_s), expected);
}

void tst_XlfTranslator::Translate_laterFileReplacesEarlier_data()
{
    QTest::addColumn<QString>("later");
    QTest::addColumn<QString>("expectedSave");
    QTest::addColumn<QString>("expectedOpen");

    QTest::newRow("same name") << File(u"main.xml"_s, Unit(u"Save"_s, u"new"_s)) << u"new"_s << u"Open"_s;
    QTest::newRow("different folder and case")
        << File(u"/x/MAIN.xml"_s, Unit(u"Save"_s, u"new"_s)) << u"new"_s << u"Open"_s;
    QTest::newRow("same name, without one of the units")
        << File(u"main.xml"_s, Unit(u"Open"_s, u"new"_s)) << u"Save"_s << u"new"_s;
    QTest::newRow("empty body leaves the earlier one")
        << File(u"main.xml"_s, QString()) << u"old"_s << u"old"_s;
    QTest::newRow("no body leaves the earlier one")
        << u"<file original='main.xml'/>"_s << u"old"_s << u"old"_s;
    QTest::newRow("another name leaves the earlier one")
        << File(u"other.xml"_s, Unit(u"Save"_s, u"new"_s)) << u"old"_s << u"old"_s;
}

void tst_XlfTranslator::Translate_laterFileReplacesEarlier()
{
    QFETCH(const QString, later);
    QFETCH(const QString, expectedSave);
    QFETCH(const QString, expectedOpen);
    const QString earlier = File(u"main.xml"_s, Unit(u"Save"_s, u"old"_s) + Unit(u"Open"_s, u"old"_s));
    const XlfTranslator translator(Write(Xliff(earlier + later)));

    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), expectedSave);
    QCOMPARE(translator.Translate(u"Open"_s, u"main.xml"_s), expectedOpen);
}

// When the file is read

void tst_XlfTranslator::Translate_readsTheFileOnce()
{
    const QString path = Path(u"texts.xlf"_s);
    const XlfTranslator translator(path);
    QCOMPARE(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s)))), path); // not read before
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);

    QCOMPARE(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"two"_s)))), path);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    QVERIFY(QFile::remove(path));
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
}

void tst_XlfTranslator::Translate_failedReadIsNotRepeated_data()
{
    QTest::addColumn<bool>("exists");

    QTest::newRow("missing") << false;
    QTest::newRow("malformed") << true;
}

void tst_XlfTranslator::Translate_failedReadIsNotRepeated()
{
    QFETCH(const bool, exists);
    LogGuard log;
    const QString path = exists ? Write(u"<xliff>"_s) : Path(u"texts.xlf"_s);
    const XlfTranslator translator(path);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);

    QCOMPARE(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s)))), path);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    QCOMPARE(LogGuard::Messages().size(), 1);
    QVERIFY2(LogGuard::Messages().constFirst().contains(path), qPrintable(LogGuard::Messages().constFirst()));
}

void tst_XlfTranslator::Translate_logsAFileWithoutTranslations()
{
    LogGuard log;
    const QString path = Write(u"<xliff/>"_s);
    const XlfTranslator translator(path);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    QCOMPARE(LogGuard::Messages(), QStringList(path + u" holds no translations"_s));
}

void tst_XlfTranslator::Translate_directoryAsFile()
{
    LogGuard log;
    const XlfTranslator translator(mDir->path());

    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    QCOMPARE(LogGuard::Messages().size(), 1);
    QVERIFY(LogGuard::Messages().constFirst().contains(u"XmlFiler: Failed to open file "_s + mDir->path()));
}

// Another file

void tst_XlfTranslator::SetXlfFile_beforeTheFirstTranslation()
{
    const QString one = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))), u"one.xlf"_s);
    const QString two = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"two"_s))), u"two.xlf"_s);
    XlfTranslator fromNothing;
    fromNothing.SetXlfFile(two);
    XlfTranslator fromAnother(one);
    fromAnother.SetXlfFile(two);

    QCOMPARE(fromNothing.Translate(u"Save"_s, u"main.xml"_s), u"two"_s);
    QCOMPARE(fromAnother.Translate(u"Save"_s, u"main.xml"_s), u"two"_s);
}

void tst_XlfTranslator::SetXlfFile_afterTheFirstTranslation()
{
    const QString one = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))), u"one.xlf"_s);
    const QString two = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"two"_s))), u"two.xlf"_s);
    XlfTranslator translator(one);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);

    translator.SetXlfFile(two);

    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    QCOMPARE(translator.Translate(u"Save"_s, QString()), u"Save"_s);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
}

void tst_XlfTranslator::SetXlfFile_backToTheFirstFile()
{
    const QString one = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))), u"one.xlf"_s);
    XlfTranslator translator(one);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);

    translator.SetXlfFile(u"other.xlf"_s);
    translator.SetXlfFile(one);

    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
}

void tst_XlfTranslator::SetXlfFile_sameFile_data()
{
    QTest::addColumn<bool>("translatedBefore");
    QTest::addColumn<bool>("otherCase");

    QTest::newRow("before, same text") << false << false;
    QTest::newRow("before, different case") << false << true;
    QTest::newRow("after, same text") << true << false;
    QTest::newRow("after, different case") << true << true;
}

void tst_XlfTranslator::SetXlfFile_sameFile()
{
    QFETCH(const bool, translatedBefore);
    QFETCH(const bool, otherCase);
    const QString path = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))), u"One-ä.xlf"_s);
    XlfTranslator translator(path);
    if (translatedBefore)
        QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);

    translator.SetXlfFile(otherCase ? path.toUpper() : path);

    // On a case-sensitive file system, the upper-case path does not exist.
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
}

void tst_XlfTranslator::SetXlfFile_toNothing()
{
    XlfTranslator translator(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s)))));
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    translator.SetXlfFile(QString());

    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
}

// Reading on request

void tst_XlfTranslator::ParseXlfFile_beforeTheFirstTranslation()
{
    const QString path = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))));
    XlfTranslator translator(path);
    translator.ParseXlfFile();

    // The first translation still reads the file, in addition to what was read before.
    QCOMPARE(Write(Xliff(File(u"other.xml"_s, Unit(u"Save"_s, u"two"_s)))), path);
    QCOMPARE(translator.Translate(u"Save"_s, u"other.xml"_s), u"two"_s);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);

    XlfTranslator moved(path);
    moved.ParseXlfFile();
    moved.SetXlfFile(Write(Xliff(File(u"third.xml"_s, Unit(u"Save"_s, u"three"_s))), u"third.xlf"_s));
    QCOMPARE(moved.Translate(u"Save"_s, u"third.xml"_s), u"three"_s);
    QCOMPARE(moved.Translate(u"Save"_s, u"other.xml"_s), u"Save"_s);
}

void tst_XlfTranslator::ParseXlfFile_again()
{
    const QString path = Write(Xliff(File(u"a.xml"_s, Unit(u"Save"_s, u"a1"_s) + Unit(u"Open"_s, u"a1"_s))
                                     + File(u"b.xml"_s, Unit(u"Save"_s, u"b1"_s))));
    XlfTranslator translator(path);
    QCOMPARE(translator.Translate(u"Save"_s, u"a.xml"_s), u"a1"_s);

    QCOMPARE(
        Write(Xliff(File(u"a.xml"_s, Unit(u"Save"_s, u"a2"_s)) + File(u"c.xml"_s, Unit(u"Save"_s, u"c2"_s)))),
        path);
    translator.ParseXlfFile();

    QCOMPARE(translator.Translate(u"Save"_s, u"a.xml"_s), u"a2"_s); // directly after the same context
    QCOMPARE(translator.Translate(u"Open"_s, u"a.xml"_s), u"Open"_s);
    QCOMPARE(translator.Translate(u"Save"_s, u"b.xml"_s), u"b1"_s); // unchanged
    QCOMPARE(translator.Translate(u"Save"_s, u"c.xml"_s), u"c2"_s);
    QCOMPARE(translator.Translate(u"Save"_s, QString()), u"c2"_s);
}

void tst_XlfTranslator::ParseXlfFile_failureKeepsTheTable()
{
    const QString path = Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))));
    XlfTranslator translator(path);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);

    QCOMPARE(Write(u"<xliff>"_s), path);
    translator.ParseXlfFile();
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    QVERIFY(QFile::remove(path));
    translator.ParseXlfFile();
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
}

void tst_XlfTranslator::ParseXlfFile_afterSetXlfFile()
{
    XlfTranslator translator(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))), u"one.xlf"_s));
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);

    translator.SetXlfFile(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"two"_s))), u"two.xlf"_s));
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    translator.ParseXlfFile();
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"two"_s);
}

void tst_XlfTranslator::ParseXlfFile_untouchedObject()
{
    XlfTranslator translator;
    translator.ParseXlfFile();

    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
}

// Contexts

void tst_XlfTranslator::Contexts_areIndependent()
{
    const XlfTranslator translator(
        Write(Xliff(File(u"a.xml"_s, Unit(u"Save"_s, u"A"_s)) + File(u"b.xml"_s, Unit(u"Open"_s, u"B"_s)))));

    for (int round = 0; round < 2; ++round) {
        QCOMPARE(translator.Translate(u"Save"_s, u"a.xml"_s), u"A"_s);
        QCOMPARE(translator.Translate(u"Save"_s, u"b.xml"_s), u"Save"_s);
        QCOMPARE(translator.Translate(u"Open"_s, u"a.xml"_s), u"Open"_s);
        QCOMPARE(translator.Translate(u"Open"_s, u"b.xml"_s), u"B"_s);
        QCOMPARE(translator.Translate(u"Open"_s, u"none.xml"_s), u"Open"_s);
        QCOMPARE(translator.Translate(u"Open"_s, QString()), u"B"_s);
        QCOMPARE(translator.Translate(u"Save"_s, QString()), u"Save"_s);
        QCOMPARE(translator.Translate(u"Save"_s, u"/other/A.XML"_s), u"A"_s);
    }
}

void tst_XlfTranslator::Contexts_afterReading()
{
    // The first translations are requested before and after the table exists, each time in the same context.
    const QString path = Path(u"texts.xlf"_s);
    XlfTranslator translator(path);
    QCOMPARE(translator.Translate(u"Save"_s, QString()), u"Save"_s);
    QCOMPARE(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s)))), path);
    translator.ParseXlfFile();
    QCOMPARE(translator.Translate(u"Save"_s, QString()), u"one"_s);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    translator.SetXlfFile(u"none"_s);
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    translator.ParseXlfFile();
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
}

void tst_XlfTranslator::Contexts_againstModel()
{
    // Compares the translator with a simple table, in random order.
    QRandomGenerator random(20261121);
    const QStringList names{u"a.xml"_s, u"/x/B.xml"_s, u"c"_s, u"Ä.xml"_s, u"d/"_s, QString()};
    const QStringList texts{u"Save"_s, u"Open"_s, u"Close"_s, u"Größe"_s, QString()};
    const auto pick = [&](const QStringList& from) { return from.at(int(random.bounded(from.size()))); };
    const auto nameOf = [](const QString& path) { return path.mid(path.lastIndexOf(u'/') + 1).toLower(); };

    QMap<QString, QMap<QString, QString>> model;
    const auto expected = [&](const QString& text, const QString& context) {
        QString found;
        if (nameOf(context).isEmpty()) {
            for (const QMap<QString, QString>& units : std::as_const(model))
                found = units.value(Digest(text));
        } else {
            found = model.value(nameOf(context)).value(Digest(text));
        }
        return found.isEmpty() ? text : found;
    };

    int found = 0;
    for (int round = 0; round < 60; ++round) {
        QString files;
        model.clear();
        for (int i = int(random.bounded(6)); i > 0; --i) {
            const QString name = pick(names);
            QString units;
            QMap<QString, QString> modelUnits;
            for (int j = int(random.bounded(4)); j > 0; --j) {
                const QString text = pick(texts);
                const QString target
                    = random.bounded(4) == 0 ? QString() : u"%1-%2-%3"_s.arg(i).arg(j).arg(text);
                units += Unit(text, target);
                modelUnits.insert(Digest(text), target.isEmpty() ? Digest(text) : target);
            }
            files += File(name, units);
            if (!nameOf(name).isEmpty() && !modelUnits.isEmpty())
                model.insert(nameOf(name), modelUnits);
        }
        const XlfTranslator translator(Write(Xliff(files)));
        for (int i = 0; i < 200; ++i) {
            const QString text = pick(texts);
            const QString context = random.bounded(2) == 0 ? pick(names) : pick(names).toUpper();
            const QString translation = translator.Translate(text, context);
            QCOMPARE(translation, expected(text, context));
            found += int(translation != text);
        }
    }
    QVERIFY(found > 1'000); // enough for a meaningful comparison
}

// More texts, and more contexts, than a translator caches: it looks up again what it has dropped.
void tst_XlfTranslator::Cache_manyTextsAndContexts()
{
    constexpr int kTexts = 6000;
    constexpr int kContexts = 100;
    const auto textOf = [](int i) { return u"Text %1"_s.arg(i); };
    QString units;
    for (int i = 0; i < kTexts; i += 2) // every other one is translated
        units += Unit(textOf(i), u"<%1>"_s.arg(i).toHtmlEscaped());
    const XlfTranslator translator(Write(Xliff(File(u"main.xml"_s, units))));

    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < kTexts; ++i) {
            const QString expected = i % 2 == 0 ? u"<%1>"_s.arg(i) : textOf(i);
            QCOMPARE(translator.Translate(textOf(i), u"main.xml"_s), expected);
            QCOMPARE(translator.Translate(textOf(i), u"main.xml"_s), expected);
        }
        for (int i = 0; i < kContexts; ++i) {
            QCOMPARE(translator.Translate(textOf(0), u"/%1/main.xml"_s.arg(i)), u"<0>"_s);
            QCOMPARE(translator.Translate(textOf(0), u"other%1.xml"_s.arg(i)), textOf(0));
        }
    }
    const QString longText(1000, u'x');
    QCOMPARE(translator.Translate(longText, u"main.xml"_s), longText);
    QCOMPARE(translator.Translate(longText, u"main.xml"_s), longText);
}

// A QString may refer to characters that it does not own.
void tst_XlfTranslator::Cache_afterTheTextIsGone()
{
    const XlfTranslator translator(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"Sichern"_s)))));
    QString characters = u"Save"_s;
    QString name = u"main.xml"_s;
    const auto view = [](QString& text) { return QString::fromRawData(text.constData(), text.size()); };

    QCOMPARE(translator.Translate(view(characters), view(name)), u"Sichern"_s);
    std::ranges::copy(u"Open"_s, characters.begin());
    std::ranges::copy(u"miin.xml"_s, name.begin());
    QCOMPARE(translator.Translate(u"Save"_s, u"main.xml"_s), u"Sichern"_s);
    QCOMPARE(translator.Translate(view(characters), u"main.xml"_s), u"Open"_s);
    std::ranges::copy(u"Save"_s, characters.begin());
    QCOMPARE(translator.Translate(u"Open"_s, u"main.xml"_s), u"Open"_s);
    QCOMPARE(translator.Translate(u"Save"_s, u"miin.xml"_s), u"Save"_s);
}

// An empty text without a translation is returned unchanged.
void tst_XlfTranslator::Cache_emptyText()
{
    const XlfTranslator translator(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"Sichern"_s)))));

    for (int round = 0; round < 2; ++round) {
        QVERIFY(translator.Translate(QString(), u"main.xml"_s).isNull());
        const QString empty = translator.Translate(u""_s, u"main.xml"_s);
        QVERIFY(empty.isEmpty());
        QVERIFY(!empty.isNull());
    }
}

void tst_XlfTranslator::Copies_areIndependent()
{
    auto original = std::make_unique<XlfTranslator>(
        Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"one"_s))), u"one.xlf"_s));
    QCOMPARE(original->Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    XlfTranslator copy(*original);
    XlfTranslator assigned;
    QCOMPARE(assigned.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    assigned = *original;

    // The original changes and is then destroyed: neither affects the copies.
    original->SetXlfFile(Write(Xliff(File(u"main.xml"_s, Unit(u"Save"_s, u"two"_s))), u"two.xlf"_s));
    original->ParseXlfFile();
    QCOMPARE(original->Translate(u"Save"_s, u"main.xml"_s), u"two"_s);
    QCOMPARE(copy.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    original.reset();
    QCOMPARE(copy.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    QCOMPARE(assigned.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
    copy.SetXlfFile(QString());
    QCOMPARE(copy.Translate(u"Save"_s, u"main.xml"_s), u"Save"_s);
    QCOMPARE(assigned.Translate(u"Save"_s, u"main.xml"_s), u"one"_s);
}

void tst_XlfTranslator::Filer_translatesThroughTranslator()
{
    XlfTranslator translator(Write(Xliff(File(u"Main.xml"_s, Unit(u"Save"_s, u"Sichern"_s))
                                         + File(u"zzz.xml"_s, Unit(u"Save"_s, u"Zuletzt"_s)))));
    const QByteArray document = "<Ui Title='tr(Save)' Other='Save' Missing='tr(None)'>tr(Save)</Ui>";
    QVERIFY(WriteFile(Path(u"main.xml"_s), document));

    XmlFiler filer;
    filer.Translator = &translator;
    QVERIFY(filer.LoadFromXmlFile(Path(u"main.xml"_s)));
    QCOMPARE(filer.ReadString(u"Title"_s, QString()), u"Sichern"_s);
    QCOMPARE(filer.ReadString(u"Other"_s, QString()), u"Save"_s);
    QCOMPARE(filer.ReadString(u"Missing"_s, QString()), u"None"_s);
    QCOMPARE(filer.ReadNodeText(), u"Sichern"_s);

    XmlFiler fromText; // has no file name, so the document that sorts last is used
    fromText.Translator = &translator;
    QVERIFY(fromText.LoadFromXmlString(QString::fromUtf8(document)));
    QCOMPARE(fromText.ReadString(u"Title"_s, QString()), u"Zuletzt"_s);
}

QTEST_GUILESS_MAIN(tst_XlfTranslator)
#include "tst_XlfTranslator.moc"
