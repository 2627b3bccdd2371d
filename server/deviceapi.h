#pragma once

// The computers bound to the caller's account: list, bind, unbind. Unbinding a
// computer also ends its sign-ins.

#include "router.h"

#include <QJsonObject>

class ServerContext;
struct DeviceRecord;

class DeviceApi
{
public:
    static const QString kUnnamed;

    explicit DeviceApi(ServerContext &context);
    void addRoutes(Router &router);

    // The reply form of a device; "current" tells whether it is `callerCid`.
    static QJsonObject deviceJson(const DeviceRecord &device, const QString &callerCid);

private:
    void list(const ApiRequest &request, const Router::Done &done);
    void bind(const ApiRequest &request, const Router::Done &done);
    void unbind(const ApiRequest &request, const Router::Done &done);

    ServerContext &context;
};
