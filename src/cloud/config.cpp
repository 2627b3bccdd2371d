#include "cloud/config.h"

#include <QSettings>
#include <QUrl>

QString Config::dasHostKey()
{
    return QStringLiteral("CloudServerAddress");
}

QString Config::dasHostAddress()
{
    return dasHostAddress(QSettings());
}

QString Config::dasHostAddress(const QSettings &settings)
{
    QString address;
    if (!normalizeHostAddress(settings.value(dasHostKey()).toString(), &address, nullptr)) {
        return QString();
    }
    return address;
}

void Config::setDasHostAddress(QSettings &settings, const QString &address)
{
    if (address.trimmed().isEmpty()) {
        settings.remove(dasHostKey());
    } else {
        settings.setValue(dasHostKey(), address.trimmed());
    }
}

bool Config::normalizeHostAddress(const QString &text, QString *normalized, QString *error)
{
    QString address = text.trimmed();
    normalized->clear();
    if (address.isEmpty()) {
        return true;
    }
    while (address.endsWith(QLatin1Char('/'))) {
        address.chop(1);
    }
    if (address.endsWith(QLatin1String("/api/v3"))) {
        address.chop(7);
    }
    const QUrl url(address, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != QLatin1String("http") && scheme != QLatin1String("https")) ||
        url.host().isEmpty()) {
        if (error) {
            *error = tr("The cloud server address must be an http:// or https:// address "
                        "such as https://cloud.example.com.");
        }
        return false;
    }
    if (url.hasQuery() || url.hasFragment() || !url.userInfo().isEmpty()) {
        if (error) {
            *error = tr("The cloud server address takes no user name, query or fragment.");
        }
        return false;
    }
    *normalized = url.toString(QUrl::FullyEncoded);
    return true;
}
