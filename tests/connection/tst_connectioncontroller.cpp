#include "connection/connectioncontroller.h"
#include "connection/multiclientserver.h"
#include "support/testsupport.h"

#include <QNetworkDatagram>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QUdpSocket>

namespace {
using testsupport::readExactly;
using testsupport::closedTcpPort;
constexpr int Timeout = 10000;

// The next datagram that reaches `socket`, or nothing after the time-out.
QByteArray receive(QUdpSocket &socket)
{
    QDeadlineTimer deadline(Timeout);
    while (!socket.hasPendingDatagrams() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return socket.hasPendingDatagrams() ? socket.receiveDatagram().data() : QByteArray();
}

Settings ptySettings(const QString &path)
{
    Settings settings;
    settings.name = path;
    settings.baudRate = 115200;
    return settings;
}

// The server's end of a TCP client the controller has connected to `server`.
QTcpSocket *connectClient(ConnectionController &controller, QTcpServer &server)
{
    QSignalSpy arrived(&controller, &ConnectionController::peerArrived);
    controller.connectTcpClient("127.0.0.1", server.serverPort());
    if (!arrived.wait(Timeout) ||
        !QTest::qWaitFor([&] { return server.hasPendingConnections(); }, Timeout)) {
        return nullptr;
    }
    return server.nextPendingConnection();
}

QStringList texts(const QSignalSpy &spy)
{
    QStringList list;
    for (const QList<QVariant> &args : spy) {
        list << args.at(0).toString();
    }
    return list;
}
} // namespace

class TestConnectionController : public QObject
{
    Q_OBJECT
private slots:
    void bytesWrittenBeforeConnectArriveInOrder();
    void bytesWrittenBeforeFailedConnectAreDropped();
    void closeAllRaisesDisconnectedOnce();
    void peerCloseRaisesDisconnected_data();
    void peerCloseRaisesDisconnected();
    void serverRowOutOfRangeMeansFirstClient();
    void udpPeersAreTrackedAndRepliedTo();
    void udpTargetByNameIsResolved_data();
    void udpTargetByNameIsResolved();
    void serialPtyOpensWithoutControlLineNoise();
    void serialOpenFailureIsReported();
    void breakOnClosedPort();
};

void TestConnectionController::bytesWrittenBeforeConnectArriveInOrder()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    ConnectionController controller;
    controller.connectTcpClient("127.0.0.1", server.serverPort());
    QVERIFY(controller.hasTcpClientSocket());
    QVERIFY(!controller.isOpen(ModeTcpClient));
    QVERIFY(controller.sendTcpClient("one,"));
    QVERIFY(controller.sendTcpClient("two,"));
    QCOMPARE(controller.pendingWriteBytes(ModeTcpClient), qint64(8));
    // A second connect during the attempt is ignored.
    controller.connectTcpClient("127.0.0.1", server.serverPort());

    QSignalSpy arrived(&controller, &ConnectionController::peerArrived);
    QTRY_VERIFY_WITH_TIMEOUT(server.hasPendingConnections(), Timeout);
    QTcpSocket *peer = server.nextPendingConnection();
    QVERIFY(arrived.count() == 1 || arrived.wait(Timeout));
    QCOMPARE(arrived.first().at(0).toString(), QString());
    QVERIFY(controller.isOpen(ModeTcpClient));
    QVERIFY(controller.sendTcpClient("three"));
    QCOMPARE(readExactly(peer, 13), QByteArray("one,two,three"));

    // And the way back.
    QSignalSpy ready(&controller, &ConnectionController::readyRead);
    peer->write("pong");
    QVERIFY(ready.wait(Timeout));
    QCOMPARE(controller.readAvailable(ModeTcpClient), QByteArray("pong"));
}

void TestConnectionController::bytesWrittenBeforeFailedConnectAreDropped()
{
    ConnectionController controller;
    QSignalSpy error(&controller, &ConnectionController::errorOccurred);
    QSignalSpy status(&controller, &ConnectionController::statusMessage);
    QSignalSpy disconnected(&controller, &ConnectionController::tcpClientDisconnected);
    controller.connectTcpClient("127.0.0.1", closedTcpPort());
    QVERIFY(controller.sendTcpClient("lost"));
    QVERIFY(error.wait(Timeout));
    QVERIFY(error.first().at(0).toString().startsWith("TCP connect FAILED: "));
    QVERIFY(texts(status).contains(error.first().at(0).toString()));
    QCOMPARE(controller.transportErrorName(), QString("ConnectionRefusedError"));
    QVERIFY(!controller.hasTcpClientSocket());
    QCOMPARE(controller.pendingWriteBytes(ModeTcpClient), qint64(0));
    QVERIFY(!controller.sendTcpClient("after"));
    QCOMPARE(disconnected.count(), 0);
}

void TestConnectionController::closeAllRaisesDisconnectedOnce()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    ConnectionController controller;
    QTcpSocket *peer = connectClient(controller, server);
    QVERIFY(peer);

    QSignalSpy disconnected(&controller, &ConnectionController::tcpClientDisconnected);
    controller.setReadThrottled(ModeTcpClient, true);
    controller.closeAll(ModeTcpClient, "x");
    QCOMPARE(disconnected.count(), 1);
    QVERIFY(!controller.hasTcpClientSocket());
    // Nothing holds the next connection back.
    QVERIFY(!controller.isReadThrottled());
    // The far end sees the close; the cut socket can tell nothing more.
    QVERIFY(peer->state() == QAbstractSocket::UnconnectedState ||
            peer->waitForDisconnected(Timeout));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    QCOMPARE(disconnected.count(), 1);
    // Closing again without a socket raises nothing.
    controller.closeAll(ModeTcpClient, "x");
    QCOMPARE(disconnected.count(), 1);
}

// The peer's last bytes arrive before the disconnect, also when a bridge had reading
// held back; the error behind the drop is kept.
void TestConnectionController::peerCloseRaisesDisconnected_data()
{
    QTest::addColumn<bool>("throttled");
    QTest::newRow("reading") << false;
    QTest::newRow("throttled") << true;
}

void TestConnectionController::peerCloseRaisesDisconnected()
{
    QFETCH(bool, throttled);
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    ConnectionController controller;
    QSignalSpy error(&controller, &ConnectionController::errorOccurred);
    QTcpSocket *peer = connectClient(controller, server);
    QVERIFY(peer);

    QByteArray got;
    connect(&controller, &ConnectionController::readyRead, this,
            [&] { got += controller.readAvailable(ModeTcpClient); });
    QSignalSpy disconnected(&controller, &ConnectionController::tcpClientDisconnected);
    controller.setReadThrottled(ModeTcpClient, throttled);
    peer->write("last words");
    peer->disconnectFromHost();
    QVERIFY(disconnected.wait(Timeout));
    QCOMPARE(disconnected.count(), 1);
    QCOMPARE(got, QByteArray("last words"));
    QCOMPARE(texts(error),
             QStringList({"TCP connection error: The remote host closed the connection"}));
    QCOMPARE(controller.transportErrorName(), QString("RemoteHostClosedError"));
    QVERIFY(!controller.hasTcpClientSocket());
}

void TestConnectionController::serverRowOutOfRangeMeansFirstClient()
{
    ConnectionController controller;
    QVERIFY(controller.listenTcpServer(0, QHostAddress::LocalHost));
    QVERIFY(!controller.sendTcpServer("nobody", 0));
    const quint16 port = controller.server()->serverPort();
    QSignalSpy arrived(&controller, &ConnectionController::peerArrived);

    QTcpSocket first, second;
    first.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY(arrived.wait(Timeout));
    second.connectToHost(QHostAddress::LocalHost, port);
    QTRY_COMPARE_WITH_TIMEOUT(arrived.count(), 2, Timeout);
    QCOMPARE(controller.tcpServerClientCount(), 2);

    QVERIFY(controller.sendTcpServer("to row 0", 99));
    QVERIFY(controller.sendTcpServer("also row 0", -1));
    QVERIFY(controller.sendTcpServer("row 1", 1));
    QCOMPARE(readExactly(&first, 18), QByteArray("to row 0also row 0"));
    QCOMPARE(readExactly(&second, 5), QByteArray("row 1"));

    // A client's bytes arrive under its key.
    QSignalSpy message(&controller, &ConnectionController::serverMessage);
    second.write("from second");
    QVERIFY(message.wait(Timeout));
    const QString key = message.first().at(0).toString();
    QCOMPARE(key, QStringLiteral("127.0.0.1:%1").arg(second.localPort()));
    QCOMPARE(controller.serverMessageFor(key), QByteArray("from second"));
    QCOMPARE(controller.tcpServerAddressString(), QStringLiteral("127.0.0.1:%1").arg(port));
}

void TestConnectionController::udpPeersAreTrackedAndRepliedTo()
{
    ConnectionController controller;
    QSignalSpy status(&controller, &ConnectionController::statusMessage);
    QVERIFY(controller.bindUdp(0));
    QVERIFY(controller.isOpen(ModeUdpServer));
    const quint16 port = controller.udpBoundPort();
    QVERIFY(!controller.sendUdpToPeer("x", 0));
    QVERIFY(texts(status).contains("No UDP peer to reply to yet"));

    QList<ConnectionController::UdpDatagram> datagrams;
    connect(&controller, &ConnectionController::udpReadyRead, this,
            [&] { datagrams += controller.readUdpDatagrams(); });
    QSignalSpy peersChanged(&controller, &ConnectionController::udpPeersChanged);

    QUdpSocket a, b;
    QVERIFY(a.bind(QHostAddress::LocalHost, 0));
    QVERIFY(b.bind(QHostAddress::LocalHost, 0));
    a.writeDatagram("a1", QHostAddress::LocalHost, port);
    QTRY_COMPARE_WITH_TIMEOUT(datagrams.size(), 1, Timeout);
    a.writeDatagram("a2", QHostAddress::LocalHost, port);
    QTRY_COMPARE_WITH_TIMEOUT(datagrams.size(), 2, Timeout);
    b.writeDatagram("b1", QHostAddress::LocalHost, port);
    QTRY_COMPARE_WITH_TIMEOUT(datagrams.size(), 3, Timeout);

    const QString keyA = QStringLiteral("127.0.0.1:%1").arg(a.localPort());
    const QString keyB = QStringLiteral("127.0.0.1:%1").arg(b.localPort());
    QCOMPARE(datagrams.at(0).peerKey, keyA);
    QCOMPARE(datagrams.at(1).bytes, QByteArray("a2"));
    QCOMPARE(datagrams.at(2).peerKey, keyB);
    QCOMPARE(peersChanged.count(), 2);
    QCOMPARE(controller.udpPeerKeyAt(0), keyA);
    QCOMPARE(controller.udpLastSenderKey(), keyB);
    QCOMPARE(controller.udpMessageFor(0), QByteArray("a2"));

    QVERIFY(controller.sendUdpToLastSender("to b"));
    QCOMPARE(receive(b), QByteArray("to b"));
    QVERIFY(controller.sendUdpToPeer("row 99 is row 0", 99));
    QCOMPARE(receive(a), QByteArray("row 99 is row 0"));
    QVERIFY(controller.sendUdpToPeerKey(keyB, "by key"));
    QCOMPARE(receive(b), QByteArray("by key"));
    QVERIFY(!controller.sendUdpToPeerKey("10.0.0.1:1", "unknown"));
    QCOMPARE(controller.broadcastUdp("all"), qint64(3));
    QCOMPARE(receive(a), QByteArray("all"));
    QCOMPARE(receive(b), QByteArray("all"));

    controller.closeAll(ModeUdpServer, "udp");
    QVERIFY(!controller.isOpen(ModeUdpServer));
    QVERIFY(controller.udpPeerList().isEmpty());
    QVERIFY(!controller.sendUdpToLastSender("gone"));
}

// A datagram to a host name waits for the name; it counts as written only when it is,
// so a failed lookup or a close before the answer counts nothing.
void TestConnectionController::udpTargetByNameIsResolved_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("ending");
    QTest::newRow("address") << "127.0.0.1" << "delivered";
    QTest::newRow("name") << "localhost" << "delivered";
    QTest::newRow("unresolvable") << "no-such-host.invalid" << "unresolved";
    QTest::newRow("closed before the answer") << "localhost" << "closed";
}

void TestConnectionController::udpTargetByNameIsResolved()
{
    QFETCH(QString, host);
    QFETCH(QString, ending);
    QUdpSocket target;
    QVERIFY(target.bind(QHostAddress::LocalHost, 0));
    ConnectionController controller;
    QVERIFY(controller.bindUdp(0));
    QSignalSpy error(&controller, &ConnectionController::errorOccurred);
    QSignalSpy written(&controller, &ConnectionController::queuedUdpWritten);
    const bool byName = host != "127.0.0.1";
    bool queued = false;
    QVERIFY(controller.sendUdp("first", host, target.localPort(), &queued));
    QCOMPARE(queued, byName);
    if (ending == "closed") {
        controller.closeAll(ModeUdpClient, "udp");
        QVERIFY(controller.bindUdp(0));
        QVERIFY(controller.sendUdp("after", host, target.localPort(), &queued));
        QVERIFY(written.wait(Timeout));
        QCOMPARE(receive(target), QByteArray("after"));
        QCOMPARE(written.count(), 1);
        QVERIFY(!target.hasPendingDatagrams());
        return;
    }
    QVERIFY(controller.sendUdp("second", host, target.localPort(), &queued));
    if (ending == "unresolved") {
        QVERIFY(error.wait(30000));
        QVERIFY(error.first().at(0).toString().startsWith("UDP host no-such-host.invalid"));
        QCOMPARE(written.count(), 0);
        return;
    }
    QCOMPARE(receive(target), QByteArray("first"));
    QCOMPARE(receive(target), QByteArray("second"));
    QCOMPARE(written.count(), byName ? 2 : 0);
}

void TestConnectionController::serialPtyOpensWithoutControlLineNoise()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    ConnectionController a, b;
    QSignalSpy statusA(&a, &ConnectionController::statusMessage);
    QSignalSpy errorA(&a, &ConnectionController::errorOccurred);
    QVERIFY(a.openSerial(ptySettings(pty.portA()), QString(), "A", false));
    QVERIFY(b.openSerial(ptySettings(pty.portB()), QString(), "B", true));
    QVERIFY(a.isOpen(ModeSerial));
    QCOMPARE(errorA.count(), 0);
    QCOMPARE(texts(statusA), QStringList({"Serial Port A OPEN SUCCESS"}));
    // Opening an open port again is a no-op success.
    QVERIFY(a.openSerial(ptySettings(pty.portA()), QString(), "A", false));

    QByteArray got;
    connect(&b, &ConnectionController::readyRead, this,
            [&] { got += b.readAvailable(ModeSerial); });
    QByteArray payload;
    for (int i = 0; i < 4096; ++i) {
        payload.append(char(i % 256));
    }
    QVERIFY(a.sendSerial(payload, ptySettings(pty.portA()), pty.portA()));
    QTRY_COMPARE_WITH_TIMEOUT(got.size(), payload.size(), Timeout);
    QCOMPARE(got, payload);

    statusA.clear();
    a.closeAll(ModeSerial, "A");
    QVERIFY(!a.isOpen(ModeSerial));
    QCOMPARE(texts(statusA), QStringList({"Serial Port A CLOSE SUCCESS"}));
    QCOMPARE(errorA.count(), 0);
}

void TestConnectionController::serialOpenFailureIsReported()
{
    ConnectionController controller;
    QSignalSpy error(&controller, &ConnectionController::errorOccurred);
    QSignalSpy status(&controller, &ConnectionController::statusMessage);
    Settings settings = ptySettings("/nonexistent/ttyNothing");
    QVERIFY(!controller.openSerial(settings, QString(), "/nonexistent/ttyNothing", false));
    QCOMPARE(error.count(), 1);
    QVERIFY(error.first().at(0).toString().startsWith(
        "Serial Port /nonexistent/ttyNothing OPEN FAILED! ERROR: "));
    QCOMPARE(controller.transportErrorName(), QString("DeviceNotFoundError"));
    QCOMPARE(status.first().at(1).toInt(), 5000);
    // Quiet opens (reconnect attempts) say nothing.
    QVERIFY(!controller.openSerial(settings, QString(), "x", true));
    QCOMPARE(error.count(), 1);
    // Sending on a port that cannot open fails without a crash.
    QVERIFY(!controller.sendSerial("x", settings, QString()));
}

void TestConnectionController::breakOnClosedPort()
{
    ConnectionController controller;
    QSignalSpy status(&controller, &ConnectionController::statusMessage);
    QVERIFY(!controller.setSerialLine(ConnectionController::LineBreak, true));
    QCOMPARE(texts(status), QStringList({"Open the serial port before sending Break"}));
    QVERIFY(controller.setSerialLine(ConnectionController::LineBreak, false));
    QCOMPARE(status.count(), 1);
    QVERIFY(!controller.breakIsActive());
    // Line wishes on a closed port are remembered, not refused.
    QVERIFY(controller.setSerialLine(ConnectionController::LineDtr, false));
    QVERIFY(!controller.serialLineRequested(ConnectionController::LineDtr));
    QString error;
    QVERIFY(!controller.applySerialParams(Settings(), &error));
    QCOMPARE(error, QString("the port is not open"));
}

QTEST_GUILESS_MAIN(TestConnectionController)
#include "tst_connectioncontroller.moc"
