#include "decode/decodedriver.h"
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

QTEST_APPLESS_MAIN(TestDecodeDriver)
#include "tst_decodedriver.moc"
