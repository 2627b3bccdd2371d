#include "connection/serialportlist.h"

#include <QDir>
#include <QFileInfo>

QList<QSerialPortInfo> listUsableSerialPorts()
{
    QList<QSerialPortInfo> usable;
    const QList<QSerialPortInfo> all = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : all) {
        if (!info.portName().isEmpty()) {
            usable.append(info);
        }
    }
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
