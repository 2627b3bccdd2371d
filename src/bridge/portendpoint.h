#pragma once

// A bridge end that is one of the program's ports. It forwards a link's calls to the
// port's bridge hooks and watches the port object, so that a port that has been
// removed reads as unavailable, closed and empty instead of being called.
//
// The port passes on what the bridge must hear by connecting its own signals to this
// end's: received bytes to tapped(), peerArrived/peerLost, settingsChanged, remote
// answers to remoteAnswered(), and transport progress to bytesWritten().

#include "bridge/bridgeendpoint.h"

#include <QPointer>

class BridgePortHooks;

class PortEndpoint : public BridgeEndpoint
{
    Q_OBJECT

public:
    // `port` is the object that implements `hooks` (usually the same object); the end
    // does not own it.
    PortEndpoint(QObject *port, BridgePortHooks *hooks, QObject *parent = nullptr);
    ~PortEndpoint() override;

    bool hasMultiplePeers() const override;
    bool isTcp() const override;
    bool isTcpClient() const override;
    bool isSerial() const override;
    bool isAvailable() const override;
    QStringList connectedPeers() const override;
    QString displayName() const override;
    void ensureOpen() override;
    Settings settings() const override;
    void applySerialConfig(const QJsonObject &config) override;
    void setControlLine(Rfc2217ServerSession::Line line, bool on) override;
    quint8 modemState() const override;
    bool isRemoteSerial() const override;
    quint64 forwardRfc2217(const Rfc2217Codec::Event &event, QString *error) override;
    void withdrawRfc2217(quint64 ticket) override;
    qint64 writeTransport(const QByteArray &bytes, bool displayForwarded,
                          const QString &peer) override;
    qint64 pendingBytes() const override;
    bool isOpen() const override;
    bool hasRecipients() const override;
    bool hasRecipient(const QString &peer) const override;
    void setReadThrottled(bool on) override;
    bool supportsThrottle() const override;

private:
    // The hooks while the port exists, null after it has gone.
    BridgePortHooks *live() const { return guard ? hooks : nullptr; }
    qint32 mode() const;

    QPointer<QObject> guard;
    BridgePortHooks *hooks;
    QString lastName; // kept for the views after the port has gone
};
