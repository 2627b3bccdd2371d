#include "session/ansiescapefilter.h"

#include <QtTest>

class TestAnsiEscapeFilter : public QObject
{
    Q_OBJECT
private slots:
    void stateTable_data();
    void stateTable();
    void colourSplitAcrossReadsVanishes();
    void escRunInStringStaysBounded();
    void resetForgetsAnUnfinishedSequence();
};

void TestAnsiEscapeFilter::stateTable_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<bool>("eightBit");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<int>("state"); // after the input: 0 text, 1 after ESC, 2 CSI, 3 string,
                                    // 4 ESC in string
    const QByteArray esc("\x1b");
    const QByteArray params300(300, '1');

    QTest::newRow("plain text") << QByteArray("hello\r\n") << false << QByteArray("hello\r\n") << 0;
    QTest::newRow("colour commands")
        << QByteArray("\x1b[1;31mred\x1b[0m!") << false << QByteArray("red!") << 0;
    QTest::newRow("private cursor command")
        << QByteArray("a\x1b[?25lb") << false << QByteArray("ab") << 0;
    QTest::newRow("ESC and another byte is data")
        << QByteArray("\x1b(B") << false << QByteArray("\x1b(B") << 0;
    QTest::newRow("ESC ESC is data")
        << QByteArray("\x1b\x1b[31m") << false << QByteArray("\x1b\x1b[31m") << 0;
    QTest::newRow("ESC at the end waits") << QByteArray("ab\x1b") << false << QByteArray("ab") << 1;
    QTest::newRow("ESC restarts a CSI")
        << QByteArray("\x1b[12\x1b[0mX") << false << QByteArray("\x1b[12X") << 0;
    QTest::newRow("control byte breaks a CSI")
        << QByteArray("\x1b[1\nX") << false << QByteArray("\x1b[1\nX") << 0;
    QTest::newRow("unfinished CSI waits") << QByteArray("\x1b[38;5") << false << QByteArray() << 2;
    QTest::newRow("CSI of 256 bytes ends")
        << esc + "[" + QByteArray(254, '1') + "m." << false << QByteArray(".") << 0;
    QTest::newRow("CSI of 257 bytes is data") << esc + "[" + QByteArray(255, '1') + "m" << false
                                              << esc + "[" + QByteArray(255, '1') + "m" << 0;
    QTest::newRow("CSI with 300 parameters is data")
        << esc + "[" + params300 + "m" << false << esc + "[" + params300 + "m" << 0;
    QTest::newRow("OSC ended by BEL") << QByteArray("\x1b]0;title\x07"
                                                    "after")
                                      << false << QByteArray("after") << 0;
    QTest::newRow("OSC ended by ESC backslash")
        << QByteArray("\x1b]0;t\x1b\\after") << false << QByteArray("after") << 0;
    QTest::newRow("OSC cut by CR")
        << QByteArray("\x1b]0;t\rafter") << false << QByteArray("\rafter") << 0;
    QTest::newRow("OSC cut by LF after ESC")
        << QByteArray("\x1b]0;t\x1b\nafter") << false << QByteArray("\nafter") << 0;
    QTest::newRow("BEL after ESC in OSC goes on")
        << QByteArray("\x1b]x\x1b\x07y\x07z") << false << QByteArray("z") << 0;
    QTest::newRow("ESC ESC in OSC waits")
        << QByteArray("\x1b]x\x1b\x1b") << false << QByteArray() << 4;
    QTest::newRow("unfinished OSC waits") << QByteArray("\x1b]0;abc") << false << QByteArray() << 3;
    QTest::newRow("OSC of 4097 bytes ends")
        << esc + "]" + QByteArray(4094, 'a') + "\x07" << false << QByteArray() << 0;
    QTest::newRow("OSC over 4096 bytes is data")
        << esc + "]" + QByteArray(4095, 'a') + "\x07" << false
        << esc + "]" + QByteArray(4095, 'a') + "\x07" << 0;
    QTest::newRow("UTF-8 e caron passes") << QByteArray("\xc4\x9b\xc4\x9d\xc2\x9c") << false
                                          << QByteArray("\xc4\x9b\xc4\x9d\xc2\x9c") << 0;
    QTest::newRow("8-bit CSI off") << QByteArray("\x9b"
                                                 "31mX")
                                   << false
                                   << QByteArray("\x9b"
                                                 "31mX")
                                   << 0;
    QTest::newRow("8-bit CSI on") << QByteArray("\x9b"
                                                "31mX")
                                  << true << QByteArray("X") << 0;
    QTest::newRow("8-bit OSC on, 8-bit ST") << QByteArray("\x9d"
                                                          "0;t\x9cX")
                                            << true << QByteArray("X") << 0;
    QTest::newRow("8-bit ST after ESC")
        << QByteArray("\x1b]0;t\x1b\x9cX") << true << QByteArray("X") << 0;
    QTest::newRow("8-bit ST off is string content")
        << QByteArray("\x1b]0;t\x9cX") << false << QByteArray() << 3;
    QTest::newRow("8-bit on, plain text fast")
        << QByteArray("plain") << true << QByteArray("plain") << 0;
}

void TestAnsiEscapeFilter::stateTable()
{
    QFETCH(QByteArray, input);
    QFETCH(bool, eightBit);
    QFETCH(QByteArray, output);
    QFETCH(int, state);

    AnsiEscapeFilter whole;
    whole.setEightBitControls(eightBit);
    QCOMPARE(whole.process(input), output);
    QCOMPARE(whole.state(), state);
    QCOMPARE(whole.pendingBytes().isEmpty(), state == 0);

    // The same bytes split in two at every position, and fed byte by byte, give the same
    // output and leave the same state and pending bytes.
    for (qsizetype cut = 0; cut <= input.size(); ++cut) {
        AnsiEscapeFilter split;
        split.setEightBitControls(eightBit);
        QByteArray out = split.process(input.left(cut));
        out += split.process(input.mid(cut));
        QVERIFY2(out == output, qPrintable(QString("cut at %1").arg(cut)));
        QCOMPARE(split.state(), state);
        QCOMPARE(split.pendingBytes(), whole.pendingBytes());
    }
    AnsiEscapeFilter bytewise;
    bytewise.setEightBitControls(eightBit);
    QByteArray out;
    for (char c : input) {
        out += bytewise.process(QByteArray(1, c));
    }
    QCOMPARE(out, output);
}

void TestAnsiEscapeFilter::colourSplitAcrossReadsVanishes()
{
    AnsiEscapeFilter filter;
    QCOMPARE(filter.process("ab\x1b"), QByteArray("ab"));
    QCOMPARE(filter.process("[3"), QByteArray());
    QCOMPARE(filter.process("1mcd"), QByteArray("cd"));
    QCOMPARE(filter.state(), 0);
}

void TestAnsiEscapeFilter::escRunInStringStaysBounded()
{
    // A string followed by a long run of ESC bytes: the run may not hold the filter in
    // its ESC-in-string state with an ever-growing buffer.
    AnsiEscapeFilter filter;
    const QByteArray input = QByteArray("\x1b]") + QByteArray(5000, '\x1b') + "x";
    QByteArray out;
    qsizetype longest = 0;
    for (char c : input) {
        out += filter.process(QByteArray(1, c));
        longest = std::max(longest, filter.pendingBytes().size());
    }
    QCOMPARE(longest, 4096); // the byte that makes 4097 flushes at once
    QCOMPARE(out, input);    // all of it comes through as data, nothing lost
    QCOMPARE(filter.state(), 0);
}

void TestAnsiEscapeFilter::resetForgetsAnUnfinishedSequence()
{
    AnsiEscapeFilter filter;
    QCOMPARE(filter.process("\x1b]0;title"), QByteArray());
    filter.reset();
    QCOMPARE(filter.state(), 0);
    QVERIFY(filter.pendingBytes().isEmpty());
    QCOMPARE(filter.process("\x07next"), QByteArray("\x07next"));
}

QTEST_GUILESS_MAIN(TestAnsiEscapeFilter)
#include "tst_ansiescapefilter.moc"
