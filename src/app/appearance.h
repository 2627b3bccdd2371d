#pragma once

#include <QColor>
#include <QPalette>
#include <QVariant>

// The application's colour scheme, stored as an int under the "Appearance" key.
enum class AppearanceMode : int {
    Light = 0,
    Dark = 1,
};

// Light and dark palettes. The contrast arithmetic that keeps user-chosen text colours
// legible on either of them is TextContrast.
class Appearance
{
public:
    static int toSetting(AppearanceMode mode);
    // Reads a stored value tolerantly: 1 (or "dark") is dark, anything else light.
    static AppearanceMode fromSetting(const QVariant &value);

    static QPalette lightPalette();
    static QPalette darkPalette();
    // Installs the palette of `mode` on the running application and remembers the mode.
    static void apply(AppearanceMode mode);
    // The mode last applied; light before any.
    static AppearanceMode current();
};
