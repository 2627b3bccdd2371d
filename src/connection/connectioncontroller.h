#pragma once

#include "connection/fanoutmode.h"
#include "connection/settings.h"

#include <QAbstractSocket>
#include <QDateTime>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPointer>

class MultiClientServer;
class QHostInfo;
class QSerialPort;
class QTcpSocket;
class QUdpSocket;
class RelaySocket;

// The one object of a port session that touches a transport. It opens, closes, reads
// and writes, and turns transport events into signals; the session decides when and
// passes the connection mode into every operation.
class ConnectionController : public QObject
{
    Q_OBJECT
public:
    enum SerialLine {
        LineDtr = 0,
        LineRts = 1,
        LineBreak = 2,
    };

    struct UdpPeer
    {
        QHostAddress address;
        quint16 port = 0;
        QByteArray lastDatagram;
        QDateTime lastTime;
    };

    struct UdpDatagram
    {
        QByteArray bytes;
        QString peerKey;
    };

    explicit ConnectionController(QObject *parent = nullptr);
    ~ConnectionController() override;

    bool isOpen(connectionMode mode) const;

    // Serial port.
    bool openSerial(const Settings &settings, const QString &name, const QString &displayName,
                    bool quiet);
    bool sendSerial(const QByteArray &bytes, const Settings &settings, const QString &name);
    bool applySerialParams(const Settings &settings, QString *error);
    bool setSerialLine(SerialLine line, bool on);
    bool applySerialLine(SerialLine line, bool on, bool report);
    bool serialLineRequested(SerialLine line) const;
    bool breakIsActive() const { return breakActive; }
    // False once the device refused modem-line control (a pseudo-terminal, say).
    bool serialControlLinesSupported() const { return controlLinesSupported; }
    QSerialPort *serialDevice() const { return serialPort; }
    void setAutoReconnect(bool on) { autoReconnect = on; }

    // TCP client (modes 2 and 7).
    void connectTcpClient(const QString &host, quint16 port);
    bool sendTcpClient(const QByteArray &bytes);
    void teardownTcpClient();
    bool hasTcpClientSocket() const { return tcpSocket != nullptr; }
    QAbstractSocket::SocketState tcpClientState() const;

    // TCP server (mode 1).
    bool listenTcpServer(quint16 port, const QHostAddress &address);
    bool sendTcpServer(const QByteArray &bytes, int row);
    bool sendTcpServerTo(const QString &peerKey, const QByteArray &bytes);
    qint64 broadcastTcpServer(const QByteArray &bytes);
    QByteArray serverMessageFor(const QString &peerKey);
    QString tcpServerPeerAt(int row) const;
    QStringList tcpServerPeers() const;
    int tcpServerClientCount() const;
    QString tcpServerAddressString() const;
    void setTcpServerFanout(FanoutMode mode);
    void setAllowedPeers(const QStringList &list);
    MultiClientServer *server() const { return tcpServer; }

    // UDP (modes 4, 5, 6).
    bool bindUdp(quint16 port);
    QList<UdpDatagram> readUdpDatagrams();
    // To a host given by name, the datagram waits for the name's address: then
    // `*queued` is set, and queuedUdpWritten tells when it is written (with a null
    // `queued`, nothing tells).
    bool sendUdp(const QByteArray &bytes, const QString &host, quint16 port,
                 bool *queued = nullptr);
    bool sendUdpToPeer(const QByteArray &bytes, int row);
    bool sendUdpToPeerKey(const QString &key, const QByteArray &bytes);
    bool sendUdpToLastSender(const QByteArray &bytes);
    qint64 broadcastUdp(const QByteArray &bytes);
    QString udpLastSenderKey() const;
    QString udpPeerKeyAt(int row) const;
    static QString udpPeerKey(const QHostAddress &address, quint16 port);
    QByteArray udpMessageFor(int row) const;
    void clearUdpPeers();
    const QList<UdpPeer> &udpPeerList() const { return udpPeers; }
    quint16 udpBoundPort() const;

    // Live Relay (mode 8). The socket exists from the moment the port starts dialling
    // (while its ticket is fetched), so that the port counts as connecting;
    // connectCloudRelay opens it with the ticket, abortCloudRelay ends it before that.
    void prepareCloudRelay();
    void connectCloudRelay(const QString &url, const QString &ticket);
    void abortCloudRelay(const QString &reason);
    // Prepared and not yet opened: the ticket is still being fetched.
    bool cloudRelayDialling() const;
    bool sendCloudRelay(const QByteArray &bytes);
    bool cloudRelayPaired() const { return relayPaired; }
    void teardownCloudRelay();
    bool hasCloudRelay() const { return relaySocket != nullptr; }

    bool sendRemoteSerialControl(connectionMode mode, const QByteArray &bytes);
    QByteArray readAvailable(connectionMode mode);
    qint64 pendingWriteBytes(connectionMode mode) const;
    void setReadThrottled(connectionMode mode, bool on);
    bool isReadThrottled() const { return readThrottled; }
    void setBridgeSocketTuning(bool on);
    void setFanoutMode(FanoutMode mode) { fanoutMode = mode; }
    void closeAll(connectionMode mode, const QString &displayName);

    // The name of the error behind the latest errorOccurred, such as
    // "ConnectionRefusedError" or "PermissionError"; empty when it has no such name.
    QString transportErrorName() const { return lastErrorName; }

signals:
    void statusMessage(const QString &text, int timeoutMs);
    void errorOccurred(const QString &text);
    void readyRead();
    void serialPortLost();
    void tcpClientDisconnected();
    void cloudRelayEnded(const QString &reason);
    void serverConnectionsChanged();
    void serverMessage(const QString &peerKey);
    void peerLost(const QString &peerKey);
    void peerArrived(const QString &peerKey);
    void udpReadyRead();
    void udpPeersChanged();
    void bytesWritten(qint64 count);
    // A datagram that waited for its host's name to resolve has been written.
    void queuedUdpWritten(const QByteArray &bytes);

private:
    template <typename Enum>
    static QString errorName(Enum error);
    void onSerialError(int error);
    void applyLineAtOpen(SerialLine line, bool on);
    bool setLineHardware(SerialLine line, bool on, QString *why);
    static QString lineName(SerialLine line);
    void onTcpClientConnected();
    void onTcpClientError(QAbstractSocket::SocketError error);
    void onTcpClientDisconnected();
    void releaseTcpClient(bool raiseDisconnected);
    void tuneTcpSocket(QTcpSocket *socket) const;
    void upsertUdpPeer(const QHostAddress &address, quint16 port, const QByteArray &bytes);
    bool writeUdp(const QByteArray &bytes, const QHostAddress &address, quint16 port);
    void onUdpHostResolved(const QString &host, const QHostInfo &info);
    void forgetUdpHosts();
    void releaseRelay();
    QString serialDeviceName() const;

    QSerialPort *serialPort = nullptr;
    bool requestedDtr = true;
    bool requestedRts = true;
    bool breakActive = false;
    bool autoReconnect = false;
    bool controlLinesSupported = true;
    QTcpSocket *tcpSocket = nullptr;
    RelaySocket *relaySocket = nullptr;
    bool relayPaired = false;
    QByteArray relayInbox;
    QUdpSocket *udpSocket = nullptr;
    MultiClientServer *tcpServer = nullptr;
    bool readThrottled = false;
    bool bridgeSocketTuning = false;
    FanoutMode fanoutMode = FanoutMode::Shared;
    QStringList allowedPeers;
    QByteArray tcpPendingSend;
    QByteArray tcpLastRead; // what a dropped client socket still held; read once
    QString lastErrorName;
    QList<UdpPeer> udpPeers;
    QHash<QString, int> udpPeerIndex;
    int lastUdpSender = -1;

    // UDP targets given by name are resolved once per open, without blocking; what is
    // sent meanwhile waits for the answer.
    struct PendingDatagram
    {
        QByteArray bytes;
        quint16 port = 0;
        bool report = false; // raise queuedUdpWritten once written
    };
    QHash<QString, QHostAddress> udpResolvedHosts; // for the current open only
    QHash<QString, QList<PendingDatagram>> udpPendingByHost;
    quint64 udpHostGeneration = 0;
};
