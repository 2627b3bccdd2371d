#include "session/portbridgehooks.h"

#include "bridge/portendpoint.h"
#include "connection/connectioncontroller.h"
#include "session/portsession.h"

#include <QPointer>
#include <QSerialPort>

PortBridgeHooks::PortBridgeHooks(PortSession *session, QObject *parent)
    : QObject(parent)
    , session(session)
{
    // A transfer must not start on a port a bridge is forwarding; the guard makes the
    // question safe if these hooks go before the session does.
    session->bridgedHook = [guard = QPointer<PortBridgeHooks>(this)] {
        return guard && guard->bridgeActive();
    };
}

PortBridgeHooks::~PortBridgeHooks() = default;

PortEndpoint *PortBridgeHooks::createEndpoint(QObject *guard, QObject *parent)
{
    auto *end = new PortEndpoint(guard, this, parent);
    ConnectionController *c = session->connectionController();
    // Connected after the runners, so an auto reply has answered before the bytes are
    // forwarded.
    connect(session, &PortSession::rxTapped, end, &BridgeEndpoint::tapped);
    connect(c, &ConnectionController::peerArrived, end, &BridgeEndpoint::peerArrived);
    connect(c, &ConnectionController::peerLost, end, &BridgeEndpoint::peerLost);
    connect(c, &ConnectionController::bytesWritten, end, &BridgeEndpoint::bytesWritten);
    connect(this, &PortBridgeHooks::settingsChanged, end, &BridgeEndpoint::settingsChanged);
    connect(session, &PortSession::rfc2217Answered, end, &BridgeEndpoint::remoteAnswered);
    return end;
}

void PortBridgeHooks::applyBridgeState(bool on, FanoutMode fanout, const QStringList &allowedPeers)
{
    active = on;
    ConnectionController *c = session->connectionController();
    c->setBridgeSocketTuning(on);
    if (session->settings().connMode != ModeTcpServer) {
        return;
    }
    // Without a bridge the server goes back to serving every client as before.
    c->setTcpServerFanout(on ? fanout : FanoutMode::Shared);
    c->setAllowedPeers(on ? allowedPeers : QStringList());
}

QString PortBridgeHooks::bridgePortName() const
{
    return nameHook ? nameHook() : session->label();
}

Settings PortBridgeHooks::settings() const
{
    return session->settings();
}

bool PortBridgeHooks::portIsOpen() const
{
    return session->portIsOpen();
}

void PortBridgeHooks::openPortForBridge()
{
    if (openHook) {
        openHook();
        return;
    }
    QString error;
    if (!session->ensureOpen(&error)) {
        session->note(error);
    }
}

qint64 PortBridgeHooks::bridgeWriteBytes(const QByteArray &bytes, bool displayForwarded,
                                         const QString &peer)
{
    if (bytes.isEmpty() || !session->mayDisturbPort(PortSession::TxActor::Bridge,
                                                    PortSession::DisturbData, nullptr)) {
        return 0;
    }
    const PortSession::UdpTargetMode target = peer.isEmpty()
                                                  ? PortSession::UdpTargetMode::LastSender
                                                  : PortSession::UdpTargetMode::PeerKey;
    if (!session->writeRaw(bytes, true, target, peer)) {
        return 0;
    }
    if (displayForwarded) {
        session->pushByteArray(bytes, false, Sent, peer);
    }
    return bytes.size();
}

qint64 PortBridgeHooks::bridgePendingBytes() const
{
    return session->connectionController()->pendingWriteBytes(session->settings().connMode);
}

QStringList PortBridgeHooks::connectedPeers() const
{
    return session->connectedPeers();
}

void PortBridgeHooks::setBridgeReadThrottled(bool on)
{
    session->connectionController()->setReadThrottled(session->settings().connMode, on);
}

bool PortBridgeHooks::bridgeSupportsThrottle() const
{
    switch (session->settings().connMode) {
    case ModeSerial:
        // Holding back reads only slows a device that honours flow control.
        return session->settings().flowControl != 0;
    case ModeTcpServer:
    case ModeTcpClient:
    case ModeRemoteSerial:
        return true;
    default:
        return false;
    }
}

quint8 PortBridgeHooks::bridgeModemState() const
{
    ConnectionController *c = session->connectionController();
    QSerialPort *device = c->serialDevice();
    if (session->settings().connMode != ModeSerial || !device || !device->isOpen() ||
        !c->serialControlLinesSupported()) {
        return 0;
    }
    const QSerialPort::PinoutSignals pins = device->pinoutSignals();
    quint8 state = 0;
    state |= pins.testFlag(QSerialPort::DataCarrierDetectSignal) ? 0x80 : 0;
    state |= pins.testFlag(QSerialPort::RingIndicatorSignal) ? 0x40 : 0;
    state |= pins.testFlag(QSerialPort::DataSetReadySignal) ? 0x20 : 0;
    state |= pins.testFlag(QSerialPort::ClearToSendSignal) ? 0x10 : 0;
    return state;
}

void PortBridgeHooks::bridgeApplySerialConfig(const QJsonObject &config)
{
    if (session->settings().connMode != ModeSerial || config.isEmpty()) {
        return;
    }
    QString why;
    if (!session->mayDisturbPort(PortSession::TxActor::Bridge, PortSession::DisturbSettings,
                                 &why)) {
        session->note(why);
        return;
    }
    Settings next = session->settings();
    patchSerialParams(config, next);
    QString error;
    if (session->portIsOpen() &&
        !session->connectionController()->applySerialParams(next, &error)) {
        session->note(tr("The line settings asked for over the network were refused: %1")
                          .arg(error));
        return;
    }
    Settings &held = session->settings();
    held.baudRate = next.baudRate;
    held.dataBits = next.dataBits;
    held.stringDataBits = next.stringDataBits;
    held.parity = next.parity;
    held.stringParity = next.stringParity;
    held.stopBits = next.stopBits;
    held.stringStopBits = next.stringStopBits;
    held.flowControl = next.flowControl;
    held.stringFlowControl = next.stringFlowControl;
    if (serialConfigAppliedHook) {
        serialConfigAppliedHook();
    }
    Q_EMIT settingsChanged();
}

void PortBridgeHooks::bridgeSetControlLine(Rfc2217ServerSession::Line line, bool on)
{
    if (session->settings().connMode != ModeSerial) {
        return;
    }
    const PortSession::Disturb disturb =
        line == Rfc2217ServerSession::Rts ? PortSession::DisturbRts : PortSession::DisturbDtr;
    if (!session->mayDisturbPort(PortSession::TxActor::Bridge, disturb, nullptr)) {
        return;
    }
    ConnectionController::SerialLine target = ConnectionController::LineDtr;
    if (line == Rfc2217ServerSession::Rts) {
        target = ConnectionController::LineRts;
    } else if (line == Rfc2217ServerSession::Break) {
        target = ConnectionController::LineBreak;
    }
    session->connectionController()->setSerialLine(target, on);
}

quint64 PortBridgeHooks::bridgeForwardRfc2217(const Rfc2217Codec::Event &event, QString *error)
{
    // A remote serial port passes a bridge client's request on to its own server; the
    // answer comes back through rfc2217Answered with the ticket returned here.
    return session->bridgeForwardRfc2217(event, error);
}

void PortBridgeHooks::bridgeWithdrawRfc2217(quint64 ticket)
{
    session->bridgeWithdrawRfc2217(ticket);
}
