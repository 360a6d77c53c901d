// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Counts how many messages arrive, by frame size, if the sender waits until each is written, and if it sends
// them as fast as possible. The receiver is this program with different arguments:
//
//   measure_Delivery --serve NAME     receives until standard input is closed

#include "IPCManager.h"
#include "messaging/MessageCodec_p.h"
#include "messaging/MessageSocket_p.h"
#include "platform/Platform_p.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QThread>

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;

namespace {

constexpr int kAnswerTimeoutMs = 600'000;

// The send buffer limit of most systems.
constexpr int kUsualLimit = 212'992;

// In KiB; the last two do not fit into the usual send buffer.
constexpr std::array kSizes = {1, 4, 16, 32, 36, 40, 64, 128, 192, 256, 512, 1024};
constexpr int kAlwaysWhole = 256;

// Numbers with the same number of digits, so that all frames have the same size.
constexpr int kFirstNumber = 10'000;

QString TextOf(qsizetype size)
{
    QString text(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        text[i] = QChar(u'a' + static_cast<char16_t>(i * i / 7 % 26));
    return text;
}

QVariantMap ParamsOf(int number, const QString& text)
{
    return {{u"n"_s, number}, {u"text"_s, text}};
}

// Returns a text for which a message with \p number has a frame of this size.
QString TextForFrame(qsizetype size, int number)
{
    return TextOf(size - PackMessage(u"Data"_s, ParamsOf(number, {})).size());
}

class Receiver final : public QObject, public IMessageResponder
{
    Q_OBJECT
public:
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override
    {
        if (messageId == "Begin"_L1) {
            mText = TextOf(params.value(u"size"_s).toLongLong());
        } else {
            responseParams = {{u"intact"_s, mIntact}, {u"other"_s, mOther}};
        }
        mIntact = mOther = 0;
        mLast = -1;
        return true;
    }

    // Checks that messages arrive in order, once each, and complete.
    void Receive(const QVariantMap& params)
    {
        const int number = params.value(u"n"_s, -1).toInt();
        const bool intact = number > mLast && params.value(u"text"_s).toString() == mText;
        ++(intact ? mIntact : mOther);
        mLast = number;
    }

private:
    QString mText;
    int mIntact = 0;
    int mOther = 0;
    int mLast = -1;
};

int Serve(const QString& name)
{
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [] { QCoreApplication::quit(); });
    Receiver receiver;
    IPCManager manager;
    manager.AddMessageResponder(&receiver);
    QObject::connect(&manager, &IPCManager::MessageReceived, &receiver,
                     [&](const QString& /*id*/, const QVariantMap& params) { receiver.Receive(params); });
    manager.StartServer(name, QIODeviceBase::ReadWrite);
    return QCoreApplication::exec();
}

// Keeps all processors busy for its lifetime.
class Load
{
public:
    explicit Load(int threads)
    {
        for (int i = 0; i < threads; ++i) {
            mThreads.emplace_back(QThread::create([this] {
                while (!mDone.load(std::memory_order_relaxed)) { }
            }));
            mThreads.back()->start();
        }
    }
    Q_DISABLE_COPY_MOVE(Load)
    ~Load()
    {
        mDone = true;
        for (const std::unique_ptr<QThread>& thread : mThreads)
            thread->wait();
    }

private:
    std::atomic<bool> mDone = false;
    std::vector<std::unique_ptr<QThread>> mThreads;
};

class Sender
{
public:
    Sender()
    {
        const QString name = mDir.filePath(u"s"_s);
        mReceiver.setProcessChannelMode(QProcess::ForwardedChannels);
        mReceiver.start(QCoreApplication::applicationFilePath(), {u"--serve"_s, name});
        mManager.ConnectToServer(name, QIODeviceBase::ReadWrite);
        mConnected = mManager.WaitForConnectionToServer(name, kAnswerTimeoutMs);
    }
    Q_DISABLE_COPY_MOVE(Sender)
    ~Sender()
    {
        mManager.DisconnectFromServer({});
        mReceiver.closeWriteChannel();
        mReceiver.waitForFinished();
    }

    [[nodiscard]] bool IsConnected() const { return mConnected; }

    // Sends messages with frames of this size. \return how many arrived; nullopt if the receiver has ended
    std::optional<int> Send(qsizetype size, int count, bool paced)
    {
        const QString text = TextForFrame(size, kFirstNumber);
        QVariantMap answer;
        if (!Ask(u"Begin"_s, {{u"size"_s, text.size()}}, answer))
            return std::nullopt;
        for (int i = 0; i < count; ++i) {
            mManager.SendMessage(u"Data"_s, ParamsOf(kFirstNumber + i, text), paced);
            ShowProgress(size, i, count);
        }
        if (!Ask(u"End"_s, {}, answer))
            return std::nullopt;
        if (answer.value(u"other"_s).toInt() != 0)
            std::printf("%d messages with wrong content!\n", answer.value(u"other"_s).toInt());
        return answer.value(u"intact"_s).toInt();
    }

private:
    bool Ask(const QString& id, const QVariantMap& params, QVariantMap& answer)
    {
        return mManager.SendMessageAndGetResponse({}, id, params, answer, kAnswerTimeoutMs);
    }

    static void ShowProgress(qsizetype size, int done, int count)
    {
        if (done % 100 == 0 && ::isatty(STDERR_FILENO) == 1)
            std::fprintf(stderr, "\r%lld KiB: %d of %d \r", static_cast<long long>(size / 1024), done, count);
    }

    QTemporaryDir mDir;
    QProcess mReceiver;
    IPCManager mManager;
    bool mConnected = false;
};

QString SystemSetting(const char* name)
{
    QFile file(u"/proc/sys/net/core/"_s + QLatin1StringView(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll().trimmed()) : u"unknown"_s;
}

// Returns the maximum size of a frame that is known to arrive in a single read.
qsizetype MaxWholeFrame(int limit)
{
    std::array<int, 2> ends = {};
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0)
        return 0;
    const qsizetype size = Platform::EnlargeSendBuffer(ends[0], std::min(kRequestedSendBuffer, limit));
    ::close(ends[0]);
    ::close(ends[1]);
    return size;
}

int Measure(int count, int limit, bool busy)
{
    std::printf("System: wmem_max %s, rmem_max %s, wmem_default %s; measured with a limit of %d.\n"
                "Frames of up to %lld bytes arrive in a single read.%s\n\n",
                qPrintable(SystemSetting("wmem_max")), qPrintable(SystemSetting("rmem_max")),
                qPrintable(SystemSetting("wmem_default")), limit,
                static_cast<long long>(MaxWholeFrame(limit)), busy ? " All processors are kept busy." : "");
    std::printf("| frame | messages | arrived, one by one | arrived, in a flood | seconds |\n"
                "|---:|---:|---:|---:|---:|\n");
    LimitSendBuffer(limit);
    const Load load(busy ? QThread::idealThreadCount() : 0);
    bool complete = true;
    for (const int size : kSizes) {
        Sender sender;
        if (!sender.IsConnected())
            return 1;
        const int number = size > kAlwaysWhole ? count / 10 : count;
        QElapsedTimer timer;
        timer.start();
        const std::optional<int> paced = sender.Send(qsizetype(size) * 1024, number, true);
        const std::optional<int> flood = sender.Send(qsizetype(size) * 1024, number, false);
        if (!paced || !flood)
            return 1;
        std::printf("| %d KiB | %d | %d | %d | %.1f |\n", size, number, *paced, *flood,
                    static_cast<double>(timer.elapsed()) / 1000);
        std::fflush(stdout);
        complete = complete && (size > kAlwaysWhole || (*paced == number && *flood == number));
    }
    return complete ? 0 : 1;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Counts the messages that arrive, by frame size. Fails if one of up to 256 KiB is lost."_s);
    parser.addHelpOption();
    const QCommandLineOption serve(u"serve"_s, u"Receive under this name."_s, u"name"_s);
    const QCommandLineOption messages(
        u"messages"_s, u"Send this many messages of each size; a tenth as many above 256 KiB."_s, u"count"_s,
        u"10000"_s);
    const QCommandLineOption limit(u"limit"_s, u"Assume that the system limits send buffers to this size."_s,
                                   u"bytes"_s, QString::number(kUsualLimit));
    const QCommandLineOption busy(u"busy"_s, u"Keep all processors busy while measuring."_s);
    parser.addOptions({serve, messages, limit, busy});
    parser.process(application);
    if (parser.isSet(serve))
        return Serve(parser.value(serve));
    return Measure(parser.value(messages).toInt(), parser.value(limit).toInt(), parser.isSet(busy));
}

#include "measure_Delivery.moc"
