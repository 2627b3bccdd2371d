#include "deviceapi.h"

#include "bodyreader.h"
#include "inputrules.h"
#include "servercontext.h"

#include <QJsonArray>

using Need = BodyReader::Need;

namespace {

const QString kType = QStringLiteral("account");
constexpr int kMaxDevices = 100;

} // namespace

const QString DeviceApi::kUnnamed = QStringLiteral("Unnamed computer");

DeviceApi::DeviceApi(ServerContext &context)
    : context(context)
{
}

void DeviceApi::addRoutes(Router &router)
{
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/account/devices"),
               [this](const ApiRequest &request, const Router::Done &done) { list(request, done); });
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/account/devices/bind"),
               [this](const ApiRequest &request, const Router::Done &done) { bind(request, done); });
    router.add(QStringLiteral("DELETE"), QStringLiteral("/api/v3/account/devices/{id}"),
               [this](const ApiRequest &request, const Router::Done &done) {
                   unbind(request, done);
               });
}

QJsonObject DeviceApi::deviceJson(const DeviceRecord &device, const QString &callerCid)
{
    return {{QStringLiteral("id"), device.id},
            {QStringLiteral("cid"), device.cid},
            {QStringLiteral("device_name"), device.name},
            {QStringLiteral("client_version"), device.clientVersion},
            {QStringLiteral("bound_at"), ServerContext::isoTime(device.boundAt)},
            {QStringLiteral("last_seen_at"), ServerContext::isoTime(device.lastSeenAt)},
            {QStringLiteral("current"), !callerCid.isEmpty() && device.cid == callerCid}};
}

void DeviceApi::list(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (const auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    QList<DeviceRecord> devices;
    if (!context.devices.list(principal.userId, &devices))
        return done(ApiReply::internalError(kType));
    QJsonArray array;
    for (const DeviceRecord &device : devices)
        array.append(deviceJson(device, principal.cid));
    done(ApiReply::ok(kType, QStringLiteral("Devices bound to the account: %1.").arg(devices.size()),
                      {{QStringLiteral("devices"), array}}));
}

void DeviceApi::bind(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (const auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    BodyReader body(request.body);
    DeviceRecord device;
    device.cid = body.text(QStringLiteral("cid"), Need::Required).toLower();
    body.require(inputrules::isCid(device.cid), QStringLiteral("cid"),
                 QStringLiteral("The device id must be a UUID (8-4-4-4-12 hexadecimal digits)."));
    device.name = body.text(QStringLiteral("device_name"), Need::Optional);
    body.require(inputrules::isDisplayText(device.name, inputrules::kMaxNameLength),
                 QStringLiteral("device_name"),
                 QStringLiteral("A device name is one line of at most %1 characters.")
                     .arg(inputrules::kMaxNameLength));
    device.clientVersion = body.text(QStringLiteral("client_version"), Need::Optional);
    body.require(inputrules::isDisplayText(device.clientVersion, 32),
                 QStringLiteral("client_version"),
                 QStringLiteral("A client version is one line of at most 32 characters."));
    if (!body.ok())
        return done(body.error(kType));
    if (device.name.isEmpty())
        device.name = kUnnamed;

    const int count = context.devices.count(principal.userId);
    if (count < 0)
        return done(ApiReply::internalError(kType));
    QList<DeviceRecord> bound;
    if (count >= kMaxDevices) {
        // Renaming a device already bound is still allowed at the limit.
        if (!context.devices.list(principal.userId, &bound))
            return done(ApiReply::internalError(kType));
        const bool known = std::any_of(bound.cbegin(), bound.cend(), [&](const DeviceRecord &d) {
            return d.cid == device.cid;
        });
        if (!known) {
            return done(ApiReply::fail(kType, 409, QStringLiteral("device_limit"),
                                       QStringLiteral("An account can have at most %1 devices. "
                                                      "Unbind one first.")
                                           .arg(kMaxDevices)));
        }
    }
    const qint64 now = context.now();
    if (!context.devices.bind(principal.userId, &device, now)
        || (principal.cid.isEmpty() && !context.sessions.adoptCid(principal.sessionId, device.cid)))
        return done(ApiReply::internalError(kType));
    const QString caller = principal.cid.isEmpty() ? device.cid : principal.cid;
    done(ApiReply::ok(kType, QStringLiteral("This computer is bound to the account."),
                      {{QStringLiteral("device"), deviceJson(device, caller)}}));
}

void DeviceApi::unbind(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (const auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    bool numeric = false;
    const qint64 id = request.params.value(QStringLiteral("id")).toLongLong(&numeric);
    if (!numeric || id <= 0) {
        return done(ApiReply::fail(kType, 400, QStringLiteral("invalid_field"),
                                   QStringLiteral("The device id in the address must be a "
                                                  "positive number."),
                                   {{QStringLiteral("field"), QStringLiteral("id")}}));
    }
    DeviceRecord device;
    switch (context.devices.unbind(principal.userId, id, &device)) {
    case Lookup::Failed: return done(ApiReply::internalError(kType));
    case Lookup::Missing:
        return done(ApiReply::fail(kType, 404, QStringLiteral("not_found"),
                                   QStringLiteral("No device with this id is bound to the "
                                                  "account.")));
    case Lookup::Found: break;
    }
    if (!context.sessions.revokeDevice(principal.userId, device.cid, context.now()))
        return done(ApiReply::internalError(kType));
    done(ApiReply::ok(kType, QStringLiteral("The device was unbound and signed out."),
                      {{QStringLiteral("device"), deviceJson(device, principal.cid)}}));
}
