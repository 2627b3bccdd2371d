#include "userstore.h"

UserStore::UserStore(Database &db)
    : db(db)
{
}

UserStore::Created UserStore::create(UserRecord *user)
{
    QSqlQuery &query = db.run("INSERT INTO users (email, username, password_hash, created_at) "
                              "VALUES (?, ?, ?, ?) RETURNING id",
                              {user->email, user->username, user->passwordHash, user->createdAt});
    if (!db.lastOk())
        return db.lastWasDuplicate() ? Created::EmailTaken : Created::Failed;
    if (!query.next())
        return Created::Failed;
    user->id = query.value(0).toLongLong();
    query.finish();
    return Created::Ok;
}

Lookup UserStore::readUser(QSqlQuery &query, UserRecord *user)
{
    if (!db.lastOk())
        return Lookup::Failed;
    if (!query.next())
        return Lookup::Missing;
    user->id = query.value(0).toLongLong();
    user->email = query.value(1).toString();
    user->username = query.value(2).toString();
    user->passwordHash = query.value(3).toString();
    user->createdAt = query.value(4).toLongLong();
    query.finish();
    return Lookup::Found;
}

Lookup UserStore::byEmail(const QString &email, UserRecord *user)
{
    return readUser(db.run("SELECT id, email, username, password_hash, created_at FROM users "
                           "WHERE email = ?",
                           {email}),
                    user);
}

Lookup UserStore::byId(qint64 id, UserRecord *user)
{
    return readUser(db.run("SELECT id, email, username, password_hash, created_at FROM users "
                           "WHERE id = ?",
                           {id}),
                    user);
}

bool UserStore::saveCode(const QString &email, const CodeRecord &code)
{
    db.run("INSERT INTO register_codes (email, code_hash, sent_at, expires_at, attempts) "
           "VALUES (?, ?, ?, ?, 0) "
           "ON CONFLICT (email) DO UPDATE SET code_hash = excluded.code_hash, "
           "sent_at = excluded.sent_at, expires_at = excluded.expires_at, attempts = 0",
           {email, code.codeHash, code.sentAt, code.expiresAt});
    return db.lastOk();
}

Lookup UserStore::code(const QString &email, CodeRecord *code)
{
    QSqlQuery &query = db.run("SELECT code_hash, sent_at, expires_at, attempts "
                              "FROM register_codes WHERE email = ?",
                              {email});
    if (!db.lastOk())
        return Lookup::Failed;
    if (!query.next())
        return Lookup::Missing;
    code->codeHash = query.value(0).toString();
    code->sentAt = query.value(1).toLongLong();
    code->expiresAt = query.value(2).toLongLong();
    code->attempts = query.value(3).toInt();
    query.finish();
    return Lookup::Found;
}

bool UserStore::countCodeAttempt(const QString &email)
{
    db.run("UPDATE register_codes SET attempts = attempts + 1 WHERE email = ?", {email});
    return db.lastOk();
}

bool UserStore::deleteCode(const QString &email)
{
    db.run("DELETE FROM register_codes WHERE email = ?", {email});
    return db.lastOk();
}

qint64 UserStore::trafficUsed(qint64 userId, const QString &period)
{
    QSqlQuery &query = db.run("SELECT bytes FROM traffic_usage WHERE user_id = ? AND period = ?",
                              {userId, period});
    if (!db.lastOk())
        return -1;
    const qint64 bytes = query.next() ? query.value(0).toLongLong() : 0;
    query.finish();
    return bytes;
}

bool UserStore::addTraffic(qint64 userId, const QString &period, qint64 bytes)
{
    db.run("INSERT INTO traffic_usage (user_id, period, bytes) VALUES (?, ?, ?) "
           "ON CONFLICT (user_id, period) DO UPDATE SET bytes = traffic_usage.bytes + excluded.bytes",
           {userId, period, bytes});
    return db.lastOk();
}

bool UserStore::purge(qint64 nowMs)
{
    db.run("DELETE FROM register_codes WHERE expires_at < ?", {nowMs});
    return db.lastOk();
}
