#pragma once

// What a port session offers the bridges that use it. A port panel (or a session with
// no window) implements these; a PortEndpoint forwards a link's calls to them. The
// session also passes its received bytes, peers and remote answers on to the endpoint
// (see PortEndpoint).

#include "bridge/rfc2217codec.h"
#include "bridge/rfc2217serversession.h"
#include "connection/settings.h"

#include <QByteArray>
#include <QJsonObject>
#include <QStringList>

class BridgePortHooks
{
public:
    virtual ~BridgePortHooks() = default;

    // The port's name as the bridge dialogs and capture header show it.
    virtual QString bridgePortName() const = 0;
    virtual Settings settings() const = 0;
    virtual bool portIsOpen() const = 0;
    // Opens the port with its current settings; failures are the session's to tell.
    virtual void openPortForBridge() = 0;
    // Writes forwarded bytes to `peer` (empty: every peer) and returns the count taken;
    // `displayForwarded` says whether they also appear in the port's views.
    virtual qint64 bridgeWriteBytes(const QByteArray &bytes, bool displayForwarded,
                                    const QString &peer) = 0;
    // Bytes written and not yet gone out on the transport.
    virtual qint64 bridgePendingBytes() const = 0;
    virtual QStringList connectedPeers() const = 0;
    virtual void setBridgeReadThrottled(bool on) = 0;
    virtual bool bridgeSupportsThrottle() const = 0;
    // The modem lines in RFC 2217's bit order (CD 0x80, RI 0x40, DSR 0x20, CTS 0x10).
    virtual quint8 bridgeModemState() const = 0;
    virtual void bridgeApplySerialConfig(const QJsonObject &config) = 0;
    virtual void bridgeSetControlLine(Rfc2217ServerSession::Line line, bool on) = 0;
    // A remote serial port passes a client's request on to its own server; the ticket
    // its answer will carry, or 0 with the reason in `error`.
    virtual quint64 bridgeForwardRfc2217(const Rfc2217Codec::Event &event, QString *error) = 0;
    virtual void bridgeWithdrawRfc2217(quint64 ticket) = 0;
};
