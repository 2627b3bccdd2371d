// XmodemCodec against itself and against hand-made peers, on a simulated clock.

#include "memoryfiles.h"
#include "transfer/xmodemcodec.h"

#include "support/testdata.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using Role = XmodemCodec::Role;
using P = XferProtocol;

using testdata::randomBytes;

namespace {

// A sender and a receiver codec joined by an instant wire. Output counts as drained as
// soon as it is delivered; when neither side has anything to do, the clock jumps to the
// next deadline.
struct Loop
{
    Loop(P senderProtocol, P receiverProtocol, int blockSize, const QByteArray &data)
        : source(data)
        , codecs{XmodemCodec(Role::Sender, senderProtocol, blockSize),
                 XmodemCodec(Role::Receiver, receiverProtocol, blockSize)}
    {
        codecs[0].setSource(&source);
        codecs[1].setSink(&sink);
    }

    void handle(int side, const XferStep &step)
    {
        if (!step.out.isEmpty()) {
            QByteArray out = step.out;
            if (side == 0 && (out[0] == XmodemCodec::SOH || out[0] == XmodemCodec::STX)) {
                frames << out;
                if (corruptEvery > 0 && frames.size() % corruptEvery == 0) {
                    out[10] = char(out[10] ^ 0x55);
                }
            }
            inbox[1 - side] += out;
            drainDue[side] = true;
        }
        deadline[side] = step.nextTimeoutMs >= 0 ? now + step.nextTimeoutMs : -1;
        if (step.finished || step.failed) {
            ended[side] = step;
            deadline[side] = -1;
        }
    }

    bool over() const { return ended[0].finished || ended[0].failed; }

    void run()
    {
        XferFileMeta meta{QStringLiteral("data.bin"), source.size(), 1700000000};
        handle(1, codecs[1].begin(XferFileMeta(), now));
        handle(0, codecs[0].begin(meta, now));
        for (int guard = 0; guard < 200000 && !(over() && inbox[1].isEmpty()); ++guard) {
            bool moved = false;
            for (int side = 0; side < 2; ++side) {
                if (drainDue[side]) {
                    drainDue[side] = false;
                    handle(side, codecs[side].onEgressDrained(now));
                    moved = true;
                }
                if (!inbox[side].isEmpty()) {
                    const QByteArray piece = inbox[side].left(chunk);
                    inbox[side].remove(0, piece.size());
                    handle(side, codecs[side].receive(piece, now));
                    moved = true;
                }
            }
            if (moved) {
                continue;
            }
            qint64 next = -1;
            for (qint64 d : deadline) {
                if (d >= 0 && (next < 0 || d < next)) {
                    next = d;
                }
            }
            if (next < 0) {
                break;
            }
            now = next;
            for (int side = 0; side < 2; ++side) {
                if (deadline[side] == now) {
                    handle(side, codecs[side].tick(now));
                }
            }
        }
    }

    MemorySource source;
    MemorySink sink;
    XmodemCodec codecs[2];
    QByteArray inbox[2];
    bool drainDue[2] = {false, false};
    qint64 deadline[2] = {-1, -1};
    XferStep ended[2];
    QList<QByteArray> frames; // every block the sender put on the wire
    qint64 now = 0;
    qsizetype chunk = 1 << 20;
    int corruptEvery = 0;
};

// The block sizes of the data blocks among `frames` (block 0 of YMODEM left out).
QString dataBlockSizes(const QList<QByteArray> &frames, bool header)
{
    QStringList sizes;
    for (const QByteArray &f : frames) {
        const int payload = int(f.size()) - 3 - (f.size() % 2 == 0 ? 1 : 2);
        if (!(header && f[1] == 0 && payload == 128)) {
            sizes << QString::number(payload);
        }
    }
    return sizes.join(QLatin1Char(','));
}

// Drives one codec alone: each step's output is drained at once and recorded; ticks
// come exactly at the deadlines.
struct Solo
{
    explicit Solo(XmodemCodec &c) : codec(c) {}
    XferStep take(XferStep step)
    {
        for (;;) {
            out += step.out;
            if (step.finished || step.failed || !(last.finished || last.failed)) {
                last = step;
            }
            deadline = step.nextTimeoutMs >= 0 ? now + step.nextTimeoutMs : -1;
            if (step.out.isEmpty() || codec.isEnded()) {
                return last;
            }
            step = codec.onEgressDrained(now);
        }
    }
    XferStep feed(const QByteArray &bytes) { return take(codec.receive(bytes, now)); }
    // Advances to the deadline and ticks; false when none was running.
    bool expire()
    {
        if (deadline < 0) {
            return false;
        }
        now = deadline;
        take(codec.tick(now));
        return true;
    }
    XmodemCodec &codec;
    XferStep last;
    QByteArray out;
    qint64 now = 0;
    qint64 deadline = -1;
};

} // namespace

class TestXmodemCodec : public QObject
{
    Q_OBJECT
private slots:
    void loopback_data();
    void loopback();
    void receiverHandshake_data();
    void receiverHandshake();
    void timersWaitForEgress();
    void senderGivesUpAndEnds_data();
    void senderGivesUpAndEnds();
    void receiverBlocks_data();
    void receiverBlocks();
    void headerBlocks_data();
    void headerBlocks();
    void fileEndFailures_data();
    void fileEndFailures();
};

void TestXmodemCodec::loopback_data()
{
    QTest::addColumn<P>("senderProtocol");
    QTest::addColumn<P>("receiverProtocol");
    QTest::addColumn<int>("blockSize");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("chunk");
    QTest::addColumn<int>("corruptEvery");
    QTest::addColumn<QString>("blocks"); // data block sizes on the wire; "*" not checked

    QTest::newRow("xmodem empty") << P::Xmodem << P::Xmodem << 1024 << 0 << 4096 << 0 << "";
    QTest::newRow("xmodem 127") << P::Xmodem << P::Xmodem << 1024 << 127 << 4096 << 0 << "128";
    QTest::newRow("xmodem 128 has no padding") << P::Xmodem << P::Xmodem << 1024 << 128 << 4096 << 0 << "128";
    QTest::newRow("xmodem 129") << P::Xmodem << P::Xmodem << 1024 << 129 << 4096 << 0 << "128,128";
    QTest::newRow("xmodem sender told C uses CRC") << P::Xmodem << P::XmodemCrc << 1024 << 300 << 4096 << 0 << "128,128,128";
    QTest::newRow("crc byte by byte") << P::XmodemCrc << P::XmodemCrc << 1024 << 1025 << 1 << 0 << "*";
    QTest::newRow("crc wraps block 255 to 0") << P::XmodemCrc << P::XmodemCrc << 1024 << 70000 << 4096 << 0 << "*";
    QTest::newRow("1k 129 is one padded 1k block") << P::Xmodem1k << P::Xmodem1k << 1024 << 129 << 4096 << 0 << "1024";
    QTest::newRow("1k 1025") << P::Xmodem1k << P::Xmodem1k << 1024 << 1025 << 4096 << 0 << "1024,128";
    QTest::newRow("1k limited to 128") << P::Xmodem1k << P::Xmodem1k << 128 << 300 << 4096 << 0 << "128,128,128";
    QTest::newRow("1k to a checksum receiver") << P::Xmodem1k << P::Xmodem << 1024 << 2000 << 4096 << 0 << "1024,1024";
    QTest::newRow("1k noisy") << P::Xmodem1k << P::Xmodem1k << 1024 << 20000 << 700 << 3 << "*";
    QTest::newRow("ymodem empty is header then EOT") << P::Ymodem << P::Ymodem << 1024 << 0 << 4096 << 0 << "";
    QTest::newRow("ymodem 128") << P::Ymodem << P::Ymodem << 1024 << 128 << 4096 << 0 << "128";
    QTest::newRow("ymodem turns to 128 at the end") << P::Ymodem << P::Ymodem << 1024 << 2100 << 4096 << 0 << "1024,1024,128";
    QTest::newRow("ymodem 1 MiB in pieces") << P::Ymodem << P::Ymodem << 1024 << (1 << 20) << 333 << 0 << "*";
    QTest::newRow("ymodem noisy") << P::Ymodem << P::Ymodem << 1024 << 9000 << 4096 << 4 << "*";
    QTest::newRow("ymodem-g") << P::YmodemG << P::YmodemG << 1024 << 5000 << 4096 << 0 << "1024,1024,1024,1024,1024";
    QTest::newRow("ymodem-g sender to plain receiver") << P::YmodemG << P::Ymodem << 1024 << 1025 << 4096 << 0 << "1024,128";
    QTest::newRow("ymodem-g noisy fails") << P::YmodemG << P::YmodemG << 1024 << 5000 << 4096 << 2 << "*";
}

void TestXmodemCodec::loopback()
{
    QFETCH(P, senderProtocol);
    QFETCH(P, receiverProtocol);
    QFETCH(int, blockSize);
    QFETCH(int, size);
    QFETCH(int, chunk);
    QFETCH(int, corruptEvery);
    QFETCH(QString, blocks);

    const QByteArray data = randomBytes(size, quint32(size) * 7 + 1);
    Loop loop(senderProtocol, receiverProtocol, blockSize, data);
    loop.chunk = chunk;
    loop.corruptEvery = corruptEvery;
    loop.run();

    const bool streamingLoss = receiverProtocol == P::YmodemG && corruptEvery > 0;
    if (streamingLoss) {
        // A bad block in YMODEM-G cannot be asked for again: both ends stop, and the
        // receiver tells the sender with the cancel sequence.
        QVERIFY(loop.ended[1].failed);
        QCOMPARE(loop.ended[1].error, XferError::TooManyRetries);
        QVERIFY(loop.ended[1].out.endsWith(XmodemCodec::cancelSequence()));
        QCOMPARE(loop.ended[0].error, XferError::RemoteCancelled);
        return;
    }
    QVERIFY2(loop.ended[0].finished, qPrintable(loop.ended[0].message));
    QVERIFY2(loop.ended[1].finished, qPrintable(loop.ended[1].message));
    QVERIFY(loop.sink.committed);
    if (xferProtocolHasHeader(receiverProtocol)) {
        QCOMPARE(loop.sink.data, data);
        QCOMPARE(loop.sink.meta.name, QStringLiteral("data.bin"));
        QCOMPARE(loop.sink.meta.size, qint64(size));
        QCOMPARE(loop.sink.committedSize, qint64(size));
    } else {
        // XMODEM has no length: the padding of the last block stays.
        QCOMPARE(loop.sink.data.left(size), data);
        QVERIFY(std::all_of(loop.sink.data.begin() + size, loop.sink.data.end(),
                            [](char c) { return c == XmodemCodec::SUB; }));
        QVERIFY(loop.sink.data.size() - size < 1024);
    }
    if (corruptEvery > 0) {
        QVERIFY(loop.codecs[0].progress().retries > 0);
    }
    if (blocks != QLatin1String("*")) {
        QCOMPARE(dataBlockSizes(loop.frames, xferProtocolHasHeader(senderProtocol)), blocks);
    }
}

void TestXmodemCodec::receiverHandshake_data()
{
    QTest::addColumn<P>("protocol");
    QTest::addColumn<QByteArray>("letters");
    QTest::addColumn<qint64>("giveUpMs");
    const QByteArray nak(1, XmodemCodec::NAK);
    QTest::newRow("xmodem") << P::Xmodem << nak.repeated(6) << qint64(60000);
    QTest::newRow("crc falls back after six C") << P::XmodemCrc << QByteArray("CCCCCC") + nak.repeated(5) << qint64(68000);
    QTest::newRow("1k") << P::Xmodem1k << QByteArray("CCCCCC") + nak.repeated(5) << qint64(68000);
    QTest::newRow("ymodem never falls back") << P::Ymodem << QByteArray("C").repeated(20) << qint64(60000);
    QTest::newRow("ymodem-g") << P::YmodemG << QByteArray("G").repeated(20) << qint64(60000);
}

void TestXmodemCodec::receiverHandshake()
{
    QFETCH(P, protocol);
    QFETCH(QByteArray, letters);
    QFETCH(qint64, giveUpMs);
    MemorySink sink;
    XmodemCodec codec(Role::Receiver, protocol);
    codec.setSink(&sink);
    Solo solo(codec);
    solo.take(codec.begin(XferFileMeta(), 0));
    // Noise and a lone CAN change nothing.
    solo.feed(QByteArray("\x18zz", 3));
    while (solo.expire()) {
    }
    QCOMPARE(solo.out, letters);
    QCOMPARE(solo.now, giveUpMs);
    QCOMPARE(solo.last.error, XferError::NoHandshake);
    QCOMPARE(codec.tick(solo.now + 1).nextTimeoutMs, -1);
}

void TestXmodemCodec::timersWaitForEgress()
{
    // A block that takes long to leave does not use up the time for its answer.
    MemorySource source(QByteArray(2000, 'x'));
    XmodemCodec codec(Role::Sender, P::Xmodem1k);
    codec.setSource(&source);
    QCOMPARE(codec.begin(XferFileMeta(), 0).nextTimeoutMs, XmodemCodec::RequestWaitMs);
    XferStep step = codec.receive("C", 100);
    QCOMPARE(step.out.size(), 1029);
    QCOMPARE(step.nextTimeoutMs, -1);
    QVERIFY(codec.isWaitingEgress());
    QVERIFY(codec.tick(50000).out.isEmpty());
    // An ACK that comes before the drain report waits for it.
    QVERIFY(codec.receive(QByteArray(1, XmodemCodec::ACK), 50001).out.isEmpty());
    step = codec.onEgressDrained(60000);
    QCOMPARE(step.out.size(), 1029);
    QCOMPARE(codec.progress().bytesDone, 1024);
    step = codec.onEgressDrained(61000);
    QCOMPARE(step.nextTimeoutMs, XmodemCodec::AnswerWaitMs);
    QVERIFY(codec.tick(70999).out.isEmpty());
    QCOMPARE(codec.tick(71000).out.size(), 1029); // the resend
    QCOMPARE(codec.progress().retries, 1);
}

void TestXmodemCodec::senderGivesUpAndEnds_data()
{
    QTest::addColumn<P>("protocol");
    QTest::addColumn<QByteArray>("answers"); // fed one by one, each after a drain
    QTest::addColumn<bool>("silence");       // then let every deadline pass
    QTest::addColumn<bool>("ok");
    QTest::addColumn<XferError>("error");
    QTest::addColumn<QByteArray>("tail"); // the last bytes sent

    const QByteArray ack(1, XmodemCodec::ACK);
    const QByteArray nak(1, XmodemCodec::NAK);
    const QByteArray can(1, XmodemCodec::CAN);
    const QByteArray cancel = XmodemCodec::cancelSequence();
    QTest::newRow("no request") << P::Xmodem << QByteArray("xyz") << true << false << XferError::NoHandshake << QByteArray();
    QTest::newRow("eleven NAKs") << P::XmodemCrc << QByteArray("C") + nak.repeated(11) << false << false << XferError::TooManyRetries << cancel;
    QTest::newRow("silence after a block") << P::XmodemCrc << QByteArray("C") << true << false << XferError::TooManyRetries << cancel;
    QTest::newRow("CAN CAN") << P::XmodemCrc << QByteArray("C") + can + can << false << false << XferError::RemoteCancelled << QByteArray();
    QTest::newRow("CAN x CAN is noise") << P::XmodemCrc << QByteArray("C") + can + "x" + can + ack + ack << false << true << XferError::None << QByteArray(1, XmodemCodec::EOT);
    QTest::newRow("ymodem receiver silent after EOT") << P::Ymodem << QByteArray("C") + ack + "C" + ack + ack << true << true << XferError::None << QByteArray(1, XmodemCodec::EOT);
    QTest::newRow("ymodem C instead of EOT ack") << P::Ymodem << QByteArray("C") + ack + "C" + ack + "C" + ack << false << true << XferError::None << QByteArray();
    QTest::newRow("ymodem-g NAK") << P::YmodemG << QByteArray("G") + ack + "G" + nak << false << false << XferError::TooManyRetries << cancel;
    QTest::newRow("ymodem-g silence") << P::YmodemG << QByteArray("G") + ack + "G" << true << false << XferError::TooManyRetries << cancel;
}

void TestXmodemCodec::senderGivesUpAndEnds()
{
    QFETCH(P, protocol);
    QFETCH(QByteArray, answers);
    QFETCH(bool, silence);
    QFETCH(bool, ok);
    QFETCH(XferError, error);
    QFETCH(QByteArray, tail);
    MemorySource source(QByteArray(100, 'a'));
    XmodemCodec codec(Role::Sender, protocol);
    codec.setSource(&source);
    Solo solo(codec);
    solo.take(codec.begin(XferFileMeta{QStringLiteral("a"), 100, 0}, 0));
    for (char answer : std::as_const(answers)) {
        solo.feed(QByteArray(1, answer));
    }
    while (silence && solo.expire()) {
    }
    QCOMPARE(solo.last.finished, ok);
    QCOMPARE(solo.last.failed, !ok);
    QCOMPARE(solo.last.error, error);
    if (!tail.isEmpty()) {
        QVERIFY(solo.out.endsWith(tail));
    }
    if (error == XferError::NoHandshake || error == XferError::RemoteCancelled) {
        QVERIFY(!solo.out.contains(XmodemCodec::cancelSequence()));
    }
    QVERIFY(codec.isEnded());
    QVERIFY(codec.receive("C", solo.now).out.isEmpty());
}

void TestXmodemCodec::receiverBlocks_data()
{
    // Blocks given by number ("n") or as a bad copy ("n!"), to an XMODEM-CRC receiver
    // that has already taken blocks 1 to `before`.
    QTest::addColumn<int>("before");
    QTest::addColumn<QString>("blocks");
    QTest::addColumn<XferError>("error");
    QTest::addColumn<int>("stored"); // blocks written
    QTest::newRow("repeat is acknowledged, not stored") << 3 << "3 4" << XferError::None << 4;
    QTest::newRow("255 wraps to 0, repeat of 255 kept out") << 254 << "255 255 0 1" << XferError::None << 257;
    QTest::newRow("out of step") << 3 << "5" << XferError::ProtocolViolation << 3;
    QTest::newRow("bad block NAKed then taken") << 1 << "2! 2" << XferError::None << 2;
    QTest::newRow("eleven bad blocks give up") << 1 << "2! 2! 2! 2! 2! 2! 2! 2! 2! 2! 2!"
                                                << XferError::TooManyRetries << 1;
}

void TestXmodemCodec::receiverBlocks()
{
    QFETCH(int, before);
    QFETCH(QString, blocks);
    QFETCH(XferError, error);
    QFETCH(int, stored);
    MemorySink sink;
    XmodemCodec codec(Role::Receiver, P::XmodemCrc);
    codec.setSink(&sink);
    Solo solo(codec);
    solo.take(codec.begin(XferFileMeta(), 0));
    const auto block = [&](int n, bool bad) {
        QByteArray frame = codec.frameBlock(quint8(n), QByteArray(128, char(n)));
        if (bad) {
            frame[50] = char(frame[50] + 1);
        }
        return frame;
    };
    for (int n = 1; n <= before; ++n) {
        solo.feed(block(n, false));
    }
    solo.out.clear();
    for (const QString &item : blocks.split(QLatin1Char(' '))) {
        solo.feed(block(item.chopped(item.endsWith(QLatin1Char('!')) ? 1 : 0).toInt(),
                        item.endsWith(QLatin1Char('!'))));
    }
    QCOMPARE(solo.last.error, error);
    QCOMPARE(sink.data.size(), stored * 128);
    if (error == XferError::None) {
        QVERIFY(!solo.out.contains(XmodemCodec::CAN));
        QCOMPARE(sink.data.right(128), QByteArray(128, char(blocks.section(QLatin1Char(' '), -1).toInt())));
    } else {
        QVERIFY(solo.out.endsWith(XmodemCodec::cancelSequence()));
    }
}

void TestXmodemCodec::headerBlocks_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<qint64>("modified");
    QTest::newRow("sb with extra fields") << QByteArray("f.bin\0" "1234 14517305271 100644 0 1 1234", 38) << true << "f.bin" << qint64(1234) << qint64(01'4517'3052'71);
    QTest::newRow("size only") << QByteArray("a\0" "77", 4) << true << "a" << qint64(77) << qint64(0);
    QTest::newRow("negative size is unknown") << QByteArray("a\0-5 0", 6) << true << "a" << qint64(-1) << qint64(0);
    QTest::newRow("garbage size is unknown") << QByteArray("a\0x9 99", 7) << true << "a" << qint64(-1) << qint64(0);
    QTest::newRow("no size") << QByteArray("a\0", 2) << true << "a" << qint64(-1) << qint64(0);
    QTest::newRow("end of batch") << QByteArray(128, '\0') << true << "" << qint64(-1) << qint64(0);
    QTest::newRow("no NUL") << QByteArray(128, 'x') << false << "" << qint64(-1) << qint64(0);
}

void TestXmodemCodec::headerBlocks()
{
    QFETCH(QByteArray, payload);
    QFETCH(bool, ok);
    QFETCH(QString, name);
    QFETCH(qint64, size);
    QFETCH(qint64, modified);
    XferFileMeta meta;
    QCOMPARE(XmodemCodec::parseHeaderBlock(payload, &meta), ok);
    if (!ok) {
        return;
    }
    QCOMPARE(meta.name, name);
    QCOMPARE(meta.size, size);
    QCOMPARE(meta.modified, modified);
    if (name.isEmpty()) {
        return;
    }
    // What the sender builds from such a file reads back the same.
    MemorySource source("");
    XmodemCodec sender(Role::Sender, P::Ymodem);
    sender.setSource(&source);
    sender.begin(meta, 0);
    sender.receive("C", 0);
    const QByteArray frame = sender.buildHeaderBlock();
    QCOMPARE(frame.size(), 133);
    XferFileMeta back;
    QVERIFY(XmodemCodec::parseHeaderBlock(frame.mid(3, 128), &back));
    QCOMPARE(back.name, name);
    QCOMPARE(back.size, std::max<qint64>(0, size));
    QCOMPARE(back.modified, modified);
}

void TestXmodemCodec::fileEndFailures_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<XferError>("error");
    QTest::addColumn<bool>("cancelBytes");
    QTest::newRow("sink open at begin") << "open" << XferError::SinkCreate << false;
    QTest::newRow("sink write") << "write" << XferError::SinkWrite << true;
    QTest::newRow("sink commit") << "commit" << XferError::SinkCommit << false;
    QTest::newRow("over the limit") << "limit" << XferError::TooLarge << true;
    QTest::newRow("ymodem header over the limit") << "header" << XferError::TooLarge << true;
    QTest::newRow("source read") << "read" << XferError::SourceRead << true;
    QTest::newRow("source changed") << "changed" << XferError::SourceChanged << true;
    QTest::newRow("user cancel") << "cancel" << XferError::LocalCancelled << true;
}

void TestXmodemCodec::fileEndFailures()
{
    QFETCH(QString, what);
    QFETCH(XferError, error);
    QFETCH(bool, cancelBytes);
    const P protocol = what == QLatin1String("header") ? P::Ymodem : P::Xmodem1k;
    Loop loop(protocol, protocol, 1024,
              QByteArray(3000, 'q'));
    loop.sink.failOpen = what == QLatin1String("open");
    loop.sink.failWrite = what == QLatin1String("write");
    loop.sink.failCommit = what == QLatin1String("commit");
    loop.source.failRead = what == QLatin1String("read");
    loop.source.intact = what != QLatin1String("changed");
    loop.codecs[1].setReceiveLimit(what == QLatin1String("limit") || what == QLatin1String("header") ? 2000 : 0);
    if (what == QLatin1String("cancel")) {
        loop.handle(0, loop.codecs[0].begin(XferFileMeta{QStringLiteral("f"), 3000, 0}, 0));
        loop.handle(0, loop.codecs[0].cancel(5));
    } else {
        loop.run();
    }
    const int side = what == QLatin1String("read") || what == QLatin1String("changed") ||
                             what == QLatin1String("cancel")
                         ? 0
                         : 1;
    QVERIFY(loop.ended[side].failed);
    QCOMPARE(loop.ended[side].error, error);
    QVERIFY(!loop.ended[side].message.isEmpty());
    QCOMPARE(loop.ended[side].out.endsWith(XmodemCodec::cancelSequence()), cancelBytes);
    if (what == QLatin1String("limit")) {
        QVERIFY(loop.sink.data.size() <= 2000);
    }
}

QTEST_APPLESS_MAIN(TestXmodemCodec)
#include "tst_xmodemcodec.moc"
