// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFCHECKS_H
#define QVUTIL_TOOL_XLIFF_XLIFFCHECKS_H

#include "xliff/DocumentWalk.h"
#include "xliff/XliffDocument.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace Quorvin::Tool {

/// A kind of problem in an XLIFF file. `--allow` takes the names of the kinds.
enum class FindingKind {
    Untranslated, ///< no target, or an empty one: the user sees the id
    Unfinished, ///< an unfinished target, see UnitProgress
    Unreachable, ///< a unit that the library does not find
    WrongId, ///< an id that is not the digest of its source
    DuplicateFile, ///< two `file` elements with the same file name
    DuplicateUnit, ///< two units with the same id and different targets
    Placeholders, ///< placeholders of source and target differ
    CutTarget, ///< the library reads only the beginning of a target
    Unwrapped, ///< a target that is a tr(...) mark, which the library removes
    Obsolete, ///< a unit whose source is not in the documents
    Missing, ///< a text of the documents without a unit
};

struct Finding
{
    FindingKind Kind;
    QString File; ///< the XLIFF file or the document with the problem
    Place Where;
    QString Original; ///< the document, as the XLIFF file names it
    QString Id; ///< of the unit; may be empty
    QString Text; ///< describes the problem
    QString Shared; ///< describes the problem for several units, see PlaceLine; may be empty
    QString Source; ///< the text to translate; may be empty
};

[[nodiscard]] QString GetKindName(FindingKind kind);
/// Returns all kinds, in the order of the enumeration.
[[nodiscard]] QList<FindingKind> GetFindingKinds();

/// Finds the problems that the library would have with an XLIFF file.
/// \param documents  documents to compare the file with; null for none
/// \return the findings in the order of their places; those in documents come last
[[nodiscard]] QList<Finding> CheckXliff(const XliffDocument& xliff, const QList<DocumentTexts>* documents);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFCHECKS_H
