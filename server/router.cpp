#include "router.h"

namespace {

QString route405Label(const ApiRequest &request)
{
    return u'/' + request.segments.mid(0, 3).join(u'/').left(64) + QStringLiteral(" (wrong method)");
}

} // namespace

void Router::add(const QString &method, const QString &pattern, Handler handler)
{
    routes.append({method, pattern, ApiRequest::splitPath(pattern), std::move(handler)});
}

bool Router::matches(const Route &route, const QStringList &segments,
                     QHash<QString, QString> *params)
{
    if (route.parts.size() != segments.size())
        return false;
    QHash<QString, QString> captured;
    for (qsizetype i = 0; i < segments.size(); ++i) {
        const QString &part = route.parts[i];
        if (part.startsWith(u'{') && part.endsWith(u'}'))
            captured.insert(part.mid(1, part.size() - 2), segments[i]);
        else if (part != segments[i])
            return false;
    }
    if (params)
        *params = captured;
    return true;
}

void Router::dispatch(ApiRequest &request, const Done &done, QString *pattern) const
{
    QStringList allowed;
    for (const Route &route : routes) {
        if (!matches(route, request.segments, nullptr))
            continue;
        if (route.method != request.method) {
            allowed.append(route.method);
            continue;
        }
        matches(route, request.segments, &request.params);
        *pattern = route.pattern;
        route.handler(request, done);
        return;
    }
    const QString type = request.replyType();
    if (!allowed.isEmpty()) {
        ApiReply reply = ApiReply::fail(
            type, 405, QStringLiteral("method_not_allowed"),
            QStringLiteral("This address does not take %1 requests; it takes %2.")
                .arg(request.method.left(16), allowed.join(QStringLiteral(", "))));
        reply.addHeader("Allow", allowed.join(QStringLiteral(", ")).toLatin1());
        *pattern = route405Label(request);
        done(reply);
        return;
    }
    done(ApiReply::fail(type, 404, QStringLiteral("not_found"),
                        QStringLiteral("The server offers nothing at this address.")));
}
