// Bridges against real peers: socat ptys stand for serial ports, Python clients, pyserial,
// mbpoll and pymodbus talk to a listener bridge on loopback.

#include "bridge/bridgelink.h"
#include "bridge/tcplistenerendpoint.h"
#include "serialbridgeendpoint.h"
#include "support/testsupport.h"

#include "support/testdata.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QtTest>

using testdata::randomBytes;

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

// pyserial's RFC 2217 client: changes the baud rate, sends every byte value four times
// and prints what comes back in hexadecimal.
const char *PyserialClient = R"(
import serial, sys
s = serial.serial_for_url('rfc2217://127.0.0.1:%s' % sys.argv[1], baudrate=9600, timeout=10)
s.baudrate = 57600
s.write(bytes(range(256)) * 4)
sys.stdout.write(s.read(1024).hex())
)";

// A Modbus RTU server for unit 1 whose holding registers start 11, 22, 33, 44, 55; it
// ignores other units.
const char *PymodbusServer = R"(
import sys
from pymodbus.server import StartSerialServer
from pymodbus.datastore import ModbusSlaveContext, ModbusServerContext, ModbusSequentialDataBlock
from pymodbus.transaction import ModbusRtuFramer
block = ModbusSequentialDataBlock(0, [11, 22, 33, 44, 55] + [0] * 95)
context = ModbusServerContext(slaves={1: ModbusSlaveContext(hr=block, zero_mode=True)}, single=False)
StartSerialServer(context=context, framer=ModbusRtuFramer, port=sys.argv[1], baudrate=19200,
                  ignore_missing_slaves=True)
)";

bool pythonHas(const char *module)
{
    return QProcess::execute(Python, {QStringLiteral("-c"),
                                      QStringLiteral("import %1").arg(QLatin1String(module))}) == 0;
}

QString mbpoll()
{
    return QStandardPaths::findExecutable(QStringLiteral("mbpoll"));
}

// Runs mbpoll to its end while the event loop, and with it the bridge, keeps running;
// returns its exit code and what it printed.
int runMbpoll(const QStringList &args, QString *out)
{
    QProcess process;
    QSignalSpy done(&process, &QProcess::finished);
    process.start(mbpoll(), args);
    if (!done.wait(20000)) {
        process.kill();
        process.waitForFinished();
        return -1;
    }
    *out = QString::fromLocal8Bit(process.readAllStandardOutput());
    return process.exitCode();
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
    void rfc2217ClientSetsTheLine();
    void modbusGatewayReadsRegisters();
    void modbusGatewayCountsBadAnswers_data();
    void modbusGatewayCountsBadAnswers();
    void clientsTakeTurns();
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

void TestBridgePeers::rfc2217ClientSetsTheLine()
{
    if (!pythonHas("serial.rfc2217")) {
        QSKIP("pyserial is not installed (scripts/deps.sh test installs python3-serial)");
    }
    Line line;
    QString why;
    QVERIFY2(line.open(true, &why), qPrintable(why));
    line.collect();
    BridgeConfig config = listenerConfig();
    config.protocol = BridgeConfig::Rfc2217Server;
    Served served;
    served.start(config, line.end.get());
    Peer client;
    client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    client.start(Python, {QStringLiteral("-c"), QString::fromLatin1(PyserialClient),
                          QString::number(served.listener.serverPort())});
    QByteArray sent;
    for (int i = 0; i < 1024; ++i) {
        sent.append(char(i));
    }
    QTRY_COMPARE_WITH_TIMEOUT(line.fromBridge.size(), sent.size(), 20000);
    QCOMPARE(line.fromBridge, sent);
    QVERIFY(
        testsupport::sttySettings(line.pty.portA()).contains(QStringLiteral("speed 57600 baud")));
    QCOMPARE(served.link->rfc2217NegotiatedPeers(), 1);
    QVERIFY2(served.messages.filter(QStringLiteral("the remote client set 57600 baud")).size() == 1,
             qPrintable(served.messages.join(QLatin1Char('\n'))));
    std::reverse(sent.begin(), sent.end());
    line.device.write(sent);
    QTRY_COMPARE_WITH_TIMEOUT(client.state(), QProcess::NotRunning, 20000);
    QCOMPARE(client.exitCode(), 0);
    QCOMPARE(QByteArray::fromHex(client.readAllStandardOutput()), sent);
}

void TestBridgePeers::modbusGatewayReadsRegisters()
{
    if (mbpoll().isEmpty() || !pythonHas("pymodbus.server")) {
        QSKIP("mbpoll or pymodbus is missing (scripts/deps.sh test installs them)");
    }
    Line line;
    QString why;
    QVERIFY2(line.open(true, &why), qPrintable(why));
    line.device.close(); // the Modbus server owns the far end
    Peer server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start(Python,
                 {QStringLiteral("-c"), QString::fromLatin1(PymodbusServer), line.pty.portB()});
    BridgeConfig config = listenerConfig();
    config.protocol = BridgeConfig::ModbusGateway;
    config.framing.mode = FramingPolicy::IdleGap;
    config.framing.idleGapMs = 20;
    config.modbusTransactionTimeoutMs = 500;
    Served served;
    served.start(config, line.end.get());
    const QString port = QString::number(served.listener.serverPort());
    // The server may still be starting: poll until it answers.
    QString out;
    QTRY_VERIFY_WITH_TIMEOUT(runMbpoll({"-m", "tcp", "-a", "1", "-r", "1", "-c", "5", "-1", "-o",
                                        "2", "-p", port, "127.0.0.1"},
                                       &out) == 0,
                             30000);
    for (const char *row : {"[1]: \t11", "[2]: \t22", "[3]: \t33", "[4]: \t44", "[5]: \t55"}) {
        QVERIFY2(out.contains(QLatin1String(row)), qPrintable(out));
    }
    const int timedOut = served.link->modbusTimedOutTransactions();
    // Unit 7 is nobody: its request is given up once, after the transaction time-out.
    QVERIFY(runMbpoll({"-m", "tcp", "-a", "7", "-r", "1", "-1", "-o", "1", "-p", port, "127.0.0.1"},
                      &out) > 0);
    QTRY_COMPARE(served.link->modbusTimedOutTransactions(), timedOut + 1);
    QCOMPARE(served.link->modbusCrcErrors(), 0);
}

void TestBridgePeers::modbusGatewayCountsBadAnswers_data()
{
    QTest::addColumn<bool>("badCrc"); // else the answer names a unit nobody asked
    QTest::newRow("bad CRC") << true;
    QTest::newRow("unknown unit") << false;
}

void TestBridgePeers::modbusGatewayCountsBadAnswers()
{
    if (mbpoll().isEmpty()) {
        QSKIP("mbpoll is missing (scripts/deps.sh test installs it)");
    }
    QFETCH(bool, badCrc);
    Line line;
    QString why;
    QVERIFY2(line.open(true, &why), qPrintable(why));
    // The device answers a read of two registers, spoilt as the row says.
    QObject::connect(&line.device, &QSerialPort::readyRead, &line.device, [&] {
        const QByteArray request = line.device.readAll();
        QByteArray answer = QByteArray::fromHex("0103040001000200");
        answer[0] = char(badCrc ? request.at(0) : request.at(0) + 8);
        answer = ModbusGateway::appendCrc(answer.first(7));
        if (badCrc) {
            answer[answer.size() - 1] = char(answer.back() ^ 0x5A);
        }
        line.device.write(answer);
    });
    BridgeConfig config = listenerConfig();
    config.protocol = BridgeConfig::ModbusGateway;
    config.framing.mode = FramingPolicy::IdleGap;
    config.framing.idleGapMs = 20;
    Served served;
    served.start(config, line.end.get());
    QString out;
    // Nothing comes back that mbpoll could take.
    QVERIFY(runMbpoll({"-m", "tcp", "-a", "1", "-r", "1", "-c", "2", "-1", "-o", "1", "-p",
                       QString::number(served.listener.serverPort()), "127.0.0.1"},
                      &out) > 0);
    QTRY_COMPARE(served.link->modbusCrcErrors(), badCrc ? 1 : 0);
    QCOMPARE(served.link->modbusUnmatchedResponses(), badCrc ? 0 : 1);
}

void TestBridgePeers::clientsTakeTurns()
{
    Line line;
    QString why;
    QVERIFY2(line.open(true, &why), qPrintable(why));
    // A request/response device: it answers each line it reads, unless silenced, and
    // notes how many requests ever came together.
    bool silent = false;
    int mostAtOnce = 0;
    QByteArray pending;
    QObject::connect(&line.device, &QSerialPort::readyRead, &line.device, [&] {
        const QByteArray bytes = line.device.readAll();
        line.fromBridge += bytes;
        if (silent) {
            return;
        }
        pending += bytes;
        mostAtOnce = std::max(mostAtOnce, int(pending.count('\n')));
        while (pending.contains('\n')) {
            const qsizetype end = pending.indexOf('\n') + 1;
            line.device.write("ACK " + pending.first(end));
            pending.remove(0, end);
        }
    });
    BridgeConfig config = listenerConfig();
    config.fanoutMode = FanoutMode::TakeTurns;
    config.framing.mode = FramingPolicy::Delimiter;
    config.framing.delimiter = "\n";
    config.arbiterResponseTimeoutMs = 400;
    Served served;
    served.start(config, line.end.get());
    QTcpSocket one;
    QTcpSocket two;
    for (QTcpSocket *client : {&one, &two}) {
        client->connectToHost(QHostAddress::LocalHost, served.listener.serverPort());
        QVERIFY(client->waitForConnected(5000));
    }
    QTRY_COMPARE(served.link->peers().size(), 2);
    QByteArray wantOne;
    QByteArray wantTwo;
    for (int i = 0; i < 5; ++i) {
        one.write(QByteArray("one ") + QByteArray::number(i) + '\n');
        two.write(QByteArray("two ") + QByteArray::number(i) + '\n');
        wantOne += QByteArray("ACK one ") + QByteArray::number(i) + '\n';
        wantTwo += QByteArray("ACK two ") + QByteArray::number(i) + '\n';
    }
    QCOMPARE(testsupport::readExactly(&one, wantOne.size()), wantOne);
    QCOMPARE(testsupport::readExactly(&two, wantTwo.size()), wantTwo);
    QCOMPARE(mostAtOnce, 1);
    QCOMPARE(served.link->arbiterTimedOutRequests(), 0);

    // A request the device never answers costs its turn one time-out, counted once; then
    // the device is free for the next client.
    silent = true;
    one.write("lost\n");
    QTRY_VERIFY(line.fromBridge.endsWith("lost\n"));
    QTRY_COMPARE(served.link->arbiterTimedOutRequests(), 1);
    silent = false;
    two.write("next\n");
    QCOMPARE(testsupport::readExactly(&two, 9), QByteArray("ACK next\n"));
    QCOMPARE(served.link->arbiterTimedOutRequests(), 1);
    QCOMPARE(served.link->arbiterDroppedRequests(), 0);
}

QTEST_GUILESS_MAIN(TestBridgePeers)
#include "tst_bridgepeers.moc"
