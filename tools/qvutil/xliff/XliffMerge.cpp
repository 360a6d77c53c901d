// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffMerge.h"

#include "cli/Failure.h"
#include "xliff/CommandSupport.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

/// The source or target language of a file element.
struct Language
{
    QString Key; ///< see LanguageKey; empty if the language is not known
    QString Name; ///< as the file spells it

    friend bool operator==(const Language& a, const Language& b) { return a.Key == b.Key; }
};

/// The languages of a file element.
struct LanguagePair
{
    Language Source; ///< compared without its region: only units with exactly the same source are merged
    Language Target;

    friend bool operator==(const LanguagePair&, const LanguagePair&) = default;
};

/// Returns the languages that each file element names.
QList<LanguagePair> NamedLanguages(const XliffDocument& xliff)
{
    QList<LanguagePair> result;
    for (const XliffFile& file : xliff.GetFiles()) {
        const QString source = LanguageKey(file.SourceLanguage).section(u'-', 0, 0);
        result.append(LanguagePair{{source, file.SourceLanguage},
                                   {LanguageKey(file.TargetLanguage), file.TargetLanguage}});
    }
    return result;
}

/// Returns the distinct source or target languages of a list, without unknown ones.
QList<Language> DistinctLanguages(const QList<LanguagePair>& pairs, Language LanguagePair::*field)
{
    QList<Language> result;
    for (const LanguagePair& pair : pairs) {
        const Language& language = pair.*field;
        if (!language.Key.isEmpty() && !result.contains(language))
            result.append(language);
    }
    return result;
}

QString NamesOf(const QList<Language>& languages)
{
    QStringList names;
    for (const Language& language : languages)
        names.append(language.Name);
    return names.join(" or "_L1);
}

/// The languages of the units of a file. File elements that name no language are assumed to have that of the
/// others.
class UnitLanguages
{
public:
    /// Throws Failure if the language of a file element is not certain.
    /// \param elsewhere  the languages of the files to merge with, for a file that names no language
    UnitLanguages(const XliffDocument& xliff, const QList<LanguagePair>& elsewhere)
        : mOfFiles(NamedLanguages(xliff))
    {
        FillIn(xliff, elsewhere, &LanguagePair::Source, u"source-language");
        FillIn(xliff, elsewhere, &LanguagePair::Target, u"target-language");
    }

    [[nodiscard]] LanguagePair Of(const XliffUnit& unit) const
    {
        return unit.File < 0 ? mDefault : mOfFiles.at(unit.File);
    }
    [[nodiscard]] const QList<LanguagePair>& OfFiles() const { return mOfFiles; }

    /// Returns the languages of the file elements that contain units.
    [[nodiscard]] QList<LanguagePair> OfFilesWithUnits(const XliffDocument& xliff) const
    {
        QList<LanguagePair> result;
        for (qsizetype i = 0; i < mOfFiles.size(); ++i) {
            if (!xliff.GetFiles().at(i).Units.isEmpty())
                result.append(mOfFiles.at(i));
        }
        return result;
    }

private:
    void FillIn(const XliffDocument& xliff, const QList<LanguagePair>& elsewhere,
                Language LanguagePair::*field, QStringView attribute)
    {
        const QList<Language> own = DistinctLanguages(mOfFiles, field);
        const QList<Language> known = own.isEmpty() ? DistinctLanguages(elsewhere, field) : own;
        if (known.size() == 1)
            mDefault.*field = known.constFirst();
        for (qsizetype i = 0; i < mOfFiles.size(); ++i) {
            Language& language = mOfFiles[i].*field;
            const XliffFile& file = xliff.GetFiles().at(i);
            if (language.Key.isEmpty() && known.size() > 1 && !file.Units.isEmpty()) {
                throw Failure(
                    PlaceText(xliff.GetName(), xliff.GetPlace(file.Element)),
                    u"the file element has no %1, which could be %2"_s.arg(attribute, NamesOf(known)));
            }
            if (language.Key.isEmpty())
                language = mDefault.*field;
        }
    }

    LanguagePair mDefault; // of file elements that name no language, and of units in no file element
    QList<LanguagePair> mOfFiles; // by index of the file
};

/// Returns languages for a message: "en to de, en to fr".
QString ToText(const QList<LanguagePair>& pairs)
{
    QStringList result;
    for (const LanguagePair& pair : pairs) {
        const auto name
            = [](const Language& language) { return language.Name.isEmpty() ? u"?"_s : language.Name; };
        result.append(name(pair.Source) + " to "_L1 + name(pair.Target));
    }
    result.removeDuplicates();
    return result.join(", "_L1);
}

/// Returns a key for a source. Elements that represent unknown text distinguish sources with the same text.
QString SourceKey(const XliffDocument& xliff, const XliffUnit& unit)
{
    return unit.IsSourceComplete ? unit.Source : xliff.GetContentText(unit.SourceElement).toString();
}

/// Returns a key for a source and its languages.
QString TextKey(const XliffDocument& xliff, const UnitLanguages& languages, const XliffUnit& unit)
{
    const LanguagePair pair = languages.Of(unit);
    return pair.Source.Key + u'\n' + pair.Target.Key + u'\n' + SourceKey(xliff, unit);
}

/// Returns a key for a source, its languages and its document.
QString MatchKey(const XliffDocument& xliff, const UnitLanguages& languages, const XliffUnit& unit)
{
    return (unit.File < 0 ? QString() : xliff.GetFiles().at(unit.File).Key) + u'\n'
        + TextKey(xliff, languages, unit);
}

/// Returns whether a translation is finished. Unlike GetProgress, accepts the state "new".
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
    Merge(XliffDocument& xliff, const QList<const XliffDocument*>& others, const MergeOptions& options)
        : mXliff(xliff)
        , mLanguages(xliff, LanguagesOf(others))
        , mOptions(options)
    {
        for (const XliffUnit& unit : xliff.GetUnits()) {
            mCurrent.append(unit);
            mKnown.insert(TextKey(xliff, mLanguages, unit));
        }
        for (const XliffDocument* other : others)
            CollectOffers(*other);
    }

    MergeResult Run()
    {
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
        Offers ByText; ///< see TextKey
    };

    /// Returns the languages of the texts in other files.
    static QList<LanguagePair> LanguagesOf(const QList<const XliffDocument*>& others)
    {
        QList<LanguagePair> result;
        for (const XliffDocument* other : others)
            result += UnitLanguages(*other, {}).OfFilesWithUnits(*other);
        return result;
    }

    /// Registers a unit under a key. The last finished unit of a key is kept, or the last unit if none is
    /// finished.
    static void Offer(Offers& offers, const QString& key, const XliffUnit& unit)
    {
        const XliffUnit*& known = offers[key];
        if (known == nullptr || IsFinished(unit) || !IsFinished(*known))
            known = &unit;
    }

    void CollectOffers(const XliffDocument& other)
    {
        const UnitLanguages languages(other, mLanguages.OfFiles());
        const auto isOurs = [this](const LanguagePair& pair) {
            return mLanguages.OfFiles().isEmpty() || mLanguages.OfFiles().contains(pair);
        };
        const QList<LanguagePair> offered = languages.OfFilesWithUnits(other);
        if (!offered.isEmpty() && std::none_of(offered.cbegin(), offered.cend(), isOurs)) {
            throw Failure(other.GetName(),
                          u"translates %1, not %2"_s.arg(ToText(offered), ToText(mLanguages.OfFiles())));
        }
        Source source{&other, {}, {}};
        for (const XliffUnit& unit : other.GetUnits()) {
            if (!other.HasTarget(unit) || unit.IsFilledIn() || unit.Source.isEmpty()
                || !isOurs(languages.Of(unit)))
                continue;
            Offer(source.ByDocument, MatchKey(other, languages, unit), unit);
            Offer(source.ByText, TextKey(other, languages, unit), unit);
            if (!mKnown.contains(TextKey(other, languages, unit)))
                mResult.Unknown.append(unit.Source);
        }
        mSources.append(source);
    }

    void TakeByDocument(const Source& source)
    {
        for (qsizetype i = 0; i < mCurrent.size(); ++i) {
            const XliffUnit* match = source.ByDocument.value(MatchKey(mXliff, mLanguages, mCurrent.at(i)));
            if (match != nullptr)
                MergeUnit(i, *source.File, *match, StateOf(*match));
        }
    }

    void TakeByText(const Source& source)
    {
        for (qsizetype i = 0; mOptions.Reuse && i < mCurrent.size(); ++i) {
            const XliffUnit* match = source.ByText.value(TextKey(mXliff, mLanguages, mCurrent.at(i)));
            const bool isTried
                = match == source.ByDocument.value(MatchKey(mXliff, mLanguages, mCurrent.at(i)));
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
        if (mine.SourceElement < 0)
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
    const UnitLanguages mLanguages;
    const MergeOptions& mOptions;
    QList<XliffUnit> mCurrent; // the units with the changes so far
    QSet<QString> mKnown; // see TextKey
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
    return Merge(xliff, others, options).Run();
}

} // namespace Quorvin::Tool
