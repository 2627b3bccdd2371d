#pragma once

// The REST side of Live Console. A computer (bearer token of its sign-in) reports in
// with heartbeats, its port list and its traffic, collects commands and reports their
// results; a browser (bearer token of the owner) lists the computers and queues
// commands. The live state itself is the ConsoleHub's.

#include "router.h"

class ConsoleHub;
class ServerContext;

class ConsoleApi
{
public:
    ConsoleApi(ServerContext &context, ConsoleHub &hub);
    void addRoutes(Router &router);

private:
    void heartbeat(const ApiRequest &request, const Router::Done &done);
    void snapshot(const ApiRequest &request, const Router::Done &done);
    void events(const ApiRequest &request, const Router::Done &done);
    void poll(const ApiRequest &request, const Router::Done &done);
    void acknowledge(const ApiRequest &request, const Router::Done &done);
    void result(const ApiRequest &request, const Router::Done &done);
    void devices(const ApiRequest &request, const Router::Done &done);
    void queueCommand(const ApiRequest &request, const Router::Done &done);
    void commandStatus(const ApiRequest &request, const Router::Done &done);

    ServerContext &context;
    ConsoleHub &hub;
};
