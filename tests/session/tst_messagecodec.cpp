#include "connection/messagecodec.h"

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
    void appendChecksumOfNothing_data();
    void appendChecksumOfNothing();
    void lineEndings_data();
    void lineEndings();
};

void TestMessageCodec::getHexValue_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes"); // hex
    QTest::addColumn<QString>("error");    // empty: accepted
    // Nothing is guessed: a text that is not whole hex bytes sends nothing and says
    // which character, where.
    QTest::newRow("either case, no blanks") << "0a0B" << QByteArray("0a0b") << "";
    QTest::newRow("lines and tabs between pairs") << " 41\r\n42\t43 " << QByteArray("414243")
                                                  << "";
    QTest::newRow("bad digit") << "41 4G ZZ 1" << QByteArray()
                               << "\"G\" at position 5 is not a hex digit.";
    QTest::newRow("a word") << "hello" << QByteArray() << "\"h\" at position 1 is not a hex digit.";
    QTest::newRow("C notation") << "0x41,0x42" << QByteArray()
                                << "\"x\" at position 2 is not a hex digit.";
    QTest::newRow("lone last digit") << "41 4" << QByteArray()
                                     << "\"4\" at position 4 has no second digit: use two hex "
                                        "digits per byte.";
    QTest::newRow("blank inside a pair") << "4 1" << QByteArray()
                                         << "\"4\" at position 1 has no second digit: use two "
                                            "hex digits per byte.";
    QTest::newRow("only ASCII digits are hex")
        << "١٢" << QByteArray() << "\"١\" at position 1 is not a hex digit.";
}

void TestMessageCodec::getHexValue()
{
    QFETCH(QString, text);
    QString error;
    QTEST(MessageCodec::GetHexValue(text, &error).toHex(), "bytes");
    QTEST(error, "error");
    // The send box refuses the same text with the same sentence, and marks it.
    const EncodeSendResult result = MessageCodec::encodeSend(text, true, FormatSetting());
    QCOMPARE(result.ok, error.isEmpty());
    QCOMPARE(result.error, error);
    QCOMPARE(MessageCodec::hexProblems(text).isEmpty(), error.isEmpty());
}

void TestMessageCodec::encodeHex_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("formatSend");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<QByteArray>("bytes"); // hex
    QTest::addColumn<QString>("kept");

    QTest::newRow("comment kept when formatted")
        << "01 02 // note" << true << 0 << QByteArray("0102") << "01 02 // note";
    QTest::newRow("unformatted text untouched")
        << "12// x" << false << 0 << QByteArray("12") << "12// x";
    QTest::newRow("comment is all after the first mark")
        << "0a//x//y" << true << 0 << QByteArray("0a") << "0A //x//y";
    QTest::newRow("empty comment dropped")
        << "0102 //" << true << 0 << QByteArray("0102") << "01 02 ";
    QTest::newRow("comment only sends nothing")
        << "// later" << true << 4 << QByteArray() << "// later";
    QTest::newRow("modbus request") << "01 03 00 00 00 01" << false << 4
                                    << QByteArray("010300000001840a") << "01 03 00 00 00 01";
    QTest::newRow("sum not over the comment")
        << "01 02 // 03" << true << 1 << QByteArray("010203") << "01 02 // 03";
}

void TestMessageCodec::encodeHex()
{
    FormatSetting format;
    QFETCH(bool, formatSend);
    format.formatSend = formatSend;
    QFETCH(int, checksum);
    format.sendChecksum = checksum;
    // Line endings, escapes and encodings are for text only.
    format.txLineEndingMode = LineEndingCRLF;
    format.sendEscapes = true;
    format.sendEncoding = "ISO-8859-1";

    QFETCH(QString, text);
    const EncodeSendResult result = MessageCodec::encodeSend(text, true, format);
    QVERIFY(result.ok && result.error.isEmpty());
    QTEST(result.bytes.toHex(), "bytes");
    QTEST(result.text, "kept");
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
    QTest::newRow("empty") << "" << 3 << true << 4 << "UTF-8" << QByteArray() << ok;
    QTest::newRow("CR LF") << "a\nb" << 3 << false << 0 << "UTF-8" << QByteArray("610d0a620d0a")
                           << ok;
    QTest::newRow("CR") << "a\nb" << 1 << false << 0 << "UTF-8" << QByteArray("610d620d") << ok;
    // clang-format off
    QTest::newRow("final LF not doubled")
        << "ab\n" << 4 << false << 0 << "UTF-8" << QByteArray("61620a0d") << ok;
    // clang-format on
    QTest::newRow("checksum after the line ending")
        << "ab" << 3 << false << 1 << "UTF-8" << QByteArray("61620d0ada") << ok;
    QTest::newRow("no comments in text")
        << "a//b" << 0 << false << 0 << "GBK" << QByteArray("612f2f62") << ok;
    QTest::newRow("without escapes backslashes are data")
        << "\\x41" << 0 << false << 0 << "UTF-8" << QByteArray("5c783431") << ok;
    QTest::newRow("every escape") << "\\0\\\\\\a\\b\\e\\f\\n\\r\\t\\v\\x41\\xfF" << 0 << true << 0
                                  << "UTF-8" << QByteArray("005c07081b0c0a0d090b41ff") << ok;
    QTest::newRow("escaped bytes skip the encoder")
        << "é\\xe9中" << 0 << true << 0 << "UTF-8" << QByteArray("c3a9e9e4b8ad") << ok;
    QTest::newRow("escaped LF is no line ending")
        << "a\\nb" << 3 << true << 2 << "UTF-8" << QByteArray("610a620d0a0e") << ok;

    QTest::newRow("lone backslash")
        << "abc\\" << 0 << true << 0 << "UTF-8" << QByteArray()
        << "The message ends with a lone backslash. Write \\\\ to send one.";
    QTest::newRow("x with one digit") << "\\x4" << 0 << true << 0 << "UTF-8" << QByteArray()
                                      << "\\x must be followed by two hex digits, as in \\x1B.";
    QTest::newRow("unknown letter")
        << "ok\\X41" << 0 << true << 0 << "UTF-8" << QByteArray()
        << "Unknown escape sequence \\X. Write \\\\ to send a backslash.";
    QTest::newRow("unencodable after an escape")
        << "\\n€" << 0 << true << 5 << "latin1" << QByteArray()
        << "The character '€' cannot be encoded as ISO-8859-1. Change the encoding or edit the "
           "message.";
}

void TestMessageCodec::encodeText()
{
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

    QFETCH(QString, text);
    const EncodeSendResult result = MessageCodec::encodeSend(text, false, format);
    QTEST(result.error, "error");
    QCOMPARE(result.ok, result.error.isEmpty());
    QTEST(result.bytes.toHex(), "bytes");
    QCOMPARE(result.text, text);
}

void TestMessageCodec::appendChecksumOfNothing_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("appended"); // hex
    QTest::newRow("none") << 0 << QByteArray();
    QTest::newRow("sum") << 1 << QByteArray("00");
    QTest::newRow("xor") << 2 << QByteArray("00");
    QTest::newRow("crc-8") << 3 << QByteArray("00");
    QTest::newRow("crc-16/modbus") << 4 << QByteArray("ffff");
    QTest::newRow("crc-32") << 5 << QByteArray("00000000");
    QTest::newRow("unknown") << 6 << QByteArray();
}

void TestMessageCodec::appendChecksumOfNothing()
{
    QFETCH(int, mode);
    QTEST(MessageCodec::appendChecksum(QByteArray(), mode).toHex(), "appended");
    QCOMPARE(MessageCodec::appendChecksum("123456789", 5).toHex(), "3132333435363738392639f4cb");
}

void TestMessageCodec::lineEndings_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("converted");
    QTest::addColumn<QByteArray>("enter");
    QTest::newRow("none") << 0 << "a\nb\r\n" << QByteArray("\r");
    QTest::newRow("CR") << 1 << "a\rb\r\r" << QByteArray("\r");
    QTest::newRow("LF") << 2 << "a\nb\r\n" << QByteArray("\n");
    QTest::newRow("CR LF") << 3 << "a\r\nb\r\r\n" << QByteArray("\r\n");
    QTest::newRow("LF CR") << 4 << "a\n\rb\r\n\r" << QByteArray("\n\r");
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
