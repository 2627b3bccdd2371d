#include "decode/modbuscodec.h"
#include "decode/modbusdecoder.h"
#include "decode/modbusgateway.h"
#include "modbusframes.h"
#include "tools/crccatalog.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace frames;

class TestModbusCodec : public QObject
{
    Q_OBJECT
private slots:
    void checks();
    void build_data();
    void build();
    void gateway();
};

void TestModbusCodec::checks()
{
    // The worked examples of the two checks, and the catalogue's definition of the CRC
    // over random inputs, whole and carried along in pieces.
    QCOMPARE(rtu("01 03 00 00 00 02"), hex("01 03 00 00 00 02 C4 0B"));
    QCOMPARE(ModbusCodec::lrc(hex("11 03 00 6B 00 03")), quint8(0x7E));
    QCOMPARE(ModbusCodec::crc16({}), quint16(0xFFFF));
    // References grow a fifth digit past 9999.
    QCOMPARE(ModbusDecoder::rangeText(4, 9997, 3), QStringLiteral("39998-310000 (3)"));
    QCOMPARE(ModbusDecoder::rangeText(16, 65535, 1), QStringLiteral("465536 (1)"));
    QRandomGenerator random(7);
    for (int size : {1, 2, 15, 16, 17, 300}) {
        QByteArray bytes(size, '\0');
        for (char &c : bytes) {
            c = char(random.bounded(256));
        }
        const quint16 whole = ModbusCodec::crc16(bytes);
        QCOMPARE(whole, quint16(CrcCatalog::calculate(CrcCatalog::Crc16Modbus, bytes)));
        const qsizetype cut = size / 3;
        QCOMPARE(ModbusCodec::crc16Update(ModbusCodec::crc16(bytes.first(cut)), bytes.sliced(cut)),
                 whole);
    }
}

void TestModbusCodec::build_data()
{
    QTest::addColumn<int>("slave");
    QTest::addColumn<int>("function");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("quantity");
    QTest::addColumn<QList<quint16>>("values");
    QTest::addColumn<QByteArray>("rtuFrame");
    QTest::addColumn<QString>("error");

    QTest::newRow("read holding") << 1 << 3 << 0 << 2 << QList<quint16>{}
                                  << rtu("01 03 00 00 00 02") << QString();
    QTest::newRow("slave 0 is the broadcast")
        << 0 << 6 << 1 << 0 << QList<quint16>{0xABCD} << rtu("00 06 00 01 AB CD") << QString();
    QTest::newRow("coil: any value but 0 is on")
        << 17 << 5 << 172 << 0 << QList<quint16>{7} << rtu("11 05 00 AC FF 00") << QString();
    QTest::newRow("ten coils pack into two bytes")
        << 1 << 15 << 19 << 0 << QList<quint16>{1, 0, 1, 1, 0, 0, 1, 1, 1, 0}
        << rtu("01 0F 00 13 00 0A 02 CD 01") << QString();
    QTest::newRow("registers") << 1 << 16 << 1 << 0 << QList<quint16>{0x000A, 0x0102}
                               << rtu("01 10 00 01 00 02 04 00 0A 01 02") << QString();
    QTest::newRow("last address, one register")
        << 1 << 3 << 65535 << 1 << QList<quint16>{} << rtu("01 03 FF FF 00 01") << QString();
    QTest::newRow("last address, two registers")
        << 1 << 3 << 65535 << 2 << QList<quint16>{} << QByteArray()
        << "Address 65535 plus count 2 exceeds the 65536 address space.";
    QTest::newRow("slave 248") << 248 << 3 << 0 << 1 << QList<quint16>{} << QByteArray()
                               << "Slave ID must be between 0 and 247.";
    QTest::newRow("2001 coils") << 1 << 1 << 0 << 2001 << QList<quint16>{} << QByteArray()
                                << "Coil count must be between 1 and 2000.";
    QTest::newRow("126 registers read") << 1 << 3 << 0 << 126 << QList<quint16>{} << QByteArray()
                                        << "Register count must be between 1 and 125.";
    QTest::newRow("124 registers written")
        << 1 << 16 << 0 << 0 << QList<quint16>(124, 1) << QByteArray()
        << "Register count must be between 1 and 123.";
    QTest::newRow("two values for one register")
        << 1 << 6 << 0 << 0 << QList<quint16>{1, 2} << QByteArray()
        << "Write Single Register needs exactly one value.";
    QTest::newRow("unsupported") << 1 << 0x2B << 0 << 0 << QList<quint16>{} << QByteArray()
                                 << "Unsupported function code 0x2B.";
}

void TestModbusCodec::build()
{
    QFETCH(int, slave);
    QFETCH(int, function);
    QFETCH(int, address);
    QFETCH(int, quantity);
    QFETCH(QList<quint16>, values);
    QFETCH(QByteArray, rtuFrame);
    const ModbusCodec::Request request{slave, quint8(function), quint16(address), quantity, values};
    QString error = QStringLiteral("stale");
    QCOMPARE(ModbusCodec::buildRtuFrame(request, &error), rtuFrame);
    QTEST(error, "error");
    // The ASCII line carries the same bytes.
    const QByteArray line = ModbusCodec::buildAsciiFrame(request, &error);
    QByteArray decoded;
    quint8 stored = 0;
    quint8 computed = 1;
    QCOMPARE(ModbusDecoder::parseAsciiFrame(line, &decoded, &stored, &computed),
             !rtuFrame.isEmpty());
    if (!rtuFrame.isEmpty()) {
        QCOMPARE(decoded, rtuFrame.chopped(2));
        QCOMPARE(stored, computed);
        QCOMPARE(line, line.toUpper());
    }
}

void TestModbusCodec::gateway()
{
    ModbusGateway gateway(1000);
    // Two requests, the second split over two reads, the first two bytes of a third.
    const QByteArray first = tcp(0x0101, "01 03 00 00 00 02");
    const QByteArray second = tcp(0x0202, "02 06 00 01 00 03");
    QCOMPARE(gateway.tcpToRtu(first + second.first(9), 0), rtu("01 03 00 00 00 02"));
    QCOMPARE(gateway.tcpToRtu(second.sliced(9) + hex("03 03"), 5), rtu("02 06 00 01 00 03"));
    QCOMPARE(gateway.pendingRequests().size(), 2);
    QCOMPARE(gateway.nextTimeoutMs(400), 600);

    // Answers come back with their request's transaction, matched by unit.
    QCOMPARE(gateway.rtuToTcp(rtu("02 06 00 01 00 03"), 20), second);
    QCOMPARE(gateway.rtuToTcp(rtu("01 03 04 00 0A 01 02"), 30),
             tcp(0x0101, "01 03 04 00 0A 01 02"));
    QCOMPARE(gateway.nextTimeoutMs(30), -1);

    // What it cannot match it counts and drops.
    gateway.reset();
    gateway.setTransactionTimeoutMs(0);
    QCOMPARE(gateway.transactionTimeoutMs(), 1);
    gateway.setMaxPendingTransactions(1);
    gateway.tcpToRtu(tcp(1, "01 03 00 00 00 01"), 0);
    gateway.tcpToRtu(tcp(2, "02 03 00 00 00 01"), 0); // the first one makes room
    QVERIFY(gateway.rtuToTcp(rtu("01 03 02 00 01"), 0).isEmpty());
    QVERIFY(gateway.rtuToTcp(damaged(rtu("02 03 02 00 01")), 0).isEmpty());
    gateway.tick(2); // older than 1 ms
    QVERIFY(gateway.rtuToTcp(rtu("02 03 02 00 01"), 2).isEmpty());
    // A header of another protocol drops what is buffered, the good frame behind it too.
    QVERIFY(gateway.tcpToRtu(hex("00 01 00 01 00 06") + tcp(3, "01 03 00 00 00 01"), 3).isEmpty());
    QCOMPARE(gateway.tcpToRtu(tcp(4, "01 03 00 00 00 01"), 4), rtu("01 03 00 00 00 01"));
    const ModbusGateway::Counters counters = gateway.counters();
    QCOMPARE(counters.expired, 2);
    QCOMPARE(counters.unmatchedResponses, 2);
    QCOMPARE(counters.crcErrors, 1);
    QCOMPARE(counters.malformedTcp, 1);
}

QTEST_APPLESS_MAIN(TestModbusCodec)
#include "tst_modbuscodec.moc"
