// Sends the input to one of the cloud server's endpoints, in-process (router, endpoint
// code and an in-memory SQLite store), signed in or not, from some address, and checks
// the reply: never a server error for any input, and always the four fields a client
// routes by. Two guest shares wait in the store, one with a passcode and one without,
// so that joins get past the code.

#include "accountapi.h"
#include "apirequest.h"
#include "clientapi.h"
#include "consolehub.h"
#include "database.h"
#include "deviceapi.h"
#include "mailer.h"
#include "passwordhasher.h"
#include "relayhub.h"
#include "router.h"
#include "servercontext.h"
#include "shareapi.h"
#include "syncapi.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

struct Endpoint
{
    const char *method;
    const char *path; // "%1" is replaced by text from the input
};

constexpr Endpoint kEndpoints[] = {
    {"POST", "/api/v3/account/register/code"},  {"POST", "/api/v3/account/register"},
    {"POST", "/api/v3/account/login"},          {"POST", "/api/v3/account/token/refresh"},
    {"POST", "/api/v3/account/logout"},         {"GET", "/api/v3/account/me"},
    {"GET", "/api/v3/account/devices"},         {"POST", "/api/v3/account/devices/bind"},
    {"DELETE", "/api/v3/account/devices/%1"},   {"GET", "/api/v3/sync/items?namespace=%1"},
    {"PUT", "/api/v3/sync/items/%1/default"},   {"PUT", "/api/v3/sync/items/settings/%1"},
    {"GET", "/api/v3/clients/%1"},              {"POST", "/api/v3/clients/%1/info"},
    {"GET", "/api/v3/releases/latest?platform=%1"}, {"GET", "/api/v3/cloud/quota"},
    {"POST", "/api/v3/relay/shares"},           {"GET", "/api/v3/relay/shares?cid=%1"},
    {"DELETE", "/api/v3/relay/shares/%1"},      {"GET", "/api/v3/relay/join/%1"},
    {"POST", "/api/v3/relay/join"},             {"GET", "/api/v3/relay/join/7KQ2-M9XD-4HT%1"},
    {"GET", "/api/v3/%1"},
};

struct Server
{
    QTemporaryDir dir;
    ServerOptions options;
    Database db;
    Mailer mailer{dir.filePath(QStringLiteral("mail"))};
    // The cheapest Argon2id: the fuzzer is after the request handling, not the hash.
    PasswordHasher hasher{PasswordHasher::Cost{1, 8, 1}, 64};
    std::unique_ptr<ServerContext> context;
    Router router;
    std::unique_ptr<AccountApi> account;
    std::unique_ptr<DeviceApi> devices;
    std::unique_ptr<SyncApi> sync;
    std::unique_ptr<ClientApi> clients;
    std::unique_ptr<ConsoleHub> console;
    std::unique_ptr<RelayHub> relays;
    std::unique_ptr<ShareApi> shares;
    QString token;

    Server()
    {
        options.dataDir = dir.path();
        QString error;
        check(db.open(QStringLiteral("sqlite::memory:"), dir.path(), &error) && db.migrate(&error)
                  && mailer.prepare(&error),
              "store opens");
        context = std::make_unique<ServerContext>(db, options, mailer, hasher);
        account = std::make_unique<AccountApi>(*context);
        account->addRoutes(router);
        devices = std::make_unique<DeviceApi>(*context);
        devices->addRoutes(router);
        sync = std::make_unique<SyncApi>(*context);
        sync->addRoutes(router);
        clients = std::make_unique<ClientApi>(*context);
        clients->addRoutes(router);
        console = std::make_unique<ConsoleHub>(*context);
        relays = std::make_unique<RelayHub>(*context, *console);
        shares = std::make_unique<ShareApi>(*context, *console, *relays);
        shares->addRoutes(router);
        UserRecord user{0, QStringLiteral("fuzz@example.com"), QStringLiteral("F"),
                        PasswordHasher::hashNow(QStringLiteral("password"), {1, 8, 1}), 1};
        TokenPair tokens;
        check(context->users.create(&user) == UserStore::Created::Ok
                  && context->sessions.open(user.id, QString(), context->now(), &tokens),
              "fuzz account");
        token = tokens.accessToken;
        for (const char *code : {"7KQ2M9XD4HTW", "7KQ2M9XD4HTX"}) {
            ShareRecord share;
            share.shareId = QStringLiteral("shr_") + QString::fromLatin1(code);
            share.userId = user.id;
            share.cid = QStringLiteral("0a1b2c3d-0000-4000-8000-00000000000a");
            share.sessionId = share.portKey = share.portName = QStringLiteral("ser-0");
            share.code = QString::fromLatin1(code);
            share.web = QStringLiteral("send");
            share.relay = true;
            share.createdAt = context->now();
            share.expiresAt = share.createdAt + 86400000;
            if (share.code.endsWith(u'W'))
                share.passcodeHash = PasswordHasher::hashNow(QStringLiteral("4711"), {1, 8, 1});
            check(context->shares.create(share) == Lookup::Found, "fuzz shares");
        }
    }
};

Server &server()
{
    static int argc = 1;
    static char name[] = "cloud_api";
    static char *argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    static Server instance;
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Server &s = server();
    FuzzedDataProvider input(data, size);
    const Endpoint &endpoint = kEndpoints[input.ConsumeIntegralInRange<std::size_t>(
        0, std::size(kEndpoints) - 1)];
    const bool signedIn = input.ConsumeBool();
    const quint32 address = input.ConsumeIntegral<quint32>();
    const std::string filler = input.ConsumeRandomLengthString(64);
    const std::vector<std::uint8_t> body = input.ConsumeRemainingBytes<std::uint8_t>();

    const QUrl url(QStringLiteral("http://fuzz")
                   + QString::fromLatin1(endpoint.path)
                         .replace(QStringLiteral("%1"), QString::fromUtf8(filler.data(), qsizetype(filler.size()))));
    ApiRequest request;
    request.method = QString::fromLatin1(endpoint.method);
    request.path = url.path();
    request.segments = ApiRequest::splitPath(request.path);
    request.query = QUrlQuery(url);
    request.body = QByteArray(reinterpret_cast<const char *>(body.data()), qsizetype(body.size()));
    request.remoteAddress = QHostAddress(address);
    if (signedIn)
        request.bearerToken = s.token;

    bool answered = false;
    ApiReply reply;
    QString pattern;
    s.router.dispatch(request, [&](const ApiReply &r) {
        answered = true;
        reply = r;
    }, &pattern);
    const QDeadlineTimer deadline(10000);
    while (!answered && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    check(answered, "every request is answered");
    check(reply.httpStatus < 500, "no server error for any input");
    const QJsonObject &json = reply.body;
    check(json.value(QStringLiteral("type")).isString() && !json.value(QStringLiteral("type")).toString().isEmpty(), "type");
    check(json.value(QStringLiteral("status")).toBool() == (reply.httpStatus < 400), "status matches");
    check(!json.value(QStringLiteral("description")).toString().isEmpty(), "description");
    check(!json.value(QStringLiteral("code")).toString().isEmpty(), "code");
    return 0;
}
