// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPCManager.h"
#include "messaging/MessageClient_p.h"
#include "messaging/MessageServer_p.h"
#include "support/MessagingSupport.h"
#include "support/TestSupport.h"

#include <QAbstractEventDispatcher>
#include <QMap>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace MessagingSupport;

namespace {

constexpr QIODeviceBase::OpenMode kReadWrite = QIODeviceBase::ReadWrite;
constexpr int kLongMs = 60000;

class Responder final : public IMessageResponder
{
public:
    explicit Responder(std::function<void(QVariantMap&)> answer)
        : mAnswer(std::move(answer))
    { }
    bool HandleMessage(const QString& /*messageId*/, const QVariantMap& /*params*/,
                       QVariantMap& responseParams) override
    {
        mAnswer(responseParams);
        return true;
    }

private:
    std::function<void(QVariantMap&)> mAnswer;
};

// Runs a function in a new thread, and processes events meanwhile.
// \return false if it has not returned within a minute
[[nodiscard]] bool RunInThread(const std::function<void()>& function,
                               QAbstractEventDispatcher* dispatcher = nullptr)
{
    // Synchronises with the end of the function, because a race detector does not see how Qt ends the thread.
    std::atomic<bool> done = false;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        function();
        done = true;
    }));
    if (dispatcher != nullptr)
        thread->setEventDispatcher(dispatcher); // now owned by the thread
    thread->start();
    const bool finished = WaitUntil([&] { return done.load(); });
    thread->wait();
    return finished;
}

// An event dispatcher for a thread without sockets. It records the flags that it receives, which name the
// events to exclude.
class Dispatcher final : public QAbstractEventDispatcher
{
public:
    // Returns the flags that all rounds since the last call have in common, and counts the rounds.
    [[nodiscard]] QEventLoop::ProcessEventsFlags TakeCommonFlags(int& rounds)
    {
        rounds = std::exchange(mRounds, 0);
        return std::exchange(mCommonFlags, QEventLoop::ProcessEventsFlags(~0U));
    }

    // Returns the intervals of all active timers, in milliseconds.
    [[nodiscard]] QList<qint64> Intervals() const
    {
        QList<qint64> intervals;
        for (const Timer& timer : mTimers)
            intervals.append(timer.IntervalMs);
        return intervals;
    }

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override
    {
        ++mRounds;
        mCommonFlags &= flags;
        QCoreApplication::sendPostedEvents();
        SendTimerEvents();
        if (flags.testFlag(QEventLoop::WaitForMoreEvents))
            WaitForMore();
        return true;
    }
    void registerSocketNotifier(QSocketNotifier* /*notifier*/) override { }
    void unregisterSocketNotifier(QSocketNotifier* /*notifier*/) override { }
    void registerTimer(int timerId, qint64 interval, Qt::TimerType timerType, QObject* object) override
    {
        mTimers.insert(timerId, {object, interval, timerType, QDeadlineTimer(interval, timerType)});
    }
    bool unregisterTimer(int timerId) override { return mTimers.remove(timerId) > 0; }
    bool unregisterTimers(QObject* object) override
    {
        return mTimers.removeIf([=](const auto& timer) { return timer.value().Object == object; }) > 0;
    }
    QList<TimerInfo> registeredTimers(QObject* object) const override
    {
        QList<TimerInfo> timers;
        for (auto timer = mTimers.cbegin(); timer != mTimers.cend(); ++timer) {
            if (timer->Object == object)
                timers.append({timer.key(), static_cast<int>(timer->IntervalMs), timer->Type});
        }
        return timers;
    }
    int remainingTime(int timerId) override
    {
        return static_cast<int>(mTimers.value(timerId).Deadline.remainingTime());
    }
    void wakeUp() override
    {
        const std::lock_guard lock(mLock);
        mAwake = true;
        mChanged.notify_all();
    }
    void interrupt() override { wakeUp(); }

private:
    struct Timer
    {
        QObject* Object = nullptr;
        qint64 IntervalMs = 0;
        Qt::TimerType Type = Qt::PreciseTimer;
        QDeadlineTimer Deadline = QDeadlineTimer(QDeadlineTimer::Forever);
    };

    void SendTimerEvents()
    {
        const QList<int> ids = mTimers.keys();
        for (const int id : ids) {
            const auto timer = mTimers.find(id);
            if (timer == mTimers.end() || !timer->Deadline.hasExpired())
                continue;
            timer->Deadline.setRemainingTime(timer->IntervalMs, timer->Type);
            QTimerEvent event(id);
            QCoreApplication::sendEvent(timer->Object, &event);
        }
    }

    void WaitForMore()
    {
        QDeadlineTimer first(QDeadlineTimer::Forever);
        for (const Timer& timer : std::as_const(mTimers))
            first = std::min(first, timer.Deadline);
        std::unique_lock lock(mLock);
        const auto isAwake = [this] { return mAwake; };
        if (first.isForever())
            mChanged.wait(lock, isAwake);
        else
            mChanged.wait_for(lock, std::chrono::milliseconds(first.remainingTime()), isAwake);
        mAwake = false;
    }

    QMap<int, Timer> mTimers;
    QEventLoop::ProcessEventsFlags mCommonFlags = QEventLoop::ProcessEventsFlags(~0U);
    int mRounds = 0;
    std::mutex mLock; // guards mAwake
    std::condition_variable mChanged;
    bool mAwake = false;
};

enum class Wait {
    Connection,
    Sending,
    Answer,
};

// Performs one of the waits; sending has a fixed time-out.
bool WaitFor(MessageClient& client, Wait wait, int limitMs)
{
    QVariantMap answer;
    switch (wait) {
    case Wait::Connection:
        return client.WaitForConnection(limitMs);
    case Wait::Sending:
        return client.SendMessage(u"m"_s, {}, true);
    default:
        return client.SendMessageAndGetResponse(u"ask"_s, {}, answer, limitMs);
    }
}

} // namespace

// Tests in which threads signals are emitted and responders called, and what ends a wait in these threads.
class tst_MessageThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void ManagersOfOtherThread();
    void ResponderAsksBack();
    void Wait_excludesUserInput();
    void Wait_timeout_data();
    void Wait_timeout();
    void Reconnect_interval();
    void Reconnect_again();
    void Wait_endOfThread_data();
    void Wait_endOfThread();
    void Wait_lostConnection();
    void Wait_withinWait();
    void Wait_ignoresLateConfirmation();
    void Wait_clearsPreviousAnswer();
    void Connected_stateInSlot();
    void Connected_slotDeletesClient();
    void OutlivesApplication();
};

// Signals are emitted and responders called in the manager's thread, whichever that is.
void tst_MessageThreads::ManagersOfOtherThread()
{
    const QString name = UniqueName();
    QStringList inThread;
    QStringList elsewhere;
    int answered = 0;
    QVERIFY(RunInThread([&] {
        const auto note = [&, own = QThread::currentThread()](const QString& what) {
            (QThread::currentThread() == own ? inThread : elsewhere).append(what);
        };
        IPCManager server;
        IPCManager client;
        Responder responder([&](QVariantMap& answer) {
            note(u"asked"_s);
            answer.insert(u"n"_s, 1);
        });
        server.AddMessageResponder(&responder);
        connect(
            &server, &IPCManager::ConnectedToClient, &server, [&] { note(u"client came"_s); },
            Qt::DirectConnection);
        connect(
            &server, &IPCManager::DisconnectedFromClient, &server, [&] { note(u"client left"_s); },
            Qt::DirectConnection);
        connect(
            &server, &IPCManager::MessageReceived, &server, [&] { note(u"at server"_s); },
            Qt::DirectConnection);
        connect(
            &client, &IPCManager::ConnectedToServer, &client, [&] { note(u"server found"_s); },
            Qt::DirectConnection);
        connect(
            &client, &IPCManager::DisconnectedFromServer, &client, [&] { note(u"server lost"_s); },
            Qt::DirectConnection);
        connect(
            &client, &IPCManager::MessageReceived, &client, [&] { note(u"at client"_s); },
            Qt::DirectConnection);
        server.StartServer(name, kReadWrite);
        client.ConnectToServer(name, kReadWrite);
        client.WaitForConnectionToServer(name, kLongMs);
        for (int i = 0; i < 10; ++i) {
            QVariantMap answer;
            client.SendMessageAndGetResponse(name, u"ask"_s, {}, answer, kLongMs);
            answered += answer.value(u"n"_s).toInt();
        }
        client.SendMessage(u"m"_s, {});
        server.SendMessage(u"m"_s, {});
        static_cast<void>(WaitUntil(
            [&] { return inThread.contains(u"at server"_s) && inThread.contains(u"at client"_s); }));
        // The server stops, its client reconnects to the next one, and disconnects.
        server.StopServer();
        static_cast<void>(WaitUntil([&] { return inThread.contains(u"server lost"_s); }));
        IPCManager next;
        connect(
            &next, &IPCManager::DisconnectedFromClient, &next, [&] { note(u"client left"_s); },
            Qt::DirectConnection);
        next.StartServer(name, kReadWrite);
        static_cast<void>(WaitUntil([&] { return next.IsConnectedToAnyClient(); }));
        client.DisconnectFromServer(name);
        static_cast<void>(WaitUntil([&] { return inThread.contains(u"client left"_s); }));
    }));
    QCOMPARE(elsewhere, QStringList());
    QCOMPARE(answered, 10);
    inThread.removeDuplicates();
    inThread.sort();
    QCOMPARE(inThread,
             (QStringList{u"asked"_s, u"at client"_s, u"at server"_s, u"client came"_s, u"client left"_s,
                          u"server found"_s, u"server lost"_s}));
}

// Two managers that are each other's server: while one waits, the other may send it a request.
void tst_MessageThreads::ResponderAsksBack()
{
    const QString firstName = UniqueName();
    const QString secondName = UniqueName();
    IPCManager first;
    IPCManager second;
    const QSignalSpy firstFound(&first, &IPCManager::ConnectedToServer);
    const QSignalSpy secondFound(&second, &IPCManager::ConnectedToServer);
    first.StartServer(firstName, kReadWrite);
    second.StartServer(secondName, kReadWrite);
    first.ConnectToServer(secondName, kReadWrite);
    second.ConnectToServer(firstName, kReadWrite);
    EVENTUALLY(firstFound.count() == 1 && secondFound.count() == 1);

    Responder atFirst([](QVariantMap& answer) { answer.insert(u"first"_s, 1); });
    Responder atSecond([&](QVariantMap& answer) {
        QVariantMap back;
        answer.insert(u"asked"_s, second.SendMessageAndGetResponse(firstName, u"back"_s, {}, back, kLongMs));
        answer.insert(back);
    });
    first.AddMessageResponder(&atFirst);
    second.AddMessageResponder(&atSecond);
    for (int i = 0; i < 10; ++i) {
        QVariantMap answer;
        QCOMPARE(first.SendMessageAndGetResponse(secondName, u"ask"_s, {}, answer, kLongMs), true);
        QCOMPARE(answer, (QVariantMap{{u"asked"_s, true}, {u"first"_s, 1}}));
    }
}

void tst_MessageThreads::Wait_excludesUserInput()
{
    const QString name = UniqueName();
    MessageServer server;
    server.Start(name);
    struct Round
    {
        bool Succeeded = false;
        int Rounds = 0;
        QEventLoop::ProcessEventsFlags Flags;
    };
    QMap<QString, Round> rounds;
    auto* const dispatcher = new Dispatcher;
    QVERIFY(RunInThread(
        [&] {
            MessageClient client;
            const auto run = [&](const QString& what, const std::function<bool()>& wait) {
                Round& round = rounds[what];
                static_cast<void>(dispatcher->TakeCommonFlags(round.Rounds));
                round.Succeeded = wait();
                round.Flags = dispatcher->TakeCommonFlags(round.Rounds);
            };
            // Connect during the first wait, so that there is something to wait for.
            QMetaObject::invokeMethod(
                &client, [&] { client.ConnectToServer(name, kReadWrite); }, Qt::QueuedConnection);
            run(u"connection"_s, [&] { return client.WaitForConnection(kLongMs); });
            run(u"sent"_s, [&] { return client.SendMessage(u"m"_s, {}, true); });
            run(u"answer"_s, [&] {
                QVariantMap answer;
                return client.SendMessageAndGetResponse(u"ask"_s, {}, answer, kLongMs);
            });
            run(u"timer"_s, [&] {
                client.DisconnectFromServer();
                QVariantMap answer;
                return !client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 1);
            });
        },
        dispatcher));
    QCOMPARE(rounds.keys(), (QStringList{u"answer"_s, u"connection"_s, u"sent"_s, u"timer"_s}));
    for (const Round& round : std::as_const(rounds)) {
        QVERIFY(round.Succeeded);
        QVERIFY(round.Rounds > 0);
        QVERIFY(round.Flags.testFlag(QEventLoop::ExcludeUserInputEvents));
    }
}

void tst_MessageThreads::Wait_timeout_data()
{
    QTest::addColumn<Wait>("wait");
    QTest::addColumn<int>("limitMs");
    QTest::addColumn<QList<qint64>>("expected");

    QTest::newRow("connection") << Wait::Connection << 1234 << QList<qint64>{1234};
    QTest::newRow("connection, without limit") << Wait::Connection << -1 << QList<qint64>();
    QTest::newRow("sending") << Wait::Sending << 0 << QList<qint64>{15000};
    QTest::newRow("answer") << Wait::Answer << 1234 << QList<qint64>{1234};
    QTest::newRow("answer, negative") << Wait::Answer << -1 << QList<qint64>{30000};
}

// A wait starts one timer with its time-out, and no other timer runs meanwhile.
void tst_MessageThreads::Wait_timeout()
{
    QFETCH(const Wait, wait);
    QFETCH(const int, limitMs);
    QFETCH(const QList<qint64>, expected);

    const QString name = UniqueName();
    MessageServer server;
    if (wait != Wait::Connection)
        server.Start(name);
    bool ready = false;
    bool result = true;
    QList<qint64> intervals{-1};
    auto* const dispatcher = new Dispatcher;
    QVERIFY(RunInThread(
        [&] {
            MessageClient client;
            client.ConnectToServer(name); // receives only: neither confirmation nor answer arrives
            ready = wait == Wait::Connection || client.WaitForConnection(kLongMs);
            QMetaObject::invokeMethod(
                &client,
                [&] {
                    intervals = dispatcher->Intervals();
                    client.EventLoopTimeout();
                },
                Qt::QueuedConnection);
            result = WaitFor(client, wait, limitMs);
        },
        dispatcher));
    QVERIFY(ready);
    QCOMPARE(intervals, expected);
    QCOMPARE(result, false);
}

void tst_MessageThreads::Reconnect_interval()
{
    QList<qint64> before{-1};
    QList<qint64> after;
    auto* const dispatcher = new Dispatcher;
    QVERIFY(RunInThread(
        [&] {
            MessageClient client; // only emits NewOutgoingMessage
            MessageClientWorker worker(UniqueName(), kReadWrite, &client); // no server
            before = dispatcher->Intervals();
            worker.ConnectAndListen();
            after = dispatcher->Intervals();
        },
        dispatcher));
    QCOMPARE(before, QList<qint64>());
    QCOMPARE(after, QList<qint64>{1000});
}

// Each connection is announced once, and so is its end.
void tst_MessageThreads::Reconnect_again()
{
    const QString name = UniqueName();
    QLocalServer server;
    QVERIFY(server.listen(name));
    connect(&server, &QLocalServer::newConnection, &server,
            [&server] { server.nextPendingConnection()->disconnectFromServer(); });
    MessageClient client;
    QString order;
    connect(&client, &MessageClient::Connected, this, [&order] { order += u'c'; });
    connect(&client, &MessageClient::Disconnected, this, [&order] { order += u'd'; });
    client.ConnectToServer(name, kReadWrite);
    EVENTUALLY(order.size() >= 5);
    QCOMPARE(order.first(5), u"cdcdc"_s);
}

void tst_MessageThreads::Wait_endOfThread_data()
{
    QTest::addColumn<Wait>("wait");

    QTest::newRow("connection") << Wait::Connection;
    QTest::newRow("sending") << Wait::Sending;
    QTest::newRow("answer") << Wait::Answer;
}

// When the event loop of the thread or the application ends, all loops within it end with the same exit code,
// of which 0 means success. No loop starts after that.
void tst_MessageThreads::Wait_endOfThread()
{
    QFETCH(const Wait, wait);

    const QString name = UniqueName();
    MessageServer server;
    if (wait != Wait::Connection)
        server.Start(name);
    bool ready = false;
    QList<bool> results;
    QVERIFY(RunInThread([&] {
        MessageClient client;
        client.ConnectToServer(name); // receives only, as above
        ready = wait == Wait::Connection || client.WaitForConnection(kLongMs);
        QMetaObject::invokeMethod(
            &client, [] { QThread::currentThread()->quit(); }, Qt::QueuedConnection);
        for (int i = 0; i < 2; ++i) // the second one ends at once
            results.append(WaitFor(client, wait, kLongMs));
    }));
    QVERIFY(ready);
    QCOMPARE(results, (QList<bool>{true, false}));
}

// Losing the connection does not end a wait; reconnecting does.
void tst_MessageThreads::Wait_lostConnection()
{
    const QString name = UniqueName();
    MessageServer server;
    server.Start(name);
    MessageClient client;
    QVERIFY(ConnectClient(client, name, QIODeviceBase::ReadOnly));
    const QSignalSpy disconnected(&client, &MessageClient::Disconnected);
    QMetaObject::invokeMethod(&client, &MessageClient::DisconnectedSlot, Qt::QueuedConnection);
    QVariantMap answer;
    QCOMPARE(client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 200), false);
    QCOMPARE(disconnected.count(), 1);
    // The flag is cleared, but the connection still exists.
    QCOMPARE(client.IsConnected(), true);
    QMetaObject::invokeMethod(&client, &MessageClient::ConnectedSlot, Qt::QueuedConnection);
    QCOMPARE(client.SendMessageAndGetResponse(u"ask"_s, {}, answer, kLongMs), true);
}

void tst_MessageThreads::Wait_withinWait()
{
    MessageClient client;
    client.ConnectToServer(UniqueName(), kReadWrite); // no server
    bool inner = true;
    QMetaObject::invokeMethod(
        &client, [&] { inner = client.WaitForConnection(kLongMs); }, Qt::QueuedConnection);
    const QDeadlineTimer deadline(kLongMs / 2);
    QCOMPARE(client.WaitForConnection(200), false);
    QCOMPARE(inner, false);
    QVERIFY(!deadline.hasExpired()); // the inner wait has not postponed the outer deadline
}

// A late confirmation does not end another wait.
void tst_MessageThreads::Wait_ignoresLateConfirmation()
{
    const QString name = UniqueName();
    MessageServer server;
    server.Start(name);
    MessageClient client;
    QVERIFY(ConnectClient(client, name, QIODeviceBase::ReadOnly)); // nothing is written or confirmed
    QMetaObject::invokeMethod(&client, &MessageClient::EventLoopTimeout, Qt::QueuedConnection);
    QCOMPARE(client.SendMessage(u"m"_s, {}, true), false);
    bool confirmed = false;
    QMetaObject::invokeMethod(
        &client,
        [&] {
            client.MessageSentSlot({});
            confirmed = true;
        },
        Qt::QueuedConnection);
    QVariantMap answer;
    QCOMPARE(client.SendMessageAndGetResponse(u"ask"_s, {}, answer, 200), false);
    QVERIFY(confirmed);
}

// A wait that ends without an answer clears the map, so that it does not contain the previous answer.
void tst_MessageThreads::Wait_clearsPreviousAnswer()
{
    RawServer server(UniqueName());
    QVERIFY(server.IsListening());
    MessageClient client;
    QVERIFY(ConnectClient(client, server.Name(), kReadWrite));
    QVERIFY(server.Client() != nullptr);
    QLocalSocket& other = *server.Client();
    ForEachMessage(other, [&other](const MessageInfo& message) {
        if (message.Id == "ask"_L1)
            Write(other, Document(u"Response"_s, {{u"n"_s, 1}}, {}, message.UniqueId));
    });
    QVariantMap answer;
    QCOMPARE(client.SendMessageAndGetResponse(u"ask"_s, {}, answer, kLongMs), true);
    QCOMPARE(answer, (QVariantMap{{u"n"_s, 1}}));
    QCOMPARE(client.SendMessageAndGetResponse(u"say nothing"_s, {}, answer, 50), false);
    QCOMPARE(answer, QVariantMap());
}

// The state matches each signal when its slots are called.
void tst_MessageThreads::Connected_stateInSlot()
{
    auto server = std::make_unique<RawServer>(UniqueName());
    QVERIFY(server->IsListening());
    MessageClient client;
    QList<bool> connected;
    connect(&client, &MessageClient::Connected, this, [&] {
        QVERIFY(server->Client() != nullptr);
        client.DisconnectFromServer(); // does not clear the flag
        connected.append(client.IsConnected());
    });
    client.ConnectToServer(server->Name(), kReadWrite);
    EVENTUALLY_EQUAL(connected, QList<bool>{true});

    client.disconnect(this);
    server = std::make_unique<RawServer>(UniqueName());
    QVERIFY(server->IsListening());
    QVERIFY(ConnectClient(client, server->Name(), kReadWrite));
    connect(&client, &MessageClient::Disconnected, this, [&] { connected.append(client.IsConnected()); });
    server.reset(); // no server to reconnect to
    EVENTUALLY_EQUAL(connected, (QList<bool>{true, false}));
}

void tst_MessageThreads::Connected_slotDeletesClient()
{
    for (int round = 0; round < 10; ++round) {
        RawServer server(UniqueName());
        QVERIFY(server.IsListening());
        auto client = std::make_unique<MessageClient>();
        connect(client.get(), &MessageClient::Connected, this, [&] { client.reset(); });
        MessageClient* const waiting = client.get();
        QMetaObject::invokeMethod(
            waiting, [&] { client->ConnectToServer(server.Name(), kReadWrite); }, Qt::QueuedConnection);
        QCOMPARE(waiting->WaitForConnection(kLongMs), false);
        QVERIFY(client == nullptr);
    }
}

void tst_MessageThreads::OutlivesApplication()
{
    Peer peer({u"outlives"_s, UniqueName(), UniqueName()});
    QCOMPARE(peer.WaitForLine(QString()), u"answered"_s);
    QCOMPARE(peer.WaitForLine(QString()), u"done"_s);
}

QTEST_GUILESS_MAIN(tst_MessageThreads)

#include "tst_MessageThreads.moc"
