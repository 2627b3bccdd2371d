#include "decode/framecsv.h"
#include "decode/frameinterpreter.h"
#include "decode/framesplitter.h"
#include "decode/templatestreamdecoder.h"
#include "modbusframes.h"
#include "templates.h"

#include <QRandomGenerator>
#include <QtTest>

Q_DECLARE_METATYPE(FrameTemplate)

namespace {

using frames::hex;

// A frame of the sensor template around `body`, with its length and SUM8; `damage`
// changes the checksum.
QByteArray sensor(const QByteArray &body, int damage = 0)
{
    QByteArray frame = hex("AA55") + char(body.size()) + body;
    frame.append(char(quint8(FrameInterpreter::computeChecksum(templates::sensor().checksum,
                                                               QByteArrayView(frame).sliced(2))) +
                      damage));
    return frame;
}

// CRC-16/MODBUS, stored low byte first, over a two-byte little-endian length that counts
// the whole frame.
const FrameTemplate crcTemplate{.header = QByteArray("\x7E"),
                                .lengthOffset = 1,
                                .lengthWidth = 2,
                                .lengthEndian = Endian::Little,
                                .lengthScope = FrameTemplate::WholeFrame,
                                .checksum = {.kind = ChecksumSpec::Crc}};

QByteArray crcFrame(const QByteArray &body)
{
    const int size = int(body.size()) + 5;
    QByteArray frame = hex("7E") + char(size & 0xFF) + char(size >> 8) + body;
    const quint16 crc = quint16(FrameInterpreter::computeChecksum(crcTemplate.checksum, frame));
    return frame + char(crc & 0xFF) + char(crc >> 8);
}

FrameTemplate delimited(int maxFrameBytes = 1024)
{
    return {.framing = FrameTemplate::Delimited, .header = "$", .maxFrameBytes = maxFrameBytes};
}

const FrameTemplate fixed{.framing = FrameTemplate::HeaderFixed,
                          .header = QByteArray("\xA5"),
                          .fixedLength = 4,
                          .checksum = {.kind = ChecksumSpec::Xor8},
                          .checksumStart = 1};

QString pieceText(const FrameSplitter::Piece &piece)
{
    return FrameCsv::statusToken(piece.status) + u' ' +
           QString::fromLatin1(piece.bytes.toHex().toUpper());
}

// Feeds `arrivals` at one moment and flushes; checks that every byte comes out once and in
// order.
QStringList split(const FrameTemplate &t, const QList<QByteArray> &arrivals)
{
    FrameSplitter splitter(t);
    QList<FrameSplitter::Piece> pieces;
    QByteArray in;
    for (const QByteArray &bytes : arrivals) {
        in += bytes;
        pieces += splitter.ingest(bytes, 0, QDateTime());
    }
    pieces += splitter.flush();
    QByteArray out;
    QStringList texts;
    for (const FrameSplitter::Piece &piece : std::as_const(pieces)) {
        out += piece.bytes;
        texts.append(pieceText(piece));
    }
    if (out != in || !splitter.idle()) {
        return {QStringLiteral("bytes lost, repeated or held")};
    }
    return texts;
}

} // namespace

class TestFrameSplitter : public QObject
{
    Q_OBJECT
private slots:
    void splits_data();
    void splits();
    void feedingDoesNotMatter_data();
    void feedingDoesNotMatter();
    void time();
    void decoder();
};

void TestFrameSplitter::splits_data()
{
    QTest::addColumn<FrameTemplate>("t");
    QTest::addColumn<QList<QByteArray>>("arrivals");
    QTest::addColumn<QStringList>("pieces");

    const FrameTemplate s = templates::sensor();
    const QByteArray a = sensor(hex("0101024120000000"));
    const QByteArray b = sensor(hex("0207"));
    const QString okA = "OK " + a.toHex().toUpper();
    const QString okB = "OK " + b.toHex().toUpper();
    QTest::newRow("frames and noise")
        << s << QList<QByteArray>{hex("0102") + a, b.first(3), b.sliced(3) + hex("AA")}
        << QStringList{"UNRECOGNIZED 0102", okA, okB, "UNRECOGNIZED AA"};
    FrameTemplate small = s;
    small.maxFrameBytes = 64;
    QTest::newRow("a length beyond the largest frame costs one byte")
        << small << QList<QByteArray>{hex("AA55FF") + a} << QStringList{"UNRECOGNIZED AA55FF", okA};

    // A frame with a weak checksum whose body holds a header and a frame that checks out
    // is not abandoned for it while half received...
    const QByteArray inner = sensor(hex("07"));
    const QByteArray outer = sensor(hex("01") + inner + hex("0203"));
    QTest::newRow("weak checksum, header in the body, two parts")
        << s << QList<QByteArray>{outer.first(outer.size() - 3), outer.last(3)}
        << QStringList{"OK " + outer.toHex().toUpper()};
    // ... unless a header follows the inner frame, or the stream ends right behind it.
    const QByteArray cut = sensor(hex("01") + inner + QByteArray(14, '\x33')).first(4);
    QTest::newRow("cut short: a header follows the inner frame")
        << s << QList<QByteArray>{cut, inner + b}
        << QStringList{"UNRECOGNIZED " + cut.toHex().toUpper(), "OK " + inner.toHex().toUpper(),
                       okB};
    QTest::newRow("cut short: the stream ends with the inner frame")
        << s << QList<QByteArray>{cut, inner}
        << QStringList{"UNRECOGNIZED " + cut.toHex().toUpper(), "OK " + inner.toHex().toUpper()};
    // Of two good frames behind a broken length, the first is kept though no header
    // follows it directly.
    QTest::newRow("cut short at the first good frame")
        << s << QList<QByteArray>{cut, inner, hex("0102"), b}
        << QStringList{"UNRECOGNIZED " + cut.toHex().toUpper(), "OK " + inner.toHex().toUpper(),
                       "UNRECOGNIZED 0102", okB};
    QTest::newRow("incomplete at the end")
        << s << QList<QByteArray>{a.first(6)}
        << QStringList{"INCOMPLETE " + a.first(6).toHex().toUpper()};
    // A failed frame gives way to a good one that starts inside it.
    const QByteArray failing = sensor(hex("01") + inner + hex("02"), 1);
    QTest::newRow("a frame inside a failed one")
        << s << QList<QByteArray>{failing}
        << QStringList{"UNRECOGNIZED " + failing.first(4).toHex().toUpper(),
                       "OK " + inner.toHex().toUpper(),
                       "UNRECOGNIZED " + failing.last(2).toHex().toUpper()};
    QTest::newRow("checksum error")
        << s << QList<QByteArray>{sensor(hex("0102"), 1), a}
        << QStringList{"CHECKSUM_ERROR " + sensor(hex("0102"), 1).toHex().toUpper(), okA};

    // A 16-bit check is trusted to cut a half-received frame short at once.
    const FrameTemplate c = crcTemplate;
    const QByteArray crcInner = crcFrame(hex("0102"));
    QTest::newRow("CRC-16: an inner frame cuts a half-received one")
        << c << QList<QByteArray>{hex("7E4000") + crcInner}
        << QStringList{"UNRECOGNIZED 7E4000", "OK " + crcInner.toHex().toUpper()};
    FrameTemplate trailer = c;
    trailer.trailer = hex("0D");
    trailer.lengthScope = FrameTemplate::AfterFieldToChecksum;
    QTest::newRow("wrong trailer") << trailer << QList<QByteArray>{hex("7E 0100 01 0000 0A")}
                                   << QStringList{"MALFORMED 7E0100010000"
                                                  "0A"};

    QTest::newRow("fixed length") << fixed << QList<QByteArray>{hex("00 A5 01 02 03 A5 01 02 00")}
                                  << QStringList{"UNRECOGNIZED 00", "OK A5010203",
                                                 "CHECKSUM_ERROR A5010200"};
    QTest::newRow("delimiter, noise before the header")
        << delimited() << QList<QByteArray>{QByteArray("xx$A,1\r"), QByteArray("\n$B\r\nzz\r\n$C")}
        << QStringList{"UNRECOGNIZED 7878", "OK 24412C310D0A", "OK 24420D0A",
                       "UNRECOGNIZED 7A7A0D0A", "INCOMPLETE 2443"};
    QTest::newRow("delimiter frame cut at the largest size is malformed")
        << delimited(8) << QList<QByteArray>{QByteArray("$ABCDEFGHI\r\n$")}
        << QStringList{"MALFORMED 2441424344454647", "UNRECOGNIZED 48490D0A", "INCOMPLETE 24"};
}

void TestFrameSplitter::splits()
{
    QFETCH(FrameTemplate, t);
    QFETCH(QList<QByteArray>, arrivals);
    QTEST(split(t, arrivals), "pieces");
}

void TestFrameSplitter::feedingDoesNotMatter_data()
{
    QTest::addColumn<FrameTemplate>("t");
    QTest::addColumn<QByteArray>("stream");

    // Every template over a stream of its frames, some damaged, with noise between them
    // that holds no header byte.
    QRandomGenerator random(20);
    const auto bytes = [&](int n, char avoid) {
        QByteArray out;
        while (out.size() < n) {
            const char c = char(random.bounded(256));
            if (c != avoid) {
                out.append(c);
            }
        }
        return out;
    };
    const auto stream = [&](const char *name, const FrameTemplate &t,
                            const std::function<QByteArray(const QByteArray &)> &frame) {
        QByteArray all;
        for (int i = 0; i < 200; ++i) {
            QByteArray f = frame(bytes(random.bounded(1, 40), '$'));
            if (i % 7 == 3) {
                f[f.size() / 2] = char(f.at(f.size() / 2) ^ 0x10);
            }
            all += f;
            if (i % 5 == 0) {
                all += bytes(random.bounded(1, 12), t.header.isEmpty() ? '\0' : t.header.at(0));
            }
        }
        QTest::newRow(name) << t << all;
    };
    stream("header and length, SUM8", templates::sensor(),
           [](const QByteArray &b) { return sensor(b); });
    stream("header and length, CRC-16", crcTemplate, crcFrame);
    stream("fixed length", fixed, [](const QByteArray &b) {
        QByteArray f = hex("A5") + b.first(2);
        return f + char(quint8(f.at(1)) ^ quint8(f.at(2)));
    });
    stream("delimiter", delimited(32), [](QByteArray b) {
        b.replace('\r', 'r');
        return '$' + b + "\r\n";
    });
    FrameTemplate idle = templates::sensor();
    idle.framing = FrameTemplate::IdleGap;
    idle.maxFrameBytes = 24;
    stream("idle gap", idle, [](const QByteArray &b) { return sensor(b); });
}

void TestFrameSplitter::feedingDoesNotMatter()
{
    QFETCH(FrameTemplate, t);
    QFETCH(QByteArray, stream);
    const QStringList whole = split(t, {stream});
    QVERIFY(whole.size() > 200);
    QList<QByteArray> single;
    for (char c : stream) {
        single.append(QByteArray(1, c));
    }
    QCOMPARE(split(t, single), whole);
    QRandomGenerator random(21);
    for (int round = 0; round < 5; ++round) {
        QList<QByteArray> pieces;
        for (qsizetype at = 0; at < stream.size();) {
            const qsizetype n = std::min<qsizetype>(random.bounded(1, 100), stream.size() - at);
            pieces.append(stream.sliced(at, n));
            at += n;
        }
        QCOMPARE(split(t, pieces), whole);
    }
}

void TestFrameSplitter::time()
{
    // Pieces as "STATUS HEX @ms": the monotonic time of their first byte (the wall time
    // given with it goes along).
    const QDateTime wall = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    const auto run = [&wall](FrameSplitter &splitter, const char *hexBytes, qint64 ms) {
        QList<FrameSplitter::Piece> pieces =
            hexBytes ? splitter.ingest(hex(hexBytes), ms, wall.addMSecs(ms)) : splitter.tick(ms);
        QStringList out;
        for (const FrameSplitter::Piece &piece : std::as_const(pieces)) {
            out.append(pieceText(piece) + QStringLiteral(" @%1").arg(piece.elapsedMs));
            if (piece.time != wall.addMSecs(piece.elapsedMs)) {
                out.append(QStringLiteral("wall time differs"));
            }
        }
        return out;
    };

    // Header framing: garbage waits for a frame or silence; silence ends a half frame, and
    // so does a new arrival after it.
    FrameSplitter header(templates::sensor());
    QCOMPARE(header.nextTimeoutMs(0), -1);
    QCOMPARE(run(header, "01", 10), QStringList());
    QCOMPARE(run(header, "02 AA5507010102412000006C AA550701", 20),
             (QStringList{"UNRECOGNIZED 0102 @10", "OK AA5507010102412000006C @20"}));
    QCOMPARE(header.nextTimeoutMs(50), 70);
    QCOMPARE(run(header, nullptr, 119), QStringList());
    QCOMPARE(run(header, nullptr, 120), QStringList{"INCOMPLETE AA550701 @20"});
    QVERIFY(header.idle());
    run(header, "AA550701", 200);
    QCOMPARE(run(header, "AA5507010102412000006C", 300),
             (QStringList{"INCOMPLETE AA550701 @200", "OK AA5507010102412000006C @300"}));

    // Delimiter: the frame timeout closes a line without its end.
    FrameSplitter lines(delimited());
    run(lines, "2441", 0);
    QCOMPARE(lines.nextTimeoutMs(0), 100);
    QCOMPARE(run(lines, nullptr, 100), QStringList{"INCOMPLETE 2441 @0"});

    // Idle gap: a silence of the gap ends a frame, the largest frame cuts one short, and
    // bytes before a header go alone; the frame timeout plays no part.
    FrameTemplate gap = templates::sensor();
    gap.framing = FrameTemplate::IdleGap;
    gap.idleGapMs = 30;
    gap.maxFrameBytes = 8;
    FrameSplitter idle(gap);
    run(idle, "AA5507", 0);
    run(idle, "01010241", 20);
    QCOMPARE(idle.nextTimeoutMs(25), 25);
    QCOMPARE(run(idle, "01", 60), QStringList{"CHECKSUM_ERROR AA550701010241 @0"});
    QCOMPARE(run(idle, "AA5507010102412000006C", 61),
             (QStringList{"UNRECOGNIZED 01 @60", "MALFORMED AA550701010241 @61"}));
    QCOMPARE(run(idle, nullptr, 91), QStringList{"UNRECOGNIZED 2000006C @61"});
}

void TestFrameSplitter::decoder()
{
    // Two peers and both directions, interleaved half frames: each stream is cut alone.
    TemplateStreamDecoder decoder(templates::sensor());
    const QByteArray a = templates::sensorFrame();
    const QString p1 = QStringLiteral("10.0.0.1:4000");
    DecodeOutput out;
    decoder.ingest(FrameDirection::Rx, p1, a.first(5), 1, QDateTime(), out);
    decoder.ingest(FrameDirection::Tx, p1, hex("00"), 2, QDateTime(), out);
    decoder.ingest(FrameDirection::Rx, QString(), a.first(5), 3, QDateTime(), out);
    decoder.ingest(FrameDirection::Rx, p1, a.sliced(5), 4, QDateTime(), out);
    QCOMPARE(decoder.streamCount(), 2);
    QCOMPARE(decoder.nextTimeoutMs(50), 52);
    decoder.tick(102, out);
    QCOMPARE(decoder.streamCount(), 1);
    decoder.flush(out);
    QCOMPARE(decoder.streamCount(), 0);

    QCOMPARE(out.frames.size(), 3);
    QStringList lines;
    for (const DecodedFrame &frame : std::as_const(out.frames)) {
        lines.append(QStringLiteral("%1 %2 %3 %4 %5")
                         .arg(frame.seq)
                         .arg(FrameCsv::directionToken(frame.direction), frame.peer,
                              FrameCsv::statusToken(frame.status), frame.summary));
    }
    QCOMPARE(lines, (QStringList{"1 RX 10.0.0.1:4000 OK cmd=1, status=Run, channel=2, value=10",
                                 "2 TX 10.0.0.1:4000 UNRECOGNIZED 1 unrecognized byte",
                                 "3 RX  INCOMPLETE cmd=1, status=Run"}));
    QCOMPARE(decoder.explain(out.frames.at(1)),
             (QList<DecodedField>{{"Data", "00", 0, 1, 0, false}}));
    QCOMPARE(decoder.explain(out.frames.at(0)).last().value, QStringLiteral("0x6C OK"));

    // A frame with no field to show is summed up by its size.
    TemplateStreamDecoder bare(crcTemplate);
    DecodeOutput plain;
    bare.ingest(FrameDirection::Rx, QString(), crcFrame(hex("0102")), 0, QDateTime(), plain);
    QCOMPARE(plain.frames.size(), 1);
    QCOMPARE(plain.frames.first().summary, QStringLiteral("7 bytes"));
}

QTEST_APPLESS_MAIN(TestFrameSplitter)
#include "tst_framesplitter.moc"
