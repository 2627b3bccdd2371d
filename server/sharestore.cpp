#include "sharestore.h"

namespace {

constexpr qint64 kKeepEndedMs = 7LL * 24 * 60 * 60 * 1000;

#define SHARE_COLUMNS                                                                              \
    "share_id, user_id, cid, session_id, port_key, port_name, label, code, passcode_hash, web, "   \
    "relay, "                                                                                      \
    "created_at, expires_at, revoked_at, revoke_reason, wrong_passcodes"

ShareRecord fromRow(const QSqlQuery &query)
{
    ShareRecord r;
    r.shareId = query.value(0).toString();
    r.userId = query.value(1).toLongLong();
    r.cid = query.value(2).toString();
    r.sessionId = query.value(3).toString();
    r.portKey = query.value(4).toString();
    r.portName = query.value(5).toString();
    r.label = query.value(6).toString();
    r.code = query.value(7).toString();
    r.passcodeHash = query.value(8).toString();
    r.web = query.value(9).toString();
    r.relay = query.value(10).toInt() != 0;
    r.createdAt = query.value(11).toLongLong();
    r.expiresAt = query.value(12).toLongLong();
    r.revokedAt = query.value(13).isNull() ? 0 : query.value(13).toLongLong();
    r.revokeReason = query.value(14).toString();
    r.wrongPasscodes = query.value(15).toInt();
    return r;
}

} // namespace

ShareStore::ShareStore(Database &db)
    : db(db)
{}

Lookup ShareStore::create(const ShareRecord &r)
{
    db.run("INSERT INTO guest_shares (" SHARE_COLUMNS ") "
           "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, NULL, '', 0)",
           {r.shareId, r.userId, r.cid, r.sessionId, r.portKey, r.portName, r.label, r.code,
            r.passcodeHash, r.web, r.relay ? 1 : 0, r.createdAt, r.expiresAt});
    if (db.lastOk())
        return Lookup::Found;
    return db.lastWasDuplicate() ? Lookup::Missing : Lookup::Failed;
}

Lookup ShareStore::readOne(QSqlQuery &query, ShareRecord *record)
{
    if (!db.lastOk())
        return Lookup::Failed;
    if (!query.next())
        return Lookup::Missing;
    *record = fromRow(query);
    query.finish();
    return Lookup::Found;
}

Lookup ShareStore::findByCode(const QString &code, ShareRecord *record)
{
    return readOne(db.run("SELECT " SHARE_COLUMNS " FROM guest_shares WHERE code = ?", {code}),
                   record);
}

Lookup ShareStore::findById(const QString &shareId, ShareRecord *record)
{
    return readOne(
        db.run("SELECT " SHARE_COLUMNS " FROM guest_shares WHERE share_id = ?", {shareId}), record);
}

bool ShareStore::list(qint64 userId, const QString &cid, qint64 nowMs, QList<ShareRecord> *records)
{
    QSqlQuery &query = cid.isEmpty()
                           ? db.run("SELECT " SHARE_COLUMNS " FROM guest_shares "
                                    "WHERE user_id = ? AND expires_at > ? ORDER BY id",
                                    {userId, nowMs})
                           : db.run("SELECT " SHARE_COLUMNS " FROM guest_shares "
                                    "WHERE user_id = ? AND cid = ? AND expires_at > ? ORDER BY id",
                                    {userId, cid, nowMs});
    if (!db.lastOk())
        return false;
    records->clear();
    while (query.next())
        records->append(fromRow(query));
    query.finish();
    return true;
}

int ShareStore::countLive(qint64 userId, qint64 nowMs)
{
    QSqlQuery &query = db.run("SELECT COUNT(*) FROM guest_shares "
                              "WHERE user_id = ? AND revoked_at IS NULL AND expires_at > ?",
                              {userId, nowMs});
    if (!db.lastOk() || !query.next())
        return -1;
    const int n = query.value(0).toInt();
    query.finish();
    return n;
}

bool ShareStore::revoke(const QString &shareId, const QString &reason, qint64 nowMs)
{
    db.run("UPDATE guest_shares SET revoked_at = ?, revoke_reason = ? "
           "WHERE share_id = ? AND revoked_at IS NULL",
           {nowMs, reason, shareId});
    return db.lastOk() && db.lastRowsAffected() > 0;
}

bool ShareStore::revokeOtherRuns(qint64 userId, const QString &cid, const QString &sessionId,
                                 qint64 nowMs, QStringList *ended)
{
    QSqlQuery &query =
        db.run("UPDATE guest_shares SET revoked_at = ?, revoke_reason = 'stale' "
               "WHERE user_id = ? AND cid = ? AND session_id <> ? AND revoked_at IS NULL "
               "AND expires_at > ? RETURNING share_id",
               {nowMs, userId, cid, sessionId, nowMs});
    if (!db.lastOk())
        return false;
    while (query.next())
        ended->append(query.value(0).toString());
    query.finish();
    return true;
}

int ShareStore::reserveAttempt(const QString &shareId)
{
    QSqlQuery &query = db.run("UPDATE guest_shares SET wrong_passcodes = wrong_passcodes + 1 "
                              "WHERE share_id = ? RETURNING wrong_passcodes",
                              {shareId});
    if (!db.lastOk() || !query.next())
        return -1;
    const int n = query.value(0).toInt();
    query.finish();
    return n;
}

void ShareStore::releaseAttempt(const QString &shareId)
{
    db.run("UPDATE guest_shares SET wrong_passcodes = wrong_passcodes - 1 "
           "WHERE share_id = ? AND wrong_passcodes > 0",
           {shareId});
}

bool ShareStore::purge(qint64 nowMs)
{
    db.run("DELETE FROM guest_shares WHERE expires_at < ? OR revoked_at < ?",
           {nowMs - kKeepEndedMs, nowMs - kKeepEndedMs});
    return db.lastOk();
}
