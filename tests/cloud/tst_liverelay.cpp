// Live Relay end to end: a host and a client (each with its own account session and
// network client) and a velmora-cloud on loopback; the host shares one end of a socat
// pty pair, the client drives it as a Live Relay port.

#include "consolehost.h"
#include "bridge/rfc2217clientsession.h"
#include "cloud/accountsession.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloud/relaydialer.h"
#include "cloud/relaysession.h"
#include "cloudprocess.h"
#include "connection/connectioncontroller.h"
#include "connection/relaysocket.h"
#include "livepeer.h"
#include "session/consoleport.h"
#include "session/portsession.h"
#include "support/testsupport.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QSerialPort>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {
// A transport that takes a fixed number of messages, then refuses.
class CountingTransport : public RelayTransport
{
public:
    int acceptMessages = 0;
    QByteArray sent;
    qint64 sendBinary(const QByteArray &bytes) override
    {
        if (acceptMessages-- <= 0)
            return 0;
        sent += bytes;
        return bytes.size();
    }
    qint64 pendingBytes() const override { return 0; }
    bool isOpen() const override { return true; }
};

// velmora-cli as the build leaves it.
QString cliPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../src/cli/velmora-cli");
}

// Everything this process logged, to check that no ticket is ever written.
QStringList logged;
void keepLog(QtMsgType, const QMessageLogContext &, const QString &text)
{
    logged << text;
    if (qEnvironmentVariableIsSet("VELMORA_TEST_LOG"))
        fprintf(stderr, "%s\n", qPrintable(text));
}

// Random bytes with every fourth byte 0xFF.
QByteArray hostileData(qsizetype size)
{
    QByteArray data(size, Qt::Uninitialized);
    QRandomGenerator random(2217);
    for (qsizetype i = 0; i < size; ++i)
        data[i] = i % 4 == 0 ? char(0xFF) : char(random.bounded(256));
    return data;
}
} // namespace

class LiveRelayTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void cloudEndpointCounts_data();
    void cloudEndpointCounts();
    void refusedWithoutPermission();
    void clientDrivesHostPort();
    void relayEnds_data();
    void relayEnds();
    void cliHostAndRelayClient();

private:
    AccountSession *signIn(const QString &token, const QString &file);
    PortSession *clientPort(int baud);
    // A client relay port driving the host's port, once com-port control is agreed;
    // null after a failed check.
    PortSession *openRelay(int baud);

    QTemporaryDir settingsDir;
    CloudProcess server;
    testsupport::PtyPair pty;
    QSerialPort far;
    LiveAccount live;
    QString hostCid;
    AccountSession *hostAccount = nullptr;
    AccountSession *clientAccount = nullptr;
    RelayDialer *dialer = nullptr;
    PortSession *hostSession = nullptr;
    ConsolePort *hostPort = nullptr;
    CloudConsoleService *service = nullptr;
};

AccountSession *LiveRelayTest::signIn(const QString &token, const QString &file)
{
    return consolehost::account(this, server.baseUrl(), settingsDir.filePath(file), token);
}

void LiveRelayTest::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    qInstallMessageHandler(keepLog);
    QLoggingCategory::setFilterRules(QStringLiteral("vlm.cloud.info=true"));
    if (!testsupport::socatAvailable())
        QSKIP("socat is not installed");
    QString why;
    QVERIFY2(server.start({}, &why), qPrintable(why));
    QVERIFY2(pty.start(&why), qPrintable(why));
    PrivacyConsent::grant();
    hostCid = DeviceIdentity::generateCid("relay host");
    live = LiveAccount::create(server, QStringLiteral("relay@example.com"), hostCid,
                               DeviceIdentity::generateCid("relay client"));
    QVERIFY(!live.hostToken.isEmpty() && !live.clientToken.isEmpty());
    hostAccount = signIn(live.hostToken, QStringLiteral("host.ini"));
    clientAccount = signIn(live.clientToken, QStringLiteral("client.ini"));
    dialer = new RelayDialer(clientAccount, this);

    hostSession = consolehost::serialSession(this, pty.portA(), 1);
    QVERIFY2(hostSession->open(), qPrintable(hostSession->lastError()));
    far.setPortName(pty.portB());
    QVERIFY(far.open(QIODevice::ReadWrite));
    hostPort = new ConsolePort(hostSession, this);
    service = new CloudConsoleService(hostAccount, hostCid, this);
    service->setPortListProvider([this] { return QList<ConsolePort *>{hostPort}; });
    service->setEnabled(true);
    QTRY_VERIFY_WITH_TIMEOUT(service->useSocket(), 20000);
}

void LiveRelayTest::cleanupTestCase()
{
    if (service)
        service->setEnabled(false);
    far.close();
    pty.stop();
    server.stop();
}

PortSession *LiveRelayTest::clientPort(int baud)
{
    auto *session = new PortSession(this);
    Settings &s = session->settings();
    s.connMode = ModeLiveRelay;
    s.relayCid = hostCid;
    s.relayPortKey = hostPort->portKey();
    s.baudRate = baud;
    s.useRemoteSerialConfig = false;
    session->portNumber() = 1;
    dialer->attach(session);
    return session;
}

PortSession *LiveRelayTest::openRelay(int baud)
{
    // The server offers the port for a relay once the host's snapshot says so.
    bool offered = QTest::qWaitFor(
        [this] {
            return server
                .call("GET", QStringLiteral("/api/v3/relay/targets"), QByteArray(), live.clientToken)
                .raw.contains("\"relay_capable\":true");
        },
        20000);
    PortSession *client = clientPort(baud);
    const bool open = offered && client->open() &&
                      QTest::qWaitFor([client] { return client->portIsOpen(); }, 20000) &&
                      QTest::qWaitFor(
                          [client] {
                              return client->rfc2217Session().state() ==
                                     Rfc2217ClientSession::ComPort;
                          },
                          10000);
    if (!open || service->relayPorts() != QStringList{hostPort->portKey()}) {
        qWarning() << "the relay did not open:" << client->lastError();
        delete client;
        return nullptr;
    }
    return client;
}

void LiveRelayTest::cloudEndpointCounts_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("messages");
    QTest::addColumn<qint64>("taken");
    const int piece = int(RelaySession::CloudEndpoint::PieceBytes);
    QTest::newRow("all taken") << 3 * piece << 3 << qint64(3 * piece);
    // A transport that refuses part way: the count is what went out, never 0, so the
    // flow does not send the accepted part again.
    QTest::newRow("second message refused") << 3 * piece << 1 << qint64(piece);
    QTest::newRow("nothing taken") << piece << 0 << qint64(0);
}

void LiveRelayTest::cloudEndpointCounts()
{
    QFETCH(int, size);
    QFETCH(int, messages);
    QFETCH(qint64, taken);
    CountingTransport transport;
    transport.acceptMessages = messages;
    RelaySession::CloudEndpoint endpoint(&transport);
    const QByteArray data = hostileData(size);
    QCOMPARE(endpoint.writeBytes(data, QString()), taken);
    // Whole doubled 255s only: what went out unescapes to exactly the bytes counted.
    QCOMPARE(transport.sent, Rfc2217Codec::encodePayload(data.left(taken)));
}

void LiveRelayTest::refusedWithoutPermission()
{
    service->setAllowRemoteRelay(false);
    PortSession *client = clientPort(9600);
    QSignalSpy ended(client->connectionController(), &ConnectionController::cloudRelayEnded);
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            if (ended.isEmpty() && !client->connectionController()->hasCloudRelay())
                client->open();
            return !ended.isEmpty();
        }(),
        20000);
    // The client itself sees no relay-capable port of that name, or the server or the
    // host refuses: a sentence either way.
    QVERIFY(!ended.first().first().toString().isEmpty());
    QVERIFY(!client->portIsOpen());
    QVERIFY(service->relayPorts().isEmpty());
    QVERIFY(testsupport::sttySettings(pty.portA()).contains("speed 9600 baud"));
    delete client;
}

void LiveRelayTest::clientDrivesHostPort()
{
    service->setAllowRemoteRelay(true);
    PortSession *client = openRelay(57600);
    QVERIFY(client);

    // Line settings reach the real port, and later changes too.
    QTRY_VERIFY_WITH_TIMEOUT(testsupport::sttySettings(pty.portA()).contains("speed 57600 baud"),
                             10000);
    client->settings().baudRate = 19200;
    client->pushRemoteSerialSettings();
    QTRY_VERIFY_WITH_TIMEOUT(testsupport::sttySettings(pty.portA()).contains("speed 19200 baud"),
                             10000);

    // 1 MiB with a 0xFF in every four bytes, client to device.
    const QByteArray data = hostileData(1024 * 1024);
    far.readAll();
    QVERIFY(client->writeRaw(data, true, PortSession::UdpTargetMode::Default, QString()));
    QByteArray atDevice;
    const QMetaObject::Connection reading =
        connect(&far, &QSerialPort::readyRead, this, [&] { atDevice += far.readAll(); });
    QTRY_VERIFY_WITH_TIMEOUT(atDevice.size() >= data.size(), 60000);
    disconnect(reading);
    QCOMPARE(atDevice.size(), data.size());
    QVERIFY(atDevice == data);

    // And device to client.
    QByteArray atClient;
    connect(client, &PortSession::rxTapped, this,
            [&](const QByteArray &bytes) { atClient += bytes; });
    QCOMPARE(far.write(data), qint64(data.size()));
    QTRY_VERIFY_WITH_TIMEOUT(atClient.size() >= data.size(), 60000);
    QCOMPARE(atClient.size(), data.size());
    QVERIFY(atClient == data);

    // No ticket ever reaches a log, the server's or this program's.
    QVERIFY(!server.log().contains("rtk_"));
    QVERIFY(logged.join(QLatin1Char('\n')).contains(QStringLiteral("[RelaySocket] dialling")));
    QVERIFY(!logged.join(QLatin1Char('\n')).contains(QStringLiteral("rtk_")));
    delete client;
}

void LiveRelayTest::relayEnds_data()
{
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("clientHears"); // empty: the client ended it
    QTest::addColumn<QString>("hostHears");
    const QString gone = QStringLiteral("The remote end disconnected.");
    QTest::newRow("host closes its port") << "host closes" << gone
                                          << "the shared port was closed";
    QTest::newRow("host switches relays off")
        << "relay off" << gone << "Live Relay was switched off on this computer.";
    QTest::newRow("client closes") << "client closes" << QString() << gone;
}

// However a relay ends, both sides are told once, and a port the relay opened itself
// is closed again.
void LiveRelayTest::relayEnds()
{
    QFETCH(QString, end);
    QFETCH(QString, clientHears);
    QFETCH(QString, hostHears);
    service->setAllowRemoteRelay(true);
    hostSession->close();
    PortSession *client = openRelay(9600);
    QVERIFY(client);
    QVERIFY(hostSession->portIsOpen()); // opened by the relay
    QSignalSpy clientEnded(client->connectionController(), &ConnectionController::cloudRelayEnded);
    QSignalSpy hostEnded(service, &CloudConsoleService::relayEnded);
    if (end == QLatin1String("host closes"))
        hostSession->close();
    else if (end == QLatin1String("relay off"))
        service->setAllowRemoteRelay(false);
    else
        client->close();
    QTRY_COMPARE_WITH_TIMEOUT(hostEnded.size(), 1, 15000);
    QCOMPARE(hostEnded.first().at(1).toString(), hostHears);
    if (!clientHears.isEmpty()) {
        QTRY_COMPARE_WITH_TIMEOUT(clientEnded.size(), 1, 15000);
        QCOMPARE(clientEnded.first().first().toString(), clientHears);
    }
    QVERIFY(!client->portIsOpen());
    QVERIFY(service->relayPorts().isEmpty());
    QVERIFY(!hostSession->portIsOpen());
    QTest::qWait(200);
    QCOMPARE(hostEnded.size(), 1);
    QCOMPARE(clientEnded.size(), clientHears.isEmpty() ? 0 : 1);
    delete client;
}

// Two velmora-cli processes: one hosts the pty, the other sends through a relay:// URL.
void LiveRelayTest::cliHostAndRelayClient()
{
    QVERIFY(QFileInfo::exists(cliPath()));
    const QString passwordFile = settingsDir.filePath(QStringLiteral("password"));
    QFile password(passwordFile);
    QVERIFY(password.open(QIODevice::WriteOnly));
    password.write("correct horse 42\n");
    password.close();
    const QStringList account{QStringLiteral("--server"), server.baseUrl(),
                              QStringLiteral("--login"), QStringLiteral("relay@example.com"),
                              QStringLiteral("--password-file"), passwordFile};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), settingsDir.filePath(QStringLiteral("cli")));

    QProcess host;
    host.setProcessEnvironment(environment);
    host.start(cliPath(), QStringList{QStringLiteral("host"), pty.portA(),
                                      QStringLiteral("--device-name"), QStringLiteral("Bench-CLI"),
                                      QStringLiteral("--allow-relay"), QStringLiteral("--json")} +
                              account);
    QVERIFY(host.waitForStarted());
    QString hostOut;
    QTRY_VERIFY_WITH_TIMEOUT((hostOut += QString::fromUtf8(host.readAllStandardOutput()))
                                 .contains(QStringLiteral("hosting")),
                             20000);
    QTRY_VERIFY_WITH_TIMEOUT(
        server.call("GET", QStringLiteral("/api/v3/relay/targets"), QByteArray(), live.clientToken)
            .raw.contains("\"relay_capable\":true"),
        20000);

    far.readAll();
    QProcess client;
    client.setProcessEnvironment(environment);
    client.start(cliPath(), QStringList{QStringLiteral("send"),
                                        QStringLiteral("relay://Bench-CLI/ser-1?baud=38400"),
                                        QStringLiteral("--hex"), QStringLiteral("FF 00 FF FF 41"),
                                        QStringLiteral("--wait-ms"), QStringLiteral("500")} +
                                account);
    QVERIFY(client.waitForFinished(60000));
    QVERIFY2(client.exitCode() == 0, client.readAllStandardError().constData());
    QByteArray atDevice;
    QTRY_VERIFY_WITH_TIMEOUT((atDevice += far.readAll()).size() >= 5, 10000);
    QCOMPARE(atDevice.toHex(), QByteArray("ff00ffff41"));
    QVERIFY(testsupport::sttySettings(pty.portA()).contains("speed 38400 baud"));
    // The host printed the command it carried out.
    QTRY_VERIFY_WITH_TIMEOUT((hostOut += QString::fromUtf8(host.readAllStandardOutput()))
                                 .contains(QStringLiteral("\"command\":\"open_relay\"")),
                             10000);
    host.terminate();
    QVERIFY(host.waitForFinished(15000));
}

QTEST_GUILESS_MAIN(LiveRelayTest)
#include "tst_liverelay.moc"
