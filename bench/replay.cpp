// Recordings at scale: indexing, seeking and searching a 1 GiB .vlmlog, and what the
// file recorder costs per event.
//
// Files of two shapes are written to the temporary folder and removed at the end:
// events of 16-byte payloads (about 15 million lines per GiB, the worst case for the
// per-line cost) and of 4 KiB payloads (the worst case for the hex check), each
// alternating between two ports. Beside each, in the same run, `cat file > /dev/null`
// reads the same bytes: the physical limit of any pass over the file. Both run on a
// warm page cache (the file was just written).
//
// - BM_Index: a full index pass in 4 MiB slices. MB/s of file bytes, the index's memory
//   per GiB, and RSS growth during the pass (flat: the index is all that grows).
// - BM_Seek: random seeks by ordinal (seek, then read the event with its bytes) in files
//   of 10 MiB, 100 MiB and 1 GiB; p50 and p99 per seek.
// - BM_Search: a needle that is not in the file, over all of it: MB/s of file bytes.
// - BM_Recorder: 16 ports each receiving 64-byte reads 2 ms apart (too far apart to
//   merge), polled every 250 ms of simulated time by the file recording, which writes
//   them to a file: nanoseconds per event, the recording of the history included.

#include "recording/replayindex.h"
#include "recording/replayindexer.h"
#include "recording/replayreader.h"
#include "recording/replaysearch.h"
#include "recording/sessionrecorder.h"
#include "recording/sessionrecording.h"
#include "recording/vlmlog.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>

#include <algorithm>
#include <map>

namespace {

constexpr qint64 MiB = 1048576;
constexpr qint64 GiB = 1024 * MiB;

double rssMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
        }
    }
    return -1;
}

std::map<std::pair<int, qint64>, QString> &files()
{
    static std::map<std::pair<int, qint64>, QString> all;
    return all;
}

// A recording of `size` bytes whose events carry `payload` bytes each.
QString recording(int payload, qint64 size)
{
    QString &path = files()[{payload, size}];
    if (!path.isEmpty()) {
        return path;
    }
    path = QDir::temp().filePath(
        QStringLiteral("vlm-bench-%1-%2-%3.vlmlog").arg(QCoreApplication::applicationPid()).arg(payload).arg(size));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        qFatal("cannot write %s", qPrintable(path));
    }
    Vlmlog::RecordingHeader header;
    header.ports = {{"p1", "COM1", "serial", "115200 8N1", {}, {}, {}, {}, 0, 0},
                    {"p2", "PLC", "tcp", "192.168.0.10:502", {}, {}, {}, {}, 0, 0}};
    header.startedAt = 1700000000000000;
    QByteArray block = Vlmlog::headerLine(header) + '\n';
    SessionEvent event;
    event.bytes.resize(payload);
    QRandomGenerator random(42);
    qint64 written = 0;
    qint64 t = header.startedAt;
    for (qint64 n = 0; written + block.size() < size; ++n) {
        for (char &c : event.bytes) {
            c = char(random.bounded(256));
        }
        t += 100 + random.bounded(900);
        event.t = t;
        event.kind = n % 3 == 0 ? SessionEvent::Tx : SessionEvent::Rx;
        block += Vlmlog::eventLine(event, n % 2 ? QStringLiteral("p2") : QStringLiteral("p1"));
        block += '\n';
        if (block.size() >= 4 * MiB) {
            file.write(block);
            written += block.size();
            block.clear();
        }
    }
    file.write(block);
    file.close();
    return path;
}

void indexFile(const QString &path, ReplayIndex *index)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    ReplayIndexer indexer(&file, index);
    while (indexer.step(ReplayIndexer::SliceBytes)) {
    }
}

double catSeconds(const QString &path)
{
    QElapsedTimer timer;
    timer.start();
    QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"),
                                             QStringLiteral("cat '%1' > /dev/null").arg(path)});
    return double(timer.nsecsElapsed()) / 1e9;
}

void BM_Index(benchmark::State &state)
{
    const int payload = int(state.range(0));
    const QString path = recording(payload, GiB);
    const qint64 size = QFileInfo(path).size();
    const double cat = catSeconds(path);
    double seconds = 0;
    double rssGrowth = 0;
    ReplayIndex index;
    for (auto _ : state) {
        index = ReplayIndex();
        const double before = rssMiB();
        QElapsedTimer timer;
        timer.start();
        indexFile(path, &index);
        seconds = double(timer.nsecsElapsed()) / 1e9;
        rssGrowth = rssMiB() - before;
    }
    state.counters["index_MBps"] = double(size) / 1e6 / seconds;
    state.counters["cat_MBps"] = double(size) / 1e6 / cat;
    state.counters["ratio"] = cat / seconds;
    state.counters["index_KiB_per_GiB"] = double(index.memoryBytes()) / 1024.0 * double(GiB) / double(size);
    state.counters["rss_growth_MiB"] = rssGrowth;
    state.counters["events_M"] = double(index.eventCount) / 1e6;
}
BENCHMARK(BM_Index)->ArgName("payload")->Arg(16)->Arg(4096)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_Seek(benchmark::State &state)
{
    const int payload = int(state.range(0));
    const qint64 size = state.range(1) * MiB;
    const QString path = recording(payload, size);
    ReplayIndex index;
    indexFile(path, &index);
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    ReplayReader reader(&file, &index);
    QRandomGenerator random(7);
    std::vector<double> times;
    for (auto _ : state) {
        for (int i = 0; i < 2000; ++i) {
            const qint64 target = qint64(random.bounded(double(index.eventCount)));
            QElapsedTimer timer;
            timer.start();
            reader.seekOrdinal(target);
            ReplayEvent event;
            reader.peek(&event);
            times.push_back(double(timer.nsecsElapsed()) / 1e6);
            benchmark::DoNotOptimize(event);
        }
    }
    std::sort(times.begin(), times.end());
    state.counters["p50_ms"] = times[times.size() / 2];
    state.counters["p99_ms"] = times[times.size() * 99 / 100];
    state.counters["max_ms"] = times.back();
}
BENCHMARK(BM_Seek)
    ->ArgNames({"payload", "MiB"})
    ->Args({16, 10})
    ->Args({16, 100})
    ->Args({16, 1024})
    ->Args({4096, 10})
    ->Args({4096, 100})
    ->Args({4096, 1024})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

void BM_Search(benchmark::State &state)
{
    const int payload = int(state.range(0));
    const QString path = recording(payload, GiB);
    const qint64 size = QFileInfo(path).size();
    ReplayIndex index;
    indexFile(path, &index);
    double seconds = 0;
    for (auto _ : state) {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        QString error;
        // Nine bytes that a random file of this size is unlikely to hold.
        ReplaySearch search(&file, &index,
                            ReplayQuery::fromInput(QStringLiteral("DE AD BE EF 00 11 22 33 44"),
                                                   true, true, &error));
        QElapsedTimer timer;
        timer.start();
        while (search.countAll(4 * MiB)) {
        }
        seconds = double(timer.nsecsElapsed()) / 1e9;
        state.counters["hits"] = double(search.hits().size());
    }
    state.counters["search_MBps"] = double(size) / 1e6 / seconds;
}
BENCHMARK(BM_Search)->ArgName("payload")->Arg(16)->Arg(4096)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_Recorder(benchmark::State &state)
{
    constexpr int Ports = 16;
    constexpr qint64 SimulatedUs = 20 * 1000000; // 20 s of traffic
    std::vector<std::unique_ptr<SessionRecorder>> recorders;
    QList<SessionRecording::Port> ports;
    for (int i = 0; i < Ports; ++i) {
        recorders.push_back(std::make_unique<SessionRecorder>(SessionRecorder::capacityForPorts(Ports)));
        ports.append({QString::number(i), {{}, QStringLiteral("port %1").arg(i), "tcp", "x", {}, {}, {}, {}, 0, 0},
                      recorders.back().get()});
    }
    const QString path = QDir::temp().filePath(
        QStringLiteral("vlm-bench-%1-recorder.vlmlog").arg(QCoreApplication::applicationPid()));
    const QByteArray chunk(64, 'r');
    qint64 events = 0;
    double seconds = 0;
    for (auto _ : state) {
        qint64 now = 1700000000000000;
        SessionRecording recording([&ports] { return ports; });
        recording.setClock([&now] { return now; });
        QString error;
        recording.start({path, false, 0}, &error);
        QElapsedTimer timer;
        timer.start();
        for (qint64 us = 0; us < SimulatedUs; us += 2000) {
            now += 2000;
            for (auto &recorder : recorders) {
                recorder->recordRx(chunk, {}, now);
                ++events;
            }
            if (us % 250000 == 0) {
                recording.poll();
            }
        }
        recording.stop();
        seconds = double(timer.nsecsElapsed()) / 1e9;
        state.counters["file_MiB"] = double(QFileInfo(path).size()) / double(MiB);
    }
    QFile::remove(path);
    state.counters["ns_per_event"] = seconds * 1e9 / double(events);
    state.counters["events"] = double(events);
}
BENCHMARK(BM_Recorder)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const auto &[key, path] : files()) {
        QFile::remove(path);
    }
    return 0;
}
