// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include <QCryptographicHash>

namespace Quorvin::Util {

QByteArray GeneralUtil::GetHash(const QString& text)
{
    return QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex();
}

} // namespace Quorvin::Util
