// Guest shares end to end: a velmora-cloud on loopback, this program's console service
// as the host of two socat pty ports, and a guest without an account who comes in by
// the invite code and drives port A as a Live Relay port while a browser guest watches.

#include "consolehost.h"
#include "bridge/rfc2217clientsession.h"
#include "cloud/accountsession.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloud/relaydialer.h"
#include "cloudprocess.h"
#include "connection/connectioncontroller.h"
#include "browser.h"
#include "livepeer.h"
#include "session/consoleport.h"
#include "session/portsession.h"
#include "support/testsupport.h"

#include <QDateTime>
#include <QProcess>
#include <QSerialPort>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class GuestInviteTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void relayShareUntilRevoked();
    void guestCommandRefused_data();
    void guestCommandRefused();
    void wrongPasscodesEndTheShare();
    void cliHostShareAndShareClient();

private:
    // Creates a share of port A and waits for the server to confirm it.
    GuestShare createShare(const QString &web, bool relay, const QString &passcode);

    QTemporaryDir settingsDir;
    CloudProcess server;
    testsupport::PtyPair ptyA;
    testsupport::PtyPair ptyB;
    QSerialPort farA;
    LiveAccount live;
    QString hostCid;
    AccountSession *guestAccount = nullptr;
    RelayDialer *dialer = nullptr;
    QList<ConsolePort *> ports;
    CloudConsoleService *service = nullptr;
    qint64 clockShiftMs = 0;
};

void GuestInviteTest::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    if (!testsupport::socatAvailable())
        QSKIP("socat is not installed");
    QString why;
    QVERIFY2(server.start({}, &why), qPrintable(why));
    QVERIFY2(ptyA.start(&why), qPrintable(why));
    QVERIFY2(ptyB.start(&why), qPrintable(why));
    PrivacyConsent::grant();
    hostCid = DeviceIdentity::generateCid("share host");
    live = LiveAccount::create(server, QStringLiteral("share@example.com"), hostCid,
                               DeviceIdentity::generateCid("share browser"));
    QVERIFY(!live.hostToken.isEmpty());

    auto *hostAccount = consolehost::account(this, server.baseUrl(),
                                             settingsDir.filePath("host.ini"), live.hostToken);
    // The guest has no account: the invite is its whole credential.
    guestAccount = consolehost::account(this, server.baseUrl(), settingsDir.filePath("guest.ini"));
    dialer = new RelayDialer(guestAccount, this);

    int number = 0;
    for (const QString &path : {ptyA.portA(), ptyB.portA()}) {
        ports << new ConsolePort(consolehost::serialSession(this, path, ++number), this);
    }
    QVERIFY(ports.at(0)->portKey() != ports.at(1)->portKey());
    farA.setPortName(ptyA.portB());
    QVERIFY(farA.open(QIODevice::ReadWrite));
    service = new CloudConsoleService(hostAccount, hostCid, this);
    service->setPortListProvider([this] { return ports; });
    service->setClock([this] { return QDateTime::currentMSecsSinceEpoch() + clockShiftMs; });
    service->setEnabled(true);
    QTRY_VERIFY_WITH_TIMEOUT(service->useSocket(), 20000);
}

void GuestInviteTest::cleanupTestCase()
{
    if (service)
        service->setEnabled(false);
    farA.close();
    ptyA.stop();
    ptyB.stop();
    server.stop();
}

GuestShare GuestInviteTest::createShare(const QString &web, bool relay, const QString &passcode)
{
    QSignalSpy created(service, &CloudConsoleService::shareCreated);
    QSignalSpy failed(service, &CloudConsoleService::shareFailed);
    service->createShare(ports.at(0)->portKey(), 3600, QStringLiteral("Sensor board"), passcode,
                         web, relay);
    if (!QTest::qWaitFor([&] { return !created.isEmpty() || !failed.isEmpty(); }, 20000) ||
        created.isEmpty()) {
        qWarning() << "no share:" << failed;
        return {};
    }
    return service->share(created.first().first().toString());
}

void GuestInviteTest::relayShareUntilRevoked()
{
    // One invite: a browser may watch, another copy may relay the port.
    const GuestShare share = createShare(QStringLiteral("view"), true, QStringLiteral("4321"));
    QVERIFY(share.isValid());
    QCOMPARE(share.code.size(), 12);
    QCOMPARE(share.passcode, QStringLiteral("4321"));
    QVERIFY(service->hasShareFor(ports.at(0)->portKey()));

    auto *guest = new PortSession(this);
    Settings &s = guest->settings();
    s.connMode = ModeLiveRelay;
    // Typed the way a person reads it out: lower case, with dashes.
    s.relayInviteCode = share.code.left(4).toLower() + u'-' + share.code.mid(4);
    s.relayPasscode = QStringLiteral("4321");
    s.relayGuestName = QStringLiteral("Ada");
    s.baudRate = 19200;
    s.useRemoteSerialConfig = false;
    guest->portNumber() = 1;
    dialer->attach(guest);
    QSignalSpy engaged(service, &CloudConsoleService::relayEngaged);
    QVERIFY2(guest->open(), qPrintable(guest->lastError()));
    QTRY_VERIFY_WITH_TIMEOUT(guest->portIsOpen(), 20000);
    QTRY_VERIFY_WITH_TIMEOUT(
        guest->rfc2217Session().state() == Rfc2217ClientSession::ComPort, 10000);
    QTRY_COMPARE_WITH_TIMEOUT(engaged.size(), 1, 10000);
    QCOMPARE(engaged.first().at(1).toString(), QStringLiteral("Ada"));

    // The guest's bytes reach the device, 0xFF and all.
    farA.readAll();
    const QByteArray data = QByteArray::fromHex("ff00ffff41420d0a");
    QVERIFY(guest->writeRaw(data, true, PortSession::UdpTargetMode::Default, QString()));
    QByteArray atDevice;
    QTRY_VERIFY_WITH_TIMEOUT((atDevice += farA.readAll()).size() >= data.size(), 10000);
    QCOMPARE(atDevice.toHex(), data.toHex());

    // A browser guest joins by the invite link and watches the port the relay drives.
    const QString chromium = Browser::executable();
    std::unique_ptr<Browser> browser;
    const QString status = QStringLiteral("document.getElementById('status').textContent");
    if (chromium.isEmpty()) {
        qWarning("Chromium is not installed (Debian package chromium): no browser guest");
    } else {
        browser = std::make_unique<Browser>();
        QString why;
        QVERIFY2(browser->start(chromium,
                                server.baseUrl() + QStringLiteral("/console#join=") + share.code,
                                &why),
                 qPrintable(why));
        QVERIFY(browser->waitUntil(
            QStringLiteral("document.getElementById('joinInfo').textContent.includes('ready')")));
        browser->eval(QStringLiteral("document.getElementById('guestName').value = 'Bob';"
                                     "document.getElementById('joinPasscode').value = '4321';"
                                     "document.getElementById('joinButton').click(); true"));
        QTRY_VERIFY_WITH_TIMEOUT(service->isWatching(), 15000);
        const QString traffic = QStringLiteral("document.getElementById('traffic').textContent");
        farA.write("T=21.4C H=40%\r\n");
        QVERIFY2(browser->waitUntil(traffic + QStringLiteral(".includes('T=21.4C H=40%')")),
                 qPrintable(browser->eval(traffic).toString()));
        // The view level cannot send: the server refuses, and the device hears nothing.
        farA.readAll();
        browser->eval(QStringLiteral(
            "command('send_text', { text: 'reboot', line_ending: 'crlf' }); true"));
        QVERIFY(browser->waitUntil(status + QStringLiteral(".includes('does not allow sending')")));
        QVERIFY(guest->writeRaw("ok", true, PortSession::UdpTargetMode::Default, QString()));
        QByteArray heard;
        QTRY_VERIFY_WITH_TIMEOUT((heard += farA.readAll()).size() >= 2, 10000);
        QCOMPARE(heard, QByteArray("ok"));
    }

    // Stopping the share ends the guest's relay and the browser guest at once.
    QSignalSpy guestEnded(guest->connectionController(), &ConnectionController::cloudRelayEnded);
    QSignalSpy ended(service, &CloudConsoleService::shareEnded);
    service->revokeShare(share.shareId, QStringLiteral("You stopped sharing."));
    QCOMPARE(ended.size(), 1);
    QVERIFY(!service->hasShareFor(ports.at(0)->portKey()));
    QTRY_VERIFY_WITH_TIMEOUT(!guestEnded.isEmpty(), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(service->relayPorts().isEmpty(), 10000);
    if (browser) {
        QVERIFY2(browser->waitUntil(status + QStringLiteral(" === 'The owner stopped sharing.'")),
                 qPrintable(browser->eval(status).toString()));
    }
    // The code admits nobody any more.
    const auto peek = server.call("GET", QStringLiteral("/api/v3/relay/join/") + share.code);
    QCOMPARE(peek.status, 410);
    guest->close();
    delete guest;
}

void GuestInviteTest::guestCommandRefused_data()
{
    QTest::addColumn<QString>("web");
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("port");
    QTest::addColumn<qint64>("laterMs");
    QTest::addColumn<QString>("code");
    QTest::addColumn<bool>("shareEnds");

    QTest::newRow("a share for port A used on port B")
        << "control" << "send_text" << 1 << qint64(0) << "share_port_mismatch" << false;
    QTest::newRow("above the share's level")
        << "view" << "send_text" << 0 << qint64(0) << "permission_denied" << false;
    QTest::newRow("no relay in a browser share")
        << "send" << "open_relay" << 0 << qint64(0) << "permission_denied" << false;
    // Checked on use: the sweep is 30 s away, the command comes 1 ms after the end.
    QTest::newRow("expired, before any sweep")
        << "control" << "send_text" << 0 << qint64(3600 * 1000 + 1) << "share_expired" << true;
}

void GuestInviteTest::guestCommandRefused()
{
    QFETCH(QString, web);
    QFETCH(QString, command);
    QFETCH(int, port);
    QFETCH(qint64, laterMs);
    QFETCH(QString, code);
    QFETCH(bool, shareEnds);
    const GuestShare share = createShare(web, false, QString());
    QVERIFY(share.isValid());
    QSignalSpy finished(service, &CloudConsoleService::commandFinished);
    QSignalSpy ended(service, &CloudConsoleService::shareEnded);
    clockShiftMs = laterMs;
    // The command as the server hands it on from the share's browser guest.
    service->onConsoleResponse(
        {{QStringLiteral("commands"),
          QJsonArray{QJsonObject{{QStringLiteral("command_id"), QStringLiteral("cmd-1")},
                                 {QStringLiteral("command"), command},
                                 {QStringLiteral("port_key"), ports.at(port)->portKey()},
                                 {QStringLiteral("session_id"), service->sessionId()},
                                 {QStringLiteral("share_id"), share.shareId},
                                 {QStringLiteral("payload"),
                                  QJsonObject{{QStringLiteral("text"), QStringLiteral("x")}}}}}}});
    clockShiftMs = 0;
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().at(2).toBool(), false);
    QCOMPARE(finished.first().at(3).toString(), code);
    QCOMPARE(ended.size(), shareEnds ? 1 : 0);
    if (shareEnds)
        QCOMPARE(ended.first().at(1).toString(), QStringLiteral("The share expired."));
    service->revokeAllShares(QStringLiteral("done"));
}

void GuestInviteTest::wrongPasscodesEndTheShare()
{
    const GuestShare share = createShare(QStringLiteral("view"), true, QStringLiteral("right-one"));
    QVERIFY(share.isValid());
    for (int i = 0; i < 5; ++i) {
        const auto reply = server.call("POST", QStringLiteral("/api/v3/relay/join"),
                                       QJsonObject{{QStringLiteral("code"), share.code},
                                                   {QStringLiteral("passcode"), QStringLiteral("wrong")}});
        QCOMPARE(reply.status, 403);
    }
    // The owner's computer learns why at its next look at the list.
    QSignalSpy ended(service, &CloudConsoleService::shareEnded);
    service->refreshShares();
    QTRY_COMPARE_WITH_TIMEOUT(ended.size(), 1, 10000);
    QCOMPARE(ended.first().at(1).toString(),
             QStringLiteral("Too many wrong passcodes; the share was revoked."));
    QVERIFY(!service->hasShareFor(ports.at(0)->portKey()));
}

void GuestInviteTest::cliHostShareAndShareClient()
{
    const QString cli =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../src/cli/velmora-cli");
    QVERIFY(QFileInfo::exists(cli));
    // The host port of this test lets go of pty A for the command-line host.
    service->setEnabled(false);
    for (ConsolePort *port : std::as_const(ports))
        port->session()->close();
    const QString passwordFile = settingsDir.filePath(QStringLiteral("password"));
    QFile password(passwordFile);
    QVERIFY(password.open(QIODevice::WriteOnly));
    password.write("correct horse 42\n");
    password.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), settingsDir.filePath(QStringLiteral("cli")));

    QProcess refused;
    refused.setProcessEnvironment(environment);
    refused.start(cli, {QStringLiteral("host"), ptyA.portA(), QStringLiteral("--share"),
                        QStringLiteral("ser-1"), QStringLiteral("--ttl"), QStringLiteral("7200"),
                        QStringLiteral("--server"), server.baseUrl(), QStringLiteral("--login"),
                        QStringLiteral("share@example.com"), QStringLiteral("--password-file"),
                        passwordFile});
    QVERIFY(refused.waitForFinished(30000));
    QCOMPARE(refused.exitCode(), 2);
    QVERIFY(refused.readAllStandardError().contains("3600, 14400, 43200 or 86400"));

    QProcess host;
    host.setProcessEnvironment(environment);
    host.start(cli, {QStringLiteral("host"), ptyA.portA(), QStringLiteral("--share"),
                     QStringLiteral("ser-1"), QStringLiteral("--level"), QStringLiteral("relay"),
                     QStringLiteral("--ttl"), QStringLiteral("3600"), QStringLiteral("--passcode"),
                     QStringLiteral("8765"), QStringLiteral("--json"), QStringLiteral("--server"),
                     server.baseUrl(), QStringLiteral("--login"),
                     QStringLiteral("share@example.com"), QStringLiteral("--password-file"),
                     passwordFile});
    QVERIFY(host.waitForStarted());
    QString hostOut;
    QJsonObject shareEvent;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            hostOut += QString::fromUtf8(host.readAllStandardOutput());
            for (const QString &line : hostOut.split(u'\n')) {
                const QJsonObject event = QJsonDocument::fromJson(line.toUtf8()).object();
                if (event.value(QStringLiteral("event")).toString() == QLatin1String("share"))
                    shareEvent = event;
            }
            return !shareEvent.isEmpty();
        }(),
        30000);
    const QString code = shareEvent.value(QStringLiteral("code")).toString();
    QCOMPARE(code.size(), 12);
    QVERIFY(shareEvent.value(QStringLiteral("link")).toString().contains(u'#'));

    farA.readAll();
    QProcess client;
    client.setProcessEnvironment(environment);
    client.start(cli, {QStringLiteral("send"),
                       QStringLiteral("share://%1?passcode=8765&baud=57600").arg(code),
                       QStringLiteral("--server"), server.baseUrl(),
                       QStringLiteral("--guest-name"), QStringLiteral("Lin"),
                       QStringLiteral("--hex"), QStringLiteral("FF 00 41"),
                       QStringLiteral("--wait-ms"), QStringLiteral("500")});
    QVERIFY(client.waitForFinished(60000));
    QVERIFY2(client.exitCode() == 0, client.readAllStandardError().constData());
    QByteArray atDevice;
    QTRY_VERIFY_WITH_TIMEOUT((atDevice += farA.readAll()).size() >= 3, 10000);
    QCOMPARE(atDevice.toHex(), QByteArray("ff0041"));
    QVERIFY(testsupport::sttySettings(ptyA.portA()).contains("speed 57600 baud"));

    // The invite ends with the host's run.
    host.terminate();
    QVERIFY(host.waitForFinished(20000));
    QCOMPARE(server.call("GET", QStringLiteral("/api/v3/relay/join/") + code).status, 410);
}

QTEST_GUILESS_MAIN(GuestInviteTest)
#include "tst_guestinvite.moc"
