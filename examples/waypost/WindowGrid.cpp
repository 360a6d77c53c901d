// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "WindowGrid.h"

#include <qvutil/GeneralUtil.h>

#include <QCoreApplication>
#include <QPointer>
#include <QUuid>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Quorvin::Util::GeneralUtil;
using Quorvin::Util::IPCManager;
using Quorvin::Util::ProcessInfo;

namespace {

constexpr auto kLookInterval = 500ms;
constexpr auto kLookIntervalWhileLocked = 5s; // each attempt waits for the lock and blocks the window
constexpr auto kTimeout = 4s;
constexpr auto kRetryDelay = 100ms;

} // namespace

//! [join]
WindowGrid::WindowGrid(const QString& grid, QObject* parent)
    : QObject(parent)
    , mManager(this)
    , mGrid(grid)
    , mLookTimer(this)
{
    mManager.AddMessageResponder(this);
    Join();

    // A grid emits no signal when a member joins or leaves, so look for changes regularly.
    mLookTimer.setObjectName(u"lookTimer"_s);
    connect(&mLookTimer, &QTimer::timeout, this, &WindowGrid::LookAround);
    mLookTimer.start(kLookInterval);
    LookAround();
}

void WindowGrid::Join()
{
    // Registers this process, starts its server and connects to the oldest member. A member serves only one
    // client at a time, so disconnect at once.
    mManager.CreateGridConnection(mGrid, QIODeviceBase::ReadWrite);
    mManager.DisconnectFromServer({});
}
//! [join]

WindowGrid::~WindowGrid()
{
    mManager.RemoveMessageResponder(this);
}

//! [look]
void WindowGrid::LookAround()
{
    const QList<ProcessInfo> members = ReadMembers();
    // A member is always in the list. So an empty list usually means that another process, perhaps stopped
    // in a debugger, keeps the registry locked. In that case, keep the known windows.
    mLookTimer.setInterval(members.isEmpty() ? kLookIntervalWhileLocked : kLookInterval);
    if (members.isEmpty())
        return;
    QList<Window> others;
    for (const ProcessInfo& member : members) {
        // A killed process stays in the registry until the next one joins.
        const bool isOwn = member.ProcessId == QCoreApplication::applicationPid();
        mIsMember = mIsMember || isOwn;
        if (isOwn || !GeneralUtil::IsProcessRunning(member.ProcessId))
            continue;
        const auto known = std::find_if(mOthers.cbegin(), mOthers.cend(), [&member](const Window& window) {
            return window.ProcessId == member.ProcessId;
        });
        others.append(
            {member.ProcessId, member.ServerName, known != mOthers.cend() ? known->Title : QString()});
    }
    if (others == mOthers)
        return;
    const QList<Window> before = std::exchange(mOthers, others);
    for (const Window& window : others) {
        if (!before.contains(window))
            AskTitle(window);
    }
    Q_EMIT OthersChanged();
}

QList<ProcessInfo> WindowGrid::ReadMembers()
{
    if (!mIsMember) {
        if (!mManager.CreateSharedMemory())
            return {};
        Join(); // does nothing after it has succeeded
    }
    return mManager.ReadFromSharedMemory();
}
//! [look]

void WindowGrid::AskTitles()
{
    for (const Window& window : std::as_const(mOthers))
        AskTitle(window);
}

void WindowGrid::AskTitle(const Window& asked)
{
    Ask(asked.ProcessId, u"Title"_s, {}, [this, processId = asked.ProcessId](const auto& answer) {
        const auto window = std::find_if(mOthers.begin(), mOthers.end(), [processId](const Window& other) {
            return other.ProcessId == processId;
        });
        if (window == mOthers.end() || !answer)
            return;
        const QString title = answer->value(u"Title"_s).toString();
        if (std::exchange(window->Title, title) != title)
            Q_EMIT OthersChanged();
    });
}

void WindowGrid::Raise(qint64 processId)
{
    Ask(processId, u"Raise"_s, {}, [](const auto&) {});
}

void WindowGrid::SendTour(qint64 processId, const QString& xml)
{
    QString title;
    for (const Window& window : std::as_const(mOthers)) {
        if (window.ProcessId == processId)
            title = window.Title;
    }
    const QString id = QUuid::createUuid().toString();
    Ask(processId, u"Tour"_s, {{u"Id"_s, id}, {u"Xml"_s, xml}},
        [this, title](const auto& answer) { Q_EMIT TourSent(title, answer.has_value()); });
}

void WindowGrid::Ask(qint64 processId, const QString& question, const QVariantMap& params, const Done& done)
{
    for (const Window& window : std::as_const(mOthers)) {
        if (window.ProcessId == processId) {
            new Courier(window.ServerName, question, params, done, this);
            return;
        }
    }
    done(std::nullopt);
}

//! [answer]
bool WindowGrid::HandleMessage(const QString& messageId, const QVariantMap& params,
                               QVariantMap& responseParams)
{
    responseParams.insert(u"Taken"_s, true); // an answer without it means that the connection was lost
    if (messageId == "Title"_L1) {
        responseParams.insert(u"Title"_s, mTitle);
    } else if (messageId == "Raise"_L1) {
        QMetaObject::invokeMethod(this, &WindowGrid::RaiseWanted, Qt::QueuedConnection);
    } else if (messageId == "Tour"_L1) {
        const QString id = params.value(u"Id"_s).toString();
        if (mReceived.contains(id)) // sent again, because the connection was lost before the answer
            return true;
        if (!id.isEmpty()) // tours without an id may differ
            mReceived.insert(id);
        const QString xml = params.value(u"Xml"_s).toString();
        QMetaObject::invokeMethod(
            this, [this, xml] { Q_EMIT TourReceived(xml); }, Qt::QueuedConnection);
    }
    return true;
}
//! [answer]

//! [courier]
Courier::Courier(const QString& server, const QString& question, const QVariantMap& params, Done done,
                 QObject* parent)
    : QObject(parent)
    , mManager(this)
    , mQuestion(question)
    , mParams(params)
    , mDone(std::move(done))
{
    mTimeout.setSingleShot(true);
    connect(&mTimeout, &QTimer::timeout, this, [this] {
        if (!mIsAsking) // otherwise Ask finishes: the answer may have arrived
            Finish(std::nullopt);
    });
    mTimeout.start(kTimeout);
    connect(&mManager, &IPCManager::ConnectedToServer, this, &Courier::Ask);
    mManager.ConnectToServer(server, QIODeviceBase::ReadWrite);
}

void Courier::Ask()
{
    if (!mDone || std::exchange(mIsAsking, true))
        return;
    const QPointer<Courier> alive = this; // the window may be closed during the wait
    QVariantMap answer;
    // Use all of the time for one wait. A request may still arrive after its time-out, so do not repeat it.
    // During the wait, another courier may begin to wait. The first wait ends only after the second.
    mManager.SendMessageAndGetResponse({}, mQuestion, mParams, answer, mTimeout.remainingTime());
    if (!alive)
        return;
    mIsAsking = false;
    if (answer.contains(u"Taken"_s))
        Finish(answer);
    else if (mTimeout.isActive()) // another client has displaced this one; the manager connects again
        QTimer::singleShot(kRetryDelay, this, &Courier::Ask);
    else
        Finish(std::nullopt);
}

void Courier::Finish(const std::optional<QVariantMap>& answer)
{
    if (mDone)
        std::exchange(mDone, {})(answer);
    deleteLater();
}
//! [courier]
