#pragma once

// One port without its window: the connection record and format, the transport, the
// received road up to the taps and the display queue, the send roads, the byte
// counters, and the auto reply and sequence runners. The port panel owns one and shows
// it; velmora-cli drives one directly.
//
// The received road: transport -> ingestRx -> history -> rxTapped -> display queue. Consumers of
// rxTapped run at arrival, in the order they connected; the runners connect when the
// owner calls connectRunners(), so an owner that shows the data (the panel, which also
// feeds its decoders and plot) connects those first.

#include "automation/sequencereportlog.h"
#include "bridge/rfc2217codec.h"
#include "connection/rxdata.h"
#include "connection/settings.h"
#include "session/ansiescapefilter.h"
#include "transfer/xferconfig.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QList>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

class AutoReplyRunner;
class FileTransferSession;
class QTimer;
class ConnectionController;
class Rfc2217ClientSession;
class SequenceRunner;
class SessionRecorder;
struct Sequence;
struct ScriptPortInfo;
struct XferPortFacts;

class PortSession : public QObject
{
    Q_OBJECT
public:
    enum PortState {
        Running = 0,
        Paused = 1,
        Stopped = 2,
    };

    // Where bytes from other subsystems go on a multi-peer transport.
    enum class UdpTargetMode {
        Default = 0,    // the selected peer, or the configured target
        LastSender = 1, // the peer heard last
        PeerKey = 2,    // the peer named by key
        AllPeers = 3,   // every known peer
    };

    // Who sends, for the checks that guard a running file transfer.
    enum class TxActor {
        User,
        AutoReply,
        Sequence,
        Script,
        Console,
        Bridge,
        Transfer,
    };

    // What an action would do to a port a file transfer is using.
    enum Disturb {
        DisturbData = 0,
        DisturbDtr = 1,
        DisturbRts = 2,
        DisturbSettings = 3,
        DisturbHarmless = 4,
    };

    static constexpr qsizetype MergeRecordsBelow = 4096;

    explicit PortSession(QObject *parent = nullptr);
    ~PortSession() override;

    // The records. The panel edits them in place; the session reads them when it opens,
    // sends and queues.
    Settings &settings() { return portSettings; }
    const Settings &settings() const { return portSettings; }
    FormatSetting &format() { return formatValue; }
    const FormatSetting &format() const { return formatValue; }
    int &state() { return stateValue; }
    int state() const { return stateValue; }
    int &portNumber() { return portNumberValue; }
    int portNumber() const { return portNumberValue; }

    ConnectionController *connectionController() const { return controller; }
    AutoReplyRunner *autoReplies() const { return autoReplyRunner; }
    SequenceRunner *sequences() const { return sequenceRunner; }
    SequenceReportLog &sequenceReportLog() { return sequenceLog; }
    // The port's bounded history of everything received, sent and noted; exports read
    // it. Received bytes go in ahead of the taps, accepted sends in noteTxAccepted.
    SessionRecorder *recorder() const { return history.get(); }
    // A line in the history about the port: opens, closes, losses, errors, runs.
    void recordNote(const QString &text);
    // Wall time in microseconds since the epoch, as the history stamps its events.
    static qint64 wallClockUs();

    // Opens the transport the record names (`portName` overrides a serial device) and
    // marks the session running; false with the reason in lastError() otherwise.
    bool open(const QString &portName = QString());
    // The transport part of open(): starts the connection without touching the state.
    // A TCP client still connecting counts as success.
    bool openTransport(const QString &portName);
    // Closes the transport, ends runs (reason "connection closed") and clears held data.
    void close();
    bool portIsOpen() const;
    // Opens a closed port (through reopenHook when set); true when it takes data now,
    // false with the reason in `error`.
    bool ensureOpen(QString *error);
    // Whether bytes handed to the port now reach the peer: the port is open, or it is a
    // TCP client still connecting, which keeps them until the connection is up.
    bool portTakesData() const;
    QString lastError() const { return lastErrorText; }
    void setLastError(const QString &text) { lastErrorText = text; }

    // Reconnecting a lost port: while on, a lost serial device is reopened when it comes
    // back and a lost TCP client connects again, every 2 s.
    void setAutoReconnect(bool on);
    bool &autoReconnect() { return autoReconnectOn; }
    // A lost serial device waits for its return.
    bool &portLost() { return lostFlag; }
    QTimer *reconnectTimer() const { return reconnectTicker; }
    void armReconnect();
    void disarmReconnect();

    // Names of the port: the label ("/dev/ttyUSB0", "host:port", ":port"), a one-line
    // description of its settings, the console key ("COM-1"), the connected peers.
    QString label() const;
    QString describe() const;
    QString consoleKey() const;
    QStringList connectedPeers() const;

    // The received road, open to the transports' slots and to tests.
    void ingestRx(const QByteArray &bytes, bool pausable, const QString &peer);
    // `time` is when the bytes arrived or were sent; an invalid time means now.
    void pushByteArray(const QByteArray &bytes, bool count, RXorTx direction, const QString &peer,
                       const QDateTime &time = QDateTime());
    // Re-queues what arrived while paused, with the times it arrived.
    void releaseHeld();
    // Drops what arrived while paused.
    void dropHeld();
    // Typed bytes the view shows as they were typed; never counted, tapped or logged.
    void queueLocalEcho(const QByteArray &bytes);
    // Starts over with escape sequences of the receive encoding.
    void resetEscapeFilter(bool eightBitControls);

    // The display queue: the owner takes pieces at its own pace.
    bool displayQueueEmpty() const { return rxDataList.isEmpty(); }
    const rxData &displayFront() const { return rxDataList.first(); }
    qint64 displayFrontLeft() const { return rxDataList.first().data.size() - frontOffset; }
    // The next piece, at most `limit` bytes (the rest of the front record when `limit`
    // is negative).
    rxData takeDisplayPiece(qint64 limit);
    qsizetype pendingDisplayRecords() const { return rxDataList.size(); }
    qint64 pendingDisplayBytes() const { return displayBacklogBytes; }
    qsizetype pausedByteCount() const { return pausedSize; }

    // The send roads. sendMessage goes to the selected peer or the configured target;
    // writeRaw to a named peer or as `udpTargetMode` says. Both count and tap accepted
    // bytes (writeRaw only with `countAsTx`).
    bool sendMessage(const QByteArray &bytes);
    bool writeRaw(const QByteArray &bytes, bool countAsTx, UdpTargetMode udpTargetMode,
                  const QString &peer);
    void noteTxAccepted(const QByteArray &bytes, const QString &peer, bool hasPeer);
    // The runners' senders: refused while a file transfer holds the port or the port
    // does not take data; shown as sent when "Display Send" is on.
    bool sendAutoReply(const QByteArray &bytes, const QString &peer);
    bool sendSequenceBytes(const QByteArray &bytes);
    bool mayDisturbPort(TxActor actor, Disturb disturb, QString *why) const;

    qint64 &rxByteCount() { return rxBytes; }
    qint64 rxByteCount() const { return rxBytes; }
    qint64 &txByteCount() { return txBytes; }
    qint64 txByteCount() const { return txBytes; }

    // Runs on the port: the sequence runner, and a script through its link.
    void connectRunners();
    bool startSequence(const Sequence &sequence, QString *error);
    void stopSequence(int reason);
    bool sequenceRunning() const;
    void stopRuns(int reason);
    ScriptPortInfo scriptPortInfo() const;
    // Whether a script runs on this port; a sequence may not start beside one.
    std::function<bool()> scriptRunningHook;
    // Stops the port's script for `reason`, a SequenceRunner::StopReason.
    std::function<void(int)> scriptStopHook;
    // The row of the peer the user chose on a multi-peer transport (-1: the first).
    std::function<int()> selectedPeerRowHook;
    // Reopens a TCP client or relay that a send finds closed; open() when unset.
    std::function<void()> reopenHook;
    // Live Relay: starts fetching a ticket for the record's target and, once there is
    // one, opens the controller's relay with it (connectCloudRelay) or ends it with the
    // reason (abortCloudRelay). False with the reason in `error` when it cannot begin.
    // Set by an owner that has a cloud account; without it a relay cannot open.
    std::function<bool(QString *error)> relayDialHook;
    // Whether something besides this session's own transfer holds the port.
    std::function<bool()> transferRunningHook;
    // Whether the port is an end of a bridge link (a transfer may not start then).
    std::function<bool()> bridgedHook;

    // File transfer. The session takes `transfer` over (as its child), stops the
    // sequence and script, wires it to the port and starts it; false with the sentence
    // in `error` (and `transfer` deleted) when the port cannot carry it now. While it
    // runs, received bytes go to it alone and the other senders are refused.
    bool startTransfer(FileTransferSession *transfer, QString *error);
    FileTransferSession *transfer() const { return activeTransfer; }
    bool transferRunning() const;
    // What the start checks need to know about the port now.
    XferPortFacts transferFacts() const;

    // Remote serial (the RFC 2217 client and Live Relay modes): the com-port control
    // stream that runs beside the payload. The session begins when the peer arrives and
    // ends when the connection goes; see portsession_rfc2217.cpp.
    void beginRfc2217Session();
    void endRfc2217Session();
    // Takes the control bytes out of a received block and returns the payload.
    QByteArray ingestRfc2217(const QByteArray &bytes);
    // Payload on its way to the far end: 255 doubled unless the peer is raw TCP. Other
    // modes get the bytes as they are.
    QByteArray encodePayload(const QByteArray &bytes) const;
    // Pushes the record's line parameters, DTR and RTS (or reads the remote's own, when
    // it keeps them) once the remote has accepted com-port control.
    void pushRemoteSerialSettings();
    // Break on the remote line; false, with the reason on the status line, when it
    // could not be sent.
    bool sendRemoteBreak(bool on);
    const Rfc2217ClientSession &rfc2217Session() const { return *remoteSerial; }
    // "115200 8N1, ser2net": what the remote port reports; empty while nothing is known.
    QString remoteSummary() const;
    // The remote modem lines (0x10 CTS, 0x20 DSR, 0x40 RI, 0x80 DCD), once reported.
    std::optional<quint8> remoteModemState() const;
    // A bridge passes a client's request to this port's remote server. Returns the
    // ticket its answer will carry in rfc2217Answered, or 0 with the reason in `error`.
    // The request has been written when a ticket comes back.
    quint64 bridgeForwardRfc2217(const Rfc2217Codec::Event &event, QString *error);
    // The bridge no longer waits for the answer to `ticket`.
    void bridgeWithdrawRfc2217(quint64 ticket);

    // A line about the port for whoever shows it: rule hits, sequence steps, script logs.
    void note(const QString &text) { Q_EMIT noted(text); }

signals:
    void rxTapped(const QByteArray &bytes, const QString &peer);
    void txTapped(const QByteArray &bytes, const QString &peer);
    // Received bytes went to the display queue (`shown` after escape filtering; may be
    // empty) or were held while paused, or taken by a file transfer (rxHeld).
    void rxQueued(const QByteArray &shown);
    void rxHeld();
    // The display queue went from empty to holding data.
    void displayQueued();
    void txAccepted(const QByteArray &bytes);
    // sendMessage was handed bytes, before the transport takes them (the console shows
    // what a user, sequence or script sends).
    void sending(const QByteArray &bytes);
    // A sentence for the status bar, or for standard error.
    void statusMessage(const QString &text, int timeoutMs);
    void noted(const QString &text);
    // A lost connection is back.
    void reconnected();
    // close() has closed the transport.
    void closed();
    void scriptStateChanged();
    // The remote server answered a forwarded request.
    void rfc2217Answered(quint64 id, const Rfc2217Codec::Event &event);
    // The remote serial state, summary or modem lines changed.
    void remoteSerialChanged();
    // A change from afar was taken into the record (a forwarded change, so that it
    // shows what the remote now holds; or a browser's or relay's line settings).
    void remoteSettingsPatched();
    void transferStarted(FileTransferSession *transfer);
    // The transfer has ended; transfer() gives it while the signal is handled, and it is
    // deleted once control returns to the event loop.
    void transferFinished(const XferEnd &end);

private:
    void connectController();
    void onReadData();
    void handleNewMessage(const QString &peer);
    void readUdpSocket();
    void refuse(const QString &text);
    void onReconnectTick();
    void connectRemoteSerial();
    void handleRfc2217Outcome(const QByteArray &reply, const QString &message, bool stateChanged,
                              const QList<std::pair<quint64, Rfc2217Codec::Event>> &answers);
    void armRfc2217Timer();
    void noteRemoteSerialChange();
    void connectTransferEvents();
    bool writeTransferBytes(const QByteArray &bytes, const QString &peer);
    void takeTransferBytes(const QByteArray &bytes);
    void onTransferEnded(const XferEnd &end);
    // Stops a running transfer for a closed (1) or lost (0) port, giving its cancel
    // bytes the time the cause allows before the transport goes.
    void abortTransfer(bool closing);

    Settings portSettings;
    FormatSetting formatValue;
    int stateValue = Stopped;
    int portNumberValue = 0;
    ConnectionController *controller = nullptr;
    AutoReplyRunner *autoReplyRunner = nullptr;
    SequenceRunner *sequenceRunner = nullptr;
    SequenceReportLog sequenceLog;
    std::unique_ptr<SessionRecorder> history;
    QString lastErrorText;
    QTimer *reconnectTicker = nullptr;
    bool autoReconnectOn = false;
    bool lostFlag = false;

    qint64 rxBytes = 0;
    qint64 txBytes = 0;
    QList<rxData> rxDataList;
    qint64 displayBacklogBytes = 0; // bytes of data in rxDataList not yet shown
    qint64 frontOffset = 0;         // bytes of the front record already shown
    // What arrived while paused, with the time each piece arrived.
    struct HeldBytes
    {
        QDateTime time;
        QByteArray bytes;
    };
    QList<HeldBytes> pausedBytes;
    qsizetype pausedSize = 0;
    AnsiEscapeFilter ansiFilter;

    std::unique_ptr<Rfc2217ClientSession> remoteSerial;
    QTimer *remoteSerialTimer = nullptr;
    QElapsedTimer remoteSerialClock;
    QString shownRemoteSummary;
    std::optional<quint8> shownModemState;
    int shownRemoteState = 0;
    FileTransferSession *activeTransfer = nullptr;
};
