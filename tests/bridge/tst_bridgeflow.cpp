// One bridge direction and the turns of several clients, driven by scripts against a
// sink whose state the script sets, with the time passed in.

#include "bridge/bridgearbiter.h"
#include "bridge/bridgeflow.h"
#include "bridge/bridgesink.h"
#include "bridge/bridgesource.h"

#include <QRegularExpression>
#include <QtTest>

namespace {

// Both ends of a flow: the sink's state is "open", "closed", "nobody" (no recipients),
// "full" (its backlog is at the limit), "refuse" (writes take nothing) or "part" (a write
// takes at most 7 bytes).
struct FakeEnd : BridgeSink, BridgeSource
{
    QString state = QStringLiteral("open");
    QByteArray written;
    bool held = false;

    qint64 writeBytes(const QByteArray &bytes, const QString &) override
    {
        if (state == QLatin1String("refuse")) {
            return 0;
        }
        const qsizetype n =
            state == QLatin1String("part") ? std::min<qsizetype>(bytes.size(), 7) : bytes.size();
        written += bytes.first(n);
        return n;
    }
    qint64 pendingBytes() const override { return state == QLatin1String("full") ? 1 << 20 : 0; }
    bool isOpen() const override { return state != QLatin1String("closed"); }
    bool hasRecipients() const override { return state != QLatin1String("nobody"); }
    void setReadThrottled(bool on) override { held = on; }
    bool supportsThrottle() const override { return true; }
};

// "i<ms>:<n>" or "i<from>-<to>/<step>:<n>" ingests n numbered bytes at each time,
// "t<ms>" ticks, "r<ms>" resumes, "s=<state>" sets the sink.
void runFlow(BridgeFlow &flow, FakeEnd &end, const QString &script, QByteArray *in)
{
    static const QRegularExpression ingest(QStringLiteral(R"(^i(\d+)(?:-(\d+)/(\d+))?:(\d+)$)"));
    for (const QString &step : script.split(u' ', Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch m = ingest.match(step);
        if (m.hasMatch()) {
            const qint64 from = m.captured(1).toLongLong();
            const qint64 to = m.captured(2).isEmpty() ? from : m.captured(2).toLongLong();
            const qint64 every = m.captured(3).isEmpty() ? 1 : m.captured(3).toLongLong();
            for (qint64 t = from; t <= to; t += every) {
                QByteArray bytes;
                for (int i = 0; i < m.captured(4).toInt(); ++i) {
                    bytes.append(char(in->size() + i));
                }
                in->append(bytes);
                flow.ingest(bytes, t);
            }
        } else if (step.startsWith(u's')) {
            end.state = step.mid(2);
        } else if (step.startsWith(u't')) {
            flow.tick(step.mid(1).toLongLong());
        } else if (step.startsWith(u'r')) {
            flow.resume(step.mid(1).toLongLong());
        } else {
            qFatal("bad step %s", qPrintable(step));
        }
    }
}

} // namespace

class TestBridgeFlow : public QObject
{
    Q_OBJECT
private slots:
    void flow_data();
    void flow();
    void arbiter_data();
    void arbiter();
};

void TestBridgeFlow::flow_data()
{
    QTest::addColumn<int>("policy"); // overflow policy; limit 100, watermarks 75/25, backlog 50
    QTest::addColumn<QString>("script");
    QTest::addColumn<qint64>("forwarded");
    QTest::addColumn<qint64>("dropped"); // queue drops and unrouted
    QTest::addColumn<qint64>("queued");
    QTest::addColumn<bool>("held");
    QTest::addColumn<qint64>("failures");
    QTest::addColumn<QString>("suspended");

    const QString overflow = QStringLiteral("Egress queue overflowed");
    const QString flood = QStringLiteral("Flood guard tripped (possible cable loop)");
    QTest::newRow("forwards what the sink takes")
        << 2 << "i0:30 i1:30" << 60ll << 0ll << 0ll << false << 0ll << "";
    QTest::newRow("partial writes")
        << 2 << "s=part i0:20 i1:5" << 25ll << 0ll << 0ll << false << 0ll << "";
    QTest::newRow("nobody to receive: unrouted, nothing queued")
        << 2 << "s=nobody i0:30" << 0ll << 30ll << 0ll << false << 0ll << "";
    QTest::newRow("a full sink holds the source at once")
        << 2 << "s=full i0:10" << 0ll << 0ll << 10ll << true << 0ll << "";
    QTest::newRow("released when the sink has room at a tick")
        << 2 << "s=full i0:10 s=open t20" << 10ll << 0ll << 0ll << false << 0ll << "";
    QTest::newRow("slowing the sender still drops a frame that finds the queue full")
        << 2 << "s=closed i0:60 i1:60" << 0ll << 60ll << 60ll << true << 0ll << "";
    QTest::newRow("drop newest") << 1 << "s=closed i0:60 i1:60 s=open t2" << 60ll << 60ll << 0ll
                                 << false << 0ll << "";
    QTest::newRow("drop oldest keeps a frame over the limit alone")
        << 0 << "s=closed i0:40 i1:40 i2:150" << 0ll << 80ll << 150ll << true << 0ll << "";
    QTest::newRow("a refused write blocks until the next tick, not suspended")
        << 2 << "s=refuse i0:10 t20 s=open t40" << 10ll << 0ll << 0ll << false << 2ll << "";
    QTest::newRow("stop the bridge: suspended, keeps its queue, drops what comes")
        << 3 << "s=closed i0:60 i1:60 i2:5 s=open t30" << 0ll << 65ll << 60ll << false << 0ll
        << overflow;
    QTest::newRow("resume drains what was kept")
        << 3 << "s=closed i0:60 i1:60 s=open r2 i3:5" << 65ll << 60ll << 0ll << false << 0ll << "";
    QTest::newRow("a fast stream that is kept up with never trips the guard")
        << 2 << "i0-500/2:50" << 12550ll << 0ll << 0ll << false << 0ll << "";
    QTest::newRow("a fast stream that grows the queue trips it")
        << 0 << "s=closed i0-200/10:20" << 0ll << 320ll << 100ll << false << 0ll << flood;
    QTest::newRow("a slow stream that grows the queue does not")
        << 2 << "s=closed i0-400/50:10" << 0ll << 0ll << 90ll << true << 0ll << "";
}

void TestBridgeFlow::flow()
{
    QFETCH(int, policy);
    QFETCH(QString, script);
    FlowControlPolicy limits;
    limits.queueLimitBytes = 100;
    limits.highWatermark = 75;
    limits.lowWatermark = 25;
    limits.sinkPendingLimitBytes = 50;
    limits.overflowPolicy = policy;
    limits.floodRateBytesPerSec = 1024;
    limits.floodWindowMs = 100;
    BridgeFlow flow;
    flow.setPolicy(limits);
    FakeEnd end;
    flow.setSink(&end);
    flow.setSource(&end);
    QByteArray in;
    runFlow(flow, end, script, &in);

    QTEST(flow.bytesForwarded(), "forwarded");
    QTEST(flow.bytesDropped(), "dropped");
    QTEST(flow.queueBytes(), "queued");
    QTEST(end.held, "held");
    QTEST(flow.writeFailures(), "failures");
    QTEST(flow.suspendReason(), "suspended");
    QVERIFY(flow.peakQueueBytes() <= std::max<qint64>(100, flow.queueBytes()));
    // What went out is what came in, in order, less what was dropped on the way.
    QCOMPARE(end.written.size(), flow.bytesForwarded());
    if (flow.bytesDropped() == 0) {
        QVERIFY(in.startsWith(end.written));
    }
    QCOMPARE(flow.nextTimeoutMs(1000) >= 0, flow.queueBytes() > 0 && !flow.isSuspended());
}

void TestBridgeFlow::arbiter_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("log");
    QTest::addColumn<qint64>("timedOut");
    QTest::addColumn<qint64>("dropped");

    // Requests end in ";", the response time-out is 100 ms, three requests may wait.
    // "s<ms>:<peer>:<bytes>" submits, "n<ms>" takes the next request ("peer:bytes", or
    // "-" when refused), "a<ms>" routes an answer ("=peer", "=-" for everyone), "t<ms>"
    // ticks, "f:<peer>" forgets a peer.
    QTest::newRow("one request at a time, the next after the answer")
        << "s0:x:a;b; n0 n1 a5 n20 t56 n56"
        << "x:a; - =x - x:b;" << 0ll << 0ll;
    QTest::newRow("a silent device costs one time-out, counted once")
        << "s0:x:a; s0:y:b; n0 n99 n100 a150"
        << "x:a; - y:b; =y" << 1ll << 0ll;
    QTest::newRow("a late answer goes to everyone") << "s0:x:a; n0 t100 a101"
                                                    << "x:a; =-" << 1ll << 0ll;
    QTest::newRow("a reply in several frames keeps the turn")
        << "s0:x:a; s0:y:b; n0 a10 a40 n80 n91"
        << "x:a; =x =x - y:b;" << 0ll << 0ll;
    QTest::newRow("the fourth waiting request evicts the oldest") << "n0 s0:x:1;2;3;4; n0"
                                                                  << "- x:2;" << 0ll << 1ll;
    QTest::newRow("partial requests of two clients do not mix")
        << "s0:x:a s0:y:b s1:y:d; s1:x:c; n1 t300 n300"
        << "y:bd; x:ac;" << 1ll << 0ll;
    QTest::newRow("a client that leaves takes its requests and its turn")
        << "s0:x:a;b; s0:y:c; n0 f:x n1 a2"
        << "x:a; y:c; =y" << 0ll << 0ll;
}

void TestBridgeFlow::arbiter()
{
    QFETCH(QString, script);
    FramingPolicy policy;
    policy.mode = FramingPolicy::Delimiter;
    policy.delimiter = ";";
    BridgeArbiter arbiter;
    arbiter.setPolicy(policy);
    arbiter.setResponseTimeoutMs(100);
    arbiter.setMaxQueuedRequests(3);
    QStringList log;
    for (const QString &step : script.split(u' ', Qt::SkipEmptyParts)) {
        const qint64 t = step.mid(1).section(u':', 0, 0).toLongLong();
        switch (step.at(0).toLatin1()) {
        case 's':
            arbiter.submit(step.section(u':', 1, 1), step.section(u':', 2).toLatin1(), t);
            break;
        case 'n': {
            BridgeArbiter::Request request;
            log << (arbiter.takeNext(t, &request)
                        ? request.peer + u':' + QString::fromLatin1(request.bytes)
                        : QStringLiteral("-"));
            break;
        }
        case 'a': {
            const QString owner = arbiter.routeResponse(t);
            log << u'=' + (owner.isEmpty() ? QStringLiteral("-") : owner);
            break;
        }
        case 't':
            arbiter.tick(t);
            break;
        case 'f':
            arbiter.forgetPeer(step.section(u':', 1));
            break;
        }
    }
    QTEST(log.join(u' '), "log");
    QTEST(arbiter.timedOut(), "timedOut");
    QTEST(arbiter.dropped(), "dropped");
}

QTEST_APPLESS_MAIN(TestBridgeFlow)
#include "tst_bridgeflow.moc"
