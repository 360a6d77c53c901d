// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffExtractor.h"

#include "cli/Failure.h"

#include <qvutil/base/QtCompat_p.h>

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::QDirCleanPath;

namespace Quorvin::Tool {
namespace {

class Update
{
public:
    Update(XliffDocument& xliff, const ExtractionOptions& options)
        : mXliff(xliff)
        , mOptions(options)
    {
        ChooseLanguages();
        if (options.Reuse)
            CollectTargets();
    }

    QList<DocumentReport> Run(const QList<DocumentTexts>& documents)
    {
        QList<DocumentReport> reports;
        for (const DocumentTexts& document : documents) {
            mGiven.insert(document.Key);
            if (const XliffFile* file = FindFile(document.Key))
                reports.append(UpdateFile(*file, document));
            else if (!document.Texts.isEmpty())
                reports.append(AddFile(document));
        }
        for (const XliffFile& file : mXliff.GetFiles()) {
            if (HasVanished(file))
                reports.append(ReportGone(file));
        }
        return reports;
    }

private:
    [[nodiscard]] bool IsOurs(const XliffFile& file) const
    {
        return file.TargetLanguage.isEmpty() || IsSameLanguage(file.TargetLanguage, mOptions.TargetLanguage);
    }

    void ChooseLanguages()
    {
        const QList<XliffFile>& files = mXliff.GetFiles();
        if (mOptions.TargetLanguage.isEmpty() && !files.isEmpty())
            mOptions.TargetLanguage = files.constFirst().TargetLanguage;
        if (mOptions.TargetLanguage.isEmpty())
            throw UsageFailure(u"--language is required, because the file does not name a language yet"_s);
        const auto ours
            = std::find_if(files.cbegin(), files.cend(), [this](const XliffFile& f) { return IsOurs(f); });
        if (!files.isEmpty() && ours == files.cend()) {
            throw Failure(mXliff.GetName(),
                          u"translates into %1, not into %2"_s.arg(files.constFirst().TargetLanguage,
                                                                   mOptions.TargetLanguage));
        }
        const QString source = ours == files.cend() ? QString() : ours->SourceLanguage;
        if (mOptions.SourceLanguage.isEmpty())
            mOptions.SourceLanguage = source.isEmpty() ? u"en"_s : source;
        else if (!source.isEmpty() && !IsSameLanguage(source, mOptions.SourceLanguage))
            throw Failure(mXliff.GetName(),
                          u"translates from %1, not from %2"_s.arg(source, mOptions.SourceLanguage));
    }

    void CollectTargets()
    {
        for (const XliffUnit& unit : mXliff.GetUnits()) {
            if (unit.Reachability == UnitReachability::Found && unit.GetProgress() != UnitProgress::Empty
                && IsOurs(mXliff.GetFiles().at(unit.File)) && !mTargets.contains(unit.Id))
                mTargets.insert(unit.Id, unit.Target);
        }
    }

    /// Returns the file element for a key in the target language: the last one with units, as in the library.
    [[nodiscard]] const XliffFile* FindFile(const QString& key) const
    {
        const XliffFile* found = nullptr;
        bool foundHasUnits = false;
        for (const XliffFile& file : mXliff.GetFiles()) {
            if (file.Key != key || !IsOurs(file) || (foundHasUnits && file.Units.isEmpty()))
                continue;
            found = &file;
            foundHasUnits = !file.Units.isEmpty();
        }
        return found;
    }

    /// Returns whether a document no longer exists. Only documents below the folders of this run can be known
    /// to be missing.
    [[nodiscard]] bool HasVanished(const XliffFile& file) const
    {
        if (mGiven.contains(file.Key) || file.Key.isEmpty() || !IsOurs(file)
            || QFileInfo::exists(file.Original))
            return false;
        const QString original = QDirCleanPath(file.Original);
        return std::any_of(mOptions.Folders.cbegin(), mOptions.Folders.cend(), [&](const QString& folder) {
            const QString clean = QDirCleanPath(folder);
            return clean == "."_L1 ? QDir::isRelativePath(original) && !original.startsWith("../"_L1)
                                   : original.startsWith(clean + u'/');
        });
    }

    [[nodiscard]] NewUnit MakeUnit(const DocumentTexts::Text& text, DocumentReport& report) const
    {
        NewUnit unit{text.Source, mTargets.value(UnitId(text.Source)),
                     mOptions.Locations ? text.Where.Line : 0};
        report.New.append(text.Source);
        if (!unit.Target.isEmpty())
            ++report.Reused;
        return unit;
    }

    DocumentReport AddFile(const DocumentTexts& document)
    {
        DocumentReport report;
        report.Document = document.Path;
        QList<NewUnit> units;
        for (const DocumentTexts::Text& text : document.Texts)
            units.append(MakeUnit(text, report));
        mXliff.AddFile(document.Path, mOptions.SourceLanguage, mOptions.TargetLanguage, units);
        return report;
    }

    DocumentReport UpdateFile(const XliffFile& file, const DocumentTexts& document)
    {
        DocumentReport report;
        report.Document = file.Original;
        if (file.TargetLanguage.isEmpty())
            mXliff.SetTargetLanguage(file, mOptions.TargetLanguage);

        QHash<QString, int> byId;
        QHash<QString, int> bySource; // units with a wrong id, which the library does not find
        for (const int index : file.Units) {
            const XliffUnit& unit = mXliff.GetUnits().at(index);
            byId.insert(unit.Id, index); // the library uses the last of several
            if (unit.Id != UnitId(unit.Source))
                bySource.insert(unit.Source, index);
        }
        QSet<QString> ids;
        const XliffUnit* after = nullptr;
        QList<NewUnit> units;
        for (const DocumentTexts::Text& text : document.Texts) {
            const QString id = UnitId(text.Source);
            ids.insert(id);
            int index = byId.value(id, -1);
            if (index < 0 && (index = bySource.value(text.Source, -1)) >= 0) {
                mXliff.SetId(mXliff.GetUnits().at(index));
                ++report.Corrected;
            }
            if (index < 0) {
                units.append(MakeUnit(text, report));
                continue;
            }
            const XliffUnit& unit = mXliff.GetUnits().at(index);
            mUsed.insert(index);
            Keep(unit, text, report);
            if (IsAnchor(unit, file)) {
                mXliff.AddUnits(file, after, units);
                units.clear();
                after = &unit;
            }
        }
        mXliff.AddUnits(file, after, units);
        ReportVanished(file, ids, report);
        return report;
    }

    void Keep(const XliffUnit& unit, const DocumentTexts::Text& text, DocumentReport& report)
    {
        ++report.Kept;
        if (unit.Reachability != UnitReachability::Found)
            ++report.Unreachable;
        if (mOptions.Locations)
            mXliff.SetLine(unit, text.Where.Line);
    }

    /// Returns whether new units may be inserted after a unit. In a group, the library would not find them.
    [[nodiscard]] bool IsAnchor(const XliffUnit& unit, const XliffFile& file) const
    {
        return mXliff.GetParent(unit.Element) == file.Body;
    }

    void ReportVanished(const XliffFile& file, const QSet<QString>& ids, DocumentReport& report)
    {
        for (const int index : file.Units) {
            const XliffUnit& unit = mXliff.GetUnits().at(index);
            // The text of a unit with a wrong id still exists. `xliff check` reports such units.
            if (mUsed.contains(index) || ids.contains(unit.Id) || ids.contains(UnitId(unit.Source)))
                continue;
            report.Vanished.append({unit.Source, unit.Target, mXliff.GetPlace(unit.Element)});
            if (mOptions.Prune)
                mXliff.RemoveUnit(unit);
        }
    }

    DocumentReport ReportGone(const XliffFile& file)
    {
        DocumentReport report;
        report.Document = file.Original;
        report.IsGone = true;
        for (const int index : file.Units) {
            const XliffUnit& unit = mXliff.GetUnits().at(index);
            report.Vanished.append({unit.Source, unit.Target, mXliff.GetPlace(unit.Element)});
        }
        if (mOptions.Prune)
            mXliff.RemoveFile(file);
        return report;
    }

    XliffDocument& mXliff;
    ExtractionOptions mOptions;
    QHash<QString, QString> mTargets; // by id
    QSet<QString> mGiven;
    QSet<int> mUsed;
};

} // namespace

QList<DocumentReport> UpdateXliff(XliffDocument& xliff, const QList<DocumentTexts>& documents,
                                  const ExtractionOptions& options)
{
    return Update(xliff, options).Run(documents);
}

} // namespace Quorvin::Tool
