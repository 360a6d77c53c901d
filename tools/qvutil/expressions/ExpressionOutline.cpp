// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExpressionOutline.h"

#include "cli/TextWidth.h"
#include <qvutil/expressions/BooleanExpressionEvaluation_p.h>

#include <QHash>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::BooleanExpressionEvaluation;
using Quorvin::Util::Internal::BooleanExpressionText;

namespace Quorvin::Tool {
namespace {

// Limits for the search for operands that are never consulted: number of evaluations, and of characters read
// by them. At these limits, the search takes a few tenths of a second.
constexpr qsizetype kMaxEvaluations = 10'000;
constexpr qsizetype kMaxCharacters = 5'000'000;

QString KindName(ExpressionProblem::ProblemKind kind)
{
    switch (kind) {
    case ExpressionProblem::Unbalanced:
        return u"unbalanced"_s;
    case ExpressionProblem::Empty:
        return u"empty"_s;
    case ExpressionProblem::NoOperator:
        return u"no-operator"_s;
    case ExpressionProblem::Dropped:
        return u"dropped"_s;
    case ExpressionProblem::Mixed:
        return u"mixed"_s;
    case ExpressionProblem::Unreachable:
        return u"unreachable"_s;
    case ExpressionProblem::Unknown:
        return u"unknown"_s;
    case ExpressionProblem::Foreign:
        return u"foreign"_s;
    }
    return {};
}

/// Enumerates all combinations of the operands' values, like an odometer: each evaluation repeats the values
/// of the previous one, except that the last false value becomes true.
class AnswerSequence
{
public:
    void Restart()
    {
        mKnown.clear();
        mUsed = 0;
    }
    [[nodiscard]] bool Next(const QString& operand)
    {
        if (const auto known = mKnown.constFind(operand); known != mKnown.constEnd())
            return *known;
        if (mUsed == mAnswers.size())
            mAnswers.append(false);
        return *mKnown.insert(operand, mAnswers.at(mUsed++));
    }
    /// \return false if there is no further combination
    [[nodiscard]] bool Advance()
    {
        while (!mAnswers.isEmpty() && mAnswers.last())
            mAnswers.removeLast();
        if (mAnswers.isEmpty())
            return false;
        mAnswers.last() = true;
        return true;
    }

private:
    QList<bool> mAnswers; // in the order in which the operands are first consulted
    QHash<QString, bool> mKnown;
    qsizetype mUsed = 0;
};

} // namespace

QJsonObject ExpressionProblem::ToJson() const
{
    return {{u"kind"_s, KindName(Kind)},
            {u"column"_s, Where.Begin + 1},
            {u"length"_s, Where.End - Where.Begin},
            {u"reason"_s, Reason}};
}

QString WhyForeign(const QString& operand)
{
    const QStringList words = operand.simplified().split(u' ');
    if (operand.startsWith(u'!') || operand.startsWith(u'~')) {
        return u"'%1' is part of this operand's name: there is no \"not\" in expressions"_s.arg(
            operand.front());
    }
    if (words.size() > 1 && words.front().compare("not"_L1, Qt::CaseInsensitive) == 0) {
        return u"'%1' is part of this operand's name: there is no \"not\" in expressions"_s.arg(
            words.front());
    }
    // In lower case, both words are common in names.
    if (words.contains("AND"_L1))
        return u"'AND' is part of this operand's name: write '&'"_s;
    if (words.contains("OR"_L1))
        return u"'OR' is part of this operand's name: write '|'"_s;
    return {};
}

ExpressionOutline::ExpressionOutline(const QString& expression)
    : mText(expression)
    , mStructure(mText)
{
    const qsizetype unpaired = mStructure.FindUnpaired(mStructure.Whole());
    if (unpaired >= 0) {
        const bool isOpen = mText.at(unpaired) == u'(';
        mProblems.append({ExpressionProblem::Unbalanced,
                          {unpaired, unpaired + 1},
                          isOpen ? u"this '(' is not closed"_s : u"this ')' has no matching '('"_s});
        return;
    }
    Build();
    std::stable_sort(mProblems.begin(), mProblems.end(), [](const auto& left, const auto& right) {
        return left.Where.Begin < right.Where.Begin;
    });
}

void ExpressionOutline::Build()
{
    QSet<QString> names;
    mPending = {{Part::List, mStructure.Whole(), 0}};
    while (!mPending.isEmpty()) {
        const Part part = mPending.takeLast();
        if (part.Kind == Part::Operator) {
            mParts.append(part);
            continue;
        }
        const Range content = mStructure.WithoutBraces(mStructure.Trimmed(part.Where));
        BooleanExpressionText::Ranges ranges;
        BooleanExpressionText::Notes notes;
        const bool isSplit = mStructure.Split(content, ranges, &notes);
        for (const Range dropped : notes.Dropped) {
            mProblems.append(
                {ExpressionProblem::Dropped, dropped, u"text before '(' is ignored unless '&' joins them"_s});
        }
        if (!isSplit) {
            const bool isOperator = mStructure.Operator(notes.Mistake) != 0;
            mProblems.append(
                {ExpressionProblem::Empty, notes.Mistake,
                 isOperator ? WhyOperandIsMissing(notes.Mistake) : u"an operand is missing here"_s});
        } else if (ranges.size() == 1) {
            mParts.append({Part::Operand, ranges.first(), part.Depth});
            const QString name = TextOf(ranges.first());
            if (!names.contains(name))
                mOperands.append(name);
            names.insert(name);
        } else {
            AddList(ranges, content, part.Depth);
        }
    }
}

QString ExpressionOutline::WhyOperandIsMissing(Range operatorRange) const
{
    const QChar sign = mText.at(operatorRange.Begin);
    const QString twice(2, sign);
    const QStringView around
        = QStringView(mText).sliced(std::max<qsizetype>(operatorRange.Begin - 1, 0)).left(3);
    return around.contains(twice) ? u"'%1' is not an operator: write '%2'"_s.arg(twice, sign)
                                  : u"an operand is missing next to this operator"_s;
}

// Adds a list to the parts, and its entries to the pending parts.
void ExpressionOutline::AddList(const BooleanExpressionText::Ranges& parts, Range content, int depth)
{
    mParts.append({Part::List, content, depth});
    char16_t first = 0;
    bool isMixed = false;
    for (qsizetype i = parts.size() - 1; i >= 0; --i) {
        const bool isOperator = i % 2 == 1;
        const char16_t sign = mStructure.Operator(parts[i]);
        if (isOperator && sign == 0) {
            mProblems.append(
                {ExpressionProblem::NoOperator, parts[i], u"an operator is missing before this operand"_s});
        }
        isMixed = isMixed || (isOperator && first != 0 && sign != 0 && sign != first);
        if (isOperator && sign != 0)
            first = sign;
        mPending.append({isOperator && sign != 0 ? Part::Operator : Part::List, parts[i], depth + 1});
    }
    if (isMixed) {
        mProblems.append(
            {ExpressionProblem::Mixed, content,
             u"'&' and '|' are applied from left to right here, because a group precedes them"_s});
    }
}

const ExpressionProblem* ExpressionOutline::Mistake() const
{
    const auto mistake = std::find_if(mProblems.cbegin(), mProblems.cend(),
                                      [](const ExpressionProblem& problem) { return problem.IsMistake(); });
    return mistake != mProblems.cend() ? &*mistake : nullptr;
}

ExpressionOutline::Trace ExpressionOutline::Evaluate(const Answer& answer) const
{
    Trace trace;
    qsizetype next = 0; // operands are consulted in the order of the parts
    BooleanExpressionEvaluation evaluation(mStructure, [&](Range operand, bool& value) {
        while (next < mParts.size()
               && (mParts.at(next).Kind != Part::Operand || mParts.at(next).Where.Begin != operand.Begin))
            ++next;
        const std::optional<bool> known = answer(TextOf(operand));
        value = known.value_or(false);
        trace.Consulted.append(next);
        trace.Values.append(value);
        return known.has_value();
    });
    trace.Done = evaluation.Run(trace.Value);
    return trace;
}

QList<qsizetype> ExpressionOutline::FindUnreachable(bool& complete) const
{
    QSet<qsizetype> unreached;
    for (qsizetype i = 0; i < mParts.size(); ++i) {
        if (mParts.at(i).Kind == Part::Operand)
            unreached.insert(i);
    }
    AnswerSequence answers;
    complete = true;
    const qsizetype most = std::min(kMaxEvaluations, 1 + kMaxCharacters / (mText.size() + 1));
    for (qsizetype i = 0; !unreached.isEmpty(); ++i) {
        if (i == most) {
            complete = false;
            return {};
        }
        answers.Restart();
        const Trace trace
            = Evaluate([&answers](const QString& operand) { return std::optional(answers.Next(operand)); });
        for (const qsizetype consulted : trace.Consulted)
            unreached.remove(consulted);
        if (!answers.Advance())
            break;
    }
    QList<qsizetype> result(unreached.cbegin(), unreached.cend());
    std::sort(result.begin(), result.end());
    return result;
}

QString ExpressionOutline::Marked(Range range) const
{
    QString text = mText;
    for (QChar& c : text) {
        if (c == u'\t' || c == u'\n' || c == u'\r')
            c = u' '; // to keep the marks aligned with the text
    }
    const qsizetype start = ColumnsOf(text.left(range.Begin));
    const QString marked = text.mid(range.Begin, std::max<qsizetype>(range.End - range.Begin, 0));
    const qsizetype length = std::max<qsizetype>(ColumnsOf(marked), 1);
    return u"  "_s + text + u"\n  "_s + QString(start, u' ') + u'^' + QString(length - 1, u'~');
}

} // namespace Quorvin::Tool
