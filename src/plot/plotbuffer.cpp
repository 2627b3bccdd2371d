#include "plot/plotbuffer.h"

#include <algorithm>
#include <limits>

namespace {
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
}

PlotBuffer::PlotBuffer(int capacity)
    : cap(std::max(1, capacity))
{}

void PlotBuffer::append(double time, const QList<double> &values)
{
    if (times.isEmpty()) {
        times.resize(cap);
    }
    const int wanted = int(std::min<qsizetype>(values.size(), MaxChannels));
    while (columns.size() < wanted) {
        columns.append(QList<double>(cap, NaN));
    }
    int slot = 0;
    if (held < cap) {
        slot = (head + held) % cap;
        ++held;
    } else {
        slot = head;
        head = (head + 1) % cap;
    }
    times[slot] = time;
    for (int c = 0; c < columns.size(); ++c) {
        columns[c][slot] = c < wanted ? values.at(c) : NaN;
    }
    ++appended;
}

double PlotBuffer::value(int channel, qint64 sample) const
{
    if (channel < 0 || channel >= columns.size() || sample < firstSample() || sample >= appended) {
        return NaN;
    }
    return columns.at(channel).at(slotOf(sample));
}

double PlotBuffer::time(qint64 sample) const
{
    if (sample < firstSample() || sample >= appended) {
        return NaN;
    }
    return times.at(slotOf(sample));
}

qint64 PlotBuffer::lowerBoundTime(double time) const
{
    qint64 low = firstSample();
    qint64 high = appended;
    while (low < high) {
        const qint64 middle = low + (high - low) / 2;
        if (times.at(slotOf(middle)) < time) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

PlotStats PlotBuffer::stats(int channel, qint64 from, qint64 to) const
{
    PlotStats result;
    from = std::max(from, firstSample());
    to = std::min(to, appended - 1);
    if (channel < 0 || channel >= columns.size() || from > to) {
        result.finish();
        return result;
    }
    // At most two runs of slots: up to the end of the arrays, then from their start.
    const double *data = columns.at(channel).constData();
    int slot = slotOf(from);
    qint64 left = to - from + 1;
    while (left > 0) {
        const int run = int(std::min<qint64>(left, cap - slot));
        result.addRun(data + slot, run);
        left -= run;
        slot = 0;
    }
    result.finish();
    return result;
}

void PlotBuffer::clear()
{
    head = 0;
    held = 0;
    appended = 0;
}
