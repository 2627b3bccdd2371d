#pragma once

#include "connection/settings.h"

// Seeds new port sessions. Until the last-used state is kept, the seeds are the
// record defaults.
class SettingsService
{
public:
    static Settings defaultPortSettings(const QString &portName);
    static FormatSetting defaultFormatSettings();
};
