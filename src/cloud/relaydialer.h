#pragma once

// Opens the Live Relay ports of port sessions for one signed-in account: it gives each
// session its dial hook, runs a connector for the session's target and opens the
// session's relay with the ticket, or ends it with the connector's reason.

#include <QObject>

class AccountSession;
class PortSession;

class RelayDialer : public QObject
{
    Q_OBJECT
public:
    explicit RelayDialer(AccountSession *account, QObject *parent = nullptr);

    // Installs the dial hook on `session`; the dialer must outlive it or be detached.
    void attach(PortSession *session);

private:
    bool dial(PortSession *session, QString *error);

    AccountSession *account;
};
