#include "apirequest.h"

#include <QUrl>

QStringList ApiRequest::splitPath(const QString &path)
{
    QStringList parts;
    const auto raw = QStringView(path).split(u'/', Qt::SkipEmptyParts);
    parts.reserve(raw.size());
    for (const QStringView part : raw)
        parts.append(QUrl::fromPercentEncoding(part.toUtf8()));
    return parts;
}

QString ApiRequest::queryValue(const QString &key) const
{
    return query.queryItemValue(key, QUrl::FullyDecoded);
}

QString ApiRequest::replyType() const
{
    // The app dispatches every reply by this word, whatever the HTTP status, so a
    // 404 on an account path must still say "account" to reach the account code.
    static const QHash<QString, QString> types = {
        {QStringLiteral("clients"), QStringLiteral("client")},
        {QStringLiteral("releases"), QStringLiteral("release")},
        {QStringLiteral("cloud"), QStringLiteral("quota")},
        {QStringLiteral("account"), QStringLiteral("account")},
        {QStringLiteral("sync"), QStringLiteral("sync")},
        {QStringLiteral("console"), QStringLiteral("console")},
        {QStringLiteral("relay"), QStringLiteral("relay")},
        {QStringLiteral("health"), QStringLiteral("health")},
    };
    if (segments.size() >= 3 && segments[0] == u"api" && segments[1] == u"v3")
        return types.value(segments[2], QStringLiteral("error"));
    return QStringLiteral("error");
}

QString ApiRequest::addressKey() const
{
    bool mapped = false;
    const quint32 v4 = remoteAddress.toIPv4Address(&mapped);
    if (mapped)
        return QHostAddress(v4).toString();
    return remoteAddress.toString();
}
