#include "sessionstore.h"

#include "secrets.h"

namespace {

constexpr int kAccess = 1;
constexpr int kRefresh = 2;

} // namespace

SessionStore::SessionStore(Database &db, qint64 accessLifetimeMs, qint64 refreshLifetimeMs)
    : db(db)
    , accessLifetime(accessLifetimeMs)
    , refreshLifetime(refreshLifetimeMs)
{
}

QString SessionStore::digest(const QString &token)
{
    return secrets::sha256Hex(token);
}

bool SessionStore::addPair(qint64 sessionId, qint64 nowMs, TokenPair *tokens)
{
    tokens->accessToken = secrets::randomToken(QStringLiteral("vat_"));
    tokens->refreshToken = secrets::randomToken(QStringLiteral("vrt_"));
    tokens->accessExpiresAt = nowMs + accessLifetime;
    tokens->refreshExpiresAt = nowMs + refreshLifetime;
    db.run("INSERT INTO tokens (hash, session_id, kind, expires_at) VALUES (?, ?, ?, ?)",
           {digest(tokens->accessToken), sessionId, kAccess, tokens->accessExpiresAt});
    if (!db.lastOk())
        return false;
    db.run("INSERT INTO tokens (hash, session_id, kind, expires_at) VALUES (?, ?, ?, ?)",
           {digest(tokens->refreshToken), sessionId, kRefresh, tokens->refreshExpiresAt});
    return db.lastOk();
}

bool SessionStore::open(qint64 userId, const QString &cid, qint64 nowMs, TokenPair *tokens)
{
    if (!db.begin())
        return false;
    QSqlQuery &query = db.run("INSERT INTO sessions (user_id, cid, created_at) VALUES (?, ?, ?) "
                              "RETURNING id",
                              {userId, cid, nowMs});
    if (!db.lastOk() || !query.next()) {
        db.rollback();
        return false;
    }
    const qint64 sessionId = query.value(0).toLongLong();
    query.finish();
    if (!addPair(sessionId, nowMs, tokens)) {
        db.rollback();
        return false;
    }
    return db.commit();
}

Lookup SessionStore::authenticate(const QString &accessToken, qint64 nowMs,
                                  Principal *principal)
{
    if (accessToken.isEmpty() || accessToken.size() > 128)
        return Lookup::Missing;
    QSqlQuery &query = db.run("SELECT s.id, s.user_id, s.cid, t.expires_at FROM tokens t "
                              "JOIN sessions s ON s.id = t.session_id "
                              "WHERE t.hash = ? AND t.kind = ? AND t.expires_at > ? "
                              "AND s.revoked_at IS NULL",
                              {digest(accessToken), kAccess, nowMs});
    if (!db.lastOk())
        return Lookup::Failed;
    if (!query.next())
        return Lookup::Missing;
    principal->sessionId = query.value(0).toLongLong();
    principal->userId = query.value(1).toLongLong();
    principal->cid = query.value(2).toString();
    principal->accessExpiresAt = query.value(3).toLongLong();
    query.finish();
    return Lookup::Found;
}

SessionStore::Rotated SessionStore::rotate(const QString &refreshToken, const QString &cid,
                                           qint64 nowMs, TokenPair *tokens, qint64 *userId)
{
    if (refreshToken.isEmpty() || refreshToken.size() > 128)
        return Rotated::Refused;
    const QString hash = digest(refreshToken);
    if (!db.begin())
        return Rotated::Failed;
    QSqlQuery &query = db.run("SELECT s.id, s.user_id, s.cid, s.revoked_at, t.expires_at, "
                              "t.used_at FROM tokens t JOIN sessions s ON s.id = t.session_id "
                              "WHERE t.hash = ? AND t.kind = ?",
                              {hash, kRefresh});
    if (!db.lastOk()) {
        db.rollback();
        return Rotated::Failed;
    }
    if (!query.next()) {
        db.rollback();
        return Rotated::Refused;
    }
    const qint64 sessionId = query.value(0).toLongLong();
    *userId = query.value(1).toLongLong();
    const QString sessionCid = query.value(2).toString();
    const bool revoked = !query.value(3).isNull();
    const qint64 expiresAt = query.value(4).toLongLong();
    const bool used = !query.value(5).isNull();
    query.finish();
    const bool otherDevice = !cid.isEmpty() && !sessionCid.isEmpty() && cid != sessionCid;
    if (revoked || expiresAt <= nowMs || otherDevice) {
        db.rollback();
        return Rotated::Refused;
    }
    // Marking the token used is the step that decides between two racing callers,
    // also across server instances: only one update finds used_at still empty.
    if (!used)
        db.run("UPDATE tokens SET used_at = ? WHERE hash = ? AND used_at IS NULL", {nowMs, hash});
    if (!db.lastOk()) {
        db.rollback();
        return Rotated::Failed;
    }
    if (used || db.lastRowsAffected() != 1) {
        const bool ok = revoke(sessionId, nowMs) && db.commit();
        return ok ? Rotated::Refused : Rotated::Failed;
    }
    if (!addPair(sessionId, nowMs, tokens)) {
        db.rollback();
        return Rotated::Failed;
    }
    return db.commit() ? Rotated::Ok : Rotated::Failed;
}

bool SessionStore::revokeByRefreshToken(const QString &refreshToken, qint64 userId, qint64 nowMs)
{
    if (refreshToken.isEmpty() || refreshToken.size() > 128)
        return true;
    db.run("UPDATE sessions SET revoked_at = ? WHERE revoked_at IS NULL AND (? = 0 OR user_id = ?) "
           "AND id = (SELECT session_id FROM tokens WHERE hash = ? AND kind = ?)",
           {nowMs, userId, userId, digest(refreshToken), kRefresh});
    return db.lastOk();
}

bool SessionStore::revoke(qint64 sessionId, qint64 nowMs)
{
    db.run("UPDATE sessions SET revoked_at = ? WHERE id = ? AND revoked_at IS NULL",
           {nowMs, sessionId});
    return db.lastOk();
}

bool SessionStore::revokeDevice(qint64 userId, const QString &cid, qint64 nowMs)
{
    db.run("UPDATE sessions SET revoked_at = ? WHERE user_id = ? AND cid = ? "
           "AND revoked_at IS NULL",
           {nowMs, userId, cid});
    return db.lastOk();
}

bool SessionStore::adoptCid(qint64 sessionId, const QString &cid)
{
    db.run("UPDATE sessions SET cid = ? WHERE id = ? AND cid = ''", {cid, sessionId});
    return db.lastOk();
}

bool SessionStore::purge(qint64 nowMs)
{
    db.run("DELETE FROM tokens WHERE expires_at < ?", {nowMs});
    if (!db.lastOk())
        return false;
    // A session without tokens can never be used again; a revoked one keeps its
    // tokens until they expire, so that a late reuse is still recognised.
    db.run("DELETE FROM sessions WHERE NOT EXISTS "
           "(SELECT 1 FROM tokens WHERE tokens.session_id = sessions.id)");
    return db.lastOk();
}
