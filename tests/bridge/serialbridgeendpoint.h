#pragma once

// A bridge end over a serial device (a socat pty in tests and benchmarks), standing in
// for a port panel: it reads and writes the device, takes line settings from RFC 2217
// clients, and can be held like a port with flow control or not, like one without.

#include "bridge/bridgeendpoint.h"

#include <QSerialPort>

class SerialBridgeEndpoint : public BridgeEndpoint
{
    Q_OBJECT

public:
    SerialBridgeEndpoint(const QString &path, bool throttleable, QObject *parent = nullptr);

    QSerialPort &port() { return device; }
    bool isThrottled() const { return throttled; }
    int throttleChanges() const { return changes; }

    bool isSerial() const override { return true; }
    QString displayName() const override;
    void ensureOpen() override;
    Settings settings() const override { return line; }
    void applySerialConfig(const QJsonObject &config) override;
    void setControlLine(Rfc2217ServerSession::Line which, bool on) override;
    qint64 writeTransport(const QByteArray &bytes, bool displayForwarded,
                          const QString &peer) override;
    qint64 pendingBytes() const override { return device.bytesToWrite(); }
    bool isOpen() const override { return device.isOpen(); }
    bool hasRecipients() const override { return true; }
    void setReadThrottled(bool on) override;
    bool supportsThrottle() const override { return canThrottle; }

private:
    void readAvailable();

    QSerialPort device;
    Settings line;
    bool canThrottle;
    bool throttled = false;
    int changes = 0;
};
