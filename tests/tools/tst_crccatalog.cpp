#include "tools/crccatalog.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

const QByteArray checkInput("123456789");

// A bit-serial reference: the message is fed one bit at a time into the top of the
// register, the way the division is defined, with no byte alignment and no shifted
// registers. It shares nothing with the byte-wise calculator under test.
quint64 referenceCrc(const QByteArray &bytes, const CrcCatalog::CustomParameters &p)
{
    const quint64 mask = p.width == 64 ? ~quint64(0) : (quint64(1) << p.width) - 1;
    quint64 reg = p.initial & mask;
    for (char c : bytes) {
        for (int i = 0; i < 8; ++i) {
            const int bitIndex = p.reflectInput ? i : 7 - i;
            const quint64 bit = (quint8(c) >> bitIndex) & 1U;
            const quint64 top = (reg >> (p.width - 1)) & 1U;
            reg = (reg << 1) & mask;
            if (top ^ bit) {
                reg ^= p.polynomial & mask;
            }
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
    void catalogueCheckValues_data();
    void catalogueCheckValues();
    void catalogueShape();
    void maskForWidth_data();
    void maskForWidth();
    void customAgreesWithReference_data();
    void customAgreesWithReference();
    void customEdges();
    void sendChecksums_data();
    void sendChecksums();
    void scriptCheckValues_data();
    void scriptCheckValues();
    void scriptNames();
};

void TestCrcCatalog::catalogueCheckValues_data()
{
    QTest::addColumn<int>("algorithm");
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint64>("check");
    QTest::newRow("CRC-4/ITU") << 0 << "CRC-4/ITU" << quint64(0x7);
    QTest::newRow("CRC-5/ITU") << 1 << "CRC-5/ITU" << quint64(0x07);
    QTest::newRow("CRC-5/USB") << 2 << "CRC-5/USB" << quint64(0x19);
    QTest::newRow("CRC-6/ITU") << 3 << "CRC-6/ITU" << quint64(0x06);
    QTest::newRow("CRC-8") << 4 << "CRC-8" << quint64(0xF4);
    QTest::newRow("CRC-16/MODBUS") << 5 << "CRC-16/MODBUS" << quint64(0x4B37);
    QTest::newRow("CRC-16/USB") << 6 << "CRC-16/USB" << quint64(0xB4C8);
    QTest::newRow("CRC-32") << 7 << "CRC-32" << quint64(0xCBF43926);
    QTest::newRow("Custom starts as CCITT-FALSE") << 8 << "Custom" << quint64(0x29B1);
}

void TestCrcCatalog::catalogueCheckValues()
{
    QFETCH(int, algorithm);
    const auto a = CrcCatalog::Algorithm(algorithm);
    const CrcCatalog::Definition *d = CrcCatalog::definition(a);
    QVERIFY(d);
    QTEST(d->name, "name");
    QCOMPARE(int(d->algorithm), algorithm);
    QTEST(CrcCatalog::calculate(a, checkInput), "check");
    // The general calculator over the entry's parameters gives the same value.
    QTEST(CrcCatalog::calculateCustom(checkInput, CrcCatalog::parameters(a)), "check");
    // Empty input is 0 whatever the initial value and final XOR say.
    QCOMPARE(CrcCatalog::calculate(a, QByteArray()), quint64(0));
}

void TestCrcCatalog::catalogueShape()
{
    QCOMPARE(CrcCatalog::definitions().size(), 9);
    QCOMPARE(CrcCatalog::definition(CrcCatalog::Algorithm(9)), nullptr);
    QCOMPARE(CrcCatalog::definition(CrcCatalog::Algorithm(-1)), nullptr);
    QCOMPARE(CrcCatalog::calculate(CrcCatalog::Algorithm(9), checkInput), quint64(0));
    // The same list object every time: built once.
    QCOMPARE(&CrcCatalog::definitions(), &CrcCatalog::definitions());
}

void TestCrcCatalog::maskForWidth_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<quint64>("mask");
    QTest::newRow("0") << 0 << quint64(0);
    QTest::newRow("1") << 1 << quint64(1);
    QTest::newRow("5") << 5 << quint64(0x1F);
    QTest::newRow("32") << 32 << quint64(0xFFFFFFFF);
    QTest::newRow("63") << 63 << quint64(0x7FFFFFFFFFFFFFFF);
    QTest::newRow("64 does not shift by 64") << 64 << ~quint64(0);
}

void TestCrcCatalog::maskForWidth()
{
    QFETCH(int, width);
    QTEST(CrcCatalog::maskForWidth(width), "mask");
}

void TestCrcCatalog::customAgreesWithReference_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("reflectInput");
    QTest::addColumn<bool>("reflectOutput");
    for (int width : {1, 3, 5, 7, 8, 9, 12, 16, 24, 31, 32, 33, 40, 63, 64}) {
        for (int r = 0; r < 4; ++r) {
            QTest::addRow("w%d in%d out%d", width, r & 1, r >> 1)
                << width << bool(r & 1) << bool(r >> 1);
        }
    }
}

void TestCrcCatalog::customAgreesWithReference()
{
    QFETCH(int, width);
    QFETCH(bool, reflectInput);
    QFETCH(bool, reflectOutput);
    QRandomGenerator random(quint32(width * 4 + reflectInput + 2 * reflectOutput));
    for (int round = 0; round < 20; ++round) {
        CrcCatalog::CustomParameters p;
        p.width = width;
        const quint64 mask = CrcCatalog::maskForWidth(width);
        p.polynomial = (random.generate64() & mask) | 1U;
        p.initial = random.generate64() & mask;
        p.finalXor = random.generate64() & mask;
        p.reflectInput = reflectInput;
        p.reflectOutput = reflectOutput;
        QByteArray message(int(random.bounded(0, 40)), Qt::Uninitialized);
        for (char &c : message) {
            c = char(random.bounded(256));
        }
        QCOMPARE(CrcCatalog::calculateCustom(message, p), referenceCrc(message, p));
    }
}

void TestCrcCatalog::customEdges()
{
    // CRC-64/ECMA-182 through the custom fields.
    CrcCatalog::CustomParameters ecma{64, 0x42F0E1EBA9EA3693, 0, 0, false, false};
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, ecma), quint64(0x6C40DF5F0B497347));
    // CRC-64/XZ: the same polynomial reflected, all ones in and out.
    CrcCatalog::CustomParameters xz{64, 0x42F0E1EBA9EA3693, ~quint64(0), ~quint64(0), true, true};
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, xz), quint64(0x995DC9BBDF1939FA));

    // A custom width 5 reproduces the catalogue's width-5 entries, and an unreflected
    // width 5 gives the published CRC-5/EPC-C1G2 value over a message where it is not 0.
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {5, 0x05, 0x1F, 0x1F, true, true}),
             CrcCatalog::calculate(CrcCatalog::Crc5Usb, checkInput));
    QCOMPARE(CrcCatalog::calculateCustom(QByteArray("A"), {5, 0x09, 0x09, 0, false, false}),
             referenceCrc(QByteArray("A"), {5, 0x09, 0x09, 0, false, false}));

    // 0x1FFFF does not fit 16 bits; the calculator itself only ever uses the low bits.
    QVERIFY(!CrcCatalog::fitsWidth(0x1FFFF, 16));
    QVERIFY(CrcCatalog::fitsWidth(0xFFFF, 16));
    QVERIFY(CrcCatalog::fitsWidth(~quint64(0), 64));
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {16, 0x11021, 0x1FFFF, 0, false, false}),
             quint64(0x29B1));

    // Widths outside 1..64 give 0 rather than undefined shifts.
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {0, 1, 0, 0, false, false}), quint64(0));
    QCOMPARE(CrcCatalog::calculateCustom(checkInput, {65, 1, 0, 0, false, false}), quint64(0));
    // Unlike calculate, the general calculator has no empty-input rule.
    QCOMPARE(
        CrcCatalog::calculateCustom(QByteArray(), CrcCatalog::parameters(CrcCatalog::Crc16Modbus)),
        quint64(0xFFFF));
}

void TestCrcCatalog::sendChecksums_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("size");
    QTest::addColumn<quint64>("check");
    QTest::addColumn<quint64>("empty");
    QTest::newRow("none") << 0 << "None" << 0 << quint64(0) << quint64(0);
    QTest::newRow("sum") << 1 << "Checksum-8 (SUM)" << 1 << quint64(0xDD) << quint64(0);
    QTest::newRow("xor") << 2 << "XOR (BCC)" << 1 << quint64(0x31) << quint64(0);
    QTest::newRow("crc8") << 3 << "CRC-8" << 1 << quint64(0xF4) << quint64(0);
    QTest::newRow("modbus") << 4 << "CRC-16/MODBUS" << 2 << quint64(0x4B37) << quint64(0xFFFF);
    QTest::newRow("crc32") << 5 << "CRC-32" << 4 << quint64(0xCBF43926) << quint64(0);
    QTest::newRow("unknown") << 6 << "" << 0 << quint64(0) << quint64(0);
}

void TestCrcCatalog::sendChecksums()
{
    QFETCH(int, mode);
    QFETCH(QString, label);
    const QStringList labels = CrcCatalog::sendChecksumLabels();
    QCOMPARE(labels.size(), 6);
    QCOMPARE(labels.value(mode), label);
    QTEST(CrcCatalog::sendChecksumSize(mode), "size");
    QTEST(CrcCatalog::sendChecksumValue(mode, checkInput), "check");
    QTEST(CrcCatalog::sendChecksumValue(mode, QByteArray()), "empty");
}

void TestCrcCatalog::scriptCheckValues_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("width");
    QTest::addColumn<quint64>("check");
    const struct
    {
        const char *name;
        int width;
        quint64 check;
    } published[] = {
        {"sum8", 8, 0xDD},
        {"xor8", 8, 0x31},
        {"crc8", 8, 0xF4},
        {"crc16modbus", 16, 0x4B37},
        {"crc32", 32, 0xCBF43926},
        {"crc4itu", 4, 0x7},
        {"crc5epc", 5, 0x00},
        {"crc5itu", 5, 0x07},
        {"crc5usb", 5, 0x19},
        {"crc6cdma2000a", 6, 0x0D},
        {"crc6cdma2000b", 6, 0x3B},
        {"crc6itu", 6, 0x06},
        {"crc7", 7, 0x75},
        {"crc8ebu", 8, 0x97},
        {"crc8maxim", 8, 0xA1},
        {"crc8wcdma", 8, 0x25},
        {"crc10", 10, 0x199},
        {"crc10cdma2000", 10, 0x233},
        {"crc11", 11, 0x5A3},
        {"crc12cdma2000", 12, 0xD4D},
        {"crc12dect", 12, 0xF5B},
        {"crc12umts", 12, 0xDAF},
        {"crc13bbc", 13, 0x04FA},
        {"crc15", 15, 0x059E},
        {"crc15mpt1327", 15, 0x2566},
        {"crc16arc", 16, 0xBB3D},
        {"crc16buypass", 16, 0xFEE8},
        {"crc16ccittfalse", 16, 0x29B1},
        {"crc16cdma2000", 16, 0x4C06},
        {"crc16cms", 16, 0xAEE7},
        {"crc16dectr", 16, 0x007E},
        {"crc16dectx", 16, 0x007F},
        {"crc16dnp", 16, 0xEA82},
        {"crc16genibus", 16, 0xD64E},
        {"crc16kermit", 16, 0x2189},
        {"crc16maxim", 16, 0x44C2},
        {"crc16t10dif", 16, 0xD0DB},
        {"crc16usb", 16, 0xB4C8},
        {"crc16x25", 16, 0x906E},
        {"crc16xmodem", 16, 0x31C3},
        {"crc17can", 17, 0x04F03},
        {"crc21can", 21, 0x0ED841},
        {"crc24", 24, 0x21CF02},
        {"crc24flexraya", 24, 0x7979BD},
        {"crc24flexrayb", 24, 0x1F23B8},
        {"crc30", 30, 0x04C34ABF},
        {"crc32bzip2", 32, 0xFC891918},
        {"crc32c", 32, 0xE3069283},
        {"crc32mpeg2", 32, 0x0376E6E7},
        {"crc32posix", 32, 0x765E7680},
        {"crc32q", 32, 0x3010BF7F},
        {"crc40gsm", 40, 0xD4164FC646},
        {"crc64", 64, 0x6C40DF5F0B497347},
    };
    static_assert(std::size(published) == 53);
    for (const auto &row : published) {
        QTest::newRow(row.name) << QString::fromLatin1(row.name) << row.width << row.check;
    }
}

void TestCrcCatalog::scriptCheckValues()
{
    QFETCH(QString, name);
    QFETCH(int, width);
    bool ok = false;
    QTEST(CrcCatalog::scriptChecksum(name, checkInput, &ok), "check");
    QVERIFY(ok);
    QCOMPARE(CrcCatalog::scriptChecksumWidth(name), width);
    QVERIFY(CrcCatalog::scriptChecksum(name, QByteArray(4096, '\xA5')) <=
            CrcCatalog::maskForWidth(width));
}

void TestCrcCatalog::scriptNames()
{
    const QStringList names = CrcCatalog::scriptChecksumNames();
    QCOMPARE(names.size(), 53);
    QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), 53);
    QCOMPARE(names.first(), QString("sum8"));
    QCOMPARE(names.at(5), QString("crc4itu"));
    QCOMPARE(names.last(), QString("crc64"));

    bool ok = true;
    QCOMPARE(CrcCatalog::scriptChecksum("crc16ccitt", checkInput, &ok), quint64(0));
    QVERIFY(!ok);
    // Names are taken exactly; folding "CRC-16/MODBUS" to a name is the caller's job.
    QCOMPARE(CrcCatalog::scriptChecksumWidth("CRC-16/MODBUS"), 0);
}

QTEST_GUILESS_MAIN(TestCrcCatalog)
#include "tst_crccatalog.moc"
