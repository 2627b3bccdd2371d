#pragma once

// What the kernel says about this process's memory: resident size now, its peak, and
// a reset of the peak so that one case can be measured on its own.

#include <QByteArray>
#include <QFile>
#include <QString>

namespace procmemory {

// A "Name:   1234 kB" line of /proc/self/status in MiB; -1 when it cannot be read.
inline double statusMiB(const char *name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(name)) {
            return line.mid(qsizetype(qstrlen(name))).trimmed().split(' ').first().toDouble() /
                   1024.0;
        }
    }
    return -1;
}

inline double peakRssMiB()
{
    return statusMiB("VmHWM:");
}

inline double rssMiB()
{
    return statusMiB("VmRSS:");
}

// Makes the peak start again from the present resident size.
inline void resetPeakRss()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly)) {
        clear.write("5");
    }
}

} // namespace procmemory
