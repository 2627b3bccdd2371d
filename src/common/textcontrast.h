#pragma once

#include <QColor>

// The contrast arithmetic that keeps user-chosen text colours legible on light and dark
// palettes alike: the receive view applies it to its colours, the appearance settings
// to their palettes.
class TextContrast
{
public:
    // Text that does not reach this contrast against its background is moved toward the
    // palette's text colour. 4.5 is the WCAG 2 level for body text, which the receive
    // view's monospace text is.
    static constexpr double MinimumContrast = 4.5;

    // `color` when its contrast against `base` reaches MinimumContrast; otherwise `color`
    // mixed toward `text` in small steps, stopping at the first mix that reaches it (or,
    // if none does, at the mix with the best contrast).
    static QColor readableTextColor(const QColor &color, const QColor &base, const QColor &text);
    // WCAG 2: (L1 + 0.05) / (L2 + 0.05) with L1 the lighter, from 1 to 21.
    static double contrastRatio(const QColor &a, const QColor &b);
    // WCAG 2 relative luminance of the sRGB colour, from 0 (black) to 1 (white).
    static double relativeLuminance(const QColor &color);
};
