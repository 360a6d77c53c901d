// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_DOCUMENT_H
#define QVUTIL_TOOL_DOCUMENT_H

#include "cli/InputFile.h"

#include <qvutil/XmlFiler.h>

#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// Why and where a document does not parse.
struct ParseProblem
{
    qint64 Line; ///< counted from 1
    qint64 Column; ///< counted from 1
    QString Reason; ///< one line, for people
    bool IsTorn; ///< the file ends in the middle of the document, or is empty
};

/// Looks for the first place at which a file is not well-formed XML.
/// \return empty if it is well-formed
[[nodiscard]] std::optional<ParseProblem> FindParseProblem(const QString& path);

/// What to say of a file that is well-formed and yet not taken by the library.
[[nodiscard]] QString LimitsReason();

/// Throws Failure with the place of the problem.
[[noreturn]] void FailToParse(const QString& name, const ParseProblem& problem);

/// Loads a document; throws Failure with line, column and reason if it cannot be read or does not parse.
void LoadDocument(Util::XmlFiler& filer, const InputFile& file);

/// Saves a document so that the file is the old one or the new one; throws Failure if it stays the old one.
void SaveDocument(Util::XmlFiler& filer, const QString& file);

/// Throws Failure with the likeliest reason for a save that did not succeed.
[[noreturn]] void FailToSave(const QString& file);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DOCUMENT_H
