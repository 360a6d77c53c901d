// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPC.h"

#include "messaging/MessageCodec_p.h"
#include "messaging/MessageFastCodec_p.h"

namespace Quorvin::Util {

IMessageResponder::~IMessageResponder() = default;

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
