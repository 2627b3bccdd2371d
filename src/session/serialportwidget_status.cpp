#include "session/serialportwidget.h"

#include "connection/connectioncontroller.h"
#include "connection/connectionsettingswidget.h"
#include "connection/serialportlist.h"
#include "session/controllineledrow.h"
#include "session/logwriter.h"
#include "session/ui_serialportwidget.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSerialPort>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QTimer>
#include <QToolButton>

// The one-second tick of a port panel: port scan, lost-port detection and the status
// line.

// ---------------------------------------------------------------------------
// The one-second tick and the status line

void SerialPortWidget::onRefreshAvalablePorts()
{
    const QList<QSerialPortInfo> ports = listUsableSerialPorts();
    QStringList names;
    for (const QSerialPortInfo &info : ports) {
        names.append(info.portName());
    }
    const QString joined = names.join(QLatin1Char(','));

    if (portSettings.connMode == ModeSerial && state != Stopped && !portLost &&
        controller->isOpen(ModeSerial) && !serialPortPresent(portSettings.name, ports)) {
        // The device is gone even if the driver said nothing.
        if (autoReconnect) {
            controller->closeAll(ModeSerial, portSettings.name);
            onSerialPortLost();
        } else {
            noteInView(tr("Lost %1").arg(endpointText()));
            stop();
            showMessage(tr("Serial Port %1 DISCONNECTED").arg(portSettings.name), 5000);
        }
    }
    if (joined != lastPortList) {
        lastPortList = joined;
        ui->connectionSettings->refreshPorts();
    }
    refreshStatus();
}

void SerialPortWidget::refreshStatus()
{
    // A paused port is still open: pausing holds the view, not the connection.
    ui->sendButton->setText(state == Stopped ? tr("Open") : tr("Send"));
    ui->openButton->setText(state == Stopped ? tr("Open") : tr("Close"));
    ui->pauseButton->setText(state == Paused ? tr("Resume") : tr("Pause"));
    ui->pauseButton->setEnabled(state != Stopped);
    ui->connectionSettings->setConnectionOpen(state != Stopped);
    ui->stripOpenButton->setIcon(
        style()->standardIcon(state == Stopped ? QStyle::SP_MediaPlay : QStyle::SP_MediaStop));
    ui->stripOpenButton->setToolTip(ui->openButton->text());
    ui->stripPauseButton->setIcon(
        style()->standardIcon(state == Paused ? QStyle::SP_MediaPlay : QStyle::SP_MediaPause));
    ui->stripPauseButton->setToolTip(ui->pauseButton->text());
    ui->stripPauseButton->setEnabled(state != Stopped);
    const connectionMode mode = portSettings.connMode;
    const bool multiPeer = mode == ModeTcpServer || mode == ModeUdpServer;
    ui->peerLabel->setVisible(multiPeer);
    ui->peerCombo->setVisible(multiPeer);
    switch (mode) {
    case ModeSerial:
        onRefreshSerialPortDisplay();
        break;
    case ModeTcpServer:
        onRefreshTcpServerDisplay();
        break;
    case ModeTcpClient:
    case ModeRemoteSerial:
        onRefreshTcpClientDisplay();
        break;
    case ModeUdpServer:
    case ModeUdpClient:
    case ModeUdpGroup:
        onRefreshUdpClientDisplay();
        break;
    case ModeLiveRelay:
        onRefreshCloudRelayDisplay();
        break;
    case ModeReserved:
        ui->statusLabel->setText(QString());
        updateCommonStatus();
        break;
    }
    // Control lines mean something only where there is a serial line, here or remote.
    ui->ledRow->setSerialLinesVisible(mode == ModeSerial || connectionModeIsRemoteSerial(mode));
    updateTerminalIndicator();
}

void SerialPortWidget::onRefreshSerialPortDisplay()
{
    QSerialPort *device = controller->serialDevice();
    if (device->isOpen()) {
        if (state != Paused) {
            state = Running;
        }
        QString name = portSettings.name;
        if (name.startsWith(QLatin1String("cu."))) {
            name.remove(0, 3);
        }
        const QString parity = portSettings.parity == 3   ? QStringLiteral("ODD")
                               : portSettings.parity == 2 ? QStringLiteral("EVEN")
                               : portSettings.parity == 4 ? QStringLiteral("SPACE")
                               : portSettings.parity == 5 ? QStringLiteral("MARK")
                                                          : QStringLiteral("NONE");
        const QString flow = portSettings.flowControl == 1   ? QStringLiteral("Hardware")
                             : portSettings.flowControl == 2 ? QStringLiteral("Xon/Xoff")
                                                             : QStringLiteral("OFF");
        ui->statusLabel->setText(
            tr("<font color = green> %1 OPENED, %2, %3, %4, %5, %6 </font>")
                .arg(name)
                .arg(portSettings.baudRate)
                .arg(portSettings.stringDataBits, parity, portSettings.stringStopBits, flow));
    } else {
        if (!portLost) {
            state = Stopped;
        }
        ui->statusLabel->setText(tr("<font color = red> %1 CLOSED </font>").arg(portSettings.name));
    }
    updateCommonStatus();
}

void SerialPortWidget::onRefreshTcpServerDisplay()
{
    if (controller->isOpen(ModeTcpServer)) {
        ui->statusLabel->setText(
            tr("<font color = green> TCP server %1 LISTENING, %n client(s) </font>", nullptr,
               controller->tcpServerClientCount())
                .arg(controller->tcpServerAddressString()));
    } else {
        ui->statusLabel->setText(
            tr("<font color = red> TCP server :%1 CLOSED </font>").arg(portSettings.targetPort));
    }
    updateCommonStatus();
}

void SerialPortWidget::onRefreshTcpClientDisplay()
{
    const QString endpoint = portSettings.connMode == ModeRemoteSerial
                                 ? remoteSerialPortLabel(portSettings)
                                 : sessionPortLabel();
    switch (controller->tcpClientState()) {
    case QAbstractSocket::ConnectedState: {
        const QString remote =
            portSettings.connMode == ModeRemoteSerial ? portSession->remoteSummary() : QString();
        ui->statusLabel->setText(
            remote.isEmpty()
                ? tr("<font color = green> TCP %1 CONNECTED </font>").arg(endpoint)
                : tr("<font color = green> TCP %1 CONNECTED, remote port %2 </font>")
                      .arg(endpoint, remote.toHtmlEscaped()));
        break;
    }
    case QAbstractSocket::HostLookupState:
    case QAbstractSocket::ConnectingState:
        ui->statusLabel->setText(
            tr("<font color = orange> TCP %1 CONNECTING </font>").arg(endpoint));
        break;
    default:
        ui->statusLabel->setText(
            reconnectTimer->isActive()
                ? tr("<font color = orange> TCP %1 RECONNECTING </font>").arg(endpoint)
                : tr("<font color = red> TCP %1 CLOSED </font>").arg(endpoint));
        break;
    }
    updateCommonStatus();
}

void SerialPortWidget::onRefreshUdpClientDisplay()
{
    if (controller->isOpen(portSettings.connMode)) {
        ui->statusLabel->setText(tr("<font color = green> UDP bound to port %1, %n peer(s) </font>",
                                    nullptr, int(controller->udpPeerList().size()))
                                     .arg(controller->udpBoundPort()));
    } else {
        ui->statusLabel->setText(tr("<font color = red> UDP CLOSED </font>"));
    }
    updateCommonStatus();
}

void SerialPortWidget::onRefreshCloudRelayDisplay()
{
    ui->statusLabel->setText(controller->cloudRelayPaired()
                                 ? tr("<font color = green> Live Relay %1 CONNECTED </font>")
                                       .arg(remoteSerialPortLabel(portSettings))
                                 : tr("<font color = red> Live Relay CLOSED </font>"));
    updateCommonStatus();
}

void SerialPortWidget::updateCommonStatus()
{
    shownRxBytes = rxBytes;
    shownTxBytes = txBytes;
    ui->counterLabel->setText(tr("Rx: %L1 Bytes").arg(rxBytes) + QStringLiteral("  ") +
                              tr("Tx: %L1 Bytes").arg(txBytes));
    if (format.logSaveFlag && format.logFileName != unresolvedLogFileName()) {
        const QFileInfo file(format.logFileName);
        ui->logLabel->setText(file.fileName());
        ui->logLabel->setToolTip(file.absoluteFilePath());
    } else {
        ui->logLabel->setText(QStringLiteral("  "));
        ui->logLabel->setToolTip(QString());
    }
}

void SerialPortWidget::placeFollowButton()
{
    // At the bottom right of the view's text area, over the text.
    QToolButton *button = ui->followButton;
    const QRect area = ui->receiveBrowser->viewport()->geometry();
    const QSize size = button->sizeHint();
    button->setGeometry(QRect(area.bottomRight() - QPoint(size.width() + 4, size.height() + 4),
                              size));
    button->raise();
}

void SerialPortWidget::showMessage(const QString &text, int timeoutMs)
{
    statusBar()->showMessage(text, timeoutMs);
    Q_EMIT statusShown(text, timeoutMs);
}

// ---------------------------------------------------------------------------
// The log file

QString SerialPortWidget::logPortName() const
{
    // The port's name as it may stand in a file name: the last part of a device path,
    // and no characters that file systems refuse.
    QString name = portSettings.connMode == ModeSerial ? portSettings.name : sessionPortLabel();
    if (portSettings.connMode == ModeSerial && name.contains(QLatin1Char('/'))) {
        name = name.section(QLatin1Char('/'), -1);
    }
    for (QChar &c : name) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c == QLatin1Char(':') ||
            c == QLatin1Char('*') || c == QLatin1Char('?') || c == QLatin1Char('"') ||
            c == QLatin1Char('<') || c == QLatin1Char('>') || c == QLatin1Char('|')) {
            c = QLatin1Char('_');
        }
    }
    if (name.startsWith(QLatin1Char('_'))) {
        name.remove(0, 1);
    }
    return name.isEmpty() ? connectionModePrefix(portSettings.connMode) : name;
}

bool SerialPortWidget::enableLogging()
{
    if (format.logPromptForName) {
        QString path = QFileDialog::getSaveFileName(
            this, tr("Select Log File"),
            logWriter->decode_file_name(format.logFilePath, logPortName()),
            tr("Log files (*.log);;All files (*.*);;Text files (*.txt)"));
        if (path.isEmpty()) {
            return false;
        }
        if (QFileInfo(path).suffix().isEmpty()) {
            path += QStringLiteral(".log");
        }
        // The chosen file is this log's name; the template stays, so rotation and the
        // next log still follow it.
        format.logFileName = path;
    } else {
        format.logFileName = logWriter->decode_file_name(format.logFilePath, logPortName());
    }
    format.logSaveFlag = true;
    logWriter->noteLoggingState(true);
    pushLogToWidgets();
    updateCommonStatus();
    return true;
}

void SerialPortWidget::disableLogging()
{
    QString error;
    flushLog(&error);
    format.logSaveFlag = false;
    logWriter->noteLoggingState(false);
    pushLogToWidgets();
    updateCommonStatus();
}

bool SerialPortWidget::flushLog(QString *error)
{
    const QString header = QStringLiteral("Port Name: ") + currentRealPortName() +
                           QLatin1Char('\n') + QStringLiteral(" Baudrate: ") +
                           QString::number(portSettings.baudRate) + QStringLiteral("\n\n");
    return logWriter->flush(format, logPortName(), header, error);
}

void SerialPortWidget::pushLogToWidgets()
{
    const QSignalBlocker blocker(ui->logSaveBox);
    ui->logSaveBox->setChecked(format.logSaveFlag);
}

void SerialPortWidget::on_logSaveBox_toggled(bool on)
{
    if (on == format.logSaveFlag) {
        return;
    }
    if (on) {
        if (!enableLogging()) {
            // Cancelled: the box shows that nothing logs.
            pushLogToWidgets();
            return;
        }
    } else {
        disableLogging();
    }
    markSettingsDirty();
}

void SerialPortWidget::on_logPathButton_clicked()
{
    QString path =
        QFileDialog::getSaveFileName(this, tr("Select Log File"), format.logFilePath,
                                     tr("Log files (*.log);;All files (*.*);;Text files (*.txt)"));
    if (path.isEmpty()) {
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".log");
    }
    format.logFilePath = path;
    format.logFileName = logWriter->decode_file_name(format.logFilePath, logPortName());
    updateCommonStatus();
    markSettingsDirty();
}

// ---------------------------------------------------------------------------
// Quick settings

void SerialPortWidget::setQuickSettingsGroups(const QuickSettingsGroups &groups)
{
    quickGroups = groups;
    QStringList visible;
    for (const QString &id : groups.groupOrder()) {
        if (groups.groupVisible(id)) {
            visible << id;
        }
    }
    ui->applyGroupOrder(groups.groupOrder(), visible);
    ui->connectionSettings->applySerialFieldLayout(
        groups.visibleFields(QuickSettingsGroups::connectionGroup()));
    ui->applyFieldLayout(ui->receiveGroup,
                         groups.visibleFields(QuickSettingsGroups::receiveGroup()));
    ui->applyFieldLayout(ui->sendGroup, groups.visibleFields(QuickSettingsGroups::sendGroup()));
    // The indicator lights are a field of the connection group.
    const bool lights = groups.fieldVisible(QuickSettingsGroups::connectionGroup(),
                                            QStringLiteral("indicatorLights"));
    ui->ledRow->setVisible(format.showControlLineLeds && lights);
}

void SerialPortWidget::setQuickSettingsVisible(bool visible)
{
    ui->splitter->widget(0)->setVisible(visible);
}

void SerialPortWidget::updateSplitterSizes(int left, int right)
{
    // A file without the sizes reads them as 0: the panel keeps its own division.
    if (left > 0 && right > 0 && !ui->splitter->widget(0)->isHidden()) {
        ui->splitter->setSizes({left, right});
    }
}

void SerialPortWidget::setQuickSettingsCollapsed(bool collapsed)
{
    if (collapsed == quickSettingsCollapsed()) {
        return;
    }
    ui->settingsScroll->setVisible(!collapsed);
    ui->collapsedStrip->setVisible(collapsed);
    // Folded, the pane is no wider than its strip, so the view takes the room.
    ui->settingsHost->setMaximumWidth(collapsed ? ui->collapsedStrip->sizeHint().width()
                                                : QWIDGETSIZE_MAX);
    if (!collapsed) {
        // Opened again at the width its fields ask for.
        const QList<int> sizes = ui->splitter->sizes();
        const int wanted = ui->settingsHost->sizeHint().width();
        if (sizes.size() == 2 && sizes.at(0) < wanted) {
            const int total = sizes.at(0) + sizes.at(1);
            ui->splitter->setSizes({wanted, std::max(0, total - wanted)});
        }
    }
}

bool SerialPortWidget::quickSettingsCollapsed() const
{
    return ui->settingsScroll->isHidden();
}
