// The browser console page of velmora-cloud in headless Chromium, driven through the
// DevTools protocol as a user would: a guest opening a view-only invite link, who
// watches but whose sending is refused by the server. (The owner's page against the
// app's own console service is in tests/cloud/tst_cloudconsole.) Screenshots are left
// as guest-join.png and guest-page.png in the working folder.

#include "browser.h"
#include "cloudprocess.h"
#include "livepeer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {

const QString kHostCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000a1");
const QString kClientCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000c1");

} // namespace

class TestConsolePage : public QObject
{
    Q_OBJECT

private slots:
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
    const QByteArray png = browser.screenshotPng();
    QVERIFY(!png.isEmpty());
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(png);
}

void TestConsolePage::guestWithViewOnlyInvite()
{
    const QString chromium = Browser::executable();
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
