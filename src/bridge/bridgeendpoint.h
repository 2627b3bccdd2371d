#pragma once

// One end of a bridge: a port, a built-in TCP listener, or a relay. A link reads what
// the end receives through `tapped`, writes through writeBytes() (data, shown in the
// port's views unless muted, escaped for Telnet on a remote serial end) and
// writeControl() (protocol bytes, never escaped or shown), and asks it for its line
// settings and modem lines when it carries RFC 2217.

#include "bridge/bridgeconfig.h"
#include "bridge/bridgesink.h"
#include "bridge/bridgesource.h"
#include "bridge/rfc2217serversession.h"
#include "connection/settings.h"

#include <QJsonObject>
#include <QObject>
#include <QStringList>

class BridgeEndpoint : public QObject, public BridgeSink, public BridgeSource
{
    Q_OBJECT

public:
    explicit BridgeEndpoint(QObject *parent = nullptr);
    ~BridgeEndpoint() override;

    // Data for the end's transport: 255 is doubled first when `telnetEscape` is set, and
    // the caller's count is reported when the whole block was taken.
    qint64 writeBytes(const QByteArray &bytes, const QString &peer) final;
    // Whether the end may serve several peers at once (a TCP server).
    virtual bool hasMultiplePeers() const;
    virtual bool isTcp() const;
    virtual bool isTcpClient() const;
    virtual bool isSerial() const;
    // False once the end is gone (a removed port).
    virtual bool isAvailable() const;
    virtual QStringList connectedPeers() const;
    virtual QString displayName() const = 0;
    // Opens the end if it is closed; failures are told through endpointMessage.
    virtual void ensureOpen();
    // The line settings of the end's serial port.
    virtual Settings settings() const;
    virtual void applySerialConfig(const QJsonObject &config);
    virtual void setControlLine(Rfc2217ServerSession::Line line, bool on);
    // The modem lines in RFC 2217's bit order (CD 0x80, RI 0x40, DSR 0x20, CTS 0x10).
    virtual quint8 modemState() const;
    // Whether the end is itself a remote serial port, so that requests can pass through.
    virtual bool isRemoteSerial() const;
    // Passes a client's request on to a remote serial port; the ticket of the answer to
    // wait for (remoteAnswered), or 0 with the reason in `error`.
    virtual quint64 forwardRfc2217(const Rfc2217Codec::Event &event, QString *error);
    virtual void withdrawRfc2217(quint64 ticket);
    // Writes to the transport as it is; an empty peer is every recipient.
    virtual qint64 writeTransport(const QByteArray &bytes, bool displayForwarded,
                                  const QString &peer) = 0;

    // Protocol bytes, unescaped and never shown in the views.
    qint64 writeControl(const QByteArray &bytes, const QString &peer);

    bool displayForwarded() const { return showForwarded; }
    void setDisplayForwarded(bool on) { showForwarded = on; }
    UdpTargetMode udpTarget() const { return udpMode; }
    void setUdpTarget(UdpTargetMode mode) { udpMode = mode; }
    bool telnetEscape() const { return escapeTelnet; }
    void setTelnetEscape(bool on) { escapeTelnet = on; }

signals:
    void tapped(const QByteArray &bytes, const QString &peer);
    void peerArrived(const QString &peer);
    void peerLost(const QString &peer);
    void settingsChanged();
    void endpointMessage(const QString &text);
    void remoteAnswered(quint64 ticket, const Rfc2217Codec::Event &event);
    // Bytes left the transport: a sink that was full may take more now.
    void bytesWritten(qint64 count);

private:
    bool showForwarded = true;
    UdpTargetMode udpMode = UdpTargetMode::LastSender;
    bool escapeTelnet = false;
};
