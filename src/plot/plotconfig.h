#pragma once

// A port's plot set-up: how received bytes turn into samples, and how the curves are
// shown. PlotCodec keeps it in the project file and in the last-used state.

#include <QList>
#include <QString>
#include <QStringList>

// How received bytes are read; the values are the stored ones.
enum class PlotFormat : qint32 {
    Text = 0,      // printed lines: "1.5,-0.2,3", "temp:21.5 hum:40", "data:1,2,3"
    JustFloat = 1, // little-endian floats, one per channel, then 00 00 80 7F
    Regex = 2,     // a regular expression over each line
};

// What the horizontal axis counts; the values are the stored ones.
enum class PlotXAxis : qint32 {
    Samples = 0,
    Time = 1,
};

struct PlotConfig
{
    static constexpr int MaxChannels = 32;
    static constexpr int MaxWindow = 86400000; // a day in milliseconds

    bool visible = false;
    PlotFormat format = PlotFormat::Text;
    QString regex;
    PlotXAxis xAxis = PlotXAxis::Samples;
    // 0: all that is held; otherwise samples (Samples) or milliseconds (Time).
    int window = 0;
    bool autoScale = true;
    double yMin = 0.0; // the fixed range while autoScale is off
    double yMax = 100.0;
    QStringList channelNames; // the user's names by channel index; empty: the device's
    QList<int> hiddenChannels;

    bool operator==(const PlotConfig &) const = default;
};
