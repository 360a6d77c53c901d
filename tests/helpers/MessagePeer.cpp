// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// The helper process of the messaging tests. The first argument selects what it does. It reports events as
// lines on standard output, and ends when standard input is closed or with the line "quit".
//
//   serve NAME
//       a server: answers requests with their own parameters and the process id; prints "ready", and
//       "message ID" for each message
//
//   client NAME
//       a client that sends requests endlessly; prints "connected" for each connection, and "answer N M" for
//       each answer: N is the number in the answer, M the one in the request
//
//   flood NAME SIZE N [LIMIT]
//       connects and sends N messages of SIZE bytes each, as fast as it can
//
//   paced NAME SIZE N [LIMIT]
//       the same, but waits each time until the message is written
//
//   foreign NAME
//       a plain server of another user; prints "ready", and "came" for each client; needs root
//
//   grid NAME
//       joins a grid; prints "joined", and "linked SERVERNAME" when its client is connected
//
//   members NAME
//       the same; then also prints "members N" with the number of members that it reads
//
//   hold NAME
//       holds both locks of a grid, like a member that was stopped while it was joining; prints "holds"
//
//   hold-memory NAME
//       the same, but holds only the lock of the shared memory, like a program that does not use the library
//
//   outlives NAME GRID
//       managers that outlive the application object; prints "answered" and "done"

#include "IPCManager.h"
#include "messaging/GridRegistry_p.h"
#include "messaging/MessageClient_p.h"
#include "messaging/MessageServer_p.h"
#include "messaging/MessageSocket_p.h"
#include "platform/Platform_p.h"

#include <QCoreApplication>
#include <QLocalServer>
#include <QSharedMemory>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <memory>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;

namespace {

void Print(const QString& line)
{
    std::puts(qPrintable(line));
    std::fflush(stdout);
}

class Echo final : public IMessageResponder
{
public:
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override
    {
        responseParams = params;
        responseParams.insert(u"id"_s, messageId);
        responseParams.insert(u"pid"_s, QCoreApplication::applicationPid());
        return true;
    }
};

int Serve(const QString& name)
{
    Echo echo;
    IPCManager manager;
    manager.AddMessageResponder(&echo);
    QObject::connect(&manager, &IPCManager::MessageReceived, &manager,
                     [](const QString& id) { Print(u"message "_s + id); });
    manager.StartServer(name, QIODeviceBase::ReadWrite);
    // The server starts in the background. Wait until a client can connect.
    {
        MessageClient probe;
        probe.ConnectToServer(name);
        if (!probe.WaitForConnection(60000))
            return 1;
    }
    Print(u"ready"_s);
    return QCoreApplication::exec();
}

int Ask(const QString& name)
{
    IPCManager manager;
    manager.ConnectToServer(name, QIODeviceBase::ReadWrite);
    int asked = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &manager, [&] {
        if (!manager.IsConnectedToServer(name))
            return;
        QVariantMap answer;
        const int number = ++asked;
        if (manager.SendMessageAndGetResponse(name, u"Ask"_s, {{u"n"_s, number}}, answer, 2000))
            Print(u"answer %1 %2"_s.arg(answer.value(u"n"_s).toInt()).arg(number));
    });
    QObject::connect(&manager, &IPCManager::ConnectedToServer, &manager, [] { Print(u"connected"_s); });
    timer.start(1);
    return QCoreApplication::exec();
}

int Send(const QStringList& arguments, bool waitForSent)
{
    const qsizetype size = arguments.at(3).toLongLong();
    const int count = arguments.at(4).toInt();
    if (arguments.size() > 5)
        LimitSendBuffer(arguments.at(5).toInt());
    MessageClient client;
    client.ConnectToServer(arguments.at(2), QIODeviceBase::ReadWrite);
    if (!client.WaitForConnection(60000))
        return 1;
    const QString text(size, u'x');
    for (int i = 0; i < count; ++i)
        client.SendMessage(u"Data"_s, {{u"n"_s, i}, {u"text"_s, text}}, waitForSent);
    client.SendMessage(u"End"_s, {}, true);
    Print(u"sent"_s);
    return QCoreApplication::exec();
}

int ServeAsOther(const QString& name)
{
    QLocalServer server;
    QObject::connect(&server, &QLocalServer::newConnection, &server, [&server] {
        server.nextPendingConnection()->deleteLater();
        Print(u"came"_s);
    });
    if (!server.listen(name))
        return 1;
    Print(u"ready"_s);
    return QCoreApplication::exec();
}

int Join(const QString& name, bool reads)
{
    Echo echo;
    IPCManager manager;
    manager.AddMessageResponder(&echo);
    QObject::connect(&manager, &IPCManager::ConnectedToServer, &manager,
                     [](const QString& server) { Print(u"linked "_s + server); });
    manager.CreateGridConnection(name, QIODeviceBase::ReadWrite);
    Print(u"joined"_s);
    if (reads)
        Print(u"members %1"_s.arg(manager.ReadFromSharedMemory().size()));
    return QCoreApplication::exec();
}

int Hold(const QString& name, bool holdsFile)
{
    const int lock = holdsFile ? Platform::LockFile(GridLockFilePath(name)) : Platform::kLockFailed;
    {
        QSharedMemory registry(name);
        if ((holdsFile && lock < 0) || (!registry.create(kRegistrySize) && !registry.attach())
            || !registry.lock())
            return 1;
        Print(u"holds"_s);
        QCoreApplication::exec();
        registry.unlock();
    }
    Platform::UnlockFile(lock);
    return 0;
}

int OutliveApplication(int argc, char* argv[])
{
    Echo echo;
    std::unique_ptr<IPCManager> server;
    std::unique_ptr<IPCManager> client;
    IPCManager member;
    {
        const QCoreApplication application(argc, argv);
        const QString name = QCoreApplication::arguments().value(2);
        server = std::make_unique<IPCManager>();
        client = std::make_unique<IPCManager>();
        server->AddMessageResponder(&echo);
        server->StartServer(name, QIODevice::ReadWrite);
        client->ConnectToServer(name, QIODevice::ReadWrite);
        member.CreateGridConnection(QCoreApplication::arguments().value(3), QIODevice::ReadWrite);
        QVariantMap answer;
        if (client->WaitForConnectionToServer(name, 60000)
            && client->SendMessageAndGetResponse(name, u"ask"_s, {}, answer, 60000))
            Print(u"answered"_s);
    }
    client.reset();
    server.reset();
    member.DeleteAllConnections();
    Print(u"done"_s);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    constexpr uid_t kNobody = 65534;
    const bool foreign = argc > 1 && qstrcmp(argv[1], "foreign") == 0;
    if (foreign && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
        return 3;
    if (argc > 1 && qstrcmp(argv[1], "outlives") == 0)
        return OutliveApplication(argc, argv);
    const QCoreApplication application(argc, argv);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [] { QCoreApplication::quit(); });
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);
    if (mode == "serve"_L1)
        return Serve(arguments.value(2));
    if (mode == "client"_L1)
        return Ask(arguments.value(2));
    if (mode == "flood"_L1 || mode == "paced"_L1)
        return Send(arguments, mode == "paced"_L1);
    if (foreign)
        return ServeAsOther(arguments.value(2));
    if (mode == "grid"_L1 || mode == "members"_L1)
        return Join(arguments.value(2), mode == "members"_L1);
    if (mode == "hold"_L1 || mode == "hold-memory"_L1)
        return Hold(arguments.value(2), mode == "hold"_L1);
    return 2;
}
