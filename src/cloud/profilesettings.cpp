#include "cloud/profilesettings.h"

#include <QSettings>

std::unique_ptr<QSettings> ProfileSettings::open(const QString &file)
{
    if (file.isEmpty()) {
        return std::make_unique<QSettings>();
    }
    return std::make_unique<QSettings>(file, QSettings::IniFormat);
}
