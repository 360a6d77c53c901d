// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"

#include "general/VariableResolver_p.h"

#include <StringUtil.h>

#include <QRandomGenerator>

#include <array>

using namespace Qt::StringLiterals;
using Quorvin::Util::StringUtil;

namespace {

using Variables = QMap<QString, QString>;

constexpr wchar_t kUntouched = L'#';

// A slow but simple equivalent of ResolveVariables: replaces one variable at a time, each with a new pattern.
// \return the number of replacements; -1 if there are so many that the text probably grows without end
int ResolveStepByStep(QString& text, const Variables& variables, bool ignoreCase)
{
    const QRegularExpression pattern(u"\\$\\((\\S+)\\)"_s, QRegularExpression::InvertedGreedinessOption);
    int count = 0;
    qsizetype position = 0;
    for (;;) {
        const QRegularExpressionMatch match = pattern.match(text, position);
        if (!match.hasMatch())
            return count;
        QString value;
        if (StringUtil::GetKeyValue(match.captured(1), variables, value, ignoreCase)) {
            text.remove(match.capturedStart(0), match.capturedLength(0));
            text.insert(match.capturedStart(0), value);
            if (++count > 50)
                return -1;
        }
        position = match.capturedStart(0) + 1;
    }
}

} // namespace

class tst_StringUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void Trim_data();
    void Trim();
    void Trim_keepsSharedCopies();
    void TrimOneCharacter_data();
    void TrimOneCharacter();
    void TrimOneCharacter_everyPlane();
    void IsTextElided_data();
    void IsTextElided();

    void ResolveVariables_data();
    void ResolveVariables();
    void ResolveVariables_sameAsStepByStep();
    void ResolveVariables_everyCharacterInAName();
    void ResolveVariables_textIsOneOfTheValues();
    void ResolveVariables_manyReferences();
    void ResolveVariables_anyMapSameAsStepByStep();
    void ResolveVariables_workIsLinear_data();
    void ResolveVariables_workIsLinear();
    void GetKeyValue_data();
    void GetKeyValue();
    void GetKeyValue_replacesOldValue();
    void GetKeyValue_valueIsTheKey();

    void QStringToWchar_data();
    void QStringToWchar();
    void QStringToWchar_nullBuffer();
    void QStringToWchar_roundTrip();
};

void tst_StringUtil::init()
{
    TestSupport::FailOnAnyMessage();
}

void tst_StringUtil::Trim_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("no entries") << QStringList() << QStringList();
    QTest::newRow("nothing to trim") << QStringList{u"a"_s, u"b c"_s} << QStringList{u"a"_s, u"b c"_s};
    QTest::newRow("both ends, every entry")
        << QStringList{u" a"_s, u"b "_s, u"\t c d \r\n"_s} << QStringList{u"a"_s, u"b"_s, u"c d"_s};
    QTest::newRow("white space only becomes an empty entry")
        << QStringList{u"  "_s, u""_s, u"x"_s} << QStringList{u""_s, u""_s, u"x"_s};
    QTest::newRow("white space beyond ASCII")
        << QStringList{u"\u00A0a\u2003"_s, u"\u3000b\u0085"_s} << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("a zero is not white space")
        << QStringList{QString(QChar(0))} << QStringList{QString(QChar(0))};
}

void tst_StringUtil::Trim()
{
    QFETCH(QStringList, list);
    QFETCH(const QStringList, expected);

    StringUtil::Trim(list);
    QCOMPARE(list, expected);
}

void tst_StringUtil::Trim_keepsSharedCopies()
{
    const QString entry = u" a "_s;
    const QStringList original{entry};
    QStringList list = original;

    StringUtil::Trim(list);
    QCOMPARE(list, QStringList{u"a"_s});
    QCOMPARE(original, QStringList{u" a "_s});
    QCOMPARE(entry, u" a "_s);
}

void tst_StringUtil::TrimOneCharacter_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<uint>("character");
    QTest::addColumn<QString>("expectedLeft");
    QTest::addColumn<int>("expectedLeftCount");
    QTest::addColumn<QString>("expectedRight");
    QTest::addColumn<int>("expectedRightCount");

    const auto row = [](const char* name, const QString& text, char32_t ch, const QString& left,
                        int leftCount, const QString& right, int rightCount) {
        QTest::newRow(name) << text << uint(ch) << left << leftCount << right << rightCount;
    };
    row("empty text", u""_s, U'x', u""_s, 0, u""_s, 0);
    row("null text", QString(), U'x', u""_s, 0, u""_s, 0);
    row("at the front", u"xxab"_s, U'x', u"ab"_s, 2, u"xxab"_s, 0);
    row("at the end", u"abxx"_s, U'x', u"abxx"_s, 0, u"ab"_s, 2);
    row("at both ends and inside", u"xaxbx"_s, U'x', u"axbx"_s, 1, u"xaxb"_s, 1);
    row("nowhere", u"ab"_s, U'x', u"ab"_s, 0, u"ab"_s, 0);
    row("nothing else", u"xxx"_s, U'x', u""_s, 3, u""_s, 3);
    row("different case", u"XabX"_s, U'x', u"XabX"_s, 0, u"XabX"_s, 0);
    row("white space is not special", u" xabx "_s, U'x', u" xabx "_s, 0, u" xabx "_s, 0);
    row("white space itself", u"  \tab\t  "_s, U' ', u"\tab\t  "_s, 2, u"  \tab\t"_s, 2);
    row("beyond ASCII", u"ÄÄaÄ"_s, U'Ä', u"aÄ"_s, 2, u"ÄÄa"_s, 1);
    row("NUL", QString(QChar(0)) + u'a', U'\0', u"a"_s, 1, QString(QChar(0)) + u'a', 0);
    row("byte order mark", u"\uFEFFa\uFEFF"_s, U'\uFEFF', u"a\uFEFF"_s, 1, u"\uFEFFa"_s, 1);
    // Only the first of a character's two UTF-16 units is compared. At the front, the second unit stays; at
    // the end, the second unit hides the first.
    row("surrogate pair, in front", u"😀a"_s, U'😀', u"😀a"_s.mid(1), 1, u"😀a"_s, 0);
    row("surrogate pair, at the end", u"a😀"_s, U'😀', u"a😀"_s, 0, u"a😀"_s, 0);
    row("surrogate pair, same high surrogate", u"😁"_s, U'😀', u"😁"_s.mid(1), 1, u"😁"_s, 0);
    row("high surrogates alone", u"\xD83D\xD83D\x0061\xD83D"_s, U'😀', u"\x0061\xD83D"_s, 2,
        u"\xD83D\xD83D\x0061"_s, 1);
}

void tst_StringUtil::TrimOneCharacter()
{
    QFETCH(const QString, text);
    QFETCH(const uint, character);
    QFETCH(const QString, expectedLeft);
    QFETCH(const int, expectedLeftCount);
    QFETCH(const QString, expectedRight);
    QFETCH(const int, expectedRightCount);
    const auto ch = static_cast<wchar_t>(character);

    QString left = text;
    QCOMPARE(StringUtil::TrimLeft(left, ch), expectedLeftCount);
    QCOMPARE(left, expectedLeft);
    QString right = text;
    QCOMPARE(StringUtil::TrimRight(right, ch), expectedRightCount);
    QCOMPARE(right, expectedRight);
}

// One character from each row of each plane, compared with Qt's own conversion.
void tst_StringUtil::TrimOneCharacter_everyPlane()
{
    for (char32_t ch = 0x21; ch <= 0x10FFFF; ch += 0xFB) {
        const QString unit = QString::fromUcs4(&ch, 1).left(1);
        QString text = unit + u'-' + unit + unit;
        QCOMPARE(StringUtil::TrimLeft(text, static_cast<wchar_t>(ch)), 1);
        QCOMPARE(StringUtil::TrimRight(text, static_cast<wchar_t>(ch)), 2);
        QCOMPARE(text, u"-"_s);
    }
}

void tst_StringUtil::IsTextElided_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");

    QTest::newRow("ends with three full stops") << u"Loading..."_s << true;
    QTest::newRow("nothing else") << u"..."_s << true;
    QTest::newRow("four full stops") << u"a...."_s << true;
    QTest::newRow("twice") << u"a...b..."_s << true;
    QTest::newRow("inside") << u"a...b"_s << false;
    QTest::newRow("at the front") << u"...b"_s << false;
    QTest::newRow("trailing white space") << u"a... "_s << false;
    QTest::newRow("two full stops") << u"a.."_s << false;
    QTest::newRow("shorter than three") << u"."_s << false;
    QTest::newRow("the single character") << u"Loading\u2026"_s << false;
    QTest::newRow("empty") << u""_s << false;
    QTest::newRow("null") << QString() << false;
}

void tst_StringUtil::IsTextElided()
{
    QFETCH(const QString, text);
    QFETCH(const bool, expected);

    QCOMPARE(StringUtil::IsTextElided(text), expected);
}

void tst_StringUtil::ResolveVariables_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Variables>("variables");
    QTest::addColumn<bool>("ignoreCase");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("expectedCount");

    const auto row = [](const char* name, const QString& text, const Variables& variables,
                        const QString& expected, int expectedCount, bool ignoreCase = false) {
        QTest::newRow(name) << text << variables << ignoreCase << expected << expectedCount;
    };
    const Variables a1{{u"A"_s, u"1"_s}};
    row("empty text", u""_s, a1, u""_s, 0);
    row("no reference", u"a (A) $A $ ( )"_s, a1, u"a (A) $A $ ( )"_s, 0);
    row("no variables", u"$(A)"_s, {}, u"$(A)"_s, 0);
    row("known and unknown", u"$(A) and $(B)"_s, a1, u"1 and $(B)"_s, 1);
    row("nothing but the reference", u"$(A)"_s, a1, u"1"_s, 1);
    row("three times", u"$(A)-$(A)$(A)"_s, a1, u"1-11"_s, 3);
    row("unknown before known", u"$(B)$(A)"_s, a1, u"$(B)1"_s, 1);
    row("different case, case counts", u"$(A)"_s, {{u"a"_s, u"1"_s}}, u"$(A)"_s, 0);
    row("different case, case ignored", u"$(A)"_s, {{u"a"_s, u"1"_s}}, u"1"_s, 1, true);
    row("exact case takes precedence", u"$(b)"_s, {{u"B"_s, u"1"_s}, {u"b"_s, u"2"_s}}, u"2"_s, 1, true);
    row("empty value", u"x$(A)y"_s, {{u"A"_s, u""_s}}, u"xy"_s, 1);
    row("empty value, nothing left", u"$(A)"_s, {{u"A"_s, u""_s}}, u""_s, 1);
    // The search resumes one character after the start of the match, which is then after the '$'.
    row("empty value hides the next reference", u"$(A)$(B)"_s, {{u"A"_s, u""_s}, {u"B"_s, u"2"_s}}, u"$(B)"_s,
        1);

    row("name stops at the first brace", u"$(a)b)"_s, {{u"a"_s, u"1"_s}, {u"a)b"_s, u"2"_s}}, u"1b)"_s, 1);
    row("outer match unknown, inner one known", u"$(a$(b))"_s, {{u"b"_s, u"1"_s}}, u"$(a1)"_s, 1);
    row("outer match known", u"$(a$(b))"_s, {{u"a$(b"_s, u"x"_s}, {u"b"_s, u"1"_s}}, u"x)"_s, 1);
    row("no name", u"$()"_s, {{u""_s, u"1"_s}}, u"$()"_s, 0);
    row("name is a brace", u"$())"_s, {{u")"_s, u"1"_s}}, u"1"_s, 1);
    row("name is an opening brace", u"$(()"_s, {{u"("_s, u"1"_s}}, u"1"_s, 1);
    row("white space in the name", u"$(A B)"_s, {{u"A B"_s, u"1"_s}}, u"$(A B)"_s, 0);
    row("white space around the name", u"$( A )"_s, a1, u"$( A )"_s, 0);
    row("line break in the name", u"$(A\nB)$(A)"_s, a1, u"$(A\nB)1"_s, 1);
    row("white space beyond ASCII does not end a name", u"$(A\u00A0B)"_s, {{u"A\u00A0B"_s, u"1"_s}}, u"1"_s,
        1);
    row("never closed", u"$(A"_s, a1, u"$(A"_s, 0);
    row("never closed, then a reference", u"$(B $(A)"_s, a1, u"$(B 1"_s, 1);
    row("leading dollar signs", u"$$(A)"_s, a1, u"$1"_s, 1);

    row("value with a reference", u"$(A)"_s, {{u"A"_s, u"<$(B)>"_s}, {u"B"_s, u"2"_s}}, u"<2>"_s, 2);
    row("value begins with a reference", u"$(A)"_s, {{u"A"_s, u"$(B)"_s}, {u"B"_s, u"2"_s}}, u"$(B)"_s, 1);
    row("value and text make a reference", u"x$(A)B)"_s, {{u"A"_s, u"-$("_s}, {u"B"_s, u"2"_s}}, u"x-2"_s, 2);
    row("value that begins with a reference to itself", u"$(A)"_s, {{u"A"_s, u"$(A)"_s}}, u"$(A)"_s, 1);
    row("chain of values", u"$(A)"_s, {{u"A"_s, u"a$(B)"_s}, {u"B"_s, u"b$(C)"_s}, {u"C"_s, u"c"_s}},
        u"abc"_s, 3);
    row("backslash and digit in the value", u"$(A)"_s, {{u"A"_s, u"\\0\\1%1"_s}}, u"\\0\\1%1"_s, 1);

    row("surrogate pairs", u"😀$(Ä😀)😀"_s, {{u"Ä😀"_s, u"😁"_s}}, u"😀😁😀"_s, 1);
    row("value begins with a surrogate pair", u"$(A)$(A)"_s, {{u"A"_s, u"😀"_s}}, u"😀😀"_s, 2);
    row("surrogate pair moves to the place of an empty value", u"$(E)😀$(A)"_s,
        {{u"A"_s, u"1"_s}, {u"E"_s, u""_s}}, u"😀1"_s, 2);
    row("invalid UTF-16", u"$(A)\xD83D"_s, a1, u"$(A)\xD83D"_s, 0);
}

void tst_StringUtil::ResolveVariables()
{
    QFETCH(QString, text);
    QFETCH(const Variables, variables);
    QFETCH(const bool, ignoreCase);
    QFETCH(const QString, expected);
    QFETCH(const int, expectedCount);

    QCOMPARE(StringUtil::ResolveVariables(text, variables, ignoreCase), expectedCount);
    QCOMPARE(text, expected);
}

void tst_StringUtil::ResolveVariables_sameAsStepByStep()
{
    // "b" leads to "a", and "a" leads nowhere, so no text grows without end.
    const Variables variables{{u"a"_s, u"1)"_s},  {u"B"_s, u"$(a)$(a"_s}, {u"b"_s, u" $(a)"_s},
                              {u"ab"_s, u""_s},   {u")"_s, u"("_s},       {u"a$(b"_s, u"$"_s},
                              {u"(a"_s, u"a) "_s}};
    const QStringList pieces{u"$("_s, u"$"_s, u"("_s,  u")"_s,    u"a"_s,   u"b"_s,
                             u"A"_s,  u" "_s, u"\t"_s, u"$(A)"_s, u"$(b)"_s};
    QRandomGenerator random(20260); // the same texts in every run
    int replaced = 0;
    for (int i = 0; i < 20000; ++i) {
        QString text;
        for (quint32 length = random.bounded(16U); length > 0; --length)
            text += pieces.at(random.bounded(pieces.size()));
        const bool ignoreCase = i % 2 == 0;

        QString expected = text;
        const int expectedCount = ResolveStepByStep(expected, variables, ignoreCase);
        QString actual = text;
        const int count = StringUtil::ResolveVariables(actual, variables, ignoreCase);
        QVERIFY2(actual == expected && count == expectedCount, qPrintable(text));
        replaced += count;
    }
    QVERIFY(replaced > 5000); // enough for a meaningful comparison
}

// The pattern "\S" decides which characters end a name. All Unicode white space is below this limit.
void tst_StringUtil::ResolveVariables_everyCharacterInAName()
{
    for (char16_t code = 0; code <= 0x3001; ++code) {
        const QString name = u'a' + QString(QChar(code)) + u'b';
        const Variables variables{{name, u"1"_s}, {name.left(2), u"2"_s}, {u"a"_s, u"3"_s}};
        QString expected = u"$("_s + name + u")"_s;
        QString actual = expected;
        const int expectedCount = ResolveStepByStep(expected, variables, false);
        const int count = StringUtil::ResolveVariables(actual, variables, false);
        QVERIFY2(actual == expected && count == expectedCount, qPrintable(QString::number(code, 16)));
    }
}

void tst_StringUtil::ResolveVariables_textIsOneOfTheValues()
{
    Variables variables{{u"A"_s, u"x$(B)"_s}, {u"B"_s, u"1"_s}};

    QCOMPARE(StringUtil::ResolveVariables(variables[u"A"_s], variables, false), 1);
    QCOMPARE(variables, (Variables{{u"A"_s, u"x1"_s}, {u"B"_s, u"1"_s}}));
}

void tst_StringUtil::ResolveVariables_manyReferences()
{
    constexpr int kReferences = 2000;
    QString text = u"-$(Name)"_s.repeated(kReferences);

    QCOMPARE(StringUtil::ResolveVariables(text, {{u"NAME"_s, u"value"_s}}, true), kReferences);
    QCOMPARE(text, u"-value"_s.repeated(kReferences));
}

void tst_StringUtil::ResolveVariables_anyMapSameAsStepByStep()
{
    // Letters whose case folding is irregular. Letters beyond U+FFFF occur only in names, because the
    // pattern matches nothing from inside a surrogate pair.
    const QStringList letters{u"a"_s,      u"A"_s,      u"b"_s,      u"s"_s, u"\u017F"_s, u"k"_s,
                              u"\u212A"_s, u"\u00DF"_s, u"\u0130"_s, u")"_s, u"("_s,      u"$"_s};
    const QStringList names = letters + QStringList{u"\U00010400"_s, u"\U00010428"_s};
    const QStringList pieces
        = letters + QStringList{u"$("_s, u"$(a"_s,  u"$(A)"_s,          u" "_s,
                                u")"_s,  u"$($("_s, u"$(\U00010400)"_s, u"$(\U00010428)"_s};
    QRandomGenerator random(20261);
    const auto make = [&random](const QStringList& parts, quint32 most) {
        QString text;
        for (quint32 length = random.bounded(most + 1); length > 0; --length)
            text += parts.at(random.bounded(parts.size()));
        return text;
    };
    int compared = 0;
    int replaced = 0;
    for (int i = 0; i < 20000; ++i) {
        Variables variables;
        for (quint32 size = random.bounded(6U); size > 0; --size)
            variables.insert(make(names, 2), make(pieces, 4));
        const QString text = make(pieces, 12);
        const bool ignoreCase = i % 4 != 0;

        QString expected = text;
        const int expectedCount = ResolveStepByStep(expected, variables, ignoreCase);
        if (expectedCount < 0)
            continue;
        QString actual = text;
        const int count = StringUtil::ResolveVariables(actual, variables, ignoreCase);
        QVERIFY2(actual == expected && count == expectedCount, qPrintable(text));
        ++compared;
        replaced += count;
    }
    QVERIFY(compared > 10000);
    QVERIFY(replaced > 500);
}

void tst_StringUtil::ResolveVariables_workIsLinear_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("repeated");
    QTest::addColumn<QString>("end");
    QTest::addColumn<Variables>("variables");

    const Variables some{{u"a"_s, u"value"_s}, {u"empty"_s, QString()}, {u"b"_s, u"x$(a)y$(a"_s}};
    QTest::newRow("starts without an end") << QString() << u"$("_s << QString() << some;
    QTest::newRow("several starts with one end") << QString() << u"$("_s << u")"_s << some;
    QTest::newRow("starts before a blank") << QString() << u"$("_s << u" )"_s << some;
    QTest::newRow("dollar signs") << QString() << u"$"_s << u"(a)"_s << some;
    QTest::newRow("unknown names") << QString() << u"$(none)"_s << QString() << some;
    QTest::newRow("known names") << QString() << u"$(a)"_s << QString() << some;
    QTest::newRow("known names in different case") << QString() << u"$(A)"_s << QString() << some;
    QTest::newRow("references in values") << QString() << u"$(b))"_s << QString() << some;
    QTest::newRow("empty values") << QString() << u"$(empty)"_s << QString() << some;
    QTest::newRow("a value, then a name without end") << u"$(b)"_s << u"$(x"_s << QString() << some;
    QTest::newRow("starts, then references") << QString() << u"$($(a)"_s << QString() << some;
    QTest::newRow("long text without references") << u"$(a)"_s << u"x"_s << u"$(a)"_s << some;
}

void tst_StringUtil::ResolveVariables_workIsLinear()
{
    QFETCH(const QString, start);
    QFETCH(const QString, repeated);
    QFETCH(const QString, end);
    QFETCH(const Variables, variables);

    for (const qsizetype count : {1'000, 10'000, 100'000}) {
        QString text = start + repeated.repeated(count) + end;
        const qsizetype input = text.size();
        Quorvin::Util::Internal::VariableResolver resolver(variables, true);
        resolver.Resolve(text);
        QVERIFY2(resolver.GetWork() <= 4 * (input + text.size()),
                 qPrintable(QString::number(resolver.GetWork())));
    }
}

void tst_StringUtil::GetKeyValue_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<Variables>("map");
    QTest::addColumn<bool>("ignoreCase");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("expectedValue");

    const Variables two{{u"NAME"_s, u"1"_s}, {u"Name"_s, u"2"_s}};
    QTest::newRow("exact, case counts") << u"Name"_s << two << false << true << u"2"_s;
    QTest::newRow("exact, case ignored") << u"Name"_s << two << true << true << u"2"_s;
    QTest::newRow("different case, case counts") << u"name"_s << two << false << false << u""_s;
    QTest::newRow("different case, first in key order") << u"name"_s << two << true << true << u"1"_s;
    QTest::newRow("missing") << u"Nam"_s << two << true << false << u""_s;
    QTest::newRow("empty map") << u"a"_s << Variables() << true << false << u""_s;
    QTest::newRow("empty key, missing") << u""_s << two << true << false << u""_s;
    QTest::newRow("empty key, present") << u""_s << Variables{{u""_s, u"3"_s}} << false << true << u"3"_s;
    QTest::newRow("empty value") << u"a"_s << Variables{{u"a"_s, u""_s}} << false << true << u""_s;
    QTest::newRow("not trimmed") << u" Name"_s << two << true << false << u""_s;
    QTest::newRow("beyond ASCII") << u"ÄΣ"_s << Variables{{u"äς"_s, u"4"_s}} << true << true << u"4"_s;
    QTest::newRow("no match by full folding")
        << u"ss"_s << Variables{{u"ß"_s, u"5"_s}} << true << false << u""_s;
    QTest::newRow("last of the map") << u"Z"_s << Variables{{u"a"_s, u"1"_s}, {u"z"_s, u"6"_s}} << true
                                     << true << u"6"_s;
}

void tst_StringUtil::GetKeyValue()
{
    QFETCH(const QString, key);
    QFETCH(const Variables, map);
    QFETCH(const bool, ignoreCase);
    QFETCH(const bool, expected);
    QFETCH(const QString, expectedValue);

    QString value = u"old"_s;
    QCOMPARE(StringUtil::GetKeyValue(key, map, value, ignoreCase), expected);
    QCOMPARE(value, expectedValue);
}

void tst_StringUtil::GetKeyValue_replacesOldValue()
{
    QString value = u"old"_s;
    QVERIFY(!StringUtil::GetKeyValue(u"b"_s, {{u"a"_s, u"1"_s}}, value, false));
    QVERIFY(value.isEmpty());
}

void tst_StringUtil::GetKeyValue_valueIsTheKey()
{
    QString text = u"A"_s;
    QVERIFY(StringUtil::GetKeyValue(text, {{u"a"_s, u"1"_s}}, text, true));
    QCOMPARE(text, u"1"_s);
}

void tst_StringUtil::QStringToWchar_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("expected");
    QTest::addColumn<QList<uint>>("expectedBuffer"); // the elements that change, and one more

    const auto row
        = [](const char* name, const QString& text, int size, int expected, const QList<uint>& buffer) {
              QTest::newRow(name) << text << size << expected << buffer;
          };
    constexpr uint kOld = kUntouched;
    row("fits", u"hello"_s, 10, 5, {'h', 'e', 'l', 'l', 'o', 0, kOld});
    row("fits exactly", u"hello"_s, 6, 5, {'h', 'e', 'l', 'l', 'o', 0, kOld});
    row("one too long", u"hello"_s, 5, 4, {'h', 'e', 'l', 'l', 0, kOld});
    row("truncated", u"hello"_s, 3, 2, {'h', 'e', 0, kOld});
    row("space only for the terminator", u"hello"_s, 1, 0, {0, kOld});
    row("no space", u"hello"_s, 0, 0, {kOld});
    row("negative size", u"hello"_s, -1, 0, {kOld});
    row("empty", u""_s, 10, 0, {0, kOld});
    row("null text", QString(), 1, 0, {0, kOld});
    row("empty, no space", u""_s, 0, 0, {kOld});
    row("beyond ASCII", u"ä€"_s, 10, 2, {0xE4, 0x20AC, 0, kOld});
    // One element for two UTF-16 units: the terminator is at the index returned, and the element before it
    // does not change.
    row("surrogate pair", u"😀a"_s, 10, 3, {0x1F600, 'a', kOld, 0, kOld});
    row("two surrogate pairs", u"😀😁"_s, 10, 4, {0x1F600, 0x1F601, kOld, kOld, 0, kOld});
    row("truncated inside a surrogate pair", u"a😀"_s, 3, 2, {'a', QChar::ReplacementCharacter, 0, kOld});
    row("truncated after a character", u"😀a"_s, 3, 2, {0x1F600, kOld, 0, kOld});
    row("NUL inside", u"a\0b"_s, 10, 3, {'a', 0, 'b', 0, kOld});
}

void tst_StringUtil::QStringToWchar()
{
    QFETCH(const QString, text);
    QFETCH(const int, size);
    QFETCH(const int, expected);
    QFETCH(const QList<uint>, expectedBuffer);

    std::array<wchar_t, 16> buffer;
    buffer.fill(kUntouched);
    QCOMPARE(StringUtil::QStringToWchar(text, buffer.data(), size), expected);
    for (std::size_t i = 0; i < buffer.size(); ++i)
        QCOMPARE(static_cast<uint>(buffer[i]), expectedBuffer.value(static_cast<qsizetype>(i), kUntouched));
}

void tst_StringUtil::QStringToWchar_nullBuffer()
{
    QCOMPARE(StringUtil::QStringToWchar(u"hello"_s, nullptr, 0), 5);
    QCOMPARE(StringUtil::QStringToWchar(u"hello"_s, nullptr, 3), 5);
    QCOMPARE(StringUtil::QStringToWchar(u"hello"_s, nullptr, -1), 5);
    QCOMPARE(StringUtil::QStringToWchar(u"😀"_s, nullptr, 0), 2);
    QCOMPARE(StringUtil::QStringToWchar(QString(), nullptr, 0), 0);
}

void tst_StringUtil::QStringToWchar_roundTrip()
{
    const QString text = u"Größe: 10 €, ∑"_s;
    std::array<wchar_t, 64> buffer;

    const int length = StringUtil::QStringToWchar(text, buffer.data(), static_cast<int>(buffer.size()));
    QCOMPARE(QString::fromWCharArray(buffer.data()), text);
    QCOMPARE(QString::fromWCharArray(buffer.data(), length), text);
}

QTEST_GUILESS_MAIN(tst_StringUtil)

#include "tst_StringUtil.moc"
