#pragma once

// A port's sequence runs as a file: plain text for people, JSON for programs.

#include "automation/sequencereportlog.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QString>

class QTimeZone;

class SequenceReport
{
    Q_DECLARE_TR_FUNCTIONS(SequenceReport)

public:
    // "running", "passed", "failed", "stopped"
    static QString outcomeName(SequenceRunOutcome outcome);
    static QByteArray toJson(const QList<SequenceRunRecord> &runs);
    // Start times are shown in `zone`; step times relative to the run's start.
    static QString toText(const QList<SequenceRunRecord> &runs, const QTimeZone &zone);
    // Writes JSON when the path ends in ".json", text otherwise (UTF-8). On failure
    // false with the file system's reason in `error`.
    static bool writeFile(const QString &path, const QList<SequenceRunRecord> &runs,
                          const QTimeZone &zone, QString *error);
};
