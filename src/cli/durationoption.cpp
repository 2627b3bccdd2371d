#include "cli/durationoption.h"

#include <QCommandLineParser>

void DurationOption::add(QCommandLineParser &parser)
{
    parser.addOption({QStringLiteral("duration"),
                      tr("Ends after this many seconds (fractions allowed); default: until "
                         "interrupted."),
                      QStringLiteral("SEC")});
}

bool DurationOption::read(const QCommandLineParser &parser, qint64 *ms, QString *error)
{
    *ms = -1;
    if (!parser.isSet(QStringLiteral("duration"))) {
        return true;
    }
    bool ok = false;
    const double seconds = parser.value(QStringLiteral("duration")).toDouble(&ok);
    if (!ok || seconds < 0 || seconds > 1e9) {
        *error = tr("--duration %1: give seconds, 0 or more.")
                     .arg(parser.value(QStringLiteral("duration")));
        return false;
    }
    *ms = qint64(seconds * 1000);
    return true;
}
