#include "syncstore.h"

SyncStore::SyncStore(Database &db, int maxItemsPerUser)
    : db(db)
    , maxItems(maxItemsPerUser)
{
}

bool SyncStore::list(qint64 userId, const QString &nameSpace, QList<SyncItem> *items)
{
    QSqlQuery &query = db.run("SELECT item_key, revision, payload, updated_at, updated_by "
                              "FROM sync_items WHERE user_id = ? AND namespace = ? "
                              "ORDER BY item_key",
                              {userId, nameSpace});
    if (!db.lastOk())
        return false;
    items->clear();
    while (query.next()) {
        items->append({nameSpace, query.value(0).toString(), query.value(1).toLongLong(),
                       query.value(2).toString().toUtf8(), query.value(3).toLongLong(),
                       query.value(4).toString()});
    }
    query.finish();
    return true;
}

Lookup SyncStore::item(qint64 userId, const QString &nameSpace, const QString &key,
                       SyncItem *item)
{
    QSqlQuery &query = db.run("SELECT revision, payload, updated_at, updated_by FROM sync_items "
                              "WHERE user_id = ? AND namespace = ? AND item_key = ?",
                              {userId, nameSpace, key});
    if (!db.lastOk())
        return Lookup::Failed;
    *item = SyncItem();
    item->nameSpace = nameSpace;
    item->key = key;
    if (!query.next())
        return Lookup::Missing;
    item->revision = query.value(0).toLongLong();
    item->payload = query.value(1).toString().toUtf8();
    item->updatedAt = query.value(2).toLongLong();
    item->updatedBy = query.value(3).toString();
    query.finish();
    return Lookup::Found;
}

SyncStore::Put SyncStore::put(qint64 userId, qint64 baseRevision, qint64 nowMs, SyncItem *item)
{
    const QString payload = QString::fromUtf8(item->payload);
    if (baseRevision == 0) {
        QSqlQuery &count = db.run("SELECT COUNT(*) FROM sync_items WHERE user_id = ?", {userId});
        if (!db.lastOk() || !count.next())
            return Put::Failed;
        const bool full = count.value(0).toLongLong() >= maxItems;
        count.finish();
        if (full)
            return Put::Full;
        // The primary key decides between two creators: the second insert fails.
        db.run("INSERT INTO sync_items (user_id, namespace, item_key, revision, payload, "
               "updated_at, updated_by) VALUES (?, ?, ?, 1, ?, ?, ?)",
               {userId, item->nameSpace, item->key, payload, nowMs, item->updatedBy});
        if (db.lastOk()) {
            item->revision = 1;
            item->updatedAt = nowMs;
            return Put::Saved;
        }
        if (!db.lastWasDuplicate())
            return Put::Failed;
    } else {
        // The revision test in the WHERE clause makes the check and the write one step.
        QSqlQuery &query = db.run(
            "UPDATE sync_items SET revision = revision + 1, payload = ?, updated_at = ?, "
            "updated_by = ? WHERE user_id = ? AND namespace = ? AND item_key = ? "
            "AND revision = ? RETURNING revision",
            {payload, nowMs, item->updatedBy, userId, item->nameSpace, item->key, baseRevision});
        if (!db.lastOk())
            return Put::Failed;
        if (query.next()) {
            item->revision = query.value(0).toLongLong();
            item->updatedAt = nowMs;
            query.finish();
            return Put::Saved;
        }
    }
    SyncItem current;
    if (this->item(userId, item->nameSpace, item->key, &current) == Lookup::Failed)
        return Put::Failed;
    *item = current;
    return Put::Conflict;
}
