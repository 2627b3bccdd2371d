#include "cloud/accountsession.h"

#include "common/logging.h"
#include "cloud/networkservices.h"
#include "cloud/profilesettings.h"

#include <QCoreApplication>
#include <QSettings>

namespace {
const QString userIdKey = QStringLiteral("AccountUserId");
const QString emailKey = QStringLiteral("AccountEmail");
const QString usernameKey = QStringLiteral("AccountUsername");
const QString rememberKey = QStringLiteral("AccountRememberMe");
const QString refreshKey = QStringLiteral("AccountRefreshToken");
} // namespace

AccountSession *AccountSession::instance()
{
    static AccountSession *session = [] {
        auto *created = new AccountSession(NetworkServices::instance(), QString());
        if (QCoreApplication::instance()) {
            created->setParent(QCoreApplication::instance());
        }
        return created;
    }();
    return session;
}

AccountSession::AccountSession(NetworkServices *network, const QString &settingsFile,
                               QObject *parent)
    : QObject(parent)
    , net(network)
    , file(settingsFile)
{
    const auto settings = ProfileSettings::open(file);
    userIdValue = settings->value(userIdKey, 0).toLongLong();
    emailValue = settings->value(emailKey).toString();
    usernameValue = settings->value(usernameKey).toString();
    remember = settings->value(rememberKey, false).toBool();
    if (remember) {
        refreshTokenValue = settings->value(refreshKey).toString();
    } else {
        // A token left behind by an older run has no business here.
        settings->remove(refreshKey);
    }
    connect(net, &NetworkServices::accountResponse, this, &AccountSession::onAccountResponse);
    connect(net, &NetworkServices::networkError, this,
            [this](const QString &tag, const QString &message, const QString &) {
                onNetworkError(tag, message);
            });
}

bool AccountSession::isSignedIn() const
{
    return !accessTokenValue.isEmpty() && expiresAt.isValid() &&
           QDateTime::currentDateTimeUtc().secsTo(expiresAt) > ExpiryMarginSeconds;
}

bool AccountSession::tokenRefreshPending() const
{
    return !refreshAnswered && refreshAsked.isValid() && refreshAsked.elapsed() < RefreshRetryMs;
}

bool AccountSession::requestTokenRefresh(const QString &cid)
{
    if (refreshTokenValue.isEmpty()) {
        return false;
    }
    if (refreshAsked.isValid() && refreshAsked.elapsed() < RefreshRetryMs) {
        return tokenRefreshPending();
    }
    refreshAsked.start();
    refreshAnswered = false;
    net->refreshAccountToken(refreshTokenValue, cid);
    return true;
}

QString AccountSession::displayName() const
{
    if (accessTokenValue.isEmpty() && refreshTokenValue.isEmpty()) {
        return QString();
    }
    return usernameValue.isEmpty() ? emailValue : usernameValue;
}

void AccountSession::applyLoginResponse(const QJsonObject &object)
{
    const QJsonObject user = object.value(QStringLiteral("user")).toObject();
    if (!user.isEmpty()) {
        userIdValue = qint64(user.value(QStringLiteral("id")).toDouble());
        emailValue = user.value(QStringLiteral("email")).toString();
        usernameValue = user.value(QStringLiteral("username")).toString();
    }
    accessTokenValue = object.value(QStringLiteral("access_token")).toString();
    const qint64 lifetime = qint64(object.value(QStringLiteral("expires_in")).toDouble());
    expiresAt = QDateTime::currentDateTimeUtc().addSecs(lifetime);
    const QString refresh = object.value(QStringLiteral("refresh_token")).toString();
    if (!refresh.isEmpty()) {
        refreshTokenValue = refresh;
    }
    storeProfile();
    Q_EMIT changed();
}

void AccountSession::clear()
{
    userIdValue = 0;
    emailValue.clear();
    usernameValue.clear();
    accessTokenValue.clear();
    expiresAt = QDateTime();
    refreshTokenValue.clear();
    refreshAnswered = true;
    refreshAsked.invalidate();
    clearQuota();
    const auto settings = ProfileSettings::open(file);
    for (const QString &key : {userIdKey, emailKey, usernameKey, refreshKey}) {
        settings->remove(key);
    }
    settings->sync();
    Q_EMIT changed();
}

void AccountSession::signOut()
{
    if (!accessTokenValue.isEmpty() || !refreshTokenValue.isEmpty()) {
        net->logoutAccount(accessTokenValue, refreshTokenValue);
    }
    clear();
}

void AccountSession::setRememberSession(bool rememberIt)
{
    remember = rememberIt;
    const auto settings = ProfileSettings::open(file);
    settings->setValue(rememberKey, remember);
    settings->sync();
    storeRefreshToken();
}

void AccountSession::setUpRemaining(qint64 bytes, bool exhausted)
{
    upKnown = true;
    upRemainingBytes = bytes;
    upExhausted = exhausted;
}

void AccountSession::clearQuota()
{
    upKnown = false;
    upExhausted = false;
    upRemainingBytes = 0;
}

void AccountSession::storeProfile()
{
    const auto settings = ProfileSettings::open(file);
    settings->setValue(userIdKey, userIdValue);
    settings->setValue(emailKey, emailValue);
    settings->setValue(usernameKey, usernameValue);
    settings->setValue(rememberKey, remember);
    settings->sync();
    storeRefreshToken();
}

void AccountSession::storeRefreshToken()
{
    const auto settings = ProfileSettings::open(file);
    if (remember && !refreshTokenValue.isEmpty()) {
        settings->setValue(refreshKey, refreshTokenValue);
    } else {
        settings->remove(refreshKey);
    }
    settings->sync();
}

void AccountSession::onAccountResponse(const QJsonObject &object)
{
    if (refreshAnswered) {
        return;
    }
    // Account replies share one tag; while a refresh waits, a reply with a token is its
    // answer, and so is a refusal other than an expired access token (the refusal of
    // some other account call made with the old token).
    const bool ok = object.value(QStringLiteral("status")).toBool();
    const QString code = object.value(QStringLiteral("code")).toString();
    if (object.contains(QStringLiteral("access_token"))) {
        refreshAnswered = true;
        applyLoginResponse(object);
        Q_EMIT refreshFinished(true, object.value(QStringLiteral("description")).toString());
    } else if (!ok && code != QLatin1String("unauthorized")) {
        refreshAnswered = true;
        const QString text = object.value(QStringLiteral("description")).toString();
        qCInfo(lcCloud) << "[NetworkServices] token refresh refused:" << code;
        if (code == QLatin1String("invalid_refresh_token")) {
            clear();
        }
        Q_EMIT refreshFinished(false, text);
    }
}

void AccountSession::onNetworkError(const QString &tag, const QString &message)
{
    if (tag != QLatin1String("account") || refreshAnswered) {
        return;
    }
    refreshAnswered = true;
    Q_EMIT refreshFinished(false, message);
}
