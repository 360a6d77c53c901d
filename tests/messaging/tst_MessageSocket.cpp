// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageSocket_p.h"
#include "support/TestSupport.h"

#include <QSemaphore>
#include <QThread>
#include <QtTest>

#include <memory>
#include <numeric>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util::Internal;

namespace {

constexpr qsizetype kMiB = qsizetype(1024) * 1024;

// The source runs dry after this many reads, so that a reader without a limit fails the test instead of
// running for ever.
constexpr int kTooManyReads = 10000;

// Returns the first \p size bytes of a longer frame.
QByteArray Beginning(qsizetype size)
{
    return QByteArray("<?xml version=\"1.0\"?>\n<Message Id=\"").leftJustified(size, 'x');
}

QByteArray WholeFrame(qsizetype size)
{
    const QByteArray end = "\"/></Message>\n";
    return Beginning(size - end.size()) + end;
}

// Simulates a socket, read by read, without any delay.
class Script final : public ByteSource
{
public:
    bool Read(QByteArray& bytes) override
    {
        if (!Pieces.isEmpty() && Pieces.constFirst().isEmpty()) { // no bytes until the next call of Wait
            Pieces.removeFirst();
            return false;
        }
        if (Reads >= kTooManyReads || (Pieces.isEmpty() && Endless.isEmpty()))
            return false;
        ++Reads;
        bytes += Pieces.isEmpty() ? Endless : Pieces.takeFirst();
        return true;
    }
    qint64 Wait(int timeoutMs) override
    {
        Waits.append(timeoutMs);
        return Waits.size() >= WaitsForPiece && !Pieces.isEmpty() ? WaitNs : -1;
    }
    [[nodiscard]] bool ShouldStop() const override
    {
        return (EndAfterReads >= 0 && Reads >= EndAfterReads)
            || (EndAfterWaits >= 0 && Waits.size() >= EndAfterWaits);
    }

    QList<QByteArray> Pieces; // an empty one is a read without a result
    QByteArray Endless; // result of each read after Pieces
    qint64 WaitNs = 0; // duration of successful waits
    qsizetype WaitsForPiece = 1; // the waits before this one fail
    int EndAfterReads = -1;
    int EndAfterWaits = -1;
    int Reads = 0; // number of reads with a result
    QList<int> Waits; // the time-outs of all waits
};

} // namespace

// Tests how a receiver drains its socket. Draining must end, whatever the peer sends.
class tst_MessageSocket : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void Drain_readsEverythingAvailable();
    void Drain_waits_data();
    void Drain_waits();
    void Drain_waitsForEachPiece();
    void Drain_waitsInSteps();
    void Drain_waitsUntilDeadline();
    void Drain_trickle_data();
    void Drain_trickle();
    void Drain_littleInManyReads_data();
    void Drain_littleInManyReads();
    void Drain_restartsCount();
    void Drain_stopsAtMaximum_data();
    void Drain_stopsAtMaximum();
    void Drain_threadEnds();
    void Drain_threadEndsWhileItWaits();

    void Window_full_data();
    void Window_full();
    void Window_resumesAtHalf();
    void Window_twoThreads();
};

void tst_MessageSocket::Drain_readsEverythingAvailable()
{
    Script source;
    source.Pieces = {"b", "c", "d", {}, "later"};
    QByteArray bytes = "a";
    Drain(source, bytes);
    QCOMPARE(bytes, QByteArray("abcd"));
    QCOMPARE(source.Waits, QList<int>());
}

void tst_MessageSocket::Drain_waits_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<bool>("waits");

    const QByteArray nothing;
    const QByteArray noise(2 * kMaxPiece, 'x');
    const QByteArray whole = WholeFrame(2 * kMaxPiece);
    const auto row = [](const char* name, const QByteArray& first, const QByteArray& second, bool waits) {
        QTest::newRow(name) << first << second << waits;
    };
    row("small frame, truncated", Beginning(kMaxPiece - 1), nothing, false);
    row("large frame, truncated", Beginning(kMaxPiece), nothing, true);
    row("large frame, truncated after the second read", Beginning(kMaxPiece - 1), "x", true);
    row("large frame, whole", whole, nothing, false);
    row("large frame, whole, without line ending", whole.chopped(1), nothing, false);
    row("large frame, last character missing", whole.chopped(2), nothing, true);
    row("large frame, end in the second read", whole.first(kMaxPiece), whole.sliced(kMaxPiece), false);
    row("large noise", noise, nothing, false);
    row("small beginning after noise", noise + Beginning(kMaxPiece - 1), nothing, false);
    row("large beginning after noise", noise + Beginning(kMaxPiece), nothing, true);
    row("large beginning after a frame", whole + Beginning(kMaxPiece), nothing, true);
    row("small beginning after a large one", Beginning(2 * kMaxPiece) + Beginning(100), nothing, false);
    row("beginning in two reads", noise + Beginning(3), Beginning(kMaxPiece).sliced(3), true);
}

void tst_MessageSocket::Drain_waits()
{
    QFETCH(const QByteArray, first);
    QFETCH(const QByteArray, second);
    QFETCH(const bool, waits);

    Script source;
    if (!second.isEmpty())
        source.Pieces.append(second);
    QByteArray bytes = first;
    Drain(source, bytes);
    QVERIFY(bytes == first + second);
    QCOMPARE(!source.Waits.isEmpty(), waits);
}

void tst_MessageSocket::Drain_waitsForEachPiece()
{
    const QByteArray frame = WholeFrame(4 * kMaxPiece);
    Script source;
    for (qsizetype at = kMaxPiece; at < frame.size(); at += kMaxPiece)
        source.Pieces += {QByteArray(), frame.sliced(at, kMaxPiece)};
    QByteArray bytes = frame.first(kMaxPiece);
    Drain(source, bytes);
    QVERIFY(bytes == frame);
    QCOMPARE(source.Waits.size(), 3);
}

void tst_MessageSocket::Drain_waitsInSteps()
{
    const QByteArray frame = WholeFrame(2 * kMaxPiece);
    Script source;
    source.Pieces = {QByteArray(), frame.sliced(kMaxPiece)};
    source.WaitsForPiece = 10; // after half a second in all
    QByteArray bytes = frame.first(kMaxPiece);
    Drain(source, bytes);
    QVERIFY(bytes == frame);
    QCOMPARE(source.Waits, QList<int>(10, 50));
}

void tst_MessageSocket::Drain_waitsUntilDeadline()
{
    Script source;
    source.Pieces = {QByteArray(), "too late"};
    source.WaitsForPiece = 11;
    QByteArray bytes = Beginning(kMaxPiece);
    Drain(source, bytes);
    QVERIFY(bytes == Beginning(kMaxPiece));
    QCOMPARE(std::accumulate(source.Waits.cbegin(), source.Waits.cend(), 0), 500);
}

// A peer gains no time by sending a frame in small parts that each arrive within one step of the wait.
void tst_MessageSocket::Drain_trickle_data()
{
    QTest::addColumn<qint64>("waitNs");
    QTest::addColumn<int>("reads");

    QTest::newRow("400 ms, on a busy machine") << qint64(400'000'000) << 10;
    QTest::newRow("40 ms") << qint64(40'000'000) << 13;
    QTest::newRow("1 ms") << qint64(1'000'000) << 500;
    QTest::newRow("0 ms") << qint64(0) << 1000;
}

void tst_MessageSocket::Drain_trickle()
{
    QFETCH(const qint64, waitNs);
    QFETCH(const int, reads);

    const QByteArray part(kMaxPiece / 32, 'x');
    Script source;
    source.WaitNs = waitNs;
    for (int i = 0; i < 1000; ++i)
        source.Pieces += {QByteArray(), part};
    QByteArray bytes = Beginning(kMaxPiece);
    Drain(source, bytes);
    QCOMPARE(source.Reads, reads);
}

void tst_MessageSocket::Drain_littleInManyReads_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("stops");

    // 64 reads must yield 32 KiB.
    QTest::newRow("single bytes of noise") << QByteArray("x") << 1 << true;
    QTest::newRow("single bytes of a frame") << Beginning(kMaxPiece) << 1 << true;
    QTest::newRow("just too few bytes") << Beginning(kMaxPiece) << 511 << true;
    QTest::newRow("just enough bytes") << Beginning(kMaxPiece) << 512 << false;
}

void tst_MessageSocket::Drain_littleInManyReads()
{
    QFETCH(const QByteArray, first);
    QFETCH(const int, size);
    QFETCH(const bool, stops);

    Script source;
    source.Endless = QByteArray(size, 'x');
    QByteArray bytes = first;
    Drain(source, bytes);
    QCOMPARE(source.Reads, stops ? 64 : kTooManyReads);
    QCOMPARE(bytes.size(), first.size() + source.Reads * size);
}

void tst_MessageSocket::Drain_restartsCount()
{
    Script source;
    source.Pieces = QList<QByteArray>(63, "x") + QList<QByteArray>{QByteArray(kMaxPiece, 'x')};
    source.Endless = "x";
    QByteArray bytes = "x";
    Drain(source, bytes);
    QCOMPARE(source.Reads, 64 + 64);
}

void tst_MessageSocket::Drain_stopsAtMaximum_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<qsizetype>("maximum");

    QTest::newRow("noise") << QByteArray(1, 'x') << 4 * kMiB;
    QTest::newRow("frame without end") << Beginning(kMaxPiece) << 8 * kMiB;
}

void tst_MessageSocket::Drain_stopsAtMaximum()
{
    QFETCH(const QByteArray, first);
    QFETCH(const qsizetype, maximum);

    Script source;
    source.Endless = QByteArray(kMiB / 8, 'x');
    QByteArray bytes = first;
    Drain(source, bytes);
    QCOMPARE(source.Reads, static_cast<int>((maximum - first.size()) / source.Endless.size()) + 1);
}

void tst_MessageSocket::Drain_threadEnds()
{
    Script source;
    source.Endless = QByteArray(kMaxPiece, 'x');
    source.EndAfterReads = 5;
    QByteArray bytes = Beginning(kMaxPiece);
    Drain(source, bytes);
    QCOMPARE(source.Reads, 5);
}

void tst_MessageSocket::Drain_threadEndsWhileItWaits()
{
    Script source;
    source.Pieces = {QByteArray(), "too late"};
    source.WaitsForPiece = 4;
    source.EndAfterWaits = 3;
    QByteArray bytes = Beginning(kMaxPiece);
    Drain(source, bytes);
    QCOMPARE(source.Waits.size(), 3);
    QCOMPARE(source.Reads, 0);
}

void tst_MessageSocket::Window_full_data()
{
    QTest::addColumn<QList<qsizetype>>("reads"); // one message each
    QTest::addColumn<bool>("full");

    QTest::newRow("nothing") << QList<qsizetype>() << false;
    QTest::newRow("exactly the maximum") << QList<qsizetype>{kMaxUndelivered} << false;
    QTest::newRow("one byte above the maximum") << QList<qsizetype>{kMaxUndelivered, 1} << true;
    QTest::newRow("one large read") << QList<qsizetype>{10 * kMaxUndelivered} << true;
}

void tst_MessageSocket::Window_full()
{
    QFETCH(const QList<qsizetype>, reads);
    QFETCH(const bool, full);

    DeliveryWindow window;
    for (const qsizetype bytes : reads)
        window.Add(1, bytes);
    QCOMPARE(window.IsFull(), full);
    bool resumed = false;
    for (qsizetype i = 0; i < reads.size(); ++i)
        resumed = window.Take() || resumed;
    QCOMPARE(resumed, full);
    QVERIFY(!window.IsFull());
}

// Take reports once that reading should resume: when only half of the maximum is still queued.
void tst_MessageSocket::Window_resumesAtHalf()
{
    DeliveryWindow window;
    for (int i = 0; i < 10; ++i)
        window.Add(2, kMaxUndelivered / 8);
    QVERIFY(window.IsFull());
    QList<int> resumedAt;
    for (int i = 1; i <= 20; ++i) {
        if (window.Take())
            resumedAt.append(i);
    }
    QCOMPARE(resumedAt, QList<int>{12}); // four of the ten reads are still queued: half of the maximum
}

// A worker that has stopped reading always receives the signal to resume, however the two threads interleave.
void tst_MessageSocket::Window_twoThreads()
{
    constexpr int kReads = 200'000;
    DeliveryWindow window;
    QSemaphore added;
    QSemaphore resumed;
    const std::unique_ptr<QThread> owner(QThread::create([&] {
        for (int i = 0; i < kReads; ++i) {
            added.acquire();
            if (window.Take())
                resumed.release();
        }
    }));
    owner->start();
    bool isStuck = false;
    for (int i = 0; i < kReads && !isStuck; ++i) {
        window.Add(1, kMaxUndelivered / 3);
        added.release();
        while (!isStuck && window.IsFull())
            isStuck = !resumed.tryAcquire(1, TestSupport::kEventTimeoutMs);
    }
    added.release(kReads); // so that the thread ends even if the test fails
    QVERIFY(owner->wait(TestSupport::kEventTimeoutMs));
    QVERIFY(!isStuck);
}

QTEST_GUILESS_MAIN(tst_MessageSocket)

#include "tst_MessageSocket.moc"
