#pragma once

// The far ends of the live features in tests and benchmarks: an account with a host
// and a client computer, and a WebSocket peer that speaks the console's JSON frames
// or carries a relay's bytes, remembering what it heard.

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QWebSocket>

class CloudProcess;

struct LiveAccount
{
    QString hostToken;   // the sign-in of the host computer
    QString clientToken; // the sign-in of the client computer (and the browser)

    // Registers `email` from the host computer and signs in from the client; empty
    // tokens when that fails.
    static LiveAccount create(CloudProcess &server, const QString &email, const QString &hostCid,
                              const QString &clientCid);
};

class LivePeer : public QObject
{
    Q_OBJECT

public:
    LivePeer();

    // Dials /ws/console/v1 with the bearer token and says hello as computer `cid` in
    // run `sessionId`; true once the server greets back.
    bool openConsole(const QString &baseUrl, const QString &token, const QString &cid,
                     const QString &sessionId);
    // Dials /ws/relay/v1 with `ticket`.
    void openRelay(const QString &baseUrl, const QString &ticket);
    void close() { socket.close(); }
    void sendJson(const QJsonObject &frame);
    // Sends `bytes` in messages of at most `messageSize`.
    void sendBinary(const QByteArray &bytes, qsizetype messageSize);
    // The first unclaimed text frame of `type`, waiting up to `timeoutMs`; empty if
    // none came. The frame is claimed: a second call waits for the next one.
    QJsonObject waitFor(const QString &type, int timeoutMs = 15000);
    bool seen(const QString &type) const { return heardTypes.contains(type); }
    bool isConnected() const { return socket.state() == QAbstractSocket::ConnectedState; }
    bool wasClosed() const { return closed; }

    QWebSocket socket;
    QByteArray binary;       // every binary message, joined
    int largestMessage = 0;
    QString closeReason;

signals:
    void textFrame(const QJsonObject &frame);

private:
    QList<QJsonObject> frames;
    QSet<QString> heardTypes;
    bool closed = false;
};
