#include "apireply.h"

#include <QJsonDocument>

namespace {

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 409: return "Conflict";
    case 410: return "Gone";
    case 413: return "Payload Too Large";
    case 429: return "Too Many Requests";
    case 500: return "Internal Server Error";
    case 503: return "Service Unavailable";
    default: return "Status";
    }
}

} // namespace

ApiReply ApiReply::ok(const QString &type, const QString &description, const QJsonObject &fields)
{
    ApiReply reply;
    reply.body = fields;
    reply.body.insert(QStringLiteral("type"), type);
    reply.body.insert(QStringLiteral("status"), true);
    reply.body.insert(QStringLiteral("code"), QStringLiteral("ok"));
    reply.body.insert(QStringLiteral("description"), description);
    return reply;
}

ApiReply ApiReply::fail(const QString &type, int httpStatus, const QString &code,
                        const QString &description, const QJsonObject &fields)
{
    ApiReply reply;
    reply.httpStatus = httpStatus;
    reply.body = fields;
    reply.body.insert(QStringLiteral("type"), type);
    reply.body.insert(QStringLiteral("status"), false);
    reply.body.insert(QStringLiteral("code"), code);
    reply.body.insert(QStringLiteral("description"), description);
    return reply;
}

ApiReply ApiReply::unauthorized(const QString &type)
{
    ApiReply reply = fail(type, 401, QStringLiteral("unauthorized"),
                          QStringLiteral("Sign in again: the access token is missing, "
                                         "expired or revoked."));
    reply.addHeader("WWW-Authenticate", "Bearer");
    return reply;
}

ApiReply ApiReply::rateLimited(const QString &type, const QString &description,
                               qint64 retryAfterSeconds)
{
    const qint64 seconds = qMax<qint64>(1, retryAfterSeconds);
    ApiReply reply = fail(type, 429, QStringLiteral("rate_limited"), description,
                          {{QStringLiteral("retry_after"), seconds}});
    reply.addHeader("Retry-After", QByteArray::number(seconds));
    return reply;
}

ApiReply ApiReply::internalError(const QString &type)
{
    return fail(type, 500, QStringLiteral("internal_error"),
                QStringLiteral("The server could not complete the request. "
                               "Please try again later."));
}

ApiReply ApiReply::page(const QByteArray &html, const QByteArray &contentType)
{
    ApiReply reply;
    reply.html = html;
    reply.contentType = contentType;
    return reply;
}

QByteArray ApiReply::serialize(bool closeConnection) const
{
    const QByteArray json =
        html.isEmpty() ? QJsonDocument(body).toJson(QJsonDocument::Compact) : html;
    QByteArray out;
    out.reserve(json.size() + 256);
    out += "HTTP/1.1 " + QByteArray::number(httpStatus) + ' ' + reasonPhrase(httpStatus) + "\r\n";
    out += "Content-Type: " + (html.isEmpty() ? QByteArray("application/json") : contentType) + "\r\n";
    out += "Content-Length: " + QByteArray::number(json.size()) + "\r\n";
    // Replies carry tokens and private data: no cache may keep them.
    out += "Cache-Control: no-store\r\n";
    if (closeConnection)
        out += "Connection: close\r\n";
    for (const auto &header : headers)
        out += header.first + ": " + header.second + "\r\n";
    out += "\r\n";
    out += json;
    return out;
}

QString ApiReply::code() const
{
    return body.value(QStringLiteral("code")).toString();
}
