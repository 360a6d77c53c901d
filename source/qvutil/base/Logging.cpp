// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "base/Logging_p.h"

namespace Quorvin::Util::Internal {

// Only fatal messages pass by default: the library stays quiet unless somebody asks.
Q_LOGGING_CATEGORY(lcQvUtil, "qvutil", QtFatalMsg)

} // namespace Quorvin::Util::Internal
