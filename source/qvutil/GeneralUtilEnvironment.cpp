// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include "platform/Platform.h"

namespace Quorvin::Util {

void GeneralUtil::OutputDebugString(const QString& text)
{
    Platform::WriteDebugOutput(text);
}

void GeneralUtil::OutputDebugString(const wchar_t* text)
{
    Platform::WriteDebugOutput(text);
}

} // namespace Quorvin::Util
