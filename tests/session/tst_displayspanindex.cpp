#include "session/displayspanindex.h"

#include <QtTest>

namespace {
DisplaySpan span(qint64 start, const QByteArray &bytes, int length = -1)
{
    DisplaySpan s;
    s.docStart = start;
    s.docLength = length < 0 ? int(bytes.size()) : length;
    s.bytes = bytes;
    s.isUtf8 = true;
    s.timeUs = start * 1000;
    return s;
}

qint64 sumOfBytes(const DisplaySpanIndex &index)
{
    qint64 sum = 0;
    for (const DisplaySpan &s : index.spans()) {
        sum += s.bytes.size();
    }
    return sum;
}
} // namespace

class TestDisplaySpanIndex : public QObject
{
    Q_OBJECT
private slots:
    void merge_data();
    void merge();
    void oneByteReadsMergeUpToLineEnds();
    void chain_data();
    void chain();
    void chainOfOneDirectionLeavesTheOtherAlone();
    void evictionMovesCoversFrom();
    void trimFrontDropsStraddlingSpan();
    void lookupByStreamPosition_data();
    void lookupByStreamPosition();
    void refusesSpansOutOfOrder();
    void clearStartsANewStream();
};

void TestDisplaySpanIndex::merge_data()
{
    // The first span holds `first` at 0 in `firstHex` view; the second is "x" (or
    // `secondBytes`) placed at `gap` characters after it, changed by `change`.
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<int>("gap");
    QTest::addColumn<QString>("change");
    QTest::addColumn<bool>("merged");

    const QByteArray full(4000, 'a');
    QTest::newRow("one-byte reads")
        << QByteArray("a") << false << QByteArray("b") << 0 << "" << true;
    QTest::newRow("after line feed")
        << QByteArray("a\n") << false << QByteArray("b") << 0 << "" << false;
    QTest::newRow("after carriage return")
        << QByteArray("a\r") << false << QByteArray("b") << 0 << "" << false;
    QTest::newRow("hex goes on after a line feed byte")
        << QByteArray("a\n") << true << QByteArray("b") << 0 << "" << true;
    QTest::newRow("hex reaches 4096") << full << true << QByteArray(96, 'b') << 0 << "" << true;
    QTest::newRow("hex beyond 4096") << full << true << QByteArray(97, 'b') << 0 << "" << false;
    QTest::newRow("text has no size limit")
        << full << false << QByteArray(97, 'b') << 0 << "" << true;
    QTest::newRow("not adjacent") << QByteArray("a") << false << QByteArray("b") << 1 << ""
                                  << false;
    QTest::newRow("other direction")
        << QByteArray("a") << false << QByteArray("b") << 0 << "tx" << false;
    QTest::newRow("other peer") << QByteArray("a") << false << QByteArray("b") << 0 << "peer"
                                << false;
    QTest::newRow("stamped second")
        << QByteArray("a") << false << QByteArray("b") << 0 << "stamp" << false;
    QTest::newRow("second has a prefix")
        << QByteArray("a") << false << QByteArray("b") << 0 << "prefix" << false;
    QTest::newRow("other view format")
        << QByteArray("a") << false << QByteArray("b") << 0 << "hex" << false;
    QTest::newRow("local echo") << QByteArray("a") << false << QByteArray("b") << 0 << "echo"
                                << false;
}

void TestDisplaySpanIndex::merge()
{
    QFETCH(QByteArray, first);
    QFETCH(bool, hex);
    QFETCH(QByteArray, second);
    QFETCH(int, gap);
    QFETCH(QString, change);

    DisplaySpanIndex index;
    DisplaySpan a = span(0, first);
    a.isHex = hex;
    QVERIFY(index.append(a));
    DisplaySpan b = span(a.docEnd() + gap, second);
    b.isHex = hex;
    b.isTx = change == "tx";
    b.peer = change == "peer" ? "10.0.0.1:5000" : "";
    b.timestampText = change == "stamp" ? "[12:00] " : "";
    b.prefixLength = change == "prefix" ? 1 : 0;
    b.isHex = change == "hex" ? !hex : hex;
    b.isLocalEcho = change == "echo";

    QFETCH(bool, merged);
    QCOMPARE(index.continues(b, b.docStart), merged);
    QVERIFY(index.append(b));
    QCOMPARE(index.size(), merged ? 1 : 2);
    QCOMPARE(index.byteTotal(), first.size() + second.size());
    if (merged) {
        QCOMPARE(index.spans().front().bytes, first + second);
        QCOMPARE(index.spans().front().docEnd(), b.docEnd());
        QCOMPARE(index.spans().front().timeUs, a.timeUs); // the run keeps its first time
    }
}

void TestDisplaySpanIndex::oneByteReadsMergeUpToLineEnds()
{
    DisplaySpanIndex index;
    const QByteArray stream = QByteArray("line one\nline two\r\nthree").repeated(50);
    for (char c : stream) {
        QVERIFY(index.append(
            span(index.isEmpty() ? 0 : index.spans().back().docEnd(), QByteArray(1, c))));
    }
    // A span ends at either line-end byte, so "\r\n" leaves the "\n" on its own.
    QCOMPARE(index.size(), 151);
    QCOMPARE(index.byteTotal(), stream.size());
    QCOMPARE(index.spans().front().bytes, QByteArray("line one\n"));
    QCOMPARE(index.spans().at(1).bytes, QByteArray("line two\r"));
    QCOMPARE(index.spans().at(2).bytes, QByteArray("\n"));
    QCOMPARE(index.spans().at(3).bytes, QByteArray("threeline one\n"));
    QCOMPARE(index.spans().back().bytes, QByteArray("three"));
}

void TestDisplaySpanIndex::chain_data()
{
    // Breaks are written "peer:bytes", each a block that showed no text; the span then
    // appended is "x" of peer `next` at the end of the first span "a\n".
    QTest::addColumn<QStringList>("breaks");
    QTest::addColumn<QString>("next");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("missing");

    QTest::newRow("line feed joins the next span")
        << QStringList{":\n"} << "" << QByteArray("\nx") << false;
    QTest::newRow("several blocks in order")
        << QStringList{":\n", ":\r\n"} << "" << QByteArray("\n\r\nx") << false;
    QTest::newRow("empty block only breaks") << QStringList{":"} << "" << QByteArray("x") << false;
    QTest::newRow("block of another peer is dropped")
        << QStringList{"p1:\n", "p2:\n"} << "p1" << QByteArray("\nx") << true;
    QTest::newRow("next span of another peer")
        << QStringList{"p1:\n"} << "p2" << QByteArray("x") << true;
    QTest::newRow("collection stays within 4096")
        << QStringList{":" + QString(4095, '\n'), ":\n", ":\n"} << ""
        << QByteArray(4096, '\n') + "x" << true;
    QTest::newRow("nothing after a drop is kept")
        << QStringList{":" + QString(4096, '\n'), ":\n", ":\r"} << ""
        << QByteArray(4096, '\n') + "x" << true;
}

void TestDisplaySpanIndex::chain()
{
    QFETCH(QStringList, breaks);
    QFETCH(QString, next);

    DisplaySpanIndex index;
    DisplaySpan first = span(0, "a\n");
    first.peer = next;
    QVERIFY(index.append(first));
    for (const QString &b : breaks) {
        const qsizetype colon = b.indexOf(':');
        index.breakChain(b.mid(colon + 1).toLatin1(), Received, b.left(colon));
    }
    DisplaySpan x = span(2, "x");
    x.peer = next;
    QVERIFY(!index.continues(x, 2)); // a broken chain never merges
    QVERIFY(index.append(x));

    QCOMPARE(index.size(), 2);
    QTEST(index.spans().back().bytes, "bytes");
    QTEST(index.spans().back().bytesMissing, "missing");
    QCOMPARE(index.byteTotal(), sumOfBytes(index));
    QVERIFY(index.chainBytes(Received).isEmpty());

    // The chain is spent: the next adjacent span merges again.
    DisplaySpan y = span(3, "y");
    y.peer = next;
    QVERIFY(index.append(y));
    QCOMPARE(index.size(), 2);
    QVERIFY(index.spans().back().bytes.endsWith("xy"));
}

void TestDisplaySpanIndex::chainOfOneDirectionLeavesTheOtherAlone()
{
    DisplaySpanIndex index;
    DisplaySpan tx = span(0, "AT");
    tx.isTx = true;
    QVERIFY(index.append(tx));
    index.breakChain("\n", Received, {});
    DisplaySpan more = span(2, "+X");
    more.isTx = true;
    QVERIFY(index.append(more));
    QCOMPARE(index.size(), 1);
    QCOMPARE(index.spans().front().bytes, QByteArray("AT+X"));
    QCOMPARE(index.chainBytes(Received), QByteArray("\n"));
    QVERIFY(index.append(span(4, "OK")));
    QCOMPARE(index.spans().back().bytes, QByteArray("\nOK"));
}

void TestDisplaySpanIndex::evictionMovesCoversFrom()
{
    DisplaySpanIndex index(10);
    QCOMPARE(DisplaySpanIndex(0).budget(), 1);
    QCOMPARE(DisplaySpanIndex().budget(), 4194304);

    for (int i = 0; i < 3; ++i) {
        DisplaySpan s = span(i * 6, "abc\n", 4);
        s.prefixLength = 2; // a stamp of two characters in front of each
        QVERIFY(index.append(s));
    }
    // 12 bytes over a budget of 10: the oldest span goes, and with it positions 0..5.
    QCOMPARE(index.size(), 2);
    QCOMPARE(index.byteTotal(), 8);
    QCOMPARE(index.coversFrom(), 6);
    QCOMPARE(index.firstDocStart(), 6);

    // A span larger than the budget evicts all others, but stays itself.
    QVERIFY(index.append(span(18, QByteArray(25, 'z'))));
    QCOMPARE(index.size(), 1);
    QCOMPARE(index.byteTotal(), 25);
    QCOMPARE(index.coversFrom(), 18);

    index.setBudget(1000);
    QVERIFY(index.append(span(44, "q")));
    QCOMPARE(index.coversFrom(), 18);
    QCOMPARE(index.size(), 2);
}

void TestDisplaySpanIndex::trimFrontDropsStraddlingSpan()
{
    DisplaySpanIndex index;
    QVERIFY(index.append(span(0, "0123\n")));
    QVERIFY(index.append(span(5, "5678\n")));
    QVERIFY(index.append(span(10, "abcd\n")));

    index.trimFront(0);
    QCOMPARE(index.size(), 3);
    index.trimFront(7); // the document now starts inside the second span
    QCOMPARE(index.trimmedChars(), 7);
    QCOMPARE(index.size(), 1);
    QCOMPARE(index.firstDocStart(), 10);
    QCOMPARE(index.coversFrom(), 10);
    QCOMPARE(index.byteTotal(), 5);

    index.trimFront(3); // exactly to the start of the last span: it stays
    QCOMPARE(index.size(), 1);
    QCOMPARE(index.coversFrom(), 10);
    index.trimFront(10);
    QVERIFY(index.isEmpty());
    QCOMPARE(index.byteTotal(), 0);
    QCOMPARE(index.coversFrom(), 20);
    QCOMPARE(index.firstDocStart(), -1);
}

void TestDisplaySpanIndex::lookupByStreamPosition_data()
{
    QTest::addColumn<qint64>("position");
    QTest::addColumn<qint64>("timeUs");
    QTest::addColumn<int>("count"); // spans intersecting [position, position + 3)

    // Spans: [100,105) "hello"; [105,110) stamp of 3 + "ab"; empty echo span at 110;
    // [112,114) after a gap of two characters of system text.
    QTest::newRow("before all") << qint64(50) << qint64(-1) << 0;
    QTest::newRow("first character") << qint64(100) << qint64(100000) << 1;
    QTest::newRow("across a boundary") << qint64(103) << qint64(100000) << 2;
    QTest::newRow("inside the stamp") << qint64(106) << qint64(105000) << 1;
    QTest::newRow("empty span's place") << qint64(110) << qint64(-1) << 2;
    QTest::newRow("in the gap") << qint64(111) << qint64(-1) << 1;
    QTest::newRow("last character") << qint64(113) << qint64(112000) << 1;
    QTest::newRow("past the end") << qint64(114) << qint64(-1) << 0;
}

void TestDisplaySpanIndex::lookupByStreamPosition()
{
    DisplaySpanIndex index;
    index.trimFront(100); // positions count from the start of the stream
    QVERIFY(index.append(span(100, "hello")));
    DisplaySpan stamped = span(105, "ab");
    stamped.prefixLength = 3;
    stamped.timestampText = "[] ";
    QVERIFY(index.append(stamped));
    DisplaySpan echo = span(110, "x", 0);
    echo.isLocalEcho = true;
    QVERIFY(index.append(echo));
    QVERIFY(index.append(span(112, "zz")));

    QFETCH(qint64, position);
    QTEST(index.timeUsAt(position), "timeUs");
    QTEST(int(index.intersecting(position, position + 3).size()), "count");
    QCOMPARE(index.intersecting(position, position).size(), 0);
}

void TestDisplaySpanIndex::refusesSpansOutOfOrder()
{
    DisplaySpanIndex index;
    QVERIFY(index.append(span(0, "abc")));
    QVERIFY(!index.append(span(2, "late")));
    DisplaySpan negative = span(3, "n");
    negative.docLength = -1;
    QVERIFY(!index.append(negative));
    QCOMPARE(index.size(), 1);
    QCOMPARE(index.byteTotal(), 3);
    index.trimFront(10);
    QVERIFY(!index.append(span(8, "before the front")));
    QVERIFY(index.append(span(10, "ok")));
}

void TestDisplaySpanIndex::clearStartsANewStream()
{
    DisplaySpanIndex index(4);
    QVERIFY(index.append(span(0, "abc\n")));
    QVERIFY(index.append(span(4, "defg")));
    index.breakChain("\n", Sent, {});
    index.trimFront(2);
    index.clear();
    QVERIFY(index.isEmpty());
    QCOMPARE(index.byteTotal(), 0);
    QCOMPARE(index.coversFrom(), 0);
    QCOMPARE(index.trimmedChars(), 0);
    QVERIFY(index.chainBytes(Sent).isEmpty());
    QCOMPARE(index.budget(), 4);
    QVERIFY(index.append(span(0, "new")));
}

QTEST_GUILESS_MAIN(TestDisplaySpanIndex)
#include "tst_displayspanindex.moc"
