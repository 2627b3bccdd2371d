#pragma once

// Guest shares: the owner's computer invites someone without an account to one of its
// ports for a while, by an invite code and an optional passcode. The owner creates,
// lists and revokes shares (bearer token); a guest looks at a code, and joins either
// as a browser (a guest token for /ws/console/v1) or as another copy of the app (a
// Live Relay through the share). Ending a share ends its relays and browser guests at
// once; a share is checked against the store on every use, so its expiry holds to the
// millisecond. Codes, passcodes, tickets and guest tokens never reach the log.

#include "router.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

class ConsoleHub;
class RelayHub;
class ServerContext;
struct ShareRecord;

class ShareApi
{
public:
    // Installs the share checks of the console (`console`'s resolvers) as well.
    ShareApi(ServerContext &context, ConsoleHub &console, RelayHub &relays);
    void addRoutes(Router &router);

private:
    // A browser guest's token: the share it admits to, and the name it joined with.
    struct Pass
    {
        QString shareId;
        QString guestName;
        qint64 expiresAt = 0;
    };

    void create(const ApiRequest &request, const Router::Done &done);
    void list(const ApiRequest &request, const Router::Done &done);
    void revoke(const ApiRequest &request, const Router::Done &done);
    void peek(const ApiRequest &request, const Router::Done &done);
    void join(const ApiRequest &request, const Router::Done &done);

    // Stores `record` with a fresh code and id (drawn again on the rare clash).
    void store(ShareRecord record, const QString &baseUrl, const Router::Done &done);
    // The guest is through every check: a relay or a browser pass for `record`.
    void admit(const ShareRecord &record, const QString &route, const QString &guestName,
               const Router::Done &done);
    // Ends share `shareId` (when live) and everything running through it.
    void end(const QString &shareId, const QString &reason);
    // Ends the relays and browser guests of a share that has ended in the store.
    void endLive(const QString &shareId, const QString &reason);

    // The reply listing the shares of `cid` (all of the account's when empty).
    ApiReply listReply(qint64 userId, const QString &cid, const QString &baseUrl,
                       const QString &description);
    QJsonObject shareJson(const ShareRecord &record, const QString &deviceName,
                          const QString &baseUrl) const;
    // The reply refusing a share that is not live (expired, revoked, too many passcodes).
    static ApiReply endedReply(const ShareRecord &record, qint64 nowMs);
    QString baseUrl(const ApiRequest &request) const;

    ServerContext &context;
    ConsoleHub &console;
    RelayHub &relays;
    QHash<QString, Pass> passes; // by the digest of the guest token
};
