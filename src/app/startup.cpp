#include "app/startup.h"

#include <QSettings>

bool Startup::ensureConfigFilePath(QSettings &settings, bool unattended, const QString &suggested,
                                   const std::function<bool(QString *path)> &ask)
{
    const QString key = QStringLiteral("CONFIG_FILE_PATH");
    if (!settings.value(key).toString().isEmpty()) {
        return true;
    }
    QString path = suggested;
    if (!unattended && !(ask && ask(&path))) {
        return false;
    }
    if (path.trimmed().isEmpty()) {
        return false;
    }
    settings.setValue(key, path.trimmed());
    return true;
}

bool Startup::positionIsOnScreen(const QPoint &position, const QSize &available)
{
    return position.x() >= 0 && position.y() >= 0 && position.x() < available.width() &&
           position.y() < available.height();
}
