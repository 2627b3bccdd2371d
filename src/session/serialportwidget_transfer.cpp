// File transfer on a port panel: the dialog, the files behind it, the progress strip
// under the receive view, and the sentences at the start and the end.

#include "session/serialportwidget.h"

#include "session/ui_serialportwidget.h"
#include "transfer/filetransferbar.h"
#include "transfer/filetransferdialog.h"
#include "transfer/filetransfersession.h"
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"
#include "transfer/xferstartcheck.h"

#include <QBoxLayout>
#include <QDir>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QTimer>

namespace {
// How long the strip keeps showing the outcome after a transfer has ended.
constexpr int BarLingerMs = 10000;
} // namespace

XferChoices &SerialPortWidget::lastTransferChoices()
{
    static XferChoices choices;
    return choices;
}

void SerialPortWidget::setupTransfer()
{
    transferBar = new FileTransferBar(this);
    transferBar->setObjectName(QStringLiteral("fileTransferBar"));
    transferBar->hide();
    // The strip sits right under the received data, where the eye already is.
    if (auto *layout = qobject_cast<QBoxLayout *>(ui->receiveBrowser->parentWidget()->layout())) {
        layout->insertWidget(layout->indexOf(ui->receiveBrowser) + 1, transferBar);
    } else {
        statusBar()->addWidget(transferBar, 1);
    }
    transferBarTimer = new QTimer(this);
    transferBarTimer->setSingleShot(true);
    connect(transferBarTimer, &QTimer::timeout, transferBar, &QWidget::hide);
    connect(transferBar, &FileTransferBar::cancelRequested, this, [this] {
        if (FileTransferSession *transfer = portSession->transfer()) {
            transfer->beginCancel(FileTransferSession::CancelCause::User);
        } else {
            transferBar->hide(); // the strip of an ended transfer: Cancel dismisses it
        }
    });
    connect(portSession, &PortSession::transferStarted, this, [this](FileTransferSession *transfer) {
        noteSession(transfer->logStartedText());
        noteInView(transfer->startedText());
        transferBarTimer->stop();
        transferBar->follow(transfer);
        transferBar->show();
        connect(transfer, &FileTransferSession::progressed, this,
                &SerialPortWidget::transferProgressed);
        connect(transfer, &FileTransferSession::stateChanged, this,
                &SerialPortWidget::transferStateChanged);
        refreshStatus();
        Q_EMIT transferStateChanged();
    });
    connect(portSession, &PortSession::transferFinished, this,
            &SerialPortWidget::onTransferFinished);
}

FileTransferDialog *SerialPortWidget::openFileTransfer(XferDirection direction)
{
    const XferPortFacts facts = portSession->transferFacts();
    const QString why = XferStartCheck::canStartTransfer(facts);
    if (!why.isEmpty()) {
        showMessage(why, 5000);
        return nullptr;
    }
    if (transferDialog) {
        transferDialog->deleteLater();
    }
    const XferChoices &last = lastTransferChoices();
    auto *dialog = new FileTransferDialog(direction, portSettings, facts, this);
    dialog->setProtocol(last.protocol);
    dialog->setSizeCapMiB(last.sizeCapMiB);
    if (direction == XferDirection::Send) {
        dialog->setFilePath(last.sendDir.isEmpty() ? QString()
                                                   : QDir::toNativeSeparators(last.sendDir) +
                                                         QDir::separator());
    } else {
        dialog->setFolder(last.recvDir);
    }
    transferDialog = dialog;
    connect(dialog, &QDialog::accepted, this, [this, dialog] { launchFileTransfer(dialog); });
    connect(dialog, &QDialog::rejected, this, [this, dialog] {
        if (transferDialog == dialog) {
            transferDialog = nullptr;
        }
        dialog->deleteLater();
    });
    dialog->open();
    return dialog;
}

void SerialPortWidget::launchFileTransfer(FileTransferDialog *dialog)
{
    XferChoices &last = lastTransferChoices();
    const XferConfig chosen = dialog->config();
    last.protocol = chosen.protocol;
    last.sizeCapMiB = dialog->sizeCapMiB();
    if (chosen.direction == XferDirection::Send) {
        last.sendDir = QFileInfo(dialog->filePath()).absolutePath();
    } else {
        last.recvDir = dialog->folder();
    }
    if (!chosen.keepOpen) {
        transferDialog = nullptr;
        dialog->deleteLater();
    }

    XferConfig config = chosen;
    // With one client the transfer still belongs to it alone: another that connects
    // later neither feeds it nor receives its blocks.
    const XferPortFacts facts = portSession->transferFacts();
    if (config.peer.isEmpty() && facts.mode == ModeTcpServer && facts.clients.size() == 1) {
        config.peer = facts.clients.constFirst();
    }
    auto *transfer = new FileTransferSession(config, sessionPortLabel());
    QString error;
    if (config.direction == XferDirection::Send) {
        auto source = std::make_unique<XferFileSource>();
        if (!source->open(dialog->filePath(), &error)) {
            delete transfer;
            showMessage(error, 10000);
            return;
        }
        transfer->setSource(std::move(source));
    } else {
        auto sink =
            std::make_unique<XferFileSink>(dialog->folder(), dialog->saveAsName(), config.receiveLimit);
        sink->setNow(QDateTime::currentDateTime());
        transfer->setSink(std::move(sink));
    }
    if (!portSession->startTransfer(transfer, &error)) {
        showMessage(error, 10000);
        noteInView(error);
    }
}

void SerialPortWidget::onTransferFinished(const XferEnd &end)
{
    FileTransferSession *ended = portSession->transfer();
    QString summary = end.message;
    if (ended) {
        noteSession(ended->logEndedText());
        summary = ended->summaryText();
        transferBar->showSession(*ended);
        noteInView(summary);
        for (const QString &notice : ended->takeNotices()) {
            noteInView(notice);
        }
    }
    showMessage(summary, 10000);
    transferBarTimer->start(BarLingerMs);
    refreshStatus();
    Q_EMIT transferEnded(end.ok, summary);
    Q_EMIT transferFinished(end);
    Q_EMIT transferStateChanged();
    if (transferDialog) {
        transferDialog->open(); // "keep this window open": ready for the next file
    }
}
