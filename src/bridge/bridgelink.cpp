#include "bridge/bridgelink.h"

#include "bridge/bridgeendpoint.h"
#include "bridge/rfc2217clientsession.h"

#include <QDateTime>
#include <QTimer>

BridgeLink::BridgeLink(const BridgeConfig &config, BridgeEndpoint *a, BridgeEndpoint *b,
                       QObject *parent)
    : QObject(parent)
    , cfg(config)
    , endA(a)
    , endB(b)
    , deadlineTimer(new QTimer(this))
    , sampleTimer(new QTimer(this))
    , flushTimer(new QTimer(this))
{
    clock.start();
    deadlineTimer->setSingleShot(true);
    deadlineTimer->setTimerType(Qt::PreciseTimer);
    connect(deadlineTimer, &QTimer::timeout, this, &BridgeLink::onTimeout);
    sampleTimer->setInterval(SampleIntervalMs);
    connect(sampleTimer, &QTimer::timeout, this, &BridgeLink::onSampleTick);
    flushTimer->setSingleShot(true);
    flushTimer->setInterval(LogFlushIntervalMs);
    connect(flushTimer, &QTimer::timeout, this, &BridgeLink::flushLog);
    applyEndpointConfig();
    refreshState();
}

BridgeLink::~BridgeLink()
{
    stop();
}

BridgeEndpoint *BridgeLink::endpointA() const
{
    return endA;
}

BridgeEndpoint *BridgeLink::endpointB() const
{
    return endB;
}

QString BridgeLink::label() const
{
    if (!cfg.name.isEmpty()) {
        return cfg.name;
    }
    return endA ? endA->displayName() : tr("(unnamed)");
}

void BridgeLink::start()
{
    if (running || !endA || !endB || !cfg.enabled || !endA->isAvailable() || !endB->isAvailable()) {
        refreshState();
        return;
    }
    flowAB.setSource(cfg.carriesAtoB() ? endA.data() : nullptr);
    flowAB.setSink(endB);
    flowBA.setSource(cfg.carriesBtoA() ? endB.data() : nullptr);
    flowBA.setSink(endA);
    applyEndpointConfig();
    connectEnd(endA, true);
    connectEnd(endB, false);
    running = true;
    sampleTimer->start();
    // Clients already connected to a network end get their session as if they had just
    // come.
    for (BridgeEndpoint *end : {endA.data(), endB.data()}) {
        for (const QString &peer : end->connectedPeers()) {
            onPeerArrived(end, peer);
        }
    }
    refreshState();
}

void BridgeLink::connectEnd(BridgeEndpoint *end, bool isA)
{
    if (carries(isA)) {
        endConnections << connect(end, &BridgeEndpoint::tapped, this,
                                  [this, isA](const QByteArray &bytes, const QString &peer) {
                                      handleTap(isA, bytes, peer);
                                  });
    }
    endConnections << connect(end, &BridgeEndpoint::bytesWritten, this,
                              [this, isA] { onSinkProgress(isA); });
    endConnections << connect(end, &BridgeEndpoint::peerArrived, this,
                              [this, end](const QString &peer) { onPeerArrived(end, peer); });
    endConnections << connect(end, &BridgeEndpoint::peerLost, this, &BridgeLink::onPeerLost);
    endConnections << connect(end, &BridgeEndpoint::remoteAnswered, this,
                              &BridgeLink::onRemoteAnswered);
    endConnections << connect(end, &BridgeEndpoint::settingsChanged, this, [this, end] {
        if (end == protocolDeviceEndpoint()) {
            onDeviceSettingsChanged();
        }
    });
}

void BridgeLink::stop()
{
    for (const QMetaObject::Connection &connection : std::as_const(endConnections)) {
        disconnect(connection);
    }
    endConnections.clear();
    const qint64 t = now();
    if (running) {
        flowAB.finish(t);
        flowBA.finish(t);
    }
    arbiter.reset();
    gatewayFramer.setPolicy(gatewayFramer.policy());
    forgetRemoteAnswers(nullptr);
    deadlineTimer->stop();
    sampleTimer->stop();
    flushTimer->stop();
    logWriter.close();
    forgetProtocolPeers();
    if (!peerList.isEmpty()) {
        peerList.clear();
        if (running) {
            Q_EMIT peersChanged();
        }
    }
    for (BridgeEndpoint *end : {endA.data(), endB.data()}) {
        if (end && end == protocolNetworkEndpoint()) {
            end->setTelnetEscape(false);
        }
    }
    running = false;
    refreshState();
}

void BridgeLink::resume()
{
    const qint64 t = now();
    flowAB.resume(t);
    flowBA.resume(t);
    pumpArbiter(t);
    rearmTimer();
    refreshState();
    Q_EMIT statsChanged();
}

void BridgeLink::setConfig(const BridgeConfig &config)
{
    cfg = config;
    applyEndpointConfig();
    if (running) {
        rearmTimer();
    }
    refreshState();
}

void BridgeLink::applyEndpointConfig()
{
    const FramingPolicy framing = cfg.framing.sanitized();
    const FramingPolicy atOnce; // the arbiter frames the bytes of its end itself
    arbiter.setResponseTimeoutMs(cfg.arbiterResponseTimeoutMs);
    arbiter.setMaxQueuedRequests(cfg.arbiterMaxQueuedRequests);
    if (cfg.protocol == BridgeConfig::ModbusGateway) {
        // A gateway hands the arbiter whole requests, and the RTU line needs the framing.
        if (gatewayFramer.policy() != framing) {
            gatewayFramer.setPolicy(framing);
        }
        arbiter.setPolicy(atOnce);
        for (const auto &gateway : std::as_const(gateways)) {
            gateway->setTransactionTimeoutMs(cfg.modbusTransactionTimeoutMs);
        }
    } else {
        arbiter.setPolicy(framing);
    }
    BridgeEndpoint *arbitrated = arbitratedEndpoint();
    flowAB.setFraming(arbitrated && arbitrated == endA ? atOnce : framing);
    flowBA.setFraming(arbitrated && arbitrated == endB ? atOnce : framing);
    // A gateway's frames are whole Modbus TCP or RTU messages already.
    if (cfg.protocol == BridgeConfig::ModbusGateway && protocolNetworkEndpoint()) {
        flowAB.setFraming(atOnce);
        flowBA.setFraming(atOnce);
    }
    flowAB.setPolicy(cfg.flow);
    flowBA.setPolicy(cfg.flow);
    BridgeEndpoint *network = protocolNetworkEndpoint();
    const bool telnet =
        cfg.protocol == BridgeConfig::Rfc2217Server || cfg.protocol == BridgeConfig::Rfc2217Client;
    for (BridgeEndpoint *end : {endA.data(), endB.data()}) {
        if (!end) {
            continue;
        }
        if (end == network) {
            end->setTelnetEscape(telnet);
        }
        end->setDisplayForwarded(cfg.showForwardedInDisplay && !displayMuted);
        end->setUdpTarget(cfg.udpTargetMode);
    }
    logWriter.configure(cfg.logEnabled, cfg.logFilePath, cfg.logHex, cfg.logRotateBytes);
    logWriter.setHeaderFields(cfg.name, endA ? endA->displayName() : QString(),
                              endB ? endB->displayName() : QString());
    if (cfg.logEnabled) {
        captureStopReason.clear();
    }
}

void BridgeLink::handleTap(bool fromA, const QByteArray &bytes, const QString &peer)
{
    if (!running || !carries(fromA)) {
        return;
    }
    const qint64 t = now();
    BridgeEndpoint *from = fromA ? endA : endB;
    BridgeEndpoint *network = protocolNetworkEndpoint();
    const bool telnet =
        cfg.protocol == BridgeConfig::Rfc2217Server || cfg.protocol == BridgeConfig::Rfc2217Client;
    if (network && telnet && from == network) {
        const QByteArray payload = telnetFromNetwork(peer, bytes, t);
        if (!payload.isEmpty()) {
            dispatch(fromA, {payload}, peer, t);
        }
    } else if (network && cfg.protocol == BridgeConfig::ModbusGateway) {
        if (from == network) {
            const QByteArray rtu = gatewayFor(peer).tcpToRtu(bytes, t);
            if (!rtu.isEmpty()) {
                gatewayLastPeer = peer;
                dispatch(fromA, {rtu}, peer, t);
            }
        } else {
            gatewayFromDevice(fromA, bytes, t);
        }
    } else {
        // Also a device end of RFC 2217: its bytes are escaped on the way out by the
        // network end.
        dispatch(fromA, {bytes}, peer, t);
    }
    rearmTimer();
}

void BridgeLink::dispatch(bool fromA, const QList<QByteArray> &frames, const QString &peer,
                          qint64 nowMs)
{
    BridgeEndpoint *arbitrated = arbitratedEndpoint();
    BridgeEndpoint *from = fromA ? endA : endB;
    if (arbitrated && arbitrated == from) {
        for (const QByteArray &frame : frames) {
            arbiter.submit(peer, frame, nowMs);
        }
        pumpArbiter(nowMs);
        return;
    }
    BridgeFlow &flow = flowFrom(fromA);
    for (const QByteArray &frame : frames) {
        if (frame.isEmpty()) {
            continue;
        }
        if (arbitrated) {
            // An answer goes to the client whose turn it is; a late one, to every client.
            const QString owner = arbiter.routeResponse(nowMs);
            logFrame(fromA, owner, frame);
            flow.ingest(frame, nowMs, owner);
        } else {
            // The peer names who sent the frame at this end, not a recipient at the
            // other: the frame goes to every recipient there.
            logFrame(fromA, peer, frame);
            flow.ingest(frame, nowMs);
        }
    }
}

void BridgeLink::pumpArbiter(qint64 nowMs)
{
    BridgeEndpoint *arbitrated = arbitratedEndpoint();
    if (!running || !arbitrated) {
        return;
    }
    const bool fromA = arbitrated == endA;
    BridgeFlow &flow = flowFrom(fromA);
    BridgeArbiter::Request request;
    // A new request reaches the device only after the last has left and its turn closed.
    while (flow.isIdle() && !flow.isSuspended() && arbiter.takeNext(nowMs, &request)) {
        logFrame(fromA, request.peer, request.bytes);
        flow.ingest(request.bytes, nowMs);
    }
}

void BridgeLink::logFrame(bool fromA, const QString &peer, const QByteArray &bytes)
{
    if (!logWriter.isEnabled()) {
        return;
    }
    logWriter.append(fromA ? BridgeLog::AtoB : BridgeLog::BtoA, peer, bytes,
                     QDateTime::currentDateTime());
    if (logWriter.bufferedBytes() >= BridgeLogWriter::FlushSoonBytes) {
        flushLog();
    } else if (!flushTimer->isActive()) {
        flushTimer->start();
    }
}

void BridgeLink::flushLog()
{
    QString error;
    if (!logWriter.flush(&error)) {
        captureStopReason = error;
        Q_EMIT message(tr("%1: capture stopped, %2").arg(label(), error));
    }
}

void BridgeLink::rearmTimer()
{
    if (!running) {
        deadlineTimer->stop();
        return;
    }
    const qint64 t = now();
    qint64 next = -1;
    const auto take = [&next](qint64 value) {
        if (value >= 0 && (next < 0 || value < next)) {
            next = value;
        }
    };
    if (cfg.carriesAtoB()) {
        take(flowAB.nextTimeoutMs(t));
    }
    if (cfg.carriesBtoA()) {
        take(flowBA.nextTimeoutMs(t));
    }
    if (BridgeEndpoint *arbitrated = arbitratedEndpoint()) {
        // Waiting requests are due only once the device's flow is free; until then its
        // own retry wakes the link.
        const int due = arbiter.nextTimeoutMs(t);
        if (due != 0 || arbiter.turnOpen() || flowFrom(arbitrated == endA).isIdle()) {
            take(due);
        }
    }
    if (cfg.protocol == BridgeConfig::ModbusGateway) {
        take(gatewayFramer.nextTimeoutMs(t));
        for (const auto &gateway : std::as_const(gateways)) {
            take(gateway->nextTimeoutMs(t));
        }
    }
    take(modemPollTimeoutMs(t));
    take(remoteAnswerWaitMs(t));
    if (next < 0) {
        deadlineTimer->stop();
    } else {
        deadlineTimer->start(int(next));
    }
}

void BridgeLink::onTimeout()
{
    if (!running) {
        return;
    }
    const qint64 t = now();
    if (cfg.carriesAtoB()) {
        flowAB.tick(t);
    }
    if (cfg.carriesBtoA()) {
        flowBA.tick(t);
    }
    if (arbitratedEndpoint()) {
        arbiter.tick(t);
        pumpArbiter(t);
    }
    if (cfg.protocol == BridgeConfig::ModbusGateway && protocolNetworkEndpoint()) {
        const bool deviceIsA = protocolDeviceEndpoint() == endA;
        for (const QByteArray &frame : gatewayFramer.tick(t)) {
            deliverGatewayFrame(deviceIsA, frame, t);
        }
        for (const auto &gateway : std::as_const(gateways)) {
            gateway->tick(t);
        }
    }
    pollModemStates(t);
    expireRemoteAnswers(t);
    rearmTimer();
}

void BridgeLink::onSinkProgress(bool atA)
{
    // A sink that was full has room again: write now instead of at the next retry, so
    // that a fast sink is not held to one backlog per retry interval.
    if (!running) {
        return;
    }
    BridgeFlow &flow = flowFrom(!atA);
    if (!carries(!atA) || flow.isSuspended() || flow.queueBytes() == 0) {
        return;
    }
    const qint64 t = now();
    flow.drain(t);
    pumpArbiter(t);
    rearmTimer();
}

void BridgeLink::onPeerArrived(BridgeEndpoint *end, const QString &peer)
{
    if (!running || peerList.contains(peer)) {
        return;
    }
    peerList.append(peer);
    if (end->isTcp()) {
        Q_EMIT message(tr("%1: remote client %2 connected").arg(label(), peer));
    }
    if (end == protocolNetworkEndpoint()) {
        forgetRemoteAnswers(&peer);
        if (cfg.protocol == BridgeConfig::Rfc2217Server) {
            auto session = std::make_shared<Rfc2217ServerSession>();
            serverSessions.insert(peer, session);
            end->writeControl(session->greeting(), peer);
        } else if (cfg.protocol == BridgeConfig::Rfc2217Client) {
            auto session = std::make_shared<Rfc2217ClientSession>();
            clientSessions.insert(peer, session);
            end->writeControl(session->greeting(), peer);
        }
    }
    Q_EMIT peersChanged();
    refreshState();
}

void BridgeLink::onPeerLost(const QString &peer)
{
    if (!peerList.removeAll(peer)) {
        return;
    }
    BridgeEndpoint *network = protocolNetworkEndpoint();
    if (network && network->isTcp()) {
        Q_EMIT message(tr("%1: remote client %2 disconnected").arg(label(), peer));
    }
    arbiter.forgetPeer(peer);
    serverSessions.remove(peer);
    clientSessions.remove(peer);
    forgetRemoteAnswers(&peer);
    retireGateway(peer);
    const qint64 t = now();
    pumpArbiter(t);
    rearmTimer();
    Q_EMIT peersChanged();
    refreshState();
}

void BridgeLink::onSampleTick()
{
    const qint64 ab = flowAB.bytesForwarded();
    const qint64 ba = flowBA.bytesForwarded();
    const qint64 dropped = flowAB.bytesDropped() + flowBA.bytesDropped();
    const Sample sample{ab - sampledAB, ba - sampledBA, dropped - sampledDropped};
    sampledAB = ab;
    sampledBA = ba;
    sampledDropped = dropped;
    sampleList.append(sample);
    while (sampleList.size() > MaxSamples) {
        sampleList.removeFirst();
    }
    if (cfg.displayMuteBytesPerSec > 0) {
        const qint64 rate = std::max(sample.aToB, sample.bToA) * 1000 / SampleIntervalMs;
        if (!displayMuted && rate > cfg.displayMuteBytesPerSec) {
            displayMuted = true;
            applyEndpointConfig();
            Q_EMIT message(
                tr("%1: high throughput, forwarded traffic is no longer shown (logging continues)")
                    .arg(label()));
        } else if (displayMuted && rate < cfg.displayMuteBytesPerSec / 2) {
            displayMuted = false;
            applyEndpointConfig();
        }
    }
    refreshState();
    Q_EMIT statsChanged();
}

bool BridgeLink::isSuspended() const
{
    return (cfg.carriesAtoB() && flowAB.isSuspended()) ||
           (cfg.carriesBtoA() && flowBA.isSuspended());
}

QString BridgeLink::suspendReason() const
{
    if (cfg.carriesAtoB() && flowAB.isSuspended()) {
        return flowAB.suspendReason();
    }
    if (cfg.carriesBtoA() && flowBA.isSuspended()) {
        return flowBA.suspendReason();
    }
    return {};
}

bool BridgeLink::sourceThrottleUnavailable() const
{
    if (cfg.flow.sanitized().overflowPolicy != FlowControlPolicy::SlowSender) {
        return false;
    }
    return (cfg.carriesAtoB() && endA && !endA->supportsThrottle()) ||
           (cfg.carriesBtoA() && endB && !endB->supportsThrottle());
}

void BridgeLink::refreshState()
{
    State next = Waiting;
    const bool openA = endA && endA->isAvailable() && endA->isOpen();
    const bool openB = endB && endB->isAvailable() && endB->isOpen();
    if (!cfg.enabled) {
        next = Disabled;
    } else if (isSuspended()) {
        next = Suspended;
    } else if (openA && openB) {
        next = Running;
    } else if (openA != openB && endA && endB) {
        next = Degraded;
    }
    if (next != current) {
        current = next;
        Q_EMIT stateChanged();
    }
}

QString BridgeLink::stateDetail() const
{
    switch (current) {
    case Disabled:
        return tr("Disabled");
    case Suspended:
        return tr("Suspended: %1").arg(suspendReason());
    case Running:
        if (!endA->hasRecipients() || !endB->hasRecipients()) {
            return tr("Running, no client connected");
        }
        return displayMuted ? tr("Running (display paused)") : tr("Running");
    case Degraded: {
        const bool openA = endA->isAvailable() && endA->isOpen();
        return tr("Degraded: %1 is closed").arg((openA ? endB : endA)->displayName());
    }
    default:
        return tr("Waiting for both ends to open");
    }
}

BridgeEndpoint *BridgeLink::arbitratedEndpoint() const
{
    if (cfg.fanoutMode != FanoutMode::TakeTurns) {
        return nullptr;
    }
    if (endA && endA->hasMultiplePeers()) {
        return endA;
    }
    if (endB && endB->hasMultiplePeers()) {
        return endB;
    }
    return nullptr;
}

bool BridgeLink::arbiterIdleBecauseSinglePeer() const
{
    return cfg.fanoutMode == FanoutMode::TakeTurns && !arbitratedEndpoint();
}
