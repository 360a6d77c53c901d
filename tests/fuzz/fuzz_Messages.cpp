// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Decodes the input like the bytes from one read of a socket. Both codecs must find the same messages, and
// find them again after encoding them.

#include "FuzzSupport.h"

#include <messaging/MessageCodec_p.h>
#include <messaging/MessageFastCodec_p.h>

#include <QList>

#include <utility>

using namespace Quorvin::Util;

namespace {

bool AreEqual(const MessageInfo& one, const MessageInfo& other)
{
    return one.Id == other.Id && one.UniqueId == other.UniqueId
        && one.OriginalMessageUniqueId == other.OriginalMessageUniqueId
        && one.NeedResponse == other.NeedResponse && one.IsResponse == other.IsResponse
        && EncodeMessageAsBytes(one) == EncodeMessageAsBytes(other); // NaN is not equal to itself
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = Fuzz::Bytes(data, size);
    QList<MessageInfo> messages;
    Fuzz::Check(DecodeMessage(bytes, messages) == !messages.isEmpty(),
                "the result tells whether there are messages");
    QList<MessageInfo> ofText;
    DecodeMessage(QString::fromUtf8(bytes), ofText);
    Fuzz::Check(messages.size() == ofText.size(), "bytes and text hold the same number of messages");
    for (qsizetype i = 0; i < messages.size(); ++i)
        Fuzz::Check(AreEqual(messages[i], ofText[i]), "bytes and text hold the same messages");

    const QString text = QString::fromUtf8(bytes);
    if (const std::optional<MessageInfo> fast = Internal::DecodeMessageFast(QStringView(text))) {
        MessageInfo byDom;
        Fuzz::Check(Internal::DecodeMessageByDom(text, byDom), "the DOM path reads what the fast path reads");
        Fuzz::Check(AreEqual(*fast, byDom), "both paths read the same message");
    }
    for (const MessageInfo& message : std::as_const(messages)) {
        const QByteArray frame = EncodeMessageAsBytes(message);
        QList<MessageInfo> again;
        if (DecodeMessage(frame, again)) { // a text with a character that XML does not allow is lost
            Fuzz::Check(again.size() == 1, "a frame is one message");
            Fuzz::Check(EncodeMessageAsBytes(again.constFirst()) == frame,
                        "encoding a decoded message gives the same frame");
        }
    }
    (void)ExtractMessage(text);
    return 0;
}
