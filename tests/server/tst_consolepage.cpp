// The browser console page of velmora-cloud in headless Chromium, driven through the
// DevTools protocol as a user would: sign in, choose a port, watch its traffic fed by
// a test host computer, and send "PING", which reaches the host as a command. A
// screenshot of the page is left as console-page.png in the working folder.

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
};

void TestConsolePage::watchAndSendFromThePage()
{
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty())
        QSKIP("Chromium is not installed (Debian package chromium).");
    CloudProcess server;
    QString why;
    QVERIFY2(server.start({}, &why), qPrintable(why));
    const QString email = QStringLiteral("page@example.com");
    const LiveAccount account = LiveAccount::create(server, email, kHostCid, kClientCid);
    LivePeer host;
    QVERIFY(host.openConsole(server.baseUrl(), account.hostToken, kHostCid, QStringLiteral("run-1")));
    host.sendJson({{u"type"_qs, u"snapshot"_qs}, {u"cid"_qs, kHostCid}, {u"session_id"_qs, u"run-1"_qs},
                   {u"ports"_qs, QJsonArray{QJsonObject{{u"port_key"_qs, u"ser-0"_qs},
                                                        {u"display_name"_qs, u"/dev/ttyUSB0"_qs},
                                                        {u"is_open"_qs, true}}}}});
    QVERIFY(!host.waitFor(QStringLiteral("snapshot")).isEmpty());

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

    const QByteArray png = QByteArray::fromBase64(
        browser.call(QStringLiteral("Page.captureScreenshot"), {{u"format"_qs, u"png"_qs}})[u"data"].toString().toLatin1());
    QVERIFY(png.startsWith("\x89PNG"));
    QFile file(QStringLiteral("console-page.png"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(png);
}

QTEST_MAIN(TestConsolePage)
#include "tst_consolepage.moc"
