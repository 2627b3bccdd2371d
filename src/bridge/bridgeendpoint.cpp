#include "bridge/bridgeendpoint.h"

BridgeEndpoint::BridgeEndpoint(QObject *parent)
    : QObject(parent)
{}

BridgeEndpoint::~BridgeEndpoint() = default;

qint64 BridgeEndpoint::writeBytes(const QByteArray &bytes, const QString &peer)
{
    if (!escapeTelnet) {
        return writeTransport(bytes, showForwarded, peer);
    }
    const QByteArray escaped = Rfc2217Codec::encodePayload(bytes);
    const qint64 written = writeTransport(escaped, showForwarded, peer);
    if (written >= escaped.size() || written < 1) {
        return written >= escaped.size() ? bytes.size() : written;
    }
    // Part of the block went out: count the source bytes whose whole escape did.
    qint64 source = 0;
    qint64 wire = 0;
    for (const char c : bytes) {
        const qint64 width = uchar(c) == Rfc2217Codec::IAC ? 2 : 1;
        if (wire + width > written) {
            break;
        }
        wire += width;
        ++source;
    }
    return source;
}

bool BridgeEndpoint::hasMultiplePeers() const
{
    return false;
}

bool BridgeEndpoint::isTcp() const
{
    return false;
}

bool BridgeEndpoint::isTcpClient() const
{
    return false;
}

bool BridgeEndpoint::isSerial() const
{
    return false;
}

bool BridgeEndpoint::isAvailable() const
{
    return true;
}

QStringList BridgeEndpoint::connectedPeers() const
{
    return {};
}

void BridgeEndpoint::ensureOpen() {}

Settings BridgeEndpoint::settings() const
{
    return {};
}

void BridgeEndpoint::applySerialConfig(const QJsonObject &config)
{
    Q_UNUSED(config)
}

void BridgeEndpoint::setControlLine(Rfc2217ServerSession::Line line, bool on)
{
    Q_UNUSED(line)
    Q_UNUSED(on)
}

quint8 BridgeEndpoint::modemState() const
{
    return 0;
}

bool BridgeEndpoint::isRemoteSerial() const
{
    return false;
}

quint64 BridgeEndpoint::forwardRfc2217(const Rfc2217Codec::Event &event, QString *error)
{
    Q_UNUSED(event)
    if (error) {
        *error = tr("this end has no remote serial port");
    }
    return 0;
}

void BridgeEndpoint::withdrawRfc2217(quint64 ticket)
{
    Q_UNUSED(ticket)
}

qint64 BridgeEndpoint::writeControl(const QByteArray &bytes, const QString &peer)
{
    return writeTransport(bytes, false, peer);
}
