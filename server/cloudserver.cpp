#include "cloudserver.h"

#include "accountapi.h"
#include "clientapi.h"
#include "consoleapi.h"
#include "consolehub.h"
#include "database.h"
#include "deviceapi.h"
#include "httpfrontend.h"
#include "mailer.h"
#include "passwordhasher.h"
#include "relayapi.h"
#include "relayhub.h"
#include "router.h"
#include "servercontext.h"
#include "shareapi.h"
#include "serverlog.h"
#include "syncapi.h"

#include <QDir>
#include <QFile>
#include <QTimer>

Q_LOGGING_CATEGORY(lcServer, "vlm.server")
Q_LOGGING_CATEGORY(lcAccess, "vlm.server.access")

namespace {

constexpr int kHousekeepingMs = 10 * 60 * 1000;
// Queued password jobs past which sign-ins are answered "busy" rather than queued.
constexpr int kMaxPendingHashes = 512;

// The browser console: a page, its script and its style, built into the server. The
// page talks to this same server only.
void addConsolePages(Router &router)
{
    struct Page
    {
        const char *path;
        const char *resource;
        const char *type;
    };
    static const Page pages[] = {
        {"/console", ":/web/console.html", "text/html; charset=utf-8"},
        {"/console/console.js", ":/web/console.js", "text/javascript; charset=utf-8"},
        {"/console/console.css", ":/web/console.css", "text/css; charset=utf-8"},
    };
    for (const Page &page : pages) {
        router.add(QStringLiteral("GET"), QString::fromLatin1(page.path),
                   [page](const ApiRequest &, const Router::Done &done) {
                       QFile file(QString::fromLatin1(page.resource));
                       file.open(QIODevice::ReadOnly);
                       ApiReply reply = ApiReply::page(file.readAll(), page.type);
                       reply.addHeader("Content-Security-Policy",
                                       "default-src 'self'; connect-src 'self' ws: wss:; "
                                       "frame-ancestors 'none'");
                       reply.addHeader("X-Content-Type-Options", "nosniff");
                       done(reply);
                   });
    }
}

} // namespace

CloudServer::CloudServer(const ServerOptions &options, QObject *parent)
    : QObject(parent)
    , options(options)
{
}

CloudServer::~CloudServer()
{
    // The hasher first: it waits for running jobs, and drops their replies. Then the
    // live services, whose sockets still report to them while they go.
    hasher.reset();
    delete relayHub;
    relayHub = nullptr;
    delete consoleHub;
    consoleHub = nullptr;
}

bool CloudServer::start(QString *error)
{
    if (!QDir().mkpath(options.dataDir)) {
        *error = QStringLiteral("cannot create the data folder %1").arg(options.dataDir);
        return false;
    }
    QFile::setPermissions(options.dataDir,
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    db = std::make_unique<Database>();
    if (!db->open(options.databaseUrl, options.dataDir, error)) {
        *error = QStringLiteral("cannot open the store: %1").arg(*error);
        return false;
    }
    if (!db->migrate(error))
        return false;
    mailer = std::make_unique<Mailer>(options.mailDir);
    if (!mailer->prepare(error))
        return false;
    hasher = std::make_unique<PasswordHasher>(PasswordHasher::Cost{}, kMaxPendingHashes);
    context = std::make_unique<ServerContext>(*db, options, *mailer, *hasher);

    router = std::make_unique<Router>();
    accountApi = std::make_unique<AccountApi>(*context);
    accountApi->addRoutes(*router);
    deviceApi = std::make_unique<DeviceApi>(*context);
    deviceApi->addRoutes(*router);
    syncApi = std::make_unique<SyncApi>(*context);
    syncApi->addRoutes(*router);
    clientApi = std::make_unique<ClientApi>(*context);
    clientApi->addRoutes(*router);
    consoleHub = new ConsoleHub(*context, this);
    relayHub = new RelayHub(*context, *consoleHub, this);
    consoleApi = std::make_unique<ConsoleApi>(*context, *consoleHub);
    consoleApi->addRoutes(*router);
    relayApi = std::make_unique<RelayApi>(*context, *consoleHub, *relayHub);
    relayApi->addRoutes(*router);
    shareApi = std::make_unique<ShareApi>(*context, *consoleHub, *relayHub);
    shareApi->addRoutes(*router);
    addConsolePages(*router);

    frontend = new HttpFrontend(*router, HttpFrontend::Limits{}, this);
    frontend->addWebSocketRoute(QStringLiteral("/ws/console/v1"),
                                [this](QWebSocket *socket) { consoleHub->acceptSocket(socket); });
    frontend->addWebSocketRoute(QStringLiteral("/ws/relay/v1"),
                                [this](QWebSocket *socket) { relayHub->acceptSocket(socket); });
    listeningPort = frontend->listenOn(options.listenAddress, options.port, error);
    if (listeningPort == 0) {
        *error = QStringLiteral("cannot listen on %1:%2: %3")
                     .arg(options.listenAddress.toString())
                     .arg(options.port)
                     .arg(*error);
        return false;
    }

    housekeeping = new QTimer(this);
    housekeeping->setInterval(kHousekeepingMs);
    connect(housekeeping, &QTimer::timeout, this, [this]() { context->housekeeping(); });
    housekeeping->start();
    context->housekeeping();

    qCInfo(lcServer).noquote() << "store:" << db->location() << "schema" << db->schemaVersion();
    qCInfo(lcServer).noquote() << "mails go to" << mailer->folder();
    return true;
}
