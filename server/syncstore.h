#pragma once

// Synced items: one JSON payload per account, namespace and key, with a revision
// that grows by one on each write. A write names the revision it was based on and
// only lands when that is still the current one, so two computers writing from the
// same revision cannot overwrite each other unnoticed.

#include "database.h"

#include <QByteArray>
#include <QList>
#include <QString>

struct SyncItem
{
    QString nameSpace;
    QString key;
    qint64 revision = 0;      // 0: no such item yet
    QByteArray payload;       // compact JSON
    qint64 updatedAt = 0;
    QString updatedBy;        // the cid of the writer, or ""
};

class SyncStore
{
public:
    enum class Put { Saved, Conflict, Full, Failed };

    SyncStore(Database &db, int maxItemsPerUser);

    bool list(qint64 userId, const QString &nameSpace, QList<SyncItem> *items);
    Lookup item(qint64 userId, const QString &nameSpace, const QString &key, SyncItem *item);
    // Writes `item` over `baseRevision` (0 creates). Saved: `item` is the new state.
    // Conflict: `item` is the server's current state (revision 0 when there is none).
    Put put(qint64 userId, qint64 baseRevision, qint64 nowMs, SyncItem *item);

private:
    Database &db;
    int maxItems;
};
