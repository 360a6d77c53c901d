// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"
#include "support/TestSupport.h"

#include <QTimeZone>

#include <cmath>
#include <functional>
#include <limits>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

/// Two values of one type, and how to read and write them; results are text.
struct Kind
{
    std::function<QString(XmlFiler&)> Read; // the default is the second value
    std::function<QString(XmlFiler&, const QString&)> ReadAt;
    std::function<void(XmlFiler&)> Write; // writes the first value
    std::function<void(XmlFiler&, const QString&)> WriteAt;
    QString First;
    QString Second;
};

QString Text(const QString& value)
{
    return value;
}
QString Text(bool value)
{
    return value ? u"true"_s : u"false"_s;
}
QString Text(const QRect& value)
{
    return u"%1 %2 %3 %4"_s.arg(value.x()).arg(value.y()).arg(value.width()).arg(value.height());
}
QString Text(const QSize& value)
{
    return u"%1 %2"_s.arg(value.width()).arg(value.height());
}
QString Text(const QDateTime& value)
{
    return value.isValid() ? value.toUTC().toString(Qt::ISODateWithMs) : u"invalid"_s;
}
template <typename Number> QString Text(Number value)
{
    return QString::number(value);
}

const QString kName = u"n"_s; // clazy:exclude=non-pod-global-static

/// The four operations Read... and Write... of a type.
#define KIND(suffix, first, second)                                                                          \
    Kind                                                                                                     \
    {                                                                                                        \
        [](XmlFiler& f) { return Text(f.Read##suffix(kName, second)); },                                     \
            [](XmlFiler& f, const QString& path) { return Text(f.Read##suffix(path, kName, second)); },      \
            [](XmlFiler& f) { f.Write##suffix(kName, first); },                                              \
            [](XmlFiler& f, const QString& path) { f.Write##suffix(path, kName, first); }, Text(first),      \
            Text(second)                                                                                     \
    }

QDateTime Utc(const QString& text)
{
    return QDateTime::fromString(text + u'Z', Qt::ISODate);
}

/// Loads a document whose root has the attribute "n".
void Load(XmlFiler& filer, const QString& value)
{
    filer.Reset();
    filer.CreateRoot(u"r"_s);
    filer.GetCurrentNode().toElement().setAttribute(kName, value);
    QVERIFY(filer.CreateNode(u"Elsewhere"_s, true));
}

QString Written(XmlFiler& filer)
{
    return filer.GetCurrentNode().toElement().attribute(kName);
}

// Changes a document between two reads.
using Change = std::function<void(XmlFiler&)>;

} // namespace

Q_DECLARE_METATYPE(Kind)

class tst_XmlFilerValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ReadString_pathWithoutName_data();
    void ReadString_pathWithoutName();
    void init();

    void Forms_data();
    void Forms();
    void Forms_noElement_data();
    void Forms_noElement();
    void Forms_detachedElement_data();
    void Forms_detachedElement();

    void ReadInteger_data();
    void ReadInteger();
    void WriteInteger();
    void ReadDouble_data();
    void ReadDouble();
    void WriteDouble_data();
    void WriteDouble();
    void ReadBoolean_data();
    void ReadBoolean();
    void WriteBoolean();
    void ReadRect_data();
    void ReadRect();
    void WriteRect_data();
    void WriteRect();
    void ReadSize_data();
    void ReadSize();
    void WriteSize();
    void String_data();
    void String();
    void ReadString_translation();
    void ReadString_defaults();
    void WriteDate_data();
    void WriteDate();
    void ReadDate_data();
    void ReadDate();
    void Date_roundTrip_data();
    void Date_roundTrip();
    void OtherType();
    void Read_again_data();
    void Read_again();
};

void tst_XmlFilerValues::ReadString_pathWithoutName_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<bool>("isMistake");

    QTest::newRow("a path and a name") << u"Ui"_s << u"Language"_s << true;
    QTest::newRow("a deeper path") << u"Ui/Menu"_s << u"Text"_s << true;
    QTest::newRow("no such attribute there") << u"Ui"_s << u"English"_s << false;
    QTest::newRow("no such element") << u"Other"_s << u"Language"_s << false;
    QTest::newRow("the attribute exists") << u"Own"_s << u"Language"_s << false;
    QTest::newRow("no default") << u"Ui"_s << QString() << false;
    QTest::newRow("a blank name") << u" "_s << u"Own"_s << false;
}

void tst_XmlFilerValues::ReadString_pathWithoutName()
{
    QFETCH(const QString, first);
    QFETCH(const QString, second);
    QFETCH(const bool, isMistake);

    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(
        u"<A Own='1'><Ui Language='de'><Menu Text='x'/></Ui><Own Language='x'/></A>"_s));
    QCOMPARE(filer.ReadString(first, second), first == "Own"_L1 ? u"1"_s : second); // not logged by default
    const TestSupport::LogGuard log;
    QCOMPARE(filer.ReadString(first, second), first == "Own"_L1 ? u"1"_s : second);
    QCOMPARE(log.Messages().size(), isMistake ? 1 : 0);
    if (first.contains(u'/') || first.contains(u' '))
        return; // no name to write to
    filer.WriteString(first, second);
    QCOMPARE(log.Messages().size(), isMistake ? 2 : 0);
    QCOMPARE(filer.ReadString(first, QString()), second);
}

void tst_XmlFilerValues::init()
{
    TestSupport::FailOnAnyMessage();
}

// Both forms of all operations

void tst_XmlFilerValues::Forms_data()
{
    QTest::addColumn<Kind>("kind");

    QTest::newRow("Int") << KIND(Int, -5, 7);
    QTest::newRow("UInt") << KIND(UInt, 4000000000U, 7U);
    QTest::newRow("Long") << KIND(Long, -5000000000L, 7L);
    QTest::newRow("ULong") << KIND(ULong, 18000000000000000000UL, 7UL);
    QTest::newRow("Int64") << KIND(Int64, -5000000000LL, 7LL);
    QTest::newRow("Double") << KIND(Double, 0.5, 0.25);
    QTest::newRow("Boolean") << KIND(Boolean, true, false);
    QTest::newRow("Rect") << KIND(Rect, QRect(1, 2, 3, 4), QRect(5, 6, 7, 8));
    QTest::newRow("Size") << KIND(Size, QSize(1, 2), QSize(3, 4));
    QTest::newRow("String") << KIND(String, u"one"_s, u"two"_s);
    QTest::newRow("Date") << KIND(Date, Utc(u"2024-02-29T12:34:56"_s), Utc(u"2001-01-01T00:00:00"_s));
}

void tst_XmlFilerValues::Forms()
{
    QFETCH(const Kind, kind);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A/><A n=\"\"/></r>"_s));
    const QString before = filer.SaveAsXmlString();

    // A missing or empty value reads as the default, and reading creates nothing.
    QCOMPARE(kind.Read(filer), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"A"_s), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"A/B"_s), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"/X/Y"_s), kind.Second);
    QVERIFY(filer.MoveToNode(u"A"_s) && filer.MoveToNextSibling());
    QCOMPARE(kind.Read(filer), kind.Second);
    QCOMPARE(filer.SaveAsXmlString(), before);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);

    // The path does not matter; the cursor does not move.
    kind.WriteAt(filer, u"B\\C"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);
    QCOMPARE(kind.Read(filer), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"/A"_s), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"/r/A/B/C"_s), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"B/C"_s), kind.First);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);

    // A blank path is the cursor; a second write replaces the first.
    kind.WriteAt(filer, u" "_s);
    kind.Write(filer);
    QCOMPARE(kind.Read(filer), kind.First);
    QCOMPARE(kind.ReadAt(filer, QString()), kind.First);
    QCOMPARE(filer.GetCurrentNode().attributes().count(), 1);
    kind.WriteAt(filer, u"B/C"_s);
    QCOMPARE(filer.GetCurrentNode().childNodes().count(), 1);
    kind.WriteAt(filer, u"/N"_s);
    QCOMPARE(kind.ReadAt(filer, u"/r/N"_s), kind.First);
    QVERIFY(filer.GetCurrentNode().previousSibling().nodeName() == u"A"_s);
    QCOMPARE(filer.GetCurrentNode().parentNode().lastChild().nodeName(), u"N"_s);
}

void tst_XmlFilerValues::Forms_noElement_data()
{
    Forms_data();
}

void tst_XmlFilerValues::Forms_noElement()
{
    QFETCH(const Kind, kind);
    XmlFiler filer;
    QCOMPARE(kind.Read(filer), kind.Second);
    QCOMPARE(kind.ReadAt(filer, QString()), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"/"_s), kind.Second);
    kind.Write(filer);
    kind.WriteAt(filer, QString());
    kind.WriteAt(filer, u"/"_s);
    QVERIFY(filer.IsEmpty());
    QVERIFY(filer.GetCurrentNode().isNull());

    // Without a cursor, writing through a path creates a top-level element, and the cursor stays null.
    kind.WriteAt(filer, u"r/A"_s);
    QVERIFY(filer.GetCurrentNode().isNull());
    QCOMPARE(kind.ReadAt(filer, u"r/A"_s), kind.Second);
    QCOMPARE(kind.ReadAt(filer, u"/r/A"_s), kind.First);

    filer.MoveToRoot();
    QVERIFY(filer.MoveToParent());
    const QString before = filer.SaveAsXmlString();
    QCOMPARE(kind.Read(filer), kind.Second);
    kind.Write(filer);
    kind.WriteAt(filer, QString());
    QCOMPARE(kind.ReadAt(filer, QString()), kind.Second);
    QVERIFY(filer.GetCurrentNode().isDocument());
    QCOMPARE(filer.SaveAsXmlString(), before);
    QCOMPARE(kind.ReadAt(filer, u"r/A"_s), kind.First);
}

void tst_XmlFilerValues::Forms_detachedElement_data()
{
    Forms_data();
}

void tst_XmlFilerValues::Forms_detachedElement()
{
    QFETCH(const Kind, kind);
    XmlFiler filer;
    filer.CreateRoot(u"Old"_s);
    kind.Write(filer);
    QVERIFY(!filer.LoadFromXmlString(u"<"_s));

    QCOMPARE(kind.Read(filer), kind.First);
    kind.Write(filer);
    kind.WriteAt(filer, u"A"_s);
    QCOMPARE(kind.ReadAt(filer, u"A"_s), kind.First);
    QCOMPARE(kind.ReadAt(filer, u"/A"_s), kind.Second);
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"Old"_s);
    QVERIFY(filer.IsEmpty());
}

// Numbers

void tst_XmlFilerValues::ReadInteger_data()
{
    QTest::addColumn<QString>("text");
    // The result of reading each type; empty for the default.
    QTest::addColumn<QString>("asInt");
    QTest::addColumn<QString>("asUInt");
    QTest::addColumn<QString>("asInt64");
    QTest::addColumn<QString>("asULong");

    const auto all = [](const char* row, const QString& text, const QString& value) {
        QTest::newRow(row) << text << value << value << value << value;
    };
    const QString none;
    all("plain", u"42"_s, u"42"_s);
    all("zero", u"0"_s, u"0"_s);
    all("leading zeros are decimal", u"010"_s, u"10"_s);
    all("plus sign", u"+5"_s, u"5"_s);
    all("white space around", u" \t42\n"_s, u"42"_s);
    all("empty", u""_s, none);
    all("blank", u" "_s, none);
    all("letters after", u"12abc"_s, none);
    all("letters before", u"abc12"_s, none);
    all("two numbers", u"1 2"_s, none);
    all("hexadecimal", u"0x10"_s, none);
    all("hexadecimal digits", u"ff"_s, none);
    all("exponent", u"1e3"_s, none);
    all("fraction", u"1.0"_s, none);
    all("comma", u"1,000"_s, none);
    all("sign alone", u"-"_s, none);
    all("two signs", u"--1"_s, none);
    all("word", u"True"_s, none);
    all("full-width digits", u"１２"_s, none);
    QTest::newRow("minus one") << u"-1"_s << u"-1"_s << none << u"-1"_s << none;
    QTest::newRow("largest int") << u"2147483647"_s << u"2147483647"_s << u"2147483647"_s << u"2147483647"_s
                                 << u"2147483647"_s;
    QTest::newRow("above int") << u"2147483648"_s << none << u"2147483648"_s << u"2147483648"_s
                               << u"2147483648"_s;
    QTest::newRow("smallest int") << u"-2147483648"_s << u"-2147483648"_s << none << u"-2147483648"_s << none;
    QTest::newRow("below int") << u"-2147483649"_s << none << none << u"-2147483649"_s << none;
    QTest::newRow("largest unsigned int")
        << u"4294967295"_s << none << u"4294967295"_s << u"4294967295"_s << u"4294967295"_s;
    QTest::newRow("above unsigned int")
        << u"4294967296"_s << none << none << u"4294967296"_s << u"4294967296"_s;
    QTest::newRow("largest 64-bit number")
        << u"9223372036854775807"_s << none << none << u"9223372036854775807"_s << u"9223372036854775807"_s;
    QTest::newRow("above 64 bits") << u"9223372036854775808"_s << none << none << none
                                   << u"9223372036854775808"_s;
    QTest::newRow("smallest 64-bit number")
        << u"-9223372036854775808"_s << none << none << u"-9223372036854775808"_s << none;
    QTest::newRow("below 64 bits") << u"-9223372036854775809"_s << none << none << none << none;
    QTest::newRow("largest unsigned 64-bit number")
        << u"18446744073709551615"_s << none << none << none << u"18446744073709551615"_s;
    QTest::newRow("above unsigned 64 bits") << u"18446744073709551616"_s << none << none << none << none;
}

void tst_XmlFilerValues::ReadInteger()
{
    QFETCH(const QString, text);
    QFETCH(const QString, asInt);
    QFETCH(const QString, asUInt);
    QFETCH(const QString, asInt64);
    QFETCH(const QString, asULong);
    XmlFiler filer;
    Load(filer, text);

    const auto orDefault = [](const QString& expected) { return expected.isEmpty() ? u"77"_s : expected; };
    QCOMPARE(QString::number(filer.ReadInt(u"/"_s, kName, 77)), orDefault(asInt));
    QCOMPARE(QString::number(filer.ReadUInt(u"/"_s, kName, 77)), orDefault(asUInt));
    QCOMPARE(QString::number(filer.ReadLong(u"/"_s, kName, 77)), orDefault(asInt64));
    QCOMPARE(QString::number(filer.ReadInt64(u"/"_s, kName, 77)), orDefault(asInt64));
    QCOMPARE(QString::number(filer.ReadULong(u"/"_s, kName, 77)), orDefault(asULong));
    filer.MoveToRoot();
    QCOMPARE(QString::number(filer.ReadInt(kName, 77)), orDefault(asInt));
    QCOMPARE(QString::number(filer.ReadUInt(kName, 77)), orDefault(asUInt));
    QCOMPARE(QString::number(filer.ReadLong(kName, 77)), orDefault(asInt64));
    QCOMPARE(QString::number(filer.ReadInt64(kName, 77)), orDefault(asInt64));
    QCOMPARE(QString::number(filer.ReadULong(kName, 77)), orDefault(asULong));
}

void tst_XmlFilerValues::WriteInteger()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteInt(kName, std::numeric_limits<int>::min());
    QCOMPARE(Written(filer), u"-2147483648"_s);
    filer.WriteUInt(kName, std::numeric_limits<unsigned int>::max());
    QCOMPARE(Written(filer), u"4294967295"_s);
    filer.WriteLong(kName, std::numeric_limits<long>::min());
    QCOMPARE(Written(filer), u"-9223372036854775808"_s);
    filer.WriteULong(kName, std::numeric_limits<unsigned long>::max());
    QCOMPARE(Written(filer), u"18446744073709551615"_s);
    filer.WriteInt64(kName, std::numeric_limits<long long>::max());
    QCOMPARE(Written(filer), u"9223372036854775807"_s);

    // The application's locale does not affect files.
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German));
    filer.WriteInt(kName, 1234567);
    const QString text = Written(filer);
    filer.WriteDouble(kName, 1234567.5);
    const QString number = Written(filer);
    const double back = filer.ReadDouble(kName, 0);
    QLocale::setDefault(before);
    QCOMPARE(text, u"1234567"_s);
    QCOMPARE(number, u"1234567.5"_s);
    QCOMPARE(back, 1234567.5);
}

void tst_XmlFilerValues::ReadDouble_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("expected");

    const double none = 77;
    QTest::newRow("plain") << u"1.5"_s << 1.5;
    QTest::newRow("whole") << u"-3"_s << -3.0;
    QTest::newRow("exponent") << u"1e3"_s << 1000.0;
    QTest::newRow("upper-case exponent") << u"1E-3"_s << 0.001;
    QTest::newRow("no digit before the point") << u".5"_s << 0.5;
    QTest::newRow("plus sign") << u"+5"_s << 5.0;
    QTest::newRow("white space around") << u" 1.5\n"_s << 1.5;
    QTest::newRow("infinite") << u"inf"_s << std::numeric_limits<double>::infinity();
    QTest::newRow("minus infinite") << u"-inf"_s << -std::numeric_limits<double>::infinity();
    QTest::newRow("too large") << u"1e400"_s << none;
    QTest::newRow("empty") << u""_s << none;
    QTest::newRow("blank") << u" "_s << none;
    QTest::newRow("decimal comma") << u"1,5"_s << none;
    QTest::newRow("letters after") << u"1.5x"_s << none;
    QTest::newRow("hexadecimal") << u"0x10"_s << none;
    QTest::newRow("word") << u"one"_s << none;
}

void tst_XmlFilerValues::ReadDouble()
{
    QFETCH(const QString, text);
    QFETCH(const double, expected);
    XmlFiler filer;
    Load(filer, text);

    QCOMPARE(filer.ReadDouble(u"/"_s, kName, 77), expected);
    filer.MoveToRoot();
    QCOMPARE(filer.ReadDouble(kName, 77), expected);
    filer.WriteString(kName, u"nan"_s);
    QVERIFY(std::isnan(filer.ReadDouble(kName, 77)));
}

void tst_XmlFilerValues::WriteDouble_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("zero") << 0.0 << u"0"_s;
    QTest::newRow("whole") << 1.0 << u"1"_s;
    QTest::newRow("a tenth") << 0.1 << u"0.10000000000000001"_s;
    QTest::newRow("a third") << 1.0 / 3 << u"0.33333333333333331"_s;
    QTest::newRow("seventeen digits") << 12345678901234567.0 << u"12345678901234568"_s;
    QTest::newRow("exponent") << 1e300 << u"1.0000000000000001e+300"_s;
    QTest::newRow("largest") << std::numeric_limits<double>::max() << u"1.7976931348623157e+308"_s;
    QTest::newRow("smallest normal") << std::numeric_limits<double>::min() << u"2.2250738585072014e-308"_s;
    QTest::newRow("negative") << -2.5 << u"-2.5"_s;
}

void tst_XmlFilerValues::WriteDouble()
{
    QFETCH(const double, value);
    QFETCH(const QString, expected);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);

    filer.WriteDouble(kName, value);

    QCOMPARE(Written(filer), expected);
    QVERIFY(std::equal_to<double>()(filer.ReadDouble(kName, 77), value));

    filer.WriteDouble(u"A"_s, kName, value);
    QVERIFY(filer.MoveToNode(u"A"_s));
    QCOMPARE(Written(filer), expected);
    QVERIFY(std::equal_to<double>()(filer.ReadDouble(u"/A"_s, kName, 77), value));
}

// Flags, rectangles, sizes

void tst_XmlFilerValues::ReadBoolean_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected"); // -1: the default

    QTest::newRow("as written, true") << u"True"_s << 1;
    QTest::newRow("as written, false") << u"False"_s << 0;
    QTest::newRow("lower-case true") << u"true"_s << 1;
    QTest::newRow("upper-case true") << u"TRUE"_s << 1;
    QTest::newRow("mixed-case false") << u"fALSE"_s << 0;
    QTest::newRow("one") << u"1"_s << 1;
    QTest::newRow("two") << u"2"_s << 1;
    QTest::newRow("seven") << u"7"_s << 1;
    QTest::newRow("zero") << u"0"_s << 0;
    QTest::newRow("zeros") << u"000"_s << 0;
    QTest::newRow("largest unsigned") << u"4294967295"_s << 1;
    QTest::newRow("above unsigned") << u"4294967296"_s << -1;
    QTest::newRow("minus one") << u"-1"_s << -1;
    QTest::newRow("yes") << u"yes"_s << -1;
    QTest::newRow("empty") << u""_s << -1;
    QTest::newRow("blank before true") << u" true"_s << -1;
    QTest::newRow("blank after false") << u"false "_s << -1;
    QTest::newRow("part of the word") << u"t"_s << -1;
    QTest::newRow("fraction") << u"1.0"_s << -1;
    QTest::newRow("hexadecimal") << u"0x1"_s << -1;
}

void tst_XmlFilerValues::ReadBoolean()
{
    QFETCH(const QString, text);
    QFETCH(const int, expected);

    for (const bool defaultValue : {false, true}) {
        XmlFiler filer;
        Load(filer, text);
        const bool wanted = expected < 0 ? defaultValue : expected == 1;
        QCOMPARE(filer.ReadBoolean(u"/"_s, kName, defaultValue), wanted);
        filer.MoveToRoot();
        QCOMPARE(filer.ReadBoolean(kName, defaultValue), wanted);
    }
}

void tst_XmlFilerValues::WriteBoolean()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteBoolean(kName, true);
    QCOMPARE(Written(filer), u"True"_s);
    filer.WriteBoolean(QString(), kName, false);
    QCOMPARE(Written(filer), u"False"_s);
    filer.WriteBoolean(QString(), kName, true);
    QCOMPARE(Written(filer), u"True"_s);
    filer.WriteBoolean(kName, false);
    QCOMPARE(Written(filer), u"False"_s);
}

void tst_XmlFilerValues::ReadRect_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QRect>("expected");

    const QRect none(7, 7, 7, 7);
    QTest::newRow("plain") << u"10,20,30,40"_s << QRect(10, 20, 30, 40);
    QTest::newRow("negative") << u"-1,-2,-3,-4"_s << QRect(-1, -2, -3, -4);
    QTest::newRow("blanks around the parts") << u" 1 , 2,3 ,4 "_s << QRect(1, 2, 3, 4);
    QTest::newRow("first part not a number") << u"a,2,3,4"_s << QRect(0, 2, 3, 4);
    QTest::newRow("last part not a number") << u"1,2,3,4.5"_s << QRect(1, 2, 3, 0);
    QTest::newRow("parts empty") << u",,,"_s << QRect(0, 0, 0, 0);
    QTest::newRow("part too large") << u"1,99999999999,3,4"_s << QRect(1, 0, 3, 4);
    QTest::newRow("right edge beyond int")
        << u"2147483647,0,10,5"_s << QRect(QPoint(2147483647, 0), QPoint(-2147483640, 4));
    QTest::newRow("bottom edge below int")
        << u"0,-2147483648,5,-5"_s << QRect(QPoint(0, -2147483647 - 1), QPoint(4, 2147483642));
    QTest::newRow("three parts") << u"1,2,3"_s << none;
    QTest::newRow("five parts") << u"1,2,3,4,5"_s << none;
    QTest::newRow("comma at the end") << u"1,2,3,4,"_s << none;
    QTest::newRow("another separator") << u"1;2;3;4"_s << none;
    QTest::newRow("empty") << u""_s << none;
}

void tst_XmlFilerValues::ReadRect()
{
    QFETCH(const QString, text);
    QFETCH(const QRect, expected);
    XmlFiler filer;
    Load(filer, text);

    QCOMPARE(filer.ReadRect(u"/"_s, kName, QRect(7, 7, 7, 7)), expected);
    filer.MoveToRoot();
    QCOMPARE(filer.ReadRect(kName, QRect(7, 7, 7, 7)), expected);
}

void tst_XmlFilerValues::WriteRect_data()
{
    QTest::addColumn<QRect>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain") << QRect(10, 20, 30, 40) << u"10,20,30,40"_s;
    QTest::newRow("by its corners") << QRect(QPoint(1, 2), QPoint(10, 20)) << u"1,2,10,19"_s;
    QTest::newRow("null") << QRect() << u"0,0,0,0"_s;
    QTest::newRow("negative") << QRect(-1, -2, -3, -4) << u"-1,-2,-3,-4"_s;
}

void tst_XmlFilerValues::WriteRect()
{
    QFETCH(const QRect, value);
    QFETCH(const QString, expected);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteRect(kName, value);
    QCOMPARE(Written(filer), expected);
    QCOMPARE(filer.ReadRect(kName, QRect(7, 7, 7, 7)), value);
}

void tst_XmlFilerValues::ReadSize_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QSize>("expected");

    const QSize none(7, 7);
    QTest::newRow("plain") << u"10,20"_s << QSize(10, 20);
    QTest::newRow("negative") << u"-1,-2"_s << QSize(-1, -2);
    QTest::newRow("part not a number") << u"a,2"_s << QSize(0, 2);
    QTest::newRow("parts empty") << u","_s << QSize(0, 0);
    QTest::newRow("one part") << u"1"_s << none;
    QTest::newRow("three parts") << u"1,2,3"_s << none;
    QTest::newRow("empty") << u""_s << none;
}

void tst_XmlFilerValues::ReadSize()
{
    QFETCH(const QString, text);
    QFETCH(const QSize, expected);
    XmlFiler filer;
    Load(filer, text);

    QCOMPARE(filer.ReadSize(u"/"_s, kName, QSize(7, 7)), expected);
    filer.MoveToRoot();
    QCOMPARE(filer.ReadSize(kName, QSize(7, 7)), expected);
}

void tst_XmlFilerValues::WriteSize()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteSize(kName, QSize(10, 20));
    QCOMPARE(Written(filer), u"10,20"_s);
    filer.WriteSize(kName, QSize());
    QCOMPARE(Written(filer), u"-1,-1"_s);
}

// Texts

void tst_XmlFilerValues::String_data()
{
    QTest::addColumn<QString>("value");

    QTest::newRow("plain") << u"text"_s;
    QTest::newRow("markup characters") << u"<a href=\"x\">'&amp;'</a>"_s;
    QTest::newRow("white space") << u" a\tb\nc\rd "_s;
    QTest::newRow("beyond Latin-1") << u"Größe 日本語 😀"_s;
    QTest::newRow("variable") << u"$(Name)"_s;
    QTest::newRow("almost a mark") << u"tr(x"_s;
}

void tst_XmlFilerValues::String()
{
    QFETCH(const QString, value);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteString(kName, value);
    filer.WriteString(u"A"_s, kName, value);
    QCOMPARE(Written(filer), value);

    XmlFiler again;
    QVERIFY(again.LoadFromXmlString(filer.SaveAsXmlString()));
    QCOMPARE(again.ReadString(kName, u"default"_s), value);
    QCOMPARE(again.ReadString(u"A"_s, kName, u"default"_s), value);
}

void tst_XmlFilerValues::ReadString_translation()
{
    XmlFiler filer;
    Load(filer, u"tr(tr(Save))"_s);

    // A value read by path has its mark stripped twice, one read by name once.
    QCOMPARE(filer.ReadString(u"/"_s, kName, QString()), u"Save"_s);
    filer.MoveToRoot();
    QCOMPARE(filer.ReadString(kName, QString()), u"tr(Save)"_s);

    filer.TranslateEnabled = false;
    QCOMPARE(filer.ReadString(kName, QString()), u"tr(tr(Save))"_s);
    QCOMPARE(filer.ReadString(u"/"_s, kName, u"x"_s), u"tr(tr(Save))"_s);
}

void tst_XmlFilerValues::ReadString_defaults()
{
    XmlFiler filer;
    Load(filer, QString());
    filer.MoveToRoot();

    // Reading by name returns the default unchanged. Reading by path translates it, whether the attribute or
    // the element is missing.
    QCOMPARE(filer.ReadString(kName, u"tr(X)"_s), u"tr(X)"_s);
    QCOMPARE(filer.ReadString(u"none"_s, u"tr(X)"_s), u"tr(X)"_s);
    QCOMPARE(filer.ReadString(u"/"_s, kName, u"tr(X)"_s), u"X"_s);
    QCOMPARE(filer.ReadString(u"/None"_s, kName, u"tr(X)"_s), u"X"_s);
    QCOMPARE(filer.ReadString(u"/None"_s, kName, u"tr(tr(X))"_s), u"tr(X)"_s);
    filer.WriteString(kName, QString());
    QVERIFY(filer.GetCurrentNode().toElement().hasAttribute(kName));
    QCOMPARE(filer.ReadString(kName, u"default"_s), u"default"_s);
    filer.TranslateEnabled = false;
    QCOMPARE(filer.ReadString(u"/"_s, kName, u"tr(X)"_s), u"tr(X)"_s);
}

// Dates

void tst_XmlFilerValues::WriteDate_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QDateTime>("value");
    QTest::addColumn<QString>("expected");

    const QDate day(2024, 7, 1);
    const QTime noon(12, 0, 5, 250);
    const QTimeZone kolkata("Asia/Kolkata");
    // A null date stands for a local time in the time zone of the row.
    QTest::newRow("local in UTC") << QByteArray("UTC") << QDateTime() << u"2024-07-01T12:00:05Z"_s;
    QTest::newRow("local in Kolkata")
        << QByteArray("Asia/Kolkata") << QDateTime() << u"2024-07-01T06:30:05Z"_s;
    QTest::newRow("local in daylight saving time")
        << QByteArray("America/New_York") << QDateTime() << u"2024-07-01T16:00:05Z"_s;
    for (const char* zone : {"UTC", "Asia/Kolkata", "America/New_York"}) {
        QTest::addRow("UTC, in %s", zone)
            << QByteArray(zone) << QDateTime(day, noon, Qt::UTC) << u"2024-07-01T12:00:05Z"_s;
        QTest::addRow("offset, in %s", zone)
            << QByteArray(zone) << QDateTime(day, noon, Qt::OffsetFromUTC, 7200)
            << u"2024-07-01T12:00:05+02:00"_s;
        QTest::addRow("time zone, in %s", zone)
            << QByteArray(zone) << QDateTime(day, noon, kolkata) << u"2024-07-01T12:00:05+05:30"_s;
    }
}

void tst_XmlFilerValues::WriteDate()
{
    QFETCH(const QByteArray, zone);
    QFETCH(const QDateTime, value);
    QFETCH(const QString, expected);
    const TestSupport::TimeZoneGuard guard(zone);
    const QDateTime local(QDate(2024, 7, 1), QTime(12, 0, 5, 250));
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);

    filer.WriteDate(kName, value.isNull() ? local : value);

    QCOMPARE(Written(filer), expected);
    filer.WriteDate(kName, QDateTime());
    QCOMPARE(Written(filer), QString());
}

void tst_XmlFilerValues::ReadDate_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected"); // in UTC

    QTest::newRow("UTC") << u"2024-07-01T12:00:05Z"_s << u"2024-07-01T12:00:05.000Z"_s;
    QTest::newRow("no zone counts as UTC") << u"2024-07-01T12:00:05"_s << u"2024-07-01T12:00:05.000Z"_s;
    QTest::newRow("offset counts as UTC") << u"2024-07-01T12:00:05+02:00"_s << u"2024-07-01T12:00:05.000Z"_s;
    QTest::newRow("negative offset") << u"2024-07-01T12:00:05-08:00"_s << u"2024-07-01T12:00:05.000Z"_s;
    QTest::newRow("day alone") << u"2024-07-01"_s << u"2024-07-01T00:00:00.000Z"_s;
    QTest::newRow("no seconds") << u"2024-07-01T12:00"_s << u"2024-07-01T12:00:00.000Z"_s;
    QTest::newRow("milliseconds") << u"2024-07-01T12:00:05.250Z"_s << u"2024-07-01T12:00:05.250Z"_s;
    QTest::newRow("winter") << u"2024-01-01T00:00:00Z"_s << u"2024-01-01T00:00:00.000Z"_s;
    QTest::newRow("before 1970") << u"1901-02-03T04:05:06Z"_s << u"1901-02-03T04:05:06.000Z"_s;
    // Each of these hours is skipped by daylight saving time in one of the time zones, but exists in UTC.
    QTest::newRow("skipped in New York") << u"2020-03-08T02:30:00"_s << u"2020-03-08T02:30:00.000Z"_s;
    QTest::newRow("skipped in Berlin, no seconds") << u"2024-03-31t02:30"_s << u"2024-03-31T02:30:00.000Z"_s;
    QTest::newRow("skipped in Berlin, milliseconds")
        << u"2024-03-31 02:59:59.999"_s << u"2024-03-31T02:59:59.999Z"_s;
    QTest::newRow("skipped in New York, UTC") << u"2020-03-08T02:30:00Z"_s << u"2020-03-08T02:30:00.000Z"_s;
    QTest::newRow("skipped in New York, offset")
        << u"2020-03-08T02:30:00-05:00"_s << u"2020-03-08T02:30:00.000Z"_s;
    QTest::newRow("occurs twice in New York") << u"2020-11-01T01:30:00"_s << u"2020-11-01T01:30:00.000Z"_s;
    QTest::newRow("end of a day") << u"2024-07-01T24:00:00"_s << u"2024-07-02T00:00:00.000Z"_s;
    QTest::newRow("end of a day, UTC") << u"2024-07-01T24:00Z"_s << u"2024-07-02T00:00:00.000Z"_s;
    QTest::newRow("no time after the T") << u"2024-07-01T"_s << u"invalid"_s;
    QTest::newRow("sign without an offset") << u"2024-07-01T10:-1"_s << u"invalid"_s;
    QTest::newRow("word") << u"yesterday"_s << u"invalid"_s;
    QTest::newRow("blank") << u" "_s << u"invalid"_s;
    QTest::newRow("no such day") << u"2023-02-29T12:00:00Z"_s << u"invalid"_s;
    QTest::newRow("different form") << u"01.07.2024 12:00"_s << u"invalid"_s;
}

void tst_XmlFilerValues::ReadDate()
{
    QFETCH(const QString, text);
    QFETCH(const QString, expected);

    for (const char* zone : {"UTC", "Asia/Kolkata", "America/New_York", "Europe/Berlin"}) {
        const TestSupport::TimeZoneGuard guard(zone);
        XmlFiler filer;
        Load(filer, text);
        const QDateTime other = Utc(u"2001-01-01T00:00:00"_s);
        const QDateTime value = filer.ReadDate(u"/"_s, kName, other);
        QCOMPARE(Text(value), expected);
        QCOMPARE(value.timeSpec(), value.isValid() ? Qt::LocalTime : value.timeSpec());
        filer.MoveToRoot();
        QCOMPARE(filer.ReadDate(kName, other), value);
    }
}

void tst_XmlFilerValues::Date_roundTrip_data()
{
    QTest::addColumn<QByteArray>("zone");

    for (const char* zone : {"UTC", "Asia/Kolkata", "America/New_York", "Europe/Berlin", "Pacific/Auckland"})
        QTest::newRow(zone) << QByteArray(zone);
}

void tst_XmlFilerValues::Date_roundTrip()
{
    QFETCH(const QByteArray, zone);
    const TestSupport::TimeZoneGuard guard(zone);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);

    // Every seventh hour of a year, including both clock changes.
    for (qint64 seconds = 1704067200; seconds < 1704067200 + 366 * 86400; seconds += 7 * 3600) {
        const QDateTime local = QDateTime::fromSecsSinceEpoch(seconds);
        filer.WriteDate(kName, local);
        QVERIFY(Written(filer).endsWith(u'Z'));
        const QDateTime back = filer.ReadDate(kName, QDateTime());
        QCOMPARE(back.toSecsSinceEpoch(), seconds);
        QCOMPARE(back.timeSpec(), Qt::LocalTime);
        QCOMPARE(back, local);
    }
}

void tst_XmlFilerValues::OtherType()
{
    // Only the text is stored.
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteInt(kName, 5);
    QCOMPARE(filer.ReadString(kName, QString()), u"5"_s);
    QCOMPARE(filer.ReadDouble(kName, 0), 5.0);
    QVERIFY(filer.ReadBoolean(kName, false));
    filer.WriteBoolean(kName, true);
    QCOMPARE(filer.ReadInt(kName, 77), 77);
    filer.WriteRect(kName, QRect(1, 2, 3, 4));
    QCOMPARE(filer.ReadSize(kName, QSize(7, 7)), QSize(7, 7));
    // Names are case-sensitive.
    QCOMPARE(filer.ReadString(u"N"_s, u"default"_s), u"default"_s);
}

// A value that was read before has to follow every change of the document.
void tst_XmlFilerValues::Read_again_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("expectedAtCursor");

    const auto row = [](const char* name, const char* expected, const Change& change,
                        const char* expectedAtCursor = nullptr) {
        QTest::newRow(name) << change << QString::fromLatin1(expected)
                            << QString::fromLatin1(expectedAtCursor == nullptr ? expected : expectedAtCursor);
    };
    row("nothing changed", "1", [](XmlFiler&) {});
    row("written by path", "2", [](XmlFiler& filer) { filer.WriteString(u"/A"_s, u"n"_s, u"2"_s); });
    row("written as another type", "2.5", [](XmlFiler& filer) { filer.WriteDouble(u"A"_s, u"n"_s, 2.5); });
    row("written at the cursor", "2", [](XmlFiler& filer) {
        QVERIFY(filer.MoveToNode(u"A"_s));
        filer.WriteInt(u"n"_s, 2);
        filer.MoveToRoot();
    });
    row("written as an empty text", "none",
        [](XmlFiler& filer) { filer.WriteString(u"/A"_s, u"n"_s, QString()); });
    row("variable replaced", "2", [](XmlFiler& filer) {
        filer.WriteString(u"/A"_s, u"n"_s, u"$(two)"_s);
        QCOMPARE(filer.ReadString(u"/A"_s, u"n"_s, QString()), u"$(two)"_s);
        QCOMPARE(filer.ResolveVariables({{u"two"_s, u"2"_s}}), 1);
    });
    row("element removed", "none", [](XmlFiler& filer) { filer.DeleteNode(u"/A"_s); });
    row("element replaced", "2", [](XmlFiler& filer) {
        filer.DeleteNode(u"/A"_s);
        filer.WriteString(u"/A"_s, u"n"_s, u"2"_s);
    });
    row("element with the same name appended", "1", [](XmlFiler& filer) {
        QVERIFY(filer.CreateNode(u"/A"_s, false)); // appends it
        filer.WriteInt(u"n"_s, 2);
        filer.MoveToRoot();
    });
    row("document replaced", "2",
        [](XmlFiler& filer) { QVERIFY(filer.LoadFromXmlString(u"<r><A n=\"2\"/></r>"_s)); });
    row("document reset", "none", [](XmlFiler& filer) { filer.Reset(); });
    row(
        "cursor moved", "1", [](XmlFiler& filer) { QVERIFY(filer.MoveToNode(u"A"_s)); }, "3");
    row("attribute removed through a handle", "none",
        [](XmlFiler& filer) { filer.GetCurrentNode().firstChild().toElement().removeAttribute(u"n"_s); });
    row("attribute replaced through a handle", "2", [](XmlFiler& filer) {
        QDomElement element = filer.GetCurrentNode().firstChild().toElement();
        QDomAttr attribute = element.ownerDocument().createAttribute(u"n"_s);
        attribute.setValue(u"2"_s);
        element.setAttributeNode(attribute);
    });
    row("many other attributes read", "1", [](XmlFiler& filer) {
        for (int i = 0; i < 20'000; ++i) {
            const QString name = u'm' + QString::number(i);
            filer.WriteInt(u"/A"_s, name, i);
            QCOMPARE(filer.ReadInt(u"/A"_s, name, -1), i);
            QCOMPARE(filer.ReadInt(u"/A"_s, name, -1), i);
        }
    });
}

void tst_XmlFilerValues::Read_again()
{
    QFETCH(const Change, change);
    QFETCH(const QString, expected);
    QFETCH(const QString, expectedAtCursor);

    constexpr int kManyReads = 40; // so many that the value is cached
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A n=\"1\"><A n=\"3\"/></A></r>"_s));
    const auto read = [&](const QString& path) { return filer.ReadString(path, u"n"_s, u"none"_s); };
    for (int i = 0; i < kManyReads; ++i) {
        QCOMPARE(read(u"/A"_s), u"1"_s);
        QCOMPARE(read(u"A"_s), u"1"_s);
    }
    change(filer);
    for (int i = 0; i < kManyReads; ++i) {
        QCOMPARE(read(u"/A"_s), expected);
        QCOMPARE(read(u"A"_s), expectedAtCursor);
    }
}

QTEST_GUILESS_MAIN(tst_XmlFilerValues)
#include "tst_XmlFilerValues.moc"
