#pragma once

// The one HTTP client of the cloud features. Each operation becomes one request under
// the configured base URL, tagged with the feature that asked; each reply becomes one
// signal. Consent, language, authorisation and the wording of failures are settled here.

#include <QJsonObject>
#include <QNetworkRequest>
#include <QObject>
#include <QString>

class QNetworkAccessManager;
class QNetworkReply;
class QUrl;
class QUrlQuery;

class NetworkServices : public QObject
{
    Q_OBJECT
public:
    // The request attribute that carries the routing tag.
    static constexpr QNetworkRequest::Attribute TagAttribute = QNetworkRequest::User;
    static constexpr int TransferTimeoutMs = 10000;

    // The program's instance.
    static NetworkServices *instance();
    // A client of its own (tests, a second profile); its base URL and time-out can be set.
    explicit NetworkServices(QObject *parent = nullptr);
    ~NetworkServices() override;

    // The base URL the paths are appended to: the one set here, else the configured one.
    QString hostAddress() const;
    void setHostAddress(const QString &baseUrl);
    void setTransferTimeout(int ms);

    // Generic operations. Each returns the reply, or null when the consent gate (no
    // signal at all) or a missing server address (a networkError) stopped it.
    QNetworkReply *get(const QUrl &url, const QString &tag, const QString &token = QString());
    QNetworkReply *post(const QUrl &url, const QJsonObject &body, const QString &tag,
                        const QString &token = QString(), const QString &guestToken = QString());
    QNetworkReply *put(const QUrl &url, const QJsonObject &body, const QString &tag,
                       const QString &token = QString());
    QNetworkReply *deleteResource(const QUrl &url, const QString &tag,
                                  const QString &token = QString(),
                                  const QString &guestToken = QString());

    bool consentBlocks(const QUrl &url, const QString &tag) const;
    QNetworkRequest requestFor(const QUrl &url, const QString &tag, const QString &token,
                               const QString &guestToken) const;
    // The sentence for a failed or unreadable reply, and the technical lines behind it.
    static QString friendlyErrorMessage(const QNetworkReply *reply);
    static QString errorDetail(const QNetworkReply *reply);
    // "zh-CN,zh;q=0.9,en;q=0.8" for Chinese ("ValueL" 1, or 0 on a "zh_CN" system),
    // otherwise "en".
    static QByteArray acceptLanguage(int languageChoice, const QString &systemLocale);

    // Clients and releases.
    void fetchClientInfo(const QString &cid);
    void postClientInfo(const QJsonObject &object, const QString &cid);
    void fetchLatestRelease(const QString &platform);
    void fetchCloudQuota(const QString &token);
    // Live Console and Live Relay.
    void relayFetchTargets(const QString &token, const QString &cid);
    void relayPeekShare(const QString &code);
    void relayListShares(const QString &token, const QString &cid);
    void relayListAllShares(const QString &token);
    void consolePollCommands(const QString &token, const QString &cid, int limit);
    void consoleHeartbeat(const QString &token, const QJsonObject &body);
    void consolePostSnapshot(const QString &token, const QJsonObject &body);
    void consolePostEvents(const QString &token, const QJsonObject &body);
    void consoleAckCommand(const QString &token, const QString &id, const QJsonObject &body);
    void consolePostResult(const QString &token, const QString &id, const QJsonObject &body);
    void relayOpenSession(const QString &token, const QString &cid, const QString &sessionId,
                          const QString &portKey, const QString &tag = QStringLiteral("relay"));
    void relayJoin(const QString &code, const QString &passcode, const QString &guestName,
                   const QString &tag = QStringLiteral("relay"));
    void relayCreateShare(const QString &token, const QJsonObject &body);
    void relayCloseSession(const QString &token, const QString &id);
    void relayCloseGuestSession(const QString &id, const QString &guestToken);
    void relayRevokeShare(const QString &token, const QString &id);
    // Accounts and devices.
    void fetchAccount(const QString &token);
    void fetchAccountDevices(const QString &token);
    void sendRegisterCode(const QString &email);
    void registerAccount(const QString &email, const QString &username, const QString &password,
                         const QString &code, const QString &cid, const QString &deviceName,
                         const QString &clientVersion);
    void loginAccount(const QString &email, const QString &password, const QString &cid,
                      const QString &deviceName, const QString &clientVersion);
    void refreshAccountToken(const QString &refreshToken, const QString &cid);
    void logoutAccount(const QString &token, const QString &refreshToken);
    void bindDevice(const QString &token, const QString &cid, const QString &deviceName,
                    const QString &version);
    void unbindAccountDevice(const QString &token, const QString &id);
    // Settings sync.
    void fetchSyncItems(const QString &token, const QString &nameSpace);
    void putSyncItem(const QString &token, const QString &nameSpace, const QString &key,
                     qint64 baseRevision, const QJsonObject &payload);

signals:
    void clientResponse(const QJsonObject &object);
    void releaseResponse(const QJsonObject &object);
    void cloudQuotaResponse(const QJsonObject &object);
    void consoleResponse(const QJsonObject &object);
    void relayResponse(const QJsonObject &object);
    void relayOperationResponse(const QJsonObject &object, const QString &tag);
    // `toCreate`: the answer to relayCreateShare; else to a list or a revoke.
    void relayShareResponse(const QJsonObject &object, bool toCreate);
    void relayShareOverviewResponse(const QJsonObject &object);
    void relayPeekResponse(const QJsonObject &object, const QString &code);
    void accountResponse(const QJsonObject &object);
    void syncResponse(const QJsonObject &object);
    void networkError(const QString &tag, const QString &message, const QString &detail);

private:
    QUrl apiUrl(const QString &path) const;
    QUrl apiUrl(const QString &path, const QUrlQuery &query) const;
    QNetworkReply *send(const QByteArray &method, const QUrl &url, const QString &tag,
                        const QString &token, const QString &guestToken, const QJsonObject *body);
    void onFinished(QNetworkReply *reply);
    void reportFailure(QNetworkReply *reply, const QString &tag, const QByteArray &body);
    void route(const QString &type, const QString &tag, const QJsonObject &object);

    QNetworkAccessManager *manager = nullptr;
    QString hostOverride;
};
