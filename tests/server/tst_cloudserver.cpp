// The real velmora-cloud over HTTP on loopback: accounts, devices and sync as the app
// uses them, on SQLite and on PostgreSQL; hostile input to every endpoint; rate
// limits; two instances sharing one PostgreSQL store; and no secret left in clear in
// the store or the log.

#include "cloudprocess.h"
#include "pgcluster.h"

#include <QDir>
#include <QJsonArray>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QUuid>
#include <QtTest>

namespace {

const QString kCidA = QStringLiteral("0a1b2c3d-0000-4000-8000-00000000000a");
const QString kCidB = QStringLiteral("0a1b2c3d-0000-4000-8000-00000000000b");
const QString kPassword = QStringLiteral("correct horse 42");

struct Tokens
{
    QString access;
    QString refresh;
};

Tokens tokensOf(const CloudProcess::Reply &reply)
{
    return {reply.json.value(QStringLiteral("access_token")).toString(),
            reply.json.value(QStringLiteral("refresh_token")).toString()};
}

QJsonObject loginBody(const QString &email, const QString &password, const QString &cid)
{
    return {{QStringLiteral("email"), email}, {QStringLiteral("password"), password},
            {QStringLiteral("cid"), cid}, {QStringLiteral("device_name"), QStringLiteral("Bench PC")},
            {QStringLiteral("client_version"), QStringLiteral("0.1.0")}};
}

// Every reply, good or bad, carries the four fields the app routes and explains by.
bool wellFormed(const CloudProcess::Reply &reply, const QString &type)
{
    const QJsonObject &j = reply.json;
    return j.value(QStringLiteral("type")).toString() == type && j.value(QStringLiteral("status")).isBool()
           && !j.value(QStringLiteral("description")).toString().isEmpty()
           && !j.value(QStringLiteral("code")).toString().isEmpty();
}

} // namespace

class TestCloudServer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void accountLifecycle_data();
    void accountLifecycle();
    void devicesAndSyncConflicts_data();
    void devicesAndSyncConflicts();
    void badInputGetsJsonRefusal_data();
    void badInputGetsJsonRefusal();
    void keepsServingAfterAbuse();
    void rateLimitsAndTokenExpiry();
    void twoInstancesShareOnePostgres();
    void releaseAndClientReports();

private:
    // Starts `server` on the backend (a fresh PostgreSQL database, or SQLite).
    void startOn(CloudProcess &server, const QString &backend, QStringList extra = {});
    Tokens registerUser(CloudProcess &server, const QString &email, const QString &cid);
    // Every byte the store keeps, as text, to search for secrets.
    QByteArray storeContents(CloudProcess &server, const QString &backend);

    PgCluster postgres;
    QString postgresProblem;
    QString lastDatabaseUrl;
    CloudProcess shared;   // for the hostile-input tests
    Tokens sharedTokens;
};

void TestCloudServer::initTestCase()
{
    if (!postgres.start(&postgresProblem))
        qWarning("PostgreSQL runs are skipped: %s", qPrintable(postgresProblem));
    startOn(shared, QStringLiteral("sqlite"));
    sharedTokens = registerUser(shared, QStringLiteral("hostile@example.com"), kCidA);
    QVERIFY(!sharedTokens.access.isEmpty());
}

void TestCloudServer::startOn(CloudProcess &server, const QString &backend, QStringList extra)
{
    if (backend == u"postgresql") {
        if (!postgresProblem.isEmpty())
            QSKIP(qPrintable(u"PostgreSQL cannot start here: "_qs + postgresProblem));
        QString why;
        const QString name = QStringLiteral("t") + QUuid::createUuid().toString(QUuid::Id128);
        lastDatabaseUrl = postgres.createDatabase(name, &why);
        QVERIFY2(!lastDatabaseUrl.isEmpty(), qPrintable(why));
        extra << QStringLiteral("--database") << lastDatabaseUrl;
    }
    QString why;
    QVERIFY2(server.start(extra, &why), qPrintable(why));
}

Tokens TestCloudServer::registerUser(CloudProcess &server, const QString &email, const QString &cid)
{
    const auto sent = server.call("POST", QStringLiteral("/api/v3/account/register/code"),
                                  QJsonObject{{QStringLiteral("email"), email}});
    if (sent.status != 200)
        return {};
    QJsonObject body = loginBody(email, kPassword, cid);
    body.insert(QStringLiteral("username"), QStringLiteral("Tester"));
    body.insert(QStringLiteral("code"), server.mailedCode(email));
    return tokensOf(server.call("POST", QStringLiteral("/api/v3/account/register"), body));
}

QByteArray TestCloudServer::storeContents(CloudProcess &server, const QString &backend)
{
    QByteArray all;
    if (backend == u"sqlite") {
        // The raw files, log included: a secret in a freed page would show here too.
        for (const QString &suffix : {QString(), QStringLiteral("-wal")}) {
            QFile file(server.dataDir() + QStringLiteral("/velmora-cloud.sqlite") + suffix);
            if (file.open(QIODevice::ReadOnly))
                all += file.readAll();
        }
        return all;
    }
    const QUrl url(lastDatabaseUrl);
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), QStringLiteral("dump"));
        db.setHostName(url.host());
        db.setPort(url.port());
        db.setUserName(url.userName());
        db.setDatabaseName(url.path().mid(1));
        if (db.open()) {
            QSqlQuery query(db);
            for (const char *table : {"users", "register_codes", "sessions", "tokens", "devices",
                                      "sync_items", "clients"}) {
                query.exec(QStringLiteral("SELECT t::text FROM %1 t").arg(QLatin1String(table)));
                while (query.next())
                    all += query.value(0).toString().toUtf8() + '\n';
            }
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("dump"));
    return all;
}

void TestCloudServer::accountLifecycle_data()
{
    QTest::addColumn<QString>("backend");
    QTest::newRow("sqlite") << QStringLiteral("sqlite");
    QTest::newRow("postgresql") << QStringLiteral("postgresql");
}

void TestCloudServer::accountLifecycle()
{
    QFETCH(QString, backend);
    CloudProcess server;
    startOn(server, backend);
    const QString email = QStringLiteral("ada@example.com");

    auto sent = server.call("POST", QStringLiteral("/api/v3/account/register/code"),
                            QJsonObject{{QStringLiteral("email"), QStringLiteral(" Ada@Example.COM ")}});
    QCOMPARE(sent.status, 200);
    QVERIFY(wellFormed(sent, QStringLiteral("account")));
    const QString code = server.mailedCode(email);
    QVERIFY2(code.size() == 6, qPrintable(code));

    QJsonObject registration = loginBody(email, kPassword, kCidA);
    registration.insert(QStringLiteral("username"), QStringLiteral("Ada"));
    registration.insert(QStringLiteral("code"), code == u"000000" ? u"111111"_qs : u"000000"_qs);
    auto refused = server.call("POST", QStringLiteral("/api/v3/account/register"), registration);
    QCOMPARE(refused.json.value(QStringLiteral("code")).toString(), u"invalid_code"_qs);

    registration.insert(QStringLiteral("code"), code);
    const auto created = server.call("POST", QStringLiteral("/api/v3/account/register"), registration);
    QCOMPARE(created.status, 200);
    QCOMPARE(created.json[u"user"_qs][u"email"_qs].toString(), email);
    QCOMPARE(created.json[u"device"_qs][u"cid"_qs].toString(), kCidA);
    const Tokens first = tokensOf(created);
    QVERIFY(first.access != first.refresh && !first.access.isEmpty());
    // A used code is gone, and the address is taken.
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/register"), registration).status, 400);

    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/login"),
                         loginBody(email, QStringLiteral("wrong password"), kCidB))
                 .json.value(QStringLiteral("code")).toString(),
             u"invalid_credentials"_qs);
    const auto login = server.call("POST", QStringLiteral("/api/v3/account/login"),
                                   loginBody(email, kPassword, kCidB));
    QCOMPARE(login.status, 200);
    const Tokens second = tokensOf(login);

    const auto me = server.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), first.access);
    QCOMPARE(me.json[u"user"_qs][u"username"_qs].toString(), u"Ada"_qs);
    QCOMPARE(me.json[u"device_count"_qs].toInt(), 2);

    // Refresh rotates: the old refresh token is refused afterwards, and presenting it
    // again ends that sign-in entirely (its new tokens too), since it leaked.
    const QJsonObject oldRefresh{{QStringLiteral("refresh_token"), first.refresh},
                                 {QStringLiteral("cid"), kCidA}};
    const auto rotated = server.call("POST", QStringLiteral("/api/v3/account/token/refresh"), oldRefresh);
    QCOMPARE(rotated.status, 200);
    const Tokens renewed = tokensOf(rotated);
    QVERIFY(renewed.refresh != first.refresh);
    QCOMPARE(server.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), renewed.access).status, 200);
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/token/refresh"), oldRefresh)
                 .json.value(QStringLiteral("code")).toString(),
             u"invalid_refresh_token"_qs);
    QCOMPARE(server.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), renewed.access).status, 401);
    // A refresh token presented for another device is refused.
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/token/refresh"),
                         QJsonObject{{QStringLiteral("refresh_token"), second.refresh},
                                     {QStringLiteral("cid"), kCidA}})
                 .status,
             401);

    // Sign-out with the refresh token ends the session: both tokens are dead.
    const auto out = server.call("POST", QStringLiteral("/api/v3/account/logout"),
                                 QJsonObject{{QStringLiteral("refresh_token"), second.refresh}},
                                 second.access);
    QCOMPARE(out.status, 200);
    QCOMPARE(server.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), second.access).status, 401);
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/token/refresh"),
                         QJsonObject{{QStringLiteral("refresh_token"), second.refresh}})
                 .status,
             401);

    // Neither the store nor the log holds a token, the password or the code in clear.
    const QByteArray stored = storeContents(server, backend);
    QVERIFY(stored.contains("ada@example.com"));
    const QByteArray log = server.log();
    QVERIFY(log.contains("/api/v3/account/login"));
    for (const QString &secret : {first.access, first.refresh, second.access, second.refresh,
                                  renewed.access, renewed.refresh, kPassword, code}) {
        QVERIFY2(!stored.contains(secret.toUtf8()), qPrintable(secret));
        QVERIFY2(!log.contains(secret.toUtf8()), qPrintable(secret));
    }
}

void TestCloudServer::devicesAndSyncConflicts_data()
{
    accountLifecycle_data();
}

void TestCloudServer::devicesAndSyncConflicts()
{
    QFETCH(QString, backend);
    CloudProcess server;
    startOn(server, backend);
    const Tokens a = registerUser(server, QStringLiteral("sync@example.com"), kCidA);
    const Tokens b = tokensOf(server.call("POST", QStringLiteral("/api/v3/account/login"),
                                          loginBody(QStringLiteral("sync@example.com"), kPassword, kCidB)));
    QVERIFY(!a.access.isEmpty() && !b.access.isEmpty());

    const auto devices = server.call("GET", QStringLiteral("/api/v3/account/devices"), QByteArray(), a.access);
    const QJsonArray list = devices.json[u"devices"_qs].toArray();
    QCOMPARE(list.size(), 2);
    QCOMPARE(list[0][u"cid"_qs].toString(), kCidA);
    QVERIFY(list[0][u"current"_qs].toBool() && !list[1][u"current"_qs].toBool());

    // Two computers sync from one revision: the second gets the conflict with the
    // server's item and keeps its own; then the first gets the conflict and takes the
    // cloud's. Neither write is lost unnoticed.
    const QString item = QStringLiteral("/api/v3/sync/items/settings.session/default");
    const auto put = [&](const QString &token, int base, int marker) {
        return server.call("PUT", item,
                           QJsonObject{{QStringLiteral("base_revision"), base},
                                       {QStringLiteral("payload"),
                                        QJsonObject{{QStringLiteral("marker"), marker}}}},
                           token);
    };
    const auto first = put(a.access, 0, 1);
    QCOMPARE(first.json[u"item"_qs][u"revision"_qs].toInt(), 1);
    const auto conflict = put(b.access, 0, 2);
    QCOMPARE(conflict.status, 409);
    QCOMPARE(conflict.json[u"code"_qs].toString(), u"revision_conflict"_qs);
    QCOMPARE(conflict.json[u"server_item"_qs][u"revision"_qs].toInt(), 1);
    QCOMPARE(conflict.json[u"server_item"_qs][u"payload"_qs][u"marker"_qs].toInt(), 1);
    QCOMPARE(put(b.access, 1, 2).json[u"item"_qs][u"revision"_qs].toInt(), 2);

    const auto back = put(a.access, 1, 3);
    QCOMPARE(back.json[u"code"_qs].toString(), u"revision_conflict"_qs);
    QCOMPARE(back.json[u"server_item"_qs][u"updated_by"_qs].toString(), kCidB);
    const auto fetched = server.call("GET", QStringLiteral("/api/v3/sync/items?namespace=settings.session"),
                                     QByteArray(), a.access);
    const QJsonObject cloud = fetched.json[u"items"_qs].toArray().first().toObject();
    QCOMPARE(cloud[u"revision"_qs].toInt(), 2);
    QCOMPARE(cloud[u"payload"_qs][u"marker"_qs].toInt(), 2);
    // A write based on a revision that never existed is a conflict too.
    QCOMPARE(put(a.access, 7, 4).status, 409);
    QCOMPARE(server.call("PUT", QStringLiteral("/api/v3/sync/items/other/none"),
                         QJsonObject{{QStringLiteral("base_revision"), 3},
                                     {QStringLiteral("payload"), QJsonObject()}},
                         a.access)
                 .json[u"server_item"_qs][u"revision"_qs].toInt(-1),
             0);

    // Unbinding computer B signs it out; unbinding it twice finds nothing.
    const QString deviceB = QString::number(list[1][u"id"_qs].toInteger());
    QCOMPARE(server.call("DELETE", u"/api/v3/account/devices/"_qs + deviceB, QByteArray(), a.access).status, 200);
    QCOMPARE(server.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), b.access).status, 401);
    QCOMPARE(server.call("DELETE", u"/api/v3/account/devices/"_qs + deviceB, QByteArray(), a.access).status, 404);
    const auto bound = server.call("POST", QStringLiteral("/api/v3/account/devices/bind"),
                                   QJsonObject{{QStringLiteral("cid"), kCidB.toUpper()}}, a.access);
    QVERIFY2(bound.status == 200, bound.raw.constData());
    QCOMPARE(bound.json[u"device"_qs][u"cid"_qs].toString(), kCidB);
    QCOMPARE(bound.json[u"device"_qs][u"device_name"_qs].toString(), u"Unnamed computer"_qs);
}

void TestCloudServer::badInputGetsJsonRefusal_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("signedIn");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("code");

    const QString code = QStringLiteral("/api/v3/account/register/code");
    const QString reg = QStringLiteral("/api/v3/account/register");
    const QString login = QStringLiteral("/api/v3/account/login");
    const QString refresh = QStringLiteral("/api/v3/account/token/refresh");
    const QString bind = QStringLiteral("/api/v3/account/devices/bind");
    const QString item = QStringLiteral("/api/v3/sync/items/settings.session/default");
    const QString report = u"/api/v3/clients/"_qs + kCidA + u"/info"_qs;
    const QByteArray huge = "{\"email\":\"" + QByteArray(1024 * 1024, 'a') + "\"}";

    // Malformed bodies, on every endpoint that takes one.
    for (const QString &path : {code, reg, login, refresh, bind, item, report}) {
        const QByteArray method = path == item ? "PUT" : "POST";
        const bool auth = path == bind || path == item;
        QTest::addRow("%s bad json", qPrintable(path)) << method << path << QByteArray("{\"email\":") << auth << 400 << u"invalid_json"_qs;
        QTest::addRow("%s array", qPrintable(path)) << method << path << QByteArray("[1,2]") << auth << 400 << u"invalid_json"_qs;
        QTest::addRow("%s empty", qPrintable(path)) << method << path << QByteArray() << auth << 400 << u"invalid_json"_qs;
        QTest::addRow("%s 1 MB", qPrintable(path)) << method << path << huge << auth << 413 << u"payload_too_large"_qs;
    }
    const auto row = [](const char *name, const char *method, const QString &path, const char *body,
                        bool auth, int status, const char *code) {
        QTest::newRow(name) << QByteArray(method) << path << QByteArray(body) << auth << status
                            << QString::fromLatin1(code);
    };
    row("code: no email", "POST", code, "{}", false, 400, "missing_field");
    row("code: email a number", "POST", code, "{\"email\":5}", false, 400, "invalid_field");
    row("code: not an address", "POST", code, "{\"email\":\"a/b@c\"}", false, 400, "invalid_field");
    row("register: username a number", "POST", reg, "{\"email\":\"x@y.z\",\"username\":1,\"password\":\"12345678\",\"code\":\"123456\"}", false, 400, "invalid_field");
    row("register: short password", "POST", reg, "{\"email\":\"x@y.z\",\"username\":\"x\",\"password\":\"1234\",\"code\":\"123456\"}", false, 400, "invalid_field");
    row("register: code with letters", "POST", reg, "{\"email\":\"x@y.z\",\"username\":\"x\",\"password\":\"12345678\",\"code\":\"12ab56\"}", false, 400, "invalid_field");
    row("register: no code mailed", "POST", reg, "{\"email\":\"x@y.z\",\"username\":\"x\",\"password\":\"12345678\",\"code\":\"123456\"}", false, 400, "invalid_code");
    row("login: password a number", "POST", login, "{\"email\":\"x@y.z\",\"password\":7}", false, 400, "invalid_field");
    row("login: bad cid", "POST", login, "{\"email\":\"x@y.z\",\"password\":\"p\",\"cid\":\"xyz\"}", false, 400, "invalid_field");
    row("login: device name with newline", "POST", login, "{\"email\":\"x@y.z\",\"password\":\"p\",\"device_name\":\"a\\nb\"}", false, 400, "invalid_field");
    row("refresh: none", "POST", refresh, "{}", false, 400, "missing_field");
    row("refresh: a list", "POST", refresh, "{\"refresh_token\":[\"x\"]}", false, 400, "invalid_field");
    row("refresh: unknown", "POST", refresh, "{\"refresh_token\":\"vrt_nothing\"}", false, 401, "invalid_refresh_token");
    row("logout: no credentials", "POST", u"/api/v3/account/logout"_qs, "{}", false, 401, "unauthorized");
    row("logout: token a number", "POST", u"/api/v3/account/logout"_qs, "{\"refresh_token\":5}", true, 400, "invalid_field");
    row("me: anonymous", "GET", u"/api/v3/account/me"_qs, "", false, 401, "unauthorized");
    row("devices: anonymous", "GET", u"/api/v3/account/devices"_qs, "", false, 401, "unauthorized");
    row("bind: no cid", "POST", bind, "{}", true, 400, "missing_field");
    row("bind: bad cid", "POST", bind, "{\"cid\":\"0a1b2c3d-0000-4000-8000-00000000000g\"}", true, 400, "invalid_field");
    row("unbind: not a number", "DELETE", u"/api/v3/account/devices/abc"_qs, "", true, 400, "invalid_field");
    row("unbind: unknown", "DELETE", u"/api/v3/account/devices/999999"_qs, "", true, 404, "not_found");
    row("sync get: no namespace", "GET", u"/api/v3/sync/items"_qs, "", true, 400, "missing_field");
    row("sync get: bad namespace", "GET", u"/api/v3/sync/items?namespace=a%20b"_qs, "", true, 400, "invalid_field");
    row("sync put: anonymous", "PUT", item, "{\"base_revision\":0,\"payload\":{}}", false, 401, "unauthorized");
    row("sync put: revision a string", "PUT", item, "{\"base_revision\":\"1\",\"payload\":{}}", true, 400, "invalid_field");
    row("sync put: revision a fraction", "PUT", item, "{\"base_revision\":1.5,\"payload\":{}}", true, 400, "invalid_field");
    row("sync put: revision negative", "PUT", item, "{\"base_revision\":-1,\"payload\":{}}", true, 400, "invalid_field");
    row("sync put: payload a list", "PUT", item, "{\"base_revision\":0,\"payload\":[]}", true, 400, "invalid_field");
    row("sync put: no payload", "PUT", item, "{\"base_revision\":0}", true, 400, "missing_field");
    row("sync put: bad key", "PUT", u"/api/v3/sync/items/settings.session/a%20b"_qs, "{\"base_revision\":0,\"payload\":{}}", true, 400, "invalid_field");
    row("client: bad cid", "GET", u"/api/v3/clients/12345"_qs, "", false, 400, "invalid_field");
    row("report: version a number", "POST", report, "{\"client_version\":5}", false, 400, "invalid_field");
    row("release: no platform", "GET", u"/api/v3/releases/latest"_qs, "", false, 400, "missing_field");
    row("release: bad platform", "GET", u"/api/v3/releases/latest?platform=../x"_qs, "", false, 400, "invalid_field");
    row("quota: anonymous", "GET", u"/api/v3/cloud/quota"_qs, "", false, 401, "unauthorized");
    row("unknown path", "GET", u"/api/v3/account/nothing"_qs, "", false, 404, "not_found");
    row("wrong method", "GET", login, "", false, 405, "method_not_allowed");
}

void TestCloudServer::badInputGetsJsonRefusal()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    QFETCH(bool, signedIn);
    QFETCH(int, status);
    QFETCH(QString, code);

    const auto reply = shared.call(method, path, body, signedIn ? sharedTokens.access : QString());
    QCOMPARE(reply.status, status);
    QCOMPARE(reply.json.value(QStringLiteral("code")).toString(), code);
    QCOMPARE(reply.json.value(QStringLiteral("status")).toBool(true), false);
    const QString type = path.contains(u"/sync/") ? u"sync"_qs
                         : path.contains(u"/clients/") ? u"client"_qs
                         : path.contains(u"/releases/") ? u"release"_qs
                         : path.contains(u"/cloud/") ? u"quota"_qs : u"account"_qs;
    QVERIFY2(wellFormed(reply, type), reply.raw.left(300).constData());
}

void TestCloudServer::keepsServingAfterAbuse()
{
    // A body far past any limit is cut off unread; the server goes on serving.
    const auto flood = shared.call("POST", QStringLiteral("/api/v3/account/login"),
                                   QByteArray(8 * 1024 * 1024, '{'));
    QCOMPARE(flood.status, 0);
    QVERIFY(shared.isRunning());
    QCOMPARE(shared.call("GET", QStringLiteral("/api/v3/health")).status, 200);
    QCOMPARE(shared.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), sharedTokens.access).status, 200);
    const QByteArray log = shared.log();
    QVERIFY2(!log.contains(" 500 "), log.constData());
}

void TestCloudServer::rateLimitsAndTokenExpiry()
{
    CloudProcess server;
    startOn(server, QStringLiteral("sqlite"), {QStringLiteral("--access-token-lifetime"), QStringLiteral("1")});
    const QString email = QStringLiteral("limits@example.com");
    const Tokens tokens = registerUser(server, email, kCidA);
    QVERIFY(!tokens.refresh.isEmpty());

    // A second code within the minute is refused, with the wait given in the reply.
    const QJsonObject other{{QStringLiteral("email"), QStringLiteral("other@example.com")}};
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/register/code"), other).status, 200);
    const auto again = server.call("POST", QStringLiteral("/api/v3/account/register/code"), other);
    QCOMPARE(again.status, 429);
    QCOMPARE(again.json[u"code"_qs].toString(), u"rate_limited"_qs);
    QVERIFY(again.json[u"retry_after"_qs].toInt() >= 1);

    // The access token lives one second; the refresh token still renews it.
    QTRY_COMPARE_WITH_TIMEOUT(server.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), tokens.access).status,
                              401, 10000);
    const auto renewed = server.call("POST", QStringLiteral("/api/v3/account/token/refresh"),
                                     QJsonObject{{QStringLiteral("refresh_token"), tokens.refresh}});
    QCOMPARE(renewed.status, 200);

    // After ten wrong passwords even the right one is refused for a while.
    for (int i = 0; i < 10; ++i) {
        QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/login"),
                             loginBody(email, QStringLiteral("guess %1").arg(i), kCidA))
                     .status,
                 401);
    }
    const auto locked = server.call("POST", QStringLiteral("/api/v3/account/login"),
                                    loginBody(email, kPassword, kCidA));
    QCOMPARE(locked.status, 429);
    QVERIFY(locked.json[u"description"_qs].toString().contains(u"Try again"));
}

void TestCloudServer::twoInstancesShareOnePostgres()
{
    CloudProcess first;
    startOn(first, QStringLiteral("postgresql"));
    CloudProcess second;
    QString why;
    QVERIFY2(second.start({QStringLiteral("--database"), lastDatabaseUrl}, &why), qPrintable(why));

    const Tokens a = registerUser(first, QStringLiteral("shared@example.com"), kCidA);
    QVERIFY(!a.access.isEmpty());
    // A token from one instance is good at the other, and a refresh token rotated at
    // one is refused at the other.
    QCOMPARE(second.call("GET", QStringLiteral("/api/v3/account/me"), QByteArray(), a.access).status, 200);
    const QJsonObject refresh{{QStringLiteral("refresh_token"), a.refresh}};
    QCOMPARE(first.call("POST", QStringLiteral("/api/v3/account/token/refresh"), refresh).status, 200);
    QCOMPARE(second.call("POST", QStringLiteral("/api/v3/account/token/refresh"), refresh).status, 401);

    const Tokens b = tokensOf(second.call("POST", QStringLiteral("/api/v3/account/login"),
                                          loginBody(QStringLiteral("shared@example.com"), kPassword, kCidB)));
    const QString item = QStringLiteral("/api/v3/sync/items/settings.session/default");
    const QJsonObject write{{QStringLiteral("base_revision"), 0}, {QStringLiteral("payload"), QJsonObject()}};
    QCOMPARE(first.call("PUT", item, write, b.access).status, 200);
    QCOMPARE(second.call("PUT", item, write, b.access).json[u"code"_qs].toString(), u"revision_conflict"_qs);
}

void TestCloudServer::releaseAndClientReports()
{
    QFile releases(shared.dataDir() + QStringLiteral("/releases.json"));
    QVERIFY(releases.open(QIODevice::WriteOnly));
    releases.write(R"({"linux-x86_64": {"version": "0.2.0", "url": "https://example.com/v.deb"},
                       "*": {"version": "0.1.9"}})");
    releases.close();
    const auto linux = shared.call("GET", QStringLiteral("/api/v3/releases/latest?platform=linux-x86_64"));
    QCOMPARE(linux.json[u"release"_qs][u"url"_qs].toString(), u"https://example.com/v.deb"_qs);
    const auto other = shared.call("GET", QStringLiteral("/api/v3/releases/latest?platform=windows"));
    QCOMPARE(other.json[u"release"_qs][u"version"_qs].toString(), u"0.1.9"_qs);
    QVERIFY(releases.remove());
    QCOMPARE(shared.call("GET", QStringLiteral("/api/v3/releases/latest?platform=windows"))
                 .json[u"code"_qs].toString(),
             u"no_release"_qs);

    const QString client = u"/api/v3/clients/"_qs + kCidB;
    QCOMPARE(shared.call("GET", client).json[u"client"_qs][u"known"_qs].toBool(true), false);
    QCOMPARE(shared.call("POST", client + u"/info"_qs,
                         QJsonObject{{QStringLiteral("client_version"), QStringLiteral("0.1.0")},
                                     {QStringLiteral("os"), QStringLiteral("Debian 12")}})
                 .status,
             200);
    const auto known = shared.call("GET", client.toUpper().replace(u"/API/V3/CLIENTS"_qs, u"/api/v3/clients"_qs));
    QCOMPARE(known.json[u"client"_qs][u"client_version"_qs].toString(), u"0.1.0"_qs);

    const auto quota = shared.call("GET", QStringLiteral("/api/v3/cloud/quota"), QByteArray(), sharedTokens.access);
    QVERIFY(wellFormed(quota, QStringLiteral("quota")));
    QCOMPARE(quota.json[u"exhausted"_qs].toBool(true), false);
}

QTEST_GUILESS_MAIN(TestCloudServer)
#include "tst_cloudserver.moc"
