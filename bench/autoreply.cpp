// Auto reply matching speed: AutoReplyEngine::feed over 1, 16 and 256 rules of mixed
// kinds (text, hex with any-byte, lazy wildcards, regular expressions with and without
// a literal start), in chunks of 1, 64 and 4096 bytes, for data that never matches and
// for a stream in which every 4096 bytes hold 1024 matches. A 921600-baud line carries
// about 92 KB/s; "headroom" is how many such lines one core keeps up with.
//
// A last set runs the same with one hostile expression among the rules, a pattern with
// exponential backtracking fed the data that triggers it.

#include "automation/autoreplyengine.h"

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QString>

namespace {

constexpr double LineBytesPerSecond = 921600.0 / 10.0; // 8N1: ten bits a byte
constexpr qsizetype StreamBytes = 64 * 1024;

QString id(int rule)
{
    return QStringLiteral("%1").arg(rule & 0xFF, 2, 16, QLatin1Char('0')).toUpper();
}

// Rule i is of kind i % 4; every rule answers a 4-byte message of its own.
AutoReplyConfig mixedConfig(int count)
{
    AutoReplyConfig config;
    for (int i = 0; i < count; ++i) {
        AutoReplyRule rule;
        rule.reply = QStringLiteral("ACK\\r\\n");
        switch (i % 4) {
        case 0:
            rule.match = AutoReplyMatch::Text;
            rule.pattern = QStringLiteral("T%1\\n").arg(id(i));
            break;
        case 1:
            rule.match = AutoReplyMatch::Hex;
            rule.pattern = QStringLiteral("01 %1 ?? 0D").arg(id(i));
            rule.replyFormat = 1;
            rule.reply = QStringLiteral("01 %1 00").arg(id(i));
            rule.checksum = 4;
            break;
        case 2:
            rule.match = AutoReplyMatch::Wildcard;
            rule.pattern = QStringLiteral("W*%1;").arg(id(i));
            break;
        default:
            rule.match = AutoReplyMatch::Regex;
            // Every other expression starts with a class, so it has no literal start.
            rule.pattern = i % 8 == 3 ? QStringLiteral("R%1\\d").arg(id(i))
                                      : QStringLiteral("[Rr]%1[0-9]").arg(id(i));
            break;
        }
        config.rules.append(rule);
    }
    return config;
}

QByteArray message(int rule)
{
    const QByteArray tag = id(rule).toLatin1();
    switch (rule % 4) {
    case 0:
        return "T" + tag + "\n";
    case 1:
        return QByteArray(1, '\x01') + char(rule & 0xFF) + "z\r";
    case 2:
        return "W" + tag + ";";
    default:
        return "R" + tag + "7";
    }
}

// 1024 messages in every 4096 bytes, cycling through the rules.
QByteArray matchingStream(int rules)
{
    QByteArray stream;
    stream.reserve(StreamBytes);
    for (int i = 0; stream.size() < StreamBytes; ++i) {
        stream += message(i % rules);
    }
    return stream;
}

// Sensor lines: printable, sharing first bytes with some rules, never a whole match.
QByteArray quietStream()
{
    QByteArray stream;
    stream.reserve(StreamBytes + 64);
    for (int i = 0; stream.size() < StreamBytes; ++i) {
        stream += QStringLiteral("T=%1.%2;H=40.%3;P=1013.25\r\n")
                      .arg(20 + i % 10)
                      .arg(i % 100, 2, 10, QLatin1Char('0'))
                      .arg(i % 97, 2, 10, QLatin1Char('0'))
                      .toLatin1();
    }
    stream.truncate(StreamBytes);
    return stream;
}

// Runs of "a" that end in "c" before a "b" comes: every search of (a|aa)+b over them
// backtracks exponentially until the work limit stops it.
QByteArray hostileStream()
{
    QByteArray stream;
    while (stream.size() < StreamBytes) {
        stream += QByteArray(1000, 'a') + "cb";
    }
    stream.truncate(StreamBytes);
    return stream;
}

void runFeed(benchmark::State &state, AutoReplyConfig config, const QByteArray &stream)
{
    const qsizetype chunk = state.range(1);
    AutoReplyEngine engine;
    engine.setConfig(config, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    qint64 nowMs = 0;
    qint64 hits = 0;
    for (auto _ : state) {
        for (qsizetype at = 0; at < stream.size(); at += chunk) {
            const QByteArray piece = QByteArray::fromRawData(
                stream.constData() + at, std::min(chunk, stream.size() - at));
            const QList<AutoReplyHit> found = engine.feed(piece, QString(), ++nowMs);
            hits += found.size();
            benchmark::DoNotOptimize(found.data());
        }
    }
    const double bytes = double(stream.size()) * double(state.iterations());
    state.SetBytesProcessed(int64_t(bytes));
    state.counters["MBps"] = benchmark::Counter(bytes / 1e6, benchmark::Counter::kIsRate);
    state.counters["headroom"] =
        benchmark::Counter(bytes / LineBytesPerSecond, benchmark::Counter::kIsRate);
    state.counters["hits_per_4KiB"] = double(hits) * 4096.0 / bytes;
}

void quiet(benchmark::State &state)
{
    static const QByteArray stream = quietStream();
    runFeed(state, mixedConfig(int(state.range(0))), stream);
}

void matching(benchmark::State &state)
{
    runFeed(state, mixedConfig(int(state.range(0))), matchingStream(int(state.range(0))));
}

void hostile(benchmark::State &state)
{
    static const QByteArray stream = hostileStream();
    AutoReplyConfig config = mixedConfig(int(state.range(0)));
    AutoReplyRule bad;
    bad.match = AutoReplyMatch::Regex;
    bad.pattern = QStringLiteral("(a|aa)+b");
    bad.reply = QStringLiteral("x");
    config.rules.last() = bad;
    runFeed(state, config, stream);
}

void sizes(benchmark::internal::Benchmark *bench)
{
    bench->ArgNames({"rules", "chunk"});
    for (const int rules : {1, 16, 256}) {
        for (const int chunk : {1, 64, 4096}) {
            bench->Args({rules, chunk});
        }
    }
    bench->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(quiet)->Apply(sizes);
BENCHMARK(matching)->Apply(sizes);
BENCHMARK(hostile)->ArgNames({"rules", "chunk"})->Args({256, 1})->Args({256, 64})->Args({256, 4096})->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
