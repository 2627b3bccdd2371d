#include "bridge/tcplistenerendpoint.h"

#include "connection/multiclientserver.h"

#include <QTcpSocket>

TcpListenerEndpoint::TcpListenerEndpoint(quint16 listenPort, const QHostAddress &listenAddress,
                                         QObject *parent)
    : BridgeEndpoint(parent)
    , server(new MultiClientServer(this))
    , port(listenPort)
    , address(listenAddress)
{
    connect(server, &MultiClientServer::newMessage, this, &TcpListenerEndpoint::takeMessage);
    connect(server, &MultiClientServer::clientArrived, this, &BridgeEndpoint::peerArrived);
    connect(server, &MultiClientServer::clientGone, this, &TcpListenerEndpoint::clientLeft);
    connect(server, &MultiClientServer::bytesWritten, this, &BridgeEndpoint::bytesWritten);
    connect(server, &MultiClientServer::connectionRefused, this,
            [this](const QString &key, const QString &reason) {
                Q_EMIT endpointMessage(tr("Refused %1: %2").arg(key, reason));
            });
}

TcpListenerEndpoint::~TcpListenerEndpoint()
{
    // The server's clients must not call back into a half-destroyed endpoint.
    server->disconnect(this);
    server->stop();
}

quint16 TcpListenerEndpoint::serverPort() const
{
    return server->isListening() ? server->serverPort() : 0;
}

void TcpListenerEndpoint::applyTuning(FanoutMode fanout, const QStringList &allowedPeers)
{
    server->setFanoutMode(fanout);
    server->setAllowedPeers(allowedPeers);
}

void TcpListenerEndpoint::close()
{
    server->stop();
    held.clear();
    leaving.clear();
    failureTold = false;
}

bool TcpListenerEndpoint::hasMultiplePeers() const
{
    return true;
}

bool TcpListenerEndpoint::isTcp() const
{
    return true;
}

QStringList TcpListenerEndpoint::connectedPeers() const
{
    return server->clientKeys();
}

QString TcpListenerEndpoint::displayName() const
{
    return tr("TCP :%1 (built-in)").arg(port);
}

void TcpListenerEndpoint::ensureOpen()
{
    if (server->isListening()) {
        return;
    }
    server->setBridgeSocketTuning(true);
    if (server->start(port, address)) {
        failureTold = false;
        return;
    }
    if (!failureTold) {
        failureTold = true;
        Q_EMIT endpointMessage(
            tr("Cannot listen on TCP port %1: %2").arg(port).arg(server->errorString()));
    }
}

qint64 TcpListenerEndpoint::writeTransport(const QByteArray &bytes, bool displayForwarded,
                                           const QString &peer)
{
    Q_UNUSED(displayForwarded) // a listener has no view
    if (peer.isEmpty()) {
        return server->broadcast(bytes);
    }
    return server->writeTo(peer, bytes) ? bytes.size() : -1;
}

qint64 TcpListenerEndpoint::pendingBytes() const
{
    qint64 total = 0;
    for (int row = 0; row < server->clientCount(); ++row) {
        total += server->clientAt(row)->bytesToWrite();
    }
    return total;
}

bool TcpListenerEndpoint::isOpen() const
{
    return server->isListening();
}

bool TcpListenerEndpoint::hasRecipients() const
{
    for (int row = 0; row < server->clientCount(); ++row) {
        if (server->clientAt(row)->state() == QAbstractSocket::ConnectedState) {
            return true;
        }
    }
    return false;
}

bool TcpListenerEndpoint::hasRecipient(const QString &peer) const
{
    return server->clientKeys().contains(peer);
}

void TcpListenerEndpoint::setReadThrottled(bool on)
{
    throttled = on;
    server->setReadThrottled(on);
    if (!on) {
        deliver();
    }
}

bool TcpListenerEndpoint::supportsThrottle() const
{
    return true;
}

void TcpListenerEndpoint::takeMessage(const QString &key)
{
    const QByteArray bytes = server->takeMessage(key);
    if (bytes.isEmpty()) {
        return;
    }
    if (!held.isEmpty() && held.constLast().key == key && held.constLast().offset == 0) {
        held.last().bytes.append(bytes);
    } else {
        held.append({key, bytes});
    }
    deliver();
}

void TcpListenerEndpoint::clientLeft(const QString &key)
{
    // A client's last bytes are handed on before it is said to be gone.
    for (const Held &entry : std::as_const(held)) {
        if (entry.key == key) {
            leaving.append(key);
            return;
        }
    }
    Q_EMIT peerLost(key);
}

void TcpListenerEndpoint::deliver()
{
    // One read may bring far more than a bridge queue holds: it is handed on in pieces,
    // and a hold asked for on the way keeps the rest here until it is released.
    if (delivering) {
        return;
    }
    delivering = true;
    while (!throttled && !held.isEmpty()) {
        Held &head = held.first();
        const QString key = head.key;
        QByteArray piece;
        if (head.offset == 0 && head.bytes.size() <= DeliveryChunk) {
            piece = held.takeFirst().bytes; // shared, not copied
        } else {
            piece = head.bytes.sliced(head.offset,
                                      std::min(DeliveryChunk, head.bytes.size() - head.offset));
            head.offset += piece.size();
            if (head.offset == head.bytes.size()) {
                held.removeFirst();
            }
        }
        const bool last = !std::any_of(held.cbegin(), held.cend(),
                                       [&key](const Held &entry) { return entry.key == key; });
        Q_EMIT tapped(piece, key);
        if (last && leaving.removeAll(key) > 0) {
            Q_EMIT peerLost(key);
        }
    }
    delivering = false;
}
