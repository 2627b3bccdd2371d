#pragma once

// Guest shares as the store keeps them. Every use of a share reads its row again, so
// an expiry or a revocation holds from that instant, on every server sharing the store.

#include "database.h"

#include <QList>
#include <QString>
#include <QStringList>

struct ShareRecord
{
    QString shareId;
    qint64 userId = 0;
    QString cid;
    QString sessionId;
    QString portKey;
    QString portName;
    QString label;
    QString code;
    QString passcodeHash; // empty: no passcode
    QString web;          // "none", "view", "send", "control"
    bool relay = false;
    qint64 createdAt = 0;
    qint64 expiresAt = 0;
    qint64 revokedAt = 0; // 0: not revoked
    QString revokeReason;
    int wrongPasscodes = 0;

    bool isLive(qint64 nowMs) const { return revokedAt == 0 && nowMs < expiresAt; }
};

class ShareStore
{
public:
    explicit ShareStore(Database &db);

    // Adds `record`. Missing when its code or id is taken already (the caller draws
    // another), Failed when the store failed.
    Lookup create(const ShareRecord &record);
    Lookup findByCode(const QString &code, ShareRecord *record);
    Lookup findById(const QString &shareId, ShareRecord *record);
    // The shares of `userId` (of computer `cid` when it is not empty) that have not
    // reached their expiry, live or revoked, oldest first.
    bool list(qint64 userId, const QString &cid, qint64 nowMs, QList<ShareRecord> *records);
    int countLive(qint64 userId, qint64 nowMs);
    // Ends share `shareId` with `reason`; false when it had ended already (or the store failed).
    bool revoke(const QString &shareId, const QString &reason, qint64 nowMs);
    // Ends the live shares of computer `cid` made in a run other than `sessionId`, and
    // names them in `ended`.
    bool revokeOtherRuns(qint64 userId, const QString &cid, const QString &sessionId, qint64 nowMs,
                         QStringList *ended);
    // Counts one more wrong passcode before it is checked, so that attempts running
    // side by side cannot pass the limit; gives the new count, or -1 on failure.
    int reserveAttempt(const QString &shareId);
    // Takes back the attempt reserved for a passcode that proved right.
    void releaseAttempt(const QString &shareId);
    // Forgets shares that ended more than a week ago.
    bool purge(qint64 nowMs);

private:
    Lookup readOne(QSqlQuery &query, ShareRecord *record);

    Database &db;
};
