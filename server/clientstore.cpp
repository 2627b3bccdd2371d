#include "clientstore.h"

ClientStore::ClientStore(Database &db)
    : db(db)
{
}

bool ClientStore::report(ClientRecord *record, qint64 nowMs)
{
    QSqlQuery &query = db.run(
        "INSERT INTO clients (cid, info, first_seen_at, last_seen_at) VALUES (?, ?, ?, ?) "
        "ON CONFLICT (cid) DO UPDATE SET info = excluded.info, last_seen_at = excluded.last_seen_at "
        "RETURNING first_seen_at",
        {record->cid, QString::fromUtf8(record->info), nowMs, nowMs});
    if (!db.lastOk() || !query.next())
        return false;
    record->firstSeenAt = query.value(0).toLongLong();
    record->lastSeenAt = nowMs;
    query.finish();
    return true;
}

Lookup ClientStore::find(const QString &cid, ClientRecord *record)
{
    QSqlQuery &query = db.run("SELECT info, first_seen_at, last_seen_at FROM clients "
                              "WHERE cid = ?",
                              {cid});
    if (!db.lastOk())
        return Lookup::Failed;
    if (!query.next())
        return Lookup::Missing;
    record->cid = cid;
    record->info = query.value(0).toString().toUtf8();
    record->firstSeenAt = query.value(1).toLongLong();
    record->lastSeenAt = query.value(2).toLongLong();
    query.finish();
    return Lookup::Found;
}
