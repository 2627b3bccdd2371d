#pragma once

// One HTTP request as the handlers see it: copied out of the HTTP layer so that a
// handler may answer after the event loop has run (password hashing runs on a pool).

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QString>
#include <QStringList>
#include <QUrlQuery>

struct ApiRequest
{
    QString method;            // "GET", "POST", "PUT", "DELETE", ...
    QString path;              // decoded path, e.g. "/api/v3/sync/items"
    QStringList segments;      // the path's non-empty parts
    QUrlQuery query;
    QByteArray body;
    QString bearerToken;       // from "Authorization: Bearer ..."
    QString guestToken;        // from "X-Relay-Guest-Token"
    QString host;              // from "Host", when it is a plain host[:port]
    QHostAddress remoteAddress;
    QHash<QString, QString> params; // path captures of the matched route

    // The path's segments, split and percent-decoded.
    static QStringList splitPath(const QString &path);
    // A query item, fully decoded; empty when absent.
    QString queryValue(const QString &key) const;
    bool hasQueryItem(const QString &key) const { return query.hasQueryItem(key); }
    // The message kind that replies on this path carry: the first word after
    // /api/v3 mapped to the reply "type" the app routes on ("account", "sync", ...).
    QString replyType() const;
    // A key for the caller's address in rate limits (IPv4-mapped forms folded).
    QString addressKey() const;
};
