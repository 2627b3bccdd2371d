#pragma once

// Frame templates shared by the decode tests.

#include "decode/frametemplate.h"

namespace templates {

// A sensor protocol: AA 55, a one-byte length at byte 2 that counts the bytes after it up
// to the checksum, a command, a status with labels, a channel, a float, SUM8 from byte 2.
// Its example frame "AA 55 07 01 01 02 41 20 00 00 6C" carries the value 10.
inline FrameTemplate sensor()
{
    FrameTemplate t;
    t.name = QStringLiteral("Sensor");
    t.header = QByteArray::fromHex("AA55");
    t.checksum.kind = ChecksumSpec::Sum8;
    t.checksumStart = 2;
    FieldSpec command;
    command.name = QStringLiteral("cmd");
    command.offset = 3;
    FieldSpec status = command;
    status.name = QStringLiteral("status");
    status.offset = 4;
    status.labels = QStringLiteral("1=Run;2=Stop");
    FieldSpec channel = command;
    channel.name = QStringLiteral("channel");
    channel.offset = 5;
    FieldSpec value;
    value.name = QStringLiteral("value");
    value.offset = 6;
    value.type = FieldType::F32;
    t.fields = {command, status, channel, value};
    return t;
}

inline QByteArray sensorFrame()
{
    return QByteArray::fromHex("AA5507010102412000006C");
}

} // namespace templates
