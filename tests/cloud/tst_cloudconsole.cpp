#include "consolehost.h"
#include "browser.h"
#include "cloud/accountsession.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloudprocess.h"
#include "livepeer.h"
#include "session/consoleport.h"
#include "session/portsession.h"
#include "support/testsupport.h"

#include <QSerialPort>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class CloudConsoleTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void cidShape_data();
    void cidShape();
    void eventQueue_data();
    void eventQueue();
    void browserWatchesAndSends();
    void hostileCommands_data();
    void hostileCommands();

private:
    QByteArray readPty(qsizetype size);

    QTemporaryDir settingsDir;
    CloudProcess server;
    testsupport::PtyPair pty;
    QSerialPort far;
    LiveAccount live;
    QString hostCid;
    QString clientCid;
    AccountSession *account = nullptr;
    PortSession *session = nullptr;
    ConsolePort *port = nullptr;
    CloudConsoleService *service = nullptr;
};

void CloudConsoleTest::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    if (!testsupport::socatAvailable())
        QSKIP("socat is not installed");
    QString why;
    QVERIFY2(server.start({}, &why), qPrintable(why));
    QVERIFY2(pty.start(&why), qPrintable(why));
    PrivacyConsent::grant();
    hostCid = DeviceIdentity::generateCid("host board");
    clientCid = DeviceIdentity::generateCid("desk pc");
    live = LiveAccount::create(server, QStringLiteral("owner@example.com"), hostCid, clientCid);
    QVERIFY(!live.hostToken.isEmpty() && !live.clientToken.isEmpty());

    account = consolehost::account(this, server.baseUrl(),
                                   settingsDir.filePath(QStringLiteral("host.ini")), live.hostToken);
    session = consolehost::serialSession(this, pty.portA(), 1);
    QVERIFY2(session->open(), qPrintable(session->lastError()));
    far.setPortName(pty.portB());
    QVERIFY(far.open(QIODevice::ReadWrite));

    port = new ConsolePort(session, this);
    service = new CloudConsoleService(account, hostCid, this);
    service->setPortListProvider([this] { return QList<ConsolePort *>{port}; });
    service->setEnabled(true);
    QTRY_VERIFY_WITH_TIMEOUT(service->useSocket(), 20000);
}

void CloudConsoleTest::cleanupTestCase()
{
    if (service)
        service->setEnabled(false);
    far.close();
    pty.stop();
    server.stop();
}

QByteArray CloudConsoleTest::readPty(qsizetype size)
{
    QByteArray got;
    // A short read is returned as it is: the caller's comparison shows what is missing.
    (void)QTest::qWaitFor(
        [&] {
            got += far.readAll();
            return got.size() >= size;
        },
        10000);
    return got;
}

void CloudConsoleTest::cidShape_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("made") << DeviceIdentity::generateCid("machine-1") << true;
    QTest::newRow("upper case") << DeviceIdentity::generateCid("machine-1").toUpper() << false;
    QTest::newRow("braces") << "{" + DeviceIdentity::generateCid("m") + "}" << false;
    QTest::newRow("groups moved") << QStringLiteral("0123456-78901-2345-6789-0123456789ab") << false;
    QTest::newRow("short") << QStringLiteral("01234567-89ab-cdef-0123-456789abcde") << false;
    QTest::newRow("not hex") << QStringLiteral("0123456z-89ab-cdef-0123-456789abcdef") << false;
    QTest::newRow("empty") << QString() << false;
}

void CloudConsoleTest::cidShape()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QCOMPARE(DeviceIdentity::validateCid(text), valid);
    // The same machine gives the same cid, another machine another.
    QCOMPARE(DeviceIdentity::generateCid("machine-1"), DeviceIdentity::generateCid("machine-1"));
    QVERIFY(DeviceIdentity::generateCid("machine-1") != DeviceIdentity::generateCid("machine-2"));
}

void CloudConsoleTest::eventQueue_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<int>("events");
    QTest::addColumn<QString>("firstStartsWith");
    QTest::newRow("long line in pieces") << QStringList{QString(10000, u'a')} << 4 << "a";
    // Three bytes a character: a piece of 3072 loses a quarter and one character until
    // it fits 4096 bytes (1295 characters), the rest likewise (1332), then 445 remain.
    QTest::newRow("wide characters") << QStringList{QString(3072, QChar(0x4e2d))} << 3
                                     << QString(QChar(0x4e2d));
    QStringList many;
    for (int i = 0; i < 20; ++i)
        many << QString(3000, QChar(u'a' + i));
    // 20 * 3000 bytes against 32768: the newest ten stay.
    QTest::newRow("oldest dropped") << many << 10 << "k";
}

void CloudConsoleTest::eventQueue()
{
    QFETCH(QStringList, texts);
    QFETCH(int, events);
    QFETCH(QString, firstStartsWith);
    CloudConsoleService queue(account, hostCid);
    for (const QString &text : texts)
        queue.queueEvent(QStringLiteral("SER-1"), QStringLiteral("rx"), text);
    QCOMPARE(queue.pendingEvents().size(), events);
    QVERIFY(queue.pendingEventBytes() <= CloudConsoleService::MaxQueueBytes);
    QVERIFY(queue.pendingEvents().first().text.startsWith(firstStartsWith));
    QString joined;
    for (const auto &event : queue.pendingEvents()) {
        QVERIFY(event.text.toUtf8().size() <= CloudConsoleService::MaxPieceBytes);
        joined += event.text;
    }
    QVERIFY(texts.join(QString()).endsWith(joined));
}

// The console page in headless Chromium against this computer's own service: the owner
// signs in, picks the pty's port, sees what the device writes, and "PING" sent from the
// page reaches the device byte for byte. The page as it watches is left as
// console-live.png in the working folder.
void CloudConsoleTest::browserWatchesAndSends()
{
    const QString chromium = Browser::executable();
    if (chromium.isEmpty())
        QSKIP("Chromium is not installed (Debian package chromium).");
    service->setAllowRemoteSend(true);
    QString why;
    Browser browser;
    if (!browser.start(chromium, server.baseUrl() + QStringLiteral("/console"), &why))
        QSKIP(qPrintable(why));
    // The form is in the page before its script has run: wait for the script too.
    QVERIFY(browser.waitUntil(
        QStringLiteral("!!document.getElementById('email') && typeof command === 'function'")));
    browser.eval(QStringLiteral("document.getElementById('email').value = 'owner@example.com';"
                                "document.getElementById('password').value = 'correct horse 42';"
                                "document.getElementById('signinButton').click(); true"));
    const QString portButton =
        QStringLiteral("document.querySelector('button.port[data-port-key=\"%1\"]')")
            .arg(port->portKey());
    QVERIFY2(browser.waitUntil(u"!!"_qs + portButton),
             qPrintable(browser.eval(QStringLiteral("document.body.innerText")).toString()));
    browser.eval(portButton + u".click(); true"_qs);
    QTRY_VERIFY_WITH_TIMEOUT(service->isWatching(), 15000);

    // The device speaks, a character split between two writes: the page shows it whole.
    const QString traffic = QStringLiteral("document.getElementById('traffic').textContent");
    far.write("T=21.4\xc2");
    QVERIFY(browser.waitUntil(traffic + u".includes('T=21.4')"_qs));
    far.write("\xb0" "C H=40%\r\n");
    QVERIFY2(browser.waitUntil(traffic + u".includes('\u00b0C H=40%')"_qs),
             qPrintable(browser.eval(traffic).toString()));
    QVERIFY(!browser.eval(traffic + u".includes('\ufffd')"_qs).toBool());
    far.write("T=21.5\xc2\xb0" "C H=41%\r\n");

    // "PING" typed and sent on the page: the device gets exactly it with the page's CR LF,
    // and the page shows it as sent and the command as done.
    far.readAll();
    browser.eval(QStringLiteral("document.getElementById('sendText').value = 'PING';"
                                "document.getElementById('send').click(); true"));
    QCOMPARE(readPty(6), QByteArray("PING\r\n"));
    QVERIFY2(browser.waitUntil(traffic + u".includes('send_text done.') && "_qs + traffic +
                               u".includes('T=21.5\u00b0C H=41%') && "_qs +
                               u"[...document.querySelectorAll('#traffic .tx')]"_qs +
                               u".some((line) => line.textContent.includes('PING'))"_qs),
             qPrintable(browser.eval(traffic).toString()));

    const QByteArray png = browser.screenshotPng();
    QVERIFY(!png.isEmpty());
    QFile picture(QStringLiteral("console-live.png"));
    QVERIFY(picture.open(QIODevice::WriteOnly));
    picture.write(png);
    service->setAllowRemoteSend(false);
}

void CloudConsoleTest::hostileCommands_data()
{
    QTest::addColumn<QJsonObject>("change");
    QTest::addColumn<bool>("allowed");
    QTest::addColumn<QString>("errorCode"); // empty: the command must be ignored whole

    const QJsonObject text{{QStringLiteral("text"), QStringLiteral("EVIL")}};
    auto command = [&](const char *name, const QJsonObject &payload = {}) {
        return QJsonObject{{QStringLiteral("command"), QString::fromLatin1(name)},
                           {QStringLiteral("payload"), payload}};
    };
    QJsonObject foreign = command("send_text", text);
    foreign.insert(QStringLiteral("cid"), clientCid);
    QTest::newRow("another computer's command") << foreign << true << QString();
    QTest::newRow("send while forbidden") << command("send_text", text) << false
                                          << "permission_denied";
    QTest::newRow("hex while forbidden")
        << command("send_hex", {{QStringLiteral("hex"), QStringLiteral("45 56")}}) << false
        << "permission_denied";
    QTest::newRow("close while forbidden") << command("close_port") << false << "permission_denied";
    QTest::newRow("config while forbidden")
        << command("set_port_config", {{QStringLiteral("baud_rate"), 50}}) << false
        << "permission_denied";
    QJsonObject stale = command("send_text", text);
    stale.insert(QStringLiteral("session_id"), QStringLiteral("an-earlier-run"));
    QTest::newRow("stale run") << stale << true << "session_mismatch";
    QJsonObject elsewhere = command("close_port");
    elsewhere.insert(QStringLiteral("port_key"), QStringLiteral("SER-9"));
    QTest::newRow("unknown port") << elsewhere << true << "port_not_found";
    QJsonObject relay = command("open_relay", {{QStringLiteral("ticket"), QStringLiteral("t")},
                                               {QStringLiteral("relay_id"), QStringLiteral("r")}});
    QTest::newRow("relay while forbidden") << relay << false << "permission_denied";
    relay.insert(QStringLiteral("share_id"), QStringLiteral("share-1"));
    QTest::newRow("relay naming a share") << relay << true << "share_not_found";
    QTest::newRow("unknown command") << command("format_disk") << true << "unsupported_command";
}

// A server that turned hostile sends commands straight into the reply handler.
void CloudConsoleTest::hostileCommands()
{
    QFETCH(QJsonObject, change);
    QFETCH(bool, allowed);
    QFETCH(QString, errorCode);
    service->setAllowRemoteSend(allowed);
    service->setAllowPortControl(allowed);
    service->setAllowRemoteRelay(allowed && change.contains(QStringLiteral("share_id")));

    QJsonObject command{{QStringLiteral("command_id"), QStringLiteral("cmd_hostile")},
                        {QStringLiteral("cid"), hostCid},
                        {QStringLiteral("port_key"), port->portKey()},
                        {QStringLiteral("session_id"), service->sessionId()}};
    for (auto it = change.begin(); it != change.end(); ++it)
        command.insert(it.key(), it.value());
    QSignalSpy finished(service, &CloudConsoleService::commandFinished);
    far.readAll();
    service->onConsoleResponse({{QStringLiteral("type"), QStringLiteral("commands")},
                                {QStringLiteral("cid"), command.value(QStringLiteral("cid"))},
                                {QStringLiteral("commands"), QJsonArray{command}}});
    if (errorCode.isEmpty()) {
        QCOMPARE(finished.size(), 0);
    } else {
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first().at(2).toBool(), false);
        QCOMPARE(finished.first().at(3).toString(), errorCode);
    }
    // Nothing reached the device and the port stayed as it was.
    QTest::qWait(200);
    QCOMPARE(far.readAll(), QByteArray());
    QVERIFY(session->portIsOpen());
    QCOMPARE(session->settings().baudRate, 9600);
    service->setAllowRemoteSend(false);
    service->setAllowPortControl(false);
    service->setAllowRemoteRelay(false);
}

QTEST_GUILESS_MAIN(CloudConsoleTest)
#include "tst_cloudconsole.moc"
