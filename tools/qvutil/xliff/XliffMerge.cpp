// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffMerge.h"

#include "cli/Failure.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

QString LanguageOf(const XliffDocument& xliff, const XliffUnit& unit)
{
    return unit.File < 0 ? QString() : xliff.GetFiles().at(unit.File).TargetLanguage;
}

QString MatchKey(const XliffDocument& xliff, const XliffUnit& unit)
{
    return (unit.File < 0 ? QString() : xliff.GetFiles().at(unit.File).Key) + u'\n' + unit.Source;
}

bool HasTranslation(const XliffUnit& unit)
{
    return !unit.WholeTarget.trimmed().isEmpty() && !unit.IsFilledIn();
}

bool IsFinished(const XliffUnit& unit)
{
    return HasTranslation(unit) && !(unit.State.startsWith("needs-"_L1) && !unit.IsApproved);
}

/// The state to write for a target that is taken over.
QString StateOf(const XliffUnit& unit)
{
    if (!IsFinished(unit))
        return unit.State;
    const bool saysFinished
        = !unit.State.isEmpty() && unit.State != "new"_L1 && !unit.State.startsWith("needs-"_L1);
    return saysFinished ? unit.State : u"translated"_s;
}

class Merge
{
public:
    Merge(XliffDocument& xliff, const MergeOptions& options)
        : mXliff(xliff)
        , mOptions(options)
    {
        for (const XliffUnit& unit : xliff.GetUnits()) {
            mCurrent.append(unit);
            mKnown.insert(unit.Source);
        }
    }

    MergeResult Run(const QList<const XliffDocument*>& others)
    {
        for (const XliffDocument* other : others)
            CollectOffers(*other);
        // The translation in the same document comes first, whichever file has it.
        for (const Source& source : std::as_const(mSources))
            TakeByDocument(source);
        for (const Source& source : std::as_const(mSources))
            TakeByText(source);
        mResult.Unknown.removeDuplicates();
        for (qsizetype i = 0; i < mCurrent.size(); ++i) {
            const XliffUnit& unit = mXliff.GetUnits().at(i);
            const XliffUnit& merged = mCurrent.at(i);
            if (mIsChanged.contains(i))
                mXliff.SetTarget(unit, merged.WholeTarget, merged.State);
        }
        std::stable_sort(
            mResult.Notes.begin(), mResult.Notes.end(), [](const MergeNote& a, const MergeNote& b) {
                return std::pair(a.Where.Line, a.Where.Column) < std::pair(b.Where.Line, b.Where.Column);
            });
        return mResult;
    }

private:
    using Offers = QHash<QString, const XliffUnit*>;

    struct Source
    {
        const XliffDocument* File;
        Offers ByDocument; ///< see MatchKey
        Offers ByText;
    };

    /// Of several with one key, the last finished one counts; the last one if none is finished.
    static void Offer(Offers& offers, const QString& key, const XliffUnit& unit)
    {
        const XliffUnit*& known = offers[key];
        if (known == nullptr || IsFinished(unit) || !IsFinished(*known))
            known = &unit;
    }

    void CheckLanguage(const XliffDocument& other) const
    {
        const QList<XliffFile>& files = other.GetFiles();
        const auto isUsable = [this](const XliffFile& file) { return IsOurLanguage(file.TargetLanguage); };
        if (!files.isEmpty() && std::none_of(files.cbegin(), files.cend(), isUsable)) {
            throw Failure(
                other.GetName(),
                u"translates into %1, not into %2"_s.arg(files.constFirst().TargetLanguage,
                                                         mXliff.GetFiles().constFirst().TargetLanguage));
        }
    }

    [[nodiscard]] bool IsOurLanguage(const QString& language) const
    {
        const QList<XliffFile>& files = mXliff.GetFiles();
        return files.isEmpty() || std::any_of(files.cbegin(), files.cend(), [&](const XliffFile& file) {
                   return Agree(file.TargetLanguage, language);
               });
    }

    [[nodiscard]] static bool Agree(const QString& a, const QString& b)
    {
        return a.isEmpty() || b.isEmpty() || IsSameLanguage(a, b);
    }

    void CollectOffers(const XliffDocument& other)
    {
        CheckLanguage(other);
        Source source{&other, {}, {}};
        for (const XliffUnit& unit : other.GetUnits()) {
            if (!HasTranslation(unit) || unit.Source.isEmpty() || !IsOurLanguage(LanguageOf(other, unit)))
                continue;
            Offer(source.ByDocument, MatchKey(other, unit), unit);
            Offer(source.ByText, unit.Source, unit);
            if (!mKnown.contains(unit.Source))
                mResult.Unknown.append(unit.Source);
        }
        mSources.append(source);
    }

    void TakeByDocument(const Source& source)
    {
        for (qsizetype i = 0; i < mCurrent.size(); ++i) {
            const XliffUnit* match = source.ByDocument.value(MatchKey(mXliff, mCurrent.at(i)));
            if (match != nullptr)
                MergeUnit(i, *source.File, *match, StateOf(*match));
        }
    }

    void TakeByText(const Source& source)
    {
        for (qsizetype i = 0; mOptions.Reuse && i < mCurrent.size(); ++i) {
            const XliffUnit* match = source.ByText.value(mCurrent.at(i).Source);
            if (match != nullptr && !HasTranslation(mCurrent.at(i)))
                MergeUnit(i, *source.File, *match, u"needs-review-translation"_s);
        }
    }

    void MergeUnit(qsizetype index, const XliffDocument& otherFile, const XliffUnit& other,
                   const QString& state)
    {
        XliffUnit& mine = mCurrent[index];
        if (mine.SourceElement < 0 || !Agree(LanguageOf(mXliff, mine), LanguageOf(otherFile, other)))
            return;
        const bool isTranslated = HasTranslation(mine);
        const bool isEqual = mine.WholeTarget == other.WholeTarget;
        if (isTranslated && IsFinished(mine) && (isEqual || !IsFinished(other)))
            return;
        if (isTranslated && isEqual && !IsFinished(other))
            return;
        MergeNote note{
            mXliff.GetPlace(mine.Element),     mine.Source,      mine.WholeTarget, otherFile.GetName(),
            otherFile.GetPlace(other.Element), other.WholeTarget};
        note.IsPartial = !other.IsTargetComplete;
        note.IsConflict = isTranslated && !isEqual;
        note.IsTaken = !note.IsPartial && (!note.IsConflict || mOptions.PrefersOther);
        if (note.IsTaken) {
            mine.WholeTarget = other.WholeTarget;
            mine.State = state;
            mine.IsApproved = false;
            mIsChanged.insert(index);
        }
        mResult.Notes.append(note);
    }

    XliffDocument& mXliff;
    const MergeOptions& mOptions;
    QList<XliffUnit> mCurrent; // the units, with what they have got so far
    QSet<QString> mKnown; // sources
    QSet<qsizetype> mIsChanged;
    QList<Source> mSources;
    MergeResult mResult;
};

} // namespace

MergeResult MergeXliff(XliffDocument& xliff, const QList<const XliffDocument*>& others,
                       const MergeOptions& options)
{
    return Merge(xliff, options).Run(others);
}

} // namespace Quorvin::Tool
