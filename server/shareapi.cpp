#include "shareapi.h"

#include "bodyreader.h"
#include "cloud/sharecode.h"
#include "cloud/sharepolicy.h"
#include "consolehub.h"
#include "consolerules.h"
#include "inputrules.h"
#include "passwordhasher.h"
#include "relayhub.h"
#include "secrets.h"
#include "servercontext.h"
#include "serverlog.h"

using Need = BodyReader::Need;

namespace {

const QString kType = QStringLiteral("relay");
constexpr int kMaxLiveShares = 32; // per account
constexpr int kMaxPasses = 10000;  // browser guest tokens held at once
constexpr int kMaxPasscodeInput = 256;

// What a guest (and the log) is told when a share ends, by the reason kept with it.
QString endSentence(const QString &reason)
{
    if (reason == u"too_many_attempts")
        return QStringLiteral("Too many wrong passcodes; the invite was revoked.");
    if (reason == u"stale")
        return QStringLiteral("The invite ended with the host's session.");
    if (reason == u"expired")
        return QStringLiteral("The invite has expired.");
    return QStringLiteral("The owner stopped sharing.");
}

ApiReply notFound()
{
    return ApiReply::fail(kType, 404, QStringLiteral("share_not_found"),
                          QStringLiteral("That code is not valid or has expired."));
}

} // namespace

ShareApi::ShareApi(ServerContext &context, ConsoleHub &console, RelayHub &relays)
    : context(context)
    , console(console)
    , relays(relays)
{
    console.setShareResolver([this](qint64 userId, const QString &shareId, QString *portKey,
                                    ConsoleHub::Refusal *refusal) {
        ShareRecord record;
        const Lookup found = this->context.shares.findById(shareId, &record);
        if (found == Lookup::Failed) {
            *refusal = {500, QStringLiteral("internal_error"),
                        QStringLiteral(
                            "The server could not complete the request. Please try again later.")};
            return false;
        }
        if (found == Lookup::Missing || record.userId != userId) {
            *refusal = {404, QStringLiteral("share_not_found"),
                        QStringLiteral("There is no such share.")};
            return false;
        }
        const ApiReply ended = endedReply(record, this->context.now());
        if (ended.httpStatus != 200) {
            *refusal = {ended.httpStatus, ended.code(), ended.body[u"description"].toString()};
            return false;
        }
        *portKey = record.portKey;
        return true;
    });
    console.setGuestResolver([this](const QString &token, ConsoleHub::GuestGrant *grant,
                                    ConsoleHub::Refusal *refusal) {
        const auto pass = passes.constFind(secrets::sha256Hex(token));
        ShareRecord record;
        if (token.isEmpty() || pass == passes.constEnd() ||
            this->context.shares.findById(pass->shareId, &record) != Lookup::Found) {
            *refusal = {401, QStringLiteral("unauthorized"),
                        QStringLiteral("The invite is no longer valid; join again with the code.")};
            return false;
        }
        const ApiReply ended = endedReply(record, this->context.now());
        if (ended.httpStatus != 200 || record.web == u"none") {
            *refusal = {ended.httpStatus == 200 ? 403 : ended.httpStatus,
                        ended.httpStatus == 200 ? QStringLiteral("permission_denied")
                                                : ended.code(),
                        ended.body[u"description"].toString()};
            return false;
        }
        *grant = {record.userId, record.cid, record.shareId,  record.portKey,   record.portName,
                  record.label,  record.web, pass->guestName, record.createdAt, record.expiresAt};
        return true;
    });
    console.setRunChanged([this](qint64 userId, const QString &cid, const QString &sessionId) {
        QStringList ended;
        if (!this->context.shares.revokeOtherRuns(userId, cid, sessionId, this->context.now(),
                                                  &ended))
            return;
        for (const QString &shareId : std::as_const(ended)) {
            qCInfo(lcServer).noquote()
                << "share" << shareId << "ended: its computer started a new run";
            endLive(shareId, QStringLiteral("stale"));
        }
    });
}

void ShareApi::addRoutes(Router &router)
{
    const auto bindTo = [this](void (ShareApi::*method)(const ApiRequest &, const Router::Done &)) {
        return [this, method](const ApiRequest &request, const Router::Done &done) {
            (this->*method)(request, done);
        };
    };
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/relay/shares"),
               bindTo(&ShareApi::create));
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/relay/shares"),
               bindTo(&ShareApi::list));
    router.add(QStringLiteral("DELETE"), QStringLiteral("/api/v3/relay/shares/{id}"),
               bindTo(&ShareApi::revoke));
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/relay/join/{code}"),
               bindTo(&ShareApi::peek));
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/relay/join"),
               bindTo(&ShareApi::join));
}

void ShareApi::create(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    BodyReader body(request.body);
    const QString cid = body.text(QStringLiteral("cid"), Need::Required).toLower();
    const QString session = body.text(QStringLiteral("session_id"), Need::Required);
    const QString portKey = body.text(QStringLiteral("port_key"), Need::Required);
    body.require(
        inputrules::isPlainName(portKey, 32), QStringLiteral("port_key"),
        QStringLiteral("A port key is 1 to 32 letters, digits, dots, dashes or underscores."));
    const qint64 ttl = body.integer(QStringLiteral("ttl_seconds"), Need::Required, 1, 7 * 86400);
    body.require(
        SharePolicy::isTtl(ttl), QStringLiteral("ttl_seconds"),
        QStringLiteral(
            "An invite lasts 1, 4, 12 or 24 hours (3600, 14400, 43200 or 86400 seconds)."));
    const QString label = body.text(QStringLiteral("label"), Need::Optional);
    body.require(inputrules::isDisplayText(label, 64), QStringLiteral("label"),
                 QStringLiteral("A label is one line of at most 64 characters."));
    const QString passcode = body.text(QStringLiteral("passcode"), Need::Optional, false);
    body.require(SharePolicy::isPasscode(passcode), QStringLiteral("passcode"),
                 QStringLiteral("A passcode is 4–16 characters."));
    const QString web = body.text(QStringLiteral("web"), Need::Optional);
    SharePolicy::Level level = SharePolicy::Level::None;
    body.require(web.isEmpty() || SharePolicy::parseLevel(web, &level), QStringLiteral("web"),
                 QStringLiteral("\"web\" is none, view, send or control."));
    const QJsonValue relayValue = body.json().value(QStringLiteral("relay"));
    body.require(relayValue.isUndefined() || relayValue.isNull() || relayValue.isBool(),
                 QStringLiteral("relay"), QStringLiteral("\"relay\" is true or false."));
    const bool relay = relayValue.toBool();
    body.require(level != SharePolicy::Level::None || relay, QStringLiteral("web"),
                 QStringLiteral("Allow at least one way in: the browser, Velmora, or both."));
    if (!body.ok())
        return done(body.error(kType));

    ConsoleHub::Refusal refusal;
    if (!consolerules::checkDevice(context, principal, cid, session, &refusal))
        return done(ApiReply::fail(kType, refusal.httpStatus, refusal.code, refusal.description));
    // The computer must be online in this very run and have reported the port: the app
    // retries these three refusals after sending its port list again.
    const QString current = console.currentSession(principal.userId, cid);
    if (current.isEmpty() || !console.isOnline(principal.userId, cid) ||
        !console.hasSnapshot(principal.userId, cid))
        return done(ApiReply::fail(kType, 409, QStringLiteral("device_not_ready"),
                                   QStringLiteral("The computer has not reported its ports yet.")));
    if (current != session)
        return done(ApiReply::fail(kType, 409, QStringLiteral("session_mismatch"),
                                   QStringLiteral("The computer is in another session now.")));
    const QJsonObject port = console.port(principal.userId, cid, portKey);
    if (port.isEmpty())
        return done(
            ApiReply::fail(kType, 404, QStringLiteral("port_not_found"),
                           QStringLiteral("The computer reports no port \"%1\".").arg(portKey)));
    const qint64 now = context.now();
    const int live = context.shares.countLive(principal.userId, now);
    if (live < 0)
        return done(ApiReply::internalError(kType));
    if (live >= kMaxLiveShares)
        return done(ApiReply::fail(
            kType, 409, QStringLiteral("share_limit"),
            QStringLiteral("The account has %1 live shares; stop one first.").arg(live)));

    ShareRecord record;
    record.userId = principal.userId;
    record.cid = cid;
    record.sessionId = session;
    record.portKey = portKey;
    const QString portName = port[u"display_name"].toString();
    record.portName =
        inputrules::isDisplayText(portName, 64) && !portName.isEmpty() ? portName : portKey;
    record.label = label;
    record.web = SharePolicy::levelName(level);
    record.relay = relay;
    record.createdAt = now;
    record.expiresAt = SharePolicy::expiresAt(now, ttl);
    const QString base = baseUrl(request);
    if (passcode.isEmpty())
        return store(record, base, done);
    if (!context.hasher.hasRoom())
        return done(ApiReply::fail(kType, 503, QStringLiteral("server_busy"),
                                   QStringLiteral("The server is busy; try again in a moment.")));
    context.hasher.hash(passcode, [this, record, base, done](const QString &encoded) mutable {
        if (encoded.isEmpty())
            return done(ApiReply::internalError(kType));
        record.passcodeHash = encoded;
        store(record, base, done);
    });
}

void ShareApi::store(ShareRecord record, const QString &baseUrl, const Router::Done &done)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        record.shareId =
            QStringLiteral("shr_") + QString::fromLatin1(secrets::randomBytes(12).toHex());
        record.code = ShareCode::fromRandom(secrets::randomBytes(ShareCode::kLength));
        switch (context.shares.create(record)) {
        case Lookup::Failed:
            return done(ApiReply::internalError(kType));
        case Lookup::Missing:
            continue; // the code or id is taken: draw again
        case Lookup::Found:
            break;
        }
        DeviceRecord device;
        context.devices.find(record.userId, record.cid, &device);
        qCInfo(lcServer).noquote()
            << "share" << record.shareId << "created for port" << record.portKey << "web"
            << record.web << "relay" << record.relay << "until"
            << ServerContext::isoTime(record.expiresAt);
        return done(
            ApiReply::ok(kType, QStringLiteral("Share created."),
                         {{QStringLiteral("share"), shareJson(record, device.name, baseUrl)}}));
    }
    done(ApiReply::internalError(kType));
}

void ShareApi::list(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    const QString cid = request.queryValue(QStringLiteral("cid")).trimmed().toLower();
    if (!cid.isEmpty()) {
        if (!inputrules::isCid(cid))
            return done(ApiReply::fail(
                kType, 400, QStringLiteral("invalid_field"),
                QStringLiteral("The device id must be a UUID (8-4-4-4-12 hexadecimal digits)."),
                {{QStringLiteral("field"), QStringLiteral("cid")}}));
        DeviceRecord device;
        switch (context.devices.find(principal.userId, cid, &device)) {
        case Lookup::Failed:
            return done(ApiReply::internalError(kType));
        case Lookup::Missing:
            return done(
                ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                               QStringLiteral("This computer is not bound to the account.")));
        case Lookup::Found:
            break;
        }
    }
    done(listReply(principal.userId, cid, baseUrl(request), QStringLiteral("Shares listed.")));
}

void ShareApi::revoke(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    const QString id = request.params.value(QStringLiteral("id"));
    ShareRecord record;
    switch (context.shares.findById(id, &record)) {
    case Lookup::Failed:
        return done(ApiReply::internalError(kType));
    case Lookup::Missing:
        return done(notFound());
    case Lookup::Found:
        break;
    }
    if (record.userId != principal.userId)
        return done(notFound());
    // Stopping a share twice is no error: the owner's two computers may both ask.
    end(id, QStringLiteral("owner"));
    ApiReply reply = listReply(principal.userId, record.cid, baseUrl(request),
                               QStringLiteral("The share was stopped."));
    if (reply.httpStatus == 200)
        reply.body.insert(QStringLiteral("share_id"), id);
    done(reply);
}

void ShareApi::peek(const ApiRequest &request, const Router::Done &done)
{
    const QString address = request.addressKey();
    const qint64 now = context.now();
    if (const qint64 wait = context.peeksPerAddress.retryAfter(address, now))
        return done(
            ApiReply::rateLimited(kType, QStringLiteral("Too many tries. Wait a minute."), wait));
    context.peeksPerAddress.hit(address, now);
    const QString code = ShareCode::normalize(request.params.value(QStringLiteral("code")));
    ShareRecord record;
    switch (code.isEmpty() ? Lookup::Missing : context.shares.findByCode(code, &record)) {
    case Lookup::Failed:
        return done(ApiReply::internalError(kType));
    case Lookup::Missing:
        return done(notFound());
    case Lookup::Found:
        break;
    }
    const ApiReply ended = endedReply(record, now);
    if (ended.httpStatus != 200)
        return done(ended);
    DeviceRecord device;
    context.devices.find(record.userId, record.cid, &device);
    done(ApiReply::ok(
        kType, QStringLiteral("The invite is valid."),
        {{QStringLiteral("label"), record.label},
         {QStringLiteral("port_name"), record.portName},
         {QStringLiteral("device_name"), device.name},
         {QStringLiteral("passcode_required"), !record.passcodeHash.isEmpty()},
         {QStringLiteral("online"), console.isOnline(record.userId, record.cid)},
         {QStringLiteral("busy"), relays.portBusy(record.userId, record.cid, record.portKey)},
         {QStringLiteral("web"), record.web},
         {QStringLiteral("relay"), record.relay},
         {QStringLiteral("expires_at"), ServerContext::isoTime(record.expiresAt)}}));
}

void ShareApi::join(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString codeText = body.text(QStringLiteral("code"), Need::Required);
    const QString passcode = body.text(QStringLiteral("passcode"), Need::Optional, false);
    body.require(passcode.size() <= kMaxPasscodeInput, QStringLiteral("passcode"),
                 QStringLiteral("A passcode is 4–16 characters."));
    const QString guestName = body.text(QStringLiteral("guest_name"), Need::Optional);
    body.require(inputrules::isDisplayText(guestName, 64), QStringLiteral("guest_name"),
                 QStringLiteral("A guest name is one line of at most 64 characters."));
    QString route = body.text(QStringLiteral("route"), Need::Optional);
    route = route.isEmpty() ? QStringLiteral("relay") : route;
    body.require(
        route == u"relay" || route == u"web", QStringLiteral("route"),
        QStringLiteral("\"route\" is relay (a serial port in Velmora) or web (a browser)."));
    if (!body.ok())
        return done(body.error(kType));

    // Guessing codes costs tries per address; guessing one code's passcode costs tries
    // per code as well, whoever asks, and five wrong ones end the share.
    const QString address = request.addressKey();
    const qint64 now = context.now();
    if (const qint64 wait = context.joinsPerAddress.retryAfter(address, now))
        return done(
            ApiReply::rateLimited(kType, QStringLiteral("Too many tries. Wait a minute."), wait));
    context.joinsPerAddress.hit(address, now);
    const QString code = ShareCode::normalize(codeText);
    ShareRecord record;
    switch (code.isEmpty() ? Lookup::Missing : context.shares.findByCode(code, &record)) {
    case Lookup::Failed:
        return done(ApiReply::internalError(kType));
    case Lookup::Missing:
        return done(notFound());
    case Lookup::Found:
        break;
    }
    if (const qint64 wait = context.joinsPerCode.retryAfter(code, now))
        return done(
            ApiReply::rateLimited(kType, QStringLiteral("Too many tries. Wait a minute."), wait));
    context.joinsPerCode.hit(code, now);
    const ApiReply ended = endedReply(record, now);
    if (ended.httpStatus != 200)
        return done(ended);
    if (route == u"relay" && !record.relay)
        return done(
            ApiReply::fail(kType, 403, QStringLiteral("permission_denied"),
                           QStringLiteral("The invite does not admit Velmora as a serial port.")));
    if (route == u"web" && record.web == u"none")
        return done(ApiReply::fail(kType, 403, QStringLiteral("permission_denied"),
                                   QStringLiteral("The invite does not admit a browser.")));
    const QString name = guestName.isEmpty() ? QStringLiteral("Guest") : guestName;
    if (record.passcodeHash.isEmpty())
        return admit(record, route, name, done);
    if (passcode.isEmpty())
        return done(ApiReply::fail(kType, 403, QStringLiteral("passcode_required"),
                                   QStringLiteral("The invite needs its passcode.")));
    if (!context.hasher.hasRoom())
        return done(ApiReply::fail(kType, 503, QStringLiteral("server_busy"),
                                   QStringLiteral("The server is busy; try again in a moment.")));
    // The attempt is counted before the check, so that tries running side by side
    // cannot pass the limit between them.
    const int attempt = context.shares.reserveAttempt(record.shareId);
    if (attempt < 0)
        return done(ApiReply::internalError(kType));
    if (attempt > SharePolicy::kMaxWrongPasscodes) {
        end(record.shareId, QStringLiteral("too_many_attempts"));
        return done(ApiReply::fail(kType, 403, QStringLiteral("too_many_attempts"),
                                   endSentence(QStringLiteral("too_many_attempts"))));
    }
    context.hasher.verify(
        record.passcodeHash, passcode,
        [this, shareId = record.shareId, attempt, route, name, done](bool match) {
            if (match) {
                context.shares.releaseAttempt(shareId);
                ShareRecord fresh;
                switch (context.shares.findById(shareId, &fresh)) {
                case Lookup::Failed:
                    return done(ApiReply::internalError(kType));
                case Lookup::Missing:
                    return done(notFound());
                case Lookup::Found:
                    break;
                }
                const ApiReply ended = endedReply(fresh, context.now());
                return ended.httpStatus != 200 ? done(ended) : admit(fresh, route, name, done);
            }
            if (attempt >= SharePolicy::kMaxWrongPasscodes) {
                qCInfo(lcServer).noquote()
                    << "share" << shareId << "had" << attempt << "wrong passcodes";
                end(shareId, QStringLiteral("too_many_attempts"));
                return done(ApiReply::fail(kType, 403, QStringLiteral("too_many_attempts"),
                                           endSentence(QStringLiteral("too_many_attempts"))));
            }
            done(ApiReply::fail(
                kType, 403, QStringLiteral("invalid_passcode"),
                QStringLiteral("The passcode is wrong."),
                {{QStringLiteral("attempts_left"), SharePolicy::kMaxWrongPasscodes - attempt}}));
        });
}

void ShareApi::admit(const ShareRecord &record, const QString &route, const QString &guestName,
                     const Router::Done &done)
{
    if (!console.isOnline(record.userId, record.cid))
        return done(ApiReply::fail(kType, 409, QStringLiteral("device_offline"),
                                   QStringLiteral("The host is offline right now.")));
    const QString expiresAt = ServerContext::isoTime(record.expiresAt);
    if (route == u"relay") {
        ConsoleHub::Refusal refusal;
        const auto opened = relays.open(record.userId, record.cid, record.portKey, record.shareId,
                                        guestName, true, &refusal, record.expiresAt);
        if (!opened) {
            if (refusal.code == u"relay_busy")
                refusal.description = QStringLiteral("Someone is already connected to that port.");
            return done(
                ApiReply::fail(kType, refusal.httpStatus, refusal.code, refusal.description));
        }
        qCInfo(lcServer).noquote()
            << "share" << record.shareId << "admitted a relay guest to" << opened->relayId;
        return done(ApiReply::ok(kType, QStringLiteral("Relay opened; join it with the ticket."),
                                 {{QStringLiteral("relay_id"), opened->relayId},
                                  {QStringLiteral("ticket"), opened->ticket},
                                  {QStringLiteral("port_key"), opened->portKey},
                                  {QStringLiteral("guest_token"), opened->guestToken},
                                  {QStringLiteral("session_id"), QString()},
                                  {QStringLiteral("expires_in"), 60},
                                  {QStringLiteral("share_id"), record.shareId},
                                  {QStringLiteral("label"), record.label},
                                  {QStringLiteral("port_name"), record.portName},
                                  {QStringLiteral("expires_at"), expiresAt}}));
    }
    // A browser guest gets a token for the console socket, good while the share lives.
    const qint64 now = context.now();
    passes.removeIf(
        [&](const auto &entry) { return SharePolicy::isExpired(entry.value().expiresAt, now); });
    if (passes.size() >= kMaxPasses)
        return done(ApiReply::fail(kType, 503, QStringLiteral("server_busy"),
                                   QStringLiteral("The server is busy; try again in a moment.")));
    const QString token = secrets::randomToken(QStringLiteral("vgt_"));
    passes.insert(secrets::sha256Hex(token), {record.shareId, guestName, record.expiresAt});
    qCInfo(lcServer).noquote() << "share" << record.shareId << "admitted a browser guest";
    done(ApiReply::ok(kType, QStringLiteral("Welcome; the console opens with the guest token."),
                      {{QStringLiteral("guest_token"), token},
                       {QStringLiteral("share_id"), record.shareId},
                       {QStringLiteral("cid"), record.cid},
                       {QStringLiteral("port_key"), record.portKey},
                       {QStringLiteral("port_name"), record.portName},
                       {QStringLiteral("label"), record.label},
                       {QStringLiteral("web"), record.web},
                       {QStringLiteral("expires_at"), expiresAt}}));
}

void ShareApi::end(const QString &shareId, const QString &reason)
{
    if (context.shares.revoke(shareId, reason, context.now()))
        qCInfo(lcServer).noquote() << "share" << shareId << "revoked:" << reason;
    endLive(shareId, reason);
}

void ShareApi::endLive(const QString &shareId, const QString &reason)
{
    relays.endShare(shareId);
    console.endShare(shareId, reason, endSentence(reason));
    passes.removeIf([&](const auto &entry) { return entry.value().shareId == shareId; });
}

ApiReply ShareApi::listReply(qint64 userId, const QString &cid, const QString &baseUrl,
                             const QString &description)
{
    const qint64 now = context.now();
    QList<ShareRecord> records;
    QList<DeviceRecord> devices;
    if (!context.shares.list(userId, cid, now, &records) || !context.devices.list(userId, &devices))
        return ApiReply::internalError(kType);
    QHash<QString, QString> names;
    QJsonArray deviceList;
    for (const DeviceRecord &device : std::as_const(devices)) {
        names.insert(device.cid, device.name);
        deviceList.append(
            QJsonObject{{QStringLiteral("cid"), device.cid},
                        {QStringLiteral("name"), device.name},
                        {QStringLiteral("online"), console.isOnline(userId, device.cid)}});
    }
    QJsonArray shares;
    QJsonArray revoked;
    for (const ShareRecord &record : std::as_const(records)) {
        if (record.isLive(now))
            shares.append(shareJson(record, names.value(record.cid), baseUrl));
        else if (record.revokedAt > 0)
            revoked.append(QJsonObject{{QStringLiteral("share_id"), record.shareId},
                                       {QStringLiteral("cid"), record.cid},
                                       {QStringLiteral("reason"), record.revokeReason}});
    }
    QJsonObject fields{{QStringLiteral("shares"), shares}, {QStringLiteral("revoked"), revoked}};
    if (cid.isEmpty())
        fields.insert(QStringLiteral("devices"), deviceList);
    else
        fields.insert(QStringLiteral("cid"), cid);
    return ApiReply::ok(kType, description, fields);
}

QJsonObject ShareApi::shareJson(const ShareRecord &record, const QString &deviceName,
                                const QString &baseUrl) const
{
    QJsonValue guest = QJsonValue::Null;
    if (const auto relayGuest = relays.guestOf(record.shareId))
        guest = QJsonObject{{QStringLiteral("name"), relayGuest->name},
                            {QStringLiteral("since"), ServerContext::isoTime(relayGuest->since)}};
    return {{QStringLiteral("share_id"), record.shareId},
            {QStringLiteral("code"), record.code},
            {QStringLiteral("link"),
             baseUrl + QStringLiteral("/console#join=") + ShareCode::format(record.code)},
            {QStringLiteral("cid"), record.cid},
            {QStringLiteral("device_name"), deviceName},
            {QStringLiteral("port_key"), record.portKey},
            {QStringLiteral("port_name"), record.portName},
            {QStringLiteral("label"), record.label},
            {QStringLiteral("created_at"), ServerContext::isoTime(record.createdAt)},
            {QStringLiteral("expires_at"), ServerContext::isoTime(record.expiresAt)},
            {QStringLiteral("web"), record.web},
            {QStringLiteral("relay"), record.relay},
            {QStringLiteral("passcode_required"), !record.passcodeHash.isEmpty()},
            {QStringLiteral("guest"), guest},
            {QStringLiteral("web_guests"), console.webGuests(record.shareId)}};
}

ApiReply ShareApi::endedReply(const ShareRecord &record, qint64 nowMs)
{
    if (record.revokedAt > 0) {
        if (record.revokeReason == u"too_many_attempts")
            return ApiReply::fail(kType, 403, QStringLiteral("too_many_attempts"),
                                  endSentence(record.revokeReason));
        return ApiReply::fail(kType, 410, QStringLiteral("share_revoked"),
                              endSentence(record.revokeReason));
    }
    if (SharePolicy::isExpired(record.expiresAt, nowMs))
        return ApiReply::fail(kType, 410, QStringLiteral("share_expired"),
                              endSentence(QStringLiteral("expired")));
    return ApiReply::ok(kType, QStringLiteral("The invite is valid."));
}

QString ShareApi::baseUrl(const ApiRequest &request) const
{
    if (!context.options.publicUrl.isEmpty())
        return context.options.publicUrl;
    if (!request.host.isEmpty())
        return QStringLiteral("http://") + request.host;
    return QStringLiteral("http://%1:%2")
        .arg(context.options.listenAddress.toString())
        .arg(context.options.port);
}
