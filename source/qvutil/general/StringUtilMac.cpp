// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "StringUtil.h"

#include "platform/FoundationText_p.h"

namespace Quorvin::Util {

QString StringUtil::NSStringToQString(NSString* string)
{
    return Platform::FromFoundation(string);
}

} // namespace Quorvin::Util
