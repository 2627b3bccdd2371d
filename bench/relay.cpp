// Live Relay through a local velmora-cloud: throughput of 1 MiB sent in 8192-byte
// messages from the client end to the host end, and the round trip of a 16-byte
// message echoed by the host (p50 and p99 in microseconds), for random bytes and for
// nothing but 0xFF. The anchor, measured in the same run: the same traffic over a bare
// loopback TCP connection inside this process (no WebSocket, no server hop).

#include "cloudprocess.h"
#include "livepeer.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>
#include <memory>

namespace {

constexpr qsizetype kTotal = 1 << 20;
constexpr qsizetype kMessage = 8192;
constexpr int kSmall = 16;

QByteArray bytes(bool allFF, qsizetype size)
{
    QByteArray out(size, char(0xFF));
    if (!allFF) {
        QRandomGenerator random{11};
        for (char &c : out)
            c = char(random.bounded(256));
    }
    return out;
}

// Runs the event loop until `done` holds; blocks in the loop, never sleeps.
template<typename Predicate>
void spin(Predicate done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

// One server, one account, one paired relay for the whole run.
struct Relay
{
    CloudProcess server;
    LivePeer console;
    LivePeer host;
    LivePeer client;
    bool echo = false;
    bool ready = false;

    Relay()
    {
        const QString hostCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000a1");
        QString why;
        if (!server.start({}, &why))
            qFatal("%s", qPrintable(why));
        const LiveAccount account = LiveAccount::create(server, QStringLiteral("bench@example.com"), hostCid,
                                                        QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000c1"));
        console.openConsole(server.baseUrl(), account.hostToken, hostCid, QStringLiteral("run"));
        console.sendJson({{QStringLiteral("type"), QStringLiteral("snapshot")},
                          {QStringLiteral("cid"), hostCid},
                          {QStringLiteral("ports"),
                           QJsonArray{QJsonObject{{QStringLiteral("port_key"), QStringLiteral("ser-0")},
                                                  {QStringLiteral("capabilities"),
                                                   QJsonArray{QStringLiteral("open_relay")}}}}}});
        console.waitFor(QStringLiteral("snapshot"));
        const auto opened = server.call("POST", QStringLiteral("/api/v3/relay/sessions"),
                                        QJsonObject{{QStringLiteral("cid"), hostCid},
                                                    {QStringLiteral("port_key"), QStringLiteral("ser-0")}},
                                        account.clientToken);
        const QJsonObject command = console.waitFor(QStringLiteral("commands"))[u"commands"][0].toObject();
        host.openRelay(server.baseUrl(), command[u"payload"][u"ticket"].toString());
        client.openRelay(server.baseUrl(), opened.json[u"ticket"].toString());
        ready = !host.waitFor(QStringLiteral("ready")).isEmpty()
                && !client.waitFor(QStringLiteral("ready")).isEmpty();
        QObject::connect(&host.socket, &QWebSocket::binaryMessageReceived, [this](const QByteArray &b) {
            if (echo)
                host.socket.sendBinaryMessage(b);
        });
    }
};

Relay &relay()
{
    static Relay instance;
    return instance;
}

// A connected loopback TCP pair whose server end can echo.
struct Loopback
{
    QTcpServer listener;
    QTcpSocket client;
    QTcpSocket *peer = nullptr;
    QByteArray atPeer;
    QByteArray atClient;
    bool echo = false;

    Loopback()
    {
        listener.listen(QHostAddress::LocalHost, 0);
        client.connectToHost(QHostAddress::LocalHost, listener.serverPort());
        spin([this]() { return listener.hasPendingConnections() && client.state() == QAbstractSocket::ConnectedState; });
        peer = listener.nextPendingConnection();
        QObject::connect(peer, &QTcpSocket::readyRead, [this]() {
            const QByteArray b = peer->readAll();
            if (echo)
                peer->write(b);
            else
                atPeer += b;
        });
        QObject::connect(&client, &QTcpSocket::readyRead, [this]() { atClient += client.readAll(); });
    }
};

Loopback &loopback()
{
    static Loopback instance;
    return instance;
}

void throughputCounters(benchmark::State &state)
{
    state.SetBytesProcessed(state.iterations() * kTotal);
    state.counters["MBps"] = benchmark::Counter(double(kTotal) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}

void latencyCounters(benchmark::State &state, std::vector<double> &micros)
{
    std::sort(micros.begin(), micros.end());
    state.counters["p50_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[std::min(micros.size() - 1, micros.size() * 99 / 100)];
}

void BM_RelayThroughput(benchmark::State &state)
{
    Relay &r = relay();
    if (!r.ready)
        return state.SkipWithError("the relay did not pair");
    r.echo = false;
    const QByteArray data = bytes(state.range(0) == 1, kTotal);
    for (auto _ : state) {
        r.host.binary.clear();
        r.client.sendBinary(data, kMessage);
        spin([&]() { return r.host.binary.size() >= kTotal; });
    }
    if (r.host.binary != data)
        state.SkipWithError("bytes changed on the way");
    throughputCounters(state);
}

void BM_RelayRoundTrip16(benchmark::State &state)
{
    Relay &r = relay();
    if (!r.ready)
        return state.SkipWithError("the relay did not pair");
    r.echo = true;
    const QByteArray data = bytes(state.range(0) == 1, kSmall);
    std::vector<double> micros;
    QElapsedTimer clock;
    for (auto _ : state) {
        r.client.binary.clear();
        clock.start();
        r.client.socket.sendBinaryMessage(data);
        spin([&]() { return r.client.binary.size() >= kSmall; });
        micros.push_back(double(clock.nsecsElapsed()) / 1000.0);
    }
    r.echo = false;
    if (r.client.binary != data)
        state.SkipWithError("bytes changed on the way");
    latencyCounters(state, micros);
}

void BM_LoopbackThroughput(benchmark::State &state)
{
    Loopback &l = loopback();
    l.echo = false;
    const QByteArray data = bytes(state.range(0) == 1, kTotal);
    for (auto _ : state) {
        l.atPeer.clear();
        for (qsizetype at = 0; at < kTotal; at += kMessage)
            l.client.write(data.mid(at, kMessage));
        spin([&]() { return l.atPeer.size() >= kTotal; });
    }
    throughputCounters(state);
}

void BM_LoopbackRoundTrip16(benchmark::State &state)
{
    Loopback &l = loopback();
    l.echo = true;
    const QByteArray data = bytes(state.range(0) == 1, kSmall);
    std::vector<double> micros;
    QElapsedTimer clock;
    for (auto _ : state) {
        l.atClient.clear();
        clock.start();
        l.client.write(data);
        spin([&]() { return l.atClient.size() >= kSmall; });
        micros.push_back(double(clock.nsecsElapsed()) / 1000.0);
    }
    l.echo = false;
    latencyCounters(state, micros);
}

// Argument 0: random bytes, 1: all 0xFF.
BENCHMARK(BM_RelayThroughput)->ArgName("allFF")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RelayRoundTrip16)->ArgName("allFF")->Arg(0)->Arg(1)->Iterations(5000)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_LoopbackThroughput)->ArgName("allFF")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LoopbackRoundTrip16)->ArgName("allFF")->Arg(0)->Arg(1)->Iterations(5000)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
