// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_REPORT_H
#define QVUTIL_TOOL_REPORT_H

#include "cli/Console.h"
#include "cli/JsonStream.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <concepts>
#include <optional>

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
    enum ListStyle {
        Collected, ///< the JSON array is printed by Finish(), so nothing is printed if the command fails
                   ///< first
        Streamed, ///< each item is printed at once, for long lists that cannot fail after the first item
    };

    explicit Report(bool asJson, ListStyle style = Collected)
        : mAsJson(asJson)
    {
        if (asJson && style == Streamed)
            mStream.emplace();
    }

    /// Begins a list whose text has a heading.
    template <std::invocable PrintText> void Heading(const PrintText& printText) const
    {
        if (!mAsJson)
            printText();
    }
    /// Adds an item of a list. Text is printed at once.
    template <std::invocable MakeJson, std::invocable PrintText>
    void AddItem(const MakeJson& makeJson, const PrintText& printText)
    {
        if (mStream)
            StreamItem(makeJson());
        else if (mAsJson)
            mItems.append(makeJson());
        else
            printText();
    }
    /// Ends a list: prints the JSON array, or the last lines of the text, which have no counterpart in the
    /// array.
    template <std::invocable PrintText> void Finish(const PrintText& printText)
    {
        if (mStream)
            FinishStream();
        else
            Answer([this] { return mItems; }, printText);
    }
    /// \overload
    void Finish()
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
    void BeginStream()
    {
        if (!mHasBegun)
            mStream->BeginArray();
        mHasBegun = true;
    }
    void StreamItem(const QJsonValue& item)
    {
        BeginStream();
        mStream->AddValue(item);
    }
    void FinishStream()
    {
        BeginStream();
        mStream->EndArray();
        mStream->Finish();
    }

    bool mAsJson;
    QJsonArray mItems;
    std::optional<JsonStream> mStream;
    bool mHasBegun = false;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_REPORT_H
