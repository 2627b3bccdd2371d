#include "bridge/bridgeframer.h"

#include <QtTest>

class TestBridgeFramer : public QObject
{
    Q_OBJECT
private slots:
    void framing_data();
    void framing();
    void sanitized();
};

void TestBridgeFramer::framing_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("delimiter");
    QTest::addColumn<int>("length"); // fixedLength and maxBytes, 0 for the defaults
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("frames");
    QTest::addColumn<int>("cuts");

    // The script: "i<ms>:<text>" ingests, "t<ms>" ticks, "f" flushes, "n<ms>=<delay>"
    // checks nextTimeoutMs. The frames are written "[...]" in the order they came out.
    QTest::newRow("at once") << 0 << QByteArray() << 0 << "n0=-1 i0:ab i1:c n1=-1"
                             << "[ab][c]" << 0;
    QTest::newRow("at once, oversize") << 0 << QByteArray() << 4 << "i0:abcdefghij"
                                       << "[abcd][efgh][ij]" << 2;
    QTest::newRow("a delimiter split over two reads")
        << 2 << QByteArray("XY") << 0 << "i0:abX n0=200 i1:YcdX i2:Y i3:e t202 t203"
        << "[abXY][cdXY][e]" << 0;
    QTest::newRow("a delimiter frame over maxBytes")
        << 2 << QByteArray(";") << 4 << "i0:abcdef;gh f"
        << "[abcd][ef;][gh]" << 1;
    QTest::newRow("a delimiter split by a cut at maxBytes is none, as byte by byte")
        << 2 << QByteArray("XY") << 4 << "i0:abcXYdXY" << "[abcX][YdXY]" << 1;
    QTest::newRow("a delimiter never seen") << 2 << QByteArray(";") << 4 << "i0:ab i1:cdefg n1=200"
                                            << "[abcd]" << 1;
    QTest::newRow("fixed length") << 3 << QByteArray() << 4 << "i0:abcdefghij n0=200 t199 t200"
                                  << "[abcd][efgh][ij]" << 0;
    QTest::newRow("idle gap") << 1 << QByteArray() << 0 << "i0:ab i3:cd n3=4 t6 t7 i8:e f"
                              << "[abcd][e]" << 0;
    QString burst;
    for (int ms = 0; ms <= 210; ms += 3) {
        burst += QStringLiteral("i%1:x t%2 ").arg(ms).arg(ms + 2);
    }
    QTest::newRow("a burst without a pause leaves at the hold time")
        << 1 << QByteArray() << 0 << burst + "f"
        << "[" + QString(67, u'x') + "][" + QString(4, u'x') + "]" << 0;
    QTest::newRow("5000 bytes under 4096")
        << 1 << QByteArray() << 0 << "i0:" + QString(5000, u'z') + " f"
        << "[" + QString(4096, u'z') + "][" + QString(904, u'z') + "]" << 1;
}

void TestBridgeFramer::framing()
{
    QFETCH(int, mode);
    QFETCH(QByteArray, delimiter);
    QFETCH(int, length);
    QFETCH(QString, script);
    FramingPolicy policy;
    policy.mode = mode;
    policy.delimiter = delimiter;
    if (length) {
        policy.fixedLength = policy.maxBytes = length;
    }
    BridgeFramer framer(policy);
    QString got;
    QByteArray passed;
    QByteArray left;
    const auto record = [&](const QList<QByteArray> &frames) {
        for (const QByteArray &frame : frames) {
            QVERIFY(!frame.isEmpty() && frame.size() <= framer.policy().maxBytes);
            got += u'[' + QString::fromLatin1(frame) + u']';
            left += frame;
        }
    };
    for (const QString &op : script.split(u' ')) {
        const qint64 ms =
            op.mid(1).section(QRegularExpression(QStringLiteral("[:=]")), 0, 0).toLongLong();
        if (op.startsWith(u'i')) {
            const QByteArray bytes = op.section(u':', 1).toLatin1();
            passed += bytes;
            record(framer.ingest(bytes, ms));
        } else if (op.startsWith(u't')) {
            record(framer.tick(ms));
        } else if (op.startsWith(u'f')) {
            record(framer.flush());
        } else {
            QCOMPARE(framer.nextTimeoutMs(ms), op.section(u'=', 1).toInt());
        }
    }
    QTEST(got, "frames");
    // Every byte leaves once, in order, or is still held.
    QCOMPARE(left, passed.first(left.size()));
    QCOMPARE(left.size() + framer.heldBytes(), passed.size());
    QTEST(int(framer.oversizeCuts()), "cuts");
}

void TestBridgeFramer::sanitized()
{
    FramingPolicy p;
    p.mode = 2;
    p.delimiter.clear();
    QCOMPARE(p.sanitized().mode, FramingPolicy::AtOnce);
    p = FramingPolicy{7, 0, "ABCDEF", 0, 0, 90000};
    const FramingPolicy unknown = p.sanitized();
    QCOMPARE(unknown.mode, FramingPolicy::AtOnce);
    QCOMPARE(unknown.idleGapMs, 1);
    QCOMPARE(unknown.fixedLength, 1);
    QCOMPARE(unknown.maxHoldMs, 60000);
    p.mode = FramingPolicy::Delimiter;
    QCOMPARE(p.sanitized().maxBytes, 6);
    p = FramingPolicy{FramingPolicy::FixedLength, 4, "\n", 2000000, 10, 200};
    QCOMPARE(p.sanitized().fixedLength, 1048576);
    QCOMPARE(p.sanitized().maxBytes, 1048576);
}

QTEST_APPLESS_MAIN(TestBridgeFramer)
#include "tst_bridgeframer.moc"
