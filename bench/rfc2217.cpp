// Remote serial payload through the Telnet codec: escaping outgoing data (each 255
// doubled) and decoding incoming data (escapes undone, commands taken out), over 1 MiB
// of text without a 255, random bytes (one 255 in 256) and nothing but 255, in blocks of
// 4 KiB as a socket delivers them. memcpy of the same blocks is the anchor.

#include "bridge/rfc2217clientsession.h"

#include <benchmark/benchmark.h>

#include <QRandomGenerator>

#include <cstring>

namespace {

constexpr qsizetype Total = 1 << 20;
constexpr qsizetype Block = 4096;

// kind 0: printable text, 1: random bytes, 2: all 255.
QList<QByteArray> payload(int kind)
{
    QRandomGenerator random{7};
    QList<QByteArray> blocks;
    for (qsizetype at = 0; at < Total; at += Block) {
        QByteArray b(Block, Qt::Uninitialized);
        for (char &c : b) {
            c = kind == 0 ? char(0x20 + random.bounded(95))
                : kind == 1 ? char(random.bounded(256))
                            : char(0xFF);
        }
        blocks.append(b);
    }
    return blocks;
}

void rate(benchmark::State &state)
{
    state.SetBytesProcessed(state.iterations() * Total);
    state.counters["MBps"] =
        benchmark::Counter(double(Total) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Encode(benchmark::State &state)
{
    const QList<QByteArray> blocks = payload(int(state.range(0)));
    Rfc2217ClientSession session;
    session.begin(0);
    session.receive(QByteArray::fromHex("fffd2c"), 0);
    for (auto _ : state) {
        for (const QByteArray &b : blocks) {
            benchmark::DoNotOptimize(session.encodePayload(b).constData());
        }
    }
    rate(state);
}

void BM_Decode(benchmark::State &state)
{
    // The wire as the peer sends it: escaped, in 4 KiB reads that may split an escape.
    QByteArray wire;
    for (const QByteArray &b : payload(int(state.range(0)))) {
        wire += Rfc2217Codec::encodePayload(b);
    }
    QList<QByteArray> reads;
    for (qsizetype at = 0; at < wire.size(); at += Block) {
        reads.append(wire.mid(at, Block));
    }
    Rfc2217ClientSession session;
    session.begin(0);
    session.receive(QByteArray::fromHex("fffd2c"), 0);
    qsizetype out = 0;
    for (auto _ : state) {
        out = 0;
        for (const QByteArray &r : reads) {
            out += session.receive(r, 0).data.size();
        }
    }
    if (out != Total) {
        state.SkipWithError("decoded size differs from the payload");
    }
    rate(state);
}

void BM_MemcpyAnchor(benchmark::State &state)
{
    const QList<QByteArray> blocks = payload(1);
    QByteArray target(Block, Qt::Uninitialized);
    for (auto _ : state) {
        for (const QByteArray &b : blocks) {
            std::memcpy(target.data(), b.constData(), size_t(Block));
            benchmark::ClobberMemory();
        }
    }
    rate(state);
}

} // namespace

BENCHMARK(BM_Encode)->ArgName("kind")->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Decode)->ArgName("kind")->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MemcpyAnchor)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
