#include "livepeer.h"

#include "cloudprocess.h"

#include <QJsonDocument>
#include <QTest>
#include <QUrlQuery>

LiveAccount LiveAccount::create(CloudProcess &server, const QString &email, const QString &hostCid,
                                const QString &clientCid)
{
    const QString password = QStringLiteral("correct horse 42");
    LiveAccount account;
    if (server.call("POST", QStringLiteral("/api/v3/account/register/code"),
                    QJsonObject{{QStringLiteral("email"), email}})
            .status != 200)
        return account;
    const auto registered = server.call(
        "POST", QStringLiteral("/api/v3/account/register"),
        QJsonObject{{QStringLiteral("email"), email}, {QStringLiteral("password"), password},
                    {QStringLiteral("username"), QStringLiteral("Tester")},
                    {QStringLiteral("code"), server.mailedCode(email)}, {QStringLiteral("cid"), hostCid},
                    {QStringLiteral("device_name"), QStringLiteral("Bench board")}});
    account.hostToken = registered.json.value(QStringLiteral("access_token")).toString();
    const auto login = server.call("POST", QStringLiteral("/api/v3/account/login"),
                                   QJsonObject{{QStringLiteral("email"), email},
                                               {QStringLiteral("password"), password},
                                               {QStringLiteral("cid"), clientCid},
                                               {QStringLiteral("device_name"), QStringLiteral("Desk PC")}});
    account.clientToken = login.json.value(QStringLiteral("access_token")).toString();
    return account;
}

LivePeer::LivePeer()
{
    connect(&socket, &QWebSocket::textMessageReceived, this, [this](const QString &text) {
        const QJsonObject frame = QJsonDocument::fromJson(text.toUtf8()).object();
        frames.append(frame);
        heardTypes.insert(frame.value(QStringLiteral("type")).toString());
        emit textFrame(frame);
    });
    connect(&socket, &QWebSocket::binaryMessageReceived, this, [this](const QByteArray &bytes) {
        binary += bytes;
        largestMessage = qMax(largestMessage, int(bytes.size()));
    });
    connect(&socket, &QWebSocket::disconnected, this, [this]() {
        closed = true;
        closeReason = socket.closeReason();
    });
}

static QString webSocketBase(const QString &baseUrl)
{
    QString base = baseUrl;
    return base.replace(QStringLiteral("http"), QStringLiteral("ws"));
}

bool LivePeer::openConsole(const QString &baseUrl, const QString &token, const QString &cid,
                           const QString &sessionId)
{
    QNetworkRequest request(QUrl(webSocketBase(baseUrl) + QStringLiteral("/ws/console/v1")));
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    socket.open(request);
    if (!QTest::qWaitFor([this]() { return isConnected() || closed; }, 10000) || closed)
        return false;
    sendJson({{QStringLiteral("type"), QStringLiteral("hello")},
              {QStringLiteral("cid"), cid},
              {QStringLiteral("session_id"), sessionId},
              {QStringLiteral("version"), QStringLiteral("0.1.0")}});
    return waitFor(QStringLiteral("hello")).value(QStringLiteral("status")).toBool();
}

void LivePeer::openRelay(const QString &baseUrl, const QString &ticket)
{
    QUrl url(webSocketBase(baseUrl) + QStringLiteral("/ws/relay/v1"));
    url.setQuery(QUrlQuery{{QStringLiteral("ticket"), ticket}});
    socket.open(url);
}

void LivePeer::sendJson(const QJsonObject &frame)
{
    socket.sendTextMessage(QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact)));
}

void LivePeer::sendBinary(const QByteArray &bytes, qsizetype messageSize)
{
    for (qsizetype at = 0; at < bytes.size(); at += messageSize)
        socket.sendBinaryMessage(bytes.mid(at, messageSize));
}

QJsonObject LivePeer::waitFor(const QString &type, int timeoutMs)
{
    QJsonObject found;
    const auto take = [&]() {
        for (qsizetype i = 0; i < frames.size(); ++i) {
            if (frames[i].value(QStringLiteral("type")).toString() == type) {
                found = frames.takeAt(i);
                return true;
            }
        }
        return false;
    };
    if (!QTest::qWaitFor(take, timeoutMs))
        return {};
    return found;
}
