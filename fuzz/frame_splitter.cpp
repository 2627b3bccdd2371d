// Numbers written through the field texts' shortcut must read exactly as Qt writes them.
// Then a frame template built from the input (any framing, headers, delimiters and
// trailers of a few bytes from a small alphabet so that they occur, length fields anywhere
// and of any width, order and scope, every checksum kind including custom CRCs, bounds
// both valid and not, fields of every type), and TemplateStreamDecoder over arrivals in
// both directions from two peers at random times: raw input, frames built to fit the
// template, and such frames cut short or damaged; ticks at random times and when the
// decoder asks; flushes now and then and at the end. Checks that every byte of each
// stream comes out exactly once, in order; frames are numbered one by one, are never
// empty and never over the largest frame, unrecognised pieces at most 256 bytes; what is
// held stays within two largest frames and a garbage piece per stream; a deadline exists
// exactly while bytes are held; every detail row that covers bytes stays within its
// frame; a flush empties everything.

#include "decode/frameinterpreter.h"
#include "decode/framesplitter.h"
#include "decode/templatestreamdecoder.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <tuple>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

QByteArray marker(FuzzedDataProvider &input, int most)
{
    static const char alphabet[] = {'\xAA', '\x55', '\x7E', '\r', '\n', '$', '\x00'};
    QByteArray bytes;
    const int n = input.ConsumeIntegralInRange(0, most);
    for (int i = 0; i < n; ++i) {
        bytes.append(input.ConsumeBool() ? alphabet[input.ConsumeIntegralInRange(0, 6)]
                                         : char(input.ConsumeIntegral<quint8>()));
    }
    return bytes;
}

FrameTemplate randomTemplate(FuzzedDataProvider &input)
{
    FrameTemplate t;
    t.name = QStringLiteral("fuzz");
    t.framing = FrameTemplate::Framing(input.ConsumeIntegralInRange(0, 3));
    t.header = marker(input, 3);
    t.lengthOffset = input.ConsumeIntegralInRange(-1, 6);
    t.lengthWidth = input.ConsumeIntegralInRange(0, 9);
    t.lengthEndian = Endian(input.ConsumeIntegralInRange(0, 3));
    t.lengthScope = FrameTemplate::LengthScope(input.ConsumeIntegralInRange(0, 2));
    t.lengthAdjust = input.ConsumeIntegralInRange(-70, 70);
    t.fixedLength = input.ConsumeIntegralInRange(0, 40);
    t.delimiter = marker(input, 3);
    t.idleGapMs = input.ConsumeIntegralInRange(0, 50);
    t.trailer = marker(input, 2);
    t.checksum.kind = ChecksumSpec::Kind(input.ConsumeIntegralInRange(0, 4));
    t.checksum.crc = input.ConsumeIntegralInRange(-1, 9);
    t.checksum.width = input.ConsumeIntegralInRange(0, 70);
    t.checksum.poly = input.ConsumeIntegral<quint64>();
    t.checksum.init = input.ConsumeIntegral<quint64>();
    t.checksum.xorOut = input.ConsumeIntegral<quint64>();
    t.checksum.refIn = input.ConsumeBool();
    t.checksum.refOut = input.ConsumeBool();
    t.checksumStart = input.ConsumeIntegralInRange(-1, 8);
    t.checksumOrder = Endian(input.ConsumeIntegralInRange(0, 3));
    t.maxFrameBytes = input.ConsumeIntegralInRange(0, 300);
    t.frameTimeoutMs = input.ConsumeIntegralInRange(0, 200);
    const int fields = input.ConsumeIntegralInRange(0, 4);
    for (int i = 0; i < fields; ++i) {
        FieldSpec f;
        f.name = QStringLiteral("f%1").arg(i);
        f.offset = input.ConsumeIntegralInRange(-2, 40);
        f.type = FieldType(input.ConsumeIntegralInRange(0, 12));
        f.length = input.ConsumeIntegralInRange(-1, 12);
        f.bitStart = input.ConsumeIntegralInRange(-1, 70);
        f.bitCount = input.ConsumeIntegralInRange(0, 70);
        f.endian = Endian(input.ConsumeIntegralInRange(0, 3));
        f.scale = input.ConsumeBool() ? 1.0 : input.ConsumeFloatingPoint<double>();
        f.addend = input.ConsumeBool() ? 0.0 : input.ConsumeFloatingPoint<double>();
        f.decimals = input.ConsumeIntegralInRange(-2, 20);
        f.labels =
            input.ConsumeBool() ? QStringLiteral("0=zero; 0x1 = one;x;=;-1=minus") : QString();
        f.whenOffset = input.ConsumeIntegralInRange(-2, 12);
        f.whenValue = input.ConsumeIntegral<quint8>();
        t.fields.append(f);
    }
    return t;
}

// `value` in `size` bytes such that FrameInterpreter reads it back in `endian`.
QByteArray encode(quint64 value, int size, Endian endian)
{
    QByteArray probe;
    for (int i = 0; i < size; ++i) {
        probe.append(char(i + 1));
    }
    // The probe's reading tells which wire byte carries each significance.
    const quint64 order = FrameInterpreter::readUnsigned(probe, endian);
    QByteArray out(size, '\0');
    for (int i = 0; i < size; ++i) {
        const int wire = int((order >> (8 * (size - 1 - i))) & 0xFF) - 1;
        out[wire] = char((value >> (8 * (size - 1 - i))) & 0xFF);
    }
    return out;
}

// A frame shaped to fit the template: header, length field, body, checksum, trailer or
// delimiter (it may still fail where the template contradicts itself).
QByteArray wellFormed(const FrameTemplate &t, FuzzedDataProvider &input)
{
    const std::string body = input.ConsumeRandomLengthString(40);
    QByteArray frame = t.header;
    const int cb = t.checksumBytes();
    const QByteArray trailer = t.effectiveTrailer();
    if (t.framing == FrameTemplate::HeaderLength && t.lengthOffset >= 0 && t.lengthWidth >= 1 &&
        t.lengthWidth <= 8) {
        frame = frame.leftJustified(t.lengthOffset, '\x11', true);
        const qint64 lengthEnd = qint64(t.lengthOffset) + t.lengthWidth;
        const qint64 total = lengthEnd + qint64(body.size()) + cb + trailer.size();
        qint64 value = total - t.lengthAdjust;
        if (t.lengthScope == FrameTemplate::AfterField) {
            value -= lengthEnd;
        } else if (t.lengthScope == FrameTemplate::AfterFieldToChecksum) {
            value = qint64(body.size()) - t.lengthAdjust;
        }
        frame += encode(quint64(std::max<qint64>(value, 0)), t.lengthWidth, t.lengthEndian);
    }
    frame.append(body.data(), qsizetype(body.size()));
    if (t.framing == FrameTemplate::HeaderFixed) {
        frame = frame.leftJustified(std::max(0, t.fixedLength - cb - int(trailer.size())), '\x22',
                                    true);
    }
    if (cb > 0) {
        const qint64 from = std::clamp<qint64>(t.checksumStart, 0, frame.size());
        frame += encode(
            FrameInterpreter::computeChecksum(t.checksum, QByteArrayView(frame).sliced(from)),
            std::min(cb, 8), t.checksumOrder);
    }
    return frame + trailer;
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
    // Numbers are written as Qt writes them, through a shortcut for the common case.
    const quint64 bits = input.ConsumeIntegral<quint64>();
    double wide = 0;
    std::memcpy(&wide, &bits, sizeof wide);
    float narrow = 0;
    std::memcpy(&narrow, &bits, sizeof narrow);
    for (const auto &[value, precision, exact] :
         {std::tuple{wide, 15, false}, std::tuple{wide, 7, false},
          std::tuple{double(narrow), 7, true}, std::tuple{double(narrow) * 0.1, 15, false}}) {
        QString text;
        FrameInterpreter::appendGeneral(text, value, precision, exact);
        check(text == QString::number(value, 'g', precision), "numbers read as Qt writes them");
    }
    const FrameTemplate t = randomTemplate(input);
    QString why;
    t.validate(&why);
    const FrameTemplate cut = FrameSplitter::sanitized(t);
    TemplateStreamDecoder decoder(t);
    static const QString peers[] = {QString(), QStringLiteral("10.0.0.1:502")};

    std::map<std::pair<int, QString>, Tally> streams;
    quint64 lastSeq = 0;
    qint64 now = 0;
    const auto take = [&](const DecodeOutput &out) {
        for (const DecodedFrame &frame : out.frames) {
            check(frame.seq == ++lastSeq, "frames are numbered one by one");
            check(!frame.raw.isEmpty(), "no empty frame");
            check(frame.raw.size() <=
                      (frame.status == FrameStatus::Unrecognized ? 256 : cut.maxFrameBytes),
                  "frame size");
            Tally &tally = streams[{int(frame.direction), frame.peer}];
            check(tally.in.sliced(tally.out).startsWith(frame.raw),
                  "frames carry the stream's bytes in order");
            tally.out += frame.raw.size();
            for (const DecodedField &field : decoder.explain(frame)) {
                check(field.length >= 0 && (field.offset < 0 || field.length == 0 ||
                                            field.offset + field.length <= frame.raw.size()),
                      "detail rows that cover bytes stay within the frame");
            }
            check(!frame.summary.isEmpty(), "every frame has a summary");
        }
    };

    while (input.remaining_bytes() > 0) {
        DecodeOutput out;
        const int op = input.ConsumeIntegralInRange(0, 9);
        now += input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 3)
                                   : input.ConsumeIntegralInRange(0, 300);
        if (op <= 5) {
            const auto direction = input.ConsumeBool() ? FrameDirection::Tx : FrameDirection::Rx;
            const QString &peer = peers[input.ConsumeIntegralInRange(0, 1)];
            QByteArray bytes;
            if (op <= 2) {
                const int repeat = input.ConsumeIntegralInRange(1, 4);
                for (int i = 0; i < repeat; ++i) {
                    bytes += wellFormed(t, input);
                }
                if (op == 1 && !bytes.isEmpty()) { // cut short or damaged
                    bytes.chop(input.ConsumeIntegralInRange<qsizetype>(0, bytes.size() - 1));
                    bytes.back() = char(bytes.back() ^ input.ConsumeIntegralInRange(0, 255));
                }
            } else {
                const std::string raw = input.ConsumeRandomLengthString(op == 5 ? 2048 : 64);
                bytes = QByteArray(raw.data(), qsizetype(raw.size()));
            }
            streams[{int(direction), peer}].in += bytes;
            decoder.ingest(direction, peer, bytes, now, QDateTime(), out);
        } else if (op == 6) {
            decoder.tick(now, out);
        } else if (op == 7) {
            decoder.flush(out);
        } else {
            const int delay = decoder.nextTimeoutMs(now);
            check(delay >= -1, "a delay or none");
            if (delay >= 0) {
                now += delay;
                decoder.tick(now, out);
            }
        }
        take(out);
        check(decoder.heldBytes() <=
                  qsizetype(decoder.streamCount()) * (2 * cut.maxFrameBytes + 256 + 16),
              "what is held stays bounded");
        check((decoder.nextTimeoutMs(now) >= 0) == (decoder.heldBytes() > 0),
              "a deadline exactly while bytes are held");
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
