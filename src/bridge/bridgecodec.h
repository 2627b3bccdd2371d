#pragma once

// The bridges of a project in its settings file: "Bridge/Count", then one group
// "Bridge/<i>" per bridge. Reads are tolerant: a missing or broken value takes its
// default, numbers are clamped, at most MaxBridges rows are read.

#include "bridge/bridgeconfig.h"

#include <QList>

class QSettings;

class BridgeCodec
{
public:
    static constexpr int MaxBridges = 256;

    // Writes the count and the rows, and removes rows left from a longer list.
    static void save(QSettings &settings, const QList<BridgeConfig> &configs);
    static QList<BridgeConfig> load(const QSettings &settings);
    // The names of the keys of one row, in the order of writing.
    static QStringList keyNames();
};
