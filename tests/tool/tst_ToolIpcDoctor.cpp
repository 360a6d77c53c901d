// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests qvutil ipc doctor and bench, as processes.

#include "support/BareSocket.h"
#include "support/MessagingSupport.h"
#include "support/RunningTool.h"
#include "support/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace MessagingSupport;
using TestSupport::BareSocket;
using TestSupport::PathOf;
using TestSupport::RunningTool;
using TestSupport::StartListener;
using TestSupport::ToolResult;

class tst_ToolIpcDoctor : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:

    void Doctor_healthy();
    void Doctor_healthyText();
    void Doctor_doesNotDisturb();
    void Doctor_client();
    void Doctor_connect();
    void Doctor_connectReplacesClient();
    void Doctor_noAnswer();
    void Doctor_notAccepted();
    void Doctor_noRequestWithoutConnection();
    void Doctor_missing();
    void Doctor_stale();
    void Doctor_notASocket();
    void Doctor_noFolder();
    void Doctor_tooLong();
    void Doctor_longest();
    void Doctor_emptyName();
    void Doctor_openToOthers();
    void Doctor_otherUser();
    void Doctor_forbidden();
    void Doctor_usage();

    void Bench_text();
    void Bench_json();
    void Bench_oneWay();
    void Bench_message();
    void Bench_terminal();
    void Bench_noServer();
    void Bench_noAnswer();
    void Bench_lost();
    void Bench_usage_data();
    void Bench_usage();

private:
    // Runs a command of the group while the event loop runs.
    [[nodiscard]] ToolResult Run(const QStringList& arguments) const;
    // Returns the diagnosis as JSON, and checks that the exit code matches.
    [[nodiscard]] QJsonObject Diagnose(const QString& name, const QStringList& options = {}) const;
    // Returns the codes of the problems.
    [[nodiscard]] static QStringList Codes(const QJsonObject& diagnosis);
};

ToolResult tst_ToolIpcDoctor::Run(const QStringList& arguments) const
{
    return TestSupport::RunIpc(*mTool, arguments);
}

QJsonObject tst_ToolIpcDoctor::Diagnose(const QString& name, const QStringList& options) const
{
    const ToolResult result = Run(QStringList{u"doctor"_s, name, u"--json"_s} + options);
    const QJsonObject diagnosis = QJsonDocument::fromJson(result.Output).object();
    const bool isHealthy = diagnosis.value("problems"_L1).toArray().isEmpty();
    return result.ExitCode == (isHealthy ? 0 : 1) && result.Errors.isEmpty() ? diagnosis : QJsonObject();
}

QStringList tst_ToolIpcDoctor::Codes(const QJsonObject& diagnosis)
{
    QStringList codes;
    for (const QJsonValue& problem : diagnosis.value("problems"_L1).toArray()) {
        const QJsonObject object = problem.toObject();
        const bool isComplete = !object.value("text"_L1).toString().isEmpty()
            && !object.value("advice"_L1).toString().isEmpty();
        codes += isComplete ? object.value("code"_L1).toString() : u"incomplete"_s;
    }
    return codes;
}

// doctor

void tst_ToolIpcDoctor::Doctor_healthy()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    const QJsonObject found = Diagnose(name);
    QCOMPARE(found.value("name"_L1), QJsonValue(name));
    QCOMPARE(found.value("path"_L1), QJsonValue(PathOf(name)));
    QCOMPARE(found.value("pathBytes"_L1).toInteger(), PathOf(name).size());
    QCOMPARE(found.value("longestPathBytes"_L1).toInteger(),
             Quorvin::Util::Platform::GetMaxSocketPathLength());
    QCOMPARE(found.value("isSocket"_L1), QJsonValue(true));
    QCOMPARE(found.value("listening"_L1), QJsonValue(true));
    QCOMPARE(found.value("permissions"_L1), QJsonValue(u"rwx------"_s));
    QCOMPARE(found.value("owner"_L1), QJsonValue(QFileInfo(PathOf(name)).owner()));
    QVERIFY(found.value("visit"_L1).isUndefined());
    QCOMPARE(Codes(found), QStringList());
#ifdef Q_OS_LINUX
    QCOMPARE(found.value("servers"_L1),
             QJsonValue(QJsonArray{QJsonObject{{u"id"_s, listener->Id()}, {u"name"_s, u"qvutil"_s}}}));
    QCOMPARE(found.value("clients"_L1), QJsonValue(QJsonArray()));
    QCOMPARE(found.value("connections"_L1), QJsonValue(0));
    QCOMPARE(found.value("waiting"_L1), QJsonValue(0));
#endif
}

void tst_ToolIpcDoctor::Doctor_healthyText()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    const QString path = PathOf(name);
    QString expected = u"name        %1\npath        %2 (%3 bytes of %4)\n"
                       "file        socket of the user %5 (this user), rwx------\n"_s.arg(name, path)
                           .arg(path.size())
                           .arg(Quorvin::Util::Platform::GetMaxSocketPathLength())
                           .arg(QFileInfo(path).owner());
#ifdef Q_OS_LINUX
    expected += u"listening   yes, process %1 (qvutil)\nclients     0\n"_s.arg(listener->Id());
#else
    expected += u"listening   yes\n"_s;
#endif
    expected
        += u"answers     not asked: use --connect, which displaces the server's client\nno problems\n=> 0\n"_s;
    QCOMPARE(Run({u"doctor"_s, name}).ToText(), expected);
}

void tst_ToolIpcDoctor::Doctor_doesNotDisturb()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    QVERIFY(listener->WaitForError("a client has connected"));
    QCOMPARE(Codes(Diagnose(name)), QStringList());
    // The next thing the server receives is the disconnection.
    client.disconnectFromServer();
    QVERIFY(listener->WaitForError("a client has disconnected"));
    const ToolResult result = listener->End();
    QCOMPARE(result.Errors.count("a client has connected"), 1);
    QCOMPARE(result.Output, QByteArray());
}

void tst_ToolIpcDoctor::Doctor_client()
{
#ifdef Q_OS_LINUX
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    QVERIFY(listener->WaitForError("a client has connected"));
    const QJsonObject found = Diagnose(name);
    QCOMPARE(found.value("connections"_L1), QJsonValue(1));
    QCOMPARE(found.value("clients"_L1),
             QJsonValue(QJsonArray{QJsonObject{{u"id"_s, QCoreApplication::applicationPid()},
                                               {u"name"_s, u"tst_ToolIpcDoct"_s}}})); // truncated
    QVERIFY(Run({u"doctor"_s, name})
                .Output.contains("clients     1: process "
                                 + QByteArray::number(QCoreApplication::applicationPid())
                                 + " (tst_ToolIpcDoct)\n"));
    // A hanging server does not accept the connection.
    QVERIFY(listener->Freeze());
    QLocalSocket second;
    second.connectToServer(name);
    const QJsonObject waiting = Diagnose(name);
    QCOMPARE(waiting.value("waiting"_L1), QJsonValue(1));
    QCOMPARE(Codes(waiting), QStringList(u"not-accepted"_s));
    const QByteArray text = Run({u"doctor"_s, name}).Output;
    QVERIFY2(text.contains("waiting     1, which the server has not yet accepted\n"), text.constData());
    QVERIFY2(text.contains("problem: the server does not accept a waiting connection\n"), text.constData());
    QLocalSocket third;
    third.connectToServer(name);
    QVERIFY(Run({u"doctor"_s, name})
                .Output.contains("problem: the server does not accept 2 waiting connections\n"));
    // As soon as the server resumes, no problem is left.
    listener->Signal(SIGCONT);
    QVERIFY(listener->WaitForError("a client has connected", 3));
    QCOMPARE(Codes(Diagnose(name)), QStringList());
#endif
}

void tst_ToolIpcDoctor::Doctor_connect()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    const QJsonObject found = Diagnose(name, {u"--connect"_s});
    QCOMPARE(Codes(found), QStringList());
    const QJsonObject visit = found.value("visit"_L1).toObject();
    QVERIFY(visit.value("answerMs"_L1).toDouble() > 0);
    QCOMPARE(visit.value("user"_L1), QJsonValue(QFileInfo(PathOf(name)).owner()));
    QCOMPARE(visit.value("process"_L1).toObject().value("id"_L1).toInteger(), listener->Id());
    QVERIFY(listener->WaitForOutput("request  qvutil.doctor  {"));
    const QString text = QString::fromUtf8(Run({u"doctor"_s, name, u"--connect"_s}).Output);
    static const QRegularExpression answers(
        u"\nruns as     \\S+, process \\d+ \\(qvutil\\)\nanswers     after \\d+\\.\\d{3} ms\n"
        "no problems\n$"_s);
    QVERIFY2(answers.match(text).hasMatch(), qPrintable(text));
}

void tst_ToolIpcDoctor::Doctor_connectReplacesClient()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    QVERIFY(listener->WaitForError("a client has connected"));
    QCOMPARE(Codes(Diagnose(name, {u"--connect"_s})), QStringList());
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
}

void tst_ToolIpcDoctor::Doctor_noAnswer()
{
    const QString name = UniqueName();
    const BareSocket server(PathOf(name), true);
    QVERIFY(server.IsGood());
    QVERIFY(::chmod(QFile::encodeName(PathOf(name)).constData(), 0700) == 0);
    QCOMPARE(Codes(Diagnose(name)), QStringList());
    const QJsonObject found = Diagnose(name, {u"--connect"_s, u"--timeout"_s, u"50"_s});
    QCOMPARE(Codes(found), QStringList(u"no-answer"_s));
    QVERIFY(found.value("visit"_L1).toObject().value("answerMs"_L1).isNull());
    const ToolResult result = Run({u"doctor"_s, name, u"--connect"_s, u"--timeout"_s, u"50"_s});
    QCOMPARE(result.ExitCode, 1);
    QVERIFY2(result.Output.contains("answers     no\nproblem: no answer arrived in time\n  advice: "),
             result.Output.constData());
}

// The server accepts no connections and its queue is full, so the next client has to wait.
void tst_ToolIpcDoctor::Doctor_notAccepted()
{
#ifdef Q_OS_LINUX
    const QString name = UniqueName();
    const BareSocket server(PathOf(name), true, 0);
    QVERIFY(server.IsGood());
    QVERIFY(::chmod(QFile::encodeName(PathOf(name)).constData(), 0700) == 0);
    QLocalSocket first;
    QVERIFY(Connect(first, name));
    const QStringList rest{name, u"--connect"_s, u"--timeout"_s, u"50"_s};
    const ToolResult result = Run(QStringList{u"doctor"_s} + rest);
    QCOMPARE(result.ExitCode, 1);
    QVERIFY2(result.Output.contains("problem: the server did not accept the connection in time\n"),
             result.Output.constData());
#else
    QSKIP("on other systems, a full queue refuses connections");
#endif
}

// If no connection is possible, the command does not try to connect.
void tst_ToolIpcDoctor::Doctor_noRequestWithoutConnection()
{
    const QJsonObject found = Diagnose(UniqueName(), {u"--connect"_s});
    QCOMPARE(Codes(found), QStringList(u"missing"_s));
    QVERIFY(found.value("visit"_L1).isUndefined());
    const ToolResult result = Run({u"doctor"_s, UniqueName(), u"--connect"_s});
    QVERIFY2(result.Output.contains("\nanswers     not asked: no connection is possible\n"),
             result.Output.constData());
}

void tst_ToolIpcDoctor::Doctor_missing()
{
    const QString name = UniqueName();
    const QJsonObject found = Diagnose(name);
    QCOMPARE(Codes(found), QStringList(u"missing"_s));
    QCOMPARE(found.value("isSocket"_L1), QJsonValue(false));
    QCOMPARE(found.value("listening"_L1), QJsonValue(false));
    QVERIFY(found.value("owner"_L1).isUndefined());
    const QString folder = QDir::cleanPath(QDir::tempPath());
    QCOMPARE(Run({u"doctor"_s, name}).ToText(),
             u"name        %1\npath        %2 (%3 bytes of %4)\nfile        none\nlistening   no\n"
             "answers     not asked: use --connect, which displaces the server's client\n"
             "problem: no server has this name: there is no %2\n"
             "  advice: start the server; if it is running, compare its name, and its folder for temporary "
             "files (TMPDIR), with %5\n=> 1\n"_s.arg(name, PathOf(name))
                 .arg(PathOf(name).size())
                 .arg(Quorvin::Util::Platform::GetMaxSocketPathLength())
                 .arg(folder));
}

void tst_ToolIpcDoctor::Doctor_stale()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    (void)listener->End(SIGKILL);
    const QJsonObject found = Diagnose(name);
    QVERIFY(QFile::remove(PathOf(name)));
    QCOMPARE(Codes(found), QStringList(u"stale"_s));
    QCOMPARE(found.value("isSocket"_L1), QJsonValue(true));
    QCOMPARE(found.value("listening"_L1), QJsonValue(false));
}

void tst_ToolIpcDoctor::Doctor_notASocket()
{
    QVERIFY(mTool->Write(u"s"_s, "x"));
    QVERIFY(QDir(mTool->Path(QString())).mkdir(u"d"_s));
    QCOMPARE(Codes(Diagnose(mTool->Path(u"s"_s))), QStringList(u"not-a-socket"_s));
    QCOMPARE(Codes(Diagnose(mTool->Path(u"d"_s))), QStringList(u"not-a-socket"_s));
    QVERIFY(Run({u"doctor"_s, mTool->Path(u"s"_s)})
                .Output.contains("\nfile        not a socket, but a file of the user "));
}

void tst_ToolIpcDoctor::Doctor_noFolder()
{
    QCOMPARE(Codes(Diagnose(mTool->Path(u"none/s"_s))), QStringList(u"no-folder"_s));
}

void tst_ToolIpcDoctor::Doctor_tooLong()
{
    const qsizetype longest = Quorvin::Util::Platform::GetMaxSocketPathLength();
    const QString name = u"/tmp/"_s + QString(longest - 4, u'x');
    const QJsonObject found = Diagnose(name);
    QCOMPARE(Codes(found), QStringList(u"name-too-long"_s));
    QCOMPARE(found.value("pathBytes"_L1).toInteger(), longest + 1);
    // The limit is in bytes, not characters.
    QCOMPARE(Codes(Diagnose(u"/tmp/"_s + QString((longest - 4) / 2 + 1, u'\u00e4'))),
             QStringList(u"name-too-long"_s));
}

void tst_ToolIpcDoctor::Doctor_longest()
{
    QString name = UniqueName();
    name += QString(Quorvin::Util::Platform::GetMaxSocketPathLength() - PathOf(name).size(), u'x');
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QCOMPARE(Codes(Diagnose(name, {u"--connect"_s})), QStringList());
}

void tst_ToolIpcDoctor::Doctor_emptyName()
{
    QCOMPARE(Codes(Diagnose(QString())), QStringList(u"empty-name"_s));
}

void tst_ToolIpcDoctor::Doctor_openToOthers()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    for (const mode_t mode : {0770U, 0707U, 0720U, 0702U}) {
        QVERIFY(::chmod(QFile::encodeName(PathOf(name)).constData(), mode) == 0);
        QCOMPARE(Codes(Diagnose(name)), QStringList(u"open-to-others"_s));
    }
    // The server still answers.
    const QJsonObject found = Diagnose(name, {u"--connect"_s});
    QVERIFY(found.value("visit"_L1).toObject().value("answerMs"_L1).isDouble());
    QVERIFY(::chmod(QFile::encodeName(PathOf(name)).constData(), 0755)
            == 0); // reading alone does not connect
    QCOMPARE(Codes(Diagnose(name)), QStringList());
}

void tst_ToolIpcDoctor::Doctor_otherUser()
{
    if (::geteuid() != 0)
        QSKIP("needs root to run a server as another user");
    const QString name = UniqueName();
    Peer peer({u"foreign"_s, name});
    QCOMPARE(peer.WaitForLine(u"ready"_s), u"ready"_s);
    const QJsonObject found = Diagnose(name, {u"--connect"_s});
    QVERIFY(Codes(found).contains(u"other-user"_s));
    QVERIFY(found.value("visit"_L1).isUndefined());
}

void tst_ToolIpcDoctor::Doctor_forbidden()
{
#ifndef Q_OS_LINUX
    QSKIP("access to another user's socket is only tested on Linux");
#endif
    if (::geteuid() != 0)
        QSKIP("needs root to create a socket that another user may not use");
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QVERIFY(::chmod(QFile::encodeName(mTool->Path(u"."_s)).constData(), 0755) == 0);

    const ToolResult result = mTool->RunUnprivileged({u"ipc"_s, u"doctor"_s, u"--json"_s, name});
    QCOMPARE(result.ExitCode, 1);
    const QJsonObject found = QJsonDocument::fromJson(result.Output).object();
    QCOMPARE(Codes(found), QStringList(u"no-permission"_s));
    QVERIFY(found.value("listening"_L1).isNull());
    QVERIFY(mTool->RunUnprivileged({u"ipc"_s, u"doctor"_s, name}).Output.contains("\nlistening   unknown\n"));
    QCOMPARE(mTool->RunUnprivileged({u"ipc"_s, u"call"_s, name, u"Ask"_s}).ToText(),
             u"! qvutil: %1: this user may not connect to %2\n=> 1\n"_s.arg(name, PathOf(name)));
}

void tst_ToolIpcDoctor::Doctor_usage()
{
    QCOMPARE(Run({u"doctor"_s}).ToText(),
             u"! qvutil: NAME is required\n! Try 'qvutil ipc doctor --help'.\n=> 2\n"_s);
    QCOMPARE(Run({u"doctor"_s, u"x"_s, u"--timeout"_s, u"soon"_s}).ExitCode, 2);
}

// bench

void tst_ToolIpcDoctor::Bench_text()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s, u"--quiet"_s});
    QVERIFY(listener);
    const ToolResult result = Run({u"bench"_s, name, u"--count"_s, u"50"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    static const QRegularExpression expected(u"^50 requests of 64 bytes in \\d+\\.\\d{3} s, \\d+ a "
                                             u"second\nmedian   +\\d+\\.\\d us\n90 %     +\\d+\\.\\d us\n"
                                             "99 %     +\\d+\\.\\d us\nmax      +\\d+\\.\\d us\n$"_s);
    QVERIFY2(expected.match(QString::fromUtf8(result.Output)).hasMatch(), result.Output.constData());
}

void tst_ToolIpcDoctor::Bench_json()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s, u"--quiet"_s});
    QVERIFY(listener);
    const ToolResult result
        = Run({u"bench"_s, name, u"--count"_s, u"200"_s, u"--size"_s, u"0"_s, u"--json"_s});
    QCOMPARE(result.ExitCode, 0);
    const QJsonObject found = QJsonDocument::fromJson(result.Output).object();
    QCOMPARE(found.value("count"_L1), QJsonValue(200));
    QCOMPARE(found.value("size"_L1), QJsonValue(0));
    QCOMPARE(found.value("oneWay"_L1), QJsonValue(false));
    const double seconds = found.value("seconds"_L1).toDouble();
    QVERIFY(qAbs(found.value("perSecond"_L1).toDouble() - 200 / seconds) < 1e-6 * 200 / seconds);
    QList<double> latencies;
    for (const QString& key : {u"medianUs"_s, u"p90Us"_s, u"p99Us"_s, u"maxUs"_s})
        latencies.append(found.value(key).toDouble());
    QVERIFY(latencies.first() > 0);
    QVERIFY(std::is_sorted(latencies.begin(), latencies.end()));
    // Half of the requests took at least the median, and none took longer than all together.
    QVERIFY(100 * latencies.first() <= seconds * 1e6);
    QVERIFY(latencies.last() <= seconds * 1e6);
}

void tst_ToolIpcDoctor::Bench_oneWay()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--json"_s});
    QVERIFY(listener);
    const ToolResult result
        = Run({u"bench"_s, name, u"--count"_s, u"2500"_s, u"--size"_s, u"10"_s, u"--one-way"_s, u"--json"_s});
    QCOMPARE(result.ExitCode, 0);
    const QJsonObject found = QJsonDocument::fromJson(result.Output).object();
    QCOMPARE(found.keys(), QStringList({u"count"_s, u"oneWay"_s, u"perSecond"_s, u"seconds"_s, u"size"_s}));
    QCOMPARE(found.value("oneWay"_L1), QJsonValue(true));
    // The tool sends 20 requests to warm up, and one after the messages. The answer to the last one shows
    // that all messages have arrived.
    const ToolResult heard = listener->End();
    QCOMPARE(heard.Output.count("\"needResponse\":false"), 2500);
    QCOMPARE(heard.Output.count("\"needResponse\":true"), 21);
    QCOMPARE(heard.Output.count("\"data\":\"eHh4eHh4eHh4eA==\""), 2521);
}

void tst_ToolIpcDoctor::Bench_message()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QCOMPARE(Run({u"bench"_s, name, u"--count"_s, u"1"_s, u"--message"_s, u"Special"_s}).ExitCode, 0);
    QCOMPARE(listener->End().Output.count("  request  Special  {"), 2);
}

void tst_ToolIpcDoctor::Bench_terminal()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s, u"--quiet"_s});
    QVERIFY(listener);
    qputenv("QVUTIL_PROGRESS_DELAY", "0");
    const ToolResult result
        = mTool->RunOnTerminal(TestSupport::IpcArguments({u"bench"_s, name, u"--count"_s, u"12000"_s}));
    qunsetenv("QVUTIL_PROGRESS_DELAY");
    QCOMPARE(result.ExitCode, 0);
    QVERIFY(result.Output.contains(" %  requests"));
    QVERIFY(result.Output.contains("12000 requests of 64 bytes in "));
}

void tst_ToolIpcDoctor::Bench_noServer()
{
    const QString name = UniqueName();
    QCOMPARE(Run({u"bench"_s, name}).ToText(),
             u"! qvutil: %1: no server has this name: there is no %2\n=> 1\n"_s.arg(name, PathOf(name)));
}

void tst_ToolIpcDoctor::Bench_noAnswer()
{
    const QString name = UniqueName();
    RawServer server(name);
    QVERIFY(server.IsListening());
    QCOMPARE(Run({u"bench"_s, name, u"--timeout"_s, u"3000"_s}).ToText(),
             u"! qvutil: %1: no answer to request 1 within 3000 ms\n=> 1\n"_s.arg(name));
}

void tst_ToolIpcDoctor::Bench_lost()
{
    const QString name = UniqueName();
    RawServer server(name);
    QVERIFY(server.IsListening());
    RunningTool bench(*mTool, TestSupport::IpcArguments({u"bench"_s, name}));
    QVERIFY(server.Client());
    QCOMPARE(ReadMessages(*server.Client(), 1).size(), 1);
    server.Client()->abort();
    QCOMPARE(bench.WaitForEnd().ToText(), u"! qvutil: %1: the connection was lost\n=> 1\n"_s.arg(name));
}

void tst_ToolIpcDoctor::Bench_usage_data()
{
    QTest::addColumn<QStringList>("options");

    QTest::newRow("count 0") << QStringList{u"--count"_s, u"0"_s};
    QTest::newRow("count that is not a number") << QStringList{u"--count"_s, u"many"_s};
    QTest::newRow("negative size") << QStringList{u"--size"_s, u"-1"_s};
    QTest::newRow("size too large") << QStringList{u"--size"_s, u"67108865"_s};
    QTest::newRow("negative time") << QStringList{u"--timeout"_s, u"-1"_s};
}

void tst_ToolIpcDoctor::Bench_usage()
{
    QFETCH(const QStringList, options);

    const ToolResult result = Run(QStringList{u"bench"_s, u"x"_s} + options);
    QCOMPARE(result.ExitCode, 2);
    QVERIFY2(result.Errors.endsWith("Try 'qvutil ipc bench --help'.\n"), result.Errors.constData());
}

QTEST_GUILESS_MAIN(tst_ToolIpcDoctor)
#include "tst_ToolIpcDoctor.moc"
