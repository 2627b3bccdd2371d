#pragma once

// The records a new port session starts from: the record defaults, with the values a
// first run promises whatever the records say spelled out.

#include "connection/settings.h"

class PortDefaults
{
public:
    // The connection, with `name` set to `portName`.
    static Settings portSettings(const QString &portName);
    // The display, send and log settings.
    static FormatSetting formatSettings();
};
