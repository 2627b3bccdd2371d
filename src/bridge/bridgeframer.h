#pragma once

// Cuts a byte stream into frames under a FramingPolicy: at once, on an idle gap, on a
// delimiter or at a fixed length. No frame is longer than `maxBytes`, and no byte waits
// longer than `maxHoldMs`. No timer of its own: the caller passes the time (from one
// monotonic clock) and asks nextTimeoutMs() when to tick.

#include "bridge/framingpolicy.h"

#include <QList>

class BridgeFramer
{
public:
    explicit BridgeFramer(const FramingPolicy &policy = FramingPolicy());

    // Takes the policy (sanitised) and forwards nothing held: call flush() first to keep
    // the bytes.
    void setPolicy(const FramingPolicy &policy);
    const FramingPolicy &policy() const { return current; }

    // Appends `bytes` and returns the frames now complete.
    QList<QByteArray> ingest(QByteArrayView bytes, qint64 nowMs);
    // The frames that silence or the hold limit have ended by `nowMs`.
    QList<QByteArray> tick(qint64 nowMs);
    // Everything held, now.
    QList<QByteArray> flush();
    // -1 when nothing is held, else the time until tick() has work, at least 0.
    int nextTimeoutMs(qint64 nowMs) const;

    qsizetype heldBytes() const { return buffer.size(); }
    // Frames cut because they reached `maxBytes`.
    quint64 oversizeCuts() const { return cuts; }

private:
    void harvest(QList<QByteArray> &out, bool flushAll);
    void emitChunked(QList<QByteArray> &out, QByteArrayView block);

    FramingPolicy current;
    QByteArray buffer;
    qint64 firstByteMs = 0;
    qint64 lastByteMs = 0;
    qsizetype scanFrom = 0; // where the delimiter search resumes
    quint64 cuts = 0;
};
