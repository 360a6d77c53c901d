// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageLink_p.h"
#include "support/TestSupport.h"

#include <QtTest>

#include <numeric>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

constexpr qsizetype kMiB = qsizetype(1024) * 1024;

// More than any reader may ask for: one without bounds fails its test, and does not run for ever.
constexpr int kTooManyReads = 10000;

// The beginning of a document that is longer than that.
QByteArray Beginning(qsizetype size)
{
    return QByteArray("<?xml version=\"1.0\"?>\n<Message Id=\"").leftJustified(size, 'x');
}

QByteArray WholeDocument(qsizetype size)
{
    const QByteArray end = "\"/></Message>\n";
    return Beginning(size - end.size()) + end;
}

// What a socket gives, read by read, without any time that passes.
class Script final : public ByteSource
{
public:
    bool Read(QByteArray& bytes) override
    {
        if (!Pieces.isEmpty() && Pieces.constFirst().isEmpty()) { // nothing until somebody waits
            Pieces.removeFirst();
            return false;
        }
        if (Reads >= kTooManyReads || (Pieces.isEmpty() && Endless.isEmpty()))
            return false;
        ++Reads;
        bytes += Pieces.isEmpty() ? Endless : Pieces.takeFirst();
        return true;
    }
    bool Wait(int timeoutMs) override
    {
        Waits.append(timeoutMs);
        return Waits.size() >= WaitsForPiece && !Pieces.isEmpty();
    }
    [[nodiscard]] bool IsToEnd() const override
    {
        return (EndAfterReads >= 0 && Reads >= EndAfterReads)
            || (EndAfterWaits >= 0 && Waits.size() >= EndAfterWaits);
    }

    QList<QByteArray> Pieces; // an empty one is a read that brings nothing
    QByteArray Endless; // comes behind them, at each read
    qsizetype WaitsForPiece = 1; // as many come to nothing before
    int EndAfterReads = -1;
    int EndAfterWaits = -1;
    int Reads = 0; // that have brought something
    QList<int> Waits; // their times
};

} // namespace

// How a receiver reads on. Whatever it is sent, it comes to an end.
class tst_MessageLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void ReadOn_takesAllThatIsThere();
    void ReadOn_waits_data();
    void ReadOn_waits();
    void ReadOn_waitsForEachPiece();
    void ReadOn_waitsInSteps();
    void ReadOn_waitsInVain();
    void ReadOn_littleInManyReads_data();
    void ReadOn_littleInManyReads();
    void ReadOn_countsReadsAnew();
    void ReadOn_enough_data();
    void ReadOn_enough();
    void ReadOn_threadEnds();
    void ReadOn_threadEndsWhileItWaits();
};

void tst_MessageLink::ReadOn_takesAllThatIsThere()
{
    Script source;
    source.Pieces = {"b", "c", "d", {}, "later"};
    QByteArray bytes = "a";
    ReadOn(source, bytes);
    QCOMPARE(bytes, QByteArray("abcd"));
    QCOMPARE(source.Waits, QList<int>());
}

void tst_MessageLink::ReadOn_waits_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<bool>("waits");

    const QByteArray nothing;
    const QByteArray noise(2 * kWholePiece, 'x');
    const QByteArray whole = WholeDocument(2 * kWholePiece);
    const auto row = [](const char* name, const QByteArray& first, const QByteArray& second, bool waits) {
        QTest::newRow(name) << first << second << waits;
    };
    row("small document, cut off", Beginning(kWholePiece - 1), nothing, false);
    row("large document, cut off", Beginning(kWholePiece), nothing, true);
    row("large document, cut off after the second read", Beginning(kWholePiece - 1), "x", true);
    row("large document, whole", whole, nothing, false);
    row("large document, whole, without line end", whole.chopped(1), nothing, false);
    row("large document, last character missing", whole.chopped(2), nothing, true);
    row("large document, end in the second read", whole.first(kWholePiece), whole.sliced(kWholePiece), false);
    row("large noise", noise, nothing, false);
    row("small beginning behind noise", noise + Beginning(kWholePiece - 1), nothing, false);
    row("large beginning behind noise", noise + Beginning(kWholePiece), nothing, true);
    row("large beginning behind a document", whole + Beginning(kWholePiece), nothing, true);
    row("small beginning behind a large one", Beginning(2 * kWholePiece) + Beginning(100), nothing, false);
    row("beginning in two reads", noise + Beginning(3), Beginning(kWholePiece).sliced(3), true);
}

void tst_MessageLink::ReadOn_waits()
{
    QFETCH(const QByteArray, first);
    QFETCH(const QByteArray, second);
    QFETCH(const bool, waits);

    Script source;
    if (!second.isEmpty())
        source.Pieces.append(second);
    QByteArray bytes = first;
    ReadOn(source, bytes);
    QVERIFY(bytes == first + second);
    QCOMPARE(!source.Waits.isEmpty(), waits);
}

void tst_MessageLink::ReadOn_waitsForEachPiece()
{
    const QByteArray document = WholeDocument(4 * kWholePiece);
    Script source;
    for (qsizetype at = kWholePiece; at < document.size(); at += kWholePiece)
        source.Pieces += {QByteArray(), document.sliced(at, kWholePiece)};
    QByteArray bytes = document.first(kWholePiece);
    ReadOn(source, bytes);
    QVERIFY(bytes == document);
    QCOMPARE(source.Waits.size(), 3);
}

void tst_MessageLink::ReadOn_waitsInSteps()
{
    const QByteArray document = WholeDocument(2 * kWholePiece);
    Script source;
    source.Pieces = {QByteArray(), document.sliced(kWholePiece)};
    source.WaitsForPiece = 10; // the last one in half a second
    QByteArray bytes = document.first(kWholePiece);
    ReadOn(source, bytes);
    QVERIFY(bytes == document);
    QCOMPARE(source.Waits, QList<int>(10, 50));
}

void tst_MessageLink::ReadOn_waitsInVain()
{
    Script source;
    source.Pieces = {QByteArray(), "too late"};
    source.WaitsForPiece = 11;
    QByteArray bytes = Beginning(kWholePiece);
    ReadOn(source, bytes);
    QVERIFY(bytes == Beginning(kWholePiece));
    QCOMPARE(std::accumulate(source.Waits.cbegin(), source.Waits.cend(), 0), 500);
}

void tst_MessageLink::ReadOn_littleInManyReads_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("stops");

    // 64 reads are to bring 32 KiB.
    QTest::newRow("single bytes of noise") << QByteArray("x") << 1 << true;
    QTest::newRow("single bytes of a document") << Beginning(kWholePiece) << 1 << true;
    QTest::newRow("just too little") << Beginning(kWholePiece) << 511 << true;
    QTest::newRow("just as much") << Beginning(kWholePiece) << 512 << false;
}

void tst_MessageLink::ReadOn_littleInManyReads()
{
    QFETCH(const QByteArray, first);
    QFETCH(const int, size);
    QFETCH(const bool, stops);

    Script source;
    source.Endless = QByteArray(size, 'x');
    QByteArray bytes = first;
    ReadOn(source, bytes);
    QCOMPARE(source.Reads, stops ? 64 : kTooManyReads);
    QCOMPARE(bytes.size(), first.size() + source.Reads * size);
}

void tst_MessageLink::ReadOn_countsReadsAnew()
{
    Script source;
    source.Pieces = QList<QByteArray>(63, "x") + QList<QByteArray>{QByteArray(kWholePiece, 'x')};
    source.Endless = "x";
    QByteArray bytes = "x";
    ReadOn(source, bytes);
    QCOMPARE(source.Reads, 64 + 64);
}

void tst_MessageLink::ReadOn_enough_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<qsizetype>("most");

    QTest::newRow("noise") << QByteArray(1, 'x') << 4 * kMiB;
    QTest::newRow("document without end") << Beginning(kWholePiece) << 64 * kMiB;
}

void tst_MessageLink::ReadOn_enough()
{
    QFETCH(const QByteArray, first);
    QFETCH(const qsizetype, most);

    Script source;
    source.Endless = QByteArray(kMiB / 8, 'x');
    QByteArray bytes = first;
    ReadOn(source, bytes);
    QCOMPARE(source.Reads, static_cast<int>((most - first.size()) / source.Endless.size()) + 1);
}

void tst_MessageLink::ReadOn_threadEnds()
{
    Script source;
    source.Endless = QByteArray(kWholePiece, 'x');
    source.EndAfterReads = 5;
    QByteArray bytes = Beginning(kWholePiece);
    ReadOn(source, bytes);
    QCOMPARE(source.Reads, 5);
}

void tst_MessageLink::ReadOn_threadEndsWhileItWaits()
{
    Script source;
    source.Pieces = {QByteArray(), "too late"};
    source.WaitsForPiece = 4;
    source.EndAfterWaits = 3;
    QByteArray bytes = Beginning(kWholePiece);
    ReadOn(source, bytes);
    QCOMPARE(source.Waits.size(), 3);
    QCOMPARE(source.Reads, 0);
}

QTEST_GUILESS_MAIN(tst_MessageLink)

#include "tst_MessageLink.moc"
