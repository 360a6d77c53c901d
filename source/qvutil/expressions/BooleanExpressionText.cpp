// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/BooleanExpressionText_p.h"

#include "base/PatternSpace_p.h"

#include <algorithm>
#include <utility>

namespace Quorvin::Util::Internal {
namespace {

constexpr bool IsOperatorCharacter(QChar c)
{
    return c == u'&' || c == u'|';
}

} // namespace

// Scans one level of an expression.
class BooleanExpressionText::Scan
{
public:
    Scan(const BooleanExpressionText& text, Range range, Ranges& parts, Notes& notes)
        : mText(text)
        , mRange(range)
        , mParts(parts)
        , mNotes(notes)
        , mSegment(range.Begin)
    { }

    // Appends the parts. Returns false if a '(' is not closed.
    [[nodiscard]] bool Run()
    {
        for (qsizetype i = mRange.Begin; i < mRange.End; ++i) {
            const QChar c = mText.mText[i];
            if (c == u'(') {
                const qsizetype close = mText.mPartner[i];
                EndSegmentBeforeGroup(i);
                if (close < 0) {
                    mNotes.Mistake = {i, i + 1};
                    return false;
                }
                Append({i + 1, close});
                mSegment = close + 1;
                i = TakeOperatorBehindGroup() ? mSegment - 1 : close;
            } else if (c == u'|') {
                Append(mText.Trimmed({mSegment, i}));
                mParts.append({i, i + 1});
                mSegment = i + 1;
            } else if (i == mRange.End - 1) {
                Append(mText.Trimmed({mSegment, mRange.End}));
            }
        }
        return true;
    }

private:
    void Append(Range part)
    {
        if (!part.IsEmpty())
            mParts.append(part);
    }

    // Text before a group is kept only if it ends with '&'.
    void EndSegmentBeforeGroup(qsizetype group)
    {
        const Range segment = mText.Trimmed({mSegment, group});
        if (segment.IsEmpty())
            return;
        const qsizetype last = segment.End - 1;
        if (mText.mText[last] == u'&') {
            Append(mText.Trimmed({segment.Begin, last}));
            mParts.append({last, segment.End});
        } else {
            mNotes.Dropped.append(segment);
        }
    }

    [[nodiscard]] bool TakeOperatorBehindGroup()
    {
        qsizetype next = mSegment;
        while (next < mRange.End && IsPatternSpace(mText.mText[next]))
            ++next;
        if (next == mRange.End || !IsOperatorCharacter(mText.mText[next])
            || !mText.IsProper({mSegment, mRange.End}))
            return false;
        mParts.append({next, next + 1});
        mSegment = next + 1;
        return true;
    }

    const BooleanExpressionText& mText;
    const Range mRange;
    Ranges& mParts;
    Notes& mNotes;
    qsizetype mSegment; // start of the text that belongs to no part yet
};

BooleanExpressionText::BooleanExpressionText(QStringView text)
    : mText(text)
{
    qsizetype open = -1; // innermost open '('; until it is closed, mPartner holds the enclosing one
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'(') {
            if (mPartner.isEmpty())
                mPartner.resize(text.size());
            mPartner[i] = open;
            open = i;
        } else if (c == u')') {
            if (open >= 0)
                open = std::exchange(mPartner[open], i);
        } else if (c.isSurrogate()) {
            if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
                ++i;
            else
                mStray.append(i);
        }
    }
    while (open >= 0)
        open = std::exchange(mPartner[open], -1);
}

qsizetype BooleanExpressionText::FindUnpaired(Range range) const
{
    for (qsizetype i = range.Begin; i < range.End; ++i) {
        if (mText[i] == u'(') {
            if (mPartner[i] < 0 || mPartner[i] >= range.End)
                return i;
            i = mPartner[i];
        } else if (mText[i] == u')') {
            return i;
        }
    }
    return -1;
}

BooleanExpressionText::Range BooleanExpressionText::Trimmed(Range range) const
{
    if (range.IsEmpty())
        return {range.Begin, range.Begin};
    const QStringView trimmed = View(range).trimmed();
    const qsizetype begin = trimmed.data() - mText.data();
    return {begin, begin + trimmed.size()};
}

BooleanExpressionText::Range BooleanExpressionText::WithoutBraces(Range range) const
{
    while (!range.IsEmpty() && mText[range.Begin] == u'(' && mPartner[range.Begin] == range.End - 1)
        range = {range.Begin + 1, range.End - 1};
    return range;
}

char16_t BooleanExpressionText::Operator(Range range) const
{
    const Range token = Trimmed(range);
    const bool isOperator = token.End - token.Begin == 1 && IsOperatorCharacter(mText[token.Begin]);
    return isOperator ? mText[token.Begin].unicode() : u'\0';
}

bool BooleanExpressionText::Split(Range range, Ranges& parts, Notes* notes) const
{
    Notes ownNotes;
    Notes& allNotes = notes != nullptr ? *notes : ownNotes;
    const qsizetype first = parts.size();
    if (!Scan(*this, range, parts, allNotes).Run())
        return false;
    if (parts.size() == first) {
        allNotes.Mistake = range;
        return false;
    }

    const Range only = parts[first];
    if (parts.size() == first + 1 && !HasBraces(only)) {
        parts.removeLast();
        if (!SplitChain(only, parts, allNotes))
            return false;
    }
    for (qsizetype i = first; i < parts.size(); ++i) {
        const bool operandDue = (i - first) % 2 == 0 || i == parts.size() - 1;
        if (operandDue && Operator(parts[i]) != 0) {
            allNotes.Mistake = parts[i];
            return false;
        }
    }
    return true;
}

// Returns whether a range contains no unpaired surrogate. If it contains one, nothing in it counts as a
// parenthesis or an operator, because a regular expression would find nothing there.
bool BooleanExpressionText::IsProper(Range range) const
{
    const auto stray = std::lower_bound(mStray.cbegin(), mStray.cend(), range.Begin);
    return stray == mStray.cend() || *stray >= range.End;
}

bool BooleanExpressionText::HasBraces(Range range) const
{
    const QStringView view = View(range);
    return (view.contains(u'(') || view.contains(u')')) && IsProper(range);
}

// Splits a range at each '&'. Returns false if an operand is missing before or after one.
bool BooleanExpressionText::SplitChain(Range chain, Ranges& parts, Notes& notes) const
{
    qsizetype begin = chain.Begin;
    for (qsizetype i = chain.Begin; i <= chain.End; ++i) {
        if (i < chain.End && mText[i] != u'&')
            continue;
        const Range piece = Trimmed({begin, i});
        if (piece.IsEmpty()) {
            notes.Mistake = i < chain.End ? Range{i, i + 1} : Range{begin - 1, begin}; // the '&' beside it
            return false;
        }
        parts.append(piece);
        if (i < chain.End)
            parts.append({i, i + 1});
        begin = i + 1;
    }
    return true;
}

} // namespace Quorvin::Util::Internal
