// Frame template decoding speed: TemplateStreamDecoder over captures of 1, 4 and 16 MiB,
// received in reads of 1024 bytes (one arrival each, 1 ms apart).
//
// "crc" is header + length framing: 7E, a two-byte little-endian length of the whole
// frame, a sequence number, a temperature in tenths, a status with labels, a float and a
// bit field with plausible values, filler, then CRC-16/MODBUS; frames of 16 to 48 bytes. "line" is
// delimiter framing:
// "$" then ASCII text up to CR LF, with a SUM8 before the delimiter and two fields.
// Clean captures are frames back to back. Noisy ones put random bytes (that may hold
// header bytes) between frames, as much noise as frames, and damage one frame in ten.
//
// The anchor, measured in the same run, is CRC-16/MODBUS over the same bytes: the least
// a decoder of checked frames must do is look at every byte once.

#include "decode/frameinterpreter.h"
#include "decode/modbuscodec.h"
#include "decode/templatestreamdecoder.h"
#include "tools/crccatalog.h"

#include <benchmark/benchmark.h>

#include <QRandomGenerator>

#include <cstring>
#include <map>

namespace {

enum Kind { CleanCrc, NoisyCrc, CleanLine, NoisyLine };

FieldSpec field(const char *name, FieldType type, int offset)
{
    FieldSpec f;
    f.name = QString::fromLatin1(name);
    f.type = type;
    f.offset = offset;
    return f;
}

FrameTemplate crcTemplate()
{
    FrameTemplate t;
    t.name = QStringLiteral("crc");
    t.header = QByteArray::fromHex("7E");
    t.lengthOffset = 1;
    t.lengthWidth = 2;
    t.lengthEndian = Endian::Little;
    t.lengthScope = FrameTemplate::WholeFrame;
    t.checksum.kind = ChecksumSpec::Crc; // CRC-16/MODBUS
    FieldSpec temperature = field("temp", FieldType::I16, 5);
    temperature.scale = 0.1;
    temperature.unit = QStringLiteral("°C");
    FieldSpec status = field("status", FieldType::U8, 7);
    status.labels = QStringLiteral("0=Idle;1=Run;2=Fault");
    FieldSpec flags = field("alarm", FieldType::Bits, 12);
    flags.length = 1;
    flags.bitStart = 4;
    flags.bitCount = 2;
    t.fields = {field("seq", FieldType::U16, 3), temperature, status,
                field("flow", FieldType::F32, 8), flags};
    return t;
}

FrameTemplate lineTemplate()
{
    FrameTemplate t;
    t.name = QStringLiteral("line");
    t.framing = FrameTemplate::Delimited;
    t.header = QByteArray("$");
    t.checksum.kind = ChecksumSpec::Sum8;
    t.checksumStart = 1;
    FieldSpec text = field("text", FieldType::Ascii, 1);
    t.fields = {field("kind", FieldType::U8, 1), text};
    return t;
}

// A device's reading: sequence, temperature in tenths (-40.0 .. 120.0), status, a flow in
// hundredths as a float, flags, then filler up to the frame's size.
QByteArray crcFrame(QRandomGenerator &random)
{
    static quint16 seq = 0;
    const int size = random.bounded(16, 49);
    QByteArray frame(size - 2, '\0');
    frame[0] = '\x7E';
    frame[1] = char(size & 0xFF);
    frame[2] = char(size >> 8);
    ++seq;
    frame[3] = char(seq >> 8);
    frame[4] = char(seq & 0xFF);
    const qint16 temperature = qint16(random.bounded(-400, 1201));
    frame[5] = char(quint16(temperature) >> 8);
    frame[6] = char(temperature & 0xFF);
    frame[7] = char(random.bounded(3));
    const float flow = float(random.bounded(10000)) / 100.0f;
    quint32 bits = 0;
    std::memcpy(&bits, &flow, sizeof bits);
    for (int i = 0; i < 4; ++i) {
        frame[8 + i] = char(bits >> (24 - 8 * i));
    }
    for (qsizetype i = 12; i < frame.size(); ++i) {
        frame[i] = char(random.bounded(256));
    }
    const quint16 crc = ModbusCodec::crc16(frame);
    frame.append(char(crc & 0xFF));
    frame.append(char(crc >> 8));
    return frame;
}

QByteArray lineFrame(QRandomGenerator &random)
{
    QByteArray text;
    const int size = random.bounded(12, 40);
    for (int i = 0; i < size; ++i) {
        text.append(char(random.bounded(0x20, 0x7F)));
    }
    QByteArray line = '$' + text.replace('$', '#');
    line.append(char(CrcCatalog::sum8(QByteArrayView(line).sliced(1))));
    return line + "\r\n";
}

const QByteArray &capture(Kind kind, int mebibytes)
{
    static std::map<std::pair<int, int>, QByteArray> made;
    QByteArray &bytes = made[{kind, mebibytes}];
    if (bytes.isEmpty()) {
        QRandomGenerator random(3);
        const qsizetype total = qsizetype(mebibytes) << 20;
        const bool noisy = kind == NoisyCrc || kind == NoisyLine;
        bytes.reserve(total + 1024);
        for (int n = 0; bytes.size() < total; ++n) {
            QByteArray frame = kind <= NoisyCrc ? crcFrame(random) : lineFrame(random);
            if (noisy && n % 10 == 9) {
                frame[frame.size() / 2] = char(frame.at(frame.size() / 2) ^ 0x40);
            }
            bytes += frame;
            if (noisy) {
                for (qsizetype i = frame.size(); i > 0; --i) {
                    bytes.append(char(random.bounded(256)));
                }
            }
        }
    }
    return bytes;
}

void BM_Decode(benchmark::State &state)
{
    const auto kind = Kind(state.range(0));
    const QByteArray &bytes = capture(kind, int(state.range(1)));
    const FrameTemplate t = kind <= NoisyCrc ? crcTemplate() : lineTemplate();
    const QDateTime wall = QDateTime::currentDateTime();
    qint64 frames = 0;
    qint64 good = 0;
    for (auto _ : state) {
        TemplateStreamDecoder decoder(t);
        DecodeOutput out;
        qint64 ms = 0;
        const auto count = [&] {
            frames += out.frames.size();
            for (const DecodedFrame &frame : std::as_const(out.frames)) {
                good += frame.status == FrameStatus::Ok;
            }
            out.frames.clear();
        };
        for (qsizetype at = 0; at < bytes.size(); at += 1024) {
            decoder.ingest(FrameDirection::Rx, QString(), bytes.mid(at, 1024), ++ms, wall, out);
            count();
        }
        decoder.flush(out);
        count();
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
    state.counters["frames_per_s"] =
        benchmark::Counter(double(frames), benchmark::Counter::kIsRate);
    state.counters["ok_frames"] = double(good) / double(state.iterations());
}

void BM_Crc16Anchor(benchmark::State &state)
{
    const QByteArray &bytes = capture(CleanCrc, int(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(ModbusCodec::crc16(bytes));
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}

void sizes(benchmark::internal::Benchmark *b)
{
    for (int kind = CleanCrc; kind <= NoisyLine; ++kind) {
        for (int mib : {1, 4, 16}) {
            b->Args({kind, mib});
        }
    }
    b->ArgNames({"kind", "MiB"})->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(BM_Decode)->Apply(sizes);
BENCHMARK(BM_Crc16Anchor)->Arg(1)->Arg(16)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
