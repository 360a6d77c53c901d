// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffRepair.h"

#include "cli/Console.h"
#include "xliff/CommandSupport.h"
#include "xliff/InlineText.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <tuple>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr QStringView kHeader = u"header";
constexpr QStringView kGroup = u"group";
constexpr QStringView kFile = u"duplicate-file";
constexpr QStringView kId = u"id";
constexpr QStringView kUnit = u"duplicate-unit";
constexpr QStringView kTarget = u"target";
constexpr QStringView kApproved = u"approved";
constexpr QStringView kUnreachable = u"unreachable";

bool IsBlank(QStringView text)
{
    return text.trimmed().isEmpty();
}

/// Joins parts of the text in a new order. If two pieces of white space meet, the last one is kept.
class JoinedText
{
public:
    void AddElement(const QString& element)
    {
        mText += mSpace + element;
        mSpace.clear();
    }

    /// Adds the white space and comments between two elements.
    void AddGap(const QString& gap)
    {
        const QStringView content = QStringView(gap).trimmed();
        if (content.isEmpty()) {
            if (!gap.isEmpty())
                mSpace = gap;
            return;
        }
        const qsizetype begin = content.data() - gap.constData();
        if (begin > 0)
            mSpace = gap.left(begin);
        mText += mSpace;
        mText += content;
        mSpace = gap.mid(begin + content.size());
    }

    /// Returns the text with \p end. \p space replaces the white space that was added last.
    [[nodiscard]] QString Finish(const QString& space, const QString& end) const
    {
        return mText + space + end;
    }
    [[nodiscard]] QString Finish(const QString& end) const { return Finish(mSpace, end); }

private:
    QString mText;
    QString mSpace; // not in the text yet
};

/// The `file` elements that are joined.
struct FileGroup
{
    QList<int> Files; ///< indexes; the others are joined to the first
    int Container = -1; ///< the element of the first file that contains the units: its body
    QList<int> Units; ///< indexes of all units, in the order in which the library reads them
};

class Repair
{
public:
    Repair(XliffDocument& xliff, bool approves)
        : mXliff(xliff)
        , mApproves(approves)
        , mElements(xliff.GetSource().GetElements())
        , mUnitOf(mElements.size(), -1)
        , mHoldsUnits(mElements.size(), false)
        , mIsDropped(mElements.size(), false)
    { }

    QList<RepairNote> Run()
    {
        IndexUnits();
        GroupFiles();
        ReadTargets();
        for (const FileGroup& group : std::as_const(mGroups))
            JoinUnits(group);
        LeaveUnreachable();
        CorrectIds();
        CorrectTargets();
        for (const FileGroup& group : std::as_const(mGroups))
            InheritAttributes(group);
        if (mApproves)
            WriteProgress();
        QList<std::pair<int, QString>> replaced;
        for (const FileGroup& group : std::as_const(mGroups)) {
            if (NeedsLayout(group))
                LayOut(group, replaced);
        }
        for (const auto& [element, text] : std::as_const(replaced))
            mXliff.ReplaceElement(element, text);
        std::stable_sort(mNotes.begin(), mNotes.end(), [](const RepairNote& a, const RepairNote& b) {
            return std::pair(a.Where.Line, a.Where.Column) < std::pair(b.Where.Line, b.Where.Column);
        });
        return mNotes;
    }

private:
    [[nodiscard]] const QList<XliffUnit>& Units() const { return mXliff.GetUnits(); }
    [[nodiscard]] const QList<XliffFile>& Files() const { return mXliff.GetFiles(); }
    [[nodiscard]] QString LineOf(int element) const { return QString::number(mXliff.GetPlace(element).Line); }

    void AddNote(int element, QStringView kind, const QString& what, const QString& why,
                 const QString& shared = {}, const QString& source = {})
    {
        mNotes.append({mXliff.GetPlace(element), kind, what, why, shared, source, false});
    }
    void AddLeft(int element, QStringView kind, const QString& what, const QString& why,
                 const QString& shared = {}, const QString& source = {})
    {
        mNotes.append({mXliff.GetPlace(element), kind, what, why, shared, source, true});
    }

    void IndexUnits()
    {
        for (int i = 0; i < Units().size(); ++i) {
            const XliffUnit& unit = Units().at(i);
            mUnitOf[unit.Element] = i;
            mTargets.append(unit.Target);
            for (int parent = mElements.at(unit.Element).Parent; parent >= 0 && !mHoldsUnits.at(parent);
                 parent = mElements.at(parent).Parent)
                mHoldsUnits[parent] = true;
        }
    }

    void LeaveUnreachable()
    {
        for (const XliffUnit& unit : Units()) {
            if (mIsDropped.at(unit.Element))
                continue;
            if (unit.File < 0) {
                AddLeft(unit.Element, kUnreachable,
                        Console::Quoted(unit.Source) + " is not in a file element"_L1,
                        u"its document is unknown"_s,
                        u"are not in a file element: their documents are unknown"_s, unit.Source);
            } else if (Files().at(unit.File).Key.isEmpty()) {
                AddLeft(unit.Element, kUnreachable,
                        Console::Quoted(unit.Source)
                            + " is in a file element whose \"original\" does not name a file"_L1,
                        u"its document is unknown"_s,
                        u"are in a file element whose \"original\" does not name a file: their document is "
                        "unknown"_s,
                        unit.Source);
            }
        }
    }

    // --- files -----------------------------------------------------------------------------------------

    [[nodiscard]] bool TranslateAlike(const QList<int>& files) const
    {
        QString source;
        QString target;
        const auto agrees = [](QString& known, const QString& language) {
            if (known.isEmpty())
                known = language;
            return language.isEmpty() || IsSameLanguage(language, known);
        };
        return std::all_of(files.cbegin(), files.cend(), [&](int index) {
            const XliffFile& file = Files().at(index);
            return agrees(source, file.SourceLanguage) && agrees(target, file.TargetLanguage);
        });
    }

    void GroupFiles()
    {
        QHash<QString, qsizetype> known;
        QList<QList<int>> groups;
        for (int i = 0; i < Files().size(); ++i) {
            const XliffFile& file = Files().at(i);
            const auto found = file.Key.isEmpty() ? known.cend() : known.constFind(file.Key);
            if (found != known.cend()) {
                groups[*found].append(i);
                continue;
            }
            known.insert(file.Key, groups.size());
            groups.append(QList<int>{i});
        }
        for (const QList<int>& files : std::as_const(groups)) {
            if (files.size() > 1 && TranslateAlike(files)) {
                AddGroup(files);
                continue;
            }
            if (files.size() > 1)
                LeaveLanguages(files);
            for (const int file : files)
                AddGroup({file});
        }
    }

    void LeaveLanguages(const QList<int>& files)
    {
        for (qsizetype i = 0; i + 1 < files.size(); ++i) {
            const XliffFile& file = Files().at(files.at(i));
            const int differing = *std::find_if(files.crbegin(), files.crend() - 1, [&](int other) {
                return !TranslateAlike({files.at(i), other});
            });
            const XliffFile& last = Files().at(differing);
            mLeftFiles.insert(files.at(i));
            AddLeft(file.Element, kFile,
                    u"%1 has the same file name as the file element on line %2, but translates %3 to %4, "
                    "not %5 to %6"_s.arg(
                        Console::Quoted(file.Original), LineOf(last.Element),
                        Console::Visible(file.SourceLanguage), Console::Visible(file.TargetLanguage),
                        Console::Visible(last.SourceLanguage), Console::Visible(last.TargetLanguage)),
                    u"each language needs its own XLIFF file"_s);
        }
    }

    void AddGroup(const QList<int>& files)
    {
        FileGroup group;
        group.Files = files;
        for (const int index : files)
            group.Units += Files().at(index).Units;
        const XliffFile& first = Files().at(files.constFirst());
        group.Container = first.Body;
        // The library accepts a body with any name.
        const auto isFound = [&](int unit) {
            return first.FirstChild >= 0 && mElements.at(Units().at(unit).Element).Parent == first.FirstChild;
        };
        if (first.Body < 0 && std::any_of(first.Units.cbegin(), first.Units.cend(), isFound)
            && mUnitOf.at(first.FirstChild) < 0)
            group.Container = first.FirstChild;
        for (qsizetype i = 1; i < files.size(); ++i)
            NoteJoinedFile(Files().at(files.at(i)), first);
        mGroups.append(group);
    }

    void NoteJoinedFile(const XliffFile& file, const XliffFile& first)
    {
        QString what = u"%1 joined to the file element on line %2"_s.arg(Console::Quoted(file.Original),
                                                                         LineOf(first.Element));
        QList<QStringView> kept{u"original", u"source-language", u"target-language", u"xml:space"};
        if (RawAttribute(file.Element, u"datatype") == RawAttribute(first.Element, u"datatype"))
            kept.append(u"datatype");
        const QString dropped = AttributesOf(file.Element, kept);
        if (!dropped.isEmpty())
            what += ", without"_L1 + dropped;
        AddNote(file.Element, kFile, what,
                u"the library uses only the last file element with the same file name"_s);
        if (first.TargetLanguage.isEmpty() && !file.TargetLanguage.isEmpty()
            && !mHasLanguage.contains(first.Element)) {
            mHasLanguage.insert(first.Element);
            mXliff.SetTargetLanguage(first, file.TargetLanguage);
        }
        if (first.SourceLanguage.isEmpty() && !file.SourceLanguage.isEmpty()
            && !mHasSourceLanguage.contains(first.Element)) {
            mHasSourceLanguage.insert(first.Element);
            mXliff.SetAttribute(first.Element, u"source-language", file.SourceLanguage);
        }
    }

    /// Returns the value of an attribute as it is written; null if there is none.
    [[nodiscard]] QStringView RawAttribute(int element, QStringView name) const
    {
        const XmlSource::Attribute* attribute = mXliff.GetSource().FindAttribute(element, name);
        return attribute == nullptr
            ? QStringView()
            : QStringView(mXliff.GetSource().GetText())
                  .sliced(attribute->ValueBegin, attribute->ValueEnd - attribute->ValueBegin);
    }

    /// Returns the attributes of an element for a message, each after a space.
    [[nodiscard]] QString AttributesOf(int element, const QList<QStringView>& except) const
    {
        QString result;
        const QList<XmlSource::Attribute> attributes = mXliff.GetSource().GetAttributes(element);
        for (const XmlSource::Attribute& attribute : attributes) {
            if (!except.contains(attribute.Name)) {
                result += u' ';
                result += QStringView(mXliff.GetSource().GetText())
                              .mid(attribute.Begin, attribute.ValueEnd + 1 - attribute.Begin);
            }
        }
        return Console::Visible(result);
    }

    // --- units -----------------------------------------------------------------------------------------

    void CorrectIds()
    {
        for (const XliffUnit& unit : Units()) {
            if (!unit.HasWrongId() || mIsDropped.at(unit.Element))
                continue;
            const QString source = Console::Quoted(unit.Source);
            if (!unit.CanCorrectId()) {
                AddLeft(unit.Element, kId, u"%1 keeps the id %2"_s.arg(source, Console::Quoted(unit.Id)),
                        WhyIdStays(unit));
                continue;
            }
            mXliff.SetId(unit);
            AddNote(unit.Element, kId,
                    u"the id of %1 changed from %2 to %3"_s.arg(source, Console::Quoted(unit.Id),
                                                                UnitId(unit.Source)),
                    u"the library finds a text by its digest"_s,
                    u"got the digests of their sources as ids: the library finds a text by its digest"_s,
                    unit.Source);
        }
    }

    [[nodiscard]] static QString WhyIdStays(const XliffUnit& unit)
    {
        if (unit.Source.isEmpty())
            return u"it has no source to compute the id from"_s;
        return unit.IsSourceComplete
            ? u"its source contains markup, which may be part of the text in the document"_s
            : u"its source contains markup for text that is not in the file"_s;
    }

    /// Returns whether the target cannot be corrected, because an element in it represents text that is not
    /// in the file.
    [[nodiscard]] bool IsTargetLeft(const XliffUnit& unit) const
    {
        const auto text = mTexts.constFind(unit.TargetElement);
        return text != mTexts.cend() && !text->Unknown.isEmpty();
    }

    /// Returns whether the library will not find the unit after the repair.
    [[nodiscard]] bool IsUnreachable(const XliffUnit& unit) const
    {
        return unit.File < 0 || Files().at(unit.File).Key.isEmpty() || mLeftFiles.contains(unit.File);
    }

    [[nodiscard]] QString FinalId(const XliffUnit& unit) const
    {
        return unit.HasWrongId() && unit.CanCorrectId() ? UnitId(unit.Source) : unit.Id;
    }

    /// Returns whether the library reads only part of the target, or nothing although the target contains
    /// text.
    [[nodiscard]] static bool IsCut(const XliffUnit& unit)
    {
        const bool isCut = unit.GetShownTarget() != unit.Target && !IsBlank(unit.WholeTarget);
        return unit.TargetElement >= 0 && (isCut || !unit.IsTargetComplete);
    }

    void ReadTargets()
    {
        QSet<int> wanted;
        for (const XliffUnit& unit : Units()) {
            if (IsCut(unit))
                wanted.insert(unit.TargetElement);
        }
        if (wanted.isEmpty())
            return;
        mTexts = FindInlineTexts(mXliff.GetSource(), wanted);
        for (qsizetype i = 0; i < Units().size(); ++i) {
            const auto text = mTexts.constFind(Units().at(i).TargetElement);
            if (text != mTexts.cend())
                mTargets[i] = text->Text;
        }
    }

    void CorrectTargets()
    {
        for (const XliffUnit& unit : Units()) {
            const auto text = mTexts.constFind(unit.TargetElement);
            if (text != mTexts.cend() && !mIsDropped.at(unit.Element))
                CorrectTarget(unit, *text);
        }
    }

    void CorrectTarget(const XliffUnit& unit, const InlineText& text)
    {
        if (!text.Unknown.isEmpty()) {
            AddLeft(unit.TargetElement, kTarget,
                    u"the target of %1 keeps its markup"_s.arg(Console::Quoted(unit.Source)),
                    u"the text for %1 is not in the file"_s.arg(text.Unknown.join(", "_L1)));
            return;
        }
        mXliff.SetTargetContent(unit, text.Text, text.Comments);
        QString what = u"the target of %1 is now plain text: %2"_s.arg(Console::Quoted(unit.Source),
                                                                       Console::Quoted(text.Text));
        if (!text.Markup.isEmpty())
            what += ", without "_L1 + Console::Visible(text.Markup.join(u' '));
        AddNote(unit.TargetElement, kTarget, what,
                u"the library reads a target only up to the first element or comment"_s);
    }

    [[nodiscard]] UnitProgress FinalProgress(int index) const
    {
        XliffUnit unit = Units().at(index);
        unit.Target = mTargets.at(index);
        return unit.GetProgress();
    }

    /// Chooses which of several units with the same id to keep: the one that the library finds now, if it has
    /// a target.
    [[nodiscard]] int ChooseUnit(const QList<int>& units) const
    {
        const auto rank = [this](int index) {
            const XliffUnit& unit = Units().at(index);
            const bool isFound = unit.Reachability == UnitReachability::Found && unit.Id == FinalId(unit);
            const UnitProgress progress = FinalProgress(index);
            const bool hasTarget = !IsBlank(mTargets.at(index));
            return std::tuple(hasTarget && !IsTargetLeft(unit), hasTarget, isFound,
                              isFound || progress == UnitProgress::Finished, index);
        };
        return *std::max_element(units.cbegin(), units.cend(),
                                 [&](int a, int b) { return rank(a) < rank(b); });
    }

    void JoinUnits(const FileGroup& group)
    {
        QHash<QString, QList<int>> byKey;
        for (const int index : group.Units)
            byKey[JoinKey(Units().at(index))].append(index);
        for (const int index : group.Units) { // in the order of the file
            const QList<int> same = byKey.take(JoinKey(Units().at(index)));
            const auto differs
                = [&](int other) { return mTargets.at(other) != mTargets.at(same.constFirst()); };
            if (same.size() < 2 || std::none_of(same.cbegin(), same.cend(), differs))
                continue;
            const int kept = ChooseUnit(same);
            QString added;
            for (const int other : same) {
                if (other != kept)
                    added += JoinUnit(Units().at(other), mTargets.at(other), kept);
            }
            mXliff.AppendText(Units().at(kept).Element, added);
        }
        LeaveSameIds(group);
    }

    /// Returns a key that is equal for units to be joined. It contains the source, because ids that are not
    /// digests may be equal by accident.
    [[nodiscard]] QString JoinKey(const XliffUnit& unit) const
    {
        const QString source
            = unit.IsSourceComplete ? unit.Source : mXliff.GetContentText(unit.SourceElement).toString();
        return FinalId(unit) + u'\n' + source;
    }

    /// Reports units with the same id but different sources, of which the library finds only one.
    void LeaveSameIds(const FileGroup& group)
    {
        QHash<QString, int> last; // by id
        for (const int index : group.Units) {
            if (!mIsDropped.at(Units().at(index).Element))
                last.insert(FinalId(Units().at(index)), index);
        }
        for (const int index : group.Units) {
            const XliffUnit& unit = Units().at(index);
            const int found = last.value(FinalId(unit), index);
            // Wrong ids that cannot be corrected are reported by CorrectIds.
            if (mIsDropped.at(unit.Element) || mTargets.at(found) == mTargets.at(index) || unit.HasWrongId())
                continue;
            mLeftUnits.insert(unit.Element);
            AddLeft(unit.Element, kUnit,
                    u"%1 has the same id as the unit on line %2, but a different source"_s.arg(
                        Console::Quoted(unit.Source), LineOf(Units().at(found).Element)),
                    u"the library finds only one unit for each id"_s);
        }
    }

    [[nodiscard]] QStringView TargetContent(const XliffUnit& unit) const
    {
        return unit.TargetElement < 0 ? QStringView() : mXliff.GetContentText(unit.TargetElement).trimmed();
    }

    /// Returns an element as it is written, without the units in it.
    [[nodiscard]] QString CopyOf(int element)
    {
        const XmlSource::Element& e = mElements.at(element);
        if (!mHoldsUnits.at(element))
            return mXliff.GetSource().GetText().sliced(e.Begin, e.End - e.Begin);
        const QList<int> moved = mMoved;
        const QString copy = WithoutUnits(element);
        mMoved = moved;
        return copy;
    }

    /// Drops a unit. \return the content to add to the unit that is kept
    QString JoinUnit(const XliffUnit& unit, const QString& target, int kept)
    {
        const XliffUnit& other = Units().at(kept);
        mIsDropped[unit.Element] = true;
        // The unit that is kept has a target, because the targets differ. It may have no source.
        const QString indent
            = SpaceBefore(other.SourceElement >= 0 ? other.SourceElement : other.TargetElement);
        const QStringView content = TargetContent(unit);
        const bool isAlternative
            = mXliff.HasTarget(unit) && (target != mTargets.at(kept) || content != TargetContent(other));
        QString added;
        QString what
            = u"%1 joined to the unit on line %2"_s.arg(Console::Quoted(unit.Source), LineOf(other.Element));
        if (isAlternative) {
            added += indent + "<alt-trans>"_L1 + CopyOf(unit.TargetElement) + "</alt-trans>"_L1;
            what += u", with %1 as an alternative to %2"_s.arg(
                Console::Quoted(target.isEmpty() ? content.toString() : target),
                Console::Quoted(mTargets.at(kept)));
        }
        if (unit.HasSourceMarkup)
            what += u", without the markup in its source"_s;
        const auto addComments = [&](QStringView markup) {
            const QStringList comments = FindComments(markup);
            for (const QString& comment : comments)
                added += indent + comment;
        };
        static const QSet<QStringView> texts{u"source", u"seg-source", u"target"};
        const QStringView text = mXliff.GetSource().GetText();
        const XmlSource::Element& e = mElements.at(unit.Element);
        qsizetype position = e.TagEnd;
        ForEachChild(unit.Element, [&](int child) {
            const XmlSource::Element& c = mElements.at(child);
            if (c.Name == u"seg-source")
                what += u", without its seg-source"_s;
            addComments(text.sliced(position, c.Begin - position));
            position = c.End;
            if (mUnitOf.at(child) >= 0 || (isAlternative && child == unit.TargetElement))
                return;
            const QString copy = CopyOf(child);
            if (texts.contains(c.Name))
                addComments(copy);
            else
                added += indent + copy;
        });
        addComments(text.sliced(position, e.ContentEnd - position));
        const QString attributes
            = AttributesOf(unit.Element, {u"id", u"approved", u"xml:space", u"translate"});
        if (!attributes.isEmpty())
            what += ", without"_L1 + attributes;
        AddNote(unit.Element, kUnit, what, u"the library finds only one unit for each id"_s);
        return added;
    }

    void WriteProgress()
    {
        for (int i = 0; i < Units().size(); ++i) {
            const XliffUnit& unit = Units().at(i);
            const bool isFinished = FinalProgress(i) == UnitProgress::Finished;
            const bool isIdLeft = unit.HasWrongId() && FinalId(unit) == unit.Id;
            const bool isLeftAlone = mIsDropped.at(unit.Element) || IsTargetLeft(unit) || IsUnreachable(unit)
                || isIdLeft || mLeftUnits.contains(unit.Element) || unit.IsApproved == isFinished;
            if (isLeftAlone)
                continue;
            mXliff.SetApproved(unit, isFinished);
            if (isFinished && unit.State.isEmpty())
                mXliff.SetAttribute(unit.TargetElement, u"state", u"translated"_s);
            AddNote(unit.Element, kApproved,
                    u"%1 set to approved=\"%2\""_s.arg(Console::Quoted(unit.Source),
                                                       isFinished ? u"yes"_s : u"no"_s),
                    isFinished ? u"its target is finished"_s : u"it has no target"_s,
                    isFinished ? u"set to approved=\"yes\": their targets are finished"_s
                               : u"set to approved=\"no\": they have no target"_s,
                    unit.Source);
        }
    }

    // --- layout ----------------------------------------------------------------------------------------

    template <typename Visitor> void ForEachChild(int parent, const Visitor& visit) const
    {
        const qsizetype end = mElements.at(parent).End;
        for (int child = parent + 1; child < mElements.size() && mElements.at(child).Begin < end;
             child = NextAfter(child))
            visit(child);
    }

    /// Returns the number of the next element that is not inside this one.
    [[nodiscard]] int NextAfter(int element) const
    {
        const auto next = std::lower_bound(
            mElements.cbegin() + element, mElements.cend(), mElements.at(element).End,
            [](const XmlSource::Element& e, qsizetype offset) { return e.Begin < offset; });
        return static_cast<int>(next - mElements.cbegin());
    }

    [[nodiscard]] bool NeedsLayout(const FileGroup& group) const
    {
        const XliffFile& first = Files().at(group.Files.constFirst());
        return group.Files.size() > 1
            || std::any_of(group.Units.cbegin(), group.Units.cend(), [&](int index) {
                   const int element = Units().at(index).Element;
                   return mIsDropped.at(element) || group.Container != first.FirstChild
                       || mElements.at(element).Parent != group.Container;
               });
    }

    [[nodiscard]] QString StartTag(int element)
    {
        const XmlSource::Element& e = mElements.at(element);
        QString tag = mXliff.GetRange(e.Begin, e.TagEnd);
        if (e.IsSelfClosing()) {
            tag.chop(2);
            while (tag.back().isSpace())
                tag.chop(1);
            tag += u'>';
        }
        return tag;
    }

    [[nodiscard]] QString EndTag(int element) const
    {
        return "</"_L1 + mElements.at(element).Name.toString() + u'>';
    }

    [[nodiscard]] QString SpaceBefore(int element) const
    {
        return mXliff.GetLineEnd() + mXliff.IndentOf(element);
    }

    /// Calls `visit(child)` for the children of an element, and `gap(text)` before, between and after them.
    template <typename Gap, typename Visitor>
    void ForEachPart(int element, const Gap& gap, const Visitor& visit)
    {
        const XmlSource::Element& e = mElements.at(element);
        qsizetype position = e.TagEnd;
        ForEachChild(element, [&](int child) {
            gap(mXliff.GetRange(position, mElements.at(child).Begin));
            visit(child);
            position = mElements.at(child).End;
        });
        gap(mXliff.GetRange(position, e.ContentEnd));
    }

    /// Returns an element without the units in it, and adds those units to mMoved.
    [[nodiscard]] QString WithoutUnits(int element)
    {
        const XmlSource::Element& e = mElements.at(element);
        if (!mHoldsUnits.at(element))
            return mXliff.GetRange(e.Begin, e.End);
        JoinedText text;
        text.AddElement(StartTag(element));
        ForEachPart(
            element, [&](const QString& gap) { text.AddGap(gap); },
            [&](int child) {
                if (mUnitOf.at(child) >= 0)
                    mMoved.append(child);
                else
                    text.AddElement(WithoutUnits(child));
            });
        return text.Finish(mXliff.GetRange(e.ContentEnd, e.End)); // includes text appended to the content
    }

    void AddUnit(JoinedText& text, int element)
    {
        const QList<int> before = std::exchange(mMoved, {});
        const QString unit = WithoutUnits(element); // it may contain other units, although XLIFF forbids that
        if (!mIsDropped.at(element))
            text.AddElement(unit);
        for (const int inner : std::exchange(mMoved, before)) {
            NoteMoved(inner);
            text.AddGap(SpaceBefore(element));
            AddUnit(text, inner);
        }
    }

    void NoteMoved(int element)
    {
        const QString& source = Units().at(mUnitOf.at(element)).Source;
        AddNote(element, kGroup, Console::Quoted(source) + " moved into the body"_L1,
                u"the library finds only units directly in the body"_s,
                u"moved into the body: the library finds them only there"_s, source);
    }

    /// Adds the content of a body, and moves units out of groups.
    void AddBody(JoinedText& text, int body)
    {
        ForEachPart(
            body, [&](const QString& gap) { text.AddGap(gap); },
            [&](int child) {
                if (mUnitOf.at(child) >= 0)
                    AddUnit(text, child);
                else if (mHoldsUnits.at(child))
                    OpenGroup(text, child);
                else
                    text.AddElement(mXliff.GetRange(mElements.at(child).Begin, mElements.at(child).End));
            });
    }

    void OpenGroup(JoinedText& text, int group)
    {
        QStringList own;
        int units = 0;
        ForEachChild(group, [&](int child) {
            units += mUnitOf.at(child) >= 0 ? 1 : 0;
            if (!mHoldsUnits.at(child) && mUnitOf.at(child) < 0)
                own += mXliff.GetRange(mElements.at(child).Begin, mElements.at(child).End);
        });
        const QString tag = u'<' + mElements.at(group).Name.toString() + AttributesOf(group, {}) + u'>';
        const QString why = u"the library finds only units directly in the body"_s;
        if (own.isEmpty()) {
            AddNote(group, kGroup, u"%1 removed, its content kept"_s.arg(tag), why);
        } else {
            AddNote(group, kGroup, u"the units in %1 moved after it"_s.arg(tag), why);
            const QString inner = SpaceBefore(group) + mXliff.IndentStep();
            text.AddElement(StartTag(group) + inner + own.join(inner) + SpaceBefore(group) + EndTag(group));
        }
        ForEachPart(
            group, [&](const QString& gap) { text.AddGap(gap); },
            [&](int child) {
                if (mUnitOf.at(child) >= 0)
                    AddUnit(text, child);
                else if (mHoldsUnits.at(child))
                    OpenGroup(text, child);
            });
    }

    /// Copies attributes of groups to the units in them.
    void InheritAttributes(const FileGroup& group)
    {
        for (const int index : group.Units) {
            const XliffUnit& unit = Units().at(index);
            for (const QStringView name : {u"xml:space", u"translate"})
                InheritAttribute(unit.Element, name, group.Container);
        }
    }

    void InheritAttribute(int unit, QStringView name, int container)
    {
        if (mXliff.GetSource().FindAttribute(unit, name))
            return;
        for (int parent = mElements.at(unit).Parent; parent > 0 && parent != container;
             parent = mElements.at(parent).Parent) {
            if (const XmlSource::Attribute* attribute = mXliff.GetSource().FindAttribute(parent, name)) {
                mXliff.SetAttribute(unit, name,
                                    mXliff.GetSource().GetText().mid(
                                        attribute->ValueBegin, attribute->ValueEnd - attribute->ValueBegin));
                return;
            }
        }
    }

    void LayOut(const FileGroup& group, QList<std::pair<int, QString>>& replaced)
    {
        const XliffFile& first = Files().at(group.Files.constFirst());
        const QString indent = SpaceBefore(first.Element) + mXliff.IndentStep();
        const QString bodyName
            = group.Container < 0 ? u"body"_s : mElements.at(group.Container).Name.toString();
        JoinedText body;
        JoinedText rest;
        body.AddElement(group.Container < 0 ? u"<body>"_s : StartTag(group.Container));
        const QString bodySpace = group.Container < 0 ? indent : SpaceBefore(group.Container);
        if (group.Container >= 0)
            AddBody(body, group.Container);
        for (const int index : group.Files) {
            const int file = Files().at(index).Element;
            if (mElements.at(file).IsSelfClosing())
                continue;
            ForEachPart(
                file, [&](const QString& gap) { rest.AddGap(gap); },
                [&](int child) { AddFilePart(group, child, body, rest); });
        }
        const QList<int> moved = std::exchange(mMoved, {});
        for (const int element : moved) {
            NoteMoved(element);
            body.AddGap(indent + mXliff.IndentStep());
            AddUnit(body, element);
        }
        const QString end = SpaceBefore(first.Element) + EndTag(first.Element);
        const QString text = StartTag(first.Element) + bodySpace
            + body.Finish(bodySpace, "</"_L1 + bodyName + u'>') + rest.Finish({}, end);
        replaced.append({first.Element, text});
        for (qsizetype i = 1; i < group.Files.size(); ++i)
            replaced.append({Files().at(group.Files.at(i)).Element, QString()});
    }

    /// Adds a child of a file to the body or after it.
    void AddFilePart(const FileGroup& group, int child, JoinedText& body, JoinedText& rest)
    {
        const XmlSource::Element& e = mElements.at(child);
        const bool isInFirst = e.Parent == Files().at(group.Files.constFirst()).Element;
        const QString why = u"the library reads only the first child of a file element"_s;
        if (child == group.Container)
            return;
        if (mUnitOf.at(child) >= 0) {
            mMoved.append(child);
        } else if (e.Name == u"body") {
            if (isInFirst)
                AddNote(child, kHeader, u"the content of another body moved into the first"_s, why);
            AddBody(body, child);
        } else {
            rest.AddElement(WithoutUnits(child));
            if (!isInFirst || group.Container < 0 || e.Begin < mElements.at(group.Container).Begin)
                AddNote(child, kHeader, u"<%1> moved after the body"_s.arg(e.Name), why);
        }
    }

    XliffDocument& mXliff;
    bool mApproves;
    const QList<XmlSource::Element>& mElements;
    QList<int> mUnitOf; // by element: index of the unit, or -1
    QList<bool> mHoldsUnits; // by element
    QList<bool> mIsDropped; // by element: whether it is a unit that was joined to another
    QStringList mTargets; // of the units, as the library reads them after the repair
    QHash<int, InlineText> mTexts; // of targets that the library does not read completely
    QSet<int> mHasLanguage;
    QSet<int> mHasSourceLanguage;
    QSet<int> mLeftUnits; // elements of units that share their id with a unit of another source
    QSet<int> mLeftFiles; // hidden from the library by a later file of the same name in other languages
    QList<FileGroup> mGroups;
    QList<int> mMoved; // units that have left their place and must be inserted in the body
    QList<RepairNote> mNotes;
};

} // namespace

QList<RepairNote> RepairXliff(XliffDocument& xliff, bool approves)
{
    return Repair(xliff, approves).Run();
}

} // namespace Quorvin::Tool
