#include "decode/decodedriver.h"
#include "decode/modbusstreamdecoder.h"
#include "modbusframes.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace frames;
using Variant = ModbusStreamDecoder::Variant;

namespace {

// The printed lines of a capture, run as the command line runs it, one per line.
QString decodeLines(Variant variant, const QList<DecodeEvent> &events)
{
    DecodeDriver driver(variant);
    driver.run(events);
    return driver.takeLines().join(u'\n');
}

// The capture with event `index` cut in two at `at`, both halves at its time.
QList<DecodeEvent> splitAt(QList<DecodeEvent> events, qsizetype index, qsizetype at)
{
    DecodeEvent tail = events.at(index);
    tail.bytes = tail.bytes.sliced(at);
    events[index].bytes.truncate(at);
    events.insert(index + 1, tail);
    return events;
}

QString rowText(const DecodedField &f)
{
    return QStringLiteral("%1%2=%3 @%4+%5%6")
        .arg(f.indent ? QStringLiteral("  ") : QString(), f.name, f.value)
        .arg(f.offset)
        .arg(f.length)
        .arg(f.bad ? QStringLiteral(" !") : QString());
}

const QByteArray Read2 = rtu("01 03 00 00 00 02");
const QByteArray Read2Answer = rtu("01 03 04 00 0A 01 02");
const QByteArray Write6 = rtu("01 06 00 01 00 03");

} // namespace

class TestModbusStreamDecoder : public QObject
{
    Q_OBJECT
private slots:
    void examples_data();
    void examples();
    void explainRows_data();
    void explainRows();
    void garbageLeavesInPiecesAndAtTheGap();
    void openRequestsAreBounded();
    void noiseStaysBoundedAndFindsTheNextFrame();
};

void TestModbusStreamDecoder::examples_data()
{
    QTest::addColumn<Variant>("variant");
    QTest::addColumn<QList<DecodeEvent>>("events");
    QTest::addColumn<QStringList>("lines");

    const QString read2 = QStringLiteral("Slave 1 · Read Holding Registers 40001-40002 (2)");
    const QString read2Answer = QStringLiteral("Slave 1 · Read Holding Registers → 2 register(s)");
    QTest::newRow("rtu: damaged CRC between good frames")
        << Variant::Rtu << QList<DecodeEvent>{tx(0, Read2 + damaged(Read2) + Read2)}
        << QStringList{"1  TX  OK  " + read2, "2  TX  CHECKSUM_ERROR  " + read2,
                       "3  TX  OK  " + read2};
    QTest::newRow("rtu: an echo is a request until one is open")
        << Variant::Rtu << QList<DecodeEvent>{rx(0, Write6), rx(40, Write6)}
        << QStringList{"1  RX  OK  Slave 1 · Write Single Register 40002 = 3",
                       "2  RX  OK  Slave 1 · Write Single Register → 40002 = 3  (#1, 40 ms)"};
    QTest::newRow("rtu: a broadcast is not answered")
        << Variant::Rtu
        << QList<DecodeEvent>{tx(0, rtu("00 06 00 01 00 03")), rx(30, rtu("00 06 00 01 00 03"))}
        << QStringList{"1  TX  OK  Slave 0 · Write Single Register 40002 = 3",
                       "2  RX  OK  Slave 0 · Write Single Register 40002 = 3"};
    QTest::newRow("rtu: ten garbage bytes")
        << Variant::Rtu << QList<DecodeEvent>{rx(0, QByteArray(10, '\xFF'))}
        << QStringList{"1  RX  UNRECOGNIZED  10 unrecognized bytes"};
    QTest::newRow("rtu: 300 garbage bytes")
        << Variant::Rtu << QList<DecodeEvent>{rx(0, QByteArray(300, '\xFF'))}
        << QStringList{"1  RX  UNRECOGNIZED  256 unrecognized bytes",
                       "2  RX  UNRECOGNIZED  44 unrecognized bytes"};
    QTest::newRow("rtu: noise before a frame")
        << Variant::Rtu << QList<DecodeEvent>{rx(0, hex("FF FF 12") + Read2Answer)}
        << QStringList{"1  RX  UNRECOGNIZED  3 unrecognized bytes", "2  RX  OK  " + read2Answer};
    QTest::newRow("rtu: identical requests are answered in order")
        << Variant::Rtu
        << QList<DecodeEvent>{tx(0, Read2), tx(10, Read2), rx(20, Read2Answer), rx(30, Read2Answer)}
        << QStringList{"1  TX  OK  " + read2, "2  TX  OK  " + read2,
                       "3  RX  OK  " + read2Answer + "  (#1, 20 ms)",
                       "4  RX  OK  " + read2Answer + "  (#2, 20 ms)"};
    QTest::newRow("rtu: a response waits 2000 ms, not 2001")
        << Variant::Rtu
        << QList<DecodeEvent>{tx(0, Write6),         rx(2001, Write6), tx(3000, Read2),
                              rx(5000, Read2Answer), tx(6000, Read2),  rx(8001, Read2Answer)}
        << QStringList{"1  TX  OK  Slave 1 · Write Single Register 40002 = 3",
                       "2  RX  OK  Slave 1 · Write Single Register 40002 = 3",
                       "3  TX  OK  " + read2,
                       "4  RX  OK  " + read2Answer + "  (#3, 2000 ms)",
                       "5  TX  OK  " + read2,
                       "6  RX  OK  " + read2Answer};
    QTest::newRow("rtu: a frame cut short by the end")
        << Variant::Rtu << QList<DecodeEvent>{tx(0, Read2.first(7))}
        << QStringList{"1  TX  INCOMPLETE  " + read2};
    QTest::newRow("rtu: every function, asked and answered")
        << Variant::Rtu
        << QList<DecodeEvent>{tx(0, rtu("01 01 00 13 00 13")),
                              rx(5, rtu("01 01 03 CD 6B 05")),
                              tx(10, rtu("01 04 00 08 00 01")),
                              rx(15, rtu("01 04 02 00 0A")),
                              tx(20, rtu("01 05 00 AC FF 00")),
                              rx(25, rtu("01 05 00 AC FF 00")),
                              tx(30, rtu("01 0F 00 13 00 0A 02 CD 01")),
                              rx(35, rtu("01 0F 00 13 00 0A")),
                              tx(40, rtu("01 10 00 01 00 02 04 00 0A 01 02")),
                              rx(45, rtu("01 10 00 01 00 02")),
                              tx(50, rtu("01 16 00 04 00 F2 00 25")),
                              rx(55, rtu("01 16 00 04 00 F2 00 25")),
                              tx(60, rtu("01 17 00 03 00 06 00 0E 00 03 06 00 FF 00 FF 00 FF")),
                              rx(65, rtu("01 17 0C 00 FE 0A CD 00 01 00 03 00 0D 00 FF")),
                              tx(70, rtu("01 08 00 00 A5 37")),
                              rx(75, rtu("01 08 00 00 A5 37")),
                              tx(80, rtu("01 2B 0E 01 00")),
                              rx(85, rtu("01 2B 0E 01 01 00 00 01 00 06 56 65 6C 6D 6F 72 61")),
                              tx(90, rtu("01 07")),
                              rx(95, rtu("01 07 6D")),
                              tx(100, Read2),
                              rx(105, rtu("01 83 02")),
                              rx(110, rtu("01 02 01 05")),
                              tx(120, rtu("01 41 01 02 03"))}
        << QStringList{
               "1  TX  OK  Slave 1 · Read Coils 00020-00038 (19)",
               "2  RX  OK  Slave 1 · Read Coils → 19 coil(s)  (#1, 5 ms)",
               "3  TX  OK  Slave 1 · Read Input Registers 30009 (1)",
               "4  RX  OK  Slave 1 · Read Input Registers → 1 register(s)  (#3, 5 ms)",
               "5  TX  OK  Slave 1 · Write Single Coil 00173 = ON",
               "6  RX  OK  Slave 1 · Write Single Coil → 00173 = ON  (#5, 5 ms)",
               "7  TX  OK  Slave 1 · Write Multiple Coils 00020-00029 (10)",
               "8  RX  OK  Slave 1 · Write Multiple Coils → 00020-00029 (10)  (#7, 5 ms)",
               "9  TX  OK  Slave 1 · Write Multiple Registers 40002-40003 (2)",
               "10  RX  OK  Slave 1 · Write Multiple Registers → 40002-40003 (2)  (#9, 5 ms)",
               "11  TX  OK  Slave 1 · Mask Write Register 40005",
               "12  RX  OK  Slave 1 · Mask Write Register → 40005  (#11, 5 ms)",
               "13  TX  OK  Slave 1 · Read/Write Multiple Registers read 40004-40009 (6), write "
               "40015-40017 (3)",
               "14  RX  OK  Slave 1 · Read/Write Multiple Registers → 6 register(s)  (#13, 5 ms)",
               "15  TX  OK  Slave 1 · Diagnostics 4 byte(s)",
               "16  RX  OK  Slave 1 · Diagnostics → 4 byte(s)  (#15, 5 ms)",
               "17  TX  OK  Slave 1 · Encapsulated Interface Transport 3 byte(s)",
               "18  RX  OK  Slave 1 · Encapsulated Interface Transport → 15 byte(s)  (#17, 5 ms)",
               "19  TX  OK  Slave 1 · Read Exception Status 0 byte(s)",
               "20  RX  OK  Slave 1 · Read Exception Status → 1 byte(s)  (#19, 5 ms)",
               "21  TX  OK  " + read2,
               "22  RX  EXCEPTION  Slave 1 · Exception 02 Illegal Data Address (Read Holding "
               "Registers)  (#21, 5 ms)",
               "23  RX  OK  Slave 1 · Read Discrete Inputs → 1 byte(s)",
               "24  TX  OK  Slave 1 · Function 0x41 3 byte(s)"};

    const QByteArray asciiRead = ascii("01 03 00 00 00 02");
    QTest::newRow("ascii: asked and answered, any case")
        << Variant::Ascii
        << QList<DecodeEvent>{tx(0, asciiRead), rx(20, ascii("01 03 04 00 0A 01 02").toLower())}
        << QStringList{"1  TX  OK  " + read2, "2  RX  OK  " + read2Answer + "  (#1, 20 ms)"};
    QTest::newRow("ascii: noise, a wrong LRC, a second colon")
        << Variant::Ascii << QList<DecodeEvent>{rx(0, "xx:0103000000020A\r\n:0103" + asciiRead)}
        << QStringList{"1  RX  UNRECOGNIZED  2 unrecognized bytes",
                       "2  RX  CHECKSUM_ERROR  " + read2, "3  RX  MALFORMED  Malformed frame",
                       "4  RX  OK  " + read2};
    QTest::newRow("ascii: a line longer than 513 bytes")
        << Variant::Ascii << QList<DecodeEvent>{rx(0, ':' + QByteArray(600, '0'))}
        << QStringList{"1  RX  MALFORMED  Malformed frame",
                       "2  RX  UNRECOGNIZED  88 unrecognized bytes"};
    QTest::newRow("ascii: a pause ends a frame")
        << Variant::Ascii
        << QList<DecodeEvent>{tx(0, asciiRead.first(5)), tx(150, asciiRead.sliced(5))}
        << QStringList{"1  TX  INCOMPLETE  Incomplete frame",
                       "2  TX  UNRECOGNIZED  12 unrecognized bytes"};

    QTest::newRow("tcp: answers pair by transaction")
        << Variant::Tcp
        << QList<DecodeEvent>{tx(0, tcp(1, "01 03 00 00 00 02")),
                              tx(1, tcp(2, "01 03 00 10 00 01")), rx(10, tcp(2, "01 03 02 00 07")),
                              rx(12, tcp(1, "01 03 04 00 0A 01 02"))}
        << QStringList{"1  TX  OK  " + read2,
                       "2  TX  OK  Slave 1 · Read Holding Registers 40017 (1)",
                       "3  RX  OK  Slave 1 · Read Holding Registers → 1 register(s)  (#2, 9 ms)",
                       "4  RX  OK  " + read2Answer + "  (#1, 12 ms)"};
    QTest::newRow("tcp: a header of protocol 1 is lost a byte at a time")
        << Variant::Tcp
        << QList<DecodeEvent>{rx(0, hex("00 01 00 01 00 06 01") + tcp(7, "01 03 00 00 00 02"))}
        << QStringList{"1  RX  UNRECOGNIZED  7 unrecognized bytes", "2  RX  OK  " + read2};
    QTest::newRow("tcp: function 0, unit 0")
        << Variant::Tcp
        << QList<DecodeEvent>{tx(0, tcp(3, "01 00 01 02")), tx(2, tcp(9, "00 06 00 01 00 03")),
                              rx(6, tcp(9, "00 06 00 01 00 03"))}
        << QStringList{"1  TX  MALFORMED  Slave 1 · Function 0x00 2 byte(s)",
                       "2  TX  OK  Slave 0 · Write Single Register 40002 = 3",
                       "3  RX  OK  Slave 0 · Write Single Register → 40002 = 3  (#2, 4 ms)"};
    const QByteArray tcpRead = tcp(1, "01 03 00 00 00 02");
    QTest::newRow("tcp: a pause ends a frame")
        << Variant::Tcp << QList<DecodeEvent>{tx(0, tcpRead.first(9)), tx(200, tcpRead.sliced(9))}
        << QStringList{"1  TX  INCOMPLETE  Slave 1 · Read Holding Registers",
                       "2  TX  INCOMPLETE  Incomplete frame"};
}

void TestModbusStreamDecoder::examples()
{
    QFETCH(Variant, variant);
    QFETCH(QList<DecodeEvent>, events);
    QFETCH(QStringList, lines);
    const QString expected = lines.join(u'\n');
    QCOMPARE(decodeLines(variant, events), expected);

    // However the arrivals are cut, the frames are the same: byte by byte, and in two at
    // every point of every arrival.
    QList<DecodeEvent> bytewise;
    for (const DecodeEvent &event : events) {
        for (char c : event.bytes) {
            bytewise.append({event.ms, event.direction, QByteArray(1, c), event.peer, 0});
        }
    }
    QCOMPARE(decodeLines(variant, bytewise), expected);
    for (qsizetype i = 0; i < events.size(); ++i) {
        for (qsizetype at = 1; at < events.at(i).bytes.size(); ++at) {
            const QString got = decodeLines(variant, splitAt(events, i, at));
            if (got != expected) {
                qWarning("event %lld cut at %lld", qlonglong(i), qlonglong(at));
                QCOMPARE(got, expected);
            }
        }
    }
}

void TestModbusStreamDecoder::explainRows_data()
{
    QTest::addColumn<Variant>("variant");
    QTest::addColumn<QList<DecodeEvent>>("events");
    QTest::addColumn<QStringList>("rows"); // of the last frame

    QTest::newRow("rtu: registers named by the request's start")
        << Variant::Rtu
        << QList<DecodeEvent>{tx(0, rtu("01 03 00 6B 00 02")), rx(5, rtu("01 03 04 02 2B 80 00"))}
        << QStringList{"Slave=1 @0+1",
                       "Function=0x03 Read Holding Registers @1+1",
                       "Byte count=4 @2+1",
                       "Registers= @3+4",
                       "  40108=0x022B (555) @3+2",
                       "  40109=0x8000 (32768 / -32768) @5+2",
                       "CRC=0x43EA OK @7+2"};
    QTest::newRow("rtu: coils up to the quantity asked")
        << Variant::Rtu
        << QList<DecodeEvent>{tx(0, rtu("01 01 00 13 00 03")), rx(5, rtu("01 01 01 05"))}
        << QStringList{"Slave=1 @0+1",      "Function=0x01 Read Coils @1+1",
                       "Byte count=1 @2+1", "Coils= @3+1",
                       "  00020=ON @3+1",   "  00021=OFF @3+1",
                       "  00022=ON @3+1",   "CRC=0x8B91 OK @4+2"};
    QTest::newRow("rtu: unanswered registers by index")
        << Variant::Rtu << QList<DecodeEvent>{rx(0, rtu("01 03 04 00 01 00 02"))}
        << QStringList{"Slave=1 @0+1",          "Function=0x03 Read Holding Registers @1+1",
                       "Byte count=4 @2+1",     "Registers= @3+4",
                       "  [0]=0x0001 (1) @3+2", "  [1]=0x0002 (2) @5+2",
                       "CRC=0x322A OK @7+2"};
    QTest::newRow("rtu: bad coil value, bad CRC")
        << Variant::Rtu << QList<DecodeEvent>{tx(0, damaged(rtu("01 05 00 AC 12 34")))}
        << QStringList{"Slave=1 @0+1", "Function=0x05 Write Single Coil @1+1", "Address=00173 @2+2",
                       "Value=0x1234 (invalid) @4+2 !", "CRC=0x9D00 (expected 0x9C00) @6+2 !"};
    QTest::newRow("rtu: exception")
        << Variant::Rtu << QList<DecodeEvent>{rx(0, rtu("01 83 02"))}
        << QStringList{"Slave=1 @0+1", "Function=0x83 Exception (Read Holding Registers) @1+1",
                       "Exception=0x02 Illegal Data Address @2+1", "CRC=0xF1C0 OK @3+2"};
    QTest::newRow("ascii: rows count decoded bytes")
        << Variant::Ascii << QList<DecodeEvent>{tx(0, ascii("11 06 00 01 00 03"))}
        << QStringList{"Note=ASCII frame; offsets count the decoded bytes @-1+0",
                       "Slave=17 @0+1",
                       "Function=0x06 Write Single Register @1+1",
                       "Address=40002 @2+2",
                       "Value=0x0003 (3) @4+2",
                       "LRC=0xE5 OK @6+1"};
    QTest::newRow("tcp: a frame cut short")
        << Variant::Tcp << QList<DecodeEvent>{tx(0, tcp(1, "01 03 00 00 00 02").first(10))}
        << QStringList{"Transaction=1 @0+2",
                       "Protocol=0 @2+2",
                       "Length=6 @4+2 !",
                       "Unit=1 @6+1",
                       "Function=0x03 Read Holding Registers @7+1",
                       "Start=0 (0x0000) @8+2"};
    QTest::newRow("tcp: write values named from the write start")
        << Variant::Tcp
        << QList<DecodeEvent>{tx(0, tcp(5, "01 17 00 03 00 01 00 0E 00 02 04 00 FF FF 00"))}
        << QStringList{"Transaction=5 @0+2",
                       "Protocol=0 @2+2",
                       "Length=15 @4+2",
                       "Unit=1 @6+1",
                       "Function=0x17 Read/Write Multiple Registers @7+1",
                       "Read start=3 (0x0003) @8+2",
                       "Read quantity=1 @10+2",
                       "Write start=14 (0x000E) @12+2",
                       "Write quantity=2 @14+2",
                       "Byte count=4 @16+1",
                       "Write values= @17+4",
                       "  40015=0x00FF (255) @17+2",
                       "  40016=0xFF00 (65280 / -256) @19+2"};
}

void TestModbusStreamDecoder::explainRows()
{
    QFETCH(Variant, variant);
    QFETCH(QList<DecodeEvent>, events);
    QFETCH(QStringList, rows);
    DecodeDriver driver(variant);
    driver.run(events);
    QVERIFY(!driver.frames().isEmpty());
    const DecodedFrame last = driver.frames().last();
    QStringList got;
    for (const DecodedField &field : driver.explain(last)) {
        got.append(rowText(field));
    }
    QCOMPARE(got, rows);
}

void TestModbusStreamDecoder::garbageLeavesInPiecesAndAtTheGap()
{
    ModbusStreamDecoder decoder(Variant::Rtu);
    DecodeOutput out;
    const QDateTime wall = QDateTime::fromMSecsSinceEpoch(1000, Qt::UTC);
    decoder.ingest(FrameDirection::Rx, {}, QByteArray(300, '\xFF'), 1000, wall, out);
    QCOMPARE(out.frames.size(), 1);
    QCOMPARE(out.frames.first().raw.size(), 256);
    QCOMPARE(out.frames.first().time, wall);
    QCOMPARE(decoder.nextTimeoutMs(1040), 60);
    decoder.tick(1099, out);
    QCOMPARE(out.frames.size(), 1);
    decoder.tick(1100, out);
    QCOMPARE(out.frames.size(), 2);
    QCOMPARE(out.frames.last().raw.size(), 44);
    QCOMPARE(decoder.streamCount(), 0);
    QCOMPARE(decoder.nextTimeoutMs(1100), -1);

    // An open request is due one past the pair time-out, and survives a flush.
    decoder.ingest(FrameDirection::Tx, {}, Read2, 2000, wall, out);
    QCOMPARE(decoder.nextTimeoutMs(2000), 2001);
    decoder.flush(out);
    QCOMPARE(decoder.pendingCount(), 1);
    decoder.tick(4001, out);
    QCOMPARE(decoder.pendingCount(), 0);
}

void TestModbusStreamDecoder::openRequestsAreBounded()
{
    // 33 requests to different slaves: the first one's answer finds nothing open.
    ModbusStreamDecoder decoder(Variant::Rtu, {1, 2000, 32, 0, 0});
    QCOMPARE(decoder.options().maxBufferBytes, 513);
    DecodeOutput out;
    for (int slave = 1; slave <= 33; ++slave) {
        decoder.ingest(FrameDirection::Tx, {}, ModbusCodec::buildRtuFrame({slave, 6, 1, 1, {3}}),
                       slave, {}, out);
    }
    QCOMPARE(decoder.pendingCount(), 32);
    decoder.ingest(FrameDirection::Rx, {}, ModbusCodec::buildRtuFrame({2, 6, 1, 1, {3}}), 40, {},
                   out);
    decoder.ingest(FrameDirection::Rx, {}, ModbusCodec::buildRtuFrame({1, 6, 1, 1, {3}}), 41, {},
                   out);
    QCOMPARE(out.pairs, (QList<PairUpdate>{{2, 34, 38}}));
    QCOMPARE(out.frames.at(34).pairedSeq, 0U);
}

void TestModbusStreamDecoder::noiseStaysBoundedAndFindsTheNextFrame()
{
    // Noise made of plausible frame starts with long announced lengths keeps the search
    // busy; it must stay within its buffers, account for every byte, and find the frame.
    ModbusStreamDecoder decoder(Variant::Rtu);
    QRandomGenerator random(19);
    QByteArray noise;
    while (noise.size() < 200000) {
        noise.append(char(random.bounded(0, 248)));
        noise.append(char("\x01\x03\x04\x10\x17"[random.bounded(5)]));
        noise.append(char(random.bounded(256)));
    }
    DecodeOutput out;
    qsizetype arrived = 0;
    for (qsizetype at = 0; at < noise.size(); at += 7) {
        const QByteArray piece = noise.mid(at, 7);
        decoder.ingest(FrameDirection::Rx, {}, piece, 0, {}, out);
        arrived += piece.size();
        QVERIFY(decoder.heldBytes() <= decoder.options().maxBufferBytes + 255);
    }
    decoder.ingest(FrameDirection::Rx, {}, Read2Answer, 500, {}, out);
    decoder.flush(out);
    qsizetype total = 0;
    for (const DecodedFrame &frame : std::as_const(out.frames)) {
        total += frame.raw.size();
        QVERIFY(frame.raw.size() <= 256);
    }
    QCOMPARE(total, arrived + Read2Answer.size());
    QCOMPARE(out.frames.last().raw, Read2Answer);
    QCOMPARE(out.frames.last().status, FrameStatus::Ok);
}

QTEST_APPLESS_MAIN(TestModbusStreamDecoder)
#include "tst_modbusstreamdecoder.moc"
