// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include "Logging_p.h"

#include <QCryptographicHash>

namespace Quorvin::Util {

QByteArray GeneralUtil::GetHash(const QString& text)
{
    return QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex();
}

void GeneralUtil::OutputDebugString(const QString& text)
{
    qCDebug(lcQvUtil).noquote() << text;
}

void GeneralUtil::OutputDebugString(const wchar_t* text)
{
    if (text != nullptr)
        OutputDebugString(QString::fromWCharArray(text));
}

} // namespace Quorvin::Util
