#include "relayapi.h"

#include "bodyreader.h"
#include "consolehub.h"
#include "inputrules.h"
#include "relayhub.h"
#include "servercontext.h"

#include <QJsonArray>

using Need = BodyReader::Need;

namespace {

const QString kType = QStringLiteral("relay");

} // namespace

RelayApi::RelayApi(ServerContext &context, ConsoleHub &console, RelayHub &relays)
    : context(context)
    , console(console)
    , relays(relays)
{
}

void RelayApi::addRoutes(Router &router)
{
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/relay/targets"),
               [this](const ApiRequest &request, const Router::Done &done) { targets(request, done); });
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/relay/sessions"),
               [this](const ApiRequest &request, const Router::Done &done) { openSession(request, done); });
    router.add(QStringLiteral("DELETE"), QStringLiteral("/api/v3/relay/sessions/{id}"),
               [this](const ApiRequest &request, const Router::Done &done) { closeSession(request, done); });
}

void RelayApi::targets(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    const QString self = request.queryValue(QStringLiteral("cid")).trimmed().toLower();
    QList<DeviceRecord> records;
    if (!context.devices.list(principal.userId, &records))
        return done(ApiReply::internalError(kType));
    QJsonArray devices;
    for (const DeviceRecord &record : std::as_const(records)) {
        const QJsonObject listed = console.deviceList(principal.userId, {record}).first().toObject();
        QJsonArray ports;
        for (const QJsonValue &value : listed[u"ports"].toArray()) {
            const QJsonObject port = value.toObject();
            const QString key = port[u"port_key"].toString();
            const QString name = port[u"display_name"].toString();
            ports.append(QJsonObject{
                {QStringLiteral("port_key"), key},
                {QStringLiteral("display_name"), name.isEmpty() ? key : name},
                {QStringLiteral("connection_mode"), port[u"connection_mode"]},
                {QStringLiteral("relay_capable"),
                 port[u"capabilities"].toArray().contains(QStringLiteral("open_relay"))},
                {QStringLiteral("busy"), relays.portBusy(principal.userId, record.cid, key)}});
        }
        devices.append(QJsonObject{{QStringLiteral("cid"), record.cid},
                                   {QStringLiteral("name"), record.name},
                                   {QStringLiteral("online"), listed[u"online"]},
                                   {QStringLiteral("snapshot_pending"), listed[u"snapshot_pending"]},
                                   {QStringLiteral("self"), record.cid == self},
                                   {QStringLiteral("ports"), ports}});
    }
    done(ApiReply::ok(kType, QStringLiteral("Computers of the account: %1.").arg(devices.size()),
                      {{QStringLiteral("devices"), devices}}));
}

void RelayApi::openSession(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    BodyReader body(request.body);
    const QString cid = body.text(QStringLiteral("cid"), Need::Required).toLower();
    body.require(inputrules::isCid(cid), QStringLiteral("cid"),
                 QStringLiteral("The device id must be a UUID (8-4-4-4-12 hexadecimal digits)."));
    const QString session = body.text(QStringLiteral("session_id"), Need::Optional);
    body.require(inputrules::isDisplayText(session, 64), QStringLiteral("session_id"),
                 QStringLiteral("The session id is one line of at most 64 characters."));
    const QString portKey = body.text(QStringLiteral("port_key"), Need::Required);
    body.require(inputrules::isPlainName(portKey, 32), QStringLiteral("port_key"),
                 QStringLiteral("A port key is 1 to 32 letters, digits, dots, dashes or underscores."));
    if (!body.ok())
        return done(body.error(kType));
    DeviceRecord record;
    switch (context.devices.find(principal.userId, cid, &record)) {
    case Lookup::Failed: return done(ApiReply::internalError(kType));
    case Lookup::Missing:
        return done(ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                                   QStringLiteral("That computer is no longer bound to this account.")));
    case Lookup::Found: break;
    }
    ConsoleHub::Refusal refusal;
    const auto opened = relays.open(principal.userId, cid, portKey, {}, {}, false, &refusal);
    if (!opened) {
        QString description = refusal.description;
        if (refusal.code == u"device_offline")
            description = QStringLiteral("%1 is offline.").arg(record.name);
        return done(ApiReply::fail(kType, refusal.httpStatus, refusal.code, description));
    }
    done(ApiReply::ok(kType, QStringLiteral("Relay opened; join it with the ticket."),
                      {{QStringLiteral("relay_id"), opened->relayId},
                       {QStringLiteral("ticket"), opened->ticket},
                       {QStringLiteral("port_key"), opened->portKey},
                       {QStringLiteral("guest_token"), opened->guestToken},
                       {QStringLiteral("session_id"), session},
                       {QStringLiteral("expires_in"), 60}}));
}

void RelayApi::closeSession(const ApiRequest &request, const Router::Done &done)
{
    RelayHub::Closer closer;
    closer.guestToken = request.guestToken;
    if (!request.bearerToken.isEmpty() || closer.guestToken.isEmpty()) {
        Principal principal;
        if (auto refusal = context.authorize(request, &principal))
            return done(*refusal);
        closer.userId = principal.userId;
    }
    const QString id = request.params.value(QStringLiteral("id"));
    if (!relays.close(id, closer))
        return done(ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                                   QStringLiteral("There is no such relay of yours.")));
    done(ApiReply::ok(kType, QStringLiteral("The relay was closed."), {{QStringLiteral("relay_id"), id}}));
}
