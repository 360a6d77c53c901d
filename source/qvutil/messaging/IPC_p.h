// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_IPC_P_H
#define QVUTIL_IPC_P_H

// Internal, not API: may change in any version.

#include "IPC.h"

#include <QString>

namespace Quorvin::Util {

// Names on the wire.
extern const QString kParamNeedResponse;
extern const QString kMsgResponse;
extern const QString kPropertyNode;
extern const QString kNameAttribute;
extern const QString kTypeAttribute;
extern const QString kValueAttribute;

/// Text in place of a value whose type cannot be sent.
inline constexpr QStringView kUnsupportedTypeText = u"<<Error: Unsupported type>>";

/// Registers MessageInfo for queued connections under the name "MessageInfo", as the signatures of signals
/// and slots spell it.
void RegisterMessageInfo();

} // namespace Quorvin::Util

#endif // QVUTIL_IPC_P_H
