// The remote serial sessions against real peers: ser2net and pyserial's example server
// in front of a pty, pyserial's client in front of our server, and peers that do not
// speak the com-port option. The drivers below do what the port session does: move the
// bytes, run the one timer the session asks for, push settings on acceptance.

#include "bridge/rfc2217clientsession.h"
#include "bridge/rfc2217serversession.h"
#include "connection/settings.h"
#include "support/testsupport.h"

#include "support/testdata.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSerialPort>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

using testdata::randomBytes;

namespace {

const QString Python = QStringLiteral("/usr/bin/python3");

class ClientDriver : public QObject
{
public:
    Rfc2217ClientSession session;
    QTcpSocket socket;
    Settings settings;
    QByteArray received;
    QStringList messages;

    ClientDriver()
    {
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
        clock.start();
        connect(&socket, &QTcpSocket::connected, this, [this] {
            socket.write(session.begin(clock.elapsed()));
            arm();
        });
        connect(&socket, &QTcpSocket::readyRead, this,
                [this] { handle(session.receive(socket.readAll(), clock.elapsed())); });
        connect(&timer, &QTimer::timeout, this, [this] { handle(session.tick(clock.elapsed())); });
    }
    void open(quint16 port) { socket.connectToHost(QHostAddress::LocalHost, port); }
    void send(const QByteArray &bytes) { socket.write(session.encodePayload(bytes)); }
    void push() { socket.write(session.settingsUpdate(settings, clock.elapsed())); }

private:
    void handle(const Rfc2217ClientSession::Outcome &out)
    {
        socket.write(out.reply);
        received += out.data;
        if (!out.message.isEmpty()) {
            messages << out.message;
        }
        if (out.stateChanged && session.state() == Rfc2217ClientSession::ComPort) {
            push();
        }
        arm();
    }
    void arm()
    {
        const qint64 next = session.nextTimeoutMs(clock.elapsed());
        next < 0 ? timer.stop() : timer.start(int(next));
    }
    QTimer timer;
    QElapsedTimer clock;
};

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

bool waitListening(quint16 port)
{
    const QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired()) {
        QTcpSocket probe;
        probe.connectToHost(QHostAddress::LocalHost, port);
        if (probe.waitForConnected(200)) {
            return true;
        }
        QTest::qWait(100);
    }
    return false;
}

bool havePyserial()
{
    return QProcess::execute(Python, {"-c", "import serial.rfc2217"}) == 0;
}

// A pty has no modem lines: pyserial's server fails setting or reading them, so its
// wrapper sets nothing and reads them all low.
const char *PyserialServer = R"(
import runpy, sys
import serial.serialposix as sp
for name in ('_update_dtr_state', '_update_rts_state'):
    setattr(sp.Serial, name, lambda self: None)
for name in ('cts', 'dsr', 'ri', 'cd'):
    setattr(sp.Serial, name, property(lambda self: False))
sys.argv = ['rfc2217_server.py', '-p', sys.argv[1], sys.argv[2]]
runpy.run_path('/usr/share/doc/python3-serial/examples/rfc2217_server.py', run_name='__main__')
)";

// A Telnet server that offers echo, refuses every option it is asked for, and echoes data.
const char *TelnetServer = R"(
import socket, sys
srv = socket.create_server(('127.0.0.1', int(sys.argv[1])))
def serve(conn, state=0):
    conn.sendall(b'\xff\xfb\x01')
    while chunk := conn.recv(4096):
        out = bytearray()
        for b in chunk:
            if state == 255:
                state = b if 251 <= b <= 254 else 0
                out += b'\xff\xff' if b == 255 else b''
            elif state:
                out += bytes([255, 254 if state == 251 else 252, b]) if state in (251, 253) else b''
                state = 0
            elif b == 255: state = 255
            else: out.append(b)
        conn.sendall(out)
# The readiness probe connects and drops at once; a reset from it must not end the server.
while True:
    conn = srv.accept()[0]
    try: serve(conn)
    except OSError: pass
    conn.close()
)";

} // namespace

class TestRfc2217Peers : public QObject
{
    Q_OBJECT
private slots:
    void clientAgainstServers_data();
    void clientAgainstServers();
    void serverAgainstPyserial();
    void fallbacks_data();
    void fallbacks();
};

void TestRfc2217Peers::clientAgainstServers_data()
{
    QTest::addColumn<bool>("ser2net");
    QTest::addColumn<QString>("summary"); // what the remote reports of its port at first
    QTest::newRow("ser2net") << true << "9600 8N1, ser2net";
    QTest::newRow("pyserial's example server") << false << "9600 8N1";
}

void TestRfc2217Peers::clientAgainstServers()
{
    QFETCH(bool, ser2net);
    if (ser2net && !testsupport::Ser2net::available()) {
        QSKIP("ser2net is not installed (scripts/deps.sh test installs it)");
    }
    if (!ser2net && !havePyserial()) {
        QSKIP("pyserial is not installed (scripts/deps.sh test installs python3-serial)");
    }
    testsupport::PtyPair line;
    QString why;
    QVERIFY2(line.start(&why), qPrintable(why));
    testsupport::Ser2net ser2netServer;
    Peer server;
    quint16 port = 0;
    if (ser2net) {
        QVERIFY2(ser2netServer.start(line.portA(), &why), qPrintable(why));
        port = ser2netServer.port();
    } else {
        port = testsupport::closedTcpPort();
        server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        server.start(Python, {"-c", PyserialServer, QString::number(port), line.portA()});
    }
    QVERIFY(waitListening(port));

    ClientDriver client;
    client.open(port);
    // Acceptance comes before the negotiation deadline could make the session fall back.
    QTRY_VERIFY(client.session.state() != Rfc2217ClientSession::Negotiating);
    QCOMPARE(client.session.state(), Rfc2217ClientSession::ComPort);
    QFETCH(QString, summary);
    QTRY_COMPARE(client.session.remoteSummary(), summary);

    client.settings.useRemoteSerialConfig = false;
    client.settings.baudRate = 115200;
    client.push();
    QTRY_VERIFY_WITH_TIMEOUT(testsupport::sttySettings(line.portA()).contains("speed 115200 baud"),
                             10000);
    const QString stty = testsupport::sttySettings(line.portA());
    QVERIFY2(stty.contains(" cs8") && stty.contains("-parenb") && stty.contains("-cstopb"),
             qPrintable(stty));
    QTRY_VERIFY(client.session.remoteSummary().startsWith("115200 8N1"));

    QSerialPort device(line.portB());
    QVERIFY(device.open(QIODevice::ReadWrite));
    const QByteArray out = randomBytes(64 * 1024, 1);
    QVERIFY(out.count(char(0xFF)) > 100);
    client.send(out);
    QByteArray atDevice;
    QTRY_VERIFY_WITH_TIMEOUT((atDevice += device.readAll()).size() >= out.size(), 20000);
    QCOMPARE(atDevice, out);
    const QByteArray back = randomBytes(64 * 1024, 2);
    device.write(back);
    QTRY_VERIFY_WITH_TIMEOUT(client.received.size() >= back.size(), 20000);
    QCOMPARE(client.received, back);
}

void TestRfc2217Peers::serverAgainstPyserial()
{
    if (!havePyserial()) {
        QSKIP("pyserial is not installed (scripts/deps.sh test installs python3-serial)");
    }
    // Our server session behind a listener, as the bridge will hold it.
    Rfc2217ServerSession session;
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    QTcpSocket *peer = nullptr;
    Settings settings;
    QByteArray received;
    QList<Rfc2217ServerSession::ControlAction> controls;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        peer = server.nextPendingConnection();
        peer->write(session.greeting());
        connect(peer, &QTcpSocket::readyRead, peer, [&] {
            const auto out = session.receive(peer->readAll(), settings);
            peer->write(out.reply);
            patchSerialParams(out.serialConfig, settings);
            controls += out.controls;
            received += out.data;
        });
    });
    // The client raises when an answer to a change does not come within its 3 s limit.
    const char *script = R"(
import serial, sys
s = serial.serial_for_url('rfc2217://127.0.0.1:%1', baudrate=9600, timeout=10)
s.baudrate = 38400
s.dtr = False
s.rts = True
s.write(bytes(range(256)) * 4)
sys.stdout.write(s.read(1024).hex())
)";
    Peer client;
    client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    client.start(Python, {"-c", QString::fromLatin1(script).arg(server.serverPort())});
    QByteArray out;
    for (int i = 0; i < 1024; ++i) {
        out.append(char(i));
    }
    QTRY_VERIFY_WITH_TIMEOUT(received.size() >= out.size(), 20000);
    QCOMPARE(received, out);
    QCOMPARE(settings.baudRate, 38400);
    QVERIFY(controls.contains({Rfc2217ServerSession::Dtr, false}));
    QVERIFY(controls.contains({Rfc2217ServerSession::Rts, true}));
    std::reverse(out.begin(), out.end());
    peer->write(Rfc2217Codec::encodePayload(out));
    QTRY_COMPARE_WITH_TIMEOUT(client.state(), QProcess::NotRunning, 20000);
    QCOMPARE(client.exitCode(), 0);
    QCOMPARE(QByteArray::fromHex(client.readAllStandardOutput()), out);
}

void TestRfc2217Peers::fallbacks_data()
{
    QTest::addColumn<bool>("telnet");
    QTest::addColumn<int>("state");
    QTest::newRow("a raw echo server") << false << int(Rfc2217ClientSession::Transparent);
    QTest::newRow("Telnet without the com-port option")
        << true << int(Rfc2217ClientSession::PlainTelnet);
}

void TestRfc2217Peers::fallbacks()
{
    QFETCH(bool, telnet);
    QTcpServer echo;
    Peer telnetServer;
    quint16 port = 0;
    if (telnet) {
        port = testsupport::closedTcpPort();
        telnetServer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        telnetServer.start(Python, {"-c", TelnetServer, QString::number(port)});
        QVERIFY(waitListening(port));
    } else {
        QVERIFY(echo.listen(QHostAddress::LocalHost, 0));
        port = echo.serverPort();
        connect(&echo, &QTcpServer::newConnection, this, [&echo] {
            QTcpSocket *peer = echo.nextPendingConnection();
            connect(peer, &QTcpSocket::readyRead, peer, [peer] { peer->write(peer->readAll()); });
        });
    }
    ClientDriver client;
    client.open(port);
    QTRY_VERIFY_WITH_TIMEOUT(client.session.state() != Rfc2217ClientSession::Negotiating, 10000);
    QTEST(int(client.session.state()), "state");
    QCOMPARE(client.messages.size(), 1);
    QVERIFY(client.received.isEmpty());
    const QByteArray data = randomBytes(4096, 3) + QByteArray(16, char(0xFF));
    client.send(data);
    QTRY_VERIFY_WITH_TIMEOUT(client.received.size() >= data.size(), 10000);
    QCOMPARE(client.received, data);
}

QTEST_GUILESS_MAIN(TestRfc2217Peers)
#include "tst_rfc2217peers.moc"
