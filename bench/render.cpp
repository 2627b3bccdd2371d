// Render: what one display tick of 262144 bytes costs in ReceiveRenderer, the time the
// port panel spends per tick in its plain-text receive view, for text, hex and stamped
// text from one-byte and 4 KiB records; and what one trim of a full 10 MiB view costs.
// Reports each figure also as a fraction of the 20 ms tick.

#include "connection/rxdata.h"
#include "connection/settings.h"
#include "session/receiverenderer.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QPlainTextEdit>
#include <QScrollBar>

#include <chrono>
#include <ctime>
#include <memory>
#include <vector>

namespace {

constexpr qsizetype TickBytes = 262144;
constexpr double TickMs = 20.0;
// Steady state: the view holds about half its default budget when a tick begins.
constexpr qsizetype PrefillChars = 5 << 20;

enum Kind : int {
    Text = 0,
    Hex = 1,
    StampedText = 2,
};

// Printable lines of 64 bytes ending in CR LF, as a logging device sends them.
QByteArray streamBytes(qsizetype size)
{
    QByteArray bytes;
    bytes.reserve(size + 64);
    for (int n = 0; bytes.size() < size; ++n) {
        QByteArray line = "seq=" + QByteArray::number(n).rightJustified(7, '0') +
                          " t=23.41 rh=45.2 p=1013.25 v=3.301 i=0.127 ok";
        bytes += line.leftJustified(62, ' ') + "\r\n";
    }
    bytes.truncate(size);
    return bytes;
}

// A panel's receive view with a renderer over it, shown on the offscreen platform.
struct Panel
{
    explicit Panel(int kind)
    {
        view.setReadOnly(true);
        view.setUndoRedoEnabled(false);
        view.setLineWrapMode(QPlainTextEdit::WidgetWidth);
        view.resize(1000, 700);
        view.show();
        format.receiveMsgFormat = kind == Hex ? HexFormat : TextFormat;
        format.displayMsgTime = kind == StampedText;
        renderer = std::make_unique<ReceiveRenderer>(&view, &format);
    }

    QPlainTextEdit view;
    FormatSetting format;
    std::unique_ptr<ReceiveRenderer> renderer;
};

// One tick's records: `bytes` of the stream cut into records of `recordSize`, their
// times spread over the tick that begins at `start`.
std::vector<rxData> tickRecords(const QByteArray &bytes, qsizetype recordSize,
                                const QDateTime &start)
{
    std::vector<rxData> records;
    records.reserve(std::size_t(bytes.size() / recordSize + 1));
    const qsizetype count = (bytes.size() + recordSize - 1) / recordSize;
    for (qsizetype i = 0; i < count; ++i) {
        rxData rx;
        rx.time = start.addMSecs(qint64(i * TickMs / count));
        rx.data = bytes.mid(i * recordSize, recordSize);
        records.push_back(std::move(rx));
    }
    return records;
}

// Wall time and this thread's CPU time. On a shared machine the wall time also holds
// the time other processes had the core; the CPU time is what the work itself took.
struct Stopwatch
{
    Stopwatch() { restart(); }
    void restart()
    {
        wall = std::chrono::steady_clock::now();
        cpu = threadCpuMs();
    }
    double wallMs() const
    {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - wall)
            .count();
    }
    double cpuMs() const { return threadCpuMs() - cpu; }

    static double threadCpuMs()
    {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
    }

    std::chrono::steady_clock::time_point wall;
    double cpu = 0;
};

// tick_ms and of_20ms are CPU time, scaled to a whole tick when an iteration renders
// less than one; wall_ms is the wall time of the same.
void reportTick(benchmark::State &state, double wallMs, double cpuMs, qsizetype bytesPerIteration,
                qsizetype records)
{
    const double scale = double(TickBytes) / double(bytesPerIteration);
    const double perIteration = cpuMs / double(state.iterations());
    state.counters["tick_ms"] = perIteration * scale;
    state.counters["of_20ms"] = perIteration * scale / TickMs;
    state.counters["wall_ms"] = wallMs / double(state.iterations()) * scale;
    state.counters["us_per_record"] = perIteration * 1000.0 / double(records);
    state.SetBytesProcessed(qint64(state.iterations()) * bytesPerIteration);
}

// Args: kind, record size, the tick rendered in one batch (0 or 1), bytes per iteration
// (0: a full tick), fresh view per iteration (0 or 1).
//
// A steady tick renders into a view that already holds about 5 MiB and is trimmed
// between ticks, untimed. A fresh one starts from an empty view, for hex: a hex stream
// without pauses is one endless line, which every record lays out again, so a hex tick
// costs more the longer the line already is; the first tick is the cheapest.
void BM_RenderTick(benchmark::State &state)
{
    const int kind = int(state.range(0));
    const qsizetype recordSize = state.range(1);
    const bool batched = state.range(2) != 0;
    const qsizetype bytesPerIteration = state.range(3) > 0 ? state.range(3) : TickBytes;
    const bool fresh = state.range(4) != 0;

    Panel panel(kind);
    const QByteArray bytes = streamBytes(bytesPerIteration);
    QDateTime tickStart = QDateTime::currentDateTime();
    if (!fresh) {
        const QByteArray fill = streamBytes(65536);
        panel.renderer->beginBatch();
        while (panel.view.document()->characterCount() < PrefillChars) {
            for (const rxData &rx : tickRecords(fill, 4096, tickStart)) {
                panel.renderer->render(rx);
            }
            tickStart = tickStart.addMSecs(qint64(TickMs));
        }
        panel.renderer->endBatch();
    }

    double wallMs = 0;
    double cpuMs = 0;
    qsizetype records = 0;
    for (auto _ : state) {
        if (fresh) {
            panel.renderer->clear();
        }
        const std::vector<rxData> tick = tickRecords(bytes, recordSize, tickStart);
        tickStart = tickStart.addMSecs(qint64(TickMs));
        QApplication::processEvents();

        const Stopwatch watch;
        if (batched) {
            panel.renderer->beginBatch();
        }
        for (const rxData &rx : tick) {
            benchmark::DoNotOptimize(panel.renderer->render(rx));
        }
        if (batched) {
            panel.renderer->endBatch();
        }
        const double cpu = watch.cpuMs();
        const double wall = watch.wallMs();
        state.SetIterationTime(wall / 1000.0);
        wallMs += wall;
        cpuMs += cpu;
        records += qsizetype(tick.size());

        panel.renderer->trimToBudget();
    }
    reportTick(state, wallMs, cpuMs, bytesPerIteration, records / state.iterations());
}

// Arg: 1 when the reader is scrolled back (the view keeps its place), 0 at the end.
void BM_TrimToBudget(benchmark::State &state)
{
    const bool scrolledBack = state.range(0) != 0;
    Panel panel(Text);
    const qsizetype budget = panel.renderer->characterBudget();
    const QByteArray fill = streamBytes(65536);
    QDateTime time = QDateTime::currentDateTime();
    double wallMs = 0;
    double cpuMs = 0;
    for (auto _ : state) {
        panel.renderer->beginBatch();
        while (panel.view.document()->characterCount() <= budget) {
            for (const rxData &rx : tickRecords(fill, 4096, time)) {
                panel.renderer->render(rx);
            }
            time = time.addMSecs(qint64(TickMs));
        }
        panel.renderer->endBatch();
        QScrollBar *bar = panel.view.verticalScrollBar();
        bar->setValue(scrolledBack ? bar->maximum() * 3 / 4 : bar->maximum());
        QApplication::processEvents();

        const Stopwatch watch;
        benchmark::DoNotOptimize(panel.renderer->trimToBudget());
        const double cpu = watch.cpuMs();
        const double wall = watch.wallMs();
        state.SetIterationTime(wall / 1000.0);
        wallMs += wall;
        cpuMs += cpu;
    }
    const double perTrim = cpuMs / double(state.iterations());
    state.counters["trim_ms"] = perTrim;
    state.counters["of_20ms"] = perTrim / TickMs;
    state.counters["wall_ms"] = wallMs / double(state.iterations());
}

// Args: kind, record size, batched, bytes per iteration, fresh.
void quickTicks(benchmark::internal::Benchmark *b)
{
    b->ArgNames({"kind", "record", "batched", "bytes", "fresh"});
    for (int kind : {Text, StampedText}) {
        b->Args({kind, 4096, 0, 0, 0});
        b->Args({kind, 4096, 1, 0, 0});
    }
}

// One-byte records, and hex, whose endless line makes every tick slow.
void slowTicks(benchmark::internal::Benchmark *b)
{
    b->ArgNames({"kind", "record", "batched", "bytes", "fresh"});
    for (int kind : {Text, StampedText}) {
        b->Args({kind, 1, 0, 0, 0});
        b->Args({kind, 1, 1, 0, 0});
    }
    // Per record, the first tick of an endless line; one-byte records for 1/64 of it.
    b->Args({Hex, 4096, 0, 0, 1});
    b->Args({Hex, 1, 0, 4096, 1});
    // Batched: the first tick, and a tick onto a line that already holds 5 MiB.
    b->Args({Hex, 4096, 1, 0, 1});
    b->Args({Hex, 1, 1, 0, 1});
    b->Args({Hex, 4096, 1, 0, 0});
}

} // namespace

BENCHMARK(BM_RenderTick)
    ->Apply(quickTicks)
    ->Iterations(30)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderTick)
    ->Apply(slowTicks)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TrimToBudget)
    ->ArgName("scrolled_back")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
