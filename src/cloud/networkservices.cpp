#include "cloud/networkservices.h"

#include "common/logging.h"
#include "cloud/cloudredactor.h"
#include "cloud/config.h"
#include "cloud/privacyconsent.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>
#include <QTimer>
#include <QUrlQuery>

namespace {

constexpr int LoggedBodyBytes = 200;

QString segment(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

} // namespace

NetworkServices *NetworkServices::instance()
{
    static NetworkServices *services = [] {
        auto *created = new NetworkServices;
        if (QCoreApplication::instance()) {
            created->setParent(QCoreApplication::instance());
        }
        return created;
    }();
    return services;
}

NetworkServices::NetworkServices(QObject *parent)
    : QObject(parent)
    , manager(new QNetworkAccessManager(this))
{
    manager->setTransferTimeout(TransferTimeoutMs);
    connect(manager, &QNetworkAccessManager::finished, this, &NetworkServices::onFinished);
}

NetworkServices::~NetworkServices() = default;

QString NetworkServices::hostAddress() const
{
    return hostOverride.isEmpty() ? Config::dasHostAddress() : hostOverride;
}

void NetworkServices::setHostAddress(const QString &baseUrl)
{
    QString normalized;
    Config::normalizeHostAddress(baseUrl, &normalized, nullptr);
    hostOverride = normalized;
}

void NetworkServices::setTransferTimeout(int ms)
{
    manager->setTransferTimeout(ms);
}

QUrl NetworkServices::apiUrl(const QString &path) const
{
    return QUrl(hostAddress() + QStringLiteral("/api/v3") + path);
}

QUrl NetworkServices::apiUrl(const QString &path, const QUrlQuery &query) const
{
    QUrl url = apiUrl(path);
    url.setQuery(query);
    return url;
}

QByteArray NetworkServices::acceptLanguage(int languageChoice, const QString &systemLocale)
{
    const bool chinese =
        languageChoice == 1 || (languageChoice == 0 && systemLocale == QLatin1String("zh_CN"));
    return chinese ? QByteArrayLiteral("zh-CN,zh;q=0.9,en;q=0.8") : QByteArrayLiteral("en");
}

bool NetworkServices::consentBlocks(const QUrl &url, const QString &tag) const
{
    if (PrivacyConsent::allowsUrl(url)) {
        return false;
    }
    qCInfo(lcCloud).noquote() << "[NetworkServices] blocked without consent:"
                              << CloudRedactor::url(url) << CloudRedactor::tag(tag);
    return true;
}

QNetworkRequest NetworkServices::requestFor(const QUrl &url, const QString &tag,
                                            const QString &token, const QString &guestToken) const
{
    QNetworkRequest request(url);
    request.setAttribute(TagAttribute, tag);
    const int language = QSettings().value(QStringLiteral("ValueL"), 0).toInt();
    request.setRawHeader("Accept-Language", acceptLanguage(language, QLocale::system().name()));
    if (!token.isEmpty()) {
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    }
    if (!guestToken.isEmpty()) {
        request.setRawHeader("X-Relay-Guest-Token", guestToken.toUtf8());
    }
    return request;
}

QNetworkReply *NetworkServices::send(const QByteArray &method, const QUrl &url, const QString &tag,
                                     const QString &token, const QString &guestToken,
                                     const QJsonObject *body)
{
    if (consentBlocks(url, tag)) {
        return nullptr;
    }
    if (hostAddress().isEmpty()) {
        // Callers wait for one answer; a missing address is that answer.
        QTimer::singleShot(0, this, [this, tag] {
            Q_EMIT networkError(tag,
                                tr("No cloud server is set. Enter its address as \"Cloud server\" "
                                   "in Edit > Settings..., on the Cloud page."),
                                QString());
        });
        return nullptr;
    }
    QNetworkRequest request = requestFor(url, tag, token, guestToken);
    qCInfo(lcCloud).noquote() << "[NetworkServices]" << QString::fromLatin1(method)
                              << CloudRedactor::url(url);
    if (!body) {
        return manager->sendCustomRequest(request, method);
    }
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    return manager->sendCustomRequest(request, method,
                                      QJsonDocument(*body).toJson(QJsonDocument::Indented));
}

QNetworkReply *NetworkServices::get(const QUrl &url, const QString &tag, const QString &token)
{
    return send("GET", url, tag, token, QString(), nullptr);
}

QNetworkReply *NetworkServices::post(const QUrl &url, const QJsonObject &body, const QString &tag,
                                     const QString &token, const QString &guestToken)
{
    return send("POST", url, tag, token, guestToken, &body);
}

QNetworkReply *NetworkServices::put(const QUrl &url, const QJsonObject &body, const QString &tag,
                                    const QString &token)
{
    return send("PUT", url, tag, token, QString(), &body);
}

QNetworkReply *NetworkServices::deleteResource(const QUrl &url, const QString &tag,
                                               const QString &token, const QString &guestToken)
{
    return send("DELETE", url, tag, token, guestToken, nullptr);
}

QString NetworkServices::friendlyErrorMessage(const QNetworkReply *reply)
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QNetworkReply::NetworkError error = reply->error();
    if (status == 404 || status == 405 || status == 501) {
        return tr("The server does not offer this feature yet. The service may be under "
                  "maintenance or being upgraded; please try again later or check for a newer "
                  "version.");
    }
    if (status == 401 || status == 403) {
        return tr("The server declined the request. Please sign in again and retry.");
    }
    if (status >= 500) {
        return tr("The server encountered an internal error. Please try again later.");
    }
    if (status >= 400) {
        return tr("The server rejected the request (HTTP %1). Please try again later.").arg(status);
    }
    if (error == QNetworkReply::NoError) {
        return tr("The server returned an unexpected response. Please try again later.");
    }
    if (error == QNetworkReply::TimeoutError || error == QNetworkReply::OperationCanceledError) {
        return tr("The server did not respond in time. Please check your network connection and "
                  "try again.");
    }
    if (error == QNetworkReply::SslHandshakeFailedError) {
        return tr("A secure connection to the server could not be established. Please check your "
                  "network environment.");
    }
    if (error >= 101 && error <= 199) {
        return tr("The proxy server could not be reached. Please check your proxy settings.");
    }
    return tr("Could not connect to the server. Please check your network connection and try "
              "again.");
}

QString NetworkServices::errorDetail(const QNetworkReply *reply)
{
    QString detail = QStringLiteral("URL: %1").arg(CloudRedactor::url(reply->url()));
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid()) {
        detail += QStringLiteral("\nHTTP status: %1 %2")
                      .arg(status.toInt())
                      .arg(reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
    }
    if (reply->error() != QNetworkReply::NoError) {
        detail += QLatin1Char('\n') + CloudRedactor::text(reply->errorString());
    }
    return detail;
}

void NetworkServices::reportFailure(QNetworkReply *reply, const QString &tag,
                                    const QByteArray &body)
{
    qCWarning(lcCloud).noquote() << "[NetworkServices]" << CloudRedactor::url(reply->url())
                                 << CloudRedactor::text(reply->errorString())
                                 << CloudRedactor::text(body.left(LoggedBodyBytes));
    Q_EMIT networkError(tag, friendlyErrorMessage(reply), errorDetail(reply));
}

void NetworkServices::onFinished(QNetworkReply *reply)
{
    reply->deleteLater();
    QString tag = reply->request().attribute(TagAttribute).toString();
    if (tag.isEmpty()) {
        tag = QStringLiteral("default");
    }
    // An aborted reply (the time-out) is closed and has nothing to read.
    const QByteArray body = reply->isOpen() ? reply->readAll() : QByteArray();
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        reportFailure(reply, tag, body);
        return;
    }
    const QJsonObject object = document.object();
    const QJsonValue type = object.value(QStringLiteral("type"));
    if (!type.isString()) {
        if (reply->error() != QNetworkReply::NoError) {
            reportFailure(reply, tag, body);
        } else {
            qCWarning(lcCloud).noquote() << "[NetworkServices] Unknown message type:"
                                         << CloudRedactor::url(reply->url());
        }
        return;
    }
    // The status line plays no part: a JSON reply with a type reaches its feature,
    // which reads the success or failure fields itself.
    route(type.toString().trimmed().toLower(), tag, object);
}

void NetworkServices::route(const QString &type, const QString &tag, const QJsonObject &object)
{
    if (type == QLatin1String("client")) {
        Q_EMIT clientResponse(object);
    } else if (type == QLatin1String("release")) {
        Q_EMIT releaseResponse(object);
    } else if (type == QLatin1String("account")) {
        Q_EMIT accountResponse(object);
    } else if (type == QLatin1String("sync")) {
        Q_EMIT syncResponse(object);
    } else if (type == QLatin1String("quota")) {
        Q_EMIT cloudQuotaResponse(object);
    } else if (type == QLatin1String("console")) {
        Q_EMIT consoleResponse(object);
    } else if (type == QLatin1String("relay")) {
        if (tag.startsWith(QLatin1String("relayop:"))) {
            Q_EMIT relayOperationResponse(object, tag);
        } else if (tag == QLatin1String("share") || tag == QLatin1String("sharecreate")) {
            Q_EMIT relayShareResponse(object, tag == QLatin1String("sharecreate"));
        } else if (tag == QLatin1String("shareall")) {
            Q_EMIT relayShareOverviewResponse(object);
        } else if (tag.startsWith(QLatin1String("relaypeek:"))) {
            Q_EMIT relayPeekResponse(object, tag.mid(10));
        } else {
            Q_EMIT relayResponse(object);
        }
    } else {
        qCWarning(lcCloud).noquote() << "[NetworkServices] Unknown message type:"
                                     << CloudRedactor::text(type.left(64));
    }
}

void NetworkServices::fetchClientInfo(const QString &cid)
{
    get(apiUrl(QStringLiteral("/clients/%1").arg(segment(cid))), QStringLiteral("client"));
}

void NetworkServices::postClientInfo(const QJsonObject &object, const QString &cid)
{
    post(apiUrl(QStringLiteral("/clients/%1/info").arg(segment(cid))), object,
         QStringLiteral("client"));
}

void NetworkServices::fetchLatestRelease(const QString &platform)
{
    get(apiUrl(QStringLiteral("/releases/latest"),
               QUrlQuery{{QStringLiteral("platform"), platform}}),
        QStringLiteral("release"));
}

void NetworkServices::fetchCloudQuota(const QString &token)
{
    get(apiUrl(QStringLiteral("/cloud/quota")), QStringLiteral("quota"), token);
}

void NetworkServices::relayFetchTargets(const QString &token, const QString &cid)
{
    get(apiUrl(QStringLiteral("/relay/targets"), QUrlQuery{{QStringLiteral("cid"), cid}}),
        QStringLiteral("relay"), token);
}

void NetworkServices::relayPeekShare(const QString &code)
{
    get(apiUrl(QStringLiteral("/relay/join/%1").arg(segment(code))),
        QStringLiteral("relaypeek:") + code);
}

void NetworkServices::relayListShares(const QString &token, const QString &cid)
{
    get(apiUrl(QStringLiteral("/relay/shares"), QUrlQuery{{QStringLiteral("cid"), cid}}),
        QStringLiteral("share"), token);
}

void NetworkServices::relayListAllShares(const QString &token)
{
    get(apiUrl(QStringLiteral("/relay/shares")), QStringLiteral("shareall"), token);
}

void NetworkServices::consolePollCommands(const QString &token, const QString &cid, int limit)
{
    get(apiUrl(QStringLiteral("/console/commands/poll"),
               QUrlQuery{{QStringLiteral("cid"), cid},
                         {QStringLiteral("limit"), QString::number(limit)}}),
        QStringLiteral("console"), token);
}

void NetworkServices::consoleHeartbeat(const QString &token, const QJsonObject &body)
{
    post(apiUrl(QStringLiteral("/console/heartbeat")), body, QStringLiteral("console"), token);
}

void NetworkServices::consolePostSnapshot(const QString &token, const QJsonObject &body)
{
    post(apiUrl(QStringLiteral("/console/ports/snapshot")), body, QStringLiteral("console"), token);
}

void NetworkServices::consolePostEvents(const QString &token, const QJsonObject &body)
{
    post(apiUrl(QStringLiteral("/console/events")), body, QStringLiteral("console"), token);
}

void NetworkServices::consoleAckCommand(const QString &token, const QString &id,
                                        const QJsonObject &body)
{
    post(apiUrl(QStringLiteral("/console/commands/%1/ack").arg(segment(id))), body,
         QStringLiteral("console"), token);
}

void NetworkServices::consolePostResult(const QString &token, const QString &id,
                                        const QJsonObject &body)
{
    post(apiUrl(QStringLiteral("/console/commands/%1/result").arg(segment(id))), body,
         QStringLiteral("console"), token);
}

void NetworkServices::relayOpenSession(const QString &token, const QString &cid,
                                       const QString &sessionId, const QString &portKey,
                                       const QString &tag)
{
    post(apiUrl(QStringLiteral("/relay/sessions")),
         {{QStringLiteral("cid"), cid},
          {QStringLiteral("session_id"), sessionId},
          {QStringLiteral("port_key"), portKey}},
         tag, token);
}

void NetworkServices::relayJoin(const QString &code, const QString &passcode,
                                const QString &guestName, const QString &tag)
{
    post(apiUrl(QStringLiteral("/relay/join")),
         {{QStringLiteral("code"), code},
          {QStringLiteral("passcode"), passcode},
          {QStringLiteral("guest_name"), guestName}},
         tag);
}

void NetworkServices::relayCreateShare(const QString &token, const QJsonObject &body)
{
    post(apiUrl(QStringLiteral("/relay/shares")), body, QStringLiteral("sharecreate"), token);
}

void NetworkServices::relayCloseSession(const QString &token, const QString &id)
{
    deleteResource(apiUrl(QStringLiteral("/relay/sessions/%1").arg(segment(id))),
                   QStringLiteral("relay"), token);
}

void NetworkServices::relayCloseGuestSession(const QString &id, const QString &guestToken)
{
    deleteResource(apiUrl(QStringLiteral("/relay/sessions/%1").arg(segment(id))),
                   QStringLiteral("relay"), QString(), guestToken);
}

void NetworkServices::relayRevokeShare(const QString &token, const QString &id)
{
    deleteResource(apiUrl(QStringLiteral("/relay/shares/%1").arg(segment(id))),
                   QStringLiteral("share"), token);
}

void NetworkServices::fetchAccount(const QString &token)
{
    get(apiUrl(QStringLiteral("/account/me")), QStringLiteral("account"), token);
}

void NetworkServices::fetchAccountDevices(const QString &token)
{
    get(apiUrl(QStringLiteral("/account/devices")), QStringLiteral("account"), token);
}

void NetworkServices::sendRegisterCode(const QString &email)
{
    post(apiUrl(QStringLiteral("/account/register/code")), {{QStringLiteral("email"), email}},
         QStringLiteral("account"));
}

void NetworkServices::registerAccount(const QString &email, const QString &username,
                                      const QString &password, const QString &code,
                                      const QString &cid, const QString &deviceName,
                                      const QString &clientVersion)
{
    post(apiUrl(QStringLiteral("/account/register")),
         {{QStringLiteral("email"), email},
          {QStringLiteral("username"), username},
          {QStringLiteral("password"), password},
          {QStringLiteral("code"), code},
          {QStringLiteral("cid"), cid},
          {QStringLiteral("device_name"), deviceName},
          {QStringLiteral("client_version"), clientVersion}},
         QStringLiteral("account"));
}

void NetworkServices::loginAccount(const QString &email, const QString &password,
                                   const QString &cid, const QString &deviceName,
                                   const QString &clientVersion)
{
    post(apiUrl(QStringLiteral("/account/login")),
         {{QStringLiteral("email"), email},
          {QStringLiteral("password"), password},
          {QStringLiteral("cid"), cid},
          {QStringLiteral("device_name"), deviceName},
          {QStringLiteral("client_version"), clientVersion}},
         QStringLiteral("account"));
}

void NetworkServices::refreshAccountToken(const QString &refreshToken, const QString &cid)
{
    post(apiUrl(QStringLiteral("/account/token/refresh")),
         {{QStringLiteral("refresh_token"), refreshToken}, {QStringLiteral("cid"), cid}},
         QStringLiteral("account"));
}

void NetworkServices::logoutAccount(const QString &token, const QString &refreshToken)
{
    QJsonObject body;
    if (!refreshToken.isEmpty()) {
        body.insert(QStringLiteral("refresh_token"), refreshToken);
    }
    post(apiUrl(QStringLiteral("/account/logout")), body, QStringLiteral("account"), token);
}

void NetworkServices::bindDevice(const QString &token, const QString &cid,
                                 const QString &deviceName, const QString &version)
{
    post(apiUrl(QStringLiteral("/account/devices/bind")),
         {{QStringLiteral("cid"), cid},
          {QStringLiteral("device_name"), deviceName},
          {QStringLiteral("client_version"), version}},
         QStringLiteral("account"), token);
}

void NetworkServices::unbindAccountDevice(const QString &token, const QString &id)
{
    deleteResource(apiUrl(QStringLiteral("/account/devices/%1").arg(segment(id))),
                   QStringLiteral("account"), token);
}

void NetworkServices::fetchSyncItems(const QString &token, const QString &nameSpace)
{
    get(apiUrl(QStringLiteral("/sync/items"), QUrlQuery{{QStringLiteral("namespace"), nameSpace}}),
        QStringLiteral("sync"), token);
}

void NetworkServices::putSyncItem(const QString &token, const QString &nameSpace,
                                  const QString &key, qint64 baseRevision,
                                  const QJsonObject &payload)
{
    put(apiUrl(QStringLiteral("/sync/items/%1/%2").arg(segment(nameSpace), segment(key))),
        {{QStringLiteral("base_revision"), baseRevision}, {QStringLiteral("payload"), payload}},
        QStringLiteral("sync"), token);
}
