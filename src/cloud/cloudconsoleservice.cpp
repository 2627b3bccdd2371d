#include "cloud/cloudconsoleservice.h"

#include "cloud/accountsession.h"
#include "cloud/consolesocket.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "common/logging.h"
#include "session/consoleport.h"
#include "session/portsession.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>
#include <QUuid>

namespace {
QString key(const char *text)
{
    return QString::fromLatin1(text);
}

QTimer *makeTimer(QObject *parent, int ms, bool repeat)
{
    auto *timer = new QTimer(parent);
    timer->setInterval(ms);
    timer->setSingleShot(!repeat);
    return timer;
}
} // namespace

CloudConsoleService::CloudConsoleService(AccountSession *session, const QString &cid,
                                         QObject *parent)
    : QObject(parent), account(session), cidValue(cid),
      sessionIdValue(QUuid::createUuid().toString(QUuid::WithoutBraces)),
      heartbeatTimer(makeTimer(this, HeartbeatMs, true)),
      pollTimer(makeTimer(this, IdleLadder[0], true)),
      uploadTimer(makeTimer(this, UploadMs, true)),
      resultRetryTimer(makeTimer(this, ResultRetryMs, true)),
      socketWatchdogTimer(makeTimer(this, SocketWatchdogMs, true)),
      snapshotTimer(makeTimer(this, SnapshotMs, true)),
      pendingShareTimer(makeTimer(this, PendingShareMs, false)),
      shareSweepTimer(makeTimer(this, ShareSweepMs, true)), socket(new ConsoleSocket(this))
{
    connect(heartbeatTimer, &QTimer::timeout, this, &CloudConsoleService::onHeartbeatTick);
    connect(pollTimer, &QTimer::timeout, this, &CloudConsoleService::onPollTick);
    connect(uploadTimer, &QTimer::timeout, this, &CloudConsoleService::onUploadTick);
    connect(resultRetryTimer, &QTimer::timeout, this, &CloudConsoleService::onResultRetryTick);
    connect(socketWatchdogTimer, &QTimer::timeout, this,
            &CloudConsoleService::onSocketWatchdogTick);
    connect(snapshotTimer, &QTimer::timeout, this, &CloudConsoleService::uploadSnapshot);
    connect(socket, &ConsoleSocket::ready, this, &CloudConsoleService::onSocketReady);
    connect(socket, &ConsoleSocket::disconnected, this, &CloudConsoleService::onSocketDisconnected);
    connect(socket, &ConsoleSocket::consoleResponse, this, &CloudConsoleService::onConsoleResponse);
    connect(account->network(), &NetworkServices::consoleResponse, this,
            &CloudConsoleService::onConsoleResponse);
    connect(pendingShareTimer, &QTimer::timeout, this, &CloudConsoleService::postPendingShare);
    connect(shareSweepTimer, &QTimer::timeout, this, &CloudConsoleService::onShareSweepTick);
    connect(account->network(), &NetworkServices::relayShareResponse, this,
            &CloudConsoleService::onRelayShareResponse);
    connect(account->network(), &NetworkServices::relayShareOverviewResponse, this,
            &CloudConsoleService::onShareOverviewResponse);
    connect(account->network(), &NetworkServices::networkError, this,
            &CloudConsoleService::onShareNetworkError);
    now = [] { return QDateTime::currentMSecsSinceEpoch(); };
}

CloudConsoleService::~CloudConsoleService()
{
    socket->disconnect(this);
}

void CloudConsoleService::setEnabled(bool on)
{
    if (on == enabled)
        return;
    if (!on)
        revokeAllShares(tr("Live Console was switched off."));
    enabled = on;
    if (!on) {
        for (QTimer *timer : {heartbeatTimer, pollTimer, uploadTimer, resultRetryTimer,
                              socketWatchdogTimer, snapshotTimer, pendingShareTimer,
                              shareSweepTimer})
            timer->stop();
        socket->disconnectFromServer();
        stopRelays(tr("Live Console was switched off."));
        if (watching) {
            watching = false;
            setCapture(false);
            emit watchingChanged(false);
        }
        notWatchingCount = 0;
        socketAllowed = false;
        dropEvents();
        unconfirmed.clear();
        return;
    }
    resetIdleLadder();
    for (QTimer *timer :
         {heartbeatTimer, pollTimer, resultRetryTimer, socketWatchdogTimer, shareSweepTimer})
        timer->start();
    onHeartbeatTick();
    onPollTick();
}

void CloudConsoleService::setPortListProvider(PortListProvider list)
{
    provider = std::move(list);
    for (ConsolePort *port : ports())
        attachPort(port);
}

void CloudConsoleService::attachPort(ConsolePort *port)
{
    connect(port, &ConsolePort::consoleTraffic, this, &CloudConsoleService::onPortTraffic,
            Qt::UniqueConnection);
    port->setCapture(watching);
}

QList<ConsolePort *> CloudConsoleService::ports() const
{
    return provider ? provider() : QList<ConsolePort *>();
}

ConsolePort *CloudConsoleService::portFor(const QString &portKey) const
{
    for (ConsolePort *port : ports()) {
        if (port->portKey() == portKey)
            return port;
    }
    return nullptr;
}

QString CloudConsoleService::token() const
{
    return account->accessToken();
}

bool CloudConsoleService::readyForNetwork()
{
    if (!enabled || cidValue.isEmpty() || !PrivacyConsent::given())
        return false;
    if (account->isSignedIn())
        return true;
    if (account->hasRefreshToken())
        account->requestTokenRefresh(cidValue);
    return false;
}

bool CloudConsoleService::useSocket() const
{
    return socket->isConnected();
}

void CloudConsoleService::connectSocket()
{
    if (!socketAllowed || useSocket() || !readyForNetwork())
        return;
    socket->connectToServer(account->network()->hostAddress(), token(),
                            {{key("cid"), cidValue},
                             {key("session_id"), sessionIdValue},
                             {key("version"), QCoreApplication::applicationVersion()}});
}

void CloudConsoleService::onSocketReady()
{
    heartbeatTimer->stop();
    pollTimer->stop();
    snapshotTimer->stop();
    if (watching)
        uploadSnapshot();
    resendUnconfirmedResults();
}

void CloudConsoleService::onSocketDisconnected()
{
    if (!enabled)
        return;
    heartbeatTimer->start();
    pollTimer->start();
    if (watching)
        snapshotTimer->start();
    onHeartbeatTick();
    onPollTick();
}

void CloudConsoleService::onSocketWatchdogTick()
{
    if (enabled && !useSocket())
        connectSocket();
}

void CloudConsoleService::onHeartbeatTick()
{
    if (useSocket() || !readyForNetwork())
        return;
    connectSocket();
    account->network()->consoleHeartbeat(
        token(), {{key("cid"), cidValue},
                  {key("session_id"), sessionIdValue},
                  {key("version"), QCoreApplication::applicationVersion()},
                  {key("poll"), pollInterval()}});
}

void CloudConsoleService::onPollTick()
{
    if (useSocket() || !readyForNetwork())
        return;
    resendUnconfirmedResults();
    account->network()->consolePollCommands(token(), cidValue, PollLimit);
    if (!watching && idleStep < 3) {
        ++idleStep;
        pollTimer->setInterval(IdleLadder[idleStep]);
    }
}

void CloudConsoleService::resetIdleLadder()
{
    idleStep = 0;
    pollTimer->setInterval(IdleLadder[0]);
}

void CloudConsoleService::onConsoleResponse(const QJsonObject &object)
{
    const QString cid = object.value(key("cid")).toString();
    if (!cid.isEmpty() && cid != cidValue)
        return;
    if (!enabled)
        return;
    if (!object.value(key("status")).toBool(true) &&
        object.value(key("code")).toString() == QLatin1String("quota_exceeded")) {
        stopForQuota();
        return;
    }
    if (object.contains(key("ws"))) {
        socketAllowed = object.value(key("ws")).toBool();
        if (socketAllowed)
            connectSocket();
    }
    if (object.value(key("cid_conflict")).toBool() && !conflictReported) {
        conflictReported = true;
        emit cidConflictDetected();
    }
    const QString confirmed = object.value(key("command_id")).toString();
    if (!confirmed.isEmpty())
        unconfirmed.remove(confirmed);
    if (object.contains(key("up_remaining")))
        upRemaining = qint64(object.value(key("up_remaining")).toDouble());
    if (object.contains(key("watching")))
        applyWatching(object.value(key("watching")).toBool(),
                      object.value(key("authoritative")).toBool(true));
    if (object.value(key("need_snapshot")).toBool())
        uploadSnapshot();
    const QJsonArray commands = object.value(key("commands")).toArray();
    if (!commands.isEmpty())
        resetIdleLadder();
    for (const QJsonValue &command : commands) {
        if (!enabled)
            break;
        executeCommand(command.toObject());
    }
}

void CloudConsoleService::stopForQuota()
{
    dropEvents();
    setEnabled(false);
    emit stoppedItself(
        tr("Live Console stopped: monthly traffic quota used up. Please top up to continue."));
}

void CloudConsoleService::applyWatching(bool on, bool authoritative)
{
    if (on) {
        notWatchingCount = 0;
        resetIdleLadder();
        if (watching)
            return;
        watching = true;
        setCapture(true);
        uploadTimer->start();
        uploadSnapshot();
        if (!useSocket())
            snapshotTimer->start();
        emit watchingChanged(true);
        return;
    }
    if (!watching)
        return;
    // A page reload looks like the last watcher leaving; unless the server is sure,
    // wait for a second such reply before stopping the stream.
    if (!authoritative && ++notWatchingCount < 2)
        return;
    notWatchingCount = 0;
    setCapture(false);
    flushEvents();
    watching = false;
    uploadTimer->stop();
    snapshotTimer->stop();
    dropEvents();
    emit watchingChanged(false);
}

void CloudConsoleService::setCapture(bool on)
{
    for (ConsolePort *port : ports())
        port->setCapture(on);
}

QJsonObject CloudConsoleService::withRelayCapability(const ConsolePort *port,
                                                     QJsonObject description) const
{
    // Only a port a relay could really drive is offered for one.
    if (relayMayOpen(port)) {
        description.insert(key("connection_mode"), key("serial"));
        description.insert(key("capabilities"), QJsonArray{key("open_relay")});
    }
    return description;
}

bool CloudConsoleService::relayMayOpen(const ConsolePort *port) const
{
    return port && (allowRelay || relayShareFor(port->portKey())) && port->relayCapable();
}

void CloudConsoleService::uploadSnapshot()
{
    if (cidValue.isEmpty() || !readyForNetwork())
        return;
    QJsonArray list;
    for (ConsolePort *port : ports())
        list.append(withRelayCapability(port, port->description()));
    QJsonObject body{{key("cid"), cidValue}, {key("session_id"), sessionIdValue},
                     {key("ports"), list}};
    if (useSocket())
        sendSocketFrame(key("snapshot"), body);
    else
        account->network()->consolePostSnapshot(token(), body);
}

void CloudConsoleService::onPortTraffic(const QString &portKey, bool rx, const QString &text)
{
    if (watching)
        queueEvent(portKey, rx ? key("rx") : key("tx"), text);
}

void CloudConsoleService::queueEvent(const QString &portKey, const QString &type,
                                     const QString &text)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    qsizetype at = 0;
    while (at < text.size()) {
        QString piece = text.mid(at, MaxPieceChars);
        // A piece of wide characters is cut until its UTF-8 form fits a server event.
        while (piece.toUtf8().size() > MaxPieceBytes)
            piece.chop(piece.size() / 4 + 1);
        at += piece.size();
        eventBytes += piece.toUtf8().size();
        events.append({portKey, type, piece, now});
    }
    // The newest data wins: the oldest events go first.
    while (eventBytes > MaxQueueBytes && !events.isEmpty())
        eventBytes -= events.takeFirst().text.toUtf8().size();
}

void CloudConsoleService::dropEvents()
{
    events.clear();
    eventBytes = 0;
}

void CloudConsoleService::onUploadTick()
{
    if (watching)
        flushEvents();
}

void CloudConsoleService::flushEvents()
{
    if (events.isEmpty() || !readyForNetwork())
        return;
    if (upRemaining >= 0 && eventBytes > upRemaining) {
        stopForQuota();
        return;
    }
    QJsonArray batch;
    qint64 batchBytes = 0;
    while (!events.isEmpty() && batch.size() < MaxBatchEvents) {
        const qint64 size = events.first().text.toUtf8().size();
        if (!batch.isEmpty() && batchBytes + size > MaxBatchBytes)
            break;
        const PendingEvent event = events.takeFirst();
        eventBytes -= size;
        batchBytes += size;
        batch.append(QJsonObject{{key("port_key"), event.portKey},
                                 {key("event_type"), event.type},
                                 {key("payload_text"), event.text},
                                 {key("seq"), double(nextSeq++)},
                                 {key("client_time"), double(event.clientTime)}});
    }
    QJsonObject body{{key("cid"), cidValue}, {key("events"), batch}};
    if (useSocket()) {
        sendSocketFrame(key("events"), body);
    } else {
        body.insert(key("session_id"), sessionIdValue);
        account->network()->consolePostEvents(token(), body);
    }
}

void CloudConsoleService::sendSocketFrame(const QString &type, QJsonObject object)
{
    object.insert(key("type"), type);
    socket->send(object);
}
