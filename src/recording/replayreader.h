#pragma once

// Reads the events of an indexed recording from any position: a seek goes to the
// nearest checkpoint and reads forward, so it costs at most one checkpoint's span
// whatever the size of the file. It reads only what the index has taken.

#include "recording/replaysource.h"
#include "recording/vlmloglinereader.h"

class QIODevice;
class ReplayIndex;

class ReplayReader : public ReplaySource
{
public:
    ReplayReader(QIODevice *device, const ReplayIndex *index);

    bool seekOrdinal(qint64 n);
    // The ordinal of the first event at or after `t` (eventCount at the end); the reader
    // is left there.
    qint64 ordinalAtTime(qint64 t);
    bool peek(ReplayEvent *event) override;
    void pop() override;
    // Ordinal of the next event.
    qint64 position() const { return pos; }
    qint64 malformedLines() const { return malformed; }
    QString errorString() const { return lines.errorString(); }

private:
    bool load(bool decode);

    const ReplayIndex *index;
    Vlmlog::LineReader lines;
    qint64 pos = 0;
    qint64 playUs = -1;
    bool held = false;
    bool heldDecoded = false;
    ReplayEvent current;
    qint64 malformed = 0;
    QString lastPeer; // shared by the events of one peer
};
