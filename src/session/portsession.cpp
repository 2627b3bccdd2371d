#include "session/portsession.h"

#include "automation/autoreplyengine.h"
#include "automation/autoreplyrunner.h"
#include "automation/sequencerunner.h"
#include "bridge/rfc2217clientsession.h"
#include "connection/connectioncontroller.h"
#include "recording/sessionrecorder.h"
#include "scripting/scriptengine.h"
#include "transfer/filetransfersession.h"

#include <QHostAddress>
#include <QTimer>

#include <chrono>

namespace {
// Held bytes go back to the queue in pieces of this size, so that no record is huge.
constexpr qsizetype ResumeSlice = 65536;
} // namespace

PortSession::PortSession(QObject *parent)
    : QObject(parent)
    , controller(new ConnectionController(this))
    , autoReplyRunner(new AutoReplyRunner(this))
    , sequenceRunner(new SequenceRunner(this))
    , history(std::make_unique<SessionRecorder>())
    , reconnectTicker(new QTimer(this))
{
    connectController();
    connectRemoteSerial();
    connectTransferEvents();
    reconnectTicker->setInterval(2000);
    connect(reconnectTicker, &QTimer::timeout, this, &PortSession::onReconnectTick);
    autoReplyRunner->setSender([this](const QByteArray &bytes, const QString &peer) {
        return sendAutoReply(bytes, peer);
    });
    sequenceRunner->setSender([this](const QByteArray &bytes) { return sendSequenceBytes(bytes); });
    sequenceRunner->setBacklog(
        [this] { return controller->pendingWriteBytes(portSettings.connMode); });
    sequenceRunner->setStartGuard([this] {
        if (scriptRunningHook && scriptRunningHook()) {
            return SequenceRunner::scriptRunningMessage();
        }
        QString why;
        return mayDisturbPort(TxActor::Sequence, DisturbData, &why) ? QString() : why;
    });
    sequenceRunner->setReportLog(
        &sequenceLog, [this] { return consoleKey(); }, [this] { return describe(); });
}

PortSession::~PortSession()
{
    controller->disconnect(this);
}

qint64 PortSession::wallClockUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

void PortSession::recordNote(const QString &text)
{
    history->recordNote(text, wallClockUs());
}

void PortSession::connectController()
{
    ConnectionController *c = controller;
    connect(c, &ConnectionController::readyRead, this, &PortSession::onReadData);
    connect(c, &ConnectionController::serverMessage, this, &PortSession::handleNewMessage);
    connect(c, &ConnectionController::udpReadyRead, this, &PortSession::readUdpSocket);
    connect(c, &ConnectionController::queuedUdpWritten, this,
            [this](const QByteArray &bytes) { noteTxAccepted(bytes, QString(), false); });
    connect(c, &ConnectionController::errorOccurred, this,
            [this](const QString &text) { lastErrorText = text; });
}

void PortSession::connectRunners()
{
    connect(this, &PortSession::rxTapped, autoReplyRunner, &AutoReplyRunner::ingest);
    connect(this, &PortSession::rxTapped, sequenceRunner, &SequenceRunner::ingest);
}

// ---------------------------------------------------------------------------
// Opening and closing

void PortSession::refuse(const QString &text)
{
    lastErrorText = text;
    Q_EMIT statusMessage(text, 5000);
}

bool PortSession::open(const QString &portName)
{
    lastErrorText.clear();
    stateValue = Running;
    if (!openTransport(portName)) {
        stateValue = Stopped;
        return false;
    }
    return true;
}

bool PortSession::openTransport(const QString &portName)
{
    lastErrorText.clear();
    switch (portSettings.connMode) {
    case ModeSerial: {
        const QString name = portName.isEmpty() ? portSettings.name : portName;
        if (name.isEmpty()) {
            refuse(tr("Choose a serial port or type its path."));
            return false;
        }
        if (!controller->openSerial(portSettings, name, name, false)) {
            return false;
        }
        portSettings.name = name;
        return true;
    }
    case ModeTcpClient:
    case ModeRemoteSerial:
        if (!controller->hasTcpClientSocket()) {
            if (portSettings.targetHost.trimmed().isEmpty()) {
                refuse(tr("Enter the host to connect to."));
                return false;
            }
            if (portSettings.targetPort < 1 || portSettings.targetPort > 65535) {
                refuse(tr("Port %1 cannot be connected to: use 1 to 65535.")
                           .arg(portSettings.targetPort));
                return false;
            }
            portSettings.rememberHost(portSettings.targetHost);
            controller->connectTcpClient(portSettings.targetHost.trimmed(),
                                         quint16(portSettings.targetPort));
            // A connection can fail inside the call (an unreachable address); the error
            // slot has then stopped the port, or armed a reconnect.
            return stateValue != Stopped;
        }
        return true;
    case ModeLiveRelay:
        if (!controller->hasCloudRelay()) {
            if (!relayDialHook) {
                refuse(tr("Live Relay needs a cloud account: sign in first."));
                return false;
            }
            // The socket stands while the ticket is fetched; a failure ends it through
            // cloudRelayEnded, as a relay that stops later does.
            controller->prepareCloudRelay();
            QString error;
            if (!relayDialHook(&error)) {
                controller->teardownCloudRelay();
                refuse(error);
                return false;
            }
            Q_EMIT statusMessage(portSettings.relayInviteCode.isEmpty()
                                     ? tr("Opening the relay to %1...").arg(label())
                                     : tr("Joining with the invite code..."),
                                 5000);
        }
        return true;
    case ModeTcpServer:
        if (portSettings.targetPort < 0 || portSettings.targetPort > 65535) {
            refuse(tr("Port %1 cannot be listened on: use 0 to 65535.").arg(portSettings.targetPort));
            return false;
        }
        controller->listenTcpServer(quint16(portSettings.targetPort), QHostAddress::Any);
        if (!controller->isOpen(ModeTcpServer)) {
            return false;
        }
        portSettings.name = controller->tcpServerAddressString();
        return true;
    case ModeUdpServer:
        return controller->bindUdp(portSettings.udpServerPort);
    case ModeUdpClient:
    case ModeUdpGroup:
        return controller->bindUdp(portSettings.udpLocalPort);
    case ModeReserved:
        break;
    }
    refuse(tr("This connection type is not supported. Choose another one."));
    return false;
}

void PortSession::close()
{
    abortTransfer(true);
    stateValue = Stopped;
    disarmReconnect();
    dropHeld();
    autoReplyRunner->reset();
    stopRuns(int(SequenceRunner::StopReason::ConnectionClosed));
    endRfc2217Session();
    controller->closeAll(portSettings.connMode,
                         portSettings.connMode == ModeSerial ? portSettings.name : label());
    Q_EMIT closed();
}

bool PortSession::portIsOpen() const
{
    return controller->isOpen(portSettings.connMode);
}

bool PortSession::ensureOpen(QString *error)
{
    if (!portIsOpen()) {
        if (reopenHook) {
            reopenHook();
        } else {
            open();
        }
    }
    if (portTakesData()) {
        return true;
    }
    if (error) {
        *error = lastErrorText.isEmpty() ? tr("The port is not open.") : lastErrorText;
    }
    return false;
}

bool PortSession::portTakesData() const
{
    if (portIsOpen()) {
        return true;
    }
    // A connection that fails drops what was kept and stops what runs on the port.
    return connectionModeIsTcpClient(portSettings.connMode) && controller->hasTcpClientSocket() &&
           controller->tcpClientState() != QAbstractSocket::UnconnectedState;
}

// ---------------------------------------------------------------------------
// Names

QString PortSession::consoleKey() const
{
    return QStringLiteral("%1-%2")
        .arg(connectionModePrefix(portSettings.connMode))
        .arg(portNumberValue);
}

QString PortSession::label() const
{
    const Settings &s = portSettings;
    switch (s.connMode) {
    case ModeSerial:
        return s.name;
    case ModeTcpServer:
        return QStringLiteral(":%1").arg(s.targetPort);
    case ModeTcpClient:
    case ModeUdpClient:
        return QStringLiteral("%1:%2").arg(s.targetHost).arg(s.targetPort);
    case ModeUdpServer:
        return QStringLiteral(":%1").arg(s.udpServerPort);
    case ModeUdpGroup:
        return QStringLiteral(":%1").arg(s.udpLocalPort);
    case ModeRemoteSerial:
    case ModeLiveRelay:
        return remoteSerialPortLabel(s);
    case ModeReserved:
        break;
    }
    return QString();
}

QString PortSession::describe() const
{
    const Settings &s = portSettings;
    QString endpoint;
    switch (s.connMode) {
    case ModeSerial:
        endpoint =
            QStringLiteral("serial %1 %2 %3 %4 %5 flow %6")
                .arg(s.name)
                .arg(s.baudRate)
                .arg(s.stringDataBits, s.stringParity, s.stringStopBits, s.stringFlowControl);
        break;
    case ModeTcpServer:
        endpoint = QStringLiteral("tcp-server :%1").arg(s.targetPort);
        break;
    case ModeUdpServer:
        endpoint = QStringLiteral("udp-server :%1").arg(s.udpServerPort);
        break;
    case ModeTcpClient:
    case ModeUdpClient:
    case ModeUdpGroup:
    case ModeRemoteSerial:
    case ModeLiveRelay:
        endpoint = connectionModeTransportWord(s.connMode) + QLatin1Char(' ') + label();
        break;
    case ModeReserved:
        return QString();
    }
    return endpoint + QStringLiteral(", ") +
           (formatValue.receiveMsgFormat == TextFormat ? QStringLiteral("text")
                                                       : QStringLiteral("hex"));
}

QStringList PortSession::connectedPeers() const
{
    if (portSettings.connMode == ModeTcpServer) {
        return controller->tcpServerPeers();
    }
    if (connectionModeIsUdp(portSettings.connMode)) {
        QStringList keys;
        for (int row = 0; row < controller->udpPeerList().size(); ++row) {
            keys.append(controller->udpPeerKeyAt(row));
        }
        return keys;
    }
    return QStringList();
}

// ---------------------------------------------------------------------------
// The received road

void PortSession::onReadData()
{
    QByteArray bytes = controller->readAvailable(portSettings.connMode);
    if (connectionModeIsRemoteSerial(portSettings.connMode)) {
        bytes = ingestRfc2217(bytes);
    }
    ingestRx(bytes, true, QString());
}

void PortSession::handleNewMessage(const QString &peer)
{
    ingestRx(controller->serverMessageFor(peer), false, peer);
}

void PortSession::readUdpSocket()
{
    const QList<ConnectionController::UdpDatagram> datagrams = controller->readUdpDatagrams();
    for (const ConnectionController::UdpDatagram &datagram : datagrams) {
        ingestRx(datagram.bytes, false, datagram.peerKey);
    }
}

void PortSession::ingestRx(const QByteArray &bytes, bool pausable, const QString &peer)
{
    if (bytes.isEmpty()) {
        return;
    }
    if (activeTransfer && transferRunning() && activeTransfer->ownsPeer(peer)) {
        takeTransferBytes(bytes); // a transfer's bytes are its own: no tap, no view
        return;
    }
    history->recordRx(bytes, peer, wallClockUs());
    Q_EMIT rxTapped(bytes, peer);

    if (pausable && stateValue == Paused) {
        rxBytes += bytes.size();
        pausedBytes.append({QDateTime::currentDateTime(), bytes});
        pausedSize += bytes.size();
        // The newest bytes up to the buffer size stay; the oldest go first.
        const qsizetype limit = std::max<qsizetype>(0, formatValue.displayBufferSize);
        while (pausedSize > limit) {
            HeldBytes &oldest = pausedBytes.first();
            const qsizetype drop = std::min(oldest.bytes.size(), pausedSize - limit);
            pausedSize -= drop;
            if (drop == oldest.bytes.size()) {
                pausedBytes.removeFirst();
            } else {
                oldest.bytes.remove(0, drop);
            }
        }
        Q_EMIT rxHeld();
        return;
    }
    pushByteArray(bytes, true, Received, peer);
}

void PortSession::releaseHeld()
{
    const QList<HeldBytes> held = std::exchange(pausedBytes, {});
    pausedSize = 0;
    for (const HeldBytes &piece : held) {
        for (qsizetype at = 0; at < piece.bytes.size(); at += ResumeSlice) {
            pushByteArray(piece.bytes.mid(at, ResumeSlice), false, Received, QString(), piece.time);
        }
    }
}

void PortSession::dropHeld()
{
    pausedBytes.clear();
    pausedSize = 0;
}

void PortSession::resetEscapeFilter(bool eightBitControls)
{
    ansiFilter.reset();
    ansiFilter.setEightBitControls(eightBitControls);
}

void PortSession::pushByteArray(const QByteArray &bytes, bool count, RXorTx direction,
                                const QString &peer, const QDateTime &time)
{
    if (bytes.isEmpty()) {
        return;
    }
    QByteArray data = bytes;
    if (direction == Received) {
        if (formatValue.receiveMsgFormat == TextFormat) {
            data = ansiFilter.process(bytes);
        }
        if (count) {
            rxBytes += bytes.size();
        }
        Q_EMIT rxQueued(data);
        if (data.isEmpty()) {
            return;
        }
    } else if (count) {
        rxBytes += bytes.size();
    }
    const bool wasEmpty = rxDataList.isEmpty();
    displayBacklogBytes += data.size();
    // Small reads (a serial line delivers a few bytes at a time) join the record before
    // them while neither time stamps nor idle gaps can tell them apart, so the view lays
    // out a few records per tick rather than thousands. Sent blocks never join: each is
    // one send, shown (and logged) on a line of its own.
    if (direction == Received && !wasEmpty && !formatValue.displayMsgTime &&
        !formatValue.rxAutoFeedLine) {
        rxData &last = rxDataList.last();
        if (last.direction == direction && last.peer == peer && !last.isLocalEcho &&
            last.data.size() + data.size() <= MergeRecordsBelow) {
            last.data += data;
            last.raw += bytes;
            return;
        }
    }
    rxData record;
    record.time = time.isValid() ? time : QDateTime::currentDateTime();
    record.direction = direction;
    record.data = data;
    record.raw = bytes;
    record.peer = peer;
    rxDataList.append(std::move(record));
    if (wasEmpty) {
        Q_EMIT displayQueued();
    }
}

void PortSession::queueLocalEcho(const QByteArray &bytes)
{
    const bool wasEmpty = rxDataList.isEmpty();
    rxData record;
    record.time = QDateTime::currentDateTime();
    record.direction = Sent;
    record.data = bytes;
    record.raw = bytes;
    record.isLocalEcho = true;
    displayBacklogBytes += record.data.size();
    rxDataList.append(std::move(record));
    if (wasEmpty) {
        Q_EMIT displayQueued();
    }
}

rxData PortSession::takeDisplayPiece(qint64 limit)
{
    rxData &front = rxDataList.first();
    const qint64 left = front.data.size() - frontOffset;
    const bool rawMatches = front.raw.size() == front.data.size();
    if (limit < 0 || left <= limit) {
        rxData record = rxDataList.takeFirst();
        if (frontOffset > 0) {
            record.data = record.data.mid(frontOffset);
            record.raw = rawMatches ? record.raw.mid(frontOffset) : QByteArray();
        }
        frontOffset = 0;
        displayBacklogBytes -= record.data.size();
        return record;
    }
    // Only the piece is copied; the rest of the record stays where it is.
    rxData piece;
    piece.time = front.time;
    piece.direction = front.direction;
    piece.isLocalEcho = front.isLocalEcho;
    piece.peer = front.peer;
    piece.data = front.data.mid(frontOffset, limit);
    // Filtered text has no byte-for-byte raw: the first piece carries all of it.
    piece.raw = rawMatches ? front.raw.mid(frontOffset, limit)
                           : (frontOffset == 0 ? front.raw : QByteArray());
    frontOffset += limit;
    displayBacklogBytes -= piece.data.size();
    return piece;
}
