// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_BOOLEANEXPRESSIONTEXT_P_H
#define QVUTIL_BOOLEANEXPRESSIONTEXT_P_H

#include <QStringView>
#include <QVarLengthArray>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// The text of a boolean expression with its parentheses paired up, so that any part of it can be split
/// without a search. Every part, operators included, is a range of the text. Reads the text in one walk, and
/// each level of parentheses once when it is split; whatever the nesting, that is linear.
class BooleanExpressionText
{
public:
    /// A piece of the text, from one position up to, not including, another.
    struct Range
    {
        qsizetype Begin = 0;
        qsizetype End = 0;

        [[nodiscard]] bool IsEmpty() const { return Begin >= End; }
    };
    using Ranges = QVarLengthArray<Range, 64>;

    /// What a split has to say to people who write expressions.
    struct Notes
    {
        Ranges Dropped; ///< pieces of text that take no part
        Range Mistake; ///< after a failure: the empty operand, or the operator that stands in the wrong place
    };

    /// \param text  the text, which must outlive this object
    explicit BooleanExpressionText(QStringView text);

    [[nodiscard]] Range Whole() const { return {0, mText.size()}; }
    [[nodiscard]] QStringView View(Range range) const
    {
        return mText.sliced(range.Begin, range.End - range.Begin);
    }
    /// \return position of the first parenthesis that has no partner within \p range; -1 if all have one
    [[nodiscard]] qsizetype FindUnpaired(Range range) const;
    /// \return \p range without the white space at its ends, as QString::trimmed sees it
    [[nodiscard]] Range Trimmed(Range range) const;
    /// \return \p range without the pairs of parentheses around the whole of it
    [[nodiscard]] Range WithoutBraces(Range range) const;
    /// \return '&' or '|' if that, apart from white space, is all that \p range holds; otherwise 0
    [[nodiscard]] char16_t Operator(Range range) const;
    /// Splits a range at its uppermost level.
    /// \param range    the whole text, or a range whose parentheses balance
    /// \param parts    operands and operators are appended here; nothing is taken back after a failure
    /// \param notes    receives what is odd about the range, if not null
    /// \return whether the parts can be an expression
    [[nodiscard]] bool Split(Range range, Ranges& parts, Notes* notes = nullptr) const;

private:
    class Scan;

    [[nodiscard]] bool IsProper(Range range) const;
    [[nodiscard]] bool HasBraces(Range range) const;
    [[nodiscard]] bool SplitChain(Range chain, Ranges& parts, Notes& notes) const;

    QStringView mText;
    QVarLengthArray<qsizetype, 256> mPartner; ///< for each '(' the position of its ')', -1 if there is none
    QVarLengthArray<qsizetype, 4> mStray; ///< positions of halves of surrogate pairs
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_BOOLEANEXPRESSIONTEXT_P_H
