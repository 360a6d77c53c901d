// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Messages between two processes, compared with Qt's own modules. The other process is this program with
// different arguments:
//
//   bench_Messaging --serve NAME ADDRESS     serves the contestant NAME until standard input is closed

#include "IPC.h"
#include "messaging/Base64_p.h"
#include "messaging/Contestant.h"
#include "messaging/MessageCodec_p.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QElapsedTimer>
#include <QProcess>
#include <QSocketNotifier>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;

void AnnounceReady()
{
    std::puts("ready");
    std::fflush(stdout);
}

namespace {

constexpr int kRequests = 5000;
constexpr int kMessages = 50'000;

// One parameter of each scalar type.
QVariantMap SixParameters()
{
    return {{u"count"_s, 42},
            {u"enabled"_s, true},
            {u"flags"_s, 0x80000001U},
            {u"ratio"_s, 0.72},
            {u"size"_s, Q_INT64_C(1'234'567'890'123)},
            {u"title"_s, u"Annual report, page 12"_s}};
}

QVariantMap Bytes16KiB()
{
    QByteArray bytes(qsizetype(16) * 1024, Qt::Uninitialized);
    for (qsizetype i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * i >> 3);
    return {{u"bytes"_s, bytes}};
}

QVariantMap OneParameter()
{
    return {{u"n"_s, 1}};
}

std::vector<ContestantKind> AllKinds()
{
    std::vector<ContestantKind> kinds;
    for (const auto get : {GetQvUtilKinds, GetBytesKinds,
#ifdef WITH_REMOTE_OBJECTS
                           GetRemoteObjectsKinds,
#endif
#ifdef WITH_DBUS
                           GetDBusKinds
#endif
         })
        std::ranges::move(get(), std::back_inserter(kinds));
    return kinds;
}

// The two processes of a contestant.
class Pair
{
public:
    explicit Pair(const ContestantKind& kind)
    {
        const QString address = mDir.filePath(u"s"_s);
        mServer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mServer.start(QCoreApplication::applicationFilePath(),
                      {u"--serve"_s, QString::fromStdString(kind.Name), address});
        if (mServer.waitForReadyRead(kAnswerTimeoutMs))
            mClient = kind.Connect(address);
    }
    Q_DISABLE_COPY_MOVE(Pair)
    ~Pair()
    {
        mClient.reset();
        mServer.closeWriteChannel();
        mServer.waitForFinished();
    }

    [[nodiscard]] Contestant* Client() const { return mClient.get(); }

private:
    QTemporaryDir mDir;
    QProcess mServer;
    std::unique_ptr<Contestant> mClient;
};

// The pairs of all contestants. Each is started on first use, and is idle while others are measured.
class Pairs
{
public:
    Contestant* Client(const ContestantKind& kind)
    {
        std::unique_ptr<Pair>& pair = mPairs[kind.Name];
        if (!pair)
            pair = std::make_unique<Pair>(kind);
        return pair->Client();
    }

private:
    std::map<std::string, std::unique_ptr<Pair>> mPairs;
};

// Median and 99th percentile of the round trip of single requests.
void RoundTrip(benchmark::State& state, Contestant* client, const QVariantMap& params)
{
    if (client == nullptr)
        return state.SkipWithError("no connection");
    client->SetParameters(params);
    for (int i = 0; i < kRequests / 20; ++i) {
        if (!client->Ask() || !client->IsAnswered())
            return state.SkipWithError("no answer, or a wrong one");
    }
    for (auto _ : state) {
        std::vector<qint64> times(kRequests);
        for (qint64& time : times) {
            QElapsedTimer timer;
            timer.start();
            const bool answered = client->Ask();
            time = timer.nsecsElapsed();
            if (!answered || !client->IsAnswered())
                return state.SkipWithError("no answer, or a wrong one");
        }
        std::ranges::sort(times);
        state.SetIterationTime(static_cast<double>(times[kRequests / 2]) / 1e9);
        state.counters["p99_ns"] = static_cast<double>(times[kRequests - kRequests / 100]);
    }
}

// Time per message: from sending the first message until the receiver has counted all of them, divided by
// their number.
void OneWay(benchmark::State& state, Contestant* client)
{
    if (client == nullptr)
        return state.SkipWithError("no connection");
    client->SetParameters(OneParameter());
    if (client->TakeCount() < 0)
        return state.SkipWithError("no answer");
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        bool sent = true;
        for (int i = 0; i < kMessages; ++i)
            sent = client->Tell() && sent;
        const int count = client->TakeCount();
        state.SetIterationTime(static_cast<double>(timer.nsecsElapsed()) / 1e9 / kMessages);
        if (!sent || count != kMessages)
            return state.SkipWithError("messages are missing");
    }
}

void RegisterExchanges(Pairs& pairs)
{
    static const std::array<std::pair<std::string, QVariantMap>, 2> kRequestKinds
        = {{{"six parameters", SixParameters()}, {"16 KiB", Bytes16KiB()}}};
    const auto add = [](const std::string& name, auto run) {
        benchmark::RegisterBenchmark(name.c_str(), run)
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    };
    for (const ContestantKind& kind : AllKinds()) {
        for (const auto& [subject, params] : kRequestKinds) {
            // This contestant differs from the others only for messages, not for requests.
            if (kind.Name.ends_with("not waiting"))
                continue;
            add("RoundTrip/" + kind.Name + '/' + subject, [&pairs, kind, params](benchmark::State& state) {
                RoundTrip(state, pairs.Client(kind), params);
            });
        }
        add("OneWay/" + kind.Name,
            [&pairs, kind](benchmark::State& state) { OneWay(state, pairs.Client(kind)); });
    }
}

bool IsSame(const MessageInfo& a, const MessageInfo& b)
{
    return a.Id == b.Id && a.UniqueId == b.UniqueId && a.NeedResponse == b.NeedResponse
        && a.IsResponse == b.IsResponse && a.OriginalMessageUniqueId == b.OriginalMessageUniqueId
        && a.Params == b.Params;
}

MessageInfo MakeMessage(const QVariantMap& params)
{
    return {u"Ask"_s, QUuid::createUuid(), true, false, QUuid(), params};
}

using RoundTripFunction = MessageInfo (*)(const MessageInfo&);

// Encodes and decodes a message.
void Codec(benchmark::State& state, const QVariantMap& params, RoundTripFunction roundTrip)
{
    const MessageInfo message = MakeMessage(params);
    if (!IsSame(roundTrip(message), message))
        return state.SkipWithError("a different message came back");
    for (auto _ : state)
        benchmark::DoNotOptimize(roundTrip(message));
}

MessageInfo Codec_QvUtil(const MessageInfo& message)
{
    QList<MessageInfo> messages;
    DecodeMessage(EncodeMessageAsBytes(message), messages);
    return messages.isEmpty() ? MessageInfo() : messages.constFirst();
}

MessageInfo Codec_XmlFiler(const MessageInfo& message)
{
    MessageInfo result;
    const QByteArray bytes = EncodeMessageByDom(message).toUtf8();
    static_cast<void>(DecodeMessageByDom(QString::fromUtf8(bytes), result));
    return result;
}

MessageInfo Codec_DataStream(const MessageInfo& message)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << message.Id << message.UniqueId << message.NeedResponse << message.IsResponse
        << message.OriginalMessageUniqueId << message.Params;
    MessageInfo result;
    QDataStream in(bytes);
    in >> result.Id >> result.UniqueId >> result.NeedResponse >> result.IsResponse
        >> result.OriginalMessageUniqueId >> result.Params;
    return result;
}

void RegisterCodecs()
{
    const auto add = [](const std::string& contestant, RoundTripFunction roundTrip) {
        benchmark::RegisterBenchmark(
            ("Codec/" + contestant + "/six parameters").c_str(),
            [=](benchmark::State& state) { Codec(state, SixParameters(), roundTrip); });
        benchmark::RegisterBenchmark(("Codec/" + contestant + "/16 KiB").c_str(),
                                     [=](benchmark::State& state) { Codec(state, Bytes16KiB(), roundTrip); });
    };
    add("QvUtil", Codec_QvUtil);
    add("raw QDataStream", Codec_DataStream);
    add("XmlFiler and QDomDocument", Codec_XmlFiler);
}

// Encodes and decodes base64.
void RegisterBase64()
{
    const QByteArray bytes = Bytes16KiB().value(u"bytes"_s).toByteArray();
    benchmark::RegisterBenchmark("Base64/QvUtil/16 KiB", [bytes](benchmark::State& state) {
        for (auto _ : state) {
            QByteArray text(Base64Size(bytes.size()), Qt::Uninitialized);
            WriteBase64(bytes, text.data());
            benchmark::DoNotOptimize(ReadBase64(text));
        }
    });
    benchmark::RegisterBenchmark("Base64/raw QByteArray/16 KiB", [bytes](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(
                QByteArray::fromBase64Encoding(bytes.toBase64(), QByteArray::AbortOnBase64DecodingErrors));
        }
    });
}

int Serve(const QString& name, const QString& address)
{
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [] { QCoreApplication::quit(); });
    for (const ContestantKind& kind : AllKinds()) {
        if (kind.Name == name.toStdString())
            return kind.Serve(address);
    }
    return 2;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--serve"_L1)
        return Serve(arguments.value(2), arguments.value(3));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Pairs pairs;
    RegisterExchanges(pairs);
    RegisterCodecs();
    RegisterBase64();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
