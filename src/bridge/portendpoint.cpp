#include "bridge/portendpoint.h"

#include "bridge/bridgeporthooks.h"

PortEndpoint::PortEndpoint(QObject *port, BridgePortHooks *hooks, QObject *parent)
    : BridgeEndpoint(parent)
    , guard(port)
    , hooks(hooks)
    , lastName(hooks ? hooks->bridgePortName() : QString())
{}

PortEndpoint::~PortEndpoint() = default;

qint32 PortEndpoint::mode() const
{
    const BridgePortHooks *port = live();
    return port ? port->settings().connMode : qint32(ModeReserved);
}

bool PortEndpoint::hasMultiplePeers() const
{
    const qint32 m = mode();
    return m == ModeTcpServer || m == ModeUdpServer || m == ModeUdpGroup;
}

bool PortEndpoint::isTcp() const
{
    const qint32 m = mode();
    return m == ModeTcpServer || m == ModeTcpClient;
}

bool PortEndpoint::isTcpClient() const
{
    return mode() == ModeTcpClient;
}

bool PortEndpoint::isSerial() const
{
    return mode() == ModeSerial;
}

bool PortEndpoint::isAvailable() const
{
    return live() != nullptr;
}

QStringList PortEndpoint::connectedPeers() const
{
    const BridgePortHooks *port = live();
    return port ? port->connectedPeers() : QStringList();
}

QString PortEndpoint::displayName() const
{
    const BridgePortHooks *port = live();
    return port ? port->bridgePortName() : lastName;
}

void PortEndpoint::ensureOpen()
{
    BridgePortHooks *port = live();
    if (port && !port->portIsOpen()) {
        port->openPortForBridge();
    }
}

Settings PortEndpoint::settings() const
{
    const BridgePortHooks *port = live();
    return port ? port->settings() : Settings();
}

void PortEndpoint::applySerialConfig(const QJsonObject &config)
{
    if (BridgePortHooks *port = live()) {
        port->bridgeApplySerialConfig(config);
    }
}

void PortEndpoint::setControlLine(Rfc2217ServerSession::Line line, bool on)
{
    if (BridgePortHooks *port = live()) {
        port->bridgeSetControlLine(line, on);
    }
}

quint8 PortEndpoint::modemState() const
{
    const BridgePortHooks *port = live();
    return port ? port->bridgeModemState() : 0;
}

bool PortEndpoint::isRemoteSerial() const
{
    return mode() == ModeRemoteSerial;
}

quint64 PortEndpoint::forwardRfc2217(const Rfc2217Codec::Event &event, QString *error)
{
    BridgePortHooks *port = live();
    if (!port) {
        if (error) {
            *error = tr("the port has been removed");
        }
        return 0;
    }
    return port->bridgeForwardRfc2217(event, error);
}

void PortEndpoint::withdrawRfc2217(quint64 ticket)
{
    if (BridgePortHooks *port = live()) {
        port->bridgeWithdrawRfc2217(ticket);
    }
}

qint64 PortEndpoint::writeTransport(const QByteArray &bytes, bool displayForwarded,
                                    const QString &peer)
{
    BridgePortHooks *port = live();
    return port ? port->bridgeWriteBytes(bytes, displayForwarded, peer) : 0;
}

qint64 PortEndpoint::pendingBytes() const
{
    const BridgePortHooks *port = live();
    return port ? port->bridgePendingBytes() : 0;
}

bool PortEndpoint::isOpen() const
{
    const BridgePortHooks *port = live();
    return port && port->portIsOpen();
}

bool PortEndpoint::hasRecipients() const
{
    // A server port with no client connected has nobody to write to; every other
    // transport has its one far end.
    if (mode() != ModeTcpServer) {
        return true;
    }
    return !connectedPeers().isEmpty();
}

bool PortEndpoint::hasRecipient(const QString &peer) const
{
    return peer.isEmpty() || mode() != ModeTcpServer || connectedPeers().contains(peer);
}

void PortEndpoint::setReadThrottled(bool on)
{
    if (BridgePortHooks *port = live()) {
        port->setBridgeReadThrottled(on);
    }
}

bool PortEndpoint::supportsThrottle() const
{
    const BridgePortHooks *port = live();
    return port && port->bridgeSupportsThrottle();
}
