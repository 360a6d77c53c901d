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
    QString SourceLanguage; ///< empty for the language in the file, or "en"
    QString TargetLanguage; ///< empty for the language in the file
    QStringList Folders; ///< missing documents below these folders have vanished
    bool Prune = false; ///< whether to remove vanished units and documents
    bool Reuse = false; ///< whether new units get the target of the same text in another document
    bool Locations = true; ///< whether to record the line of each text
};

/// A unit whose text is no longer in its document.
struct VanishedUnit
{
    QString Source;
    QString Target;
    Place Where; ///< in the XLIFF file before the update
};

/// The changes to the units of one document.
struct DocumentReport
{
    QString Document; ///< the `original` attribute
    bool IsGone = false; ///< whether the document itself has vanished
    int Kept = 0;
    int Corrected = 0; ///< number of kept units whose id was corrected
    int Unreachable = 0; ///< number of kept units that the library does not find
    QStringList New;
    int Reused = 0; ///< number of new units that got a target
    QList<VanishedUnit> Vanished;
};

/// Updates an XLIFF file with the texts of documents: adds units for new texts, corrects ids, and reports or
/// removes units whose texts have vanished. Units of other documents are not changed. Throws Failure if the
/// file is for other languages.
[[nodiscard]] QList<DocumentReport> UpdateXliff(XliffDocument& xliff, const QList<DocumentTexts>& documents,
                                                const ExtractionOptions& options);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFEXTRACTOR_H
