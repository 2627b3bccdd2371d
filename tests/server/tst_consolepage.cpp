// The browser console page of velmora-cloud in headless Chromium, driven through the
// DevTools protocol as a user would: sign in, choose a port, watch its traffic fed by
// a test host computer, and send "PING", which reaches the host as a command; and a
// guest opening a view-only invite link, who watches but whose sending is refused by
// the server. Screenshots are left as console-page.png, guest-join.png and
// guest-page.png in the working folder.

#include "cloudprocess.h"
#include "livepeer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kHostCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000a1");
const QString kClientCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000c1");

// One page of a headless Chromium, spoken to over its DevTools WebSocket.
class Browser
{
public:
    ~Browser()
    {
        if (process.state() != QProcess::NotRunning) {
            process.terminate();
            if (!process.waitForFinished(5000))
                process.kill();
            process.waitForFinished(5000);
        }
    }

    bool start(const QString &executable, const QString &url, QString *why)
    {
        process.start(executable, {QStringLiteral("--headless=new"), QStringLiteral("--no-sandbox"),
                                   QStringLiteral("--disable-gpu"), QStringLiteral("--no-first-run"),
                                   QStringLiteral("--remote-debugging-port=0"),
                                   QStringLiteral("--window-size=1280,760"),
                                   u"--user-data-dir="_qs + profile.path(), QStringLiteral("about:blank")});
        static const QRegularExpression listening(QStringLiteral("DevTools listening on (ws://\\S+)"));
        QByteArray err;
        QString endpoint;
        const bool up = QTest::qWaitFor([&]() {
            err += process.readAllStandardError();
            endpoint = listening.match(QString::fromUtf8(err)).captured(1);
            return !endpoint.isEmpty() || process.state() == QProcess::NotRunning;
        }, 30000);
        if (!up || endpoint.isEmpty()) {
            *why = u"Chromium did not start: "_qs + QString::fromUtf8(err.left(500));
            return false;
        }
        QObject::connect(&devtools, &QWebSocket::textMessageReceived, [this](const QString &text) {
            const QJsonObject message = QJsonDocument::fromJson(text.toUtf8()).object();
            if (message.contains(u"id"_qs))
                replies.insert(message[u"id"].toInt(), message);
        });
        devtools.open(QUrl(endpoint));
        if (!QTest::qWaitFor([this]() { return devtools.state() == QAbstractSocket::ConnectedState; }, 10000)) {
            *why = QStringLiteral("The DevTools socket did not open.");
            return false;
        }
        const QString target = call(QStringLiteral("Target.createTarget"), {{u"url"_qs, url}})[u"targetId"].toString();
        session = call(QStringLiteral("Target.attachToTarget"), {{u"targetId"_qs, target}, {u"flatten"_qs, true}})
                      [u"sessionId"].toString();
        return !session.isEmpty();
    }

    QJsonObject call(const QString &method, const QJsonObject &params)
    {
        const int id = ++lastId;
        QJsonObject message{{u"id"_qs, id}, {u"method"_qs, method}, {u"params"_qs, params}};
        if (!session.isEmpty())
            message.insert(u"sessionId"_qs, session);
        devtools.sendTextMessage(QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
        if (!QTest::qWaitFor([&]() { return replies.contains(id); }, 20000))
            return {};
        return replies.take(id)[u"result"].toObject();
    }

    // The value of the script `expression` in the page.
    QJsonValue eval(const QString &expression)
    {
        return call(QStringLiteral("Runtime.evaluate"),
                    {{u"expression"_qs, expression}, {u"returnByValue"_qs, true}})[u"result"][u"value"];
    }

    bool waitUntil(const QString &expression, int timeoutMs = 20000)
    {
        return QTest::qWaitFor([&]() { return eval(expression).toBool(); }, timeoutMs);
    }

private:
    QProcess process;
    QTemporaryDir profile;
    QWebSocket devtools;
    QString session;
    int lastId = 0;
    QHash<int, QJsonObject> replies;
};

} // namespace

class TestConsolePage : public QObject
{
    Q_OBJECT

private slots:
    void watchAndSendFromThePage();
    void guestWithViewOnlyInvite();

private:
    // A server with the account's host computer online, reporting ser-0 and ser-1.
    bool startHost(CloudProcess &server, LiveAccount *account, LivePeer &host,
                   const QString &email);
    void screenshot(Browser &browser, const QString &file);
};

bool TestConsolePage::startHost(CloudProcess &server, LiveAccount *account, LivePeer &host,
                                const QString &email)
{
    QString why;
    if (!server.start({}, &why))
        return false;
    *account = LiveAccount::create(server, email, kHostCid, kClientCid);
    if (!host.openConsole(server.baseUrl(), account->hostToken, kHostCid, QStringLiteral("run-1")))
        return false;
    host.sendJson(
        {{u"type"_qs, u"snapshot"_qs},
         {u"cid"_qs, kHostCid},
         {u"session_id"_qs, u"run-1"_qs},
         {u"ports"_qs, QJsonArray{QJsonObject{{u"port_key"_qs, u"ser-0"_qs},
                                              {u"display_name"_qs, u"/dev/ttyUSB0"_qs},
                                              {u"is_open"_qs, true}},
                                  QJsonObject{{u"port_key"_qs, u"ser-1"_qs},
                                              {u"display_name"_qs, u"/dev/ttyACM0"_qs}}}}});
    return !host.waitFor(QStringLiteral("snapshot")).isEmpty();
}

void TestConsolePage::screenshot(Browser &browser, const QString &file)
{
    const QByteArray png = QByteArray::fromBase64(
        browser.call(QStringLiteral("Page.captureScreenshot"), {{u"format"_qs, u"png"_qs}})[u"data"]
            .toString()
            .toLatin1());
    QVERIFY(png.startsWith("\x89PNG"));
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(png);
}

void TestConsolePage::watchAndSendFromThePage()
{
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty())
        QSKIP("Chromium is not installed (Debian package chromium).");
    CloudProcess server;
    const QString email = QStringLiteral("page@example.com");
    LiveAccount account;
    LivePeer host;
    QVERIFY(startHost(server, &account, host, email));

    QString why;
    Browser browser;
    if (!browser.start(chromium, server.baseUrl() + u"/console"_qs, &why))
        QSKIP(qPrintable(why));
    QVERIFY(browser.waitUntil(QStringLiteral("document.readyState === 'complete' && !!document.getElementById('email')")));
    browser.eval(u"document.getElementById('email').value = '"_qs + email + u"';"
                 "document.getElementById('password').value = 'correct horse 42';"
                 "document.getElementById('signinButton').click(); true"_qs);
    QVERIFY2(browser.waitUntil(QStringLiteral("!!document.querySelector('button.port')")),
             qPrintable(browser.eval(QStringLiteral("document.getElementById('status').textContent")).toString()));
    browser.eval(QStringLiteral("document.querySelector('button.port').click(); true"));

    // The page watches: the host is told, and its traffic appears on the page.
    QVERIFY(host.waitFor(QStringLiteral("watching"))[u"watching"].toBool());
    const auto traffic = [&](const QString &type, const QString &text) {
        host.sendJson({{u"type"_qs, u"events"_qs}, {u"cid"_qs, kHostCid},
                       {u"events"_qs, QJsonArray{QJsonObject{{u"port_key"_qs, u"ser-0"_qs}, {u"event_type"_qs, type},
                                                             {u"payload_text"_qs, text}, {u"seq"_qs, 0}}}}});
    };
    traffic(QStringLiteral("rx"), QStringLiteral("boot: sensor v2.1 ready"));
    traffic(QStringLiteral("rx"), QStringLiteral("T=21.4C H=40%"));
    QVERIFY(browser.waitUntil(QStringLiteral("document.getElementById('traffic').textContent.includes('T=21.4C H=40%')")));

    // "PING" typed and sent on the page reaches the host as a command for that port.
    browser.eval(QStringLiteral("document.getElementById('sendText').value = 'PING';"
                                "document.getElementById('send').click(); true"));
    const QJsonObject command = host.waitFor(QStringLiteral("commands"))[u"commands"][0].toObject();
    QCOMPARE(command[u"command"].toString(), u"send_text"_qs);
    QCOMPARE(command[u"port_key"].toString(), u"ser-0"_qs);
    QCOMPARE(command[u"payload"][u"text"].toString(), u"PING"_qs);
    QCOMPARE(command[u"payload"][u"line_ending"].toString(), u"crlf"_qs);
    host.sendJson({{u"type"_qs, u"result"_qs}, {u"command_id"_qs, command[u"command_id"]},
                   {u"result"_qs, QJsonObject{{u"status"_qs, u"succeeded"_qs}}}});
    traffic(QStringLiteral("tx"), QStringLiteral("PING"));
    traffic(QStringLiteral("rx"), QStringLiteral("PONG"));
    QVERIFY(browser.waitUntil(QStringLiteral("document.getElementById('traffic').textContent.includes('send_text done.')"
                                             " && document.getElementById('traffic').textContent.includes('PONG')")));

    screenshot(browser, QStringLiteral("console-page.png"));
}

void TestConsolePage::guestWithViewOnlyInvite()
{
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty())
        QSKIP("Chromium is not installed (Debian package chromium).");
    CloudProcess server;
    LiveAccount account;
    LivePeer host;
    QVERIFY(startHost(server, &account, host, QStringLiteral("guest-page@example.com")));
    const auto created = server.call("POST", u"/api/v3/relay/shares"_qs,
                                     QJsonObject{{u"cid"_qs, kHostCid},
                                                 {u"session_id"_qs, u"run-1"_qs},
                                                 {u"port_key"_qs, u"ser-0"_qs},
                                                 {u"ttl_seconds"_qs, 3600},
                                                 {u"label"_qs, u"Sensor board"_qs},
                                                 {u"web"_qs, u"view"_qs},
                                                 {u"passcode"_qs, u"4711"_qs}},
                                     account.hostToken);
    const QJsonObject share = created.json[u"share"].toObject();
    QVERIFY2(!share.isEmpty(), created.raw.constData());

    // The guest opens the invite link, sees what it is for, and joins with the passcode.
    QString why;
    Browser browser;
    if (!browser.start(chromium, share[u"link"].toString(), &why))
        QSKIP(qPrintable(why));
    QVERIFY2(
        browser.waitUntil(QStringLiteral(
            "document.getElementById('joinInfo').textContent === 'Sensor board — ready.'")),
        qPrintable(browser.eval(QStringLiteral("document.getElementById('joinInfo').textContent"))
                       .toString()));
    QVERIFY(
        !browser.eval(QStringLiteral("document.getElementById('passcodeRow').hidden")).toBool());
    screenshot(browser, QStringLiteral("guest-join.png"));
    browser.eval(QStringLiteral("document.getElementById('guestName').value = 'Bob';"
                                "document.getElementById('joinPasscode').value = '4711';"
                                "document.getElementById('joinButton').click(); true"));
    QVERIFY(host.waitFor(QStringLiteral("watching"))[u"watching"].toBool());
    host.sendJson({{u"type"_qs, u"events"_qs},
                   {u"cid"_qs, kHostCid},
                   {u"events"_qs, QJsonArray{QJsonObject{{u"port_key"_qs, u"ser-0"_qs},
                                                         {u"event_type"_qs, u"rx"_qs},
                                                         {u"payload_text"_qs, u"T=21.4C H=40%"_qs}}}}});
    QVERIFY(browser.waitUntil(
        QStringLiteral("document.getElementById('traffic').textContent.includes('T=21.4C')")));
    // A view-only guest has no send form, and sending anyway is refused by the server.
    QVERIFY(browser
                .eval(QStringLiteral("document.getElementById('sendForm').hidden"
                                     " && document.getElementById('openPort').hidden"))
                .toBool());
    browser.eval(
        QStringLiteral("command('send_text', { text: 'reboot', line_ending: 'crlf' }); true"));
    QVERIFY(browser.waitUntil(QStringLiteral(
        "document.getElementById('status').textContent.includes('does not allow sending')")));
    const auto probe =
        server.call("POST", u"/api/v3/console/devices/"_qs + kHostCid + u"/commands"_qs,
                    QJsonObject{{u"command"_qs, u"request_snapshot"_qs}}, account.clientToken);
    QCOMPARE(probe.status, 200);
    const QJsonArray heard = host.waitFor(QStringLiteral("commands"))[u"commands"].toArray();
    QCOMPARE(heard.size(), 1);
    QCOMPARE(heard[0][u"command"].toString(), u"request_snapshot"_qs);
    screenshot(browser, QStringLiteral("guest-page.png"));

    // The owner stops sharing: the page says so at once.
    server.call("DELETE", u"/api/v3/relay/shares/"_qs + share[u"share_id"].toString(), QByteArray(),
                account.hostToken);
    QVERIFY(browser.waitUntil(QStringLiteral(
        "document.getElementById('status').textContent === 'The owner stopped sharing.'")));
}

QTEST_MAIN(TestConsolePage)
#include "tst_consolepage.moc"
