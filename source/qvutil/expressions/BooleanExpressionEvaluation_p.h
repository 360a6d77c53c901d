// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_BOOLEANEXPRESSIONEVALUATION_P_H
#define QVUTIL_BOOLEANEXPRESSIONEVALUATION_P_H

#include "expressions/BooleanExpressionText_p.h"

#include <QVarLengthArray>

#include <utility>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Evaluates one expression. Nested groups are kept in lists instead of on the stack, which a deeply nested
/// expression would overflow.
///
/// \tparam Ask  bool(BooleanExpressionText::Range operand, bool& value): returns the value of an operand, or
///              false if it is unknown; \c value is false on entry
template <typename Ask> class BooleanExpressionEvaluation
{
public:
    BooleanExpressionEvaluation(const BooleanExpressionText& text, Ask ask)
        : mText(text)
        , mAsk(std::move(ask))
    { }

    /// \param value  receives the result; false after a failure
    /// \return false if the part of the expression that was evaluated is malformed or has an unknown operand
    [[nodiscard]] bool Run(bool& value)
    {
        value = false;
        if (!Enter(mText.Whole()))
            return false;
        while (!mLevels.isEmpty()) {
            if (!Advance())
                return false;
        }
        value = mValue;
        return true;
    }

private:
    using Range = BooleanExpressionText::Range;

    // A list of operands and operators under evaluation. Its parts are the last ones in mParts.
    struct Level
    {
        qsizetype First;
        qsizetype Next;
    };

    // Starts with an operand: calls the callback for it, or splits it and leaves its parts to Advance.
    [[nodiscard]] bool Enter(Range operand)
    {
        mValue = false;
        const qsizetype first = mParts.size();
        const Range trimmed = mText.Trimmed(operand);
        if (mText.FindUnpaired(trimmed) >= 0 || !mText.Split(mText.WithoutBraces(trimmed), mParts))
            return false;
        if (mParts.size() > first + 1) {
            mLevels.append({first, first});
            return true;
        }
        const Range name = mParts.last();
        mParts.removeLast();
        return mAsk(name, mValue);
    }

    // Continues with the innermost list. mValue is the result of its operands so far.
    [[nodiscard]] bool Advance()
    {
        Level& level = mLevels.last();
        if (level.Next > level.First) {
            if (level.Next == mParts.size())
                return Leave();
            const Range part = mParts[level.Next++];
            if (mText.Operator(part) == 0)
                return false;
            // Only a bare operator can end the list early, not one that is alone in a group, with white space
            // around it.
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
    Ask mAsk;
    bool mValue = false; // of the operand evaluated last
    BooleanExpressionText::Ranges mParts;
    QVarLengthArray<Level, 16> mLevels;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_BOOLEANEXPRESSIONEVALUATION_P_H
