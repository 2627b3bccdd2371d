// Guest shares of a real velmora-cloud on loopback, on PostgreSQL (SQLite when no
// cluster can be made here): an invite from create to stop with a browser guest and a
// relay guest at once; refused creations; and a table of hostile guests, after each of
// which nothing has reached the host computer.

#include "cloudprocess.h"
#include "livepeer.h"
#include "pgcluster.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QtTest>
#include <QUuid>

namespace {

const QString kHostCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000a1");
const QString kClientCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000c1");
const QString kPasscode = QStringLiteral("Kiwi7-passcode");

QJsonObject merged(QJsonObject base, const QJsonObject &changes)
{
    for (auto it = changes.begin(); it != changes.end(); ++it) {
        if (it->isNull())
            base.remove(it.key());
        else
            base.insert(it.key(), *it);
    }
    return base;
}

} // namespace

class TestGuestShares : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void inviteFromCreateToStop();
    void createRefusals_data();
    void createRefusals();
    void hostileGuests_data();
    void hostileGuests();

private:
    struct Setup
    {
        CloudProcess server;
        LiveAccount account;
        LivePeer host; // computer kHostCid in run "run-1", ports ser-0 (relays allowed) and ser-1
        QString databaseUrl;
    };
    void prepare(Setup &setup);
    // Creates a share of ser-0 (view, relay, 1 h) changed by `changes`, as the host
    // computer unless `token` names another sign-in.
    CloudProcess::Reply createShare(Setup &setup, const QJsonObject &changes = {},
                                    QString token = {});
    CloudProcess::Reply join(Setup &setup, const QString &code, const QJsonObject &changes = {});
    // A browser guest on the console socket; true once greeted.
    bool openGuest(Setup &setup, LivePeer &guest, const QString &token);
    // Runs `sql` on the server's store; the first value it gives goes to `value`.
    bool runInStore(Setup &setup, const QString &sql, QString *value = nullptr);
    // A command the owner sends now must be the next the host hears: whatever a guest
    // tried before it never reached the host.
    void verifyHostHeardNothingElse(Setup &setup);

    PgCluster postgres;
    QString postgresProblem;
    std::unique_ptr<Setup> shared; // for the refused creations, which keep nothing
};

void TestGuestShares::initTestCase()
{
    if (!postgres.start(&postgresProblem))
        qWarning("PostgreSQL cannot start here, the store is SQLite: %s",
                 qPrintable(postgresProblem));
}

void TestGuestShares::cleanupTestCase()
{
    shared.reset();
}

void TestGuestShares::prepare(Setup &setup)
{
    QStringList arguments;
    QString why;
    if (postgresProblem.isEmpty()) {
        setup.databaseUrl =
            postgres.createDatabase(u"g"_qs + QUuid::createUuid().toString(QUuid::Id128), &why);
        QVERIFY2(!setup.databaseUrl.isEmpty(), qPrintable(why));
        arguments << u"--database"_qs << setup.databaseUrl;
    }
    QVERIFY2(setup.server.start(arguments, &why), qPrintable(why));
    setup.account =
        LiveAccount::create(setup.server, u"guests@example.com"_qs, kHostCid, kClientCid);
    QVERIFY(!setup.account.hostToken.isEmpty());
    QVERIFY(setup.host.openConsole(setup.server.baseUrl(), setup.account.hostToken, kHostCid,
                                   u"run-1"_qs));
    const QJsonArray ports{
        QJsonObject{{u"port_key"_qs, u"ser-0"_qs},
                    {u"display_name"_qs, u"/dev/ttyUSB0"_qs},
                    {u"capabilities"_qs, QJsonArray{u"open_relay"_qs}}},
        QJsonObject{{u"port_key"_qs, u"ser-1"_qs}, {u"display_name"_qs, u"/dev/ttyACM0"_qs}}};
    setup.host.sendJson({{u"type"_qs, u"snapshot"_qs},
                         {u"cid"_qs, kHostCid},
                         {u"session_id"_qs, u"run-1"_qs},
                         {u"ports"_qs, ports}});
    QVERIFY(setup.host.waitFor(u"snapshot"_qs)[u"status"].toBool());
}

CloudProcess::Reply TestGuestShares::createShare(Setup &setup, const QJsonObject &changes,
                                                 QString token)
{
    const QJsonObject body{
        {u"cid"_qs, kHostCid},     {u"session_id"_qs, u"run-1"_qs},   {u"port_key"_qs, u"ser-0"_qs},
        {u"ttl_seconds"_qs, 3600}, {u"label"_qs, u"Sensor board"_qs}, {u"web"_qs, u"view"_qs},
        {u"relay"_qs, true}};
    return setup.server.call("POST", u"/api/v3/relay/shares"_qs, merged(body, changes),
                             token.isEmpty() ? setup.account.hostToken : token);
}

CloudProcess::Reply TestGuestShares::join(Setup &setup, const QString &code,
                                          const QJsonObject &changes)
{
    const QJsonObject body{
        {u"code"_qs, code}, {u"guest_name"_qs, u"Ada"_qs}, {u"route"_qs, u"web"_qs}};
    return setup.server.call("POST", u"/api/v3/relay/join"_qs, merged(body, changes));
}

bool TestGuestShares::openGuest(Setup &setup, LivePeer &guest, const QString &token)
{
    guest.socket.open(
        QUrl(setup.server.baseUrl().replace(u"http"_qs, u"ws"_qs) + u"/ws/console/v1"_qs));
    if (!QTest::qWaitFor([&]() { return guest.isConnected() || guest.wasClosed(); }, 10000) ||
        guest.wasClosed())
        return false;
    guest.sendJson(
        {{u"type"_qs, u"hello"_qs}, {u"role"_qs, u"guest"_qs}, {u"guest_token"_qs, token}});
    return guest.waitFor(u"hello"_qs)[u"status"].toBool();
}

bool TestGuestShares::runInStore(Setup &setup, const QString &sql, QString *value)
{
    bool ok = false;
    {
        QSqlDatabase db;
        if (setup.databaseUrl.isEmpty()) {
            db = QSqlDatabase::addDatabase(u"QSQLITE"_qs, u"edit"_qs);
            db.setDatabaseName(setup.server.dataDir() + u"/velmora-cloud.sqlite"_qs);
            db.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=5000"_qs);
        } else {
            const QUrl url(setup.databaseUrl);
            db = QSqlDatabase::addDatabase(u"QPSQL"_qs, u"edit"_qs);
            db.setHostName(url.host());
            db.setPort(url.port());
            db.setUserName(url.userName());
            db.setDatabaseName(url.path().mid(1));
        }
        QSqlQuery query(db);
        ok = db.open() && query.exec(sql);
        if (ok && value && query.next())
            *value = query.value(0).toString();
    }
    QSqlDatabase::removeDatabase(u"edit"_qs);
    return ok;
}

void TestGuestShares::verifyHostHeardNothingElse(Setup &setup)
{
    const auto probe = setup.server.call(
        "POST", u"/api/v3/console/devices/"_qs + kHostCid + u"/commands"_qs,
        QJsonObject{{u"command"_qs, u"request_snapshot"_qs}}, setup.account.clientToken);
    QCOMPARE(probe.json[u"code"].toString(), u"ok"_qs);
    const QJsonArray heard = setup.host.waitFor(u"commands"_qs)[u"commands"].toArray();
    QCOMPARE(heard.size(), 1);
    QCOMPARE(heard[0][u"command"].toString(), u"request_snapshot"_qs);
}

void TestGuestShares::inviteFromCreateToStop()
{
    Setup setup;
    prepare(setup);
    if (QTest::currentTestFailed())
        return;
    const auto created = createShare(setup, {{u"passcode"_qs, kPasscode}});
    QCOMPARE(created.json[u"code"].toString(), u"ok"_qs);
    const QJsonObject share = created.json[u"share"].toObject();
    const QString code = share[u"code"].toString();
    const QString shareId = share[u"share_id"].toString();
    QVERIFY(share[u"link"].toString().endsWith(u"/console#join="_qs + code.left(4) + u'-' +
                                               code.mid(4, 4) + u'-' + code.mid(8)));
    QVERIFY(share[u"passcode_required"].toBool());
    QVERIFY(!QJsonDocument(created.json).toJson().contains(kPasscode.toUtf8()));

    // A guest pastes the link, in lower case.
    const auto peek = setup.server.call("GET", u"/api/v3/relay/join/"_qs + code.toLower());
    QCOMPARE(peek.json[u"label"].toString(), u"Sensor board"_qs);
    QVERIFY(peek.json[u"passcode_required"].toBool() && peek.json[u"online"].toBool());
    QVERIFY(!peek.json[u"busy"].toBool());

    // A browser guest watches ser-0 and sees nothing of ser-1.
    const auto web = join(setup, share[u"link"].toString(),
                          {{u"passcode"_qs, kPasscode}, {u"guest_name"_qs, u"Bob"_qs}});
    QCOMPARE(web.json[u"web"].toString(), u"view"_qs);
    LivePeer browser;
    QVERIFY(openGuest(setup, browser, web.json[u"guest_token"].toString()));
    const QJsonObject watch = browser.waitFor(u"watch"_qs);
    QCOMPARE(watch[u"device"][u"ports"].toArray().size(), 1);
    QVERIFY(setup.host.waitFor(u"watching"_qs)[u"watching"].toBool());
    setup.host.sendJson(
        {{u"type"_qs, u"events"_qs},
         {u"cid"_qs, kHostCid},
         {u"events"_qs, QJsonArray{QJsonObject{{u"port_key"_qs, u"ser-1"_qs},
                                               {u"event_type"_qs, u"rx"_qs},
                                               {u"payload_text"_qs, u"secret of ser-1"_qs}},
                                   QJsonObject{{u"port_key"_qs, u"ser-0"_qs},
                                               {u"event_type"_qs, u"rx"_qs},
                                               {u"payload_text"_qs, u"T=21.4C"_qs}}}}});
    const QJsonArray seen = browser.waitFor(u"events"_qs)[u"events"].toArray();
    QCOMPARE(seen.size(), 1);
    QCOMPARE(seen[0][u"payload_text"].toString(), u"T=21.4C"_qs);

    // A second copy of Velmora joins as a relay; the host is told who, for which share.
    const auto relay =
        join(setup, code, {{u"passcode"_qs, kPasscode}, {u"route"_qs, QJsonValue::Null}});
    QVERIFY2(!relay.json[u"ticket"].toString().isEmpty(), relay.raw.constData());
    const QJsonObject open = setup.host.waitFor(u"commands"_qs)[u"commands"][0].toObject();
    QCOMPARE(open[u"command"].toString(), u"open_relay"_qs);
    QCOMPARE(open[u"share_id"].toString(), shareId);
    QCOMPARE(open[u"payload"][u"guest_name"].toString(), u"Ada"_qs);
    LivePeer hostEnd;
    LivePeer guestEnd;
    hostEnd.openRelay(setup.server.baseUrl(), open[u"payload"][u"ticket"].toString());
    guestEnd.openRelay(setup.server.baseUrl(), relay.json[u"ticket"].toString());
    QVERIFY(!guestEnd.waitFor(u"ready"_qs).isEmpty() && !hostEnd.waitFor(u"ready"_qs).isEmpty());
    const QByteArray bytes("\xff\xff\x00AT\r\n", 7);
    guestEnd.sendBinary(bytes, 8192);
    QTRY_COMPARE(hostEnd.binary, bytes);

    // The owner's lists show both guests.
    const auto listed = setup.server.call("GET", u"/api/v3/relay/shares?cid="_qs + kHostCid,
                                          QByteArray(), setup.account.hostToken);
    const QJsonObject live = listed.json[u"shares"][0].toObject();
    QCOMPARE(live[u"guest"][u"name"].toString(), u"Ada"_qs);
    QCOMPARE(live[u"web_guests"][0][u"name"].toString(), u"Bob"_qs);
    const auto overview = setup.server.call("GET", u"/api/v3/relay/shares"_qs, QByteArray(),
                                            setup.account.clientToken);
    QCOMPARE(overview.json[u"shares"].toArray().size(), 1);
    QCOMPARE(overview.json[u"devices"].toArray().size(), 2);

    // Stopping the share ends the relay and the browser at once.
    const auto stopped = setup.server.call("DELETE", u"/api/v3/relay/shares/"_qs + shareId,
                                           QByteArray(), setup.account.clientToken);
    QCOMPARE(stopped.json[u"revoked"][0][u"reason"].toString(), u"owner"_qs);
    QVERIFY(!guestEnd.waitFor(u"closing"_qs).isEmpty() &&
            !hostEnd.waitFor(u"closing"_qs).isEmpty());
    QCOMPARE(browser.waitFor(u"share_ended"_qs)[u"reason"].toString(), u"owner"_qs);
    QTRY_VERIFY(browser.wasClosed() && guestEnd.wasClosed());
    QCOMPARE(setup.server.call("GET", u"/api/v3/relay/join/"_qs + code).json[u"code"].toString(),
             u"share_revoked"_qs);

    // The passcode is kept hashed; the log names the share but no secret.
    QString hash;
    QVERIFY(runInStore(setup, u"SELECT passcode_hash FROM guest_shares"_qs, &hash));
    QVERIFY2(hash.startsWith(u"$argon2id$"_qs), qPrintable(hash));
    const QByteArray log = setup.server.log();
    QVERIFY(log.contains(shareId.toUtf8()));
    for (const QString &secret :
         {code, code.left(4) + u'-' + code.mid(4, 4), kPasscode, relay.json[u"ticket"].toString(),
          relay.json[u"guest_token"].toString(), web.json[u"guest_token"].toString()})
        QVERIFY2(!log.contains(secret.toUtf8()), qPrintable(secret));
}

void TestGuestShares::createRefusals_data()
{
    QTest::addColumn<QJsonObject>("changes");
    QTest::addColumn<QString>("who");
    QTest::addColumn<QString>("code");
    QTest::newRow("no passcode, browser only")
        << QJsonObject{{u"relay"_qs, false}} << u"host"_qs << u"ok"_qs;
    QTest::newRow("a lifetime not offered")
        << QJsonObject{{u"ttl_seconds"_qs, 7200}} << u"host"_qs << u"invalid_field"_qs;
    QTest::newRow("no way in") << QJsonObject{{u"web"_qs, u"none"_qs}, {u"relay"_qs, false}}
                               << u"host"_qs << u"invalid_field"_qs;
    QTest::newRow("three-character passcode")
        << QJsonObject{{u"passcode"_qs, u"abc"_qs}} << u"host"_qs << u"invalid_field"_qs;
    QTest::newRow("seventeen-character passcode")
        << QJsonObject{{u"passcode"_qs, QString(17, u'x')}} << u"host"_qs << u"invalid_field"_qs;
    QTest::newRow("port not reported")
        << QJsonObject{{u"port_key"_qs, u"ser-9"_qs}} << u"host"_qs << u"port_not_found"_qs;
    QTest::newRow("another run") << QJsonObject{{u"session_id"_qs, u"run-0"_qs}} << u"host"_qs
                                 << u"session_mismatch"_qs;
    QTest::newRow("computer not reported in")
        << QJsonObject{{u"cid"_qs, kClientCid}} << u"client"_qs << u"device_not_ready"_qs;
    QTest::newRow("another computer's sign-in") << QJsonObject() << u"client"_qs << u"forbidden"_qs;
}

void TestGuestShares::createRefusals()
{
    QFETCH(QJsonObject, changes);
    QFETCH(QString, who);
    QFETCH(QString, code);
    // One server for the whole table: a refused creation keeps nothing.
    if (!shared) {
        shared = std::make_unique<Setup>();
        prepare(*shared);
        if (QTest::currentTestFailed())
            return;
    }
    const auto reply =
        createShare(*shared, changes, who == u"host" ? QString() : shared->account.clientToken);
    QCOMPARE(reply.json[u"code"].toString(), code);
    QCOMPARE(reply.json[u"type"].toString(), u"relay"_qs);
}

void TestGuestShares::hostileGuests_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<QJsonObject>("share"); // changes to the default share
    QTest::addColumn<QString>("code");      // what the guest's last try is refused with
    const QJsonObject withPasscode{{u"passcode"_qs, kPasscode}};
    const QJsonObject control{{u"web"_qs, u"control"_qs}};
    QTest::newRow("wrong passcode five times")
        << u"passcodes"_qs << withPasscode << u"too_many_attempts"_qs;
    QTest::newRow("expired share") << u"expired"_qs << QJsonObject() << u"share_expired"_qs;
    QTest::newRow("port B through a share of port A")
        << u"other port"_qs << control << u"share_port_mismatch"_qs;
    QTest::newRow("view-level guest sends")
        << u"view sends"_qs << QJsonObject() << u"permission_denied"_qs;
    QTest::newRow("stopped share") << u"stopped"_qs << QJsonObject() << u"share_revoked"_qs;
    QTest::newRow("host started a new run")
        << u"new run"_qs << QJsonObject() << u"share_revoked"_qs;
    QTest::newRow("second relay guest") << u"busy"_qs << QJsonObject() << u"relay_busy"_qs;
    QTest::newRow("flood of joins on one code")
        << u"flood"_qs << QJsonObject() << u"rate_limited"_qs;
    QTest::newRow("codes guessed from one address")
        << u"guessing"_qs << QJsonObject() << u"rate_limited"_qs;
}

void TestGuestShares::hostileGuests()
{
    QFETCH(QString, situation);
    QFETCH(QJsonObject, share);
    QFETCH(QString, code);
    Setup setup;
    prepare(setup);
    if (QTest::currentTestFailed())
        return;
    const QJsonObject made = createShare(setup, share).json[u"share"].toObject();
    const QString invite = made[u"code"].toString();
    const QString shareId = made[u"share_id"].toString();
    QVERIFY(!invite.isEmpty());
    const QJsonObject right{{u"passcode"_qs, kPasscode}};
    LivePeer browser;
    const auto guestCommand = [&](const QJsonObject &command) {
        browser.sendJson(merged({{u"type"_qs, u"command"_qs}, {u"request_id"_qs, 1}}, command));
        return browser.waitFor(u"command"_qs);
    };
    // A browser guest in before the trouble starts.
    if (situation == u"expired" || situation == u"other port" || situation == u"view sends" ||
        situation == u"stopped") {
        QVERIFY(openGuest(setup, browser, join(setup, invite).json[u"guest_token"].toString()));
        QVERIFY(!browser.waitFor(u"watch"_qs).isEmpty());
        setup.host.waitFor(u"watching"_qs);
    }

    QString last;
    if (situation == u"passcodes") {
        for (int attempt = 1; attempt <= 4; ++attempt) {
            const auto wrong =
                join(setup, invite, {{u"passcode"_qs, u"guess-"_qs + QString::number(attempt)}});
            QCOMPARE(wrong.json[u"code"].toString(), u"invalid_passcode"_qs);
            QCOMPARE(wrong.json[u"attempts_left"].toInt(), 5 - attempt);
        }
        QCOMPARE(join(setup, invite, {{u"passcode"_qs, u"guess-5"_qs}}).json[u"code"].toString(),
                 code);
        // The right passcode comes too late, and the owner's computer learns why.
        last = join(setup, invite, right).json[u"code"].toString();
        const auto listed = setup.server.call("GET", u"/api/v3/relay/shares?cid="_qs + kHostCid,
                                              QByteArray(), setup.account.hostToken);
        QCOMPARE(listed.json[u"revoked"][0][u"reason"].toString(), u"too_many_attempts"_qs);
    } else if (situation == u"expired") {
        // The share ends in the store; the next use anywhere is refused, no sweep needed.
        QVERIFY(runInStore(setup, u"UPDATE guest_shares SET expires_at = 1"_qs));
        QCOMPARE(guestCommand({{u"command"_qs, u"request_snapshot"_qs}})[u"code"].toString(), code);
        QCOMPARE(browser.waitFor(u"share_ended"_qs)[u"reason"].toString(), u"expired"_qs);
        QCOMPARE(
            setup.server.call("GET", u"/api/v3/relay/join/"_qs + invite).json[u"code"].toString(),
            code);
        last = join(setup, invite).json[u"code"].toString();
    } else if (situation == u"other port") {
        browser.sendJson({{u"type"_qs, u"watch"_qs}, {u"port_key"_qs, u"ser-1"_qs}});
        QCOMPARE(browser.waitFor(u"watch"_qs)[u"code"].toString(), code);
        const auto owner =
            setup.server.call("POST", u"/api/v3/console/devices/"_qs + kHostCid + u"/commands"_qs,
                              QJsonObject{{u"command"_qs, u"open_port"_qs},
                                          {u"port_key"_qs, u"ser-1"_qs},
                                          {u"share_id"_qs, shareId}},
                              setup.account.clientToken);
        QCOMPARE(owner.json[u"code"].toString(), code);
        last =
            guestCommand({{u"command"_qs, u"open_port"_qs}, {u"port_key"_qs, u"ser-1"_qs}})[u"code"]
                .toString();
    } else if (situation == u"view sends") {
        QCOMPARE(guestCommand({{u"command"_qs, u"send_hex"_qs},
                               {u"payload"_qs, QJsonObject{{u"hex"_qs, u"41"_qs}}}})[u"code"]
                     .toString(),
                 code);
        last = guestCommand({{u"command"_qs, u"send_text"_qs},
                             {u"payload"_qs, QJsonObject{{u"text"_qs, u"reboot"_qs}}}})[u"code"]
                   .toString();
    } else if (situation == u"stopped" || situation == u"new run") {
        if (situation == u"stopped")
            setup.server.call("DELETE", u"/api/v3/relay/shares/"_qs + shareId, QByteArray(),
                              setup.account.hostToken);
        else
            setup.server.call("POST", u"/api/v3/console/heartbeat"_qs,
                              QJsonObject{{u"cid"_qs, kHostCid}, {u"session_id"_qs, u"run-2"_qs}},
                              setup.account.hostToken);
        if (situation == u"stopped") {
            QCOMPARE(browser.waitFor(u"share_ended"_qs)[u"reason"].toString(), u"owner"_qs);
            LivePeer again;
            QVERIFY(!openGuest(setup, again, join(setup, invite).json[u"guest_token"].toString()));
        }
        last = join(setup, invite).json[u"code"].toString();
    } else if (situation == u"busy") {
        const auto first = join(setup, invite, {{u"route"_qs, u"relay"_qs}});
        QCOMPARE(setup.host.waitFor(u"commands"_qs)[u"commands"][0][u"command"].toString(),
                 u"open_relay"_qs);
        last = join(setup, invite, {{u"route"_qs, u"relay"_qs}, {u"guest_name"_qs, u"Eve"_qs}})
                   .json[u"code"]
                   .toString();
        // The first guest leaves with its own token, and the port is free again.
        const QString path = u"/api/v3/relay/sessions/"_qs + first.json[u"relay_id"].toString();
        QCOMPARE(setup.server.call("DELETE", path, QByteArray(), u"rgt_forged"_qs).status, 404);
        QCOMPARE(
            setup.server.call("DELETE", path, QByteArray(), first.json[u"guest_token"].toString())
                .status,
            200);
        QCOMPARE(join(setup, invite, {{u"route"_qs, u"relay"_qs}}).json[u"code"].toString(),
                 u"ok"_qs);
        QCOMPARE(setup.host.waitFor(u"commands"_qs)[u"commands"][0][u"command"].toString(),
                 u"open_relay"_qs);
    } else if (situation == u"flood") {
        for (int i = 0; i < 10; ++i)
            QCOMPARE(join(setup, invite).json[u"code"].toString(), u"ok"_qs);
        last = join(setup, invite).json[u"code"].toString();
    } else if (situation == u"guessing") {
        for (int i = 0; i < 20; ++i)
            QCOMPARE(
                join(setup, u"7KQ2-M9XD-4H"_qs + QString::number(10 + i)).json[u"code"].toString(),
                u"share_not_found"_qs);
        last = join(setup, invite).json[u"code"].toString();
    }
    QCOMPARE(last, code);
    verifyHostHeardNothingElse(setup);
    QVERIFY(!setup.server.log().contains(invite.toUtf8()));
}

QTEST_MAIN(TestGuestShares)
#include "tst_guestshares.moc"
