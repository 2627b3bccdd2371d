#include "accountapi.h"

#include "bodyreader.h"
#include "deviceapi.h"
#include "inputrules.h"
#include "mailer.h"
#include "passwordhasher.h"
#include "secrets.h"
#include "servercontext.h"

using Need = BodyReader::Need;

namespace {

const QString kType = QStringLiteral("account");
constexpr int kCodeValidMinutes = 15;
constexpr int kMaxCodeAttempts = 5;

QString codeDigest(const QString &email, const QString &code)
{
    return secrets::sha256Hex(email + u':' + code);
}

QJsonObject userJson(const UserRecord &user)
{
    return {{QStringLiteral("id"), user.id},
            {QStringLiteral("email"), user.email},
            {QStringLiteral("username"), user.username}};
}

ApiReply busy()
{
    ApiReply reply = ApiReply::fail(kType, 503, QStringLiteral("server_busy"),
                                    QStringLiteral("The server is busy. Please try again in a "
                                                   "moment."));
    reply.addHeader("Retry-After", "5");
    return reply;
}

QString readEmail(BodyReader &body)
{
    const QString email = inputrules::normalizeEmail(body.text(QStringLiteral("email"), Need::Required));
    body.require(inputrules::isEmail(email), QStringLiteral("email"),
                 QStringLiteral("The email address is not valid."));
    return email;
}

QString readPassword(BodyReader &body)
{
    const QString password = body.text(QStringLiteral("password"), Need::Required, false);
    body.require(password.size() >= inputrules::kMinPasswordLength
                     && password.size() <= inputrules::kMaxPasswordLength,
                 QStringLiteral("password"),
                 QStringLiteral("A password has %1 to %2 characters.")
                     .arg(inputrules::kMinPasswordLength)
                     .arg(inputrules::kMaxPasswordLength));
    return password;
}

QString minutesText(qint64 seconds)
{
    const qint64 minutes = (seconds + 59) / 60;
    return minutes <= 1 ? QStringLiteral("a minute") : QStringLiteral("%1 minutes").arg(minutes);
}

} // namespace

AccountApi::AccountApi(ServerContext &context)
    : context(context)
{
}

void AccountApi::addRoutes(Router &router)
{
    const auto bindTo = [this](void (AccountApi::*method)(const ApiRequest &, const Router::Done &)) {
        return [this, method](const ApiRequest &request, const Router::Done &done) {
            (this->*method)(request, done);
        };
    };
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/account/register/code"),
               bindTo(&AccountApi::sendCode));
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/account/register"),
               bindTo(&AccountApi::registerAccount));
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/account/login"),
               bindTo(&AccountApi::login));
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/account/token/refresh"),
               bindTo(&AccountApi::refresh));
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/account/logout"),
               bindTo(&AccountApi::logout));
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/account/me"), bindTo(&AccountApi::me));
}

void AccountApi::sendCode(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString email = readEmail(body);
    if (!body.ok())
        return done(body.error(kType));

    const qint64 now = context.now();
    const QString address = request.addressKey();
    const qint64 wait = qMax(context.codesPerEmail.retryAfter(email, now),
                             context.codesPerAddress.retryAfter(address, now));
    if (wait > 0) {
        return done(ApiReply::rateLimited(
            kType, QStringLiteral("A code was sent a moment ago. Wait %1 before asking again.")
                       .arg(minutesText(wait)),
            wait));
    }
    UserRecord existing;
    switch (context.users.byEmail(email, &existing)) {
    case Lookup::Failed: return done(ApiReply::internalError(kType));
    case Lookup::Found:
        return done(ApiReply::fail(kType, 409, QStringLiteral("email_taken"),
                                   QStringLiteral("An account with this email already exists. "
                                                  "Sign in instead.")));
    case Lookup::Missing: break;
    }

    const QString code = secrets::randomDigits(inputrules::kCodeDigits);
    CodeRecord record{codeDigest(email, code), now, now + kCodeValidMinutes * 60 * 1000, 0};
    if (!context.users.saveCode(email, record))
        return done(ApiReply::internalError(kType));
    if (!context.mailer.sendRegistrationCode(email, code, kCodeValidMinutes)) {
        context.users.deleteCode(email);
        return done(ApiReply::fail(kType, 503, QStringLiteral("mail_unavailable"),
                                   QStringLiteral("The code could not be sent. Please try again "
                                                  "later.")));
    }
    context.codesPerEmail.hit(email, now);
    context.codesPerAddress.hit(address, now);
    done(ApiReply::ok(kType, QStringLiteral("A code was sent to %1.").arg(email),
                      {{QStringLiteral("expires_in"), kCodeValidMinutes * 60},
                       {QStringLiteral("resend_after"), 60}}));
}

AccountApi::DeviceFields AccountApi::readDevice(BodyReader &body)
{
    DeviceFields device;
    device.cid = body.text(QStringLiteral("cid"), Need::Optional).toLower();
    body.require(device.cid.isEmpty() || inputrules::isCid(device.cid), QStringLiteral("cid"),
                 QStringLiteral("The device id must be a UUID (8-4-4-4-12 hexadecimal digits)."));
    device.name = body.text(QStringLiteral("device_name"), Need::Optional);
    body.require(inputrules::isDisplayText(device.name, inputrules::kMaxNameLength),
                 QStringLiteral("device_name"),
                 QStringLiteral("A device name is one line of at most %1 characters.")
                     .arg(inputrules::kMaxNameLength));
    device.clientVersion = body.text(QStringLiteral("client_version"), Need::Optional);
    body.require(inputrules::isDisplayText(device.clientVersion, 32),
                 QStringLiteral("client_version"),
                 QStringLiteral("A client version is one line of at most 32 characters."));
    return device;
}

void AccountApi::registerAccount(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString email = readEmail(body);
    const QString username = body.text(QStringLiteral("username"), Need::Required);
    body.require(inputrules::isDisplayText(username, inputrules::kMaxNameLength),
                 QStringLiteral("username"),
                 QStringLiteral("A user name is one line of at most %1 characters.")
                     .arg(inputrules::kMaxNameLength));
    const QString password = readPassword(body);
    const QString code = body.text(QStringLiteral("code"), Need::Required);
    body.require(inputrules::isCode(code), QStringLiteral("code"),
                 QStringLiteral("The code has %1 digits.").arg(inputrules::kCodeDigits));
    const DeviceFields device = readDevice(body);
    if (!body.ok())
        return done(body.error(kType));

    const ApiReply wrongCode = ApiReply::fail(
        kType, 400, QStringLiteral("invalid_code"),
        QStringLiteral("The code is wrong or has expired. Ask for a new one."),
        {{QStringLiteral("field"), QStringLiteral("code")}});
    CodeRecord record;
    switch (context.users.code(email, &record)) {
    case Lookup::Failed: return done(ApiReply::internalError(kType));
    case Lookup::Missing: return done(wrongCode);
    case Lookup::Found: break;
    }
    if (record.expiresAt <= context.now() || record.attempts >= kMaxCodeAttempts) {
        context.users.deleteCode(email);
        return done(wrongCode);
    }
    if (!secrets::constantTimeEquals(record.codeHash.toLatin1(), codeDigest(email, code).toLatin1())) {
        // Each wrong guess uses up one of the code's few attempts.
        context.users.countCodeAttempt(email);
        return done(wrongCode);
    }
    if (!context.hasher.hasRoom())
        return done(busy());

    context.hasher.hash(password, [this, email, username, device, done](const QString &encoded) {
        if (encoded.isEmpty())
            return done(ApiReply::internalError(kType));
        UserRecord user{0, email, username, encoded, context.now()};
        switch (context.users.create(&user)) {
        case UserStore::Created::Failed: return done(ApiReply::internalError(kType));
        case UserStore::Created::EmailTaken:
            return done(ApiReply::fail(kType, 409, QStringLiteral("email_taken"),
                                       QStringLiteral("An account with this email already "
                                                      "exists. Sign in instead.")));
        case UserStore::Created::Ok: break;
        }
        context.users.deleteCode(email);
        signIn(user, device, QStringLiteral("Account created."), done);
    });
}

void AccountApi::login(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString email = readEmail(body);
    const QString password = body.text(QStringLiteral("password"), Need::Required, false);
    body.require(password.size() <= inputrules::kMaxPasswordLength, QStringLiteral("password"),
                 QStringLiteral("A password has at most %1 characters.")
                     .arg(inputrules::kMaxPasswordLength));
    const DeviceFields device = readDevice(body);
    if (!body.ok())
        return done(body.error(kType));

    const qint64 now = context.now();
    const QString address = request.addressKey();
    const qint64 wait = qMax(context.failedLoginsPerEmail.retryAfter(email, now),
                             context.failedLoginsPerAddress.retryAfter(address, now));
    if (wait > 0) {
        return done(ApiReply::rateLimited(
            kType,
            QStringLiteral("Too many failed sign-ins. Try again in %1.").arg(minutesText(wait)),
            wait));
    }
    UserRecord user;
    const Lookup found = context.users.byEmail(email, &user);
    if (found == Lookup::Failed)
        return done(ApiReply::internalError(kType));
    if (!context.hasher.hasRoom())
        return done(busy());

    // An unknown email is checked against a stand-in hash: the reply takes as long
    // and reads the same as for a wrong password.
    const QString encoded = found == Lookup::Found ? user.passwordHash : QString();
    context.hasher.verify(encoded, password, [this, user, device, email, address, done](bool match) {
        if (!match) {
            const qint64 now = context.now();
            context.failedLoginsPerEmail.hit(email, now);
            context.failedLoginsPerAddress.hit(address, now);
            return done(ApiReply::fail(kType, 401, QStringLiteral("invalid_credentials"),
                                       QStringLiteral("Wrong email or password.")));
        }
        context.failedLoginsPerEmail.clear(email);
        signIn(user, device, QStringLiteral("Signed in."), done);
    });
}

void AccountApi::signIn(const UserRecord &user, const DeviceFields &device, const QString &message,
                        const Router::Done &done)
{
    const qint64 now = context.now();
    QJsonObject fields{{QStringLiteral("user"), userJson(user)}};
    if (!device.cid.isEmpty()) {
        DeviceRecord record{0, device.cid,
                            device.name.isEmpty() ? DeviceApi::kUnnamed : device.name,
                            device.clientVersion, 0, 0};
        if (!context.devices.bind(user.id, &record, now))
            return done(ApiReply::internalError(kType));
        fields.insert(QStringLiteral("device"), DeviceApi::deviceJson(record, device.cid));
    }
    TokenPair tokens;
    if (!context.sessions.open(user.id, device.cid, now, &tokens))
        return done(ApiReply::internalError(kType));
    fields.insert(QStringLiteral("access_token"), tokens.accessToken);
    fields.insert(QStringLiteral("refresh_token"), tokens.refreshToken);
    fields.insert(QStringLiteral("token_type"), QStringLiteral("Bearer"));
    fields.insert(QStringLiteral("expires_in"), (tokens.accessExpiresAt - now) / 1000);
    fields.insert(QStringLiteral("refresh_expires_in"), (tokens.refreshExpiresAt - now) / 1000);
    done(ApiReply::ok(kType, message, fields));
}

void AccountApi::refresh(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString token = body.text(QStringLiteral("refresh_token"), Need::Required);
    QString cid = body.text(QStringLiteral("cid"), Need::Optional).toLower();
    body.require(cid.isEmpty() || inputrules::isCid(cid), QStringLiteral("cid"),
                 QStringLiteral("The device id must be a UUID (8-4-4-4-12 hexadecimal digits)."));
    if (!body.ok())
        return done(body.error(kType));

    const qint64 now = context.now();
    TokenPair tokens;
    qint64 userId = 0;
    switch (context.sessions.rotate(token, cid, now, &tokens, &userId)) {
    case SessionStore::Rotated::Failed: return done(ApiReply::internalError(kType));
    case SessionStore::Rotated::Refused:
        return done(ApiReply::fail(kType, 401, QStringLiteral("invalid_refresh_token"),
                                   QStringLiteral("The sign-in has expired or was ended. "
                                                  "Please sign in again.")));
    case SessionStore::Rotated::Ok: break;
    }
    UserRecord user;
    if (context.users.byId(userId, &user) != Lookup::Found)
        return done(ApiReply::internalError(kType));
    if (!cid.isEmpty())
        context.devices.touch(userId, cid, now);
    done(ApiReply::ok(kType, QStringLiteral("Signed in."),
                      {{QStringLiteral("user"), userJson(user)},
                       {QStringLiteral("access_token"), tokens.accessToken},
                       {QStringLiteral("refresh_token"), tokens.refreshToken},
                       {QStringLiteral("token_type"), QStringLiteral("Bearer")},
                       {QStringLiteral("expires_in"), (tokens.accessExpiresAt - now) / 1000},
                       {QStringLiteral("refresh_expires_in"),
                        (tokens.refreshExpiresAt - now) / 1000}}));
}

void AccountApi::logout(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body, true);
    const QString token = body.text(QStringLiteral("refresh_token"), Need::Optional);
    if (!body.ok())
        return done(body.error(kType));

    const qint64 now = context.now();
    Principal principal;
    const Lookup signedIn = context.sessions.authenticate(request.bearerToken, now, &principal);
    if (signedIn == Lookup::Failed)
        return done(ApiReply::internalError(kType));
    if (signedIn == Lookup::Missing && token.isEmpty())
        return done(ApiReply::unauthorized(kType));
    // Either credential ends its session: an app whose access token ran out can still
    // sign out with its refresh token. Unknown tokens end nothing and are no error.
    const qint64 owner = signedIn == Lookup::Found ? principal.userId : 0;
    if (!token.isEmpty() && !context.sessions.revokeByRefreshToken(token, owner, now))
        return done(ApiReply::internalError(kType));
    if (signedIn == Lookup::Found && !context.sessions.revoke(principal.sessionId, now))
        return done(ApiReply::internalError(kType));
    done(ApiReply::ok(kType, QStringLiteral("Signed out.")));
}

void AccountApi::me(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (const auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    UserRecord user;
    switch (context.users.byId(principal.userId, &user)) {
    case Lookup::Failed: return done(ApiReply::internalError(kType));
    case Lookup::Missing: return done(ApiReply::unauthorized(kType));
    case Lookup::Found: break;
    }
    const int deviceCount = context.devices.count(user.id);
    if (deviceCount < 0)
        return done(ApiReply::internalError(kType));
    QJsonObject userObject = userJson(user);
    userObject.insert(QStringLiteral("created_at"), ServerContext::isoTime(user.createdAt));
    done(ApiReply::ok(
        kType, QStringLiteral("Signed in as %1.").arg(user.email),
        {{QStringLiteral("user"), userObject},
         {QStringLiteral("session"),
          QJsonObject{{QStringLiteral("cid"), principal.cid},
                      {QStringLiteral("expires_at"),
                       ServerContext::isoTime(principal.accessExpiresAt)}}},
         {QStringLiteral("device_count"), deviceCount}}));
}
