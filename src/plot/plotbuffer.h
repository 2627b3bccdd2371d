#pragma once

// The ring of samples behind a plot: one row per sample, a time in seconds and one
// value per channel. A row keeps its sample number for life: the oldest in store is
// total() - count(), and appending beyond the capacity overwrites the oldest row.
// Memory is taken when needed: the times at the first row, a channel's column when
// that channel first appears.

#include "plot/plotstats.h"

#include <QList>

class PlotBuffer
{
public:
    static constexpr int DefaultCapacity = 100000;
    static constexpr int MaxChannels = 32;

    explicit PlotBuffer(int capacity = DefaultCapacity);

    int capacity() const { return cap; }
    int count() const { return held; }
    qint64 total() const { return appended; }
    qint64 firstSample() const { return appended - held; }
    int channelCount() const { return int(columns.size()); }

    // Values beyond the columns make new columns, NaN in every earlier row; columns
    // without an entry get NaN for this row. Times must not go down.
    void append(double time, const QList<double> &values);
    // NaN for a sample or a channel not in store.
    double value(int channel, qint64 sample) const;
    double time(qint64 sample) const;
    // The first sample in store whose time is at or after `time`; total() if none.
    qint64 lowerBoundTime(double time) const;
    // Over the samples from `from` to `to`, both included, clamped to what is in store.
    PlotStats stats(int channel, qint64 from, qint64 to) const;
    void clear();

    // Raw access for painting: a sample's slot in the arrays below, which hold
    // capacity() entries each (a column only once its channel has appeared).
    int slotOf(qint64 sample) const { return int((head + (sample - firstSample())) % cap); }
    const double *timeData() const { return times.constData(); }
    const double *columnData(int channel) const { return columns.at(channel).constData(); }

private:
    int cap;
    int head = 0; // slot of the oldest row
    int held = 0;
    qint64 appended = 0;
    QList<double> times;
    QList<QList<double>> columns;
};
