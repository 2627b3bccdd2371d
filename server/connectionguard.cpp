#include "connectionguard.h"

#include "serverlog.h"

#include <QTcpSocket>
#include <QTimer>

ConnectionGuard::ConnectionGuard(const Limits &limits, QObject *parent)
    : QTcpServer(parent)
    , limits(limits)
{
}

void ConnectionGuard::incomingConnection(qintptr descriptor)
{
    auto *socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    // One access line per connection, so that an operator (or a test) can tell which
    // clients reached the server at all.
    ++accepted;
    qCInfo(lcAccess).noquote() << "connection" << accepted << "from"
                               << socket->peerAddress().toString();
    if (watched.size() >= limits.maxConnections)
        dropVanished();
    if (watched.size() >= limits.maxConnections) {
        qCWarning(lcServer) << "connection limit reached, refusing" << socket->peerAddress();
        socket->abort();
        socket->deleteLater();
        return;
    }
    Watch watch;
    watch.idle = new QTimer(socket);
    watch.idle->setSingleShot(true);
    watch.idle->setInterval(limits.idleMs);
    connect(watch.idle, &QTimer::timeout, socket, [socket]() { socket->disconnectFromHost(); });
    watch.idle->start();
    watch.socket = socket;
    watched.insert(socket, watch);

    // Connected before the HTTP layer connects its own slot, so this sees each block
    // before the HTTP parser takes it.
    connect(socket, &QTcpSocket::readyRead, this, [this, socket]() { onReadyRead(socket); });
    connect(socket, &QTcpSocket::bytesWritten, this, [this, socket]() {
        if (const auto it = watched.constFind(socket); it != watched.constEnd())
            it->idle->start();
    });
    connect(socket, &QObject::destroyed, this, [this, socket]() { watched.remove(socket); });
    addPendingConnection(socket);
}

void ConnectionGuard::onReadyRead(QTcpSocket *socket)
{
    const auto it = watched.find(socket);
    if (it == watched.end())
        return;
    it->idle->start();
    it->bytes += socket->bytesAvailable();
    if (it->bytes > limits.maxRequestBytes) {
        qCWarning(lcServer) << "request larger than" << limits.maxRequestBytes
                            << "bytes, closing the connection from" << socket->peerAddress();
        watched.erase(it);
        socket->abort();
    }
}

void ConnectionGuard::requestCompleted(QTcpSocket *socket)
{
    if (const auto it = watched.find(socket); it != watched.end())
        it->bytes = 0;
}

void ConnectionGuard::releasePeer(const QHostAddress &peer, quint16 peerPort)
{
    dropVanished();
    for (auto it = watched.begin(); it != watched.end(); ++it) {
        if (it->socket->peerPort() == peerPort && it->socket->peerAddress().isEqual(peer)) {
            delete it->idle;
            watched.erase(it);
            return;
        }
    }
}

void ConnectionGuard::dropVanished()
{
    watched.removeIf([](const auto &entry) { return entry.value().socket.isNull(); });
}
