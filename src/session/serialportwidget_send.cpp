#include "session/serialportwidget.h"

#include "connection/connectioncontroller.h"
#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"
#include "session/controllineledrow.h"
#include "session/receiverenderer.h"
#include "session/ui_serialportwidget.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QTextCursor>

// The send path of a port panel: the send box and its history, auto send, terminal
// typing, and bytes from other subsystems.

// ---------------------------------------------------------------------------
// Sending

bool SerialPortWidget::sendMessage(const QByteArray &bytes)
{
    if (bytes.isEmpty()) {
        return false;
    }
    if (portSettings.connMode == ModeSerial) {
        updateSettings();
    }
    return portSession->sendMessage(bytes);
}

bool SerialPortWidget::writeBytes(const QByteArray &bytes, const QString &peer)
{
    return writeRaw(bytes, true, peer.isEmpty() ? UdpTargetMode::Default : UdpTargetMode::PeerKey,
                    peer);
}

bool SerialPortWidget::writeRaw(const QByteArray &bytes, bool countAsTx,
                                UdpTargetMode udpTargetMode, const QString &peer)
{
    return portSession->writeRaw(bytes, countAsTx, udpTargetMode, peer);
}

void SerialPortWidget::noteTxAccepted(const QByteArray &bytes, const QString &peer, bool hasPeer)
{
    portSession->noteTxAccepted(bytes, peer, hasPeer);
}

int SerialPortWidget::selectedPeerRow() const
{
    return ui->peerCombo->currentIndex();
}

void SerialPortWidget::on_sendButton_clicked()
{
    if (state == Stopped) {
        start(QString());
        return;
    }
    QString why;
    if (!mayDisturbPort(TxActor::User, DisturbData, &why)) {
        showMessage(why, 5000);
        return;
    }
    const QByteArray bytes = encodeSendData(ui->sendTextEdit->toPlainText());
    if (!bytes.isEmpty()) {
        sendMessage(bytes);
    }
}

QByteArray SerialPortWidget::encodeSendData(const QString &text)
{
    if (text.isEmpty()) {
        ui->sendTextEdit->setFocus();
        return QByteArray();
    }
    pullFormatFromWidgets();
    const bool hex = ui->hexSendRadio->isChecked();
    const EncodeSendResult result = MessageCodec::encodeSend(text, hex, format);
    if (!result.ok) {
        showMessage(result.error, 10000);
        return QByteArray();
    }
    if (hex) {
        QString kept = text;
        // Only a send of the whole box reformats it: a line sent line by line must not
        // replace the other lines.
        if (format.formatSend && result.text != text && text == sendText()) {
            setSendText(result.text, false);
            kept = result.text;
        }
        rememberSent(kept.toUpper());
    } else {
        format.textSent = true;
        rememberSent(text);
        if (!applyingSettings) {
            Q_EMIT settingsChanged();
        }
    }
    if (format.displaySendMsg && !result.bytes.isEmpty()) {
        pushByteArray(result.bytes, false, Sent, QString());
        displayPortBuffer();
    }
    updateSendListDisplay();
    return result.bytes;
}

void SerialPortWidget::rememberSent(const QString &entry)
{
    history.removeAll(entry);
    history.prepend(entry);
    while (history.size() > SendHistoryLimit) {
        history.removeLast();
    }
}

QStringList SerialPortWidget::sendHistory() const
{
    return history;
}

void SerialPortWidget::setSendHistory(const QStringList &list)
{
    history.clear();
    for (const QString &entry : list) {
        if (!entry.isEmpty() && !history.contains(entry) && history.size() < SendHistoryLimit) {
            history.append(entry);
        }
    }
    updateSendListDisplay();
}

void SerialPortWidget::mergeSendHistory(const QStringList &list)
{
    for (const QString &entry : list) {
        if (!entry.isEmpty() && !history.contains(entry) && history.size() < SendHistoryLimit) {
            history.append(entry);
        }
    }
    updateSendListDisplay();
}

void SerialPortWidget::clearSendList()
{
    history.clear();
    updateSendListDisplay();
    markSettingsDirty();
}

void SerialPortWidget::updateSendListDisplay()
{
    const QSignalBlocker blocker(ui->sendBox);
    ui->sendBox->clear();
    for (const QString &entry : std::as_const(history)) {
        // One line per entry in the list; the whole text comes back when chosen.
        QString shown = entry;
        shown.replace(QLatin1Char('\n'), QChar(0x21B5));
        ui->sendBox->addItem(shown.left(120), entry);
    }
    ui->sendBox->setCurrentIndex(-1);
}

void SerialPortWidget::on_sendBox_activated(int index)
{
    if (index < 0 || index >= ui->sendBox->count()) {
        return;
    }
    setSendText(ui->sendBox->itemData(index).toString(), false);
}

void SerialPortWidget::setSendText(const QString &text, bool select)
{
    ui->sendTextEdit->setPlainText(text);
    QTextCursor cursor = ui->sendTextEdit->textCursor();
    cursor.movePosition(QTextCursor::End);
    if (select) {
        cursor.movePosition(QTextCursor::Start, QTextCursor::KeepAnchor);
    }
    ui->sendTextEdit->setTextCursor(cursor);
}

void SerialPortWidget::setSendHex(bool hex)
{
    (hex ? ui->hexSendRadio : ui->textSendRadio)->setChecked(true);
    pullFormatFromWidgets();
}

QString SerialPortWidget::sendText() const
{
    return ui->sendTextEdit->toPlainText();
}

void SerialPortWidget::on_autoSendBox_clicked()
{
    pullFormatFromWidgets();
    displayTimer->setInterval(DisplayTickMs);
    sendTimer->setInterval(std::max(1, format.sendInterval));
    if (format.autoSend) {
        if (state != Stopped) {
            sendTimer->start();
        }
    } else {
        sendTimer->stop();
    }
}

void SerialPortWidget::on_cbLinebyLine_stateChanged(int checked)
{
    format.lineByLine = checked != 0;
    linePosition = 0;
}

void SerialPortWidget::onSendData()
{
    if (!portIsOpen() || transferRunning()) {
        return;
    }
    if (!format.autoSend) {
        return;
    }
    const QString text = ui->sendTextEdit->toPlainText();
    QString piece = text;
    if (format.lineByLine) {
        const QStringList lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        if (lines.isEmpty()) {
            return;
        }
        piece = lines.at(linePosition % lines.size());
        linePosition = (linePosition + 1) % lines.size();
    }
    if (piece.isEmpty()) {
        return;
    }
    const QByteArray bytes = encodeSendData(piece);
    if (!bytes.isEmpty()) {
        sendMessage(bytes);
    }
}

// ---------------------------------------------------------------------------
// Terminal typing: keys pressed in the receive view go to the port as they are typed.

bool SerialPortWidget::terminalPassthroughReady() const
{
    return portIsOpen() && !transferRunning();
}

bool SerialPortWidget::eventFilter(QObject *watched, QEvent *event)
{
    // Ctrl+Enter in the send box sends it; Enter alone starts a new line there.
    if (watched == ui->sendTextEdit && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
            key->modifiers().testFlag(Qt::ControlModifier)) {
            on_sendButton_clicked();
            return true;
        }
    }
    if (watched != ui->receiveBrowser && watched != ui->receiveBrowser->viewport()) {
        return QMainWindow::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::KeyPress:
        if (handleTerminalKey(static_cast<QKeyEvent *>(event))) {
            return true;
        }
        renderer->noteUserScroll();
        break;
    case QEvent::Wheel:
        renderer->noteUserScroll();
        break;
    case QEvent::MouseButtonPress:
        renderer->setUserHolding(true);
        break;
    case QEvent::MouseButtonRelease:
        renderer->setUserHolding(false);
        break;
    case QEvent::FocusIn:
    case QEvent::FocusOut:
        updateTerminalIndicator();
        break;
    case QEvent::Resize:
        placeFollowButton();
        break;
    default:
        break;
    }
    return QMainWindow::eventFilter(watched, event);
}

void SerialPortWidget::updateTerminalIndicator()
{
    // The view takes keys for the device: it says so with a frame, a wider caret and a
    // hint, instead of silently sending every key.
    const bool taking = ui->receiveBrowser->hasFocus() && terminalPassthroughReady() &&
                        format.sendMsgFormat == TextFormat;
    if (taking == terminalShown) {
        return;
    }
    terminalShown = taking;
    ui->receiveBrowser->setCursorWidth(taking ? 2 : 1);
    ui->receiveBrowser->setStyleSheet(
        taking ? QStringLiteral("QPlainTextEdit#receiveBrowser { border: 2px solid "
                                "palette(highlight); }")
               : QString());
    const QString hint = tr("Keys typed in the receive view go to the device as you type. "
                            "Click the send box to write a message instead.");
    if (taking) {
        showMessage(hint, 8000);
    } else if (statusBar()->currentMessage() == hint) {
        statusBar()->clearMessage();
    }
}

bool SerialPortWidget::handleTerminalKey(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers =
        event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
    if (!terminalPassthroughReady() || modifiers != Qt::NoModifier ||
        format.sendMsgFormat != TextFormat) {
        return false;
    }
    QByteArray bytes;
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        bytes = MessageCodec::terminalEnterBytes(format.terminalEnterMode);
    } else if (!event->text().isEmpty()) {
        bytes = encodeTerminalText(event->text());
        if (bytes.isEmpty()) {
            return true;
        }
    } else {
        return false;
    }
    if (sendMessage(bytes)) {
        echoTerminalInput(bytes);
    }
    ui->receiveBrowser->moveCursor(QTextCursor::End);
    return true;
}

QByteArray SerialPortWidget::encodeTerminalText(const QString &text)
{
    const WireTextCodecRegistry::Encoded encoded =
        WireTextCodecRegistry::encode(text, format.sendEncoding);
    if (!encoded.ok) {
        showMessage(encoded.error, 10000);
        return QByteArray();
    }
    return encoded.bytes;
}

void SerialPortWidget::echoTerminalInput(const QByteArray &bytes)
{
    if (!format.localEcho) {
        return;
    }
    portSession->queueLocalEcho(bytes);
    displayPortBuffer();
}

// ---------------------------------------------------------------------------
// Bytes from other subsystems

bool SerialPortWidget::ensurePortOpenForSend(QString *error)
{
    if (!portIsOpen()) {
        start(QString());
    }
    if (portTakesData()) {
        return true;
    }
    if (error) {
        *error = lastError.isEmpty() ? tr("The port is not open.") : lastError;
    }
    return false;
}

bool SerialPortWidget::portTakesData() const
{
    return portSession->portTakesData();
}

bool SerialPortWidget::mayDisturbPort(TxActor actor, Disturb disturb, QString *why) const
{
    return portSession->mayDisturbPort(actor, disturb, why);
}

bool SerialPortWidget::transferRunning() const
{
    return portSession->transferRunning();
}

void SerialPortWidget::on_openButton_clicked()
{
    if (state == Stopped) {
        start(QString());
    } else {
        stop();
    }
}

void SerialPortWidget::on_pauseButton_clicked()
{
    if (state == Paused) {
        start(QString());
    } else if (state == Running) {
        pause();
    }
}

void SerialPortWidget::onSaveData()
{
    QString error;
    if (!flushLog(&error) && !error.isEmpty()) {
        showMessage(error, 10000);
    }
    updateCommonStatus();
}
