// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Member.h"

#include <qvutil/GeneralUtil.h>

#include <QCoreApplication>
#include <QDate>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;
using Quorvin::Util::ProcessInfo;

namespace {

constexpr int kTimeoutMs = 2000;
constexpr int kTries = 20;

} // namespace

//! [answer]
bool Answers::HandleMessage(const QString& question, const QVariantMap& params, QVariantMap& answer)
{
    if (question == u"Name") {
        answer[u"is"_s] = mName;
    } else if (question == u"Sum") {
        answer[u"is"_s] = params[u"a"_s].toInt() + params[u"b"_s].toInt();
    } else if (question == u"Days") {
        // Dates are sent as text.
        const QDate from = QDate::fromString(params[u"from"_s].toString(), Qt::ISODate);
        const QDate to = QDate::fromString(params[u"to"_s].toString(), Qt::ISODate);
        answer[u"is"_s] = from.daysTo(to);
    } else if (question == u"Sorted") {
        QStringList words = params[u"words"_s].toStringList();
        words.sort();
        answer[u"is"_s] = words;
    } else if (question == u"Backwards") {
        QByteArray bytes = params[u"bytes"_s].toByteArray();
        std::reverse(bytes.begin(), bytes.end());
        answer[u"is"_s] = bytes;
    } else {
        return false; // ask the next responder, if there is one
    }
    return true;
}
//! [answer]

//! [join]
Member::Member(const QString& grid, const QString& name)
    : mAnswers(name)
{
    mManager.AddMessageResponder(&mAnswers);
    // Starts a server and connects to the oldest member that is alive, unless this is the first member.
    mManager.CreateGridConnection(grid, QIODeviceBase::ReadWrite);
    const QList<ProcessInfo> members = mManager.ReadFromSharedMemory(); // oldest first
    mHasServer = members.size() > 1 && members[0].ProcessId != QCoreApplication::applicationPid();
}
//! [join]

//! [ask]
QVariant Member::Ask(const QString& question, const QVariantMap& params)
{
    // A server talks to one client at a time, so another member may displace this one at any time. The
    // question or its answer is lost then, and the client connects again within a second. So ask again until
    // an answer with a value arrives.
    for (int i = 0; mHasServer && i < kTries; ++i) {
        QVariantMap answer;
        if (mManager.SendMessageAndGetResponse({}, question, params, answer, kTimeoutMs)
            && answer.contains(u"is"_s))
            return answer[u"is"_s];
        mManager.WaitForConnectionToServer({}, kTimeoutMs);
    }
    return u"no answer"_s;
}
//! [ask]

QStringList Member::AskQuestions()
{
    const QDate today(2026, 11, 21);
    const QDate holiday(2026, 12, 24);
    const QStringList fruit = {u"pear"_s, u"apple"_s, u"fig"_s};
    const QByteArray bytes = QByteArray::fromHex("0102ff");
    return {
        u"Who are you?  "_s + Ask(u"Name"_s, {}).toString(),
        u"What is 2 + 40?  %1"_s.arg(Ask(u"Sum"_s, {{u"a"_s, 2}, {u"b"_s, 40}}).toInt()),
        u"How many days from %1 to %2?  %3"_s.arg(today.toString(Qt::ISODate), holiday.toString(Qt::ISODate))
            .arg(Ask(u"Days"_s,
                     {{u"from"_s, today.toString(Qt::ISODate)}, {u"to"_s, holiday.toString(Qt::ISODate)}})
                     .toLongLong()),
        u"What is pear, apple, fig in order?  "_s
            + Ask(u"Sorted"_s, {{u"words"_s, fruit}}).toStringList().join(u", "_s),
        u"What is 01 02 ff backwards?  "_s
            + QString::fromLatin1(Ask(u"Backwards"_s, {{u"bytes"_s, bytes}}).toByteArray().toHex(' ')),
    };
}

//! [members]
QString Member::Members()
{
    const QList<ProcessInfo> members = mManager.ReadFromSharedMemory();
    const auto dead = std::count_if(members.begin(), members.end(), [](const ProcessInfo& member) {
        return !GeneralUtil::IsProcessRunning(member.ProcessId);
    });
    return u"%1 alive, %2 dead"_s.arg(members.size() - dead).arg(dead);
}
//! [members]

void Member::TurnToNewest()
{
    const QList<ProcessInfo> members = mManager.ReadFromSharedMemory();
    if (members.size() < 2)
        return;
    mHasServer = true;
    mManager.ConnectToServer(members.last().ServerName, QIODeviceBase::ReadWrite);
}
