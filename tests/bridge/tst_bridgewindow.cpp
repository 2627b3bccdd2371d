// Bridges in the window: a port on a socat pty served on a TCP listener, kept in the
// project, coming back disabled and forwarding once the user turns it on.

#include "app/mainwindow.h"
#include "bridge/bridgedialog.h"
#include "bridge/bridgeflow.h"
#include "bridge/bridgelink.h"
#include "bridge/bridgemanager.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

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

QTEST_MAIN(TestBridgeWindow)
#include "tst_bridgewindow.moc"
