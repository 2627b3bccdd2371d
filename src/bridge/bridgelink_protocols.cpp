// The protocols a link may speak on its network end: RFC 2217 as server (a remote
// client sets the serial port's parameters) or as client (the link sets a remote
// device server's parameters from its local port), and Modbus TCP to RTU.

#include "bridge/bridgeendpoint.h"
#include "bridge/bridgelink.h"
#include "bridge/rfc2217clientsession.h"

#include <QJsonObject>
#include <QStringList>

BridgeEndpoint *BridgeLink::protocolNetworkEndpoint() const
{
    if (!endA || !endB) {
        return nullptr;
    }
    switch (cfg.protocol) {
    case BridgeConfig::Rfc2217Client:
        return endA->isTcpClient() ? endA : endB->isTcpClient() ? endB : nullptr;
    case BridgeConfig::Rfc2217Server:
    case BridgeConfig::ModbusGateway:
        if (endA->isTcp() && endB->isTcp()) {
            return endB->hasMultiplePeers() && !endA->hasMultiplePeers() ? endB : endA;
        }
        return endA->isTcp() ? endA : endB->isTcp() ? endB : nullptr;
    default:
        return nullptr;
    }
}

BridgeEndpoint *BridgeLink::protocolDeviceEndpoint() const
{
    BridgeEndpoint *network = protocolNetworkEndpoint();
    if (!network) {
        return nullptr;
    }
    return network == endA ? endB : endA;
}

bool BridgeLink::protocolIdleBecauseNoTcpEnd() const
{
    return cfg.protocol != BridgeConfig::Transparent && !protocolNetworkEndpoint();
}

std::optional<Rfc2217Codec::Role> BridgeLink::rfc2217Role() const
{
    if (cfg.protocol == BridgeConfig::Rfc2217Server) {
        return Rfc2217Codec::Role::Server;
    }
    if (cfg.protocol == BridgeConfig::Rfc2217Client) {
        return Rfc2217Codec::Role::Client;
    }
    return std::nullopt;
}

int BridgeLink::rfc2217NegotiatedPeers() const
{
    int count = 0;
    for (const auto &session : serverSessions) {
        count += session->comPortAccepted() ? 1 : 0;
    }
    for (const auto &session : clientSessions) {
        count += session->comPortAccepted() ? 1 : 0;
    }
    return count;
}

bool BridgeLink::rfc2217PassesThrough() const
{
    BridgeEndpoint *device = protocolDeviceEndpoint();
    return cfg.protocol == BridgeConfig::Rfc2217Server && device && device->isRemoteSerial();
}

QString BridgeLink::rfc2217RemoteSummary() const
{
    for (const QString &peer : peerList) {
        if (const auto session = clientSessions.value(peer)) {
            return session->remoteSummary();
        }
    }
    return {};
}

QByteArray BridgeLink::telnetFromNetwork(const QString &peer, const QByteArray &bytes, qint64 nowMs)
{
    BridgeEndpoint *network = protocolNetworkEndpoint();
    if (cfg.protocol == BridgeConfig::Rfc2217Client) {
        std::shared_ptr<Rfc2217ClientSession> &session = clientSessions[peer];
        if (!session) {
            session = std::make_shared<Rfc2217ClientSession>();
        }
        const Rfc2217ClientSession::Outcome out = session->receive(bytes, nowMs);
        network->writeControl(out.reply, peer);
        if (out.stateChanged && session->state() == Rfc2217ClientSession::ComPort) {
            pushRfc2217ClientConfig(peer);
        }
        return out.data;
    }
    std::shared_ptr<Rfc2217ServerSession> &session = serverSessions[peer];
    if (!session) {
        session = std::make_shared<Rfc2217ServerSession>();
    }
    // Kept alive across the calls below, which may let the peer go.
    const std::shared_ptr<Rfc2217ServerSession> codec = session;
    QList<Rfc2217Codec::Event> events;
    QByteArray reply;
    const QByteArray payload = codec->decode(bytes, &events, &reply);
    network->writeControl(reply, peer);
    QJsonObject config;
    QList<Rfc2217ServerSession::ControlAction> actions;
    QString error;
    for (const Rfc2217Codec::Event &event : std::as_const(events)) {
        applyRfc2217Event(event, peer, &config, &actions, &error, nowMs);
    }
    if (!error.isEmpty()) {
        Q_EMIT message(tr("%1: could not pass the client's request on to the remote port: %2")
                           .arg(label(), error));
    }
    announceRemoteActions(config, actions, rfc2217PassesThrough());
    pollModemStates(nowMs);
    return payload;
}

void BridgeLink::applyRfc2217Event(const Rfc2217Codec::Event &event, const QString &peer,
                                   QJsonObject *config,
                                   QList<Rfc2217ServerSession::ControlAction> *actions,
                                   QString *error, qint64 nowMs)
{
    BridgeEndpoint *device = protocolDeviceEndpoint();
    BridgeEndpoint *network = protocolNetworkEndpoint();
    if (!device || !network || !device->isAvailable()) {
        return;
    }
    const auto merge = [config](const QJsonObject &part) {
        for (auto it = part.begin(); it != part.end(); ++it) {
            config->insert(it.key(), it.value());
        }
    };
    if (event.type <= Rfc2217Codec::Event::Rts && rfc2217PassesThrough()) {
        // The far port answers; the client hears it when its answer comes back.
        QString why;
        const quint64 ticket = device->forwardRfc2217(event, &why);
        if (ticket == 0) {
            if (error->isEmpty()) {
                *error = why;
            }
            return;
        }
        pendingAnswers.insert(ticket, {peer, event, nowMs + remoteAnswerTimeoutMs});
        if (event.query) {
            return;
        }
        const Rfc2217ServerSession::Outcome asked =
            Rfc2217ServerSession::apply(event, device->settings());
        merge(asked.serialConfig);
        *actions += asked.controls;
        return;
    }
    const Rfc2217ServerSession::Outcome out =
        Rfc2217ServerSession::apply(event, device->settings());
    for (const Rfc2217ServerSession::ControlAction &action : out.controls) {
        device->setControlLine(action.line, action.on);
        actions->append(action);
    }
    if (!out.serialConfig.isEmpty()) {
        device->applySerialConfig(out.serialConfig);
        merge(out.serialConfig);
    }
    network->writeControl(out.reply, peer);
}

void BridgeLink::announceRemoteActions(const QJsonObject &config,
                                       const QList<Rfc2217ServerSession::ControlAction> &actions,
                                       bool passesThrough)
{
    QStringList items;
    if (config.contains(QLatin1String("baud_rate"))) {
        items << tr("%1 baud").arg(qint64(config.value(QLatin1String("baud_rate")).toDouble()));
    }
    if (config.contains(QLatin1String("data_bits"))) {
        items << tr("%1 data bits").arg(config.value(QLatin1String("data_bits")).toInt());
    }
    if (config.contains(QLatin1String("parity"))) {
        items << tr("parity %1").arg(config.value(QLatin1String("parity")).toString());
    }
    if (config.contains(QLatin1String("stop_bits"))) {
        items << tr("%1 stop bits").arg(config.value(QLatin1String("stop_bits")).toDouble());
    }
    if (config.contains(QLatin1String("flow_control"))) {
        items << tr("flow control %1").arg(config.value(QLatin1String("flow_control")).toString());
    }
    for (const Rfc2217ServerSession::ControlAction &action : actions) {
        switch (action.line) {
        case Rfc2217ServerSession::Dtr:
            items << (action.on ? tr("DTR on") : tr("DTR off"));
            break;
        case Rfc2217ServerSession::Rts:
            items << (action.on ? tr("RTS on") : tr("RTS off"));
            break;
        case Rfc2217ServerSession::Break:
            items << (action.on ? tr("Break on") : tr("Break off"));
            break;
        }
    }
    if (items.isEmpty()) {
        return;
    }
    const QString what = items.join(QStringLiteral(", "));
    Q_EMIT message(passesThrough
                       ? tr("%1: the local client asked the remote port for %2").arg(label(), what)
                       : tr("%1: the remote client set %2").arg(label(), what));
}

void BridgeLink::pushRfc2217ClientConfig(const QString &peer)
{
    BridgeEndpoint *device = protocolDeviceEndpoint();
    BridgeEndpoint *network = protocolNetworkEndpoint();
    const auto session = clientSessions.value(peer);
    if (cfg.protocol != BridgeConfig::Rfc2217Client || !device || !network || !session ||
        !device->isAvailable()) {
        return;
    }
    // The local port's parameters are pushed: the session sends its signature on the
    // first push, then each parameter that differs from what it pushed before.
    Settings settings = device->settings();
    settings.useRemoteSerialConfig = false;
    const QByteArray requests = session->settingsUpdate(settings, now());
    if (!requests.isEmpty()) {
        network->writeControl(requests, peer);
        Q_EMIT message(tr("%1: sent the serial parameters to the remote port").arg(label()));
    }
}

void BridgeLink::onDeviceSettingsChanged()
{
    for (auto it = clientSessions.cbegin(); it != clientSessions.cend(); ++it) {
        if (it.value()->comPortAccepted()) {
            pushRfc2217ClientConfig(it.key());
        }
    }
}

void BridgeLink::onRemoteAnswered(quint64 ticket, const Rfc2217Codec::Event &event)
{
    const auto it = pendingAnswers.find(ticket);
    if (it == pendingAnswers.end()) {
        return;
    }
    const QString peer = it->peer;
    pendingAnswers.erase(it);
    if (BridgeEndpoint *network = protocolNetworkEndpoint()) {
        network->writeControl(Rfc2217ServerSession::confirmationFor(event), peer);
    }
    rearmTimer();
}

void BridgeLink::pollModemStates(qint64 nowMs)
{
    BridgeEndpoint *device = protocolDeviceEndpoint();
    BridgeEndpoint *network = protocolNetworkEndpoint();
    if (cfg.protocol != BridgeConfig::Rfc2217Server || !device || !network ||
        !device->isAvailable()) {
        return;
    }
    std::optional<quint8> state; // read once per poll, only when somebody is due
    for (auto it = serverSessions.begin(); it != serverSessions.end(); ++it) {
        Rfc2217ServerSession &session = *it.value();
        if (session.modemMask() == 0) {
            session.modemReporter().reset();
            continue;
        }
        if (session.modemReporter().nextTimeoutMs(nowMs) != 0) {
            continue;
        }
        if (!state) {
            state = device->modemState();
        }
        network->writeControl(session.modemReporter().report(session, *state, nowMs), it.key());
    }
}

int BridgeLink::modemPollTimeoutMs(qint64 nowMs) const
{
    BridgeEndpoint *device = protocolDeviceEndpoint();
    if (cfg.protocol != BridgeConfig::Rfc2217Server || !device || !device->isAvailable()) {
        return -1;
    }
    qint64 next = -1;
    for (const auto &session : serverSessions) {
        if (session->modemMask() != 0) {
            const qint64 due = session->modemReporter().nextTimeoutMs(nowMs);
            next = next < 0 ? due : std::min(next, due);
        }
    }
    return int(next);
}

void BridgeLink::expireRemoteAnswers(qint64 nowMs)
{
    bool expired = false;
    for (auto it = pendingAnswers.begin(); it != pendingAnswers.end();) {
        if (it->deadline <= nowMs) {
            if (BridgeEndpoint *device = protocolDeviceEndpoint()) {
                device->withdrawRfc2217(it.key());
            }
            it = pendingAnswers.erase(it);
            expired = true;
        } else {
            ++it;
        }
    }
    if (expired) {
        Q_EMIT message(tr("%1: the remote port did not answer the client's request within %2 s")
                           .arg(label())
                           .arg(remoteAnswerTimeoutMs / 1000));
    }
}

int BridgeLink::remoteAnswerWaitMs(qint64 nowMs) const
{
    qint64 next = -1;
    for (const PendingRemoteAnswer &answer : pendingAnswers) {
        const qint64 due = std::max<qint64>(0, answer.deadline - nowMs);
        next = next < 0 ? due : std::min(next, due);
    }
    return int(next);
}

void BridgeLink::forgetRemoteAnswers(const QString *peer)
{
    BridgeEndpoint *device = protocolDeviceEndpoint();
    for (auto it = pendingAnswers.begin(); it != pendingAnswers.end();) {
        if (!peer || it->peer == *peer) {
            if (device) {
                device->withdrawRfc2217(it.key());
            }
            it = pendingAnswers.erase(it);
        } else {
            ++it;
        }
    }
}

void BridgeLink::gatewayFromDevice(bool fromA, const QByteArray &bytes, qint64 nowMs)
{
    for (const QByteArray &frame : gatewayFramer.ingest(bytes, nowMs)) {
        deliverGatewayFrame(fromA, frame, nowMs);
    }
}

void BridgeLink::deliverGatewayFrame(bool fromA, const QByteArray &frame, qint64 nowMs)
{
    QString target;
    if (arbitratedEndpoint()) {
        target = arbiter.routeResponse(nowMs);
    }
    if (target.isEmpty()) {
        target = gatewayLastPeer;
    }
    const std::shared_ptr<ModbusGateway> gateway = gateways.value(target);
    if (!gateway) {
        // Nobody asked (or the asker left): still counted, as the line said something.
        if (!ModbusGateway::crcValid(frame)) {
            ++retiredGatewayCounts.crcErrors;
        } else {
            ++retiredGatewayCounts.unmatchedResponses;
        }
        return;
    }
    const QByteArray tcp = gateway->rtuToTcp(frame, nowMs);
    if (!tcp.isEmpty()) {
        logFrame(fromA, target, tcp);
        flowFrom(fromA).ingest(tcp, nowMs, target);
    }
}

ModbusGateway &BridgeLink::gatewayFor(const QString &peer)
{
    std::shared_ptr<ModbusGateway> &gateway = gateways[peer];
    if (!gateway) {
        gateway = std::make_shared<ModbusGateway>(cfg.modbusTransactionTimeoutMs);
    }
    return *gateway;
}

void BridgeLink::retireGateway(const QString &peer)
{
    if (const std::shared_ptr<ModbusGateway> gateway = gateways.take(peer)) {
        const ModbusGateway::Counters &c = gateway->counters();
        retiredGatewayCounts.crcErrors += c.crcErrors;
        retiredGatewayCounts.malformedTcp += c.malformedTcp;
        retiredGatewayCounts.unmatchedResponses += c.unmatchedResponses;
        retiredGatewayCounts.expired += c.expired;
    }
    if (gatewayLastPeer == peer) {
        gatewayLastPeer.clear();
    }
}

void BridgeLink::forgetProtocolPeers()
{
    serverSessions.clear();
    clientSessions.clear();
    for (const QString &peer : gateways.keys()) {
        retireGateway(peer);
    }
    gatewayLastPeer.clear();
}

int BridgeLink::modbusCrcErrors() const
{
    int total = retiredGatewayCounts.crcErrors;
    for (const auto &gateway : gateways) {
        total += gateway->counters().crcErrors;
    }
    return total;
}

int BridgeLink::modbusUnmatchedResponses() const
{
    int total = retiredGatewayCounts.unmatchedResponses;
    for (const auto &gateway : gateways) {
        total += gateway->counters().unmatchedResponses;
    }
    return total;
}

int BridgeLink::modbusTimedOutTransactions() const
{
    int total = retiredGatewayCounts.expired;
    for (const auto &gateway : gateways) {
        total += gateway->counters().expired;
    }
    return total;
}
