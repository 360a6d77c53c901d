// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_STRINGUTIL_H
#define QVUTIL_STRINGUTIL_H

#include "QvUtilGlobal.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Quorvin::Util {

/// Small stateless helpers for texts.
class QVUTIL_EXPORT StringUtil
{
public:
    static void Trim(QStringList& list);
    static int ResolveVariables(QString& text, const QMap<QString, QString>& variables, bool ignoreCase);
};

} // namespace Quorvin::Util

#endif // QVUTIL_STRINGUTIL_H
