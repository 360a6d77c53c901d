// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageCodec_p.h"

#include "XmlFiler.h"
#include "messaging/IPC_p.h"
#include "messaging/VariantMapEncoder_p.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

void AppendMessage(const QString& document, QList<MessageInfo>& messages)
{
    MessageInfo message;
    if (ReadMessageByFiler(document, message))
        messages.append(message);
}

} // namespace

QString EncodeMessage(const MessageInfo& message)
{
    const std::optional<QByteArray> document = WriteMessageDirectly(message);
    return document ? QString::fromUtf8(*document) : WriteMessageByFiler(message);
}

QByteArray EncodeMessageAsBytes(const MessageInfo& message)
{
    const std::optional<QByteArray> document = WriteMessageDirectly(message);
    return document ? *document : WriteMessageByFiler(message).toUtf8();
}

bool DecodeMessage(const QString& text, QList<MessageInfo>& messages)
{
    ForEachPiece(QStringView(text), kDocumentStart, [&messages](QStringView piece) {
        if (!piece.startsWith(kDocumentStart))
            AppendMessage(kDocumentStart.toString().append(piece), messages);
        else if (std::optional<MessageInfo> message = ReadMessageDirectly(piece))
            messages.append(*std::move(message));
        else if (piece.size() > kDocumentStart.size())
            AppendMessage(piece.toString(), messages);
    });
    return !messages.isEmpty();
}

bool DecodeMessage(const QByteArray& bytes, QList<MessageInfo>& messages)
{
    const qsizetype before = messages.size();
    for (QByteArrayView rest = bytes; !rest.isEmpty();) {
        if (!TakeMessageDirectly(rest, messages.emplaceBack())) {
            // All over again as a text: how broken UTF-8 reads does not depend on where it is cut.
            messages.resize(before);
            return DecodeMessage(QString::fromUtf8(bytes), messages);
        }
    }
    return !messages.isEmpty();
}

QString WriteMessageByFiler(const MessageInfo& message)
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

bool ReadMessageByFiler(const QString& document, MessageInfo& message)
{
    XmlFiler filer;
    if (!filer.LoadFromXmlString(document))
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
