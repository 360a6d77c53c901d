// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "SafeFile_p.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace Quorvin::Util::Internal {
namespace {

bool WriteInFull(QFileDevice& file, const QByteArray& content)
{
    return file.write(content) == content.size() && file.flush() && file.error() == QFileDevice::NoError;
}

bool WriteDirectly(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const bool written = WriteInFull(file, content);
    file.close(); // what the last write could not store may show only now
    return written && file.error() == QFileDevice::NoError;
}

} // namespace

bool ReplaceFile(const QString& path, const QByteArray& content)
{
    const QFileInfo target(path);
    if (target.exists() && !target.isFile())
        return WriteDirectly(path, content);

    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // commit() alone would publish a torn file after a failed write: it looks at neither the number of
    // bytes nor the error of a write that its buffer had put off.
    if (!WriteInFull(file, content)) {
        file.cancelWriting();
        file.commit(); // removes the temporary file
        return false;
    }
    return file.commit();
}

} // namespace Quorvin::Util::Internal
