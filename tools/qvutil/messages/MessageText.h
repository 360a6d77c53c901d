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
// Parameters are plain JSON, for programs to read. If JSON cannot express the type of a value, "types", which
// has the same structure as "params", contains the name of the type, as it is in the frame. Without a name, a
// number is an Int, a LongLong if it is too large, or a Double if it is not a whole number; a string is a
// String, an array a List, and an object a Map.

/// A value as JSON.
struct JsonValue
{
    QJsonValue Value;
    QJsonValue
        Types; ///< the name of its type, or names in the structure of a Map or List; null if not needed
};

/// Converts a value to JSON. Whole numbers that not every program reads exactly, and numbers that JSON does
/// not support ("nan"), become strings; bytes become base64; values of types that cannot be sent become null.
[[nodiscard]] JsonValue ValueToJson(const QVariant& value);
/// Converts JSON to a value. Throws Failure if it is not a value of the type, or if there is no such type.
/// \param place  name of the value in error messages, such as "params.count"; may be empty
[[nodiscard]] QVariant ValueFromJson(const JsonValue& json, const QString& place);
/// Converts text to a value of a type, whose name may be in any case: "int", "Double", "ByteArray" (base64).
/// For a Map, List or StringList the text is JSON. Throws Failure like ValueFromJson.
[[nodiscard]] QVariant ValueFromText(const QString& type, const QString& text, const QString& place);

/// Converts a message to JSON.
[[nodiscard]] QJsonObject MessageToJson(const Util::MessageInfo& message);
/// Converts JSON to a message. Only "id" is required; other missing members have their defaults. Throws
/// Failure, with \p subject, if it is not a message, or one that no receiver could read.
[[nodiscard]] Util::MessageInfo MessageFromJson(const QJsonValue& json, const QString& subject);

/// Formats an object as one line, including the line feed.
[[nodiscard]] QString JsonLine(const QJsonObject& object);

/// One piece of received bytes, as a receiver reads it.
struct MessagePiece
{
    qint64 Offset = 0; ///< offset of its first byte
    QByteArrayView Bytes;
    std::optional<Util::MessageInfo> Message; ///< nullopt if a receiver skips the piece
    QString Problem; ///< why a receiver skips it, and at which byte
};

/// Splits bytes into pieces as a receiver does, and reads them. Values that cannot be sent get the name of
/// their type, so that MessageToJson can write it.
/// \param visit  called with each piece in order
void ForEachMessagePiece(QByteArrayView bytes, const std::function<void(const MessagePiece&)>& visit);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_MESSAGETEXT_H
