#pragma once

#include <QColor>
#include <QPalette>
#include <QVariant>

// The application's colour scheme, stored as an int under the "Appearance" key.
enum class AppearanceMode : int {
    Light = 0,
    Dark = 1,
};

// Light and dark palettes, and the contrast arithmetic that keeps user-chosen text
// colours legible on either of them.
class Appearance
{
public:
    // Text that does not reach this contrast against its background is moved toward the
    // palette's text colour. 4.5 is the WCAG 2 level for body text, which the receive
    // view's monospace text is.
    static constexpr double MinimumContrast = 4.5;

    static int toSetting(AppearanceMode mode);
    // Reads a stored value tolerantly: 1 (or "dark") is dark, anything else light.
    static AppearanceMode fromSetting(const QVariant &value);

    static QPalette lightPalette();
    static QPalette darkPalette();
    // Installs the palette of `mode` on the running application and remembers the mode.
    static void apply(AppearanceMode mode);
    // The mode last applied; light before any.
    static AppearanceMode current();

    // `color` when its contrast against `base` reaches MinimumContrast; otherwise `color`
    // mixed toward `text` in small steps, stopping at the first mix that reaches it (or,
    // if none does, at the mix with the best contrast).
    static QColor readableTextColor(const QColor &color, const QColor &base, const QColor &text);
    // WCAG 2: (L1 + 0.05) / (L2 + 0.05) with L1 the lighter, from 1 to 21.
    static double contrastRatio(const QColor &a, const QColor &b);
    // WCAG 2 relative luminance of the sRGB colour, from 0 (black) to 1 (white).
    static double relativeLuminance(const QColor &color);
};
