#include "cloud/privacyconsent.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSettings>
#include <QUrl>

namespace {
const QString versionKey = QStringLiteral("PrivacyConsentVersion");
const QString atKey = QStringLiteral("PrivacyConsentAt");
const QString askedKey = QStringLiteral("PrivacyConsentAsked");
} // namespace

bool PrivacyConsent::given()
{
    return QSettings().value(versionKey, 0).toInt() >= 1;
}

bool PrivacyConsent::allowsUrl(const QUrl &url)
{
    return given() || url.path() == QLatin1String("/api/v3/releases/latest");
}

void PrivacyConsent::grant()
{
    QSettings settings;
    settings.setValue(versionKey, CurrentVersion);
    settings.setValue(atKey, QDateTime::currentDateTimeUtc());
    settings.setValue(askedKey, 1);
    settings.sync();
    Q_EMIT PrivacyConsentEvents::instance()->granted();
}

void PrivacyConsent::withdraw()
{
    Q_EMIT PrivacyConsentEvents::instance()->withdrawing();
    QSettings settings;
    settings.remove(versionKey);
    settings.remove(atKey);
    settings.sync();
}

bool PrivacyConsent::shouldAskOnStartup()
{
    return !given() && QSettings().value(askedKey, 0).toInt() < 1;
}

void PrivacyConsent::markAsked()
{
    QSettings().setValue(askedKey, 1);
}

PrivacyConsentEvents *PrivacyConsentEvents::instance()
{
    // Lives as long as the application; it carries signals only.
    static PrivacyConsentEvents *events = [] {
        auto *created = new PrivacyConsentEvents;
        if (QCoreApplication::instance()) {
            created->setParent(QCoreApplication::instance());
        }
        return created;
    }();
    return events;
}
