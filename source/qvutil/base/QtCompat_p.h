// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_QTCOMPAT_P_H
#define QVUTIL_QTCOMPAT_P_H

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QSharedMemory>
#include <QString>
#include <QSystemSemaphore>
#include <QTimeZone>

#include <algorithm>
#include <iterator>

// Internal, not API: may change in any version.

// The one place that tells Qt versions apart.
namespace Quorvin::Util::Internal {

/// Collapses slashes that follow one another, but for a slash at the front: two may begin a network path.
///
/// Does no harm to a path that Qt cleans afterwards, and is needed before: QDir::cleanPath() of Qt 6.8, and
/// absolute paths of QDir and QFileInfo with it, keep doubled slashes behind "." and "..", so that "/a/..//b"
/// becomes "//b".
[[nodiscard]] inline QString CollapseSlashes(QString path)
{
    if (!path.isEmpty()) {
        const auto end = std::unique(path.begin() + 1, path.end(),
                                     [](QChar left, QChar right) { return left == u'/' && right == u'/'; });
        path.truncate(end - path.begin());
    }
    return path;
}

/// \return what QDir::cleanPath() gives, the same with every version of Qt
[[nodiscard]] inline QString QDirCleanPath(const QString& path)
{
    return QDir::cleanPath(CollapseSlashes(path));
}

/// Takes a date's clock reading as UTC, whatever offset it came with.
[[nodiscard]] inline QDateTime ReinterpretAsUtc(QDateTime date)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    date.setTimeZone(QTimeZone::UTC);
#else
    date.setTimeSpec(Qt::UTC); // deprecated from Qt 6.9 on; QTimeZone::UTC came with 6.5
#endif
    return date;
}

/// Reads a date in Qt::ISODate form and takes its clock reading as UTC, whatever offset it has.
/// \return an invalid date if it is not one
[[nodiscard]] inline QDateTime ParseClockReadingAsUtc(const QString& text)
{
    constexpr qsizetype kDateSize = 10;
    const QDateTime date = QDateTime::fromString(text, Qt::ISODate);
    const QStringView time = QStringView(text).sliced(std::min(kDateSize, text.size()));
    if (time.isEmpty() || time.endsWith(u'Z', Qt::CaseInsensitive) || time.contains(u'+')
        || time.contains(u'-'))
        return ReinterpretAsUtc(date);
    // Without an offset the text is local time, and from Qt 6.7 on one in the hour that local time skips has
    // been moved already. What 24:00 means is left to Qt: the start of the next day, which may be skipped as
    // well.
    const QDateTime utc = QDateTime::fromString(text + u'Z', Qt::ISODate);
    const bool isSameDay = utc.date() == QDate::fromString(text.first(kDateSize), Qt::ISODate);
    return ReinterpretAsUtc(isSameDay ? utc : date);
}

/// \return the system's own name for what a QSharedMemory with that key uses
[[nodiscard]] inline QString NativeSharedMemoryKey(const QString& key)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    return QSharedMemory::legacyNativeKey(key).nativeKey();
#else
    // Before 6.6 an object with the key had to be made, which makes semaphores and files.
    QString letters;
    std::copy_if(key.begin(), key.end(), std::back_inserter(letters),
                 [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); });
    const QByteArray digest = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QDir::tempPath() + QStringLiteral("/qipc_sharedmemory_") + letters + QString::fromLatin1(digest);
#endif
}

/// Removes the semaphore, and its file, that locks what a QSharedMemory with that key uses. For memory that
/// is gone: processes that have crashed leave it.
inline void RemoveSharedMemorySemaphore(const QString& key)
{
    // An object that has created a semaphore removes it, and in this mode every object counts as its creator.
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    const QSystemSemaphore semaphore(QSystemSemaphore::legacyNativeKey(key), 1, QSystemSemaphore::Create);
#else
    const QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Create);
#endif
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_QTCOMPAT_P_H
