#include "transfer/xferprogresstext.h"

#include <QLocale>

QString XferProgressText::bytesText(qint64 done, qint64 total)
{
    if (total < 0) {
        return tr("%1 bytes").arg(QLocale().toString(done));
    }
    return tr("%1 of %2 bytes").arg(QLocale().toString(done), QLocale().toString(total));
}

QString XferProgressText::speedText(double bytesPerSecond)
{
    return tr("%1 KB/s").arg(QString::number(bytesPerSecond / 1024.0, 'f', 1));
}

QString XferProgressText::timeLeftText(qint64 seconds)
{
    if (seconds < 0) {
        return QString();
    }
    if (seconds < 60) {
        return tr("%1 s left").arg(seconds);
    }
    if (seconds < 3600) {
        return tr("%1 min %2 s left").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    }
    return tr("%1 h %2 min left").arg(seconds / 3600).arg((seconds / 60) % 60, 2, 10, QLatin1Char('0'));
}
