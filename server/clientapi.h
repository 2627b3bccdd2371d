#pragma once

// What any copy of the app may ask without an account (its client record, the latest
// release, the server's health) and the signed-in account's traffic quota.

#include "router.h"

class ServerContext;

class ClientApi
{
public:
    explicit ClientApi(ServerContext &context);
    void addRoutes(Router &router);

private:
    void clientInfo(const ApiRequest &request, const Router::Done &done);
    void postClientInfo(const ApiRequest &request, const Router::Done &done);
    void latestRelease(const ApiRequest &request, const Router::Done &done);
    void quota(const ApiRequest &request, const Router::Done &done);
    void health(const ApiRequest &request, const Router::Done &done);
    // /privacy and /terms: privacy.html and terms.html from --data when present, else a
    // short page saying what this server keeps.
    void page(const QString &name, const Router::Done &done);

    ServerContext &context;
};
