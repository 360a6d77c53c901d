// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "ipc/Endpoint.h"
#include "ipc/IpcCommands.h"
#include "ipc/ServerLink.h"
#include <qvutil/platform/Platform_p.h>

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr int kDefaultTimeoutMs = 2000;
constexpr int kAcceptMs = 500;
constexpr int kLookAgainMs = 50;

// No application uses this name for its requests. A server answers an unknown request without parameters.
constexpr QStringView kQuestion = u"qvutil.doctor";

struct DoctorOptions
{
    QString Name;
    int TimeoutMs = kDefaultTimeoutMs;
    bool Connect = false;
    bool Json = false;
};

struct Visit
{
    std::optional<ProcessName> Process;
    std::optional<quint32> UserId;
    std::optional<double> AnswerMs;
};

QString PermissionText(quint32 mode)
{
    QString text = u"rwxrwxrwx"_s;
    for (int i = 0; i < text.size(); ++i) {
        if ((mode & (0400U >> i)) == 0)
            text[i] = u'-';
    }
    return text;
}

std::optional<Visit> ProbeServer(const DoctorOptions& options, QList<EndpointProblem>& problems)
{
    Session session(Session::DiesOfSignals);
    ServerLink link(session, options.Name);
    const QDeadlineTimer deadline(options.TimeoutMs, Qt::PreciseTimer);
    Visit visit;
    try {
        link.Connect(false, deadline);
        visit.Process = FindPeerProcess(link.Socket().socketDescriptor());
        visit.UserId = Util::Platform::GetPeerUserId(link.Socket().socketDescriptor());
        QElapsedTimer time;
        time.start();
        Util::MessageInfo question;
        question.Id = kQuestion.toString();
        (void)link.Ask(question, deadline);
        visit.AnswerMs = static_cast<double>(time.nsecsElapsed()) / 1e6;
    } catch (const LinkFailure& failure) {
        problems.append({.Code = u"no-answer"_s,
                         .Text = failure.Reason,
                         .Advice = u"is the server busy, stopped in a debugger, or not a message server?"_s});
    }
    return visit;
}

// Returns the processes that own the socket or are connected to it. If a connection is waiting, looks again
// for a while: a healthy server accepts connections at once, but may be busy.
std::optional<EndpointProcesses> FindProcesses(const Endpoint& endpoint)
{
    if (endpoint.Listening != Endpoint::Yes)
        return std::nullopt;
    std::optional<EndpointProcesses> processes = FindEndpointProcesses(endpoint.Path);
    if (!processes || processes->Waiting == 0)
        return processes;
    Session session(Session::DiesOfSignals);
    const QDeadlineTimer deadline(kAcceptMs);
    while (processes && processes->Waiting > 0 && !deadline.hasExpired()) {
        session.Pause(QDeadlineTimer(kLookAgainMs));
        processes = FindEndpointProcesses(endpoint.Path);
    }
    return processes;
}

EndpointProblem NotAccepted(int waiting)
{
    return {.Code = u"not-accepted"_s,
            .Text = waiting == 1 ? u"the server does not accept a waiting connection"_s
                                 : u"the server does not accept %1 waiting connections"_s.arg(waiting),
            .Advice = u"is the server busy, stopped in a debugger, or without an event loop in its thread?"_s,
            .IsInTheWay = false};
}

void PrintRow(QStringView label, const QString& text)
{
    Console::PrintLine(label.toString().leftJustified(12) + Console::Visible(text));
}

QString FileText(const Endpoint& endpoint)
{
    if (endpoint.Kind == Endpoint::Missing || endpoint.Kind == Endpoint::FolderMissing)
        return u"none"_s;
    return u"%1 of the user %2%3, %4"_s.arg(
        endpoint.Kind == Endpoint::Socket ? u"socket"_s : u"not a socket, but a file"_s, endpoint.Owner,
        endpoint.OwnerId == Util::Platform::GetUserId() ? u" (this user)"_s : QString(),
        PermissionText(endpoint.Mode));
}

QString ListeningText(const Endpoint& endpoint, const std::optional<EndpointProcesses>& processes)
{
    if (endpoint.Listening == Endpoint::Forbidden)
        return u"unknown"_s;
    if (endpoint.Listening == Endpoint::No)
        return u"no"_s;
    if (!processes || processes->Servers.isEmpty())
        return u"yes"_s;
    return u"yes, process %1"_s.arg(ToText(processes->Servers));
}

void PrintVisit(const std::optional<Visit>& visit, bool isWanted)
{
    if (!visit) {
        PrintRow(u"answers",
                 isWanted ? u"not asked: no connection is possible"_s
                          : u"not asked: use --connect, which displaces the server's client"_s);
        return;
    }
    if (visit->UserId) {
        PrintRow(u"runs as",
                 u"%1%2"_s.arg(UserName(*visit->UserId),
                               visit->Process ? u", process "_s + ToText(*visit->Process) : QString()));
    }
    PrintRow(u"answers", visit->AnswerMs ? u"after %1 ms"_s.arg(*visit->AnswerMs, 0, 'f', 3) : u"no"_s);
}

void PrintText(const Endpoint& endpoint, const std::optional<EndpointProcesses>& processes,
               const std::optional<Visit>& visit, bool isVisitWanted, const QList<EndpointProblem>& problems)
{
    PrintRow(u"name", endpoint.Name);
    PrintRow(u"path",
             u"%1 (%2 bytes of %3)"_s.arg(endpoint.Path, QString::number(endpoint.PathSize),
                                          QString::number(endpoint.MaxPathSize)));
    PrintRow(u"file", FileText(endpoint));
    PrintRow(u"listening", ListeningText(endpoint, processes));
    if (processes) {
        const QString clients = ToText(processes->Clients);
        PrintRow(u"clients",
                 u"%1%2"_s.arg(processes->Connections)
                     .arg(clients.isEmpty() ? QString() : u": process "_s + clients));
        if (processes->Waiting > 0)
            PrintRow(u"waiting", u"%1, which the server has not yet accepted"_s.arg(processes->Waiting));
    }
    PrintVisit(visit, isVisitWanted);
    for (const EndpointProblem& problem : problems) {
        Console::PrintLine(u"problem: "_s + Console::Visible(problem.Text));
        Console::PrintLine(u"  advice: "_s + Console::Visible(problem.Advice));
    }
    if (problems.isEmpty())
        Console::PrintLine(u"no problems"_s);
}

QJsonArray ToJson(const QList<ProcessName>& processes)
{
    QJsonArray array;
    for (const ProcessName& process : processes)
        array.append(QJsonObject{{u"id"_s, process.Id}, {u"name"_s, process.Name}});
    return array;
}

QJsonValue ToJson(Endpoint::Answer answer)
{
    return answer == Endpoint::Forbidden ? QJsonValue() : QJsonValue(answer == Endpoint::Yes);
}

QJsonObject ToJson(const Visit& visit)
{
    QJsonObject object{{u"answerMs"_s, visit.AnswerMs ? QJsonValue(*visit.AnswerMs) : QJsonValue()}};
    if (visit.UserId)
        object.insert(u"user"_s, UserName(*visit.UserId));
    if (visit.Process)
        object.insert(u"process"_s, ToJson(QList<ProcessName>{*visit.Process}).first());
    return object;
}

QJsonObject ToJson(const Endpoint& endpoint, const std::optional<EndpointProcesses>& processes,
                   const std::optional<Visit>& visit, const QList<EndpointProblem>& problems)
{
    QJsonObject object{{u"name"_s, endpoint.Name},
                       {u"path"_s, endpoint.Path},
                       {u"pathBytes"_s, endpoint.PathSize},
                       {u"longestPathBytes"_s, endpoint.MaxPathSize},
                       {u"isSocket"_s, endpoint.Kind == Endpoint::Socket},
                       {u"listening"_s, ToJson(endpoint.Listening)}};
    if (endpoint.Kind == Endpoint::Socket || endpoint.Kind == Endpoint::OtherFile) {
        object.insert(u"owner"_s, endpoint.Owner);
        object.insert(u"permissions"_s, PermissionText(endpoint.Mode));
    }
    if (processes) {
        object.insert(u"servers"_s, ToJson(processes->Servers));
        object.insert(u"clients"_s, ToJson(processes->Clients));
        object.insert(u"connections"_s, processes->Connections);
        object.insert(u"waiting"_s, processes->Waiting);
    }
    if (visit)
        object.insert(u"visit"_s, ToJson(*visit));
    QJsonArray list;
    for (const EndpointProblem& problem : problems) {
        list.append(
            QJsonObject{{u"code"_s, problem.Code}, {u"text"_s, problem.Text}, {u"advice"_s, problem.Advice}});
    }
    object.insert(u"problems"_s, list);
    return object;
}

ExitCode Diagnose(const DoctorOptions& options)
{
    const Endpoint endpoint = InspectEndpoint(options.Name);
    const std::optional<EndpointProcesses> processes = FindProcesses(endpoint);
    QList<EndpointProblem> problems = FindProblems(endpoint);
    std::optional<Visit> visit;
    const bool isReachable = std::none_of(problems.begin(), problems.end(),
                                          [](const EndpointProblem& problem) { return problem.IsInTheWay; });
    if (options.Connect && isReachable)
        visit = ProbeServer(options, problems);
    else if (processes && processes->Waiting > 0)
        problems.append(NotAccepted(processes->Waiting));
    Report(options.Json)
        .Answer([&] { return ToJson(endpoint, processes, visit, problems); },
                [&] { PrintText(endpoint, processes, visit, options.Connect, problems); });
    return problems.isEmpty() ? ExitCode::Yes : ExitCode::No;
}

} // namespace

void AddDoctorCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DoctorOptions>();
    CLI::App& doctor
        = line.AddCommand(group, "doctor",
                          "Find problems with a server's name, file and process; the exit code is 1 if there "
                          "are any",
                          "qvutil ipc doctor viewer\n"
                          "qvutil ipc doctor viewer --connect --json",
                          [options] { return Diagnose(*options); });
    AddExplanation(
        doctor,
        "Without --connect, the server notices nothing. With it, the command sends a request to the\n"
        "server, and displaces the server's current client.");
    AddText(doctor, "NAME", options->Name, "The server's name")->required();
    doctor.add_flag("--connect", options->Connect,
                    "Connect and send a request, which displaces the server's client");
    AddNumber(doctor, "--timeout", options->TimeoutMs, {.Min = 0},
              "Time-out for the answer, in milliseconds; default: 2000")
        ->type_name("MS");
    AddJsonFlag(doctor, options->Json);
}

} // namespace Quorvin::Tool
