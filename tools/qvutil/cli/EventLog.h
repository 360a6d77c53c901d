// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_EVENTLOG_H
#define QVUTIL_TOOL_EVENTLOG_H

#include "cli/LiveLines.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// The events of a command that watches something. On a terminal, the last ones stand below a table that is
/// drawn again and again. Elsewhere, and as JSON, each is a line.
class EventLog
{
public:
    /// \param maxCount  number of events to show; 0 for any number
    EventLog(bool asJson, int maxCount);

    /// Adds an event with the current time.
    /// \param text     what it is about, behind the time and the event
    /// \param details  the same for programs
    void Add(const QString& event, const QString& text, QJsonObject details);
    /// Whether there were as many events as the user asked for.
    [[nodiscard]] bool IsDone() const { return mMaxCount > 0 && mCount >= mMaxCount; }

    /// Whether a table is wanted.
    [[nodiscard]] bool IsLive() const { return mIsLive; }
    /// Draws the table, and the last events below it.
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
