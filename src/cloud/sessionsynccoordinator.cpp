#include "cloud/sessionsynccoordinator.h"

#include "common/logging.h"
#include "cloud/accountsession.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/profilesettings.h"
#include "cloud/syncservice.h"

#include <QDateTime>
#include <QJsonArray>
#include <QSettings>

namespace {
const QString revisionKey = QStringLiteral("AccountSyncRevision");
const QString lastSyncKey = QStringLiteral("AccountLastSyncAt");
const QString historyKey = QStringLiteral("AccountSyncSendHistory");
} // namespace

SessionSyncCoordinator::SessionSyncCoordinator(Hooks hooks, QObject *parent)
    : SessionSyncCoordinator(std::move(hooks), AccountSession::instance(), parent)
{
}

SessionSyncCoordinator::SessionSyncCoordinator(Hooks hooks, AccountSession *session,
                                               QObject *parent)
    : QObject(parent)
    , hooks(std::move(hooks))
    , session(session)
    , net(session->network())
{
    connect(net, &NetworkServices::syncResponse, this, &SessionSyncCoordinator::handleSyncResponse);
    connect(net, &NetworkServices::networkError, this,
            [this](const QString &tag, const QString &message, const QString &) {
                handleNetworkError(tag, message);
            });
    connect(session, &AccountSession::refreshFinished, this,
            &SessionSyncCoordinator::handleAccountResponse);
}

QString SessionSyncCoordinator::cid() const
{
    return DeviceIdentity::cid(*ProfileSettings::open(session->settingsFile()));
}

int SessionSyncCoordinator::language() const
{
    return QSettings().value(QStringLiteral("ValueL"), 0).toInt();
}

qint64 SessionSyncCoordinator::agreedRevision() const
{
    return ProfileSettings::open(session->settingsFile())->value(revisionKey, 0).toLongLong();
}

void SessionSyncCoordinator::storeAgreedRevision(qint64 revision)
{
    const auto settings = ProfileSettings::open(session->settingsFile());
    settings->setValue(revisionKey, revision);
    settings->setValue(lastSyncKey, QDateTime::currentDateTimeUtc());
    settings->sync();
}

void SessionSyncCoordinator::start(Mode mode)
{
    if (current != State::Idle) {
        return;
    }
    runMode = mode;
    localChanged = false;
    cloudItem = QJsonObject();
    if (!session->isSignedIn()) {
        if (session->requestTokenRefresh(cid())) {
            current = State::WaitingForToken;
            return;
        }
        if (mode == Auto) {
            return;
        }
        if (!hooks.confirmSync || !hooks.confirmSync() || !session->isSignedIn()) {
            Q_EMIT cancelled();
            return;
        }
    }
    fetch();
}

void SessionSyncCoordinator::fetch()
{
    current = State::Fetching;
    Q_EMIT began();
    net->fetchSyncItems(session->accessToken(), SyncService::nameSpace());
}

void SessionSyncCoordinator::handleAccountResponse(bool ok, const QString &text)
{
    if (current != State::WaitingForToken) {
        return;
    }
    if (ok && session->isSignedIn()) {
        fetch();
        return;
    }
    finish();
    Q_EMIT signInExpired(text, runMode == Manual);
}

void SessionSyncCoordinator::handleNetworkError(const QString &tag, const QString &message)
{
    if (tag == QLatin1String("sync") &&
        (current == State::Fetching || current == State::Uploading)) {
        finish();
        Q_EMIT failed(message, runMode == Manual);
    } else if (tag == QLatin1String("account") && current == State::WaitingForToken) {
        finish();
        Q_EMIT signInExpired(message, runMode == Manual);
    }
}

void SessionSyncCoordinator::handleSyncResponse(const QJsonObject &object)
{
    if (current != State::Fetching && current != State::Uploading) {
        return;
    }
    const bool ok = object.value(QStringLiteral("status")).toBool();
    const QString code = object.value(QStringLiteral("code")).toString();
    const QString description = object.value(QStringLiteral("description")).toString();
    if (!ok) {
        if (code == QLatin1String("revision_conflict")) {
            // Someone wrote in between: the server's item is as good as a new fetch.
            handleFetchedItem(object.value(QStringLiteral("server_item")).toObject());
            return;
        }
        finish();
        if (code == QLatin1String("unauthorized")) {
            Q_EMIT signInExpired(description, runMode == Manual);
        } else {
            Q_EMIT failed(description, runMode == Manual);
        }
        return;
    }
    if (current == State::Fetching) {
        const QJsonArray items = object.value(QStringLiteral("items")).toArray();
        for (const QJsonValue &value : items) {
            const QJsonObject item = value.toObject();
            if (item.value(QStringLiteral("namespace")).toString() == SyncService::nameSpace() &&
                item.value(QStringLiteral("item_key")).toString() == SyncService::itemKey()) {
                handleFetchedItem(item);
                return;
            }
        }
        uploadSnapshot(0);
        return;
    }
    const QJsonObject item = object.value(QStringLiteral("item")).toObject();
    if (item.isEmpty()) {
        finish();
        Q_EMIT failed(description, runMode == Manual);
        return;
    }
    storeAgreedRevision(qint64(item.value(QStringLiteral("revision")).toDouble()));
    finish();
    Q_EMIT succeeded(localChanged);
}

void SessionSyncCoordinator::handleFetchedItem(const QJsonObject &item)
{
    const qint64 revision = qint64(item.value(QStringLiteral("revision")).toDouble());
    if (revision < 1) {
        uploadSnapshot(0);
        return;
    }
    if (revision == agreedRevision()) {
        // Nothing changed elsewhere since this computer last agreed: ours goes up.
        uploadSnapshot(revision);
        return;
    }
    cloudItem = item;
    if (runMode == Auto) {
        // An automatic run never overwrites either side.
        finish();
        Q_EMIT conflictDeferred();
        return;
    }
    current = State::Choosing;
    Q_EMIT conflictChoiceNeeded();
}

void SessionSyncCoordinator::uploadSnapshot(qint64 baseRevision)
{
    current = State::Uploading;
    const bool withHistory =
        ProfileSettings::open(session->settingsFile())->value(historyKey, false).toBool();
    const SessionState state = hooks.currentState ? hooks.currentState() : SessionState();
    net->putSyncItem(session->accessToken(), SyncService::nameSpace(), SyncService::itemKey(),
                     baseRevision, SyncService::toSnapshot(state, cid(), language(), withHistory));
}

void SessionSyncCoordinator::resolveConflict(ConflictChoice choice)
{
    if (current != State::Choosing) {
        return;
    }
    const qint64 revision = qint64(cloudItem.value(QStringLiteral("revision")).toDouble());
    const QJsonObject payload = cloudItem.value(QStringLiteral("payload")).toObject();
    const SessionState local = hooks.currentState ? hooks.currentState() : SessionState();
    switch (choice) {
    case ConflictChoice::Cancel:
        finish();
        Q_EMIT cancelled();
        return;
    case ConflictChoice::UseCloud: {
        SessionState state = local;
        int chosenLanguage = language();
        if (!SyncService::applySnapshot(payload, &state, &chosenLanguage)) {
            finish();
            Q_EMIT incompatible();
            return;
        }
        storeAgreedRevision(revision);
        if (hooks.applyState) {
            hooks.applyState(state);
        }
        finish();
        Q_EMIT cloudApplied(state, chosenLanguage);
        return;
    }
    case ConflictChoice::KeepLocal:
        uploadSnapshot(revision);
        return;
    case ConflictChoice::MergeLists: {
        SessionState cloud = local;
        int ignored = language();
        if (!SyncService::applySnapshot(payload, &cloud, &ignored)) {
            finish();
            Q_EMIT incompatible();
            return;
        }
        const SessionState merged = SyncService::mergedLists(local, cloud);
        localChanged = !(merged == local);
        if (hooks.applyState) {
            hooks.applyState(merged);
        }
        Q_EMIT listsMerged(merged);
        uploadSnapshot(revision);
        return;
    }
    }
}

void SessionSyncCoordinator::finish()
{
    current = State::Idle;
}
