// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "StringUtil.h"

namespace Quorvin::Util {

void StringUtil::Trim(QStringList& list)
{
    for (QString& entry : list)
        entry = entry.trimmed();
}

} // namespace Quorvin::Util
