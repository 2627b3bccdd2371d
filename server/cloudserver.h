#pragma once

// The whole server: opens and migrates the store, wires the endpoints to the router
// and the WebSocket services to their paths, serves HTTP and the console page, and
// tidies the store now and then.

#include "serveroptions.h"

#include <QObject>

#include <memory>

class AccountApi;
class ClientApi;
class ConsoleApi;
class ConsoleHub;
class RelayApi;
class RelayHub;
class Database;
class DeviceApi;
class HttpFrontend;
class Mailer;
class PasswordHasher;
class Router;
class ServerContext;
class ShareApi;
class SyncApi;
class QTimer;

class CloudServer : public QObject
{
    Q_OBJECT

public:
    explicit CloudServer(const ServerOptions &options, QObject *parent = nullptr);
    ~CloudServer() override;

    // Opens the store, runs its migrations and starts listening. On failure returns
    // false with `error` set, and nothing listens.
    bool start(QString *error);
    quint16 port() const { return listeningPort; }

private:
    ServerOptions options;
    std::unique_ptr<Database> db;
    std::unique_ptr<Mailer> mailer;
    std::unique_ptr<PasswordHasher> hasher;
    std::unique_ptr<ServerContext> context;
    std::unique_ptr<Router> router;
    std::unique_ptr<AccountApi> accountApi;
    std::unique_ptr<DeviceApi> deviceApi;
    std::unique_ptr<SyncApi> syncApi;
    std::unique_ptr<ClientApi> clientApi;
    ConsoleHub *consoleHub = nullptr;
    RelayHub *relayHub = nullptr;
    std::unique_ptr<ConsoleApi> consoleApi;
    std::unique_ptr<RelayApi> relayApi;
    std::unique_ptr<ShareApi> shareApi;
    HttpFrontend *frontend = nullptr;
    QTimer *housekeeping = nullptr;
    quint16 listeningPort = 0;
};
