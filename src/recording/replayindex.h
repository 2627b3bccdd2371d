#pragma once

// The in-memory index of a recording: the header values, the ports, counts, and sparse
// checkpoints (one per 1024 events or 64 KiB of payload) from which any event is
// reached by reading forward. It grows as indexing goes on and never shrinks.

#include "recording/replaybookmark.h"
#include "recording/sessionexport.h"

#include <QList>
#include <QString>

#include <vector>

class ReplayIndex
{
public:
    struct Checkpoint
    {
        qint64 offset = 0;  // of the event's line in the file
        qint64 ordinal = 0; // events before it
        qint64 playUs = 0;  // its time on the replay axis
        qint64 bytes = 0;   // payload bytes before it
    };

    // Header values.
    qint64 startedAt = 0;
    QString appVersion;
    QString format;
    int version = 0;
    QString timeZone;
    int part = 1;
    QString previous;
    bool isRecording = false;
    bool hasHeader = false;

    QList<SessionExport::PortInfo> ports;
    QList<qint64> portEvents; // events per port, same indices as ports
    std::vector<Checkpoint> checkpoints;
    qint64 eventCount = 0;
    qint64 byteCount = 0;
    qint64 firstUs = 0;
    qint64 lastUs = 0;
    qint64 skippedLines = 0; // malformed and oversized
    qint64 badLines = 0;     // invalid, and headers after the first
    qint64 outOfOrder = 0;   // events timed before their predecessor
    bool torn = false;       // the file ends in a cut line
    qint64 indexedTo = 0;    // file offset up to which lines are taken
    qint64 lastPlayUs = -1;  // running maximum of event times
    qint64 sinceCheckpointEvents = 0;
    qint64 sinceCheckpointBytes = 0;
    QList<ReplayBookmark> bookmarks;    // normalised
    QList<ReplayBookmark> rawBookmarks; // as read
    QString endReason;
    QString endNext;
    qint64 maxLine = 16777216;

    // -1 for an unknown id.
    int portIndex(const QString &id) const;
    int portIndex(QByteArrayView id) const;
    // The last checkpoint at or before `ordinal`; the first when none fits; a zero one
    // when there are none.
    Checkpoint checkpointAtOrBefore(qint64 ordinal) const;
    // The last checkpoint whose time lies strictly before `t`, so that the first of
    // several events at one time is never stepped over.
    Checkpoint checkpointAtOrBeforeTime(qint64 t) const;
    // Where to start showing so that the event `ordinal` has context: up to `maxEvents`
    // events or `maxBytes` payload bytes before it, at a checkpoint.
    Checkpoint prefillStart(qint64 ordinal, qint64 maxBytes, qint64 maxEvents) const;
    // Payload bytes spread over `buckets` equal slices of the time span.
    QList<qint64> activity(int buckets) const;
    // Memory the index holds, roughly.
    qint64 memoryBytes() const;

private:
    mutable int lastPortHit = -1;
};
