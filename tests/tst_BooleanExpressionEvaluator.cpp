// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "BooleanExpressionEvaluator.h"
#include "GeneralUtil.h"
#include "support/TestSupport.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QtTest>

#include <cmath>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace {

using Callback = BooleanExpressionEvaluator::OperandCallback;

// The operands for which the callbacks were called, in order. Those that begin with 't' are true, with '?'
// unknown.
QStringList gAsked; // clazy:exclude=non-pod-global-static

bool Answer(const QString& operand, bool& value)
{
    gAsked.append(operand);
    value = operand.startsWith(u't');
    return !operand.startsWith(u'?');
}

// A reference implementation that follows the rules one by one, with strings and patterns: slow, but easy to
// compare with the rules.
class Reference
{
public:
    explicit Reference(Callback callback)
        : mCallback(callback)
    { }

    static bool IsOperator(const QString& token)
    {
        static const QRegularExpression pattern(u"[&|]"_s);
        const QString trimmed = token.trimmed();
        return trimmed.size() == 1 && trimmed.contains(pattern);
    }

    static bool ValidateAndFixBraces(QString& expression)
    {
        expression = expression.trimmed();
        if (expression.isEmpty())
            return true;
        int depth = 0;
        for (const QChar c : std::as_const(expression)) {
            if (c == u'(') {
                ++depth;
            } else if (c == QChar(static_cast<char16_t>(GeneralUtil::GetMatchingBrace(L'(')))) {
                if (depth <= 0)
                    return false;
                --depth;
            }
        }
        if (depth != 0)
            return false;
        while (!expression.isEmpty() && expression.front() == u'('
               && GeneralUtil::FindMatchingBrace(expression, 0) == expression.size() - 1)
            expression = expression.mid(1, expression.size() - 2);
        return true;
    }

    static bool SplitByPrecedence(const QString& expression, QStringList& parts)
    {
        static const QRegularExpression brace(u"[\\(\\)]"_s);
        parts.clear();
        QStringList list;
        if (!FirstPass(expression, list) || list.isEmpty())
            return false;
        if (list.size() == 1 && !list.front().contains(brace)) {
            const QStringList pieces = list.front().split(u'&', Qt::KeepEmptyParts);
            list.clear();
            for (const QString& piece : pieces) {
                if (piece.trimmed().isEmpty())
                    return false;
                if (!list.isEmpty())
                    list.append(u"&"_s);
                list.append(piece.trimmed());
            }
        }
        for (qsizetype i = 0; i < list.size(); ++i) {
            if (IsOperator(list.at(i)) && (i % 2 == 0 || i == list.size() - 1))
                return false;
        }
        parts = list;
        return true;
    }

    [[nodiscard]] bool Evaluate(const QString& expression, bool& value) const
    {
        value = false;
        if (expression.isEmpty() || mCallback == nullptr || expression.trimmed().isEmpty())
            return false;
        QString copy = expression;
        QStringList parts;
        if (!ValidateAndFixBraces(copy) || !SplitByPrecedence(copy, parts))
            return false;
        if (parts.size() == 1) {
            const bool known = mCallback(parts.front(), value);
            value = value && known;
            return known;
        }
        bool accumulator = false;
        for (qsizetype i = 0; i < parts.size(); ++i) {
            if (i % 2 == 0) {
                if (!Evaluate(parts.at(i), accumulator))
                    return false;
            } else {
                if (!IsOperator(parts.at(i)))
                    return false;
                if ((parts.at(i) == "|"_L1 && accumulator) || (parts.at(i) == "&"_L1 && !accumulator))
                    break;
            }
        }
        value = accumulator;
        return true;
    }

private:
    static void AppendIfAny(QStringList& list, const QString& text)
    {
        if (!text.isEmpty())
            list.append(text);
    }

    static bool FirstPass(const QString& expression, QStringList& list)
    {
        static const QRegularExpression nonBlank(u"\\S"_s);
        qsizetype segment = 0;
        for (qsizetype i = 0; i < expression.size(); ++i) {
            if (expression.at(i) == u'(') {
                const QString before = expression.mid(segment, i - segment).trimmed();
                if (before.endsWith(u'&')) {
                    AppendIfAny(list, before.chopped(1).trimmed());
                    list.append(u"&"_s);
                }
                const int close = GeneralUtil::FindMatchingBrace(expression, int(i));
                if (close < 0)
                    return false;
                AppendIfAny(list, expression.mid(i + 1, close - i - 1));
                segment = close + 1;
                const qsizetype next = expression.indexOf(nonBlank, segment);
                if (next >= 0 && (expression.at(next) == u'|' || expression.at(next) == u'&')) {
                    list.append(expression.at(next));
                    segment = next + 1;
                    i = next;
                } else {
                    i = close;
                }
            } else if (expression.at(i) == u'|') {
                AppendIfAny(list, expression.mid(segment, i - segment).trimmed());
                list.append(u"|"_s);
                segment = i + 1;
            } else if (i == expression.size() - 1) {
                AppendIfAny(list, expression.mid(segment).trimmed());
            }
        }
        return true;
    }

    Callback mCallback;
};

// Describes all results for one expression as one text, so that two evaluators are easy to compare.
template <typename Evaluator> QString Describe(const Evaluator& evaluator, const QString& expression)
{
    QString fixed = expression;
    const bool balanced = evaluator.ValidateAndFixBraces(fixed);
    QStringList parts{u"old"_s};
    const bool split = evaluator.SplitByPrecedence(expression, parts);
    gAsked.clear();
    bool value = true;
    const bool evaluated = evaluator.Evaluate(expression, value);
    return u"operator %1; balanced %2, then [%3]; split %4 into [%5]; evaluated %6 as %7, asked [%8]"_s
        .arg(evaluator.IsOperator(expression))
        .arg(balanced)
        .arg(fixed)
        .arg(split)
        .arg(parts.join("]["_L1))
        .arg(evaluated)
        .arg(value)
        .arg(gAsked.join("]["_L1));
}

// Fails, with the expression in a form that can be pasted, if the evaluator and the reference disagree.
bool AgreesWithReference(const QString& expression)
{
    const QString actual = Describe(BooleanExpressionEvaluator(&Answer), expression);
    const QString expected = Describe(Reference(&Answer), expression);
    if (actual == expected)
        return true;
    QString escaped;
    for (const QChar c : expression)
        escaped += c >= u' ' && c <= u'~' ? QString(c) : u"\\x%1"_s.arg(c.unicode(), 4, 16, QChar(u'0'));
    qInfo("%s\n actual   %s\n expected %s", qPrintable(escaped), qPrintable(actual), qPrintable(expected));
    return false;
}

} // namespace

class tst_BooleanExpressionEvaluator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void IsOperator_data();
    void IsOperator();
    void IsOperator_everyCharacter();

    void ValidateAndFixBraces_data();
    void ValidateAndFixBraces();

    void SplitByPrecedence_data();
    void SplitByPrecedence();
    void SplitByPrecedence_clearsPartsOnFailure();
    void SplitByPrecedence_expressionIsOneOfTheParts();
    void SplitByPrecedence_everyCharacterAfterAGroup();
    void Trimming_everyCharacter();

    void Evaluate_data();
    void Evaluate();
    void Evaluate_functionObject_data();
    void Evaluate_functionObject();
    void Evaluate_functionObjectIsCopied();
    void Evaluate_noCallback();
    void Evaluate_operandStartsFalse();
    void Evaluate_valueOfADeclinedOperand();
    void Evaluate_callbackMayChangeTheExpression();
    void Evaluate_keepsNoState();

    void Reference_shortTexts();
    void Reference_randomTexts_data();
    void Reference_randomTexts();

    void DeepNesting_data();
    void DeepNesting();
    void LongList();
};

void tst_BooleanExpressionEvaluator::init()
{
    TestSupport::FailOnAnyMessage();
    gAsked.clear();
}

void tst_BooleanExpressionEvaluator::IsOperator_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<bool>("expected");

    QTest::newRow("and") << u"&"_s << true;
    QTest::newRow("or") << u"|"_s << true;
    QTest::newRow("blanks around") << u" \t& \n"_s << true;
    QTest::newRow("no-break space around") << u"\u00a0|\u00a0"_s << true;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("blank") << u" "_s << false;
    QTest::newRow("doubled") << u"&&"_s << false;
    QTest::newRow("both") << u"&|"_s << false;
    QTest::newRow("blank between") << u"& &"_s << false;
    QTest::newRow("with an operand") << u"& a"_s << false;
    QTest::newRow("operand") << u"a"_s << false;
    QTest::newRow("parenthesis") << u"("_s << false;
    QTest::newRow("bracket of the pattern") << u"["_s << false;
}

void tst_BooleanExpressionEvaluator::IsOperator()
{
    QFETCH(const QString, token);
    QFETCH(const bool, expected);

    QCOMPARE(BooleanExpressionEvaluator(&Answer).IsOperator(token), expected);
}

void tst_BooleanExpressionEvaluator::IsOperator_everyCharacter()
{
    const BooleanExpressionEvaluator evaluator(nullptr);
    for (char32_t code = 0; code <= 0xffff; ++code) {
        const QString token(QChar(static_cast<char16_t>(code)));
        QCOMPARE(evaluator.IsOperator(token), code == U'&' || code == U'|');
    }
}

void tst_BooleanExpressionEvaluator::ValidateAndFixBraces_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("fixed");

    QTest::newRow("empty") << QString() << true << QString();
    QTest::newRow("blank") << u" \t "_s << true << QString();
    QTest::newRow("no braces") << u"  a & b  "_s << true << u"a & b"_s;
    QTest::newRow("one pair") << u"(a)"_s << true << u"a"_s;
    QTest::newRow("two pairs") << u"((a & b))"_s << true << u"a & b"_s;
    QTest::newRow("two groups") << u"(a) & (b)"_s << true << u"(a) & (b)"_s;
    QTest::newRow("two groups in one") << u"((a) & (b))"_s << true << u"(a) & (b)"_s;
    QTest::newRow("blank stops the stripping") << u"( (a) )"_s << true << u" (a) "_s;
    QTest::newRow("blank on the left stops") << u"( (a))"_s << true << u" (a)"_s;
    QTest::newRow("blank on the right stops") << u"((a) )"_s << true << u"(a) "_s;
    QTest::newRow("trimmed only once") << u" ( a ) "_s << true << u" a "_s;
    QTest::newRow("empty pair") << u"()"_s << true << QString();
    QTest::newRow("empty pair in a pair") << u"(())"_s << true << QString();
    QTest::newRow("blank pair") << u"( )"_s << true << u" "_s;
    QTest::newRow("two empty groups") << u"()()"_s << true << u"()()"_s;
    QTest::newRow("two empty groups in one") << u"(()())"_s << true << u"()()"_s;
    QTest::newRow("begins with a group") << u"(a) b"_s << true << u"(a) b"_s;
    QTest::newRow("ends with a group") << u"a (b)"_s << true << u"a (b)"_s;
    QTest::newRow("not closed") << u" (a "_s << false << u"(a"_s;
    QTest::newRow("not opened") << u" a) "_s << false << u"a)"_s;
    QTest::newRow("wrong order") << u")a("_s << false << u")a("_s;
    QTest::newRow("one too many at the end") << u"(a))"_s << false << u"(a))"_s;
    QTest::newRow("one too many at the front") << u"((a)"_s << false << u"((a)"_s;
    QTest::newRow("balanced in number only") << u"(a))((b)"_s << false << u"(a))((b)"_s;
    QTest::newRow("other brackets do not count") << u"([a)"_s << true << u"[a"_s;
    QTest::newRow("braces in quotes count") << u"\"(\""_s << false << u"\"(\""_s;
    QTest::newRow("Unicode blanks are trimmed") << u"\u3000(a)\u2003"_s << true << u"a"_s;
}

void tst_BooleanExpressionEvaluator::ValidateAndFixBraces()
{
    QFETCH(QString, expression);
    QFETCH(const bool, expected);
    QFETCH(const QString, fixed);

    QCOMPARE(BooleanExpressionEvaluator(&Answer).ValidateAndFixBraces(expression), expected);
    QCOMPARE(expression, fixed);
}

void tst_BooleanExpressionEvaluator::SplitByPrecedence_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QStringList>("expected"); // empty after a failure

    const auto row = [](const char* circumstance, const QString& expression, const QStringList& expected) {
        QTest::newRow(circumstance) << expression << expected;
    };
    row("empty", QString(), {});
    row("blank", u"  "_s, {});
    row("one operand", u" big cat "_s, {u"big cat"_s});
    row("and", u"a&b"_s, {u"a"_s, u"&"_s, u"b"_s});
    row("three by and", u"a & b & c"_s, {u"a"_s, u"&"_s, u"b"_s, u"&"_s, u"c"_s});
    row("or", u"a|b"_s, {u"a"_s, u"|"_s, u"b"_s});
    row("or before and", u"a | b & c"_s, {u"a"_s, u"|"_s, u"b & c"_s});
    row("and before or", u"a & b | c"_s, {u"a & b"_s, u"|"_s, u"c"_s});
    row("or between two chains", u" a & b|c&d "_s, {u"a & b"_s, u"|"_s, u"c&d"_s});
    row("group after and", u"a & (b | c)"_s, {u"a"_s, u"&"_s, u"b | c"_s});
    row("group after a chain", u"a & b & (c)"_s, {u"a & b"_s, u"&"_s, u"c"_s});
    row("group after or", u"a | (b & c)"_s, {u"a"_s, u"|"_s, u"b & c"_s});
    row("group before and", u"(a | b) & c"_s, {u"a | b"_s, u"&"_s, u"c"_s});
    row("group before or", u"(a & b)|c"_s, {u"a & b"_s, u"|"_s, u"c"_s});
    row("mixed after a group", u"(a) & b | c"_s, {u"a"_s, u"&"_s, u"b"_s, u"|"_s, u"c"_s});
    row("chain after a group", u"(a) & b & c"_s, {u"a"_s, u"&"_s, u"b & c"_s});
    row("two groups", u"(a) & (b)"_s, {u"a"_s, u"&"_s, u"b"_s});
    row("three groups", u"(a)|(b)&(c)"_s, {u"a"_s, u"|"_s, u"b"_s, u"&"_s, u"c"_s});
    row("content of a group is not trimmed", u"( a ) & b"_s, {u" a "_s, u"&"_s, u"b"_s});
    row("group in a group", u"a & ((b) | c)"_s, {u"a"_s, u"&"_s, u"(b) | c"_s});
    row("single group", u"(a)"_s, {u"a"_s});
    row("single group is split at and", u"(a & b)"_s, {u"a"_s, u"&"_s, u"b"_s});
    row("single group is not split at or", u"(a | b & c)"_s, {u"a | b"_s, u"&"_s, u"c"_s});
    row("single group in a group is kept", u"( (a & b) )"_s, {u" (a & b) "_s});
    row("text before a group is dropped", u"x (y)"_s, {u"y"_s});
    row("chain before a group is dropped", u"a & b (c)"_s, {u"c"_s});
    row("text between groups is dropped", u"(a) | x (b)"_s, {u"a"_s, u"|"_s, u"b"_s});
    row("text between groups without an operator is dropped", u"(a) x (b)"_s, {u"a"_s, u"b"_s});
    row("two operands in a row", u"(a) b"_s, {u"a"_s, u"b"_s});
    row("operand at an odd place", u"(a) b & c"_s, {u"a"_s, u"b & c"_s});
    row("operator in a group at an odd place", u"(a) ( & ) b"_s, {u"a"_s, u" & "_s, u"b"_s});
    row("empty group", u"()"_s, {});
    row("empty group vanishes", u"() a"_s, {u"a"_s});
    row("empty group after an operand", u"a | b ()"_s, {});
    row("empty group as an operand", u"a & ()"_s, {});
    row("empty group before an operator", u"() & a"_s, {});
    row("blank group is a part", u"a | ( )"_s, {u"a"_s, u"|"_s, u" "_s});
    row("blank group alone", u"( )"_s, {});
    row("and doubled", u"a & & b"_s, {});
    row("or doubled", u"a | | b"_s, {});
    row("and before or, nothing between", u"a & | b"_s, {u"a &"_s, u"|"_s, u"b"_s});
    row("or before and, nothing between", u"a | & b"_s, {u"a"_s, u"|"_s, u"& b"_s});
    row("and at the end", u"a &"_s, {});
    row("and at the front", u"& a"_s, {});
    row("or at the end", u"a |"_s, {});
    row("or at the end, then a blank", u"a | "_s, {});
    row("or at the front", u"| a"_s, {});
    row("and alone", u"&"_s, {});
    row("or alone", u"|"_s, {});
    row("and before a group alone", u"& (a)"_s, {});
    row("and doubled before a group", u"a & & (b)"_s, {u"a &"_s, u"&"_s, u"b"_s});
    row("and after and before a group", u"(a) & & (b)"_s, {});
    row("operator after a group at the end", u"(a) & "_s, {});
    row("operator in a group", u"(&)"_s, {});
    row("not closed", u"a & (b"_s, {});
    row("not closed, second group", u"(a) | (b"_s, {});
    row("not opened", u"a) | b"_s, {u"a)"_s, u"|"_s, u"b"_s});
    row("not opened, alone", u"a & b)"_s, {u"a & b)"_s});
    row("tabs and line endings", u"\ta\n&\r\n(b)\f|\vc "_s, {u"a"_s, u"&"_s, u"b"_s, u"|"_s, u"c"_s});
    row("no-break space is not a blank after a group", u"(a)\u00a0& b"_s, {u"a"_s, u"& b"_s});
}

void tst_BooleanExpressionEvaluator::SplitByPrecedence()
{
    QFETCH(const QString, expression);
    QFETCH(const QStringList, expected);

    QStringList parts{u"old"_s};
    QCOMPARE(BooleanExpressionEvaluator(&Answer).SplitByPrecedence(expression, parts), !expected.isEmpty());
    QCOMPARE(parts, expected);
}

void tst_BooleanExpressionEvaluator::SplitByPrecedence_clearsPartsOnFailure()
{
    QStringList parts{u"old"_s};
    QVERIFY(!BooleanExpressionEvaluator(&Answer).SplitByPrecedence(u"a | (b"_s, parts));
    QCOMPARE(parts, QStringList());
}

void tst_BooleanExpressionEvaluator::SplitByPrecedence_expressionIsOneOfTheParts()
{
    const BooleanExpressionEvaluator evaluator(&Answer);
    QStringList parts;
    QVERIFY(evaluator.SplitByPrecedence(u"a & (b | c)"_s, parts));
    QVERIFY(evaluator.SplitByPrecedence(parts.at(2), parts));
    QCOMPARE(parts, QStringList({u"b"_s, u"|"_s, u"c"_s}));
}

void tst_BooleanExpressionEvaluator::SplitByPrecedence_everyCharacterAfterAGroup()
{
    // The pattern "\S" decides which characters may stand between a group and its operator.
    for (char32_t code = 0; code <= 0xffff; ++code) {
        const QString expression = "(a)"_L1 + QChar(static_cast<char16_t>(code)) + "& b"_L1;
        if (!AgreesWithReference(expression))
            QFAIL(qPrintable(u"U+%1"_s.arg(uint(code), 4, 16)));
    }
}

void tst_BooleanExpressionEvaluator::Trimming_everyCharacter()
{
    for (char32_t code = 0; code <= 0xffff; ++code) {
        const QChar c(static_cast<char16_t>(code));
        if (!AgreesWithReference(QString(c) + u't' + c + u'|' + c + "f"_L1 + c))
            QFAIL(qPrintable(u"U+%1"_s.arg(uint(code), 4, 16)));
    }
}

// Operands: t... is true, f... is false, ?... is unknown.
void tst_BooleanExpressionEvaluator::Evaluate_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<bool>("value");
    QTest::addColumn<QStringList>("asked");

    const auto row = [](const char* circumstance, const QString& expression, bool expected, bool value,
                        const QStringList& asked) {
        QTest::newRow(circumstance) << expression << expected << value << asked;
    };
    row("empty", QString(), false, false, {});
    row("blank", u" \n "_s, false, false, {});
    row("true operand", u"t"_s, true, true, {u"t"_s});
    row("false operand", u"f"_s, true, false, {u"f"_s});
    row("unknown operand", u"?"_s, false, false, {u"?"_s});
    row("operand is trimmed", u"  t 1\t"_s, true, true, {u"t 1"_s});
    row("operand in braces", u"((t))"_s, true, true, {u"t"_s});
    row("operand in braces with blanks", u"( t )"_s, true, true, {u"t"_s});
    row("and, both true", u"t1 & t2"_s, true, true, {u"t1"_s, u"t2"_s});
    row("and, second false", u"t & f"_s, true, false, {u"t"_s, u"f"_s});
    row("and, first false", u"f & t"_s, true, false, {u"f"_s});
    row("or, first true", u"t | f"_s, true, true, {u"t"_s});
    row("or, second true", u"f | t"_s, true, true, {u"f"_s, u"t"_s});
    row("or, both false", u"f1 | f2"_s, true, false, {u"f1"_s, u"f2"_s});
    row("skipped unknown operand, or", u"t | ?"_s, true, true, {u"t"_s});
    row("skipped unknown operand, and", u"f & ?"_s, true, false, {u"f"_s});
    row("evaluated unknown operand, or", u"f | ?"_s, false, false, {u"f"_s, u"?"_s});
    row("evaluated unknown operand, and", u"t & ?"_s, false, false, {u"t"_s, u"?"_s});
    row("or before and", u"t | f1 & f2"_s, true, true, {u"t"_s});
    row("or before and, first false", u"f | t1 & t2"_s, true, true, {u"f"_s, u"t1"_s, u"t2"_s});
    row("and before or", u"f & t1 | t2"_s, true, true, {u"f"_s, u"t2"_s});
    row("group after and", u"t1 & (f | t2)"_s, true, true, {u"t1"_s, u"f"_s, u"t2"_s});
    row("group skipped", u"f & (t | ?)"_s, true, false, {u"f"_s});
    row("no precedence after a group", u"(f) & t1 | t2"_s, true, false, {u"f"_s});
    row("no precedence after a group, true", u"(t) & f | t2"_s, true, true, {u"t"_s, u"f"_s, u"t2"_s});
    row("or after a group ends the list", u"(t) | t2 & f"_s, true, true, {u"t"_s});
    row("text before a group is dropped", u"? (t)"_s, true, true, {u"t"_s});
    row("chain before a group is dropped", u"f & ? (t)"_s, true, true, {u"t"_s});
    row("operand in place of an operator", u"(t) b"_s, false, false, {u"t"_s});
    row("operand in place of an operator, first false", u"(f) b"_s, false, false, {u"f"_s});
    row("skipped operand in place of an operator", u"(f) & (t) b"_s, true, false, {u"f"_s});
    row("skipped mistake in a group", u"t | (a & & b)"_s, true, true, {u"t"_s});
    row("evaluated mistake in a group", u"f | (a & & b)"_s, false, false, {u"f"_s});
    row("skipped empty operand of a chain", u"t | & b"_s, true, true, {u"t"_s});
    row("evaluated empty operand of a chain", u"f | & b"_s, false, false, {u"f"_s});
    row("skipped blank group", u"t | ( )"_s, true, true, {u"t"_s});
    row("evaluated blank group", u"f | ( )"_s, false, false, {u"f"_s});
    row("braces do not balance", u"t | (a"_s, false, false, {});
    row("braces in the wrong order", u")a("_s, false, false, {});
    row("empty braces", u"()"_s, false, false, {});
    row("and doubled", u"t & & t"_s, false, false, {});
    row("or at the end", u"t |"_s, false, false, {});
    row("and at the front", u"& t"_s, false, false, {});
    row("operator alone", u"|"_s, false, false, {});
    row("blanks in operands", u"f big cat | t dog"_s, true, true, {u"f big cat"_s, u"t dog"_s});
    row("single part is passed unchanged", u"x ( (t) )"_s, true, false, {u" (t) "_s});
    row("single group that is stripped to a group", u"( (t | f) )"_s, true, true, {u"t | f"_s});
    row("operator in a group", u"(t) (&) f"_s, true, false, {u"t"_s, u"f"_s});
    row("operator in a group decides", u"(f) (&) t"_s, true, false, {u"f"_s});
    row("operator with blanks in a group does not decide", u"(f) ( & ) t"_s, true, true, {u"f"_s, u"t"_s});
    row("three levels", u"t1 & (f1 | (t2 & (f2 | t3)))"_s, true, true,
        {u"t1"_s, u"f1"_s, u"t2"_s, u"f2"_s, u"t3"_s});
    row("operand beyond ASCII", u"t\u00e4 & t\u65e5\u672c"_s, true, true, {u"t\u00e4"_s, u"t\u65e5\u672c"_s});
    row("'!' does not negate", u"!t"_s, true, false, {u"!t"_s});
    row("'true' is not a literal", u"true | 1"_s, true, true, {u"true"_s});
}

void tst_BooleanExpressionEvaluator::Evaluate()
{
    QFETCH(const QString, expression);
    QFETCH(const bool, expected);
    QFETCH(const bool, value);
    QFETCH(const QStringList, asked);

    bool result = true;
    QCOMPARE(BooleanExpressionEvaluator(&Answer).Evaluate(expression, result), expected);
    QCOMPARE(result, value);
    QCOMPARE(gAsked, asked);
}

void tst_BooleanExpressionEvaluator::Evaluate_functionObject_data()
{
    Evaluate_data();
}

void tst_BooleanExpressionEvaluator::Evaluate_functionObject()
{
    QFETCH(const QString, expression);
    QFETCH(const bool, expected);
    QFETCH(const bool, value);
    QFETCH(const QStringList, asked);

    QStringList heard; // captured, so a function pointer would not work
    const auto answer = [&heard](const QString& operand, bool& operandValue) {
        heard.append(operand);
        return Answer(operand, operandValue);
    };
    bool result = true;
    QCOMPARE(BooleanExpressionEvaluator(answer).Evaluate(expression, result), expected);
    QCOMPARE(result, value);
    QCOMPARE(heard, asked);

    const BooleanExpressionEvaluator::OperandFunction function = answer;
    result = !value;
    QCOMPARE(BooleanExpressionEvaluator(function).Evaluate(expression, result), expected);
    QCOMPARE(result, value);
}

void tst_BooleanExpressionEvaluator::Evaluate_functionObjectIsCopied()
{
    // The evaluator outlives the function object that it was constructed from, and copying copies it.
    std::optional<BooleanExpressionEvaluator> evaluator;
    {
        const QString known = u"open"_s;
        evaluator.emplace([known](const QString& operand, bool& value) {
            value = true;
            return operand == known;
        });
    }
    const BooleanExpressionEvaluator copy = *evaluator; // NOLINT(performance-unnecessary-copy-initialization)
    bool value = false;
    QCOMPARE(copy.Evaluate(u"open & open"_s, value), true);
    QCOMPARE(value, true);
    QCOMPARE(copy.Evaluate(u"open & saved"_s, value), false);
    QCOMPARE(value, false);
}

void tst_BooleanExpressionEvaluator::Evaluate_noCallback()
{
    bool unused = true;
    QCOMPARE(
        BooleanExpressionEvaluator(BooleanExpressionEvaluator::OperandFunction()).Evaluate(u"a"_s, unused),
        false);
    QCOMPARE(unused, false);
    const BooleanExpressionEvaluator evaluator(nullptr);
    for (const QString& expression : {QString(), u"a"_s, u"a & b"_s, u")"_s}) {
        bool value = true;
        QCOMPARE(evaluator.Evaluate(expression, value), false);
        QCOMPARE(value, false);
    }
    QStringList parts;
    QCOMPARE(evaluator.SplitByPrecedence(u"a & b"_s, parts), true); // works without a callback
}

void tst_BooleanExpressionEvaluator::Evaluate_operandStartsFalse()
{
    // The callback always receives the value false, even after an operand that was true.
    const BooleanExpressionEvaluator evaluator([](const QString& operand, bool& value) {
        gAsked.append(operand + (value ? " true"_L1 : " false"_L1));
        if (operand == "t"_L1)
            value = true;
        return true;
    });
    bool value = true;
    QVERIFY(evaluator.Evaluate(u"t & t & x"_s, value));
    QCOMPARE(value, false);
    QCOMPARE(gAsked, QStringList({u"t false"_s, u"t false"_s, u"x false"_s}));
    value = true;
    QVERIFY(evaluator.Evaluate(u"x"_s, value));
    QCOMPARE(value, false);
}

void tst_BooleanExpressionEvaluator::Evaluate_valueOfADeclinedOperand()
{
    const BooleanExpressionEvaluator evaluator([](const QString& operand, bool& value) {
        value = true;
        return operand != "declined"_L1;
    });
    for (const QString& expression : {u"declined"_s, u"a & declined"_s, u"a & (b & declined)"_s}) {
        bool value = true;
        QCOMPARE(evaluator.Evaluate(expression, value), false);
        QCOMPARE(value, false);
    }
}

void tst_BooleanExpressionEvaluator::Evaluate_callbackMayChangeTheExpression()
{
    static QString expression;
    expression = u"first operand & (second operand | third operand)"_s;
    expression.detach(); // the literal's data would never be freed
    const BooleanExpressionEvaluator evaluator([](const QString& operand, bool& value) {
        gAsked.append(operand);
        expression.fill(u'#');
        expression.clear();
        value = operand.startsWith(u'f');
        return true;
    });
    bool value = true;
    QVERIFY(evaluator.Evaluate(expression, value));
    QCOMPARE(value, false);
    QCOMPARE(gAsked, QStringList({u"first operand"_s, u"second operand"_s, u"third operand"_s}));
}

void tst_BooleanExpressionEvaluator::Evaluate_keepsNoState()
{
    const BooleanExpressionEvaluator evaluator(&Answer);
    for (int i = 0; i < 2; ++i) {
        bool value = false;
        QVERIFY(evaluator.Evaluate(u"t & (f | t)"_s, value));
        QCOMPARE(value, true);
        QVERIFY(!evaluator.Evaluate(u"t & (f | ?"_s, value));
        QCOMPARE(value, false);
    }
}

void tst_BooleanExpressionEvaluator::Reference_shortTexts()
{
    // Every text of up to six of these characters.
    const QString alphabet = u"t&|() "_s;
    for (int length = 0; length <= 6; ++length) {
        QString text(length, alphabet.front());
        const auto count = static_cast<int>(std::pow(alphabet.size(), length));
        for (int i = 0; i < count; ++i) {
            for (int k = 0, rest = i; k < length; ++k, rest /= int(alphabet.size()))
                text[k] = alphabet.at(rest % alphabet.size());
            QVERIFY(AgreesWithReference(text));
        }
    }
}

void tst_BooleanExpressionEvaluator::Reference_randomTexts_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<int>("longest");

    const QStringList plain{u"t"_s, u"f"_s, u"?"_s, u"&"_s, u"|"_s, u"("_s, u")"_s, u" "_s};
    QTest::newRow("short") << plain << 12;
    QTest::newRow("long") << plain << 60;
    QTest::newRow("mostly well formed")
        << QStringList{u"t & "_s,  u"f | "_s, u"(t | f) & "_s, u"(t) | "_s, u"(f & "_s,
                       u"t) & "_s, u"f)"_s,   u"? | "_s,       u"t"_s}
        << 12;
    QTest::newRow("white space of all kinds") << plain
            + QStringList{u"\t"_s, u"\n"_s, u"\u0085"_s, u"\u00a0"_s, u"\u2003"_s, u"\u3000"_s, u"\u200b"_s}
                                              << 30;
    QTest::newRow("unpaired surrogates")
        << plain + QStringList{QString(QChar(u'\xd800')), QString(QChar(u'\xdc00')), u"\U0001F600"_s} << 20;
}

void tst_BooleanExpressionEvaluator::Reference_randomTexts()
{
    QFETCH(const QStringList, pieces);
    QFETCH(const int, longest);

    QRandomGenerator random(20261121); // the same texts in every run
    for (int i = 0; i < 40'000; ++i) {
        QString text;
        for (int k = random.bounded(longest + 1); k > 0; --k)
            text += pieces.at(random.bounded(int(pieces.size())));
        QVERIFY(AgreesWithReference(text));
    }
}

void tst_BooleanExpressionEvaluator::DeepNesting_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<int>("asked");

    // This takes milliseconds if each level is read once, but minutes, which is beyond the time-out, if each
    // level reads all levels below it.
    constexpr int kDepth = 200'000;
    const auto repeated = [](const QString& text) { return text.repeated(kDepth); };
    QTest::newRow("pairs around one operand") << repeated(u"("_s) + u't' + repeated(u")"_s) << true << 1;
    QTest::newRow("pairs with blanks") << repeated(u"( "_s) + u't' + repeated(u" )"_s) << true << 1;
    QTest::newRow("only opened") << repeated(u"("_s) << false << 0;
    QTest::newRow("only closed") << repeated(u")"_s) << false << 0;
    QTest::newRow("nested empty pairs") << repeated(u"("_s) + repeated(u")"_s) << false << 0;
    QTest::newRow("empty pairs in a row") << repeated(u"()"_s) << false << 0;
    QTest::newRow("nested on the right")
        << repeated(u"t&("_s) + u't' + repeated(u")"_s) << true << kDepth + 1;
    QTest::newRow("nested on the left") << repeated(u"("_s) + u't' + repeated(u")&t"_s) << true << kDepth + 1;
    QTest::newRow("nested on the right, not needed")
        << repeated(u"f&("_s) + u't' + repeated(u")"_s) << true << 1;
    QTest::newRow("nested by or") << repeated(u"f|("_s) + u't' + repeated(u")"_s) << true << kDepth + 1;
    QTest::newRow("unknown in the innermost")
        << repeated(u"t&("_s) + u'?' + repeated(u")"_s) << false << kDepth + 1;
    QTest::newRow("mistake in the innermost")
        << repeated(u"t&("_s) + "t&"_L1 + repeated(u")"_s) << false << kDepth;
    QTest::newRow("unpaired surrogate in the innermost")
        << repeated(u"t&("_s) + "t "_L1 + QChar(u'\xd800') + repeated(u")"_s) << true << kDepth + 1;
    QTest::newRow("one brace not closed")
        << repeated(u"t&("_s) + u't' + repeated(u")"_s).chopped(1) << false << 0;
    QTest::newRow("blanks and groups alternating") << repeated(u"(t)  & "_s) + u't' << true << kDepth + 1;
}

void tst_BooleanExpressionEvaluator::DeepNesting()
{
    QFETCH(QString, expression);
    QFETCH(const bool, expected);
    QFETCH(const int, asked);

    const BooleanExpressionEvaluator evaluator(&Answer);
    bool value = false;
    QCOMPARE(evaluator.Evaluate(expression, value), expected);
    QCOMPARE(gAsked.size(), asked);
    QStringList parts;
    static_cast<void>(evaluator.SplitByPrecedence(expression, parts));
    static_cast<void>(evaluator.ValidateAndFixBraces(expression));
}

void tst_BooleanExpressionEvaluator::LongList()
{
    constexpr int kCount = 100'000;
    const BooleanExpressionEvaluator evaluator(&Answer);
    for (const QString& expression : {u"f|"_s.repeated(kCount) + u't', u"t & "_s.repeated(kCount) + u't'}) {
        gAsked.clear();
        bool value = false;
        QVERIFY(evaluator.Evaluate(expression, value));
        QCOMPARE(value, true);
        QCOMPARE(gAsked.size(), kCount + 1);
    }
}

QTEST_GUILESS_MAIN(tst_BooleanExpressionEvaluator)

#include "tst_BooleanExpressionEvaluator.moc"
