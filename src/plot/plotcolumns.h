#pragma once

// Samples in view, gathered by pixel column: whatever the number of samples, a channel
// gives each column at most its first, lowest, highest and last finite value, which is
// all a curve one pixel wide can show, and a one-sample spike among millions survives.

#include <QList>

class PlotBuffer;

// What one pixel column holds of one channel.
struct PlotColumn
{
    int x = 0;            // the column, from 0
    bool finite = false;  // false: the column's samples are all NaN or infinite
    bool single = true;   // every finite value is the same
    bool lowFirst = true; // the lowest value came before the highest (when asked for)
    double first = 0.0;
    double low = 0.0;
    double high = 0.0;
    double last = 0.0;
};

class PlotColumns
{
public:
    // Puts the samples first..last (both included) on `width` columns: a sample at axis
    // value v (its number, or its time) falls into column floor((v - left) * width / span).
    void layout(const PlotBuffer &buffer, qint64 first, qint64 last, int width, double left,
                double span, bool timeAxis);
    // The columns of one channel that hold samples, left to right. `ordered` also finds
    // whether each column's low came before its high, which costs a second look.
    void aggregate(const PlotBuffer &buffer, int channel, bool ordered,
                   QList<PlotColumn> &out) const;

    qint64 sampleCount() const { return columnStart.isEmpty() ? 0 : columnStart.constLast(); }
    qsizetype columnCount() const { return columnOf.size(); }

private:
    qint64 firstSample = 0;
    // Column columnOf[i] holds the samples columnStart[i] up to columnStart[i + 1], as
    // offsets from the first sample.
    QList<int> columnOf;
    QList<qint64> columnStart;
};
