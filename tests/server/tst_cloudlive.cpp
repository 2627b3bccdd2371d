// Live Console and Live Relay of a real velmora-cloud on loopback, spoken to as the
// app and a browser would: a host computer on the console socket, a client opening a
// relay by REST, both ends on the relay socket; refusals; and the server's log.

#include "cloudprocess.h"
#include "livepeer.h"

#include <QJsonArray>
#include <QRandomGenerator>
#include <QtTest>

namespace {

const QString kHostCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000a1");
const QString kClientCid = QStringLiteral("0a1b2c3d-0000-4000-8000-0000000000c1");
const QString kPort = QStringLiteral("ser-0");

QByteArray payload(const QString &kind, qsizetype size)
{
    QByteArray bytes(size, char(0xFF));
    if (kind == u"random") {
        // Random bytes with long runs of 0xFF: the byte Telnet doubles, which a relay
        // must never touch.
        auto *random = QRandomGenerator::global();
        for (qsizetype i = 0; i < size; ++i)
            bytes[i] = (i / 512) % 3 == 0 ? char(0xFF) : char(random->bounded(256));
    }
    return bytes;
}

} // namespace

class TestCloudLive : public QObject
{
    Q_OBJECT

private slots:
    void relayCarriesBytesUnchanged_data();
    void relayCarriesBytesUnchanged();
    void relayRefusals_data();
    void relayRefusals();
    void consoleCommandsAndChecks_data();
    void consoleCommandsAndChecks();

private:
    struct Setup
    {
        LiveAccount account;
        std::unique_ptr<LivePeer> host; // on /ws/console/v1 with a port that allows relays
    };
    // A server with `arguments`, an account with two computers, and the host online.
    void prepare(CloudProcess &server, const QStringList &arguments, Setup *setup, bool relayCapable = true);
    // Opens a relay by REST and has the host join it; returns the client's ticket.
    QJsonObject openRelay(CloudProcess &server, Setup &setup, LivePeer *hostEnd);
};

void TestCloudLive::prepare(CloudProcess &server, const QStringList &arguments, Setup *setup,
                            bool relayCapable)
{
    QString why;
    QVERIFY2(server.start(arguments, &why), qPrintable(why));
    setup->account = LiveAccount::create(server, QStringLiteral("live@example.com"), kHostCid, kClientCid);
    QVERIFY(!setup->account.hostToken.isEmpty() && !setup->account.clientToken.isEmpty());
    setup->host = std::make_unique<LivePeer>();
    QVERIFY(setup->host->openConsole(server.baseUrl(), setup->account.hostToken, kHostCid,
                                     QStringLiteral("run-1")));
    QJsonObject port{{QStringLiteral("port_key"), kPort}, {QStringLiteral("display_name"), QStringLiteral("ttyUSB0")},
                     {QStringLiteral("is_open"), true}, {QStringLiteral("connection_mode"), 0}};
    if (relayCapable)
        port.insert(QStringLiteral("capabilities"), QJsonArray{QStringLiteral("open_relay")});
    setup->host->sendJson({{QStringLiteral("type"), QStringLiteral("snapshot")},
                           {QStringLiteral("cid"), kHostCid},
                           {QStringLiteral("session_id"), QStringLiteral("run-1")},
                           {QStringLiteral("ports"), QJsonArray{port}}});
    QVERIFY(setup->host->waitFor(QStringLiteral("snapshot"))[u"status"].toBool());
}

QJsonObject TestCloudLive::openRelay(CloudProcess &server, Setup &setup, LivePeer *hostEnd)
{
    const auto opened = server.call("POST", QStringLiteral("/api/v3/relay/sessions"),
                                    QJsonObject{{QStringLiteral("cid"), kHostCid},
                                                {QStringLiteral("session_id"), QStringLiteral("client-run")},
                                                {QStringLiteral("port_key"), kPort}},
                                    setup.account.clientToken);
    if (opened.status != 200)
        return opened.json;
    // The host is told over its socket, with its own run's id, to open the relay.
    const QJsonObject commands = setup.host->waitFor(QStringLiteral("commands"));
    const QJsonObject command = commands[u"commands"][0].toObject();
    if (command[u"command"].toString() != u"open_relay" || command[u"session_id"].toString() != u"run-1"
        || command[u"payload"][u"relay_id"] != opened.json[u"relay_id"])
        return {};
    QJsonObject result = opened.json;
    result.insert(QStringLiteral("host_command"), command);
    if (hostEnd)
        hostEnd->openRelay(server.baseUrl(), command[u"payload"][u"ticket"].toString());
    return result;
}

void TestCloudLive::relayCarriesBytesUnchanged_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("size");
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("1 MiB random with 0xFF runs") << u"random"_qs << 1024 * 1024 << QStringList();
    QTest::newRow("all 0xFF, odd size") << u"ff"_qs << 100001 << QStringList();
    QTest::newRow("over the rate limit") << u"random"_qs << 300000
                                         << QStringList{u"--relay-rate-limit"_qs, u"262144"_qs};
}

void TestCloudLive::relayCarriesBytesUnchanged()
{
    QFETCH(QString, kind);
    QFETCH(int, size);
    QFETCH(QStringList, arguments);
    CloudProcess server;
    Setup setup;
    prepare(server, arguments, &setup);
    if (QTest::currentTestFailed())
        return;
    LivePeer hostEnd;
    LivePeer clientEnd;
    const QJsonObject opened = openRelay(server, setup, &hostEnd);
    QVERIFY2(opened.contains(u"host_command"_qs), QJsonDocument(opened).toJson().constData());
    const QString ticket = opened[u"ticket"].toString();
    clientEnd.openRelay(server.baseUrl(), ticket);
    for (LivePeer *end : {&hostEnd, &clientEnd}) {
        const QJsonObject ready = end->waitFor(QStringLiteral("ready"));
        QCOMPARE(ready[u"port_key"].toString(), kPort);
        QCOMPARE(ready[u"relay_id"], opened[u"relay_id"]);
    }

    // Both ways at once, in messages larger than a relay piece.
    const QByteArray up = payload(kind, size);
    const QByteArray down = payload(kind, size / 2 + 7);
    clientEnd.sendBinary(up, 20000);
    hostEnd.sendBinary(down, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(hostEnd.binary.size(), up.size(), 30000);
    QTRY_COMPARE_WITH_TIMEOUT(clientEnd.binary.size(), down.size(), 30000);
    QVERIFY(hostEnd.binary == up);
    QVERIFY(clientEnd.binary == down);
    QCOMPARE(hostEnd.largestMessage, 8192);
    QCOMPARE(clientEnd.seen(QStringLiteral("rate_limited")), !arguments.isEmpty());

    // The host reports its command done; the client closes the relay by REST and both
    // ends are told.
    setup.host->sendJson({{QStringLiteral("type"), QStringLiteral("result")},
                          {QStringLiteral("command_id"), opened[u"host_command"][u"command_id"]},
                          {QStringLiteral("result"), QJsonObject{{QStringLiteral("status"), QStringLiteral("succeeded")}}}});
    QCOMPARE(setup.host->waitFor(QStringLiteral("result"))[u"command_id"], opened[u"host_command"][u"command_id"]);
    const QString path = u"/api/v3/relay/sessions/"_qs + opened[u"relay_id"].toString();
    QCOMPARE(server.call("DELETE", path, QByteArray(), setup.account.clientToken).status, 200);
    for (LivePeer *end : {&hostEnd, &clientEnd}) {
        QVERIFY(!end->waitFor(QStringLiteral("closing")).isEmpty());
        QTRY_VERIFY(!end->isConnected());
    }

    // The used ticket opens nothing, and no ticket reached the log.
    LivePeer late;
    late.openRelay(server.baseUrl(), ticket);
    QTRY_VERIFY_WITH_TIMEOUT(late.wasClosed(), 10000);
    QVERIFY(!late.seen(QStringLiteral("ready")));
    const QByteArray log = server.log();
    QVERIFY(log.contains("/ws/relay/v1") && log.contains(opened[u"relay_id"].toString().toUtf8()));
    QVERIFY(!log.contains(ticket.toUtf8()));
    QVERIFY(!log.contains(opened[u"host_command"][u"payload"][u"ticket"].toString().toUtf8()));
    QVERIFY(!log.contains("rtk_"));
}

void TestCloudLive::relayRefusals_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<QString>("clientHears"); // the client's last message, or the REST code
    QTest::newRow("unknown ticket") << u"unknown ticket"_qs << u"closed"_qs;
    QTest::newRow("port does not allow relays") << u"not capable"_qs << u"permission_denied"_qs;
    QTest::newRow("host refuses") << u"host refuses"_qs << u"peer_refused"_qs;
    QTest::newRow("allowance used up") << u"allowance"_qs << u"quota_exhausted"_qs;
    QTest::newRow("host leaves") << u"host leaves"_qs << u"peer_gone"_qs;
}

void TestCloudLive::relayRefusals()
{
    QFETCH(QString, situation);
    QFETCH(QString, clientHears);
    CloudProcess server;
    Setup setup;
    prepare(server, situation == u"allowance" ? QStringList{u"--relay-allowance"_qs, u"50000"_qs} : QStringList(),
            &setup, situation != u"not capable");
    if (QTest::currentTestFailed())
        return;
    LivePeer hostEnd;
    LivePeer clientEnd;
    if (situation == u"unknown ticket") {
        clientEnd.openRelay(server.baseUrl(), QStringLiteral("rtk_not-a-ticket"));
        QTRY_VERIFY_WITH_TIMEOUT(clientEnd.wasClosed(), 10000);
        QVERIFY2(clientEnd.closeReason.contains(u"ticket"_qs), qPrintable(clientEnd.closeReason));
        QCOMPARE(clientEnd.socket.closeCode(), QWebSocketProtocol::CloseCodePolicyViolated);
        return;
    }
    const QJsonObject opened = openRelay(server, setup, situation == u"host refuses" ? nullptr : &hostEnd);
    if (situation == u"not capable") {
        QCOMPARE(opened[u"code"].toString(), clientHears);
        return;
    }
    clientEnd.openRelay(server.baseUrl(), opened[u"ticket"].toString());
    if (situation == u"host refuses") {
        setup.host->sendJson({{QStringLiteral("type"), QStringLiteral("result")},
                              {QStringLiteral("command_id"), opened[u"host_command"][u"command_id"]},
                              {QStringLiteral("result"), QJsonObject{{QStringLiteral("status"), QStringLiteral("failed")},
                                                                     {QStringLiteral("error_code"), QStringLiteral("relay_busy")}}}});
        QCOMPARE(clientEnd.waitFor(clientHears)[u"reason"].toString(), u"relay_busy"_qs);
    } else {
        QVERIFY(!clientEnd.waitFor(QStringLiteral("ready")).isEmpty());
        if (situation == u"host leaves")
            hostEnd.close();
        else
            clientEnd.sendBinary(payload(QStringLiteral("ff"), 60000), 8192);
        QVERIFY(!clientEnd.waitFor(clientHears).isEmpty());
        // Whatever passed before the end passed whole, in order.
        QVERIFY(hostEnd.binary == payload(QStringLiteral("ff"), hostEnd.binary.size()));
    }
    QTRY_VERIFY_WITH_TIMEOUT(clientEnd.wasClosed(), 10000);
}

void TestCloudLive::consoleCommandsAndChecks_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonObject>("body");
    QTest::addColumn<QString>("who"); // whose token: owner (a browser), host, or client
    QTest::addColumn<QString>("code");
    const QJsonObject send{{u"command"_qs, u"send_text"_qs}, {u"port_key"_qs, kPort},
                           {u"payload"_qs, QJsonObject{{u"text"_qs, u"PING"_qs}, {u"line_ending"_qs, u"crlf"_qs}}}};
    const QString commands = u"/api/v3/console/devices/"_qs + kHostCid + u"/commands"_qs;
    QTest::newRow("send text") << QByteArray("POST") << commands << send << u"client"_qs << u"ok"_qs;
    QJsonObject shared = send;
    shared.insert(u"share_id"_qs, u"shr_1"_qs);
    QTest::newRow("a share that is not there") << QByteArray("POST") << commands << shared << u"client"_qs
                                               << u"share_not_found"_qs;
    QJsonObject relay = send;
    relay.insert(u"command"_qs, u"open_relay"_qs);
    QTest::newRow("browser opens a relay") << QByteArray("POST") << commands << relay << u"client"_qs
                                           << u"unsupported_command"_qs;
    QJsonObject badHex = send;
    badHex.insert(u"command"_qs, u"send_hex"_qs);
    badHex.insert(u"payload"_qs, QJsonObject{{u"hex"_qs, u"0G 1"_qs}});
    QTest::newRow("bad hex") << QByteArray("POST") << commands << badHex << u"client"_qs << u"invalid_field"_qs;
    QTest::newRow("unbound computer")
        << QByteArray("POST") << u"/api/v3/console/devices/0a1b2c3d-0000-4000-8000-0000000000ff/commands"_qs
        << send << u"client"_qs << u"not_found"_qs;
    QTest::newRow("a sign-in speaks for its own computer only")
        << QByteArray("POST") << u"/api/v3/console/heartbeat"_qs
        << QJsonObject{{u"cid"_qs, kHostCid}, {u"session_id"_qs, u"x"_qs}} << u"client"_qs << u"forbidden"_qs;
    QTest::newRow("events beyond the allowance")
        << QByteArray("POST") << u"/api/v3/console/events"_qs
        << QJsonObject{{u"cid"_qs, kHostCid},
                       {u"events"_qs, QJsonArray{QJsonObject{{u"port_key"_qs, kPort}, {u"event_type"_qs, u"rx"_qs},
                                                             {u"payload_text"_qs, QString(3000, u'x')}}}}}
        << u"host"_qs << u"quota_exceeded"_qs;
    QTest::newRow("no token") << QByteArray("GET") << u"/api/v3/console/devices"_qs << QJsonObject() << u""_qs
                              << u"unauthorized"_qs;
}

void TestCloudLive::consoleCommandsAndChecks()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    QFETCH(QJsonObject, body);
    QFETCH(QString, who);
    QFETCH(QString, code);
    CloudProcess server;
    Setup setup;
    prepare(server, {u"--monthly-quota"_qs, u"2000"_qs}, &setup);
    if (QTest::currentTestFailed())
        return;
    const QString token = who == u"host" ? setup.account.hostToken
                          : who == u"client" ? setup.account.clientToken : QString();
    const auto reply = server.call(method, path, body, token);
    QCOMPARE(reply.json[u"code"].toString(), code);
    QCOMPARE(reply.json[u"type"].toString(), u"console"_qs);
    if (code != u"ok")
        return;

    // The command reaches the host once, over its socket; its result reaches the
    // browser's status query.
    const QJsonObject command = setup.host->waitFor(QStringLiteral("commands"))[u"commands"][0].toObject();
    QCOMPARE(command[u"payload"][u"text"].toString(), u"PING"_qs);
    QCOMPARE(command[u"session_id"].toString(), u"run-1"_qs);
    const QString id = reply.json[u"command"][u"command_id"].toString();
    QCOMPARE(command[u"command_id"].toString(), id);
    const auto result = server.call("POST", u"/api/v3/console/commands/"_qs + id + u"/result"_qs,
                                    QJsonObject{{u"cid"_qs, kHostCid}, {u"status"_qs, u"failed"_qs},
                                                {u"error_code"_qs, u"permission_denied"_qs},
                                                {u"message"_qs, u"remote send is disabled on the device"_qs}},
                                    setup.account.hostToken);
    QCOMPARE(result.json[u"command_id"].toString(), id);
    const auto status = server.call("GET", u"/api/v3/console/commands/"_qs + id, QByteArray(),
                                    setup.account.clientToken);
    QCOMPARE(status.json[u"command"][u"state"].toString(), u"failed"_qs);
    QCOMPARE(status.json[u"command"][u"error_code"].toString(), u"permission_denied"_qs);

    // Over REST, a run that displaced another and is displaced back hears of the clash.
    const auto beat = [&](const QString &run) {
        return server.call("POST", u"/api/v3/console/heartbeat"_qs,
                           QJsonObject{{u"cid"_qs, kHostCid}, {u"session_id"_qs, run}}, setup.account.hostToken).json;
    };
    QVERIFY(!beat(u"run-2"_qs).contains(u"cid_conflict"_qs));
    QVERIFY(beat(u"run-1"_qs)[u"cid_conflict"].toBool());
    QVERIFY(beat(u"run-2"_qs)[u"need_snapshot"].toBool());
}

QTEST_MAIN(TestCloudLive)
#include "tst_cloudlive.moc"
