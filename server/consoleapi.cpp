#include "consoleapi.h"

#include "bodyreader.h"
#include "consolehub.h"
#include "consolerules.h"
#include "servercontext.h"

#include <QJsonArray>

using Need = BodyReader::Need;

namespace {

const QString kType = QStringLiteral("console");

ApiReply refused(const ConsoleHub::Refusal &refusal)
{
    return ApiReply::fail(kType, refusal.httpStatus, refusal.code, refusal.description);
}

// The computer a request speaks for: the bearer's account, the `cid`, and the run
// named by `sessionId`, or when none is named (events, polls, results) the run the
// server knows for that computer.
std::optional<ApiReply> identify(ServerContext &context, const ConsoleHub &hub,
                                 const ApiRequest &request, const QString &cid,
                                 QString sessionId, ConsoleHub::Device *device)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return refusal;
    const QString id = cid.trimmed().toLower();
    const bool named = !sessionId.isEmpty();
    if (!named)
        sessionId = hub.currentSession(principal.userId, id);
    ConsoleHub::Refusal refusal;
    if (!consolerules::checkDevice(context, principal, id, named ? sessionId : QStringLiteral("-"), &refusal))
        return refused(refusal);
    if (sessionId.isEmpty())
        return ApiReply::fail(kType, 409, QStringLiteral("device_not_ready"),
                              QStringLiteral("Send a heartbeat first: the server knows no run of "
                                             "this computer."));
    *device = {principal.userId, id, sessionId};
    return std::nullopt;
}

} // namespace

ConsoleApi::ConsoleApi(ServerContext &context, ConsoleHub &hub)
    : context(context)
    , hub(hub)
{
}

void ConsoleApi::addRoutes(Router &router)
{
    const auto bindTo = [this](void (ConsoleApi::*method)(const ApiRequest &, const Router::Done &)) {
        return [this, method](const ApiRequest &request, const Router::Done &done) {
            (this->*method)(request, done);
        };
    };
    const QString get = QStringLiteral("GET");
    const QString post = QStringLiteral("POST");
    router.add(post, QStringLiteral("/api/v3/console/heartbeat"), bindTo(&ConsoleApi::heartbeat));
    router.add(post, QStringLiteral("/api/v3/console/ports/snapshot"), bindTo(&ConsoleApi::snapshot));
    router.add(post, QStringLiteral("/api/v3/console/events"), bindTo(&ConsoleApi::events));
    // Before the {id} route of the same shape: "poll" is no command id.
    router.add(get, QStringLiteral("/api/v3/console/commands/poll"), bindTo(&ConsoleApi::poll));
    router.add(post, QStringLiteral("/api/v3/console/commands/{id}/ack"), bindTo(&ConsoleApi::acknowledge));
    router.add(post, QStringLiteral("/api/v3/console/commands/{id}/result"), bindTo(&ConsoleApi::result));
    router.add(get, QStringLiteral("/api/v3/console/commands/{id}"), bindTo(&ConsoleApi::commandStatus));
    router.add(get, QStringLiteral("/api/v3/console/devices"), bindTo(&ConsoleApi::devices));
    router.add(post, QStringLiteral("/api/v3/console/devices/{cid}/commands"),
               bindTo(&ConsoleApi::queueCommand));
}

void ConsoleApi::heartbeat(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString cid = body.text(QStringLiteral("cid"), Need::Required);
    const QString session = body.text(QStringLiteral("session_id"), Need::Required);
    const QString version = body.text(QStringLiteral("version"), Need::Optional);
    if (!body.ok())
        return done(body.error(kType));
    ConsoleHub::Device device;
    if (auto refusal = identify(context, hub, request, cid, session, &device))
        return done(*refusal);
    done(ApiReply::ok(kType, QStringLiteral("Heartbeat noted."), hub.contact(device, version.left(32))));
}

void ConsoleApi::snapshot(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString cid = body.text(QStringLiteral("cid"), Need::Required);
    const QString session = body.text(QStringLiteral("session_id"), Need::Required);
    if (!body.ok())
        return done(body.error(kType));
    ConsoleHub::Device device;
    if (auto refusal = identify(context, hub, request, cid, session, &device))
        return done(*refusal);
    ConsoleHub::Refusal refusal;
    if (!consolerules::checkPorts(body.json().value(QStringLiteral("ports")), &refusal))
        return done(refused(refusal));
    QJsonObject fields = hub.contact(device);
    hub.storeSnapshot(device, body.json().value(QStringLiteral("ports")).toArray());
    fields.insert(QStringLiteral("need_snapshot"), false);
    done(ApiReply::ok(kType, QStringLiteral("Port list stored."), fields));
}

void ConsoleApi::events(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString cid = body.text(QStringLiteral("cid"), Need::Required);
    const QString session = body.text(QStringLiteral("session_id"), Need::Optional);
    if (!body.ok())
        return done(body.error(kType));
    ConsoleHub::Device device;
    if (auto refusal = identify(context, hub, request, cid, session, &device))
        return done(*refusal);
    const QJsonValue events = body.json().value(QStringLiteral("events"));
    ConsoleHub::Refusal refusal;
    if (!consolerules::checkEvents(events, &refusal) || !hub.storeEvents(device, events.toArray(), &refusal))
        return done(ApiReply::fail(kType, refusal.httpStatus, refusal.code, refusal.description,
                                   {{QStringLiteral("cid"), device.cid}}));
    QJsonObject fields = hub.contact(device);
    fields.insert(QStringLiteral("accepted"), events.toArray().size());
    done(ApiReply::ok(kType, QStringLiteral("Events received."), fields));
}

void ConsoleApi::poll(const ApiRequest &request, const Router::Done &done)
{
    ConsoleHub::Device device;
    if (auto refusal = identify(context, hub, request, request.queryValue(QStringLiteral("cid")),
                                request.queryValue(QStringLiteral("session_id")), &device))
        return done(*refusal);
    bool numeric = false;
    int limit = request.queryValue(QStringLiteral("limit")).toInt(&numeric);
    limit = numeric ? qBound(1, limit, 64) : 16;
    QJsonObject fields = hub.contact(device);
    const QJsonArray commands = hub.takeCommands(device, limit);
    fields.insert(QStringLiteral("commands"), commands);
    done(ApiReply::ok(kType, QStringLiteral("Commands waiting: %1.").arg(commands.size()), fields));
}

void ConsoleApi::acknowledge(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body, true);
    const QString cid = body.text(QStringLiteral("cid"), Need::Required);
    if (!body.ok())
        return done(body.error(kType));
    ConsoleHub::Device device;
    if (auto refusal = identify(context, hub, request, cid, {}, &device))
        return done(*refusal);
    const QString id = request.params.value(QStringLiteral("id"));
    if (!hub.acknowledge(device, id))
        return done(ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                                   QStringLiteral("There is no such command."),
                                   {{QStringLiteral("command_id"), id}}));
    done(ApiReply::ok(kType, QStringLiteral("Command acknowledged."),
                      {{QStringLiteral("cid"), device.cid}, {QStringLiteral("command_id"), id}}));
}

void ConsoleApi::result(const ApiRequest &request, const Router::Done &done)
{
    BodyReader body(request.body);
    const QString cid = body.text(QStringLiteral("cid"), Need::Required);
    const QString status = body.text(QStringLiteral("status"), Need::Required);
    body.require(status == u"succeeded" || status == u"failed", QStringLiteral("status"),
                 QStringLiteral("\"status\" is \"succeeded\" or \"failed\"."));
    body.text(QStringLiteral("error_code"), Need::Optional);
    body.text(QStringLiteral("message"), Need::Optional);
    if (!body.ok())
        return done(body.error(kType));
    ConsoleHub::Device device;
    if (auto refusal = identify(context, hub, request, cid, {}, &device))
        return done(*refusal);
    const QString id = request.params.value(QStringLiteral("id"));
    if (!hub.finish(device, id, body.json()))
        return done(ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                                   QStringLiteral("There is no such command."),
                                   {{QStringLiteral("command_id"), id}}));
    done(ApiReply::ok(kType, QStringLiteral("Result received."),
                      {{QStringLiteral("cid"), device.cid}, {QStringLiteral("command_id"), id}}));
}

void ConsoleApi::devices(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    QList<DeviceRecord> records;
    if (!context.devices.list(principal.userId, &records))
        return done(ApiReply::internalError(kType));
    done(ApiReply::ok(kType, QStringLiteral("Computers of the account: %1.").arg(records.size()),
                      {{QStringLiteral("devices"), hub.deviceList(principal.userId, records)}}));
}

void ConsoleApi::queueCommand(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    BodyReader body(request.body);
    body.text(QStringLiteral("command"), Need::Required);
    if (!body.ok())
        return done(body.error(kType));
    ConsoleCommand command = consolerules::commandFrom(body.json());
    command.userId = principal.userId;
    command.cid = request.params.value(QStringLiteral("cid")).toLower();
    DeviceRecord record;
    switch (context.devices.find(principal.userId, command.cid, &record)) {
    case Lookup::Failed: return done(ApiReply::internalError(kType));
    case Lookup::Missing:
        return done(ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                                   QStringLiteral("No such computer is bound to the account.")));
    case Lookup::Found: break;
    }
    ConsoleHub::Refusal refusal;
    if (!consolerules::checkBrowserCommand(command, &refusal))
        return done(refused(refusal));
    const std::optional<QString> id = hub.enqueue(command, &refusal);
    if (!id)
        return done(refused(refusal));
    done(ApiReply::ok(kType, QStringLiteral("Command queued."),
                      {{QStringLiteral("command"), hub.commandStatus(principal.userId, *id)}}));
}

void ConsoleApi::commandStatus(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    const QJsonObject status = hub.commandStatus(principal.userId, request.params.value(QStringLiteral("id")));
    if (status.isEmpty())
        return done(ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                                   QStringLiteral("There is no such command.")));
    done(ApiReply::ok(kType, QStringLiteral("Command %1.").arg(status[u"state"].toString()),
                      {{QStringLiteral("command"), status}}));
}
