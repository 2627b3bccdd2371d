#pragma once

// Synced items of the caller's account: fetch a namespace, write one item over the
// revision it was based on. A stale write gets "revision_conflict" with the server's
// item, so the app can let its user choose.

#include "router.h"

#include <QJsonObject>

class ServerContext;
struct SyncItem;

class SyncApi
{
public:
    explicit SyncApi(ServerContext &context);
    void addRoutes(Router &router);

    static QJsonObject itemJson(const SyncItem &item);

private:
    void fetch(const ApiRequest &request, const Router::Done &done);
    void put(const ApiRequest &request, const Router::Done &done);

    ServerContext &context;
};
