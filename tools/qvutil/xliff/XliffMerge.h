// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFMERGE_H
#define QVUTIL_TOOL_XLIFF_XLIFFMERGE_H

#include "xliff/XliffDocument.h"

#include <QList>
#include <QString>

namespace Quorvin::Tool {

struct MergeOptions
{
    bool PrefersOther = false; ///< whether the other file wins a conflict
    bool Reuse = false; ///< whether to use translations of the same text in other documents
};

/// A unit for which another file has a translation.
struct MergeNote
{
    Place Where;
    QString Source;
    QString Before; ///< the target before the merge; its markup if it contains no text
    QString OtherFile;
    Place OtherPlace;
    QString Other; ///< the target in the other file, like Before
    qsizetype Unit = 0; ///< index of the unit
    bool IsConflict = false; ///< whether both files have a translation, and they differ
    bool IsTaken = false; ///< whether the unit got the target or the state of the other file
    /// Whether the other target was not taken only because an element in it represents text that is not in
    /// the file.
    bool IsPartial = false;
};

struct MergeResult
{
    QList<MergeNote> Notes; ///< in the order of the units
    qsizetype Taken = 0; ///< number of changed units
    QStringList Unknown; ///< translated texts that are only in the other files
};

/// Adds translations from other files. Units are matched by document, languages and source. Their ids do not
/// matter, and the library need not find them.
///
/// - A unit without a translation gets the translation, and its state, of the first other file that has one.
/// - If the targets are equal and only the one in the other file is finished, the unit gets the state of that
///   target.
/// - A finished target is kept if the target in the other file is unfinished.
/// - All other differences are conflicts. The first of the other files wins them if PrefersOther is set.
///
/// Throws Failure if another file only translates between other languages, or if the language of a file
/// element is not certain.
[[nodiscard]] MergeResult MergeXliff(XliffDocument& xliff, const QList<const XliffDocument*>& others,
                                     const MergeOptions& options);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFMERGE_H
