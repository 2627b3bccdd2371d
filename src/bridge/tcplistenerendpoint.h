#pragma once

// A bridge end that is a TCP server of its own, for a port served on the network: raw
// bytes, RFC 2217 or Modbus TCP, by the link's protocol. Several clients may connect;
// the link's fanout mode and allow list decide who is admitted.

#include "bridge/bridgeendpoint.h"

#include <QHostAddress>

class MultiClientServer;

class TcpListenerEndpoint : public BridgeEndpoint
{
    Q_OBJECT

public:
    // Listens on all addresses unless an address is given.
    explicit TcpListenerEndpoint(quint16 listenPort,
                                 const QHostAddress &address = QHostAddress::Any,
                                 QObject *parent = nullptr);
    ~TcpListenerEndpoint() override;

    quint16 listenPort() const { return port; }
    // The port actually bound (the system's choice when listenPort is 0); 0 when closed.
    quint16 serverPort() const;
    void applyTuning(FanoutMode fanout, const QStringList &allowedPeers);
    // Stops listening and drops every client.
    void close();

    bool hasMultiplePeers() const override;
    bool isTcp() const override;
    QStringList connectedPeers() const override;
    QString displayName() const override;
    void ensureOpen() override;
    qint64 writeTransport(const QByteArray &bytes, bool displayForwarded,
                          const QString &peer) override;
    qint64 pendingBytes() const override;
    bool isOpen() const override;
    bool hasRecipients() const override;
    bool hasRecipient(const QString &peer) const override;
    void setReadThrottled(bool on) override;
    bool supportsThrottle() const override;

    // The most a client's bytes are handed on at once, so that a hold asked for in the
    // middle of a large read takes effect at the next piece.
    static constexpr qsizetype DeliveryChunk = 16384;

private:
    void takeMessage(const QString &key);
    void clientLeft(const QString &key);
    void deliver();

    struct Held
    {
        QString key;
        QByteArray bytes;
        qsizetype offset = 0; // what was handed on already
    };

    MultiClientServer *server;
    QList<Held> held;    // read from the clients, not yet handed on, in arrival order
    QStringList leaving; // clients gone whose last bytes still wait in `held`
    bool throttled = false;
    bool delivering = false;
    quint16 port;
    QHostAddress address;
    bool failureTold = false;
};
