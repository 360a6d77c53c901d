// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Measures how cost grows with size. Prints comma-separated values, from which scripts/growth.py draws
// charts:
//
//   chart,contestant,x,y
//
//   measure_Growth [CHART...]         measures for these charts; default: for all charts
//   measure_Growth --serve NAME       runs the other process for the message charts
//   measure_Growth --memory           measures memory

#include "BooleanExpressionEvaluator.h"
#include "IPCManager.h"
#include "Settings.h"
#include "XmlFiler.h"

#include <QCoreApplication>
#include <QDir>
#include <QDomDocument>
#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#ifdef WITH_PUGIXML
#include <pugixml.hpp>

#include <sstream>
#endif

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

constexpr int kTimeoutMs = 60'000;

void Print(const char* chart, const char* contestant, double x, double y)
{
    std::printf("%s,\"%s\",%.9g,%.9g\n", chart, contestant, x, y);
    std::fflush(stdout);
}

// Returns the median of five measured times, in seconds. An operation shorter than 20 ms is repeated in each
// measurement. The first run does not count, because the caches are cold.
double Time(const std::function<void()>& run)
{
    constexpr qint64 kEnoughNs = 20'000'000;
    run();
    QElapsedTimer timer;
    timer.start();
    run();
    const qint64 runs = std::max<qint64>(kEnoughNs / std::max<qint64>(timer.nsecsElapsed(), 1), 1);
    std::array<double, 5> times = {};
    for (double& time : times) {
        timer.start();
        for (qint64 i = 0; i < runs; ++i)
            run();
        time = static_cast<double>(timer.nsecsElapsed()) / 1e9 / static_cast<double>(runs);
    }
    std::ranges::sort(times);
    return times[times.size() / 2];
}

// Returns the number of allocated bytes.
double Allocated()
{
    const struct mallinfo2 info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void PathSiblings()
{
    const QString name = u"Value"_s;
    for (const int siblings : {1, 3, 10, 30, 100, 300, 1000, 3000, 10'000}) {
        QDomDocument document;
        QDomElement root = document.createElement(u"Root"_s);
        document.appendChild(root);
        for (int i = 0; i < siblings; ++i) {
            QDomElement child = document.createElement(u"Node%1"_s.arg(i));
            child.setAttribute(name, i);
            root.appendChild(child);
        }
        const QString step = u"Node%1"_s.arg(siblings / 2);
        const QString path = u'/' + step;
        XmlFiler filer;
        filer.LoadFromXmlString(document.toString());
        int value = 0;
        Print("path-siblings", "QvUtil, known path", siblings,
              Time([&] { value += filer.ReadInt(path, name, -1); }));
        static_cast<void>(filer.GetCurrentNode());
        Print("path-siblings", "QvUtil, step by step", siblings,
              Time([&] { value += filer.ReadInt(path, name, -1); }));
        Print("path-siblings", "QDom, firstChildElement", siblings,
              Time([&] { value += root.firstChildElement(step).attribute(name).toInt(); }));
    }
}

void PathDepth()
{
    const QString name = u"Value"_s;
    for (const int depth : {1, 2, 4, 8, 16, 32, 64, 128, 256, 512}) {
        XmlFiler filer;
        QString path = u"/Root"_s;
        for (int i = 1; i <= depth; ++i)
            path += u"/Level"_s;
        filer.WriteInt(path, name, 1);
        int value = 0;
        Print("path-depth", "QvUtil, known path", depth,
              Time([&] { value += filer.ReadInt(path, name, -1); }));
        static_cast<void>(filer.GetCurrentNode());
        Print("path-depth", "QvUtil, step by step", depth,
              Time([&] { value += filer.ReadInt(path, name, -1); }));
    }
}

QByteArray DocumentOf(qsizetype size)
{
    QByteArray xml = "<?xml version=\"1.0\"?>\n<Settings>\n";
    for (int i = 0; xml.size() < size - 12; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "    <Item Geometry=\"" + number + ",20,640,480\" Name=\"Setting number " + number
            + "\" Visible=\"True\">\n        <Text>Text of item " + number + "</Text>\n    </Item>\n";
    }
    return xml + "</Settings>\n";
}

void ReadThrough(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    while (!reader.atEnd())
        reader.readNext();
}

// Time to load and save, and memory, by size of the document.
void Documents()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"document.xml"_s);
    const QByteArray name = QFile::encodeName(path);
    for (const qsizetype size : {1'000, 10'000, 100'000, 1'000'000, 10'000'000, 50'000'000}) {
        const QByteArray xml = DocumentOf(size);
        const auto x = static_cast<double>(xml.size());
        {
            QFile file(path);
            if (!file.open(QIODevice::WriteOnly) || file.write(xml) != xml.size())
                return;
        }
        Print("load", "QXmlStreamReader, no tree", x, Time([&] {
                  QFile file(path);
                  if (file.open(QIODevice::ReadOnly))
                      ReadThrough(file.readAll());
              }));
        Print("load", "QDomDocument", x, Time([&] {
                  QFile file(path);
                  QDomDocument document;
                  if (file.open(QIODevice::ReadOnly))
                      static_cast<void>(document.setContent(file.readAll()));
              }));
        Print("load", "QvUtil", x, Time([&] {
                  XmlFiler filer;
                  filer.LoadFromXmlFile(path);
              }));
        {
            const double before = Allocated();
            QDomDocument document;
            static_cast<void>(document.setContent(xml));
            Print("memory", "QDomDocument", x, Allocated() - before);
            Print("save", "QDomDocument, not atomic", x, Time([&] {
                      QFile file(path);
                      if (!file.open(QIODevice::WriteOnly))
                          return;
                      QTextStream stream(&file);
                      document.save(stream, 4);
                  }));
        }
        {
            const double before = Allocated();
            XmlFiler filer;
            filer.LoadFromXmlFile(path);
            Print("memory", "QvUtil", x, Allocated() - before);
            Print("save", "QvUtil, atomic and on the disk", x, Time([&] { filer.SaveAsXmlFile(path); }));
            Print("save", "QvUtil, to a text", x, Time([&] { static_cast<void>(filer.SaveAsXmlString()); }));
        }
#ifdef WITH_PUGIXML
        Print("load", "pugixml", x, Time([&] {
                  pugi::xml_document document;
                  document.load_file(name.constData());
              }));
        const double before = Allocated();
        pugi::xml_document document;
        document.load_file(name.constData());
        Print("memory", "pugixml", x, Allocated() - before);
        Print("save", "pugixml, not atomic", x, Time([&] { document.save_file(name.constData()); }));
#endif
    }
}

class Responder final : public IMessageResponder
{
public:
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override
    {
        if (messageId == "Count"_L1)
            responseParams.insert(u"count"_s, Count);
        else
            responseParams = params;
        return true;
    }

    int Count = 0;
};

int Serve(const QString& name)
{
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [] { QCoreApplication::quit(); });
    Responder responder;
    IPCManager manager;
    manager.AddMessageResponder(&responder);
    QObject::connect(&manager, &IPCManager::MessageReceived, &manager, [&] { ++responder.Count; });
    manager.StartServer(name, QIODeviceBase::ReadWrite);
    return QCoreApplication::exec();
}

// A client in this process, and a server in another process.
class Link
{
public:
    Link()
    {
        mServer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mServer.start(QCoreApplication::applicationFilePath(), {u"--serve"_s, mName});
        mManager.ConnectToServer(mName, QIODeviceBase::ReadWrite);
        mIsOk = mManager.WaitForConnectionToServer(mName, kTimeoutMs);
    }
    Q_DISABLE_COPY_MOVE(Link)
    ~Link()
    {
        mManager.DisconnectFromServer({});
        mServer.closeWriteChannel();
        mServer.waitForFinished();
    }

    [[nodiscard]] bool IsOk() const { return mIsOk; }
    bool Ask(const QString& id, const QVariantMap& params, QVariantMap& answer)
    {
        return mManager.SendMessageAndGetResponse(mName, id, params, answer, kTimeoutMs);
    }
    // Returns the seconds per message, measured until the receiver has counted all of them.
    double Flood(const QVariantMap& params, int count)
    {
        QVariantMap answer;
        Ask(u"Count"_s, {}, answer);
        const int before = answer.value(u"count"_s).toInt();
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < count; ++i)
            mManager.SendMessage(u"Tell"_s, params);
        Ask(u"Count"_s, {}, answer);
        const int arrived = answer.value(u"count"_s).toInt() - before;
        return static_cast<double>(timer.nsecsElapsed()) / 1e9 / std::max(arrived, 1);
    }

    void Tell(const QVariantMap& params) { mManager.SendMessage(u"Tell"_s, params); }
    // Stops the server process, so that messages queue up.
    void Stop() { ::kill(static_cast<pid_t>(mServer.processId()), SIGSTOP); }
    void Continue() { ::kill(static_cast<pid_t>(mServer.processId()), SIGCONT); }

private:
    QTemporaryDir mDir;
    const QString mName = mDir.filePath(u"s"_s);
    QProcess mServer;
    IPCManager mManager;
    bool mIsOk = false;
};

void Messages()
{
    Link link;
    if (!link.IsOk())
        return;
    QVariantMap answer;
    for (qsizetype size = 64; size <= 1024 * 1024; size *= 4) {
        const QVariantMap params{{u"bytes"_s, QByteArray(size, 'x')}};
        const auto x = static_cast<double>(size);
        Print("message-size", "round trip", x, Time([&] { link.Ask(u"Ask"_s, params, answer); }));
        const int count = static_cast<int>(std::clamp<qsizetype>(64 * 1024 * 1024 / size, 50, 20'000));
        const double seconds = link.Flood(params, count);
        Print("message-size", "one way, many at a time", x, seconds);
        Print("message-throughput", "one way, many at a time", x, x / seconds);
    }
    for (const int count : {1, 3, 10, 30, 100, 300, 1000}) {
        QVariantMap params;
        for (int i = 0; i < count; ++i)
            params.insert(u"Parameter%1"_s.arg(i), i);
        Print("message-parameters", "round trip", count, Time([&] { link.Ask(u"Ask"_s, params, answer); }));
        Print("message-parameters", "one way, many at a time", count,
              link.Flood(params, 20'000 / count + 50));
    }
}

void SettingsWrites()
{
    const QTemporaryDir dir;
    for (const int size : {10, 30, 100, 300, 1000, 3000, 10'000}) {
        Settings store(dir.filePath(u"%1.xml"_s.arg(size)), u"Settings"_s);
        for (int i = 0; i < size; ++i)
            store.WriteInt(u"Group%1/Page%2"_s.arg(i % 20).arg(i % 7), u"Value%1"_s.arg(i), i);
        int value = 0;
        Print("settings", "change a value", size,
              Time([&] { store.WriteInt(u"Group3/Page3"_s, u"Value3"_s, ++value); }));
        Print("settings", "read a value", size,
              Time([&] { value += store.ReadInt(u"Group3/Page3"_s, u"Value3"_s, 0); }));
        Print("settings", "save", size, Time([&] { store.SaveAsXmlFile(dir.filePath(u"copy.xml"_s)); }));
    }
}

void Expressions()
{
    for (const int operands : {1, 3, 10, 30, 100, 300, 1000}) {
        QStringList names;
        for (int i = 0; i < operands; ++i)
            names.append(u"operand%1"_s.arg(i));
        const BooleanExpressionEvaluator evaluator(
            [](const QString& /*operand*/, bool& value) { return value = true; });
        const QString chain = names.join(u" & "_s);
        const QString groups = u'(' + names.join(u") & ("_s) + u')';
        bool value = false;
        Print("expression", "a & b & c ...", operands, Time([&] { evaluator.Evaluate(chain, value); }));
        Print("expression", "(a) & (b) & (c) ...", operands,
              Time([&] { evaluator.Evaluate(groups, value); }));
    }
}

// The programs whose start-up is measured.
struct StartedProgram
{
    const char* Figure;
    const char* Program;
    QStringList Arguments;
    std::vector<double> Times;
};

// Returns the number of relocations when a program starts, as the dynamic loader counts them.
int Relocations(const QString& program)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LD_DEBUG"_s, u"statistics"_s);
    process.setProcessEnvironment(environment);
    process.start(program, {});
    process.waitForFinished();
    static const QRegularExpression pattern(u"number of relocations: (\\d+)"_s);
    return pattern.match(QString::fromLatin1(process.readAllStandardError())).captured(1).toInt();
}

void StartFigures()
{
    constexpr int kRuns = 41;
    std::array programs{
        StartedProgram{
            "start and end of a program with Qt Core, Xml and Network (s)", "measure_StartWithout", {}, {}},
        StartedProgram{"start and end of a program with the library as well (s)", "measure_Start", {}, {}},
        StartedProgram{
            "the same with an IPCManager and its server (s)", "measure_Start", {u"manager"_s}, {}}};
    const QDir dir(QCoreApplication::applicationDirPath());
    for (int run = 0; run < kRuns; ++run) {
        for (StartedProgram& program : programs) {
            QElapsedTimer timer;
            timer.start();
            QProcess::execute(dir.filePath(QLatin1StringView(program.Program)), program.Arguments);
            program.Times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e9);
        }
    }
    for (StartedProgram& program : programs) {
        std::ranges::sort(program.Times);
        Print("figure", program.Figure, 0, program.Times[program.Times.size() / 2]);
    }
    Print("figure", "symbols of the library that a program looks up when it starts", 0,
          Relocations(dir.filePath(u"measure_Start"_s))
              - Relocations(dir.filePath(u"measure_StartWithout"_s)));
}

// Waits until the threads have stopped allocating memory.
double SettledMemory()
{
    double before = -1;
    for (double now = Allocated(); now != before; now = Allocated()) {
        before = now;
        QThread::msleep(200);
    }
    return before;
}

// Runs in a separate process.
int MeasureMemory()
{
    ::mallopt(M_ARENA_MAX, 1); // because mallinfo2 counts only the first arena
    {
        constexpr int kElements = 100'000;
        XmlFiler filer;
        filer.CreateRoot(u"Root"_s);
        const double before = Allocated();
        for (int i = 0; i < kElements; ++i) {
            filer.MoveToRoot();
            filer.CreateImmediateChildNode(u"Item"_s);
        }
        Print("figure", "memory of an element without attributes (bytes)", 0,
              (Allocated() - before) / kElements);
    }
    {
        constexpr int kConnections = 20;
        const QTemporaryDir dir;
        const double before = SettledMemory();
        std::vector<std::unique_ptr<IPCManager>> servers;
        std::vector<std::unique_ptr<IPCManager>> clients;
        bool isConnected = true;
        for (int i = 0; i < kConnections; ++i) {
            const QString name = dir.filePath(QString::number(i));
            servers.push_back(std::make_unique<IPCManager>());
            servers.back()->StartServer(name, QIODeviceBase::ReadWrite);
            clients.push_back(std::make_unique<IPCManager>());
            clients.back()->ConnectToServer(name, QIODeviceBase::ReadWrite);
            isConnected = clients.back()->WaitForConnectionToServer(name, kTimeoutMs) && isConnected;
        }
        if (!isConnected)
            return 1;
        Print("figure", "memory of a connection, both managers and their threads together (bytes)", 0,
              (SettledMemory() - before) / kConnections);
    }
    {
        constexpr int kMessages = 20'000;
        Link link;
        const double before = SettledMemory();
        link.Stop();
        for (int i = 0; i < kMessages; ++i)
            link.Tell({{u"n"_s, i}});
        const double after = SettledMemory();
        link.Continue();
        Print("figure", "memory of a queued message with one number (bytes)", 0,
              (after - before) / kMessages);
    }
    return 0;
}

void MemoryFigures()
{
    QProcess::execute(QCoreApplication::applicationFilePath(), {u"--memory"_s});
}

struct Chart
{
    const char* Name;
    void (*Measure)();
};

constexpr std::array kCharts = {Chart{"path-siblings", PathSiblings}, Chart{"path-depth", PathDepth},
                                Chart{"documents", Documents},        Chart{"messages", Messages},
                                Chart{"settings", SettingsWrites},    Chart{"expression", Expressions},
                                Chart{"start", StartFigures},         Chart{"memory", MemoryFigures}};

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--serve"_L1)
        return Serve(arguments.value(2));
    if (arguments.value(1) == "--memory"_L1)
        return MeasureMemory();
    for (const Chart& chart : kCharts) {
        if (arguments.size() == 1 || arguments.contains(QLatin1StringView(chart.Name)))
            chart.Measure();
    }
    return 0;
}
