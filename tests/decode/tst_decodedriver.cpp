#include "decode/decodedriver.h"
#include "decode/framecsv.h"
#include "modbusframes.h"

#include <QTemporaryFile>
#include <QtTest>

using namespace frames;

class TestDecodeDriver : public QObject
{
    Q_OBJECT
private slots:
    void readsEventsFiles_data();
    void readsEventsFiles();
    void decodesAFileAsTheCommandLineDoes();
    void escape_data();
    void escape();
    void framesAndFields();
    void fileNames();
};

void TestDecodeDriver::readsEventsFiles_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QList<DecodeEvent>>("events");
    QTest::addColumn<QString>("error");

    QTest::newRow("comments, blanks, case, CR LF, peers, time going back")
        << QByteArray("# a capture\r\n\r\n  12\tTX  0103 # the request\r\n"
                      "5 rx ABcd 10.0.0.7:502\r\n# done")
        << QList<DecodeEvent>{{12, FrameDirection::Tx, hex("01 03"), {}, 3},
                              {5, FrameDirection::Rx, hex("AB CD"), "10.0.0.7:502", 4}}
        << QString();
    QTest::newRow("no final line end")
        << QByteArray("1 rx 00") << QList<DecodeEvent>{{1, FrameDirection::Rx, hex("00"), {}, 1}}
        << QString();
    const auto bad = [](const char *text, const char *error) {
        QTest::newRow(error) << QByteArray(text) << QList<DecodeEvent>{}
                             << QString::fromUtf8(error);
    };
    bad("# header\n1 tx 01\n2 tx 0",
        "Line 3: \"0\" is not bytes in hex (two digits each, no blanks)");
    bad("1 tx 01 host:1 more", "Line 1: expected \"<ms> <tx|rx> <hex> [peer]\"");
    bad("1.5 tx 01", "Line 1: \"1.5\" is not a time in milliseconds");
    bad("\n\n1 up 01", "Line 3: \"up\" is not tx or rx");
    bad("1 rx 0x01", "Line 1: \"0x01\" is not bytes in hex (two digits each, no blanks)");
}

void TestDecodeDriver::readsEventsFiles()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    QList<DecodeEvent> events;
    QString why;
    int line = 0;
    QCOMPARE(DecodeEvents::parse(text, &events, &why, &line), error.isEmpty());
    QCOMPARE(why, error);
    if (error.isEmpty()) {
        QTEST(events, "events");
        for (const DecodeEvent &event : std::as_const(events)) {
            QList<DecodeEvent> again;
            QVERIFY(DecodeEvents::parse(DecodeEvents::formatLine(event), &again, &why));
            QCOMPARE(again.first().bytes, event.bytes);
            QCOMPARE(again.first().peer, event.peer);
        }
    } else {
        QCOMPARE(QString::number(line), error.section(u':', 0, 0).mid(5));
    }
}

void TestDecodeDriver::decodesAFileAsTheCommandLineDoes()
{
    // Two clients of a TCP server. A half request from the first stops for good; the
    // silence closes it before the second client's answer is taken, as a live runner's
    // timer would; the end of the file closes a half answer; times are wall times from
    // the base.
    const QByteArray ask = tcp(1, "01 03 00 00 00 02");
    const QByteArray answer = tcp(1, "01 03 04 00 0A 01 02");
    QTemporaryFile file;
    QVERIFY(file.open());
    for (const DecodeEvent &event :
         {rx(1000, ask.first(5), "10.0.0.1:4000"), rx(1300, ask, "10.0.0.2:4001"),
          tx(1340, answer, "10.0.0.2:4001"), rx(1400, ask, "10.0.0.1:4000"),
          tx(1450, answer.first(8), "10.0.0.1:4000")}) {
        file.write(DecodeEvents::formatLine(event) + '\n');
    }
    file.seek(0);

    QList<DecodeEvent> events;
    QString error;
    QVERIFY(DecodeEvents::read(file, &events, &error));
    DecodeDriver driver(ModbusStreamDecoder::Variant::Tcp);
    driver.setWallBase(QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC));
    driver.run(events);
    const QString read2 = QStringLiteral("Slave 1 · Read Holding Registers 40001-40002 (2)");
    QCOMPARE(driver.takeLines(),
             (QStringList{
                 "1  RX  INCOMPLETE  Incomplete frame", "2  RX  OK  " + read2,
                 "3  TX  OK  Slave 1 · Read Holding Registers → 2 register(s)  (#2, 40 ms)",
                 "4  RX  OK  " + read2, "5  TX  INCOMPLETE  Slave 1 · Read Holding Registers"}));
    QCOMPARE(driver.frames().at(1).pairedSeq, 3U);
    QCOMPARE(driver.frames().at(1).latencyMs, 40);
    QCOMPARE(driver.frames().at(3).time,
             QDateTime(QDate(2026, 1, 2), QTime(3, 4, 6, 400), Qt::UTC));
    QCOMPARE(driver.frameCount(), 5);
}

void TestDecodeDriver::escape_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("asText");  // escape with the formula guard
    QTest::addColumn<QString>("asValue"); // escapeValue

    QTest::newRow("plain") << "Read Coils" << "Read Coils" << "Read Coils";
    QTest::newRow("number with a unit") << "-5 mV" << "'-5 mV" << "-5 mV";
    QTest::newRow("exponent") << "1.5e-3 kPa" << "1.5e-3 kPa" << "1.5e-3 kPa";
    QTest::newRow("sum") << "-5+3" << "'-5+3" << "'-5+3";
    QTest::newRow("unit with a formula") << "5 =A1" << "5 =A1" << "5 =A1";
    QTest::newRow("formula") << "=SUM(A1)" << "'=SUM(A1)" << "'=SUM(A1)";
    QTest::newRow("at, plus") << "@x" << "'@x" << "'@x";
    QTest::newRow("tab first") << "\tx" << "'\tx" << "'\tx";
    QTest::newRow("CR first") << "\rx" << "\"'\rx\"" << "\"'\rx\"";
    QTest::newRow("comma, quote") << "a,\"b\"" << "\"a,\"\"b\"\"\"" << "\"a,\"\"b\"\"\"";
    QTest::newRow("formula with a comma") << "=1,2" << "\"'=1,2\"" << "\"'=1,2\"";
    QTest::newRow("blank around") << " 5" << "\" 5\"" << "\" 5\"";
    QTest::newRow("line feed") << "a\nb" << "\"a\nb\"" << "\"a\nb\"";
}

void TestDecodeDriver::escape()
{
    QFETCH(QString, text);
    QTEST(FrameCsv::escape(text, true), "asText");
    QTEST(FrameCsv::escapeValue(text), "asValue");
}

void TestDecodeDriver::framesAndFields()
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

void TestDecodeDriver::fileNames()
{
    const QDateTime when(QDate(2026, 11, 22), QTime(10, 15, 30));
    QCOMPARE(FrameCsv::defaultFileName(QStringLiteral(" /dev/tty USB0: "), when),
             QStringLiteral("devttyUSB0-frames-20261122-101530.csv"));
    QCOMPARE(FrameCsv::defaultFileName(QStringLiteral("<|>"), when),
             QStringLiteral("port-frames-20261122-101530.csv"));
}

QTEST_APPLESS_MAIN(TestDecodeDriver)
#include "tst_decodedriver.moc"
