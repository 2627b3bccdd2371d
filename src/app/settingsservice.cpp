#include "app/settingsservice.h"

Settings SettingsService::defaultPortSettings(const QString &portName)
{
    Settings settings;
    settings.name = portName;
    return settings;
}

FormatSetting SettingsService::defaultFormatSettings()
{
    return FormatSetting();
}
