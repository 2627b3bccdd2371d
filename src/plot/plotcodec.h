#pragma once

// A port's plot set-up in a QSettings store: the project file keeps it under
// "<port group>/Plot", the last-used state under "LastPlot". Reading is tolerant:
// numbers are clamped, unknown values fall back to defaults, nothing is refused.

#include "plot/plotconfig.h"

class QSettings;

class PlotCodec
{
public:
    // "LastPlot", the group of the last-used state.
    static QString lastUsedPrefix();

    static void save(QSettings &settings, const QString &prefix, const PlotConfig &config);
    static PlotConfig load(const QSettings &settings, const QString &prefix);
};
