#pragma once

// How a bridge direction holds bytes its sink cannot take yet: the size of its queue,
// the watermarks that hold and release the source, the write backlog a sink may have,
// what happens when the queue is full, and the guard against a cable loop.

#include <QtGlobal>

struct FlowControlPolicy
{
    enum Overflow : qint32 {
        DropOldest = 0,
        DropNewest = 1,
        SlowSender = 2, // hold the source; a frame that still finds the queue full is dropped
        StopBridge = 3,
    };

    qint64 queueLimitBytes = 262144;      // 1 .. 1073741824
    qint64 highWatermark = 196608;        // 1 .. the limit
    qint64 lowWatermark = 65536;          // 0 .. high less 1
    qint64 sinkPendingLimitBytes = 65536; // 1 .. 268435456
    qint32 overflowPolicy = SlowSender;   // an unknown value slows the sender
    bool floodGuardEnabled = true;
    qint64 floodRateBytesPerSec = 8388608; // at least 1024
    int floodWindowMs = 3000;              // 100 .. 600000

    // The policy with every value in range, each field clamped in the order above.
    FlowControlPolicy sanitized() const;

    bool operator==(const FlowControlPolicy &) const = default;
};
