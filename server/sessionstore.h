#pragma once

// Sign-ins and their tokens. An access token is short-lived; a refresh token is used
// once and replaced by a new pair. Only SHA-256 digests of tokens reach the store, so
// a copy of the database signs nobody in.

#include "database.h"

#include <QString>

// Who a valid access token speaks for.
struct Principal
{
    qint64 userId = 0;
    qint64 sessionId = 0;
    QString cid;
    qint64 accessExpiresAt = 0;
};

// A fresh token pair, in clear: handed to the client once and never kept.
struct TokenPair
{
    QString accessToken;
    QString refreshToken;
    qint64 accessExpiresAt = 0;
    qint64 refreshExpiresAt = 0;
};

class SessionStore
{
public:
    enum class Rotated { Ok, Refused, Failed };

    SessionStore(Database &db, qint64 accessLifetimeMs, qint64 refreshLifetimeMs);

    // Opens a session of `userId` on device `cid` (may be empty) with its first pair.
    bool open(qint64 userId, const QString &cid, qint64 nowMs, TokenPair *tokens);
    Lookup authenticate(const QString &accessToken, qint64 nowMs, Principal *principal);
    // Trades a refresh token for a new pair. A token already traded, expired, revoked,
    // or presented for another device is refused; one presented twice also revokes
    // its session, since one of the two holders is not the owner.
    Rotated rotate(const QString &refreshToken, const QString &cid, qint64 nowMs,
                   TokenPair *tokens, qint64 *userId);
    // Revokes the session that `refreshToken` belongs to, when it is `userId`'s (any
    // user's with 0). Returns false only when the store failed.
    bool revokeByRefreshToken(const QString &refreshToken, qint64 userId, qint64 nowMs);
    bool revoke(qint64 sessionId, qint64 nowMs);
    // Revokes every session of `userId` on device `cid`.
    bool revokeDevice(qint64 userId, const QString &cid, qint64 nowMs);
    // Gives a session opened without a device id the device it has since bound.
    bool adoptCid(qint64 sessionId, const QString &cid);
    // Drops expired tokens and sessions that can no longer be used.
    bool purge(qint64 nowMs);

    static QString digest(const QString &token);

private:
    bool addPair(qint64 sessionId, qint64 nowMs, TokenPair *tokens);

    Database &db;
    qint64 accessLifetime;
    qint64 refreshLifetime;
};
