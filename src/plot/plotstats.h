#pragma once

// Statistics of one channel over a stretch of samples. Only finite values count; the
// mean and the standard deviation are kept in Welford's running form, so long runs of
// large values lose no precision.

#include <QtGlobal>

#include <algorithm>
#include <cmath>
#include <limits>

struct PlotStats
{
    int count = 0;
    double last = std::numeric_limits<double>::quiet_NaN();
    double mean = std::numeric_limits<double>::quiet_NaN();
    double min = std::numeric_limits<double>::quiet_NaN();
    double max = std::numeric_limits<double>::quiet_NaN();
    double stdDev = std::numeric_limits<double>::quiet_NaN(); // of the population

    // Takes one value in; NaN and infinities are passed over. stdDev is set by finish().
    void add(double value)
    {
        if (!std::isfinite(value)) {
            return;
        }
        ++count;
        if (count == 1) {
            mean = min = max = value;
            m2 = 0.0;
        } else {
            const double delta = value - mean;
            mean += delta / count;
            m2 += delta * (value - mean);
            min = std::min(min, value);
            max = std::max(max, value);
        }
        last = value;
    }

    void finish()
    {
        stdDev = count > 0 ? std::sqrt(m2 / count) : std::numeric_limits<double>::quiet_NaN();
    }

private:
    double m2 = 0.0; // sum of squared distances from the running mean
};
