#include "session/consoleport.h"

#include "connection/connectioncontroller.h"
#include "connection/settings.h"
#include "session/portsession.h"

#include <QSerialPort>

ConsolePort::ConsolePort(PortSession *session, QObject *parent)
    : QObject(parent), portSession(session)
{
    connect(session, &PortSession::rxTapped, this,
            [this](const QByteArray &bytes) { emitTraffic(true, rxText, bytes); });
    connect(session, &PortSession::txTapped, this,
            [this](const QByteArray &bytes) { emitTraffic(false, txText, bytes); });
}

void ConsolePort::setCapture(bool on)
{
    // A capture starts afresh: half a character from an earlier one is not glued on.
    if (on && !capturing) {
        rxText.resetState();
        txText.resetState();
    }
    capturing = on;
}

void ConsolePort::emitTraffic(bool rx, QStringDecoder &decoder, const QByteArray &bytes)
{
    if (!capturing)
        return;
    const QString text = decoder.decode(bytes);
    // Bytes that only begin a character wait in the decoder for the next read.
    if (!text.isEmpty())
        emit consoleTraffic(portKey(), rx, text);
}

QString ConsolePort::portKey() const
{
    return portSession->consoleKey();
}

bool ConsolePort::relayCapable() const
{
    return portSession->settings().connMode == ModeSerial;
}

QJsonObject ConsolePort::description() const
{
    const Settings &s = portSession->settings();
    QJsonObject json{{QStringLiteral("port_key"), portKey()},
                     {QStringLiteral("display_name"), portSession->label()},
                     {QStringLiteral("description"), portSession->describe()},
                     {QStringLiteral("is_open"), portSession->portIsOpen()}};
    if (relayCapable()) {
        json.insert(QStringLiteral("serial"),
                    QJsonObject{{QStringLiteral("baud_rate"), s.baudRate},
                                {QStringLiteral("data_bits"), s.dataBits},
                                {QStringLiteral("parity"), s.parity},
                                {QStringLiteral("stop_bits"), s.stopBits},
                                {QStringLiteral("flow_control"), s.flowControl}});
    }
    return json;
}

namespace {
bool refuse(QString *code, QString *why, const QString &c, const QString &text)
{
    *code = c;
    *why = text;
    return false;
}
} // namespace

bool ConsolePort::sendBytes(const QByteArray &bytes, QString *code, QString *why)
{
    QString guard;
    if (!portSession->mayDisturbPort(PortSession::TxActor::Console, PortSession::DisturbData,
                                     &guard))
        return refuse(code, why, QStringLiteral("port_busy"), guard);
    if (!portSession->portTakesData())
        return refuse(code, why, QStringLiteral("port_closed"), tr("the port is not open"));
    if (!portSession->sendMessage(bytes))
        return refuse(code, why, QStringLiteral("write_failed"),
                      portSession->lastError().isEmpty() ? tr("the port refused the data")
                                                         : portSession->lastError());
    return true;
}

bool ConsolePort::openPort(QString *code, QString *why)
{
    if (portSession->portIsOpen())
        return true;
    if (!portSession->open())
        return refuse(code, why, QStringLiteral("open_failed"), portSession->lastError());
    return true;
}

bool ConsolePort::closePort(QString *code, QString *why)
{
    QString guard;
    if (!portSession->mayDisturbPort(PortSession::TxActor::Console, PortSession::DisturbSettings,
                                     &guard))
        return refuse(code, why, QStringLiteral("port_busy"), guard);
    portSession->close();
    return true;
}

bool ConsolePort::applyConfig(const QJsonObject &params, QString *code, QString *why)
{
    QString guard;
    if (!portSession->mayDisturbPort(PortSession::TxActor::Console, PortSession::DisturbSettings,
                                     &guard))
        return refuse(code, why, QStringLiteral("port_busy"), guard);
    Settings changed = portSession->settings();
    patchSerialParams(params, changed);
    QString error;
    if (portSession->portIsOpen() &&
        !portSession->connectionController()->applySerialParams(changed, &error))
        return refuse(code, why, QStringLiteral("config_failed"), error);
    portSession->settings() = changed;
    // The port's pane shows what the browser or a relay set.
    Q_EMIT portSession->remoteSettingsPatched();
    return true;
}

qint64 ConsolePort::relayWrite(const QByteArray &bytes)
{
    QString guard;
    if (bytes.isEmpty() ||
        !portSession->mayDisturbPort(PortSession::TxActor::Console, PortSession::DisturbData,
                                     &guard) ||
        !portSession->portIsOpen())
        return 0;
    return portSession->writeRaw(bytes, true, PortSession::UdpTargetMode::Default, QString())
               ? bytes.size()
               : 0;
}

qint64 ConsolePort::relayPendingBytes() const
{
    return portSession->connectionController()->pendingWriteBytes(portSession->settings().connMode);
}

quint8 ConsolePort::modemState() const
{
    ConnectionController *controller = portSession->connectionController();
    QSerialPort *device = controller->serialDevice();
    if (portSession->settings().connMode != ModeSerial || !device->isOpen() ||
        !controller->serialControlLinesSupported())
        return 0;
    const QSerialPort::PinoutSignals pins = device->pinoutSignals();
    if (device->error() != QSerialPort::NoError) {
        // A driver without modem-line reporting (a pseudo-terminal): nothing to tell.
        device->clearError();
        return 0;
    }
    quint8 state = 0;
    if (pins & QSerialPort::DataCarrierDetectSignal)
        state |= 0x80;
    if (pins & QSerialPort::RingIndicatorSignal)
        state |= 0x40;
    if (pins & QSerialPort::DataSetReadySignal)
        state |= 0x20;
    if (pins & QSerialPort::ClearToSendSignal)
        state |= 0x10;
    return state;
}

bool ConsolePort::setControlLine(int line, bool on)
{
    const auto disturb = line == ConnectionController::LineDtr   ? PortSession::DisturbDtr
                         : line == ConnectionController::LineRts ? PortSession::DisturbRts
                                                                 : PortSession::DisturbData;
    QString guard;
    if (!portSession->mayDisturbPort(PortSession::TxActor::Console, disturb, &guard))
        return false;
    if (line == ConnectionController::LineDtr)
        portSession->settings().dtrOn = on;
    else if (line == ConnectionController::LineRts)
        portSession->settings().rtsOn = on;
    const bool ok = portSession->connectionController()->setSerialLine(
        ConnectionController::SerialLine(line), on);
    if (line != ConnectionController::LineBreak)
        Q_EMIT portSession->remoteSettingsPatched();
    return ok;
}

void ConsolePort::setReadThrottled(bool on)
{
    portSession->connectionController()->setReadThrottled(portSession->settings().connMode, on);
}

bool ConsolePort::supportsThrottle() const
{
    // A serial line without flow control cannot be held back (see the controller).
    const Settings &s = portSession->settings();
    return s.connMode != ModeSerial || s.flowControl != 0;
}
