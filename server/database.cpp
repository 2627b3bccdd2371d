#include "database.h"

#include "migrations.h"
#include "serverlog.h"

#include <QAtomicInt>
#include <QDir>
#include <QFile>
#include <QSqlError>
#include <QUrl>
#include <QUrlQuery>

namespace {

QAtomicInt connectionCounter;

// Any instance sharing a PostgreSQL store takes this lock while it migrates, so two
// starting at once do not both create the same tables.
constexpr qint64 kMigrationLock = 7270311;

bool isDuplicateError(const QSqlError &error)
{
    const QString code = error.nativeErrorCode();
    // SQLite reports the constraint family (19) or its unique/primary-key variants;
    // PostgreSQL the SQLSTATE of a unique violation.
    return code == u"19" || code == u"2067" || code == u"1555" || code == u"23505";
}

} // namespace

Database::Database()
    : connectionName(QStringLiteral("velmora-cloud-%1").arg(connectionCounter.fetchAndAddRelaxed(1)))
{
}

Database::~Database()
{
    qDeleteAll(statements);
    statements.clear();
    if (db.isValid())
        db.close();
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase(connectionName);
}

bool Database::open(const QString &url, const QString &dataDir, QString *error)
{
    if (url.isEmpty())
        return openSqlite(QDir(dataDir).filePath(QStringLiteral("velmora-cloud.sqlite")), error);
    if (url.startsWith(u"sqlite:"))
        return openSqlite(url.mid(7), error);
    if (url.startsWith(u"postgresql://") || url.startsWith(u"postgres://"))
        return openPostgres(url, error);
    *error = QStringLiteral("unknown database address (use postgresql://... or sqlite:PATH)");
    return false;
}

bool Database::openSqlite(const QString &path, QString *error)
{
    storeKind = Kind::Sqlite;
    where = QStringLiteral("sqlite:") + path;
    db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
    if (!db.isValid()) {
        *error = QStringLiteral("the Qt SQLite driver is not installed (libqt6sql6-sqlite)");
        return false;
    }
    db.setDatabaseName(path);
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    if (!db.open()) {
        *error = db.lastError().text();
        return false;
    }
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    // WAL lets readers go on while one request writes; NORMAL syncs at checkpoints,
    // which keeps every committed row through a crash of the process.
    for (const char *pragma : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=NORMAL",
                               "PRAGMA foreign_keys=ON"}) {
        QSqlQuery query(db);
        if (!query.exec(QString::fromLatin1(pragma))) {
            *error = query.lastError().text();
            return false;
        }
    }
    return true;
}

bool Database::openPostgres(const QString &url, QString *error)
{
    storeKind = Kind::Postgres;
    const QUrl address(url);
    if (!address.isValid()) {
        *error = QStringLiteral("the PostgreSQL address is not a valid URL");
        return false;
    }
    db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connectionName);
    if (!db.isValid()) {
        *error = QStringLiteral("the Qt PostgreSQL driver is not installed (libqt6sql6-psql)");
        return false;
    }
    const QString name = address.path().mid(1);
    db.setHostName(address.host());
    db.setPort(address.port(5432));
    db.setUserName(address.userName(QUrl::FullyDecoded));
    db.setPassword(address.password(QUrl::FullyDecoded));
    db.setDatabaseName(name.isEmpty() ? address.userName(QUrl::FullyDecoded) : name);
    // Other libpq settings (sslmode, connect_timeout, a socket folder as host=...)
    // pass through from the query.
    QStringList options;
    bool timeoutGiven = false;
    for (const auto &[key, value] : QUrlQuery(address).queryItems(QUrl::FullyDecoded)) {
        if (key == u"host")
            db.setHostName(value);
        else
            options.append(key + u'=' + value);
        timeoutGiven = timeoutGiven || key == u"connect_timeout";
    }
    if (!timeoutGiven)
        options.append(QStringLiteral("connect_timeout=10"));
    db.setConnectOptions(options.join(u';'));
    where = QStringLiteral("postgresql://%1@%2:%3/%4")
                .arg(db.userName(), db.hostName())
                .arg(db.port())
                .arg(db.databaseName());
    if (!db.open()) {
        *error = db.lastError().text();
        return false;
    }
    return true;
}

QSqlQuery &Database::run(const char *sql, std::initializer_list<QVariant> values)
{
    if (connectionLost) {
        // A broken connection (a restarted PostgreSQL) is opened again, and every
        // statement prepared on it is prepared anew.
        qDeleteAll(statements);
        statements.clear();
        db.close();
        connectionLost = !db.open();
        if (connectionLost)
            qCCritical(lcServer) << "store unreachable:" << db.lastError().text();
    }
    QSqlQuery *&query = statements[sql];
    lastRunOk = false;
    lastDuplicate = false;
    lastRows = 0;
    if (!query) {
        query = new QSqlQuery(db);
        query->setForwardOnly(true);
        if (!query->prepare(QString::fromUtf8(sql))) {
            qCCritical(lcServer) << "SQL prepare failed:" << query->lastError().text() << sql;
            connectionLost = query->lastError().type() == QSqlError::ConnectionError;
            delete query;
            statements.remove(sql);
            return inactive;
        }
    }
    query->finish();
    int index = 0;
    for (const QVariant &value : values) {
        // A null QString would become SQL NULL; text columns hold "" for "nothing".
        if (value.typeId() == QMetaType::QString && value.toString().isNull())
            query->bindValue(index++, QStringLiteral(""));
        else
            query->bindValue(index++, value);
    }
    lastRunOk = query->exec();
    if (!lastRunOk) {
        const QSqlError failure = query->lastError();
        lastDuplicate = isDuplicateError(failure);
        if (!lastDuplicate)
            qCCritical(lcServer) << "SQL failed:" << failure.text() << sql;
        connectionLost = failure.type() == QSqlError::ConnectionError || !db.isOpen();
        // A failed SQLite statement keeps its implicit transaction open until it is
        // finalized, and that would swallow the next explicit transaction: drop it.
        delete query;
        statements.remove(sql);
        return inactive;
    }
    lastRows = query->numRowsAffected();
    return *query;
}

// SQLite's transactions run as our own statements: the driver's own BEGIN was found
// to be lost after a statement that failed on a constraint, with the next COMMIT
// reporting no transaction. PostgreSQL keeps the driver's calls, since it does not
// prepare transaction statements.
bool Database::begin()
{
    if (storeKind == Kind::Sqlite) {
        run("BEGIN");
        return lastOk();
    }
    if (db.transaction())
        return true;
    qCCritical(lcServer) << "could not begin a transaction:" << db.lastError().text();
    return false;
}

bool Database::commit()
{
    if (storeKind == Kind::Sqlite) {
        run("COMMIT");
        if (lastOk())
            return true;
        rollback();
        return false;
    }
    if (db.commit())
        return true;
    qCCritical(lcServer) << "could not commit:" << db.lastError().text();
    db.rollback();
    return false;
}

void Database::rollback()
{
    if (storeKind == Kind::Sqlite)
        run("ROLLBACK");
    else
        db.rollback();
}

int Database::schemaVersion()
{
    QSqlQuery &query = run("SELECT COALESCE(MAX(version), 0) FROM schema_migrations");
    if (!lastOk() || !query.next())
        return -1;
    return query.value(0).toInt();
}

bool Database::migrate(QString *error)
{
    const QList<Migration> all = migrations(storeKind);
    const int latest = all.isEmpty() ? 0 : all.back().version;
    if (!begin()) {
        *error = db.lastError().text();
        return false;
    }
    QSqlQuery setup(db);
    if (storeKind == Kind::Postgres
        && !setup.exec(QStringLiteral("SELECT pg_advisory_xact_lock(%1)").arg(kMigrationLock))) {
        *error = setup.lastError().text();
        rollback();
        return false;
    }
    if (!setup.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS schema_migrations ("
                                   "version INTEGER PRIMARY KEY, applied_at BIGINT NOT NULL)"))) {
        *error = setup.lastError().text();
        rollback();
        return false;
    }
    const int current = schemaVersion();
    if (current < 0 || current > latest) {
        *error = current < 0 ? QStringLiteral("could not read the schema version")
                             : QStringLiteral("the store has schema %1, newer than this "
                                              "server's %2: run a newer velmora-cloud")
                                   .arg(current)
                                   .arg(latest);
        rollback();
        return false;
    }
    for (const Migration &migration : all) {
        if (migration.version > current
            && !applyMigration(migration.version, migration.statements, error)) {
            rollback();
            return false;
        }
    }
    if (!commit()) {
        *error = QStringLiteral("could not commit the migrations");
        return false;
    }
    if (current < latest)
        qCInfo(lcServer) << "store migrated from schema" << current << "to" << latest;
    return true;
}

bool Database::applyMigration(int version, const QStringList &sql, QString *error)
{
    QSqlQuery query(db);
    for (const QString &statement : sql) {
        if (!query.exec(statement)) {
            *error = QStringLiteral("migration %1 failed: %2")
                         .arg(version)
                         .arg(query.lastError().text());
            return false;
        }
    }
    query.prepare(QStringLiteral("INSERT INTO schema_migrations (version, applied_at) "
                                 "VALUES (?, ?)"));
    query.bindValue(0, version);
    query.bindValue(1, QDateTime::currentMSecsSinceEpoch());
    if (!query.exec()) {
        *error = query.lastError().text();
        return false;
    }
    return true;
}
