#include "plot/plotcolumns.h"

#include "plot/plotbuffer.h"

#include <algorithm>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cmath>
#include <limits>

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

// A run of slots that lies in one piece in memory.
struct Run
{
    const double *data = nullptr;
    qint64 size = 0;
};

// The lowest and highest value of a run. NaN fails every comparison and is passed
// over (the SSE2 min and max give their second operand, the running one, when the
// first is NaN); independent lanes keep the comparisons from waiting on each other.
void lowHigh(const Run &run, double &low, double &high)
{
    const double *p = run.data;
    qint64 i = 0;
#if defined(__SSE2__)
    __m128d low0 = _mm_set1_pd(low);
    __m128d low1 = low0;
    __m128d high0 = _mm_set1_pd(high);
    __m128d high1 = high0;
    for (; i + 4 <= run.size; i += 4) {
        const __m128d a = _mm_loadu_pd(p + i);
        const __m128d b = _mm_loadu_pd(p + i + 2);
        low0 = _mm_min_pd(a, low0);
        low1 = _mm_min_pd(b, low1);
        high0 = _mm_max_pd(a, high0);
        high1 = _mm_max_pd(b, high1);
    }
    double lanes[2];
    _mm_storeu_pd(lanes, _mm_min_pd(low0, low1));
    low = std::min(lanes[0], lanes[1]);
    _mm_storeu_pd(lanes, _mm_max_pd(high0, high1));
    high = std::max(lanes[0], lanes[1]);
#endif
    for (; i < run.size; ++i) {
        low = p[i] < low ? p[i] : low;
        high = p[i] > high ? p[i] : high;
    }
}

// The careful walk: only finite values count, and the order of the extremes is kept.
void walk(const Run *runs, int count, PlotColumn &column)
{
    int seen = 0;
    qint64 at = 0;
    qint64 lowAt = 0;
    qint64 highAt = 0;
    for (int r = 0; r < count; ++r) {
        for (qint64 i = 0; i < runs[r].size; ++i, ++at) {
            const double v = runs[r].data[i];
            if (!std::isfinite(v)) {
                continue;
            }
            if (seen++ == 0) {
                column.first = column.low = column.high = v;
            }
            if (v < column.low) {
                column.low = v;
                lowAt = at;
            }
            if (v > column.high) {
                column.high = v;
                highAt = at;
            }
            column.last = v;
        }
    }
    column.finite = seen > 0;
    column.single = column.low == column.high;
    column.lowFirst = lowAt <= highAt;
}

} // namespace

void PlotColumns::layout(const PlotBuffer &buffer, qint64 first, qint64 last, int width,
                         double left, double span, bool timeAxis)
{
    firstSample = first;
    columnOf.clear();
    columnStart.clear();
    if (last < first || width <= 0 || !(span > 0.0)) {
        return;
    }
    const double scale = width / span;
    const qint64 count = last - first + 1;
    const auto axisValue = [&](qint64 k) {
        return timeAxis ? buffer.time(first + k) : double(first + k);
    };
    const auto columnOfSample = [&](qint64 k) {
        return int(std::clamp(std::floor((axisValue(k) - left) * scale), 0.0, width - 1.0));
    };
    // Each column's first sample: a guess from the axis (a binary search on the time
    // axis), then moved until the column of every sample agrees with the formula above,
    // so the boundaries are exact for the cost of one look per column.
    qint64 start = 0;
    for (int column = 0; column < width && start < count; ++column) {
        const double edge = left + column / scale;
        qint64 guess =
            timeAxis ? buffer.lowerBoundTime(edge) - first : qint64(std::ceil(edge)) - first;
        guess = std::clamp(guess, start, count);
        while (guess > start && columnOfSample(guess - 1) >= column) {
            --guess;
        }
        while (guess < count && columnOfSample(guess) < column) {
            ++guess;
        }
        qint64 end = count;
        if (column + 1 < width) {
            const double nextEdge = left + (column + 1) / scale;
            end = timeAxis ? buffer.lowerBoundTime(nextEdge) - first
                           : qint64(std::ceil(nextEdge)) - first;
            end = std::clamp(end, guess, count);
            while (end > guess && columnOfSample(end - 1) > column) {
                --end;
            }
            while (end < count && columnOfSample(end) <= column) {
                ++end;
            }
        }
        if (end > guess) {
            columnOf.append(column);
            columnStart.append(guess);
        }
        start = end;
    }
    columnStart.append(count);
}

void PlotColumns::aggregate(const PlotBuffer &buffer, int channel, bool ordered,
                            QList<PlotColumn> &out) const
{
    out.resize(columnOf.size());
    const int cap = buffer.capacity();
    const double *data = buffer.columnData(channel);
    const qint64 base = buffer.slotOf(firstSample);
    for (qsizetype i = 0; i < columnOf.size(); ++i) {
        // The column's slots, in one piece or two where the ring wraps.
        Run runs[2];
        int count = 1;
        qint64 slot = (base + columnStart.at(i)) % cap;
        const qint64 size = columnStart.at(i + 1) - columnStart.at(i);
        runs[0] = {data + slot, std::min(size, cap - slot)};
        if (runs[0].size < size) {
            runs[1] = {data, size - runs[0].size};
            count = 2;
        }
        PlotColumn &column = out[i];
        column = PlotColumn();
        column.x = columnOf.at(i);
        if (ordered || size <= 2) {
            walk(runs, count, column);
            continue;
        }
        double low = Infinity;
        double high = -Infinity;
        for (int r = 0; r < count; ++r) {
            lowHigh(runs[r], low, high);
        }
        if (std::isinf(low) || std::isinf(high)) {
            walk(runs, count, column); // all NaN, or an infinity to leave out
            continue;
        }
        column.finite = true;
        column.single = low == high;
        column.low = low;
        column.high = high;
        // The ends: the first and last finite values, nearly always the first and last.
        for (int r = 0, found = 0; r < count && !found; ++r) {
            for (qint64 k = 0; k < runs[r].size; ++k) {
                if (std::isfinite(runs[r].data[k])) {
                    column.first = runs[r].data[k];
                    found = 1;
                    break;
                }
            }
        }
        for (int r = count - 1, found = 0; r >= 0 && !found; --r) {
            for (qint64 k = runs[r].size - 1; k >= 0; --k) {
                if (std::isfinite(runs[r].data[k])) {
                    column.last = runs[r].data[k];
                    found = 1;
                    break;
                }
            }
        }
    }
}
