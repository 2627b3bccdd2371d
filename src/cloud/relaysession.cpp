#include "cloud/relaysession.h"

#include "cloud/relayport.h"
#include "connection/relaysocket.h"
#include "bridge/flowcontrolpolicy.h"
#include "connection/settings.h"

#include <algorithm>

qint64 RelaySession::CloudEndpoint::writeBytes(const QByteArray &bytes, const QString &peer)
{
    Q_UNUSED(peer)
    if (!isOpen() || transport->pendingBytes() > HighWaterBytes)
        return 0;
    // Each message holds whole escaped bytes, so a doubled 255 is never split and the
    // count of input bytes behind every accepted message is exact.
    qint64 taken = 0;
    for (qsizetype at = 0; at < bytes.size(); at += PieceBytes) {
        const QByteArray piece = bytes.mid(at, PieceBytes);
        const QByteArray escaped = Rfc2217Codec::encodePayload(piece);
        if (transport->sendBinary(escaped) != escaped.size())
            break;
        taken += piece.size();
    }
    return taken;
}

qint64 RelaySession::CloudEndpoint::pendingBytes() const
{
    return transport->pendingBytes();
}

bool RelaySession::CloudEndpoint::isOpen() const
{
    return transport->isOpen();
}

RelaySession::RelaySession(RelayPort *port, RelayTransport *transport)
    : port(port)
    , transport(transport)
    , endpoint(transport)
{
    wire();
}

void RelaySession::wire()
{
    cloudToPort = BridgeFlow();
    portToCloud = BridgeFlow();
    // Neither end of a relay can hold the other back through the gateway, so each
    // direction queues what the gateway itself may hold for a relay (8 MiB) rather than
    // dropping; and a relay is no cable loop, so the flood guard stays off.
    FlowControlPolicy policy;
    policy.queueLimitBytes = 8 * 1024 * 1024;
    policy.highWatermark = 6 * 1024 * 1024;
    policy.lowWatermark = 1024 * 1024;
    policy.floodGuardEnabled = false;
    cloudToPort.setPolicy(policy);
    // The socket's own buffer may hold more than a serial driver's before it counts as
    // blocked: loopback and network links drain it in large steps.
    policy.sinkPendingLimitBytes = CloudEndpoint::HighWaterBytes;
    portToCloud.setPolicy(policy);
    cloudToPort.setSink(port);
    cloudToPort.setSource(&endpoint);
    portToCloud.setSink(&endpoint);
    portToCloud.setSource(port);
}

void RelaySession::start(qint64 nowMs)
{
    if (started)
        return;
    started = true;
    server.reset();
    wire();
    cloudToPort.tick(nowMs);
    portToCloud.tick(nowMs);
}

void RelaySession::finish(qint64 nowMs)
{
    cloudToPort.finish(nowMs);
    portToCloud.finish(nowMs);
    started = false;
}

void RelaySession::tick(qint64 nowMs)
{
    cloudToPort.tick(nowMs);
    portToCloud.tick(nowMs);
    pollModem(nowMs);
}

qint64 RelaySession::nextTimeoutMs(qint64 nowMs) const
{
    qint64 next = -1;
    const auto take = [&next](qint64 value) {
        if (value >= 0)
            next = next < 0 ? value : std::min(next, value);
    };
    take(cloudToPort.nextTimeoutMs(nowMs));
    take(portToCloud.nextTimeoutMs(nowMs));
    if (started && transport->isOpen() && server.modemMask() != 0)
        take(server.modemReporter().nextTimeoutMs(nowMs));
    return next;
}

void RelaySession::fromPort(const QByteArray &bytes, qint64 nowMs)
{
    if (bytes.isEmpty())
        return;
    portToCloud.ingest(bytes, nowMs);
}

RelaySession::Outcome RelaySession::fromCloud(const QByteArray &bytes, qint64 nowMs)
{
    Outcome outcome;
    if (!port || bytes.isEmpty())
        return outcome;
    const Rfc2217ServerSession::Outcome out = server.receive(bytes, port->settings());
    for (const Rfc2217ServerSession::ControlAction &action : out.controls)
        port->setControlLine(action.line, action.on);
    if (!out.serialConfig.isEmpty()) {
        port->applySerialConfig(out.serialConfig);
        outcome.settingsChanged = true;
    }
    if (!out.reply.isEmpty())
        transport->sendBinary(out.reply);
    if (!out.data.isEmpty())
        cloudToPort.ingest(out.data, nowMs);
    pollModem(nowMs);
    if (cloudToPort.isSuspended())
        outcome.notice = cloudToPort.suspendReason();
    else if (portToCloud.isSuspended())
        outcome.notice = portToCloud.suspendReason();
    return outcome;
}

void RelaySession::pollModem(qint64 nowMs)
{
    if (!started || !transport->isOpen() || server.modemMask() == 0)
        return;
    if (server.modemReporter().nextTimeoutMs(nowMs) != 0)
        return;
    const QByteArray notice = server.modemReporter().report(server, port->modemState(), nowMs);
    if (!notice.isEmpty())
        transport->sendBinary(notice);
}

bool RelaySession::isSuspended() const
{
    return cloudToPort.isSuspended() || portToCloud.isSuspended();
}

QString RelaySession::suspendReason() const
{
    return cloudToPort.isSuspended() ? cloudToPort.suspendReason() : portToCloud.suspendReason();
}
