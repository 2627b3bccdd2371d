// Receive flood: 1, 4 and 16 port panels in one process, each a TCP client fed by its
// own loopback peer that writes as fast as it can for a fixed time. Reports the rate
// each panel takes in, the lag of a 1 ms probe timer on the event loop, peak RSS and
// lost bytes (sent minus the Rx counter, which must be 0), and the same rate for a bare
// QTcpSocket reader on the same kind of peer.

#include "procmemory.h"

#include "connection/settings.h"
#include "floodpeer.h"
#include "session/serialportwidget.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGridLayout>
#include <QTcpSocket>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

using procmemory::peakRssMiB;
using procmemory::resetPeakRss;

namespace {

// How long the peers write: 3 s, or VLM_FLOOD_MS milliseconds (long floods show what
// happens when the views fill up and trim).
const int FloodMs = [] {
    bool ok = false;
    const int ms = qEnvironmentVariableIntValue("VLM_FLOOD_MS", &ok);
    return ok && ms > 0 ? ms : 3000;
}();
constexpr int DrainLimitMs = 120000;

// Runs the event loop for `ms` milliseconds, or until `done` holds.
template<typename Done>
void spin(int ms, Done done)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms && !done()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
}

void spin(int ms)
{
    spin(ms, [] { return false; });
}

// Peak resident set size in MiB since the last reset.

// Lag of a 1 ms precise timer: how late each tick came.
class LagProbe
{
public:
    void start()
    {
        lags.clear();
        timer.setTimerType(Qt::PreciseTimer);
        timer.setInterval(1);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            const qint64 now = clock.nsecsElapsed();
            if (last >= 0) {
                lags.push_back(std::max<double>(0.0, (now - last) / 1e6 - 1.0));
            }
            last = now;
        });
        clock.start();
        last = -1;
        timer.start();
    }
    void stop() { timer.stop(); }
    double percentile(double p)
    {
        if (lags.empty()) {
            return 0;
        }
        std::vector<double> sorted = lags;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::min(sorted.size() - 1, std::size_t(std::floor(p * sorted.size())))];
    }
    double max() { return lags.empty() ? 0 : *std::max_element(lags.begin(), lags.end()); }

private:
    QTimer timer;
    QElapsedTimer clock;
    qint64 last = -1;
    std::vector<double> lags;
};

// The bare reader rate: N QTcpSockets that only read and count, each with its own peer.
double bareReaderMiBps(int count)
{
    std::vector<std::unique_ptr<FloodPeer>> peers;
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    std::vector<qint64> received(count, 0);
    for (int i = 0; i < count; ++i) {
        peers.push_back(std::make_unique<FloodPeer>());
        auto socket = std::make_unique<QTcpSocket>();
        QTcpSocket *raw = socket.get();
        QObject::connect(raw, &QTcpSocket::readyRead,
                         [raw, &received, i] { received[i] += raw->readAll().size(); });
        raw->connectToHost(QHostAddress::LocalHost, peers.back()->port());
        sockets.push_back(std::move(socket));
    }
    spin(5000, [&] {
        return std::all_of(sockets.begin(), sockets.end(), [](const auto &s) {
            return s->state() == QAbstractSocket::ConnectedState;
        });
    });
    for (auto &peer : peers) {
        peer->release();
    }
    spin(FloodMs);
    qint64 total = 0;
    for (qint64 r : received) {
        total += r;
    }
    for (auto &peer : peers) {
        peer->finish();
    }
    spin(200);
    return double(total) / count / (1 << 20) / (FloodMs / 1000.0);
}

void BM_ReceiveFlood(benchmark::State &state)
{
    const int panels = int(state.range(0));
    for (auto _ : state) {
        resetPeakRss();
        const double rssBefore = peakRssMiB();

        QWidget window;
        auto *grid = new QGridLayout(&window);
        const int columns = int(std::ceil(std::sqrt(panels)));
        std::vector<std::unique_ptr<FloodPeer>> peers;
        std::vector<SerialPortWidget *> widgets;
        for (int i = 0; i < panels; ++i) {
            peers.push_back(std::make_unique<FloodPeer>());
            auto *panel = new SerialPortWidget(&window);
            panel->setWindowFlags(Qt::Widget);
            panel->setPortNumber(i);
            Settings settings;
            settings.connMode = ModeTcpClient;
            settings.targetHost = QStringLiteral("127.0.0.1");
            settings.targetPort = peers.back()->port();
            panel->applySettings(settings);
            grid->addWidget(panel, i / columns, i % columns);
            widgets.push_back(panel);
        }
        window.resize(1280, 800);
        window.show();
        for (SerialPortWidget *panel : widgets) {
            panel->start(QString());
        }
        spin(5000, [&] {
            return std::all_of(widgets.begin(), widgets.end(),
                               [](SerialPortWidget *p) { return p->portIsOpen(); });
        });

        LagProbe probe;
        probe.start();
        for (auto &peer : peers) {
            peer->release();
        }
        spin(FloodMs);
        probe.stop();

        qint64 takenIn = 0;
        qint64 backlog = 0;
        for (SerialPortWidget *panel : widgets) {
            takenIn += panel->rxByteCount();
            backlog += panel->pendingDisplayBytes();
        }
        const double rssAtEnd = peakRssMiB();
        for (auto &peer : peers) {
            peer->finish();
        }
        qint64 sent = 0;
        for (auto &peer : peers) {
            sent += peer->bytesSent();
        }
        // Everything sent must arrive; give the panels time to read what waits.
        spin(DrainLimitMs, [&] {
            qint64 rx = 0;
            for (SerialPortWidget *panel : widgets) {
                rx += panel->rxByteCount();
            }
            return rx >= sent;
        });
        qint64 received = 0;
        for (SerialPortWidget *panel : widgets) {
            received += panel->rxByteCount();
        }
        const double peak = peakRssMiB();
        for (SerialPortWidget *panel : widgets) {
            panel->stop();
        }

        const double panelRate = double(takenIn) / panels / (1 << 20) / (FloodMs / 1000.0);
        const double bareRate = bareReaderMiBps(panels);
        state.counters["panel_MiBps"] = panelRate;
        state.counters["bare_MiBps"] = bareRate;
        state.counters["ratio"] = bareRate > 0 ? panelRate / bareRate : 0;
        state.counters["lag_p50_ms"] = probe.percentile(0.50);
        state.counters["lag_p99_ms"] = probe.percentile(0.99);
        state.counters["lag_max_ms"] = probe.max();
        state.counters["peak_rss_MiB"] = peak;
        state.counters["rss_before_MiB"] = rssBefore;
        state.counters["lost_bytes"] = double(sent - received);
        state.counters["backlog_MiB"] = double(backlog) / (1 << 20);
        state.counters["rss_flood_MiB"] = rssAtEnd;
    }
}

} // namespace

BENCHMARK(BM_ReceiveFlood)
    ->Arg(1)
    ->Arg(4)
    ->Arg(16)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
