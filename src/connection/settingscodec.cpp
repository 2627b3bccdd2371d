#include "connection/settingscodec.h"

#include "connection/settings.h"

#include <QCoreApplication>

qint32 SettingsCodec::sanitizeTimeUnit(qint32 unit)
{
    return unit < 1 ? 1 : unit;
}

qint64 SettingsCodec::sendIntervalToMs(qint64 value, qint32 unit)
{
    return value * sanitizeTimeUnit(unit);
}

qint64 SettingsCodec::msToSpinValue(qint64 ms, qint32 unit)
{
    return ms / sanitizeTimeUnit(unit);
}

qint64 SettingsCodec::rotateSizeMbToBytes(qint64 mb)
{
    return mb << 20;
}

qint64 SettingsCodec::rotateSizeBytesToMb(qint64 bytes)
{
    return bytes / 1048576;
}

qint64 SettingsCodec::displayBufferToStored(qint64 mb)
{
    return mb << 20;
}

qint64 SettingsCodec::storedToDisplayBuffer(qint64 bytes)
{
    return bytes / 1048576;
}

QString SettingsCodec::defaultRxTimeFormat()
{
    return QStringLiteral("[Rx][hh:mm:ss.zzz] ");
}

QString SettingsCodec::defaultTxTimeFormat()
{
    return QStringLiteral("[Tx][hh:mm:ss.zzz] ");
}

QString SettingsCodec::defaultLogTimestampFmt()
{
    return QStringLiteral("[%h:%m:%s.%z] ");
}

QString SettingsCodec::fontToDisplayString(const DisplayFont &font)
{
    const QString family = font.family.isEmpty()
                               ? QCoreApplication::translate("SettingsCodec", "Fixed font")
                               : font.family;
    return QCoreApplication::translate("SettingsCodec", "%1, %2 pt")
        .arg(family)
        .arg(font.pointSize < 1 ? 12 : font.pointSize);
}

QString SettingsCodec::colorToDisplayString(const QString &color)
{
    return color.trimmed().toUpper();
}
