// Bridges against real peers: socat ptys stand for serial ports, Python clients, pyserial,
// mbpoll and pymodbus talk to a listener bridge on loopback.

#include "bridge/bridgelink.h"
#include "bridge/tcplistenerendpoint.h"
#include "serialbridgeendpoint.h"
#include "support/testsupport.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QtTest>

namespace {

const QString Python = QStringLiteral("/usr/bin/python3");

// A process that is ended when the test ends, however it ends.
struct Peer : QProcess
{
    ~Peer() override
    {
        terminate();
        if (!waitForFinished(5000)) {
            kill();
            waitForFinished(5000);
        }
    }
};

// Connects, sends `send` random bytes (seeded, paced at `rate` bytes/s when given) while
// it reads `expect` bytes (pausing after each read when asked), and prints the SHA-256 of
// what it sent, the count and the SHA-256 of what it received.
const char *RawClient = R"(
import hashlib, random, socket, sys, threading, time
port, send, expect, rate, pause = int(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3]), float(sys.argv[4]), float(sys.argv[5])
s = socket.socket()
if pause:
    s.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
s.connect(('127.0.0.1', port))
data = random.Random(7).randbytes(send)
def sender():
    start, sent, chunk = time.monotonic(), 0, 16384
    while sent < send:
        if rate:
            ahead = start + sent / rate - time.monotonic()
            if ahead > 0:
                time.sleep(ahead)
        s.sendall(data[sent:sent + chunk])
        sent += chunk
thread = threading.Thread(target=sender)
thread.start()
got, n = hashlib.sha256(), 0
while n < expect:
    block = s.recv(min(4096 if pause else 65536, expect - n))
    if not block:
        break
    got.update(block)
    n += len(block)
    if pause:
        time.sleep(pause)
thread.join()
print(hashlib.sha256(data).hexdigest(), n, got.hexdigest(), flush=True)
)";

QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(seed);
    for (char &c : bytes) {
        c = char(random.bounded(256));
    }
    return bytes;
}

QByteArray sha256(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

// A pty pair with a bridge end on side A and the far device on side B.
struct Line
{
    testsupport::PtyPair pty;
    std::unique_ptr<SerialBridgeEndpoint> end;
    QSerialPort device;
    QByteArray fromBridge;

    bool open(bool throttleable, QString *why)
    {
        if (!pty.start(why)) {
            return false;
        }
        end = std::make_unique<SerialBridgeEndpoint>(pty.portA(), throttleable);
        end->ensureOpen();
        device.setPortName(pty.portB());
        if (!end->isOpen() || !device.open(QIODevice::ReadWrite)) {
            *why = QStringLiteral("cannot open the pty pair");
            return false;
        }
        return true;
    }
    void collect()
    {
        QObject::connect(&device, &QSerialPort::readyRead, &device,
                         [this] { fromBridge += device.readAll(); });
    }
};

// A listener bridge on loopback in front of `line`.
struct Served
{
    TcpListenerEndpoint listener{0, QHostAddress::LocalHost};
    std::unique_ptr<BridgeLink> link;
    QStringList messages;

    void start(const BridgeConfig &config, SerialBridgeEndpoint *end)
    {
        listener.applyTuning(config.fanoutMode, config.allowedPeers);
        listener.ensureOpen();
        link = std::make_unique<BridgeLink>(config, end, &listener);
        QObject::connect(link.get(), &BridgeLink::message, link.get(),
                         [this](const QString &text) { messages << text; });
        link->start();
    }
    QStringList clientArgs(const char *script, qint64 send, qint64 expect, double rate = 0,
                           double pause = 0) const
    {
        return {QStringLiteral("-c"),
                QString::fromLatin1(script),
                QString::number(listener.serverPort()),
                QString::number(send),
                QString::number(expect),
                QString::number(rate),
                QString::number(pause)};
    }
};

BridgeConfig listenerConfig()
{
    BridgeConfig config;
    config.name = QStringLiteral("bench line");
    config.useBuiltinListener = true;
    config.portB = -1;
    config.fanoutMode = FanoutMode::Shared;
    return config;
}

} // namespace

class TestBridgePeers : public QObject
{
    Q_OBJECT
private slots:
    void listenerCarriesBothWays_data();
    void listenerCarriesBothWays();
    void cableLoopTripsFloodGuard();
};

void TestBridgePeers::listenerCarriesBothWays_data()
{
    QTest::addColumn<qint64>("toDevice"); // bytes a client sends at `rate`
    QTest::addColumn<double>("rate");     // 0: as fast as it goes
    QTest::addColumn<qint64>("toClient"); // bytes the device sends
    QTest::addColumn<double>("pause");    // the client's pause after each 4 KiB read
    QTest::addColumn<qint64>("queueLimit");
    QTest::newRow("both ways, captured")
        << qint64(1 << 20) << 0.0 << qint64(1 << 20) << 0.0 << qint64(262144);
    QTest::newRow("slow reader holds the device")
        << qint64(0) << 0.0 << qint64(6 << 20) << 0.001 << qint64(65536);
    QTest::newRow("10 MB/s kept up with")
        << qint64(70'000'000) << 10e6 << qint64(0) << 0.0 << qint64(262144);
}

void TestBridgePeers::listenerCarriesBothWays()
{
    QFETCH(qint64, toDevice);
    QFETCH(double, rate);
    QFETCH(qint64, toClient);
    QFETCH(double, pause);
    QFETCH(qint64, queueLimit);
    Line line;
    QString why;
    QVERIFY2(line.open(true, &why), qPrintable(why));
    line.collect();
    QTemporaryDir dir;
    BridgeConfig config = listenerConfig();
    config.flow.queueLimitBytes = queueLimit;
    config.flow.highWatermark = queueLimit * 3 / 4;
    config.flow.lowWatermark = queueLimit / 4;
    config.flow.sinkPendingLimitBytes = queueLimit / 4;
    config.logEnabled = toDevice + toClient <= (2 << 20);
    config.logFilePath = dir.filePath(QStringLiteral("capture.txt"));
    Served served;
    served.start(config, line.end.get());

    Peer client;
    client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    client.start(Python, served.clientArgs(RawClient, toDevice, toClient, rate, pause));
    QTRY_VERIFY_WITH_TIMEOUT(served.link->peers().size() == 1, 10000);
    const QByteArray out = randomBytes(toClient, 3);
    line.device.write(out);
    QTRY_COMPARE_WITH_TIMEOUT(qint64(line.fromBridge.size()), toDevice, 60000);
    QTRY_COMPARE_WITH_TIMEOUT(client.state(), QProcess::NotRunning, 60000);
    const QList<QByteArray> report = client.readAllStandardOutput().trimmed().split(' ');
    QCOMPARE(report.size(), 3);
    QCOMPARE(report.at(0), sha256(line.fromBridge));
    QCOMPARE(report.at(1).toLongLong(), toClient);
    QCOMPARE(report.at(2), sha256(out));

    const BridgeFlow &down = served.link->flowBtoA(); // listener to device
    const BridgeFlow &up = served.link->flowAtoB();   // device to listener
    QVERIFY2(!served.link->isSuspended(), qPrintable(served.link->suspendReason()));
    QCOMPARE(down.bytesDropped() + up.bytesDropped(), 0);
    QVERIFY(up.peakQueueBytes() <= queueLimit);
    if (pause > 0) {
        QVERIFY(line.end->throttleChanges() >= 2);
        QVERIFY(up.throttledMs(0) > 0);
    }
    if (config.logEnabled) {
        served.link->stop();
        QFile capture(config.logFilePath);
        QVERIFY(capture.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(capture.readAll());
        QVERIFY(text.startsWith(QStringLiteral("# Velmora ")));
        QVERIFY(text.contains(QStringLiteral("# Link:    bench line\n")));
        const QString peer = served.link->peers().value(0);
        QVERIFY(text.contains(QRegularExpression(
            QStringLiteral(R"(\n\d\d:\d\d:\d\d\.\d{3}  B->A  127\.0\.0\.1:\d+  [0-9A-F]{2} )"))));
        QVERIFY(text.contains(QRegularExpression(
            QStringLiteral(R"(\n\d\d:\d\d:\d\d\.\d{3}  A->B  -  [0-9A-F]{2} )"))));
    }
}

void TestBridgePeers::cableLoopTripsFloodGuard()
{
    // Two ports cabled to two others, bridged so that each feeds the other: what comes in
    // at b goes out at c, arrives at d, goes out at a and arrives at b again. The ports
    // have no flow control, so nothing holds the loop, and a device keeps talking into it.
    Line ab;
    Line cd;
    QString why;
    QVERIFY2(ab.open(false, &why), qPrintable(why));
    QVERIFY2(cd.open(false, &why), qPrintable(why));
    // The bridges' ends are b and d, where the devices sat.
    SerialBridgeEndpoint b(ab.pty.portB(), false);
    SerialBridgeEndpoint d(cd.pty.portB(), false);
    ab.device.close();
    cd.device.close();
    b.ensureOpen();
    d.ensureOpen();
    BridgeConfig config;
    config.direction = BridgeConfig::AtoB;
    BridgeLink first(config, &b, cd.end.get());
    BridgeLink second(config, &d, ab.end.get());
    first.start();
    second.start();
    QTimer talker;
    connect(&talker, &QTimer::timeout, this, [&] { ab.end->port().write(randomBytes(4096, 9)); });
    talker.start(5);
    const QString sentence = QStringLiteral("Flood guard tripped (possible cable loop)");
    QTRY_VERIFY_WITH_TIMEOUT(first.isSuspended() || second.isSuspended(), 30000);
    talker.stop();
    BridgeLink &tripped = first.isSuspended() ? first : second;
    QCOMPARE(tripped.suspendReason(), sentence);
    tripped.refreshState();
    QCOMPARE(tripped.stateDetail(), QStringLiteral("Suspended: %1").arg(sentence));
}

QTEST_GUILESS_MAIN(TestBridgePeers)
#include "tst_bridgepeers.moc"
