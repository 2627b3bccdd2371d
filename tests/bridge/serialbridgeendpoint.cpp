#include "serialbridgeendpoint.h"

#include <QFileInfo>

SerialBridgeEndpoint::SerialBridgeEndpoint(const QString &path, bool throttleable, QObject *parent)
    : BridgeEndpoint(parent)
    , device(path)
    , canThrottle(throttleable)
{
    line.name = path;
    line.baudRate = 9600;
    connect(&device, &QSerialPort::readyRead, this, &SerialBridgeEndpoint::readAvailable);
    connect(&device, &QSerialPort::bytesWritten, this, &BridgeEndpoint::bytesWritten);
}

QString SerialBridgeEndpoint::displayName() const
{
    return QFileInfo(line.name).fileName();
}

void SerialBridgeEndpoint::ensureOpen()
{
    if (device.isOpen()) {
        return;
    }
    if (!device.open(QIODevice::ReadWrite)) {
        Q_EMIT endpointMessage(
            QStringLiteral("cannot open %1: %2").arg(line.name, device.errorString()));
        return;
    }
    device.setBaudRate(line.baudRate);
}

void SerialBridgeEndpoint::applySerialConfig(const QJsonObject &config)
{
    patchSerialParams(config, line);
    device.setBaudRate(line.baudRate);
    device.setDataBits(QSerialPort::DataBits(line.dataBits));
    device.setParity(QSerialPort::Parity(line.parity));
    device.setStopBits(QSerialPort::StopBits(line.stopBits));
    Q_EMIT settingsChanged();
}

void SerialBridgeEndpoint::setControlLine(Rfc2217ServerSession::Line which, bool on)
{
    // A pty has no modem lines; the wanted levels are kept as a port keeps them.
    if (which == Rfc2217ServerSession::Dtr) {
        line.dtrOn = on;
    } else if (which == Rfc2217ServerSession::Rts) {
        line.rtsOn = on;
    }
}

qint64 SerialBridgeEndpoint::writeTransport(const QByteArray &bytes, bool displayForwarded,
                                            const QString &peer)
{
    Q_UNUSED(displayForwarded)
    Q_UNUSED(peer)
    return device.write(bytes);
}

void SerialBridgeEndpoint::setReadThrottled(bool on)
{
    if (!canThrottle || on == throttled) {
        return;
    }
    throttled = on;
    ++changes;
    // Held, the port stops reading once a small buffer is full: the rest waits in the
    // driver and the writer at the far end is held by the line.
    device.setReadBufferSize(on ? 4096 : 0);
    if (!on) {
        readAvailable();
    }
}

void SerialBridgeEndpoint::readAvailable()
{
    if (throttled) {
        return;
    }
    const QByteArray bytes = device.readAll();
    if (!bytes.isEmpty()) {
        Q_EMIT tapped(bytes, QString());
    }
}
