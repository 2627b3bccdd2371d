#include "cloud/relaycontroller.h"

#include "cloud/relaysession.h"
#include "connection/connectioncontroller.h"
#include "connection/relaysocket.h"
#include "connection/settings.h"
#include "session/consoleport.h"
#include "session/portsession.h"

#include <QDateTime>
#include <QTimer>

#include <limits>

qint64 RelayController::GuardedPort::writeBytes(const QByteArray &bytes, const QString &peer)
{
    Q_UNUSED(peer)
    return port ? port->relayWrite(bytes) : 0;
}

qint64 RelayController::GuardedPort::pendingBytes() const
{
    return port ? port->relayPendingBytes() : 0;
}

bool RelayController::GuardedPort::isOpen() const
{
    return port && port->session()->portIsOpen();
}

Settings RelayController::GuardedPort::settings() const
{
    return port ? port->session()->settings() : Settings();
}

void RelayController::GuardedPort::applySerialConfig(const QJsonObject &config)
{
    if (!port)
        return;
    QString code;
    QString why;
    if (!port->applyConfig(config, &code, &why))
        port->session()->note(QCoreApplication::translate("RelayController",
                                                          "Live Relay could not change the "
                                                          "port's settings: %1")
                                  .arg(why));
}

void RelayController::GuardedPort::setControlLine(Line line, bool on)
{
    if (!port)
        return;
    switch (line) {
    case Rfc2217ServerSession::Dtr:
        port->setControlLine(ConnectionController::LineDtr, on);
        break;
    case Rfc2217ServerSession::Rts:
        port->setControlLine(ConnectionController::LineRts, on);
        break;
    case Rfc2217ServerSession::Break:
        port->setControlLine(ConnectionController::LineBreak, on);
        break;
    }
}

quint8 RelayController::GuardedPort::modemState() const
{
    return port ? port->modemState() : 0;
}

void RelayController::GuardedPort::setReadThrottled(bool on)
{
    if (port)
        port->setReadThrottled(on);
}

bool RelayController::GuardedPort::supportsThrottle() const
{
    return port && port->supportsThrottle();
}

RelayController::RelayController(ConsolePort *consolePort, QObject *parent)
    : QObject(parent)
    , port(consolePort)
    , key(consolePort->portKey())
    , guarded(consolePort)
    , socket(new RelaySocket(this))
    , session(std::make_unique<RelaySession>(&guarded, socket))
    , timer(new QTimer(this))
{
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, [this] {
        session->tick(now());
        rearm();
    });
    connect(socket, &RelaySocket::paired, this, [this] { Q_EMIT engaged(key); });
    connect(socket, &RelaySocket::noticed, this, &RelayController::noticed);
    connect(socket, &RelaySocket::binaryReceived, this, [this](const QByteArray &bytes) {
        const RelaySession::Outcome out = session->fromCloud(bytes, now());
        if (!out.notice.isEmpty())
            Q_EMIT noticed(out.notice);
        rearm();
    });
    connect(socket, &RelaySocket::stopped, this,
            [this](RelaySocket::Stop, const QString &reason) { stop(reason); });
}

RelayController::~RelayController()
{
    for (const QMetaObject::Connection &link : std::as_const(portLinks))
        disconnect(link);
    socket->disconnect(this);
}

qint64 RelayController::now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

void RelayController::start(const QString &baseUrl, const QString &ticket)
{
    if (endedFlag || !port)
        return;
    PortSession *portSession = port->session();
    portLinks << connect(portSession, &PortSession::rxTapped, this,
                         [this](const QByteArray &bytes) { fromPort(bytes); });
    const auto closedPort = [this] { stop(tr("the shared port was closed")); };
    portLinks << connect(portSession, &PortSession::closed, this, closedPort);
    portLinks << connect(portSession->connectionController(), &ConnectionController::serialPortLost,
                         this, closedPort);
    portLinks << connect(port, &QObject::destroyed, this, closedPort);
    session->start(now());
    socket->open(baseUrl, ticket);
    rearm();
}

void RelayController::fromPort(const QByteArray &bytes)
{
    if (!socket->isOpen())
        return;
    session->fromPort(bytes, now());
    rearm();
}

void RelayController::rearm()
{
    if (endedFlag)
        return;
    const qint64 next = session->nextTimeoutMs(now());
    if (next < 0)
        timer->stop();
    else
        timer->start(int(std::min<qint64>(next, std::numeric_limits<int>::max())));
}

void RelayController::stop(const QString &reason)
{
    if (endedFlag)
        return;
    endedFlag = true;
    for (const QMetaObject::Connection &link : std::as_const(portLinks))
        disconnect(link);
    portLinks.clear();
    timer->stop();
    session->finish(now());
    socket->close();
    if (closePortAtEnd && port && port->session()->portIsOpen())
        port->session()->close();
    Q_EMIT ended(reason);
}
