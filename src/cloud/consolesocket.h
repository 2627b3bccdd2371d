#pragma once

// The computer's end of /ws/console/v1: dials with the bearer token, says hello, and
// hands every JSON object the server sends to consoleResponse. While wanted, a lost
// connection is dialled again after a random delay that doubles with each failure up
// to a minute.

#include <QJsonObject>
#include <QObject>
#include <QString>

class QTimer;
class QWebSocket;

class ConsoleSocket : public QObject
{
    Q_OBJECT
public:
    static constexpr int BaseDelayMs = 1000;
    static constexpr int MaxDelayMs = 60000;

    explicit ConsoleSocket(QObject *parent = nullptr);
    ~ConsoleSocket() override;

    void connectToServer(const QString &baseUrl, const QString &token, const QJsonObject &hello);
    void disconnectFromServer();
    // Sends the object as a compact text frame; dropped unless the hello was accepted.
    bool send(const QJsonObject &object);
    bool isConnected() const { return readyFlag; }
    int attempts() const { return attemptCount; }
    // The longest wait before dial number `attempt` + 1.
    static int maxDelayFor(int attempt);

signals:
    void ready();
    void disconnected();
    void consoleResponse(const QJsonObject &object);

private:
    void open();
    void onTextMessage(const QString &text);
    void onDisconnected();

    QWebSocket *socket;
    QTimer *reconnectTimer;
    QString base;
    QString token;
    QJsonObject helloObject;
    bool wanted = false;
    bool readyFlag = false;
    int attemptCount = 0;
};
