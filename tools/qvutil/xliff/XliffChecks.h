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

/// What can be wrong with an XLIFF file. Each kind has a name, by which it can be allowed.
enum class FindingKind {
    Untranslated, ///< no target, or an empty one: the user sees the id
    Unfinished, ///< a target whose state says that it needs work
    Unreachable, ///< a unit that the reader does not find
    WrongId, ///< an id that is not the digest of its source
    DuplicateFile, ///< two `file` elements with one file name
    DuplicateUnit, ///< one id with different targets
    Placeholders, ///< placeholders of source and target differ
    CutTarget, ///< the reader takes only the beginning of a target
    Unwrapped, ///< a target that is itself a tr(...) mark, which the reader unwraps
    Obsolete, ///< a source that is not in the documents
    Missing, ///< a text of the documents without a unit
};

struct Finding
{
    FindingKind Kind;
    QString File; ///< where it is: the XLIFF file, or a document
    Place Where;
    QString Original; ///< the document concerned, as the XLIFF file names it
    QString Id; ///< of the unit concerned; may be empty
    QString Text; ///< what is wrong, for people
    QString Shared; ///< the same about all units with this fault, see PlaceLine; may be empty
    QString Source; ///< the text concerned; may be empty
};

[[nodiscard]] QString GetKindName(FindingKind kind);
/// All kinds, in their order.
[[nodiscard]] QList<FindingKind> GetFindingKinds();

/// Checks an XLIFF file as the library's translator sees it.
/// \param documents  the documents to compare it with; null for none
/// \return the findings in the order of their places, those about documents last
[[nodiscard]] QList<Finding> CheckXliff(const XliffDocument& xliff, const QList<DocumentTexts>* documents);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFCHECKS_H
