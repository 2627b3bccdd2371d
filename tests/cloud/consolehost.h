#pragma once

// The pieces the console, relay and invite tests build a host (or a guest) from: an
// account on the test server, signed in with a token when one is given, and a port
// session on a serial device.

#include "cloud/accountsession.h"
#include "cloud/networkservices.h"
#include "connection/settings.h"
#include "session/portsession.h"

#include <QString>

namespace consolehost {

// An account talking to `base`, kept in `iniPath`; signed in when `token` is given.
inline AccountSession *account(QObject *parent, const QString &base, const QString &iniPath,
                               const QString &token = QString())
{
    auto *net = new NetworkServices(parent);
    net->setHostAddress(base);
    auto *session = new AccountSession(net, iniPath, parent);
    if (!token.isEmpty()) {
        session->applyLoginResponse({{QStringLiteral("access_token"), token},
                                     {QStringLiteral("expires_in"), 3600}});
    }
    return session;
}

// A port session on the serial device `path`, numbered `number` as the window would.
inline PortSession *serialSession(QObject *parent, const QString &path, int number)
{
    auto *session = new PortSession(parent);
    session->settings().connMode = ModeSerial;
    session->settings().name = path;
    session->portNumber() = number;
    return session;
}

} // namespace consolehost
