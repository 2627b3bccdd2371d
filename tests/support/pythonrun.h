#pragma once

// Runs a short script in Debian's Python (the one that sees Debian's packages), with
// arguments, and gives back what it printed. The tests of this folder let Python's own
// csv, json, zipfile and zlib modules read what our writers made.

#include <QFileInfo>
#include <QProcess>
#include <QStringList>

namespace pythonrun {

inline const QString Python = QStringLiteral("/usr/bin/python3");

inline bool available()
{
    return QFileInfo(Python).isExecutable();
}

// Empty with `error` set when the script failed.
inline QByteArray run(const QString &script, const QStringList &arguments, QString *error)
{
    QProcess process;
    process.start(Python, QStringList{QStringLiteral("-c"), script} + arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        *error = QString::fromUtf8(process.readAllStandardError()) + process.errorString();
        return {};
    }
    error->clear();
    return process.readAllStandardOutput();
}

} // namespace pythonrun
