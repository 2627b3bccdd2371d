// Runs XmodemCodec, mostly as a receiver and sometimes as a sender, against a peer made
// from the input: raw bytes, well-formed and damaged blocks near the expected number,
// control bytes, cut into pieces, with timeouts, drain reports and cancels at random
// times. Checks that nothing crashes; that the file end is only written between open
// and commit, never past the receive limit, and that the name it would be saved under
// stays in the chosen folder; that the held bytes stay bounded; that a transfer ends
// once, with a sentence when it fails; and that an ended codec stays silent.

#include "transfer/xferfilename.h"
#include "transfer/xfersource.h"
#include "transfer/xmodemcodec.h"

#include <QDateTime>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

class Sink : public XferSink
{
public:
    bool open(const XferFileMeta &meta) override
    {
        check(!opened, "opened once");
        opened = true;
        const QString name = xferSafeFileName(meta.name, QDateTime::fromSecsSinceEpoch(0));
        check(!name.isEmpty() && name != QLatin1String(".") && name != QLatin1String(".."),
              "a saved name is a name");
        check(!name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\')) &&
                  !name.contains(QLatin1Char(':')),
              "a saved name has no folder or drive");
        check(name.toUtf8().size() <= 255, "a saved name fits a file system");
        for (const QChar c : name) {
            check(c.unicode() >= 32 && c.unicode() != 127, "a saved name has no control characters");
        }
        return !failOpen;
    }
    bool write(const QByteArray &bytes) override
    {
        check(opened && !committed, "written only while open");
        check(!bytes.isEmpty(), "no empty writes");
        if (failWrite) {
            return false;
        }
        size += bytes.size();
        check(limit <= 0 || size <= limit, "never past the receive limit");
        return true;
    }
    bool commit(qint64 announced) override
    {
        check(opened && !committed, "committed once, after open");
        check(announced < 0 || size <= announced, "no more data than announced");
        committed = true;
        return true;
    }
    qint64 size = 0;
    qint64 limit = 0;
    bool opened = false;
    bool committed = false;
    bool failOpen = false;
    bool failWrite = false;
};

class Source : public XferSource
{
public:
    qint64 size() const override { return data.size(); }
    QByteArray read(qint64 offset, qint64 length) override { return data.mid(offset, length); }
    bool hasError() const override { return false; }
    bool stillIntact() const override { return intact; }
    QByteArray data;
    bool intact = true;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const bool receiver = input.ConsumeIntegralInRange(0, 3) != 0;
    const auto protocol = XferProtocol(input.ConsumeIntegralInRange(0, 4));
    const int blockSize = input.ConsumeBool() ? 128 : 1024;
    Sink sink;
    Source source;
    sink.limit = input.ConsumeBool() ? input.ConsumeIntegralInRange<qint64>(1, 5000) : 0;
    sink.failOpen = input.ConsumeIntegralInRange(0, 15) == 0;
    sink.failWrite = input.ConsumeIntegralInRange(0, 15) == 0;
    source.data = QByteArray(input.ConsumeIntegralInRange(0, 3000), 'd');
    source.intact = input.ConsumeIntegralInRange(0, 7) != 0;

    XmodemCodec codec(receiver ? XmodemCodec::Role::Receiver : XmodemCodec::Role::Sender,
                      protocol, blockSize);
    codec.setSink(&sink);
    codec.setSource(&source);
    codec.setReceiveLimit(sink.limit);
    // Codecs that frame the peer's blocks with the check the codec expects.
    const XmodemCodec crcFramer(XmodemCodec::Role::Sender, XferProtocol::XmodemCrc);
    const XmodemCodec sumFramer(XmodemCodec::Role::Sender, XferProtocol::Xmodem);

    qint64 now = 0;
    int ends = 0;
    bool ended = false;
    const auto take = [&](const XferStep &step) {
        check(step.nextTimeoutMs >= -1, "timeouts are -1 or more");
        if (ended) {
            check(step.out.isEmpty() && !step.finished && !step.failed && step.nextTimeoutMs == -1,
                  "an ended codec stays silent");
        }
        check(!(step.finished && step.failed), "success or failure, not both");
        if (step.failed) {
            check(step.error != XferError::None && !step.message.isEmpty(), "failures are explained");
        }
        if (step.finished || step.failed) {
            ended = true;
            ++ends;
        }
        check(ends <= 1, "a transfer ends once");
        check(codec.bufferedBytes() <= XmodemCodec::MaxBufferedBytes, "held bytes stay bounded");
        if (step.nextTimeoutMs >= 0) {
            check(codec.remainingMs(now) == step.nextTimeoutMs, "the step's timeout is the deadline");
        }
    };

    take(codec.begin(XferFileMeta{QStringLiteral("f.bin"), source.data.size(), 0}, now));
    while (input.remaining_bytes() > 0) {
        const XferProgress before = codec.progress();
        switch (input.ConsumeIntegralInRange(0, 7)) {
        case 0: {
            const std::string raw = input.ConsumeRandomLengthString(64);
            take(codec.receive(QByteArray(raw.data(), qsizetype(raw.size())), now));
            break;
        }
        case 1:
        case 2: {
            // A block near the one expected, whole or damaged, delivered in pieces.
            const int number = before.block + input.ConsumeIntegralInRange(-2, 2);
            const bool large = input.ConsumeBool();
            std::string body = input.ConsumeRandomLengthString(large ? 1024 : 128);
            QByteArray payload(body.data(), qsizetype(body.size()));
            payload.append(QByteArray((large ? 1024 : 128) - payload.size(), '\0'));
            if (input.ConsumeIntegralInRange(0, 3) == 0) {
                payload = QByteArray("name.bin\0", 9) + QByteArray::number(input.ConsumeIntegral<int>());
                payload.append(QByteArray(128 - payload.size(), '\0'));
            }
            QByteArray frame = (codec.usesCrc() ? crcFramer : sumFramer).frameBlock(quint8(number), payload);
            if (input.ConsumeIntegralInRange(0, 5) == 0) {
                const auto at = input.ConsumeIntegralInRange<qsizetype>(0, frame.size() - 1);
                frame[at] = char(frame[at] ^ (1 + input.ConsumeIntegral<uint8_t>() % 255));
            }
            while (!frame.isEmpty()) {
                const auto piece = input.ConsumeIntegralInRange<qsizetype>(1, frame.size());
                take(codec.receive(frame.left(piece), now));
                frame.remove(0, piece);
            }
            break;
        }
        case 3: {
            static const char controls[] = {XmodemCodec::EOT, XmodemCodec::ACK, XmodemCodec::NAK,
                                            XmodemCodec::CAN, 'C', 'G'};
            take(codec.receive(QByteArray(1, controls[input.ConsumeIntegralInRange(0, 5)]), now));
            break;
        }
        case 4: {
            const qint64 left = codec.remainingMs(now);
            now += left >= 0 && input.ConsumeBool() ? left : input.ConsumeIntegralInRange(0, 70000);
            take(codec.tick(now));
            break;
        }
        case 5:
            take(codec.onEgressDrained(now));
            break;
        case 6:
            take(codec.pump(now));
            break;
        case 7:
            if (input.ConsumeIntegralInRange(0, 7) == 0) {
                take(codec.cancel(now));
            }
            break;
        }
        const XferProgress after = codec.progress();
        check(after.bytesDone >= before.bytesDone, "progress never goes back");
        if (receiver) {
            check(after.bytesDone == sink.size, "progress counts what was written");
        } else {
            check(after.bytesDone <= source.data.size(), "a sender never passes the file's end");
        }
    }
    return 0;
}
