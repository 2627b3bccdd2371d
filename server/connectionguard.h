#pragma once

// The listening socket of the HTTP layer, with the limits that layer lacks: at most
// `maxConnections` open at once, a connection idle for `idleMs` is closed, and one
// whose unanswered request grows past `maxRequestBytes` is cut (the HTTP layer would
// otherwise buffer any body whole before a handler could refuse it).

#include <QHash>
#include <QPointer>
#include <QTcpServer>

class QHostAddress;
class QTcpSocket;
class QTimer;

class ConnectionGuard : public QTcpServer
{
    Q_OBJECT

public:
    struct Limits
    {
        int maxConnections = 1024;
        qint64 maxRequestBytes = 4 * 1024 * 1024;
        int idleMs = 60000;
    };

    explicit ConnectionGuard(const Limits &limits, QObject *parent = nullptr);

    // A whole request was read from `socket`: its byte count starts again.
    void requestCompleted(QTcpSocket *socket);
    // The connection from `peer`:`peerPort` left HTTP (a WebSocket upgrade): no more
    // idle or size limits, and it no longer counts against the connection limit.
    void releasePeer(const QHostAddress &peer, quint16 peerPort);
    int openConnections() const { return int(watched.size()); }
    // Connections taken since the start, refused ones included.
    qint64 acceptedConnections() const { return accepted; }

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    struct Watch
    {
        qint64 bytes = 0;
        QTimer *idle = nullptr;
        // The HTTP layer cuts every connection of a socket it hands to its WebSocket
        // server, our "destroyed" one included, so the entry may outlive its socket.
        QPointer<QTcpSocket> socket;
    };
    void onReadyRead(QTcpSocket *socket);
    void dropVanished();

    Limits limits;
    QHash<QTcpSocket *, Watch> watched;
    qint64 accepted = 0;
};
