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

// All code that depends on the version of Qt.
namespace Quorvin::Util::Internal {

/// Collapses repeated slashes, except two at the front, which may begin a network path.
///
/// Call this before Qt cleans a path: QDir::cleanPath() of Qt 6.8, and with it the absolute paths of QDir and
/// QFileInfo, keep repeated slashes after "." and "..". For example, "/a/..//b" becomes "//b".
[[nodiscard]] inline QString CollapseSlashes(QString path)
{
    if (!path.isEmpty()) {
        const auto end = std::unique(path.begin() + 1, path.end(),
                                     [](QChar left, QChar right) { return left == u'/' && right == u'/'; });
        path.truncate(end - path.begin());
    }
    return path;
}

/// \return the result of QDir::cleanPath(), the same with every version of Qt
[[nodiscard]] inline QString QDirCleanPath(const QString& path)
{
    return QDir::cleanPath(CollapseSlashes(path));
}

/// Reinterprets the time of a date as UTC, ignoring its offset.
[[nodiscard]] inline QDateTime ReinterpretAsUtc(QDateTime date)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    date.setTimeZone(QTimeZone::UTC);
#else
    date.setTimeSpec(Qt::UTC); // deprecated since Qt 6.9; QTimeZone::UTC needs Qt 6.5
#endif
    return date;
}

/// Reads a date in Qt::ISODate format and takes its time as UTC, ignoring any offset.
/// \return an invalid date if the text is not an ISO 8601 date
[[nodiscard]] inline QDateTime ParseClockReadingAsUtc(const QString& text)
{
    constexpr qsizetype kDateSize = 10;
    const QDateTime date = QDateTime::fromString(text, Qt::ISODate);
    const QStringView time = QStringView(text).sliced(std::min(kDateSize, text.size()));
    if (time.isEmpty() || time.endsWith(u'Z', Qt::CaseInsensitive) || time.contains(u'+')
        || time.contains(u'-'))
        return ReinterpretAsUtc(date);
    // Text without an offset is local time. If daylight saving time skips this hour, Qt 6.7 and newer have
    // already moved the time; parsing the text as UTC avoids that. For 24:00, keep Qt's result, the start of
    // the next day in local time, which daylight saving time may skip too.
    const QDateTime utc = QDateTime::fromString(text + u'Z', Qt::ISODate);
    const bool isSameDay = utc.date() == QDate::fromString(text.first(kDateSize), Qt::ISODate);
    return ReinterpretAsUtc(isSameDay ? utc : date);
}

#if QT_VERSION < QT_VERSION_CHECK(6, 6, 0)
// Before Qt 6.6, only an object can report this name, and constructing one creates semaphores and files.
[[nodiscard]] inline QString LegacyKeyFile(const QString& prefix, const QString& key)
{
    QString letters;
    std::copy_if(key.begin(), key.end(), std::back_inserter(letters),
                 [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); });
    const QByteArray digest = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QDir::tempPath() + u'/' + prefix + letters + QString::fromLatin1(digest);
}
#endif

/// \return the system's name for the segment of a QSharedMemory with this key
[[nodiscard]] inline QString NativeSharedMemoryKey(const QString& key)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    return QSharedMemory::legacyNativeKey(key).nativeKey();
#else
    return LegacyKeyFile(QStringLiteral("qipc_sharedmemory_"), key);
#endif
}

/// \return the system's name for the semaphore that locks the segment of a QSharedMemory with this key
[[nodiscard]] inline QString NativeSemaphoreKey(const QString& key)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    return QSystemSemaphore::legacyNativeKey(key).nativeKey();
#else
    return LegacyKeyFile(QStringLiteral("qipc_systemsem_"), key);
#endif
}

/// Removes the semaphore, with its file, that locks the segment of a QSharedMemory with this key. Crashed
/// processes leave it behind, even when the segment is gone.
inline void RemoveSharedMemorySemaphore(const QString& key)
{
    // A QSystemSemaphore that created the semaphore removes it, and in Create mode every object counts as its
    // creator.
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    const QSystemSemaphore semaphore(QSystemSemaphore::legacyNativeKey(key), 1, QSystemSemaphore::Create);
#else
    const QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Create);
#endif
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_QTCOMPAT_P_H
