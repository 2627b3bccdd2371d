#include "connection/wiretextcodecregistry.h"
#include "connection/wiretextdecoder.h"

#include <QtTest>

namespace {

const QString Fffd(QChar::ReplacementCharacter);

QString decodeInPieces(WireTextDecoder &decoder, const QByteArray &bytes, qsizetype cut1,
                       qsizetype cut2)
{
    decoder.reset();
    QString text = decoder.decode(bytes.left(cut1));
    text += decoder.decode(bytes.mid(cut1, cut2 - cut1));
    return text + decoder.decode(bytes.mid(cut2));
}

} // namespace

class TestWireTextCodecs : public QObject
{
    Q_OBJECT
private slots:
    void normalizeName_data();
    void normalizeName();
    void encode_data();
    void encode();
    void splitCharactersComeOutWhole_data();
    void splitCharactersComeOutWhole();
    void brokenSequencesKeepWhatFollows_data();
    void brokenSequencesKeepWhatFollows();
};

void TestWireTextCodecs::normalizeName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("canonical");
    const QStringList forms = {
        "UTF-8 65001 cp65001",
        "GB18030 54936 cp54936",
        "GBK 936 cp936 ms936 windows-936",
        "GB2312 euc-cn csgb2312 cp20936 20936 chinese",
        "Big5 950 cp950 csbig5",
        "Shift-JIS Shift_JIS sjis ms_kanji 932 cp932 windows-31j csshiftjis",
        "EUC-KR 949 cp949 windows-949 ks_c_5601-1987 cseuckr",
        "ISO-8859-1 latin1 l1 819 cp819 iec_8859-1",
        "Windows-1252 windows-1252 1252 cp1252",
        "System locale",
    };
    QStringList canonicalNames;
    for (const QString &line : forms) {
        const QStringList names = line.split(' ');
        canonicalNames << names.first();
        for (const QString &name : names) {
            QTest::newRow(qPrintable(name)) << name.toUpper() << names.first();
        }
    }
    QCOMPARE(WireTextCodecRegistry::supportedEncodings(), canonicalNames);
    QTest::newRow("blanks around") << " gbk\t"
                                   << "GBK";
    for (const char *unknown : {"", "utf8", "UTF-16", "Shift"}) {
        QTest::newRow(unknown) << unknown << "";
    }
}

void TestWireTextCodecs::normalizeName()
{
    QFETCH(QString, name);
    QFETCH(QString, canonical);
    QCOMPARE(WireTextCodecRegistry::isSupported(name), !canonical.isEmpty());
    const QString expected = canonical.isEmpty() ? QString("UTF-8") : canonical;
    QCOMPARE(WireTextCodecRegistry::normalizeName(name), expected);
    QCOMPARE(WireTextCodecRegistry::createDecoder(name)->encoding(), expected);
}

void TestWireTextCodecs::encode_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes"); // hex
    QTest::addColumn<QString>("failing");  // the character named; "*" for the general message

    // clang-format off
    QTest::newRow("latin1 names the euro") << "ISO-8859-1" << "aé€Ā" << QByteArray() << "€";
    QTest::newRow("gbk has no hangul") << "GBK" << "中한" << QByteArray() << "한";
    QTest::newRow("big5 has no e acute") << "Big5" << "中é" << QByteArray() << "é";
    QTest::newRow("shift-jis") << "sjis" << "日ｱ" << QByteArray("93fab1") << "";
    QTest::newRow("shift-jis ASCII controls are themselves")
        << "Shift-JIS" << "\x1a\x1c\x7f" << QByteArray("1a1c7f") << "";
    QTest::newRow("euc-kr is code page 949") << "EUC-KR" << "한똠" << QByteArray("c7d18c63") << "";
    // The legacy converters drop a byte-order mark without a word.
    QTest::newRow("mark not dropped")
        << "GBK" << "a\uFEFF" << QByteArray() << QString(QChar(0xFEFF));
    QTest::newRow("lone surrogate")
        << "GB18030" << QString("a") + QChar(0xD83D) << QByteArray() << "*";
    // clang-format on
}

void TestWireTextCodecs::encode()
{
    QFETCH(QString, encoding);
    QFETCH(QString, text);
    QFETCH(QString, failing);
    const auto result = WireTextCodecRegistry::encode(text, encoding);
    const QString name = WireTextCodecRegistry::normalizeName(encoding);
    QCOMPARE(result.ok, failing.isEmpty());
    QTEST(result.bytes.toHex(), "bytes");
    if (failing == "*") {
        QCOMPARE(result.error, QString("This message cannot be encoded as %1. Change the encoding "
                                       "or edit the message.")
                                   .arg(name));
    } else if (!failing.isEmpty()) {
        QCOMPARE(result.error, QString("The character '%1' cannot be encoded as %2. Change the "
                                       "encoding or edit the message.")
                                   .arg(failing, name));
    }
}

void TestWireTextCodecs::splitCharactersComeOutWhole_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("sample");
    const QStringList samples = {"a中😀é\r\n", "a中😀é€\u0080", "a中文€丂",   "a中文\r\n",
                                 "a中文，\n", "a日ｱ本語ｶ\n",  "a한국어똠€", "aéÿ",
                                 "a€é\n",     "aé\n"};
    const QStringList encodings = WireTextCodecRegistry::supportedEncodings();
    for (int i = 0; i < encodings.size(); ++i) {
        QTest::newRow(qPrintable(encodings[i])) << encodings[i] << samples[i];
    }
}

void TestWireTextCodecs::splitCharactersComeOutWhole()
{
    QFETCH(QString, encoding);
    QFETCH(QString, sample);
    const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
    QString ascii;
    for (int c = 0; c < 0x80; ++c) {
        ascii += QChar(c);
    }
    // Lone ASCII bytes are themselves both ways, whatever the converter thinks.
    QCOMPARE(WireTextCodecRegistry::encode(ascii, encoding).bytes, ascii.toLatin1());
    QCOMPARE(decoder->decode(ascii.toLatin1()), ascii);

    const auto encoded = WireTextCodecRegistry::encode(sample, encoding);
    QVERIFY2(encoded.ok, qPrintable(encoded.error));
    const QByteArray bytes = encoded.bytes;
    // Every cut into three pieces: each multi-byte character is split at each inner
    // position, alone and with its neighbours.
    for (qsizetype i = 0; i <= bytes.size(); ++i) {
        for (qsizetype j = i; j <= bytes.size(); ++j) {
            QVERIFY2(decodeInPieces(*decoder, bytes, i, j) == sample,
                     qPrintable(QString("cut at %1 and %2").arg(i).arg(j)));
        }
    }
    if (bytes.size() > sample.size()) {
        // The start of the second character is held back, and reset() drops it.
        decoder->reset();
        QCOMPARE(decoder->decode(bytes.left(2)), QString("a"));
        QCOMPARE(decoder->pendingBytes(), bytes.mid(1, 1));
        decoder->reset();
        QVERIFY(decoder->pendingBytes().isEmpty());
    }
}

void TestWireTextCodecs::brokenSequencesKeepWhatFollows_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    // clang-format off
    QTest::newRow("utf-8 lead before ASCII") << "UTF-8" << QByteArray("\xE4" "A") << Fffd + "A";
    QTest::newRow("system likewise") << "System" << QByteArray("\xE4" "A") << Fffd + "A";
    QTest::newRow("utf-8 lead before a character")
        << "UTF-8" << QByteArray("\xE4\xE4\xB8\xAD") << Fffd + "中";
    QTest::newRow("utf-8 three of four")
        << "UTF-8" << QByteArray("\xF0\x9F\x98\n") << Fffd + Fffd + Fffd + "\n";
    QTest::newRow("utf-8 marks are data")
        << "UTF-8" << QByteArray("a\xEF\xBB\xBF") << QString("a\uFEFF");
    QTest::newRow("gbk lead before LF") << "GBK" << QByteArray("\xD6\n\xD6\xD0") << Fffd + "\n中";
    QTest::newRow("shift-jis lead before blank")
        << "Shift-JIS" << QByteArray("\x81 \xB1") << Fffd + " ｱ";
    QTest::newRow("gb18030 four-byte start")
        << "GB18030" << QByteArray("\x81\x30\x81" "A") << Fffd + "0丄";
    QTest::newRow("gb18030 never-valid bytes")
        << "GB18030" << QByteArray("\x80\xFF" "A") << Fffd + Fffd + "A";
    // clang-format on
}

void TestWireTextCodecs::brokenSequencesKeepWhatFollows()
{
    QFETCH(QString, encoding);
    QFETCH(QByteArray, bytes);
    const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
    for (qsizetype i = 0; i <= bytes.size(); ++i) {
        QTEST(decodeInPieces(*decoder, bytes, i, i), "text");
    }
}

QTEST_GUILESS_MAIN(TestWireTextCodecs)
#include "tst_wiretextcodecs.moc"
