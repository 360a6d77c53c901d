// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include "general/Digest_p.h"

#include <QCryptographicHash>
#include <QFile>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

constexpr qint64 kChunkSize = 32768;
constexpr qint64 kKilobyte = 1024;
constexpr qint64 kMegabyte = 1024 * kKilobyte;
constexpr qint64 kGigabyte = 1024 * kMegabyte;

// Test for an empty path first: QFile::open warns about one.
bool OpenForReading(QFile& file)
{
    return !file.fileName().isEmpty() && file.open(QIODevice::ReadOnly);
}

QString InUnit(const QString& pattern, qint64 bytes, qint64 unit, int precision)
{
    return pattern.arg(static_cast<double>(bytes) / static_cast<double>(unit), 0, 'f', precision);
}

} // namespace

QByteArray GeneralUtil::GetFileHash(const QString& path)
{
    QFile file(path);
    if (!OpenForReading(file))
        return {};
    return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Md5).toHex();
}

QByteArray GeneralUtil::GetHash(const QString& text)
{
    return Internal::GetDigest(text).toHex();
}

QString GeneralUtil::GenerateCheckSumMD5(const QString& path)
{
    QFile file(path);
    if (!OpenForReading(file))
        return {};

    QCryptographicHash hash(QCryptographicHash::Md5);
    QByteArray chunk(kChunkSize, Qt::Uninitialized);
    qint64 length = 0;
    while ((length = file.read(chunk.data(), kChunkSize)) > 0)
        hash.addData(QByteArrayView(chunk).first(length));
    return QString::fromLatin1(hash.result().toHex());
}

QString GeneralUtil::BytesToString(qint64 bytes, int precision)
{
    if (bytes < kKilobyte)
        return u"%1 bytes"_s.arg(bytes);
    if (bytes < kMegabyte)
        return InUnit(u"%1 KB"_s, bytes, kKilobyte, precision);
    if (bytes < kGigabyte)
        return InUnit(u"%1 MB"_s, bytes, kMegabyte, precision);
    return InUnit(u"%1 GB"_s, bytes, kGigabyte, precision);
}

} // namespace Quorvin::Util
