#pragma once

// The listening socket of the HTTP layer, with the limits that layer lacks: at most
// `maxConnections` open at once, a connection idle for `idleMs` is closed, and one
// whose unanswered request grows past `maxRequestBytes` is cut (the HTTP layer would
// otherwise buffer any body whole before a handler could refuse it).

#include <QHash>
#include <QTcpServer>

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
    // `socket` leaves HTTP (a WebSocket upgrade): no more idle or size limits.
    void release(QTcpSocket *socket);
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
    };
    void onReadyRead(QTcpSocket *socket);

    Limits limits;
    QHash<QTcpSocket *, Watch> watched;
    qint64 accepted = 0;
};
