#pragma once

// What a bridge may do with one port session: write forwarded bytes, watch the write
// backlog, hold back reads, follow and change the line settings and control lines. The
// panel and velmora-cli each give their session one of these and build the session's
// bridge end over it with createEndpoint().

#include "bridge/bridgeporthooks.h"
#include "connection/fanoutmode.h"

#include <QObject>

#include <functional>

class PortEndpoint;
class PortSession;

class PortBridgeHooks : public QObject, public BridgePortHooks
{
    Q_OBJECT

public:
    explicit PortBridgeHooks(PortSession *session, QObject *parent = nullptr);
    ~PortBridgeHooks() override;

    // A new end for a bridge, fed with the session's received bytes (after the runners
    // that are connected already), peers and transport progress. `guard` is the object
    // whose deletion makes the end read as gone (the panel, or the session).
    PortEndpoint *createEndpoint(QObject *guard, QObject *parent = nullptr);

    // How a bridge opens the port; the session's ensureOpen() when unset.
    std::function<void()> openHook;
    // The name shown for the port; the session's label when unset.
    std::function<QString()> nameHook;
    // What tells a bridge that an RFC 2217 client changed the line (the panel shows it).
    std::function<void()> serialConfigAppliedHook;

    // Tells the transport whether a bridge uses it: a TCP server then shares itself and
    // admits clients as the bridge says, and its sockets are tuned for forwarding.
    void applyBridgeState(bool active, FanoutMode fanout, const QStringList &allowedPeers);
    bool bridgeActive() const { return active; }

    QString bridgePortName() const override;
    Settings settings() const override;
    bool portIsOpen() const override;
    void openPortForBridge() override;
    qint64 bridgeWriteBytes(const QByteArray &bytes, bool displayForwarded,
                            const QString &peer) override;
    qint64 bridgePendingBytes() const override;
    QStringList connectedPeers() const override;
    void setBridgeReadThrottled(bool on) override;
    bool bridgeSupportsThrottle() const override;
    quint8 bridgeModemState() const override;
    void bridgeApplySerialConfig(const QJsonObject &config) override;
    void bridgeSetControlLine(Rfc2217ServerSession::Line line, bool on) override;
    quint64 bridgeForwardRfc2217(const Rfc2217Codec::Event &event, QString *error) override;
    void bridgeWithdrawRfc2217(quint64 ticket) override;

signals:
    // The line settings changed under the bridge's feet (a client's request applied).
    void settingsChanged();

private:
    PortSession *session;
    bool active = false;
};
