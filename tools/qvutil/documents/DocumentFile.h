// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_DOCUMENT_H
#define QVUTIL_TOOL_DOCUMENT_H

#include "cli/InputFile.h"

#include <qvutil/XmlFiler.h>
#include <qvutil/xml/XmlRules_p.h>

#include <QByteArray>
#include <QFileInfo>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// Returns the reason for a problem, worded for a file.
[[nodiscard]] QString ReasonText(const Util::Internal::XmlProblem& problem);
/// Finds out what keeps a file from being loaded. Line and column are those to show: of the last character if
/// the file is truncated, counted in bytes if the encoding is wrong, and 0 if a limit is exceeded, which
/// no single place is to blame for.
/// \return nothing if the library loads it
[[nodiscard]] std::optional<Util::Internal::XmlProblem> FindFileProblem(const QByteArray& content);
/// Throws Failure with the place and the reason if the library does not load a file.
/// \param name  name of the file for messages
void RequireLoadable(const QString& name, const QByteArray& content);

/// Loads a document; throws Failure with line, column and reason if it cannot be read or does not parse.
void LoadDocument(Util::XmlFiler& filer, const InputFile& file);

/// Saves a document so that the file is the old one or the new one; throws Failure if it stays the old one.
void SaveDocument(Util::XmlFiler& filer, const QString& file);

/// Remembers what a file was before a save, so that a failure can say whether the save has changed it.
class SaveAttempt
{
public:
    explicit SaveAttempt(const QString& file);
    /// Throws Failure with the likeliest reason for a save that did not succeed.
    [[noreturn]] void Fail() const;

private:
    QString mFile;
    QFileInfo mBefore;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DOCUMENT_H
