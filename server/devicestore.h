#pragma once

// The computers bound to an account, one row per account and device id (cid).

#include "database.h"

#include <QList>
#include <QString>

struct DeviceRecord
{
    qint64 id = 0;
    QString cid;
    QString name;
    QString clientVersion;
    qint64 boundAt = 0;
    qint64 lastSeenAt = 0;
};

class DeviceStore
{
public:
    explicit DeviceStore(Database &db);

    // Binds `device->cid` to `userId`, or renews the binding with the new name and
    // version. Fills in the id and times.
    bool bind(qint64 userId, DeviceRecord *device, qint64 nowMs);
    bool list(qint64 userId, QList<DeviceRecord> *devices);
    // Removes the binding `deviceId` of `userId` and tells which device it was.
    Lookup unbind(qint64 userId, qint64 deviceId, DeviceRecord *device);
    int count(qint64 userId);
    // The binding of `cid` to `userId`.
    Lookup find(qint64 userId, const QString &cid, DeviceRecord *device);
    // Notes that `cid` of `userId` was seen now (a token refresh).
    bool touch(qint64 userId, const QString &cid, qint64 nowMs);

private:
    Database &db;
};
