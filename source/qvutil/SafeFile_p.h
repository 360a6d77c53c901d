// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_SAFEFILE_P_H
#define QVUTIL_SAFEFILE_P_H

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Quorvin::Util::Internal {

/// Replaces a file's content in one step: afterwards the file holds the old content or the new one, whatever
/// happens in between (a killed process, a full disk). Symbolic links are followed, permissions kept, and
/// owner and group as far as the user may give files away. Where that cannot be had, because the folder is
/// not writable or \p path is no regular file, the content is written directly.
///
/// The new content goes to the hidden file ".NAME.saving" beside the target (".NAME.saving1" and so on while
/// that is in use), under a lock. One that a killed process left is removed by the next save of the same
/// file.
/// \return false if the file cannot be opened for writing or not every byte could be written
bool ReplaceFile(const QString& path, const QByteArray& content);

/// Finds the temporary files that killed saves of a file have left beside it. The next save removes them.
/// \return their paths; not those of saves that are under way
[[nodiscard]] QStringList FindAbandonedFiles(const QString& path);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_SAFEFILE_P_H
