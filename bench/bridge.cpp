// Bridge throughput and latency on loopback. A link joins two built-in TCP listeners;
// a "client" connects to one and a "device" to the other, both plain POSIX sockets on
// threads of their own, so the event loop runs nothing but the bridge. Measured in each
// framing mode (0 forward at once, 1 idle gap, 2 delimiter):
// - MB/s of a 64 MiB stream from client to device, checked byte for byte;
// - round trips of 16-byte messages that the device echoes (p50, p99);
// and, in the same run, the same for socat forwarding one listening port to the other
// (the anchor). A last case caps the device's reading speed, so the sink is the limit:
// the rate that gets through, the queue's peak and what was dropped.

#include "bridge/bridgeconfig.h"
#include "bridge/bridgelink.h"
#include "bridge/tcplistenerendpoint.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QProcess>
#include <QTcpServer>
#include <QTimer>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr qint64 StreamBytes = 64 << 20;
constexpr int RoundTrips = 2000;
constexpr int MessageBytes = 16;
constexpr qint64 CappedBytes = 12 << 20;
constexpr double CapBytesPerSec = 8 << 20;
constexpr int WaitLimitMs = 120000;

// The stream's byte at offset k: letters in lines of 64, so that delimiter framing has
// lines to cut.
char streamByte(qint64 k)
{
    return k % 64 == 63 ? '\n' : char('a' + k % 26);
}

// Runs the event loop, asleep while nothing happens as in the program, until `done`
// holds (looked at every millisecond) or the limit passes.
template<typename Done>
bool spinUntil(Done done, int limitMs = WaitLimitMs)
{
    if (done()) {
        return true;
    }
    QEventLoop loop;
    QTimer poll;
    poll.setTimerType(Qt::PreciseTimer);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done()) {
            loop.quit();
        }
    });
    poll.start(1);
    QTimer::singleShot(limitMs, &loop, &QEventLoop::quit);
    loop.exec();
    return done();
}

// The peers stand for programs outside the process: below the event loop's priority,
// so that on a small machine they do not starve what is measured.
void lowerPriority()
{
    ::setpriority(PRIO_PROCESS, pid_t(::syscall(SYS_gettid)), 10);
}

int connectLoopback(quint16 port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

bool writeAll(int fd, const char *data, qint64 size)
{
    while (size > 0) {
        const ssize_t n = ::send(fd, data, size_t(size), MSG_NOSIGNAL);
        if (n <= 0) {
            return false;
        }
        data += n;
        size -= n;
    }
    return true;
}

bool readExactly(int fd, char *data, qint64 size)
{
    while (size > 0) {
        const ssize_t n = ::recv(fd, data, size_t(size), 0);
        if (n <= 0) {
            return false;
        }
        data += n;
        size -= n;
    }
    return true;
}

// What joins the two listening ports: the bridge or socat.
class Forwarder
{
public:
    virtual ~Forwarder() = default;
    virtual quint16 clientPort() const = 0;
    virtual quint16 devicePort() const = 0;
    // Whether both peers are connected and bytes will flow.
    virtual bool ready() const = 0;
};

class BridgeForwarder : public Forwarder
{
public:
    explicit BridgeForwarder(const BridgeConfig &config)
        : a(0, QHostAddress::LocalHost)
        , b(0, QHostAddress::LocalHost)
    {
        a.applyTuning(config.fanoutMode, {});
        b.applyTuning(config.fanoutMode, {});
        a.ensureOpen();
        b.ensureOpen();
        link = std::make_unique<BridgeLink>(config, &a, &b);
        link->start();
    }
    ~BridgeForwarder() override { link->stop(); }
    quint16 clientPort() const override { return a.serverPort(); }
    quint16 devicePort() const override { return b.serverPort(); }
    bool ready() const override { return a.hasRecipients() && b.hasRecipients(); }
    const BridgeLink &bridge() const { return *link; }

private:
    TcpListenerEndpoint a;
    TcpListenerEndpoint b;
    std::unique_ptr<BridgeLink> link;
};

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// socat with its default buffer, accepting the client and then the device.
class SocatForwarder : public Forwarder
{
public:
    SocatForwarder()
        : portA(freePort())
        , portB(freePort())
    {
        const QString listen = QStringLiteral("TCP-LISTEN:%1,bind=127.0.0.1,reuseaddr,nodelay");
        socat.start(QStringLiteral("socat"), {listen.arg(portA), listen.arg(portB)});
        socat.waitForStarted();
    }
    ~SocatForwarder() override
    {
        socat.kill();
        socat.waitForFinished();
    }
    bool started() const { return socat.state() == QProcess::Running; }
    quint16 clientPort() const override { return portA; }
    quint16 devicePort() const override { return portB; }
    bool ready() const override { return true; }

private:
    quint16 portA;
    quint16 portB;
    QProcess socat;
};

// A client and a device connected through a forwarder.
struct Peers
{
    int client = -1;
    int device = -1;

    ~Peers()
    {
        for (const int fd : {client, device}) {
            if (fd >= 0) {
                ::close(fd);
            }
        }
    }

    // Connects the client first, then the device (socat listens on the second port
    // only once the first has a client), and waits until the forwarder has both.
    bool connect(const Forwarder &forwarder)
    {
        std::atomic<bool> done{false};
        std::thread connector([&] {
            const auto until = Clock::now() + std::chrono::seconds(10);
            while (client < 0 && Clock::now() < until) {
                client = connectLoopback(forwarder.clientPort());
                if (client < 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                }
            }
            while (client >= 0 && device < 0 && Clock::now() < until) {
                device = connectLoopback(forwarder.devicePort());
                if (device < 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                }
            }
            done.store(true);
        });
        spinUntil([&] { return done.load(); });
        connector.join();
        return client >= 0 && device >= 0 && spinUntil([&] { return forwarder.ready(); });
    }
};

struct StreamResult
{
    double mbps = 0;
    bool intact = false;
};

// The client writes `total` bytes; the device reads them, at most `capBytesPerSec`
// (0: as fast as it can), and checks each. The rate is bytes over the time from the
// first write to the last read.
StreamResult stream(Peers &peers, qint64 total, double capBytesPerSec = 0)
{
    std::atomic<int> finished{0};
    std::atomic<bool> intact{true};
    const Clock::time_point start = Clock::now();
    Clock::time_point end = start;
    std::thread writer([&] {
        lowerPriority();
        std::vector<char> block(65536);
        for (qint64 sent = 0; sent < total;) {
            const qint64 size = std::min<qint64>(qint64(block.size()), total - sent);
            for (qint64 i = 0; i < size; ++i) {
                block[size_t(i)] = streamByte(sent + i);
            }
            if (!writeAll(peers.client, block.data(), size)) {
                intact.store(false);
                break;
            }
            sent += size;
        }
        finished.fetch_add(1);
    });
    std::thread reader([&] {
        lowerPriority();
        std::vector<char> block(capBytesPerSec > 0 ? 4096 : 65536);
        qint64 got = 0;
        while (got < total) {
            const ssize_t n = ::recv(peers.device, block.data(), block.size(), 0);
            if (n <= 0) {
                intact.store(false);
                break;
            }
            for (ssize_t i = 0; i < n; ++i) {
                if (block[size_t(i)] != streamByte(got + i)) {
                    intact.store(false);
                }
            }
            got += n;
            if (capBytesPerSec > 0) {
                const auto due = start + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(got / capBytesPerSec));
                std::this_thread::sleep_until(due);
            }
        }
        end = Clock::now();
        finished.fetch_add(1);
    });
    const bool done = spinUntil([&] { return finished.load() == 2; });
    if (!done) {
        // A stalled forwarder: unblock both threads.
        ::shutdown(peers.client, SHUT_RDWR);
        ::shutdown(peers.device, SHUT_RDWR);
    }
    writer.join();
    reader.join();
    const double seconds = std::chrono::duration<double>(end - start).count();
    return {done && seconds > 0 ? double(total) / seconds / 1e6 : 0, done && intact.load()};
}

struct LatencyResult
{
    double p50Us = 0;
    double p99Us = 0;
};

// The device echoes what it reads; the client sends one 16-byte line at a time and
// waits for it to come back.
LatencyResult roundTrips(Peers &peers)
{
    std::atomic<bool> finished{false};
    std::vector<double> rtts;
    rtts.reserve(RoundTrips);
    std::thread echo([&] {
        lowerPriority();
        char buffer[4096];
        for (qint64 echoed = 0; echoed < qint64(RoundTrips) * MessageBytes;) {
            const ssize_t n = ::recv(peers.device, buffer, sizeof buffer, 0);
            if (n <= 0 || !writeAll(peers.device, buffer, n)) {
                break;
            }
            echoed += n;
        }
    });
    std::thread client([&] {
        lowerPriority();
        char message[MessageBytes];
        char answer[MessageBytes];
        for (int i = 0; i < RoundTrips; ++i) {
            std::fill(message, message + MessageBytes - 1, char('A' + i % 26));
            message[MessageBytes - 1] = '\n';
            const Clock::time_point sent = Clock::now();
            if (!writeAll(peers.client, message, MessageBytes) ||
                !readExactly(peers.client, answer, MessageBytes)) {
                break;
            }
            rtts.push_back(std::chrono::duration<double, std::micro>(Clock::now() - sent).count());
        }
        finished.store(true);
    });
    if (!spinUntil([&] { return finished.load(); })) {
        ::shutdown(peers.client, SHUT_RDWR);
        ::shutdown(peers.device, SHUT_RDWR);
    }
    client.join();
    ::shutdown(peers.device, SHUT_RDWR);
    echo.join();
    if (rtts.size() < size_t(RoundTrips)) {
        return {};
    }
    std::sort(rtts.begin(), rtts.end());
    return {rtts[rtts.size() / 2], rtts[size_t(double(rtts.size() - 1) * 0.99)]};
}

BridgeConfig configFor(int mode)
{
    BridgeConfig config;
    config.portA = 0;
    config.portB = 1;
    config.fanoutMode = FanoutMode::Exclusive;
    config.showForwardedInDisplay = false;
    config.framing.mode = mode;
    config.framing.idleGapMs = 2; // a short gap, as for a fast RTU line
    config.framing.delimiter = QByteArray("\n");
    return config;
}

void BM_Bridge(benchmark::State &state)
{
    const int mode = int(state.range(0));
    for (auto _ : state) {
        StreamResult bridgeStream;
        LatencyResult bridgeLatency;
        qint64 dropped = -1;
        {
            BridgeForwarder forwarder(configFor(mode));
            Peers peers;
            if (!peers.connect(forwarder)) {
                state.SkipWithError("the bridge did not connect both peers");
                return;
            }
            bridgeStream = stream(peers, StreamBytes);
            bridgeLatency = roundTrips(peers);
            dropped = forwarder.bridge().flowAtoB().bytesDropped() +
                      forwarder.bridge().flowBtoA().bytesDropped();
        }
        StreamResult socatStream;
        LatencyResult socatLatency;
        {
            SocatForwarder forwarder;
            Peers peers;
            if (!forwarder.started() || !peers.connect(forwarder)) {
                state.SkipWithError("socat is not installed or did not connect");
                return;
            }
            socatStream = stream(peers, StreamBytes);
            socatLatency = roundTrips(peers);
        }
        if (!bridgeStream.intact || !socatStream.intact) {
            state.SkipWithError("a stream arrived incomplete or changed");
            return;
        }
        state.counters["MBps"] = bridgeStream.mbps;
        state.counters["socat_MBps"] = socatStream.mbps;
        state.counters["ratio"] = socatStream.mbps > 0 ? bridgeStream.mbps / socatStream.mbps : 0;
        state.counters["rtt_p50_us"] = bridgeLatency.p50Us;
        state.counters["rtt_p99_us"] = bridgeLatency.p99Us;
        state.counters["socat_p50_us"] = socatLatency.p50Us;
        state.counters["socat_p99_us"] = socatLatency.p99Us;
        state.counters["dropped"] = double(dropped);
    }
}

// The device reads at 8 MB/s: the bridge holds the client back instead of dropping.
void BM_BridgeSinkLimited(benchmark::State &state)
{
    for (auto _ : state) {
        BridgeForwarder forwarder(configFor(0));
        Peers peers;
        if (!peers.connect(forwarder)) {
            state.SkipWithError("the bridge did not connect both peers");
            return;
        }
        const StreamResult result = stream(peers, CappedBytes, CapBytesPerSec);
        if (!result.intact) {
            state.SkipWithError("the stream arrived incomplete or changed");
            return;
        }
        const BridgeFlow &flow = forwarder.bridge().flowAtoB();
        state.counters["MBps"] = result.mbps;
        state.counters["cap_MBps"] = CapBytesPerSec / 1e6;
        state.counters["peak_queue_KiB"] = double(flow.peakQueueBytes()) / 1024;
        state.counters["limit_KiB"] = double(configFor(0).flow.queueLimitBytes) / 1024;
        state.counters["dropped"] = double(flow.bytesDropped());
        state.counters["held_ms"] = double(flow.throttledMs(0));
    }
}

} // namespace

BENCHMARK(BM_Bridge)->Arg(0)->Arg(1)->Arg(2)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_BridgeSinkLimited)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
