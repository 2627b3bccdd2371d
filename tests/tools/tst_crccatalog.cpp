#include "tools/crccatalog.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

const QByteArray checkInput("123456789");

// A bit-serial reference: the message goes into the top of the register one bit at a
// time, as the division is defined, with no byte alignment and no shifted registers.
quint64 referenceCrc(const QByteArray &bytes, const CrcCatalog::CustomParameters &p)
{
    const quint64 mask = p.width == 64 ? ~quint64(0) : (quint64(1) << p.width) - 1;
    quint64 reg = p.initial & mask;
    for (char c : bytes) {
        for (int i = 0; i < 8; ++i) {
            const quint64 bit = (quint8(c) >> (p.reflectInput ? i : 7 - i)) & 1U;
            const quint64 top = (reg >> (p.width - 1)) & 1U;
            reg = ((reg << 1) & mask) ^ ((top ^ bit) ? p.polynomial & mask : 0);
        }
    }
    if (p.reflectOutput) {
        quint64 reflected = 0;
        for (int i = 0; i < p.width; ++i) {
            reflected |= ((reg >> i) & 1U) << (p.width - 1 - i);
        }
        reg = reflected;
    }
    return (reg ^ p.finalXor) & mask;
}

} // namespace

class TestCrcCatalog : public QObject
{
    Q_OBJECT
private slots:
    void catalogue_data();
    void catalogue();
    void customAgreesWithReference_data();
    void customAgreesWithReference();
    void customEdges();
    void scriptChecksums_data();
    void scriptChecksums();
};

void TestCrcCatalog::catalogue_data()
{
    QTest::addColumn<int>("algorithm");
    QTest::addColumn<quint64>("check");
    const quint64 checks[] = {0x7, 0x07, 0x19, 0x06, 0xF4, 0x4B37, 0xB4C8, 0xCBF43926, 0x29B1};
    for (int a = 0; a < 9; ++a) {
        QTest::newRow(qPrintable(CrcCatalog::definitions().at(a).name)) << a << checks[a];
    }
    QTest::newRow("outside the catalogue") << 9 << quint64(0);
}

void TestCrcCatalog::catalogue()
{
    QFETCH(int, algorithm);
    const auto a = CrcCatalog::Algorithm(algorithm);
    QTEST(CrcCatalog::calculate(a, checkInput), "check");
    QCOMPARE(CrcCatalog::calculate(a, QByteArray()), quint64(0)); // whatever the initial value
    if (const CrcCatalog::Definition *d = CrcCatalog::definition(a)) {
        QCOMPARE(int(d->algorithm), algorithm);
        QTEST(CrcCatalog::calculateCustom(checkInput, CrcCatalog::parameters(a)), "check");
    } else {
        QCOMPARE(algorithm, 9);
    }
}

void TestCrcCatalog::customAgreesWithReference_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("crc32"); // the CRC-32 parameters, which take their own road
    for (int width : {1, 3, 5, 7, 8, 9, 12, 16, 24, 31, 32, 33, 40, 63, 64}) {
        QTest::addRow("width %d", width) << width << false;
    }
    QTest::newRow("CRC-32") << 32 << true;
}

void TestCrcCatalog::customAgreesWithReference()
{
    QFETCH(int, width);
    QFETCH(bool, crc32);
    QRandomGenerator random{quint32(width)};
    for (int round = 0; round < 80; ++round) {
        const quint64 mask = CrcCatalog::maskForWidth(width);
        const CrcCatalog::CustomParameters p =
            crc32 ? CrcCatalog::parameters(CrcCatalog::Crc32)
                  : CrcCatalog::CustomParameters{width,
                                                 (random.generate64() & mask) | 1U,
                                                 random.generate64() & mask,
                                                 random.generate64() & mask,
                                                 bool(round & 1),
                                                 bool(round & 2)};
        QByteArray message(random.bounded(crc32 ? 5000 : 40), Qt::Uninitialized);
        for (char &c : message) {
            c = char(random.bounded(256));
        }
        QCOMPARE(CrcCatalog::calculateCustom(message, p), referenceCrc(message, p));
    }
}

void TestCrcCatalog::customEdges()
{
    // Width 64 must not shift by 64: CRC-64/ECMA-182 and its reflected sibling CRC-64/XZ.
    QCOMPARE(CrcCatalog::maskForWidth(64), ~quint64(0));
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {64, 0x42F0E1EBA9EA3693, 0, 0, false, false}),
             quint64(0x6C40DF5F0B497347));
    QCOMPARE(CrcCatalog::calculateCustom(
                 checkInput, {64, 0x42F0E1EBA9EA3693, ~quint64(0), ~quint64(0), true, true}),
             quint64(0x995DC9BBDF1939FA));
    // 0x1FFFF does not fit 16 bits; the calculator itself only uses the low bits.
    QVERIFY(!CrcCatalog::fitsWidth(0x1FFFF, 16));
    QVERIFY(CrcCatalog::fitsWidth(0xFFFF, 16) && CrcCatalog::fitsWidth(~quint64(0), 64));
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {16, 0x11021, 0x1FFFF, 0, false, false}),
             quint64(0x29B1));
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {0, 1, 0, 0, false, false}), quint64(0));
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {65, 1, 0, 0, false, false}), quint64(0));
    // Only calculate has the empty-input rule; the send path's CRC-16 of nothing is 0xFFFF.
    QCOMPARE(CrcCatalog::sendChecksumValue(CrcCatalog::SendChecksumCrc16Modbus, QByteArray()),
             quint64(0xFFFF));
}

void TestCrcCatalog::scriptChecksums_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("width");
    QTest::addColumn<quint64>("check");
    // Name, width and the published check value over "123456789".
    const QString table = R"(
        sum8 8 DD  xor8 8 31  crc8 8 F4  crc16modbus 16 4B37  crc32 32 CBF43926  crc4itu 4 7
        crc5epc 5 0  crc5itu 5 7  crc5usb 5 19  crc6cdma2000a 6 D  crc6cdma2000b 6 3B
        crc6itu 6 6  crc7 7 75  crc8ebu 8 97  crc8maxim 8 A1  crc8wcdma 8 25  crc10 10 199
        crc10cdma2000 10 233  crc11 11 5A3  crc12cdma2000 12 D4D  crc12dect 12 F5B
        crc12umts 12 DAF  crc13bbc 13 4FA  crc15 15 59E  crc15mpt1327 15 2566  crc16arc 16 BB3D
        crc16buypass 16 FEE8  crc16ccittfalse 16 29B1  crc16cdma2000 16 4C06  crc16cms 16 AEE7
        crc16dectr 16 7E  crc16dectx 16 7F  crc16dnp 16 EA82  crc16genibus 16 D64E
        crc16kermit 16 2189  crc16maxim 16 44C2  crc16t10dif 16 D0DB  crc16usb 16 B4C8
        crc16x25 16 906E  crc16xmodem 16 31C3  crc17can 17 4F03  crc21can 21 ED841
        crc24 24 21CF02  crc24flexraya 24 7979BD  crc24flexrayb 24 1F23B8  crc30 30 4C34ABF
        crc32bzip2 32 FC891918  crc32c 32 E3069283  crc32mpeg2 32 376E6E7  crc32posix 32 765E7680
        crc32q 32 3010BF7F  crc40gsm 40 D4164FC646  crc64 64 6C40DF5F0B497347)";
    const QStringList words = table.simplified().split(' ');
    QCOMPARE(words.size(), 53 * 3);
    QCOMPARE(CrcCatalog::scriptChecksumNames().size(), 53);
    for (int i = 0; i < words.size(); i += 3) {
        QCOMPARE(CrcCatalog::scriptChecksumNames().at(i / 3), words.at(i)); // table order
        QTest::newRow(qPrintable(words.at(i)))
            << words.at(i) << words.at(i + 1).toInt() << words.at(i + 2).toULongLong(nullptr, 16);
    }
    QTest::newRow("unknown") << "crc16ccitt" << 0 << quint64(0);
    QTest::newRow("names are exact") << "CRC-16/MODBUS" << 0 << quint64(0);
}

void TestCrcCatalog::scriptChecksums()
{
    QFETCH(QString, name);
    QFETCH(int, width);
    bool ok = false;
    QTEST(CrcCatalog::scriptChecksum(name, checkInput, &ok), "check");
    QCOMPARE(ok, width > 0);
    QCOMPARE(CrcCatalog::scriptChecksumWidth(name), width);
}

QTEST_GUILESS_MAIN(TestCrcCatalog)
#include "tst_crccatalog.moc"
