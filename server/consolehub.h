#pragma once

// The live side of Live Console, held in memory: which computers are online with
// which run, the ports each last reported, recent traffic, the browsers watching, and
// the commands waiting for a computer or for its result. A computer speaks over REST
// or over /ws/console/v1 with the same payloads; a browser lists over REST and
// watches over /ws/console/v1 after a "viewer" hello. A guest of a share watches one
// port after a "guest" hello, and may do there what its share allows.

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <optional>

class QTimer;
class QWebSocket;
class ServerContext;
struct DeviceRecord;

// One command for a computer, from a browser or from the relay service.
struct ConsoleCommand
{
    enum class State { Queued, Delivered, Acknowledged, Succeeded, Failed };

    QString id;
    qint64 userId = 0;
    QString cid;
    QString command;
    QString portKey;
    QString sessionId;
    QString shareId;
    QJsonObject payload;
    qint64 createdAt = 0;
    qint64 deliveredAt = 0;
    State state = State::Queued;
    QString errorCode;
    QString message;
    // Told once when the command ends (result, refusal by expiry).
    std::function<void(const ConsoleCommand &)> finished;
    QPointer<QWebSocket> origin; // the browser that sent it, told of the result

    QJsonObject toJson() const;     // the form a computer receives
    QJsonObject statusJson() const; // the form a browser reads
};

class ConsoleHub : public QObject
{
    Q_OBJECT

public:
    // Who speaks for a computer: the account, the computer, its run.
    struct Device
    {
        qint64 userId = 0;
        QString cid;
        QString sessionId;
    };
    // Refusal of a queued command: HTTP status, code, sentence.
    struct Refusal
    {
        int httpStatus = 400;
        QString code;
        QString description;
    };
    // What a guest's token admits to: one port of one computer, at a browser level,
    // until the share ends.
    struct GuestGrant
    {
        qint64 userId = 0;
        QString cid;
        QString shareId;
        QString portKey;
        QString portName;
        QString label;
        QString level; // "view", "send", "control"
        QString guestName;
        qint64 createdAt = 0;
        qint64 expiresAt = 0;
    };
    // The port a share covers, when `shareId` is a live share of `userId`; otherwise
    // false with `refusal` set. Shares are kept elsewhere; without a resolver every
    // command naming a share is refused.
    using ShareResolver = std::function<bool(qint64 userId, const QString &shareId,
                                             QString *portKey, Refusal *refusal)>;
    // The grant of a guest token, or false with `refusal` set.
    using GuestResolver =
        std::function<bool(const QString &token, GuestGrant *grant, Refusal *refusal)>;
    // Told when a computer starts a new run (its shares of other runs are stale).
    using RunChanged =
        std::function<void(qint64 userId, const QString &cid, const QString &sessionId)>;

    explicit ConsoleHub(ServerContext &context, QObject *parent = nullptr);
    ~ConsoleHub() override;

    void setShareResolver(ShareResolver resolver) { shareResolver = std::move(resolver); }
    void setGuestResolver(GuestResolver resolver) { guestResolver = std::move(resolver); }
    void setRunChanged(RunChanged hook) { runChanged = std::move(hook); }

    // A computer's contact (heartbeat, poll, ...): notes it online and gives the state
    // fields of every reply to it (cid, ws, watching, authoritative, need_snapshot,
    // up_remaining, cid_conflict).
    QJsonObject contact(const Device &device, const QString &version = {});
    void storeSnapshot(const Device &device, const QJsonArray &ports);
    // Takes a batch of events; false with `refusal` when the allowance is used up.
    bool storeEvents(const Device &device, const QJsonArray &events, Refusal *refusal);
    // Up to `limit` queued commands, now marked delivered.
    QJsonArray takeCommands(const Device &device, int limit);
    // Marks command `id` of this computer acknowledged or finished; false when unknown.
    bool acknowledge(const Device &device, const QString &id);
    bool finish(const Device &device, const QString &id, const QJsonObject &result);

    // Queues `command` (id, createdAt and state are set here) after checking its name,
    // its port and its share. Returns the id, or nothing with `refusal` set.
    std::optional<QString> enqueue(ConsoleCommand command, Refusal *refusal);
    // The computers of an account as a browser lists them.
    QJsonArray deviceList(qint64 userId, const QList<DeviceRecord> &devices);
    // A command of `userId` as a browser reads it; empty when unknown.
    QJsonObject commandStatus(qint64 userId, const QString &id) const;

    // What the relay service needs to know of a computer.
    bool isOnline(qint64 userId, const QString &cid) const;
    QString currentSession(qint64 userId, const QString &cid) const;
    // The port object `portKey` of the computer's last report; empty when unknown.
    QJsonObject port(qint64 userId, const QString &cid, const QString &portKey) const;
    bool hasSnapshot(qint64 userId, const QString &cid) const;

    // Ends share `shareId` here: its guests are told `reason` with `description` and
    // their sockets close, and its commands not yet collected fail.
    void endShare(const QString &shareId, const QString &reason, const QString &description);
    // The browser guests of share `shareId`: name and since (ISO time), oldest first.
    QJsonArray webGuests(const QString &shareId) const;

    // Takes a socket of /ws/console/v1.
    void acceptSocket(QWebSocket *socket);

private:
    struct Live;
    struct Viewer;
    Live *live(qint64 userId, const QString &cid);
    const Live *find(qint64 userId, const QString &cid) const;
    QJsonObject stateFields(const Live &entry) const;
    void onText(QWebSocket *socket, const QString &text);
    void onDeviceHello(QWebSocket *socket, const QJsonObject &hello);
    void onDeviceFrame(QWebSocket *socket, const Device &device, const QJsonObject &frame);
    void onViewerHello(QWebSocket *socket, const QJsonObject &hello);
    void onViewerFrame(QWebSocket *socket, Viewer &viewer, const QJsonObject &frame);
    void onGuestHello(QWebSocket *socket, const QJsonObject &hello);
    // A guest's command: its share's port only, at its share's level.
    std::optional<QString> guestCommand(Viewer &viewer, ConsoleCommand command, Refusal *refusal);
    // Closes a guest's socket after telling it why; true when the guest's share has
    // passed its end and it was closed.
    bool endGuestIfExpired(QWebSocket *socket, const Viewer &viewer, qint64 now);
    void endGuest(QWebSocket *socket, const QString &reason, const QString &description);
    // `frame` as viewer `viewer` may see it: a guest sees only its own port and the
    // results of its share's commands; empty when it is not for that viewer at all.
    QJsonObject visibleTo(const Viewer &viewer, const QJsonObject &frame) const;
    void onSocketGone(QWebSocket *socket);
    void setWatch(QWebSocket *socket, const QString &cid, const QString &portKey);
    void viewersChanged(Live &entry);
    void pushCommands(Live &entry);
    void pushToViewers(const Live &entry, const QJsonObject &frame, const QString &portKey = {});
    void end(ConsoleCommand &command, const QString &errorCode, const QString &message);
    void tick();

    ServerContext &context;
    ShareResolver shareResolver;
    GuestResolver guestResolver;
    RunChanged runChanged;
    QHash<QString, Live *> devices;            // "userId/cid"
    QHash<QString, ConsoleCommand> commands;   // by id
    QHash<QWebSocket *, Viewer *> viewers;
    QHash<QWebSocket *, Device> deviceSockets; // sockets past a device hello
    QTimer *ticker = nullptr;
};
