// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_JSONSTREAM_H
#define QVUTIL_TOOL_JSONSTREAM_H

#include <QJsonDocument>
#include <QJsonValue>
#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// Prints one JSON document piece by piece, without keeping it in memory. The output has the format of
/// Console::PrintJson.
///
/// QJsonObject sorts its members by name, so add them in this order to get exactly the same output.
class JsonStream
{
public:
    JsonStream();

    void BeginObject() { Begin(u'{'); }
    void EndObject() { End(u'}'); }
    void BeginArray() { Begin(u'['); }
    void EndArray() { End(u']'); }
    /// Begins a member of an object. The next value, object or array that is added becomes its value.
    void AddName(const QString& name);
    void AddValue(const QJsonValue& value);
    /// Ends the document.
    void Finish();

private:
    void Begin(QChar bracket);
    void End(QChar bracket);
    // Prints the comma and the indentation before an item of an array or an object.
    void BeginItem();
    void Write(const QString& text);
    [[nodiscard]] QString Indentation() const;

    QString mText; // not printed yet
    bool mIsIndented;
    bool mIsNamed = false; // the name of a member has been printed, but not its value
    QList<bool> mHasItems; // one for each open object and array
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_JSONSTREAM_H
