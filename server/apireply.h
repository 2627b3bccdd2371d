#pragma once

// One reply: an HTTP status and a JSON object that always carries "type", "status",
// "description" and "code", so that a client can route and explain it whatever the
// status line says.

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>

struct ApiReply
{
    int httpStatus = 200;
    QJsonObject body;
    QList<QPair<QByteArray, QByteArray>> headers; // extra response headers
    // A page for a browser instead of the JSON body (the privacy and terms pages, the
    // console page and its script and style), of `contentType`.
    QByteArray html;
    QByteArray contentType = "text/html; charset=utf-8";

    // A success: "status" true, "code" "ok", plus `fields`.
    static ApiReply ok(const QString &type, const QString &description,
                       const QJsonObject &fields = {});
    // A refusal: "status" false with the machine-readable `code`.
    static ApiReply fail(const QString &type, int httpStatus, const QString &code,
                         const QString &description, const QJsonObject &fields = {});

    // The common refusals.
    static ApiReply unauthorized(const QString &type);
    static ApiReply rateLimited(const QString &type, const QString &description,
                                qint64 retryAfterSeconds);
    static ApiReply internalError(const QString &type);
    static ApiReply page(const QByteArray &html,
                         const QByteArray &contentType = "text/html; charset=utf-8");

    void addHeader(const QByteArray &name, const QByteArray &value)
    {
        headers.append(qMakePair(name, value));
    }
    // The whole HTTP/1.1 response, ready for the socket.
    QByteArray serialize(bool closeConnection) const;
    QString code() const;
};
