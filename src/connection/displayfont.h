#pragma once

#include <QFont>

struct DisplayFont;

// A font of `family` if the machine has it; otherwise the default monospace face.
// A size below 1 becomes 12 points.
QFont resolveDisplayFont(const QString &family, int pointSize);
// The same, with the record's weight (when set) and slant.
QFont resolveDisplayFont(const DisplayFont &font);
// What a record keeps of a chosen font.
DisplayFont displayFontOf(const QFont &font);
