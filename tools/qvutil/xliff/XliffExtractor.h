// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFEXTRACTOR_H
#define QVUTIL_TOOL_XLIFF_XLIFFEXTRACTOR_H

#include "xliff/DocumentWalk.h"
#include "xliff/XliffDocument.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

struct ExtractionOptions
{
    QString SourceLanguage; ///< empty for the one that the file has, or "en"
    QString TargetLanguage; ///< empty for the one that the file has
    QStringList Folders; ///< a document that is missing below one of these has vanished
    bool Prune = false; ///< remove what has vanished
    bool Reuse = false; ///< begin a new unit with the target that its text has in another document
    bool Locations = true; ///< note the line of each text
};

/// A unit whose text is no longer in its document.
struct VanishedUnit
{
    QString Source;
    QString Target;
    Place Where; ///< in the XLIFF file as it was
};

/// What the update of one document's units came to.
struct DocumentReport
{
    QString Document; ///< the "original"
    bool IsGone = false; ///< the document itself has vanished
    int Kept = 0;
    int Corrected = 0; ///< kept, with a wrong id put right
    int Unreachable = 0; ///< kept, but where the reader does not find them
    QStringList New;
    int Reused = 0; ///< how many of the new ones have a target already
    QList<VanishedUnit> Vanished;
};

/// Brings an XLIFF file up to date with the texts of documents: adds units for new texts, puts ids right, and
/// tells, or removes, what has vanished. Units of documents that were not given stay as they are.
/// Throws Failure if the file is for other languages.
[[nodiscard]] QList<DocumentReport> UpdateXliff(XliffDocument& xliff, const QList<DocumentTexts>& documents,
                                                const ExtractionOptions& options);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFEXTRACTOR_H
