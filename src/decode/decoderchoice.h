#pragma once

// What a port decodes its traffic with, and whether its frames panel is open.

#include <QString>

struct DecoderChoice
{
    enum Kind : quint8 {
        None = 0,
        ModbusRtu = 1,
        ModbusAscii = 2,
        ModbusTcp = 3,
        Template = 4,
    };

    Kind kind = None;
    QString templateName; // for Template
    bool panelVisible = false;

    bool operator==(const DecoderChoice &) const = default;
};
