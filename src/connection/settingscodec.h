#pragma once

// Stateless conversions between stored values and what the settings panels show.

#include <QString>

struct DisplayFont;

class SettingsCodec
{
public:
    // The unit of the send interval spin box in milliseconds; never below 1.
    static qint32 sanitizeTimeUnit(qint32 unit);
    static qint64 sendIntervalToMs(qint64 value, qint32 unit);
    static qint64 msToSpinValue(qint64 ms, qint32 unit);

    static qint64 rotateSizeMbToBytes(qint64 mb);
    static qint64 rotateSizeBytesToMb(qint64 bytes);
    static qint64 displayBufferToStored(qint64 mb);
    static qint64 storedToDisplayBuffer(qint64 bytes);

    static QString defaultRxTimeFormat();
    static QString defaultTxTimeFormat();
    static QString defaultLogTimestampFmt();

    // Summaries for the settings panel: "Monospace, 12 pt" and "#RRGGBB".
    static QString fontToDisplayString(const DisplayFont &font);
    static QString colorToDisplayString(const QString &color);
};
