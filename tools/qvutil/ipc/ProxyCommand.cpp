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
    = R"(A server has one client: to look on as a second one would replace the first. So let the
client connect to the name given by --as. For each client that does, the command connects to
the server, and hands on every byte as it is, both ways. It ends with SIGINT (Ctrl+C) or
SIGTERM.)";

struct ProxyOptions
{
    QString Name;
    QString As;
    bool Replace = false;
    bool Json = false;
};

// A client, the server that it wants to talk to, and what goes between them.
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
        // Nothing is printed any more, and nobody called back.
        mServer.disconnect();
        mClient->disconnect();
        mClient.release()->deleteLater(); // one of its signals may be under way
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

    /// Says what was left over when both ends have gone.
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
    // As a server does, one client at a time is served, the newest.
    void Accept()
    {
        std::unique_ptr<QLocalSocket> client(mServer.nextPendingConnection());
        if (!client)
            return;
        client->setParent(nullptr);
        const std::optional<ProcessName> process = FindPeerProcess(client->socketDescriptor());
        Console::ReportError(
            {}, u"a client has connected: process %1"_s.arg(process ? ToText(*process) : u"unknown"_s));
        DropPair(u"a new one takes its place"_s);
        mPair = std::make_unique<Pair>(mSession, mLines, client.release());
        // Before the bytes are handed on, so that the end that goes first is told first.
        for (QLocalSocket* end : {&mPair->Client(), &mPair->Server()}) {
            QObject::connect(end, &QLocalSocket::disconnected, end,
                             [this, end] { mSession.Do([this, end] { OnDisconnected(*end); }); });
        }
        try {
            mPair->Connect(mOptions.Name);
        } catch (const LinkFailure& failure) {
            Console::ReportError(mOptions.Name, failure.Reason);
            DropPair(u"there is no server for it"_s);
        }
    }

    // Ends what is there, and tells of each end that had not gone by itself.
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
        throw UsageFailure(u"NAME and --as are the same: clients must be told the name given by --as"_s);
    RequireFreeEndpoint(options.As, options.Replace);
    Session session(Session::EndsOnSignals);
    return Proxy(options, session).Run();
}

} // namespace

void AddProxyCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ProxyOptions>();
    CLI::App& proxy
        = line.AddCommand(group, "proxy", "Stand between a client and a server, and print what they say",
                          "qvutil ipc proxy viewer --as viewer-watched\n"
                          "qvutil ipc proxy viewer --as viewer-watched --json > traffic.jsonl",
                          [options] { return RunProxy(*options); });
    AddExplanation(proxy, kExplanation);
    AddText(proxy, "NAME", options->Name, "The server's name")->required();
    AddText(proxy, "--as", options->As, "The name at which to listen for clients")
        ->type_name("OTHER")
        ->required();
    proxy.add_flag("--replace", options->Replace, "Take the name OTHER away from a server that listens");
    AddJsonFlag(proxy, options->Json);
}

} // namespace Quorvin::Tool
