#include "httpfrontend.h"

#include "apireply.h"
#include "apirequest.h"
#include "connectionguard.h"
#include "router.h"
#include "serverlog.h"

#include <QHttpServerRequest>
#include <QPointer>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>
#include <QWebSocket>

namespace {

QString methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get: return QStringLiteral("GET");
    case QHttpServerRequest::Method::Put: return QStringLiteral("PUT");
    case QHttpServerRequest::Method::Delete: return QStringLiteral("DELETE");
    case QHttpServerRequest::Method::Post: return QStringLiteral("POST");
    case QHttpServerRequest::Method::Head: return QStringLiteral("HEAD");
    case QHttpServerRequest::Method::Options: return QStringLiteral("OPTIONS");
    case QHttpServerRequest::Method::Patch: return QStringLiteral("PATCH");
    default: return QStringLiteral("OTHER");
    }
}

// The part of a path that is safe to log: a matched route's pattern, or for an
// unknown address its first words only (a mistyped path may hold a token).
QString loggedPath(const QString &pattern, const QStringList &segments)
{
    if (!pattern.isEmpty())
        return pattern;
    return u'/' + segments.mid(0, 3).join(u'/').left(64) + QStringLiteral(" (no route)");
}

// A WebSocket that has been silent (no frame, no pong) this long is taken for dead:
// a peer gone without a FIN would otherwise hold its relay or device slot for ever.
constexpr int kPingMs = 30000;
constexpr int kSilentMs = 3 * kPingMs;

// Pings `socket` now and then and aborts it once it stays silent.
void keepAlive(QWebSocket *socket)
{
    auto *timer = new QTimer(socket);
    timer->setInterval(kPingMs);
    auto *heard = new QElapsedTimer;
    heard->start();
    QObject::connect(socket, &QObject::destroyed, [heard]() { delete heard; });
    const auto noteHeard = [heard]() { heard->start(); };
    QObject::connect(socket, &QWebSocket::pong, socket, noteHeard);
    QObject::connect(socket, &QWebSocket::textMessageReceived, socket, noteHeard);
    QObject::connect(socket, &QWebSocket::binaryFrameReceived, socket, noteHeard);
    QObject::connect(timer, &QTimer::timeout, socket, [socket, heard]() {
        if (heard->elapsed() > kSilentMs)
            socket->abort();
        else
            socket->ping();
    });
    timer->start();
}

} // namespace

HttpFrontend::HttpFrontend(const Router &router, const Limits &limits, QObject *parent)
    : QAbstractHttpServer(parent)
    , router(router)
    , limits(limits)
{
    connect(this, &QAbstractHttpServer::newWebSocketConnection, this, &HttpFrontend::onWebSocket);
}

void HttpFrontend::addWebSocketRoute(const QString &path, WebSocketHandler handler)
{
    webSocketRoutes.insert(path, std::move(handler));
}

void HttpFrontend::onWebSocket()
{
    while (hasPendingWebSocketConnections()) {
        QWebSocket *socket = nextPendingWebSocketConnection().release();
        if (!socket)
            continue;
        if (guard)
            guard->releasePeer(socket->peerAddress(), socket->peerPort());
        connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
        // The path only: relay tickets travel in the query and never reach a log.
        const QString path = socket->requestUrl().path();
        const auto route = webSocketRoutes.constFind(path);
        qCInfo(lcAccess).noquote() << socket->peerAddress().toString() << "WEBSOCKET"
                                   << (route == webSocketRoutes.constEnd()
                                           ? path.left(64) + QStringLiteral(" (no route)")
                                           : path);
        if (route == webSocketRoutes.constEnd()) {
            socket->setParent(this);
            socket->close(QWebSocketProtocol::CloseCodePolicyViolated,
                          QStringLiteral("No WebSocket service at this address."));
            continue;
        }
        keepAlive(socket);
        route.value()(socket);
    }
}

HttpFrontend::~HttpFrontend() = default;

quint16 HttpFrontend::listenOn(const QHostAddress &address, quint16 port, QString *error)
{
    ConnectionGuard::Limits guardLimits;
    guardLimits.maxConnections = limits.maxConnections;
    guardLimits.idleMs = limits.idleMs;
    // Room for the largest accepted body and its headers; past that the connection is
    // cut without reading on, since no reply could accept the body anyway.
    guardLimits.maxRequestBytes = qMax<qint64>(4 * 1024 * 1024, limits.maxBodyBytes * 4);
    guard = new ConnectionGuard(guardLimits, this);
    if (!guard->listen(address, port)) {
        if (error)
            *error = guard->errorString();
        return 0;
    }
    bind(guard);
    return guard->serverPort();
}

bool HttpFrontend::handleRequest(const QHttpServerRequest &httpRequest, QTcpSocket *socket)
{
    // Qt's layer offers an upgrade request here first and then hands the socket to its
    // WebSocket server (onWebSocket): nothing may be written to it.
    if (httpRequest.value("upgrade").trimmed().toLower() == "websocket")
        return true;
    QElapsedTimer clock;
    clock.start();
    if (guard)
        guard->requestCompleted(socket);

    ApiRequest request;
    request.method = methodName(httpRequest.method());
    request.path = httpRequest.url().path();
    request.segments = ApiRequest::splitPath(request.path);
    request.query = httpRequest.query();
    request.remoteAddress = socket->peerAddress();
    const QByteArray authorization = httpRequest.value("authorization").trimmed();
    if (authorization.size() > 7 && authorization.left(7).toLower() == "bearer ")
        request.bearerToken = QString::fromLatin1(authorization.mid(7).trimmed());
    request.guestToken = QString::fromLatin1(httpRequest.value("x-relay-guest-token").trimmed());
    // The Host header goes into invite links: only a plain name or address and port.
    static const QRegularExpression plainHost(QStringLiteral("^[A-Za-z0-9.:\\[\\]-]{1,255}$"));
    const QString host = QString::fromLatin1(httpRequest.value("host").trimmed());
    if (plainHost.match(host).hasMatch())
        request.host = host;
    const bool close = httpRequest.value("connection").trimmed().toLower() == "close";

    const auto slot = std::make_shared<Slot>();
    slot->close = close;
    if (!queues.contains(socket)) {
        connect(socket, &QObject::destroyed, this, [this, socket]() { queues.remove(socket); });
    }
    queues[socket].append(slot);

    QPointer<QTcpSocket> target(socket);
    auto pattern = std::make_shared<QString>();
    auto done = [this, target, slot, clock, pattern, who = request.addressKey(),
                 method = request.method, head = request.segments.mid(0, 3)](const ApiReply &reply) {
        qCInfo(lcAccess).noquote() << who << method << loggedPath(*pattern, head)
                                   << reply.httpStatus << clock.elapsed() << "ms";
        slot->bytes = reply.serialize(slot->close);
        slot->ready = true;
        if (target)
            flush(target);
    };

    if (httpRequest.body().size() > limits.maxBodyBytes) {
        done(ApiReply::fail(request.replyType(), 413, QStringLiteral("payload_too_large"),
                            QStringLiteral("The request body is larger than %1 bytes.")
                                .arg(limits.maxBodyBytes)));
        return true;
    }
    request.body = httpRequest.body();
    router.dispatch(request, done, pattern.get());
    return true;
}

void HttpFrontend::missingHandler(const QHttpServerRequest &, QTcpSocket *)
{
    // handleRequest answers every request, through the router's 404 when nothing
    // matches; Qt's layer never calls this.
}

void HttpFrontend::flush(QTcpSocket *socket)
{
    const auto it = queues.find(socket);
    if (it == queues.end())
        return;
    QList<SlotPtr> &queue = it.value();
    bool close = false;
    while (!queue.isEmpty() && queue.front()->ready) {
        socket->write(queue.front()->bytes);
        close = close || queue.front()->close;
        queue.removeFirst();
    }
    if (close)
        socket->disconnectFromHost();
}
