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

/// The types of values in documents. All but the last two are stored in attributes.
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

/// Finds a type by its name on the command line. Throws UsageFailure if there is none.
[[nodiscard]] ValueType ValueTypeByName(const QString& name);
[[nodiscard]] QString ValueTypeName(ValueType type);
/// Returns the names of all types, joined by ", ".
[[nodiscard]] std::string ValueTypeNames();
/// Returns whether values of the type are an element's content, and therefore have no name.
[[nodiscard]] bool IsContent(ValueType type);

/// A value as it is printed.
struct Value
{
    QByteArray Plain; ///< UTF-8, or the bytes of a buffer
    QJsonValue Json;
};

/// Reads a value of the element under the cursor as the library does.
/// \param name  name of the attribute; not used if the value is the element's content
/// \return nullopt if the library would return the caller's default
[[nodiscard]] std::optional<Value> ReadValue(Util::XmlFiler& filer, ValueType type, const QString& name);
/// Writes a value of the element under the cursor. \p value is UTF-8 text, or the bytes of a buffer. Throws
/// UsageFailure if it is not a value of the type.
void WriteValue(Util::XmlFiler& filer, ValueType type, const QString& name, const QByteArray& value);
/// Returns the reason why ReadValue returns nullopt.
[[nodiscard]] QString WhyMissing(const Util::XmlFiler& filer, ValueType type, const QString& name);

/// Converts a value from text to the form in which ReadValue returns it.
[[nodiscard]] Value NormalizedValue(ValueType type, const QByteArray& value);

/// Finds the type for which the library would write this text: "640" is an int and "True" a bool, but "0640"
/// and "yes" are strings. The result is never a long, an unsigned number or a buffer.
[[nodiscard]] ValueType TypeOfText(const QString& text);
/// Returns the bytes that the library reads from a CDATA section; nullopt if it would write them differently.
[[nodiscard]] std::optional<QByteArray> BytesOfSection(const QString& section);
/// Formats a number as the library does.
[[nodiscard]] QString DoubleText(double value);

/// Throws UsageFailure if text contains a character that XML does not allow.
void CheckCharacters(const QString& text);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_VALUE_H
