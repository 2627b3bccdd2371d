// The diagnostic pack's scrubber, which every byte of a pack passes once.
//
// 8 MiB of session JSON Lines (hex payloads, notes, peers) scrubbed with a realistic set
// of needles: two machine ids (six forms each), three user names, two host names. Two
// inputs: clean (nothing to replace, the common case) and dirty (a user or host name
// in one line of 20). MB/s counts the input. The anchor is ZipWriter::rawDeflate (zlib
// level 6) over the same bytes: the pack deflates each entry right after scrubbing it,
// so the scrubber should cost well under what deflate does.

#include "recording/diagnosticpack.h"
#include "recording/zipwriter.h"

#include <benchmark/benchmark.h>

namespace {

QByteArray sessionText(bool dirty)
{
    QByteArray out;
    out.reserve(8 << 20);
    for (int i = 0; out.size() < (8 << 20); ++i) {
        out += "{\"t\":17600000";
        out += QByteArray::number(i);
        out += ",\"port\":\"ser-0\",\"dir\":\"rx\",\"peer\":\"192.168.4.20:502\",\"hex\":\"";
        out += QByteArray("0103000A0002E5C9AABBCCDD").repeated(3);
        out += "\"}\n";
        if (dirty && i % 20 == 0) {
            out += "{\"note\":\"opened by quintus on benchbox17.lab\"}\n";
        }
    }
    return out;
}

DiagnosticPack::Scrubber scrubber()
{
    return DiagnosticPack::Scrubber(
        {QStringLiteral("4c4c4544-0042-3510-8052-b7c04f4d3432"),
         QStringLiteral("9a1f7c3e-52d0-4b8e-a1c9-3f0e6d2b7a41")},
        {QStringLiteral("quintus"), QStringLiteral("q.smith"), QStringLiteral("quintus@example.com")},
        {QStringLiteral("benchbox17"), QStringLiteral("benchbox17.lab")});
}

void BM_Scrub(benchmark::State &state)
{
    const QByteArray input = sessionText(state.range(0) != 0);
    DiagnosticPack::Scrubber s = scrubber();
    for (auto _ : state) {
        benchmark::DoNotOptimize(s.apply(input));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * input.size());
    state.counters["replaced_per_pass"] =
        double(s.replaced) / double(std::max<int64_t>(1, int64_t(state.iterations())));
}

void BM_DeflateAnchor(benchmark::State &state)
{
    const QByteArray input = sessionText(state.range(0) != 0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(ZipWriter::rawDeflate(input));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * input.size());
}

} // namespace

BENCHMARK(BM_Scrub)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DeflateAnchor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
