#pragma once

// --duration SEC, shared by the commands that run until stopped.

#include <QCoreApplication>

class QCommandLineParser;

class DurationOption
{
    Q_DECLARE_TR_FUNCTIONS(DurationOption)

public:
    static void add(QCommandLineParser &parser);
    // Milliseconds, -1 when not given; false with a sentence for a bad value.
    static bool read(const QCommandLineParser &parser, qint64 *ms, QString *error);
};
