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

/// Returns the reason for a problem in a file, as text for users.
[[nodiscard]] QString ReasonText(const Util::Internal::XmlProblem& problem);
/// Finds the reason why the library does not load a file. Line and column are meant for users: they are those
/// of the last character if the file is truncated, count bytes if the encoding is wrong, and are 0 if a limit
/// is exceeded, because an exceeded limit has no single place.
/// \return nullopt if the library loads the file
[[nodiscard]] std::optional<Util::Internal::XmlProblem> FindFileProblem(const QByteArray& content);
/// Throws Failure with the place and the reason if the library does not load a file.
/// \param name  name of the file for messages
void RequireLoadable(const QString& name, const QByteArray& content);

/// Loads a document; throws Failure with line, column and reason if it cannot be read or does not parse.
void LoadDocument(Util::XmlFiler& filer, const InputFile& file);

/// Saves a document with the library. Throws Failure with the likeliest reason if that fails.
void SaveDocument(Util::XmlFiler& filer, const QString& file);

/// Records the state of a file before a save, so that the error message of a failed save can say whether the
/// file has changed.
class SaveAttempt
{
public:
    explicit SaveAttempt(const QString& file);
    /// Throws Failure with the likeliest reason for a failed save.
    [[noreturn]] void Fail() const;

private:
    QString mFile;
    QFileInfo mBefore;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DOCUMENT_H
