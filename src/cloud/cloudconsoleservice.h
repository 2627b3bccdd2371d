#pragma once

// The computer's side of Live Console: reports this computer's ports, streams their
// traffic while someone watches in a browser, and carries out the browser's commands
// within the permissions the user gave. It speaks over the console socket when the
// server allows one and over REST otherwise, with the same payloads.

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>

#include "cloud/guestshare.h"

#include <functional>
#include <optional>

class AccountSession;
class ConsolePort;
class ConsoleSocket;
class QTimer;
class RelayController;

class CloudConsoleService : public QObject
{
    Q_OBJECT
public:
    using PortListProvider = std::function<QList<ConsolePort *>()>;

    struct PendingEvent
    {
        QString portKey;
        QString type;
        QString text;
        qint64 clientTime = 0;
    };
    struct UnconfirmedResult
    {
        QJsonObject result;
        int sends = 0;
    };
    // A share asked for but not yet confirmed by the server.
    struct PendingShare
    {
        QString portKey;
        int ttlSeconds = 0;
        QString label;
        QString passcode;
        QString webLevel;
        bool allowRelay = false;
        int attempts = 0;
    };
    using Clock = std::function<qint64()>;

    static constexpr int HeartbeatMs = 20000;
    static constexpr int UploadMs = 2000;
    static constexpr int ResultRetryMs = 30000;
    static constexpr int SocketWatchdogMs = 15000;
    static constexpr int SnapshotMs = 60000;
    static constexpr int PendingShareMs = 1500;
    static constexpr int ShareSweepMs = 30000;
    static constexpr int IdleLadder[4] = {2000, 5000, 10000, 30000};
    static constexpr int MaxPieceChars = 3072;
    static constexpr int MaxPieceBytes = 4096;
    static constexpr qint64 MaxQueueBytes = 32768;
    static constexpr int MaxBatchEvents = 64;
    static constexpr qint64 MaxBatchBytes = 8192;
    static constexpr int PollLimit = 16;
    static constexpr int MaxResultSends = 2;
    static constexpr int MaxShareAttempts = 5;

    CloudConsoleService(AccountSession *account, const QString &cid, QObject *parent = nullptr);
    ~CloudConsoleService() override;

    void setEnabled(bool on);
    bool isEnabled() const { return enabled; }
    void setPortListProvider(PortListProvider provider);
    // Follows one port's traffic; the provider still decides which ports exist.
    void attachPort(ConsolePort *port);
    void setAllowRemoteSend(bool on) { allowSend = on; }
    void setAllowPortControl(bool on) { allowControl = on; }
    void setAllowRemoteRelay(bool on);
    bool allowsRemoteSend() const { return allowSend; }
    bool allowsPortControl() const { return allowControl; }
    bool allowsRemoteRelay() const { return allowRelay; }

    QString cid() const { return cidValue; }
    QString sessionId() const { return sessionIdValue; }
    bool isWatching() const { return watching; }
    bool useSocket() const;
    int pollInterval() const { return IdleLadder[idleStep]; }
    const QList<PendingEvent> &pendingEvents() const { return events; }
    qint64 pendingEventBytes() const { return eventBytes; }

    // Every REST reply and socket frame, whichever channel brought it.
    void onConsoleResponse(const QJsonObject &object);
    void queueEvent(const QString &portKey, const QString &type, const QString &text);
    // Adds the relay fields to a port's description when a relay may open it.
    QJsonObject withRelayCapability(const ConsolePort *port, QJsonObject description) const;
    // Whether a relay may open `port`: relays allowed here, and a serial device (a relay
    // opens a closed port itself and closes it again when it ends).
    bool relayMayOpen(const ConsolePort *port) const;
    // The port keys that have a relay running.
    QStringList relayPorts() const { return relays.keys(); }
    // Ends the relays whose port key `filter` accepts (every relay without a filter).
    void stopRelays(const QString &reason,
                    const std::function<bool(const QString &)> &filter = {});

    // Guest shares. Every call that reads or uses a share checks its expiry first.
    void createShare(const QString &portKey, int ttlSeconds, const QString &label,
                     const QString &passcode, const QString &webLevel, bool allowRelay);
    void revokeShare(const QString &shareId, const QString &reason);
    void revokeSharesFor(const QString &portKey, const QString &reason);
    // Returns how many shares were revoked.
    int revokeAllShares(const QString &reason);
    QList<GuestShare> shares();
    GuestShare share(const QString &shareId);
    bool hasShareFor(const QString &portKey);
    bool hasPendingShare() const { return pending.has_value(); }
    void refreshShares();
    void requestShareOverview();
    // Ends the relay of the share's guest, leaving the share open for the next one.
    void clearGuest(const QString &shareId, const QString &reason);
    static GuestShare shareFromJson(const QJsonObject &object);
    // The wall clock in milliseconds since the epoch; tests move it.
    void setClock(Clock clock) { now = std::move(clock); }

signals:
    void shareCreated(const QString &shareId);
    void shareChanged(const QString &shareId);
    void shareEnded(const QString &shareId, const QString &text);
    void shareFailed(const QString &text);
    // The server confirmed stopping a share (of this computer or another).
    void shareStopped(const QString &shareId);
    void shareOverviewFetched(const QJsonArray &shares, const QJsonArray &devices);
    void shareOverviewFailed(const QString &text);
    void stoppedItself(const QString &text);
    void cidConflictDetected();
    void watchingChanged(bool watching);
    void relayEngaged(const QString &portKey, const QString &guestName);
    void relayEnded(const QString &portKey, const QString &reason);
    // A command was carried out (or refused); `errorCode` is empty on success.
    void commandFinished(const QString &command, const QString &portKey, bool ok,
                         const QString &errorCode, const QString &message);

private:
    bool readyForNetwork();
    QString token() const;
    void connectSocket();
    void onSocketReady();
    void onSocketDisconnected();
    void onHeartbeatTick();
    void onPollTick();
    void onUploadTick();
    void onResultRetryTick();
    void onSocketWatchdogTick();
    void resetIdleLadder();
    void applyWatching(bool on, bool authoritative);
    void setCapture(bool on);
    void uploadSnapshot();
    void onPortTraffic(const QString &portKey, bool rx, const QString &text);
    void flushEvents();
    void dropEvents();
    void sendSocketFrame(const QString &type, QJsonObject object);
    void executeCommand(const QJsonObject &command);
    void executePortCommand(const QString &id, const QString &command, ConsolePort *port,
                            const QJsonObject &payload);
    void executeOpenRelay(const QString &id, const QString &portKey, const QJsonObject &payload);
    void reportResult(const QString &commandId, const QString &command, const QString &portKey,
                      bool ok, const QString &errorCode = QString(),
                      const QString &message = QString());
    void sendResult(const QString &commandId, const QJsonObject &result);
    void resendUnconfirmedResults();
    void stopForQuota();
    void postPendingShare();
    void onRelayShareResponse(const QJsonObject &object, bool toCreate);
    void onShareOverviewResponse(const QJsonObject &object);
    void onShareNetworkError(const QString &tag, const QString &message);
    void onShareSweepTick();
    void adoptShare(const GuestShare &share);
    void endShare(const QString &shareId, const QString &text);
    // Ends the shares past their expiry; true when one ended.
    bool expireShares();
    // Why a command of share `shareId` on `portKey` needing `level` ("view", "send",
    // "control" or "relay") is refused: an error code, empty when it is allowed.
    QString shareRefusal(const QString &shareId, const QString &portKey, const QString &level,
                         QString *message);
    // Whether a live share of `portKey` admits a relay guest.
    bool relayShareFor(const QString &portKey) const;
    QList<ConsolePort *> ports() const;
    ConsolePort *portFor(const QString &portKey) const;

    AccountSession *account;
    QString cidValue;
    QString sessionIdValue;
    bool enabled = false;
    bool allowSend = false;
    bool allowControl = false;
    bool allowRelay = false;
    bool watching = false;
    bool socketAllowed = false;
    int notWatchingCount = 0;
    int idleStep = 0;
    bool conflictReported = false;
    qint64 upRemaining = -1; // unknown until the server tells

    QTimer *heartbeatTimer;
    QTimer *pollTimer;
    QTimer *uploadTimer;
    QTimer *resultRetryTimer;
    QTimer *socketWatchdogTimer;
    QTimer *snapshotTimer;
    QTimer *pendingShareTimer;
    QTimer *shareSweepTimer;
    ConsoleSocket *socket;

    PortListProvider provider;
    QList<PendingEvent> events;
    qint64 eventBytes = 0;
    quint64 nextSeq = 0;
    QHash<QString, UnconfirmedResult> unconfirmed;
    QHash<QString, RelayController *> relays;
    QHash<QString, QString> relayShares; // port key -> the share its relay came through
    QList<GuestShare> shareList;
    std::optional<PendingShare> pending;
    Clock now;
};
