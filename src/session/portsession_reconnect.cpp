// Reconnecting a lost port.

#include "session/portsession.h"

#include "connection/connectioncontroller.h"
#include "connection/serialportlist.h"

#include <QTimer>

void PortSession::setAutoReconnect(bool on)
{
    autoReconnectOn = on;
    controller->setAutoReconnect(on);
    if (!on) {
        disarmReconnect();
    }
}

void PortSession::armReconnect()
{
    if (!reconnectTicker->isActive()) {
        reconnectTicker->start();
    }
}

void PortSession::disarmReconnect()
{
    reconnectTicker->stop();
    lostFlag = false;
}

void PortSession::onReconnectTick()
{
    if (!autoReconnectOn) {
        disarmReconnect();
        return;
    }
    const connectionMode mode = portSettings.connMode;
    if (connectionModeIsTcpClient(mode)) {
        if (!controller->hasTcpClientSocket()) {
            Q_EMIT statusMessage(tr("Reconnecting to %1:%2 ...")
                                     .arg(portSettings.targetHost)
                                     .arg(portSettings.targetPort),
                                 2000);
            controller->connectTcpClient(portSettings.targetHost.trimmed(),
                                         quint16(qBound(0, portSettings.targetPort, 65535)));
            return;
        }
        if (!controller->isOpen(mode)) {
            return;
        }
        stateValue = Running;
        disarmReconnect();
        Q_EMIT statusMessage(tr("TCP connection RESTORED"), 3000);
        Q_EMIT reconnected();
        return;
    }
    if (mode != ModeSerial || !lostFlag || controller->isOpen(ModeSerial)) {
        disarmReconnect();
        return;
    }
    if (!serialPortPresent(portSettings.name, listUsableSerialPorts())) {
        return;
    }
    if (!controller->openSerial(portSettings, portSettings.name, portSettings.name, true)) {
        return;
    }
    stateValue = Running;
    disarmReconnect();
    Q_EMIT statusMessage(tr("Serial Port %1 RECONNECTED").arg(portSettings.name), 3000);
    Q_EMIT reconnected();
}
