#pragma once

#include <QObject>

// What a relay session needs of the socket that carries it.
class RelayTransport
{
public:
    virtual ~RelayTransport() = default;
    // Bytes accepted for sending; zero or less means failure.
    virtual qint64 sendBinary(const QByteArray &bytes) = 0;
    // Bytes accepted but not yet on the wire.
    virtual qint64 pendingBytes() const = 0;
    virtual bool isOpen() const = 0;
};

// The WebSocket side of a Live Relay: binary frames carry the peers' bytes. This build
// has no cloud client yet, so opening a relay ends it at once with a clear reason.
class RelaySocket : public QObject, public RelayTransport
{
    Q_OBJECT
public:
    enum Stop {
        PeerGone = 0,
        Refused = 1,
        QuotaExhausted = 2,
        ServerClosed = 3,
        Rejected = 4,
        NetworkFailed = 5,
    };
    Q_ENUM(Stop)

    explicit RelaySocket(QObject *parent = nullptr);
    ~RelaySocket() override;

    void open(const QString &baseUrl, const QString &ticket);
    void close();
    bool isOpen() const override;
    bool isPaired() const { return pairedFlag; }
    qint64 sendBinary(const QByteArray &bytes) override;
    qint64 pendingBytes() const override;

signals:
    void paired(const QString &portKey, const QString &relayId);
    void binaryReceived(const QByteArray &bytes);
    void noticed(const QString &text);
    void stopped(RelaySocket::Stop stop, const QString &reason);

private:
    void stopOnce(Stop stop, const QString &reason);

    bool pairedFlag = false;
    bool stoppedFlag = false;
};
