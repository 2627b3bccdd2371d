#include "cloud/relayconnector.h"

#include "cloud/accountsession.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloud/sharecode.h"

#include <QJsonArray>
#include <QTimer>
#include <QUuid>

namespace {
const QString targetsTag = QStringLiteral("relay");

QString text(const QJsonObject &object, const char *name)
{
    return object.value(QLatin1String(name)).toString();
}
} // namespace

RelayConnector::RelayConnector(AccountSession *account, QObject *parent)
    : QObject(parent)
    , account(account)
{
    NetworkServices *net = account->network();
    connect(net, &NetworkServices::relayResponse, this, &RelayConnector::onRelayResponse);
    connect(net, &NetworkServices::relayOperationResponse, this,
            &RelayConnector::onOperationResponse);
    connect(net, &NetworkServices::networkError, this, &RelayConnector::onNetworkError);
}

QString RelayConnector::normalizeCode(const QString &typed)
{
    return ShareCode::normalize(typed);
}

void RelayConnector::open(const QString &targetCid, const QString &key, const QString &name,
                          const QString &device)
{
    cancel();
    mode = Mode::Target;
    cid = targetCid;
    deviceName = device;
    portKey = key;
    portName = name;
    token = account->accessToken();
    if (!PrivacyConsent::given()) {
        fail(tr("Live Relay needs the online features, which are off. Turn them on under "
                "Help > Privacy and Online Features..."));
        return;
    }
    if ((cid.isEmpty() && deviceName.isEmpty()) || (portKey.isEmpty() && portName.isEmpty())) {
        fail(tr("No remote port has been chosen for this connection yet."));
        return;
    }
    awaited = targetsTag;
    account->network()->relayFetchTargets(token, QString());
}

void RelayConnector::openWithCode(const QString &typed, const QString &secret,
                                  const QString &guest)
{
    cancel();
    mode = Mode::Code;
    passcode = secret;
    guestName = guest;
    if (!PrivacyConsent::given()) {
        fail(tr("Live Relay needs the online features, which are off. Turn them on under "
                "Help > Privacy and Online Features..."));
        return;
    }
    code = normalizeCode(typed);
    if (code.isEmpty()) {
        fail(tr("That does not look like an invite code."));
        return;
    }
    awaited = QStringLiteral("relayop:") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    account->network()->relayJoin(code, passcode, guestName, awaited);
}

void RelayConnector::cancel()
{
    awaited.clear();
}

void RelayConnector::fail(const QString &message)
{
    awaited.clear();
    // Told from the event loop, so that a caller never hears of the failure inside its
    // own call.
    QTimer::singleShot(0, this, [this, message] { Q_EMIT failed(message); });
}

void RelayConnector::onRelayResponse(const QJsonObject &object)
{
    if (awaited != targetsTag)
        return;
    if (!object.value(QStringLiteral("status")).toBool(true) &&
        !object.contains(QStringLiteral("devices"))) {
        const QString description = text(object, "description");
        fail(description.isEmpty() ? tr("The relay could not be opened.") : description);
        return;
    }
    if (!object.contains(QStringLiteral("devices")))
        return;
    pickPort(object);
}

void RelayConnector::pickPort(const QJsonObject &targets)
{
    QJsonObject device;
    const QJsonArray devices = targets.value(QStringLiteral("devices")).toArray();
    for (const QJsonValue &value : devices) {
        const QJsonObject entry = value.toObject();
        const bool match = cid.isEmpty()
                               ? text(entry, "name").compare(deviceName, Qt::CaseInsensitive) == 0
                               : text(entry, "cid").compare(cid, Qt::CaseInsensitive) == 0;
        if (match) {
            device = entry;
            break;
        }
    }
    if (device.isEmpty()) {
        fail(tr("That computer is no longer bound to this account."));
        return;
    }
    cid = text(device, "cid");
    if (!device.value(QStringLiteral("online")).toBool()) {
        fail(tr("%1 is offline.").arg(text(device, "name")));
        return;
    }
    QString found;
    const QJsonArray ports = device.value(QStringLiteral("ports")).toArray();
    for (const QJsonValue &value : ports) {
        const QJsonObject port = value.toObject();
        if (port.value(QStringLiteral("relay_capable")).toBool() && !portKey.isEmpty() &&
            text(port, "port_key") == portKey)
            found = portKey;
    }
    for (qsizetype i = 0; found.isEmpty() && i < ports.size(); ++i) {
        const QJsonObject port = ports.at(i).toObject();
        if (port.value(QStringLiteral("relay_capable")).toBool() && !portName.isEmpty() &&
            text(port, "display_name") == portName)
            found = text(port, "port_key");
    }
    if (found.isEmpty()) {
        fail(tr("%1 no longer shares a port called \"%2\". Choose it again.")
                 .arg(text(device, "name"), portName.isEmpty() ? portKey : portName));
        return;
    }
    portKey = found;
    openSession();
}

void RelayConnector::openSession()
{
    const QString sessionId = QUuid::createUuid().toString(QUuid::WithoutBraces);
    awaited = QStringLiteral("relayop:") + sessionId;
    account->network()->relayOpenSession(token, cid, sessionId, portKey, awaited);
}

void RelayConnector::onOperationResponse(const QJsonObject &object, const QString &tag)
{
    if (awaited.isEmpty() || tag != awaited)
        return;
    finishSession(object);
}

void RelayConnector::finishSession(const QJsonObject &object)
{
    awaited.clear();
    if (!object.value(QStringLiteral("status")).toBool()) {
        const QString description = text(object, "description");
        fail(description.isEmpty() ? tr("The relay could not be opened.") : description);
        return;
    }
    const QString ticket = text(object, "ticket");
    if (ticket.isEmpty()) {
        fail(tr("The server did not return a relay ticket."));
        return;
    }
    const QString key = text(object, "port_key");
    Q_EMIT ready(ticket, key.isEmpty() ? portKey : key, text(object, "guest_token"),
                 text(object, "relay_id"));
}

void RelayConnector::onNetworkError(const QString &tag, const QString &message,
                                    const QString &detail)
{
    if (awaited.isEmpty() || (tag != awaited && tag != targetsTag))
        return;
    fail(detail.isEmpty() ? message : tr("%1 (%2)").arg(message, detail));
}
