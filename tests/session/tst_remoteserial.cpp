// A Remote Serial port panel as a user drives it: a socat pty behind ser2net's RFC 2217
// port, and a plain TCP echo server that never speaks Telnet.

#include "bridge/rfc2217clientsession.h"
#include "connection/connectionsettingswidget.h"
#include "session/portsession.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

#include "support/testdata.h"

#include <QComboBox>
#include <QRandomGenerator>
#include <QSerialPort>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

using testdata::randomBytes;

namespace {

Settings remoteSettings(quint16 port, bool keepRemote)
{
    Settings settings;
    settings.connMode = ModeRemoteSerial;
    settings.targetHost = QStringLiteral("127.0.0.1");
    settings.targetPort = port;
    settings.useRemoteSerialConfig = keepRemote;
    settings.baudRate = 115200;
    return settings;
}

} // namespace

class TestRemoteSerial : public QObject
{
    Q_OBJECT
private slots:
    void throughSer2net_data();
    void throughSer2net();
    void rawPeerFallsBackAndKeepsData();
};

void TestRemoteSerial::throughSer2net_data()
{
    QTest::addColumn<bool>("keepRemote");
    QTest::newRow("line set from here") << false;
    QTest::newRow("remote keeps its own config") << true;
}

void TestRemoteSerial::throughSer2net()
{
    QFETCH(bool, keepRemote);
    testsupport::PtyPair line;
    testsupport::Ser2net server;
    QString why;
    if (!line.start(&why) || !server.start(line.portA(), &why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    PortSession *session = panel.session();
    QStringList messages;
    connect(&panel, &SerialPortWidget::statusShown, this,
            [&messages](const QString &text, int) { messages << text; });
    QByteArray tapped;
    connect(session, &PortSession::rxTapped, this,
            [&tapped](const QByteArray &bytes, const QString &) { tapped += bytes; });
    panel.applySettings(remoteSettings(server.port(), keepRemote));
    QVERIFY(panel.start(QString()));
    QTRY_COMPARE(int(session->rfc2217Session().state()), int(Rfc2217ClientSession::ComPort));
    QVERIFY(messages.contains("The remote port accepted serial parameter control."));

    if (keepRemote) {
        // Nothing is pushed: the remote's own settings are read and shown.
        QTRY_COMPARE(session->remoteSummary(), QStringLiteral("9600 8N1, ser2net"));
        QVERIFY(testsupport::sttySettings(line.portA()).contains("speed 9600 baud"));
        panel.pressBreak();
        QVERIFY(messages.last().startsWith("The remote port is left under its own configuration."));
        return;
    }
    QTRY_VERIFY_WITH_TIMEOUT(testsupport::sttySettings(line.portA()).contains("speed 115200 baud"),
                             10000);
    // A rate chosen in the pane while the port is open goes to the remote at once.
    auto *baud = panel.findChild<QComboBox *>(QStringLiteral("baudCombo"));
    QVERIFY(baud);
    baud->setCurrentIndex(baud->findData(57600));
    QTRY_VERIFY_WITH_TIMEOUT(testsupport::sttySettings(line.portA()).contains("speed 57600 baud"),
                             10000);
    QTRY_VERIFY(session->remoteSummary().startsWith("57600 8N1"));

    panel.pressBreak();
    QCOMPARE(messages.last(), QStringLiteral("Sent Break to the remote port; it is released when "
                                             "you let go."));
    panel.requestBreakRelease();

    // 0xFF passes unchanged both ways, on the user's road and on the runners' road; the
    // counters count the bytes as given, not as escaped on the wire.
    QSerialPort device(line.portB());
    QVERIFY(device.open(QIODevice::ReadWrite));
    const QByteArray out = randomBytes(32 * 1024, 1) + QByteArray(64, char(0xFF));
    QVERIFY(session->sendMessage(out.left(out.size() / 2)));
    QVERIFY(session->writeRaw(out.mid(out.size() / 2), true, PortSession::UdpTargetMode::Default,
                              QString()));
    QByteArray atDevice;
    QTRY_VERIFY_WITH_TIMEOUT((atDevice += device.readAll()).size() >= out.size(), 20000);
    QCOMPARE(atDevice, out);
    QCOMPARE(session->txByteCount(), out.size());
    const QByteArray back = randomBytes(32 * 1024, 2) + QByteArray(64, char(0xFF));
    device.write(back);
    QTRY_VERIFY_WITH_TIMEOUT(tapped.size() >= back.size(), 20000);
    QCOMPARE(tapped, back);

    // Closing forgets the remote: nothing is reported any more.
    panel.stop();
    QVERIFY(session->remoteSummary().isEmpty());
}

void TestRemoteSerial::rawPeerFallsBackAndKeepsData()
{
    QTcpServer echo;
    QVERIFY(echo.listen(QHostAddress::LocalHost, 0));
    connect(&echo, &QTcpServer::newConnection, this, [&echo] {
        QTcpSocket *peer = echo.nextPendingConnection();
        connect(peer, &QTcpSocket::readyRead, peer, [peer] { peer->write(peer->readAll()); });
    });
    SerialPortWidget panel;
    PortSession *session = panel.session();
    QStringList messages;
    connect(&panel, &SerialPortWidget::statusShown, this,
            [&messages](const QString &text, int) { messages << text; });
    QByteArray tapped;
    connect(session, &PortSession::rxTapped, this,
            [&tapped](const QByteArray &bytes, const QString &) { tapped += bytes; });
    panel.applySettings(remoteSettings(echo.serverPort(), false));
    QVERIFY(panel.start(QString()));
    // The echoed greeting is not taken for acceptance; the timer ends the negotiation.
    QTRY_COMPARE_WITH_TIMEOUT(int(session->rfc2217Session().state()),
                              int(Rfc2217ClientSession::Transparent), 10000);
    QVERIFY(messages.last().startsWith("The remote is not an RFC 2217 server"));
    QVERIFY(tapped.isEmpty());

    panel.pressBreak();
    QCOMPARE(messages.last(), QStringLiteral("The remote peer did not accept RFC 2217 com-port "
                                             "control, so Break cannot be sent."));
    const QByteArray data = QByteArray(16, char(0xFF)) + randomBytes(4096, 3);
    QVERIFY(session->sendMessage(data));
    QTRY_VERIFY_WITH_TIMEOUT(tapped.size() >= data.size(), 10000);
    QCOMPARE(tapped, data);
}

QTEST_MAIN(TestRemoteSerial)
#include "tst_remoteserial.moc"
