#include "connection/multiclientserver.h"

#include <QTcpSocket>

namespace {
constexpr qint64 ThrottledReadBuffer = 4096;

QHostAddress plainAddress(const QHostAddress &address)
{
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    return isV4 ? QHostAddress(v4) : address;
}
} // namespace

MultiClientServer::MultiClientServer(QObject *parent)
    : QTcpServer(parent)
{
    connect(this, &QTcpServer::newConnection, this, &MultiClientServer::handleNewConnection);
}

MultiClientServer::~MultiClientServer()
{
    for (QTcpSocket *socket : std::as_const(clients)) {
        socket->disconnect(this);
    }
}

bool MultiClientServer::start(quint16 port, const QHostAddress &address)
{
    return listen(address, port);
}

void MultiClientServer::stop()
{
    close();
    const QList<QTcpSocket *> gone = clients;
    clients.clear();
    keys.clear();
    messages.clear();
    for (QTcpSocket *socket : gone) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    Q_EMIT connectionStateChange();
}

QString MultiClientServer::peerKeyFor(const QHostAddress &address, quint16 port)
{
    return QStringLiteral("%1:%2").arg(plainAddress(address).toString()).arg(port);
}

QString MultiClientServer::peerKeyFor(const QTcpSocket *socket)
{
    return peerKeyFor(socket->peerAddress(), socket->peerPort());
}

bool MultiClientServer::addressAllowed(const QHostAddress &address, const QStringList &list)
{
    if (list.isEmpty()) {
        return true;
    }
    const QHostAddress plain = plainAddress(address);
    for (const QString &raw : list) {
        const QString entry = raw.trimmed();
        if (entry.contains(QLatin1Char('/'))) {
            const QPair<QHostAddress, int> subnet = QHostAddress::parseSubnet(entry);
            if (subnet.first.isNull()) {
                continue;
            }
            if (plain.isInSubnet(subnet) || address.isInSubnet(subnet)) {
                return true;
            }
            continue;
        }
        QHostAddress wanted;
        if (!wanted.setAddress(entry)) {
            continue;
        }
        if (address.isEqual(wanted, QHostAddress::TolerantConversion)) {
            return true;
        }
    }
    return false;
}

void MultiClientServer::handleNewConnection()
{
    bool added = false;
    while (QTcpSocket *socket = nextPendingConnection()) {
        if (!addressAllowed(socket->peerAddress(), allowedPeers)) {
            refuse(socket, tr("not on the address allowlist"));
            continue;
        }
        if (fanoutMode == FanoutMode::Exclusive && !clients.isEmpty()) {
            refuse(socket, tr("the port already has a client (exclusive mode)"));
            continue;
        }
        const QString key = peerKeyFor(socket);
        connect(socket, &QTcpSocket::disconnected, this,
                [this, socket] { clientDisconnected(socket); });
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { drainClient(socket); });
        connect(socket, &QTcpSocket::bytesWritten, this, &MultiClientServer::bytesWritten);
        clients.append(socket);
        keys.insert(socket, key);
        tuneClient(socket);
        added = true;
        Q_EMIT clientArrived(key);
        // Bytes that came with the connection must not wait for a later notification.
        if (keys.contains(socket) && socket->bytesAvailable() > 0) {
            drainClient(socket);
        }
    }
    if (added) {
        Q_EMIT connectionStateChange();
    }
}

void MultiClientServer::refuse(QTcpSocket *socket, const QString &reason)
{
    const QString key = peerKeyFor(socket);
    socket->close();
    socket->deleteLater();
    Q_EMIT connectionRefused(key, reason);
}

void MultiClientServer::drainClient(QTcpSocket *socket, bool last)
{
    const auto it = keys.constFind(socket);
    if (it == keys.constEnd()) {
        return;
    }
    // Held back, the bytes stay in the socket's bounded buffer and the kernel, so the
    // client's TCP window closes and it slows down; setReadThrottled(false) reads them.
    if (readThrottled && !last) {
        return;
    }
    const QByteArray bytes = socket->readAll();
    if (bytes.isEmpty()) {
        return;
    }
    const QString key = it.value();
    messages[key].append(bytes);
    Q_EMIT newMessage(key);
}

void MultiClientServer::clientDisconnected(QTcpSocket *socket)
{
    if (!keys.contains(socket)) {
        return;
    }
    drainClient(socket, true);
    // The consumer of those last bytes may have stopped the server, which let go of
    // every client already.
    if (!keys.contains(socket)) {
        return;
    }
    const QString key = keys.take(socket);
    clients.removeAll(socket);
    socket->disconnect(this);
    socket->deleteLater();
    Q_EMIT clientGone(key);
    // What nobody took by now would greet a later client that reuses the key.
    messages.remove(key);
    Q_EMIT connectionStateChange();
}

QByteArray MultiClientServer::takeMessage(const QString &key)
{
    return messages.take(key);
}

bool MultiClientServer::writeTo(const QString &key, const QByteArray &bytes)
{
    for (QTcpSocket *socket : std::as_const(clients)) {
        if (keys.value(socket) == key) {
            if (socket->state() != QAbstractSocket::ConnectedState) {
                return false;
            }
            return socket->write(bytes) == bytes.size();
        }
    }
    return false;
}

qint64 MultiClientServer::broadcast(const QByteArray &bytes)
{
    qint64 largest = -1;
    for (QTcpSocket *socket : std::as_const(clients)) {
        if (socket->state() == QAbstractSocket::ConnectedState) {
            largest = std::max(largest, socket->write(bytes));
        }
    }
    return largest;
}

void MultiClientServer::setFanoutMode(FanoutMode mode)
{
    fanoutMode = mode;
}

void MultiClientServer::setAllowedPeers(const QStringList &list)
{
    allowedPeers = list;
}

void MultiClientServer::setBridgeSocketTuning(bool on)
{
    bridgeSocketTuning = on;
    for (QTcpSocket *socket : std::as_const(clients)) {
        tuneClient(socket);
    }
}

void MultiClientServer::setReadThrottled(bool on)
{
    readThrottled = on;
    const QList<QTcpSocket *> current = clients;
    for (QTcpSocket *socket : current) {
        tuneClient(socket);
    }
    if (!on) {
        // No new notification may come for bytes that already wait.
        for (QTcpSocket *socket : current) {
            if (keys.contains(socket) && socket->bytesAvailable() > 0) {
                drainClient(socket);
            }
        }
    }
}

void MultiClientServer::tuneClient(QTcpSocket *socket) const
{
    if (bridgeSocketTuning) {
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    }
    socket->setReadBufferSize(readThrottled ? ThrottledReadBuffer : 0);
}

QTcpSocket *MultiClientServer::exclusiveOwner() const
{
    return clients.isEmpty() ? nullptr : clients.first();
}

void MultiClientServer::sendHello(QTcpSocket *socket)
{
    if (socket) {
        socket->write("Hello\n");
    }
}

QTcpSocket *MultiClientServer::clientAt(int row) const
{
    return row >= 0 && row < clients.size() ? clients.at(row) : nullptr;
}

QString MultiClientServer::keyAt(int row) const
{
    QTcpSocket *socket = clientAt(row);
    return socket ? keys.value(socket) : QString();
}

QStringList MultiClientServer::clientKeys() const
{
    QStringList list;
    for (QTcpSocket *socket : clients) {
        list.append(keys.value(socket));
    }
    return list;
}

QString MultiClientServer::rememberedKeyFor(QTcpSocket *socket) const
{
    return keys.value(socket);
}

qint64 MultiClientServer::largestPendingWrite() const
{
    qint64 largest = 0;
    for (QTcpSocket *socket : clients) {
        largest = std::max(largest, socket->bytesToWrite());
    }
    return largest;
}
