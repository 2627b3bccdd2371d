#include "consolehub.h"

#include "cloud/sharepolicy.h"
#include "consolerules.h"
#include "devicestore.h"
#include "secrets.h"
#include "servercontext.h"
#include "serverlog.h"

#include <QJsonDocument>
#include <QTimer>
#include <QWebSocket>

#include <algorithm>

namespace {

constexpr qint64 kOnlineMs = 60000;        // a REST computer counts as online this long
constexpr qint64 kWatchGraceMs = 10000;    // a reloading page does not flap capture
constexpr qint64 kCollectMs = 60000;       // a queued command waits this long
constexpr qint64 kResultMs = 120000;       // a delivered command waits for its result
constexpr qint64 kForgetMs = 10 * 60000;   // finished commands stay readable this long
constexpr qint64 kBacklogBytes = 64 * 1024; // recent traffic a new viewer sees
constexpr int kMaxQueued = 64;
constexpr int kTickMs = 5000;
constexpr int kHelloMs = 10000;

QString key(qint64 userId, const QString &cid)
{
    return QString::number(userId) + u'/' + cid;
}

QString stateName(ConsoleCommand::State state)
{
    switch (state) {
    case ConsoleCommand::State::Queued: return QStringLiteral("queued");
    case ConsoleCommand::State::Delivered: return QStringLiteral("delivered");
    case ConsoleCommand::State::Acknowledged: return QStringLiteral("acknowledged");
    case ConsoleCommand::State::Succeeded: return QStringLiteral("succeeded");
    case ConsoleCommand::State::Failed: return QStringLiteral("failed");
    }
    return {};
}

bool ended(const ConsoleCommand &command)
{
    return command.state == ConsoleCommand::State::Succeeded
           || command.state == ConsoleCommand::State::Failed;
}

void sendJson(QWebSocket *socket, const QJsonObject &frame)
{
    if (socket)
        socket->sendTextMessage(QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact)));
}

// A refusal frame that closes the socket: the hello said who it is, and it is not allowed.
void refuseHello(QWebSocket *socket, const QString &code, const QString &description)
{
    sendJson(socket, {{QStringLiteral("type"), QStringLiteral("hello")},
                      {QStringLiteral("status"), false},
                      {QStringLiteral("code"), code},
                      {QStringLiteral("description"), description}});
    socket->close(QWebSocketProtocol::CloseCodePolicyViolated, description.left(120));
}

} // namespace

QJsonObject ConsoleCommand::toJson() const
{
    QJsonObject json{{QStringLiteral("command_id"), id},
                     {QStringLiteral("command"), command},
                     {QStringLiteral("port_key"), portKey},
                     {QStringLiteral("session_id"), sessionId},
                     {QStringLiteral("payload"), payload},
                     {QStringLiteral("cid"), cid}};
    if (!shareId.isEmpty())
        json.insert(QStringLiteral("share_id"), shareId);
    return json;
}

QJsonObject ConsoleCommand::statusJson() const
{
    QJsonObject json{{QStringLiteral("command_id"), id},
                     {QStringLiteral("command"), command},
                     {QStringLiteral("cid"), cid},
                     {QStringLiteral("port_key"), portKey},
                     {QStringLiteral("state"), stateName(state)},
                     {QStringLiteral("created_at"), ServerContext::isoTime(createdAt)}};
    if (!shareId.isEmpty())
        json.insert(QStringLiteral("share_id"), shareId);
    if (!errorCode.isEmpty())
        json.insert(QStringLiteral("error_code"), errorCode);
    if (!message.isEmpty())
        json.insert(QStringLiteral("message"), message);
    return json;
}

// One computer as the hub knows it.
struct ConsoleHub::Live
{
    qint64 userId = 0;
    QString cid;
    QString sessionId;
    QString previousSession; // the run this one displaced: if it speaks again, two
                             // computers share the cid
    QString version;
    qint64 lastSeen = 0;
    bool snapshotKnown = false;
    QJsonArray ports;
    QPointer<QWebSocket> socket;
    QStringList queue;
    int viewers = 0;
    qint64 viewersGoneAt = 0;
    bool toldGone = true;
    QList<QJsonObject> backlog;
    QList<qint64> backlogTimes; // when each backlog event arrived
    qint64 backlogBytes = 0;
};

struct ConsoleHub::Viewer
{
    qint64 userId = 0;
    QString cid;     // empty while watching nothing
    QString portKey; // empty: every port
    // A share's guest; empty shareId for the owner's browser.
    QString shareId;
    QString shareCid;
    QString sharePort;
    QString level;
    QString guestName;
    qint64 shareCreatedAt = 0;
    qint64 expiresAt = 0;
    qint64 since = 0;

    bool isGuest() const { return !shareId.isEmpty(); }
};

ConsoleHub::ConsoleHub(ServerContext &context, QObject *parent)
    : QObject(parent)
    , context(context)
{
    ticker = new QTimer(this);
    ticker->setInterval(kTickMs);
    connect(ticker, &QTimer::timeout, this, &ConsoleHub::tick);
    ticker->start();
}

ConsoleHub::~ConsoleHub()
{
    // The sockets are children and say "disconnected" as they go: not to us any more.
    for (QWebSocket *socket : findChildren<QWebSocket *>())
        socket->disconnect(this);
    qDeleteAll(devices);
    qDeleteAll(viewers);
}

ConsoleHub::Live *ConsoleHub::live(qint64 userId, const QString &cid)
{
    Live *&entry = devices[key(userId, cid)];
    if (!entry) {
        entry = new Live;
        entry->userId = userId;
        entry->cid = cid;
    }
    return entry;
}

const ConsoleHub::Live *ConsoleHub::find(qint64 userId, const QString &cid) const
{
    return devices.value(key(userId, cid));
}

QJsonObject ConsoleHub::stateFields(const Live &entry) const
{
    const qint64 now = context.now();
    const bool watching = entry.viewers > 0;
    return {{QStringLiteral("cid"), entry.cid},
            {QStringLiteral("ws"), true},
            {QStringLiteral("watching"), watching},
            {QStringLiteral("authoritative"), watching || now - entry.viewersGoneAt >= kWatchGraceMs},
            {QStringLiteral("need_snapshot"), !entry.snapshotKnown},
            {QStringLiteral("up_remaining"), qMax<qint64>(0, context.traffic.remaining(entry.userId, now))}};
}

QJsonObject ConsoleHub::contact(const Device &device, const QString &version)
{
    Live *entry = live(device.userId, device.cid);
    bool conflict = false;
    const bool newRun = device.sessionId != entry->sessionId;
    if (newRun) {
        // A new run takes over quietly (the old one is most likely gone); a displaced
        // run that speaks again means two computers answer to one cid.
        conflict = !entry->sessionId.isEmpty() && device.sessionId == entry->previousSession;
        if (conflict)
            qCWarning(lcServer).noquote() << "two computers use the device id" << device.cid;
        entry->previousSession = entry->sessionId;
        entry->sessionId = device.sessionId;
        entry->snapshotKnown = false;
        entry->ports = {};
    }
    if (!version.isEmpty())
        entry->version = version;
    entry->lastSeen = context.now();
    QJsonObject fields = stateFields(*entry);
    if (conflict)
        fields.insert(QStringLiteral("cid_conflict"), true);
    if (newRun && runChanged)
        runChanged(device.userId, device.cid, device.sessionId);
    return fields;
}

void ConsoleHub::storeSnapshot(const Device &device, const QJsonArray &ports)
{
    Live *entry = live(device.userId, device.cid);
    entry->ports = ports;
    entry->snapshotKnown = true;
    pushToViewers(*entry, {{QStringLiteral("type"), QStringLiteral("snapshot")},
                           {QStringLiteral("cid"), entry->cid},
                           {QStringLiteral("online"), true},
                           {QStringLiteral("ports"), ports}});
}

bool ConsoleHub::storeEvents(const Device &device, const QJsonArray &events, Refusal *refusal)
{
    Live *entry = live(device.userId, device.cid);
    qint64 bytes = 0;
    for (const QJsonValue &event : events)
        bytes += event[u"payload_text"].toString().toUtf8().size();
    const qint64 now = context.now();
    const qint64 remaining = context.traffic.remaining(device.userId, now);
    if (remaining >= 0 && bytes > remaining) {
        *refusal = {403, QStringLiteral("quota_exceeded"),
                    QStringLiteral("The monthly live traffic allowance of this account is used up.")};
        return false;
    }
    context.traffic.add(device.userId, bytes, now);
    QHash<QString, QJsonArray> byPort;
    for (const QJsonValue &value : events) {
        const QJsonObject event = value.toObject();
        byPort[event[u"port_key"].toString()].append(event);
        entry->backlog.append(event);
        entry->backlogTimes.append(now);
        entry->backlogBytes += event[u"payload_text"].toString().size();
    }
    while (entry->backlogBytes > kBacklogBytes && !entry->backlog.isEmpty()) {
        entry->backlogBytes -= entry->backlog.takeFirst()[u"payload_text"].toString().size();
        entry->backlogTimes.removeFirst();
    }
    QList<QWebSocket *> expired;
    for (auto it = viewers.cbegin(); it != viewers.cend(); ++it) {
        const Viewer &viewer = *it.value();
        if (viewer.userId != entry->userId || viewer.cid != entry->cid)
            continue;
        // A guest sees nothing past its share's end: checked on each batch, not at a sweep.
        if (viewer.isGuest() && now >= viewer.expiresAt) {
            expired.append(it.key());
            continue;
        }
        QJsonArray mine;
        if (viewer.portKey.isEmpty()) {
            for (const QJsonArray &list : byPort)
                for (const QJsonValue &event : list)
                    mine.append(event);
        } else {
            mine = byPort.value(viewer.portKey);
        }
        if (!mine.isEmpty())
            sendJson(it.key(), {{QStringLiteral("type"), QStringLiteral("events")},
                                {QStringLiteral("cid"), entry->cid},
                                {QStringLiteral("events"), mine}});
    }
    for (QWebSocket *socket : std::as_const(expired))
        endGuest(socket, QStringLiteral("expired"), QStringLiteral("The share expired."));
    return true;
}

QJsonArray ConsoleHub::takeCommands(const Device &device, int limit)
{
    Live *entry = live(device.userId, device.cid);
    QJsonArray out;
    const qint64 now = context.now();
    while (!entry->queue.isEmpty() && out.size() < limit) {
        const auto it = commands.find(entry->queue.takeFirst());
        if (it == commands.end() || it->state != ConsoleCommand::State::Queued)
            continue;
        it->state = ConsoleCommand::State::Delivered;
        it->deliveredAt = now;
        out.append(it->toJson());
    }
    return out;
}

bool ConsoleHub::acknowledge(const Device &device, const QString &id)
{
    const auto it = commands.find(id);
    if (it == commands.end() || it->userId != device.userId || it->cid != device.cid)
        return false;
    if (it->state == ConsoleCommand::State::Delivered)
        it->state = ConsoleCommand::State::Acknowledged;
    return true;
}

bool ConsoleHub::finish(const Device &device, const QString &id, const QJsonObject &result)
{
    const auto it = commands.find(id);
    if (it == commands.end() || it->userId != device.userId || it->cid != device.cid)
        return false;
    if (ended(*it))
        return true; // a resent result: confirmed again, changes nothing
    const bool ok = result[u"status"].toString() == u"succeeded";
    if (ok) {
        it->state = ConsoleCommand::State::Succeeded;
        it->message = result[u"message"].toString().left(512);
        if (it->finished)
            it->finished(*it);
        if (const Live *entry = find(it->userId, it->cid))
            pushToViewers(*entry, {{QStringLiteral("type"), QStringLiteral("result")},
                                   {QStringLiteral("command"), it->statusJson()}});
    } else {
        QString code = result[u"error_code"].toString().left(64);
        end(*it, code.isEmpty() ? QStringLiteral("internal_error") : code,
            result[u"message"].toString().left(512));
    }
    return true;
}

void ConsoleHub::end(ConsoleCommand &command, const QString &errorCode, const QString &message)
{
    command.state = ConsoleCommand::State::Failed;
    command.errorCode = errorCode;
    command.message = message;
    if (command.finished)
        command.finished(command);
    if (const Live *entry = find(command.userId, command.cid))
        pushToViewers(*entry, {{QStringLiteral("type"), QStringLiteral("result")},
                               {QStringLiteral("command"), command.statusJson()}});
}

std::optional<QString> ConsoleHub::enqueue(ConsoleCommand command, Refusal *refusal)
{
    if (!consolerules::isCommandName(command.command)) {
        *refusal = {400, QStringLiteral("unsupported_command"),
                    QStringLiteral("The computer knows no command called \"%1\".")
                        .arg(command.command.left(32))};
        return std::nullopt;
    }
    // Every command naming a share must stay within that share's port: a guest's
    // share of one port opens no other. The share is looked up on each command, so an
    // expired or revoked one stops at once.
    if (!command.shareId.isEmpty()) {
        QString sharedPort;
        if (!shareResolver) {
            *refusal = {404, QStringLiteral("share_not_found"), QStringLiteral("There is no such share.")};
            return std::nullopt;
        }
        if (!shareResolver(command.userId, command.shareId, &sharedPort, refusal))
            return std::nullopt;
        if (sharedPort != command.portKey) {
            *refusal = {403, QStringLiteral("share_port_mismatch"),
                        QStringLiteral("The command names a port other than its share's.")};
            return std::nullopt;
        }
    }
    if (!isOnline(command.userId, command.cid)) {
        *refusal = {409, QStringLiteral("device_offline"), QStringLiteral("The computer is offline.")};
        return std::nullopt;
    }
    Live *entry = live(command.userId, command.cid);
    if (entry->queue.size() >= kMaxQueued) {
        *refusal = {429, QStringLiteral("queue_full"),
                    QStringLiteral("The computer has %1 commands waiting; wait for them.").arg(kMaxQueued)};
        return std::nullopt;
    }
    command.id = QStringLiteral("cmd_") + QString::fromLatin1(secrets::randomBytes(12).toHex());
    command.createdAt = context.now();
    command.state = ConsoleCommand::State::Queued;
    if (command.sessionId.isEmpty())
        command.sessionId = entry->sessionId;
    const QString id = command.id;
    commands.insert(id, std::move(command));
    entry->queue.append(id);
    pushCommands(*entry);
    return id;
}

void ConsoleHub::pushCommands(Live &entry)
{
    if (!entry.socket || !deviceSockets.contains(entry.socket.data()))
        return;
    const Device device{entry.userId, entry.cid, entry.sessionId};
    const QJsonArray list = takeCommands(device, kMaxQueued);
    if (!list.isEmpty())
        sendJson(entry.socket, {{QStringLiteral("type"), QStringLiteral("commands")},
                                {QStringLiteral("cid"), entry.cid},
                                {QStringLiteral("commands"), list}});
}

QJsonArray ConsoleHub::deviceList(qint64 userId, const QList<DeviceRecord> &records)
{
    QJsonArray out;
    for (const DeviceRecord &record : records) {
        const Live *entry = find(userId, record.cid);
        const bool online = isOnline(userId, record.cid);
        QJsonObject json{{QStringLiteral("cid"), record.cid},
                         {QStringLiteral("device_name"), record.name},
                         {QStringLiteral("online"), online},
                         {QStringLiteral("watching"), entry && entry->viewers > 0},
                         {QStringLiteral("snapshot_pending"), online && !entry->snapshotKnown},
                         {QStringLiteral("ports"), entry ? entry->ports : QJsonArray()}};
        if (entry && entry->lastSeen > 0)
            json.insert(QStringLiteral("last_seen_at"), ServerContext::isoTime(entry->lastSeen));
        out.append(json);
    }
    return out;
}

QJsonObject ConsoleHub::commandStatus(qint64 userId, const QString &id) const
{
    const auto it = commands.constFind(id);
    if (it == commands.constEnd() || it->userId != userId)
        return {};
    return it->statusJson();
}

bool ConsoleHub::isOnline(qint64 userId, const QString &cid) const
{
    const Live *entry = find(userId, cid);
    if (!entry || entry->sessionId.isEmpty())
        return false;
    return (entry->socket && deviceSockets.contains(entry->socket.data()))
           || context.now() - entry->lastSeen < kOnlineMs;
}

QString ConsoleHub::currentSession(qint64 userId, const QString &cid) const
{
    const Live *entry = find(userId, cid);
    return entry ? entry->sessionId : QString();
}

bool ConsoleHub::hasSnapshot(qint64 userId, const QString &cid) const
{
    const Live *entry = find(userId, cid);
    return entry && entry->snapshotKnown;
}

QJsonObject ConsoleHub::port(qint64 userId, const QString &cid, const QString &portKey) const
{
    const Live *entry = find(userId, cid);
    if (!entry)
        return {};
    for (const QJsonValue &value : entry->ports) {
        if (value[u"port_key"].toString() == portKey)
            return value.toObject();
    }
    return {};
}

void ConsoleHub::tick()
{
    const qint64 now = context.now();
    context.traffic.flush();
    for (auto it = commands.begin(); it != commands.end();) {
        ConsoleCommand &command = it.value();
        if (command.state == ConsoleCommand::State::Queued && now - command.createdAt > kCollectMs)
            end(command, QStringLiteral("timeout"),
                QStringLiteral("The computer did not collect the command in time."));
        else if (!ended(command) && command.state != ConsoleCommand::State::Queued
                 && now - command.deliveredAt > kResultMs)
            end(command, QStringLiteral("timeout"),
                QStringLiteral("The computer did not report a result in time."));
        if (ended(command) && now - command.createdAt > kForgetMs)
            it = commands.erase(it);
        else
            ++it;
    }
    QList<QWebSocket *> expired;
    for (auto it = viewers.cbegin(); it != viewers.cend(); ++it) {
        if (it.value()->isGuest() && now >= it.value()->expiresAt)
            expired.append(it.key());
    }
    for (QWebSocket *socket : std::as_const(expired))
        endGuest(socket, QStringLiteral("expired"), QStringLiteral("The share expired."));
    for (auto it = devices.begin(); it != devices.end();) {
        Live *entry = it.value();
        if (entry->viewers == 0 && !entry->toldGone && now - entry->viewersGoneAt >= kWatchGraceMs) {
            entry->toldGone = true;
            sendJson(entry->socket, {{QStringLiteral("type"), QStringLiteral("watching")},
                                     {QStringLiteral("cid"), entry->cid},
                                     {QStringLiteral("watching"), false},
                                     {QStringLiteral("authoritative"), true}});
        }
        const bool idle = !entry->socket && entry->viewers == 0 && entry->queue.isEmpty()
                          && now - entry->lastSeen > kForgetMs;
        if (idle) {
            delete entry;
            it = devices.erase(it);
        } else {
            ++it;
        }
    }
}

void ConsoleHub::acceptSocket(QWebSocket *socket)
{
    socket->setParent(this);
    socket->setMaxAllowedIncomingMessageSize(consolerules::kMaxFrameBytes);
    connect(socket, &QWebSocket::textMessageReceived, this,
            [this, socket](const QString &text) { onText(socket, text); });
    connect(socket, &QWebSocket::binaryMessageReceived, socket, [socket]() {
        socket->close(QWebSocketProtocol::CloseCodeDatatypeNotSupported,
                      QStringLiteral("The console speaks JSON text frames only."));
    });
    connect(socket, &QWebSocket::disconnected, this, [this, socket]() { onSocketGone(socket); });
    QTimer::singleShot(kHelloMs, socket, [this, socket]() {
        if (!viewers.contains(socket) && !deviceSockets.contains(socket))
            socket->close(QWebSocketProtocol::CloseCodePolicyViolated,
                          QStringLiteral("No hello within %1 s.").arg(kHelloMs / 1000));
    });
}

void ConsoleHub::onText(QWebSocket *socket, const QString &text)
{
    const QJsonObject frame = QJsonDocument::fromJson(text.toUtf8()).object();
    if (frame.isEmpty())
        return;
    if (const auto device = deviceSockets.constFind(socket); device != deviceSockets.constEnd())
        return onDeviceFrame(socket, *device, frame);
    if (Viewer *viewer = viewers.value(socket))
        return onViewerFrame(socket, *viewer, frame);
    if (frame[u"type"].toString() != u"hello")
        return refuseHello(socket, QStringLiteral("hello_expected"),
                           QStringLiteral("The first frame must be a hello."));
    if (frame[u"role"].toString() == u"viewer")
        onViewerHello(socket, frame);
    else if (frame[u"role"].toString() == u"guest")
        onGuestHello(socket, frame);
    else
        onDeviceHello(socket, frame);
}

void ConsoleHub::onSocketGone(QWebSocket *socket)
{
    if (Viewer *viewer = viewers.take(socket)) {
        if (Live *entry = devices.value(key(viewer->userId, viewer->cid))) {
            --entry->viewers;
            viewersChanged(*entry);
        }
        delete viewer;
    }
    deviceSockets.remove(socket);
}

void ConsoleHub::onDeviceHello(QWebSocket *socket, const QJsonObject &hello)
{
    // A computer signs in with its bearer token in the upgrade request, as over REST.
    const QByteArray header = socket->request().rawHeader("Authorization").trimmed();
    const QString token = header.left(7).toLower() == "bearer " ? QString::fromLatin1(header.mid(7).trimmed())
                                                                : QString();
    Principal principal;
    if (context.sessions.authenticate(token, context.now(), &principal) != Lookup::Found)
        return refuseHello(socket, QStringLiteral("unauthorized"),
                           QStringLiteral("Sign in first: the access token is missing or no longer valid."));
    Device device{principal.userId, hello[u"cid"].toString().trimmed().toLower(),
                  hello[u"session_id"].toString().trimmed()};
    ConsoleHub::Refusal refusal;
    if (!consolerules::checkDevice(context, principal, device.cid, device.sessionId, &refusal))
        return refuseHello(socket, refusal.code, refusal.description);
    QJsonObject reply = contact(device, hello[u"version"].toString().left(32));
    Live *entry = live(device.userId, device.cid);
    if (entry->socket && entry->socket != socket) {
        // The same computer dialled again (or another run took over): one socket each.
        QWebSocket *old = entry->socket;
        deviceSockets.remove(old);
        old->close(QWebSocketProtocol::CloseCodeNormal, QStringLiteral("Replaced by a newer connection."));
    }
    entry->socket = socket;
    deviceSockets.insert(socket, device);
    reply.insert(QStringLiteral("type"), QStringLiteral("hello"));
    reply.insert(QStringLiteral("status"), true);
    sendJson(socket, reply);
    pushCommands(*entry);
}

void ConsoleHub::onDeviceFrame(QWebSocket *socket, const Device &device, const QJsonObject &frame)
{
    const QString type = frame[u"type"].toString();
    QJsonObject reply = contact(device);
    reply.insert(QStringLiteral("type"), type);
    reply.insert(QStringLiteral("status"), true);
    Refusal refusal;
    bool ok = true;
    if (type == u"snapshot") {
        ok = consolerules::checkPorts(frame[u"ports"], &refusal);
        if (ok)
            storeSnapshot(device, frame[u"ports"].toArray());
        reply.insert(QStringLiteral("need_snapshot"), !ok);
    } else if (type == u"events") {
        ok = consolerules::checkEvents(frame[u"events"], &refusal)
             && storeEvents(device, frame[u"events"].toArray(), &refusal);
    } else if (type == u"result" || type == u"ack") {
        const QString id = frame[u"command_id"].toString();
        ok = type == u"ack" ? acknowledge(device, id) : finish(device, id, frame[u"result"].toObject());
        if (!ok)
            refusal = {404, QStringLiteral("not_found"), QStringLiteral("There is no such command.")};
        reply.insert(QStringLiteral("command_id"), id);
    } else if (type != u"heartbeat") {
        return; // unknown frames are ignored, as the computer ignores ours
    }
    if (!ok) {
        reply.insert(QStringLiteral("status"), false);
        reply.insert(QStringLiteral("code"), refusal.code);
        reply.insert(QStringLiteral("description"), refusal.description);
    }
    sendJson(socket, reply);
}

void ConsoleHub::onViewerHello(QWebSocket *socket, const QJsonObject &hello)
{
    // A browser cannot set headers on a WebSocket: its token comes in the hello.
    Principal principal;
    if (context.sessions.authenticate(hello[u"access_token"].toString(), context.now(), &principal)
        != Lookup::Found)
        return refuseHello(socket, QStringLiteral("unauthorized"),
                           QStringLiteral("Sign in first: the access token is missing or no longer valid."));
    auto *viewer = new Viewer;
    viewer->userId = principal.userId;
    viewers.insert(socket, viewer);
    sendJson(socket, {{QStringLiteral("type"), QStringLiteral("hello")},
                      {QStringLiteral("status"), true},
                      {QStringLiteral("code"), QStringLiteral("ok")}});
}

void ConsoleHub::onViewerFrame(QWebSocket *socket, Viewer &viewer, const QJsonObject &frame)
{
    const QString type = frame[u"type"].toString();
    const QString cid = frame[u"cid"].toString().trimmed().toLower();
    if (viewer.isGuest()) {
        if (endGuestIfExpired(socket, viewer, context.now()))
            return;
        const QString port = frame[u"port_key"].toString();
        if (type == u"unwatch") {
            setWatch(socket, {}, {});
        } else if (type == u"watch") {
            if ((cid.isEmpty() || cid == viewer.shareCid) &&
                (port.isEmpty() || port == viewer.sharePort))
                return setWatch(socket, viewer.shareCid, viewer.sharePort);
            sendJson(socket, {{QStringLiteral("type"), QStringLiteral("watch")},
                              {QStringLiteral("status"), false},
                              {QStringLiteral("code"), QStringLiteral("share_port_mismatch")},
                              {QStringLiteral("description"),
                               QStringLiteral("The invite covers one port only.")}});
        } else if (type == u"command") {
            Refusal refusal;
            const std::optional<QString> id =
                guestCommand(viewer, consolerules::commandFrom(frame), &refusal);
            QJsonObject reply{{QStringLiteral("type"), QStringLiteral("command")},
                              {QStringLiteral("status"), id.has_value()},
                              {QStringLiteral("request_id"), frame[u"request_id"]}};
            if (id) {
                reply.insert(QStringLiteral("command"), commandStatus(viewer.userId, *id));
            } else {
                reply.insert(QStringLiteral("code"), refusal.code);
                reply.insert(QStringLiteral("description"), refusal.description);
            }
            sendJson(socket, reply);
            if (refusal.code == u"share_expired" || refusal.code == u"share_revoked")
                endGuest(socket,
                         refusal.code == u"share_expired" ? QStringLiteral("expired")
                                                          : QStringLiteral("revoked"),
                         refusal.description);
        }
        return;
    }
    const auto bound = [&]() {
        DeviceRecord record;
        return context.devices.find(viewer.userId, cid, &record) == Lookup::Found;
    };
    if (type == u"unwatch") {
        setWatch(socket, {}, {});
    } else if (type == u"watch") {
        if (!bound()) {
            sendJson(socket, {{QStringLiteral("type"), QStringLiteral("watch")},
                              {QStringLiteral("status"), false},
                              {QStringLiteral("code"), QStringLiteral("not_found")},
                              {QStringLiteral("description"),
                               QStringLiteral("No such computer is bound to the account.")}});
            return;
        }
        setWatch(socket, cid, frame[u"port_key"].toString());
    } else if (type == u"command") {
        ConsoleCommand command = consolerules::commandFrom(frame);
        command.userId = viewer.userId;
        command.cid = cid;
        command.origin = socket;
        Refusal refusal;
        std::optional<QString> id;
        if (!bound())
            refusal = {404, QStringLiteral("not_found"), QStringLiteral("No such computer is bound to the account.")};
        else if (consolerules::checkBrowserCommand(command, &refusal))
            id = enqueue(command, &refusal);
        QJsonObject reply{{QStringLiteral("type"), QStringLiteral("command")},
                          {QStringLiteral("status"), id.has_value()},
                          {QStringLiteral("request_id"), frame[u"request_id"]}};
        if (id)
            reply.insert(QStringLiteral("command"), commandStatus(viewer.userId, *id));
        else
            reply.insert(QStringLiteral("code"), refusal.code), reply.insert(QStringLiteral("description"), refusal.description);
        sendJson(socket, reply);
    }
}

void ConsoleHub::setWatch(QWebSocket *socket, const QString &cid, const QString &portKey)
{
    Viewer *viewer = viewers.value(socket);
    if (!viewer)
        return;
    if (!viewer->cid.isEmpty()) {
        if (Live *old = devices.value(key(viewer->userId, viewer->cid))) {
            --old->viewers;
            viewersChanged(*old);
        }
    }
    viewer->cid = cid;
    viewer->portKey = portKey;
    if (cid.isEmpty())
        return;
    Live *entry = live(viewer->userId, cid);
    ++entry->viewers;
    viewersChanged(*entry);
    DeviceRecord record;
    context.devices.find(viewer->userId, cid, &record);
    QJsonObject device = deviceList(viewer->userId, {record}).first().toObject();
    if (viewer->isGuest())
        device = visibleTo(*viewer, device);
    sendJson(socket, {{QStringLiteral("type"), QStringLiteral("watch")},
                      {QStringLiteral("status"), true},
                      {QStringLiteral("cid"), cid},
                      {QStringLiteral("port_key"), portKey},
                      {QStringLiteral("device"), device}});
    // A guest sees the recent traffic of its port since the share was made, no older.
    QJsonArray recent;
    for (qsizetype i = 0; i < entry->backlog.size(); ++i) {
        const QJsonObject &event = entry->backlog[i];
        if ((portKey.isEmpty() || event[u"port_key"].toString() == portKey) &&
            (!viewer->isGuest() || entry->backlogTimes.value(i) >= viewer->shareCreatedAt))
            recent.append(event);
    }
    if (!recent.isEmpty())
        sendJson(socket, {{QStringLiteral("type"), QStringLiteral("events")},
                          {QStringLiteral("cid"), cid},
                          {QStringLiteral("events"), recent}});
}

void ConsoleHub::viewersChanged(Live &entry)
{
    if (entry.viewers > 0 && entry.toldGone) {
        entry.toldGone = false;
        sendJson(entry.socket, {{QStringLiteral("type"), QStringLiteral("watching")},
                                {QStringLiteral("cid"), entry.cid},
                                {QStringLiteral("watching"), true},
                                {QStringLiteral("authoritative"), true}});
    } else if (entry.viewers == 0 && !entry.toldGone) {
        // Told for sure only after the grace (tick()); a page reload comes back first.
        entry.viewersGoneAt = context.now();
        sendJson(entry.socket, {{QStringLiteral("type"), QStringLiteral("watching")},
                                {QStringLiteral("cid"), entry.cid},
                                {QStringLiteral("watching"), false},
                                {QStringLiteral("authoritative"), false}});
    }
}

void ConsoleHub::pushToViewers(const Live &entry, const QJsonObject &frame, const QString &portKey)
{
    for (auto it = viewers.cbegin(); it != viewers.cend(); ++it) {
        const Viewer &viewer = *it.value();
        if (viewer.userId != entry.userId || viewer.cid != entry.cid ||
            !(portKey.isEmpty() || viewer.portKey.isEmpty() || viewer.portKey == portKey))
            continue;
        const QJsonObject visible = visibleTo(viewer, frame);
        if (!visible.isEmpty())
            sendJson(it.key(), visible);
    }
}

QJsonObject ConsoleHub::visibleTo(const Viewer &viewer, const QJsonObject &frame) const
{
    if (!viewer.isGuest())
        return frame;
    if (frame.contains(u"ports")) {
        // A snapshot or a device: the guest's port only, the others stay unknown to it.
        QJsonArray mine;
        for (const QJsonValue &port : frame[u"ports"].toArray()) {
            if (port[u"port_key"].toString() == viewer.sharePort)
                mine.append(port);
        }
        QJsonObject copy = frame;
        copy.insert(QStringLiteral("ports"), mine);
        return copy;
    }
    if (frame[u"type"].toString() == u"result" &&
        frame[u"command"][u"share_id"].toString() != viewer.shareId)
        return {};
    return frame;
}

void ConsoleHub::onGuestHello(QWebSocket *socket, const QJsonObject &hello)
{
    GuestGrant grant;
    Refusal refusal{401, QStringLiteral("unauthorized"),
                    QStringLiteral("The invite is no longer valid.")};
    if (!guestResolver || !guestResolver(hello[u"guest_token"].toString(), &grant, &refusal))
        return refuseHello(socket, refusal.code, refusal.description);
    auto *viewer = new Viewer;
    viewer->userId = grant.userId;
    viewer->shareId = grant.shareId;
    viewer->shareCid = grant.cid;
    viewer->sharePort = grant.portKey;
    viewer->level = grant.level;
    viewer->guestName = grant.guestName;
    viewer->shareCreatedAt = grant.createdAt;
    viewer->expiresAt = grant.expiresAt;
    viewer->since = context.now();
    viewers.insert(socket, viewer);
    qCInfo(lcServer).noquote() << "share" << grant.shareId << "browser guest joined";
    sendJson(socket,
             {{QStringLiteral("type"), QStringLiteral("hello")},
              {QStringLiteral("status"), true},
              {QStringLiteral("code"), QStringLiteral("ok")},
              {QStringLiteral("share"), QJsonObject{{QStringLiteral("share_id"), grant.shareId},
                                                    {QStringLiteral("cid"), grant.cid},
                                                    {QStringLiteral("port_key"), grant.portKey},
                                                    {QStringLiteral("port_name"), grant.portName},
                                                    {QStringLiteral("label"), grant.label},
                                                    {QStringLiteral("web"), grant.level},
                                                    {QStringLiteral("guest_name"), grant.guestName},
                                                    {QStringLiteral("expires_at"),
                                                     ServerContext::isoTime(grant.expiresAt)}}}});
    setWatch(socket, grant.cid, grant.portKey);
}

std::optional<QString> ConsoleHub::guestCommand(Viewer &viewer, ConsoleCommand command,
                                                Refusal *refusal)
{
    if (context.now() >= viewer.expiresAt) {
        *refusal = {410, QStringLiteral("share_expired"), QStringLiteral("The share expired.")};
        return std::nullopt;
    }
    command.userId = viewer.userId;
    command.cid = viewer.shareCid;
    command.shareId = viewer.shareId;
    if (command.portKey.isEmpty())
        command.portKey = viewer.sharePort;
    if (!consolerules::checkBrowserCommand(command, refusal))
        return std::nullopt;
    SharePolicy::Need need = SharePolicy::Need::Control;
    SharePolicy::Level level = SharePolicy::Level::None;
    SharePolicy::needOf(command.command, &need);
    if (!SharePolicy::parseLevel(viewer.level, &level) || !SharePolicy::allows(level, need)) {
        *refusal = {
            403, QStringLiteral("permission_denied"),
            need == SharePolicy::Need::Control
                ? QStringLiteral("The invite does not allow port control.")
                : QStringLiteral("The invite lets you watch only; it does not allow sending.")};
        return std::nullopt;
    }
    return enqueue(command, refusal);
}

bool ConsoleHub::endGuestIfExpired(QWebSocket *socket, const Viewer &viewer, qint64 now)
{
    if (!viewer.isGuest() || now < viewer.expiresAt)
        return false;
    endGuest(socket, QStringLiteral("expired"), QStringLiteral("The share expired."));
    return true;
}

void ConsoleHub::endGuest(QWebSocket *socket, const QString &reason, const QString &description)
{
    Viewer *viewer = viewers.take(socket);
    if (!viewer)
        return;
    if (Live *entry = devices.value(key(viewer->userId, viewer->cid));
        entry && !viewer->cid.isEmpty()) {
        --entry->viewers;
        viewersChanged(*entry);
    }
    qCInfo(lcServer).noquote() << "share" << viewer->shareId << "browser guest ended:" << reason;
    delete viewer;
    sendJson(socket, {{QStringLiteral("type"), QStringLiteral("share_ended")},
                      {QStringLiteral("reason"), reason},
                      {QStringLiteral("description"), description}});
    socket->close(QWebSocketProtocol::CloseCodeNormal, description.left(120));
}

void ConsoleHub::endShare(const QString &shareId, const QString &reason, const QString &description)
{
    if (shareId.isEmpty())
        return;
    QList<QWebSocket *> guests;
    for (auto it = viewers.cbegin(); it != viewers.cend(); ++it) {
        if (it.value()->shareId == shareId)
            guests.append(it.key());
    }
    for (QWebSocket *socket : std::as_const(guests))
        endGuest(socket, reason, description);
    // What the computer has not collected yet never reaches the port.
    for (ConsoleCommand &command : commands) {
        if (command.shareId == shareId && command.state == ConsoleCommand::State::Queued)
            end(command, QStringLiteral("share_ended"), description);
    }
}

QJsonArray ConsoleHub::webGuests(const QString &shareId) const
{
    QList<const Viewer *> guests;
    for (const Viewer *viewer : viewers) {
        if (viewer->shareId == shareId)
            guests.append(viewer);
    }
    std::sort(guests.begin(), guests.end(),
              [](const Viewer *a, const Viewer *b) { return a->since < b->since; });
    QJsonArray out;
    for (const Viewer *viewer : std::as_const(guests))
        out.append(QJsonObject{{QStringLiteral("name"), viewer->guestName},
                               {QStringLiteral("since"), ServerContext::isoTime(viewer->since)}});
    return out;
}
