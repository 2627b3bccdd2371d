#include "clientapi.h"

#include "bodyreader.h"
#include "inputrules.h"
#include "servercontext.h"
#include "serverlog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>

namespace {

constexpr qsizetype kMaxReportBytes = 16 * 1024;
constexpr qint64 kUnlimited = TrafficMeter::kUnlimited;

ApiReply badCid(const QString &type)
{
    return ApiReply::fail(type, 400, QStringLiteral("invalid_field"),
                          QStringLiteral("The device id must be a UUID (8-4-4-4-12 hexadecimal "
                                         "digits)."),
                          {{QStringLiteral("field"), QStringLiteral("cid")}});
}

QJsonObject clientJson(const ClientRecord &record, bool known)
{
    QJsonObject json{{QStringLiteral("cid"), record.cid}, {QStringLiteral("known"), known}};
    if (known) {
        const QJsonObject info = QJsonDocument::fromJson(record.info).object();
        json.insert(QStringLiteral("client_version"),
                    info.value(QStringLiteral("client_version")).toString());
        json.insert(QStringLiteral("first_seen_at"), ServerContext::isoTime(record.firstSeenAt));
        json.insert(QStringLiteral("last_seen_at"), ServerContext::isoTime(record.lastSeenAt));
    }
    return json;
}

} // namespace

ClientApi::ClientApi(ServerContext &context)
    : context(context)
{
}

void ClientApi::addRoutes(Router &router)
{
    const auto bindTo = [this](void (ClientApi::*method)(const ApiRequest &, const Router::Done &)) {
        return [this, method](const ApiRequest &request, const Router::Done &done) {
            (this->*method)(request, done);
        };
    };
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/clients/{cid}"),
               bindTo(&ClientApi::clientInfo));
    router.add(QStringLiteral("POST"), QStringLiteral("/api/v3/clients/{cid}/info"),
               bindTo(&ClientApi::postClientInfo));
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/releases/latest"),
               bindTo(&ClientApi::latestRelease));
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/cloud/quota"),
               bindTo(&ClientApi::quota));
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/health"), bindTo(&ClientApi::health));
    // The pages the app's consent and registration forms link to.
    for (const QString &name : {QStringLiteral("privacy"), QStringLiteral("terms")}) {
        router.add(QStringLiteral("GET"), u'/' + name,
                   [this, name](const ApiRequest &, const Router::Done &done) { page(name, done); });
    }
}

void ClientApi::clientInfo(const ApiRequest &request, const Router::Done &done)
{
    const QString type = QStringLiteral("client");
    const QString cid = request.params.value(QStringLiteral("cid")).toLower();
    if (!inputrules::isCid(cid))
        return done(badCid(type));
    ClientRecord record;
    record.cid = cid;
    const Lookup found = context.clients.find(cid, &record);
    if (found == Lookup::Failed)
        return done(ApiReply::internalError(type));
    const bool known = found == Lookup::Found;
    done(ApiReply::ok(type, known ? QStringLiteral("This computer has reported before.")
                                  : QStringLiteral("This computer has not reported yet."),
                      {{QStringLiteral("client"), clientJson(record, known)}}));
}

void ClientApi::postClientInfo(const ApiRequest &request, const Router::Done &done)
{
    const QString type = QStringLiteral("client");
    const QString cid = request.params.value(QStringLiteral("cid")).toLower();
    if (!inputrules::isCid(cid))
        return done(badCid(type));
    BodyReader body(request.body);
    const QString version = body.text(QStringLiteral("client_version"), BodyReader::Need::Optional);
    body.require(inputrules::isDisplayText(version, 32), QStringLiteral("client_version"),
                 QStringLiteral("A client version is one line of at most 32 characters."));
    if (!body.ok())
        return done(body.error(type));
    ClientRecord record;
    record.cid = cid;
    record.info = QJsonDocument(body.json()).toJson(QJsonDocument::Compact);
    if (record.info.size() > kMaxReportBytes) {
        return done(ApiReply::fail(type, 413, QStringLiteral("payload_too_large"),
                                   QStringLiteral("A client report is at most %1 bytes.")
                                       .arg(kMaxReportBytes)));
    }
    const qint64 now = context.now();
    const QString address = request.addressKey();
    if (const qint64 wait = context.reportsPerAddress.retryAfter(address, now)) {
        return done(ApiReply::rateLimited(
            type, QStringLiteral("Too many reports from this address. Try again later."), wait));
    }
    context.reportsPerAddress.hit(address, now);
    if (!context.clients.report(&record, now))
        return done(ApiReply::internalError(type));
    done(ApiReply::ok(type, QStringLiteral("Report received."),
                      {{QStringLiteral("client"), clientJson(record, true)}}));
}

void ClientApi::latestRelease(const ApiRequest &request, const Router::Done &done)
{
    const QString type = QStringLiteral("release");
    const QString platform = request.queryValue(QStringLiteral("platform"));
    if (!inputrules::isPlainName(platform, 32)) {
        return done(ApiReply::fail(type, 400,
                                   request.hasQueryItem(QStringLiteral("platform"))
                                       ? QStringLiteral("invalid_field")
                                       : QStringLiteral("missing_field"),
                                   QStringLiteral("Name the platform: ?platform= 1 to 32 letters, "
                                                  "digits, dots, dashes or underscores."),
                                   {{QStringLiteral("field"), QStringLiteral("platform")}}));
    }
    // The administrator publishes releases in releases.json beside the store: an
    // object from platform name (or "*" for any) to the release's fields.
    QFile file(QDir(context.options.dataDir).filePath(QStringLiteral("releases.json")));
    QJsonObject releases;
    if (file.open(QIODevice::ReadOnly)) {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(file.read(1024 * 1024), &error);
        if (error.error != QJsonParseError::NoError || !document.isObject())
            qCWarning(lcServer) << "releases.json is not a JSON object:" << error.errorString();
        releases = document.object();
    }
    QJsonObject release = releases.value(platform).toObject();
    if (release.isEmpty())
        release = releases.value(QStringLiteral("*")).toObject();
    const QString version = release.value(QStringLiteral("version")).toString();
    if (version.isEmpty()) {
        return done(ApiReply::fail(type, 404, QStringLiteral("no_release"),
                                   QStringLiteral("No release is published for %1.").arg(platform)));
    }
    QJsonObject fields{{QStringLiteral("platform"), platform},
                       {QStringLiteral("version"), version}};
    for (const char *key : {"url", "notes", "published_at", "sha256"}) {
        const QString name = QString::fromLatin1(key);
        fields.insert(name, release.value(name).toString());
    }
    done(ApiReply::ok(type, QStringLiteral("The latest release is %1.").arg(version),
                      {{QStringLiteral("release"), fields}}));
}

void ClientApi::quota(const ApiRequest &request, const Router::Done &done)
{
    const QString type = QStringLiteral("quota");
    Principal principal;
    if (const auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(context.now(), Qt::UTC);
    const QString period = now.toString(QStringLiteral("yyyy-MM"));
    context.traffic.flush();
    const qint64 used = context.users.trafficUsed(principal.userId, period);
    if (used < 0)
        return done(ApiReply::internalError(type));
    const qint64 limit = context.options.monthlyQuotaBytes;
    const bool unlimited = limit == 0;
    const qint64 remaining = unlimited ? kUnlimited : qMax<qint64>(0, limit - used);
    const QDate firstOfMonth(now.date().year(), now.date().month(), 1);
    const QDateTime resets(firstOfMonth.addMonths(1), QTime(0, 0), Qt::UTC);
    done(ApiReply::ok(type,
                      unlimited ? QStringLiteral("Live traffic is not limited on this server.")
                                : QStringLiteral("%1 of %2 bytes used this month.")
                                      .arg(used)
                                      .arg(limit),
                      {{QStringLiteral("period"), period},
                       {QStringLiteral("unlimited"), unlimited},
                       {QStringLiteral("limit_bytes"), limit},
                       {QStringLiteral("used_bytes"), used},
                       {QStringLiteral("up_remaining"), remaining},
                       {QStringLiteral("exhausted"), !unlimited && remaining == 0},
                       {QStringLiteral("resets_at"), resets.toString(Qt::ISODate)}}));
}

void ClientApi::health(const ApiRequest &, const Router::Done &done)
{
    const QString type = QStringLiteral("health");
    const int schema = context.db.schemaVersion();
    if (schema < 0) {
        return done(ApiReply::fail(type, 503, QStringLiteral("store_unavailable"),
                                   QStringLiteral("The store cannot be reached.")));
    }
    done(ApiReply::ok(type, QStringLiteral("Serving."),
                      {{QStringLiteral("version"), QStringLiteral(VELMORA_CLOUD_VERSION)},
                       {QStringLiteral("schema"), schema}}));
}

void ClientApi::page(const QString &name, const Router::Done &done)
{
    QFile file(QDir(context.options.dataDir).filePath(name + QStringLiteral(".html")));
    if (file.open(QIODevice::ReadOnly))
        return done(ApiReply::page(file.read(1024 * 1024)));
    const QByteArray title = name == u"privacy" ? "Privacy Policy" : "Terms of Service";
    done(ApiReply::page(
        "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>" + title
        + "</title></head><body><h1>" + title
        + "</h1><p>This velmora-cloud server keeps, for each account: the email address, the "
          "user name, a salted hash of the password, the computers bound to it (their device "
          "id, name and program version), hashes of the sign-in tokens, and the settings the "
          "app syncs. It keeps the version reports of computers that allowed them. Nothing is "
          "passed to anyone else.</p><p>The operator of this server can replace this page with "
        + name.toUtf8() + ".html in the server's data folder.</p></body></html>"));
}
