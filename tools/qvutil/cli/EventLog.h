// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_EVENTLOG_H
#define QVUTIL_TOOL_EVENTLOG_H

#include "cli/LiveLines.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// Shows the events of a command that watches something. On a terminal, the latest events appear below a
/// table that is updated in place. Otherwise, and for JSON, each event is printed on one line.
class EventLog
{
public:
    /// \param maxCount  number of events to show; 0 for no limit
    EventLog(bool asJson, int maxCount);

    /// Adds an event at the current time.
    /// \param text     description, which follows the time and the event
    /// \param details  the same information for programs
    void Add(const QString& event, const QString& text, QJsonObject details);
    /// Returns whether the number of events that the user requested has been reached.
    [[nodiscard]] bool IsDone() const { return mMaxCount > 0 && mCount >= mMaxCount; }

    /// Returns whether a table should be drawn.
    [[nodiscard]] bool IsLive() const { return mIsLive; }
    /// Draws the table, and the latest events below it.
    void Draw(const QStringList& table);

private:
    bool mAsJson;
    bool mIsLive;
    int mMaxCount;
    int mCount = 0;
    QStringList mLast;
    LiveLines mLines;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_EVENTLOG_H
