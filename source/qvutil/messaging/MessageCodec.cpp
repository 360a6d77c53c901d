// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageCodec_p.h"

#include "XmlFiler.h"
#include "base/Logging_p.h"
#include "messaging/MessageFastCodec_p.h"
#include "messaging/VariantMapEncoder_p.h"
#include "xml/XmlLimits_p.h"
#include "xml/XmlRules_p.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// The parser compares each attribute of an element with all those before it. This many comparisons take about
// half a second; the library's own frames need about ten per element.
constexpr qint64 kMaxAttributeComparisons = 200'000'000;

void AppendByDom(const QString& frame, QList<MessageInfo>& messages)
{
    MessageInfo message;
    if (Internal::DecodeMessageByDom(frame, message))
        messages.append(message);
}

void DecodeText(const QString& text, QList<MessageInfo>& messages, bool (*shouldStop)())
{
    using Internal::kFrameStart;
    qint64 comparisonsLeft = kMaxAttributeComparisons; // for all frames of one read
    Internal::ForEachPiece(QStringView(text), kFrameStart, [&](QStringView piece) {
        const bool isFrame = piece.startsWith(kFrameStart);
        if (isFrame) {
            if (std::optional<MessageInfo> message = Internal::DecodeMessageFast(piece)) {
                messages.append(*std::move(message));
                return;
            }
        }
        // Malicious frames can make the DOM path slow.
        if (piece.size() <= kFrameStart.size() || (shouldStop != nullptr && shouldStop()))
            return;
        const qint64 comparisons = Internal::CountAttributeComparisons(piece);
        if (comparisons > comparisonsLeft)
            return;
        comparisonsLeft -= comparisons;
        AppendByDom(isFrame ? piece.toString() : kFrameStart.toString().append(piece), messages);
    });
}

} // namespace

QString EncodeMessage(const MessageInfo& message)
{
    const std::optional<QByteArray> frame = Internal::EncodeMessageFast(message);
    return frame ? QString::fromUtf8(*frame) : Internal::EncodeMessageByDom(message);
}

QByteArray EncodeMessageAsBytes(const MessageInfo& message)
{
    const std::optional<QByteArray> frame = Internal::EncodeMessageFast(message);
    return frame ? *frame : Internal::EncodeMessageByDom(message).toUtf8();
}

bool DecodeMessage(const QString& text, QList<MessageInfo>& messages)
{
    DecodeText(text, messages, nullptr);
    return !messages.isEmpty();
}

bool DecodeMessage(const QByteArray& bytes, QList<MessageInfo>& messages, bool (*shouldStop)())
{
    const qsizetype before = messages.size();
    for (QByteArrayView rest = bytes; !rest.isEmpty();) {
        MessageInfo& message = messages.emplaceBack();
        if (!Internal::TakeMessageFast(rest, message)) {
            // Decode everything again as one text, because malformed UTF-8 may decode differently if it is
            // split.
            messages.resize(before);
            DecodeText(QString::fromUtf8(bytes), messages, shouldStop);
            break;
        }
    }
    return !messages.isEmpty();
}

QString Internal::EncodeMessageByDom(const MessageInfo& message)
{
    XmlFiler filer;
    filer.CreateRoot(u"Message"_s);
    filer.WriteString(u"Id"_s, message.Id);
    filer.WriteString(u"UniqueId"_s, message.UniqueId.toString());
    filer.WriteString(u"OriginalMessageUniqueId"_s, message.OriginalMessageUniqueId.toString());
    filer.WriteBoolean(u"NeedResponse"_s, message.NeedResponse);
    filer.WriteBoolean(u"IsResponse"_s, message.IsResponse);
    filer.CreateNode(u"Params"_s, true);
    VariantMapEncoder().WriteVariantMap(message.Params, filer);
    return filer.SaveAsXmlString();
}

bool Internal::DecodeMessageByDom(const QString& frame, MessageInfo& message)
{
    // Malformed frames are dropped silently, but XmlFiler would log that it cannot load them.
    if (Internal::lcQvUtil().isWarningEnabled() && Internal::FindXmlProblem(frame))
        return false;
    XmlFiler filer;
    if (!filer.LoadFromXmlString(frame))
        return false;
    message.Clear();
    message.Id = filer.ReadString(u"Id"_s, QString());
    message.UniqueId = QUuid(filer.ReadString(u"UniqueId"_s, QString()));
    message.OriginalMessageUniqueId = QUuid(filer.ReadString(u"OriginalMessageUniqueId"_s, QString()));
    message.NeedResponse = filer.ReadBoolean(u"NeedResponse"_s, false);
    message.IsResponse = filer.ReadBoolean(u"IsResponse"_s, false);
    if (filer.MoveToNode(u"Params"_s))
        VariantMapEncoder().ReadVariantMap(filer, message.Params);
    return true;
}

} // namespace Quorvin::Util
