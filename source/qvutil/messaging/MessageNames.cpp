// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/IPC_p.h"

#include <QMetaType>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {

// These literals need no constructor at run time, so the order of initialisation does not matter.
const QString kParamNeedResponse = u"NeedResponse"_s; // clazy:exclude=non-pod-global-static
const QString kMsgResponse = u"Response"_s; // clazy:exclude=non-pod-global-static
const QString kPropertyNode = u"Param"_s; // clazy:exclude=non-pod-global-static
const QString kNameAttribute = u"Name"_s; // clazy:exclude=non-pod-global-static
const QString kTypeAttribute = u"Type"_s; // clazy:exclude=non-pod-global-static
const QString kValueAttribute = u"Value"_s; // clazy:exclude=non-pod-global-static

void RegisterMessageInfo()
{
    qRegisterMetaType<MessageInfo>("MessageInfo");
}

} // namespace Quorvin::Util
