#include "cloud/consolesocket.h"

#include "common/logging.h"

#include <QJsonDocument>
#include <QNetworkRequest>
#include <QRandomGenerator>
#include <QTimer>
#include <QUrl>
#include <QWebSocket>

ConsoleSocket::ConsoleSocket(QObject *parent)
    : QObject(parent), socket(new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this)),
      reconnectTimer(new QTimer(this))
{
    reconnectTimer->setSingleShot(true);
    connect(reconnectTimer, &QTimer::timeout, this, &ConsoleSocket::open);
    connect(socket, &QWebSocket::connected, this, [this] {
        socket->sendTextMessage(
            QString::fromUtf8(QJsonDocument(helloObject).toJson(QJsonDocument::Compact)));
    });
    connect(socket, &QWebSocket::textMessageReceived, this, &ConsoleSocket::onTextMessage);
    connect(socket, &QWebSocket::disconnected, this, &ConsoleSocket::onDisconnected);
}

ConsoleSocket::~ConsoleSocket()
{
    socket->disconnect(this);
}

int ConsoleSocket::maxDelayFor(int attempt)
{
    if (attempt >= 6)
        return MaxDelayMs;
    return qMin(BaseDelayMs << attempt, MaxDelayMs);
}

void ConsoleSocket::connectToServer(const QString &baseUrl, const QString &accessToken,
                                    const QJsonObject &hello)
{
    base = baseUrl;
    token = accessToken;
    helloObject = hello;
    helloObject.insert(QStringLiteral("type"), QStringLiteral("hello"));
    wanted = true;
    reconnectTimer->stop();
    if (socket->state() == QAbstractSocket::UnconnectedState)
        open();
}

void ConsoleSocket::open()
{
    if (!wanted || socket->state() != QAbstractSocket::UnconnectedState)
        return;
    QUrl url(base);
    url.setScheme(url.scheme() == QLatin1String("https") ? QStringLiteral("wss")
                                                         : QStringLiteral("ws"));
    url.setPath(QStringLiteral("/ws/console/v1"));
    QNetworkRequest request(url);
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    // The token travels in a header only, so the URL is safe to log.
    qCInfo(lcCloud).noquote() << "[ConsoleSocket] dialling" << url.toString();
    socket->open(request);
}

void ConsoleSocket::disconnectFromServer()
{
    wanted = false;
    reconnectTimer->stop();
    socket->close(QWebSocketProtocol::CloseCodeNormal);
    if (socket->state() != QAbstractSocket::UnconnectedState)
        socket->abort();
}

bool ConsoleSocket::send(const QJsonObject &object)
{
    if (!readyFlag)
        return false;
    socket->sendTextMessage(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
    return true;
}

void ConsoleSocket::onTextMessage(const QString &text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject())
        return;
    const QJsonObject object = document.object();
    if (object.value(QStringLiteral("type")).toString() == QLatin1String("hello")) {
        if (!object.value(QStringLiteral("status")).toBool()) {
            qCWarning(lcCloud).noquote() << "[ConsoleSocket] hello refused:"
                                         << object.value(QStringLiteral("code")).toString();
            socket->close(QWebSocketProtocol::CloseCodeNormal);
            return;
        }
        readyFlag = true;
        attemptCount = 0;
        emit ready();
        // The greeting also carries the fields of every reply (watching, need_snapshot).
        emit consoleResponse(object);
        return;
    }
    emit consoleResponse(object);
}

void ConsoleSocket::onDisconnected()
{
    const bool wasReady = readyFlag;
    readyFlag = false;
    if (wasReady)
        emit disconnected();
    if (!wanted)
        return;
    const int delay = int(QRandomGenerator::global()->bounded(maxDelayFor(attemptCount) + 1));
    ++attemptCount;
    reconnectTimer->start(delay);
}
