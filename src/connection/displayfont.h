#pragma once

#include <QFont>

// A font of `family` if the machine has it; otherwise the default monospace face.
// A size below 1 becomes 12 points.
QFont resolveDisplayFont(const QString &family, int pointSize);
