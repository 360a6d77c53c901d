// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_VALUE_H
#define QVUTIL_TOOL_VALUE_H

#include <qvutil/XmlFiler.h>

#include <QByteArray>
#include <QJsonValue>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// The types of values that documents keep. All but the last two are kept in attributes.
enum class ValueType {
    Int,
    UInt,
    Long,
    ULong,
    Int64,
    Double,
    Bool,
    Date,
    Rect,
    Size,
    String,
    Text, ///< the element's text
    Buffer, ///< bytes, as the element's content
};

/// Finds a type by the name that is used on the command line; throws UsageFailure if there is none.
[[nodiscard]] ValueType ValueTypeByName(const QString& name);
[[nodiscard]] QString ValueTypeName(ValueType type);
/// The names of all types, joined by ", ".
[[nodiscard]] std::string ValueTypeNames();
/// Whether a value of the type is an element's content, and so has no name.
[[nodiscard]] bool IsContent(ValueType type);

/// A value as it is printed.
struct Value
{
    QByteArray Plain; ///< UTF-8, or the bytes of a buffer
    QJsonValue Json;
};

/// Reads a value of the element under the cursor just as the library does.
/// \param name  name of the attribute; not used if the value is the element's content
/// \return empty where the library would answer the caller's default
[[nodiscard]] std::optional<Value> ReadValue(Util::XmlFiler& filer, ValueType type, const QString& name);
/// Writes a value of the element under the cursor, given as text, or as bytes if it is a buffer. Throws
/// UsageFailure if it is no such value.
void WriteValue(Util::XmlFiler& filer, ValueType type, const QString& name, const QByteArray& value);
/// Tells in a sentence why ReadValue finds nothing.
[[nodiscard]] QString WhyMissing(const Util::XmlFiler& filer, ValueType type, const QString& name);

/// Gives a value that was given as text in the form in which ReadValue would give it.
[[nodiscard]] Value NormalizedValue(ValueType type, const QByteArray& value);

/// Finds the type of which a text is a value as the library writes it: "640" is an int and "True" a bool, but
/// "0640" and "yes" are strings. Texts are never longs, unsigned numbers or buffers.
[[nodiscard]] ValueType TypeOfText(const QString& text);
/// Gives a number as the library writes it.
[[nodiscard]] QString DoubleText(double value);

/// Throws UsageFailure if a text holds a character that a document cannot hold.
void CheckCharacters(const QString& text);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_VALUE_H
