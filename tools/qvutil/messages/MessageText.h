// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_MESSAGETEXT_H
#define QVUTIL_TOOL_MESSAGETEXT_H

#include <qvutil/IPC.h>

#include <QByteArrayView>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

namespace Quorvin::Tool {

// Messages between processes as text. A message is a JSON object:
//
//     {"id": "Resize", "uniqueId": "{…}", "originalMessageUniqueId": null,
//      "needResponse": true, "isResponse": false,
//      "params": {"name": "main", "width": 640, "scale": 2, "icon": "iVBORw0="},
//      "types": {"scale": "Double", "icon": "ByteArray"}}
//
// Parameters are plain JSON, for programs to read. Where plain JSON does not tell a value's type, "types",
// which has the shape of "params", names it: by the name that stands in the message's document. Without a
// name, a number is an Int, a LongLong if it is too large for that, or else a Double; and a text is a String,
// an array a List, an object a Map.

/// A value as JSON.
struct JsonValue
{
    QJsonValue Value;
    QJsonValue
        Types; ///< the name of its type, or names in the shape of a Map or List; null if none is needed
};

/// Writes a value: whole numbers that not every program reads exactly, and numbers that JSON does not have
/// ("nan"), as texts, bytes as base64, and what does not travel as null.
[[nodiscard]] JsonValue ValueToJson(const QVariant& value);
/// Reads a value.
/// \param place  what to call it in messages, such as "params.count"; empty for none
/// Throws Failure if it is no value of the type, or there is no such type.
[[nodiscard]] QVariant ValueFromJson(const JsonValue& json, const QString& place);
/// Reads a value of a type that is named in any case: "int", "Double", "ByteArray" (as base64). Of a Map,
/// List or StringList the text is JSON. Throws Failure like ValueFromJson.
[[nodiscard]] QVariant ValueFromText(const QString& type, const QString& text, const QString& place);

/// Writes a message, all of it.
[[nodiscard]] QJsonObject MessageToJson(const Util::MessageInfo& message);
/// Reads a message. Only "id" must be there; what is missing is as in a new message. Throws Failure, with
/// \p subject, if it is no message, or one that no receiver could read.
[[nodiscard]] Util::MessageInfo MessageFromJson(const QJsonValue& json, const QString& subject);

/// An object on one line, with its line break.
[[nodiscard]] QString JsonLine(const QJsonObject& object);

/// What a reader makes of one piece of the bytes that came.
struct MessagePiece
{
    qint64 Offset = 0; ///< of its first byte
    QByteArrayView Bytes;
    std::optional<Util::MessageInfo> Message; ///< nothing if a reader skips the piece
    QString Problem; ///< why it is skipped, and at which byte
};

/// Cuts bytes into pieces as a reader does, and reads them. Values that do not travel know the name of their
/// type afterwards, so that MessageToJson can tell it.
/// \param visit  called with each piece, in their order
void ForEachMessagePiece(QByteArrayView bytes, const std::function<void(const MessagePiece&)>& visit);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_MESSAGETEXT_H
