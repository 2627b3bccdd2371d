// A file transfer on a port session: it takes the received bytes first, writes its
// blocks through the send road without tapping them, learns from the transport when
// its output has left, and ends when the port closes or goes away.

#include "session/portsession.h"

#include "automation/autoreplyrunner.h"
#include "automation/sequencerunner.h"
#include "connection/connectioncontroller.h"
#include "transfer/filetransfersession.h"
#include "transfer/xferstartcheck.h"

#include <QEventLoop>
#include <QTimer>

void PortSession::connectTransferEvents()
{
    ConnectionController *c = controller;
    // The transport's buffer has emptied: the transfer's last bytes are on the wire,
    // so its time-outs may start.
    connect(c, &ConnectionController::bytesWritten, this, [this] {
        if (activeTransfer && activeTransfer->isActive() &&
            controller->pendingWriteBytes(portSettings.connMode) == 0) {
            activeTransfer->egressDrained();
        }
    });
    connect(c, &ConnectionController::serialPortLost, this, [this] { abortTransfer(false); });
    connect(c, &ConnectionController::tcpClientDisconnected, this, [this] { abortTransfer(false); });
    connect(c, &ConnectionController::cloudRelayEnded, this, [this] { abortTransfer(false); });
    connect(c, &ConnectionController::peerLost, this, [this](const QString &peer) {
        if (activeTransfer && activeTransfer->ownsPeer(peer)) {
            abortTransfer(false);
        }
    });
}

bool PortSession::transferRunning() const
{
    return (activeTransfer && activeTransfer->isActive()) ||
           (transferRunningHook && transferRunningHook());
}

XferPortFacts PortSession::transferFacts() const
{
    XferPortFacts facts;
    facts.mode = portSettings.connMode;
    facts.flowControl = portSettings.flowControl;
    facts.transferRunning = transferRunning();
    facts.bridged = bridgedHook && bridgedHook();
    facts.paused = stateValue == Paused;
    if (portSettings.connMode == ModeTcpServer) {
        facts.clients = controller->tcpServerPeers();
    }
    return facts;
}

bool PortSession::startTransfer(FileTransferSession *transfer, QString *error)
{
    transfer->setParent(this);
    QString why = XferStartCheck::startRefusal(transferFacts(), transfer->config());
    if (why.isEmpty() && !portTakesData()) {
        why = lastErrorText.isEmpty() ? tr("The port is not open.") : lastErrorText;
    }
    if (!why.isEmpty()) {
        delete transfer;
        if (error) {
            *error = why;
        }
        return false;
    }
    // Nothing else may write to the port from here on.
    stopRuns(int(SequenceRunner::StopReason::TransferTookOver));
    autoReplyRunner->cancelPending();
    const QString peer = transfer->config().peer;
    transfer->setSender([this, peer](const QByteArray &bytes) { return writeTransferBytes(bytes, peer); });
    connect(transfer, &FileTransferSession::ended, this, &PortSession::onTransferEnded);
    activeTransfer = transfer;
    if (!transfer->start(&why)) {
        activeTransfer = nullptr;
        delete transfer;
        if (error) {
            *error = why;
        }
        return false;
    }
    Q_EMIT transferStarted(transfer);
    return true;
}

bool PortSession::writeTransferBytes(const QByteArray &bytes, const QString &peer)
{
    return writeRaw(bytes, true, peer.isEmpty() ? UdpTargetMode::Default : UdpTargetMode::PeerKey,
                    peer);
}

void PortSession::takeTransferBytes(const QByteArray &bytes)
{
    rxBytes += bytes.size();
    Q_EMIT rxHeld();
    activeTransfer->ingest(bytes);
}

void PortSession::onTransferEnded(const XferEnd &end)
{
    // transfer() still gives the ended transfer to whoever handles the signal.
    Q_EMIT transferFinished(end);
    if (FileTransferSession *ended = std::exchange(activeTransfer, nullptr)) {
        ended->deleteLater();
    }
}

void PortSession::abortTransfer(bool closing)
{
    if (!activeTransfer || !activeTransfer->isActive()) {
        return;
    }
    using Cause = FileTransferSession::CancelCause;
    FileTransferSession *transfer = activeTransfer;
    transfer->beginCancel(closing ? Cause::PortClosed : Cause::PortLost);
    if (activeTransfer != transfer || !transfer->isActive()) {
        return;
    }
    if (closing) {
        // The cancel bytes get a short while to leave before the transport closes; the
        // transfer ends sooner when the transport reports them written.
        QEventLoop wait;
        QTimer::singleShot(transfer->cancelBudgetMs(), &wait, &QEventLoop::quit);
        connect(transfer, &FileTransferSession::ended, &wait, &QEventLoop::quit);
        wait.exec(QEventLoop::ExcludeUserInputEvents);
    }
    if (activeTransfer == transfer) {
        transfer->finishCancel();
    }
}
