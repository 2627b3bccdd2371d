#include "session/serialportwidget.h"

#include "connection/connectioncontroller.h"
#include "connection/connectionsettingswidget.h"
#include "bridge/rfc2217clientsession.h"
#include "connection/serialportlist.h"
#include "session/controllineledrow.h"
#include "session/ui_serialportwidget.h"

#include <QSerialPort>
#include <QTimer>

// Reconnecting a lost port (the session does it), and the control lines and break of a
// port panel.

// ---------------------------------------------------------------------------
// Reconnect

void SerialPortWidget::disarmReconnect()
{
    portSession->disarmReconnect();
}

// ---------------------------------------------------------------------------
// Control lines and break

void SerialPortWidget::pressBreak()
{
    QString why;
    if (!mayDisturbPort(TxActor::User, DisturbDtr, &why)) {
        ui->ledRow->releaseBreakHold();
        showMessage(why, 5000);
        return;
    }
    breakReleaseTimer->stop();
    txCaptionTimer->stop();
    breakHeld = applyBreakLine(true);
    if (!breakHeld) {
        ui->ledRow->releaseBreakHold();
        return;
    }
    breakStarted.start();
    ui->ledRow->beginBreakIndication();
}

void SerialPortWidget::requestBreakRelease()
{
    // Every break lasts at least this long, however short the press: devices detect a
    // break by its length.
    if (breakHeld && breakStarted.isValid() && breakStarted.elapsed() < MinimumBreakMs) {
        breakReleaseTimer->start(int(MinimumBreakMs - breakStarted.elapsed()));
        return;
    }
    releaseBreak();
}

void SerialPortWidget::releaseBreak()
{
    breakReleaseTimer->stop();
    if (breakHeld || controller->breakIsActive()) {
        applyBreakLine(false);
    }
    breakHeld = false;
    if (breakStarted.isValid() && breakStarted.elapsed() < MinimumBreakIndicationMs) {
        txCaptionTimer->start(int(MinimumBreakIndicationMs - breakStarted.elapsed()));
    } else {
        restoreTxCaption();
    }
}

void SerialPortWidget::restoreTxCaption()
{
    ui->ledRow->endBreakIndication();
}

bool SerialPortWidget::applyBreakLine(bool on)
{
    const connectionMode mode = portSettings.connMode;
    if (connectionModeIsRemoteSerial(mode)) {
        if (portSettings.useRemoteSerialConfig) {
            if (on) {
                showMessage(explainInertControlLine(), 5000);
            }
            return false;
        }
        return portSession->sendRemoteBreak(on);
    }
    if (mode != ModeSerial) {
        if (on) {
            showMessage(explainInertControlLine(), 5000);
        }
        return false;
    }
    return controller->setSerialLine(ConnectionController::LineBreak, on);
}

void SerialPortWidget::toggleControlLine(int line)
{
    const auto which = static_cast<ConnectionController::SerialLine>(line);
    QString why;
    if (!mayDisturbPort(TxActor::User,
                        which == ConnectionController::LineRts ? DisturbRts : DisturbDtr, &why)) {
        showMessage(why, 5000);
        return;
    }
    if (connectionModeIsRemoteSerial(portSettings.connMode) &&
        !portSettings.useRemoteSerialConfig &&
        !(which == ConnectionController::LineRts && portSettings.flowControl == 1)) {
        // The wished level goes into the record; the remote gets it with the next push,
        // which is now when com-port control is up.
        bool &wished = which == ConnectionController::LineDtr ? portSettings.dtrOn
                                                              : portSettings.rtsOn;
        wished = !wished;
        portSession->pushRemoteSerialSettings();
        markSettingsDirty();
        refreshSerialControlUi();
        return;
    }
    if (portSettings.connMode != ModeSerial ||
        (which == ConnectionController::LineRts && portSettings.flowControl == 1)) {
        showMessage(explainInertControlLine(), 5000);
        return;
    }
    controller->setSerialLine(which, !controller->serialLineRequested(which));
    if (which == ConnectionController::LineDtr) {
        portSettings.dtrOn = controller->serialLineRequested(which);
    } else {
        portSettings.rtsOn = controller->serialLineRequested(which);
    }
    markSettingsDirty();
    refreshSerialControlUi();
}

QString SerialPortWidget::explainInertControlLine() const
{
    const connectionMode mode = portSettings.connMode;
    if (mode == ModeSerial && portSettings.flowControl == 1) {
        return tr("RTS is driven by RTS/CTS flow control and cannot be set by hand.");
    }
    if (connectionModeIsRemoteSerial(mode) && portSettings.useRemoteSerialConfig) {
        return tr("The remote port is left under its own configuration. Clear \"Keep the "
                  "remote port's own config\" to drive RTS, DTR and Break from here.");
    }
    return tr("Control lines belong to a serial port. This connection does not have one.");
}

void SerialPortWidget::refreshSerialControlUi()
{
    onControlLinePollTick();
}

void SerialPortWidget::onControlLinePollTick()
{
    if (!format.showControlLineLeds) {
        return;
    }
    ControlLineLedRow *row = ui->ledRow;
    if (connectionModeIsRemoteSerial(portSettings.connMode)) {
        showRemoteControlLines();
        return;
    }
    QSerialPort *device = controller->serialDevice();
    // A closed port drives no line: all lights are grey until it opens.
    const bool serial = portSettings.connMode == ModeSerial && device->isOpen();
    const bool rtsByFlow = serial && portSettings.flowControl == 1;
    row->setLine(ControlLineLedRow::Rts,
                 serial && controller->serialLineRequested(ConnectionController::LineRts),
                 rtsByFlow);
    row->setLine(ControlLineLedRow::Dtr,
                 serial && controller->serialLineRequested(ConnectionController::LineDtr));
    if (!serial || !controller->serialControlLinesSupported()) {
        row->clearInputs();
        return;
    }
    const QSerialPort::PinoutSignals pins = device->pinoutSignals();
    if (device->error() != QSerialPort::NoError) {
        // A driver without modem-line reporting: the inputs have no source.
        device->clearError();
        row->clearInputs();
        return;
    }
    row->setLine(ControlLineLedRow::Cts, pins & QSerialPort::ClearToSendSignal);
    row->setLine(ControlLineLedRow::Dsr, pins & QSerialPort::DataSetReadySignal);
    row->setLine(ControlLineLedRow::Dcd, pins & QSerialPort::DataCarrierDetectSignal);
    row->setLine(ControlLineLedRow::Ri, pins & QSerialPort::RingIndicatorSignal);
}

void SerialPortWidget::showRemoteControlLines()
{
    // The outputs show what this side asks for, or, while the remote keeps its own
    // configuration, what the remote reports; the inputs come from its modem state.
    ControlLineLedRow *row = ui->ledRow;
    const bool connected = state != Stopped && portSession->portIsOpen();
    const Rfc2217ClientSession::Report &report = portSession->rfc2217Session().report();
    const bool own = portSettings.useRemoteSerialConfig;
    const bool rtsByFlow = !own && portSettings.flowControl == 1;
    row->setLine(ControlLineLedRow::Rts,
                 connected && (own ? report.rts.value_or(false) : portSettings.rtsOn), rtsByFlow);
    row->setLine(ControlLineLedRow::Dtr,
                 connected && (own ? report.dtr.value_or(false) : portSettings.dtrOn));
    const std::optional<quint8> modem = portSession->remoteModemState();
    if (!connected || !modem) {
        row->clearInputs();
        return;
    }
    row->setLine(ControlLineLedRow::Cts, *modem & 0x10);
    row->setLine(ControlLineLedRow::Dsr, *modem & 0x20);
    row->setLine(ControlLineLedRow::Ri, *modem & 0x40);
    row->setLine(ControlLineLedRow::Dcd, *modem & 0x80);
}

void SerialPortWidget::connectRemoteSerial()
{
    connect(portSession, &PortSession::remoteSerialChanged, this, [this] {
        refreshStatus();
        refreshSerialControlUi();
    });
    connect(portSession, &PortSession::remoteSettingsPatched, this, [this] {
        updateDisplay();
        markSettingsDirty();
    });
}

void SerialPortWidget::applyRemoteSerialParams()
{
    // The line parameters and "Keep the remote port's own config" of a remote port
    // change live: the session pushes what differs, or reads the remote's own.
    QString why;
    if (!mayDisturbPort(TxActor::User, DisturbSettings, &why)) {
        showMessage(tr("The line settings were not changed: %1").arg(why), 5000);
        updateDisplay();
        return;
    }
    const Settings edited = ui->connectionSettings->portSettings(portSettings);
    Settings wanted = portSettings;
    copySerialLineParams(edited, wanted);
    wanted.useRemoteSerialConfig = edited.useRemoteSerialConfig;
    if (wanted == portSettings) {
        return;
    }
    portSettings = wanted;
    portSession->pushRemoteSerialSettings();
    markSettingsDirty();
    refreshSerialControlUi();
}
