// Hostile scripts on the real runner of a port panel, with the Scripts window open: each
// runs for 3 s of polls (or until it ends), and the longest single poll, the longest gap
// of a 1 ms probe timer on the same event loop and the peak resident set are reported.
// The bar: no poll above 50 ms, no gap above 100 ms, never more than 200 MiB.

#include "procmemory.h"

#include "connection/settings.h"
#include "session/scriptportlink.h"
#include "app/scriptwindow.h"
#include "session/serialportwidget.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <functional>
#include <memory>

using procmemory::peakRssMiB;
using procmemory::resetPeakRss;

namespace {

constexpr int RunMs = 3000;
constexpr int EndMs = 10000;

// CPU time of this thread in milliseconds: unlike the wall clock, it leaves out the
// time other processes had the core.
double threadCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// Times every event delivered to one object: the runner's timer, whose timeout is a
// pump of the runner, i.e. one poll with what the runner does around it.
class TimedApplication : public QApplication
{
public:
    using QApplication::QApplication;
    QObject *watched = nullptr;
    double longestMs = 0;
    double longestCpuMs = 0;

    bool notify(QObject *receiver, QEvent *event) override
    {
        if (receiver != watched || !watched) {
            return QApplication::notify(receiver, event);
        }
        QElapsedTimer clock;
        clock.start();
        const double cpu = threadCpuMs();
        const bool result = QApplication::notify(receiver, event);
        longestMs = std::max(longestMs, double(clock.nsecsElapsed()) / 1e6);
        longestCpuMs = std::max(longestCpuMs, threadCpuMs() - cpu);
        return result;
    }
};

TimedApplication *timedApp()
{
    return static_cast<TimedApplication *>(QCoreApplication::instance());
}

// Longest gap between two ticks of a 1 ms precise timer.
class GapProbe
{
public:
    GapProbe()
    {
        timer.setTimerType(Qt::PreciseTimer);
        timer.setInterval(1);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            const qint64 now = clock.nsecsElapsed();
            longest = std::max(longest, double(now - last) / 1e6);
            last = now;
        });
        clock.start();
        timer.start();
    }
    double longest = 0;

private:
    QTimer timer;
    QElapsedTimer clock;
    qint64 last = 0;
};

// Received data while the run goes on: `chunk` bytes every millisecond.
struct Feed
{
    int chunk = 0;
    bool holdBack = false; // the port's write backlog holds onReceive back
    qint64 total = 0;      // stop after this many bytes (0: no end)
};

struct Row
{
    const char *name;
    const char *source;
    Feed feed;
};

// The scripts of the table first, then the older hostile set.
const Row rows[] = {
    {"find_long_literal",
     "string.find(('a'):rep(200000), ('a'):rep(100000) .. 'b.')", {}},
    {"plain_find_loop",
     "local s, n = ('a'):rep(2e6), ('a'):rep(1e6) .. 'b'\n"
     "while true do string.find(s, n, 1, true) end",
     {}},
    {"table_move_2p24", "local t = {}\nwhile true do table.move(t, 1, 1 << 24, 1) end", {}},
    {"table_move_2p20", "local t = {}\nwhile true do table.move(t, 1, 1 << 20, 1) end", {}},
    {"rep_empty_2p24", "while true do string.rep('', 1 << 24) end", {}},
    {"unpack_900000",
     "local t = {}\nfor i = 1, 900000 do t[i] = i end\n"
     "while true do table.unpack(t, 1, 900000) end",
     {}},
    {"gsub_8MB_table", "local s = ('x'):rep(8 << 20)\nwhile true do s:gsub('.', {}) end", {}},
    {"gsub_1MB_table_pcall",
     "local s = ('x'):rep(1 << 20)\nwhile true do pcall(string.gsub, s, '.', {}) end", {}},
    {"refused_pattern_pcall",
     "local s = ('a'):rep(3000)\nwhile true do pcall(string.find, s, '.-.-.-.-b') end", {}},
    {"fail_1MB", "fail(string.rep('x', 1e6))", {}},
    {"error_3MB", "error(('y'):rep(3e6))", {}},
    {"print_flood", "while true do print(('x'):rep(16000)) end", {}},
    {"log_flood", "while true do log(('x'):rep(16000)) end", {}},
    {"log_flood_words", "while true do log(('word '):rep(3200)) end", {}},
    {"toHex_10MB", "local s = ('x'):rep(10e6)\nwhile true do local h = toHex(s) end", {}},
    {"toHex_1MB_loop", "local s = ('x'):rep(1e6)\nwhile true do local h = toHex(s) end", {}},
    {"fromHex_9MB", "local h = ('41 '):rep(3e6)\nwhile true do local b = fromHex(h) end", {}},
    {"onReceive_1byte_held",
     "onReceive(function(b) end)\nidle()",
     {1000, true, 1 << 20}},
    // The older hostile set.
    {"while_true", "while true do end", {}},
    {"sort_comparator_loops",
     "table.sort({3, 1, 2}, function(a, b) while true do end end)", {}},
    {"pcall_error_loop", "while true do pcall(error, 'again') end", {}},
    {"onReceive_runaway", "onReceive(function() while true do end end)\nidle()", {64, false, 0}},
    {"onStop_runaway", "onStop(function() while true do end end)\nwhile true do end", {}},
    {"memory_growing_table",
     "local t = {}\nwhile true do t[#t + 1] = ('x'):rep(1000) .. #t end", {}},
    {"memory_full_rep_pcall",
     "local t = {}\npcall(function() while true do t[#t + 1] = {} end end)\n"
     "while true do pcall(string.rep, 'x', 1 << 20) end",
     {}},
    {"concat_8MB_loop", "local a = ('x'):rep(8e6)\nwhile true do local b = a .. a end", {}},
    {"utf8_len_8MB", "local s = ('x'):rep(8e6)\nwhile true do utf8.len(s) end", {}},
    {"tonumber_16MB_blanks", "local s = (' '):rep(16e6)\nwhile true do tonumber(s) end", {}},
    {"tonumber_4MB_blanks", "local s = (' '):rep(4e6)\nwhile true do tonumber(s) end", {}},
    {"sort_65536",
     "local t = {}\nfor i = 1, 65536 do t[i] = (i * 7919) % 65537 end\n"
     "while true do table.sort(t, function(a, b) return a > b end) end",
     {}},
    {"regex_8MB", "local s = ('x'):rep(8e6)\nwhile true do regex('x+y', s) end", {}},
    // Instructions that compare long strings: no library call to charge.
    {"equal_8MB", "local a, b = ('x'):rep(8e6), ('x'):rep(8e6)\n"
                   "while true do local _ = a == b end", {}},
    {"equal_64KB", "local a, b = ('x'):rep(65536), ('x'):rep(65536)\n"
                   "while true do local _ = a == b end", {}},
    {"less_1MB", "local a, b = ('x'):rep(1e6), ('x'):rep(1e6)\n"
                 "while true do local _ = a < b end", {}},
};

struct Bench
{
    Bench()
    {
        Settings settings;
        settings.connMode = ModeTcpServer;
        settings.targetPort = 0;
        panel.applySettings(settings);
        link = new ScriptPortLink(panel.session());
        window.setPortLister([this] {
            return QList<ScriptWindow::PortEntry>{{&panel, QStringLiteral("Port 1"), link}};
        });
        window.show();
        panel.resize(800, 600);
        if (qEnvironmentVariableIsEmpty("VLM_HIDE_PANEL")) {
            panel.show();
        }
    }
    SerialPortWidget panel;
    ScriptPortLink *link = nullptr;
    ScriptWindow window;
};

// Made on first use, destroyed in main() while the application still exists.
std::unique_ptr<Bench> theBench;

Bench &bench()
{
    if (!theBench) {
        theBench = std::make_unique<Bench>();
    }
    return *theBench;
}

void spinFor(int ms, const std::function<bool()> &done = {})
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms && !(done && done())) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
}

void BM_Hostile(benchmark::State &state, const Row &row)
{
    Bench &b = bench();
    ScriptRunner *runner = b.link->runner();
    auto *pumpTimer = runner->findChild<QTimer *>();
    for (auto _ : state) {
        ScriptLibrary library;
        library.scripts << Script{QString::fromLatin1(row.name), QString::fromLatin1(row.source)};
        b.window.setLibrary(library);
        b.window.selectScript(0);
        spinFor(200);

        runner->setBacklog(row.feed.holdBack ? ScriptRunner::Backlog([] { return qint64(1) << 20; })
                                             : ScriptRunner::Backlog());
        resetPeakRss();
        timedApp()->watched = pumpTimer;
        timedApp()->longestMs = 0;
        timedApp()->longestCpuMs = 0;
        double longestIngest = 0;
        double longestIngestCpu = 0;
        qint64 fed = 0;
        GapProbe probe;
        QTimer feeder;
        QObject::connect(&feeder, &QTimer::timeout, [&] {
            if (row.feed.total > 0 && fed >= row.feed.total) {
                return;
            }
            QElapsedTimer clock;
            clock.start();
            const double cpu = threadCpuMs();
            // In single bytes when the chunk says so: the worst case for the queue.
            const int pieces = row.feed.holdBack ? row.feed.chunk : 1;
            const QByteArray piece(row.feed.holdBack ? 1 : row.feed.chunk, 'x');
            for (int i = 0; i < pieces; ++i) {
                runner->ingest(piece, QString());
            }
            fed += qint64(pieces) * piece.size();
            longestIngest = std::max(longestIngest, double(clock.nsecsElapsed()) / 1e6);
            longestIngestCpu = std::max(longestIngestCpu, threadCpuMs() - cpu);
        });
        QElapsedTimer wall;
        wall.start();
        b.window.run();
        if (row.feed.chunk > 0) {
            feeder.start(1);
        }
        spinFor(RunMs, [&] { return !runner->isRunning(); });
        feeder.stop();
        const bool ranOut = runner->isRunning();
        QElapsedTimer stopClock;
        stopClock.start();
        b.window.stop();
        const double stopMs = double(stopClock.nsecsElapsed()) / 1e6;
        spinFor(EndMs, [&] { return !runner->isRunning(); });
        spinFor(200); // the window's last flush
        timedApp()->watched = nullptr;

        state.counters["poll_max_ms"] = std::max(timedApp()->longestMs, longestIngest);
        state.counters["poll_cpu_ms"] = std::max(timedApp()->longestCpuMs, longestIngestCpu);
        state.counters["gap_max_ms"] = probe.longest;
        state.counters["stop_ms"] = stopMs;
        state.counters["rss_peak_MiB"] = peakRssMiB();
        state.counters["ran_ms"] = double(wall.elapsed());
        state.counters["running_at_3s"] = ranOut ? 1 : 0;
        state.counters["doc_chars"] = double(b.window.outputText().size());
        state.SetLabel(qPrintable(QStringLiteral("%1: %2")
                                      .arg(int(runner->state()))
                                      .arg(runner->engine().finishReason().left(60))));
        runner->setBacklog({});
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // The session notes of the port would echo every end line to the terminal.
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES")) {
        qputenv("QT_LOGGING_RULES", "vlm.*=false");
    }
    TimedApplication app(argc, argv);
    for (const Row &row : rows) {
        benchmark::RegisterBenchmark(row.name, [&row](benchmark::State &state) {
            BM_Hostile(state, row);
        })->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    theBench.reset();
    return 0;
}
