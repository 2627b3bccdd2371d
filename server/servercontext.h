#pragma once

// What every endpoint shares: the stores, the hasher, the mailer, the rate limits and
// the settings, plus the steps each of them repeats (the clock, the bearer check).

#include "apireply.h"
#include "clientstore.h"
#include "devicestore.h"
#include "ratelimiter.h"
#include "serveroptions.h"
#include "sessionstore.h"
#include "sharestore.h"
#include "syncstore.h"
#include "trafficmeter.h"
#include "userstore.h"

#include <optional>

class Mailer;
class PasswordHasher;
struct ApiRequest;

class ServerContext
{
public:
    ServerContext(Database &db, const ServerOptions &options, Mailer &mailer,
                  PasswordHasher &hasher);

    Database &db;
    const ServerOptions options;
    Mailer &mailer;
    PasswordHasher &hasher;

    UserStore users;
    SessionStore sessions;
    DeviceStore devices;
    SyncStore sync;
    ClientStore clients;
    ShareStore shares;
    TrafficMeter traffic;

    RateLimiter codesPerEmail;
    RateLimiter codesPerAddress;
    RateLimiter failedLoginsPerEmail;
    RateLimiter failedLoginsPerAddress;
    RateLimiter reportsPerAddress;
    // Guest shares: joins per address and per invite code, looks at a code per address.
    RateLimiter joinsPerAddress;
    RateLimiter joinsPerCode;
    RateLimiter peeksPerAddress;

    qint64 now() const;
    // The signed-in caller of `request`, or the reply that refuses it (401, or 500 when
    // the store failed).
    std::optional<ApiReply> authorize(const ApiRequest &request, Principal *principal);
    // Milliseconds since the epoch as "2026-11-23T19:27:25Z".
    static QString isoTime(qint64 ms);
    // Forgets what the limiters and the store no longer need.
    void housekeeping();
};
