// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_DIGEST_P_H
#define QVUTIL_DIGEST_P_H

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Returns the 16 bytes that GeneralUtil::GetHash returns as hexadecimal digits.
inline QByteArray GetDigest(const QString& text)
{
    return QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5);
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_DIGEST_P_H
