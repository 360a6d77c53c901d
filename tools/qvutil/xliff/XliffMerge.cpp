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

struct LanguagePair
{
    QString Source;
    QString Target;
};

LanguagePair LanguagesOf(const XliffFile& file)
{
    return {file.SourceLanguage, file.TargetLanguage};
}

LanguagePair LanguagesOf(const XliffDocument& xliff, const XliffUnit& unit)
{
    return unit.File < 0 ? LanguagePair() : LanguagesOf(xliff.GetFiles().at(unit.File));
}

bool AgreeTargets(const LanguagePair& a, const LanguagePair& b)
{
    return a.Target.isEmpty() || b.Target.isEmpty() || IsSameLanguage(a.Target, b.Target);
}

/// Regions are ignored, so "en" and "en-US" agree: only units with exactly the same source are merged.
bool AgreeSources(const LanguagePair& a, const LanguagePair& b)
{
    const auto primary
        = [](const QString& language) { return QString(language).replace(u'_', u'-').section(u'-', 0, 0); };
    return a.Source.isEmpty() || b.Source.isEmpty() || IsSameLanguage(primary(a.Source), primary(b.Source));
}

bool Agree(const LanguagePair& a, const LanguagePair& b)
{
    return AgreeTargets(a, b) && AgreeSources(a, b);
}

/// Identifies a source. Elements that stand for unknown text distinguish two sources with the same text.
QString SourceKey(const XliffDocument& xliff, const XliffUnit& unit)
{
    return unit.IsSourceComplete ? unit.Source : xliff.GetContentText(unit.SourceElement).toString();
}

QString MatchKey(const XliffDocument& xliff, const XliffUnit& unit)
{
    return (unit.File < 0 ? QString() : xliff.GetFiles().at(unit.File).Key) + u'\n' + SourceKey(xliff, unit);
}

/// Returns whether a translation is finished.
bool IsFinished(const XliffUnit& unit)
{
    return unit.IsApproved || !unit.State.startsWith("needs-"_L1);
}

/// Returns the state to write for a translation from another file.
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
            mKnown.insert(SourceKey(xliff, unit));
        }
    }

    MergeResult Run(const QList<const XliffDocument*>& others)
    {
        for (const XliffDocument* other : others)
            CollectOffers(*other);
        // Translations in the same document come first, even if an earlier file has one in another document.
        for (const Source& source : std::as_const(mSources))
            TakeByDocument(source);
        for (const Source& source : std::as_const(mSources))
            TakeByText(source);
        mResult.Unknown.removeDuplicates();
        for (qsizetype i = 0; i < mCurrent.size(); ++i)
            WriteUnit(i);
        // A later file may have provided a translation that an earlier one could not.
        mResult.Notes.removeIf(
            [this](const MergeNote& note) { return note.IsPartial && mIsDecided.contains(note.Unit); });
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

    /// Registers a unit under a key. The last finished unit of a key counts, or the last unit if none is
    /// finished.
    static void Offer(Offers& offers, const QString& key, const XliffUnit& unit)
    {
        const XliffUnit*& known = offers[key];
        if (known == nullptr || IsFinished(unit) || !IsFinished(*known))
            known = &unit;
    }

    void CheckLanguages(const XliffDocument& other) const
    {
        const QList<XliffFile>& files = other.GetFiles();
        const auto isUsable = [this](const XliffFile& file) { return AreOurLanguages(LanguagesOf(file)); };
        if (files.isEmpty() || std::any_of(files.cbegin(), files.cend(), isUsable))
            return;
        const LanguagePair theirs = LanguagesOf(files.constFirst());
        const LanguagePair ours = LanguagesOf(mXliff.GetFiles().constFirst());
        throw Failure(other.GetName(),
                      AgreeTargets(ours, theirs)
                          ? u"translates from %1, not from %2"_s.arg(theirs.Source, ours.Source)
                          : u"translates into %1, not into %2"_s.arg(theirs.Target, ours.Target));
    }

    [[nodiscard]] bool AreOurLanguages(const LanguagePair& languages) const
    {
        const QList<XliffFile>& files = mXliff.GetFiles();
        return files.isEmpty() || std::any_of(files.cbegin(), files.cend(), [&](const XliffFile& file) {
                   return Agree(LanguagesOf(file), languages);
               });
    }

    void CollectOffers(const XliffDocument& other)
    {
        CheckLanguages(other);
        Source source{&other, {}, {}};
        for (const XliffUnit& unit : other.GetUnits()) {
            if (!other.HasTarget(unit) || unit.IsFilledIn() || unit.Source.isEmpty()
                || !AreOurLanguages(LanguagesOf(other, unit)))
                continue;
            Offer(source.ByDocument, MatchKey(other, unit), unit);
            Offer(source.ByText, SourceKey(other, unit), unit);
            if (!mKnown.contains(SourceKey(other, unit)))
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
            const XliffUnit* match = source.ByText.value(SourceKey(mXliff, mCurrent.at(i)));
            const bool isTried = match == source.ByDocument.value(MatchKey(mXliff, mCurrent.at(i)));
            if (match != nullptr && !isTried && !HasTranslation(i))
                MergeUnit(i, *source.File, *match, u"needs-review-translation"_s);
        }
    }

    /// Returns whether a unit has a translation, from this file or another.
    [[nodiscard]] bool HasTranslation(qsizetype index) const
    {
        const XliffUnit& unit = mCurrent.at(index);
        return mXliff.HasTarget(unit) && !unit.IsFilledIn();
    }

    /// Returns the target for messages.
    [[nodiscard]] static QString TargetText(const XliffDocument& xliff, const XliffUnit& unit)
    {
        const bool isMarkup = unit.WholeTarget.trimmed().isEmpty() && unit.TargetElement >= 0;
        return isMarkup ? xliff.GetContentText(unit.TargetElement).trimmed().toString()
                        : unit.GetShownTarget();
    }

    [[nodiscard]] bool IsEqual(qsizetype index, const XliffDocument& otherFile, const XliffUnit& other) const
    {
        const XliffUnit& mine = mCurrent.at(index);
        if (mine.IsTargetComplete && other.IsTargetComplete)
            return mine.GetShownTarget() == other.GetShownTarget();
        return !mIsReplaced.contains(index) && mine.TargetElement >= 0 && other.TargetElement >= 0
            && mXliff.GetContentText(mine.TargetElement) == otherFile.GetContentText(other.TargetElement);
    }

    void MergeUnit(qsizetype index, const XliffDocument& otherFile, const XliffUnit& other,
                   const QString& state)
    {
        XliffUnit& mine = mCurrent[index];
        if (mine.SourceElement < 0 || !Agree(LanguagesOf(mXliff, mine), LanguagesOf(otherFile, other)))
            return;
        const bool isTranslated = HasTranslation(index);
        const bool isEqual = isTranslated && IsEqual(index, otherFile, other);
        if (isTranslated && IsFinished(mine) && !IsFinished(other))
            return;
        if (isEqual)
            mIsDecided.insert(index);
        if (isEqual && IsFinished(mine) == IsFinished(other))
            return;
        MergeNote note{mXliff.GetPlace(mine.Element),
                       mine.Source,
                       TargetText(mXliff, mine),
                       otherFile.GetName(),
                       otherFile.GetPlace(other.Element),
                       TargetText(otherFile, other),
                       index};
        note.IsConflict = isTranslated && !isEqual;
        const bool isWanted = !note.IsConflict || (mOptions.PrefersOther && !mIsDecided.contains(index));
        note.IsPartial = isWanted && !isEqual && !other.IsTargetComplete;
        note.IsTaken = isWanted && !note.IsPartial;
        if (note.IsTaken)
            Take(index, other, state, isEqual);
        mResult.Notes.append(note);
    }

    void Take(qsizetype index, const XliffUnit& other, const QString& state, bool isEqual)
    {
        XliffUnit& mine = mCurrent[index];
        mine.State = state;
        mine.IsApproved = false;
        mIsDecided.insert(index);
        if (isEqual) {
            mIsConfirmed.insert(index);
            return;
        }
        mine.WholeTarget = other.GetShownTarget();
        mine.Target = mine.WholeTarget;
        mine.IsTargetComplete = true;
        mIsReplaced.insert(index);
    }

    void WriteUnit(qsizetype index)
    {
        const XliffUnit& unit = mXliff.GetUnits().at(index);
        const XliffUnit& merged = mCurrent.at(index);
        if (mIsReplaced.contains(index))
            mXliff.SetTarget(unit, merged.WholeTarget, merged.State);
        else if (mIsConfirmed.contains(index))
            mXliff.SetState(unit, merged.State);
        else
            return;
        ++mResult.Taken;
    }

    XliffDocument& mXliff;
    const MergeOptions& mOptions;
    QList<XliffUnit> mCurrent; // the units with the changes so far
    QSet<QString> mKnown; // sources
    QSet<qsizetype> mIsReplaced; // units whose target is replaced
    QSet<qsizetype> mIsConfirmed; // units of which only the state changes
    QSet<qsizetype> mIsDecided; // units whose target agrees with one of the other files
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
