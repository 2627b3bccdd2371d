#include "connection/relaysocket.h"

#include "cloud/cloudredactor.h"
#include "common/logging.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaObject>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>
#include <QWebSocket>

RelaySocket::RelaySocket(QObject *parent)
    : QObject(parent)
    , socket(new QWebSocket(QString(), QWebSocketProtocol::Version13, this))
    , pairDeadline(new QTimer(this))
{
    pairDeadline->setSingleShot(true);
    pairDeadline->setInterval(PairDeadlineMs);
    connect(pairDeadline, &QTimer::timeout, this, &RelaySocket::onPairDeadline);
    // Whole messages up to the gateway's own limit; the peers send at most 8192 bytes.
    socket->setMaxAllowedIncomingMessageSize(1024 * 1024);
    connect(socket, &QWebSocket::connected, this, [this] { connectedFlag = true; });
    connect(socket, &QWebSocket::textMessageReceived, this, &RelaySocket::onTextMessage);
    connect(socket, &QWebSocket::binaryMessageReceived, this, [this](const QByteArray &bytes) {
        if (pairedFlag && !stoppedFlag)
            Q_EMIT binaryReceived(bytes);
    });
    connect(socket, &QWebSocket::disconnected, this, &RelaySocket::onDisconnected);
}

RelaySocket::~RelaySocket()
{
    socket->disconnect(this);
}

void RelaySocket::open(const QString &baseUrl, const QString &ticket)
{
    if (openedFlag)
        return;
    openedFlag = true;
    if (baseUrl.isEmpty() || ticket.isEmpty()) {
        // Ends are told from the event loop, as a real socket would, never from inside open().
        QMetaObject::invokeMethod(
            this, [this] { stopOnce(Rejected, tr("Missing relay address or ticket.")); },
            Qt::QueuedConnection);
        return;
    }
    QUrl url(baseUrl);
    url.setScheme(url.scheme() == QLatin1String("https") ? QStringLiteral("wss")
                                                         : QStringLiteral("ws"));
    url.setPath(QStringLiteral("/ws/relay/v1"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("ticket"), ticket);
    url.setQuery(query);
    // The ticket is the whole credential: the log shows the address without it.
    qCInfo(lcCloud).noquote() << "[RelaySocket] dialling" << CloudRedactor::url(url);
    pairDeadline->start();
    socket->open(url);
}

void RelaySocket::close()
{
    pairedFlag = false;
    pairDeadline->stop();
    // Closing is the caller's own end: no stop is told for it.
    stoppedFlag = true;
    if (socket->state() != QAbstractSocket::UnconnectedState)
        socket->close(QWebSocketProtocol::CloseCodeNormal);
}

bool RelaySocket::isOpen() const
{
    return pairedFlag && !stoppedFlag && socket->state() == QAbstractSocket::ConnectedState;
}

qint64 RelaySocket::sendBinary(const QByteArray &bytes)
{
    if (!isOpen())
        return 0;
    qint64 sent = 0;
    for (qsizetype at = 0; at < bytes.size(); at += MessageBytes) {
        const QByteArray piece = bytes.mid(at, MessageBytes);
        if (socket->sendBinaryMessage(piece) != piece.size())
            break;
        sent += piece.size();
    }
    return sent;
}

qint64 RelaySocket::pendingBytes() const
{
    return socket->bytesToWrite();
}

QString RelaySocket::refusalText(const QString &reason)
{
    if (reason == QLatin1String("permission_denied"))
        return tr("The remote computer does not allow Live Relay on that port.");
    if (reason == QLatin1String("relay_busy"))
        return tr("The remote port already has a relay session.");
    if (reason == QLatin1String("session_mismatch") || reason == QLatin1String("port_not_found"))
        return tr("The remote computer's ports changed. Choose the port again.");
    if (reason.isEmpty())
        return tr("The remote computer declined the relay.");
    return tr("The remote computer declined the relay (%1).").arg(reason);
}

void RelaySocket::onTextMessage(const QString &text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject())
        return;
    const QJsonObject object = document.object();
    const QString type = object.value(QStringLiteral("type")).toString();
    if (type == QLatin1String("ready")) {
        if (pairedFlag || stoppedFlag)
            return;
        sawControlMessage = true;
        pairDeadline->stop();
        pairedFlag = true;
        Q_EMIT paired(object.value(QStringLiteral("port_key")).toString(),
                      object.value(QStringLiteral("relay_id")).toString());
    } else if (type == QLatin1String("rate_limited")) {
        sawControlMessage = true;
        Q_EMIT noticed(tr("The relay is rate limited to %1 bytes per second.")
                           .arg(object.value(QStringLiteral("limit_bytes_per_sec")).toInteger()));
    } else if (type == QLatin1String("peer_refused")) {
        sawControlMessage = true;
        stopOnce(Refused, refusalText(object.value(QStringLiteral("reason")).toString()));
    } else if (type == QLatin1String("peer_gone")) {
        sawControlMessage = true;
        stopOnce(PeerGone, tr("The remote end disconnected."));
    } else if (type == QLatin1String("quota_exhausted")) {
        sawControlMessage = true;
        stopOnce(QuotaExhausted, tr("The monthly cloud traffic quota is exhausted."));
    } else if (type == QLatin1String("closing")) {
        sawControlMessage = true;
        stopOnce(ServerClosed, tr("The server closed the relay."));
    }
}

QString RelaySocket::dialFailureText() const
{
    // An error string may quote the address; the ticket is blanked out of it.
    const QString error = CloudRedactor::text(socket->errorString());
    if (socket->error() == QAbstractSocket::UnknownSocketError || error.isEmpty())
        return tr("The relay gateway could not be reached.");
    return tr("The relay gateway could not be reached: %1").arg(error);
}

void RelaySocket::onDisconnected()
{
    pairDeadline->stop();
    if (stoppedFlag)
        return;
    if (!connectedFlag) {
        stopOnce(NetworkFailed, dialFailureText());
        return;
    }
    const int code = int(socket->closeCode());
    const QString reason = socket->closeReason();
    const QString text = reason.isEmpty()
                             ? tr("The relay connection was closed (code %1).").arg(code)
                             : reason;
    // The gateway refuses an unusable ticket with 1008 (Qt takes 1013 for a protocol
    // error), so both mean the ticket or address was rejected.
    const bool rejected = code == 1013 || (code == 1008 && !pairedFlag);
    stopOnce(rejected ? Rejected : NetworkFailed, text);
}

void RelaySocket::onPairDeadline()
{
    if (pairedFlag || stoppedFlag)
        return;
    if (connectedFlag) {
        stopOnce(Refused, tr("The remote computer did not join the relay. Check that it is "
                             "online and that Live Relay is allowed on that port."));
    } else {
        stopOnce(NetworkFailed, dialFailureText());
    }
    socket->abort();
}

void RelaySocket::stopOnce(Stop stop, const QString &reason)
{
    if (stoppedFlag)
        return;
    stoppedFlag = true;
    pairedFlag = false;
    pairDeadline->stop();
    qCInfo(lcCloud).noquote() << "[RelaySocket] ended:" << CloudRedactor::text(reason);
    Q_EMIT stopped(stop, reason);
}
