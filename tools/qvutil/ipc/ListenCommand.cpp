// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "cli/Session.h"
#include "ipc/Endpoint.h"
#include "ipc/IpcCommands.h"
#include "ipc/MessageLines.h"
#include "messages/MessageFile.h"
#include <qvutil/messaging/IPC_p.h>
#include <qvutil/messaging/MessageServer_p.h>
#include <qvutil/messaging/MessageSocket_p.h>

#include <QHash>

#include <limits>
#include <memory>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace Quorvin::Tool {
namespace {

// Time-out for writing the last answer.
constexpr int kFinishMs = 5000;

constexpr const char* kExplanation
    = R"(The server answers every request, by default without parameters. The file for --reply contains
answers in JSON, each with the name of the request that it answers, or * for all others:
  {"id": "Open", "params": {"ok": true}}
  {"id": "*", "params": {}}
The command ends on SIGINT (Ctrl+C) or SIGTERM.)";

struct ListenOptions
{
    QString Name;
    QString ReplyFile;
    int Count = std::numeric_limits<int>::max();
    bool Echo = false;
    bool Quiet = false;
    bool Replace = false;
    bool Json = false;
};

using Replies = QHash<QString, QVariantMap>;
constexpr QStringView kAnyRequest = u"*";

// Reads one message or an array of messages, in the form in which all commands print them.
Replies ReadReplies(const QString& argument)
{
    Replies replies;
    if (argument.isEmpty())
        return replies;
    const InputFile input(argument);
    for (const MessageInfo& message : ReadMessages(input.ReadAll(), input.Name()))
        replies.insert(message.Id, message.Params);
    return replies;
}

// Runs the library's server in this thread.
class Listener
{
public:
    Listener(const ListenOptions& options, Session& session)
        : mOptions(options)
        , mReplies(ReadReplies(options.ReplyFile))
        , mLines(options.Json)
        , mSession(session)
        , mWorker(&mOutgoing)
    {
        QObject::connect(&mWorker, &MessageServerWorker::Connected, &mWorker,
                         [this](QLocalSocket* socket) { mSession.Do([&] { Accept(socket); }); });
        QObject::connect(&mWorker, &MessageServerWorker::Disconnected, &mWorker,
                         [this](QLocalSocket* socket) { mSession.Do([&] { OnDisconnected(socket); }); });
        QObject::connect(&mWorker, &MessageServerWorker::MessageReceived, &mWorker,
                         [this](const MessageInfo& message) { mSession.Do([&] { Take(message); }); });
    }

    // Stop the worker first: that disconnects its client, and the connected slots use members of this object.
    ~Listener() { mWorker.Stop(); }
    Q_DISABLE_COPY_MOVE(Listener)

    ExitCode Run()
    {
        if (!mWorker.Start(mOptions.Name))
            return ExitCode::Error; // the library has logged the reason
        Console::ReportError({}, u"listening at %1"_s.arg(Util::Internal::GetSocketPath(mOptions.Name)));
        (void)mSession.WaitFor([this] { return mCount >= mOptions.Count; });
        (void)mSession.WaitFor(
            [this] { return mUnwritten == 0 && (!mClient || mClient->bytesToWrite() == 0); },
            QDeadlineTimer(kFinishMs));
        return ExitCode::Yes;
    }

private:
    void Accept(QLocalSocket* socket)
    {
        mClient = socket;
        mUnwritten = 0;
        const auto* writer = socket->findChild<Util::Internal::MessageWriter*>();
        QObject::connect(writer, &Util::Internal::MessageWriter::Written, socket,
                         [this, socket] { mSession.Do([&] { mUnwritten -= mClient == socket ? 1 : 0; }); });
        QObject::connect(socket, &QLocalSocket::bytesWritten, socket, [this] { mSession.Do([] {}); });
        const std::optional<ProcessName> process = FindPeerProcess(socket->socketDescriptor());
        Console::ReportError(
            {}, u"a client has connected: process %1"_s.arg(process ? ToText(*process) : u"unknown"_s));
    }

    void OnDisconnected(const QLocalSocket* socket)
    {
        if (mClient == socket || mClient.isNull()) {
            mClient.clear();
            mUnwritten = 0;
        }
        Console::ReportError({}, u"a client has disconnected"_s);
    }

    void Take(const MessageInfo& message)
    {
        if (mCount >= mOptions.Count)
            return;
        ++mCount;
        if (!mOptions.Quiet)
            mLines.Print(message);
        if (!message.NeedResponse)
            return;
        MessageInfo answer;
        answer.Id = kMsgResponse;
        answer.IsResponse = true;
        answer.OriginalMessageUniqueId = message.UniqueId;
        answer.Params = AnswerTo(message);
        ++mUnwritten;
        if (!mWorker.SendMessage(answer))
            --mUnwritten; // the client has gone
    }

    [[nodiscard]] QVariantMap AnswerTo(const MessageInfo& request) const
    {
        if (const auto reply = mReplies.find(request.Id); reply != mReplies.end())
            return *reply;
        if (mOptions.Echo)
            return request.Params;
        return mReplies.value(kAnyRequest.toString());
    }

    const ListenOptions& mOptions;
    Replies mReplies;
    MessageLines mLines;
    Session& mSession;
    MessageServer mOutgoing; // not started: the worker only uses its signal
    MessageServerWorker mWorker;
    QPointer<QLocalSocket> mClient;
    int mCount = 0;
    int mUnwritten = 0;
};

ExitCode Listen(const ListenOptions& options)
{
    RequireFreeEndpoint(options.Name, options.Replace);
    Session session(Session::EndsOnSignals);
    return Listener(options, session).Run();
}

} // namespace

void AddListenCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ListenOptions>();
    CLI::App& listen = line.AddCommand(group, "listen", "Run a server that prints every message",
                                       "qvutil ipc listen viewer\n"
                                       "qvutil ipc listen viewer --echo --count 1 --json\n"
                                       "qvutil ipc listen viewer --reply answers.json",
                                       [options] { return Listen(*options); });
    AddExplanation(listen, kExplanation);
    AddText(listen, "NAME", options->Name, "The server's name")->required();
    listen.add_flag("--echo", options->Echo, "Answer each request with its own parameters");
    AddText(listen, "--reply", options->ReplyFile,
            "JSON file with answers, which take precedence over --echo")
        ->type_name("FILE");
    AddNumber(listen, "--count", options->Count, {.Min = 1}, "Stop after this number of messages")
        ->type_name("N");
    listen.add_flag("--quiet", options->Quiet, "Print no messages, for example to measure speed");
    listen.add_flag("--replace", options->Replace, "Take over the name of a running server");
    AddJsonFlag(listen, options->Json);
}

} // namespace Quorvin::Tool
