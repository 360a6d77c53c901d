// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/ServerLink.h"

#include "ipc/Endpoint.h"
#include <qvutil/messaging/MessageSocket_p.h>
#include <qvutil/platform/Platform_p.h>

#include <QUuid>

#include <algorithm>
#include <span>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;
using Quorvin::Util::Internal::MessageWriter;

namespace Quorvin::Tool {
namespace {

constexpr int kRetryMs = 50;

// Returns whether the problem may disappear, because the server may be about to start.
bool MayGoAway(const EndpointProblem& problem)
{
    return problem.Code == "missing"_L1 || problem.Code == "stale"_L1 || problem.Code == "no-folder"_L1;
}

std::optional<EndpointProblem> FindObstacle(const QString& name)
{
    const QList<EndpointProblem> problems = FindProblems(InspectEndpoint(name));
    const auto found = std::find_if(problems.begin(), problems.end(),
                                    [](const EndpointProblem& problem) { return problem.IsInTheWay; });
    return found == problems.end() ? std::nullopt : std::optional(*found);
}

} // namespace

void RequireServer(const QString& name)
{
    if (const std::optional<EndpointProblem> obstacle = FindObstacle(name))
        throw LinkFailure(obstacle->Text);
}

void RequireTrustedServer(const QLocalSocket& socket)
{
    const std::optional<quint32> user = Util::Platform::GetPeerUserId(socket.socketDescriptor());
    if (user && !Util::Internal::IsTrustedUser(*user, Util::Platform::GetUserId())) {
        throw LinkFailure(
            u"the server runs as the user %1; clients accept only servers of the same user or of "
            "root"_s.arg(UserName(*user)));
    }
}

ServerLink::ServerLink(Session& session, const QString& name)
    : mSession(session)
    , mName(name)
{
    QObject::connect(&mSocket, &QLocalSocket::stateChanged, &mSocket, [this] { mSession.Do([] {}); });
    QObject::connect(&mSocket, &QLocalSocket::bytesWritten, &mSocket, [this] { mSession.Do([] {}); });
    QObject::connect(&mSocket, &QLocalSocket::readyRead, &mSocket,
                     [this] { mSession.Do([this] { mReceived += Util::Internal::ReadMessages(mSocket); }); });
}

bool ServerLink::TryToConnect(QDeadlineTimer deadline)
{
    mSocket.connectToServer(mName, QIODeviceBase::ReadWrite);
    return mSession.WaitFor([this] { return mSocket.state() != QLocalSocket::ConnectingState; }, deadline)
        && IsConnected();
}

QString ServerLink::WhyNotConnected() const
{
    // While the server's queue is full, QLocalSocket keeps trying and reports no error.
    return mSocket.state() == QLocalSocket::ConnectingState
        ? u"the server did not accept the connection in time"_s
        : u"cannot connect: "_s + mSocket.errorString();
}

void ServerLink::Connect(bool waitForServer, QDeadlineTimer deadline)
{
    for (;;) {
        const std::optional<EndpointProblem> obstacle = FindObstacle(mName);
        if (!obstacle && TryToConnect(deadline))
            break;
        const bool mayComeUp = waitForServer && (!obstacle || MayGoAway(*obstacle));
        if (!mayComeUp || deadline.hasExpired())
            throw LinkFailure(obstacle ? obstacle->Text : WhyNotConnected());
        mSocket.abort();
        const QDeadlineTimer pause(kRetryMs, Qt::PreciseTimer);
        mSession.Pause(std::min(pause, deadline));
    }
    RequireTrustedServer(mSocket);
    mWriter = new MessageWriter(&mSocket);
    QObject::connect(mWriter, &MessageWriter::Written, &mSocket,
                     [this] { mSession.Do([this] { ++mWritten; }); });
}

void ServerLink::Send(const MessageInfo& message, QDeadlineTimer deadline)
{
    mWritten = 0;
    mWriter->Write(std::span(&message, 1));
    const bool inTime = mSession.WaitFor(
        [this] { return !IsConnected() || (mWritten > 0 && mSocket.bytesToWrite() == 0); }, deadline);
    if (!inTime)
        throw LinkFailure(u"the server did not read the message in time"_s);
    if (!IsConnected() && (mWritten == 0 || mSocket.bytesToWrite() != 0))
        throw LinkFailure(u"the connection was lost before the message was written"_s);
}

MessageInfo ServerLink::Ask(MessageInfo request, QDeadlineTimer deadline)
{
    request.UniqueId = QUuid::createUuid();
    request.NeedResponse = true;
    mReceived.clear();
    mWriter->Write(std::span(&std::as_const(request), 1));
    const auto findAnswer = [&] {
        return std::find_if(mReceived.cbegin(), mReceived.cend(), [&request](const MessageInfo& message) {
            return message.IsResponse && message.OriginalMessageUniqueId == request.UniqueId;
        });
    };
    const bool inTime
        = mSession.WaitFor([&] { return findAnswer() != mReceived.cend() || !IsConnected(); }, deadline);
    if (const auto answer = findAnswer(); answer != mReceived.cend())
        return *answer;
    if (inTime)
        throw LinkFailure(u"the connection was lost before an answer arrived: the server has ended, or "
                          "another client has displaced this one"_s);
    throw LinkFailure(u"no answer arrived in time"_s);
}

void ServerLink::Close(QDeadlineTimer deadline)
{
    mSocket.disconnectFromServer();
    (void)mSession.WaitFor([this] { return mSocket.state() == QLocalSocket::UnconnectedState; }, deadline);
}

} // namespace Quorvin::Tool
