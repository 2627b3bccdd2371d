#pragma once

// What each copy of the app reported about itself (its version and environment),
// keyed by its device id. No account is needed for this.

#include "database.h"

#include <QByteArray>
#include <QString>

struct ClientRecord
{
    QString cid;
    QByteArray info; // compact JSON object as reported
    qint64 firstSeenAt = 0;
    qint64 lastSeenAt = 0;
};

class ClientStore
{
public:
    explicit ClientStore(Database &db);

    // Stores the latest report of `record->cid`; fills in the first-seen time.
    bool report(ClientRecord *record, qint64 nowMs);
    Lookup find(const QString &cid, ClientRecord *record);

private:
    Database &db;
};
