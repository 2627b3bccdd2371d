#pragma once

// A named point in a recording: set while recording, or added in a replay and saved
// into the file as a snapshot.

#include <QString>

struct ReplayBookmark
{
    qint64 t = 0; // microseconds since the epoch
    QString id;
    QString port; // empty: the bookmark is for all ports
    QString name;
    QString note;

    bool operator==(const ReplayBookmark &) const = default;
};
