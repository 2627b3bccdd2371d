#include "session/serialportwidget.h"

#include "automation/autoreplyrunner.h"
#include "automation/sequencerunner.h"
#include "common/logging.h"
#include "connection/connectioncontroller.h"
#include "connection/connectionsettingswidget.h"
#include "connection/displayfont.h"
#include "connection/portdefaults.h"
#include "connection/messagecodec.h"
#include "connection/serialportlist.h"
#include "connection/settingscodec.h"
#include "connection/wiretextcodecregistry.h"
#include "decode/decoderunner.h"
#include "plot/plotpanel.h"
#include "session/controllineledrow.h"
#include "session/hled.h"
#include "session/logwriter.h"
#include "session/portsession.h"
#include "session/receiverenderer.h"
#include "session/ui_serialportwidget.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLoggingCategory>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSerialPort>
#include <QSet>
#include <QSpinBox>
#include <QSplitter>
#include <QStatusBar>
#include <QTextCursor>
#include <QTime>
#include <QTimer>
#include <QToolButton>

#include <limits>


namespace {
constexpr qsizetype TranscriptLimit = 65536;

// Panels whose display queue holds data. One tick's layout budget is shared among
// them, so that sixteen flooded panels cost the window no more than one.
QSet<const SerialPortWidget *> &panelsWithBacklog()
{
    static QSet<const SerialPortWidget *> panels;
    return panels;
}

// Whether a view of this process trimmed within the last display tick. Trimming half of
// a full view takes tens of milliseconds, and panels fed alike fill up together: trimmed
// all in one turn of the event loop, sixteen of them would hold the window for most of
// a second.
bool &trimTurnTaken()
{
    static bool taken = false;
    return taken;
}

int directionIndex(RXorTx direction)
{
    return direction == Sent ? 1 : 0;
}

// The send interval box runs 1 to 1000000 in the interval's unit.
constexpr int MaxIntervalSpin = 1000000;

int intervalSpinValue(const FormatSetting &format)
{
    const qint64 value = SettingsCodec::msToSpinValue(
        format.sendInterval, SettingsCodec::sanitizeTimeUnit(format.sendTimeUnit));
    return int(std::clamp<qint64>(value, 1, MaxIntervalSpin));
}

QString intervalSuffix(qint32 unit)
{
    switch (unit) {
    case 1:
        return SerialPortWidget::tr(" ms");
    case 1000:
        return SerialPortWidget::tr(" s");
    case 60000:
        return SerialPortWidget::tr(" min");
    default:
        return SerialPortWidget::tr(" × %1 ms").arg(unit);
    }
}

} // namespace

SerialPortWidget::SerialPortWidget(QWidget *parent)
    : QMainWindow(parent)
    , portSession(new PortSession(this))
    , portSettings(portSession->settings())
    , format(portSession->format())
    , state(portSession->state())
    , portNumberValue(portSession->portNumber())
    , rxBytes(portSession->rxByteCount())
    , txBytes(portSession->txByteCount())
    , controller(portSession->connectionController())
    , autoReplyRunner(portSession->autoReplies())
    , sequenceRunner(portSession->sequences())
    , autoReconnect(portSession->autoReconnect())
    , portLost(portSession->portLost())
    , reconnectTimer(portSession->reconnectTimer())
    , ui(new Ui_SerialPortWidget)
{
    ui->setupUi(this);
    renderer = std::make_unique<ReceiveRenderer>(ui->receiveBrowser, &format);
    connectController();
    resetTextDecoders();
    initialPara();
    setupDecode(); // the decoder sees received bytes first, then the plot, then auto reply
    setupPlot();
    setupHistoryViews();
    setupAutomation();
    connectDirtyTrackers();
    updateDisplay();
    displayPortBuffer(DisplayBudgetPerTick);
}

SerialPortWidget::~SerialPortWidget()
{
    panelsWithBacklog().remove(this);
    controller->disconnect(this);
    portSession->disconnect(this);
    delete ui;
}

void SerialPortWidget::initialPara()
{
    const QList<QSerialPortInfo> ports = listUsableSerialPorts();
    portSettings = PortDefaults::portSettings(ports.isEmpty() ? QString()
                                                                        : ports.first().portName());
    format = PortDefaults::formatSettings();

    sendTimer = new QTimer(this);
    sendTimer->setTimerType(Qt::PreciseTimer);
    sendTimer->setInterval(format.sendInterval);
    connect(sendTimer, &QTimer::timeout, this, &SerialPortWidget::onSendData);

    saveTimer = new QTimer(this);
    saveTimer->setInterval(5000);
    connect(saveTimer, &QTimer::timeout, this, &SerialPortWidget::onSaveData);

    displayTimer = new QTimer(this);
    displayTimer->setInterval(DisplayTickMs);
    connect(displayTimer, &QTimer::timeout, this, &SerialPortWidget::onRefreshDisplay);

    portsTimer = new QTimer(this);
    portsTimer->setInterval(1000);
    connect(portsTimer, &QTimer::timeout, this, &SerialPortWidget::onRefreshAvalablePorts);


    logWriter = new LogWriter([] { return QDateTime::currentDateTime(); }, this);

    breakReleaseTimer = new QTimer(this);
    breakReleaseTimer->setSingleShot(true);
    connect(breakReleaseTimer, &QTimer::timeout, this, &SerialPortWidget::releaseBreak);
    txCaptionTimer = new QTimer(this);
    txCaptionTimer->setSingleShot(true);
    connect(txCaptionTimer, &QTimer::timeout, this, &SerialPortWidget::restoreTxCaption);
    controlLinePollTimer = new QTimer(this);
    controlLinePollTimer->setInterval(250);
    connect(controlLinePollTimer, &QTimer::timeout, this, &SerialPortWidget::onControlLinePollTick);

    rxBytes = 0;
    txBytes = 0;
    displayTimer->start();
    portsTimer->start();
    controlLinePollTimer->start();
}

void SerialPortWidget::connectController()
{
    ConnectionController *c = controller;
    connect(c, &ConnectionController::statusMessage, this, &SerialPortWidget::showMessage);
    connect(c, &ConnectionController::errorOccurred, this, &SerialPortWidget::onControllerError);
    connect(c, &ConnectionController::serialPortLost, this, &SerialPortWidget::onSerialPortLost);
    connect(c, &ConnectionController::tcpClientDisconnected, this,
            &SerialPortWidget::disconnectTcpClient);
    connect(c, &ConnectionController::cloudRelayEnded, this, &SerialPortWidget::onCloudRelayEnded);
    connect(c, &ConnectionController::serverConnectionsChanged, this,
            &SerialPortWidget::changeConnState);
    connect(c, &ConnectionController::udpPeersChanged, this, &SerialPortWidget::changeUdpConnState);
    connect(c, &ConnectionController::peerLost, this, &SerialPortWidget::onPeerLost);
    connect(c, &ConnectionController::peerArrived, this, &SerialPortWidget::peerArrived);
    connect(c, &ConnectionController::peerArrived, this, [this](const QString &peer) {
        if (peer.isEmpty() && connectionModeIsTcpClient(portSettings.connMode)) {
            noteInView(tr("Connected to %1").arg(endpointText()));
        }
    });

    // The session's roads, shown here. The panel's own rxTapped and txTapped carry the
    // session's, so whoever connects to the panel sees bytes ahead of the runners.
    PortSession *session = portSession;
    connect(session, &PortSession::rxTapped, this, &SerialPortWidget::rxTapped);
    connect(session, &PortSession::txTapped, this, &SerialPortWidget::txTapped);
    connect(session, &PortSession::rxTapped, this, [this](const QByteArray &bytes,
                                                          const QString &peer) {
        if (!peer.isEmpty() && portSettings.connMode == ModeTcpServer) {
            noteServerMessage(bytes, peer);
        }
    });
    connect(session, &PortSession::rxHeld, this, [this] { ui->ledRow->flashRx(); });
    connect(session, &PortSession::rxQueued, this, [this](const QByteArray &shown) {
        ui->ledRow->flashRx();
        if (!shown.isEmpty()) {
            emitConsoleTraffic(shown, Received);
        }
    });
    connect(session, &PortSession::sending, this,
            [this](const QByteArray &bytes) { emitConsoleTraffic(bytes, Sent); });
    connect(session, &PortSession::displayQueued, this,
            [this] { panelsWithBacklog().insert(this); });
    connect(session, &PortSession::txAccepted, this, [this](const QByteArray &bytes) {
        updateCommonStatus();
        if (!bytes.isEmpty() && !breakHeld) {
            ui->ledRow->flashTx();
        }
    });
    connect(session, &PortSession::statusMessage, this, &SerialPortWidget::showMessage);
    connect(session, &PortSession::noted, this, &SerialPortWidget::noteSequence);
    connect(session, &PortSession::reconnected, this, [this] {
        noteSession(tr("Reconnected %1").arg(sessionPortLabel()));
        if (portSettings.connMode == ModeSerial) {
            refreshSerialControlUi();
            noteInView(tr("Reconnected %1").arg(endpointText()));
        }
        refreshStatus();
    });
    connect(session, &PortSession::scriptStateChanged, this, &SerialPortWidget::scriptStateChanged);
    session->selectedPeerRowHook = [this] { return selectedPeerRow(); };
    session->reopenHook = [this] { start(QString()); };
    connectRemoteSerial();
    setupTransfer();
}

void SerialPortWidget::connectDirtyTrackers()
{
    connect(ui->connectionSettings, &ConnectionSettingsWidget::settingsEdited, this,
            &SerialPortWidget::markSettingsDirty);
    connect(ui->connectionSettings, &ConnectionSettingsWidget::serialParamsEdited, this,
            &SerialPortWidget::onSerialParamsEdited);
    connect(ui->splitter, &QSplitter::splitterMoved, this, [this] {
        const QList<int> sizes = ui->splitter->sizes();
        if (sizes.size() == 2 && sizes.at(0) > 0 && sizes.at(1) > 0) {
            format.splitterLeft = sizes.at(0);
            format.splitterRight = sizes.at(1);
            markSettingsDirty();
        }
    });
    connect(ui->connectionSettings, &ConnectionSettingsWidget::connectionConfigChanged, this,
            [this] {
                if (state == Stopped) {
                    updateSettings();
                    refreshStatus();
                }
            });
    connect(ui->openButton, &QPushButton::clicked, this, &SerialPortWidget::on_openButton_clicked);
    connect(ui->pauseButton, &QPushButton::clicked, this,
            &SerialPortWidget::on_pauseButton_clicked);
    connect(ui->clearButton, &QPushButton::clicked, this, &SerialPortWidget::clear);
    connect(ui->stripOpenButton, &QToolButton::clicked, this,
            &SerialPortWidget::on_openButton_clicked);
    connect(ui->stripPauseButton, &QToolButton::clicked, this,
            &SerialPortWidget::on_pauseButton_clicked);
    connect(ui->stripClearButton, &QToolButton::clicked, this, &SerialPortWidget::clear);
    connect(ui->collapseButton, &QToolButton::clicked, this,
            [this] { setQuickSettingsCollapsed(true); });
    connect(ui->expandButton, &QToolButton::clicked, this,
            [this] { setQuickSettingsCollapsed(false); });
    connect(ui->sendButton, &QPushButton::clicked, this, &SerialPortWidget::on_sendButton_clicked);
    connectFormatWidgets();
    connect(ui->ledRow, &ControlLineLedRow::breakPressed, this, &SerialPortWidget::pressBreak);
    connect(ui->ledRow, &ControlLineLedRow::breakReleased, this,
            &SerialPortWidget::requestBreakRelease);
    connect(ui->ledRow, &ControlLineLedRow::rtsClicked, this,
            [this] { toggleControlLine(ConnectionController::LineRts); });
    connect(ui->ledRow, &ControlLineLedRow::dtrClicked, this,
            [this] { toggleControlLine(ConnectionController::LineDtr); });
}

void SerialPortWidget::markSettingsDirty()
{
    if (!applyingSettings) {
        Q_EMIT settingsChanged();
    }
}

void SerialPortWidget::updateDisplay()
{
    const bool wasApplying = std::exchange(applyingSettings, true);
    ui->connectionSettings->applySettings(portSettings);
    pushFormatToWidgets();
    ui->ledRow->setVisible(format.showControlLineLeds);
    refreshStatus();
    refreshSerialControlUi();
    applyingSettings = wasApplying;
}

void SerialPortWidget::pushFormatToWidgets()
{
    const auto selectData = [](QComboBox *combo, int value) {
        const int index = combo->findData(value);
        combo->setCurrentIndex(index >= 0 ? index : 0);
    };
    (format.receiveMsgFormat == TextFormat ? ui->textReceiveRadio : ui->hexReceiveRadio)
        ->setChecked(true);
    (format.sendMsgFormat == TextFormat ? ui->textSendRadio : ui->hexSendRadio)->setChecked(true);
    ui->receiveEncodingCombo->setCurrentText(
        WireTextCodecRegistry::normalizeName(format.receiveEncoding));
    ui->sendEncodingCombo->setCurrentText(
        WireTextCodecRegistry::normalizeName(format.sendEncoding));
    ui->rxAutoFeedBox->setChecked(format.rxAutoFeedLine);
    ui->autoFeedIntervalSpin->setValue(std::max(1, format.autoFeedInterval));
    ui->displayTimeBox->setChecked(format.displayMsgTime);
    ui->autoSendBox->setChecked(format.autoSend);
    ui->sendIntervelSB->setSuffix(
        intervalSuffix(SettingsCodec::sanitizeTimeUnit(format.sendTimeUnit)));
    ui->sendIntervelSB->setValue(intervalSpinValue(format));
    selectData(ui->txLineEndingCombo, format.txLineEndingMode);
    selectData(ui->terminalEnterCombo, format.terminalEnterMode);
    selectData(ui->checksumCombo, format.sendChecksum);
    ui->sendEscapesBox->setChecked(format.sendEscapes);
    ui->formatSendBox->setChecked(format.formatSend);
    ui->displaySendBox->setChecked(format.displaySendMsg);
    ui->localEchoBox->setChecked(format.localEcho);
    ui->cbLinebyLine->setChecked(format.lineByLine);
    pushLogToWidgets();
    ui->receiveBrowser->setFont(resolveDisplayFont(format.logFont));
    ui->sendTextEdit->setFont(ui->receiveBrowser->font());
}

void SerialPortWidget::pullFormatFromWidgets()
{
    FormatSetting next = format;
    next.receiveMsgFormat = ui->textReceiveRadio->isChecked() ? TextFormat : HexFormat;
    next.sendMsgFormat = ui->textSendRadio->isChecked() ? TextFormat : HexFormat;
    next.receiveEncoding =
        WireTextCodecRegistry::normalizeName(ui->receiveEncodingCombo->currentText());
    next.sendEncoding = WireTextCodecRegistry::normalizeName(ui->sendEncodingCombo->currentText());
    next.rxAutoFeedLine = ui->rxAutoFeedBox->isChecked();
    next.autoFeedInterval = ui->autoFeedIntervalSpin->value();
    next.displayMsgTime = ui->displayTimeBox->isChecked();
    next.autoSend = ui->autoSendBox->isChecked();
    // The box shows the interval in its unit; an interval it cannot show exactly (or
    // beyond its range) stays as it is until the box is edited.
    if (ui->sendIntervelSB->value() != intervalSpinValue(format)) {
        next.sendInterval = int(std::min<qint64>(
            SettingsCodec::sendIntervalToMs(ui->sendIntervelSB->value(),
                                            SettingsCodec::sanitizeTimeUnit(format.sendTimeUnit)),
            std::numeric_limits<int>::max()));
    }
    next.txLineEndingMode = lineEndingModeFromInt(ui->txLineEndingCombo->currentData().toInt());
    next.terminalEnterMode = lineEndingModeFromInt(ui->terminalEnterCombo->currentData().toInt());
    next.sendChecksum = ui->checksumCombo->currentData().toInt();
    next.sendEscapes = ui->sendEscapesBox->isChecked();
    next.formatSend = ui->formatSendBox->isChecked();
    next.displaySendMsg = ui->displaySendBox->isChecked();
    next.localEcho = ui->localEchoBox->isChecked();
    next.lineByLine = ui->cbLinebyLine->isChecked();
    if (next == format) {
        return;
    }
    const bool encodingChanged = next.receiveEncoding != format.receiveEncoding ||
                                 next.sendEncoding != format.sendEncoding ||
                                 next.receiveMsgFormat != format.receiveMsgFormat;
    // Text and hex do not share a line: a switch starts a new one.
    const bool viewSwitched = next.receiveMsgFormat != format.receiveMsgFormat ||
                              next.sendMsgFormat != format.sendMsgFormat;
    if (encodingChanged || viewSwitched) {
        // What waits was read under the old settings and is shown under them.
        displayPortBuffer();
    }
    if (viewSwitched) {
        renderer->startNewLine();
    }
    format = next;
    sendTimer->setInterval(std::max(1, format.sendInterval));
    if (encodingChanged) {
        resetTextDecoders();
        // Rules match and answer in the port's encodings.
        autoReplyRunner->setEncodings(format.receiveEncoding, format.sendEncoding);
    }
}

void SerialPortWidget::connectFormatWidgets()
{
    const auto edited = [this] {
        if (applyingSettings) {
            return;
        }
        pullFormatFromWidgets();
        markSettingsDirty();
    };
    for (QRadioButton *radio :
         {ui->textReceiveRadio, ui->hexReceiveRadio, ui->textSendRadio, ui->hexSendRadio}) {
        connect(radio, &QRadioButton::toggled, this, edited);
    }
    for (QComboBox *combo : {ui->receiveEncodingCombo, ui->sendEncodingCombo, ui->txLineEndingCombo,
                             ui->terminalEnterCombo, ui->checksumCombo}) {
        connect(combo, &QComboBox::currentIndexChanged, this, edited);
    }
    for (QCheckBox *box : {ui->rxAutoFeedBox, ui->displayTimeBox, ui->sendEscapesBox,
                           ui->formatSendBox, ui->displaySendBox, ui->localEchoBox}) {
        connect(box, &QCheckBox::toggled, this, edited);
    }
    for (QSpinBox *spin : {ui->autoFeedIntervalSpin, ui->sendIntervelSB}) {
        connect(spin, &QSpinBox::valueChanged, this, edited);
    }
    connect(ui->autoSendBox, &QCheckBox::clicked, this, [this, edited] {
        edited();
        on_autoSendBox_clicked();
    });
    connect(ui->cbLinebyLine, &QCheckBox::stateChanged, this, [this, edited](int state) {
        edited();
        on_cbLinebyLine_stateChanged(state);
    });
    connect(ui->sendBox, &QComboBox::activated, this, &SerialPortWidget::on_sendBox_activated);
    connect(ui->logSaveBox, &QCheckBox::toggled, this, &SerialPortWidget::on_logSaveBox_toggled);
    connect(ui->logPathButton, &QToolButton::clicked, this,
            &SerialPortWidget::on_logPathButton_clicked);
    ui->receiveBrowser->installEventFilter(this);
    ui->receiveBrowser->viewport()->installEventFilter(this);
    ui->sendTextEdit->installEventFilter(this);
    // The view says when it does not follow new data, and one click makes it follow.
    renderer->followingChanged = [this](bool following) {
        ui->followButton->setVisible(!following);
        placeFollowButton();
    };
    connect(ui->followButton, &QToolButton::clicked, this, [this] { renderer->followEnd(); });
}

void SerialPortWidget::setPortNumber(int number)
{
    portNumberValue = number;
}

// ---------------------------------------------------------------------------
// Records

void SerialPortWidget::updateSettings()
{
    // Only what the user edited is pulled: the pane cannot show every value a record
    // may hold, and a round trip through it must not change a record. While running,
    // the fields cannot change what is open.
    if (state == Stopped && ui->connectionSettings->hasUserEdits()) {
        portSettings = ui->connectionSettings->portSettings(portSettings);
        ui->connectionSettings->applySettings(portSettings);
    }
}

void SerialPortWidget::applySettings(const Settings &settings)
{
    disarmReconnect();
    nextOpenSettings.reset();
    portSettings = settings;
    updateDisplay();
}

void SerialPortWidget::copySerialLineParams(const Settings &from, Settings &to)
{
    to.baudRate = from.baudRate;
    to.dataBits = from.dataBits;
    to.stringDataBits = from.stringDataBits;
    to.parity = from.parity;
    to.stringParity = from.stringParity;
    to.stopBits = from.stopBits;
    to.stringStopBits = from.stringStopBits;
    to.flowControl = from.flowControl;
    to.stringFlowControl = from.stringFlowControl;
}

bool SerialPortWidget::applySerialParams(const Settings &settings, QString *error)
{
    QString why;
    if (!mayDisturbPort(TxActor::User, DisturbSettings, &why)) {
        if (error) {
            *error = why;
        }
        return false;
    }
    if (portSettings.connMode != ModeSerial) {
        if (error) {
            *error = tr("the port is not a serial port");
        }
        return false;
    }
    if (!controller->applySerialParams(settings, error)) {
        return false;
    }
    copySerialLineParams(settings, portSettings);
    updateDisplay();
    markSettingsDirty();
    return true;
}

bool SerialPortWidget::settingsNeedReopen(const Settings &settings) const
{
    // Compared as the connection sees them: the line parameters of a serial port change
    // live, and the remembered hosts and the wished control lines change nothing open.
    Settings running = portSettings;
    Settings wanted = settings;
    const bool lineIsLive = running.connMode == ModeSerial && wanted.connMode == ModeSerial;
    const bool lineMatters = connectionModeIsRemoteSerial(running.connMode) &&
                             !running.useRemoteSerialConfig;
    if (lineIsLive || !lineMatters) {
        copySerialLineParams(running, wanted);
    }
    wanted.targetHostList = running.targetHostList;
    wanted.dtrOn = running.dtrOn;
    wanted.rtsOn = running.rtsOn;
    if (running.connMode == ModeTcpServer) {
        wanted.name = running.name; // a server names itself by its address
    }
    return !(running == wanted);
}

bool SerialPortWidget::applyRunningSettings(const Settings &settings, QString *error)
{
    nextOpenSettings.reset();
    Settings next = settings;
    bool ok = true;
    if (portSettings.connMode == ModeSerial && controller->isOpen(ModeSerial)) {
        Settings line = portSettings;
        copySerialLineParams(settings, line);
        if (!(line == portSettings)) {
            ok = applySerialParams(line, error);
        }
        copySerialLineParams(portSettings, next);
    }
    if (portSettings.connMode == ModeTcpServer) {
        next.name = portSettings.name;
    }
    portSettings = next;
    updateDisplay();
    return ok;
}

void SerialPortWidget::keepSettingsForNextOpen(const Settings &settings)
{
    if (state == Stopped) {
        applySettings(settings);
        return;
    }
    nextOpenSettings = settings;
}

Settings SerialPortWidget::settingsForNextOpen() const
{
    return nextOpenSettings.value_or(portSettings);
}

void SerialPortWidget::onSerialParamsEdited()
{
    if (state == Stopped) {
        return; // taken with the other fields at the next open
    }
    if (connectionModeIsRemoteSerial(portSettings.connMode)) {
        applyRemoteSerialParams();
        return;
    }
    Settings wanted = portSettings;
    copySerialLineParams(ui->connectionSettings->portSettings(portSettings), wanted);
    if (wanted == portSettings || !controller->isOpen(ModeSerial)) {
        return;
    }
    QString error;
    if (!applySerialParams(wanted, &error)) {
        showMessage(tr("The line settings were not changed: %1").arg(error), 5000);
        updateDisplay(); // the pane shows what is in force
    }
}

void SerialPortWidget::applyFormatSetting(const FormatSetting &newFormat)
{
    const bool encodingChanged = newFormat.receiveEncoding != format.receiveEncoding ||
                                 newFormat.sendEncoding != format.sendEncoding;
    const bool viewSwitched = newFormat.receiveMsgFormat != format.receiveMsgFormat ||
                              newFormat.sendMsgFormat != format.sendMsgFormat;
    if (encodingChanged || viewSwitched) {
        displayPortBuffer();
    }
    if (viewSwitched) {
        renderer->startNewLine();
    }
    format = newFormat;
    autoReplyRunner->setEncodings(format.receiveEncoding, format.sendEncoding);
    sendTimer->setInterval(std::max(1, format.sendInterval));
    if (format.autoSend && state == Running) {
        sendTimer->start();
    } else if (!format.autoSend) {
        sendTimer->stop();
    }
    if (encodingChanged) {
        resetTextDecoders();
    }
    updateDisplay();
}

// ---------------------------------------------------------------------------
// Start, stop, pause

bool SerialPortWidget::start(const QString &portName)
{
    disarmReconnect();
    const int oldState = state;
    if (oldState != Paused) {
        lastError.clear(); // a failure names this attempt's reason, not an older one
    }
    updateSettings();
    logAtLineStart = true;
    logPendingFlag = false;

    if (oldState != Paused) {
        resetTextDecoders();
        displayTimer->start();
    } else {
        displayTimer->start();
        // Held bytes keep the times they arrived at, not the time of the resume.
        portSession->releaseHeld();
    }
    state = Running;

    // Resuming from a pause reopens nothing: a listening server would drop its
    // clients and a rebound UDP socket its peers.
    const bool resuming = oldState == Paused && portIsOpen();
    const bool ok = resuming || portSession->openTransport(portName);
    if (!ok) {
        // The reason the transport gave, or the one shown for settings that cannot open.
        const QString why = lastError.isEmpty() ? statusBar()->currentMessage() : lastError;
        noteInView(why.isEmpty() ? tr("Could not open %1").arg(endpointText())
                                 : tr("Could not open %1: %2").arg(endpointText(), why));
        failStart();
        return false;
    }
    // A log file the user picked when logging began stays until logging stops.
    if (!(format.logPromptForName && format.logSaveFlag)) {
        format.logFileName = logWriter->decode_file_name(format.logFilePath, logPortName());
    }
    if (format.logStartOnConnect && !format.logSaveFlag) {
        enableLogging();
    }
    if (format.autoSend) {
        sendTimer->start();
    } else {
        sendTimer->stop();
    }
    saveTimer->start();
    refreshStatus();
    refreshSerialControlUi();
    if (oldState != Paused) {
        const QString detail = sessionPortInfo();
        noteSession(detail.isEmpty() ? tr("Opened %1").arg(sessionPortLabel())
                                     : tr("Opened %1 (%2)").arg(sessionPortLabel(), detail));
        noteInView(connectionModeIsTcpClient(portSettings.connMode) && !portIsOpen()
                       ? tr("Connecting to %1 ...").arg(endpointText())
                       : tr("Opened %1").arg(endpointText()));
    }
    Q_EMIT openStateChanged();
    return true;
}

void SerialPortWidget::failStart()
{
    state = Stopped;
    sendTimer->stop();
    saveTimer->stop();
    releaseBreak();
    refreshStatus();
    refreshSerialControlUi();
}

void SerialPortWidget::stop()
{
    const bool wasActive = state != Stopped || sendTimer->isActive() || saveTimer->isActive();
    state = Stopped;
    sendTimer->stop();
    saveTimer->stop();
    disarmReconnect();
    // A stopped server lets its clients go without a word for each.
    peerTranscripts.clear();
    plot->resetStream();
    decoder->flush();
    releaseBreak();
    portSession->close();
    refreshStatus();
    refreshSerialControlUi();

    if (wasActive) {
        displayPortBuffer();
        onSaveData();
        noteSession(tr("Closed %1").arg(sessionPortLabel()));
        noteInView(tr("Closed %1").arg(endpointText()));
    }
    if (nextOpenSettings) {
        portSettings = *std::exchange(nextOpenSettings, std::nullopt);
        updateDisplay();
    }
    if (wasActive) {
        Q_EMIT openStateChanged();
    }
}

void SerialPortWidget::pause()
{
    if (state != Running) {
        return;
    }
    if (transferRunning()) {
        showMessage(tr("A file transfer is running; the view cannot be paused."), 5000);
        return;
    }
    sendTimer->stop();
    state = Paused;
    onSaveData();
    refreshStatus();
}

void SerialPortWidget::clear()
{
    renderer->clear();
    lastViewNote.clear();
    rxBytes = 0;
    txBytes = 0;
    resetTextDecoders();
    updateCommonStatus();
    clearHistoryViews();
}

// ---------------------------------------------------------------------------
// Identity

bool SerialPortWidget::portIsOpen() const
{
    return portSession->portIsOpen();
}

QString SerialPortWidget::currentRealPortName() const
{
    return portSettings.name;
}

void SerialPortWidget::setPortName(const QString &name)
{
    portSettings.name = name;
    updateDisplay();
}

QString SerialPortWidget::consolePortKey() const
{
    return portSession->consoleKey();
}

QString SerialPortWidget::sessionPortLabel() const
{
    return portSession->label();
}

QString SerialPortWidget::sessionPortInfo() const
{
    return portSession->describe();
}

QStringList SerialPortWidget::connectedPeers() const
{
    return portSession->connectedPeers();
}

void SerialPortWidget::setAutoReconnect(bool on)
{
    portSession->setAutoReconnect(on);
}

void SerialPortWidget::noteSession(const QString &text)
{
    portSession->recordNote(text);
}

// ---------------------------------------------------------------------------
// The received road

void SerialPortWidget::noteServerMessage(const QByteArray &bytes, const QString &peer)
{
    QString &transcript = peerTranscripts[peer];
    transcript.append(peerDecoder(peer).decode(bytes));
    if (transcript.size() > TranscriptLimit) {
        transcript.remove(0, transcript.size() - TranscriptLimit);
    }
}

void SerialPortWidget::ingestRx(const QByteArray &bytes, bool pausable, const QString &peer)
{
    portSession->ingestRx(bytes, pausable, peer);
}

void SerialPortWidget::pushByteArray(const QByteArray &bytes, bool count, RXorTx direction,
                                     const QString &peer, const QDateTime &time)
{
    portSession->pushByteArray(bytes, count, direction, peer, time);
}

void SerialPortWidget::emitConsoleTraffic(const QByteArray &bytes, RXorTx direction)
{
    if (!consoleCapture) {
        return;
    }
    const QString text = consoleDecoders[directionIndex(direction)]->decode(bytes);
    Q_EMIT consoleTraffic(text, direction == Sent, consolePortKey());
}

// ---------------------------------------------------------------------------
// The display pump

void SerialPortWidget::onRefreshDisplay()
{
    if (state == Running && !portSession->displayQueueEmpty()) {
        // Only panels that show what waits share the budget: a paused server or UDP
        // panel keeps its queue without taking a share.
        qsizetype sharing = 0;
        for (const SerialPortWidget *panel : std::as_const(panelsWithBacklog())) {
            sharing += panel->state == Running ? 1 : 0;
        }
        sharing = std::max<qsizetype>(1, sharing);
        // The budget is one of characters laid out: a byte shown in hex is three.
        const qint64 perByte = format.receiveMsgFormat == TextFormat ? 1 : 3;
        displayPortBuffer(std::max<qint64>(MinimumSharedBudget / perByte,
                                           DisplayBudgetPerTick / sharing / perByte));
    } else if (renderer->characterCount() > renderer->characterBudget()) {
        // A view that waited for its turn to trim and then received nothing more.
        trimViewInTurn();
    }
    if (rxBytes != shownRxBytes || txBytes != shownTxBytes) {
        updateCommonStatus();
    }
}

void SerialPortWidget::displayPortBuffer(qint64 budget)
{
    if (portSession->displayQueueEmpty()) {
        return;
    }
    // What the view cannot keep is not laid out only to be trimmed again: when more
    // waits than the view holds, the oldest records skip the view. Counters, taps and
    // the recording saw them at arrival.
    const qint64 keep = renderer->characterBudget();
    qint64 skipped = 0;
    while (portSession->pendingDisplayBytes() > keep && portSession->pendingDisplayRecords() > 1) {
        const rxData record = portSession->takeDisplayPiece(-1);
        skipped += record.data.size();
        logRecord(record);
    }
    if (skipped > 0) {
        renderer->appendSystemLine(
            tr("[%L1 bytes not shown: the view could not keep up with the data rate]")
                .arg(skipped));
    }

    // One layout pass for the whole tick instead of one per record.
    renderer->beginBatch();
    qint64 total = 0;
    while (!portSession->displayQueueEmpty()) {
        // One read can bring megabytes. A record far over the budget (or over a shared
        // budget) is shown in budget-sized pieces over several ticks, so that no tick
        // blocks the window; the text decoders carry split characters from one piece
        // to the next. Hex is cut finer still: the view lays a line out as a whole, so
        // no record may make one hex line long.
        const rxData &front = portSession->displayFront();
        const bool hex = (front.direction == Sent ? format.sendMsgFormat
                                                  : format.receiveMsgFormat) != TextFormat;
        const qint64 left = portSession->displayFrontLeft();
        qint64 limit = -1;
        if (hex) {
            limit = HexSliceBytes;
        } else if (budget >= 0 && left > (budget < DisplayBudgetPerTick ? budget : 2 * budget)) {
            limit = budget;
        }
        const rxData record = portSession->takeDisplayPiece(limit);
        total += record.data.size();
        renderer->render(record);
        logRecord(record);
        if (budget >= 0 && total >= budget) {
            break;
        }
    }
    if (portSession->displayQueueEmpty()) {
        panelsWithBacklog().remove(this);
    }
    renderer->endBatch();
    trimViewInTurn();
}

void SerialPortWidget::trimViewInTurn()
{
    // One view trims per display tick; the others wait their turn, a few ticks at most,
    // while their views grow a little past the budget. A view half again over its
    // budget trims at once, whatever the others do.
    const qint64 budget = renderer->characterBudget();
    const qint64 count = renderer->characterCount();
    if (count <= budget) {
        return;
    }
    if (trimTurnTaken() && count <= budget + budget / 2) {
        return;
    }
    if (renderer->trimToBudget() > 0 && !trimTurnTaken()) {
        trimTurnTaken() = true;
        QTimer::singleShot(DisplayTickMs, [] { trimTurnTaken() = false; });
    }
}

void SerialPortWidget::logRecord(const rxData &record)
{
    // Local echo is shown, never logged; nothing is decoded while logging is off.
    if (record.isLocalEcho || !format.logSaveFlag) {
        return;
    }
    // Each line of the log carries the time its bytes arrived or were sent.
    logWriter->appendLine(MessageCodec::decodeForLog(record, format, logAtLineStart,
                                                     logPendingFlag, logLastTime,
                                                     logDecoders[1].get(), logDecoders[0].get()),
                          format, record.time);
}

QString SerialPortWidget::viewText() const
{
    return ui->receiveBrowser->toPlainText();
}

// ---------------------------------------------------------------------------
// Transport events

QString SerialPortWidget::endpointText() const
{
    const Settings &s = portSettings;
    switch (s.connMode) {
    case ModeSerial:
        return s.name.isEmpty() ? tr("the serial port") : s.name;
    case ModeTcpServer:
        return tr("TCP server port %1").arg(s.targetPort);
    case ModeUdpServer:
        return tr("UDP port %1").arg(s.udpServerPort);
    case ModeUdpClient:
        return tr("UDP %1 (local port %2)").arg(sessionPortLabel()).arg(s.udpLocalPort);
    case ModeUdpGroup:
        return tr("UDP port %1").arg(s.udpLocalPort);
    case ModeTcpClient:
    case ModeRemoteSerial:
    case ModeLiveRelay:
    case ModeReserved:
        break;
    }
    const QString label = sessionPortLabel();
    return label.isEmpty() ? tr("this connection") : label;
}

void SerialPortWidget::noteInView(const QString &text)
{
    // A failure that repeats (a reconnect every two seconds) is written once.
    if (text == lastViewNote) {
        return;
    }
    lastViewNote = text;
    // What arrived before the event shows above its line, unless the view is held.
    if (state != Paused) {
        displayPortBuffer();
    }
    renderer->appendSystemLine(
        QStringLiteral("[%1] %2").arg(QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz")),
                                      text),
        QColor(0x80, 0x80, 0x80));
}

void SerialPortWidget::onControllerError(const QString &text)
{
    lastError = text;
    const QString name = controller->transportErrorName();
    noteSession(name.isEmpty() ? tr("Error (as shown in the UI): %1").arg(text)
                               : tr("Error: %1").arg(name));
    // A client connection that failed to come up leaves nothing open.
    if (connectionModeIsTcpClient(portSettings.connMode) && state != Stopped &&
        !controller->hasTcpClientSocket()) {
        noteInView(tr("Could not connect to %1: %2").arg(endpointText(), text));
        // What a run sent while connecting is gone with the connection.
        stopRuns(int(SequenceRunner::StopReason::ConnectionLost));
        if (autoReconnect) {
            if (!reconnectTimer->isActive()) {
                reconnectTimer->start();
            }
        } else {
            failStart();
        }
    }
}

void SerialPortWidget::onSerialPortLost()
{
    noteSession(tr("Serial port lost"));
    noteInView(autoReconnect && state != Stopped
                   ? tr("Lost %1, waiting for it to come back").arg(endpointText())
                   : tr("Lost %1").arg(endpointText()));
    stopRuns(int(SequenceRunner::StopReason::ConnectionLost));
    breakReleaseTimer->stop();
    if (breakHeld) {
        controller->setSerialLine(ConnectionController::LineBreak, false);
    }
    breakHeld = false;
    ui->ledRow->releaseBreakHold();
    if (breakStarted.isValid() && breakStarted.elapsed() < MinimumBreakIndicationMs) {
        txCaptionTimer->start(int(MinimumBreakIndicationMs - breakStarted.elapsed()));
    } else {
        ui->ledRow->endBreakIndication();
    }
    refreshSerialControlUi();
    if (autoReconnect && state != Stopped && portSettings.connMode == ModeSerial) {
        portLost = true;
        showMessage(
            tr("Serial Port %1 lost, waiting for it to come back...").arg(portSettings.name), 3000);
        reconnectTimer->start();
    }
    refreshStatus();
}

void SerialPortWidget::disconnectTcpClient()
{
    noteSession(tr("Connection lost"));
    stopRuns(int(SequenceRunner::StopReason::ConnectionLost));
    displayPortBuffer();
    if (state == Stopped) {
        return;
    }
    noteInView(tr("Connection to %1 lost").arg(endpointText()));
    if (autoReconnect && connectionModeIsTcpClient(portSettings.connMode)) {
        showMessage(tr("Connection lost, reconnecting..."), 3000);
        reconnectTimer->start();
        refreshStatus();
        return;
    }
    stop();
}

void SerialPortWidget::onCloudRelayEnded(const QString &reason)
{
    noteSession(tr("Live Relay ended (as shown in the UI): %1").arg(reason));
    showMessage(tr("Live Relay ended: %1").arg(reason), 15000);
    disconnectTcpClient();
    stop();
}

void SerialPortWidget::onPeerLost(const QString &peer)
{
    peerDecoders.erase(peer);
    peerTranscripts.remove(peer);
    Q_EMIT peerLost(peer);
}

void SerialPortWidget::changeConnState()
{
    const QString current = ui->peerCombo->currentText();
    ui->peerCombo->clear();
    ui->peerCombo->addItems(controller->tcpServerPeers());
    const int index = ui->peerCombo->findText(current);
    ui->peerCombo->setCurrentIndex(index >= 0 ? index : 0);
    onRefreshTcpServerDisplay();
}

void SerialPortWidget::changeUdpConnState()
{
    // Peers are only ever appended (or all cleared with the socket), so a new peer adds
    // one row: a port scan of thousands of senders stays linear.
    const int known = int(controller->udpPeerList().size());
    if (ui->peerCombo->count() > known) {
        ui->peerCombo->clear();
    }
    const bool wasEmpty = ui->peerCombo->count() == 0;
    for (int row = ui->peerCombo->count(); row < known; ++row) {
        ui->peerCombo->addItem(controller->udpPeerKeyAt(row));
    }
    if (wasEmpty && known > 0) {
        ui->peerCombo->setCurrentIndex(0);
    }
}

// ---------------------------------------------------------------------------
// Text decoders

WireTextDecoderPtr SerialPortWidget::createDecoder(const QString &encoding) const
{
    return WireTextCodecRegistry::createDecoder(encoding);
}

WireTextDecoder &SerialPortWidget::peerDecoder(const QString &peer)
{
    auto it = peerDecoders.find(peer);
    if (it == peerDecoders.end()) {
        it = peerDecoders.emplace(peer, createDecoder(format.receiveEncoding)).first;
    }
    return *it->second;
}

void SerialPortWidget::resetTextDecoders()
{
    renderer->resetDecoders();
    logDecoders = {createDecoder(format.receiveEncoding), createDecoder(format.sendEncoding)};
    consoleDecoders = {createDecoder(format.receiveEncoding), createDecoder(format.sendEncoding)};
    peerDecoders.clear();
    portSession->resetEscapeFilter(WireTextCodecRegistry::isSingleByte(format.receiveEncoding));
}
