#include "connection/connectioncontroller.h"

#include "common/logging.h"
#include "connection/multiclientserver.h"
#include "connection/relaysocket.h"

#include <QHostInfo>
#include <QLoggingCategory>
#include <QMetaEnum>
#include <QNetworkDatagram>
#include <QSerialPort>
#include <QTcpSocket>
#include <QUdpSocket>


namespace {
constexpr qint64 ThrottledReadBuffer = 4096;
const char ConnectedOnceProperty[] = "vlmConnectedOnce";

QSerialPort::Parity toParity(int value)
{
    switch (value) {
    case 2:
        return QSerialPort::EvenParity;
    case 3:
        return QSerialPort::OddParity;
    case 4:
        return QSerialPort::SpaceParity;
    case 5:
        return QSerialPort::MarkParity;
    default:
        return QSerialPort::NoParity;
    }
}

QSerialPort::StopBits toStopBits(int value)
{
    switch (value) {
    case 2:
        return QSerialPort::TwoStop;
    case 3:
        return QSerialPort::OneAndHalfStop;
    default:
        return QSerialPort::OneStop;
    }
}

QSerialPort::FlowControl toFlowControl(int value)
{
    switch (value) {
    case 1:
        return QSerialPort::HardwareControl;
    case 2:
        return QSerialPort::SoftwareControl;
    default:
        return QSerialPort::NoFlowControl;
    }
}

QSerialPort::DataBits toDataBits(int value)
{
    switch (value) {
    case 5:
        return QSerialPort::Data5;
    case 6:
        return QSerialPort::Data6;
    case 7:
        return QSerialPort::Data7;
    default:
        return QSerialPort::Data8;
    }
}
} // namespace

ConnectionController::ConnectionController(QObject *parent)
    : QObject(parent)
    , serialPort(new QSerialPort(this))
{
    serialPort->setPortName(QStringLiteral("COM1"));
    connect(serialPort, &QSerialPort::readyRead, this, &ConnectionController::readyRead);
    connect(serialPort, &QSerialPort::bytesWritten, this, &ConnectionController::bytesWritten);
    connect(serialPort, &QSerialPort::errorOccurred, this,
            [this](QSerialPort::SerialPortError error) { onSerialError(int(error)); });
}

ConnectionController::~ConnectionController()
{
    // Sockets die with us; none of their last signals may reach a half-destroyed session.
    if (tcpSocket) {
        tcpSocket->disconnect(this);
    }
    if (relaySocket) {
        relaySocket->disconnect(this);
    }
    if (tcpServer) {
        tcpServer->disconnect(this);
    }
    serialPort->disconnect(this);
}

template <typename Enum>
QString ConnectionController::errorName(Enum error)
{
    return QString::fromLatin1(QMetaEnum::fromType<Enum>().valueToKey(int(error)));
}

bool ConnectionController::isOpen(connectionMode mode) const
{
    switch (mode) {
    case ModeSerial:
        return serialPort->isOpen();
    case ModeTcpServer:
        return tcpServer && tcpServer->isListening();
    case ModeTcpClient:
    case ModeRemoteSerial:
        return tcpSocket && tcpSocket->state() == QAbstractSocket::ConnectedState;
    case ModeUdpServer:
    case ModeUdpClient:
    case ModeUdpGroup:
        return udpSocket && udpSocket->state() == QAbstractSocket::BoundState;
    case ModeLiveRelay:
        return relaySocket && relayPaired;
    case ModeReserved:
        break;
    }
    return false;
}

QString ConnectionController::serialDeviceName() const
{
    return serialPort->portName();
}

// ---------------------------------------------------------------------------
// Serial port

bool ConnectionController::openSerial(const Settings &settings, const QString &name,
                                      const QString &displayName, bool quiet)
{
    serialPort->setPortName(name.isEmpty() ? settings.name : name);
    if (serialPort->isOpen()) {
        return true;
    }
    if (!serialPort->open(QIODevice::ReadWrite)) {
        const QString text =
            tr("Serial Port %1 OPEN FAILED! ERROR: ").arg(displayName) + serialPort->errorString();
        lastErrorName = errorName(serialPort->error());
        serialPort->clearError();
        if (!quiet) {
            Q_EMIT errorOccurred(text);
            Q_EMIT statusMessage(text, 5000);
        }
        return false;
    }
    serialPort->setBaudRate(settings.baudRate, QSerialPort::AllDirections);
    serialPort->setDataBits(toDataBits(settings.dataBits));
    serialPort->setParity(toParity(settings.parity));
    serialPort->setStopBits(toStopBits(settings.stopBits));
    serialPort->setFlowControl(toFlowControl(settings.flowControl));
    serialPort->clearError();

    breakActive = false;
    controlLinesSupported = true;
    applySerialLine(LineBreak, false, false);
    Q_EMIT statusMessage(tr("Serial Port %1 OPEN SUCCESS").arg(displayName), 1000);

    applyLineAtOpen(LineDtr, requestedDtr);
    if (serialPort->flowControl() != QSerialPort::HardwareControl) {
        applyLineAtOpen(LineRts, requestedRts);
    }
    return true;
}

bool ConnectionController::sendSerial(const QByteArray &bytes, const Settings &settings,
                                      const QString &name)
{
    if (!serialPort->isOpen()) {
        if (!openSerial(settings, name, name.isEmpty() ? settings.name : name, false)) {
            return false;
        }
    } else if (!name.isEmpty() && serialPort->portName() != name) {
        serialPort->setPortName(name);
    }
    if (serialPort->write(bytes) != bytes.size()) {
        qCWarning(lcTerminal) << "Send message failed!" << serialPort->error()
                                << serialPort->errorString();
        serialPort->clearError();
        return false;
    }
    return true;
}

bool ConnectionController::applySerialParams(const Settings &settings, QString *error)
{
    if (!serialPort->isOpen()) {
        if (error) {
            *error = tr("the port is not open");
        }
        return false;
    }
    const qint32 oldBaud = serialPort->baudRate();
    const QSerialPort::DataBits oldData = serialPort->dataBits();
    const QSerialPort::Parity oldParity = serialPort->parity();
    const QSerialPort::StopBits oldStop = serialPort->stopBits();
    const QSerialPort::FlowControl oldFlow = serialPort->flowControl();

    QString refused;
    if (settings.baudRate != oldBaud &&
        !serialPort->setBaudRate(settings.baudRate, QSerialPort::AllDirections)) {
        refused = tr("baud rate %1").arg(settings.baudRate);
    } else if (toDataBits(settings.dataBits) != oldData &&
               !serialPort->setDataBits(toDataBits(settings.dataBits))) {
        refused = tr("%1 data bits").arg(settings.dataBits);
    } else if (toParity(settings.parity) != oldParity &&
               !serialPort->setParity(toParity(settings.parity))) {
        refused = tr("parity");
    } else if (toStopBits(settings.stopBits) != oldStop &&
               !serialPort->setStopBits(toStopBits(settings.stopBits))) {
        refused = tr("stop bits");
    } else if (toFlowControl(settings.flowControl) != oldFlow &&
               !serialPort->setFlowControl(toFlowControl(settings.flowControl))) {
        refused = tr("flow control");
    }
    if (!refused.isEmpty()) {
        if (error) {
            *error = tr("%1 was refused by the driver: %2").arg(refused, serialPort->errorString());
        }
        serialPort->clearError();
        serialPort->setBaudRate(oldBaud, QSerialPort::AllDirections);
        serialPort->setDataBits(oldData);
        serialPort->setParity(oldParity);
        serialPort->setStopBits(oldStop);
        serialPort->setFlowControl(oldFlow);
        serialPort->clearError();
        return false;
    }
    if (oldFlow == QSerialPort::HardwareControl &&
        serialPort->flowControl() != QSerialPort::HardwareControl) {
        applySerialLine(LineRts, requestedRts, controlLinesSupported);
    }
    return true;
}

bool ConnectionController::setSerialLine(SerialLine line, bool on)
{
    switch (line) {
    case LineDtr:
        requestedDtr = on;
        return serialPort->isOpen() ? applySerialLine(line, on, true) : true;
    case LineRts:
        requestedRts = on;
        return serialPort->isOpen() ? applySerialLine(line, on, true) : true;
    case LineBreak:
        if (!serialPort->isOpen()) {
            if (on) {
                Q_EMIT statusMessage(tr("Open the serial port before sending Break"), 3000);
                return false;
            }
            breakActive = false;
            return true;
        }
        if (applySerialLine(line, on, true)) {
            breakActive = on;
            return true;
        }
        return false;
    }
    return false;
}

void ConnectionController::applyLineAtOpen(SerialLine line, bool on)
{
    // A port without modem lines (a pseudo-terminal, say) is a working port: the
    // refusal is remembered, not reported at every open. Other failures are told.
    QString why;
    if (!setLineHardware(line, on, &why) && controlLinesSupported) {
        Q_EMIT statusMessage(tr("Failed to set %1: %2").arg(lineName(line), why), 3000);
    }
}

QString ConnectionController::lineName(SerialLine line)
{
    switch (line) {
    case LineDtr:
        return QStringLiteral("DTR");
    case LineRts:
        return QStringLiteral("RTS");
    case LineBreak:
        return QStringLiteral("Break");
    }
    return QString();
}

bool ConnectionController::setLineHardware(SerialLine line, bool on, QString *why)
{
    bool ok = false;
    switch (line) {
    case LineDtr:
        ok = serialPort->setDataTerminalReady(on);
        break;
    case LineRts:
        ok = serialPort->setRequestToSend(on);
        break;
    case LineBreak:
        ok = serialPort->setBreakEnabled(on);
        break;
    }
    if (!ok) {
        if (serialPort->error() == QSerialPort::UnsupportedOperationError) {
            controlLinesSupported = false;
        }
        if (why) {
            *why = serialPort->errorString();
        }
        serialPort->clearError();
    }
    return ok;
}

bool ConnectionController::applySerialLine(SerialLine line, bool on, bool report)
{
    if (line == LineRts && serialPort->flowControl() == QSerialPort::HardwareControl) {
        if (report) {
            Q_EMIT statusMessage(tr("RTS is managed automatically by RTS/CTS flow control"), 3000);
        }
        return false;
    }
    QString why;
    const bool ok = setLineHardware(line, on, &why);
    if (!ok && report) {
        Q_EMIT statusMessage(tr("Failed to set %1: %2").arg(lineName(line), why), 3000);
    }
    return ok;
}

bool ConnectionController::serialLineRequested(SerialLine line) const
{
    switch (line) {
    case LineDtr:
        return requestedDtr;
    case LineRts:
        return requestedRts;
    case LineBreak:
        return breakActive;
    }
    return false;
}

void ConnectionController::onSerialError(int error)
{
    if (error != QSerialPort::ResourceError || !serialPort->isOpen() || !autoReconnect) {
        return;
    }
    breakActive = false;
    serialPort->close();
    serialPort->clearError();
    Q_EMIT statusMessage(tr("Serial Port %1 DISCONNECTED").arg(serialDeviceName()), 5000);
    Q_EMIT serialPortLost();
}

// ---------------------------------------------------------------------------
// TCP client

void ConnectionController::connectTcpClient(const QString &host, quint16 port)
{
    if (tcpSocket) {
        return;
    }
    tcpSocket = new QTcpSocket(this);
    tcpLastRead.clear();
    QTcpSocket *socket = tcpSocket;
    connect(socket, &QTcpSocket::connected, this, &ConnectionController::onTcpClientConnected);
    connect(socket, &QTcpSocket::connected, this, [this] { Q_EMIT peerArrived(QString()); });
    connect(socket, &QTcpSocket::readyRead, this, &ConnectionController::readyRead);
    connect(socket, &QTcpSocket::bytesWritten, this, &ConnectionController::bytesWritten);
    connect(socket, &QTcpSocket::disconnected, this,
            &ConnectionController::onTcpClientDisconnected);
    connect(socket, &QTcpSocket::errorOccurred, this, &ConnectionController::onTcpClientError);
    tuneTcpSocket(socket);
    socket->connectToHost(host, port, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

QAbstractSocket::SocketState ConnectionController::tcpClientState() const
{
    return tcpSocket ? tcpSocket->state() : QAbstractSocket::UnconnectedState;
}

bool ConnectionController::sendTcpClient(const QByteArray &bytes)
{
    if (bytes.isEmpty() || !tcpSocket) {
        return false;
    }
    if (tcpSocket->state() != QAbstractSocket::ConnectedState) {
        // Kept until the connection is up, dropped if it fails.
        tcpPendingSend.append(bytes);
        return true;
    }
    if (!tcpPendingSend.isEmpty()) {
        const QByteArray pending = std::exchange(tcpPendingSend, QByteArray());
        tcpSocket->write(pending);
    }
    return tcpSocket->write(bytes) == bytes.size();
}

void ConnectionController::onTcpClientConnected()
{
    if (!tcpSocket) {
        return;
    }
    tcpSocket->setProperty(ConnectedOnceProperty, true);
    if (!tcpPendingSend.isEmpty()) {
        tcpSocket->write(std::exchange(tcpPendingSend, QByteArray()));
    }
}

void ConnectionController::onTcpClientError(QAbstractSocket::SocketError error)
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket || socket != tcpSocket) {
        return;
    }
    if (socket->property(ConnectedOnceProperty).toBool()) {
        // A drop of an established connection: `disconnected` follows and is what ends
        // it, so the socket stays until then (released here, its last bytes and the
        // disconnect would be lost). The error is still told, and kept as the last one.
        const QString text = tr("TCP connection error: %1").arg(socket->errorString());
        lastErrorName = errorName(error);
        Q_EMIT errorOccurred(text);
        if (error != QAbstractSocket::RemoteHostClosedError) {
            Q_EMIT statusMessage(text, 5000);
        }
        return;
    }
    const QString text = tr("TCP connect FAILED: %1").arg(socket->errorString());
    lastErrorName = errorName(error);
    releaseTcpClient(false);
    Q_EMIT errorOccurred(text);
    Q_EMIT statusMessage(text, 5000);
}

void ConnectionController::onTcpClientDisconnected()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket || socket != tcpSocket) {
        return;
    }
    // What the socket still holds (reading was throttled, say) is read once more before
    // the socket goes: no later notification can come for it.
    if (socket->bytesAvailable() > 0) {
        tcpLastRead += socket->readAll();
        Q_EMIT readyRead();
        if (socket != tcpSocket) {
            return; // the reader closed the connection
        }
    }
    releaseTcpClient(true);
}

void ConnectionController::releaseTcpClient(bool raiseDisconnected)
{
    QTcpSocket *socket = std::exchange(tcpSocket, nullptr);
    tcpPendingSend.clear();
    if (!socket) {
        return;
    }
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
    if (raiseDisconnected) {
        Q_EMIT tcpClientDisconnected();
    }
}

void ConnectionController::teardownTcpClient()
{
    releaseTcpClient(false);
}

void ConnectionController::tuneTcpSocket(QTcpSocket *socket) const
{
    if (bridgeSocketTuning) {
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    }
    socket->setReadBufferSize(readThrottled ? ThrottledReadBuffer : 0);
}

// ---------------------------------------------------------------------------
// TCP server

bool ConnectionController::listenTcpServer(quint16 port, const QHostAddress &address)
{
    if (!tcpServer) {
        tcpServer = new MultiClientServer(this);
        connect(tcpServer, &MultiClientServer::connectionStateChange, this,
                &ConnectionController::serverConnectionsChanged);
        connect(tcpServer, &MultiClientServer::newMessage, this,
                &ConnectionController::serverMessage);
        connect(tcpServer, &MultiClientServer::clientGone, this, &ConnectionController::peerLost);
        connect(tcpServer, &MultiClientServer::clientArrived, this,
                &ConnectionController::peerArrived);
        connect(tcpServer, &MultiClientServer::bytesWritten, this,
                &ConnectionController::bytesWritten);
        connect(tcpServer, &MultiClientServer::connectionRefused, this,
                [this](const QString &peer, const QString &reason) {
                    Q_EMIT statusMessage(tr("Refused %1: %2").arg(peer, reason), 5000);
                });
    }
    tcpServer->stop();
    tcpServer->setBridgeSocketTuning(bridgeSocketTuning);
    tcpServer->setReadThrottled(readThrottled);
    tcpServer->setFanoutMode(fanoutMode);
    tcpServer->setAllowedPeers(allowedPeers);
    if (!tcpServer->start(port, address)) {
        const QString text =
            tr("TCP server listen on port %1 FAILED: %2").arg(port).arg(tcpServer->errorString());
        lastErrorName.clear();
        Q_EMIT errorOccurred(text);
        Q_EMIT statusMessage(text, 5000);
        return false;
    }
    return true;
}

bool ConnectionController::sendTcpServer(const QByteArray &bytes, int row)
{
    if (!tcpServer || tcpServer->clientCount() == 0) {
        return false;
    }
    if (row < 0 || row >= tcpServer->clientCount()) {
        row = 0;
    }
    return tcpServer->writeTo(tcpServer->keyAt(row), bytes);
}

bool ConnectionController::sendTcpServerTo(const QString &peerKey, const QByteArray &bytes)
{
    return tcpServer && tcpServer->writeTo(peerKey, bytes);
}

qint64 ConnectionController::broadcastTcpServer(const QByteArray &bytes)
{
    return tcpServer ? tcpServer->broadcast(bytes) : -1;
}

QByteArray ConnectionController::serverMessageFor(const QString &peerKey)
{
    return tcpServer ? tcpServer->takeMessage(peerKey) : QByteArray();
}

QString ConnectionController::tcpServerPeerAt(int row) const
{
    return tcpServer ? tcpServer->keyAt(row) : QString();
}

QStringList ConnectionController::tcpServerPeers() const
{
    return tcpServer ? tcpServer->clientKeys() : QStringList();
}

int ConnectionController::tcpServerClientCount() const
{
    return tcpServer ? tcpServer->clientCount() : 0;
}

QString ConnectionController::tcpServerAddressString() const
{
    if (!tcpServer || !tcpServer->isListening()) {
        return QString();
    }
    QHostAddress address = tcpServer->serverAddress();
    if (address == QHostAddress::Any || address == QHostAddress::AnyIPv6) {
        address = QHostAddress(QHostAddress::AnyIPv4);
    }
    return QStringLiteral("%1:%2").arg(address.toString()).arg(tcpServer->serverPort());
}

void ConnectionController::setTcpServerFanout(FanoutMode mode)
{
    fanoutMode = mode;
    if (tcpServer) {
        tcpServer->setFanoutMode(mode);
    }
}

void ConnectionController::setAllowedPeers(const QStringList &list)
{
    allowedPeers = list;
    if (tcpServer) {
        tcpServer->setAllowedPeers(list);
    }
}

// ---------------------------------------------------------------------------
// UDP

bool ConnectionController::bindUdp(quint16 port)
{
    if (udpSocket) {
        udpSocket->disconnect(this);
        udpSocket->abort();
        udpSocket->deleteLater();
        udpSocket = nullptr;
    }
    clearUdpPeers();
    forgetUdpHosts();
    udpSocket = new QUdpSocket(this);
    connect(udpSocket, &QUdpSocket::readyRead, this, &ConnectionController::udpReadyRead);
    if (!udpSocket->bind(QHostAddress::AnyIPv4, port,
                         QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint)) {
        const QString text =
            tr("UDP bind to port %1 FAILED: %2").arg(port).arg(udpSocket->errorString());
        lastErrorName = errorName(udpSocket->error());
        Q_EMIT errorOccurred(text);
        Q_EMIT statusMessage(text, 5000);
        return false;
    }
    return true;
}

quint16 ConnectionController::udpBoundPort() const
{
    return udpSocket ? udpSocket->localPort() : 0;
}

QList<ConnectionController::UdpDatagram> ConnectionController::readUdpDatagrams()
{
    QList<UdpDatagram> out;
    if (!udpSocket) {
        return out;
    }
    while (udpSocket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = udpSocket->receiveDatagram();
        if (!datagram.isValid()) {
            break;
        }
        const QHostAddress address = datagram.senderAddress();
        const auto port = quint16(datagram.senderPort());
        const QByteArray bytes = datagram.data();
        upsertUdpPeer(address, port, bytes);
        out.append({bytes, udpPeerKey(address, port)});
    }
    return out;
}

void ConnectionController::upsertUdpPeer(const QHostAddress &address, quint16 port,
                                         const QByteArray &bytes)
{
    const QString key = udpPeerKey(address, port);
    const auto it = udpPeerIndex.constFind(key);
    if (it != udpPeerIndex.constEnd()) {
        UdpPeer &peer = udpPeers[it.value()];
        peer.lastDatagram = bytes;
        peer.lastTime = QDateTime::currentDateTime();
        lastUdpSender = it.value();
        return;
    }
    udpPeers.append({address, port, bytes, QDateTime::currentDateTime()});
    lastUdpSender = int(udpPeers.size()) - 1;
    udpPeerIndex.insert(key, lastUdpSender);
    Q_EMIT udpPeersChanged();
}

QString ConnectionController::udpPeerKey(const QHostAddress &address, quint16 port)
{
    return MultiClientServer::peerKeyFor(address, port);
}

bool ConnectionController::writeUdp(const QByteArray &bytes, const QHostAddress &address,
                                    quint16 port)
{
    if (!udpSocket || udpSocket->state() != QAbstractSocket::BoundState) {
        return false;
    }
    const qint64 written = udpSocket->writeDatagram(bytes, address, port);
    if (written != bytes.size()) {
        qCWarning(lcTerminal) << "Send message failed!" << udpSocket->error()
                                << udpSocket->errorString();
        return false;
    }
    return true;
}

bool ConnectionController::sendUdp(const QByteArray &bytes, const QString &host, quint16 port,
                                   bool *queued)
{
    if (queued) {
        *queued = false;
    }
    if (bytes.isEmpty() || !udpSocket || udpSocket->state() != QAbstractSocket::BoundState) {
        return false;
    }
    const QString name = host.trimmed();
    QHostAddress address;
    if (address.setAddress(name)) {
        return writeUdp(bytes, address, port);
    }
    if (name.isEmpty()) {
        return false;
    }
    const auto cached = udpResolvedHosts.constFind(name);
    if (cached != udpResolvedHosts.constEnd()) {
        return writeUdp(bytes, cached.value(), port);
    }
    const bool lookupRunning = udpPendingByHost.contains(name);
    udpPendingByHost[name].append({bytes, port, queued != nullptr});
    if (queued) {
        *queued = true;
    }
    if (!lookupRunning) {
        const quint64 generation = udpHostGeneration;
        QHostInfo::lookupHost(name, this, [this, name, generation](const QHostInfo &info) {
            if (generation == udpHostGeneration) {
                onUdpHostResolved(name, info);
            }
        });
    }
    return true;
}

void ConnectionController::forgetUdpHosts()
{
    // Names are resolved again for each open, so a host that moved is found; answers
    // to lookups of an earlier open are ignored.
    ++udpHostGeneration;
    udpResolvedHosts.clear();
    udpPendingByHost.clear();
}

void ConnectionController::onUdpHostResolved(const QString &host, const QHostInfo &info)
{
    const QList<PendingDatagram> pending = udpPendingByHost.take(host);
    QHostAddress chosen;
    for (const QHostAddress &address : info.addresses()) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol) {
            chosen = address;
            break;
        }
    }
    if (chosen.isNull()) {
        const QString text =
            tr("UDP host %1 could not be resolved: %2")
                .arg(host, info.error() == QHostInfo::NoError ? tr("it has no IPv4 address")
                                                              : info.errorString());
        lastErrorName.clear();
        Q_EMIT errorOccurred(text);
        Q_EMIT statusMessage(text, 5000);
        return;
    }
    udpResolvedHosts.insert(host, chosen);
    for (const PendingDatagram &datagram : pending) {
        if (writeUdp(datagram.bytes, chosen, datagram.port) && datagram.report) {
            Q_EMIT queuedUdpWritten(datagram.bytes);
        }
    }
}

bool ConnectionController::sendUdpToPeer(const QByteArray &bytes, int row)
{
    if (udpPeers.isEmpty()) {
        Q_EMIT statusMessage(tr("No UDP peer to reply to yet"), 3000);
        return false;
    }
    if (row < 0 || row >= udpPeers.size()) {
        row = 0;
    }
    const UdpPeer &peer = udpPeers.at(row);
    return writeUdp(bytes, peer.address, peer.port);
}

bool ConnectionController::sendUdpToPeerKey(const QString &key, const QByteArray &bytes)
{
    const auto it = udpPeerIndex.constFind(key);
    if (it == udpPeerIndex.constEnd()) {
        return false;
    }
    const UdpPeer &peer = udpPeers.at(it.value());
    return writeUdp(bytes, peer.address, peer.port);
}

bool ConnectionController::sendUdpToLastSender(const QByteArray &bytes)
{
    if (lastUdpSender < 0 || lastUdpSender >= udpPeers.size()) {
        return false;
    }
    const UdpPeer &peer = udpPeers.at(lastUdpSender);
    return writeUdp(bytes, peer.address, peer.port);
}

qint64 ConnectionController::broadcastUdp(const QByteArray &bytes)
{
    qint64 largest = -1;
    for (const UdpPeer &peer : std::as_const(udpPeers)) {
        if (writeUdp(bytes, peer.address, peer.port)) {
            largest = std::max<qint64>(largest, bytes.size());
        }
    }
    return largest;
}

QString ConnectionController::udpLastSenderKey() const
{
    return udpPeerKeyAt(lastUdpSender);
}

QString ConnectionController::udpPeerKeyAt(int row) const
{
    if (row < 0 || row >= udpPeers.size()) {
        return QString();
    }
    return udpPeerKey(udpPeers.at(row).address, udpPeers.at(row).port);
}

QByteArray ConnectionController::udpMessageFor(int row) const
{
    if (row < 0 || row >= udpPeers.size()) {
        return QByteArray();
    }
    return udpPeers.at(row).lastDatagram;
}

void ConnectionController::clearUdpPeers()
{
    udpPeers.clear();
    udpPeerIndex.clear();
    lastUdpSender = -1;
}

// ---------------------------------------------------------------------------
// Live Relay

void ConnectionController::prepareCloudRelay()
{
    if (relaySocket) {
        return;
    }
    relaySocket = new RelaySocket(this);
    relayInbox.clear();
    relayPaired = false;
    RelaySocket *socket = relaySocket;
    connect(socket, &RelaySocket::paired, this, [this] {
        relayPaired = true;
        Q_EMIT peerArrived(QString());
    });
    connect(socket, &RelaySocket::binaryReceived, this, [this](const QByteArray &bytes) {
        relayInbox.append(bytes);
        Q_EMIT readyRead();
    });
    connect(socket, &RelaySocket::noticed, this,
            [this](const QString &text) { Q_EMIT statusMessage(text, 8000); });
    connect(socket, &RelaySocket::stopped, this, [this](RelaySocket::Stop, const QString &reason) {
        releaseRelay();
        Q_EMIT cloudRelayEnded(reason);
    });
}

void ConnectionController::connectCloudRelay(const QString &url, const QString &ticket)
{
    prepareCloudRelay();
    relaySocket->open(url, ticket);
}

bool ConnectionController::cloudRelayDialling() const
{
    return relaySocket && !relaySocket->isOpened();
}

void ConnectionController::abortCloudRelay(const QString &reason)
{
    if (!relaySocket) {
        return;
    }
    releaseRelay();
    Q_EMIT cloudRelayEnded(reason);
}

bool ConnectionController::sendCloudRelay(const QByteArray &bytes)
{
    if (bytes.isEmpty() || !relaySocket) {
        return false;
    }
    return relaySocket->sendBinary(bytes) > 0;
}

void ConnectionController::teardownCloudRelay()
{
    releaseRelay();
}

void ConnectionController::releaseRelay()
{
    RelaySocket *socket = std::exchange(relaySocket, nullptr);
    relayInbox.clear();
    relayPaired = false;
    if (!socket) {
        return;
    }
    socket->disconnect(this);
    socket->close();
    socket->deleteLater();
}

// ---------------------------------------------------------------------------
// Shared operations

bool ConnectionController::sendRemoteSerialControl(connectionMode mode, const QByteArray &bytes)
{
    if (connectionModeIsTcpClient(mode)) {
        return sendTcpClient(bytes);
    }
    if (mode == ModeLiveRelay) {
        return sendCloudRelay(bytes);
    }
    return false;
}

QByteArray ConnectionController::readAvailable(connectionMode mode)
{
    if (connectionModeIsTcpClient(mode) && !tcpLastRead.isEmpty()) {
        return std::exchange(tcpLastRead, QByteArray());
    }
    if (readThrottled) {
        return QByteArray();
    }
    switch (mode) {
    case ModeSerial:
        return serialPort->isOpen() ? serialPort->readAll() : QByteArray();
    case ModeTcpClient:
    case ModeRemoteSerial:
        return tcpSocket ? tcpSocket->readAll() : QByteArray();
    case ModeLiveRelay:
        return std::exchange(relayInbox, QByteArray());
    default:
        return QByteArray();
    }
}

qint64 ConnectionController::pendingWriteBytes(connectionMode mode) const
{
    switch (mode) {
    case ModeSerial:
        return serialPort->isOpen() ? serialPort->bytesToWrite() : 0;
    case ModeTcpServer:
        return tcpServer ? tcpServer->largestPendingWrite() : 0;
    case ModeTcpClient:
    case ModeRemoteSerial:
        return (tcpSocket ? tcpSocket->bytesToWrite() : 0) + tcpPendingSend.size();
    case ModeLiveRelay:
        return relaySocket ? relaySocket->pendingBytes() : 0;
    case ModeUdpServer:
    case ModeUdpClient:
    case ModeUdpGroup:
        return udpSocket ? udpSocket->bytesToWrite() : 0;
    case ModeReserved:
        break;
    }
    return 0;
}

void ConnectionController::setReadThrottled(connectionMode mode, bool on)
{
    if (on) {
        switch (mode) {
        case ModeSerial:
            // Without flow control the far end cannot be held back: holding the bytes
            // here would only move the loss into the driver.
            if (serialPort->flowControl() == QSerialPort::NoFlowControl) {
                return;
            }
            readThrottled = true;
            serialPort->setReadBufferSize(ThrottledReadBuffer);
            return;
        case ModeTcpServer:
            readThrottled = true;
            if (tcpServer) {
                tcpServer->setReadThrottled(true);
            }
            return;
        case ModeTcpClient:
        case ModeRemoteSerial:
            readThrottled = true;
            if (tcpSocket) {
                tuneTcpSocket(tcpSocket);
            }
            return;
        default:
            return;
        }
    }
    const bool wasThrottled = readThrottled;
    readThrottled = false;
    serialPort->setReadBufferSize(0);
    if (tcpSocket) {
        tuneTcpSocket(tcpSocket);
    }
    if (tcpServer) {
        tcpServer->setReadThrottled(false);
    }
    if (!wasThrottled) {
        return;
    }
    // No new arrival may come for bytes that already wait.
    const bool waiting =
        (mode == ModeSerial && serialPort->isOpen() && serialPort->bytesAvailable() > 0) ||
        (connectionModeIsTcpClient(mode) && tcpSocket && tcpSocket->bytesAvailable() > 0);
    if (waiting) {
        Q_EMIT readyRead();
    }
}

void ConnectionController::setBridgeSocketTuning(bool on)
{
    bridgeSocketTuning = on;
    if (tcpSocket) {
        tuneTcpSocket(tcpSocket);
    }
    if (tcpServer) {
        tcpServer->setBridgeSocketTuning(on);
    }
}

void ConnectionController::closeAll(connectionMode mode, const QString &displayName)
{
    switch (mode) {
    case ModeSerial:
        if (serialPort->isOpen()) {
            applySerialLine(LineBreak, false, false);
            applySerialLine(LineDtr, false, false);
            if (serialPort->flowControl() != QSerialPort::HardwareControl) {
                applySerialLine(LineRts, false, false);
            }
            breakActive = false;
            serialPort->close();
            if (serialPort->isOpen()) {
                Q_EMIT statusMessage(tr("Serial Port %1 CLOSE FAILED").arg(displayName), 3000);
            } else {
                Q_EMIT statusMessage(tr("Serial Port %1 CLOSE SUCCESS").arg(displayName), 3000);
            }
        }
        breakActive = false;
        break;
    case ModeTcpServer:
        if (tcpServer) {
            tcpServer->stop();
        }
        break;
    case ModeTcpClient:
    case ModeRemoteSerial:
        // Raised here: the socket's own signals are cut and can no longer tell.
        releaseTcpClient(true);
        break;
    case ModeUdpServer:
    case ModeUdpClient:
    case ModeUdpGroup:
        if (udpSocket) {
            udpSocket->abort();
        }
        clearUdpPeers();
        forgetUdpHosts();
        break;
    case ModeLiveRelay:
        releaseRelay();
        break;
    case ModeReserved:
        break;
    }
    // A closed port is held back by nobody: whatever throttled it goes with the
    // connection, and the next open reads freely.
    readThrottled = false;
    serialPort->setReadBufferSize(0);
    if (tcpServer) {
        tcpServer->setReadThrottled(false);
    }
}
