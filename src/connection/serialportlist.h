#pragma once

#include <QList>
#include <QSerialPortInfo>

// The machine's serial ports as the system enumerates them, less entries without a
// port name. The first entry names the default port of a new panel.
QList<QSerialPortInfo> listUsableSerialPorts();

// Whether a serial port by this name is still present: it is enumerated, or its
// device path exists. Pseudo-terminals and /dev/serial/by-id links are real ports
// that the system does not enumerate.
bool serialPortPresent(const QString &name, const QList<QSerialPortInfo> &usable);

// The device path behind a port name: absolute paths stay, "ttyUSB0" becomes
// "/dev/ttyUSB0".
QString serialPortSystemLocation(const QString &name);
