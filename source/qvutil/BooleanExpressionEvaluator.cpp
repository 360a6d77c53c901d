// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "BooleanExpressionEvaluator.h"

#include "BooleanExpressionText_p.h"

#include <QVarLengthArray>

using Quorvin::Util::BooleanExpressionText;

namespace {

// One evaluation. Groups within groups are kept in lists of its own rather than on the stack, which a deeply
// nested expression would overflow.
class Evaluation
{
public:
    Evaluation(const BooleanExpressionText& text, BooleanExpressionEvaluator::OperandCallback callback)
        : mText(text)
        , mCallback(callback)
    { }

    [[nodiscard]] bool Run()
    {
        if (!Enter(mText.Whole()))
            return false;
        while (!mLevels.isEmpty()) {
            if (!Advance())
                return false;
        }
        return true;
    }
    [[nodiscard]] bool Value() const { return mValue; }

private:
    using Range = BooleanExpressionText::Range;

    // A list of operands and operators that is being worked through. Its parts are the last ones of mParts.
    struct Level
    {
        qsizetype First;
        qsizetype Next;
    };

    // Begins with an operand: asks for it, or splits it and leaves its parts to Advance.
    [[nodiscard]] bool Enter(Range operand)
    {
        mValue = false;
        const qsizetype first = mParts.size();
        const Range trimmed = mText.Trimmed(operand);
        if (!mText.IsBalanced(trimmed) || !mText.Split(mText.WithoutBraces(trimmed), mParts))
            return false;
        if (mParts.size() > first + 1) {
            mLevels.append({first, first});
            return true;
        }
        const QString name = mText.View(mParts.last()).toString();
        mParts.removeLast();
        return mCallback(name, mValue);
    }

    // Goes on with the innermost list: mValue is that of its operands so far.
    [[nodiscard]] bool Advance()
    {
        Level& level = mLevels.last();
        if (level.Next > level.First) {
            if (level.Next == mParts.size())
                return Leave();
            const Range part = mParts[level.Next++];
            if (mText.Operator(part) == 0)
                return false;
            // Only a bare operator can decide early; one that was written in a group of its own, with blanks
            // around it, cannot.
            const QStringView token = mText.View(part);
            if ((mValue && token == u'|') || (!mValue && token == u'&'))
                return Leave();
        }
        return Enter(mParts[level.Next++]);
    }

    bool Leave()
    {
        mParts.resize(mLevels.last().First);
        mLevels.removeLast();
        return true;
    }

    const BooleanExpressionText& mText;
    const BooleanExpressionEvaluator::OperandCallback mCallback;
    bool mValue = false; // of the operand that was evaluated last
    BooleanExpressionText::Ranges mParts;
    QVarLengthArray<Level, 16> mLevels;
};

} // namespace

BooleanExpressionEvaluator::BooleanExpressionEvaluator(OperandCallback callback)
    : mCallback(callback)
{ }

bool BooleanExpressionEvaluator::Evaluate(const QString& expression, bool& value) const
{
    value = false;
    if (mCallback == nullptr)
        return false;
    const QString copy = expression; // the callback may change the host's
    const BooleanExpressionText text(copy);
    Evaluation evaluation(text, mCallback);
    if (!evaluation.Run())
        return false;
    value = evaluation.Value();
    return true;
}

bool BooleanExpressionEvaluator::ValidateAndFixBraces(QString& expression) const
{
    expression = expression.trimmed();
    const BooleanExpressionText text(expression);
    if (!text.IsBalanced(text.Whole()))
        return false;
    expression = text.View(text.WithoutBraces(text.Whole())).toString();
    return true;
}

bool BooleanExpressionEvaluator::SplitByPrecedence(const QString& expression, QStringList& parts) const
{
    const QString copy = expression; // it may be one of the parts
    parts.clear();
    const BooleanExpressionText text(copy);
    BooleanExpressionText::Ranges ranges;
    if (!text.Split(text.Whole(), ranges))
        return false;
    parts.reserve(ranges.size());
    for (const BooleanExpressionText::Range range : ranges)
        parts.append(text.View(range).toString());
    return true;
}

bool BooleanExpressionEvaluator::IsOperator(const QString& token) const
{
    const QStringView trimmed = QStringView(token).trimmed();
    return trimmed == u'&' || trimmed == u'|';
}
