// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"

#include <GeneralUtil.h>

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <array>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;
using Quorvin::Util::EnumValueName;
using Quorvin::Util::GeneralUtil;

namespace {

constexpr int kNoPair = -1;

// The reference for RemoveDuplicates with ignoreCase: compares each entry with every later one.
qsizetype RemoveDuplicatesOneByOne(QStringList& list)
{
    qsizetype removed = 0;
    for (qsizetype i = 0; i < list.size(); ++i) {
        for (qsizetype j = list.size() - 1; j > i; --j) {
            if (list.at(i).compare(list.at(j), Qt::CaseInsensitive) == 0) {
                list.removeAt(j);
                ++removed;
            }
        }
    }
    return removed;
}

} // namespace

class tst_GeneralUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void GetMatchingBrace_data();
    void GetMatchingBrace();
    void FindMatchingBrace_data();
    void FindMatchingBrace();
    void ParseFunction_data();
    void ParseFunction();
    void ParseFunction_outputsAreInputs();
    void RemoveDuplicates_data();
    void RemoveDuplicates();
    void RemoveDuplicates_sameAsOneByOne();
    void RemoveDuplicates_longList();
    void RemoveDuplicates_keepsSharedCopies();
    void DynamicSignatures_data();
    void DynamicSignatures();

    void EnumValueToName_data();
    void EnumValueToName();
    void EnumNameToValue_data();
    void EnumNameToValue();
    void Enum_nullTable();
    void Enum_countLimitsTheTable();
    void Enum_tableIsUnchanged();
    void GetEnumNames();

    void GetHash_data();
    void GetHash();
    void FileHash_data();
    void FileHash();
    void FileHash_cannotBeOpened();
    void BytesToString_data();
    void BytesToString();

private:
    std::optional<QTemporaryDir> mDir;
    std::array<EnumValueName, 3> mColors{{{1, u"Red"_s}, {2, u"Green"_s}, {4, u"Blue"_s}}};
};

void tst_GeneralUtil::init()
{
    TestSupport::FailOnAnyMessage();
    mDir.emplace();
    QVERIFY(mDir->isValid());
}

void tst_GeneralUtil::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

void tst_GeneralUtil::GetMatchingBrace_data()
{
    QTest::addColumn<uint>("open");
    QTest::addColumn<uint>("expected");

    QTest::newRow("round") << uint(L'(') << uint(L')');
    for (const wchar_t other : {L')', L'[', L']', L'{', L'}', L'<', L'>', L'a', L' ', L'\0', L'\uFF08'})
        QTest::addRow("U+%04X", uint(other)) << uint(other) << 0U;
    QTest::newRow("beyond U+FFFF, with the same low bits") << 0x10028U << 0U;
}

void tst_GeneralUtil::GetMatchingBrace()
{
    QFETCH(const uint, open);
    QFETCH(const uint, expected);

    const wchar_t actual = GeneralUtil::GetMatchingBrace(static_cast<wchar_t>(open));
    QCOMPARE(static_cast<uint>(actual), expected);
}

void tst_GeneralUtil::FindMatchingBrace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("expected");

    QTest::newRow("nested pair inside") << u"(a(b)c)"_s << 0 << 6;
    QTest::newRow("from the nested brace") << u"(a(b)c)"_s << 2 << 4;
    QTest::newRow("adjacent") << u"()"_s << 0 << 1;
    QTest::newRow("first of two pairs") << u"(a)(b)"_s << 0 << 2;
    QTest::newRow("second of two pairs") << u"(a)(b)"_s << 3 << 5;
    QTest::newRow("deeply nested") << u"((((x))))"_s << 1 << 7;
    QTest::newRow("text after the pair") << u"f(x) + 1"_s << 1 << 3;
    QTest::newRow("in quotes") << u"(\")\")"_s << 0 << 2;
    QTest::newRow("other braces do not count") << u"([)]"_s << 0 << 2;
    QTest::newRow("never closed") << u"(a"_s << 0 << kNoPair;
    QTest::newRow("inner one closed alone") << u"(a(b)"_s << 0 << kNoPair;
    QTest::newRow("last character") << u"a("_s << 1 << kNoPair;
    QTest::newRow("not on a brace") << u"(a)"_s << 1 << kNoPair;
    QTest::newRow("on a closing brace") << u"(a)"_s << 2 << kNoPair;
    QTest::newRow("negative position") << u"()"_s << -1 << kNoPair;
    QTest::newRow("at the end") << u"()"_s << 2 << kNoPair;
    QTest::newRow("far after the end") << u"()"_s << std::numeric_limits<int>::max() << kNoPair;
    QTest::newRow("empty text") << u""_s << 0 << kNoPair;
    QTest::newRow("null text") << QString() << 0 << kNoPair;
}

void tst_GeneralUtil::FindMatchingBrace()
{
    QFETCH(const QString, text);
    QFETCH(const int, position);
    QFETCH(const int, expected);

    QCOMPARE(GeneralUtil::FindMatchingBrace(text, position), expected);
}

void tst_GeneralUtil::ParseFunction_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("expectedName");
    QTest::addColumn<QStringList>("expectedArguments");

    const auto row = [](const char* name, const QString& text, bool expected, const QString& function,
                        const QStringList& arguments) {
        QTest::newRow(name) << text << expected << function << arguments;
    };
    row("commas in braces split too", u"Max(a, (b, c))"_s, true, u"Max"_s, {u"a"_s, u"(b"_s, u"c)"_s});
    row("commas in quotes split too", u"f(\"a,b\")"_s, true, u"f"_s, {u"\"a"_s, u"b\""_s});
    row("one argument", u"f(x)"_s, true, u"f"_s, {u"x"_s});
    row("no arguments", u"f()"_s, true, u"f"_s, {});
    row("a blank argument", u"f( )"_s, true, u"f"_s, {u""_s});
    row("empty arguments", u"f(,)"_s, true, u"f"_s, {u""_s, u""_s});
    row("arguments are trimmed", u"f(\t a b \n,  c)"_s, true, u"f"_s, {u"a b"_s, u"c"_s});
    row("name is not trimmed", u" f (x)"_s, true, u" f "_s, {u"x"_s});
    row("name is empty", u"(x)"_s, true, u""_s, {u"x"_s});
    row("text after the call is ignored", u"f(x) + g(y)"_s, true, u"f"_s, {u"x"_s});
    row("never closed", u"Max(a"_s, false, u"Max"_s, {});
    row("inner brace closed alone", u"f(a(b)"_s, false, u"f"_s, {});
    row("no brace", u"Max"_s, false, u""_s, {});
    row("closing brace alone", u"Max)"_s, false, u""_s, {});
    row("closing brace first", u")f(x)"_s, true, u")f"_s, {u"x"_s});
    row("empty text", u""_s, false, u""_s, {});
    row("null text", QString(), false, u""_s, {});
}

void tst_GeneralUtil::ParseFunction()
{
    QFETCH(const QString, text);
    QFETCH(const bool, expected);
    QFETCH(const QString, expectedName);
    QFETCH(const QStringList, expectedArguments);

    QString name = u"old"_s;
    QStringList arguments{u"old"_s, u"older"_s};
    QCOMPARE(GeneralUtil::ParseFunction(text, name, arguments), expected);
    QCOMPARE(name, expectedName);
    QCOMPARE(arguments, expectedArguments);
}

void tst_GeneralUtil::ParseFunction_outputsAreInputs()
{
    QString text = u"f(a, b)"_s;
    QStringList arguments;
    QVERIFY(GeneralUtil::ParseFunction(text, text, arguments));
    QCOMPARE(text, u"f"_s);
    QCOMPARE(arguments, (QStringList{u"a"_s, u"b"_s}));

    QString name;
    arguments = QStringList{u"g(c)"_s};
    QVERIFY(GeneralUtil::ParseFunction(arguments.at(0), name, arguments));
    QCOMPARE(name, u"g"_s);
    QCOMPARE(arguments, QStringList{u"c"_s});
}

void tst_GeneralUtil::RemoveDuplicates_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<bool>("ignoreCase");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<int>("expectedCount");

    const auto row
        = [](const char* name, const QStringList& list, bool ignoreCase, const QStringList& expected) {
              QTest::newRow(name) << list << ignoreCase << expected
                                  << static_cast<int>(list.size() - expected.size());
          };
    const QStringList mixed{u"a"_s, u"A"_s, u"b"_s, u"a"_s};
    row("case ignored", mixed, true, {u"a"_s, u"b"_s});
    row("case counts", mixed, false, {u"a"_s, u"A"_s, u"b"_s});
    row("no entries, case ignored", {}, true, {});
    row("no entries, case counts", {}, false, {});
    row("all different", {u"c"_s, u"B"_s, u"a"_s}, true, {u"c"_s, u"B"_s, u"a"_s});
    row("all the same", {u"x"_s, u"X"_s, u"x"_s, u"X"_s}, true, {u"x"_s});
    row("first spelling is kept", {u"Beta"_s, u"ALPHA"_s, u"beta"_s, u"alpha"_s}, true,
        {u"Beta"_s, u"ALPHA"_s});
    row("order is kept", {u"b"_s, u"a"_s, u"B"_s, u"c"_s, u"A"_s}, true, {u"b"_s, u"a"_s, u"c"_s});
    row("empty and null entries", {u""_s, QString(), u"a"_s, u""_s}, true, {u""_s, u"a"_s});
    row("not trimmed", {u"a"_s, u" a"_s}, true, {u"a"_s, u" a"_s});
    row("one begins with the other", {u"ab"_s, u"A"_s, u"ABC"_s}, true, {u"ab"_s, u"A"_s, u"ABC"_s});
    row("umlauts", {u"ä"_s, u"Ä"_s, u"a"_s}, true, {u"ä"_s, u"a"_s});
    row("three sigmas", {u"σ"_s, u"ς"_s, u"Σ"_s}, true, {u"σ"_s});
    row("sharp s is not ss", {u"straße"_s, u"STRASSE"_s}, true, {u"straße"_s, u"STRASSE"_s});
    row("ligature is not its letters", {u"ﬁ"_s, u"FI"_s}, true, {u"ﬁ"_s, u"FI"_s});
    row("dotless and dotted i", {u"ı"_s, u"i"_s, u"İ"_s, u"I"_s}, true, {u"ı"_s, u"i"_s, u"İ"_s});
    row("Kelvin sign", {u"K"_s, u"k"_s}, true, {u"K"_s});
    row("beyond U+FFFF", {u"𐐀"_s, u"𐐨"_s, u"𐐁"_s}, true, {u"𐐀"_s, u"𐐁"_s});
}

void tst_GeneralUtil::RemoveDuplicates()
{
    QFETCH(QStringList, list);
    QFETCH(const bool, ignoreCase);
    QFETCH(const QStringList, expected);
    QFETCH(const int, expectedCount);

    QCOMPARE(GeneralUtil::RemoveDuplicates(list, ignoreCase), expectedCount);
    QCOMPARE(list, expected);
}

void tst_GeneralUtil::RemoveDuplicates_sameAsOneByOne()
{
    const QStringList pieces{u"a"_s, u"A"_s, u"ß"_s, u"ẞ"_s, u"ss"_s,     u"σ"_s, u"ς"_s,
                             u"Σ"_s, u"i"_s, u"İ"_s, u"ı"_s, u"K"_s,      u"k"_s, u"ﬁ"_s,
                             u"ǅ"_s, u"Ǆ"_s, u"𐐀"_s, u"𐐨"_s, u"\xD801"_s, u""_s};
    QRandomGenerator random(5112); // the same lists in every run
    for (int i = 0; i < 300; ++i) {
        QStringList list;
        for (quint32 length = random.bounded(60U); length > 0; --length)
            list.append(pieces.at(random.bounded(pieces.size())) + pieces.at(random.bounded(pieces.size())));

        QStringList expected = list;
        const qsizetype expectedCount = RemoveDuplicatesOneByOne(expected);
        QCOMPARE(GeneralUtil::RemoveDuplicates(list, true), expectedCount);
        QCOMPARE(list, expected);
    }
}

void tst_GeneralUtil::RemoveDuplicates_longList()
{
    constexpr int kEntries = 50000;
    QStringList list;
    for (const char16_t letter : {u'n', u'N'}) {
        for (int i = 0; i < kEntries; ++i)
            list.append(letter + QString::number(i));
    }
    const QStringList expected = list.first(kEntries);

    QCOMPARE(GeneralUtil::RemoveDuplicates(list, true), kEntries);
    QCOMPARE(list, expected);
}

void tst_GeneralUtil::RemoveDuplicates_keepsSharedCopies()
{
    const QStringList original{u"a"_s, u"A"_s};
    QStringList list = original;

    QCOMPARE(GeneralUtil::RemoveDuplicates(list, true), 1);
    QCOMPARE(list, QStringList{u"a"_s});
    QCOMPARE(original, (QStringList{u"a"_s, u"A"_s}));
}

void tst_GeneralUtil::DynamicSignatures_data()
{
    QTest::addColumn<QByteArray>("signature");

    QTest::newRow("slot") << "ReadMessage()"_ba;
    QTest::newRow("with parameters and a blank") << "ConnectedToClient (QLocalSocket*)"_ba;
    QTest::newRow("format characters") << "%s%n"_ba;
    QTest::newRow("empty") << ""_ba;
}

void tst_GeneralUtil::DynamicSignatures()
{
    QFETCH(const QByteArray, signature);

    QCOMPARE(GeneralUtil::DYNAMIC_SLOT(signature.constData()), QString());
    QCOMPARE(GeneralUtil::DYNAMIC_SIGNAL(signature.constData()), QString());
}

void tst_GeneralUtil::EnumValueToName_data()
{
    QTest::addColumn<QList<int>>("values"); // named A, B, C and so on
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("flags");
    QTest::addColumn<QString>("expected");

    const auto row
        = [](const char* name, const QList<int>& values, int value, bool flags, const QString& expected) {
              QTest::newRow(name) << values << value << flags << expected;
          };
    row("first row", {1, 2, 4}, 1, false, u"A"_s);
    row("last row", {1, 2, 4}, 4, false, u"C"_s);
    row("no row", {1, 2, 4}, 3, false, u""_s);
    row("first of two with the value", {7, 5, 5}, 5, false, u"B"_s);
    row("zero", {1, 0}, 0, false, u"B"_s);
    row("negative", {1, -1}, -1, false, u"B"_s);
    row("no rows", {}, 1, false, u""_s);

    row("one flag", {1, 2, 4}, 2, true, u"B"_s);
    row("two flags", {1, 2, 4}, 5, true, u"A,C"_s);
    row("table order, not bit order", {4, 1, 2}, 7, true, u"A,B,C"_s);
    row("bits without a row", {1, 2, 4}, 9, true, u"A"_s);
    row("no bit with a row", {1, 2, 4}, 8, true, u""_s);
    row("no bits", {1, 2, 4}, 0, true, u""_s);
    row("row with value 0", {0, 1}, 1, true, u"B"_s);
    row("row with value 0, value 0", {0, 1}, 0, true, u""_s);
    row("row with several bits, one in common", {3, 4}, 2, true, u"A"_s);
    row("two rows of the same bit", {1, 1}, 1, true, u"A,B"_s);
    row("highest bit", {std::numeric_limits<int>::min(), 1}, -1, true, u"A,B"_s);
    row("no rows, flags", {}, 1, true, u""_s);
}

void tst_GeneralUtil::EnumValueToName()
{
    QFETCH(const QList<int>, values);
    QFETCH(const int, value);
    QFETCH(const bool, flags);
    QFETCH(const QString, expected);

    QList<EnumValueName> table;
    for (const int rowValue : values)
        table.append({rowValue, QString(QChar(u'A' + static_cast<char16_t>(table.size())))});
    QCOMPARE(GeneralUtil::EnumValueToName(value, table.constData(), static_cast<int>(table.size()), flags),
             expected);
}

void tst_GeneralUtil::EnumNameToValue_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("flags");
    QTest::addColumn<int>("expected");

    QTest::newRow("exact") << u"Green"_s << false << 2;
    QTest::newRow("different case") << u"green"_s << false << 2;
    QTest::newRow("unknown") << u"Purple"_s << false << -1;
    QTest::newRow("padded") << u" Green"_s << false << -1;
    QTest::newRow("list of names") << u"Red,Blue"_s << false << -1;
    QTest::newRow("first of two rows of the name") << u"TWICE"_s << false << 16;
    QTest::newRow("value 0") << u"None"_s << false << 0;
    QTest::newRow("negative value") << u"minus"_s << false << -5;
    QTest::newRow("row without a name") << u""_s << false << 128;
    QTest::newRow("name with a comma") << u"With,Comma"_s << false << 64;

    QTest::newRow("flags, one") << u"Green"_s << true << 2;
    QTest::newRow("flags, padded, different case, empty parts") << u" red , BLUE ,"_s << true << 5;
    QTest::newRow("flags, unknown") << u"Purple"_s << true << -1;
    QTest::newRow("flags, unknown beside known") << u"Purple,Red"_s << true << 1;
    QTest::newRow("flags, name twice") << u"Red,red"_s << true << 1;
    QTest::newRow("flags, all rows of the name") << u"twice"_s << true << 48;
    QTest::newRow("flags, value 0 alone") << u"none"_s << true << 0;
    QTest::newRow("flags, negative value") << u"Minus,Red"_s << true << (-5 | 1);
    QTest::newRow("flags, nothing") << u""_s << true << -1;
    QTest::newRow("flags, empty part is not the row without a name") << u"Red,"_s << true << 1;
    QTest::newRow("flags, commas alone") << u",,"_s << true << -1;
    QTest::newRow("flags, blank part is the row without a name") << u" , "_s << true << 128;
    QTest::newRow("flags, name with a comma") << u"With,Comma"_s << true << -1;
}

void tst_GeneralUtil::EnumNameToValue()
{
    QFETCH(const QString, name);
    QFETCH(const bool, flags);
    QFETCH(const int, expected);

    QList<EnumValueName> table(mColors.cbegin(), mColors.cend());
    table << EnumValueName{16, u"Twice"_s} << EnumValueName{32, u"tWICE"_s} << EnumValueName{0, u"None"_s}
          << EnumValueName{-5, u"Minus"_s} << EnumValueName{64, u"With,Comma"_s} << EnumValueName{128, u""_s};
    QCOMPARE(GeneralUtil::EnumNameToValue(name, table.data(), static_cast<int>(table.size()), flags),
             expected);
}

void tst_GeneralUtil::Enum_nullTable()
{
    for (const bool flags : {false, true}) {
        QCOMPARE(GeneralUtil::EnumValueToName(1, nullptr, 3, flags), QString());
        QCOMPARE(GeneralUtil::EnumNameToValue(u"Red"_s, nullptr, 3, flags), -1);
    }
    QCOMPARE(GeneralUtil::GetEnumNames(nullptr, 3), QStringList());
}

void tst_GeneralUtil::Enum_countLimitsTheTable()
{
    for (const bool flags : {false, true}) {
        for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
            QCOMPARE(GeneralUtil::EnumValueToName(1, mColors.data(), count, flags), QString());
            QCOMPARE(GeneralUtil::EnumNameToValue(u"Red"_s, mColors.data(), count, flags), -1);
            QCOMPARE(GeneralUtil::GetEnumNames(mColors.data(), count), QStringList());
        }
        QCOMPARE(GeneralUtil::EnumValueToName(4, mColors.data(), 2, flags), QString());
        QCOMPARE(GeneralUtil::EnumNameToValue(u"Blue"_s, mColors.data(), 2, flags), -1);
    }
    QCOMPARE(GeneralUtil::GetEnumNames(mColors.data(), 2), (QStringList{u"Red"_s, u"Green"_s}));
}

void tst_GeneralUtil::Enum_tableIsUnchanged()
{
    static_cast<void>(GeneralUtil::EnumValueToName(7, mColors.data(), 3, true));
    static_cast<void>(GeneralUtil::EnumNameToValue(u"red,blue"_s, mColors.data(), 3, true));
    static_cast<void>(GeneralUtil::GetEnumNames(mColors.data(), 3));

    QCOMPARE(mColors[0].Value, 1);
    QCOMPARE(mColors[0].Name, u"Red"_s);
    QCOMPARE(mColors[2].Value, 4);
    QCOMPARE(mColors[2].Name, u"Blue"_s);
}

void tst_GeneralUtil::GetEnumNames()
{
    QCOMPARE(GeneralUtil::GetEnumNames(mColors.data(), 3), (QStringList{u"Red"_s, u"Green"_s, u"Blue"_s}));
}

void tst_GeneralUtil::GetHash_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("expected");

    // Computed with md5sum from the UTF-8 encoding.
    QTest::newRow("empty") << u""_s << "d41d8cd98f00b204e9800998ecf8427e"_ba;
    QTest::newRow("null") << QString() << "d41d8cd98f00b204e9800998ecf8427e"_ba;
    QTest::newRow("one letter") << u"a"_s << "0cc175b9c0f1b6a831c399e269772661"_ba;
    QTest::newRow("three letters") << u"abc"_s << "900150983cd24fb0d6963f7d28e17f72"_ba;
    QTest::newRow("different case is a different text") << u"ABC"_s << "902fbdd2b1df0c4f70b4a5d23525e932"_ba;
    QTest::newRow("two and three bytes") << u"Größe €"_s << "b3138d5429f8b49d5393e948c5eb4569"_ba;
    QTest::newRow("four bytes") << u"😀"_s << "2a02eac39d716a70ecf37579185927b6"_ba;
    QTest::newRow("NUL inside") << u"a\0b"_s << "70350f6027bce3713f6b76473084309b"_ba;
    QTest::newRow("byte order mark") << u"\uFEFFa"_s << "35fa5d3e88c45478f98ea858a21ee2c0"_ba;
    QTest::newRow("invalid UTF-16, which Qt replaces")
        << u"a\xD83D"_s << QCryptographicHash::hash(u"a\xD83D"_s.toUtf8(), QCryptographicHash::Md5).toHex();
    QTest::newRow("long") << u"0123456789"_s.repeated(1000) << "2bb571599a4180e1d542f76904adc3df"_ba;
}

void tst_GeneralUtil::GetHash()
{
    QFETCH(const QString, text);
    QFETCH(const QByteArray, expected);

    QCOMPARE(GeneralUtil::GetHash(text), expected);
}

void tst_GeneralUtil::FileHash_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected");

    // Computed with md5sum. Files are read in chunks of 32,768 bytes.
    QTest::newRow("empty") << ""_ba
                           << "d41d8cd98f00b204e9800998ecf8427e"_ba;
    QTest::newRow("short") << "abc"_ba
                           << "900150983cd24fb0d6963f7d28e17f72"_ba;
    QTest::newRow("line endings and NUL are not changed")
        << "a\r\nb\0\x1A"_ba + '\xFF' << "09c3eff98f4d03b161f8cbaeccc96a20"_ba;
    QTest::newRow("one byte less than a chunk")
        << QByteArray(32767, 'x') << "d405e9db29a0aa4a6b5aacba6b88bab0"_ba;
    QTest::newRow("one chunk") << QByteArray(32768, 'x') << "56593bcab74581f4f560cd13723e451a"_ba;
    QTest::newRow("one byte more than a chunk")
        << QByteArray(32769, 'x') << "36464f76c4bfeb7b2d4f71099e48c9b4"_ba;
    QTest::newRow("many chunks") << QByteArray(1000000, 'x') << "ec78dbd963d2fc01e51176ed4dec299e"_ba;
}

void tst_GeneralUtil::FileHash()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QByteArray, expected);

    const QString path = mDir->filePath(u"file"_s);
    QVERIFY(TestSupport::WriteFile(path, content));
    QCOMPARE(GeneralUtil::GetFileHash(path), expected);
    QCOMPARE(GeneralUtil::GenerateCheckSumMD5(path), QString::fromLatin1(expected));
    QCOMPARE(TestSupport::ReadFile(path), content);
}

void tst_GeneralUtil::FileHash_cannotBeOpened()
{
    for (const QString& path : {mDir->filePath(u"missing"_s), mDir->path(), QString(), u""_s}) {
        QCOMPARE(GeneralUtil::GetFileHash(path), QByteArray());
        QCOMPARE(GeneralUtil::GenerateCheckSumMD5(path), QString());
    }
    QVERIFY(!QFile::exists(mDir->filePath(u"missing"_s)));
}

void tst_GeneralUtil::BytesToString_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<int>("precision");
    QTest::addColumn<QString>("expected");

    const auto row = [](qint64 bytes, int precision, const QString& expected) {
        QTest::addRow("%lld, %d digits", static_cast<long long>(bytes), precision)
            << bytes << precision << expected;
    };
    row(0, 2, u"0 bytes"_s);
    row(1, 2, u"1 bytes"_s);
    row(1000, 2, u"1000 bytes"_s);
    row(1023, 2, u"1023 bytes"_s);
    row(-5, 2, u"-5 bytes"_s);
    row(-1048576, 2, u"-1048576 bytes"_s);
    row(std::numeric_limits<qint64>::min(), 2, u"-9223372036854775808 bytes"_s);
    row(1024, 2, u"1.00 KB"_s);
    row(1536, 1, u"1.5 KB"_s);
    row(1536, 0, u"2 KB"_s);
    row(1025, 2, u"1.00 KB"_s);
    row(1034, 2, u"1.01 KB"_s);
    row(1025, 10, u"1.0009765625 KB"_s);
    row(1024000, 1, u"1000.0 KB"_s);
    row(1048575, 2, u"1024.00 KB"_s);
    row(1048575, 4, u"1023.9990 KB"_s);
    row(1048576, 0, u"1 MB"_s);
    row(1048576, 2, u"1.00 MB"_s);
    row(1572864, 3, u"1.500 MB"_s);
    row(1073741823, 0, u"1024 MB"_s);
    row(1073741824, 2, u"1.00 GB"_s);
    row(1099511627776, 1, u"1024.0 GB"_s);
    row(1234567890123456, 2, u"1149780.95 GB"_s);
    row(std::numeric_limits<qint64>::max(), 0, u"8589934592 GB"_s);
}

void tst_GeneralUtil::BytesToString()
{
    QFETCH(const qint64, bytes);
    QFETCH(const int, precision);
    QFETCH(const QString, expected);

    // The user's number format must make no difference.
    for (const QLocale& locale : {QLocale::c(), QLocale(QLocale::German, QLocale::Germany)}) {
        QLocale::setDefault(locale);
        const QString actual = GeneralUtil::BytesToString(bytes, precision);
        QLocale::setDefault(QLocale::system());
        QCOMPARE(actual, expected);
    }
}

QTEST_GUILESS_MAIN(tst_GeneralUtil)

#include "tst_GeneralUtil.moc"
