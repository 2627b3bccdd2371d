#pragma once

// The HTTP side of the server: takes each request from Qt's HTTP layer, turns it into
// an ApiRequest, refuses oversized bodies, hands it to the router and writes the reply.
// Replies may come later than the request (password hashing runs on a thread pool);
// replies on one connection still leave in the order their requests came. WebSocket
// upgrades are handed, by path, to the service registered for it.

#include <QAbstractHttpServer>
#include <QElapsedTimer>
#include <QHash>
#include <QHostAddress>
#include <QList>

#include <functional>
#include <memory>

class ConnectionGuard;
class QWebSocket;
class Router;
struct ApiReply;

class HttpFrontend : public QAbstractHttpServer
{
    Q_OBJECT

public:
    struct Limits
    {
        qint64 maxBodyBytes = 256 * 1024;
        int maxConnections = 1024;
        int idleMs = 60000;
    };

    HttpFrontend(const Router &router, const Limits &limits, QObject *parent = nullptr);
    ~HttpFrontend() override;

    // Listens on `address`:`port` (0 lets the system choose). Returns the port, or 0
    // with `error` set.
    quint16 listenOn(const QHostAddress &address, quint16 port, QString *error);

    // Takes a new WebSocket whose request path is `path`; the handler owns it (by
    // parenting it). Sockets for any other path are closed with code 1008.
    using WebSocketHandler = std::function<void(QWebSocket *)>;
    void addWebSocketRoute(const QString &path, WebSocketHandler handler);

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    struct Slot
    {
        QByteArray bytes;
        bool ready = false;
        bool close = false;
    };
    using SlotPtr = std::shared_ptr<Slot>;
    void flush(QTcpSocket *socket);
    void onWebSocket();

    const Router &router;
    Limits limits;
    ConnectionGuard *guard = nullptr;
    QHash<QTcpSocket *, QList<SlotPtr>> queues;
    QHash<QString, WebSocketHandler> webSocketRoutes;
};
