// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPC.h"

#include "messaging/IPC_p.h"
#include "messaging/MessageCodec_p.h"
#include "messaging/MessageFastCodec_p.h"

#include <QMetaType>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {

// Literals without a constructor that runs: nothing here depends on the order of initialisation.
const QString kParamNeedResponse = u"NeedResponse"_s; // clazy:exclude=non-pod-global-static
const QString kMsgResponse = u"Response"_s; // clazy:exclude=non-pod-global-static
const QString kPropertyNode = u"Param"_s; // clazy:exclude=non-pod-global-static
const QString kNameAttribute = u"Name"_s; // clazy:exclude=non-pod-global-static
const QString kTypeAttribute = u"Type"_s; // clazy:exclude=non-pod-global-static
const QString kValueAttribute = u"Value"_s; // clazy:exclude=non-pod-global-static

IMessageResponder::~IMessageResponder() = default;

void RegisterMessageInfo()
{
    qRegisterMetaType<MessageInfo>("MessageInfo");
}

QString PackMessage(const QString& id, const QVariantMap& params)
{
    MessageInfo message;
    message.Id = id;
    message.Params = params;
    return EncodeMessage(message);
}

std::pair<QString, QVariantMap> ExtractMessage(const QString& document)
{
    MessageInfo message;
    if (std::optional<MessageInfo> fast = Internal::DecodeMessageFast(document))
        message = *std::move(fast);
    else if (!Internal::DecodeMessageByDom(document, message))
        return {};
    return {message.Id, message.Params};
}

} // namespace Quorvin::Util
