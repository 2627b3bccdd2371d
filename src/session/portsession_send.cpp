// The send roads of a port session and the runs on it.

#include "session/portsession.h"

#include "automation/autoreplyengine.h"
#include "automation/autoreplyrunner.h"
#include "automation/sequencerunner.h"
#include "connection/connectioncontroller.h"
#include "recording/sessionrecorder.h"
#include "scripting/scriptengine.h"

bool PortSession::sendMessage(const QByteArray &bytes)
{
    if (bytes.isEmpty()) {
        return false;
    }
    Q_EMIT sending(bytes);
    const int row = selectedPeerRowHook ? selectedPeerRowHook() : -1;
    QString peerKey;
    bool ok = false;
    switch (portSettings.connMode) {
    case ModeSerial:
        ok = controller->sendSerial(bytes, portSettings, portSettings.name);
        break;
    case ModeTcpServer:
        if (controller->tcpServerClientCount() == 0) {
            Q_EMIT statusMessage(tr("No TCP client is connected yet."), 3000);
            return false;
        }
        peerKey = controller->tcpServerPeerAt(row < 0 ? 0 : row);
        ok = controller->sendTcpServer(bytes, row);
        break;
    case ModeTcpClient:
    case ModeRemoteSerial:
    case ModeLiveRelay: {
        const bool relay = portSettings.connMode == ModeLiveRelay;
        if (!(relay ? controller->hasCloudRelay() : controller->hasTcpClientSocket())) {
            if (reopenHook) {
                reopenHook();
            } else {
                open();
            }
        }
        // The counters and taps below see the bytes as given, not as escaped.
        const QByteArray wire = encodePayload(bytes);
        ok = relay ? controller->sendCloudRelay(wire) : controller->sendTcpClient(wire);
        break;
    }
    case ModeUdpServer:
        peerKey = controller->udpPeerKeyAt(row < 0 ? 0 : row);
        ok = controller->sendUdpToPeer(bytes, row);
        break;
    case ModeUdpClient:
    case ModeUdpGroup: {
        peerKey = QStringLiteral("%1:%2").arg(portSettings.targetHost).arg(portSettings.targetPort);
        bool queued = false;
        ok = controller->sendUdp(bytes, portSettings.targetHost,
                                 quint16(qBound(0, portSettings.targetPort, 65535)), &queued);
        if (queued) {
            return true; // counted when written, once the host's name is resolved
        }
        break;
    }
    case ModeReserved:
        break;
    }
    if (ok) {
        noteTxAccepted(bytes, peerKey, false);
    }
    return ok;
}

bool PortSession::writeRaw(const QByteArray &bytes, bool countAsTx, UdpTargetMode udpTargetMode,
                           const QString &peer)
{
    if (bytes.isEmpty()) {
        return false;
    }
    bool ok = false;
    bool hasPeer = false;
    bool queued = false;
    switch (portSettings.connMode) {
    case ModeSerial:
        ok = controller->isOpen(ModeSerial) &&
             controller->sendSerial(bytes, portSettings, portSettings.name);
        break;
    case ModeTcpServer:
        if (!peer.isEmpty()) {
            ok = controller->sendTcpServerTo(peer, bytes);
            hasPeer = true;
        } else {
            ok = controller->broadcastTcpServer(bytes) > 0;
        }
        break;
    case ModeTcpClient:
    case ModeRemoteSerial:
        ok = controller->sendTcpClient(encodePayload(bytes));
        break;
    case ModeUdpServer:
    case ModeUdpClient:
    case ModeUdpGroup:
        switch (udpTargetMode) {
        case UdpTargetMode::LastSender:
            ok = controller->sendUdpToLastSender(bytes);
            break;
        case UdpTargetMode::PeerKey:
            ok = controller->sendUdpToPeerKey(peer, bytes);
            hasPeer = true;
            break;
        case UdpTargetMode::AllPeers:
            ok = controller->broadcastUdp(bytes) > 0;
            break;
        case UdpTargetMode::Default:
            if (portSettings.connMode == ModeUdpServer) {
                ok = controller->sendUdpToPeer(bytes,
                                               selectedPeerRowHook ? selectedPeerRowHook() : -1);
            } else {
                ok = controller->sendUdp(bytes, portSettings.targetHost,
                                         quint16(qBound(0, portSettings.targetPort, 65535)),
                                         countAsTx ? &queued : nullptr);
            }
            break;
        }
        break;
    case ModeLiveRelay:
        ok = controller->sendCloudRelay(encodePayload(bytes));
        break;
    case ModeReserved:
        break;
    }
    if (ok && countAsTx && !queued) {
        noteTxAccepted(bytes, peer, hasPeer);
    }
    return ok;
}

void PortSession::noteTxAccepted(const QByteArray &bytes, const QString &peer, bool hasPeer)
{
    if (!transferRunning() && !bytes.isEmpty()) {
        history->recordTx(bytes, hasPeer ? peer : QString(), wallClockUs());
    }
    txBytes += bytes.size();
    Q_EMIT txAccepted(bytes);
    // A transfer's blocks are for the device alone, not for decoders or bridges.
    if (!transferRunning()) {
        Q_EMIT txTapped(bytes, hasPeer ? peer : QString());
    }
}

bool PortSession::sendAutoReply(const QByteArray &bytes, const QString &peer)
{
    if (transferRunning() || !portIsOpen()) {
        return false;
    }
    // The answer goes to the peer that asked.
    const bool ok = writeRaw(
        bytes, true, peer.isEmpty() ? UdpTargetMode::Default : UdpTargetMode::PeerKey, peer);
    if (ok && formatValue.displaySendMsg) {
        pushByteArray(bytes, false, Sent, peer);
    }
    return ok;
}

bool PortSession::sendSequenceBytes(const QByteArray &bytes)
{
    if (transferRunning() || !portTakesData()) {
        return false;
    }
    const bool ok = sendMessage(bytes);
    if (ok && formatValue.displaySendMsg) {
        pushByteArray(bytes, false, Sent, QString());
    }
    return ok;
}

bool PortSession::mayDisturbPort(TxActor actor, Disturb disturb, QString *why) const
{
    if (!transferRunning()) {
        return true;
    }
    QString reason;
    if (actor == TxActor::Transfer) {
        if (disturb != DisturbSettings) {
            return true;
        }
        reason = tr("A file transfer is running.");
    } else if (disturb == DisturbHarmless) {
        return true;
    } else if (disturb == DisturbData) {
        reason = tr("A file transfer is using this port. Sending data now would corrupt it.");
    } else if (disturb == DisturbSettings) {
        reason = tr("A file transfer is using this port. Changing the port settings would "
                    "interrupt it.");
    } else {
        reason = tr("A file transfer is using this port. Changing the control lines would "
                    "interrupt it.");
    }
    if (why) {
        *why = reason;
    }
    return false;
}

// ---------------------------------------------------------------------------
// Runs

bool PortSession::startSequence(const Sequence &sequence, QString *error)
{
    return sequenceRunner->start(sequence, formatValue, error);
}

void PortSession::stopSequence(int reason)
{
    if (sequenceRunner->isRunning()) {
        sequenceRunner->stop(
            SequenceRunner::stopReasonText(static_cast<SequenceRunner::StopReason>(reason)));
    }
}

bool PortSession::sequenceRunning() const
{
    return sequenceRunner->isRunning();
}

void PortSession::stopRuns(int reason)
{
    stopSequence(reason);
    if (scriptStopHook) {
        scriptStopHook(reason);
    }
}

ScriptPortInfo PortSession::scriptPortInfo() const
{
    ScriptPortInfo info;
    info.name = label();
    info.mode = connectionModeTransportWord(portSettings.connMode);
    info.format = formatValue;
    info.autoReplyOn = autoReplyRunner->engine().enabledRuleCount() > 0 &&
                       !autoReplyRunner->config().playDead;
    return info;
}
