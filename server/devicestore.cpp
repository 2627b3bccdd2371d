#include "devicestore.h"

DeviceStore::DeviceStore(Database &db)
    : db(db)
{
}

bool DeviceStore::bind(qint64 userId, DeviceRecord *device, qint64 nowMs)
{
    QSqlQuery &query = db.run(
        "INSERT INTO devices (user_id, cid, name, client_version, bound_at, last_seen_at) "
        "VALUES (?, ?, ?, ?, ?, ?) "
        "ON CONFLICT (user_id, cid) DO UPDATE SET name = excluded.name, "
        "client_version = excluded.client_version, last_seen_at = excluded.last_seen_at "
        "RETURNING id, bound_at, last_seen_at",
        {userId, device->cid, device->name, device->clientVersion, nowMs, nowMs});
    if (!db.lastOk() || !query.next())
        return false;
    device->id = query.value(0).toLongLong();
    device->boundAt = query.value(1).toLongLong();
    device->lastSeenAt = query.value(2).toLongLong();
    query.finish();
    return true;
}

bool DeviceStore::list(qint64 userId, QList<DeviceRecord> *devices)
{
    QSqlQuery &query = db.run("SELECT id, cid, name, client_version, bound_at, last_seen_at "
                              "FROM devices WHERE user_id = ? ORDER BY id",
                              {userId});
    if (!db.lastOk())
        return false;
    devices->clear();
    while (query.next()) {
        devices->append({query.value(0).toLongLong(), query.value(1).toString(),
                         query.value(2).toString(), query.value(3).toString(),
                         query.value(4).toLongLong(), query.value(5).toLongLong()});
    }
    query.finish();
    return true;
}

Lookup DeviceStore::unbind(qint64 userId, qint64 deviceId, DeviceRecord *device)
{
    QSqlQuery &query = db.run("DELETE FROM devices WHERE user_id = ? AND id = ? "
                              "RETURNING id, cid, name, client_version, bound_at, last_seen_at",
                              {userId, deviceId});
    if (!db.lastOk())
        return Lookup::Failed;
    if (!query.next())
        return Lookup::Missing;
    *device = {query.value(0).toLongLong(), query.value(1).toString(), query.value(2).toString(),
               query.value(3).toString(),  query.value(4).toLongLong(), query.value(5).toLongLong()};
    query.finish();
    return Lookup::Found;
}

int DeviceStore::count(qint64 userId)
{
    QSqlQuery &query = db.run("SELECT COUNT(*) FROM devices WHERE user_id = ?", {userId});
    if (!db.lastOk() || !query.next())
        return -1;
    const int n = query.value(0).toInt();
    query.finish();
    return n;
}

Lookup DeviceStore::find(qint64 userId, const QString &cid, DeviceRecord *device)
{
    QSqlQuery &query = db.run("SELECT id, cid, name, client_version, bound_at, last_seen_at "
                              "FROM devices WHERE user_id = ? AND cid = ?",
                              {userId, cid});
    if (!db.lastOk())
        return Lookup::Failed;
    if (!query.next())
        return Lookup::Missing;
    *device = {query.value(0).toLongLong(), query.value(1).toString(), query.value(2).toString(),
               query.value(3).toString(),  query.value(4).toLongLong(), query.value(5).toLongLong()};
    query.finish();
    return Lookup::Found;
}

bool DeviceStore::touch(qint64 userId, const QString &cid, qint64 nowMs)
{
    db.run("UPDATE devices SET last_seen_at = ? WHERE user_id = ? AND cid = ?",
           {nowMs, userId, cid});
    return db.lastOk();
}
