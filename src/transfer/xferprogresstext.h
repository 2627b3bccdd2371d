#pragma once

// How a transfer's bytes, speed and time left read, in the window's progress strip and
// on the command line's progress line alike.

#include <QCoreApplication>
#include <QString>

class XferProgressText
{
    Q_DECLARE_TR_FUNCTIONS(XferProgressText)
public:
    // "1,024 of 4,096 bytes", or "1,024 bytes" when the total is unknown (negative).
    static QString bytesText(qint64 done, qint64 total);
    static QString speedText(double bytesPerSecond);
    // Empty when the time left cannot be told (negative).
    static QString timeLeftText(qint64 seconds);
};
