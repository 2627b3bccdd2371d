// The bridges of a project: which configurations are taken, and how links follow the
// ports and the rows.

#include "bridge/bridgeeditdialog.h"
#include "bridge/bridgeendpoint.h"
#include "bridge/bridgelink.h"
#include "bridge/bridgemanager.h"
#include "bridge/bridgeporthooks.h"
#include "bridge/portendpoint.h"
#include "support/testsupport.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QtTest>

namespace {

// A port that is always open and takes every write.
class FakePort : public BridgeEndpoint
{
public:
    explicit FakePort(int index)
        : name(QStringLiteral("Port %1").arg(index + 1))
    {}
    QString displayName() const override { return name; }
    qint64 writeTransport(const QByteArray &bytes, bool, const QString &) override
    {
        return bytes.size();
    }
    qint64 pendingBytes() const override { return 0; }
    bool isOpen() const override { return true; }
    bool hasRecipients() const override { return true; }
    void setReadThrottled(bool) override {}
    bool supportsThrottle() const override { return false; }

private:
    QString name;
};

QList<BridgeEndpoint *> ports(int count)
{
    QList<BridgeEndpoint *> list;
    for (int i = 0; i < count; ++i) {
        list << new FakePort(i);
    }
    return list;
}

// "A,B,direction" bridges two ports; "LA,tcpport" serves port A on a listener. Rows
// are named r0, r1, ... unless the text ends in "=" (unnamed) or "=name".
BridgeConfig row(const QString &text, int index = 0)
{
    BridgeConfig c;
    const QString ends = text.section(u'=', 0, 0);
    c.name = text.contains(u'=') ? text.section(u'=', 1) : QStringLiteral("r%1").arg(index);
    const QStringList parts = ends.split(u',');
    c.useBuiltinListener = ends.startsWith(u'L');
    c.portA = parts.at(0).mid(c.useBuiltinListener ? 1 : 0).toInt();
    if (c.useBuiltinListener) {
        c.portB = -1;
        c.listenPort = quint16(parts.at(1).toUInt());
    } else {
        c.portB = parts.at(1).toInt();
        c.direction = parts.at(2).toInt();
    }
    return c;
}

// A port session as a bridge sees it through its hooks: opens when asked, keeps what is
// written, and passes its received bytes on as a session does.
class HookedPort : public QObject, public BridgePortHooks
{
    Q_OBJECT

public:
    HookedPort(const QString &name, connectionMode mode)
        : name(name)
    {
        line.connMode = mode;
    }
    QString bridgePortName() const override { return name; }
    Settings settings() const override { return line; }
    bool portIsOpen() const override { return open; }
    void openPortForBridge() override { open = true; }
    qint64 bridgeWriteBytes(const QByteArray &bytes, bool shown, const QString &peer) override
    {
        written += bytes;
        shownFlags << shown;
        peersWritten << peer;
        return bytes.size();
    }
    qint64 bridgePendingBytes() const override { return 0; }
    QStringList connectedPeers() const override { return peers; }
    void setBridgeReadThrottled(bool) override {}
    bool bridgeSupportsThrottle() const override { return true; }
    quint8 bridgeModemState() const override { return 0; }
    void bridgeApplySerialConfig(const QJsonObject &) override {}
    void bridgeSetControlLine(Rfc2217ServerSession::Line, bool) override {}
    quint64 bridgeForwardRfc2217(const Rfc2217Codec::Event &, QString *) override { return 1; }
    void bridgeWithdrawRfc2217(quint64) override {}

    QString name;
    Settings line;
    bool open = false;
    QStringList peers;
    QByteArray written;
    QList<bool> shownFlags;
    QStringList peersWritten;

signals:
    void rxTapped(const QByteArray &bytes, const QString &peer);
};

PortEndpoint *endFor(HookedPort *port)
{
    auto *end = new PortEndpoint(port, port);
    QObject::connect(port, &HookedPort::rxTapped, end, &BridgeEndpoint::tapped);
    return end;
}

} // namespace

class TestBridgeManager : public QObject
{
    Q_OBJECT
private slots:
    void validate_data();
    void validate();
    void linksFollowPortsAndRows();
    void portEndsFollowTheirPorts();
};

void TestBridgeManager::validate_data()
{
    QTest::addColumn<QStringList>("rows"); // taken already; three ports
    QTest::addColumn<QString>("candidate");
    QTest::addColumn<int>("self");
    QTest::addColumn<int>("transferring"); // the port in a file transfer, -1 none
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("warning");

    const QStringList none;
    QTest::newRow("two ports") << none << "0,1,2" << -1 << -1 << ""
                               << "";
    QTest::newRow("one port twice")
        << none << "1,1,2" << -1 << -1 << "A bridge needs two different ports"
        << "";
    QTest::newRow("no port") << none << "-1,1,2" << -1 << -1 << "Both ends must name a port"
                             << "";
    QTest::newRow("a port beyond the list")
        << none << "0,3,2" << -1 << -1 << "Port number is out of range"
        << "";
    QTest::newRow("a port in a transfer")
        << none << "0,1,2" << -1 << 1 << "Port 2 is transferring a file"
        << "";
    QTest::newRow("an overlapping direction")
        << QStringList{"0,1,0"} << "1,0,1" << -1 << -1 << "That direction is already bridged"
        << "Port 2 is written to by more than one bridge; their data will interleave on its wire.";
    QTest::newRow("opposite one-way bridges") << QStringList{"0,1,0"} << "1,0,0" << -1 << -1 << ""
                                              << "";
    QTest::newRow("editing a row does not meet itself")
        << QStringList{"0,1,2"} << "0,1,2" << 0 << -1 << ""
        << "";
    QTest::newRow("two bridges writing to one port")
        << QStringList{"0,1,0", "L1,2300"} << "2,1,0" << -1 << -1 << ""
        << "Port 2 is written to by more than one bridge; their data will interleave on its wire.";
    QTest::newRow("a listener without a port")
        << none << "L-1,2217" << -1 << -1 << "End A must name a port"
        << "";
    QTest::newRow("a listener for a port beyond the list")
        << none << "L3,2217" << -1 << -1 << "Port number is out of range"
        << "";
    QTest::newRow("a listener on TCP port 0")
        << none << "L0,0" << -1 << -1 << "The built-in listener needs a TCP port"
        << "";
    QTest::newRow("a TCP port taken by a named row")
        << QStringList{"L1,2217"} << "L0,2217" << -1 << -1
        << "TCP port 2217 is already used by \"r0\""
        << "";
    QTest::newRow("a TCP port taken by an unnamed row")
        << QStringList{"L1,2217="} << "L0,2217" << -1 << -1
        << "TCP port 2217 is already used by \"(unnamed)\""
        << "";
    QTest::newRow("the edited row's own TCP port")
        << QStringList{"L1,2217"} << "L0,2217" << 0 << -1 << ""
        << "";
    QTest::newRow("a listener for a port in a transfer")
        << none << "L0,2300" << -1 << 0 << "Port 1 is transferring a file"
        << "";
}

void TestBridgeManager::validate()
{
    QFETCH(QStringList, rows);
    QFETCH(QString, candidate);
    QFETCH(int, self);
    QFETCH(int, transferring);
    BridgeManager manager;
    manager.setPorts(ports(3));
    QList<BridgeConfig> taken;
    for (const QString &text : rows) {
        BridgeConfig config = row(text, int(taken.size()));
        config.enabled = false; // no listener is opened
        taken << config;
    }
    manager.setConfigs(taken);
    QCOMPARE(manager.configs().size(), taken.size());
    manager.setTransferQuery([transferring](int port) { return port == transferring; });
    QString error;
    const BridgeConfig wanted = row(candidate, int(taken.size()));
    const bool ok = manager.validate(wanted, self, &error);
    QTEST(error, "error");
    QCOMPARE(ok, error.isEmpty());
    QTEST(manager.fanInWarning(row(candidate), self), "warning");

    // The editor offers only the ports there are and a listener on a real TCP port; a
    // candidate it can show comes back out of it unchanged in its ends, and OK gives the
    // same verdict, keeping the editor open with the reason when it refuses.
    const auto offered = [](int port) { return port >= 0 && port < 3; };
    if (!offered(wanted.portA) ||
        !(wanted.useBuiltinListener ? wanted.listenPort > 0 : offered(wanted.portB))) {
        return;
    }
    BridgeEditDialog editor({QStringLiteral("Port 1"), QStringLiteral("Port 2"),
                             QStringLiteral("Port 3")},
                            wanted);
    editor.validator = [&manager, self](const BridgeConfig &c) {
        QString reason;
        return manager.validate(c, self, &reason) ? QString() : reason;
    };
    editor.accept();
    QCOMPARE(editor.errorText(), error);
    QCOMPARE(editor.result() == QDialog::Accepted, error.isEmpty());
    const BridgeConfig shown = editor.config();
    QCOMPARE(shown.portA, wanted.portA);
    QCOMPARE(shown.portB, wanted.portB);
    QCOMPARE(shown.useBuiltinListener, wanted.useBuiltinListener);
    QCOMPARE(shown.direction, wanted.direction);
    if (wanted.useBuiltinListener) {
        QCOMPARE(shown.listenPort, wanted.listenPort);
    }
}

void TestBridgeManager::linksFollowPortsAndRows()
{
    BridgeManager manager;
    QStringList messages;
    connect(&manager, &BridgeManager::message, this, [&](const QString &m) { messages << m; });
    QSignalSpy portStates(&manager, &BridgeManager::portBridgeStateChanged);
    manager.setPorts(ports(3));
    const quint16 free = testsupport::closedTcpPort();
    QTcpServer squatter;
    QVERIFY(squatter.listen(QHostAddress::Any, 0));
    BridgeConfig served = row(QStringLiteral("L0,%1=served").arg(free));
    served.fanoutMode = FanoutMode::TakeTurns;
    manager.setConfigs({served, row(QStringLiteral("1,1,2=bad")), row(QStringLiteral("0,2,2=p")),
                        row(QStringLiteral("L1,%1=busy").arg(squatter.serverPort()))});
    QCOMPARE(messages.takeFirst(),
             QStringLiteral("Skipped invalid bridge(s): bad (A bridge needs two different ports)"));
    QCOMPARE(manager.configs().size(), 3);

    BridgeLink *listening = manager.linkAt(0);
    QVERIFY(listening && listening->isRunning());
    QCOMPARE(listening->stateDetail(), QStringLiteral("Running, no client connected"));
    QCOMPARE(listening->arbitratedEndpoint(), listening->endpointB());
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, free);
    QTRY_COMPARE(manager.remoteClientsForPort(0).size(), 1);
    QTRY_COMPARE(listening->stateDetail(), QStringLiteral("Running"));
    QCOMPARE(manager.badgeTextForPort(0), QStringLiteral("Bridged to :%1, Port 3").arg(free));
    QCOMPARE(manager.badgeTextForPort(1),
             QStringLiteral("Bridged to :%1").arg(squatter.serverPort()));
    // A listener that cannot bind leaves its bridge degraded, and says why once.
    QCOMPARE(manager.linkAt(2)->state(), BridgeLink::Degraded);
    QCOMPARE(
        messages.filter(QStringLiteral("Cannot listen on TCP port %1: ").arg(squatter.serverPort()))
            .size(),
        1);
    QVERIFY(!portStates.isEmpty());
    QCOMPARE(portStates.last().at(0).toInt(), 2);
    QCOMPARE(portStates.last().at(1).toBool(), true);

    // Display and flow changes keep the running link; a new direction builds a new one.
    BridgeConfig edited = manager.configs().at(1);
    edited.flow.queueLimitBytes = 4096;
    QString error;
    const QPointer<BridgeLink> before = manager.linkAt(1);
    QVERIFY(manager.updateLink(1, edited, &error));
    QCOMPARE(manager.linkAt(1), before.data());
    QCOMPARE(manager.linkAt(1)->config().flow.queueLimitBytes, 4096);
    edited.direction = BridgeConfig::AtoB;
    QVERIFY(manager.updateLink(1, edited, &error));
    QVERIFY(before.isNull() && manager.linkAt(1));

    // Ports going away take the bridges that name them.
    manager.setPorts(ports(2));
    QVERIFY(messages.contains(QStringLiteral("Removed bridge(s) whose port no longer exists: p")));
    QCOMPARE(manager.configs().size(), 2);
    QCOMPARE(manager.badgeTextForPort(2), QString());
}

void TestBridgeManager::portEndsFollowTheirPorts()
{
    auto *serial = new HookedPort(QStringLiteral("COM3"), ModeSerial);
    auto *server = new HookedPort(QStringLiteral("TCP server :502"), ModeTcpServer);
    BridgeManager manager;
    manager.setPorts({endFor(serial), endFor(server)});
    QString error;
    QVERIFY(manager.addLink(row(QStringLiteral("0,1,2")), &error));
    BridgeLink *link = manager.linkAt(0);
    // Opening the bridge opened both ports.
    QVERIFY(serial->open && server->open && link->isRunning());

    // A server port with no client has nobody to forward to: the bytes are counted.
    Q_EMIT serial->rxTapped("lost", QString());
    QCOMPARE(link->flowAtoB().unrouted(), 4);
    QVERIFY(server->written.isEmpty());
    server->peers << QStringLiteral("10.0.0.9:4000");
    manager.refreshAll();
    QCOMPARE(link->stateDetail(), QStringLiteral("Running"));
    Q_EMIT serial->rxTapped("kept", QString());
    QCOMPARE(server->written, QByteArray("kept"));
    QCOMPARE(server->shownFlags, QList<bool>{true});

    // A removed port is never called again; the bridge reads it as closed.
    delete server;
    manager.refreshAll();
    BridgeEndpoint *gone = manager.endpointFor(1);
    QVERIFY(!gone->isAvailable() && !gone->isOpen());
    QCOMPARE(gone->displayName(), QStringLiteral("TCP server :502"));
    QCOMPARE(link->stateDetail(), QStringLiteral("Degraded: TCP server :502 is closed"));
    QCOMPARE(gone->writeBytes("late", QString()), 0);
    QCOMPARE(gone->forwardRfc2217(Rfc2217Codec::Event(), &error), 0u);
    QCOMPARE(error, QStringLiteral("the port has been removed"));
    delete serial;
}

QTEST_MAIN(TestBridgeManager)
#include "tst_bridgemanager.moc"
