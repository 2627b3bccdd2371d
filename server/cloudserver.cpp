#include "cloudserver.h"

#include "accountapi.h"
#include "clientapi.h"
#include "database.h"
#include "deviceapi.h"
#include "httpfrontend.h"
#include "mailer.h"
#include "passwordhasher.h"
#include "router.h"
#include "servercontext.h"
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

} // namespace

CloudServer::CloudServer(const ServerOptions &options, QObject *parent)
    : QObject(parent)
    , options(options)
{
}

CloudServer::~CloudServer()
{
    // The hasher first: it waits for running jobs, and drops their replies.
    hasher.reset();
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

    frontend = new HttpFrontend(*router, HttpFrontend::Limits{}, this);
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
