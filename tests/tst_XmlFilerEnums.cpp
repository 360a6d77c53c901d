// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"
#include "support/TestSupport.h"

#include <array>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

class tst_XmlFilerEnums : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void Forwarders();
    void Forwarders_noTable();
    void ReadEnum_data();
    void ReadEnum();
    void ReadEnum_noTable();
    void ReadEnum_negativeValue();
    void WriteEnum_data();
    void WriteEnum();
    void WriteEnum_noName();
    void WriteEnum_noElement();

private:
    [[nodiscard]] int Count() const { return int(mTable.size()); }

    std::array<EnumValueName, 5> mTable;
};

void tst_XmlFilerEnums::init()
{
    TestSupport::FailOnAnyMessage();
    mTable = {{{1, u"Red"_s}, {2, u"Green"_s}, {4, u"Blue"_s}, {0, u"None"_s}, {-5, u"Minus"_s}}};
}

void tst_XmlFilerEnums::Forwarders()
{
    QCOMPARE(XmlFiler::EnumValueToName(5, mTable.data(), 3, true), u"Red,Blue"_s);
    QCOMPARE(XmlFiler::EnumValueToName(3, mTable.data(), 3, false), QString());
    QCOMPARE(XmlFiler::EnumValueToName(4, mTable.data(), 3, false), u"Blue"_s);
    QCOMPARE(XmlFiler::EnumValueToName(4, mTable.data(), 2, false), QString());
    QCOMPARE(XmlFiler::EnumNameToValue(u" red , BLUE ,"_s, mTable.data(), 3, true), 5);
    QCOMPARE(XmlFiler::EnumNameToValue(u"Purple"_s, mTable.data(), 3, true), -1);
    QCOMPARE(XmlFiler::EnumNameToValue(u"green"_s, mTable.data(), 3, false), 2);
    QCOMPARE(XmlFiler::EnumNameToValue(u" green"_s, mTable.data(), 3, false), -1);
    QCOMPARE(XmlFiler::GetEnumNames(mTable.data(), 3), QStringList({u"Red"_s, u"Green"_s, u"Blue"_s}));
    QCOMPARE(XmlFiler::GetEnumNames(mTable.data(), 0), QStringList());

    mTable[0].Name = u""_s; // an empty name counts, but a comma is only added after text
    QCOMPARE(XmlFiler::EnumValueToName(7, mTable.data(), 3, true), u"Green,Blue"_s);
    mTable[1].Name = u""_s;
    mTable[0].Name = u"Red"_s;
    QCOMPARE(XmlFiler::EnumValueToName(7, mTable.data(), 3, true), u"Red,,Blue"_s);
}

void tst_XmlFilerEnums::Forwarders_noTable()
{
    for (const bool flags : {false, true}) {
        QCOMPARE(XmlFiler::EnumValueToName(1, nullptr, 3, flags), QString());
        QCOMPARE(XmlFiler::EnumNameToValue(u"Red"_s, nullptr, 3, flags), -1);
    }
    QCOMPARE(XmlFiler::GetEnumNames(nullptr, 3), QStringList());
}

void tst_XmlFilerEnums::ReadEnum_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("single");
    QTest::addColumn<int>("flags");

    QTest::newRow("one name") << u"Green"_s << 2 << 2;
    QTest::newRow("different case") << u"gREEN"_s << 2 << 2;
    QTest::newRow("value 0") << u"None"_s << 0 << 0;
    QTest::newRow("two names") << u"Red,Blue"_s << 77 << 5;
    QTest::newRow("blanks and empty parts") << u" red , BLUE ,"_s << 77 << 5;
    QTest::newRow("blank before a name") << u" Red"_s << 77 << 1;
    QTest::newRow("unknown part") << u"Red,Purple"_s << 77 << 1;
    QTest::newRow("unknown name") << u"Purple"_s << 77 << 77;
    QTest::newRow("number") << u"2"_s << 77 << 77;
    QTest::newRow("empty") << u""_s << 77 << 77;
    QTest::newRow("translation mark") << u"tr(Blue)"_s << 4 << 4;
    QTest::newRow("double mark is unwrapped once") << u"tr(tr(Blue))"_s << 77 << 77;
    QTest::newRow("negative value") << u"Minus"_s << 77 << 77;
}

void tst_XmlFilerEnums::ReadEnum()
{
    QFETCH(const QString, text);
    QFETCH(const int, single);
    QFETCH(const int, flags);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteString(u"A"_s, u"n"_s, text);
    EnumValueName* const table = mTable.data();
    const QString before = filer.SaveAsXmlString();

    QCOMPARE(filer.ReadEnum(u"A"_s, u"n"_s, 77, table, Count()), single);
    QCOMPARE(filer.ReadEnum(u"A"_s, u"n"_s, 77, table, Count(), false), single);
    QCOMPARE(filer.ReadEnum(u"A"_s, u"n"_s, 77, table, Count(), true), flags);
    QCOMPARE(filer.ReadEnum(u"None"_s, u"n"_s, 77, table, Count(), true), 77);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, table, Count(), true), 77);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QVERIFY(filer.MoveToNode(u"A"_s));
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, table, Count()), single);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, table, Count(), false), single);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, table, Count(), true), flags);
    QCOMPARE(filer.SaveAsXmlString(), before);
}

void tst_XmlFilerEnums::ReadEnum_noTable()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteString(u"n"_s, u"Red"_s);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, nullptr, 3), 77);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, nullptr, 3, true), 77);
    QCOMPARE(filer.ReadEnum(u"/"_s, u"n"_s, 77, nullptr, 3), 77);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, mTable.data(), 0), 77);
}

void tst_XmlFilerEnums::ReadEnum_negativeValue()
{
    // A negative value is written by name, but never read by name.
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteEnum(u"n"_s, -5, mTable.data(), Count());
    QCOMPARE(filer.ReadString(u"n"_s, QString()), u"Minus"_s);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, mTable.data(), Count()), 77);
    QCOMPARE(filer.ReadEnum(u"n"_s, -3, mTable.data(), Count()), -3);
}

void tst_XmlFilerEnums::WriteEnum_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("flags");
    QTest::addColumn<QString>("expected");

    QTest::newRow("single") << 2 << false << u"Green"_s;
    QTest::newRow("single 0") << 0 << false << u"None"_s;
    QTest::newRow("one flag") << 2 << true << u"Green"_s;
    QTest::newRow("two flags, in the table's order") << 5 << true << u"Red,Blue"_s;
    QTest::newRow("bits without a name") << 1 + 8 << true << u"Red"_s;
}

void tst_XmlFilerEnums::WriteEnum()
{
    QFETCH(const int, value);
    QFETCH(const bool, flags);
    QFETCH(const QString, expected);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    const int count = flags ? 3 : Count();

    filer.WriteEnum(u"n"_s, value, mTable.data(), count, flags);
    QCOMPARE(filer.ReadString(u"n"_s, QString()), expected);
    filer.WriteEnum(u"A/B"_s, u"n"_s, value, mTable.data(), count, flags);
    QCOMPARE(filer.ReadString(u"A/B"_s, u"n"_s, QString()), expected);
    if (!flags) {
        filer.WriteEnum(u"m"_s, value, mTable.data(), count);
        QCOMPARE(filer.ReadString(u"m"_s, QString()), expected);
        filer.WriteEnum(u"A/B"_s, u"m"_s, value, mTable.data(), count);
        QCOMPARE(filer.ReadString(u"A/B"_s, u"m"_s, QString()), expected);
    }
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
}

void tst_XmlFilerEnums::WriteEnum_noName()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteEnum(u"n"_s, 3, mTable.data(), 3);
    filer.WriteEnum(u"n"_s, 8, mTable.data(), 3, true);
    filer.WriteEnum(u"n"_s, 1, nullptr, 3);
    QVERIFY(!filer.GetCurrentNode().hasAttributes());

    // The attribute is unchanged, but the path is created.
    filer.WriteEnum(u"n"_s, 1, mTable.data(), 3);
    filer.WriteEnum(u"n"_s, 3, mTable.data(), 3);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, mTable.data(), 3), 1);
    filer.WriteEnum(u"A"_s, u"n"_s, 3, mTable.data(), 3);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QVERIFY(filer.MoveToNode(u"A"_s));
    QVERIFY(!filer.GetCurrentNode().hasAttributes());
}

void tst_XmlFilerEnums::WriteEnum_noElement()
{
    XmlFiler filer;
    filer.WriteEnum(u"n"_s, 1, mTable.data(), 3);
    filer.WriteEnum(QString(), u"n"_s, 1, mTable.data(), 3);
    QVERIFY(filer.IsEmpty());
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, mTable.data(), 3), 77);
    filer.CreateRoot(u"r"_s);
    QVERIFY(filer.MoveToParent());
    filer.WriteEnum(u"n"_s, 1, mTable.data(), 3);
    QCOMPARE(filer.ReadEnum(u"n"_s, 77, mTable.data(), 3), 77);
    filer.MoveToRoot();
    QVERIFY(!filer.GetCurrentNode().hasAttributes());
}

QTEST_GUILESS_MAIN(tst_XmlFilerEnums)
#include "tst_XmlFilerEnums.moc"
