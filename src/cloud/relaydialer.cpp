#include "cloud/relaydialer.h"

#include "cloud/accountsession.h"
#include "cloud/networkservices.h"
#include "cloud/relayconnector.h"
#include "connection/connectioncontroller.h"
#include "session/portsession.h"

#include <QPointer>

RelayDialer::RelayDialer(AccountSession *account, QObject *parent)
    : QObject(parent)
    , account(account)
{
}

void RelayDialer::attach(PortSession *session)
{
    QPointer<RelayDialer> self(this);
    session->relayDialHook = [self, session](QString *error) {
        if (!self) {
            *error = tr("Live Relay needs a cloud account: sign in first.");
            return false;
        }
        return self->dial(session, error);
    };
}

bool RelayDialer::dial(PortSession *session, QString *error)
{
    // An invite code is the guest's whole credential: no account is needed for it.
    const bool guest = !session->settings().relayInviteCode.isEmpty();
    if (!guest && !account->isSignedIn()) {
        *error = tr("Live Relay needs a signed-in cloud account. Sign in under Cloud > "
                    "Account first.");
        return false;
    }
    auto *connector = session->findChild<RelayConnector *>(QString(), Qt::FindDirectChildrenOnly);
    if (!connector) {
        connector = new RelayConnector(account, session);
        ConnectionController *controller = session->connectionController();
        connect(connector, &RelayConnector::ready, session,
                [this, controller](const QString &ticket, const QString &,
                                   const QString &guestToken, const QString &relayId) {
                    if (!controller->cloudRelayDialling()) {
                        // The port was closed while the ticket was on its way.
                        if (guestToken.isEmpty())
                            account->network()->relayCloseSession(account->accessToken(),
                                                                  relayId);
                        else
                            account->network()->relayCloseGuestSession(relayId, guestToken);
                        return;
                    }
                    controller->connectCloudRelay(account->network()->hostAddress(), ticket);
                });
        connect(connector, &RelayConnector::failed, session,
                [controller](const QString &text) { controller->abortCloudRelay(text); });
    }
    const Settings &s = session->settings();
    if (!s.relayInviteCode.isEmpty()) {
        connector->openWithCode(s.relayInviteCode, s.relayPasscode, s.relayGuestName);
    } else {
        connector->open(s.relayCid, s.relayPortKey, s.relayPortName, s.relayTargetName);
    }
    return true;
}
