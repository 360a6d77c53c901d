// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/OutputFormat.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "ipc/IpcCommands.h"
#include "ipc/LatencyChart.h"
#include "ipc/ServerLink.h"
#include <qvutil/IPCManager.h>

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>
#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::IPCManager;

namespace Quorvin::Tool {
namespace {

constexpr int kDefaultTimeoutMs = 5000;
constexpr int kMaxBytes = 64 * 1024 * 1024;
constexpr int kMaxRequests = 100'000'000;

constexpr const char* kExplanation
    = R"(The server receives requests with one parameter, "data". Every server of the library answers
them, possibly without parameters. With --one-way, messages count as arrived when a request
that follows them is answered. A server has only one client: the tool displaces the current one.)";

// The first requests are not measured: processors and allocators take some time to warm up.
constexpr int kWarmUp = 20;

// Maximum number of queued messages. When it is reached, the command waits until one has been written.
constexpr int kMaxQueued = 1000;

struct BenchOptions
{
    QString Name;
    QString Message = u"Bench"_s;
    int Count = 1000;
    int Size = 64;
    int TimeoutMs = kDefaultTimeoutMs;
    bool OneWay = false;
    bool Json = false;
    bool Svg = false;
};

struct Result
{
    double Seconds = 0;
    QList<qint64> LatenciesNs; ///< sorted; none for messages that are not answered
};

// The library's own client with its threads, as applications use it.
class Bench
{
public:
    explicit Bench(const BenchOptions& options)
        : mOptions(options)
        , mParameters{{u"data"_s, QByteArray(options.Size, 'x')}}
        , mBar(options.Count)
    {
        QObject::connect(&mManager, &IPCManager::DisconnectedFromServer, &mManager, [this] {
            mLost = true;
            mManager.DisconnectFromServer(mOptions.Name); // ends the wait for an answer
        });
    }

    Result Run()
    {
        RequireServer(mOptions.Name);
        mManager.ConnectToServer(mOptions.Name, QIODeviceBase::ReadWrite);
        if (!mManager.WaitForConnectionToServer(mOptions.Name, mOptions.TimeoutMs))
            throw LinkFailure(u"could not connect in time"_s);
        for (int i = 0; i < std::min(kWarmUp, mOptions.Count); ++i)
            Ask(i);
        return mOptions.OneWay ? SendAll() : AskAll();
    }

private:
    void Ask(int number)
    {
        QVariantMap answer;
        if (mManager.SendMessageAndGetResponse(mOptions.Name, mOptions.Message, mParameters, answer,
                                               mOptions.TimeoutMs))
            return;
        throw LinkFailure(
            mLost ? u"the connection was lost"_s
                  : u"no answer to request %1 within %2 ms"_s.arg(number + 1).arg(mOptions.TimeoutMs));
    }

    Result AskAll()
    {
        Result result;
        result.LatenciesNs.reserve(mOptions.Count);
        QElapsedTimer whole;
        whole.start();
        for (int i = 0; i < mOptions.Count; ++i) {
            QElapsedTimer one;
            one.start();
            Ask(i);
            result.LatenciesNs.append(one.nsecsElapsed());
            mBar.Show(i, u"requests"_s);
        }
        result.Seconds = static_cast<double>(whole.nsecsElapsed()) / 1e9;
        std::sort(result.LatenciesNs.begin(), result.LatenciesNs.end());
        return result;
    }

    // A server handles messages in order: once it answers the request at the end, it has received all
    // messages.
    Result SendAll()
    {
        QElapsedTimer whole;
        whole.start();
        for (int i = 0; i < mOptions.Count && !mLost; ++i) {
            mManager.SendMessage(mOptions.Message, mParameters, i % kMaxQueued == kMaxQueued - 1);
            mBar.Show(i, u"messages"_s);
        }
        Ask(mOptions.Count);
        return {.Seconds = static_cast<double>(whole.nsecsElapsed()) / 1e9, .LatenciesNs = {}};
    }

    const BenchOptions& mOptions;
    QVariantMap mParameters;
    Console::ProgressBar mBar;
    IPCManager mManager;
    bool mLost = false;
};

QJsonObject ToJson(const BenchOptions& options, const Result& result, double rate)
{
    QJsonObject object{{u"count"_s, options.Count},
                       {u"size"_s, options.Size},
                       {u"oneWay"_s, options.OneWay},
                       {u"seconds"_s, result.Seconds},
                       {u"perSecond"_s, rate}};
    for (const LatencyMark& row : gLatencyMarks) {
        if (!options.OneWay)
            object.insert(row.JsonName.toString(), Percentile(result.LatenciesNs, row.Share));
    }
    return object;
}

QString Summary(const BenchOptions& options, const Result& result, double rate)
{
    return u"%1 %2 of %3 bytes in %4 s, %5 a second"_s.arg(options.Count)
        .arg(options.OneWay ? u"messages"_s : u"requests"_s)
        .arg(options.Size)
        .arg(result.Seconds, 0, 'f', 3)
        .arg(rate, 0, 'f', 0);
}

void PrintText(const BenchOptions& options, const Result& result, double rate)
{
    Console::PrintLine(Summary(options, result, rate));
    for (const LatencyMark& row : gLatencyMarks) {
        if (!options.OneWay) {
            Console::PrintLine(row.Name.toString().leftJustified(8)
                               + u"%1 us"_s.arg(Percentile(result.LatenciesNs, row.Share), 10, 'f', 1));
        }
    }
}

ExitCode RunBench(const BenchOptions& options)
{
    RequireOneFormat(options.Json, options.Svg, u"--svg"_s);
    if (options.Svg && options.OneWay)
        throw UsageFailure(u"--svg shows how long answers take, and --one-way waits for none"_s);
    Session session(Session::DiesOfSignals);
    Result result;
    try {
        result = Bench(options).Run();
    } catch (const LinkFailure& failure) {
        Console::ReportError(options.Name, failure.Reason);
        return ExitCode::No;
    }
    const double rate = static_cast<double>(options.Count) / std::max(result.Seconds, 1e-9);
    if (options.Svg) {
        Console::Print(LatencyChart(u"Latency of %1"_s.arg(options.Name), Summary(options, result, rate),
                                    result.LatenciesNs));
        return ExitCode::Yes;
    }
    Report(options.Json)
        .Answer([&] { return ToJson(options, result, rate); }, [&] { PrintText(options, result, rate); });
    return ExitCode::Yes;
}

} // namespace

void AddBenchCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<BenchOptions>();
    CLI::App& bench = line.AddCommand(group, "bench", "Measure how fast a server answers",
                                      "qvutil ipc listen echo --echo --quiet &\n"
                                      "qvutil ipc bench echo --count 5000\n"
                                      "qvutil ipc bench echo --one-way --count 50000 --json\n"
                                      "qvutil ipc bench echo --svg > latency.svg",
                                      [options] { return RunBench(*options); });
    AddExplanation(bench, kExplanation);
    AddText(bench, "NAME", options->Name, "The server's name")->required();
    AddText(bench, "--message", options->Message, "The name of the requests; default: Bench");
    AddNumber(bench, "--count", options->Count, {.Min = 1, .Max = kMaxRequests},
              "Number of messages; default: 1000")
        ->type_name("N");
    AddNumber(bench, "--size", options->Size, {.Min = 0, .Max = kMaxBytes},
              "Bytes in each message; default: 64")
        ->type_name("BYTES");
    AddNumber(bench, "--timeout", options->TimeoutMs, {.Min = 0},
              "Time-out for each answer, in milliseconds; default: 5000")
        ->type_name("MS");
    bench.add_flag("--one-way", options->OneWay, "Send messages that need no answer");
    AddJsonFlag(bench, options->Json);
    bench.add_flag("--svg", options->Svg, "Print the distribution of the latencies as an SVG picture");
}

} // namespace Quorvin::Tool
