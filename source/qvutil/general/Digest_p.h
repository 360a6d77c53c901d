// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_DIGEST_P_H
#define QVUTIL_DIGEST_P_H

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>

#include <algorithm>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Returns the 16 bytes that GeneralUtil::GetHash returns as hexadecimal digits.
inline QByteArray GetDigest(const QString& text)
{
    return QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5);
}

/// Returns whether an id has the form that GeneralUtil::GetHash returns: 32 lower-case hexadecimal digits.
inline bool IsDigest(QStringView id)
{
    const auto isDigit = [](QChar c) { return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f'); };
    return id.size() == 32 && std::all_of(id.begin(), id.end(), isDigit);
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_DIGEST_P_H
