// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_SAVESAFETYSUPPORT_H
#define QVUTIL_SAVESAFETYSUPPORT_H

#include "support/SaveLoopDocuments.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/stat.h>

/// Helpers for tests of saving.
namespace SaveSafety {

/// Returns the bytes of one of SaveLoop's documents when saved; empty if it could not be saved.
[[nodiscard]] inline QByteArray DocumentBytes(size_t number)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("expected.xml"));
    Quorvin::Util::XmlFiler filer;
    SaveLoopDocuments::Fill(filer, number);
    return filer.SaveAsXmlFile(path) ? TestSupport::ReadFile(path) : QByteArray();
}

/// Returns the bytes of all of SaveLoop's documents.
[[nodiscard]] inline QList<QByteArray> AllDocumentBytes()
{
    QList<QByteArray> documents;
    for (size_t i = 0; i < SaveLoopDocuments::kSizes.size(); ++i)
        documents.append(DocumentBytes(i));
    return documents;
}

/// Returns all entries of a folder, including hidden ones and dangling links.
[[nodiscard]] inline QStringList FolderContent(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

/// Returns the permission bits of a file; -1 if it does not exist.
[[nodiscard]] inline int Mode(const QString& path)
{
    struct stat status;
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 07777) : -1;
}

/// Returns the type of the path itself (S_IFREG, S_IFLNK, ...); 0 if it does not exist.
[[nodiscard]] inline mode_t Kind(const QString& path)
{
    struct stat status;
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

} // namespace SaveSafety

#endif // QVUTIL_SAVESAFETYSUPPORT_H
