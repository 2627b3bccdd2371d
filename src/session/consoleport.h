#pragma once

// A port as Live Console sees it: its key, a description for the browser's port list,
// its traffic while captured, and the actions a browser may ask for. Every action passes
// the session's own guards, so a running file transfer refuses the browser like any
// other sender.

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QStringDecoder>

class PortSession;

class ConsolePort : public QObject
{
    Q_OBJECT
public:
    explicit ConsolePort(PortSession *session, QObject *parent = nullptr);

    PortSession *session() const { return portSession; }
    QString portKey() const;
    // port_key, display_name, description, is_open, serial.
    QJsonObject description() const;
    // Whether a relay could drive this port's line: a serial device.
    bool relayCapable() const;
    // While on, traffic in both directions is signalled as consoleTraffic.
    void setCapture(bool on);
    bool capture() const { return capturing; }

    // Each returns false with a sentence for the browser in `why` and a machine code in
    // `code`.
    bool sendBytes(const QByteArray &bytes, QString *code, QString *why);
    bool openPort(QString *code, QString *why);
    bool closePort(QString *code, QString *why);
    bool applyConfig(const QJsonObject &params, QString *code, QString *why);

    // For a relay that drives the port: bytes written as the console's, counted and
    // shown as sent (the count taken, 0 when refused); the bytes still on their way
    // out; the modem lines in RFC 2217's bit order (0 where the device reports none);
    // and holding the port's reads while the relay cannot take them.
    qint64 relayWrite(const QByteArray &bytes);
    qint64 relayPendingBytes() const;
    quint8 modemState() const;
    bool setControlLine(int line, bool on);
    void setReadThrottled(bool on);
    bool supportsThrottle() const;

signals:
    void consoleTraffic(const QString &portKey, bool rx, const QString &text);

private:
    void emitTraffic(bool rx, QStringDecoder &decoder, const QByteArray &bytes);

    PortSession *portSession;
    bool capturing = false;
    // One decoder a direction keeps a character that a read cut in two until its other
    // bytes arrive, so the browser sees it whole instead of two replacement marks.
    QStringDecoder rxText{QStringDecoder::Utf8};
    QStringDecoder txText{QStringDecoder::Utf8};
};
