// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_FILECHECK_H
#define QVUTIL_TOOL_FILECHECK_H

#include "cli/InputFile.h"

#include <qvutil/XmlFiler.h>

#include <QJsonObject>
#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// A problem in a settings file.
struct FileProblem
{
    enum ProblemKind {
        Torn, ///< the file ends in the middle, or with zero bytes after a system crash
        Malformed, ///< it does not parse
        Limits, ///< it parses, but exceeds a limit of the library
        Character, ///< it holds a character that cannot be read back
        Change, ///< a value changes when the file is loaded and saved
        StaleFile, ///< an interrupted save left its temporary file
    };
    ProblemKind Kind;
    qint64 Line; ///< counted from 1; 0 if the problem has no place
    qint64 Column; ///< counted from 1; counts bytes if Kind is Character
    QString Reason;

    /// Returns "FILE:LINE:COLUMN: reason", or "FILE: reason".
    [[nodiscard]] QString ToText(const QString& file) const;
    [[nodiscard]] QJsonObject ToJson() const;
};

/// Finds the values that would change if a loaded document were saved and loaded again.
[[nodiscard]] QList<FileProblem> FindChanges(Util::XmlFiler& filer);
/// Returns whether a document certainly loads, and keeps all values when it is saved. Takes a fraction of the
/// time and memory of FindChanges.
/// \param name     name of the file
/// \param content  content of the file
/// \return false if FindChanges has to decide
[[nodiscard]] bool SurelyKeepsValues(const QString& name, const QByteArray& content);

/// Finds all problems in a settings file. Throws Failure if the file cannot be read.
[[nodiscard]] QList<FileProblem> CheckFile(const InputFile& file);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_FILECHECK_H
