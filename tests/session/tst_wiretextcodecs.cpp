#include "session/wiretextcodecregistry.h"
#include "session/wiretextdecoder.h"

#include <QStringEncoder>
#include <QtTest>

namespace {

const QChar Fffd(QChar::ReplacementCharacter);

QString decodeInPieces(WireTextDecoder &decoder, const QByteArray &bytes,
                       const QList<qsizetype> &cuts)
{
    QString out;
    qsizetype from = 0;
    for (qsizetype cut : cuts) {
        out += decoder.decode(bytes.mid(from, cut - from));
        from = cut;
    }
    return out + decoder.decode(bytes.mid(from));
}

QString codePoints(const QString &text)
{
    QStringList parts;
    for (QChar c : text) {
        parts << QString::number(c.unicode(), 16);
    }
    return parts.join(u' ');
}

} // namespace

class TestWireTextCodecs : public QObject
{
    Q_OBJECT
private slots:
    void normalizeName_data();
    void normalizeName();
    void supportedEncodingsInOrder();
    void encode_data();
    void encode();
    void splitCharactersComeOutWhole_data();
    void splitCharactersComeOutWhole();
    void invalidBytesKeepWhatFollows_data();
    void invalidBytesKeepWhatFollows();
    void asciiReadsAsAscii_data();
    void asciiReadsAsAscii();
    void resetDropsHeldBytes_data();
    void resetDropsHeldBytes();
};

void TestWireTextCodecs::normalizeName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("canonical");
    QTest::addColumn<bool>("supported");

    const QList<QPair<QString, QString>> forms = {
        {"UTF-8", "UTF-8 65001 cp65001"},
        {"GB18030", "GB18030 54936 cp54936"},
        {"GBK", "GBK 936 cp936 ms936 windows-936"},
        {"GB2312", "GB2312 euc-cn csgb2312 cp20936 20936 chinese"},
        {"Big5", "Big5 950 cp950 csbig5"},
        {"Shift-JIS", "Shift-JIS Shift_JIS sjis ms_kanji 932 cp932 windows-31j csshiftjis"},
        {"EUC-KR", "EUC-KR 949 cp949 windows-949 ks_c_5601-1987 cseuckr"},
        {"ISO-8859-1", "ISO-8859-1 latin1 l1 819 cp819 iec_8859-1"},
        {"Windows-1252", "Windows-1252 windows-1252 1252 cp1252"},
        {"System", "System locale"},
    };
    for (const auto &[canonical, names] : forms) {
        for (const QString &name : names.split(u' ')) {
            QTest::addRow("%s", qPrintable(name)) << name << canonical << true;
            QTest::addRow("%s upper", qPrintable(name)) << name.toUpper() << canonical << true;
        }
    }
    QTest::newRow("surrounding blanks") << " gbk\t"
                                        << "GBK" << true;
    QTest::newRow("empty") << ""
                           << "UTF-8" << false;
    QTest::newRow("utf8 is not a listed form") << "utf8"
                                               << "UTF-8" << false;
    QTest::newRow("UTF-16 unknown") << "UTF-16"
                                    << "UTF-8" << false;
    QTest::newRow("part of a name") << "Shift"
                                    << "UTF-8" << false;
}

void TestWireTextCodecs::normalizeName()
{
    QFETCH(QString, name);
    QTEST(WireTextCodecRegistry::normalizeName(name), "canonical");
    QTEST(WireTextCodecRegistry::isSupported(name), "supported");
    QTEST(WireTextCodecRegistry::createDecoder(name)->encoding(), "canonical");
}

void TestWireTextCodecs::supportedEncodingsInOrder()
{
    QCOMPARE(WireTextCodecRegistry::defaultEncoding(), QString("UTF-8"));
    QCOMPARE(WireTextCodecRegistry::supportedEncodings(),
             QStringList({"UTF-8", "GB18030", "GBK", "GB2312", "Big5", "Shift-JIS", "EUC-KR",
                          "ISO-8859-1", "Windows-1252", "System"}));
    QCOMPARE(WireTextCodecRegistry::alternativeNames("Shift-JIS").first(), QString("Shift_JIS"));
    QVERIFY(WireTextCodecRegistry::alternativeNames("gbk").isEmpty());
}

void TestWireTextCodecs::encode_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes"); // hex
    QTest::addColumn<QString>("failing");  // the character named, "" for none

    QTest::newRow("empty") << "GBK"
                           << "" << QByteArray() << "";
    QTest::newRow("utf-8") << "UTF-8"
                           << "é€" << QByteArray("c3a9e282ac") << "";
    QTest::newRow("latin1") << "latin1"
                            << "café" << QByteArray("636166e9") << "";
    QTest::newRow("latin1 has no euro") << "ISO-8859-1"
                                        << "aé€ü" << QByteArray() << "€";
    QTest::newRow("first failure is named") << "ISO-8859-1"
                                            << "aĀ€" << QByteArray() << "Ā";
    QTest::newRow("1252 euro") << "Windows-1252"
                               << "€" << QByteArray("80") << "";
    QTest::newRow("1252 no A macron") << "cp1252"
                                      << "xĀ" << QByteArray() << "Ā";
    QTest::newRow("gbk") << "GBK"
                         << "中文é" << QByteArray("d6d0cec4a8a6") << "";
    QTest::newRow("gbk has no hangul") << "GBK"
                                       << "中한" << QByteArray() << "한";
    QTest::newRow("gbk has no emoji") << "GBK"
                                      << "a😀" << QByteArray() << "😀";
    QTest::newRow("gb2312 reads as gbk") << "GB2312"
                                         << "中" << QByteArray("d6d0") << "";
    QTest::newRow("gb18030 four bytes") << "GB18030"
                                        << "a😀" << QByteArray("619439fc36") << "";
    QTest::newRow("big5") << "Big5"
                          << "中" << QByteArray("a4a4") << "";
    QTest::newRow("big5 has no e acute") << "Big5"
                                         << "中é" << QByteArray() << "é";
    QTest::newRow("shift-jis") << "sjis"
                               << "日本ｱ" << QByteArray("93fa967bb1") << "";
    QTest::newRow("shift-jis has no hangul") << "Shift-JIS"
                                             << "한" << QByteArray() << "한";
    QTest::newRow("shift-jis writes ASCII controls as themselves")
        << "Shift-JIS" << QString("\x1a\x1c\x7f" "a") << QByteArray("1a1c7f61") << "";
    QTest::newRow("euc-kr") << "EUC-KR"
                            << "한€" << QByteArray("c7d1a2e6") << "";
    QTest::newRow("euc-kr has no emoji") << "EUC-KR"
                                         << "😀" << QByteArray() << "😀";
    // A byte-order mark is dropped by the legacy converters without a word.
    QTest::newRow("bom is not dropped silently")
        << "GBK"
        << "a\uFEFF" << QByteArray() << QString(QChar(0xFEFF));
    QTest::newRow("unknown name is UTF-8") << "klingon"
                                           << "é" << QByteArray("c3a9") << "";
    QTest::newRow("lone surrogate in utf-8")
        << "UTF-8" << QString("a") + QChar(0xD800) << QByteArray() << "<message>";
    QTest::newRow("lone surrogate at the end in gb18030")
        << "GB18030" << QString("a") + QChar(0xD83D) << QByteArray() << "<message>";
}

void TestWireTextCodecs::encode()
{
    QFETCH(QString, encoding);
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, failing);

    const auto result = WireTextCodecRegistry::encode(text, encoding);
    const QString canonical = WireTextCodecRegistry::normalizeName(encoding);
    if (failing.isEmpty()) {
        QVERIFY2(result.ok, qPrintable(result.error));
        QCOMPARE(result.bytes.toHex(), bytes);
        QVERIFY(result.error.isEmpty());
    } else {
        QVERIFY(!result.ok);
        QVERIFY(result.bytes.isEmpty());
        const QString expected =
            failing == "<message>"
                ? QString("This message cannot be encoded as %1. Change the encoding or edit "
                          "the message.")
                      .arg(canonical)
                : QString("The character '%1' cannot be encoded as %2. Change the encoding or "
                          "edit the message.")
                      .arg(failing, canonical);
        QCOMPARE(result.error, expected);
    }
}

void TestWireTextCodecs::splitCharactersComeOutWhole_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("sample");
    QTest::newRow("UTF-8") << "UTF-8"
                           << "a中😀é\r\nb";
    QTest::newRow("GB18030") << "GB18030"
                             << "a中😀é€\u0080\nb";
    QTest::newRow("GBK") << "GBK"
                         << "a中文€丂\nb";
    QTest::newRow("GB2312") << "GB2312"
                            << "a中文\r\nb";
    QTest::newRow("Big5") << "Big5"
                          << "a中文，\nb";
    QTest::newRow("Shift-JIS") << "Shift-JIS"
                               << "aｱ日本語ｶ\nb";
    QTest::newRow("EUC-KR") << "EUC-KR"
                            << "a한국어똠€\nb";
    QTest::newRow("ISO-8859-1") << "ISO-8859-1"
                                << "aéÿ\nb";
    QTest::newRow("Windows-1252") << "Windows-1252"
                                  << "a€é\nb";
    QTest::newRow("System") << "System"
                            << "ab\n";
}

void TestWireTextCodecs::splitCharactersComeOutWhole()
{
    QFETCH(QString, encoding);
    QFETCH(QString, sample);
    const auto encoded = WireTextCodecRegistry::encode(sample, encoding);
    QVERIFY2(encoded.ok, qPrintable(encoded.error));
    const QByteArray bytes = encoded.bytes;
    const auto decoder = WireTextCodecRegistry::createDecoder(encoding);

    QCOMPARE(decoder->decode(bytes), sample);
    // Every cut into two and three pieces, so that each multi-byte character is split
    // at each of its inner positions, alone and together with its neighbours.
    for (qsizetype i = 0; i <= bytes.size(); ++i) {
        for (qsizetype j = i; j <= bytes.size(); ++j) {
            decoder->reset();
            const QString text = decodeInPieces(*decoder, bytes, {i, j});
            QVERIFY2(
                text == sample,
                qPrintable(QString("cut at %1 and %2: %3").arg(i).arg(j).arg(codePoints(text))));
        }
    }
    decoder->reset();
    QString oneByOne;
    for (char c : bytes) {
        oneByOne += decoder->decode(QByteArray(1, c));
    }
    QCOMPARE(oneByOne, sample);
}

void TestWireTextCodecs::invalidBytesKeepWhatFollows_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("utf-8 broken lead") << "UTF-8" << QByteArray("\xE4\x41") << Fffd + QString("A");
    QTest::newRow("system broken lead")
        << "System" << QByteArray("\xE4\x41") << Fffd + QString("A");
    QTest::newRow("utf-8 lead before a whole character")
        << "UTF-8" << QByteArray("\xE4\xE4\xB8\xAD") << Fffd + QString("中");
    QTest::newRow("utf-8 surrogate bytes")
        << "UTF-8" << QByteArray("\xED\xA0\x80") << QString(3, Fffd);
    QTest::newRow("utf-8 three of four bytes") << "UTF-8"
                                               << QByteArray("\xF0\x9F\x98"
                                                             "A")
                                               << QString(3, Fffd) + QString("A");
    QTest::newRow("utf-8 byte-order marks are data")
        << "UTF-8"
        << QByteArray("\xEF\xBB\xBF"
                      "A\xEF\xBB\xBF"
                      "B")
        << QString(QChar(0xFEFF)) + "A" + QChar(0xFEFF) + "B";
    QTest::newRow("gbk lead before blank") << "GBK" << QByteArray("\x81 A") << Fffd + QString(" A");
    QTest::newRow("gbk lead before line feed")
        << "GBK" << QByteArray("\xD6\n\xD6\xD0") << Fffd + QString("\n中");
    QTest::newRow("big5 lead before CR LF")
        << "Big5" << QByteArray("\xA4\r\n") << Fffd + QString("\r\n");
    QTest::newRow("euc-kr lead before lead")
        << "EUC-KR" << QByteArray("\xC7\x0A\xC7\xD1") << Fffd + QString("\n한");
    QTest::newRow("shift-jis lead before blank")
        << "Shift-JIS" << QByteArray("\x81 \xB1") << Fffd + QString(" ｱ");
    QTest::newRow("gb18030 four-byte start before text") << "GB18030"
                                                         << QByteArray("\x81\x30"
                                                                       "AB")
                                                         << Fffd + QString("0AB");
    QTest::newRow("gb18030 four-byte bad last byte")
        << "GB18030" << QByteArray("\x81\x30\x81\x41") << Fffd + QString("0丄");
    QTest::newRow("gb18030 bytes that are never valid") << "GB18030"
                                                        << QByteArray("\x80\xFF"
                                                                      "A")
                                                        << QString(2, Fffd) + QString("A");
    QTest::newRow("gb18030 lead at the end is held")
        << "GB18030" << QByteArray("A\x81\x30\x81") << QString("A");
}

void TestWireTextCodecs::invalidBytesKeepWhatFollows()
{
    QFETCH(QString, encoding);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
    const QString whole = decoder->decode(bytes);
    QVERIFY2(whole == text, qPrintable(codePoints(whole)));
    // The same text however the bytes are cut.
    for (qsizetype i = 0; i <= bytes.size(); ++i) {
        decoder->reset();
        QCOMPARE(decodeInPieces(*decoder, bytes, {i}), text);
    }
}

void TestWireTextCodecs::asciiReadsAsAscii_data()
{
    QTest::addColumn<QString>("encoding");
    for (const QString &encoding : WireTextCodecRegistry::supportedEncodings()) {
        QTest::newRow(qPrintable(encoding)) << encoding;
    }
}

void TestWireTextCodecs::asciiReadsAsAscii()
{
    QFETCH(QString, encoding);
    QByteArray bytes;
    QString text;
    for (int b = 0; b < 0x80; ++b) {
        bytes += char(b);
        text += QChar(b);
    }
    QCOMPARE(WireTextCodecRegistry::createDecoder(encoding)->decode(bytes), text);
    QCOMPARE(WireTextCodecRegistry::encode(text, encoding).bytes, bytes);
}

void TestWireTextCodecs::resetDropsHeldBytes_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QByteArray>("start");
    QTest::newRow("UTF-8") << "UTF-8" << QByteArray("\xE4\xB8");
    QTest::newRow("GBK") << "GBK" << QByteArray("\xD6");
    QTest::newRow("GB18030") << "GB18030" << QByteArray("\x94\x39\xFC");
    QTest::newRow("Shift-JIS") << "Shift-JIS" << QByteArray("\x93");
}

void TestWireTextCodecs::resetDropsHeldBytes()
{
    QFETCH(QString, encoding);
    QFETCH(QByteArray, start);
    const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
    QCOMPARE(decoder->decode(start), QString());
    QCOMPARE(decoder->pendingBytes(), start);
    decoder->reset();
    QCOMPARE(decoder->decode("AB"), QString("AB"));
}

QTEST_GUILESS_MAIN(TestWireTextCodecs)
#include "tst_wiretextcodecs.moc"
