// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_DOCUMENTWALK_H
#define QVUTIL_TOOL_XLIFF_DOCUMENTWALK_H

#include "xliff/TranslationMarks.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// The documents that a command reads.
struct DocumentSelection
{
    QStringList Paths; ///< documents, and folders of documents
    QStringList Patterns; ///< name patterns of the documents in a folder; *.xml if empty
    bool IsRecursive = false; ///< whether to include sub-folders
    QString Except; ///< a file to leave out even if its name matches, such as the output file
};

/// The texts to translate in one document, without duplicates, in the order of their first appearance.
/// Documents with the same key share one object.
struct DocumentTexts
{
    struct Text
    {
        QString Source;
        QString Path; ///< see TranslationMark
        Place Where;
        QString Document; ///< path of the first document that contains it
    };

    QString Path; ///< of the first document with the key
    QString Key; ///< see DocumentKey
    QList<Text> Texts;
};

/// The documents and texts that CollectTexts found.
struct WalkResult
{
    QList<DocumentTexts> Documents;
    int DocumentCount = 0;
    bool IsComplete = true; ///< false if a folder or document could not be read, which has been reported
};

/// Reads the documents of a selection and collects their texts. The documents are in the order of the paths,
/// and those of a folder are sorted by name. Reports documents that cannot be read, and documents that share
/// a file name. Leaves out texts that are only white space. Throws UsageFailure if a pattern is not valid.
[[nodiscard]] WalkResult CollectTexts(const DocumentSelection& selection);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_DOCUMENTWALK_H
