// Remote serial on a port session: the com-port control stream that runs beside the
// payload on an RFC 2217 client connection or a Live Relay. The client session owns no
// clock or timer; this file gives it both, moves its bytes and tells the owner what the
// remote reports.

#include "session/portsession.h"

#include "bridge/rfc2217clientsession.h"
#include "bridge/rfc2217serversession.h"
#include "connection/connectioncontroller.h"

#include <QTimer>

void PortSession::connectRemoteSerial()
{
    remoteSerial = std::make_unique<Rfc2217ClientSession>();
    remoteSerialClock.start();
    remoteSerialTimer = new QTimer(this);
    remoteSerialTimer->setSingleShot(true);
    remoteSerialTimer->setTimerType(Qt::PreciseTimer);
    connect(remoteSerialTimer, &QTimer::timeout, this, [this] {
        const Rfc2217ClientSession::Outcome out = remoteSerial->tick(remoteSerialClock.elapsed());
        handleRfc2217Outcome(out.reply, out.message, out.stateChanged, out.answers);
        // A partial echo of the greeting that turned out not to be one is data.
        ingestRx(out.data, true, QString());
    });
    ConnectionController *c = controller;
    connect(c, &ConnectionController::peerArrived, this, [this](const QString &peer) {
        if (peer.isEmpty()) {
            beginRfc2217Session();
        }
    });
    connect(c, &ConnectionController::tcpClientDisconnected, this,
            &PortSession::endRfc2217Session);
    connect(c, &ConnectionController::cloudRelayEnded, this, &PortSession::endRfc2217Session);
}

void PortSession::beginRfc2217Session()
{
    const connectionMode mode = portSettings.connMode;
    if (!connectionModeIsRemoteSerial(mode)) {
        return;
    }
    controller->sendRemoteSerialControl(mode,
                                        remoteSerial->begin(remoteSerialClock.elapsed()));
    armRfc2217Timer();
    noteRemoteSerialChange();
}

void PortSession::endRfc2217Session()
{
    remoteSerialTimer->stop();
    remoteSerial->reset();
    noteRemoteSerialChange();
}

QByteArray PortSession::ingestRfc2217(const QByteArray &bytes)
{
    if (bytes.isEmpty()) {
        return bytes;
    }
    const Rfc2217ClientSession::Outcome out =
        remoteSerial->receive(bytes, remoteSerialClock.elapsed());
    handleRfc2217Outcome(out.reply, out.message, out.stateChanged, out.answers);
    return out.data;
}

void PortSession::handleRfc2217Outcome(
    const QByteArray &reply, const QString &message, bool stateChanged,
    const QList<std::pair<quint64, Rfc2217Codec::Event>> &answers)
{
    if (!reply.isEmpty()) {
        controller->sendRemoteSerialControl(portSettings.connMode, reply);
    }
    if (stateChanged) {
        remoteSerialTimer->stop();
        if (remoteSerial->state() == Rfc2217ClientSession::ComPort) {
            pushRemoteSerialSettings();
        }
    }
    if (!message.isEmpty()) {
        Q_EMIT statusMessage(message, 5000);
    }
    for (const auto &[ticket, event] : answers) {
        Q_EMIT rfc2217Answered(ticket, event);
    }
    armRfc2217Timer();
    noteRemoteSerialChange();
}

void PortSession::armRfc2217Timer()
{
    const qint64 next = remoteSerial->nextTimeoutMs(remoteSerialClock.elapsed());
    if (next < 0) {
        remoteSerialTimer->stop();
    } else {
        remoteSerialTimer->start(int(std::min<qint64>(next, std::numeric_limits<int>::max())));
    }
}

void PortSession::noteRemoteSerialChange()
{
    const QString summary = remoteSerial->remoteSummary();
    const std::optional<quint8> modem = remoteSerial->report().modemState;
    const int state = int(remoteSerial->state());
    if (summary == shownRemoteSummary && modem == shownModemState && state == shownRemoteState) {
        return;
    }
    shownRemoteSummary = summary;
    shownModemState = modem;
    shownRemoteState = state;
    Q_EMIT remoteSerialChanged();
}

QByteArray PortSession::encodePayload(const QByteArray &bytes) const
{
    return connectionModeIsRemoteSerial(portSettings.connMode) ? remoteSerial->encodePayload(bytes)
                                                               : bytes;
}

void PortSession::pushRemoteSerialSettings()
{
    const connectionMode mode = portSettings.connMode;
    if (!connectionModeIsRemoteSerial(mode)) {
        return;
    }
    const QByteArray bytes = remoteSerial->settingsUpdate(portSettings, remoteSerialClock.elapsed());
    if (!bytes.isEmpty()) {
        controller->sendRemoteSerialControl(mode, bytes);
    }
}

bool PortSession::sendRemoteBreak(bool on)
{
    const QByteArray bytes = remoteSerial->breakCommand(on, remoteSerialClock.elapsed());
    if (bytes.isEmpty()) {
        if (on) {
            Q_EMIT statusMessage(tr("The remote peer did not accept RFC 2217 com-port control, "
                                    "so Break cannot be sent."),
                                 5000);
        }
        return false;
    }
    if (!controller->sendRemoteSerialControl(portSettings.connMode, bytes)) {
        Q_EMIT statusMessage(tr("Could not send Break: the connection is not open."), 5000);
        return false;
    }
    if (on) {
        Q_EMIT statusMessage(
            tr("Sent Break to the remote port; it is released when you let go."), 5000);
    }
    return true;
}

QString PortSession::remoteSummary() const
{
    return remoteSerial->remoteSummary();
}

std::optional<quint8> PortSession::remoteModemState() const
{
    return remoteSerial->report().modemState;
}

quint64 PortSession::bridgeForwardRfc2217(const Rfc2217Codec::Event &event, QString *error)
{
    const auto fail = [error](const QString &why) {
        if (error) {
            *error = why;
        }
        return quint64(0);
    };
    const connectionMode mode = portSettings.connMode;
    if (!connectionModeIsRemoteSerial(mode)) {
        return fail(tr("this port is not a remote serial port"));
    }
    if (!event.query && transferRunning()) {
        return fail(tr("a file transfer is using the port"));
    }
    if (!portIsOpen()) {
        return fail(tr("the remote serial port is not connected"));
    }
    QByteArray bytes;
    const quint64 ticket = remoteSerial->forwardRequest(event, &bytes, remoteSerialClock.elapsed());
    if (ticket == 0) {
        return fail(tr("the remote peer has not accepted RFC 2217 com-port control"));
    }
    if (!controller->sendRemoteSerialControl(mode, bytes)) {
        remoteSerial->withdraw(ticket);
        return fail(tr("the connection to the remote serial port is not open"));
    }
    remoteSerial->commitForward(ticket);
    if (!event.query && !portSettings.useRemoteSerialConfig) {
        // The record follows what the remote now holds, so that the pane shows it and a
        // later push of the record does not undo the change.
        const Rfc2217ServerSession::Outcome applied = Rfc2217ServerSession::apply(event, portSettings);
        patchSerialParams(applied.serialConfig, portSettings);
        for (const Rfc2217ServerSession::ControlAction &action : applied.controls) {
            if (action.line == Rfc2217ServerSession::Dtr) {
                portSettings.dtrOn = action.on;
            } else if (action.line == Rfc2217ServerSession::Rts) {
                portSettings.rtsOn = action.on;
            }
        }
        Q_EMIT remoteSettingsPatched();
    }
    return ticket;
}

void PortSession::bridgeWithdrawRfc2217(quint64 ticket)
{
    remoteSerial->withdraw(ticket);
}
