#include "session/messagecodec.h"
#include "session/wiretextcodecregistry.h"

#include <QtTest>

// The decode side: the text that blocks of received and sent bytes become in the view
// and in the log.
namespace {

const QDateTime baseTime(QDate(2024, 1, 2), QTime(12, 0, 0));

// A record line: direction ('R' received, 'T' sent, 'E' local echo), a time in ms
// after baseTime, and the bytes, separated by single blanks.
rxData record(const QByteArray &line)
{
    const qsizetype first = line.indexOf(' ');
    const qsizetype second = line.indexOf(' ', first + 1);
    rxData rx;
    rx.direction = line.at(0) == 'R' ? Received : Sent;
    rx.isLocalEcho = line.at(0) == 'E';
    rx.time = baseTime.addMSecs(line.mid(first + 1, second - first - 1).toInt());
    rx.data = line.mid(second + 1);
    rx.raw = rx.data;
    return rx;
}

FormatSetting formatFor(bool rxHex, bool txHex, bool stamps, bool autoFeed)
{
    FormatSetting format;
    format.receiveMsgFormat = rxHex ? HexFormat : TextFormat;
    format.sendMsgFormat = txHex ? HexFormat : TextFormat;
    format.displayMsgTime = stamps;
    format.rxAutoFeedLine = autoFeed;
    format.autoFeedInterval = 20;
    format.rxTimeFormat = "<zzz> ";
    format.txTimeFormat = "{zzz} ";
    return format;
}

void addColumns()
{
    QTest::addColumn<bool>("rxHex");
    QTest::addColumn<bool>("txHex");
    QTest::addColumn<bool>("stamps");
    QTest::addColumn<bool>("autoFeed");
    QTest::addColumn<QByteArrayList>("records");
    QTest::addColumn<QStringList>("expected");
}

} // namespace

class TestMessageCodecDecode : public QObject
{
    Q_OBJECT
private slots:
    void toHexString();
    void sanitizeText_data();
    void sanitizeText();
    void insertTimeStamp_data();
    void insertTimeStamp();
    void decodeWireTextWithoutDecoder();
    void decodeForUi_data();
    void decodeForUi();
    void decodeForUiKeepsTimes();
    void decodeForLog_data();
    void decodeForLog();
};

void TestMessageCodecDecode::toHexString()
{
    QCOMPARE(MessageCodec::toHexString(QByteArray()), QString());
    QCOMPARE(MessageCodec::toHexString(QByteArray("\x00\xFF\x41\x0a", 4)), QString("00 FF 41 0A "));
}

void TestMessageCodecDecode::sanitizeText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const QString square(QChar(0x25A1));
    QTest::newRow("C0 control") << QString("a") + QChar(1) << "a" + square;
    QTest::newRow("tab, CR, LF stay") << "\t\r\n"
                                      << "\t\r\n";
    QTest::newRow("DEL") << QString(QChar(0x7F)) << square;
    QTest::newRow("C1 control") << QString(QChar(0x85)) << square;
    QTest::newRow("NUL") << QString(QChar(0)) << square;
    QTest::newRow("format characters stay") << QString(QChar(0x200B)) << QString(QChar(0x200B));
    QTest::newRow("replacement character stays")
        << QString(QChar(0xFFFD)) << QString(QChar(0xFFFD));
}

void TestMessageCodecDecode::sanitizeText()
{
    QFETCH(QString, text);
    QTEST(MessageCodec::sanitizeText(text), "shown");
}

void TestMessageCodecDecode::insertTimeStamp_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("stamped");
    QTest::newRow("one line") << "a"
                              << "Sa";
    QTest::newRow("final LF held back") << "a\n"
                                        << "Sa\n";
    QTest::newRow("CR LF") << "a\r\nb\r\n"
                           << "Sa\nSb\n";
    QTest::newRow("LF CR") << "a\n\rb"
                           << "Sa\nSb";
    QTest::newRow("lone CR goes") << "a\rb\r"
                                  << "Sab";
    QTest::newRow("empty line keeps its stamp") << "a\n\nb"
                                                << "Sa\nS\nSb";
    QTest::newRow("LF alone") << "\n"
                              << "S\n";
    QTest::newRow("LF CR LF") << "a\n\r\nb"
                              << "Sa\nS\nSb";
}

void TestMessageCodecDecode::insertTimeStamp()
{
    QFETCH(QString, text);
    QTEST(MessageCodec::insertTimeStamp(text, "S"), "stamped");
}

void TestMessageCodecDecode::decodeWireTextWithoutDecoder()
{
    QCOMPARE(MessageCodec::decodeWireText("\xD6\xD0\x01", nullptr, "GBK"),
             QString("中") + QChar(0x25A1));
    const auto decoder = WireTextCodecRegistry::createDecoder("UTF-8");
    QCOMPARE(MessageCodec::decodeWireText("\xE4\xB8", decoder.get(), "GBK"), QString());
    QCOMPARE(MessageCodec::decodeWireText("\xAD", decoder.get(), "GBK"), QString("中"));
}

void TestMessageCodecDecode::decodeForUi_data()
{
    addColumns();
    // Expected entries: "<prefixLength>:<text>".
    QTest::newRow("text without feed")
        << false << false << false << false << QByteArrayList{"R 0 ab", "R 50 cd"}
        << QStringList{"0:ab", "0:cd"};
    QTest::newRow("text gap starts a line, not at line start only")
        << false << false << false << true
        << QByteArrayList{"R 0 ab", "R 10 cd", "R 40 ef\n", "R 90 gh"}
        << QStringList{"0:ab", "0:cd", "1:\nef\n", "0:gh"};
    QTest::newRow("gap counts from the first half of a split character")
        << false << false << false << true << QByteArrayList{"R 0 ab", "R 50 \xE4", "R 52 \xB8\xAD"}
        << QStringList{"0:ab", "0:", "1:\n中"};
    QTest::newRow("controls become squares")
        << false << false << false << false << QByteArrayList{"R 0 \x01\tx"}
        << QStringList{"0:\u25A1\tx"};

    // A stream with 3 ms gaps stays on one line; a 25 ms gap starts a new one.
    QByteArrayList stream;
    QStringList streamText;
    for (int i = 0; i <= 20; ++i) {
        stream << "R " + QByteArray::number(i * 3) + " " + char('A' + i);
        streamText << QString("0:%1 ").arg(0x41 + i, 2, 16).toUpper();
    }
    stream << "R 85 Z";
    streamText << "1:\n5A ";
    QTest::newRow("hex gap rule") << true << false << false << true << stream << streamText;
    QTest::newRow("hex without gap rule")
        << true << false << false << false << QByteArrayList{"R 0 A", "R 100 B"}
        << QStringList{"0:41 ", "0:42 "};

    QTest::newRow("sent text breaks an open line")
        << false << false << false << false << QByteArrayList{"R 0 ab", "T 5 hi", "R 10 cd"}
        << QStringList{"0:ab", "1:\nhi", "0:cd"};
    QTest::newRow("sent hex ends its line")
        << false << true << false << false
        << QByteArrayList{"T 0 AB", "R 3 ab", "T 5 \x01\x02", "R 10 cd"}
        << QStringList{"0:41 42 \n", "0:ab", "1:\n01 02 \n", "0:cd"};

    QTest::newRow("stamped text") << false << false << true << false
                                  << QByteArrayList{"R 5 a\r\nb", "R 10 c\n", "R 20 d"}
                                  << QStringList{"6:<005> a\n<005> b", "7:\n<010> c\n",
                                                 "6:<020> d"};
    QTest::newRow("stamped sent text and hex")
        << false << true << true << false << QByteArrayList{"R 0 x", "T 5 AB", "T 6 C"}
        << QStringList{"6:<000> x", "7:\n{005} 41 42 \n", "6:{006} 43 \n"};
    QTest::newRow("stamped sent text")
        << false << false << true << false << QByteArrayList{"T 5 hi\n", "T 6 yo"}
        << QStringList{"6:{005} hi\n", "6:{006} yo"};
    QTest::newRow("stamped hex blocks follow the gap rule")
        << true << false << true << true << QByteArrayList{"R 0 A", "R 3 B", "R 30 C"}
        << QStringList{"6:<000> 41 ", "0:42 ", "7:\n<030> 43 "};
    QTest::newRow("stamped hex without gap rule: a new line gets a stamp")
        << true << false << true << false
        << QByteArrayList{"R 0 A", "R 100 B", "T 101 s", "R 102 C"}
        << QStringList{"6:<000> 41 ", "0:42 ", "7:\n{101} s", "0:43 "};
}

void TestMessageCodecDecode::decodeForUi()
{
    QFETCH(bool, rxHex);
    QFETCH(bool, txHex);
    QFETCH(bool, stamps);
    QFETCH(bool, autoFeed);
    QFETCH(QByteArrayList, records);
    QFETCH(QStringList, expected);
    const FormatSetting format = formatFor(rxHex, txHex, stamps, autoFeed);
    const auto rxDecoder = WireTextCodecRegistry::createDecoder(format.receiveEncoding);
    const auto txDecoder = WireTextCodecRegistry::createDecoder(format.sendEncoding);

    bool atLineStart = true;
    QDateTime lastRx;
    QDateTime lastTx;
    QStringList produced;
    for (const QByteArray &line : records) {
        const rxData rx = record(line);
        int prefixLength = -1;
        const QString text = MessageCodec::decodeForUi(
            rx, format, atLineStart, lastRx, lastTx,
            rx.direction == Sent ? txDecoder.get() : rxDecoder.get(), prefixLength);
        produced << QString::number(prefixLength) + ":" + text;
        if (!text.isEmpty()) {
            QCOMPARE(atLineStart, text.endsWith('\n'));
        }
    }
    QCOMPARE(produced, expected);
}

void TestMessageCodecDecode::decodeForUiKeepsTimes()
{
    const FormatSetting format = formatFor(false, false, false, true);
    bool atLineStart = false;
    QDateTime lastRx;
    QDateTime lastTx;
    int prefixLength = 0;
    const auto decoder = WireTextCodecRegistry::createDecoder("UTF-8");
    MessageCodec::decodeForUi(record("T 7 x"), format, atLineStart, lastRx, lastTx, decoder.get(),
                              prefixLength);
    QCOMPARE(lastTx, baseTime.addMSecs(7));
    QVERIFY(!lastRx.isValid());
    MessageCodec::decodeForUi(record("R 9 \xE4"), format, atLineStart, lastRx, lastTx,
                              decoder.get(), prefixLength);
    QVERIFY(!lastRx.isValid()); // nothing shown yet: the time waits for the character
    MessageCodec::decodeForUi(record("R 12 \xB8\xAD"), format, atLineStart, lastRx, lastTx,
                              decoder.get(), prefixLength);
    QCOMPARE(lastRx, baseTime.addMSecs(12));
}

void TestMessageCodecDecode::decodeForLog_data()
{
    addColumns();
    QTest::newRow("hex without gap rule: a line per block")
        << true << false << false << false << QByteArrayList{"R 0 A", "R 3 B"}
        << QStringList{"41 ", "\n42 "};
    QTest::newRow("hex with gap rule as in the view")
        << true << false << false << true << QByteArrayList{"R 0 A", "R 3 B", "R 30 C"}
        << QStringList{"41 ", "42 ", "\n43 "};
    QTest::newRow("received data does not continue a sent line")
        << false << false << false << false << QByteArrayList{"T 0 AT", "R 5 OK\n", "R 6 more"}
        << QStringList{"AT", "\nOK\n", "more"};
    QTest::newRow("received lines continue each other")
        << false << false << false << false << QByteArrayList{"R 0 ab", "R 5 cd\n"}
        << QStringList{"ab", "cd\n"};
    QTest::newRow("stamped hex without gap rule stamps each block")
        << true << false << true << false << QByteArrayList{"R 0 A", "R 100 B"}
        << QStringList{"<000> 41 ", "\n<100> 42 "};
    QTest::newRow("local echo is not logged and changes nothing")
        << false << false << false << false << QByteArrayList{"T 0 AT", "E 1 x", "R 5 OK"}
        << QStringList{"AT", "", "\nOK"};
}

void TestMessageCodecDecode::decodeForLog()
{
    QFETCH(bool, rxHex);
    QFETCH(bool, txHex);
    QFETCH(bool, stamps);
    QFETCH(bool, autoFeed);
    QFETCH(QByteArrayList, records);
    QFETCH(QStringList, expected);
    const FormatSetting format = formatFor(rxHex, txHex, stamps, autoFeed);
    const auto rxDecoder = WireTextCodecRegistry::createDecoder(format.receiveEncoding);
    const auto txDecoder = WireTextCodecRegistry::createDecoder(format.sendEncoding);

    bool atLineStart = true;
    bool pendingFlag = false;
    QDateTime lastTime;
    QStringList produced;
    for (const QByteArray &line : records) {
        produced << MessageCodec::decodeForLog(record(line), format, atLineStart, pendingFlag,
                                               lastTime, txDecoder.get(), rxDecoder.get());
    }
    QCOMPARE(produced, expected);
}

QTEST_GUILESS_MAIN(TestMessageCodecDecode)
#include "tst_messagecodecdecode.moc"
