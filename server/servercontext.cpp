#include "servercontext.h"

#include "apirequest.h"

#include <QDateTime>

namespace {

constexpr qint64 kMinute = 60 * 1000;

} // namespace

ServerContext::ServerContext(Database &db, const ServerOptions &options, Mailer &mailer,
                             PasswordHasher &hasher)
    : db(db)
    , options(options)
    , mailer(mailer)
    , hasher(hasher)
    , users(db)
    , sessions(db, options.accessTokenSeconds * 1000, options.refreshTokenDays * 24 * 60 * kMinute)
    , devices(db)
    , sync(db, 1000)
    , clients(db)
    , shares(db)
    , traffic(users, options.monthlyQuotaBytes)
    , codesPerEmail(1, kMinute)
    , codesPerAddress(20, 60 * kMinute)
    , failedLoginsPerEmail(10, 15 * kMinute)
    , failedLoginsPerAddress(50, 15 * kMinute)
    , reportsPerAddress(60, 60 * kMinute)
    , joinsPerAddress(20, kMinute)
    , joinsPerCode(10, kMinute)
    , peeksPerAddress(60, kMinute)
{
}

qint64 ServerContext::now() const
{
    return QDateTime::currentMSecsSinceEpoch();
}

std::optional<ApiReply> ServerContext::authorize(const ApiRequest &request, Principal *principal)
{
    switch (sessions.authenticate(request.bearerToken, now(), principal)) {
    case Lookup::Found: return std::nullopt;
    case Lookup::Missing: return ApiReply::unauthorized(request.replyType());
    case Lookup::Failed: break;
    }
    return ApiReply::internalError(request.replyType());
}

QString ServerContext::isoTime(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODate);
}

void ServerContext::housekeeping()
{
    const qint64 t = now();
    traffic.flush();
    sessions.purge(t);
    users.purge(t);
    shares.purge(t);
    for (RateLimiter *limiter :
         {&codesPerEmail, &codesPerAddress, &failedLoginsPerEmail, &failedLoginsPerAddress,
          &reportsPerAddress, &joinsPerAddress, &joinsPerCode, &peeksPerAddress})
        limiter->prune(t);
}
