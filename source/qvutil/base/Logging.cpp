// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "base/Logging_p.h"

namespace Quorvin::Util::Internal {

// Only fatal messages are enabled by default: the library is silent unless the application asks for messages.
Q_LOGGING_CATEGORY(lcQvUtil, "qvutil", QtFatalMsg)

} // namespace Quorvin::Util::Internal
