#pragma once

// The samples in store as CSV: a header "sample,time_s" and one column per channel,
// one row per sample. Channel names come from the device, so they pass the formula
// guard before they are quoted: a spreadsheet never runs a label as a formula.

#include <QString>
#include <QStringList>

class PlotBuffer;
class QIODevice;

class PlotExport
{
public:
    // A leading "=", "+", "-", "@", TAB or CR gets a "'" in front.
    static QString neutralize(const QString &text);
    // "sample,time_s" and each name neutralized, in double quotes with inner quotes
    // doubled; a channel without a name is "CH<n>".
    static QByteArray csvHeader(const QStringList &names, int channels);
    // Times in fixed notation (microseconds), values in "g" notation with 10 digits,
    // NaN as an empty cell. False when the device refuses a write.
    static bool writeCsv(QIODevice *device, const PlotBuffer &buffer, const QStringList &names);
};
