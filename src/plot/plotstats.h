#pragma once

// Statistics of one channel over a stretch of samples. Only finite values count; the
// mean and the standard deviation are kept in Welford's running form, so long runs of
// large values lose no precision. Values are taken a block at a time, and each block's
// mean and spread are merged into the running ones (Chan's form of the same update),
// which spares a division per value: 32 channels of 100000 samples cost a few
// milliseconds instead of tens.

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

    // Takes a run of values in, a block at a time; NaN and infinities are passed over.
    // stdDev is set by finish().
    void addRun(const double *values, qint64 size)
    {
        constexpr qint64 Block = 64;
        for (qint64 at = 0; at < size; at += Block) {
            const double *begin = values + at;
            const double *end = begin + std::min(Block, size - at);
            int n = 0;
            double sum = 0.0;
            double low = std::numeric_limits<double>::infinity();
            double high = -low;
            double final = 0.0;
            for (const double *v = begin; v != end; ++v) {
                if (std::isfinite(*v)) {
                    ++n;
                    sum += *v;
                    low = std::min(low, *v);
                    high = std::max(high, *v);
                    final = *v;
                }
            }
            if (n == 0) {
                continue;
            }
            const double blockMean = sum / n;
            double blockM2 = 0.0;
            for (const double *v = begin; v != end; ++v) {
                if (std::isfinite(*v)) {
                    blockM2 += (*v - blockMean) * (*v - blockMean);
                }
            }
            if (count == 0) {
                mean = blockMean;
                m2 = blockM2;
                min = low;
                max = high;
            } else {
                const double total = double(count) + n;
                const double delta = blockMean - mean;
                mean += delta * n / total;
                m2 += blockM2 + delta * delta * double(count) * n / total;
                min = std::min(min, low);
                max = std::max(max, high);
            }
            count += n;
            last = final;
        }
    }

    void finish()
    {
        stdDev = count > 0 ? std::sqrt(m2 / count) : std::numeric_limits<double>::quiet_NaN();
    }

private:
    double m2 = 0.0; // sum of squared distances from the running mean
};
