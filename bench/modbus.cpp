// Modbus stream decoding speed: ModbusStreamDecoder over captures of 1, 4 and 16 MiB.
//
// Clean captures are a master polling one slave, each frame one arrival in its own
// direction, 1 ms apart: reads of 125 and of 10 holding registers, a write of 10
// registers and a read of 16 coils, in turn (RTU, ASCII and TCP carry the same PDUs).
// Noisy RTU is received bytes in arrivals of 64: "random" is uniform random bytes;
// "dense" is the worst case found for the resync, every offset a plausible frame start
// (a slave address, a known function) announcing a long frame whose CRC fails, so that
// every offset stays open and is checked when its bytes have come.
//
// The anchor, measured in the same run, is CRC-16/MODBUS over the same bytes: the least
// an RTU decoder must do is look at every byte once.

#include "decode/modbuscodec.h"
#include "decode/modbusgateway.h"
#include "decode/modbusstreamdecoder.h"

#include <benchmark/benchmark.h>

#include <QRandomGenerator>

#include <map>

namespace {

using Variant = ModbusStreamDecoder::Variant;

struct Arrival
{
    FrameDirection direction;
    QByteArray bytes;
};

enum Kind { CleanRtu, CleanAscii, CleanTcp, RandomRtu, DenseRtu };

QByteArray frameOf(Variant variant, quint16 transaction, const QByteArray &unitAndPdu)
{
    switch (variant) {
    case Variant::Ascii: {
        QByteArray bytes = unitAndPdu;
        bytes.append(char(ModbusCodec::lrc(bytes)));
        return ':' + bytes.toHex().toUpper() + "\r\n";
    }
    case Variant::Tcp:
        return ModbusGateway::buildMbap(transaction, quint8(unitAndPdu.at(0)),
                                        QByteArrayView(unitAndPdu).sliced(1));
    case Variant::Rtu:
        break;
    }
    QByteArray bytes = unitAndPdu;
    const quint16 crc = ModbusCodec::crc16(bytes);
    bytes.append(char(crc & 0xFF));
    bytes.append(char(crc >> 8));
    return bytes;
}

QList<Arrival> polling(Variant variant, qsizetype total)
{
    QRandomGenerator random(1);
    const auto registers = [&](int count) {
        QByteArray values(count * 2, '\0');
        for (char &c : values) {
            c = char(random.bounded(256));
        }
        return values;
    };
    QList<Arrival> arrivals;
    qsizetype size = 0;
    for (quint16 n = 0; size < total; ++n) {
        QByteArray ask;
        QByteArray answer;
        switch (n % 4) {
        case 0:
            ask = QByteArray::fromHex("0103006B007D");
            answer = QByteArray::fromHex("0103FA") + registers(125);
            break;
        case 1:
            ask = QByteArray::fromHex("01030010000A");
            answer = QByteArray::fromHex("010314") + registers(10);
            break;
        case 2:
            ask = QByteArray::fromHex("01100020000A14") + registers(10);
            answer = QByteArray::fromHex("01100020000A");
            break;
        default:
            ask = QByteArray::fromHex("010100000010");
            answer = QByteArray::fromHex("010102") + registers(1);
            break;
        }
        arrivals.append({FrameDirection::Tx, frameOf(variant, n, ask)});
        arrivals.append({FrameDirection::Rx, frameOf(variant, n, answer)});
        size += arrivals.at(arrivals.size() - 2).bytes.size() + arrivals.last().bytes.size();
    }
    return arrivals;
}

QList<Arrival> noise(bool dense, qsizetype total)
{
    QRandomGenerator random(2);
    QByteArray bytes;
    bytes.reserve(total);
    while (bytes.size() < total) {
        if (dense) {
            // Slave, read function, a byte count announcing up to 250 bytes.
            bytes.append(char(random.bounded(1, 248)));
            bytes.append(char(random.bounded(3, 5)));
            bytes.append(char(random.bounded(200, 250)));
        } else {
            bytes.append(char(random.bounded(256)));
        }
    }
    QList<Arrival> arrivals;
    for (qsizetype at = 0; at < bytes.size(); at += 64) {
        arrivals.append({FrameDirection::Rx, bytes.mid(at, 64)});
    }
    return arrivals;
}

const QList<Arrival> &capture(Kind kind, int mebibytes)
{
    static std::map<std::pair<int, int>, QList<Arrival>> made;
    auto &arrivals = made[{kind, mebibytes}];
    if (arrivals.isEmpty()) {
        const qsizetype total = qsizetype(mebibytes) << 20;
        switch (kind) {
        case CleanRtu:
            arrivals = polling(Variant::Rtu, total);
            break;
        case CleanAscii:
            arrivals = polling(Variant::Ascii, total);
            break;
        case CleanTcp:
            arrivals = polling(Variant::Tcp, total);
            break;
        case RandomRtu:
        case DenseRtu:
            arrivals = noise(kind == DenseRtu, total);
            break;
        }
    }
    return arrivals;
}

Variant variantOf(Kind kind)
{
    return kind == CleanAscii ? Variant::Ascii : kind == CleanTcp ? Variant::Tcp : Variant::Rtu;
}

void BM_Decode(benchmark::State &state)
{
    const auto kind = Kind(state.range(0));
    const auto &arrivals = capture(kind, int(state.range(1)));
    qsizetype bytes = 0;
    for (const Arrival &arrival : arrivals) {
        bytes += arrival.bytes.size();
    }
    const QDateTime wall = QDateTime::currentDateTime();
    qint64 frames = 0;
    qint64 recognised = 0;
    for (auto _ : state) {
        ModbusStreamDecoder decoder(variantOf(kind));
        DecodeOutput out;
        qint64 ms = 0;
        const auto count = [&] {
            frames += out.frames.size();
            for (const DecodedFrame &frame : std::as_const(out.frames)) {
                recognised += frame.status != FrameStatus::Unrecognized;
            }
            out.frames.clear();
            out.pairs.clear();
        };
        for (const Arrival &arrival : arrivals) {
            decoder.ingest(arrival.direction, QString(), arrival.bytes, ++ms, wall, out);
            count();
        }
        decoder.flush(out);
        count();
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["frames_per_s"] =
        benchmark::Counter(double(frames), benchmark::Counter::kIsRate);
    state.counters["recognised"] = double(recognised) / double(state.iterations());
}

void BM_Crc16Anchor(benchmark::State &state)
{
    const auto &arrivals = capture(CleanRtu, int(state.range(0)));
    QByteArray all;
    for (const Arrival &arrival : arrivals) {
        all += arrival.bytes;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(ModbusCodec::crc16(all));
    }
    state.SetBytesProcessed(state.iterations() * all.size());
}

void sizes(benchmark::internal::Benchmark *b)
{
    for (int kind = CleanRtu; kind <= DenseRtu; ++kind) {
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
