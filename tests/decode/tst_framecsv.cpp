#include "decode/decodedriver.h"
#include "decode/framecsv.h"
#include "modbusframes.h"

#include <QtTest>

using namespace frames;

class TestFrameCsv : public QObject
{
    Q_OBJECT
private slots:
    void escape_data();
    void escape();
    void framesAndFields();
    void defaultFileName();
};

void TestFrameCsv::escape_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("asText");  // escape with the formula guard
    QTest::addColumn<QString>("asValue"); // escapeValue

    QTest::newRow("plain") << "Read Coils"
                           << "Read Coils"
                           << "Read Coils";
    QTest::newRow("number with a unit") << "-5 mV"
                                        << "'-5 mV"
                                        << "-5 mV";
    QTest::newRow("exponent") << "1.5e-3 kPa"
                              << "1.5e-3 kPa"
                              << "1.5e-3 kPa";
    QTest::newRow("sum") << "-5+3"
                         << "'-5+3"
                         << "'-5+3";
    QTest::newRow("unit with a formula") << "5 =A1"
                                         << "5 =A1"
                                         << "5 =A1";
    QTest::newRow("formula") << "=SUM(A1)"
                             << "'=SUM(A1)"
                             << "'=SUM(A1)";
    QTest::newRow("at, plus") << "@x"
                              << "'@x"
                              << "'@x";
    QTest::newRow("tab first") << "\tx"
                               << "'\tx"
                               << "'\tx";
    QTest::newRow("CR first") << "\rx"
                              << "\"'\rx\""
                              << "\"'\rx\"";
    QTest::newRow("comma, quote") << "a,\"b\""
                                  << "\"a,\"\"b\"\"\""
                                  << "\"a,\"\"b\"\"\"";
    QTest::newRow("formula with a comma") << "=1,2"
                                          << "\"'=1,2\""
                                          << "\"'=1,2\"";
    QTest::newRow("blank around") << " 5"
                                  << "\" 5\""
                                  << "\" 5\"";
    QTest::newRow("line feed") << "a\nb"
                               << "\"a\nb\""
                               << "\"a\nb\"";
}

void TestFrameCsv::escape()
{
    QFETCH(QString, text);
    QTEST(FrameCsv::escape(text, true), "asText");
    QTEST(FrameCsv::escapeValue(text), "asValue");
}

void TestFrameCsv::framesAndFields()
{
    // A request and its answer in RTU, and an ASCII line whose rows count decoded bytes.
    DecodeDriver rtuDriver(ModbusStreamDecoder::Variant::Rtu);
    rtuDriver.run({tx(0, rtu("01 03 00 00 00 02")), rx(12, rtu("01 03 04 00 0A 01 02"))});
    const QString frameRows = rtuDriver.framesCsv();
    QCOMPARE(frameRows,
             "Seq,Time,Direction,Peer,Protocol,Status,Length,Raw,Summary,Paired,Latency (ms),"
             "Fields\r\n"
             "1,1970-01-01 00:00:00.000,TX,,Modbus RTU,OK,8,01 03 00 00 00 02 C4 0B,"
             "Slave 1 · Read Holding Registers 40001-40002 (2),2,,Slave=1; Function=0x03 Read "
             "Holding Registers; Start=0 (0x0000); Quantity=2; CRC=0x0BC4 OK\r\n"
             "2,1970-01-01 00:00:00.012,RX,,Modbus RTU,OK,9,01 03 04 00 0A 01 02 5A 60,"
             "Slave 1 · Read Holding Registers → 2 register(s),1,12,Slave=1; Function=0x03 Read "
             "Holding Registers; Byte count=4; Registers=; 40001=0x000A (10); 40002=0x0102 (258); "
             "CRC=0x605A OK\r\n");
    QCOMPARE(FrameCsv::fields(rtuDriver.frames().mid(1),
                              [&](const DecodedFrame &f) { return rtuDriver.explain(f); }),
             "Seq,Time,Direction,Status,Field,Value,Offset,Length,Raw\r\n"
             "2,1970-01-01 00:00:00.012,RX,OK,Slave,1,0,1,01\r\n"
             "2,1970-01-01 00:00:00.012,RX,OK,Function,0x03 Read Holding Registers,1,1,03\r\n"
             "2,1970-01-01 00:00:00.012,RX,OK,Byte count,4,2,1,04\r\n"
             "2,1970-01-01 00:00:00.012,RX,OK,Registers,,3,4,00 0A 01 02\r\n"
             "2,1970-01-01 00:00:00.012,RX,OK,Registers / 40001,0x000A (10),3,2,00 0A\r\n"
             "2,1970-01-01 00:00:00.012,RX,OK,Registers / 40002,0x0102 (258),5,2,01 02\r\n"
             "2,1970-01-01 00:00:00.012,RX,OK,CRC,0x605A OK,7,2,5A 60\r\n");

    DecodeDriver asciiDriver(ModbusStreamDecoder::Variant::Ascii);
    asciiDriver.setWallBase(QDateTime(QDate(2026, 11, 22), QTime(10, 15), Qt::UTC));
    asciiDriver.run({rx(1, ascii("11 06 00 01 FF FE"), QStringLiteral("=10.0.0.5:502"))});
    QCOMPARE(
        asciiDriver.fieldsCsv().split(QStringLiteral("\r\n")).mid(1),
        (QStringList{"1,2026-11-22 10:15:00.001,RX,OK,Note,ASCII frame; offsets count the "
                     "decoded bytes,,,",
                     "1,2026-11-22 10:15:00.001,RX,OK,Slave,17,0,1,11",
                     "1,2026-11-22 10:15:00.001,RX,OK,Function,0x06 Write Single Register,1,1,06",
                     "1,2026-11-22 10:15:00.001,RX,OK,Address,40002,2,2,00 01",
                     "1,2026-11-22 10:15:00.001,RX,OK,Value,0xFFFE (65534 / -2),4,2,FF FE",
                     "1,2026-11-22 10:15:00.001,RX,OK,LRC,0xEB OK,6,1,EB", ""}));
    QVERIFY(asciiDriver.framesCsv().contains(",RX,'=10.0.0.5:502,Modbus ASCII,"));
}

void TestFrameCsv::defaultFileName()
{
    const QDateTime when(QDate(2026, 11, 22), QTime(10, 15, 30));
    QCOMPARE(FrameCsv::defaultFileName(QStringLiteral(" /dev/tty USB0: "), when),
             QStringLiteral("devttyUSB0-frames-20261122-101530.csv"));
    QCOMPARE(FrameCsv::defaultFileName(QStringLiteral("<|>"), when),
             QStringLiteral("port-frames-20261122-101530.csv"));
}

QTEST_APPLESS_MAIN(TestFrameCsv)
#include "tst_framecsv.moc"
