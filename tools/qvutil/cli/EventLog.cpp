// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/EventLog.h"

#include "cli/Console.h"
#include "cli/JsonStyle.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kMaxShownEvents = 5;

} // namespace

EventLog::EventLog(bool asJson, int maxCount)
    : mAsJson(asJson)
    , mIsLive(!asJson && LiveLines::IsPossible())
    , mMaxCount(maxCount)
{ }

void EventLog::Add(const QString& event, const QString& text, QJsonObject details)
{
    if (IsDone())
        return;
    ++mCount;
    const QDateTime now = QDateTime::currentDateTime();
    if (mAsJson) {
        details.insert(u"time"_s, now.toUTC().toString(Qt::ISODateWithMs));
        details.insert(u"event"_s, event);
        Console::Print(ToText(QJsonDocument(details), StreamFormat()));
        return;
    }
    const QString line = u"%1  %2  %3"_s.arg(now.toString(u"HH:mm:ss.zzz"_s), event.leftJustified(6),
                                             Console::Visible(text));
    if (!mIsLive) {
        Console::PrintLine(line);
        return;
    }
    mLast.append(line);
    if (mLast.size() > kMaxShownEvents)
        mLast.removeFirst();
}

void EventLog::Draw(const QStringList& table)
{
    mLines.Show(table, QStringList(QString()) + mLast);
}

} // namespace Quorvin::Tool
