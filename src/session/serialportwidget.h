#pragma once

#include "automation/sequencereportlog.h"
#include "connection/rxdata.h"
#include "connection/settings.h"
#include "connection/wiretextdecoder.h"
#include "decode/decoderchoice.h"
#include "recording/sessionexport.h"
#include "session/portsession.h"
#include "session/quicksettingsgroups.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QStringList>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>

class AutoReplyEngine;
class AutoReplyRunner;
struct Command;
class ConnectionController;
class DecodeRunner;
struct FrameTemplate;
class FramesPanel;
class ReceiveFindBar;
class SelectionActions;
class SessionRecorder;
class SequenceRunner;
struct ScriptPortInfo;
struct AutoReplyConfig;
struct Sequence;
class LogWriter;
class PlotPanel;
struct PlotConfig;
class QMenu;
class QKeyEvent;
class QToolButton;
class PortBridgeHooks;
class PortEndpoint;
enum class FanoutMode : qint32;
class ReceiveRenderer;
class QTimer;
class Ui_SerialPortWidget;
class FileTransferBar;
class FileTransferDialog;
struct XferChoices;
struct XferEnd;
enum class XferDirection : int;

// One connection's panel: it owns the port's PortSession (records, transport, runners,
// the received and sent roads) and shows it.
//
// The received road: transport -> PortSession::ingestRx -> rxTapped (decode, plot and
// whatever connects to the panel's signal, then auto reply, sequence and script on the
// session's) -> display queue, drained by a 20 ms tick at most 256 KiB at a time.
// Consumers run at arrival, ahead of the queue, so a slow view never slows them.
class SerialPortWidget : public QMainWindow
{
    Q_OBJECT
public:
    enum PortState {
        Running = 0,
        Paused = 1,
        Stopped = 2,
    };

    using UdpTargetMode = PortSession::UdpTargetMode;
    using TxActor = PortSession::TxActor;
    using Disturb = PortSession::Disturb;
    using enum PortSession::Disturb;

    static constexpr int SendHistoryLimit = 100;
    static constexpr qint64 DisplayBudgetPerTick = 262144;
    static constexpr qint64 MinimumSharedBudget = 16384;
    static constexpr qint64 HexSliceBytes = 1024;
    static constexpr qsizetype MergeRecordsBelow = PortSession::MergeRecordsBelow;
    static constexpr int DisplayTickMs = 20;

    explicit SerialPortWidget(QWidget *parent = nullptr);
    ~SerialPortWidget() override;

    // The port without its window: connection, received and sent roads, runners.
    PortSession *session() const { return portSession; }

    int portNumber() const { return portNumberValue; }
    void setPortNumber(int number);

    bool start(const QString &portName);
    void stop();
    void pause();
    void clear();

    Settings settings() const { return portSettings; }
    FormatSetting formatSettings() const { return format; }
    void applySettings(const Settings &settings);
    void applyFormatSetting(const FormatSetting &format);
    void updateSettings();

    // Settings edited while the port runs. The line parameters of an open serial port
    // change at once; false with `error` when the driver refuses them, and the old ones
    // stay in force.
    bool applySerialParams(const Settings &settings, QString *error);
    // Copies baud rate, data bits, parity, stop bits and flow control with their texts.
    static void copySerialLineParams(const Settings &from, Settings &to);
    // Whether `settings` differ from the running connection in what only a new
    // connection can change (transport, device, host, ports).
    bool settingsNeedReopen(const Settings &settings) const;
    // Takes `settings` while the port runs: line parameters live, the rest as it is;
    // false with `error` when the line was refused.
    bool applyRunningSettings(const Settings &settings, QString *error);
    // Settings that need a new connection wait for it: they take over when the port
    // stops, and until then settingsForNextOpen() gives them, so they are saved too.
    void keepSettingsForNextOpen(const Settings &settings);
    Settings settingsForNextOpen() const;

    int portState() const { return state; }
    bool portIsOpen() const;
    QString currentRealPortName() const;
    QString sessionPortLabel() const;
    QString sessionPortInfo() const;
    QString consolePortKey() const;
    void setPortName(const QString &name);
    void setAutoReconnect(bool on);
    bool autoReconnectEnabled() const { return autoReconnect; }
    void setConsoleCapture(bool on) { consoleCapture = on; }
    QStringList connectedPeers() const;

    // Bytes from other subsystems; they count as sent and reach the taps.
    bool writeBytes(const QByteArray &bytes, const QString &peer);
    bool writeRaw(const QByteArray &bytes, bool countAsTx, UdpTargetMode udpTargetMode,
                  const QString &peer);
    // The send box's road: to the selected peer or the configured target.
    bool sendMessage(const QByteArray &bytes);
    // The send box's text as bytes, with history and local display; empty on failure.
    QByteArray encodeSendData(const QString &text);
    // Opens a closed port; true when it takes data now (see portTakesData).
    bool ensurePortOpenForSend(QString *error);
    // Whether bytes handed to the port now reach the peer: the port is open, or it is a
    // TCP client still connecting, which keeps them until the connection is up.
    bool portTakesData() const;
    bool mayDisturbPort(TxActor actor, Disturb disturb, QString *why) const;

    // The send box and its history (newest first, no duplicates).
    QStringList sendHistory() const;
    void setSendHistory(const QStringList &list);
    void mergeSendHistory(const QStringList &list);
    void clearSendList();
    void setSendText(const QString &text, bool select);
    QString sendText() const;
    void setSendHex(bool hex);
    void on_sendButton_clicked();

    void noteSession(const QString &text);

    // The receive road, open to the transports' slots and to tests.
    void ingestRx(const QByteArray &bytes, bool pausable, const QString &peer);
    // `time` is when the bytes arrived or were sent; an invalid time means now.
    void pushByteArray(const QByteArray &bytes, bool count, RXorTx direction, const QString &peer,
                       const QDateTime &time = QDateTime());
    void displayPortBuffer(qint64 budget = -1);
    void noteTxAccepted(const QByteArray &bytes, const QString &peer, bool hasPeer);

    qint64 rxByteCount() const { return rxBytes; }
    qint64 txByteCount() const { return txBytes; }
    qsizetype pendingDisplayRecords() const { return portSession->pendingDisplayRecords(); }
    qint64 pendingDisplayBytes() const { return portSession->pendingDisplayBytes(); }
    qsizetype pausedByteCount() const { return portSession->pausedByteCount(); }
    QString lastTransportError() const { return lastError; }
    QString peerTranscript(const QString &peer) const { return peerTranscripts.value(peer); }
    ConnectionController *connectionController() const { return controller; }
    QString viewText() const;
    ReceiveRenderer *receiveRenderer() const { return renderer.get(); }

    // Which settings groups and fields the quick settings column shows, in which order.
    void setQuickSettingsGroups(const QuickSettingsGroups &groups);
    void setQuickSettingsVisible(bool visible);
    // Divides the panel between the settings column and the data in the ratio of
    // `left` to `right` (the stored splitterLeft and splitterRight); sizes the user
    // drags are kept in the same two fields.
    void updateSplitterSizes(int left, int right);
    // The column folds to a narrow strip with one button that opens it again.
    void setQuickSettingsCollapsed(bool collapsed);
    bool quickSettingsCollapsed() const;

    // Automation: auto reply rules and sequences.
    void setAutoReplyConfig(const AutoReplyConfig &config);
    AutoReplyConfig autoReplyConfig() const;
    const AutoReplyEngine &autoReplyEngine() const;
    bool sendAutoReply(const QByteArray &bytes, const QString &peer);
    bool sendSequenceBytes(const QByteArray &bytes);
    // A command of the library, as the command panel or its shortcut sends it: encoded
    // with the port's format, shown when "Display Send" is on, refused while a file
    // transfer holds the port. A command without bytes sends nothing and succeeds.
    bool sendCommand(const Command &command, QString *error);
    bool startSequence(const Sequence &sequence, QString *error);
    // Stops a running sequence; `reason` is a SequenceRunner::StopReason.
    void stopSequence(int reason);
    bool sequenceRunning() const;
    SequenceRunner *sequences() const { return sequenceRunner; }
    const SequenceReportLog &sequenceReportLog() const { return portSession->sequenceReportLog(); }
    void noteAutoReply(const QString &text);
    void noteSequence(const QString &text);
    // What a script run is told about the port: its label, transport word, format and
    // whether auto reply rules are on.
    ScriptPortInfo scriptPortInfo() const;
    // Stops whatever runs on the port, sequence or script.
    void stopRuns(int reason);

    // The live plot of received numbers, shown from the panel's View menu.
    void setPlotConfig(const PlotConfig &config);
    PlotConfig plotConfig() const;
    PlotPanel *plotPanel() const { return plot; }
    QMenu *viewMenu() const { return viewMenuValue; }

    // Decoded frames, the port's history and the receive view's find and selection.
    DecodeRunner *decodeRunner() const { return decoder; }
    FramesPanel *framesPanel() const { return frames; }
    ReceiveFindBar *findBar() const { return receiveFind; }
    SelectionActions *selectionActions() const { return selection; }
    SessionRecorder *sessionRecorder() const;
    void setSessionRecordCapacity(qint64 bytes);
    DecoderChoice decoderChoice() const;
    void setDecoderChoice(const DecoderChoice &choice);
    void setFramesVisible(bool visible);
    // The window's template library; `renames` maps old names to new ones, empty for a
    // template that is gone, so that the port's choice follows an edit.
    void setFrameTemplates(const QList<FrameTemplate> &templates,
                           const QHash<QString, QString> &renames = {});
    // How the port names itself in a session export (`id` as the exporter numbers it).
    SessionExport::PortInfo sessionExportInfo(const QString &id) const;

    // The log file.
    bool enableLogging();
    void disableLogging();
    bool flushLog(QString *error);
    QString logPortName() const;

    // File transfer: refuses in the status bar when the port cannot carry one now,
    // otherwise opens the dialog (window-modal) and starts the transfer it accepts.
    FileTransferDialog *openFileTransfer(XferDirection direction);
    FileTransferBar *fileTransferBar() const { return transferBar; }
    // The dialog's last choices, shared by every port and kept in the settings.
    static XferChoices &lastTransferChoices();

    // Control lines and break.
    void pressBreak();
    void requestBreakRelease();
    bool breakIsHeld() const { return breakHeld; }
    void toggleControlLine(int line);
    QString explainInertControlLine() const;

    // Bridges (serialportwidget_bridge.cpp): the port's hooks for a bridge, a new bridge
    // end over them, what a bridge using the port asks of it, and the badge that says so.
    PortBridgeHooks *bridgeHooks();
    PortEndpoint *createBridgeEndpoint();
    void setBridgeActive(bool active, FanoutMode fanout, const QStringList &allowedPeers);
    bool bridgeActive() const;
    void setBridgeBadge(const QString &text);
    QString bridgeBadgeText() const;
    static constexpr int MinimumBreakMs = 300;
    static constexpr int MinimumBreakIndicationMs = 800;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void settingsChanged();
    void rxTapped(const QByteArray &bytes, const QString &peer);
    void txTapped(const QByteArray &bytes, const QString &peer);
    void consoleTraffic(const QString &text, bool isTx, const QString &portKey);
    void peerLost(const QString &peer);
    void peerArrived(const QString &peer);
    void bridgeCloseRequested();
    // The port was opened or closed.
    void openStateChanged();
    void autoReplyEditRequested();
    void frameTemplatesEditRequested();
    void plotVisibilityChanged(bool visible);
    void sessionExportRequested();
    void sequenceStateChanged();
    void scriptStateChanged();
    void transferProgressed();
    void transferEnded(bool ok, const QString &text);
    void transferFinished(const XferEnd &end);
    void transferStateChanged();
    void sendHistoryArchiveChanged();
    void sendHistoryArchiveExportRequested();
    // A status text shown in the panel's status bar, for the main window's notices too.
    void statusShown(const QString &text, int timeoutMs);

private:
    void initialPara();
    void setupAutomation();
    void setupPlot();
    void setupDecode();
    void setupHistoryViews();
    void setupFramesPanel();
    void clearHistoryViews();
    void showReceiveContextMenu(const QPoint &position);
    void refreshAutoReplyBadge();
    void connectController();
    void connectDirtyTrackers();
    void markSettingsDirty();
    void updateDisplay();

    void failStart();

    void noteServerMessage(const QByteArray &bytes, const QString &peer);
    void onControllerError(const QString &text);
    void onSerialPortLost();
    void disconnectTcpClient();
    void onCloudRelayEnded(const QString &reason);
    void changeConnState();
    void changeUdpConnState();
    void onPeerLost(const QString &peer);

    void onRefreshDisplay();
    void onRefreshAvalablePorts();
    void onSendData();
    void onSaveData();
    void logRecord(const rxData &record);
    void trimViewInTurn();
    void pushLogToWidgets();
    void on_logSaveBox_toggled(bool on);
    void on_logPathButton_clicked();
    void disarmReconnect();
    void releaseBreak();
    void restoreTxCaption();
    bool applyBreakLine(bool on);
    void onControlLinePollTick();
    void showRemoteControlLines();
    void connectRemoteSerial();
    void applyRemoteSerialParams();
    void refreshSerialControlUi();
    void on_openButton_clicked();
    void on_pauseButton_clicked();
    void on_autoSendBox_clicked();
    void on_cbLinebyLine_stateChanged(int checked);
    void on_sendBox_activated(int index);
    void updateSendListDisplay();
    void rememberSent(const QString &entry);
    bool terminalPassthroughReady() const;
    bool handleTerminalKey(QKeyEvent *event);
    QByteArray encodeTerminalText(const QString &text);
    void echoTerminalInput(const QByteArray &bytes);
    bool transferRunning() const;
    void setupTransfer();
    void launchFileTransfer(FileTransferDialog *dialog);
    void onTransferFinished(const XferEnd &end);
    void pullFormatFromWidgets();
    void pushFormatToWidgets();
    void connectFormatWidgets();

    void onSerialParamsEdited();
    void onRefreshSerialPortDisplay();
    void onRefreshTcpServerDisplay();
    void onRefreshTcpClientDisplay();
    void onRefreshUdpClientDisplay();
    void onRefreshCloudRelayDisplay();
    void refreshStatus();
    void updateCommonStatus();
    void showMessage(const QString &text, int timeoutMs);
    // A line of its own in the receive view, stamped now: opens, closes, losses,
    // reconnects and failures, naming the path or host:port. Not logged.
    void noteInView(const QString &text);
    QString endpointText() const;
    void updateTerminalIndicator();
    void placeFollowButton();

    void resetTextDecoders();
    WireTextDecoderPtr createDecoder(const QString &encoding) const;
    WireTextDecoder &peerDecoder(const QString &peer);
    void emitConsoleTraffic(const QByteArray &bytes, RXorTx direction);
    int selectedPeerRow() const;
    bool isRunning() const { return state == Running; }

    // The session and views on its records, which the panel edits and shows.
    PortSession *portSession;
    PortBridgeHooks *bridgeHooksValue = nullptr;
    QToolButton *bridgeBadge = nullptr;
    Settings &portSettings;
    FormatSetting &format;
    int &state;
    int &portNumberValue;
    qint64 &rxBytes;
    qint64 &txBytes;
    ConnectionController *controller;
    AutoReplyRunner *autoReplyRunner;
    SequenceRunner *sequenceRunner;
    bool &autoReconnect;
    bool &portLost;
    QTimer *reconnectTimer;

    Ui_SerialPortWidget *ui = nullptr;
    std::unique_ptr<ReceiveRenderer> renderer;
    std::optional<Settings> nextOpenSettings; // edits that wait for a new connection

    QTimer *sendTimer = nullptr;
    QTimer *saveTimer = nullptr;
    QTimer *displayTimer = nullptr;
    QTimer *portsTimer = nullptr;
    QTimer *breakReleaseTimer = nullptr;
    QTimer *txCaptionTimer = nullptr;
    QTimer *controlLinePollTimer = nullptr;
    QElapsedTimer breakStarted;
    bool breakHeld = false;

    qint64 shownRxBytes = -1;
    qint64 shownTxBytes = -1;
    QString lastViewNote;
    bool terminalShown = false;

    // Text decoders keep their carry-over per peer and direction, so a character
    // split between two packets survives.
    std::map<QString, WireTextDecoderPtr> peerDecoders;
    std::array<WireTextDecoderPtr, 2> logDecoders;     // received, sent
    std::array<WireTextDecoderPtr, 2> consoleDecoders; // received, sent
    QHash<QString, QString> peerTranscripts;

    LogWriter *logWriter = nullptr;
    PlotPanel *plot = nullptr;
    DecodeRunner *decoder = nullptr;
    FramesPanel *frames = nullptr;
    ReceiveFindBar *receiveFind = nullptr;
    SelectionActions *selection = nullptr;
    // The template library, and for each name a stamp that changes when its template
    // does, so that a reload of an unchanged library keeps the running decoder.
    std::shared_ptr<const QList<FrameTemplate>> templateLibrary;
    QHash<QString, quint64> templateStamps;
    quint64 lastTemplateStamp = 0;
    QMenu *viewMenuValue = nullptr;
    bool logAtLineStart = true;
    bool logPendingFlag = false;
    QDateTime logLastTime;
    QStringList history;
    int linePosition = 0;
    QString lastError;
    QString lastPortList;
    bool consoleCapture = false;
    bool applyingSettings = false;
    QuickSettingsGroups quickGroups;
    FileTransferBar *transferBar = nullptr;
    FileTransferDialog *transferDialog = nullptr; // kept while "keep open" was chosen
    QTimer *transferBarTimer = nullptr;
};
