#include "relayhub.h"

#include "secrets.h"
#include "servercontext.h"
#include "serverlog.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QTimer>
#include <QUrlQuery>
#include <QWebSocket>

namespace {

constexpr qint64 kPieceBytes = 8192;
constexpr qint64 kPairingMs = 60000;          // tickets live this long; pairing must finish
constexpr qint64 kMaxWaitingBytes = 8 * 1024 * 1024; // rate-limited backlog per direction
constexpr qint64 kMaxMessageBytes = 1024 * 1024;
constexpr int kTickMs = 1000;
constexpr int kDrainMs = 10;

void sendJson(QWebSocket *socket, const QJsonObject &frame)
{
    if (socket)
        socket->sendTextMessage(QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact)));
}

QJsonObject typed(const char *type)
{
    return {{QStringLiteral("type"), QString::fromLatin1(type)}};
}

} // namespace

struct RelayHub::Relay
{
    QString id;
    qint64 userId = 0;
    QString cid;
    QString portKey;
    QString guestTokenDigest;
    QString shareId;
    QString guestName;
    qint64 notAfter = 0; // a share's relay ends with its share
    qint64 createdAt = 0;
    qint64 pairedAt = 0;
    QPointer<QWebSocket> side[2];
    bool joined[2] = {false, false};
    bool paired = false;
    bool ended = false;
    QJsonObject endFrame;   // told to a side that joins after the end
    qint64 allowance = 0;
    qint64 carried = 0;
    // Rate limit: a token bucket refilled by the clock, and what waits for it.
    double tokens = 0;
    QElapsedTimer refilled;
    QList<QByteArray> waiting[2];
    qint64 waitingBytes[2] = {0, 0};
    bool toldLimited[2] = {false, false};
};

RelayHub::RelayHub(ServerContext &context, ConsoleHub &console, QObject *parent)
    : QObject(parent)
    , context(context)
    , console(console)
{
    ticker = new QTimer(this);
    ticker->setInterval(kTickMs);
    connect(ticker, &QTimer::timeout, this, &RelayHub::tick);
    ticker->start();
    drainer = new QTimer(this);
    drainer->setInterval(kDrainMs);
    connect(drainer, &QTimer::timeout, this, &RelayHub::drain);
}

RelayHub::~RelayHub()
{
    for (QWebSocket *socket : findChildren<QWebSocket *>())
        socket->disconnect(this);
    qDeleteAll(relays);
}

std::optional<RelayHub::Opened> RelayHub::open(qint64 userId, const QString &cid,
                                               const QString &portKey, const QString &shareId,
                                               const QString &guestName, bool guest,
                                               ConsoleHub::Refusal *refusal, qint64 notAfter)
{
    if (!console.isOnline(userId, cid)) {
        *refusal = {409, QStringLiteral("device_offline"), QStringLiteral("The computer is offline.")};
        return std::nullopt;
    }
    const QJsonObject port = console.port(userId, cid, portKey);
    if (port.isEmpty()) {
        *refusal = {404, QStringLiteral("port_not_found"),
                    QStringLiteral("The computer reports no port \"%1\".").arg(portKey.left(32))};
        return std::nullopt;
    }
    if (!port[u"capabilities"].toArray().contains(QStringLiteral("open_relay"))) {
        *refusal = {403, QStringLiteral("permission_denied"),
                    QStringLiteral("The computer does not allow Live Relay on that port.")};
        return std::nullopt;
    }
    if (portBusy(userId, cid, portKey)) {
        *refusal = {409, QStringLiteral("relay_busy"), QStringLiteral("The port already has a relay session.")};
        return std::nullopt;
    }
    qint64 allowance = context.traffic.remaining(userId, context.now());
    if (context.options.relayAllowanceBytes > 0)
        allowance = qMin(allowance, context.options.relayAllowanceBytes);
    if (allowance <= 0) {
        *refusal = {403, QStringLiteral("quota_exhausted"),
                    QStringLiteral("The monthly cloud traffic quota is exhausted.")};
        return std::nullopt;
    }

    auto relay = std::make_unique<Relay>();
    relay->id = QStringLiteral("rly_") + QString::fromLatin1(secrets::randomBytes(12).toHex());
    relay->userId = userId;
    relay->cid = cid;
    relay->portKey = portKey;
    relay->createdAt = context.now();
    relay->shareId = shareId;
    relay->guestName = guestName;
    relay->notAfter = notAfter;
    relay->allowance = allowance;
    relay->tokens = double(qMax(context.options.relayRateBytes, kPieceBytes));
    relay->refilled.start();
    Opened opened{relay->id, secrets::randomToken(QStringLiteral("rtk_")), portKey, {}};
    const QString hostTicket = secrets::randomToken(QStringLiteral("rtk_"));
    if (guest) {
        opened.guestToken = secrets::randomToken(QStringLiteral("rgt_"));
        relay->guestTokenDigest = secrets::sha256Hex(opened.guestToken);
    }

    ConsoleCommand command;
    command.userId = userId;
    command.cid = cid;
    command.command = QStringLiteral("open_relay");
    command.portKey = portKey;
    command.shareId = shareId;
    command.payload = {{QStringLiteral("ticket"), hostTicket},
                       {QStringLiteral("relay_id"), relay->id},
                       {QStringLiteral("guest_name"), guestName}};
    if (!shareId.isEmpty())
        command.payload.insert(QStringLiteral("share_id"), shareId);
    // The host's refusal reaches the client as "peer_refused" with the host's reason.
    command.finished = [this, id = relay->id](const ConsoleCommand &done) {
        Relay *target = relays.value(id);
        if (target && !target->ended && done.state == ConsoleCommand::State::Failed) {
            QJsonObject frame = typed("peer_refused");
            frame.insert(QStringLiteral("reason"), done.errorCode);
            end(*target, frame);
        }
    };
    if (!console.enqueue(command, refusal))
        return std::nullopt;
    tickets.insert(secrets::sha256Hex(hostTicket), {relay->id, Host});
    tickets.insert(secrets::sha256Hex(opened.ticket), {relay->id, Client});
    qCInfo(lcServer).noquote() << "relay" << relay->id << "opened to port" << portKey;
    const QString id = relay->id;
    relays.insert(id, relay.release());
    return opened;
}

bool RelayHub::close(const QString &relayId, const Closer &closer)
{
    Relay *relay = relays.value(relayId);
    if (!relay)
        return false;
    const bool owner = closer.userId != 0 && closer.userId == relay->userId;
    const bool guest = !closer.guestToken.isEmpty() && !relay->guestTokenDigest.isEmpty()
                       && secrets::constantTimeEquals(secrets::sha256Hex(closer.guestToken).toLatin1(),
                                                      relay->guestTokenDigest.toLatin1());
    if (!owner && !guest)
        return false;
    if (!relay->ended)
        end(*relay, typed("closing"));
    return true;
}

void RelayHub::endShare(const QString &shareId)
{
    for (Relay *relay : std::as_const(relays)) {
        if (!relay->ended && !shareId.isEmpty() && relay->shareId == shareId)
            end(*relay, typed("closing"));
    }
}

std::optional<RelayHub::Guest> RelayHub::guestOf(const QString &shareId) const
{
    for (const Relay *relay : relays) {
        if (!relay->ended && relay->paired && relay->shareId == shareId)
            return Guest{relay->guestName, relay->pairedAt};
    }
    return std::nullopt;
}

bool RelayHub::portBusy(qint64 userId, const QString &cid, const QString &portKey) const
{
    return std::any_of(relays.cbegin(), relays.cend(), [&](const Relay *relay) {
        return !relay->ended && relay->userId == userId && relay->cid == cid && relay->portKey == portKey;
    });
}

void RelayHub::acceptSocket(QWebSocket *socket)
{
    socket->setParent(this);
    socket->setMaxAllowedIncomingMessageSize(kMaxMessageBytes);
    // The ticket is the whole credential, and it is good for one connection.
    const QString ticket = QUrlQuery(socket->requestUrl()).queryItemValue(QStringLiteral("ticket"));
    const auto found = tickets.constFind(secrets::sha256Hex(ticket));
    Relay *relay = found == tickets.constEnd() ? nullptr : relays.value(found->first);
    if (ticket.isEmpty() || !relay) {
        // Policy violation rather than 1013: Qt's WebSocket (6.4) takes 1013 for an
        // invalid code and the client would see a protocol error instead of the reason.
        socket->close(QWebSocketProtocol::CloseCodePolicyViolated,
                      QStringLiteral("The relay ticket is unknown, used or expired."));
        return;
    }
    const int side = found->second;
    tickets.erase(found);
    relay->joined[side] = true;
    if (relay->ended) {
        sendJson(socket, relay->endFrame);
        socket->close(QWebSocketProtocol::CloseCodeNormal);
        return;
    }
    relay->side[side] = socket;
    sockets.insert(socket, {relay->id, side});
    connect(socket, &QWebSocket::binaryMessageReceived, this,
            [this, socket](const QByteArray &bytes) { onBinary(socket, bytes); });
    connect(socket, &QWebSocket::disconnected, this, [this, socket]() { onGone(socket); });
    qCInfo(lcServer).noquote() << "relay" << relay->id << (side == Host ? "host" : "client") << "joined";
    if (relay->side[Host] && relay->side[Client]) {
        relay->paired = true;
        relay->pairedAt = context.now();
        QJsonObject ready = typed("ready");
        ready.insert(QStringLiteral("port_key"), relay->portKey);
        ready.insert(QStringLiteral("relay_id"), relay->id);
        sendJson(relay->side[Host], ready);
        sendJson(relay->side[Client], ready);
    }
}

void RelayHub::onBinary(QWebSocket *socket, const QByteArray &bytes)
{
    const auto found = sockets.constFind(socket);
    Relay *relay = found == sockets.constEnd() ? nullptr : relays.value(found->first);
    // Before pairing there is nobody to carry bytes to; the peers send none.
    if (relay && relay->paired && !relay->ended)
        forward(*relay, found->second, bytes);
}

void RelayHub::forward(Relay &relay, int from, const QByteArray &bytes)
{
    // A share's relay carries nothing past the share's end, not even until the next tick.
    if (relay.notAfter > 0 && context.now() >= relay.notAfter) {
        qCInfo(lcServer).noquote() << "relay" << relay.id << "ended with its share";
        return end(relay, typed("closing"));
    }
    if (relay.carried + bytes.size() > relay.allowance) {
        qCInfo(lcServer).noquote() << "relay" << relay.id << "used its allowance of" << relay.allowance
                                   << "bytes";
        return end(relay, typed("quota_exhausted"));
    }
    const qint64 rate = context.options.relayRateBytes;
    for (qsizetype at = 0; at < bytes.size(); at += kPieceBytes) {
        const QByteArray piece = bytes.mid(at, kPieceBytes);
        if (rate <= 0) {
            deliver(relay, from, piece);
            continue;
        }
        relay.waiting[from].append(piece);
        relay.waitingBytes[from] += piece.size();
    }
    if (rate <= 0)
        return;
    if (!relay.toldLimited[from] && relay.waitingBytes[from] > relay.tokens) {
        relay.toldLimited[from] = true;
        QJsonObject frame = typed("rate_limited");
        frame.insert(QStringLiteral("limit_bytes_per_sec"), rate);
        sendJson(relay.side[from], frame);
    }
    if (relay.waitingBytes[from] > kMaxWaitingBytes) {
        qCWarning(lcServer).noquote() << "relay" << relay.id << "sender outran its rate limit by"
                                      << kMaxWaitingBytes << "bytes; closing";
        return end(relay, typed("closing"));
    }
    drain();
}

void RelayHub::deliver(Relay &relay, int from, const QByteArray &piece)
{
    relay.side[1 - from]->sendBinaryMessage(piece);
    relay.carried += piece.size();
    context.traffic.add(relay.userId, piece.size(), context.now());
}

void RelayHub::drain()
{
    const double rate = double(context.options.relayRateBytes);
    bool waiting = false;
    for (Relay *relay : std::as_const(relays)) {
        if (relay->ended || !relay->paired)
            continue;
        const double capacity = qMax(rate, double(kPieceBytes));
        relay->tokens = qMin(capacity, relay->tokens + rate * double(relay->refilled.restart()) / 1000.0);
        for (int from : {Host, Client}) {
            QList<QByteArray> &queue = relay->waiting[from];
            while (!queue.isEmpty() && relay->tokens >= double(queue.front().size())) {
                const QByteArray piece = queue.takeFirst();
                relay->tokens -= double(piece.size());
                relay->waitingBytes[from] -= piece.size();
                deliver(*relay, from, piece);
            }
            waiting = waiting || !queue.isEmpty();
        }
    }
    if (waiting && !drainer->isActive())
        drainer->start();
    else if (!waiting)
        drainer->stop();
}

void RelayHub::onGone(QWebSocket *socket)
{
    const auto found = sockets.constFind(socket);
    if (found == sockets.constEnd())
        return;
    const auto [id, side] = *found;
    sockets.erase(found);
    Relay *relay = relays.value(id);
    if (!relay || relay->ended)
        return;
    relay->side[side] = nullptr;
    qCInfo(lcServer).noquote() << "relay" << id << (side == Host ? "host" : "client") << "left";
    end(*relay, typed("peer_gone"));
}

void RelayHub::end(Relay &relay, const QJsonObject &frame)
{
    relay.ended = true;
    relay.endFrame = frame;
    for (int side : {Host, Client}) {
        relay.waiting[side].clear();
        relay.waitingBytes[side] = 0;
        if (QWebSocket *socket = relay.side[side]) {
            sockets.remove(socket);
            sendJson(socket, frame);
            socket->close(QWebSocketProtocol::CloseCodeNormal);
            relay.side[side] = nullptr;
        }
    }
    qCInfo(lcServer).noquote() << "relay" << relay.id << "ended:" << frame[u"type"].toString()
                               << "after" << relay.carried << "bytes";
    context.traffic.flush();
}

void RelayHub::tick()
{
    const qint64 now = context.now();
    for (auto it = relays.begin(); it != relays.end();) {
        Relay *relay = it.value();
        const bool late = now - relay->createdAt > kPairingMs;
        const bool over = relay->notAfter > 0 && now >= relay->notAfter;
        if ((over || (late && !relay->paired)) && !relay->ended)
            end(*relay, typed("closing"));
        // An ended relay stays until its tickets expire, so a late side learns the end.
        if (relay->ended && (late || (relay->joined[Host] && relay->joined[Client]))) {
            tickets.removeIf([id = relay->id](const auto &entry) { return entry.value().first == id; });
            delete relay;
            it = relays.erase(it);
        } else {
            ++it;
        }
    }
}
