#include "session/messagecodec.h"

#include <QtTest>

// The encode side: what the send box turns into on the wire.
class TestMessageCodec : public QObject
{
    Q_OBJECT
private slots:
    void getHexValue_data();
    void getHexValue();
    void encodeHex_data();
    void encodeHex();
    void encodeText_data();
    void encodeText();
    void emptyTextSendsNothing_data();
    void emptyTextSendsNothing();
    void appendChecksum_data();
    void appendChecksum();
    void lineEndings_data();
    void lineEndings();
};

void TestMessageCodec::getHexValue_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes"); // hex
    QTest::newRow("lone last digit dropped") << "41 4" << QByteArray("41");
    QTest::newRow("non-hex is nibble 0") << "4G" << QByteArray("40");
    QTest::newRow("either case, no blanks") << "0a0B" << QByteArray("0a0b");
    QTest::newRow("runs of blanks") << "  41   42 " << QByteArray("4142");
    QTest::newRow("blank inside a pair is a nibble") << "4 1" << QByteArray("40");
    QTest::newRow("odd run") << "414" << QByteArray("41");
    QTest::newRow("tabs and lines are blanks") << "41\n42\t43\r\n44" << QByteArray("41424344");
    QTest::newRow("non-ASCII digits are not hex") << "١٢" << QByteArray("00");
    QTest::newRow("garbage never fails") << "zz!?" << QByteArray("0000");
    QTest::newRow("empty") << "" << QByteArray();
}

void TestMessageCodec::getHexValue()
{
    QFETCH(QString, text);
    const QByteArray bytes = MessageCodec::GetHexValue(text);
    QTEST(bytes.toHex(), "bytes");
    QVERIFY(bytes.size() <= text.size() / 2);
}

void TestMessageCodec::encodeHex_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("formatSend");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<QByteArray>("bytes"); // hex
    QTest::addColumn<QString>("kept");

    QTest::newRow("41 4") << "41 4" << false << 0 << QByteArray("41") << "41 4";
    QTest::newRow("4G") << "4G" << false << 0 << QByteArray("40") << "4G";
    QTest::newRow("comment not sent, kept when formatted")
        << "01 02 // note" << true << 0 << QByteArray("0102") << "01 02 // note";
    QTest::newRow("comment not sent, text untouched unformatted")
        << "1 2// note" << false << 0 << QByteArray("10") << "1 2// note";
    QTest::newRow("formatted upper case") << "0a0b" << true << 0 << QByteArray("0a0b") << "0A 0B ";
    QTest::newRow("everything after the first mark is the comment")
        << "0a//x//y" << true << 0 << QByteArray("0a") << "0A //x//y";
    QTest::newRow("empty comment dropped")
        << "01 02 //" << true << 0 << QByteArray("0102") << "01 02 ";
    QTest::newRow("comment only") << "// later" << true << 0 << QByteArray() << "// later";
    QTest::newRow("modbus request") << "01 03 00 00 00 01" << false << 4
                                    << QByteArray("010300000001840a") << "01 03 00 00 00 01";
    QTest::newRow("sum over the bytes, not the comment")
        << "01 02 // 03" << true << 1 << QByteArray("010203") << "01 02 // 03";
    QTest::newRow("crc-32 low byte first")
        << "31 32 33 34 35 36 37 38 39" << false << 5 << QByteArray("3132333435363738392639f4cb")
        << "31 32 33 34 35 36 37 38 39";
}

void TestMessageCodec::encodeHex()
{
    QFETCH(QString, text);
    FormatSetting format;
    QFETCH(bool, formatSend);
    format.formatSend = formatSend;
    QFETCH(int, checksum);
    format.sendChecksum = checksum;
    // No line ending and no encoding in hex mode, whatever the settings say.
    format.txLineEndingMode = LineEndingCRLF;
    format.sendEncoding = "ISO-8859-1";
    format.sendEscapes = true;

    const EncodeSendResult result = MessageCodec::encodeSend(text, true, format);
    QVERIFY(result.ok);
    QVERIFY(result.error.isEmpty());
    QTEST(result.bytes.toHex(), "bytes");
    QTEST(result.text, "kept");
    QCOMPARE(MessageCodec::fromHexString(text),
             MessageCodec::GetHexValue(text.left(text.indexOf("//"))));
}

void TestMessageCodec::encodeText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("lineEnding");
    QTest::addColumn<bool>("escapes");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QByteArray>("bytes"); // hex
    QTest::addColumn<QString>("error");

    const QString ok;
    QTest::newRow("CR LF") << "a\nb" << 3 << false << 0 << "UTF-8" << QByteArray("610d0a620d0a")
                           << ok;
    QTest::newRow("CR") << "a\nb" << 1 << false << 0 << "UTF-8" << QByteArray("610d620d") << ok;
    QTest::newRow("LF") << "a\nb" << 2 << false << 0 << "UTF-8" << QByteArray("610a620a") << ok;
    QTest::newRow("LF CR") << "a\nb" << 4 << false << 0 << "UTF-8" << QByteArray("610a0d620a0d")
                           << ok;
    QTest::newRow("none") << "a\nb" << 0 << false << 0 << "UTF-8" << QByteArray("610a62") << ok;
    QTest::newRow("final LF not doubled")
        << "ab\n"
        << 3 << false << 0 << "UTF-8" << QByteArray("61620d0a") << ok;
    QTest::newRow("checksum after the line ending")
        << "ab" << 3 << false << 1 << "UTF-8" << QByteArray("61620d0ada") << ok;
    QTest::newRow("comment mark is data")
        << "a//b" << 0 << false << 0 << "UTF-8" << QByteArray("612f2f62") << ok;
    QTest::newRow("encoding") << "中" << 0 << false << 0 << "GBK" << QByteArray("d6d0") << ok;
    QTest::newRow("no escapes: backslashes are data")
        << "\\x41" << 0 << false << 0 << "UTF-8" << QByteArray("5c783431") << ok;
    QTest::newRow("every escape") << "\\0\\\\\\a\\b\\e\\f\\n\\r\\t\\v" << 0 << true << 0 << "UTF-8"
                                  << QByteArray("005c07081b0c0a0d090b") << ok;
    QTest::newRow("hex escapes either case")
        << "\\x41\\xfF" << 0 << true << 0 << "UTF-8" << QByteArray("41ff") << ok;
    QTest::newRow("escaped byte skips the encoder")
        << "é\\xe9" << 0 << true << 0 << "UTF-8" << QByteArray("c3a9e9") << ok;
    QTest::newRow("escaped byte in Latin-1")
        << "\\x80" << 0 << true << 0 << "ISO-8859-1" << QByteArray("80") << ok;
    QTest::newRow("gathered text still encoded")
        << "中\\r\\n文" << 0 << true << 0 << "GBK" << QByteArray("d6d00d0acec4") << ok;
    QTest::newRow("escaped LF is not a line ending")
        << "a\\nb" << 3 << true << 0 << "UTF-8" << QByteArray("610a620d0a") << ok;
    QTest::newRow("checksum over escapes too")
        << "\\x01\\x02" << 0 << true << 2 << "UTF-8" << QByteArray("010203") << ok;

    QTest::newRow("lone backslash")
        << "abc\\" << 0 << true << 0 << "UTF-8" << QByteArray()
        << "The message ends with a lone backslash. Write \\\\ to send one.";
    QTest::newRow("x with one digit") << "\\x4" << 0 << true << 0 << "UTF-8" << QByteArray()
                                      << "\\x must be followed by two hex digits, as in \\x1B.";
    QTest::newRow("x with a non-digit") << "\\xG1" << 0 << true << 0 << "UTF-8" << QByteArray()
                                        << "\\x must be followed by two hex digits, as in \\x1B.";
    QTest::newRow("unknown letter")
        << "ok\\q" << 0 << true << 0 << "UTF-8" << QByteArray()
        << "Unknown escape sequence \\q. Write \\\\ to send a backslash.";
    QTest::newRow("escapes are case-sensitive")
        << "\\X41" << 0 << true << 0 << "UTF-8" << QByteArray()
        << "Unknown escape sequence \\X. Write \\\\ to send a backslash.";
    QTest::newRow("line ending makes a final backslash an unknown escape")
        << "a\\" << 3 << true << 0 << "UTF-8" << QByteArray()
        << "Unknown escape sequence \\\r. Write \\\\ to send a backslash.";
    QTest::newRow("unencodable") << "a€" << 0 << false << 5 << "ISO-8859-1" << QByteArray()
                                 << "The character '€' cannot be encoded as ISO-8859-1. Change the "
                                    "encoding or edit the message.";
    QTest::newRow("unencodable after an escape")
        << "\\n€" << 0 << true << 0 << "latin1" << QByteArray()
        << "The character '€' cannot be encoded as ISO-8859-1. Change the encoding or edit the "
           "message.";
}

void TestMessageCodec::encodeText()
{
    QFETCH(QString, text);
    FormatSetting format;
    QFETCH(int, lineEnding);
    format.txLineEndingMode = lineEndingModeFromInt(lineEnding);
    QFETCH(bool, escapes);
    format.sendEscapes = escapes;
    QFETCH(int, checksum);
    format.sendChecksum = checksum;
    QFETCH(QString, encoding);
    format.sendEncoding = encoding;
    format.formatSend = true; // hex only

    const EncodeSendResult result = MessageCodec::encodeSend(text, false, format);
    QFETCH(QString, error);
    QCOMPARE(result.error, error);
    QCOMPARE(result.ok, error.isEmpty());
    QTEST(result.bytes.toHex(), "bytes");
    QCOMPARE(result.text, text);
}

void TestMessageCodec::emptyTextSendsNothing_data()
{
    QTest::addColumn<bool>("isHex");
    QTest::newRow("hex") << true;
    QTest::newRow("text") << false;
}

void TestMessageCodec::emptyTextSendsNothing()
{
    QFETCH(bool, isHex);
    FormatSetting format;
    format.sendChecksum = 4;
    format.txLineEndingMode = LineEndingCRLF;
    const EncodeSendResult result = MessageCodec::encodeSend(QString(), isHex, format);
    QVERIFY(result.ok);
    QVERIFY(result.bytes.isEmpty());
}

void TestMessageCodec::appendChecksum_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("appended"); // hex

    QTest::newRow("none") << QByteArray("123") << 0 << QByteArray();
    QTest::newRow("unknown mode") << QByteArray("123") << 6 << QByteArray();
    QTest::newRow("negative mode") << QByteArray("123") << -1 << QByteArray();
    QTest::newRow("sum wraps") << QByteArray("\xFF\x02") << 1 << QByteArray("01");
    QTest::newRow("xor") << QByteArray("\x0F\xF0\x01") << 2 << QByteArray("fe");
    QTest::newRow("crc-8") << QByteArray("123456789") << 3 << QByteArray("f4");
    QTest::newRow("modbus low first") << QByteArray("123456789") << 4 << QByteArray("374b");
    QTest::newRow("crc-32 low first") << QByteArray("123456789") << 5 << QByteArray("2639f4cb");
    QTest::newRow("empty sum") << QByteArray() << 1 << QByteArray("00");
    QTest::newRow("empty xor") << QByteArray() << 2 << QByteArray("00");
    QTest::newRow("empty crc-8") << QByteArray() << 3 << QByteArray("00");
    QTest::newRow("empty modbus") << QByteArray() << 4 << QByteArray("ffff");
    QTest::newRow("empty crc-32") << QByteArray() << 5 << QByteArray("00000000");
}

void TestMessageCodec::appendChecksum()
{
    QFETCH(QByteArray, input);
    QFETCH(int, mode);
    QFETCH(QByteArray, appended);
    const QByteArray out = MessageCodec::appendChecksum(input, mode);
    QVERIFY(out.startsWith(input));
    QCOMPARE(out.mid(input.size()).toHex(), appended);
}

void TestMessageCodec::lineEndings_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("converted");
    QTest::addColumn<QByteArray>("enter");
    const QString text = "a\nb\r\n";
    QTest::newRow("none") << 0 << text << QByteArray("\r");
    QTest::newRow("CR") << 1 << "a\rb\r\r" << QByteArray("\r");
    QTest::newRow("LF") << 2 << text << QByteArray("\n");
    QTest::newRow("CR LF") << 3 << "a\r\nb\r\r\n" << QByteArray("\r\n");
    QTest::newRow("LF CR") << 4 << "a\n\rb\r\n\r" << QByteArray("\n\r");
    QTest::newRow("unknown") << 9 << text << QByteArray("\r");
}

void TestMessageCodec::lineEndings()
{
    QFETCH(int, mode);
    QFETCH(QString, converted);
    const auto m = _tagLineEndingMode(mode);
    QCOMPARE(MessageCodec::applyLineEnding(QString("a\nb\r\n"), m), converted);
    QCOMPARE(MessageCodec::applyLineEnding(QByteArray("a\nb\r\n"), m), converted.toLatin1());
    QTEST(MessageCodec::terminalEnterBytes(m), "enter");
}

QTEST_GUILESS_MAIN(TestMessageCodec)
#include "tst_messagecodec.moc"
