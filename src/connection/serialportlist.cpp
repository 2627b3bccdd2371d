#include "connection/serialportlist.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>

QList<QSerialPortInfo> listUsableSerialPorts()
{
    // Every panel scans once a second; a scan costs milliseconds, so panels share one
    // for a little under a second.
    static QList<QSerialPortInfo> cached;
    static QDeadlineTimer freshUntil(0);
    if (!freshUntil.hasExpired()) {
        return cached;
    }
    QList<QSerialPortInfo> usable;
    const QList<QSerialPortInfo> all = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : all) {
        if (!info.portName().isEmpty()) {
            usable.append(info);
        }
    }
    cached = usable;
    freshUntil.setRemainingTime(900);
    return usable;
}

QString serialPortSystemLocation(const QString &name)
{
    if (name.isEmpty() || QDir::isAbsolutePath(name)) {
        return name;
    }
    return QStringLiteral("/dev/") + name;
}

bool serialPortPresent(const QString &name, const QList<QSerialPortInfo> &usable)
{
    if (name.isEmpty()) {
        return false;
    }
    for (const QSerialPortInfo &info : usable) {
        if (info.portName() == name || info.systemLocation() == name) {
            return true;
        }
    }
#ifdef Q_OS_WIN
    return false;
#else
    return QFileInfo::exists(serialPortSystemLocation(name));
#endif
}
