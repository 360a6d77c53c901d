// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_REPORT_H
#define QVUTIL_TOOL_REPORT_H

#include "cli/Console.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <concepts>

namespace Quorvin::Tool {

/// The result of a command: text for people or one JSON document for programs, as the user requests.
///
/// Each result is passed as two functions, one that makes the JSON and one that prints the text. Only one of
/// them is called.
/// \code
/// Report report(options.Json);
/// for (const Entry& entry : entries)
///     report.AddItem([&] { return entry.ToJson(); }, [&] { Console::PrintLine(entry.ToText()); });
/// report.Finish();
/// \endcode
class Report
{
public:
    explicit Report(bool asJson)
        : mAsJson(asJson)
    { }

    /// Begins a list whose text has a heading.
    template <std::invocable PrintText> void Heading(const PrintText& printText) const
    {
        if (!mAsJson)
            printText();
    }
    /// Adds an item of a list. Text is printed at once, the JSON array by Finish().
    template <std::invocable MakeJson, std::invocable PrintText>
    void AddItem(const MakeJson& makeJson, const PrintText& printText)
    {
        if (mAsJson)
            mItems.append(makeJson());
        else
            printText();
    }
    /// Ends a list: prints the JSON array, or the last lines of the text, which the array does not need.
    template <std::invocable PrintText> void Finish(const PrintText& printText) const
    {
        Answer([this] { return mItems; }, printText);
    }
    /// \overload
    void Finish() const
    {
        Finish([] {});
    }

    /// Prints a result that is not a list.
    template <std::invocable MakeJson, std::invocable PrintText>
    void Answer(const MakeJson& makeJson, const PrintText& printText) const
    {
        if (mAsJson)
            Console::PrintJson(QJsonDocument(makeJson()));
        else
            printText();
    }

private:
    bool mAsJson;
    QJsonArray mItems;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_REPORT_H
