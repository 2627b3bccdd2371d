// Guest shares of CloudConsoleService: creating one (with retries while the server has
// not yet heard of the port), keeping the list the server confirms, ending shares on
// expiry, revocation or the server's word, and the check every guest command passes.

#include "cloud/accountsession.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/networkservices.h"
#include "cloud/relaycontroller.h"
#include "cloud/sharepolicy.h"
#include "session/consoleport.h"

#include <QDateTime>
#include <QJsonArray>
#include <QTimer>

namespace {
QString key(const char *text)
{
    return QString::fromLatin1(text);
}

qint64 timeOf(const QJsonValue &value)
{
    QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    if (!time.isValid())
        time = QDateTime::fromString(value.toString(), Qt::ISODate);
    return time.isValid() ? time.toMSecsSinceEpoch() : 0;
}
} // namespace

GuestShare CloudConsoleService::shareFromJson(const QJsonObject &object)
{
    GuestShare share;
    share.shareId = object.value(key("share_id")).toString();
    share.code = object.value(key("code")).toString();
    share.link = object.value(key("link")).toString();
    share.cid = object.value(key("cid")).toString();
    share.deviceName = object.value(key("device_name")).toString();
    share.portKey = object.value(key("port_key")).toString();
    share.portName = object.value(key("port_name")).toString();
    share.label = object.value(key("label")).toString();
    share.createdAtMs = timeOf(object.value(key("created_at")));
    share.expiresAtMs = timeOf(object.value(key("expires_at")));
    const QJsonObject guest = object.value(key("guest")).toObject();
    share.guestName = guest.value(key("name")).toString();
    share.guestSinceMs = timeOf(guest.value(key("since")));
    share.web = object.value(key("web")).toString(key("none"));
    share.relay = object.value(key("relay")).toBool();
    share.passcodeRequired = object.value(key("passcode_required")).toBool();
    const QJsonArray web = object.value(key("web_guests")).toArray();
    for (const QJsonValue &entry : web)
        share.webGuests << entry.toObject().value(key("name")).toString();
    return share;
}

void CloudConsoleService::createShare(const QString &portKey, int ttlSeconds,
                                      const QString &label, const QString &passcode,
                                      const QString &webLevel, bool relayAllowed)
{
    if (pending) {
        emit shareFailed(tr("A share is still being created; wait for it."));
        return;
    }
    if (!enabled) {
        emit shareFailed(tr("Switch Live Console on first: the share travels over its channel."));
        return;
    }
    SharePolicy::Level level = SharePolicy::Level::None;
    if (!SharePolicy::parseLevel(webLevel, &level)) {
        emit shareFailed(tr("Unknown browser level \"%1\".").arg(webLevel));
        return;
    }
    if (level == SharePolicy::Level::None && !relayAllowed) {
        emit shareFailed(tr("Allow at least one way in: the browser, Velmora, or both."));
        return;
    }
    if (!SharePolicy::isPasscode(passcode)) {
        emit shareFailed(tr("A passcode is 4–16 characters."));
        return;
    }
    if (!SharePolicy::isTtl(ttlSeconds)) {
        emit shareFailed(tr("A share lasts 1, 4, 12 or 24 hours."));
        return;
    }
    if (!portFor(portKey)) {
        emit shareFailed(tr("This computer has no port %1.").arg(portKey));
        return;
    }
    pending = PendingShare{portKey, ttlSeconds, label.trimmed(), passcode, webLevel,
                           relayAllowed, 0};
    // The server must know the port (and, for a relay, that it may be relayed) before it
    // accepts the share.
    uploadSnapshot();
    pendingShareTimer->start();
}

void CloudConsoleService::postPendingShare()
{
    if (!pending)
        return;
    ++pending->attempts;
    if (!readyForNetwork()) {
        if (pending->attempts >= MaxShareAttempts) {
            pending.reset();
            emit shareFailed(tr("The cloud cannot be reached: sign in and try again."));
        } else {
            pendingShareTimer->start();
        }
        return;
    }
    QJsonObject body{{key("cid"), cidValue},
                     {key("session_id"), sessionIdValue},
                     {key("port_key"), pending->portKey},
                     {key("ttl_seconds"), pending->ttlSeconds},
                     {key("web"), pending->webLevel},
                     {key("relay"), pending->allowRelay}};
    if (!pending->label.isEmpty())
        body.insert(key("label"), pending->label);
    if (!pending->passcode.isEmpty())
        body.insert(key("passcode"), pending->passcode);
    account->network()->relayCreateShare(token(), body);
}

void CloudConsoleService::onRelayShareResponse(const QJsonObject &object, bool toCreate)
{
    if (!object.value(key("status")).toBool(true)) {
        // A refused list or revoke says nothing about a share being made meanwhile.
        if (!toCreate || !pending)
            return;
        const QString code = object.value(key("code")).toString();
        const bool retry = code == QLatin1String("device_not_ready") ||
                           code == QLatin1String("session_mismatch") ||
                           code == QLatin1String("port_not_found");
        if (retry && pending->attempts < MaxShareAttempts) {
            uploadSnapshot();
            pendingShareTimer->start();
            return;
        }
        pending.reset();
        const QString description = object.value(key("description")).toString();
        emit shareFailed(description.isEmpty() ? tr("The server refused the share (%1).").arg(code)
                                               : description);
        return;
    }
    if (object.value(key("share")).isObject()) {
        GuestShare share = shareFromJson(object.value(key("share")).toObject());
        if (!share.isValid() || share.cid != cidValue)
            return;
        if (pending && pending->portKey == share.portKey) {
            share.passcode = pending->passcode;
            pending.reset();
        }
        adoptShare(share);
        emit shareCreated(share.shareId);
        // A relay share offers its port for relays from now on.
        uploadSnapshot();
        return;
    }
    // A stop's reply names the share it stopped.
    if (object.contains(key("share_id")))
        emit shareStopped(object.value(key("share_id")).toString());
    if (object.value(key("cid")).toString() != cidValue)
        return;
    const QJsonArray revoked = object.value(key("revoked")).toArray();
    bool ended = false;
    for (const QJsonValue &value : revoked) {
        const QJsonObject entry = value.toObject();
        const QString id = entry.value(key("share_id")).toString();
        if (!share(id).isValid())
            continue;
        const QString reason = entry.value(key("reason")).toString();
        endShare(id, reason == QLatin1String("too_many_attempts")
                         ? tr("Too many wrong passcodes; the share was revoked.")
                     : reason == QLatin1String("stale") ? tr("The share no longer matched this run.")
                                                        : tr("The share ended."));
        ended = true;
    }
    if (object.value(key("shares")).isArray()) {
        const QJsonArray list = object.value(key("shares")).toArray();
        for (const QJsonValue &value : list) {
            GuestShare fresh = shareFromJson(value.toObject());
            for (GuestShare &held : shareList) {
                if (held.shareId != fresh.shareId)
                    continue;
                fresh.passcode = held.passcode;
                if (!(fresh == held)) {
                    held = fresh;
                    emit shareChanged(held.shareId);
                }
            }
        }
    }
    if (ended)
        uploadSnapshot();
}

void CloudConsoleService::onShareOverviewResponse(const QJsonObject &object)
{
    if (!object.value(key("status")).toBool(true)) {
        emit shareOverviewFailed(object.value(key("description")).toString());
        return;
    }
    emit shareOverviewFetched(object.value(key("shares")).toArray(),
                              object.value(key("devices")).toArray());
}

void CloudConsoleService::onShareNetworkError(const QString &tag, const QString &message)
{
    if (tag == QLatin1String("shareall")) {
        emit shareOverviewFailed(message);
    } else if (tag == QLatin1String("sharecreate") && pending && !pendingShareTimer->isActive()) {
        pending.reset();
        emit shareFailed(message);
    }
}

void CloudConsoleService::adoptShare(const GuestShare &share)
{
    for (GuestShare &held : shareList) {
        if (held.shareId == share.shareId) {
            held = share;
            return;
        }
    }
    shareList.append(share);
}

void CloudConsoleService::endShare(const QString &shareId, const QString &text)
{
    const qsizetype removed =
        shareList.removeIf([&](const GuestShare &share) { return share.shareId == shareId; });
    if (removed == 0)
        return;
    stopRelays(text, [this, shareId](const QString &portKey) {
        return relayShares.value(portKey) == shareId;
    });
    emit shareEnded(shareId, text);
}

bool CloudConsoleService::expireShares()
{
    const qint64 at = now();
    QStringList over;
    for (const GuestShare &share : std::as_const(shareList)) {
        if (SharePolicy::isExpired(share.expiresAtMs, at))
            over << share.shareId;
    }
    for (const QString &id : std::as_const(over))
        endShare(id, tr("The share expired."));
    return !over.isEmpty();
}

void CloudConsoleService::onShareSweepTick()
{
    bool ended = expireShares();
    // A share whose port is gone (its panel removed) ends with it.
    QStringList gone;
    for (const GuestShare &share : std::as_const(shareList)) {
        if (!portFor(share.portKey))
            gone << share.shareId;
    }
    for (const QString &id : std::as_const(gone))
        revokeShare(id, tr("The shared port was closed."));
    ended = ended || !gone.isEmpty();
    if (ended)
        uploadSnapshot();
    // The server knows who came in and which shares it ended.
    if (!shareList.isEmpty())
        refreshShares();
}

void CloudConsoleService::revokeShare(const QString &shareId, const QString &reason)
{
    if (!share(shareId).isValid()) {
        // A share of another computer of the account, stopped from the overview.
        if (account->isSignedIn())
            account->network()->relayRevokeShare(token(), shareId);
        return;
    }
    if (readyForNetwork())
        account->network()->relayRevokeShare(token(), shareId);
    endShare(shareId, reason);
    uploadSnapshot();
}

void CloudConsoleService::revokeSharesFor(const QString &portKey, const QString &reason)
{
    for (const GuestShare &held : shares()) {
        if (held.portKey == portKey)
            revokeShare(held.shareId, reason);
    }
}

int CloudConsoleService::revokeAllShares(const QString &reason)
{
    pending.reset();
    pendingShareTimer->stop();
    const QList<GuestShare> held = shareList;
    for (const GuestShare &share : held)
        revokeShare(share.shareId, reason);
    return int(held.size());
}

QList<GuestShare> CloudConsoleService::shares()
{
    expireShares();
    return shareList;
}

GuestShare CloudConsoleService::share(const QString &shareId)
{
    for (const GuestShare &held : std::as_const(shareList)) {
        if (held.shareId == shareId)
            return held;
    }
    return {};
}

bool CloudConsoleService::hasShareFor(const QString &portKey)
{
    const QList<GuestShare> live = shares();
    return std::any_of(live.begin(), live.end(),
                       [&](const GuestShare &share) { return share.portKey == portKey; });
}

bool CloudConsoleService::relayShareFor(const QString &portKey) const
{
    if (pending && pending->allowRelay && pending->portKey == portKey)
        return true;
    const qint64 at = now();
    return std::any_of(shareList.begin(), shareList.end(), [&](const GuestShare &share) {
        return share.relay && share.portKey == portKey &&
               !SharePolicy::isExpired(share.expiresAtMs, at);
    });
}

void CloudConsoleService::refreshShares()
{
    if (readyForNetwork())
        account->network()->relayListShares(token(), cidValue);
}

void CloudConsoleService::requestShareOverview()
{
    if (!account->isSignedIn()) {
        emit shareOverviewFailed(tr("Sign in to see your shares."));
        return;
    }
    account->network()->relayListAllShares(token());
}

void CloudConsoleService::clearGuest(const QString &shareId, const QString &reason)
{
    stopRelays(reason, [this, shareId](const QString &portKey) {
        return relayShares.value(portKey) == shareId;
    });
    for (GuestShare &held : shareList) {
        if (held.shareId == shareId && !held.guestName.isEmpty()) {
            held.guestName.clear();
            held.guestSinceMs = 0;
            emit shareChanged(shareId);
        }
    }
}

QString CloudConsoleService::shareRefusal(const QString &shareId, const QString &portKey,
                                          const QString &level, QString *message)
{
    const GuestShare held = share(shareId);
    if (!held.isValid()) {
        *message = tr("this computer holds no such share");
        return key("share_not_found");
    }
    // The share stops at its expiry instant, not at the next sweep.
    if (SharePolicy::isExpired(held.expiresAtMs, now())) {
        endShare(shareId, tr("The share expired."));
        uploadSnapshot();
        *message = tr("the share has expired");
        return key("share_expired");
    }
    if (!portKey.isEmpty() && portKey != held.portKey) {
        *message = tr("the share is for another port");
        return key("share_port_mismatch");
    }
    bool allowed = false;
    if (level == QLatin1String("relay")) {
        allowed = held.relay;
    } else {
        SharePolicy::Level granted = SharePolicy::Level::None;
        SharePolicy::parseLevel(held.web, &granted);
        const SharePolicy::Need need = level == QLatin1String("control") ? SharePolicy::Need::Control
                                       : level == QLatin1String("send")  ? SharePolicy::Need::Send
                                                                         : SharePolicy::Need::Watch;
        allowed = SharePolicy::allows(granted, need);
    }
    if (!allowed) {
        *message = tr("the share does not allow this");
        return key("permission_denied");
    }
    return {};
}
