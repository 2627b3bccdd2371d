#pragma once

// The client's REST steps of a Live Relay: finds the chosen remote port among the
// account's computers (or takes an invite code), asks the server to open a relay, and
// hands on the ticket the relay socket needs. One request at a time.

#include <QJsonObject>
#include <QObject>
#include <QString>

class AccountSession;

class RelayConnector : public QObject
{
    Q_OBJECT
public:
    enum class Mode { Target, Code };

    explicit RelayConnector(AccountSession *account, QObject *parent = nullptr);

    // A port of one of the account's computers. `cid` is the computer's id; when it is
    // empty, `deviceName` names the computer instead. `portName` finds the port when
    // its key has changed.
    void open(const QString &cid, const QString &portKey, const QString &portName,
              const QString &deviceName = QString());
    void openWithCode(const QString &code, const QString &passcode, const QString &guestName);
    void cancel();
    bool isBusy() const { return !awaited.isEmpty(); }

    // The 12 characters of an invite code taken from a typed code or a pasted link,
    // upper case without dashes or blanks; empty when it is not one.
    static QString normalizeCode(const QString &text);

signals:
    void ready(const QString &ticket, const QString &portKey, const QString &guestToken,
               const QString &relayId);
    void failed(const QString &text);

private:
    void onRelayResponse(const QJsonObject &object);
    void onOperationResponse(const QJsonObject &object, const QString &tag);
    void onNetworkError(const QString &tag, const QString &message, const QString &detail);
    void pickPort(const QJsonObject &targets);
    void openSession();
    void finishSession(const QJsonObject &object);
    void fail(const QString &text);

    AccountSession *account;
    Mode mode = Mode::Target;
    QString token;
    QString cid;
    QString deviceName;
    QString portKey;
    QString portName;
    QString code;
    QString passcode;
    QString guestName;
    QString awaited; // the tag of the reply waited for; empty when idle
};
