#pragma once

// The REST side of Live Relay: the computers and ports a signed-in client may relay
// to, opening a relay (which queues the host's "open_relay"), and closing one by the
// owner's bearer token or a guest's X-Relay-Guest-Token.

#include "router.h"

class ConsoleHub;
class RelayHub;
class ServerContext;

class RelayApi
{
public:
    RelayApi(ServerContext &context, ConsoleHub &console, RelayHub &relays);
    void addRoutes(Router &router);

private:
    void targets(const ApiRequest &request, const Router::Done &done);
    void openSession(const ApiRequest &request, const Router::Done &done);
    void closeSession(const ApiRequest &request, const Router::Done &done);

    ServerContext &context;
    ConsoleHub &console;
    RelayHub &relays;
};
