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
    bool Reuse = false; ///< whether a text may get the translation that it has in another document
};

/// A unit for which another file has a translation.
struct MergeNote
{
    Place Where;
    QString Source;
    QString Before; ///< the target before; its markup if that is all it has
    QString OtherFile;
    Place OtherPlace;
    QString Other; ///< like Before, in the other file
    qsizetype Unit = 0; ///< index of the unit
    bool IsConflict = false; ///< both have a translation, and they differ
    bool IsTaken = false; ///< whether the unit got the other target or its state
    /// Whether the other target would have been taken if it had no element that stands for unknown text.
    bool IsPartial = false;
};

struct MergeResult
{
    QList<MergeNote> Notes; ///< in the order of the units
    qsizetype Taken = 0; ///< number of changed units
    QStringList Unknown; ///< translated texts of the others that the file does not have
};

/// Takes over translations from other files. Texts are matched by document and source, whether the reader
/// finds them or not, and whatever their ids are.
///
/// A unit without a translation gets that of the first other file that has one, with its state. If the
/// targets are equal, a finished one confirms an unfinished one. A finished target stays if the other is
/// unfinished. All others that differ are conflicts. If the other files win conflicts, the first of them
/// does. Throws Failure if another file translates from or into another language.
[[nodiscard]] MergeResult MergeXliff(XliffDocument& xliff, const QList<const XliffDocument*>& others,
                                     const MergeOptions& options);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFMERGE_H
