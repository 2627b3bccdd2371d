#include "cloud/cloudredactor.h"

#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

namespace {

// Names whose values are secrets wherever they appear.
const QStringList &secretNames()
{
    static const QStringList names = {
        QStringLiteral("access_token"), QStringLiteral("refresh_token"), QStringLiteral("token"),
        QStringLiteral("ticket"),       QStringLiteral("guest_token"),   QStringLiteral("password"),
        QStringLiteral("passcode"),     QStringLiteral("invite_code"),   QStringLiteral("code"),
    };
    return names;
}

bool isSecretName(const QString &name)
{
    return secretNames().contains(name.toLower());
}

// "code" also names the machine-readable reason of every reply ("ok",
// "revision_conflict"): only a value with a digit in it is a code to hide.
bool hidesValue(const QString &name, const QString &value)
{
    if (name.compare(QLatin1String("code"), Qt::CaseInsensitive) == 0) {
        return value.contains(QRegularExpression(QStringLiteral("\\d")));
    }
    return true;
}

} // namespace

QString CloudRedactor::redacted()
{
    return QStringLiteral("<redacted>");
}

QString CloudRedactor::url(const QUrl &url)
{
    QUrl copy = url.adjusted(QUrl::RemoveUserInfo);
    QString path = copy.path();
    static const QRegularExpression join(QStringLiteral("(/relay/join/)[^/]+"));
    path.replace(join, QStringLiteral("\\1") + redacted());
    copy.setPath(path);
    if (copy.hasQuery()) {
        QUrlQuery query(copy);
        const auto items = query.queryItems(QUrl::FullyDecoded);
        QUrlQuery cleaned;
        for (const auto &[name, value] : items) {
            cleaned.addQueryItem(name,
                                 isSecretName(name) && hidesValue(name, value) ? redacted() : value);
        }
        copy.setQuery(cleaned);
    }
    return copy.toString(QUrl::DecodeReserved);
}

QString CloudRedactor::text(const QString &text)
{
    QString out = text;
    // "name": "value" in JSON, however spaced.
    static const QRegularExpression member(
        QStringLiteral("\"([A-Za-z_]+)\"(\\s*:\\s*)\"((?:[^\"\\\\]|\\\\.)*)\""));
    // name=value in queries, forms and headers.
    static const QRegularExpression pair(QStringLiteral("\\b([A-Za-z_]+)=([^&\\s\"',;]+)"));
    static const QRegularExpression bearer(QStringLiteral("(Bearer\\s+)[^\\s\"',;]+"),
                                           QRegularExpression::CaseInsensitiveOption);
    // The server's own token forms, wherever they turn up.
    static const QRegularExpression token(QStringLiteral("\\bv[a-z]t_[A-Za-z0-9_\\-]+"));

    QString result;
    qsizetype last = 0;
    for (auto it = member.globalMatch(out); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        result += QStringView(out).mid(last, m.capturedStart() - last);
        if (isSecretName(m.captured(1)) && hidesValue(m.captured(1), m.captured(3))) {
            result += QStringLiteral("\"%1\"%2\"%3\"").arg(m.captured(1), m.captured(2), redacted());
        } else {
            result += m.captured(0);
        }
        last = m.capturedEnd();
    }
    result += QStringView(out).mid(last);
    out = result;

    result.clear();
    last = 0;
    for (auto it = pair.globalMatch(out); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        result += QStringView(out).mid(last, m.capturedStart() - last);
        if (isSecretName(m.captured(1)) && hidesValue(m.captured(1), m.captured(2))) {
            result += m.captured(1) + QLatin1Char('=') + redacted();
        } else {
            result += m.captured(0);
        }
        last = m.capturedEnd();
    }
    result += QStringView(out).mid(last);
    out = result;

    static const QRegularExpression join(QStringLiteral("(/relay/join/)[^/\\s?#\"']+"));
    out.replace(join, QStringLiteral("\\1") + redacted());
    out.replace(bearer, QStringLiteral("\\1") + redacted());
    out.replace(token, redacted());
    return out;
}

QString CloudRedactor::text(const QByteArray &bytes)
{
    return text(QString::fromUtf8(bytes));
}

QString CloudRedactor::tag(const QString &tag)
{
    if (tag.startsWith(QLatin1String("relaypeek:"))) {
        return QStringLiteral("relaypeek:") + redacted();
    }
    return tag;
}
