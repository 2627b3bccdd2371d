#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"

#include <QtTest>

// The decode side: the text that received and sent blocks become in the view and log.
namespace {

const QDateTime baseTime(QDate(2024, 1, 2), QTime(12, 0, 0));

// "R 5 ab": direction (R received, T sent, E local echo), ms after baseTime, bytes.
rxData record(const QByteArray &line)
{
    const QList<QByteArray> parts = line.split(' ');
    rxData rx;
    rx.direction = parts[0] == "R" ? Received : Sent;
    rx.isLocalEcho = parts[0] == "E";
    rx.time = baseTime.addMSecs(parts[1].toInt());
    rx.data = line.mid(parts[0].size() + parts[1].size() + 2);
    return rx;
}

// Settings as a word: 'h' received hex, 'H' sent hex, 's' stamps, 'f' auto feed.
FormatSetting formatFor(const QString &flags)
{
    FormatSetting format;
    format.receiveMsgFormat = flags.contains('h') ? HexFormat : TextFormat;
    format.sendMsgFormat = flags.contains('H') ? HexFormat : TextFormat;
    format.displayMsgTime = flags.contains('s');
    format.rxAutoFeedLine = flags.contains('f');
    format.autoFeedInterval = 20;
    format.rxTimeFormat = "<zzz> ";
    format.txTimeFormat = "{zzz} ";
    return format;
}

void addColumns()
{
    QTest::addColumn<QString>("flags");
    QTest::addColumn<QByteArrayList>("records");
    QTest::addColumn<QStringList>("expected");
}

} // namespace

class TestMessageCodecDecode : public QObject
{
    Q_OBJECT
private slots:
    void textHelpers();
    void insertTimeStamp_data();
    void insertTimeStamp();
    void decodeForUi_data();
    void decodeForUi();
    void decodeForLog_data();
    void decodeForLog();
};

void TestMessageCodecDecode::textHelpers()
{
    QCOMPARE(MessageCodec::toHexString(QByteArray("\x00\xFF\x41", 3)), QString("00 FF 41 "));
    const QString square(QChar(0x25A1));
    QCOMPARE(MessageCodec::sanitizeText(QString("\t\r\n\x01\x7f") + QChar(0x85) + QChar(0x200B)),
             "\t\r\n" + square + square + square + QChar(0x200B));
    QCOMPARE(MessageCodec::decodeWireText("\xD6\xD0\x01", nullptr, "GBK"), "中" + square);
}

void TestMessageCodecDecode::insertTimeStamp_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("stamped");
    QTest::newRow("final LF held back") << "a\n"
                                        << "Sa\n";
    QTest::newRow("CR LF and LF CR") << "a\r\nb\n\rc"
                                     << "Sa\nSb\nSc";
    QTest::newRow("lone CR goes") << "a\rb\r"
                                  << "Sab";
    QTest::newRow("empty lines keep stamps") << "a\n\r\n\nb"
                                             << "Sa\nS\nS\nSb";
}

void TestMessageCodecDecode::insertTimeStamp()
{
    QFETCH(QString, text);
    QTEST(MessageCodec::insertTimeStamp(text, "S"), "stamped");
}

void TestMessageCodecDecode::decodeForUi_data()
{
    addColumns();
    // Expected entries: "<prefixLength>:<text>".
    QTest::newRow("text gap only when the line is open")
        << "f" << QByteArrayList{"R 0 ab", "R 10 cd", "R 40 ef\n", "R 90 gh"}
        << QStringList{"0:ab", "0:cd", "1:\nef\n", "0:gh"};
    QTest::newRow("a split character takes the time of its first half")
        << "f" << QByteArrayList{"R 0 ab", "R 50 \xE4", "R 52 \xB8\xAD"}
        << QStringList{"0:ab", "0:", "1:\n中"};

    // Hex: a stream with 3 ms gaps stays on one line; a 25 ms gap starts a new one.
    QByteArrayList stream;
    QStringList shown;
    for (int i = 0; i < 20; ++i) {
        stream << "R " + QByteArray::number(i * 3) + " " + char('A' + i);
        shown << QString("0:%1 ").arg(0x41 + i, 2, 16).toUpper();
    }
    QTest::newRow("hex gap rule") << "hf" << stream + QByteArrayList{"R 82 Z"}
                                  << shown + QStringList{"1:\n5A "};
    QTest::newRow("hex without the rule never breaks")
        << "h" << QByteArrayList{"R 0 A", "R 100 B"} << QStringList{"0:41 ", "0:42 "};

    QTest::newRow("sent data breaks an open line")
        << "H" << QByteArrayList{"T 0 AB", "R 3 ab", "T 5 \x01", "R 10 cd"}
        << QStringList{"0:41 42 \n", "0:ab", "1:\n01 \n", "0:cd"};
    QTest::newRow("stamped text") << "s" << QByteArrayList{"R 5 a\r\nb", "R 10 c\n", "T 20 d"}
                                  << QStringList{"6:<005> a\n<005> b", "7:\n<010> c\n",
                                                 "6:{020} d"};
    QTest::newRow("stamped sent hex") << "Hs" << QByteArrayList{"R 0 x", "T 5 AB"}
                                      << QStringList{"6:<000> x", "7:\n{005} 41 42 \n"};
    QTest::newRow("stamped hex blocks follow the gap rule")
        << "hsf" << QByteArrayList{"R 0 A", "R 3 B", "R 30 C"}
        << QStringList{"6:<000> 41 ", "0:42 ", "7:\n<030> 43 "};
    QTest::newRow("stamped hex: a line never starts unstamped")
        << "hs" << QByteArrayList{"R 0 A", "R 100 B", "T 101 s", "R 102 C"}
        << QStringList{"6:<000> 41 ", "0:42 ", "7:\n{101} s", "0:43 "};
}

void TestMessageCodecDecode::decodeForUi()
{
    QFETCH(QString, flags);
    QFETCH(QByteArrayList, records);
    const FormatSetting format = formatFor(flags);
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
            QCOMPARE(rx.direction == Sent ? lastTx : lastRx, rx.time);
        }
    }
    QTEST(produced, "expected");
}

void TestMessageCodecDecode::decodeForLog_data()
{
    addColumns();
    QTest::newRow("hex without the gap rule: a line per block")
        << "h" << QByteArrayList{"R 0 A", "R 3 B"} << QStringList{"41 ", "\n42 "};
    QTest::newRow("hex with the gap rule as in the view")
        << "hf" << QByteArrayList{"R 0 A", "R 3 B", "R 30 C"} << QStringList{"41 ", "42 ", "\n43 "};
    QTest::newRow("received data never continues a sent line")
        << "" << QByteArrayList{"T 0 AT", "E 1 x", "R 5 OK", "R 6 !\n"}
        << QStringList{"AT", "", "\nOK", "!\n"};
    QTest::newRow("stamped hex without the gap rule")
        << "hs" << QByteArrayList{"R 0 A", "R 100 B"} << QStringList{"<000> 41 ", "\n<100> 42 "};
}

void TestMessageCodecDecode::decodeForLog()
{
    QFETCH(QString, flags);
    QFETCH(QByteArrayList, records);
    const FormatSetting format = formatFor(flags);
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
    QTEST(produced, "expected");
}

QTEST_GUILESS_MAIN(TestMessageCodecDecode)
#include "tst_messagecodecdecode.moc"
