// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include "base/QtCompat_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringView>
#include <QTextStream>

#include <limits>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

constexpr QStringView kInvalidFileNameChars = u"\\/:*?\"<>|";
constexpr QDir::Filters kFolders = QDir::Dirs | QDir::AllDirs;
constexpr int kCounterEnd = std::numeric_limits<int>::max();

QFileInfoList SubFolders(const QString& folder, QDir::Filters filters)
{
    filters.setFlag(QDir::Files, false);
    filters |= QDir::AllDirs | QDir::NoDot | QDir::NoDotDot;
    QFileInfoList folders = QDir(folder).entryInfoList({}, filters, QDir::NoSort);
    folders.removeIf([](const QFileInfo& entry) { return !entry.isDir(); });
    return folders;
}

void AppendFiles(const QString& folder, const QStringList& patterns, QDir::Filters filters, bool recursive,
                 QStringList& files)
{
    const QDir::Filters flags = recursive ? filters & ~kFolders : filters;
    const QFileInfoList entries = QDir(folder).entryInfoList(patterns, flags, QDir::NoSort);
    for (const QFileInfo& entry : entries)
        files.append(Internal::QDirCleanPath(entry.absoluteFilePath()));
    if (!recursive)
        return;

    const QFileInfoList subFolders = SubFolders(folder, filters);
    for (const QFileInfo& subFolder : subFolders) {
        const QString path = Internal::QDirCleanPath(subFolder.absoluteFilePath());
        if (filters & kFolders)
            files.append(path);
        AppendFiles(path, patterns, filters, recursive, files);
    }
}

bool DeleteFile(const QString& path)
{
    if (!QFileInfo(path).isWritable())
        QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::WriteUser);
    return QDir().remove(path);
}

// Returns whether QString::arg has something to replace. A placeholder is appended first, because arg() warns
// if there is none.
bool HasPlaceholder(const QString& format)
{
    return QString(format + "%99"_L1).arg(QString()) != format;
}

// Test for an empty path first: QFile::open warns about one.
bool OpenText(QFile& file, QIODevice::OpenMode mode)
{
    return !file.fileName().isEmpty() && file.open(mode | QIODevice::Text);
}

} // namespace

QStringList GeneralUtil::GetFiles(QString folder, QString filter, QDir::Filters filters, bool recursive)
{
    folder = Internal::CollapseSlashes(folder);
    if (filter.isEmpty()) {
        const QFileInfo file(folder);
        if (!file.isDir()) {
            filter = file.fileName();
            folder = file.path();
        }
    }
    if (filter.isEmpty())
        filter = u"*"_s;

    QStringList files;
    AppendFiles(folder, filter.split(u'|', Qt::SkipEmptyParts), filters, recursive, files);
    return files;
}

bool GeneralUtil::DeleteFiles(const QString& folder, const QString& filter, QDir::Filters filters,
                              bool recursive)
{
    if (folder.isEmpty())
        return false;

    bool deleted = true;
    const QStringList files = GetFiles(folder, filter, filters, recursive);
    for (const QString& file : files) {
        if (!DeleteFile(file))
            deleted = false;
    }
    DeleteEmptyDirectories(folder, filters);
    return deleted;
}

bool GeneralUtil::DeleteEmptyDirectories(const QString& folder, QDir::Filters filters)
{
    if (folder.isEmpty() || !QDir(folder).exists())
        return false;

    const QFileInfoList subFolders = SubFolders(folder, filters);
    for (const QFileInfo& subFolder : subFolders)
        DeleteEmptyDirectories(subFolder.absoluteFilePath(), filters);
    return QDir().rmdir(QDir(folder).absolutePath());
}

QString GeneralUtil::GetUniqueFile(const QString& file, const QString& format, const QString& firstTry,
                                   bool append, int start)
{
    const QString path = Internal::QDirCleanPath(file);
    if (file.isEmpty() || !QFile::exists(path))
        return file;

    // Fill in one argument at a time, because placeholders in the folder and the name are replaced too.
    const QFileInfo info(path);
    const QString withFolder
        = (append ? u"%1/%2%3"_s : u"%1/%3%2"_s).arg(Internal::QDirCleanPath(info.absolutePath()));
    const QString withName = withFolder.arg(info.completeBaseName());
    QString ending = info.suffix();
    if (!ending.isEmpty())
        ending.prepend(u'.');
    const auto candidate = [&](const QString& tag) { return withName.arg(tag) + ending; };

    if (!firstTry.isEmpty()) {
        QString first = candidate(firstTry);
        if (!QFile::exists(first))
            return first;
    }
    const QString tagFormat = format.isEmpty() ? u"%1"_s : format;
    const bool counts = HasPlaceholder(tagFormat);
    for (int counter = start; counter < kCounterEnd; ++counter) {
        QString next = candidate(counts ? tagFormat.arg(counter) : tagFormat);
        if (!QFile::exists(next))
            return next;
        if (!counts)
            break; // every further candidate would be the same
    }
    return {};
}

QString GeneralUtil::GetUniqueFile(const QString& folder, const QString& name, const QString& extension,
                                   const QString& separator)
{
    const QString parent = folder.isEmpty() ? QDir::tempPath() : folder;
    if (parent.isEmpty())
        return {};

    QString baseName = name.isEmpty() ? u"Temp"_s : name;
    QString ending = extension;
    if (ending.isEmpty()) {
        const QFileInfo info(baseName);
        ending = info.suffix();
        baseName = info.baseName();
    }
    if (!ending.isEmpty() && !ending.startsWith(u'.'))
        ending.prepend(u'.');

    const QString withFolder = u"%1/%2%3"_s.arg(parent);
    const QString withName = withFolder.arg(baseName);
    // "_%1" becomes "_%1%_%1". Without a placeholder in the separator, this format has none either.
    return GetUniqueFile(withName.arg(ending), u"%1%%1"_s.arg(separator), QString(), true, 1);
}

QString GeneralUtil::GetUniqueFile(const QString& file, const QString& format)
{
    return GetUniqueFile(file, format, QString(), true, 2);
}

QString GeneralUtil::FixInvalidCharsInFileName(const QString& name, const QString& replacement)
{
    QString result;
    result.reserve(name.size());
    for (const QChar c : name) {
        if (c != u'\\' && kInvalidFileNameChars.contains(c))
            result += replacement;
        else
            result += c;
    }
    // Backslashes come last, because those in the replacement are replaced as well.
    return result.replace(u"\\"_s, replacement);
}

bool GeneralUtil::ReadAllLines(const QString& path, QStringList& lines)
{
    QFile file(path);
    if (!OpenText(file, QIODevice::ReadOnly))
        return false;
    QTextStream stream(&file);
    while (!stream.atEnd())
        lines.append(stream.readLine());
    return true;
}

bool GeneralUtil::WriteAllLines(const QString& path, const QStringList& lines)
{
    QFile file(path);
    if (!OpenText(file, QIODevice::WriteOnly))
        return false;
    QTextStream stream(&file);
    for (const QString& line : lines)
        stream << line << '\n';
    return true;
}

} // namespace Quorvin::Util
