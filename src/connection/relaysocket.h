#pragma once

// The WebSocket side of a Live Relay, used by both ends. Both dial the gateway with a
// single-use ticket and are paired by the server; text frames are the server's JSON
// notices, binary frames the peers' bytes, passed on unchanged.

#include <QObject>
#include <QString>

class QTimer;
class QWebSocket;

// What a relay session needs of the socket that carries it.
class RelayTransport
{
public:
    virtual ~RelayTransport() = default;
    // Bytes accepted for sending; zero when nothing was.
    virtual qint64 sendBinary(const QByteArray &bytes) = 0;
    // Bytes accepted but not yet on the wire.
    virtual qint64 pendingBytes() const = 0;
    virtual bool isOpen() const = 0;
};

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

    static constexpr int PairDeadlineMs = 30000;
    static constexpr qsizetype MessageBytes = 8192;

    explicit RelaySocket(QObject *parent = nullptr);
    ~RelaySocket() override;

    // Dials `baseUrl` (http becomes ws, https wss) at /ws/relay/v1 with the ticket.
    void open(const QString &baseUrl, const QString &ticket);
    void close();
    bool isOpen() const override;
    bool isPaired() const { return pairedFlag; }
    bool isOpened() const { return openedFlag; }
    bool hasStopped() const { return stoppedFlag; }
    qint64 sendBinary(const QByteArray &bytes) override;
    qint64 pendingBytes() const override;

    // The sentence for a "peer_refused" reason.
    static QString refusalText(const QString &reason);

signals:
    void paired(const QString &portKey, const QString &relayId);
    void binaryReceived(const QByteArray &bytes);
    void noticed(const QString &text);
    void stopped(RelaySocket::Stop stop, const QString &reason);

private:
    void onTextMessage(const QString &text);
    void onDisconnected();
    void onPairDeadline();
    QString dialFailureText() const;
    void stopOnce(Stop stop, const QString &reason);

    QWebSocket *socket;
    QTimer *pairDeadline;
    bool openedFlag = false;
    bool connectedFlag = false;
    bool pairedFlag = false;
    bool stoppedFlag = false;
    bool sawControlMessage = false;
};
