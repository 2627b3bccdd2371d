// Feeds ModbusStreamDecoder (RTU, ASCII or TCP, chosen by the input) with arrivals in two
// directions from three peers at random times, mixed with well-formed frames so that
// real frames, damaged ones and noise meet; ticks at random times and at the times the
// decoder asks for; flushes at the end. Checks that every byte of each stream comes out
// exactly once, in order, in a frame or an unrecognised piece; that what is held stays
// within the buffers; that frames are numbered one by one, pairs name earlier frames,
// open requests stay within their limit, and the detail rows of every frame stay within
// its bytes.

#include "decode/framebytes.h"
#include "decode/framecsv.h"
#include "decode/modbuscodec.h"
#include "decode/modbusgateway.h"
#include "decode/modbusstreamdecoder.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

using Variant = ModbusStreamDecoder::Variant;

// A frame of the variant, well-formed on the wire, from a few input bytes.
QByteArray wellFormed(Variant variant, FuzzedDataProvider &input)
{
    const std::string body = input.ConsumeRandomLengthString(24);
    QByteArray bytes(1, char(input.ConsumeIntegralInRange(0, 3)));
    bytes.append(
        char("\x01\x02\x03\x04\x05\x06\x08\x0F\x10\x17\x2B\x83\x41"[input.ConsumeIntegralInRange(
            0, 12)]));
    bytes.append(body.data(), qsizetype(body.size()));
    switch (variant) {
    case Variant::Ascii:
        bytes.append(char(ModbusCodec::lrc(bytes)));
        return ':' + bytes.toHex().toUpper() + "\r\n";
    case Variant::Tcp:
        return ModbusGateway::buildMbap(input.ConsumeIntegral<quint8>(), quint8(bytes.at(0)),
                                        QByteArrayView(bytes).sliced(1));
    case Variant::Rtu:
        break;
    }
    const quint16 crc = ModbusCodec::crc16(bytes);
    bytes.append(char(crc & 0xFF));
    bytes.append(char(crc >> 8));
    return bytes;
}

struct Tally
{
    QByteArray in;
    qsizetype out = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto variant = Variant(input.ConsumeIntegralInRange(0, 2));
    ModbusStreamDecoder::Options options;
    if (input.ConsumeBool()) {
        options.resyncWindow = input.ConsumeIntegralInRange(1, 300);
        options.maxPending = input.ConsumeIntegralInRange(1, 4);
        options.gapMs = input.ConsumeIntegralInRange(1, 50);
    }
    ModbusStreamDecoder decoder(variant, options);
    const int maxBuffer = decoder.options().maxBufferBytes;
    static const QString peers[] = {QString(), QStringLiteral("10.0.0.1:502"),
                                    QStringLiteral("10.0.0.2:502")};

    std::map<std::pair<int, QString>, Tally> streams;
    quint64 lastSeq = 0;
    qint64 now = 0;
    const auto take = [&](const DecodeOutput &out) {
        for (const DecodedFrame &frame : out.frames) {
            check(frame.seq == ++lastSeq, "frames are numbered one by one");
            check(!frame.raw.isEmpty() && frame.raw.size() <= 513, "frame size");
            check(frame.status != FrameStatus::Unrecognized || frame.raw.size() <= 256,
                  "unrecognised pieces of at most 256 bytes");
            check(frame.pairedSeq < frame.seq, "a response pairs with an earlier request");
            Tally &tally = streams[{int(frame.direction), frame.peer}];
            check(tally.in.sliced(tally.out).startsWith(frame.raw),
                  "frames carry the stream's bytes in order");
            tally.out += frame.raw.size();
            const QByteArray image = FrameBytes::fieldImage(frame);
            for (const DecodedField &field : decoder.explain(frame)) {
                check(field.offset < 0 || field.offset + field.length <= image.size(),
                      "detail rows stay within the frame");
            }
            if (frame.seq % 64 == 0) {
                FrameCsv::frameRow(frame, nullptr, QString());
            }
        }
        for (const PairUpdate &pair : out.pairs) {
            check(pair.requestSeq < pair.responseSeq && pair.responseSeq <= lastSeq,
                  "pairs name frames handed out");
        }
    };

    while (input.remaining_bytes() > 0) {
        DecodeOutput out;
        const int op = input.ConsumeIntegralInRange(0, 7);
        now += input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 3)
                                   : input.ConsumeIntegralInRange(0, 3000);
        if (op <= 4) {
            const auto direction = input.ConsumeBool() ? FrameDirection::Tx : FrameDirection::Rx;
            const QString &peer = peers[input.ConsumeIntegralInRange(0, 2)];
            QByteArray bytes;
            if (op <= 1) {
                bytes = wellFormed(variant, input);
                if (op == 1 && !bytes.isEmpty()) { // damaged or cut
                    bytes.chop(input.ConsumeIntegralInRange<qsizetype>(0, bytes.size() - 1));
                    bytes.back() = char(bytes.back() ^ input.ConsumeIntegralInRange(0, 255));
                }
            } else {
                const std::string raw = input.ConsumeRandomLengthString(op == 4 ? 2048 : 64);
                bytes = QByteArray(raw.data(), qsizetype(raw.size()));
            }
            streams[{int(direction), peer}].in += bytes;
            decoder.ingest(direction, peer, bytes, now, QDateTime(), out);
        } else if (op == 5) {
            decoder.tick(now, out);
        } else {
            const int delay = decoder.nextTimeoutMs(now);
            check(delay >= -1, "a delay or none");
            if (delay >= 0) {
                now += delay;
                decoder.tick(now, out);
            }
        }
        take(out);
        check(decoder.heldBytes() <= qsizetype(streams.size()) * (maxBuffer + 255),
              "what is held stays within the buffers");
        check(decoder.pendingCount() <= decoder.options().maxPending, "open requests bounded");
    }
    DecodeOutput out;
    decoder.flush(out);
    take(out);
    check(decoder.heldBytes() == 0 && decoder.streamCount() == 0, "a flush empties the streams");
    for (const auto &[key, tally] : streams) {
        check(tally.out == tally.in.size(), "every byte ends in exactly one frame");
    }
    return 0;
}
