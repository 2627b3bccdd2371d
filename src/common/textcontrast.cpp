#include "common/textcontrast.h"

#include <algorithm>
#include <cmath>

namespace {

double linearChannel(int value)
{
    const double c = value / 255.0;
    return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

int mixChannel(int from, int to, double t)
{
    return qBound(0, qRound(from + (to - from) * t), 255);
}

} // namespace

double TextContrast::relativeLuminance(const QColor &color)
{
    const QColor rgb = color.toRgb();
    return 0.2126 * linearChannel(rgb.red()) + 0.7152 * linearChannel(rgb.green()) +
           0.0722 * linearChannel(rgb.blue());
}

double TextContrast::contrastRatio(const QColor &a, const QColor &b)
{
    const double la = relativeLuminance(a);
    const double lb = relativeLuminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor TextContrast::readableTextColor(const QColor &color, const QColor &base, const QColor &text)
{
    if (!color.isValid() || !base.isValid()) {
        return color;
    }
    double bestRatio = contrastRatio(color, base);
    if (bestRatio >= MinimumContrast || !text.isValid()) {
        return color;
    }
    // Contrast need not grow steadily along the way (the mix may pass the base's own
    // lightness), so walk the whole way in fixed steps and keep the first mix that is
    // legible. The walk is bounded, also when `text` is no better than `color`.
    constexpr int Steps = 100;
    const QColor from = color.toRgb();
    const QColor to = text.toRgb();
    QColor best = color;
    for (int step = 1; step <= Steps; ++step) {
        const double t = double(step) / Steps;
        const QColor mixed(mixChannel(from.red(), to.red(), t),
                           mixChannel(from.green(), to.green(), t),
                           mixChannel(from.blue(), to.blue(), t), from.alpha());
        const double ratio = contrastRatio(mixed, base);
        if (ratio >= MinimumContrast) {
            return mixed;
        }
        if (ratio > bestRatio) {
            bestRatio = ratio;
            best = mixed;
        }
    }
    return best;
}
