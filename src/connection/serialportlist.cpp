#include "connection/serialportlist.h"

#include <QComboBox>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>

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

void fillSerialPortCombo(QComboBox *combo)
{
    const QString current = combo->currentText();
    const QSignalBlocker blocker(combo);
    combo->clear();
    for (const QSerialPortInfo &info : listUsableSerialPorts()) {
        combo->addItem(info.portName(), info.portName());
        combo->setItemData(combo->count() - 1,
                           info.description().isEmpty()
                               ? info.systemLocation()
                               : info.systemLocation() + QStringLiteral(" — ") + info.description(),
                           Qt::ToolTipRole);
    }
    combo->setEditText(current);
}
