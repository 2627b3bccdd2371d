// The server's store on SQLite and on a throwaway PostgreSQL cluster: migrations,
// unique rows, token rotation and expiry, and revisioned sync writes, with the clock
// passed in so that expiry is tested without waiting.

#include "database.h"
#include "pgcluster.h"
#include "sessionstore.h"
#include "syncstore.h"
#include "userstore.h"

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QUuid>
#include <QtTest>

#include <memory>

namespace {

constexpr qint64 kNow = 1'800'000'000'000;
constexpr qint64 kMinute = 60'000;

} // namespace

class TestCloudStore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void migrations_data();
    void migrations();
    void accountsAndTokens_data() { migrations_data(); }
    void accountsAndTokens();
    void syncRevisions_data() { migrations_data(); }
    void syncRevisions();

private:
    // A fresh, migrated store on the row's backend, at `url` (reopen with it).
    std::unique_ptr<Database> openStore(QString *url = nullptr);
    std::unique_ptr<Database> reopen(const QString &url);

    PgCluster postgres;
    QString postgresProblem;
    QTemporaryDir files;
};

void TestCloudStore::initTestCase()
{
    if (!postgres.start(&postgresProblem))
        qWarning("PostgreSQL rows are skipped: %s", qPrintable(postgresProblem));
}

std::unique_ptr<Database> TestCloudStore::reopen(const QString &url)
{
    auto db = std::make_unique<Database>();
    QString error;
    if (!db->open(url, files.path(), &error) || !db->migrate(&error)) {
        qWarning("store: %s", qPrintable(error));
        return nullptr;
    }
    return db;
}

std::unique_ptr<Database> TestCloudStore::openStore(QString *url)
{
    QFETCH(QString, backend);
    const QString name = QStringLiteral("s") + QUuid::createUuid().toString(QUuid::Id128);
    QString address = u"sqlite:"_qs + files.filePath(name);
    if (backend == u"postgresql") {
        if (!postgresProblem.isEmpty())
            return nullptr;
        address = postgres.createDatabase(name, &postgresProblem);
    }
    if (url)
        *url = address;
    return reopen(address);
}

void TestCloudStore::migrations_data()
{
    QTest::addColumn<QString>("backend");
    QTest::newRow("sqlite") << QStringLiteral("sqlite");
    QTest::newRow("postgresql") << QStringLiteral("postgresql");
}

#define OPEN_STORE(db, url)                                                                        \
    auto db = openStore(url);                                                                      \
    if (!db && !postgresProblem.isEmpty())                                                         \
        QSKIP(qPrintable(u"PostgreSQL cannot start here: "_qs + postgresProblem));                 \
    QVERIFY(db)

void TestCloudStore::migrations()
{
    QString url;
    OPEN_STORE(db, &url);
    const int latest = db->schemaVersion();
    QVERIFY(latest >= 1);
    UserRecord user{0, QStringLiteral("keep@example.com"), QStringLiteral("K"), QStringLiteral("h"), kNow};
    QCOMPARE(UserStore(*db).create(&user), UserStore::Created::Ok);
    db.reset();

    // A second start runs nothing again and keeps the rows.
    db = reopen(url);
    QVERIFY(db);
    QCOMPARE(db->schemaVersion(), latest);
    QCOMPARE(UserStore(*db).byEmail(QStringLiteral("keep@example.com"), &user), Lookup::Found);

    // A store already moved on by a newer server is not touched.
    db->run("INSERT INTO schema_migrations (version, applied_at) VALUES (?, ?)", {latest + 1, kNow});
    QVERIFY(db->lastOk());
    db.reset();
    Database newer;
    QString error;
    QVERIFY(newer.open(url, files.path(), &error));
    QVERIFY(!newer.migrate(&error));
    QVERIFY2(error.contains(u"newer"), qPrintable(error));
}

void TestCloudStore::accountsAndTokens()
{
    OPEN_STORE(db, nullptr);
    UserStore users(*db);
    UserRecord user{0, QStringLiteral("t@example.com"), QStringLiteral("T"), QStringLiteral("h"), kNow};
    QCOMPARE(users.create(&user), UserStore::Created::Ok);
    UserRecord twin = user;
    QCOMPARE(users.create(&twin), UserStore::Created::EmailTaken);

    SessionStore sessions(*db, 15 * kMinute, 60 * kMinute);
    TokenPair first;
    QVERIFY(sessions.open(user.id, QStringLiteral("cid-a"), kNow, &first));
    Principal who;
    QCOMPARE(sessions.authenticate(first.accessToken, kNow, &who), Lookup::Found);
    QCOMPARE(who.userId, user.id);
    QCOMPARE(who.cid, u"cid-a"_qs);
    // Tokens are keyed by digest: the clear text is no key, and time ends them.
    QCOMPARE(sessions.authenticate(SessionStore::digest(first.accessToken), kNow, &who), Lookup::Missing);
    QCOMPARE(sessions.authenticate(first.accessToken, kNow + 15 * kMinute, &who), Lookup::Missing);

    TokenPair second;
    qint64 owner = 0;
    QCOMPARE(sessions.rotate(first.refreshToken, QStringLiteral("cid-b"), kNow, &second, &owner),
             SessionStore::Rotated::Refused);
    QCOMPARE(sessions.rotate(first.refreshToken, QStringLiteral("cid-a"), kNow + kMinute, &second, &owner),
             SessionStore::Rotated::Ok);
    QCOMPARE(owner, user.id);
    QCOMPARE(sessions.authenticate(second.accessToken, kNow + kMinute, &who), Lookup::Found);
    // The old token a second time: refused, and the session it belongs to ends.
    TokenPair third;
    QCOMPARE(sessions.rotate(first.refreshToken, QString(), kNow + kMinute, &third, &owner),
             SessionStore::Rotated::Refused);
    QCOMPARE(sessions.authenticate(second.accessToken, kNow + kMinute, &who), Lookup::Missing);

    // An expired refresh token is refused; tidying drops the dead rows.
    TokenPair late;
    QVERIFY(sessions.open(user.id, QString(), kNow, &late));
    QCOMPARE(sessions.rotate(late.refreshToken, QString(), kNow + 60 * kMinute, &third, &owner),
             SessionStore::Rotated::Refused);
    QVERIFY(sessions.purge(kNow + 62 * kMinute));
    QSqlQuery &left = db->run("SELECT (SELECT COUNT(*) FROM tokens) + (SELECT COUNT(*) FROM sessions)");
    QVERIFY(left.next());
    QCOMPARE(left.value(0).toInt(), 0);
}

void TestCloudStore::syncRevisions()
{
    OPEN_STORE(db, nullptr);
    UserRecord user{0, QStringLiteral("s@example.com"), QStringLiteral("S"), QStringLiteral("h"), kNow};
    QCOMPARE(UserStore(*db).create(&user), UserStore::Created::Ok);
    SyncStore sync(*db, 2);
    const auto write = [&](const QString &key, qint64 base, const QByteArray &payload) {
        SyncItem item;
        item.nameSpace = QStringLiteral("settings.session");
        item.key = key;
        item.payload = payload;
        item.updatedBy = QStringLiteral("cid");
        const SyncStore::Put result = sync.put(user.id, base, kNow, &item);
        return std::make_pair(result, item);
    };

    QCOMPARE(write(u"default"_qs, 0, "{\"v\":1}").first, SyncStore::Put::Saved);
    const auto raced = write(u"default"_qs, 0, "{\"v\":2}");
    QCOMPARE(raced.first, SyncStore::Put::Conflict);
    QCOMPARE(raced.second.revision, 1);
    QCOMPARE(raced.second.payload, QByteArray("{\"v\":1}"));
    const auto second = write(u"default"_qs, 1, "{\"v\":3}");
    QCOMPARE(second.first, SyncStore::Put::Saved);
    QCOMPARE(second.second.revision, 2);
    QCOMPARE(write(u"default"_qs, 1, "{\"v\":4}").second.revision, 2);
    QCOMPARE(write(u"missing"_qs, 3, "{}").second.revision, 0);

    // The per-account limit stops new keys, not writes to existing ones.
    QCOMPARE(write(u"other"_qs, 0, "{}").first, SyncStore::Put::Saved);
    QCOMPARE(write(u"third"_qs, 0, "{}").first, SyncStore::Put::Full);
    QCOMPARE(write(u"other"_qs, 1, "{}").first, SyncStore::Put::Saved);

    QList<SyncItem> items;
    QVERIFY(sync.list(user.id, QStringLiteral("settings.session"), &items));
    QCOMPARE(items.size(), 2);
    QCOMPARE(items.first().payload, QByteArray("{\"v\":3}"));
}

QTEST_GUILESS_MAIN(TestCloudStore)
#include "tst_cloudstore.moc"
