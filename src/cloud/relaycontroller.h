#pragma once

// The host's end of one Live Relay: the relay socket, the session that runs RFC 2217
// for the client and moves the data, and the timer of the session's flows. Made by the
// console service for one port on the server's command; it ends once and is not reused.

#include "cloud/relayport.h"

#include <QObject>
#include <QPointer>

#include <memory>

class ConsolePort;
class QTimer;
class RelaySession;
class RelaySocket;

class RelayController : public QObject
{
    Q_OBJECT
public:
    // The shared port as the session sees it; once the port has gone every call does
    // nothing and returns zero or empty.
    class GuardedPort : public RelayPort
    {
    public:
        explicit GuardedPort(ConsolePort *port) : port(port) {}
        qint64 writeBytes(const QByteArray &bytes, const QString &peer) override;
        qint64 pendingBytes() const override;
        bool isOpen() const override;
        Settings settings() const override;
        void applySerialConfig(const QJsonObject &config) override;
        void setControlLine(Line line, bool on) override;
        quint8 modemState() const override;
        void setReadThrottled(bool on) override;
        bool supportsThrottle() const override;

    private:
        QPointer<ConsolePort> port;
    };

    RelayController(ConsolePort *port, QObject *parent = nullptr);
    ~RelayController() override;

    // The relay opened the port itself: it closes it when it ends.
    void setClosePortAtEnd(bool on) { closePortAtEnd = on; }
    void start(const QString &baseUrl, const QString &ticket);
    void stop(const QString &reason);
    QString portKey() const { return key; }
    bool hasEnded() const { return endedFlag; }

signals:
    void engaged(const QString &portKey);
    void ended(const QString &reason);
    void noticed(const QString &text);

private:
    static qint64 now();
    void rearm();
    void fromPort(const QByteArray &bytes);

    QPointer<ConsolePort> port;
    QString key;
    GuardedPort guarded;
    RelaySocket *socket;
    std::unique_ptr<RelaySession> session;
    QTimer *timer;
    QList<QMetaObject::Connection> portLinks;
    bool endedFlag = false;
    bool closePortAtEnd = false;
};
