// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_DOCUMENTWALK_H
#define QVUTIL_TOOL_XLIFF_DOCUMENTWALK_H

#include "xliff/TranslationMarks.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// Which documents a command is to read.
struct DocumentSelection
{
    QStringList Paths; ///< files, and folders to look into
    QStringList Patterns; ///< which files of a folder are documents; all that end in .xml if empty
    bool IsRecursive = false; ///< whether folders in folders count
    QString Except; ///< a file that is no document although it may match, such as the one to be written
};

/// The texts to translate of one document, each once, in the order of their first appearance; where several
/// documents have the same key, the texts of all of them.
struct DocumentTexts
{
    struct Text
    {
        QString Source;
        QString Path; ///< see TranslationMark
        Place Where;
        QString Document; ///< path of the document it was first seen in
    };

    QString Path; ///< of the first document with the key
    QString Key; ///< see DocumentKey
    QList<Text> Texts;
};

/// What a walk found.
struct WalkResult
{
    QList<DocumentTexts> Documents;
    int DocumentCount = 0;
    bool IsComplete = true; ///< false if a folder or document could not be read; that has been said already
};

/// Reads the documents of a selection, in the order of the paths given and in folders by name, and collects
/// their texts. Complains of each document that cannot be read, and of those that share a file name, and goes
/// on. Texts of nothing but white space are left out: there is nothing to translate.
[[nodiscard]] WalkResult CollectTexts(const DocumentSelection& selection);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_DOCUMENTWALK_H
