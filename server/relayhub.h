#pragma once

// Live Relay: pairs a host and a client, each dialled in to /ws/relay/v1 with its own
// one-time ticket, and carries their binary frames unchanged in pieces of at most
// 8192 bytes. Each relay has a byte allowance (what is left of the account's monthly
// traffic, capped by --relay-allowance) and optionally a rate (--relay-rate-limit):
// frames over the rate wait in order, and the sender is told "rate_limited" once.
// Tickets are kept only as digests and never logged.

#include "consolehub.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>

#include <optional>

class QTimer;
class QWebSocket;
class ServerContext;

class RelayHub : public QObject
{
    Q_OBJECT

public:
    // What the client is handed: the relay, its ticket, and for a guest the token that
    // may close it.
    struct Opened
    {
        QString relayId;
        QString ticket;
        QString portKey;
        QString guestToken;
    };
    // Whose relay may be closed: the owner's bearer account, or the guest's token.
    struct Closer
    {
        qint64 userId = 0;
        QString guestToken;
    };

    RelayHub(ServerContext &context, ConsoleHub &console, QObject *parent = nullptr);
    ~RelayHub() override;

    // The guest of a share's relay: who, and since when (ms) the relay is paired.
    struct Guest
    {
        QString name;
        qint64 since = 0;
    };

    // Opens a relay to `portKey` of computer `cid` of `userId` and queues the host's
    // "open_relay". `shareId` and `guestName` are for a guest's relay through a share,
    // which ends at `notAfter` (ms; 0: no end) with its share.
    std::optional<Opened> open(qint64 userId, const QString &cid, const QString &portKey,
                               const QString &shareId, const QString &guestName, bool guest,
                               ConsoleHub::Refusal *refusal, qint64 notAfter = 0);
    // Ends relay `relayId` for `closer`; false when there is no such relay of theirs.
    bool close(const QString &relayId, const Closer &closer);
    bool portBusy(qint64 userId, const QString &cid, const QString &portKey) const;
    // Ends every relay of share `shareId` at once; both ends are told "closing".
    void endShare(const QString &shareId);
    // The paired guest of share `shareId`, if any.
    std::optional<Guest> guestOf(const QString &shareId) const;

    // Takes a socket of /ws/relay/v1.
    void acceptSocket(QWebSocket *socket);

private:
    struct Relay;
    enum Side { Host = 0, Client = 1 };
    void onBinary(QWebSocket *socket, const QByteArray &bytes);
    void onGone(QWebSocket *socket);
    void forward(Relay &relay, int from, const QByteArray &bytes);
    void deliver(Relay &relay, int from, const QByteArray &piece);
    void drain();
    void end(Relay &relay, const QJsonObject &frame);
    void tick();

    ServerContext &context;
    ConsoleHub &console;
    QHash<QString, Relay *> relays;                  // by relay id
    QHash<QString, QPair<QString, int>> tickets;     // ticket digest: relay id, side
    QHash<QWebSocket *, QPair<QString, int>> sockets;
    QTimer *ticker = nullptr;
    QTimer *drainer = nullptr;
};
