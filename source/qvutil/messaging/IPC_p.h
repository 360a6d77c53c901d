// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_IPC_P_H
#define QVUTIL_IPC_P_H

// This file is not part of the interface. It may change from one version to the next.

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

/// What stands in the place of a value whose type cannot travel.
inline constexpr QStringView kUnsupportedTypeText = u"<<Error: Unsupported type>>";

/// Makes MessageInfo known to queued connections under the name "MessageInfo", which is how the signatures of
/// signals and slots spell it.
void RegisterMessageInfo();

} // namespace Quorvin::Util

#endif // QVUTIL_IPC_P_H
