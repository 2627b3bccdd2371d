#include "transfer/xferstartcheck.h"

QString XferStartCheck::canStartTransfer(const XferPortFacts &facts)
{
    if (facts.transferRunning) {
        return tr("A file transfer is already running on this port.");
    }
    if (connectionModeIsUdp(facts.mode)) {
        return tr("File transfer needs an ordered, reliable connection. UDP cannot provide one.");
    }
    if (facts.bridged) {
        return tr("This port is part of a bridge link. Remove the link before transferring a "
                  "file.");
    }
    if (facts.paused) {
        return tr("The view is paused. Resume it before transferring a file.");
    }
    return QString();
}

bool XferStartCheck::transportIsLossless(const XferPortFacts &facts)
{
    // TCP, RFC 2217 and the relay run over TCP, which resends what it loses; a serial
    // line is only safe from overruns with hardware flow control.
    if (facts.mode == ModeSerial) {
        return facts.flowControl == 1;
    }
    return !connectionModeIsUdp(facts.mode) && facts.mode != ModeReserved;
}

QString XferStartCheck::startRefusal(const XferPortFacts &facts, const XferConfig &config)
{
    const QString general = canStartTransfer(facts);
    if (!general.isEmpty()) {
        return general;
    }
    if (config.protocol == XferProtocol::YmodemG && !transportIsLossless(facts)) {
        return tr("YMODEM-G does not retransmit, so it needs hardware flow control (RTS/CTS). "
                  "This connection has none");
    }
    if (facts.mode == ModeTcpServer) {
        if (config.peer.isEmpty() && facts.clients.size() > 1) {
            return tr("Several clients are connected. Select the one to transfer with.");
        }
        if (!config.peer.isEmpty() && !facts.clients.contains(config.peer)) {
            return tr("The selected client is no longer connected.");
        }
    }
    return QString();
}
