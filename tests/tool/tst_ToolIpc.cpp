// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests qvutil ipc call, send and listen, as processes, with each other and with plain sockets.

#include "support/BareSocket.h"
#include "support/MessagingSupport.h"
#include "support/RunningTool.h"
#include "support/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>
#include <optional>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace MessagingSupport;
using Quorvin::Util::MessageInfo;
using TestSupport::BareSocket;
using TestSupport::IpcArguments;
using TestSupport::PathOf;
using TestSupport::RunningTool;
using TestSupport::StartListener;
using TestSupport::ToolResult;

namespace {

// Returns the output with all times and ids replaced by fixed ones.
QString Normalized(const QByteArray& output)
{
    static const QRegularExpression time(u"\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d"_s);
    static const QRegularExpression identity(u"\\{[0-9a-f]{8}-[0-9a-f-]{27}\\}"_s);
    static const QRegularExpression process(u"process \\d+( \\(\\w+\\))?"_s);
    return QString::fromUtf8(output)
        .replace(time, u"TIME"_s)
        .replace(identity, u"{ID}"_s)
        .replace(process, u"process N"_s);
}

} // namespace

class tst_ToolIpc : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:

    void Call_echo_data();
    void Call_echo();
    void Call_badParameters_data();
    void Call_badParameters();
    void Call_json();
    void Call_file();
    void Call_standardInput();
    void Call_badFile_data();
    void Call_badFile();
    void Call_unreachable_data();
    void Call_unreachable();
    void Call_otherUser();
    void Call_noAnswer_data();
    void Call_noAnswer();
    void Call_rightAnswerOnly();
    void Call_connectionLost();
    void Call_serverKilled();
    void Call_wait();
    void Call_waitTimesOut();

    void Send();
    void Send_large();
    void Send_notRead();
    void Send_unreachable();

    void Listen_text();
    void Listen_json();
    void Listen_reply();
    void Listen_replyAndEcho();
    void Listen_badReply_data();
    void Listen_badReply();
    void Listen_longValues();
    void Listen_quiet();
    void Listen_count();
    void Listen_countWritesLastAnswer();
    void Listen_replacedClient();
    void Listen_nameInUse();
    void Listen_replace();
    void Listen_staleSocket();
    void Listen_cannotListen_data();
    void Listen_cannotListen();
    void Listen_keepsFile();
    void Listen_ends_data();
    void Listen_ends();
    void Listen_outputClosed();

private:
    // Runs a command of the group while the event loop runs.
    [[nodiscard]] ToolResult Run(const QStringList& arguments) const;
};

ToolResult tst_ToolIpc::Run(const QStringList& arguments) const
{
    return TestSupport::RunIpc(*mTool, arguments);
}

// call

void tst_ToolIpc::Call_echo_data()
{
    QTest::addColumn<QStringList>("parameters");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* circumstance, const QStringList& parameters, const QString& output) {
        QTest::newRow(circumstance) << parameters << output + u"=> 0\n"_s;
    };
    row("none", {}, {});
    row("text", {u"text=hello"_s}, u"text=hello\n"_s);
    row("empty text", {u"text="_s}, u"text=\n"_s);
    row("text with an equals sign", {u"text=a=b"_s}, u"text=a=b\n"_s);
    row("text in brackets", {u"text=[a,b]"_s}, u"text=[a,b]\n"_s);
    row("text beyond ASCII", {u"größe=\u00e4\U0001F600"_s}, u"größe=\u00e4\U0001F600\n"_s);
    row("text with line breaks", {u"text=a\nb\tc"_s}, u"text=a\\nb\\tc\n"_s);
    row("text that looks like XML", {u"text=<?xml &amp; \"'>"_s}, u"text=<?xml &amp; \"'>\n"_s);
    row("text that begins with @", {u"text=@@home"_s}, u"text=@@home\n"_s);
    row("text that begins with @@", {u"text=@@@home"_s}, u"text=@@@home\n"_s);
    row("key with a colon", {u"a:b:string=x"_s}, u"a:b=x\n"_s);
    row("several, sorted by key", {u"b=2"_s, u"a:int=1"_s}, u"a:int=1\nb=2\n"_s);
    row("bool", {u"on:bool=true"_s, u"off:bool=False"_s}, u"off:bool=false\non:bool=true\n"_s);
    row("int", {u"n:int=-2147483648"_s}, u"n:int=-2147483648\n"_s);
    row("uint", {u"n:uint=4294967295"_s}, u"n:uint=4294967295\n"_s);
    row("longlong", {u"n:longlong=-9223372036854775808"_s}, u"n:longlong=-9223372036854775808\n"_s);
    row("double", {u"x:double=0.1"_s}, u"x:double=0.1\n"_s);
    row("double, infinite", {u"x:double=inf"_s}, u"x:double=inf\n"_s);
    row("type in different case", {u"n:Int=1"_s}, u"n:int=1\n"_s);
    row("stringlist", {u"l:stringlist=[\"a\",\"\"]"_s}, u"l:stringlist=[\"a\",\"\"]\n"_s);
    row("bytearray", {u"b:bytearray=AP8="_s}, u"b:bytearray=AP8=\n"_s);
    row("list", {u"l:list=[1,\"a\"]"_s}, u"l:list=[1,\"a\"]\n"_s);
    row("map", {u"m:map={\"k\":{\"x\":1}}"_s}, u"m:map={\"k\":{\"x\":1}}\n"_s);
    row("JSON, list", {u"l:=[1,2.5,true,null]"_s}, u"l:list=[1,2.5,true,null]\n"_s);
    row("JSON, map", {u"m:={\"k\":\"v\"}"_s}, u"m:map={\"k\":\"v\"}\n"_s);
    row("JSON, number", {u"n:=5"_s}, u"n:int=5\n"_s);
    row("JSON, large number", {u"n:=5000000000"_s}, u"n:longlong=5000000000\n"_s);
    row("JSON, fraction", {u"n:=0.5"_s}, u"n:double=0.5\n"_s);
    row("JSON, text", {u"t:=\"a\""_s}, u"t=a\n"_s);
    row("JSON, true", {u"t:=true"_s}, u"t:bool=true\n"_s);
    row("JSON, null", {u"t:=null"_s}, u"t (a value of a type that cannot be sent)\n"_s);
    row("bytes of a file", {u"b=@bytes"_s}, u"b:bytearray=AP8K\n"_s);
    row("bytes of an empty file", {u"b=@empty"_s}, u"b:bytearray=\n"_s);
    row("parameter that begins like an option", {u"--"_s, u"-v=--x"_s}, u"-v=--x\n"_s);
}

void tst_ToolIpc::Call_echo()
{
    QFETCH(const QStringList, parameters);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"bytes"_s, QByteArray("\x00\xff\x0a", 3)) && mTool->Write(u"empty"_s, {}));
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    QCOMPARE(Run(QStringList{u"call"_s, name, u"Ask"_s} + parameters).ToText(), expected);
}

void tst_ToolIpc::Call_badParameters_data()
{
    QTest::addColumn<QStringList>("parameters");
    QTest::addColumn<QString>("expected");

    const QString hint = u"! Try 'qvutil ipc call --help'.\n"_s;
    const auto row = [](const char* circumstance, const QStringList& parameters, const QString& errors) {
        QTest::newRow(circumstance) << parameters << errors + u"=> 2\n"_s;
    };
    row("no equals sign", {u"text"_s},
        u"! qvutil: \"text\" is not a parameter; parameters are KEY=TEXT, KEY:TYPE=VALUE, KEY:=JSON or KEY=@FILE\n"_s
            + hint);
    row("no key", {u"=x"_s},
        u"! qvutil: \"=x\" is not a parameter; parameters are KEY=TEXT, KEY:TYPE=VALUE, KEY:=JSON or KEY=@FILE\n"_s
            + hint);
    row("no key before the type", {u":int=5"_s}, u"! qvutil: \":int=5\" has no key\n"_s + hint);
    row("given twice", {u"a=1"_s, u"a:int=2"_s}, u"! qvutil: \"a\" is given twice\n"_s + hint);
    row("no such type", {u"a:number=1"_s}, u"! qvutil: a: there is no type \"number\"\n"_s);
    row("url, which messages cannot contain", {u"a:url=http://x"_s},
        u"! qvutil: a: \"http://x\" is not a value of type url\n"_s);
    row("ulonglong, which messages cannot contain", {u"a:ulonglong=1"_s},
        u"! qvutil: a: \"1\" is not a value of type ulonglong\n"_s);
    row("not an int", {u"a:int=x"_s}, u"! qvutil: a: \"x\" is not a value of type int\n"_s);
    row("int too large", {u"a:int=2147483648"_s},
        u"! qvutil: a: \"2147483648\" is not a value of type int\n"_s);
    row("negative uint", {u"a:uint=-1"_s}, u"! qvutil: a: \"-1\" is not a value of type uint\n"_s);
    row("not a bool", {u"a:bool=yes"_s}, u"! qvutil: a: \"yes\" is not a value of type bool\n"_s);
    row("not base64", {u"a:bytearray=?"_s}, u"! qvutil: a: \"?\" is not a value of type bytearray\n"_s);
    row("map that is a list", {u"a:map=[1]"_s}, u"! qvutil: a: [1] is not a value of type map\n"_s);
    row("malformed JSON", {u"a:=[1"_s}, u"! qvutil: a: malformed JSON: unterminated array\n"_s + hint);
    row("empty JSON", {u"a:="_s}, u"! qvutil: a: malformed JSON: exactly one value is required\n"_s + hint);
    row("two JSON values", {u"a:=1,2"_s},
        u"! qvutil: a: malformed JSON: exactly one value is required\n"_s + hint);
    row("no such file", {u"a=@missing"_s}, u"! qvutil: missing: No such file or directory\n"_s);
    row("no file name", {u"a=@"_s}, u"! qvutil: \"\": the file name is empty\n"_s);
    row("character that XML does not allow", {u"a=\x01"_s},
        u"! qvutil: Ask: params.a: contains the character U+0001, which XML does not allow\n"_s);
    row("character that XML does not allow, in the key", {u"a\x02=1"_s},
        u"! qvutil: Ask: params.a\\u0002: contains the character U+0002, which XML does not allow\n"_s);
    row("unknown option", {u"--colour"_s}, u"! qvutil: unexpected argument '--colour'\n"_s + hint);
    row("negative time", {u"--timeout"_s, u"-1"_s},
        u"! qvutil: --timeout: '-1' is not a whole number from 0 to 2147483647\n"_s + hint);
}

// The parameters are checked first: no server is needed to report errors in them.
void tst_ToolIpc::Call_badParameters()
{
    QFETCH(const QStringList, parameters);
    QFETCH(const QString, expected);

    QCOMPARE(Run(QStringList{u"call"_s, UniqueName(), u"Ask"_s} + parameters).ToText(), expected);
}

void tst_ToolIpc::Call_json()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    const ToolResult result = Run({u"call"_s, name, u"Ask"_s, u"a:uint=1"_s, u"b=x"_s, u"--json"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    const QJsonObject answer = QJsonDocument::fromJson(result.Output).object();
    QCOMPARE(answer.keys(),
             QStringList({u"id"_s, u"isResponse"_s, u"needResponse"_s, u"originalMessageUniqueId"_s,
                          u"params"_s, u"types"_s, u"uniqueId"_s}));
    QCOMPARE(answer.value("id"_L1), QJsonValue(u"Response"_s));
    QCOMPARE(answer.value("isResponse"_L1), QJsonValue(true));
    QCOMPARE(answer.value("params"_L1), QJsonValue(QJsonObject{{u"a"_s, 1}, {u"b"_s, u"x"_s}}));
    QCOMPARE(answer.value("types"_L1), QJsonValue(QJsonObject{{u"a"_s, u"UInt"_s}}));
}

void tst_ToolIpc::Call_file()
{
    QVERIFY(mTool->Write(u"m.json"_s,
                         R"({"id": "Other", "params": {"a": 1, "b": 2, "x": 3}, "types": {"x": "Double"}})"));
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"b=other"_s, u"--params"_s, u"m.json"_s}).ToText(),
             u"a:int=1\nb=other\nx:double=3\n=> 0\n"_s);
    QVERIFY(listener->WaitForOutput("request  Ask  {"));
}

void tst_ToolIpc::Call_standardInput()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    const auto call = [&](const QString& input, const QString& parameters) {
        return mTool
            ->RunShell(u"%1 | \"$TOOL\" ipc call %2 Ask --timeout 600000 %3"_s.arg(input, name, parameters))
            .ToText();
    };
    QCOMPARE(call(u"printf 'ab\\000'"_s, u"b=@-"_s), u"b:bytearray=YWIA\n=> 0\n"_s);
    QCOMPARE(call(u"echo '{\"id\": \"x\", \"params\": {\"k\": true}}'"_s, u"--params -"_s),
             u"k:bool=true\n=> 0\n"_s);
}

void tst_ToolIpc::Call_badFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("expected");

    QTest::newRow("malformed JSON") << QByteArray("{")
                                    << u"! qvutil: m.json:1:1: unterminated object\n=> 2\n"_s;
    QTest::newRow("empty") << QByteArray() << u"! qvutil: m.json: there is no message\n=> 2\n"_s;
    QTest::newRow("not an object") << QByteArray("[1]")
                                   << u"! qvutil: m.json:1: message 1: 1 is not a message\n=> 2\n"_s;
    QTest::newRow("two messages")
        << QByteArray(R"({"id":"a"}{"id":"b"})")
        << u"! qvutil: m.json: there are 2 messages, but exactly one is required\n=> 2\n"_s;
    QTest::newRow("wrong type")
        << QByteArray(R"({"id":"a","params":{"n":"x"},"types":{"n":"Int"}})")
        << u"! qvutil: m.json:1: params.n: \"x\" is not a value of type Int\n=> 2\n"_s;
}

void tst_ToolIpc::Call_badFile()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"m.json"_s, content));
    QCOMPARE(Run({u"call"_s, UniqueName(), u"Ask"_s, u"--params"_s, u"m.json"_s}).ToText(), expected);
    QCOMPARE(Run({u"call"_s, UniqueName(), u"Ask"_s, u"--params"_s, u"none.json"_s}).ToText(),
             u"! qvutil: none.json: No such file or directory\n=> 2\n"_s);
}

void tst_ToolIpc::Call_unreachable_data()
{
    QTest::addColumn<QString>("circumstance");
    QTest::addColumn<QString>("expected");

    QTest::newRow("no server") << u"none"_s << u"no server has this name: there is no PATH"_s;
    QTest::newRow("socket of a killed server")
        << u"stale"_s << u"no process listens: a process that has ended left PATH behind"_s;
    QTest::newRow("another file") << u"file"_s << u"PATH is not a socket"_s;
    QTest::newRow("missing folder") << u"folder"_s << u"the folder FOLDER/no does not exist"_s;
    QTest::newRow("too long") << u"long"_s
                              << u"the path has SIZE bytes, but the system allows only LONGEST"_s;
    QTest::newRow("empty") << u"empty"_s << u"the name is empty"_s;
}

void tst_ToolIpc::Call_unreachable()
{
    QFETCH(const QString, circumstance);
    QFETCH(QString, expected);

    std::optional<BareSocket> stale;
    QString name = mTool->Path(u"s"_s);
    if (circumstance == u"stale") {
        stale.emplace(name, false);
        QVERIFY(stale->IsGood());
    } else if (circumstance == u"file") {
        QVERIFY(mTool->Write(u"s"_s, "x"));
    } else if (circumstance == u"folder") {
        name = mTool->Path(u"no/s"_s);
    } else if (circumstance == u"long") {
        name = UniqueName() + QString(120, u'x');
    } else if (circumstance == u"empty") {
        name.clear();
    }
    expected.replace(u"PATH"_s, name)
        .replace(u"FOLDER"_s, QFileInfo(mTool->Path(u"s"_s)).path())
        .replace(u"SIZE"_s, QString::number(PathOf(name).toUtf8().size()))
        .replace(u"LONGEST"_s, QString::number(Quorvin::Util::Platform::GetMaxSocketPathLength()));
    const QString subject = name.isEmpty() ? QString() : name + u": "_s;
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s}).ToText(), u"! qvutil: %1%2\n=> 1\n"_s.arg(subject, expected));
    if (circumstance == u"file")
        QCOMPARE(mTool->Read(u"s"_s), QByteArray("x"));
}

void tst_ToolIpc::Call_otherUser()
{
    if (::geteuid() != 0)
        QSKIP("needs root to run a server as another user");
    const QString name = UniqueName();
    Peer peer({u"foreign"_s, name});
    QCOMPARE(peer.WaitForLine(u"ready"_s), u"ready"_s);
    const ToolResult result = Run({u"call"_s, name, u"Ask"_s});
    QCOMPARE(result.ExitCode, 1);
    QVERIFY2(result.Errors.contains("clients accept only servers of the same user or of root"),
             result.Errors.constData());
}

void tst_ToolIpc::Call_noAnswer_data()
{
    QTest::addColumn<QString>("time");

    QTest::newRow("50 ms") << u"50"_s;
    QTest::newRow("0 ms") << u"0"_s;
}

void tst_ToolIpc::Call_noAnswer()
{
    QFETCH(const QString, time);

    const QString name = UniqueName();
    const BareSocket server(PathOf(name), true);
    QVERIFY(server.IsGood());
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"--timeout"_s, time}).ToText(),
             u"! qvutil: %1: no answer arrived in time\n=> 1\n"_s.arg(name));
}

// Only an answer to this request counts.
void tst_ToolIpc::Call_rightAnswerOnly()
{
    const QString name = UniqueName();
    RawServer server(name);
    QVERIFY(server.IsListening());
    RunningTool call(*mTool, IpcArguments({u"call"_s, name, u"Ask"_s, u"a=b"_s}));
    QVERIFY(server.Client());
    const QList<MessageInfo> requests = ReadMessages(*server.Client(), 1);
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests[0].Id, u"Ask"_s);
    QCOMPARE(requests[0].Params, QVariantMap({{u"a"_s, u"b"_s}}));
    QVERIFY(requests[0].NeedResponse && !requests[0].UniqueId.isNull() && !requests[0].IsResponse);

    Write(*server.Client(), Document(u"Response"_s, {{u"n"_s, 1}}, {}, QUuid::createUuid()));
    Write(*server.Client(), Document(u"News"_s, {{u"n"_s, 2}}));
    Write(*server.Client(), "noise");
    Write(*server.Client(), Document(u"Response"_s, {{u"n"_s, 3}}, {}, requests[0].UniqueId));
    QCOMPARE(call.WaitForEnd().ToText(), u"n:int=3\n=> 0\n"_s);
}

void tst_ToolIpc::Call_connectionLost()
{
    const QString name = UniqueName();
    RawServer server(name);
    QVERIFY(server.IsListening());
    RunningTool call(*mTool, IpcArguments({u"call"_s, name, u"Ask"_s}));
    QVERIFY(server.Client());
    QCOMPARE(ReadMessages(*server.Client(), 1).size(), 1);
    server.Client()->abort();
    QCOMPARE(call.WaitForEnd().ToText(),
             u"! qvutil: %1: the connection was lost before an answer arrived: the server has ended, or "
             "another client has displaced this one\n=> 1\n"_s.arg(name));
}

void tst_ToolIpc::Call_serverKilled()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    QVERIFY(listener->Freeze()); // so that it does not answer
    RunningTool call(*mTool, IpcArguments({u"call"_s, name, u"Ask"_s}));
#ifdef Q_OS_LINUX
    // The system reports when the call has connected.
    bool isConnected = false;
    const QDeadlineTimer deadline(60000);
    while (!isConnected && call.IsRunning() && !deadline.hasExpired())
        isConnected = Run({u"doctor"_s, name, u"--json"_s}).Output.contains("\"waiting\":1");
    QVERIFY(isConnected);
#endif
    listener->Signal(SIGKILL);
    const ToolResult result = call.WaitForEnd();
    QCOMPARE(result.ExitCode, 1);
    QVERIFY2(result.Errors.startsWith("qvutil: " + name.toUtf8() + ": "), result.Errors.constData());
#ifdef Q_OS_LINUX
    QVERIFY2(result.Errors.contains("the connection was lost before an answer arrived"),
             result.Errors.constData());
#endif
    QVERIFY(QFile::remove(PathOf(name)));
}

void tst_ToolIpc::Call_wait()
{
    const QString name = UniqueName();
    const BareSocket stale(PathOf(name), false);
    QVERIFY(stale.IsGood());
    RunningTool call(*mTool, IpcArguments({u"call"_s, name, u"Ask"_s, u"a=b"_s, u"--wait"_s}));
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s}).ExitCode, 1); // does not wait
    QVERIFY(call.IsRunning());
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    QCOMPARE(call.WaitForEnd().ToText(), u"a=b\n=> 0\n"_s);
}

void tst_ToolIpc::Call_waitTimesOut()
{
    const QString name = UniqueName();
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"--wait"_s, u"--timeout"_s, u"120"_s}).ToText(),
             u"! qvutil: %1: no server has this name: there is no %2\n=> 1\n"_s.arg(name, PathOf(name)));
    // Waiting does not help in this case.
    QVERIFY(mTool->Write(u"s"_s, "x"));
    QCOMPARE(Run({u"call"_s, mTool->Path(u"s"_s), u"Ask"_s, u"--wait"_s}).ExitCode, 1);
}

// send

void tst_ToolIpc::Send()
{
    const QString name = UniqueName();
    RawServer server(name);
    QVERIFY(server.IsListening());
    RunningTool send(*mTool, IpcArguments({u"send"_s, name, u"News"_s, u"n:int=5"_s}));
    QVERIFY(server.Client());
    const QList<MessageInfo> messages = ReadMessages(*server.Client(), 1);
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages[0].Id, u"News"_s);
    QCOMPARE(messages[0].Params, QVariantMap({{u"n"_s, 5}}));
    QVERIFY(!messages[0].NeedResponse && !messages[0].IsResponse && messages[0].UniqueId.isNull());
    QCOMPARE(send.WaitForEnd().ToText(), u"=> 0\n"_s);
    EVENTUALLY_EQUAL(server.Client()->state(), QLocalSocket::UnconnectedState);
}

// Larger than what arrives in a single read; the bytes arrive nevertheless.
void tst_ToolIpc::Send_large()
{
    const QByteArray bytes(12 * 1024 * 1024, 'x');
    QVERIFY(mTool->Write(u"large"_s, bytes));
    const QString name = UniqueName();
    RawServer server(name);
    QVERIFY(server.IsListening());
    RunningTool send(*mTool, IpcArguments({u"send"_s, name, u"News"_s, u"data=@large"_s}));
    QVERIFY(server.Client());
    QByteArray received;
    QVERIFY(WaitUntil([&] {
        received += server.Client()->readAll();
        return received.endsWith("</Message>\n");
    }));
    QList<MessageInfo> messages;
    QVERIFY(Quorvin::Util::DecodeMessage(QString::fromUtf8(received), messages));
    QCOMPARE(messages.first().Params.value(u"data"_s).toByteArray() == bytes, true);
    const ToolResult result = send.WaitForEnd();
    QCOMPARE(result.ExitCode, 0);
    QVERIFY2(result.Errors.startsWith("qvutil: message \"News\" has a frame of 1677"),
             result.Errors.constData());
}

void tst_ToolIpc::Send_notRead()
{
    QVERIFY(mTool->Write(u"large"_s, QByteArray(16 * 1024 * 1024, 'x')));
    const QString name = UniqueName();
    const BareSocket server(PathOf(name), true);
    QVERIFY(server.IsGood());
    const ToolResult result = Run({u"send"_s, name, u"News"_s, u"data=@large"_s, u"--timeout"_s, u"100"_s});
    QCOMPARE(result.ExitCode, 1);
    QVERIFY2(result.Errors.endsWith("the server did not read the message in time\n"),
             result.Errors.constData());
}

void tst_ToolIpc::Send_unreachable()
{
    const QString name = UniqueName();
    QCOMPARE(Run({u"send"_s, name, u"News"_s}).ToText(),
             u"! qvutil: %1: no server has this name: there is no %2\n=> 1\n"_s.arg(name, PathOf(name)));
    QCOMPARE(Run({u"send"_s, name, u"News"_s, u"a:int=x"_s}).ExitCode, 2);
}

// listen

void tst_ToolIpc::Listen_text()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"n:int=5"_s, u"t=a\nb"_s}).ToText(), u"=> 0\n"_s);
    // Otherwise, the next client might displace the first.
    QVERIFY(listener->WaitForError("a client has disconnected"));
    QCOMPARE(Run({u"send"_s, name, u"News"_s}).ToText(), u"=> 0\n"_s);
    QVERIFY(listener->WaitForError("a client has disconnected", 2));
    {
        QLocalSocket client;
        QVERIFY(Connect(client, name));
        Write(client, "noise" + Document(u"Response"_s, {}, {}, QUuid::createUuid()));
        QVERIFY(listener->WaitForOutput("answer"));
    }
    QVERIFY(listener->WaitForError("a client has disconnected", 3));
    const ToolResult result = listener->End();
    QCOMPARE(Normalized(result.Output),
             u"TIME  request  Ask  {ID}\n    n:int=5\n    t=a\\nb\nTIME  message  News\n"
             "TIME  answer  Response  {ID}\n"_s);
    QCOMPARE(
        Normalized(result.Errors),
        u"qvutil: listening at %1\n"
        "qvutil: a client has connected: process N\nqvutil: a client has disconnected\n"
        "qvutil: a client has connected: process N\nqvutil: a client has disconnected\n"
        "qvutil: a client has connected: process N\nqvutil: a client has disconnected\n"_s.arg(PathOf(name)));
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolIpc::Listen_json()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--json"_s, u"--count"_s, u"2"_s});
    QVERIFY(listener);
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"n:uint=5"_s}).ExitCode, 0);
    QCOMPARE(Run({u"send"_s, name, u"News"_s, u"t=a\nb"_s}).ExitCode, 0);
    const ToolResult result = listener->WaitForEnd();
    QCOMPARE(result.ExitCode, 0);
    const QList<QByteArray> lines = result.Output.split('\n');
    QCOMPARE(lines.size(), 3);
    const QJsonObject first = QJsonDocument::fromJson(lines[0]).object();
    QCOMPARE(first.keys(), QStringList({u"message"_s, u"time"_s}));
    QVERIFY(QDateTime::fromString(first.value("time"_L1).toString(), Qt::ISODateWithMs).isValid());
    const QJsonObject request = first.value("message"_L1).toObject();
    QCOMPARE(request.value("id"_L1), QJsonValue(u"Ask"_s));
    QCOMPARE(request.value("needResponse"_L1), QJsonValue(true));
    QVERIFY(!QUuid(request.value("uniqueId"_L1).toString()).isNull());
    QCOMPARE(request.value("params"_L1), QJsonValue(QJsonObject{{u"n"_s, 5}}));
    QCOMPARE(request.value("types"_L1), QJsonValue(QJsonObject{{u"n"_s, u"UInt"_s}}));
    const QJsonObject message = QJsonDocument::fromJson(lines[1]).object().value("message"_L1).toObject();
    QCOMPARE(message.value("needResponse"_L1), QJsonValue(false));
    QCOMPARE(message.value("params"_L1), QJsonValue(QJsonObject{{u"t"_s, u"a\nb"_s}}));
}

void tst_ToolIpc::Listen_reply()
{
    QVERIFY(mTool->Write(u"replies.json"_s,
                         R"([{"id": "Open", "params": {"ok": true, "n": 1}, "types": {"n": "Double"}},
        {"id": "*", "params": {"ok": false}}])"));
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--reply"_s, u"replies.json"_s});
    QVERIFY(listener);
    QCOMPARE(Run({u"call"_s, name, u"Open"_s, u"x=1"_s}).ToText(), u"n:double=1\nok:bool=true\n=> 0\n"_s);
    QCOMPARE(Run({u"call"_s, name, u"open"_s, u"x=1"_s}).ToText(), u"ok:bool=false\n=> 0\n"_s);
}

void tst_ToolIpc::Listen_replyAndEcho()
{
    QVERIFY(mTool->Write(u"replies.json"_s,
                         R"({"id": "Open", "params": {"ok": true}} {"id": "*", "params": {"any": 1}})"));
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--reply"_s, u"replies.json"_s, u"--echo"_s});
    QVERIFY(listener);
    QCOMPARE(Run({u"call"_s, name, u"Open"_s, u"x=1"_s}).ToText(), u"ok:bool=true\n=> 0\n"_s);
    QCOMPARE(Run({u"call"_s, name, u"Close"_s, u"x=1"_s}).ToText(), u"x=1\n=> 0\n"_s);
}

void tst_ToolIpc::Listen_badReply_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("expected");

    QTest::newRow("missing file") << QByteArray() << u"! qvutil: r.json: No such file or directory\n=> 2\n"_s;
    QTest::newRow("not JSON") << QByteArray("nothing") << u"! qvutil: r.json:1:1: illegal value\n=> 2\n"_s;
    QTest::newRow("no name")
        << QByteArray(R"({"params": {}})")
        << u"! qvutil: r.json:1: id: a message must have a name, which is a string\n=> 2\n"_s;
    QTest::newRow("no message") << QByteArray("[]") << u"! qvutil: r.json: there is no message\n=> 2\n"_s;
}

void tst_ToolIpc::Listen_badReply()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, expected);

    if (!content.isEmpty())
        QVERIFY(mTool->Write(u"r.json"_s, content));
    const QString name = UniqueName();
    QCOMPARE(Run({u"listen"_s, name, u"--reply"_s, u"r.json"_s}).ToText(), expected);
    QVERIFY(!QFile::exists(PathOf(name)));
}

void tst_ToolIpc::Listen_longValues()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    const QString text(201, u'x');
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"t="_s + text}).ToText(), u"t=%1\n=> 0\n"_s.arg(text));
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"t="_s + text.chopped(1)}).ExitCode, 0);
    QCOMPARE(
        Normalized(listener->End().Output),
        u"TIME  request  Ask  {ID}\n    t=%1… (201 characters)\nTIME  request  Ask  {ID}\n    t=%1\n"_s.arg(
            text.chopped(1)));
}

void tst_ToolIpc::Listen_quiet()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s, u"--quiet"_s, u"--count"_s, u"1"_s});
    QVERIFY(listener);
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"a=b"_s}).ToText(), u"a=b\n=> 0\n"_s);
    const ToolResult result = listener->WaitForEnd();
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Output, QByteArray());
}

// Messages that arrive together with the last one are ignored.
void tst_ToolIpc::Listen_count()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--count"_s, u"2"_s});
    QVERIFY(listener);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    Write(client, Document(u"a"_s) + Document(u"b"_s) + Document(u"c"_s));
    const ToolResult result = listener->WaitForEnd();
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(Normalized(result.Output), u"TIME  message  a\nTIME  message  b\n"_s);
    QVERIFY(!QFile::exists(PathOf(name)));
}

void tst_ToolIpc::Listen_countWritesLastAnswer()
{
    QVERIFY(mTool->Write(u"large"_s, QByteArray(3 * 1024 * 1024, 'x')));
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--count"_s, u"1"_s, u"--echo"_s, u"--quiet"_s});
    QVERIFY(listener);
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    const QUuid identity = QUuid::createUuid();
    const QByteArray bytes(150 * 1024, 'y');
    Write(client, Document(u"Ask"_s, {{u"data"_s, bytes}}, identity));
    const QList<MessageInfo> answers = ReadMessages(client, 1);
    QCOMPARE(answers.size(), 1);
    QCOMPARE(answers[0].OriginalMessageUniqueId, identity);
    QCOMPARE(answers[0].Params.value(u"data"_s).toByteArray() == bytes, true);
    QCOMPARE(listener->WaitForEnd().ExitCode, 0);
}

void tst_ToolIpc::Listen_replacedClient()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    QLocalSocket first;
    QVERIFY(Connect(first, name));
    QVERIFY(listener->WaitForError("a client has connected", 1));
    QLocalSocket second;
    QVERIFY(Connect(second, name));
    EVENTUALLY_EQUAL(first.state(), QLocalSocket::UnconnectedState);
    Write(second, Document(u"Ask"_s, {}, QUuid::createUuid()));
    QCOMPARE(ReadMessages(second, 1).size(), 1);
}

void tst_ToolIpc::Listen_nameInUse()
{
    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    const ToolResult result = Run({u"listen"_s, name});
    QCOMPARE(result.ExitCode, 2);
#ifdef Q_OS_LINUX
    QCOMPARE(
        QString::fromUtf8(result.Errors),
        u"qvutil: %1: process %2 (qvutil) listens there; use --replace to take over its name\n"_s.arg(name)
            .arg(listener->Id()));
#endif
    // The first server still answers.
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"a=b"_s}).ToText(), u"a=b\n=> 0\n"_s);
}

void tst_ToolIpc::Listen_replace()
{
    const QString name = UniqueName();
    const auto first = StartListener(*mTool, name);
    QVERIFY(first);
    const auto second = StartListener(*mTool, name, {u"--echo"_s, u"--replace"_s});
    QVERIFY(second);
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"a=b"_s}).ToText(), u"a=b\n=> 0\n"_s);
    QCOMPARE(second->End().ExitCode, 0);
    QCOMPARE(first->End().ExitCode, 0);
}

void tst_ToolIpc::Listen_staleSocket()
{
    const QString name = UniqueName();
    const BareSocket stale(PathOf(name), false);
    QVERIFY(stale.IsGood());
    const auto listener = StartListener(*mTool, name, {u"--echo"_s});
    QVERIFY(listener);
    QCOMPARE(Run({u"call"_s, name, u"Ask"_s, u"a=b"_s}).ToText(), u"a=b\n=> 0\n"_s);
}

void tst_ToolIpc::Listen_cannotListen_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << QString() << u"! qvutil: the name is empty\n=> 2\n"_s;
    QTest::newRow("too long")
        << u"/tmp/"_s + QString(120, u'x')
        << u"! qvutil: /tmp/%1: the path has 125 bytes, but the system allows only %2\n=> 2\n"_s
               .arg(QString(120, u'x'))
               .arg(Quorvin::Util::Platform::GetMaxSocketPathLength());
    QTest::newRow("missing folder")
        << u"/no-such-folder/s"_s
        << u"! qvutil: /no-such-folder/s: the folder /no-such-folder does not exist\n=> 2\n"_s;
}

void tst_ToolIpc::Listen_cannotListen()
{
    QFETCH(const QString, name);
    QFETCH(const QString, expected);

    QCOMPARE(Run({u"listen"_s, name}).ToText(), expected);
}

// The tool replaces a socket that is in its way, but never another type of file.
void tst_ToolIpc::Listen_keepsFile()
{
    QVERIFY(mTool->Write(u"f"_s, "precious"));
    const QString name = mTool->Path(u"f"_s);
    QCOMPARE(Run({u"listen"_s, name, u"--replace"_s}).ToText(),
             u"! qvutil: %1: %1 is not a socket\n=> 2\n"_s.arg(name));
    QCOMPARE(mTool->Read(u"f"_s), QByteArray("precious"));
}

void tst_ToolIpc::Listen_ends_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_ToolIpc::Listen_ends()
{
    QFETCH(const int, signal);

    const QString name = UniqueName();
    const auto listener = StartListener(*mTool, name);
    QVERIFY(listener);
    QVERIFY(QFile::exists(PathOf(name)));
    QLocalSocket client;
    QVERIFY(Connect(client, name));
    Write(client, Document(u"Hello"_s));
    QVERIFY(listener->WaitForOutput("Hello"));
    const ToolResult end = listener->End(signal);
    QCOMPARE(end.ExitCode, 0);
    // Standard error contains only the tool's messages, and no warning from Qt about the client that is still
    // connected.
    for (const QByteArray& line : end.Errors.trimmed().split('\n'))
        QVERIFY2(line.startsWith("qvutil: "), line.constData());
    QVERIFY(!QFile::exists(PathOf(name)));
    EVENTUALLY_EQUAL(client.state(), QLocalSocket::UnconnectedState);
}

void tst_ToolIpc::Listen_outputClosed()
{
    const QString name = UniqueName();
    RunningTool listener(*mTool,
                         u"{ \"$TOOL\" ipc listen %1; echo \"code $?\" >&2; }"
                         " | { exec <&-; echo \"nobody reads\" >&2; }"_s.arg(name));
    QVERIFY(listener.WaitForError("nobody reads\n"));
    QVERIFY(listener.WaitForError("qvutil: listening at "));
    QCOMPARE(Run({u"send"_s, name, u"News"_s}).ExitCode, 0);
    QVERIFY(listener.WaitForError("code 2\n"));
    QVERIFY(!QFile::exists(PathOf(name)));
}

QTEST_GUILESS_MAIN(tst_ToolIpc)
#include "tst_ToolIpc.moc"
