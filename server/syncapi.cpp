#include "syncapi.h"

#include "bodyreader.h"
#include "inputrules.h"
#include "servercontext.h"

#include <QJsonArray>
#include <QJsonDocument>

using Need = BodyReader::Need;

namespace {

const QString kType = QStringLiteral("sync");
constexpr int kMaxNameLength = 64;
// Larger than any JSON integer that survives a double, so a revision read back by a
// JavaScript or Qt client is exact.
constexpr qint64 kMaxRevision = (qint64(1) << 53) - 1;

ApiReply badName(const QString &field)
{
    return ApiReply::fail(kType, 400, QStringLiteral("invalid_field"),
                          QStringLiteral("The %1 is 1 to %2 letters, digits, dots, dashes or "
                                         "underscores.")
                              .arg(field)
                              .arg(kMaxNameLength),
                          {{QStringLiteral("field"), field}});
}

} // namespace

SyncApi::SyncApi(ServerContext &context)
    : context(context)
{
}

void SyncApi::addRoutes(Router &router)
{
    router.add(QStringLiteral("GET"), QStringLiteral("/api/v3/sync/items"),
               [this](const ApiRequest &request, const Router::Done &done) { fetch(request, done); });
    router.add(QStringLiteral("PUT"), QStringLiteral("/api/v3/sync/items/{namespace}/{key}"),
               [this](const ApiRequest &request, const Router::Done &done) { put(request, done); });
}

QJsonObject SyncApi::itemJson(const SyncItem &item)
{
    QJsonObject json{{QStringLiteral("namespace"), item.nameSpace},
                     {QStringLiteral("item_key"), item.key},
                     {QStringLiteral("revision"), item.revision}};
    if (item.revision > 0) {
        json.insert(QStringLiteral("payload"), QJsonDocument::fromJson(item.payload).object());
        json.insert(QStringLiteral("updated_at"), ServerContext::isoTime(item.updatedAt));
        json.insert(QStringLiteral("updated_by"), item.updatedBy);
    } else {
        json.insert(QStringLiteral("payload"), QJsonValue::Null);
    }
    return json;
}

void SyncApi::fetch(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (const auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    const QString nameSpace = request.queryValue(QStringLiteral("namespace"));
    if (!request.hasQueryItem(QStringLiteral("namespace"))) {
        return done(ApiReply::fail(kType, 400, QStringLiteral("missing_field"),
                                   QStringLiteral("Name the namespace to fetch: "
                                                  "?namespace=..."),
                                   {{QStringLiteral("field"), QStringLiteral("namespace")}}));
    }
    if (!inputrules::isPlainName(nameSpace, kMaxNameLength))
        return done(badName(QStringLiteral("namespace")));
    QList<SyncItem> items;
    if (!context.sync.list(principal.userId, nameSpace, &items))
        return done(ApiReply::internalError(kType));
    QJsonArray array;
    for (const SyncItem &item : items)
        array.append(itemJson(item));
    done(ApiReply::ok(kType, QStringLiteral("Items in %1: %2.").arg(nameSpace).arg(items.size()),
                      {{QStringLiteral("namespace"), nameSpace}, {QStringLiteral("items"), array}}));
}

void SyncApi::put(const ApiRequest &request, const Router::Done &done)
{
    Principal principal;
    if (const auto refusal = context.authorize(request, &principal))
        return done(*refusal);
    SyncItem item;
    item.nameSpace = request.params.value(QStringLiteral("namespace"));
    item.key = request.params.value(QStringLiteral("key"));
    if (!inputrules::isPlainName(item.nameSpace, kMaxNameLength))
        return done(badName(QStringLiteral("namespace")));
    if (!inputrules::isPlainName(item.key, kMaxNameLength))
        return done(badName(QStringLiteral("key")));
    BodyReader body(request.body);
    const qint64 base = body.integer(QStringLiteral("base_revision"), Need::Required, 0,
                                     kMaxRevision - 1);
    const QJsonObject payload = body.object(QStringLiteral("payload"), Need::Required);
    if (!body.ok())
        return done(body.error(kType));

    item.payload = QJsonDocument(payload).toJson(QJsonDocument::Compact);
    item.updatedBy = principal.cid;
    switch (context.sync.put(principal.userId, base, context.now(), &item)) {
    case SyncStore::Put::Failed: return done(ApiReply::internalError(kType));
    case SyncStore::Put::Full:
        return done(ApiReply::fail(kType, 409, QStringLiteral("item_limit"),
                                   QStringLiteral("The account holds as many synced items as it "
                                                  "may.")));
    case SyncStore::Put::Conflict:
        return done(ApiReply::fail(
            kType, 409, QStringLiteral("revision_conflict"),
            QStringLiteral("The item changed elsewhere: the server has revision %1, this write "
                           "was based on %2.")
                .arg(item.revision)
                .arg(base),
            {{QStringLiteral("server_item"), itemJson(item)}}));
    case SyncStore::Put::Saved: break;
    }
    done(ApiReply::ok(kType, QStringLiteral("Saved as revision %1.").arg(item.revision),
                      {{QStringLiteral("item"), itemJson(item)}}));
}
