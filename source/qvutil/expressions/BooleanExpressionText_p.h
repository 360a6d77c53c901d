// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_BOOLEANEXPRESSIONTEXT_P_H
#define QVUTIL_BOOLEANEXPRESSIONTEXT_P_H

#include <QStringView>
#include <QVarLengthArray>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// The text of a boolean expression with its parentheses paired up, so that any part can be split without a
/// search. Every part, including operators, is a range of the text. The time is linear for any nesting: the
/// constructor reads the text once, and Split reads each level of parentheses once.
class BooleanExpressionText
{
public:
    /// Part of the text: the index of its first character, and the index after its last.
    struct Range
    {
        qsizetype Begin = 0;
        qsizetype End = 0;

        [[nodiscard]] bool IsEmpty() const { return Begin >= End; }
    };
    using Ranges = QVarLengthArray<Range, 64>;

    /// Findings of Split for people who write expressions.
    struct Notes
    {
        Ranges Dropped; ///< text that is ignored
        Range Mistake; ///< after a failure: the empty operand or the misplaced operator
    };

    /// \param text  the text, which must outlive this object
    explicit BooleanExpressionText(QStringView text);

    [[nodiscard]] Range Whole() const { return {0, mText.size()}; }
    [[nodiscard]] QStringView View(Range range) const
    {
        return mText.sliced(range.Begin, range.End - range.Begin);
    }
    /// \return index of the first parenthesis without a partner in \p range; -1 if all are paired
    [[nodiscard]] qsizetype FindUnpaired(Range range) const;
    /// \return \p range without leading and trailing white space, as in QString::trimmed
    [[nodiscard]] Range Trimmed(Range range) const;
    /// \return \p range without the parentheses that enclose all of it
    [[nodiscard]] Range WithoutBraces(Range range) const;
    /// \return '&' or '|' if \p range contains only that, apart from white space; otherwise 0
    [[nodiscard]] char16_t Operator(Range range) const;
    /// Splits a range at its top level.
    /// \param range  the whole text, or a range with balanced parentheses
    /// \param parts  operands and operators are appended to it, even before a failure
    /// \param notes  receives oddities of the range; may be null
    /// \return false if the parts cannot form an expression
    [[nodiscard]] bool Split(Range range, Ranges& parts, Notes* notes = nullptr) const;

private:
    class Scan;

    [[nodiscard]] bool IsProper(Range range) const;
    [[nodiscard]] bool HasBraces(Range range) const;
    [[nodiscard]] bool SplitChain(Range chain, Ranges& parts, Notes& notes) const;

    QStringView mText;
    QVarLengthArray<qsizetype, 256> mPartner; ///< for each '(' the index of its ')'; -1 if there is none
    QVarLengthArray<qsizetype, 4> mStray; ///< indexes of unpaired surrogates
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_BOOLEANEXPRESSIONTEXT_P_H
