#pragma once

#include "connection/fanoutmode.h"

#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QStringList>
#include <QTcpServer>

class QTcpSocket;

// A TCP server that serves several clients of one port session. Clients are kept in
// arrival order (row numbers index them) and keyed by "address:port"; what each sends
// is gathered under its key until taken. An allow list and an exclusive mode decide
// who is admitted.
class MultiClientServer : public QTcpServer
{
    Q_OBJECT
public:
    explicit MultiClientServer(QObject *parent = nullptr);
    ~MultiClientServer() override;

    bool start(quint16 port, const QHostAddress &address);
    void stop();

    // Writes to every connected client; the largest count written, or -1 if none took it.
    qint64 broadcast(const QByteArray &bytes);
    bool writeTo(const QString &key, const QByteArray &bytes);
    QByteArray takeMessage(const QString &key);

    void setFanoutMode(FanoutMode mode);
    FanoutMode fanout() const { return fanoutMode; }
    void setAllowedPeers(const QStringList &list);
    QStringList allowedPeerList() const { return allowedPeers; }
    void setBridgeSocketTuning(bool on);
    void setReadThrottled(bool on);

    QTcpSocket *exclusiveOwner() const;
    void sendHello(QTcpSocket *socket);

    int clientCount() const { return int(clients.size()); }
    QTcpSocket *clientAt(int row) const;
    QString keyAt(int row) const;
    QStringList clientKeys() const;
    // The key a socket had when it arrived, also after it lost its peer address.
    QString rememberedKeyFor(QTcpSocket *socket) const;
    // The largest write queue of any client.
    qint64 largestPendingWrite() const;

    // "address:port"; IPv4-mapped IPv6 addresses are written as plain IPv4.
    static QString peerKeyFor(const QHostAddress &address, quint16 port);
    static QString peerKeyFor(const QTcpSocket *socket);
    // An empty list allows all; "a.b.c.d/n" entries are subnets; other entries are
    // addresses, IPv4-mapped addresses equal to IPv4; an entry that does not parse
    // matches nothing.
    static bool addressAllowed(const QHostAddress &address, const QStringList &list);

signals:
    void connectionStateChange();
    void newMessage(const QString &key);
    void clientGone(const QString &key);
    void clientArrived(const QString &key);
    void bytesWritten(qint64 count);
    void connectionRefused(const QString &key, const QString &reason);

private:
    void handleNewConnection();
    void refuse(QTcpSocket *socket, const QString &reason);
    // Reads what the client sent, unless reading is throttled; `last` reads anyway,
    // for a client that is going away.
    void drainClient(QTcpSocket *socket, bool last = false);
    void clientDisconnected(QTcpSocket *socket);
    void tuneClient(QTcpSocket *socket) const;

    QList<QTcpSocket *> clients;
    QHash<QTcpSocket *, QString> keys;
    QHash<QString, QByteArray> messages;
    FanoutMode fanoutMode = FanoutMode::Shared;
    QStringList allowedPeers;
    bool bridgeSocketTuning = false;
    bool readThrottled = false;
};
