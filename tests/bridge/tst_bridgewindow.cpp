// Bridges in the window: a port on a socat pty served on a TCP listener, kept in the
// project, coming back disabled and forwarding once the user turns it on.

#include "app/mainwindow.h"
#include "bridge/bridgedialog.h"
#include "bridge/bridgeflow.h"
#include "bridge/bridgelink.h"
#include "bridge/bridgemanager.h"
#include "bridge/rfc2217quicksharedialog.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

#include <QProcess>
#include <QSerialPort>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// A loopback port nothing listens on now, for the bridge's listener.
quint16 freeTcpPort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost) ? probe.serverPort() : 0;
}

QByteArray readSerialExactly(QSerialPort *port, qsizetype size)
{
    QByteArray bytes;
    QDeadlineTimer deadline(15000);
    while (bytes.size() < size && !deadline.hasExpired()) {
        if (port->bytesAvailable() > 0 || port->waitForReadyRead(50)) {
            bytes += port->readAll();
        }
        QCoreApplication::processEvents();
    }
    return bytes;
}

} // namespace

class TestBridgeWindow : public QObject
{
    Q_OBJECT
private slots:
    void savedListenerBridgeReturnsDisabledAndForwardsWhenEnabled();
    void quickShareServesAPyserialRfc2217Client();
};

void TestBridgeWindow::savedListenerBridgeReturnsDisabledAndForwardsWhenEnabled()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bridged.vlm"));
    const quint16 tcpPort = freeTcpPort();
    QVERIFY(tcpPort != 0);
    {
        MainWindow window;
        window.setPortCount(2);
        Settings settings = window.portWidget(1)->settings();
        settings.connMode = ModeSerial;
        settings.name = pty.portA();
        window.portWidget(1)->applySettings(settings);
        window.openBridgeDialog()->close();
        BridgeConfig config;
        config.name = QStringLiteral("share");
        config.portA = 1;
        config.portB = -1;
        config.useBuiltinListener = true;
        config.listenPort = tcpPort;
        QString error;
        QVERIFY2(window.bridges()->addLink(config, &error), qPrintable(error));
        QTRY_VERIFY_WITH_TIMEOUT(window.portWidget(1)->portIsOpen(), 10000);
        QVERIFY(window.saveFile(path, false));
    }

    MainWindow window;
    QVERIFY(window.loadFile(path));
    BridgeManager *bridges = window.bridges();
    QCOMPARE(bridges->configs().size(), 1);
    BridgeConfig config = bridges->configs().first();
    QCOMPARE(config.name, QStringLiteral("share"));
    QCOMPARE(config.listenPort, tcpPort);
    QVERIFY(!config.enabled);
    QTcpSocket refused;
    refused.connectToHost(QHostAddress::LocalHost, tcpPort);
    QVERIFY(!refused.waitForConnected(3000));

    config.enabled = true;
    QString error;
    QVERIFY2(bridges->updateLink(0, config, &error), qPrintable(error));
    // Turning the bridge on opens its port.
    QTRY_VERIFY_WITH_TIMEOUT(window.portWidget(1)->portIsOpen(), 10000);

    QSerialPort device(pty.portB());
    QVERIFY2(device.open(QIODevice::ReadWrite), qPrintable(device.errorString()));
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, tcpPort);
    QVERIFY(client.waitForConnected(10000));
    BridgeLink *link = bridges->linkAt(0);
    QVERIFY(link);
    QTRY_COMPARE_WITH_TIMEOUT(link->peers().size(), 1, 10000);

    // Every byte value both ways, different each way so that an echo would show.
    QByteArray up;
    QByteArray down;
    for (int i = 0; i < 4096; ++i) {
        up += char(i);
        down += char((i * 7 + 3) & 0xFF);
    }
    client.write(up);
    QCOMPARE(readSerialExactly(&device, up.size()), up);
    device.write(down);
    QCOMPARE(testsupport::readExactly(&client, down.size(), 15000), down);
    // The counters agree with the wire.
    QTRY_COMPARE_WITH_TIMEOUT(link->flowAtoB().bytesForwarded(), qint64(down.size()), 5000);
    QCOMPARE(link->flowBtoA().bytesForwarded(), qint64(up.size()));
    QCOMPARE(link->flowAtoB().bytesDropped() + link->flowBtoA().bytesDropped(), qint64(0));
    client.close();
    device.close();
}

// Tools > RFC 2217 Server on a port of the window: pyserial's RFC 2217 client sets the
// line speed of the pty behind it and every byte value passes both ways.
void TestBridgeWindow::quickShareServesAPyserialRfc2217Client()
{
    const QString python = QStringLiteral("/usr/bin/python3");
    if (QProcess::execute(python, {QStringLiteral("-c"), QStringLiteral("import serial.rfc2217")})) {
        QSKIP("Debian's python3-serial is needed for the RFC 2217 client");
    }
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    const quint16 tcpPort = freeTcpPort();
    MainWindow window;
    Settings settings = window.portWidget(0)->settings();
    settings.connMode = ModeSerial;
    settings.name = pty.portA();
    settings.baudRate = 9600;
    window.portWidget(0)->applySettings(settings);
    window.quickShareHook = [tcpPort](Rfc2217QuickShareDialog &dialog) {
        dialog.setTcpPort(tcpPort);
        return true;
    };
    window.openQuickShare(0);
    QTRY_VERIFY_WITH_TIMEOUT(window.portWidget(0)->portIsOpen(), 10000);

    QSerialPort device(pty.portB());
    QVERIFY2(device.open(QIODevice::ReadWrite), qPrintable(device.errorString()));
    QProcess client;
    client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    client.start(python, {QStringLiteral("-c"), QStringLiteral(R"(
import serial, sys
s = serial.serial_for_url('rfc2217://127.0.0.1:%1', baudrate=38400, timeout=15)
s.write(bytes(range(256)) * 4)
sys.stdout.write(s.read(1024).hex())
)").arg(tcpPort)});
    QByteArray up;
    for (int i = 0; i < 1024; ++i) {
        up += char(i);
    }
    QCOMPARE(readSerialExactly(&device, up.size()), up);
    QTRY_VERIFY_WITH_TIMEOUT(
        testsupport::sttySettings(pty.portA()).contains(QLatin1String("speed 38400 baud")), 5000);
    QCOMPARE(window.portWidget(0)->settings().baudRate, 38400);
    QByteArray down = up;
    std::reverse(down.begin(), down.end());
    device.write(down);
    QTRY_COMPARE_WITH_TIMEOUT(client.state(), QProcess::NotRunning, 20000);
    QCOMPARE(client.exitCode(), 0);
    QCOMPARE(QByteArray::fromHex(client.readAllStandardOutput()), down);
}

QTEST_MAIN(TestBridgeWindow)
#include "tst_bridgewindow.moc"
