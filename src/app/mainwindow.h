#pragma once

#include "app/livesyncstatus.h"
#include "app/settingsservice.h"
#include "automation/commandlibrary.h"
#include "decode/decoderchoice.h"
#include "decode/frametemplate.h"
#include "bridge/bridgeconfig.h"
#include "scripting/scriptlibrary.h"
#include "session/quicksettingsgroups.h"

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMainWindow>
#include <QPointer>

#include <array>
#include <functional>

class QAction;
class AccountDialog;
class CloudConsoleService;
class RelayDialer;
class DiagnosticPackDialog;
class QLabel;
class QMenu;
class QSplitter;
class QTabWidget;
class QTimer;
class AsciiCode;
class CommandPanel;
class FrameTemplateDialog;
class SessionExportDialog;
class ModbusBuilderDialog;
class QDockWidget;
class QSettings;
class MultiPortSettingDlg;
class RecordSessionDialog;
class ReplayWindow;
class SessionRecording;
class ScriptPortLink;
class SessionSyncCoordinator;
class ScriptWindow;
class SerialPortWidget;
class ToolBox;
class BridgeDialog;
class BridgeManager;
class PortEndpoint;
class Rfc2217QuickShareDialog;

// The application window: up to 16 port panels in a grid of splitters or in tabs, the
// menus, and the status bar with the focused port's traffic, notices and the Live Sync
// indicator.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    static constexpr int MaxPorts = 16;

    enum NoticeKind {
        NoticeInfo = 0,
        NoticeWarning = 1,
        NoticeError = 2,
    };

    struct NoticeEntry
    {
        QDateTime when;
        NoticeKind kind = NoticeInfo;
        QString text;
        QString detail;
    };

    static constexpr int NoticeHistoryLimit = 100;

    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    int portCount() const { return portCountValue; }
    int columnCount() const { return columnCountValue; }
    bool isTabLayout() const { return tabLayout; }
    SerialPortWidget *portWidget(int index) const;
    SerialPortWidget *focusedPortWidget() const;

    // Starts every port (empty name) or the first port with that name.
    void start(const QString &portName, bool silent);

    // Layout.
    void updateGrid();
    void setPortCount(int count);
    void setColumnCount(int count);
    void setTabLayout(bool tabs);
    void on_acViewHorizontal_triggered();
    void on_acViewVertical_triggered();
    void on_acViewGrid_triggered();
    void on_acViewCustom_triggered();
    void on_acViewTabs_triggered();
    void on_acEditAdd_triggered();
    void on_acEditRemove_triggered();
    void on_actionNew_Connection_triggered();
    // What New Connection does with the chosen kind (a NewConnection::Kind): a serial
    // port or a TCP client through the Add Connection dialog, or a bridge through Tools > Bridges.
    void addConnectionOfKind(int kind);
    void on_acEditSettings_triggered();
    void on_acViewQuickSettingsFields_triggered();
    void setQuickSettingsGroups(const QuickSettingsGroups &groups);
    QuickSettingsGroups quickSettingsGroups() const { return quickSettings; }
    // Lets tests answer the Add Connection dialog instead of a user.
    std::function<bool(MultiPortSettingDlg &)> addConnectionHook;
    // Lets tests answer Edit > Settings and its question whether to reopen a port.
    std::function<bool(MultiPortSettingDlg &)> settingsDialogHook;
    std::function<bool(int index)> reopenQuestionHook;
    // Lets tests answer "Save changes to ...?" instead of a user: QMessageBox::Save,
    // Discard or Cancel.
    std::function<int(const QString &question)> saveChangesHook;
    QAction *viewAction(const QString &name) const;

    // Notices.
    int presentNotice(const QString &text, NoticeKind kind, int timeoutMs,
                      const QString &detail = QString());
    int showStatusNotice(const QString &text, NoticeKind kind = NoticeInfo, int timeoutMs = -1,
                         const QString &detail = QString());
    void recordStatusNotice(const QString &text, NoticeKind kind);
    void appendNoticeHistory(const QString &text, NoticeKind kind, const QString &detail);
    void clearStatusNotice();
    void dismissStatusNotice(int id);
    void releaseStartupNotices();
    QList<NoticeEntry> noticeHistory() const { return history; }
    QString currentNoticeText() const;
    static QString statusBarAccent(NoticeKind kind);

    // Opens the focused port's log file with the desktop's viewer (the status bar's log
    // link).
    void on_acFileViewCurrentDataLog_triggered();

    // Live Sync.
    void updateLiveSyncIndicator();
    LiveSyncSummary liveSyncSummary() const { return lastLiveSync; }

    // Projects and the last-used state.
    bool writeSettingFile(const QString &path, bool showProgress);
    // False, with the reason in `error`, for a missing file or one that is no project.
    bool readSettingFile(const QString &path, QString *error = nullptr);
    bool loadFile(const QString &path);
    bool saveFile(const QString &path, bool showProgress);
    bool saveAs();
    void on_acFileSave_triggered();
    void on_acFileOpen_triggered();
    void on_acFileNew_triggered();
    QString currentFileName() const { return currentFile; }
    // Where file dialogs start: the project's folder, else the last folder used.
    QString projectFolder() const;
    void readSettings();
    void writeSettings();
    static QString configFilePath();
    void openLastConnectionIfWanted();
    static constexpr int RecentFileLimit = 10;

    // Automation.
    void openAutoReplyDialog(SerialPortWidget *port);
    void editCommandLibrary(int page);
    void setCommandLibrary(const CommandLibrary &library);
    CommandLibrary library() const { return commandLibrary; }
    void importCommandLibrary();
    void exportCommandLibrary();
    void exportSequenceReport();

    // Scripts.
    ScriptWindow *openScriptWindow();
    ScriptLibrary scripts() const;
    void setScriptLibrary(const ScriptLibrary &library);
    ScriptPortLink *scriptLink(int index) const;
    // Protocol decoding: the project's frame templates, each port's decoder choice, the
    // Modbus request builder.
    ModbusBuilderDialog *openModbusBuilder();
    bool editFrameTemplates();
    void applyFrameTemplateEdits(const QList<FrameTemplate> &templates,
                                 const QHash<QString, QString> &renames);
    QList<FrameTemplate> frameTemplates() const { return frameTemplateList; }
    DecoderChoice decoderChoice(int index) const;
    // Lets tests answer the Frame Templates dialog instead of a user.
    std::function<bool(FrameTemplateDialog &)> frameTemplatesDialogHook;

    // Session history: "Export Session" for the port `focused` (the focused one when
    // null), shown and left open; the window shares its history budget among the ports.
    SessionExportDialog *openSessionExport(SerialPortWidget *focused = nullptr);

    // Tools.
    ToolBox *openToolBox();
    AsciiCode *openAsciiChart();

    // Help: the About text, and the keys of menus, send boxes, scripts and commands.
    static QString aboutText();
    QList<QPair<QString, QString>> keyboardShortcuts() const;
    void showKeyboardShortcuts();
    // Help > Export Diagnostic Pack, filled with the state of the window.
    DiagnosticPackDialog *openDiagnosticPackDialog();

    // File > Record Session (a recording of every port into one file, or its end) and
    // File > Open Recording (mainwindow_recording.cpp).
    void recordSession();
    ReplayWindow *openRecording(const QString &path = QString());
    SessionRecording *recording() const { return sessionRecording; }
    // Lets tests fill in the Record Session dialog instead of a user.
    std::function<bool(RecordSessionDialog &)> recordSessionDialogHook;

    // The cloud: account, settings sync and the consent (mainwindow_cloud.cpp).
    // The preferences that follow the user between computers, and taking them over.
    SessionState currentSessionState();
    void applySessionState(const SessionState &state);
    SessionSyncCoordinator *syncCoordinator() const { return sessionSync; }
    void syncNow();
    AccountDialog *openAccountDialog();
    void signOutAccount();
    QString accountLabelText() const;
    // Lets tests answer the sync conflict question (a ConflictChoice as int) and the
    // offer to sign in before a sync.
    std::function<int()> syncConflictHook;
    std::function<bool()> signInHook;

    // Bridges between ports and ports served on TCP (mainwindow_bridges.cpp).
    BridgeManager *bridges();
    BridgeDialog *openBridgeDialog();
    // Serves port `index` on a local TCP port; the dialog's answer comes from
    // quickShareHook when set (tests), else from the user.
    void openQuickShare(int index);
    std::function<bool(Rfc2217QuickShareDialog &)> quickShareHook;
    // Saved bridges whose ports the bench does not have yet.
    QList<BridgeConfig> waitingBridgeConfigs() const { return waitingBridges; }

    // Documentation images.
    bool runScreenshotScene(const QString &name);
    static QStringList screenshotSceneNames();
    static QStringList screenshotDialogNames();
    QWidget *openScreenshotDialog(const QString &name);

signals:
    void portsChanged();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void createActions();
    void createStatusBar();
    SerialPortWidget *createPortWidget(int index);
    void removeLastPort();
    void rebuildPortLayout();
    void rebuildPortTabs();
    void refreshPortTabTitles();
    QString portTabTitle(int index) const;
    void capturePortSplitterSizes(QSplitter *splitter);
    void syncViewActions();
    void applyHorizontalAfterCountChange();
    void updateStatusBar();
    void relayoutStatusNotice();
    void updateAccountStatus();
    void showAccountMenu();
    void showLiveSyncMenu();
    void remeasureLiveSyncWidth();
    void markModified();
    void onPortStatusShown(SerialPortWidget *port, const QString &text, int timeoutMs);
    void setAppearance(int mode);
    bool okToContinue();
    void setCurrentFile(const QString &path);
    void updateRecentFilesMenu();
    void applyAutoReconnectToPorts();
    bool addConnectionAccepted(MultiPortSettingDlg &dialog);
    bool settingsDialogAccepted(MultiPortSettingDlg &dialog);
    bool reopenWanted(int index);
    // Add Connection, starting from the transport `mode` (-1: the last-used one).
    void addConnection(int mode);
    void setupCommandPanel();
    void connectPortAutomation(SerialPortWidget *port);
    void refreshSequenceState();
    void showCommandHelp();
    void createAutomationActions(QMenu *tools);
    void saveAutomation(QSettings &file) const;
    void loadAutomation(QSettings &file);
    void connectPortScripts(SerialPortWidget *port, int index);
    void createScriptActions(QMenu *tools);
    void createHelpActions();
    void attachScriptPorts(ScriptWindow *window);
    void saveScripts(QSettings &file) const;
    void loadScripts(QSettings &file);
    void closeScriptWindowForExit();
    void createDecodeActions(QMenu *tools);
    void createTransferActions(QMenu *tools);
    void connectPortDecode(SerialPortWidget *port);
    void saveDecode(QSettings &file) const;
    void loadDecode(QSettings &file);
    void saveDecodeState(QSettings &store) const;
    void loadDecodeState(QSettings &store);
    QWidget *openDecodeScreenshot(const QString &name);
    void createHistoryActions(QMenu *file);
    void connectPortHistory(SerialPortWidget *port);
    void shareSessionRecordCapacity();
    void createBridgeActions(QMenu *tools);
    void connectPortBridge(SerialPortWidget *port);
    void syncBridgePorts();
    void adoptWaitingBridges();
    void updateBridgeBadges();
    void removeBridgesOfPort(int index);
    void saveBridges(QSettings &file);
    void loadBridges(QSettings &file);
    void createCloudActions();
    void createConsoleActions(); // mainwindow_console.cpp
    void createShareActions();   // mainwindow_shares.cpp
    void on_acCloudShareGuest_triggered();
    QList<LiveSyncState> shareLiveSyncStates() const;
    void revokeSharesForExit();
    void connectPortRelay(SerialPortWidget *port);
    void createRecordingActions(QMenu *file);
    void setupCloud();
    void updateCloudConsentActions();
    void restoreAccountSession();
    void configureAutoSyncTimer();
    void runAutomaticSync();
    void backgroudInitialize();
    void checkForUpdates();
    void onReleaseResponse(const QJsonObject &object);
    void askSyncConflict();
    void onAccountSignedIn();
    void on_acAccountSyncSettings_triggered();
    void on_acAccountDeviceName_triggered();
    // Shows the Edit > Settings dialog; with `cloudPage`, opened at the Cloud page.
    void openSettingsDialog(bool cloudPage);

    std::array<SerialPortWidget *, MaxPorts> portWidgets{};
    int portCountValue = 0;
    int columnCountValue = 1;
    bool tabLayout = false;
    bool autoReconnect = false;
    QWidget *central = nullptr;
    QSplitter *portSplitter = nullptr;
    QList<QSplitter *> rowSplitters;
    QTabWidget *portTabs = nullptr;
    QPair<int, int> gridShape{0, 0};
    int panelsPerRow = 0; // as the last updateGrid() laid them out
    QList<int> rowSizes;
    QList<int> columnSizes;
    QPointer<SerialPortWidget> lastFocusedPort;
    QPointer<ToolBox> toolBoxDialog;
    QPointer<AsciiCode> asciiDialog;
    SessionRecording *sessionRecording = nullptr;
    QAction *acRecordSession = nullptr;

    // Project and last-used state.
    QString currentFile;
    QString lastDirectory;
    QStringList recentFiles;
    QuickSettingsGroups quickSettings;
    SessionState lastState;
    bool wasOpenAtExit = false;
    QMenu *recentMenu = nullptr;
    CommandLibrary commandLibrary;
    CommandPanel *commandPanel = nullptr;
    QDockWidget *commandDock = nullptr;
    ScriptLibrary scriptLibrary = ScriptLibrary::samples();
    QPointer<ScriptWindow> scriptWindow;
    std::array<ScriptPortLink *, MaxPorts> scriptLinks{};
    QList<FrameTemplate> frameTemplateList;
    QPointer<ModbusBuilderDialog> modbusBuilder;
    BridgeManager *bridgeManager = nullptr;
    QHash<SerialPortWidget *, QPointer<QObject>> bridgeEnds; // each panel's PortEndpoint
    QList<BridgeConfig> waitingBridges;
    QPointer<BridgeDialog> bridgeDialog;
    QAction *acAutoReconnect = nullptr;
    QAction *acOpenLastConnection = nullptr;

    // Status bar.
    QLabel *rxLabel = nullptr;
    QLabel *txLabel = nullptr;
    QLabel *logLabel = nullptr;
    QLabel *noticeLabel = nullptr;
    QLabel *liveSyncLabel = nullptr;
    QLabel *accountLabel = nullptr;
    QTimer *noticeTimer = nullptr;
    QTimer *statusRefreshTimer = nullptr;
    QString noticeText;
    NoticeKind noticeKind = NoticeInfo;
    int noticeGeneration = 0;
    QList<NoticeEntry> history;
    bool holdingStartupNotices = true;
    struct HeldNotice
    {
        QString text;
        NoticeKind kind;
        int timeoutMs;
        QString detail;
    };
    QList<HeldNotice> heldNotices;
    LiveSyncSummary lastLiveSync;
    bool liveSyncShown = false;

    // Actions the layout keeps in step.
    QAction *acViewHorizontal = nullptr;
    QAction *acViewVertical = nullptr;
    QAction *acViewGrid = nullptr;
    QAction *acViewCustom = nullptr;
    QAction *acViewTabs = nullptr;
    QAction *acViewQuickSettings = nullptr;
    QAction *acEditAdd = nullptr;
    QAction *acEditRemove = nullptr;
    QAction *acAppearanceLight = nullptr;
    QAction *acAppearanceDark = nullptr;

    // Cloud.
    SessionSyncCoordinator *sessionSync = nullptr;
    QTimer *autoSyncTimer = nullptr;
    QMenu *cloudMenu = nullptr;
    QAction *acCloudNoServer = nullptr;
    QAction *acAccountSignIn = nullptr;
    QAction *acAccountSignOut = nullptr;
    QAction *acAccountSyncNow = nullptr;
    CloudConsoleService *consoleService = nullptr;
    RelayDialer *relayDialer = nullptr;
};
