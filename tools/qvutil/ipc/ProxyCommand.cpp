// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Session.h"
#include "ipc/Endpoint.h"
#include "ipc/Forwarder.h"
#include "ipc/IpcCommands.h"
#include "ipc/MessageLines.h"
#include "ipc/ServerLink.h"
#include "ipc/TrafficPrinter.h"
#include <qvutil/messaging/MessageSocket_p.h>

#include <QtNetwork/QLocalServer>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr int kConnectMs = 2000;

constexpr const char* kExplanation
    = R"(A server has only one client, so connecting just to watch would displace that client. Instead,
connect the client to the name given by --as. The command connects to the server for each
client, and forwards every byte unchanged in both directions. The command ends on SIGINT
(Ctrl+C) or SIGTERM.)";

struct ProxyOptions
{
    QString Name;
    QString As;
    bool Replace = false;
    bool Json = false;
};

// A client, its server, and the bytes between them.
class Pair
{
public:
    Pair(Session& session, const MessageLines& lines, QLocalSocket* client)
        : mSession(session)
        , mToServerPrinter(lines, u"to server"_s)
        , mToClientPrinter(lines, u"to client"_s)
        , mClient(client)
        , mToServer(*client, mServer, [this](const QByteArray& bytes) { Show(mToServerPrinter, bytes); })
        , mToClient(mServer, *client, [this](const QByteArray& bytes) { Show(mToClientPrinter, bytes); })
    { }
    ~Pair()
    {
        // Print nothing more, and call no slots.
        mServer.disconnect();
        mClient->disconnect();
        mClient.release()->deleteLater(); // the socket may be emitting a signal
    }
    Q_DISABLE_COPY_MOVE(Pair)

    /// Connects to the server; throws LinkFailure.
    void Connect(const QString& name)
    {
        RequireServer(name);
        mServer.connectToServer(name, QIODeviceBase::ReadWrite);
        if (!mServer.waitForConnected(kConnectMs))
            throw LinkFailure(mServer.errorString());
        RequireTrustedServer(mServer);
        mToServer.Start();
        mToClient.Start();
    }

    /// Reports incomplete frames after both ends have disconnected.
    void Finish()
    {
        mToServerPrinter.Finish();
        mToClientPrinter.Finish();
    }

    [[nodiscard]] QLocalSocket& Client() { return *mClient; }
    [[nodiscard]] QLocalSocket& Server() { return mServer; }
    [[nodiscard]] bool HasEnded() const
    {
        return mClient->state() == QLocalSocket::UnconnectedState
            && mServer.state() == QLocalSocket::UnconnectedState;
    }

private:
    void Show(TrafficPrinter& printer, const QByteArray& bytes)
    {
        mSession.Do([&] { printer.Take(bytes); });
    }

    Session& mSession;
    TrafficPrinter mToServerPrinter;
    TrafficPrinter mToClientPrinter;
    std::unique_ptr<QLocalSocket> mClient;
    QLocalSocket mServer;
    Forwarder mToServer;
    Forwarder mToClient;
};

class Proxy
{
public:
    Proxy(const ProxyOptions& options, Session& session)
        : mOptions(options)
        , mLines(options.Json)
        , mSession(session)
    {
        mServer.setSocketOptions(QLocalServer::UserAccessOption);
        QObject::connect(&mServer, &QLocalServer::newConnection, &mServer,
                         [this] { mSession.Do([this] { Accept(); }); });
    }

    ExitCode Run()
    {
        QLocalServer::removeServer(mOptions.As);
        if (!mServer.listen(mOptions.As))
            throw Failure(mOptions.As, mServer.errorString());
        Console::ReportError({},
                             u"listening at %1, for the server %2"_s.arg(
                                 Util::Internal::GetSocketPath(mOptions.As), mOptions.Name));
        mSession.RunUntilInterrupted();
        mPair.reset();
        return ExitCode::Yes;
    }

private:
    // Like a server, serves one client at a time: the newest.
    void Accept()
    {
        std::unique_ptr<QLocalSocket> client(mServer.nextPendingConnection());
        if (!client)
            return;
        client->setParent(nullptr);
        const std::optional<ProcessName> process = FindPeerProcess(client->socketDescriptor());
        Console::ReportError(
            {}, u"a client has connected: process %1"_s.arg(process ? ToText(*process) : u"unknown"_s));
        DropPair(u"a new client displaces it"_s);
        mPair = std::make_unique<Pair>(mSession, mLines, client.release());
        // Connect these before the forwarders do, so that the end that disconnects first is reported first.
        for (QLocalSocket* end : {&mPair->Client(), &mPair->Server()}) {
            QObject::connect(end, &QLocalSocket::disconnected, end,
                             [this, end] { mSession.Do([this, end] { OnDisconnected(*end); }); });
        }
        try {
            mPair->Connect(mOptions.Name);
        } catch (const LinkFailure& failure) {
            Console::ReportError(mOptions.Name, failure.Reason);
            DropPair(u"the server cannot be reached"_s);
        }
    }

    // Ends both connections, and reports each end that has not disconnected itself.
    void DropPair(const QString& reason)
    {
        if (!mPair)
            return;
        const bool hadClient = mPair->Client().state() != QLocalSocket::UnconnectedState;
        const bool hadServer = mPair->Server().state() != QLocalSocket::UnconnectedState;
        if (hadClient || hadServer)
            mPair->Finish();
        mPair.reset();
        if (hadClient)
            Console::ReportError({}, u"the client has been disconnected: "_s + reason);
        if (hadServer)
            Console::ReportError({}, u"the server has been disconnected"_s);
    }

    void OnDisconnected(const QLocalSocket& end)
    {
        Console::ReportError({},
                             &end == &mPair->Client() ? u"the client has disconnected"_s
                                                      : u"the server has disconnected"_s);
        if (mPair->HasEnded())
            mPair->Finish();
    }

    const ProxyOptions& mOptions;
    MessageLines mLines;
    Session& mSession;
    QLocalServer mServer;
    std::unique_ptr<Pair> mPair;
};

ExitCode RunProxy(const ProxyOptions& options)
{
    if (Util::Internal::GetSocketPath(options.Name) == Util::Internal::GetSocketPath(options.As))
        throw UsageFailure(u"NAME and --as are the same; clients must connect to the name given by --as"_s);
    RequireFreeEndpoint(options.As, options.Replace);
    Session session(Session::EndsOnSignals);
    return Proxy(options, session).Run();
}

} // namespace

void AddProxyCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ProxyOptions>();
    CLI::App& proxy
        = line.AddCommand(group, "proxy", "Forward messages between a client and a server, and print them",
                          "qvutil ipc proxy viewer --as viewer-watched\n"
                          "qvutil ipc proxy viewer --as viewer-watched --json > traffic.jsonl",
                          [options] { return RunProxy(*options); });
    AddExplanation(proxy, kExplanation);
    AddText(proxy, "NAME", options->Name, "The server's name")->required();
    AddText(proxy, "--as", options->As, "The name under which to listen for clients")
        ->type_name("OTHER")
        ->required();
    proxy.add_flag("--replace", options->Replace, "Take over the name OTHER of a running server");
    AddJsonFlag(proxy, options->Json);
}

} // namespace Quorvin::Tool
