// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffChecks.h"

#include "cli/Console.h"
#include "xliff/SourceText.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <array>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct KindName
{
    FindingKind Kind;
    QStringView Name;
};

constexpr std::array kKindNames = {
    KindName{FindingKind::Untranslated, u"untranslated"},
    KindName{FindingKind::Unfinished, u"unfinished"},
    KindName{FindingKind::Unreachable, u"unreachable"},
    KindName{FindingKind::WrongId, u"wrong-id"},
    KindName{FindingKind::DuplicateFile, u"duplicate-file"},
    KindName{FindingKind::DuplicateUnit, u"duplicate-unit"},
    KindName{FindingKind::Placeholders, u"placeholders"},
    KindName{FindingKind::CutTarget, u"cut-target"},
    KindName{FindingKind::Unwrapped, u"unwrapped"},
    KindName{FindingKind::Obsolete, u"obsolete"},
    KindName{FindingKind::Missing, u"missing"},
};

/// Why the library does not find a unit, worded for one unit and for several.
struct ReachabilityReason
{
    UnitReachability Reachability;
    QStringView Single;
    QStringView Shared;
};

constexpr std::array kReasons = {
    ReachabilityReason{UnitReachability::NoFileName,
                       u"the \"original\" of its file element does not name a file",
                       u"the \"original\" of their file element does not name a file"},
    ReachabilityReason{UnitReachability::BodyNotFirst,
                       u"another element, such as a header, is before the body",
                       u"another element, such as a header, is before the body"},
    ReachabilityReason{UnitReachability::Nested, u"it is not directly in a body, but for example in a group",
                       u"they are not directly in a body, but for example in a group"},
    ReachabilityReason{UnitReachability::Replaced, u"a later file element has the same file name",
                       u"a later file element has the same file name"},
};

/// Returns the reason for a unit that the library does not find.
const ReachabilityReason& ReasonOf(UnitReachability reachability)
{
    const auto found
        = std::find_if(kReasons.begin(), kReasons.end(), [reachability](const ReachabilityReason& reason) {
              return reason.Reachability == reachability;
          });
    Q_ASSERT(found != kReasons.end());
    return *found;
}

/// Returns the members of \p a that are not in \p b, for a message.
QString ListOf(const QStringList& a, const QStringList& b)
{
    QStringList result;
    std::set_difference(a.cbegin(), a.cend(), b.cbegin(), b.cend(), std::back_inserter(result));
    return result.join(", "_L1);
}

class Check
{
public:
    explicit Check(const XliffDocument& xliff)
        : mXliff(xliff)
    { }

    QList<Finding> Run(const QList<DocumentTexts>* documents)
    {
        CheckFiles();
        for (const XliffUnit& unit : mXliff.GetUnits())
            CheckUnit(unit);
        CheckDuplicates();
        if (documents)
            CheckAgainst(*documents);
        std::stable_sort(mFindings.begin(), mFindings.end(), [](const Finding& a, const Finding& b) {
            return std::pair(a.Where.Line, a.Where.Column) < std::pair(b.Where.Line, b.Where.Column);
        });
        return mFindings + mDocumentFindings;
    }

private:
    void Add(FindingKind kind, const XliffUnit& unit, const QString& text, const QString& shared = {})
    {
        const QString original = unit.File < 0 ? QString() : mXliff.GetFiles().at(unit.File).Original;
        mFindings.append({kind, mXliff.GetName(), mXliff.GetPlace(unit.Element), original, unit.Id, text,
                          shared, unit.Source});
    }

    void CheckFiles()
    {
        QHash<QString, int> first;
        for (const XliffFile& file : mXliff.GetFiles()) {
            if (file.Key.isEmpty())
                continue;
            const Place place = mXliff.GetPlace(file.Element);
            if (const int line = first.value(file.Key); line > 0) {
                mFindings.append(
                    {FindingKind::DuplicateFile,
                     mXliff.GetName(),
                     place,
                     file.Original,
                     {},
                     u"%1 has the same file name as the file element on line %2: the library uses "
                     "only the last one"_s.arg(Console::Quoted(file.Original), QString::number(line)),
                     {},
                     {}});
            } else {
                first.insert(file.Key, place.Line);
            }
        }
    }

    void CheckUnit(const XliffUnit& unit)
    {
        const QString source = Console::Quoted(unit.Source);
        if (unit.Reachability != UnitReachability::Found) {
            const ReachabilityReason& reason = ReasonOf(unit.Reachability);
            Add(FindingKind::Unreachable, unit, u"%1 is out of reach: %2"_s.arg(source, reason.Single),
                u"are out of reach: %1"_s.arg(reason.Shared));
        }
        if (unit.HasWrongId()) {
            Add(FindingKind::WrongId, unit,
                u"%1 has the id %2, but the library looks for %3"_s.arg(source, Console::Quoted(unit.Id),
                                                                        UnitId(unit.Source)),
                u"have ids that are not the digests of their sources, which the library looks for"_s);
        }
        CheckTarget(unit, source);
    }

    void CheckTarget(const XliffUnit& unit, const QString& source)
    {
        const QString target = unit.WholeTarget;
        if (unit.Target.isEmpty()) {
            const QStringView why = unit.TargetElement < 0 ? u"no target"
                : target.trimmed().isEmpty()               ? u"an empty target"
                                                           : u"a target that begins with markup";
            Add(FindingKind::Untranslated, unit, u"%1 has %2: the user sees %3"_s.arg(source, why, unit.Id),
                u"have %1: the user sees their ids"_s.arg(why));
            return;
        }
        if (unit.GetProgress() == UnitProgress::Unfinished)
            Add(FindingKind::Unfinished, unit, u"%1 has the state %2"_s.arg(source, unit.State),
                u"have the state %1"_s.arg(unit.State));
        if (target != unit.Target) {
            const bool isCut = unit.GetShownTarget() != unit.Target;
            Add(isCut ? FindingKind::CutTarget : FindingKind::Unwrapped, unit,
                (isCut ? u"%1 has markup in its target: the user sees only %2"_s
                       : u"the target of %1 is a tr(...) mark: the user sees %2"_s)
                    .arg(source, Console::Quoted(unit.Target)));
        }
        CheckPlaceholders(unit, source);
    }

    void CheckPlaceholders(const XliffUnit& unit, const QString& source)
    {
        const QStringList wanted = FindPlaceholders(unit.Source);
        const QStringList present = FindPlaceholders(unit.Target);
        if (wanted == present)
            return;
        const QString lacks = ListOf(wanted, present);
        const QString adds = ListOf(present, wanted);
        QStringList faults;
        if (!lacks.isEmpty())
            faults.append("lacks "_L1 + lacks);
        if (!adds.isEmpty())
            faults.append("has "_L1 + adds + ", which the source lacks"_L1);
        Add(FindingKind::Placeholders, unit,
            u"%1 and its target %2 differ in placeholders: the target %3"_s.arg(
                source, Console::Quoted(unit.Target), faults.join(" and "_L1)));
    }

    void CheckDuplicates()
    {
        for (const XliffFile& file : mXliff.GetFiles()) {
            QHash<QString, const XliffUnit*> first;
            for (const int index : file.Units) {
                const XliffUnit& unit = mXliff.GetUnits().at(index);
                const XliffUnit*& known = first[unit.Id];
                if (known && known->Target != unit.Target) {
                    Add(FindingKind::DuplicateUnit, unit,
                        u"%1 has the same id as the unit on line %2, but a different target: the "
                        "library uses the last one"_s.arg(
                            Console::Quoted(unit.Source),
                            QString::number(mXliff.GetPlace(known->Element).Line)));
                }
                if (!known)
                    known = &unit;
            }
        }
    }

    void CheckAgainst(const QList<DocumentTexts>& documents)
    {
        QHash<QString, QSet<QString>> units; // ids that the library finds, by the document's key
        for (const XliffUnit& unit : mXliff.GetUnits()) {
            if (unit.Reachability == UnitReachability::Found)
                units[mXliff.GetFiles().at(unit.File).Key].insert(unit.Id);
        }
        QHash<QString, QSet<QString>> sources; // by the document's key
        for (const DocumentTexts& document : documents) {
            QSet<QString>& present = sources[document.Key];
            const QSet<QString> known = units.value(document.Key);
            for (const DocumentTexts::Text& text : document.Texts) {
                present.insert(text.Source);
                const QString id = UnitId(text.Source);
                if (!known.contains(id))
                    AddMissing(text, id);
            }
        }
        for (const XliffUnit& unit : mXliff.GetUnits()) {
            if (unit.File < 0)
                continue;
            const XliffFile& file = mXliff.GetFiles().at(unit.File);
            const auto present = sources.constFind(file.Key);
            if (present == sources.cend()) {
                Add(FindingKind::Obsolete, unit,
                    u"%1 belongs to %2, which is not among the documents"_s.arg(
                        Console::Quoted(unit.Source), Console::Quoted(file.Original)),
                    u"belong to %1, which is not among the documents"_s.arg(Console::Quoted(file.Original)));
            } else if (!present->contains(unit.Source)) {
                Add(FindingKind::Obsolete, unit,
                    u"%1 is no longer in %2"_s.arg(Console::Quoted(unit.Source),
                                                   Console::Quoted(file.Original)));
            }
        }
    }

    void AddMissing(const DocumentTexts::Text& text, const QString& id)
    {
        mDocumentFindings.append(
            {FindingKind::Missing, text.Document, text.Where, text.Document, id,
             u"%1 at %2 has no unit in %3: the user sees it untranslated"_s.arg(Console::Quoted(text.Source),
                                                                                text.Path, mXliff.GetName()),
             u"have no unit in %1: the user sees them untranslated"_s.arg(mXliff.GetName()), text.Source});
    }

    const XliffDocument& mXliff;
    QList<Finding> mFindings;
    QList<Finding> mDocumentFindings;
};

} // namespace

QString GetKindName(FindingKind kind)
{
    const auto found = std::find_if(kKindNames.begin(), kKindNames.end(),
                                    [kind](const KindName& name) { return name.Kind == kind; });
    return found == kKindNames.end() ? QString() : found->Name.toString();
}

QList<FindingKind> GetFindingKinds()
{
    QList<FindingKind> result;
    for (const KindName& name : kKindNames)
        result.append(name.Kind);
    return result;
}

QList<Finding> CheckXliff(const XliffDocument& xliff, const QList<DocumentTexts>* documents)
{
    return Check(xliff).Run(documents);
}

} // namespace Quorvin::Tool
